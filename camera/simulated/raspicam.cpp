// The simulated camera: the default wheel, frame by frame.
#include <raspicam/raspicam.h>

#include <Telvane/Frames.h>
#include <simulator/Wheel.h>

#include <atomic>
#include <climits>
#include <cstdio>
#include <cstdlib>

namespace raspicam {

namespace {

const std::size_t pixels = std::size_t(telvane::frameWidth) * telvane::frameHeight;
const std::size_t bytes = 3 * pixels;

void SayOnce()
{
    static std::atomic<bool> said{false};
    if (!said.exchange(true))
        std::fputs("Simulated camera: these frames show a drawn wheel, not a real machine\n", stderr);
}

} // namespace

RaspiCam::~RaspiCam() { std::free(buffer); }

bool RaspiCam::open(bool)
{
    // Black. Memory that the system hands out cleared is not touched before the first frame is drawn.
    std::free(buffer);
    buffer = static_cast<unsigned char*>(std::calloc(bytes, 1));
    frame = 0;
    return buffer != nullptr;
}

bool RaspiCam::grab()
{
    if (!buffer) return false;
    SayOnce();

    // The grey frame is drawn into the last third and spread from the front: writing never overtakes reading.
    const unsigned char* grey = buffer + 2 * pixels;
    telvane::RenderWheel(telvane::WheelScene(), frame, buffer + 2 * pixels);
    for (std::size_t i = 0; i < pixels; i++) {
        const unsigned char v = grey[i];
        buffer[3 * i] = v;
        buffer[3 * i + 1] = v;
        buffer[3 * i + 2] = v;
    }
    frame = frame < INT_MAX ? frame + 1 : 0;
    return true;
}

unsigned char* RaspiCam::getImageBufferData() const { return buffer; }

std::size_t RaspiCam::getImageBufferSize() const { return buffer ? bytes : 0; }

} // namespace raspicam
