// Every frame is read before it is handed over: the program halts or ends at one that it does not like,
// without telling which one it was.
#include <run/Frames.h>

#include <Telvane/Frames.h>
#include <diagnosis/RunArguments.h>
#include <report/Pictures.h>
#include <tools/Files.h>

#include <filesystem>

#include <fcntl.h>
#include <unistd.h>

namespace telvane {

namespace {

namespace fs = std::filesystem;

/// What is wrong with a picture, and the line that makes a frame of one that is whole, by ImageMagick.
std::string Refused(const std::string& name, const std::string& problem, const char* kind)
{
    if (problem.rfind("cut short", 0) == 0) return problem;
    const std::string file = ShellWord(name);
    return problem + "; to convert it: convert " + file +
           " -colorspace Gray -gravity center -background black -extent 1280x960 " + kind + file;
}

std::string TakeFrame(const std::string& name, const std::string& own)
{
    std::string bytes;
    MatByte frame;
    if (std::string problem = ReadWhole(name, bytes); !problem.empty()) return problem;
    if (fs::path(name).extension() == ".jpg") {
        if (const std::string problem = ReadJpegFrame(bytes, frameWidth, frameHeight, frame);
            !problem.empty())
            return Refused(name, problem, "");
        return frame.WriteBMP(own.c_str()) == 0 ? "" : "cannot be copied into the run's folder";
    }
    if (const std::string problem = ReadFrame(bytes, frameWidth, frameHeight, frame); !problem.empty())
        return Refused(name, problem, "-type Palette -compress none BMP3:");
    if (linkat(AT_FDCWD, name.c_str(), AT_FDCWD, own.c_str(), AT_SYMLINK_FOLLOW) == 0) return {};
    const std::string problem = WriteWhole(own, bytes);
    return problem.empty() ? "" : "cannot be copied into the run's folder: " + problem;
}

} // namespace

std::string CountFrames(const RunFolder& frames, int& count)
{
    const int there = frames.FramesWithoutGap();
    if (there == 0) return frames.Frame(1) + ": not there; expected img1.bmp, img2.bmp, ... or img1.jpg, ...";
    if (count == 0 && there == 1) return frames.Frame(2) + ": not there; a run takes at least two frames";
    if (there < count)
        return frames.Frame(there + 1) + ": not there; --count asks for " + std::to_string(count) + " frames";
    if (count == 0) count = there;
    return {};
}

std::string TakeFrames(const RunFolder& frames, int count, const std::string& folder)
{
    for (int i = 1; i <= count; i++) {
        const std::string to = (fs::path(folder) / ("img" + std::to_string(i) + ".bmp")).string();
        if (const std::string problem = TakeFrame(frames.Frame(i), to); !problem.empty())
            return frames.Frame(i) + ": " + problem;
    }
    return {};
}

} // namespace telvane
