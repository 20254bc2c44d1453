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
