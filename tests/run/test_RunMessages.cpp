// Every message that the program has: what telvane-run makes of it, and its document held against the schema.
#include <tests/run/RunProgram.h>

namespace {

struct Case {
    std::string name;
    std::string script; ///< of the stand-in; empty: the program itself, on recorded frames
    Words words;
    int status;
    std::string verdict; ///< empty: any but a good one
    std::string failure; ///< a part of it; empty: there is none
    Json result;
};

const std::string detects = "echo 'Detection ...'; echo ' ... completed'; ";

Case Halts(const std::string& name, const std::string& message)
{
    const std::string line = "01/01 00:00:00.000 > -999 Err1 in: " + message;
    return {name,     "echo 'Loading images ...'; echo '" + line + "' >&2; exec sleep 60",
            {},       4,
            "failed", "Telvane halted: " + line,
            nullptr};
}

Case Answers(int result, const std::string& message)
{
    const std::string number = std::to_string(result);
    return {"result" + number,
            detects + "echo '" + message + "' >&2; echo RESULT=" + number,
            {},
            3,
            "",
            "",
            result};
}

const Case cases[] = {
    {"good", "", {}, 0, "good", "", 0},
    {"votes", "", {"--method", "votes"}, 0, "good", "", 0},
    {"wrong-sense", "", {"--method", "votes", "--sense", "ccw"}, 3, "wrong-sense", "", -4},
    {"out-of-range", "", {"--region", "1280,960"}, 3, "", "", -4},
    Answers(-1, "Error 1: Invalid argument <params>"),
    Answers(-2, "Error 2: Calculation aborted"),
    Answers(-3, "Error 3: Calculation failed"),
    Answers(-4, "Error 4: Calculated <oroi> is out of range, f_cx = -inf, f_cy = -inf"),
    {"usage",
     "printf 'Usage:\\nTelvane -n\\n    ... [-m\\n    ... <wid>\\n    ... <teethCnt>\\n' >&2; exit 1",
     {},
     4,
     "failed",
     "Telvane ended with status 1: it does not take this command line",
     nullptr},
    {"camera",
     "echo 'Could not open the camera' >&2; exit 1",
     {},
     4,
     "failed",
     "Telvane ended with status 1: Could not open the camera",
     nullptr},
    {"loading",
     "echo 'Loading images ...'; echo 'Error -1:  ... error loading images!' >&2; exit 255",
     {},
     4,
     "failed",
     "Telvane ended with status 255: Error -1:  ... error loading images!",
     nullptr},
    Halts("resize", "Resize_ubyte: Object cannot be resized, data are referenced by another object"),
    Halts("range", "RNG: Invalid range selection"),
    {"memory",
     "echo '" + haltLine + "' >&2; exec sleep 60",
     {},
     4,
     "failed",
     "not enough memory: Telvane halted: " + haltLine,
     nullptr},
    {"jpeg",
     detects + "echo RESULT=0; echo 'Output file write error --- out of disk space?' >&2; exit 1",
     {},
     4,
     "failed",
     "Telvane ended with status 1: Output file write error --- out of disk space?",
     nullptr},

    // What no message of the program tells.
    {"crash",
     "kill -SEGV $$",
     {},
     4,
     "failed",
     "Telvane was ended by signal 11 (Segmentation fault)",
     nullptr},
    {"silent",
     "exec sleep 60",
     {"--frames", Recorded(), "--timeout", "1"},
     4,
     "failed",
     "Telvane was ended after 1.0",
     nullptr},
    {"nothing",
     "exit 0",
     {},
     4,
     "failed",
     "Telvane did not answer: its output ends without RESULT=",
     nullptr},
    {"garbage",
     "printf 'RESULT=0\\n\\377\\376\\001\\033[2J\\n'; printf '\\377\\000\\n' >&2",
     {},
     4,
     "failed",
     "Telvane did not answer: its output does not end with one OROI=[...]",
     nullptr},
    {"another-region",
     detects + "echo RESULT=0; echo 'OROI=[1,2,3,4,1]'",
     {},
     4,
     "failed",
     "'OROI=[1,2,3,4,1]' is not the region that was asked for",
     nullptr},
    {"megabytes",
     "head -c 5000000 /dev/zero | tr '\\0' x; echo; echo RESULT=-2",
     {},
     4,
     "failed",
     "Telvane did not answer: it prints more than a run does",
     nullptr},
    {"damaged",
     "printf BMx >img1.bmp; " + detects + "echo RESULT=-2",
     {},
     4,
     "failed",
     "; is the disk full?",
     -2},
    {"not-there", "", {"--telvane", "missing"}, 4, "failed", "missing: not there", nullptr},
    {"no-frames", "", {"--frames", "missing"}, 4, "failed", "missing/img1.bmp: not there", nullptr},
    {"no-folder", "", {"--out", "/proc/missing"}, 4, "failed", "/proc/missing: ", nullptr},
};

TEST(RunMessages, EachHasItsStatusItsLineAndADocumentOfTheSchema)
{
    TemporaryFolder documents;
    int written = 0;
    for (const Case& c : cases) {
        TemporaryFolder folder;
        Words words = {"--json"};
        if (c.script.empty()) words = Join({words, {"--frames", Recorded()}});
        else words = Join({words, {"--telvane", StandIn(folder, c.script)}});
        const Finished run = RunWheel(folder, Join({words, c.words}));
        EXPECT_EQ(run.status, c.status) << c.name << '\n' << run.out << run.err;
        documents.Write(c.name + ".json", run.out);
        written++;

        const Json json = Json::parse(run.out, nullptr, false);
        ASSERT_FALSE(json.is_discarded()) << c.name << '\n' << run.out;
        EXPECT_EQ(json["result"], c.result) << c.name;
        if (c.verdict.empty()) EXPECT_NE(json["verdict"], "good") << c.name;
        else EXPECT_EQ(json["verdict"], c.verdict) << c.name;
        if (c.failure.empty()) {
            EXPECT_TRUE(json["failure"].is_null()) << c.name << json["failure"];
            EXPECT_EQ(run.err, "") << c.name;
        } else {
            ASSERT_TRUE(json["failure"].is_string()) << c.name;
            EXPECT_NE(json["failure"].get<std::string>().find(c.failure), std::string::npos)
                << json["failure"];
            EXPECT_EQ(std::count(run.err.begin(), run.err.end(), '\n'), 1) << run.err;
            EXPECT_NE(run.err.find(c.failure), run.err.npos) << run.err;
        }
        // The folder holds the same document, where there is one.
        if (json["folder"].is_null()) EXPECT_FALSE(folder.Has("runs/latest")) << c.name;
        else EXPECT_EQ(folder.Read("runs/latest/run.json"), run.out) << c.name;
    }
    const Finished check = RunIn(documents, "python3", {CHECK_DOCUMENTS, RUN_SCHEMA, documents.Path()});
    EXPECT_EQ(check.status, 0) << check.err;
    EXPECT_EQ(check.out, std::to_string(written) + " documents\n");
}

} // namespace
