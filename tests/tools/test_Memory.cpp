// The programs with too little memory, and with a small stack: from the least limit on addresses with which
// the loader starts them, each tool runs or says "not enough memory" in one line, and never aborts or sleeps.
//
// In every run some of the limits are tried; with TELVANE_ALL_FAULTS in the environment one in every 100 KB.
#include <tests/support/ProgramRuns.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include <sys/resource.h>

namespace {

const rlim_t page = 4; // kB

struct Tool {
    std::string name;
    Words start, work; ///< nothing but its start, and all that it does
    int status;        ///< without memory
};

Finished Within(rlim_t kilobytes, const TemporaryFolder& folder, const Words& argv)
{
    RunOptions options;
    options.timeout = std::chrono::seconds(60);
    options.before = [kilobytes] {
        const rlimit limit{kilobytes << 10, kilobytes << 10};
        if (setrlimit(RLIMIT_AS, &limit) != 0) _exit(126);
    };
    return Run(argv, folder.Path(), options);
}

/// The least limit with which main or what comes before it is reached.
rlim_t LeastOfTheLoader(const TemporaryFolder& folder, const Words& argv)
{
    rlim_t low = 0, high = 1 << 18;
    while (high - low > page) {
        const rlim_t middle = (low + high) / 2 / page * page;
        const Finished run = Within(middle, folder, argv);
        (run.status == 127 || run.signal == SIGKILL || run.signal == SIGSEGV ? low : high) = middle;
    }
    return high;
}

/// \return whether there was memory enough
bool ExpectToldOrDone(const Tool& tool, rlim_t kilobytes, const TemporaryFolder& folder, const Words& argv)
{
    const Finished run = Within(kilobytes, folder, argv);
    EXPECT_FALSE(run.timedOut) << kilobytes;
    if (run.status == 0) return true;
    EXPECT_EQ(run.status, tool.status) << kilobytes << " kB: signal " << run.signal << ' ' << run.err;
    EXPECT_EQ(run.err, tool.name + ": not enough memory\n") << kilobytes << " kB";
    EXPECT_EQ(run.out, "") << kilobytes << " kB";
    return false;
}

void ExpectToldOrDoneFromTheLeastOn(const Tool& tool, const TemporaryFolder& folder)
{
    // The loader itself may need less at its second start with a limit a page above.
    const rlim_t least = LeastOfTheLoader(folder, tool.start) + page;
    bool enough = false, everTold = false;
    for (rlim_t more = 0; !enough && more < 400; more += page) {
        enough = ExpectToldOrDone(tool, least + more, folder, tool.start);
        everTold = everTold || !enough;
    }
    EXPECT_TRUE(everTold && enough);
    const bool all = std::getenv("TELVANE_ALL_FAULTS") != nullptr;
    enough = false;
    for (rlim_t limit = least; !enough && limit < 4 * least + 200000; limit += all ? 100 : 2 * limit / 3)
        enough = ExpectToldOrDone(tool, limit, folder, tool.work);
    EXPECT_TRUE(enough);
}

TEST(Memory, TheDrawnWheel)
{
    TemporaryFolder folder;
    const Tool tool{
        "wheelsim", {WHEELSIM_PATH, "--version"}, {WHEELSIM_PATH, "--count", "2", "--out", "frames"}, 1};
    ExpectToldOrDoneFromTheLeastOn(tool, folder);
}

TEST(Memory, TheReport)
{
    TemporaryFolder folder;
    WriteFrames(folder, {WheelFrame(WheelScene(), 1), WheelFrame(WheelScene(), 2)});
    folder.Write("detected.jpg", AsText(reference::JpegGrey(WheelFrame(WheelScene(), 1), 85)));
    ExpectToldOrDoneFromTheLeastOn({"telvane-report", {REPORT_PATH, "--version"}, {REPORT_PATH}, 1}, folder);
}

TEST(Memory, TheRun)
{
    TemporaryFolder folder;
    // What it does with the program that it starts: see the tests of its own room.
    const Words start = {TELVANE_RUN_PATH, "--version"};
    ExpectToldOrDoneFromTheLeastOn({"telvane-run", start, start, 4}, folder);
}

TEST(Stack, SixtyFourKilobytesAreEnough)
{
    TemporaryFolder folder;
    WriteFrames(folder, {WheelFrame(WheelScene(), 1), WheelFrame(WheelScene(), 2)});
    folder.Write("stand-in", "#!/bin/sh\nexec \"" TELVANE_PATH "\" \"$@\"\n");
    std::filesystem::permissions(folder / "stand-in", std::filesystem::perms::owner_all);
    Geometry votes;
    votes.R3 = "0";
    votes.bkgCorr = "-50";
    RunOptions options;
    options.before = [] {
        const rlimit limit{64 << 10, 64 << 10};
        if (setrlimit(RLIMIT_STACK, &limit) != 0) _exit(126);
    };
    for (const Words& argv :
         std::vector<Words>{Join({{TELVANE_PATH}, Split("-l 2 -s -m 1 1 9 9"), votes.Arguments()}),
                            {TELVANE_RUN_PATH, "--inner", "216", "--outer", "250", "--sense", "cw",
                             "--region", "560,560", "--frames", ".", "--telvane", "stand-in"},
                            {WHEELSIM_PATH, "--count", "2", "--out", "frames"},
                            {WHEELSIM_PATH, "--preview", "p.svg"}}) {
        const Finished run = ::Run(argv, folder.Path(), options);
        EXPECT_EQ(run.signal, 0) << argv[0];
        EXPECT_LE(run.status, 1) << argv[0] << run.err;
        EXPECT_EQ(run.err, "") << argv[0];
    }
}

} // namespace
