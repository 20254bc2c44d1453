// The drawn wheel as it stands straight before a perfect camera.

#include <tests/simulator/Drawn.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <string>
#include <utility>

namespace {

// ---- the picture

TEST(Wheel, SameBytesOnEveryPlatform)
{
    const WheelScene standard;
    EXPECT_EQ(Fnv1a(Draw(standard, 0)), 0x55593C3345171903u);
    EXPECT_EQ(Fnv1a(Draw(standard, 1)), 0xF239BEF7120CD544u);
    EXPECT_EQ(Fnv1a(Draw(standard, 24)), 0x69907A2ACFD7B47Du);
    EXPECT_EQ(Fnv1a(Draw(Plain(), 7)), 0x3E1BECC6F135453Bu);

    WheelScene other;
    other.width = 333;
    other.height = 251;
    other.centreX = 170.25;
    other.centreY = 121.9;
    other.innerR = 77.3;
    other.outerR = 99.1;
    other.teeth = 23;
    other.degreesPerFrame = -0.71;
    other.startAngle = 33.3;
    other.spokes = 5;
    other.hubR = 21;
    other.noise = 6.5;
    other.seed = 4000000000u;
    other.disc = {60, 50, 30, 1.5, 2.25, 9, 7};
    ASSERT_EQ(WheelProblem(other), "");
    EXPECT_EQ(Fnv1a(Draw(other, 13)), 0xFC7D950D4CFA9C8Fu);
}

TEST(Wheel, SameBytesOnEveryPlatformOfWhatRealMachinesShow)
{
    WheelScene s;
    s.tilt = 8;
    s.tiltDirection = 30;
    s.distance = 2000;
    s.thickness = 40;
    EXPECT_EQ(Fnv1a(Draw(s, 2)), 1117145739681837382u);
    s.eccentricity = 5;
    s.eccentricDirection = 100;
    s.lens = 0.1;
    s.vignette = 0.4;
    s.highlight = {750, 400, 125, 60};
    s.shadow = {500, 600, 150, 0.5};
    s.flicker = 0.1;
    s.flickerPeriod = 2.5;
    s.gain = 1.2;
    s.exposure = 0.7;
    s.rolling = 0.5;
    EXPECT_EQ(Fnv1a(Draw(s, 2)), 4865131406603369219u);
    s.fullWell = 1000;
    s.rowNoise = 2;
    s.hotPixels = 50;
    s.ramp = 0.1;
    s.jerks = {{4, 1}, {7, -2}};
    s.push = {6, 3.5, -2};
    s.repeated = {7};
    s.lost = {2, 3};
    s.scratches = 40;
    s.dirt = 60;
    s.texture = 20;
    s.disc = {130, 140, 50, 5, -3, 20, 16};
    for (const auto& [frame, digest] : {std::pair{1, 8218957067805572704u}, {4, 15284133917683857474u}})
        EXPECT_EQ(Fnv1a(Draw(s, frame)), digest) << frame;
}

TEST(Wheel, CentreOfMassIsTheCentre)
{
    WheelScene scene = Plain();
    scene.spokes = 0;
    scene.hubR = 0;
    for (int frame : {0, 5}) {
        const Bytes grey = Draw(scene, frame);
        double sum = 0, sumX = 0, sumY = 0;
        for (int y = 0; y < scene.height; y++)
            for (int x = 0; x < scene.width; x++) {
                const double v = grey[std::size_t(y) * scene.width + x] - double(grey[0]);
                sum += v;
                sumX += v * x;
                sumY += v * y;
            }
        EXPECT_NEAR(sumX / sum, scene.centreX, 0.01);
        EXPECT_NEAR(sumY / sum, scene.centreY, 0.01);

        // The teeth fill half of the ring.
        const double levels = At(scene, grey, scene.centreX, scene.centreY) - double(grey[0]);
        const double pi = std::acos(-1.0);
        const double area = pi * (scene.innerR * scene.innerR + scene.outerR * scene.outerR) / 2;
        EXPECT_NEAR(sum / levels / area, 1, 0.002);
    }
}

TEST(Wheel, TurnByOneToothGivesTheSamePicture)
{
    WheelScene scene = Plain();
    scene.spokes = 0;
    const Bytes grey = Draw(scene, 0);
    scene.startAngle = 9;
    EXPECT_TRUE(Draw(scene, 0) == grey);
    scene.startAngle = 4.5;
    EXPECT_FALSE(Draw(scene, 0) == grey);
}

TEST(Wheel, TurnByOneSpokeGivesTheSamePicture)
{
    WheelScene scene = Plain();
    scene.teeth = 36;
    scene.degreesPerFrame = -15;
    EXPECT_TRUE(Draw(scene, 4) == Draw(scene, 0));
    EXPECT_FALSE(Draw(scene, 2) == Draw(scene, 0));
}

TEST(Wheel, PositiveSpeedTurnsClockwise)
{
    WheelScene scene = Plain();
    scene.teeth = 4; // a tooth reaches 22.5 degrees to both sides of its middle
    scene.degreesPerFrame = 22.5;
    const double x = scene.centreX + 233 * std::cos(0.2);
    const double above = scene.centreY - 233 * std::sin(0.2), below = scene.centreY + 233 * std::sin(0.2);

    const Bytes first = Draw(scene, 0);
    EXPECT_EQ(At(scene, first, x, below), At(scene, first, x, above));
    const Bytes clockwise = Draw(scene, 1);
    EXPECT_GT(At(scene, clockwise, x, below), At(scene, clockwise, x, above) + 100);
    scene.degreesPerFrame = -22.5;
    const Bytes counter = Draw(scene, 1);
    EXPECT_GT(At(scene, counter, x, above), At(scene, counter, x, below) + 100);
}

TEST(Wheel, EdgesAreSpreadOverSeveralPixels)
{
    // 91 levels from pixel to pixel would overflow the 16-bit squares of the flow estimation.
    const WheelScene scene = Plain();
    const Bytes grey = Draw(scene, 3);
    int most = 0;
    for (int y = 0; y < scene.height; y++)
        for (int x = 1; x < scene.width; x++) {
            const std::size_t i = std::size_t(y) * scene.width + x;
            most = std::max(most, std::abs(grey[i] - grey[i - 1]));
        }
    EXPECT_GT(most, 50);
    EXPECT_LT(most, 91);
}

TEST(Wheel, LightFallsTowardsTheLowerRight)
{
    WheelScene scene = Plain();
    scene.uneven = 0.5;
    const Bytes grey = Draw(scene, 0);
    const int upperLeft = At(scene, grey, 0, 0), upperRight = At(scene, grey, 1279, 0);
    const int lowerRight = At(scene, grey, 1279, 959);
    EXPECT_GT(upperLeft, upperRight);
    EXPECT_GT(upperRight, lowerRight);
    EXPECT_NEAR(lowerRight, upperLeft * 0.5, 1);
}

// ---- noise

TEST(Wheel, SameSeedGivesTheSameFrame)
{
    const WheelScene scene;
    EXPECT_TRUE(Draw(scene, 3) == Draw(scene, 3));
}

TEST(Wheel, SeedChangesTheNoiseOnly)
{
    WheelScene scene;
    const Bytes one = Draw(scene, 3);
    scene.seed = 2;
    const Bytes two = Draw(scene, 3);
    EXPECT_FALSE(one == two);

    scene.noise = 0;
    const Bytes clean = Draw(scene, 3);
    scene.seed = 1;
    EXPECT_TRUE(Draw(scene, 3) == clean);
    for (std::size_t i = 0; i < clean.size(); i++) {
        // The noise never exceeds 3.5 standard deviations; rounding adds one level.
        ASSERT_LE(std::abs(one[i] - clean[i]), 7);
        ASSERT_LE(std::abs(two[i] - clean[i]), 7);
    }
}

TEST(Wheel, NoiseHasItsStandardDeviation)
{
    WheelScene scene;
    scene.noise = 0;
    const Bytes clean = Draw(scene, 0);
    scene.noise = 5;
    const Bytes one = Draw(scene, 0), two = Draw(scene, 1);
    double sum = 0, squares = 0, across = 0;
    std::size_t count = 0;
    for (std::size_t i = 0; i < clean.size(); i++) {
        if (i % 1280 > 380) // the still backdrop left of the wheel
            continue;
        const double a = one[i] - double(clean[i]), b = two[i] - double(clean[i]);
        sum += a;
        squares += a * a;
        across += a * b;
        count++;
    }
    EXPECT_NEAR(sum / double(count), 0, 0.05);
    EXPECT_NEAR(std::sqrt(squares / double(count)), 5, 0.05);
    EXPECT_NEAR(across / double(count) / 25, 0, 0.01); // frames are independent of each other
}

TEST(Wheel, NoiseSaturatesAtBlackAndWhite)
{
    WheelScene scene;
    scene.noise = 100;
    const Bytes grey = Draw(scene, 0);
    std::size_t black = 0, white = 0;
    for (unsigned char v : grey) {
        black += v == 0;
        white += v == 255;
    }
    // About 30 % of the backdrop falls below 0; wrapped values would be spread over all levels.
    EXPECT_GT(black, grey.size() / 5);
    EXPECT_GT(white, grey.size() / 100);
}

// ---- the disc

TEST(Wheel, DiscChangesNothingButItsOwnPlace)
{
    WheelScene scene = Plain();
    const Bytes without = Draw(scene, 4);
    scene.disc = {130, 140, 50, 5, -3, 20, 16};
    const Bytes with = Draw(scene, 4);
    std::size_t changed = 0;
    for (int y = 0; y < scene.height; y++)
        for (int x = 0; x < scene.width; x++) {
            const std::size_t i = std::size_t(y) * scene.width + x;
            if (with[i] == without[i]) continue;
            changed++;
            ASSERT_LT(std::hypot(x - 150, y - 128), 52) << x << ", " << y;
        }
    EXPECT_GT(changed, 3000u);
}

TEST(Wheel, DiscTurnsBack)
{
    WheelScene scene = Plain();
    scene.degreesPerFrame = 0;
    scene.disc = {130, 140, 50, 5, -3, 6, 16};
    EXPECT_TRUE(Draw(scene, 5) == Draw(scene, 7));
    EXPECT_TRUE(Draw(scene, 0) == Draw(scene, 12));
    EXPECT_FALSE(Draw(scene, 0) == Draw(scene, 6));
}

// ---- what cannot be drawn

TEST(Wheel, EveryBadValueHasAProblem)
{
    EXPECT_EQ(WheelProblem(WheelScene()), "");

    const double nan = std::numeric_limits<double>::quiet_NaN();
    const double inf = std::numeric_limits<double>::infinity();
    const auto refused = [](auto change) {
        WheelScene scene;
        scene.disc = {130, 140, 50, 5, -3, 20, 16};
        change(scene);
        return !WheelProblem(scene).empty();
    };
    EXPECT_FALSE(refused([](WheelScene&) {}));
    for (int bad : {0, -1, 4097, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()}) {
        EXPECT_TRUE(refused([=](WheelScene& s) { s.width = bad; }));
        EXPECT_TRUE(refused([=](WheelScene& s) { s.height = bad; }));
        EXPECT_TRUE(refused([=](WheelScene& s) { s.teeth = bad; }));
        EXPECT_TRUE(bad == 0 || refused([=](WheelScene& s) { s.spokes = bad; }));
        EXPECT_TRUE(bad == 4097 || refused([=](WheelScene& s) { s.disc.travel = bad; }));
    }
    for (double bad : {nan, inf, -inf, 1e6, -1e6, 1e300}) {
        EXPECT_TRUE(refused([=](WheelScene& s) { s.centreX = bad; }));
        EXPECT_TRUE(refused([=](WheelScene& s) { s.centreY = bad; }));
        EXPECT_TRUE(refused([=](WheelScene& s) { s.innerR = bad; }));
        EXPECT_TRUE(refused([=](WheelScene& s) { s.outerR = bad; }));
        EXPECT_TRUE(refused([=](WheelScene& s) { s.degreesPerFrame = bad; }));
        EXPECT_TRUE(refused([=](WheelScene& s) { s.startAngle = bad; }));
        EXPECT_TRUE(refused([=](WheelScene& s) { s.hubR = bad; }));
        EXPECT_TRUE(refused([=](WheelScene& s) { s.uneven = bad; }));
        EXPECT_TRUE(refused([=](WheelScene& s) { s.noise = bad; }));
        EXPECT_TRUE(refused([=](WheelScene& s) { s.disc.x = bad; }));
        EXPECT_TRUE(refused([=](WheelScene& s) { s.disc.y = bad; }));
        EXPECT_TRUE(refused([=](WheelScene& s) { s.disc.radius = bad; }));
        EXPECT_TRUE(refused([=](WheelScene& s) { s.disc.dx = bad; }));
        EXPECT_TRUE(refused([=](WheelScene& s) { s.disc.dy = bad; }));
        EXPECT_TRUE(refused([=](WheelScene& s) { s.disc.stripe = bad; }));
    }
    EXPECT_TRUE(refused([](WheelScene& s) { s.innerR = s.outerR; }));
    EXPECT_TRUE(refused([](WheelScene& s) { s.hubR = s.innerR + 1; }));
}

TEST(Wheel, ScenesAtTheLimitsStayInsideTheirBuffer)
{
    WheelScene far;
    far.width = 37;
    far.height = 1;
    far.centreX = 100000;
    far.centreY = -100000;
    far.innerR = 0;
    far.hubR = 0;
    far.outerR = 100000;
    far.teeth = 1000;
    far.spokes = 100;
    far.degreesPerFrame = -360;
    far.startAngle = -360;
    far.uneven = 1;
    far.noise = 100;
    far.disc = {-100000, 100000, 100000, 1000, -1000, 1, 1};
    WheelScene still;
    still.width = 1;
    still.height = 41;
    still.degreesPerFrame = 0;
    still.disc = {0, 20, 1e-9, 0, 0, 10000, 1000};
    for (const WheelScene& scene : {far, still}) {
        ASSERT_EQ(WheelProblem(scene), "");
        for (int frame : {0, 1, std::numeric_limits<int>::max()}) {
            const std::size_t size = std::size_t(scene.width) * scene.height;
            Bytes grey(size + 2, 0xA5);
            RenderWheel(scene, frame, grey.data() + 1);
            EXPECT_EQ(grey.front(), 0xA5);
            EXPECT_EQ(grey.back(), 0xA5);
        }
    }
}

} // namespace
