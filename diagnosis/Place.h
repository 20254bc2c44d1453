// A place in the picture and a direction to turn in.
#ifndef DIAGNOSIS_PLACE_H
#define DIAGNOSIS_PLACE_H

#include <cmath>

namespace telvane {

/// In pixels of the frame; pixel (x, y) has its middle at exactly (x, y), and y grows downward.
struct Place {
    double x = 0, y = 0;
};

inline double Distance(const Place& a, const Place& b) { return std::hypot(a.x - b.x, a.y - b.y); }

/// As the picture shows it: y points down, so clockwise angles grow.
enum class Sense { clockwise, counterClockwise };

/// "cw" or "ccw"
inline const char* Name(Sense sense) { return sense == Sense::clockwise ? "cw" : "ccw"; }

} // namespace telvane

#endif
