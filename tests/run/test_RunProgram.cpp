// telvane-run: what a run gives to people, to machines, and to the folder.
#include <tests/run/RunProgram.h>

#include <cmath>
#include <cstdio>
#include <ctime>

namespace {

TEST(RunProgram, RecordedFramesGiveFourLinesAndAFolder)
{
    TemporaryFolder folder;
    // Half of the ring is hidden: what is known of the rotation differs from direction to direction.
    const Finished run =
        RunWheel(folder, {"--frames", Recorded(), "--region", "560,480", "--mask", "0,0,1280,420"});
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(run.err, "");
    const Words names = RunsIn(folder);
    ASSERT_EQ(names.size(), 3u);
    EXPECT_EQ(names[0], ".telvane-run.lock");
    EXPECT_EQ(names[1].size(), 18u) << names[1];
    EXPECT_EQ(names[1].substr(16), "-1");
    EXPECT_EQ(fs::read_symlink(folder / "runs/latest"), names[1]);

    const std::string own = "runs/" + names[1] + "/";
    const Json written = Document(folder), found = written["diagnosis"];
    const double sigmaX = found["centre_sigma"][0], sigmaY = found["centre_sigma"][1];
    EXPECT_GT(std::fabs(sigmaX - sigmaY), 0.01);
    char rotation[200];
    std::snprintf(rotation, sizeof rotation,
                  "Rotation: about %.2f, %.2f (+- %.2f, %.2f), %.3f degrees per frame clockwise",
                  found["centre"][0].get<double>(), found["centre"][1].get<double>(), sigmaX, sigmaY,
                  found["degrees_per_frame"].get<double>());
    EXPECT_NEAR(found["degrees_per_frame"], 0.4, 0.005);
    EXPECT_NEAR(found["centre"][0], 652.4, 0.5);
    EXPECT_EQ(run.out, "Verdict: good\nRegion: left " + written["region"][0].dump() + ", top " +
                           written["region"][1].dump() + ", width 560, height 480\n" + rotation +
                           "\nReport: " + own + "report.html\n");
    // One moment has two writings.
    std::string moment = written["started"];
    std::erase_if(moment, [](char c) { return c == '-' || c == ':'; });
    EXPECT_EQ(moment + "-1", names[1]);
    EXPECT_GT(written["timings"]["program"].get<double>(), 0);

    for (const char* name :
         {"report.html", "run.json", "detected.jpg", "u_sum_sh.bmp", "v_sum_sh.bmp", "img1.bmp", "img5.bmp"})
        EXPECT_TRUE(folder.Has(own + name)) << name;
    EXPECT_FALSE(folder.Has(own + "img6.bmp"));
    EXPECT_EQ(folder.Read(own + "report.html").find(".partial"), std::string::npos)
        << "the page knows its folder by its name";
    EXPECT_EQ(folder.Read(own + "img3.bmp"), AsText(reference::BmpByte(WheelFrame(QuietWheel(), 2))));
}

TEST(RunProgram, TheDocumentIsPrintedAndNothingElse)
{
    TemporaryFolder folder;
    const Finished run = RunWheel(folder, {"--frames", Recorded(), "--json"});
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.err, "");
    EXPECT_EQ(run.out, folder.Read("runs/latest/run.json"));
}

TEST(RunProgram, TheDocumentHoldsTheTruthOfTheWheel)
{
    for (const char* method : {"ring", "votes"}) {
        TemporaryFolder folder;
        WheelScene scene = QuietWheel();
        scene.centreX = 601.3;
        scene.centreY = 455.8;
        scene.degreesPerFrame = -0.35;
        scene.innerR = 180;
        scene.outerR = 215;
        scene.teeth = 32;
        WriteWheel(folder / "there", scene, 7);
        const Finished run = RunIn(folder, TELVANE_RUN_PATH,
                                   {"--inner", "180", "--outer", "215", "--teeth", "32", "--sense", "ccw",
                                    "--region", "500,480", "--centre-in-region", "260,230", "--frames",
                                    "there", "--method", method, "--count", "6"});
        EXPECT_EQ(run.status, 0) << run.out;
        EXPECT_NE(run.out.find("), 0.3"), run.out.npos) << run.out;
        EXPECT_NE(run.out.find(" degrees per frame counter-clockwise\n"), run.out.npos) << run.out;
        const Json json = Document(folder);
        EXPECT_EQ(json["schema"], "telvane-run/1");
        EXPECT_EQ(json["source"], "files");
        EXPECT_EQ(json["verdict"], "good");
        EXPECT_EQ(json["result"], 0);
        EXPECT_EQ(json["exit_status"], 0);
        EXPECT_EQ(json["arguments"]["count"], 6);
        EXPECT_EQ(json["arguments"]["method"], method);
        EXPECT_EQ(json["region"][2], 500);
        EXPECT_EQ(json["region"][3], 480);
        EXPECT_EQ(json["centre"][0], json["region"][0].get<int>() + 260);
        EXPECT_EQ(json["centre"][1], json["region"][1].get<int>() + 230);
        EXPECT_NEAR(json["centre"][0].get<double>(), 601.3, 2.5);
        EXPECT_NEAR(json["centre"][1].get<double>(), 455.8, 2.5);
        EXPECT_NEAR(json["diagnosis"]["centre"][0].get<double>(), 601.3, 0.5);
        EXPECT_NEAR(json["diagnosis"]["centre"][1].get<double>(), 455.8, 0.5);
        EXPECT_NEAR(json["diagnosis"]["degrees_per_frame"].get<double>(), -0.35, 0.01);
        EXPECT_EQ(json["diagnosis"]["sense"], "ccw");
        EXPECT_NE(json["stdout"].get<std::string>().find("RESULT=0\nOROI=["), std::string::npos);
        EXPECT_NE(json["command"].get<std::string>().find("/Telvane -l 6 -s 500 480 260 230 180 215 "),
                  std::string::npos)
            << json["command"];
        EXPECT_GE(json["timings"]["total"], json["timings"]["program"]);
    }
}

TEST(RunProgram, AStandingWheelIsNotToBeTrusted)
{
    TemporaryFolder folder;
    WheelScene still; // with noise: frames without any would be the same one again and again
    still.degreesPerFrame = 0;
    WriteWheel(folder / "there", still);
    const Finished run = RunWheel(folder, {"--frames", "there"});
    EXPECT_EQ(run.status, 1) << run.err;
    const Json written = Document(folder);
    EXPECT_EQ(written["verdict"], "still");
    EXPECT_NE(written["cure"], "");
    EXPECT_EQ(run.out.substr(0, run.out.find('\n')), "Verdict: still. " + written["cure"].get<std::string>());
    EXPECT_NE(run.out.find("\nRotation: none that could be measured\n"), run.out.npos) << run.out;
}

TEST(RunProgram, ARegionThatDoesNotFitIsStatusThree)
{
    TemporaryFolder folder;
    const Finished run = RunWheel(folder, {"--frames", Recorded(), "--region", "1280,960", "--json"});
    EXPECT_EQ(run.status, 3) << run.err;
    const Json json = Json::parse(run.out);
    EXPECT_EQ(json["result"], -4);
    EXPECT_TRUE(json["region"].is_null());
    EXPECT_TRUE(json["failure"].is_null());
    EXPECT_NE(json["stderr"].get<std::string>().find("Error 4: "), std::string::npos);
    const Finished people = RunWheel(folder, {"--frames", Recorded(), "--region", "1280,960"});
    EXPECT_EQ(people.status, 3);
    EXPECT_NE(people.out.find("\nRegion: none (RESULT=-4)\n"), people.out.npos) << people.out;
}

TEST(RunProgram, TheSimulatedCameraIsToldFromARealOne)
{
    TemporaryFolder folder;
    const Finished run =
        RunWheel(folder, {"--json", "--count", "4", "--save", "jpg", "--telvane", SIMULATED_TELVANE});
    EXPECT_EQ(run.status, 0) << run.err << run.out;
    EXPECT_EQ(Json::parse(run.out)["source"], "simulated");
    EXPECT_TRUE(folder.Has("runs/latest/img4.jpg"));
    EXPECT_FALSE(folder.Has("runs/latest/img1.bmp"));

    RunWheel(folder, {"--telvane", StandIn(folder, "echo 'Could not open the camera' >&2; exit 1")});
    EXPECT_EQ(Document(folder)["source"], "camera");
}

TEST(RunProgram, JpegFramesAreHandedOverAsBmp)
{
    TemporaryFolder folder;
    fs::create_directory(folder / "there");
    for (int i = 0; i < 5; i++)
        folder.Write("there/" + FrameName(static_cast<std::size_t>(i), ".jpg"),
                     AsText(reference::JpegGrey(WheelFrame(QuietWheel(), i), 85)));
    const Finished run = RunWheel(folder, {"--frames", "there"});
    EXPECT_EQ(run.status, 0) << run.out << run.err;
    EXPECT_TRUE(folder.Has("runs/latest/img5.bmp"));
    EXPECT_FALSE(folder.Has("runs/latest/img5.jpg"));
}

TEST(RunProgram, FramesAreCountedUpToTheFirstGap)
{
    TemporaryFolder folder;
    WriteWheel(folder / "there", QuietWheel(), 6);
    fs::remove(folder / "there/img5.bmp");
    const Finished run = RunWheel(folder, {"--frames", "there", "--dry-run"});
    EXPECT_EQ(run.status, 0);
    EXPECT_NE(run.out.find("/Telvane -l 4 -s 560 560 280 280 216 250 -1 0 360 360 0 1 0 0 0 0\n"),
              run.out.npos)
        << run.out;
    EXPECT_EQ(RunsIn(folder), Words()) << "nothing was made";
}

TEST(RunProgram, FiftyFramesAreTakenAtMost)
{
    TemporaryFolder folder;
    fs::create_directory(folder / "there");
    for (std::size_t i = 0; i < 52; i++)
        fs::create_hard_link(Recorded() + "/" + FrameName(i % 5), folder / ("there/" + FrameName(i)));
    EXPECT_NE(RunWheel(folder, {"--frames", "there", "--dry-run"}).out.find(" -l 50 -s "), std::string::npos);
}

TEST(RunProgram, FramesAreTheirOwnersAndStay)
{
    TemporaryFolder folder;
    WriteWheel(folder / "there");
    const std::string before = folder.Read("there/img1.bmp");
    RunWheel(folder, {"--frames", "there"});
    RunWheel(folder, {"--frames", "there", "--keep", "1"});
    EXPECT_EQ(folder.Read("there/img1.bmp"), before);
    EXPECT_EQ(RunsIn(folder).size(), 3u);
    // The folder of a run may be moved, and the recorded frames deleted.
    fs::remove_all(folder / "there");
    EXPECT_EQ(folder.Read("runs/latest/img1.bmp"), before);
}

TEST(RunProgram, ADryRunPrintsTheCommandLine)
{
    TemporaryFolder folder;
    const Finished run = RunWheel(folder, {"--dry-run", "--telvane", "/opt/my telvane"});
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.out, "'/opt/my telvane' -n 15 -s 560 560 280 280 216 250 -1 0 360 360 0 1 0 0 0 0\n");
    EXPECT_EQ(FilesIn(folder), Words());
}

TEST(RunProgram, TheProgramIsFoundFromWhereTheRunWasAskedFor)
{
    TemporaryFolder folder;
    StandIn(folder, "pwd >where; echo RESULT=-2");
    RunOptions elsewhere;
    elsewhere.environment = {"TZ=AAA-9"}; // nine hours ahead: times are told in UTC all the same
    const std::time_t before = std::time(nullptr);
    const Finished run = RunWheel(folder, {"--telvane", "./stand-in"}, elsewhere);
    EXPECT_EQ(run.status, 3) << run.err;
    EXPECT_NE(folder.Read("runs/latest/where"), folder.Path() + "\n") << "it runs in the run's folder";
    std::tm parts{};
    const std::string started = Document(folder)["started"];
    ASSERT_NE(strptime(started.c_str(), "%Y-%m-%dT%H:%M:%SZ", &parts), nullptr) << started;
    EXPECT_NEAR(std::difftime(timegm(&parts), before), 0, 60) << started;

    folder.Write("text", "no program");
    const Finished none = RunWheel(folder, {"--telvane", "text"});
    EXPECT_EQ(none.status, 4);
    EXPECT_EQ(none.err, "telvane-run: cannot start " + (folder / "text") + ": Permission denied\n");
    EXPECT_EQ(RunsIn(folder).size(), 3u) << "nothing was made for it";
    const Finished dry = RunWheel(folder, {"--dry-run", "--telvane", "/t\x1B[2J"});
    EXPECT_EQ(dry.out.rfind("'/t\\x1B[2J' -n 15 ", 0), 0u) << dry.out;
}

TEST(RunProgram, GrabsHaveATenthOfASecondEachBesideTheTimeout)
{
    // Eleven until there is a first frame, and four to the second one.
    TemporaryFolder folder;
    const Finished run = RunWheel(folder, {"--telvane", StandIn(folder, "exec sleep 60"), "--timeout", "1",
                                           "--count", "2", "--p1", "4"});
    EXPECT_EQ(run.status, 4);
    double seconds = 0;
    ASSERT_EQ(std::sscanf(run.err.c_str(), "telvane-run: Telvane was ended after %lf s (runs/2", &seconds), 1)
        << run.err;
    EXPECT_GE(seconds, 2.5);
    EXPECT_EQ(run.err.substr(run.err.size() - 4), "-1)\n") << run.err;
}

TEST(RunProgram, TheFileHoldsOptionsAndTheCommandLineWins)
{
    TemporaryFolder folder;
    folder.Write("wheel.toml", "inner = 100\nouter = 120\nregion = [300, 200]\nout = \"elsewhere\"\n");
    const Words line = {"--config", "wheel.toml", "--inner", "110", "--dry-run", "--telvane", "/t"};
    const Finished run = RunIn(folder, TELVANE_RUN_PATH, line);
    EXPECT_EQ(run.out, "/t -n 15 -s 300 200 150 100 110 120 -1 0 360 360 0 0 0 0 0 0\n") << run.err;
    folder.Write("wheel.toml", "inner = 100\nouter = 120\nregion = [300, 200]\noffset = 4\n");
    const Finished bad = RunIn(folder, TELVANE_RUN_PATH, line);
    EXPECT_EQ(bad.status, 2);
    EXPECT_EQ(bad.err,
              "telvane-run: wheel.toml:4:10: offset: only votes have an offset, and the method is ring\n");
    EXPECT_EQ(RunIn(folder, TELVANE_RUN_PATH, Join({line, {"--method", "votes", "--sense", "cw"}})).status,
              0);
}

TEST(RunProgram, AWrongArgumentIsOneLineAndStatusTwo)
{
    TemporaryFolder folder;
    struct Case {
        Words words;
        std::string line;
    };
    for (const auto& [words, line] : std::vector<Case>{
             {{"--inner", "3OO"}, "--inner: '3OO' is not a whole number of 0 or more"},
             {{"--inner"}, "--inner needs a value"},
             {{"--inner", ""}, "--inner needs a value"},
             {{"--inner", "--json"}, "--inner needs a value"},
             {{"--count", "51"}, "--count: '51' is not a whole number from 2 to 50"},
             {{"--mask", "1,2,3,4", "--mask", "1,2,3,4", "--mask", "1,2,3,4", "--mask", "1,2,3,4"},
              "--mask: given more than 3 times"},
             {{"--mask", "1,2,3,0"},
              "--mask: '1,2,3,0' is not X,Y,W,H: whole numbers, X from -10000 to 10000, Y from -10000 to "
              "10000, W "
              "from 1 to 10000, H from 1 to 10000"},
             {{"--offset", "1"}, "--offset: only votes have an offset, and the method is ring"},
             {{"--radius", "1"}, "there is no option '--radius'"},
             {{"more"}, "there is no option 'more'"},
             {{"--json", "--dry-run"}, "--json: with --dry-run there is no run to tell of"},
             {{"--config", "no.toml"}, "no.toml: not there"},
             {{"--sense", "c\033[31mw"}, "--sense: 'c\\x1B[31mw' is not cw or ccw"},
         }) {
        const Finished run = RunWheel(folder, words);
        EXPECT_EQ(run.status, 2) << line;
        EXPECT_EQ(run.out, "");
        EXPECT_EQ(run.err, "telvane-run: " + line + "\n");
    }
    EXPECT_EQ(RunIn(folder, TELVANE_RUN_PATH, {"--json"}).err, "telvane-run: --inner must be given\n");
    EXPECT_EQ(FilesIn(folder), Words());
}

TEST(RunProgram, NegativeNumbersAndMasksAreTaken)
{
    TemporaryFolder folder;
    const Finished run = RunWheel(folder, {"--dry-run", "--telvane", "/t", "--mask", "-5,1,2,3", "--angles",
                                           "-90,90", "--mask=4,5,6,7"});
    EXPECT_EQ(run.out,
              "/t -n 15 -s -m -5 1 2 3 -m 4 5 6 7 560 560 280 280 216 250 -1 -90 90 360 0 1 0 0 0 0\n")
        << run.err;
}

TEST(RunProgram, HelpAndVersionAreAnswered)
{
    TemporaryFolder folder;
    const Finished help = RunIn(folder, TELVANE_RUN_PATH, {"--help"});
    EXPECT_EQ(help.status, 0);
    for (const char* word : {"--inner", "--centre-in-region", "--mask", "--json", "Exit status", "3 times"})
        EXPECT_NE(help.out.find(word), help.out.npos) << word;
    EXPECT_EQ(RunIn(folder, TELVANE_RUN_PATH, {"--version"}).out.rfind("telvane-run 2.", 0), 0u);
}

TEST(RunProgram, TheReportOfItsFolderKnowsWhatWasAskedFor)
{
    TemporaryFolder folder;
    RunWheel(folder, {"--frames", Recorded(), "--method", "votes", "--sense", "ccw"});
    const Json written = Document(folder);
    EXPECT_EQ(written["verdict"], "wrong-sense");
    const std::string line =
        "telvane-run --inner 216 --outer 250 --teeth 40 --sense cw --region 560,560 --count 5 "
        "--frames " +
        Recorded();
    EXPECT_NE(folder.Read("runs/latest/report.html").find(line + "<"), std::string::npos) << "to try";
    const auto report = [&folder] { return RunIn(folder, REPORT_PATH, {"--in", "runs/latest", "--json"}); };
    const Finished again = report();
    EXPECT_EQ(again.err, "");
    const Json judged = Json::parse(again.out);
    for (const auto& [key, value] : judged.items()) EXPECT_EQ(written[key], value) << key;

    RunIn(folder, REPORT_PATH, {"--in", "runs/latest", "--out", "again.html"});
    EXPECT_NE(folder.Read("again.html").find(line + "<"), std::string::npos);

    std::string other = folder.Read("runs/latest/run.json");
    other.replace(other.find("telvane-run/1"), 13, "telvane-run/2");
    folder.Write("runs/latest/run.json", other);
    const Finished newer = report();
    EXPECT_EQ(newer.status, 0);
    EXPECT_EQ(newer.err,
              "telvane-report: runs/latest/run.json: its schema is 'telvane-run/2', not 'telvane-run/1'; "
              "expected what telvane-run writes\n");
    EXPECT_NE(Json::parse(newer.out)["verdict"], "wrong-sense") << "what was asked for is not known then";
}

// ---------------------------------------------------------------------------------- frames that cannot be
// taken

TEST(RunProgram, AFrameThatCannotBeTakenIsNamed)
{
    struct Case {
        std::string name, bytes, line;
    };
    const std::string good = AsText(reference::BmpByte(WheelFrame(QuietWheel(), 0)));
    const std::string small = AsText(reference::BmpByte(WheelFrame(SmallWheel(), 0)));
    for (const auto& [name, bytes, line] : std::vector<Case>{
             {"img2.bmp", small, "there/img2.bmp: of 160 x 120 pixels, not 1280 x 960"},
             {"img3.bmp", good.substr(0, 5000),
              "there/img3.bmp: cut short: 1280 x 960 pixels need 1229878 bytes, there are 5000"},
             {"img2.bmp", "", "there/img2.bmp: not a BMP file"},
             {"img2.bmp", "GIF89a", "there/img2.bmp: not a BMP file"},
         }) {
        TemporaryFolder folder;
        WriteWheel(folder / "there", QuietWheel(), 3);
        folder.Write("there/" + name, bytes);
        const Finished run = RunWheel(folder, {"--frames", "there", "--json"});
        EXPECT_EQ(run.status, 4);
        const std::string conversion = "; to convert it: convert there/" + name +
                                       " -colorspace Gray -gravity center -background black -extent 1280x960 "
                                       "-type Palette -compress none BMP3:there/" +
                                       name;
        EXPECT_EQ(run.err,
                  "telvane-run: " + line + (line.find("cut short") == line.npos ? conversion : "") + "\n");
        EXPECT_EQ(std::count(run.err.begin(), run.err.end(), '\n'), 1) << run.err;
        EXPECT_EQ(Json::parse(run.out)["verdict"], "failed");
        EXPECT_EQ(RunsIn(folder), Words{".telvane-run.lock"});
    }
}

TEST(RunProgram, FramesThatAreNotThereAreNamed)
{
    TemporaryFolder folder;
    WriteWheel(folder / "one", QuietWheel(), 1);
    WriteWheel(folder / "two", QuietWheel(), 2);
    const auto line = [&](const Words& words) {
        const Finished run = RunWheel(folder, words);
        EXPECT_EQ(run.status, 4);
        EXPECT_EQ(run.out, "");
        return run.err;
    };
    EXPECT_EQ(line({"--frames", "none"}),
              "telvane-run: none/img1.bmp: not there; expected img1.bmp, img2.bmp, ... or img1.jpg, ...\n");
    EXPECT_EQ(line({"--frames", "one"}),
              "telvane-run: one/img2.bmp: not there; a run takes at least two frames\n");
    EXPECT_EQ(line({"--frames", "two", "--count", "3"}),
              "telvane-run: two/img3.bmp: not there; --count asks for 3 frames\n");
    EXPECT_EQ(RunWheel(folder, {"--frames", "two", "--count", "2"}).err, "");
    fs::create_directory(folder / "two/img3.bmp");
    EXPECT_EQ(line({"--frames", "two"}), "telvane-run: two/img3.bmp: Is a directory\n");
    fs::remove(folder / "two/img3.bmp");
    ASSERT_EQ(mkfifo((folder / "two/img3.bmp").c_str(), 0600), 0);
    EXPECT_EQ(
        line({"--frames", "two"}),
        "telvane-run: two/img3.bmp: not a BMP file; to convert it: convert two/img3.bmp -colorspace Gray "
        "-gravity center -background black -extent 1280x960 -type Palette -compress none "
        "BMP3:two/img3.bmp\n");
}

} // namespace
