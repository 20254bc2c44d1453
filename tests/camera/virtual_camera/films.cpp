// Films through the camera class over whatever libcamera finds, which shows the grey pictures of a wheel:
// opens it, grabs, closes it, opens it again. What is not as it should be is said on standard error, with
// status 1.
#include <raspicam/raspicam.h>

#include <cstdio>
#include <cstdlib>
#include <memory>

namespace {

void Expect(bool holds, const char* what)
{
    if (holds) return;
    std::fprintf(stderr, "not so: %s\n", what);
    std::exit(1);
}

/// Grey all over within what the conversion rounds, and both dark and bright.
void ExpectPicture(const raspicam::RaspiCam& camera)
{
    const std::size_t size = camera.getImageBufferSize();
    Expect(size == std::size_t{1280} * 960 * 3, "a frame has 1280 x 960 pixels of 3 bytes");
    const unsigned char* const bytes = camera.getImageBufferData();
    int darkest = 255, brightest = 0;
    for (std::size_t i = 0; i < size; i += 3) {
        Expect(std::abs(bytes[i] - bytes[i + 1]) <= 1 && std::abs(bytes[i] - bytes[i + 2]) <= 1,
               "a picture is grey");
        if (bytes[i] < darkest) darkest = bytes[i];
        if (bytes[i] > brightest) brightest = bytes[i];
    }
    Expect(brightest - darkest > 100, "a picture shows something");
}

void ExpectFrames(raspicam::RaspiCam& camera, int count)
{
    for (int i = 0; i < count; i++) Expect(camera.grab(), "a grab gets a frame");
    ExpectPicture(camera);
}

} // namespace

int main()
{
    auto camera = std::make_unique<raspicam::RaspiCam>();
    Expect(camera->open(true), "the camera opens");
    ExpectFrames(*camera, 5);
    {
        raspicam::RaspiCam other;
        Expect(!other.open(true), "an open camera does not open a second time");
        Expect(!other.grab(), "a closed camera has no frames");
    }
    ExpectFrames(*camera, 5);
    Expect(camera->open(true), "opening an open camera closes it before");
    ExpectFrames(*camera, 5);
    camera.reset();

    for (int i = 1; i < 5; i++) {
        raspicam::RaspiCam again;
        Expect(again.open(true), "a camera that was closed opens again");
        ExpectFrames(again, i);
    }
}
