// Element-wise arithmetic.
#include <bench/Motion.h>

#include <benchmark/benchmark.h>

namespace {

void AddShorts(benchmark::State& state)
{
    MatShort a(1280, 960), b(1280, 960);
    a.Fill(1);
    b.Fill(2);
    for (auto _ : state) {
        a += b;
        benchmark::DoNotOptimize(a.p_data);
        benchmark::ClobberMemory();
    }
}
BENCHMARK(AddShorts)->Name("+= of shorts/library")->Unit(benchmark::kMillisecond);

// Every second column of pictures twice as wide.
void AddSteppedShorts(benchmark::State& state)
{
    MatShort a(2560, 960), b(2560, 960);
    a.Fill(1);
    b.Fill(2);
    MatShort every2ndA(&a, RNG(0, 2559, 2), RNG::All());
    const MatShort every2ndB(&b, RNG(0, 2559, 2), RNG::All());
    for (auto _ : state) {
        every2ndA += every2ndB;
        benchmark::DoNotOptimize(a.p_data);
        benchmark::ClobberMemory();
    }
}
BENCHMARK(AddSteppedShorts)->Name("+= of shorts, stepped/library")->Unit(benchmark::kMillisecond);

} // namespace
