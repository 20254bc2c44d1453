// Arithmetic that gives the same bits on every platform: + - * /, sqrt, which IEEE 754 rounds correctly, and
// floor, which is exact. Products and sums must not be fused (-ffp-contract=off).
#ifndef SIMULATOR_EXACT_H
#define SIMULATOR_EXACT_H

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace telvane {

inline constexpr double pi = 3.14159265358979323846;

/// The part of v above the whole number below it.
inline double Fraction(double v) { return v - std::floor(v); }

/// The direction of (x, y) in turns, from +x towards +y, -1/2..1/2; 0 for (0, 0).
inline double Turns(double x, double y)
{
    const double ax = std::fabs(x), ay = std::fabs(y), longer = std::max<double>(ax, ay);
    if (!(longer > 0)) return 0;

    // Two reductions bring the tangent below tan(pi/8), where eight terms of the series are good to 3e-8.
    double t = std::min<double>(ax, ay) / longer, base = 0;
    if (t > 0.41421356237309503) {
        t = (t - 1) / (t + 1);
        base = 0.125;
    }
    const double q = t * t;
    const double series =
        1 -
        q * (1. / 3 - q * (1. / 5 - q * (1. / 7 - q * (1. / 9 - q * (1. / 11 - q * (1. / 13 - q / 15))))));
    double turns = base + t * series / (2 * pi);

    if (ax < ay) turns = 0.25 - turns;
    if (x < 0) turns = 0.5 - turns;
    return y < 0 ? -turns : turns;
}

/// The sine of an angle in turns, to the last digits but one; exact at its zeros.
inline double Sine(double turns)
{
    double t = turns - std::floor(turns + 0.5);
    if (t > 0.25) t = 0.5 - t;
    else if (t < -0.25) t = -0.5 - t;
    const double x = 2 * pi * t, q = x * x;
    double series = 1;
    for (int i = 20; i > 0; i -= 2) series = 1 - series * q / (i * (i + 1));
    return x * series;
}

inline double Cosine(double turns) { return Sine(turns + 0.25); }

/// A length in a direction, in degrees from +x towards +y.
struct Vector {
    double x = 0, y = 0;
};
inline Vector Towards(double degrees, double length)
{
    return {length * Cosine(degrees / 360), length * Sine(degrees / 360)};
}

inline double Mix(double below, double above, double coverage) { return below + (above - below) * coverage; }

/// Lens and sensor spread an edge over this many pixels. With the grey levels of the wheel, the smoothed
/// derivatives then stay well under the slope (91 levels per pixel) at which squares in the flow's
/// denominator leave 16 bits.
inline constexpr double edgeWidth = 2.5;

/// Coverage 0..1 of a pixel whose middle lies `inside` pixels within an edge (negative: beyond it).
inline double Coverage(double inside)
{
    const double t = 0.5 + inside / edgeWidth;
    if (!(t > 0)) return 0;
    return t < 1 ? t * t * (3 - 2 * t) : 1;
}

/// Spreads the bits of v over the whole word (the finaliser of splitmix64).
inline std::uint64_t Scatter(std::uint64_t v)
{
    v = (v ^ (v >> 30)) * 0xBF58476D1CE4E5B9u;
    v = (v ^ (v >> 27)) * 0x94D049BB133111EBu;
    return v ^ (v >> 31);
}

/// The step from one key of Scatter to the next.
inline constexpr std::uint64_t keyStep = 0x9E3779B97F4A7C15u;

/// 0..1, without 1, from a key.
inline double Uniform(std::uint64_t key)
{
    return static_cast<double>(Scatter(key) >> 11) / 9007199254740992.0; // 2^53
}

} // namespace telvane

#endif
