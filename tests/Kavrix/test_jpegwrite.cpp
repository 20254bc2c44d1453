// Writing of JPEG files, read back by libjpeg's decompressor.
#include <tests/support/ChildProcess.h>
#include <tests/support/Decoded.h>
#include <tests/support/Pictures.h>

#include <Kavrix/HaltHook.h>
#include <tests/reference/Jpeg.h>

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include <jpeglib.h>

namespace {

using namespace pictures;
using decoded::Decode;
using decoded::Decoded;
using FileBytes = reference::Bytes;

/// A colour file from interleaved rows, by libjpeg alone.
FileBytes EncodeColour(const std::vector<FileBytes>& rows, int quality)
{
    jpeg_compress_struct cinfo;
    jpeg_error_mgr errors;
    cinfo.err = jpeg_std_error(&errors);
    jpeg_create_compress(&cinfo);
    unsigned char* buffer = nullptr;
    unsigned long size = 0;
    jpeg_mem_dest(&cinfo, &buffer, &size);
    cinfo.image_width = static_cast<JDIMENSION>(rows[0].size() / 3);
    cinfo.image_height = static_cast<JDIMENSION>(rows.size());
    cinfo.input_components = 3;
    cinfo.in_color_space = JCS_RGB;
    jpeg_set_defaults(&cinfo);
    jpeg_set_quality(&cinfo, quality, TRUE);
    jpeg_start_compress(&cinfo, TRUE);
    for (FileBytes row : rows) {
        JSAMPROW samples = row.data();
        jpeg_write_scanlines(&cinfo, &samples, 1);
    }
    jpeg_finish_compress(&cinfo);
    jpeg_destroy_compress(&cinfo);
    const FileBytes bytes(buffer, buffer + size);
    std::free(buffer);
    return bytes;
}

FileBytes FileOf(const TemporaryFolder& folder, const std::string& name)
{
    const std::string text = folder.Read(name);
    return FileBytes(text.begin(), text.end());
}

template <class Array> FileBytes Written(const Array& array, int quality)
{
    const TemporaryFolder folder;
    EXPECT_EQ(array.WriteJPG((folder / "a.jpg").c_str(), quality), 0);
    return FileOf(folder, "a.jpg");
}

/// A soft picture, light above and dark below, that a JPEG keeps well.
Bytes Soft(int w, int h)
{
    Bytes picture(w, h);
    for (int y = 0; y < h; y++)
        for (int x = 0; x < w; x++)
            picture.At(x, y) =
                static_cast<std::uint8_t>(std::lround(220 - 180.0 * y / h + 25 * std::sin(x * 0.1)));
    return picture;
}

/// What libjpeg says when it gives up, as it stands on standard error.
void ExpectProcessEnds(const std::function<void()>& routine, const std::string& message)
{
    const FailStop end = RunUntilHalt(routine);
    EXPECT_FALSE(end.halted);
    EXPECT_EQ(end.state, "exited with " + std::to_string(EXIT_FAILURE)) << end.err;
    EXPECT_EQ(end.line, message);
    EXPECT_EQ(end.out, "");
}

// ---------------------------------------------------------------------------------- grey

TEST(jpegwrite, GreyFilesAreLibjpegsBytes)
{
    Random random(151);
    for (const auto& [w, h] :
         std::vector<std::pair<int, int>>{{1, 1}, {1, 9}, {7, 3}, {8, 8}, {9, 17}, {64, 33}, {200, 150}})
        for (int quality : {1, 25, 50, 85, 100})
            for (const Bytes& picture :
                 {Noise<std::uint8_t>(random, w, h), Soft(w, h), Checkerboard<std::uint8_t>(w, h, 0, 255)})
                EXPECT_EQ(Written(ArrayOf(picture), quality), reference::JpegGrey(picture, quality))
                    << w << " x " << h << ", quality " << quality;
}

TEST(jpegwrite, AnyQualityIsHeldToItsRange)
{
    const Bytes picture = Soft(40, 30);
    EXPECT_EQ(Written(ArrayOf(picture), 0), reference::JpegGrey(picture, 1));
    EXPECT_EQ(Written(ArrayOf(picture), -5), reference::JpegGrey(picture, 1));
    EXPECT_EQ(Written(ArrayOf(picture), 1000), reference::JpegGrey(picture, 100));
}

TEST(jpegwrite, AWholeFrameDecodesToItsPixels)
{
    const Bytes picture = Soft(1280, 960);
    const Decoded d = Decode(Written(ArrayOf(picture), 85));
    EXPECT_EQ(d.width, 1280);
    EXPECT_EQ(d.height, 960);
    EXPECT_EQ(d.components, 1);
    EXPECT_EQ(d.space, JCS_GRAYSCALE);
    EXPECT_FALSE(d.progressive);
    for (int y = 0; y < 960; y += 7)
        for (int x = 0; x < 1280; x += 11)
            ASSERT_NEAR(d.rows[static_cast<std::size_t>(y)][static_cast<std::size_t>(x)], picture.At(x, y), 6)
                << x << ", " << y;
    EXPECT_GT(d.rows.front()[640], d.rows.back()[640] + 100) << "row 0 is the top of the picture";
}

TEST(jpegwrite, LowQualityKeepsBaselineTables)
{
    for (int step : Decode(Written(ArrayOf(Soft(40, 30)), 1)).quantisation) {
        EXPECT_GE(step, 1);
        EXPECT_LE(step, 255);
    }
}

TEST(jpegwrite, RowsOfAViewMayLieAnywhere)
{
    Random random(152);
    for (int stepY : {1, 3, -1, -2}) {
        const Bytes picture = Noise<std::uint8_t>(random, 37, 21);
        const Laid<UBYTE> laid(picture, {1, stepY}, random);
        EXPECT_EQ(Written(laid.view, 85), reference::JpegGrey(picture, 85)) << stepY;
        EXPECT_TRUE(laid.SurroundingsUntouched());
    }
    const CubByte seq = ArrayOf(NoiseSequence(random, 20, 12, 3));
    EXPECT_EQ(Written(seq(RNG::All(), RNG::All(), 1), 85), reference::JpegGrey(SequenceOf(seq).Frame(1), 85));
}

TEST(jpegwrite, AStreamIsWrittenFromWhereItStandsAndFlushed)
{
    const Bytes picture = Soft(33, 22);
    const TemporaryFolder folder;
    std::FILE* const file = std::fopen((folder / "a.jpg").c_str(), "wb");
    ASSERT_NE(file, nullptr);
    std::fputs("before", file);
    EXPECT_EQ(ArrayOf(picture).WriteJPG(file, 85), 0);
    FileBytes wanted = {'b', 'e', 'f', 'o', 'r', 'e'};
    const FileBytes jpeg = reference::JpegGrey(picture, 85);
    wanted.insert(wanted.end(), jpeg.begin(), jpeg.end());
    EXPECT_EQ(FileOf(folder, "a.jpg"), wanted) << "before the stream is closed";
    EXPECT_EQ(ArrayOf(picture).WriteJPG(file, 85), 0) << "and once more behind it";
    wanted.insert(wanted.end(), jpeg.begin(), jpeg.end());
    EXPECT_EQ(FileOf(folder, "a.jpg"), wanted);
    std::fclose(file);
}

// ---------------------------------------------------------------------------------- colour

TEST(jpegwrite, AColourCubeGivesTheBytesOfItsFirstPlaneAsTriples)
{
    Random random(153);
    for (const auto& [w, h] : std::vector<std::pair<int, int>>{{1, 1}, {5, 4}, {16, 16}, {40, 31}}) {
        const Sequence seq = NoiseSequence(random, w, h, 3);
        // Row y takes 3 w samples from the beginning of row y of plane 0: rows y + 1 and y + 2 as well, and
        // at the bottom those of plane 1.
        std::vector<FileBytes> rows;
        for (int y = 0; y < h; y++) {
            const auto first = seq.a.begin() + y * w;
            rows.emplace_back(first, first + 3 * w);
        }
        const FileBytes bytes = Written(ArrayOf(seq), 85);
        EXPECT_EQ(bytes, EncodeColour(rows, 85)) << w << " x " << h;
        const Decoded d = Decode(bytes);
        EXPECT_EQ(d.width, w);
        EXPECT_EQ(d.height, h);
        EXPECT_EQ(d.components, 3);
        EXPECT_FALSE(d.progressive);
    }
}

TEST(jpegwrite, BehindTheEndOfTheStorageTheSamplesAreZero)
{
    // With the planes in reverse order plane 0 is the last one in the storage.
    Random random(155);
    const int w = 11, h = 6;
    const Sequence seq = NoiseSequence(random, w, h, 3);
    FileBytes samples(seq.a.begin() + 2 * w * h, seq.a.end());
    samples.resize(samples.size() + 2 * w, 0);
    std::vector<FileBytes> rows;
    for (int y = 0; y < h; y++) rows.emplace_back(samples.begin() + y * w, samples.begin() + (y + 3) * w);
    const CubByte cube = ArrayOf(seq);
    EXPECT_EQ(Written(cube(RNG::All(), RNG::All(), RNG(2, 0, -1)), 85), EncodeColour(rows, 85));
}

TEST(jpegwrite, ACubeWhosePlaneHoldsTriplesComesOutInColour)
{
    // Interleaved colour in a plane three times as wide, of which the cube takes the left third: red on the
    // left, blue on the right.
    const int w = 32, h = 16;
    CubByte wide(3 * w, h, 3);
    wide.Fill(0);
    for (int y = 0; y < h; y++)
        for (int x = 0; x < w; x++) wide(3 * x + (x < w / 2 ? 0 : 2), y, 0) = 250;
    const Decoded d = Decode(Written(wide(RNG(0, w - 1), RNG::All(), RNG::All()), 95));
    ASSERT_EQ(d.components, 3);
    for (const FileBytes& row : d.rows) {
        EXPECT_NEAR(row[0], 250, 12);
        EXPECT_NEAR(row[2], 0, 12);
        EXPECT_NEAR(row[3 * (w - 1)], 0, 12);
        EXPECT_NEAR(row[3 * (w - 1) + 2], 250, 12);
    }
}

// ---------------------------------------------------------------------------------- what cannot be written

TEST(jpegwrite, AnEmptyArrayCreatesAnEmptyFile)
{
    const TemporaryFolder folder;
    const auto empties = [&](const auto& array, const char* what) {
        folder.Write("a.jpg", "something");
        EXPECT_EQ(array.WriteJPG((folder / "a.jpg").c_str(), 85), 3) << what;
        EXPECT_EQ(folder.Read("a.jpg"), "") << what;
        std::FILE* const none = nullptr;
        EXPECT_EQ(array.WriteJPG(none, 85), 3) << what << ": emptiness is looked at first";
    };
    empties(MatByte(), "bytes");
    empties(CubByte(), "a cube");
    MatByte flat, narrow, dataless(4, 4);
    flat.Resize(5, 0);
    narrow.Resize(0, 5);
    dataless.p_data = nullptr;
    empties(flat, "no rows");
    empties(narrow, "no columns");
    empties(dataless, "no data");
    empties(MatByte(0, 5), "storage, and no columns");
    empties(MatByte(5, 0), "storage, and no rows");
    empties(CubByte(4, 4, 1), "one plane");
    empties(CubByte(4, 4, 2), "two planes");
    empties(CubByte(4, 4, 4), "four planes");
}

TEST(jpegwrite, NoStreamAndNoFileAreResultOne)
{
    const TemporaryFolder folder;
    const MatByte grey = ArrayOf(Soft(8, 8));
    CubByte cube(8, 8, 3);
    cube.Fill(1);
    std::FILE* const none = nullptr;
    EXPECT_EQ(grey.WriteJPG(none, 85), 1);
    EXPECT_EQ(cube.WriteJPG(none, 85), 1);
    EXPECT_EQ(grey.WriteJPG((folder / "no/such/folder/a.jpg").c_str(), 85), 1);
    EXPECT_EQ(cube.WriteJPG((folder / "no/such/folder/a.jpg").c_str(), 85), 1);
    EXPECT_EQ(MatByte().WriteJPG((folder / "no/such/folder/a.jpg").c_str(), 85), 1)
        << "also for an empty array";
}

TEST(jpegwrite, PixelsThatDoNotLieSideBySideEndTheProcess)
{
    const TemporaryFolder folder;
    const std::string path = folder / "a.jpg", tooFew = "Application transferred too few scanlines";
    const MatByte grey = ArrayOf(Soft(40, 30));
    ExpectProcessEnds([&] { grey(RNG(0, 38, 2), RNG::All()).WriteJPG(path.c_str(), 85); }, tooFew);
    ExpectProcessEnds([&] { grey(RNG(39, 0, -1), RNG::All()).WriteJPG(path.c_str(), 85); }, tooFew);
    ExpectProcessEnds(
        [&] {
            CubByte cube(8, 8, 3);
            cube.Fill(9);
            cube(RNG(0, 6, 2), RNG::All(), RNG::All()).WriteJPG(path.c_str(), 85);
        },
        tooFew);
}

TEST(jpegwrite, AFullDeviceEndsTheProcess)
{
    const std::string full = "Output file write error --- out of disk space?";
    Random random(154);
    const Bytes large = Noise<std::uint8_t>(random, 300, 300);
    ExpectProcessEnds([&] { ArrayOf(large).WriteJPG("/dev/full", 85); }, full);
    ExpectProcessEnds([&] { ArrayOf(Soft(4, 4)).WriteJPG("/dev/full", 85); }, full);
    ExpectProcessEnds([&] { ArrayOf(NoiseSequence(random, 60, 60, 3)).WriteJPG("/dev/full", 85); }, full);
}

TEST(jpegwrite, AProgramWithAHaltHookIsNotEnded)
{
    // In a child, which a call that ends the process ends; the hook itself has no part in it.
    const FailStop end = RunUntilHalt([] {
        kavrix::SetHaltHook([](int, const char*) { std::fputs("hook\n", stderr); });
        const MatByte grey = ArrayOf(Soft(4, 4)), wide = ArrayOf(Bytes(65501, 1));
        std::fprintf(stderr, "%d ", grey.WriteJPG("/dev/full", 85));
        std::fprintf(stderr, "%d ", wide.WriteJPG("/dev/null", 85));
        std::fprintf(stderr, "%d ", grey(RNG(0, 3, 2), RNG::All()).WriteJPG("/dev/null", 85)); // no row
        std::fprintf(stderr, "%d\n", grey.WriteJPG("/dev/null", 85));
    });
    EXPECT_EQ(end.state, "exited with 0");
    EXPECT_EQ(end.err, "5 5 5 0\n");
}

TEST(jpegwrite, APictureTooLargeForTheFormatEndsTheProcess)
{
    const TemporaryFolder folder;
    const FailStop end =
        RunUntilHalt([&] { ArrayOf(Bytes(65501, 1)).WriteJPG((folder / "a.jpg").c_str(), 85); });
    EXPECT_EQ(end.state, "exited with " + std::to_string(EXIT_FAILURE));
    EXPECT_NE(end.err, "");
    EXPECT_EQ(Decode(Written(ArrayOf(Bytes(65500, 1)), 85)).width, 65500);
}

TEST(jpegwrite, AColourRowTooLongForTheFormatEndsTheProcessWhateverItsLength)
{
    const TemporaryFolder folder;
    const CubByte cube(1, 1, 3);
    for (const int right : {65500, 800000000, 2147483646}) { // not one of their samples is asked for
        const FailStop end = RunUntilHalt(
            [&] { cube(RNG(0, right), RNG::All(), RNG::All()).WriteJPG((folder / "a.jpg").c_str(), 85); });
        EXPECT_EQ(end.state, "exited with " + std::to_string(EXIT_FAILURE)) << right << ": " << end.err;
    }
    std::FILE* const none = nullptr;
    EXPECT_EQ(cube(RNG(0, 800000000), RNG::All(), RNG::All()).WriteJPG(none, 85), 1);
}

TEST(jpegwrite, FilesAreClosedAgain)
{
    Random random(156);
    const std::ptrdiff_t open = OpenFiles();
    EXPECT_EQ(ArrayOf(Soft(9, 8)).WriteJPG("/dev/null", 85), 0);
    EXPECT_EQ(ArrayOf(NoiseSequence(random, 9, 8, 3)).WriteJPG("/dev/null", 85), 0);
    EXPECT_EQ(MatByte().WriteJPG("/dev/null", 85), 3);
    EXPECT_EQ(CubByte().WriteJPG("/dev/null", 85), 3);
    EXPECT_EQ(OpenFiles(), open);
}

} // namespace
