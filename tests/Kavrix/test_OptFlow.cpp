// Optical flow and its normalisation, held bit for bit against plain loops.
#include <tests/support/ChildProcess.h>
#include <tests/support/Pictures.h>

#include <tests/reference/Flow.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <limits>
#include <vector>

namespace {

using namespace pictures;

constexpr int lowest = std::numeric_limits<int>::min(), highest = std::numeric_limits<int>::max();

/// Accumulators that hold something already, up to both ends of their range.
Ints Filled(Random& random, int w, int h) { return Noise<std::int32_t>(random, w, h); }

/// Runs both on the same frames, from the same accumulators.
testing::AssertionResult MatchesReference(CubByte frames, int nrIters, const Ints& uFirst, const Ints& vFirst)
{
    const Sequence seq = SequenceOf(frames);
    Ints u = uFirst, v = vFirst;
    const int expected = reference::OpticalFlow12Alt(seq, u, v, nrIters);

    MatInt u_sum = ArrayOf(uFirst), v_sum = ArrayOf(vFirst);
    const int result = OpticalFlow12Alt(frames, u_sum, v_sum, nrIters);
    if (result != expected) return testing::AssertionFailure() << "result " << result << ", not " << expected;
    if (!(SequenceOf(frames) == seq)) return testing::AssertionFailure() << "the frames were written to";
    if (const auto same = Same(u_sum, u); !same)
        return testing::AssertionFailure() << "u: " << same.message();
    if (const auto same = Same(v_sum, v); !same)
        return testing::AssertionFailure() << "v: " << same.message();
    return testing::AssertionSuccess();
}

testing::AssertionResult MatchesReference(const Sequence& seq, int nrIters, Random& random)
{
    return MatchesReference(ArrayOf(seq), nrIters, Filled(random, seq.w + 1, seq.h + 1),
                            Filled(random, seq.w + 1, seq.h + 1));
}

testing::AssertionResult MatchesReference(const Sequence& seq, int nrIters)
{
    const Ints zero(seq.w + 1, seq.h + 1);
    return MatchesReference(ArrayOf(seq), nrIters, zero, zero);
}

/// The flow alone, into cleared sums.
struct Flow {
    Ints u, v;
    int result;
};

Flow FlowOf(const Sequence& seq, int nrIters)
{
    CubByte frames = ArrayOf(seq);
    MatInt u(seq.w + 1, seq.h + 1), v(seq.w + 1, seq.h + 1);
    u.Fill(0);
    v.Fill(0);
    const int result = OpticalFlow12Alt(frames, u, v, nrIters);
    return {PictureOf(u), PictureOf(v), result};
}

struct Size2 {
    int w, h;
};

const std::vector<Size2> smallSizes = {{3, 3}, {3, 4}, {4, 3}, {3, 17}, {17, 3}, {5, 5}, {8, 6}, {9, 7}};

Bytes Shifted(const Bytes& picture, int dx, int dy)
{
    Bytes shifted(picture.w, picture.h);
    for (int y = 0; y < picture.h; y++)
        for (int x = 0; x < picture.w; x++)
            shifted.At(x, y) = picture.At((x - dx + picture.w) % picture.w, (y - dy + picture.h) % picture.h);
    return shifted;
}

// ---------------------------------------------------------------------------------- against plain loops

TEST(OptFlow, RandomFramesOfEverySizeMatchThePlainVersion)
{
    Random random(11);
    std::vector<Size2> sizes = smallSizes;
    for (int w = 14; w <= 36; w++) sizes.push_back({w, 3 + w % 7});
    sizes.insert(sizes.end(), {{64, 5}, {65, 4}, {66, 9}, {67, 66}, {70, 70}});
    for (const auto& [w, h] : sizes)
        for (int nrIters : {1, 2, 3, 5})
            ASSERT_TRUE(MatchesReference(NoiseSequence(random, w, h, 2), nrIters, random))
                << w << " x " << h << ", " << nrIters << " sweeps";
}

TEST(OptFlow, MoreSweepsThanRowsMatchThePlainVersion)
{
    Random random(26);
    for (int h = 3; h <= 10; h++)
        for (int nrIters = 1; nrIters <= 14; nrIters++)
            ASSERT_TRUE(MatchesReference(NoiseSequence(random, 3 + h % 4, h, 3), nrIters, random))
                << h << " rows, " << nrIters << " sweeps";
}

TEST(OptFlow, AMillionQuotientsMatchThePlainVersion)
{
    Random random(27);
    for (int i = 0; i < 25; i++) {
        const Bytes a = Noise<std::uint8_t>(random, 100, 100),
                    b = Salt<std::uint8_t>(random, 100, 100, 0, 255);
        for (const Sequence& seq : {SequenceOf({a, b}), NoiseSequence(random, 100, 100, 2)})
            for (int nrIters : {1, 2}) ASSERT_TRUE(MatchesReference(seq, nrIters, random)) << i;
    }
}

TEST(OptFlow, SeveralPairsAddUp)
{
    Random random(12);
    for (int n : {3, 4, 7})
        for (int nrIters : {1, 2, 5})
            EXPECT_TRUE(MatchesReference(NoiseSequence(random, 18, 13, n), nrIters, random))
                << n << " frames";
}

TEST(OptFlow, ContrastsThatWrapTheDenominatorMatchThePlainVersion)
{
    Random random(13);
    for (const auto& [w, h] : std::vector<Size2>{{3, 3}, {4, 4}, {16, 9}, {17, 16}, {33, 34}, {48, 31}}) {
        const std::uint8_t low = 0, high = 255;
        const std::vector<Bytes> frames = {Checkerboard(w, h, low, high),
                                           Checkerboard(w, h, high, low),
                                           Checkerboard(w, h, low, high, 2),
                                           Checkerboard(w, h, low, high, 3),
                                           Salt(random, w, h, low, high),
                                           OneRow(w, h, h / 2, high),
                                           OneRow(w, h, 0, high),
                                           OneColumn(w, h, w / 2, high),
                                           OneColumn(w, h, w - 1, high),
                                           OneColumn(w, h, 1, low, high),
                                           Bytes(w, h, high),
                                           Bytes(w, h, low)};
        for (const Bytes& first : frames)
            for (const Bytes& second : frames)
                for (int nrIters : {1, 2, 5})
                    ASSERT_TRUE(MatchesReference(SequenceOf({first, second}), nrIters)) << w << " x " << h;
        ASSERT_TRUE(MatchesReference(SequenceOf(frames), 3, random)) << w << " x " << h;
    }
}

TEST(OptFlow, ManySmallContrastsMatchThePlainVersion)
{
    // Random black, white and grey at every cell: the sums wrap, the quotients reach both ends of 32 bits.
    Random random(14);
    for (int i = 0; i < 400; i++) {
        std::vector<Bytes> frames;
        for (int t = 0; t < 2; t++) {
            frames.push_back(Salt<std::uint8_t>(random, 12, 10, 0, 255));
            for (std::uint8_t& value : frames.back().a)
                if (random() % 3 == 0) value = static_cast<std::uint8_t>(Between(random, 0, 255));
        }
        ASSERT_TRUE(MatchesReference(SequenceOf(frames), 5)) << i;
    }
}

TEST(OptFlow, FramesMayBeAnyPartOfALargerSequence)
{
    Random random(15);
    const std::vector<std::vector<int>> steps = {{1, 1, 1},   {2, 1, 1},  {1, 2, 1},  {1, 1, 2},
                                                 {-1, 1, 1},  {1, -1, 1}, {1, 1, -1}, {-2, -1, -1},
                                                 {3, -2, -2}, {-1, 3, 2}};
    for (const auto& [w, h] : std::vector<Size2>{{3, 3}, {16, 5}, {23, 18}}) {
        for (const std::vector<int>& s : steps) {
            const Sequence seq = NoiseSequence(random, w, h, 3);
            LaidSequence laid(seq, s[0], s[1], s[2], random);
            const Sequence storage = SequenceOf(laid.storage);
            EXPECT_TRUE(
                MatchesReference(laid.view, 2, Filled(random, w + 1, h + 1), Filled(random, w + 1, h + 1)))
                << s[0] << ", " << s[1] << ", " << s[2];
            EXPECT_TRUE(SequenceOf(laid.storage) == storage) << "the frames were written to";
        }
    }
}

TEST(OptFlow, SumsMayBeViewsOfAnyStrides)
{
    Random random(16);
    for (const Layout& layout : viewLayouts) {
        const Sequence seq = NoiseSequence(random, 11, 6, 3);
        Ints u = Filled(random, 12, 7), v = Filled(random, 12, 7);
        Laid<int> uLaid(u, layout, random), vLaid(v, layout, random);
        CubByte frames = ArrayOf(seq);
        ASSERT_EQ(OpticalFlow12Alt(frames, uLaid.view, vLaid.view, 2), 0);
        reference::OpticalFlow12Alt(seq, u, v, 2);
        EXPECT_TRUE(Same(uLaid.view, u)) << layout;
        EXPECT_TRUE(Same(vLaid.view, v)) << layout;
        EXPECT_TRUE(uLaid.SurroundingsUntouched() && vLaid.SurroundingsUntouched()) << layout;
    }
}

TEST(OptFlow, SumsWrapAtTheEndsOf32Bits)
{
    Random random(17);
    const Sequence seq = NoiseSequence(random, 20, 15, 3);
    for (int first : {lowest, highest}) {
        const Ints full(21, 16, first);
        EXPECT_TRUE(MatchesReference(ArrayOf(seq), 2, full, full)) << first;
    }
}

TEST(OptFlow, WorkingStorageIsReleased)
{
    Random random(18);
    CubByte frames = ArrayOf(NoiseSequence(random, 12, 9, 4));
    MatInt u(13, 10), v(13, 10), wrong(12, 9);
    const int blocks = Datablock::nblocks;
    const unsigned memory = Datablock::memUsed();
    EXPECT_EQ(OpticalFlow12Alt(frames, u, v, 2), 0);
    EXPECT_EQ(OpticalFlow12Alt(frames, u, wrong, 2), -1);
    EXPECT_EQ(Datablock::nblocks, blocks);
    EXPECT_EQ(Datablock::memUsed(), memory);
    EXPECT_EQ(frames.pblock->nrefs, 1);
}

// ---------------------------------------------------------------------------------- the denominator

TEST(OptFlow, TheDenominatorIsNeverZeroNorMinusOne)
{
    // All shifted derivatives that frames of 0 .. 4080 can give, in both directions, in 16 bits.
    const int largest = 510, count = 2 * largest + 1;
    Shorts Ex(count, count), Ey(count, count), Den(count, count, 25);
    for (int y = 0; y < count; y++) {
        for (int x = 0; x < count; x++) {
            Ex.At(x, y) = static_cast<std::int16_t>(8 * (x - largest));
            Ey.At(x, y) = static_cast<std::int16_t>(8 * (y - largest));
        }
    }
    reference::AddSquare(Den, Ex);
    reference::AddSquare(Den, Ey);
    int zeros = 0, minusOnes = 0, ones = 0, negative = 0;
    for (int den : Den.a) {
        zeros += den == 0;
        minusOnes += den == -1;
        ones += den == 1;
        negative += den < 0;
    }
    EXPECT_EQ(zeros, 0);
    EXPECT_EQ(minusOnes, 0);
    EXPECT_GT(ones, 0) << "a quotient can be as large as its dividend";
    EXPECT_GT(negative, 0) << "it does wrap";
}

TEST(OptFlow, AQuotientAtTheEndOf32BitsWraps)
{
    // The denominator of the first cell wraps to 1, and in the third sweep the quotient comes so close to the
    // end of its range that the difference from the average passes it.
    Bytes first(4, 4), second(4, 4);
    first.a = {5, 251, 214, 111, 31, 239, 210, 235, 220, 226, 210, 62, 70, 222, 202, 53};
    second.a = {14, 197, 247, 81, 53, 238, 224, 4, 217, 252, 162, 200, 243, 251, 192, 17};
    const Shorts P = reference::PrepareFrame(first), N = reference::PrepareFrame(second);
    Shorts Den(3, 3, 25);
    reference::AddSquare(Den, reference::DerivativeX(P, N));
    reference::AddSquare(Den, reference::DerivativeY(P, N));
    EXPECT_EQ(Den.At(0, 0), 1);
    EXPECT_TRUE(MatchesReference(SequenceOf({first, second}), 3));
}

TEST(OptFlow, DerivativesReachTheEndsOfTheirRange)
{
    for (bool brightRight : {false, true}) {
        Bytes edge(6, 5);
        for (int y = 0; y < edge.h; y++)
            for (int x = 0; x < edge.w; x++) edge.At(x, y) = (x == 0) == brightRight ? 0 : 255;
        for (int x = 0; x < edge.w; x++) edge.At(x, 0) = (x == 0) == brightRight ? 0 : 255;
        const Shorts prepared = reference::PrepareFrame(edge);
        const Shorts Ex = reference::DerivativeX(prepared, prepared);
        EXPECT_GT(std::abs(Ex.At(0, 0)), 1456) << "past the square that fits 16 bits";
        EXPECT_TRUE(MatchesReference(SequenceOf({edge, Bytes(6, 5, 128)}), 3));
        EXPECT_TRUE(MatchesReference(SequenceOf({Bytes(6, 5, 128), edge}), 3));
    }
}

TEST(OptFlow, EveryLevelOfAnEdgeMatchesThePlainVersion)
{
    // A vertical edge of each height moves by one pixel: shifted derivatives from 0 past 181, where Den
    // wraps.
    Random random(19);
    bool wrapped = false;
    for (int level = 0; level <= 255; level++) {
        Bytes edge(9, 4), moved(9, 4);
        for (int y = 0; y < 4; y++) {
            for (int x = 0; x < 9; x++) {
                edge.At(x, y) = static_cast<std::uint8_t>(x < 4 ? 0 : level);
                moved.At(x, y) = static_cast<std::uint8_t>(x < 5 ? 0 : level);
            }
        }
        const Shorts P = reference::PrepareFrame(edge), N = reference::PrepareFrame(moved);
        Shorts Den(8, 3, 25);
        reference::AddSquare(Den, reference::DerivativeX(P, N));
        for (int den : Den.a) wrapped = wrapped || den < 0;
        ASSERT_TRUE(MatchesReference(SequenceOf({edge, moved}), 2, random)) << level;
        ASSERT_TRUE(MatchesReference(SequenceOf({moved, edge}), 5, random)) << level;
    }
    EXPECT_TRUE(wrapped);
}

TEST(OptFlow, FramesBelowThreeByThreeHalt)
{
    for (const auto& [w, h] : std::vector<Size2>{{2, 3}, {3, 2}}) {
        const FailStop stop = RunUntilHalt([w = w, h = h] { FlowOf(Sequence(w, h, 2), 1); });
        EXPECT_TRUE(stop.halted) << stop.state;
        EXPECT_EQ(stop.line, ErrorLine("RNG: Invalid range selection"));
    }
}

// ---------------------------------------------------------------------------------- what the flow is

TEST(OptFlow, OneFrameRunsNoPair)
{
    Random random(20);
    CubByte frames = ArrayOf(NoiseSequence(random, 9, 8, 1));
    const Ints first = Filled(random, 10, 9);
    MatInt u = ArrayOf(first), v = ArrayOf(first);
    EXPECT_EQ(OpticalFlow12Alt(frames, u, v, 2), 0);
    EXPECT_TRUE(Same(u, first));
    EXPECT_TRUE(Same(v, first));
}

TEST(OptFlow, NoFrameRunsNoPair)
{
    Random random(21);
    CubByte frames(9, 8, 0);
    const Ints first = Filled(random, 10, 9);
    MatInt u = ArrayOf(first), v = ArrayOf(first);
    EXPECT_EQ(OpticalFlow12Alt(frames, u, v, 2), 0);
    EXPECT_TRUE(Same(u, first));
    EXPECT_TRUE(Same(v, first));
}

TEST(OptFlow, NoSweepAddsNothing)
{
    Random random(21);
    for (int nrIters : {0, -1, lowest}) {
        CubByte frames = ArrayOf(NoiseSequence(random, 9, 8, 3));
        const Ints first = Filled(random, 10, 9);
        MatInt u = ArrayOf(first), v = ArrayOf(first);
        EXPECT_EQ(OpticalFlow12Alt(frames, u, v, nrIters), 0);
        EXPECT_TRUE(Same(u, first));
        EXPECT_TRUE(Same(v, first));
    }
}

TEST(OptFlow, EqualFramesAddNothing)
{
    Random random(22);
    for (const Bytes& picture :
         {Noise<std::uint8_t>(random, 21, 16), Checkerboard<std::uint8_t>(21, 16, 0, 255)}) {
        const Flow flow = FlowOf(SequenceOf({picture, picture, picture}), 3);
        EXPECT_EQ(flow.result, 0);
        EXPECT_TRUE(Same(flow.u, Ints(22, 17)));
        EXPECT_TRUE(Same(flow.v, Ints(22, 17)));
    }
}

TEST(OptFlow, UniformFramesOfDifferentLevelsGiveNoFlow)
{
    for (int second : {1, 100, 255}) {
        const Flow flow =
            FlowOf(SequenceOf({Bytes(8, 7, 0), Bytes(8, 7, static_cast<std::uint8_t>(second))}), 2);
        EXPECT_TRUE(Same(flow.u, Ints(9, 8)));
        EXPECT_TRUE(Same(flow.v, Ints(9, 8)));
    }
}

TEST(OptFlow, SumsOfAnotherShapeAreRefusedUntouched)
{
    Random random(23);
    const Ints right = Filled(random, 11, 9);
    const std::vector<Size2> wrongShapes = {{10, 8}, {10, 9}, {11, 8}, {12, 9}, {11, 10}, {9, 11}};
    for (const auto& [w, h] : wrongShapes) {
        const Ints wrong = Filled(random, w, h);
        CubByte frames = ArrayOf(NoiseSequence(random, 10, 8, 3));
        MatInt u = ArrayOf(wrong), v = ArrayOf(right);
        EXPECT_EQ(OpticalFlow12Alt(frames, u, v, 2), -1);
        EXPECT_EQ(OpticalFlow12Alt(frames, v, u, 2), -1);
        EXPECT_EQ(OpticalFlow12Alt(frames, u, u, 2), -1);
        EXPECT_TRUE(Same(u, wrong)) << w << " x " << h;
        EXPECT_TRUE(Same(v, right)) << w << " x " << h;
    }
    CubByte frames = ArrayOf(NoiseSequence(random, 10, 8, 3));
    MatInt empty, v = ArrayOf(right);
    EXPECT_EQ(OpticalFlow12Alt(frames, empty, v, 2), -1);
    EXPECT_EQ(empty.pblock, nullptr);
}

TEST(OptFlow, TheFlowsFrameIsUneven)
{
    Random random(24);
    const int wid = 13, hgh = 10;
    for (int nrIters : {1, 2, 4}) {
        const Flow flow = FlowOf(NoiseSequence(random, wid, hgh, 2), nrIters);
        for (int y = 0; y <= hgh; y++) {
            EXPECT_EQ(flow.u.At(0, y), 0);
            EXPECT_EQ(flow.u.At(wid, y), 0);
            EXPECT_EQ(flow.v.At(0, y), flow.v.At(1, y));
            EXPECT_EQ(flow.v.At(wid, y), flow.v.At(wid - 1, y));
        }
        bool moves = false;
        for (int x = 1; x < wid; x++) {
            EXPECT_EQ(flow.v.At(x, 0), 0);
            EXPECT_EQ(flow.v.At(x, hgh), 0);
            EXPECT_EQ(flow.u.At(x, 0), flow.u.At(x, 1));
            EXPECT_EQ(flow.u.At(x, hgh), flow.u.At(x, hgh - 1));
            moves = moves || flow.u.At(x, 0) != 0;
        }
        EXPECT_TRUE(moves);
    }
}

TEST(OptFlow, MotionHasTheRightSignAndScale)
{
    // A soft horizontal ramp that moves one pixel to the right, and the same downwards. alpha is small
    // against the gradient, so that one sweep gives close to 64 units.
    Bytes ramp(24, 24), down(24, 24);
    for (int y = 0; y < 24; y++) {
        for (int x = 0; x < 24; x++) {
            ramp.At(x, y) = static_cast<std::uint8_t>(8 * x + 20);
            down.At(x, y) = static_cast<std::uint8_t>(8 * y + 20);
        }
    }
    const Flow right = FlowOf(SequenceOf({ramp, Shifted(ramp, 1, 0)}), 1);
    EXPECT_NEAR(right.u.At(12, 12), 64, 8);
    EXPECT_EQ(right.v.At(12, 12), 0);
    const Flow below = FlowOf(SequenceOf({down, Shifted(down, 0, 1)}), 1);
    EXPECT_NEAR(below.v.At(12, 12), 64, 8);
    EXPECT_EQ(below.u.At(12, 12), 0);
    const Flow left = FlowOf(SequenceOf({Shifted(ramp, 1, 0), ramp}), 1);
    EXPECT_NEAR(left.u.At(12, 12), -64, 8);
}

TEST(OptFlow, TheBorderOfAFrameIsNotSmoothed)
{
    // One bright pixel in the border raises its cell's derivatives by 16 times its value; smoothed it would
    // not.
    Bytes dark(7, 6), spot(7, 6);
    spot.At(3, 0) = 200;
    const Shorts prepared = reference::PrepareFrame(spot);
    EXPECT_EQ(prepared.At(3, 0), 3200);
    EXPECT_EQ(prepared.At(2, 0), 0);
    EXPECT_EQ(prepared.At(3, 1), 400) << "inside: twice its value";
    EXPECT_TRUE(MatchesReference(SequenceOf({dark, spot}), 2));
    for (int i = 0; i < 7; i++) {
        Bytes top(7, 6), bottom(7, 6);
        top.At(i, 0) = bottom.At(i, 5) = 255;
        EXPECT_TRUE(MatchesReference(SequenceOf({top, bottom}), 2)) << i;
    }
    for (int i = 0; i < 6; i++) {
        Bytes left(7, 6), right(7, 6);
        left.At(0, i) = right.At(6, i) = 255;
        EXPECT_TRUE(MatchesReference(SequenceOf({left, right}), 2)) << i;
    }
}

TEST(OptFlow, AccumulationGoesOnFromCallToCall)
{
    Random random(25);
    const Sequence seq = NoiseSequence(random, 15, 12, 4);
    CubByte all = ArrayOf(seq);
    MatInt u(16, 13), v(16, 13), u2(16, 13), v2(16, 13);
    for (MatInt* m : {&u, &v, &u2, &v2}) m->Fill(0);
    ASSERT_EQ(OpticalFlow12Alt(all, u, v, 2), 0);

    CubByte first = all(RNG::All(), RNG::All(), RNG(0, 2)), second = all(RNG::All(), RNG::All(), RNG(2, 3));
    ASSERT_EQ(OpticalFlow12Alt(first, u2, v2, 2), 0);
    ASSERT_EQ(OpticalFlow12Alt(second, u2, v2, 2), 0);
    EXPECT_TRUE(Same(u2, PictureOf(u)));
    EXPECT_TRUE(Same(v2, PictureOf(v)));
}

// ---------------------------------------------------------------------------------- normalisation

struct Normalised {
    Shorts u, v, mag;
};

Normalised Norm(const Ints& uSum, const Ints& vSum)
{
    MatShort u, v, mag;
    OF_Norm(ArrayOf(uSum), ArrayOf(vSum), u, v, mag);
    return {PictureOf(u), PictureOf(v), PictureOf(mag)};
}

Normalised PlainNorm(const Ints& uSum, const Ints& vSum)
{
    Normalised n;
    reference::OfNorm(uSum, vSum, n.u, n.v, n.mag);
    return n;
}

void ExpectSame(const Normalised& got, const Normalised& wanted)
{
    EXPECT_TRUE(Same(got.u, wanted.u)) << "u";
    EXPECT_TRUE(Same(got.v, wanted.v)) << "v";
    EXPECT_TRUE(Same(got.mag, wanted.mag)) << "magnitude";
}

TEST(OF_Norm, RandomFieldsMatchThePlainVersion)
{
    Random random(31);
    for (const auto& [w, h] :
         std::vector<Size2>{{1, 1}, {1, 9}, {9, 1}, {15, 4}, {16, 5}, {17, 6}, {33, 20}, {70, 3}})
        for (std::int64_t range :
             {1ll, 2ll, 100ll, 32767ll, 1000000ll, 1999999999ll, 2000000001ll, 2147483647ll})
            for (int i = 0; i < 5; i++) {
                const Ints u = Noise<std::int32_t>(random, w, h, -range, range);
                const Ints v = Noise<std::int32_t>(random, w, h, -range, i % 2 ? range : 0);
                SCOPED_TRACE(range);
                ExpectSame(Norm(u, v), PlainNorm(u, v));
            }
}

TEST(OF_Norm, TheLowestNumberHasNoPositivePartner)
{
    // The larger of x and -x is the lowest number itself: it never becomes the largest absolute value.
    for (int other : {0, 1, 5, 1000000, highest, lowest, -3}) {
        Ints u(3, 2), v(3, 2);
        u.At(1, 1) = lowest;
        v.At(2, 0) = other;
        SCOPED_TRACE(other);
        ExpectSame(Norm(u, v), PlainNorm(u, v));
        ExpectSame(Norm(v, u), PlainNorm(v, u));
    }
    const Ints all(3, 2, lowest);
    ExpectSame(Norm(all, all), PlainNorm(all, all));
}

TEST(OF_Norm, ViewsOfAnyStridesAreReadAndWritten)
{
    Random random(32);
    for (const Layout& layout : viewLayouts) {
        const Ints u = Noise<std::int32_t>(random, 9, 6, -5000, 5000);
        const Ints v = Noise<std::int32_t>(random, 9, 6, -5000, 5000);
        const Laid<int> uSum(u, layout, random), vSum(v, layout, random);
        Laid<short> uSh(9, 6, layout, random), vSh(9, 6, layout, random), mag(9, 6, layout, random);
        OF_Norm(uSum.view, vSum.view, uSh.view, vSh.view, mag.view);
        SCOPED_TRACE(testing::Message() << layout);
        ExpectSame({PictureOf(uSh.view), PictureOf(vSh.view), PictureOf(mag.view)}, PlainNorm(u, v));
        EXPECT_TRUE(uSh.SurroundingsUntouched() && vSh.SurroundingsUntouched() &&
                    mag.SurroundingsUntouched());
        EXPECT_TRUE(uSum.SurroundingsUntouched() && vSum.SurroundingsUntouched());
        EXPECT_TRUE(Same(uSum.view, u) && Same(vSum.view, v));
    }
}

TEST(OF_Norm, SumsOfNoPixelsGivePicturesOfNone)
{
    for (const auto& [w, h] : std::vector<Size2>{{0, 0}, {0, 5}, {6, 0}}) {
        const MatInt u(w, h), v(w, h);
        MatShort uSh(3, 3), vSh(3, 3), mag(3, 3);
        OF_Norm(u, v, uSh, vSh, mag);
        for (const MatShort* const m : {&uSh, &vSh, &mag}) {
            EXPECT_EQ(m->dim1, w);
            EXPECT_EQ(m->dim2, h);
        }
    }
}

TEST(OF_Norm, OutputsTakeTheShapeOfTheSums)
{
    Random random(33);
    const Ints u = Noise<std::int32_t>(random, 6, 5), v = Noise<std::int32_t>(random, 6, 5);
    for (const auto& [w, h] : std::vector<Size2>{{6, 5}, {6, 9}, {5, 6}, {30, 1}, {2, 2}, {100, 100}}) {
        MatShort uSh(w, h), vSh(w, h), mag(w, h);
        OF_Norm(ArrayOf(u), ArrayOf(v), uSh, vSh, mag);
        ExpectSame({PictureOf(uSh), PictureOf(vSh), PictureOf(mag)}, PlainNorm(u, v));
    }
}

TEST(OF_Norm, AllZeroInputKeepsTheMagnitudeThatWasThere)
{
    Random random(34);
    const Ints zero(8, 6);
    const Shorts content = Noise<std::int16_t>(random, 8, 6);
    MatShort u(8, 6), v(8, 6), mag = ArrayOf(content);
    u.Fill(5);
    v.Fill(6);
    OF_Norm(ArrayOf(zero), ArrayOf(zero), u, v, mag);
    EXPECT_TRUE(Same(u, Shorts(8, 6)));
    EXPECT_TRUE(Same(v, Shorts(8, 6)));
    EXPECT_TRUE(Same(mag, content));

    // As many elements in another shape: the storage stays, and its content with it.
    MatShort reshaped = ArrayOf(content);
    const void* const storage = reshaped.p_data;
    OF_Norm(ArrayOf(Ints(6, 8)), ArrayOf(Ints(6, 8)), u, v, reshaped);
    EXPECT_EQ(reshaped.p_data, storage);
    EXPECT_EQ(PictureOf(reshaped).a, content.a);
    EXPECT_EQ(reshaped.dim1, 6);
}

TEST(OF_Norm, AllZeroInputKeepsTheMagnitudeInAViewToo)
{
    Random random(35);
    const Ints zero(7, 5);
    for (const Layout& layout : viewLayouts) {
        const Shorts content = Noise<std::int16_t>(random, 7, 5, 1, 3000);
        Laid<short> mag(content, layout, random);
        MatShort u, v;
        OF_Norm(ArrayOf(zero), ArrayOf(zero), u, v, mag.view);
        EXPECT_TRUE(Same(mag.view, content)) << layout;
        EXPECT_TRUE(mag.SurroundingsUntouched());
    }
}

TEST(OF_Norm, AllZeroInputKeepsTheMagnitudeInAnAttachedPictureToo)
{
    std::vector<short> pixels(7 * 5, 77);
    MatShort mag, u, v;
    mag.Attach_to_raw_image(pixels.data(), 7, 5);
    OF_Norm(ArrayOf(Ints(7, 5)), ArrayOf(Ints(7, 5)), u, v, mag);
    EXPECT_EQ(pixels, std::vector<short>(7 * 5, 77));
    mag.Detach_from_raw_image();
}

TEST(OF_Norm, AllZeroInputGivesAZeroMagnitudeInNewStorage)
{
    // Storage of this size that has been in use before, so that it is not zero by chance.
    {
        MatShort used(40, 30);
        used.Fill(123);
    }
    MatShort u, v, mag;
    OF_Norm(ArrayOf(Ints(40, 30)), ArrayOf(Ints(40, 30)), u, v, mag);
    EXPECT_TRUE(Same(mag, Shorts(40, 30)));

    MatShort other(3, 3);
    other.Fill(123);
    OF_Norm(ArrayOf(Ints(40, 30)), ArrayOf(Ints(40, 30)), u, v, other);
    EXPECT_TRUE(Same(other, Shorts(40, 30)));
}

TEST(OF_Norm, ASingleOneBecomesTheFullScale)
{
    for (bool inU : {true, false}) {
        Ints one(4, 3), zero(4, 3);
        one.At(2, 1) = 1;
        Shorts scaled(4, 3);
        scaled.At(2, 1) = 1907;
        const Normalised n = inU ? Norm(one, zero) : Norm(zero, one);
        EXPECT_TRUE(Same(inU ? n.u : n.v, scaled));
        EXPECT_TRUE(Same(inU ? n.v : n.u, Shorts(4, 3)));
        EXPECT_TRUE(Same(n.mag, scaled));
    }
}

TEST(OF_Norm, ASingleMinusOneRoundsDown)
{
    Ints one(4, 3);
    one.At(0, 0) = -1;
    const Normalised n = Norm(one, Ints(4, 3));
    EXPECT_EQ(n.u.At(0, 0), -1908);
    EXPECT_EQ(n.mag.At(0, 0), 1908);
    EXPECT_EQ(n.u.At(1, 0), 0);
}

TEST(OF_Norm, ANegativeExtremeSetsTheScale)
{
    Ints u(3, 1), v(3, 1);
    u.At(0, 0) = -1000;
    u.At(1, 0) = 500;
    v.At(2, 0) = 250;
    const Normalised n = Norm(u, v);
    EXPECT_EQ(n.u.At(0, 0), -1908);
    EXPECT_EQ(n.u.At(1, 0), 953);
    EXPECT_EQ(n.v.At(2, 0), 476);
}

TEST(OF_Norm, OneScaleServesBothComponents)
{
    Random random(36);
    const Ints u = Noise<std::int32_t>(random, 12, 9, -100000, 100000);
    Ints even = u, half = u;
    for (std::size_t i = 0; i < u.a.size(); i++) {
        even.a[i] = u.a[i] * 2;
        half.a[i] = u.a[i];
    }
    const Normalised n = Norm(even, half);
    for (std::size_t i = 0; i < u.a.size(); i++) EXPECT_NEAR(n.u.a[i], 2 * n.v.a[i], 1);
}

TEST(OF_Norm, MagnitudeComesFromTheScaledValues)
{
    Ints u(2, 1), v(2, 1);
    u.At(0, 0) = v.At(0, 0) = 7777;
    const Normalised n = Norm(u, v);
    EXPECT_EQ(n.u.At(0, 0), 1907);
    EXPECT_EQ(n.v.At(0, 0), 1907);
    EXPECT_EQ(n.mag.At(0, 0), 2696) << "the root of 2 * 1907 * 1907, cut";
}

TEST(OF_Norm, TracesItselfWhileItRuns)
{
    EXPECT_EQ(Trace::getLevel(), 0);
    Norm(Ints(3, 3, 4), Ints(3, 3, 5));
    Norm(Ints(3, 3), Ints(3, 3));
    EXPECT_EQ(Trace::getLevel(), 0) << "popped on both ways out";

    const FailStop stop = RunUntilHalt([] {
        MatShort u(3, 3), mag;
        const MatShort shared = u;
        OF_Norm(ArrayOf(Ints(4, 4)), ArrayOf(Ints(4, 4)), u, u, mag);
    });
    EXPECT_TRUE(stop.halted) << stop.state;
    EXPECT_EQ(stop.line,
              ErrorLine("Resize_short: Object cannot be resized, data are referenced by another object",
                        " 0:OF_Norm"));
}

} // namespace
