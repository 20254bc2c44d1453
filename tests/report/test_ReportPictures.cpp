// The picture files of a run as telvane-report reads them: of every width, damaged, and of other kinds.
#include <tests/support/Pictures.h>

#include <report/Pictures.h>

#include <tests/reference/Files.h>
#include <tests/reference/Jpeg.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <string>

namespace {

using namespace pictures;
using namespace telvane;

std::string Text(const reference::Bytes& bytes) { return std::string(bytes.begin(), bytes.end()); }

/// A file with a little-endian number put at an offset.
template <class T> std::string With(std::string file, std::size_t offset, T number)
{
    for (std::size_t i = 0; i < sizeof(T); i++)
        file.at(offset + i) = static_cast<char>(static_cast<std::uint64_t>(number) >> (8 * i));
    return file;
}

const std::size_t dataOffset = 10, headerSize = 14, width = 18, height = 22, depth = 28, compression = 30,
                  imageSize = 34; // places of the header's fields

Shorts SomeShorts(int w, int h)
{
    Random random(static_cast<unsigned>(100 * w + h));
    return Noise<std::int16_t>(random, w, h);
}

std::string ShortFile() { return Text(reference::BmpShort(SomeShorts(3, 2))); }

std::string Problem(const std::string& file)
{
    MatShort picture;
    const std::string problem = ReadShortPicture(file, picture);
    EXPECT_EQ(picture.dim1 == 0, !problem.empty()) << "a refused file gives no picture: " << problem;
    return problem;
}

TEST(ShortPicture, EveryWidthReadsBack)
{
    for (int w = 1; w <= 9; w++)
        for (int h = 1; h <= 4; h++) {
            MatShort picture;
            EXPECT_EQ(ReadShortPicture(Text(reference::BmpShort(SomeShorts(w, h))), picture), "");
            EXPECT_TRUE(Same(picture, SomeShorts(w, h))) << w << " x " << h;
        }
}

TEST(ShortPicture, WhatTheLibraryWritesReadsBack)
{
    const Shorts shorts = SomeShorts(1281, 3);
    const MatShort written = ArrayOf(shorts);
    char* memory = nullptr;
    std::size_t size = 0;
    std::FILE* const stream = open_memstream(&memory, &size);
    ASSERT_EQ(written.WriteBMP(stream), 0);
    std::fclose(stream);
    MatShort picture;
    EXPECT_EQ(ReadShortPicture(std::string(memory, size), picture), "");
    std::free(memory);
    EXPECT_TRUE(Same(picture, shorts));
}

TEST(ShortPicture, TruncatedAnywhereIsRefused)
{
    const std::string whole = ShortFile();
    ASSERT_EQ(whole.size(), 82u);
    ASSERT_EQ(Problem(whole), "");
    for (std::size_t length = 0; length < whole.size(); length++) {
        const std::string problem = Problem(whole.substr(0, length));
        const char* wanted = length < 2    ? "not a BMP file"
                             : length < 54 ? "cut short within its header"
                                           : "cut short: 3 x 2 pixels need 82 bytes, there are ";
        EXPECT_EQ(problem.rfind(wanted, 0), 0u) << length << ": " << problem;
    }
}

TEST(ShortPicture, PixelsBeginAtTheDataOffset)
{
    std::string file = With<std::uint32_t>(ShortFile(), dataOffset, 66 + 10);
    file.insert(66, "0123456789");
    MatShort picture;
    EXPECT_EQ(ReadShortPicture(file, picture), "");
    EXPECT_TRUE(Same(picture, SomeShorts(3, 2)));
}

TEST(ShortPicture, TheHeadersImageSizeAndWhatFollowsDoNotMatter)
{
    for (std::uint32_t size : {0u, 1u, 20u, 0xFFFFFFFFu}) {
        MatShort picture;
        EXPECT_EQ(ReadShortPicture(With(ShortFile(), imageSize, size) + "behind", picture), "");
        EXPECT_TRUE(Same(picture, SomeShorts(3, 2)));
    }
}

TEST(ShortPicture, OtherFilesAreRefused)
{
    const std::string file = ShortFile();
    EXPECT_EQ(Problem("\x89PNG\r\n"), "not a BMP file");
    EXPECT_EQ(Problem(Text(reference::BmpByte(Bytes(8, 8)))),
              "a BMP file of 8 bits per pixel, compression 0");
    EXPECT_EQ(Problem(With<std::uint16_t>(file, depth, 24)),
              "a BMP file of 24 bits per pixel, compression 3");
    EXPECT_EQ(Problem(With<std::uint32_t>(file, compression, 0)),
              "a BMP file of 16 bits per pixel, compression 0");
    EXPECT_EQ(Problem(With<std::uint32_t>(file, headerSize, 124)), "a BMP file with another kind of header");
    for (std::uint32_t offset : {0u, 54u, 65u})
        EXPECT_EQ(Problem(With(file, dataOffset, offset)), "a BMP file whose pixels begin within its header");
}

TEST(ShortPicture, SizesThatTheFileCannotHoldGetNoRoom)
{
    const std::string file = ShortFile();
    for (std::size_t field : {width, height}) {
        for (std::int32_t size : {0, -1, -2, std::numeric_limits<std::int32_t>::min()})
            EXPECT_NE(Problem(With(file, field, size)).find("without width or height"), std::string::npos);
        for (std::int32_t size : {16385, 1 << 30, std::numeric_limits<std::int32_t>::max()})
            EXPECT_EQ(Problem(With(file, field, size)), "larger than 16384 pixels");
        EXPECT_EQ(Problem(With(file, field, 16384)).rfind("cut short: ", 0), 0u);
    }
    for (std::uint32_t offset : {67u, 1000u, 0x7FFFFFFFu, 0xFFFFFFFFu})
        EXPECT_EQ(Problem(With(file, dataOffset, offset)).rfind("cut short: ", 0), 0u) << offset;
}

TEST(Frame, EveryWidthReadsBack)
{
    Random random(3);
    for (int w = 1; w <= 9; w++) {
        const Bytes grey = Noise<std::uint8_t>(random, w, 5);
        MatByte frame;
        EXPECT_EQ(ReadFrame(Text(reference::BmpByte(grey)), frame), "");
        EXPECT_TRUE(Same(frame, grey)) << w;
    }
}

TEST(Frame, TruncatedAnywhereIsRefused)
{
    Random random(4);
    const std::string whole = Text(reference::BmpByte(Noise<std::uint8_t>(random, 4, 3)));
    for (std::size_t length = 0; length < whole.size(); length++) {
        MatByte frame;
        EXPECT_NE(ReadFrame(whole.substr(0, length), frame), "") << length;
    }
}

TEST(Frame, OtherFilesAreRefused)
{
    MatByte frame;
    EXPECT_EQ(ReadFrame("", frame), "not a BMP file");
    EXPECT_EQ(ReadFrame("P5 4 4 255 ", frame), "not a BMP file");
    EXPECT_EQ(ReadFrame(ShortFile(), frame), "a BMP file of 16 bits per pixel, compression 3");
    const std::string file = Text(reference::BmpByte(Bytes(4, 3)));
    EXPECT_EQ(ReadFrame(With<std::uint32_t>(file, compression, 1), frame),
              "a BMP file of 8 bits per pixel, compression 1");
    EXPECT_EQ(ReadFrame(With<std::int32_t>(file, width, 1 << 30), frame), "larger than 16384 pixels");
    EXPECT_EQ(ReadFrame(With<std::int32_t>(file, height, 16000), frame).rfind("cut short: ", 0), 0u);
    EXPECT_EQ(ReadFrame(With<std::uint32_t>(file, 46, 257), frame), "a BMP file that does not load");
}

TEST(Jpeg, AWholeFileHasItsSize)
{
    for (const auto& [w, h] : {std::pair{1, 1}, {33, 21}, {1280, 960}}) {
        int foundW = 0, foundH = 0;
        EXPECT_EQ(CheckJpeg(Text(reference::JpegGrey(Bytes(w, h, 90), 85)), foundW, foundH), "");
        EXPECT_EQ(foundW, w);
        EXPECT_EQ(foundH, h);
    }
}

TEST(Jpeg, TruncatedAnywhereIsRefused)
{
    Random random(5);
    const std::string whole = Text(reference::JpegGrey(Noise<std::uint8_t>(random, 24, 24), 85));
    int w, h;
    ASSERT_EQ(CheckJpeg(whole, w, h), "");
    for (std::size_t length = 0; length < whole.size(); length++)
        EXPECT_EQ(CheckJpeg(whole.substr(0, length), w, h),
                  length < 3 ? "not a JPEG file" : "a JPEG file that is damaged or cut short")
            << length;
}

TEST(Jpeg, OtherFilesAreRefused)
{
    int w, h;
    EXPECT_EQ(CheckJpeg(ShortFile(), w, h), "not a JPEG file");
    EXPECT_EQ(CheckJpeg("\xFF\xD8\xFF" + std::string(500, 'x'), w, h),
              "a JPEG file that is damaged or cut short");
    // A frame header that promises 20000 rows.
    std::string file = Text(reference::JpegGrey(Bytes(16, 16, 90), 85));
    const std::size_t frame = file.find("\xFF\xC0");
    ASSERT_NE(frame, file.npos);
    file[frame + 5] = static_cast<char>(20000 >> 8);
    file[frame + 6] = static_cast<char>(20000 & 255);
    EXPECT_EQ(CheckJpeg(file, w, h), "larger than 16384 pixels");
}

TEST(Jpeg, GreyPicturesAreWrittenAsTheProgramWritesThem)
{
    Random random(6);
    const Bytes grey = Noise<std::uint8_t>(random, 50, 40);
    EXPECT_TRUE(GreyJpeg(ArrayOf(grey)) == Text(reference::JpegGrey(grey, 85)));
}

} // namespace
