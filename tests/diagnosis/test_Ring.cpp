// The ring of teeth of drawn wheels.
#include <diagnosis/Ring.h>

#include <tests/diagnosis/DrawnRuns.h>

#include <gtest/gtest.h>

using namespace telvane;

namespace {

std::vector<int> Times(int count)
{
    std::vector<int> times;
    for (int t = 0; t < count; t++) times.push_back(t);
    return times;
}

RingFound RingOf(const WheelScene& scene, const Place& centre, int count = 5,
                 const std::vector<Region>& masks = {})
{
    const CubByte frames = DrawnFrames(scene, count);
    return FindRing(frames, Times(count), ChangesOf(frames), centre, masks);
}

void ExpectRing(const RingFound& found, const WheelScene& scene)
{
    ASSERT_TRUE(found.ring && found.teeth);
    EXPECT_NEAR(found.ring->inner, scene.innerR, 1.5);
    EXPECT_NEAR(found.ring->outer, scene.outerR, 1.5);
    EXPECT_EQ(*found.teeth, scene.teeth);
    EXPECT_NEAR(found.middle.x, scene.centreX, 1);
    EXPECT_NEAR(found.middle.y, scene.centreY, 1);
}

} // namespace

TEST(Ring, RadiiAndTeethOfWheelsAreExact)
{
    for (const int teeth : {9, 24, 60}) {
        WheelScene scene = Scene();
        scene.teeth = teeth;
        SCOPED_TRACE(teeth);
        ExpectRing(RingOf(scene, {323.3, 238.6}), scene);
    }
}

TEST(Ring, AWheelThatHardlyMovesHasARing)
{
    WheelScene scene = Scene();
    scene.degreesPerFrame = 0.08; // 0.2 pixels
    ExpectRing(RingOf(scene, {323.3, 238.6}, 2), scene);
}

TEST(Ring, FromBesideItsMiddleTheRingIsTheSame) { ExpectRing(RingOf(Scene(), {328, 234}), Scene()); }

TEST(Ring, HalfOfItIsEnough)
{
    WheelScene scene = Scene();
    scene.centreX = 31;
    const RingFound found = RingOf(scene, {31, 238.6});
    ExpectRing(found, scene);
    EXPECT_LT(found.seen, 0.7);
}

TEST(Ring, WhatIsBlankedIsLeftOut)
{
    const RingFound found = RingOf(Scene(), {323.3, 238.6}, 5, {{300, 60, 200, 150}});
    ExpectRing(found, Scene());
    EXPECT_LT(found.seen, 0.8);
}

TEST(Ring, TheOutlineTellsTheMiddleThoughAThirdIsCovered)
{
    const WheelScene scene = Scene();
    WheelScene still = scene;
    still.degreesPerFrame = 0;
    const CubByte cover = DrawnFrames(still, 3);
    CubByte frames = DrawnFrames(scene, 3);
    frames(RNG(0, 239), RNG::All(), RNG::All()) = cover(RNG(0, 239), RNG::All(), RNG::All());
    const std::optional<Place> middle = OutlineMiddle(ChangesOf(frames), {});
    ASSERT_TRUE(middle);
    EXPECT_NEAR(middle->x, scene.centreX, 3);
    EXPECT_NEAR(middle->y, scene.centreY, 3);
}

TEST(Ring, WithoutACircleThereIsNoOutline)
{
    WheelScene scene = Scene();
    scene.degreesPerFrame = 0;
    EXPECT_FALSE(OutlineMiddle(ChangesOf(DrawnFrames(scene, 3)), {}));
}

TEST(Ring, TheStepOfTheTeethIsMeasured)
{
    for (const double step : {0.1, -0.1, 0.3, 0.45}) {
        WheelScene scene = Scene();
        scene.degreesPerFrame = step * 360 / scene.teeth;
        const RingFound found = RingOf(scene, {323.3, 238.6});
        EXPECT_NEAR(found.step, step, 0.01);
        EXPECT_GT(found.steady, 0.95);
    }
}

TEST(Ring, StepsThatDifferAreNotSteady)
{
    WheelScene scene = Scene();
    scene.jerks = {{2, 6}};
    const RingFound found = RingOf(scene, {323.3, 238.6});
    EXPECT_LT(found.steady, 0.9);
    EXPECT_NEAR(found.uneven, 0.4, 0.1);
    EXPECT_LT(RingOf(Scene(), {323.3, 238.6}).uneven, 0.02);
}

TEST(Ring, TheMiddleOfAnEccentricRingIsNotTheAxis)
{
    WheelScene scene = Scene();
    scene.eccentricity = 6;
    const RingFound found = RingOf(scene, {323.3, 238.6}, 2);
    ASSERT_TRUE(found.ring);
    EXPECT_NEAR(found.middle.x, 329.3, 1);
    EXPECT_NEAR(found.middle.y, 238.6, 1);
    EXPECT_NEAR(found.ring->outer, scene.outerR, 1.5);
}

TEST(Ring, PlacesFollowAPushOfTheCamera)
{
    WheelScene scene = Scene();
    scene.push = {2, 3, -2};
    const CubByte frames = DrawnFrames(scene, 4);
    const std::vector<std::optional<Place>> places = RingPlaces(frames, {323.3, 238.6}, {130, 160}, 24, {});
    ASSERT_TRUE(places[1] && places[2]);
    EXPECT_NEAR(places[2]->x - places[1]->x, 3, 0.4);
    EXPECT_NEAR(places[2]->y - places[1]->y, -2, 0.4);
}

TEST(Ring, WhereNothingMovesThereIsNone)
{
    WheelScene scene = Scene();
    scene.degreesPerFrame = 0;
    scene.noise = 0;
    EXPECT_FALSE(RingOf(scene, {323.3, 238.6}).ring);
}

namespace {

/// A ring of waves about (160, 120): as strong as `strength` says at each distance, going on by degrees.
template <class Strength> CubByte Waves(int count, double degrees, Strength strength,
                                        const std::vector<std::pair<int, double>>& teeth = {{20, 1}},
                                        double stretch = 0, int width = 320, int height = 240)
{
    CubByte frames(width, height, count);
    for (int t = 0; t < count; t++)
        for (int y = 0; y < height; y++)
            for (int x = 0; x < width; x++) {
                const double dx = x - width / 2, dy = y - height / 2, angle = std::atan2(dy, dx);
                const double r = std::hypot(dx, dy) - stretch * std::cos(2 * angle);
                double wave = 0;
                for (const auto& [number, part] : teeth)
                    wave += part * std::cos(number * (angle - t * degrees * 3.14159265358979 / 180));
                frames(x, y, t) = static_cast<UBYTE>(std::lround(120 + 60 * strength(r) * wave));
            }
    return frames;
}

double Within(double r, double inner, double outer) { return r > inner && r < outer ? 1 : 0; }

RingFound FoundIn(const CubByte& frames, std::vector<int> times = {})
{
    if (times.empty()) times = Times(frames.dim3);
    return FindRing(frames, times, ChangesOf(frames), {160, 120}, {});
}

const auto sharp = [](double r) { return Within(r, 70, 100); };

} // namespace

TEST(Ring, ItsRimsLieWhereTheWavesFallToFourTenths)
{
    // Rising from 50 to 70, falling from 90 to 110.
    const CubByte frames =
        Waves(3, 3, [](double r) { return std::clamp(std::min((r - 50) / 20, (110 - r) / 20), 0.0, 1.0); });
    const RingFound found = FoundIn(frames);
    ASSERT_TRUE(found.ring);
    EXPECT_NEAR(found.ring->inner, 58, 1);
    EXPECT_NEAR(found.ring->outer, 102, 1);
    EXPECT_EQ(found.teeth, 20);
    EXPECT_NEAR(found.step, 3 / 18.0, 0.01);
}

TEST(Ring, AnOvalIsToldFromACircle)
{
    EXPECT_LT(FoundIn(Waves(3, 3, sharp)).oval, 0.3);
    for (const double stretch : {2.0, 5.0}) {
        const RingFound found = FoundIn(Waves(3, 3, sharp, {{20, 1}}, stretch));
        ASSERT_TRUE(found.ring);
        EXPECT_NEAR(found.oval, stretch, 0.5);
    }
}

TEST(Ring, OvertonesOfTheTeethAreNotTheirNumber)
{
    for (const int overtone : {2, 3}) {
        const RingFound found = FoundIn(Waves(3, 3, sharp, {{20, 0.4}, {20 * overtone, 0.6}}));
        EXPECT_EQ(found.teeth, 20) << overtone;
    }
}

TEST(Ring, WithoutANumberThatStandsOutThereAreNoTeeth)
{
    const RingFound found = FoundIn(Waves(3, 3, sharp, {{20, 0.7}, {31, 0.3}}));
    EXPECT_EQ(found.teeth, 20);
    EXPECT_NEAR(found.clear, 0.49 / 0.58, 0.05) << "by squares";
    EXPECT_NEAR(FoundIn(Waves(3, 3, sharp)).clear, 1, 0.05);
    EXPECT_FALSE(FoundIn(Waves(3, 3, sharp, {{20, 0.55}, {31, 0.45}})).teeth);
}

TEST(Ring, OnlyComparedFramesSayHowFarTheTeethGoOn)
{
    CubByte frames = Waves(4, 3, sharp);
    const CubByte later = Waves(4, 6, sharp); // the third and fourth frame, 12 and 18 degrees on
    for (const int t : {2, 3}) {
        MatByte place = frames(RNG::All(), RNG::All(), t);
        place = later(RNG::All(), RNG::All(), t == 2 ? 1 : 2);
    }
    // 0, 3 | 6 and 12 degrees: of 18 each 1/6 and 1/3 of a tooth, and 1/6 between.
    RingFound found = FoundIn(frames, {0, 1, 5, 6});
    EXPECT_NEAR(found.step, 0.25, 0.01);
    EXPECT_NEAR(found.uneven, 1 / 12.0, 0.01);
    found = FoundIn(frames, {0, 1, 2, 6});
    EXPECT_NEAR(found.step, 1 / 6.0, 0.01);
    EXPECT_NEAR(found.uneven, 0, 0.01);
    EXPECT_NEAR(found.steady, 1, 0.01);
}

TEST(Ring, AboutAThirdOfItMustBeSeen)
{
    const CubByte frames = Waves(3, 3, sharp);
    const Changes changes = ChangesOf(frames);
    const auto seen = [&](int left) {
        return FindRing(frames, Times(3), changes, {160, 120}, {{left, 0, 320, 240}});
    };
    EXPECT_TRUE(seen(150).ring) << "nearly half";
    EXPECT_NEAR(seen(150).seen, 0.45, 0.03);
    EXPECT_FALSE(seen(90).ring) << "a quarter";
}

TEST(Ring, WhereThePictureEndsItHasNoRim)
{
    // Of ten teeth, whose tips leave the picture on both sides: two parts of six have a rim.
    const CubByte frames = Waves(3, 6, sharp, {{10, 1}}, 0, 180, 240);
    const RingFound found = FindRing(frames, Times(3), ChangesOf(frames), {90, 120}, {});
    EXPECT_EQ(found.teeth, 10);
    EXPECT_FALSE(found.ring);
}

TEST(Ring, HundredsOfTeethAreCountedWhereTheyAreLarge)
{
    const auto large = [](double r) { return Within(r, 290, 330); };
    const CubByte frames = Waves(2, 0.2, large, {{400, 1}}, 0, 700, 700);
    const RingFound found = FindRing(frames, Times(2), ChangesOf(frames), {350, 350}, {});
    EXPECT_EQ(found.teeth, 400);
}

TEST(Ring, TheRoughRingIsTheOutermostThatChanges)
{
    std::vector<double> profile(100, 0);
    EXPECT_FALSE(RoughRing(profile));
    for (int i = 20; i <= 30; i++) profile[static_cast<std::size_t>(i)] = 8;
    for (int i = 50; i <= 60; i++) profile[static_cast<std::size_t>(i)] = 10;
    profile[70] = 9; // a single one is noise
    std::optional<Ring> ring = RoughRing(profile);
    ASSERT_TRUE(ring);
    EXPECT_EQ(ring->inner, 100);
    EXPECT_EQ(ring->outer, 122);
    for (int i = 50; i <= 60; i++) profile[static_cast<std::size_t>(i)] = 2.6; // of 9: 0.29
    ring = RoughRing(profile);
    ASSERT_TRUE(ring);
    EXPECT_EQ(ring->inner, 40);
    EXPECT_EQ(ring->outer, 62);
    for (int i = 50; i <= 60; i++) profile[static_cast<std::size_t>(i)] = 2.8; // of 9: 0.31
    EXPECT_EQ(RoughRing(profile)->outer, 122);
}
