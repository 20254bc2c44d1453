// The quotients of the flow: integers divided by the denominator of a cell, truncated.
//
// Processors have no vector instruction for integer division. The quotients are taken in floats and doubles
// and cut, and both ways below give the integer quotient for every operand that the flow has. They differ in
// what they cost: one divides for every sweep, the other never, but converts more.
//
// Den, 25 plus two squares modulo 65536, is never 0 nor -1 (where the lowest number would have no quotient):
// for 0 the squares would have to be 3 modulo 4 together, and squares are 0 or 1 there; for -1 they would
// have to be 6 modulo 8, and squares are 0, 1 or 4 there.
//
// A quotient a/Den that is not whole falls short of the next whole number by at least 1/|Den|. So one that
// comes out too large, by less than the part 1/|a| of it, is right when it is cut; whole ones are as well.
#ifndef KAVRIX_INNER_FLOWQUOTIENT_H
#define KAVRIX_INNER_FLOWQUOTIENT_H

#include <bit>
#include <cstdint>

namespace kavrix::inner {

/// For processors that divide fast and convert slowly.
struct DivisionQuotient {
    using Divisor = short; ///< what is kept of a cell's denominator
    static Divisor DivisorOf(short Den) { return Den; }

    /// Of the first sweep, where |a| <= 4080^2 < 2^24. So a is exact as a float. The rounding makes the
    /// quotient too large by 2^-24 of it at most, which is less than 1/|a|, or too small, but not smaller
    /// than a whole number, which would be a float itself.
    static int Small(int a, Divisor divisor)
    {
        return static_cast<int>(static_cast<float>(a) / static_cast<float>(divisor));
    }

    /// Of any number. The reciprocal, which two quotients by one divisor share, is too large by 2^-40 of it.
    /// The roundings in double, below 2^-51, do not outweigh that, and together they are less than
    /// 2^-31 <= 1/|a|.
    static int Any(int a, Divisor divisor)
    {
        const double reciprocal = (1.0 + 0x1p-40) / divisor;
        return static_cast<int>(a * reciprocal);
    }
};

/// For processors that divide slowly: one reciprocal for each cell, without a division, serves all sweeps.
struct ReciprocalQuotient {
    using Divisor = double;

    /// The reciprocal, too large by between 2^-34 and 2^-32 of it.
    ///
    /// It begins with the bits of Den as a float, subtracted from a constant: the sign stays, the exponent is
    /// turned round, and the mantissa becomes a straight line that is wrong by e, |e| < 0.051, where the
    /// reciprocal is curved. A Newton step r (2 - r Den) makes -e^2 of the error e. Two steps in float leave
    /// 2^-8.5 and 2^-17.1, their roundings included. In the third, in double, r Den and the difference are
    /// exact, since all are multiples of 2^-39 below 4; it leaves less than 2^-34, and the 2^-33 in it
    /// outweighs that. The tests try every Den.
    static Divisor DivisorOf(short Den)
    {
        const float den = Den;
        float r = std::bit_cast<float>(0x7ef30000u - std::bit_cast<std::uint32_t>(den));
        r = r * (2.0f - r * den);
        r = r * (2.0f - r * den);
        const double exact = r;
        return exact * ((2.0 + 0x1p-33) - exact * Den);
    }

    /// The product is rounded by at most 2^-53 of it: the excess stays above 0 and below 2^-31 <= 1/|a|.
    static int Small(int a, Divisor divisor) { return static_cast<int>(a * divisor); }
    static int Any(int a, Divisor divisor) { return static_cast<int>(a * divisor); }
};

/// On the 64-bit ARM boards a division in vectors takes as long as some 30 other operations.
#ifdef __aarch64__
using FlowQuotient = ReciprocalQuotient;
#else
using FlowQuotient = DivisionQuotient;
#endif

} // namespace kavrix::inner

#endif
