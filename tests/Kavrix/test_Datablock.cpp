// Storage blocks: accounting, the list of live blocks, sharing, resizing, assignment through the array base,
// attached buffers, want of memory. Linked with its own malloc in front of the real one, which can refuse.
#include <Kavrix/Kavrix.h>

#include <tests/support/ArrayShapes.h>
#include <tests/support/ChildProcess.h>

#include <gtest/gtest.h>

#include <climits>
#include <memory>
#include <string>
#include <utility>
#include <vector>

// ---------------------------------------------------------------------------------- this program's malloc

namespace {

std::size_t largestPiece = SIZE_MAX; // what is larger is refused
int pieces = 0;                      // how often memory was asked for

} // namespace

extern "C" {
void* __real_malloc(std::size_t size);
void* __wrap_malloc(std::size_t size);
}

void* __wrap_malloc(std::size_t size)
{
    pieces++;
    return size > largestPiece ? nullptr : __real_malloc(size);
}

namespace {

const std::string noMemory = ErrorLine("Datablock::create: Not enough memory");

void ExpectHalt(const std::string& line, const std::function<void()>& routine, const std::string& what = "")
{
    const FailStop stop = RunUntilHalt(routine);
    EXPECT_TRUE(stop.halted) << what << ": " << stop.state;
    EXPECT_EQ(stop.line, line) << what;
}

/// The figures of the class, to see what they changed by.
struct Account {
    unsigned mem = Datablock::mem;
    int nblocks = Datablock::nblocks;

    long long Bytes() const { return static_cast<long long>(Datablock::memUsed()) - mem; }
    int Blocks() const { return Datablock::nblocks - nblocks; }
};

/// The list of live blocks from its first, after its links backwards were found to fit.
std::vector<Datablock*> List()
{
    std::vector<Datablock*> list;
    Datablock* before = nullptr;
    for (Datablock* b = Datablock::first; b; b = b->next) {
        EXPECT_EQ(b->prev, before);
        before = b;
        list.push_back(b);
    }
    EXPECT_EQ(Datablock::last, before);
    EXPECT_EQ(static_cast<int>(list.size()), Datablock::nblocks);
    return list;
}

void ExpectShape(const KX_Base& a, int d1, int d2, int d3)
{
    EXPECT_EQ(a.dim1, d1);
    EXPECT_EQ(a.dim2, d2);
    EXPECT_EQ(a.dim3, d3);
}

void ExpectDense(const KX_Base& a, int d1, int d2, int d3)
{
    ExpectShape(a, d1, d2, d3);
    EXPECT_EQ(a.step1, 1);
    EXPECT_EQ(a.step2, d1);
    EXPECT_EQ(a.step3, d1 * d2);
    EXPECT_EQ(a.p_data, a.pblock ? a.pblock->ptr : nullptr);
}

// ---------------------------------------------------------------------------------- blocks

TEST(Datablock, CreateGivesOneReferenceAndTheFields)
{
    Datablock* const b = Datablock::create(nullptr, 2, 100);
    EXPECT_EQ(b->nrefs, 1);
    EXPECT_EQ(b->len, 100);
    EXPECT_EQ(b->itemsize, 2);
    EXPECT_EQ(b->ptr, b + 1); // the elements lie behind the header, in the same piece
    Datablock::releaseRef(nullptr, b);
}

TEST(Datablock, HeaderAndElementsAreOnePiece)
{
    const int before = pieces;
    Datablock* const b = Datablock::create(nullptr, 4, 1000);
    EXPECT_EQ(pieces, before + 1);
    Datablock::releaseRef(nullptr, b);
}

TEST(Datablock, AllOfTheStorageCanBeWritten)
{
    for (int len : {0, 1, 7, 1000}) {
        Datablock* const b = Datablock::create(nullptr, 4, len);
        int* const p = static_cast<int*>(b->ptr);
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(p) % alignof(int), 0u);
        for (int i = 0; i < len; i++) p[i] = i;
        EXPECT_EQ(b->len, len);
        Datablock::releaseRef(nullptr, b);
    }
}

TEST(Datablock, AccountsForElementsAndTwentyBytes)
{
    for (unsigned short itemsize : {1, 2, 4}) {
        const Account account;
        Datablock* const b = Datablock::create(nullptr, itemsize, 333);
        EXPECT_EQ(account.Bytes(), 333 * itemsize + 20);
        EXPECT_EQ(account.Blocks(), 1);
        Datablock::releaseRef(nullptr, b);
        EXPECT_EQ(account.Bytes(), 0);
        EXPECT_EQ(account.Blocks(), 0);
    }
}

TEST(Datablock, AnImageOf640By480BytesTakes307220)
{
    const Account account;
    {
        const MatByte image(640, 480);
        EXPECT_EQ(account.Bytes(), 307220);
        EXPECT_EQ(account.Blocks(), 1);
        const MatByte copy = image;
        const VecByte row = image(RNG::All(), 7);
        EXPECT_EQ(account.Bytes(), 307220);
        EXPECT_EQ(account.Blocks(), 1);
    }
    EXPECT_EQ(account.Bytes(), 0);
    EXPECT_EQ(account.Blocks(), 0);
    EXPECT_EQ(Datablock::mem, Datablock::memUsed());
    EXPECT_EQ(Datablock::maxMem, Datablock::maxMemUsed());
}

TEST(Datablock, PeakIsKept)
{
    const unsigned peak = Datablock::maxMemUsed() + 100;
    {
        const VecByte a(static_cast<int>(peak - Datablock::memUsed() - 20));
        EXPECT_EQ(Datablock::memUsed(), peak);
        EXPECT_EQ(Datablock::maxMemUsed(), peak);
    }
    EXPECT_LT(Datablock::memUsed(), peak);
    EXPECT_EQ(Datablock::maxMemUsed(), peak);
    const VecByte small(1);
    EXPECT_EQ(Datablock::maxMemUsed(), peak);
}

TEST(Datablock, ReferencesAreCounted)
{
    const Account account;
    Datablock* const b = Datablock::create(nullptr, 1, 5);
    Datablock::addRef(nullptr, b);
    Datablock::addRef(nullptr, b);
    EXPECT_EQ(b->nrefs, 3);
    Datablock::releaseRef(nullptr, b);
    Datablock::releaseRef(nullptr, b);
    EXPECT_EQ(b->nrefs, 1);
    EXPECT_EQ(account.Blocks(), 1);
    Datablock::releaseRef(nullptr, b);
    EXPECT_EQ(account.Blocks(), 0);
}

TEST(Datablock, NullBlocksAreIgnored)
{
    const Account account;
    Datablock::addRef(nullptr, nullptr);
    Datablock::releaseRef(nullptr, nullptr);
    EXPECT_EQ(account.Bytes(), 0);
    EXPECT_EQ(account.Blocks(), 0);
}

TEST(Datablock, ListIsInOrderOfCreation)
{
    const std::vector<Datablock*> before = List();
    const MatShort a(2, 2);
    const VecInt b(3);
    const CubByte c(2, 2, 2);
    const MatShort second = a; // a view adds nothing
    std::vector<Datablock*> expected = before;
    expected.insert(expected.end(), {a.pblock, b.pblock, c.pblock});
    EXPECT_EQ(List(), expected);
    EXPECT_EQ(Datablock::last, c.pblock);
}

TEST(Datablock, UnlinksFirstMiddleAndLast)
{
    ASSERT_EQ(Datablock::first, nullptr);
    for (int gone = 0; gone < 4; gone++) {
        std::vector<Datablock*> blocks;
        for (int i = 0; i < 4; i++) blocks.push_back(Datablock::create(nullptr, 1, i));
        EXPECT_EQ(List(), blocks);
        Datablock::releaseRef(nullptr, blocks[gone]);
        blocks.erase(blocks.begin() + gone);
        EXPECT_EQ(List(), blocks);
        // A new one comes last, wherever the gap was.
        blocks.push_back(Datablock::create(nullptr, 1, 9));
        EXPECT_EQ(List(), blocks);
        for (Datablock* b : blocks) Datablock::releaseRef(nullptr, b);
        EXPECT_EQ(Datablock::first, nullptr);
        EXPECT_EQ(Datablock::last, nullptr);
    }
}

TEST(Datablock, ABlockAloneIsFirstAndLast)
{
    ASSERT_EQ(Datablock::first, nullptr);
    {
        const VecByte v(3);
        EXPECT_EQ(Datablock::first, v.pblock);
        EXPECT_EQ(Datablock::last, v.pblock);
        EXPECT_EQ(v.pblock->prev, nullptr);
        EXPECT_EQ(v.pblock->next, nullptr);
    }
    EXPECT_EQ(Datablock::first, nullptr);
    EXPECT_EQ(Datablock::last, nullptr);
    EXPECT_EQ(Datablock::memUsed(), 0u);
    EXPECT_EQ(Datablock::nblocks, 0);
}

// ---------------------------------------------------------------------------------- sharing

TEST(KX_Base, StartsAllZero)
{
    const KX_Base a;
    ExpectShape(a, 0, 0, 0);
    EXPECT_EQ(a.p_data, nullptr);
    EXPECT_EQ(a.pblock, nullptr);
    EXPECT_EQ(a.step1, 0);
    EXPECT_EQ(a.step2, 0);
    EXPECT_EQ(a.step3, 0);
    EXPECT_EQ(a.poolObjType, 0);
    for (char c : a.myName) EXPECT_EQ(c, 0);
    EXPECT_EQ(std::size(a.myName), 13u);
}

TEST(KX_Base, DataPointersAreOneAddress)
{
    MatShort m(2, 2);
    EXPECT_EQ(static_cast<void*>(m.p_B_data), m.p_data);
    EXPECT_EQ(static_cast<void*>(m.p_s_data), m.p_data);
    EXPECT_EQ(static_cast<void*>(m.p_i_data), m.p_data);
    EXPECT_EQ(static_cast<void*>(m.p_f_data), m.p_data);
}

TEST(KX_Base, CopyTakesEveryFieldAndShares)
{
    MatShort m(4, 3);
    m.poolObjType = 'q';
    std::snprintf(m.myName, sizeof m.myName, "twelve chars");
    const KX_Base part = m(RNG(3, 1, -1), RNG(0, 2, 2));
    const KX_Base copy = part;
    EXPECT_EQ(copy.p_data, part.p_data);
    EXPECT_EQ(copy.pblock, m.pblock);
    EXPECT_EQ(copy.step1, -1);
    EXPECT_EQ(copy.step2, 8);
    EXPECT_EQ(copy.step3, part.step3);
    ExpectShape(copy, 3, 2, 1);
    EXPECT_EQ(m.pblock->nrefs, 3);

    const KX_Base named = m;
    EXPECT_EQ(named.poolObjType, 'q');
    EXPECT_STREQ(named.myName, "twelve chars");
}

TEST(KX_Base, CopyOfAnEmptyArrayIsEmpty)
{
    const Account account;
    const MatShort m;
    const MatShort copy = m;
    EXPECT_EQ(copy.pblock, nullptr);
    ExpectShape(copy, 0, 1, 1);
    EXPECT_EQ(account.Blocks(), 0);
}

TEST(KX_Base, WritingThroughACopyChangesTheFirst)
{
    MatInt m(2, 2);
    m.Fill(5);
    MatInt copy = m;
    copy(1, 1) = 8;
    EXPECT_EQ(m(1, 1), 8);
    EXPECT_EQ(m(0, 1), 5);
}

TEST(KX_Base, ABlockLivesAsLongAsItsLastArray)
{
    const Account account;
    {
        auto image = std::make_unique<MatShort>(10, 10);
        image->Fill(3);
        auto row = std::make_unique<VecShort>((*image)(RNG::All(), 9));
        const MatShort copy = *image;
        EXPECT_EQ(copy.pblock->nrefs, 3);
        image.reset(); // the one that was there first goes first
        EXPECT_EQ(copy.pblock->nrefs, 2);
        EXPECT_EQ((*row)(9), 3);
        row.reset();
        EXPECT_EQ(copy.pblock->nrefs, 1);
        EXPECT_EQ(copy(9, 9), 3);
        EXPECT_EQ(account.Blocks(), 1);
    }
    EXPECT_EQ(account.Blocks(), 0);
    EXPECT_EQ(account.Bytes(), 0);
}

TEST(KX_Base, CopyOfACubeLeavesTheFirstWithOneReference)
{
    CubByte c(4, 3, 2);
    c.Fill(9);
    {
        const CubByte copy = c;
        EXPECT_EQ(c.pblock->nrefs, 2);
        EXPECT_EQ(copy.pblock, c.pblock);
    }
    EXPECT_EQ(c.pblock->nrefs, 1);
    EXPECT_EQ(c(3, 2, 1), 9);
}

TEST(KX_Base, ViewsAskForNoMemory)
{
    const CubShort c(4, 4, 4);
    const int before = pieces;
    {
        const CubShort copy = c;
        const MatShort frame = c(RNG::All(), RNG::All(), 2);
        const VecShort column = frame(1, RNG(0, 3, 2));
        const MatShort back = column;
    }
    EXPECT_EQ(pieces, before);
}

TEST(KX_Base, SharedBy65535ArraysAndNoMore)
{
    const MatByte m(1, 1);
    std::vector<MatByte> views(65534, m); // each a view
    EXPECT_EQ(m.pblock->nrefs, 65535);
    ExpectHalt(
        ErrorLine("Datablock::addRef: Too many references"), [&] { MatByte oneMore = m; }, "copy");
    ExpectHalt(
        ErrorLine("Datablock::addRef: Too many references"), [&] { m(RNG::All(), 0); }, "row");
    views.pop_back();
    {
        const MatByte again = m;
        EXPECT_EQ(m.pblock->nrefs, 65535);
    }
    views.clear();
    EXPECT_EQ(m.pblock->nrefs, 1);
}

// ---------------------------------------------------------------------------------- resizing

TEST(Resize, SameElementCountKeepsTheBlock)
{
    MatShort m(10, 10);
    Number<short>(m);
    const Datablock* const block = m.pblock;
    const Account account;
    m.Resize(20, 5);
    EXPECT_EQ(m.pblock, block);
    ExpectDense(m, 20, 5, 1);
    EXPECT_EQ(account.Bytes(), 0);
    for (int i = 0; i < 100; i++) EXPECT_EQ(BlockOf<short>(m)[i], i); // contents unchanged
    EXPECT_EQ(m(19, 4), 99);
}

TEST(Resize, OtherElementCountReplacesTheBlock)
{
    MatShort m(10, 10);
    const Account account;
    const int before = pieces;
    m.Resize(20, 10);
    EXPECT_EQ(pieces, before + 1);
    ExpectDense(m, 20, 10, 1);
    EXPECT_EQ(m.pblock->len, 200);
    EXPECT_EQ(m.pblock->itemsize, 2);
    EXPECT_EQ(m.pblock->nrefs, 1);
    EXPECT_EQ(account.Bytes(), 200);
    EXPECT_EQ(account.Blocks(), 0);
}

TEST(Resize, ReleasesTheOldBlockBeforeItAsksForTheNew)
{
    MatByte m(1000, 1);
    const unsigned mem = Datablock::memUsed();
    Datablock::maxMem = mem;
    m.Resize(900, 1);
    EXPECT_EQ(Datablock::maxMemUsed(), mem);
    EXPECT_EQ(Datablock::memUsed(), mem - 100);
}

TEST(Resize, ToTheSameShapeDoesNothingEvenWhenShared)
{
    MatShort m(6, 4);
    MatShort part = m(RNG(4, 0, -2), RNG(1, 3, 2));
    short* const data = part.p_s_data;
    part.Resize(3, 2);
    EXPECT_EQ(part.p_s_data, data);
    EXPECT_EQ(part.step1, -2);
    EXPECT_EQ(part.step2, 12);
    EXPECT_EQ(part.pblock, m.pblock);
    m.Resize(6, 4);
    EXPECT_EQ(m.pblock->nrefs, 2);
}

TEST(Resize, ToTheSameShapeKeepsAViewThatIsAlone)
{
    MatShort part = [] {
        const MatShort m(6, 4);
        Number<short>(m);
        return m(RNG(5, 3, -1), RNG(1, 2));
    }();
    ASSERT_EQ(part.pblock->nrefs, 1);
    part.Resize(3, 2);
    EXPECT_EQ(part.step1, -1);
    EXPECT_EQ(Values<short>(part), (std::vector<short>{11, 10, 9, 17, 16, 15}));
    // Any other shape makes it dense again, from the block's first element on.
    part.Resize(4, 6);
    ExpectDense(part, 4, 6, 1);
    EXPECT_EQ(part(0, 0), 0);
    EXPECT_EQ(part(3, 5), 23);
}

TEST(Resize, SharedStorageHalts)
{
    ExpectHalt(ErrorLine("Resize_ubyte: Object cannot be resized, data are referenced by another object"),
               [] {
                   MatByte m(2, 2), other = m;
                   m.Resize(2, 3);
               });
    ExpectHalt(ErrorLine("Resize_short: Object cannot be resized, data are referenced by another object"),
               [] {
                   MatShort m(2, 2), other = m;
                   other.Resize(4, 1); // the same number of elements is another shape as well
               });
    ExpectHalt(ErrorLine("Resize_int: Object cannot be resized, data are referenced by another object"), [] {
        MatInt m(2, 2);
        VecInt row = m(RNG::All(), 0);
        row.Resize(4);
    });
    ExpectHalt(ErrorLine("Resize_float: Object cannot be resized, data are referenced by another object"),
               [] {
                   VecFloat v(3), other = v;
                   v.Resize(0);
               });
}

TEST(Resize, EmptyToAShapeGetsStorage)
{
    const Account account;
    {
        CubShort c;
        c.Resize(4, 3, 2);
        ExpectDense(c, 4, 3, 2);
        EXPECT_EQ(c.pblock->len, 24);
        EXPECT_EQ(c.pblock->itemsize, 2);
        EXPECT_EQ(account.Bytes(), 24 * 2 + 20);
    }
    EXPECT_EQ(account.Bytes(), 0);
}

TEST(Resize, EmptyToASizeBelowOneGetsNoStorage)
{
    const int shapes[][3] = {{0, 4, 5},  {4, 0, 5},  {4, 5, 0},  {0, 0, 0},
                             {-1, 4, 5}, {4, -2, 5}, {4, 5, -3}, {-1, -1, 1}};
    const Account account;
    for (const auto& s : shapes) {
        MatShort m;
        m.Resize(s[0], s[1], s[2]);
        EXPECT_EQ(m.pblock, nullptr);
        ExpectDense(m, s[0], s[1], s[2]);
    }
    EXPECT_EQ(account.Blocks(), 0);
}

TEST(Resize, OwnerToAnEmptyPlaneLosesItsStorage)
{
    for (bool width : {true, false}) {
        const Account account;
        MatShort m(3, 3);
        if (width) m.Resize(0, 7);
        else m.Resize(7, 0);
        EXPECT_EQ(m.pblock, nullptr);
        EXPECT_EQ(m.p_data, nullptr);
        ExpectDense(m, width ? 0 : 7, width ? 7 : 0, 1);
        EXPECT_EQ(account.Bytes(), 0);
        m.Resize(2, 2); // and gets it back
        EXPECT_EQ(m.pblock->len, 4);
    }
}

TEST(Resize, OwnerToNoFramesKeepsABlockOfNoElements)
{
    const Account account;
    CubByte c(3, 3, 3);
    c.Resize(3, 3, 0);
    ASSERT_NE(c.pblock, nullptr);
    EXPECT_EQ(c.pblock->len, 0);
    ExpectDense(c, 3, 3, 0);
    EXPECT_EQ(account.Bytes(), 20);
    EXPECT_EQ(account.Blocks(), 1);
}

TEST(Resize, EachTypeHasItsWidth)
{
    KX_Base a;
    a.Resize_ubyte(5, 1, 1);
    EXPECT_EQ(a.pblock->itemsize, 1);
    a.Resize_short(6, 1, 1);
    EXPECT_EQ(a.pblock->itemsize, 2);
    a.Resize_int(7, 1, 1);
    EXPECT_EQ(a.pblock->itemsize, 4);
    a.Resize_ubyte(8, 1, 1);
    EXPECT_EQ(a.pblock->itemsize, 1);
    a.Resize_float(9, 1, 1);
    EXPECT_EQ(a.pblock->itemsize, 4);
    EXPECT_EQ(a.pblock->len, 9);
    // Where the block is kept its width is not looked at.
    a.Resize_ubyte(3, 3, 1);
    EXPECT_EQ(a.pblock->itemsize, 4);
}

TYPED_TEST_SUITE(ResizeOf, AllElements);
template <class T> class ResizeOf : public ::testing::Test {
};

TYPED_TEST(ResizeOf, MissingSizesAreOne)
{
    ElemOf<TypeParam> a;
    a.Resize(5);
    ExpectDense(a, 5, 1, 1);
    a.Resize(4, 3);
    ExpectDense(a, 4, 3, 1);
    a.Resize(2, 3, 4);
    ExpectDense(a, 2, 3, 4);
    EXPECT_EQ(a.pblock->itemsize, sizeof(TypeParam));
    EXPECT_EQ(a.pblock->len, 24);
}

TYPED_TEST(ResizeOf, TakesTheSizesOfAnother)
{
    MatOf<TypeParam> m;
    const MatOf<TypeParam> other(7, 5);
    m.Resize(other);
    ExpectDense(m, 7, 5, 1);
    EXPECT_NE(m.pblock, other.pblock);
    EXPECT_EQ(m.pblock->itemsize, sizeof(TypeParam));

    VecOf<TypeParam> v(2);
    v.Resize(VecOf<TypeParam>(9));
    ExpectDense(v, 9, 1, 1);
    v.Resize(other(RNG(0, 6, 3), RNG(4, 0, -2))); // of a view: its sizes, not its steps
    ExpectDense(v, 3, 3, 1);
}

// ---------------------------------------------------------------------------------- assignment by the base

TEST(KX_BaseAssignment, ToAnEmptyArrayTakesShapeAndWidthOfTheSource)
{
    KX_Base bytes, shorts, ints, floats;
    MatByte b(3, 2);
    Number<UBYTE>(b);
    bytes = b;
    EXPECT_EQ(bytes.pblock->itemsize, 1);
    EXPECT_NE(bytes.pblock, b.pblock);
    EXPECT_EQ(Values<UBYTE>(bytes), Values<UBYTE>(b));

    CubShort s(3, 2, 2);
    Number<short>(s);
    shorts = s;
    EXPECT_EQ(shorts.pblock->itemsize, 2);
    ExpectDense(shorts, 3, 2, 2);
    EXPECT_EQ(Values<short>(shorts), Values<short>(s));

    VecInt i(1, -2, INT_MIN);
    ints = i;
    EXPECT_EQ(ints.pblock->itemsize, 4);
    EXPECT_EQ(Values<int>(ints), (std::vector<int>{1, -2, INT_MIN}));

    VecFloat f(0.1f, -0.0f, INFINITY);
    floats = f;
    EXPECT_TRUE(Equal(Values<float>(floats), {0.1f, -0.0f, INFINITY}));
}

TEST(KX_BaseAssignment, WritesThroughViewsWithTheirOwnSteps)
{
    MatShort image(5, 4), source(3, 2);
    image.Fill(-1);
    Number<short>(source);
    KX_Base part = image(RNG(4, 0, -2), RNG(1, 2));
    KX_Base& assigned = part = source;
    EXPECT_EQ(&assigned, &part);
    EXPECT_EQ(part.pblock, image.pblock);
    EXPECT_EQ(Values<short>(image), (std::vector<short>{-1, -1, -1, -1, -1, 2,  -1, 1,  -1, 0, //
                                                        5,  -1, 4,  -1, 3,  -1, -1, -1, -1, -1}));
}

TEST(KX_BaseAssignment, RunsOverTheDestinationsShape)
{
    MatByte source(4, 4), small(2, 2);
    Number<UBYTE>(source);
    static_cast<KX_Base&>(small) = source;
    ExpectDense(small, 2, 2, 1);
    EXPECT_EQ(Values<UBYTE>(small), (std::vector<UBYTE>{0, 1, 4, 5}));
}

TEST(KX_BaseAssignment, ElementWidthIsFourWhereTheSourcesIsAndElseTheDestinations)
{
    VecShort shorts(1, 2, 3, 4);
    KX_Base half = shorts(RNG(0, 1));
    const VecInt ints(0x00050005, -1);
    half = ints; // two ints over the four shorts
    EXPECT_EQ(Values<short>(shorts), (std::vector<short>{5, 5, -1, -1}));

    VecByte bytes(7, 7, 8, 8);
    VecShort pair(0, 0);
    static_cast<KX_Base&>(pair) = bytes; // two shorts out of the four bytes
    EXPECT_EQ(Values<short>(pair), (std::vector<short>{0x0707, 0x0808}));
}

TEST(KX_BaseAssignment, FloatsKeepEveryBit)
{
    VecFloat a(2), b(2);
    b(0) = std::bit_cast<float>(0x7FA00001u); // a signalling "not a number"
    b(1) = std::bit_cast<float>(0x80000001u);
    static_cast<KX_Base&>(a) = b;
    EXPECT_EQ(a.p_i_data[0], 0x7FA00001);
    EXPECT_EQ(a.p_i_data[1], INT_MIN + 1);
}

TEST(KX_BaseAssignment, FromAnEmptyArrayChangesNothing)
{
    VecInt v(1, 2, 3);
    const KX_Base empty;
    static_cast<KX_Base&>(v) = empty;
    ExpectDense(v, 3, 1, 1);
    EXPECT_EQ(v(2), 3);
    KX_Base other;
    other = empty;
    EXPECT_EQ(other.pblock, nullptr);
}

// ---------------------------------------------------------------------------------- attached buffers

TEST(Attach, MakesTheCallersBytesAMatrix)
{
    UBYTE buffer[] = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 99};
    const Account account;
    {
        MatByte m;
        m.Attach_to_raw_image(buffer, 4, 3);
        EXPECT_EQ(account.Bytes(), 20);
        EXPECT_EQ(account.Blocks(), 1);
        EXPECT_EQ(m.p_B_data, buffer);
        EXPECT_EQ(m.pblock->ptr, buffer);
        EXPECT_EQ(m.pblock->len, 0);
        EXPECT_EQ(m.pblock->itemsize, 1);
        ExpectShape(m, 4, 3, 1);
        EXPECT_EQ(m.step1, 1);
        EXPECT_EQ(m.step2, 4);
        EXPECT_EQ(m(3, 2), 11);
        m(1, 1) = 50;
        m(RNG(2, 3), RNG(0, 1)).Fill(60);
        EXPECT_EQ(m.pblock->nrefs, 1);
    } // the buffer is not freed
    EXPECT_EQ(account.Bytes(), 0);
    EXPECT_EQ(std::vector<UBYTE>(buffer, buffer + 13),
              (std::vector<UBYTE>{0, 1, 60, 60, 4, 50, 60, 60, 8, 9, 10, 11, 99}));
}

TEST(Attach, MakesTheCallersShortsAMatrix)
{
    short buffer[] = {0, -1, 2, -3, 4, -5};
    MatShort m;
    m.Attach_to_raw_image(buffer, 2, 3);
    EXPECT_EQ(m.p_s_data, buffer);
    EXPECT_EQ(m.pblock->itemsize, 2);
    m += short(10);
    EXPECT_EQ(std::vector<short>(buffer, buffer + 6), (std::vector<short>{10, 9, 12, 7, 14, 5}));
}

TEST(Attach, DetachingLeavesAnEmptyMatrixAndTheBuffer)
{
    short buffer[] = {1, 2, 3, 4};
    const Account account;
    MatShort m;
    m.Attach_to_raw_image(buffer, 2, 2);
    m.Detach_from_raw_image();
    EXPECT_EQ(m.pblock, nullptr);
    EXPECT_EQ(m.p_data, nullptr);
    EXPECT_EQ(m.dim1, 0);
    EXPECT_EQ(m.dim2, 0);
    EXPECT_EQ(account.Bytes(), 0);
    EXPECT_EQ(account.Blocks(), 0);
    EXPECT_EQ(buffer[3], 4);
    m.Attach_to_raw_image(buffer, 4, 1); // and again
    EXPECT_EQ(m(3, 0), 4);
    MatByte b;
    b.Detach_from_raw_image(); // of nothing
    EXPECT_EQ(b.pblock, nullptr);
}

TEST(Attach, OtherViewsKeepTheBufferAfterDetaching)
{
    UBYTE buffer[] = {1, 2, 3, 4};
    MatByte m;
    m.Attach_to_raw_image(buffer, 2, 2);
    const VecByte row = m(RNG::All(), 1);
    m.Detach_from_raw_image();
    EXPECT_EQ(row.p_B_data, buffer + 2);
    EXPECT_EQ(row(1), 4);
    EXPECT_EQ(row.pblock->nrefs, 1);
}

TEST(Attach, AnArrayWithABlockHalts)
{
    const std::string attached = ErrorLine("Error: Already attached to data");
    ExpectHalt(attached, [] {
        UBYTE buffer[4];
        MatByte m(2, 2);
        m.Attach_to_raw_image(buffer, 2, 2);
    });
    ExpectHalt(attached, [] {
        short buffer[4];
        MatShort m;
        m.Attach_to_raw_image(buffer, 2, 2);
        m.Attach_to_raw_image(buffer, 2, 2);
    });
}

TEST(Attach, ResizingDropsTheBufferForOwnStorage)
{
    UBYTE buffer[] = {1, 2, 3, 4};
    const Account account;
    {
        MatByte m;
        m.Attach_to_raw_image(buffer, 2, 2);
        m.Resize(2, 2); // its own shape: nothing happens
        EXPECT_EQ(m.p_B_data, buffer);
        m.Resize(3, 2);
        EXPECT_NE(m.p_B_data, buffer);
        ExpectDense(m, 3, 2, 1);
        EXPECT_EQ(account.Bytes(), 26);
        m.Fill(7);
    }
    EXPECT_EQ(buffer[0], 1);
    EXPECT_EQ(account.Bytes(), 0);
}

// ---------------------------------------------------------------------------------- want of memory

TEST(WantOfMemory, HaltsWhereverStorageIsMade)
{
    const std::pair<const char*, std::function<void()>> requests[] = {
        {"block", [] { Datablock::create(nullptr, 1, 100000); }},
        {"vector", [] { VecFloat v(25000); }},
        {"matrix", [] { MatShort m(500, 100); }},
        {"cube", [] { CubByte c(100, 100, 10); }},
        {"resize", [] { MatInt().Resize(500, 50); }},
        {"sum", [] { MatByte(1, 1)(RNG(0, 99999, 1), RNG(0, 0)) + UBYTE(1); }},
        {"conversion",
         [] {
             const MatByte b(300, 200);
             MatShort s;
             Convert(b, s);
         }},
    };
    for (const auto& [what, request] : requests) {
        const auto& ask = request;
        ExpectHalt(
            noMemory,
            [&ask] {
                largestPiece = 90000;
                ask();
            },
            what);
    }
}

TEST(WantOfMemory, NothingIsAccountedForAPieceThatWasRefused)
{
    const FailStop stop = RunUntilHalt([] {
        Trace name("who asked");
        largestPiece = 100;
        MatByte m(30, 1); // fits
        MatByte n(30, 10);
    });
    EXPECT_TRUE(stop.halted) << stop.state;
    EXPECT_EQ(stop.err, ErrorLine("Datablock::create: Not enough memory", " 0:who asked") + "\n");
}

TEST(WantOfMemory, SizesThatNoBlockCanHaveHalt)
{
    const std::pair<const char*, std::function<void()>> requests[] = {
        {"negative length", [] { Datablock::create(nullptr, 1, -1); }},
        {"lowest length", [] { Datablock::create(nullptr, 4, INT_MIN); }},
        {"10^10 ints", [] { MatInt m(100000, 100000); }},
        {"2^32 bytes, 0 in 32 bits", [] { MatByte m(65536, 65536); }},
        {"2^31 bytes", [] { MatByte m(65536, 32768); }},
        {"2^64 bytes, 0 in 64 bits", [] { CubByte c(1 << 22, 1 << 22, 1 << 20); }},
        {"2^93 bytes", [] { CubByte c(INT_MAX, INT_MAX, INT_MAX); }},
        {"-2^93 bytes", [] { CubByte c(INT_MIN, INT_MIN, INT_MIN); }},
        {"negative vector", [] { VecShort v(-1); }},
        {"negative width", [] { MatShort m(-3, 5); }},
        {"negative height", [] { MatShort m(3, -5); }},
        {"negative number of frames", [] { CubFloat c(3, 5, -1); }},
        {"AOI of everything", [] { MatByte m{AOI(RNG(0, 99999), RNG(0, 99999))}; }},
        {"resized too far", [] { MatInt(2, 2).Resize(100000, 100000); }},
        {"resized too far from empty", [] { MatInt().Resize(100000, 100000); }},
        {"resized below zero", [] { MatInt(2, 2).Resize(-1, 5); }},
    };
    for (const auto& [what, request] : requests) ExpectHalt(noMemory, request, what);
}

TEST(WantOfMemory, LargestByteCountsAreNotWrapped)
{
    // Just 2^31 - 1 elements of 4 bytes: as a 32-bit number of bytes that would be -4.
    ExpectHalt(noMemory, [] {
        largestPiece = 1u << 30;
        VecInt v(INT_MAX);
    });
    ExpectHalt(noMemory, [] {
        largestPiece = 1u << 30;
        VecInt v(1 << 30); // 2^32 bytes, 0 in 32 bits
    });
}

} // namespace
