// The detection from frames to output region: its checks, its steps, and what it leaves behind.
#include <Telvane/Param.h>
#include <Telvane/Telvane.h>

#include <Kavrix/TestQ.h>

#include <tests/support/ChildProcess.h>
#include <tests/support/Wheels.h>

#include <tests/reference/Detection.h>
#include <tests/reference/Numbers.h>
#include <tests/reference/Ring.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <limits>
#include <string>
#include <utility>
#include <vector>

namespace {

int checkpointsPassed = 0; // passed so far
int stopAt = 0;            // the one that stops the calculation; 0: none

int AskAtCheckpoint()
{
    checkpointsPassed++;
    return checkpointsPassed == stopAt ? 1 : 0;
}

} // namespace

// The cancellation query of this program.
int TestQ() { return AskAtCheckpoint(); }

namespace {

using Ints = std::vector<std::int32_t>;

const float notANumber = std::numeric_limits<float>::quiet_NaN();
const float infinity = std::numeric_limits<float>::infinity();

/// Everything that goes into one call.
struct Call {
    int roiNr = 1;
    Sequence seq;
    bool usePeriods = false;
    Ints periods = {1};
    Ints iroi, oroi = {0, 0, 0, 0, 0};
    std::vector<float> params;
};

using enum telvane::Param::Index;

Call CallFor(const Sequence& seq)
{
    Call call;
    call.seq = seq;
    call.iroi = {0, 0, seq.w, seq.h, 1};
    call.params = {14, 0, 50, 40, 100, 80, 30, 44, -1, 0, 360, 36, 1, 0};
    return call;
}

struct Result {
    int code = 0;
    std::string err;
    Ints oroi;
    std::vector<float> params;
    BytePicture detected;
    ShortPicture hough, uSumSh, vSumSh, magSh, bgShort;
};

/// The pictures that a caller hands in.
struct Pictures {
    MatByte detected;
    MatShort hough, u_sum_sh, v_sum_sh, mag_sh, bgShort;
};

Result RunDetect(const Call& call, Pictures& pictures)
{
    const CubByte cube = ToCube(call.seq);
    const VecInt periods = ToVector<VecInt>(call.periods), iroi = ToVector<VecInt>(call.iroi);
    const VecFloat params = ToVector<VecFloat>(call.params);
    VecInt oroi = ToVector<VecInt>(call.oroi);
    Result result;
    testing::internal::CaptureStderr();
    testing::internal::CaptureStdout();
    result.code =
        Detect(call.roiNr, cube, call.usePeriods, periods, iroi, params, oroi, pictures.detected,
               pictures.hough, pictures.u_sum_sh, pictures.v_sum_sh, pictures.mag_sh, pictures.bgShort);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    result.err = testing::internal::GetCapturedStderr();
    result.oroi = ToValues(oroi);
    result.params = ToValues(params);
    result.detected = ToPicture(pictures.detected);
    result.hough = ToPicture(pictures.hough);
    result.uSumSh = ToPicture(pictures.u_sum_sh);
    result.vSumSh = ToPicture(pictures.v_sum_sh);
    result.magSh = ToPicture(pictures.mag_sh);
    result.bgShort = ToPicture(pictures.bgShort);
    EXPECT_TRUE(Same(ToSequence(cube), call.seq)); // read only
    EXPECT_EQ(ToValues(periods), call.periods);
    EXPECT_EQ(ToValues(iroi), call.iroi);
    return result;
}

Result RunDetect(const Call& call)
{
    Pictures pictures;
    return RunDetect(call, pictures);
}

testing::AssertionResult SameResult(const Result& actual, const reference::Detection& expected)
{
    const auto differs = [](const char* what) { return testing::AssertionFailure() << what << ": "; };
    if (actual.code != expected.result)
        return differs("code") << actual.code << " instead of " << expected.result;
    if (actual.err != expected.err) return differs("line") << actual.err << " instead of " << expected.err;
    if (actual.oroi != expected.oroi)
        return differs("oroi") << testing::PrintToString(actual.oroi) << " instead of "
                               << testing::PrintToString(expected.oroi);
    if (const auto same = Same(actual.params, expected.params); !same)
        return differs("params") << same.message();
    if (const auto same = Same(actual.detected, expected.detected); !same)
        return differs("detected") << same.message();
    if (const auto same = Same(actual.uSumSh, expected.uSumSh); !same)
        return differs("u_sum_sh") << same.message();
    if (const auto same = Same(actual.vSumSh, expected.vSumSh); !same)
        return differs("v_sum_sh") << same.message();
    if (const auto same = Same(actual.magSh, expected.magSh); !same)
        return differs("mag_sh") << same.message();
    if (const auto same = Same(actual.hough, expected.hough); !same)
        return differs("hough") << same.message();
    if (const auto same = Same(actual.bgShort, expected.bgShort); !same)
        return differs("bgShort") << same.message();
    return testing::AssertionSuccess();
}

reference::Detection Predict(const Call& call, const reference::TestQ& testq = {})
{
    return reference::Detect(call.roiNr, call.seq, call.usePeriods, call.periods, call.iroi, call.params,
                             call.oroi, testq, reference::SumPatternByRuns);
}

testing::AssertionResult AgreesWithTheReference(const Call& call)
{
    return SameResult(RunDetect(call), Predict(call));
}

/// One still frame: no flow, so that the ring search finds (rint(outerR), rint(outerR)) and the votes (0, 0).
Call StillCall()
{
    Call call = CallFor(NoiseFrames(60, 50, 1, 1));
    call.params = {14, 0, 5, 4, 20, 10, 2, 8, -1, 0, 360, 36, 1, 0};
    return call;
}

void ExpectFailure(const Call& call, int code, const std::string& line)
{
    const Result result = RunDetect(call);
    EXPECT_EQ(result.code, code);
    EXPECT_EQ(result.err, line + "\n");
    EXPECT_TRUE(SameResult(result, Predict(call)));
}

void ExpectFound(const Call& call)
{
    const Result result = RunDetect(call);
    EXPECT_EQ(result.code, 0);
    EXPECT_EQ(result.err, "");
    EXPECT_TRUE(SameResult(result, Predict(call)));
}

void ExpectRangeHalt(const Call& call)
{
    EXPECT_THROW(Predict(call), reference::FailStop);
    const FailStop stop = RunUntilHalt([&] {
        Pictures p;
        VecInt oroi = ToVector<VecInt>(call.oroi);
        Detect(call.roiNr, ToCube(call.seq), call.usePeriods, ToVector<VecInt>(call.periods),
               ToVector<VecInt>(call.iroi), ToVector<VecFloat>(call.params), oroi, p.detected, p.hough,
               p.u_sum_sh, p.v_sum_sh, p.mag_sh, p.bgShort);
    });
    EXPECT_TRUE(stop.halted) << stop.state;
    EXPECT_EQ(stop.err, ErrorLine("RNG: Invalid range selection") + "\n");
    EXPECT_EQ(stop.out, "");
}

const char invalidParams[] = "Error 1: Invalid argument <params>";

// ---------------------------------------------------------------------------------- checks

TEST(Detect, RegionNumberIsOneToFour)
{
    Call call = StillCall();
    for (const int roiNr : {0, 5, -1, INT_MIN, INT_MAX}) {
        call.roiNr = roiNr;
        ExpectFailure(call, -1, "Error 1: Invalid argument <roiNr>");
    }
    for (int roiNr = 1; roiNr <= 4; roiNr++) {
        call.roiNr = roiNr;
        ExpectFound(call);
    }
}

TEST(Detect, RegionsHaveFiveElements)
{
    for (const std::size_t size : {std::size_t{0}, std::size_t{4}, std::size_t{6}}) {
        Call call = StillCall();
        call.iroi.resize(size);
        ExpectFailure(call, -1, "Error 1: Invalid argument <iroi>");
        call = StillCall();
        call.oroi.resize(size);
        ExpectFailure(call, -1, "Error 1: Invalid argument <oroi>");
    }
}

TEST(Detect, ParametersAreFourteen)
{
    for (const std::size_t size : {std::size_t{0}, std::size_t{13}, std::size_t{15}}) {
        Call call = StillCall();
        call.params.resize(size);
        ExpectFailure(call, -1, invalidParams);
        // Before anything is looked at: the size of the region and the geometry would fail as well.
        call.iroi[2] = 7;
        if (size > 4) call.params[cx] = 1e6f;
        ExpectFailure(call, -1, invalidParams);
    }
}

TEST(Detect, RegionHasTheSizeOfTheFrames)
{
    for (const std::size_t side : {std::size_t{2}, std::size_t{3}}) {
        for (const int difference : {-1, 1, -1000}) {
            Call call = StillCall();
            call.iroi[side] += difference;
            ExpectFailure(call, -1, "Error 1: Invalid input, mismatch between <seq> size and <iroi>");
        }
    }
    Call swapped = StillCall();
    swapped.iroi = {0, 0, 50, 60, 1};
    ExpectFailure(swapped, -1, "Error 1: Invalid input, mismatch between <seq> size and <iroi>");
}

TEST(Detect, SequenceWithoutFramesHasNoSize)
{
    Call call = StillCall();
    call.seq = Sequence(call.seq.w, call.seq.h, 0);
    const Result result = RunDetect(call);
    EXPECT_EQ(result.code, -1);
    EXPECT_EQ(result.err, "Error 1: Invalid input, mismatch between <seq> size and <iroi>\n");
    EXPECT_TRUE(result.detected.Empty());
    EXPECT_EQ(result.oroi, call.oroi);
}

TEST(Detect, CentreColumnLiesLeftOfTheWidth)
{
    Call call = StillCall();
    call.params[wid] = 5;
    call.params[cx] = 5;
    ExpectFailure(call, -1, invalidParams);
    call.params[cx] = std::nextafter(5.0f, 6.0f);
    ExpectFailure(call, -1, invalidParams);
    call.params[cx] = std::nextafter(5.0f, 4.0f);
    ExpectFound(call);
    for (const float other : {notANumber, infinity}) {
        call.params[cx] = other;
        ExpectFailure(call, -1, invalidParams);
    }
    call = StillCall();
    for (const float other : {notANumber, -infinity}) {
        call.params[wid] = other;
        ExpectFailure(call, -1, invalidParams);
    }
}

TEST(Detect, CentreRowMayEqualTheHeight)
{
    Call call = StillCall();
    call.params[hgh] = 4;
    call.params[cy] = 4;
    ExpectFound(call);
    call.params[cy] = std::nextafter(4.0f, 5.0f);
    ExpectFailure(call, -1, invalidParams);
}

TEST(Detect, InnerRadiusIsBelowTheOuterAndNotNegative)
{
    Call call = StillCall();
    call.params[innerR] = 8;
    ExpectFailure(call, -1, invalidParams);
    call.params[innerR] = 9;
    ExpectFailure(call, -1, invalidParams);
    call.params[innerR] = std::nextafter(8.0f, 0.0f);
    ExpectFound(call);
    for (const float zero : {0.0f, -0.0f}) {
        call.params[innerR] = zero;
        ExpectFound(call);
    }
    for (const float other :
         {-std::numeric_limits<float>::denorm_min(), -1.0f, notANumber, -infinity, infinity}) {
        call.params[innerR] = other;
        ExpectFailure(call, -1, invalidParams);
    }
    call = StillCall();
    for (const float other : {notANumber, 0.0f, -5.0f, -infinity}) {
        call.params[outerR] = other;
        ExpectFailure(call, -1, invalidParams);
    }
}

TEST(Detect, WheelTypeRoundsToZero)
{
    Call call = StillCall();
    for (const float type : {1.0f, -1.0f, 0.51f, -0.51f, 1.5f, 2.0f, 1e30f, -1e30f, infinity, -infinity}) {
        call.params[wmType] = type;
        ExpectFailure(call, -1, "Error 1: Invalid argument <params>, wmType != 0 not supported");
    }
    for (const float type :
         {0.5f, -0.5f, 0.4f, -0.0f, notANumber}) { // ties to even; what is not a number becomes 0
        call.params[wmType] = type;
        ExpectFound(call);
    }
}

TEST(Detect, ChecksComeInTheirOrder)
{
    // Everything is wrong at first; repaired one by one, each check comes to the fore.
    Call call = StillCall();
    const Call good = call;
    call.roiNr = 5;
    call.iroi = {0, 0, 1, 1};
    call.oroi = {0};
    call.params.resize(13);
    ExpectFailure(call, -1, "Error 1: Invalid argument <roiNr>");
    call.roiNr = 1;
    ExpectFailure(call, -1, "Error 1: Invalid argument <iroi>");
    call.iroi.push_back(1);
    ExpectFailure(call, -1, "Error 1: Invalid argument <oroi>");
    call.oroi = good.oroi;
    ExpectFailure(call, -1, invalidParams);
    call.params = good.params;
    call.params[wmType] = 3;
    call.params[cy] = 11;
    ExpectFailure(call, -1, "Error 1: Invalid input, mismatch between <seq> size and <iroi>");
    call.iroi = good.iroi;
    ExpectFailure(call, -1, invalidParams);
    call.params[cy] = 4;
    ExpectFailure(call, -1, "Error 1: Invalid argument <params>, wmType != 0 not supported");
    call.params[wmType] = 0;
    ExpectFound(call);
}

TEST(Detect, BadArgumentsLeaveEverythingUntouched)
{
    std::vector<Call> calls(7, StillCall());
    calls[0].roiNr = 0;
    calls[1].iroi.push_back(3);
    calls[2].oroi = {7, 8, 9};
    calls[3].params.push_back(4);
    calls[4].iroi[2] = 61;
    calls[5].params[innerR] = -1;
    calls[6].params[wmType] = 1;
    for (Call& call : calls) {
        if (call.params.size() > ang1) call.params[ang1] = -90;
        Pictures pictures;
        pictures.detected.Resize(3, 2);
        pictures.detected.Fill(7);
        for (MatShort* picture :
             {&pictures.hough, &pictures.u_sum_sh, &pictures.v_sum_sh, &pictures.mag_sh, &pictures.bgShort}) {
            picture->Resize(2, 3);
            picture->Fill(9);
        }
        const Result result = RunDetect(call, pictures);
        EXPECT_EQ(result.code, -1);
        EXPECT_EQ(result.oroi, call.oroi);
        EXPECT_TRUE(Same(result.params, call.params));
        EXPECT_TRUE(Same(result.detected, BytePicture(3, 2, 7)));
        for (const ShortPicture* picture :
             {&result.hough, &result.uSumSh, &result.vSumSh, &result.magSh, &result.bgShort})
            EXPECT_TRUE(Same(*picture, ShortPicture(2, 3, 9)));
    }
}

TEST(Detect, PeriodsOfAnyLengthAreNoError)
{
    for (const Ints& periods : {Ints{}, Ints{1}, Ints{2}, Ints{1, 2}, Ints(60, 1)}) {
        for (const bool usePeriods : {false, true}) {
            Call call = StillCall();
            call.periods = periods;
            call.usePeriods = usePeriods;
            ExpectFound(call);
        }
    }
}

// ---------------------------------------------------------------------------------- drawn wheels

/// Distance from the true centre, which lies at (cx, cy) of the output region.
double CentreError(const Call& call, const Result& result, const WheelScene& scene)
{
    return std::hypot(static_cast<float>(result.oroi[0] - call.iroi[0]) + call.params[cx] - scene.centreX,
                      static_cast<float>(result.oroi[1] - call.iroi[1]) + call.params[cy] - scene.centreY);
}

TEST(Detect, RingSearchFindsTheCentreOfADrawnWheel)
{
    for (const double speed : {1.5, -1.5, 0.8}) {
        const WheelScene scene = SmallWheel(speed);
        Call call = CallFor(WheelFrames(scene, 6));
        call.params[angSpd] = speed > 0 ? 1 : -1;
        const Result result = RunDetect(call);
        EXPECT_EQ(result.code, 0);
        EXPECT_LE(CentreError(call, result, scene), 2) << speed;
        EXPECT_TRUE(SameResult(result, Predict(call))) << speed;
    }
}

TEST(Detect, VotesFindTheCentreOfADrawnWheelByEitherSense)
{
    for (const double speed : {1.5, -1.5}) {
        const WheelScene scene = SmallWheel(speed);
        Call call = CallFor(WheelFrames(scene, 6));
        call.params[angSpd] = speed > 0 ? 1 : -1;
        call.params[R3] = 0;
        const Result result = RunDetect(call);
        EXPECT_EQ(result.code, 0);
        EXPECT_LE(CentreError(call, result, scene), 7) << speed; // half the ring's width
        EXPECT_TRUE(SameResult(result, Predict(call))) << speed;
    }
}

TEST(Detect, ThirdRadiusAgreesWithTheReference)
{
    for (const float sense : {1.0f, -1.0f}) {
        const Sequence frames = WheelFrames(SmallWheel(sense * 1.2), 4);
        for (const float r3 : {0.0f, -0.0f, 0.5f, 1.5f, 5.0f, 40.0f, -0.001f, -1.0f, notANumber}) {
            Call call = CallFor(frames);
            call.params[angSpd] = sense;
            call.params[R3] = r3;
            call.params[cx] = call.params[cy] = 20;
            call.params[wid] = call.params[hgh] = 45;
            EXPECT_TRUE(AgreesWithTheReference(call)) << sense << ", " << r3;
        }
    }
}

TEST(Detect, ThirdRadiusThatIsNotANumberSelectsTheRingSearch)
{
    const WheelScene scene = SmallWheel();
    Call call = CallFor(WheelFrames(scene, 4));
    call.params[R3] = notANumber;
    const Result result = RunDetect(call);
    EXPECT_EQ(result.code, 0);
    EXPECT_TRUE(result.hough.Empty());
    EXPECT_LE(CentreError(call, result, scene), 2);
}

TEST(Detect, ShiftedRegionsGiveFullFramePixels)
{
    for (const float r3 : {-1.0f, 0.0f}) {
        Call call = CallFor(WheelFrames(SmallWheel(), 4));
        call.params[R3] = r3;
        const Result atZero = RunDetect(call);
        ASSERT_EQ(atZero.code, 0);
        call.iroi = {700, 333, 160, 120, 99}; // the fifth is not looked at
        const Result shifted = RunDetect(call);
        EXPECT_EQ(shifted.oroi, (Ints{atZero.oroi[0] + 700, atZero.oroi[1] + 333, 100, 80, 1}));
        EXPECT_TRUE(Same(shifted.detected, atZero.detected));
        EXPECT_TRUE(SameResult(shifted, Predict(call)));
    }
}

TEST(Detect, NoiseAgreesWithTheReference)
{
    Dice dice(3);
    for (int round = 0; round < 60; round++) {
        const int w = dice.Between(3, 60), h = dice.Between(3, 50);
        // Every second one is black and white, where the flow wraps.
        Sequence seq = NoiseFrames(w, h, dice.Between(1, 5), static_cast<unsigned>(round));
        if (dice.OneIn(2))
            for (std::uint8_t& grey : seq.a) grey = grey < 128 ? 0 : 255;
        Call call = CallFor(seq);
        call.iroi[0] = dice.Between(0, 500);
        call.iroi[1] = dice.Between(0, 500);
        call.usePeriods = dice.OneIn(2);
        call.periods.clear();
        for (int i = dice.Between(0, seq.n + 2); i > 0; i--) call.periods.push_back(dice.Between(0, 2));
        call.params[cx] = static_cast<float>(dice.Between(-10, 10));
        call.params[cy] = static_cast<float>(dice.Between(-10, 10));
        call.params[wid] = call.params[cx] + static_cast<float>(dice.Between(1, 20)) / 4;
        call.params[hgh] = call.params[cy] + static_cast<float>(dice.Between(0, 20)) / 4;
        call.params[innerR] = static_cast<float>(dice.Between(0, 6));
        call.params[outerR] = call.params[innerR] + static_cast<float>(dice.Between(1, 12)) / 4;
        call.params[R3] = static_cast<float>(dice.Between(-2, 3));
        call.params[ang1] = static_cast<float>(dice.Between(-400, 800));
        call.params[ang2] = static_cast<float>(dice.Between(-400, 800));
        call.params[angSpd] = static_cast<float>(dice.Between(-1, 1));
        ASSERT_TRUE(AgreesWithTheReference(call)) << round;
    }
}

TEST(Detect, SteppedAndReversedFramesGiveTheSame)
{
    Call call = CallFor(WheelFrames(SmallWheel(), 4));
    call.params[bkgCorr] = -50;
    for (const float r3 : {-1.0f, 0.0f}) {
        call.params[R3] = r3;
        const Result dense = RunDetect(call);
        ASSERT_EQ(dense.code, 0);

        CubByte large(3 * 160, 2 * 120, 8);
        large.Fill(77);
        CubByte part = large(RNG(478, 1, -3), RNG(1, 239, 2), RNG(7, 1, -2));
        ASSERT_EQ(part.dim1, 160);
        ASSERT_EQ(part.dim2, 120);
        ASSERT_EQ(part.dim3, 4);
        part = ToCube(call.seq);
        Pictures p;
        VecInt oroi(5);
        ASSERT_EQ(Detect(1, part, false, VecInt(1), ToVector<VecInt>(call.iroi),
                         ToVector<VecFloat>(call.params), oroi, p.detected, p.hough, p.u_sum_sh, p.v_sum_sh,
                         p.mag_sh, p.bgShort),
                  0);
        EXPECT_EQ(ToValues(oroi), dense.oroi);
        EXPECT_TRUE(Same(ToPicture(p.detected), dense.detected));
        EXPECT_TRUE(Same(ToPicture(p.hough), dense.hough));
        EXPECT_TRUE(Same(ToPicture(p.mag_sh), dense.magSh));
        EXPECT_TRUE(Same(ToPicture(p.bgShort), dense.bgShort));
        EXPECT_TRUE(Same(ToSequence(part), call.seq));
    }
}

// ---------------------------------------------------------------------------------- periods

/// The flow pictures of these runs of frames, each from first to last.
reference::Detection FlowOf(const Sequence& seq, const std::vector<std::pair<int, int>>& runs)
{
    reference::Picture<std::int32_t> u_sum(seq.w + 1, seq.h + 1), v_sum(seq.w + 1, seq.h + 1);
    for (const auto& [first, last] : runs)
        EXPECT_EQ(reference::OpticalFlow12Alt(seq.Frames(first, last), u_sum, v_sum, 2), 0);
    reference::Detection d;
    reference::OfNorm(u_sum, v_sum, d.uSumSh, d.vSumSh, d.magSh);
    return d;
}

void ExpectRuns(bool usePeriods, const Ints& periods, int frames,
                const std::vector<std::pair<int, int>>& runs)
{
    SCOPED_TRACE(testing::PrintToString(periods));
    Call call = StillCall();
    call.seq = NoiseFrames(60, 50, frames, 17);
    call.params[cx] = call.params[cy] = 0;
    call.params[wid] = call.params[hgh] = 1;
    call.usePeriods = usePeriods;
    call.periods = periods;
    const Result result = RunDetect(call);
    const reference::Detection flow = FlowOf(call.seq, runs);
    EXPECT_EQ(result.code, 0);
    EXPECT_TRUE(Same(result.uSumSh, flow.uSumSh));
    EXPECT_TRUE(Same(result.vSumSh, flow.vSumSh));
    EXPECT_TRUE(Same(result.magSh, flow.magSh));
    EXPECT_TRUE(SameResult(result, Predict(call)));
}

TEST(Detect, WithoutPeriodsTheWholeSequenceFlows)
{
    ExpectRuns(false, {5}, 6, {{0, 5}});
    ExpectRuns(false, {0, 0, 0, 0, 0, 0}, 6, {{0, 5}});
    ExpectRuns(false, {}, 3, {{0, 2}});
}

TEST(Detect, PairsOfFramesJoinedByPeriods)
{
    ExpectRuns(true, {1, 0, 1, 0, 1, 0}, 6, {{0, 1}, {2, 3}, {4, 5}});
    ExpectRuns(true, {1, 3, 1, 3}, 4, {{0, 1}, {2, 3}});
    ExpectRuns(true, {1, 3, 1, 3, 1}, 5, {{0, 1}, {2, 3}});
    ExpectRuns(true, {3, 1, 3, 1, 3, 1}, 6, {{1, 2}, {3, 4}});
}

TEST(Detect, PeriodsWithoutAnyOneGiveNoFlow)
{
    for (const Ints& periods : {Ints{0, 0, 0, 0}, Ints{2, 3, 2, 3}, Ints{-1, 11, 0, 2}, Ints{}}) {
        ExpectRuns(true, periods, 4, {});
        Call call = StillCall();
        call.seq = NoiseFrames(60, 50, 4, 18);
        call.usePeriods = true;
        call.periods = periods;
        EXPECT_TRUE(Same(RunDetect(call).uSumSh, ShortPicture(61, 51)));
        EXPECT_TRUE(Same(RunDetect(call).vSumSh, ShortPicture(61, 51)));
        EXPECT_TRUE(Same(RunDetect(call).magSh, ShortPicture(61, 51)));
    }
}

TEST(Detect, PeriodsOfOneJoinAllFrames)
{
    ExpectRuns(true, {1, 1, 1, 1, 1, 1}, 6, {{0, 5}});
    ExpectRuns(true, {1, 1, 1, 1, 1}, 6, {{0, 5}});
    ExpectRuns(true, Ints(50, 1), 6, {{0, 5}});
    // Only the last pair is left out.
    ExpectRuns(true, {1, 1, 1, 1, 2, 1}, 6, {{0, 4}});
    // A run of its own behind a gap.
    ExpectRuns(true, {1, 1, 2, 1, 1, 1}, 6, {{0, 2}, {3, 5}});
}

TEST(Detect, PeriodsShorterThanTheSequenceEndTheRuns)
{
    ExpectRuns(true, {1}, 6, {{0, 1}});
    ExpectRuns(true, {1, 1, 1}, 6, {{0, 3}});
    ExpectRuns(true, {2, 1}, 6, {{1, 2}});
    ExpectRuns(true, {5}, 6, {});
}

TEST(Detect, SingleFrameHasNoFlow)
{
    for (const bool usePeriods : {false, true}) ExpectRuns(usePeriods, {1, 1, 1}, 1, {});
}

// ---------------------------------------------------------------------------------- angles

TEST(Detect, AnglesAreNormalisedInTheCallersParameters)
{
    struct Case {
        float ang1, ang2, expected1, expected2;
    };
    const float below0 = -std::numeric_limits<float>::denorm_min();
    for (const Case& c : std::vector<Case>{
             {-90, 90, 270, 450},
             {10, 10, 10, 370},
             {0, 360, 0, 360},     // 360 becomes 0 first
             {0, 0, 0, 360},       //
             {30, 20, 30, 380},    //
             {20, 30, 20, 30},     //
             {-360, -360, 0, 360}, //
             {359.5f, 1, 359.5f, 361},
             {360, 719, 0, 359},
             {719, 0, 359, 360},
             {-0.5f, -0.25f, 359.5f, 359.75f},
             {-1, 700, 359, 700},  // 340 is not above 359
             {720, 0, 360, 360},   // one turn only, beyond the span of two
             {1000, 30, 640, 390}, // 390 does not get above 640
             {-400, 0, -40, 0},
             {-1000, -900, -640, -540},
             {below0, 0, 0, 360}, // the sum rounds to 360, which is taken off again
             {-0.0f, -0.0f, -0.0f, 360},
         }) {
        for (const float r3 : {-1.0f, 0.0f}) {
            Call call = StillCall();
            if (r3 == 0) call.params[cx] = call.params[cy] = 0;
            call.params[R3] = r3;
            call.params[ang1] = c.ang1;
            call.params[ang2] = c.ang2;
            const Result result = RunDetect(call);
            EXPECT_EQ(result.code, 0);
            EXPECT_EQ(result.params[ang1], c.expected1) << c.ang1 << ", " << c.ang2;
            EXPECT_EQ(result.params[ang2], c.expected2) << c.ang1 << ", " << c.ang2;
            EXPECT_EQ(std::signbit(result.params[ang1]), std::signbit(c.expected1)) << "the sign of zero";
            EXPECT_TRUE(SameResult(result, Predict(call)));
            call.params[ang1] = result.params[ang1];
            call.params[ang2] = result.params[ang2];
            EXPECT_TRUE(Same(result.params, call.params)); // the others stay
        }
    }
}

TEST(Detect, AnglesThatAreNoNumbersStay)
{
    for (const auto& [a, b] : std::vector<std::pair<float, float>>{{notANumber, 10},
                                                                   {10, notANumber},
                                                                   {notANumber, notANumber},
                                                                   {infinity, 5},
                                                                   {5, -infinity},
                                                                   {1e30f, -1e30f}}) {
        Call call = StillCall();
        call.params[ang1] = a;
        call.params[ang2] = b;
        ExpectFound(call);
    }
}

TEST(Detect, AnglesAreNormalisedWhereTheRegionIsOutOfRangeToo)
{
    Call call = StillCall();
    call.params[cx] = 12;
    call.params[ang1] = -90;
    call.params[ang2] = 90;
    const Result result = RunDetect(call);
    EXPECT_EQ(result.code, -4);
    EXPECT_EQ(result.params[ang1], 270);
    EXPECT_EQ(result.params[ang2], 450);
}

// ---------------------------------------------------------------------------------- range of the region

const std::string outOfRange = "Error 4: Calculated <oroi> is out of range, ";

TEST(Detect, RegionEndsAtLeastOnePixelInside)
{
    // The centre is (8, 8) of 60 x 50 pixels.
    Call call = StillCall();
    call.params[wid] = 56; // 8 - 5 + 56 = 59
    ExpectFound(call);
    EXPECT_EQ(RunDetect(call).oroi, (Ints{3, 4, 56, 10, 1}));
    call.params[wid] = 57; // flush right
    ExpectFailure(call, -4, outOfRange + "f_cx = 8, f_cy = 8");
    call.params[wid] = 20;
    call.params[hgh] = 45; // 8 - 4 + 45 = 49
    ExpectFound(call);
    call.params[hgh] = 46;
    ExpectFailure(call, -4, outOfRange + "f_cx = 8, f_cy = 8");
}

TEST(Detect, RegionBeginsInside)
{
    Call call = StillCall();
    call.params[cx] = 8;
    call.params[cy] = 8;
    ExpectFound(call);
    EXPECT_EQ(RunDetect(call).oroi, (Ints{0, 0, 20, 10, 1}));
    call.params[cx] = 9;
    ExpectFailure(call, -4, outOfRange + "f_cx = 8, f_cy = 8");
    call.params[cx] = 8;
    call.params[cy] = 9;
    ExpectFailure(call, -4, outOfRange + "f_cx = 8, f_cy = 8");
}

TEST(Detect, RangeTestRoundsTiesToEven)
{
    Call call = StillCall();
    call.params[cx] = 8.5f; // -0.5 rounds to -0
    ExpectFound(call);
    EXPECT_EQ(RunDetect(call).oroi[0], 0);
    call.params[cx] = 8.6f;
    ExpectFailure(call, -4, outOfRange + "f_cx = 8, f_cy = 8");
    call = StillCall();
    call.params[cy] = 8.5f;
    ExpectFound(call);
    call.params[cy] = 8.6f;
    ExpectFailure(call, -4, outOfRange + "f_cx = 8, f_cy = 8");
    call = StillCall();
    call.params[wid] = 56.4f; // 59.4
    ExpectFound(call);
    call.params[wid] = 56.5f; // 59.5 rounds to 60
    ExpectFailure(call, -4, outOfRange + "f_cx = 8, f_cy = 8");
    call.params[wid] = 20.5f; // the width by itself
    ExpectFound(call);
    EXPECT_EQ(RunDetect(call).oroi[2], 20);
    call.params[wid] = 21.5f;
    EXPECT_EQ(RunDetect(call).oroi[2], 22);
}

TEST(Detect, FailureOfTheRangeKeepsWhatWasFound)
{
    Call call = CallFor(WheelFrames(SmallWheel(), 4));
    call.params[wid] = 150;
    call.params[bkgCorr] = -50;
    for (const float r3 : {-1.0f, 0.0f}) {
        call.params[R3] = r3;
        const Result result = RunDetect(call);
        EXPECT_EQ(result.code, -4);
        EXPECT_EQ(result.oroi, (Ints{0, 0, 150, 80, 1}));
        EXPECT_TRUE(Same(result.detected, call.seq.Frame(0))); // without marks
        EXPECT_FALSE(result.magSh.Empty());
        EXPECT_EQ(result.hough.Empty(), r3 < 0);
        EXPECT_TRUE(result.bgShort.Empty());
        EXPECT_TRUE(SameResult(result, Predict(call)));
    }
}

TEST(Detect, PictureSmallerThanTheRingIsOutOfRange)
{
    Call call = StillCall();  // the motion picture is 61 x 51
    call.params[outerR] = 25; // 51 x 51
    ExpectFound(call);
    EXPECT_EQ(RunDetect(call).oroi, (Ints{20, 21, 20, 10, 1}));
    call.params[outerR] = 25.5f; // 26 after rounding
    ExpectFailure(call, -4, outOfRange + "f_cx = -inf, f_cy = -inf");
    for (const float radius : {1000.0f, 1e9f, 1e30f, infinity}) {
        call.params[outerR] = radius;
        ExpectFailure(call, -4, outOfRange + "f_cx = -inf, f_cy = -inf");
    }
}

TEST(Detect, NumbersThatAreNoneFailTheRangeTest)
{
    for (const std::size_t i : {std::size_t{cy}, std::size_t{hgh}}) {
        Call call = StillCall();
        call.params[i] = notANumber;
        ExpectFailure(call, -4, outOfRange + "f_cx = 8, f_cy = 8");
    }
}

TEST(Detect, HugeParametersDoNotWrap)
{
    const std::vector<float> numbers = {-infinity,      -3.4e38f,  -1e18f,   -4294967296.0f, -2147483648.0f,
                                        -2147483520.0f, -70000.0f, 70000.0f, 2147483520.0f,  2147483648.0f,
                                        1e18f,          3.4e38f,   infinity};
    Dice dice(5);
    int found = 0;
    for (int round = 0; round < 600; round++) {
        Call call = StillCall();
        if (dice.OneIn(2)) call.params[R3] = dice.OneIn(2) ? 0 : 3.4e38f;
        for (int k = dice.Between(1, 4); k > 0; k--) {
            const auto i = static_cast<std::size_t>(dice.Between(cx, angSpd));
            call.params[i] = dice.Of(numbers);
            if (i == cx && dice.OneIn(2)) call.params[wid] = call.params[cx];
            if (i == cy && dice.OneIn(2)) call.params[hgh] = call.params[cy];
        }
        const Result result = RunDetect(call);
        ASSERT_TRUE(SameResult(result, Predict(call)))
            << round << ": " << testing::PrintToString(call.params);
        found += result.code == 0;
    }
    EXPECT_GT(found, 30);
}

TEST(Detect, CentreFarOutsideItsRegion)
{
    // Both corners of the region lie near the ends of the 32-bit range, and their difference is small.
    Call call = StillCall();
    call.params[cx] = -2147483648.0f;
    call.params[wid] = -2147483520.0f;
    call.params[cy] = -2147483648.0f;
    call.params[hgh] = -2147483648.0f;
    call.params[ang2] = 90;
    ExpectFailure(call, -4, outOfRange + "f_cx = 8, f_cy = 8"); // 128 columns are too many for 60
    call.seq = NoiseFrames(200, 150, 1, 3);
    call.iroi = {0, 0, 200, 150, 1};
    ExpectFound(call);
    EXPECT_EQ(RunDetect(call).oroi, (Ints{INT_MAX, INT_MAX, -2147483520, INT_MIN, 1}));
}

TEST(Detect, NegativeWidthGivesARegionWithoutPixels)
{
    for (const float r3 : {-1.0f, 0.0f}) {
        Call call = StillCall();
        call.params[R3] = r3;
        call.params[wid] = -10;
        call.params[cx] = -30;
        call.params[hgh] = -5;
        call.params[cy] = -5;
        ExpectFound(call);
        const int at = r3 < 0 ? 8 : 0;
        EXPECT_EQ(RunDetect(call).oroi, (Ints{at + 30, at + 5, -10, -5, 1}));
    }
}

// ---------------------------------------------------------------------------------- background

TEST(Detect, BackgroundIsTheMedianOfTheRegionTimes16)
{
    Call call = CallFor(WheelFrames(SmallWheel(), 9));
    call.params[bkgCorr] = -50;
    const Result result = RunDetect(call);
    ASSERT_EQ(result.code, 0);
    ASSERT_EQ(result.bgShort.w, 100);
    ASSERT_EQ(result.bgShort.h, 80);
    for (int y = 0; y < 80; y++) {
        for (int x = 0; x < 100; x++) {
            std::vector<int> greys;
            for (int t = 0; t < 9; t++)
                greys.push_back(call.seq.At(result.oroi[0] + x, result.oroi[1] + y, t));
            std::sort(greys.begin(), greys.end());
            ASSERT_EQ(result.bgShort.At(x, y), greys[4] * 16) << x << ", " << y;
        }
    }
    EXPECT_TRUE(SameResult(result, Predict(call)));
}

TEST(Detect, BackgroundNeedsANegativeCorrection)
{
    for (const float correction : {0.0f, -0.0f, 1.0f, 50.0f, infinity, notANumber}) {
        Call call = StillCall();
        call.params[bkgCorr] = correction;
        EXPECT_TRUE(RunDetect(call).bgShort.Empty()) << correction;
        Pictures pictures;
        pictures.bgShort.Resize(4, 3);
        pictures.bgShort.Fill(11);
        EXPECT_TRUE(Same(RunDetect(call, pictures).bgShort, ShortPicture(4, 3, 11))) << correction;
    }
}

TEST(Detect, BackgroundPercentileIsRoundedAndHeld)
{
    Call call = StillCall();
    call.seq = NoiseFrames(60, 50, 5, 6);
    call.params[R3] = 0;
    call.params[angSpd] = 0; // the centre is (0, 0)
    call.params[cx] = -7;
    call.params[cy] = -6;
    call.iroi[0] = 100; // the background is cut from the frames all the same
    for (const float correction : {-0.001f, -0.5f, -19.4f, -19.5f, -20.5f, -50.0f, -99.0f, -100.0f, -1000.0f,
                                   -2147483648.0f, -1e30f, -infinity}) {
        call.params[bkgCorr] = correction;
        ExpectFound(call);
    }
    const auto background = [&](float correction) {
        call.params[bkgCorr] = correction;
        return RunDetect(call).bgShort;
    };
    EXPECT_TRUE(Same(background(-0.4f), background(-19)));  // ranks 0
    EXPECT_TRUE(Same(background(-19.5f), background(-20))); // ties to even: 20, rank 1
    EXPECT_FALSE(Same(background(-19), background(-20)));
    EXPECT_TRUE(Same(background(-1e30f), background(-99)));
}

TEST(Detect, BackgroundOfARegionWithoutPixelsHalts)
{
    for (const auto& [side, centre] :
         std::vector<std::pair<std::size_t, std::size_t>>{{wid, cx}, {hgh, cy}}) {
        for (const float size : {0.0f, -10.0f}) {
            Call call = StillCall();
            call.params[bkgCorr] = -50;
            call.params[side] = size;
            call.params[centre] = size - 3;
            ExpectRangeHalt(call);
        }
    }
}

// ---------------------------------------------------------------------------------- outputs

TEST(Detect, ResultPictureDoesNotShareWithTheFrames)
{
    const Call call = StillCall();
    const CubByte cube = ToCube(call.seq);
    Pictures p;
    VecInt oroi(5);
    ASSERT_EQ(Detect(1, cube, false, VecInt(1), ToVector<VecInt>(call.iroi), ToVector<VecFloat>(call.params),
                     oroi, p.detected, p.hough, p.u_sum_sh, p.v_sum_sh, p.mag_sh, p.bgShort),
              0);
    EXPECT_NE(p.detected.pblock, cube.pblock);
    p.detected.Fill(1);
    EXPECT_TRUE(Same(ToSequence(cube), call.seq));
}

TEST(Detect, RingSearchLeavesTheVotesAlone)
{
    Pictures pictures;
    pictures.hough.Resize(5, 4);
    pictures.hough.Fill(33);
    const Result result = RunDetect(StillCall(), pictures);
    EXPECT_EQ(result.code, 0);
    EXPECT_TRUE(Same(result.hough, ShortPicture(5, 4, 33)));
}

TEST(Detect, PicturesFromBeforeAreReplaced)
{
    Pictures pictures;
    for (const Sequence& seq :
         {WheelFrames(SmallWheel(), 3), WheelFrames(SmallWheel(-1), 4), NoiseFrames(70, 50, 3, 2)}) {
        Call call = CallFor(seq);
        call.params = {14, 0, -1, -1, 2, 2, 3, 5, 0, 0, 360, 36, 1, -50};
        // These two keep a size that they have.
        pictures.detected.Resize(seq.w, seq.h);
        pictures.bgShort.Resize(2, 2);
        const Result result = RunDetect(call, pictures);
        EXPECT_EQ(result.code, 0);
        EXPECT_TRUE(SameResult(result, Predict(call)));
    }
}

TEST(Detect, WithoutFlowTheMagnitudeKeepsWhatItHeld)
{
    Call call = StillCall();
    Pictures pictures;
    pictures.mag_sh.Resize(61, 51);
    pictures.mag_sh.Fill(0);
    const auto ring = reference::RingPattern(call.params[innerR], call.params[outerR]);
    for (int y = 0; y < ring.h; y++)
        for (int x = 0; x < ring.w; x++)
            if (ring.At(x, y)) pictures.mag_sh(20 + x, 15 + y) = 5;
    const ShortPicture before = ToPicture(pictures.mag_sh);
    const Result result = RunDetect(call, pictures);
    EXPECT_EQ(result.code, 0);
    EXPECT_TRUE(Same(result.magSh, before));
    EXPECT_TRUE(Same(result.uSumSh, ShortPicture(61, 51)));
    EXPECT_EQ(result.oroi, (Ints{20 + 8 - 5, 15 + 8 - 4, 20, 10, 1})); // the ring was found
}

TEST(Detect, NoSpeedCastsNoVotes)
{
    Call call = CallFor(WheelFrames(SmallWheel(), 3));
    call.params[R3] = 0;
    call.params[angSpd] = 0;
    call.params[cx] = call.params[cy] = -3;
    call.params[wid] = call.params[hgh] = 20;
    const Result result = RunDetect(call);
    EXPECT_EQ(result.code, 0);
    EXPECT_EQ(result.oroi, (Ints{3, 3, 20, 20, 1}));
    EXPECT_TRUE(Same(result.hough, ShortPicture(161, 121)));
    EXPECT_TRUE(SameResult(result, Predict(call)));
}

// ---------------------------------------------------------------------------------- small frames

TEST(Detect, SmallFramesAgreeWithTheReference)
{
    for (int w = 3; w <= 6; w++) {
        for (int h = 3; h <= 6; h++) {
            for (const float r3 : {-1.0f, 0.0f}) {
                Call call = CallFor(NoiseFrames(w, h, 3, static_cast<unsigned>(10 * w + h)));
                call.params = {14, 0, 0, 0, 1, 1, 0, 1, r3, 0, 90, 1, 1, -50};
                ASSERT_TRUE(AgreesWithTheReference(call)) << w << " x " << h << ", " << r3;
            }
        }
    }
}

TEST(Detect, FramesBelowThreePixelsHaltWhereFlowIsAskedFor)
{
    for (const auto& [w, h] : std::vector<std::pair<int, int>>{{2, 5}, {5, 2}, {1, 1}}) {
        Call call = CallFor(NoiseFrames(w, h, 2, 1));
        call.params = {14, 0, 0, 0, 1, 1, 0, 1, -1, 0, 90, 1, 1, 0};
        ExpectRangeHalt(call);
    }
}

TEST(Detect, FramesOfTwoPixelsWithoutFlowAreTaken)
{
    // The votes' picture is 3 x 3 then: its inside is a single pixel.
    for (const float r3 : {-1.0f, 0.0f}) {
        Call call = CallFor(NoiseFrames(2, 2, 2, 1));
        call.usePeriods = true;
        call.periods = {2, 2};
        call.params = {14, 0, 0, 0, 1, 1, 0, 1, r3, 0, 90, 1, 1, -50};
        EXPECT_TRUE(AgreesWithTheReference(call)) << r3;
    }
}

// ---------------------------------------------------------------------------------- cancellation

/// Cancels at every checkpoint in turn.
/// \return how many there were
int CancelEverywhere(const Call& call, const std::function<std::string(int checkpoint)>& expectedLine)
{
    stopAt = 0;
    checkpointsPassed = 0;
    EXPECT_EQ(RunDetect(call).code, 0);
    const int checkpoints = checkpointsPassed;
    for (int stop = 1; stop <= checkpoints; stop++) {
        checkpointsPassed = 0;
        stopAt = stop;
        const Result result = RunDetect(call);
        EXPECT_EQ(checkpointsPassed, stop); // it ended there
        checkpointsPassed = 0;
        const reference::Detection expected = Predict(call, AskAtCheckpoint);
        stopAt = 0;
        EXPECT_EQ(result.code, -2) << stop;
        EXPECT_EQ(result.err, expectedLine(stop) + "\n") << stop;
        // What an abandoned vote picture holds is nobody's business.
        Result comparable = result;
        comparable.hough = expected.hough;
        EXPECT_TRUE(SameResult(comparable, expected)) << stop;
        EXPECT_TRUE(Same(result.detected, call.seq.Frame(0))) << stop; // no marks
        EXPECT_EQ(result.oroi[2], 6) << stop;
    }
    return checkpoints;
}

Call CancelCall(int frames)
{
    Call call = CallFor(NoiseFrames(24, 18, frames, 4));
    call.params = {14, 0, 3, 2, 6, 5, 2, 4, -1, -90, 90, 36, 0, 0};
    return call;
}

TEST(Detect, CancelledInTheFlowOfTheSequence)
{
    const int checkpoints =
        CancelEverywhere(CancelCall(3), [](int) { return "Error 2: Calculation aborted"; });
    // Entry, first frame; for each pair: frame, three derivatives, two squares, and twice row 0 and sweep;
    // end.
    EXPECT_EQ(checkpoints, 2 + 2 * (1 + 3 + 2 + 2 * 2) + 1);
}

TEST(Detect, CancelledInTheFlowOfARun)
{
    Call call = CancelCall(6);
    call.usePeriods = true;
    call.periods = {1, 0, 1, 0, 1, 0};
    const int checkpoints =
        CancelEverywhere(call, [](int) { return "Error 2: Calculation aborted in OpticalFlow12Alt()"; });
    EXPECT_EQ(checkpoints, 3 * (2 + (1 + 3 + 2 + 2 * 2) + 1));
}

TEST(Detect, CancelledInTheVotes)
{
    Call call = CancelCall(2);
    call.params[R3] = 1;
    call.params[cx] = call.params[cy] = 0;
    call.usePeriods = true;
    call.periods = {1, 1};
    constexpr int flow = 2 + (1 + 3 + 2 + 2 * 2) + 1;
    const int checkpoints = CancelEverywhere(call, [](int checkpoint) {
        return checkpoint <= flow ? "Error 2: Calculation aborted in OpticalFlow12Alt()"
                                  : "Error 2: Calculation aborted";
    });
    EXPECT_EQ(checkpoints, flow + 4); // entry, threshold, column 0, end
}

TEST(Detect, AnglesAreNormalisedBetweenFlowAndVotes)
{
    Call call = CancelCall(2);
    call.params[R3] = 1;
    call.params[cx] = call.params[cy] = 0;
    const int flow = 2 + (1 + 3 + 2 + 2 * 2) + 1;
    for (const int stop : {flow, flow + 1}) {
        checkpointsPassed = 0;
        stopAt = stop;
        const Result result = RunDetect(call);
        stopAt = 0;
        EXPECT_EQ(result.code, -2);
        EXPECT_EQ(result.params[ang1], stop == flow ? -90 : 270);
        EXPECT_EQ(result.params[ang2], stop == flow ? 90 : 450);
        EXPECT_EQ(result.uSumSh.Empty(), stop == flow);
    }
}

} // namespace
