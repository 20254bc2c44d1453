// One frame of a drawn wheel with its geometry marked and named: what the arguments mean.
#ifndef SIMULATOR_PREVIEW_H
#define SIMULATOR_PREVIEW_H

#include <simulator/Wheel.h>
#include <tools/Canvas.h>

/// A rectangle of whole pixels, as Telvane takes and prints it.
struct Box {
    int left, top, width, height;
};

/// What Telvane is told about a scene, in its whole numbers.
struct Geometry {
    Box region;         ///< the output region that the true centre gives
    int cx, cy;         ///< where the centre is to lie in it
    int innerR, outerR; ///< pixels
    int sense;          ///< -1 counter-clockwise, 0 at rest, 1 clockwise
    Box mask;           ///< to blank; of no width where there is nothing to blank
};

/// Draws one camera frame and marks the centre, the radii, every tooth, the region with its measures, the
/// sense of rotation, the directions of angles and the mask. Words stand in the picture, named as Telvane's
/// arguments are.
Canvas Preview(const WheelScene& scene, int frame, const Geometry& geometry);

#endif
