// The camera as the program sees it: opening, waiting for frames, and a buffer that is always there.
#include <raspicam/raspicam.h>

#include <camera/GrabLoss.h>
#include <camera/libcamera/Device.h>
#include <camera/libcamera/LossWatch.h>

#include <chrono>
#include <cstdio>
#include <new>
#include <utility>

namespace raspicam {

namespace {

namespace camera = telvane::camera;

// What a camera that is not open shows. It is never written.
unsigned char black[camera::frameBytes];

// In one write each, so that a line stays whole beside those of others, and without asking for memory, which
// a run may have used up.
void Tell(const camera::GrabLoss& loss)
{
    camera::lossesSoFar++;
    if (!camera::lossesAreTold) return;
    camera::GrabLossLine line = camera::LineOf(loss);
    line.Add("\n");
    std::fwrite(line.Text().data(), 1, line.Text().size(), stderr);
}

// Null also where the camera's library finds no memory.
std::unique_ptr<camera::Device> Started(camera::FrameExchange& frames)
{
    try {
        return camera::Device::Start(frames);
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

} // namespace

struct RaspiCam::Capture {
    ~Capture()
    {
        for (const camera::GrabLoss& loss : watch.Rest()) Tell(loss);
    }

    bool Grab();
    bool Restart();

    camera::FrameExchange frames;
    camera::LossWatch watch;
    bool restarted = false;
    std::unique_ptr<camera::Device> device; // goes first
};

bool RaspiCam::Capture::Restart()
{
    device.reset(); // the camera can be had once
    frames.Reopen();
    device = Started(frames);
    if (!device) frames.Close(); // there is nothing to wait for any more
    return device != nullptr;
}

bool RaspiCam::Capture::Grab()
{
    using Clock = std::chrono::steady_clock;
    auto begin = Clock::now();
    const auto waited = [&begin] {
        const auto now = Clock::now();
        return now - std::exchange(begin, now);
    };

    bool got = frames.Next(camera::Device::Patience());
    if (!got && !restarted && !frames.Closed()) {
        restarted = true;
        watch.Restarted(waited());
        got = Restart() && frames.Next(camera::Device::Patience());
    }
    if (got) {
        for (const camera::GrabLoss& loss : watch.Got(frames.Stamp(), waited())) Tell(loss);
    } else if (const auto loss = watch.Nothing(waited())) {
        Tell(*loss);
    }
    return got;
}

RaspiCam::RaspiCam() = default;
RaspiCam::~RaspiCam() = default;

bool RaspiCam::open(bool)
{
    capture.reset(); // the camera can be had once
    std::unique_ptr<Capture> opened(new (std::nothrow) Capture);
    if (!opened || !opened->frames.Allocate(camera::frameBytes)) return false;
    opened->device = Started(opened->frames);
    if (!opened->device) return false;
    capture = std::move(opened);
    return true;
}

bool RaspiCam::grab() { return capture && capture->Grab(); }

unsigned char* RaspiCam::getImageBufferData() const { return capture ? capture->frames.Frame() : black; }

std::size_t RaspiCam::getImageBufferSize() const { return camera::frameBytes; }

} // namespace raspicam
