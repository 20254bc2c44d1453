// The background of a sequence: for every pixel the value of one rank among all frames.
#include <Telvane/Telvane.h>

#include <tests/support/ChildProcess.h>
#include <tests/support/Wheels.h>

#include <tests/reference/Detection.h>

#include <algorithm>
#include <climits>
#include <cstddef>
#include <vector>

namespace {

using ShortFrames = std::vector<ShortPicture>;

ShortFrames NoiseShorts(int width, int height, int frames, unsigned seed, int lowest, int highest)
{
    Dice dice(seed);
    ShortFrames seq(static_cast<std::size_t>(frames), ShortPicture(width, height));
    for (ShortPicture& frame : seq)
        for (std::int16_t& value : frame.a) value = static_cast<std::int16_t>(dice.Between(lowest, highest));
    return seq;
}

CubShort ToShortCube(const ShortFrames& seq)
{
    CubShort cube(seq[0].w, seq[0].h, static_cast<int>(seq.size()));
    for (int z = 0; z < cube.dim3; z++)
        for (int y = 0; y < cube.dim2; y++)
            for (int x = 0; x < cube.dim1; x++) cube(x, y, z) = seq[static_cast<std::size_t>(z)].At(x, y);
    return cube;
}

BytePicture Background(const Sequence& seq, int percentile)
{
    CubByte cube = ToCube(seq);
    MatByte background;
    GetBackground(cube, background, percentile);
    EXPECT_TRUE(Same(ToSequence(cube), seq)); // read only
    return ToPicture(background);
}

ShortPicture Background(const ShortFrames& seq, int percentile)
{
    CubShort cube = ToShortCube(seq);
    MatShort background;
    GetBackground(cube, background, percentile);
    for (int z = 0; z < cube.dim3; z++)
        EXPECT_TRUE(
            Same(ToPicture<std::int16_t>(cube(RNG::All(), RNG::All(), z)), seq[static_cast<std::size_t>(z)]));
    return ToPicture(background);
}

/// One pixel with these values, one after the other.
int BackgroundOfBytes(const std::vector<int>& values, int percentile)
{
    Sequence seq(1, 1, static_cast<int>(values.size()));
    for (std::size_t z = 0; z < values.size(); z++) seq.a[z] = static_cast<std::uint8_t>(values[z]);
    return Background(seq, percentile).At(0, 0);
}

int BackgroundOfShorts(const std::vector<int>& values, int percentile)
{
    ShortFrames seq;
    for (const int value : values) seq.emplace_back(1, 1, static_cast<std::int16_t>(value));
    return Background(seq, percentile).At(0, 0);
}

TEST(GetBackground, SingleFrameIsItsOwnBackground)
{
    const Sequence seq = NoiseFrames(17, 9, 1, 1);
    const ShortFrames shorts = NoiseShorts(17, 9, 1, 2, -32768, 32767);
    for (const int percentile : {0, 1, 50, 99, 100, 1000, -5}) {
        EXPECT_TRUE(Same(Background(seq, percentile), seq.Frame(0))) << percentile;
        EXPECT_TRUE(Same(Background(shorts, percentile), shorts[0])) << percentile;
    }
}

TEST(GetBackground, MedianOfNineFrames)
{
    const std::vector<int> values = {9, 200, 4, 255, 0, 77, 78, 3, 150};
    EXPECT_EQ(BackgroundOfBytes(values, 50), 77);
    EXPECT_EQ(BackgroundOfShorts(values, 50), 77);
}

TEST(GetBackground, PercentileZeroIsTheMinimumAndNinetyNineOfTenTheMaximum)
{
    const std::vector<int> values = {9, 200, 4, 255, 1, 77, 78, 3, 150, 90};
    EXPECT_EQ(BackgroundOfBytes(values, 0), 1);
    EXPECT_EQ(BackgroundOfShorts(values, 0), 1);
    EXPECT_EQ(BackgroundOfBytes(values, 99), 255);
    EXPECT_EQ(BackgroundOfShorts(values, 99), 255);
}

TEST(GetBackground, RankIsFramesTimesPercentileByHundredTruncated)
{
    // Of the values 0 .. frames - 1 in any order, the background is the rank itself.
    for (int frames = 1; frames <= 60; frames++) {
        std::vector<int> values;
        for (int z = 0; z < frames; z++) values.push_back(z);
        Dice dice(static_cast<unsigned>(frames));
        for (std::size_t i = values.size(); i > 1; i--)
            std::swap(values[i - 1],
                      values[static_cast<std::size_t>(dice.Between(0, static_cast<int>(i) - 1))]);
        for (int percentile = 0; percentile <= 99; percentile++) {
            const int rank = frames * percentile / 100;
            ASSERT_EQ(BackgroundOfBytes(values, percentile), rank) << frames << ", " << percentile;
            ASSERT_EQ(BackgroundOfShorts(values, percentile), rank) << frames << ", " << percentile;
        }
    }
}

TEST(GetBackground, RankIsHeldToTheFrames)
{
    const std::vector<int> values = {40, 10, 30, 20};
    for (const int percentile : {100, 101, 1000, INT_MAX, INT_MAX - 1, INT_MAX / 4 + 1}) {
        EXPECT_EQ(BackgroundOfBytes(values, percentile), 40) << percentile;
        EXPECT_EQ(BackgroundOfShorts(values, percentile), 40) << percentile;
    }
    for (const int percentile : {-1, -25, -1000, INT_MIN, INT_MIN + 1, INT_MIN / 4 - 1}) {
        EXPECT_EQ(BackgroundOfBytes(values, percentile), 10) << percentile;
        EXPECT_EQ(BackgroundOfShorts(values, percentile), 10) << percentile;
    }
}

TEST(GetBackground, MoreThan32FramesAreTaken)
{
    for (const int frames : {32, 33, 50, 300}) {
        const Sequence seq = NoiseFrames(5, 4, frames, static_cast<unsigned>(frames));
        const ShortFrames shorts = NoiseShorts(5, 4, frames, static_cast<unsigned>(frames), -32768, 32767);
        for (const int percentile : {0, 10, 50, 99, 100}) {
            EXPECT_TRUE(Same(Background(seq, percentile), reference::Background(seq, percentile))) << frames;
            EXPECT_TRUE(Same(Background(shorts, percentile), reference::Background(shorts, percentile)))
                << frames;
        }
    }
}

TEST(GetBackground, BytesAreUnsignedAndShortsSigned)
{
    EXPECT_EQ(BackgroundOfBytes({128, 127, 255}, 0), 127);
    EXPECT_EQ(BackgroundOfBytes({128, 127, 255}, 50), 128);
    EXPECT_EQ(BackgroundOfBytes({128, 127, 255}, 99), 255);
    EXPECT_EQ(BackgroundOfShorts({-32768, 32767, -1}, 0), -32768);
    EXPECT_EQ(BackgroundOfShorts({-32768, 32767, -1}, 50), -1);
    EXPECT_EQ(BackgroundOfShorts({-32768, 32767, -1}, 99), 32767);
}

TEST(GetBackground, EqualAndOrderedValues)
{
    EXPECT_EQ(BackgroundOfBytes({7, 7, 7, 7, 7, 7}, 50), 7);
    EXPECT_EQ(BackgroundOfBytes({1, 2, 3, 4, 5, 6, 7, 8}, 50), 5);
    EXPECT_EQ(BackgroundOfBytes({8, 7, 6, 5, 4, 3, 2, 1}, 50), 5);
    EXPECT_EQ(BackgroundOfShorts({0, 9, 0, 9, 0, 9, 0, 9}, 50), 9);
    EXPECT_EQ(BackgroundOfShorts({0, 9, 0, 9, 0, 9, 0, 9}, 49), 0);
}

TEST(GetBackground, RandomFramesAgreeWithTheReference)
{
    Dice dice(5);
    for (int round = 0; round < 60; round++) {
        const int w = dice.Between(1, 30), h = dice.Between(1, 20), frames = dice.Between(1, 40);
        const int percentile = dice.Between(-20, 130);
        // Few grey levels make many equal values.
        const int levels = dice.OneIn(2) ? 255 : 3;
        const Sequence seq = NoiseFrames(w, h, frames, static_cast<unsigned>(round), 0, levels);
        ASSERT_TRUE(Same(Background(seq, percentile), reference::Background(seq, percentile))) << round;
        const ShortFrames shorts = NoiseShorts(w, h, frames, static_cast<unsigned>(round),
                                               levels == 3 ? -2 : -32768, levels == 3 ? 2 : 32767);
        ASSERT_TRUE(Same(Background(shorts, percentile), reference::Background(shorts, percentile))) << round;
    }
}

TEST(GetBackground, PartsOfASequenceWithGaps)
{
    const Sequence seq = NoiseFrames(40, 30, 12, 8);
    CubByte cube = ToCube(seq);
    CubByte part = cube(RNG(37, 4, -3), RNG(2, 26, 2), RNG(11, 1, -2));
    MatByte background;
    GetBackground(part, background, 50);
    EXPECT_TRUE(Same(ToPicture(background), reference::Background(ToSequence(part), 50)));
    EXPECT_TRUE(Same(ToSequence(cube), seq));
}

TEST(GetBackground, BackgroundTakesTheSizeOfTheFrames)
{
    const Sequence seq = NoiseFrames(12, 7, 3, 9);
    MatByte background; // keeps its storage from one size to the next
    for (const Sequence& frames : {seq, NoiseFrames(7, 12, 5, 14), NoiseFrames(50, 40, 2, 15), seq}) {
        CubByte cube = ToCube(frames);
        GetBackground(cube, background, 50);
        EXPECT_TRUE(Same(ToPicture(background), reference::Background(frames, 50)));
    }
    const ShortFrames shorts = NoiseShorts(12, 7, 3, 9, -500, 500);
    CubShort shortCube = ToShortCube(shorts);
    MatShort shortBackground(3, 3);
    GetBackground(shortCube, shortBackground, 50);
    EXPECT_TRUE(Same(ToPicture(shortBackground), reference::Background(shorts, 50)));
}

TEST(GetBackground, ViewOfTheSameSizeIsWrittenThrough)
{
    const Sequence seq = NoiseFrames(12, 7, 3, 10);
    CubByte cube = ToCube(seq);
    MatByte picture(20, 20);
    picture.Fill(55);
    MatByte view = picture(RNG(4, 15), RNG(6, 12));
    GetBackground(cube, view, 0);
    BytePicture expected(20, 20, 55);
    const BytePicture minimum = reference::Background(seq, 0);
    for (int y = 0; y < 7; y++)
        for (int x = 0; x < 12; x++) expected.At(x + 4, y + 6) = minimum.At(x, y);
    EXPECT_TRUE(Same(ToPicture(picture), expected));
}

TEST(GetBackground, SharedBackgroundOfAnotherSizeHalts)
{
    CubByte cube = ToCube(NoiseFrames(12, 7, 3, 11));
    MatByte background(5, 5), other = background;
    const FailStop bytes = RunUntilHalt([&] { GetBackground(cube, background, 50); });
    EXPECT_TRUE(bytes.halted) << bytes.state;
    EXPECT_EQ(bytes.err,
              ErrorLine("Resize_ubyte: Object cannot be resized, data are referenced by another object") +
                  "\n");

    // The one for shorts is traced.
    CubShort shortCube = ToShortCube(NoiseShorts(12, 7, 3, 11, -5, 5));
    MatShort shortBackground(5, 5), shortOther = shortBackground;
    const FailStop shorts = RunUntilHalt([&] {
        Trace trace("Outer");
        GetBackground(shortCube, shortBackground, 50);
    });
    EXPECT_TRUE(shorts.halted) << shorts.state;
    EXPECT_EQ(shorts.err,
              ErrorLine("Resize_short: Object cannot be resized, data are referenced by another object",
                        " 0:Outer 1:GetBackground") +
                  "\n");
}

TEST(GetBackground, NoFramesGiveABlackOne)
{
    CubByte bytes(5, 4, 0);
    MatByte background(5, 4);
    background.Fill(77);
    GetBackground(bytes, background, 50);
    EXPECT_TRUE(Same(ToPicture(background), BytePicture(5, 4, 0)));
    CubShort shorts(5, 4, 0);
    MatShort shortBackground(5, 4);
    shortBackground.Fill(77);
    GetBackground(shorts, shortBackground, 50);
    EXPECT_TRUE(Same(ToPicture(shortBackground), ShortPicture(5, 4, 0)));
}

TEST(GetBackground, TraceOfTheShortsEndsWithTheCall)
{
    Trace trace("Outer");
    Background(NoiseShorts(4, 4, 3, 12, -5, 5), 50);
    EXPECT_EQ(Trace::getLevel(), 1);
    EXPECT_STREQ(Trace::getMsg(0), "Outer");
    // The name that was on the stack is still in its place above.
    EXPECT_STREQ(Trace::getMsg(1), "GetBackground");
}

TEST(GetBackground, OverloadForBytesIsNotTraced)
{
    Trace trace("Outer");
    {
        Trace inner("Inner");
    }
    Background(NoiseFrames(4, 4, 3, 13), 50);
    EXPECT_EQ(Trace::getLevel(), 1);
    EXPECT_STREQ(Trace::getMsg(1), "Inner");
}

} // namespace
