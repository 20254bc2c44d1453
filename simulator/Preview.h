// One frame of a drawn wheel with its geometry marked and named: what the arguments mean.
#ifndef SIMULATOR_PREVIEW_H
#define SIMULATOR_PREVIEW_H

#include <simulator/Geometry.h>
#include <simulator/Wheel.h>

#include <string>

namespace telvane {

/// Draws one camera frame and marks the centre, the radii, every tooth, the region with its measures, the
/// sense of rotation, the directions of angles and the mask, where the lens shows them. Words stand in the
/// picture, named as Telvane's arguments are, and below it what they mean.
/// \return an SVG file
std::string Preview(const WheelScene& scene, int frame, const Geometry& geometry);

} // namespace telvane

#endif
