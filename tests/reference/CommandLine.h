// What the program answers to a command line: both output streams, the exit status and the pictures.
#pragma once

#include <tests/reference/Detection.h>
#include <tests/reference/Files.h>

#include <string>
#include <vector>

namespace reference {

/// Blanks, a sign, digits; the low 32 bits of the 64-bit number. Anything else is 0.
std::int32_t Number(const std::string& word);

struct CommandLine {
    bool usage = false; ///< refused; the other fields then mean nothing
    int imagesCount = 15;
    int period1 = 1, period2 = 1;
    bool usePeriods = false;
    std::vector<std::int32_t> periods;
    bool loadImages = false, saveImages = false, saveJpg = false;
    std::vector<Region> masks;
    std::vector<float> params;
};

/// The words after the program's name.
CommandLine ParseCommandLine(const std::vector<std::string>& words);

std::string UsageText();

/// The line of a fail-stop outside every traced routine.
std::string FailStopLine(const std::string& message);

struct Run {
    std::string out, err;
    int status = 0;                 ///< 0, 1 or 255; -1 when the program halts and has none
    bool halts = false;             ///< out and err are then what was written before
    Bytes hough, uSum, vSum;        ///< the BMP files, empty where none is written
    Picture<std::uint8_t> detected; ///< the picture behind detected.jpg, empty where none is written
    Detection detection;            ///< where the detection was reached
};

struct Circumstances {
    bool cameraOpens = true;
    PatternSum sum = SumPatternByRuns;
    int width = 1280, height = 960; ///< of the program's frames
};

/// The frames are those that load one after the other: with fewer than the command line asks for, the next
/// one is missing. In camera mode they are the grey frames that the camera run keeps, and there are enough of
/// them.
Run PredictRun(const std::vector<std::string>& words, const std::vector<Picture<std::uint8_t>>& frames,
               const Circumstances& circumstances = {});

} // namespace reference
