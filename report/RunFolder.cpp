// Names and dates, as the system tells them.
#include <report/RunFolder.h>

#include <Telvane/Frames.h>

#include <chrono>
#include <ctime>
#include <filesystem>
#include <system_error>

#include <sys/stat.h>

namespace telvane {

namespace {

namespace fs = std::filesystem;

std::string Join(const std::string& folder, const std::string& name)
{
    return folder == "." ? name : (fs::path(folder) / name).string();
}

std::string FrameName(const std::string& folder, int number, const std::string& suffix)
{
    return Join(folder, std::string("img") + std::to_string(number) + suffix);
}

bool Older(const std::string& a, const std::string& b, fs::file_time_type::duration by)
{
    std::error_code noA, noB;
    const fs::file_time_type timeA = fs::last_write_time(a, noA), timeB = fs::last_write_time(b, noB);
    return !noA && !noB && timeA + by < timeB;
}

std::string FrameSuffix(const std::string& folder)
{
    const std::string bmp = FrameName(folder, 1, ".bmp"), jpg = FrameName(folder, 1, ".jpg");
    if (!Exists(jpg)) return ".bmp";
    return Exists(bmp) && !Older(bmp, jpg, {}) ? ".bmp" : ".jpg";
}

} // namespace

bool Exists(const std::string& name)
{
    std::error_code ignored;
    return fs::exists(name, ignored);
}

std::string LastWritten(const std::string& name)
{
    struct stat status;
    std::tm parts;
    char text[40];
    if (stat(name.c_str(), &status) != 0 || localtime_r(&status.st_mtime, &parts) == nullptr ||
        std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S", &parts) == 0)
        return "at an unknown time";
    return text;
}

bool OfEarlierRun(const std::string& a, const std::string& b, std::chrono::seconds takes)
{
    return Older(a, b, takes);
}

RunFolder::RunFolder(const std::string& folder, const std::string& framesFolder, const std::string& called)
    : run(folder), frames(framesFolder.empty() ? folder : framesFolder), suffix(FrameSuffix(frames)),
      shown(called.empty() ? folder : called)
{
}

std::string RunFolder::Title() const
{
    std::error_code ignored;
    std::string path = fs::absolute(shown, ignored).lexically_normal().string();
    if (path.size() > 1 && path.back() == '/') path.pop_back();
    return path;
}

std::string RunFolder::Path(const std::string& name) const { return Join(run, name); }

std::string RunFolder::Frame(int number) const { return FrameName(frames, number, suffix); }

int RunFolder::FramesWithoutGap() const
{
    int count = 0;
    while (count < maxFrames && Exists(Frame(count + 1))) count++;
    return count;
}

} // namespace telvane
