// The detection between its steps: which arguments each gets, and what becomes of their results. The flow,
// its normalisation and the votes are doubles here that answer as the test says.
#include <Telvane/Param.h>
#include <Telvane/Telvane.h>

#include <Kavrix/OptFlow.h>

#include <tests/support/Wheels.h>

#include <climits>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace {

/// What was asked of a double.
struct FlowCall {
    Sequence frames;
    int nrIters = 0;
    int sumWidth[2] = {0, 0}, sumHeight[2] = {0, 0};
    int firstSum = 0; ///< of u_sum when it came in
    const void* storage = nullptr;
};

struct VoteCall {
    int width = 0, height = 0, len = 0;
    float r1 = 0, r2 = 0, r3f = 0, speed = 0;
};

struct Doubles {
    std::vector<int> flowResults; ///< one after the other; 0 when they are used up
    int voteResult = 0;
    std::function<void(MatShort& hough)> votes = [](MatShort& hough) { hough.Fill(0); };

    std::vector<FlowCall> flowCalls;
    std::vector<VoteCall> voteCalls;
    int normCalls = 0, lastSum = 0;
};

Doubles* current = nullptr; // of the running test

} // namespace

int OpticalFlow12Alt(CubByte& ori, MatInt& u_sum, MatInt& v_sum, int nrIters)
{
    Doubles& d = *current;
    FlowCall call;
    call.frames = ToSequence(ori);
    call.nrIters = nrIters;
    const MatInt* const sums[2] = {&u_sum, &v_sum};
    for (int k = 0; k < 2; k++) {
        call.sumWidth[k] = sums[k]->dim1;
        call.sumHeight[k] = sums[k]->dim2;
    }
    call.firstSum = u_sum(0, 0);
    call.storage = u_sum.pblock;
    for (int y = 0; y < u_sum.dim2; y++) {
        for (int x = 0; x < u_sum.dim1; x++) {
            EXPECT_EQ(u_sum(x, y), call.firstSum);
            EXPECT_EQ(v_sum(x, y), -call.firstSum);
        }
    }
    u_sum += 1;
    v_sum += -1;
    d.flowCalls.push_back(call);
    return d.flowCalls.size() <= d.flowResults.size() ? d.flowResults[d.flowCalls.size() - 1] : 0;
}

void OF_Norm(const MatInt& u_sum, const MatInt& v_sum, MatShort& u_sum_sh, MatShort& v_sum_sh,
             MatShort& mag_sh)
{
    current->normCalls++;
    current->lastSum = u_sum(0, 0);
    for (MatShort* const m : {&u_sum_sh, &v_sum_sh, &mag_sh}) {
        m->Resize(v_sum.dim1, v_sum.dim2);
        m->Fill(3);
    }
}

int OpticalFlowPostprocAlt(const MatShort& u_sum, const MatShort& v_sum, int len, float r1, float r2,
                           float r3f, float ang_speed, MatShort& hough_sh, float& cx, float& cy)
{
    Doubles& d = *current;
    EXPECT_EQ(u_sum.dim1, v_sum.dim1);
    EXPECT_EQ(u_sum.dim2, v_sum.dim2);
    d.voteCalls.push_back({u_sum.dim1, u_sum.dim2, len, r1, r2, r3f, ang_speed});
    hough_sh.Resize(u_sum.dim1, u_sum.dim2);
    d.votes(hough_sh);
    cx = 12345; // replaced by the place of the highest vote
    cy = -54321;
    return d.voteResult;
}

namespace {

const int W = 40, H = 30;

class DetectSteps : public testing::Test {
protected:
    void SetUp() override { current = &doubles; }
    void TearDown() override { current = nullptr; }

    int RunDetect()
    {
        const CubByte cube = ToCube(seq);
        params = VecFloat(14);
        const float values[] = {14, 0, 0, 0, 1, 1, 2, 5, R3, -90, 90, 36, 0.5f, -50};
        params.ImportData(values);
        testing::internal::CaptureStderr();
        const int result = Detect(1, cube, usePeriods, ToVector<VecInt>(periods), VecInt(0, 0, W, H, 1),
                                  params, oroi, detected, hough, u_sum_sh, v_sum_sh, mag_sh, bgShort);
        err = testing::internal::GetCapturedStderr();
        EXPECT_TRUE(Same(ToSequence(cube), seq));
        return result;
    }

    /// The run ended in the flow: nothing behind it was done.
    void ExpectEndedInFlow(std::size_t calls)
    {
        EXPECT_EQ(doubles.flowCalls.size(), calls);
        EXPECT_EQ(doubles.normCalls, 0);
        EXPECT_EQ(doubles.voteCalls.size(), 0u);
        EXPECT_TRUE(Same(ToPicture(detected), seq.Frame(0)));
        EXPECT_EQ(ToValues(oroi), (std::vector<std::int32_t>{0, 0, 1, 1, 1}));
        EXPECT_EQ(params(telvane::Param::ang1), -90);
        EXPECT_EQ(params(telvane::Param::ang2), 90);
        for (const MatShort* const m : {&hough, &u_sum_sh, &v_sum_sh, &mag_sh, &bgShort})
            EXPECT_TRUE(ToPicture(*m).Empty());
    }

    Sequence seq = NoiseFrames(W, H, 6, 5);
    bool usePeriods = false;
    std::vector<std::int32_t> periods = {1, 0, 1, 0, 1, 0};
    float R3 = 0;
    Doubles doubles;

    VecFloat params;
    VecInt oroi{5};
    MatByte detected;
    MatShort hough, u_sum_sh, v_sum_sh, mag_sh, bgShort;
    std::string err;
};

TEST_F(DetectSteps, AbortedFlowOfTheSequence)
{
    doubles.flowResults = {1};
    EXPECT_EQ(RunDetect(), -2);
    EXPECT_EQ(err, "Error 2: Calculation aborted\n");
    ExpectEndedInFlow(1);
}

TEST_F(DetectSteps, FailedFlowOfTheSequence)
{
    for (const int result : {-1, -7, INT_MIN}) {
        doubles = Doubles();
        doubles.flowResults = {result};
        EXPECT_EQ(RunDetect(), -3) << result;
        EXPECT_EQ(err, "Error 3: Calculation failed\n");
        ExpectEndedInFlow(1);
    }
}

TEST_F(DetectSteps, AbortedFlowOfARun)
{
    usePeriods = true;
    for (std::size_t run = 1; run <= 3; run++) {
        doubles = Doubles();
        doubles.flowResults.assign(run, 0);
        doubles.flowResults.back() = 1;
        EXPECT_EQ(RunDetect(), -2) << run;
        EXPECT_EQ(err, "Error 2: Calculation aborted in OpticalFlow12Alt()\n");
        ExpectEndedInFlow(run);
    }
}

TEST_F(DetectSteps, FailedFlowOfARun)
{
    usePeriods = true;
    for (std::size_t run = 1; run <= 3; run++) {
        doubles = Doubles();
        doubles.flowResults.assign(run, 0);
        doubles.flowResults.back() = -1;
        EXPECT_EQ(RunDetect(), -3) << run;
        EXPECT_EQ(err, "Error 3: Calculation failed in OpticalFlow12Alt()\n");
        ExpectEndedInFlow(run);
    }
}

TEST_F(DetectSteps, OtherResultsOfTheFlowAreSuccess)
{
    for (const int result : {0, 2, 17, INT_MAX}) {
        for (const bool periodic : {false, true}) {
            doubles = Doubles();
            doubles.flowResults.assign(3, result);
            usePeriods = periodic;
            EXPECT_EQ(RunDetect(), 0) << result;
            EXPECT_EQ(err, "");
            EXPECT_EQ(doubles.flowCalls.size(), periodic ? 3u : 1u);
        }
    }
}

TEST_F(DetectSteps, AbortedOrFailedVotes)
{
    for (const bool periodic : {false, true}) {
        for (const int result : {1, -1, INT_MIN}) {
            doubles = Doubles();
            doubles.voteResult = result;
            doubles.votes = [](MatShort& votes) { votes.Fill(77); };
            usePeriods = periodic;
            EXPECT_EQ(RunDetect(), result == 1 ? -2 : -3);
            // Without the name of the flow, whose runs went well.
            EXPECT_EQ(err, result == 1 ? "Error 2: Calculation aborted\n" : "Error 3: Calculation failed\n");
            EXPECT_EQ(doubles.normCalls, 1);
            EXPECT_TRUE(Same(ToPicture(hough), ShortPicture(W + 1, H + 1, 77))); // not smoothed
            EXPECT_TRUE(Same(ToPicture(u_sum_sh), ShortPicture(W + 1, H + 1, 3)));
            EXPECT_TRUE(Same(ToPicture(detected), seq.Frame(0)));
            EXPECT_EQ(ToValues(oroi), (std::vector<std::int32_t>{0, 0, 1, 1, 1}));
            EXPECT_EQ(params(telvane::Param::ang1), 270);
            EXPECT_EQ(params(telvane::Param::ang2), 450);
            EXPECT_TRUE(ToPicture(bgShort).Empty());
        }
    }
}

TEST_F(DetectSteps, OtherResultsOfTheVotesAreSuccess)
{
    for (const int result : {0, 2, INT_MAX}) {
        doubles.voteResult = result;
        EXPECT_EQ(RunDetect(), 0) << result;
        EXPECT_EQ(err, "");
    }
}

TEST_F(DetectSteps, FlowGetsTheWholeSequenceAndCleanSums)
{
    EXPECT_EQ(RunDetect(), 0);
    ASSERT_EQ(doubles.flowCalls.size(), 1u);
    const FlowCall& call = doubles.flowCalls[0];
    EXPECT_TRUE(Same(call.frames, seq));
    EXPECT_EQ(call.nrIters, 2);
    for (int k = 0; k < 2; k++) {
        EXPECT_EQ(call.sumWidth[k], W + 1);
        EXPECT_EQ(call.sumHeight[k], H + 1);
    }
    EXPECT_EQ(call.firstSum, 0);
    EXPECT_EQ(doubles.normCalls, 1);
    EXPECT_EQ(doubles.lastSum, 1);
}

TEST_F(DetectSteps, RunsOfFramesAddUpInTheSameSums)
{
    usePeriods = true;
    EXPECT_EQ(RunDetect(), 0);
    ASSERT_EQ(doubles.flowCalls.size(), 3u);
    for (int run = 0; run < 3; run++) {
        const FlowCall& call = doubles.flowCalls[static_cast<std::size_t>(run)];
        EXPECT_TRUE(Same(call.frames, seq.Frames(2 * run, 2 * run + 1))) << run;
        EXPECT_EQ(call.nrIters, 2);
        EXPECT_EQ(call.firstSum, run);
        EXPECT_EQ(call.storage, doubles.flowCalls[0].storage);
    }
    EXPECT_EQ(doubles.normCalls, 1);
    EXPECT_EQ(doubles.lastSum, 3);
}

TEST_F(DetectSteps, RunsOfOneFrameAreNotAskedFor)
{
    usePeriods = true;
    for (const auto& [entries, runs] : std::vector<std::pair<std::vector<std::int32_t>, std::size_t>>{
             {{0, 0, 0, 0, 0, 0}, 0}, {{2, 1, 1, 2, 3, 1}, 1}, {{}, 0}, {{1}, 1}, {{3, 3, 3, 3, 1, 1}, 1}}) {
        doubles = Doubles();
        periods = entries;
        EXPECT_EQ(RunDetect(), 0);
        EXPECT_EQ(doubles.flowCalls.size(), runs);
        EXPECT_EQ(doubles.normCalls, 1);
    }
    EXPECT_TRUE(Same(doubles.flowCalls[0].frames, seq.Frames(4, 5)));
}

TEST_F(DetectSteps, VotesGetTheFlowPicturesAndTheGeometry)
{
    R3 = 2.25f;
    EXPECT_EQ(RunDetect(), 0);
    ASSERT_EQ(doubles.voteCalls.size(), 1u);
    const VoteCall& call = doubles.voteCalls[0];
    EXPECT_EQ(call.width, W + 1);
    EXPECT_EQ(call.height, H + 1);
    EXPECT_EQ(call.len, 5); // pairs of frames, whatever the periods
    EXPECT_EQ(call.r1, 2);
    EXPECT_EQ(call.r2, 5);
    EXPECT_EQ(call.r3f, 2.25f);
    EXPECT_EQ(call.speed, 0.5f);
    usePeriods = true;
    EXPECT_EQ(RunDetect(), 0);
    EXPECT_EQ(doubles.voteCalls[1].len, 5);
}

TEST_F(DetectSteps, RingSearchAsksForNoVotes)
{
    R3 = -1;
    EXPECT_EQ(RunDetect(), 0);
    EXPECT_EQ(doubles.voteCalls.size(), 0u);
    EXPECT_TRUE(ToPicture(hough).Empty());
    EXPECT_EQ(ToValues(oroi), (std::vector<std::int32_t>{5, 5, 1, 1, 1})); // all places are equal: the first
}

TEST_F(DetectSteps, HighestVoteCountsFromTheInside)
{
    doubles.votes = [](MatShort& votes) {
        votes.Fill(0);
        votes(20, 15) = 2000;
    };
    EXPECT_EQ(RunDetect(), 0);
    EXPECT_EQ(ToValues(oroi), (std::vector<std::int32_t>{19, 14, 1, 1, 1}));
    // Smoothed in place, five times.
    reference::Picture<std::int16_t> expected(W + 1, H + 1);
    expected.At(20, 15) = 2000;
    for (int pass = 0; pass < 5; pass++) {
        const auto before = expected;
        for (int y = 1; y < H; y++) {
            for (int x = 1; x < W; x++) {
                const auto v = [&](int i, int j) { return int{before.At(x + i, y + j)}; };
                const int sum = v(-1, -1) + v(1, -1) + v(-1, 1) + v(1, 1) +
                                2 * (v(0, -1) + v(0, 1) + v(-1, 0) + v(1, 0)) + 4 * v(0, 0);
                expected.At(x, y) = static_cast<std::int16_t>(sum >> 4);
            }
        }
    }
    EXPECT_TRUE(Same(ToPicture(hough), expected));
}

TEST_F(DetectSteps, BorderOfTheVotesStaysAndDoesNotCompete)
{
    doubles.votes = [](MatShort& votes) {
        votes.Fill(0);
        votes(0, 5) = 2000;
        votes(W, 29) = 2000;
        votes(7, 0) = 1999;
        votes(8, H) = 1998;
        votes(RNG(16, 24), RNG(11, 19)).Fill(1500);
    };
    EXPECT_EQ(RunDetect(), 0);
    EXPECT_EQ(hough(0, 5), 2000);
    EXPECT_EQ(hough(W, 29), 2000);
    EXPECT_EQ(hough(7, 0), 1999);
    EXPECT_EQ(hough(8, H), 1998);
    EXPECT_GT(hough(1, 5), 0); // they are smoothed into the inside
    EXPECT_LT(hough(20, 15), 1998);
    EXPECT_EQ(oroi(0), 19); // the middle of the lower, wide hill
    EXPECT_EQ(oroi(1), 14);
}

TEST_F(DetectSteps, FirstOfEqualRowsAndColumnsWins)
{
    doubles.votes = [](MatShort& votes) {
        votes.Fill(0);
        for (const int y : {8, 20})
            for (const int x : {10, 25}) votes(x, y) = 1600;
    };
    EXPECT_EQ(RunDetect(), 0);
    EXPECT_EQ(oroi(0), 9);
    EXPECT_EQ(oroi(1), 7);
    doubles.votes = [](MatShort& votes) { votes.Fill(0); };
    EXPECT_EQ(RunDetect(), 0);
    EXPECT_EQ(oroi(0), 0);
    EXPECT_EQ(oroi(1), 0);
    doubles.votes = [](MatShort& votes) { votes.Fill(-5); }; // no vote need be positive
    EXPECT_EQ(RunDetect(), 0);
    EXPECT_EQ(oroi(0), 0);
    EXPECT_EQ(oroi(1), 0);
}

TEST_F(DetectSteps, VotesInTheCornersOfTheInsideAreFound)
{
    // The border around a corner keeps its votes and feeds the inside pixel next to it in every pass.
    doubles.votes = [](MatShort& votes) {
        votes.Fill(0);
        votes(RNG(W - 2, W), H).Fill(2000);
        votes(W, RNG(H - 2, H)).Fill(2000);
    };
    EXPECT_EQ(RunDetect(), 0);
    EXPECT_EQ(ToValues(oroi), (std::vector<std::int32_t>{W - 2, H - 2, 1, 1, 1}));
    doubles.votes = [](MatShort& votes) {
        votes.Fill(0);
        votes(RNG(0, 2), 0).Fill(2000);
        votes(0, RNG(0, 2)).Fill(2000);
    };
    EXPECT_EQ(RunDetect(), 0);
    EXPECT_EQ(ToValues(oroi), (std::vector<std::int32_t>{0, 0, 1, 1, 1}));
}

} // namespace
