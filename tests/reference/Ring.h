// The search for the ring with the largest sum.
#pragma once

#include <tests/reference/Picture.h>

namespace reference {

/// 255 where r1^2 <= a^2 + b^2 <= r2^2 around the middle, else 0. r2 rounds to at least 0.
Picture<std::uint8_t> RingPattern(float r1, float r2);

/// The sum under the flipped pattern at every place where it lies wholly inside: one addition for each place
/// and set cell. Empty when the pattern does not fit.
Picture<std::int32_t> SumPattern(const Picture<std::int16_t>& simg, const Picture<std::uint8_t>& pattern);

/// The same numbers, from the differences of running sums at the ends of each run of set cells: for whole
/// frames.
Picture<std::int32_t> SumPatternByRuns(const Picture<std::int16_t>& simg,
                                       const Picture<std::uint8_t>& pattern);

using PatternSum = Picture<std::int32_t> (*)(const Picture<std::int16_t>&, const Picture<std::uint8_t>&);

/// Returns 0. A ring that does not fit, or that cannot be built, puts the centre at minus infinity.
int FindSemiCircle(const Picture<std::int16_t>& mag, float r1, float r2, float& f_cx, float& f_cy,
                   PatternSum sum = SumPattern);

} // namespace reference
