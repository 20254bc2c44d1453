// run.json, written and read back.
#include <run/Document.h>

#include <tests/support/ProgramRuns.h>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <string>

using namespace telvane;
using Json = nlohmann::ordered_json;

namespace {

RunDocument Sample()
{
    RunDocument d;
    for (const auto& [name, text] : {std::pair<std::string, std::string>{"inner", "216"},
                                     {"outer", "250"},
                                     {"region", "560,540"},
                                     {"sense", "cw"},
                                     {"method", "votes"},
                                     {"mask", "1,2,3,4"}}) {
        const RunOption& option = *OptionNamed(name);
        Value value;
        EXPECT_EQ(ReadWords(option, {text}, value), "");
        option.store(d.request, value);
        d.request.given[name] = name;
    }
    EXPECT_EQ(Complete(d.request), "");
    d.started = "2026-11-21T23:09:04Z";
    d.folder = "runs/x";
    d.source = "camera";
    d.command = "/usr/bin/Telvane -n 15";
    d.out = "RESULT=0\n";
    d.err = "a warning\n";
    d.exitStatus = 0;
    d.outcome.result = 0;
    d.outcome.region = Region{373, 192, 560, 540};
    d.timings.frames = 0.25;
    d.timings.program = 0.5;
    d.timings.report = 0.125;
    d.timings.total = 1.23456;
    return d;
}

TEST(RunDocument, HoldsTheAnswer)
{
    const Json json = ToJson(Sample(), {{"verdict", "good"}});
    EXPECT_EQ(json["schema"], "telvane-run/1");
    EXPECT_EQ(json["region"], Json::array({373, 192, 560, 540}));
    EXPECT_EQ(json["centre"], Json::array({653, 462})) << "left + 280, top + 270";
    EXPECT_EQ(json["arguments"]["inner"], 216);
    EXPECT_EQ(json["arguments"]["mask"], Json::array({Json::array({1, 2, 3, 4})}));
    EXPECT_EQ(json["arguments"]["centre-in-region"], Json::array({280, 270}));
    EXPECT_TRUE(json["arguments"]["teeth"].is_null());
    EXPECT_EQ(json["verdict"], "good");
    EXPECT_EQ(json["exit_status"], 0);
    EXPECT_TRUE(json["failure"].is_null());
    EXPECT_EQ(json["timings"],
              Json({{"frames", 0.25}, {"program", 0.5}, {"report", 0.125}, {"total", 1.235}}));
    EXPECT_EQ(json["started"], "2026-11-21T23:09:04Z");
    EXPECT_EQ(json["folder"], "runs/x");
    EXPECT_EQ(json["source"], "camera");
    EXPECT_EQ(json["command"], "/usr/bin/Telvane -n 15");
    EXPECT_EQ(json["stdout"], "RESULT=0\n");
    EXPECT_EQ(json["stderr"], "a warning\n");
    EXPECT_EQ(json["result"], 0);
}

TEST(RunDocument, WhatIsNotKnownIsNull)
{
    RunDocument d = Sample();
    d.outcome = {};
    d.outcome.failure = "Telvane halted";
    d.exitStatus.reset();
    d.folder.clear();
    const Json json = ToJson(d, Json::object());
    for (const char* key : {"exit_status", "result", "region", "centre", "folder"})
        EXPECT_TRUE(json.at(key).is_null()) << key;
    EXPECT_EQ(json["failure"], "Telvane halted");
}

TEST(RunDocument, ReadsBackWhatWasAskedForAndWhatCameOut)
{
    RunDocument read;
    ASSERT_EQ(ReadRunDocument(ToJson(Sample(), Json::object()).dump(), read), "");
    EXPECT_EQ(read.request.arguments.CommandLine(), Sample().request.arguments.CommandLine());
    EXPECT_EQ(read.outcome.result, 0);
    ASSERT_TRUE(read.outcome.region);
    EXPECT_EQ(read.outcome.region->left, 373);
    EXPECT_EQ(read.outcome.region->height, 540);
    EXPECT_EQ(read.outcome.failure, "");

    RunDocument none = Sample();
    none.outcome.result = -4;
    none.outcome.region.reset();
    none.err = "warning\nError 4: out of range\n";
    ASSERT_EQ(ReadRunDocument(ToJson(none, Json::object()).dump(), read), "");
    EXPECT_EQ(read.outcome.message, "Error 4: out of range");
    EXPECT_FALSE(read.outcome.region);
}

TEST(RunDocument, AnotherVersionIsNamed)
{
    Json json = ToJson(Sample(), Json::object());
    json["schema"] = "telvane-run/2";
    RunDocument read;
    EXPECT_EQ(ReadRunDocument(json.dump(), read), "its schema is 'telvane-run/2', not 'telvane-run/1'");
}

TEST(RunDocument, WhatIsNoneIsRefused)
{
    RunDocument read;
    for (const char* text : {"", "{", "[1]", "5", "\xFF", "nul"})
        EXPECT_EQ(ReadRunDocument(text, read), std::string(text) == "[1]" || std::string(text) == "5"
                                                   ? "not the document of a run"
                                                   : "not a JSON document")
            << text;
    EXPECT_EQ(ReadRunDocument("{}", read), "not the document of a run");
    EXPECT_EQ(ReadRunDocument("{\"schema\": 1}", read), "not the document of a run");
    EXPECT_EQ(ReadRunDocument(std::string(100000, '['), read), "not a JSON document");
    const Json whole = ToJson(Sample(), Json::object());
    for (const auto& [key, bad] : {std::pair<const char*, Json>{"inner", 5.5},
                                   {"inner", 4294967512},
                                   {"outer", 10},
                                   {"region", {1, 2, 3}},
                                   {"sense", "CW"},
                                   {"mask", 1},
                                   {"inner", nullptr}}) {
        Json json = whole;
        json["arguments"][key] = bad;
        EXPECT_EQ(ReadRunDocument(json.dump(), read).rfind("its arguments: ", 0), 0u) << key << bad;
    }
    for (const Json& bad :
         {Json(5), Json::array({1, 2, 3}), Json::array({1, 2, 3, "4"}), Json::array({1, 2, 3, 1e99}),
          Json::array({UINT64_MAX, 2, 3, 4}), Json::array({1, 2, 3, 2147483648})}) {
        Json json = whole;
        json["region"] = bad;
        EXPECT_EQ(ReadRunDocument(json.dump(), read), "its region is none") << bad;
    }
    Json json = whole;
    json["result"] = UINT64_MAX; // -1 in 32 bits
    EXPECT_EQ(ReadRunDocument(json.dump(), read), "");
    EXPECT_FALSE(read.outcome.result);
    const std::string deep = std::string(1000000, '[') + std::string(1000000, ']');
    EXPECT_EQ(ReadRunDocument("{\"schema\":\"telvane-run/1\",\"arguments\":{\"inner\":" + deep + "}}", read),
              "not a JSON document");
    EXPECT_EQ(ReadRunDocument(whole.dump() + '\0', read), "not a JSON document") << "a zero ends no text";
    EXPECT_EQ(ReadRunDocument(whole.dump() + '\0' + "more", read), "not a JSON document");
    json.erase("arguments");
    EXPECT_EQ(ReadRunDocument(json.dump(), read), "its arguments: --inner must be given");
}

TEST(RunDocument, TheLastLineIsThatBeforeAnyEndsOfLines)
{
    for (const auto& [text, line] : {std::pair{"", ""},
                                     {"one", "one"},
                                     {"one\ntwo\n", "two"},
                                     {"one\ntwo\r\n\r\n", "two"},
                                     {"\n\n", ""}})
        EXPECT_EQ(LastLineOf(text), line);
}

TEST(RunDocument, AFolderHoldsARunWhereItHasSuchADocument)
{
    TemporaryFolder folder;
    EXPECT_FALSE(HoldsRun(folder.Path()));
    for (const char* other : {"", "{}", "{\"schema\": \"x\"}", "{\"schema\": \"telvane-run\"}"}) {
        folder.Write("run.json", other);
        EXPECT_FALSE(HoldsRun(folder.Path())) << other;
    }
    folder.Write("run.json", ToJson(Sample(), Json::object()).dump());
    EXPECT_TRUE(HoldsRun(folder.Path()));
}

} // namespace
