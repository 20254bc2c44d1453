// telvane-report as a program: what it says, and the page and the document that it gives.
#include <tests/support/ChildProcess.h>
#include <tests/support/Decoded.h>
#include <tests/support/FileSizeLimit.h>
#include <tests/support/Pictures.h>
#include <tests/support/ProgramRuns.h>
#include <tests/support/ReportPage.h>

#include <tests/reference/Files.h>
#include <tests/reference/Jpeg.h>

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

/// A run of the program on frames of the default wheel.
void MakeRun(const TemporaryFolder& folder, bool votes = true)
{
    WriteWheel(folder);
    ASSERT_NE(RunIn(folder, TELVANE_PATH, RunWords(votes)).out.find("RESULT=0"), std::string::npos);
}

/// Votes with a hill at (12, 20) and one at another place.
std::string Votes(int x, int y, int next)
{
    pictures::Shorts votes(1281, 961);
    votes.At(12, 20) = 900;
    votes.At(12, 21) = 400;
    votes.At(x, y) = static_cast<std::int16_t>(next);
    return AsText(reference::BmpShort(votes));
}

std::string NoShorts() { return AsText(reference::BmpShort(pictures::Shorts(1281, 961))); }

/// Other bytes in a file that stays as old as it was.
void Replace(const TemporaryFolder& folder, const std::string& name, const std::string& bytes)
{
    const fs::file_time_type written = fs::last_write_time(folder / name);
    folder.Write(name, bytes);
    fs::last_write_time(folder / name, written);
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
}

TEST(Report, CaptionsHaveTwoSentencesAtMost)
{
    TemporaryFolder folder;
    MakeRun(folder);
    ASSERT_EQ(Report(folder, Behind(RunWords())).status, 0);
    const Shown page = Page(folder);
    EXPECT_EQ(page.captions.size(), allImages);
    for (const std::string& caption : page.captions) {
        int sentences = 0;
        for (std::size_t at = 0; (at = caption.find(". ", at)) != caption.npos; at++) sentences++;
        EXPECT_LE(sentences, 1) << caption;
    }
}

TEST(Report, ComparesWithTheCommandLineOfTheRun)
{
    TemporaryFolder folder;
    WriteWheel(folder);
    for (const bool votes : {true, false}) {
        const Words words = RunWords(votes);
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
}

TEST(Report, WithoutACommandLineTheResultIsNotKnown)
{
    TemporaryFolder folder;
    MakeRun(folder);
    ASSERT_EQ(Report(folder).status, 0);
    const Shown page = Page(folder);
    EXPECT_EQ(page.facts.at("Result"), "not known");
    EXPECT_EQ(page.facts.at("Region"), "not known");
    EXPECT_EQ(page.marks.count("region"), 0u);
    EXPECT_EQ(page.marks.count("given-circles"), 0u);
}

TEST(Report, SaysHowClearThePeakIs)
{
    TemporaryFolder folder;
    MakeRun(folder);
    Replace(folder, "hough.bmp", Votes(33, 9, 300));
    ASSERT_EQ(Report(folder, {"--apart", "10"}).status, 0);
    const Shown clear = Page(folder);
    EXPECT_TRUE(clear.Says("The peak is clear: it has 3 times the votes of the next best place."));
    EXPECT_TRUE(clear.Says("The peak has 900 votes at (12, 20) of the vote picture; that is pixel (11, 19)"));
    EXPECT_TRUE(clear.Says("The next best place has 300 votes at (33, 9)."));
    EXPECT_TRUE(clear.Says("within 10 columns and 10 rows"));

    ASSERT_EQ(Report(folder, {"--apart", "25"}).status, 0);
    EXPECT_TRUE(Page(folder).Says("The peak is clear: no other place stands out."));

    for (const auto& [next, words] :
         {std::pair{301, "The peak stands out, but another place has many votes as well: it has 3 times"},
          {600, "The peak stands out, but another place has many votes as well: it has 1.5 times"},
          {601, "The peak is not clear: it has only 1.5 times"},
          {900, "The peak is not clear: it has only 1 times"}}) {
        Replace(folder, "hough.bmp", Votes(33, 9, next));
        ASSERT_EQ(Report(folder, {"--apart", "10"}).status, 0);
        EXPECT_TRUE(Page(folder).Says(words)) << next;
    }

    Replace(folder, "hough.bmp", NoShorts());
    ASSERT_EQ(Report(folder).status, 0);
    EXPECT_TRUE(Page(folder).Says("Nobody voted"));
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

TEST(Report, WhatARunOfThisKindDoesNotWriteIsNoWarning)
{
    TemporaryFolder ring, alone;
    MakeRun(ring, false);
    for (const Words& words : {Words(), Behind(RunWords(false))}) {
        const Finished run = Report(ring, words);
        EXPECT_EQ(run.status, 0);
        EXPECT_EQ(run.err, "");
        EXPECT_EQ(Page(ring).images.size(), allImages - 3);
        EXPECT_FALSE(Page(ring).Has("The votes for the centre"));
    }
    // A run that saved nothing: its frames are all there is.
    WriteWheel(alone);
    for (const Words& words : {Words(), Behind(RunWords())}) {
        const Finished run = Report(alone, words);
        EXPECT_EQ(run.status, 0);
        EXPECT_EQ(run.err, "");
        const Shown page = Page(alone);
        EXPECT_EQ(page.images.size(), allImages - 4);
        EXPECT_TRUE(page.Has("The motion"));
        EXPECT_TRUE(page.Says("Made here from the frames."));
    }
}

TEST(Report, TheFlowMadeFromFramesIsThatOfTheFiles)
{
    TemporaryFolder folder;
    MakeRun(folder, false);
    ASSERT_EQ(Report(folder).status, 0);
    const Shown files = Page(folder);
    EXPECT_FALSE(files.Says("Made here from the frames."));
    for (const char* name : {"u_sum_sh.bmp", "v_sum_sh.bmp"}) fs::remove(folder / name);
    ASSERT_EQ(Report(folder).status, 0);
    const Shown made = Page(folder);
    ASSERT_EQ(made.images.size(), files.images.size());
    for (std::size_t i = 0; i < made.images.size(); i++)
        EXPECT_TRUE(made.images[i].bytes == files.images[i].bytes) << i;
}

TEST(Report, WhatIsMissingIsNamedAndTheRestShown)
{
    TemporaryFolder folder;
    MakeRun(folder);
    struct Missing {
        const char* name;
        std::size_t images; // fewer
        const char* heading;
    };
    const Words words = Behind(RunWords()); // from which a votes' run with -s is known
    for (const auto& [name, images, heading] :
         {Missing{"detected.jpg", 1, "The picture that the program marked"},
          {"hough.bmp", 3, "The votes for the centre"},
          {"u_sum_sh.bmp", 0, "The motion"},
          {"v_sum_sh.bmp", 0, "The motion"}}) {
        const std::string bytes = folder.Read(name);
        const fs::file_time_type written = fs::last_write_time(folder / name);
        fs::remove(folder / name);
        const Finished run = Report(folder, words);
        EXPECT_EQ(run.status, 0) << name;
        EXPECT_EQ(run.err.rfind("telvane-report: " + std::string(name) + ": not there; expected ", 0), 0u)
            << run.err;
        EXPECT_EQ(Lines(run.err), 1u) << run.err;
        const Shown page = Page(folder);
        EXPECT_EQ(page.images.size(), allImages - images) << name;
        EXPECT_TRUE(page.Has(heading));
        EXPECT_TRUE(page.Says("Not shown: " + std::string(name) + ": not there; expected ")) << name;
        folder.Write(name, bytes);
        fs::last_write_time(folder / name, written);
    }
}

TEST(Report, DamagedAndForeignFilesAreNamedAndTheRestShown)
{
    TemporaryFolder folder;
    MakeRun(folder);
    const std::string marked = folder.Read("detected.jpg"), votes = folder.Read("hough.bmp"),
                      frame = folder.Read("img2.bmp");
    const std::string smallJpeg = AsText(reference::JpegGrey(pictures::Bytes(640, 480, 90), 85));
    const std::string smallFrame = AsText(reference::BmpByte(pictures::Bytes(640, 480, 90)));
    const std::string smallShorts = AsText(reference::BmpShort(pictures::Shorts(41, 33)));
    struct Bad {
        const char *name, *problem;
        std::string bytes;
    };
    for (const Bad& bad : std::vector<Bad>{
             {"detected.jpg", "a JPEG file that is damaged or cut short", marked.substr(0, 5000)},
             {"detected.jpg", "not a JPEG file", votes},
             {"detected.jpg", "of 640 x 480 pixels, not 1280 x 960", smallJpeg},
             {"hough.bmp", "not a BMP file", marked},
             {"hough.bmp", "cut short within its header", votes.substr(0, 30)},
             {"hough.bmp", "of 41 x 33 pixels, not 1281 x 961", smallShorts},
             {"u_sum_sh.bmp", "a BMP file of 8 bits per pixel, compression 0", frame},
             {"v_sum_sh.bmp", "not a BMP file", ""},
             {"img1.bmp", "a BMP file of 16 bits per pixel, compression 3", votes},
             {"img2.bmp", "of 640 x 480 pixels, not 1280 x 960", smallFrame},
             {"img3.bmp", "cut short: 1280 x 960 pixels need 1229878 bytes, there are 1000000",
              frame.substr(0, 1000000)}}) {
        const std::string before = folder.Read(bad.name);
        Replace(folder, bad.name, bad.bytes);
        const Finished run = Report(folder);
        EXPECT_EQ(run.status, 0);
        EXPECT_EQ(
            run.err.rfind("telvane-report: " + std::string(bad.name) + ": " + bad.problem + "; expected ", 0),
            0u)
            << run.err;
        EXPECT_EQ(Lines(run.err), 1u) << run.err;
        const Shown page = Page(folder);
        // The flow is made of the frames instead, and the frame between shows nowhere.
        const std::string name = bad.name;
        const bool stillAll = name == "img2.bmp" || name == "u_sum_sh.bmp" || name == "v_sum_sh.bmp";
        EXPECT_EQ(page.images.size() == allImages, stillAll) << name;
        EXPECT_GE(page.images.size(), allImages - 4) << bad.name;
        const bool isFrame = name.rfind("img", 0) == 0;
        EXPECT_EQ(page.verdict == "The frames cannot be used", isFrame) << bad.name;
        Replace(folder, bad.name, before);
    }
    fs::remove(folder / "hough.bmp");
    fs::create_directory(folder / "hough.bmp");
    const Finished run = Report(folder);
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.err.rfind(Line("hough.bmp: Is a directory; expected ").substr(0, 50), 0), 0u) << run.err;
}

TEST(Report, FramesThatCannotBeUsedAreTheVerdict)
{
    TemporaryFolder folder;
    WriteWheel(folder);
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
    folder.Write("img2.bmp", Frame(2));
    Words words = RunWords();
    words[1] = "4";
    run = Report(folder, Behind(words));
    EXPECT_EQ(run.err, Line("img4.bmp: not there; expected all 4 frames"));
    EXPECT_EQ(Page(folder).verdict, "The frames cannot be used");
    EXPECT_EQ(Page(folder).facts.at("Result"), "not known");

    TemporaryFolder one;
    WriteWheel(one, 1, 1);
    run = Report(one);
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.err, "");
    EXPECT_EQ(Page(one).verdict, "The frames cannot be used");
    EXPECT_TRUE(Page(one).Says("There is one frame only, and motion takes two."));
}

TEST(Report, WhereTheProgramHaltsTheRunFailed)
{
    TemporaryFolder folder;
    WriteWheel(folder);
    const Finished run = Report(folder, Behind(Join({{"-m", "10", "10", "0", "5"}, RunWords()})));
    EXPECT_EQ(run.status, 0);
    const Shown page = Page(folder);
    EXPECT_EQ(page.verdict, "The run failed: there is no result");
    EXPECT_EQ(page.facts.at("Result"), "none: halted (RNG: Invalid range selection)");
    EXPECT_TRUE(page.Says("Give every mask, and the region, a width and a height of at least 1"));
}

TEST(Report, NothingMovesIsSaid)
{
    TemporaryFolder folder;
    MakeRun(folder);
    for (const char* name : {"u_sum_sh.bmp", "v_sum_sh.bmp"}) Replace(folder, name, NoShorts());
    EXPECT_EQ(Report(folder).status, 0);
    EXPECT_TRUE(Page(folder).Says("Nothing moves"));
}

TEST(Report, FilesOfDifferentRunsAreToldApart)
{
    struct Old {
        const char *name, *line;
    };
    for (const auto& [name, line] :
         {Old{"hough.bmp", "hough.bmp: older than img3.bmp; expected files of one run"},
          {"u_sum_sh.bmp", "u_sum_sh.bmp: older than img3.bmp; expected files of one run"},
          {"detected.jpg", "detected.jpg: older than img3.bmp; expected files of one run"}}) {
        TemporaryFolder folder;
        MakeRun(folder);
        MakeOlder(folder, name, std::chrono::hours(2));
        const Finished run = Report(folder);
        EXPECT_EQ(run.status, 0);
        EXPECT_EQ(run.err, Line(line));
        const Shown page = Page(folder);
        ASSERT_FALSE(page.notes.empty());
        EXPECT_EQ(page.notes.front(), "There are files of different runs here:");
        EXPECT_LT(page.text.find(line), page.text.find("Result")) << "at the top";
    }
    TemporaryFolder folder;
    MakeRun(folder);
    for (int i = 1; i <= frameCount; i++)
        MakeOlder(folder, "img" + std::to_string(i) + ".bmp", std::chrono::hours(3));
    EXPECT_EQ(Report(folder).err, "") << "frames may be older than what is read from them";
    MakeOlder(folder, "detected.jpg", std::chrono::hours(1));
    EXPECT_EQ(Report(folder).err, Line("detected.jpg: older than u_sum_sh.bmp; expected files of one run"));
    MakeOlder(folder, "v_sum_sh.bmp", std::chrono::hours(2));
    MakeOlder(folder, "u_sum_sh.bmp", std::chrono::hours(2));
    EXPECT_EQ(Report(folder).err,
              Line("u_sum_sh.bmp: older than detected.jpg; expected files of one run") +
                  Line("v_sum_sh.bmp: older than detected.jpg; expected files of one run"));
    EXPECT_TRUE(Page(folder).Says("Made here from the frames.")) << "the old flow is not this run's";
}

TEST(Report, FramesOfALongerRunAreLeftOut)
{
    TemporaryFolder folder;
    MakeRun(folder);
    WriteWheel(folder, 4, 6);
    const std::string beyond = Line("img4.bmp to img6.bmp: beyond the run's 3 frames; left out");
    EXPECT_EQ(Report(folder, Behind(RunWords())).err, beyond);
    EXPECT_NE(Page(folder).captions.back().find("img3.bmp"), std::string::npos);
    EXPECT_EQ(Report(folder, {"--count", "3"}).err, beyond);
    // Of nothing but the files, the dates tell.
    for (int i = 4; i <= 6; i++) MakeOlder(folder, "img" + std::to_string(i) + ".bmp", std::chrono::hours(1));
    EXPECT_EQ(Report(folder).err, Line("img4.bmp to img6.bmp: older than img1.bmp; left out"));
    EXPECT_NE(Page(folder).captions.back().find("img3.bmp"), std::string::npos);
    fs::remove(folder / "img4.bmp");
    fs::remove(folder / "img6.bmp");
    EXPECT_EQ(Report(folder).err, Line("img5.bmp: behind a gap; left out"));
    EXPECT_NE(Page(folder).captions.back().find("img3.bmp"), std::string::npos);
}

TEST(Report, FramesThatWereCopiedInAnyOrderAreOneRun)
{
    TemporaryFolder folder;
    WriteWheel(folder, 1, 4);
    MakeOlder(folder, "img1.bmp", std::chrono::minutes(1));
    MakeOlder(folder, "img3.bmp", std::chrono::minutes(2));
    const Finished run = Report(folder);
    EXPECT_EQ(run.err, "");
    EXPECT_NE(Page(folder).captions.back().find("img4.bmp"), std::string::npos);
}

TEST(Report, ARunThatKeptNoFramesHasNoneHere)
{
    TemporaryFolder folder;
    MakeRun(folder);
    Words words = RunWords();
    words[0] = "-n";
    EXPECT_EQ(Report(folder, Behind(words)).err, "");
    MakeOlder(folder, "img1.bmp", std::chrono::hours(1));
    EXPECT_EQ(Report(folder, Behind(words)).err,
              Line("img1.bmp: older than detected.jpg; expected files of one run"));
    words.erase(words.begin() + 2); // -s
    EXPECT_EQ(Report(folder, Behind(words)).err, Line("img1.bmp: of another run; this one kept no frames"));
}

TEST(Report, VotesOfAnEarlierRunAreLeftOutAfterARingSearch)
{
    TemporaryFolder folder;
    MakeRun(folder);
    EXPECT_EQ(Report(folder, Behind(RunWords(false))).err,
              Line("hough.bmp: votes, which a ring search does not cast; left out"));
    EXPECT_FALSE(Page(folder).Has("The votes for the centre"));
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
    WriteWheel(folder);
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
    MakeRun(folder);
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
        EXPECT_EQ(run.err, Line("cannot write " + std::string(out) + ": it is a file of the run, " + input));
    }
    EXPECT_TRUE(untouched.Still());
}

TEST(Report, WhatIsNoRegularFileIsNotReplaced)
{
    TemporaryFolder folder;
    WriteWheel(folder);
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
    MakeRun(folder);
    WriteWheel(away, 1, 4);
    // From elsewhere, the report goes into the run's folder and messages name files by where they are.
    const Finished run = Report(away, {"--in", folder.Path(), "--frames", away.Path(), "--count", "4"});
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.err, "");
    EXPECT_EQ(run.out, "Wrote " + (folder / "report.html") + "\n");
    EXPECT_FALSE(away.Has("report.html"));
    EXPECT_NE(Page(folder).captions.back().find("img4.bmp"), std::string::npos);

    const Finished more = Report(away, {"--in", folder.Path(), "--count", "9"});
    EXPECT_EQ(more.err, Line((folder / "img4.bmp") + " to img9.bmp: not there; expected all 9 frames"));
}

TEST(Report, OfFramesOfBothKindsTheYoungerCount)
{
    TemporaryFolder folder;
    WriteWheel(folder);
    for (int i = 1; i <= 2; i++)
        folder.Write("img" + std::to_string(i) + ".jpg",
                     AsText(reference::JpegGrey(WheelFrame(WheelScene(), i), 85)));
    const auto bmpTime = fs::last_write_time(folder / "img1.bmp");
    fs::last_write_time(folder / "img1.jpg", bmpTime + std::chrono::seconds(1));
    EXPECT_EQ(Report(folder).status, 0);
    EXPECT_NE(Page(folder).captions.back().find("img2.jpg"), std::string::npos);
    fs::last_write_time(folder / "img1.jpg", bmpTime - std::chrono::seconds(1));
    EXPECT_EQ(Report(folder).status, 0);
    EXPECT_NE(Page(folder).captions.back().find("img3.bmp"), std::string::npos);
}

TEST(Report, NamesOfAnyBytesAreShownAsText)
{
    TemporaryFolder folder;
    for (const auto& [name, shown] : {std::pair{"a<b>&\"c'", "a<b>&\"c'"},
                                      {"\x1B[2Jclear\n", "\\x1B[2Jclear\\x0A"},
                                      {"\xFF\xC3\xBC", "\\xFF\xC3\xBC"}}) {
        fs::create_directory(folder / name);
        for (int i = 1; i <= 2; i++) folder.Write(name + ("/img" + std::to_string(i) + ".bmp"), Frame(i));
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
    MakeRun(folder);
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
    MakeRun(folder);
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
    MakeRun(folder);
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
    MakeRun(folder);
    RunOptions options;
    options.before = [] { SendOutputTo("/dev/full"); };
    for (const Words& words : std::vector<Words>{{}, {"--json"}, {"--help"}, {"--version"}}) {
        const Finished run = ::Run(Join({{REPORT_PATH}, words}), folder.Path(), options);
        EXPECT_EQ(run.status, 1);
        EXPECT_EQ(run.err, "telvane-report: cannot write to standard output\n");
    }
}

} // namespace
