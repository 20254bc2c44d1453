// telvane-run when the world around it fails: signals, kills, full disks, several at once.
#include <tests/run/RunProgram.h>

#include <tests/support/FileSizeLimit.h>

#include <csignal>

#include <fcntl.h>
#include <sys/file.h>

namespace {

using namespace std::chrono_literals;

/// A run that goes on while the test looks at it. Its number is in the file going.pid.
class Going {
public:
    Going(const TemporaryFolder& folder, const Words& words)
        : child(child_process::Becoming(Join({{TELVANE_RUN_PATH}, asked, words}), folder.Path(), {},
                                        [] { std::ofstream("going.pid") << getpid() << std::endl; }),
                "")
    {
    }
    /// Waits for its end. \return the status of waitpid
    int End()
    {
        for (int i = 0; i < 2000 && !child.Ended(); i++) child.Read(10ms);
        while (child.Read(0ms)) {
        }
        EXPECT_TRUE(child.Ended());
        return child.Status();
    }
    child_process::Child child;
};

/// Waits for a file, and gives what it holds.
std::string Await(const TemporaryFolder& folder, const std::string& name)
{
    for (int i = 0; i < 2000; i++) {
        if (folder.Has(name) && !folder.Read(name).empty() && folder.Read(name).back() == '\n')
            return folder.Read(name);
        usleep(5000);
    }
    ADD_FAILURE() << name << " does not come";
    return {};
}

pid_t Number(const std::string& pid) { return static_cast<pid_t>(std::stol(pid)); }

bool Lives(const std::string& pid) { return kill(Number(pid), 0) == 0; }

/// Goes on until it is ended; its number is in the file pid.
std::string Endless(const TemporaryFolder& folder)
{
    return StandIn(folder, "echo begun >&2; touch half; echo $$ >'" + (folder / "pid") + "'; exec sleep 60");
}

TEST(RunFaults, SignalsEndTheProgramAndLeaveNothing)
{
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        TemporaryFolder folder;
        Going run(folder, {"--telvane", Endless(folder)});
        const std::string pid = Await(folder, "pid");
        kill(Number(Await(folder, "going.pid")), signal);
        const int status = run.End();
        EXPECT_TRUE(WIFSIGNALED(status));
        EXPECT_EQ(WTERMSIG(status), signal);
        EXPECT_FALSE(Lives(pid));
        EXPECT_EQ(RunsIn(folder), Words{".telvane-run.lock"});
        EXPECT_EQ(run.child.out, "");
        EXPECT_EQ(run.child.err, "telvane-run: ended by signal " + std::to_string(signal) +
                                     "; Telvane's last line: begun\n");
    }
}

TEST(RunFaults, KilledItTakesTheProgramAlongAndTheNextRunClears)
{
    TemporaryFolder folder;
    Going run(folder, {"--telvane", Endless(folder)});
    const std::string pid = Await(folder, "pid");
    kill(Number(Await(folder, "going.pid")), SIGKILL);
    run.End();
    for (int i = 0; i < 400 && Lives(pid); i++) usleep(5000);
    EXPECT_FALSE(Lives(pid));
    const Words left = RunsIn(folder);
    ASSERT_EQ(left.size(), 2u);
    EXPECT_TRUE(folder.Has("runs/" + left[0] + "/half")) << left[0];

    EXPECT_EQ(RunWheel(folder, {"--frames", Recorded(), "--count", "4"}).err, "");
    const Words after = RunsIn(folder);
    EXPECT_EQ(after.size(), 3u) << "the lock, the run, the link";
    EXPECT_FALSE(folder.Has("runs/" + left[0]));
}

// Killed at many moments between its first step and its last: what is there is whole, and the next run works.
TEST(RunFaults, KilledAtAnyMomentTheNextRunWorks)
{
    TemporaryFolder folder;
    const std::string program = StandIn(folder, "cp '" + Recorded() + "/img1.bmp' .; echo RESULT=-2");
    for (int after = 0; after < 24; after++) {
        Going run(folder, {"--telvane", program, "--keep", "2"});
        const std::string pid = Await(folder, "going.pid");
        usleep(static_cast<useconds_t>(4000 * after));
        kill(Number(pid), SIGKILL);
        run.End();
        fs::remove(folder / "going.pid");
        for (const std::string& name : RunsIn(folder)) {
            if (name[0] == '.') continue;
            EXPECT_FALSE(
                Json::parse(folder.Read("runs/" + name + "/run.json"), nullptr, false).is_discarded())
                << name;
        }
    }
    for (int i = 0; i < 2; i++) EXPECT_EQ(RunWheel(folder, {"--telvane", program, "--keep", "2"}).status, 3);
    EXPECT_EQ(RunsIn(folder).size(), 4u) << "two runs, the link, the lock";
}

TEST(RunFaults, TwoAtOnceBothHaveTheirFolder)
{
    TemporaryFolder folder;
    const std::string program = StandIn(folder, "sleep 0.3; echo RESULT=-2");
    Going first(folder, {"--telvane", program}), second(folder, {"--telvane", program});
    EXPECT_EQ(WEXITSTATUS(first.End()), 3);
    EXPECT_EQ(WEXITSTATUS(second.End()), 3);
    const Words names = RunsIn(folder);
    ASSERT_EQ(names.size(), 4u);
    EXPECT_EQ(names[1].substr(16), "-1");
    EXPECT_EQ(names[2].substr(16), "-2");
    EXPECT_EQ(fs::read_symlink(folder / "runs/latest"), names[2]);
}

TEST(RunFaults, ASignalEndsTheWaitForAnotherProgram)
{
    TemporaryFolder folder;
    fs::create_directory(folder / "runs");
    const child_process::Descriptor held(
        open((folder / "runs/.telvane-run.lock").c_str(), O_RDWR | O_CREAT, 0666));
    ASSERT_EQ(flock(held.Get(), LOCK_EX), 0);
    Going run(folder, {"--telvane", StandIn(folder, "echo RESULT=-2")});
    long ticks = 0;
    for (int i = 0; i < 2000 && !(folder.Has("going.pid") && run.child.Asleep(ticks)); i++) usleep(5000);
    usleep(100000);
    kill(Number(Await(folder, "going.pid")), SIGTERM);
    const int status = run.End();
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGTERM);
    EXPECT_EQ(run.child.err, "telvane-run: ended by signal 15\n");
}

TEST(RunFaults, AFullDiskLosesTheRunAndNothingElse)
{
    TemporaryFolder folder;
    ASSERT_EQ(RunWheel(folder, {"--frames", Recorded(), "--count", "4"}).status, 0);
    const Words before = RunsIn(folder);
    const std::string document = folder.Read("runs/latest/run.json");
    for (const rlim_t bytes : {0, 60000, 1000000}) {
        Finished run;
        {
            const FileSizeLimit limit(bytes);
            run = RunWheel(folder, {"--telvane", SIMULATED_TELVANE, "--count", "3", "--json"});
        }
        EXPECT_EQ(run.status, 4) << bytes << run.out;
        EXPECT_NE(run.err.rfind("telvane-run: ", 0), run.err.npos) << run.err;
        EXPECT_EQ(std::count(run.err.begin(), run.err.end(), '\n'), 1) << bytes << run.err;
        const Json json = Json::parse(run.out);
        EXPECT_TRUE(json["failure"].is_string()) << run.out;
        if (json["folder"].is_string() && folder.Has(json["folder"]))
            continue; // its document could be written
        EXPECT_EQ(RunsIn(folder), before) << bytes;
        EXPECT_EQ(folder.Read("runs/latest/run.json"), document);
    }
}

TEST(RunFaults, AnOutputThatNobodyTakesIsStatusFour)
{
    TemporaryFolder folder;
    const std::string program = StandIn(folder, "echo RESULT=-2");
    RunOptions closed;
    closed.before = [] { close(STDOUT_FILENO); };
    for (const Words& words : {Words{}, Words{"--json"}, Words{"--dry-run"}}) {
        const Finished run = RunWheel(folder, Join({{"--telvane", program}, words}), closed);
        EXPECT_EQ(run.status, 4);
        EXPECT_EQ(run.err, "telvane-run: cannot write to standard output\n");
    }
    EXPECT_EQ(Document(folder)["result"], -2) << "the run itself is whole";
    RunOptions broken;
    broken.before = [] {
        int ends[2];
        if (pipe(ends) != 0 || dup2(ends[1], STDOUT_FILENO) < 0) _exit(126);
        close(ends[0]);
    };
    EXPECT_EQ(RunWheel(folder, {"--telvane", program, "--json"}, broken).status, 4);
}

// Bits are streams: a file in the place of one of them would hold what the tool, or its program, says there.
TEST(RunFaults, StreamsThatAreClosedReachNoFile)
{
    for (const int closed : {1, 4, 7}) {
        TemporaryFolder folder;
        RunOptions options;
        options.before = [closed] {
            for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
                if ((closed >> stream & 1) != 0) close(stream);
        };
        const std::string program = StandIn(folder, "cat; echo told >&2; echo RESULT=-2; echo x >left");
        const Finished run = RunWheel(folder, {"--telvane", program}, options);
        const bool output = (closed >> STDOUT_FILENO & 1) == 0, errors = (closed >> STDERR_FILENO & 1) == 0;
        EXPECT_EQ(run.status, output ? 3 : 4) << closed;
        EXPECT_EQ(run.out.empty(), !output) << closed << run.out;
        EXPECT_EQ(run.err, output || !errors ? "" : "telvane-run: cannot write to standard output\n")
            << closed;
        const Json document = Document(folder);
        EXPECT_EQ(document["stdout"], "RESULT=-2\n") << closed;
        EXPECT_EQ(document["stderr"], "told\n") << closed;
        EXPECT_EQ(folder.Read("runs/latest/left"), "x\n") << closed;
        EXPECT_EQ(folder.Read("runs/latest/report.html").rfind("</html>\n"),
                  folder.Read("runs/latest/report.html").size() - 8)
            << closed;
        EXPECT_EQ(folder.Read("runs/.telvane-run.lock"), "") << closed;
    }
}

TEST(RunFaults, NamesOfAnyBytesReachNoTerminal)
{
    TemporaryFolder folder;
    const Finished run =
        RunWheel(folder, {"--out", "a\033[2J\xFF", "--telvane", StandIn(folder, "echo RESULT=-2")});
    EXPECT_EQ(run.status, 3) << run.err;
    EXPECT_NE(run.out.find("Report: a\\x1B[2J\\xFF/2"), run.out.npos) << run.out;
    const Finished json = RunWheel(folder, {"--json", "--out", "\xFF", "--telvane", folder / "stand-in"});
    EXPECT_EQ(Json::parse(json.out)["arguments"]["out"], "\xEF\xBF\xBD");
}

} // namespace
