// Reductions, constant arrays, diagonals, products, square roots, and the ordering of short vectors.
#include <Kavrix/Kavrix.h>

#include <tests/support/ArrayShapes.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <numeric>
#include <type_traits>
#include <utility>
#include <vector>

#include <pthread.h>

namespace {

const RNG all(0, 2147483647);

template <class T> class VectorReduction : public ::testing::Test {
};
using VectorElements = ::testing::Types<short, int, float>;
TYPED_TEST_SUITE(VectorReduction, VectorElements);

template <class T> class MatrixReduction : public ::testing::Test {
};
using MatrixElements = ::testing::Types<short, int>;
TYPED_TEST_SUITE(MatrixReduction, MatrixElements);

template <class T> T Add(T a, T b)
{
    if constexpr (std::is_floating_point_v<T>) return a + b;
    else return Low<T>(std::int64_t{a} + b);
}

template <class T> T Mul(T a, T b)
{
    if constexpr (std::is_floating_point_v<T>) return a * b;
    else return Low<T>(std::int64_t{a} * b);
}

/// Values of which some are the same, and some the ends of the range; floats without "not a number".
template <class T> T Repeating(Random& random)
{
    using L = std::numeric_limits<T>;
    const T values[] = {L::lowest(), static_cast<T>(L::lowest() + 1), -1,      0, 0,
                        1,           static_cast<T>(L::max() - 1),    L::max()};
    if (random.Below(3) == 0) return values[random.Below(8)];
    return static_cast<T>(random.Below(20) - 10);
}

template <class T> void FillRepeating(const KX_Base& a, Random& random)
{
    for (int i = 0; i < a.pblock->len; i++) BlockOf<T>(a)[i] = Repeating<T>(random);
}

template <class T> int PlainArgmax(const std::vector<T>& v)
{
    int best = 0;
    for (int i = 1; i < static_cast<int>(v.size()); i++)
        if (v[i] > v[best]) best = i;
    return best;
}

template <class T> int PlainArgmin(const std::vector<T>& v)
{
    int best = 0;
    for (int i = 1; i < static_cast<int>(v.size()); i++)
        if (v[i] < v[best]) best = i;
    return best;
}

template <class T> T PlainSum(const std::vector<T>& v)
{
    T sum = 0;
    for (T e : v) sum = Add(sum, e);
    return sum;
}

template <class T> T PlainDot(const std::vector<T>& v, const std::vector<T>& w)
{
    T sum = 0;
    for (std::size_t i = 0; i < v.size(); i++) sum = Add(sum, Mul(v[i], w[i]));
    return sum;
}

// ---------------------------------------------------------------------------------- vectors

TYPED_TEST(VectorReduction, OfEveryLayoutAndLength)
{
    using T = TypeParam;
    Random random(51);
    for (int l = 0; l < layoutCount; l++) {
        for (int n = 1; n <= 70; n++) {
            Sample<T> a(layouts[l], n, 3, random), b(layouts[(l + n) % layoutCount], n, 3, random);
            FillRepeating<T>(a.image, random);
            FillRepeating<T>(b.image, random);
            const VecOf<T> v = a.view(all, 1), w = b.view(all, 2);
            const std::vector<T> p = Values<T>(v), q = Values<T>(w);
            ASSERT_EQ(p.size(), std::size_t(n));
            ASSERT_EQ(Argmax(v), PlainArgmax(p)) << layouts[l].name << ", length " << n;
            ASSERT_EQ(Argmin(v), PlainArgmin(p)) << layouts[l].name << ", length " << n;
            ASSERT_EQ(Max(v), *std::max_element(p.begin(), p.end())) << layouts[l].name << ", length " << n;
            ASSERT_EQ(Min(v), *std::min_element(p.begin(), p.end())) << layouts[l].name << ", length " << n;
            ASSERT_TRUE(Same(Sum(v), PlainSum(p))) << layouts[l].name << ", length " << n;
            ASSERT_TRUE(Same(Dot(v, w), PlainDot(p, q))) << layouts[l].name << ", length " << n;
            ASSERT_EQ(Values<int>(Size(v)), (std::vector<int>{n}));
            ASSERT_TRUE(Equal(p, Values<T>(v))); // read only
        }
    }
    const VecOf<T> column = MatOf<T>(All(T{3}, 9))(0, all);
    EXPECT_EQ(Sum(column), T{3});
}

TYPED_TEST(VectorReduction, TypesOfTheResults)
{
    using T = TypeParam;
    using V = VecOf<T>;
    EXPECT_TRUE((std::is_same_v<decltype(Max(V(1, 2))), T>));
    EXPECT_TRUE((std::is_same_v<decltype(Min(V(1, 2))), T>));
    EXPECT_TRUE((std::is_same_v<decltype(Sum(V(1, 2))), T>));
    EXPECT_TRUE((std::is_same_v<decltype(Dot(V(1, 2), V(1, 2))), T>));
    EXPECT_TRUE((std::is_same_v<decltype(Argmax(V(1, 2))), int>));
    EXPECT_TRUE((std::is_same_v<decltype(Argmin(V(1, 2))), int>));
    EXPECT_TRUE((std::is_same_v<decltype(Size(V(1, 2))), VecInt>));
    EXPECT_TRUE((std::is_same_v<decltype(All(T{1}, 2)), V>));
}

TYPED_TEST(VectorReduction, TiesKeepTheFirst)
{
    using V = VecOf<TypeParam>;
    EXPECT_EQ(Argmax(V(3, 7, 7, 1)), 1);
    EXPECT_EQ(Argmin(V(2, 0, 0)), 1);
    EXPECT_EQ(Argmax(V(5, 5, 5)), 0);
    EXPECT_EQ(Argmin(V(5, 5, 5)), 0);
    EXPECT_EQ(Argmax(V(1, 2, 3)), 2);
    EXPECT_EQ(Argmin(V(3, 2, 1)), 2);
}

TYPED_TEST(VectorReduction, OfOneElement)
{
    using T = TypeParam;
    const VecOf<T> v = All(std::numeric_limits<T>::lowest(), 1);
    EXPECT_EQ(Max(v), std::numeric_limits<T>::lowest());
    EXPECT_EQ(Min(v), std::numeric_limits<T>::lowest());
    EXPECT_EQ(Argmax(v), 0);
    EXPECT_EQ(Argmin(v), 0);
    EXPECT_EQ(Sum(v), std::numeric_limits<T>::lowest());
}

TYPED_TEST(VectorReduction, SumAndDotOfNothingAreZero)
{
    const VecOf<TypeParam> none, zero(0);
    EXPECT_EQ(Sum(none), TypeParam{0});
    EXPECT_EQ(Sum(zero), TypeParam{0});
    EXPECT_EQ(Dot(none, none), TypeParam{0});
    EXPECT_EQ(Dot(zero, VecOf<TypeParam>(1, 2)), TypeParam{0});
    EXPECT_EQ(Values<int>(Size(none)), (std::vector<int>{0}));
}

TYPED_TEST(VectorReduction, DotRunsOverTheLengthOfTheFirst)
{
    using V = VecOf<TypeParam>;
    EXPECT_EQ(Dot(V(1, 2, 3), V(4, 5, 6)), TypeParam{32});
    EXPECT_EQ(Dot(V(1, 2), V(4, 5, 6)), TypeParam{14});
    const V longer(4, 5, 6);
    EXPECT_EQ(Dot(V(1, 2, 3), longer(RNG(0, 1))), TypeParam{32}); // read beyond the view
}

TYPED_TEST(VectorReduction, AllIsANewVectorOfOneValue)
{
    using T = TypeParam;
    for (int n : {1, 2, 33, 70}) {
        const VecOf<T> v = All(static_cast<T>(-7), n);
        EXPECT_EQ(v.dim1, n);
        EXPECT_EQ(v.pblock->len, n);
        EXPECT_EQ(v.pblock->nrefs, 1);
        EXPECT_TRUE(Equal(std::vector<T>(n, -7), Values<T>(v)));
    }
    EXPECT_EQ(All(T{1}, 0).dim1, 0);
}

TEST(VecShort, SumWraps)
{
    EXPECT_EQ(Sum(VecShort(30000, 30000)), -5536);
    EXPECT_EQ(Sum(VecShort(-32768, -32768)), 0);
    EXPECT_EQ(Sum(All(short(32767), 65536)), 0); // 65536 of anything
}

TEST(VecInt, SumWraps)
{
    EXPECT_EQ(Sum(VecInt(INT_MAX, 1)), INT_MIN);
    EXPECT_EQ(Sum(VecInt(INT_MIN, INT_MIN, 5)), 5);
}

TEST(Dot, WrapsToTheElementWidth)
{
    EXPECT_EQ(Dot(VecShort(256, 1), VecShort(256, 5)), 5);
    EXPECT_EQ(Dot(VecShort(-32768, -32768), VecShort(-1, 0)), -32768);
    EXPECT_EQ(Dot(VecInt(65536, 3), VecInt(65536, -1)), -3);
    EXPECT_EQ(Dot(VecInt(INT_MIN, 0), VecInt(-1, 0)), INT_MIN);
}

TEST(Dot, OfBytesIsModulo256)
{
    EXPECT_TRUE((std::is_same_v<decltype(Dot(VecByte(1, 2), VecByte(1, 2))), UBYTE>));
    EXPECT_EQ(Dot(VecByte(255, 255), VecByte(255, 255)), 2);
    EXPECT_EQ(Dot(VecByte(16, 1), VecByte(16, 7)), 7);
    Random random(52);
    for (int l = 0; l < layoutCount; l++) {
        for (int n = 1; n <= 70; n++) {
            const Sample<UBYTE> a(layouts[l], n, 1, random), b(layouts[(l + n) % layoutCount], n, 1, random);
            const VecByte v = a.view, w = b.view;
            ASSERT_EQ(Dot(v, w), PlainDot(Values<UBYTE>(v), Values<UBYTE>(w)));
        }
    }
}

TEST(VecFloat, SumsInSinglePrecisionInIndexOrder)
{
    EXPECT_EQ(Sum(VecFloat(1e8f, 1, -1e8f)), 0.0f); // the 1 is lost
    EXPECT_EQ(Sum(VecFloat(1e8f, -1e8f, 1)), 1.0f);
    EXPECT_EQ(Dot(VecFloat(1e4f, 1, -1e4f), VecFloat(1e4f, 1, 1e4f)), 0.0f);
    EXPECT_EQ(Sum(All(16777216.0f, 1)(RNG(0, 0))), 16777216.0f);
    VecFloat ones = All(1.0f, 20);
    ones(0) = 16777216.0f; // from here on adding 1 changes nothing
    EXPECT_EQ(Sum(ones), 16777216.0f);
}

TEST(VecFloat, ProductAndSumRoundByThemselves)
{
    // Fused, 1 + 2^-12 squared less its rounded self would leave 2^-24.
    const float a = 1 + 1 / 4096.0f;
    const float square = a * a;
    EXPECT_EQ(Dot(VecFloat(square, a), VecFloat(-1.0f, a)), 0.0f);
}

// ---------------------------------------------------------------------------------- matrices

TYPED_TEST(MatrixReduction, GivesOneEntryForEachRow)
{
    using T = TypeParam;
    Random random(53);
    for (int l = 0; l < layoutCount; l++) {
        for (int w = 1; w <= 70; w++) {
            const int h = 1 + w % 5;
            const Sample<T> a(layouts[l], w, h, random);
            FillRepeating<T>(a.image, random);
            std::vector<T> max, min, sum;
            std::vector<int> argmax, argmin;
            for (int y = 0; y < h; y++) {
                const std::vector<T> row = Values<T>(a.view(all, y));
                max.push_back(*std::max_element(row.begin(), row.end()));
                min.push_back(*std::min_element(row.begin(), row.end()));
                sum.push_back(PlainSum(row));
                argmax.push_back(PlainArgmax(row));
                argmin.push_back(PlainArgmin(row));
            }
            ASSERT_TRUE(Equal(max, Values<T>(Max(a.view)))) << layouts[l].name << ", width " << w;
            ASSERT_TRUE(Equal(min, Values<T>(Min(a.view)))) << layouts[l].name << ", width " << w;
            ASSERT_TRUE(Equal(sum, Values<T>(Sum(a.view)))) << layouts[l].name << ", width " << w;
            ASSERT_TRUE(Equal(argmax, Values<int>(Argmax(a.view)))) << layouts[l].name << ", width " << w;
            ASSERT_TRUE(Equal(argmin, Values<int>(Argmin(a.view)))) << layouts[l].name << ", width " << w;
            ASSERT_EQ(Values<int>(Size(a.view)), (std::vector<int>{w, h}));
        }
    }
}

TYPED_TEST(MatrixReduction, TypesOfTheResults)
{
    using T = TypeParam;
    using M = MatOf<T>;
    using V = VecOf<T>;
    EXPECT_TRUE((std::is_same_v<decltype(Max(M())), V>));
    EXPECT_TRUE((std::is_same_v<decltype(Min(M())), V>));
    EXPECT_TRUE((std::is_same_v<decltype(Sum(M())), V>));
    EXPECT_TRUE((std::is_same_v<decltype(Argmax(M())), VecInt>));
    EXPECT_TRUE((std::is_same_v<decltype(Argmin(M())), VecInt>));
    EXPECT_TRUE((std::is_same_v<decltype(Size(M())), VecInt>));
    EXPECT_TRUE((std::is_same_v<decltype(Diag(M())), V>));
    EXPECT_TRUE((std::is_same_v<decltype(Diag(V())), M>));
    EXPECT_TRUE((std::is_same_v<decltype(M() * V()), V>));
    EXPECT_TRUE((std::is_same_v<decltype(All(T{1}, 2, 3)), M>));
}

TEST(MatInt, MaxOf4By3IsTheThreeRowMaxima)
{
    MatInt m(4, 3);
    const int values[] = {1, 9, 3, 4, -5, -6, -7, -8, 0, 0, 0, INT_MAX};
    m.ImportData(values);
    const VecInt max = Max(m);
    EXPECT_EQ(Values<int>(max), (std::vector<int>{9, -5, INT_MAX}));
    EXPECT_EQ(Values<int>(Argmax(m)), (std::vector<int>{1, 0, 3}));
    EXPECT_EQ(Values<int>(Min(m)), (std::vector<int>{1, -8, 0}));
    EXPECT_EQ(Values<int>(Argmin(m)), (std::vector<int>{0, 3, 0}));
}

TYPED_TEST(MatrixReduction, OfATransposedMatrixBelongsToItsNewRows)
{
    using T = TypeParam;
    MatOf<T> m(3, 2);
    Number<T>(m); // 0 1 2 / 3 4 5
    m.Trans();
    EXPECT_TRUE(Equal(Values<T>(Max(m)), {3, 4, 5}));
    EXPECT_TRUE(Equal(Values<T>(Sum(m)), {3, 5, 7}));
    EXPECT_EQ(Values<int>(Size(m)), (std::vector<int>{2, 3}));
}

TYPED_TEST(MatrixReduction, AllIsANewMatrixOfOneValue)
{
    using T = TypeParam;
    const MatOf<T> m = All(T{7}, 5, 3);
    EXPECT_EQ(m.dim1, 5);
    EXPECT_EQ(m.dim2, 3);
    EXPECT_EQ(m.dim3, 1);
    EXPECT_EQ(m.step2, 5);
    EXPECT_EQ(m.pblock->nrefs, 1);
    EXPECT_TRUE(Equal(std::vector<T>(15, 7), Values<T>(m)));
}

TYPED_TEST(MatrixReduction, DiagonalOfAnyShape)
{
    using T = TypeParam;
    Random random(54);
    for (const Layout& layout : layouts) {
        for (int w : {1, 2, 5, 9}) {
            for (int h : {1, 2, 5, 9}) {
                const Sample<T> a(layout, w, h, random);
                const VecOf<T> d = Diag(a.view);
                ASSERT_EQ(d.dim1, std::min(w, h));
                ASSERT_EQ(d.pblock->nrefs, 1); // values, not a view
                for (int i = 0; i < d.dim1; i++) ASSERT_EQ(d(i), a.view(i, i));
            }
        }
    }
}

TYPED_TEST(MatrixReduction, DiagonalMatrixIsZeroElsewhere)
{
    using T = TypeParam;
    const VecOf<T> v(5, -6, 7, 8);
    const MatOf<T> m = Diag(v);
    EXPECT_EQ(m.dim1, 4);
    EXPECT_EQ(m.dim2, 4);
    for (int y = 0; y < 4; y++)
        for (int x = 0; x < 4; x++) EXPECT_EQ(m(x, y), x == y ? v(x) : T{0});
    const MatOf<T> back = Diag(v(RNG(3, 0, -2)));
    EXPECT_TRUE(Equal(Values<T>(back), {8, 0, 0, -6}));
}

TYPED_TEST(MatrixReduction, ProductWithAVectorSumsOverTheRows)
{
    using T = TypeParam;
    Random random(55);
    for (int l = 0; l < layoutCount; l++) {
        for (int w = 1; w <= 70; w += 3) {
            for (int h : {1, 2, 7}) {
                const Sample<T> a(layouts[l], w, h, random), b(layouts[(l + w) % layoutCount], h, 1, random);
                const VecOf<T> v = b.view;
                const VecOf<T> product = a.view * v;
                ASSERT_EQ(product.dim1, w);
                ASSERT_EQ(product.pblock->nrefs, 1);
                for (int x = 0; x < w; x++) {
                    T sum = 0;
                    for (int y = 0; y < h; y++) sum = Add(sum, Mul(a.view(x, y), v(y)));
                    ASSERT_EQ(product(x), sum) << layouts[l].name << ", " << w << " x " << h;
                }
            }
        }
    }
}

TEST(MatInt, ProductWithAVector)
{
    MatInt m(3, 2);
    const int values[] = {1, 2, 3, 10, 20, 30};
    m.ImportData(values);
    EXPECT_EQ(Values<int>(m * VecInt(1, 2)), (std::vector<int>{21, 42, 63}));
    MatShort s(1, 2);
    s.Fill(200);
    EXPECT_EQ((s * VecShort(200, 200))(0), 14464); // 80000 - 65536
}

TEST(Abs, OfEveryShort)
{
    MatShort m(256, 256);
    for (int i = 0; i < 65536; i++) BlockOf<short>(m)[i] = reference::Low16(i);
    const MatShort a = Abs(m);
    EXPECT_EQ(a.dim1, 256);
    EXPECT_EQ(a.dim2, 256);
    EXPECT_NE(a.pblock, m.pblock);
    for (int i = 0; i < 65536; i++) {
        const int v = reference::Low16(i);
        ASSERT_EQ(BlockOf<short>(a)[i], v == -32768 ? -32768 : std::abs(v)) << v;
    }
}

TEST(Abs, OfViews)
{
    Random random(56);
    for (const Layout& layout : layouts) {
        for (int w = 1; w <= 70; w++) {
            const Sample<short> s(layout, w, 2, random);
            const std::vector<short> before = s.Storage();
            std::vector<short> expected;
            for (short v : Values<short>(s.view)) expected.push_back(reference::Low16(std::abs(int{v})));
            const MatShort a = Abs(s.view);
            ASSERT_TRUE(Equal(expected, Values<short>(a)));
            ASSERT_EQ(a.step2, w);
            ASSERT_TRUE(Equal(before, s.Storage()));
        }
    }
}

// ---------------------------------------------------------------------------------- square roots

TEST(VecShort, SqrtIsRoundedToNearest)
{
    VecShort v(32768);
    for (int i = 0; i < 32768; i++) v(i) = static_cast<short>(i);
    VecShort& back = v.sqrt();
    EXPECT_EQ(&back, &v);
    for (int i = 0; i < 32768; i++) {
        const int k = v(i);
        ASSERT_TRUE(k >= 0 && (k == 0 || k * k - k < i) && i <= k * k + k) << i << " gives " << k;
    }
}

TEST(VecInt, SqrtIsRoundedToNearest)
{
    std::vector<int> values = {0, 1, 2, 3, 4, INT_MAX, INT_MAX - 1, 1 << 30};
    for (int k : {2, 3, 100, 4095, 30000, 46339, 46340})
        for (int n : {k * k - 1, k * k, k * k + k, k * k + k + 1})
            values.push_back(n); // on both sides of k + 1/2
    VecInt v(static_cast<int>(values.size()));
    v.ImportData(values.data());
    EXPECT_EQ(&v.sqrt(), &v);
    for (int i = 0; i < v.dim1; i++) {
        const std::int64_t k = v(i), n = values[i];
        EXPECT_TRUE(k >= 0 && (k == 0 || k * k - k < n) && n <= k * k + k) << n << " gives " << k;
    }
    EXPECT_EQ(v(5), 46341);
}

TEST(VecFloat, SqrtIsThatOfFloats)
{
    const float values[] = {0, -0.0f, 1, 2, 3, 0.1f, 1e-40f, 1e38f, INFINITY, -1, -INFINITY, NAN};
    VecFloat v(12);
    v.ImportData(values);
    EXPECT_EQ(&v.sqrt(), &v);
    for (int i = 0; i < 12; i++) EXPECT_TRUE(Same(v(i), std::sqrt(values[i]))) << values[i];
}

TEST(Sqrt, OfNegativeIntegersIsZero)
{
    VecShort s(-1, -32768, 4);
    EXPECT_EQ(Values<short>(s.sqrt()), (std::vector<short>{0, 0, 2}));
    VecInt i(-1, INT_MIN, 4);
    EXPECT_EQ(Values<int>(i.sqrt()), (std::vector<int>{0, 0, 2}));
}

TEST(Sqrt, WritesTheViewOnly)
{
    VecInt v(9, 16, 25, 36, 49, 64);
    v(RNG(4, 0, -2)).sqrt();
    EXPECT_EQ(Values<int>(v), (std::vector<int>{3, 16, 5, 36, 7, 64}));
    MatFloat m(2, 2);
    m.Fill(4);
    m(1, all).sqrt();
    EXPECT_EQ(Values<float>(m), (std::vector<float>{4, 2, 4, 2}));
}

// ---------------------------------------------------------------------------------- order of short vectors

/// Selection of rank k, step by step.
short PlainSelect(std::vector<short>& a, int k)
{
    int lo = 0, hi = static_cast<int>(a.size()) - 1;
    while (lo < hi) {
        const short pivot = a[(lo + hi) / 2];
        int i = lo, j = hi;
        do {
            while (a[i] < pivot) i += 1;
            while (pivot < a[j]) j -= 1;
            if (i <= j) {
                std::swap(a[i], a[j]);
                i += 1;
                j -= 1;
            }
        } while (i <= j);
        if (j < k) lo = i;
        if (k < i) hi = j;
    }
    return a[k];
}

std::vector<short> SomeShorts(int n, int kinds, Random& random)
{
    std::vector<short> values;
    for (int i = 0; i < n; i++)
        values.push_back(kinds ? static_cast<short>(random.Below(kinds) - kinds / 2) : random.Value<short>());
    return values;
}

TEST(VecShort, MedianOfAnEvenNumberIsTheUpperOfTheMiddle)
{
    EXPECT_EQ(VecShort(5, 1, 4, 2).median(), 4);
    EXPECT_EQ(VecShort(2, 1).median(), 2);
    EXPECT_EQ(VecShort(3, 1, 2).median(), 2);
    EXPECT_EQ(All(short(-9), 1).median(), -9);
}

TEST(VecShort, Percentile10Of25ValuesHasRank2)
{
    VecShort v(25);
    for (int i = 0; i < 25; i++) v(i) = static_cast<short>((i * 7) % 25 * 100);
    EXPECT_EQ(v.percentile(10), 200);
}

TEST(VecShort, PercentileIsTheElementOfItsRank)
{
    Random random(57);
    for (int kinds : {0, 2, 10}) {
        for (int n = 1; n <= 70; n++) {
            const std::vector<short> values = SomeShorts(n, kinds, random);
            std::vector<short> ordered = values;
            std::sort(ordered.begin(), ordered.end());
            for (int p : {0, 1, 10, 33, 50, 67, 90, 99}) {
                VecShort v(n);
                v.ImportData(values.data());
                ASSERT_EQ(v.percentile(p), ordered[p * n / 100]) << n << " values, " << p << " %";
                std::vector<short> left = Values<short>(v);
                std::sort(left.begin(), left.end());
                ASSERT_EQ(left, ordered); // reordered, none lost
            }
        }
    }
}

TEST(VecShort, PercentileReordersStepByStep)
{
    Random random(58);
    for (int kinds : {0, 3, 30}) {
        for (int n = 1; n <= 70; n++) {
            std::vector<short> values = SomeShorts(n, kinds, random);
            VecShort v(n);
            v.ImportData(values.data());
            const int p = random.Below(100);
            ASSERT_EQ(v.percentile(p), PlainSelect(values, p * n / 100));
            ASSERT_EQ(Values<short>(v), values) << n << " values, " << p << " %";
        }
    }
}

TEST(VecShort, PercentileOfAViewTouchesItsElementsOnly)
{
    Random random(59);
    for (const Layout& layout : layouts) {
        for (int n : {1, 2, 7, 30}) {
            Sample<short> s(layout, n, 2, random);
            std::vector<short> expected = s.Storage(), values;
            for (int x = 0; x < n; x++) values.push_back(expected[s.At(x, 1)]);
            VecShort v = s.view(all, 1);
            ASSERT_EQ(v.percentile(40), PlainSelect(values, 40 * n / 100));
            for (int x = 0; x < n; x++) expected[s.At(x, 1)] = values[x];
            ASSERT_TRUE(Equal(expected, s.Storage())) << layout.name;
        }
    }
}

TEST(VecShort, PercentileOfNothingIsZero)
{
    for (const int p : {0, 50, 100}) EXPECT_EQ(VecShort().percentile(p), 0);
}

TEST(VecShort, PercentileOf100OrMoreIsTheLargest)
{
    EXPECT_EQ(VecShort(5, 1, 4, 2).percentile(100), 5);
    EXPECT_EQ(VecShort(5, 1, 4, 2).percentile(1000), 5);
    EXPECT_EQ(VecShort(5, 1, 4, 2).percentile(-1), 1);
    EXPECT_EQ(VecShort(5, 1, 4, 2).percentile(-100), 1);
}

TEST(VecShort, RankOfAVeryLongVectorHas16Bits)
{
    VecShort v(70000); // the middle, 35000, is -30536 in 16 bits and held to 0
    for (int i = 0; i < 70000; i++) v(i) = static_cast<short>(i / 3);
    EXPECT_EQ(v.median(), 0);
    EXPECT_EQ(v.percentile(40), 28000 / 3);
}

TEST(VecShort, SortOrdersAscending)
{
    VecShort v(3, -1, 2);
    v.sort();
    EXPECT_EQ(Values<short>(v), (std::vector<short>{-1, 2, 3}));
    Random random(60);
    for (int kinds : {0, 2, 10}) {
        for (int n = 1; n <= 70; n++) {
            std::vector<short> values = SomeShorts(n, kinds, random);
            VecShort w(n);
            w.ImportData(values.data());
            w.sort();
            std::sort(values.begin(), values.end());
            ASSERT_EQ(Values<short>(w), values) << n;
        }
    }
}

TEST(VecShort, SortOfLongAndOrderedVectors)
{
    for (int kind = 0; kind < 4; kind++) {
        std::vector<short> values(60000);
        for (int i = 0; i < 60000; i++) {
            const int v[] = {i - 30000, 30000 - i, 7,
                             i < 30000 ? i : 60000 - i}; // up, down, all the same, a roof
            values[i] = static_cast<short>(v[kind]);
        }
        VecShort w(60000);
        w.ImportData(values.data());
        w.sort();
        std::sort(values.begin(), values.end());
        ASSERT_EQ(Values<short>(w), values) << kind;
    }
}

// Values for which every pivot is the largest of what is left, or the smallest: no parts are more uneven.
std::vector<short> WorstOrder(int n, bool pivotIsLargest)
{
    std::vector<int> place(n);
    std::iota(place.begin(), place.end(), 0);
    std::vector<short> values(n);
    int lo = 0, hi = n - 1;
    while (lo < hi) {
        const int pivot = lo + (hi - lo) / 2;
        const int end = pivotIsLargest ? hi-- : lo++; // where the exchange brings the pivot
        values[place[pivot]] = static_cast<short>(end);
        std::swap(place[pivot], place[end]);
    }
    values[place[lo]] = static_cast<short>(lo);
    return values;
}

TEST(VecShort, SortOfTheWorstOrderNeedsLittleStack)
{
    for (const bool pivotIsLargest : {true, false}) {
        std::vector<short> values = WorstOrder(8000, pivotIsLargest);
        VecShort v(8000);
        v.ImportData(values.data());

        pthread_attr_t attributes;
        pthread_attr_init(&attributes);
        ASSERT_EQ(pthread_attr_setstacksize(&attributes, 128 << 10), 0);
        pthread_t thread;
        const auto sort = [](void* vector) -> void* {
            static_cast<VecShort*>(vector)->sort();
            return nullptr;
        };
        ASSERT_EQ(pthread_create(&thread, &attributes, sort, &v), 0);
        pthread_join(thread, nullptr);
        pthread_attr_destroy(&attributes);

        std::sort(values.begin(), values.end());
        EXPECT_EQ(Values<short>(v), values);
    }
}

TEST(VecShort, SortOfAPartLeavesTheRest)
{
    VecShort v(9, 5, 3, 4, 1, 0);
    v.sort(1, 4);
    EXPECT_EQ(Values<short>(v), (std::vector<short>{9, 1, 3, 4, 5, 0}));
    v.sort(3, 3);
    v.sort(4, 2);
    EXPECT_EQ(Values<short>(v), (std::vector<short>{9, 1, 3, 4, 5, 0}));
}

TEST(VecShort, SortOfAViewTouchesItsElementsOnly)
{
    Random random(61);
    for (const Layout& layout : layouts) {
        for (int n : {1, 2, 7, 40}) {
            Sample<short> s(layout, n, 2, random);
            std::vector<short> expected = s.Storage(), values;
            for (int x = 0; x < n; x++) values.push_back(expected[s.At(x, 0)]);
            std::sort(values.begin(), values.end());
            for (int x = 0; x < n; x++) expected[s.At(x, 0)] = values[x];
            VecShort v = s.view(all, 0);
            v.sort();
            ASSERT_TRUE(Equal(expected, s.Storage())) << layout.name;
        }
    }
}

TEST(VecShort, SortOfNothing)
{
    VecShort none, zero(0);
    none.sort();
    zero.sort();
    EXPECT_EQ(none.dim1, 0);
    EXPECT_EQ(zero.dim1, 0);
}

} // namespace
