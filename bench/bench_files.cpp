// Picture files, in a temporary file that the system keeps in memory.
#include <bench/Motion.h>

#include <benchmark/benchmark.h>

#include <cstdio>
#include <memory>

namespace {

struct CloseFile {
    void operator()(std::FILE* f) const { std::fclose(f); }
};
using File = std::unique_ptr<std::FILE, CloseFile>;

MatByte Frame() { return BenchFrames(1)(RNG::All(), RNG::All(), 0); }

void ReadFrame(benchmark::State& state)
{
    const File file(std::tmpfile());
    if (!file || Frame().WriteBMP(file.get()) != 0) return state.SkipWithError("no temporary file");
    MatByte frame(1280, 960);
    for (auto _ : state) {
        std::rewind(file.get());
        if (frame.ReadBMP(file.get()) != 0) return state.SkipWithError("not read");
        benchmark::ClobberMemory();
    }
}
BENCHMARK(ReadFrame)->Name("reading a BMP frame/library")->Unit(benchmark::kMillisecond);

template <class M> void Write(benchmark::State& state, const M& picture)
{
    const File file(std::tmpfile());
    if (!file) return state.SkipWithError("no temporary file");
    for (auto _ : state) {
        std::rewind(file.get());
        if (picture.WriteBMP(file.get()) != 0 || std::fflush(file.get()) != 0)
            return state.SkipWithError("not written");
    }
}

void WriteFrame(benchmark::State& state) { Write(state, Frame()); }
BENCHMARK(WriteFrame)->Name("writing a BMP frame/library")->Unit(benchmark::kMillisecond);

void WriteShorts(benchmark::State& state) { Write(state, Motion15().hough); }
BENCHMARK(WriteShorts)->Name("writing a 16-bit BMP/library")->Unit(benchmark::kMillisecond);

} // namespace
