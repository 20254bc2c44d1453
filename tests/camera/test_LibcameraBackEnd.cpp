// The camera class of the libcamera back end, over a device that does as the test says.
#include <raspicam/raspicam.h>

#include <camera/GrabLoss.h>
#include <camera/libcamera/CameraChoice.h>
#include <camera/libcamera/Device.h>
#include <camera/libcamera/PictureConvert.h>

#include <Telvane/Grab.h>

#include <tests/support/RefusedMemory.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <functional>
#include <new>
#include <optional>
#include <span>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace {

namespace camera = telvane::camera;
using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;
using camera::GrabLoss;

const std::int64_t frameTime = 33'333'333; // nanoseconds

const std::size_t frameBytes = std::size_t(1280) * 960 * 3;

struct Script {
    bool there = true;                                    ///< whether the device starts
    std::function<void(camera::FrameExchange&)> onStart;  ///< before it has started
    std::function<void(camera::FrameExchange&)> onThread; ///< the camera's own thread, after it has started
    std::chrono::milliseconds patience = 2s;
    int running = 0, started = 0, mostAtOnce = 0;
};

Script* played = nullptr; // of the running test

bool refuses = false; // memory for anything

/// As long as it lives, there is no memory.
struct NoMemory {
    NoMemory() { refuses = true; }
    ~NoMemory() { refuses = false; }
};

void Deliver(camera::FrameExchange& frames, int value)
{
    if (unsigned char* const bytes = frames.BeginFrame()) {
        std::fill_n(bytes, camera::frameBytes, static_cast<unsigned char>(value));
        frames.EndFrame(true);
    }
}

} // namespace

[[gnu::noinline]] void* operator new(std::size_t size, const std::nothrow_t&) noexcept
{
    return refuses ? nullptr : std::malloc(size);
}

[[gnu::noinline]] void* operator new(std::size_t size)
{
    void* const place = operator new(size, std::nothrow);
    if (place == nullptr) throw std::bad_alloc();
    return place;
}

[[gnu::noinline]] void operator delete(void* place) noexcept { std::free(place); }
[[gnu::noinline]] void operator delete(void* place, std::size_t) noexcept { std::free(place); }

namespace telvane::camera {

struct Device::Parts {
    FrameExchange& frames;
    std::thread thread;
};

Device::Device(std::unique_ptr<Parts> p) : parts(std::move(p)) {}

Device::~Device()
{
    parts->frames.Close();
    parts->thread.join();
    played->running--;
}

std::chrono::milliseconds Device::Patience() { return played->patience; }

std::unique_ptr<Device> Device::Start(FrameExchange& frames)
{
    if (!played->there) return nullptr;
    if (played->onStart) played->onStart(frames);
    played->started++;
    played->mostAtOnce = std::max(played->mostAtOnce, ++played->running);
    std::thread thread([&frames, run = played->onThread] {
        if (run) run(frames);
    });
    return std::unique_ptr<Device>(new Device(std::unique_ptr<Parts>(new Parts{frames, std::move(thread)})));
}

} // namespace telvane::camera

namespace {

class LibcameraBackEnd : public testing::Test {
protected:
    void SetUp() override { played = &script; }
    void TearDown() override
    {
        EXPECT_EQ(script.running, 0);
        played = nullptr;
    }

    /// Opens a camera and grabs so often.
    /// \param deliver  changes what goes with a grab's frame; answers how often it is delivered before the
    /// grab
    void Grabs(int count, const std::function<int(int, camera::FrameStamp&)>& deliver)
    {
        camera::FrameExchange* frames = nullptr;
        script.onStart = [&](camera::FrameExchange& exchange) { frames = &exchange; };
        raspicam::RaspiCam camera;
        ASSERT_TRUE(camera.open(true));
        for (int grab = 1; grab <= count; grab++) {
            camera::FrameStamp stamp{static_cast<std::uint32_t>(grab), grab * frameTime};
            for (int i = deliver(grab, stamp); i > 0; i--)
                if (frames->BeginFrame()) frames->EndFrame(true, stamp);
            ASSERT_TRUE(camera.grab()) << grab;
        }
    }

    Script script;
};

/// What the only line of a text tells.
GrabLoss TheLoss(const std::string& text)
{
    GrabLoss loss;
    EXPECT_TRUE(!text.empty() && camera::ReadLine(text.substr(0, text.size() - 1), loss)) << text;
    return loss;
}

/// The value of all bytes of the camera's buffer; -1 where they differ or are not a whole frame.
int Shown(const raspicam::RaspiCam& camera)
{
    const unsigned char* const bytes = camera.getImageBufferData();
    if (!bytes || camera.getImageBufferSize() != frameBytes) return -1;
    return std::count(bytes, bytes + frameBytes, bytes[0]) == std::ptrdiff_t(frameBytes) ? bytes[0] : -1;
}

TEST_F(LibcameraBackEnd, ClosedCameraShowsABlackFrame)
{
    raspicam::RaspiCam camera;
    EXPECT_EQ(Shown(camera), 0);
    const auto start = Clock::now();
    EXPECT_FALSE(camera.grab());
    EXPECT_LT(Clock::now() - start, 1s);
    EXPECT_EQ(Shown(camera), 0);
    EXPECT_EQ(script.started, 0);
}

TEST_F(LibcameraBackEnd, DoesNotOpenWithoutADevice)
{
    script.there = false;
    raspicam::RaspiCam camera;
    EXPECT_FALSE(camera.open(true));
    EXPECT_EQ(Shown(camera), 0);
    EXPECT_FALSE(camera.grab());
    EXPECT_EQ(Shown(camera), 0);
    script.there = true;
    EXPECT_TRUE(camera.open());
}

TEST_F(LibcameraBackEnd, DoesNotOpenWithoutMemory)
{
    raspicam::RaspiCam camera;
    for (int granted = 0; granted < 5; granted++) {
        const RefusedMemory refused(granted);
        EXPECT_FALSE(camera.open(true)) << granted;
        EXPECT_EQ(Shown(camera), 0);
    }
    EXPECT_EQ(script.started, 0); // the system's camera is left alone then
    EXPECT_TRUE(camera.open(true));
}

TEST_F(LibcameraBackEnd, FrameIsBlackUntilTheFirstGrab)
{
    script.onStart = [](camera::FrameExchange& frames) { Deliver(frames, 7); };
    raspicam::RaspiCam camera;
    ASSERT_TRUE(camera.open(true));
    EXPECT_EQ(Shown(camera), 0);
    EXPECT_TRUE(camera.grab());
    EXPECT_EQ(Shown(camera), 7);
}

TEST_F(LibcameraBackEnd, GrabTakesOneFrameAfterTheOther)
{
    script.onThread = [](camera::FrameExchange& frames) {
        for (int i = 1; i <= 3; i++) {
            Deliver(frames, i);
            std::this_thread::sleep_for(20ms);
        }
    };
    raspicam::RaspiCam camera;
    ASSERT_TRUE(camera.open(false));
    for (int i = 1; i <= 3; i++) {
        EXPECT_TRUE(camera.grab());
        EXPECT_EQ(Shown(camera), i);
    }
}

TEST_F(LibcameraBackEnd, SilentCameraIsStartedAnewOnceAndTheLastFrameStays)
{
    script.patience = 100ms;
    script.onStart = [this](camera::FrameExchange& frames) {
        if (script.started == 0) Deliver(frames, 7);
    };
    raspicam::RaspiCam camera;
    testing::internal::CaptureStderr();
    ASSERT_TRUE(camera.open(true) && camera.grab());
    for (const int patiences : {2, 1, 1}) {
        const auto start = Clock::now();
        EXPECT_FALSE(camera.grab());
        const auto waited = Clock::now() - start;
        EXPECT_GE(waited, patiences * script.patience);
        EXPECT_LT(waited, 20s);
        EXPECT_EQ(Shown(camera), 7);
        EXPECT_EQ(script.started, 2);
        EXPECT_EQ(script.running, 1);
        EXPECT_EQ(script.mostAtOnce, 1);
    }
    const GrabLoss loss = TheLoss(testing::internal::GetCapturedStderr());
    EXPECT_EQ(loss.kind, GrabLoss::Kind::none);
    EXPECT_EQ(loss.grab, 2);
    EXPECT_GE(loss.silent, 200);
    EXPECT_TRUE(loss.restarted);
}

TEST_F(LibcameraBackEnd, FramesGoOnAfterTheCameraWasStartedAnew)
{
    script.patience = 100ms;
    script.onStart = [this](camera::FrameExchange& frames) { Deliver(frames, script.started == 0 ? 7 : 8); };
    testing::internal::CaptureStderr();
    {
        raspicam::RaspiCam camera;
        ASSERT_TRUE(camera.open(true) && camera.grab());
        EXPECT_EQ(Shown(camera), 7);
        EXPECT_TRUE(camera.grab());
        EXPECT_EQ(Shown(camera), 8);
        EXPECT_EQ(script.started, 2);
    }
    const GrabLoss loss = TheLoss(testing::internal::GetCapturedStderr());
    EXPECT_EQ(loss.kind, GrabLoss::Kind::lost);
    EXPECT_EQ(loss.grab, 2);
    EXPECT_GE(loss.frames, 1);
    EXPECT_GE(loss.silent, 100);
    EXPECT_TRUE(loss.restarted);
}

TEST_F(LibcameraBackEnd, CameraThatDoesNotStartAnewIsNotWaitedFor)
{
    script.patience = 100ms;
    script.onStart = [](camera::FrameExchange& frames) { Deliver(frames, 7); };
    raspicam::RaspiCam camera;
    ASSERT_TRUE(camera.open(true) && camera.grab());
    script.there = false;
    EXPECT_FALSE(camera.grab());
    script.patience = 60s;
    const auto start = Clock::now();
    for (int i = 0; i < 20; i++) EXPECT_FALSE(camera.grab());
    EXPECT_LT(Clock::now() - start, 20s);
    EXPECT_EQ(Shown(camera), 7);
    EXPECT_EQ(script.running, 0);
    script.there = true;
    ASSERT_TRUE(camera.open(true) && camera.grab());
}

TEST_F(LibcameraBackEnd, NothingIsToldWhereNothingIsMissing)
{
    testing::internal::CaptureStderr();
    testing::internal::CaptureStdout();
    Grabs(25, [](int, camera::FrameStamp&) { return 1; });
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

TEST_F(LibcameraBackEnd, WhatIsMissingIsToldWithItsGrabAtEveryPlace)
{
    for (int at = 1; at <= 16; at++) {
        for (const std::string what : {"number and time", "time", "number"}) {
            testing::internal::CaptureStderr();
            Grabs(16, [&](int grab, camera::FrameStamp& stamp) {
                if (grab >= at && what != "time") stamp.sequence += 2;
                if (grab >= at && what != "number") stamp.time += 2 * frameTime;
                return 1;
            });
            const int silent = what == "number" ? 33 : 100;
            EXPECT_EQ(testing::internal::GetCapturedStderr(),
                      at == 1 ? "" // nothing comes before it
                              : "Camera: 2 frames lost before grab " + std::to_string(at) + ", silent for " +
                                    std::to_string(silent) + " ms\n")
                << what;
        }
        testing::internal::CaptureStderr();
        Grabs(16, [&](int grab, camera::FrameStamp& stamp) {
            if (grab >= at) stamp.sequence--, stamp.time -= frameTime;
            return 1;
        });
        EXPECT_EQ(testing::internal::GetCapturedStderr(),
                  at == 1 ? "" : "Camera: grab " + std::to_string(at) + " repeats the frame before\n");
    }
}

TEST_F(LibcameraBackEnd, FramesThatASlowProgramLosesAreToldWithoutStamps)
{
    for (const int at : {2, 9, 16}) {
        testing::internal::CaptureStderr();
        Grabs(16, [&](int grab, camera::FrameStamp& stamp) {
            stamp = {};
            // Three wait in place of one; the first that is then taken is the third.
            return grab == at ? camera::FrameExchange::backlog + 2 : grab > at && grab < at + 3 ? 0 : 1;
        });
        const GrabLoss loss = TheLoss(testing::internal::GetCapturedStderr());
        EXPECT_EQ(loss.kind, GrabLoss::Kind::lost);
        EXPECT_EQ(loss.grab, at);
        EXPECT_EQ(loss.frames, 2);
    }
}

TEST_F(LibcameraBackEnd, FilmsAndTellsWhatIsMissingWithoutAskingForMemory)
{
    camera::FrameExchange* frames = nullptr;
    script.onStart = [&](camera::FrameExchange& exchange) { frames = &exchange; };
    testing::internal::CaptureStderr();
    std::string expected;
    {
        raspicam::RaspiCam camera;
        ASSERT_TRUE(camera.open(true));
        const int first = 20, last = 60;
        for (int grab = 1; grab <= last; grab++) {
            const int number = grab < first ? grab : 2 * grab;
            const camera::FrameStamp stamp{static_cast<std::uint32_t>(number), grab * frameTime};
            if (frames->BeginFrame()) frames->EndFrame(true, stamp);
            const NoMemory none;
            EXPECT_TRUE(camera.grab());
        }
        for (int grab = first; grab <= last; grab++)
            expected += "Camera: " + std::to_string(grab == first ? 20 : 1) +
                        (grab == first ? " frames" : " frame") + " lost before grab " + std::to_string(grab) +
                        ", silent for 33 ms\n";
    }
    EXPECT_EQ(testing::internal::GetCapturedStderr(), expected);
}

TEST_F(LibcameraBackEnd, LossesThatWaitAreToldAtTheEndWithoutAskingForMemory)
{
    testing::internal::CaptureStderr();
    {
        camera::FrameExchange* frames = nullptr;
        script.onStart = [&](camera::FrameExchange& exchange) { frames = &exchange; };
        std::optional<raspicam::RaspiCam> camera(std::in_place);
        ASSERT_TRUE(camera->open(true));
        for (const std::uint32_t number : {1u, 2u, 5u}) {
            if (frames->BeginFrame()) frames->EndFrame(true, {number, number * frameTime});
            EXPECT_TRUE(camera->grab());
        }
        const NoMemory none;
        camera.reset();
    }
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "Camera: 2 frames lost before grab 3, silent for 100 ms\n");
}

TEST_F(LibcameraBackEnd, DeviceWithoutMemoryToStartIsNone)
{
    script.patience = 100ms;
    script.onStart = [](camera::FrameExchange&) { throw std::bad_alloc(); };
    raspicam::RaspiCam camera;
    EXPECT_FALSE(camera.open(true));
    script.onStart = nullptr;
    ASSERT_TRUE(camera.open(true));
    script.onStart = [](camera::FrameExchange&) { throw std::bad_alloc(); };
    testing::internal::CaptureStderr();
    EXPECT_FALSE(camera.grab());
    EXPECT_EQ(TheLoss(testing::internal::GetCapturedStderr()).kind, GrabLoss::Kind::none);
    EXPECT_EQ(script.running, 0);
}

TEST_F(LibcameraBackEnd, NothingIsToldInAProgramThatDoesNotCountItsGrabs)
{
    camera::lossesAreTold = false;
    const unsigned before = camera::lossesSoFar;
    testing::internal::CaptureStderr();
    Grabs(16, [](int grab, camera::FrameStamp& stamp) {
        stamp.sequence *= static_cast<std::uint32_t>(grab);
        return 1;
    });
    camera::lossesAreTold = true;
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_EQ(camera::lossesSoFar, before + 15);
}

TEST_F(LibcameraBackEnd, CameraThatIsGoneIsNotWaitedFor)
{
    script.onStart = [](camera::FrameExchange& frames) { Deliver(frames, 7); };
    script.onThread = [](camera::FrameExchange& frames) {
        std::this_thread::sleep_for(100ms);
        frames.Close();
    };
    raspicam::RaspiCam camera;
    ASSERT_TRUE(camera.open(true) && camera.grab());
    const auto start = Clock::now();
    for (int i = 0; i < 20; i++) {
        EXPECT_FALSE(camera.grab());
        EXPECT_EQ(Shown(camera), 7);
    }
    EXPECT_LT(Clock::now() - start, 20s); // not two seconds each
}

TEST_F(LibcameraBackEnd, OpeningAgainGivesTheCameraBackFirst)
{
    script.onStart = [](camera::FrameExchange& frames) { Deliver(frames, 7); };
    raspicam::RaspiCam camera;
    ASSERT_TRUE(camera.open(true) && camera.grab());
    EXPECT_EQ(Shown(camera), 7);
    ASSERT_TRUE(camera.open(true));
    EXPECT_EQ(Shown(camera), 0);
    EXPECT_EQ(script.started, 2);
    EXPECT_EQ(script.mostAtOnce, 1);
    EXPECT_TRUE(camera.grab());
    script.there = false;
    EXPECT_FALSE(camera.open(true));
    EXPECT_EQ(script.running, 0);
    EXPECT_EQ(Shown(camera), 0);
}

TEST_F(LibcameraBackEnd, CameraGoesWhileFramesArrive)
{
    script.onThread = [](camera::FrameExchange& frames) {
        for (int i = 0; unsigned char* const bytes = frames.BeginFrame(); i++) {
            std::fill_n(bytes, camera::frameBytes, static_cast<unsigned char>(i));
            frames.EndFrame(i % 3 != 0);
        }
    };
    for (int i = 0; i < 10; i++) {
        raspicam::RaspiCam camera;
        ASSERT_TRUE(camera.open(true));
        for (int grabs = 0; grabs < i; grabs++) EXPECT_TRUE(camera.grab());
        EXPECT_NE(Shown(camera), -1);
    }
    EXPECT_EQ(script.started, 10);
}

TEST_F(LibcameraBackEnd, RedGreenAndBlueGetTheirWeightsInGrey)
{
    struct Case {
        const char* what;
        std::array<unsigned char, 3> rgb888; // the bytes of a pixel in memory
        int grey;                            // (blue + 4 green + 3 red) / 8
    };
    for (const Case& c : {Case{"blue", {255, 0, 0}, 31}, Case{"green", {0, 255, 0}, 127},
                          Case{"red", {0, 0, 255}, 95}, Case{"white", {255, 255, 255}, 255}}) {
        for (const bool reversed : {false, true}) { // as RGB888 and as BGR888
            std::vector<unsigned char> picture(frameBytes);
            for (std::size_t i = 0; i < picture.size(); i++)
                picture[i] = c.rgb888[reversed ? 2 - i % 3 : i % 3];
            camera::PictureFormat format;
            format.fourcc = reversed ? 0x34324742u : 0x34324752u; // "BG24", "RG24"
            format.width = 1280;
            format.height = 960;
            format.stride = 1280 * 3;
            script.onThread = [&](camera::FrameExchange& frames) {
                while (unsigned char* const bytes = frames.BeginFrame())
                    frames.EndFrame(camera::ConvertToBgr(format, {picture}, bytes));
            };
            raspicam::RaspiCam camera;
            ASSERT_TRUE(camera.open(true));
            const CubByte seq(1280, 960, 1);
            testing::internal::CaptureStdout();
            EXPECT_EQ(Grab(&camera, seq, 1, 1), 0);
            testing::internal::GetCapturedStdout();
            EXPECT_EQ(seq(0, 0, 0), c.grey) << c.what << reversed;
            EXPECT_EQ(seq(1279, 959, 0), c.grey) << c.what << reversed;
        }
    }
}

TEST(CameraChoice, BoardsOwnCameraComesBeforeOneOnUsb)
{
    const std::string own = "/base/soc/i2c0mux/i2c@1/imx219@10", other = "/base/soc/i2c0mux/i2c@0/ov5647@36";
    const std::string usb = "/base/scb/pcie@7d500000/pci@0,0/usb@0,0-1.4:1.0-046d:0825";
    const auto choose = [](const std::vector<std::string>& ids) { return camera::ChooseCamera(ids); };
    EXPECT_EQ(choose({own}), 0u);
    EXPECT_EQ(choose({usb, own}), 1u);
    EXPECT_EQ(choose({usb, usb, own, other}), 2u);
    EXPECT_EQ(choose({own, usb, other}), 0u);
    EXPECT_EQ(choose({usb, usb}), 0u);
    EXPECT_EQ(choose({usb}), 0u);
    EXPECT_EQ(choose({"/base/soc/usb@7e980000/hub@1-1.3:1.0-046d:0825", own}), 1u) << "of an older board";
}

} // namespace
