// The marks on the result picture, through Detect.
//
// The sequences here have a single frame: there is no flow, and mag_sh keeps what the test draws into it. The
// ring search then finds the ring that was drawn, so that the centre is the test's choice.
#include <Telvane/Telvane.h>

#include <tests/support/Wheels.h>

#include <tests/reference/Detection.h>
#include <tests/reference/Ring.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

namespace {

using reference::Region;

const int W = 160, H = 120;

/// What is to be marked; the centre is (centreX, centreY) in the picture.
struct Scene {
    int centreX = 80, centreY = 60;
    float cx = 40, cy = 30, wid = 80, hgh = 60; ///< the centre in the region, and the region's size
    float innerR = 0, outerR = 0.25f;           ///< circles that small leave no mark
    float ang1 = 0, ang2 = 355;                 ///< no radial lines
    float angSpd = 0;                           ///< no arrow
    int iroiLeft = 0, iroiTop = 0;
    BytePicture ground = BytePicture(W, H, 60);
};

std::vector<float> ParamsOf(const Scene& s, float R3)
{
    return {14, 0, s.cx, s.cy, s.wid, s.hgh, s.innerR, s.outerR, R3, s.ang1, s.ang2, 9, s.angSpd, 0};
}

struct Marked {
    int result = 0;
    Region oroi{};
    std::vector<float> params; ///< with the normalised angles
    BytePicture detected;
};

int RunDetect(const Scene& s, float R3, MatShort& mag_sh, MatByte& detected, Marked& marked)
{
    Sequence seq(s.ground.w, s.ground.h, 1);
    seq.SetFrame(0, s.ground);
    const CubByte cube = ToCube(seq);
    const VecFloat params = ToVector<VecFloat>(ParamsOf(s, R3));
    VecInt oroi(5);
    MatShort hough, u_sum_sh, v_sum_sh, bgShort;
    marked.result =
        Detect(1, cube, false, VecInt(1), VecInt(s.iroiLeft, s.iroiTop, s.ground.w, s.ground.h, 1), params,
               oroi, detected, hough, u_sum_sh, v_sum_sh, mag_sh, bgShort);
    for (int i = 0; i < 5; i++) marked.oroi[static_cast<std::size_t>(i)] = oroi(i);
    marked.params = ToValues(params);
    marked.detected = ToPicture(detected);
    EXPECT_TRUE(Same(ToSequence(cube), seq)); // the marks are on the copy alone
    return marked.result;
}

/// Detects with the ring search, the ring lying around the scene's centre.
Marked Detected(const Scene& s)
{
    const auto ring = reference::RingPattern(s.innerR, s.outerR);
    MatShort mag_sh(s.ground.w + 1, s.ground.h + 1);
    mag_sh.Fill(0);
    for (int y = 0; y < ring.h; y++)
        for (int x = 0; x < ring.w; x++)
            if (ring.At(x, y)) mag_sh(s.centreX - ring.w / 2 + x, s.centreY - ring.h / 2 + y) = 100;
    MatByte detected;
    Marked marked;
    EXPECT_EQ(RunDetect(s, -1, mag_sh, detected, marked), 0);
    return marked;
}

/// Detects by votes. Without motion there are none, and the centre is (0, 0).
Marked DetectedAtOrigin(const Scene& s)
{
    MatShort mag_sh;
    MatByte detected;
    Marked marked;
    EXPECT_EQ(RunDetect(s, 0, mag_sh, detected, marked), 0);
    return marked;
}

Region ExpectedRegion(const Scene& s)
{
    return {s.iroiLeft + static_cast<int>(std::rint(static_cast<float>(s.centreX) - s.cx)),
            s.iroiTop + static_cast<int>(std::rint(static_cast<float>(s.centreY) - s.cy)),
            static_cast<int>(std::rint(s.wid)), static_cast<int>(std::rint(s.hgh)), 1};
}

BytePicture Expected(const Scene& s, const Marked& marked)
{
    BytePicture picture = s.ground;
    reference::Overlay(picture, ExpectedRegion(s), {s.iroiLeft, s.iroiTop, s.ground.w, s.ground.h, 1},
                       marked.params);
    return picture;
}

testing::AssertionResult AgreesWithTheReference(const Scene& s)
{
    const Marked marked = Detected(s);
    if (marked.oroi != ExpectedRegion(s)) return testing::AssertionFailure() << "another region";
    return Same(marked.detected, Expected(s, marked));
}

/// 1 where a pixel was toggled; also where it was toggled in only one of two pictures.
BytePicture Toggled(const BytePicture& a, const BytePicture& b)
{
    BytePicture toggled(a.w, a.h);
    for (std::size_t i = 0; i < a.a.size(); i++) {
        const int difference = a.a[i] ^ b.a[i];
        EXPECT_TRUE(difference == 0 || difference == 128);
        toggled.a[i] = difference != 0;
    }
    return toggled;
}

BytePicture Marks(const Scene& s) { return Toggled(Detected(s).detected, s.ground); }

/// The marks that one scene has and the other has not.
BytePicture MarksBetween(const Scene& a, const Scene& b)
{
    return Toggled(Detected(a).detected, Detected(b).detected);
}

/// '#' for each toggled pixel of the columns and rows from (l, t).
std::vector<std::string> Drawing(const BytePicture& toggled, int l, int t, int w, int h)
{
    std::vector<std::string> rows;
    for (int y = t; y < t + h; y++) {
        rows.emplace_back();
        for (int x = l; x < l + w; x++) rows.back() += toggled.At(x, y) ? '#' : '.';
    }
    return rows;
}

int Count(const BytePicture& toggled)
{
    return static_cast<int>(std::count(toggled.a.begin(), toggled.a.end(), 1));
}

using Rows = std::vector<std::string>;

// ---------------------------------------------------------------------------------- toggling

TEST(Overlay, MarksToggleTheTopBitOnAnyGround)
{
    Scene s;
    s.outerR = 20;
    s.ang2 = 200;
    s.angSpd = 1;
    const BytePicture marks = Marks(s);
    EXPECT_GT(Count(marks), 900);
    for (const std::uint8_t grey :
         {std::uint8_t{0}, std::uint8_t{127}, std::uint8_t{128}, std::uint8_t{255}}) {
        s.ground = BytePicture(W, H, grey);
        EXPECT_TRUE(Same(Marks(s), marks)) << int{grey};
    }
    s.ground = NoiseFrame(W, H, 3);
    EXPECT_TRUE(Same(Marks(s), marks));
}

// ---------------------------------------------------------------------------------- frame and cross

TEST(Overlay, FrameIsThreePixelsThickWithOpenInnerCorners)
{
    // The cross lies above and left of the region here and leaves no mark.
    Scene s;
    s.cx = -40;
    s.cy = -30;
    s.wid = 14;
    s.hgh = 10;
    s.centreX = 60;
    s.centreY = 50;                                                        // the region begins at (100, 80)
    EXPECT_EQ(Drawing(Marks(s), 99, 79, 16, 12), (Rows{"................", //
                                                       ".##############.", //
                                                       "....########....", //
                                                       "....########....", //
                                                       ".###........###.", //
                                                       ".###........###.", //
                                                       ".###........###.", //
                                                       ".###........###.", //
                                                       "....########....", //
                                                       "....########....", //
                                                       ".##############.", //
                                                       "................"}));
    EXPECT_EQ(Count(Marks(s)), 2 * 14 + 4 * 8 + 4 * 6);
}

TEST(Overlay, CrossHasAnOpenMiddle)
{
    const BytePicture marks = Marks(Scene());
    const Rows drawing = Drawing(marks, 68, 48, 25, 25);
    for (std::size_t y = 0; y < 25; y++) {
        std::string expected(25, '.');
        for (std::size_t x = 0; x < 25; x++) {
            const bool row = y >= 11 && y <= 13 && x >= 2 && x <= 22;
            const bool column = x >= 11 && x <= 13 && y >= 2 && y <= 22;
            if (row != column) expected[x] = '#';
        }
        EXPECT_EQ(drawing[y], expected) << y;
    }
}

TEST(Overlay, CrossNearAnEdgeIsCutAtTheEdge)
{
    Scene s;
    s.cx = 4;  // the region begins 4 columns left of the centre
    s.cy = 53; // and ends 6 rows below it
    const BytePicture marks = Marks(s);
    // The cross's rows toggle the frame's columns 76 .. 78 back, the edge column included.
    EXPECT_EQ(Drawing(marks, 74, 58, 20, 5), (Rows{"..######............", //
                                                   "........#########...", //
                                                   "........#########...", //
                                                   "........#########...", //
                                                   "..######............"}));
    // And its columns toggle the frame's rows 64 .. 66 back, the edge row included.
    EXPECT_EQ(Drawing(marks, 78, 62, 5, 6), (Rows{"####.", //
                                                  "####.", //
                                                  "....#", //
                                                  "....#", //
                                                  "#...#", //
                                                  "....."}));
    EXPECT_TRUE(AgreesWithTheReference(s));
}

TEST(Overlay, CrossInTheRegionsCornerReachesOnePixelOut)
{
    Scene s;
    s.cx = s.cy = 0;
    s.wid = 70;
    s.hgh = 50;
    // The arms are cut along their length only: the outer one of the three rows lies above the region, the
    // outer one of the columns left of it.
    const BytePicture marks = Marks(s);
    EXPECT_EQ(Drawing(marks, 79, 58, 14, 2), (Rows{"..............", ".###########.."}));
    for (int y = 59; y <= 72; y++) EXPECT_EQ(marks.At(79, y), y >= 60 && y <= 70) << y;
    EXPECT_TRUE(AgreesWithTheReference(s));
}

TEST(Overlay, CentreOutsideTheRegionStillMarks)
{
    // 20 columns left of the region: the cross's columns are there, its rows are cut away.
    Scene s;
    s.cx = -20;
    s.cy = 30;
    s.wid = 50;
    const BytePicture marks = Marks(s);
    EXPECT_EQ(Drawing(marks, 78, 49, 5, 3), (Rows{".....", ".###.", ".###."}));
    EXPECT_EQ(Drawing(marks, 78, 69, 5, 3), (Rows{".###.", ".###.", "....."}));
    EXPECT_TRUE(AgreesWithTheReference(s));
}

// ---------------------------------------------------------------------------------- circles

TEST(Overlay, RadiusZeroLeavesTheCentre)
{
    Scene s, without;
    s.outerR = 1;
    without.innerR = 0;
    without.outerR = 0.25f;
    // Radius 1: k runs to 0 only, and the four points are the neighbours.
    EXPECT_EQ(Drawing(MarksBetween(s, without), 78, 58, 5, 5),
              (Rows{".....", "..#..", ".#.#.", "..#..", "....."}));
    Scene zero;
    zero.innerR = 0;
    zero.outerR = 0.5f; // rint(0.5) is 0
    EXPECT_TRUE(Same(Marks(zero), Marks(without)));
    const int frame = 6 * 80 + 6 * 58 - 2 * (4 * 6), cross = 2 * (3 * 21) - 2 * 9;
    EXPECT_EQ(Count(Marks(zero)), frame + cross);
}

TEST(Overlay, CirclesAreRoundWithOpenDiagonals)
{
    Scene s, without;
    s.outerR = 5;
    // k = 3 has m = 4; there is no point with m = k: 8 arcs close.
    EXPECT_EQ(Drawing(MarksBetween(s, without), 74, 54, 13, 13), (Rows{".............", //
                                                                       "....#####....", //
                                                                       "...#.....#...", //
                                                                       "..#.......#..", //
                                                                       ".#.........#.", //
                                                                       ".#.........#.", //
                                                                       ".#.........#.", //
                                                                       ".#.........#.", //
                                                                       ".#.........#.", //
                                                                       "..#.......#..", //
                                                                       "...#.....#...", //
                                                                       "....#####....", //
                                                                       "............."}));
    // Radius 3: k = 2 has m = 2, and the points of both octants cancel.
    s.outerR = 3;
    EXPECT_EQ(Drawing(MarksBetween(s, without), 76, 56, 9, 9), (Rows{".........", //
                                                                     "...###...", //
                                                                     ".........", //
                                                                     ".#.....#.", //
                                                                     ".#.....#.", //
                                                                     ".#.....#.", //
                                                                     ".........", //
                                                                     "...###...", //
                                                                     "........."}));
}

TEST(Overlay, BothRadiiAreDrawn)
{
    Scene inner, outer, both;
    both.innerR = 12;
    both.outerR = 20;
    outer.outerR = 20;
    inner.innerR = 12;
    inner.outerR = 12.25f;
    EXPECT_TRUE(AgreesWithTheReference(inner));
    EXPECT_TRUE(AgreesWithTheReference(outer));
    EXPECT_TRUE(AgreesWithTheReference(both));
    // What `both` has more than `outer` is the inner circle, at 12 pixels from the centre.
    const BytePicture circle = MarksBetween(both, outer);
    EXPECT_GT(Count(circle), 50);
    for (int y = 0; y < H; y++)
        for (int x = 0; x < W; x++)
            if (circle.At(x, y)) {
                EXPECT_NEAR(std::hypot(x - 80, y - 60), 12, 0.8) << x << ", " << y;
            }
}

TEST(Overlay, LargeCircleShowsOnlyItsArcsInsideTheRegion)
{
    Scene s, without;
    for (Scene* scene : {&s, &without}) {
        scene->cx = 25;
        scene->cy = 45;
        scene->wid = 50;
        scene->hgh = 52;
    }
    s.outerR = 30; // beyond the left, right and lower edge
    const BytePicture arcs = MarksBetween(s, without);
    EXPECT_GT(Count(arcs), 20);
    const int l = 55, t = 15, r = l + 49, b = t + 51;
    for (int y = 0; y < H; y++)
        for (int x = 0; x < W; x++)
            if (arcs.At(x, y)) {
                EXPECT_TRUE(l < x && x < r && t < y && y < b) << x << ", " << y;
                EXPECT_NEAR(std::hypot(x - 80, y - 60), 30, 0.8) << x << ", " << y;
            }
    EXPECT_TRUE(AgreesWithTheReference(s));
}

TEST(Overlay, CircleOnTheEdgeRowsAndColumnsIsNotDrawn)
{
    Scene s, without;
    for (Scene* scene : {&s, &without}) {
        scene->cx = 20;
        scene->cy = 20;
        scene->wid = 41;
        scene->hgh = 41;
    }
    // The edges lie 20 pixels from the centre.
    s.outerR = 20;
    const BytePicture on = MarksBetween(s, without);
    for (const int at : {60, 100}) EXPECT_EQ(on.At(at, 60), 0) << at;
    for (const int at : {40, 80}) EXPECT_EQ(on.At(80, at), 0) << at;
    s.outerR = 19;
    const BytePicture inside = MarksBetween(s, without);
    for (const int at : {61, 99}) EXPECT_EQ(inside.At(at, 60), 1) << at;
    for (const int at : {41, 79}) EXPECT_EQ(inside.At(80, at), 1) << at;
    EXPECT_TRUE(AgreesWithTheReference(s));
}

TEST(Overlay, EachPointOfACircleIsTestedAgainstItsOwnEdgesAlone)
{
    // With the region far to the lower right of the centre, points pass tests against the edges that their
    // octant looks at, and land outside the region all the same.
    Scene s;
    s.cx = -10;
    s.cy = -12;
    s.wid = 50;
    s.hgh = 40;
    s.outerR = 30;
    Scene without = s;
    without.outerR = 0.25f;
    const BytePicture arcs = MarksBetween(s, without);
    int outside = 0;
    for (int y = 0; y < H; y++)
        for (int x = 0; x < W; x++)
            if (arcs.At(x, y) && (x < 90 || y < 72)) outside++;
    EXPECT_GT(outside, 10);
    EXPECT_TRUE(AgreesWithTheReference(s));
}

TEST(Overlay, HugeCirclesDrawNothingUnlessTheyFitThePicture)
{
    // The centre is (0, 0), the region lies to its lower right.
    Scene s, without;
    for (Scene* scene : {&s, &without}) {
        scene->centreX = scene->centreY = 0;
        scene->cx = -5;
        scene->cy = -7;
        scene->wid = 150;
        scene->hgh = 100;
    }
    const BytePicture plain = DetectedAtOrigin(without).detected;
    for (const float R : {226.4f, 1e4f, 1e9f, 1e18f, 1e30f, 3.4e38f, HUGE_VALF}) { // 160 * sqrt(2) is 226.27
        s.outerR = R;
        EXPECT_TRUE(Same(DetectedAtOrigin(s).detected, plain)) << R;
    }
    // Smaller ones are walked: radius 226 reaches column 160 * 226 / 226.27, short of the picture's corner.
    for (const float R : {120.0f, 150.0f, 226.0f}) {
        s.outerR = R;
        const Marked marked = DetectedAtOrigin(s);
        EXPECT_TRUE(Same(marked.detected, Expected(s, marked))) << R;
    }
    s.outerR = 120;
    EXPECT_FALSE(Same(DetectedAtOrigin(s).detected, plain));
}

// ---------------------------------------------------------------------------------- radial lines

TEST(Overlay, LineAtZeroDegreesTogglesTheRightArmOfTheCrossBack)
{
    Scene s, without;
    s.ang1 = 0;
    s.ang2 = 90;
    const BytePicture lines = MarksBetween(s, without);
    // To the right from 81 to 118, one short of the edge column 119; downward from 61 to 88.
    EXPECT_EQ(Count(lines), 38 + 28);
    for (int x = 81; x <= 118; x++) EXPECT_EQ(lines.At(x, 60), 1) << x;
    for (int y = 61; y <= 88; y++) EXPECT_EQ(lines.At(80, y), 1) << y;
    // On the way it toggles back the arm, which ends 10 pixels off the centre, and the frame's two inner
    // columns; the middle of the cross was open.
    EXPECT_EQ(Drawing(Marks(s), 80, 60, 41, 1)[0],
              ".#" + std::string(9, '.') + std::string(26, '#') + "..#" + ".");
}

TEST(Overlay, LinesNeedAnOpeningOfAtMost350Degrees)
{
    Scene closed;
    closed.ang1 = 0;
    closed.ang2 = 355;
    for (const float ang2 : {350.0f, 349.0f, 10.0f}) {
        Scene s;
        s.ang2 = ang2;
        EXPECT_GT(Count(MarksBetween(s, closed)), 40) << ang2;
        EXPECT_TRUE(AgreesWithTheReference(s)) << ang2;
    }
    for (const float ang2 : {350.5f, 351.0f, 359.0f, 360.0f}) { // 360 becomes 0 and then 360 after ang1
        Scene s;
        s.ang2 = ang2;
        EXPECT_TRUE(Same(Marks(s), Marks(closed))) << ang2;
    }
    Scene s;
    s.ang1 = 20;
    s.ang2 = 10; // normalised to 370
    EXPECT_GT(Count(MarksBetween(s, closed)), 40);
}

TEST(Overlay, AnglesRunFromRightDownwards)
{
    Scene s, without;
    s.ang1 = 45;
    s.ang2 = 135;
    const BytePicture lines = MarksBetween(s, without);
    for (int k = 1; k <= 28; k++) {
        EXPECT_EQ(lines.At(80 + k, 60 + k), 1) << k;
        EXPECT_EQ(lines.At(80 - k, 60 + k), 1) << k;
    }
    EXPECT_EQ(Count(lines), 2 * 28);
    s.ang1 = 225;
    s.ang2 = 315;
    const BytePicture upwards = MarksBetween(s, without);
    for (int k = 1; k <= 29; k++) {
        EXPECT_EQ(upwards.At(80 + k, 60 - k), 1) << k;
        EXPECT_EQ(upwards.At(80 - k, 60 - k), 1) << k;
    }
    EXPECT_EQ(Count(upwards), 2 * 29);
}

TEST(Overlay, EveryAngleAgreesWithTheReference)
{
    Scene s;
    s.ground = NoiseFrame(W, H, 4);
    for (int angle = -360; angle < 720; angle += 7) {
        s.ang1 = static_cast<float>(angle) + 0.3f;
        s.ang2 = s.ang1 + 120;
        ASSERT_TRUE(AgreesWithTheReference(s)) << angle;
    }
}

TEST(Overlay, LineStartingOutsideTheRegionEndsAtOnce)
{
    Scene s;
    s.cx = -20;
    s.wid = 50;
    s.ang1 = 0;
    s.ang2 = 180;
    Scene without = s;
    without.ang2 = 355;
    EXPECT_EQ(Count(MarksBetween(s, without)), 0);
}

// ---------------------------------------------------------------------------------- arrow

TEST(Overlay, ArrowsShowTheSense)
{
    Scene s, without;
    s.angSpd = 0.5f;
    EXPECT_EQ(Drawing(MarksBetween(s, without), 40, 30, 11, 11), (Rows{"...........", //
                                                                       "...........", //
                                                                       ".....####..", //
                                                                       ".......##..", //
                                                                       "......#.#..", //
                                                                       ".....#..#..", //
                                                                       "....#......", //
                                                                       "...#.......", //
                                                                       "..#........", //
                                                                       "...........", //
                                                                       "..........."}));
    s.angSpd = -3;
    EXPECT_EQ(Drawing(MarksBetween(s, without), 40, 30, 11, 11), (Rows{"...........", //
                                                                       "...........", //
                                                                       "........#..", //
                                                                       ".......#...", //
                                                                       "......#....", //
                                                                       "..#..#.....", //
                                                                       "..#.#......", //
                                                                       "..##.......", //
                                                                       "..####.....", //
                                                                       "...........", //
                                                                       "..........."}));
    EXPECT_EQ(Count(MarksBetween(s, without)), 13);
}

TEST(Overlay, NoArrowWithoutASpeed)
{
    Scene s;
    for (const float speed : {0.0f, -0.0f}) {
        s.angSpd = speed;
        EXPECT_EQ(Count(Marks(s)), Count(Marks(Scene())));
    }
}

TEST(Overlay, ASpeedThatIsNoNumberGivesTheArrowNoHead)
{
    Scene s, without;
    s.angSpd = std::numeric_limits<float>::quiet_NaN();
    EXPECT_EQ(Drawing(MarksBetween(s, without), 40, 30, 11, 11), (Rows{"...........", //
                                                                       "...........", //
                                                                       "........#..", //
                                                                       ".......#...", //
                                                                       "......#....", //
                                                                       ".....#.....", //
                                                                       "....#......", //
                                                                       "...#.......", //
                                                                       "..#........", //
                                                                       "...........", //
                                                                       "..........."}));
}

TEST(Overlay, ArrowNeedsTwelvePixelsBothWays)
{
    const auto hasArrow = [](float wid, float hgh) {
        Scene s, without;
        for (Scene* scene : {&s, &without}) {
            scene->cx = scene->cy = 5;
            scene->wid = wid;
            scene->hgh = hgh;
        }
        s.angSpd = 1;
        const int pixels = Count(MarksBetween(s, without));
        EXPECT_TRUE(pixels == 0 || pixels == 13) << pixels;
        return pixels != 0;
    };
    EXPECT_FALSE(hasArrow(11, 40));
    EXPECT_FALSE(hasArrow(40, 11));
    EXPECT_TRUE(hasArrow(12, 12));
    EXPECT_FALSE(hasArrow(11.5f - 0.01f, 12)); // 11 after rounding
    EXPECT_TRUE(hasArrow(11.5f, 12));          // 12: ties go to even
}

// ---------------------------------------------------------------------------------- small and odd regions

TEST(Overlay, TinyRegionsToggleTheirPixelsAgainAndAgain)
{
    for (int wid = 1; wid <= 8; wid++) {
        for (int hgh = 1; hgh <= 8; hgh++) {
            Scene s;
            s.cx = 0;
            s.cy = 0;
            s.wid = static_cast<float>(wid);
            s.hgh = static_cast<float>(hgh);
            s.angSpd = 1;
            s.ang2 = 90;
            ASSERT_TRUE(AgreesWithTheReference(s)) << wid << " x " << hgh;
        }
    }
    // One pixel: its row is toggled as row t and as row b; the cross toggles it once for its rows and once
    // for its columns.
    Scene s;
    s.cx = s.cy = 0;
    s.wid = s.hgh = 1;
    EXPECT_EQ(Marks(s).At(80, 60), 0);
}

TEST(Overlay, NegativeSizesMarkWhatTheStepsReach)
{
    for (const float wid : {-1.0f, -30.0f, 0.0f}) {
        for (const float hgh : {-1.0f, -20.0f, 0.0f, 25.0f}) {
            Scene s;
            s.cx = wid - 5;
            s.cy = hgh - 5;
            s.wid = wid;
            s.hgh = hgh;
            s.ang2 = 90;
            s.angSpd = -1;
            s.outerR = 7;
            s.ground = NoiseFrame(W, H, 5);
            ASSERT_TRUE(AgreesWithTheReference(s)) << wid << " x " << hgh;
        }
    }
}

TEST(Overlay, CentreIsRoundedToEven)
{
    for (const float fraction : {0.5f, 1.5f, 0.49f, 0.51f}) {
        Scene s;
        s.cx = 30 + fraction;
        s.cy = 20 + fraction;
        EXPECT_TRUE(AgreesWithTheReference(s)) << fraction;
    }
    // 80 - 40.5 rounds to 40, and 40 + 40.5 to 80; 80 - 41.5 to 38, and 38 + 41.5 to 80 (79.5).
    Scene even;
    even.cx = 40.5f;
    EXPECT_EQ(Marks(even).At(80, 60), 0);
    EXPECT_EQ(Drawing(Marks(even), 77, 50, 7, 1)[0], "..###..");
}

TEST(Overlay, MarksBeyondThePictureAreLeftOut)
{
    // 5.5 rounds up to 6 and 11.5 to 12, while the sum 17 still fits: the region ends flush with the picture.
    Scene s;
    s.ground = NoiseFrame(18, 40, 6);
    s.centreX = 9;
    s.centreY = 20;
    s.cx = 3.5f;
    s.cy = 5;
    s.wid = 11.5f;
    s.hgh = 20;
    s.ang2 = 90;
    s.angSpd = 1;
    EXPECT_EQ(ExpectedRegion(s), (Region{6, 15, 12, 20, 1}));
    EXPECT_TRUE(AgreesWithTheReference(s));
    // With the centre at the picture's edge, circles and cross leave the picture.
    Scene edge;
    edge.centreX = edge.centreY = 0;
    edge.cx = edge.cy = -3;
    edge.wid = 100;
    edge.hgh = 80;
    edge.innerR = 20;
    edge.outerR = 55;
    edge.ground = NoiseFrame(W, H, 7);
    const Marked marked = DetectedAtOrigin(edge);
    EXPECT_TRUE(Same(marked.detected, Expected(edge, marked)));
}

TEST(Overlay, RegionsNotAtZeroAreMarkedInTheirOwnPixels)
{
    Scene s, shifted;
    for (Scene* scene : {&s, &shifted}) {
        scene->outerR = 20;
        scene->ang2 = 100;
        scene->angSpd = 1;
    }
    shifted.iroiLeft = 700;
    shifted.iroiTop = 333;
    EXPECT_TRUE(Same(Marks(shifted), Marks(s)));
    EXPECT_TRUE(AgreesWithTheReference(shifted));
    EXPECT_EQ(Detected(shifted).oroi, (Region{740, 363, 80, 60, 1}));
}

TEST(Overlay, ResultPictureOfAnotherSizeKeepsItAndGetsTheMarksThatFit)
{
    Scene s;
    s.outerR = 20;
    s.ang2 = 100;
    s.angSpd = 1;
    s.ground = NoiseFrame(W, H, 8);
    MatByte detected(90, 70);
    MatShort mag_sh(W + 1, H + 1);
    mag_sh.Fill(0);
    const auto ring = reference::RingPattern(s.innerR, s.outerR);
    for (int y = 0; y < ring.h; y++)
        for (int x = 0; x < ring.w; x++)
            if (ring.At(x, y)) mag_sh(60 + x, 40 + y) = 100;
    Marked marked;
    ASSERT_EQ(RunDetect(s, -1, mag_sh, detected, marked), 0);
    const BytePicture whole = Expected(s, marked);
    BytePicture part(90, 70);
    for (int y = 0; y < 70; y++)
        for (int x = 0; x < 90; x++) part.At(x, y) = whole.At(x, y);
    EXPECT_TRUE(Same(marked.detected, part));
}

TEST(Overlay, ResultPictureThatIsAViewIsMarkedInPlace)
{
    Scene s;
    s.outerR = 0.25f;
    s.ang2 = 100;
    s.angSpd = 1;
    s.ground = NoiseFrame(W, H, 9);
    MatByte album(2 * W + 5, H + 10);
    album.Fill(200);
    MatByte detected = album(RNG(4, 4 + 2 * (W - 1), 2), RNG(5, H + 4));
    MatShort mag_sh(W + 1, H + 1);
    mag_sh.Fill(0);
    mag_sh(80, 60) = 100;
    Marked marked;
    ASSERT_EQ(RunDetect(s, -1, mag_sh, detected, marked), 0);
    EXPECT_TRUE(Same(marked.detected, Expected(s, marked)));
    int changed = 0;
    for (int y = 0; y < album.dim2; y++)
        for (int x = 0; x < album.dim1; x++)
            if ((x < 4 || x % 2 != 0 || x > 4 + 2 * (W - 1) || y < 5 || y > H + 4) && album(x, y) != 200)
                changed++;
    EXPECT_EQ(changed, 0);
}

TEST(Overlay, RandomScenesAgreeWithTheReference)
{
    Dice dice(7);
    const auto part = [&dice] { return static_cast<float>(dice.Between(-3, 3)) / 8; };
    for (int round = 0; round < 400; round++) {
        Scene s;
        s.ground = NoiseFrame(W, H, static_cast<unsigned>(round));
        const int rr = dice.Between(0, dice.OneIn(3) ? 55 : 25);
        s.outerR = static_cast<float>(rr) + 0.25f;
        if (rr >= 4) s.innerR = s.outerR * static_cast<float>(dice.Between(0, 12)) / 16;
        s.centreX = dice.Between(rr, std::min(W - rr, W - 3));
        s.centreY = dice.Between(rr, std::min(H - rr, H - 3));
        // The region ends beyond the centre and begins anywhere, now and then behind its own end.
        const int right = dice.Between(s.centreX + 1, W - 2), bottom = dice.Between(s.centreY + 1, H - 2);
        const int left = dice.Between(0, right + (dice.OneIn(8) ? 3 : -1));
        const int top = dice.Between(0, bottom + (dice.OneIn(8) ? 3 : -1));
        s.cx = static_cast<float>(s.centreX - left) + part();
        s.cy = static_cast<float>(s.centreY - top) + part();
        s.wid = static_cast<float>(right - left) + part();
        s.hgh = static_cast<float>(bottom - top) + part();
        s.ang1 = static_cast<float>(dice.Between(-3600, 7199)) / 10;
        s.ang2 = static_cast<float>(dice.Between(-3600, 7199)) / 10;
        s.angSpd = static_cast<float>(dice.Between(-1, 1));
        if (dice.OneIn(3)) {
            s.iroiLeft = dice.Between(0, 3000);
            s.iroiTop = dice.Between(0, 3000);
        }
        ASSERT_TRUE(AgreesWithTheReference(s)) << round;
    }
}

} // namespace
