// Which frames are missing: by numbers, by times, by both, and by a camera that fills in neither.
#include <camera/libcamera/LossWatch.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <functional>
#include <limits>
#include <string>

namespace {

using namespace std::chrono_literals;
using telvane::camera::FrameStamp;
using telvane::camera::GrabLoss;
using telvane::camera::LossWatch;
using Kind = GrabLoss::Kind;

const std::int64_t frameTime = 33'333'333; // nanoseconds

std::string LineTold(const GrabLoss& loss) { return std::string(LineOf(loss).Text()); }

FrameStamp StampOf(int frame)
{
    return {static_cast<std::uint32_t>(frame), 5'000'000'000 + frame * frameTime, 0,
            static_cast<std::uint64_t>(frame)};
}

/// The lines for that many grabs, without "Camera: ", one behind the other.
std::string Told(int grabs, const std::function<void(int, FrameStamp&)>& change)
{
    LossWatch watch;
    std::string text;
    const auto tell = [&](const LossWatch::Losses& losses) {
        for (const GrabLoss& loss : losses) text += LineTold(loss).substr(8) + '\n';
    };
    for (int grab = 1; grab <= grabs; grab++) {
        FrameStamp stamp = StampOf(grab);
        stamp.delivery = static_cast<std::uint64_t>(grab);
        change(grab, stamp);
        tell(watch.Got(stamp, 7ms));
    }
    tell(watch.Rest());
    return text;
}

std::string Lost(int frames, int grab, int silent)
{
    return LineTold({Kind::lost, grab, frames, silent, false}).substr(8) + '\n';
}

TEST(LossWatch, SaysNothingOfAWholeFilm)
{
    EXPECT_EQ(Told(60, [](int, FrameStamp&) {}), "");
    EXPECT_EQ(Told(1, [](int, FrameStamp&) {}), "");
    EXPECT_EQ(Told(0, [](int, FrameStamp&) {}), "");
}

TEST(LossWatch, FirstFrameMayHaveAnyNumberAndTime)
{
    EXPECT_EQ(Told(20, [](int, FrameStamp& s) { s.sequence += 1000000, s.delivery += 40; }), "");
}

TEST(LossWatch, NumbersGoOnPastTheirEnd)
{
    const auto wrap = [](int, FrameStamp& s) { s.sequence += std::numeric_limits<std::uint32_t>::max() - 8; };
    EXPECT_EQ(Told(20, wrap), "");
    EXPECT_EQ(Told(20,
                   [&](int grab, FrameStamp& s) {
                       wrap(grab, s);
                       if (grab >= 9) s.sequence += 3;
                   }),
              Lost(3, 9, 33));
}

TEST(LossWatch, NumbersGoBackWhereTheyLeapByHalfOfAllOrMore)
{
    const auto leap = [](std::uint32_t step) {
        return Told(20, [step](int grab, FrameStamp& s) {
            if (grab >= 9) s.sequence += step;
        });
    };
    EXPECT_EQ(leap(0x7FFFFFFEu), Lost(0x7FFFFFFE, 9, 33));
    EXPECT_EQ(leap(0x7FFFFFFFu), "");
    EXPECT_EQ(leap(std::numeric_limits<std::uint32_t>::max() - 5), "");
}

TEST(LossWatch, TheLargerOfBothCountsIsTold)
{
    for (const int at : {2, 5, 6, 11, 20}) {
        EXPECT_EQ(Told(20,
                       [&](int grab, FrameStamp& s) {
                           if (grab >= at) s.sequence += 2, s.time += 5 * frameTime;
                       }),
                  Lost(5, at, 200));
        EXPECT_EQ(Told(20,
                       [&](int grab, FrameStamp& s) {
                           if (grab >= at) s.sequence += 4, s.time += frameTime;
                       }),
                  Lost(4, at, 67));
        EXPECT_EQ(Told(20,
                       [&](int grab, FrameStamp& s) {
                           if (grab >= at) s.delivery += 3, s.sequence += 1, s.time += frameTime;
                       }),
                  Lost(3, at, 67));
    }
}

TEST(LossWatch, TimesTellFromOneAndAHalfFrameTimesOn)
{
    const auto longer = [](double frames) {
        return [frames](int grab, FrameStamp& s) {
            if (grab >= 12) s.time += static_cast<std::int64_t>((frames - 1) * frameTime);
        };
    };
    EXPECT_EQ(Told(20, longer(1.49)), "");
    EXPECT_EQ(Told(20, longer(1.51)), Lost(1, 12, 50));
    EXPECT_EQ(Told(20, longer(2.0)), Lost(1, 12, 67));
    EXPECT_EQ(Told(20, longer(2.49)), Lost(1, 12, 83));
    EXPECT_EQ(Told(20, longer(2.51)), Lost(2, 12, 84));
    EXPECT_EQ(Told(20, longer(31)), Lost(30, 12, 1033));
}

TEST(LossWatch, EveryLossIsToldAlsoWhereManyAre)
{
    // Four of the first nine gaps, and then every third.
    std::string expected;
    const auto lossy = [](int grab) { return grab == 2 || grab % 3 == 0; };
    for (int grab = 1; grab <= 30; grab++)
        if (lossy(grab)) expected += Lost(1, grab, 67);
    EXPECT_EQ(Told(30,
                   [&, gone = 0](int grab, FrameStamp& s) mutable {
                       gone += lossy(grab);
                       s.time += gone * frameTime;
                   }),
              expected);
}

TEST(LossWatch, TimesThatAreAThirdOffAreNoLoss)
{
    EXPECT_EQ(Told(60,
                   [](int grab, FrameStamp& s) {
                       s.time += grab % 3 == 0 ? frameTime / 6 : grab % 3 == 1 ? -frameTime / 6 : 0;
                   }),
              "");
}

TEST(LossWatch, CameraThatSlowsDownAndSaysSoLosesNothing)
{
    const auto slower = [](int grab, FrameStamp& s) {
        if (grab > 12) s.time += (grab - 12) * frameTime;
        s.duration = grab >= 12 ? 2 * frameTime : frameTime;
    };
    EXPECT_EQ(Told(40, slower), "");
    EXPECT_EQ(Told(40,
                   [&](int grab, FrameStamp& s) {
                       slower(grab, s);
                       if (grab >= 14) s.time += 2 * frameTime;
                   }),
              Lost(1, 14, 133));
}

TEST(LossWatch, CameraThatSlowsDownWithoutAWordIsLearnedInTime)
{
    const std::string text = Told(60, [](int grab, FrameStamp& s) {
        if (grab > 12) s.time += (grab - 12) * frameTime;
    });
    std::string expected;
    for (int grab = 13; grab < 17; grab++) expected += Lost(1, grab, 67);
    EXPECT_EQ(text, expected);
}

TEST(LossWatch, OneFrameThatTakesLongAndSaysSoIsNoLoss)
{
    EXPECT_EQ(Told(30,
                   [](int grab, FrameStamp& s) {
                       if (grab > 12) s.time += 2 * frameTime;
                       s.duration = grab == 12 ? 3 * frameTime : frameTime;
                   }),
              "");
}

TEST(LossWatch, WhatNumbersTellIsNotLearnedAsTheTimeOfAFrame)
{
    // Every second frame is lost at first; later one is missing by its time alone.
    std::string expected;
    for (int grab = 2; grab <= 10; grab++) expected += Lost(1, grab, 67);
    EXPECT_EQ(Told(20,
                   [](int grab, FrameStamp& s) {
                       const int gone = std::min(grab, 10) - 1;
                       s.sequence += static_cast<std::uint32_t>(gone);
                       s.time += (gone + (grab >= 15)) * frameTime;
                   }),
              expected + Lost(1, 15, 67));
}

TEST(LossWatch, RepeatsAreToldByNumberOrTime)
{
    for (const int at : {2, 3, 8, 20}) {
        const std::string told = "grab " + std::to_string(at) + " repeats the frame before\n";
        EXPECT_EQ(Told(20,
                       [&](int grab, FrameStamp& s) {
                           if (grab >= at) s.sequence--;
                       }),
                  told);
        EXPECT_EQ(Told(20,
                       [&](int grab, FrameStamp& s) {
                           if (grab >= at) s.time -= frameTime;
                       }),
                  told);
    }
}

TEST(LossWatch, FrameInPlaceOfWhichTheLastCameAgainIsLost)
{
    EXPECT_EQ(Told(20,
                   [](int grab, FrameStamp& s) {
                       if (grab == 9) s = StampOf(8), s.delivery = 9;
                   }),
              "grab 9 repeats the frame before\n" + Lost(1, 10, 67));
}

TEST(LossWatch, CameraThatFillsInNothingIsCountedByItsDeliveries)
{
    const auto bare = [](int grab, FrameStamp& s) {
        s = {0, 0, 0, static_cast<std::uint64_t>(grab)};
        if (grab >= 11) s.delivery += 2;
    };
    EXPECT_EQ(Told(30, bare), Lost(2, 11, 7));
    EXPECT_EQ(Told(4,
                   [](int grab, FrameStamp& s) {
                       s = {3, 4, 0, static_cast<std::uint64_t>(2 * grab)};
                   }),
              Lost(1, 2, 7) + Lost(1, 3, 7) + Lost(1, 4, 7));
}

TEST(LossWatch, NumbersOrTimesThatGoBackAreLeftAlone)
{
    // What lay in the memory of four buffers before.
    const std::int64_t times[] = {140065997140, 140065997141, 140065997140, 0};
    const std::uint32_t numbers[] = {32611, 32612, 32611, 0};
    EXPECT_EQ(Told(40,
                   [&](int grab, FrameStamp& s) {
                       s.time = times[grab % 4];
                       s.sequence = numbers[grab % 4];
                   }),
              "");
    // One of them still tells.
    EXPECT_EQ(Told(40,
                   [&](int grab, FrameStamp& s) {
                       s.time = times[grab % 4];
                       if (grab >= 20) s.sequence += 3;
                   }),
              Lost(3, 20, 7));
    EXPECT_EQ(Told(40,
                   [&](int grab, FrameStamp& s) {
                       s.sequence = numbers[grab % 4];
                       if (grab >= 20) s.time += 3 * frameTime;
                   }),
              Lost(3, 20, 133));
    // From end to end of what 64 bits hold.
    const std::int64_t ends[] = {std::numeric_limits<std::int64_t>::min(),
                                 std::numeric_limits<std::int64_t>::max(), 0, -1};
    EXPECT_EQ(Told(40, [&](int grab, FrameStamp& s) { s.time = s.duration = ends[grab % 4]; }), "");
}

TEST(LossWatch, SilenceIsToldAtItsFirstGrabAndAtItsEnd)
{
    LossWatch watch;
    std::string text;
    const auto tell = [&](const GrabLoss& loss) { text += LineTold(loss).substr(8) + '\n'; };
    for (int grab = 1; grab <= 12; grab++)
        for (const GrabLoss& loss : watch.Got(StampOf(grab), 7ms)) tell(loss);
    watch.Restarted(2000ms);
    const auto first = watch.Nothing(2001ms);
    ASSERT_TRUE(first);
    tell(*first);
    EXPECT_FALSE(watch.Nothing(2000ms));
    EXPECT_FALSE(watch.Nothing(2000ms));
    // It counts from 0 again, its clock goes on: 300 frames later.
    FrameStamp stamp = StampOf(313);
    stamp.sequence = 0;
    for (const GrabLoss& loss : watch.Got(stamp, 5ms)) tell(loss);
    EXPECT_EQ(text, "no frame at grab 13, silent for 4001 ms, restarted\n"
                    "300 frames lost before grab 16, silent for 10033 ms, restarted\n");
    text.clear();
    stamp = StampOf(314);
    stamp.sequence = 1;
    EXPECT_TRUE(watch.Got(stamp, 5ms).Empty());

    // A second time it is not started anew.
    const auto second = watch.Nothing(2000ms);
    ASSERT_TRUE(second);
    tell(*second);
    stamp = StampOf(315);
    stamp.sequence = 2;
    for (const GrabLoss& loss : watch.Got(stamp, 40ms)) tell(loss); // its times stand still meanwhile
    EXPECT_EQ(text, "no frame at grab 18, silent for 2000 ms\n"
                    "60 frames lost before grab 19, silent for 2040 ms\n");
}

TEST(LossWatch, NumbersOfACameraThatWasStartedAnewBeginAgainAndCount)
{
    LossWatch watch;
    for (int grab = 1; grab <= 12; grab++) EXPECT_TRUE(watch.Got(StampOf(grab), 7ms).Empty());
    watch.Restarted(100ms);
    std::string text;
    for (const int frame : {16, 17, 19, 20}) { // 18 is missing by its number alone
        FrameStamp stamp = StampOf(frame);
        stamp.sequence -= 16;
        stamp.time = StampOf(frame < 18 ? frame : frame - 1).time;
        stamp.delivery = static_cast<std::uint64_t>(frame < 18 ? frame + 100 : frame + 99);
        for (const GrabLoss& loss : watch.Got(stamp, 5ms)) text += LineTold(loss) + '\n';
    }
    EXPECT_EQ(text, "Camera: 3 frames lost before grab 13, silent for 133 ms, restarted\n"
                    "Camera: 1 frame lost before grab 15, silent for 33 ms\n");
}

TEST(LossWatch, LossesAreNotKeptBackWhereNoTimesComeToJudgeThemBy)
{
    LossWatch watch;
    std::size_t told = 0;
    for (std::uint64_t grab = 1; grab <= 11; grab++) told += watch.Got({0, 0, 0, 2 * grab}, 7ms).Size();
    EXPECT_EQ(told, 10u);
}

TEST(LossWatch, SilenceBeforeTheFirstFrameIsToldOnceFrameTimesAreKnown)
{
    LossWatch watch;
    watch.Restarted(2000ms);
    for (int grab = 1; grab <= 9; grab++) EXPECT_TRUE(watch.Got(StampOf(grab), 500ms).Empty()) << grab;
    const LossWatch::Losses losses = watch.Got(StampOf(10), 5ms);
    ASSERT_EQ(losses.Size(), 1u);
    EXPECT_EQ(LineTold(losses[0]), "Camera: 74 frames lost before grab 1, silent for 2500 ms, restarted");
    EXPECT_TRUE(watch.Rest().Empty());
}

TEST(LossWatch, SilenceLosesAtLeastOneFrameWhereTheFrameTimeIsNotKnown)
{
    LossWatch watch;
    EXPECT_TRUE(watch.Got({}, 1ms).Empty());
    watch.Restarted(20ms);
    EXPECT_TRUE(watch.Got({}, 10ms).Empty());
    const LossWatch::Losses losses = watch.Rest();
    ASSERT_EQ(losses.Size(), 1u);
    EXPECT_EQ(LineTold(losses[0]), "Camera: 1 frame lost before grab 2, silent for 30 ms, restarted");
}

} // namespace
