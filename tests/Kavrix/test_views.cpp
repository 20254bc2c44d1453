// Construction, views, element access, assignment and filling of the typed arrays.
#include <Kavrix/Kavrix.h>

#include <tests/support/ArrayShapes.h>
#include <tests/support/ChildProcess.h>

#include <gtest/gtest.h>

#include <limits>
#include <memory>
#include <utility>
#include <vector>

namespace {

const RNG all(0, 2147483647);

/// A view: how far from the start of its block, its sizes, the strides of the dimensions that it has.
template <class T> void ExpectView(const KX_Base& view, const KX_Base& source, std::ptrdiff_t offset,
                                   std::vector<int> sizes, std::vector<int> steps)
{
    ASSERT_NE(source.pblock, nullptr);
    EXPECT_EQ(view.pblock, source.pblock);
    EXPECT_EQ(static_cast<T*>(view.p_data) - BlockOf<T>(source), offset);
    sizes.resize(3, 1);
    EXPECT_EQ((std::vector<int>{view.dim1, view.dim2, view.dim3}), sizes);
    const int all3[] = {view.step1, view.step2, view.step3};
    EXPECT_EQ(std::vector<int>(all3, all3 + steps.size()), steps);
}

template <class T> void ExpectFresh(const KX_Base& a, int d1, int d2, int d3)
{
    ASSERT_NE(a.pblock, nullptr);
    EXPECT_EQ(a.pblock->nrefs, 1);
    EXPECT_EQ(a.pblock->len, d1 * d2 * d3);
    EXPECT_EQ(a.pblock->itemsize, sizeof(T));
    ExpectView<T>(a, a, 0, {d1, d2, d3}, {1, d1, d1 * d2});
}

void ExpectEmpty(const KX_Base& a)
{
    EXPECT_EQ(a.pblock, nullptr);
    EXPECT_EQ(a.p_data, nullptr);
    EXPECT_EQ(a.dim1, 0);
    EXPECT_EQ(a.dim2, 1);
    EXPECT_EQ(a.dim3, 1);
    EXPECT_EQ(a.step1, 1);
    EXPECT_EQ(a.poolObjType, 0);
    EXPECT_STREQ(a.myName, "");
}

template <class T> class ArraysOf : public ::testing::Test {
};
TYPED_TEST_SUITE(ArraysOf, AllElements);

template <class T> class CubesOf : public ::testing::Test {
};
TYPED_TEST_SUITE(CubesOf, CubeElements);

// ---------------------------------------------------------------------------------- construction

TYPED_TEST(ArraysOf, WithoutArgumentsAreEmpty)
{
    const int before = Datablock::nblocks;
    ExpectEmpty(ElemOf<TypeParam>());
    ExpectEmpty(VecOf<TypeParam>());
    ExpectEmpty(MatOf<TypeParam>());
    EXPECT_EQ(Datablock::nblocks, before);
}

TYPED_TEST(CubesOf, WithoutArgumentsAreEmpty) { ExpectEmpty(CubOf<TypeParam>()); }

TYPED_TEST(ArraysOf, WithSizesAreDense)
{
    ExpectFresh<TypeParam>(ElemOf<TypeParam>(5, 4, 3), 5, 4, 3);
    ExpectFresh<TypeParam>(VecOf<TypeParam>(7), 7, 1, 1);
    ExpectFresh<TypeParam>(MatOf<TypeParam>(7, 5), 7, 5, 1);
}

TYPED_TEST(CubesOf, WithSizesAreDense) { ExpectFresh<TypeParam>(CubOf<TypeParam>(7, 5, 3), 7, 5, 3); }

TYPED_TEST(ArraysOf, OfRangesHaveTheirSizesOnly)
{
    ExpectFresh<TypeParam>(VecOf<TypeParam>(RNG(3, 9)), 7, 1, 1);
    ExpectFresh<TypeParam>(VecOf<TypeParam>(RNG(9, 0, -2)), 5, 1, 1);
    ExpectFresh<TypeParam>(MatOf<TypeParam>(AOI(2, 5, 7, 8)), 4, 2, 1);
    ExpectFresh<TypeParam>(MatOf<TypeParam>(AOI(RNG(0, 9, 3), RNG(5, 0, -1))), 4, 6, 1);
}

TYPED_TEST(CubesOf, OfRangesHaveTheirSizesOnly)
{
    ExpectFresh<TypeParam>(CubOf<TypeParam>(VOI(2, 5, 7, 8, 9, 9)), 4, 2, 1);
    ExpectFresh<TypeParam>(CubOf<TypeParam>(VOI(RNG(0, 9, 3), RNG(5, 0, -1), RNG(0, 6))), 4, 6, 7);
}

TYPED_TEST(ArraysOf, CopiesShare)
{
    using T = TypeParam;
    const ElemOf<T> e(4, 3, 2);
    ExpectView<T>(ElemOf<T>(e), e, 0, {4, 3, 2}, {1, 4, 12});
    const MatOf<T> m(6, 5);
    const MatOf<T> part = m(RNG(1, 5, 2), RNG(4, 1, -1));
    const MatOf<T> copy = part;
    ExpectView<T>(copy, m, 1 + 4 * 6, {3, 4}, {2, -6});
    EXPECT_EQ(m.pblock->nrefs, 3);
    const VecOf<T> v(9);
    const VecOf<T> w(v);
    ExpectView<T>(w, v, 0, {9}, {1});
    EXPECT_EQ(e.pblock->nrefs, 1); // the copy of the first line is gone
}

TYPED_TEST(ArraysOf, ElementResultsBecomeShapedArraysBySharing)
{
    using T = TypeParam;
    const ElemOf<T> e(4, 3, 2);
    const VecOf<T> v = e; // the first row
    ExpectView<T>(v, e, 0, {4}, {1});
    const MatOf<T> m = e; // the first plane
    ExpectView<T>(m, e, 0, {4, 3}, {1, 4});
    EXPECT_EQ(e.pblock->nrefs, 3);

    const MatOf<T> image(6, 5);
    const MatOf<T> part = image(RNG(4, 0, -2), RNG(1, 3, 2));
    const VecOf<T> row = part;
    ExpectView<T>(row, image, 4 + 6, {3}, {-2});
    const MatOf<T> column = image(2, RNG(1, 4));
    ExpectView<T>(column, image, 2 + 6, {4, 1}, {6});
}

TYPED_TEST(CubesOf, AreMadeOfElementsAndMatricesBySharing)
{
    using T = TypeParam;
    const ElemOf<T> e(4, 3, 2);
    const CubOf<T> c = e;
    ExpectView<T>(c, e, 0, {4, 3, 2}, {1, 4, 12});
    const MatOf<T> image(6, 5);
    const CubOf<T> frame = image(RNG(4, 0, -2), RNG(1, 3, 2));
    ExpectView<T>(frame, image, 4 + 6, {3, 2, 1}, {-2, 12});
    const CubOf<T> copy = frame;
    ExpectView<T>(copy, image, 4 + 6, {3, 2, 1}, {-2, 12});
    const MatOf<T> firstFrame = c;
    ExpectView<T>(firstFrame, e, 0, {4, 3}, {1, 4});
}

TEST(BytesOfAnyArray, AreReadAtBytePositions)
{
    VecShort shorts(0x0102, -1, 0x0304);
    const VecByte bytes = shorts;
    EXPECT_EQ(bytes.pblock, shorts.pblock);
    EXPECT_EQ(bytes.dim1, 3);
    EXPECT_EQ(bytes.step1, 1);
    const UBYTE* const raw = shorts.p_B_data;
    for (int i = 0; i < 3; i++) EXPECT_EQ(bytes(i), raw[i]);
    const MatByte image = MatInt(4, 3);
    EXPECT_EQ(image.pblock->itemsize, 4);
    EXPECT_EQ(image.dim2, 3);
    const CubByte cube = CubFloat(4, 3, 2);
    EXPECT_EQ(cube.dim3, 2);
    EXPECT_EQ(cube.step3, 12);
}

TYPED_TEST(ArraysOf, ValuesInOrderMakeAVector)
{
    using T = TypeParam;
    using V = VecOf<T>;
    const V two(1, 2), three(1, 2, 3), four(1, 2, 3, 4), five(1, 2, 3, 4, 5), six(1, 2, 3, 4, 5, 6),
        seven(1, 2, 3, 4, 5, 6, 7), eight(1, 2, 3, 4, 5, 6, 7, 8), nine(1, 2, 3, 4, 5, 6, 7, 8, 9),
        ten(1, 2, 3, 4, 5, 6, 7, 8, 9, 10);
    const V* const made[] = {&two, &three, &four, &five, &six, &seven, &eight, &nine, &ten};
    for (int n = 2; n <= 10; n++) {
        const V& v = *made[n - 2];
        ExpectFresh<T>(v, n, 1, 1);
        for (int i = 0; i < n; i++) EXPECT_EQ(v(i), static_cast<T>(i + 1)) << n;
    }
}

TEST(VecInt, IsMadeOf11And12And16Values)
{
    const VecInt eleven(1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11), twelve(1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12),
        sixteen(1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16);
    for (const VecInt* v : {&eleven, &twelve, &sixteen})
        for (int i = 0; i < v->dim1; i++) EXPECT_EQ((*v)(i), i + 1);
    ExpectFresh<int>(eleven, 11, 1, 1);
    ExpectFresh<int>(twelve, 12, 1, 1);
    ExpectFresh<int>(sixteen, 16, 1, 1);
}

TEST(VecInt, OfFiveValuesHasFiveElements)
{
    const VecInt v(1, 2, 3, 4, 5);
    EXPECT_EQ(v.dim1, 5);
    EXPECT_EQ(Values<int>(v), (std::vector<int>{1, 2, 3, 4, 5}));
}

TEST(Values, OfAnotherTypeAreCutAsConvertCutsThem)
{
    const float inf = std::numeric_limits<float>::infinity();
    const float values[] = {1.9f, -1.9f, 300.5f, -300.5f, 70000.0f, 3e9f, -3e9f, inf, -inf, 0 * inf};
    const auto made = [&]<class V>(V*) {
        return V(values[0], values[1], values[2], values[3], values[4], values[5], values[6], values[7],
                 values[8], values[9]);
    };
    const VecFloat floats = made(static_cast<VecFloat*>(nullptr));
    VecByte bytes;
    VecShort shorts;
    VecInt ints;
    Convert(floats, bytes);
    Convert(floats, shorts);
    Convert(floats, ints);
    EXPECT_EQ(Values<UBYTE>(made(static_cast<VecByte*>(nullptr))), Values<UBYTE>(bytes));
    EXPECT_EQ(Values<short>(made(static_cast<VecShort*>(nullptr))), Values<short>(shorts));
    EXPECT_EQ(Values<int>(made(static_cast<VecInt*>(nullptr))), Values<int>(ints));
    EXPECT_EQ(Values<int>(VecInt(1.0, 2.0, -2.9, 1e10L, -1e300)),
              (std::vector<int>{1, 2, -2, 2147483647, -2147483647 - 1}));
    EXPECT_EQ(Values<UBYTE>(VecByte(-1.0, 255.9, 4294967295.0)), (std::vector<UBYTE>{0, 255, 255}));
    EXPECT_EQ(Values<UBYTE>(VecByte(PIX_FMT_Y8, PIX_FMT_Y16)), (std::vector<UBYTE>{1, 2}));
    EXPECT_EQ(Values<float>(VecFloat(PIX_FMT_Y32, true, 'a')), (std::vector<float>{8, 1, 'a'}));
    EXPECT_EQ(Values<short>(VecShort(1LL << 40 | 5, 65535u)), (std::vector<short>{5, -1}));
}

TEST(Ranges, AreSizesInADeclaration)
{
    const VecShort v = RNG(2, 6);
    const MatByte m = AOI(1, 4, 0, 2);
    const CubFloat c = VOI(0, 1, 0, 2, 0, 3);
    EXPECT_EQ(v.dim1, 5);
    EXPECT_EQ(v.pblock->len, 5);
    EXPECT_EQ(m.dim1, 4);
    EXPECT_EQ(m.dim2, 3);
    EXPECT_EQ(c.dim3, 4);
    EXPECT_EQ(c.pblock->len, 24);
}

TEST(Values, KeepTheLowBitsOfTheirElement)
{
    EXPECT_EQ(Values<UBYTE>(VecByte(255, 256, -1)), (std::vector<UBYTE>{255, 0, 255}));
    EXPECT_EQ(Values<short>(VecShort(short(-1), short(32767))), (std::vector<short>{-1, 32767}));
    EXPECT_EQ(Values<float>(VecFloat(1, 0.5f, 0.25, short(3))), (std::vector<float>{1, 0.5f, 0.25f, 3}));
}

// ---------------------------------------------------------------------------------- access

TEST(MatShort, LastElementOf4By3IsAtIndex11)
{
    MatShort m(4, 3);
    Number<short>(m);
    EXPECT_EQ(m(3, 2), 11);
    EXPECT_EQ(&m(3, 2), BlockOf<short>(m) + 11);
}

TYPED_TEST(ArraysOf, ElementsAreReachedByTheStrides)
{
    using T = TypeParam;
    MatOf<T> m(6, 5);
    Number<T>(m);
    EXPECT_EQ(&m(0, 0), BlockOf<T>(m));
    EXPECT_EQ(&m(5, 4), BlockOf<T>(m) + 29);
    MatOf<T> part = m(RNG(4, 0, -2), RNG(1, 4, 3));
    for (int y = 0; y < 2; y++)
        for (int x = 0; x < 3; x++) EXPECT_EQ(&part(x, y), BlockOf<T>(m) + (4 - 2 * x) + 6 * (1 + 3 * y));
    VecOf<T> v = m(RNG(5, 0, -1), 3);
    for (int i = 0; i < 6; i++) {
        EXPECT_EQ(&v(i), BlockOf<T>(m) + 18 + 5 - i);
        EXPECT_EQ(&v[i], &v(i));
    }
}

TYPED_TEST(CubesOf, ElementsAreReachedByTheStrides)
{
    using T = TypeParam;
    CubOf<T> c(4, 3, 5);
    EXPECT_EQ(&c(3, 2, 4), BlockOf<T>(c) + 59);
    CubOf<T> part = c(RNG(3, 1, -2), RNG(2, 0, -1), RNG(0, 4, 2));
    for (int z = 0; z < 3; z++)
        for (int y = 0; y < 3; y++)
            for (int x = 0; x < 2; x++)
                EXPECT_EQ(&part(x, y, z), BlockOf<T>(c) + (3 - 2 * x) + 4 * (2 - y) + 12 * 2 * z);
}

TYPED_TEST(ArraysOf, ElementsOfConstantsCanBeWritten)
{
    const MatOf<TypeParam> m(2, 2);
    m(1, 1) = 7;
    const VecOf<TypeParam> v = m(all, 1);
    EXPECT_EQ(v(1), 7);
    v[1] = 8;
    EXPECT_EQ(m(1, 1), 8);
}

// ---------------------------------------------------------------------------------- views

TEST(MatShort, PartsOfRowsAndColumns)
{
    const MatShort m(4, 3);
    ExpectView<short>(m(RNG(1, 2), 1), m, 5, {2}, {1});
    ExpectView<short>(m(0, RNG(0, 2147483647)), m, 0, {3}, {4});
}

TYPED_TEST(ArraysOf, VectorViewsAreCutFromVectors)
{
    using T = TypeParam;
    const VecOf<T> v(10);
    ExpectView<T>(v(RNG(2, 5)), v, 2, {4}, {1});
    ExpectView<T>(v(all), v, 0, {10}, {1});
    ExpectView<T>(v(RNG(4, 2147483647)), v, 4, {6}, {1});
    ExpectView<T>(v(RNG(0, 5, 2)), v, 0, {3}, {2});
    ExpectView<T>(v(RNG(9, 0, -1)), v, 9, {10}, {-1});
    ExpectView<T>(v(RNG(9, 0, -4)), v, 9, {3}, {-4});
    ExpectView<T>(VecOf<T>(&v, RNG(3, 3)), v, 3, {1}, {1});
    // of a view: steps multiply, positions count in the view
    const VecOf<T> back = v(RNG(8, 0, -2));
    ExpectView<T>(back(RNG(1, 3)), v, 6, {3}, {-2});
    ExpectView<T>(back(RNG(4, 0, -2)), v, 0, {3}, {4});
    ExpectView<T>(back(all), v, 8, {5}, {-2});
}

TYPED_TEST(ArraysOf, VectorViewsAreCutFromMatrices)
{
    using T = TypeParam;
    using V = VecOf<T>;
    const MatOf<T> m(6, 5);
    ExpectView<T>(m(RNG(1, 3), 2), m, 13, {3}, {1});
    ExpectView<T>(V(&m, RNG(1, 3), 2), m, 13, {3}, {1});
    ExpectView<T>(m(all, 4), m, 24, {6}, {1});
    ExpectView<T>(m(RNG(5, 1, -2), 0), m, 5, {3}, {-2});
    ExpectView<T>(m(2, RNG(1, 3)), m, 8, {3}, {6});
    ExpectView<T>(V(&m, 2, RNG(1, 3)), m, 8, {3}, {6});
    ExpectView<T>(m(5, all), m, 5, {5}, {6});
    ExpectView<T>(m(5, RNG(2, 2147483647)), m, 17, {3}, {6});
    ExpectView<T>(m(0, RNG(4, 0, -1)), m, 24, {5}, {-6});
    ExpectView<T>(m(0, RNG(4, 0, -3)), m, 24, {2}, {-18});
}

TYPED_TEST(ArraysOf, MatrixViewsAreRectangles)
{
    using T = TypeParam;
    const MatOf<T> m(6, 5);
    ExpectView<T>(m(RNG(1, 3), RNG(2, 4)), m, 13, {3, 3}, {1, 6});
    ExpectView<T>(MatOf<T>(&m, RNG(1, 3), RNG(2, 4)), m, 13, {3, 3}, {1, 6});
    ExpectView<T>(m(AOI(1, 3, 2, 4)), m, 13, {3, 3}, {1, 6});
    ExpectView<T>(m(all, all), m, 0, {6, 5}, {1, 6});
    ExpectView<T>(m(RNG(2, 2147483647), RNG(4, 2147483647)), m, 26, {4, 1}, {1, 6});
    ExpectView<T>(m(RNG(0, 5, 2), RNG(0, 4, 3)), m, 0, {3, 2}, {2, 18});
    ExpectView<T>(m(RNG(5, 0, -1), RNG(4, 0, -2)), m, 29, {6, 3}, {-1, -12});
    ExpectView<T>(m(AOI(RNG(5, 0, -3), RNG(1, 1))), m, 11, {2, 1}, {-3, 6});
    const MatOf<T> part = m(RNG(1, 5, 2), RNG(3, 0, -1)); // 3 x 4
    ExpectView<T>(part(RNG(2, 1, -1), RNG(1, 3, 2)), m, 5 + 12, {2, 2}, {-2, -12});
    ExpectView<T>(part(1, all), m, 3 + 18, {4}, {-6});
}

TYPED_TEST(CubesOf, VectorViewsRunAlongEachDimension)
{
    using T = TypeParam;
    using V = VecOf<T>;
    const CubOf<T> c(6, 5, 4); // strides 1, 6, 30
    ExpectView<T>(c(RNG(1, 3), 2, 3), c, 1 + 12 + 90, {3}, {1});
    ExpectView<T>(V(&c, RNG(1, 3), 2, 3), c, 1 + 12 + 90, {3}, {1});
    ExpectView<T>(c(1, RNG(2, 4), 3), c, 1 + 12 + 90, {3}, {6});
    ExpectView<T>(V(&c, 1, RNG(2, 4), 3), c, 1 + 12 + 90, {3}, {6});
    ExpectView<T>(c(1, 2, RNG(0, 3, 2)), c, 1 + 12, {2}, {60});
    ExpectView<T>(V(&c, 1, 2, RNG(0, 3, 2)), c, 1 + 12, {2}, {60});
    ExpectView<T>(c(all, 0, 1), c, 30, {6}, {1});
    ExpectView<T>(c(5, all, 1), c, 35, {5}, {6});
    ExpectView<T>(c(5, 4, all), c, 29, {4}, {30});
    ExpectView<T>(c(5, 4, RNG(3, 0, -1)), c, 119, {4}, {-30});
    ExpectView<T>(c(RNG(5, 0, -2), 0, 0), c, 5, {3}, {-2});
    ExpectView<T>(c(0, RNG(4, 0, -3), 0), c, 24, {2}, {-18});
}

TYPED_TEST(CubesOf, MatrixViewsArePlanesInAllThreeDirections)
{
    using T = TypeParam;
    using M = MatOf<T>;
    const CubOf<T> c(6, 5, 4);
    ExpectView<T>(c(all, all, 2), c, 60, {6, 5}, {1, 6});
    ExpectView<T>(c(RNG(1, 3), RNG(4, 2, -1), 2), c, 1 + 24 + 60, {3, 3}, {1, -6});
    ExpectView<T>(M(&c, RNG(1, 3), RNG(4, 2, -1), 2), c, 1 + 24 + 60, {3, 3}, {1, -6});
    ExpectView<T>(c(all, 3, all), c, 18, {6, 4}, {1, 30});
    ExpectView<T>(c(RNG(0, 5, 5), 3, RNG(3, 1, -2)), c, 18 + 90, {2, 2}, {5, -60});
    ExpectView<T>(M(&c, RNG(0, 5, 5), 3, RNG(3, 1, -2)), c, 18 + 90, {2, 2}, {5, -60});
    ExpectView<T>(c(4, all, all), c, 4, {5, 4}, {6, 30});
    ExpectView<T>(c(4, RNG(1, 4, 2), RNG(2, 3)), c, 4 + 6 + 60, {2, 2}, {12, 30});
    ExpectView<T>(M(&c, 4, RNG(1, 4, 2), RNG(2, 3)), c, 4 + 6 + 60, {2, 2}, {12, 30});
}

TYPED_TEST(CubesOf, CubeViewsAreBoxes)
{
    using T = TypeParam;
    const CubOf<T> c(6, 5, 4);
    ExpectView<T>(c(RNG(1, 2), RNG(3, 4), RNG(1, 3)), c, 1 + 18 + 30, {2, 2, 3}, {1, 6, 30});
    ExpectView<T>(CubOf<T>(&c, RNG(1, 2), RNG(3, 4), RNG(1, 3)), c, 1 + 18 + 30, {2, 2, 3}, {1, 6, 30});
    ExpectView<T>(c(VOI(1, 2, 3, 4, 1, 3)), c, 1 + 18 + 30, {2, 2, 3}, {1, 6, 30});
    ExpectView<T>(c(all, all, all), c, 0, {6, 5, 4}, {1, 6, 30});
    ExpectView<T>(c(RNG(5, 0, -1), RNG(4, 0, -2), RNG(0, 3, 3)), c, 29, {6, 3, 2}, {-1, -12, 90});
    const CubOf<T> part = c(RNG(5, 0, -2), all, RNG(3, 0, -1)); // 3 x 5 x 4
    ExpectView<T>(part(all, all, 0), c, 95, {3, 5}, {-2, 6});
    ExpectView<T>(part(1, 2, all), c, 3 + 12 + 90, {4}, {-30});
    ExpectView<T>(part(RNG(2, 0, -1), RNG(1, 1), RNG(1, 2)), c, 1 + 6 + 60, {3, 1, 2}, {2, 6, -30});
}

TYPED_TEST(ArraysOf, ViewsBeyondTheSourceAreNotTested)
{
    using T = TypeParam;
    const MatOf<T> m(4, 4);
    const MatOf<T> part = m(RNG(0, 1), RNG(0, 1));
    ExpectView<T>(part(RNG(2, 3), RNG(3, 3)), m, 14, {2, 1}, {1, 4}); // within the image all the same
}

TYPED_TEST(ArraysOf, ViewsOfTemporariesKeepTheBlock)
{
    using T = TypeParam;
    const int before = Datablock::nblocks;
    {
        const VecOf<T> row = MatOf<T>(5, 4)(all, 3);
        EXPECT_EQ(row.pblock->nrefs, 1);
        EXPECT_EQ(Datablock::nblocks, before + 1);
        row[4] = 9; // of live storage
        EXPECT_EQ(BlockOf<T>(row)[19], 9);
    }
    EXPECT_EQ(Datablock::nblocks, before);
}

TYPED_TEST(ArraysOf, ViewsOfEmptyArraysAreWithoutStorage)
{
    using T = TypeParam;
    const MatOf<T> m;
    EXPECT_EQ(m(all, 0).pblock, nullptr);
    EXPECT_EQ(m(all, all).p_data, nullptr);
    EXPECT_EQ(m(all, all).dim1, 0);
    EXPECT_EQ(VecOf<T>()(all).dim1, 0);
}

TEST(CubByte, FrameOfASequenceIsShared)
{
    CubByte seq(4, 3, 5);
    seq.Fill(1);
    MatByte frame = seq(RNG(0, 2147483647), RNG(0, 2147483647), 3);
    frame.Fill(9);
    for (int z = 0; z < 5; z++)
        for (int y = 0; y < 3; y++)
            for (int x = 0; x < 4; x++) EXPECT_EQ(seq(x, y, z), z == 3 ? 9 : 1);
    frame(2, 1) = 77;
    EXPECT_EQ(seq(2, 1, 3), 77);
    EXPECT_EQ(seq.pblock->nrefs, 2);
}

TEST(MatByte, PassedByValueIsAView)
{
    const auto darken = [](MatByte m) { m.Fill(0); };
    MatByte image(3, 3);
    image.Fill(200);
    darken(image(RNG(1, 1), RNG(0, 2)));
    EXPECT_EQ(Values<UBYTE>(image), (std::vector<UBYTE>{200, 0, 200, 200, 0, 200, 200, 0, 200}));
    EXPECT_EQ(image.pblock->nrefs, 1);
}

TEST(Trans, SwapsSizesAndStepsWithoutMovingElements)
{
    MatShort m(3, 2);
    Number<short>(m);
    MatShort& back = m.Trans();
    EXPECT_EQ(&back, &m);
    ExpectView<short>(m, m, 0, {2, 3}, {3, 1});
    EXPECT_EQ(Values<short>(m), (std::vector<short>{0, 3, 1, 4, 2, 5}));
    EXPECT_EQ(BlockOf<short>(m)[1], 1);
    m.Trans();
    ExpectView<short>(m, m, 0, {3, 2}, {1, 3});

    MatByte b(5, 4);
    MatByte part = b(RNG(4, 0, -2), RNG(1, 3, 2));
    part.Trans();
    ExpectView<UBYTE>(part, b, 9, {2, 3}, {10, -2});
    ExpectView<UBYTE>(b, b, 0, {5, 4}, {1, 5}); // the image itself stays as it is
    MatInt i(1, 7);
    i.Trans();
    ExpectView<int>(i, i, 0, {7, 1}, {1, 1});
}

// ---------------------------------------------------------------------------------- fill and import

TYPED_TEST(ArraysOf, FillTouchesTheViewOnly)
{
    using T = TypeParam;
    Random random(1);
    for (const Layout& layout : layouts) {
        for (int w = 1; w <= 70; w++) {
            const int h = 1 + w % 3;
            Sample<T> s(layout, w, h, random);
            std::vector<T> expected = s.Storage();
            const T value = random.Value<T>();
            for (int y = 0; y < h; y++)
                for (int x = 0; x < w; x++) expected[s.At(x, y)] = value;
            s.view.Fill(value);
            ASSERT_TRUE(Equal(expected, s.Storage())) << layout.name << ", width " << w;
        }
    }
}

TYPED_TEST(ArraysOf, ImportDataFillsRowByRow)
{
    using T = TypeParam;
    Random random(2);
    for (const Layout& layout : layouts) {
        for (int w = 1; w <= 70; w++) {
            const int h = 1 + w % 3;
            Sample<T> s(layout, w, h, random);
            std::vector<T> expected = s.Storage();
            std::vector<T> data;
            for (int y = 0; y < h; y++) {
                for (int x = 0; x < w; x++) {
                    data.push_back(random.Value<T>());
                    expected[s.At(x, y)] = data.back();
                }
            }
            s.view.ImportData(data.data());
            ASSERT_TRUE(Equal(expected, s.Storage())) << layout.name << ", width " << w;
        }
    }
}

TYPED_TEST(CubesOf, FillAndImportRunThroughTheFrames)
{
    using T = TypeParam;
    CubOf<T> c(4, 3, 3);
    c.Fill(1);
    CubOf<T> part = c(RNG(3, 1, -2), RNG(0, 1), RNG(2, 0, -2));
    const T data[] = {10, 11, 12, 13, 14, 15, 16, 17};
    part.ImportData(data);
    std::vector<T> expected(36, 1);
    for (int i = 0; i < 8; i++)
        expected[(3 - 2 * (i % 2)) + 4 * (i / 2 % 2) + 12 * (2 - 2 * (i / 4))] = data[i];
    EXPECT_TRUE(Equal(expected, Values<T>(c)));
    part.Fill(2);
    for (T& e : expected)
        if (e != 1) e = 2;
    EXPECT_TRUE(Equal(expected, Values<T>(c)));
}

TYPED_TEST(ArraysOf, FillOfAnEmptyArrayDoesNothing)
{
    MatOf<TypeParam> m;
    m.Fill(3);
    m.ImportData(nullptr);
    VecOf<TypeParam> v(0);
    v.Fill(3);
    EXPECT_EQ(v.dim1, 0);
    EXPECT_EQ(m.pblock, nullptr);
}

TEST(MatShort, FillingASubRectangleChangesOnlyThatRectangle)
{
    MatShort m(5, 4);
    m.Fill(0);
    m(RNG(1, 3), RNG(1, 2)).Fill(7);
    EXPECT_EQ(Values<short>(m),
              (std::vector<short>{0, 0, 0, 0, 0, 0, 7, 7, 7, 0, 0, 7, 7, 7, 0, 0, 0, 0, 0, 0}));
}

// ---------------------------------------------------------------------------------- assignment

TYPED_TEST(ArraysOf, AssignmentCopiesValuesBetweenAnyLayouts)
{
    using T = TypeParam;
    Random random(3);
    for (const Layout& to : layouts) {
        for (int w = 1; w <= 70; w++) {
            const Layout& from = layouts[random.Below(layoutCount)];
            const int h = 1 + w % 3;
            Sample<T> a(to, w, h, random), b(from, w, h, random);
            const std::vector<T> source = b.Storage();
            std::vector<T> expected = a.Storage();
            for (int y = 0; y < h; y++)
                for (int x = 0; x < w; x++) expected[a.At(x, y)] = source[b.At(x, y)];
            MatOf<T>& assigned = a.view = b.view;
            ASSERT_EQ(&assigned, &a.view);
            ASSERT_TRUE(Equal(expected, a.Storage())) << to.name << " = " << from.name << ", width " << w;
            ASSERT_TRUE(Equal(source, b.Storage()));
            ASSERT_EQ(a.view.pblock, a.image.pblock); // never rebound
        }
    }
}

TYPED_TEST(ArraysOf, AssignmentToAnEmptyArrayMakesItDense)
{
    using T = TypeParam;
    MatOf<T> image(6, 5);
    Number<T>(image);
    MatOf<T> m;
    m = image(RNG(5, 1, -2), RNG(0, 4, 2));
    ExpectFresh<T>(m, 3, 3, 1);
    EXPECT_TRUE(Equal(Values<T>(m), {5, 3, 1, 17, 15, 13, 29, 27, 25}));
    VecOf<T> v;
    v = image(2, all);
    ExpectFresh<T>(v, 5, 1, 1);
    EXPECT_TRUE(Equal(Values<T>(v), {2, 8, 14, 20, 26}));
    ElemOf<T> e;
    e = m;
    ExpectFresh<T>(e, 3, 3, 1);
}

TYPED_TEST(CubesOf, AssignmentCopiesValues)
{
    using T = TypeParam;
    CubOf<T> source(4, 3, 2), empty, target(8, 3, 2);
    Number<T>(source);
    empty = source;
    ExpectFresh<T>(empty, 4, 3, 2);
    EXPECT_TRUE(Equal(Values<T>(source), Values<T>(empty)));
    target.Fill(99);
    target(RNG(7, 0, -2), all, RNG(1, 0, -1)) = source;
    for (int z = 0; z < 2; z++)
        for (int y = 0; y < 3; y++)
            for (int x = 0; x < 8; x++)
                EXPECT_EQ(target(x, y, z), x % 2 ? source((7 - x) / 2, y, 1 - z) : T{99});
}

TYPED_TEST(ArraysOf, AssignmentOfAnEmptyArrayToAnEmptyOneStaysEmpty)
{
    const int before = Datablock::nblocks;
    MatOf<TypeParam> a, b;
    a = b;
    EXPECT_EQ(a.pblock, nullptr);
    EXPECT_EQ(a.dim1, 0);
    EXPECT_EQ(Datablock::nblocks, before);
}

TYPED_TEST(ArraysOf, AssignmentRunsOverTheDestinationsShape)
{
    using T = TypeParam;
    MatOf<T> image(4, 4), small(2, 3);
    Number<T>(image);
    small = image; // a larger source is partly ignored
    ExpectFresh<T>(small, 2, 3, 1);
    EXPECT_TRUE(Equal(Values<T>(small), {0, 1, 4, 5, 8, 9}));
    const MatOf<T> corner = image(RNG(0, 0), RNG(0, 0));
    small = corner; // a smaller one is read beyond its extent, here into the image around it
    EXPECT_TRUE(Equal(Values<T>(small), {0, 1, 4, 5, 8, 9}));
}

TYPED_TEST(ArraysOf, SelfAssignmentChangesNothing)
{
    using T = TypeParam;
    MatOf<T> m(3, 2);
    Number<T>(m);
    MatOf<T>& same = m;
    m = same;
    EXPECT_TRUE(Equal(Values<T>(m), {0, 1, 2, 3, 4, 5}));
    EXPECT_EQ(m.pblock->nrefs, 1);
}

TYPED_TEST(ArraysOf, OverlappingAssignmentRunsInAscendingOrder)
{
    using T = TypeParam;
    for (int step : {1, 2}) {
        for (int n = 1; n <= 70; n++) {
            const int size = (n - 1) * step + 1 + 2 * step;
            VecOf<T> left(size), right(size);
            Number<T>(left);
            Number<T>(right);
            std::vector<T> l = Values<T>(left), r = l;
            for (int i = 0; i < n; i++) l[i * step] = l[i * step + step]; // moves to the left
            for (int i = 0; i < n; i++) r[i * step + step] = r[i * step]; // smears the first element
            const RNG near(0, (n - 1) * step, step), far(step, n * step, step);
            left(near) = left(far);
            right(far) = right(near);
            ASSERT_TRUE(Equal(l, Values<T>(left))) << n << " elements, step " << step;
            ASSERT_TRUE(Equal(r, Values<T>(right))) << n << " elements, step " << step;
        }
    }
}

TYPED_TEST(ArraysOf, AssignmentOfAResultCopiesIntoTheView)
{
    using T = TypeParam;
    MatOf<T> m(3, 3), ones(3, 3);
    m.Fill(5);
    ones.Fill(1);
    const MatOf<T> other = m;
    m = m + ones; // an element result, copied into the storage that both views have
    EXPECT_EQ(other(2, 2), 6);
    EXPECT_EQ(m.pblock, other.pblock);
    const MatOf<T> sum = m + ones; // a new array, shared with nobody else
    EXPECT_EQ(sum.pblock->nrefs, 1);
    EXPECT_NE(sum.pblock, m.pblock);
    EXPECT_EQ(sum(0, 0), 7);
}

TEST(MatShort, AssignmentIntoAViewWritesTheImage)
{
    MatShort image(5, 5), m(3, 3);
    image.Fill(0);
    Number<short>(m);
    image(RNG(1, 3), RNG(2, 4)) = m;
    EXPECT_EQ(Values<short>(image), (std::vector<short>{0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1, //
                                                        2, 0, 0, 3, 4, 5, 0, 0, 6, 7, 8, 0}));
}

TEST(VecShort, MovesToAndFromContainersShare)
{
    std::vector<VecShort> list;
    for (short i = 0; i < 10; i++) list.push_back(VecShort(i, i));
    for (short i = 0; i < 10; i++) {
        EXPECT_EQ(list[i](1), i);
        EXPECT_EQ(list[i].pblock->nrefs, 1);
    }
    VecShort a(1, 2), b(3, 4);
    std::swap(a, b); // a third view and two assignments: the values of b in both
    EXPECT_EQ(Values<short>(a), (std::vector<short>{3, 4}));
    EXPECT_EQ(Values<short>(b), (std::vector<short>{3, 4}));
}

// ---------------------------------------------------------------------------------- the class tree

TEST(Classes, HaveTheFieldsOfTheBaseAndNothingElse)
{
    EXPECT_EQ(sizeof(KX_Byte), sizeof(KX_Base));
    EXPECT_EQ(sizeof(VecByte), sizeof(KX_Base));
    EXPECT_EQ(sizeof(MatByte), sizeof(KX_Base));
    EXPECT_EQ(sizeof(CubByte), sizeof(KX_Base));
    EXPECT_EQ(sizeof(VecShort), sizeof(KX_Base));
    EXPECT_EQ(sizeof(CubShort), sizeof(KX_Base));
    EXPECT_EQ(sizeof(VecInt), sizeof(KX_Base));
    EXPECT_EQ(sizeof(MatInt), sizeof(KX_Base));
    EXPECT_EQ(sizeof(VecFloat), sizeof(KX_Base));
    EXPECT_EQ(sizeof(CubFloat), sizeof(KX_Base));
}

} // namespace
