// telvane-report as a program: what it says, and the page that it writes.
#include <tests/support/ChildProcess.h>
#include <tests/support/Decoded.h>
#include <tests/support/FileSizeLimit.h>
#include <tests/support/Html.h>
#include <tests/support/Pictures.h>
#include <tests/support/ProgramRuns.h>

#include <tests/reference/Files.h>
#include <tests/reference/Jpeg.h>

#include <simulator/Wheel.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;

const Words runFiles = {"detected.jpg", "hough.bmp", "u_sum_sh.bmp", "v_sum_sh.bmp",
                        "img1.bmp",     "img2.bmp",  "img3.bmp"};

pictures::Bytes Grey(unsigned seed, int w = 40, int h = 32)
{
    pictures::Random random(seed);
    return pictures::Noise<std::uint8_t>(random, w, h);
}

std::string Jpeg(unsigned seed) { return AsText(reference::JpegGrey(Grey(seed), 85)); }

std::string Shorts(unsigned seed, int low, int high)
{
    pictures::Random random(seed);
    return AsText(reference::BmpShort(pictures::Noise<std::int16_t>(random, 41, 33, low, high)));
}

/// Votes with a hill at (12, 20) and one of a third of its height at (33, 9).
std::string Votes()
{
    pictures::Shorts votes(41, 33);
    votes.At(12, 20) = 900;
    votes.At(12, 21) = 400;
    votes.At(33, 9) = 300;
    return AsText(reference::BmpShort(votes));
}

/// The files of a small run. Widths are odd, as they are in every run.
void MakeRun(const TemporaryFolder& folder)
{
    folder.Write("detected.jpg", Jpeg(1));
    folder.Write("hough.bmp", Votes());
    folder.Write("u_sum_sh.bmp", Shorts(2, -1900, 1900));
    folder.Write("v_sum_sh.bmp", Shorts(3, -1900, 1900));
    for (unsigned i = 1; i <= 3; i++)
        folder.Write("img" + std::to_string(i) + ".bmp", AsText(reference::BmpByte(Grey(10 + i))));
}

/// Other bytes in a file that stays as old as it was.
void Replace(const TemporaryFolder& folder, const std::string& name, const std::string& bytes)
{
    const fs::file_time_type written = fs::last_write_time(folder / name);
    folder.Write(name, bytes);
    fs::last_write_time(folder / name, written);
}

Finished Report(const TemporaryFolder& folder, const Words& words = {})
{
    return RunIn(folder, REPORT_PATH, words);
}

struct Image {
    std::string type, bytes, alternative;
    int width = 0, height = 0;
};

/// What a page shows. Every picture is inside it and decodes to the size that it is given.
struct Shown {
    std::vector<Image> images;
    Words headings, captions, verdicts;
    std::string text; // of the whole body

    explicit Shown(const std::string& page)
    {
        for (const html::Element& e : html::Reader::Read(page)) {
            EXPECT_NE(e.name, "script");
            EXPECT_NE(e.name, "link");
            EXPECT_EQ(e.attributes.count("href"), 0u);
            if (e.name == "h2") headings.push_back(e.text);
            if (e.name == "body") text = e.text;
            if (e.name == "figcaption") captions.push_back(e.text);
            if (e.name == "p" && e.attributes.count("class")) verdicts.push_back(e.text);
            if (e.name == "img") Add(e);
        }
        EXPECT_EQ(page.find("url("), page.npos);
        EXPECT_EQ(page.find("@import"), page.npos);
    }

    bool Says(const std::string& words) const { return text.find(words) != text.npos; }

private:
    void Add(const html::Element& e)
    {
        Image image;
        const std::string& source = e.attributes.at("src");
        const std::size_t comma = source.find(";base64,");
        ASSERT_TRUE(source.rfind("data:image/", 0) == 0 && comma != source.npos) << source.substr(0, 40);
        image.type = source.substr(11, comma - 11);
        image.bytes = html::FromBase64(source.substr(comma + 8));
        image.alternative = e.attributes.at("alt");
        EXPECT_NE(image.alternative, "");
        if (image.type == "jpeg") {
            const decoded::Decoded d =
                decoded::Decode(reference::Bytes(image.bytes.begin(), image.bytes.end()));
            image.width = d.width;
            image.height = d.height;
        } else {
            EXPECT_EQ(image.type, "png");
            const decoded::Colours c = decoded::DecodePng(image.bytes);
            image.width = c.width;
            image.height = c.height;
        }
        EXPECT_GT(image.width, 0);
        EXPECT_EQ(std::to_string(image.width), e.attributes.at("width"));
        EXPECT_EQ(std::to_string(image.height), e.attributes.at("height"));
        images.push_back(image);
    }
};

Shown Page(const TemporaryFolder& folder, const std::string& name = "report.html")
{
    return Shown(folder.Read(name));
}

const std::size_t allImages = 9; // marked; votes, peak, scale; motion, wheel, strength; two frames

std::size_t Lines(const std::string& text)
{
    return static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n'));
}

TEST(Report, ShowsEverythingOfARun)
{
    TemporaryFolder folder;
    MakeRun(folder);
    const Words before = FilesIn(folder);
    const Finished run = Report(folder);
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.out, "Wrote report.html\n");
    EXPECT_EQ(run.err, "");
    Words after = before;
    after.push_back("report.html");
    std::sort(after.begin(), after.end());
    EXPECT_EQ(FilesIn(folder), after);

    const Shown page = Page(folder);
    EXPECT_EQ(page.headings, (Words{"The result", "The votes for the centre", "The motion", "The frames"}));
    ASSERT_EQ(page.images.size(), allImages);
    EXPECT_EQ(page.captions.size(), allImages);
    EXPECT_TRUE(page.images[0].bytes == folder.Read("detected.jpg")) << "as it is";
    EXPECT_EQ(page.images[1].width, 41);
    EXPECT_EQ(page.images[4].height, 33);
    EXPECT_TRUE(page.images[7].bytes == AsText(reference::JpegGrey(Grey(11), 85)));
    EXPECT_TRUE(page.images[8].bytes == AsText(reference::JpegGrey(Grey(13), 85)))
        << "the last one that is there";
}

TEST(Report, SaysHowClearThePeakIs)
{
    TemporaryFolder folder;
    MakeRun(folder);
    ASSERT_EQ(Report(folder, {"--apart", "10"}).status, 0);
    const Shown clear = Page(folder);
    EXPECT_TRUE(clear.Says("The peak is clear: it has 3.0 times the votes of the next best place."));
    EXPECT_TRUE(clear.Says("The peak has 900 votes at (12, 20) of the vote picture; that is pixel (11, 19)"));
    EXPECT_TRUE(clear.Says("The next best place has 300 votes at (33, 9)."));
    EXPECT_TRUE(clear.Says("within 10 columns and 10 rows"));

    ASSERT_EQ(Report(folder, {"--apart", "25"}).status, 0);
    EXPECT_TRUE(Page(folder).Says("The peak is clear: no other place stands out."));

    for (const auto& [next, words] :
         {std::pair{301, "The peak stands out, but another place has many votes as well: it has 3.0 times"},
          {600, "The peak stands out, but another place has many votes as well: it has 1.5 times"},
          {601, "The peak is not clear: it has only 1.5 times"},
          {900, "The peak is not clear: it has only 1.0 times"}}) {
        pictures::Shorts votes(41, 33);
        votes.At(12, 5) = 900;
        votes.At(33, 9) = static_cast<std::int16_t>(next);
        folder.Write("hough.bmp", AsText(reference::BmpShort(votes)));
        ASSERT_EQ(Report(folder, {"--apart", "10"}).status, 0);
        EXPECT_TRUE(Page(folder).Says(words)) << next;
    }

    folder.Write("hough.bmp", AsText(reference::BmpShort(pictures::Shorts(41, 33))));
    ASSERT_EQ(Report(folder).status, 0);
    EXPECT_TRUE(Page(folder).Says("Nobody voted"));
}

TEST(Report, PutsTheCentreWhereTheProgramPutsIt)
{
    TemporaryFolder folder;
    std::vector<BytePicture> frames;
    for (int i = 0; i < 4; i++) frames.push_back(WheelFrame(WheelScene(), i));
    WriteFrames(folder, frames);
    Geometry geometry;
    geometry.R3 = "0";
    const Finished telvane = RunIn(folder, TELVANE_PATH, Join({{"-l", "4", "-s"}, geometry.Arguments()}));
    int left = 0, top = 0;
    const std::size_t region = telvane.out.find("OROI=[");
    ASSERT_NE(region, telvane.out.npos) << telvane.out;
    ASSERT_EQ(std::sscanf(telvane.out.c_str() + region, "OROI=[%d,%d,", &left, &top), 2);

    const Finished run = Report(folder);
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.err, "");
    const Shown page = Page(folder);
    EXPECT_EQ(page.images.size(), allImages);
    EXPECT_TRUE(page.Says("that is pixel (" + std::to_string(left + 300) + ", " + std::to_string(top + 280) +
                          ") of the frame"));
    EXPECT_TRUE(page.Says("The peak is clear"));

    // The wheel turns clockwise: its top moves to the right, which is red, its left side up, which is not.
    const decoded::Colours motion = decoded::DecodePng(page.images[4].bytes);
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

TEST(Report, WhatIsMissingIsNamedAndTheRestShown)
{
    const std::pair<const char*, std::size_t> files[] = {
        {"detected.jpg", 1}, {"hough.bmp", 3}, {"u_sum_sh.bmp", 3}, {"v_sum_sh.bmp", 3}, {"img1.bmp", 2}};
    for (const auto& [name, images] : files) {
        TemporaryFolder folder;
        MakeRun(folder);
        fs::remove(folder / name);
        if (std::string(name) == "img1.bmp") // the run's only frame
            for (const char* other : {"img2.bmp", "img3.bmp"}) fs::remove(folder / other);
        const Finished run = Report(folder);
        EXPECT_EQ(run.status, 0) << name;
        EXPECT_EQ(run.err.rfind("telvane-report: " + std::string(name) + ": not there; expected ", 0), 0u)
            << run.err;
        EXPECT_EQ(Lines(run.err), 1u) << run.err;
        const Shown page = Page(folder);
        EXPECT_EQ(page.images.size(), allImages - images) << name;
        EXPECT_EQ(page.headings.size(), 4u);
        EXPECT_TRUE(page.Says("Not shown: " + std::string(name) + ": not there; expected ")) << name;
    }
}

TEST(Report, ARingSearchHasNoVotesAndSaysSo)
{
    TemporaryFolder folder;
    MakeRun(folder);
    fs::remove(folder / "hough.bmp");
    EXPECT_EQ(Report(folder).status, 0);
    EXPECT_TRUE(Page(folder).Says("the ring search (negative <R3>) casts none"));
}

TEST(Report, DamagedAndForeignFilesAreNamedAndTheRestShown)
{
    for (const char* name :
         {"detected.jpg", "hough.bmp", "u_sum_sh.bmp", "v_sum_sh.bmp", "img1.bmp", "img3.bmp"}) {
        TemporaryFolder folder;
        MakeRun(folder);
        const std::string whole = folder.Read(name);
        const std::string foreign[] = {whole.substr(0, whole.size() - 5),
                                       whole.substr(0, 30),
                                       "",
                                       "GIF89a and so on",
                                       std::string(5000, '\0'),
                                       std::string(name) == "detected.jpg" ? Votes() : Jpeg(9),
                                       std::string(name).rfind("img", 0) == 0 ? Votes()
                                                                              : folder.Read("img2.bmp")};
        for (const std::string& bytes : foreign) {
            Replace(folder, name, bytes);
            const Finished run = Report(folder);
            EXPECT_EQ(run.status, 0);
            EXPECT_EQ(run.err.rfind("telvane-report: " + std::string(name) + ": ", 0), 0u) << run.err;
            EXPECT_NE(run.err.find("; expected "), run.err.npos);
            EXPECT_EQ(Lines(run.err), 1u) << run.err;
            EXPECT_LT(Page(folder).images.size(), allImages) << name;
            EXPECT_GE(Page(folder).images.size(), allImages - 3) << name;
        }
        fs::remove(folder / name);
        fs::create_directory(folder / name);
        const Finished run = Report(folder);
        EXPECT_EQ(run.status, 0);
        EXPECT_EQ(run.err.rfind("telvane-report: " + std::string(name) + ": Is a directory; expected ", 0),
                  0u)
            << run.err;
    }
}

TEST(Report, BothPartsOfTheFlowMustHaveOneSize)
{
    TemporaryFolder folder;
    MakeRun(folder);
    folder.Write("v_sum_sh.bmp", AsText(reference::BmpShort(pictures::Shorts(33, 41))));
    const Finished run = Report(folder);
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.err,
              "telvane-report: v_sum_sh.bmp: of another size than u_sum_sh.bmp; expected both parts of "
              "one flow\n");
    EXPECT_EQ(Page(folder).images.size(), allImages - 3);
}

TEST(Report, NothingMovesIsSaid)
{
    TemporaryFolder folder;
    MakeRun(folder);
    for (const char* name : {"u_sum_sh.bmp", "v_sum_sh.bmp"})
        folder.Write(name, AsText(reference::BmpShort(pictures::Shorts(41, 33))));
    EXPECT_EQ(Report(folder).status, 0);
    EXPECT_TRUE(Page(folder).Says("Nothing moves"));
}

TEST(Report, AFileOfAnEarlierRunIsPointedOut)
{
    TemporaryFolder folder;
    MakeRun(folder);
    fs::last_write_time(folder / "hough.bmp",
                        fs::last_write_time(folder / "detected.jpg") - std::chrono::hours(2));
    const Finished run = Report(folder);
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.err,
              "telvane-report: hough.bmp: older than detected.jpg; expected a file of the same run\n");
    const Shown page = Page(folder);
    EXPECT_EQ(page.images.size(), allImages);
    EXPECT_TRUE(page.Says("Of an earlier run? hough.bmp: older than detected.jpg"));
}

TEST(Report, NothingToShowKeepsTheOldReport)
{
    TemporaryFolder folder;
    folder.Write("report.html", "the old one");
    folder.Write("hough.bmp", "BM");
    const Finished run = Report(folder);
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.out, "");
    EXPECT_EQ(Lines(run.err), 6u) << "one for each file, and what was expected:\n" << run.err;
    EXPECT_NE(run.err.find("telvane-report: nothing to show; expected the folder of a run with -s\n"),
              run.err.npos);
    EXPECT_EQ(folder.Read("report.html"), "the old one");
    EXPECT_EQ(FilesIn(folder), (Words{"hough.bmp", "report.html"}));
}

TEST(Report, AReportThatCannotBeWrittenKeepsTheOldOne)
{
    TemporaryFolder folder;
    MakeRun(folder);
    folder.Write("report.html", "the old one");
    const Words before = FilesIn(folder);
    Finished run;
    {
        const FileSizeLimit limit(4096);
        run = Report(folder);
    }
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.out, "");
    EXPECT_EQ(run.err, "telvane-report: cannot write report.html: File too large\n");
    EXPECT_EQ(folder.Read("report.html"), "the old one");
    EXPECT_EQ(FilesIn(folder), before);

    const Finished nowhere = Report(folder, {"--out", "missing/report.html"});
    EXPECT_EQ(nowhere.status, 1);
    EXPECT_EQ(nowhere.err, "telvane-report: cannot write missing/report.html: not there\n");
}

TEST(Report, TheSameRunGivesTheSameBytes)
{
    TemporaryFolder folder;
    MakeRun(folder);
    EXPECT_EQ(Report(folder).status, 0);
    EXPECT_EQ(Report(folder, {"--out", "again.html"}).status, 0);
    EXPECT_TRUE(folder.Read("report.html") == folder.Read("again.html"));
}

TEST(Report, OtherFoldersFilesAndCounts)
{
    TemporaryFolder folder, away;
    MakeRun(folder);
    for (unsigned i = 1; i <= 4; i++)
        away.Write("img" + std::to_string(i) + ".bmp", AsText(reference::BmpByte(Grey(20 + i))));
    const std::string frames = away.Path();

    // From elsewhere, the report goes into the run's folder and messages name files by where they are.
    const Finished run = Report(away, {"--in", folder.Path(), "--frames", frames, "--count", "2"});
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.out, "Wrote " + (folder / "report.html") + "\n");
    EXPECT_FALSE(away.Has("report.html"));
    Shown page = Page(folder);
    ASSERT_EQ(page.images.size(), allImages);
    EXPECT_TRUE(page.images[7].bytes == AsText(reference::JpegGrey(Grey(21), 85)));
    EXPECT_TRUE(page.images[8].bytes == AsText(reference::JpegGrey(Grey(22), 85)));

    const Finished more = Report(folder, {"--count", "9", "--out", "other.html"});
    EXPECT_EQ(more.status, 0);
    EXPECT_EQ(more.err.rfind("telvane-report: img9.bmp: not there; expected ", 0), 0u) << more.err;
    EXPECT_EQ(Page(folder, "other.html").images.size(), allImages - 1);

    const Finished one = Report(folder, {"--count", "1", "--out", "other.html"});
    EXPECT_EQ(one.err, "");
    EXPECT_EQ(Page(folder, "other.html").images.size(), allImages - 1);
}

TEST(Report, TheLastFrameIsTheOneBeforeTheFirstGap)
{
    TemporaryFolder folder;
    MakeRun(folder);
    folder.Write("img5.bmp", AsText(reference::BmpByte(Grey(15))));
    EXPECT_EQ(Report(folder).status, 0);
    EXPECT_NE(Page(folder).captions.back().find("(img3.bmp)"), std::string::npos);
}

TEST(Report, OfFramesOfBothKindsTheYoungerCount)
{
    TemporaryFolder folder;
    MakeRun(folder);
    folder.Write("img1.jpg", Jpeg(31));
    folder.Write("img2.jpg", Jpeg(32));
    const auto bmpTime = fs::last_write_time(folder / "img1.bmp");
    fs::last_write_time(folder / "img1.jpg", bmpTime + std::chrono::seconds(5));
    EXPECT_EQ(Report(folder).status, 0);
    Shown page = Page(folder);
    ASSERT_EQ(page.images.size(), allImages);
    EXPECT_TRUE(page.images[7].bytes == Jpeg(31));
    EXPECT_TRUE(page.images[8].bytes == Jpeg(32));

    fs::last_write_time(folder / "img1.jpg", bmpTime - std::chrono::seconds(5));
    EXPECT_EQ(Report(folder).status, 0);
    EXPECT_NE(Page(folder).captions.back().find("(img3.bmp)"), std::string::npos);
}

TEST(Report, FolderNamesAreEscaped)
{
    TemporaryFolder folder;
    const std::string name = folder / "a<b>&\"c'";
    fs::create_directory(name);
    folder.Write("a<b>&\"c'/detected.jpg", Jpeg(1));
    const Finished run = Report(folder, {"--in", name});
    EXPECT_EQ(run.status, 0);
    EXPECT_TRUE(Shown(folder.Read("a<b>&\"c'/report.html")).Says("a<b>&\"c'"));
}

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
                                                 {"--"}}) {
        const Finished run = Report(folder, words);
        EXPECT_EQ(run.status, 2) << run.err;
        EXPECT_EQ(run.out, "");
        EXPECT_EQ(run.err.rfind("telvane-report: ", 0), 0u) << run.err;
        EXPECT_EQ(run.err.find('\n'), run.err.size() - 1) << "one line";
        EXPECT_FALSE(folder.Has("report.html"));
    }
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
    for (const char* word :
         {"--in", "--frames", "--count", "--apart", "--out", "--help", "--version", "Exit status"})
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
    for (const Words& words : std::vector<Words>{{}, {"--help"}, {"--version"}}) {
        const Finished run = ::Run(Join({{REPORT_PATH}, words}), folder.Path(), options);
        EXPECT_EQ(run.status, 1);
        EXPECT_EQ(run.err, "telvane-report: cannot write to standard output\n");
    }
}

} // namespace
