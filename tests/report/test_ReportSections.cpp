// The page, section after section, of runs that were never made: small pictures and findings as they are
// needed.
#include <tests/support/ChildProcess.h>
#include <tests/support/Pictures.h>
#include <tests/support/ReportPage.h>

#include <report/Sections.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <string>
#include <utility>
#include <vector>

using namespace telvane;
using report_page::Shown;

namespace {

using Rows = std::vector<std::vector<std::string>>;

const char notKnown[] = "not known";

Shown PageOf(const Judged& run, const Problems& problems = Problems(), int apart = 10)
{
    return Shown(ComposePage(run, problems, RunFolder("somewhere", ""), apart));
}

/// Of 80 x 60 pixels; an empty name stands for a frame that could not be read.
RunFiles Frames(const std::vector<std::string>& names)
{
    RunFiles files;
    for (const std::string& name : names) {
        files.frames.emplace_back();
        files.frameNames.push_back(name);
        if (name.empty()) continue;
        files.frames.back() = MatByte(80, 60);
        files.frames.back().Fill(UBYTE(90));
        files.anyFrame = true;
    }
    return files;
}

RunArguments Told()
{
    RunArguments a;
    a.files = true;
    a.count = 3;
    a.width = 30;
    a.height = 20;
    a.centreX = 15;
    a.centreY = 10;
    a.innerR = 16;
    a.outerR = 25;
    a.offset = 0;
    a.teeth = 24;
    a.turn = -1;
    return a;
}

/// A run of which everything is known.
Judged Whole()
{
    Judged run{};
    run.files = Frames({"a/img1.bmp", "a/img2.bmp", "a/img3.bmp"});
    run.arguments = Told();
    run.outcome.result = 0;
    run.outcome.region = Region{25, 21, 30, 20};
    Diagnosis& d = run.diagnosis;
    d.verdict = Verdict::good;
    d.evidence = "It lies near.";
    d.found = Place{40, 31};
    d.centre = Place{40.1234, 30.5678};
    d.sigma = Place{0.02, 0.0567};
    d.limit = 0.01234;
    d.ring = Ring{16.24, 24.96};
    d.teeth = 23;
    d.sense = Sense::clockwise;
    d.degreesPerFrame = 0.61239;
    d.explained = 0.9876;
    d.elsewhere = 0.0123;
    return run;
}

/// The rows of the page's table.
Rows Table(const Shown& page)
{
    Rows rows;
    for (const html::Element& e : html::Reader::Read(page.page)) {
        if (e.name == "tr") rows.emplace_back();
        if (e.name == "th" || e.name == "td") rows.back().push_back(e.text);
    }
    return rows;
}

/// Votes with a peak of 900 at (12, 20) and another place.
MatShort VotesWith(int next)
{
    pictures::Shorts votes(41, 33);
    votes.At(12, 20) = 900;
    votes.At(12, 21) = 400;
    votes.At(33, 9) = static_cast<std::int16_t>(next);
    return pictures::ArrayOf(votes);
}

bool Notes(const Shown& page, const std::string& kind, const std::string& words)
{
    for (const html::Element& e : html::Reader::Read(page.page))
        if (e.name == "p" && e.text == words && e.attributes.count("class"))
            return e.attributes.at("class") == kind;
    return false;
}

} // namespace

TEST(Sections, EveryVerdictHasItsWordsAndItsColour)
{
    struct Words {
        Verdict verdict;
        const char *name, *kind, *heading;
    };
    for (const auto& [verdict, name, kind, heading] :
         {Words{Verdict::failed, "failed", "bad", "The run failed: there is no result"},
          {Verdict::badFrames, "bad-frames", "bad", "The frames cannot be used"},
          {Verdict::still, "still", "bad", "Do not trust this result: nothing turns"},
          {Verdict::tooFast, "too-fast", "bad", "Do not trust this result: the wheel turns too fast"},
          {Verdict::otherMotion, "other-motion", "bad", "Do not trust this result: something else moves"},
          {Verdict::wrongRadii, "wrong-radii", "bad", "Do not trust this result: the radii are wrong"},
          {Verdict::wrongSense, "wrong-sense", "bad",
           "Do not trust this result: the wheel turns the other way"},
          {Verdict::disagree, "disagree", "bad",
           "Do not trust this result: the wheel turns about another place"},
          {Verdict::unclear, "unclear", "fair", "Whether the result is right cannot be told"},
          {Verdict::noResult, "no-result", "bad", "No region was found"},
          {Verdict::good, "good", "good", "Good: the result can be trusted"}}) {
        Judged run{};
        run.diagnosis.verdict = verdict;
        run.diagnosis.evidence = "Seen.";
        run.diagnosis.cure = "Do it.";
        const Shown page = PageOf(run);
        EXPECT_EQ(page.verdict, heading);
        EXPECT_EQ(page.kind, kind) << name;
        EXPECT_EQ(page.evidence, "Seen.");
        EXPECT_EQ(page.cure, "Do it.");
        EXPECT_TRUE(page.Says("Verdict: " + std::string(name) + ". Folder: /")) << name;
        EXPECT_TRUE(page.Says("/somewhere."));
    }
}

TEST(Sections, FactsSayWhatIsKnown)
{
    Judged run = Whole();
    using Facts = std::map<std::string, std::string>;
    EXPECT_EQ(PageOf(run).facts, (Facts{{"Result", "RESULT=0"},
                                        {"Region", "30 x 20 at (25, 21)"},
                                        {"Centre", "(40.123, 30.568) \xC2\xB1 0.057 px"},
                                        {"Rotation", "0.612\xC2\xB0 a frame, clockwise"}}));
    run.computed = true;
    run.outcome.message = "as it said";
    run.diagnosis.sigma = Place{0.1, 0.02}; // too much for a third digit
    run.diagnosis.degreesPerFrame = -0.25;
    run.diagnosis.sense = Sense::counterClockwise;
    EXPECT_EQ(PageOf(run).facts, (Facts{{"Result", "RESULT=0, as it said, computed here"},
                                        {"Region", "30 x 20 at (25, 21)"},
                                        {"Centre", "(40.12, 30.57) \xC2\xB1 0.1 px"},
                                        {"Rotation", "0.25\xC2\xB0 a frame, counter-clockwise"}}));
    run.computed = false;
    run.outcome = {{}, -4, {}, "Error 4"};
    run.diagnosis.sigma.reset();
    run.diagnosis.degreesPerFrame.reset();
    EXPECT_EQ(PageOf(run).facts, (Facts{{"Result", "RESULT=-4, Error 4"},
                                        {"Region", "none"},
                                        {"Centre", "(40.12, 30.57)"},
                                        {"Rotation", "counter-clockwise"}}));
    run.outcome = {"time", {}, {}, ""};
    run.diagnosis.centre.reset();
    run.diagnosis.sense.reset();
    const Facts failed = {
        {"Result", "none: time"}, {"Region", "none"}, {"Centre", notKnown}, {"Rotation", notKnown}};
    EXPECT_EQ(PageOf(run).facts, failed);
    run.outcome.message = "30 s";
    EXPECT_EQ(PageOf(run).facts.at("Result"), "none: time (30 s)");
    run.outcome = {};
    EXPECT_EQ(PageOf(run).facts.at("Result"), notKnown);
    EXPECT_EQ(PageOf(run).facts.at("Region"), notKnown);
}

TEST(Sections, MeasuredStandsBesideGivenInRows)
{
    Judged run = Whole();
    run.diagnosis.remarks = {"One thing.", "Another one."};
    const Shown page = PageOf(run);
    EXPECT_EQ(Table(page), (Rows{{"", "measured", "given"},
                                 {"Radii of the ring", "16.2 and 25 px", "16 and 25 px"},
                                 {"Sense of rotation", "clockwise", "counter-clockwise"},
                                 {"Teeth", "23", "24"},
                                 {"Centre found", "(40, 31)", ""},
                                 {"Centre of the rotation", "(40.123, 30.568)", ""},
                                 {"Its deviation along x and y", "0.02 and 0.0567 px", ""},
                                 {"What noise allows", "0.0123 px", ""},
                                 {"Explained by the rotation", "98.8 % of what changes", ""},
                                 {"Motion outside the ring", "1.2 % of all motion", ""}}));
    EXPECT_TRUE(page.Says("One thing.") && page.Says("Another one."));
    EXPECT_TRUE(page.Says("The run:"));
    EXPECT_EQ(page.commands, std::vector<std::string>{Told().CommandLine()});

    run.arguments.reset();
    Rows rows = Table(PageOf(run));
    EXPECT_EQ(rows[0], (std::vector<std::string>{"", "measured"}));
    EXPECT_EQ(rows[1], (std::vector<std::string>{"Radii of the ring", "16.2 and 25 px"}));
    EXPECT_FALSE(PageOf(run).Says("The run:"));

    run.arguments = Told();
    run.arguments->turn = 0;
    EXPECT_EQ(Table(PageOf(run))[2], (std::vector<std::string>{"Sense of rotation", "clockwise", "none"}));
    run.diagnosis = {};
    EXPECT_EQ(Table(PageOf(run)), (Rows{{"", "measured", "given"},
                                        {"Radii of the ring", notKnown, "16 and 25 px"},
                                        {"Sense of rotation", notKnown, "none"},
                                        {"Teeth", notKnown, "24"}}));
    run.arguments.reset();
    EXPECT_EQ(Table(PageOf(run)), Rows()) << "nothing is known and nothing was given";
}

TEST(Sections, ACommandLineIsProposedWhereItIsAnotherAndTheResultIsNotGood)
{
    Judged run = Whole();
    run.diagnosis.proposal.emplace().arguments = Told();
    RunArguments& proposed = run.diagnosis.proposal->arguments;
    const std::string title = "Command line to try";
    run.diagnosis.verdict = Verdict::disagree;
    EXPECT_FALSE(PageOf(run).Has(title)) << "the same";
    proposed.innerR = 17;
    EXPECT_TRUE(PageOf(run).Has(title));
    EXPECT_EQ(PageOf(run).commands, (std::vector<std::string>{proposed.CommandLine(), Told().CommandLine()}));
    EXPECT_FALSE(PageOf(run).Says("What is new in it"));
    run.diagnosis.verdict = Verdict::good;
    EXPECT_FALSE(PageOf(run).Has(title));
    run.diagnosis.verdict = Verdict::disagree;

    Proposal& p = *run.diagnosis.proposal;
    p.ring = true;
    EXPECT_TRUE(PageOf(run).Says("What is new in it: the radii."));
    p.sense = p.method = true;
    EXPECT_TRUE(PageOf(run).Says("What is new in it: the radii, the sense of rotation, the method."));
    p.ring = p.method = false;
    EXPECT_TRUE(PageOf(run).Says("What is new in it: the sense of rotation."));
    run.arguments.reset();
    EXPECT_TRUE(PageOf(run).Has(title));
    EXPECT_FALSE(PageOf(run).Says("What is new in it")) << "in comparison with what?";
    run.diagnosis.proposal.reset();
    EXPECT_FALSE(PageOf(run).Has(title));
}

TEST(Sections, WhatIsKnownIsDrawnOverTheFirstFrameThatThereIs)
{
    Judged run = Whole();
    svg::Document drawn = PageOf(run).Drawing();
    const auto title = [](const svg::Document& d, const char* name) {
        for (const svg::Shape& s : d.All())
            if (s.name == name) return s.text;
        return std::string();
    };
    EXPECT_EQ(title(drawn, "title"), "The first frame with what was found");
    EXPECT_EQ(title(drawn, "desc"),
              "Region: 30 x 20 at (25, 21). Centre of the rotation: (40.123, 30.568) \xC2\xB1 0.057 px. "
              "Rotation: 0.612\xC2\xB0 a frame, clockwise.");
    const auto given = drawn.Shapes("given-circles", "circle");
    const auto measured = drawn.Shapes("measured-ring", "circle");
    ASSERT_EQ(given.size(), 2u);
    ASSERT_EQ(measured.size(), 2u);
    EXPECT_EQ(svg::Distance(given[0].Middle(), {40, 31}), 0) << "about the centre found";
    EXPECT_EQ(given[0].Number("r"), 16);
    EXPECT_EQ(given[1].Number("r"), 25);
    EXPECT_EQ(svg::Distance(measured[0].Middle(), {40.12, 30.57}), 0);
    EXPECT_EQ(measured[0].Number("r"), 16.24);
    EXPECT_EQ(measured[1].Number("r"), 24.96);
    EXPECT_EQ(drawn.Shapes("region", "rect").at(0).Number("x"), 24.5);
    EXPECT_EQ(drawn.Groups("sense").at(0).Text("data-sense"), "cw") << "as it turns, not as it was told";
    EXPECT_EQ(drawn.Groups("rotation-centre").at(0).Number("data-sigma-x"), 0.02);
    EXPECT_EQ(drawn.Groups("rotation-centre").at(0).Number("data-sigma-y"), 0.06);

    // Without an answer, about the rotation; without a rotation, nothing that was measured.
    run.diagnosis.found.reset();
    drawn = PageOf(run).Drawing();
    EXPECT_EQ(svg::Distance(drawn.Shapes("given-circles", "circle").at(0).Middle(), {40.12, 30.57}), 0);
    EXPECT_TRUE(drawn.Groups("found-centre").empty());
    run.diagnosis.centre.reset();
    drawn = PageOf(run).Drawing();
    for (const char* mark : {"given-circles", "measured-ring", "rotation-centre", "sense"})
        EXPECT_TRUE(drawn.Groups(mark).empty()) << mark;

    run = Whole();
    for (const auto& [inner, outer, shown] :
         {std::tuple{25, 25, false}, {24, 25, true}, {0, 25, true}, {-1, 25, false}}) {
        run.arguments->innerR = inner;
        run.arguments->outerR = outer;
        EXPECT_EQ(PageOf(run).Drawing().Groups("given-circles").size(), shown) << inner;
    }
    run.arguments->masks = {{5, 6, 14, 21}};
    EXPECT_EQ(PageOf(run).Drawing().Groups("mask").size(), 1u);

    run.files = Frames({"", "", "img3.bmp"});
    EXPECT_EQ(title(PageOf(run).Drawing(), "title"), "Frame 3 with what was found");
    run.files = Frames({"", ""});
    EXPECT_EQ(PageOf(run).drawings, 0);
}

TEST(Sections, TheLegendNamesWhatIsDrawn)
{
    const std::vector<std::string> captions = PageOf(Whole()).captions;
    ASSERT_FALSE(captions.empty());
    for (const char* words : {"given radii 16 and 25", "measured ring, radii 16.2 and 25",
                              "output region 30 x 20 at 25, 21", "turns clockwise", "centre found 40, 31"})
        EXPECT_NE(captions[0].find(words), std::string::npos) << words << " in " << captions[0];
}

TEST(Sections, FilesOfDifferentRunsAreSaidAtTheTop)
{
    Problems problems;
    problems.Doubt("hough.bmp: older than img3.bmp");
    problems.Doubt("img4.bmp: left out");
    const Shown page = PageOf(Whole(), problems);
    EXPECT_TRUE(Notes(page, "fair", "There are files of different runs here:"));
    EXPECT_LT(page.text.find("hough.bmp: older than img3.bmp"), page.text.find("Result"));
    EXPECT_LT(page.text.find("img4.bmp: left out"), page.text.find("Result"));
    EXPECT_FALSE(PageOf(Whole()).Says("different runs"));
    EXPECT_EQ(PageOf(Whole()).page.find("<ul>"), std::string::npos) << "no empty lists";
    EXPECT_EQ(PageOf(Whole()).page.find("class=\"cure\""), std::string::npos) << "nothing is to be done";
}

TEST(Sections, WhatCannotBeShownIsSaidInItsSection)
{
    using Part = Problems::Part;
    for (const auto& [part, heading] : {std::pair{Part::marked, "The picture that the program marked"},
                                        {Part::votes, "The votes for the centre"},
                                        {Part::motion, "The motion"},
                                        {Part::frames, "The frames"}}) {
        Problems problems;
        problems.Accept(part, "x.bmp", "not there", "this or that");
        const Shown page = PageOf(Whole(), problems);
        const std::string line = "Not shown: x.bmp: not there; expected this or that.";
        ASSERT_TRUE(page.Has(heading)) << heading;
        EXPECT_TRUE(Notes(page, "fair", line));
        const std::size_t section = page.text.find(heading), next = page.text.find("The frames");
        EXPECT_GT(page.text.find(line), section);
        if (part != Part::frames) {
            EXPECT_LT(page.text.find(line), next);
        }
        if (part != Part::frames) {
            EXPECT_FALSE(PageOf(Whole()).Has(heading)) << "a run that wrote none";
        }
    }
}

TEST(Sections, TheMarkedPictureHasMarksWhereARegionWasFound)
{
    Judged run = Whole();
    const TemporaryFolder folder;
    folder.Write("detected.jpg", "");
    MatByte grey(80, 60);
    grey.Fill(UBYTE(70));
    char* memory = nullptr;
    std::size_t size = 0;
    std::FILE* const stream = open_memstream(&memory, &size);
    ASSERT_EQ(grey.WriteJPG(stream, 85), 0);
    std::fclose(stream);
    run.files.marked = {"image/jpeg", std::string(memory, size), 80, 60};
    std::free(memory);
    const auto caption = [&] {
        const Shown page(ComposePage(run, Problems(), RunFolder(folder.Path(), ""), 10));
        EXPECT_TRUE(page.Has("The picture that the program marked"));
        EXPECT_EQ(page.images.at(1).bytes, run.files.marked.bytes);
        EXPECT_EQ(page.images.at(1).alternative, "The first frame as the program marked it");
        return page.captions.at(1);
    };
    const std::string written = "detected.jpg, written " + LastWritten(folder / "detected.jpg") + ". ";
    const std::string marks = "The cross is the centre that was found, the rectangle the output region.";
    EXPECT_EQ(caption(), written + marks);
    run.outcome.result.reset();
    EXPECT_EQ(caption(), written + marks);
    run.outcome.result = -4;
    EXPECT_EQ(caption(), written + "It has no marks, since no region was found.");
}

TEST(Sections, ThePeakIsClearFromThreeTimesTheNextBestPlaceOn)
{
    Judged run = Whole();
    run.files.votes = VotesWith(300);
    Shown page = PageOf(run);
    EXPECT_TRUE(Notes(page, "good", "The peak is clear: it has 3 times the votes of the next best place."));
    EXPECT_TRUE(page.Says("The peak has 900 votes at (12, 20) of the vote picture; that is pixel (11, 19) of "
                          "the frame, where the program sees the wheel's centre. The next best place has 300 "
                          "votes at (33, 9). Other places count where no place within 10 columns and 10 rows "
                          "has more votes, and if they lie further than that from the peak."));
    for (const auto& [next, kind, words] :
         {std::tuple{301, "fair",
                     "The peak stands out, but another place has many votes as well: it has 3 times the "
                     "votes of the next best place."},
          {600, "fair",
           "The peak stands out, but another place has many votes as well: it has 1.5 times the votes of the "
           "next best place."},
          {601, "bad", "The peak is not clear: it has only 1.5 times the votes of the next best place."},
          {900, "bad", "The peak is not clear: it has only 1 times the votes of the next best place."},
          {0, "good", "The peak is clear: no other place stands out."}}) {
        run.files.votes = VotesWith(next);
        EXPECT_TRUE(Notes(PageOf(run), kind, words)) << next;
    }
    run.files.votes = VotesWith(300);
    page = PageOf(run, Problems(), 25);
    EXPECT_TRUE(Notes(page, "good", "The peak is clear: no other place stands out."));
    EXPECT_TRUE(page.Says("within 25 columns and 25 rows"));
    EXPECT_FALSE(page.Says("The next best place"));
    // The votes in colours, the peak enlarged to 40 pixels on each side, and what the colours stand for.
    EXPECT_EQ(page.drawings, 3);
    ASSERT_EQ(page.images.size(), 6u);
    EXPECT_EQ(page.images[1].width, 41);
    EXPECT_EQ(page.images[1].height, 33);
    EXPECT_EQ(page.images[2].width, 81);
    EXPECT_EQ(page.images[2].height, 81);
    std::vector<std::string> scale;
    for (const html::Element& e : html::Reader::Read(page.page))
        if (e.name == "text" && e.text.find_first_not_of("0123456789") == e.text.npos)
            scale.push_back(e.text);
    EXPECT_EQ(scale, (std::vector<std::string>{"0", "9", "90", "225", "450", "900"}));
    ASSERT_GT(page.captions.size(), 3u);
    EXPECT_NE(page.captions[1].find("votes for the point"), std::string::npos);
    EXPECT_NE(page.captions[2].find("The surroundings of the peak"), std::string::npos);
    EXPECT_NE(page.captions[3].find("The colours of the votes, from none to the most."), std::string::npos);

    run.files.votes = pictures::ArrayOf(pictures::Shorts(41, 33));
    page = PageOf(run);
    EXPECT_TRUE(Notes(page, "bad", "Nobody voted: there is no peak."));
    EXPECT_EQ(page.drawings, 2) << "there is no peak to enlarge";
}

TEST(Sections, TheMotionIsShownInColoursAndInGrey)
{
    Judged run = Whole();
    pictures::Shorts u(81, 61), v(81, 61);
    u.At(20, 30) = 300;
    v.At(20, 30) = -400;
    run.u = pictures::ArrayOf(u);
    run.v = pictures::ArrayOf(v);
    Shown page = PageOf(run);
    EXPECT_TRUE(page.Has("The motion"));
    ASSERT_EQ(page.images.size(), 6u);
    const decoded::Colours colours = decoded::DecodePng(page.images[1].bytes);
    ASSERT_EQ(colours.width, 81);
    EXPECT_EQ(page.images[1].alternative, "Direction and strength of the motion in colours");
    EXPECT_EQ(page.images[3].alternative, "Strength of the motion in grey");
    EXPECT_NE(colours.At(20, 30), 0u);
    EXPECT_EQ(colours.At(21, 30), 0u);
    EXPECT_TRUE(page.Says("white the strongest, 500 units of the files."));
    EXPECT_FALSE(page.Says("Nothing moves"));
    EXPECT_FALSE(page.Says("Made here from the frames."));
    run.flowMade = true;
    EXPECT_TRUE(PageOf(run).Says("Made here from the frames."));
    run.u = run.v = pictures::ArrayOf(pictures::Shorts(81, 61));
    EXPECT_TRUE(Notes(PageOf(run), "bad", "Nothing moves: the flow is 0 everywhere."));
}

TEST(Sections, TheFirstAndTheLastFrameAreShownByTheirNames)
{
    Judged run = Whole();
    const std::string first = "The first frame, img1.bmp. The ring must be sharp and evenly lit.";
    const std::string last =
        "The last frame, img3.bmp. Nothing but the wheel should have moved since the first.";
    std::vector<std::string> captions = PageOf(run).captions;
    ASSERT_EQ(captions.size(), 3u);
    EXPECT_EQ(captions[1], first);
    EXPECT_EQ(captions[2], last);
    run.files = Frames({"a/img1.bmp", "a/img2.bmp"});
    captions = PageOf(run).captions;
    ASSERT_EQ(captions.size(), 3u);
    EXPECT_EQ(captions[2].substr(0, 25), "The last frame, img2.bmp.");
    run.files = Frames({"a/img1.bmp"});
    captions = PageOf(run).captions;
    ASSERT_EQ(captions.size(), 2u);
    EXPECT_EQ(captions[1], first);
    run.files = Frames({"", "a/img2.bmp", "a/img3.bmp"});
    captions = PageOf(run).captions;
    ASSERT_EQ(captions.size(), 2u);
    EXPECT_EQ(captions[1], last);
}

TEST(Sections, FollowEachOtherFromTheVerdictToTheFrames)
{
    Judged run = Whole();
    run.diagnosis.verdict = Verdict::wrongRadii;
    run.diagnosis.proposal.emplace();
    run.files.votes = VotesWith(1);
    run.u = run.v = pictures::ArrayOf(pictures::Shorts(81, 61));
    Problems problems;
    problems.Accept(Problems::Part::marked, "detected.jpg", "not there", "it");
    EXPECT_EQ(PageOf(run, problems).headings,
              (std::vector<std::string>{"Command line to try", "What was measured",
                                        "The picture that the program marked", "The votes for the centre",
                                        "The motion", "The frames"}));
    Judged nothing{};
    EXPECT_EQ(PageOf(nothing).headings, (std::vector<std::string>{"What was measured", "The frames"}));
}
