// How the program ended, in words.
#include <run/Failure.h>

#include <Telvane/Frames.h>
#include <report/Pictures.h>
#include <report/RunFolder.h>
#include <run/Document.h>
#include <tools/Files.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <string_view>
#include <system_error>

#include <sys/resource.h>

namespace telvane {

namespace {

bool MemoryIsLimited()
{
    rlimit limit{};
    return getrlimit(RLIMIT_AS, &limit) == 0 && limit.rlim_cur != RLIM_INFINITY;
}

bool Says(std::string text, std::string_view word)
{
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return text.find(word) != text.npos;
}

/// Whether it is memory that the program did not get. Not every part of it says so: the loader, the kernel
/// and the simulated camera have words of their own, or none.
bool LackedMemory(const Ended& ended, const std::string& line, bool files)
{
    switch (ended.ending) {
    case Ending::notStarted: return ended.code == ENOMEM;
    case Ending::killed: return ended.code == SIGKILL || MemoryIsLimited();
    case Ending::exited:
        if (ended.code == 0) return false;
        if (MemoryIsLimited() && (ended.code == 127 || files)) return true;
        [[fallthrough]];
    default: return Says(line, "memory");
    }
}

std::string Seconds(double seconds)
{
    char text[40];
    std::snprintf(text, sizeof text, "%.1f s", seconds);
    return text;
}

std::string Words(const Ended& ended)
{
    switch (ended.ending) {
    case Ending::notStarted: return "Telvane cannot be started";
    case Ending::exited: return "Telvane ended with status " + std::to_string(ended.code);
    case Ending::killed:
        return "Telvane was ended by signal " + std::to_string(ended.code) + " (" + strsignal(ended.code) +
               ")";
    case Ending::tooLong: return "Telvane was ended after " + Seconds(ended.seconds);
    case Ending::halted: return "Telvane halted";
    case Ending::interrupted: break;
    }
    return "Telvane was ended";
}

} // namespace

std::string FailureOf(const Ended& ended, bool files)
{
    if (ended.ending == Ending::exited && ended.code == 0) return {};
    std::string line =
        ended.ending == Ending::notStarted ? SystemWords(ended.code) : LastLineOf(ended.err.Text());
    if (line.rfind("    ... ", 0) == 0) line = "it does not take this command line";
    const std::string cause = LackedMemory(ended, line, files) ? "not enough memory: " : "";
    return cause + Words(ended) + (line.empty() ? "" : ": " + line);
}

std::string DamagedFile(const RunArguments& arguments, const std::string& folder)
{
    const RunFolder run(folder, "");
    std::string bytes, problem;
    const auto look = [&](const std::string& name, auto&& check) {
        if (!problem.empty() || !Exists(name)) return;
        problem = ReadWhole(name, bytes);
        if (problem.empty()) problem = check();
        if (!problem.empty()) problem = name + ": " + problem + "; is the disk full?";
    };
    MatByte frame;
    MatShort picture;
    for (int i = 1; i <= arguments.count && !arguments.files; i++)
        look(run.Frame(i), [&] {
            return arguments.jpeg ? ReadJpegFrame(bytes, frameWidth, frameHeight, frame)
                                  : ReadFrame(bytes, frameWidth, frameHeight, frame);
        });
    look(run.Path("detected.jpg"), [&] { return ReadJpegFrame(bytes, frameWidth, frameHeight, frame); });
    for (const char* name : {"hough.bmp", "u_sum_sh.bmp", "v_sum_sh.bmp"})
        look(run.Path(name),
             [&] { return ReadShortPicture(bytes, frameWidth + 1, frameHeight + 1, picture); });
    return problem;
}

std::string SystemWords(int error)
{
    return error == ENOENT ? "not there" : std::generic_category().message(error);
}

} // namespace telvane
