// The folder of runs: names, the newest, the oldest, several at once, and what killed ones leave.
#include <run/OutFolder.h>

#include <tests/support/ProgramRuns.h>

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <filesystem>
#include <memory>
#include <set>
#include <string>
#include <thread>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace telvane;
namespace fs = std::filesystem;
using namespace std::chrono_literals;

namespace {

const char stamp[] = "20261121T230904Z";
const char document[] = "{\"schema\": \"telvane-run/1\"}";

void Fill(const OutFolder& out)
{
    for (const char* name : {"run.json", "img1.bmp"}) {
        std::ofstream file(fs::path(out.Aside()) / name);
        file << document;
    }
}

/// A whole run. \return its folder's name
std::string MakeRun(const TemporaryFolder& folder, int keep = 10)
{
    OutFolder out(folder.Path());
    EXPECT_EQ(out.Begin(stamp), "");
    Fill(out);
    EXPECT_EQ(out.Finish(keep), "");
    return fs::path(out.Final()).filename().string();
}

Words Visible(const TemporaryFolder& folder)
{
    Words names;
    for (const std::string& name : FilesIn(folder))
        if (name[0] != '.') names.push_back(name);
    return names;
}

std::string Latest(const TemporaryFolder& folder) { return fs::read_symlink(folder / "latest").string(); }

std::string Numbered(int number) { return stamp + ("-" + std::to_string(number)); }

TEST(OutFolder, RunsAreNumberedOnAndOn)
{
    TemporaryFolder folder;
    EXPECT_EQ(MakeRun(folder), Numbered(1));
    EXPECT_EQ(MakeRun(folder), Numbered(2));
    EXPECT_EQ(Visible(folder), (Words{Numbered(1), Numbered(2), "latest"}));
    EXPECT_EQ(Latest(folder), Numbered(2));
    EXPECT_EQ(folder.Read("latest/run.json"), document);
}

TEST(OutFolder, NothingIsSeenBeforeItIsWhole)
{
    TemporaryFolder folder;
    {
        OutFolder out(folder.Path());
        ASSERT_EQ(out.Begin(stamp), "");
        Fill(out);
        EXPECT_EQ(Visible(folder), Words());
    }
    EXPECT_EQ(FilesIn(folder), (Words{".telvane-run.lock"})) << "what was abandoned is gone";
    EXPECT_EQ(MakeRun(folder), Numbered(1));
}

TEST(OutFolder, FoldersAreMadeWhereTheyAreMissing)
{
    TemporaryFolder folder;
    OutFolder out(folder / "a/b");
    EXPECT_EQ(out.Begin(stamp), "");
    EXPECT_EQ(out.Final(), folder / ("a/b/" + Numbered(1)));
}

TEST(OutFolder, TheOldestByNumberGo)
{
    TemporaryFolder folder;
    for (int i = 1; i <= 11; i++) MakeRun(folder, 100);
    EXPECT_EQ(Visible(folder).size(), 12u);
    EXPECT_EQ(MakeRun(folder, 3), Numbered(12));
    EXPECT_EQ(Visible(folder), (Words{Numbered(10), Numbered(11), Numbered(12), "latest"}))
        << "9 is older than 10, whatever their letters";
    MakeRun(folder, 1);
    EXPECT_EQ(Visible(folder), (Words{Numbered(13), "latest"}));
    EXPECT_EQ(FilesIn(folder).size(), 3u) << "and nothing of them is left";
}

TEST(OutFolder, WhatItDidNotMakeStays)
{
    TemporaryFolder folder, elsewhere;
    const Words foreign = {Numbered(1),           Numbered(2), "20261121T230904Z-03", "20261121T230904-4",
                           "20261121T230904Z-5x", "runs",      "20261121T230904Z-0",  Numbered(2147483647)};
    const Words hidden = {".notes.partial", "." + Numbered(1) + "_partial", Numbered(1) + ".partial"};
    for (const std::string& name : foreign) fs::create_directory(folder / name);
    folder.Write(Numbered(2) + "/run.json", "{\"schema\": \"something/1\"}");
    for (const char* name :
         {"20261121T230904Z-03", "20261121T230904-4", "20261121T230904Z-5x", "runs", "20261121T230904Z-0"})
        folder.Write(name + std::string("/run.json"), document);
    elsewhere.Write("run.json", document);
    fs::create_directory_symlink(elsewhere.Path(), folder / Numbered(6));
    folder.Write(Numbered(7), "a file");
    for (const std::string& name : hidden) fs::create_directory(folder / name);

    EXPECT_EQ(MakeRun(folder, 1), Numbered(8));
    EXPECT_EQ(MakeRun(folder, 1), Numbered(9));
    for (const std::string& name : foreign) EXPECT_TRUE(folder.Has(name)) << name;
    EXPECT_TRUE(elsewhere.Has("run.json"));
    EXPECT_TRUE(folder.Has(Numbered(6) + "/run.json"));
    EXPECT_EQ(folder.Read(Numbered(7)), "a file");
    for (const std::string& name : hidden) EXPECT_TRUE(folder.Has(name)) << name;
    EXPECT_FALSE(folder.Has(Numbered(8)));
}

TEST(OutFolder, RunsOfOtherVersionsAreItsOwn)
{
    TemporaryFolder folder;
    fs::create_directory(folder / Numbered(1));
    folder.Write(Numbered(1) + "/run.json", "{\"schema\": \"telvane-run/99\"}");
    MakeRun(folder, 1);
    EXPECT_FALSE(folder.Has(Numbered(1)));
}

TEST(OutFolder, ALatestThatIsNoLinkIsLeftAlone)
{
    TemporaryFolder folder;
    fs::create_directory(folder / "latest");
    OutFolder out(folder.Path());
    EXPECT_EQ(out.Begin(stamp),
              (folder / "latest") + ": must be a link to the newest run, and is something else");
    EXPECT_EQ(Visible(folder), Words{"latest"});
}

TEST(OutFolder, APlaceThatCannotHoldFoldersIsNamed)
{
    TemporaryFolder folder;
    folder.Write("file", "x");
    OutFolder file(folder / "file"), below(folder / "file/out");
    EXPECT_EQ(file.Begin(stamp), (folder / "file") + ": Not a directory");
    EXPECT_EQ(below.Begin(stamp), (folder / "file/out") + ": Not a directory");
    fs::create_directory(folder / "out");
    fs::create_directory(folder / "out/.telvane-run.lock");
    OutFolder locked(folder / "out");
    EXPECT_EQ(locked.Begin(stamp), (folder / "out/.telvane-run.lock") + ": Is a directory");
}

TEST(OutFolder, ARunThatCannotBeTheNewestIsNone)
{
    TemporaryFolder folder;
    MakeRun(folder, 1);
    const std::string next = folder / ".latest.partial"; // the link is made under this name
    fs::create_directory(next);
    {
        OutFolder out(folder.Path());
        ASSERT_EQ(out.Begin(stamp), "");
        Fill(out);
        EXPECT_EQ(out.Finish(1), (folder / "latest") + ": File exists");
    }
    EXPECT_EQ(FilesIn(folder), (Words{".latest.partial", ".telvane-run.lock", Numbered(1), "latest"}));
    EXPECT_EQ(Latest(folder), Numbered(1)) << "and the one before is not lost for it";
    fs::remove(next);
    EXPECT_EQ(MakeRun(folder, 1), Numbered(2));
}

TEST(OutFolder, ALockThatIsRemovedWhileItIsWaitedForLocksNobodyOut)
{
    TemporaryFolder folder;
    const std::string path = folder / ".telvane-run.lock";
    const auto locked = [&path] {
        const int file = open(path.c_str(), O_RDWR | O_CREAT, 0666);
        EXPECT_EQ(flock(file, LOCK_EX), 0);
        return file;
    };
    const int old = locked();
    std::atomic<bool> done = false;
    std::thread waiting([&] {
        MakeRun(folder);
        done = true;
    });
    std::this_thread::sleep_for(100ms); // it waits by now, or soon will
    fs::remove(path);
    const int anew = locked();
    close(old);
    std::this_thread::sleep_for(200ms);
    EXPECT_FALSE(done);
    EXPECT_EQ(FilesIn(folder), Words{".telvane-run.lock"}) << "somebody else works in the folder";
    close(anew);
    waiting.join();
    EXPECT_EQ(Visible(folder), (Words{Numbered(1), "latest"}));
}

TEST(OutFolder, UsersShareAFolder)
{
    TemporaryFolder folder;
    MakeRun(folder);
    fs::permissions(folder.Path(), fs::perms::all);
    fs::permissions(folder / ".telvane-run.lock",
                    fs::perms::owner_read | fs::perms::group_read | fs::perms::others_read);
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        if (geteuid() == 0 && seteuid(65534) != 0) _exit(126);
        MakeRun(folder);
        _exit(testing::Test::HasFailure() ? 1 : 0);
    }
    int status = -1;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(Latest(folder), Numbered(2));
    // But where there is none that may be read, that is what is told.
    fs::permissions(folder / ".telvane-run.lock", fs::perms::none);
    OutFolder out(folder.Path());
    const uid_t before = geteuid();
    ASSERT_TRUE(before != 0 || seteuid(65534) == 0);
    EXPECT_EQ(out.Begin(stamp), (folder / ".telvane-run.lock") + ": Permission denied");
    ASSERT_EQ(seteuid(before), 0);
}

TEST(OutFolder, SeveralAtOnceDoNotDisturbEachOther)
{
    TemporaryFolder folder;
    OutFolder first(folder.Path()), second(folder.Path());
    ASSERT_EQ(first.Begin(stamp), "");
    ASSERT_EQ(second.Begin(stamp), "");
    EXPECT_NE(first.Aside(), second.Aside());
    Fill(first);
    Fill(second);
    EXPECT_EQ(second.Finish(10), "");
    EXPECT_EQ(Latest(folder), Numbered(2));
    EXPECT_EQ(MakeRun(folder), Numbered(3));
    EXPECT_TRUE(fs::exists(first.Aside())) << "nobody clears what is worked in";
    EXPECT_EQ(first.Finish(10), "");
    EXPECT_EQ(Latest(folder), Numbered(3)) << "the newest, and not the last to end";
    EXPECT_EQ(Visible(folder), (Words{Numbered(1), Numbered(2), Numbered(3), "latest"}));
}

TEST(OutFolder, ARunThatEndsLateStaysBesideTheNewest)
{
    TemporaryFolder folder;
    OutFolder first(folder.Path());
    ASSERT_EQ(first.Begin(stamp), "");
    Fill(first);
    EXPECT_EQ(MakeRun(folder, 1), Numbered(2));
    EXPECT_EQ(first.Finish(1), "");
    EXPECT_EQ(Visible(folder), (Words{Numbered(1), Numbered(2), "latest"}))
        << "nobody loses what he has just made";
    EXPECT_EQ(Latest(folder), Numbered(2));
}

TEST(OutFolder, ItsRightsAreThoseOfTheUsersMask)
{
    TemporaryFolder folder;
    for (const auto& [mask, rights] : {std::pair{027u, 0750u}, {0u, 0777u}}) {
        const mode_t before = umask(mask);
        const std::string name = MakeRun(folder);
        umask(before);
        struct stat status;
        ASSERT_EQ(stat((folder / name).c_str(), &status), 0);
        EXPECT_EQ(status.st_mode & 0777, rights);
    }
}

TEST(OutFolder, ManyProcessesGetNumbersOfTheirOwn)
{
    TemporaryFolder folder;
    std::vector<pid_t> children;
    for (int i = 0; i < 6; i++) {
        const pid_t child = fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            for (int n = 0; n < 5; n++) MakeRun(folder, 4);
            _exit(testing::Test::HasFailure() ? 1 : 0);
        }
        children.push_back(child);
    }
    for (const pid_t child : children) {
        int status = -1;
        ASSERT_EQ(waitpid(child, &status, 0), child);
        EXPECT_EQ(status, 0);
    }
    EXPECT_EQ(Latest(folder), Numbered(30));
    MakeRun(folder, 4);
    EXPECT_EQ(Visible(folder), (Words{Numbered(28), Numbered(29), Numbered(30), Numbered(31), "latest"}));
}

// Ended at any moment, it leaves folders that are whole and a link that leads to one, and the next run clears
// the rest.
TEST(OutFolder, KilledAtAnyMomentItLeavesNothingHalf)
{
    TemporaryFolder folder;
    for (int i = 0; i < 3; i++) MakeRun(folder);
    std::set<std::string> seen;
    for (int after = 0; after < 40; after++) {
        const pid_t child = fork();
        ASSERT_GE(child, 0);
        if (child == 0)
            for (;;) MakeRun(folder, 3);
        usleep(static_cast<useconds_t>(200 + after * 137));
        kill(child, SIGKILL);
        int status = 0;
        ASSERT_EQ(waitpid(child, &status, 0), child);
        for (const std::string& name : Visible(folder)) {
            if (name == "latest") continue;
            EXPECT_TRUE(folder.Has(name + "/run.json") && folder.Has(name + "/img1.bmp")) << name;
        }
        EXPECT_EQ(folder.Read("latest/run.json"), document);
        for (const std::string& name : FilesIn(folder)) seen.insert(name.substr(0, 5));
        MakeRun(folder, 3);
        const Words left = FilesIn(folder);
        EXPECT_EQ(left.size(), 5u) << "three runs, the link, the lock; round " << after;
    }
    EXPECT_TRUE(seen.count(".2026")) << "it was ended while it worked";
}

} // namespace
