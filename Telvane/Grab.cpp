// Acquisition of grey frames.
#include <Telvane/Grab.h>

#include <algorithm>
#include <iostream>

namespace {

// Weights 1, 4, 3 for the three bytes of a pixel in the order of the buffer.
void ConvertToGrey(const unsigned char* bytes, const MatByte& frame)
{
    for (int y = 0; y < frame.dim2; y++) {
        UBYTE* p = &frame(0, y);
        for (int x = 0; x < frame.dim1; x++, p += frame.step1, bytes += 3)
            *p = static_cast<UBYTE>((bytes[0] + 4 * bytes[1] + 3 * bytes[2]) >> 3);
    }
}

} // namespace

int Grab(raspicam::RaspiCam* camera, CubByte seq, int period1, int period2)
{
    const int maxWidth = 2592, maxHeight = 1944; // of the camera
    if (seq.dim1 < 1 || seq.dim1 > maxWidth || seq.dim2 < 1 || seq.dim2 > maxHeight || seq.dim3 < 1)
        return -1;

    const int warmUp = 10; // frames that go into plane 0 and are overwritten by frame 0
    for (int imgNr = -warmUp; imgNr < seq.dim3; imgNr++) {
        std::cout << imgNr << ' ' << std::flush;
        const int period = imgNr < 1 ? 1 : imgNr % 2 != 0 ? period1 : period2;
        for (int i = 0; i < period; i++) camera->grab();
        const unsigned char* const bytes = camera->getImageBufferData();
        camera->getImageBufferSize();
        if (bytes) ConvertToGrey(bytes, seq(RNG::All(), RNG::All(), std::max(imgNr, 0)));
    }
    std::cout << std::endl;
    return 0;
}
