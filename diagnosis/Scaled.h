// A part of a frame, smoothed and thinned out: what the fit of the rotation reads.
#ifndef DIAGNOSIS_SCALED_H
#define DIAGNOSIS_SCALED_H

#include <Kavrix/KXfloat.h>
#include <Kavrix/KXubyte.h>
#include <Telvane/Region.h>

#include <cstddef>

namespace telvane {

/// Pixel (x, y) of `grey` lies at (left + step x, top + step y) of the frame.
struct Scaled {
    MatFloat grey;
    int left = 0, top = 0, step = 1;

    /// Grey value, and its slope for a pixel of the frame.
    struct Sample {
        float grey, slopeX, slopeY;
    };
    /// Whether `At` may be asked there.
    bool Holds(float x, float y) const
    {
        const float u = (x - static_cast<float>(left)) / static_cast<float>(step);
        const float v = (y - static_cast<float>(top)) / static_cast<float>(step);
        return u >= 1 && v >= 1 && u < static_cast<float>(grey.dim1 - 2) &&
               v < static_cast<float>(grey.dim2 - 2);
    }
    /// Between pixels, by cubic convolution: R. G. Keys, "Cubic Convolution Interpolation for Digital Image
    /// Processing", IEEE Transactions on Acoustics, Speech, and Signal Processing 29 (1981), pp. 1153-1160.
    /// \param x, y  frame coordinates
    Sample At(float x, float y) const;
};

/// Smooths by the binomial of three (step 1) or of five coefficients along each axis, the latter once for
/// each halving. Beyond the frame its border goes on.
/// \param box   within the frame
/// \param step  1, 2 or 4
Scaled Scale(const CubByte& frames, int frame, const Region& box, int step);

inline Scaled::Sample Scaled::At(float x, float y) const
{
    const auto scale = 1 / static_cast<float>(step);
    const float u = (x - static_cast<float>(left)) * scale, v = (y - static_cast<float>(top)) * scale;
    const int column = static_cast<int>(u), row = static_cast<int>(v);
    const float s = u - static_cast<float>(column), t = v - static_cast<float>(row);
    const float* p = grey.p_f_data + std::ptrdiff_t{row - 1} * grey.step2 + (column - 1);

    // Weights of four neighbours, and what they change by along their axis.
    const float a0 = s * (-0.5F + s * (1 - 0.5F * s)), a1 = 1 + s * s * (-2.5F + 1.5F * s);
    const float a3 = s * s * (-0.5F + 0.5F * s), a2 = 1 - a0 - a1 - a3;
    const float d0 = -0.5F + s * (2 - 1.5F * s), d1 = s * (-5 + 4.5F * s);
    const float d3 = s * (-1 + 1.5F * s), d2 = -d0 - d1 - d3;
    const float b0 = t * (-0.5F + t * (1 - 0.5F * t)), b1 = 1 + t * t * (-2.5F + 1.5F * t);
    const float b3 = t * t * (-0.5F + 0.5F * t), b2 = 1 - b0 - b1 - b3;
    const float e0 = -0.5F + t * (2 - 1.5F * t), e1 = t * (-5 + 4.5F * t);
    const float e3 = t * (-1 + 1.5F * t), e2 = -e0 - e1 - e3;

    const std::ptrdiff_t row2 = grey.step2;
    const float* q[4] = {p, p + row2, p + 2 * row2, p + 3 * row2};
    float value[4], slope[4];
    for (int i = 0; i < 4; i++) {
        value[i] = a0 * q[i][0] + a1 * q[i][1] + a2 * q[i][2] + a3 * q[i][3];
        slope[i] = d0 * q[i][0] + d1 * q[i][1] + d2 * q[i][2] + d3 * q[i][3];
    }
    return {b0 * value[0] + b1 * value[1] + b2 * value[2] + b3 * value[3],
            (b0 * slope[0] + b1 * slope[1] + b2 * slope[2] + b3 * slope[3]) * scale,
            (e0 * value[0] + e1 * value[1] + e2 * value[2] + e3 * value[3]) * scale};
}

} // namespace telvane

#endif
