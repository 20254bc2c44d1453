/// \file
/// One element as another element type.
#ifndef KAVRIX_KXCAST_H
#define KAVRIX_KXCAST_H

#include <Kavrix/KXexport.h>

#include <cstdint>
#include <type_traits>

namespace kavrix::inner {

/// Float to integer: cut towards zero, held to the 32-bit range, not a number gives 0.
template <class F> constexpr int FloatToInt(F f)
{
    static_assert(std::is_floating_point_v<F>);
    if (f != f) return 0;
    if (f >= F{2147483648.0}) return INT32_MAX;
    if (f <= F{-2147483648.0}) return INT32_MIN;
    return static_cast<int>(f);
}

/// The same into 0 .. 2^32 - 1: what is negative gives 0.
template <class F> constexpr std::uint32_t FloatToUnsigned(F f)
{
    static_assert(std::is_floating_point_v<F>);
    if (!(f > 0)) return 0;
    if (f >= F{4294967296.0}) return UINT32_MAX;
    return static_cast<std::uint32_t>(f);
}

/// A number as an element of another type, as Convert makes it: integers keep their low bits; floats become
/// integers as above (for bytes through the unsigned range, so that negative values become 0) and then keep
/// their low bits.
template <class To, class From> constexpr To ElementCast(From a)
{
    if constexpr (std::is_floating_point_v<From> && std::is_integral_v<To>) {
        if constexpr (std::is_unsigned_v<To>) return static_cast<To>(FloatToUnsigned(a));
        else return static_cast<To>(FloatToInt(a));
    } else {
        return static_cast<To>(a);
    }
}

} // namespace kavrix::inner

#endif
