// What the flow says about drawn wheels.
#include <diagnosis/Motion.h>

#include <tests/diagnosis/DrawnRuns.h>

#include <gtest/gtest.h>

using namespace telvane;

namespace {

WheelScene Beside()
{
    WheelScene scene = Scene();
    scene.centreX = 303.3; // further to the left
    return scene;
}

std::vector<MotionCell> CellsOf(const WheelScene& scene, const std::vector<Region>& masks = {}, int count = 5)
{
    MatShort u, v;
    std::vector<int> times;
    for (int t = 0; t < count; t++) times.push_back(t);
    FlowOf(DrawnFrames(scene, count), times, u, v);
    return MotionCells(u, v, masks);
}

double Off(const Place& place, const WheelScene& scene)
{
    return std::hypot(place.x - scene.centreX, place.y - scene.centreY);
}

WheelScene WithDisc(double x, double y)
{
    WheelScene scene = Beside();
    scene.disc.x = x;
    scene.disc.y = y;
    scene.disc.radius = 40;
    scene.disc.dx = 3;
    return scene;
}

} // namespace

TEST(Motion, CentreAndSenseOfAWheelAreFound)
{
    for (const double sign : {1, -1}) {
        WheelScene scene = Beside();
        scene.degreesPerFrame *= sign;
        const MotionSummary motion = Summarise(CellsOf(scene));
        ASSERT_TRUE(motion.turns);
        EXPECT_EQ(motion.sense, sign > 0 ? Sense::clockwise : Sense::counterClockwise);
        EXPECT_LT(Off(motion.centre, scene), 8);
        EXPECT_GT(motion.agrees, 0.8);
    }
}

TEST(Motion, HalfAWheelIsEnough)
{
    WheelScene scene = Beside();
    scene.centreX = 40;
    const MotionSummary motion = Summarise(CellsOf(scene));
    ASSERT_TRUE(motion.turns);
    EXPECT_EQ(motion.sense, Sense::clockwise);
    EXPECT_LT(Off(motion.centre, scene), 20);
}

TEST(Motion, AnotherThingThatMovesDoesNotDrawTheCentreAway)
{
    const WheelScene scene = WithDisc(530, 90);
    const MotionSummary motion = Summarise(CellsOf(scene));
    ASSERT_TRUE(motion.turns);
    EXPECT_LT(Off(motion.centre, scene), 10);
}

TEST(Motion, TheFlowOfFramesIsTheProgramsOwn)
{
    const WheelScene scene = Beside();
    const CubByte frames = DrawnFrames(scene, 4);
    Geometry geometry;
    ASSERT_EQ(Measure(scene, geometry), "");
    RunArguments arguments = ArgumentsFor(scene, geometry, 4, Method::ring);
    for (const int period : {1, 2}) { // with different periods only pairs one apart are compared
        arguments.period2 = period;
        const RunSeen seen = DetectedRun(frames, arguments);
        MatShort u, v;
        FlowOf(frames, arguments.Times(), u, v);
        ASSERT_EQ(u.dim1, seen.u.dim1);
        int differing = 0;
        for (int y = 0; y < u.dim2; y++)
            for (int x = 0; x < u.dim1; x++) differing += u(x, y) != seen.u(x, y) || v(x, y) != seen.v(x, y);
        EXPECT_EQ(differing, 0);
    }
}

TEST(Motion, MotionElsewhereHasAShareAndAPlace)
{
    const Place centre{303.3, 238.6};
    const Ring ring{130, 160};
    EXPECT_LT(Elsewhere(CellsOf(Beside()), centre, ring, Sense::clockwise).share, 0.03);
    const MotionElsewhere beside = Elsewhere(CellsOf(WithDisc(530, 90)), centre, ring, Sense::clockwise);
    EXPECT_GT(beside.share, 0.2);
    EXPECT_NEAR(beside.where.x, 540, 20);
    EXPECT_NEAR(beside.where.y, 90, 20);
}

TEST(Motion, WhatIsBlankedDoesNotCount)
{
    const std::vector<Region> masks{{480, 40, 130, 100}};
    const std::vector<MotionCell> cells = CellsOf(WithDisc(530, 90), masks);
    EXPECT_LT(Elsewhere(cells, {303.3, 238.6}, {130, 160}, Sense::clockwise).share, 0.03);
}

TEST(Motion, AThingThatMovesAloneDoesNotTurn)
{
    WheelScene scene = WithDisc(300, 240);
    scene.degreesPerFrame = 0;
    const std::vector<MotionCell> cells = CellsOf(scene);
    const StraightMotion straight = Straight(cells);
    EXPECT_GT(straight.share, 0.8);
    EXPECT_NEAR(straight.where.x, 306, 15);
    EXPECT_LT(Straight(CellsOf(Beside())).share, 0.2);
}

TEST(Motion, WithoutMotionNothingTurns)
{
    EXPECT_FALSE(Summarise({}).turns);
    MatShort none(64, 64);
    none.Fill(0);
    EXPECT_TRUE(MotionCells(none, none, {}).empty());
}
