// The JPEG writer where calls of libjpeg end by an exception. The linker puts the functions below in the
// place of libjpeg's (its option --wrap); each throws when its turn has come, and otherwise calls the real
// one.
#include <tests/support/ChildProcess.h>
#include <tests/support/Pictures.h>

#include <tests/reference/Jpeg.h>

#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <vector>

#include <jpeglib.h>

#if defined(__SANITIZE_ADDRESS__)
#define LOOKS_FOR_LEAKS
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define LOOKS_FOR_LEAKS
#endif
#endif
#ifdef LOOKS_FOR_LEAKS
#include <sanitizer/lsan_interface.h>
#endif

namespace {

struct Unexpected {};

std::string throwing;           ///< the function that throws
int remaining = 0;              ///< at its call after so many others
std::vector<std::string> calls; ///< what has been called

void Called(const char* name)
{
    calls.push_back(name);
    if (name == throwing && remaining-- == 0) throw Unexpected();
}

} // namespace

extern "C" {
void __real_jpeg_CreateCompress(j_compress_ptr, int, std::size_t);
void __real_jpeg_stdio_dest(j_compress_ptr, std::FILE*);
void __real_jpeg_set_defaults(j_compress_ptr);
void __real_jpeg_set_quality(j_compress_ptr, int, boolean);
void __real_jpeg_start_compress(j_compress_ptr, boolean);
JDIMENSION __real_jpeg_write_scanlines(j_compress_ptr, JSAMPARRAY, JDIMENSION);
void __real_jpeg_finish_compress(j_compress_ptr);
void __real_jpeg_destroy_compress(j_compress_ptr);

void __wrap_jpeg_CreateCompress(j_compress_ptr cinfo, int version, std::size_t size)
{
    EXPECT_EQ(version, JPEG_LIB_VERSION);
    EXPECT_EQ(size, sizeof(jpeg_compress_struct));
    Called("jpeg_CreateCompress");
    __real_jpeg_CreateCompress(cinfo, version, size);
}

void __wrap_jpeg_stdio_dest(j_compress_ptr cinfo, std::FILE* file)
{
    Called("jpeg_stdio_dest");
    __real_jpeg_stdio_dest(cinfo, file);
}

void __wrap_jpeg_set_defaults(j_compress_ptr cinfo)
{
    Called("jpeg_set_defaults");
    __real_jpeg_set_defaults(cinfo);
}

void __wrap_jpeg_set_quality(j_compress_ptr cinfo, int quality, boolean baseline)
{
    EXPECT_TRUE(baseline);
    Called("jpeg_set_quality");
    __real_jpeg_set_quality(cinfo, quality, baseline);
}

void __wrap_jpeg_start_compress(j_compress_ptr cinfo, boolean allTables)
{
    EXPECT_TRUE(allTables);
    Called("jpeg_start_compress");
    __real_jpeg_start_compress(cinfo, allTables);
}

JDIMENSION __wrap_jpeg_write_scanlines(j_compress_ptr cinfo, JSAMPARRAY rows, JDIMENSION count)
{
    EXPECT_EQ(count, 1u) << "one row at a time";
    Called("jpeg_write_scanlines");
    return __real_jpeg_write_scanlines(cinfo, rows, count);
}

void __wrap_jpeg_finish_compress(j_compress_ptr cinfo)
{
    Called("jpeg_finish_compress");
    __real_jpeg_finish_compress(cinfo);
}

void __wrap_jpeg_destroy_compress(j_compress_ptr cinfo)
{
    Called("jpeg_destroy_compress");
    __real_jpeg_destroy_compress(cinfo);
}
}

namespace {

using namespace pictures;

const std::vector<std::string> functions = {
    "jpeg_CreateCompress", "jpeg_stdio_dest",      "jpeg_set_defaults",    "jpeg_set_quality",
    "jpeg_start_compress", "jpeg_write_scanlines", "jpeg_finish_compress", "jpeg_destroy_compress"};

/// Sets which call throws, and takes it back.
class Throwing {
public:
    explicit Throwing(const std::string& function, int after = 0)
    {
        throwing = function;
        remaining = after;
        calls.clear();
    }
    ~Throwing() { throwing.clear(); }

private:
#ifdef LOOKS_FOR_LEAKS
    // A compressor that has thrown is not destroyed: what it holds is lost.
    __lsan::ScopedDisabler lostWithTheCompressor;
#endif
};

template <class Array> void ExpectFiveFromEveryCall(const Array& array, int rows)
{
    const TemporaryFolder folder;
    const std::string path = folder / "a.jpg";
    const std::ptrdiff_t open = OpenFiles();
    for (std::size_t i = 0; i < functions.size(); i++) {
        for (int after : functions[i] == "jpeg_write_scanlines" ? std::vector<int>{0, 1, rows - 1}
                                                                : std::vector<int>{0}) {
            const Throwing now(functions[i], after);
            EXPECT_EQ(array.WriteJPG(path.c_str(), 85), 5) << functions[i];
            EXPECT_EQ(calls.back(), functions[i]) << "the writer stops at that call";
            EXPECT_EQ(calls.size(), i + 1 + static_cast<std::size_t>(i > 5 ? rows - 1 : after))
                << functions[i];
            EXPECT_TRUE(folder.Has("a.jpg"));
            EXPECT_EQ(OpenFiles(), open) << functions[i];
        }
    }
}

TEST(jpegwriteExceptions, TheCallsComeInOrder)
{
    const Bytes picture(5, 3, 100);
    const TemporaryFolder folder;
    const Throwing none("");
    EXPECT_EQ(ArrayOf(picture).WriteJPG((folder / "a.jpg").c_str(), 85), 0);
    std::vector<std::string> wanted = functions;
    wanted.insert(wanted.begin() + 5, 2, "jpeg_write_scanlines");
    EXPECT_EQ(calls, wanted);
}

TEST(jpegwriteExceptions, AnyCallOfAGreyPictureThatThrowsGivesFive)
{
    Random random(161);
    ExpectFiveFromEveryCall(ArrayOf(Noise<std::uint8_t>(random, 9, 6)), 6);
}

TEST(jpegwriteExceptions, AnyCallOfAColourPictureThatThrowsGivesFive)
{
    Random random(162);
    ExpectFiveFromEveryCall(ArrayOf(NoiseSequence(random, 9, 6, 3)), 6);
}

TEST(jpegwriteExceptions, TheStreamIsFlushedAndStaysOpen)
{
    Random random(163);
    const MatByte picture = ArrayOf(Noise<std::uint8_t>(random, 9, 6));
    for (const std::string& function : functions) {
        const TemporaryFolder folder;
        std::FILE* const file = std::fopen((folder / "a.jpg").c_str(), "wb");
        ASSERT_NE(file, nullptr);
        std::fputs("before", file);
        const Throwing now(function);
        EXPECT_EQ(picture.WriteJPG(file, 85), 5) << function;
        EXPECT_EQ(folder.Read("a.jpg").substr(0, 6), "before") << function;
        EXPECT_NE(std::fputs("behind", file), EOF);
        EXPECT_EQ(std::fclose(file), 0);
        const std::string text = folder.Read("a.jpg");
        EXPECT_EQ(text.substr(text.size() - 6), "behind") << function;
    }
}

TEST(jpegwriteExceptions, TheNextPictureIsWrittenAsEver)
{
    Random random(164);
    const Bytes picture = Noise<std::uint8_t>(random, 20, 11);
    const TemporaryFolder folder;
    const std::string path = folder / "a.jpg";
    {
        const Throwing now("jpeg_finish_compress");
        EXPECT_EQ(ArrayOf(picture).WriteJPG(path.c_str(), 85), 5);
    }
    EXPECT_EQ(ArrayOf(picture).WriteJPG(path.c_str(), 85), 0);
    const std::string text = folder.Read("a.jpg");
    EXPECT_EQ(reference::Bytes(text.begin(), text.end()), reference::JpegGrey(picture, 85));
}

} // namespace
