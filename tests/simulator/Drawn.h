// Drawn scenes for the tests of the simulator.
#pragma once

#include <tests/support/Digest.h>

#include <simulator/Wheel.h>

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

using telvane::WheelScene;

using Bytes = std::vector<unsigned char>;

inline const double circle = 6.283185307179586; // radians

inline Bytes Draw(const WheelScene& scene, int frame)
{
    Bytes grey(std::size_t(scene.width) * scene.height);
    telvane::RenderWheel(scene, frame, grey.data());
    return grey;
}

/// A scene without noise and uneven light, in which only the geometry shows.
inline WheelScene Plain()
{
    WheelScene scene;
    scene.noise = 0;
    scene.uneven = 0;
    return scene;
}

inline int At(const WheelScene& scene, const Bytes& grey, double x, double y)
{
    return grey[std::size_t(std::lround(y)) * scene.width + std::size_t(std::lround(x))];
}

inline std::uint64_t Fnv1a(const Bytes& bytes) { return Digest().AddAll(bytes).Value(); }

/// The grey level between pixels.
inline double Between(const WheelScene& scene, const Bytes& grey, double x, double y)
{
    const double left = std::floor(x), top = std::floor(y), u = x - left, v = y - top;
    const auto at = [&](double column, double row) { return At(scene, grey, column, row); };
    return (at(left, top) * (1 - u) + at(left + 1, top) * u) * (1 - v) +
           (at(left, top + 1) * (1 - u) + at(left + 1, top + 1) * u) * v;
}

/// By how many pixels an edge between two grey levels lies beside a place, if it lies close to it: its middle
/// has the mean of the levels, and there they change by 0.6 of their difference per pixel.
inline double EdgeError(const WheelScene& scene, const Bytes& grey, double x, double y, double one,
                        double other)
{
    return (Between(scene, grey, x, y) - (one + other) / 2) / (0.6 * (one - other));
}

// Grey levels of what is drawn.
inline const double backdropLevel = 52, metalLevel = 196, hubLevel = 118, wallLevel = 104;
