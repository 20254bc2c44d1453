// The rotation between frames, fitted to their grey values: independent of the flow.
#ifndef DIAGNOSIS_ROTATION_H
#define DIAGNOSIS_ROTATION_H

#include <Kavrix/KXubyte.h>
#include <Telvane/Region.h>
#include <diagnosis/Place.h>

#include <vector>

namespace telvane {

/// Where the wheel is looked for. Half the ring may lie outside the picture.
struct RotationStart {
    Place centre;
    double innerR = 0, outerR = 0; ///< may be wrong: 0.7 to 1.3 times the true ones
};

struct RotationFit {
    /// The rest says what the wheel does; or else nothing can be said: nothing moves, it moves otherwise than
    /// by turning about a place near the start, frames contradict each other, or too little is seen.
    bool holds = false;
    Place centre; ///< that the wheel turns about, as the first frame shows it
    /// Standard deviation of the centre on each axis, pixels. It knows noise and what residuals show; not
    /// that the walls of a thick wheel, seen beside its front, draw the centre towards the picture's middle.
    Place sigma;
    Place limit; ///< what noise and gradients allow one pair on each axis: sqrt 2 s / (angle G)
    double degreesPerFrame = 0; ///< between consecutive compared frames, their mean; clockwise is positive
    /// R2: the share of the squared difference of frames within the wheel, smoothed and without what light
    /// makes of it, that the rotation explains. 0 at a standstill; below 0 where it makes things worse.
    double explained = 0;
    int gap = 0;   ///< steps between the frames of the widest pairs
    int pairs = 0; ///< that the result rests on
    Place push;    ///< by which the picture was shifted at a single step, pixels; mostly 0
};

/// Fits a rigid rotation, an angle and a shift, by least squares to pairs of frames (Gauss-Newton, robust
/// weights), first neighbours, then over growing gaps, each started from the one before. The widest are
/// fitted with what bends the picture of a rotation too: a leaning axis and, where the frames demand it, a
/// lens or rows that are exposed one after the other.
/// \param frames  W x H x N grey values; read only
/// \param times   N of them, growing, see RunArguments::Times
/// \param masks   what is left out, full-frame pixels
RotationFit FitRotation(const CubByte& frames, const std::vector<int>& times, const RotationStart& start,
                        const std::vector<Region>& masks);

} // namespace telvane

#endif
