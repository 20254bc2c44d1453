// Files that the tools read and write as a whole.
#include <tests/support/ChildProcess.h>
#include <tests/support/FileSizeLimit.h>

#include <tools/Files.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <filesystem>
#include <string>
#include <thread>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <sys/un.h>

using namespace telvane;

namespace {

namespace fs = std::filesystem;

std::ptrdiff_t Entries(const TemporaryFolder& folder)
{
    return std::distance(fs::directory_iterator(folder.Path()), fs::directory_iterator());
}

TEST(Files, WhatIsWrittenIsReadBack)
{
    TemporaryFolder folder;
    std::string all;
    for (int i = 0; i < 300000; i++) all += static_cast<char>(i * 7 + i / 256);
    for (const std::string& bytes : {std::string(), std::string("\0a\n\r\xFF", 5), all}) {
        EXPECT_EQ(WriteWhole(folder / "file", bytes), "");
        std::string read = "before";
        EXPECT_EQ(ReadWhole(folder / "file", read), "");
        EXPECT_TRUE(read == bytes);
    }
    EXPECT_EQ(Entries(folder), 1);
}

TEST(Files, NewFilesHaveTheRightsOfTheUsersMask)
{
    TemporaryFolder folder;
    for (const auto& [mask, rights] : {std::pair{027u, 0640u}, {0u, 0666u}}) {
        const mode_t before = umask(mask);
        EXPECT_EQ(WriteWhole(folder / "file", "x"), "");
        umask(before);
        struct stat status;
        ASSERT_EQ(stat((folder / "file").c_str(), &status), 0);
        EXPECT_EQ(status.st_mode & 0777, rights);
    }
}

TEST(Files, FilesOfUpTo64MegabytesAreRead)
{
    TemporaryFolder folder;
    folder.Write("file", "");
    std::string bytes;
    fs::resize_file(folder / "file", (64 << 20) + 1);
    EXPECT_EQ(ReadWhole(folder / "file", bytes), "too large");
    EXPECT_EQ(bytes, "");
    fs::resize_file(folder / "file", 64 << 20);
    EXPECT_EQ(ReadWhole(folder / "file", bytes), "");
    EXPECT_EQ(bytes.size(), std::size_t{64} << 20);
}

TEST(Files, WhyAFileCannotBeReadIsSaid)
{
    TemporaryFolder folder;
    std::string bytes = "before";
    EXPECT_EQ(ReadWhole(folder / "missing", bytes), "not there");
    EXPECT_EQ(bytes, "");
    EXPECT_EQ(ReadWhole(folder.Path(), bytes), "Is a directory");
    folder.Write("file", "x");
    EXPECT_EQ(ReadWhole(folder / "file/below", bytes), "Not a directory");
    EXPECT_EQ(ReadWhole("/dev/zero", bytes), "too large");
}

TEST(Files, APipeThatNobodyWritesToIsNotWaitedFor)
{
    TemporaryFolder folder;
    ASSERT_EQ(mkfifo((folder / "pipe").c_str(), 0600), 0);
    std::string bytes;
    EXPECT_EQ(ReadWhole(folder / "pipe", bytes), "");
    EXPECT_EQ(bytes, "");
}

TEST(Files, AFailedWriteLeavesTheOldFileAndNothingElse)
{
    TemporaryFolder folder;
    folder.Write("file", "the old one");
    std::string problem;
    {
        const FileSizeLimit limit(1000);
        problem = WriteWhole(folder / "file", std::string(5000, 'x'));
    }
    EXPECT_EQ(problem, "File too large");
    EXPECT_EQ(folder.Read("file"), "the old one");
    EXPECT_EQ(Entries(folder), 1);
}

TEST(Files, WhyAFileCannotBeWrittenIsSaid)
{
    TemporaryFolder folder;
    EXPECT_EQ(WriteWhole(folder / "missing/file", "x"), "not there");
    fs::create_directory(folder / "folder");
    EXPECT_EQ(WriteWhole(folder / "folder", "x"), "Is a directory");
    EXPECT_EQ(Entries(folder), 1);
}

TEST(Files, ALinkStaysAndWhatItLeadsToIsReplaced)
{
    TemporaryFolder folder;
    fs::create_directory(folder / "there");
    folder.Write("there/file", "the old one");
    fs::create_symlink("there/file", folder / "link");
    fs::create_symlink(folder / "link", folder / "further");
    fs::create_symlink("there/new", folder / "to nothing yet");
    EXPECT_EQ(WriteWhole(folder / "further", "one"), "");
    EXPECT_EQ(folder.Read("there/file"), "one");
    EXPECT_EQ(WriteWhole(folder / "to nothing yet", "two"), "");
    EXPECT_EQ(folder.Read("there/new"), "two");
    for (const char* link : {"link", "further", "to nothing yet"})
        EXPECT_TRUE(fs::is_symlink(folder / link)) << link;

    fs::create_symlink("round", folder / "round");
    EXPECT_EQ(WriteWhole(folder / "round", "x"), "Too many levels of symbolic links");
    EXPECT_TRUE(fs::is_symlink(folder / "round"));
    EXPECT_EQ(Entries(folder), 5);
}

TEST(Files, AsManyLinksAreFollowedAsTheSystemFollows)
{
    TemporaryFolder folder;
    for (int i = 1; i <= 41; i++)
        fs::create_symlink(i == 1 ? "file" : std::to_string(i - 1), folder / std::to_string(i));
    EXPECT_EQ(WriteWhole(folder / "40", "new"), "") << "to nothing yet";
    EXPECT_EQ(WriteWhole(folder / "40", "one"), "");
    EXPECT_EQ(folder.Read("40"), "one") << "the system reads it by that name";
    std::string read;
    EXPECT_EQ(ReadWhole(folder / "41", read), "Too many levels of symbolic links");
    EXPECT_EQ(WriteWhole(folder / "41", "two"), "Too many levels of symbolic links");
    EXPECT_EQ(folder.Read("file"), "one");
    for (const char* link : {"1", "40", "41"}) EXPECT_TRUE(fs::is_symlink(folder / link)) << link;
    EXPECT_EQ(Entries(folder), 42);
}

TEST(Files, APipeIsWrittenIntoAndStaysOne)
{
    TemporaryFolder folder;
    const std::string pipe = folder / "pipe", bytes(300000, 'x');
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    EXPECT_EQ(WriteWhole(pipe, bytes), "nobody reads from it");

    const int reader = open(pipe.c_str(), O_RDONLY | O_NONBLOCK);
    ASSERT_GE(reader, 0);
    std::size_t came = 0;
    std::string problem = "not yet";
    std::thread writer([&] { problem = WriteWhole(pipe, bytes); });
    for (int i = 0; i < 5000 && came < bytes.size(); i++) {
        char part[4096];
        const ssize_t n = read(reader, part, sizeof part);
        if (n > 0) came += static_cast<std::size_t>(n);
        else std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    writer.join();
    EXPECT_EQ(problem, "");
    EXPECT_EQ(came, bytes.size());

    // A reader who goes away in the middle is said, and ends nobody.
    std::thread leaver([reader] {
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        close(reader);
    });
    EXPECT_EQ(WriteWhole(pipe, bytes), "Broken pipe");
    leaver.join();
    EXPECT_EQ(std::signal(SIGPIPE, SIG_DFL), SIG_DFL) << "what signals do stays as it was";
    EXPECT_TRUE(fs::is_fifo(pipe));
    EXPECT_EQ(Entries(folder), 1);
}

TEST(Files, ADeviceIsWrittenIntoAndStaysOne)
{
    TemporaryFolder folder;
    // A terminal of the test's own: everybody may make one, and no file can take its place.
    const int terminal = posix_openpt(O_RDWR | O_NOCTTY);
    ASSERT_GE(terminal, 0);
    ASSERT_EQ(grantpt(terminal), 0);
    ASSERT_EQ(unlockpt(terminal), 0);
    const std::string device = ptsname(terminal);
    fs::create_symlink(device, folder / "link");
    EXPECT_EQ(WriteWhole(folder / "link", "bytes"), "");
    EXPECT_TRUE(fs::is_character_file(device));
    char read[16] = {};
    EXPECT_EQ(::read(terminal, read, sizeof read), 5);
    EXPECT_STREQ(read, "bytes");
    EXPECT_TRUE(fs::is_symlink(folder / "link"));
    EXPECT_EQ(Entries(folder), 1);
    close(terminal);
}

TEST(Files, TheOpenPipeThatANameOfTheSystemStandsForIsWrittenInto)
{
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    // As /dev/stdout is: a link whose text is no path.
    EXPECT_EQ(WriteWhole("/proc/self/fd/" + std::to_string(ends[1]), "bytes"), "");
    char read[16] = {};
    EXPECT_EQ(::read(ends[0], read, sizeof read), 5);
    EXPECT_STREQ(read, "bytes");
    close(ends[0]);
    close(ends[1]);
}

TEST(Files, AnOpenFileThatHasNoNameAnyMoreIsRefused)
{
    TemporaryFolder folder;
    folder.Write("file", "x");
    const int file = open((folder / "file").c_str(), O_RDWR);
    ASSERT_GE(file, 0);
    fs::remove(folder / "file");
    EXPECT_EQ(WriteWhole("/proc/self/fd/" + std::to_string(file), "bytes"), "not a regular file");
    EXPECT_EQ(Entries(folder), 0);
    close(file);
}

TEST(Files, ASocketIsRefusedAndStaysOne)
{
    TemporaryFolder folder;
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    ASSERT_LT((folder / "s").size(), sizeof address.sun_path);
    std::strcpy(address.sun_path, (folder / "s").c_str());
    const int made = socket(AF_UNIX, SOCK_STREAM, 0);
    ASSERT_EQ(bind(made, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    EXPECT_EQ(WriteWhole(folder / "s", "x"), "not a regular file");
    EXPECT_TRUE(fs::is_socket(folder / "s"));
    EXPECT_EQ(Entries(folder), 1);
    close(made);
}

TEST(Files, WritingBeyondALimitEndsNobody)
{
    // The signal of the limit would end the program; whoever has it blocked or handled has it as before.
    TemporaryFolder folder;
    folder.Write("file", "the old one");
    const FailStop stop = RunUntilHalt([&folder] {
        const rlimit limit{1000, 1000};
        setrlimit(RLIMIT_FSIZE, &limit);
        const std::string problem = WriteWhole(folder / "file", std::string(5000, 'x'));
        std::fprintf(stderr, "%s\n", problem.c_str());
    });
    EXPECT_EQ(stop.state, "exited with 0");
    EXPECT_EQ(stop.err, "File too large\n");
    EXPECT_EQ(folder.Read("file"), "the old one");
    EXPECT_EQ(Entries(folder), 1);
}

TEST(Files, LongNamesAreWritten)
{
    TemporaryFolder folder;
    const std::string name(255, 'n');
    EXPECT_EQ(WriteWhole(folder / name, "x"), "");
    EXPECT_EQ(folder.Read(name), "x");
    EXPECT_EQ(WriteWhole(folder / (name + "n"), "x"), "File name too long");
    EXPECT_EQ(Entries(folder), 1);
}

TEST(Files, WhatAKilledWriterLeftGoesWithTheNextOne)
{
    TemporaryFolder folder;
    folder.Write(".file.telvane-abcdef", "left");
    folder.Write(".file.telvane-ABC123", "of a writer who is at it");
    folder.Write(".file.telvane-abcdefg", "another name");
    folder.Write(".file2.telvane-abcdef", "left by a writer of another file");
    folder.Write(".fill.telvane-abcdef", "and of one with a name as long");
    folder.Write("file.telvane-abcdef", "another name");
    ASSERT_EQ(mkfifo((folder / ".file.telvane-abcdeg").c_str(), 0600), 0); // not waited for
    const int busy = open((folder / ".file.telvane-ABC123").c_str(), O_RDWR);
    ASSERT_EQ(flock(busy, LOCK_EX), 0);
    EXPECT_EQ(WriteWhole(folder / "file", "x"), "");
    EXPECT_FALSE(folder.Has(".file.telvane-abcdef"));
    EXPECT_TRUE(folder.Has(".file.telvane-ABC123"));
    EXPECT_EQ(Entries(folder), 6);
    close(busy);
    EXPECT_EQ(WriteWhole(folder / "file", "x"), "");
    EXPECT_EQ(Entries(folder), 5);
}

TEST(Files, AWriterThatIsEndedLeavesAWholeFileAndNothingElse)
{
    const std::string versions[] = {std::string(700000, 'a'), std::string(900000, 'b')};
    for (const int signal : {SIGTERM, SIGINT, SIGHUP, SIGQUIT, SIGALRM, SIGUSR1, SIGKILL})
        for (int after = 0; after < 8; after++) {
            TemporaryFolder folder;
            folder.Write("file", versions[0]);
            const pid_t child = fork();
            ASSERT_GE(child, 0);
            if (child == 0)
                for (int i = 0;; i++)
                    if (!WriteWhole(folder / "file", versions[i % 2]).empty()) _exit(1);
            std::this_thread::sleep_for(std::chrono::microseconds(1500 + 700 * after));
            kill(child, signal);
            int status = 0;
            ASSERT_EQ(waitpid(child, &status, 0), child);
            EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == signal);
            if (signal != SIGKILL) {
                EXPECT_EQ(Entries(folder), 1) << signal << ' ' << after;
            }
            const std::string file = folder.Read("file");
            EXPECT_TRUE(file == versions[0] || file == versions[1]) << file.size();
            EXPECT_EQ(WriteWhole(folder / "file", "x"), "");
            EXPECT_EQ(Entries(folder), 1);
        }
}

TEST(Files, WritersOfOneFileDoNotDisturbEachOther)
{
    TemporaryFolder folder;
    const std::string versions[] = {std::string(5000, 'a'), std::string(9000, 'b'), std::string(2000, 'c')};
    std::vector<std::thread> writers;
    int failures[3] = {};
    for (std::size_t w = 0; w < 3; w++)
        writers.emplace_back([&, w] {
            for (int i = 0; i < 60; i++) failures[w] += !WriteWhole(folder / "file", versions[w]).empty();
        });
    for (std::thread& writer : writers) writer.join();
    for (const int count : failures) EXPECT_EQ(count, 0);
    EXPECT_EQ(std::count(std::begin(versions), std::end(versions), folder.Read("file")), 1);
    EXPECT_EQ(Entries(folder), 1);
}

TEST(Files, TheSameFileUnderAnyName)
{
    TemporaryFolder folder;
    folder.Write("file", "x");
    folder.Write("other", "x");
    fs::create_symlink("file", folder / "link");
    fs::create_hard_link(folder / "file", folder / "second name");
    EXPECT_TRUE(SameFile(folder / "file", folder / "./link"));
    EXPECT_TRUE(SameFile(folder / "file", folder / "second name"));
    EXPECT_FALSE(SameFile(folder / "file", folder / "other"));
    EXPECT_FALSE(SameFile(folder / "missing", folder / "missing"));
    EXPECT_FALSE(SameFile("/proc", "/sys")) << "both have the number 1, each of its own file system";
}

} // namespace
