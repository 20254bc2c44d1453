// telvane-run with too little memory: it never halts, never aborts, and says so in one line. In every run
// some limits are tried; with TELVANE_ALL_FAULTS in the environment one in every 100 KB.
#include <tests/run/RunProgram.h>

#include <cstdlib>

#include <sys/resource.h>

namespace {

TEST(RunMemory, WithEveryLimitItRunsOrSaysThatItLacksMemory)
{
    TemporaryFolder folder;
    bool refused = false, done = false;
    const bool all = std::getenv("TELVANE_ALL_FAULTS") != nullptr;
    const rlim_t kB = 1 << 10, MB = 1 << 20;
    for (rlim_t bytes = 6 * MB; !done && bytes < 600 * MB; bytes += all               ? 100 * kB
                                                                    : bytes < 20 * MB ? 2 * MB
                                                                                      : bytes / 4) {
        RunOptions options;
        options.before = [bytes] {
            const rlimit limit{bytes, bytes};
            setrlimit(RLIMIT_AS, &limit);
        };
        const Finished run = RunWheel(folder, {"--frames", Recorded(), "--count", "4"}, options);
        if (run.status == 127 || run.signal != 0) { // the loader or the kernel could not start it
            EXPECT_FALSE(refused) << bytes << " bytes: status " << run.status << ", signal " << run.signal
                                  << run.err;
            continue;
        }
        EXPECT_FALSE(run.timedOut) << bytes;
        done = run.status == 0;
        if (done) continue;
        refused = true;
        EXPECT_EQ(run.status, 4) << bytes << " bytes: " << run.out << run.err;
        EXPECT_EQ(run.err.rfind("telvane-run: not enough memory", 0), 0u) << bytes << " bytes: " << run.err;
        EXPECT_EQ(std::count(run.err.begin(), run.err.end(), '\n'), 1) << bytes << " bytes: " << run.err;
    }
    EXPECT_TRUE(refused);
    EXPECT_TRUE(done);
    EXPECT_EQ(RunWheel(folder, {"--frames", Recorded(), "--count", "4"}).status, 0);
    for (const std::string& name : RunsIn(folder)) EXPECT_NE(name.substr(0, 2), ".2") << name;
}

} // namespace
