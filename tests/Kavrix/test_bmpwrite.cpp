// Writing of BMP files: every byte of them, and what happens where a byte cannot be written.
#include <tests/support/ChildProcess.h>
#include <tests/support/Pictures.h>

#include <tests/reference/Files.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using namespace pictures;
using FileBytes = reference::Bytes;

/// A stream that takes bytes without a buffer until it is full. It can also refuse one block only.
class Sink {
public:
    explicit Sink(std::size_t most = SIZE_MAX) : room(most)
    {
        cookie_io_functions_t functions{};
        functions.write = [](void* self, const char* from, size_t n) -> ssize_t {
            return static_cast<ssize_t>(static_cast<Sink*>(self)->Take(from, n));
        };
        file = fopencookie(this, "w", functions);
        if (file == nullptr) throw std::runtime_error("no stream");
        std::setvbuf(file, nullptr, _IONBF, 0);
    }
    Sink(const Sink&) = delete;
    Sink& operator=(const Sink&) = delete;
    ~Sink() { std::fclose(file); }
    operator std::FILE*() const { return file; }

    void RefuseTheBlockAt(std::size_t place) { refusedPlace = place; }

    FileBytes bytes;
    int refused = 0; ///< blocks that were not taken whole

private:
    std::size_t Take(const char* from, std::size_t n)
    {
        if (bytes.size() == refusedPlace) {
            refusedPlace = SIZE_MAX;
            refused++;
            return 0;
        }
        const std::size_t taken = std::min(n, room - bytes.size());
        bytes.insert(bytes.end(), from, from + taken);
        refused += taken < n;
        return taken;
    }

    std::FILE* file;
    std::size_t room, refusedPlace = SIZE_MAX;
};

/// One of the four writers on some array: the stream and the name form, and the bytes that it should write.
struct Writer {
    std::string name;
    std::function<int(std::FILE*)> toStream;
    std::function<int(const char*)> toFile;
    FileBytes wanted;
};

std::array<Bytes, 3> NoisePlanes(Random& random, int w, int h)
{
    return {Noise<std::uint8_t>(random, w, h), Noise<std::uint8_t>(random, w, h),
            Noise<std::uint8_t>(random, w, h)};
}

CubByte CubeOf(const std::array<Bytes, 3>& planes)
{
    return ArrayOf(SequenceOf({planes[0], planes[1], planes[2]}));
}

Writer Grey(const MatByte& m)
{
    return {"grey", [m](std::FILE* f) { return m.WriteBMP(f); }, [m](const char* f) { return m.WriteBMP(f); },
            reference::BmpByte(PictureOf(m))};
}

Writer Colour(const CubByte& c)
{
    const Sequence seq = SequenceOf(c);
    return {"colour", [c](std::FILE* f) { return c.WriteBMP(f); },
            [c](const char* f) { return c.WriteBMP(f); },
            reference::BmpColour({seq.Frame(0), seq.Frame(1), seq.Frame(2)})};
}

Writer Sixteen(const MatShort& m)
{
    return {"16 bits", [m](std::FILE* f) { return m.WriteBMP(f); },
            [m](const char* f) { return m.WriteBMP(f); }, reference::BmpShort(PictureOf(m))};
}

Writer Reduced(const MatShort& m, short offset)
{
    return {"8 of 16 bits", [=](std::FILE* f) { return m.WriteBMP8bpp(f, offset); },
            [=](const char* f) { return m.WriteBMP8bpp(f, offset); },
            reference::BmpShort8bpp(PictureOf(m), offset)};
}

std::vector<Writer> Writers(Random& random, int w, int h)
{
    const MatShort shorts = ArrayOf(Noise<std::int16_t>(random, w, h));
    return {Grey(ArrayOf(Noise<std::uint8_t>(random, w, h))), Colour(CubeOf(NoisePlanes(random, w, h))),
            Sixteen(shorts), Reduced(shorts, static_cast<short>(Between(random, -3000, 3000)))};
}

FileBytes Written(const Writer& writer)
{
    Sink sink;
    EXPECT_EQ(writer.toStream(sink), 0) << writer.name;
    return sink.bytes;
}

FileBytes FileOf(const TemporaryFolder& folder, const std::string& name)
{
    const std::string text = folder.Read(name);
    return FileBytes(text.begin(), text.end());
}

std::uint32_t Get32(const FileBytes& bytes, std::size_t at)
{
    return bytes.at(at) | static_cast<std::uint32_t>(bytes.at(at + 1)) << 8 |
           static_cast<std::uint32_t>(bytes.at(at + 2)) << 16 |
           static_cast<std::uint32_t>(bytes.at(at + 3)) << 24;
}

// ---------------------------------------------------------------------------------- bytes

TEST(bmpwrite, EveryByteOfEveryWriterAtEveryWidth)
{
    Random random(131);
    for (int w = 1; w <= 17; w++)
        for (int h : {1, 2, 3, 7})
            for (const Writer& writer : Writers(random, w, h))
                EXPECT_EQ(Written(writer), writer.wanted) << writer.name << " " << w << " x " << h;
    for (const Writer& writer : Writers(random, 333, 127))
        EXPECT_EQ(Written(writer), writer.wanted) << writer.name;
}

TEST(bmpwrite, FilesByNameHoldTheSameBytes)
{
    Random random(132);
    const TemporaryFolder folder;
    for (int w : {4, 5, 300}) {
        for (const Writer& writer : Writers(random, w, 40)) {
            folder.Write("a.bmp", std::string(200000, 'x')); // a longer file that was there goes
            EXPECT_EQ(writer.toFile((folder / "a.bmp").c_str()), 0) << writer.name;
            EXPECT_EQ(FileOf(folder, "a.bmp"), writer.wanted) << writer.name;
        }
    }
}

TEST(bmpwrite, StreamsAreWrittenFromWhereTheyStand)
{
    Random random(133);
    for (const Writer& writer : Writers(random, 5, 3)) {
        Sink sink;
        std::fputs("before", sink);
        EXPECT_EQ(writer.toStream(sink), 0);
        FileBytes wanted = {'b', 'e', 'f', 'o', 'r', 'e'};
        wanted.insert(wanted.end(), writer.wanted.begin(), writer.wanted.end());
        EXPECT_EQ(sink.bytes, wanted) << writer.name;
    }
}

TEST(bmpwrite, ViewsOfAnyStridesGiveTheirOwnPixels)
{
    Random random(134);
    for (const Layout& layout : viewLayouts) {
        const Bytes bytes = Noise<std::uint8_t>(random, 7, 5);
        const Shorts shorts = Noise<std::int16_t>(random, 7, 5);
        const Laid<UBYTE> b(bytes, layout, random);
        const Laid<short> s(shorts, layout, random);
        EXPECT_EQ(Written(Grey(b.view)), reference::BmpByte(bytes)) << layout;
        EXPECT_EQ(Written(Sixteen(s.view)), reference::BmpShort(shorts)) << layout;
        EXPECT_EQ(Written(Reduced(s.view, 8)), reference::BmpShort8bpp(shorts, 8)) << layout;
    }
    for (const std::array<int, 3>& steps :
         std::vector<std::array<int, 3>>{{1, 1, 1}, {2, 1, 1}, {-1, 2, 1}, {1, -2, -1}, {3, 1, 2}}) {
        const std::array<Bytes, 3> planes = NoisePlanes(random, 6, 4);
        const LaidSequence laid(SequenceOf({planes[0], planes[1], planes[2]}), steps[0], steps[1], steps[2],
                                random);
        EXPECT_EQ(Written(Colour(laid.view)), reference::BmpColour(planes));
    }
}

TEST(bmpwrite, AWholeGreyFrameTakes1229878Bytes)
{
    Random random(135);
    const TemporaryFolder folder;
    const Bytes picture = Noise<std::uint8_t>(random, 1280, 960);
    EXPECT_EQ(ArrayOf(picture).WriteBMP((folder / "img1.bmp").c_str()), 0);
    const FileBytes file = FileOf(folder, "img1.bmp");
    ASSERT_EQ(file.size(), 1229878u);
    EXPECT_EQ(Get32(file, 2), 1229878u);
    EXPECT_EQ(Get32(file, 34), 1228800u);
    EXPECT_EQ(file, reference::BmpByte(picture));
    for (std::size_t x = 0; x < 1280; x++)
        ASSERT_EQ(file[1078 + x], picture.At(static_cast<int>(x), 959)) << "the bottom row first";
}

TEST(bmpwrite, GreyRowsOfThreeGetOneByteOfPadding)
{
    Bytes picture(3, 2);
    picture.a = {1, 2, 3, 4, 5, 6};
    const FileBytes file = Written(Grey(ArrayOf(picture)));
    EXPECT_EQ(Get32(file, 2), 1086u);
    EXPECT_EQ(Get32(file, 10), 1078u);
    EXPECT_EQ(Get32(file, 34), 8u);
    EXPECT_EQ(file.size(), 1086u);
    EXPECT_EQ(FileBytes(file.begin() + 1078, file.end()), (FileBytes{4, 5, 6, 0, 1, 2, 3, 0}));
}

TEST(bmpwrite, ShortRowsOfThreeCountTheirPaddingTwice)
{
    Shorts picture(3, 2);
    picture.a = {1, -2, 0x1234, 4, 5, -32768};
    const FileBytes file = Written(Sixteen(ArrayOf(picture)));
    EXPECT_EQ(Get32(file, 34), 20u);
    EXPECT_EQ(Get32(file, 2), 86u);
    EXPECT_EQ(Get32(file, 10), 66u);
    EXPECT_EQ(Get32(file, 30), 3u);
    EXPECT_EQ(Get32(file, 54), 0xF800u);
    EXPECT_EQ(Get32(file, 58), 0x07E0u);
    EXPECT_EQ(Get32(file, 62), 0x001Fu);
    EXPECT_EQ(FileBytes(file.begin() + 66, file.end()),
              (FileBytes{4, 0, 5, 0, 0, 0x80, 0, 0, 1, 0, 0xFE, 0xFF, 0x34, 0x12, 0, 0}));
}

TEST(bmpwrite, ColourIsBlueGreenRedAndCountsItsPaddingThreeTimes)
{
    CubByte cube(1, 2, 3);
    for (int z = 0; z < 3; z++)
        for (int y = 0; y < 2; y++) cube(0, y, z) = static_cast<UBYTE>(10 * y + z + 1);
    const FileBytes file = Written(Colour(cube));
    EXPECT_EQ(Get32(file, 34), 12u) << "3 * 2 * (1 + 1)";
    EXPECT_EQ(FileBytes(file.begin() + 54, file.end()), (FileBytes{13, 12, 11, 0, 3, 2, 1, 0}));
}

TEST(bmpwrite, TheGreyPaletteIsComplete)
{
    const FileBytes file = Written(Grey(ArrayOf(Bytes(1, 1))));
    for (std::size_t i = 0; i < 256; i++) {
        const std::uint8_t level = static_cast<std::uint8_t>(i);
        EXPECT_EQ(FileBytes(file.begin() + static_cast<std::ptrdiff_t>(54 + 4 * i),
                            file.begin() + static_cast<std::ptrdiff_t>(58 + 4 * i)),
                  (FileBytes{level, level, level, 0}));
    }
    EXPECT_EQ(Get32(file, 46), 256u);
    EXPECT_EQ(Get32(file, 50), 256u);
}

TEST(bmpwrite, TheReducedPictureIsCutNotClamped)
{
    const auto reduced = [](int value, int offset) {
        return int{Written(Reduced(ArrayOf(Shorts(1, 1, static_cast<std::int16_t>(value))),
                                   static_cast<short>(offset)))
                       .at(1078)};
    };
    EXPECT_EQ(reduced(0, 8), 0);
    EXPECT_EQ(reduced(7, 8), 0);
    EXPECT_EQ(reduced(8, 8), 1);
    EXPECT_EQ(reduced(4087, 8), 255);
    EXPECT_EQ(reduced(4088, 8), 0);
    EXPECT_EQ(reduced(-16, 0), 255);
    EXPECT_EQ(reduced(-1, 0), 255);
    EXPECT_EQ(reduced(32767, 32767), (65534 >> 4) & 255) << "the sum does not wrap";
    EXPECT_EQ(reduced(-32768, -32768), 0);
    EXPECT_EQ(reduced(-32768, 32767), 255);
}

TEST(bmpwrite, AnAttachedPictureIsWritten)
{
    std::vector<unsigned char> pixels = {1, 2, 3, 4, 5, 6};
    MatByte m;
    m.Attach_to_raw_image(pixels.data(), 2, 3);
    Bytes picture(2, 3);
    picture.a.assign(pixels.begin(), pixels.end());
    EXPECT_EQ(Written(Grey(m)), reference::BmpByte(picture));
    m.Detach_from_raw_image();
}

// ---------------------------------------------------------------------------------- what cannot be written

TEST(bmpwrite, AnEmptyArrayCreatesAnEmptyFile)
{
    const TemporaryFolder folder;
    const std::string path = folder / "a.bmp";
    const auto empties = [&](const auto& array, const char* what) {
        folder.Write("a.bmp", "something");
        EXPECT_EQ(array.WriteBMP(path.c_str()), 3) << what;
        EXPECT_EQ(folder.Read("a.bmp"), "") << what;
        Sink sink;
        EXPECT_EQ(array.WriteBMP(sink), 3) << what;
        EXPECT_TRUE(sink.bytes.empty()) << what;
        std::FILE* const none = nullptr;
        EXPECT_EQ(array.WriteBMP(none), 3) << what << ": emptiness is looked at first";
    };
    empties(MatByte(), "bytes");
    empties(MatShort(), "shorts");
    empties(CubByte(), "a cube");
    MatByte flat, narrow;
    flat.Resize(5, 0);
    narrow.Resize(0, 5);
    empties(flat, "no rows");
    empties(narrow, "no columns");
    MatShort noRows;
    noRows.Resize(4, 0);
    empties(noRows, "no rows of shorts");
    UBYTE bytes[5] = {};
    MatByte attached;
    attached.Attach_to_raw_image(bytes, 5, 0);
    empties(attached, "a buffer of no rows");
    attached.Detach_from_raw_image();
    attached.Attach_to_raw_image(bytes, 0, 5);
    empties(attached, "a buffer of no columns");
    attached.Detach_from_raw_image();
    MatByte dataless(4, 4);
    dataless.p_data = nullptr;
    empties(dataless, "no data");
    empties(MatByte(0, 5), "storage, and no columns");
    empties(MatByte(5, 0), "storage, and no rows");
    empties(CubByte(4, 4, 1), "one plane");
    empties(CubByte(4, 4, 2), "two planes");
    empties(CubByte(4, 4, 4), "four planes");

    folder.Write("a.bmp", "something");
    EXPECT_EQ(MatShort().WriteBMP8bpp(path.c_str(), 8), 3);
    EXPECT_EQ(folder.Read("a.bmp"), "");
    std::FILE* const none = nullptr;
    EXPECT_EQ(MatShort().WriteBMP8bpp(none, 8), 3);
}

TEST(bmpwrite, RowsThatNoStorageHoldsHaltForMemory)
{
    // Before a pixel is looked at: the buffer need not be as long as it says.
    short pixel = 0;
    MatShort wide;
    wide.Attach_to_raw_image(&pixel, INT32_MAX / 2 + 1, 1);
    const FailStop stop = RunUntilHalt([&] { wide.WriteBMP("/dev/null"); });
    EXPECT_TRUE(stop.halted) << stop.state;
    EXPECT_EQ(stop.line, ErrorLine("Datablock::create: Not enough memory"));
    wide.Detach_from_raw_image();
}

TEST(bmpwrite, NoStreamAndNoFileAreResultOne)
{
    Random random(136);
    const TemporaryFolder folder;
    for (const Writer& writer : Writers(random, 5, 3)) {
        EXPECT_EQ(writer.toStream(nullptr), 1) << writer.name;
        EXPECT_EQ(writer.toFile((folder / "no/such/folder/a.bmp").c_str()), 1) << writer.name;
        EXPECT_EQ(writer.toFile(folder.Path().c_str()), 1) << writer.name << ": a folder";
    }
    EXPECT_EQ(MatByte().WriteBMP((folder / "no/a.bmp").c_str()), 1) << "also for an empty array";
}

TEST(bmpwrite, AFullStreamGivesFiveWhereverItFillsUp)
{
    Random random(137);
    for (int w : {3, 4}) {
        for (const Writer& writer : Writers(random, w, 2)) {
            for (std::size_t room = 0; room < writer.wanted.size(); room++) {
                Sink sink(room);
                EXPECT_EQ(writer.toStream(sink), 5) << writer.name << ", room for " << room;
                EXPECT_EQ(sink.bytes, FileBytes(writer.wanted.begin(),
                                                writer.wanted.begin() + static_cast<std::ptrdiff_t>(room)))
                    << writer.name << ", room for " << room;
            }
            Sink sink(writer.wanted.size());
            EXPECT_EQ(writer.toStream(sink), 0) << writer.name;
        }
    }
}

TEST(bmpwrite, TheMasksAreNotChecked)
{
    Random random(138);
    const Writer writer = Sixteen(ArrayOf(Noise<std::int16_t>(random, 4, 2)));
    Sink sink;
    sink.RefuseTheBlockAt(54);
    EXPECT_EQ(writer.toStream(sink), 0);
    EXPECT_EQ(sink.refused, 1);
    FileBytes wanted = writer.wanted;
    wanted.erase(wanted.begin() + 54, wanted.begin() + 66);
    EXPECT_EQ(sink.bytes, wanted);
}

TEST(bmpwrite, AFullDeviceGivesFive)
{
    Random random(139);
    for (int w : {400, 3}) // larger than any buffer, and so small that only closing the file writes it
        for (const Writer& writer : Writers(random, w, w))
            EXPECT_EQ(writer.toFile("/dev/full"), 5) << writer.name << " " << w;
}

TEST(bmpwrite, FilesAreClosedAgain)
{
    Random random(143);
    const std::ptrdiff_t open = OpenFiles();
    for (const Writer& writer : Writers(random, 5, 3)) {
        EXPECT_EQ(writer.toFile("/dev/null"), 0);
        EXPECT_EQ(writer.toFile("/dev/full"), 5);
    }
    EXPECT_EQ(MatByte().WriteBMP("/dev/null"), 3);
    EXPECT_EQ(CubByte().WriteBMP("/dev/null"), 3);
    EXPECT_EQ(MatShort().WriteBMP("/dev/null"), 3);
    EXPECT_EQ(MatShort().WriteBMP8bpp("/dev/null", 8), 3);
    EXPECT_EQ(OpenFiles(), open);
}

// ---------------------------------------------------------------------------------- writer and reader

TEST(bmpwrite, GreyFilesReadBack)
{
    Random random(140);
    const TemporaryFolder folder;
    const std::string path = folder / "a.bmp";
    for (int w = 1; w <= 9; w++) {
        const Bytes picture = Noise<std::uint8_t>(random, w, 5);
        ASSERT_EQ(ArrayOf(picture).WriteBMP(path.c_str()), 0);
        MatByte back;
        EXPECT_EQ(back.ReadBMP(path.c_str()), 0);
        EXPECT_TRUE(Same(back, picture)) << w;
    }
}

TEST(bmpwrite, ShortFilesReadBackAtEvenWidthsOnly)
{
    // At odd widths the header counts the two bytes of padding twice: the reader skips two bytes too many
    // after each row, and from the third row on the file is too short for it.
    Random random(141);
    const TemporaryFolder folder;
    const std::string path = folder / "a.bmp";
    for (int w = 1; w <= 9; w++) {
        for (int h : {1, 2, 3, 6}) {
            const Shorts picture = Noise<std::int16_t>(random, w, h);
            ASSERT_EQ(ArrayOf(picture).WriteBMP(path.c_str()), 0);
            MatShort back;
            const int result = back.ReadBMP(path.c_str());
            if (w % 2 == 0 || h == 1) {
                EXPECT_EQ(result, 0) << w << " x " << h;
                EXPECT_TRUE(Same(back, picture)) << w << " x " << h;
                continue;
            }
            EXPECT_EQ(result, h == 2 ? 0 : 4) << w << " x " << h;
            for (int x = 0; x < w; x++) {
                EXPECT_EQ(back(x, h - 1), picture.At(x, h - 1)) << "the row stored first is right";
                EXPECT_EQ(back(x, h - 2), x + 1 < w ? picture.At(x + 1, h - 2) : 0)
                    << "the next one lies one pixel on";
            }
        }
    }
    // The pictures of a whole run are 1281 wide.
    ASSERT_EQ(ArrayOf(Noise<std::int16_t>(random, 1281, 961)).WriteBMP(path.c_str()), 0);
    MatShort back;
    EXPECT_EQ(back.ReadBMP(path.c_str()), 4);
}

TEST(bmpwrite, ColourFilesDoNotReadBackAtAnyWidth)
{
    Random random(142);
    const TemporaryFolder folder;
    const std::string path = folder / "a.bmp";
    for (int w = 1; w <= 12; w++) {
        for (int h : {1, 2, 5}) {
            ASSERT_EQ(CubeOf(NoisePlanes(random, w, h)).WriteBMP(path.c_str()), 0);
            CubByte back;
            EXPECT_EQ(back.ReadBMP(path.c_str()), 4) << w << " x " << h;
        }
    }
}

} // namespace
