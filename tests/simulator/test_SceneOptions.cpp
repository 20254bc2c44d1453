// The limits of every number of a scene, and what goes together.
#include <simulator/SceneOptions.h>

#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <string>
#include <vector>

using namespace telvane;

namespace {

struct Limits {
    const char *option, *name;
    double lowest, highest;
};
const Limits limits[] = {
    {"--centre", "X", -100000, 100000},
    {"--centre", "Y", -100000, 100000},
    {"--inner", "R", 0, 100000},
    {"--outer", "R", 0, 100000},
    {"--teeth", "N", 1, 1000},
    {"--speed", "D", -360, 360},
    {"--start", "D", -360, 360},
    {"--spokes", "N", 0, 100},
    {"--hub", "R", 0, 100000},
    {"--uneven", "A", 0, 1},
    {"--noise", "S", 0, 100},
    {"--seed", "N", 0, 4294967295.0},
    {"--disc", "X", -100000, 100000},
    {"--disc", "Y", -100000, 100000},
    {"--disc", "R", 0, 100000},
    {"--disc", "DX", -1000, 1000},
    {"--disc", "DY", -1000, 1000},
    {"--tilt", "ANGLE", 0, 60},
    {"--tilt", "DIRECTION", -360, 360},
    {"--distance", "D", 0, 1000000},
    {"--thickness", "T", 0, 1000},
    {"--eccentric", "E", 0, 1000},
    {"--eccentric", "DIRECTION", -360, 360},
    {"--lens", "K1", -0.1, 0.5},
    {"--vignette", "V", 0, 1},
    {"--highlight", "X", -100000, 100000},
    {"--highlight", "Y", -100000, 100000},
    {"--highlight", "R", 0, 100000},
    {"--highlight", "G", 0, 255},
    {"--shadow", "X", -100000, 100000},
    {"--shadow", "Y", -100000, 100000},
    {"--shadow", "R", 0, 100000},
    {"--shadow", "A", 0, 1},
    {"--flicker", "A", 0, 1},
    {"--flicker", "P", 1, 1000},
    {"--gain", "F", 0.01, 100},
    {"--exposure", "E", 0, 1},
    {"--rolling", "E", 0, 1},
    {"--fullwell", "N", 0, 1000000},
    {"--rownoise", "S", 0, 100},
    {"--hot", "N", 0, 100000},
    {"--ramp", "D", -10, 10},
    {"--jerk", "FRAME", 0, 2000000},
    {"--jerk", "D", -360, 360},
    {"--push", "FRAME", 0, 2000000},
    {"--push", "DX", -100, 100},
    {"--push", "DY", -100, 100},
    {"--repeat", "FRAME", 0, 2000000},
    {"--lose", "FRAME", 0, 2000000},
    {"--scratches", "N", 0, 200},
    {"--dirt", "N", 0, 200},
    {"--texture", "G", 0, 50},
};

TEST(SceneOptions, EveryNumberIsTakenAtItsLimitsAndNotBeyond)
{
    std::size_t at = 0;
    for (const SceneOption& option : SceneOptions())
        for (const Quantity& quantity : option.quantities) {
            ASSERT_LT(at, std::size(limits));
            const Limits& l = limits[at++];
            SCOPED_TRACE(std::string(option.name) + ' ' + quantity.name);
            ASSERT_STREQ(option.name, l.option);
            ASSERT_STREQ(quantity.name, l.name);
            for (const double inside : {l.lowest, l.highest, (l.lowest + l.highest) / 2})
                EXPECT_TRUE(quantity.Fits(inside)) << inside;
            for (const double outside :
                 {std::nextafter(l.lowest, -INFINITY), std::nextafter(l.highest, INFINITY), std::nan("")})
                EXPECT_FALSE(quantity.Fits(outside)) << outside;
        }
    EXPECT_EQ(at, std::size(limits));
}

TEST(SceneOptions, AProblemNamesOptionLimitsAndNumber)
{
    WheelScene scene;
    scene.noise = 100.5;
    EXPECT_EQ(WheelProblem(scene), "--noise takes S from 0 to 100 grey levels, not 100.5");
    scene = {};
    scene.tilt = 61;
    scene.tiltDirection = 5;
    EXPECT_EQ(WheelProblem(scene),
              "--tilt takes ANGLE from 0 to 60 degrees, DIRECTION from -360 to 360 degrees, not 61,5");
    scene = {};
    scene.teeth = 0;
    EXPECT_EQ(WheelProblem(scene), "--teeth takes a whole N from 1 to 1000 teeth, not 0");
}

TEST(SceneOptions, ListsHaveSoManyEntriesAndNoMore)
{
    WheelScene scene;
    scene.jerks.resize(20);
    scene.repeated.resize(100);
    scene.lost.resize(100);
    EXPECT_EQ(WheelProblem(scene), "");
    const WheelScene full = scene;
    scene.jerks.resize(21);
    EXPECT_EQ(WheelProblem(scene), "--jerk takes at most 20 entries");
    scene = full;
    scene.repeated.resize(101);
    EXPECT_EQ(WheelProblem(scene), "--repeat takes at most 100 entries");
    scene = full;
    scene.lost.resize(101);
    EXPECT_EQ(WheelProblem(scene), "--lose takes at most 100 entries");
}

TEST(SceneOptions, WhatNoOptionSetsHasLimitsToo)
{
    for (const auto& [width, height, good] : {std::tuple{1, 1, true},
                                              {4096, 4096, true},
                                              {0, 1, false},
                                              {1, 0, false},
                                              {4097, 1, false},
                                              {1, 4097, false}}) {
        WheelScene scene;
        scene.width = width;
        scene.height = height;
        EXPECT_EQ(WheelProblem(scene), good ? "" : "the frame must be 1 to 4096 pixels wide and high");
    }
    for (const auto& [travel, good] : {std::pair{1, true}, {10000, true}, {0, false}, {10001, false}}) {
        WheelScene scene;
        scene.disc.travel = travel;
        EXPECT_EQ(WheelProblem(scene), good ? "" : "the disc must turn back after 1 to 10000 camera frames");
    }
    for (const auto& [stripe, good] : {std::pair{1.0, true}, {1000.0, true}, {0.9, false}, {1000.1, false}}) {
        WheelScene scene;
        scene.disc.stripe = stripe;
        EXPECT_EQ(WheelProblem(scene), good ? "" : "the disc's stripes must be 1 to 1000 pixels wide");
    }
}

TEST(SceneOptions, WhatGoesTogetherMayJustTouch)
{
    WheelScene scene;
    scene.hubR = scene.innerR;
    scene.distance = 500;
    EXPECT_EQ(WheelProblem(scene), "");
    scene.eccentricity = 3;
    scene.distance = 505.9;
    EXPECT_EQ(WheelProblem(scene),
              "--distance must be 0, or at least twice the outer radius with the eccentricity, "
              "506 pixels, not 505.9");
    scene.distance = 506;
    EXPECT_EQ(WheelProblem(scene), "");
    scene.hubR = 216.5;
    EXPECT_EQ(WheelProblem(scene), "--hub must lie between 0 and the inner radius, 216, not 216.5");
    scene = {};
    scene.innerR = scene.outerR;
    EXPECT_EQ(WheelProblem(scene), "--inner must lie below --outer, not 250 and 250");
}

} // namespace
