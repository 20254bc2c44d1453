// What OpenCV offers for the same questions, on the same frames and one thread: dense flow of a frame pair,
// and the best place of a ring. Its numbers are other numbers; the times say what a user of it would wait.
#include <bench/Motion.h>

#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>
#include <opencv2/video/tracking.hpp>

#include <benchmark/benchmark.h>

namespace {

/// The elements of m themselves, not a copy. OpenCV asks for memory that may be written.
template <class M> cv::Mat Shared(const M& m, int type)
{
    return {m.dim2, m.dim1, type, const_cast<void*>(static_cast<const void*>(&m(0, 0)))};
}

void DenseFlow(benchmark::State& state, const cv::Ptr<cv::DenseOpticalFlow>& method)
{
    cv::setNumThreads(1);
    const CubByte pair = BenchFrames(2);
    const cv::Mat older = Shared(MatByte(&pair, RNG::All(), RNG::All(), 0), CV_8UC1);
    const cv::Mat newer = Shared(MatByte(&pair, RNG::All(), RNG::All(), 1), CV_8UC1);
    cv::Mat flow;
    for (auto _ : state) {
        method->calc(older, newer, flow);
        benchmark::DoNotOptimize(flow.data);
        benchmark::ClobberMemory();
    }
}

void Dis(benchmark::State& state, int preset) { DenseFlow(state, cv::DISOpticalFlow::create(preset)); }
BENCHMARK_CAPTURE(Dis, ultrafast, cv::DISOpticalFlow::PRESET_ULTRAFAST)
    ->Name("flow of a pair/peer DIS ultrafast")
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Dis, fast, cv::DISOpticalFlow::PRESET_FAST)
    ->Name("flow of a pair/peer DIS fast")
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Dis, medium, cv::DISOpticalFlow::PRESET_MEDIUM)
    ->Name("flow of a pair/peer DIS medium")
    ->Unit(benchmark::kMillisecond);

void Farneback(benchmark::State& state) { DenseFlow(state, cv::FarnebackOpticalFlow::create()); }
BENCHMARK(Farneback)->Name("flow of a pair/peer Farneback")->Unit(benchmark::kMillisecond);

// The correlation of the motion with the ring: the same sums, in floats.
void RingByTemplate(benchmark::State& state)
{
    cv::setNumThreads(1);
    cv::Mat motion, ring, sums;
    Shared(Motion15().mag_sh, CV_16SC1).convertTo(motion, CV_32F);
    Shared(BenchRing(200, 250), CV_8UC1).convertTo(ring, CV_32F, 1.0 / 255);
    for (auto _ : state) {
        cv::matchTemplate(motion, ring, sums, cv::TM_CCORR);
        cv::Point best;
        cv::minMaxLoc(sums, nullptr, nullptr, nullptr, &best);
        benchmark::DoNotOptimize(best);
    }
}
BENCHMARK(RingByTemplate)
    ->Name("FindSemiCircle ring 200/250/peer template matching")
    ->Unit(benchmark::kMillisecond);

} // namespace
