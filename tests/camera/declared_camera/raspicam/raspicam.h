// What the program may use of the raspicam library, and nothing else: declarations to compile against where
// the library is not there. What the program needs beyond them does not compile.
#ifndef TESTS_DECLARED_CAMERA_RASPICAM_H
#define TESTS_DECLARED_CAMERA_RASPICAM_H

#include <cstddef>

namespace raspicam {

class RaspiCam {
public:
    RaspiCam();
    ~RaspiCam();
    bool open(bool startCapture);
    bool grab();
    unsigned char* getImageBufferData() const;
    std::size_t getImageBufferSize() const;

    RaspiCam(const RaspiCam&) = delete;
    RaspiCam& operator=(const RaspiCam&) = delete;
};

} // namespace raspicam

#endif
