// A camera that sends some pictures each time that it is opened, and none the first time after them.
#include <raspicam/raspicam.h>

namespace raspicam {

RaspiCam::RaspiCam() = default;
RaspiCam::~RaspiCam() = default;

bool RaspiCam::open(bool)
{
    buffer.resize(std::size_t{1280} * 960 * 3);
    return true;
}

bool RaspiCam::grab() { return ++grabs <= 60; }

unsigned char* RaspiCam::getImageBufferData() const { return buffer.data(); }

std::size_t RaspiCam::getImageBufferSize() const { return buffer.size(); }

} // namespace raspicam
