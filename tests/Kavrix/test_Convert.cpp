// The conversions between element types.
#include <Kavrix/Kavrix.h>

#include <tests/support/ArrayShapes.h>

#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <vector>

namespace {

const RNG all(0, 2147483647);

/// What an element becomes in another type.
template <class To, class From> To Converted(From v)
{
    if constexpr (std::is_floating_point_v<To>) {
        return static_cast<To>(v);
    } else if constexpr (std::is_floating_point_v<From>) {
        if (std::isnan(v)) return 0;
        if constexpr (std::is_unsigned_v<To>) {
            return v <= 0 ? To{0}
                          : Low<To>(v >= 4294967296.0f ? std::int64_t{0xFFFFFFFF}
                                                       : static_cast<std::int64_t>(v));
        } else {
            return Low<To>(reference::ToInt(v));
        }
    } else {
        return Low<To>(v);
    }
}

/// A conversion: its element types and its member of the base.
template <class F, class T, void (*member)(const KX_Base&, KX_Base&)> struct Pair {
    using From = F;
    using To = T;
    static void Member(const KX_Base& src, KX_Base& dst) { member(src, dst); }
};

using B = UBYTE;
struct ByteToShort : Pair<B, short, KX_Base::Convert_Bs> {};
struct ShortToByte : Pair<short, B, KX_Base::Convert_sB> {};
struct ByteToInt : Pair<B, int, KX_Base::Convert_Bi> {};
struct IntToByte : Pair<int, B, KX_Base::Convert_iB> {};
struct ByteToFloat : Pair<B, float, KX_Base::Convert_Bf> {};
struct FloatToByte : Pair<float, B, KX_Base::Convert_fB> {};
struct ShortToInt : Pair<short, int, KX_Base::Convert_si> {};
struct IntToShort : Pair<int, short, KX_Base::Convert_is> {};
struct ShortToFloat : Pair<short, float, KX_Base::Convert_sf> {};
struct FloatToShort : Pair<float, short, KX_Base::Convert_fs> {};
struct IntToFloat : Pair<int, float, KX_Base::Convert_if> {};
struct FloatToInt : Pair<float, int, KX_Base::Convert_fi> {};
using Pairs = ::testing::Types<ByteToShort, ShortToByte, ByteToInt, IntToByte, ByteToFloat, FloatToByte,
                               ShortToInt, IntToShort, ShortToFloat, FloatToShort, IntToFloat, FloatToInt>;

template <class P> class Conversion : public ::testing::Test {
};
TYPED_TEST_SUITE(Conversion, Pairs);

TYPED_TEST(Conversion, BetweenAnyLayouts)
{
    using From = typename TypeParam::From;
    using To = typename TypeParam::To;
    Random random(41);
    for (int l = 0; l < layoutCount; l++) {
        for (int w = 1; w <= 70; w++) {
            for (int r : {0, (l + w) % layoutCount}) {
                const int h = 1 + w % 3;
                const Sample<From> src(layouts[r], w, h, random);
                Sample<To> dst(layouts[l], w, h, random);
                const std::vector<From> source = src.Storage();
                std::vector<To> expected = dst.Storage();
                for (int y = 0; y < h; y++)
                    for (int x = 0; x < w; x++) expected[dst.At(x, y)] = Converted<To>(source[src.At(x, y)]);
                if (w % 2) Convert(src.view, dst.view);
                else TypeParam::Member(src.view, dst.view);
                ASSERT_TRUE(Equal(expected, dst.Storage()))
                    << layouts[r].name << " to " << layouts[l].name << ", width " << w;
                ASSERT_TRUE(Equal(source, src.Storage()));
                ASSERT_EQ(dst.view.pblock, dst.image.pblock);
            }
        }
    }
}

TYPED_TEST(Conversion, SizesADestinationWithoutStorage)
{
    using From = typename TypeParam::From;
    using To = typename TypeParam::To;
    Random random(42);
    for (const Layout& layout : layouts) {
        const Sample<From> src(layout, 7, 5, random);
        MatOf<To> m;
        Convert(src.view, m);
        ASSERT_NE(m.pblock, nullptr);
        EXPECT_EQ(m.pblock->len, 35);
        EXPECT_EQ(m.pblock->itemsize, sizeof(To));
        EXPECT_EQ(m.pblock->nrefs, 1);
        EXPECT_EQ(m.dim1, 7);
        EXPECT_EQ(m.dim2, 5);
        EXPECT_EQ(m.dim3, 1);
        EXPECT_EQ(m.step1, 1);
        EXPECT_EQ(m.step2, 7);
        for (int y = 0; y < 5; y++)
            for (int x = 0; x < 7; x++)
                EXPECT_TRUE(Same(Converted<To>(src.view(x, y)), m(x, y))) << +src.view(x, y);
        VecOf<To> v;
        Convert(VecOf<From>(src.view(2, all)), v); // a column
        EXPECT_EQ(v.dim1, 5);
        EXPECT_EQ(v.pblock->len, 5);
        for (int y = 0; y < 5; y++) EXPECT_TRUE(Same(m(2, y), v(y)));
        ElemOf<To> e;
        TypeParam::Member(src.view, e);
        EXPECT_TRUE(Equal(Values<To>(m), Values<To>(e)));
    }
}

TYPED_TEST(Conversion, RunsThroughAllThreeDimensions)
{
    using From = typename TypeParam::From;
    using To = typename TypeParam::To;
    Random random(43);
    ElemOf<From> src(5, 4, 3);
    for (int i = 0; i < 60; i++) BlockOf<From>(src)[i] = random.Value<From>();
    ElemOf<To> dst;
    TypeParam::Member(src, dst);
    EXPECT_EQ(dst.dim3, 3);
    EXPECT_EQ(dst.step3, 20);
    for (int i = 0; i < 60; i++) EXPECT_TRUE(Same(Converted<To>(BlockOf<From>(src)[i]), BlockOf<To>(dst)[i]));
    if constexpr (!std::is_void_v<CubOf<From>> && !std::is_void_v<CubOf<To>>) {
        const CubOf<From> cube = src;
        CubOf<To> result;
        Convert(cube(RNG(4, 0, -2), RNG(1, 3, 2), RNG(2, 0, -1)), result);
        EXPECT_EQ(result.pblock->len, 18);
        for (int z = 0; z < 3; z++)
            for (int y = 0; y < 2; y++)
                for (int x = 0; x < 3; x++)
                    EXPECT_TRUE(Same(Converted<To>(cube(4 - 2 * x, 1 + 2 * y, 2 - z)), result(x, y, z)));
    }
}

TYPED_TEST(Conversion, IntoExistingStorageRunsOverTheSourcesShape)
{
    using From = typename TypeParam::From;
    using To = typename TypeParam::To;
    MatOf<From> src(3, 2);
    Number<From>(src);
    MatOf<To> larger(4, 4);
    larger.Fill(99);
    Convert(src, larger); // a corner of it; neither shape nor storage change
    EXPECT_TRUE(Equal(Values<To>(larger), {0, 1, 2, 99, 3, 4, 5, 99, 99, 99, 99, 99, 99, 99, 99, 99}));
    EXPECT_EQ(larger.dim1, 4);

    MatOf<To> image(5, 3);
    image.Fill(99);
    MatOf<To> one = image(RNG(1, 1), RNG(1, 1)); // written beyond its extent, here into the image around it
    Convert(src, one);
    EXPECT_TRUE(Equal(Values<To>(image), {99, 99, 99, 99, 99, 99, 0, 1, 2, 99, 99, 3, 4, 5, 99}));
    EXPECT_EQ(one.dim1, 1);
}

TYPED_TEST(Conversion, OfAnEmptyArrayIsEmpty)
{
    using From = typename TypeParam::From;
    using To = typename TypeParam::To;
    const MatOf<From> src;
    MatOf<To> empty, full(2, 2);
    full.Fill(7);
    Convert(src, empty);
    EXPECT_EQ(empty.pblock, nullptr);
    EXPECT_EQ(empty.dim1, 0);
    Convert(src, full);
    EXPECT_TRUE(Equal(Values<To>(full), {7, 7, 7, 7}));
}

template <class To, class From> std::vector<To> ConvertedValues(const std::vector<From>& values)
{
    VecOf<From> src(static_cast<int>(values.size()));
    src.ImportData(values.data());
    VecOf<To> dst;
    Convert(src, dst);
    return Values<To>(dst);
}

TEST(Convert, WideningKeepsTheValue)
{
    EXPECT_EQ(ConvertedValues<short>(std::vector<B>{0, 127, 128, 200, 255}),
              (std::vector<short>{0, 127, 128, 200, 255}));
    EXPECT_EQ(ConvertedValues<int>(std::vector<B>{0, 128, 255}), (std::vector<int>{0, 128, 255}));
    EXPECT_EQ(ConvertedValues<float>(std::vector<B>{0, 128, 255}), (std::vector<float>{0, 128, 255}));
    EXPECT_EQ(ConvertedValues<int>(std::vector<short>{-32768, -1, 0, 32767}),
              (std::vector<int>{-32768, -1, 0, 32767}));
    EXPECT_EQ(ConvertedValues<float>(std::vector<short>{-32768, -1, 32767}),
              (std::vector<float>{-32768, -1, 32767}));
}

TEST(Convert, NarrowingKeepsTheLowBits)
{
    EXPECT_EQ(ConvertedValues<B>(std::vector<short>{256, -1, 255, -32768, 511}),
              (std::vector<B>{0, 255, 255, 0, 255}));
    EXPECT_EQ(ConvertedValues<short>(std::vector<int>{40000, 70000, -32769, 65535, INT_MIN}),
              (std::vector<short>{-25536, 4464, 32767, -1, 0}));
    EXPECT_EQ(ConvertedValues<B>(std::vector<int>{256, -1, INT_MAX, INT_MIN}),
              (std::vector<B>{0, 255, 255, 0}));
}

TEST(Convert, FloatsAreCutTowardsZeroAndHeldToTheRange)
{
    const std::vector<float> values = {2.9f,           -2.9f,     0.99f,         -0.99f, 255.5f,
                                       256.0f,         300.7f,    40000.5f,      1e9f,   2147483648.0f,
                                       -2147483648.0f, 3e9f,      4294967040.0f, 1e20f,  -1e20f,
                                       INFINITY,       -INFINITY, NAN,           -0.0f};
    EXPECT_EQ(ConvertedValues<int>(values),
              (std::vector<int>{2, -2, 0, 0, 255, 256, 300, 40000, 1000000000, INT_MAX, INT_MIN, INT_MAX,
                                INT_MAX, INT_MAX, INT_MIN, INT_MAX, INT_MIN, 0, 0}));
    EXPECT_EQ(ConvertedValues<short>(values), (std::vector<short>{2, -2, 0, 0, 255, 256, 300, -25536, -13824,
                                                                  -1, 0, -1, -1, -1, 0, -1, 0, 0, 0}));
    // Bytes through the unsigned range: 3 000 000 000 is 0xB2D05E00, 4294967040 is 0xFFFFFF00.
    EXPECT_EQ(ConvertedValues<B>(values),
              (std::vector<B>{2, 0, 0, 0, 255, 0, 44, 64, 0, 0, 0, 0, 0, 255, 0, 255, 0, 0, 0}));
}

TEST(Convert, IntsPastTheFloatsDigitsAreRounded)
{
    EXPECT_EQ(ConvertedValues<float>(std::vector<int>{16777217, 16777219, INT_MAX, INT_MIN, -16777217}),
              (std::vector<float>{16777216, 16777220, 2147483648.0f, -2147483648.0f, -16777216}));
}

TEST(Convert, AMatIntOf70000IntoAnEmptyMatShort)
{
    MatInt src(3, 2);
    src.Fill(70000);
    MatShort dst;
    Convert(src, dst);
    EXPECT_EQ(dst.dim1, 3);
    EXPECT_EQ(dst.dim2, 2);
    EXPECT_EQ(Values<short>(dst), std::vector<short>(6, 4464));
}

TEST(Convert, AMatByteOf200IntoAMatShort)
{
    MatByte src(2, 2);
    src.Fill(200);
    MatShort dst(2, 2);
    Convert(src, dst);
    EXPECT_EQ(Values<short>(dst), std::vector<short>(4, 200));
}

TEST(Convert, IntoAFrameOfACubeTakesAViewWithAName)
{
    CubShort seq(2, 2, 2);
    seq.Fill(-1);
    MatByte picture(2, 2);
    picture.Fill(9);
    MatShort frame = seq(all, all, 1);
    Convert(picture, frame);
    EXPECT_EQ(Values<short>(seq), (std::vector<short>{-1, -1, -1, -1, 9, 9, 9, 9}));
}

TEST(Convert, SharedDestinationsAreWrittenThrough)
{
    VecInt src(1, 2, 3);
    VecShort dst(3), other = dst;
    Convert(src, dst);
    EXPECT_EQ(Values<short>(other), (std::vector<short>{1, 2, 3}));
}

} // namespace
