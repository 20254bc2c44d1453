// Every verdict just inside and just outside of its limits, from findings that were never measured: its
// evidence, its cure, the remarks and the proposal.
#include <diagnosis/Findings.h>

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <numbers>
#include <string>
#include <vector>

using namespace telvane;

namespace {

using Strings = std::vector<std::string>;

/// A run that is good: what was measured, what was told and what the program answered agree.
struct Case {
    RunSeen run;
    Findings found;

    explicit Case(Method method = Method::ring, int width = 640, int height = 480, int count = 6)
    {
        if (count > 0) run.frames = CubByte(width, height, count);
        RunArguments& a = run.arguments.emplace();
        a.count = count;
        a.width = 200;
        a.height = 180;
        a.centreX = 100;
        a.centreY = 90;
        a.innerR = 130;
        a.outerR = 160;
        a.offset = method == Method::ring ? -1 : 0;
        a.teeth = 24;
        a.turn = 1;
        run.outcome.result = 0;
        run.outcome.region = Region{220, 150, 200, 180}; // its centre at (320, 240)

        found.measured = true;
        found.times = a.Times();
        found.quality.noise = 1.5;
        found.quality.bright = 150;
        found.quality.moving = 0.2;
        found.straight.share = 0.1;
        found.ring.ring = Ring{130.2, 159.9};
        found.ring.teeth = 24;
        found.ring.step = 0.1;
        found.ring.steady = 0.96;
        found.ring.middle = {320, 240};
        found.fit.holds = true;
        found.fit.centre = {320, 240};
        found.fit.explained = 0.9;
        found.fit.limit = {0.02, 0.03};
        found.fit.gap = 2;
        // So far that light and lens make a doubt of 0.1 px of it.
        found.fit.degreesPerFrame = 0.015 * 180 / std::numbers::pi;
        Sigma(0.04);
        found.sense = Sense::clockwise;
        found.elsewhere = MotionElsewhere{0.01, {320, 100}, {0, 0, 0, 0}};
    }
    Case& Sigma(double sigma)
    {
        found.fit.sigma = {sigma / 2, sigma};
        return *this;
    }
    /// The answer lies so far to the left of the rotation's centre.
    Case& Apart(double pixels)
    {
        found.fit.centre = found.ring.middle = {320 + pixels, 240};
        return *this;
    }
    Case& Share(double share, Place where)
    {
        found.elsewhere = MotionElsewhere{share, where, {480, -30, 130, 100}};
        return *this;
    }
    RunArguments& Told() { return *run.arguments; }
    Diagnosis Judged() const { return DiagnosisOf(run, found); }
};

/// Why and what to do, where the answer lies far off.
void ExpectVerdict(const Case& c, Verdict verdict, const std::string& evidence, const std::string& cure)
{
    const Diagnosis d = c.Judged();
    EXPECT_EQ(d.verdict, verdict) << Name(d.verdict) << ": " << d.evidence;
    EXPECT_EQ(d.evidence, evidence);
    EXPECT_EQ(d.cure, cure);
}

Verdict VerdictOf(const Case& c) { return c.Judged().verdict; }

const double far = 20; // pixels, from the answer

} // namespace

TEST(Verdicts, GoodSaysHowNearAndHowSure)
{
    Case c;
    ExpectVerdict(c.Apart(0.5), Verdict::good,
                  "The centre found lies 0.5 px from the centre of the rotation at (320.5, 240.0), which is "
                  "known to 0.1 px.",
                  "");
    EXPECT_EQ(c.Judged().remarks, Strings());
    c.Sigma(0.44);
    EXPECT_EQ(c.Judged().evidence, "The centre found lies 0.5 px from the centre of the rotation at (320.5, "
                                   "240.0), which is known to 0.4 px.");
    c.found.fit.sigma = {0.32, 0.01};
    EXPECT_NE(c.Judged().evidence.find("known to 0.3 px"), std::string::npos);
}

TEST(Verdicts, WhatWasMeasuredIsHandedOn)
{
    Case c;
    c.Share(0.05, {400, 90});
    c.Apart(-0.25);
    Diagnosis d = c.Judged();
    ASSERT_TRUE(d.centre && d.sigma && d.found && d.ring);
    EXPECT_EQ(d.centre->x, 319.75);
    EXPECT_EQ(d.centre->y, 240);
    EXPECT_EQ(d.sigma->x, 0.02);
    EXPECT_EQ(d.sigma->y, 0.04);
    EXPECT_EQ(d.found->x, 320);
    EXPECT_EQ(d.found->y, 240);
    EXPECT_EQ(d.limit, 0.03) << "the larger of both";
    EXPECT_EQ(d.ring->inner, 130.2);
    EXPECT_EQ(d.ring->outer, 159.9);
    EXPECT_EQ(d.teeth, 24);
    EXPECT_EQ(d.degreesPerFrame, c.found.fit.degreesPerFrame);
    EXPECT_EQ(d.explained, 0.9);
    EXPECT_EQ(d.elsewhere, 0.05);
    EXPECT_EQ(d.sense, Sense::clockwise);
    c.found.fit.limit = {0.4, 0.03};
    EXPECT_EQ(c.Judged().limit, 0.4);

    // Of a rotation that is not known nothing is said, but what else was seen is.
    c.Sigma(0.701);
    d = c.Judged();
    EXPECT_FALSE(d.centre || d.sigma || d.limit || d.degreesPerFrame || d.explained || d.proposal);
    EXPECT_TRUE(d.ring && d.teeth && d.sense && d.elsewhere && d.found);
}

TEST(Verdicts, TheAnswerMustLieNear)
{
    // 2.4 px, less a doubt of twice 0.04 and 0.1.
    EXPECT_EQ(VerdictOf(Case().Apart(2.219)), Verdict::good);
    EXPECT_EQ(VerdictOf(Case().Apart(-2.219)), Verdict::good);
    EXPECT_EQ(VerdictOf(Case().Apart(2.221)), Verdict::disagree);
    Case across;
    across.found.fit.centre = {321.6, 238.4};
    EXPECT_EQ(VerdictOf(across), Verdict::disagree) << "1.6 px on each axis";
    across.found.fit.centre = {321.5, 238.5};
    EXPECT_EQ(VerdictOf(across), Verdict::good);
    // A smaller turn between the frames leaves more doubt.
    Case small;
    small.found.fit.gap = 1;
    EXPECT_EQ(VerdictOf(small.Apart(2.119)), Verdict::good);
    EXPECT_EQ(VerdictOf(small.Apart(2.121)), Verdict::disagree);
    small.found.fit.degreesPerFrame *= -1;
    EXPECT_EQ(VerdictOf(small.Apart(2.119)), Verdict::good) << "in either sense";
}

TEST(Verdicts, DisagreementHasADistanceADirectionAndAnotherMethodToTry)
{
    Case ring(Method::ring);
    ring.found.fit.centre = {314, 244};
    ExpectVerdict(ring, Verdict::disagree,
                  "The centre found lies 7.2 px from the centre of the rotation at (314.0, 244.0): 6.0 px to "
                  "the right and 4.0 px up.",
                  "Try flow voting (0 as the third radius): the ring may not lie round the axis, or not be a "
                  "circle in the picture.");
    Case votes(Method::votes);
    votes.found.fit.centre = votes.found.ring.middle = {323, 240};
    ExpectVerdict(votes, Verdict::disagree,
                  "The centre found lies 3.0 px from the centre of the rotation at (323.0, 240.0): 3.0 px to "
                  "the left.",
                  "Try the ring search (-1 as the third radius), and check that the camera stands square to "
                  "the wheel.");
}

TEST(Verdicts, WhatIsInDoubtIsUnclear)
{
    Case c;
    c.Sigma(0.3); // in all 0.7 px
    EXPECT_EQ(VerdictOf(c.Apart(1.69)), Verdict::good);
    ExpectVerdict(c.Apart(1.75), Verdict::unclear,
                  "The centre of the rotation at (321.8, 240.0) is known to 0.7 px only, and the centre "
                  "found lies 1.8 px from it.",
                  "Take more frames, or let the wheel turn further from frame to frame.");
    EXPECT_EQ(VerdictOf(c.Apart(3.09)), Verdict::unclear);
    EXPECT_EQ(VerdictOf(c.Apart(3.11)), Verdict::disagree);
    // Less than 0.3 px makes no difference.
    EXPECT_EQ(VerdictOf(c.Sigma(0.0999).Apart(2.2)), Verdict::disagree);
    EXPECT_EQ(VerdictOf(c.Sigma(0.1001).Apart(2.2)), Verdict::unclear);
    // And no more than 1.2 px counts.
    EXPECT_EQ(VerdictOf(c.Sigma(0.7).Apart(1.19)), Verdict::good);
    EXPECT_EQ(VerdictOf(c.Apart(1.21)), Verdict::unclear);
    EXPECT_EQ(VerdictOf(c.Apart(3.59)), Verdict::unclear);
    EXPECT_EQ(VerdictOf(c.Apart(3.61)), Verdict::disagree);
}

TEST(Verdicts, ARotationIsTrustedUpToADeviation)
{
    const std::string evidence = "No rotation can be told from the frames well enough to judge the answer.";
    const std::string cure =
        "Take more frames, with more light, in which the teeth go on by 1 to 3 pixels each.";
    for (const Place sigma : {Place{0.701, 0.1}, Place{0.1, 0.701}}) {
        Case c;
        c.found.fit.sigma = sigma;
        ExpectVerdict(c, Verdict::unclear, evidence, cure);
        c.found.fit.sigma = {std::min(sigma.x, 0.7), std::min(sigma.y, 0.7)};
        EXPECT_EQ(VerdictOf(c), Verdict::good);
    }
    Case c;
    c.found.fit.holds = false;
    ExpectVerdict(c, Verdict::unclear, evidence, cure);
}

TEST(Verdicts, UnclearSaysWhatIsMissing)
{
    Case c;
    c.run.outcome = {};
    ExpectVerdict(c, Verdict::unclear,
                  "The wheel turns about (320.0, 240.0), but what the program answered is not known.",
                  "Give the run's result and region.");
    c = Case();
    c.run.arguments.reset();
    ExpectVerdict(c, Verdict::unclear,
                  "The wheel turns about (320.0, 240.0), but where in the region its centre is to lie is not "
                  "known.",
                  "Give the command line of the run.");
    EXPECT_FALSE(c.Judged().proposal);
    Case none(Method::ring, 640, 480, 0);
    none.found = {};
    ExpectVerdict(none, Verdict::unclear, "Without frames nothing can be judged.",
                  "Keep the frames of the run (-s), and give them.");
}

TEST(Verdicts, AFailureIsToldAsItIs)
{
    Case c;
    c.run.outcome.failure = "the camera did not open";
    c.found.elsewhere->share = 0.9;
    c.found.quality.repeated = {2};
    ExpectVerdict(c, Verdict::failed, "The run ended without a detection: the camera did not open.",
                  "Remove the cause that the message names, then run it again.");
    EXPECT_EQ(c.Judged().remarks, Strings());
}

TEST(Verdicts, TwoFramesAreTheLeast)
{
    ExpectVerdict(Case(Method::ring, 640, 480, 1), Verdict::badFrames,
                  "There is 1 frame only: motion shows between two.", "Take 15 frames.");
    EXPECT_EQ(VerdictOf(Case(Method::ring, 640, 480, 2)), Verdict::good);
}

TEST(Verdicts, FramesThatAreNotComparedAreBad)
{
    Case c;
    c.found.times = {0, 2, 5, 7, 10, 12};
    ExpectVerdict(c, Verdict::badFrames,
                  "No two frames are compared: with different periods only those that lie one camera frame "
                  "apart are.",
                  "Give the same number for -p1 and -p2, or 1 for one of them.");
    c.found.times = {0, 2, 4, 6, 8, 9};
    EXPECT_EQ(VerdictOf(c), Verdict::good) << "the last pair is";
}

TEST(Verdicts, LostFramesAreBadBetweenComparedOnes)
{
    Case c;
    const std::string cure = "Run it again, with less else to do for the computer and its storage.";
    c.run.lost = {0, 0, 1, 0, 0};
    ExpectVerdict(c, Verdict::badFrames,
                  "The camera lost frames after frame 3, so that the wheel went further there than between "
                  "the others.",
                  cure);
    c.run.lost = {1, 0, 0, 0, 2};
    ExpectVerdict(c, Verdict::badFrames,
                  "The camera lost frames after frame 1 and 5, so that the wheel went further there than "
                  "between the others.",
                  cure);
    c.run.lost = {0, 0};
    EXPECT_EQ(VerdictOf(c), Verdict::good);
    // Between frames that are not compared, it does not matter.
    c.run.lost = {0, 3, 0, 3, 0};
    c.found.times = {0, 1, 6, 7, 12, 13};
    EXPECT_EQ(VerdictOf(c), Verdict::good);
    c.run.lost = {0, 0, 3};
    EXPECT_EQ(VerdictOf(c), Verdict::badFrames);
}

TEST(Verdicts, RepeatedFramesAreBad)
{
    Case c;
    const std::string cure =
        "Let the camera deliver a new picture for each frame: a shorter exposure, or larger periods (-p1 and "
        "-p2).";
    c.found.quality.repeated = {3};
    ExpectVerdict(c, Verdict::badFrames, "Frame 4 of 6 shows the same as the one before it.", cure);
    c.found.quality.repeated = {1, 5};
    ExpectVerdict(c, Verdict::badFrames, "Frames 2 and 6 of 6 show the same as the ones before them.", cure);
}

TEST(Verdicts, APushFromOnePixelOnSpoilsAnAnswerThatDoesNotHoldOnBothSides)
{
    Case c;
    c.found.pushes = {{3, {2.6, -1.5}}};
    ExpectVerdict(c, Verdict::badFrames,
                  "The picture jumped before frame 4, by 2.6 px to the right and 1.5 px up: the camera was "
                  "pushed, or the wheel's bearing gave way.",
                  "Fix the camera to the machine, and run it again.");
    c.Apart(far).found.pushes = {{1, {0, 0.9}}, {4, {0, -3}}};
    EXPECT_EQ(c.Judged().evidence, "The picture jumped before frame 2 and 5, by 0.9 px down: the camera was "
                                   "pushed, or the wheel's bearing gave way.");
    // Where nothing is told wrong, the largest decides.
    c.found.pushes = {{3, {0.6, 0.79}}};
    EXPECT_EQ(VerdictOf(c), Verdict::disagree);
    c.found.pushes = {{3, {0.6, 0.81}}};
    EXPECT_EQ(VerdictOf(c), Verdict::badFrames);
    // A push is the first thing to mend.
    c.found.ring.ring = Ring{100, 120};
    EXPECT_EQ(VerdictOf(c), Verdict::badFrames);
}

TEST(Verdicts, WithAPushTheAnswerIsHeldAgainstEveryPlaceOfTheWheel)
{
    // The centre is that of the frames that the fit saw: before the push, or after it.
    Case c;
    c.found.pushes = {{3, {2, 0}}};
    c.found.fittedFrom = 0; // at 319.5, then at 321.5
    EXPECT_EQ(VerdictOf(c.Apart(-0.5)), Verdict::good);
    EXPECT_NE(c.Judged().evidence.find("lies 1.5 px"), std::string::npos) << c.Judged().evidence;
    EXPECT_EQ(VerdictOf(c.Apart(0.5)), Verdict::badFrames) << "at 322.5 in the end";
    c.found.fittedFrom = 3; // at 318.5, then at 320.5
    EXPECT_EQ(VerdictOf(c.Apart(0.5)), Verdict::good);
    EXPECT_NE(c.Judged().evidence.find("lies 1.5 px"), std::string::npos) << c.Judged().evidence;
    EXPECT_EQ(VerdictOf(c.Apart(-0.5)), Verdict::badFrames) << "at 317.5 in the beginning";
}

TEST(Verdicts, StillWhereNothingChanges)
{
    Case c;
    c.found = {};
    c.found.measured = true;
    c.found.times = c.Told().Times();
    c.found.quality.noise = 1.23;
    c.found.quality.bright = 40;
    ExpectVerdict(c, Verdict::still,
                  "Nothing turns: between the frames the picture changes by no more than its noise of 1.2 "
                  "grey levels.",
                  "Let the wheel turn, by 1 to 3 pixels at the teeth from frame to frame, and run it again.");
    EXPECT_EQ(c.Judged().remarks, Strings());
    c.found.quality.moving = 0.001;
    c.found.quality.bright = 140;
    EXPECT_EQ(VerdictOf(c), Verdict::unclear);
    c.found.measured = false;
    c.found.quality.moving = 0;
    EXPECT_EQ(VerdictOf(c), Verdict::unclear) << "frames of a few pixels";
}

TEST(Verdicts, StillWhereAllGoesStraightOn)
{
    Case c;
    c.found.fit.holds = false;
    c.found.ring = {};
    c.found.elsewhere.reset();
    c.found.straight = {0.75, {530.4, 90}, {480, 40, 100, 100}};
    ExpectVerdict(c, Verdict::still, "Nothing turns: what moves goes straight on, around (530.4, 90.0).",
                  "Let the wheel turn, by 1 to 3 pixels at the teeth from frame to frame, cover what else "
                  "moves or blank it with a mask, and run it again.");
    c.found.straight.share = 0.749;
    EXPECT_EQ(VerdictOf(c), Verdict::unclear);
    c.found.straight.share = 0.9;
    c.found.ring.teeth = 24;
    EXPECT_EQ(VerdictOf(c), Verdict::unclear) << "there are teeth";
    Case trusted;
    trusted.found.straight.share = 0.9;
    trusted.found.ring = {};
    EXPECT_EQ(VerdictOf(trusted.Apart(far)), Verdict::disagree) << "something turns";
}

TEST(Verdicts, TooFastFromFourTenthsOfAToothOn)
{
    Case c;
    c.Apart(far).found.sense.reset();
    c.found.elsewhere.reset();
    c.found.fit.degreesPerFrame = 6.01; // of teeth of 15 degrees
    ExpectVerdict(c, Verdict::tooFast,
                  "From frame to frame the wheel goes on by 0.40 of a tooth: from half a tooth on, forwards "
                  "looks like backwards.",
                  "Let the wheel turn more slowly, or take frames faster, so that the teeth go on by less "
                  "than a third of a tooth.");
    c.found.fit.degreesPerFrame = -7.5;
    EXPECT_NE(c.Judged().evidence.find("goes on by 0.50 of a tooth"), std::string::npos);
    c.found.fit.degreesPerFrame = 5.99;
    EXPECT_EQ(VerdictOf(c), Verdict::disagree);
    c.found.fit.degreesPerFrame = 7.5;
    c.found.ring.teeth.reset();
    EXPECT_EQ(VerdictOf(c), Verdict::disagree) << "of which teeth?";
    // Without a rotation, what the ring's grey values say.
    c.found.ring.teeth = 24;
    c.found.fit.holds = false;
    c.found.ring.step = -0.41;
    EXPECT_EQ(VerdictOf(c), Verdict::tooFast);
    EXPECT_NE(c.Judged().evidence.find("goes on by 0.41 of a tooth"), std::string::npos);
    c.found.ring.step = 0.399;
    EXPECT_EQ(VerdictOf(c), Verdict::unclear);
}

TEST(Verdicts, OtherMotionHasAShareAPlaceAndAMask)
{
    Case c;
    c.Apart(far).Share(0.376, {530.4, 90});
    ExpectVerdict(c, Verdict::otherMotion,
                  "38 % of the motion is not the wheel's: it lies at the upper right of the picture, around "
                  "(530.4, 90.0).",
                  "Cover what moves there, or blank it with a mask (-m 480 0 130 70), and run it again.");
    ASSERT_TRUE(c.Judged().proposal);
    const std::vector<Region> masks = c.Judged().proposal->arguments.masks;
    ASSERT_EQ(masks.size(), 1u) << "what of the box lies in the picture";
    EXPECT_EQ(masks[0].left, 480);
    EXPECT_EQ(masks[0].top, 0);
    EXPECT_EQ(masks[0].width, 130);
    EXPECT_EQ(masks[0].height, 70);
    c.found.elsewhere->box = {600, 470, 130, 100};
    EXPECT_NE(c.Judged().cure.find("(-m 600 470 40 10),"), std::string::npos) << c.Judged().cure;

    c.Share(0.4, {400, 300});
    EXPECT_NE(c.Judged().evidence.find("it lies in the middle of the picture"), std::string::npos)
        << "left of its right third, and above its lower one";

    c.Share(0.15, {530, 90});
    EXPECT_EQ(VerdictOf(c), Verdict::otherMotion);
    c.Share(0.149, {530, 90});
    EXPECT_EQ(VerdictOf(c), Verdict::disagree);
    // Within 0.4 of the outer radius of the ring's middle it is the wheel's noise.
    c.Share(0.5, {340, 240 + 63.9});
    EXPECT_EQ(VerdictOf(c), Verdict::disagree);
    c.Share(0.5, {340, 240 + 64.1});
    EXPECT_EQ(VerdictOf(c), Verdict::otherMotion);
}

TEST(Verdicts, WrongRadiiBeyondATolerance)
{
    struct Given {
        int inner, outer;
        Verdict verdict;
    };
    for (const double size : {1.0, 2.5}) { // 3 pixels, or 0.015 of the outer radius
        const int tolerance = size > 1 ? 6 : 3;
        const int inner = static_cast<int>(130 * size), outer = static_cast<int>(160 * size);
        for (const auto& [atInner, atOuter, verdict] :
             {Given{inner + tolerance, outer, Verdict::disagree},
              Given{inner + tolerance + 1, outer, Verdict::wrongRadii},
              Given{inner - tolerance, outer, Verdict::disagree},
              Given{inner - tolerance - 1, outer, Verdict::wrongRadii},
              Given{inner, outer + tolerance, Verdict::disagree},
              Given{inner, outer + tolerance + 1, Verdict::wrongRadii},
              Given{inner, outer - tolerance, Verdict::disagree},
              Given{inner, outer - tolerance - 1, Verdict::wrongRadii}}) {
            Case c(Method::ring, 1280, 960);
            c.found.fit.centre = c.found.ring.middle = {640, 480};
            c.found.ring.ring = Ring{130 * size, 160 * size};
            c.Told().innerR = atInner;
            c.Told().outerR = atOuter;
            EXPECT_EQ(VerdictOf(c), verdict) << atInner << " and " << atOuter;
        }
    }
}

TEST(Verdicts, WrongRadiiNameTheRightOnes)
{
    for (const Method method : {Method::ring, Method::votes}) {
        Case c(method);
        c.Apart(far);
        c.Told().innerR = 95;
        c.Told().outerR = 115;
        const std::string evidence =
            "The teeth lie between 130 and 160 px from the centre, and the run was told the radii 95 and 115 "
            "px.";
        const std::string radii = "Give the radii 130 and 160 px", again = ", and run it again.",
                          take = ", and take the ring search (-1 as the third radius)";
        const bool votes = method == Method::votes;
        ExpectVerdict(c, Verdict::wrongRadii, evidence, radii + (votes ? take : "") + again);
        EXPECT_EQ(c.Judged().remarks, Strings());
        c.Told().turn = -1;
        ExpectVerdict(c, Verdict::wrongRadii, evidence,
                      radii + (votes ? ", and the sense clockwise" + take : "") + again);
        c.Told().turn = 1;
        c.found.ring.oval = 12;
        ExpectVerdict(c, Verdict::wrongRadii, evidence,
                      radii + (votes ? "" : ", and take flow voting (0 as the third radius)") + again);
        c.found.fit.holds = false;
        EXPECT_EQ(VerdictOf(c), Verdict::unclear) << "about which centre?";
    }
}

TEST(Verdicts, AWheelOfOtherTeethAndAnotherSizeMayBeTheWrongOne)
{
    Case c;
    c.Apart(far);
    c.Told().innerR = 95;
    c.Told().outerR = 115;
    c.Told().teeth = 31;
    const std::string doubt = ", if the wheel around (340.0, 240.0) is the one; if not, cover it and let the "
                              "other one turn";
    EXPECT_EQ(c.Judged().cure, "Give the radii 130 and 160 px" + doubt + ", and run it again.");
    c.Told().outerR = 137;
    EXPECT_EQ(c.Judged().cure, "Give the radii 130 and 160 px, and run it again.");
    c.Told().outerR = 115;
    for (const int teeth : {0, 24}) {
        c.Told().teeth = teeth;
        EXPECT_EQ(c.Judged().cure, "Give the radii 130 and 160 px, and run it again.") << teeth;
    }
}

TEST(Verdicts, ARingThatLeavesThePictureIsTheCauseAndNotRadiiThatAreNearlyRight)
{
    for (const Method method : {Method::ring, Method::votes}) {
        Case c(method);
        c.found.fit.centre = c.found.ring.middle = {150, 240};
        c.Told().outerR = 165;
        EXPECT_EQ(VerdictOf(c), Verdict::disagree);
        EXPECT_EQ(c.Judged().cure,
                  std::string("Move the camera until the whole ring lies in the picture") +
                      (method == Method::ring ? ", or try flow voting (0 as the third radius)." : "."));
        c.Told().outerR = 168;
        EXPECT_EQ(VerdictOf(c), Verdict::wrongRadii);
    }
}

TEST(Verdicts, TheCureAndTheProposalNameTheSameMethod)
{
    // Votes that failed worse than an eccentric ring lies beside its axis.
    Case c(Method::votes);
    c.Apart(far).found.ring.middle.x += 3;
    EXPECT_EQ(VerdictOf(c), Verdict::disagree);
    EXPECT_EQ(c.Judged().cure.rfind("Try the ring search", 0), 0u) << c.Judged().cure;
    EXPECT_EQ(c.Judged().proposal->arguments.HowSearched(), Method::ring);
    c.found.ring.middle.x += 8;
    EXPECT_EQ(c.Judged().cure.rfind("The ring does not lie round the axis", 0), 0u) << c.Judged().cure;
    EXPECT_EQ(c.Judged().proposal->arguments.HowSearched(), Method::votes);
    // A ring search that failed though nothing is wrong with the ring.
    Case ring;
    ring.Apart(far);
    EXPECT_EQ(ring.Judged().cure.rfind("Try flow voting", 0), 0u) << ring.Judged().cure;
    EXPECT_EQ(ring.Judged().proposal->arguments.HowSearched(), Method::votes);
    // Where the camera was the cause it stays.
    ring.found.shifts = {{0, 0}, {3, 0}};
    EXPECT_EQ(VerdictOf(ring), Verdict::badFrames);
    EXPECT_EQ(ring.Judged().proposal->arguments.HowSearched(), Method::ring);
}

TEST(Verdicts, TheProposedMaskLeavesTheWheel)
{
    // The wheel reaches from 158 to 482.
    Case c;
    c.found.fit.centre = {320, 240};
    c.run.outcome.region->left = 0;
    c.Share(0.4, {560, 240}).found.elsewhere->box = {200, 100, 430, 300};
    EXPECT_NE(c.Judged().cure.find("-m 482 100 148 300)"), std::string::npos) << c.Judged().cure;
    EXPECT_EQ(c.Judged().proposal->arguments.masks[0].left, 482);
    // What moves in front of the wheel is there.
    c.found.elsewhere->box = {400, 100, 100, 100};
    EXPECT_NE(c.Judged().cure.find("-m 400 100 100 100)"), std::string::npos) << c.Judged().cure;
}

TEST(Verdicts, ACameraThatMovesSpoilsAnAnswerThatDoesNotHoldForAllFrames)
{
    Case c;
    c.found.shifts = {{0, 0}, {-1, 0}, {0.5, 0}, {-0.5, 0.2}, {0, 0}, {0.1, -0.1}};
    EXPECT_EQ(VerdictOf(c.Apart(0)), Verdict::good);
    EXPECT_NE(c.Judged().evidence.find("lies 1.0 px"), std::string::npos) << c.Judged().evidence;
    const std::string moves = "The camera moves: what stands still is seen at places up to 1.5 px apart.";
    EXPECT_EQ(c.Judged().remarks, Strings{moves});
    ExpectVerdict(c.Apart(-1.5), Verdict::badFrames, moves,
                  "Fix the camera to the machine, and run it again.");
    EXPECT_EQ(c.Judged().remarks, Strings());
    // By less than a pixel it does not explain it.
    c.found.shifts = {{0, 0}, {-0.5, 0}, {0.49, 0}};
    EXPECT_EQ(VerdictOf(c.Apart(far)), Verdict::disagree);
    // At a push it moves once.
    c.found.shifts[1] = {-1, 0};
    c.found.pushes = {{1, {-1, 0}}};
    EXPECT_EQ(c.Judged().evidence.rfind("The picture jumped before frame 2", 0), 0u) << c.Judged().evidence;
}

TEST(Verdicts, TheWrongSenseMatters)
{
    Case c(Method::votes);
    c.Apart(far).found.fit.degreesPerFrame = -0.618;
    c.found.sense = Sense::counterClockwise;
    ExpectVerdict(
        c, Verdict::wrongSense,
        "The wheel turns counter-clockwise, by 0.62 degrees from frame to frame, and the run was "
        "told clockwise.",
        "Give the sense of rotation as counter-clockwise (an angular speed of -1), and run it again.");
    c.Told().turn = 0;
    c.found.sense = Sense::clockwise;
    ExpectVerdict(c, Verdict::wrongSense,
                  "The wheel turns clockwise, by 0.62 degrees from frame to frame, and the run was told no "
                  "sense.",
                  "Give the sense of rotation as clockwise (an angular speed of 1), and run it again.");
    c.found.sense.reset();
    EXPECT_EQ(VerdictOf(c), Verdict::disagree) << "not known";
    Case ring(Method::ring);
    ring.Apart(far).Told().turn = -1;
    EXPECT_EQ(VerdictOf(ring), Verdict::disagree) << "the ring search does not use it";
}

TEST(Verdicts, PoorFramesExplainAnAnswerFarOff)
{
    struct Poor {
        std::function<void(FrameQuality&)> inside, outside;
        const char *evidence, *cure;
        bool votesOnly;
    };
    for (const Poor& poor : std::vector<Poor>{
             {[](FrameQuality& q) { q.flicker = 0.15; }, [](FrameQuality& q) { q.flicker = 0.1501; },
              "The light changes by 15 % from frame to frame.",
              "Take a lamp that does not flicker, or an exposure of whole periods of the mains.", false},
             {[](FrameQuality& q) { q.bright = 60; }, [](FrameQuality& q) { q.bright = 58.9; },
              "The picture is dark: of 255 grey levels the brightest of what moves reaches 59.",
              "Give more light, or a longer exposure.", false},
             {[](FrameQuality& q) { q.noise = 4; }, [](FrameQuality& q) { q.noise = 4.1; },
              "The frames are noisy, by 4.1 grey levels, which misleads flow voting.",
              "Give more light and less gain, or take the ring search (-1 as the third radius).", true},
             {[](FrameQuality& q) { q.clipped = 0.3; }, [](FrameQuality& q) { q.clipped = 0.314; },
              "31 % of the picture is as bright as can be.", "Take less light, or a shorter exposure.",
              false}}) {
        for (const Method method : {Method::votes, Method::ring}) {
            Case c(method);
            c.Apart(far);
            poor.inside(c.found.quality);
            EXPECT_EQ(VerdictOf(c), Verdict::disagree) << poor.evidence;
            poor.outside(c.found.quality);
            if (poor.votesOnly && method == Method::ring) {
                EXPECT_EQ(VerdictOf(c), Verdict::disagree) << poor.evidence;
                continue;
            }
            ExpectVerdict(c, Verdict::badFrames, poor.evidence, poor.cure);
            EXPECT_EQ(VerdictOf(c.Apart(0)), Verdict::good) << "they did not spoil the answer";
            // What the run was told wrong is the cause, where it matters.
            c.Apart(far).Told().turn = -1;
            EXPECT_EQ(VerdictOf(c), method == Method::votes ? Verdict::wrongSense : Verdict::badFrames);
            c.Told().innerR = 95;
            EXPECT_EQ(VerdictOf(c), Verdict::wrongRadii);
            c.found.fit.holds = false;
            EXPECT_EQ(VerdictOf(c), Verdict::badFrames);
        }
    }
}

TEST(Verdicts, OfSeveralTheFirstOfTheListIsSaid)
{
    Case c(Method::votes); // all at once, cured one after the other
    c.Apart(far).Share(0.4, {530, 90});
    c.run.outcome.failure = "halted";
    c.run.lost = {1};
    c.found.quality.repeated = {2};
    c.found.pushes = {{3, {4, 0}}};
    c.found.fit.degreesPerFrame = 7;
    c.found.ring.ring = Ring{100, 125};
    c.Told().turn = -1;
    EXPECT_EQ(VerdictOf(c), Verdict::failed);
    c.run.outcome.failure.clear();
    EXPECT_EQ(c.Judged().evidence.substr(0, 15), "The camera lost");
    c.run.lost.clear();
    EXPECT_EQ(c.Judged().evidence.substr(0, 7), "Frame 3");
    c.found.quality.repeated.clear();
    EXPECT_EQ(c.Judged().evidence.substr(0, 18), "The picture jumped");
    c.found.pushes.clear();
    EXPECT_EQ(VerdictOf(c), Verdict::tooFast);
    c.found.fit.degreesPerFrame = 1;
    EXPECT_EQ(VerdictOf(c), Verdict::otherMotion);
    c.found.elsewhere->share = 0;
    EXPECT_EQ(VerdictOf(c), Verdict::wrongRadii);
    c.found.ring.ring = Ring{130, 160};
    EXPECT_EQ(VerdictOf(c), Verdict::wrongSense);
    c.Told().turn = 1;
    EXPECT_EQ(VerdictOf(c), Verdict::disagree);
    c.run.outcome.result = -4;
    EXPECT_EQ(VerdictOf(c), Verdict::noResult);
    c.run.outcome.result = 0;
    EXPECT_EQ(VerdictOf(c.Apart(0)), Verdict::good);
}

TEST(Verdicts, ARefusalIsToldInTheProgramsWords)
{
    const std::string check =
        "Check the arguments, and that the whole wheel and the region around it lie in the picture.";
    Case c;
    c.run.outcome.result = -3;
    c.run.outcome.region.reset();
    ExpectVerdict(c, Verdict::noResult, "The program answered -3.", check);
    c.run.outcome.message = "Error 3: no circle";
    ExpectVerdict(c, Verdict::noResult, "The program answered -3: Error 3: no circle.", check);
    c.run.outcome.message = "It is so.";
    ExpectVerdict(c, Verdict::noResult, "The program answered -3: It is so.", check);
}

TEST(Verdicts, ARegionThatWouldLeaveThePictureIsTheCauseOfARefusal)
{
    const auto refused = [](const Place& centre) {
        Case c;
        c.run.outcome.result = -4;
        c.run.outcome.region.reset();
        c.found.fit.centre = centre;
        return c;
    };
    ExpectVerdict(refused({99.2, 240}), Verdict::noResult,
                  "The region around the centre of the rotation at (99.2, 240.0) would reach out of the "
                  "picture. The program answered -4.",
                  "Make the region smaller, move the place of the centre in it, or move the camera.");
    // 200 x 180 with its centre at (100, 90), a pixel inside of 640 x 480.
    for (const auto& [centre, fits] : {std::pair{Place{99.6, 240}, true},
                                       {Place{99.4, 240}, false},
                                       {Place{539.4, 240}, true},
                                       {Place{539.6, 240}, false},
                                       {Place{320, 89.6}, true},
                                       {Place{320, 89.4}, false},
                                       {Place{320, 389.4}, true},
                                       {Place{320, 389.6}, false}})
        EXPECT_EQ(refused(centre).Judged().cure.rfind("Make the region smaller", 0) != 0, fits)
            << centre.x << ' ' << centre.y;
    EXPECT_EQ(refused({110, 240}).Judged().cure.rfind("Move the camera until the whole ring", 0), 0u);
    Case unknown = refused({99, 240});
    unknown.found.fit.holds = false;
    EXPECT_EQ(unknown.Judged().cure.rfind("Check", 0), 0u);
}

TEST(Verdicts, WhatDidNotSpoilTheAnswerIsARemark)
{
    struct Noted {
        std::function<void(Case&)> within, beyond;
        const char* remark;
    };
    const auto nothing = [](Case&) {};
    for (const Noted& noted : std::vector<Noted>{
             {[](Case& c) { c.Told().innerR = 133; }, [](Case& c) { c.Told().innerR = 134; },
              "The teeth lie between 130 and 160 px from the centre; the run was told the radii 134 and 160 "
              "px."},
             {nothing, [](Case& c) { c.Told().turn = -1; },
              "The wheel turns clockwise; the run was told counter-clockwise, which the ring search does not "
              "use."},
             {[](Case& c) { c.Told().turn = 0; }, [](Case& c) { c.found.sense = Sense::counterClockwise; },
              "The wheel turns counter-clockwise; the run was told clockwise, which the ring search does not "
              "use."},
             {[](Case& c) { c.Told().teeth = 0; }, [](Case& c) { c.Told().teeth = 23; },
              "The wheel has 24 teeth; the run was told 23."},
             {[](Case& c) {
                  c.Share(0.149, {530, 90});
              },
              [](Case& c) {
                  c.Share(0.15, {530, 90});
              },
              "15 % of the motion is not the wheel's, around (530.0, 90.0)."},
             {nothing,
              [](Case& c) {
                  c.found.pushes = {{2, {0.3, 0.4}}, {4, {0.6, -0.8}}};
              },
              "The picture jumped by 1.0 px before frame 3."},
             {[](Case& c) { c.found.ring.uneven = 0.12; }, [](Case& c) { c.found.ring.uneven = 0.124; },
              "The wheel does not turn evenly: once the teeth go on by 0.12 of a tooth more or less than "
              "usually."},
             {[](Case& c) { c.found.quality.flicker = 0.02; },
              [](Case& c) { c.found.quality.flicker = 0.021; },
              "The light changes by 2 % from frame to frame."},
             {[](Case& c) { c.found.quality.bright = 60; }, [](Case& c) { c.found.quality.bright = 59; },
              "The picture is dark: the brightest of what moves reaches 59 of 255 grey levels."},
             {[](Case& c) {
                  c.found.ring.middle = {321.5, 240};
              },
              [](Case& c) {
                  c.found.ring.middle = {321.2, 241.6};
              },
              "The middle of the ring lies 2.0 px from the centre that it turns about: it is eccentric, or "
              "the camera stands askew."},
             {[](Case& c) { c.found.quality.clipped = 0.05; },
              [](Case& c) { c.found.quality.clipped = 0.06; },
              "6 % of the picture is as bright as can be."}}) {
        Case c;
        noted.within(c);
        EXPECT_EQ(c.Judged().remarks, Strings()) << noted.remark;
        c = Case();
        noted.beyond(c);
        EXPECT_EQ(c.Judged().remarks, Strings{noted.remark});
        EXPECT_EQ(VerdictOf(c), Verdict::good) << noted.remark;
    }
}

TEST(Verdicts, TwoFramesHaveRemarksToo)
{
    const std::string remark = "6 % of the picture is as bright as can be.";
    for (const int count : {1, 2}) {
        Case c(Method::ring, 640, 480, count);
        c.found.quality.clipped = 0.06;
        EXPECT_EQ(c.Judged().remarks, count == 2 ? Strings{remark} : Strings()) << count;
    }
}

TEST(Verdicts, ARingIsEccentricToACentreThatIsKnownOnly)
{
    Case c;
    c.found.ring.middle = {330, 240};
    EXPECT_EQ(c.Judged().remarks.size(), 1u);
    c.Sigma(0.701);
    EXPECT_EQ(c.Judged().remarks, Strings());
}

TEST(Verdicts, AfterVotesTheSenseIsARemarkAlsoWhereNoneWasTold)
{
    Case c(Method::votes);
    c.Told().turn = -1;
    EXPECT_EQ(c.Judged().remarks, Strings{"The wheel turns clockwise; the run was told counter-clockwise."});
    c.Told().turn = 0;
    EXPECT_EQ(c.Judged().remarks, Strings{"The wheel turns clockwise; the run was told no sense."});
    c.Told().teeth = 1;
    c.found.ring.teeth = 1;
    c.Told().turn = 1;
    EXPECT_EQ(c.Judged().remarks, Strings());
    c.Told().teeth = 3;
    EXPECT_EQ(c.Judged().remarks, Strings{"The wheel has 1 tooth; the run was told 3."});
}

TEST(Verdicts, WhatTheVerdictSaysIsNotRemarkedAgain)
{
    Case c(Method::votes);
    c.Apart(far).Share(0.4, {530, 90});
    EXPECT_EQ(VerdictOf(c), Verdict::otherMotion);
    EXPECT_EQ(c.Judged().remarks, Strings());
    c.Share(0, {530, 90}).Told().turn = -1;
    EXPECT_EQ(VerdictOf(c), Verdict::wrongSense);
    EXPECT_EQ(c.Judged().remarks, Strings());
    c.Told().innerR = 95;
    EXPECT_EQ(VerdictOf(c), Verdict::wrongRadii);
    EXPECT_EQ(c.Judged().remarks, Strings{"The wheel turns clockwise; the run was told counter-clockwise."});
    c.found.quality.repeated = {2};
    c.found.quality.flicker = 0.5;
    c.found.quality.bright = 10;
    c.found.ring.uneven = 0.3;
    c.found.pushes = {{2, {1, 1}}};
    EXPECT_EQ(VerdictOf(c), Verdict::badFrames);
    EXPECT_EQ(c.Judged().remarks.size(), 2u) << "radii and sense, nothing about the frames";
    Case fast;
    fast.Apart(far).found.ring.uneven = 0.3;
    fast.found.fit.degreesPerFrame = 7;
    EXPECT_EQ(VerdictOf(fast), Verdict::tooFast);
    EXPECT_EQ(fast.Judged().remarks, Strings());
}

TEST(Verdicts, TheProposalIsWhatWasMeasured)
{
    Case c(Method::votes);
    c.Apart(far);
    c.Told().innerR = 95;
    c.Told().outerR = 115;
    c.Told().teeth = 7;
    c.Told().turn = -3;
    c.Told().masks = {{1, 2, 3, 4}};
    c.Told().save = true;
    c.Told().background = -50;
    Diagnosis d = c.Judged();
    ASSERT_TRUE(d.proposal);
    EXPECT_EQ(d.proposal->arguments.CommandLine(),
              "Telvane -n 6 -s -m 1 2 3 4 200 180 100 90 130 160 -1 0 360 360 24 3 0 0 0 -50");
    EXPECT_TRUE(d.proposal->ring && d.proposal->sense && d.proposal->method);
    c.Told().turn = 0;
    EXPECT_EQ(c.Judged().proposal->arguments.turn, 1);
    c.Told().turn = 5;
    EXPECT_EQ(c.Judged().proposal->arguments.turn, 5);
    EXPECT_FALSE(c.Judged().proposal->sense);
    c.found.sense = Sense::counterClockwise;
    EXPECT_EQ(c.Judged().proposal->arguments.turn, -5);
    c.found.ring.teeth.reset();
    EXPECT_EQ(c.Judged().proposal->arguments.teeth, 7) << "as told, where they are not known";
    c.found.ring.ring = Ring{200.2, 200.4};
    EXPECT_EQ(c.Judged().proposal->arguments.innerR, 200);
    EXPECT_EQ(c.Judged().proposal->arguments.outerR, 201);
    c.found.ring.ring.reset();
    EXPECT_FALSE(c.Judged().proposal) << "without a ring there are no radii";
}

TEST(Verdicts, TheMethodIsProposedByWhatTheRingSearchNeeds)
{
    // The ring whole in the picture, with 2 pixels to spare: a radius of 162 here.
    const auto proposed = [](const std::function<void(Case&)>& change) {
        Case c(Method::votes);
        c.found.ring.ring = Ring{130, 160};
        change(c);
        c.found.ring.middle.x += c.found.fit.centre.x - 320;
        c.found.ring.middle.y += c.found.fit.centre.y - 240;
        c.run.outcome.region->left = 0;
        return c.Judged().proposal->arguments.HowSearched();
    };
    const auto at = [](double x, double y) { return [=](Case& c) { c.found.fit.centre = {x, y}; }; };
    EXPECT_EQ(proposed(at(162, 240)), Method::ring);
    EXPECT_EQ(proposed(at(161.9, 240)), Method::votes);
    EXPECT_EQ(proposed(at(477, 240)), Method::ring);
    EXPECT_EQ(proposed(at(477.1, 240)), Method::votes);
    EXPECT_EQ(proposed(at(320, 162)), Method::ring);
    EXPECT_EQ(proposed(at(320, 161.9)), Method::votes);
    EXPECT_EQ(proposed(at(320, 317)), Method::ring);
    EXPECT_EQ(proposed(at(320, 317.1)), Method::votes);
    const auto proposedTo = [](Method method, double beside, double oval) {
        Case c(method);
        c.Apart(7).Told().innerR = 95;
        c.found.ring.middle.x += beside;
        c.found.ring.oval = oval;
        return c.Judged().proposal->arguments.HowSearched();
    };
    for (const Method method : {Method::ring, Method::votes})
        for (const auto& [beside, oval] : {std::pair{1.49, 0.0}, {0.0, 2.99}})
            EXPECT_EQ(proposedTo(method, beside, oval), Method::ring) << beside << ' ' << oval;
    EXPECT_EQ(proposedTo(Method::ring, 1.51, 0), Method::votes) << "eccentric";
    EXPECT_EQ(proposedTo(Method::ring, 0, 3), Method::votes) << "not round";
    // Of votes that failed by 7 pixels, where the ring search errs by less than half of that.
    EXPECT_EQ(proposedTo(Method::votes, 3.49, 0), Method::ring);
    EXPECT_EQ(proposedTo(Method::votes, 3.51, 0), Method::votes);
    EXPECT_EQ(proposedTo(Method::votes, 2, 1.51), Method::votes);

    // Where the run is good its own method stays.
    Case c(Method::votes);
    EXPECT_EQ(VerdictOf(c), Verdict::good);
    EXPECT_EQ(c.Judged().proposal->arguments.HowSearched(), Method::votes);
    EXPECT_FALSE(c.Judged().proposal->method);
    // And 0 is proposed where votes are, as -1 where the ring search is.
    c = Case(Method::ring);
    c.Apart(far).found.ring.oval = 5;
    c.Told().offset = -7;
    EXPECT_EQ(c.Judged().proposal->arguments.offset, 0);
    EXPECT_TRUE(c.Judged().proposal->method);
    c.found.ring.oval = 0;
    c.Told().innerR = 95;
    EXPECT_EQ(c.Judged().proposal->arguments.offset, -7) << "any number below 0 asks for it";
    EXPECT_FALSE(c.Judged().proposal->method);
}

TEST(Verdicts, AFourthMaskIsNotProposed)
{
    Case c;
    c.Apart(far).Share(0.4, {530, 90});
    c.Told().masks = {{0, 0, 9, 9}, {0, 20, 9, 9}};
    EXPECT_EQ(c.Judged().proposal->arguments.masks.size(), 3u);
    c.Told().masks.push_back({0, 40, 9, 9});
    EXPECT_EQ(VerdictOf(c), Verdict::otherMotion);
    EXPECT_EQ(c.Judged().proposal->arguments.masks.size(), 3u);
    EXPECT_EQ(c.Judged().proposal->arguments.masks[2].top, 40);
    Case remark;
    remark.Share(0.4, {530, 90});
    EXPECT_TRUE(remark.Judged().proposal->arguments.masks.empty()) << "it does not spoil the answer";
}

TEST(Verdicts, HaveTheNamesOfTheList)
{
    const char* const names[] = {"failed",       "bad-frames",  "still",       "too-fast",
                                 "other-motion", "wrong-radii", "wrong-sense", "disagree",
                                 "unclear",      "no-result",   "good"};
    for (int i = 0; i < 11; i++) EXPECT_STREQ(Name(static_cast<Verdict>(i)), names[i]);
}
