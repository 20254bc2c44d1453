// The optical flow of a frame sequence, matrix after matrix and cell after cell, and its scaling to 16 bits.
#pragma once

#include <tests/reference/Picture.h>

#include <functional>

namespace reference {

/// Asked at every checkpoint; anything but 0 stops the calculation. An empty one always lets it go on.
using TestQ = std::function<int()>;

bool StopAsked(const TestQ& testq);

/// 16 times the grey value: smoothed inside, raw on the one-pixel border. Frames are at least 3 x 3.
Picture<std::int16_t> PrepareFrame(const Picture<std::uint8_t>& frame);

// Derivatives on the 2 x 2 x 2 cube of the older frame P and the newer frame N, one column and one row less.
Picture<std::int16_t> DerivativeX(const Picture<std::int16_t>& P, const Picture<std::int16_t>& N);
Picture<std::int16_t> DerivativeY(const Picture<std::int16_t>& P, const Picture<std::int16_t>& N);
Picture<std::int16_t> DerivativeT(const Picture<std::int16_t>& P, const Picture<std::int16_t>& N);

/// Den += (E >> 3) squared, in 16 bits throughout.
void AddSquare(Picture<std::int16_t>& Den, const Picture<std::int16_t>& E);

struct FlowOfPair {
    Picture<std::int16_t> u, v; ///< (w + 1) x (h + 1)
    bool stopped = false;       ///< a checkpoint ended it; u and v are then unfinished
};

/// The flow between two prepared frames, with the checkpoints from the derivatives to the last sweep.
FlowOfPair PairFlow(const Picture<std::int16_t>& P, const Picture<std::int16_t>& N, int nrIters,
                    const TestQ& testq = {});

/// Adds the flow of every pair of consecutive frames. 0 done, 1 stopped at a checkpoint (finished pairs stay
/// added), -1 a sum is not (w + 1) x (h + 1).
int OpticalFlow12Alt(const Sequence& seq, Picture<std::int32_t>& uSum, Picture<std::int32_t>& vSum,
                     int nrIters, const TestQ& testq = {});

/// Scales both sums by one factor and takes the magnitude. The outputs are resized as the library's arrays
/// are: an equal number of elements keeps the contents, any other gives zeros. Of that only mag shows
/// anything, and only when both sums are all zero.
void OfNorm(const Picture<std::int32_t>& uSum, const Picture<std::int32_t>& vSum,
            Picture<std::int16_t>& uSumSh, Picture<std::int16_t>& vSumSh, Picture<std::int16_t>& magSh);

} // namespace reference
