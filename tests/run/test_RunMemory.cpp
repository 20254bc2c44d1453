// telvane-run with too little memory: it never halts, never aborts, and says so in one line.
#include <tests/run/RunProgram.h>

#include <sys/resource.h>

namespace {

TEST(RunMemory, WithEveryLimitItRunsOrSaysThatItLacksMemory)
{
    TemporaryFolder folder;
    bool refused = false, done = false;
    for (rlim_t megabytes = 6; !done && megabytes < 600; megabytes += megabytes < 20 ? 2 : megabytes / 4) {
        RunOptions options;
        options.before = [megabytes] {
            const rlimit limit{megabytes << 20, megabytes << 20};
            setrlimit(RLIMIT_AS, &limit);
        };
        const Finished run = RunWheel(folder, {"--frames", Recorded(), "--count", "4"}, options);
        if (run.status == 127 || run.signal != 0) { // the loader or the kernel could not start it
            EXPECT_FALSE(refused) << megabytes << " MB: status " << run.status << ", signal " << run.signal
                                  << run.err;
            continue;
        }
        EXPECT_FALSE(run.timedOut) << megabytes;
        done = run.status == 0;
        if (done) continue;
        refused = true;
        EXPECT_EQ(run.status, 4) << megabytes << " MB: " << run.out << run.err;
        EXPECT_EQ(run.err.rfind("telvane-run: not enough memory", 0), 0u) << megabytes << " MB: " << run.err;
        EXPECT_EQ(std::count(run.err.begin(), run.err.end(), '\n'), 1) << megabytes << " MB: " << run.err;
    }
    EXPECT_TRUE(refused);
    EXPECT_TRUE(done);
    EXPECT_EQ(RunWheel(folder, {"--frames", Recorded(), "--count", "4"}).status, 0);
    for (const std::string& name : RunsIn(folder)) EXPECT_NE(name.substr(0, 2), ".2") << name;
}

} // namespace
