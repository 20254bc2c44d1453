// telvane-report as a program: what it says, and the page and the document that it gives.
#include <tests/support/ChildProcess.h>
#include <tests/support/Decoded.h>
#include <tests/support/FileSizeLimit.h>
#include <tests/support/Pictures.h>
#include <tests/support/ProgramRuns.h>
#include <tests/support/ReportPage.h>

#include <tests/reference/Files.h>
#include <tests/reference/Jpeg.h>

#include <run/Document.h>
#include <simulator/Wheel.h>

#include <nlohmann/json.hpp>

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include <sys/stat.h>
#include <sys/sysmacros.h>

namespace {

namespace fs = std::filesystem;
using report_page::Shown;
using Json = nlohmann::json;

const int frameCount = 3;

/// The command line of the runs here, for flow voting or the ring search.
Words RunWords(bool votes = true)
{
    Geometry geometry;
    if (votes) geometry.R3 = "0";
    return Join({{"-l", std::to_string(frameCount), "-s"}, geometry.Arguments()});
}

Words Behind(const Words& words) { return Join({{"--", "Telvane"}, words}); }

std::string Frame(int number) { return AsText(reference::BmpByte(WheelFrame(WheelScene(), number))); }

void WriteWheel(const TemporaryFolder& folder, int first = 1, int last = frameCount)
{
    for (int i = first; i <= last; i++) folder.Write("img" + std::to_string(i) + ".bmp", Frame(i));
}

/// Frames of one grey value, which are quickly judged and shown, where it does not matter what they show.
void WritePlain(const TemporaryFolder& folder, const std::string& within = "", int last = frameCount)
{
    static const std::string frame = AsText(reference::BmpByte(pictures::Bytes(1280, 960, 90)));
    for (int i = 1; i <= last; i++) folder.Write(within + "img" + std::to_string(i) + ".bmp", frame);
}

/// A run of the program on frames of the default wheel.
void MakeRun(const TemporaryFolder& folder, bool votes = true)
{
    WriteWheel(folder);
    ASSERT_NE(RunIn(folder, TELVANE_PATH, RunWords(votes)).out.find("RESULT=0"), std::string::npos);
}

void MakeOlder(const TemporaryFolder& folder, const std::string& name, std::chrono::seconds by)
{
    fs::last_write_time(folder / name, fs::last_write_time(folder / name) - by);
}

Finished Report(const TemporaryFolder& folder, const Words& words = {})
{
    return RunIn(folder, REPORT_PATH, words);
}

Shown Page(const TemporaryFolder& folder, const std::string& name = "report.html")
{
    return Shown(folder.Read(name));
}

/// The headings of a page of flow voting.
const Words allHeadings = {"What was measured", "The picture that the program marked",
                           "The votes for the centre", "The motion", "The frames"};
const std::size_t allImages = 10; // drawing; marked; votes, peak, scale; motion, wheel, strength; two frames

std::size_t Lines(const std::string& text)
{
    return static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n'));
}

/// A line of the program.
std::string Line(const std::string& text) { return "telvane-report: " + text + "\n"; }

TEST(Report, ShowsEverythingOfARun)
{
    TemporaryFolder folder;
    MakeRun(folder);
    Words files = FilesIn(folder);
    const Finished run = Report(folder);
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.out, "Wrote report.html\n");
    EXPECT_EQ(run.err, "");
    files.push_back("report.html");
    std::sort(files.begin(), files.end());
    EXPECT_EQ(FilesIn(folder), files);

    const Shown page = Page(folder);
    EXPECT_EQ(page.headings, allHeadings);
    EXPECT_EQ(page.drawings, 3) << "over the frame, the votes and the peak";
    ASSERT_EQ(page.images.size(), allImages);
    const std::string first = AsText(reference::JpegGrey(WheelFrame(WheelScene(), 1), 85));
    EXPECT_TRUE(page.images[0].bytes == first) << "the unmarked frame, below the drawing";
    EXPECT_TRUE(page.images[1].bytes == folder.Read("detected.jpg")) << "as it is";
    EXPECT_EQ(page.images[2].width, 1281);
    EXPECT_EQ(page.images[5].height, 961);
    EXPECT_TRUE(page.images[8].bytes == first);
    EXPECT_TRUE(page.images[9].bytes == AsText(reference::JpegGrey(WheelFrame(WheelScene(), 3), 85)));
    EXPECT_EQ(page.facts.at("Result"), "not known") << "there is no command line";
    EXPECT_EQ(page.facts.at("Region"), "not known");
    EXPECT_EQ(page.marks.count("region"), 0u);
    EXPECT_EQ(page.marks.count("given-circles"), 0u);

    EXPECT_EQ(page.captions.size(), allImages);
    for (const std::string& caption : page.captions) {
        int sentences = 0;
        for (std::size_t at = 0; (at = caption.find(". ", at)) != caption.npos; at++) sentences++;
        EXPECT_LE(sentences, 1) << caption;
    }
}

TEST(Report, WhatIsWrongWithFilesIsSaidOnStandardErrorAndOnThePage)
{
    TemporaryFolder folder;
    MakeRun(folder);
    MakeOlder(folder, "detected.jpg", std::chrono::hours(2));
    folder.Write("hough.bmp", "BM");
    fs::remove(folder / "u_sum_sh.bmp");
    const Finished run = Report(folder);
    EXPECT_EQ(run.status, 0);
    const std::string doubt = "detected.jpg: older than img3.bmp; expected files of one run",
                      votes = "hough.bmp: cut short within its header; expected a 16-bit picture as a run "
                              "with -s writes it",
                      flow = "u_sum_sh.bmp: not there; expected the flow along x, which a run with -s writes";
    EXPECT_EQ(run.err, Line(doubt) + Line(votes) + Line(flow));
    const Shown page = Page(folder);
    EXPECT_EQ(page.headings, allHeadings);
    ASSERT_FALSE(page.notes.empty());
    EXPECT_EQ(page.notes.front(), "There are files of different runs here:");
    EXPECT_LT(page.text.find(doubt), page.text.find("Result")) << "at the top";
    for (const std::string& line : {votes, flow}) EXPECT_TRUE(page.Says("Not shown: " + line + ".")) << line;
    EXPECT_TRUE(page.Says("Made here from the frames.")) << "in place of the flow that is missing";
    EXPECT_EQ(page.images.size(), allImages - 3);
}

TEST(Report, ComparesWithTheCommandLineOfTheRun)
{
    TemporaryFolder folder;
    WriteWheel(folder);
    const Words words = RunWords(false);
    const Finished program = RunIn(folder, TELVANE_PATH, words);
    int left = 0, top = 0;
    const std::size_t region = program.out.find("OROI=[");
    ASSERT_NE(region, program.out.npos) << program.out;
    ASSERT_EQ(std::sscanf(program.out.c_str() + region, "OROI=[%d,%d,", &left, &top), 2);

    const Finished run = Report(folder, Behind(words));
    EXPECT_EQ(run.status, 0);
    const Shown page = Page(folder);
    EXPECT_EQ(page.facts.at("Result"), "RESULT=0, computed here");
    EXPECT_EQ(page.facts.at("Region"),
              "600 x 560 at (" + std::to_string(left) + ", " + std::to_string(top) + ")");
    std::string line = "Telvane";
    for (const std::string& word : words) line += " " + word;
    EXPECT_EQ(page.commands.back(), line);
    EXPECT_EQ(page.marks.count("region"), 1u);
    EXPECT_EQ(page.marks.count("found-centre"), 1u);
    EXPECT_EQ(page.marks.count("given-circles"), 1u);
}

TEST(Report, ThePeakIsWhereTheProgramPutsTheCentre)
{
    TemporaryFolder folder;
    MakeRun(folder);
    const Finished program = RunIn(folder, TELVANE_PATH, RunWords());
    int left = 0, top = 0;
    ASSERT_EQ(std::sscanf(program.out.c_str() + program.out.find("OROI=["), "OROI=[%d,%d,", &left, &top), 2);
    ASSERT_EQ(Report(folder).status, 0);
    const Shown page = Page(folder);
    EXPECT_TRUE(page.Says("that is pixel (" + std::to_string(left + 300) + ", " + std::to_string(top + 280) +
                          ") of the frame"));
    EXPECT_TRUE(page.Says("The peak is clear"));

    // The wheel turns clockwise: its top moves to the right, which is red, its bottom to the left.
    const decoded::Colours motion = decoded::DecodePng(page.images[5].bytes);
    ASSERT_EQ(motion.width, 1281);
    const auto redness = [&](int x0, int y0) {
        long red = 0;
        for (int y = y0 - 14; y <= y0 + 14; y++)
            for (int x = x0 - 14; x <= x0 + 14; x++) {
                const unsigned c = motion.At(x, y);
                red +=
                    static_cast<long>(c >> 16) - static_cast<long>(c >> 8 & 255) - static_cast<long>(c & 255);
            }
        return red;
    };
    EXPECT_GT(redness(652, 472 - 233), 10000);
    EXPECT_LT(redness(652, 472 + 233), -10000);
}

TEST(Report, FramesThatCannotBeUsedAreTheVerdict)
{
    TemporaryFolder folder;
    WritePlain(folder);
    folder.Write("img2.bmp", "BM");
    Finished run = Report(folder, {"--count", "5"});
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.err, Line("img2.bmp: cut short within its header; expected a frame of the run, an "
                            "uncompressed 8-bit grey BMP") +
                           Line("img4.bmp to img5.bmp: not there; expected all 5 frames"));
    Shown page = Page(folder);
    EXPECT_EQ(page.verdict, "The frames cannot be used");
    EXPECT_EQ(page.kind, "bad");
    EXPECT_TRUE(page.Says("img2.bmp: cut short within its header, and 1 other."));
    EXPECT_EQ(page.drawings, 1) << "the first frame is there";

    // The command line says how many there must be.
    WritePlain(folder);
    Words words = RunWords();
    words[1] = "4";
    run = Report(folder, Behind(words));
    EXPECT_EQ(run.err, Line("img4.bmp: not there; expected all 4 frames"));
    EXPECT_EQ(Page(folder).verdict, "The frames cannot be used");
    EXPECT_EQ(Page(folder).facts.at("Result"), "not known");

    TemporaryFolder one;
    WritePlain(one, "", 1);
    run = Report(one);
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.err, "");
    EXPECT_EQ(Page(one).verdict, "The frames cannot be used");
    EXPECT_TRUE(Page(one).Says("There is one frame only, and motion takes two."));
}

TEST(Report, WhereTheProgramHaltsTheRunFailed)
{
    TemporaryFolder folder;
    WritePlain(folder);
    const Finished run = Report(folder, Behind(Join({{"-m", "10", "10", "0", "5"}, RunWords()})));
    EXPECT_EQ(run.status, 0);
    const Shown page = Page(folder);
    EXPECT_EQ(page.verdict, "The run failed: there is no result");
    EXPECT_EQ(page.facts.at("Result"), "none: halted (RNG: Invalid range selection)");
    EXPECT_TRUE(page.Says("Give every mask, and the region, a width and a height of at least 1"));
}

TEST(Report, TheDocumentOfARunTellsItsArgumentsAndItsAnswer)
{
    TemporaryFolder folder;
    WritePlain(folder);
    telvane::RunDocument document;
    telvane::RunArguments& arguments = document.request.arguments;
    ASSERT_EQ(telvane::ReadRunArguments(RunWords(), arguments), "");
    arguments.files = false;
    document.outcome.result = 0;
    document.outcome.region = telvane::Region{31, 41, 600, 560};
    document.err =
        "Camera: 2 frames lost before grab 13, silent for 100 ms\n"; // the third frame is that grab
    folder.Write("run.json", telvane::ToJson(document, Json::object()).dump());
    ASSERT_EQ(Report(folder).status, 0);
    Shown page = Page(folder);
    EXPECT_EQ(page.facts.at("Result"), "RESULT=0") << "not computed here";
    EXPECT_EQ(page.facts.at("Region"), "600 x 560 at (31, 41)");
    ASSERT_EQ(page.commands.size(), 1u);
    EXPECT_NE(page.commands[0].find(" 600 560 300 280 216 250 "), std::string::npos) << page.commands[0];
    EXPECT_NE(page.evidence.find("lost frames after frame 2"), std::string::npos) << page.evidence;

    // A command line comes first.
    ASSERT_EQ(Report(folder, Behind(RunWords())).status, 0);
    page = Page(folder);
    EXPECT_NE(page.facts.at("Result").find("computed here"), std::string::npos);
    EXPECT_NE(page.commands.back().find(" 600 560 300 280 216 250 0 "), std::string::npos);

    folder.Write("run.json", "{}");
    const Finished run = Report(folder);
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.err, Line("run.json: not the document of a run; expected what telvane-run writes"));
}

TEST(Report, NothingToShowKeepsTheOldReport)
{
    TemporaryFolder folder;
    folder.Write("report.html", "the old one");
    folder.Write("hough.bmp", "BM");
    for (const Words& words : {Words(), Words{"--json"}}) {
        const Finished run = Report(folder, words);
        EXPECT_EQ(run.status, 1);
        EXPECT_EQ(run.out, "");
        EXPECT_EQ(run.err, Line("detected.jpg: not there; expected the marked picture, which every detection "
                                "writes") +
                               Line("hough.bmp: cut short within its header; expected a 16-bit picture as a "
                                    "run with -s writes it") +
                               Line("nothing to show; expected the folder of a run"));
        EXPECT_EQ(folder.Read("report.html"), "the old one");
        EXPECT_EQ(FilesIn(folder), (Words{"hough.bmp", "report.html"}));
    }
    TemporaryFolder empty;
    EXPECT_EQ(Report(empty).err, Line("nothing to show; expected the folder of a run"));
}

TEST(Report, AReportThatCannotBeWrittenKeepsTheOldOne)
{
    TemporaryFolder folder;
    WritePlain(folder);
    folder.Write("report.html", "the old one");
    const Words before = FilesIn(folder);
    Finished run;
    {
        const FileSizeLimit limit(4096);
        run = Report(folder);
    }
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.out, "");
    EXPECT_EQ(run.err, Line("cannot write report.html: File too large"));
    EXPECT_EQ(folder.Read("report.html"), "the old one");
    EXPECT_EQ(FilesIn(folder), before);

    const Finished nowhere = Report(folder, {"--out", "missing/report.html"});
    EXPECT_EQ(nowhere.status, 1);
    EXPECT_EQ(nowhere.err, Line("cannot write missing/report.html: not there"));
}

TEST(Report, AFileOfTheRunIsNeverOverwritten)
{
    TemporaryFolder folder;
    WritePlain(folder);
    folder.Write("hough.bmp", "");
    folder.Write("detected.jpg", "");
    folder.Write("run.json", "{}");
    const Untouched untouched(folder);
    fs::create_symlink("detected.jpg", folder / "link.html");
    for (const auto& [out, input] : {std::pair{"img2.bmp", "img2.bmp"},
                                     {"./hough.bmp", "hough.bmp"},
                                     {"link.html", "detected.jpg"},
                                     {"run.json", "run.json"}}) {
        const Finished run = Report(folder, Join({{"--out", out}, Behind(RunWords())}));
        EXPECT_EQ(run.status, 1);
        EXPECT_EQ(run.out, "");
        EXPECT_TRUE(run.err.ends_with(
            Line("cannot write " + std::string(out) + ": it is a file of the run, " + input)))
            << run.err;
    }
    EXPECT_TRUE(untouched.Still());
}

TEST(Report, WhatIsNoRegularFileIsNotReplaced)
{
    TemporaryFolder folder;
    WritePlain(folder, "", 2);
    fs::create_symlink("there.html", folder / "link.html");
    EXPECT_EQ(Report(folder, {"--out", "link.html"}).status, 0);
    EXPECT_TRUE(fs::is_symlink(folder / "link.html"));
    EXPECT_EQ(Page(folder, "there.html").drawings, 1);

    ASSERT_EQ(mkfifo((folder / "pipe").c_str(), 0600), 0);
    const Finished run = Report(folder, {"--out", "pipe"});
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.err, Line("cannot write pipe: nobody reads from it"));
    EXPECT_TRUE(fs::is_fifo(folder / "pipe"));

    // Root alone can make one, and root alone could harm one; the test of WriteWhole has one for everybody.
    if (mknod((folder / "null").c_str(), S_IFCHR | 0666, makedev(1, 3)) == 0) {
        Report(folder, {"--out", "null"});
        EXPECT_TRUE(fs::is_character_file(folder / "null"));
    }
}

TEST(Report, TheSameRunGivesTheSameBytes)
{
    TemporaryFolder folder;
    MakeRun(folder);
    EXPECT_EQ(Report(folder, Behind(RunWords())).status, 0);
    EXPECT_EQ(Report(folder, Join({{"--out", "again.html"}, Behind(RunWords())})).status, 0);
    EXPECT_TRUE(folder.Read("report.html") == folder.Read("again.html"));
}

TEST(Report, OtherFoldersFilesAndCounts)
{
    TemporaryFolder folder, away;
    WritePlain(folder);
    WritePlain(away, "", 4);
    // From elsewhere, the report goes into the run's folder and messages name files by where they are.
    const Finished run =
        Report(away, {"--in", folder.Path(), "--frames", away.Path(), "--count", "4", "--apart", "1000"});
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.err, "");
    EXPECT_EQ(run.out, "Wrote " + (folder / "report.html") + "\n");
    EXPECT_FALSE(away.Has("report.html"));
    EXPECT_NE(Page(folder).captions.back().find("img4.bmp"), std::string::npos);

    const Finished more = Report(away, {"--in", folder.Path(), "--count", "9"});
    EXPECT_EQ(more.err, Line((folder / "img4.bmp") + " to img9.bmp: not there; expected all 9 frames"));
}

TEST(Report, NamesOfAnyBytesAreShownAsText)
{
    TemporaryFolder folder;
    for (const auto& [name, shown] : {std::pair{"a<b>&\"c'", "a<b>&\"c'"},
                                      {"\x1B[2Jclear\n", "\\x1B[2Jclear\\x0A"},
                                      {"\xFF\xC3\xBC", "\\xFF\xC3\xBC"}}) {
        fs::create_directory(folder / name);
        WritePlain(folder, std::string(name) + "/", 2);
        const Finished run = Report(folder, {"--in", name, "--count", "3"});
        EXPECT_EQ(run.status, 0);
        EXPECT_EQ(run.err, Line(shown + std::string("/img3.bmp: not there; expected all 3 frames")));
        EXPECT_EQ(run.out, "Wrote " + std::string(shown) + "/report.html\n");
        const std::string page = folder.Read(name + std::string("/report.html"));
        EXPECT_TRUE(Shown(page).Says("/" + std::string(shown) + "."));
        for (const char c : page) ASSERT_TRUE(c == '\n' || (c & 0x80) || c >= 0x20);
    }
}

TEST(Report, JsonIsOneDocumentAndNoPage)
{
    TemporaryFolder folder;
    WriteWheel(folder);
    const Words before = FilesIn(folder);
    const Finished run = Report(folder, Join({{"--json"}, Behind(RunWords())}));
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.err, "");
    EXPECT_EQ(FilesIn(folder), before);
    const Json document = Json::parse(run.out);
    EXPECT_EQ(document.size(), 6u);
    EXPECT_TRUE(document["verdict"].is_string());
    EXPECT_TRUE(document["remarks"].is_array());
    for (const char* name : {"cure", "evidence", "diagnosis", "proposal"})
        EXPECT_TRUE(document.contains(name)) << name;

    folder.Write("img2.bmp", "");
    const Finished bad = Report(folder, {"--json"});
    EXPECT_EQ(bad.status, 0);
    EXPECT_EQ(Json::parse(bad.out)["verdict"], "bad-frames");
    EXPECT_EQ(Lines(bad.err), 1u);
}

#ifndef SANITIZED // which takes more memory for itself than there is here
TEST(Report, WithoutMemoryItSaysSo)
{
    TemporaryFolder folder;
    MakeRun(folder);
    fs::resize_file(folder / "detected.jpg", 60 << 20);
    RunOptions options;
    options.before = [] {
        const rlimit limit{50 << 20, 50 << 20};
        setrlimit(RLIMIT_DATA, &limit);
    };
    const Finished run = ::Run({REPORT_PATH}, folder.Path(), options);
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.out, "");
    EXPECT_EQ(run.err, Line("not enough memory"));
    EXPECT_FALSE(folder.Has("report.html"));
}
#endif

TEST(Report, BadArgumentsAreSaidInALineAndNothingIsWritten)
{
    TemporaryFolder folder;
    folder.Write("hough.bmp", "");
    for (const Words& words : std::vector<Words>{{"--count", "0"},
                                                 {"--count", "51"},
                                                 {"--count", "x"},
                                                 {"--count", "1.5"},
                                                 {"--count", ""},
                                                 {"--count"},
                                                 {"--apart", "0"},
                                                 {"--apart", "1001"},
                                                 {"--apart", "99999999999999999999"},
                                                 {"--in"},
                                                 {"--in", ""},
                                                 {"--in", "--out"},
                                                 {"--frames"},
                                                 {"--out"},
                                                 {"--out", ""},
                                                 {"--colour", "red"},
                                                 {"report"},
                                                 {"-s"},
                                                 {""},
                                                 {"--json", "--out", "x"},
                                                 {"--json=1"},
                                                 {"--"},
                                                 {"--", "Telvane"},
                                                 {"--", "Telvane", "-l", "3OO"},
                                                 {"--", "Telvane", "-l", "3", "-q"}}) {
        const Finished run = Report(folder, words);
        EXPECT_EQ(run.status, 2) << run.err;
        EXPECT_EQ(run.out, "");
        EXPECT_EQ(run.err.rfind("telvane-report: ", 0), 0u) << run.err;
        EXPECT_EQ(run.err.find('\n'), run.err.size() - 1) << "one line";
        EXPECT_FALSE(folder.Has("report.html"));
    }
    EXPECT_EQ(Report(folder, {"--", "Telvane", "-l", "3OO"}).err,
              Line("the command line behind --: -l: '3OO' is not a whole number"));
    EXPECT_EQ(Report(folder, {"--", "/usr/bin/Telvane", "-l", "3", "7"}).err,
              Line("the command line behind --: <hgh> is missing"));
    EXPECT_EQ(Report(folder, {"--"}).err, Line("behind -- the command line of the run is missing"));
}

TEST(Report, AFolderThatIsNoneIsNamed)
{
    TemporaryFolder folder;
    folder.Write("hough.bmp", "");
    for (const char* option : {"--in", "--frames"})
        for (const char* name : {"missing", "hough.bmp"}) {
            const Finished run = Report(folder, {option, name});
            EXPECT_EQ(run.status, 1);
            EXPECT_EQ(run.err, "telvane-report: " + std::string(name) +
                                   ": not there, or no folder; expected the folder of a run\n");
            EXPECT_FALSE(folder.Has("report.html"));
        }
}

TEST(Report, HelpNamesEveryOption)
{
    TemporaryFolder folder;
    const Finished run = Report(folder, {"--help"});
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.err, "");
    for (const char* word : {"--in", "--frames", "--count", "--apart", "--out", "--help", "--json",
                             "--version", "--", "Exit status"})
        EXPECT_NE(run.out.find(word), run.out.npos) << word;
}

TEST(Report, TellsItsVersion)
{
    TemporaryFolder folder;
    const Finished run = Report(folder, {"--version"});
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.out, "telvane-report " TELVANE_VERSION "\n");
}

TEST(Report, TellsWhenNobodyGetsWhatItPrints)
{
    TemporaryFolder folder;
    WritePlain(folder, "", 2);
    RunOptions options;
    options.before = [] { SendOutputTo("/dev/full"); };
    for (const Words& words : std::vector<Words>{{}, {"--json"}, {"--help"}, {"--version"}}) {
        const Finished run = ::Run(Join({{REPORT_PATH}, words}), folder.Path(), options);
        EXPECT_EQ(run.status, 1);
        EXPECT_EQ(run.err, "telvane-report: cannot write to standard output\n");
    }
}

} // namespace
