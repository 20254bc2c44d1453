/// \file
/// Search for the ring on which the motion lies.
#ifndef KAVRIX_FINDSEMICIRCLE_H
#define KAVRIX_FINDSEMICIRCLE_H

#include <Kavrix/KXint.h>
#include <Kavrix/KXshort.h>

/// The centre of the whole ring r1..r2 (all eight octants, despite the name) under which the picture's sum is
/// largest; of equal ones the lowest row, then the lowest column.
/// \param mag_sh      W x H picture, of the motion's magnitude for instance; read only
/// \param r1, r2      inner and outer radius in pixels, both included
/// \param f_cx, f_cy  the centre in pixels of mag_sh, whole numbers; at least rint(r2) from every side. Both
///                    minus infinity when the picture is smaller than 2 * rint(r2) + 1 either way, or when
///                    rint(r2) is negative or r2 not a number.
/// \return 0 always
KAVRIX_EXPORT int FindSemiCircle(const MatShort& mag_sh, float r1, float r2, float& f_cx, float& f_cy);

/// Sliding sum: entry (x, y) is the sum of simg(x + P1 - 1 - i, y + P2 - 1 - j) over all cells (i, j) of the
/// P1 x P2 pattern that are not 0 (a convolution), modulo 2^32.
/// \param simg     W x H picture, any strides
/// \param pattern  P1 x P2, not larger than the picture; only whether a cell is 0 counts
/// \return new (W - P1 + 1) x (H - P2 + 1) matrix
KAVRIX_EXPORT MatInt SumPattern(const MatShort& simg, const MatByte& pattern);

#endif
