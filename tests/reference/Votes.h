// The votes of the moving pixels for the centre that they turn around.
#pragma once

#include <tests/reference/Flow.h>
#include <tests/reference/Picture.h>

#include <vector>

namespace reference {

/// Bin k counts the pixels of at most k - 2048; values beyond the bins count in the outer ones.
std::vector<std::int32_t> CumHistogram(const Picture<std::int16_t>& img, int bins = 4096);

/// The bin, not the value, at which the count crosses the fraction of the total.
std::int16_t PercThreshold(const std::vector<std::int32_t>& chist, float fraction);

/// Votes at the mean radius. 0 done, 1 stopped at a checkpoint, with cx and cy then left alone. Without any
/// vote cx and cy are not numbers and houghSh is all zero.
int OpticalFlowPostprocAlt(const Picture<std::int16_t>& uSum, const Picture<std::int16_t>& vSum, int len,
                           float r1, float r2, float r3f, float angSpeed, Picture<std::int16_t>& houghSh,
                           float& cx, float& cy, const TestQ& testq = {});

/// Votes after each step of a walk whose steps grow from r1 to r2.
int OpticalFlowPostprocA2(const Picture<std::int16_t>& uSum, const Picture<std::int16_t>& vSum, int len,
                          float r1, float r2, float angSpeed, Picture<std::int16_t>& houghSh, float& cx,
                          float& cy, const TestQ& testq = {});

} // namespace reference
