// The camera as the program sees it: opening, waiting for frames, and a buffer that is always there.
#include <raspicam/raspicam.h>

#include <camera/libcamera/Device.h>

#include <chrono>
#include <new>
#include <utility>

namespace raspicam {

namespace {

namespace camera = telvane::camera;

// Far more than two frames of a camera that works: after its start the first takes up to half a second.
constexpr std::chrono::milliseconds patience{2000};

// What a camera that is not open shows. It is never written.
unsigned char black[camera::frameBytes];

} // namespace

struct RaspiCam::Capture {
    camera::FrameExchange frames;
    std::unique_ptr<camera::Device> device; // goes first
};

RaspiCam::RaspiCam() = default;
RaspiCam::~RaspiCam() = default;

bool RaspiCam::open(bool)
{
    capture.reset(); // the camera can be had once
    std::unique_ptr<Capture> opened(new (std::nothrow) Capture);
    if (!opened || !opened->frames.Allocate(camera::frameBytes)) return false;
    opened->device = camera::Device::Start(opened->frames);
    if (!opened->device) return false;
    capture = std::move(opened);
    return true;
}

bool RaspiCam::grab() { return capture && capture->frames.Next(patience); }

unsigned char* RaspiCam::getImageBufferData() const { return capture ? capture->frames.Frame() : black; }

std::size_t RaspiCam::getImageBufferSize() const { return camera::frameBytes; }

} // namespace raspicam
