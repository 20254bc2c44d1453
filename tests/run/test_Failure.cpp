// Why a run is none: how the program ended, and which of its files is not whole.
#include <run/Failure.h>

#include <tests/support/ProgramRuns.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <string>
#include <vector>

#include <sys/resource.h>

using namespace telvane;

namespace {

Ended After(Ending ending, int code, const std::string& err = "", double seconds = 0)
{
    Ended ended;
    ended.ending = ending;
    ended.code = code;
    ended.seconds = seconds;
    ended.err.Add(err);
    return ended;
}

TEST(Failure, EveryEndingHasItsWords)
{
    using enum Ending;
    for (const auto& [ended, words] : std::vector<std::pair<Ended, std::string>>{
             {After(exited, 0), ""},
             {After(exited, 0, "not enough memory\n"), ""},
             {After(exited, 7), "Telvane ended with status 7"},
             {After(exited, 1, "first\nlast\n\n"), "Telvane ended with status 1: last"},
             {After(exited, 1, "Usage:\n    ... <teethCnt>\n"),
              "Telvane ended with status 1: it does not take this command line"},
             {After(exited, 1, "No Memory left\n"),
              "not enough memory: Telvane ended with status 1: No Memory left"},
             {After(killed, SIGSEGV), "Telvane was ended by signal 11 (Segmentation fault)"},
             {After(killed, SIGKILL, "begun\n"),
              "not enough memory: Telvane was ended by signal 9 (Killed): begun"},
             {After(tooLong, 0, "", 1.26), "Telvane was ended after 1.3 s"},
             {After(halted, 0, "x\n"), "Telvane halted: x"},
             {After(interrupted, 0), "Telvane was ended"},
             {After(notStarted, ENOENT), "Telvane cannot be started: not there"},
             {After(notStarted, EACCES), "Telvane cannot be started: Permission denied"},
             {After(notStarted, ENOMEM),
              "not enough memory: Telvane cannot be started: Cannot allocate memory"}})
        EXPECT_EQ(FailureOf(ended, false), words);
}

TEST(Failure, WithALimitOfMemoryItIsWhatWasMissing)
{
    rlimit before{};
    ASSERT_EQ(getrlimit(RLIMIT_AS, &before), 0);
    const auto lacks = [](Ending ending, int code, bool files) {
        return FailureOf(After(ending, code, "x\n"), files).rfind("not enough memory: ", 0) == 0;
    };
    for (const bool limited : {false, true}) {
        rlimit limit = before;
        if (limited) limit.rlim_cur = std::min<rlim_t>(before.rlim_max, rlim_t{1} << 46); // far away
        else if (before.rlim_cur != RLIM_INFINITY) continue;
        ASSERT_EQ(setrlimit(RLIMIT_AS, &limit), 0);
        EXPECT_EQ(lacks(Ending::exited, 1, true), limited) << "the one for files says nothing of its own";
        EXPECT_FALSE(lacks(Ending::exited, 1, false));
        EXPECT_EQ(lacks(Ending::exited, 127, false), limited) << "the loader";
        EXPECT_EQ(lacks(Ending::killed, SIGSEGV, false), limited);
        EXPECT_TRUE(lacks(Ending::killed, SIGKILL, false));
        ASSERT_EQ(setrlimit(RLIMIT_AS, &before), 0);
    }
}

TEST(Failure, AFileThatIsNotWholeIsNamed)
{
    TemporaryFolder folder;
    RunArguments arguments;
    arguments.count = 3;
    EXPECT_EQ(DamagedFile(arguments, folder.Path()), "") << "what is not there is not looked for";
    const auto damaged = [&](const std::string& name) {
        folder.Write(name, "BMx");
        const std::string problem = DamagedFile(arguments, folder.Path());
        std::filesystem::remove(folder / name);
        return problem;
    };
    for (const char* name :
         {"img1.bmp", "img3.bmp", "detected.jpg", "hough.bmp", "u_sum_sh.bmp", "v_sum_sh.bmp"}) {
        const std::string problem = damaged(name);
        EXPECT_EQ(problem.rfind((folder / name) + ": ", 0), 0u) << name << problem;
        const std::string question = "; is the disk full?";
        EXPECT_EQ(problem.substr(problem.size() - std::min(problem.size(), question.size())), question);
    }
    EXPECT_EQ(damaged("img4.bmp"), "") << "left by an earlier run";
    arguments.files = true;
    EXPECT_EQ(damaged("img1.bmp"), "") << "it was found good before";
    arguments.files = false;
    arguments.jpeg = true;
    EXPECT_NE(damaged("img1.jpg"), "");
}

TEST(Failure, TheSystemsWordsAreTold)
{
    EXPECT_EQ(SystemWords(ENOENT), "not there");
    EXPECT_EQ(SystemWords(EACCES), "Permission denied");
}

} // namespace
