// Pictures as cameras hand them out, and the one form that the program reads: blue, green, red.
// Every format is one line of a table: where the three values of a pixel lie. One loop reads them all.
#include <camera/libcamera/PictureConvert.h>

#include <algorithm>
#include <cstring>

namespace telvane::camera {

namespace {

constexpr std::uint32_t Code(const char (&name)[5])
{
    std::uint32_t code = 0;
    for (int i = 3; i >= 0; i--) code = code << 8 | static_cast<unsigned char>(name[i]);
    return code;
}

// Where one of the three values of the pixels lies: its plane, the first one's place in the row, and the
// bytes from one to the next.
struct Sample {
    std::size_t plane, offset, step;
};

struct Layout {
    std::uint32_t fourcc;
    bool yuv; // Y, U, V; otherwise blue, green, red
    Sample first, second, third;
    int xShift = 0, yShift = 0; // of U and V: so many pixels, as a power of two, share one
    int strideShift = 0;        // of the planes after the first: how often their stride is halved
};

constexpr Layout layouts[] = {
    {Code("RG24"), false, {0, 0, 3}, {0, 1, 3}, {0, 2, 3}}, // RGB888
    {Code("XR24"), false, {0, 0, 4}, {0, 1, 4}, {0, 2, 4}}, // XRGB8888
    {Code("AR24"), false, {0, 0, 4}, {0, 1, 4}, {0, 2, 4}}, // ARGB8888
    {Code("BG24"), false, {0, 2, 3}, {0, 1, 3}, {0, 0, 3}}, // BGR888
    {Code("XB24"), false, {0, 2, 4}, {0, 1, 4}, {0, 0, 4}}, // XBGR8888
    {Code("AB24"), false, {0, 2, 4}, {0, 1, 4}, {0, 0, 4}}, // ABGR8888
    {Code("RX24"), false, {0, 1, 4}, {0, 2, 4}, {0, 3, 4}}, // RGBX8888
    {Code("RA24"), false, {0, 1, 4}, {0, 2, 4}, {0, 3, 4}}, // RGBA8888
    {Code("BX24"), false, {0, 3, 4}, {0, 2, 4}, {0, 1, 4}}, // BGRX8888
    {Code("BA24"), false, {0, 3, 4}, {0, 2, 4}, {0, 1, 4}}, // BGRA8888
    {Code("R8  "), false, {0, 0, 1}, {0, 0, 1}, {0, 0, 1}}, // grey
    {Code("YUYV"), true, {0, 0, 2}, {0, 1, 4}, {0, 3, 4}, 1},
    {Code("YVYU"), true, {0, 0, 2}, {0, 3, 4}, {0, 1, 4}, 1},
    {Code("UYVY"), true, {0, 1, 2}, {0, 0, 4}, {0, 2, 4}, 1},
    {Code("VYUY"), true, {0, 1, 2}, {0, 2, 4}, {0, 0, 4}, 1},
    {Code("YU16"), true, {0, 0, 1}, {1, 0, 1}, {2, 0, 1}, 1, 0, 1}, // YUV422
    {Code("YV16"), true, {0, 0, 1}, {2, 0, 1}, {1, 0, 1}, 1, 0, 1}, // YVU422
    {Code("NV16"), true, {0, 0, 1}, {1, 0, 2}, {1, 1, 2}, 1},
    {Code("NV61"), true, {0, 0, 1}, {1, 1, 2}, {1, 0, 2}, 1},
    {Code("YU12"), true, {0, 0, 1}, {1, 0, 1}, {2, 0, 1}, 1, 1, 1}, // YUV420
    {Code("YV12"), true, {0, 0, 1}, {2, 0, 1}, {1, 0, 1}, 1, 1, 1}, // YVU420
    {Code("NV12"), true, {0, 0, 1}, {1, 0, 2}, {1, 1, 2}, 1, 1},
    {Code("NV21"), true, {0, 0, 1}, {1, 1, 2}, {1, 0, 2}, 1, 1},
};

const Layout* LayoutOf(std::uint32_t fourcc)
{
    const auto* const layout = std::find_if(std::begin(layouts), std::end(layouts),
                                            [&](const Layout& l) { return l.fourcc == fourcc; });
    return layout == std::end(layouts) ? nullptr : layout;
}

std::size_t StrideOf(const Layout& layout, std::size_t plane, std::size_t stride)
{
    return plane == 0 ? stride : stride >> layout.strideShift;
}

// Whether the values of every pixel lie within their rows, and the rows within the plane.
bool Holds(const PictureFormat& format, const Layout& layout, const Planes& planes, const Sample& sample,
           int xShift, int yShift)
{
    const std::size_t columns = static_cast<std::size_t>((format.width - 1) >> xShift) + 1;
    const std::size_t rows = static_cast<std::size_t>((format.height - 1) >> yShift) + 1;
    const std::size_t stride = StrideOf(layout, sample.plane, format.stride);
    const std::size_t row = sample.offset + (columns - 1) * sample.step + 1,
                      size = planes[sample.plane].size();
    return row <= stride && row <= size && (rows == 1 || (size - row) / (rows - 1) >= stride);
}

// Y, U, V to blue, green, red with 16 bits after the binary point: blue = luma * Y + blueU * U, and so on,
// with Y and U, V counted from their zeros.
struct Factors {
    int zero, luma, blueU, greenU, greenV, redV;
};

constexpr Factors MakeFactors(double red, double blue, bool fullRange)
{
    // With the weights kr, kg, kb: U is (B - Y) / (2 - 2 kb), V is (R - Y) / (2 - 2 kr), and Y tells the
    // green.
    const double green = 1 - red - blue;
    const double luma = 65536 * (fullRange ? 1.0 : 255.0 / 219),
                 chroma = 65536 * (fullRange ? 1.0 : 255.0 / 224);
    const auto whole = [](double f) { return static_cast<int>(f + (f < 0 ? -0.5 : 0.5)); };
    return {fullRange ? 0 : 16,
            whole(luma),
            whole(chroma * 2 * (1 - blue)),
            whole(-chroma * 2 * (1 - blue) * blue / green),
            whole(-chroma * 2 * (1 - red) * red / green),
            whole(chroma * 2 * (1 - red))};
}

Factors FactorsOf(LumaWeights weights, bool fullRange)
{
    static constexpr Factors factors[][2] = {
        {MakeFactors(0.299, 0.114, false), MakeFactors(0.299, 0.114, true)},
        {MakeFactors(0.2126, 0.0722, false), MakeFactors(0.2126, 0.0722, true)},
        {MakeFactors(0.2627, 0.0593, false), MakeFactors(0.2627, 0.0593, true)},
    };
    return factors[static_cast<int>(weights)][fullRange ? 1 : 0];
}

// A value with 16 bits after the binary point, to the nearest byte.
unsigned char Nearest(int value)
{
    return static_cast<unsigned char>(std::clamp((value + 32768) >> 16, 0, 255));
}

} // namespace

std::span<const std::uint32_t> ConvertibleFormats()
{
    static constexpr auto codes = [] {
        std::array<std::uint32_t, std::size(layouts)> all{};
        for (std::size_t i = 0; i < all.size(); i++) all[i] = layouts[i].fourcc;
        return all;
    }();
    return codes;
}

bool CanConvert(const PictureFormat& format, const Planes& planes)
{
    const Layout* const layout = LayoutOf(format.fourcc);
    if (!layout || format.width < 1 || format.height < 1) return false;
    const int xShift = layout->xShift, yShift = layout->yShift;
    return Holds(format, *layout, planes, layout->first, 0, 0) &&
           Holds(format, *layout, planes, layout->second, xShift, yShift) &&
           Holds(format, *layout, planes, layout->third, xShift, yShift);
}

bool ConvertToBgr(const PictureFormat& format, const Planes& planes, unsigned char* bgr)
{
    if (!CanConvert(format, planes)) return false;
    const Layout& layout = *LayoutOf(format.fourcc);
    const auto rowOf = [&](const Sample& sample, int row) {
        return planes[sample.plane].data() +
               static_cast<std::size_t>(row) * StrideOf(layout, sample.plane, format.stride) + sample.offset;
    };
    const auto width = static_cast<std::size_t>(format.width);
    const bool asWanted = layout.fourcc == layouts[0].fourcc;
    const Factors f = FactorsOf(format.weights, format.fullRange);

    for (int y = 0; y < format.height; y++, bgr += 3 * width) {
        const unsigned char* const a = rowOf(layout.first, y);
        if (asWanted) {
            std::memcpy(bgr, a, 3 * width);
            continue;
        }
        const unsigned char* const b = rowOf(layout.second, y >> layout.yShift);
        const unsigned char* const c = rowOf(layout.third, y >> layout.yShift);
        unsigned char* p = bgr;
        for (std::size_t x = 0; x < width; x++, p += 3) {
            const unsigned char first = a[x * layout.first.step];
            const unsigned char second = b[(x >> layout.xShift) * layout.second.step];
            const unsigned char third = c[(x >> layout.xShift) * layout.third.step];
            if (layout.yuv) {
                const int luma = f.luma * (first - f.zero), u = second - 128, v = third - 128;
                p[0] = Nearest(luma + f.blueU * u);
                p[1] = Nearest(luma + f.greenU * u + f.greenV * v);
                p[2] = Nearest(luma + f.redV * v);
            } else {
                p[0] = first;
                p[1] = second;
                p[2] = third;
            }
        }
    }
    return true;
}

} // namespace telvane::camera
