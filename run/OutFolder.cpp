// Everything that two programs must not do at once is done while holding the lock of a file in the folder.
#include <run/OutFolder.h>

#include <Kavrix/inner/NotEnoughMemory.h>
#include <run/Document.h>
#include <tools/Numbers.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <filesystem>
#include <new>
#include <string_view>
#include <system_error>
#include <vector>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace telvane {

namespace {

namespace fs = std::filesystem;

const char lockName[] = ".telvane-run.lock", latestName[] = "latest", asideEnd[] = ".partial";

std::string Reason(const std::string& path, int error = errno)
{
    if (error == ENOMEM) kavrix::inner::NotEnoughMemory();
    return path + ": " + (error == ENOENT ? "not there" : std::generic_category().message(error));
}

/// The lock of a file; it is let go with this object.
class Lock {
public:
    explicit Lock(const std::string& path)
    {
        do {
            Close();
            file = Open(path);
            held = file >= 0 && flock(file, LOCK_EX) == 0; // a signal ends the wait
        } while (held && !IsAt(path));                     // one that is removed meanwhile keeps nobody out
    }
    Lock(const Lock&) = delete;
    Lock& operator=(const Lock&) = delete;
    ~Lock() { Close(); }
    bool Held() const { return held; }

private:
    static int Open(const std::string& path)
    {
        const int own = open(path.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC, 0666);
        if (own >= 0 || errno != EACCES) return own;
        // That of another user, with whom the folder is shared: whoever may read it may hold it.
        const int shared = open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC);
        if (shared < 0) errno = EACCES;
        return shared;
    }
    bool IsAt(const std::string& path) const
    {
        struct stat here, there;
        return fstat(file, &here) == 0 && lstat(path.c_str(), &there) == 0 && here.st_dev == there.st_dev &&
               here.st_ino == there.st_ino;
    }
    void Close()
    {
        if (file >= 0) close(file);
        file = -1;
    }

    int file = -1;
    bool held = false;
};

/// The running number in "20261121T230904Z-7"; 0 for other names.
int NumberOf(std::string_view name)
{
    const std::string_view form = "########T######Z-";
    const auto fits = [](char f, char c) { return f == '#' ? c >= '0' && c <= '9' : f == c; };
    if (name.size() <= form.size() || !std::equal(form.begin(), form.end(), name.begin(), fits)) return 0;
    const std::string_view digits = name.substr(form.size());
    int number = 0;
    if (digits.size() > 9 || !ReadNumber(digits, number) || digits != std::to_string(number)) return 0;
    return std::max(number, 0);
}

/// The name of which this is the one aside; empty where it is none.
std::string_view BesideOf(std::string_view name)
{
    const std::string_view end = asideEnd;
    if (name.size() <= end.size() + 1 || name[0] != '.' || name.substr(name.size() - end.size()) != end)
        return {};
    return name.substr(1, name.size() - 1 - end.size());
}

/// \return nothing, or why they cannot be told
std::string ListNames(const std::string& folder, std::vector<std::string>& names)
{
    names.clear();
    std::error_code problem;
    for (fs::directory_iterator i(folder, problem), end; !problem && i != end; i.increment(problem))
        names.push_back(i->path().filename().string());
    return problem ? Reason(folder, problem.value()) : "";
}

/// Sees to it that the bytes of a file, or the names in a folder, are on the disk. Links, pipes and the like
/// have none.
bool Settle(const std::string& path)
{
    const int file = open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOFOLLOW | O_CLOEXEC);
    if (file < 0) return true;
    const bool done = fsync(file) == 0 || errno == EINVAL;
    close(file);
    return done;
}

bool IsFolder(const std::string& path)
{
    struct stat status;
    return lstat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

} // namespace

void OutFolder::Abandon()
{
    if (hold < 0) return;
    std::error_code ignored;
    try {
        fs::remove_all(aside, ignored);
    } catch (const std::bad_alloc&) { // then the next run does it
    }
    close(hold);
    hold = -1;
}

std::string OutFolder::Path(const std::string& entry) const { return (fs::path(out) / entry).string(); }

std::string OutFolder::Begin(const std::string& time)
{
    std::error_code failure;
    fs::create_directories(out, failure);
    if (failure) return Reason(out, failure.value());
    const Lock lock(Path(lockName));
    if (!lock.Held()) return Reason(Path(lockName));
    struct stat status;
    if (lstat(Path(latestName).c_str(), &status) == 0 && !S_ISLNK(status.st_mode))
        return Path(latestName) + ": must be a link to the newest run, and is something else";

    std::vector<std::string> entries;
    if (std::string problem = ListNames(out, entries); !problem.empty()) return problem;
    Clear(entries);
    int last = 0;
    for (const std::string& entry : entries)
        last = std::max({last, NumberOf(entry), NumberOf(BesideOf(entry))});
    name = time + '-' + std::to_string(last + 1);
    final = Path(name);
    aside = Path('.' + name + asideEnd);
    if (mkdir(aside.c_str(), 0777) != 0) return Reason(aside);
    hold = open(aside.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (hold < 0) return Reason(aside);
    // Where no folder can be locked, none is cleared either.
    if (flock(hold, LOCK_EX | LOCK_NB) != 0 && errno == ENOLCK) return Reason(aside);
    return {};
}

std::string OutFolder::Finish(int keep)
{
    std::vector<std::string> entries;
    if (std::string problem = ListNames(aside, entries); !problem.empty()) return problem;
    for (const std::string& entry : entries)
        if (const std::string file = (fs::path(aside) / entry).string(); !Settle(file)) return Reason(file);
    if (!Settle(aside)) return Reason(aside);

    const Lock lock(Path(lockName));
    if (!lock.Held()) return Reason(Path(lockName));
    std::vector<std::string> runs = {name};
    if (std::string problem = ListNames(out, entries); !problem.empty()) return problem;
    for (const std::string& entry : entries)
        if (NumberOf(entry) > 0 && IsFolder(Path(entry)) && HoldsRun(Path(entry))) runs.push_back(entry);
    std::sort(runs.begin(), runs.end(),
              [](const std::string& a, const std::string& b) { return NumberOf(a) < NumberOf(b); });
    const std::string newest = runs.back();
    if (rename(aside.c_str(), final.c_str()) != 0) return Reason(final);
    if (std::string problem = Point(newest); !problem.empty()) {
        rename(final.c_str(), aside.c_str()); // what failed must not look like a run
        return problem;
    }
    close(hold);
    hold = -1;
    Settle(out);
    std::size_t surplus = runs.size() - std::min(runs.size(), static_cast<std::size_t>(keep));
    for (const std::string& run : runs) {
        if (surplus == 0) break;
        if (run == newest || run == name) continue;
        Remove(run);
        surplus--;
    }
    return {};
}

/// Lets `latest` lead there, in one step.
std::string OutFolder::Point(const std::string& newest) const
{
    const std::string link = Path(latestName), next = Path(std::string(".") + latestName + asideEnd);
    unlink(next.c_str());
    if (symlink(newest.c_str(), next.c_str()) != 0 || rename(next.c_str(), link.c_str()) != 0)
        return Reason(link);
    return {};
}

/// First the name goes, then what it stands for: a folder under its name is whole.
void OutFolder::Remove(const std::string& run) const
{
    const std::string away = Path('.' + run + asideEnd);
    std::error_code ignored;
    if (rename(Path(run).c_str(), away.c_str()) == 0) fs::remove_all(away, ignored);
}

/// Removes what nobody works in any more.
void OutFolder::Clear(const std::vector<std::string>& entries) const
{
    unlink(Path(std::string(".") + latestName + asideEnd).c_str());
    for (const std::string& entry : entries) {
        if (NumberOf(BesideOf(entry)) == 0 || !IsFolder(Path(entry))) continue;
        const std::string left = Path(entry);
        const int file = open(left.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
        if (file < 0) continue;
        std::error_code ignored;
        if (flock(file, LOCK_EX | LOCK_NB) == 0) fs::remove_all(left, ignored);
        close(file);
    }
}

} // namespace telvane
