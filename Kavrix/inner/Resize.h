// Sizes for an array of a known element type.
#ifndef KAVRIX_INNER_RESIZE_H
#define KAVRIX_INNER_RESIZE_H

#include <Kavrix/KXcommon.h>

#include <type_traits>

namespace kavrix::inner {

/// Whether an array that is given this shape keeps its storage, and what that holds: for its own shape and
/// for any with as many elements.
bool KeepsStorage(const KX_Base& a, int d1, int d2, int d3);

/// Gives an array of T that shape by the function of its element type.
/// \return whether it kept its storage; what is new is not cleared
template <class T> bool ResizeTo(KX_Base& a, int d1, int d2 = 1, int d3 = 1)
{
    const bool kept = KeepsStorage(a, d1, d2, d3);
    if constexpr (std::is_same_v<T, UBYTE>) a.Resize_ubyte(d1, d2, d3);
    else if constexpr (std::is_same_v<T, short>) a.Resize_short(d1, d2, d3);
    else if constexpr (std::is_same_v<T, int>) a.Resize_int(d1, d2, d3);
    else a.Resize_float(d1, d2, d3);
    return kept;
}

} // namespace kavrix::inner

#endif
