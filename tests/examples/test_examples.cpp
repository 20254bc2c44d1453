// The examples, run as programs: what they write, held against their input.
#include <tests/support/ChildProcess.h>
#include <tests/support/Pictures.h>

#include <tests/reference/Filters.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

namespace {

using namespace pictures;

/// An uncompressed BMP of 8 or 24 bits, read by its width, height and padding alone.
struct Bitmap {
    explicit Bitmap(const std::string& bytes)
    {
        const auto number = [&bytes](std::size_t at, int width) {
            unsigned value = 0;
            for (int i = width; i-- > 0;)
                value = value << 8 | static_cast<unsigned char>(bytes.at(at + static_cast<std::size_t>(i)));
            return static_cast<int>(value);
        };
        if (bytes.substr(0, 2) != "BM") throw std::runtime_error("no BMP");
        const int start = number(10, 4), w = number(18, 4), h = number(22, 4);
        bits = number(28, 2);
        const int channels = bits / 8, length = (w * channels + 3) / 4 * 4;
        if (bytes.size() != static_cast<std::size_t>(start + length * h))
            throw std::runtime_error("size of the BMP");
        for (int c = channels; c-- > 0;) { // blue, green, red in the file
            Bytes plane(w, h);
            for (int y = 0; y < h; y++)
                for (int x = 0; x < w; x++)
                    plane.At(x, h - 1 - y) = static_cast<std::uint8_t>(
                        number(static_cast<std::size_t>(start + y * length + x * channels + c), 1));
            planes.push_back(plane);
        }
    }

    int bits = 0;
    std::vector<Bytes> planes; // grey, or red, green, blue
};

Bytes GreyOf(const TemporaryFolder& folder, const std::string& name)
{
    const Bitmap bitmap(folder.Read(name));
    EXPECT_EQ(bitmap.bits, 8) << name;
    return bitmap.planes.at(0);
}

void WriteGrey(const TemporaryFolder& folder, const std::string& name, const Bytes& picture)
{
    ASSERT_EQ(ArrayOf(picture).WriteBMP((folder / name).c_str()), 0);
}

void ExpectRefusal(const Finished& run)
{
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.out, "");
    EXPECT_NE(run.err, "");
}

// ---------------------------------------------------------------------------------- filtering through views

/// What has to become of a picture.
void ExpectFiltered(const TemporaryFolder& folder, const Bytes& picture)
{
    const int w = picture.w, h = picture.h;
    EXPECT_TRUE(Same(GreyOf(folder, "picture.bmp"), picture));

    const int half = w / 2;
    Bytes right(w - half, h), wanted = picture;
    for (int y = 0; y < h; y++)
        for (int x = 0; x < right.w; x++) right.At(x, y) = picture.At(half + x, y);
    const Shorts soft = reference::FastFilter(right, 4, 4);
    for (int y = 0; y < soft.h; y++)
        for (int x = 0; x < soft.w; x++)
            wanted.At(half + x + 2, y + 2) = static_cast<std::uint8_t>(soft.At(x, y));
    EXPECT_TRUE(Same(GreyOf(folder, "smoothed.bmp"), wanted));

    Bytes edges(w - 1, h);
    for (int y = 0; y < h; y++)
        for (int x = 0; x < w - 1; x++)
            edges.At(x, y) = static_cast<std::uint8_t>((picture.At(x + 1, y) - picture.At(x, y)) / 2 + 128);
    EXPECT_TRUE(Same(GreyOf(folder, "edges.bmp"), edges));

    Bytes small((w + 1) / 2, (h + 1) / 2), mirrored(w, h);
    for (int y = 0; y < small.h; y++)
        for (int x = 0; x < small.w; x++) small.At(x, y) = wanted.At(2 * x, 2 * y);
    for (int y = 0; y < h; y++)
        for (int x = 0; x < w; x++) mirrored.At(x, y) = wanted.At(w - 1 - x, y);
    EXPECT_TRUE(Same(GreyOf(folder, "small.bmp"), small));
    EXPECT_TRUE(Same(GreyOf(folder, "mirrored.bmp"), mirrored));
}

TEST(filter_views, FiltersThePictureThatItDraws)
{
    TemporaryFolder folder;
    const Finished run = ::Run({FILTER_VIEWS}, folder.Path());
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(run.err, "");
    EXPECT_NE(run.out.find("smoothed.bmp   320 x 240\n"), std::string::npos) << run.out;
    const Bytes picture = GreyOf(folder, "picture.bmp");
    ASSERT_EQ(picture.w, 320);
    ASSERT_EQ(picture.h, 240);
    EXPECT_EQ(picture.At(160, 120), 220);
    EXPECT_EQ(picture.At(160 + 30, 120), 40);
    ExpectFiltered(folder, picture);
}

TEST(filter_views, FiltersAPictureOfOurs)
{
    Random random(51);
    for (const auto& [w, h] : {std::pair{16, 16}, {61, 40}, {128, 33}}) {
        TemporaryFolder folder;
        const Bytes picture = Noise<std::uint8_t>(random, w, h);
        WriteGrey(folder, "mine.bmp", picture);
        const Finished run = ::Run({FILTER_VIEWS, "mine.bmp"}, folder.Path());
        ASSERT_EQ(run.status, 0) << run.err;
        ExpectFiltered(folder, picture);
    }
}

TEST(filter_views, RefusesWhatItCannotFilter)
{
    TemporaryFolder folder;
    folder.Write("text.bmp", "no picture");
    WriteGrey(folder, "small.bmp", Bytes(15, 16));
    for (const char* const name : {"none.bmp", "text.bmp", "small.bmp"}) {
        ExpectRefusal(::Run({FILTER_VIEWS, name}, folder.Path()));
        EXPECT_FALSE(folder.Has("picture.bmp")) << name;
    }
}

// ---------------------------------------------------------------------------------- flow in colours

/// Red, green and blue, summed over a rectangle.
std::vector<double> Sums(const Bitmap& bitmap, int x1, int y1, int x2, int y2)
{
    std::vector<double> sums(3);
    for (std::size_t c = 0; c < 3; c++)
        for (int y = y1; y <= y2; y++)
            for (int x = x1; x <= x2; x++) sums[c] += bitmap.planes.at(c).At(x, y);
    return sums;
}

/// The direction that a colour stands for, in degrees from the right, clockwise.
double Direction(const std::vector<double>& sums)
{
    const double pi = std::acos(-1.0);
    double x = 0, y = 0;
    for (std::size_t c = 0; c < 3; c++) {
        x += sums[c] * std::cos(static_cast<double>(c) * 2 * pi / 3);
        y += sums[c] * std::sin(static_cast<double>(c) * 2 * pi / 3);
    }
    return std::atan2(y, x) * 180 / pi;
}

double Turn(double a, double b) { return std::abs(std::remainder(a - b, 360)); }

TEST(flow_colours, AWheelThatTurnsClockwiseShowsEveryDirectionInItsPlace)
{
    TemporaryFolder folder;
    const Finished run = ::Run({FLOW_COLOURS}, folder.Path());
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(run.out, "flow.bmp 221 x 181\n");
    EXPECT_EQ(run.err, "");
    const Bitmap flow(folder.Read("flow.bmp"));
    ASSERT_EQ(flow.bits, 24);
    ASSERT_EQ(flow.planes[0].w, 221);
    ASSERT_EQ(flow.planes[0].h, 181);

    // The wheel lies around (110, 90) with a radius of 80.
    EXPECT_LT(Turn(Direction(Sums(flow, 90, 20, 130, 50)), 0), 15);     // above: to the right
    EXPECT_LT(Turn(Direction(Sums(flow, 150, 70, 180, 110)), 90), 15);  // right: downwards
    EXPECT_LT(Turn(Direction(Sums(flow, 90, 130, 130, 160)), 180), 15); // below: to the left
    EXPECT_LT(Turn(Direction(Sums(flow, 40, 70, 70, 110)), -90), 15);   // left: upwards
    const auto brightness = [&flow](int x1, int y1, int x2, int y2) {
        const std::vector<double> sums = Sums(flow, x1, y1, x2, y2);
        return (sums[0] + sums[1] + sums[2]) / 3 / ((x2 - x1 + 1) * (y2 - y1 + 1));
    };
    EXPECT_GT(brightness(90, 20, 130, 50), 2 * brightness(102, 82, 118, 98)); // the hub hardly moves
    EXPECT_EQ(brightness(0, 0, 10, 10), 0);                                   // and the ground not at all
}

/// A soft pattern, moved by (dx, dy).
Bytes Pattern(double dx, double dy)
{
    Bytes picture(95, 80);
    for (int y = 0; y < picture.h; y++)
        for (int x = 0; x < picture.w; x++)
            picture.At(x, y) = static_cast<std::uint8_t>(
                std::lround(128 + 50 * std::cos((x - dx) / 2) + 50 * std::cos((y - dy) / 2)));
    return picture;
}

TEST(flow_colours, FramesOfOursThatMoveInOneDirectionAreOfOneColour)
{
    for (const auto& [dx, dy] : {std::pair{1, 0}, {-1, 0}, {0, 1}, {0, -1}, {1, 1}, {-1, 1}}) {
        TemporaryFolder folder;
        WriteGrey(folder, "a.bmp", Pattern(0, 0));
        WriteGrey(folder, "b.bmp", Pattern(dx, dy));
        const Finished run = ::Run({FLOW_COLOURS, "a.bmp", "b.bmp"}, folder.Path());
        ASSERT_EQ(run.status, 0) << run.err;
        EXPECT_EQ(run.out, "flow.bmp 76 x 61\n");
        const Bitmap flow(folder.Read("flow.bmp"));
        const double wanted = std::atan2(dy, dx) * 180 / std::acos(-1.0);
        EXPECT_LT(Turn(Direction(Sums(flow, 5, 5, 70, 55)), wanted), 15) << dx << ", " << dy;
        std::uint8_t brightest = 0;
        for (const Bytes& plane : flow.planes)
            brightest = std::max(brightest, *std::max_element(plane.a.begin(), plane.a.end()));
        EXPECT_GT(brightest, 200);
    }
}

TEST(flow_colours, WithoutMotionAllIsBlack)
{
    TemporaryFolder folder;
    WriteGrey(folder, "a.bmp", Pattern(0, 0));
    const Finished run = ::Run({FLOW_COLOURS, "a.bmp", "a.bmp"}, folder.Path());
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(run.out, "nothing moves\nflow.bmp 76 x 61\n");
    const Bitmap flow(folder.Read("flow.bmp"));
    for (const Bytes& plane : flow.planes) EXPECT_TRUE(Same(plane, Bytes(76, 61)));
}

TEST(flow_colours, RefusesWhatIsNoPairOfFrames)
{
    TemporaryFolder folder;
    WriteGrey(folder, "a.bmp", Bytes(40, 33));
    WriteGrey(folder, "wide.bmp", Bytes(41, 33));
    WriteGrey(folder, "flat.bmp", Bytes(40, 31));
    for (const std::vector<std::string>& files :
         std::vector<std::vector<std::string>>{{"a.bmp"},
                                               {"a.bmp", "none.bmp"},
                                               {"a.bmp", "wide.bmp"},
                                               {"flat.bmp", "flat.bmp"},
                                               {"a.bmp", "a.bmp", "a.bmp"}}) {
        std::vector<std::string> argv = {FLOW_COLOURS};
        argv.insert(argv.end(), files.begin(), files.end());
        ExpectRefusal(::Run(argv, folder.Path()));
        EXPECT_FALSE(folder.Has("flow.bmp"));
    }
}

// ---------------------------------------------------------------------------------- drawing

/// The marks, pixel by pixel.
Bytes Marked(Bytes picture)
{
    const int right = picture.w - 1, bottom = picture.h - 1, cx = right / 2, cy = bottom / 2;
    for (int x = 4; x <= right - 4; x++) picture.At(x, 4) = picture.At(x, bottom - 4) = 255;
    for (int y = 4; y <= bottom - 4; y++) picture.At(4, y) = picture.At(right - 4, y) = 255;
    for (int x = 0; x <= right; x++) picture.At(x, cy - 20) = 200;
    for (int i = -3; i <= 3; i++) {
        picture.At(cx + i, cy) = picture.At(cx, cy + i) = 255;
        picture.At(cx - 12 + i, cy + i) = picture.At(cx - 12 + i, cy - i) = 255;
    }
    for (int y = -3; y <= 3; y++) {
        for (int x = -3; x <= 3; x++) {
            const int square = x * x + y * y;
            if (square >= 8 && square <= 10) picture.At(cx + 12 + x, cy + y) = 255; // a ring of radius 3
        }
    }
    picture.At(0, 0) = 255;
    for (int y = 0; y < 16; y++)
        for (int x = 0; x < 16; x++) picture.At(8 + x, 8 + y) = x == y || x + y == 15 ? 0 : 200;
    return picture;
}

void ExpectMarked(const TemporaryFolder& folder, const Bytes& before)
{
    const Bytes wanted = Marked(before);
    EXPECT_TRUE(Same(GreyOf(folder, "marked.bmp"), wanted));
    const std::string tiff = folder.Read("marked.tif");
    ASSERT_GE(tiff.size(), 154 + wanted.a.size() + 16);
    EXPECT_EQ(tiff.substr(0, 4), std::string("MM\0\x2A", 4));
    EXPECT_EQ(tiff.substr(154, wanted.a.size()), std::string(wanted.a.begin(), wanted.a.end()));
}

TEST(draw_marks, MarksThePictureThatItMakes)
{
    TemporaryFolder folder;
    const Finished run = ::Run({DRAW_MARKS}, folder.Path());
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(run.out, "marked.bmp and marked.tif, 200 x 150\n");
    EXPECT_EQ(run.err, "");
    ExpectMarked(folder, Bytes(200, 150, 40));
}

TEST(draw_marks, MarksAPictureOfOurs)
{
    Random random(52);
    for (const auto& [w, h] : {std::pair{64, 64}, {99, 121}}) {
        TemporaryFolder folder;
        const Bytes picture = Noise<std::uint8_t>(random, w, h);
        WriteGrey(folder, "mine.bmp", picture);
        const Finished run = ::Run({DRAW_MARKS, "mine.bmp"}, folder.Path());
        ASSERT_EQ(run.status, 0) << run.err;
        ExpectMarked(folder, picture);
    }
}

TEST(draw_marks, RefusesWhatItCannotMark)
{
    TemporaryFolder folder;
    WriteGrey(folder, "small.bmp", Bytes(63, 64));
    for (const char* const name : {"none.bmp", "small.bmp"}) {
        ExpectRefusal(::Run({DRAW_MARKS, name}, folder.Path()));
        EXPECT_FALSE(folder.Has("marked.bmp")) << name;
    }
}

} // namespace
