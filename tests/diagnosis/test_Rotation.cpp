// The fit of the rotation, on drawn wheels whose centre is known and on pictures in which nothing turns.
#include <diagnosis/Rotation.h>

#include <tests/support/Wheels.h>

#include <cmath>
#include <numeric>

using namespace telvane;

namespace {

/// Half the usual wheel, in a picture of a quarter of the usual size.
WheelScene HalfWheel()
{
    WheelScene scene;
    scene.width = 640;
    scene.height = 480;
    scene.centreX = 326.2;
    scene.centreY = 235.8;
    scene.innerR = 108;
    scene.outerR = 125;
    scene.hubR = 30;
    scene.teeth = 24;
    scene.degreesPerFrame = 0.6;
    return scene;
}

RotationStart StartAt(const WheelScene& scene, double dx = 0, double dy = 0, double radii = 1)
{
    return {{scene.centreX + dx, scene.centreY + dy}, radii * scene.innerR, radii * scene.outerR};
}

std::vector<int> Consecutive(int count)
{
    std::vector<int> times(static_cast<std::size_t>(count));
    std::iota(times.begin(), times.end(), 0);
    return times;
}

RotationFit FitOf(const WheelScene& scene, int count, const RotationStart& start,
                  const std::vector<Region>& masks = {})
{
    return FitRotation(ToCube(WheelFrames(scene, count)), Consecutive(count), start, masks);
}

double Away(const RotationFit& fit, const WheelScene& scene)
{
    return std::hypot(fit.centre.x - scene.centreX, fit.centre.y - scene.centreY);
}

TEST(Rotation, CentreAndAngleOfADrawnWheel)
{
    const WheelScene scene = HalfWheel();
    const RotationFit fit = FitOf(scene, 8, StartAt(scene));
    EXPECT_TRUE(fit.holds);
    EXPECT_LT(Away(fit, scene), 0.05);
    EXPECT_NEAR(fit.degreesPerFrame, scene.degreesPerFrame, 0.002);
    EXPECT_GT(fit.explained, 0.9);
}

TEST(Rotation, WrongStartsAndRadiiLeadToTheSameCentre)
{
    const WheelScene scene = HalfWheel();
    const CubByte frames = ToCube(WheelFrames(scene, 10));
    for (const RotationStart& start : {StartAt(scene, 25, 0, 0.7), StartAt(scene, -14, 14, 1.3)}) {
        const RotationFit fit = FitRotation(frames, Consecutive(10), start, {});
        EXPECT_TRUE(fit.holds);
        EXPECT_LT(Away(fit, scene), 0.05);
    }
}

TEST(Rotation, CounterClockwiseIsNegative)
{
    WheelScene scene = HalfWheel();
    scene.degreesPerFrame = -1.1;
    const RotationFit fit = FitOf(scene, 4, StartAt(scene, 10, -5));
    EXPECT_TRUE(fit.holds);
    EXPECT_NEAR(fit.degreesPerFrame, -1.1, 0.005);
}

TEST(Rotation, TeethThatMoveByAThirdOfTheirPitchAreFollowed)
{
    WheelScene scene = HalfWheel();
    scene.spokes = 0;
    scene.degreesPerFrame = 4.9;
    const RotationFit fit = FitOf(scene, 6, StartAt(scene, -15, 10, 1.2));
    EXPECT_TRUE(fit.holds);
    EXPECT_LT(Away(fit, scene), 0.05);
    EXPECT_NEAR(fit.degreesPerFrame, 4.9, 0.005);
}

TEST(Rotation, StepsOfUpTo18DegreesAreFollowed)
{
    WheelScene scene = HalfWheel();
    scene.teeth = 8;
    for (const double degrees : {12.0, -16.0}) {
        scene.degreesPerFrame = degrees;
        const RotationFit fit = FitOf(scene, 3, StartAt(scene, 6, -4));
        EXPECT_TRUE(fit.holds);
        EXPECT_LT(Away(fit, scene), 0.1);
        EXPECT_NEAR(fit.degreesPerFrame, degrees, 0.01);
    }
}

TEST(Rotation, HalfOfTheWheelSuffices)
{
    WheelScene scene = HalfWheel();
    scene.centreX = 15.3;
    const RotationFit fit = FitOf(scene, 8, StartAt(scene, 10, 10));
    EXPECT_TRUE(fit.holds);
    EXPECT_LT(Away(fit, scene), 0.2);
}

TEST(Rotation, AWheelLargerThanThePictureHolds)
{
    WheelScene scene = HalfWheel();
    scene.width = scene.height = 220;
    scene.centreX = 104.6;
    scene.centreY = 112.1;
    const RotationFit fit = FitOf(scene, 8, StartAt(scene, 8, 0));
    EXPECT_TRUE(fit.holds);
    EXPECT_LT(Away(fit, scene), 0.1);
}

TEST(Rotation, TheAxisIsFoundAndNotTheMiddleOfTheRing)
{
    WheelScene scene = HalfWheel();
    scene.eccentricity = 6;
    const RotationFit fit = FitOf(scene, 8, StartAt(scene, 6, 0));
    EXPECT_TRUE(fit.holds);
    EXPECT_LT(Away(fit, scene), 0.05);
}

TEST(Rotation, ALeaningAxisIsAllowedFor)
{
    WheelScene scene = HalfWheel();
    scene.tilt = 8;
    scene.tiltDirection = 30;
    scene.distance = 1250;
    const RotationFit fit = FitOf(scene, 10, StartAt(scene, 6, 6));
    EXPECT_TRUE(fit.holds);
    EXPECT_LT(Away(fit, scene), 0.1);
}

TEST(Rotation, LightThatStaysAndLightThatFlickersDoNoHarm)
{
    WheelScene scene = HalfWheel();
    scene.highlight = {scene.centreX + 60, scene.centreY, 62, 60};
    scene.flicker = 0.2;
    scene.flickerPeriod = 2.4;
    const RotationFit fit = FitOf(scene, 10, StartAt(scene, 0, 15, 0.8));
    EXPECT_TRUE(fit.holds);
    EXPECT_LT(Away(fit, scene), 0.05);
}

TEST(Rotation, LightThatDoublesBetweenFramesIsNotTakenForATurn)
{
    WheelScene scene = HalfWheel();
    scene.degreesPerFrame = 3;
    scene.noise = 5;
    scene.flicker = 0.5;
    scene.flickerPeriod = 2.4;
    const RotationFit fit = FitOf(scene, 3, StartAt(scene, 5, -5));
    EXPECT_TRUE(fit.holds);
    EXPECT_NEAR(fit.degreesPerFrame, 3, 0.02);
    EXPECT_LT(Away(fit, scene), 0.15);
}

TEST(Rotation, TheWallsOfAThickWheelAreNotTakenForABend)
{
    WheelScene scene = HalfWheel();
    scene.thickness = 40;
    scene.tilt = 15;
    scene.tiltDirection = 30;
    scene.distance = 1250;
    const RotationFit fit = FitOf(scene, 8, StartAt(scene, 5, -5));
    EXPECT_TRUE(fit.holds);
    EXPECT_LT(Away(fit, scene), 0.8);
    EXPECT_LT(fit.sigma.x, 0.15);
}

TEST(Rotation, OnlyTheStepsThatAreComparedNeedToBeShort)
{
    // Camera frames 0, 3, 4, 7, 8, 11.
    const WheelScene scene = HalfWheel();
    const std::vector<int> times{0, 3, 4, 7, 8, 11};
    Sequence frames(scene.width, scene.height, 6);
    for (int i = 0; i < 6; i++) frames.SetFrame(i, WheelFrame(scene, times[static_cast<std::size_t>(i)]));
    const RotationFit fit = FitRotation(ToCube(frames), times, StartAt(scene, 10, 0), {});
    EXPECT_TRUE(fit.holds);
    EXPECT_LT(Away(fit, scene), 0.05);
    EXPECT_NEAR(fit.degreesPerFrame, scene.degreesPerFrame, 0.002);
}

TEST(Rotation, RepeatedFramesTellNothingAndDoNoHarm)
{
    WheelScene scene = HalfWheel();
    scene.repeated = {1, 3, 5, 7};
    const RotationFit fit = FitOf(scene, 9, StartAt(scene));
    EXPECT_TRUE(fit.holds);
    EXPECT_LT(Away(fit, scene), 0.05);
}

TEST(Rotation, APushIsToldAndTakenBack)
{
    WheelScene scene = HalfWheel();
    scene.push = {5, 2, -1};
    const RotationFit fit = FitOf(scene, 12, StartAt(scene, 8, 8));
    EXPECT_TRUE(fit.holds);
    EXPECT_LT(Away(fit, scene), 0.15);
    EXPECT_NEAR(fit.push.x, 2, 0.1);
    EXPECT_NEAR(fit.push.y, -1, 0.1);
}

TEST(Rotation, WhatMovesInAMaskIsNotSeen)
{
    WheelScene scene = HalfWheel();
    scene.disc = {scene.centreX + 60, scene.centreY - 60, 50, 3, 2, 20, 8};
    const Region mask{int(scene.centreX) + 10, int(scene.centreY) - 115, 135, 120};
    const RotationFit masked = FitOf(scene, 12, StartAt(scene, 5, 5), {mask});
    EXPECT_TRUE(masked.holds);
    EXPECT_LT(Away(masked, scene), 0.05);
    EXPECT_GT(masked.explained, 0.95);
    EXPECT_LT(FitOf(scene, 12, StartAt(scene, 5, 5)).explained, 0.9);
}

TEST(Rotation, TwoFramesSuffice)
{
    WheelScene scene = HalfWheel();
    scene.degreesPerFrame = 1.5;
    const RotationFit fit = FitOf(scene, 2, StartAt(scene, 10, 10));
    EXPECT_TRUE(fit.holds);
    EXPECT_EQ(fit.pairs, 1);
    EXPECT_LT(Away(fit, scene), 0.1);
}

TEST(Rotation, APushBetweenTwoFramesDoesNotPassForAnotherCentre)
{
    WheelScene scene = HalfWheel();
    scene.push = {1, 0.4, 0};
    EXPECT_FALSE(FitOf(scene, 2, StartAt(scene)).holds);
}

TEST(Rotation, DeviationsAreHonest)
{
    int within = 0, axes = 0;
    for (int n = 0; n < 12; n++) {
        WheelScene scene = HalfWheel();
        scene.seed = static_cast<std::uint32_t>(n + 1);
        scene.startAngle = 7.3 * n;
        scene.noise = 1 + 0.4 * n;
        scene.centreX += 0.37 * n;
        const RotationFit fit = FitOf(scene, 4, StartAt(scene, 5, -5));
        ASSERT_TRUE(fit.holds) << n;
        within += std::abs(fit.centre.x - scene.centreX) < 2 * fit.sigma.x;
        within += std::abs(fit.centre.y - scene.centreY) < 2 * fit.sigma.y;
        axes += 2;
        // No better than can be, and not much worse: of `pairs` pairs each.
        EXPECT_GT(fit.sigma.x * std::sqrt(fit.pairs), 0.7 * fit.limit.x);
        EXPECT_LT(fit.sigma.x, 2 * fit.limit.x);
    }
    EXPECT_GE(within, axes * 0.87);
}

TEST(Rotation, TheLimitIsThatOfNoiseAndGradients)
{
    WheelScene scene = HalfWheel();
    scene.uneven = 0;
    scene.noise = 0;
    const BytePicture clean = WheelFrame(scene, 0);
    double alongX = 0, alongY = 0; // root of the summed squared slopes
    for (int y = 1; y + 1 < scene.height; y++)
        for (int x = 1; x + 1 < scene.width; x++) {
            alongX += std::pow((clean.At(x + 1, y) - clean.At(x - 1, y)) / 2.0, 2);
            alongY += std::pow((clean.At(x, y + 1) - clean.At(x, y - 1)) / 2.0, 2);
        }
    scene.noise = 3;
    const RotationFit fit = FitOf(scene, 4, StartAt(scene));
    ASSERT_TRUE(fit.holds);
    const double angle = fit.gap * scene.degreesPerFrame * 3.14159265358979 / 180;
    const double x = std::sqrt(2) * 3 / (angle * std::sqrt(alongX));
    const double y = std::sqrt(2) * 3 / (angle * std::sqrt(alongY));
    EXPECT_NEAR(fit.limit.x, x, 0.05 * x);
    EXPECT_NEAR(fit.limit.y, y, 0.05 * y);
}

TEST(Rotation, WhatDoesNotTurnDoesNotHold)
{
    WheelScene still = HalfWheel();
    still.degreesPerFrame = 0;
    const auto holds = [](const WheelScene& scene, int count) {
        return FitOf(scene, count, StartAt(scene)).holds;
    };
    EXPECT_FALSE(holds(still, 5));
    for (const int count : {2, 3, 6}) {
        WheelScene pushed = still;
        pushed.push = {1, 2, 1};
        EXPECT_FALSE(holds(pushed, count)) << count << " frames";
    }
    WheelScene flickering = still;
    flickering.flicker = 0.2;
    EXPECT_FALSE(holds(flickering, 5));
    WheelScene noisy = still;
    noisy.noise = 8;
    noisy.rowNoise = 3;
    EXPECT_FALSE(holds(noisy, 5));
    WheelScene crossed = still;
    crossed.disc = {still.centreX + 40, still.centreY, 60, 4, 2, 20, 8};
    for (const int count : {2, 8}) EXPECT_FALSE(holds(crossed, count)) << count << " frames";
}

TEST(Rotation, NoiseAloneDoesNotHold)
{
    for (const unsigned seed : {1U, 2U, 3U}) {
        const CubByte frames = ToCube(NoiseFrames(400, 300, 5, seed));
        EXPECT_FALSE(FitRotation(frames, Consecutive(5), {{200, 150}, 80, 100}, {}).holds);
    }
}

TEST(Rotation, WhatCannotBeFittedIsRefused)
{
    const WheelScene scene = HalfWheel();
    const CubByte frames = ToCube(WheelFrames(scene, 3));
    EXPECT_FALSE(FitRotation(CubByte(), {}, StartAt(scene), {}).holds);
    EXPECT_FALSE(FitRotation(ToCube(WheelFrames(scene, 1)), {0}, StartAt(scene), {}).holds);
    EXPECT_FALSE(FitRotation(frames, Consecutive(2), StartAt(scene), {}).holds);
    EXPECT_FALSE(FitRotation(frames, Consecutive(3), {{300, 200}, 0, 0}, {}).holds);
    EXPECT_FALSE(FitRotation(frames, Consecutive(3), {{-3000, 200}, 80, 100}, {}).holds);
    EXPECT_FALSE(FitRotation(frames, Consecutive(3), {{NAN, 200}, 80, 100}, {}).holds);
    EXPECT_FALSE(FitRotation(frames, Consecutive(3), StartAt(scene), {{0, 0, 640, 480}}).holds);
    EXPECT_FALSE(FitRotation(ToCube(NoiseFrames(3, 2, 3, 1)), Consecutive(3), {{1, 1}, 20, 30}, {}).holds);
}

} // namespace
