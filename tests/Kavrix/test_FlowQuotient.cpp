// Both ways to take the flow's quotients, whichever the library was compiled with, against integer division.

#include <Kavrix/inner/FlowQuotient.h>
#include <Kavrix/inner/KXarith.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstdint>
#include <random>
#include <vector>

namespace {

using namespace kavrix::inner;

const int smallest = -4080 * 4080, largest = 4080 * 4080; ///< products of the first sweep

/// Every number that 16 bits hold but 0 and -1, which no denominator is.
std::vector<short> Denominators()
{
    std::vector<short> all;
    for (int den = SHRT_MIN; den <= SHRT_MAX; den++)
        if (den != 0 && den != -1) all.push_back(static_cast<short>(den));
    return all;
}

/// Numbers within bounds whose quotients by den are whole, and those right below and above: the first few
/// quotients, the last few within the bounds, and some between; and the bounds.
std::vector<int> Dividends(short den, int lowest, int highest, std::mt19937& random)
{
    std::vector<int> all = {lowest, lowest + 1, -1, 0, 1, highest - 1, highest};
    const std::int64_t last = std::int64_t{highest} / den, first = std::int64_t{lowest} / den;
    std::vector<std::int64_t> quotients = {0, 1, 2, 3, first, last};
    for (int i = 0; i < 4; i++)
        quotients.push_back(
            std::uniform_int_distribution(std::min(first, last), std::max(first, last))(random));
    for (const std::int64_t quotient : quotients) {
        for (const std::int64_t near : {-2, -1, 0, 1, 2}) {
            for (const int sign : {-1, 1}) {
                const std::int64_t a = sign * (quotient + near / 2) * den + near % 2;
                if (a >= lowest && a <= highest) all.push_back(static_cast<int>(a));
            }
        }
    }
    return all;
}

template <class Q> class FlowQuotient : public testing::Test {
};
using Ways = testing::Types<DivisionQuotient, ReciprocalQuotient>;
TYPED_TEST_SUITE(FlowQuotient, Ways);

TYPED_TEST(FlowQuotient, OfAnyNumberIsTheIntegerQuotientForEveryDenominator)
{
    std::mt19937 random(1);
    for (const short den : Denominators()) {
        const auto divisor = TypeParam::DivisorOf(den);
        for (const int a : Dividends(den, INT_MIN, INT_MAX, random))
            ASSERT_EQ(TypeParam::Any(a, divisor), a / den) << a << " / " << den;
    }
}

TYPED_TEST(FlowQuotient, OfTheFirstSweepIsTheIntegerQuotientForEveryDenominator)
{
    std::mt19937 random(2);
    for (const short den : Denominators()) {
        const auto divisor = TypeParam::DivisorOf(den);
        for (const int a : Dividends(den, smallest, largest, random))
            ASSERT_EQ(TypeParam::Small(a, divisor), a / den) << a << " / " << den;
    }
}

TYPED_TEST(FlowQuotient, OfProductsThatWrapIsTheIntegerQuotient)
{
    std::mt19937 random(3);
    std::uniform_int_distribution<int> any(INT_MIN, INT_MAX), derivative(-4080, 4080);
    for (const short den : Denominators()) {
        const auto divisor = TypeParam::DivisorOf(den);
        for (int i = 0; i < 20; i++) {
            const int num = any(random), E = derivative(random);
            const int a = WrapMul(num, E);
            ASSERT_EQ(TypeParam::Any(a, divisor), a / den) << num << " * " << E << " / " << den;
        }
    }
}

// What its proof rests on.
TEST(ReciprocalQuotient, IsTooLargeByMoreThanTheRoundingAndLessThanTheNextWholeNumberAllows)
{
    for (const short den : Denominators()) {
        // Exact: the products have 16 + 53 bits, of which those above 1 cancel.
        const double excess = std::fma(ReciprocalQuotient::DivisorOf(den), den, -1.0);
        ASSERT_GT(excess, 0x1p-34) << den;
        ASSERT_LT(excess, 0x1p-32) << den;
    }
}

} // namespace
