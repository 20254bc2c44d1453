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
    const CubByte frames = ToCube(WheelFrames(scene, 8));
    for (const RotationStart& start : {StartAt(scene, 25, 0, 0.7), StartAt(scene, -14, 14, 1.3)}) {
        const RotationFit fit = FitRotation(frames, Consecutive(8), start, {});
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

TEST(Rotation, AStandingWheelDoesNotHold)
{
    WheelScene scene = HalfWheel();
    scene.degreesPerFrame = 0;
    EXPECT_FALSE(FitOf(scene, 5, StartAt(scene)).holds);
}

} // namespace
