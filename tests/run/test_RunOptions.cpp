// What a run is asked for: the table, the file, and what goes together.
#include <run/ConfigFile.h>
#include <run/Options.h>

#include <tests/support/ProgramRuns.h>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <cstddef>
#include <cstdio>
#include <map>
#include <stdexcept>
#include <string>
#include <vector>

using namespace telvane;

namespace {

const RunOption& Option(const std::string& name)
{
    if (const RunOption* const option = OptionNamed(name)) return *option;
    throw std::runtime_error("no option " + name);
}

std::string Read(const std::string& name, const Words& words)
{
    Value value;
    return ReadWords(Option(name), words, value);
}

/// A request after these options of a command line, "inner=216" and so on; what is wrong goes to `problem`.
Request Asked(const Words& settings, std::string* problem = nullptr)
{
    Request request;
    std::map<std::string, Words> words;
    for (const std::string& setting : settings) {
        const std::size_t sign = setting.find('=');
        words[setting.substr(0, sign)].push_back(setting.substr(sign + 1));
    }
    for (const auto& [name, texts] : words) {
        Value value;
        EXPECT_EQ(ReadWords(Option(name), texts, value), "") << name;
        request.given[name] = "--" + name;
        Option(name).store(request, value);
    }
    const std::string said = Complete(request);
    if (problem) *problem = said;
    else EXPECT_EQ(said, "");
    return request;
}

std::string ProblemOf(const Words& settings)
{
    std::string problem;
    Asked(settings, &problem);
    return problem;
}

const Words least = {"inner=216", "outer=250", "region=560,540"};
const Words many = {"inner=100", "outer=120",     "region=300,200", "teeth=40",
                    "sense=ccw", "angles=-90,90", "background=50",  "count=7",
                    "p1=1",      "p2=3",          "mask=1,2,3,4",   "mask=-5,6,7,8",
                    "save=jpg",  "method=votes",  "offset=9",       "centre-in-region=10,20"};
const char manyLine[] =
    "Telvane -n 7 -s -jpg -p2 3 -m 1 2 3 4 -m -5 6 7 8 300 200 10 20 100 120 9 -90 90 360 40 -1 0 0 0 -50";

TEST(RunOptions, NumbersAreTakenAtTheirLimitsAndNotBeyond)
{
    struct Limit {
        const char* name;
        int lowest, highest;
    };
    for (const Limit& l : {Limit{"inner", 0, 10000},
                           {"outer", 1, 10000},
                           {"teeth", 0, 1000},
                           {"background", 0, 99},
                           {"count", 2, 50},
                           {"p1", 1, 50},
                           {"p2", 1, 50},
                           {"offset", 0, 10000},
                           {"keep", 1, 100000},
                           {"timeout", 1, 86400}}) {
        for (const int good : {l.lowest, l.highest})
            EXPECT_EQ(Read(l.name, {std::to_string(good)}), "") << l.name;
        for (const int bad : {l.lowest - 1, l.highest + 1})
            EXPECT_EQ(
                Read(l.name, {std::to_string(bad)}).rfind("'" + std::to_string(bad) + "' is not a whole", 0),
                0u)
                << l.name;
    }
}

TEST(RunOptions, EachOfSeveralNumbersHasLimits)
{
    struct Limit {
        const char* name;
        std::vector<int> lowest, highest;
    };
    for (const Limit& l : {Limit{"region", {1, 1}, {1280, 960}},
                           {"centre-in-region", {0, 0}, {1279, 960}},
                           {"angles", {-360, -360}, {719, 719}},
                           {"mask", {-10000, -10000, 1, 1}, {10000, 10000, 10000, 10000}}}) {
        const auto text = [](const std::vector<int>& numbers) {
            std::string all;
            for (const int n : numbers) all += (all.empty() ? "" : ",") + std::to_string(n);
            return all;
        };
        EXPECT_EQ(Read(l.name, {text(l.lowest)}), "");
        EXPECT_EQ(Read(l.name, {text(l.highest)}), "");
        for (std::size_t i = 0; i < l.lowest.size(); i++) {
            auto below = l.lowest, above = l.highest;
            below[i]--;
            above[i]++;
            for (const auto& bad : {below, above})
                EXPECT_EQ(Read(l.name, {text(bad)}),
                          "'" + text(bad) + "' is not " + Option(l.name).Allowed());
        }
        EXPECT_NE(Read(l.name, {text(l.lowest) + ",1"}), "");
        EXPECT_NE(Read(l.name, {text(l.lowest) + ","}), "");
        EXPECT_NE(Read(l.name, {"," + text(l.lowest)}), "");
        EXPECT_NE(Read(l.name, {std::to_string(l.lowest[0])}), "");
    }
}

TEST(RunOptions, ARefusalSaysWhatIsAllowed)
{
    EXPECT_EQ(Read("inner", {"3OO"}), "'3OO' is not a whole number of 0 or more");
    EXPECT_EQ(Read("inner", {"-1"}), "'-1' is not a whole number of 0 or more");
    EXPECT_EQ(Read("inner", {"10001"}), "'10001' is not a whole number from 0 to 10000");
    EXPECT_EQ(Read("inner", {"99999999999999999999"}),
              "'99999999999999999999' is not a whole number from 0 to 10000");
    EXPECT_EQ(Read("count", {"1"}), "'1' is not a whole number from 2 to 50");
    EXPECT_EQ(Read("region", {"560"}), "'560' is not W,H: whole numbers, W from 1 to 1280, H from 1 to 960");
    EXPECT_EQ(Read("method", {"rings"}), "'rings' is not ring or votes");
    EXPECT_EQ(Read("sense", {"CW"}), "'CW' is not cw or ccw");
    EXPECT_EQ(Read("save", {"png"}), "'png' is not bmp or jpg");
    EXPECT_EQ(Read("out", {""}), "'' is not the name of a file or folder");
}

TEST(RunOptions, NumbersAreReadExactly)
{
    for (const char* word :
         {"", " 216", "216 ", "2.0", "1e2", "0x10", "+", "-", "+-5", "--5", "2 6", "²", "216\n"})
        EXPECT_NE(Read("inner", {word}), "") << word;
    Value value;
    EXPECT_EQ(ReadWords(Option("inner"), {"010"}, value), "");
    EXPECT_EQ(value.entries[0][0], 10) << "decimal, whatever it begins with";
    EXPECT_EQ(ReadWords(Option("inner"), {"+7"}, value), "");
    EXPECT_EQ(value.entries[0][0], 7);
}

TEST(RunOptions, MasksAreThreeAtMost)
{
    EXPECT_EQ(Read("mask", Words(3, "1,2,3,4")), "");
    EXPECT_EQ(Read("mask", Words(4, "1,2,3,4")), "given more than 3 times");
}

TEST(RunOptions, DefaultsAreThoseOfTheTable)
{
    const Request request = Asked(least);
    EXPECT_EQ(request.arguments.CommandLine(),
              "Telvane -n 15 -s 560 540 280 270 216 250 -1 0 360 360 0 0 0 0 0 0");
    EXPECT_EQ(request.out, "runs");
    EXPECT_EQ(request.keep, 10);
    EXPECT_EQ(request.timeout, 60);
}

TEST(RunOptions, TheHelpTellsLimitsAndDefaults)
{
    for (const auto& [name, end] :
         {std::pair{"inner", "radius of the tooth roots; a whole number of 0 or more pixels (must be given)"},
          {"outer", "larger than --inner; a whole number of 1 or more pixels (must be given)"},
          {"teeth", "; a whole number from 0 to 1000 (0: not known)"},
          {"sense", "clockwise or counter-clockwise (not known; votes need it)"},
          {"region", "; W,H: whole numbers, W from 1 to 1280, H from 1 to 960 pixels (must be given)"},
          {"centre-in-region", "; X,Y: whole numbers, X from 0 to 1279, Y from 0 to 960 pixels (its middle)"},
          {"angles", "; A,B: whole numbers, A from -360 to 719, B from -360 to 719 degrees (0,360)"},
          {"background", "; a whole number from 0 to 99 percent (0)"},
          {"count",
           "frames of the run; a whole number from 2 to 50 frames (15; with --frames as many as there "
           "are without a gap, at most 50)"},
          {"p1", "; a whole number from 1 to 50 camera frames (1)"},
          {"p2", "see p1; a whole number from 1 to 50 camera frames (1)"},
          {"frames", "of this folder (the camera)"},
          {"mask", " pixels; up to 3 times (none)"},
          {"save", "how frames of the camera are kept (bmp)"},
          {"method", "vote for the centre (ring)"},
          {"offset", "; a whole number of 0 or more pixels (0)"},
          {"out", "made if missing (runs)"},
          {"keep", "the oldest are removed; a whole number of 1 or more (10)"},
          {"timeout", "; a whole number from 1 to 86400 seconds (60)"},
          {"telvane", "the program to start (the one that was installed with this one)"},
          {"config", "those of the command line win (none)"}}) {
        const std::string help = Option(name).Help(), wanted = end;
        EXPECT_EQ(help.substr(help.size() - std::min(help.size(), wanted.size())), wanted) << name;
    }
    EXPECT_EQ(OptionTable().size(), 21u) << "one that is new wants its line here";
}

TEST(RunOptions, EveryOptionReachesTheProgramsCommandLine)
{
    EXPECT_EQ(Asked(many).arguments.CommandLine(), manyLine);
    const Request recorded = Asked({"inner=100", "outer=120", "region=300,200", "frames=there", "sense=cw"});
    EXPECT_EQ(recorded.arguments.CommandLine(),
              "Telvane -l 15 -s 300 200 150 100 100 120 -1 0 360 360 0 1 0 0 0 0");
}

TEST(RunOptions, WhatMustBeGivenIsNamed)
{
    EXPECT_EQ(ProblemOf({}), "--inner must be given");
    EXPECT_EQ(ProblemOf({"inner=1"}), "--outer must be given");
    EXPECT_EQ(ProblemOf({"inner=1", "outer=2"}), "--region must be given");
    EXPECT_EQ(ProblemOf(Join({least, {"method=votes"}})), "--sense must be given for votes: cw or ccw");
}

TEST(RunOptions, WhatDoesNotGoTogetherIsNamed)
{
    const Words region = {"region=300,200"};
    EXPECT_EQ(ProblemOf(Join({region, {"inner=5", "outer=5"}})),
              "--outer: 5 is not larger than the inner radius, 5");
    EXPECT_EQ(ProblemOf(Join({region, {"inner=5", "outer=6"}})), "");
    EXPECT_EQ(ProblemOf(Join({least, {"offset=0"}})),
              "--offset: only votes have an offset, and the method is ring");
    EXPECT_EQ(ProblemOf(Join({least, {"p1=2", "p2=3"}})),
              "--p2: of two different periods one must be 1, or no frames are compared");
    for (const char* p2 : {"p2=1", "p2=2"}) EXPECT_EQ(ProblemOf(Join({least, {"p1=2", p2}})), "");
    EXPECT_EQ(ProblemOf(Join({least, {"p2=3"}})), "");
    for (const char* inside : {"centre-in-region=559,540", "centre-in-region=0,0"})
        EXPECT_EQ(ProblemOf(Join({least, {inside}})), "");
    EXPECT_EQ(ProblemOf(Join({least, {"centre-in-region=560,0"}})),
              "--centre-in-region: 560,0 does not lie in a region of 560,540");
    EXPECT_EQ(ProblemOf(Join({least, {"centre-in-region=0,541"}})),
              "--centre-in-region: 0,541 does not lie in a region of 560,540");
}

TEST(RunOptions, WhatIsKnownReadsBackFromADocument)
{
    const Request request = Asked(many);
    Request other;
    for (const RunOption& option : OptionTable()) {
        const nlohmann::ordered_json json = ToJson(option, request);
        if (json.is_null()) continue;
        Value value;
        EXPECT_EQ(ReadJson(option, json, value), "") << option.name;
        other.given[option.name] = "";
        option.store(other, value);
    }
    EXPECT_EQ(Complete(other), "");
    EXPECT_EQ(other.arguments.CommandLine(), manyLine);
    const Request plain = Asked(least);
    for (const char* unknown : {"teeth", "sense", "background", "offset", "frames", "telvane", "config"})
        EXPECT_TRUE(ToJson(Option(unknown), plain).is_null()) << unknown;
}

// ---------------------------------------------------------------------------------- the file

std::string Config(const std::string& text, Request& request)
{
    const std::string problem = ReadConfigText("wheel.toml", text, request);
    return problem.empty() ? Complete(request) : problem;
}

std::string ConfigProblem(const std::string& text)
{
    Request request;
    return Config(text, request);
}

const std::string needed = "inner = 216\nouter = 250\nregion = [560, 540]\n";

TEST(ConfigFile, HoldsWhatTheCommandLineDoes)
{
    Request request;
    EXPECT_EQ(
        Config("# a wheel\ninner = 100\nouter = 120\nregion = [300, 200]\nteeth = 40\nsense = \"ccw\"\n"
               "centre-in-region = [10, 20]\nangles = [-90, 90]\nbackground = 50\ncount = 7\np1 = 1\np2 = 3\n"
               "mask = [[1, 2, 3, 4], [-5, 6, 7, 8]]\nsave = 'jpg'\nmethod = \"votes\"\noffset = 9\n"
               "out = \"über\"\nkeep = 3\ntimeout = 5\ntelvane = \"/x\"\nframes = \"y\"\n",
               request),
        "");
    EXPECT_EQ(request.arguments.CommandLine(), std::string(manyLine).replace(8, 2, "-l"));
    EXPECT_EQ(request.out, "über");
    EXPECT_EQ(request.keep, 3);
    EXPECT_EQ(request.timeout, 5);
    EXPECT_EQ(request.telvane, "/x");
    EXPECT_EQ(request.frames, "y");
}

TEST(ConfigFile, WhatIsGivenAlreadyStays)
{
    Request request = Asked({"inner=10", "outer=20", "region=30,40", "mask=1,2,3,4"});
    EXPECT_EQ(Config(needed + "mask = [[5, 5, 5, 5], [6, 6, 6, 6]]\nteeth = 12\n", request), "");
    EXPECT_EQ(request.arguments.innerR, 10);
    EXPECT_EQ(request.arguments.width, 30);
    EXPECT_EQ(request.arguments.masks.size(), 1u);
    EXPECT_EQ(request.arguments.teeth, 12);
}

TEST(ConfigFile, WhatIsNoTomlIsToldWithItsPlace)
{
    for (const char* text :
         {"inner = 010\n", "region = [1, 2\n", "inner 216\n", "inner = 1\ninner = 2\n", "sense = cw\n",
          "= 5\n", "inner = 5 outer = 6\n", "sense = \"cw\n", "\xFF\xFE = 1\n", "inner = 1__0\n", "[[mask]\n",
          "[= 5\n", "[[=]]\n", "a.= 1\n", "[a.=]\n"}) {
        const std::string problem = ConfigProblem(text);
        EXPECT_EQ(problem.find('\n'), problem.npos) << problem;
        int line = 0, column = 0;
        EXPECT_EQ(std::sscanf(problem.c_str(), "wheel.toml:%d:%d: ", &line, &column), 2) << text << problem;
    }
}

TEST(ConfigFile, LettersBeyondAsciiInTheWrongPlaceAreToldWithTheirPlace)
{
    for (const char* text : {"\u00E4 = 1\n", "\uFEFBl", "\u0416", "inner\u00FC = 1\n", "inner = 1 \u0448\n"})
        EXPECT_EQ(ConfigProblem(text).rfind("wheel.toml:1:", 0), 0u) << text;
}

TEST(ConfigFile, UnknownKeysAreRefused)
{
    EXPECT_EQ(ConfigProblem(needed + "radius = 5\n"), "wheel.toml:4:1: there is no option 'radius'");
    EXPECT_EQ(ConfigProblem("z = 1\na = 2\n"), "wheel.toml:1:1: there is no option 'z'")
        << "the first of the file";
    for (const char* own : {"config", "json", "dry-run", "--inner", "Inner"})
        EXPECT_EQ(ConfigProblem("\"" + std::string(own) + "\" = 1\n"),
                  "wheel.toml:1:1: there is no option '" + std::string(own) + "'");
    EXPECT_EQ(ConfigProblem("[wheel]\ninner = 1\n").rfind("wheel.toml:1:", 0), 0u);
}

TEST(ConfigFile, ValuesOfAnotherKindAreRefusedWithTheirPlace)
{
    EXPECT_EQ(ConfigProblem("inner = \"216\"\n"),
              "wheel.toml:1:9: inner: \"216\" is not a whole number of 0 or more");
    EXPECT_EQ(ConfigProblem("inner = 216.0\n"),
              "wheel.toml:1:9: inner: 216.0 is not a whole number of 0 or more");
    EXPECT_EQ(ConfigProblem("inner = -1\n"), "wheel.toml:1:9: inner: -1 is not a whole number of 0 or more");
    EXPECT_EQ(ConfigProblem("inner = 10001\n"),
              "wheel.toml:1:9: inner: 10001 is not a whole number from 0 to 10000");
    EXPECT_EQ(ConfigProblem("\ncount = 4294967298\n"),
              "wheel.toml:2:9: count: 4294967298 is not a whole number from 2 to 50");
    EXPECT_EQ(ConfigProblem("count = -4294967294\n"),
              "wheel.toml:1:9: count: -4294967294 is not a whole number from 2 to 50");
    EXPECT_EQ(ConfigProblem("region = 560\n"),
              "wheel.toml:1:10: region: 560 is not W,H: whole numbers, W from 1 to 1280, H from 1 to 960");
    EXPECT_EQ(ConfigProblem("inner = [5]\n"),
              "wheel.toml:1:9: inner: [5] is not a whole number of 0 or more");
    EXPECT_EQ(ConfigProblem("sense = 1\n"), "wheel.toml:1:9: sense: 1 is not cw or ccw");
    EXPECT_EQ(ConfigProblem("sense = \"CW\"\n"), "wheel.toml:1:9: sense: \"CW\" is not cw or ccw");
    EXPECT_EQ(ConfigProblem("out = \"\"\n"), "wheel.toml:1:7: out: \"\" is not the name of a file or folder");
    for (const char* text :
         {"out = \"a\\u0000b\"\n", "inner = 1979-05-27\n", "inner = {a = 1}\n", "inner = true\n"})
        EXPECT_EQ(ConfigProblem(text).rfind("wheel.toml:1:", 0), 0u) << text;
    for (const char* kind : {"1979-05-27", "07:32:00", "1979-05-27T07:32:00Z", "{a = 1}"})
        EXPECT_EQ(ConfigProblem("inner = " + std::string(kind) + "\n"),
                  "wheel.toml:1:9: inner: a table, a date or a time is not a whole number of 0 or more");
}

TEST(ConfigFile, MasksAreAListOfFourNumbersEach)
{
    Request request;
    EXPECT_EQ(Config(needed + "mask = []\n", request), "");
    EXPECT_EQ(ConfigProblem(needed + "mask = [[1,2,3,4], [1,2,3,4], [1,2,3,4]]\n"), "");
    for (const char* bad : {"mask = [1, 2, 3, 4]", "mask = [[1, 2, 3]]", "mask = [[1, 2, 3, 0]]", "mask = 5",
                            "mask = [[1, 2, 3, \"4\"]]", "mask = [[[1, 2, 3, 4]]]",
                            "mask = [[1,2,3,4], [1,2,3,4], [1,2,3,4], [1,2,3,4]]"})
        EXPECT_EQ(ConfigProblem(needed + bad + "\n").rfind("wheel.toml:4:8: mask: ", 0), 0u) << bad;
    EXPECT_EQ(ConfigProblem(needed + "mask = [1, 2, 3, 4]\n")
                  .rfind("wheel.toml:4:8: mask: [1,2,3,4] is not a list of X,Y,W,H", 0),
              0u)
        << "one mask where there can be several";
}

TEST(ConfigFile, WhatDoesNotGoTogetherIsToldWithItsPlace)
{
    EXPECT_EQ(ConfigProblem(needed + "offset = 3\n"),
              "wheel.toml:4:10: offset: only votes have an offset, and the method is ring");
    EXPECT_EQ(ConfigProblem("inner = 216\nouter = 216\nregion = [5, 5]\n"),
              "wheel.toml:2:9: outer: 216 is not larger than the inner radius, 216");
    EXPECT_EQ(ConfigProblem("inner = 216\n"), "--outer must be given");
}

TEST(ConfigFile, AFileThatCannotBeReadIsNamed)
{
    TemporaryFolder folder;
    Request request;
    EXPECT_EQ(ReadConfig(folder / "no.toml", request), (folder / "no.toml") + ": not there");
    EXPECT_EQ(ReadConfig(folder.Path(), request), folder.Path() + ": Is a directory");
    folder.Write("wheel.toml", needed);
    EXPECT_EQ(ReadConfig(folder / "wheel.toml", request), "");
    EXPECT_EQ(request.arguments.outerR, 250);
}

TEST(RunOptions, TheLineOfARunHoldsWhatDiffersFromTheDefaults)
{
    Request request = Asked({"inner=10", "outer=20", "region=31,40", "keep=3", "timeout=5", "config=a.toml"});
    ASSERT_EQ(Complete(request), "");
    const std::string shortest = "telvane-run --inner 10 --outer 20 --region 31,40";
    EXPECT_EQ(RunLine(request, request.arguments), shortest);
    request.frames = "my frames";
    EXPECT_EQ(RunLine(request, request.arguments), shortest + " --count 15 --frames 'my frames'");
    request.frames.clear();
    RunArguments other = request.arguments;
    other.offset = 7;
    other.turn = -1;
    other.centreX = 3;
    other.masks = {{1, -2, 3, 4}, {5, 6, 7, 8}};
    other.background = -50;
    EXPECT_EQ(RunLine(request, other), "telvane-run --inner 10 --outer 20 --sense ccw --region 31,40 "
                                       "--centre-in-region 3,20 --background 50 "
                                       "--mask 1,-2,3,4 --mask 5,6,7,8 --method votes --offset 7");
}

} // namespace
