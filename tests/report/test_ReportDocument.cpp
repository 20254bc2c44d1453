// The judgement as a document: names, units, and null where something is not known.
#include <report/Document.h>

#include <nlohmann/json.hpp>

#include <gtest/gtest.h>

#include <string>

using namespace telvane;
using Json = nlohmann::ordered_json;

namespace {

RunArguments SomeArguments()
{
    RunArguments a;
    a.count = 12;
    a.files = true;
    a.period1 = 2;
    a.period2 = 3;
    a.masks = {{1, 2, 3, 4}, {5, 6, 7, 8}};
    a.width = 560;
    a.height = 480;
    a.centreX = 280;
    a.centreY = 240;
    a.innerR = 216;
    a.outerR = 250;
    a.offset = 7;
    a.angle1 = 10;
    a.angle2 = 350;
    a.teeth = 40;
    a.turn = -1;
    a.background = -30;
    return a;
}

TEST(JudgementJson, HoldsEverythingThatIsKnown)
{
    Diagnosis d;
    d.verdict = Verdict::wrongSense;
    d.evidence = "It turns clockwise.";
    d.cure = "Give 1.";
    d.remarks = {"one", "two"};
    d.centre = Place{652.5, 471.25};
    d.sigma = Place{0.5, 0.25};
    d.limit = 0.125;
    d.sense = Sense::clockwise;
    d.ring = Ring{215.5, 251};
    d.teeth = 40;
    d.degreesPerFrame = -0.5;
    d.explained = 0.75;
    d.elsewhere = 0.0625;
    d.proposal.emplace().arguments = SomeArguments();
    const Json wanted = Json::parse(R"({
        "verdict": "wrong-sense", "evidence": "It turns clockwise.", "cure": "Give 1.",
        "remarks": ["one", "two"],
        "diagnosis": {"centre": [652.5, 471.25], "centre_sigma": [0.5, 0.25], "centre_limit": 0.125,
                      "sense": "cw", "ring": [215.5, 251.0], "teeth": 40, "degrees_per_frame": -0.5,
                      "explained": 0.75, "elsewhere": 0.0625},
        "proposal": {"arguments": {"inner": 216, "outer": 250, "teeth": 40, "count": 12, "p1": 2, "p2": 3,
                                   "region": [560, 480], "centre-in-region": [280, 240], "method": "votes",
                                   "offset": 7, "sense": "ccw", "angles": [10, 350],
                                   "mask": [[1, 2, 3, 4], [5, 6, 7, 8]], "background": 30},
                     "command": "Telvane -l 12 -p1 2 -p2 3 -m 1 2 3 4 -m 5 6 7 8 560 480 280 240 216 250 7 10 350 360 40 -1 0 0 0 -30"}})");
    EXPECT_EQ(JudgementJson(d).dump(), wanted.dump()) << "in this order";
}

TEST(JudgementJson, IsNullWhereNothingIsKnown)
{
    const Json json = JudgementJson(Diagnosis());
    EXPECT_EQ(json["verdict"], "unclear");
    EXPECT_EQ(json["remarks"], Json::array());
    for (const char* name : {"evidence", "cure", "proposal"}) EXPECT_TRUE(json.at(name).is_null()) << name;
    EXPECT_EQ(json["diagnosis"].size(), 9u);
    for (const auto& [name, value] : json["diagnosis"].items()) EXPECT_TRUE(value.is_null()) << name;
}

TEST(ArgumentsJson, WhatIsNotGivenIsNull)
{
    RunArguments a = SomeArguments();
    a.offset = -1;
    a.turn = 0;
    a.teeth = 0;
    a.background = 0;
    a.masks.clear();
    const Json json = ArgumentsJson(a);
    EXPECT_EQ(json["method"], "ring");
    for (const char* name : {"offset", "sense", "teeth", "background"})
        EXPECT_TRUE(json.at(name).is_null()) << name;
    EXPECT_EQ(json["mask"], Json::array());
    a.background = -2147483647 - 1;
    a.turn = 5;
    EXPECT_EQ(ArgumentsJson(a)["background"], 2147483648);
    EXPECT_EQ(ArgumentsJson(a)["sense"], "cw");
}

TEST(DocumentText, PeopleCanReadIt)
{
    EXPECT_EQ(DocumentText(Json({{"a", 1}, {"b", {2, 3}}})),
              "{\n  \"a\": 1,\n  \"b\": [\n    2,\n    3\n  ]\n}\n");
}

TEST(DocumentText, BytesThatAreNoTextAreReplaced)
{
    Diagnosis d;
    d.evidence = "a\xFF\"\x01\x7F\xC2\x9B\xC3\xBC";
    const std::string text = DocumentText(JudgementJson(d));
    EXPECT_EQ(text.back(), '\n');
    EXPECT_EQ(Json::parse(text)["evidence"], "a\xEF\xBF\xBD\"\x01\x7F\xC2\x9B\xC3\xBC");
    for (const char c : text) EXPECT_TRUE(c == '\n' || (c >= ' ' && c < '\x7F')) << text;
}

} // namespace
