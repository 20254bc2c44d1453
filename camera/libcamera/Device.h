// A camera that runs. Device.cpp drives it through libcamera; tests link one of their own in its place.
#ifndef CAMERA_LIBCAMERA_DEVICE_H
#define CAMERA_LIBCAMERA_DEVICE_H

#include <camera/libcamera/FrameExchange.h>

#include <Telvane/Frames.h>

#include <chrono>
#include <memory>

namespace telvane::camera {

using telvane::frameWidth, telvane::frameHeight;
inline constexpr std::size_t frameBytes = std::size_t(frameWidth) * frameHeight * 3;

/// Delivers frames of frameBytes into an exchange, from a thread of its own, until it is destroyed. It closes
/// the exchange when the camera goes away, and when it is destroyed itself.
class Device {
public:
    /// How long a frame is waited for: far more than two of a camera that works. After its start the first
    /// takes up to half a second.
    static std::chrono::milliseconds Patience();

    /// Starts the system's first camera.
    /// \param frames  outlives the device
    /// \return null if there is none, it is busy, or it cannot deliver such frames; nothing is held then, nor
    /// where the system's library throws std::bad_alloc
    static std::unique_ptr<Device> Start(FrameExchange& frames);

    /// Stops the camera and gives back everything. When it returns, nothing is delivered any more.
    ~Device();
    Device(const Device&) = delete;
    Device& operator=(const Device&) = delete;

private:
    struct Parts;
    explicit Device(std::unique_ptr<Parts> p);
    std::unique_ptr<Parts> parts;
};

} // namespace telvane::camera

#endif
