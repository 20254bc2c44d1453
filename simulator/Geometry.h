// What Telvane is told about a drawn scene, in its whole numbers.
#ifndef SIMULATOR_GEOMETRY_H
#define SIMULATOR_GEOMETRY_H

#include <simulator/Wheel.h>

namespace telvane {

/// A rectangle of whole pixels, as Telvane takes and prints it.
struct Box {
    int left, top, width, height;
};

struct Geometry {
    Box region;         ///< the output region that the true centre gives
    int cx, cy;         ///< where the centre is to lie in it
    int innerR, outerR; ///< pixels, as the picture shows them
    int sense;          ///< -1 counter-clockwise, 0 at rest, 1 clockwise
    Box mask;           ///< to blank; of no width where there is nothing to blank
    bool ringInside;    ///< the whole ring lies in the picture, with its neighbourhood
};

/// Fills in the numbers for a scene that has passed WheelProblem.
/// \return empty, or a phrase that says why nothing can be told
std::string Measure(const WheelScene& scene, Geometry& geometry);

} // namespace telvane

#endif
