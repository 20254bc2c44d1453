// How the grey values of each place change over the frames of a run.
#ifndef DIAGNOSIS_CHANGES_H
#define DIAGNOSIS_CHANGES_H

#include <Kavrix/KXubyte.h>
#include <Telvane/Region.h>
#include <diagnosis/Place.h>

#include <algorithm>
#include <cstddef>
#include <vector>

namespace telvane {

/// Whether a place lies in one of the rectangles that are left out, or within `margin` pixels of one.
inline bool Masked(const std::vector<Region>& masks, double x, double y, double margin = 0)
{
    return std::any_of(masks.begin(), masks.end(), [=](const Region& m) {
        return x >= m.left - margin && y >= m.top - margin && x < double(m.left) + m.width + margin &&
               y < double(m.top) + m.height + margin;
    });
}

/// The pictures in cells of 2 x 2 pixels, row after row.
struct Changes {
    static constexpr int cell = 2;
    int width = 0, height = 0, count = 0; ///< in cells, and the frames

    std::vector<float> frames;   ///< the mean grey values of the cells, frame after frame
    std::vector<float> mean;     ///< of each cell over the frames, the light being evened out
    std::vector<float> variance; ///< of each cell over the frames, the light being evened out
    std::vector<double> light;   ///< of each frame, a factor; their mean is 1
    double noise = 0;            ///< standard deviation of a pixel's noise, grey levels

    std::size_t At(int x, int y) const
    {
        return static_cast<std::size_t>(y) * static_cast<std::size_t>(width) + static_cast<std::size_t>(x);
    }
    const float* Frame(int t) const { return frames.data() + static_cast<std::size_t>(t) * mean.size(); }

    /// Pixels of the frame.
    Place Middle(int x, int y) const { return {x * cell + (cell - 1) / 2.0, y * cell + (cell - 1) / 2.0}; }

    /// The variance that noise alone can make of a cell of that grey value: noise of light grows with it.
    double NoiseVariance(double grey) const;

    /// What of a cell's variance is more than noise.
    double Excess(std::size_t place) const
    {
        return std::max(0.0, double(variance[place]) - NoiseVariance(mean[place]));
    }

    double darkestNoise = 0; ///< the grey value at which `noise` was measured
};

/// The middle of what changes: half of it lies to each side, and half above and below.
Place MiddleOf(const Changes& changes, const std::vector<Region>& masks);

Changes ChangesOf(const CubByte& frames);

/// Read noise in grey levels, from what the mask 1 -2 1, -2 4 -2, 1 -2 1 leaves of the difference of two
/// frames: neither light nor rows of their own noise pass it, and edges are few.
/// J. Immerkaer, "Fast Noise Variance Estimation", Computer Vision and Image Understanding 64 (1996),
/// pp. 300-302; the median instead of the mean.
/// \param box  within the frame
double NoiseBetween(const CubByte& frames, int one, int other, const Region& box);

} // namespace telvane

#endif
