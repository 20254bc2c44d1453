// The optical flow, its scaling, and the votes for the centre.
#include <bench/Motion.h>

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
