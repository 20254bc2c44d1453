// Motion in colours, as fast as a live picture needs it.
#include <setup/MotionPicture.h>

#include <Kavrix/Kavrix.h>
#include <report/Flow.h>
#include <tools/Files.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <numbers>

namespace telvane {

namespace {

/// The mean of 2 x 2 pixels each.
void Halve(const MatByte& picture, const MatByte& half)
{
    for (int y = 0; y < half.dim2; y++)
        for (int x = 0; x < half.dim1; x++)
            half(x, y) = static_cast<UBYTE>((picture(2 * x, 2 * y) + picture(2 * x + 1, 2 * y) +
                                             picture(2 * x, 2 * y + 1) + picture(2 * x + 1, 2 * y + 1) + 2) /
                                            4);
}

UBYTE Laid(int grey, int colour) { return static_cast<UBYTE>(std::min(255, grey / 2 + colour)); }

} // namespace

std::string MotionJpeg(const MatByte& first, const MatByte& second)
{
    const int width = first.dim1 / 2, height = first.dim2 / 2, sweeps = 2;
    CubByte pair(width, height, 2);
    Halve(first, pair(RNG::All(), RNG::All(), 0));
    Halve(second, pair(RNG::All(), RNG::All(), 1));
    MatInt u(width + 1, height + 1), v(width + 1, height + 1);
    u.Fill(0);
    v.Fill(0);
    OpticalFlow12Alt(pair, u, v, sweeps);

    // WriteJPG takes a row of plane 0 for three values a pixel: rows that lie three widths apart.
    CubByte samples(3 * width, height, 3);
    const double full = 16.0 * sweeps; // of the flow, so that faint texture shows and noise does not
    for (int y = 0; y < height; y++)
        for (int x = 0; x < width; x++) {
            const int grey = pair(x, y, 1);
            const double dx = -u(x, y), dy = -v(x, y), strength = std::hypot(dx, dy) / full;
            const Colour colour = strength < 0.1 // too dark to be seen
                                      ? Colour{}
                                      : FlowColour(std::atan2(dy, dx) * 180 / std::numbers::pi, strength);
            samples(3 * x, y, 0) = Laid(grey, colour.red);
            samples(3 * x + 1, y, 0) = Laid(grey, colour.green);
            samples(3 * x + 2, y, 0) = Laid(grey, colour.blue);
        }
    return BytesOf([&](std::FILE* stream) {
        return samples(RNG(0, width - 1), RNG::All(), RNG::All()).WriteJPG(stream, 85);
    });
}

} // namespace telvane
