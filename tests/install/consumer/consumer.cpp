// A program of a user of the library: a view that shares, the flow between two frames, a cancellation query
// of its own, and picture files. It knows nothing but the installed package.
#include <Kavrix/Kavrix.h>

#include <cstdio>
#include <cstdlib>

namespace {

bool cancelled = false;
int failures = 0;

void Check(bool holds, const char* what)
{
    if (holds) return;
    std::fprintf(stderr, "consumer: this does not hold: %s\n", what);
    failures++;
}

// An upright bar on darker ground, its left edge at column x.
void DrawBar(MatByte frame, int x)
{
    frame.Fill(100);
    frame(RNG(x, x + 15), RNG::All()).Fill(140);
}

} // namespace

// Takes the place of the library's own query.
int TestQ() { return cancelled; }

int main()
{
    CubByte frames(64, 48, 2);
    DrawBar(frames(RNG::All(), RNG::All(), 0), 20);
    DrawBar(frames(RNG::All(), RNG::All(), 1), 21);
    Check(frames(20, 0, 0) == 140 && frames(20, 0, 1) == 100, "a frame shares the cube's elements");

    MatInt u = All(0, 65, 49), v = All(0, 65, 49);
    Check(OpticalFlow12Alt(frames, u, v, 1) == 0, "the flow is calculated");
    Check(u(21, 24) > 32 && u(21, 24) < 96 && v(21, 24) == 0, "a pixel along x is about 64 units of u");
    cancelled = true;
    Check(OpticalFlow12Alt(frames, u, v, 1) == 1, "the program's own query cancels the flow");

    const MatByte frame = frames(RNG::All(), RNG::All(), 0);
    Check(frame.WriteBMP("consumer.bmp") == 0, "a BMP file is written");
    Check(frame.WriteJPG("consumer.jpg", 85) == 0, "a JPEG file is written");
    MatByte copy;
    Check(copy.ReadBMP("consumer.bmp") == 0, "the BMP file is read");
    const MatByte same = copy == frame;
    Check(same.dim1 == 64 && same.dim2 == 48 && same(20, 16) == 1, "the picture comes back");

    MatShort smooth;
    smooth.Smooth(frame);
    Check(smooth.dim1 == 62 && smooth.dim2 == 46 && smooth(25, 20) == 16 * 140, "a filter runs");

    if (failures == 0) std::puts("consumer: all well");
    return failures == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}
