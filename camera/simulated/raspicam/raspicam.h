// A camera in memory with the interface of the board's camera library, as far as the program uses it.
// It films a turning wheel (simulator/Wheel.h, the default scene), the same frames in every run.
#ifndef CAMERA_SIMULATED_RASPICAM_RASPICAM_H
#define CAMERA_SIMULATED_RASPICAM_RASPICAM_H

#include <cstddef>

namespace raspicam {

/// Delivers frames of 1280 x 960 pixels, 3 bytes each (all three the grey value), rows without padding.
class RaspiCam {
public:
    RaspiCam() = default;
    ~RaspiCam();
    RaspiCam(const RaspiCam&) = delete;
    RaspiCam& operator=(const RaspiCam&) = delete;

    /// Makes the frame buffer, all zeros. The wheel stands at camera frame 0 for the first grab.
    /// \param startCapture     without effect: there is nothing to start
    /// \return false if there is no memory for the buffer
    bool open(bool startCapture = true);

    /// Draws the next camera frame into the buffer. The first grab of the process says on standard error
    /// that the frames are simulated, so that nobody takes them for a real machine.
    /// \return false if the camera is not open
    bool grab();

    /// \return the last grabbed frame; null before open
    unsigned char* getImageBufferData() const;

    /// \return bytes of a frame, 3686400; 0 before open
    std::size_t getImageBufferSize() const;

private:
    unsigned char* buffer = nullptr;
    int frame = 0; // number of the next camera frame
};

} // namespace raspicam

#endif
