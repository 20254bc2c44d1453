// The marks that show a detection's result.
#ifndef TELVANE_OVERLAY_H
#define TELVANE_OVERLAY_H

#include <Telvane/Region.h>

#include <Kavrix/KXfloat.h>
#include <Kavrix/KXubyte.h>

namespace telvane {

/// Marks the output region, the centre in it, both radii, the two angles and the sense of rotation.
///
/// Every mark toggles the top bit of a pixel, so that it shows on dark and on light ground; where two marks
/// meet the pixel shows its old value again, as the frame's inner corners, the middle of the cross and the
/// circles' 45-degree points do. Marks that would fall outside the picture are left out.
/// \param detected  a frame of the input region
/// \param input     the input region
/// \param output    the output region
/// \param params    as Detect takes them, with the angles normalised
void MarkResult(MatByte& detected, const Region& input, const Region& output, const VecFloat& params);

} // namespace telvane

#endif
