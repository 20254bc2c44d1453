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
