// The conversion of camera frames to grey, with a camera that costs nothing.
#include <Telvane/Grab.h>

#include <benchmark/benchmark.h>

#include <iostream>

namespace {

void GreyFrames(benchmark::State& state)
{
    raspicam::RaspiCam camera;
    const CubByte seq(1280, 960, 10);
    std::streambuf* const terminal = std::cout.rdbuf(nullptr); // Grab's progress
    for (auto _ : state) {
        Grab(&camera, seq, 1, 1);
        benchmark::ClobberMemory();
    }
    std::cout.rdbuf(terminal);
    const int converted = 10 + seq.dim3; // with the frames that are let pass
    state.counters["s/frame"] = benchmark::Counter(converted, benchmark::Counter::kIsIterationInvariantRate |
                                                                  benchmark::Counter::kInvert);
}
BENCHMARK(GreyFrames)->Name("grey conversion of 20 frames/library")->Unit(benchmark::kMillisecond);

} // namespace
