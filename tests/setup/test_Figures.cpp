// The figures for aiming: sharpness, exposure, the teeth's speed.
#include <setup/Figures.h>

#include <setup/MotionPicture.h>
#include <tests/support/Decoded.h>
#include <tests/support/Wheels.h>

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstdint>
#include <numbers>
#include <utility>

using namespace telvane;

namespace {

MatByte Frame(const WheelScene& scene, int number)
{
    MatByte frame(scene.width, scene.height);
    RenderWheel(scene, number, &frame(0, 0));
    return frame;
}

Circles CirclesOf(const WheelScene& scene)
{
    return {{scene.centreX, scene.centreY}, scene.innerR, scene.outerR, scene.teeth};
}

/// Pixels a frame half way between the circles.
double TrueSpeed(const WheelScene& scene)
{
    return scene.degreesPerFrame * std::numbers::pi / 180 * (scene.innerR + scene.outerR) / 2;
}

} // namespace

TEST(Figures, ASharperPictureHasTheLargerNumber)
{
    const WheelScene scene;
    const MatByte sharp = Frame(scene, 0);
    MatByte soft(scene.width, scene.height), softer(scene.width, scene.height);
    const auto mean = [](const MatByte& from, MatByte& to) {
        to.Fill(0);
        for (int y = 1; y + 1 < from.dim2; y++)
            for (int x = 1; x + 1 < from.dim1; x++)
                to(x, y) = static_cast<UBYTE>(
                    (from(x - 1, y) + from(x + 1, y) + from(x, y - 1) + from(x, y + 1)) / 4);
    };
    mean(sharp, soft);
    mean(soft, softer);
    for (const Circles& circles : {Circles(), CirclesOf(scene)}) {
        EXPECT_GT(Sharpness(sharp, circles), 1.05 * Sharpness(soft, circles));
        EXPECT_GT(Sharpness(soft, circles), 1.05 * Sharpness(softer, circles));
    }
    EXPECT_GT(Sharpness(sharp, CirclesOf(scene)), 1.5 * Sharpness(sharp, Circles()))
        << "the wheel alone counts";
    MatByte even(40, 30);
    even.Fill(90);
    EXPECT_EQ(Sharpness(even, Circles()), 0);
    EXPECT_EQ(Sharpness(even, {{-500, -500}, 5, 10, 0}), 0) << "nothing of the circle is seen";
    even(20, 10) = 190; // one pixel differs from four others by 100
    EXPECT_NEAR(Sharpness(even, Circles()), std::sqrt(4 * 100.0 * 100 / (38 * 28)), 1e-9);
}

TEST(Figures, TheSquareAroundTheOuterCircleIsLookedAt)
{
    const Circles circles{{60, 45}, 10, 20, 0};
    const auto with = [&](int x, int y) {
        MatByte picture(120, 100);
        picture.Fill(90);
        picture(x, y) = 190;
        return Sharpness(picture, circles);
    };
    // 38 x 38 differences of each direction; a pixel well inside differs from four others.
    for (const auto& [x, y] : {std::pair{60, 45}, {42, 27}, {75, 45}, {60, 60}, {45, 60}})
        EXPECT_NEAR(with(x, y), std::sqrt(4 * 100.0 * 100 / (38 * 38)), 1e-9) << x << ' ' << y;
    for (const auto& [x, y] : {std::pair{39, 45}, {80, 45}, {60, 24}, {60, 65}})
        EXPECT_EQ(with(x, y), 0) << x << ' ' << y;
    const auto corner = [&](int x, int y, double count) {
        EXPECT_NEAR(with(x, y), std::sqrt(count * 100.0 * 100 / (38 * 38)), 1e-9) << x << ' ' << y;
    };
    corner(40, 25, 2); // it is the first of two differences
    corner(79, 45, 1);
    corner(60, 64, 1);
}

TEST(Figures, SharesOfExposureAreCounted)
{
    MatByte picture(10, 10);
    picture.Fill(100);
    picture(0, 0) = 255;
    picture(1, 0) = 254;
    picture(2, 0) = 15;
    picture(3, 0) = 16;
    picture(4, 0) = 0;
    EXPECT_DOUBLE_EQ(ExposureOf(picture).clipped, 0.01);
    EXPECT_DOUBLE_EQ(ExposureOf(picture).dark, 0.02);
}

TEST(Figures, TheTeethsSpeedIsThatOfTheWheel)
{
    for (const double degrees : {0.05, 0.4, -0.4, 0.9, -2.0, 3.0}) {
        WheelScene scene;
        scene.degreesPerFrame = degrees;
        const MatByte first = Frame(scene, 3), second = Frame(scene, 4);
        for (const int teeth : {scene.teeth, 0}) {
            Circles circles = CirclesOf(scene);
            circles.teeth = teeth;
            const auto speed = SpeedOf(first, second, circles);
            ASSERT_TRUE(speed) << degrees;
            EXPECT_NEAR(speed->pixels, TrueSpeed(scene), 0.08)
                << degrees << " degrees, " << teeth << " teeth told";
            EXPECT_FALSE(speed->nearHalf) << degrees;
        }
    }
}

TEST(Figures, TheSpeedHoldsForCirclesThatAreALittleOff)
{
    const WheelScene scene;
    Circles circles = CirclesOf(scene);
    circles.centre.x += 6;
    circles.centre.y -= 5;
    circles.inner -= 5;
    circles.outer += 6;
    circles.teeth = 0;
    const auto speed = SpeedOf(Frame(scene, 0), Frame(scene, 1), circles);
    ASSERT_TRUE(speed);
    EXPECT_NEAR(speed->pixels, TrueSpeed(scene), 0.25);
}

TEST(Figures, AFaintRingHasASpeedUntilItIsNoise)
{
    WheelScene scene;
    scene.noise = 0;
    for (const auto& [gain, seen] : {std::pair{0.15, true}, {0.01, false}}) {
        scene.gain = gain;
        const auto speed = SpeedOf(Frame(scene, 0), Frame(scene, 1), CirclesOf(scene));
        ASSERT_EQ(speed.has_value(), seen) << gain;
        if (!speed) continue;
        EXPECT_NEAR(speed->pixels, TrueSpeed(scene), 0.1);
    }
}

TEST(Figures, TwoRingsThatDoNotLookAlikeHaveNoSpeed)
{
    WheelScene scene, other;
    other.teeth = 31;
    EXPECT_FALSE(SpeedOf(Frame(scene, 0), Frame(other, 0), CirclesOf(scene)));
}

TEST(Figures, HalfOfTheRingMustLookAlike)
{
    WheelScene scene, other;
    other.teeth = 31;
    const MatByte first = Frame(scene, 0), moved = Frame(scene, 1), another = Frame(other, 1);
    for (const auto& [share, seen] : {std::pair{0.7, true}, {0.3, false}}) {
        MatByte second(scene.width, scene.height);
        for (int y = 0; y < scene.height; y++)
            for (int x = 0; x < scene.width; x++) {
                const double turns =
                    std::atan2(y - scene.centreY, x - scene.centreX) / (2 * std::numbers::pi) + 0.5;
                second(x, y) = turns < share ? moved(x, y) : another(x, y);
            }
        EXPECT_EQ(SpeedOf(first, second, CirclesOf(scene)).has_value(), seen) << share;
    }
}

TEST(Figures, NearHalfAToothTheSpeedIsNotTold)
{
    for (const double degrees : {3.9, 4.5, 5.0, -4.3}) {
        WheelScene scene; // a tooth and its gap are 9 degrees
        scene.degreesPerFrame = degrees;
        const auto speed = SpeedOf(Frame(scene, 0), Frame(scene, 1), CirclesOf(scene));
        ASSERT_TRUE(speed) << degrees;
        EXPECT_TRUE(speed->nearHalf) << degrees;
    }
}

TEST(Figures, HalfAToothIsThatOfTheNumberOfTeethThatIsTold)
{
    WheelScene scene; // 40 teeth: 9 degrees each
    scene.noise = 0;
    scene.degreesPerFrame = 4.5;
    const MatByte first = Frame(scene, 0), second = Frame(scene, 1);
    Circles circles = CirclesOf(scene);
    for (const auto& [teeth, nearHalf] : {std::pair{0, true}, {40, true}, {20, false}}) {
        circles.teeth = teeth;
        const auto speed = SpeedOf(first, second, circles);
        ASSERT_TRUE(speed) << teeth;
        EXPECT_EQ(speed->nearHalf, nearHalf) << teeth;
        EXPECT_NEAR(std::abs(speed->pixels), TrueSpeed(scene), 0.1) << teeth << ": either way";
    }
}

TEST(Figures, CirclesOfMoreThanFourPicturesHaveNoSpeed)
{
    // A bow of the ring goes through a small picture, which shows waves along it.
    MatByte first(64, 48), second(64, 48);
    for (int y = 0; y < 48; y++)
        for (int x = 0; x < 64; x++) {
            first(x, y) = static_cast<UBYTE>(128 + 60 * std::sin(y / 2.0));
            second(x, y) = static_cast<UBYTE>(128 + 60 * std::sin((y - 1) / 2.0));
        }
    const auto speed = SpeedOf(first, second, {{32 - 246, 24}, 236, 256, 0});
    ASSERT_TRUE(speed);
    EXPECT_NEAR(speed->pixels, 1, 0.1);
    EXPECT_FALSE(SpeedOf(first, second, {{32 - 246, 24}, 236, 256.5, 0}));
    EXPECT_FALSE(SpeedOf(first, second, {{32, 24}, 1e15, 2e15, 0})) << "no memory has room for that ring";
}

TEST(Figures, AStillWheelHasNoSpeedAndWithoutTeethThereIsNone)
{
    WheelScene still;
    still.degreesPerFrame = 0;
    const auto speed = SpeedOf(Frame(still, 0), Frame(still, 1), CirclesOf(still));
    ASSERT_TRUE(speed);
    EXPECT_NEAR(speed->pixels, 0, 0.03);

    const WheelScene scene;
    const MatByte first = Frame(scene, 0), second = Frame(scene, 1);
    EXPECT_FALSE(SpeedOf(first, second, Circles())) << "nobody has said where the wheel is";
    EXPECT_FALSE(SpeedOf(first, second, {{100, 100}, 40, 60, 0})) << "there is none at that place";
    EXPECT_FALSE(SpeedOf(first, second, {{5000, 5000}, 40, 60, 10})) << "outside the picture";
    EXPECT_FALSE(SpeedOf(first, second, {{640, 480}, 90000, 100000, 10}));
    EXPECT_FALSE(SpeedOf(first, second, {{640, 480}, 250, 216, 40}))
        << "the inner circle is not the inner one";
}

TEST(MotionPicture, IsAColourPictureOfHalfTheSize)
{
    const WheelScene scene;
    const std::string jpeg = MotionJpeg(Frame(scene, 0), Frame(scene, 1));
    ASSERT_GT(jpeg.size(), 1000u);
    EXPECT_EQ(jpeg.substr(0, 3), "\xFF\xD8\xFF");
    // The frame header: height, width, components.
    const std::size_t at = jpeg.find("\xFF\xC0");
    ASSERT_NE(at, jpeg.npos);
    const auto two = [&](std::size_t i) {
        return 256 * static_cast<unsigned char>(jpeg[at + i]) + static_cast<unsigned char>(jpeg[at + i + 1]);
    };
    EXPECT_EQ(two(5), 480);
    EXPECT_EQ(two(7), 640);
    EXPECT_EQ(jpeg[at + 9], 3);
}

namespace {

double Smooth(double x, double y) { return 60 + 25 * std::sin(x / 5) * std::sin(y / 5) + 0.5; }

/// The mean colour of the motion of a pattern of 160 x 120 pixels that moves by (dx, dy).
template <class Pattern = decltype(Smooth)>
std::array<double, 3> MotionColour(double dx, double dy, Pattern pattern = Smooth)
{
    MatByte first(160, 120), second(160, 120);
    for (int y = 0; y < 120; y++)
        for (int x = 0; x < 160; x++) {
            first(x, y) = static_cast<UBYTE>(pattern(x, y));
            second(x, y) = static_cast<UBYTE>(pattern(x - dx, y - dy));
        }
    const std::string jpeg = MotionJpeg(first, second);
    const decoded::Decoded read = decoded::Decode({jpeg.begin(), jpeg.end()});
    std::array<double, 3> mean{};
    for (int y = 10; y < 50; y++)
        for (int x = 10; x < 70; x++)
            for (std::size_t c = 0; c < 3; c++)
                mean[c] +=
                    read.rows[static_cast<std::size_t>(y)][3 * static_cast<std::size_t>(x) + c] / 2400.0;
    return mean;
}

} // namespace

TEST(MotionPicture, TheColourIsThatOfTheReportForTheDirection)
{
    // Red to the right, cyan to the left, between yellow and green down, between blue and violet up.
    const auto [right, left, down, up] =
        std::array{MotionColour(1, 0), MotionColour(-1, 0), MotionColour(0, 1), MotionColour(0, -1)};
    EXPECT_GT(right[0], right[1] + 60);
    EXPECT_GT(right[0], right[2] + 60);
    EXPECT_GT(left[1], left[0] + 60);
    EXPECT_GT(left[2], left[0] + 60);
    EXPECT_GT(down[1], down[0] + 20);
    EXPECT_GT(down[0], down[2] + 20);
    EXPECT_GT(up[2], up[0] + 20);
    EXPECT_GT(up[0], up[1] + 20);
}

TEST(MotionPicture, TheNewerPictureIsBelowTheColours)
{
    MatByte first(64, 48), second(64, 48);
    first.Fill(UBYTE(60));
    second.Fill(UBYTE(100));
    const std::string jpeg = MotionJpeg(first, second);
    EXPECT_NEAR(decoded::Decode({jpeg.begin(), jpeg.end()}).rows[12][48], 50, 2);
}

TEST(MotionPicture, WhatIsStillIsGreyAndHalfAsBrightAndSlowMotionShows)
{
    for (const double grey : {60.0, 200.0})
        for (const double part : MotionColour(0, 0, [grey](double, double) { return grey; }))
            EXPECT_NEAR(part, grey / 2, 2);
    const auto slow = MotionColour(0.1, 0);
    EXPECT_GT(slow[0], slow[1] + 20) << slow[0] << ' ' << slow[1];
}

TEST(MotionPicture, FaintWavesShowAndNoiseStaysDark)
{
    const auto waves = [](double x, double y) { return 100.5 + 5 * std::sin(x / 5) * std::sin(y / 5); };
    EXPECT_NEAR(MotionColour(0.5, 0, waves)[0], 50 + 62, 4);
    std::uint32_t state = 1;
    for (const auto& [levels, colour] : {std::pair{3u, 0}, {5u, 5}, {8u, 28}}) {
        const auto noise = [&state, most = levels](double, double) {
            state = state * 1664525 + 1013904223;
            return 100.0 - most + (state >> 16) % (2 * most + 1);
        };
        for (const double part : MotionColour(0, 0, noise)) EXPECT_NEAR(part, 50 + colour, 2) << levels;
    }
}
