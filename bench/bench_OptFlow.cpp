// The optical flow, its scaling, and the votes for the centre.
#include "Motion.h"

#include <benchmark/benchmark.h>

namespace {

// One frame pair, by the two sweeps that the detection asks for.
void FlowOfAPair(benchmark::State& state)
{
    CubByte pair = BenchFrames(2);
    MatInt u(pair.dim1 + 1, pair.dim2 + 1), v(pair.dim1 + 1, pair.dim2 + 1);
    u.Fill(0);
    v.Fill(0);
    for (auto _ : state) {
        OpticalFlow12Alt(pair, u, v, 2);
        benchmark::DoNotOptimize(u.p_data);
        benchmark::ClobberMemory();
    }
}
BENCHMARK(FlowOfAPair)->Name("flow of a pair/library")->Unit(benchmark::kMillisecond);

// Time divided by the pairs stays the same: what a frame costs does not depend on how many there are.
void FlowOfFrames(benchmark::State& state)
{
    const int count = static_cast<int>(state.range(0));
    CubByte frames = BenchFrames(count);
    MatInt u(frames.dim1 + 1, frames.dim2 + 1), v(frames.dim1 + 1, frames.dim2 + 1);
    u.Fill(0);
    v.Fill(0);
    for (auto _ : state) {
        OpticalFlow12Alt(frames, u, v, 2);
        benchmark::DoNotOptimize(u.p_data);
        benchmark::ClobberMemory();
    }
    state.counters["s/pair"] = benchmark::Counter(count - 1, benchmark::Counter::kIsIterationInvariantRate |
                                                                 benchmark::Counter::kInvert);
}
BENCHMARK(FlowOfFrames)
    ->Name("flow of frames")
    ->Arg(2)
    ->Arg(5)
    ->Arg(15)
    ->Arg(50)
    ->Unit(benchmark::kMillisecond);

void Norm(benchmark::State& state)
{
    const BenchMotion& m = Motion15();
    MatShort u, v, mag;
    for (auto _ : state) {
        OF_Norm(m.u_sum, m.v_sum, u, v, mag);
        benchmark::DoNotOptimize(mag.p_data);
        benchmark::ClobberMemory();
    }
}
BENCHMARK(Norm)->Name("OF_Norm/library")->Unit(benchmark::kMillisecond);

void Votes(benchmark::State& state)
{
    const BenchMotion& m = Motion15();
    MatShort hough;
    float cx, cy;
    for (auto _ : state) {
        OpticalFlowPostprocAlt(m.u_sum_sh, m.v_sum_sh, 14, benchInnerR, benchOuterR, 0, 1, hough, cx, cy);
        benchmark::DoNotOptimize(hough.p_data);
        benchmark::ClobberMemory();
    }
}
BENCHMARK(Votes)->Name("OpticalFlowPostprocAlt/library")->Unit(benchmark::kMillisecond);

} // namespace
