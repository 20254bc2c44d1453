// Reading of BMP files: every field of the headers, every place where a file can end, and what the arrays
// that are read into have to do with it.
#include <tests/support/ChildProcess.h>
#include <tests/support/Pictures.h>

#include <tests/reference/Files.h>

#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include <unistd.h>

namespace {

using namespace pictures;
using FileBytes = reference::Bytes;

constexpr const char* noMemory = "Datablock::create: Not enough memory";
constexpr const char* sharedBytes =
    "Resize_ubyte: Object cannot be resized, data are referenced by another object";
constexpr const char* sharedShorts =
    "Resize_short: Object cannot be resized, data are referenced by another object";

// ---------------------------------------------------------------------------------- files

/// An open file with these bytes.
class Stream {
public:
    explicit Stream(const FileBytes& bytes) : file(std::tmpfile())
    {
        if (file == nullptr ||
            (!bytes.empty() && std::fwrite(bytes.data(), 1, bytes.size(), file) != bytes.size()) ||
            std::fseek(file, 0, SEEK_SET) != 0)
            throw std::runtime_error("cannot make a temporary file");
    }
    Stream(const Stream&) = delete;
    Stream& operator=(const Stream&) = delete;
    ~Stream() { std::fclose(file); }
    operator std::FILE*() const { return file; }

private:
    std::FILE* file;
};

void Put(FileBytes& file, std::size_t at, std::uint32_t value, int bytes)
{
    for (int i = 0; i < bytes; i++)
        file.at(at + static_cast<std::size_t>(i)) = static_cast<std::uint8_t>(value >> (8 * i));
}

// Places of the header's fields.
enum : std::size_t {
    atFileSize = 2,
    atReserved = 6,
    atDataOffset = 10,
    atHeaderSize = 14,
    atWidth = 18,
    atHeight = 22,
    atPlanes = 26,
    atBits = 28,
    atCompression = 30,
    atImageSize = 34,
    atResolution = 38,
    atColours = 46,
    atImportant = 50
};

/// What a file is made of; rows are given as they are stored, bottom row first, padding included.
struct File {
    std::int32_t width = 0, height = 0;
    int bits = 8;
    std::uint32_t compression = 0, imageSize = 0, colours = 0, dataOffset = 0;
    FileBytes between; ///< palette or masks
    FileBytes pixels;

    FileBytes Bytes() const
    {
        FileBytes file;
        file.reserve(54 + between.size() + pixels.size());
        file.resize(54);
        file[0] = 'B';
        file[1] = 'M';
        Put(file, atFileSize, static_cast<std::uint32_t>(54 + between.size() + pixels.size()), 4);
        Put(file, atDataOffset, dataOffset ? dataOffset : static_cast<std::uint32_t>(54 + between.size()), 4);
        Put(file, atHeaderSize, 40, 4);
        Put(file, atWidth, static_cast<std::uint32_t>(width), 4);
        Put(file, atHeight, static_cast<std::uint32_t>(height), 4);
        Put(file, atPlanes, 1, 2);
        Put(file, atBits, static_cast<std::uint32_t>(bits), 2);
        Put(file, atCompression, compression, 4);
        Put(file, atImageSize, imageSize, 4);
        Put(file, atColours, colours, 4);
        file.insert(file.end(), between.begin(), between.end());
        file.insert(file.end(), pixels.begin(), pixels.end());
        return file;
    }
};

FileBytes NoiseBytes(Random& random, std::size_t n)
{
    FileBytes bytes(n);
    for (std::uint8_t& b : bytes) b = static_cast<std::uint8_t>(random());
    return bytes;
}

/// Entry i is red, green and blue i.
FileBytes GreyPalette(int entries)
{
    FileBytes palette;
    for (int i = 0; i < entries; i++)
        for (int c : {i, i, i, 0}) palette.push_back(static_cast<std::uint8_t>(c));
    return palette;
}

int Padding(int rowBytes) { return -rowBytes & 3; }

/// An 8-bit file with noise for a palette and pixels, rows padded with noise as they should be.
File EightBit(Random& random, int w, int h, int entries = 256)
{
    File f;
    f.width = w;
    f.height = h;
    f.colours = static_cast<std::uint32_t>(entries);
    f.between = NoiseBytes(random, 4 * static_cast<std::size_t>(entries));
    f.imageSize = static_cast<std::uint32_t>(h * (w + Padding(w)));
    f.pixels = NoiseBytes(random, f.imageSize);
    return f;
}

File Colour(Random& random, int w, int h)
{
    File f;
    f.width = w;
    f.height = h;
    f.bits = 24;
    f.imageSize = static_cast<std::uint32_t>(h * (3 * w + Padding(3 * w)));
    f.pixels = NoiseBytes(random, f.imageSize);
    return f;
}

File Sixteen(Random& random, int w, int h)
{
    File f;
    f.width = w;
    f.height = h;
    f.bits = 16;
    f.compression = 3;
    f.between = NoiseBytes(random, 12);
    f.imageSize = static_cast<std::uint32_t>(h * (2 * w + Padding(2 * w)));
    f.pixels = NoiseBytes(random, f.imageSize);
    return f;
}

FileBytes Cut(const FileBytes& file, std::size_t length)
{
    return FileBytes(file.begin(), file.begin() + static_cast<std::ptrdiff_t>(length));
}

// ---------------------------------------------------------------------------------- 8 bits

/// Reads into an empty matrix and compares result, size, and what was read, with the plain reader.
testing::AssertionResult MatchesPlainReader(const FileBytes& bytes)
{
    const reference::BmpFile plain = reference::ReadBmpByte(bytes);
    MatByte m;
    const int result = m.ReadBMP(Stream(bytes));
    if (result != plain.result)
        return testing::AssertionFailure() << "result " << result << " instead of " << plain.result;
    if (plain.width == 0) {
        if (m.pblock != nullptr) return testing::AssertionFailure() << "resized for a refused file";
        return testing::AssertionSuccess();
    }
    if (m.dim1 != plain.width || m.dim2 != plain.height)
        return testing::AssertionFailure() << "size " << m.dim1 << " x " << m.dim2;
    const bool compares = result == 0 && !plain.picture.Empty();
    return compares ? Same(m, plain.picture) : testing::AssertionSuccess();
}

TEST(bmpread, EightBitFilesMatchThePlainReader)
{
    Random random(81);
    for (int w = 1; w <= 20; w++)
        for (int h : {1, 2, 5})
            for (int entries : {1, 16, 255, 256})
                EXPECT_TRUE(MatchesPlainReader(EightBit(random, w, h, entries).Bytes()))
                    << w << " x " << h << ", palette of " << entries;
    EXPECT_TRUE(MatchesPlainReader(EightBit(random, 700, 300).Bytes()));
}

TEST(bmpread, AGreyFileOfAWholeFrameLoadsUnchanged)
{
    Random random(82);
    const Bytes picture = Noise<std::uint8_t>(random, 1280, 960);
    const FileBytes bytes = reference::BmpByte(picture);
    MatByte m;
    ASSERT_EQ(m.ReadBMP(Stream(bytes)), 0);
    EXPECT_TRUE(Same(m, picture));
    for (int x = 0; x < 1280; x++)
        ASSERT_EQ(m(x, 959), bytes[1078 + static_cast<std::size_t>(x)]) << "stored first, lies last";
}

TEST(bmpread, PaletteSkipsLastPixelOfEachRow)
{
    File f;
    f.width = 4;
    f.height = 2;
    f.colours = 256;
    for (int i = 0; i < 256; i++)
        for (int c : {1, 2, 255 - i, 3}) f.between.push_back(static_cast<std::uint8_t>(c));
    f.pixels = {10, 20, 30, 40, 50, 60, 70, 80};
    f.imageSize = 8;
    MatByte m;
    ASSERT_EQ(m.ReadBMP(Stream(f.Bytes())), 0);
    Bytes wanted(4, 2);
    wanted.a = {205, 195, 185, 80, 245, 235, 225, 40};
    EXPECT_TRUE(Same(m, wanted));

    File column = f; // with a width of 1 every pixel is the last of its row
    column.width = 1;
    column.height = 2;
    column.imageSize = 8;
    ASSERT_EQ(m.ReadBMP(Stream(column.Bytes())), 0);
    EXPECT_EQ(m(0, 1), 10);
    EXPECT_EQ(m(0, 0), 50);
}

TEST(bmpread, ThePaletteGivesItsRedComponent)
{
    File f;
    f.width = 3;
    f.height = 1;
    f.colours = 2;
    f.between = {11, 22, 33, 44, 55, 66, 77, 88}; // blue, green, red, reserved
    f.pixels = {0, 1, 1, 0};
    f.imageSize = 4;
    MatByte m;
    ASSERT_EQ(m.ReadBMP(Stream(f.Bytes())), 0);
    EXPECT_EQ(m(0, 0), 33);
    EXPECT_EQ(m(1, 0), 77);
    EXPECT_EQ(m(2, 0), 1);
}

TEST(bmpread, PaletteEntriesThatTheFileDoesNotGiveAreZero)
{
    Random random(83);
    for (int entries : {1, 2, 100, 255}) {
        File f = EightBit(random, 256, 2, entries);
        for (int x = 0; x < 512; x++) f.pixels[static_cast<std::size_t>(x)] = static_cast<std::uint8_t>(x);
        MatByte m;
        ASSERT_EQ(m.ReadBMP(Stream(f.Bytes())), 0);
        for (int x = 0; x < 255; x++)
            EXPECT_EQ(m(x, 0), x < entries ? f.between[4 * static_cast<std::size_t>(x) + 2] : 0)
                << x << " of " << entries;
        EXPECT_EQ(m(255, 0), 255);
    }
}

TEST(bmpread, ZeroColoursMeanAPaletteOf256)
{
    Random random(84);
    File f = EightBit(random, 6, 3, 256);
    f.colours = 0;
    EXPECT_TRUE(MatchesPlainReader(f.Bytes()));
    MatByte m;
    EXPECT_EQ(m.ReadBMP(Stream(f.Bytes())), 0);
    f.between.resize(255 * 4); // the pixels are read as the last entry, and are missing then
    f.pixels.clear();
    EXPECT_EQ(m.ReadBMP(Stream(f.Bytes())), 4);
}

TEST(bmpread, PalettesOfMoreThan256EntriesAreRefused)
{
    Random random(85);
    for (std::uint32_t colours :
         {257u, 258u, 1000u, 65536u, 0x40000000u, 0x40000001u, 0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFFu}) {
        File f = EightBit(random, 6, 3, 256);
        f.between = NoiseBytes(random, 4 * 2000);
        f.colours = colours;
        MatByte m;
        EXPECT_EQ(m.ReadBMP(Stream(f.Bytes())), 4) << colours;
        EXPECT_EQ(m.pblock, nullptr) << "nothing is resized for a refused file";
    }
}

TEST(bmpread, AWidthOfThreeWithoutImageSizeIsReadWithoutSkip)
{
    File f;
    f.width = 3;
    f.height = 2;
    f.between = GreyPalette(256);
    f.pixels = {1, 2, 3, 0, 4, 5, 6, 0}; // padded as it should be
    MatByte m;
    ASSERT_EQ(m.ReadBMP(Stream(f.Bytes())), 0);
    Bytes wanted(3, 2);
    wanted.a = {0, 4, 5, 1, 2, 3}; // the upper row begins in the padding
    EXPECT_TRUE(Same(m, wanted));
    f.imageSize = 8;
    ASSERT_EQ(m.ReadBMP(Stream(f.Bytes())), 0);
    wanted.a = {4, 5, 6, 1, 2, 3};
    EXPECT_TRUE(Same(m, wanted));
}

TEST(bmpread, ImageSizesThatAreTooSmallOrTooLargeMatchThePlainReader)
{
    Random random(86);
    for (const auto& [w, h] : std::vector<std::pair<int, int>>{{4, 4}, {5, 3}, {16, 6}}) {
        File f = EightBit(random, w, h);
        f.pixels = NoiseBytes(random, 4000);
        const std::uint32_t right = f.imageSize, n = static_cast<std::uint32_t>(h);
        for (std::uint32_t size :
             {0u, 1u, n - 1, n, n + 1, 2 * n, 3 * n, right - n, right - 1, right + 1, right + n,
              right + 9 * n, 100 * n, 100 * n + 1, 0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFFu}) {
            f.imageSize = size;
            EXPECT_TRUE(MatchesPlainReader(f.Bytes())) << w << " x " << h << ", image size " << size;
        }
    }
}

TEST(bmpread, ImageSizesSmallerThanThePixelsLeadBeyondTheEnd)
{
    Random random(115);
    File eight = EightBit(random, 4, 3), sixteen = Sixteen(random, 4, 3);
    eight.pixels = sixteen.pixels = NoiseBytes(random, 200); // enough, wherever rows might be looked for
    for (std::uint32_t size : {1u, 3u, 8u, 9u, 11u}) {       // at most 3 bytes a row
        eight.imageSize = sixteen.imageSize = size;
        MatByte bytes;
        EXPECT_EQ(bytes.ReadBMP(Stream(eight.Bytes())), 4) << size;
        MatShort shorts;
        EXPECT_EQ(shorts.ReadBMP(Stream(sixteen.Bytes())), 4) << size;
    }
    // Behind the last row nothing is read, wherever its padding leads.
    eight.height = sixteen.height = 1;
    eight.imageSize = sixteen.imageSize = 1;
    MatByte bytes;
    EXPECT_EQ(bytes.ReadBMP(Stream(eight.Bytes())), 0);
    MatShort shorts;
    EXPECT_EQ(shorts.ReadBMP(Stream(sixteen.Bytes())), 0);
}

TEST(bmpread, AnOffsetInsideTheHeadersOrThePaletteLeadsBeyondTheEnd)
{
    Random random(116);
    File eight = EightBit(random, 4, 3), colour = Colour(random, 5, 3);
    eight.pixels = NoiseBytes(random, 2000);
    colour.pixels = NoiseBytes(random, 2000);
    for (std::uint32_t offset : {0u, 14u, 53u}) {
        FileBytes bytes = colour.Bytes();
        Put(bytes, atDataOffset, offset, 4);
        CubByte cube;
        EXPECT_EQ(cube.ReadBMP(Stream(bytes)), 4) << offset;
    }
    for (std::uint32_t offset : {0u, 54u, 1077u}) {
        FileBytes bytes = eight.Bytes();
        Put(bytes, atDataOffset, offset, 4);
        MatByte m;
        EXPECT_EQ(m.ReadBMP(Stream(bytes)), 4) << offset;
    }
}

TEST(bmpread, AFileOfManyRowsThatIsTooShortIsRefusedAtOnce)
{
    Random random(117);
    File f = Sixteen(random, 4, 1);
    f.height = 210000000;
    f.imageSize = 40;
    MatShort m;
    EXPECT_EQ(m.ReadBMP(Stream(f.Bytes())), 4);
}

TEST(bmpread, AStreamThatCannotBeMovedIsReadUpToThePixels)
{
    Random random(118);
    File f = EightBit(random, 5, 3);
    FileBytes bytes = f.Bytes();
    MatByte wanted;
    ASSERT_EQ(wanted.ReadBMP(Stream(bytes)), 0);
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    ASSERT_EQ(write(ends[1], bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
    close(ends[1]);
    std::FILE* const stream = fdopen(ends[0], "rb");
    MatByte m;
    EXPECT_EQ(m.ReadBMP(stream), 0);
    std::fclose(stream);
    for (int y = 0; y < 3; y++)
        for (int x = 0; x < 5; x++) EXPECT_EQ(m(x, y), wanted(x, y));
}

TEST(bmpread, PixelsMayBeginAnywhere)
{
    Random random(87);
    File f = EightBit(random, 7, 3);
    f.pixels = NoiseBytes(random, 600);
    for (std::uint32_t offset : {1u, 2u, 30u, 53u, 54u, 55u, 100u, 1077u, 1078u, 1079u, 1200u, 1600u, 1700u,
                                 0x7FFFFFFFu, 0x80000000u, 0x80000500u, 0xFFFFFFFFu, 0xFFFFFF00u}) {
        FileBytes bytes = f.Bytes();
        Put(bytes, atDataOffset, offset, 4);
        EXPECT_TRUE(MatchesPlainReader(bytes)) << offset;
    }
}

TEST(bmpread, NegativeSizesMatchThePlainReader)
{
    Random random(88);
    for (const auto& [w, h] : std::vector<std::pair<int, int>>{{-1, 1},
                                                               {-4, 3},
                                                               {4, -3},
                                                               {-4, -3},
                                                               {1, -1},
                                                               {-2147483647 - 1, 1},
                                                               {-2147483647, 5},
                                                               {2147483647, -1},
                                                               {1, -2147483647}}) {
        for (std::uint32_t size : {0u, 12u, 0xFFFFFFFFu}) {
            File f = EightBit(random, 4, 3);
            f.width = w;
            f.height = h;
            f.imageSize = size;
            EXPECT_TRUE(MatchesPlainReader(f.Bytes())) << w << " x " << h << ", image size " << size;
            MatByte m;
            EXPECT_EQ(m.ReadBMP(Stream(f.Bytes())), h > 0 ? 4 : 0) << w << " x " << h;
            EXPECT_EQ(m.pblock, nullptr);
        }
    }
}

TEST(bmpread, TheLowestHeightHasNoRows)
{
    Random random(121);
    const std::int32_t lowest = -2147483647 - 1;
    File bytes = EightBit(random, 4, 3), colour = Colour(random, 5, 3), shorts = Sixteen(random, 4, 3);
    bytes.height = colour.height = shorts.height = lowest;
    MatShort s;
    EXPECT_EQ(s.ReadBMP(Stream(shorts.Bytes())), 0);
    EXPECT_EQ(s.dim2, lowest);
    CubByte c;
    EXPECT_EQ(c.ReadBMP(Stream(colour.Bytes())), 0);
    MatByte m;
    EXPECT_EQ(m.ReadBMP(Stream(bytes.Bytes())), 0);
    EXPECT_EQ(m.dim2, lowest);
    EXPECT_EQ(m.pblock, nullptr);
}

TEST(bmpread, EightBitFilesCutAnywhereAreRefused)
{
    Random random(89);
    const FileBytes whole = EightBit(random, 6, 3, 20).Bytes(); // rows of 8
    for (std::size_t length = 0; length < whole.size(); length++) {
        const FileBytes bytes = Cut(whole, length);
        MatByte m;
        const int result = m.ReadBMP(Stream(bytes));
        const bool onlyPaddingMissing = length >= whole.size() - 2;
        EXPECT_EQ(result, onlyPaddingMissing ? 0 : 4) << length;
        EXPECT_EQ(m.pblock != nullptr, length >= 54 + 80) << length;
        EXPECT_TRUE(MatchesPlainReader(bytes)) << length;
    }
}

TEST(bmpread, RowsReadBeforeAShortReadStayAsTheyAreInTheFile)
{
    Random random(90);
    const File f = EightBit(random, 8, 4);
    const FileBytes whole = f.Bytes();
    MatByte m(8, 4);
    m.Fill(77);
    const void* const storage = m.p_data;
    EXPECT_EQ(m.ReadBMP(Stream(Cut(whole, whole.size() - 20))), 4); // a row and a half
    EXPECT_EQ(m.p_data, storage);
    for (int x = 0; x < 8; x++) {
        EXPECT_EQ(m(x, 3), f.pixels[static_cast<std::size_t>(x)]) << "read, not mapped";
        EXPECT_EQ(m(x, 1), 77);
        EXPECT_EQ(m(x, 0), 77);
    }
}

/// Values for each field of a header that the reader must refuse or not look at.
struct Field {
    const char* name;
    std::size_t at;
    int bytes;
    std::vector<std::uint32_t> refused, ignored;
};

TEST(bmpread, EveryWrongHeaderFieldOfAnEightBitFileIsRefused)
{
    Random random(91);
    const FileBytes good = EightBit(random, 6, 3).Bytes();
    const std::vector<Field> fields = {
        {"type", 0, 2, {0, 0x424D, 0x4D43, 0x4E42, 0x4D00, 0x0042, 0xFFFF}, {}},
        {"file size", atFileSize, 4, {}, {0, 1, 0xFFFFFFFF}},
        {"reserved", atReserved, 4, {}, {1, 0xFFFFFFFF}},
        {"header size", atHeaderSize, 4, {0, 12, 39, 41, 108, 124, 0x28000000, 40 + 65536, 0xFFFFFFFF}, {}},
        {"width", atWidth, 4, {0}, {}},
        {"height", atHeight, 4, {0}, {}},
        {"planes", atPlanes, 2, {}, {0, 2, 0xFFFF}},
        {"bits", atBits, 2, {0, 1, 4, 7, 9, 15, 16, 24, 32, 64, 0x0800, 0xFFFF}, {}},
        {"compression", atCompression, 4, {1, 2, 3, 4, 256, 65536, 0x01000000, 0xFFFFFFFF}, {}},
        {"resolution", atResolution, 4, {}, {1, 0xFFFFFFFF}},
        {"resolution", atResolution + 4, 4, {}, {1, 0xFFFFFFFF}},
        {"important colours", atImportant, 4, {}, {0, 1, 257, 0xFFFFFFFF}},
    };
    MatByte wanted;
    ASSERT_EQ(wanted.ReadBMP(Stream(good)), 0);
    for (const Field& field : fields) {
        for (std::uint32_t value : field.refused) {
            FileBytes bytes = good;
            Put(bytes, field.at, value, field.bytes);
            MatByte m;
            EXPECT_EQ(m.ReadBMP(Stream(bytes)), 4) << field.name << " " << value;
            EXPECT_EQ(m.pblock, nullptr) << field.name << " " << value;
            EXPECT_TRUE(MatchesPlainReader(bytes)) << field.name << " " << value;
        }
        for (std::uint32_t value : field.ignored) {
            FileBytes bytes = good;
            Put(bytes, field.at, value, field.bytes);
            MatByte m;
            EXPECT_EQ(m.ReadBMP(Stream(bytes)), 0) << field.name << " " << value;
            EXPECT_TRUE(Same(m, PictureOf(wanted))) << field.name << " " << value;
        }
    }
}

TEST(bmpread, AnyHeaderMadeOfLikelyNumbersMatchesThePlainReader)
{
    Random random(92);
    const std::vector<std::uint32_t> sizes = {0, 1, 2, 3, 5, 8, 20, 0xFFFFFFFF, 0xFFFFFFFC};
    const std::vector<std::uint32_t> others = {0,   1,   3,    7,    24,         54,        60,
                                               256, 300, 1078, 1100, 0xFFFFFFFF, 0x80001000};
    const auto any = [&random](const std::vector<std::uint32_t>& from) {
        return from[random() % from.size()];
    };
    int loaded = 0;
    for (int i = 0; i < 1500; i++) {
        FileBytes bytes = EightBit(random, 5, 3, Between(random, 1, 256)).Bytes();
        if (random() % 2) Put(bytes, atWidth, any(sizes), 4);
        if (random() % 2) Put(bytes, atHeight, any(sizes), 4);
        if (random() % 2) Put(bytes, atDataOffset, any(others), 4);
        if (random() % 2) Put(bytes, atImageSize, any(others), 4);
        if (random() % 3 == 0) Put(bytes, atColours, any(others), 4);
        const FileBytes tail = NoiseBytes(random, random() % 300);
        bytes.insert(bytes.end(), tail.begin(), tail.end());
        ASSERT_TRUE(MatchesPlainReader(bytes)) << i;
        loaded += reference::ReadBmpByte(bytes).result == 0;
    }
    EXPECT_GT(loaded, 100);
}

// ---------------------------------------------------------------------------------- views and storage

TEST(bmpread, AFrameOfASequenceIsReadInPlace)
{
    Random random(93);
    const Sequence before = NoiseSequence(random, 8, 6, 3);
    CubByte seq = ArrayOf(before);
    const Bytes picture = Noise<std::uint8_t>(random, 8, 6);
    EXPECT_EQ(seq(RNG::All(), RNG::All(), 1).ReadBMP(Stream(reference::BmpByte(picture))), 0);
    Sequence wanted = before;
    wanted.SetFrame(1, picture);
    EXPECT_TRUE(SequenceOf(seq) == wanted);
}

TEST(bmpread, AFrameOfAnotherSizeHalts)
{
    for (const auto& [w, h] :
         std::vector<std::pair<int, int>>{{8, 5}, {7, 6}, {6, 8}, {-8, 6}, {100000, 100000}}) {
        const FailStop stop = RunUntilHalt([w = w, h = h] {
            Random random(94);
            CubByte seq(8, 6, 3);
            File f = EightBit(random, 8, 6);
            f.width = w;
            f.height = h;
            seq(RNG::All(), RNG::All(), 1).ReadBMP(Stream(f.Bytes()));
        });
        EXPECT_TRUE(stop.halted) << stop.state;
        EXPECT_EQ(stop.line, ErrorLine(sharedBytes)) << w << " x " << h;
    }
    const FailStop shorts = RunUntilHalt([] {
        Random random(95);
        MatShort m(8, 6);
        const MatShort shared = m;
        m.ReadBMP(Stream(Sixteen(random, 6, 8).Bytes()));
    });
    EXPECT_TRUE(shorts.halted) << shorts.state;
    EXPECT_EQ(shorts.line, ErrorLine(sharedShorts));
    const FailStop colour = RunUntilHalt([] {
        Random random(96);
        CubByte c(8, 6, 4);
        const CubByte shared = c;
        c.ReadBMP(Stream(Colour(random, 9, 6).Bytes()));
    });
    EXPECT_TRUE(colour.halted) << colour.state;
    EXPECT_EQ(colour.line, ErrorLine(sharedBytes));
}

TEST(bmpread, SizesThatDoNotFitHaltForMemory)
{
    const auto halts = [](auto empty, File f, int w, int h) {
        f.width = w;
        f.height = h;
        f.imageSize = 1;
        const FailStop stop = RunUntilHalt([&] { empty.ReadBMP(Stream(f.Bytes())); });
        EXPECT_TRUE(stop.halted) << stop.state;
        EXPECT_EQ(stop.line, ErrorLine(noMemory)) << w << " x " << h;
    };
    Random random(97);
    const File bytes = EightBit(random, 4, 3), shorts = Sixteen(random, 4, 3), colour = Colour(random, 5, 3);
    halts(MatByte(), bytes, 100000, 100000);
    halts(MatByte(), bytes, 2147483647, 2);
    halts(MatByte(), bytes, 65536, 65536);
    halts(MatByte(4, 3), bytes, -4, 4); // an owner of storage cannot make a negative number of elements
    halts(MatShort(), shorts, 65536, 65536);
    halts(CubByte(), colour, 26755, 26755); // three planes of it pass 32 bits
}

TEST(bmpread, AViewWithGapsIsNeitherReadNorSkipped)
{
    Random random(98);
    const File f = EightBit(random, 6, 4);
    for (const Layout& layout : viewLayouts) {
        const Bytes before = Noise<std::uint8_t>(random, 6, 4);
        Laid<UBYTE> laid(before, layout, random);
        const bool readable = laid.view.step1 == 1;
        const Stream stream(f.Bytes());
        EXPECT_EQ(laid.view.ReadBMP(stream), 0) << layout;
        EXPECT_TRUE(laid.SurroundingsUntouched()) << layout;
        Bytes wanted = reference::ReadBmpByte(f.Bytes()).picture;
        if (!readable) { // mapped through the palette all the same
            wanted = before;
            for (int y = 0; y < 4; y++)
                for (int x = 0; x < 5; x++) wanted.At(x, y) = f.between[4 * std::size_t{before.At(x, y)} + 2];
        }
        EXPECT_TRUE(Same(laid.view, wanted)) << layout;
        EXPECT_EQ(std::ftell(stream), readable ? 54 + 1024 + 4 * 8 : 54 + 1024) << layout;
    }
    // So that it does not matter whether there are any pixels.
    Laid<UBYTE> laid(6, 4, {2, 1}, random);
    EXPECT_EQ(laid.view.ReadBMP(Stream(Cut(f.Bytes(), 54 + 1024))), 0);
}

TEST(bmpread, RowsOfAViewMayLieAnywhere)
{
    Random random(99);
    const Bytes picture = Noise<std::uint8_t>(random, 7, 5);
    for (int stepY : {1, 2, -1, -3}) {
        Laid<UBYTE> laid(7, 5, {1, stepY}, random);
        EXPECT_EQ(laid.view.ReadBMP(Stream(reference::BmpByte(picture))), 0);
        EXPECT_TRUE(Same(laid.view, picture)) << stepY;
        EXPECT_TRUE(laid.SurroundingsUntouched()) << stepY;
    }
}

TEST(bmpread, AnOwnerIsResizedAndReusesItsStorage)
{
    Random random(100);
    const Bytes picture = Noise<std::uint8_t>(random, 6, 4);
    MatByte same(6, 4), reshaped(8, 3), other(50, 50);
    const void* const kept = reshaped.p_data;
    for (MatByte* m : {&same, &reshaped, &other}) {
        EXPECT_EQ(m->ReadBMP(Stream(reference::BmpByte(picture))), 0);
        EXPECT_TRUE(Same(*m, picture));
    }
    EXPECT_EQ(reshaped.p_data, kept);
}

// ---------------------------------------------------------------------------------- colour

/// What a file of this kind holds, whatever its padding is.
std::array<Bytes, 3> PlanesOf(const File& f, int rowBytes)
{
    std::array<Bytes, 3> planes = {Bytes(f.width, f.height), Bytes(f.width, f.height),
                                   Bytes(f.width, f.height)};
    std::size_t row = 0;
    for (int y = f.height - 1; y >= 0; y--, row += static_cast<std::size_t>(rowBytes))
        for (int x = 0; x < f.width; x++)
            for (int c = 0; c < 3; c++)
                planes[static_cast<std::size_t>(2 - c)].At(x, y) =
                    f.pixels.at(row + static_cast<std::size_t>(3 * x + c));
    return planes;
}

testing::AssertionResult Holds(const CubByte& cube, const std::array<Bytes, 3>& planes, int fromRow = 0)
{
    if (cube.dim1 != planes[0].w || cube.dim2 != planes[0].h || cube.dim3 != 3)
        return testing::AssertionFailure()
               << "shape " << cube.dim1 << " x " << cube.dim2 << " x " << cube.dim3;
    for (int z = 0; z < 3; z++)
        for (int y = fromRow; y < cube.dim2; y++)
            for (int x = 0; x < cube.dim1; x++)
                if (cube(x, y, z) != planes[static_cast<std::size_t>(z)].At(x, y))
                    return testing::AssertionFailure() << "plane " << z << " differs at " << x << ", " << y;
    return testing::AssertionSuccess();
}

TEST(bmpread, ColourFilesLoadOnlyWhereTheirRowsArePadded)
{
    Random random(101);
    for (int w = 1; w <= 12; w++) {
        for (int h : {1, 2, 4}) {
            const File f = Colour(random, w, h);
            CubByte cube;
            EXPECT_EQ(cube.ReadBMP(Stream(f.Bytes())), w % 4 ? 0 : 4) << w << " x " << h;
            // Without padding the first stored row has been read by then.
            EXPECT_TRUE(Holds(cube, PlanesOf(f, 3 * w + Padding(3 * w)), w % 4 ? 0 : h - 1))
                << w << " x " << h;
        }
    }
}

TEST(bmpread, ColourFilesAreBlueGreenRedFromTheBottom)
{
    File f;
    f.width = 1;
    f.height = 2;
    f.bits = 24;
    f.imageSize = 8;
    f.pixels = {1, 2, 3, 0, 4, 5, 6, 0};
    CubByte cube;
    ASSERT_EQ(cube.ReadBMP(Stream(f.Bytes())), 0);
    EXPECT_EQ(cube(0, 1, 2), 1);
    EXPECT_EQ(cube(0, 1, 1), 2);
    EXPECT_EQ(cube(0, 1, 0), 3);
    EXPECT_EQ(cube(0, 0, 2), 4);
    EXPECT_EQ(cube(0, 0, 0), 6);
}

TEST(bmpread, ColourFilesWithoutImageSizeEndAfterTheirFirstRow)
{
    Random random(102);
    for (int w : {4, 5, 6}) {
        File f = Colour(random, w, 3);
        f.imageSize = 0;
        CubByte cube(w, 3, 3);
        cube.Fill(200);
        EXPECT_EQ(cube.ReadBMP(Stream(f.Bytes())), 4) << w;
        EXPECT_TRUE(Holds(cube, PlanesOf(f, 3 * w + Padding(3 * w)), 2)) << w;
        EXPECT_EQ(cube(0, 1, 0), 200) << w;
        EXPECT_EQ(cube(w - 1, 0, 2), 200) << w;
    }
}

TEST(bmpread, ACubeThatHasAWidthAlreadyMissesThePadding)
{
    Random random(103);
    const File f = Colour(random, 5, 3);
    CubByte cube(5, 3, 3);
    cube.Fill(200);
    EXPECT_EQ(cube.ReadBMP(Stream(f.Bytes())), 4) << "the padding comes out negative";
    EXPECT_TRUE(Holds(cube, PlanesOf(f, 16), 2)) << "the first stored row is read";
    EXPECT_EQ(cube(0, 1, 0), 200);

    // An image size that makes up for the old width gives the true padding, for that width and no other.
    for (int oldWidth : {1, 2, 5, 9}) {
        File odd = f;
        odd.imageSize = static_cast<std::uint32_t>(3 * (16 + 3 * oldWidth));
        CubByte sized(oldWidth, 3, 3), empty;
        EXPECT_EQ(sized.ReadBMP(Stream(odd.Bytes())), 0) << oldWidth;
        EXPECT_TRUE(Holds(sized, PlanesOf(f, 16))) << oldWidth;
        EXPECT_EQ(empty.ReadBMP(Stream(odd.Bytes())), 4) << oldWidth;
        EXPECT_EQ(empty.pblock, nullptr) << "refused before the resize";
    }
}

TEST(bmpread, ColourPaddingOfMoreThanThreeBytesIsRefused)
{
    Random random(104);
    File f = Colour(random, 5, 3);
    f.pixels = NoiseBytes(random, 400);
    for (std::uint32_t rowLength : {16u, 17u, 18u}) {
        f.imageSize = 3 * rowLength;
        CubByte cube;
        EXPECT_EQ(cube.ReadBMP(Stream(f.Bytes())), 0) << rowLength;
        EXPECT_TRUE(Holds(cube, PlanesOf(f, static_cast<int>(rowLength)))) << rowLength;
    }
    for (std::uint32_t rowLength : {19u, 20u, 100u, 100000u}) {
        f.imageSize = 3 * rowLength;
        CubByte cube;
        EXPECT_EQ(cube.ReadBMP(Stream(f.Bytes())), 4) << rowLength;
        EXPECT_EQ(cube.pblock, nullptr) << rowLength;
    }
    for (std::uint32_t rowLength : {1u, 14u, 15u}) { // nothing, or less
        f.imageSize = 3 * rowLength;
        CubByte cube;
        EXPECT_EQ(cube.ReadBMP(Stream(f.Bytes())), 4) << rowLength;
        EXPECT_TRUE(Holds(cube, PlanesOf(f, 15), 2)) << rowLength;
    }
}

TEST(bmpread, OtherDepthsGivenToACubeAreTold)
{
    Random random(105);
    for (int bits : {8, 32}) {
        File f = Colour(random, 5, 3);
        f.bits = bits;
        CubByte cube;
        EXPECT_EQ(cube.ReadBMP(Stream(f.Bytes())), 2) << bits;
        EXPECT_EQ(cube.pblock, nullptr);
    }
    CubByte cube;
    EXPECT_EQ(cube.ReadBMP(Stream(EightBit(random, 5, 3).Bytes())), 2);
    EXPECT_EQ(cube.ReadBMP(Stream(Sixteen(random, 5, 3).Bytes())), 4);
    MatByte m;
    EXPECT_EQ(m.ReadBMP(Stream(Colour(random, 5, 3).Bytes())), 4);
    MatShort s;
    EXPECT_EQ(s.ReadBMP(Stream(Colour(random, 5, 3).Bytes())), 4);
    EXPECT_EQ(s.ReadBMP(Stream(EightBit(random, 5, 3).Bytes())), 4);
}

TEST(bmpread, EveryWrongHeaderFieldOfAColourFileIsRefused)
{
    Random random(106);
    const FileBytes good = Colour(random, 5, 3).Bytes();
    const std::vector<Field> fields = {
        {"type", 0, 2, {0, 0x424D, 0x4D00, 0xFFFF}, {}},
        {"file size", atFileSize, 4, {}, {0, 0xFFFFFFFF}},
        {"reserved", atReserved, 4, {}, {0xFFFFFFFF}},
        {"header size", atHeaderSize, 4, {0, 12, 39, 41, 124, 0xFFFFFFFF}, {}},
        {"width", atWidth, 4, {0}, {}},
        {"height", atHeight, 4, {0}, {}},
        {"planes", atPlanes, 2, {}, {0, 3}},
        {"bits", atBits, 2, {0, 1, 4, 16, 23, 25, 64, 0x1800, 0xFFFF}, {}},
        {"compression", atCompression, 4, {1, 2, 3, 0xFFFFFFFF}, {}},
        {"resolution", atResolution, 4, {}, {7}},
        {"resolution", atResolution + 4, 4, {}, {7}},
        {"colours used", atColours, 4, {}, {1, 256, 257, 0xFFFFFFFF}},
        {"important colours", atImportant, 4, {}, {1, 0xFFFFFFFF}},
    };
    for (const Field& field : fields) {
        for (int ignored = 0; ignored < 2; ignored++) {
            for (std::uint32_t value : ignored ? field.ignored : field.refused) {
                FileBytes bytes = good;
                Put(bytes, field.at, value, field.bytes);
                CubByte cube;
                EXPECT_EQ(cube.ReadBMP(Stream(bytes)), ignored ? 0 : 4) << field.name << " " << value;
                EXPECT_EQ(cube.pblock == nullptr, !ignored) << field.name << " " << value;
            }
        }
    }
}

TEST(bmpread, ColourFilesCutAnywhereAreRefused)
{
    Random random(107);
    const File f = Colour(random, 5, 3);
    const FileBytes whole = f.Bytes();
    for (std::size_t length = 0; length < whole.size(); length++) {
        CubByte cube;
        EXPECT_EQ(cube.ReadBMP(Stream(Cut(whole, length))), 4) << length; // the last padding counts too
        EXPECT_EQ(cube.pblock != nullptr, length >= 54) << length;
    }
    // Pixels that came whole are stored, rows that did not come at all are left.
    CubByte cube(1, 3, 3);
    cube.ReadBMP(Stream(whole)); // fails for its old width, but sizes the cube
    CubByte sized;
    sized.Resize(5, 3, 3);
    sized.Fill(200);
    File odd = f;
    odd.imageSize = 3 * (16 + 15);
    EXPECT_EQ(sized.ReadBMP(Stream(Cut(odd.Bytes(), 54 + 16 + 7))), 4);
    const std::array<Bytes, 3> planes = PlanesOf(f, 16);
    EXPECT_EQ(sized(4, 2, 0), planes[0].At(4, 2));
    EXPECT_EQ(sized(1, 1, 1), planes[1].At(1, 1));
    EXPECT_EQ(sized(2, 1, 2), 200) << "a pixel of which only the blue came";
    EXPECT_EQ(sized(0, 0, 0), 200);
}

TEST(bmpread, ColourPixelsMayBeginAnywhereBehindTheHeaders)
{
    Random random(108);
    const File f = Colour(random, 5, 3);
    for (std::uint32_t offset : {54u, 60u, 200u}) {
        FileBytes bytes = f.Bytes();
        bytes.resize(400, 9);
        Put(bytes, atDataOffset, offset, 4);
        File there = f;
        there.pixels = FileBytes(bytes.begin() + static_cast<std::ptrdiff_t>(offset), bytes.end());
        CubByte cube;
        EXPECT_EQ(cube.ReadBMP(Stream(bytes)), 0) << offset;
        EXPECT_TRUE(Holds(cube, PlanesOf(there, 16))) << offset;
    }
    FileBytes bytes = f.Bytes();
    Put(bytes, atDataOffset, 5000, 4);
    CubByte cube;
    EXPECT_EQ(cube.ReadBMP(Stream(bytes)), 4);
}

TEST(bmpread, ColourFilesOfNegativeSize)
{
    Random random(109);
    for (const auto& [w, h, result] : std::vector<std::array<int, 3>>{{5, -3, 0}, {-5, 3, 4}}) {
        File f = Colour(random, 5, 3);
        f.width = w;
        f.height = h;
        CubByte cube;
        EXPECT_EQ(cube.ReadBMP(Stream(f.Bytes())), result) << w << " x " << h;
        EXPECT_EQ(cube.pblock, nullptr);
        f.imageSize = 0;
        CubByte other;
        EXPECT_EQ(other.ReadBMP(Stream(f.Bytes())), result) << w << " x " << h;
    }
}

TEST(bmpread, ACubeViewOfTheRightShapeIsReadInPlace)
{
    Random random(110);
    File f = Colour(random, 5, 3);
    f.imageSize = 3 * (16 + 15); // makes up for the width that the view has
    CubByte storage(20, 20, 9);
    storage.Fill(7);
    CubByte view = storage(RNG(15, 3, -3), RNG(2, 6, 2), RNG(8, 4, -2));
    ASSERT_EQ(view.dim1, 5);
    EXPECT_EQ(view.ReadBMP(Stream(f.Bytes())), 0);
    EXPECT_TRUE(Holds(view, PlanesOf(f, 16)));
    view.Fill(7);
    EXPECT_EQ(SequenceOf(storage).a, std::vector<std::uint8_t>(20 * 20 * 9, 7));
}

// ---------------------------------------------------------------------------------- 16 bits

Shorts ShortsOf(const File& f, int rowBytes)
{
    Shorts picture(f.width, f.height);
    std::size_t row = 0;
    for (int y = f.height - 1; y >= 0; y--, row += static_cast<std::size_t>(rowBytes))
        for (int x = 0; x < f.width; x++) {
            const std::size_t at = row + 2 * static_cast<std::size_t>(x);
            picture.At(x, y) = static_cast<std::int16_t>(f.pixels.at(at) | f.pixels.at(at + 1) << 8);
        }
    return picture;
}

TEST(bmpread, SixteenBitFilesLoadWithTheirPadding)
{
    Random random(111);
    for (int w = 1; w <= 12; w++) {
        for (int h : {1, 2, 5}) {
            const File f = Sixteen(random, w, h);
            MatShort m;
            EXPECT_EQ(m.ReadBMP(Stream(f.Bytes())), 0);
            EXPECT_TRUE(Same(m, ShortsOf(f, 2 * w + Padding(2 * w)))) << w << " x " << h;
        }
    }
}

TEST(bmpread, SixteenBitPixelsFollowTheMasksWhereverTheOffsetPoints)
{
    Random random(112);
    const File f = Sixteen(random, 5, 3);
    for (std::uint32_t offset : {0u, 54u, 67u, 1000u, 0xFFFFFFFFu}) {
        FileBytes bytes = f.Bytes();
        Put(bytes, atDataOffset, offset, 4);
        MatShort m;
        EXPECT_EQ(m.ReadBMP(Stream(bytes)), 0) << offset;
        EXPECT_TRUE(Same(m, ShortsOf(f, 12))) << offset;
    }
}

TEST(bmpread, SixteenBitFilesWithoutImageSizeAreRefused)
{
    Random random(113);
    File f = Sixteen(random, 4, 3);
    f.imageSize = 0;
    MatShort m;
    EXPECT_EQ(m.ReadBMP(Stream(f.Bytes())), 4);
}

TEST(bmpread, SixteenBitRowsFollowTheImageSize)
{
    Random random(114);
    for (int rowBytes : {8, 9, 10, 12, 30}) {
        File f = Sixteen(random, 4, 3);
        f.pixels = NoiseBytes(random, 200);
        f.imageSize = static_cast<std::uint32_t>(3 * rowBytes);
        MatShort m;
        EXPECT_EQ(m.ReadBMP(Stream(f.Bytes())), 0) << rowBytes;
        EXPECT_TRUE(Same(m, ShortsOf(f, rowBytes))) << rowBytes;
    }
    File f = Sixteen(random, 4, 3);
    f.imageSize = 3000;
    MatShort m;
    EXPECT_EQ(m.ReadBMP(Stream(f.Bytes())), 4);
}

TEST(bmpread, EveryWrongHeaderFieldOfASixteenBitFileIsRefused)
{
    Random random(115);
    const FileBytes good = Sixteen(random, 5, 3).Bytes();
    const std::vector<Field> fields = {
        {"type", 0, 2, {0, 0x424D, 0x4D00, 0xFFFF}, {}},
        {"file size", atFileSize, 4, {}, {0, 0xFFFFFFFF}},
        {"reserved", atReserved, 4, {}, {0xFFFFFFFF}},
        {"header size", atHeaderSize, 4, {0, 12, 39, 41, 124, 0xFFFFFFFF}, {}},
        {"width", atWidth, 4, {0}, {}},
        {"height", atHeight, 4, {0}, {}},
        {"planes", atPlanes, 2, {}, {0, 3}},
        {"bits", atBits, 2, {0, 1, 8, 15, 17, 24, 32, 0x1000, 0xFFFF}, {}},
        {"compression", atCompression, 4, {0, 1, 2, 4, 0x03000000, 0xFFFFFFFF}, {}},
        {"resolution", atResolution, 4, {}, {7}},
        {"resolution", atResolution + 4, 4, {}, {7}},
        {"colours used", atColours, 4, {}, {1, 256, 257, 0xFFFFFFFF}},
        {"important colours", atImportant, 4, {}, {1, 0xFFFFFFFF}},
        {"red mask", 54, 4, {}, {0, 0xFFFFFFFF}},
        {"green mask", 58, 4, {}, {0, 0xFFFFFFFF}},
        {"blue mask", 62, 4, {}, {0, 0xFFFFFFFF}},
    };
    for (const Field& field : fields) {
        for (int ignored = 0; ignored < 2; ignored++) {
            for (std::uint32_t value : ignored ? field.ignored : field.refused) {
                FileBytes bytes = good;
                Put(bytes, field.at, value, field.bytes);
                MatShort m;
                EXPECT_EQ(m.ReadBMP(Stream(bytes)), ignored ? 0 : 4) << field.name << " " << value;
                EXPECT_EQ(m.pblock == nullptr, !ignored) << field.name << " " << value;
            }
        }
    }
}

TEST(bmpread, SixteenBitFilesCutAnywhereAreRefused)
{
    Random random(116);
    const File f = Sixteen(random, 5, 3); // rows of 12
    const FileBytes whole = f.Bytes();
    for (std::size_t length = 0; length < whole.size(); length++) {
        MatShort m;
        const bool onlyPaddingMissing = length >= whole.size() - 2;
        EXPECT_EQ(m.ReadBMP(Stream(Cut(whole, length))), onlyPaddingMissing ? 0 : 4) << length;
        EXPECT_EQ(m.pblock != nullptr, length >= 54) << length;
    }
    MatShort m(5, 3);
    m.Fill(1234);
    EXPECT_EQ(m.ReadBMP(Stream(Cut(whole, 66 + 12 + 5))), 4);
    const Shorts picture = ShortsOf(f, 12);
    EXPECT_EQ(m(4, 2), picture.At(4, 2));
    EXPECT_EQ(m(1, 1), picture.At(1, 1));
    EXPECT_EQ(m(2, 1), 1234) << "of which only the first byte came";
    EXPECT_EQ(m(0, 0), 1234);
}

TEST(bmpread, SixteenBitFilesOfNegativeSize)
{
    Random random(117);
    for (const auto& [w, h, result] : std::vector<std::array<int, 3>>{{5, -3, 0}, {-5, 3, 4}, {-5, -3, 0}}) {
        File f = Sixteen(random, 5, 3);
        f.width = w;
        f.height = h;
        MatShort m;
        EXPECT_EQ(m.ReadBMP(Stream(f.Bytes())), result) << w << " x " << h;
        EXPECT_EQ(m.pblock, nullptr);
    }
}

TEST(bmpread, SixteenBitViewsOfAnyStridesAreRead)
{
    Random random(118);
    const File f = Sixteen(random, 5, 3);
    for (const Layout& layout : viewLayouts) {
        Laid<short> laid(5, 3, layout, random);
        EXPECT_EQ(laid.view.ReadBMP(Stream(f.Bytes())), 0);
        EXPECT_TRUE(Same(laid.view, ShortsOf(f, 12))) << layout;
        EXPECT_TRUE(laid.SurroundingsUntouched()) << layout;
    }
}

// ---------------------------------------------------------------------------------- files by name and stream

TEST(bmpread, AFileIsReadByItsName)
{
    Random random(119);
    const TemporaryFolder folder;
    const auto text = [](const FileBytes& bytes) { return std::string(bytes.begin(), bytes.end()); };
    const Bytes picture = Noise<std::uint8_t>(random, 9, 4);
    const File colour = Colour(random, 5, 3), sixteen = Sixteen(random, 5, 3);
    folder.Write("grey.bmp", text(reference::BmpByte(picture)));
    folder.Write("colour.bmp", text(colour.Bytes()));
    folder.Write("sixteen.bmp", text(sixteen.Bytes()));
    folder.Write("empty.bmp", "");

    MatByte grey;
    EXPECT_EQ(grey.ReadBMP((folder / "grey.bmp").c_str()), 0);
    EXPECT_TRUE(Same(grey, picture));
    CubByte cube;
    EXPECT_EQ(cube.ReadBMP((folder / "colour.bmp").c_str()), 0);
    EXPECT_TRUE(Holds(cube, PlanesOf(colour, 16)));
    MatShort shorts;
    EXPECT_EQ(shorts.ReadBMP((folder / "sixteen.bmp").c_str()), 0);
    EXPECT_TRUE(Same(shorts, ShortsOf(sixteen, 12)));

    for (const char* name : {"none.bmp", "no/such/folder.bmp"}) {
        EXPECT_EQ(grey.ReadBMP((folder / name).c_str()), 1);
        EXPECT_EQ(cube.ReadBMP((folder / name).c_str()), 1);
        EXPECT_EQ(shorts.ReadBMP((folder / name).c_str()), 1);
    }
    EXPECT_TRUE(Same(grey, picture)) << "left as it was";
    EXPECT_EQ(grey.ReadBMP((folder / "empty.bmp").c_str()), 4);
    EXPECT_EQ(cube.ReadBMP((folder / "grey.bmp").c_str()), 2);
    EXPECT_EQ(grey.ReadBMP(folder.Path().c_str()), 4) << "a folder opens, but does not read";
}

TEST(bmpread, FilesAreClosedAgain)
{
    Random random(120);
    const TemporaryFolder folder;
    const FileBytes bytes = EightBit(random, 4, 3).Bytes();
    folder.Write("good.bmp", std::string(bytes.begin(), bytes.end()));
    folder.Write("bad.bmp", "BM");
    const std::ptrdiff_t open = OpenFiles();
    EXPECT_EQ(MatByte().ReadBMP((folder / "good.bmp").c_str()), 0);
    EXPECT_EQ(MatByte().ReadBMP((folder / "bad.bmp").c_str()), 4);
    EXPECT_EQ(MatByte().ReadBMP((folder / "none.bmp").c_str()), 1);
    EXPECT_EQ(CubByte().ReadBMP((folder / "good.bmp").c_str()), 2);
    EXPECT_EQ(MatShort().ReadBMP((folder / "good.bmp").c_str()), 4);
    EXPECT_EQ(OpenFiles(), open);
}

TEST(bmpread, NoStreamIsNoFile)
{
    std::FILE* const none = nullptr;
    EXPECT_EQ(MatByte().ReadBMP(none), 1);
    EXPECT_EQ(CubByte().ReadBMP(none), 1);
    EXPECT_EQ(MatShort().ReadBMP(none), 1);
}

} // namespace
