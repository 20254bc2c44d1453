// From the camera's lines to the gaps between the frames of a run.
#include <run/MissingFrames.h>

#include <diagnosis/Diagnosis.h>
#include <run/Process.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using namespace telvane;
using Numbers = std::vector<int>;

const int again = RunSeen::again;

RunArguments Asked(int count, int period1 = 1, int period2 = 1)
{
    RunArguments arguments;
    arguments.count = count;
    arguments.period1 = period1;
    arguments.period2 = period2;
    return arguments;
}

std::string Lost(int frames, int grab)
{
    return "Camera: " + std::to_string(frames) + (frames == 1 ? " frame" : " frames") + " lost before grab " +
           std::to_string(grab) + ", silent for 67 ms\n";
}

std::string None(int grab)
{
    return "Camera: no frame at grab " + std::to_string(grab) + ", silent for 4000 ms, restarted\n";
}

std::string Repeats(int grab)
{
    return "Camera: grab " + std::to_string(grab) + " repeats the frame before\n";
}

TEST(MissingFrames, FramesComeFromTheseGrabs)
{
    EXPECT_EQ(GrabsOf(Asked(1)), Numbers({11}));
    EXPECT_EQ(GrabsOf(Asked(4)), Numbers({11, 12, 13, 14}));
    EXPECT_EQ(GrabsOf(Asked(4, 2, 5)), Numbers({11, 13, 18, 20}));
    EXPECT_EQ(GrabsOf(Asked(3, 50, 1)), Numbers({11, 61, 62}));
}

TEST(MissingFrames, NoneAreMissingWhereNothingIsTold)
{
    EXPECT_EQ(MissingFrames("", Asked(4)), Numbers({0, 0, 0}));
    EXPECT_EQ(MissingFrames("Error 1: Invalid argument <params>\n", Asked(4)), Numbers({0, 0, 0}));
    EXPECT_EQ(MissingFrames("", Asked(1)), Numbers());
}

TEST(MissingFrames, EachLossLiesBetweenTheFramesAroundItsGrab)
{
    for (int grab = 1; grab <= 20; grab++) {
        Numbers expected(3);
        if (grab >= 12 && grab <= 14) expected[static_cast<std::size_t>(grab - 12)] = 2;
        EXPECT_EQ(MissingFrames(Lost(2, grab), Asked(4)), expected) << grab;

        Numbers further(3);
        if (grab > 11) further[grab <= 13 ? 0 : grab <= 18 ? 1 : 2] = 1;
        EXPECT_EQ(MissingFrames(Lost(1, grab), Asked(4, 2, 5)), further) << grab;
    }
}

TEST(MissingFrames, LossesOfOneGapAddUp)
{
    EXPECT_EQ(MissingFrames(Lost(2, 13) + Lost(3, 14), Asked(3, 1, 3)), Numbers({0, 5}));
    EXPECT_EQ(MissingFrames(Lost(2147483647, 12) + Lost(2147483647, 12), Asked(2)), Numbers({2147483647}));
}

TEST(MissingFrames, RepeatsSpoilTheGapThatTheyEnd)
{
    for (int grab = 1; grab <= 16; grab++) {
        Numbers expected(3);
        if (grab >= 12 && grab <= 14) expected[static_cast<std::size_t>(grab - 12)] = again;
        EXPECT_EQ(MissingFrames(Repeats(grab), Asked(4)), expected) << grab;
    }
    EXPECT_EQ(MissingFrames(Repeats(13) + Lost(2, 13), Asked(4)), Numbers({0, 2, 0}));
    EXPECT_EQ(MissingFrames(Lost(2, 13) + Repeats(13), Asked(4)), Numbers({0, 2, 0}));
}

TEST(MissingFrames, SilenceSpoilsAllGapsUntilFramesComeAgain)
{
    EXPECT_EQ(MissingFrames(None(1), Asked(4)), Numbers({again, again, again}));
    EXPECT_EQ(MissingFrames(None(11), Asked(4)), Numbers({again, again, again}));
    EXPECT_EQ(MissingFrames(None(13), Asked(4)), Numbers({0, again, again}));
    EXPECT_EQ(MissingFrames(None(14), Asked(4)), Numbers({0, 0, again}));
    EXPECT_EQ(MissingFrames(None(15), Asked(4)), Numbers({0, 0, 0}));
    EXPECT_EQ(MissingFrames(None(3) + Lost(60, 11), Asked(4)), Numbers({0, 0, 0}));
    EXPECT_EQ(MissingFrames(None(3) + Lost(60, 12), Asked(4)), Numbers({60, 0, 0}));
    EXPECT_EQ(MissingFrames(None(12) + Lost(60, 14), Asked(5)), Numbers({again, again, 60, 0}));
    EXPECT_EQ(MissingFrames(None(12) + Lost(60, 13) + None(14), Asked(5)),
              Numbers({again, 60, again, again}));
}

TEST(MissingFrames, LinesMayComeLaterThanThoseOfLaterGrabs)
{
    EXPECT_EQ(MissingFrames(None(2) + None(12) + Lost(60, 5) + Lost(60, 14), Asked(5)),
              Numbers({again, again, 60, 0}));
    EXPECT_EQ(MissingFrames(None(12) + None(15) + Lost(60, 13) + Lost(60, 16), Asked(7)),
              Numbers({again, 60, 0, again, 60, 0}));
}

TEST(MissingFrames, OtherLinesMayLieBetween)
{
    const std::string text =
        "Error 4: Calculated\n" + Lost(1, 12) + "\n\nCamera: broken\n" + Lost(2, 14) + "no newline";
    EXPECT_EQ(MissingFrames(text, Asked(4)), Numbers({1, 0, 2}));
    std::string last = Lost(1, 12);
    last.pop_back();
    EXPECT_EQ(MissingFrames(last, Asked(4)), Numbers({1, 0, 0}));
}

TEST(MissingFrames, RecordedFramesHaveNoGrabs)
{
    RunArguments arguments = Asked(4);
    arguments.files = true;
    EXPECT_EQ(MissingFrames(Lost(1, 12), arguments), Numbers());
}

TEST(MissingFrames, MoreThanIsKeptIsTakenForLossesEverywhere)
{
    const std::string kept(2 * Capture::share, '\n');
    EXPECT_EQ(MissingFrames(kept, Asked(4)), Numbers({0, 0, 0}));
    EXPECT_EQ(MissingFrames(kept + '\n', Asked(4)), Numbers({1, 1, 1}));
}

} // namespace
