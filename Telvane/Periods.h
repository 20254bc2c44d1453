// How far apart the frames of a run lie.
#ifndef TELVANE_PERIODS_H
#define TELVANE_PERIODS_H

#include <Kavrix/KXint.h>

namespace telvane {

/// What Detect takes: one entry for both periods when they are equal; else for each frame the number of
/// camera frames from it to the next: period1, period2, period1, ...
inline VecInt FramePeriods(int count, int period1, int period2)
{
    if (period1 == period2) return All(period1, 1);
    VecInt periods(count);
    for (int i = 0; i < count; i++) periods(i) = i % 2 == 0 ? period1 : period2;
    return periods;
}

} // namespace telvane

#endif
