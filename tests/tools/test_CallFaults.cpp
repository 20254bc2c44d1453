// Every document of a tool appears whole or not at all, whatever becomes of the system calls that write it:
// the tool is killed there, or the call fails, or it writes less than it was given.
//
// In every run some of the calls are tried; with TELVANE_ALL_FAULTS in the environment all of them.
#include <tests/support/CallFaults.h>
#include <tests/support/ProgramRuns.h>

#include <tools/Files.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;

bool All() { return std::getenv("TELVANE_ALL_FAULTS") != nullptr; }

/// What may happen at each of so many calls.
std::vector<CallFault> FaultsOf(const std::vector<long>& calls)
{
    std::vector<CallFault> faults;
    for (std::size_t i = 0; i < calls.size(); i++) {
        const int at = static_cast<int>(i) + 1;
        faults.push_back({CallFault::killed, at, 0});
        if (!call_faults::errorsCanBeMade) continue;
        for (const int number : {EIO, ENOSPC}) faults.push_back({CallFault::failing, at, number});
        if (call_faults::IsWrite(calls[i])) faults.push_back({CallFault::cut, at, 0});
    }
    return faults;
}

/// Some of them, spread evenly, and never the same ones of neighbouring calls.
std::vector<CallFault> SampleOf(std::vector<CallFault> faults, std::size_t most)
{
    if (All() || faults.size() <= most) return faults;
    std::vector<CallFault> some;
    for (std::size_t i = 0; i < most; i++) some.push_back(faults[i * faults.size() / most]);
    return some;
}

bool Holds(const std::string& text, const std::string& part) { return text.find(part) != text.npos; }

/// Names in a folder that are nobody's document.
Words Hidden(const std::string& folder)
{
    Words names;
    for (const auto& entry : fs::directory_iterator(folder))
        if (const std::string name = entry.path().filename().string(); name[0] == '.') names.push_back(name);
    return names;
}

TEST(CallFaults, AFileThatIsReplacedIsTheOldOrTheNewOne)
{
    const std::string before = "the old one", after(300000, 'n');
    const auto write = [&](const TemporaryFolder& folder, const CallFault& fault) {
        folder.Write("file", before);
        return RunWithFault(
            [&] {
                const std::string problem = telvane::WriteWhole(folder / "file", after);
                _exit(problem.empty() ? 0 : problem == "not there" ? 3 : 1);
            },
            fault);
    };
    TemporaryFolder folder;
    const FaultyRun whole = write(folder, {});
    ASSERT_EQ(whole.status, 0);
    EXPECT_EQ(folder.Read("file"), after);
    ASSERT_EQ(whole.calls.size(), 4u) << "made, written, synced, renamed";
    for (const CallFault& fault : FaultsOf(whole.calls)) {
        const FaultyRun run = write(folder, fault);
        const std::string now = folder.Read("file");
        if (fault.kind == CallFault::cut) {
            EXPECT_EQ(run.status, 0) << fault.Text();
            EXPECT_TRUE(now == after) << fault.Text();
        } else {
            EXPECT_EQ(now, before) << fault.Text();
        }
        if (fault.kind == CallFault::failing) {
            EXPECT_EQ(run.status, 1) << fault.Text();
        }
        if (fault.kind != CallFault::killed) {
            EXPECT_EQ(Hidden(folder.Path()), Words()) << fault.Text();
        }
        EXPECT_EQ(write(folder, {}).status, 0);
        EXPECT_EQ(Hidden(folder.Path()), Words()) << "left after " << fault.Text();
    }
}

/// A tool that is run again and again over its earlier document.
struct Tool {
    Words argv;
    std::string folder;                    ///< that it runs in
    std::string where;                     ///< folder of its documents
    Words documents;                       ///< names in it
    std::function<void()> restore = [] {}; ///< before each run
    int failed = 1;                        ///< its status
};

std::string ReadIn(const std::string& folder, const std::string& name)
{
    std::ifstream file(fs::path(folder) / name, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), {});
}

void WriteIn(const std::string& folder, const std::string& name, const std::string& bytes)
{
    std::ofstream(fs::path(folder) / name, std::ios::binary) << bytes;
}

/// \param sample  so many faults are tried, or all
void ExpectWholeDocuments(const Tool& tool, std::size_t sample)
{
    const FaultyRun whole = RunWithFault(tool.argv, tool.folder, {});
    ASSERT_EQ(whole.status, 0) << whole.err;
    ASSERT_EQ(Hidden(tool.where), Words());
    std::vector<std::string> after;
    for (const std::string& name : tool.documents) after.push_back(ReadIn(tool.where, name));
    for (const CallFault& fault : SampleOf(FaultsOf(whole.calls), sample)) {
        for (const std::string& name : tool.documents) WriteIn(tool.where, name, "the old " + name);
        const FaultyRun run = RunWithFault(tool.argv, tool.folder, fault);
        ASSERT_GE(run.calls.size(), static_cast<std::size_t>(fault.at)) << fault.Text();
        bool all = true;
        for (std::size_t i = 0; i < after.size(); i++) {
            const std::string now = ReadIn(tool.where, tool.documents[i]);
            const bool isNew = now == after[i];
            EXPECT_TRUE(isNew || now == "the old " + tool.documents[i])
                << tool.documents[i] << ' ' << fault.Text() << ": " << now.size() << " bytes";
            all = all && isNew;
        }
        if (fault.kind == CallFault::killed) {
            EXPECT_EQ(run.signal, SIGKILL) << fault.Text();
        } else {
            EXPECT_TRUE(run.status == 0 || run.status == tool.failed) << fault.Text() << run.status;
            EXPECT_TRUE(all || run.status != 0) << fault.Text();
            // Where standard error itself fails nobody can be told.
            const bool told = std::count(run.err.begin(), run.err.end(), '\n') == 1;
            EXPECT_TRUE(run.status == 0 ? run.err.empty() : told) << fault.Text() << run.err;
            EXPECT_EQ(Hidden(tool.where), Words()) << fault.Text();
        }
        ASSERT_EQ(RunWithFault(tool.argv, tool.folder, {}).status, 0);
        EXPECT_EQ(Hidden(tool.where), Words()) << "left after " << fault.Text();
    }
}

TEST(CallFaults, FramesOfADrawnWheelAreWhole)
{
    TemporaryFolder folder;
    ExpectWholeDocuments({{WHEELSIM_PATH, "--count", "2", "--out", "frames"},
                          folder.Path(),
                          folder / "frames",
                          {"img1.bmp", "img2.bmp"}},
                         9);
}

TEST(CallFaults, ThePreviewIsWhole)
{
    TemporaryFolder folder;
    ExpectWholeDocuments({{WHEELSIM_PATH, "--preview", "p.svg"}, folder.Path(), folder.Path(), {"p.svg"}}, 2);
}

TEST(CallFaults, TheReportIsWhole)
{
    TemporaryFolder folder;
    WriteFrames(folder, {WheelFrame(WheelScene(), 1), WheelFrame(WheelScene(), 2)});
    ExpectWholeDocuments({{REPORT_PATH}, folder.Path(), folder.Path(), {"report.html"}}, 2);
}

/// What is in the folder of runs under names that people see: each run whole, `latest` one of them.
void ExpectWholeRuns(const std::string& out, const std::string& after)
{
    bool any = false;
    for (const auto& entry : fs::directory_iterator(out)) {
        const std::string name = entry.path().filename().string();
        if (name[0] == '.' || name == "latest") continue;
        any = true;
        EXPECT_TRUE(Holds(ReadIn(entry.path().string(), "run.json"), "\"schema\"")) << name << after;
        EXPECT_TRUE(Holds(ReadIn(entry.path().string(), "report.html"), "</html>")) << name << after;
    }
    EXPECT_TRUE(any) << after;
    EXPECT_TRUE(fs::exists(fs::path(out) / "latest" / "run.json")) << after;
}

TEST(CallFaults, TheFolderOfARunIsWhole)
{
    TemporaryFolder folder;
    folder.Write("stand-in", "#!/bin/sh\necho RESULT=-2\n");
    fs::permissions(folder / "stand-in", fs::perms::owner_all);
    const Words argv = {TELVANE_RUN_PATH, "--inner",  "216",    "--outer", "250",   "--region", "560,560",
                        "--telvane",      "stand-in", "--keep", "2",       "--out", "runs"};
    ASSERT_EQ(RunWithFault(argv, folder.Path(), {}).status, 3);
    ASSERT_EQ(RunWithFault(argv, folder.Path(), {}).status, 3);
    const FaultyRun whole = RunWithFault(argv, folder.Path(), {}); // the third of two that are kept
    ASSERT_EQ(whole.status, 3) << whole.err;
    for (const CallFault& fault : SampleOf(FaultsOf(whole.calls), 14)) {
        const FaultyRun run = RunWithFault(argv, folder.Path(), fault);
        const std::string after = " after " + fault.Text();
        ExpectWholeRuns(folder / "runs", after);
        if (fault.kind != CallFault::killed) {
            EXPECT_TRUE(run.status == 3 || run.status == 4) << after << run.status;
            EXPECT_EQ(std::count(run.err.begin(), run.err.end(), '\n'), run.status == 4 ? 1 : 0)
                << after << ": " << run.err;
        }
        ASSERT_EQ(RunWithFault(argv, folder.Path(), {}).status, 3) << after;
        ExpectWholeRuns(folder / "runs", after);
        EXPECT_EQ(Hidden(folder / "runs"), Words{".telvane-run.lock"}) << after;
    }
}

} // namespace
