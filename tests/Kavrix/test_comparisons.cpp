// Comparisons and logical operators: those of the element classes of bytes, of the short and byte matrices,
// of the byte cube. The ordering of byte matrices reads them as the short ones are read; that is settled.
#include <Kavrix/Kavrix.h>

#include <tests/support/ArrayShapes.h>

#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <functional>
#include <utility>
#include <vector>

namespace {

const RNG all(0, 2147483647);

template <class A, class B>
concept CanBeAtLeast = requires(A& a, B& b)
{
    a >= b;
};
template <class A, class B>
concept CanBeAtMost = requires(A& a, B& b)
{
    a <= b;
};

bool IsNewMatrix(const MatByte& r, const KX_Base& left)
{
    return r.pblock && r.pblock != left.pblock && r.pblock->nrefs == 1 && r.pblock->itemsize == 1 &&
           r.dim1 == left.dim1 && r.dim2 == left.dim2 && r.dim3 == 1 && r.step1 == 1 && r.step2 == r.dim1 &&
           r.pblock->len == r.dim1 * r.dim2;
}

// ---------------------------------------------------------------------------------- short matrices

struct ShortRule {
    const char* name;
    MatByte (*made)(const MatShort&, const MatShort&);
    bool (*holds)(short, short);
};

const ShortRule shortRules[] = {
    {"==", [](const MatShort& a, const MatShort& b) { return a == b; },
     [](short p, short q) { return p == q; }},
    {"!=", [](const MatShort& a, const MatShort& b) { return a != b; },
     [](short p, short q) { return p != q; }},
    {">", [](const MatShort& a, const MatShort& b) { return a > b; }, [](short p, short q) { return p > q; }},
    {"<", [](const MatShort& a, const MatShort& b) { return a < b; }, [](short p, short q) { return p < q; }},
    {">=", [](const MatShort& a, const MatShort& b) { return a >= b; },
     [](short p, short q) { return p >= q; }},
    {"<=", [](const MatShort& a, const MatShort& b) { return a <= b; },
     [](short p, short q) { return p <= q; }},
    {"&&", [](const MatShort& a, const MatShort& b) { return a && b; },
     [](short p, short q) { return p && q; }},
    {"||", [](const MatShort& a, const MatShort& b) { return a || b; },
     [](short p, short q) { return p || q; }},
    {"!", [](const MatShort& a, const MatShort&) { return !a; }, [](short p, short) { return p == 0; }},
};

TEST(MatShort, ComparisonsGive255And0)
{
    Random random(31);
    // Few values, so that equal ones and zeros are common.
    const short values[] = {-32768, -256, -1, 0, 0, 1, 255, 256, 32767};
    for (const ShortRule& rule : shortRules) {
        for (int l = 0; l < layoutCount; l++) {
            for (int w = 1; w <= 70; w++) {
                const int h = 1 + w % 3, r = (l + w) % layoutCount;
                Sample<short> a(layouts[l], w, h, random), b(layouts[r], w, h, random);
                std::vector<UBYTE> expected;
                for (int y = 0; y < h; y++) {
                    for (int x = 0; x < w; x++) {
                        const short p = a.view(x, y) = values[random.Below(9)];
                        const short q = b.view(x, y) = values[random.Below(9)];
                        expected.push_back(rule.holds(p, q) ? 255 : 0);
                    }
                }
                const std::vector<short> left = a.Storage(), right = b.Storage();
                const MatByte result = rule.made(a.view, b.view);
                ASSERT_TRUE(IsNewMatrix(result, a.view)) << rule.name;
                ASSERT_TRUE(Equal(expected, Values<UBYTE>(result))) << rule.name << ", width " << w;
                ASSERT_TRUE(Equal(left, a.Storage())) << rule.name;
                ASSERT_TRUE(Equal(right, b.Storage())) << rule.name;
            }
        }
    }
}

TEST(MatShort, EqualElementsYield255)
{
    MatShort a(2, 1), b(2, 1);
    a(0, 0) = 7, a(1, 0) = -7;
    b(0, 0) = 7, b(1, 0) = 7;
    EXPECT_EQ(Values<UBYTE>(a == b), (std::vector<UBYTE>{255, 0}));
    EXPECT_EQ(Values<UBYTE>(a != b), (std::vector<UBYTE>{0, 255}));
}

TEST(MatShort, LogicalOperatorsYield255And0)
{
    MatShort a(4, 1), b(4, 1);
    const short p[] = {0, 0, -1, 256}, q[] = {0, 5, 0, -32768};
    a.ImportData(p);
    b.ImportData(q);
    EXPECT_EQ(Values<UBYTE>(a && b), (std::vector<UBYTE>{0, 0, 0, 255}));
    EXPECT_EQ(Values<UBYTE>(a || b), (std::vector<UBYTE>{0, 255, 255, 255}));
    EXPECT_EQ(Values<UBYTE>(!a), (std::vector<UBYTE>{255, 255, 0, 0}));
}

TEST(MatShort, ComparisonHasTheLeftShapeAndReadsTheRightOneThere)
{
    MatShort a(2, 2), b(4, 3);
    Number<short>(a); // 0 1 / 2 3
    Number<short>(b); // 0 1 2 3 / 4 5
    EXPECT_EQ(Values<UBYTE>(a == b), (std::vector<UBYTE>{255, 255, 0, 0}));
    const MatShort corner = b(RNG(0, 0), RNG(0, 0)); // read beyond its extent
    EXPECT_EQ(Values<UBYTE>(a < corner), (std::vector<UBYTE>{0, 0, 255, 255}));
    EXPECT_EQ((corner >= a).dim1, 1);
}

// ---------------------------------------------------------------------------------- byte matrices

TEST(MatByte, EqualityGives1And0)
{
    Random random(32);
    for (int l = 0; l < layoutCount; l++) {
        for (int w = 1; w <= 70; w++) {
            const int h = 1 + w % 3, r = (l + w) % layoutCount;
            Sample<UBYTE> a(layouts[l], w, h, random), b(layouts[r], w, h, random);
            std::vector<UBYTE> equal, differ;
            for (int y = 0; y < h; y++) {
                for (int x = 0; x < w; x++) {
                    if (random.Below(2)) a.view(x, y) = b.view(x, y);
                    equal.push_back(a.view(x, y) == b.view(x, y) ? 1 : 0);
                    differ.push_back(a.view(x, y) == b.view(x, y) ? 0 : 1);
                }
            }
            const MatByte e = a.view == b.view, d = a.view != b.view;
            ASSERT_TRUE(IsNewMatrix(e, a.view));
            ASSERT_TRUE(IsNewMatrix(d, a.view));
            ASSERT_TRUE(Equal(equal, Values<UBYTE>(e))) << "width " << w;
            ASSERT_TRUE(Equal(differ, Values<UBYTE>(d))) << "width " << w;
        }
    }
}

/// The signed 16-bit value that the ordering of byte matrices finds for element (x, y): 0 outside the block.
short ShortOf(const MatByte& m, int x, int y)
{
    const UBYTE* const block = BlockOf<UBYTE>(m);
    const int bytes = m.pblock->len * m.pblock->itemsize;
    const std::ptrdiff_t at = (m.p_B_data - block) + 2 * (x * m.step1 + y * m.step2);
    if (at < 0 || at > bytes - 2) return 0;
    short value;
    std::memcpy(&value, block + at, 2);
    return value;
}

struct ByteRule {
    const char* name;
    MatByte (*made)(const MatByte&, const MatByte&);
    bool (*holds)(short, short);
    UBYTE yes;
};

const ByteRule byteRules[] = {
    {">", [](const MatByte& a, const MatByte& b) { return a > b; }, [](short p, short q) { return p > q; },
     255},
    {"<", [](const MatByte& a, const MatByte& b) { return a < b; }, [](short p, short q) { return p < q; },
     255},
    {">=", [](const MatByte& a, const MatByte& b) { return a >= b; }, [](short p, short q) { return p >= q; },
     255},
    {"<=", [](const MatByte& a, const MatByte& b) { return a <= b; }, [](short p, short q) { return p <= q; },
     255},
    {"&&", [](const MatByte& a, const MatByte& b) { return a && b; }, [](short p, short q) { return p && q; },
     1},
    {"||", [](const MatByte& a, const MatByte& b) { return a || b; }, [](short p, short q) { return p || q; },
     1},
    {"!", [](const MatByte& a, const MatByte&) { return !a; }, [](short p, short) { return p == 0; }, 1},
};

TEST(MatByte, OrderingAndLogicReadShortsAt16BitPositions)
{
    Random random(33);
    const UBYTE values[] = {0, 0, 0, 1, 127, 128, 255};
    for (const ByteRule& rule : byteRules) {
        for (int l = 0; l < layoutCount; l++) {
            for (int w = 1; w <= 70; w++) {
                const int h = 1 + w % 4, r = (l + w) % layoutCount;
                Sample<UBYTE> a(layouts[l], w, h, random), b(layouts[r], w, h, random);
                for (MatByte* image : {&a.image, &b.image})
                    for (int i = 0; i < image->pblock->len; i++)
                        BlockOf<UBYTE>(*image)[i] = values[random.Below(7)];
                std::vector<UBYTE> expected;
                for (int y = 0; y < h; y++)
                    for (int x = 0; x < w; x++)
                        expected.push_back(rule.holds(ShortOf(a.view, x, y), ShortOf(b.view, x, y)) ? rule.yes
                                                                                                    : 0);
                const std::vector<UBYTE> left = a.Storage(), right = b.Storage();
                const MatByte result = rule.made(a.view, b.view);
                ASSERT_TRUE(IsNewMatrix(result, a.view)) << rule.name;
                ASSERT_TRUE(Equal(expected, Values<UBYTE>(result)))
                    << rule.name << ": " << layouts[l].name << ", " << layouts[r].name << ", width " << w;
                ASSERT_TRUE(Equal(left, a.Storage())) << rule.name;
                ASSERT_TRUE(Equal(right, b.Storage())) << rule.name;
            }
        }
    }
}

/// A matrix of these bytes in one row.
MatByte Row(const std::vector<UBYTE>& bytes)
{
    MatByte m(static_cast<int>(bytes.size()), 1);
    m.ImportData(bytes.data());
    return m;
}

TEST(MatByte, OrderingIsThatOfPairsOfBytesAndZeroPastTheBlock)
{
    // The pairs are (0, 0), (5, 5), then nothing: elements 2 and 3 lie outside the block and read as 0.
    const MatByte a = Row({0, 0, 5, 5}), b = Row({1, 1, 255, 255});
    EXPECT_EQ(Values<UBYTE>(a > b), (std::vector<UBYTE>{0, 255, 0, 0})); // 255, 255 is -1
    EXPECT_EQ(Values<UBYTE>(a < b), (std::vector<UBYTE>{255, 0, 0, 0}));
    EXPECT_EQ(Values<UBYTE>(a >= b), (std::vector<UBYTE>{0, 255, 255, 255}));
    EXPECT_EQ(Values<UBYTE>(a <= b), (std::vector<UBYTE>{255, 0, 255, 255}));
    EXPECT_EQ(Values<UBYTE>(a && b), (std::vector<UBYTE>{0, 1, 0, 0}));
    EXPECT_EQ(Values<UBYTE>(a || b), (std::vector<UBYTE>{1, 1, 0, 0}));
    EXPECT_EQ(Values<UBYTE>(!a), (std::vector<UBYTE>{1, 0, 1, 1}));
}

TEST(MatByte, OrderingReadsAtOddPositions)
{
    const MatByte image = Row({9, 1, 1, 0, 0, 2, 2, 9});
    const MatByte odd = image(RNG(1, 4), all); // pairs (1, 1), (0, 0), (2, 2), and one byte past the end
    EXPECT_EQ(Values<UBYTE>(!odd), (std::vector<UBYTE>{0, 1, 0, 1}));
    EXPECT_EQ(Values<UBYTE>(odd && odd), (std::vector<UBYTE>{1, 0, 1, 0}));
}

TEST(MatByte, OrderingOfAPositionHalfInsideTheBlockIsZero)
{
    const MatByte a = Row({7, 7, 7}); // the second pair has only its first byte
    EXPECT_EQ(Values<UBYTE>(!a), (std::vector<UBYTE>{0, 1, 1}));
}

TEST(MatByte, OrderingOfReversedViewsReadsZeroBeforeTheBlock)
{
    const MatByte image = Row({1, 1, 2, 2, 3, 3});
    const MatByte back = image(RNG(3, 0, -1), all); // bytes 3, 1, -1, -3
    EXPECT_EQ(Values<UBYTE>(!back), (std::vector<UBYTE>{0, 0, 1, 1}));
}

TEST(MatByte, OrderingOfFarStridesStaysInTheBlock)
{
    const CubByte cube(100, 100, 3);
    const MatByte plane = cube(all, 99, all);
    const MatByte result = !plane;
    EXPECT_EQ(result(0, 2), 1); // 2 * 20000 + 9900 is past the 30000 bytes
    EXPECT_EQ(result(99, 2), 1);
}

TEST(MatByte, OrderingOfAttachedBuffersReadsThem)
{
    Random random(38);
    const UBYTE values[] = {0, 0, 0, 1, 127, 128, 255};
    for (int w = 1; w <= 20; w++) {
        const int h = 1 + w % 3, bytes = 2 * w * h;
        // As much behind the pictures as the operators read, and before them as much as reversed views do; at
        // an odd address.
        std::vector<UBYTE> buffers[2];
        MatByte pictures[2];
        for (int i : {0, 1}) {
            buffers[i].resize(static_cast<std::size_t>(1 + 2 * bytes));
            for (UBYTE& byte : buffers[i]) byte = values[random.Below(7)];
            pictures[i].Attach_to_raw_image(&buffers[i][static_cast<std::size_t>(1 + bytes)], w, h);
        }
        const auto views = [&](const MatByte& m) {
            MatByte turned = m(all, all);
            turned.Trans();
            return std::vector<MatByte>{m, m(RNG(w - 1, 0, -1), RNG(h - 1, 0, -1)), m(RNG(0, w - 1, 2), all),
                                        turned};
        };
        const std::vector<MatByte> left = views(pictures[0]), right = views(pictures[1]);
        for (std::size_t v = 0; v < left.size(); v++) {
            for (const ByteRule& rule : byteRules) {
                std::vector<UBYTE> expected;
                for (int y = 0; y < left[v].dim2; y++) {
                    for (int x = 0; x < left[v].dim1; x++) {
                        short p, q;
                        const int at = 2 * (x * left[v].step1 + y * left[v].step2);
                        std::memcpy(&p, left[v].p_B_data + at, 2);
                        std::memcpy(&q, right[v].p_B_data + at, 2);
                        expected.push_back(rule.holds(p, q) ? rule.yes : 0);
                    }
                }
                ASSERT_TRUE(Equal(expected, Values<UBYTE>(rule.made(left[v], right[v]))))
                    << rule.name << ", view " << v << ", width " << w;
            }
        }
    }
}

TEST(MatByte, OfAttachedShortsIsOrderedLikeThem)
{
    short left[] = {0, -1, 256, 32767, 5, -32768}, right[] = {0, 1, 255, -32768, 6, 0};
    MatShort a, b;
    a.Attach_to_raw_image(left, 3, 2);
    b.Attach_to_raw_image(right, 3, 2);
    const MatByte p = a, q = b;
    EXPECT_EQ(Values<UBYTE>(p > q), (std::vector<UBYTE>{0, 0, 255, 255, 0, 0}));
    EXPECT_EQ(Values<UBYTE>(p <= q), Values<UBYTE>(a <= b));
    EXPECT_EQ(Values<UBYTE>(p && q), (std::vector<UBYTE>{0, 1, 1, 1, 1, 0}));
    EXPECT_EQ(Values<UBYTE>(!p), (std::vector<UBYTE>{1, 0, 0, 0, 0, 0}));
}

TEST(MatByte, OfShortsIsOrderedLikeThem)
{
    MatShort a(5, 4), b(5, 4);
    Random random(34);
    for (int i = 0; i < 20; i++) {
        BlockOf<short>(a)[i] = random.Value<short>();
        BlockOf<short>(b)[i] = random.Value<short>();
    }
    const MatByte p = a, q = b; // shares the storage of the shorts
    EXPECT_EQ(Values<UBYTE>(p > q), Values<UBYTE>(a > b));
    EXPECT_EQ(Values<UBYTE>(p < q), Values<UBYTE>(a < b));
    EXPECT_EQ(Values<UBYTE>(p >= q), Values<UBYTE>(a >= b));
    EXPECT_EQ(Values<UBYTE>(p <= q), Values<UBYTE>(a <= b));
}

TEST(MatByte, OrderingOfEmptyMatricesIsEmpty)
{
    const MatByte a, b;
    EXPECT_EQ((a > b).dim1, 0);
    EXPECT_EQ((a && b).dim1, 0);
    EXPECT_EQ((!a).dim1, 0);
    EXPECT_EQ((a == b).dim1, 0);
    const MatByte some = Row({1, 1});
    EXPECT_EQ(Values<UBYTE>(some > a), (std::vector<UBYTE>{255, 0})); // what has no block reads as 0
}

TEST(MatByte, TwoMatricesThatCanBeWrittenAreOrderedToo)
{
    EXPECT_TRUE((CanBeAtLeast<MatByte, MatByte>));
    EXPECT_TRUE((CanBeAtMost<MatByte, MatByte>));
    EXPECT_TRUE((CanBeAtLeast<MatByte, const MatByte>));
    EXPECT_TRUE((CanBeAtMost<const MatByte, MatByte>));
    const auto compare = [](auto& a, auto& b) {
        if constexpr (CanBeAtLeast<decltype(a), decltype(b)> && CanBeAtMost<decltype(a), decltype(b)>)
            return std::pair<MatByte, MatByte>(a >= b, a <= b);
        else return std::pair<MatByte, MatByte>();
    };
    MatByte a = Row({0, 0, 5, 5}), b = Row({1, 1, 255, 255});
    const auto [atLeast, atMost] = compare(a, b);
    EXPECT_EQ(Values<UBYTE>(atLeast), (std::vector<UBYTE>{0, 255, 255, 255}));
    EXPECT_EQ(Values<UBYTE>(atMost), (std::vector<UBYTE>{255, 0, 255, 255}));
    EXPECT_EQ(Values<UBYTE>(a), (std::vector<UBYTE>{0, 0, 5, 5})); // an answer in a matrix of its own
}

TEST(CubByte, EqualityGives1And0OverTheWholeCube)
{
    Random random(35);
    CubByte c(9, 4, 3), other(9, 4, 3);
    for (int i = 0; i < 108; i++) {
        BlockOf<UBYTE>(c)[i] = random.Value<UBYTE>();
        BlockOf<UBYTE>(other)[i] = random.Below(2) ? BlockOf<UBYTE>(c)[i] : random.Value<UBYTE>();
    }
    const CubByte equal = c == other, differ = c != other;
    for (int z = 0; z < 3; z++) {
        for (int y = 0; y < 4; y++) {
            for (int x = 0; x < 9; x++) {
                EXPECT_EQ(equal(x, y, z), c(x, y, z) == other(x, y, z) ? 1 : 0);
                EXPECT_EQ(differ(x, y, z), c(x, y, z) == other(x, y, z) ? 0 : 1);
            }
        }
    }
    EXPECT_EQ(equal.pblock->nrefs, 1);
    EXPECT_EQ(equal.pblock->len, 108);

    const CubByte box = c(RNG(8, 0, -3), RNG(1, 2), RNG(0, 2, 2));
    const CubByte same = box == box;
    EXPECT_EQ(Values<UBYTE>(same), std::vector<UBYTE>(12, 1));
    EXPECT_EQ(same.step2, 3);
}

// ---------------------------------------------------------------------------------- the byte element class

using Order = bool (*)(UBYTE, UBYTE);
const Order greater = [](UBYTE p, UBYTE q) { return p > q; };
const Order less = [](UBYTE p, UBYTE q) { return p < q; };
const Order atLeast = [](UBYTE p, UBYTE q) { return p >= q; };
const Order atMost = [](UBYTE p, UBYTE q) { return p <= q; };

TEST(KX_Byte, StrictOrderMakesANewArrayOf255And0)
{
    Random random(36);
    for (int l = 0; l < layoutCount; l++) {
        for (int w = 1; w <= 70; w++) {
            const int h = 1 + w % 3, r = (l + w) % layoutCount;
            const Sample<UBYTE> a(layouts[l], w, h, random), b(layouts[r], w, h, random);
            const std::vector<UBYTE> before = a.Storage();
            const KX_Byte &left = a.view, &right = b.view;
            const UBYTE s = random.Value<UBYTE>();
            const KX_Byte results[] = {left > right, left<right, left> s, left < s};
            const Order orders[] = {greater, less, greater, less};
            for (int i = 0; i < 4; i++) {
                ASSERT_EQ(results[i].pblock->nrefs, 1);
                ASSERT_EQ(results[i].step2, w);
                std::vector<UBYTE> expected;
                for (int y = 0; y < h; y++)
                    for (int x = 0; x < w; x++)
                        expected.push_back(orders[i](a.view(x, y), i < 2 ? b.view(x, y) : s) ? 255 : 0);
                ASSERT_TRUE(Equal(expected, Values<UBYTE>(results[i]))) << i << ", width " << w;
            }
            ASSERT_TRUE(Equal(before, a.Storage()));
        }
    }
}

TEST(KX_Byte, AtLeastAndAtMostWriteTheAnswerInPlace)
{
    Random random(37);
    for (int which = 0; which < 4; which++) {
        const Order order = which % 2 ? atMost : atLeast;
        for (int l = 0; l < layoutCount; l++) {
            for (int w = 1; w <= 70; w++) {
                const int h = 1 + w % 3, r = (l + w) % layoutCount;
                Sample<UBYTE> a(layouts[l], w, h, random), b(layouts[r], w, h, random);
                const UBYTE s = random.Value<UBYTE>();
                const std::vector<UBYTE> right = b.Storage();
                std::vector<UBYTE> expected = a.Storage();
                for (int y = 0; y < h; y++) {
                    for (int x = 0; x < w; x++) {
                        UBYTE& e = expected[a.At(x, y)];
                        e = order(e, which < 2 ? right[b.At(x, y)] : s) ? 255 : 0;
                    }
                }
                KX_Byte& left = a.view;
                KX_Byte& result = which == 0   ? left >= static_cast<const KX_Byte&>(b.view)
                                  : which == 1 ? left <= static_cast<const KX_Byte&>(b.view)
                                  : which == 2 ? left >= s
                                               : left <= s;
                ASSERT_EQ(&result, &left);
                ASSERT_TRUE(Equal(expected, a.Storage())) << which << ", width " << w;
                ASSERT_TRUE(Equal(right, b.Storage()));
            }
        }
    }
}

TEST(KX_Byte, OrderHoldsAtTheEndsOfTheRange)
{
    const VecByte v(0, 127, 128, 255);
    EXPECT_EQ(Values<UBYTE>(v > UBYTE(127)), (std::vector<UBYTE>{0, 0, 255, 255})); // not signed
    EXPECT_EQ(Values<UBYTE>(v < UBYTE(0)), (std::vector<UBYTE>{0, 0, 0, 0}));
    EXPECT_EQ(Values<UBYTE>(v > UBYTE(255)), (std::vector<UBYTE>{0, 0, 0, 0}));
    VecByte a, b;
    a = v;
    b = v;
    a >= UBYTE(128);
    b <= UBYTE(128);
    EXPECT_EQ(Values<UBYTE>(a), (std::vector<UBYTE>{0, 0, 255, 255}));
    EXPECT_EQ(Values<UBYTE>(b), (std::vector<UBYTE>{255, 255, 255, 0}));
}

TEST(MatByte, ComparedWithAScalarIsComparedByteByByte)
{
    MatByte m = Row({0, 100, 101, 255});
    EXPECT_EQ(Values<UBYTE>(m > UBYTE(100)), (std::vector<UBYTE>{0, 0, 255, 255}));
    EXPECT_EQ(Values<UBYTE>(m < UBYTE(100)), (std::vector<UBYTE>{255, 0, 0, 0}));
    m >= UBYTE(101); // in place
    EXPECT_EQ(Values<UBYTE>(m), (std::vector<UBYTE>{0, 0, 255, 255}));
    m <= UBYTE(0);
    EXPECT_EQ(Values<UBYTE>(m), (std::vector<UBYTE>{255, 255, 0, 0}));
}

} // namespace
