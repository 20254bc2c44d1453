// The same steps pass by pass, for comparison.
#include <bench/Motion.h>

#include <tests/reference/Detection.h>
#include <tests/reference/Files.h>
#include <tests/reference/Filters.h>
#include <tests/reference/Flow.h>
#include <tests/reference/Ring.h>
#include <tests/reference/Votes.h>

#include <benchmark/benchmark.h>

#include <cstdio>

namespace {

using reference::Picture;

template <class T, class M> Picture<T> Plain(const M& m)
{
    Picture<T> picture(m.dim1, m.dim2);
    for (int y = 0; y < m.dim2; y++)
        for (int x = 0; x < m.dim1; x++) picture.At(x, y) = m(x, y);
    return picture;
}

reference::Sequence PlainFrames(int count)
{
    const CubByte frames = BenchFrames(count);
    reference::Sequence seq(frames.dim1, frames.dim2, count);
    for (int i = 0; i < count; i++)
        seq.SetFrame(i, Plain<std::uint8_t>(MatByte(&frames, RNG::All(), RNG::All(), i)));
    return seq;
}

void FlowOfAPair(benchmark::State& state)
{
    const reference::Sequence pair = PlainFrames(2);
    Picture<std::int32_t> u(pair.w + 1, pair.h + 1), v(pair.w + 1, pair.h + 1);
    for (auto _ : state) benchmark::DoNotOptimize(reference::OpticalFlow12Alt(pair, u, v, 2));
}
BENCHMARK(FlowOfAPair)->Name("flow of a pair/plain")->Unit(benchmark::kMillisecond);

void Norm(benchmark::State& state)
{
    const auto uSum = Plain<std::int32_t>(Motion15().u_sum), vSum = Plain<std::int32_t>(Motion15().v_sum);
    Picture<std::int16_t> u, v, mag;
    for (auto _ : state) {
        reference::OfNorm(uSum, vSum, u, v, mag);
        benchmark::ClobberMemory();
    }
}
BENCHMARK(Norm)->Name("OF_Norm/plain")->Unit(benchmark::kMillisecond);

void Votes(benchmark::State& state)
{
    const auto u = Plain<std::int16_t>(Motion15().u_sum_sh), v = Plain<std::int16_t>(Motion15().v_sum_sh);
    Picture<std::int16_t> hough;
    float cx, cy;
    for (auto _ : state)
        benchmark::DoNotOptimize(
            reference::OpticalFlowPostprocAlt(u, v, 14, benchInnerR, benchOuterR, 0, 1, hough, cx, cy));
}
BENCHMARK(Votes)->Name("OpticalFlowPostprocAlt/plain")->Unit(benchmark::kMillisecond);

void FiveSmoothings(benchmark::State& state)
{
    auto hough = Plain<std::int16_t>(Motion15().hough);
    for (auto _ : state) {
        for (int pass = 0; pass < 5; pass++) {
            const Picture<std::int16_t> smooth = reference::SmoothShort(hough);
            for (int y = 0; y < smooth.h; y++)
                for (int x = 0; x < smooth.w; x++) hough.At(x + 1, y + 1) = smooth.At(x, y);
        }
        benchmark::DoNotOptimize(hough.a.data());
    }
}
BENCHMARK(FiveSmoothings)->Name("five smoothings/plain")->Unit(benchmark::kMillisecond);

// One addition for each place and cell: half a minute, so once. "by runs" adds and subtracts at the ends of
// each run.
void RingSums(benchmark::State& state)
{
    const auto mag = Plain<std::int16_t>(Motion15().mag_sh);
    const auto ring = Plain<std::uint8_t>(BenchRing(200, 250));
    for (auto _ : state) benchmark::DoNotOptimize(reference::SumPattern(mag, ring));
}
BENCHMARK(RingSums)
    ->Name("SumPattern ring 200/250/plain")
    ->Iterations(1)
    ->Repetitions(1)
    ->Unit(benchmark::kMillisecond);

void RingSumsByRuns(benchmark::State& state)
{
    const auto mag = Plain<std::int16_t>(Motion15().mag_sh);
    const auto ring = Plain<std::uint8_t>(BenchRing(200, 250));
    for (auto _ : state) benchmark::DoNotOptimize(reference::SumPatternByRuns(mag, ring));
}
BENCHMARK(RingSumsByRuns)->Name("SumPattern ring 200/250/plain by runs")->Unit(benchmark::kMillisecond);

void RandomCellSums(benchmark::State& state)
{
    const auto mag = Plain<std::int16_t>(Motion15().mag_sh);
    const auto cells = Plain<std::uint8_t>(BenchRandomCells(64));
    for (auto _ : state) benchmark::DoNotOptimize(reference::SumPattern(mag, cells));
}
BENCHMARK(RandomCellSums)
    ->Name("SumPattern 64 x 64 random cells/plain")
    ->Iterations(1)
    ->Unit(benchmark::kMillisecond);

void RingSearchByRuns(benchmark::State& state)
{
    const auto mag = Plain<std::int16_t>(Motion15().mag_sh);
    float cx, cy;
    for (auto _ : state)
        benchmark::DoNotOptimize(
            reference::FindSemiCircle(mag, 200, 250, cx, cy, reference::SumPatternByRuns));
}
BENCHMARK(RingSearchByRuns)->Name("FindSemiCircle ring 200/250/plain by runs")->Unit(benchmark::kMillisecond);

void Background(benchmark::State& state)
{
    const int count = static_cast<int>(state.range(0));
    const CubByte frames = BenchFrames(count)(RNG(400, 799), RNG(300, 699), RNG::All());
    reference::Sequence region(frames.dim1, frames.dim2, count);
    for (int i = 0; i < count; i++)
        region.SetFrame(i, Plain<std::uint8_t>(MatByte(&frames, RNG::All(), RNG::All(), i)));
    for (auto _ : state) benchmark::DoNotOptimize(reference::Background(region, 50));
}
BENCHMARK(Background)->Name("GetBackground 400 x 400/plain")->Arg(15)->Arg(50)->Unit(benchmark::kMillisecond);

void SmoothedFrame(benchmark::State& state)
{
    const auto frame = PlainFrames(1).Frame(0);
    for (auto _ : state) benchmark::DoNotOptimize(reference::SmoothByte(frame));
}
BENCHMARK(SmoothedFrame)->Name("smoothing of a frame/plain")->Unit(benchmark::kMillisecond);

// The files' bytes, without a file.
void ReadFrame(benchmark::State& state)
{
    const reference::Bytes file = reference::BmpByte(PlainFrames(1).Frame(0));
    for (auto _ : state) benchmark::DoNotOptimize(reference::ReadBmpByte(file));
}
BENCHMARK(ReadFrame)->Name("reading a BMP frame/plain")->Unit(benchmark::kMillisecond);

void WriteFrame(benchmark::State& state)
{
    const auto frame = PlainFrames(1).Frame(0);
    for (auto _ : state) benchmark::DoNotOptimize(reference::BmpByte(frame));
}
BENCHMARK(WriteFrame)->Name("writing a BMP frame/plain")->Unit(benchmark::kMillisecond);

void WriteShorts(benchmark::State& state)
{
    const auto votes = Plain<std::int16_t>(Motion15().hough);
    for (auto _ : state) benchmark::DoNotOptimize(reference::BmpShort(votes));
}
BENCHMARK(WriteShorts)->Name("writing a 16-bit BMP/plain")->Unit(benchmark::kMillisecond);

void GreyFrames(benchmark::State& state)
{
    const std::vector<std::uint8_t> bytes(std::size_t{3} * 1280 * 960, 128);
    for (auto _ : state)
        for (int i = 0; i < 20; i++) benchmark::DoNotOptimize(reference::GreyOf(bytes, 1280, 960));
}
BENCHMARK(GreyFrames)->Name("grey conversion of 20 frames/plain")->Unit(benchmark::kMillisecond);

void AddShorts(benchmark::State& state)
{
    Picture<std::int16_t> a(1280, 960, 1);
    const Picture<std::int16_t> b(1280, 960, 2);
    for (auto _ : state) {
        for (int y = 0; y < a.h; y++)
            for (int x = 0; x < a.w; x++) a.At(x, y) = static_cast<std::int16_t>(a.At(x, y) + b.At(x, y));
        benchmark::DoNotOptimize(a.a.data());
        benchmark::ClobberMemory();
    }
}
BENCHMARK(AddShorts)->Name("+= of shorts/plain")->Unit(benchmark::kMillisecond);

} // namespace
