// Whole files, by the system's calls: they alone tell what went wrong.
#include <tools/Files.h>

#include <cerrno>
#include <cstdlib>
#include <system_error>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace telvane {

namespace {

const std::size_t most = std::size_t{64} << 20; // bytes

std::string Reason() { return errno == ENOENT ? "not there" : std::generic_category().message(errno); }

bool WriteAll(int file, const std::string& bytes)
{
    std::size_t done = 0;
    while (done < bytes.size()) {
        const ssize_t n = write(file, bytes.data() + done, bytes.size() - done);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) return false;
        done += static_cast<std::size_t>(n);
    }
    return fsync(file) == 0; // the name must not come before the bytes
}

} // namespace

std::string ReadWhole(const std::string& name, std::string& bytes)
{
    bytes.clear();
    // Nothing that is waited for: a pipe without a writer opens and is empty.
    const int file = open(name.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (file < 0) return Reason();
    std::string problem;
    char part[1 << 16];
    for (;;) {
        const ssize_t n = read(file, part, sizeof part);
        if (n < 0 && errno == EINTR) continue;
        if (n < 0) problem = Reason();
        if (n <= 0) break;
        bytes.append(part, static_cast<std::size_t>(n));
        if (bytes.size() <= most) continue;
        problem = "too large";
        break;
    }
    close(file);
    return problem;
}

std::string WriteWhole(const std::string& name, const std::string& bytes)
{
    std::string temporary = name + ".XXXXXX";
    const int file = mkstemp(temporary.data());
    if (file < 0) return Reason();
    const mode_t hidden = umask(0); // asking for it means setting it
    umask(hidden);
    std::string problem;
    if (fchmod(file, 0666 & ~hidden) != 0 || !WriteAll(file, bytes)) problem = Reason();
    if (close(file) != 0 && problem.empty()) problem = Reason();
    if (problem.empty() && rename(temporary.c_str(), name.c_str()) != 0) problem = Reason();
    if (!problem.empty()) unlink(temporary.c_str());
    return problem;
}

} // namespace telvane
