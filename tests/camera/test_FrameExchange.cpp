// Frames on their way from one thread to another: order, waiting, losing, closing.
#include <camera/libcamera/FrameExchange.h>

#include <tests/support/RefusedMemory.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <thread>
#include <vector>

namespace {

using namespace std::chrono_literals;
using telvane::camera::FrameExchange;
using Clock = std::chrono::steady_clock;

const std::size_t frameSize = 3000;

/// What is waited for where something is sure to come, on the slowest machine.
const auto longWait = 30s;

void Deliver(FrameExchange& frames, int value, bool good = true)
{
    unsigned char* const bytes = frames.BeginFrame();
    ASSERT_NE(bytes, nullptr);
    std::fill_n(bytes, frameSize, static_cast<unsigned char>(value));
    frames.EndFrame(good);
}

/// The value that all bytes of the frame have; -1 where they differ.
int Shown(const FrameExchange& frames)
{
    const unsigned char* const bytes = frames.Frame();
    return std::count(bytes, bytes + frameSize, bytes[0]) == std::ptrdiff_t(frameSize) ? bytes[0] : -1;
}

class FrameExchanges : public testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(frames.Allocate(frameSize)); }

    FrameExchange frames;
};

TEST_F(FrameExchanges, FrameIsBlackBeforeTheFirst)
{
    ASSERT_NE(frames.Frame(), nullptr);
    EXPECT_EQ(Shown(frames), 0);
    Deliver(frames, 7);
    EXPECT_EQ(Shown(frames), 0); // it was not taken yet
}

TEST_F(FrameExchanges, NextGivesUpWhenItsPatienceEnds)
{
    const auto start = Clock::now();
    EXPECT_FALSE(frames.Next(80ms));
    const auto waited = Clock::now() - start;
    EXPECT_GE(waited, 80ms);
    EXPECT_LT(waited, longWait);
    EXPECT_EQ(Shown(frames), 0);
    EXPECT_FALSE(frames.Next(0ms));
}

TEST_F(FrameExchanges, FrameThatArrivesLateIsWaitedFor)
{
    const auto start = Clock::now();
    std::thread late([&] {
        std::this_thread::sleep_for(100ms);
        Deliver(frames, 42);
    });
    EXPECT_TRUE(frames.Next(longWait));
    const auto waited = Clock::now() - start;
    late.join();
    EXPECT_GE(waited, 100ms);
    EXPECT_LT(waited, longWait);
    EXPECT_EQ(Shown(frames), 42);
}

TEST_F(FrameExchanges, FailedDeliveryDoesNotEndTheWait)
{
    std::thread late([&] {
        Deliver(frames, 1, false);
        std::this_thread::sleep_for(50ms);
        Deliver(frames, 2, false);
        std::this_thread::sleep_for(50ms);
        Deliver(frames, 3);
    });
    EXPECT_TRUE(frames.Next(longWait));
    late.join();
    EXPECT_EQ(Shown(frames), 3);
    EXPECT_FALSE(frames.Next(0ms));
}

TEST_F(FrameExchanges, FramesThatWaitAreTakenInOrderNoneTwice)
{
    int taken = 0;
    for (int delivered = 0, round = 0; round < 50; round++) {
        const int count = round % FrameExchange::backlog + 1;
        for (int i = 0; i < count; i++) Deliver(frames, ++delivered);
        for (int i = 0; i < count; i++) {
            ASSERT_TRUE(frames.Next(0ms));
            EXPECT_EQ(Shown(frames), ++taken);
        }
        EXPECT_FALSE(frames.Next(0ms));
        EXPECT_EQ(Shown(frames), taken);
    }
}

TEST_F(FrameExchanges, OldestFramesAreLostWhenTheTakerIsSlow)
{
    ASSERT_EQ(FrameExchange::backlog, 3);
    for (int i = 1; i <= 9; i++) Deliver(frames, i);
    for (int i = 7; i <= 9; i++) {
        ASSERT_TRUE(frames.Next(0ms));
        EXPECT_EQ(Shown(frames), i);
    }
    EXPECT_FALSE(frames.Next(0ms));
    EXPECT_EQ(Shown(frames), 9);
}

TEST_F(FrameExchanges, FailedDeliveryLosesNoFrameThatWaits)
{
    for (int i = 1; i <= 3; i++) Deliver(frames, i);
    for (int i = 0; i < 9; i++) Deliver(frames, 99, false);
    for (int i = 1; i <= 3; i++) {
        ASSERT_TRUE(frames.Next(0ms));
        EXPECT_EQ(Shown(frames), i);
    }
    EXPECT_FALSE(frames.Next(0ms));
}

TEST_F(FrameExchanges, TakenFrameStaysUntilTheNextIsTaken)
{
    Deliver(frames, 1);
    ASSERT_TRUE(frames.Next(0ms));
    unsigned char* const taken = frames.Frame();
    for (int i = 2; i < 20; i++) {
        Deliver(frames, i);
        EXPECT_EQ(frames.Frame(), taken);
        EXPECT_EQ(Shown(frames), 1);
    }
}

TEST_F(FrameExchanges, CloseWakesTheTaker)
{
    Deliver(frames, 5);
    ASSERT_TRUE(frames.Next(0ms));
    const auto start = Clock::now();
    std::thread closer([&] {
        std::this_thread::sleep_for(50ms);
        frames.Close();
    });
    EXPECT_FALSE(frames.Next(longWait));
    EXPECT_LT(Clock::now() - start, longWait);
    closer.join();
    EXPECT_EQ(Shown(frames), 5);
}

TEST_F(FrameExchanges, NothingIsDeliveredOrTakenAfterClose)
{
    Deliver(frames, 1);
    ASSERT_TRUE(frames.Next(0ms));
    Deliver(frames, 2);
    frames.Close();
    const auto start = Clock::now();
    EXPECT_FALSE(frames.Next(longWait));
    EXPECT_LT(Clock::now() - start, longWait);
    EXPECT_EQ(frames.BeginFrame(), nullptr);
    EXPECT_EQ(Shown(frames), 1);
    frames.Close();
    EXPECT_EQ(Shown(frames), 1);
}

TEST_F(FrameExchanges, WhatGoesWithAFrameIsHandedOnWithIt)
{
    for (std::uint32_t i = 1; i <= 7; i++) {
        ASSERT_NE(frames.BeginFrame(), nullptr);
        frames.EndFrame(i != 6, {10 * i, 100 * i, 1000 * i, 99});
    }
    // The deliveries are counted here: those that failed or were lost as well.
    for (const std::uint32_t i : {4u, 5u, 7u}) {
        ASSERT_TRUE(frames.Next(0ms));
        EXPECT_EQ(frames.Stamp().sequence, 10 * i);
        EXPECT_EQ(frames.Stamp().time, 100 * i);
        EXPECT_EQ(frames.Stamp().duration, 1000 * i);
        EXPECT_EQ(frames.Stamp().delivery, i);
    }
    EXPECT_FALSE(frames.Next(0ms));
    EXPECT_EQ(frames.Stamp().sequence, 70u);
}

TEST_F(FrameExchanges, OpenedAgainItGoesOnWithNewFramesOnly)
{
    EXPECT_FALSE(frames.Closed());
    Deliver(frames, 1);
    ASSERT_TRUE(frames.Next(0ms));
    for (int i = 2; i <= 4; i++) Deliver(frames, i);
    frames.Close();
    EXPECT_TRUE(frames.Closed());
    frames.Reopen();
    EXPECT_FALSE(frames.Closed());
    EXPECT_FALSE(frames.Next(0ms));
    EXPECT_EQ(Shown(frames), 1);
    for (int i = 5; i <= 7; i++) Deliver(frames, i);
    EXPECT_EQ(Shown(frames), 1);
    for (int i = 5; i <= 7; i++) {
        ASSERT_TRUE(frames.Next(0ms));
        EXPECT_EQ(Shown(frames), i);
    }
    EXPECT_EQ(frames.Stamp().delivery, 7u);
}

TEST_F(FrameExchanges, CloseWaitsForTheFrameThatIsBeingWritten)
{
    std::atomic<bool> writing{false}, written{false};
    std::thread deliverer([&] {
        unsigned char* const bytes = frames.BeginFrame();
        writing = true;
        std::this_thread::sleep_for(100ms);
        std::fill_n(bytes, frameSize, static_cast<unsigned char>(9));
        written = true;
        frames.EndFrame(true);
    });
    while (!writing) std::this_thread::yield();
    frames.Close();
    EXPECT_TRUE(written);
    deliverer.join();
    EXPECT_FALSE(frames.Next(0ms));
}

TEST_F(FrameExchanges, FramesArriveWholeAndInOrderBetweenBusyThreads)
{
    // A frame is its number over and over; every seventh fails.
    const std::size_t words = frameSize / sizeof(std::uint32_t);
    std::atomic<std::uint32_t> delivered{0};
    std::thread deliverer([&] {
        while (unsigned char* const bytes = frames.BeginFrame()) {
            const std::vector<std::uint32_t> frame(words, ++delivered);
            std::memcpy(bytes, frame.data(), frameSize);
            frames.EndFrame(frame[0] % 7 != 0);
        }
    });
    std::uint32_t before = 0;
    int torn = 0, disordered = 0, failed = 0;
    for (int taken = 0; taken < 3000; taken++) {
        if (!frames.Next(longWait)) {
            ADD_FAILURE() << "no frame came after " << before;
            break;
        }
        std::vector<std::uint32_t> frame(words);
        std::memcpy(frame.data(), frames.Frame(), frameSize);
        torn += std::count(frame.begin(), frame.end(), frame[0]) != std::ptrdiff_t(words);
        disordered += frame[0] <= before || frame[0] > delivered;
        failed += frame[0] % 7 == 0;
        before = frame[0];
    }
    frames.Close();
    deliverer.join();
    EXPECT_EQ(torn, 0);
    EXPECT_EQ(disordered, 0);
    EXPECT_EQ(failed, 0);
}

TEST(FrameExchange, HasNoFramesWithoutMemory)
{
    for (int granted = 0; granted < FrameExchange::backlog + 2; granted++) {
        FrameExchange frames;
        const RefusedMemory refused(granted);
        EXPECT_FALSE(frames.Allocate(frameSize)) << granted;
    }
    FrameExchange frames;
    const RefusedMemory refused(FrameExchange::backlog + 2);
    EXPECT_TRUE(frames.Allocate(frameSize));
    EXPECT_EQ(Shown(frames), 0);
}

} // namespace
