// A camera of today's system, over libcamera, with the interface of the board's older camera library as far
// as the program uses it. Nothing of libcamera is seen here.
#ifndef CAMERA_LIBCAMERA_RASPICAM_RASPICAM_H
#define CAMERA_LIBCAMERA_RASPICAM_RASPICAM_H

#include <cstddef>
#include <memory>

namespace raspicam {

/// Delivers frames of 1280 x 960 pixels, 3 bytes each in the order blue, green, red, rows without padding.
class RaspiCam {
public:
    RaspiCam();

    /// Stops the camera and gives it back to the system.
    ~RaspiCam();
    RaspiCam(const RaspiCam&) = delete;
    RaspiCam& operator=(const RaspiCam&) = delete;

    /// Opens the system's first camera and lets it run. A camera that is open already is closed before.
    /// \param startCapture  without effect: an open camera always films
    /// \return false if there is none, another program has it, it has no format that can be converted or not
    ///         this size, or there is no memory for the frames. Nothing is printed
    bool open(bool startCapture = true);

    /// Waits for the next frame, at most two seconds; the first time that none comes the camera is started
    /// anew and waited for once more. Frames come in order. When the caller is slow a few wait for it, beyond
    /// which the oldest are lost. What is missing is told on standard error, see camera/GrabLoss.h.
    /// \return false if none came in that time, the camera is gone or not open; the buffer is then what it
    /// was
    bool grab();

    /// \return the last grabbed frame, black before the first; never null. It stays as it is until the next
    /// grab
    unsigned char* getImageBufferData() const;

    /// \return bytes of a frame, 3686400
    std::size_t getImageBufferSize() const;

private:
    struct Capture;
    std::unique_ptr<Capture> capture; // while the camera is open
};

} // namespace raspicam

#endif
