// The dump of arrays of every type and shape, read back by a small reader.
#include <tests/support/ArrayShapes.h>

#include <gtest/gtest.h>

#include <bit>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <limits>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

/// What lies in a stream, and what the dump returned.
struct Written {
    int result;
    std::string bytes;
};

Written DumpOf(const KX_Base& a)
{
    std::FILE* const f = std::tmpfile();
    if (f == nullptr) throw std::runtime_error("tmpfile");
    Written written{a.Write(f), ""};
    std::rewind(f);
    for (int c; (c = std::getc(f)) != EOF;) written.bytes += static_cast<char>(c);
    std::fclose(f);
    return written;
}

/// Reads dumps that stand one behind the other. Sizes are the low 16 bits, and the reader has to know the
/// element type, as it does outside the program.
class DumpReader {
public:
    explicit DumpReader(const std::string& dump) : bytes(dump) { Header(); }

    void Header()
    {
        if (Characters(4) != "idc_") throw std::runtime_error("no dump");
        type = Characters(1)[0];
        name = Characters(13);
        for (unsigned& d : dim) d = static_cast<unsigned>(Number(2));
    }

    template <class T> std::vector<T> Elements(std::size_t count)
    {
        std::vector<T> values;
        for (std::size_t i = 0; i < count; i++) {
            const std::uint32_t bits = Number(sizeof(T));
            if constexpr (sizeof(T) == 4) values.push_back(std::bit_cast<T>(bits));
            else values.push_back(static_cast<T>(bits));
        }
        return values;
    }

    bool AtEnd() const { return at == bytes.size(); }

    char type = 0;
    std::string name;
    unsigned dim[3] = {};

private:
    std::string Characters(std::size_t n)
    {
        if (at + n > bytes.size()) throw std::runtime_error("dump too short");
        at += n;
        return bytes.substr(at - n, n);
    }
    std::uint32_t Number(std::size_t width)
    {
        std::uint32_t value = 0;
        const std::string digits = Characters(width);
        for (std::size_t i = 0; i < width; i++)
            value |= static_cast<std::uint32_t>(static_cast<unsigned char>(digits[i])) << (8 * i);
        return value;
    }

    std::string bytes;
    std::size_t at = 0;
};

/// The dump holds just these elements behind a header with the array's sizes.
template <class T> void ExpectDump(const KX_Base& a)
{
    const Written written = DumpOf(a);
    EXPECT_EQ(written.result, 0);
    const std::vector<T> values = Values<T>(a);
    ASSERT_EQ(written.bytes.size(), 24 + values.size() * sizeof(T));
    DumpReader reader(written.bytes);
    EXPECT_EQ(reader.dim[0], static_cast<unsigned>(a.dim1) % 65536);
    EXPECT_EQ(reader.dim[1], static_cast<unsigned>(a.dim2) % 65536);
    EXPECT_EQ(reader.dim[2], static_cast<unsigned>(a.dim3) % 65536);
    EXPECT_TRUE(Equal(values, reader.Elements<T>(values.size())));
    EXPECT_TRUE(reader.AtEnd());
}

template <class T> void FillWith(Random& random, const KX_Base& a)
{
    for (int i = 0; i < a.pblock->len; i++) BlockOf<T>(a)[i] = random.Value<T>();
}

// ---------------------------------------------------------------------------------- the header

TEST(arraydump, EveryByteOfASmallArray)
{
    MatShort m(2, 1);
    m(0, 0) = 0x1234;
    m(1, 0) = -2;
    m.poolObjType = 'S';
    std::memcpy(m.myName, "wheel", 5);
    const Written written = DumpOf(m);
    EXPECT_EQ(written.result, 0);
    EXPECT_EQ(written.bytes, std::string("idc_S"
                                         "wheel\0\0\0\0\0\0\0\0"
                                         "\2\0\1\0\1\0"
                                         "\x34\x12\xFE\xFF",
                                         28));
}

TEST(arraydump, TheNameIsWrittenAsItIsStored)
{
    VecByte v(1, 2);
    const std::string full("thirteen char"), rest("ab\0cd\xFF\0\0efghi", 13);
    for (const std::string& name : {full, rest}) {
        ASSERT_EQ(name.size(), sizeof v.myName);
        std::memcpy(v.myName, name.data(), sizeof v.myName);
        EXPECT_EQ(DumpReader(DumpOf(v).bytes).name, name);
    }
}

TEST(arraydump, TheTypeIsWrittenAsItIsStored)
{
    VecByte v(1, 2);
    EXPECT_EQ(DumpReader(DumpOf(v).bytes).type, 0); // as constructed
    for (const char type : {'V', '\xFF', '\n'}) {
        v.poolObjType = type;
        EXPECT_EQ(DumpReader(DumpOf(v).bytes).type, type);
    }
}

TEST(arraydump, ACopyIsDumpedLikeTheFirst)
{
    MatInt m(3, 2);
    m.Fill(-70000);
    m.poolObjType = 'I';
    std::memcpy(m.myName, "flow", 4);
    const MatInt copy = m;
    EXPECT_EQ(DumpOf(copy).bytes, DumpOf(m).bytes);
}

// ---------------------------------------------------------------------------------- empty arrays

template <class A> void ExpectHeaderOnly(const A& a)
{
    const Written written = DumpOf(a);
    EXPECT_EQ(written.result, 0);
    EXPECT_EQ(written.bytes.size(), 24u);
}

TEST(arraydump, AnEmptyArrayIsAHeader)
{
    ExpectHeaderOnly(KX_Base());
    ExpectHeaderOnly(KX_Byte());
    ExpectHeaderOnly(KX_Short());
    ExpectHeaderOnly(KX_Int());
    ExpectHeaderOnly(KX_Float());
    ExpectHeaderOnly(VecByte());
    ExpectHeaderOnly(MatShort());
    ExpectHeaderOnly(MatInt());
    ExpectHeaderOnly(CubFloat());
    DumpReader reader(DumpOf(MatShort()).bytes);
    EXPECT_EQ(reader.dim[0], 0u);
    EXPECT_EQ(reader.dim[1], 1u);
    EXPECT_EQ(reader.dim[2], 1u);
}

TEST(arraydump, ASizeBelowOneIsAHeaderWithOrWithoutStorage)
{
    for (const int size : {0, -1, -70000}) {
        for (const bool storage : {false, true}) {
            for (int d = 0; d < 3; d++) {
                CubByte c;
                if (storage) c.Resize(2, 2, 2);
                c.dim1 = c.dim2 = c.dim3 = 2;
                (d == 0 ? c.dim1 : d == 1 ? c.dim2 : c.dim3) = size;
                ExpectHeaderOnly(c);
                EXPECT_EQ(DumpReader(DumpOf(c).bytes).dim[d], static_cast<unsigned>(size) & 0xFFFF);
            }
        }
    }
}

TEST(arraydump, SizesWithoutStorageAreAnError)
{
    KX_Base noBlock;
    noBlock.dim1 = noBlock.dim2 = noBlock.dim3 = 1;
    Written written = DumpOf(noBlock);
    EXPECT_EQ(written.result, 1);
    EXPECT_EQ(written.bytes.size(), 24u); // after the header

    UBYTE element = 7;
    noBlock.p_B_data = &element; // data alone do not tell the width
    written = DumpOf(noBlock);
    EXPECT_EQ(written.result, 1);
    EXPECT_EQ(written.bytes.size(), 24u);

    MatByte noData;
    noData.Attach_to_raw_image(nullptr, 3, 2);
    written = DumpOf(noData);
    EXPECT_EQ(written.result, 1);
    EXPECT_EQ(written.bytes.size(), 24u);
}

TEST(arraydump, ANullStreamIsAnError) { EXPECT_EQ(VecByte(1, 2).Write(nullptr), 1); }

// ---------------------------------------------------------------------------------- elements

template <class T> class Dump : public testing::Test {
};
TYPED_TEST_SUITE(Dump, AllElements);

TYPED_TEST(Dump, VectorsAndMatrices)
{
    Random random(41);
    for (const int n : {1, 2, 7, 64, 1000}) {
        VecOf<TypeParam> v(n);
        FillWith<TypeParam>(random, v);
        ExpectDump<TypeParam>(v);
        MatOf<TypeParam> m(n, 5);
        FillWith<TypeParam>(random, m);
        ExpectDump<TypeParam>(m);
    }
}

TYPED_TEST(Dump, ElementArraysOfThreeDimensions)
{
    Random random(42);
    ElemOf<TypeParam> a(5, 4, 3);
    FillWith<TypeParam>(random, a);
    ExpectDump<TypeParam>(a);
}

TYPED_TEST(Dump, ViewsAreWrittenDensely)
{
    Random random(43);
    for (const Layout& layout : layouts) {
        SCOPED_TRACE(layout.name);
        const Sample<TypeParam> sample(layout, 9, 6, random);
        ExpectDump<TypeParam>(sample.view);
        ExpectDump<TypeParam>(sample.view(RNG::All(), 2));
        ExpectDump<TypeParam>(sample.view(3, RNG::All()));
    }
}

TYPED_TEST(Dump, AnArrayOnItsSide)
{
    Random random(44);
    MatOf<TypeParam> m(6, 3);
    FillWith<TypeParam>(random, m);
    std::swap(m.dim1, m.dim2);
    std::swap(m.step1, m.step2);
    ExpectDump<TypeParam>(m);
    EXPECT_EQ(DumpReader(DumpOf(m).bytes).dim[0], 3u);
}

TYPED_TEST(Dump, EndsOfTheRange)
{
    using L = std::numeric_limits<TypeParam>;
    VecOf<TypeParam> v(6);
    const TypeParam values[6] = {L::min(), L::max(), L::lowest(), 0, 1, L::infinity()};
    v.ImportData(values);
    ExpectDump<TypeParam>(v);
}

template <class T> class DumpOfCubes : public testing::Test {
};
TYPED_TEST_SUITE(DumpOfCubes, CubeElements);

TYPED_TEST(DumpOfCubes, PlanesFollowEachOther)
{
    CubOf<TypeParam> c(3, 2, 2);
    Number<TypeParam>(c);
    DumpReader reader(DumpOf(c).bytes);
    std::vector<TypeParam> counted;
    for (int i = 0; i < 12; i++) counted.push_back(static_cast<TypeParam>(i));
    EXPECT_TRUE(Equal(counted, reader.Elements<TypeParam>(12)));
}

TYPED_TEST(DumpOfCubes, SubCubesPlanesAndLines)
{
    Random random(45);
    CubOf<TypeParam> c(9, 8, 7);
    FillWith<TypeParam>(random, c);
    ExpectDump<TypeParam>(c);
    ExpectDump<TypeParam>(c(RNG(1, 7, 2), RNG(6, 0, -3), RNG(5, 1, -2)));
    ExpectDump<TypeParam>(c(RNG(2, 5), RNG(1, 6), 3));
    ExpectDump<TypeParam>(c(RNG(2, 5), 4, RNG(0, 6, 3)));
    ExpectDump<TypeParam>(c(8, RNG(7, 0, -1), RNG::All()));
    ExpectDump<TypeParam>(c(RNG::All(), 1, 2));
    ExpectDump<TypeParam>(c(1, RNG::All(), 2));
    ExpectDump<TypeParam>(c(1, 2, RNG::All()));
}

TEST(arraydump, EverySecondColumnOfAMatrixTakes32Bytes)
{
    MatShort m(4, 2);
    Number<short>(m);
    const MatShort view = m(RNG(0, 3, 2), RNG::All());
    const Written written = DumpOf(view);
    EXPECT_EQ(written.result, 0);
    EXPECT_EQ(written.bytes.size(), 32u);
    EXPECT_TRUE(Equal({0, 2, 4, 6}, DumpReader(written.bytes).Elements<short>(4)));
    ExpectDump<short>(view);
}

TEST(arraydump, FloatsKeepEveryBit)
{
    VecFloat v(4);
    const std::uint32_t bits[4] = {0x7FC12345u, 0x80000000u, 0xFF800000u, 0x00000001u};
    std::memcpy(v.p_data, bits, sizeof bits);
    DumpReader reader(DumpOf(v).bytes);
    const std::vector<int> read = reader.Elements<int>(4);
    for (std::size_t i = 0; i < 4; i++) EXPECT_EQ(static_cast<std::uint32_t>(read[i]), bits[i]);
}

TEST(arraydump, SizesBeyond16BitsKeepTheirLowBitsAndAllElements)
{
    Random random(46);
    VecShort wide(70000);
    FillWith<short>(random, wide);
    const Written written = DumpOf(wide);
    EXPECT_EQ(written.bytes.size(), 24u + 140000);
    EXPECT_EQ(DumpReader(written.bytes).dim[0], 4464u);
    ExpectDump<short>(wide);

    MatByte high(2, 70000);
    FillWith<UBYTE>(random, high);
    EXPECT_EQ(DumpReader(DumpOf(high).bytes).dim[1], 4464u);
    ExpectDump<UBYTE>(high);

    CubByte deep(1, 2, 65536);
    FillWith<UBYTE>(random, deep);
    EXPECT_EQ(DumpReader(DumpOf(deep).bytes).dim[2], 0u);
    ExpectDump<UBYTE>(deep);
}

TEST(arraydump, AnAttachedPictureIsWrittenWithItsElementWidth)
{
    short pixels[6] = {1, -1, 300, -300, 32767, -32768};
    MatShort m;
    m.Attach_to_raw_image(pixels, 3, 2);
    ExpectDump<short>(m);
    unsigned char bytes[4] = {1, 2, 254, 255};
    MatByte b;
    b.Attach_to_raw_image(bytes, 2, 2);
    ExpectDump<UBYTE>(b);
}

TEST(arraydump, AnotherElementWidthWritesNoElements)
{
    VecInt v(1, 2, 3);
    for (const unsigned short width : {0, 3, 5, 8}) {
        v.pblock->itemsize = width;
        const Written written = DumpOf(v);
        EXPECT_EQ(written.result, 0) << width;
        EXPECT_EQ(written.bytes.size(), 24u) << width;
    }
    v.pblock->itemsize = 4; // the block is accounted for by it
}

TEST(arraydump, DumpsStandOneBehindTheOther)
{
    std::FILE* const f = std::tmpfile();
    ASSERT_NE(f, nullptr);
    EXPECT_EQ(VecInt(5, 6).Write(f), 0);
    EXPECT_EQ(MatByte().Write(f), 0);
    EXPECT_EQ(VecShort(-1, -2, -3).Write(f), 0);
    std::rewind(f);
    std::string bytes;
    for (int c; (c = std::getc(f)) != EOF;) bytes += static_cast<char>(c);
    std::fclose(f);

    DumpReader reader(bytes);
    EXPECT_TRUE(Equal({5, 6}, reader.Elements<int>(2)));
    reader.Header();
    EXPECT_EQ(reader.dim[0], 0u);
    reader.Header();
    EXPECT_TRUE(Equal({-1, -2, -3}, reader.Elements<short>(3)));
    EXPECT_TRUE(reader.AtEnd());
}

TEST(arraydump, AFullDiskIsNotNoticed)
{
    std::FILE* const f = std::fopen("/dev/full", "wb");
    ASSERT_NE(f, nullptr);
    std::setvbuf(f, nullptr, _IONBF, 0);
    MatInt m(100, 100);
    m.Fill(1);
    EXPECT_EQ(m.Write(f), 0); // writes are not checked
    std::fclose(f);
}

TEST(arraydump, TheArrayStaysAsItIs)
{
    Random random(47);
    MatShort m(20, 10);
    FillWith<short>(random, m);
    const std::vector<short> before = Values<short>(m);
    const int nrefs = m.pblock->nrefs;
    DumpOf(m);
    EXPECT_TRUE(Equal(before, Values<short>(m)));
    EXPECT_EQ(m.pblock->nrefs, nrefs);
}

} // namespace
