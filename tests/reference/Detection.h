// The detection: masks, background, the marks on the result picture, and the whole run from frames to region.
#pragma once

#include <tests/reference/Flow.h>
#include <tests/reference/Picture.h>
#include <tests/reference/Ring.h>

#include <array>
#include <string>
#include <vector>

namespace reference {

using Region = std::array<std::int32_t, 5>; ///< left, top, width, height, 1

/// Blanks each rectangle, less its cut corners, in every frame. Throws FailStop where the library halts, with
/// the rectangles before already blanked. Inside a region that does not start at 0 the rectangles must stay
/// inside the sequence.
int Mask(Sequence& seq, const Region& iroi, const std::vector<Region>& rectangles);

/// The rank of a percentile among so many frames, held to 0 .. frames - 1.
int RankOf(int frames, std::int64_t percentile);

Picture<std::uint8_t> Background(const Sequence& seq, std::int64_t percentile);
Picture<std::int16_t> Background(const std::vector<Picture<std::int16_t>>& seq, std::int64_t percentile);

/// Marks the result. Marks outside the picture are left out one by one. params holds the normalised angles.
void Overlay(Picture<std::uint8_t>& detected, const Region& oroi, const Region& iroi,
             const std::vector<float>& params);

struct Detection {
    int result = 0;
    std::string err; ///< what went to standard error, with its line end
    std::vector<std::int32_t> oroi;
    std::vector<float> params; ///< with the normalised angles
    float f_cx = 0, f_cy = 0;
    Picture<std::uint8_t> detected;
    Picture<std::int16_t> hough, uSumSh, vSumSh, magSh, bgShort; ///< empty where not written
};

/// Outputs start empty. Throws FailStop where the library halts.
Detection Detect(int roiNr, const Sequence& seq, bool usePeriods, const std::vector<std::int32_t>& periods,
                 const std::vector<std::int32_t>& iroi, const std::vector<float>& params,
                 const std::vector<std::int32_t>& oroi, const TestQ& testq = {}, PatternSum sum = SumPattern);

} // namespace reference
