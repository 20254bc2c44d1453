// Starting by fork and exec, watching by poll.
#include <run/Process.h>

#include <diagnosis/RunArguments.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstring>
#include <initializer_list>

#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace telvane {

namespace {

using Clock = std::chrono::steady_clock;

volatile std::sig_atomic_t caught = 0;

extern "C" void Remember(int signal) { caught = signal; }

// What a program that is started gets back: this program's own handling is none of its business.
constexpr std::array ignoredHere = {SIGPIPE, SIGXFSZ};
std::array<struct sigaction, ignoredHere.size()> before{};

void RestoreSignals()
{
    for (std::size_t i = 0; i < ignoredHere.size(); i++) sigaction(ignoredHere[i], &before[i], nullptr);
}

/// Both ends of a pipe; they are closed with it.
struct Pipe {
    int read = -1, write = -1;

    Pipe() = default;
    Pipe(const Pipe&) = delete;
    Pipe& operator=(const Pipe&) = delete;
    ~Pipe()
    {
        Close(read);
        Close(write);
    }
    bool Open()
    {
        int ends[2];
        if (pipe2(ends, O_CLOEXEC) != 0) return false;
        read = ends[0];
        write = ends[1];
        return true;
    }
    static void Close(int& end)
    {
        if (end >= 0) close(end);
        end = -1;
    }
};

/// What the child does between fork and exec: system calls only. It does not return.
[[noreturn]] void Become(const char* program, char** words, const char* folder, pid_t parent, const Pipe& out,
                         const Pipe& err, int told)
{
    setpgid(0, 0);
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (getppid() != parent) _exit(127);
    RestoreSignals();
    const int nothing = open("/dev/null", O_RDONLY);
    if (nothing >= 0 && dup2(nothing, STDIN_FILENO) >= 0 && dup2(out.write, STDOUT_FILENO) >= 0 &&
        dup2(err.write, STDERR_FILENO) >= 0 && chdir(folder) == 0)
        execv(program, words);
    const int problem = errno;
    [[maybe_unused]] const ssize_t ignored = write(told, &problem, sizeof problem);
    _exit(127);
}

/// Takes what there is. \return whether anything came
bool Take(int& end, Capture& capture)
{
    if (end < 0) return false;
    static std::array<char, 65536> part;
    const ssize_t n = read(end, part.data(), part.size());
    if (n > 0) capture.Add({part.data(), static_cast<std::size_t>(n)});
    else if (n == 0 || (errno != EINTR && errno != EAGAIN)) Pipe::Close(end);
    return n > 0;
}

bool HasEnded(pid_t child)
{
    siginfo_t info{};
    return waitid(P_PID, static_cast<id_t>(child), &info, WEXITED | WNOHANG | WNOWAIT) != 0 ||
           info.si_pid == child;
}

/// Why the child has to go, or that it need not.
Ending Watch(pid_t child, Clock::time_point deadline, Pipe& out, Pipe& err, Ended& ended)
{
    const auto patience = std::chrono::seconds(1); // with a program that says that it halts
    const int tick = 20;                           // milliseconds
    auto heard = Clock::now();
    for (;;) {
        std::array<pollfd, 2> ends = {{{out.read, POLLIN, 0}, {err.read, POLLIN, 0}}};
        poll(ends.data(), ends.size(), tick);
        // Read one at a time and only what is there: a program that never stops writing is ended, too.
        const bool outCame = ends[0].revents != 0 && Take(out.read, ended.out);
        const bool errCame = ends[1].revents != 0 && Take(err.read, ended.err);
        const auto now = Clock::now();
        if (outCame || errCame) heard = now;
        if (Caught() != 0) return Ending::interrupted;
        if (!outCame && !errCame && HasEnded(child)) return Ending::exited;
        if (now >= deadline) return Ending::tooLong;
        if (now - heard >= patience && IsHaltLine(ended.err.LastLine())) return Ending::halted;
    }
}

} // namespace

void Capture::Add(std::string_view bytes)
{
    total += bytes.size();
    const std::size_t room = std::min(share - first.size(), bytes.size());
    first.append(bytes.substr(0, room));
    last.append(bytes.substr(room));
    if (last.size() > 4 * share) last.erase(0, last.size() - share);
}

std::string Capture::Text() const
{
    if (Whole()) return first + last;
    return first + "\n[" + std::to_string(total - 2 * share) + " bytes are left out here]\n" +
           last.substr(last.size() - share);
}

std::string Capture::LastLine() const
{
    const std::string& text = last.empty() ? first : last;
    if (text.empty() || text.back() != '\n') return {};
    const std::size_t end = text.size() - 1;
    const std::size_t newline = end == 0 ? text.npos : text.rfind('\n', end - 1);
    const std::size_t begin = newline == text.npos ? 0 : newline + 1;
    return text.substr(begin, end - begin);
}

std::string Command::Line() const
{
    std::string line = ShellWord(program);
    for (const std::string& word : words) line += ' ' + ShellWord(word);
    return line;
}

Ended RunProcess(const Command& command)
{
    Ended ended;
    Pipe out, err, told;
    std::vector<char*> words = {const_cast<char*>(command.program.c_str())};
    for (const std::string& word : command.words) words.push_back(const_cast<char*>(word.c_str()));
    words.push_back(nullptr);
    const auto begin = Clock::now();
    if (!out.Open() || !err.Open() || !told.Open()) {
        ended.code = errno;
        return ended;
    }
    const pid_t parent = getpid(), child = fork();
    if (child < 0) {
        ended.code = errno;
        return ended;
    }
    if (child == 0)
        Become(command.program.c_str(), words.data(), command.folder.c_str(), parent, out, err, told.write);
    setpgid(child, child); // whoever comes first
    for (Pipe* pipe : {&out, &err, &told}) Pipe::Close(pipe->write);
    for (const Pipe* pipe : {&out, &err}) fcntl(pipe->read, F_SETFL, O_NONBLOCK);

    // This pipe ends without a word when the program has started.
    ssize_t n = 0;
    while ((n = read(told.read, &ended.code, sizeof ended.code)) < 0 && errno == EINTR) {
    }
    const auto limit =
        std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(command.seconds));
    if (n <= 0) ended.ending = Watch(child, begin + limit, out, err, ended);

    kill(-child, SIGKILL); // what it has started, too
    kill(child, SIGKILL);
    int status = 0;
    while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    // What is still in the pipes, and no more where somebody else goes on writing.
    for (int i = 0; i < 64 && Take(out.read, ended.out); i++) {
    }
    for (int i = 0; i < 64 && Take(err.read, ended.err); i++) {
    }
    ended.seconds = std::chrono::duration<double>(Clock::now() - begin).count();
    if (ended.ending == Ending::exited) {
        if (WIFSIGNALED(status)) ended.ending = Ending::killed;
        ended.code = WIFSIGNALED(status) ? WTERMSIG(status) : WEXITSTATUS(status);
    }
    return ended;
}

bool IsHaltLine(std::string_view line)
{
    // Its time stamp is fixed in length: "01/01 00:00:00.000 > -999 Err1 in 0:OF_Norm: RNG: ..."
    constexpr std::string_view stamp = "##/## ##:##:##.### > -999 Err";
    if (line.size() <= stamp.size()) return false;
    // cppcheck-suppress danglingTemporaryLifetime ; a view of text that outlives it
    return std::equal(stamp.begin(), stamp.end(), line.begin(),
                      [](char s, char c) { return s == '#' ? c >= '0' && c <= '9' : s == c; });
}

void CatchSignals()
{
    struct sigaction action {};
    sigemptyset(&action.sa_mask);
    action.sa_handler = Remember; // without SA_RESTART: whoever waits is to look
    for (const int signal : {SIGHUP, SIGINT, SIGTERM}) {
        struct sigaction old {};
        sigaction(signal, nullptr, &old);
        if (old.sa_handler != SIG_IGN) sigaction(signal, &action, nullptr);
    }
    action.sa_handler = SIG_IGN;
    for (std::size_t i = 0; i < ignoredHere.size(); i++) sigaction(ignoredHere[i], &action, &before[i]);
}

int Caught() { return caught; }

} // namespace telvane
