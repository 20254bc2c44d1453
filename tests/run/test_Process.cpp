// Starting, watching and ending a program.
#include <run/Process.h>

#include <tests/support/ProgramRuns.h>

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <string>

using namespace telvane;

namespace {

Ended Shell(const std::string& script, double seconds = 20)
{
    return RunProcess({"/bin/sh", {"-c", script}, "/", seconds});
}

/// A line that the library's fail-stop writes.
const std::string haltLine = "01/01 00:00:00.000 > -999 Err1 in 0:OF_Norm: RNG: Invalid range selection";

TEST(Process, WhatItWritesAndItsStatusCome)
{
    const Ended ended = Shell("echo out; echo err >&2; exit 7");
    EXPECT_EQ(ended.ending, Ending::exited);
    EXPECT_EQ(ended.code, 7);
    EXPECT_EQ(ended.out.Text(), "out\n");
    EXPECT_EQ(ended.err.Text(), "err\n");
    EXPECT_EQ(Shell("exit 0").code, 0);
}

TEST(Process, ItRunsInItsFolderWithoutInput)
{
    TemporaryFolder folder;
    const Ended ended = RunProcess({"/bin/sh", {"-c", "pwd; cat", "'a b'"}, folder.Path(), 20});
    EXPECT_EQ(ended.out.Text(), std::filesystem::canonical(folder.Path()).string() + "\n");
}

TEST(Process, ASignalThatEndsItIsNamed)
{
    const Ended ended = Shell("kill -SEGV $$");
    EXPECT_EQ(ended.ending, Ending::killed);
    EXPECT_EQ(ended.code, SIGSEGV);
}

TEST(Process, WhatCannotBeStartedSaysWhy)
{
    TemporaryFolder folder;
    folder.Write("text", "no program");
    EXPECT_EQ(RunProcess({folder / "none", {}, "/", 5}).code, ENOENT);
    EXPECT_EQ(RunProcess({folder / "text", {}, "/", 5}).code, EACCES);
    EXPECT_EQ(RunProcess({folder / "none", {}, "/", 5}).ending, Ending::notStarted);
    EXPECT_EQ(RunProcess({"/bin/true", {}, folder / "missing", 5}).code, ENOENT);
}

TEST(Process, OneThatNeverEndsIsEnded)
{
    for (const char* script : {"echo begun; sleep 60", "while :; do :; done", "while :; do echo y; done",
                               "exec >&- 2>&-; sleep 60", "trap '' TERM INT HUP; sleep 60"}) {
        const Ended ended = Shell(script, 0.3);
        EXPECT_EQ(ended.ending, Ending::tooLong) << script;
        EXPECT_GE(ended.seconds, 0.3);
        EXPECT_LT(ended.seconds, 3) << script;
    }
}

TEST(Process, WhatItStartedGoesWithIt)
{
    TemporaryFolder folder;
    const std::string mark = folder / "late";
    Shell("(sleep 1; touch '" + mark + "') & exit 0");
    Shell("(sleep 1; touch '" + mark + "') & sleep 30", 0.1);
    usleep(1300000);
    EXPECT_FALSE(folder.Has("late"));
}

TEST(Process, AHaltIsNoticed)
{
    const Ended ended = Shell("echo before; echo '" + haltLine + "' >&2; sleep 60");
    EXPECT_EQ(ended.ending, Ending::halted);
    EXPECT_EQ(ended.err.LastLine(), haltLine);
    EXPECT_LT(ended.seconds, 4);
}

TEST(Process, OneThatGoesOnBehindSuchALineHasNotHalted)
{
    const Ended ended = Shell("echo '" + haltLine + "' >&2; sleep 0.2; echo more >&2; sleep 1.5; exit 3");
    EXPECT_EQ(ended.ending, Ending::exited);
    EXPECT_EQ(ended.code, 3);
    EXPECT_EQ(Shell("printf '%s' '" + haltLine + "' >&2; sleep 1.3; exit 3").ending, Ending::exited)
        << "the line is not complete";
}

// In a child each, for what signals do belongs to the whole process.
TEST(Process, SignalsAreRememberedUnlessTheyWereIgnored)
{
    const auto caughtAfter = [](int ignored, int raised) {
        const pid_t child = fork();
        if (child == 0) {
            signal(ignored, SIG_IGN); // as nohup does
            CatchSignals();
            raise(raised);
            _exit(Caught());
        }
        int status = -1;
        waitpid(child, &status, 0);
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    };
    EXPECT_EQ(caughtAfter(SIGUSR1, SIGHUP), SIGHUP);
    EXPECT_EQ(caughtAfter(SIGUSR1, SIGINT), SIGINT);
    EXPECT_EQ(caughtAfter(SIGUSR1, SIGTERM), SIGTERM);
    EXPECT_EQ(caughtAfter(SIGHUP, SIGHUP), 0);
    EXPECT_EQ(caughtAfter(SIGHUP, SIGTERM), SIGTERM);
}

TEST(Process, WhatIsStartedGetsItsSignalsBack)
{
    const pid_t child = fork();
    if (child == 0) {
        CatchSignals();
        for (const char* name : {"PIPE", "XFSZ"}) {
            const Ended ended = Shell(std::string("kill -") + name + " $$; exit 0");
            if (ended.ending != Ending::killed) _exit(1);
        }
        _exit(0);
    }
    int status = -1;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
}

TEST(Process, AHaltLineIsKnownByItsStamp)
{
    EXPECT_TRUE(IsHaltLine(haltLine));
    EXPECT_TRUE(IsHaltLine("01/01 00:00:00.000 > -999 Err1 in: x"));
    for (const char* other :
         {"", "Error 4: x", "01/01 00:00:00.000 > -999 Err", " 01/01 00:00:00.000 > -999 Err1 in: x",
          "0a/01 00:00:00.000 > -999 Err1 in: x", "01/01 00:00:00.000 > -998 Err1 in: x"})
        EXPECT_FALSE(IsHaltLine(other)) << other;
}

TEST(Process, MegabytesAreReadAndBothEndsKept)
{
    const Ended ended = Shell(
        "echo first; head -c 5000000 /dev/zero | tr '\\0' x; echo; echo last; head -c 70000 /dev/zero >&2");
    EXPECT_EQ(ended.ending, Ending::exited);
    EXPECT_FALSE(ended.out.Whole());
    const std::string text = ended.out.Text();
    EXPECT_EQ(text.rfind("first\nxxx", 0), 0u);
    EXPECT_EQ(text.substr(text.size() - 9), "xxx\nlast\n");
    EXPECT_NE(text.find("\n[" + std::to_string(5000000 + 12 - 2 * 32768) + " bytes are left out here]\n"),
              text.npos);
    EXPECT_EQ(text.size(), 2 * 32768 + std::string("\n[4934476 bytes are left out here]\n").size());
    EXPECT_FALSE(ended.err.Whole());
}

TEST(Capture, UpToBothSharesEverythingIsKept)
{
    for (const std::size_t size :
         {std::size_t{0}, Capture::share - 1, Capture::share, Capture::share + 1, 2 * Capture::share}) {
        std::string bytes;
        while (bytes.size() < size) bytes += static_cast<char>('a' + bytes.size() % 23);
        for (const std::size_t step : {std::size_t{1000}, std::size_t{100000}}) {
            Capture capture;
            for (std::size_t at = 0; at < size; at += step)
                capture.Add(std::string_view(bytes).substr(at, step));
            EXPECT_TRUE(capture.Whole());
            EXPECT_TRUE(capture.Text() == bytes) << size;
        }
    }
    Capture more;
    more.Add(std::string(2 * Capture::share + 1, 'x'));
    EXPECT_FALSE(more.Whole());
    EXPECT_NE(more.Text().find("\n[1 bytes are left out here]\n"), std::string::npos);
}

TEST(Capture, TheLastLineIsTheLastOneThatIsComplete)
{
    Capture capture;
    EXPECT_EQ(capture.LastLine(), "");
    capture.Add("one\n");
    EXPECT_EQ(capture.LastLine(), "one");
    capture.Add("two\nth");
    EXPECT_EQ(capture.LastLine(), "") << "something is on its way";
    capture.Add("ree\n");
    EXPECT_EQ(capture.LastLine(), "three");
    capture.Add("\n");
    EXPECT_EQ(capture.LastLine(), "");
    std::string much(200000, 'x');
    much += "\nend\n";
    capture.Add(much);
    EXPECT_EQ(capture.LastLine(), "end");
}

} // namespace
