// Children of a test: a routine that must halt, a program that is run to its end, a folder to run it in.
//
//     FailStop stop = RunUntilHalt([] { RNG(2, 1); });
//     EXPECT_TRUE(stop.halted) << stop.state;
//     EXPECT_EQ(stop.line, ErrorLine("RNG: Invalid range selection"));
//
//     TemporaryFolder folder;
//     Finished run = Run({TELVANE_PROGRAM, "-n", "2"}, folder.path());
//     EXPECT_EQ(run.status, 0) << run.err;
#pragma once

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <stdexcept>
#include <string>
#include <system_error>
#include <vector>

#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

// What programs are started through where the build machine cannot run them itself: an emulator and its
// options, separated by semicolons.
#ifndef EMULATOR
#define EMULATOR ""
#endif

/// How much longer than on the real machine everything may take.
inline constexpr int emulationFactor = sizeof EMULATOR > 1 ? 10 : 1;

#ifdef TELVANE_COVERAGE
extern "C" void __gcov_dump(); // writes the counts of this process; ending by _exit() or a signal does not
#endif

/// The line that `error(1, message)` writes; `context` are the traced names as " 0:OF_Norm".
inline std::string ErrorLine(const std::string& message, const std::string& context = "")
{
    return "01/01 00:00:00.000 > -999 Err1 in" + context + ": " + message;
}

/// How a child was found that had to stop for good.
struct FailStop {
    bool halted = false; ///< it lives and sleeps: it neither ended nor uses the processor
    std::string line;  ///< the last line on its standard error, without the newline; empty when there is none
    std::string err;   ///< everything on its standard error
    std::string out;   ///< everything on its standard output
    std::string state; ///< in words, for the test's message: "halted", "exited with 0", ...
};

/// How a program ended.
struct Finished {
    int status = -1;       ///< exit status; -1 where a signal ended it
    int signal = 0;        ///< the signal that ended it, or 0
    bool timedOut = false; ///< it had to be killed
    std::string out;       ///< the bytes of its standard output
    std::string err;       ///< the bytes of its standard error
};

struct RunOptions {
    std::vector<std::string> environment = {}; ///< added or replaced, as "NAME=value"
    std::string input = "";                    ///< standard input
    std::chrono::seconds timeout{60};          ///< `emulationFactor` times as much under emulation
    std::function<void()> before = {};         ///< done in the child before the program is started in it
};

/// For RunOptions::before: the child's standard output becomes that file.
inline void SendOutputTo(const char* path)
{
    const int fd = open(path, O_WRONLY | O_CREAT | O_APPEND, 0666);
    if (fd < 0 || dup2(fd, STDOUT_FILENO) < 0) _exit(126);
    close(fd);
}

namespace child_process {

using Clock = std::chrono::steady_clock;

inline void Check(bool good, const char* what)
{
    if (!good) throw std::system_error(errno, std::generic_category(), what);
}

/// One end or both of something open.
class Descriptor {
public:
    explicit Descriptor(int open = -1) : fd(open) {}
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor() { Close(); }
    void Close()
    {
        if (fd >= 0) close(fd);
        fd = -1;
    }
    void Reset(int other)
    {
        Close();
        fd = other;
    }
    int Get() const { return fd; }

private:
    int fd;
};

/// A child whose standard output and error are read here. It is killed at the latest with this object.
class Child {
public:
    /// Forks. The child runs `body`, which should not return; where it does, the child exits with 0.
    Child(const std::function<void()>& body, const std::string& input)
    {
        // A file, not a pipe: nobody has to wait until the child has read its input.
        std::FILE* in = std::tmpfile();
        Check(in != nullptr, "tmpfile");
        const bool written = std::fwrite(input.data(), 1, input.size(), in) == input.size() &&
                             std::fflush(in) == 0 && lseek(fileno(in), 0, SEEK_SET) == 0;
        int outPipe[2], errPipe[2];
        Check(written && pipe2(outPipe, O_CLOEXEC) == 0, "pipe");
        outReader.Reset(outPipe[0]);
        Descriptor outEnd(outPipe[1]);
        Check(pipe2(errPipe, O_CLOEXEC) == 0, "pipe");
        errReader.Reset(errPipe[0]);
        Descriptor errEnd(errPipe[1]);

        std::fflush(nullptr);
        const pid_t parent = getpid();
        pid = fork();
        Check(pid >= 0, "fork");
        if (pid == 0) {
            setpgid(0, 0);
            prctl(PR_SET_PDEATHSIG, SIGKILL); // a test that is killed takes its child along
            if (getppid() != parent) _exit(1);
            const rlimit noCore{0, 0};
            setrlimit(RLIMIT_CORE, &noCore);
            dup2(fileno(in), STDIN_FILENO);
            dup2(outEnd.Get(), STDOUT_FILENO);
            dup2(errEnd.Get(), STDERR_FILENO);
            [&body]() noexcept { body(); }(); // an exception must not get back into the test program
            std::fflush(stdout);
#ifdef TELVANE_COVERAGE
            __gcov_dump();
#endif
            _exit(0);
        }
        std::fclose(in);
    }
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;
    ~Child() { Kill(); }

    /// Reads what there is, waiting up to `patience` for something.
    /// \return whether anything came
    bool Read(std::chrono::milliseconds patience)
    {
        pollfd ends[2] = {{outReader.Get(), POLLIN, 0},
                          {errReader.Get(), POLLIN, 0}}; // poll passes over closed ones
        poll(ends, 2, static_cast<int>(patience.count()));
        bool came = false;
        for (int i = 0; i < 2; i++) {
            if (ends[i].revents == 0) continue;
            char bytes[65536];
            const ssize_t n = read(ends[i].fd, bytes, sizeof bytes);
            if (n > 0) (i == 0 ? out : err).append(bytes, static_cast<std::size_t>(n));
            else if (n == 0 || errno != EINTR) (i == 0 ? outReader : errReader).Close();
            came = came || n > 0;
        }
        return came;
    }

    bool Ended()
    {
        if (!ended) ended = waitpid(pid, &status, WNOHANG) == pid;
        return ended;
    }

    /// Ends the child and what it started.
    void Kill()
    {
        if (Ended()) return;
#ifdef TELVANE_COVERAGE
        kill(pid, SIGTERM); // coverage/counts_on_sigterm.cpp answers it
        for (int i = 0; i < 1000 && !Ended(); i++) usleep(5000);
        if (Ended()) return;
#endif
        kill(-pid, SIGKILL);
        kill(pid, SIGKILL); // it may not have got to its own group yet
        ended = waitpid(pid, &status, 0) == pid;
    }

    /// Sleeps in the kernel; `ticks` becomes the processor time it has used so far.
    bool Asleep(long& ticks) const
    {
        std::ifstream file("/proc/" + std::to_string(pid) + "/stat");
        std::string text(std::istreambuf_iterator<char>(file), {});
        const std::size_t name = text.rfind(')'); // the name before it may hold anything
        char state = 0;
        long user = 0, system = 0;
        if (name == std::string::npos ||
            std::sscanf(text.c_str() + name + 1, " %c %*d %*d %*d %*d %*d %*u %*u %*u %*u %*u %ld %ld",
                        &state, &user, &system) != 3)
            return false;
        ticks = user + system;
        return state == 'S';
    }

    int Status() const { return status; }
    pid_t Pid() const { return pid; }

    std::string out, err;

private:
    pid_t pid = -1;
    Descriptor outReader, errReader;
    bool ended = false;
    int status = 0;
};

inline std::string Ending(int status)
{
    return WIFEXITED(status) ? "exited with " + std::to_string(WEXITSTATUS(status))
                             : "ended by signal " + std::to_string(WTERMSIG(status));
}

/// The body of a child that becomes another program.
inline std::function<void()> Becoming(const std::vector<std::string>& argv, const std::string& workingDir,
                                      const std::vector<std::string>& environment,
                                      const std::function<void()>& before = {})
{
    return [=] {
        std::vector<std::string> words;
        std::string word;
        for (const char* c = EMULATOR;; c++) {
            if (*c != ';' && *c != 0) {
                word += *c;
                continue;
            }
            if (!word.empty()) words.push_back(word);
            word.clear();
            if (*c == 0) break;
        }
        words.insert(words.end(), argv.begin(), argv.end());
        std::vector<char*> pointers;
        for (std::string& w : words) pointers.push_back(w.data());
        pointers.push_back(nullptr);

        for (const std::string& e : environment) {
            const std::size_t sign = e.find('=');
            setenv(e.substr(0, sign).c_str(), sign == std::string::npos ? "" : e.c_str() + sign + 1, 1);
        }
        if (chdir(workingDir.c_str()) == 0) {
            if (before) before();
            execvp(pointers[0], pointers.data());
        }
        std::fprintf(stderr, "cannot start %s in %s: %s\n", pointers[0], workingDir.c_str(),
                     std::strerror(errno));
        _exit(127);
    };
}

/// Watches until the child sleeps for good, ends, or the time is up; then ends it.
inline FailStop WatchUntilHalt(const std::function<void()>& body, std::chrono::seconds timeout)
{
    Child child(body, "");
    FailStop stop;
    stop.state = "still running";
    const auto deadline = Clock::now() + timeout * emulationFactor;
    long ticks = -1;
    int quietChecks = 0;
    while (Clock::now() < deadline) {
        const auto pause = std::chrono::milliseconds(20);
        const auto begin = Clock::now();
        const bool came = child.Read(pause);
        if (!came && child.Ended()) {
            while (child.Read(std::chrono::milliseconds(0))) {
            }
            stop.state = Ending(child.Status());
            break;
        }
        if (const auto rest = pause - (Clock::now() - begin); !came && rest.count() > 0)
            usleep(
                static_cast<useconds_t>(std::chrono::duration_cast<std::chrono::microseconds>(rest).count()));

        long now = 0;
        const bool asleep = child.Asleep(now);
        quietChecks = asleep && !came && now == ticks ? quietChecks + 1 : 0;
        ticks = now;
        // Without a line it may still be on its way to one.
        if (quietChecks >= (child.err.empty() ? 25 : 6)) {
            stop.halted = true;
            stop.state = "halted";
            break;
        }
    }
    child.Kill();
    while (child.Read(std::chrono::milliseconds(0))) {
    }
    stop.out = child.out;
    stop.err = child.err;
    if (!stop.err.empty() && stop.err.back() == '\n') {
        const std::string text = stop.err.substr(0, stop.err.size() - 1);
        const std::size_t newline = text.rfind('\n');
        stop.line = newline == std::string::npos ? text : text.substr(newline + 1);
    }
    return stop;
}

} // namespace child_process

/// Runs `routine` in a forked child until it halts. What it expects by GoogleTest is lost with the child.
inline FailStop RunUntilHalt(const std::function<void()>& routine,
                             std::chrono::seconds timeout = std::chrono::seconds(20))
{
    return child_process::WatchUntilHalt(routine, timeout);
}

/// Starts a program that halts. A relative argv[0] is looked up from `workingDir`.
inline FailStop RunProgramUntilHalt(const std::vector<std::string>& argv, const std::string& workingDir,
                                    std::chrono::seconds timeout = std::chrono::seconds(20),
                                    const std::function<void()>& before = {})
{
    return child_process::WatchUntilHalt(child_process::Becoming(argv, workingDir, {}, before), timeout);
}

/// Runs a program to its end. Status 127 with a line on `err` where it cannot be started.
inline Finished Run(const std::vector<std::string>& argv, const std::string& workingDir,
                    const RunOptions& options = {})
{
    using namespace child_process;
    Child child(Becoming(argv, workingDir, options.environment, options.before), options.input);
    Finished f;
    const auto deadline = Clock::now() + options.timeout * emulationFactor;
    while (!child.Ended() && !f.timedOut) {
        if (!child.Read(std::chrono::milliseconds(5))) usleep(1000); // also when it has closed both ends
        f.timedOut = Clock::now() >= deadline;
    }
    child.Kill();
    while (child.Read(std::chrono::milliseconds(0))) {
    }
    f.out = child.out;
    f.err = child.err;
    if (WIFEXITED(child.Status())) f.status = WEXITSTATUS(child.Status());
    else f.signal = WTERMSIG(child.Status());
    return f;
}

/// A new empty folder that goes with this object, with everything in it.
class TemporaryFolder {
public:
    TemporaryFolder()
    {
        std::string name = (std::filesystem::temp_directory_path() / "telvane-test-XXXXXX").string();
        child_process::Check(mkdtemp(name.data()) != nullptr, "mkdtemp");
        path = name;
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;
    ~TemporaryFolder()
    {
        std::error_code ignored;
        std::filesystem::remove_all(path, ignored);
    }

    const std::string& Path() const { return path; }
    std::string operator/(const std::string& name) const { return path + "/" + name; }
    bool Has(const std::string& name) const { return std::filesystem::exists(*this / name); }

    void Write(const std::string& name, const std::string& bytes) const
    {
        std::ofstream file(*this / name, std::ios::binary);
        file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
        if (!file.flush()) throw std::runtime_error("cannot write " + (*this / name));
    }
    std::string Read(const std::string& name) const
    {
        std::ifstream file(*this / name, std::ios::binary);
        if (!file) throw std::runtime_error("cannot read " + (*this / name));
        return std::string(std::istreambuf_iterator<char>(file), {});
    }

private:
    std::string path;
};
