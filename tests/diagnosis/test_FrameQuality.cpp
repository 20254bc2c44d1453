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
    // Also in little light, where the others differ by less.
    WheelScene dark = Filmed();
    dark.gain = other.gain = 0.2;
    frames = DrawnFrames(dark, 6);
    RenderWheel(other, 2, &frames(0, 0, 3));
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

TEST(FrameQuality, TheChangeOfTheLightIsAShareOfTheFrameBefore)
{
    CubByte frames(64, 64, 3);
    for (int t = 0; t < 3; t++) {
        MatByte frame = frames(RNG::All(), RNG::All(), t);
        frame.Fill(static_cast<UBYTE>(t == 0 ? 100 : t == 1 ? 150 : 120));
    }
    EXPECT_NEAR(QualityOf(frames).flicker, 0.5, 1e-6);
    frames.Fill(UBYTE(120));
    MatByte last = frames(RNG::All(), RNG::All(), 2);
    last.Fill(UBYTE(90));
    EXPECT_NEAR(QualityOf(frames).flicker, 0.25, 1e-6);
}

TEST(FrameQuality, TheLightOfDarkFramesCountsUntilHardlyAnyIsLeft)
{
    CubByte frames(64, 64, 2);
    for (const auto& [first, second, flicker] : {std::tuple{20, 15, 0.25}, {6, 3, 0.5}, {5, 2, 0.0}}) {
        frames.Fill(static_cast<UBYTE>(first));
        MatByte last = frames(RNG::All(), RNG::All(), 1);
        last.Fill(static_cast<UBYTE>(second));
        EXPECT_NEAR(QualityOf(frames).flicker, flicker, 1e-6) << first;
    }
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

TEST(FrameQuality, APushHasALeastLengthAndStandsOutFromTheOthers)
{
    const auto steps = [](std::initializer_list<double> lengths) {
        std::vector<std::optional<Place>> places{Place{50, 80}};
        for (const double length : lengths) {
            const Place last = *places.back(); // 3, 4, 5
            places.push_back(Place{last.x + 0.6 * length, last.y - 0.8 * length});
        }
        return PushesOf(places);
    };
    // Of one step or two nothing is usual.
    EXPECT_EQ(steps({0.49}).size(), 0u);
    ASSERT_EQ(steps({0.51}).size(), 1u);
    EXPECT_EQ(steps({0.51})[0].frame, 1);
    EXPECT_EQ(steps({0, 0.51})[0].frame, 2);
    EXPECT_EQ(steps({0.51, 0.7}).size(), 2u);
    EXPECT_EQ(steps({0, 0.49, 0, 0, 0}).size(), 0u);
    EXPECT_EQ(steps({0, 0.51, 0, 0, 0}).size(), 1u);
    // Steps that differ from their drift by 0.2: six times that is usual.
    EXPECT_EQ(steps({1.2, 0.8, 1.0, 1.2, 0.8, 1.0, 2.19, 1.2, 0.8}).size(), 0u);
    const std::vector<Push> pushes = steps({1.2, 0.8, 1.0, 1.2, 0.8, 1.0, 2.21, 1.2, 0.8});
    ASSERT_EQ(pushes.size(), 1u);
    EXPECT_EQ(pushes[0].frame, 7);
    EXPECT_NEAR(pushes[0].by.x, 0.6 * 1.21, 1e-9) << "without the drift";
    EXPECT_NEAR(pushes[0].by.y, -0.8 * 1.21, 1e-9);
}

TEST(FrameQuality, WhiteFrom254AndBlackUpTo4Count)
{
    const auto shares = [](int half, int other) {
        CubByte frames(64, 48, 2);
        for (int t = 0; t < 2; t++)
            for (int y = 0; y < 48; y++)
                for (int x = 0; x < 64; x++) frames(x, y, t) = static_cast<UBYTE>(x < 32 ? half : other);
        const FrameQuality quality = QualityOf(frames);
        return std::pair(quality.clipped, quality.dark);
    };
    EXPECT_EQ(shares(254, 253), std::pair(0.5, 0.0));
    EXPECT_EQ(shares(255, 254), std::pair(1.0, 0.0));
    EXPECT_EQ(shares(4, 5), std::pair(0.0, 0.5));
    EXPECT_EQ(shares(0, 255), std::pair(0.5, 0.5));
}

TEST(FrameQuality, GreysAreCountedAllOverTheRun)
{
    for (const int count : {2, 3, 6}) {
        CubByte frames(64, 48, count);
        frames.Fill(UBYTE(100));
        MatByte later = frames(RNG::All(), RNG::All(), count == 6 ? 4 : count - 1);
        later.Fill(UBYTE(255));
        EXPECT_DOUBLE_EQ(QualityOf(frames).clipped, 1.0 / std::min(count, 3)) << count;
    }
}

namespace {

/// Changes of one grey value and variance everywhere.
Changes Plain(int width, int height, float mean, float variance)
{
    Changes changes;
    changes.width = width;
    changes.height = height;
    changes.count = 2;
    changes.mean.assign(static_cast<std::size_t>(width * height), mean);
    changes.variance.assign(changes.mean.size(), variance);
    return changes;
}

} // namespace

TEST(FrameQuality, BrightIsWhatATenthOfTheRingReaches)
{
    Changes changes = Plain(100, 100, 50, 0);
    const Place centre{99.5, 99.5};
    EXPECT_EQ(BrightnessOf(changes, centre, 40, 60), 50);
    // Cells of two pixels; right of the centre all are brighter, and beyond a tenth of the ring.
    for (int y = 0; y < 100; y++)
        for (int x = 90; x < 100; x++) changes.mean[changes.At(x, y)] = 200;
    EXPECT_EQ(BrightnessOf(changes, centre, 40, 60), 50) << "outside of the ring";
    EXPECT_EQ(BrightnessOf(changes, centre, 85, 98), 200);
    for (int y = 0; y < 100; y++)
        for (int x = 78; x < 80; x++) changes.mean[changes.At(x, y)] = 240;
    EXPECT_EQ(BrightnessOf(changes, centre, 40, 60), 50) << "less than a tenth";
    // Teeth that pass are as bright as their mean and their deviation.
    changes = Plain(100, 100, 100, 900);
    EXPECT_EQ(BrightnessOf(changes, centre, 40, 60), 130);
}

TEST(Changes, NoiseGrowsWithTheLight)
{
    Changes changes = Plain(2, 2, 100, 7);
    changes.noise = 2; // of a pixel: 1 of a cell of four
    changes.darkestNoise = 50;
    EXPECT_DOUBLE_EQ(changes.NoiseVariance(20), 3.3);
    EXPECT_DOUBLE_EQ(changes.NoiseVariance(50), 3.3);
    EXPECT_DOUBLE_EQ(changes.NoiseVariance(100), 6.3);
    EXPECT_NEAR(changes.Excess(0), 0.7, 1e-6);
    changes.variance[1] = 6;
    EXPECT_EQ(changes.Excess(1), 0);
    EXPECT_EQ(changes.Middle(3, 5).x, 6.5);
    EXPECT_EQ(changes.Middle(3, 5).y, 10.5);
}

TEST(Changes, TheirMiddleHasHalfOfThemOnEachSide)
{
    Changes changes = Plain(60, 50, 10, 0);
    const auto change = [&](int x, int y) { changes.variance[changes.At(x, y)] = 100; };
    for (const int x : {5, 7, 10, 50, 52}) change(x, 2 * x - (x > 40 ? 80 : 0)); // rows 10, 14, 20, 20, 24
    Place middle = MiddleOf(changes, {});
    EXPECT_EQ(middle.x, 20.5);
    EXPECT_EQ(middle.y, 40.5);
    middle = MiddleOf(changes, {{90, 0, 30, 100}}); // without the last two
    EXPECT_EQ(middle.x, 14.5);
    EXPECT_EQ(middle.y, 28.5);
}

TEST(Changes, MasksReachAsFarAsTheirMargin)
{
    const std::vector<Region> masks{{100, 100, 10, 10}, {200, 50, 20, 30}};
    for (const auto& [x, y, margin, masked] : {std::tuple{100.0, 100.0, 0.0, true},
                                               {99.9, 105.0, 0.0, false},
                                               {105.0, 99.9, 0.0, false},
                                               {109.9, 109.9, 0.0, true},
                                               {110.0, 105.0, 0.0, false},
                                               {105.0, 110.0, 0.0, false},
                                               {97.1, 105.0, 3.0, true},
                                               {96.9, 105.0, 3.0, false},
                                               {112.9, 97.1, 3.0, true},
                                               {113.0, 105.0, 3.0, false},
                                               {105.0, 113.0, 3.0, false},
                                               {105.0, 96.9, 3.0, false},
                                               {219.0, 79.0, 0.0, true},
                                               {219.0, 81.0, 0.0, false},
                                               {225.0, 60.0, 0.0, false}})
        EXPECT_EQ(Masked(masks, x, y, margin), masked) << x << ' ' << y << ' ' << margin;
}

TEST(FrameQuality, PlacesThatWereNotFoundAreNoPush)
{
    std::vector<std::optional<Place>> places(6, Place{10, 10});
    places[2].reset();
    EXPECT_TRUE(PushesOf(places).empty());
}
