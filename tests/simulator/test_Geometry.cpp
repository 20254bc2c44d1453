// What wheelsim tells the program: region, radii, sense and the rectangle that hides the disc.
#include <simulator/Geometry.h>

#include <gtest/gtest.h>

#include <cmath>
#include <string>

using namespace telvane;

namespace {

Geometry Measured(const WheelScene& scene)
{
    Geometry geometry{};
    EXPECT_EQ(Measure(scene, geometry), "");
    return geometry;
}

std::string Problem(const WheelScene& scene)
{
    Geometry geometry{};
    return Measure(scene, geometry);
}

WheelScene At(double x, double y)
{
    WheelScene scene;
    scene.centreX = x;
    scene.centreY = y;
    return scene;
}

TEST(Geometry, TheRegionLiesRoundTheNearestPixel)
{
    for (const auto& [x, left] : {std::pair{652.4, 502}, {652.5, 502}, {652.6, 503}, {653.5, 504}}) {
        const Geometry g = Measured(At(x, 471.7));
        EXPECT_EQ(g.region.left, left) << x;
        EXPECT_EQ(g.region.top, 342) << x;
        EXPECT_EQ(g.region.width, 300);
        EXPECT_EQ(g.region.height, 260);
        EXPECT_EQ(g.cx, 150);
        EXPECT_EQ(g.cy, 130);
    }
}

TEST(Geometry, TheRegionKeepsTenPixelsFromThePicturesEdges)
{
    const Geometry inner = Measured(At(160, 140)), cut = Measured(At(159, 139)),
                   corner = Measured(At(30, 30)), opposite = Measured(At(1249, 929));
    EXPECT_EQ(inner.cx, 150);
    EXPECT_EQ(inner.cy, 130);
    EXPECT_EQ(cut.cx, 149);
    EXPECT_EQ(cut.cy, 129);
    EXPECT_EQ(corner.region.left, 10);
    EXPECT_EQ(corner.region.top, 10);
    EXPECT_EQ(opposite.region.left + opposite.region.width, 1269);
    EXPECT_EQ(opposite.region.top + opposite.region.height, 949);
    EXPECT_EQ(Measured(At(1119, 819)).region.width, 300);
    EXPECT_EQ(Measured(At(1120, 819)).region.width, 299);
    EXPECT_EQ(Measured(At(1119, 820)).region.height, 259);
}

TEST(Geometry, TheCentreLiesThirtyPixelsWithinThePicture)
{
    EXPECT_EQ(Problem(At(30, 30)), "");
    EXPECT_EQ(Problem(At(1249, 929)), "");
    for (const auto& [x, y] : {std::pair{29.9, 400.0}, {1249.1, 400.0}, {600.0, 29.9}, {600.0, 929.1}})
        EXPECT_EQ(Problem(At(x, y)).rfind("--centre must lie at least 30 pixels within the picture of ", 0),
                  0u)
            << x << ' ' << y;
}

TEST(Geometry, RadiiAreTheNearestWholeOnes)
{
    for (const auto& [inner, outer, tellsInner, tellsOuter] : {std::tuple{216.3, 249.6, 216, 250},
                                                               {216.7, 249.4, 217, 249},
                                                               {216.5, 249.5, 216, 250},
                                                               {0.0, 0.001, 0, 1},
                                                               {216.2, 216.4, 216, 217}}) {
        WheelScene scene;
        scene.innerR = inner;
        scene.outerR = outer;
        EXPECT_EQ(Measured(scene).innerR, tellsInner) << inner;
        EXPECT_EQ(Measured(scene).outerR, tellsOuter) << outer;
    }
}

TEST(Geometry, RadiiOfATiltedWheelAreTheMeanOfWhatIsSeen)
{
    WheelScene scene;
    scene.tilt = 40;
    const double narrow = std::cos(40 * 3.14159265358979 / 180);
    double mean = 0;
    for (int i = 0; i < 3600; i++) {
        const double a = i * 3.14159265358979 / 1800;
        mean += std::hypot(narrow * std::cos(a), std::sin(a)) / 3600;
    }
    EXPECT_EQ(Measured(scene).innerR, std::lround(216 * mean));
    EXPECT_EQ(Measured(scene).outerR, std::lround(250 * mean));
    EXPECT_LT(Measured(scene).outerR, 225);
}

TEST(Geometry, TheRingIsInsideWithTwoPixelsToSpare)
{
    for (const auto& [x, y, inside] : {std::tuple{252.0, 480.0, true},
                                       {251.9, 480.0, false},
                                       {1027.0, 480.0, true},
                                       {1027.1, 480.0, false},
                                       {640.0, 252.0, true},
                                       {640.0, 251.9, false},
                                       {640.0, 707.0, true},
                                       {640.0, 707.1, false}})
        EXPECT_EQ(Measured(At(x, y)).ringInside, inside) << x << ' ' << y;
}

TEST(Geometry, TheSenseIsThatOfTheSpeed)
{
    for (const auto& [speed, sense] : {std::pair{0.4, 1}, {-0.001, -1}, {0.0, 0}}) {
        WheelScene scene;
        scene.degreesPerFrame = speed;
        EXPECT_EQ(Measured(scene).sense, sense);
    }
}

WheelScene WithDisc(double x, double y, double dx, double dy)
{
    WheelScene scene;
    scene.disc.x = x;
    scene.disc.y = y;
    scene.disc.radius = 40;
    scene.disc.dx = dx;
    scene.disc.dy = dy;
    return scene;
}

void ExpectMask(const WheelScene& scene, const Box& expected)
{
    const Box mask = Measured(scene).mask;
    EXPECT_EQ(mask.left, expected.left);
    EXPECT_EQ(mask.top, expected.top);
    EXPECT_EQ(mask.width, expected.width);
    EXPECT_EQ(mask.height, expected.height);
}

TEST(Geometry, TheMaskHidesTheDiscOnItsWholeWay)
{
    EXPECT_EQ(Measured(WheelScene()).mask.width, 0);
    ExpectMask(WithDisc(1100, 120, 2, 0), {1056, 76, 129, 89});
    ExpectMask(WithDisc(1100, 120, -2, 0), {1016, 76, 129, 89});
    ExpectMask(WithDisc(1100, 120, 0, 3), {1056, 76, 89, 149});
    ExpectMask(WithDisc(1100, 220, 0, -3), {1056, 116, 89, 149});
    // A slanting way needs a fifth of its shorter side all round: 0.2 * 40 here.
    ExpectMask(WithDisc(1000, 120, 4, 2), {948, 68, 185, 145});
}

TEST(Geometry, TheMaskHidesTheDiscOfAPushedPicture)
{
    WheelScene scene = WithDisc(1100, 120, 2, 0);
    scene.push = {5, -7, 3};
    ExpectMask(scene, {1049, 76, 136, 92});
    scene.push = {5, 7, -3};
    ExpectMask(scene, {1056, 73, 136, 92});
}

TEST(Geometry, TheMaskReachesThePicturesEdgesAndNotBeyond)
{
    const std::string beyond = "--disc must keep within the picture all the way, with some room to the edges";
    for (const auto& [x, y, problem] : {std::tuple{44.0, 44.0, std::string()},
                                        {1235.0, 915.0, std::string()},
                                        {43.9, 44.0, beyond},
                                        {44.0, 43.9, beyond},
                                        {1235.1, 915.0, beyond},
                                        {1235.0, 915.1, beyond}})
        EXPECT_EQ(Problem(WithDisc(x, y, 0, 0)), problem) << x << ' ' << y;
}

} // namespace
