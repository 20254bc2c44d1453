// The picture files of a run as telvane-report reads them: of every width, damaged, and of other kinds.
#include <tests/support/ChildProcess.h>
#include <tests/support/Pictures.h>

#include <report/Pictures.h>

#include <tests/reference/Files.h>
#include <tests/reference/Jpeg.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <string>
#include <vector>

#include <jpeglib.h>

#include <sys/resource.h>

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
    const std::string problem = ReadShortPicture(file, 3, 2, picture);
    EXPECT_EQ(picture.dim1 == 0, !problem.empty()) << "a refused file gives no picture: " << problem;
    return problem;
}

/// A JPEG file of one colour.
std::string Coloured(int w, int h, int red, int green, int blue, bool progressive = false)
{
    jpeg_compress_struct info;
    jpeg_error_mgr errors;
    info.err = jpeg_std_error(&errors);
    jpeg_create_compress(&info);
    unsigned char* buffer = nullptr;
    unsigned long size = 0;
    jpeg_mem_dest(&info, &buffer, &size);
    info.image_width = static_cast<JDIMENSION>(w);
    info.image_height = static_cast<JDIMENSION>(h);
    info.input_components = 3;
    info.in_color_space = JCS_RGB;
    jpeg_set_defaults(&info);
    if (progressive) jpeg_simple_progression(&info);
    jpeg_start_compress(&info, TRUE);
    std::vector<unsigned char> samples;
    for (int x = 0; x < w; x++)
        for (const int part : {red, green, blue}) samples.push_back(static_cast<unsigned char>(part));
    JSAMPROW row = samples.data();
    for (int y = 0; y < h; y++) jpeg_write_scanlines(&info, &row, 1);
    jpeg_finish_compress(&info);
    jpeg_destroy_compress(&info);
    const std::string file(reinterpret_cast<char*>(buffer), size);
    std::free(buffer);
    return file;
}

TEST(ShortPicture, EveryWidthReadsBack)
{
    for (int w = 1; w <= 9; w++)
        for (int h = 1; h <= 4; h++) {
            MatShort picture;
            EXPECT_EQ(ReadShortPicture(Text(reference::BmpShort(SomeShorts(w, h))), w, h, picture), "");
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
    EXPECT_EQ(ReadShortPicture(std::string(memory, size), 1281, 3, picture), "");
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
    EXPECT_EQ(ReadShortPicture(file, 3, 2, picture), "");
    EXPECT_TRUE(Same(picture, SomeShorts(3, 2)));
}

TEST(ShortPicture, TheHeadersImageSizeAndWhatFollowsDoNotMatter)
{
    for (std::uint32_t size : {0u, 1u, 20u, 0xFFFFFFFFu}) {
        MatShort picture;
        EXPECT_EQ(ReadShortPicture(With(ShortFile(), imageSize, size) + "behind", 3, 2, picture), "");
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
        for (std::int32_t size : {1, 4, 1 << 30, std::numeric_limits<std::int32_t>::max()}) {
            const std::string number = std::to_string(size);
            EXPECT_EQ(Problem(With(file, field, size)),
                      "of " + (field == width ? number + " x 2" : "3 x " + number) + " pixels, not 3 x 2");
        }
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
        EXPECT_EQ(ReadFrame(Text(reference::BmpByte(grey)), w, 5, frame), "");
        EXPECT_TRUE(Same(frame, grey)) << w;
    }
}

TEST(Frame, TruncatedAnywhereIsRefused)
{
    Random random(4);
    const std::string whole = Text(reference::BmpByte(Noise<std::uint8_t>(random, 4, 3)));
    for (std::size_t length = 0; length < whole.size(); length++) {
        MatByte frame;
        EXPECT_NE(ReadFrame(whole.substr(0, length), 4, 3, frame), "") << length;
    }
}

TEST(Frame, OtherFilesAreRefused)
{
    MatByte frame;
    const auto problem = [&frame](const std::string& file) { return ReadFrame(file, 4, 3, frame); };
    EXPECT_EQ(problem(""), "not a BMP file");
    EXPECT_EQ(problem("P5 4 4 255 "), "not a BMP file");
    EXPECT_EQ(problem(ShortFile()), "a BMP file of 16 bits per pixel, compression 3");
    const std::string file = Text(reference::BmpByte(Bytes(4, 3)));
    EXPECT_EQ(problem(With<std::uint32_t>(file, compression, 1)),
              "a BMP file of 8 bits per pixel, compression 1");
    EXPECT_EQ(problem(With<std::uint16_t>(file, depth, 24)),
              "a BMP file of 24 bits per pixel, compression 0");
    EXPECT_EQ(problem(With<std::int32_t>(file, width, 1 << 30)), "of 1073741824 x 3 pixels, not 4 x 3");
    EXPECT_EQ(problem(With<std::int32_t>(file, height, 2)), "of 4 x 2 pixels, not 4 x 3");
    EXPECT_EQ(problem(With<std::uint32_t>(file, 46, 257)), "a BMP file that does not load");
    EXPECT_EQ(frame.dim1, 0);
}

TEST(JpegFrame, ItsBrightnessIsRead)
{
    for (const auto& [w, h] : {std::pair{1, 1}, {33, 21}}) {
        Bytes grey(w, h);
        for (int y = 0; y < h; y++)
            for (int x = 0; x < w; x++) grey.At(x, y) = static_cast<std::uint8_t>(40 + 3 * x + 2 * y);
        MatByte frame;
        EXPECT_EQ(ReadJpegFrame(Text(reference::JpegGrey(grey, 95)), w, h, frame), "");
        ASSERT_EQ(frame.dim1, w);
        ASSERT_EQ(frame.dim2, h);
        for (int y = 0; y < h; y++)
            for (int x = 0; x < w; x++) EXPECT_NEAR(frame(x, y), grey.At(x, y), 3) << x << ", " << y;
    }
    MatByte frame;
    EXPECT_EQ(ReadJpegFrame(Coloured(16, 16, 200, 100, 50), 16, 16, frame), "");
    EXPECT_NEAR(frame(7, 7), 0.299 * 200 + 0.587 * 100 + 0.114 * 50, 3);
}

TEST(JpegFrame, TruncatedAnywhereIsRefused)
{
    Random random(5);
    const std::string whole = Text(reference::JpegGrey(Noise<std::uint8_t>(random, 24, 24), 85));
    MatByte frame;
    ASSERT_EQ(ReadJpegFrame(whole, 24, 24, frame), "");
    for (std::size_t length = 0; length < whole.size(); length++)
        EXPECT_EQ(ReadJpegFrame(whole.substr(0, length), 24, 24, frame),
                  length < 3 ? "not a JPEG file" : "a JPEG file that is damaged or cut short")
            << length;
}

TEST(JpegFrame, OtherFilesAreRefused)
{
    MatByte frame;
    EXPECT_EQ(ReadJpegFrame(ShortFile(), 3, 2, frame), "not a JPEG file");
    EXPECT_EQ(ReadJpegFrame("\xFF\xD8\xFF" + std::string(500, 'x'), 3, 2, frame),
              "a JPEG file that is damaged or cut short");
}

TEST(JpegFrame, ItsSizeIsJudgedBeforeItIsDecoded)
{
    // What follows a header that promises 20000 rows is never looked at.
    std::string file = Text(reference::JpegGrey(Bytes(16, 16, 90), 85));
    const std::size_t header = file.find("\xFF\xC0");
    ASSERT_NE(header, file.npos);
    file[header + 5] = static_cast<char>(20000 >> 8);
    file[header + 6] = static_cast<char>(20000 & 255);
    const std::size_t scan = file.find("\xFF\xDA");
    ASSERT_NE(scan, file.npos);
    MatByte frame;
    EXPECT_EQ(ReadJpegFrame(file.substr(0, scan + 14), 16, 16, frame), "of 16 x 20000 pixels, not 16 x 16");
    EXPECT_EQ(frame.dim1, 0);
}

#ifndef SANITIZED // which takes more memory for itself than there is here
TEST(JpegFrame, WantOfMemoryIsNotItsDamage)
{
    // Decoding a progressive picture takes room for the whole of it, 24 MB.
    const std::string file = Coloured(2000, 2000, 1, 2, 3, true);
    const FailStop stop = RunUntilHalt([&file] {
        const rlimit limit{0, 0};
        setrlimit(RLIMIT_AS, &limit);
        MatByte frame;
        std::fprintf(stderr, "%s\n", ReadJpegFrame(file, 2000, 2000, frame).c_str());
    });
    EXPECT_EQ(stop.line, ErrorLine("Datablock::create: Not enough memory")) << stop.state;
}
#endif

TEST(Jpeg, GreyPicturesAreWrittenAsTheProgramWritesThem)
{
    Random random(6);
    const Bytes grey = Noise<std::uint8_t>(random, 50, 40);
    EXPECT_TRUE(GreyJpeg(ArrayOf(grey)) == Text(reference::JpegGrey(grey, 85)));
}

} // namespace
