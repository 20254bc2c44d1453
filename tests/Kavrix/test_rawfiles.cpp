// RAW, TIFF and IMG files: their bytes, and the message of every failure.
#include <tests/support/ChildProcess.h>
#include <tests/support/Pictures.h>

#include <gtest/gtest.h>

#include <cerrno>
#include <chrono>
#include <climits>
#include <cstdint>
#include <cstdio>
#include <functional>
#include <string>
#include <vector>

#include <unistd.h>

namespace {

using namespace pictures;

const char* const rawNotOpen = "Cannot open raw image file";
const char* const rawEnd = "ReadRAW: EOF reached while reading an image";
const char* const rawNoHeader = "WriteRAW: Cannot read header file";
const char* const rawNotWritten = "WriteRAW: Write into a file failed";
const char* const tiffNotOpen = "Cannot open TIFF file for write";
const char* const tiffNotWritten = "Cannot save data into a TIFF file";
const char* const imgMissing = "load_from_image_file: file not existing";
const char* const imgNoSuffix = "load_from_image_file: file name doesn't contain a suffix";
const char* const imgOtherSuffix = "load_from_image_file: file format not recognized";
const char* const imgNoData = "load_from_image_file: file doesn't contain \"data\"";
const char* const imgTooSmall = "load_from_image_file: file too small";
const char* const shared = "Resize_ubyte: Object cannot be resized, data are referenced by another object";

/// What the child has to do goes through a function that never gives back a matrix.
void ExpectStop(const std::function<void()>& routine, const char* message)
{
    const FailStop stop = RunUntilHalt(routine);
    EXPECT_TRUE(stop.halted) << stop.state;
    EXPECT_EQ(stop.line, ErrorLine(message));
}

/// In a child whose current folder is `folder`; it must come to its end.
void ExpectDoneIn(const TemporaryFolder& folder, const std::function<void()>& routine)
{
    const FailStop stop = RunUntilHalt([&] {
        if (chdir(folder.Path().c_str()) != 0) _exit(2);
        routine();
    });
    EXPECT_EQ(stop.state, "exited with 0") << stop.err;
}

void ExpectStopIn(const TemporaryFolder& folder, const std::function<void()>& routine, const char* message)
{
    ExpectStop(
        [&] {
            if (chdir(folder.Path().c_str()) != 0) _exit(2);
            routine();
        },
        message);
}

std::string TextOf(const std::vector<std::uint8_t>& bytes) { return std::string(bytes.begin(), bytes.end()); }
std::string TextOf(const Bytes& picture) { return TextOf(picture.a); }

/// The pixels column after column.
std::string Columns(const Bytes& picture)
{
    std::string text;
    for (int x = 0; x < picture.w; x++)
        for (int y = 0; y < picture.h; y++) text += static_cast<char>(picture.At(x, y));
    return text;
}

/// What `write` puts into a stream.
std::string Streamed(const std::function<void(std::FILE*)>& write)
{
    std::FILE* const f = std::tmpfile();
    if (f == nullptr) throw std::system_error(errno, std::generic_category(), "tmpfile");
    write(f);
    std::rewind(f);
    std::string bytes;
    for (int c; (c = std::getc(f)) != EOF;) bytes += static_cast<char>(c);
    std::fclose(f);
    return bytes;
}

/// A stream to a full disk that passes every byte on at once.
std::FILE* FullDisk()
{
    std::FILE* const f = std::fopen("/dev/full", "wb");
    if (f == nullptr) throw std::system_error(errno, std::generic_category(), "/dev/full");
    std::setvbuf(f, nullptr, _IONBF, 0);
    return f;
}

// ---------------------------------------------------------------------------------- reading RAW

TEST(ReadRAW, ReadsRowAfterRowFromTheTop)
{
    TemporaryFolder folder;
    folder.Write("a.raw", "abcdef");
    MatByte m;
    m.ReadRAW((folder / "a.raw").c_str(), 0, 3, 2);
    ASSERT_EQ(m.dim1, 3);
    ASSERT_EQ(m.dim2, 2);
    EXPECT_EQ(m(0, 0), 'a');
    EXPECT_EQ(m(2, 0), 'c');
    EXPECT_EQ(m(0, 1), 'd');
    EXPECT_EQ(m(2, 1), 'f');
}

TEST(ReadRAW, DropsTheBytesBeforeThePicture)
{
    Random random(31);
    const Bytes picture = Noise<std::uint8_t>(random, 17, 11);
    TemporaryFolder folder;
    for (const int nskip : {0, 1, 2, 100, 5000}) {
        folder.Write("a.raw",
                     std::string(static_cast<std::size_t>(nskip), '\xFF') + TextOf(picture) + "rest");
        MatByte m;
        m.ReadRAW((folder / "a.raw").c_str(), nskip, 17, 11);
        EXPECT_TRUE(Same(m, picture)) << nskip;
    }
}

TEST(ReadRAW, ANegativeNumberOfBytesToDropDropsNone)
{
    TemporaryFolder folder;
    folder.Write("a.raw", "ab");
    for (const int nskip : {-1, INT_MIN}) {
        MatByte m;
        m.ReadRAW((folder / "a.raw").c_str(), nskip, 2, 1);
        EXPECT_EQ(m(0, 0), 'a');
        EXPECT_EQ(m(1, 0), 'b');
    }
}

TEST(ReadRAW, AStreamIsReadFromWhereItIsAndStaysOpen)
{
    std::FILE* const f = std::tmpfile();
    ASSERT_NE(f, nullptr);
    std::fputs("0123456789", f);
    std::rewind(f);
    MatByte m;
    m.ReadRAW(f, 1, 2, 2);
    EXPECT_TRUE(Same(m, [] {
        Bytes wanted(2, 2);
        wanted.a = {'1', '2', '3', '4'};
        return wanted;
    }()));
    m.ReadRAW(f, 2, 1, 1);
    EXPECT_EQ(m(0, 0), '7');
    EXPECT_EQ(std::getc(f), '8');
    std::fclose(f);
}

TEST(ReadRAW, EveryByteValueIsRead)
{
    Bytes picture(16, 16);
    for (std::size_t i = 0; i < 256; i++) picture.a[i] = static_cast<std::uint8_t>(i);
    TemporaryFolder folder;
    folder.Write("a.raw", TextOf(picture));
    MatByte m;
    m.ReadRAW((folder / "a.raw").c_str(), 0, 16, 16);
    EXPECT_TRUE(Same(m, picture));
}

TEST(ReadRAW, AViewOfTheSameSizeIsFilledInItsPicture)
{
    Random random(32);
    TemporaryFolder folder;
    const Bytes picture = Noise<std::uint8_t>(random, 9, 7);
    folder.Write("a.raw", TextOf(picture));
    for (const Layout& layout : viewLayouts) {
        Laid<std::uint8_t> laid(9, 7, layout, random);
        laid.view.ReadRAW((folder / "a.raw").c_str(), 0, 9, 7);
        EXPECT_TRUE(Same(laid.view, picture)) << layout;
        EXPECT_TRUE(laid.SurroundingsUntouched()) << layout;
    }
}

TEST(ReadRAW, AViewOfAnotherSizeIsRefused)
{
    TemporaryFolder folder;
    folder.Write("a.raw", std::string(100, 'a'));
    ExpectStop(
        [&] {
            MatByte image(10, 10);
            MatByte view = image(RNG(0, 4), RNG(0, 4));
            view.ReadRAW((folder / "a.raw").c_str(), 0, 4, 5);
        },
        shared);
}

TEST(ReadRAW, StorageOfTheSameNumberOfPixelsIsKept)
{
    TemporaryFolder folder;
    folder.Write("a.raw", "abcdef");
    MatByte m(2, 3);
    const Datablock* const block = m.pblock;
    m.ReadRAW((folder / "a.raw").c_str(), 0, 3, 2);
    EXPECT_EQ(m.pblock, block);
    EXPECT_EQ(m.dim1, 3);
    m.ReadRAW((folder / "a.raw").c_str(), 0, 1, 1);
    EXPECT_EQ(m.pblock->len, 1);
}

TEST(ReadRAW, AMissingFileStops)
{
    TemporaryFolder folder;
    ExpectStop([&] { MatByte().ReadRAW((folder / "none.raw").c_str(), 0, 1, 1); }, rawNotOpen);
}

TEST(ReadRAW, TheEndOfTheFileStops)
{
    TemporaryFolder folder;
    folder.Write("a.raw", "abcdef");
    folder.Write("empty.raw", "");
    const std::string name = folder / "a.raw", empty = folder / "empty.raw";
    ExpectStop([&] { MatByte().ReadRAW(name.c_str(), 0, 7, 1); }, rawEnd); // in the picture
    ExpectStop([&] { MatByte().ReadRAW(name.c_str(), 1, 3, 2); }, rawEnd); // one byte short
    ExpectStop([&] { MatByte().ReadRAW(name.c_str(), 7, 0, 0); }, rawEnd); // in what is dropped
    ExpectStop([&] { MatByte().ReadRAW(name.c_str(), INT_MAX, 1, 1); }, rawEnd);
    ExpectStop([&] { MatByte().ReadRAW(empty.c_str(), 0, 1, 1); }, rawEnd);
}

TEST(ReadRAW, ANegativeSizeStops)
{
    TemporaryFolder folder;
    folder.Write("a.raw", "abcdef");
    const std::string name = folder / "a.raw";
    for (const auto& [w, h] :
         {std::pair{-1, 2}, {2, -1}, {-2, -3}, {INT_MIN, 1}, {0, -1}, {-1, 0}, {INT_MIN, INT_MIN}})
        ExpectStop([&, w = w, h = h] { MatByte().ReadRAW(name.c_str(), 0, w, h); }, rawEnd);
}

TEST(ReadRAW, ASizeThatNoStorageHasStops)
{
    TemporaryFolder folder;
    folder.Write("a.raw", "abcdef");
    const std::string name = folder / "a.raw";
    for (const auto& [w, h] : {std::pair{65536, 65536}, {INT_MAX, 2}, {INT_MAX, INT_MAX}})
        ExpectStop([&, w = w, h = h] { MatByte().ReadRAW(name.c_str(), 0, w, h); },
                   "Datablock::create: Not enough memory");
}

TEST(ReadRAW, ASizeOfZeroGivesAnEmptyMatrix)
{
    TemporaryFolder folder;
    folder.Write("a.raw", "");
    for (const auto& [w, h] : {std::pair{0, 0}, {0, 5}, {5, 0}}) {
        MatByte fresh;
        fresh.ReadRAW((folder / "a.raw").c_str(), 0, w, h);
        EXPECT_EQ(fresh.pblock, nullptr);
        EXPECT_EQ(fresh.p_data, nullptr);
        MatByte used(3, 4);
        used.ReadRAW((folder / "a.raw").c_str(), 0, w, h);
        EXPECT_EQ(used.pblock, nullptr);
        EXPECT_EQ(used.p_data, nullptr);
        EXPECT_EQ(used.dim1, w);
        EXPECT_EQ(used.dim2, h);
    }
}

TEST(ReadRAW, RowsWithoutColumnsAreNotCounted)
{
    TemporaryFolder folder;
    folder.Write("a.raw", "");
    folder.Write("a.img", "image 0*2147483647*8\r\ndata\r\n");
    // Without optimisation a loop over so many rows takes seconds.
    const FailStop stop = RunUntilHalt(
        [&] {
            for (int i = 0; i < 10; i++) {
                MatByte m;
                m.ReadRAW((folder / "a.raw").c_str(), 0, 0, INT_MAX);
                m.load_from_image_file((folder / "a.img").c_str());
            }
        },
        std::chrono::seconds(10));
    EXPECT_EQ(stop.state, "exited with 0") << stop.err;
}

TEST(ReadRAW, ANullStreamStops)
{
    ExpectStop([] { MatByte().ReadRAW(static_cast<std::FILE*>(nullptr), 0, 1, 1); }, rawNotOpen);
}

// ---------------------------------------------------------------------------------- writing RAW

TEST(WriteRAW, WritesColumnAfterColumn)
{
    TemporaryFolder folder;
    Bytes picture(3, 2);
    picture.a = {'a', 'b', 'c', 'd', 'e', 'f'};
    ArrayOf(picture).WriteRAW((folder / "a.raw").c_str(), 0);
    EXPECT_EQ(folder.Read("a.raw"), "adbecf");
}

// The two directions differ: what comes back is the picture on its side, unless the caller knows.
TEST(WriteRAW, ReadsBackTransposed)
{
    Random random(33);
    TemporaryFolder folder;
    const Bytes picture = Noise<std::uint8_t>(random, 13, 8);
    ArrayOf(picture).WriteRAW((folder / "a.raw").c_str(), 0);
    MatByte back;
    back.ReadRAW((folder / "a.raw").c_str(), 0, 8, 13);
    EXPECT_TRUE(Same(back.Trans(), picture));
}

TEST(WriteRAW, ReplacesTheFile)
{
    TemporaryFolder folder;
    folder.Write("a.raw", std::string(1000, 'z'));
    ArrayOf(Bytes(2, 2, 'a')).WriteRAW((folder / "a.raw").c_str(), 0);
    EXPECT_EQ(folder.Read("a.raw"), "aaaa");
}

TEST(WriteRAW, AStreamIsWrittenFromWhereItIsAndStaysOpen)
{
    EXPECT_EQ(Streamed([](std::FILE* f) {
                  std::fputs("before ", f);
                  ArrayOf(Bytes(2, 1, 'a')).WriteRAW(f, 0);
                  ArrayOf(Bytes(1, 1, 'b')).WriteRAW(f, -1);
                  std::fputs(" after", f);
              }),
              "before aab after");
}

TEST(WriteRAW, AnyViewIsWritten)
{
    Random random(34);
    for (const Layout& layout : viewLayouts) {
        const Bytes picture = Noise<std::uint8_t>(random, 9, 7);
        const Laid<std::uint8_t> laid(picture, layout, random);
        EXPECT_EQ(Streamed([&](std::FILE* f) { laid.view.WriteRAW(f, 0); }), Columns(picture)) << layout;
    }
}

TEST(WriteRAW, AnEmptyMatrixGivesAnEmptyFile)
{
    TemporaryFolder folder;
    MatByte().WriteRAW((folder / "a.raw").c_str(), 0);
    EXPECT_EQ(folder.Read("a.raw"), "");
}

TEST(WriteRAW, WithoutAHeaderTheHeaderFileIsNotNeeded)
{
    TemporaryFolder folder;
    for (const int nskip : {0, -1, INT_MIN}) {
        ExpectDoneIn(folder, [nskip] { ArrayOf(Bytes(2, 2, 'a')).WriteRAW("a.raw", nskip); });
        EXPECT_EQ(folder.Read("a.raw"), "aaaa");
    }
    EXPECT_FALSE(folder.Has("header.tif"));
}

// Its time of access would tell; simpler is a header that cannot be read, a folder of that name.
TEST(WriteRAW, WithoutAHeaderTheHeaderFileIsLeftAlone)
{
    TemporaryFolder folder;
    folder.Write("header.tif", "HEADER");
    ExpectDoneIn(folder, [] { ArrayOf(Bytes(2, 2, 'a')).WriteRAW("a.raw", 0); });
    EXPECT_EQ(folder.Read("a.raw"), "aaaa");
    EXPECT_EQ(folder.Read("header.tif"), "HEADER");
}

TEST(WriteRAW, TheHeaderIsCopiedFromItsFile)
{
    TemporaryFolder folder;
    const std::string header("\0\1HEA\xFF"
                             "DER",
                             9);
    folder.Write("header.tif", header);
    for (const int nskip : {1, 6, 8, 9}) {
        ExpectDoneIn(folder, [nskip] { ArrayOf(Bytes(2, 2, 'a')).WriteRAW("a.raw", nskip); });
        EXPECT_EQ(folder.Read("a.raw"), header.substr(0, static_cast<std::size_t>(nskip)) + "aaaa") << nskip;
    }
    EXPECT_EQ(folder.Read("header.tif"), header);
}

TEST(WriteRAW, BytesThatTheHeaderFileDoesNotHaveAre255)
{
    TemporaryFolder folder;
    folder.Write("header.tif", "HEADER");
    ExpectDoneIn(folder, [] { ArrayOf(Bytes(2, 2, 'a')).WriteRAW("a.raw", 10); });
    EXPECT_EQ(folder.Read("a.raw"), "HEADER\xFF\xFF\xFF\xFF"
                                    "aaaa");

    folder.Write("header.tif", "");
    ExpectDoneIn(folder, [] { ArrayOf(Bytes(2, 2, 'a')).WriteRAW("a.raw", 3); });
    EXPECT_EQ(folder.Read("a.raw"), "\xFF\xFF\xFF"
                                    "aaaa");
}

TEST(WriteRAW, AWrittenHeaderIsDroppedWhenReading)
{
    Random random(35);
    TemporaryFolder folder;
    folder.Write("header.tif", std::string(300, 'h'));
    const Bytes picture = Noise<std::uint8_t>(random, 12, 5);
    ExpectDoneIn(folder, [&] { ArrayOf(picture).WriteRAW("a.raw", 256); });
    MatByte back;
    back.ReadRAW((folder / "a.raw").c_str(), 256, 5, 12);
    EXPECT_TRUE(Same(back.Trans(), picture));
}

TEST(WriteRAW, AMissingHeaderFileStops)
{
    TemporaryFolder folder;
    ExpectStopIn(
        folder, [] { ArrayOf(Bytes(2, 2, 'a')).WriteRAW("a.raw", 1); }, rawNoHeader);
}

TEST(WriteRAW, AFileThatDoesNotOpenStops)
{
    TemporaryFolder folder;
    ExpectStop([&] { ArrayOf(Bytes(2, 2)).WriteRAW((folder / "none/a.raw").c_str(), 0); }, rawNotOpen);
    ExpectStop([&] { ArrayOf(Bytes(2, 2)).WriteRAW(folder.Path().c_str(), 0); }, rawNotOpen);
    ExpectStop([] { ArrayOf(Bytes(2, 2)).WriteRAW(static_cast<std::FILE*>(nullptr), 0); }, rawNotOpen);
}

TEST(WriteRAW, AFullDiskStops)
{
    ExpectStop([] { ArrayOf(Bytes(300, 300)).WriteRAW("/dev/full", 0); }, rawNotWritten); // on the way
    ExpectStop([] { ArrayOf(Bytes(2, 2)).WriteRAW("/dev/full", 0); }, rawNotWritten);     // at the end
    ExpectStop([] { ArrayOf(Bytes(2, 2)).WriteRAW(FullDisk(), 0); }, rawNotWritten);
    TemporaryFolder folder;
    folder.Write("header.tif", "HEADER");
    ExpectStopIn(
        folder, [] { MatByte().WriteRAW(FullDisk(), 6); }, rawNotWritten); // in the header
}

// ---------------------------------------------------------------------------------- writing TIFF

/// A TIFF file as its readers see it; every number is read where the format says.
class TiffBytes {
public:
    explicit TiffBytes(const std::string& file) : bytes(file) {}

    unsigned Byte(std::size_t offset) const { return static_cast<unsigned char>(bytes.at(offset)); }
    unsigned Short(std::size_t offset) const { return Byte(offset) << 8 | Byte(offset + 1); }
    unsigned Long(std::size_t offset) const { return Short(offset) << 16 | Short(offset + 2); }

private:
    std::string bytes;
};

std::string TiffOf(const MatByte& m)
{
    return Streamed([&](std::FILE* f) { m.WriteTIFF(f); });
}

/// Checks every byte of the file.
void ExpectTiff(const std::string& bytes, const Bytes& picture)
{
    const unsigned w = static_cast<unsigned>(picture.w), h = static_cast<unsigned>(picture.h);
    const unsigned end = 154 + w * h, pad = end % 2, resolution = end + pad;
    ASSERT_EQ(bytes.size(), resolution + 16);
    const TiffBytes tiff(bytes);
    EXPECT_EQ(bytes.substr(0, 2), "MM");
    EXPECT_EQ(tiff.Short(2), 42u);
    EXPECT_EQ(tiff.Long(4), 8u);
    ASSERT_EQ(tiff.Short(8), 12u);

    const unsigned aShort = 3, aLong = 4, aRational = 5;
    const unsigned entries[12][3] = {
        {256, aLong, w},
        {257, aLong, h},
        {258, aShort, 8},
        {259, aShort, 1},
        {262, aShort, 1},
        {273, aLong, 154},
        {277, aShort, 1},
        {278, aLong, h},
        {279, aLong, w * h},
        {282, aRational, resolution},
        {283, aRational, resolution + 8},
        {296, aShort, 1},
    };
    for (std::size_t i = 0; i < 12; i++) {
        const std::size_t at = 10 + 12 * i;
        const auto& [tag, type, value] = entries[i];
        EXPECT_EQ(tiff.Short(at), tag);
        EXPECT_EQ(tiff.Short(at + 2), type) << tag;
        EXPECT_EQ(tiff.Long(at + 4), 1u) << tag;
        if (type == aShort) {
            EXPECT_EQ(tiff.Short(at + 8), value) << tag;
            EXPECT_EQ(tiff.Short(at + 10), 0u) << tag;
        } else {
            EXPECT_EQ(tiff.Long(at + 8), value) << tag;
        }
    }
    EXPECT_EQ(bytes.substr(154, w * h), TextOf(picture));
    EXPECT_EQ(bytes.substr(end, pad), std::string(pad, '\0'));
    EXPECT_EQ(tiff.Long(resolution), 1u);
    EXPECT_EQ(tiff.Long(resolution + 4), 72u);
    EXPECT_EQ(tiff.Long(resolution + 8), 1u);
    EXPECT_EQ(tiff.Long(resolution + 12), 72u);
}

TEST(WriteTIFF, NinePixelsAreFollowedByAPadByte)
{
    Bytes picture(3, 3);
    for (std::size_t i = 0; i < 9; i++) picture.a[i] = static_cast<std::uint8_t>(101 + i);
    const std::string bytes = TiffOf(ArrayOf(picture));
    ASSERT_EQ(bytes.size(), 180u);
    const TiffBytes tiff(bytes);
    for (std::size_t i = 0; i < 9; i++) EXPECT_EQ(tiff.Byte(154 + i), 101 + i);
    EXPECT_EQ(tiff.Byte(163), 0u);
    EXPECT_EQ(tiff.Long(164), 1u);
    EXPECT_EQ(tiff.Long(172), 1u);
    EXPECT_EQ(tiff.Long(10 + 9 * 12 + 8), 164u);
    EXPECT_EQ(tiff.Long(10 + 10 * 12 + 8), 172u);
}

TEST(WriteTIFF, EveryFieldOfEverySize)
{
    Random random(36);
    for (const auto& [w, h] : {std::pair{1, 1},
                               {2, 1},
                               {1, 2},
                               {3, 3},
                               {4, 3},
                               {5, 7},
                               {64, 2},
                               {71, 33},
                               {300, 257},
                               {70000, 1}}) {
        SCOPED_TRACE(testing::Message() << w << " x " << h);
        const Bytes picture = Noise<std::uint8_t>(random, w, h);
        ExpectTiff(TiffOf(ArrayOf(picture)), picture);
    }
}

TEST(WriteTIFF, TheNameOverloadWritesTheSameFile)
{
    Random random(37);
    TemporaryFolder folder;
    const Bytes picture = Noise<std::uint8_t>(random, 33, 21);
    folder.Write("a.tif", std::string(2000, 'z')); // replaced
    ArrayOf(picture).WriteTIFF((folder / "a.tif").c_str());
    ExpectTiff(folder.Read("a.tif"), picture);
}

TEST(WriteTIFF, AnyViewIsWritten)
{
    Random random(38);
    for (const Layout& layout : viewLayouts) {
        SCOPED_TRACE(testing::Message() << layout);
        const Bytes picture = Noise<std::uint8_t>(random, 9, 7);
        const Laid<std::uint8_t> laid(picture, layout, random);
        ExpectTiff(TiffOf(laid.view), picture);
    }
}

TEST(WriteTIFF, ThePixelsBeginWhereTheEntriesEnd)
{
    // Readers take the first four pixels for the offset of a next directory: zeros keep them content.
    const std::string bytes = TiffOf(ArrayOf(Bytes(4, 4)));
    EXPECT_EQ(10 + 12 * 12, 154);
    EXPECT_EQ(TiffBytes(bytes).Long(154), 0u);
    EXPECT_EQ(bytes.size(), 154u + 16 + 16);
}

TEST(WriteTIFF, AnEmptyMatrixGivesAFileWithoutPixels)
{
    const std::string bytes = TiffOf(MatByte());
    ASSERT_EQ(bytes.size(), 154u + 16);
    const TiffBytes tiff(bytes);
    EXPECT_EQ(tiff.Long(10 + 8), 0u);          // width
    EXPECT_EQ(tiff.Long(10 + 8 * 12 + 8), 0u); // strip byte counts
    EXPECT_EQ(tiff.Long(10 + 9 * 12 + 8), 154u);
}

TEST(WriteTIFF, AMatrixWithoutStorageWritesTheHeightThatItHas)
{
    const auto heights = [](const MatByte& m) {
        const std::string bytes = TiffOf(m);
        EXPECT_EQ(bytes.size(), 154u + 16);
        const TiffBytes tiff(bytes);
        EXPECT_EQ(tiff.Long(10 + 8), 0u); // width
        EXPECT_EQ(tiff.Long(10 + 1 * 12 + 8), tiff.Long(10 + 7 * 12 + 8)) << "rows per strip";
        return tiff.Long(10 + 1 * 12 + 8);
    };
    EXPECT_EQ(heights(MatByte()), 1u);
    MatByte detached;
    UBYTE pixels[6] = {};
    detached.Attach_to_raw_image(pixels, 3, 2);
    detached.Detach_from_raw_image();
    EXPECT_EQ(heights(detached), 0u);
    MatByte resized;
    resized.Resize(0, 5);
    ASSERT_EQ(resized.pblock, nullptr);
    EXPECT_EQ(heights(resized), 5u);
}

TEST(WriteTIFF, AFileThatDoesNotOpenStops)
{
    TemporaryFolder folder;
    ExpectStop([&] { ArrayOf(Bytes(2, 2)).WriteTIFF((folder / "none/a.tif").c_str()); }, tiffNotOpen);
    ExpectStop([&] { ArrayOf(Bytes(2, 2)).WriteTIFF(folder.Path().c_str()); }, tiffNotOpen);
    ExpectStop([] { ArrayOf(Bytes(2, 2)).WriteTIFF(static_cast<std::FILE*>(nullptr)); }, tiffNotOpen);
}

TEST(WriteTIFF, AFullDiskStops)
{
    ExpectStop([] { ArrayOf(Bytes(2, 2)).WriteTIFF(FullDisk()); }, tiffNotWritten);      // at "MM"
    ExpectStop([] { ArrayOf(Bytes(300, 300)).WriteTIFF("/dev/full"); }, tiffNotWritten); // in the pixels
    ExpectStop([] { ArrayOf(Bytes(2, 2)).WriteTIFF("/dev/full"); }, tiffNotWritten);     // at the end
}

TEST(WriteTIFF, NumbersAreWrittenMostSignificantByteFirst)
{
    EXPECT_EQ(Streamed([](std::FILE* f) {
                  fwriteSGshort(0x1234, f);
                  fwriteSGshort(0xFFFE, f);
                  fwriteSGlong(0x12345678, f);
                  fwriteSGlong(0xFFFFFFFEul, f);
                  fwriteSGlong(7, f);
              }),
              std::string("\x12\x34\xFF\xFE\x12\x34\x56\x78\xFF\xFF\xFF\xFE\0\0\0\7", 16));
    std::FILE* const full = FullDisk();
    fwriteSGshort(1, full); // not checked: no stop
    fwriteSGlong(1, full);
    std::fclose(full);
}

// ---------------------------------------------------------------------------------- reading IMG

/// Loads a file of these bytes into `m`.
void Load(MatByte& m, const std::string& bytes, const std::string& name = "a.img")
{
    TemporaryFolder folder;
    folder.Write(name, bytes);
    m.load_from_image_file((folder / name).c_str());
}

MatByte Loaded(const std::string& bytes)
{
    MatByte m;
    Load(m, bytes);
    return m;
}

void ExpectLoadStops(const std::string& bytes, const char* message)
{
    SCOPED_TRACE(bytes.substr(0, 60));
    TemporaryFolder folder;
    folder.Write("a.img", bytes);
    const std::string name = folder / "a.img";
    ExpectStop([&] { MatByte().load_from_image_file(name.c_str()); }, message);
}

void ExpectEmpty(const MatByte& m)
{
    EXPECT_EQ(m.pblock, nullptr);
    EXPECT_EQ(m.p_data, nullptr);
    EXPECT_TRUE(m.dim1 == 0 || m.dim2 == 0) << m.dim1 << " x " << m.dim2;
}

/// 4 x 2 pixels.
const std::string pixels = "ABCDEFGH";

void ExpectFourByTwo(const MatByte& m)
{
    Bytes wanted(4, 2);
    wanted.a = {pixels.begin(), pixels.end()};
    EXPECT_TRUE(Same(m, wanted));
}

TEST(ImageFile, LoadsRowAfterRowFromTheTop)
{
    for (const char* const name : {"a.img", "a.IMG", "b.c.img", ".img"}) {
        MatByte m;
        Load(m, "image 4*2*8\r\ndata\r\n" + pixels, name);
        SCOPED_TRACE(name);
        ExpectFourByTwo(m);
    }
}

TEST(ImageFile, OneByteTooFewStops) { ExpectLoadStops("image 4*2*8\r\ndata\r\nABCDEFG", imgTooSmall); }

TEST(ImageFile, NoByteAfterTheDataLineStops)
{
    ExpectLoadStops("image 4*2*8\r\ndata\r\n", imgTooSmall);
    ExpectLoadStops("image 4*2*8\r\ndata", imgTooSmall);
}

TEST(ImageFile, BytesAfterThePixelsAreLeftAlone)
{
    ExpectFourByTwo(Loaded("image 4*2*8\r\ndata\r\n" + pixels + "and more"));
}

TEST(ImageFile, EveryByteValueIsAPixel)
{
    Bytes picture(16, 16);
    for (std::size_t i = 0; i < 256; i++) picture.a[i] = static_cast<std::uint8_t>(i);
    EXPECT_TRUE(Same(Loaded("image 16*16*8\r\ndata\r\n" + TextOf(picture)), picture));
    // A first pixel that looks like the end of a line belongs to the picture.
    Bytes newlines(3, 2, '\n');
    EXPECT_TRUE(Same(Loaded("image 3*2*8\r\ndata\r\n" + TextOf(newlines)), newlines));
}

TEST(ImageFile, LinesMayEndWithANewlineAlone)
{
    ExpectFourByTwo(Loaded("image 4*2*8\ndata\n" + pixels));
    ExpectFourByTwo(Loaded("image 4*2*8\nowner someone\n\ndata\n" + pixels));
}

TEST(ImageFile, LinesBeforeDataArePassedOver)
{
    ExpectFourByTwo(Loaded(
        "image 4*2*8\r\nowner someone\r\n\r\nDATA\r\n Data\r\n\x80\x01\r\nmy data\r\ndata\r\n" + pixels));
}

TEST(ImageFile, TheDataLineMayGoOn)
{
    ExpectFourByTwo(Loaded("image 4*2*8\r\ndata follows here\r\n" + pixels));
    ExpectFourByTwo(Loaded("image 4*2*8\r\ndatabase\n" + pixels));
}

TEST(ImageFile, ALineOf1024CharactersIsReadWhole)
{
    // The newline counts: 1022, 1023 and 1024 characters and more of them before it.
    for (const std::size_t length :
         {1000u, 1021u, 1022u, 1023u, 1024u, 1025u, 1026u, 2047u, 2048u, 2049u, 5000u})
        ExpectFourByTwo(Loaded("image 4*2*8\n" + std::string(length, 'x') + "\ndata\n" + pixels));
}

// What follows the 1024th character is a line of its own.
TEST(ImageFile, ALineIsCutAfter1024Characters)
{
    ExpectFourByTwo(Loaded("image 4*2*8\n" + std::string(1024, 'x') + "data\n" + pixels));
    ExpectFourByTwo(Loaded("image 4*2*8\n" + std::string(2048, 'x') + "data\n" + pixels));
    ExpectLoadStops("image 4*2*8\n" + std::string(1023, 'x') + "data\n" + pixels, imgNoData);
    ExpectLoadStops("image 4*2*8\n" + std::string(1025, 'x') + "data\n" + pixels, imgNoData);
}

TEST(ImageFile, ALongDataLineIsCutAsWell)
{
    // The pixels begin behind the 1024th character of the data line.
    ExpectFourByTwo(Loaded("image 4*2*8\ndata" + std::string(1020, ' ') + pixels));
    ExpectFourByTwo(Loaded("image 4*2*8\ndata" + std::string(1019, ' ') + "\n" + pixels));
}

TEST(ImageFile, AFileWithoutDataStops)
{
    ExpectLoadStops("", imgNoData);
    ExpectLoadStops("image 4*2*8\r\n", imgNoData);
    ExpectLoadStops("image 4*2*8\r\ndat", imgNoData);
    ExpectLoadStops("image 4*2*8\r\nmy data\r\n" + pixels, imgNoData);
    ExpectLoadStops("image -4*2*8\r\nmore\r\n", imgNoData); // sizes are judged later
    ExpectLoadStops(std::string(5000, 'x'), imgNoData);
}

TEST(ImageFile, AFirstLineThatDoesNotMatchGivesAnEmptyMatrix)
{
    ExpectEmpty(Loaded("picture 4*2*8\r\ndata\r\n" + pixels));
    ExpectEmpty(Loaded("data\r\n" + pixels));
    ExpectEmpty(Loaded("image four*two*8\r\ndata\r\n" + pixels));
    ExpectEmpty(Loaded("image 4x2x8\r\ndata\r\n" + pixels)); // the width alone
    ExpectEmpty(Loaded("image 4\r\ndata\r\n" + pixels));
    ExpectEmpty(Loaded("Image 4*2*8\r\ndata\r\n" + pixels));
}

TEST(ImageFile, WhatFollowsTheTwoNumbersIsNotJudged)
{
    ExpectFourByTwo(Loaded("image 4*2*16\r\ndata\r\n" + pixels));
    ExpectFourByTwo(Loaded("image 4*2\r\ndata\r\n" + pixels));
    ExpectFourByTwo(Loaded("image   4*2*8 of a wheel\r\ndata\r\n" + pixels)); // blanks as they like
    ExpectFourByTwo(Loaded("image 4* 2*8\r\ndata\r\n" + pixels));
}

TEST(ImageFile, ZerosBeforeANumberDoNotCount)
{
    ExpectFourByTwo(Loaded("image 0004*+2*8\r\ndata\r\n" + pixels));
    ExpectFourByTwo(Loaded("image 00000000000000000000000004*2*8\r\ndata\r\n" + pixels));
    ExpectFourByTwo(Loaded("image 4*00000000000000000000000002*8\r\ndata\r\n" + pixels));
}

TEST(ImageFile, SizesOfZeroGiveAnEmptyMatrix)
{
    ExpectEmpty(Loaded("image 0*0*8\r\ndata\r\n" + pixels));
    ExpectEmpty(Loaded("image 0*2*8\r\ndata\r\n" + pixels));
    ExpectEmpty(Loaded("image 4*0*8\r\ndata\r\n"));
    MatByte used(3, 3);
    Load(used, "image 0*0*8\r\ndata\r\n");
    ExpectEmpty(used);
}

TEST(ImageFile, NegativeSizesStop)
{
    ExpectLoadStops("image -4*2*8\r\ndata\r\n" + pixels, imgTooSmall);
    ExpectLoadStops("image 4*-2*8\r\ndata\r\n" + pixels, imgTooSmall);
    ExpectLoadStops("image -4*-2*8\r\ndata\r\n" + pixels, imgTooSmall);
    ExpectLoadStops("image -4\r\ndata\r\n" + pixels, imgTooSmall);
    ExpectLoadStops("image -2147483648*1*8\r\ndata\r\n" + pixels, imgTooSmall);
}

TEST(ImageFile, SizesWhoseProductDoesNotFitStop)
{
    ExpectLoadStops("image 65536*65536*8\r\ndata\r\n" + pixels, imgTooSmall);
    ExpectLoadStops("image 2147483647*2*8\r\ndata\r\n" + pixels, imgTooSmall);
    ExpectLoadStops("image 2147483647*2147483647*8\r\ndata\r\n" + pixels, imgTooSmall);
    ExpectLoadStops("image 46341*46341*8\r\ndata\r\n" + pixels, imgTooSmall);
}

TEST(ImageFile, NumbersThatOverflowStop)
{
    // Their low 32 bits would be 4 and 2.
    ExpectLoadStops("image 4294967300*2*8\r\ndata\r\n" + pixels, imgTooSmall);
    ExpectLoadStops("image 4*4294967298*8\r\ndata\r\n" + pixels, imgTooSmall);
    ExpectLoadStops("image 18446744073709551620*2*8\r\ndata\r\n" + pixels, imgTooSmall);
    ExpectLoadStops("image 4*18446744073709551618*8\r\ndata\r\n" + pixels, imgTooSmall);
    ExpectLoadStops("image 99999999999999999999999999999*2*8\r\ndata\r\n" + pixels, imgTooSmall);
    ExpectLoadStops("image -99999999999999999999999999999*2*8\r\ndata\r\n" + pixels, imgTooSmall);
    ExpectLoadStops("image 4*" + std::string(400, '9') + "*8\r\ndata\r\n" + pixels, imgTooSmall);
}

TEST(ImageFile, AViewOfTheSameSizeIsFilledInItsPicture)
{
    Random random(39);
    const Bytes picture = Noise<std::uint8_t>(random, 9, 7);
    for (const Layout& layout : viewLayouts) {
        Laid<std::uint8_t> laid(9, 7, layout, random);
        Load(laid.view, "image 9*7*8\r\ndata\r\n" + TextOf(picture));
        EXPECT_TRUE(Same(laid.view, picture)) << layout;
        EXPECT_TRUE(laid.SurroundingsUntouched()) << layout;
    }
}

TEST(ImageFile, AViewOfAnotherSizeIsRefused)
{
    TemporaryFolder folder;
    folder.Write("a.img", "image 4*2*8\r\ndata\r\n" + pixels);
    folder.Write("zero.img", "image 0*0*8\r\ndata\r\n");
    for (const char* const name : {"a.img", "zero.img"}) {
        ExpectStop(
            [&] {
                MatByte image(10, 10);
                MatByte view = image(RNG(0, 1), RNG(0, 3));
                view.load_from_image_file((folder / name).c_str());
            },
            shared);
    }
}

TEST(ImageFile, AnotherSizeReplacesTheStorageOfASoleOwner)
{
    MatByte m(10, 10);
    Load(m, "image 4*2*8\r\ndata\r\n" + pixels);
    ExpectFourByTwo(m);
    EXPECT_EQ(m.pblock->len, 8);
}

TEST(ImageFile, AMissingFileStopsWhateverItsName)
{
    TemporaryFolder folder;
    for (const char* const name : {"none.img", "none.bmp", "none"})
        ExpectStop([&] { MatByte().load_from_image_file((folder / name).c_str()); }, imgMissing);
}

TEST(ImageFile, ANameWithoutADotStops)
{
    TemporaryFolder folder;
    folder.Write("picture", "image 4*2*8\r\ndata\r\n" + pixels);
    ExpectStopIn(
        folder, [] { MatByte().load_from_image_file("picture"); }, imgNoSuffix);
}

TEST(ImageFile, OtherSuffixesStop)
{
    TemporaryFolder folder;
    for (const char* const name : {"a.bmp", "a.Img", "a.imgs", "a.im", "a.", "a.img.gz"}) {
        folder.Write(name, "image 4*2*8\r\ndata\r\n" + pixels);
        SCOPED_TRACE(name);
        ExpectStop([&] { MatByte().load_from_image_file((folder / name).c_str()); }, imgOtherSuffix);
    }
}

TEST(ImageFile, TheFileIsClosedBeforeStopping)
{
    TemporaryFolder folder;
    folder.Write("a.img", "image 4*2*8\r\ndata\r\nABC");
    folder.Write("b.img", "image 4*2*8\r\n");
    folder.Write("c.bmp", "");
    folder.Write("d", "");
    // A child that halts keeps what it has open; its descriptors are looked at from outside while it lives.
    for (const char* const name : {"a.img", "b.img", "c.bmp", "d"}) {
        SCOPED_TRACE(name);
        child_process::Child child(
            [&] {
                if (chdir(folder.Path().c_str()) != 0) _exit(2);
                std::printf("%d\n", static_cast<int>(getpid()));
                std::fflush(stdout);
                MatByte().load_from_image_file(name);
            },
            "");
        for (int i = 0; i < 500 && child.err.find('\n') == std::string::npos; i++)
            child.Read(std::chrono::milliseconds(20));
        ASSERT_NE(child.err.find("load_from_image_file"), std::string::npos);
        bool open = false, seen = false;
        for (const auto& entry :
             std::filesystem::directory_iterator("/proc/" + std::to_string(std::stoi(child.out)) + "/fd")) {
            std::error_code gone;
            const std::string target = std::filesystem::read_symlink(entry.path(), gone).string();
            seen = seen || !target.empty();
            open = open || target.find(folder.Path()) != std::string::npos;
        }
        EXPECT_TRUE(seen);
        EXPECT_FALSE(open);
    }
}

} // namespace
