// Acquisition of grey frames.
#include <Telvane/Grab.h>

#include <Kavrix/inner/KXclones.h>
#include <Telvane/Frames.h>

#include <algorithm>
#include <cstddef>
#include <iostream>

namespace {

// n pixels of three bytes, which weigh 1, 4 and 3 in the order of the buffer.
KAVRIX_CLONES void GreyRow(int n, const unsigned char* __restrict bytes, UBYTE* __restrict grey)
{
    for (std::ptrdiff_t x = 0; x < n; x++)
        grey[x] = static_cast<UBYTE>((bytes[3 * x] + 4 * bytes[3 * x + 1] + 3 * bytes[3 * x + 2]) >> 3);
}

} // namespace

void telvane::ConvertToGrey(const unsigned char* bytes, const MatByte& frame)
{
    VecByte grey(frame.dim1);
    for (int y = 0; y < frame.dim2; y++, bytes += std::ptrdiff_t{3} * frame.dim1) {
        GreyRow(frame.dim1, bytes, &grey(0));
        frame(RNG::All(), y) = grey;
    }
}

int Grab(raspicam::RaspiCam* camera, CubByte seq, int period1, int period2)
{
    const int maxWidth = 2592, maxHeight = 1944; // of the camera
    if (seq.dim1 < 1 || seq.dim1 > maxWidth || seq.dim2 < 1 || seq.dim2 > maxHeight || seq.dim3 < 1)
        return -1;

    // Those of the warm-up go into plane 0 and are overwritten by frame 0.
    for (int imgNr = -telvane::warmUpFrames; imgNr < seq.dim3; imgNr++) {
        std::cout << imgNr << ' ' << std::flush;
        const int period = imgNr < 1 ? 1 : imgNr % 2 != 0 ? period1 : period2;
        for (int i = 0; i < period; i++) camera->grab();
        const unsigned char* const bytes = camera->getImageBufferData();
        camera->getImageBufferSize();
        if (bytes) telvane::ConvertToGrey(bytes, seq(RNG::All(), RNG::All(), std::max(imgNr, 0)));
    }
    std::cout << std::endl;
    return 0;
}
