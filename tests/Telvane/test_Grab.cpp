// Frames from a camera that does as the test says and writes down how it is called.
#include <Telvane/Grab.h>

#include <tests/reference/Filters.h>

#include <tests/support/Wheels.h>

#include <algorithm>
#include <cstddef>
#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace {

using Bytes = std::vector<unsigned char>;

struct Script {
    /// The buffer after that many grabs; empty: there is none.
    std::function<Bytes(int grabs)> film;
    std::function<bool(int grabs)> grabSucceeds = [](int) { return true; };
    std::string calls; ///< g, d, s for grab, data and size
};

Script* played = nullptr; // of the running test

} // namespace

namespace raspicam {

RaspiCam::RaspiCam() = default;
RaspiCam::~RaspiCam() = default;

bool RaspiCam::open(bool)
{
    played->calls += 'o';
    return true;
}

bool RaspiCam::grab()
{
    played->calls += 'g';
    grabs++;
    if (!played->grabSucceeds(grabs)) return false;
    buffer = played->film(grabs);
    return true;
}

unsigned char* RaspiCam::getImageBufferData() const
{
    played->calls += 'd';
    return buffer.empty() ? nullptr : buffer.data();
}

std::size_t RaspiCam::getImageBufferSize() const
{
    played->calls += 's';
    return buffer.size();
}

} // namespace raspicam

namespace {

/// A buffer that is all one grey.
std::function<Bytes(int)> GreyFilm(int width, int height)
{
    return
        [=](int grabs) { return Bytes(std::size_t(width) * height * 3, static_cast<unsigned char>(grabs)); };
}

Bytes RandomBytes(std::size_t size, unsigned seed)
{
    Dice dice(seed);
    Bytes bytes(size);
    for (unsigned char& byte : bytes) byte = static_cast<unsigned char>(dice.Between(0, 255));
    return bytes;
}

class GrabFrames : public testing::Test {
protected:
    void SetUp() override { played = &script; }
    void TearDown() override { played = nullptr; }

    int Grab(const CubByte& seq, int period1, int period2)
    {
        raspicam::RaspiCam camera;
        testing::internal::CaptureStdout();
        testing::internal::CaptureStderr();
        const int result = ::Grab(&camera, seq, period1, period2);
        out = testing::internal::GetCapturedStdout();
        EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
        return result;
    }

    /// The greys that a film of one grey for each grab leaves in the frames.
    std::vector<int> KeptGrabs(int frames, int period1, int period2)
    {
        script.film = GreyFilm(3, 2);
        script.calls.clear();
        const CubByte seq(3, 2, frames);
        EXPECT_EQ(Grab(seq, period1, period2), 0);
        std::vector<int> kept;
        for (int z = 0; z < frames; z++) {
            kept.push_back(seq(0, 0, z));
            EXPECT_TRUE(Same(ToSequence(seq).Frame(z), BytePicture(3, 2, seq(0, 0, z))));
        }
        return kept;
    }

    int Grabs() const { return static_cast<int>(std::count(script.calls.begin(), script.calls.end(), 'g')); }

    Script script;
    std::string out;
};

TEST_F(GrabFrames, SizesBeyondTheCameraAreRefused)
{
    script.film = GreyFilm(1, 1);
    for (const CubByte& seq : {CubByte(2593, 1, 1), CubByte(1, 1945, 1), CubByte(2593, 1945, 1), CubByte(),
                               CubByte(4, 4, 0), CubByte(0, 4, 1), CubByte(4, 0, 1)}) {
        EXPECT_EQ(Grab(seq, 1, 1), -1) << seq.dim1 << " x " << seq.dim2 << " x " << seq.dim3;
        EXPECT_EQ(out, "");
        EXPECT_EQ(script.calls, "");
    }
}

TEST_F(GrabFrames, LargestSizeIsTaken)
{
    for (const auto& [w, h] : std::vector<std::pair<int, int>>{{2592, 1}, {1, 1944}, {2592, 1944}}) {
        const Bytes bytes(std::size_t(w) * h * 3, 200);
        script.film = [&](int) { return bytes; };
        const CubByte seq(w, h, 1);
        EXPECT_EQ(Grab(seq, 1, 1), 0);
        EXPECT_EQ(seq(0, 0, 0), 200);
        EXPECT_EQ(seq(w - 1, h - 1, 0), 200);
    }
}

TEST_F(GrabFrames, NumbersAreShownFromMinusTenOn)
{
    script.film = GreyFilm(2, 2);
    EXPECT_EQ(Grab(CubByte(2, 2, 15), 1, 1), 0);
    EXPECT_EQ(out, "-10 -9 -8 -7 -6 -5 -4 -3 -2 -1 0 1 2 3 4 5 6 7 8 9 10 11 12 13 14 \n");
    EXPECT_EQ(Grab(CubByte(2, 2, 1), 50, 50), 0);
    EXPECT_EQ(out, "-10 -9 -8 -7 -6 -5 -4 -3 -2 -1 0 \n");
}

TEST_F(GrabFrames, EachFrameIsGrabbedThenReadThenSized)
{
    script.film = GreyFilm(2, 2);
    EXPECT_EQ(Grab(CubByte(2, 2, 4), 2, 5), 0);
    std::string expected;
    for (int i = 0; i < 11; i++) expected += "gds";
    EXPECT_EQ(script.calls, expected + "ggds" + "gggggds" + "ggds");
    EXPECT_EQ(Grabs(), 20);
}

TEST_F(GrabFrames, PeriodsTakeTurns)
{
    EXPECT_EQ(KeptGrabs(4, 2, 5), (std::vector<int>{11, 13, 18, 20}));
    EXPECT_EQ(Grabs(), 20);
    EXPECT_EQ(KeptGrabs(5, 1, 1), (std::vector<int>{11, 12, 13, 14, 15}));
    EXPECT_EQ(KeptGrabs(6, 1, 3), (std::vector<int>{11, 12, 15, 16, 19, 20}));
    EXPECT_EQ(KeptGrabs(3, 50, 2), (std::vector<int>{11, 61, 63}));
    EXPECT_EQ(KeptGrabs(1, 50, 50), (std::vector<int>{11}));
    EXPECT_EQ(Grabs(), 11);
}

TEST_F(GrabFrames, PeriodOfNothingKeepsTheLastBuffer)
{
    EXPECT_EQ(KeptGrabs(5, 0, 2), (std::vector<int>{11, 11, 13, 13, 15}));
}

TEST_F(GrabFrames, GreyIsWeightedOneFourThree)
{
    struct Case {
        int b0, b1, b2, grey;
    };
    const std::vector<Case> cases = {{255, 255, 255, 255}, {8, 0, 0, 1},     {0, 0, 8, 3},
                                     {0, 2, 0, 1},         {7, 0, 0, 0},     {0, 0, 0, 0},
                                     {255, 0, 0, 31},      {0, 255, 0, 127}, {0, 0, 255, 95},
                                     {255, 254, 255, 254}, {1, 1, 1, 1},     {3, 1, 0, 0}};
    const int n = static_cast<int>(cases.size());
    Bytes bytes;
    for (const Case& c : cases)
        for (const int b : {c.b0, c.b1, c.b2}) bytes.push_back(static_cast<unsigned char>(b));
    script.film = [&](int) { return bytes; };
    const CubByte seq(n, 1, 1);
    EXPECT_EQ(Grab(seq, 1, 1), 0);
    for (int x = 0; x < n; x++) EXPECT_EQ(seq(x, 0, 0), cases[static_cast<std::size_t>(x)].grey) << x;
}

TEST_F(GrabFrames, RowsFollowEachOtherWithoutPadding)
{
    for (const auto& [w, h] :
         std::vector<std::pair<int, int>>{{1, 1}, {1, 70}, {70, 1}, {33, 17}, {64, 48}}) {
        std::vector<Bytes> shown(1);
        script.film = [&, w = w, h = h](int grabs) {
            shown.push_back(RandomBytes(std::size_t(w) * h * 3, static_cast<unsigned>(grabs)));
            return shown.back();
        };
        const CubByte seq(w, h, 3);
        seq(0, 0, 0) = 0;
        EXPECT_EQ(Grab(seq, 1, 2), 0);
        ASSERT_EQ(shown.size(), 1u + 14);
        const Sequence frames = ToSequence(seq);
        EXPECT_TRUE(Same(frames.Frame(0), reference::GreyOf(shown[11], w, h)));
        EXPECT_TRUE(Same(frames.Frame(1), reference::GreyOf(shown[12], w, h)));
        EXPECT_TRUE(Same(frames.Frame(2), reference::GreyOf(shown[14], w, h)));
    }
}

TEST_F(GrabFrames, PartsWithGapsAreFilledBetweenThem)
{
    const int w = 20, h = 9;
    CubByte large(3 * w + 2, 2 * h + 3, 9);
    large.Fill(123);
    const Sequence before = ToSequence(large);
    // Columns from the right, rows from below, every second frame.
    const CubByte part = large(RNG(3 * w, 3, -3), RNG(2 * h, 2, -2), RNG(1, 5, 2));
    ASSERT_EQ(part.dim1, w);
    ASSERT_EQ(part.dim2, h);
    ASSERT_EQ(part.dim3, 3);
    script.film = [&](int grabs) {
        return RandomBytes(std::size_t(w) * h * 3, static_cast<unsigned>(grabs));
    };
    EXPECT_EQ(Grab(part, 1, 1), 0);
    Sequence expected = before;
    for (int z = 0; z < 3; z++) {
        const BytePicture grey =
            reference::GreyOf(RandomBytes(std::size_t(w) * h * 3, static_cast<unsigned>(11 + z)), w, h);
        for (int y = 0; y < h; y++)
            for (int x = 0; x < w; x++) expected.At(3 * w - 3 * x, 2 * h - 2 * y, 1 + 2 * z) = grey.At(x, y);
    }
    EXPECT_TRUE(Same(ToSequence(large), expected));
}

TEST_F(GrabFrames, FailedGrabIsNotNoticed)
{
    script.grabSucceeds = [](int grabs) { return grabs != 12 && grabs != 13; };
    EXPECT_EQ(KeptGrabs(5, 1, 1), (std::vector<int>{11, 11, 11, 14, 15}));
    EXPECT_EQ(Grabs(), 15);
}

TEST_F(GrabFrames, WithoutABufferAFrameKeepsWhatItHeld)
{
    const CubByte seq(3, 2, 4);
    CubByte(seq).Fill(99);
    script.film = [](int grabs) {
        return grabs == 12 || grabs == 14 ? Bytes() : Bytes(3 * 2 * 3, static_cast<unsigned char>(grabs));
    };
    EXPECT_EQ(Grab(seq, 1, 1), 0);
    EXPECT_EQ(seq(0, 0, 0), 11);
    EXPECT_EQ(seq(0, 0, 1), 99);
    EXPECT_EQ(seq(0, 0, 2), 13);
    EXPECT_EQ(seq(2, 1, 3), 99);
    EXPECT_EQ(out, "-10 -9 -8 -7 -6 -5 -4 -3 -2 -1 0 1 2 3 \n");
    EXPECT_EQ(std::count(script.calls.begin(), script.calls.end(), 's'), 14); // asked for all the same
}

TEST_F(GrabFrames, WarmUpGoesIntoTheFirstFrame)
{
    // The film ends with the last warm-up frame: that one stays.
    script.film = [](int grabs) {
        return grabs > 10 ? Bytes() : Bytes(3, static_cast<unsigned char>(20 + grabs));
    };
    const CubByte seq(1, 1, 3);
    CubByte(seq).Fill(99);
    EXPECT_EQ(Grab(seq, 1, 1), 0);
    EXPECT_EQ(seq(0, 0, 0), 30);
    EXPECT_EQ(seq(0, 0, 1), 99);
    EXPECT_EQ(seq(0, 0, 2), 99);
}

TEST_F(GrabFrames, CameraIsNotOpenedHere)
{
    EXPECT_EQ(KeptGrabs(2, 1, 1), (std::vector<int>{11, 12}));
    EXPECT_EQ(script.calls.find('o'), std::string::npos);
}

} // namespace
