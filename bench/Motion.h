// What the benchmarks work on: frames of the drawn wheel, and the pictures that the detection makes of them.
//
// All are 1280 x 960 (the motion's 1281 x 961) and made when they are first asked for.
//
//     scripts/bench.sh [--filter <regular expression>]
//
// Names are <step>/<version>: "library" is what the program runs. "plain" is the same result pass by pass,
// from tests/reference; it takes part when the tests are built as well. "peer ..." is another library's
// answer to the same question. Times are milliseconds.
#ifndef BENCH_MOTION_H
#define BENCH_MOTION_H

#include <Kavrix/Kavrix.h>

/// Of the wheel in the frames, pixels.
inline constexpr float benchInnerR = 216, benchOuterR = 250;

/// So many frames of the default scene, from camera frame 0 on, 1 to 50; a view of frames that all share.
CubByte BenchFrames(int count);

struct BenchMotion {
    MatInt u_sum, v_sum;                 ///< flow summed over 15 frames
    MatShort u_sum_sh, v_sum_sh, mag_sh; ///< the same scaled to 16 bits, and its magnitude
    MatShort hough;                      ///< votes of flow post-processing, not smoothed
};
BenchMotion& Motion15();

/// The ring that FindSemiCircle slides over the motion: 255 where radius r1 <= distance <= r2, else 0.
MatByte BenchRing(int r1, int r2);

/// size x size cells of which about half are set, at random.
MatByte BenchRandomCells(int size);

#endif
