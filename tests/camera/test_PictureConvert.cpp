// Pictures in every format that a camera may hand out, written byte by byte here, read by the conversion.
#include <camera/libcamera/PictureConvert.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <random>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace {

namespace camera = telvane::camera;
using camera::LumaWeights;
using camera::PictureFormat;
using Bytes = std::vector<unsigned char>;

std::uint32_t Fourcc(const std::string& name)
{
    return std::uint32_t(std::uint8_t(name[0])) | std::uint32_t(std::uint8_t(name[1])) << 8 |
           std::uint32_t(std::uint8_t(name[2])) << 16 | std::uint32_t(std::uint8_t(name[3])) << 24;
}

/// A picture as the camera has it. The planes end with the last byte of the last row.
struct Picture {
    PictureFormat format;
    std::array<Bytes, 3> planes;

    camera::Planes View() const { return {planes[0], planes[1], planes[2]}; }
    Bytes Converted() const
    {
        // A guard before and after shows what else is written.
        const std::size_t size = std::size_t(format.width) * std::size_t(format.height) * 3, guard = 64;
        Bytes bgr(size + 2 * guard, 0x5A);
        EXPECT_TRUE(camera::ConvertToBgr(format, View(), bgr.data() + guard));
        for (std::size_t i = 0; i < guard; i++) {
            EXPECT_EQ(bgr[i], 0x5A);
            EXPECT_EQ(bgr[guard + size + i], 0x5A);
        }
        return Bytes(bgr.begin() + guard, bgr.end() - guard);
    }
};

/// The three values of the pixel at (x, y).
using Scene = std::function<std::array<int, 3>(int x, int y)>;

/// A scene of noise, the same at each call. The second and third value are shared by blocks of pixels.
Scene Noise(int blockWidth, int blockHeight)
{
    return [=](int x, int y) {
        const auto noise = [](int px, int py, int which) {
            std::minstd_rand engine(static_cast<unsigned>(px * 7919 + py * 104729 + which * 1299709 + 1));
            engine.discard(3);
            return static_cast<int>(engine() >> 8 & 255);
        };
        const int bx = x / blockWidth, by = y / blockHeight;
        return std::array<int, 3>{noise(x, y, 0), noise(bx, by, 1), noise(bx, by, 2)};
    };
}

/// A picture with one plane and `pad` bytes after each row but the last, filled with what belongs to no
/// pixel.
Picture Blank(const std::string& fourcc, int width, int height, std::size_t rowBytes, std::size_t pad)
{
    Picture p;
    p.format.fourcc = Fourcc(fourcc);
    p.format.width = width;
    p.format.height = height;
    p.format.stride = rowBytes + pad;
    p.planes[0].assign(p.format.stride * std::size_t(height - 1) + rowBytes, 0xEE);
    return p;
}

// ------------------------------------------------------------------------------ red, green, blue

/// A format of red, green, blue by its name, which gives a pixel as a number from its highest byte down.
struct RgbFormat {
    std::string fourcc, name;
};

const std::vector<RgbFormat> rgbFormats = {
    {"RG24", "RGB"},  {"BG24", "BGR"},  {"XR24", "XRGB"}, {"AR24", "ARGB"}, {"XB24", "XBGR"},
    {"AB24", "ABGR"}, {"RX24", "RGBX"}, {"RA24", "RGBA"}, {"BX24", "BGRX"}, {"BA24", "BGRA"}};

/// The scene's values are blue, green, red.
Picture RgbPicture(const RgbFormat& f, const Scene& scene, int width, int height, std::size_t pad)
{
    const std::size_t bytesPerPixel = f.name.size();
    Picture p = Blank(f.fourcc, width, height, bytesPerPixel * std::size_t(width), pad);
    for (int y = 0; y < height; y++)
        for (int x = 0; x < width; x++)
            for (std::size_t i = 0; i < bytesPerPixel; i++) {
                // Little-endian: the last letter is the first byte.
                const char letter = f.name[bytesPerPixel - 1 - i];
                const std::array<int, 3> bgr = scene(x, y);
                const int value = letter == 'B'   ? bgr[0]
                                  : letter == 'G' ? bgr[1]
                                  : letter == 'R' ? bgr[2]
                                                  : 0xEE;
                p.planes[0][std::size_t(y) * p.format.stride + std::size_t(x) * bytesPerPixel + i] =
                    static_cast<unsigned char>(value);
            }
    return p;
}

Bytes BgrOf(const Scene& scene, int width, int height)
{
    Bytes bgr;
    for (int y = 0; y < height; y++)
        for (int x = 0; x < width; x++)
            for (const int value : scene(x, y)) bgr.push_back(static_cast<unsigned char>(value));
    return bgr;
}

struct Shape {
    int width, height;
    std::size_t pad;
};

const std::vector<Shape> shapes = {{1, 1, 0}, {1, 1, 5},  {2, 2, 0},   {3, 2, 1},  {4, 7, 64},
                                   {5, 5, 3}, {33, 4, 7}, {64, 48, 0}, {70, 9, 26}};

TEST(PictureConvert, ColoursOfEveryOrderBecomeBlueGreenRed)
{
    const Scene scene = Noise(1, 1);
    for (const RgbFormat& f : rgbFormats)
        for (const Shape& s : shapes)
            EXPECT_TRUE(RgbPicture(f, scene, s.width, s.height, s.pad).Converted() ==
                        BgrOf(scene, s.width, s.height))
                << f.name << " " << s.width << " x " << s.height << " + " << s.pad;
}

TEST(PictureConvert, Rgb888IsBlueGreenRedInMemory)
{
    // The format in which a camera's picture is taken over as it is.
    Picture p = Blank("RG24", 2, 1, 6, 0);
    p.planes[0] = {1, 2, 3, 4, 5, 6};
    EXPECT_EQ(p.Converted(), (Bytes{1, 2, 3, 4, 5, 6}));
    p.format.fourcc = Fourcc("BG24");
    EXPECT_EQ(p.Converted(), (Bytes{3, 2, 1, 6, 5, 4}));
}

TEST(PictureConvert, WholeCameraFramesAreConverted)
{
    const Scene scene = Noise(64, 1);
    const int width = 1280, height = 960;
    const Bytes expected = BgrOf(scene, width, height);
    EXPECT_TRUE(RgbPicture({"RG24", "RGB"}, scene, width, height, 0).Converted() == expected);
    EXPECT_TRUE(RgbPicture({"XB24", "XBGR"}, scene, width, height, 256).Converted() == expected);
}

TEST(PictureConvert, GreyBecomesAllThree)
{
    for (const Shape& s : shapes) {
        Picture p = Blank("R8  ", s.width, s.height, std::size_t(s.width), s.pad);
        Bytes expected;
        for (int y = 0; y < s.height; y++)
            for (int x = 0; x < s.width; x++) {
                const int grey = Noise(1, 1)(x, y)[0];
                p.planes[0][std::size_t(y) * p.format.stride + std::size_t(x)] =
                    static_cast<unsigned char>(grey);
                expected.insert(expected.end(), 3, static_cast<unsigned char>(grey));
            }
        EXPECT_TRUE(p.Converted() == expected) << s.width << " x " << s.height;
    }
}

// ------------------------------------------------------------------------------ luma and chroma

/// Blue, green, red of Y, U, V, not rounded, by the equations of the standards.
std::array<double, 3> ColourOf(const std::array<int, 3>& yuv, LumaWeights weights, bool fullRange)
{
    const double kr = weights == LumaWeights::rec601   ? 0.299
                      : weights == LumaWeights::rec709 ? 0.2126
                                                       : 0.2627;
    const double kb = weights == LumaWeights::rec601   ? 0.114
                      : weights == LumaWeights::rec709 ? 0.0722
                                                       : 0.0593;
    // 0 .. 1 and -1/2 .. 1/2
    const double y = fullRange ? yuv[0] / 255.0 : (yuv[0] - 16) / 219.0;
    const double pb = fullRange ? (yuv[1] - 128) / 255.0 : (yuv[1] - 128) / 224.0;
    const double pr = fullRange ? (yuv[2] - 128) / 255.0 : (yuv[2] - 128) / 224.0;
    const double b = y + pb * 2 * (1 - kb), r = y + pr * 2 * (1 - kr);
    const double g = (y - kr * r - kb * b) / (1 - kr - kb);
    return {std::clamp(255 * b, 0.0, 255.0), std::clamp(255 * g, 0.0, 255.0),
            std::clamp(255 * r, 0.0, 255.0)};
}

/// A format of Y, U, V: the letters of each plane's row as they follow each other, the rows that share one of
/// U and V.
struct YuvFormat {
    std::string fourcc;
    std::vector<std::string> planes;
    int rowsPerChroma;
};

const std::vector<YuvFormat> yuvFormats = {
    {"YUYV", {"YUYV"}, 1},         {"YVYU", {"YVYU"}, 1},         {"UYVY", {"UYVY"}, 1},
    {"VYUY", {"VYUY"}, 1},         {"YU16", {"YY", "U", "V"}, 1}, {"YV16", {"YY", "V", "U"}, 1},
    {"NV16", {"YY", "UV"}, 1},     {"NV61", {"YY", "VU"}, 1},     {"YU12", {"YY", "U", "V"}, 2},
    {"YV12", {"YY", "V", "U"}, 2}, {"NV12", {"YY", "UV"}, 2},     {"NV21", {"YY", "VU"}, 2}};

/// The scene's values are Y, U, V. `pad` bytes follow the groups of two pixels in a row of the first plane.
Picture YuvPicture(const YuvFormat& f, const Scene& scene, int width, int height, std::size_t pad)
{
    const std::size_t groups = std::size_t(width + 1) / 2;
    Picture p = Blank(f.fourcc, width, height, groups * f.planes[0].size(), pad);
    for (std::size_t plane = 0; plane < f.planes.size(); plane++) {
        const std::string& letters = f.planes[plane];
        const int rowsPerRow = plane == 0 ? 1 : f.rowsPerChroma;
        const std::size_t rows = std::size_t((height + rowsPerRow - 1) / rowsPerRow);
        const std::size_t stride = p.format.stride * letters.size() / f.planes[0].size();
        Bytes& bytes = p.planes[plane];
        bytes.assign(stride * (rows - 1) + groups * letters.size(), 0xEE);
        for (std::size_t row = 0; row < rows; row++)
            for (std::size_t group = 0; group < groups; group++) {
                int luma = 0; // of this group so far
                for (std::size_t i = 0; i < letters.size(); i++) {
                    const int which = letters[i] == 'Y' ? 0 : letters[i] == 'U' ? 1 : 2;
                    const int x = int(group) * 2 + (which == 0 ? luma++ : 0);
                    if (x >= width) continue; // half a group: there is no such pixel
                    bytes[row * stride + group * letters.size() + i] =
                        static_cast<unsigned char>(scene(x, int(row) * rowsPerRow)[std::size_t(which)]);
                }
            }
    }
    return p;
}

/// Whether every byte is the nearest to the exact colour; where that lies in the middle of two, either will
/// do.
testing::AssertionResult NearestColours(const Picture& p, const Scene& scene)
{
    const Bytes bgr = p.Converted();
    std::size_t i = 0;
    for (int y = 0; y < p.format.height; y++)
        for (int x = 0; x < p.format.width; x++) {
            const std::array<double, 3> exact = ColourOf(scene(x, y), p.format.weights, p.format.fullRange);
            for (std::size_t c = 0; c < 3; c++, i++)
                if (std::abs(bgr[i] - exact[c]) > 0.5 + 0.01)
                    return testing::AssertionFailure() << "value " << c << " at (" << x << ", " << y
                                                       << ") is " << int(bgr[i]) << ", not " << exact[c];
        }
    return testing::AssertionSuccess();
}

TEST(PictureConvert, LumaAndChromaAreFoundInEveryFormat)
{
    for (const YuvFormat& f : yuvFormats)
        for (const Shape& s : shapes) {
            // The strides of U and V are halves: they are whole where the first is even.
            const std::size_t pad = s.pad + s.pad % 2;
            const Scene scene = Noise(2, f.rowsPerChroma);
            Picture p = YuvPicture(f, scene, s.width, s.height, pad);
            p.format.fullRange = true;
            EXPECT_TRUE(NearestColours(p, scene))
                << f.fourcc << " " << s.width << " x " << s.height << " + " << pad;
        }
}

TEST(PictureConvert, OddStrideOfLumaHalvesDownward)
{
    // 3 + 2 bytes a row; U and V have 2.
    Picture p = Blank("YU12", 3, 3, 3, 2);
    p.format.fullRange = true;
    p.planes[0].assign(13, 100);
    p.planes[1] = {128, 128, 128, 255};
    p.planes[2] = {128, 128, 128, 128};
    const Bytes bgr = p.Converted();
    for (std::size_t i = 0; i < 8; i++) EXPECT_EQ(bgr[3 * i], 100) << i;
    EXPECT_EQ(bgr[3 * 8], 255); // the last pixel alone is blue
}

TEST(PictureConvert, ColoursAreTheNearestForAllWeightsAndRanges)
{
    // All Y along a row; every fifth U and V, and the ends.
    std::vector<int> chroma;
    for (int c = 0; c < 256; c += 5) chroma.push_back(c);
    for (const int c : {1, 16, 127, 128, 129, 240, 254}) chroma.push_back(c);
    const int n = static_cast<int>(chroma.size());
    const Scene scene = [&](int x, int y) {
        return std::array<int, 3>{x, chroma[std::size_t(y % n)], chroma[std::size_t(y / n)]};
    };
    for (const LumaWeights weights : {LumaWeights::rec601, LumaWeights::rec709, LumaWeights::rec2020})
        for (const bool fullRange : {false, true}) {
            Picture p = YuvPicture({"YU16", {"YY", "U", "V"}, 1}, scene, 256, n * n, 0);
            p.format.weights = weights;
            p.format.fullRange = fullRange;
            EXPECT_TRUE(NearestColours(p, scene)) << int(weights) << fullRange;
        }
}

TEST(PictureConvert, ColourBarsAreTheColoursTheyAreNamedAfter)
{
    struct Bar {
        LumaWeights weights;
        std::array<int, 3> yuv, bgr;
    };
    // Of the limited range, as test signals have them.
    for (const Bar& bar : std::vector<Bar>{{LumaWeights::rec601, {235, 128, 128}, {255, 255, 255}},
                                           {LumaWeights::rec601, {16, 128, 128}, {0, 0, 0}},
                                           {LumaWeights::rec601, {81, 90, 240}, {0, 0, 255}},
                                           {LumaWeights::rec601, {145, 54, 34}, {0, 255, 0}},
                                           {LumaWeights::rec601, {41, 240, 110}, {255, 0, 0}},
                                           {LumaWeights::rec709, {63, 102, 240}, {0, 0, 255}},
                                           {LumaWeights::rec709, {173, 42, 26}, {0, 255, 0}},
                                           {LumaWeights::rec709, {32, 240, 118}, {255, 0, 0}}}) {
        const Scene scene = [&](int, int) { return bar.yuv; };
        Picture p = YuvPicture({"NV12", {"YY", "UV"}, 2}, scene, 2, 2, 0);
        p.format.weights = bar.weights;
        const Bytes bgr = p.Converted();
        for (std::size_t c = 0; c < 3; c++) EXPECT_NEAR(bgr[c], bar.bgr[c], 2) << bar.yuv[0] << " " << c;
    }
}

TEST(PictureConvert, PictureWithoutColourKeepsItsLuma)
{
    const Scene scene = [](int x, int) { return std::array<int, 3>{x, 128, 128}; };
    for (const LumaWeights weights : {LumaWeights::rec601, LumaWeights::rec709, LumaWeights::rec2020}) {
        Picture p = YuvPicture({"NV12", {"YY", "UV"}, 2}, scene, 256, 2, 0);
        p.format.weights = weights;
        p.format.fullRange = true;
        Bytes bgr = p.Converted();
        for (std::size_t x = 0; x < 256; x++)
            for (std::size_t c = 0; c < 3; c++) EXPECT_EQ(bgr[3 * x + c], x);
        p.format.fullRange = false;
        bgr = p.Converted();
        for (std::size_t x = 0; x < 256; x++) {
            EXPECT_EQ(bgr[3 * x], bgr[3 * x + 1]);
            EXPECT_EQ(bgr[3 * x], bgr[3 * x + 2]);
            EXPECT_EQ(bgr[3 * x] == 0, x <= 16) << x;
            EXPECT_EQ(bgr[3 * x] == 255, x >= 235) << x;
        }
    }
}

// ------------------------------------------------------------------------------ what is refused

/// Nothing is written where a picture cannot be converted.
bool Refused(const Picture& p)
{
    Bytes bgr(100000, 0x5A);
    const bool can = camera::CanConvert(p.format, p.View());
    const bool did = camera::ConvertToBgr(p.format, p.View(), bgr.data());
    EXPECT_EQ(can, did);
    EXPECT_TRUE(did || bgr == Bytes(bgr.size(), 0x5A));
    return !can;
}

TEST(PictureConvert, PlanesThatAreAByteShortAreRefused)
{
    for (const YuvFormat& f : yuvFormats)
        for (const Shape& s : std::vector<Shape>{{2, 1, 0}, {6, 5, 4}, {64, 48, 16}}) {
            const Picture whole = YuvPicture(f, Noise(2, 2), s.width, s.height, s.pad);
            EXPECT_FALSE(Refused(whole)) << f.fourcc;
            for (std::size_t plane = 0; plane < f.planes.size(); plane++) {
                Picture less = whole;
                less.planes[plane].pop_back();
                EXPECT_TRUE(Refused(less)) << f.fourcc << " plane " << plane << " " << s.width;
                less.planes[plane].clear();
                EXPECT_TRUE(Refused(less)) << f.fourcc << " without plane " << plane;
            }
        }
    for (const RgbFormat& f : rgbFormats) {
        Picture p = RgbPicture({f.fourcc, f.name.size() == 3 ? "RGB" : "XRGB"}, Noise(1, 1), 6, 5, 4);
        EXPECT_FALSE(Refused(p)) << f.name;
        p.planes[0].resize(p.planes[0].size() - f.name.size());
        EXPECT_TRUE(Refused(p)) << f.name;
    }
}

TEST(PictureConvert, StrideBelowARowIsRefused)
{
    Picture p = RgbPicture({"RG24", "RGB"}, Noise(1, 1), 8, 4, 0);
    p.planes[0].resize(1000);
    EXPECT_FALSE(Refused(p));
    p.format.stride--;
    EXPECT_TRUE(Refused(p));
    p.format.stride = 0;
    EXPECT_TRUE(Refused(p));
    p = YuvPicture({"YU12", {"YY", "U", "V"}, 2}, Noise(2, 2), 7, 4, 0);
    for (Bytes& plane : p.planes) plane.resize(1000);
    EXPECT_FALSE(Refused(p));
    p.format.stride = 7; // of Y it is enough, its half of U and V is not
    EXPECT_TRUE(Refused(p));
}

TEST(PictureConvert, StrideBeyondAllMemoryIsRefused)
{
    Picture p = RgbPicture({"RG24", "RGB"}, Noise(1, 1), 8, 4, 0);
    p.format.stride = SIZE_MAX;
    EXPECT_TRUE(Refused(p));
    p.format.stride = SIZE_MAX / 3 + 1; // three of them overflow to little
    EXPECT_TRUE(Refused(p));
}

TEST(PictureConvert, PicturesWithoutPixelsAreRefused)
{
    for (const auto& [width, height] :
         std::vector<std::pair<int, int>>{{0, 4}, {8, 0}, {-1, 4}, {8, -1}, {0, 0}}) {
        Picture p = RgbPicture({"RG24", "RGB"}, Noise(1, 1), 8, 4, 0);
        p.format.width = width;
        p.format.height = height;
        EXPECT_TRUE(Refused(p)) << width << " x " << height;
        p.format.fourcc = 0x20203852; // "R8  ", whose pixels are its bytes
        EXPECT_TRUE(Refused(p)) << width << " x " << height;
    }
}

TEST(PictureConvert, OtherFormatsAreRefused)
{
    for (const std::string fourcc : {"MJPG", "RG16", "RGGB", "BA81", "pRAA", "YUV4", "rg24"}) {
        Picture p = Blank(fourcc, 8, 4, 64, 0);
        for (Bytes& plane : p.planes) plane.assign(1000, 1);
        EXPECT_TRUE(Refused(p)) << fourcc;
    }
    Picture p = Blank("RG24", 8, 4, 64, 0);
    p.format.fourcc = 0;
    EXPECT_TRUE(Refused(p));
}

TEST(PictureConvert, FormatsThatNeedNoConversionAreWantedFirst)
{
    const auto formats = camera::ConvertibleFormats();
    ASSERT_FALSE(formats.empty());
    EXPECT_EQ(formats[0], Fourcc("RG24"));
    EXPECT_EQ(formats[1], Fourcc("XR24"));
    // Before those with less colour than pixels, those with all of it.
    const auto place = [&](const std::string& fourcc) {
        return std::find(formats.begin(), formats.end(), Fourcc(fourcc)) - formats.begin();
    };
    for (const RgbFormat& rgb : rgbFormats)
        for (const YuvFormat& yuv : yuvFormats) EXPECT_LT(place(rgb.fourcc), place(yuv.fourcc));
    EXPECT_LT(place("YUYV"), place("NV12"));
    // Every one of them once, and no other.
    EXPECT_EQ(std::set<std::uint32_t>(formats.begin(), formats.end()).size(), formats.size());
    EXPECT_EQ(formats.size(), rgbFormats.size() + yuvFormats.size() + 1);
    EXPECT_LT(place("R8  "), std::ptrdiff_t(formats.size()));
}

} // namespace
