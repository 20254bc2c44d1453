// The ring search, on the motion of a whole sequence.
#include <bench/Motion.h>

#include <benchmark/benchmark.h>

namespace {

constexpr int r1 = 200, r2 = 250;

void RingSums(benchmark::State& state)
{
    const MatShort& mag = Motion15().mag_sh;
    const MatByte ring = BenchRing(r1, r2);
    for (auto _ : state) {
        const MatInt sums = SumPattern(mag, ring);
        benchmark::DoNotOptimize(sums.p_data);
    }
}
BENCHMARK(RingSums)->Name("SumPattern ring 200/250/library")->Unit(benchmark::kMillisecond);

// Cells without runs: nothing to gain from sums along rows.
void RandomCellSums(benchmark::State& state)
{
    const MatShort& mag = Motion15().mag_sh;
    const MatByte cells = BenchRandomCells(64);
    for (auto _ : state) {
        const MatInt sums = SumPattern(mag, cells);
        benchmark::DoNotOptimize(sums.p_data);
    }
}
BENCHMARK(RandomCellSums)->Name("SumPattern 64 x 64 random cells/library")->Unit(benchmark::kMillisecond);

void RingSearch(benchmark::State& state)
{
    const MatShort& mag = Motion15().mag_sh;
    float cx, cy;
    for (auto _ : state) {
        FindSemiCircle(mag, r1, r2, cx, cy);
        benchmark::DoNotOptimize(cx);
    }
}
BENCHMARK(RingSearch)->Name("FindSemiCircle ring 200/250/library")->Unit(benchmark::kMillisecond);

} // namespace
