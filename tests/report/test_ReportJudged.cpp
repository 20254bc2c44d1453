// From the files of a run to its judgement: frames that cannot be judged, which flow is shown, and what is
// computed.
#include <tests/support/ChildProcess.h>
#include <tests/support/Pictures.h>

#include <tests/reference/Files.h>
#include <tests/reference/Jpeg.h>

#include <report/Judged.h>
#include <report/Report.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

using namespace telvane;

namespace {

using Lines = std::vector<std::string>;

/// Frames of noise; so small that no verdict rests on them.
RunFiles Files(int count)
{
    RunFiles files;
    pictures::Random random(5);
    for (int i = 0; i < count; i++) {
        files.frames.push_back(pictures::ArrayOf(pictures::Noise<std::uint8_t>(random, 48, 40)));
        files.frameNames.push_back("img" + std::to_string(i + 1) + ".bmp");
    }
    files.anyFrame = count > 0;
    return files;
}

void AddFlow(RunFiles& files, bool ofThisRun)
{
    files.u = pictures::ArrayOf(pictures::Shorts(49, 41, 11));
    files.v = pictures::ArrayOf(pictures::Shorts(49, 41, 22));
    files.flowIsOfThisRun = ofThisRun;
}

RunArguments Told()
{
    RunArguments a;
    a.count = 9;
    a.files = true;
    a.width = a.height = 10;
    a.centreX = a.centreY = 5;
    a.innerR = 8;
    a.outerR = 12;
    a.teeth = 12;
    a.turn = 1;
    return a;
}

const char again[] = "Take the frames again: at least two, each a whole grey picture of 1280 x 960 pixels.";

void ExpectBad(const RunFiles& files, bool needed, const std::string& evidence)
{
    const Diagnosis d = Judge(files, {}, {}, {}, needed).diagnosis;
    EXPECT_EQ(d.verdict, Verdict::badFrames);
    EXPECT_EQ(d.evidence, evidence);
    EXPECT_EQ(d.cure, again);
}

Verdict VerdictOf(const RunFiles& files, bool needed)
{
    return Judge(files, {}, {}, {}, needed).diagnosis.verdict;
}

} // namespace

TEST(Judged, FramesThatCannotBeJudgedAreCounted)
{
    RunFiles files = Files(3);
    files.frameProblems = {"img2.bmp: torn"};
    ExpectBad(files, false, "img2.bmp: torn.");
    files.frameProblems.emplace_back("img3.bmp: burnt");
    ExpectBad(files, false, "img2.bmp: torn, and 1 other.");
    files.frameProblems.emplace_back("img4.bmp: lost");
    ExpectBad(files, true, "img2.bmp: torn, and 2 more like it.");
    // Where there is none of them and none is needed, they are not missed.
    files.anyFrame = false;
    EXPECT_NE(VerdictOf(files, false), Verdict::badFrames);
    ExpectBad(files, true, "img2.bmp: torn, and 2 more like it.");

    ExpectBad(Files(1), false, "There is one frame only, and motion takes two.");
    ExpectBad(Files(0), true, "There is no frame.");
    EXPECT_EQ(VerdictOf(Files(0), false), Verdict::unclear);
    EXPECT_NE(VerdictOf(Files(2), true), Verdict::badFrames);
    RunOutcome failed;
    failed.failure = "time";
    EXPECT_EQ(Judge(Files(1), {}, failed, {}, true).diagnosis.verdict, Verdict::failed) << "comes first";
}

TEST(Judged, TheFlowIsThatOfTheRunOrIsMade)
{
    RunFiles files = Files(3);
    AddFlow(files, true);
    Judged run = Judge(files, {}, {}, {}, false);
    EXPECT_EQ(run.u(1, 1), 11);
    EXPECT_EQ(run.v(1, 1), 22);
    EXPECT_FALSE(run.flowMade);
    AddFlow(files, false); // of another run
    run = Judge(files, {}, {}, {}, false);
    ASSERT_EQ(run.u.dim1, 49);
    ASSERT_EQ(run.v.dim2, 41);
    EXPECT_TRUE(run.flowMade);
    int differing = 0;
    for (int x = 0; x < 49; x++) differing += run.u(x, 20) != 11;
    EXPECT_GT(differing, 40);
    // Without frames it is all there is.
    files = Files(0);
    AddFlow(files, false);
    run = Judge(files, {}, {}, {}, false);
    EXPECT_EQ(run.u(1, 1), 11);
    EXPECT_FALSE(run.flowMade);
    EXPECT_EQ(Judge(Files(0), {}, {}, {}, false).u.dim1, 0);
    EXPECT_FALSE(Judge(Files(0), {}, {}, {}, false).flowMade);
    // With different periods not all neighbours are compared, and the program's own answer is not asked.
    RunArguments periods = Told();
    periods.period2 = 2;
    RunOutcome known;
    known.result = -4;
    EXPECT_EQ(Judge(Files(3), periods, known, {}, true).u.dim1, 0);
    periods.period1 = 2;
    EXPECT_EQ(Judge(Files(3), periods, known, {}, true).u.dim1, 49);
    // What is blanked for the program does not move.
    RunArguments masked = Told();
    masked.masks = {{0, 0, 48, 40}};
    run = Judge(Files(3), masked, {}, {}, true);
    ASSERT_TRUE(run.computed && run.u.dim1 == 49);
    EXPECT_EQ(run.u(24, 20), 0);
    EXPECT_EQ(run.v(24, 20), 0);
    EXPECT_TRUE(Judge(Files(3), Told(), {}, {}, true).u(24, 20) != 0 ||
                Judge(Files(3), Told(), {}, {}, true).v(24, 20) != 0);
}

TEST(Judged, AnOutcomeIsComputedOnlyWhereNoneIsKnown)
{
    Judged run = Judge(Files(3), Told(), {}, {}, true);
    EXPECT_TRUE(run.computed);
    EXPECT_TRUE(run.outcome.result.has_value());
    EXPECT_EQ(run.arguments->count, 3) << "the frames that there are";
    RunOutcome told;
    told.result = -7;
    run = Judge(Files(3), Told(), told, {}, true);
    EXPECT_FALSE(run.computed);
    EXPECT_EQ(run.outcome.result, -7);
    EXPECT_FALSE(Judge(Files(3), {}, {}, {}, true).computed) << "of which arguments?";
    EXPECT_FALSE(Judge(Files(1), Told(), {}, {}, true).computed);
    EXPECT_TRUE(Judge(Files(2), Told(), {}, {}, true).computed) << "two frames are enough";
    EXPECT_EQ(Judge(Files(1), Told(), {}, {}, true).arguments->count, 9);

    RunArguments halting = Told();
    halting.masks = {{5, 5, 0, 9}};
    run = Judge(Files(3), halting, {}, {}, true);
    EXPECT_EQ(run.diagnosis.verdict, Verdict::failed);
    EXPECT_EQ(run.diagnosis.cure,
              "Give every mask, and the region, a width and a height of at least 1, then run it again.");
    told = {};
    told.failure = "halted";
    EXPECT_EQ(Judge(Files(3), halting, told, {}, true).diagnosis.cure,
              "Remove the cause that the message names, then run it again.");
}

TEST(Judged, WhatToDoIsThatOfTheFramesWhereTheyShowNoRotation)
{
    RunFiles files = Files(3); // something flickers in the middle
    pictures::Random random(6);
    files.frames.clear();
    for (int i = 0; i < 3; i++) {
        const MatByte& frame = files.frames.emplace_back(128, 96);
        files.frames.back().Fill(UBYTE(100));
        for (int y = 32; y < 64; y++)
            for (int x = 48; x < 80; x++) frame(x, y) = static_cast<UBYTE>(pictures::Between(random, 0, 255));
    }
    const Diagnosis d = Judge(files, {}, {}, {}, false).diagnosis;
    EXPECT_EQ(d.verdict, Verdict::unclear);
    EXPECT_EQ(d.cure, "Take more frames, with more light, in which the teeth go on by 1 to 3 pixels each.");
}

TEST(Judged, KnownIsAResultOrAFailure)
{
    RunOutcome outcome;
    EXPECT_FALSE(Known(outcome));
    outcome.message = "words";
    EXPECT_FALSE(Known(outcome));
    outcome.result = 0;
    EXPECT_TRUE(Known(outcome));
    outcome = {};
    outcome.failure = "time";
    EXPECT_TRUE(Known(outcome));
}

TEST(MakeReport, NamesItsInputsAndWhetherThereIsAnythingToShow)
{
    const TemporaryFolder folder, frames;
    ReportOptions options;
    options.folder = folder.Path();
    Report report = MakeReport(options);
    EXPECT_FALSE(report.anything);
    EXPECT_EQ(report.html, "");
    EXPECT_EQ(report.inputs, (Lines{folder / "detected.jpg", folder / "hough.bmp", folder / "u_sum_sh.bmp",
                                    folder / "v_sum_sh.bmp"}));
    // A failure alone is something to show.
    options.outcome.failure = "time";
    report = MakeReport(options);
    EXPECT_TRUE(report.anything);
    EXPECT_NE(report.html.find("none: time"), std::string::npos);
    options.page = false;
    EXPECT_EQ(MakeReport(options).html, "");
    EXPECT_TRUE(MakeReport(options).anything);
    options.outcome = {};
    const reference::Bytes marked = reference::JpegGrey(pictures::Bytes(1280, 960, 90), 85);
    folder.Write("detected.jpg", std::string(marked.begin(), marked.end()));
    EXPECT_TRUE(MakeReport(options).anything) << "the marked picture alone";
    std::filesystem::remove(folder / "detected.jpg");
    options.outcome.failure = "time";
    EXPECT_TRUE(MakeReport(options).anything);
    options.outcome = {};

    // Frames that cannot be read are named, and are there.
    frames.Write("img1.bmp", "BM");
    options.frames = frames.Path();
    report = MakeReport(options);
    EXPECT_TRUE(report.anything);
    EXPECT_EQ(report.inputs.front(), frames / "img1.bmp");
    EXPECT_EQ(report.inputs.size(), 5u);
    EXPECT_EQ(report.problems, Lines{(frames / "img1.bmp") + ": cut short within its header; expected a "
                                                             "frame of the run, an uncompressed 8-bit grey "
                                                             "BMP"});
    EXPECT_EQ(report.diagnosis.verdict, Verdict::badFrames);
    options.count = 2;
    EXPECT_EQ(MakeReport(options).inputs.size(), 6u);

    // What a run with frames needs, by its arguments or by their number.
    frames.Write("img1.bmp", "");
    const TemporaryFolder none;
    options.frames = none.Path();
    folder.Write("hough.bmp", [] {
        const reference::Bytes bytes = reference::BmpShort(pictures::Shorts(1281, 961));
        return std::string(bytes.begin(), bytes.end());
    }());
    for (const int count : {1, 2}) {
        options.count = count;
        EXPECT_EQ(MakeReport(options).diagnosis.verdict, Verdict::badFrames) << count;
    }
    options.count = 0;
    EXPECT_EQ(MakeReport(options).diagnosis.verdict, Verdict::unclear);
    options.arguments = Told();
    EXPECT_EQ(MakeReport(options).diagnosis.verdict, Verdict::badFrames);
    options.arguments->files = false;
    EXPECT_EQ(MakeReport(options).diagnosis.verdict, Verdict::unclear);
}
