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

namespace {

MotionCell Cell(double x, double y, double toX, double toY)
{
    return {{x, y}, toX, toY, std::hypot(toX, toY)};
}

/// At a distance from (100, 200) in a direction, moving so many degrees off the clockwise tangent.
MotionCell Round(double radius, double degrees, double off = 0, double strength = 1)
{
    const double at = degrees * 3.14159265358979 / 180, way = (degrees + 90 + off) * 3.14159265358979 / 180;
    return Cell(100 + radius * std::cos(at), 200 + radius * std::sin(at), strength * std::cos(way),
                strength * std::sin(way));
}

const Place about{100, 200};

} // namespace

TEST(MotionCells, LieWhereTheFlowIsAndPointAgainstIt)
{
    MatShort u(129, 65), v(129, 65);
    u.Fill(short(0));
    v.Fill(short(0));
    for (int y = 16; y < 24; y++)
        for (int x = 32; x < 48; x++) { // two cells
            u(x, y) = -30;
            v(x, y) = 40;
        }
    v(80, 40) = v(81, 41) = -200; // the upper left corner of another cell
    std::vector<MotionCell> cells = MotionCells(u, v, {});
    ASSERT_EQ(cells.size(), 3u);
    EXPECT_EQ(cells[0].at.x, 35);
    EXPECT_EQ(cells[1].at.x, 43);
    EXPECT_EQ(cells[0].at.y, 19);
    EXPECT_EQ(cells[0].x, 64 * 30);
    EXPECT_EQ(cells[0].y, -64 * 40);
    EXPECT_EQ(cells[0].strength, 64 * 50);
    EXPECT_EQ(cells[2].at.x, 80) << "where it is strong";
    EXPECT_EQ(cells[2].at.y, 40);
    EXPECT_EQ(cells[2].y, 400);
    // Less than a tenth of the strongest is not seen.
    v(81, 41) = -119;
    EXPECT_EQ(MotionCells(u, v, {}).size(), 2u);
    v(81, 41) = -121;
    EXPECT_EQ(MotionCells(u, v, {}).size(), 3u);
    // Nor what lies within 3 pixels of a mask.
    EXPECT_EQ(MotionCells(u, v, {{46, 0, 20, 60}}).size(), 2u);
    EXPECT_EQ(MotionCells(u, v, {{47, 0, 20, 60}}).size(), 3u);
    EXPECT_EQ(MotionCells(u, v, {{20, 0, 12, 60}}).size(), 3u);
    EXPECT_EQ(MotionCells(u, v, {{20, 0, 13, 60}}).size(), 2u);
}

TEST(MotionCells, StandOutFromTheNoiseOfTheWholePictureByFourTimes)
{
    MatShort u(129, 65), v(129, 65); // 16 x 8 cells
    v.Fill(short(0));
    u.Fill(short(-10));
    for (int y = 16; y < 24; y++)
        for (int x = 32; x < 40; x++) u(x, y) = -41;
    EXPECT_EQ(MotionCells(u, v, {}).size(), 1u);
    for (int y = 16; y < 24; y++)
        for (int x = 32; x < 40; x++) u(x, y) = -39;
    EXPECT_EQ(MotionCells(u, v, {}).size(), 0u);
}

TEST(Motion, TheSenseIsThatOfMostOfTheMotionAlongTheCircle)
{
    const Ring ring{50, 100};
    // 29 degrees off the tangent goes round, 31 degrees does not.
    for (const auto& [off, agrees] : {std::pair{29.0, 1.0}, {-29.0, 1.0}, {31.0, 0.0}, {-31.0, 0.0}}) {
        const MotionSummary motion = SummariseAbout({Round(70, 10, off), Round(70, 130, off)}, about, ring);
        EXPECT_NEAR(motion.agrees, agrees, 1e-9) << off;
        EXPECT_EQ(motion.turns, agrees > 0.5);
    }
    for (const auto& [share, turns] : {std::pair{0.51, true}, {0.49, false}}) {
        const MotionSummary motion =
            SummariseAbout({Round(70, 10, 180, share), Round(70, 130, 90, 1 - share)}, about, ring);
        EXPECT_NEAR(motion.agrees, share, 1e-9);
        EXPECT_EQ(motion.turns, turns);
        EXPECT_EQ(motion.sense, Sense::counterClockwise);
    }
    // Only what lies in the ring counts.
    const std::vector<MotionCell> cells{Round(49, 0, 180, 9), Round(51, 50), Round(99, 100),
                                        Round(101, 200, 180, 9)};
    EXPECT_EQ(SummariseAbout(cells, about, ring).sense, Sense::clockwise);
    EXPECT_NEAR(SummariseAbout(cells, about, ring).agrees, 1, 1e-9);
}

TEST(Motion, TheCentreMayLieALittleOutsideOfWhatMoves)
{
    for (const double off : {0.0, 180.0}) {
        std::vector<MotionCell> cells;
        for (double degrees = 20; degrees <= 160; degrees += 4) cells.push_back(Round(70, degrees, off));
        const MotionSummary motion = Summarise(cells);
        ASSERT_TRUE(motion.turns);
        EXPECT_NEAR(motion.centre.x, 100, 1e-6);
        EXPECT_NEAR(motion.centre.y, 200, 1e-6) << "24 pixels above them";
        EXPECT_EQ(motion.sense, off > 0 ? Sense::counterClockwise : Sense::clockwise);
        EXPECT_NEAR(motion.agrees, 1, 1e-9);
    }
}

TEST(Motion, WhatMovesAgainstTheTurningDoesNotDrawTheCentreAway)
{
    std::vector<MotionCell> cells;
    for (double degrees = 0; degrees < 360; degrees += 5) cells.push_back(Round(70, degrees));
    for (int i = 0; i < 24; i++) cells.push_back(Cell(170, 200 + i, 0, -1)); // beside it, all upward
    const MotionSummary motion = Summarise(cells);
    ASSERT_TRUE(motion.turns);
    EXPECT_EQ(motion.sense, Sense::clockwise);
    EXPECT_NEAR(motion.centre.x, 100, 1e-6);
    EXPECT_NEAR(motion.centre.y, 200, 1e-6);
}

TEST(Motion, ElsewhereIsBeyondTheRingOrAgainstTheTurning)
{
    const Ring ring{50, 100};
    const auto share = [&](const MotionCell& cell, Sense sense = Sense::clockwise) {
        const double sign = sense == Sense::clockwise ? 0 : 180;
        return Elsewhere({cell, Round(70, 90, sign, 3)}, about, ring, sense).share;
    };
    EXPECT_EQ(share(Round(107.9, 0)), 0) << "a cell is 8 pixels wide";
    EXPECT_NEAR(share(Round(108.1, 0)), 0.25, 1e-9);
    EXPECT_EQ(share(Round(20, 0)), 0) << "spokes turn too";
    EXPECT_EQ(share(Round(70, 200, 59)), 0);
    EXPECT_NEAR(share(Round(70, 200, 61)), 0.25, 1e-9);
    EXPECT_NEAR(share(Round(70, 200), Sense::counterClockwise), 0.25, 1e-9);
    EXPECT_EQ(share(Round(70, 200, 180), Sense::counterClockwise), 0);
}

TEST(Motion, ElsewhereHasItsMiddleAndABoxWithRoom)
{
    std::vector<MotionCell> cells{Round(70, 90, 0, 5)};
    for (int i = 0; i <= 50; i++) cells.push_back(Cell(400 + 2 * i, 300 + i, i == 50 ? 100 : 1, 0));
    const MotionElsewhere elsewhere = Elsewhere(cells, about, {50, 100}, Sense::clockwise);
    // By strength: 50 of the hundred and fifty lie evenly before the last.
    EXPECT_NEAR(elsewhere.where.x, (50 * 449.0 + 100 * 500) / 150, 1e-9);
    EXPECT_NEAR(elsewhere.where.y, (50 * 324.5 + 100 * 350) / 150, 1e-9);
    EXPECT_NEAR(elsewhere.share, 150.0 / 155, 1e-9);
    // Without the outermost of 25 on each side, with 12 pixels around.
    EXPECT_EQ(elsewhere.box.left, 404 - 12);
    EXPECT_EQ(elsewhere.box.top, 302 - 12);
    EXPECT_EQ(elsewhere.box.left + elsewhere.box.width, 496 + 12 + 1);
    EXPECT_EQ(elsewhere.box.top + elsewhere.box.height, 348 + 12 + 1);
}

TEST(Motion, StraightIsWhatIsLeftWhenAllIsAdded)
{
    const StraightMotion straight = Straight({Cell(10, 20, 3, 0), Cell(40, 60, 0, 4), Cell(30, 30, -3, 0)});
    EXPECT_NEAR(straight.share, 0.4, 1e-9);
    EXPECT_NEAR(straight.where.x, (30 + 160 + 90) / 10.0, 1e-9);
    EXPECT_NEAR(straight.where.y, (60 + 240 + 90) / 10.0, 1e-9);
    EXPECT_EQ(straight.box.left, 10 - 12);
    EXPECT_EQ(straight.box.top, 20 - 12);
    EXPECT_NEAR(Straight({Cell(10, 20, 3, 0), Cell(40, 60, 0, 4)}).share, 5 / 7.0, 1e-9);
    EXPECT_NEAR(Straight({Cell(10, 20, -3, 0), Cell(40, 60, 0, -4)}).share, 5 / 7.0, 1e-9);
    EXPECT_EQ(Straight({}).share, 0);
}
