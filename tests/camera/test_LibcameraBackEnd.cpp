// The camera class of the libcamera back end, over a device that does as the test says.
#include <raspicam/raspicam.h>

#include <camera/libcamera/CameraChoice.h>
#include <camera/libcamera/Device.h>
#include <camera/libcamera/PictureConvert.h>

#include <Telvane/Grab.h>

#include <tests/support/RefusedMemory.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <functional>
#include <span>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace {

namespace camera = telvane::camera;
using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

const std::size_t frameBytes = std::size_t(1280) * 960 * 3;

struct Script {
    bool there = true;                                    ///< whether the device starts
    std::function<void(camera::FrameExchange&)> onStart;  ///< before it has started
    std::function<void(camera::FrameExchange&)> onThread; ///< the camera's own thread, after it has started
    int running = 0, started = 0, mostAtOnce = 0;
};

Script* played = nullptr; // of the running test

void Deliver(camera::FrameExchange& frames, int value)
{
    if (unsigned char* const bytes = frames.BeginFrame()) {
        std::fill_n(bytes, camera::frameBytes, static_cast<unsigned char>(value));
        frames.EndFrame(true);
    }
}

} // namespace

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

    Script script;
};

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

TEST_F(LibcameraBackEnd, GrabGivesUpAfterTwoSecondsAndKeepsTheLastFrame)
{
    script.onStart = [](camera::FrameExchange& frames) { Deliver(frames, 7); };
    raspicam::RaspiCam camera;
    ASSERT_TRUE(camera.open(true) && camera.grab());
    const auto start = Clock::now();
    EXPECT_FALSE(camera.grab());
    const auto waited = Clock::now() - start;
    EXPECT_GE(waited, 2s);
    EXPECT_LT(waited, 20s);
    EXPECT_EQ(Shown(camera), 7);
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
}

} // namespace
