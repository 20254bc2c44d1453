// The sliding sum under a pattern, the bounds of such sums and the search for the ring, held against one
// addition per cell and place.
#include <tests/support/Pictures.h>

#include <tests/reference/Ring.h>

#include <Kavrix/inner/PatternSums.h>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <ostream>
#include <utility>
#include <vector>

namespace {

using namespace pictures;

constexpr float infinity = std::numeric_limits<float>::infinity();
constexpr float notANumber = std::numeric_limits<float>::quiet_NaN();

struct Size2 {
    int w, h;
};

Ints Sums(const Shorts& picture, const Bytes& pattern)
{
    return PictureOf(SumPattern(ArrayOf(picture), ArrayOf(pattern)));
}

/// Patterns of every kind: scattered cells, runs, gaps, nothing, everything, one-sided.
std::vector<Bytes> Patterns(Random& random, int w, int h)
{
    std::vector<Bytes> patterns = {Bytes(w, h),
                                   Bytes(w, h, 255),
                                   Checkerboard<std::uint8_t>(w, h, 0, 255),
                                   Salt<std::uint8_t>(random, w, h, 0, 255),
                                   Noise<std::uint8_t>(random, w, h, 0, 1),
                                   OneRow<std::uint8_t>(w, h, h - 1, 255),
                                   OneColumn<std::uint8_t>(w, h, 0, 255)};
    Bytes corner(w, h);
    corner.At(w - 1, 0) = 1;
    patterns.push_back(corner);
    Bytes runs(w, h);
    for (int y = 0; y < h; y++)
        for (int x = 0; x < w; x++) runs.At(x, y) = (x + y) % 5 < 3 ? 7 : 0;
    patterns.push_back(runs);
    Bytes triangle(w, h);
    for (int y = 0; y < h; y++)
        for (int x = 0; x <= y && x < w; x++) triangle.At(x, y) = 255;
    patterns.push_back(triangle);
    return patterns;
}

TEST(SumPattern, AnyPatternMatchesThePlainVersion)
{
    Random random(71);
    const std::vector<Size2> patternSizes = {{1, 1}, {2, 1}, {1, 4}, {3, 3}, {5, 4}, {8, 3}, {17, 16}};
    for (const auto& [pw, ph] : patternSizes) {
        for (const Bytes& pattern : Patterns(random, pw, ph)) {
            for (const auto& [ow, oh] :
                 std::vector<Size2>{{1, 1}, {1, 6}, {7, 1}, {15, 4}, {16, 3}, {17, 5}, {33, 9}}) {
                const Shorts picture = Noise<std::int16_t>(random, pw + ow - 1, ph + oh - 1);
                const Ints sums = Sums(picture, pattern);
                ASSERT_TRUE(Same(sums, reference::SumPattern(picture, pattern)))
                    << pw << " x " << ph << " over " << picture.w << " x " << picture.h;
                ASSERT_TRUE(Same(sums, reference::SumPatternByRuns(picture, pattern)));
            }
        }
    }
}

TEST(SumPattern, ItIsAConvolution)
{
    // The set cell in the corner opposite to the picture's: the pattern lies flipped.
    Shorts picture(4, 3);
    picture.At(3, 2) = 5;
    Bytes pattern(2, 2);
    pattern.At(0, 0) = 1;
    Ints wanted(3, 2);
    wanted.At(2, 1) = 5;
    EXPECT_TRUE(Same(Sums(picture, pattern), wanted));
}

TEST(SumPattern, AnyValueButZeroCountsOnce)
{
    Random random(72);
    const Shorts picture = Noise<std::int16_t>(random, 20, 15);
    Bytes ones = Noise<std::uint8_t>(random, 5, 6, 0, 1), values = ones;
    for (std::uint8_t& value : values.a)
        if (value != 0) value = static_cast<std::uint8_t>(Between(random, 1, 255));
    EXPECT_TRUE(Same(Sums(picture, values), Sums(picture, ones)));
}

TEST(SumPattern, ViewsOfAnyStridesMatchThePlainVersion)
{
    Random random(73);
    for (const Layout& pictureLayout : viewLayouts) {
        for (const Layout& patternLayout : viewLayouts) {
            const Shorts picture = Noise<std::int16_t>(random, 21, 14);
            const Bytes pattern = Salt<std::uint8_t>(random, 6, 5, 0, 255);
            const Laid<short> simg(picture, pictureLayout, random);
            const Laid<UBYTE> cells(pattern, patternLayout, random);
            EXPECT_TRUE(Same(SumPattern(simg.view, cells.view), reference::SumPattern(picture, pattern)))
                << pictureLayout << "; " << patternLayout;
            EXPECT_TRUE(simg.SurroundingsUntouched() && cells.SurroundingsUntouched());
        }
    }
}

TEST(SumPattern, SumsWrapAt32Bits)
{
    // 300 * 300 times an extreme value is past 2^31, in every run of cells and in the running sums.
    for (std::int16_t value : {std::int16_t{32767}, std::int16_t{-32768}}) {
        const Shorts picture(303, 302, value);
        const Bytes pattern(300, 300, 255);
        const Ints sums = Sums(picture, pattern);
        EXPECT_TRUE(Same(sums, reference::SumPattern(picture, pattern)));
        EXPECT_EQ(sums.At(0, 0), static_cast<std::int32_t>(std::int64_t{90000} * value -
                                                           (value > 0 ? 1ll << 32 : -(1ll << 32))));
    }
}

TEST(SumPattern, PatternLargerByOneLeavesNoPlace)
{
    MatShort picture(5, 5);
    picture.Fill(3);
    for (const auto& [w, h] : {std::pair{6, 5}, std::pair{5, 6}, std::pair{6, 6}}) {
        MatByte pattern(w, h);
        pattern.Fill(1);
        const MatInt sums = SumPattern(picture, pattern);
        EXPECT_EQ(sums.dim1, 6 - w);
        EXPECT_EQ(sums.dim2, 6 - h);
    }
}

TEST(SumPattern, RunningSumsMayWrapWhereTheSumsDoNot)
{
    // A row of 70000 extreme values: the running sum along it wraps, the sums of 3 cells do not.
    const Shorts picture(70000, 1, 32767);
    const Bytes pattern(3, 1, 255);
    EXPECT_TRUE(Same(Sums(picture, pattern), Ints(69998, 1, 3 * 32767)));
}

// ---------------------------------------------------------------------------------- bounds

using kavrix::inner::tileSide;

/// The cells of a pattern that lies flipped.
kavrix::inner::Runs RunsOf(const Bytes& pattern) { return kavrix::inner::FlippedRuns(ArrayOf(pattern)); }

/// Whether the bound of every block is at least every sum in it, none of which is left out.
testing::AssertionResult AreBounds(const Ints& bounds, const Ints& sums)
{
    if (bounds.w != (sums.w - 1) / tileSide + 1 || bounds.h != (sums.h - 1) / tileSide + 1)
        return testing::AssertionFailure() << bounds.w << " x " << bounds.h << " blocks";
    for (int y = 0; y < sums.h; y++)
        for (int x = 0; x < sums.w; x++)
            if (bounds.At(x / tileSide, y / tileSide) < sums.At(x, y))
                return testing::AssertionFailure() << sums.At(x, y) << " at " << x << ", " << y << " over "
                                                   << bounds.At(x / tileSide, y / tileSide);
    return testing::AssertionSuccess();
}

/// Pictures without negative pixels: noise, many equal values, few bright pixels, extremes, one bright edge
/// each.
std::vector<Shorts> PicturesForBounds(Random& random, int w, int h)
{
    std::vector<Shorts> pictures = {Noise<std::int16_t>(random, w, h, 0, 32767),
                                    Noise<std::int16_t>(random, w, h, 0, 2),
                                    Salt<std::int16_t>(random, w, h, 0, 32767),
                                    Shorts(w, h),
                                    Shorts(w, h, 32767),
                                    OneRow<std::int16_t>(w, h, 0, 999),
                                    OneRow<std::int16_t>(w, h, h - 1, 999),
                                    OneColumn<std::int16_t>(w, h, 0, 999),
                                    OneColumn<std::int16_t>(w, h, w - 1, 999)};
    Shorts spikes(w, h);
    for (int i = 0; i < 5; i++)
        spikes.At(Between(random, 0, w - 1), Between(random, 0, h - 1)) =
            static_cast<std::int16_t>(Between(random, 1, 32767));
    pictures.push_back(spikes);
    return pictures;
}

TEST(SumBounds, NoSumOfABlockExceedsItsBoundForRingsOfAnyRadius)
{
    Random random(78);
    for (int r2 = 0; r2 <= 30; r2++) {
        for (const int r1 : {0, r2 / 2, r2}) {
            const Bytes ring = reference::RingPattern(static_cast<float>(r1), static_cast<float>(r2));
            const int w = ring.w + Between(random, 0, 13), h = ring.h + Between(random, 0, 13);
            const auto runs = kavrix::inner::RingRuns(r2, static_cast<float>(r1), static_cast<float>(r2));
            for (const Shorts& picture : PicturesForBounds(random, w, h)) {
                const Ints bounds = PictureOf(kavrix::inner::SumBounds(ArrayOf(picture), runs));
                EXPECT_TRUE(AreBounds(bounds, reference::SumPatternByRuns(picture, ring)))
                    << r1 << ", " << r2 << " in " << w << " x " << h;
            }
        }
    }
}

TEST(SumBounds, NoSumOfABlockExceedsItsBoundForAnyPattern)
{
    Random random(79);
    for (const auto& [pw, ph] : std::vector<Size2>{{1, 1}, {4, 1}, {5, 9}, {8, 3}, {17, 16}}) {
        for (const Bytes& pattern : Patterns(random, pw, ph)) {
            const int w = pw + Between(random, 0, 20), h = ph + Between(random, 0, 20);
            for (const Shorts& picture : PicturesForBounds(random, w, h)) {
                const Ints bounds = PictureOf(kavrix::inner::SumBounds(ArrayOf(picture), RunsOf(pattern)));
                EXPECT_TRUE(AreBounds(bounds, reference::SumPattern(picture, pattern)))
                    << pw << " x " << ph << " over " << w << " x " << h;
            }
        }
    }
}

TEST(SumBounds, TheBoundOfASingleCellIsItsTilesSum)
{
    Random random(80);
    const Shorts picture = Noise<std::int16_t>(random, 3 * tileSide - 1, 2 * tileSide, 0, 32767);
    Ints tiles(3, 2);
    for (int y = 0; y < picture.h; y++)
        for (int x = 0; x < picture.w; x++) tiles.At(x / tileSide, y / tileSide) += picture.At(x, y);
    EXPECT_TRUE(Same(PictureOf(kavrix::inner::SumBounds(ArrayOf(picture), RunsOf(Bytes(1, 1, 1)))), tiles));
}

TEST(SumBounds, ThereAreNoneWhereAPixelIsNegativeOrASumMightLeave32Bits)
{
    const auto haveBounds = [](const Shorts& picture, const Bytes& pattern) {
        return kavrix::inner::SumBounds(ArrayOf(picture), RunsOf(pattern)).p_data != nullptr;
    };
    Shorts picture(20, 20, 5);
    EXPECT_TRUE(haveBounds(picture, Bytes(5, 5, 1)));
    picture.At(19, 19) = -1;
    EXPECT_FALSE(haveBounds(picture, Bytes(5, 5, 1)));

    // 65,538 pixels of 32,767 are the most that 31 bits hold; 244 + 2 tiles' sides are touched each way.
    EXPECT_TRUE(haveBounds(Shorts(400, 400, 32767), Bytes(244, 244, 1)));
    EXPECT_FALSE(haveBounds(Shorts(400, 400, 32767), Bytes(256, 256, 1)));
    // Bright pixels far apart: nothing can sum to more than the picture.
    Shorts sparse(400, 400);
    sparse.At(7, 7) = sparse.At(390, 390) = 32767;
    EXPECT_TRUE(haveBounds(sparse, Bytes(256, 256, 1)));
}

// ---------------------------------------------------------------------------------- the ring

struct Centre {
    float x, y;
    bool operator==(const Centre&) const = default;
};

std::ostream& operator<<(std::ostream& out, const Centre& c) { return out << c.x << ", " << c.y; }

Centre Find(const MatShort& picture, float r1, float r2)
{
    Centre c{-1, -1};
    EXPECT_EQ(FindSemiCircle(picture, r1, r2, c.x, c.y), 0);
    return c;
}

Centre Find(const Shorts& picture, float r1, float r2) { return Find(ArrayOf(picture), r1, r2); }

Centre PlainFind(const Shorts& picture, float r1, float r2)
{
    Centre c{-2, -2};
    reference::FindSemiCircle(picture, r1, r2, c.x, c.y);
    return c;
}

TEST(FindSemiCircle, RandomPicturesMatchThePlainVersion)
{
    Random random(74);
    const std::vector<std::pair<float, float>> radii = {
        {0, 0},    {0, 1},       {1, 1},       {2, 3},      {0, 2.5f},     {0.5f, 2.5f},
        {3, 5.4f}, {3.9f, 4.1f}, {1.5f, 3.5f}, {6, 6},      {2.2f, 7.7f},  {5, 3},
        {-2, 3},   {0, 9},       {1e20f, 4},   {-1e20f, 4}, {infinity, 5}, {-infinity, 5}};
    for (const auto& [r1, r2] : radii) {
        for (int i = 0; i < 6; i++) {
            const int side = 2 * static_cast<int>(std::rint(r2)) + 1;
            const int w = side + Between(random, 0, 30), h = side + Between(random, 0, 20);
            const Shorts picture =
                i % 2 ? Noise<std::int16_t>(random, w, h) : Noise<std::int16_t>(random, w, h, 0, 3);
            EXPECT_EQ(Find(picture, r1, r2), PlainFind(picture, r1, r2))
                << r1 << ", " << r2 << " in " << w << " x " << h;
        }
    }
}

TEST(FindSemiCircle, ADrawnRingIsFoundAtItsCentre)
{
    Random random(75);
    for (const auto& [cx, cy] : std::vector<std::pair<int, int>>{{30, 25}, {17, 17}, {52, 32}, {40, 20}}) {
        Shorts picture = Noise<std::int16_t>(random, 70, 50, 0, 200);
        for (int y = 0; y < 50; y++)
            for (int x = 0; x < 70; x++) {
                const int d = (x - cx) * (x - cx) + (y - cy) * (y - cy);
                if (d >= 14 * 14 && d <= 17 * 17) picture.At(x, y) = 1500;
            }
        EXPECT_EQ(Find(picture, 14, 17), (Centre{static_cast<float>(cx), static_cast<float>(cy)}));
    }
}

TEST(FindSemiCircle, RadiusZeroFindsTheFirstMaximum)
{
    Shorts picture(9, 7, 3);
    picture.At(6, 2) = picture.At(1, 4) = picture.At(8, 2) = 50;
    EXPECT_EQ(Find(picture, 0, 0), (Centre{6, 2}));
    EXPECT_EQ(Find(Shorts(9, 7, -5), 0, 0), (Centre{0, 0}));
    Shorts last(9, 7, -32768);
    last.At(8, 6) = -32767;
    EXPECT_EQ(Find(last, 0, 0), (Centre{8, 6}));
}

TEST(FindSemiCircle, TwoAndAHalfRoundsToTwo)
{
    // A 5 x 5 pattern: it fits a picture of 5 x 5 and of no less.
    EXPECT_EQ(Find(Shorts(5, 5), 0, 2.5f), (Centre{2, 2}));
    EXPECT_EQ(Find(Shorts(4, 5), 0, 2.5f), (Centre{-infinity, -infinity}));
    EXPECT_EQ(Find(Shorts(7, 7), 0, 3.5f), (Centre{-infinity, -infinity})) << "and 3.5 to 4";
    EXPECT_EQ(Find(Shorts(9, 9), 0, 3.5f), (Centre{4, 4}));
}

TEST(FindSemiCircle, TheRingFromTwoToThree)
{
    // One bright pixel: every place whose ring covers it ties, and the first of them wins.
    const std::vector<std::pair<int, int>> ring = {
        {0, -3}, {-2, -2}, {-1, -2}, {0, -2}, {1, -2}, {2, -2}, {-2, -1}, {2, -1}, {-3, 0}, {-2, 0},
        {2, 0},  {3, 0},   {-2, 1},  {2, 1},  {-2, 2}, {-1, 2}, {0, 2},   {1, 2},  {2, 2},  {0, 3}};
    Bytes pattern(7, 7);
    for (const auto& [a, b] : ring) pattern.At(3 + a, 3 + b) = 255;
    EXPECT_TRUE(Same(reference::RingPattern(2, 3), pattern));

    for (int y = -3; y <= 3; y++) {
        for (int x = -3; x <= 3; x++) {
            // A picture with one place for the ring and one that does not cover the pixel.
            Shorts picture(7, 14);
            picture.At(3 + x, 10 + y) = 9;
            bool covered = false;
            for (const auto& [a, b] : ring) covered = covered || (a == x && b == y);
            Shorts lower(7, 7);
            lower.At(3 + x, 3 + y) = 9;
            const MatInt sums = SumPattern(ArrayOf(lower), ArrayOf(pattern));
            EXPECT_EQ(sums(0, 0), covered ? 9 : 0) << x << ", " << y;
            EXPECT_EQ(Find(picture, 2, 3), PlainFind(picture, 2, 3)) << x << ", " << y;
        }
    }
}

TEST(FindSemiCircle, AnEmptyPictureGivesTheFirstPlace)
{
    EXPECT_EQ(Find(Shorts(30, 20), 3, 6), (Centre{6, 6}));
    EXPECT_EQ(Find(Shorts(13, 13), 3, 6), (Centre{6, 6}));
    EXPECT_EQ(Find(Shorts(30, 20, -7), 3, 6), (Centre{6, 6}));
}

TEST(FindSemiCircle, TiesGoToTheLowestRowAndThenTheLowestColumn)
{
    Shorts rows(20, 20), columns(20, 20);
    rows.At(12, 5) = rows.At(4, 11) = 100;
    EXPECT_EQ(Find(rows, 0, 0.4f), (Centre{12, 5}));
    columns.At(12, 5) = columns.At(7, 5) = 100;
    EXPECT_EQ(Find(columns, 0, 0.4f), (Centre{7, 5}));
}

TEST(FindSemiCircle, TheCentreKeepsTheRadiusFromEverySide)
{
    // The brightest pixel in each corner: the ring cannot reach further than its radius from the side.
    for (int corner = 0; corner < 4; corner++) {
        Shorts picture(21, 17);
        picture.At(corner % 2 ? 20 : 0, corner / 2 ? 16 : 0) = 500;
        const Centre c = Find(picture, 0, 4);
        EXPECT_GE(c.x, 4);
        EXPECT_LE(c.x, 16);
        EXPECT_GE(c.y, 4);
        EXPECT_LE(c.y, 12);
        EXPECT_EQ(c, PlainFind(picture, 0, 4));
    }
}

TEST(FindSemiCircle, APictureSmallerThanTheRingHasNoCentre)
{
    const Centre none{-infinity, -infinity};
    const int blocks = Datablock::nblocks;
    for (const auto& [w, h] : std::vector<Size2>{{12, 13}, {13, 12}, {1, 1}, {1, 100}})
        EXPECT_EQ(Find(Shorts(w, h, 5), 2, 6), none) << w << " x " << h;
    EXPECT_EQ(Find(Shorts(13, 13, 5), 2, 6), (Centre{6, 6}));
    EXPECT_EQ(Find(MatShort(), 0, 0), none);
    EXPECT_EQ(Datablock::nblocks, blocks);
}

TEST(FindSemiCircle, ARingThatCannotBeBuiltHasNoCentreAndBuildsNothingLarge)
{
    const Centre none{-infinity, -infinity};
    const Shorts picture(30, 20, 5);
    const MatShort m = ArrayOf(picture);
    const unsigned highest = Datablock::maxMemUsed();
    for (float r2 : {-1.0f, -0.6f, -1000.0f, -1e30f, -infinity, notANumber, 10.0f, 1e9f, 1073741824.0f,
                     2147483647.0f, 1e30f, infinity}) {
        EXPECT_EQ(Find(m, 0, r2), none) << r2;
        EXPECT_EQ(Find(m, notANumber, r2), none) << r2;
    }
    EXPECT_EQ(Datablock::maxMemUsed(), highest);
}

TEST(FindSemiCircle, ANegativeRadiusThatRoundsToZeroIsASingleCell)
{
    Shorts picture(9, 7);
    picture.At(5, 3) = 8;
    EXPECT_EQ(Find(picture, 0, -0.25f), (Centre{5, 3}));
    EXPECT_EQ(Find(picture, 0, -0.5f), (Centre{5, 3}));
    EXPECT_EQ(Find(picture, 0, 0.5f), (Centre{5, 3}));
}

TEST(FindSemiCircle, AnInnerRadiusThatIsNoNumberLeavesTheRingEmpty)
{
    Random random(76);
    const Shorts picture = Noise<std::int16_t>(random, 20, 16);
    EXPECT_EQ(Find(picture, notANumber, 3), (Centre{3, 3}));
    EXPECT_EQ(Find(picture, 4, 3), (Centre{3, 3}));
}

TEST(FindSemiCircle, ViewsOfAnyStridesMatchThePlainVersion)
{
    Random random(77);
    for (const int lowest : {-50, 0}) {
        for (const Layout& layout : viewLayouts) {
            const Shorts picture = Noise<std::int16_t>(random, 30, 22, lowest, 50);
            const Laid<short> laid(picture, layout, random);
            EXPECT_EQ(Find(laid.view, 2, 5), PlainFind(picture, 2, 5)) << layout;
            EXPECT_TRUE(laid.SurroundingsUntouched() && Same(laid.view, picture)) << layout;
        }
    }
}

TEST(FindSemiCircle, SumsThatWrapAreComparedAsTheyCome)
{
    // The middle of the picture is so bright that its sums wrap to negative: the search does not look for
    // them.
    Shorts picture(310, 306, 20000);
    for (int y = 0; y < 306; y++)
        for (int x = 155; x < 310; x++) picture.At(x, y) = 32767;
    const Centre found = Find(picture, 0, 150);
    Centre plain{};
    reference::FindSemiCircle(picture, 0, 150, plain.x, plain.y, reference::SumPatternByRuns);
    EXPECT_EQ(found, plain);
}

TEST(RingRuns, TheyAreTheCellsOfTheRing)
{
    std::vector<std::pair<float, float>> radii = {{infinity, 5}, {-infinity, 5}, {notANumber, 3}, {1e20f, 4},
                                                  {0, -0.25f},   {0, infinity},  {-2, 3},         {5, 3}};
    for (float r2 = 0; r2 < 12; r2 += 0.3f)
        for (float r1 = 0; r1 <= r2 + 1; r1 += 0.7f) radii.emplace_back(r1, r2);
    for (const auto& [r1, r2] : radii) {
        const int rr = r2 == infinity ? 6 : static_cast<int>(std::rint(r2));
        const auto runs = kavrix::inner::RingRuns(rr, r1, r2);
        Bytes cells(runs.width, runs.height);
        for (int i = 0; i < runs.Count(); i++)
            for (int x = runs.First(i); x <= runs.Last(i); x++) cells.At(x, runs.Row(i)) = 255;
        const Bytes plain = r2 == infinity ? Bytes(13, 13, 255) : reference::RingPattern(r1, r2);
        EXPECT_TRUE(Same(cells, plain)) << r1 << ", " << r2;
    }
}

// ---------------------------------------------------------------------------------- the search

/// Pictures that are hard to search: many ties, nothing to find, a ring in noise, extremes.
Shorts PictureForSearch(Random& random, int kind, int w, int h, int r1, int r2)
{
    switch (kind) {
    case 0: return Noise<std::int16_t>(random, w, h, 0, 2000);
    case 1: return Noise<std::int16_t>(random, w, h, 0, 1);
    case 2: return Shorts(w, h, static_cast<std::int16_t>(Between(random, 0, 32767)));
    case 3: return Noise<std::int16_t>(random, w, h, -40, 2000);
    case 4: return Salt<std::int16_t>(random, w, h, 0, 32767);
    case 5: return Checkerboard<std::int16_t>(w, h, 0, 700, Between(random, 1, 9));
    }
    Shorts picture(w, h);
    if (kind == 6) { // few pixels, most of them equal
        for (int i = Between(random, 0, 12); i > 0; i--)
            picture.At(Between(random, 0, w - 1), Between(random, 0, h - 1)) = i % 4 ? 900 : 901;
    } else if (kind == 7) { // the same over and over
        const Shorts motif = Noise<std::int16_t>(random, 8, 8, 0, 3000);
        for (int y = 0; y < h; y++)
            for (int x = 0; x < w; x++) picture.At(x, y) = motif.At(x % 8, y % 8);
    } else { // one or two equal rings, in noise or not
        if (kind % 2) picture = Noise<std::int16_t>(random, w, h, 0, 300);
        for (int i = 0; i < 2; i++) {
            const int cx = Between(random, r2, w - 1 - r2), cy = Between(random, r2, h - 1 - r2);
            for (int y = 0; y < h; y++)
                for (int x = 0; x < w; x++) {
                    const int d = (x - cx) * (x - cx) + (y - cy) * (y - cy);
                    if (r1 * r1 <= d && d <= r2 * r2) picture.At(x, y) = 1500;
                }
        }
    }
    return picture;
}

TEST(FindSemiCircle, ThousandsOfPicturesMatchTheFullSearch)
{
    Random random(81);
    for (int i = 0; i < 2000; i++) {
        const int r2 = Between(random, 0, 12), r1 = Between(random, 0, r2);
        const int w = 2 * r2 + 1 + Between(random, 0, 50), h = 2 * r2 + 1 + Between(random, 0, 30);
        const Shorts picture = PictureForSearch(random, i % 10, w, h, r1, r2);
        const float inner = static_cast<float>(r1), outer = static_cast<float>(r2);
        Centre plain{};
        reference::FindSemiCircle(picture, inner, outer, plain.x, plain.y, reference::SumPatternByRuns);
        ASSERT_EQ(Find(picture, inner, outer), plain)
            << "kind " << i % 10 << ", " << r1 << ", " << r2 << " in " << w << " x " << h;
    }
}

TEST(FindSemiCircle, EqualSumsInOneBlockAndInSeveralGoToTheFirstPlace)
{
    // With radius 0 the sums are the pixels. Every pair of pixels is equal once; all blocks have the same
    // bound.
    const int w = 2 * tileSide + 1, h = 2 * tileSide + 1;
    for (int a = 0; a < w * h; a++) {
        for (int b = a; b < w * h; b++) {
            Shorts picture(w, h);
            for (int y = 0; y < h; y += tileSide)
                for (int x = 0; x < w; x += tileSide) picture.At(x, y) = 5;
            picture.At(a % w, a / w) = picture.At(b % w, b / w) = 9;
            ASSERT_EQ(Find(picture, 0, 0), (Centre{static_cast<float>(a % w), static_cast<float>(a / w)}));
        }
    }
}

TEST(FindSemiCircle, SumsUpToTheLastOf31BitsAndPastThemMatchTheFullSearch)
{
    // All pixels are 32767. A ring of 65,538 cells or fewer has sums within 31 bits, a larger one wraps.
    Random random(82);
    for (const float r2 : {100.0f, 144.0f, 145.0f}) {
        Shorts picture(310, 305, 32767);
        for (int i = 0; i < 500; i++)
            picture.At(Between(random, 0, 309), Between(random, 0, 304)) =
                static_cast<std::int16_t>(Between(random, 0, 32767));
        Centre plain{};
        reference::FindSemiCircle(picture, 0, r2, plain.x, plain.y, reference::SumPatternByRuns);
        EXPECT_EQ(Find(picture, 0, r2), plain) << r2;
    }
}

} // namespace
