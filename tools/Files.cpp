// Whole files, by the system's calls: they alone tell what went wrong.
#include <tools/Files.h>

#include <Kavrix/inner/NotEnoughMemory.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdlib>
#include <ctime>
#include <memory>
#include <string_view>
#include <system_error>

#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <unistd.h>

namespace telvane {

namespace {

const std::size_t most = std::size_t{64} << 20; // bytes

std::string Reason() { return errno == ENOENT ? "not there" : std::generic_category().message(errno); }

/// An open file that is closed with this object.
class OpenFile {
public:
    explicit OpenFile(int open) : file(open) {}
    OpenFile(const OpenFile&) = delete;
    OpenFile& operator=(const OpenFile&) = delete;
    ~OpenFile() { Close(); }
    int Get() const { return file; }
    bool Close()
    {
        const int open = file;
        file = -1;
        return open < 0 || close(open) == 0;
    }

private:
    int file;
};

/// Puts off the signals that end a program, so that none leaves a temporary file behind. Writing beyond a
/// limit is an error like others.
class SignalsPutOff {
public:
    SignalsPutOff()
    {
        sigset_t ending;
        sigfillset(&ending);
        for (const int fault : {SIGABRT, SIGBUS, SIGFPE, SIGILL, SIGSEGV, SIGSYS, SIGTRAP})
            sigdelset(&ending, fault); // they do not wait
        pthread_sigmask(SIG_BLOCK, &ending, &before);
    }
    SignalsPutOff(const SignalsPutOff&) = delete;
    SignalsPutOff& operator=(const SignalsPutOff&) = delete;
    ~SignalsPutOff()
    {
        sigset_t ours;
        sigemptyset(&ours);
        sigaddset(&ours, SIGXFSZ);
        const timespec atOnce{};
        while (sigismember(&before, SIGXFSZ) == 0 && sigtimedwait(&ours, nullptr, &atOnce) == SIGXFSZ) {
        }
        pthread_sigmask(SIG_SETMASK, &before, nullptr);
    }

private:
    sigset_t before;
};

bool WriteAll(int file, const std::string& bytes)
{
    std::size_t done = 0;
    while (done < bytes.size()) {
        const ssize_t n = write(file, bytes.data() + done, bytes.size() - done);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) return false;
        done += static_cast<std::size_t>(n);
    }
    return true;
}

/// Up to the last "/", it included; the current folder where there is none.
std::string FolderOf(const std::string& name)
{
    const std::size_t slash = name.rfind('/');
    return slash == name.npos ? "./" : name.substr(0, slash + 1);
}

/// Follows a symbolic link to where it leads, whether that is there or not.
/// \return nothing, or why that cannot be told
std::string FollowLinks(std::string& name)
{
    const int mostLinks = 40; // as many as the system follows
    for (int links = 0; links <= mostLinks; links++) {
        char target[PATH_MAX];
        const ssize_t length = readlink(name.c_str(), target, sizeof target);
        if (length < 0) return {}; // no link
        const std::string_view leads(target, static_cast<std::size_t>(length));
        const bool absolute = leads.substr(0, 1) == "/";
        name = (absolute ? std::string() : FolderOf(name)).append(leads);
    }
    errno = ELOOP;
    return Reason();
}

const std::size_t letters = 6; // at the end of temporary names

/// What temporary files for this name begin with; so many letters follow.
std::string TemporaryPrefix(const std::string& name)
{
    const std::size_t longest = 200; // bytes of the name: what is put around them must fit too
    return std::string(".").append(name.substr(name.rfind('/') + 1), 0, longest).append(".telvane-");
}

/// Removes the temporary files of writers that were killed: those that nobody holds the lock of.
void RemoveAbandoned(const std::string& name)
{
    const std::string folder = FolderOf(name), prefix = TemporaryPrefix(name);
    DIR* const entries = opendir(folder.c_str());
    if (entries == nullptr) return;
    while (const dirent* const entry = readdir(entries)) {
        const std::string_view here = entry->d_name;
        if (here.size() != prefix.size() + letters || here.substr(0, prefix.size()) != prefix) continue;
        const std::string abandoned = folder + entry->d_name;
        const OpenFile file(open(abandoned.c_str(), O_RDONLY | O_NONBLOCK | O_NOFOLLOW | O_CLOEXEC));
        if (file.Get() >= 0 && flock(file.Get(), LOCK_EX | LOCK_NB) == 0) unlink(abandoned.c_str());
    }
    closedir(entries);
}

/// Makes a temporary file and takes its lock. \param name  becomes its name
int OpenTemporary(std::string& name)
{
    const std::string prefix = FolderOf(name) + TemporaryPrefix(name);
    for (;;) {
        std::array<unsigned char, letters> random{};
        if (getrandom(random.data(), random.size(), 0) < 0) return -1;
        name = prefix;
        for (const unsigned char r : random) name += static_cast<char>('a' + r % 26);
        // Not by mkstemp, which gives rights that would have to be changed: there are disks that know none.
        const int file = open(name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0666);
        if (file < 0 && errno == EEXIST) continue;
        if (file < 0) return file;
        flock(file, LOCK_EX);
        // Before it was locked, another writer may have taken it for an abandoned one.
        struct stat status;
        if (fstat(file, &status) != 0 || status.st_nlink > 0) return file;
        close(file);
    }
}

std::string Replace(const std::string& name, const std::string& bytes)
{
    const SignalsPutOff quiet;
    RemoveAbandoned(name);
    std::string temporary = name;
    OpenFile file(OpenTemporary(temporary));
    if (file.Get() < 0) return Reason();
    // The name must not come before the bytes. The lock goes with the file: it is closed last.
    const bool written =
        WriteAll(file.Get(), bytes) && fsync(file.Get()) == 0 && rename(temporary.c_str(), name.c_str()) == 0;
    if (written) return {};
    std::string problem = Reason();
    unlink(temporary.c_str());
    return problem;
}

/// A pipe or a character device takes the bytes as they come. A pipe that nobody reads is not waited for.
std::string WriteInto(const std::string& name, const std::string& bytes)
{
    OpenFile file(open(name.c_str(), O_WRONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    if (file.Get() < 0) return errno == ENXIO ? "nobody reads from it" : Reason();
    const int flags = fcntl(file.Get(), F_GETFL);
    if (flags < 0 || fcntl(file.Get(), F_SETFL, flags & ~O_NONBLOCK) != 0) return Reason();
    const auto before = std::signal(SIGPIPE, SIG_IGN); // a reader who goes away is said
    std::string problem = WriteAll(file.Get(), bytes) && file.Close() ? "" : Reason();
    std::signal(SIGPIPE, before);
    return problem;
}

} // namespace

std::string ReadWhole(const std::string& name, std::string& bytes)
{
    bytes.clear();
    // Nothing that is waited for: a pipe without a writer opens and is empty.
    const OpenFile file(open(name.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    if (file.Get() < 0) return Reason();
    struct stat status;
    const bool sized = fstat(file.Get(), &status) == 0 && S_ISREG(status.st_mode) && status.st_size > 0;
    if (sized && static_cast<unsigned long long>(status.st_size) > most) return "too large";
    const std::size_t expected = sized ? static_cast<std::size_t>(status.st_size) : 0;

    std::string read;
    for (std::size_t done = 0;;) {
        read.resize(std::max(expected, done) + 4096); // room to see that a file ends where it should
        const ssize_t n = ::read(file.Get(), read.data() + done, read.size() - done);
        if (n < 0 && errno == EINTR) continue;
        if (n < 0) return Reason();
        done += static_cast<std::size_t>(n);
        if (done > most) return "too large";
        if (n > 0) continue;
        read.resize(done);
        bytes = std::move(read);
        return {};
    }
}

std::string WriteWhole(const std::string& name, const std::string& bytes)
{
    struct stat status;
    const bool there = stat(name.c_str(), &status) == 0;
    if (there && (S_ISFIFO(status.st_mode) || S_ISCHR(status.st_mode))) return WriteInto(name, bytes);
    if (there && !S_ISREG(status.st_mode))
        return S_ISDIR(status.st_mode) ? "Is a directory" : "not a regular file";
    std::string place = name;
    if (std::string problem = FollowLinks(place); !problem.empty()) return problem;
    // Links as /proc/self/fd/1 may lead to a file that has no name any more.
    return there && access(place.c_str(), F_OK) != 0 ? "not a regular file" : Replace(place, bytes);
}

std::string BytesOf(const std::function<int(std::FILE*)>& write)
{
    char* memory = nullptr;
    std::size_t size = 0;
    std::FILE* const stream = open_memstream(&memory, &size);
    if (stream == nullptr) kavrix::inner::NotEnoughMemory();
    const bool written = write(stream) == 0;
    const bool closed = std::fclose(stream) == 0;
    const std::unique_ptr<char, void (*)(void*)> owner(memory, std::free);
    if (!written || !closed) kavrix::inner::NotEnoughMemory(); // nothing else can go wrong
    return {memory, size};
}

bool SameFile(const std::string& a, const std::string& b)
{
    struct stat statusA, statusB;
    return stat(a.c_str(), &statusA) == 0 && stat(b.c_str(), &statusB) == 0 &&
           statusA.st_dev == statusB.st_dev && statusA.st_ino == statusB.st_ino;
}

} // namespace telvane
