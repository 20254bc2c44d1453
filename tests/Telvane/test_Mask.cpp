// Blanking of rectangles with cut corners.
#include <Telvane/Telvane.h>

#include <tests/support/ChildProcess.h>
#include <tests/support/Wheels.h>

#include <tests/reference/Detection.h>
#include <tests/reference/Numbers.h>

#include <algorithm>
#include <climits>
#include <cstddef>
#include <cstdlib>
#include <string>
#include <vector>

#include <sys/mman.h>

namespace {

using reference::Region;

/// The pixels from l, t to r, b that are blanked, as (x, y) -> bool: everything but the cut corners. Within d
/// of two edges a pixel stays when it lies on the outer side of the diagonal, or in the outermost column.
bool InOctagon(int x, int y, int l, int t, int r, int b)
{
    if (x < l || x > r || y < t || y > b) return false;
    const int d = std::min(2 * (r - l + 1) / 7, 2 * (b - t + 1) / 7);
    const int i = std::min(x - l, r - x), j = std::min(y - t, b - y);
    if (i >= d || j >= d) return true;
    return i != 0 && i + j >= d;
}

void BlankOctagon(Sequence& seq, int l, int t, int r, int b)
{
    for (int z = 0; z < seq.n; z++)
        for (int y = 0; y < seq.h; y++)
            for (int x = 0; x < seq.w; x++)
                if (InOctagon(x, y, l, t, r, b)) seq.At(x, y, z) = 0;
}

/// Frames without any 0, so that every blanked pixel shows.
Sequence Frames(int width, int height, int frames, unsigned seed = 1)
{
    return NoiseFrames(width, height, frames, seed, 1, 255);
}

std::vector<VecInt> ToVectors(const std::vector<Region>& rectangles)
{
    std::vector<VecInt> vectors;
    for (const Region& r : rectangles) vectors.push_back(VecInt(r[0], r[1], r[2], r[3], r[4]));
    return vectors;
}

int RunMask(const CubByte& cube, const Region& iroi, const std::vector<Region>& rectangles)
{
    std::vector<VecInt> vectors = ToVectors(rectangles);
    return Mask(cube, VecInt(iroi[0], iroi[1], iroi[2], iroi[3], iroi[4]), vectors.data(),
                static_cast<int>(vectors.size()));
}

/// What Mask leaves of `seq`.
Sequence Masked(const Sequence& seq, const Region& iroi, const std::vector<Region>& rectangles)
{
    CubByte cube = ToCube(seq);
    EXPECT_EQ(RunMask(cube, iroi, rectangles), 0);
    return ToSequence(cube);
}

Sequence Masked(const Sequence& seq, const std::vector<Region>& rectangles)
{
    return Masked(seq, {0, 0, seq.w, seq.h, 1}, rectangles);
}

/// '#' where a frame is blanked.
std::vector<std::string> Drawing(const Sequence& seq, int frame = 0)
{
    std::vector<std::string> rows;
    for (int y = 0; y < seq.h; y++) {
        rows.emplace_back();
        for (int x = 0; x < seq.w; x++) rows.back() += seq.At(x, y, frame) == 0 ? '#' : '.';
    }
    return rows;
}

TEST(Mask, NoRectangleChangesNothing)
{
    const Sequence seq = Frames(20, 15, 2);
    const CubByte cube = ToCube(seq);
    VecInt whole(0, 0, 20, 15, 1);
    for (const int count : {0, -1, INT_MIN}) EXPECT_EQ(Mask(cube, whole, &whole, count), 0);
    EXPECT_EQ(Mask(cube, whole, nullptr, 0), 0);
    EXPECT_TRUE(Same(ToSequence(cube), seq));
}

TEST(Mask, SevenBySevenKeepsThreePixelsOfEachCorner)
{
    EXPECT_EQ(Drawing(Masked(Frames(9, 9, 1), {{1, 1, 7, 7, 1}})),
              (std::vector<std::string>{".........", //
                                        "...###...", //
                                        "..#####..", //
                                        ".#######.", //
                                        ".#######.", //
                                        ".#######.", //
                                        "..#####..", //
                                        "...###...", //
                                        "........."}));
}

TEST(Mask, OutermostColumnOfEachCornerStays)
{
    // Cut by 3: row 2 of the corner begins to be blanked in column 1, its column 0 stays.
    EXPECT_EQ(Drawing(Masked(Frames(11, 12, 1), {{0, 0, 11, 12, 1}})),
              (std::vector<std::string>{"...#####...", //
                                        "..#######..", //
                                        ".#########.", //
                                        "###########", //
                                        "###########", //
                                        "###########", //
                                        "###########", //
                                        "###########", //
                                        "###########", //
                                        ".#########.", //
                                        "..#######..", //
                                        "...#####..."}));
}

TEST(Mask, NarrowBoxesAreBlankedWhole)
{
    const Sequence seq = Frames(30, 30, 2);
    for (const Region& box : {Region{5, 6, 3, 20, 1}, Region{5, 6, 20, 3, 1}, Region{5, 6, 1, 1, 1}}) {
        Sequence expected = seq;
        for (int z = 0; z < 2; z++)
            for (int y = box[1]; y < box[1] + box[3]; y++)
                for (int x = box[0]; x < box[0] + box[2]; x++) expected.At(x, y, z) = 0;
        EXPECT_TRUE(Same(Masked(seq, {box}), expected)) << box[2] << " x " << box[3];
    }
}

TEST(Mask, ShorterSideDecidesTheCutOfBoth)
{
    // 40 x 10: 11 along x, 2 along y; both become 2.
    const std::vector<std::string> drawing = Drawing(Masked(Frames(40, 10, 1), {{0, 0, 40, 10, 1}}));
    EXPECT_EQ(drawing[0], ".." + std::string(36, '#') + "..");
    EXPECT_EQ(drawing[1], "." + std::string(38, '#') + ".");
    for (std::size_t y = 2; y <= 7; y++) EXPECT_EQ(drawing[y], std::string(40, '#')) << y;
    EXPECT_EQ(drawing[8], drawing[1]);
    EXPECT_EQ(drawing[9], drawing[0]);
}

TEST(Mask, OneSizeBelowTheNextCut)
{
    // 2 x 6 / 7 is 1 and 2 x 7 / 7 is 2; with a cut of 1 only the corner pixels stay.
    EXPECT_EQ(Drawing(Masked(Frames(6, 6, 1), {{0, 0, 6, 6, 1}})),
              (std::vector<std::string>{".####.", "######", "######", "######", "######", ".####."}));
    EXPECT_EQ(Drawing(Masked(Frames(4, 4, 1), {{0, 0, 4, 4, 1}})),
              (std::vector<std::string>{".##.", "####", "####", ".##."}));
}

TEST(Mask, RectangleBeyondTheLeftOrTopStartsAtZero)
{
    const Sequence seq = Frames(30, 25, 1);
    Sequence expected = seq;
    BlankOctagon(expected, 0, 0, 11, 13); // its cut is that of the part inside
    EXPECT_TRUE(Same(Masked(seq, {{-8, -6, 20, 20, 1}}), expected));
}

TEST(Mask, RectangleBeyondTheRightOrBottomEndsAtTheEdge)
{
    const Sequence seq = Frames(30, 25, 1);
    Sequence expected = seq;
    BlankOctagon(expected, 20, 18, 29, 24);
    EXPECT_TRUE(Same(Masked(seq, {{20, 18, 100, 100, 1}}), expected));
    expected = seq;
    BlankOctagon(expected, 0, 0, 29, 24);
    EXPECT_TRUE(Same(Masked(seq, {{-50, -50, 200, 200, 1}}), expected));
}

TEST(Mask, RectanglesWhollyOutsideArePassedOver)
{
    const Sequence seq = Frames(30, 25, 1);
    const std::vector<Region> outside = {{-20, 5, 20, 10, 1}, {30, 5, 10, 10, 1},   {5, -10, 10, 10, 1},
                                         {5, 25, 10, 10, 1},  {-20, -20, 5, 5, 1},  {1000, 1000, 5, 5, 1},
                                         {-21, 5, 20, 10, 1}, {5, -1000, 10, 10, 1}};
    for (const Region& r : outside) EXPECT_TRUE(Same(Masked(seq, {r}), seq)) << r[0] << ", " << r[1];
    EXPECT_TRUE(Same(Masked(seq, outside), seq));
    // One pixel further in, the first three reach the picture.
    for (const Region& r : {Region{-19, 5, 20, 10, 1}, Region{29, 5, 10, 10, 1}, Region{5, -9, 10, 10, 1},
                            Region{5, 24, 10, 10, 1}})
        EXPECT_FALSE(Same(Masked(seq, {r}), seq)) << r[0] << ", " << r[1];
}

TEST(Mask, RectanglesAfterAPassedOverOneAreBlanked)
{
    const Sequence seq = Frames(40, 30, 2);
    Sequence expected = seq;
    BlankOctagon(expected, 3, 4, 12, 17);
    BlankOctagon(expected, 8, 9, 30, 22); // the second overlaps the first
    EXPECT_TRUE(
        Same(Masked(seq, {{-50, 0, 10, 10, 1}, {3, 4, 10, 14, 1}, {0, 99, 5, 5, 1}, {8, 9, 23, 14, 1}}),
             expected));
}

TEST(Mask, EmptyRectangleAtTheEdgeIsPassedOver)
{
    // Without width it ends left of the picture there, which comes before the test of the range.
    const Sequence seq = Frames(20, 15, 1);
    for (const Region& r :
         {Region{0, 3, 0, 5, 1}, Region{-4, 3, 4, 5, 1}, Region{3, 0, 5, 0, 1}, Region{3, 3, -50, 5, 1},
          Region{3, 3, 5, -50, 1}, Region{20, 3, 0, 5, 1}, Region{3, 15, 5, 0, 1}})
        EXPECT_TRUE(Same(Masked(seq, {r}), seq)) << r[0] << ", " << r[1];
}

TEST(Mask, RegionNotAtZeroShiftsTheRectangles)
{
    const Sequence seq = Frames(40, 30, 3);
    Sequence expected = seq;
    BlankOctagon(expected, 5, 7, 24, 20);
    EXPECT_TRUE(Same(Masked(seq, {100, 50, 40, 30, 1}, {{105, 57, 20, 14, 1}}), expected));
    expected = seq;
    BlankOctagon(expected, 0, 0, 9, 5); // begins left of and above the region
    EXPECT_TRUE(Same(Masked(seq, {100, 50, 40, 30, 1}, {{90, 46, 20, 10, 1}}), expected));
    EXPECT_TRUE(Same(Masked(seq, {100, 50, 40, 30, 1}, {{60, 57, 40, 14, 1}}), seq)); // left of the region
    EXPECT_TRUE(Same(Masked(seq, {100, 50, 40, 30, 1}, {{140, 57, 9, 9, 1}}), seq));  // right of it
}

TEST(Mask, FarEdgeIsHeldInFullFramePixels)
{
    // The region's far edge is 20 + 30 - 1 in the full frame, and that bound is used in the sequence's own
    // pixels: what reaches past the region leaves the sequence, here into the picture that it is a part of.
    const Sequence all = Frames(100, 80, 2);
    CubByte cube = ToCube(all);
    EXPECT_EQ(RunMask(cube(RNG(0, 29), RNG(0, 19), RNG::All()), {20, 10, 30, 20, 1}, {{30, 15, 100, 100, 1}}),
              0);
    Sequence expected = all;
    BlankOctagon(expected, 10, 5, 49, 29);
    EXPECT_TRUE(Same(ToSequence(cube), expected));
}

TEST(Mask, VectorsOfFourElementsSuffice)
{
    const Sequence seq = Frames(30, 20, 1);
    const CubByte cube = ToCube(seq);
    VecInt rectangle(4, 3, 15, 12);
    EXPECT_EQ(Mask(cube, VecInt(0, 0, 30, 20), &rectangle, 1), 0);
    Sequence expected = seq;
    BlankOctagon(expected, 4, 3, 18, 14);
    EXPECT_TRUE(Same(ToSequence(cube), expected));
    EXPECT_EQ(ToValues(rectangle), (std::vector<std::int32_t>{4, 3, 15, 12}));
}

TEST(Mask, EveryFrameIsBlankedAlike)
{
    const Sequence seq = Masked(Frames(30, 20, 50), {{4, 3, 15, 12, 1}});
    for (int z = 1; z < 50; z++) ASSERT_EQ(Drawing(seq, z), Drawing(seq, 0)) << z;
}

TEST(Mask, SteppedAndReversedFramesAreBlankedBetweenTheirGaps)
{
    const Sequence all = Frames(90, 70, 4);
    CubByte cube = ToCube(all);
    // Every second column from 81 down to 3, every third row from 2 up, frames 3 and 1.
    const CubByte part = cube(RNG(81, 3, -2), RNG(2, 62, 3), RNG(3, 1, -2));
    ASSERT_EQ(part.dim1, 40);
    ASSERT_EQ(part.dim2, 21);
    ASSERT_EQ(part.dim3, 2);
    Sequence expected = ToSequence(part);
    EXPECT_EQ(RunMask(part, {0, 0, 40, 21, 1}, {{6, 2, 25, 15, 1}, {-3, 12, 12, 40, 1}}), 0);
    BlankOctagon(expected, 6, 2, 30, 16);
    BlankOctagon(expected, 0, 12, 8, 20);
    EXPECT_TRUE(Same(ToSequence(part), expected));

    int changedOutside = 0;
    for (int z = 0; z < all.n; z++) {
        for (int y = 0; y < all.h; y++) {
            for (int x = 0; x < all.w; x++) {
                const bool inPart = (z == 3 || z == 1) && y >= 2 && (y - 2) % 3 == 0 && (y - 2) / 3 < 21 &&
                                    x <= 81 && x >= 3 && (81 - x) % 2 == 0;
                if (!inPart && cube(x, y, z) != all.At(x, y, z)) changedOutside++;
            }
        }
    }
    EXPECT_EQ(changedOutside, 0);
}

TEST(Mask, RandomRectanglesAgreeWithTheReference)
{
    Dice dice(20);
    for (int round = 0; round < 400; round++) {
        const int w = dice.Between(1, 60), h = dice.Between(1, 50);
        const Sequence seq = Frames(w, h, dice.Between(1, 3), static_cast<unsigned>(round));
        std::vector<Region> rectangles;
        for (int k = dice.Between(1, 4); k > 0; k--) {
            rectangles.push_back({dice.Between(-20, w + 5), dice.Between(-20, h + 5), dice.Between(1, w + 30),
                                  dice.Between(1, h + 30), 1});
        }
        Sequence expected = seq, octagons = seq;
        EXPECT_EQ(reference::Mask(expected, {0, 0, w, h, 1}, rectangles), 0);
        for (const Region& r : rectangles) {
            BlankOctagon(octagons, std::max(r[0], 0), std::max(r[1], 0), std::min(r[0] + r[2], w) - 1,
                         std::min(r[1] + r[3], h) - 1);
        }
        ASSERT_TRUE(Same(octagons, expected)) << round;
        ASSERT_TRUE(Same(Masked(seq, rectangles), expected)) << round;
    }
}

TEST(Mask, RandomRectanglesInAShiftedRegionAgreeWithTheReference)
{
    Dice dice(21);
    for (int round = 0; round < 200; round++) {
        const int w = dice.Between(2, 60), h = dice.Between(2, 50);
        const Region iroi = {dice.Between(1, 1500), dice.Between(1, 1500), w, h, 1};
        const Sequence seq = Frames(w, h, 2, static_cast<unsigned>(round));
        std::vector<Region> rectangles;
        for (int k = 0; k < 2; k++) {
            const int l = dice.Between(-30, w - 1), t = dice.Between(-30, h - 1);
            rectangles.push_back({iroi[0] + l, iroi[1] + t, dice.Between(1 + std::max(-l, 0), w - l),
                                  dice.Between(1 + std::max(-t, 0), h - t), 1});
        }
        Sequence expected = seq;
        EXPECT_EQ(reference::Mask(expected, iroi, rectangles), 0);
        ASSERT_TRUE(Same(Masked(seq, iroi, rectangles), expected)) << round;
    }
}

TEST(Mask, NumbersAtTheEndsOfTheirRangeDoNotWrap)
{
    const int w = 30, h = 20;
    const Sequence seq = Frames(w, h, 1);
    Sequence all = seq, part = seq;
    BlankOctagon(all, 0, 0, w - 1, h - 1);
    BlankOctagon(part, 5, 4, w - 1, h - 1);
    EXPECT_TRUE(Same(Masked(seq, {{0, 0, INT_MAX, INT_MAX, 1}}), all));
    EXPECT_TRUE(Same(Masked(seq, {{-1, -1, INT_MAX, INT_MAX, 1}}), all));
    EXPECT_TRUE(Same(Masked(seq, {{5, 4, INT_MAX, INT_MAX, 1}}), part));
    EXPECT_TRUE(Same(Masked(seq, {{INT_MIN, INT_MIN, INT_MAX, INT_MAX, 1}}), seq));
    EXPECT_TRUE(Same(Masked(seq, {{INT_MAX, INT_MAX, INT_MAX, INT_MAX, 1}}), seq));
    EXPECT_TRUE(Same(Masked(seq, {{INT_MIN, 0, INT_MIN, 5, 1}, {0, INT_MIN, 5, INT_MIN, 1}}), seq));
    EXPECT_TRUE(Same(Masked(seq, {{3, 3, INT_MIN, INT_MIN, 1}}), seq));
    EXPECT_TRUE(
        Same(Masked(seq, {INT_MIN, INT_MIN, w, h, 1}, {{INT_MIN, INT_MIN, INT_MAX, INT_MAX, 1}}), seq));
    EXPECT_TRUE(Same(Masked(seq, {INT_MAX, INT_MAX, w, h, 1}, {{INT_MIN, INT_MIN, INT_MAX, 5, 1}}), seq));
    // The whole region at the far end of the range.
    EXPECT_TRUE(Same(Masked(seq, {INT_MAX, INT_MAX, w, h, 1}, {{INT_MAX, INT_MAX, w, h, 1}}), all));
}

TEST(Mask, ExtremeRectanglesAgreeWithTheReference)
{
    Dice dice(22);
    const std::vector<int> numbers = {INT_MIN, INT_MIN + 1, -1000000, -31, -1,      0,           1,      2,
                                      7,       19,          29,       30,  1000000, INT_MAX - 1, INT_MAX};
    const Sequence seq = Frames(30, 20, 1);
    int done = 0, halting = 0;
    for (int round = 0; round < 3000; round++) {
        const Region r = {dice.Of(numbers), dice.Of(numbers), dice.Of(numbers), dice.Of(numbers), 1};
        Sequence expected = seq;
        try {
            reference::Mask(expected, {0, 0, 30, 20, 1}, {r});
        } catch (const reference::FailStop&) {
            halting++; // EmptyRangesHalt runs such ones
            continue;
        }
        done++;
        ASSERT_TRUE(Same(Masked(seq, {r}), expected)) << r[0] << ' ' << r[1] << ' ' << r[2] << ' ' << r[3];
    }
    EXPECT_GT(done, 1000);
    EXPECT_GT(halting, 10);
}

TEST(Mask, EmptyRangesHalt)
{
    const CubByte cube = ToCube(Frames(30, 20, 1));
    for (const Region& r :
         {Region{5, 5, 0, 5, 1}, Region{5, 5, 5, 0, 1}, Region{9, 9, -3, 5, 1}, Region{9, 9, 5, -8, 1}}) {
        const FailStop stop = RunUntilHalt([&] { RunMask(cube, {0, 0, 30, 20, 1}, {r}); });
        EXPECT_TRUE(stop.halted) << stop.state;
        EXPECT_EQ(stop.err, ErrorLine("RNG: Invalid range selection") + "\n") << r[2] << " x " << r[3];
        EXPECT_EQ(stop.out, "");
    }
}

TEST(Mask, RectanglesBeforeAnEmptyOneAreBlanked)
{
    // The halted child's frame lies in memory that both see.
    const int w = 30, h = 20;
    void* const memory =
        mmap(nullptr, std::size_t(w) * h, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    ASSERT_NE(memory, MAP_FAILED);
    const Sequence seq = Frames(w, h, 1);
    std::copy(seq.a.begin(), seq.a.end(), static_cast<unsigned char*>(memory));
    {
        MatByte frame;
        frame.Attach_to_raw_image(static_cast<unsigned char*>(memory), w, h);
        const CubByte cube(frame);
        const FailStop stop = RunUntilHalt([&] {
            RunMask(cube, {0, 0, w, h, 1}, {{2, 3, 10, 9, 1}, {20, 5, 0, 5, 1}, {15, 12, 7, 7, 1}});
        });
        EXPECT_TRUE(stop.halted) << stop.state;
        EXPECT_EQ(stop.line, ErrorLine("RNG: Invalid range selection"));
        Sequence expected = seq;
        BlankOctagon(expected, 2, 3, 11, 11);
        EXPECT_TRUE(Same(ToSequence(cube), expected));
    }
    munmap(memory, std::size_t(w) * h);
}

} // namespace
