// The whole program with one to three frames from files or from the camera, which are small ones but for a
// few inputs.
#include <fuzz/Program.h>

#include <Kavrix/Kavrix.h>

#include <tests/support/Wheels.h>

#include <raspicam/raspicam.h>

#include <tests/reference/CommandLine.h>
#include <tests/reference/Files.h>
#include <tests/reference/Jpeg.h>

#include <string>

namespace {

std::vector<BytePicture> frames;
const BytePicture* inBuffer = nullptr; // what the camera's buffer holds, where it holds anything

} // namespace

// A camera that shows the frames, each as long as its period; grey, so that 8/8 of a level come through.
namespace raspicam {

RaspiCam::RaspiCam() = default;
RaspiCam::~RaspiCam() = default;
bool RaspiCam::open(bool) { return true; }
bool RaspiCam::grab()
{
    grabs++;
    return true;
}
unsigned char* RaspiCam::getImageBufferData() const
{
    const std::size_t shown = grabs <= 11 ? 0 : static_cast<std::size_t>(grabs - 11);
    const BytePicture& frame = frames[std::min(shown, frames.size() - 1)];
    if (&frame == inBuffer && !buffer.empty()) return buffer.data();
    inBuffer = &frame;
    buffer.resize(3 * frame.a.size());
    for (std::size_t i = 0; i < buffer.size(); i++) buffer[i] = frame.a[i / 3];
    return buffer.data();
}
std::size_t RaspiCam::getImageBufferSize() const { return buffer.size(); }

} // namespace raspicam

namespace {

std::string Word(FuzzedDataProvider& input, int low, int high)
{
    return std::to_string(input.ConsumeIntegralInRange(0, 15) == 0 ? input.ConsumeIntegral<int>()
                                                                   : input.ConsumeIntegralInRange(low, high));
}

std::vector<BytePicture> Film(FuzzedDataProvider& input, int count)
{
    const int width = programWidth, height = programHeight;
    WheelScene scene;
    scene.width = width;
    scene.height = height;
    scene.centreX = input.ConsumeIntegralInRange(0, width);
    scene.centreY = input.ConsumeIntegralInRange(0, height);
    scene.outerR = input.ConsumeIntegralInRange(8, height / 2);
    scene.innerR = scene.outerR * 0.85;
    scene.hubR = scene.innerR / 5;
    scene.teeth = 8;
    scene.degreesPerFrame = input.ConsumeIntegralInRange(-20, 20) / 2.0;
    std::vector<BytePicture> film;
    film.reserve(static_cast<std::size_t>(count));
    for (int t = 0; t < count; t++) film.push_back(WheelFrame(scene, t));

    // What else there is in the picture: blocks of noise and of one grey.
    for (int blocks = input.ConsumeIntegralInRange(0, 6); blocks > 0; blocks--) {
        BytePicture& frame = film[input.ConsumeIntegralInRange<std::size_t>(0, film.size() - 1)];
        const int x0 = input.ConsumeIntegralInRange(0, width - 1),
                  y0 = input.ConsumeIntegralInRange(0, height - 1);
        const int side = input.ConsumeIntegralInRange(1, width / 3);
        const bool noise = input.ConsumeBool();
        const auto grey = input.ConsumeIntegral<std::uint8_t>();
        Dice dice(grey);
        for (int y = y0; y < std::min(y0 + side, height); y++)
            for (int x = x0; x < std::min(x0 + side, width); x++)
                frame.At(x, y) = noise ? static_cast<std::uint8_t>(dice.Between(0, 255)) : grey;
    }
    return film;
}

} // namespace

void Fuzz(FuzzedDataProvider& input)
{
    SetFrameSize(96, 72);
    const int width = programWidth, height = programHeight;
    storage.limit = programStorage;
    const int count = input.ConsumeIntegralInRange(1, 3);
    const bool load = input.ConsumeBool(), save = input.ConsumeBool(), ring = input.ConsumeBool();
    const int bad = input.ConsumeIntegralInRange(0, 15); // a frame that does not load, mostly none
    const bool missing = input.ConsumeBool();            // there is no such file; else it is of another size
    const int periods = input.ConsumeIntegralInRange(0, 3);
    std::vector<std::string> words = {load ? "-l" : "-n", std::to_string(count)};
    if (save) words.push_back("-s");
    if (periods & 1) words.insert(words.end(), {"-p1", "2"});
    if (periods & 2) words.insert(words.end(), {"-p2", "3"});
    for (int masks = input.ConsumeIntegralInRange(0, 3); masks > 0; masks--) {
        words.push_back("-m");
        for (int i = 0; i < 4; i++) words.push_back(Word(input, i < 2 ? -width / 6 : 1, width + 4));
    }
    for (int i = 0; i < 4; i++) words.push_back(Word(input, 1, width / 3));
    words.push_back(Word(input, 0, width / 4));       // innerR
    words.push_back(Word(input, 1, width / 3));       // outerR
    words.push_back(ring ? "-1" : Word(input, 0, 3)); // R3
    for (int i = 0; i < 3; i++) words.push_back(Word(input, -360, 720));
    words.push_back(Word(input, 0, 60));
    words.push_back(Word(input, -1, 1));
    words.insert(words.end(), {"0", "0", "0"});
    words.push_back(Word(input, -100, 1)); // bkgCorr

    frames = Film(input, count);
    std::vector<BytePicture> expected = frames;
    if (load) {
        for (std::size_t i = 0; i < frames.size(); i++)
            files["img" + std::to_string(i + 1) + ".bmp"] = reference::BmpByte(frames[i]);
        const auto at = static_cast<std::size_t>(bad - 1);
        const std::string name = "img" + std::to_string(bad) + ".bmp";
        if (bad >= 1 && bad <= count && missing) {
            files.erase(name);
            expected.resize(at);
        } else if (bad >= 1 && bad <= count) {
            expected[at] = BytePicture(width, height - 1);
            files[name] = reference::BmpByte(expected[at]);
        }
    } else {
        // Frame i is what the camera shows after the periods before it.
        std::size_t shown = 0;
        for (std::size_t i = 0; i < expected.size(); i++) {
            expected[i] = frames[std::min(shown, frames.size() - 1)];
            shown += i % 2 == 0 ? (periods & 1 ? 2u : 1u) : (periods & 2 ? 3u : 1u);
        }
    }

    const Ending ending = RunProgram(words);
    reference::Circumstances circumstances;
    circumstances.width = width;
    circumstances.height = height;
    const reference::Run plain = reference::PredictRun(words, expected, circumstances);
    Require(ending.out == plain.out && ending.err == plain.err, "the run prints what the plain run does");
    Require(ending.halted == plain.halts, "the run halts where the plain run does");
    if (!plain.halts) Require(ending.status == plain.status, "the status is that of the plain run");
    const auto written = [](const char* name, const FileBytes& bytes) {
        const auto found = files.find(name);
        Require(bytes.empty() ? found == files.end() : found != files.end() && found->second == bytes,
                std::string(name) + " is that of the plain run");
    };
    written("hough.bmp", plain.hough);
    written("u_sum_sh.bmp", plain.uSum);
    written("v_sum_sh.bmp", plain.vSum);
    written("detected.jpg", plain.detected.Empty() ? FileBytes() : reference::JpegGrey(plain.detected, 85));
}
