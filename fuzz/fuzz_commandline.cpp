// The driver with any command line, one word per line of the input. A line "@closed" before it closes the
// camera, one of n characters after an "@" leaves n frames to load. The camera, the picture files, the masks
// and the detection behind it are doubles that write down what they are asked.
#include <fuzz/Program.h>

#include <Telvane/Grab.h>
#include <Telvane/Telvane.h>

#include <tests/support/Wheels.h>

#include <tests/reference/CommandLine.h>

#include <algorithm>
#include <string>

namespace {

using Ints = std::vector<std::int32_t>;

struct Calls {
    bool cameraOpens = true;
    int filesThere = 50; ///< frames that can be loaded
    int opened = 0, loaded = 0, masked = 0;
    std::vector<std::string> written;
    Ints grabPeriods;
    std::vector<Ints> masks;
    bool detected = false, usePeriods = false;
    int frames = 0;
    Ints periods, iroi;
    std::vector<float> params;
};
Calls calls;

} // namespace

namespace raspicam {

RaspiCam::RaspiCam() = default;
RaspiCam::~RaspiCam() = default;
bool RaspiCam::open(bool)
{
    calls.opened++;
    return calls.cameraOpens;
}
bool RaspiCam::grab() { return true; }
unsigned char* RaspiCam::getImageBufferData() const { return nullptr; }
std::size_t RaspiCam::getImageBufferSize() const { return 0; }

} // namespace raspicam

int Grab(raspicam::RaspiCam*, CubByte seq, int period1, int period2)
{
    calls.grabPeriods = {period1, period2};
    calls.frames = seq.dim3;
    return 0;
}

int Mask(CubByte, VecInt iroi, VecInt* oroiArr, int oroiCount)
{
    calls.masked++;
    calls.iroi = ToValues(iroi);
    for (int i = 0; i < oroiCount; i++) calls.masks.push_back(ToValues(oroiArr[i]));
    return 0;
}

int Detect(int, CubByte seq, bool use_periods, VecInt periods, VecInt iroi, VecFloat params, VecInt&,
           MatByte&, MatShort&, MatShort&, MatShort&, MatShort&, MatShort&)
{
    calls.detected = true;
    calls.usePeriods = use_periods;
    calls.frames = seq.dim3;
    calls.periods = ToValues(periods);
    calls.iroi = ToValues(iroi);
    calls.params = ToValues(params);
    return -2;
}

// The members that the linker leads here (--wrap): frames are read and written without pixels.
// NOLINTBEGIN(bugprone-reserved-identifier): the linker names them
extern "C" {

int __wrap__ZN7MatByte7ReadBMPEPKc(MatByte*, const char* name)
{
    calls.loaded++;
    Require(name == "img" + std::to_string(calls.loaded) + ".bmp", "frames are loaded in order");
    return calls.loaded <= calls.filesThere ? 0 : 1;
}

int __wrap__ZNK7MatByte8WriteBMPEPKc(const MatByte*, const char* name)
{
    calls.written.push_back(name);
    return 0;
}

int __wrap__ZNK7MatByte8WriteJPGEPKci(const MatByte*, const char* name, int)
{
    calls.written.push_back(name);
    return 0;
}

} // extern "C"
// NOLINTEND(bugprone-reserved-identifier)

namespace {

std::vector<std::string> Words(const std::string& text)
{
    std::vector<std::string> words;
    std::string word;
    for (const char c : text) {
        if (c == '\n') {
            words.push_back(word);
            word.clear();
        } else if (c != 0) {
            word += c;
        }
    }
    if (!word.empty()) words.push_back(word);
    return words;
}

void RequireThatItRan(const reference::CommandLine& line, const Ending& ending)
{
    const char* const message = "what was asked for is done";
    const std::string n = std::to_string(line.imagesCount);
    if (line.loadImages && line.imagesCount > calls.filesThere) {
        Require(ending.exited && ending.status == 255 &&
                    ending.err == "Error -1:  ... error loading images!\n",
                "a frame that does not load ends the run");
        Require(calls.loaded == calls.filesThere + 1 && !calls.detected, message);
        return;
    }
    Require(ending.returned && ending.status == 0 && ending.err.empty(), message);
    Require(calls.detected && calls.frames == line.imagesCount, message);
    Require(ending.out == std::string(line.loadImages ? "Loading" : "Grabbing") +
                              " images ...\n ... completed\nDetection ...\n ... completed\nRESULT=-2\n",
            "the run tells its steps");
    Require(calls.loaded == (line.loadImages ? line.imagesCount : 0), message);
    Require(calls.grabPeriods == (line.loadImages ? Ints() : Ints{line.period1, line.period2}), message);
    std::vector<std::string> written;
    for (int i = 1; i <= line.imagesCount && line.saveImages && !line.loadImages; i++)
        written.push_back("img" + std::to_string(i) + (line.saveJpg ? ".jpg" : ".bmp"));
    Require(calls.written == written, message);

    std::vector<Ints> masks;
    for (const reference::Region& mask : line.masks) masks.emplace_back(mask.begin(), mask.end());
    Require(calls.masks == masks && calls.masked == (masks.empty() ? 0 : 1), "masks are as given");
    Require(calls.iroi == Ints{0, 0, programWidth, programHeight, 1}, "the region is the frame");
    Require(calls.usePeriods == line.usePeriods && calls.periods == line.periods, "periods are as given");
    Require(Same(calls.params, line.params), "parameters");
}

} // namespace

void Fuzz(FuzzedDataProvider& input)
{
    calls = Calls();
    SetFrameSize(8, 6);
    storage.limit = programStorage;
    storage.fill = -1; // it is much, and nobody looks at it

    std::vector<std::string> words = Words(input.ConsumeRemainingBytesAsString());
    // First lines that are no words of the command line but its circumstances.
    for (; !words.empty() && words[0].starts_with('@'); words.erase(words.begin())) {
        if (words[0] == "@closed") calls.cameraOpens = false;
        else calls.filesThere = static_cast<int>(words[0].size()) - 1;
    }
    const Ending ending = RunProgram(words);
    const reference::CommandLine line = reference::ParseCommandLine(words);
    if (line.usage) {
        Require(ending.exited && ending.status == 1 && ending.out.empty() &&
                    ending.err == reference::UsageText(),
                "other command lines are answered with the usage");
        Require(calls.opened == 0, "the camera is left alone");
    } else if (!calls.cameraOpens) {
        Require(ending.returned && ending.status == 1 && ending.out.empty() &&
                    ending.err == "Could not open the camera\n",
                "a camera that does not open ends the run");
    } else {
        RequireThatItRan(line, ending);
    }
}
