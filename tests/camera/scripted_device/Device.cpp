// A device that films the default wheel, one frame for each grab, and fails where the file that CAMERA_SCRIPT
// names says so. A line of it is a grab, counted from 1, what is wrong there, and a number of frames:
//   drop N        N frames of the camera are missing before this one; its numbers tell
//   skip N        the same, but its numbers go on: only the times tell
//   slow N        N frames are delivered and lost in the exchange before this one
//   spoil N       N frames come that are no good before this one
//   repeat        the frame of the grab before comes once more
//   silent N      nothing comes, until the camera is started anew N frames later
//   mute N        nothing comes, also when it is started anew; N frames are missing afterwards
//   gone          nothing comes, and it does not start any more
#include <camera/libcamera/Device.h>

#include <simulator/Wheel.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace telvane::camera {

namespace {

using namespace std::chrono_literals;

const std::int64_t frameTime = 33'333'333; // nanoseconds
const auto shortPatience = 20ms, longPatience = 60'000ms;
const int firstDrawn = 10; // what grabs of the warm-up show is overwritten, but for the last

struct Fault {
    std::string what;
    int frames = 0;
};

std::map<int, Fault> ReadScript()
{
    std::map<int, Fault> faults;
    const char* const name = std::getenv("CAMERA_SCRIPT");
    std::ifstream file(name ? name : "");
    Fault fault;
    for (int grab = 0; file >> grab >> fault.what >> fault.frames;) faults[grab] = fault;
    return faults;
}

/// What the camera has done, whatever device drives it.
struct Film {
    std::map<int, Fault> faults = ReadScript();
    FrameExchange* frames = nullptr;
    int grab = 0, frame = 0, gap = 0; // the next frame, and by how much its number lies behind it
    bool startedAnew = false, gone = false;
    FrameStamp last;
    int shown = 0;

    void Deliver(int number, const FrameStamp& stamp)
    {
        unsigned char* const bytes = frames->BeginFrame();
        if (!bytes) return;
        if (grab >= firstDrawn) {
            const std::size_t pixels = std::size_t(frameWidth) * frameHeight;
            std::vector<unsigned char> grey(pixels);
            RenderWheel(WheelScene(), number, grey.data());
            for (std::size_t i = 0; i < pixels; i++) std::fill_n(bytes + 3 * i, 3, grey[i]);
        }
        frames->EndFrame(true, stamp);
        last = stamp;
        shown = number;
    }
    void DeliverNext()
    {
        FrameStamp stamp;
        stamp.sequence = static_cast<std::uint32_t>(frame - gap);
        stamp.time = 1'000'000'000 + frame * frameTime;
        Deliver(frame++, stamp);
    }
};

Film& TheFilm()
{
    static Film film;
    return film;
}

} // namespace

struct Device::Parts {
    FrameExchange& frames;
};

Device::Device(std::unique_ptr<Parts> p) : parts(std::move(p)) {}

Device::~Device() { parts->frames.Close(); }

std::unique_ptr<Device> Device::Start(FrameExchange& frames)
{
    Film& film = TheFilm();
    if (film.gone) return nullptr;
    film.startedAnew = film.grab > 0;
    film.frames = &frames;
    return std::unique_ptr<Device>(new Device(std::unique_ptr<Parts>(new Parts{frames})));
}

// It is asked at every grab, before the exchange is: that is when the frame comes.
std::chrono::milliseconds Device::Patience()
{
    Film& film = TheFilm();
    const bool again = std::exchange(film.startedAnew, false);
    if (!again) film.grab++;
    const auto at = film.faults.find(film.grab);
    const Fault fault = at == film.faults.end() ? Fault() : at->second;
    const std::string& what = fault.what;
    if (what == "gone") film.gone = true;
    if (what == "gone" || (what == "silent" && !again)) return shortPatience;
    if (what == "mute") {
        film.frame += again ? fault.frames : 0;
        return shortPatience;
    }
    if (again || what == "drop" || what == "skip") film.frame += fault.frames;
    if (again) film.gap = film.frame; // its numbers begin again
    if (what == "skip") film.gap += fault.frames;
    for (int i = 0; what == "slow" && i < fault.frames; i++) film.DeliverNext();
    for (int i = 0; what == "spoil" && i < fault.frames; i++, film.frame++)
        if (film.frames->BeginFrame()) film.frames->EndFrame(false);
    if (what == "repeat" && film.grab > 1) film.Deliver(film.shown, film.last);
    else film.DeliverNext();
    return longPatience;
}

} // namespace telvane::camera
