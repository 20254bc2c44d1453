// Every verdict, provoked by a drawn scene; their order; remarks and proposals.
#include <diagnosis/Findings.h>

#include <tests/diagnosis/DrawnRuns.h>

#include <gtest/gtest.h>

#include <cmath>
#include <string>

using namespace telvane;

namespace {

const int count = 6;

RunArguments Fitting(const WheelScene& scene, Method method)
{
    Geometry geometry;
    EXPECT_EQ(Measure(scene, geometry), "");
    return ArgumentsFor(scene, geometry, count, method);
}

RunSeen RunOf(const WheelScene& scene, Method method)
{
    return DetectedRun(DrawnFrames(scene, count), Fitting(scene, method));
}

Diagnosis Judged(const WheelScene& scene, Method method) { return Diagnose(RunOf(scene, method)); }

bool Says(const std::string& text, const std::string& part) { return text.find(part) != text.npos; }

bool Remarks(const Diagnosis& diagnosis, const std::string& part)
{
    for (const std::string& remark : diagnosis.remarks)
        if (Says(remark, part)) return true;
    return false;
}

/// \param step  pixels from frame to frame
WheelScene WithDisc(double step)
{
    WheelScene scene = Scene();
    scene.disc.x = 530;
    scene.disc.y = 90;
    scene.disc.radius = 40;
    scene.disc.dx = step;
    scene.disc.travel = 8;
    return scene;
}

} // namespace

TEST(Diagnosis, ARunAsItShouldBeIsGoodByBothMethodsInBothSenses)
{
    for (const Method method : {Method::ring, Method::votes}) {
        const bool clockwise = method == Method::ring;
        WheelScene scene = Scene();
        scene.degreesPerFrame = clockwise ? 0.6 : -0.6;
        const Diagnosis diagnosis = Judged(scene, method);
        EXPECT_EQ(diagnosis.verdict, Verdict::good) << diagnosis.evidence;
        EXPECT_EQ(diagnosis.cure, "");
        ASSERT_TRUE(diagnosis.centre && diagnosis.found && diagnosis.sigma && diagnosis.limit);
        EXPECT_NEAR(diagnosis.centre->x, 323.3, 0.1);
        EXPECT_NEAR(diagnosis.centre->y, 238.6, 0.1);
        EXPECT_EQ(diagnosis.sense, clockwise ? Sense::clockwise : Sense::counterClockwise);
        EXPECT_EQ(diagnosis.teeth, 24);
        EXPECT_NEAR(diagnosis.degreesPerFrame.value_or(0), scene.degreesPerFrame, 0.01);
        EXPECT_NEAR(diagnosis.ring.value_or(Ring{}).inner, 130, 1.5);
        EXPECT_NEAR(diagnosis.ring.value_or(Ring{}).outer, 160, 1.5);
        EXPECT_GT(diagnosis.explained.value_or(0), 0.8);
        EXPECT_LT(diagnosis.elsewhere.value_or(1), 0.05);
        EXPECT_TRUE(diagnosis.remarks.empty());
    }
}

TEST(Diagnosis, WithoutTheSumsOfTheFlowTheyAreMadeFromTheFrames)
{
    RunSeen run = RunOf(Scene(), Method::votes);
    run.u = MatShort();
    run.v = MatShort();
    const Diagnosis diagnosis = Diagnose(run);
    EXPECT_EQ(diagnosis.verdict, Verdict::good);
    EXPECT_TRUE(diagnosis.elsewhere.has_value());
}

TEST(Diagnosis, SumsOfAnotherSizeAreMadeAnew)
{
    const RunSeen whole = RunOf(Scene(), Method::ring);
    const RunSeen run{whole.frames, whole.arguments, MatShort(20, 10), whole.v, whole.outcome, {}};
    EXPECT_EQ(Diagnose(run).verdict, Verdict::good);
}

TEST(Diagnosis, FramesOfAFewPixelsAreUnclear)
{
    for (const int side : {1, 2, 8, 31}) {
        RunSeen run;
        run.frames = CubByte(side, side, 3);
        run.frames.Fill(7);
        EXPECT_EQ(Diagnose(run).verdict, Verdict::unclear) << side;
    }
}

TEST(Diagnosis, AnAnswerFarOutsideOfThePictureDisagrees)
{
    RunSeen run = RunOf(Scene(), Method::ring);
    run.outcome.region->left = 2000000000;
    run.arguments->centreX = 2000000000;
    EXPECT_EQ(Diagnose(run).verdict, Verdict::disagree);
}

TEST(Diagnosis, ArgumentsOfAnotherNumberOfFramesDoNotMatter)
{
    RunSeen run = RunOf(Scene(), Method::ring);
    for (const int told : {1, 2, 50}) {
        run.arguments->count = told;
        EXPECT_EQ(Diagnose(run).verdict, Verdict::good) << told;
    }
}

TEST(Diagnosis, OneFrameIsTooFew)
{
    RunSeen one;
    one.frames = DrawnFrames(Scene(), 1);
    const Diagnosis diagnosis = Diagnose(one);
    EXPECT_EQ(diagnosis.verdict, Verdict::badFrames);
    EXPECT_TRUE(Says(diagnosis.evidence, "1 frame"));
}

TEST(Diagnosis, RepeatedFramesAreNeverGood)
{
    WheelScene scene = Scene();
    scene.repeated = {3};
    const Diagnosis diagnosis = Judged(scene, Method::ring);
    EXPECT_EQ(diagnosis.verdict, Verdict::badFrames);
    EXPECT_TRUE(Says(diagnosis.evidence, "Frame 4 of 6")) << diagnosis.evidence;
}

TEST(Diagnosis, FramesForWhichTheCameraHadNothingNewAreNamed)
{
    RunSeen run = RunOf(Scene(), Method::ring);
    run.lost = {0, RunSeen::again, 0, 0, RunSeen::again};
    const Diagnosis diagnosis = Diagnose(run);
    EXPECT_EQ(diagnosis.verdict, Verdict::badFrames);
    EXPECT_EQ(diagnosis.evidence,
              "The camera had no new picture for frame 3 and 6, and an old one was taken again.");
    EXPECT_TRUE(Says(diagnosis.cure, "cable"));
    run.lost[3] = 1;
    EXPECT_TRUE(Says(Diagnose(run).evidence, "lost frames after frame 4,"));
}

TEST(Diagnosis, PeriodsThatCompareNothingAreNamed)
{
    RunSeen run = RunOf(Scene(), Method::ring);
    run.arguments->period1 = 2;
    run.arguments->period2 = 3;
    const Diagnosis diagnosis = Diagnose(run);
    EXPECT_EQ(diagnosis.verdict, Verdict::badFrames);
    EXPECT_TRUE(Says(diagnosis.cure, "-p1"));
}

TEST(Diagnosis, ACameraThatIsPushedSpoilsTheAnswer)
{
    WheelScene scene = Scene();
    scene.push = {3, 4, -3};
    const Diagnosis diagnosis = Judged(scene, Method::ring);
    EXPECT_EQ(diagnosis.verdict, Verdict::badFrames);
    EXPECT_TRUE(Says(diagnosis.evidence, "frame 4")) << diagnosis.evidence;
    EXPECT_TRUE(Says(diagnosis.evidence, "to the right")) << diagnosis.evidence;
}

TEST(Diagnosis, APushIsARemarkWhereTheAnswerHoldsBeforeAndAfterIt)
{
    WheelScene scene = Scene();
    scene.push = {3, 1.2, 0};
    const Diagnosis diagnosis = Judged(scene, Method::ring);
    EXPECT_EQ(diagnosis.verdict, Verdict::good) << diagnosis.evidence;
    EXPECT_TRUE(Remarks(diagnosis, "jumped"));
}

TEST(Findings, TheLongestPartWithoutAPushIsFitted)
{
    WheelScene scene = Scene();
    for (const int jump : {1, 2}) { // of three frames two lie on one side of it
        scene.push = {jump, 3, -2};
        RunSeen run;
        run.frames = DrawnFrames(scene, 3);
        const Findings found = FindingsOf(run);
        ASSERT_EQ(found.pushes.size(), 1u);
        EXPECT_EQ(found.pushes[0].frame, jump);
        EXPECT_EQ(found.fittedFrom, jump == 1 ? 1 : 0);
        EXPECT_TRUE(found.fit.holds);
        EXPECT_NEAR(found.fit.centre.x, scene.centreX + (jump == 1 ? 3 : 0), 0.2);
        EXPECT_NEAR(found.fit.centre.y, scene.centreY - (jump == 1 ? 2 : 0), 0.2);
    }
}

TEST(Findings, BrightIsTheRingAndNotWhatMovesBesideIt)
{
    WheelScene scene = WithDisc(3);
    RunSeen run;
    run.frames = DrawnFrames(scene, count);
    for (int t = 0; t < count; t++) // the wheel in the dark
        for (int y = 0; y < scene.height; y++)
            for (int x = 0; x < 490; x++) run.frames(x, y, t) = static_cast<UBYTE>(run.frames(x, y, t) / 2);
    const Findings found = FindingsOf(run);
    ASSERT_TRUE(found.ring.ring);
    EXPECT_NEAR(found.quality.bright, 85, 15);
}

TEST(Diagnosis, AWheelThatStandsStillIsStill)
{
    WheelScene scene = Scene();
    scene.degreesPerFrame = 0;
    for (const Method method : {Method::ring, Method::votes}) {
        const Diagnosis diagnosis = Judged(scene, method);
        EXPECT_EQ(diagnosis.verdict, Verdict::still) << diagnosis.evidence;
        EXPECT_FALSE(diagnosis.centre.has_value());
        EXPECT_FALSE(diagnosis.sense.has_value());
    }
}

TEST(Diagnosis, AWheelIsStillWhereOnlyAnotherThingMoves)
{
    WheelScene scene = WithDisc(2);
    scene.degreesPerFrame = 0;
    const Diagnosis diagnosis = Judged(scene, Method::votes);
    EXPECT_EQ(diagnosis.verdict, Verdict::still) << diagnosis.evidence;
}

TEST(Diagnosis, AWheelThatAnotherThingOutshinesIsNotStill)
{
    WheelScene scene = WithDisc(6);
    scene.degreesPerFrame = 0.1;
    const Diagnosis diagnosis = Judged(scene, Method::votes);
    EXPECT_EQ(diagnosis.verdict, Verdict::otherMotion) << diagnosis.evidence;
    EXPECT_EQ(diagnosis.sense, Sense::clockwise);
    ASSERT_TRUE(diagnosis.proposal);
    EXPECT_EQ(diagnosis.proposal->arguments.masks.size(), 1U);
}

TEST(Diagnosis, HalfAToothAFrameIsTooFast)
{
    WheelScene scene = Scene();
    scene.degreesPerFrame = 7.5;
    const Diagnosis diagnosis = Judged(scene, Method::votes);
    EXPECT_EQ(diagnosis.verdict, Verdict::tooFast) << diagnosis.evidence;
    EXPECT_FALSE(diagnosis.sense) << "forwards looks like backwards";
}

TEST(Diagnosis, AnotherThingThatDrawsTheAnswerAwayIsNamedWithItsPlace)
{
    const RunSeen run = RunOf(WithDisc(6), Method::votes);
    const Diagnosis diagnosis = Diagnose(run);
    EXPECT_EQ(diagnosis.verdict, Verdict::otherMotion) << diagnosis.evidence;
    EXPECT_TRUE(Says(diagnosis.evidence, "at the upper right")) << diagnosis.evidence;
    EXPECT_GT(diagnosis.elsewhere.value_or(0), 0.15);
}

TEST(Diagnosis, AnotherThingThatDoesNotSpoilTheAnswerIsARemark)
{
    const Diagnosis diagnosis = Judged(WithDisc(2), Method::ring);
    EXPECT_EQ(diagnosis.verdict, Verdict::good) << diagnosis.evidence;
    EXPECT_TRUE(Remarks(diagnosis, "is not the wheel's"));
}

TEST(Diagnosis, OfTwoWheelsTheOneThatTheRunWasToldIsJudged)
{
    WheelScene meant = Scene(), other = Scene();
    meant.centreX = 160.4;
    meant.innerR = 100;
    meant.outerR = 120;
    meant.teeth = 30;
    meant.degreesPerFrame = 0.3;
    other.centreX = 480.2;
    other.innerR = 110;
    other.outerR = 150;
    other.teeth = 14;
    other.degreesPerFrame = -2;
    CubByte frames = DrawnFrames(meant, count), others = DrawnFrames(other, count);
    frames(RNG(320, 639), RNG::All(), RNG::All()) = others(RNG(320, 639), RNG::All(), RNG::All());
    const RunArguments told = Fitting(meant, Method::ring);
    RunSeen run = DetectedRun(frames, told);
    // The answer lies on the one wheel or on the other.
    for (const bool right : {true, false}) {
        const WheelScene& at = right ? meant : other;
        run.outcome.result = 0;
        run.outcome.region =
            Region{static_cast<int>(std::lround(at.centreX)) - told.centreX,
                   static_cast<int>(std::lround(at.centreY)) - told.centreY, told.width, told.height};
        const Diagnosis diagnosis = Diagnose(run);
        EXPECT_EQ(diagnosis.verdict, right ? Verdict::good : Verdict::otherMotion) << diagnosis.evidence;
        EXPECT_EQ(diagnosis.teeth, 30);
        ASSERT_TRUE(diagnosis.centre);
        EXPECT_NEAR(diagnosis.centre->x, meant.centreX, 0.3);
        if (right) continue;
        ASSERT_TRUE(diagnosis.proposal);
        ASSERT_EQ(diagnosis.proposal->arguments.masks.size(), 1U);
        EXPECT_GT(diagnosis.proposal->arguments.masks[0].left, 281) << "the wheel itself is not blanked";
    }
}

TEST(Diagnosis, RadiiThatSpoilTheAnswerAreWrong)
{
    RunArguments arguments = Fitting(Scene(), Method::ring);
    arguments.innerR = 156;
    arguments.outerR = 192;
    const Diagnosis diagnosis = Diagnose(DetectedRun(DrawnFrames(Scene(), count), arguments));
    EXPECT_EQ(diagnosis.verdict, Verdict::wrongRadii) << diagnosis.evidence;
    EXPECT_TRUE(Says(diagnosis.cure, "130") && Says(diagnosis.cure, "160")) << diagnosis.cure;
    ASSERT_TRUE(diagnosis.proposal);
    EXPECT_TRUE(diagnosis.proposal->ring);
    EXPECT_FALSE(diagnosis.proposal->sense);
    EXPECT_NEAR(diagnosis.proposal->arguments.innerR, 130, 1);
    EXPECT_NEAR(diagnosis.proposal->arguments.outerR, 160, 1);
}

TEST(Diagnosis, TheWrongSenseMisleadsVotes)
{
    RunArguments arguments = Fitting(Scene(), Method::votes);
    arguments.turn = -3;
    const Diagnosis diagnosis = Diagnose(DetectedRun(DrawnFrames(Scene(), count), arguments));
    EXPECT_EQ(diagnosis.verdict, Verdict::wrongSense) << diagnosis.evidence;
    ASSERT_TRUE(diagnosis.proposal);
    EXPECT_TRUE(diagnosis.proposal->sense);
    EXPECT_EQ(diagnosis.proposal->arguments.turn, 3);
}

TEST(Diagnosis, WrongRadiiComeBeforeTheWrongSenseAndTheCureNamesBoth)
{
    RunArguments arguments = Fitting(Scene(), Method::votes);
    arguments.turn = -1;
    arguments.innerR = 95;
    arguments.outerR = 115;
    const Diagnosis diagnosis = Diagnose(DetectedRun(DrawnFrames(Scene(), count), arguments));
    EXPECT_EQ(diagnosis.verdict, Verdict::wrongRadii) << diagnosis.evidence;
    EXPECT_TRUE(Says(diagnosis.cure, "clockwise")) << diagnosis.cure;
}

TEST(Diagnosis, AnAnswerBesideTheRotationDisagreesByADistanceInADirection)
{
    RunSeen run = RunOf(Scene(), Method::ring);
    run.outcome.region->left += 6;
    run.outcome.region->top -= 4;
    const Diagnosis diagnosis = Diagnose(run);
    EXPECT_EQ(diagnosis.verdict, Verdict::disagree);
    EXPECT_TRUE(Says(diagnosis.evidence, "px to the right and")) << diagnosis.evidence;
    EXPECT_TRUE(Says(diagnosis.evidence, "px up")) << diagnosis.evidence;
}

TEST(Diagnosis, ACentreThatIsHardlyKnownMakesItUnclear)
{
    WheelScene scene = Scene();
    scene.degreesPerFrame = 0.1;
    RunSeen run = DetectedRun(DrawnFrames(scene, 2), Fitting(scene, Method::ring));
    run.outcome.region->left = static_cast<int>(std::lround(scene.centreX)) + 2 - run.arguments->centreX;
    const Diagnosis diagnosis = Diagnose(run);
    EXPECT_EQ(diagnosis.verdict, Verdict::unclear) << diagnosis.evidence;
    EXPECT_TRUE(Says(diagnosis.cure, "more frames")) << diagnosis.cure;
}

TEST(Diagnosis, ARefusalIsToldInTheProgramsWords)
{
    RunArguments arguments = Fitting(Scene(), Method::ring);
    arguments.width = 600; // cannot lie around the centre within the picture
    arguments.centreX = 10;
    const Diagnosis diagnosis = Diagnose(DetectedRun(DrawnFrames(Scene(), count), arguments));
    EXPECT_EQ(diagnosis.verdict, Verdict::noResult) << diagnosis.evidence;
    EXPECT_TRUE(Says(diagnosis.evidence, "Calculated <oroi> is out of range")) << diagnosis.evidence;
}

TEST(Diagnosis, VotesAreProposedWhereTheRingLeavesThePicture)
{
    WheelScene scene = Scene();
    scene.centreX = 80;
    RunSeen run = RunOf(scene, Method::ring);
    const Diagnosis diagnosis = Diagnose(run);
    EXPECT_NE(diagnosis.verdict, Verdict::good);
    ASSERT_TRUE(diagnosis.proposal);
    EXPECT_TRUE(diagnosis.proposal->method);
    EXPECT_EQ(diagnosis.proposal->arguments.HowSearched(), Method::votes);
}

TEST(Diagnosis, TheProposedRunIsGood)
{
    RunArguments arguments = Fitting(Scene(), Method::votes);
    arguments.turn = -1;
    arguments.innerR = 100;
    arguments.outerR = 125;
    const CubByte frames = DrawnFrames(Scene(), count);
    const Diagnosis first = Diagnose(DetectedRun(frames, arguments));
    ASSERT_TRUE(first.proposal);
    EXPECT_NE(first.verdict, Verdict::good);
    EXPECT_EQ(Diagnose(DetectedRun(frames, first.proposal->arguments)).verdict, Verdict::good);
}
