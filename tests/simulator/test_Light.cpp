// Light, sensor and surfaces, against their formulas.

#include <tests/simulator/Drawn.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <set>

namespace {

/// Every pixel of a scene is that of the plain one times a factor of its place.
template <class Factor> void ExpectFactor(const WheelScene& scene, int frame, Factor factor)
{
    const Bytes plain = Draw(Plain(), frame), grey = Draw(scene, frame);
    for (int y = 0; y < scene.height; y += 3)
        for (int x = 0; x < scene.width; x++) {
            const double times = factor(x, y), expected = std::min(At(scene, plain, x, y) * times, 255.0);
            // Both were rounded.
            ASSERT_NEAR(At(scene, grey, x, y), expected, 0.51 * (1 + times)) << x << ", " << y;
        }
}

/// 1 in the middle of a spot, 0 from its radius on.
double Profile(double x, double y, double spotX, double spotY, double radius)
{
    const double part = std::hypot(x - spotX, y - spotY) / radius;
    return part < 1 ? std::pow(1 - part * part, 2) : 0;
}

TEST(Light, VignettingFallsWithTheSquareFromTheMiddle)
{
    WheelScene s = Plain();
    s.vignette = 0.4;
    ExpectFactor(
        s, 0, [](int x, int y) { return 1 - 0.4 * (std::pow(x - 640, 2) + std::pow(y - 480, 2)) / 640000; });
}

TEST(Light, HighlightAndShadowStay)
{
    WheelScene s = Plain();
    s.highlight = {750, 400, 125, 60};
    s.shadow = {560.5, 600, 150, 0.5};
    for (int frame : {0, 9})
        ExpectFactor(s, frame, [](int x, int y) {
            return (1 + 60 / metalLevel * Profile(x, y, 750, 400, 125)) *
                   (1 - 0.5 * Profile(x, y, 560.5, 600, 150));
        });
    // Bright metal gains so many levels in the middle.
    WheelScene bright = Plain();
    bright.spokes = 0;
    bright.highlight = {750, 400, 125, 40};
    EXPECT_EQ(At(bright, Draw(bright, 0), 750, 400), 236);
}

TEST(Light, FlickersFromFrameToFrame)
{
    WheelScene s = Plain();
    s.flicker = 0.2;
    s.flickerPeriod = 2.4;
    for (int frame : {0, 1, 2, 12})
        ExpectFactor(s, frame, [=](int, int) { return 1 + 0.2 * std::sin(circle * frame / 2.4); });
}

TEST(Light, GainUnderexposesAndSaturates)
{
    WheelScene s = Plain();
    for (double gain : {0.1, 1.6, 5.0}) {
        s.gain = gain;
        ExpectFactor(s, 0, [=](int, int) { return gain; });
    }
}

/// Mean and variance over two still areas: the backdrop at the left, and the hub.
struct Moments {
    double mean = 0, variance = 0;
};
Moments Of(const WheelScene& scene, int frames, int left, int top, int width, int height)
{
    double sum = 0, squares = 0, count = 0;
    for (int frame = 0; frame < frames; frame++) {
        const Bytes grey = Draw(scene, frame);
        for (int y = top; y < top + height; y++)
            for (int x = left; x < left + width; x++) {
                const double v = At(scene, grey, x, y);
                sum += v;
                squares += v * v;
                count++;
            }
    }
    return {sum / count, squares / count - sum / count * sum / count};
}

TEST(Sensor, ShotNoiseGrowsWithTheLight)
{
    WheelScene s = Plain();
    for (double fullWell : {1000.0, 10000.0}) {
        s.fullWell = fullWell;
        const Moments dark = Of(s, 2, 0, 0, 380, 960), hub = Of(s, 20, 622, 441, 60, 60);
        const double step = 1 / 12.0; // of rounding to whole levels
        EXPECT_NEAR(dark.mean, backdropLevel, 0.02);
        EXPECT_NEAR(hub.mean, hubLevel, 0.1);
        EXPECT_NEAR(dark.variance / (backdropLevel * 255 / fullWell + step), 1, 0.02);
        EXPECT_NEAR(hub.variance / (hubLevel * 255 / fullWell + step), 1, 0.03);
    }
    // Independent of the read noise, to which it adds.
    s.noise = 4;
    s.fullWell = 1000;
    EXPECT_NEAR(Of(s, 2, 0, 0, 380, 960).variance / (backdropLevel * 0.255 + 16 + 1 / 12.0), 1, 0.02);
}

TEST(Sensor, RowNoiseIsCommonToARow)
{
    WheelScene s = Plain();
    s.rowNoise = 6;
    double squares = 0;
    int rows = 0;
    for (int frame = 0; frame < 4; frame++) {
        const Bytes grey = Draw(s, frame);
        for (int y = 0; y < 960; y++) {
            for (int x = 1; x < 380; x += 20) ASSERT_EQ(At(s, grey, x, y), At(s, grey, 0, y));
            squares += std::pow(At(s, grey, 0, y) - backdropLevel, 2);
            rows++;
        }
    }
    EXPECT_NEAR(std::sqrt(squares / rows), 6, 0.25);
    EXPECT_FALSE(Draw(s, 0) == Draw(s, 1));
}

TEST(Sensor, HotPixelsStayWhite)
{
    WheelScene s = Plain();
    s.hotPixels = 300;
    const auto white = [](const Bytes& grey) {
        std::set<std::size_t> places;
        for (std::size_t i = 0; i < grey.size(); i++)
            if (grey[i] == 255) places.insert(i);
        return places;
    };
    const auto hot = white(Draw(s, 0));
    EXPECT_GT(hot.size(), 295u); // two may fall onto one place
    EXPECT_LE(hot.size(), 300u);
    EXPECT_TRUE(white(Draw(s, 5)) == hot);
    s.seed = 2;
    EXPECT_FALSE(white(Draw(s, 0)) == hot);
    // Over the whole picture.
    std::size_t lower = 0;
    for (const std::size_t i : hot) lower += i >= 1280 * 480;
    EXPECT_NEAR(double(lower), 150, 45);
}

TEST(Sensor, SameSeedGivesTheSameNoise)
{
    WheelScene s;
    s.fullWell = 2000;
    s.rowNoise = 2;
    s.hotPixels = 10;
    const Bytes one = Draw(s, 3);
    EXPECT_TRUE(Draw(s, 3) == one);
    EXPECT_FALSE(Draw(s, 4) == one);
    s.seed = 7;
    EXPECT_FALSE(Draw(s, 3) == one);
}

TEST(Surface, ScratchesAndDirtTurnWithTheWheel)
{
    WheelScene clean = Plain();
    clean.centreX = 640;
    clean.centreY = 480;
    clean.teeth = 36;
    clean.spokes = 4;
    clean.degreesPerFrame = 90; // onto itself, but for what lies on the face
    WheelScene marked = clean;
    marked.scratches = 25;
    marked.dirt = 25;
    const Bytes without = Draw(clean, 0), first = Draw(marked, 0), second = Draw(marked, 1);
    int brighter = 0, darker = 0;
    for (int y = -260; y <= 260; y++)
        for (int x = -260; x <= 260; x++) {
            const int before = At(marked, first, 640 + x, 480 + y);
            // A quarter of a turn clockwise carries (x, y) to (-y, x).
            ASSERT_LE(std::abs(before - At(marked, second, 640 - y, 480 + x)), 1) << x << ", " << y;
            const int change = before - At(clean, without, 640 + x, 480 + y);
            brighter += change > 5;
            darker += change < -5;
            ASSERT_TRUE(change == 0 || x * x + y * y < 252 * 252) << "only on the wheel";
        }
    EXPECT_GT(brighter, 500);
    EXPECT_GT(darker, 500);
}

TEST(Surface, BackdropsTextureStays)
{
    WheelScene s = Plain();
    s.texture = 20;
    const Bytes first = Draw(s, 0), later = Draw(s, 30);
    int least = 255, most = 0;
    for (int y = 0; y < 960; y++)
        for (int x = 0; x < 1280; x++) {
            if (std::hypot(x - s.centreX, y - s.centreY) < 252) continue;
            const int v = At(s, first, x, y);
            ASSERT_EQ(At(s, later, x, y), v);
            least = std::min(least, v);
            most = std::max(most, v);
        }
    EXPECT_GE(least, 32);
    EXPECT_LE(most, 72);
    EXPECT_GT(most - least, 25);
}

} // namespace
