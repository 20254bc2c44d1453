// What really moved in a run, and whether its answer can be trusted.
#ifndef DIAGNOSIS_DIAGNOSIS_H
#define DIAGNOSIS_DIAGNOSIS_H

#include <Kavrix/KXshort.h>
#include <Kavrix/KXubyte.h>
#include <diagnosis/Place.h>
#include <diagnosis/RunArguments.h>

#include <optional>
#include <string>
#include <vector>

namespace telvane {

/// In this order where several hold.
enum class Verdict {
    failed,
    badFrames,
    still,
    tooFast,
    otherMotion,
    wrongRadii,
    wrongSense,
    disagree,
    unclear,
    noResult,
    good
};

/// "failed", "bad-frames", "still", "too-fast", "other-motion", "wrong-radii", "wrong-sense", "disagree",
/// "unclear", "no-result", "good"
const char* Name(Verdict verdict);

/// What the program said, as far as it is known.
struct RunOutcome {
    std::string failure; ///< why there is no detection: camera, files, halted, time; empty: none known of
    std::optional<int> result; ///< behind "RESULT="
    std::optional<Region> region;
    std::string message; ///< its line on standard error, for `noResult`
};

/// A run as it is judged. Arrays are shared.
struct RunSeen {
    CubByte frames;                        ///< W x H x N, not masked; none: without storage
    std::optional<RunArguments> arguments; ///< where they are known
    MatShort u, v; ///< the flow pictures of OF_Norm; without storage: made from the frames
    RunOutcome outcome;
    /// Entry i: camera frames lost between frames i and i + 1, or `again`; may be empty.
    std::vector<int> lost;

    /// Between those frames the camera had nothing new, and an old picture was taken again.
    static constexpr int again = -1;
};

/// The ring in which the motion lies, pixels.
struct Ring {
    double inner = 0, outer = 0;
};

struct Proposal {
    RunArguments arguments;                           ///< those of the run with what was measured
    bool sense = false, ring = false, method = false; ///< which of them differ from what the run was told
};

/// What is nothing is not known.
struct Diagnosis {
    Verdict verdict = Verdict::unclear;
    std::string evidence;             ///< one sentence with the numbers
    std::string cure;                 ///< one sentence; empty where nothing is to be done
    std::vector<std::string> remarks; ///< what did not spoil the answer, a sentence each

    std::optional<Place> centre, sigma; ///< of the rotation, and its standard deviation on each axis
    std::optional<double> limit;        ///< what noise and gradients allow, the larger of both axes
    std::optional<Sense> sense;
    std::optional<Ring> ring;
    std::optional<int> teeth;
    std::optional<double> degreesPerFrame; ///< between consecutive compared frames; clockwise is positive
    std::optional<double> explained;       ///< R2
    std::optional<double> elsewhere;       ///< share of the motion outside the ring
    std::optional<Place> found;            ///< the centre that the run's answer stands for
    std::optional<Proposal> proposal;      ///< where arguments are known, or enough was measured
};

Diagnosis Diagnose(const RunSeen& run);

} // namespace telvane

#endif
