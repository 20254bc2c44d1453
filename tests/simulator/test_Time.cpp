// What happens over time: exposure, rolling shutter, changing speed, pushes, frames that repeat or are lost.

#include <tests/simulator/Drawn.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace {

/// The wheel at rest at an angle.
Bytes Still(WheelScene scene, double degrees)
{
    scene.degreesPerFrame = 0;
    scene.ramp = 0;
    scene.rolling = 0;
    scene.exposure = 0;
    scene.jerks.clear();
    scene.startAngle = degrees;
    return Draw(scene, 0);
}

/// The largest difference within rows first..last.
int Difference(const WheelScene& scene, const Bytes& a, const Bytes& b, int first = 0, int last = 959)
{
    int most = 0;
    for (int i = first * scene.width; i < (last + 1) * scene.width; i++)
        most = std::max(most, std::abs(a[std::size_t(i)] - b[std::size_t(i)]));
    return most;
}

TEST(Shutter, ExposureSpreadsAnEdgeOverItsMovement)
{
    WheelScene s = Plain();
    s.degreesPerFrame = 2.5;
    for (double exposure : {0.4, 1.0}) {
        s.exposure = exposure;
        const Bytes grey = Draw(s, 2);
        const double r = 236, moved = 2.5 / 360 * circle * r * exposure;
        for (int tooth = 0; tooth < 40; tooth++) {
            // The flank that lies at this angle in the middle of the exposure; clockwise of it there is no
            // metal.
            const double flank = (9 * tooth + 2.25 + 2 * 2.5) / 360 * circle;
            // But for the edge's own width at both ends, the level changes evenly along the arc.
            for (double part : {-0.3, -0.15, 0.0, 0.15, 0.3}) {
                const double angle = flank + part * moved / r;
                const double level =
                    Between(s, grey, s.centreX + r * std::cos(angle), s.centreY + r * std::sin(angle));
                EXPECT_NEAR(level, 124 - 144 * part, 4) << exposure << " tooth " << tooth << " part " << part;
            }
            for (double side : {-1, 1}) {
                const double angle = flank + side * (moved / 2 + 2) / r;
                const double level =
                    Between(s, grey, s.centreX + r * std::cos(angle), s.centreY + r * std::sin(angle));
                EXPECT_NEAR(level, side < 0 ? metalLevel : backdropLevel, 1.5)
                    << exposure << " tooth " << tooth;
            }
        }
    }
}

TEST(Shutter, ShortExposureOfAWheelAtRestIsNoBlur)
{
    WheelScene s = Plain();
    s.degreesPerFrame = 0;
    const Bytes sharp = Draw(s, 0);
    s.exposure = 1;
    EXPECT_LE(Difference(s, Draw(s, 0), sharp), 1);
}

TEST(Shutter, ExposureBlursTheDisc)
{
    WheelScene s = Plain();
    s.disc = {130, 140, 50, 12, 0, 20, 1000}; // of one light stripe
    s.exposure = 1;
    const Bytes grey = Draw(s, 4);
    // Its right edge passes evenly from 222 to 234.
    for (int x : {225, 228, 231}) EXPECT_NEAR(At(s, grey, x, 140), 129 - 154 * (x - 228) / 12.0, 3) << x;
    EXPECT_EQ(At(s, grey, 237, 140), 52);
    EXPECT_EQ(At(s, grey, 219, 140), 206);
}

TEST(Shutter, RollingRowsShowLaterAngles)
{
    WheelScene s = Plain();
    s.degreesPerFrame = 3;
    for (double share : {0.1, 1.0}) {
        s.rolling = share;
        const Bytes grey = Draw(s, 5);
        for (int row : {0, 240, 300, 471, 640, 700, 959})
            EXPECT_LE(Difference(s, grey, Still(s, 3 * (5 + share * row / 959)), row, row), 1) << row;
    }
}

TEST(Speed, RampAddsHalfItsSquare)
{
    WheelScene s = Plain();
    s.startAngle = 4;
    s.ramp = 0.2;
    EXPECT_LE(Difference(s, Draw(s, 6), Still(s, 4 + 0.4 * 6 + 0.2 * 36 / 2)), 1);
    EXPECT_DOUBLE_EQ(AngleOf(s, 6), 4 + 0.4 * 6 + 0.2 * 36 / 2);
}

TEST(Speed, JerksStayFromTheirFrameOn)
{
    WheelScene s = Plain();
    s.jerks = {{7, -2}, {4, 1.5}};
    for (int frame : {0, 3, 4, 6, 7, 12}) {
        const double more = (frame >= 4 ? 1.5 : 0) + (frame >= 7 ? -2 : 0);
        EXPECT_LE(Difference(s, Draw(s, frame), Still(s, 0.4 * frame + more)), 1) << frame;
    }
    // Between two frames, it happens halfway.
    s.rolling = 1;
    const Bytes grey = Draw(s, 3);
    EXPECT_LE(Difference(s, grey, Still(s, 0.4 * (3 + 400.0 / 959)), 400, 400), 1);
    EXPECT_LE(Difference(s, grey, Still(s, 0.4 * (3 + 600.0 / 959) + 1.5), 600, 600), 1);
}

TEST(Push, ShiftsThePictureFromItsFrameOn)
{
    WheelScene s = Plain();
    s.uneven = 0.5;
    s.texture = 20;
    const Bytes before = Draw(s, 4), at = Draw(s, 5);
    s.push = {5, 7, -3};
    EXPECT_TRUE(Draw(s, 4) == before);
    const Bytes pushed = Draw(s, 5);
    for (int y = 0; y < 950; y++)
        for (int x = 10; x < 1280; x++) {
            const int was = y + 3 < 960 ? At(s, at, x - 7, y + 3) : 0;
            ASSERT_LE(std::abs(At(s, pushed, x, y) - was), 1) << x << ", " << y;
        }
}

TEST(Push, MovesEdgesByFractions)
{
    WheelScene s = Plain();
    s.push = {0, 0.4, -1.3};
    const Bytes grey = Draw(s, 0);
    for (int degrees = 0; degrees < 360; degrees += 9) {
        const double angle = degrees / 360.0 * circle;
        EXPECT_NEAR(EdgeError(s, grey, s.centreX + 0.4 + 250 * std::cos(angle),
                              s.centreY - 1.3 + 250 * std::sin(angle), metalLevel, backdropLevel),
                    0, 0.1);
    }
}

TEST(Frames, RepeatedOnesAreThoseBefore)
{
    WheelScene s;
    Bytes usual[8];
    for (int i = 0; i < 8; i++) usual[i] = Draw(s, i);
    s.repeated = {6, 3, 4};
    const int shown[] = {0, 1, 2, 2, 2, 5, 5, 7};
    for (int i = 0; i < 8; i++) EXPECT_TRUE(Draw(s, i) == usual[shown[i]]) << i;
    s.repeated = {0};
    EXPECT_TRUE(Draw(s, 0) == usual[0]) << "there is none before";
}

TEST(Frames, LostOnesAreLeftOut)
{
    WheelScene s;
    Bytes usual[10];
    for (int i = 0; i < 10; i++) usual[i] = Draw(s, i);
    s.lost = {4, 1, 5, 4};
    const int shown[] = {0, 2, 3, 6, 7, 8, 9};
    for (int i = 0; i < 7; i++) EXPECT_TRUE(Draw(s, i) == usual[shown[i]]) << i;
    // The delivered frame before the repeated 6 is 3.
    s.repeated = {6};
    EXPECT_TRUE(Draw(s, 3) == usual[3]);
    EXPECT_TRUE(Draw(s, 4) == usual[7]);
}

} // namespace
