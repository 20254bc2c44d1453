// The element-wise operators of all families, against plain loops over the storage.
#include <Kavrix/Kavrix.h>

#include <tests/support/ArrayShapes.h>
#include <tests/support/ElementRules.h>

#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <cstring>
#include <string>
#include <vector>

namespace {

using namespace element_rules;

const RNG all(0, 2147483647);
constexpr int widest = 70;

/// A new dense array of one reference, of the left operand's shape.
template <class T>::testing::AssertionResult IsNewAndDense(const KX_Base& r, const KX_Base& left)
{
    if (r.pblock == nullptr || r.pblock == left.pblock || r.pblock->nrefs != 1)
        return ::testing::AssertionFailure() << "not in a block of its own";
    if (r.dim1 != left.dim1 || r.dim2 != left.dim2 || r.dim3 != left.dim3)
        return ::testing::AssertionFailure() << "another shape";
    if (r.step1 != 1 || r.step2 != r.dim1 || r.step3 != r.dim1 * r.dim2 || r.p_data != r.pblock->ptr ||
        r.pblock->len != r.dim1 * r.dim2 * r.dim3 || r.pblock->itemsize != sizeof(T))
        return ::testing::AssertionFailure() << "not dense";
    return ::testing::AssertionSuccess();
}

template <class T> class ArithmeticOf : public ::testing::Test {
};
TYPED_TEST_SUITE(ArithmeticOf, AllElements);

template <class T> class IntegersOf : public ::testing::Test {
};
TYPED_TEST_SUITE(IntegersOf, IntegerElements);

template <class T> class CubesOf : public ::testing::Test {
};
TYPED_TEST_SUITE(CubesOf, CubeElements);

// ---------------------------------------------------------------------------------- array with array

TYPED_TEST(ArithmeticOf, CompoundOperatorsWriteTheLeftViewOnly)
{
    using T = TypeParam;
    Random random(11);
    for (const ArrayRule<T>& rule : ArrayRules<T>()) {
        for (int l = 0; l < layoutCount; l++) {
            for (int w = 1; w <= widest; w++) {
                const int h = 1 + w % 3;
                // Dense rows on both sides, and this layout with each other one in turn.
                for (int r : {0, (l + w) % layoutCount}) {
                    Sample<T> a(layouts[l], w, h, random), b(layouts[r], w, h, random);
                    const std::vector<T> right = b.Storage();
                    std::vector<T> expected = a.Storage();
                    for (int y = 0; y < h; y++)
                        for (int x = 0; x < w; x++)
                            expected[a.At(x, y)] = rule.plain(expected[a.At(x, y)], right[b.At(x, y)]);
                    ElemOf<T>& result = rule.inPlace(a.view, b.view);
                    ASSERT_EQ(&result, &a.view);
                    ASSERT_TRUE(Equal(expected, a.Storage()))
                        << rule.name << ": " << layouts[l].name << " with " << layouts[r].name << ", width "
                        << w;
                    ASSERT_TRUE(Equal(right, b.Storage())) << rule.name;
                }
            }
        }
    }
}

TYPED_TEST(ArithmeticOf, BinaryOperatorsMakeANewDenseArray)
{
    using T = TypeParam;
    Random random(12);
    for (const ArrayRule<T>& rule : ArrayRules<T>()) {
        if (rule.made == nullptr) continue;
        for (int l = 0; l < layoutCount; l++) {
            for (int w = 1; w <= widest; w++) {
                const int h = 1 + w % 3, r = (l + w) % layoutCount;
                const Sample<T> a(layouts[l], w, h, random), b(layouts[r], w, h, random);
                const std::vector<T> left = a.Storage(), right = b.Storage();
                std::vector<T> expected;
                for (int y = 0; y < h; y++)
                    for (int x = 0; x < w; x++)
                        expected.push_back(rule.plain(left[a.At(x, y)], right[b.At(x, y)]));
                const ElemOf<T> result = rule.made(a.view, b.view);
                ASSERT_TRUE(IsNewAndDense<T>(result, a.view)) << rule.name;
                ASSERT_TRUE(Equal(expected, Values<T>(result)))
                    << rule.name << ": " << layouts[l].name << " with " << layouts[r].name << ", width " << w;
                ASSERT_TRUE(Equal(left, a.Storage())) << rule.name;
                ASSERT_TRUE(Equal(right, b.Storage())) << rule.name;
            }
        }
    }
}

/// Every value of `ends` with every other one, by all array and scalar operators.
template <class T> void ExpectAllPairs(const std::vector<T>& ends)
{
    const int n = static_cast<int>(ends.size());
    MatOf<T> left(n, n), right(n, n);
    for (int y = 0; y < n; y++)
        for (int x = 0; x < n; x++) left(x, y) = ends[x], right(x, y) = ends[y];
    for (const ArrayRule<T>& rule : ArrayRules<T>()) {
        MatOf<T> result;
        result = left;
        rule.inPlace(result, right);
        for (int y = 0; y < n; y++)
            for (int x = 0; x < n; x++)
                ASSERT_TRUE(Same(rule.plain(ends[x], ends[y]), result(x, y)))
                    << +ends[x] << ' ' << rule.name << ' ' << +ends[y] << " gives " << +result(x, y);
    }
    for (const ScalarRule<T>& rule : ScalarRules<T>()) {
        for (int y = 0; y < n; y++) {
            VecOf<T> result;
            result = left(all, 0);
            rule.inPlace(result, ends[y]);
            for (int x = 0; x < n; x++)
                ASSERT_TRUE(Same(rule.plain(ends[x], ends[y]), result(x)))
                    << +ends[x] << ' ' << rule.name << ' ' << +ends[y] << " gives " << +result(x);
        }
    }
}

TEST(KX_Byte, EveryValueWithEveryValue)
{
    std::vector<UBYTE> values;
    for (int i = 0; i < 256; i++) values.push_back(static_cast<UBYTE>(i));
    ExpectAllPairs(values);
}

TEST(KX_Short, EndsOfTheRange)
{
    ExpectAllPairs<short>({-32768, -32767, -16384, -257, -256, -255, -182, -181, -128, -2,    -1,    0,
                           1,      2,      127,    128,  181,  182,  255,  256,  257,  16384, 32766, 32767});
}

TEST(KX_Int, EndsOfTheRange)
{
    ExpectAllPairs<int>({INT_MIN, INT_MIN + 1, -(1 << 30), -65536,  -46341,      -46340, -32768,
                         -2,      -1,          0,          1,       2,           32767,  46340,
                         46341,   65535,       65536,      1 << 30, INT_MAX - 1, INT_MAX});
}

TEST(KX_Float, EndsOfTheRange)
{
    using L = std::numeric_limits<float>;
    ExpectAllPairs<float>({-L::infinity(),
                           L::lowest(),
                           -16777216.0f,
                           -1.5f,
                           -1,
                           -0.1f,
                           -L::min(),
                           -L::denorm_min(),
                           -0.0f,
                           0,
                           L::denorm_min(),
                           L::min(),
                           0.1f,
                           1,
                           1.5f,
                           16777216.0f,
                           16777217.0f,
                           L::max(),
                           L::infinity(),
                           L::quiet_NaN()});
}

TEST(KX_Short, AddingPast32767Wraps)
{
    VecShort v(30000, 32767, -32768), w(10000, 1, -1);
    v += w;
    EXPECT_EQ(Values<short>(v), (std::vector<short>{-25536, -32768, 32767}));
    VecShort s(30000, 1);
    s += short(10000);
    EXPECT_EQ(s(0), -25536);
    EXPECT_EQ(s(1), 10001);
}

TEST(KX_Short, DivisionTruncatesTowardsZero)
{
    VecShort v(-7, 7, -1, 1);
    v /= short(2);
    EXPECT_EQ(Values<short>(v), (std::vector<short>{-3, 3, 0, 0}));
}

TYPED_TEST(IntegersOf, DivisionByZeroGivesZero)
{
    using T = TypeParam;
    using L = std::numeric_limits<T>;
    const VecOf<T> v(L::min(), L::max(), 0, 1, 5);
    VecOf<T> zeros(5);
    zeros.Fill(0);
    const std::vector<T> expected(5, 0);
    EXPECT_EQ(Values<T>(v / zeros), expected);
    EXPECT_EQ(Values<T>(v / T{0}), expected);
    VecOf<T> a, b;
    a = v;
    a /= zeros;
    b = v;
    b /= T{0};
    EXPECT_EQ(Values<T>(a), expected);
    EXPECT_EQ(Values<T>(b), expected);
    // Among others only the element with the zero divisor is 0.
    VecOf<T> c(10, 20, 30), d(5, 0, 2);
    c /= d;
    EXPECT_EQ(Values<T>(c), (std::vector<T>{2, 0, 15}));
}

TEST(KX_Short, LowestByMinusOneWraps)
{
    VecShort v(-32768, -32767, 32767), minus(-1, -1, -1);
    EXPECT_EQ(Values<short>(v / minus), (std::vector<short>{-32768, 32767, -32767}));
    EXPECT_EQ(Values<short>(v / short(-1)), (std::vector<short>{-32768, 32767, -32767}));
    v /= minus;
    EXPECT_EQ(v(0), -32768);
}

TEST(KX_Int, LowestByMinusOneWraps)
{
    VecInt v(INT_MIN, INT_MIN + 1, INT_MAX), minus(-1, -1, -1);
    EXPECT_EQ(Values<int>(v / minus), (std::vector<int>{INT_MIN, INT_MAX, -INT_MAX}));
    EXPECT_EQ(Values<int>(v / -1), (std::vector<int>{INT_MIN, INT_MAX, -INT_MAX}));
    v /= minus;
    EXPECT_EQ(v(0), INT_MIN);
}

TEST(KX_Float, DivisionByZeroIsThatOfFloats)
{
    VecFloat v(1, -1, 0), zeros(0, 0, 0);
    v /= zeros;
    EXPECT_EQ(v(0), INFINITY);
    EXPECT_EQ(v(1), -INFINITY);
    EXPECT_TRUE(std::isnan(v(2)));
}

// ---------------------------------------------------------------------------------- array with scalar

TYPED_TEST(ArithmeticOf, ScalarOperatorsTreatEveryElementTheSame)
{
    using T = TypeParam;
    Random random(13);
    for (const ScalarRule<T>& rule : ScalarRules<T>()) {
        for (const Layout& layout : layouts) {
            for (int w = 1; w <= widest; w++) {
                const int h = 1 + w % 3;
                Sample<T> a(layout, w, h, random);
                const T s = random.Value<T>();
                const std::vector<T> before = a.Storage();
                std::vector<T> expected = before, made;
                for (int y = 0; y < h; y++) {
                    for (int x = 0; x < w; x++) {
                        made.push_back(rule.plain(before[a.At(x, y)], s));
                        expected[a.At(x, y)] = made.back();
                    }
                }
                if (rule.made) {
                    const ElemOf<T> result = rule.made(a.view, s);
                    ASSERT_TRUE(IsNewAndDense<T>(result, a.view)) << rule.name;
                    ASSERT_TRUE(Equal(made, Values<T>(result)))
                        << rule.name << ": " << layout.name << ", width " << w;
                    ASSERT_TRUE(Equal(before, a.Storage())) << rule.name;
                }
                ElemOf<T>& result = rule.inPlace(a.view, s);
                ASSERT_EQ(&result, &a.view);
                ASSERT_TRUE(Equal(expected, a.Storage()))
                    << rule.name << ": " << layout.name << ", width " << w;
            }
        }
    }
}

TEST(KX_Short, EveryValueByAScalarIsTheIntegerQuotient)
{
    std::vector<short> divisors = {-32768, -32767, -16384, 16384, 32766, 32767};
    for (short d = -130; d <= 130; d++) divisors.push_back(d);
    Random random(21);
    for (int i = 0; i < 50; i++) divisors.push_back(random.Value<short>());
    VecShort every(65536), quotients(65536);
    for (int i = 0; i < 65536; i++) every(i) = reference::Low16(i);
    for (short d : divisors) {
        quotients = every;
        quotients /= d;
        const short* const q = quotients.p_s_data;
        int wrong = 0;
        for (int i = 0; i < 65536; i++) wrong += q[i] != Div(reference::Low16(i), d);
        ASSERT_EQ(wrong, 0) << "by " << d;
    }
}

TEST(KX_Int, ByAScalarIsTheIntegerQuotientOnBothSidesOfEveryMultiple)
{
    Random random(22);
    std::vector<int> divisors = {INT_MIN, INT_MIN + 1, -65537, -3,    -2,    -1,          1,
                                 2,       3,           7,      65535, 65536, INT_MAX - 1, INT_MAX};
    for (int i = 0; i < 200; i++) {
        const int d = random.Value<int>() >> random.Below(31);
        if (d != 0) divisors.push_back(d);
    }
    for (int d : divisors) {
        std::vector<int> values = {INT_MIN, INT_MIN + 1, INT_MAX - 1, INT_MAX};
        for (int i = 0; i < 300; i++) {
            const std::int64_t multiple = random.Value<int>() / std::int64_t{d} * d;
            for (std::int64_t near = multiple - 1; near <= multiple + 1; near++)
                if (near >= INT_MIN && near <= INT_MAX) values.push_back(static_cast<int>(near));
        }
        VecInt v(static_cast<int>(values.size()));
        v.ImportData(values.data());
        const VecInt made = v / d;
        v /= d;
        for (int i = 0; i < v.dim1; i++) {
            ASSERT_EQ(v(i), Div(values[i], d)) << values[i] << " / " << d;
            ASSERT_EQ(made(i), Div(values[i], d)) << values[i] << " / " << d;
        }
    }
}

TYPED_TEST(ArithmeticOf, ScalarTakenFromTheArrayItselfIsReadOnce)
{
    using T = TypeParam;
    VecOf<T> v(3, 4, 5);
    v *= v(0);
    EXPECT_TRUE(Equal(Values<T>(v), {9, 12, 15}));
    v += v(2);
    EXPECT_TRUE(Equal(Values<T>(v), {24, 27, 30}));
    v /= v[1];
    EXPECT_TRUE(Equal(Values<T>(v), {Div<T>(24, 27), 1, Div<T>(30, 27)}));
}

TYPED_TEST(ArithmeticOf, TildeInvertsEveryBit)
{
    using T = TypeParam;
    Random random(14);
    for (const Layout& layout : layouts) {
        for (int w = 1; w <= widest; w++) {
            const Sample<T> a(layout, w, 2, random);
            const std::vector<T> before = a.Storage();
            const ElemOf<T> result = ~a.view;
            ASSERT_TRUE(IsNewAndDense<T>(result, a.view));
            for (int y = 0; y < 2; y++) {
                for (int x = 0; x < w; x++) {
                    UBYTE bits[sizeof(T)], inverted[sizeof(T)];
                    std::memcpy(bits, &before[a.At(x, y)], sizeof(T));
                    std::memcpy(inverted, BlockOf<T>(result) + x + y * w, sizeof(T));
                    for (std::size_t i = 0; i < sizeof(T); i++) ASSERT_EQ(bits[i] ^ inverted[i], 255);
                }
            }
            ASSERT_TRUE(Equal(before, a.Storage()));
        }
    }
}

TEST(Tilde, OfIntegers)
{
    EXPECT_EQ(Values<UBYTE>(~VecByte(0, 255, 15)), (std::vector<UBYTE>{255, 0, 240}));
    EXPECT_EQ(Values<short>(~VecShort(0, -1, 32767)), (std::vector<short>{-1, 0, -32768}));
    EXPECT_EQ(Values<int>(~VecInt(0, 5, INT_MIN)), (std::vector<int>{-1, -6, INT_MAX}));
}

// ---------------------------------------------------------------------------------- scaling by a float

template <class T> std::vector<T> ScalingElements()
{
    if constexpr (sizeof(T) == 1) {
        std::vector<T> every;
        for (int i = 0; i < 256; i++) every.push_back(static_cast<T>(i));
        return every;
    } else if constexpr (sizeof(T) == 2) {
        return {-32768, -32767, -201, -5, -2, -1, 0, 1, 2, 3, 5, 7, 200, 4080, 32766, 32767};
    } else {
        return {INT_MIN, INT_MIN + 1, -16777217, -100000,  -5,        -1,           0,
                1,       2,           5,         16777217, 123456789, INT_MAX - 64, INT_MAX};
    }
}

TYPED_TEST(IntegersOf, ScalingByAFloatTruncatesSaturatesAndKeepsTheLowBits)
{
    using T = TypeParam;
    using L = std::numeric_limits<float>;
    const float factors[] = {0,
                             -0.0f,
                             0.5f,
                             -0.5f,
                             1,
                             -1,
                             1.5f,
                             -1.5f,
                             0.1f,
                             -0.1f,
                             1 / 3.0f,
                             255,
                             257.3f,
                             -257.3f,
                             65536,
                             65536.5f,
                             16777216.0f,
                             1e9f,
                             -1e9f,
                             2147483648.0f,
                             -2147483648.0f,
                             4294967296.0f,
                             4294967040.0f,
                             1e20f,
                             -1e20f,
                             L::min(),
                             L::denorm_min(),
                             L::max(),
                             L::lowest(),
                             L::infinity(),
                             -L::infinity(),
                             L::quiet_NaN()};
    const std::vector<T> elements = ScalingElements<T>();
    const int n = static_cast<int>(elements.size());
    VecOf<T> v(n);
    v.ImportData(elements.data());
    for (float f : factors) {
        VecOf<T> times, over;
        times = v;
        times *= f;
        over = v;
        over /= f;
        const VecOf<T> timesMade = v * f, overMade = v / f;
        for (int i = 0; i < n; i++) {
            const float product = static_cast<float>(elements[i]) * f,
                        quotient = static_cast<float>(elements[i]) / f;
            ASSERT_EQ(times(i), Cut<T>(product)) << +elements[i] << " * " << f;
            ASSERT_EQ(timesMade(i), Cut<T>(product)) << +elements[i] << " * " << f;
            ASSERT_EQ(over(i), Cut<T>(quotient)) << +elements[i] << " / " << f;
            ASSERT_EQ(overMade(i), Cut<T>(quotient)) << +elements[i] << " / " << f;
        }
    }
}

TYPED_TEST(IntegersOf, ScalingByAFloatInEveryLayout)
{
    using T = TypeParam;
    Random random(15);
    for (const Layout& layout : layouts) {
        for (int w = 1; w <= widest; w++) {
            const int h = 1 + w % 3;
            Sample<T> a(layout, w, h, random);
            const float f = w % 5 == 0 ? random.Value<float>()
                                       : std::ldexp(static_cast<float>(random.Below(2000) - 1000), -8);
            const std::vector<T> before = a.Storage();
            std::vector<T> times = before, twice, over;
            for (int y = 0; y < h; y++) {
                for (int x = 0; x < w; x++) {
                    const std::size_t at = a.At(x, y);
                    times[at] = Cut<T>(static_cast<float>(before[at]) * f);
                    twice.push_back(Cut<T>(static_cast<float>(times[at]) * f));
                    over.push_back(Cut<T>(static_cast<float>(times[at]) / f));
                }
            }
            ASSERT_EQ(&(a.view *= f), &static_cast<ElemOf<T>&>(a.view));
            ASSERT_TRUE(Equal(times, a.Storage())) << layout.name << ", width " << w << ", " << f;
            const ElemOf<T> product = a.view * f, quotient = a.view / f;
            ASSERT_TRUE(IsNewAndDense<T>(product, a.view));
            ASSERT_TRUE(Equal(twice, Values<T>(product))) << layout.name << ", width " << w << ", " << f;
            ASSERT_TRUE(Equal(over, Values<T>(quotient))) << layout.name << ", width " << w << ", " << f;
            ASSERT_TRUE(Equal(times, a.Storage()));
        }
    }
}

TEST(KX_Short, ScalingByAHalfTruncatesTowardsZero)
{
    VecShort v(5, -5);
    v *= 0.5f;
    EXPECT_EQ(Values<short>(v), (std::vector<short>{2, -2}));
}

TEST(KX_Byte, ScalingPast255KeepsTheLowBits)
{
    VecByte v(200, 1);
    EXPECT_EQ(Values<UBYTE>(v * 1.5f), (std::vector<UBYTE>{44, 1}));
    v *= 1.5f;
    EXPECT_EQ(Values<UBYTE>(v), (std::vector<UBYTE>{44, 1}));
}

TEST(KX_Byte, ScalingByANegativeFloatGivesZero)
{
    EXPECT_EQ(Values<UBYTE>(VecByte(0, 1, 255) * -1.0f), (std::vector<UBYTE>{0, 0, 0}));
    EXPECT_EQ(Values<UBYTE>(VecByte(0, 1, 255) / -0.5f), (std::vector<UBYTE>{0, 0, 0}));
}

TEST(ScalingByAFloat, PastThe32BitRangeSaturatesBeforeTheLowBitsAreKept)
{
    EXPECT_EQ(Values<int>(VecInt(3, -3, 0) * 1e20f), (std::vector<int>{INT_MAX, INT_MIN, 0}));
    EXPECT_EQ(Values<short>(VecShort(3, -3, 0) * 1e20f),
              (std::vector<short>{-1, 0, 0})); // 0x7FFFFFFF, 0x80000000
    EXPECT_EQ(Values<UBYTE>(VecByte(3, 1, 0) * 1e20f), (std::vector<UBYTE>{255, 255, 0}));
    EXPECT_EQ(Values<int>(VecInt(1, -1, 0) / 0.0f),
              (std::vector<int>{INT_MAX, INT_MIN, 0})); // 0 / 0 is no number
    EXPECT_EQ(Values<short>(VecShort(1, -1, 0) / 0.0f), (std::vector<short>{-1, 0, 0}));
    EXPECT_EQ(Values<UBYTE>(VecByte(1, 2, 0) / 0.0f), (std::vector<UBYTE>{255, 255, 0}));
    EXPECT_EQ(Values<int>(VecInt(1, -1, 0) * NAN), (std::vector<int>{0, 0, 0}));
    EXPECT_EQ(Values<UBYTE>(VecByte(1, 2, 3) * NAN), (std::vector<UBYTE>{0, 0, 0}));
}

TEST(KX_Int, ScalingGoesThroughSinglePrecision)
{
    // 16777217 has no float: it becomes 16777216 even times one.
    EXPECT_EQ(Values<int>(VecInt(16777217, INT_MAX) * 1.0f), (std::vector<int>{16777216, INT_MAX}));
}

// ---------------------------------------------------------------------------------- shifts

TYPED_TEST(IntegersOf, ShiftsByEveryCount)
{
    using T = TypeParam;
    std::vector<int> counts = {32, 33, 40, 63, 64, 255, INT_MAX, -1, -2, -32, INT_MIN};
    for (int n = 0; n < 32; n++) counts.push_back(n);
    const std::vector<T> elements = ScalingElements<T>();
    VecOf<T> v(static_cast<int>(elements.size()));
    v.ImportData(elements.data());
    for (int n : counts) {
        VecOf<T> right, left;
        right = v;
        right >>= n;
        left = v;
        left <<= n;
        const VecOf<T> rightMade = v >> n, leftMade = v << n;
        for (int i = 0; i < v.dim1; i++) {
            ASSERT_EQ(right(i), ShiftRight(v(i), n)) << +v(i) << " >> " << n;
            ASSERT_EQ(rightMade(i), ShiftRight(v(i), n)) << +v(i) << " >> " << n;
            ASSERT_EQ(left(i), ShiftLeft(v(i), n)) << +v(i) << " << " << n;
            ASSERT_EQ(leftMade(i), ShiftLeft(v(i), n)) << +v(i) << " << " << n;
        }
    }
}

TYPED_TEST(IntegersOf, ShiftsInEveryLayout)
{
    using T = TypeParam;
    Random random(16);
    for (const Layout& layout : layouts) {
        for (int w = 1; w <= widest; w++) {
            const int h = 1 + w % 3, n = w % 18;
            Sample<T> a(layout, w, h, random);
            const std::vector<T> before = a.Storage();
            std::vector<T> expected = before, rightMade, leftMade;
            for (int y = 0; y < h; y++) {
                for (int x = 0; x < w; x++) {
                    T& e = expected[a.At(x, y)];
                    rightMade.push_back(ShiftRight(e, n));
                    leftMade.push_back(ShiftLeft(e, n));
                    e = ShiftLeft(ShiftRight(e, n), 2);
                }
            }
            const ElemOf<T> right = a.view >> n, left = a.view << n;
            ASSERT_TRUE(IsNewAndDense<T>(right, a.view));
            ASSERT_TRUE(IsNewAndDense<T>(left, a.view));
            ASSERT_TRUE(Equal(rightMade, Values<T>(right)));
            ASSERT_TRUE(Equal(leftMade, Values<T>(left)));
            ASSERT_TRUE(Equal(before, a.Storage()));
            ASSERT_EQ(&((a.view >>= n) <<= 2), &static_cast<ElemOf<T>&>(a.view));
            ASSERT_TRUE(Equal(expected, a.Storage())) << layout.name << ", width " << w;
        }
    }
}

TEST(KX_Short, RightShiftRoundsTowardsMinusInfinity)
{
    VecShort v(-7, 7, -1);
    v >>= 1;
    EXPECT_EQ(Values<short>(v), (std::vector<short>{-4, 3, -1}));
}

TEST(Shifts, PastTheWidthOfTheElement)
{
    EXPECT_EQ(Values<short>(VecShort(-1, 32767) >> 20), (std::vector<short>{-1, 0}));
    EXPECT_EQ(Values<short>(VecShort(-1, 32767) >> 32), (std::vector<short>{-1, 0}));
    EXPECT_EQ(Values<short>(VecShort(-1, 32767) << 16), (std::vector<short>{0, 0}));
    EXPECT_EQ(Values<UBYTE>(VecByte(255, 128) >> 8), (std::vector<UBYTE>{0, 0}));
    EXPECT_EQ(Values<UBYTE>(VecByte(255, 129) << 1), (std::vector<UBYTE>{254, 2}));
    EXPECT_EQ(Values<UBYTE>(VecByte(255, 129) >> 1), (std::vector<UBYTE>{127, 64})); // logical for bytes
    EXPECT_EQ(Values<int>(VecInt(INT_MIN, INT_MAX) >> 31), (std::vector<int>{-1, 0}));
    EXPECT_EQ(Values<int>(VecInt(INT_MIN, INT_MAX) << 31), (std::vector<int>{0, INT_MIN}));
    EXPECT_EQ(Values<int>(VecInt(INT_MIN, INT_MAX) << 32), (std::vector<int>{0, 0}));
}

// ---------------------------------------------------------------------------------- operands of another type

template <class T, class N, class F, class G> void ExpectMixed(F inPlace, G plain)
{
    Random random(17);
    for (int l = 0; l < layoutCount; l++) {
        for (int w = 1; w <= widest; w++) {
            for (int r : {0, (l + w) % layoutCount}) {
                const int h = 1 + w % 3;
                Sample<T> a(layouts[l], w, h, random);
                const Sample<N> b(layouts[r], w, h, random);
                const std::vector<N> right = b.Storage();
                std::vector<T> expected = a.Storage();
                for (int y = 0; y < h; y++)
                    for (int x = 0; x < w; x++)
                        expected[a.At(x, y)] = Low<T>(plain(expected[a.At(x, y)], right[b.At(x, y)]));
                ASSERT_EQ(&inPlace(a.view, b.view), &static_cast<ElemOf<T>&>(a.view));
                ASSERT_TRUE(Equal(expected, a.Storage())) << layouts[l].name << ", width " << w;
                ASSERT_TRUE(Equal(right, b.Storage()));
            }
        }
    }
}

TEST(KX_Int, ShortsAreAddedWithTheirSign)
{
    ExpectMixed<int, short>([](KX_Int& a, const KX_Short& b) -> KX_Int& { return a += b; },
                            [](std::int64_t p, std::int64_t q) { return p + q; });
    VecInt v(100000, INT_MAX, INT_MIN);
    v += VecShort(-1, 1, -1);
    EXPECT_EQ(Values<int>(v), (std::vector<int>{99999, INT_MIN, INT_MAX}));
}

TEST(KX_Int, ShortsAreSubtractedWithTheirSign)
{
    ExpectMixed<int, short>([](KX_Int& a, const KX_Short& b) -> KX_Int& { return a -= b; },
                            [](std::int64_t p, std::int64_t q) { return p - q; });
    VecInt v(100000, INT_MAX, INT_MIN);
    v -= VecShort(-1, -1, 1);
    EXPECT_EQ(Values<int>(v), (std::vector<int>{100001, INT_MIN, INT_MAX}));
}

TEST(KX_Short, BytesAreAddedWithoutSign)
{
    ExpectMixed<short, UBYTE>([](KX_Short& a, const KX_Byte& b) -> KX_Short& { return a += b; },
                              [](std::int64_t p, std::int64_t q) { return p + q; });
    VecShort v(32767, -1, 0);
    v += VecByte(255, 255, 128);
    EXPECT_EQ(Values<short>(v), (std::vector<short>{-32514, 254, 128}));
}

// ---------------------------------------------------------------------------------- overlapping operands

TYPED_TEST(ArithmeticOf, RegionAndItsNeighbourInOneImage)
{
    using T = TypeParam;
    Random random(18);
    const int offsets[][2] = {{1, 0},  {-1, 0}, {2, 0},   {-3, 0}, {0, 1},
                              {0, -1}, {1, 1},  {-1, -1}, {1, -1}, {0, 0}};
    const int steps[][2] = {{1, 1}, {2, 1}, {1, 2}, {-1, 1}, {1, -1}, {-2, -1}};
    const int margin = 3;
    for (const ArrayRule<T>& rule : ArrayRules<T>()) {
        for (const auto& step : steps) {
            for (const auto& off : offsets) {
                for (int w : {1, 2, 3, 5, 8, 15, 16, 17, 31, 32, 33, 47, 64, 70}) {
                    const int h = 3;
                    const Layout layout{"", margin, margin, step[0], step[1]};
                    Sample<T> a(layout, w, h, random);
                    // The same region elsewhere in the image.
                    const auto moved = [](RNG r, int by) {
                        r.from += by;
                        r.to += by;
                        return r;
                    };
                    const MatOf<T> b = a.image(moved(Indices(w, margin, step[0]), off[0]),
                                               moved(Indices(h, margin, step[1]), off[1]));
                    const std::ptrdiff_t apart = off[0] + std::ptrdiff_t{off[1]} * a.image.dim1;
                    std::vector<T> expected = a.Storage();
                    for (int y = 0; y < h; y++) {
                        for (int x = 0; x < w; x++) {
                            const std::size_t at = a.At(x, y);
                            expected[at] = rule.plain(expected[at], expected[at + apart]);
                        }
                    }
                    rule.inPlace(a.view, b);
                    ASSERT_TRUE(Equal(expected, a.Storage()))
                        << rule.name << ", steps " << step[0] << ' ' << step[1] << ", neighbour at " << off[0]
                        << ' ' << off[1] << ", width " << w;
                }
            }
        }
    }
}

TYPED_TEST(ArithmeticOf, RightNeighbourIsAddedBeforeItChanges)
{
    using T = TypeParam;
    for (int w = 1; w <= widest; w++) {
        VecOf<T> v(w + 1);
        for (int i = 0; i <= w; i++) v(i) = static_cast<T>(i * i % 50);
        v(RNG(0, w - 1)) += v(RNG(1, w));
        for (int i = 0; i < w; i++)
            ASSERT_EQ(v(i), static_cast<T>(i * i % 50 + (i + 1) * (i + 1) % 50)) << "width " << w;
        ASSERT_EQ(v(w), static_cast<T>(w * w % 50));
    }
}

TYPED_TEST(ArithmeticOf, LeftNeighbourIsAddedAfterItChanged)
{
    using T = TypeParam;
    for (int w = 1; w <= widest; w++) {
        VecOf<T> v(w + 1);
        v.Fill(1);
        v(RNG(1, w)) += v(RNG(0, w - 1));
        for (int i = 0; i <= w; i++) ASSERT_EQ(v(i), static_cast<T>(i + 1)) << "width " << w;
    }
}

TYPED_TEST(ArithmeticOf, AnArrayWithItself)
{
    using T = TypeParam;
    VecOf<T> v(1, 2, 7);
    const VecOf<T>& same = v;
    v += same;
    EXPECT_TRUE(Equal(Values<T>(v), {2, 4, 14}));
    v.ElementMul(same);
    EXPECT_TRUE(Equal(Values<T>(v), {4, 16, 196}));
    v /= same;
    EXPECT_TRUE(Equal(Values<T>(v), {1, 1, 1}));
    v -= same;
    EXPECT_TRUE(Equal(Values<T>(v), {0, 0, 0}));
}

TEST(MatShort, AddingTheMirrorImageInPlaceReadsWhatWasWritten)
{
    VecShort v(1, 2, 4, 8, 16);
    v += v(RNG(4, 0, -1));
    // The first half adds the untouched second half, which then adds the sums.
    EXPECT_EQ(Values<short>(v), (std::vector<short>{17, 10, 8, 18, 33}));
}

// ---------------------------------------------------------------------------------- shapes and cubes

TEST(MatShort, AddingIntoAViewChangesExactlyItsElements)
{
    MatShort image(5, 4), b(2, 2);
    Number<short>(image);
    b.Fill(100);
    MatShort a = image(RNG(1, 2), RNG(2, 3));
    a += b;
    std::vector<short> expected;
    for (int i = 0; i < 20; i++) expected.push_back(static_cast<short>(i));
    for (int i : {11, 12, 16, 17}) expected[i] = static_cast<short>(i + 100);
    EXPECT_EQ(Values<short>(image), expected);
}

TYPED_TEST(ArithmeticOf, LargerRightOperandIsPartlyIgnored)
{
    using T = TypeParam;
    MatOf<T> a(2, 2), b(4, 3);
    a.Fill(50);
    Number<T>(b);
    a += b;
    EXPECT_TRUE(Equal(Values<T>(a), {50, 51, 54, 55}));
    EXPECT_TRUE(Equal(Values<T>(a - b), {50, 50, 50, 50}));
    EXPECT_EQ((a - b).dim1, 2);
}

TYPED_TEST(ArithmeticOf, SmallerRightOperandIsReadBeyondItsExtent)
{
    using T = TypeParam;
    MatOf<T> image(4, 3), a(3, 2);
    Number<T>(image);
    a.Fill(50);
    const MatOf<T> corner = image(RNG(1, 1), RNG(1, 1)); // one element, with the image around it
    a += corner;
    EXPECT_TRUE(Equal(Values<T>(a), {55, 56, 57, 59, 60, 61}));
    EXPECT_EQ((corner + a).dim1, 1);
}

TYPED_TEST(ArithmeticOf, ThreeDimensionsAreWalkedInOrder)
{
    using T = TypeParam;
    using E = ElemOf<T>;
    Random random(19);
    for (int w = 1; w <= 20; w++) {
        E a(w, 3, 4), b(w, 3, 4);
        for (int i = 0; i < w * 12; i++)
            BlockOf<T>(a)[i] = random.Value<T>(), BlockOf<T>(b)[i] = random.Value<T>();
        const std::vector<T> p = Values<T>(a), q = Values<T>(b);
        std::vector<T> sum, quotient;
        for (std::size_t i = 0; i < p.size(); i++) {
            sum.push_back(Add(p[i], q[i]));
            quotient.push_back(Div(sum.back(), q[i]));
        }
        const E s = a + b;
        ASSERT_TRUE(IsNewAndDense<T>(s, a));
        ASSERT_TRUE(Equal(sum, Values<T>(s)));
        a += b;
        ASSERT_TRUE(Equal(sum, Values<T>(a)));
        ASSERT_TRUE(Equal(quotient, Values<T>(a / b)));
    }
}

TYPED_TEST(CubesOf, OperatorsOnBoxesWithSteps)
{
    using T = TypeParam;
    Random random(20);
    for (const ArrayRule<T>& rule : ArrayRules<T>()) {
        CubOf<T> c(7, 5, 4), d(3, 2, 2);
        for (int i = 0; i < 140; i++) BlockOf<T>(c)[i] = random.Value<T>();
        for (int i = 0; i < 12; i++) BlockOf<T>(d)[i] = random.Value<T>();
        std::vector<T> expected = Values<T>(c), made;
        const std::vector<T> right = Values<T>(d);
        for (int z = 0; z < 2; z++) {
            for (int y = 0; y < 2; y++) {
                for (int x = 0; x < 3; x++) {
                    T& e = expected[(5 - 2 * x) + 7 * (1 + 3 * y) + 35 * (3 - 2 * z)];
                    e = rule.plain(e, right[x + 3 * y + 6 * z]);
                    made.push_back(e);
                }
            }
        }
        CubOf<T> box = c(RNG(5, 1, -2), RNG(1, 4, 3), RNG(3, 0, -2));
        if (rule.made) {
            const CubOf<T> result = rule.made(box, d);
            EXPECT_TRUE(Equal(made, Values<T>(result))) << rule.name;
            EXPECT_TRUE(IsNewAndDense<T>(result, box));
        }
        rule.inPlace(box, d);
        EXPECT_TRUE(Equal(expected, Values<T>(c))) << rule.name;
    }
}

TYPED_TEST(ArithmeticOf, EmptyArraysStayEmpty)
{
    using T = TypeParam;
    MatOf<T> a, b;
    a += b;
    a -= b;
    a /= b;
    a.ElementMul(b);
    a *= T{2};
    EXPECT_EQ(a.pblock, nullptr);
    EXPECT_EQ(a.dim1, 0);
    const MatOf<T> sum = a + b;
    EXPECT_EQ(sum.dim1, 0);
    EXPECT_EQ((~a).dim1, 0);
    const MatOf<T> none(0, 5);
    EXPECT_EQ((none / none).dim2, 5);
}

TYPED_TEST(ArithmeticOf, OperatorsCanBeChained)
{
    using T = TypeParam;
    const VecOf<T> a(10, 20, 30), b(1, 2, 3);
    VecOf<T> c = (a + b - b) / b + T{5};
    EXPECT_TRUE(Equal(Values<T>(c), {15, 15, 15}));
    (c += a) -= b;
    EXPECT_TRUE(Equal(Values<T>(c), {24, 33, 42}));
    EXPECT_EQ(c.pblock->nrefs, 1);
}

} // namespace
