// The filters.
#include <bench/Motion.h>

#include <benchmark/benchmark.h>

namespace {

// As the detection smooths its votes: each pass back into the inside of the same picture.
void FiveSmoothings(benchmark::State& state)
{
    MatShort hough;
    hough = Motion15().hough; // values of its own
    MatShort inside = hough(RNG(1, hough.dim1 - 2), RNG(1, hough.dim2 - 2)), tmp;
    for (auto _ : state) {
        for (int pass = 0; pass < 5; pass++) {
            tmp.Smooth(hough);
            inside = tmp;
        }
        benchmark::DoNotOptimize(hough.p_data);
        benchmark::ClobberMemory();
    }
}
BENCHMARK(FiveSmoothings)->Name("five smoothings/library")->Unit(benchmark::kMillisecond);

void SmoothedFrame(benchmark::State& state)
{
    const MatByte frame = BenchFrames(1)(RNG::All(), RNG::All(), 0);
    MatShort smooth;
    for (auto _ : state) {
        smooth.Smooth(frame);
        benchmark::DoNotOptimize(smooth.p_data);
        benchmark::ClobberMemory();
    }
}
BENCHMARK(SmoothedFrame)->Name("smoothing of a frame/library")->Unit(benchmark::kMillisecond);

} // namespace
