// What the votes for the centre of rotation are made of: the pixels that vote, and where their votes go.
#ifndef KAVRIX_INNER_VOTES_H
#define KAVRIX_INNER_VOTES_H

#include <Kavrix/KXint.h>
#include <Kavrix/KXshort.h>

#include <cmath>

namespace kavrix::inner {

/// The length of a pixel's motion, which is also the weight of its votes.
inline float Length(short u, short v)
{
    const float uf = u, vf = v;
    return std::sqrt(uf * uf + vf * vf);
}

/// The pixels that move at least so much, column by column.
class StrongPixels {
public:
    /// u and v are W x H; the threshold is a whole number of at most 2047.
    StrongPixels(const MatShort& u, const MatShort& v, float threshold);

    /// The rows of column x's strong pixels, ascending, are Row(i) for i from End(x - 1) to before End(x).
    int Row(int i) const { return rows(i); }
    int End(int x) const { return end(x); }

private:
    VecInt end, rows;
};

/// The votes of one run: the accumulator picture, and the sums for the weighted centroid.
class Votes {
public:
    Votes(int w, int h);

    /// A vote of weight n for the point (xn / n, yn / n), if it lies in the picture. The coordinates come
    /// multiplied by n, so that most pixels need no division. A vote whose quotient rounds up to the width or
    /// height has no cell; it counts in the centroid.
    void Cast(float xn, float yn, float n);

    /// The centroid, and the accumulator scaled so that its largest cell is 2000.
    void Finish(MatShort& hough_sh, float& cx, float& cy);

private:
    MatInt hough;
    float wid, hgh;
    float sum = 0, mx = 0, my = 0; // one sum of weights for both coordinates
};

} // namespace kavrix::inner

#endif
