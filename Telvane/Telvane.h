// The detection: from a sequence of frames to the output region around the wheel's centre.
#ifndef TELVANE_TELVANE_H
#define TELVANE_TELVANE_H

#include <Kavrix/KXfloat.h>
#include <Kavrix/KXint.h>
#include <Kavrix/KXshort.h>
#include <Kavrix/KXubyte.h>

/// Blanks (sets to 0) rectangles in every frame, each as an octagon: its four corners are cut at 45 degrees,
/// by 2/7 of its shorter side.
/// \param seq        the frames of the input region, indexed (x, y, frame); written, through shared storage
/// \param iroi       the input region in full-frame pixels: left, top, width, height
/// \param oroiArr    the rectangles in full-frame pixels: left, top, width, height. One that lies wholly
///                   outside to the left, right, top or bottom is passed over; one without width or height
///                   stops with "RNG: Invalid range selection". Where the input region does not start at 0,
///                   rectangles must not reach past its right or bottom edge: that is not tested. No sum
///                   of these numbers overflows: where 32 bits would wrap, the mask reaches to the edge.
/// \param oroiCount  how many of them; below 1 nothing happens
/// \return 0 always
int Mask(CubByte seq, VecInt iroi, VecInt* oroiArr, int oroiCount);

/// The still background of a sequence: for every pixel the value of a given rank among all frames.
/// \param seq         W x H x N; read only
/// \param background  resized to W x H
/// \param percentile  0 the minimum, 50 the median; the rank N * percentile / 100 is held to 0..N-1
void GetBackground(CubByte& seq, MatByte& background, int percentile);
void GetBackground(CubShort& seq, MatShort& background, int percentile);

/// Finds the wheel's centre and places the output region around it.
/// \param roiNr        1..4; only checked
/// \param seq          W x H x N, the frames of the input region; read only
/// \param use_periods  false: the flow of the whole sequence; true: of the runs of frames that `periods`
///                     joins
/// \param periods      an entry of 1 joins its frame to the next one
/// \param iroi         5 elements, the input region in full-frame pixels: left, top, W, H, 1
/// \param params       14 elements, named in Telvane/Param.h: 14, 0, cx, cy, wid, hgh,
///                     innerR, outerR, R3, ang1, ang2, tooth angle, angSpd, bkgCorr; pixels and degrees. The
///                     output region is wid x hgh with the centre at (cx, cy); a negative R3 selects the ring
///                     search; angSpd below 0 is counter-clockwise; a negative bkgCorr asks for the
///                     background of that percentile. The angles are normalised in place, ang1 to 0..360 and
///                     ang2 to the turn after it: the caller sees it.
/// \param oroi         5 elements; the output region in full-frame pixels: left, top, width, height, 1
/// \param detected     a copy of the first frame with the result marked on it; marks that would fall outside
///                     the picture are left out
/// \param hough        the smoothed votes; untouched by the ring search
/// \param u_sum_sh, v_sum_sh, mag_sh  (W+1) x (H+1) flow pictures, see OF_Norm
/// \param bgShort      the background of the output region times 16, or untouched
/// \return 0 found; below 0 with one line on standard error: -1 bad argument, -2 aborted, -3 failed, -4 the
///         output region would leave the input region. What was written before stays.
int Detect(int roiNr, CubByte seq, bool use_periods, VecInt periods, VecInt iroi, VecFloat params,
           VecInt& oroi, MatByte& detected, MatShort& hough, MatShort& u_sum_sh, MatShort& v_sum_sh,
           MatShort& mag_sh, MatShort& bgShort);

#endif
