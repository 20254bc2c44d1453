// The page for every verdict, from drawn wheels: what a technician reads first, and what is drawn over the
// frame.
#include <tests/diagnosis/DrawnRuns.h>
#include <tests/support/ChildProcess.h>
#include <tests/support/ReportPage.h>

#include <report/Judged.h>
#include <report/Sections.h>

#include <simulator/Wheel.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <optional>
#include <string>
#include <vector>

using namespace telvane;
using report_page::Shown;

namespace {

const int frameCount = 6;

/// What fits the scene.
RunArguments Fitting(Method method = Method::votes)
{
    RunArguments a;
    a.count = frameCount;
    a.files = true;
    a.width = 200;
    a.height = 180;
    a.centreX = 100;
    a.centreY = 90;
    a.innerR = 130;
    a.outerR = 160;
    a.offset = method == Method::ring ? -1 : 0;
    a.teeth = 24;
    a.turn = 1;
    return a;
}

RunFiles Frames(const WheelScene& scene, int count = frameCount)
{
    RunFiles files;
    for (int t = 0; t < count; t++) {
        files.frames.emplace_back(scene.width, scene.height);
        RenderWheel(scene, t, &files.frames.back()(0, 0));
        files.frameNames.push_back("img" + std::to_string(t + 1) + ".bmp");
    }
    files.anyFrame = count > 0;
    return files;
}

/// A run with its page.
struct Told {
    Judged run;
    Shown page;

    explicit Told(const Judged& judged) : run(judged), page(PageOf(judged)) {}
    Told(const WheelScene& scene, const std::optional<RunArguments>& arguments)
        : Told(Judge(Frames(scene), arguments, {}, {}, true))
    {
    }

    static std::string PageOf(const Judged& judged)
    {
        return ComposePage(judged, Problems(), RunFolder(TemporaryFolder().Path(), ""), 30);
    }
};

/// What every page that is not good must say.
void ExpectWarning(const Told& told, Verdict verdict, const std::string& heading)
{
    EXPECT_EQ(told.run.diagnosis.verdict, verdict) << told.run.diagnosis.evidence;
    EXPECT_EQ(told.page.verdict, heading);
    EXPECT_EQ(told.page.kind, verdict == Verdict::unclear ? "fair" : "bad");
    EXPECT_FALSE(told.run.diagnosis.cure.empty());
    EXPECT_EQ(told.page.cure, told.run.diagnosis.cure);
    EXPECT_EQ(told.page.evidence, told.run.diagnosis.evidence);
    EXPECT_TRUE(told.page.Says(std::string("Verdict: ") + Name(verdict) + "."));
}

const char toTry[] = "Command line to try";

TEST(VerdictPage, GoodShowsWhatWasFound)
{
    for (const Method method : {Method::votes, Method::ring}) {
        const Told told(Scene(), Fitting(method));
        const Diagnosis& d = told.run.diagnosis;
        ASSERT_EQ(d.verdict, Verdict::good) << d.evidence;
        EXPECT_EQ(told.page.verdict, "Good: the result can be trusted");
        EXPECT_EQ(told.page.kind, "good");
        EXPECT_EQ(told.page.evidence, d.evidence);
        EXPECT_EQ(told.page.cure, "");
        EXPECT_FALSE(told.page.Has(toTry));

        ASSERT_TRUE(told.run.outcome.region && d.centre && d.sigma && d.ring && d.found);
        const Region region = *told.run.outcome.region;
        EXPECT_EQ(told.page.facts.size(), 4u);
        EXPECT_EQ(told.page.facts.at("Result"), "RESULT=0, computed here");
        EXPECT_EQ(told.page.facts.at("Region"),
                  "200 x 180 at (" + std::to_string(region.left) + ", " + std::to_string(region.top) + ")");
        double x = 0, y = 0, sigma = 0, degrees = 0;
        ASSERT_EQ(
            std::sscanf(told.page.facts.at("Centre").c_str(), "(%lf, %lf) \xC2\xB1 %lf px", &x, &y, &sigma),
            3);
        EXPECT_NEAR(x, d.centre->x, 0.005);
        EXPECT_NEAR(y, d.centre->y, 0.005);
        EXPECT_NEAR(sigma, std::max(d.sigma->x, d.sigma->y), 0.005);
        ASSERT_EQ(
            std::sscanf(told.page.facts.at("Rotation").c_str(), "%lf\xC2\xB0 a frame, clockwise", &degrees),
            1);
        EXPECT_NEAR(degrees, 0.6, 0.01);

        // Over the frame, each at its place.
        const svg::Document drawn = told.page.Drawing();
        const auto one = [&drawn](const char* mark, const char* kind, std::size_t count) {
            const auto shapes = drawn.Shapes(mark, kind);
            EXPECT_EQ(shapes.size(), count) << mark;
            return shapes;
        };
        const auto rectangle = one("region", "rect", 1);
        EXPECT_EQ(rectangle.at(0).Number("x"), region.left - 0.5);
        EXPECT_EQ(rectangle.at(0).Number("height"), 180);
        const auto given = one("given-circles", "circle", 2), measured = one("measured-ring", "circle", 2);
        EXPECT_EQ(given[0].Number("r"), 130);
        EXPECT_EQ(given[1].Number("r"), 160);
        EXPECT_NEAR(given[0].Number("cx"), d.found->x, 0.01);
        EXPECT_NEAR(measured[0].Number("r"), d.ring->inner, 0.01);
        EXPECT_NEAR(measured[1].Number("r"), d.ring->outer, 0.01);
        EXPECT_NEAR(measured[0].Number("cx"), d.centre->x, 0.01);
        EXPECT_NEAR(measured[0].Number("cy"), d.centre->y, 0.01);
        EXPECT_EQ(drawn.Groups("rotation-centre").size(), 1u);
        ASSERT_EQ(drawn.Groups("sense").size(), 1u);
        EXPECT_EQ(drawn.Groups("sense")[0].Text("data-sense"), "cw");
        const auto cross = drawn.Shapes("found-centre", "line");
        ASSERT_FALSE(cross.empty());
        EXPECT_NEAR((cross[0].Number("x1") + cross[0].Number("x2")) / 2, d.found->x, 0.01);
        EXPECT_NEAR((cross[0].Number("y1") + cross[0].Number("y2")) / 2, d.found->y, 0.01);
    }
}

TEST(VerdictPage, MeasuredStandsBesideGiven)
{
    RunArguments arguments = Fitting(Method::ring);
    arguments.turn = -2;
    arguments.teeth = 25;
    const Told told(Scene(), arguments);
    EXPECT_EQ(told.run.diagnosis.verdict, Verdict::good);
    std::vector<std::string> cells;
    for (const html::Element& e : html::Reader::Read(told.page.page))
        if (e.name == "th" || e.name == "td") cells.push_back(e.text);
    const std::vector<std::string> heads(cells.begin(), cells.begin() + 3);
    EXPECT_EQ(heads, (std::vector<std::string>{"", "measured", "given"}));
    const auto row = [&cells](const std::string& name) {
        const auto at = std::find(cells.begin(), cells.end(), name);
        return at == cells.end() ? std::string() : at[1] + " | " + at[2];
    };
    EXPECT_EQ(row("Sense of rotation"), "clockwise | counter-clockwise");
    EXPECT_EQ(row("Teeth"), "24 | 25");
    EXPECT_NE(row("Radii of the ring").find(" | 130 and 160 px"), std::string::npos);
    for (const std::string& remark : told.run.diagnosis.remarks) EXPECT_TRUE(told.page.Says(remark));
    EXPECT_EQ(told.run.diagnosis.remarks.size(), 2u);
}

TEST(VerdictPage, Still)
{
    WheelScene scene = Scene();
    scene.degreesPerFrame = 0;
    const Told told(scene, Fitting(Method::ring));
    ExpectWarning(told, Verdict::still, "Do not trust this result: nothing turns");
    EXPECT_EQ(told.page.facts.at("Centre"), "not known");
    EXPECT_EQ(told.page.facts.at("Rotation"), "not known");
    EXPECT_FALSE(told.page.Has(toTry)) << "there is nothing to correct";
    EXPECT_TRUE(told.page.Drawing().Groups("rotation-centre").empty());
    EXPECT_TRUE(told.page.Drawing().Groups("sense").empty());
}

TEST(VerdictPage, TooFast)
{
    WheelScene scene = Scene();
    scene.degreesPerFrame = 7.5;
    ExpectWarning(Told(scene, Fitting()), Verdict::tooFast,
                  "Do not trust this result: the wheel turns too fast");
}

TEST(VerdictPage, OtherMotion)
{
    WheelScene scene = Scene();
    scene.disc.x = 530;
    scene.disc.y = 90;
    scene.disc.radius = 40;
    scene.disc.dx = 6;
    scene.disc.travel = 8;
    ExpectWarning(Told(scene, Fitting()), Verdict::otherMotion,
                  "Do not trust this result: something else moves");
}

TEST(VerdictPage, WrongRadiiGetACommandLine)
{
    RunArguments arguments = Fitting();
    arguments.innerR = 95;
    arguments.outerR = 115;
    const Told told(Scene(), arguments);
    ExpectWarning(told, Verdict::wrongRadii, "Do not trust this result: the radii are wrong");
    ASSERT_TRUE(told.page.Has(toTry));
    EXPECT_LT(told.page.text.find(toTry), told.page.text.find("What was measured")) << "before the evidence";
    ASSERT_TRUE(told.run.diagnosis.proposal);
    const RunArguments& proposed = told.run.diagnosis.proposal->arguments;
    EXPECT_EQ(told.page.commands.front(), proposed.CommandLine());
    EXPECT_NEAR(proposed.innerR, 130, 1);
    EXPECT_TRUE(told.page.Says("What is new in it: the radii"));
    EXPECT_EQ(told.page.commands.back(), arguments.CommandLine()) << "the run's own";
}

TEST(VerdictPage, WrongSenseGetsACommandLine)
{
    RunArguments arguments = Fitting();
    arguments.turn = -3;
    const Told told(Scene(), arguments);
    ExpectWarning(told, Verdict::wrongSense, "Do not trust this result: the wheel turns the other way");
    ASSERT_TRUE(told.page.Has(toTry));
    const std::string line = told.page.commands.front();
    EXPECT_NE(line.find(" 24 3 0 0 0 0"), line.npos) << line;
    EXPECT_NE(told.page.text.find("the sense of rotation", told.page.text.find("What is new in it: ")),
              std::string::npos);
    EXPECT_EQ(told.page.Drawing().Groups("sense").at(0).Text("data-sense"), "cw") << "as it turns";
}

TEST(VerdictPage, Disagree)
{
    const RunFiles files = Frames(Scene());
    const RunArguments arguments = Fitting(Method::ring);
    MatShort u, v;
    RunOutcome outcome = Judge(files, arguments, {}, {}, true).outcome;
    ASSERT_TRUE(outcome.region);
    outcome.region->left += 6;
    const Told told(Judge(files, arguments, outcome, {}, true));
    ExpectWarning(told, Verdict::disagree, "Do not trust this result: the wheel turns about another place");
    EXPECT_EQ(told.page.facts.at("Result"), "RESULT=0") << "as it was told";
    const svg::Document drawn = told.page.Drawing();
    EXPECT_NEAR(drawn.Shapes("given-circles", "circle").at(0).Number("cx") -
                    drawn.Shapes("measured-ring", "circle").at(0).Number("cx"),
                6, 2.5);
}

TEST(VerdictPage, UnclearWithoutACommandLineSaysWhatIsMissing)
{
    const Told told(Scene(), {});
    ExpectWarning(told, Verdict::unclear, "Whether the result is right cannot be told");
    EXPECT_EQ(told.page.cure, "Give the command line of the run: telvane-report -- Telvane ...");
    EXPECT_NE(told.page.facts.at("Centre"), "not known") << "what was measured is shown";
    EXPECT_TRUE(told.page.commands.empty());
}

TEST(VerdictPage, NoResultSaysWhatTheProgramSaid)
{
    RunArguments arguments = Fitting(Method::ring);
    arguments.width = 600;
    arguments.centreX = 10;
    const Told told(Scene(), arguments);
    ExpectWarning(told, Verdict::noResult, "No region was found");
    EXPECT_EQ(told.page.facts.at("Result").rfind("RESULT=-4, Error 4: ", 0), 0u);
    EXPECT_EQ(told.page.facts.at("Region"), "none");
    EXPECT_TRUE(told.page.Drawing().Groups("region").empty());
}

TEST(VerdictPage, BadFrames)
{
    WheelScene scene = Scene();
    scene.repeated = {3};
    ExpectWarning(Told(scene, Fitting()), Verdict::badFrames, "The frames cannot be used");
    const RunFiles one = Frames(Scene(), 1);
    ExpectWarning(Told(Judge(one, Fitting(), {}, {}, true)), Verdict::badFrames, "The frames cannot be used");
    const RunFiles none = Frames(Scene(), 0);
    ExpectWarning(Told(Judge(none, Fitting(), {}, {}, true)), Verdict::badFrames,
                  "The frames cannot be used");
    EXPECT_EQ(Judge(none, Fitting(), {}, {}, false).diagnosis.verdict, Verdict::unclear)
        << "a run that keeps none";
}

TEST(VerdictPage, LostFramesAreHandedOn)
{
    EXPECT_EQ(Judge(Frames(Scene()), Fitting(), {}, {0, 0, 2, 0, 0}, true).diagnosis.verdict,
              Verdict::badFrames);
}

TEST(VerdictPage, FailedSaysWhyWithAndWithoutFrames)
{
    RunOutcome outcome;
    outcome.failure = "the camera did not open";
    for (const int count : {0, 1, frameCount}) {
        const Told told(Judge(Frames(Scene(), count), Fitting(), outcome, {}, true));
        ExpectWarning(told, Verdict::failed, "The run failed: there is no result");
        EXPECT_EQ(told.page.facts.at("Result"), "none: the camera did not open");
        EXPECT_EQ(told.page.facts.at("Region"), "none");
        EXPECT_EQ(told.page.drawings, count > 0);
    }
}

TEST(VerdictPage, MasksAreDrawn)
{
    RunArguments arguments = Fitting();
    arguments.masks = {{500, 60, 70, 56}, {0, 400, 42, 42}};
    EXPECT_EQ(Told(Scene(), arguments).page.Drawing().Groups("mask").size(), 2u);
}

} // namespace
