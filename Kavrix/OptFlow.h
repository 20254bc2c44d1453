/// \file
/// Motion between frames, and the centre of rotation that it points to.
#ifndef KAVRIX_OPTFLOW_H
#define KAVRIX_OPTFLOW_H

#include <Kavrix/KXint.h>
#include <Kavrix/KXshort.h>
#include <Kavrix/TestQ.h>

/// Adds the optical flow of every pair of consecutive frames to u_sum and v_sum.
/// B. K. P. Horn and B. G. Schunck, "Determining Optical Flow", Artificial Intelligence 17 (1981),
/// pp. 185-203, in 16-bit fixed point: integer relaxation, every pair starting from zero flow.
/// \param ori      W x H x N grey values 0..255, indexed (x, y, frame), at least 3 x 3; read only
/// \param u_sum    (W+1) x (H+1) sums of the x component; (i, j) lies at image point (i - 1/2, j - 1/2);
///                 added to, never cleared. Where the gradient is strong, one sweep gives
///                 about 64 units for each pixel moved.
/// \param v_sum    the same for the y component
/// \param nrIters  relaxation sweeps per pair; below 1 the sums stay as they are
/// \return 0 done; 1 TestQ() asked to stop, finished pairs stay added; -1 a sum has the wrong shape, nothing
///         touched. All queries of a pair are asked before the pair is computed.
KAVRIX_EXPORT int OpticalFlow12Alt(CubByte& ori, MatInt& u_sum, MatInt& v_sum, int nrIters);

/// Scales summed flow to 16 bits by one factor for both components, so that the largest absolute value
/// becomes about 1907, and gives the magnitude of the scaled flow, 0 to about 2697.
/// \param u_sum, v_sum        W x H sums of flow; read only
/// \param u_sum_sh, v_sum_sh  resized to W x H; the scaled components
/// \param mag_sh              resized to W x H; the magnitude. Without any flow it keeps the content that
///                            its storage had; storage that is new is 0 then.
KAVRIX_EXPORT void OF_Norm(const MatInt& u_sum, const MatInt& v_sum, MatShort& u_sum_sh, MatShort& v_sum_sh,
                           MatShort& mag_sh);

/// Cumulative histogram: chist(k) becomes the number of pixels of at most k - 2048, smaller values counting
/// in bin 0, larger ones in the last bin.
/// \param img    W x H values, for instance of OF_Norm; read only
/// \param chist  its length, 4096 for the whole range, is the caller's; earlier counts are overwritten
KAVRIX_EXPORT void CumHistogram(const MatShort& img, VecInt& chist);

/// The bin at which a cumulative histogram crosses `fraction` (0..1) of its total: for fractions above 0.5
/// the highest bin whose count is at most that part, otherwise the lowest whose count is at least that part.
/// \return a bin index; with the histograms above, 2048 more than the value
KAVRIX_EXPORT short PercThreshold(const VecInt& chist, float fraction);

/// Lets strongly moving pixels vote for the centre of rotation: each for the point at the mean of the two
/// radii across its motion, on the side that the sense of rotation selects.
/// Strong means: as long as the 250 or so largest values of u_sum.
/// \param u_sum, v_sum  W x H scaled flow components of OF_Norm; read only
/// \param len           not used
/// \param r1, r2        radii in pixels; their mean is the distance of the voted point
/// \param r3f           offset of the voted point along the motion, rounded to whole pixels
/// \param ang_speed     only its sign counts: above 0 clockwise, below 0 counter-clockwise, 0 casts no vote
/// \param hough_sh      resized to W x H: the votes, weighted by speed, scaled to 0..2000. A vote whose
///                      quotient rounds up to the width or height has no cell, and counts in the centroid.
/// \param cx, cy        centroid of the votes + 0.5; not a number without votes
/// \return 0 done; 1 TestQ() asked to stop
KAVRIX_EXPORT int OpticalFlowPostprocAlt(const MatShort& u_sum, const MatShort& v_sum, int len, float r1,
                                         float r2, float r3f, float ang_speed, MatShort& hough_sh, float& cx,
                                         float& cy);

/// As OpticalFlowPostprocAlt, but each pixel votes once for every whole radius from r1 to r2, and the voted
/// point moves on by each radius in turn: its distance is the sum of the radii so far. Shapes, units and
/// results are those of OpticalFlowPostprocAlt.
KAVRIX_EXPORT int OpticalFlowPostprocA2(const MatShort& u_sum, const MatShort& v_sum, int len, float r1,
                                        float r2, float ang_speed, MatShort& hough_sh, float& cx, float& cy);

#endif
