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
    bool holds = false; ///< the rest says what the wheel does; or else nothing can be said
    Place centre;       ///< that the wheel turns about
    Place sigma;        ///< standard deviation of the centre on each axis, pixels
    Place limit;        ///< what noise and gradients allow one pair on each axis: sqrt 2 s / (angle G)
    double degreesPerFrame = 0; ///< between consecutive compared frames; clockwise is positive
    double explained = 0;       ///< R2: the share of the frame difference that the rotation explains
    int gap = 0;                ///< steps between the frames of the widest pairs
    int pairs = 0;              ///< that the result rests on
};

/// Fits a rigid rotation, an angle and a shift, by least squares to pairs of frames (Gauss-Newton, robust
/// weights), first neighbours, then over growing gaps, each started from the one before. \param frames  W x H
/// x N grey values; read only \param times   N of them, see RunArguments::Times \param masks   what is left
/// out, full-frame pixels
RotationFit FitRotation(const CubByte& frames, const std::vector<int>& times, const RotationStart& start,
                        const std::vector<Region>& masks);

} // namespace telvane

#endif
