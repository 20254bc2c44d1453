/// \file
/// Filters. The 3 x 3 ones are members of MatShort, the box filters in place of MatByte and MatShort.
#ifndef KAVRIX_IMGPROC_H
#define KAVRIX_IMGPROC_H

#include <Kavrix/KXshort.h>

/// Binomial smoothing of a copy by repeated sums of neighbours, with a difference first where a count is
/// negative (which takes the place of one of its sums): FastFilter(m, -1, 0) is the derivative along x.
/// Output (x, y) covers the input window that starts at (x, y); each pass makes the picture one pixel
/// smaller. The sums are 16 bits and wrap; they are divided by the kernel's sum, truncating, once after the
/// passes along x when there are more than 7 passes in all, and at the end. A divisor that has wrapped to 0
/// gives 0. A count that leaves no pixel stops with "RNG: Invalid range selection".
/// \param uimg      W x H grey values; left untouched
/// \param v_passes  passes along x (the columns), despite the name
/// \param h_passes  passes along y
/// \return new picture of (W - |v_passes|) x (H - |h_passes|), a view anchored at (0, 0) of its storage
KAVRIX_EXPORT MatShort FastFilter(MatByte uimg, int v_passes, int h_passes);

#endif
