// The wheel of the page, between JSON, TOML and command lines.
#include <setup/Wheel.h>

#include <run/ConfigFile.h>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <string>

using namespace telvane;
using Json = nlohmann::ordered_json;

namespace {

const Json whole = {{"centre", {652.5, 471}},
                    {"inner", 216},
                    {"outer", 250},
                    {"teeth", 40},
                    {"sense", "ccw"},
                    {"region", {560, 540}},
                    {"centre-in-region", {270, 280}},
                    {"method", "votes"},
                    {"offset", 3},
                    {"angles", {-90, 80}},
                    {"count", 12},
                    {"p1", 1},
                    {"p2", 4},
                    {"background", 50},
                    {"mask", {{1, 2, 3, 4}, {5, 6, 7, 8}}}};

Wheel Read(const Json& json)
{
    Wheel wheel;
    EXPECT_EQ(ReadWheel(json, wheel), "");
    return wheel;
}

std::string Problem(const Json& json)
{
    Wheel wheel;
    return ReadWheel(json, wheel);
}

TEST(SetupWheel, EveryOptionGoesInAndOutAgain)
{
    const Wheel wheel = Read(whole);
    EXPECT_EQ(WheelJson(wheel), whole);
    EXPECT_EQ(TomlText(wheel),
              "# For telvane-run --config. Lengths are pixels, angles degrees.\n"
              "inner = 216\nouter = 250\nteeth = 40\nsense = \"ccw\"\nregion = [560,540]\n"
              "centre-in-region = [270,280]\nmethod = \"votes\"\noffset = 3\nangles = [-90,80]\n"
              "count = 12\np1 = 1\np2 = 4\nbackground = 50\nmask = [[1,2,3,4],[5,6,7,8]]\n");
    EXPECT_EQ(
        RunLine(wheel),
        "telvane-run --inner 216 --outer 250 --teeth 40 --sense ccw --region 560,540 --centre-in-region "
        "270,280 "
        "--method votes --offset 3 --angles -90,80 --count 12 --p1 1 --p2 4 --background 50 --mask 1,2,3,4 "
        "--mask 5,6,7,8");
    Request run;
    EXPECT_EQ(CompleteRun(wheel, run), "");
    EXPECT_EQ(run.arguments.CommandLine(),
              "Telvane -n 12 -s -p2 4 -m 1 2 3 4 -m 5 6 7 8 560 540 270 280 216 250 3 "
              "-90 80 360 40 -1 0 0 0 -50");
    const Circles seen = wheel.Seen();
    EXPECT_EQ(seen.centre.x, 652.5);
    EXPECT_EQ(seen.centre.y, 471);
    EXPECT_EQ(seen.inner, 216);
    EXPECT_EQ(seen.outer, 250);
    EXPECT_EQ(seen.teeth, 40);
}

TEST(SetupWheel, WhatIsNotGivenIsNull)
{
    const Wheel wheel = Read({{"inner", 5}, {"outer", nullptr}});
    const Json json = WheelJson(wheel);
    for (const auto& [name, value] : json.items())
        EXPECT_EQ(value, name == "inner" ? Json(5) : Json()) << name;
    EXPECT_FALSE(wheel.Seen().Set()) << "nobody has said where it is";
    Request run;
    EXPECT_EQ(CompleteRun(wheel, run), "--outer must be given");
    EXPECT_EQ(RunLine(wheel), "telvane-run --inner 5");
}

TEST(SetupWheel, TheCentreIsTwoNumbersWithinTenThousandPixels)
{
    for (const Json& good : {Json({0, 0}), Json({10000, -10000}), Json({-10000, 10000}), Json({1.5, 2})})
        EXPECT_EQ(Problem({{"centre", good}}), "") << good;
    for (const Json& bad :
         {Json({10000.5, 0}), Json({0, 10000.5}), Json({-10000.5, 0}), Json({0, -10000.5}), Json::array({1}),
          Json({1, 2, 3}), Json(5), Json("1,2"), Json({1, "2"}), Json({true, 1})})
        EXPECT_EQ(Problem({{"centre", bad}}), "centre: " + bad.dump() + " is not X,Y in pixels");
}

TEST(SetupWheel, WhatThePageDoesNotHaveIsRefusedAndTheWheelStays)
{
    Wheel wheel = Read(whole);
    for (const auto& [json, problem] : std::vector<std::pair<Json, std::string>>{
             {Json::array(), "the wheel is no JSON object"},
             {{{"frames", "x"}}, "there is no option \"frames\""},
             {{{"out", "x"}}, "there is no option \"out\""},
             {{{"none", 1}}, "there is no option \"none\""},
             {{{"inner", 10001}}, "inner: 10001 is not a whole number from 0 to 10000"},
             {{{"sense", "up"}}, "sense: \"up\" is not cw or ccw"}}) {
        EXPECT_EQ(ReadWheel(json, wheel), problem);
        EXPECT_EQ(WheelJson(wheel), whole);
    }
}

TEST(SetupWheel, WhatTheFileHeldBesideStaysAndRecordedFramesAreNotTaken)
{
    Wheel wheel;
    wheel.run.keep = 3;
    wheel.run.frames = "there";
    wheel.run.given = {{"keep", ""}, {"frames", ""}, {"inner", ""}};
    EXPECT_EQ(ReadWheel({{"inner", 5}, {"outer", 6}, {"region", {20, 20}}}, wheel), "");
    const std::string toml = TomlText(wheel);
    EXPECT_NE(toml.find("\nkeep = 3\n"), toml.npos) << toml;
    EXPECT_NE(toml.find("\nframes = \"there\"\n"), toml.npos) << toml;
    EXPECT_EQ(RunLine(wheel), "telvane-run --inner 5 --outer 6 --region 20,20");
    Request run;
    EXPECT_EQ(CompleteRun(wheel, run), "");
    EXPECT_FALSE(run.arguments.files);
}

TEST(SetupWheel, WhatIsGivenAsNoneIsInNoFileAndOnNoLine)
{
    Wheel wheel =
        Read({{"inner", 216}, {"outer", 250}, {"region", {560, 540}}, {"teeth", 0}, {"background", 0}});
    EXPECT_EQ(RunLine(wheel), "telvane-run --inner 216 --outer 250 --region 560,540");
    Wheel read;
    EXPECT_EQ(ReadConfigText("wheel.toml", TomlText(wheel), read.run), "");
    EXPECT_EQ(WheelJson(read), WheelJson(wheel));
}

TEST(SetupWheel, AnyTextOfTheFileIsReadAgainFromTheNext)
{
    const std::string given = "out = \"a\\u001B\\u007F \\\"\\\\ \u00FC\\u2028\\U0001F600\"\n";
    Wheel wheel, read;
    ASSERT_EQ(ReadConfigText("wheel.toml", given, wheel.run), "");
    ASSERT_EQ(ReadConfigText("wheel.toml", TomlText(wheel), read.run), "");
    EXPECT_EQ(read.run.out, wheel.run.out);
}

} // namespace
