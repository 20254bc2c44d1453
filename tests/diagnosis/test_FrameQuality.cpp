// What is wrong with frames themselves.
#include <diagnosis/FrameQuality.h>

#include <tests/diagnosis/DrawnRuns.h>

#include <gtest/gtest.h>

#include <algorithm>

using namespace telvane;

namespace {

WheelScene Filmed()
{
    WheelScene scene;
    scene.width = 400;
    scene.height = 320;
    scene.centreX = 203.3;
    scene.centreY = 158.6;
    scene.innerR = 90;
    scene.outerR = 115;
    scene.teeth = 20;
    scene.hubR = 20;
    scene.degreesPerFrame = 0.8;
    return scene;
}

FrameQuality QualityOf(const CubByte& frames) { return telvane::QualityOf(frames, ChangesOf(frames)); }

FrameQuality QualityOf(const WheelScene& scene, int count = 6)
{
    return QualityOf(DrawnFrames(scene, count));
}

} // namespace

TEST(FrameQuality, NoiseIsMeasuredBesideAWheelThatTurns)
{
    for (const double noise : {0.7, 1.5, 6.0}) {
        WheelScene scene = Filmed();
        scene.noise = noise;
        EXPECT_NEAR(QualityOf(scene).noise, noise, 0.15 * noise) << noise;
    }
}

TEST(FrameQuality, NothingMovesWhereAWheelStandsStill)
{
    WheelScene scene = Filmed();
    scene.degreesPerFrame = 0;
    for (const int count : {2, 6}) {
        EXPECT_EQ(QualityOf(scene, count).moving, 0) << count;
        scene.noise = 6;
    }
    EXPECT_GT(QualityOf(Filmed()).moving, 0.02);
}

TEST(FrameQuality, MotionByAFifthOfAPixelIsSeenInTwoFrames)
{
    WheelScene scene = Filmed();
    scene.degreesPerFrame = 0.11;
    EXPECT_GT(QualityOf(scene, 2).moving, 0.005);
}

TEST(FrameQuality, ARepeatedFrameIsNamed)
{
    WheelScene scene = Filmed();
    scene.repeated = {2, 4};
    EXPECT_EQ(QualityOf(scene).repeated, (std::vector<int>{2, 4}));
}

TEST(FrameQuality, AFrameIsRepeatedAlsoWhereOnlyItsNoiseIsNew)
{
    WheelScene other = Filmed();
    other.seed = 99;
    CubByte frames = DrawnFrames(Filmed(), 6);
    RenderWheel(other, 2, &frames(0, 0, 3)); // once more what frame 2 shows
    EXPECT_EQ(QualityOf(frames).repeated, std::vector<int>{3});
}

TEST(FrameQuality, SlowMotionIsNoRepetition)
{
    WheelScene scene = Filmed();
    scene.degreesPerFrame = 0.11;
    EXPECT_TRUE(QualityOf(scene).repeated.empty());
    scene.noise = 6;
    EXPECT_TRUE(QualityOf(scene).repeated.empty());
}

TEST(FrameQuality, FramesThatAreAllTheSameAreNotRepetitions)
{
    WheelScene scene = Filmed();
    scene.degreesPerFrame = 0;
    scene.noise = 0;
    const FrameQuality quality = QualityOf(scene);
    EXPECT_TRUE(quality.allEqual);
    EXPECT_TRUE(quality.repeated.empty());
}

TEST(FrameQuality, TheChangeOfTheLightIsMeasured)
{
    WheelScene scene = Filmed();
    scene.flicker = 0.1;
    scene.flickerPeriod = 4; // 1, 1.1, 1, 0.9, 1, ...
    EXPECT_NEAR(QualityOf(scene).flicker, 0.1, 0.02);
    EXPECT_LT(QualityOf(Filmed()).flicker, 0.005);
}

TEST(FrameQuality, OverexposedAndUnderexposedFramesAreTold)
{
    WheelScene bright = Filmed(), dark = Filmed();
    bright.gain = 2;
    dark.gain = 0.2;
    EXPECT_GT(QualityOf(bright).clipped, 0.1);
    EXPECT_EQ(QualityOf(Filmed()).clipped, 0);
    EXPECT_LT(QualityOf(dark).bright, 50);
    EXPECT_GT(QualityOf(Filmed()).bright, 120);
    dark.gain = 0.02;
    EXPECT_GT(QualityOf(dark).dark, 0.9);
}

TEST(FrameQuality, AJumpIsAPushAndADriftIsNone)
{
    std::vector<std::optional<Place>> places;
    for (int i = 0; i < 8; i++)
        places.push_back(Place{100 + 0.3 * i + (i >= 5 ? 2 : 0), 50 - (i >= 5 ? 1.0 : 0)});
    const std::vector<Push> pushes = PushesOf(places);
    ASSERT_EQ(pushes.size(), 1U);
    EXPECT_EQ(pushes[0].frame, 5);
    EXPECT_NEAR(pushes[0].by.x, 2, 1e-9);
    EXPECT_NEAR(pushes[0].by.y, -1, 1e-9);
}

TEST(FrameQuality, PlacesThatWereNotFoundAreNoPush)
{
    std::vector<std::optional<Place>> places(6, Place{10, 10});
    places[2].reset();
    EXPECT_TRUE(PushesOf(places).empty());
}
