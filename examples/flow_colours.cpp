// Shows the motion between two frames in colours: the hue is its direction, the brightness its speed.
//
//     flow_colours [frame1.bmp frame2.bmp]
//
// Takes two 8-bit grey BMP files of the same size, at least 32 x 32 pixels, or draws a wheel that turns
// clockwise, and writes flow.bmp into the current folder. What moves to the right is red, downwards yellow
// to green, to the left cyan, upwards blue to violet.
#include <Kavrix/Kavrix.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <numbers>

namespace {

// A wheel with a soft pattern that turns with it, on grey ground.
void DrawWheel(MatByte frame, double degrees) // by value: a view of the caller's pixels, not a copy
{
    const double angle = degrees * std::numbers::pi / 180, c = std::cos(angle), s = std::sin(angle);
    for (int y = 0; y < frame.dim2; y++) {
        for (int x = 0; x < frame.dim1; x++) {
            const double dx = x - frame.dim1 / 2.0, dy = y - frame.dim2 / 2.0;
            const double along = c * dx + s * dy, across = c * dy - s * dx;
            const bool outside = dx * dx + dy * dy > 80 * 80;
            const double grey = outside ? 128 : 128 + 50 * std::cos(along / 2) + 50 * std::cos(across / 2);
            frame(x, y) = static_cast<UBYTE>(std::lround(grey));
        }
    }
}

// Smoothed some times; each makes the picture two columns and two rows smaller. One function call a time,
// because a matrix that has pixels never takes another size by `=`: that copies values into the pixels it
// has.
MatShort Smoothed(MatShort m, int times)
{
    if (times == 0) return m;
    MatShort softer; // empty: the filter gives it its size
    softer.Smooth(m);
    return Smoothed(softer, times - 1);
}

// 0 to 255, most for motion towards `towards` degrees, none for motion away from there.
UBYTE Channel(double brightness, double angle, double towards)
{
    const double part = 0.5 + 0.5 * std::cos(angle - towards * std::numbers::pi / 180);
    return static_cast<UBYTE>(std::lround(255 * brightness * part));
}

} // namespace

int main(int argc, char* argv[])
{
    const RNG all = RNG::All(); // the whole of a dimension

    // A sequence is a cube: columns, rows, frames. A frame of it is a view.
    CubByte frames;
    if (argc == 3) {
        for (int t = 0; t < 2; t++) {
            MatByte frame;
            if (frame.ReadBMP(argv[1 + t]) != 0) {
                std::fprintf(stderr, "%s cannot be read as an 8-bit BMP\n", argv[1 + t]);
                return 1;
            }
            if (t == 0) frames.Resize(frame.dim1, frame.dim2, 2);
            // Shapes are never compared by the library: that is for the caller.
            if (frame.dim1 != frames.dim1 || frame.dim2 != frames.dim2 || frame.dim1 < 32 ||
                frame.dim2 < 32) {
                std::fprintf(stderr, "the frames differ in size or are too small\n");
                return 1;
            }
            frames(all, all, t) = frame; // the values, into frame t
        }
    } else if (argc == 1) {
        frames.Resize(240, 200, 2);
        for (int t = 0; t < 2; t++) DrawWheel(frames(all, all, t), 1.0 * t);
    } else {
        std::fprintf(stderr, "usage: flow_colours [frame1.bmp frame2.bmp]\n");
        return 1;
    }

    // The flow is added to sums of one column and one row more than the frames have. One sweep measures the
    // motion along the gradient of each pixel, about 64 units for a pixel; the average around it then points
    // where things move.
    MatInt u(frames.dim1 + 1, frames.dim2 + 1), v(frames.dim1 + 1, frames.dim2 + 1);
    u.Fill(0);
    v.Fill(0);
    OpticalFlow12Alt(frames, u, v, 1);

    // Scaled to 16 bits, with the magnitude; all three are sized by the function.
    MatShort u16, v16, magnitude;
    OF_Norm(u, v, u16, v16, magnitude);
    if (Max(Max(magnitude)) == 0)
        std::printf("nothing moves\n"); // Max of a matrix: a vector of its rows' maxima

    const int times = 10;
    const MatShort right = Smoothed(u16, times), down = Smoothed(v16, times);
    double fastest = 0;
    for (int y = 0; y < right.dim2; y++)
        for (int x = 0; x < right.dim1; x++) fastest = std::max(fastest, std::hypot(right(x, y), down(x, y)));

    // Three planes, red, green and blue, as CubByte::WriteBMP takes them. Without motion all is black.
    CubByte colours(right.dim1, right.dim2, 3);
    for (int y = 0; y < right.dim2; y++) {
        for (int x = 0; x < right.dim1; x++) {
            const double speed = std::hypot(right(x, y), down(x, y));
            const double brightness = fastest > 0 ? speed / fastest : 0;
            const double angle = std::atan2(down(x, y), right(x, y)); // grows clockwise
            for (int plane = 0; plane < 3; plane++)
                colours(x, y, plane) = Channel(brightness, angle, 120.0 * plane);
        }
    }
    if (colours.WriteBMP("flow.bmp") != 0) {
        std::fprintf(stderr, "flow.bmp cannot be written\n");
        return 1;
    }
    std::printf("flow.bmp %d x %d\n", colours.dim1, colours.dim2);
    return 0;
}
