// The average of a pixel's neighbours, of the filters and of the flow.
#ifndef KAVRIX_INNER_NEIGHBOURAVERAGE_H
#define KAVRIX_INNER_NEIGHBOURAVERAGE_H

namespace kavrix::inner {

/// The weights are those of B. K. P. Horn and B. G. Schunck, "Determining Optical Flow", Artificial
/// Intelligence 17 (1981), pp. 185-203: 1/6 for edge neighbours, 1/12 for corners. Both sums have 16 bits and
/// wrap; half the corners is rounded down, the sixth of the whole towards zero.
inline short NeighbourAverage(int nw, int n, int ne, int w, int e, int sw, int s, int se)
{
    const short corners = static_cast<short>(nw + ne + sw + se);
    const short sum = static_cast<short>((corners >> 1) + w + e + n + s);
    return static_cast<short>(sum / 6);
}

} // namespace kavrix::inner

#endif
