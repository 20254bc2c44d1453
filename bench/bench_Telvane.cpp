// The background, and a whole detection.
#include <bench/Motion.h>

#include <Telvane/Telvane.h>

#include <benchmark/benchmark.h>

namespace {

// The background of an output region, as the detection takes it: the cube is a view into the frames.
void Background(benchmark::State& state)
{
    const int count = static_cast<int>(state.range(0));
    CubByte region = BenchFrames(count)(RNG(400, 799), RNG(300, 699), RNG::All());
    MatByte background;
    for (auto _ : state) {
        GetBackground(region, background, 50);
        benchmark::DoNotOptimize(background.p_data);
        benchmark::ClobberMemory();
    }
    const double values = 1e-6 * region.dim1 * region.dim2 * region.dim3;
    state.counters["s/million values"] = benchmark::Counter(
        values, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}
BENCHMARK(Background)
    ->Name("GetBackground 400 x 400/library")
    ->Arg(15)
    ->Arg(50)
    ->Unit(benchmark::kMillisecond);

void Detection(benchmark::State& state)
{
    const CubByte frames = BenchFrames(15);
    const auto R3 = static_cast<float>(state.range(0));
    const VecInt periods = All(1, 1), iroi(0, 0, 1280, 960, 1);
    for (auto _ : state) {
        VecFloat params(14);
        const float values[] = {14, 0, 150, 130, 300, 260, benchInnerR, benchOuterR, R3, 0, 360, 9, 1, 0};
        params.ImportData(values);
        VecInt oroi(5);
        MatByte detected;
        MatShort hough, u_sum_sh, v_sum_sh, mag_sh, bgShort;
        if (Detect(1, frames, false, periods, iroi, params, oroi, detected, hough, u_sum_sh, v_sum_sh, mag_sh,
                   bgShort) != 0)
            return state.SkipWithError("no centre found");
    }
}
BENCHMARK(Detection)->Name("detection of 15 frames, votes/library")->Arg(0)->Unit(benchmark::kMillisecond);
BENCHMARK(Detection)->Name("detection of 15 frames, ring/library")->Arg(-1)->Unit(benchmark::kMillisecond);

} // namespace
