// The arithmetic of single elements: what wraps and what truncates; KXcast.h says what saturates. Everything
// that could be undefined in the language is spelled out here once, so that every processor and compiler
// gives the same bits.
#ifndef KAVRIX_INNER_KXARITH_H
#define KAVRIX_INNER_KXARITH_H

#include <Kavrix/KXcast.h>

#include <bit>
#include <cstdint>
#include <limits>
#include <type_traits>

namespace kavrix::inner {

/// Sum, difference and product cut to the width of T (two's complement wrap-around); plain for floats.
template <class T> constexpr T WrapAdd(T a, T b)
{
    if constexpr (std::is_floating_point_v<T>) return a + b;
    else return static_cast<T>(static_cast<std::uint32_t>(a) + static_cast<std::uint32_t>(b));
}

template <class T> constexpr T WrapSub(T a, T b)
{
    if constexpr (std::is_floating_point_v<T>) return a - b;
    else return static_cast<T>(static_cast<std::uint32_t>(a) - static_cast<std::uint32_t>(b));
}

template <class T> constexpr T WrapMul(T a, T b)
{
    if constexpr (std::is_floating_point_v<T>) return a * b;
    else return static_cast<T>(static_cast<std::uint32_t>(a) * static_cast<std::uint32_t>(b));
}

/// The larger of x and -x, wrapped: the lowest value has no positive partner and stays.
template <class T> constexpr T WrapAbs(T a) { return a < 0 ? WrapSub(T{0}, a) : a; }

/// Integer quotient truncated towards zero. A zero divisor gives 0; the lowest value by -1 wraps to itself.
/// For floats the plain quotient.
template <class T> constexpr T Quotient(T a, T b)
{
    if constexpr (std::is_floating_point_v<T>) {
        return a / b;
    } else {
        if (b == 0) return 0;
        if constexpr (std::is_signed_v<T>) {
            if (b == -1) return WrapSub(T{0}, a);
        }
        return static_cast<T>(a / b);
    }
}

/// The quotient by one and the same scalar, as a function of the element, without the processor's slow
/// integer division. A quotient of integers that is not whole lies at least 1/|s| away from the next whole
/// number, which is more than a float (for elements of up to 16 bits) or double (for 32 bits) rounds: cut, it
/// is the integer quotient. Division by 0 becomes division by infinity and gives 0; by -1 a change of sign.
template <class T> constexpr auto QuotientBy(T s)
{
    if constexpr (std::is_floating_point_v<T>) {
        return [s](T p) { return p / s; };
    } else {
        using Real = std::conditional_t<(sizeof(T) < 4), float, double>;
        const bool minusOne = std::is_signed_v<T> && s == static_cast<T>(-1);
        const Real divisor = s == 0     ? std::numeric_limits<Real>::infinity()
                             : minusOne ? Real{1}
                                        : static_cast<Real>(s);
        return [=](T p) {
            const int q = static_cast<int>(static_cast<Real>(p) / divisor);
            return static_cast<T>(minusOne ? WrapSub(0, q) : q);
        };
    }
}

/// Every bit inverted, of floats too.
template <class T> constexpr T Inverted(T a)
{
    if constexpr (std::is_floating_point_v<T>) return std::bit_cast<T>(~std::bit_cast<std::uint32_t>(a));
    else return static_cast<T>(~a);
}

/// Left shift that keeps the low bits. Counts outside 0 .. 31 give 0.
template <class T> constexpr T ShiftLeft(T a, int n)
{
    return n < 0 || n > 31 ? T{0} : static_cast<T>(static_cast<std::uint32_t>(a) << n);
}

/// Right shift, rounding towards minus infinity. Counts outside 0 .. 31 give 0, or -1 for negative values.
template <class T> constexpr T ShiftRight(T a, int n)
{
    return static_cast<T>(a >> (n < 0 || n > 31 ? 31 : n));
}

} // namespace kavrix::inner

#endif
