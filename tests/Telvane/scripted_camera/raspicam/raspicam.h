// A camera for tests, with the interface of the board's camera library as far as the program uses it. What it
// does is linked: test_Grab brings its own, the program's test cameras are closed.cpp and film.cpp.
#ifndef TESTS_SCRIPTED_CAMERA_RASPICAM_H
#define TESTS_SCRIPTED_CAMERA_RASPICAM_H

#include <cstddef>
#include <vector>

namespace raspicam {

class RaspiCam {
public:
    RaspiCam();
    ~RaspiCam();
    RaspiCam(const RaspiCam&) = delete;
    RaspiCam& operator=(const RaspiCam&) = delete;

    bool open(bool startCapture = true);
    bool grab();
    unsigned char* getImageBufferData() const;
    std::size_t getImageBufferSize() const;

private:
    mutable std::vector<unsigned char> buffer;
    int grabs = 0;
};

} // namespace raspicam

#endif
