// One use of every public name of the arrays and the picture files, as a caller writes it, with the types of
// what comes back. What the names do in depth is tested unit by unit.
#include <tests/support/ArrayShapes.h>
#include <tests/support/ChildProcess.h>

#include <gtest/gtest.h>

#include <array>
#include <concepts>
#include <cstdint>
#include <cstdio>
#include <type_traits>
#include <utility>
#include <vector>

namespace {

template <class A, class B> constexpr bool sameType = std::is_same_v<A, B>;

const RNG whole(0, 2147483647);

/// A view lies `offset` elements behind the start of its block.
template <class T>
void ExpectView(const KX_Base& view, std::ptrdiff_t offset, std::array<int, 3> dims, std::vector<int> steps)
{
    EXPECT_EQ(static_cast<T*>(view.p_data) - BlockOf<T>(view), offset);
    EXPECT_EQ((std::array<int, 3>{view.dim1, view.dim2, view.dim3}), dims);
    const int all[3] = {view.step1, view.step2, view.step3};
    for (std::size_t d = 0; d < steps.size(); d++) EXPECT_EQ(all[d], steps[d]) << "step " << d + 1;
}

// ---------------------------------------------------------------------------------- blocks and ranges

static_assert(sameType<decltype(Datablock::ptr), void*>);
static_assert(sameType<decltype(Datablock::len), int>);
static_assert(sameType<decltype(Datablock::itemsize), unsigned short>);
static_assert(sameType<decltype(Datablock::nrefs), unsigned short>);
static_assert(sameType<decltype(Datablock::prev), Datablock*>);
static_assert(sameType<decltype(Datablock::next), Datablock*>);
static_assert(sameType<decltype(Datablock::mem), unsigned>);
static_assert(sameType<decltype(Datablock::maxMem), unsigned>);
static_assert(sameType<decltype(Datablock::first), Datablock*>);
static_assert(sameType<decltype(Datablock::last), Datablock*>);
static_assert(sameType<decltype(Datablock::nblocks), int>);

TEST(Surface, Datablock)
{
    KX_Base user;
    const unsigned before = Datablock::memUsed();
    const int blocks = Datablock::nblocks;
    Datablock* const block = Datablock::create(&user, 2, 50);
    EXPECT_EQ(block->nrefs, 1);
    EXPECT_EQ(block->len, 50);
    EXPECT_EQ(block->itemsize, 2);
    EXPECT_NE(block->ptr, nullptr);
    EXPECT_EQ(Datablock::memUsed(), before + 120);
    EXPECT_EQ(Datablock::mem, before + 120);
    EXPECT_GE(Datablock::maxMemUsed(), before + 120);
    EXPECT_EQ(Datablock::maxMem, Datablock::maxMemUsed());
    EXPECT_EQ(Datablock::nblocks, blocks + 1);
    EXPECT_EQ(Datablock::last, block);
    EXPECT_EQ(block->next, nullptr);
    EXPECT_EQ(block->prev == nullptr, Datablock::first == block);
    Datablock::addRef(&user, block);
    EXPECT_EQ(block->nrefs, 2);
    Datablock::addRef(&user, nullptr);
    Datablock::releaseRef(&user, nullptr);
    Datablock::releaseRef(&user, block);
    EXPECT_EQ(block->nrefs, 1);
    Datablock::releaseRef(&user, block);
    EXPECT_EQ(Datablock::memUsed(), before);
    EXPECT_EQ(Datablock::nblocks, blocks);
}

TEST(Surface, Ranges)
{
    const RNG plain(2, 5), stepped(1, 7, 3), back(6, 0, -2);
    const RNG copy(back);
    EXPECT_EQ(plain.step, 1);
    EXPECT_EQ(plain.Size(), 4);
    EXPECT_EQ(stepped.Size(), 3);
    EXPECT_EQ(copy.from, 6);
    EXPECT_EQ(copy.to, 0);
    EXPECT_EQ(copy.step, -2);
    EXPECT_EQ(copy.Size(), 4);
    EXPECT_EQ(RNG(3, 3).Size(), 1);
    EXPECT_TRUE(plain.inside(RNG(0, 5)));
    EXPECT_FALSE(plain.inside(RNG(3, 5)));
    EXPECT_TRUE(plain.inside(whole));
    const RNG text = RNG::GetRng("2:9:3");
    EXPECT_EQ(text.from, 2);
    EXPECT_EQ(text.to, 9);
    EXPECT_EQ(text.step, 3);
}

TEST(Surface, AreasAndVolumes)
{
    const AOI area(1, 4, 2, 3), same(RNG(1, 4), RNG(2, 3)), areaCopy(area);
    for (const AOI& a : {area, same, areaCopy}) {
        EXPECT_EQ(a.rng1.from, 1);
        EXPECT_EQ(a.rng1.to, 4);
        EXPECT_EQ(a.rng2.from, 2);
        EXPECT_EQ(a.rng2.to, 3);
        EXPECT_TRUE(a.inside(AOI(0, 4, 2, 9)));
        EXPECT_FALSE(a.inside(AOI(0, 4, 3, 9)));
        EXPECT_FALSE(a.inside(AOI(2, 4, 2, 9)));
    }
    const VOI volume(1, 4, 2, 3, 0, 5), alike(RNG(1, 4), RNG(2, 3), RNG(0, 5)), volumeCopy(volume);
    for (const VOI& v : {volume, alike, volumeCopy}) {
        EXPECT_EQ(v.rng1.Size(), 4);
        EXPECT_EQ(v.rng2.Size(), 2);
        EXPECT_EQ(v.rng3.Size(), 6);
        EXPECT_TRUE(v.inside(VOI(1, 4, 2, 3, 0, 5)));
        EXPECT_FALSE(v.inside(VOI(1, 4, 2, 3, 0, 4)));
    }
}

// What the library cannot do with goes to its own fail-stop, not past it.
TEST(Surface, RangesThatSelectNothingStop)
{
    const std::vector<std::function<void()>> wrong = {
        [] { RNG(2, 1); },
        [] { RNG(-1, 4); },
        [] { RNG(0, 4, 0); },
        [] { RNG(0, 4, -1); },
        [] { RNG(4, 0, 1); },
        [] { RNG(4, -1, -1); },
        [] { AOI(0, 1, 3, 2); },
        [] { AOI(1, 0, 2, 3); },
        [] { VOI(0, 1, 0, 1, 3, 2); },
        [] { RNG::GetRng("a:b"); },
        [] { RNG::GetRng(""); },
        [] { RNG::GetRng("5:2"); },
        [] { RNG::GetRng("1:9:0"); },
        [] { RNG::GetRng("-1"); },
        [] { RNG::GetRng(nullptr); },
    };
    for (std::size_t i = 0; i < wrong.size(); i++) {
        const FailStop stop = RunUntilHalt(wrong[i]);
        EXPECT_TRUE(stop.halted) << i << ": " << stop.state;
        EXPECT_EQ(stop.line, ErrorLine("RNG: Invalid range selection")) << i;
    }
}

// ---------------------------------------------------------------------------------- the descriptor

static_assert(sameType<decltype(KX_Base::p_data), void*>);
static_assert(sameType<decltype(KX_Base::p_B_data), UBYTE*>);
static_assert(sameType<decltype(KX_Base::p_s_data), short*>);
static_assert(sameType<decltype(KX_Base::p_i_data), int*>);
static_assert(sameType<decltype(KX_Base::p_f_data), float*>);
static_assert(sameType<decltype(KX_Base::pblock), Datablock*>);
static_assert(sameType<decltype(KX_Base::step1), int> && sameType<decltype(KX_Base::dim1), int>);
static_assert(sameType<decltype(KX_Base::step2), int> && sameType<decltype(KX_Base::dim2), int>);
static_assert(sameType<decltype(KX_Base::step3), int> && sameType<decltype(KX_Base::dim3), int>);
static_assert(sameType<decltype(KX_Base::poolObjType), char>);
static_assert(sameType<decltype(KX_Base::myName), char[13]>);

template <class... A>
constexpr bool plainDescriptors = (... && (sizeof(A) == sizeof(KX_Base) && std::derived_from<A, KX_Base> &&
                                           !std::is_polymorphic_v<A>));
static_assert(plainDescriptors<KX_Byte, VecByte, MatByte, CubByte, KX_Short, VecShort, MatShort, CubShort,
                               KX_Int, VecInt, MatInt, KX_Float, VecFloat, MatFloat, CubFloat>);
static_assert(std::derived_from<MatByte, KX_Byte> && std::derived_from<CubShort, KX_Short>);
static_assert(std::derived_from<VecInt, KX_Int> && std::derived_from<MatFloat, KX_Float>);

TEST(Surface, TheBaseOfAllArrays)
{
    KX_Base a;
    EXPECT_EQ(a.p_data, nullptr);
    EXPECT_EQ(a.pblock, nullptr);
    for (const int field : {a.step1, a.step2, a.step3, a.dim1, a.dim2, a.dim3, int{a.poolObjType}})
        EXPECT_EQ(field, 0);
    for (const char c : a.myName) EXPECT_EQ(c, 0);

    a.Resize_float(3, 2, 2);
    EXPECT_EQ(a.pblock->itemsize, 4);
    a.poolObjType = 'f';
    a.myName[0] = 'n';
    for (int i = 0; i < 12; i++) a.p_f_data[i] = static_cast<float>(i);
    const KX_Base b(a); // shares, and takes the name along
    EXPECT_EQ(b.p_data, a.p_data);
    EXPECT_EQ(b.pblock->nrefs, 2);
    EXPECT_EQ(b.poolObjType, 'f');
    EXPECT_EQ(b.myName[0], 'n');

    KX_Base c;
    c = b; // copies values
    ExpectView<float>(c, 0, {3, 2, 2}, {1, 3, 6});
    EXPECT_NE(c.pblock, a.pblock);
    EXPECT_EQ(c.p_f_data[11], 11.0f);

    KX_Base d;
    d.Resize_ubyte(4, 1, 1);
    EXPECT_EQ(d.pblock->itemsize, 1);
    KX_Base e;
    e.Resize_short(4, 1, 1);
    EXPECT_EQ(e.pblock->itemsize, 2);
    KX_Base f;
    f.Resize_int(4, 1, 1);
    EXPECT_EQ(f.pblock->itemsize, 4);
}

// ---------------------------------------------------------------------------------- typed arrays and views

template <class T> class SurfaceOf : public testing::Test {
};
TYPED_TEST_SUITE(SurfaceOf, AllElements);

template <class A> void ExpectEmpty()
{
    const A a;
    EXPECT_EQ(a.pblock, nullptr);
    EXPECT_EQ(a.p_data, nullptr);
    EXPECT_EQ(a.dim1, 0);
    EXPECT_EQ(a.dim2, 1);
    EXPECT_EQ(a.dim3, 1);
    EXPECT_EQ(a.step1, 1);
}

TYPED_TEST(SurfaceOf, EmptyArrays)
{
    ExpectEmpty<ElemOf<TypeParam>>();
    ExpectEmpty<VecOf<TypeParam>>();
    ExpectEmpty<MatOf<TypeParam>>();
    if constexpr (!std::is_same_v<TypeParam, int>) ExpectEmpty<CubOf<TypeParam>>();
}

TYPED_TEST(SurfaceOf, ArraysOfASize)
{
    using T = TypeParam;
    ExpectView<T>(ElemOf<T>(4, 3, 2), 0, {4, 3, 2}, {1, 4, 12});
    ExpectView<T>(VecOf<T>(5), 0, {5, 1, 1}, {1});
    ExpectView<T>(MatOf<T>(4, 3), 0, {4, 3, 1}, {1, 4});
    ExpectView<T>(VecOf<T>(RNG(3, 9, 2)), 0, {4, 1, 1}, {1});
    ExpectView<T>(MatOf<T>(AOI(1, 4, 5, 7)), 0, {4, 3, 1}, {1, 4});
    if constexpr (!std::is_same_v<T, int>) {
        ExpectView<T>(CubOf<T>(4, 3, 2), 0, {4, 3, 2}, {1, 4, 12});
        ExpectView<T>(CubOf<T>(VOI(1, 4, 5, 7, 0, 1)), 0, {4, 3, 2}, {1, 4, 12});
    }
}

TYPED_TEST(SurfaceOf, CopiesAndOtherShapesShare)
{
    using T = TypeParam;
    ElemOf<T> e(4, 3, 2);
    Number<T>(e);
    const ElemOf<T> copy(e);
    const VecOf<T> v(e), vCopy(v);
    const MatOf<T> m(e), mCopy(m);
    ExpectView<T>(copy, 0, {4, 3, 2}, {1, 4, 12});
    ExpectView<T>(vCopy, 0, {4, 1, 1}, {1});
    ExpectView<T>(mCopy, 0, {4, 3, 1}, {1, 4});
    EXPECT_EQ(e.pblock->nrefs, 6);
    if constexpr (!std::is_same_v<T, int>) {
        const CubOf<T> c(e), cCopy(c), ofMatrix(m);
        ExpectView<T>(cCopy, 0, {4, 3, 2}, {1, 4, 12});
        ExpectView<T>(ofMatrix, 0, {4, 3, 1}, {1, 4});
        EXPECT_EQ(e.pblock->nrefs, 9);
    }
    EXPECT_EQ(m(3, 2), T{11});
    m(3, 2) = 99; // storage of a const array is written as well
    EXPECT_EQ(mCopy(3, 2), T{99});
}

TYPED_TEST(SurfaceOf, SubViews)
{
    using T = TypeParam;
    VecOf<T> v(10);
    ExpectView<T>(VecOf<T>(&v, RNG(2, 8, 3)), 2, {3, 1, 1}, {3});
    ExpectView<T>(v(RNG(9, 0, -1)), 9, {10, 1, 1}, {-1});

    MatOf<T> m(8, 6);
    Number<T>(m);
    ExpectView<T>(VecOf<T>(&m, RNG(1, 2), 3), 25, {2, 1, 1}, {1});
    ExpectView<T>(VecOf<T>(&m, 5, whole), 5, {6, 1, 1}, {8});
    ExpectView<T>(MatOf<T>(&m, RNG(1, 6, 2), RNG(5, 1, -1)), 41, {3, 5, 1}, {2, -8});
    ExpectView<T>(m(whole, RNG(2, 3)), 16, {8, 2, 1}, {1, 8});
    ExpectView<T>(m(whole, 4), 32, {8, 1, 1}, {1});
    ExpectView<T>(m(7, RNG(1, 5, 2)), 15, {3, 1, 1}, {16});
    ExpectView<T>(m(AOI(1, 3, 2, 5)), 17, {3, 4, 1}, {1, 8});
    EXPECT_TRUE((sameType<decltype(m(whole, whole)), MatOf<T>>));
    EXPECT_TRUE((sameType<decltype(m(whole, 1)), VecOf<T>>));
    EXPECT_TRUE((sameType<decltype(m(1, whole)), VecOf<T>>));
    EXPECT_TRUE((sameType<decltype(m(AOI(0, 1, 0, 1))), MatOf<T>>));
    EXPECT_TRUE((sameType<decltype(m(1, 1)), T&>));
    EXPECT_TRUE((sameType<decltype(v(1)), T&>));
    EXPECT_TRUE((sameType<decltype(v[1]), T&>));

    if constexpr (!std::is_same_v<T, int>) {
        CubOf<T> c(5, 4, 3);
        Number<T>(c);
        const RNG r(1, 3, 2), all = whole;
        ExpectView<T>(VecOf<T>(&c, r, 2, 1), 31, {2, 1, 1}, {2});
        ExpectView<T>(VecOf<T>(&c, 2, r, 1), 27, {2, 1, 1}, {10});
        ExpectView<T>(VecOf<T>(&c, 2, 3, all), 17, {3, 1, 1}, {20});
        ExpectView<T>(MatOf<T>(&c, r, all, 2), 41, {2, 4, 1}, {2, 5});
        ExpectView<T>(MatOf<T>(&c, r, 2, all), 11, {2, 3, 1}, {2, 20});
        ExpectView<T>(MatOf<T>(&c, 4, r, all), 9, {2, 3, 1}, {10, 20});
        ExpectView<T>(CubOf<T>(&c, r, RNG(3, 0, -3), RNG(2, 1, -1)), 56, {2, 2, 2}, {2, -15, -20});
        ExpectView<T>(c(all, all, 1), 20, {5, 4, 1}, {1, 5});
        ExpectView<T>(c(all, 1, r), 25, {5, 2, 1}, {1, 40}); // rows beyond are the caller's
        ExpectView<T>(c(1, all, all), 1, {4, 3, 1}, {5, 20});
        ExpectView<T>(c(all, 1, 2), 45, {5, 1, 1}, {1});
        ExpectView<T>(c(1, all, 2), 41, {4, 1, 1}, {5});
        ExpectView<T>(c(1, 2, all), 11, {3, 1, 1}, {20});
        ExpectView<T>(c(r, r, RNG(0, 1)), 6, {2, 2, 2}, {2, 10, 20});
        ExpectView<T>(c(VOI(1, 2, 1, 3, 1, 2)), 26, {2, 3, 2}, {1, 5, 20});
        EXPECT_EQ(c(4, 3, 2), static_cast<T>(59));
        EXPECT_TRUE((sameType<decltype(c(all, all, 1)), MatOf<T>>));
        EXPECT_TRUE((sameType<decltype(c(all, 1, 1)), VecOf<T>>));
        EXPECT_TRUE((sameType<decltype(c(all, all, all)), CubOf<T>>));
        EXPECT_TRUE((sameType<decltype(c(VOI(0, 1, 0, 1, 0, 1))), CubOf<T>>));
        EXPECT_TRUE((sameType<decltype(c(1, 1, 1)), T&>));
    }
}

TYPED_TEST(SurfaceOf, AssignmentResizeFillAndImport)
{
    using T = TypeParam;
    MatOf<T> image(5, 4);
    image.Fill(T{1});
    MatOf<T> small(2, 2);
    const T values[] = {T{10}, T{20}, T{30}, T{40}};
    small.ImportData(values);
    image(RNG(1, 2), RNG(2, 3)) = small;
    EXPECT_EQ(image(2, 2), T{20});
    EXPECT_EQ(image(1, 3), T{30});
    EXPECT_EQ(image(3, 3), T{1});
    MatOf<T> fresh;
    fresh = image;
    EXPECT_NE(fresh.pblock, image.pblock);
    EXPECT_EQ(fresh.dim2, 4);
    VecOf<T> v;
    v = image(whole, 2);
    EXPECT_EQ(v.dim1, 5);
    EXPECT_EQ(v(1), T{10});
    ElemOf<T> e;
    e = image;
    EXPECT_EQ(e.dim1, 5);

    e.Resize(7);
    ExpectView<T>(e, 0, {7, 1, 1}, {1, 7, 7});
    e.Resize(3, 4);
    ExpectView<T>(e, 0, {3, 4, 1}, {1, 3, 12});
    e.Resize(2, 3, 4);
    ExpectView<T>(e, 0, {2, 3, 4}, {1, 2, 6});
    e.Resize(image);
    ExpectView<T>(e, 0, {5, 4, 1}, {1, 5, 20});
    VecOf<T> w;
    w.Resize(3);
    EXPECT_EQ(w.dim1, 3);
    w.Resize(v);
    EXPECT_EQ(w.dim1, 5);
    MatOf<T> m;
    m.Resize(3, 2);
    EXPECT_EQ(m.dim2, 2);
    if constexpr (!std::is_same_v<T, int>) {
        CubOf<T> c, d;
        c.Resize(2, 3, 2);
        c.Fill(T{5});
        d = c;
        EXPECT_EQ(d(1, 2, 1), T{5});
    }
}

// 2 to 10 values; ints also 11, 12 and 16.
template <class V, class A, std::size_t... I> constexpr bool Takes(std::index_sequence<I...>)
{
    return std::is_constructible_v<V, decltype(static_cast<void>(I), A{})...>;
}
template <class V, class A, std::size_t n> constexpr bool takes = Takes<V, A>(std::make_index_sequence<n>());

template <class V, class A> constexpr bool takesTwoToTen = takes<V, A, 2>&& takes<V, A, 3>&& takes<V, A, 4>&&
    takes<V, A, 5>&& takes<V, A, 6>&& takes<V, A, 7>&& takes<V, A, 8>&& takes<V, A, 9>&& takes<V, A, 10>;
static_assert(takesTwoToTen<VecByte, UBYTE> && takesTwoToTen<VecByte, int> && !takes<VecByte, UBYTE, 11>);
static_assert(takesTwoToTen<VecShort, short> && takesTwoToTen<VecShort, int> && !takes<VecShort, short, 11>);
static_assert(takesTwoToTen<VecFloat, float> && takesTwoToTen<VecFloat, double> &&
              !takes<VecFloat, float, 11>);
static_assert(takesTwoToTen<VecInt, int> && takes<VecInt, int, 11> && takes<VecInt, int, 12> &&
              takes<VecInt, int, 16>);
static_assert(!takes<VecInt, int, 13> && !takes<VecInt, int, 14> && !takes<VecInt, int, 15> &&
              !takes<VecInt, int, 17>);

TYPED_TEST(SurfaceOf, VectorsOfValues)
{
    using T = TypeParam;
    const VecOf<T> two(T{3}, T{4});
    EXPECT_TRUE(Equal({T{3}, T{4}}, Values<T>(two)));
    const VecOf<T> ten(1, 2, 3, 4, 5, 6, 7, 8, 9, 10);
    EXPECT_TRUE(Equal({1, 2, 3, 4, 5, 6, 7, 8, 9, 10}, Values<T>(ten)));
}

TEST(Surface, IntVectorsOfMoreValues)
{
    EXPECT_TRUE(
        Equal({1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11}, Values<int>(VecInt(1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11))));
    EXPECT_TRUE(Equal({1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12},
                      Values<int>(VecInt(1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12))));
    EXPECT_TRUE(Equal({1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16},
                      Values<int>(VecInt(1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16))));
}

TEST(Surface, ByteArraysTakeAnyBase)
{
    KX_Base b;
    b.Resize_ubyte(3, 2, 2);
    for (UBYTE i = 0; i < 12; i++) b.p_B_data[i] = i;
    EXPECT_EQ(VecByte(b)(2), 2);
    EXPECT_EQ(MatByte(b)(2, 1), 5);
    EXPECT_EQ(CubByte(b)(2, 1, 1), 11);
}

TEST(Surface, AttachedPictures)
{
    unsigned char bytes[6] = {1, 2, 3, 4, 5, 6};
    MatByte b;
    b.Attach_to_raw_image(bytes, 3, 2);
    ExpectView<UBYTE>(b, 0, {3, 2, 1}, {1, 3});
    EXPECT_EQ(b.pblock->len, 0);
    EXPECT_EQ(b(2, 1), 6);
    b.Detach_from_raw_image();
    EXPECT_EQ(b.p_data, nullptr);
    EXPECT_EQ(b.dim1, 0);
    EXPECT_EQ(b.dim2, 0);
    short shorts[6] = {1, 2, 3, 4, 5, -6};
    MatShort s;
    s.Attach_to_raw_image(shorts, 3, 2);
    s(0, 0) = 9;
    EXPECT_EQ(shorts[0], 9);
    EXPECT_EQ(s(2, 1), -6);
    s.Detach_from_raw_image();
    EXPECT_EQ(s.pblock, nullptr);
}

// ---------------------------------------------------------------------------------- operators

TYPED_TEST(SurfaceOf, OperatorsOfAllElements)
{
    using T = TypeParam;
    using E = ElemOf<T>;
    const VecOf<T> start(T{20}, T{30}), b(T{3}, T{4});
    VecOf<T> a;
    const auto after = [&](auto step) {
        a = start;
        static_assert(std::is_same_v<decltype(step(a)), E&>);
        EXPECT_EQ(static_cast<KX_Base*>(&step(a)), static_cast<KX_Base*>(&a)); // gives the array itself back
        return Values<T>(a);
    };
    const auto result = [&](auto step) {
        a = start;
        static_assert(std::is_same_v<decltype(step(a)), E>);
        const VecOf<T> r = step(a);
        EXPECT_NE(r.pblock, a.pblock);
        EXPECT_TRUE(Equal(Values<T>(start), Values<T>(a)));
        return Values<T>(r);
    };
    EXPECT_TRUE(Equal({23, 34}, after([&](VecOf<T>& v) -> decltype(auto) { return v += b; })));
    EXPECT_TRUE(Equal({17, 26}, after([&](VecOf<T>& v) -> decltype(auto) { return v -= b; })));
    EXPECT_TRUE(Equal({60, 120}, after([&](VecOf<T>& v) -> decltype(auto) { return v.ElementMul(b); })));
    EXPECT_TRUE(Equal({T(T{20} / T{3}), T(T{30} / T{4})},
                      after([&](VecOf<T>& v) -> decltype(auto) { return v /= b; })));
    EXPECT_TRUE(Equal({22, 32}, after([](VecOf<T>& v) -> decltype(auto) { return v += T{2}; })));
    EXPECT_TRUE(Equal({40, 60}, after([](VecOf<T>& v) -> decltype(auto) { return v *= T{2}; })));
    EXPECT_TRUE(Equal({10, 15}, after([](VecOf<T>& v) -> decltype(auto) { return v /= T{2}; })));
    EXPECT_TRUE(Equal({23, 34}, result([&](const VecOf<T>& v) { return v + b; })));
    EXPECT_TRUE(Equal({17, 26}, result([&](const VecOf<T>& v) { return v - b; })));
    EXPECT_TRUE(Equal({T(T{20} / T{3}), T(T{30} / T{4})}, result([&](const VecOf<T>& v) { return v / b; })));
    EXPECT_TRUE(Equal({22, 32}, result([](const VecOf<T>& v) { return v + T{2}; })));
    EXPECT_TRUE(Equal({40, 60}, result([](const VecOf<T>& v) { return v * T{2}; })));
    EXPECT_TRUE(Equal({10, 15}, result([](const VecOf<T>& v) { return v / T{2}; })));
    if constexpr (std::is_integral_v<T>) {
        EXPECT_TRUE(Equal({T(~20), T(~30)}, result([](const VecOf<T>& v) { return ~v; })));
    } else {
        const VecFloat inverted = ~start;
        EXPECT_EQ(std::bit_cast<std::uint32_t>(inverted(0)), ~std::bit_cast<std::uint32_t>(20.0f));
    }
    if constexpr (std::is_integral_v<T>) {
        EXPECT_TRUE(Equal({30, 45}, after([](VecOf<T>& v) -> decltype(auto) { return v *= 1.5f; })));
        EXPECT_TRUE(Equal({13, 20}, after([](VecOf<T>& v) -> decltype(auto) { return v /= 1.5f; })));
        EXPECT_TRUE(Equal({5, 7}, after([](VecOf<T>& v) -> decltype(auto) { return v >>= 2; })));
        EXPECT_TRUE(Equal({80, 120}, after([](VecOf<T>& v) -> decltype(auto) { return v <<= 2; })));
        EXPECT_TRUE(Equal({30, 45}, result([](const VecOf<T>& v) { return v * 1.5f; })));
        EXPECT_TRUE(Equal({13, 20}, result([](const VecOf<T>& v) { return v / 1.5f; })));
        EXPECT_TRUE(Equal({5, 7}, result([](const VecOf<T>& v) { return v >> 2; })));
        EXPECT_TRUE(Equal({80, 120}, result([](const VecOf<T>& v) { return v << 2; })));
    }
}

TYPED_TEST(SurfaceOf, ResultsBecomeShapedArrays)
{
    using T = TypeParam;
    MatOf<T> a(2, 2), b(2, 2);
    a.Fill(T{5});
    b.Fill(T{2});
    const MatOf<T> sum = a + b; // shares the result's storage
    EXPECT_EQ(sum(1, 1), T{7});
    EXPECT_EQ(sum.pblock->nrefs, 1);
    a(RNG(0, 0), whole) = b - a;
    EXPECT_EQ(a(0, 1), static_cast<T>(T{2} - T{5}));
    EXPECT_EQ(a(1, 1), T{5});
}

TEST(Surface, OperatorsBetweenWidths)
{
    MatInt i(1, 1);
    MatShort s(1, 1), t(1, 1);
    MatByte b(1, 1);
    i.Fill(100000);
    s.Fill(-1);
    t.Fill(-100);
    b.Fill(200);
    static_assert(sameType<decltype(i += s), KX_Int&> && sameType<decltype(i -= s), KX_Int&>);
    static_assert(sameType<decltype(s += b), KX_Short&>);
    i += s;
    EXPECT_EQ(i(0, 0), 99999);
    i -= t;
    EXPECT_EQ(i(0, 0), 100099);
    s += b;
    EXPECT_EQ(s(0, 0), 199);
}

TEST(Surface, OperatorsOfBytes)
{
    const VecByte start(12, 5, 200), b(10, 5, 255);
    VecByte a;
    const auto after = [&](auto step) {
        a = start;
        static_assert(std::is_same_v<decltype(step(a)), KX_Byte&>);
        EXPECT_EQ(static_cast<KX_Base*>(&step(a)), static_cast<KX_Base*>(&a));
        return Values<UBYTE>(a);
    };
    using V = VecByte;
    EXPECT_TRUE(Equal<UBYTE>({2, 251, 190}, after([](V& v) -> decltype(auto) { return v -= UBYTE(10); })));
    EXPECT_TRUE(Equal<UBYTE>({8, 5, 200}, after([&](V& v) -> decltype(auto) { return v &= b; })));
    EXPECT_TRUE(Equal<UBYTE>({14, 5, 255}, after([&](V& v) -> decltype(auto) { return v |= b; })));
    EXPECT_TRUE(Equal<UBYTE>({6, 0, 55}, after([&](V& v) -> decltype(auto) { return v ^= b; })));
    EXPECT_TRUE(Equal<UBYTE>({8, 0, 8}, after([](V& v) -> decltype(auto) { return v &= UBYTE(10); })));
    EXPECT_TRUE(Equal<UBYTE>({14, 15, 202}, after([](V& v) -> decltype(auto) { return v |= UBYTE(10); })));
    EXPECT_TRUE(Equal<UBYTE>({6, 15, 194}, after([](V& v) -> decltype(auto) { return v ^= UBYTE(10); })));
    EXPECT_TRUE(Equal<UBYTE>({255, 255, 0}, after([&](V& v) -> decltype(auto) { return v >= b; })));
    EXPECT_TRUE(Equal<UBYTE>({0, 255, 255}, after([&](V& v) -> decltype(auto) { return v <= b; })));
    EXPECT_TRUE(Equal<UBYTE>({255, 0, 255}, after([](V& v) -> decltype(auto) { return v >= UBYTE(12); })));
    EXPECT_TRUE(Equal<UBYTE>({255, 255, 0}, after([](V& v) -> decltype(auto) { return v <= UBYTE(12); })));

    static_assert(sameType<decltype(start & b), KX_Byte> && sameType<decltype(start > b), KX_Byte>);
    static_assert(sameType<decltype(start | UBYTE(1)), KX_Byte> &&
                  sameType<decltype(start < UBYTE(1)), KX_Byte>);
    EXPECT_TRUE(Equal<UBYTE>({8, 5, 200}, Values<UBYTE>(start & b)));
    EXPECT_TRUE(Equal<UBYTE>({14, 5, 255}, Values<UBYTE>(start | b)));
    EXPECT_TRUE(Equal<UBYTE>({6, 0, 55}, Values<UBYTE>(start ^ b)));
    EXPECT_TRUE(Equal<UBYTE>({8, 0, 8}, Values<UBYTE>(start & UBYTE(10))));
    EXPECT_TRUE(Equal<UBYTE>({14, 15, 202}, Values<UBYTE>(start | UBYTE(10))));
    EXPECT_TRUE(Equal<UBYTE>({6, 15, 194}, Values<UBYTE>(start ^ UBYTE(10))));
    EXPECT_TRUE(Equal<UBYTE>({255, 0, 0}, Values<UBYTE>(start > b)));
    EXPECT_TRUE(Equal<UBYTE>({0, 0, 255}, Values<UBYTE>(start < b)));
    EXPECT_TRUE(Equal<UBYTE>({0, 0, 255}, Values<UBYTE>(start > UBYTE(12))));
    EXPECT_TRUE(Equal<UBYTE>({0, 255, 0}, Values<UBYTE>(start < UBYTE(12))));
    MatByte m(2, 1);
    m.Fill(7);
    EXPECT_TRUE(Equal<UBYTE>({255, 255}, Values<UBYTE>(m > UBYTE(6)))); // matrices too
    EXPECT_TRUE(Equal<UBYTE>({0, 0}, Values<UBYTE>(m < UBYTE(6))));
    EXPECT_TRUE(Equal<UBYTE>({255, 255}, Values<UBYTE>(m >= UBYTE(7))));
    EXPECT_TRUE(Equal<UBYTE>({0, 0}, Values<UBYTE>(m <= UBYTE(254))));
}

template <class A>
concept ComparesByAll = requires(A a, A b)
{
    {
        a == b
        } -> std::same_as<MatByte>;
    {
        a != b
        } -> std::same_as<MatByte>;
    {
        a > b
        } -> std::same_as<MatByte>;
    {
        a < b
        } -> std::same_as<MatByte>;
    {
        a >= b
        } -> std::same_as<MatByte>;
    {
        a <= b
        } -> std::same_as<MatByte>;
    {
        a&& b
        } -> std::same_as<MatByte>;
    {
        a || b
        } -> std::same_as<MatByte>;
    {
        !a
        } -> std::same_as<MatByte>;
};
static_assert(ComparesByAll<const MatShort&> && ComparesByAll<MatShort&> && ComparesByAll<const MatByte&>);

// `>=` and `<=` of two byte matrices are the matrices' own comparisons, whether or not they may be written.
TEST(Surface, ByteMatricesThatMayBeWrittenCompareToo)
{
    EXPECT_TRUE(ComparesByAll<MatByte&>);
    EXPECT_TRUE(ComparesByAll<MatByte>);
}

TEST(Surface, ComparisonsOfMatrices)
{
    MatShort a(3, 1), b(3, 1);
    const short left[] = {1, -2, 0}, right[] = {1, 3, -4};
    a.ImportData(left);
    b.ImportData(right);
    const auto shorts = [](const MatByte& m) { return Values<UBYTE>(m); };
    EXPECT_TRUE(Equal<UBYTE>({255, 0, 0}, shorts(a == b)));
    EXPECT_TRUE(Equal<UBYTE>({0, 255, 255}, shorts(a != b)));
    EXPECT_TRUE(Equal<UBYTE>({0, 0, 255}, shorts(a > b)));
    EXPECT_TRUE(Equal<UBYTE>({0, 255, 0}, shorts(a < b)));
    EXPECT_TRUE(Equal<UBYTE>({255, 0, 255}, shorts(a >= b)));
    EXPECT_TRUE(Equal<UBYTE>({255, 255, 0}, shorts(a <= b)));
    EXPECT_TRUE(Equal<UBYTE>({255, 255, 0}, shorts(a && b)));
    EXPECT_TRUE(Equal<UBYTE>({255, 255, 255}, shorts(a || b)));
    EXPECT_TRUE(Equal<UBYTE>({0, 0, 255}, shorts(!a)));

    // A byte matrix twice as wide, seen as its left half, has 16-bit values at all positions of that half.
    MatByte wideA(4, 1), wideB(4, 1);
    const UBYTE lowHigh[] = {5, 0, 1, 128}, other[] = {4, 0, 2, 0}; // 5 and -32767; 4 and 2
    wideA.ImportData(lowHigh);
    wideB.ImportData(other);
    const MatByte c = wideA(RNG(0, 1), whole), d = wideB(RNG(0, 1), whole);
    EXPECT_TRUE(Equal<UBYTE>({0, 1}, Values<UBYTE>(c == d)));
    EXPECT_TRUE(Equal<UBYTE>({1, 0}, Values<UBYTE>(c != d)));
    EXPECT_TRUE(Equal<UBYTE>({255, 0}, Values<UBYTE>(c > d)));
    EXPECT_TRUE(Equal<UBYTE>({0, 255}, Values<UBYTE>(c < d)));
    EXPECT_TRUE(Equal<UBYTE>({255, 0}, Values<UBYTE>(c >= d)));
    EXPECT_TRUE(Equal<UBYTE>({0, 255}, Values<UBYTE>(c <= d)));
    EXPECT_TRUE(Equal<UBYTE>({1, 1}, Values<UBYTE>(c && d)));
    EXPECT_TRUE(Equal<UBYTE>({1, 1}, Values<UBYTE>(c || d)));
    EXPECT_TRUE(Equal<UBYTE>({0, 0}, Values<UBYTE>(!c)));

    CubByte e(2, 1, 2), f(2, 1, 2);
    e.Fill(4);
    f.Fill(4);
    f(1, 0, 1) = 5;
    static_assert(sameType<decltype(e == f), CubByte> && sameType<decltype(e != f), CubByte>);
    EXPECT_TRUE(Equal<UBYTE>({1, 1, 1, 0}, Values<UBYTE>(e == f)));
    EXPECT_TRUE(Equal<UBYTE>({0, 0, 0, 1}, Values<UBYTE>(e != f)));
}

// ---------------------------------------------------------------------------------- conversions

template <class To, class From> void ExpectConverted(const From& from, double wanted)
{
    To to;
    Convert(from, to);
    ASSERT_NE(to.pblock, nullptr);
    EXPECT_EQ(to.dim1, from.dim1);
    EXPECT_EQ(to.dim2, from.dim2);
    EXPECT_EQ(to.dim3, from.dim3);
    KX_Base number;
    if constexpr (std::derived_from<To, KX_Byte>) KX_Base::Convert_Bf(to, number);
    else if constexpr (std::derived_from<To, KX_Short>) KX_Base::Convert_sf(to, number);
    else if constexpr (std::derived_from<To, KX_Int>) KX_Base::Convert_if(to, number);
    else number = to;
    EXPECT_EQ(number.p_f_data[0], static_cast<float>(wanted));
}

template <class A, class T> A Full(A a, T value)
{
    a.Fill(value);
    return a;
}

TEST(Surface, Conversions)
{
    const UBYTE b = 200;
    ExpectConverted<VecShort>(Full(VecByte(3), b), 200);
    ExpectConverted<MatShort>(Full(MatByte(3, 2), b), 200);
    ExpectConverted<CubShort>(Full(CubByte(3, 2, 2), b), 200);
    ExpectConverted<VecInt>(Full(VecByte(3), b), 200);
    ExpectConverted<MatInt>(Full(MatByte(3, 2), b), 200);
    ExpectConverted<VecFloat>(Full(VecByte(3), b), 200);
    ExpectConverted<MatFloat>(Full(MatByte(3, 2), b), 200);
    ExpectConverted<CubFloat>(Full(CubByte(3, 2, 2), b), 200);

    const short s = -1;
    ExpectConverted<VecByte>(Full(VecShort(3), s), 255);
    ExpectConverted<MatByte>(Full(MatShort(3, 2), s), 255);
    ExpectConverted<CubByte>(Full(CubShort(3, 2, 2), s), 255);
    ExpectConverted<VecInt>(Full(VecShort(3), s), -1);
    ExpectConverted<MatInt>(Full(MatShort(3, 2), s), -1);
    ExpectConverted<VecFloat>(Full(VecShort(3), s), -1);
    ExpectConverted<MatFloat>(Full(MatShort(3, 2), s), -1);
    ExpectConverted<CubFloat>(Full(CubShort(3, 2, 2), s), -1);

    ExpectConverted<VecByte>(Full(VecInt(3), 70000), 112);
    ExpectConverted<MatByte>(Full(MatInt(3, 2), 70000), 112);
    ExpectConverted<VecShort>(Full(VecInt(3), 40000), -25536);
    ExpectConverted<MatShort>(Full(MatInt(3, 2), 70000), 4464);
    ExpectConverted<VecFloat>(Full(VecInt(3), 70000), 70000);
    ExpectConverted<MatFloat>(Full(MatInt(3, 2), 70000), 70000);

    ExpectConverted<VecByte>(Full(VecFloat(3), 2.9f), 2);
    ExpectConverted<MatByte>(Full(MatFloat(3, 2), 300.5f), 44);
    ExpectConverted<CubByte>(Full(CubFloat(3, 2, 2), 2.9f), 2);
    ExpectConverted<VecShort>(Full(VecFloat(3), -2.9f), -2);
    ExpectConverted<MatShort>(Full(MatFloat(3, 2), -2.9f), -2);
    ExpectConverted<CubShort>(Full(CubFloat(3, 2, 2), 40000.5f), -25536);
    ExpectConverted<VecInt>(Full(VecFloat(3), -2.9f), -2);
    ExpectConverted<MatInt>(Full(MatFloat(3, 2), -2.9f), -2);
}

TEST(Surface, ConversionsOfTheBase)
{
    const UBYTE one = 1;
    const MatByte bytes = Full(MatByte(2, 3), one);
    const MatShort shorts = Full(MatShort(2, 3), short(1));
    const MatInt ints = Full(MatInt(2, 3), 1);
    const MatFloat floats = Full(MatFloat(2, 3), 1.0f);
    const struct {
        void (*convert)(const KX_Base&, KX_Base&);
        const KX_Base& source;
        int width;
        bool toFloat;
    } conversions[] = {
        {KX_Base::Convert_Bs, bytes, 2, false},  {KX_Base::Convert_sB, shorts, 1, false},
        {KX_Base::Convert_Bi, bytes, 4, false},  {KX_Base::Convert_iB, ints, 1, false},
        {KX_Base::Convert_Bf, bytes, 4, true},   {KX_Base::Convert_fB, floats, 1, false},
        {KX_Base::Convert_si, shorts, 4, false}, {KX_Base::Convert_is, ints, 2, false},
        {KX_Base::Convert_sf, shorts, 4, true},  {KX_Base::Convert_fs, floats, 2, false},
        {KX_Base::Convert_if, ints, 4, true},    {KX_Base::Convert_fi, floats, 4, false},
    };
    for (const auto& conversion : conversions) {
        KX_Base to;
        conversion.convert(conversion.source, to);
        ASSERT_NE(to.pblock, nullptr);
        EXPECT_EQ(to.pblock->itemsize, conversion.width);
        EXPECT_EQ(to.dim1, 2);
        EXPECT_EQ(to.dim2, 3);
        if (conversion.toFloat) EXPECT_EQ(to.p_f_data[5], 1.0f);
        else if (conversion.width == 1) EXPECT_EQ(to.p_B_data[5], 1);
        else if (conversion.width == 2) EXPECT_EQ(to.p_s_data[5], 1);
        else EXPECT_EQ(to.p_i_data[5], 1);
    }
}

// ---------------------------------------------------------------------------------- reductions

template <class V, class T> void ExpectVectorReductions()
{
    const V v(3, 7, 7, 1);
    static_assert(sameType<decltype(Max(v)), T> && sameType<decltype(Min(v)), T> &&
                  sameType<decltype(Sum(v)), T>);
    static_assert(sameType<decltype(Dot(v, v)), T> && sameType<decltype(Argmax(v)), int>);
    static_assert(sameType<decltype(Argmin(v)), int> && sameType<decltype(Size(v)), VecInt>);
    static_assert(sameType<decltype(All(T{1}, 3)), V>);
    EXPECT_EQ(Max(v), T{7});
    EXPECT_EQ(Min(v), T{1});
    EXPECT_EQ(Argmax(v), 1);
    EXPECT_EQ(Argmin(V(2, 0, 0)), 1);
    EXPECT_EQ(Sum(v), T{18});
    EXPECT_EQ(Dot(v, V(1, 2, 3, 4)), T{42});
    EXPECT_TRUE(Equal({4}, Values<int>(Size(v))));
    EXPECT_TRUE(Equal({T{5}, T{5}, T{5}}, Values<T>(All(T{5}, 3))));
    V roots(16, 25);
    roots.sqrt();
    EXPECT_TRUE(Equal({T{4}, T{5}}, Values<T>(roots)));
}

TEST(Surface, ReductionsOfVectors)
{
    ExpectVectorReductions<VecShort, short>();
    ExpectVectorReductions<VecInt, int>();
    ExpectVectorReductions<VecFloat, float>();
    static_assert(sameType<decltype(Dot(VecByte(1, 2), VecByte(1, 2))), UBYTE>);
    EXPECT_EQ(Dot(VecByte(20, 2), VecByte(20, 3)), 406 % 256);
}

template <class M, class V, class T> void ExpectMatrixReductions()
{
    M m(3, 2);
    const T values[] = {4, 9, 9, -1, -5, 2};
    m.ImportData(values);
    static_assert(sameType<decltype(Max(m)), V> && sameType<decltype(Argmax(m)), VecInt>);
    EXPECT_TRUE(Equal({T{9}, T{2}}, Values<T>(Max(m))));
    EXPECT_TRUE(Equal({T{4}, T{-5}}, Values<T>(Min(m))));
    EXPECT_TRUE(Equal({1, 2}, Values<int>(Argmax(m))));
    EXPECT_TRUE(Equal({0, 1}, Values<int>(Argmin(m))));
    EXPECT_TRUE(Equal({T{22}, T{-4}}, Values<T>(Sum(m))));
    EXPECT_TRUE(Equal({3, 2}, Values<int>(Size(m))));
    EXPECT_TRUE(Equal({T{4}, T{-5}}, Values<T>(Diag(m))));
    const M all = All(T{6}, 2, 3);
    ExpectView<T>(all, 0, {2, 3, 1}, {1, 2});
    EXPECT_EQ(all(1, 2), T{6});
    const M diagonal = Diag(V(8, 9));
    EXPECT_TRUE(Equal({T{8}, T{0}, T{0}, T{9}}, Values<T>(diagonal)));
    static_assert(sameType<decltype(m * V(1, 2)), V>);
    EXPECT_TRUE(Equal({T{2}, T{-1}, T{13}}, Values<T>(m * V(1, 2))));
    static_assert(sameType<decltype(m.Trans()), M&>);
    EXPECT_EQ(&m.Trans(), &m);
    ExpectView<T>(m, 0, {2, 3, 1}, {3, 1});
}

TEST(Surface, ReductionsOfMatrices)
{
    ExpectMatrixReductions<MatShort, VecShort, short>();
    ExpectMatrixReductions<MatInt, VecInt, int>();
    const short values[] = {-3, -32768, 4};
    MatShort m(3, 1);
    m.ImportData(values);
    static_assert(sameType<decltype(Abs(m)), MatShort>);
    EXPECT_TRUE(Equal<short>({3, -32768, 4}, Values<short>(Abs(m))));
    MatByte b(3, 2);
    EXPECT_EQ(&b.Trans(), &b);
    ExpectView<UBYTE>(b, 0, {2, 3, 1}, {3, 1});
}

TEST(Surface, OrderingOfShorts)
{
    VecShort v(5, 1, 4, 2);
    EXPECT_EQ(v.median(), 4);
    EXPECT_EQ(v.percentile(25), 2);
    VecShort w(3, -1, 2);
    w.sort();
    EXPECT_TRUE(Equal<short>({-1, 2, 3}, Values<short>(w)));
    VecShort part(9, 5, 4, 1);
    part.sort(1, 2);
    EXPECT_TRUE(Equal<short>({9, 4, 5, 1}, Values<short>(part)));
}

// ---------------------------------------------------------------------------------- drawing

template <class M>
concept DrawsText = requires(M m, char* text)
{
    m.DrawStr(short(1), short(1), text, 1);
};

TEST(Surface, Drawing)
{
    MatByte b(9, 9);
    b.Fill(0);
    static_assert(sameType<decltype(b.DrawCross(short(4), short(4), UBYTE(9), '+')), void>);
    b.DrawCross(4, 4, 9, '+');
    b.DrawLine(0, 0, 2, 0, 8);
    EXPECT_EQ(b(4, 4), 9);
    EXPECT_EQ(b(2, 0), 8);
    MatShort s(9, 9);
    s.Fill(0);
    s.DrawCross(4, 4, -900, 'o');
    s.DrawLine(0, 0, 2, 0, -800);
    EXPECT_EQ(s(7, 4), -900);
    EXPECT_EQ(s(2, 0), -800);
    EXPECT_FALSE(DrawsText<MatByte> || DrawsText<MatShort>); // there is no text in pictures
}

// ---------------------------------------------------------------------------------- picture files

TEST(Surface, PixelFormats)
{
    const int sizes[] = {-1, 1, 2, 4, 3, 3, 3, 2, 4};
    const PIX_FMT formats[] = {PIX_FMT_NONE,  PIX_FMT_Y8,    PIX_FMT_Y16,   PIX_FMT_FLOAT, PIX_FMT_RGB24,
                               PIX_FMT_BGR24, PIX_FMT_HSV24, PIX_FMT_BAYER, PIX_FMT_Y32};
    for (int i = 0; i <= 8; i++) {
        EXPECT_EQ(formats[i], i);
        EXPECT_EQ(BytesPerPixel(formats[i]), sizes[i]);
    }
    EXPECT_EQ(BytesPerPixel(9), -1);
}

/// Calls the overload for a stream.
template <class F> int Streamed(const TemporaryFolder& folder, const char* mode, F f)
{
    std::FILE* const stream = std::fopen((folder / "stream.bmp").c_str(), mode);
    if (stream == nullptr) return -1;
    const int result = f(stream);
    std::fclose(stream);
    return result;
}

TEST(Surface, BmpFiles)
{
    TemporaryFolder folder;
    const std::string name = folder / "a.bmp";

    MatByte grey(8, 2), greyBack;
    grey.Fill(77);
    EXPECT_EQ(grey.WriteBMP(name.c_str()), 0);
    EXPECT_EQ(greyBack.ReadBMP(name.c_str()), 0);
    EXPECT_TRUE(Equal(Values<UBYTE>(grey), Values<UBYTE>(greyBack)));
    EXPECT_EQ(Streamed(folder, "wb", [&](std::FILE* f) { return grey.WriteBMP(f); }), 0);
    EXPECT_EQ(Streamed(folder, "rb", [&](std::FILE* f) { return greyBack.ReadBMP(f); }), 0);

    MatShort deep(8, 2), deepBack;
    deep.Fill(-3000);
    EXPECT_EQ(deep.WriteBMP(name.c_str()), 0);
    EXPECT_EQ(deepBack.ReadBMP(name.c_str()), 0);
    EXPECT_TRUE(Equal(Values<short>(deep), Values<short>(deepBack)));
    EXPECT_EQ(Streamed(folder, "wb", [&](std::FILE* f) { return deep.WriteBMP(f); }), 0);
    EXPECT_EQ(Streamed(folder, "rb", [&](std::FILE* f) { return deepBack.ReadBMP(f); }), 0);

    deep.Fill(160);
    EXPECT_EQ(deep.WriteBMP8bpp(name.c_str(), 8), 0);
    EXPECT_EQ(greyBack.ReadBMP(name.c_str()), 0);
    EXPECT_EQ(greyBack(7, 1), 10);
    EXPECT_EQ(Streamed(folder, "wb", [&](std::FILE* f) { return deep.WriteBMP8bpp(f, 8); }), 0);

    CubByte colour(8, 2, 3), colourBack;
    colour.Fill(5);
    EXPECT_EQ(colour.WriteBMP(name.c_str()), 0);
    EXPECT_EQ(colourBack.ReadBMP(name.c_str()), 4); // rows without padding do not load
    EXPECT_EQ(Streamed(folder, "wb", [&](std::FILE* f) { return colour.WriteBMP(f); }), 0);
    EXPECT_EQ(Streamed(folder, "rb", [&](std::FILE* f) { return CubByte().ReadBMP(f); }), 4);

    EXPECT_EQ(grey.ReadBMP((folder / "none.bmp").c_str()), 1);
    EXPECT_EQ(MatByte().WriteBMP(name.c_str()), 3);
}

TEST(Surface, JpegFiles)
{
    TemporaryFolder folder;
    const std::string name = folder / "a.jpg";
    MatByte grey(8, 8);
    grey.Fill(77);
    EXPECT_EQ(grey.WriteJPG(name.c_str(), 85), 0);
    EXPECT_EQ(folder.Read("a.jpg").substr(0, 2), "\xFF\xD8");
    EXPECT_EQ(Streamed(folder, "wb", [&](std::FILE* f) { return grey.WriteJPG(f, 85); }), 0);
    CubByte colour(8, 8, 3);
    colour.Fill(77);
    EXPECT_EQ(colour.WriteJPG(name.c_str(), 85), 0);
    EXPECT_EQ(Streamed(folder, "wb", [&](std::FILE* f) { return colour.WriteJPG(f, 85); }), 0);
    EXPECT_EQ(MatByte().WriteJPG(name.c_str(), 85), 3);
    EXPECT_EQ(CubByte(8, 8, 2).WriteJPG(name.c_str(), 85), 3);
}

TEST(Surface, RawTiffAndImageFiles)
{
    TemporaryFolder folder;
    const std::string name = folder / "a.raw";
    MatByte m(2, 2);
    m.Fill('a');
    static_assert(sameType<decltype(m.WriteRAW(name.c_str(), 0)), void>);
    m.WriteRAW(name.c_str(), 0);
    MatByte back;
    back.ReadRAW(name.c_str(), 1, 3, 1);
    EXPECT_EQ(back(2, 0), 'a');
    EXPECT_EQ(Streamed(folder, "wb", [&](std::FILE* f) { return m.WriteRAW(f, 0), m.WriteTIFF(f), 0; }), 0);
    EXPECT_EQ(Streamed(folder, "rb", [&](std::FILE* f) { return back.ReadRAW(f, 0, 4, 1), 0; }), 0);
    EXPECT_EQ(folder.Read("stream.bmp").substr(4, 2), "MM");
    m.WriteTIFF((folder / "a.tif").c_str());
    EXPECT_EQ(folder.Read("a.tif").size(), 154u + 4 + 16);
    folder.Write("a.img", "image 1*1*8\r\ndata\r\nx");
    MatByte loaded;
    loaded.load_from_image_file((folder / "a.img").c_str());
    EXPECT_EQ(loaded(0, 0), 'x');

    std::FILE* const f = std::tmpfile();
    ASSERT_NE(f, nullptr);
    fwriteSGshort(1, f);
    fwriteSGlong(1, f);
    EXPECT_EQ(std::ftell(f), 6);
    EXPECT_EQ(m.Write(f), 0);
    EXPECT_EQ(std::ftell(f), 6 + 24 + 4);
    std::fclose(f);
}

} // namespace
