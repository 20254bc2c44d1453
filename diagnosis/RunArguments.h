// What a run of Telvane was asked for: its command line, read as the program reads it, and written again.
#ifndef DIAGNOSIS_RUNARGUMENTS_H
#define DIAGNOSIS_RUNARGUMENTS_H

#include <Telvane/Region.h>
#include <diagnosis/Place.h>

#include <optional>
#include <string>
#include <vector>

namespace telvane {

enum class Method { ring, votes };

/// "ring" or "votes"
inline const char* Name(Method method) { return method == Method::ring ? "ring" : "votes"; }

/// Lengths are pixels, angles degrees. The defaults are those of the program, and an unset wheel.
struct RunArguments {
    int count = 15;               ///< frames, 1..maxFrames
    bool files = false;           ///< the frames come from files, not from the camera
    bool save = false;            ///< frames and pictures are kept
    bool jpeg = false;            ///< frames are kept as JPEG files
    int period1 = 1, period2 = 1; ///< camera frames from one frame to the next, in turn
    std::vector<Region> masks;    ///< up to three
    int width = 0, height = 0;    ///< of the output region
    int centreX = 0, centreY = 0; ///< where in it the wheel's centre is to lie
    int innerR = 0, outerR = 0;
    int offset = -1; ///< of the votes along the motion; below 0 asks for the ring search
    int angle1 = 0, angle2 = 360, fullAngle = 360;
    int teeth = 0;
    int turn = 0;       ///< below 0 counter-clockwise, above 0 clockwise
    int background = 0; ///< below 0 asks for the background of that percentile

    Method HowSearched() const { return offset < 0 ? Method::ring : Method::votes; }
    /// The sense of rotation that the run was told; none where `turn` is 0.
    std::optional<Sense> Told() const;

    /// When each frame is seen, counted in the steps that are compared with each other: 0, 1, 2, ... with
    /// equal periods; with different ones the camera frames, of which those that lie one apart are compared.
    std::vector<int> Times() const;

    /// The words of the command line behind the program's name.
    std::vector<std::string> Words() const;
    /// One line for a shell, from "Telvane" on.
    std::string CommandLine() const;
};

/// Reads the words of a command line behind the program's name. Numbers must be whole numbers here, where the
/// program takes 0 for other words; further words are ignored as the program does.
/// \return nothing, or what is wrong
std::string ReadRunArguments(const std::vector<std::string>& words, RunArguments& arguments);

/// A word as a shell takes it: bare where it is plain, or else between single quotes.
std::string ShellWord(const std::string& word);

} // namespace telvane

#endif
