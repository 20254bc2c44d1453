// The camera in memory: what it delivers, what it says and when.
#include <raspicam/raspicam.h>

#include <simulator/Wheel.h>

#include <tests/support/RefusedMemory.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <memory>
#include <string>
#include <vector>

// The linker leads the camera's calloc here.
extern "C" {
void* __real_calloc(std::size_t count, std::size_t size);
void* __wrap_calloc(std::size_t count, std::size_t size)
{
    return RefusedMemory::Take() ? __real_calloc(count, size) : nullptr;
}
}

namespace {

const std::size_t frameBytes = std::size_t(1280) * 960 * 3;

using Bytes = std::vector<unsigned char>;

Bytes Content(const raspicam::RaspiCam& camera)
{
    const unsigned char* data = camera.getImageBufferData();
    return Bytes(data, data + camera.getImageBufferSize());
}

class SimulatedCamera : public testing::Test {
protected:
    // Only the first grab of a process speaks: it is made here, whichever test runs first.
    static void SetUpTestSuite()
    {
        raspicam::RaspiCam camera, second;
        testing::internal::CaptureStderr();
        testing::internal::CaptureStdout();
        grabbedClosed = camera.grab();
        opened = camera.open(true);
        errorsOfOpen = testing::internal::GetCapturedStderr();
        testing::internal::CaptureStderr();
        grabbed = camera.grab();
        errorsOfFirstGrab = testing::internal::GetCapturedStderr();
        testing::internal::CaptureStderr();
        grabbed = camera.grab() && second.open(true) && second.grab() && grabbed;
        errorsOfLaterGrabs = testing::internal::GetCapturedStderr();
        output = testing::internal::GetCapturedStdout();
    }

    static inline bool grabbedClosed = true, opened = false, grabbed = false;
    static inline std::string errorsOfOpen, errorsOfFirstGrab, errorsOfLaterGrabs, output;
};

TEST_F(SimulatedCamera, SaysOnceAtTheFirstGrabThatFramesAreSimulated)
{
    EXPECT_FALSE(grabbedClosed); // and nothing is said of it
    EXPECT_TRUE(opened);
    EXPECT_TRUE(grabbed);
    EXPECT_EQ(errorsOfOpen, "");
    EXPECT_NE(errorsOfFirstGrab.find("imulated"), std::string::npos) << errorsOfFirstGrab;
    EXPECT_EQ(std::count(errorsOfFirstGrab.begin(), errorsOfFirstGrab.end(), '\n'), 1);
    EXPECT_EQ(errorsOfFirstGrab.empty() ? ' ' : errorsOfFirstGrab.back(), '\n');
    EXPECT_EQ(errorsOfLaterGrabs, "");
    EXPECT_EQ(output, "");
}

TEST_F(SimulatedCamera, BufferIsBlackUntilTheFirstGrab)
{
    raspicam::RaspiCam camera;
    ASSERT_TRUE(camera.open(true));
    EXPECT_EQ(camera.getImageBufferSize(), frameBytes);
    ASSERT_NE(camera.getImageBufferData(), nullptr);
    EXPECT_TRUE(Content(camera) == Bytes(frameBytes, 0));
    ASSERT_TRUE(camera.grab());
    EXPECT_FALSE(Content(camera) == Bytes(frameBytes, 0));
}

TEST_F(SimulatedCamera, FilmsTheDefaultWheelFrameByFrame)
{
    const telvane::WheelScene scene;
    ASSERT_EQ(scene.width, 1280);
    ASSERT_EQ(scene.height, 960);
    Bytes grey(frameBytes / 3);
    raspicam::RaspiCam camera;
    ASSERT_TRUE(camera.open(true));
    for (int frame = 0; frame < 3; frame++) {
        ASSERT_TRUE(camera.grab());
        telvane::RenderWheel(scene, frame, grey.data());
        const unsigned char* p = camera.getImageBufferData();
        std::size_t wrong = 0;
        for (std::size_t i = 0; i < grey.size(); i++, p += 3)
            wrong += p[0] != grey[i] || p[1] != grey[i] || p[2] != grey[i];
        EXPECT_EQ(wrong, 0u) << frame;
    }
}

TEST_F(SimulatedCamera, EveryCameraFilmsTheSame)
{
    raspicam::RaspiCam one, two;
    ASSERT_TRUE(one.open(true));
    ASSERT_TRUE(two.open(false));
    ASSERT_TRUE(one.grab() && one.grab());
    ASSERT_TRUE(two.grab());
    EXPECT_FALSE(Content(one) == Content(two));
    ASSERT_TRUE(two.grab());
    EXPECT_TRUE(Content(one) == Content(two));
}

TEST_F(SimulatedCamera, OpeningAgainStartsTheFilmAgain)
{
    raspicam::RaspiCam camera;
    ASSERT_TRUE(camera.open(true) && camera.grab());
    const Bytes first = Content(camera);
    ASSERT_TRUE(camera.grab());
    EXPECT_FALSE(Content(camera) == first);
    ASSERT_TRUE(camera.open(true));
    EXPECT_TRUE(Content(camera) == Bytes(frameBytes, 0));
    ASSERT_TRUE(camera.grab());
    EXPECT_TRUE(Content(camera) == first);
}

TEST_F(SimulatedCamera, NothingComesFromAClosedCamera)
{
    raspicam::RaspiCam camera;
    EXPECT_FALSE(camera.grab());
    EXPECT_EQ(camera.getImageBufferData(), nullptr);
    EXPECT_EQ(camera.getImageBufferSize(), 0u);
}

TEST_F(SimulatedCamera, DoesNotOpenWithoutMemory)
{
    raspicam::RaspiCam camera;
    {
        const RefusedMemory refused;
        EXPECT_FALSE(camera.open(true));
    }
    EXPECT_FALSE(camera.grab());
    EXPECT_EQ(camera.getImageBufferSize(), 0u);
    EXPECT_TRUE(camera.open(true));
}

} // namespace
