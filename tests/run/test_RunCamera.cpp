// telvane-run and the program over the real camera class, whose device loses, repeats and withholds frames.
#include <tests/run/RunProgram.h>

#include <cstdlib>
#include <sstream>

namespace {

struct Case {
    std::string script;   ///< of the device
    std::string err;      ///< the lines of the program, without how long the camera was silent
    std::string evidence; ///< a part of the reason; empty: the verdict is good
    Words words = {};     ///< beside those of five frames
};

Json RunFilm(const TemporaryFolder& folder, const std::string& script, const Words& words, int& status)
{
    folder.Write("script", script);
    RunOptions options;
    options.environment = {"CAMERA_SCRIPT=" + folder / "script"};
    options.timeout = std::chrono::seconds(120);
    const Finished run = RunWheel(
        folder, Join({{"--json", "--count", "5", "--telvane", TELVANE_SCRIPTED_DEVICE}, words}), options);
    status = run.status;
    EXPECT_EQ(run.err, "") << script;
    const Json json = Json::parse(run.out, nullptr, false);
    EXPECT_FALSE(json.is_discarded()) << script << run.out;
    return json;
}

/// Whether everything is tried at every place, which takes minutes. Otherwise what is most unlike the others.
const bool everyPlace = std::getenv("TELVANE_ALL_FAULTS") != nullptr;

/// What a text says of the camera, but for how long it was silent: that depends on the machine where it is
/// started anew.
std::string Losses(const std::string& text)
{
    std::istringstream lines(text);
    std::string losses;
    for (std::string line; std::getline(lines, line);) {
        if (line.rfind("Camera: ", 0) != 0) continue;
        if (const std::size_t at = line.find(", silent for "); at != line.npos)
            line.erase(at, line.find(" ms", at) + 3 - at);
        losses += line + '\n';
    }
    return losses;
}

void ExpectVerdict(const Case& c)
{
    const TemporaryFolder folder;
    int status = 0;
    const Json json = RunFilm(folder, c.script, c.words, status);
    EXPECT_EQ(Losses(json["stderr"]), c.err) << c.script;
    EXPECT_EQ(json["source"], "camera");
    if (c.evidence.empty()) {
        EXPECT_EQ(json["verdict"], "good") << c.script << json["evidence"];
        EXPECT_EQ(status, 0) << c.script;
        return;
    }
    EXPECT_EQ(json["verdict"], "bad-frames") << c.script;
    EXPECT_NE(json["evidence"].get<std::string>().find(c.evidence), std::string::npos)
        << c.script << json["evidence"];
    EXPECT_EQ(status, json["result"] == 0 ? 1 : 3) << c.script;
    EXPECT_NE(json["cure"], "") << c.script;

    // So does the report that is made of the same folder later.
    const Finished report = Run({REPORT_PATH, "--json"}, folder / "runs/latest", {});
    EXPECT_EQ(Json::parse(report.out, nullptr, false)["verdict"], "bad-frames") << report.out << report.err;
}

TEST(RunCamera, WhatIsMissingBeforeTheFirstFrameSpoilsNothing)
{
    ExpectVerdict({"5 drop 3\n11 skip 2\n",
                   "Camera: 3 frames lost before grab 5\nCamera: 2 frames lost before grab 11\n", ""});
}

TEST(RunCamera, MissingFramesAreToldAndSpoilWhatIsCompared)
{
    for (const Case& c : {
             Case{"12 skip 1\n", "Camera: 1 frame lost before grab 12\n",
                  "The camera lost frames after frame 1,"},
             Case{"14 repeat 0\n", "Camera: grab 14 repeats the frame before\n",
                  "The camera had no new picture for frame 4,"},
             Case{"13 silent 60\n", "Camera: 60 frames lost before grab 13, restarted\n",
                  "The camera lost frames after frame 2,"},
             Case{"11 gone 0\n", "Camera: no frame at grab 11, restarted\n",
                  "The camera had no new picture for frame 2, 3, 4 and 5,"},
         })
        ExpectVerdict(c);
}

TEST(RunCamera, NoVerdictIsGoodWhateverIsMissingWhere)
{
    const int grabs = 15, first = 11; // of the run, and that of its first frame
    for (const std::string fault : {"drop 1", "drop 7", "skip 1", "skip 2", "slow 4", "slow 9", "spoil 1",
                                    "spoil 5", "repeat 0", "silent 60", "mute 60", "gone 0"}) {
        const std::string what = fault.substr(0, fault.find(' '));
        const bool noFrame = what == "mute" || what == "gone";
        for (int grab = 1; grab <= grabs + 1; grab++) {
            if (!everyPlace && (fault != "mute 60" || grab != first)) continue;
            const TemporaryFolder folder;
            int status = 0;
            const std::string script = std::to_string(grab) + ' ' + fault + '\n';
            const Json json = RunFilm(folder, script, {}, status);
            // Before the first grab there is nothing that could be missed.
            const bool told = grab <= grabs && (grab > 1 || noFrame || what == "silent");
            EXPECT_EQ(Losses(json["stderr"]) != "", told) << script << json["stderr"];
            const bool spoilt =
                grab <= grabs && (grab > first || what == "gone" || (noFrame && grab == first));
            EXPECT_EQ(json["verdict"], spoilt ? "bad-frames" : "good") << script << json["evidence"];
            EXPECT_EQ(json["evidence"].get<std::string>().rfind("The camera ", 0) == 0, spoilt)
                << script << json["evidence"];
        }
    }
    if (!everyPlace) return;
    // Grabs 11 and 12 are compared, 15 and 16, not those between.
    const Words periods = {"--p1", "1", "--p2", "3"};
    ExpectVerdict({"14 drop 1\n", "Camera: 1 frame lost before grab 14\n", "", periods});
    ExpectVerdict({"16 drop 1\n", "Camera: 1 frame lost before grab 16\n",
                   "The camera lost frames after frame 3,", periods});
}

} // namespace
