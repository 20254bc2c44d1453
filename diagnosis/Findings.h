// What is measured in the frames of a run, and the verdict that rests on it alone.
#ifndef DIAGNOSIS_FINDINGS_H
#define DIAGNOSIS_FINDINGS_H

#include <diagnosis/Diagnosis.h>
#include <diagnosis/FrameQuality.h>
#include <diagnosis/Motion.h>
#include <diagnosis/Ring.h>
#include <diagnosis/Rotation.h>

#include <optional>
#include <vector>

namespace telvane {

/// From there on, of a tooth from frame to frame, the sense cannot be told: half a tooth has none.
inline constexpr double tooFastFrom = 0.4;
/// From there on, of the motion, it goes one way; of half a wheel's it is 2 / pi.
inline constexpr double straightFrom = 0.75;

/// Nothing but the times is known of frames that are not measured.
struct Findings {
    bool measured = false;  ///< there are two frames or more, and they are large enough for the flow
    std::vector<int> times; ///< of each frame, see RunArguments::Times
    FrameQuality quality;
    StraightMotion straight;
    RingFound ring;
    std::vector<Push> pushes;
    RotationFit fit;
    int fittedFrom = 0; ///< the first of the frames that the fit saw
    /// By which the camera moved the picture in each frame against the first, where it did and the still part
    /// of the picture tells; all else is then of frames without that.
    std::vector<Place> shifts;
    std::optional<Sense> sense;
    std::optional<MotionElsewhere> elsewhere; ///< where a ring and a sense are known

    /// Whether the fit's centre is known well enough for a verdict.
    bool Trusted() const;
    /// By which the teeth go on from frame to frame, in teeth; 0 where they are not known.
    double ToothStep() const;
    /// Whether something moves at one place, and not all over the wheel as noise does.
    bool OtherMotionFound() const;
};

/// The centre that the run's answer stands for, where it and the arguments are known.
std::optional<Place> CentreFound(const RunSeen& run);

Findings FindingsOf(const RunSeen& run);

/// The verdict with its evidence and cure, the remarks and the proposal.
Diagnosis DiagnosisOf(const RunSeen& run, const Findings& findings);

} // namespace telvane

#endif
