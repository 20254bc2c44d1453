// A rectangle of pixels, as the vectors iroi and oroi hold it.
#ifndef TELVANE_REGION_H
#define TELVANE_REGION_H

#include <Kavrix/KXint.h>

namespace telvane {

/// In full-frame pixels.
struct Region {
    int left, top, width, height;
};

/// What the first four elements say.
inline Region RegionOf(const VecInt& roi) { return {roi(0), roi(1), roi(2), roi(3)}; }

/// Into a vector of five, whose last element is 1.
inline void Store(const Region& region, VecInt& roi)
{
    roi(0) = region.left;
    roi(1) = region.top;
    roi(2) = region.width;
    roi(3) = region.height;
    roi(4) = 1;
}

} // namespace telvane

#endif
