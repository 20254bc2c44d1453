// Cancellation of the motion functions: at every checkpoint in turn, with a query of our own in the place of
// the library's.
#include <tests/support/Pictures.h>

#include <tests/reference/Flow.h>
#include <tests/reference/Votes.h>

#include <gtest/gtest.h>

#include <functional>
#include <vector>

namespace {

/// Counts the questions, and asks to stop at one of them (0: at none) with this answer.
struct Query {
    int asked = 0;
    int stopAt = 0;
    int answer = 1;
    std::function<void(int)> seen = nullptr; ///< looks on, with the number of questions so far

    int operator()()
    {
        asked++;
        if (seen) seen(asked);
        return asked == stopAt ? answer : 0;
    }
};

Query query;

} // namespace

int TestQ() { return query(); }

namespace {

using namespace pictures;

struct FlowRun {
    int result, asked;
    Ints u, v;
};

FlowRun Library(const Sequence& seq, int nrIters, const Ints& uFirst, const Ints& vFirst, int stopAt,
                int answer = 1)
{
    CubByte frames = ArrayOf(seq);
    MatInt u = ArrayOf(uFirst), v = ArrayOf(vFirst);
    const int blocks = Datablock::nblocks;
    query = {0, stopAt, answer};
    const int result = OpticalFlow12Alt(frames, u, v, nrIters);
    EXPECT_EQ(Datablock::nblocks, blocks) << "working storage left behind, stopped at " << stopAt;
    return {result, query.asked, PictureOf(u), PictureOf(v)};
}

FlowRun Plain(const Sequence& seq, int nrIters, const Ints& uFirst, const Ints& vFirst, int stopAt)
{
    Query own{0, stopAt, 1};
    FlowRun run{0, 0, uFirst, vFirst};
    run.result = reference::OpticalFlow12Alt(seq, run.u, run.v, nrIters, [&own] { return own(); });
    run.asked = own.asked;
    return run;
}

/// At the start, after the first frame, and at the end; for each pair after the second frame, three
/// derivatives and two squares; for each sweep after every 100th row, and at its end.
int FlowCheckpoints(int hgh, int len, int nrIters)
{
    const int rows = (hgh - 2) / 100 + 1;
    const int pairs = len < 2 ? 0 : len - 1;
    return 3 + pairs * (6 + (nrIters < 0 ? 0 : nrIters) * (rows + 1));
}

// ---------------------------------------------------------------------------------- flow

TEST(OptFlowCancel, TheQueryIsAskedAtEveryCheckpointAndNowhereElse)
{
    Random random(41);
    for (int hgh : {3, 50, 100, 101, 102, 103, 200, 201, 202, 203, 302}) {
        for (int len : {1, 2, 3}) {
            for (int nrIters : {0, 1, 2, 3}) {
                const Sequence seq = NoiseSequence(random, 4, hgh, len);
                const Ints zero(5, hgh + 1);
                const FlowRun run = Library(seq, nrIters, zero, zero, 0);
                EXPECT_EQ(run.result, 0);
                EXPECT_EQ(run.asked, FlowCheckpoints(hgh, len, nrIters))
                    << hgh << " rows, " << len << " frames, " << nrIters << " sweeps";
                EXPECT_EQ(run.asked, Plain(seq, nrIters, zero, zero, 0).asked);
            }
        }
    }
}

TEST(OptFlowCancel, AllQueriesOfAPairComeBeforeThePair)
{
    Random random(46);
    for (int hgh : {3, 103}) {
        const int wid = 5, pairs = 3, nrIters = 2;
        CubByte frames = ArrayOf(NoiseSequence(random, wid, hgh, pairs + 1));
        MatInt u = ArrayOf(Ints(wid + 1, hgh + 1)), v = ArrayOf(Ints(wid + 1, hgh + 1));
        Ints last = PictureOf(u);
        std::vector<int> changedBefore, expected;
        query = {};
        query.seen = [&](int number) {
            if (!Same(PictureOf(u), last)) changedBefore.push_back(number);
            last = PictureOf(u);
        };
        EXPECT_EQ(OpticalFlow12Alt(frames, u, v, nrIters), 0);
        query = {};
        // The first pair's queries begin with the third, and the sums have changed when the next pair's
        // begin.
        const int ofAPair = FlowCheckpoints(hgh, 2, nrIters) - 3;
        for (int pair = 1; pair <= pairs; pair++) expected.push_back(3 + pair * ofAPair);
        EXPECT_EQ(changedBefore, expected) << hgh << " rows";
    }
}

TEST(OptFlowCancel, StoppingAtAnyCheckpointKeepsFinishedPairsOnly)
{
    Random random(42);
    for (int hgh : {3, 8, 103, 205}) {
        for (int nrIters : {0, 1, 2, 3}) {
            const int wid = 5, len = 4;
            const Sequence seq = NoiseSequence(random, wid, hgh, len);
            const Ints u = Noise<std::int32_t>(random, wid + 1, hgh + 1);
            const Ints v = Noise<std::int32_t>(random, wid + 1, hgh + 1);
            const int all = FlowCheckpoints(hgh, len, nrIters);
            for (int stopAt = 1; stopAt <= all; stopAt++) {
                const FlowRun run = Library(seq, nrIters, u, v, stopAt),
                              plain = Plain(seq, nrIters, u, v, stopAt);
                SCOPED_TRACE(testing::Message()
                             << hgh << " rows, " << nrIters << " sweeps, stopped at " << stopAt);
                EXPECT_EQ(run.result, 1);
                EXPECT_EQ(run.asked, stopAt) << "nothing is asked after the stop";
                EXPECT_TRUE(Same(run.u, plain.u));
                EXPECT_TRUE(Same(run.v, plain.v));
            }
            EXPECT_EQ(Library(seq, nrIters, u, v, all + 1).result, 0);
        }
    }
}

TEST(OptFlowCancel, PairsBeforeTheStopAreThoseOfAShorterSequence)
{
    Random random(43);
    const Sequence seq = NoiseSequence(random, 9, 7, 5);
    const Ints zero(10, 8);
    const int pairCheckpoints = FlowCheckpoints(7, 3, 2) - FlowCheckpoints(7, 2, 2);
    for (int finished = 0; finished < 4; finished++) {
        const FlowRun stopped = Library(seq, 2, zero, zero, 2 + finished * pairCheckpoints + 1);
        const FlowRun whole = Library(seq.Frames(0, finished), 2, zero, zero, 0);
        EXPECT_EQ(stopped.result, 1);
        EXPECT_TRUE(Same(stopped.u, whole.u)) << finished << " pairs";
        EXPECT_TRUE(Same(stopped.v, whole.v)) << finished << " pairs";
    }
}

TEST(OptFlowCancel, AStopAtTheLastCheckpointLeavesAllPairsAdded)
{
    Random random(44);
    const Sequence seq = NoiseSequence(random, 9, 7, 3);
    const Ints zero(10, 8);
    const FlowRun whole = Library(seq, 2, zero, zero, 0), stopped = Library(seq, 2, zero, zero, whole.asked);
    EXPECT_EQ(stopped.result, 1);
    EXPECT_TRUE(Same(stopped.u, whole.u));
    EXPECT_TRUE(Same(stopped.v, whole.v));
}

TEST(OptFlowCancel, AnyAnswerButZeroStopsWithResultOne)
{
    Random random(45);
    const Sequence seq = NoiseSequence(random, 6, 5, 3);
    const Ints zero(7, 6);
    for (int answer : {1, 2, -1, 256, 65536, -2147483647 - 1})
        for (int stopAt : {1, 2, 3, 8, 9, FlowCheckpoints(5, 3, 2)})
            EXPECT_EQ(Library(seq, 2, zero, zero, stopAt, answer).result, 1) << answer << " at " << stopAt;
}

TEST(OptFlowCancel, TheQueryComesBeforeTheShapesAreLookedAt)
{
    Random random(46);
    const Sequence seq = NoiseSequence(random, 6, 5, 3);
    const Ints right(7, 6), wrong = Noise<std::int32_t>(random, 6, 5);
    const FlowRun refused = Library(seq, 2, wrong, right, 0);
    EXPECT_EQ(refused.result, -1);
    EXPECT_EQ(refused.asked, 1);
    EXPECT_EQ(Library(seq, 2, right, wrong, 2).result, -1);
    EXPECT_EQ(Library(seq, 2, wrong, right, 1).result, 1);
}

// ---------------------------------------------------------------------------------- votes

/// At the start, after the threshold, after every 100th column, and at the end.
int VoteCheckpoints(int wid) { return 3 + (wid - 1) / 100 + 1; }

struct VoteRun {
    int result, asked;
    Shorts hough;
    float cx, cy;
};

enum class Form { alt, a2 };

constexpr float untouched = -77.25f;

VoteRun LibraryVotes(Form form, const Shorts& u, const Shorts& v, const Shorts& houghFirst, int stopAt)
{
    const MatShort uSum = ArrayOf(u), vSum = ArrayOf(v);
    MatShort hough = ArrayOf(houghFirst);
    VoteRun run{0, 0, {}, untouched, untouched};
    const int blocks = Datablock::nblocks;
    query = {0, stopAt, 1};
    run.result = form == Form::alt ? OpticalFlowPostprocAlt(uSum, vSum, 3, 2, 4, 1, 1, hough, run.cx, run.cy)
                                   : OpticalFlowPostprocA2(uSum, vSum, 3, 1, 3, -1, hough, run.cx, run.cy);
    run.asked = query.asked;
    EXPECT_EQ(Datablock::nblocks, blocks) << "working storage left behind, stopped at " << stopAt;
    run.hough = PictureOf(hough);
    return run;
}

VoteRun PlainVotes(Form form, const Shorts& u, const Shorts& v, int stopAt)
{
    Query own{0, stopAt, 1};
    const auto ask = [&own] { return own(); };
    VoteRun run{0, 0, {}, untouched, untouched};
    run.result = form == Form::alt
                     ? reference::OpticalFlowPostprocAlt(u, v, 3, 2, 4, 1, 1, run.hough, run.cx, run.cy, ask)
                     : reference::OpticalFlowPostprocA2(u, v, 3, 1, 3, -1, run.hough, run.cx, run.cy, ask);
    run.asked = own.asked;
    return run;
}

TEST(VotesCancel, TheQueryIsAskedAtEveryCheckpointAndNowhereElse)
{
    Random random(47);
    for (Form form : {Form::alt, Form::a2}) {
        for (int wid : {1, 2, 100, 101, 102, 200, 201, 305}) {
            const Shorts u = Noise<std::int16_t>(random, wid, 6, -1900, 1900), v = u;
            const VoteRun run = LibraryVotes(form, u, v, Shorts(wid, 6), 0);
            EXPECT_EQ(run.result, 0);
            EXPECT_EQ(run.asked, VoteCheckpoints(wid)) << wid << " columns";
            EXPECT_EQ(run.asked, PlainVotes(form, u, v, 0).asked) << wid << " columns";
        }
    }
}

TEST(VotesCancel, AnEmptyVotePictureBecomesZeros)
{
    Random random(49);
    const Shorts u = Noise<std::int16_t>(random, 101, 9, -1900, 1900), v = u;
    const MatShort uSum = ArrayOf(u), vSum = ArrayOf(v);
    for (int stopAt = 2; stopAt < VoteCheckpoints(101); stopAt++) {
        for (Form form : {Form::alt, Form::a2}) {
            MatShort(101, 9).Fill(77); // what the allocator hands out again
            MatShort hough;
            float cx = 0, cy = 0;
            query = {0, stopAt, 1};
            ASSERT_EQ(form == Form::alt ? OpticalFlowPostprocAlt(uSum, vSum, 3, 2, 4, 1, 1, hough, cx, cy)
                                        : OpticalFlowPostprocA2(uSum, vSum, 3, 1, 3, -1, hough, cx, cy),
                      1);
            EXPECT_TRUE(Same(hough, Shorts(101, 9))) << "stopped at " << stopAt;
        }
    }
}

TEST(VotesCancel, StoppingAtAnyCheckpointButTheLastWritesNothing)
{
    Random random(48);
    for (Form form : {Form::alt, Form::a2}) {
        for (int wid : {7, 101, 250}) {
            const Shorts u = Noise<std::int16_t>(random, wid, 9, -1900, 1900);
            const Shorts v = Noise<std::int16_t>(random, wid, 9, -1900, 1900);
            const Shorts before = Noise<std::int16_t>(random, wid, 9);
            const int all = VoteCheckpoints(wid);
            for (int stopAt = 1; stopAt < all; stopAt++) {
                const VoteRun run = LibraryVotes(form, u, v, before, stopAt);
                SCOPED_TRACE(testing::Message() << wid << " columns, stopped at " << stopAt);
                EXPECT_EQ(run.result, 1);
                EXPECT_EQ(run.asked, stopAt);
                EXPECT_EQ(run.cx, untouched);
                EXPECT_EQ(run.cy, untouched);
                EXPECT_TRUE(Same(run.hough, before));
            }
        }
    }
}

TEST(VotesCancel, AStopAtTheLastCheckpointComesAfterTheResults)
{
    Random random(49);
    for (Form form : {Form::alt, Form::a2}) {
        const Shorts u = Noise<std::int16_t>(random, 120, 9, -1900, 1900);
        const Shorts v = Noise<std::int16_t>(random, 120, 9, -1900, 1900);
        const int all = VoteCheckpoints(120);
        const VoteRun run = LibraryVotes(form, u, v, Shorts(120, 9), all),
                      plain = PlainVotes(form, u, v, all);
        EXPECT_EQ(run.result, 1);
        EXPECT_EQ(plain.result, 1);
        EXPECT_TRUE(Same(run.hough, plain.hough));
        EXPECT_EQ(run.cx, plain.cx);
        EXPECT_EQ(run.cy, plain.cy);
    }
}

TEST(VotesCancel, ThePictureOfVotesIsSizedBeforeTheThreshold)
{
    Random random(50);
    const Shorts u = Noise<std::int16_t>(random, 12, 9), v = u;
    EXPECT_EQ(LibraryVotes(Form::alt, u, v, Shorts(5, 4), 1).hough.w, 5) << "stopped at the start";
    EXPECT_EQ(LibraryVotes(Form::alt, u, v, Shorts(5, 4), 2).hough.w, 12);
    EXPECT_EQ(LibraryVotes(Form::a2, u, v, Shorts(5, 4), 2).hough.h, 9);
}

} // namespace
