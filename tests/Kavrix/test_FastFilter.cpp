// The box filters: repeated sums of neighbours, held against plain loops and against binomial weights.
#include <tests/support/ChildProcess.h>
#include <tests/support/Pictures.h>

#include <tests/reference/Filters.h>
#include <tests/reference/Numbers.h>

#include <gtest/gtest.h>

#include <climits>
#include <utility>
#include <vector>

namespace {

using namespace pictures;

const char* const invalidRange = "RNG: Invalid range selection";

/// One row of Pascal's triangle, after `differences` (0 or 1) rows of the difference first: what `sums` sums
/// of neighbours make of a row of pixels.
std::vector<std::int64_t> Weights(int differences, int sums)
{
    std::vector<std::int64_t> weights = {1};
    if (differences == 1) weights = {1, -1};
    for (int pass = 0; pass < sums; pass++) {
        weights.push_back(0);
        for (std::size_t i = weights.size() - 1; i > 0; i--) weights[i] += weights[i - 1];
    }
    return weights;
}

/// The free filter by weights instead of passes; `divisors` are those after the columns and at the end.
Shorts ByWeights(const Bytes& picture, int v_passes, int h_passes)
{
    const int differencesX = v_passes < 0 ? 1 : 0, differencesY = h_passes < 0 ? 1 : 0;
    const int sumsX = v_passes < 0 ? -v_passes - 1 : v_passes,
              sumsY = h_passes < 0 ? -h_passes - 1 : h_passes;
    const std::vector<std::int64_t> alongX = Weights(differencesX, sumsX),
                                    alongY = Weights(differencesY, sumsY);
    const int sign = differencesX != differencesY ? -1 : 1;
    const bool early = sumsX + sumsY > 7;
    const std::int64_t first = early ? sign * (std::int64_t{1} << sumsX) : 1;
    const std::int64_t last = (std::int64_t{1} << sumsY) * (early ? 1 : sign * (std::int64_t{1} << sumsX));

    // The weights along y apply to pixels that are divided already when that comes early. A difference along
    // y comes before it, and so does its rounding.
    const auto width = static_cast<int>(alongX.size()), height = static_cast<int>(alongY.size());
    Shorts out(picture.w - width + 1, picture.h - height + 1);
    const std::vector<std::int64_t> sumsAlongY = Weights(0, sumsY);
    for (int y = 0; y < out.h; y++) {
        for (int x = 0; x < out.w; x++) {
            std::int64_t sum = 0;
            for (int j = 0; j <= sumsY; j++) {
                std::int64_t row = 0;
                for (int i = 0; i < width; i++) {
                    const int below = differencesY == 1 ? picture.At(x + i, y + j + 1) : 0;
                    row += alongX[static_cast<std::size_t>(i)] * (picture.At(x + i, y + j) - below);
                }
                sum += sumsAlongY[static_cast<std::size_t>(j)] * (reference::Low16(row) / first);
            }
            out.At(x, y) = reference::Low16(reference::Low16(sum) / last);
        }
    }
    return out;
}

/// Noise, dark noise whose sums stay small, contrasts that wrap, and single rows and columns.
std::vector<Bytes> ByteSamples(Random& random, int w, int h)
{
    return {Noise<std::uint8_t>(random, w, h),
            Noise<std::uint8_t>(random, w, h, 0, 3),
            Salt<std::uint8_t>(random, w, h, 0, 255),
            Checkerboard<std::uint8_t>(w, h, 255, 0),
            Bytes(w, h, 255),
            OneRow<std::uint8_t>(w, h, h / 2, 255),
            OneColumn<std::uint8_t>(w, h, w / 2, 255)};
}

std::vector<Shorts> ShortSamples(Random& random, int w, int h)
{
    const std::int16_t low = -32768, high = 32767;
    return {Noise<std::int16_t>(random, w, h),           Noise<std::int16_t>(random, w, h, 0, 255),
            Noise<std::int16_t>(random, w, h, -20, 20),  Salt<std::int16_t>(random, w, h, low, high),
            Checkerboard<std::int16_t>(w, h, low, high), Shorts(w, h, low),
            OneRow<std::int16_t>(w, h, h / 2, high)};
}

Shorts Filtered(const Bytes& picture, int v_passes, int h_passes)
{
    return PictureOf(FastFilter(ArrayOf(picture), v_passes, h_passes));
}

void ExpectInvalidRange(const std::function<void()>& routine)
{
    const FailStop stop = RunUntilHalt(routine);
    EXPECT_TRUE(stop.halted) << stop.state;
    EXPECT_EQ(stop.line, ErrorLine(invalidRange));
}

// ---------------------------------------------------------------------------------- the free function

TEST(FastFilter, OneNegativePassAlongXGivesTheRightNeighbourMinusThePixel)
{
    Random random(1);
    const Bytes picture = Noise<std::uint8_t>(random, 9, 5);
    const Shorts got = Filtered(picture, -1, 0);
    ASSERT_EQ(got.w, 8);
    ASSERT_EQ(got.h, 5);
    for (int y = 0; y < 5; y++)
        for (int x = 0; x < 8; x++) EXPECT_EQ(got.At(x, y), picture.At(x + 1, y) - picture.At(x, y));
}

TEST(FastFilter, OneNegativePassAlongYGivesTheLowerNeighbourMinusThePixel)
{
    Random random(2);
    const Bytes picture = Noise<std::uint8_t>(random, 5, 9);
    const Shorts got = Filtered(picture, 0, -1);
    ASSERT_EQ(got.w, 5);
    ASSERT_EQ(got.h, 8);
    for (int y = 0; y < 8; y++)
        for (int x = 0; x < 5; x++) EXPECT_EQ(got.At(x, y), picture.At(x, y + 1) - picture.At(x, y));
}

TEST(FastFilter, TheFirstCountIsForColumnsAndTheSecondForRows)
{
    const Bytes picture(9, 9, 1);
    const Shorts three = Filtered(picture, 3, 0), four = Filtered(picture, 0, 4);
    EXPECT_EQ(three.w, 6);
    EXPECT_EQ(three.h, 9);
    EXPECT_EQ(four.w, 9);
    EXPECT_EQ(four.h, 5);
}

TEST(FastFilter, OnePassEachWayKeepsAConstantPicture)
{
    for (int value = 0; value <= 255; value++) {
        const Shorts got = Filtered(Bytes(7, 6, static_cast<std::uint8_t>(value)), 1, 1);
        ASSERT_TRUE(Same(got, Shorts(6, 5, static_cast<std::int16_t>(value)))) << value;
    }
}

TEST(FastFilter, NoPassGivesTheBytesThemselves)
{
    Random random(3);
    const Bytes picture = Noise<std::uint8_t>(random, 6, 4);
    const Shorts got = Filtered(picture, 0, 0);
    ASSERT_EQ(got.w, 6);
    ASSERT_EQ(got.h, 4);
    for (std::size_t i = 0; i < picture.a.size(); i++) EXPECT_EQ(got.a[i], picture.a[i]);
}

// With 5 passes along x and 4 along y the sum of 9 divides by 32 after the columns and by 16 at the end. A
// column of 6 x 5 pixels whose rows round differently shows where.
TEST(FastFilter, MoreThanSevenPassesDivideAfterTheColumnsAndAgainAtTheEnd)
{
    Bytes picture(6, 5);
    for (int y = 0; y < 5; y++) picture.At(0, y) = 31; // each row's sum: 31, divided by 32: 0
    EXPECT_EQ(Filtered(picture, 5, 4).At(0, 0), 0);    // undivided: 16 * 31 / 512 = 0 as well
    picture.At(1, 2) = 7;                              // the row's sum: 31 + 5 * 7 = 66, 2
    EXPECT_EQ(Filtered(picture, 5, 4).At(0, 0), 0);    // 6 * 2 / 16
    for (int y = 0; y < 5; y++) picture.At(1, y) = 7;
    EXPECT_EQ(Filtered(picture, 5, 4).At(0, 0), 2);   // 16 * 2 / 16; the exact sum is 2.06
    for (int y = 0; y < 5; y++) picture.At(1, y) = 6; // 61 / 32 = 1
    EXPECT_EQ(Filtered(picture, 5, 4).At(0, 0), 1);   // the exact sum is 1.9
}

TEST(FastFilter, SevenPassesDivideOnlyAtTheEnd)
{
    // 4 along x and 3 along y: rows of 15 would become 0 if each was divided by 16.
    Bytes picture(5, 4);
    for (int y = 0; y < 4; y++) picture.At(0, y) = 15;
    picture.At(0, 1) = picture.At(0, 2) = 17;
    EXPECT_EQ(Filtered(picture, 4, 3).At(0, 0), 1); // (15 + 3 * 17 + 3 * 17 + 15) / 128 = 132 / 128
    // One more along y, and each row is divided by itself: 0, 1, 1, 0, 0, weighted 1 4 6 4 1.
    Bytes taller(5, 5);
    for (int y = 0; y < 4; y++) taller.At(0, y) = picture.At(0, y);
    EXPECT_EQ(Filtered(taller, 4, 4).At(0, 0), 0); // (4 + 6) / 16
    taller.At(0, 0) = taller.At(0, 3) = taller.At(0, 4) = 16;
    EXPECT_EQ(Filtered(taller, 4, 4).At(0, 0), 1); // 16 / 16
    taller.At(0, 4) = 15;
    EXPECT_EQ(Filtered(taller, 4, 4).At(0, 0), 0); // 15 / 16; without the division between, 265 / 256
}

// The difference takes the place of a sum: -5 means four sums, so that -5 and 3 are seven, -5 and 4 eight.
TEST(FastFilter, PassesAreCountedAfterTheDifference)
{
    Bytes picture(6, 5);
    for (int y = 0; y < 5; y++) picture.At(5, y) = 15; // the last column: weight -1 before the divisor -16
    EXPECT_EQ(Filtered(picture, -5, 3).At(0, 0), 0);   // 8 * 15 / 128
    picture.At(5, 1) = picture.At(5, 2) = 17;
    EXPECT_EQ(Filtered(picture, -5, 3).At(0, 0), 1); // 132 / 128
    EXPECT_EQ(Filtered(picture, -5, 4).At(0, 0), 0); // 0, 1, 1, 0, 0 weighted 1 4 6 4 1: 10 / 16
}

TEST(FastFilter, DivisionTruncatesTowardsZero)
{
    Bytes picture(3, 1);
    picture.At(0, 0) = 1; // the difference 1, 0, its sum 1; divided by -2
    EXPECT_EQ(Filtered(picture, -2, 0).At(0, 0), 0);
    picture.At(0, 0) = 3;
    EXPECT_EQ(Filtered(picture, -2, 0).At(0, 0), -1); // not -2
    picture.At(0, 0) = 0;
    picture.At(2, 0) = 3;
    EXPECT_EQ(Filtered(picture, -2, 0).At(0, 0), 1);
}

TEST(FastFilter, EveryCountOfPassesMatchesThePlainLoops)
{
    Random random(4);
    for (const Bytes& picture : ByteSamples(random, 19, 13)) {
        for (int v = -4; v <= 8; v++)
            for (int h = -4; h <= 8; h++)
                ASSERT_TRUE(Same(Filtered(picture, v, h), reference::FastFilter(picture, v, h)))
                    << v << " along x, " << h << " along y";
    }
}

TEST(FastFilter, EveryCountOfPassesMatchesItsBinomialWeights)
{
    Random random(5);
    for (const Bytes& picture : ByteSamples(random, 16, 12)) {
        for (int v = -4; v <= 8; v++)
            for (int h = -4; h <= 8; h++)
                ASSERT_TRUE(Same(Filtered(picture, v, h), ByWeights(picture, v, h)))
                    << v << " along x, " << h << " along y";
    }
}

TEST(FastFilter, EveryWidthMatchesThePlainLoops)
{
    Random random(6);
    for (int w = 1; w <= 70; w++) {
        const Bytes picture = Noise<std::uint8_t>(random, w, 7);
        for (const auto& [v, h] : {std::pair{0, 0}, {1, 1}, {-1, 2}, {2, -1}, {-2, -2}, {4, 4}, {6, 3}}) {
            if ((v < 0 ? -v : v) >= w) continue;
            ASSERT_TRUE(Same(Filtered(picture, v, h), reference::FastFilter(picture, v, h)))
                << w << " wide, " << v << " along x, " << h << " along y";
        }
    }
}

// From 15 passes in one direction on the divisor has wrapped: first to -32768, then to 0.
TEST(FastFilter, DivisorsThatWrapMatchThePlainLoops)
{
    Random random(7);
    for (const Bytes& picture : ByteSamples(random, 21, 20)) {
        for (const int many : {14, 15, 16, 17, 18, -15, -16, -17, -18}) {
            for (const int other : {-1, 0, 1, 3}) {
                ASSERT_TRUE(Same(Filtered(picture, many, other), reference::FastFilter(picture, many, other)))
                    << many << " along x, " << other << " along y";
                ASSERT_TRUE(Same(Filtered(picture, other, many), reference::FastFilter(picture, other, many)))
                    << other << " along x, " << many << " along y";
            }
        }
    }
}

TEST(FastFilter, ADivisorThatWrappedToZeroGivesZero)
{
    Random random(8);
    const Bytes picture = Noise<std::uint8_t>(random, 20, 20, 1, 255);
    EXPECT_TRUE(Same(Filtered(picture, 16, 0), Shorts(4, 20)));
    EXPECT_TRUE(Same(Filtered(picture, 0, 16), Shorts(20, 4)));
    EXPECT_TRUE(Same(Filtered(picture, 17, 2), Shorts(3, 18)));
    EXPECT_TRUE(Same(Filtered(picture, -17, 0), Shorts(3, 20)));
}

TEST(FastFilter, ReadsAnyViewAndLeavesItUntouched)
{
    Random random(9);
    for (const Layout& layout : viewLayouts) {
        for (const Bytes& picture : ByteSamples(random, 13, 12)) {
            for (const auto& [v, h] : {std::pair{2, 2}, {-1, 0}, {0, -1}, {-3, 2}, {5, 4}, {8, 8}}) {
                Laid<std::uint8_t> laid(picture, layout, random);
                ASSERT_TRUE(Same(FastFilter(laid.view, v, h), reference::FastFilter(picture, v, h)))
                    << layout << ", " << v << " along x, " << h << " along y";
                ASSERT_TRUE(Same(laid.view, picture)) << layout;
                ASSERT_TRUE(laid.SurroundingsUntouched()) << layout;
            }
        }
    }
}

TEST(FastFilter, ReadsAFrameOfASequence)
{
    Random random(10);
    const Sequence seq = NoiseSequence(random, 17, 9, 3);
    const CubByte frames = ArrayOf(seq);
    for (int t = 0; t < 3; t++)
        EXPECT_TRUE(Same(FastFilter(frames(RNG::All(), RNG::All(), t), 3, -2),
                         reference::FastFilter(seq.Frame(t), 3, -2)));
    EXPECT_EQ(SequenceOf(frames), seq);
}

TEST(FastFilter, TheResultIsAViewThatKeepsItsStorageAlive)
{
    const int blocks = Datablock::nblocks;
    {
        const MatShort result = FastFilter(ArrayOf(Bytes(20, 10, 9)), 4, 3);
        EXPECT_EQ(Datablock::nblocks, blocks + 1);
        ASSERT_NE(result.pblock, nullptr);
        EXPECT_EQ(result.pblock->nrefs, 1);
        EXPECT_EQ(result.pblock->len, 200); // of the source's size
        EXPECT_EQ(result.p_data, result.pblock->ptr);
        EXPECT_EQ(result.step1, 1);
        EXPECT_EQ(result.step2, 20);
        EXPECT_TRUE(Same(result, Shorts(16, 7, 9)));
    }
    EXPECT_EQ(Datablock::nblocks, blocks);
}

TEST(FastFilter, OnePixelMayBeLeftButNotNone)
{
    Random random(11);
    const Bytes picture = Noise<std::uint8_t>(random, 6, 5);
    for (const int v : {5, -5})
        for (const int h : {4, -4})
            EXPECT_TRUE(Same(Filtered(picture, v, h), reference::FastFilter(picture, v, h))) << v << ' ' << h;

    for (const auto& [v, h] : {std::pair{6, 0}, {-6, 0}, {0, 5}, {0, -5}, {40, 0}, {5, 5}})
        ExpectInvalidRange([&, v = v, h = h] { FastFilter(ArrayOf(picture), v, h); });
}

TEST(FastFilter, TheLargestAndLowestCountsStopWithoutOverflow)
{
    const MatByte picture = ArrayOf(Bytes(12, 11, 200));
    for (const auto& [v, h] : {std::pair{INT_MIN, 0},
                               {0, INT_MIN},
                               {INT_MAX, 0},
                               {0, INT_MAX},
                               {INT_MIN, INT_MIN},
                               {INT_MAX, INT_MAX}})
        ExpectInvalidRange([&, v = v, h = h] { FastFilter(picture, v, h); });
    // One column: the counts are added although there is none along x to make.
    ExpectInvalidRange([] { FastFilter(ArrayOf(Bytes(1, 9, 200)), 0, INT_MAX); });
}

TEST(FastFilter, AnEmptyPictureHasNoPixelToFilter)
{
    ExpectInvalidRange([] { FastFilter(MatByte(), 0, 0); });
    ExpectInvalidRange([] { FastFilter(MatByte(), 1, 1); });
    ExpectInvalidRange([] { MatByte().FastFilter(0); });
    ExpectInvalidRange([] { MatShort().FastFilter(0); });
}

// ---------------------------------------------------------------------------------- the members

TEST(FastFilter, TwoPassesOverShortsAverageThreeByThreePixelsBinomially)
{
    Random random(12);
    const Shorts picture = Noise<std::int16_t>(random, 5, 5, -2000, 2000);
    MatShort m = ArrayOf(picture);
    const MatShort result = m.FastFilter(2);
    ASSERT_EQ(result.dim1, 3);
    ASSERT_EQ(result.dim2, 3);
    const int weight[3] = {1, 2, 1};
    for (int y = 0; y < 3; y++) {
        for (int x = 0; x < 3; x++) {
            int sum = 0;
            for (int j = 0; j < 3; j++)
                for (int i = 0; i < 3; i++) sum += weight[i] * weight[j] * picture.At(x + i, y + j);
            EXPECT_EQ(result(x, y), sum / 16) << x << ' ' << y;
        }
    }
}

TEST(FastFilter, TheMembersShareTheirResultWithTheMatrix)
{
    MatShort shorts = ArrayOf(Shorts(9, 8, 100));
    MatShort part = shorts.FastFilter(3);
    EXPECT_EQ(part.p_data, shorts.p_data);
    EXPECT_EQ(part.pblock, shorts.pblock);
    EXPECT_EQ(part.step2, shorts.step2);
    part(2, 2) = -7;
    EXPECT_EQ(shorts(2, 2), -7);

    MatByte bytes = ArrayOf(Bytes(9, 8, 3));
    MatByte bytePart = bytes.FastFilter(3);
    EXPECT_EQ(bytePart.p_data, bytes.p_data);
    EXPECT_TRUE(Same(bytePart, Bytes(6, 5, 3)));
}

// The comparison is of the whole matrix: outside the result lie the partial sums.
TEST(FastFilter, ShortsMatchThePlainLoopsInAndOutsideTheResult)
{
    Random random(13);
    for (const Shorts& picture : ShortSamples(random, 17, 15)) {
        for (int passes = 0; passes <= 10; passes++) {
            Shorts wanted = picture;
            const Shorts region = reference::FastFilterShort(wanted, passes);
            MatShort m = ArrayOf(picture);
            ASSERT_TRUE(Same(m.FastFilter(passes), region)) << passes;
            ASSERT_TRUE(Same(m, wanted)) << passes;
        }
    }
}

TEST(FastFilter, BytesMatchThePlainLoopsInAndOutsideTheResult)
{
    Random random(14);
    for (const Bytes& picture : ByteSamples(random, 17, 15)) {
        for (int passes = 0; passes <= 8; passes++) {
            Bytes wanted = picture;
            const Bytes region = reference::FastFilterByte(wanted, passes);
            MatByte m = ArrayOf(picture);
            ASSERT_TRUE(Same(m.FastFilter(passes), region)) << passes;
            ASSERT_TRUE(Same(m, wanted)) << passes;
        }
    }
}

TEST(FastFilter, MembersFilterEveryWidth)
{
    Random random(15);
    for (int w = 4; w <= 70; w++) {
        Shorts shorts = Noise<std::int16_t>(random, w, 6);
        MatShort m = ArrayOf(shorts);
        ASSERT_TRUE(Same(m.FastFilter(3), reference::FastFilterShort(shorts, 3))) << w;
        Bytes bytes = Noise<std::uint8_t>(random, w, 6);
        MatByte b = ArrayOf(bytes);
        ASSERT_TRUE(Same(b.FastFilter(3), reference::FastFilterByte(bytes, 3))) << w;
    }
}

TEST(FastFilter, MembersWriteOnlyIntoTheirView)
{
    Random random(16);
    for (const Layout& layout : viewLayouts) {
        for (const int passes : {0, 1, 2, 5, 8}) {
            Shorts shorts = Noise<std::int16_t>(random, 12, 11);
            Laid<std::int16_t> laidShorts(shorts, layout, random);
            const Shorts shortRegion = reference::FastFilterShort(shorts, passes);
            ASSERT_TRUE(Same(laidShorts.view.FastFilter(passes), shortRegion)) << layout << ", " << passes;
            ASSERT_TRUE(Same(laidShorts.view, shorts)) << layout << ", " << passes;
            ASSERT_TRUE(laidShorts.SurroundingsUntouched()) << layout << ", " << passes;

            Bytes bytes = Noise<std::uint8_t>(random, 12, 11);
            Laid<std::uint8_t> laidBytes(bytes, layout, random);
            const Bytes byteRegion = reference::FastFilterByte(bytes, passes);
            ASSERT_TRUE(Same(laidBytes.view.FastFilter(passes), byteRegion)) << layout << ", " << passes;
            ASSERT_TRUE(Same(laidBytes.view, bytes)) << layout << ", " << passes;
            ASSERT_TRUE(laidBytes.SurroundingsUntouched()) << layout << ", " << passes;
        }
    }
}

TEST(FastFilter, ByteSumsWrapAt256)
{
    MatByte m = ArrayOf(Bytes(2, 2, 100));
    EXPECT_TRUE(Same(m.FastFilter(1), Bytes(1, 1, (400 - 256) / 4)));
}

TEST(FastFilter, FromFourPassesOnTheByteDivisorIsZeroAndSoIsTheResult)
{
    Random random(17);
    for (const int passes : {4, 5, 9}) {
        MatByte m = ArrayOf(Noise<std::uint8_t>(random, 12, 12, 1, 255));
        EXPECT_TRUE(Same(m.FastFilter(passes), Bytes(12 - passes, 12 - passes))) << passes;
    }
}

TEST(FastFilter, FromEightPassesOnTheShortDivisorIsZeroAndSoIsTheResult)
{
    Random random(18);
    for (const int passes : {8, 9, 11}) {
        MatShort m = ArrayOf(Noise<std::int16_t>(random, 12, 12, 1, 255));
        EXPECT_TRUE(Same(m.FastFilter(passes), Shorts(12 - passes, 12 - passes))) << passes;
    }
}

TEST(FastFilter, MembersLeaveOnePixelButNotNone)
{
    Shorts shorts(5, 7, 50);
    MatShort m = ArrayOf(shorts);
    EXPECT_TRUE(Same(m.FastFilter(4), reference::FastFilterShort(shorts, 4)));
    for (const int passes : {5, 6, 1000, INT_MAX}) {
        ExpectInvalidRange([passes] { ArrayOf(Shorts(5, 7, 50)).FastFilter(passes); });
        ExpectInvalidRange([passes] { ArrayOf(Bytes(7, 5, 50)).FastFilter(passes); });
    }
}

TEST(FastFilter, MembersRefuseNegativeCounts)
{
    for (const int passes : {-1, -2, INT_MIN}) {
        ExpectInvalidRange([passes] { ArrayOf(Shorts(5, 7, 50)).FastFilter(passes); });
        ExpectInvalidRange([passes] { ArrayOf(Bytes(7, 5, 50)).FastFilter(passes); });
    }
}

} // namespace
