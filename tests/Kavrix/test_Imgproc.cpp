// The 3 x 3 filters, held against plain loops.
#include <tests/support/ChildProcess.h>
#include <tests/support/Pictures.h>

#include <tests/reference/Filters.h>

#include <gtest/gtest.h>

#include <vector>

namespace {

using namespace pictures;

/// A filter of short pictures and its plain version.
struct ShortFilter {
    const char* name;
    void (MatShort::*filter)(const MatShort&);
    Shorts (*plain)(const Shorts&);
};

const std::vector<ShortFilter> shortFilters = {
    {"Smooth", &MatShort::Smooth, reference::SmoothShort}, {"LapAve", &MatShort::LapAve, reference::LapAve},
    {"Laplace", &MatShort::Laplace, reference::Laplace},   {"SobelX", &MatShort::SobelX, reference::SobelX},
    {"SobelY", &MatShort::SobelY, reference::SobelY},
};

Shorts Filtered(const ShortFilter& f, const Shorts& picture)
{
    MatShort out;
    (out.*f.filter)(ArrayOf(picture));
    return PictureOf(out);
}

Shorts Smoothed(const Bytes& picture)
{
    MatShort out;
    out.Smooth(ArrayOf(picture));
    return PictureOf(out);
}

/// A w x h picture that is 0 but for one pixel.
Shorts Single(int w, int h, int x, int y, int value)
{
    Shorts picture(w, h);
    picture.At(x, y) = static_cast<std::int16_t>(value);
    return picture;
}

/// Random values over the whole range, in the range that occurs, and contrasts that wrap.
std::vector<Shorts> Samples(Random& random, int w, int h)
{
    const std::int16_t low = -32768, high = 32767;
    return {Noise<std::int16_t>(random, w, h),
            Noise<std::int16_t>(random, w, h, 0, 4080),
            Noise<std::int16_t>(random, w, h, -40, 40),
            Salt<std::int16_t>(random, w, h, low, high),
            Checkerboard<std::int16_t>(w, h, low, high),
            Shorts(w, h, low),
            Shorts(w, h, high),
            OneRow<std::int16_t>(w, h, h / 2, high),
            OneColumn<std::int16_t>(w, h, w / 2, low)};
}

std::vector<Bytes> ByteSamples(Random& random, int w, int h)
{
    return {Noise<std::uint8_t>(random, w, h),        Salt<std::uint8_t>(random, w, h, 0, 255),
            Checkerboard<std::uint8_t>(w, h, 0, 255), Bytes(w, h, 255),
            OneRow<std::uint8_t>(w, h, h / 2, 255),   OneColumn<std::uint8_t>(w, h, w / 2, 255)};
}

struct Size2 {
    int w, h;
};

/// The smallest, narrow ones, all around the widths of vector registers, odd and even.
std::vector<Size2> Sizes()
{
    std::vector<Size2> sizes = {{3, 3},  {3, 20}, {20, 3}, {4, 5},  {64, 7},
                                {65, 6}, {66, 9}, {67, 8}, {70, 70}};
    for (int w = 5; w <= 36; w++) sizes.push_back({w, 4 + w % 5});
    return sizes;
}

// ---------------------------------------------------------------------------------- every filter

TEST(Imgproc, ShortFiltersMatchThePlainOnesAtEverySize)
{
    Random random(1);
    for (const ShortFilter& f : shortFilters)
        for (const auto& [w, h] : Sizes())
            for (const Shorts& picture : Samples(random, w, h))
                ASSERT_TRUE(Same(Filtered(f, picture), f.plain(picture))) << f.name << " " << w << " x " << h;
}

TEST(Imgproc, ByteSmoothMatchesThePlainOneAtEverySize)
{
    Random random(2);
    for (const auto& [w, h] : Sizes())
        for (const Bytes& picture : ByteSamples(random, w, h))
            ASSERT_TRUE(Same(Smoothed(picture), reference::SmoothByte(picture))) << w << " x " << h;
}

TEST(Imgproc, ShortFiltersReadViewsOfAnyStrides)
{
    Random random(3);
    for (const ShortFilter& f : shortFilters) {
        for (const Layout& layout : viewLayouts) {
            const Shorts picture = Noise<std::int16_t>(random, 21, 13);
            const Laid<short> source(picture, layout, random);
            const Shorts before = PictureOf(source.storage);
            MatShort out;
            (out.*f.filter)(source.view);
            EXPECT_TRUE(Same(out, f.plain(picture))) << f.name << " " << layout;
            EXPECT_EQ(out.step1, 1) << "a receiver without storage becomes a dense one";
            EXPECT_TRUE(Same(source.storage, before)) << "the source was written to";
        }
    }
}

TEST(Imgproc, ByteSmoothReadsViewsOfAnyStrides)
{
    Random random(4);
    for (const Layout& layout : viewLayouts) {
        const Bytes picture = Noise<std::uint8_t>(random, 35, 9);
        const Laid<UBYTE> source(picture, layout, random);
        MatShort out;
        out.Smooth(source.view);
        EXPECT_TRUE(Same(out, reference::SmoothByte(picture))) << layout;
        EXPECT_TRUE(source.SurroundingsUntouched());
    }
}

TEST(Imgproc, FiltersWriteIntoTheViewThatTheyAreCalledOn)
{
    Random random(5);
    for (const Layout& layout : viewLayouts) {
        const Shorts picture = Noise<std::int16_t>(random, 19, 11);
        for (const ShortFilter& f : shortFilters) {
            Laid<short> target(17, 9, layout, random);
            (target.view.*f.filter)(ArrayOf(picture));
            EXPECT_TRUE(Same(target.view, f.plain(picture))) << f.name << " " << layout;
            EXPECT_TRUE(target.SurroundingsUntouched()) << f.name << " " << layout;
        }
        const Bytes bytes = Noise<std::uint8_t>(random, 19, 11);
        Laid<short> target(17, 9, layout, random);
        target.view.Smooth(ArrayOf(bytes));
        EXPECT_TRUE(Same(target.view, reference::SmoothByte(bytes))) << layout;
        EXPECT_TRUE(target.SurroundingsUntouched()) << layout;
    }
}

TEST(Imgproc, SourceAndReceiverMayBothBeViews)
{
    Random random(6);
    for (const Layout& from : viewLayouts) {
        for (const Layout& to : viewLayouts) {
            const Shorts picture = Noise<std::int16_t>(random, 9, 7);
            const Laid<short> source(picture, from, random);
            Laid<short> target(7, 5, to, random);
            target.view.LapAve(source.view);
            EXPECT_TRUE(Same(target.view, reference::LapAve(picture))) << from << " to " << to;
            EXPECT_TRUE(target.SurroundingsUntouched());
        }
    }
}

TEST(Imgproc, StorageOfTheRightShapeIsKept)
{
    Random random(7);
    const Shorts picture = Noise<std::int16_t>(random, 12, 8);
    for (const ShortFilter& f : shortFilters) {
        MatShort out(10, 6);
        const MatShort shared = out;
        const int blocks = Datablock::nblocks;
        (out.*f.filter)(ArrayOf(picture));
        EXPECT_EQ(out.p_data, shared.p_data) << f.name;
        EXPECT_TRUE(Same(shared, f.plain(picture))) << f.name;
        EXPECT_EQ(Datablock::nblocks, blocks) << f.name;
    }
}

TEST(Imgproc, AFiveByFourPictureGivesThreeByTwo)
{
    MatByte bytes(5, 4);
    bytes.Fill(9);
    MatShort out;
    out.Smooth(bytes);
    EXPECT_EQ(out.dim1, 3);
    EXPECT_EQ(out.dim2, 2);
    EXPECT_EQ(out.dim3, 1);
    for (const ShortFilter& f : shortFilters) {
        const Shorts small = Filtered(f, Shorts(5, 4));
        EXPECT_EQ(small.w, 3) << f.name;
        EXPECT_EQ(small.h, 2) << f.name;
    }
}

TEST(Imgproc, APictureBelowThreeByThreeHalts)
{
    const std::vector<Size2> tooSmall = {{2, 3}, {3, 2}, {1, 1}};
    for (const auto& [w, h] : tooSmall) {
        const FailStop bytes = RunUntilHalt([w = w, h = h] {
            MatShort out;
            out.Smooth(ArrayOf(Bytes(w, h)));
        });
        EXPECT_TRUE(bytes.halted) << bytes.state;
        EXPECT_EQ(bytes.line, ErrorLine("RNG: Invalid range selection"));
    }
    for (const ShortFilter& f : shortFilters) {
        const FailStop stop = RunUntilHalt([&f] { Filtered(f, Shorts(3, 2)); });
        EXPECT_TRUE(stop.halted) << f.name << " " << stop.state;
        EXPECT_EQ(stop.line, ErrorLine("RNG: Invalid range selection")) << f.name;
    }
}

// ---------------------------------------------------------------------------------- one filter at a time

TEST(Imgproc, ConstantPicturesKeepTheirValue)
{
    for (int value : {0, 1, 7, 100, 255})
        EXPECT_TRUE(Same(Smoothed(Bytes(6, 5, static_cast<std::uint8_t>(value))),
                         Shorts(4, 3, static_cast<std::int16_t>(16 * value))));
    for (int value : {0, 1, 5, 1000, 4080}) {
        const Shorts flat(6, 5, static_cast<std::int16_t>(value)),
            same(4, 3, static_cast<std::int16_t>(value));
        const Shorts bias(4, 3, 2048);
        EXPECT_TRUE(Same(Filtered(shortFilters[0], flat), same)) << "Smooth of " << value;
        EXPECT_TRUE(Same(Filtered(shortFilters[1], flat), same)) << "LapAve of " << value;
        EXPECT_TRUE(Same(Filtered(shortFilters[2], flat), bias)) << "Laplace of " << value;
        EXPECT_TRUE(Same(Filtered(shortFilters[3], flat), bias)) << "SobelX of " << value;
        EXPECT_TRUE(Same(Filtered(shortFilters[4], flat), bias)) << "SobelY of " << value;
    }
}

TEST(Imgproc, ByteSmoothHasTheBinomialKernel)
{
    const int kernel[3][3] = {{1, 2, 1}, {2, 4, 2}, {1, 2, 1}};
    for (int y = 0; y < 3; y++) {
        for (int x = 0; x < 3; x++) {
            Bytes picture(3, 3);
            picture.At(x, y) = 255;
            EXPECT_EQ(Smoothed(picture).At(0, 0), 255 * kernel[y][x]) << x << ", " << y;
        }
    }
}

TEST(Imgproc, LapAveWeighsCornersHalfAndNotTheCentre)
{
    const ShortFilter& lapAve = shortFilters[1];
    EXPECT_EQ(Filtered(lapAve, Single(3, 3, 0, 0, 1)).At(0, 0), 0);
    EXPECT_EQ(Filtered(lapAve, Single(3, 3, 2, 0, 12)).At(0, 0), 1);
    EXPECT_EQ(Filtered(lapAve, Single(3, 3, 0, 2, 11)).At(0, 0), 0);
    EXPECT_EQ(Filtered(lapAve, Single(3, 3, 0, 1, 6)).At(0, 0), 1);
    EXPECT_EQ(Filtered(lapAve, Single(3, 3, 1, 2, 5)).At(0, 0), 0);
    EXPECT_EQ(Filtered(lapAve, Single(3, 3, 1, 1, 32767)).At(0, 0), 0);
}

TEST(Imgproc, LapAveRoundsTheCornersDownAndTheQuotientTowardsZero)
{
    const ShortFilter& lapAve = shortFilters[1];
    EXPECT_EQ(Filtered(lapAve, Single(3, 3, 0, 0, -1)).At(0, 0), 0);   // -1 >> 1 = -1, -1 / 6 = 0
    EXPECT_EQ(Filtered(lapAve, Single(3, 3, 0, 0, -11)).At(0, 0), -1); // -11 >> 1 = -6
    EXPECT_EQ(Filtered(lapAve, Single(3, 3, 1, 0, -6)).At(0, 0), -1);
    EXPECT_EQ(Filtered(lapAve, Single(3, 3, 1, 0, -11)).At(0, 0), -1); // -11 / 6 = -1, not -2
}

TEST(Imgproc, ShortSmoothOfASingleOneIsZero)
{
    EXPECT_EQ(Filtered(shortFilters[0], Single(3, 3, 1, 1, 1)).At(0, 0), 0);
    EXPECT_EQ(Filtered(shortFilters[0], Single(3, 3, 1, 1, 4)).At(0, 0), 1);
    EXPECT_EQ(Filtered(shortFilters[0], Single(3, 3, 0, 1, 8)).At(0, 0), 1);
    EXPECT_EQ(Filtered(shortFilters[0], Single(3, 3, 0, 0, 16)).At(0, 0), 1);
}

TEST(Imgproc, ShortSmoothRoundsNegativeValuesDownAtBothShifts)
{
    EXPECT_EQ(Filtered(shortFilters[0], Single(3, 3, 0, 0, -1)).At(0, 0), -1); // -1 >> 1 = -1, -1 >> 3 = -1
    EXPECT_EQ(Filtered(shortFilters[0], Single(3, 3, 1, 0, -8)).At(0, 0), -1);
    EXPECT_EQ(Filtered(shortFilters[0], Single(3, 3, 1, 0, -9)).At(0, 0), -2);
    // (-17 >> 1) + 1 = -8, where a rounding towards zero would give -7 and then 0.
    Shorts picture = Single(3, 3, 2, 2, -17);
    picture.At(1, 0) = 1;
    EXPECT_EQ(Filtered(shortFilters[0], picture).At(0, 0), -1);
}

TEST(Imgproc, LaplaceIsTheAverageLessTheCentrePlusABias)
{
    EXPECT_EQ(Filtered(shortFilters[2], Single(3, 3, 1, 1, 100)).At(0, 0), 1948);
    EXPECT_EQ(Filtered(shortFilters[2], Single(3, 3, 1, 0, 60)).At(0, 0), 2058);
    EXPECT_EQ(Filtered(shortFilters[2], Single(3, 3, 1, 1, -32768)).At(0, 0), -30720) << "wraps";
}

TEST(Imgproc, SobelFiltersLookRightAndDown)
{
    const int weights[3] = {1, 2, 1};
    for (int i = 0; i < 3; i++) {
        EXPECT_EQ(Filtered(shortFilters[3], Single(3, 3, 2, i, 10)).At(0, 0), 2048 + 10 * weights[i]);
        EXPECT_EQ(Filtered(shortFilters[3], Single(3, 3, 0, i, 10)).At(0, 0), 2048 - 10 * weights[i]);
        EXPECT_EQ(Filtered(shortFilters[3], Single(3, 3, 1, i, 10)).At(0, 0), 2048);
        EXPECT_EQ(Filtered(shortFilters[4], Single(3, 3, i, 2, 10)).At(0, 0), 2048 + 10 * weights[i]);
        EXPECT_EQ(Filtered(shortFilters[4], Single(3, 3, i, 0, 10)).At(0, 0), 2048 - 10 * weights[i]);
        EXPECT_EQ(Filtered(shortFilters[4], Single(3, 3, i, 1, 10)).At(0, 0), 2048);
    }
}

TEST(Imgproc, SmoothingIntoTheInsideOfAPictureLeavesItsBorder)
{
    Random random(8);
    const Shorts first = Noise<std::int16_t>(random, 20, 14, 0, 2000);
    MatShort picture = ArrayOf(first);
    Shorts expected = first;
    for (int pass = 0; pass < 5; pass++) {
        MatShort smoothed;
        smoothed.Smooth(picture);
        picture(RNG(1, 18), RNG(1, 12)) = smoothed;

        const Shorts inside = reference::SmoothShort(expected);
        for (int y = 0; y < inside.h; y++)
            for (int x = 0; x < inside.w; x++) expected.At(x + 1, y + 1) = inside.At(x, y);
    }
    EXPECT_TRUE(Same(picture, expected));
    EXPECT_EQ(picture(0, 0), first.At(0, 0));
    EXPECT_EQ(picture(19, 13), first.At(19, 13));
}

} // namespace
