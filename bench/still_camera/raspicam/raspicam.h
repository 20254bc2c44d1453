// A camera that costs nothing: it hands out one picture again and again.
#ifndef BENCH_STILL_CAMERA_RASPICAM_H
#define BENCH_STILL_CAMERA_RASPICAM_H

#include <cstddef>
#include <vector>

namespace raspicam {

class RaspiCam {
public:
    bool open(bool = true) { return true; }
    bool grab() { return true; }
    unsigned char* getImageBufferData() { return picture.data(); }
    std::size_t getImageBufferSize() const { return picture.size(); }

private:
    std::vector<unsigned char> picture = std::vector<unsigned char>(std::size_t{3} * 1280 * 960, 128);
};

} // namespace raspicam

#endif
