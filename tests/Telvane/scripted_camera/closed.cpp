// A camera that does not open.
#include <raspicam/raspicam.h>

namespace raspicam {

RaspiCam::RaspiCam() = default;
RaspiCam::~RaspiCam() = default;

bool RaspiCam::open(bool) { return false; }

bool RaspiCam::grab()
{
    grabs++;
    return false;
}

unsigned char* RaspiCam::getImageBufferData() const { return nullptr; }

std::size_t RaspiCam::getImageBufferSize() const { return 0; }

} // namespace raspicam
