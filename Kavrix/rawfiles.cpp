// RAW, TIFF and IMG files.
#include <Kavrix/rawfiles.h>

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace {

const char* const cannotOpenRaw = "Cannot open raw image file";
const char* const rawWriteFailed = "WriteRAW: Write into a file failed";
const char* const cannotOpenTiff = "Cannot open TIFF file for write";
const char* const tiffWriteFailed = "Cannot save data into a TIFF file";

// Opens the file, hands its stream to f and closes it. What was written and does not reach the file at the
// end ends with `writeFailed`.
template <class F>
void WithOpened(const char* fname, const char* mode, const char* cannotOpen, const char* writeFailed, F f)
{
    std::FILE* const fp = std::fopen(fname, mode);
    if (fp == nullptr) error(1, cannotOpen);
    f(fp);
    if (std::fclose(fp) != 0) error(1, writeFailed);
}

void PutByte(int byte, std::FILE* fp, const char* writeFailed)
{
    if (std::putc(byte, fp) == EOF) error(1, writeFailed);
}

} // namespace

// ---------------------------------------------------------------------------------- RAW

void MatByte::ReadRAW(const char* fname, int nskip, int ncols, int nrows)
{
    WithOpened(fname, "rb", cannotOpenRaw, cannotOpenRaw,
               [=, this](std::FILE* fp) { ReadRAW(fp, nskip, ncols, nrows); });
}

void MatByte::ReadRAW(std::FILE* fp, int nskip, int ncols, int nrows)
{
    if (fp == nullptr) error(1, cannotOpenRaw);
    const auto next = [fp] {
        const int byte = std::getc(fp);
        if (byte == EOF) error(1, "ReadRAW: EOF reached while reading an image");
        return static_cast<UBYTE>(byte);
    };
    for (int i = 0; i < nskip; i++) next();
    if (ncols < 0 || nrows < 0) error(1, "ReadRAW: EOF reached while reading an image");
    Resize(ncols, nrows);
    for (int y = 0; y < nrows && ncols > 0; y++) // rows without columns are not counted one by one
        for (int x = 0; x < ncols; x++) (*this)(x, y) = next();
}

void MatByte::WriteRAW(const char* fname, int nskip) const
{
    WithOpened(fname, "wb", cannotOpenRaw, rawWriteFailed, [=, this](std::FILE* fp) { WriteRAW(fp, nskip); });
}

void MatByte::WriteRAW(std::FILE* fp, int nskip) const
{
    if (fp == nullptr) error(1, cannotOpenRaw);
    if (nskip > 0) {
        std::FILE* const header = std::fopen("header.tif", "rb");
        if (header == nullptr) error(1, "WriteRAW: Cannot read header file");
        // Past its end every byte is the low one of the end-of-file value, 0xFF.
        for (int i = 0; i < nskip; i++) PutByte(std::getc(header) & 0xFF, fp, rawWriteFailed);
        std::fclose(header);
    }
    for (int x = 0; x < dim1 && p_data; x++) // column by column, unlike ReadRAW
        for (int y = 0; y < dim2; y++) PutByte((*this)(x, y), fp, rawWriteFailed);
}

// ---------------------------------------------------------------------------------- TIFF

void fwriteSGshort(unsigned short value, std::FILE* f)
{
    std::putc(value >> 8, f);
    std::putc(value & 0xFF, f);
}

void fwriteSGlong(unsigned long value, std::FILE* f)
{
    fwriteSGshort(static_cast<unsigned short>(value >> 16 & 0xFFFF), f);
    fwriteSGshort(static_cast<unsigned short>(value & 0xFFFF), f);
}

void MatByte::WriteTIFF(const char* fname) const
{
    WithOpened(fname, "wb", cannotOpenTiff, tiffWriteFailed, [this](std::FILE* fout) { WriteTIFF(fout); });
}

void MatByte::WriteTIFF(std::FILE* fout) const
{
    if (fout == nullptr) error(1, cannotOpenTiff);
    // The sizes are written as they are; without storage there are no pixels behind them.
    const auto width = static_cast<std::uint32_t>(dim1), height = static_cast<std::uint32_t>(dim2);
    const std::uint32_t pixels = 154, pixelBytes = p_data ? width * height : 0,
                        pixelsEnd = pixels + pixelBytes;
    const std::uint32_t resolutionX = pixelsEnd + pixelsEnd % 2, resolutionY = resolutionX + 8;

    PutByte('M', fout, tiffWriteFailed);
    PutByte('M', fout, tiffWriteFailed);
    fwriteSGshort(42, fout);
    fwriteSGlong(8, fout); // where the directory begins

    const unsigned short typeShort = 3, typeLong = 4, typeRational = 5;
    const struct {
        unsigned short tag, type;
        std::uint32_t value;
    } entries[] = {
        {256, typeLong, width},           // image width
        {257, typeLong, height},          // image length
        {258, typeShort, 8},              // bits per sample
        {259, typeShort, 1},              // compression: none
        {262, typeShort, 1},              // photometric: 0 is black
        {273, typeLong, pixels},          // strip offsets
        {277, typeShort, 1},              // samples per pixel
        {278, typeLong, height},          // rows per strip
        {279, typeLong, pixelBytes},      // strip byte counts
        {282, typeRational, resolutionX}, // X resolution
        {283, typeRational, resolutionY}, // Y resolution
        {296, typeShort, 1},              // resolution unit: none
    };
    fwriteSGshort(sizeof entries / sizeof entries[0], fout);
    for (const auto& entry : entries) {
        fwriteSGshort(entry.tag, fout);
        fwriteSGshort(entry.type, fout);
        fwriteSGlong(1, fout); // count
        if (entry.type == typeShort) {
            fwriteSGshort(static_cast<unsigned short>(entry.value), fout);
            fwriteSGshort(0, fout);
        } else {
            fwriteSGlong(entry.value, fout);
        }
    }

    for (int y = 0; y < dim2 && p_data; y++)
        for (int x = 0; x < dim1; x++) PutByte((*this)(x, y), fout, tiffWriteFailed);
    if (pixelsEnd % 2 != 0) std::putc(0, fout);
    for (int i = 0; i < 2; i++) { // both resolutions
        fwriteSGlong(1, fout);
        fwriteSGlong(72, fout);
    }
}

// ---------------------------------------------------------------------------------- IMG

namespace {

// Whether `text` comes next; what does not match is left for the next read.
bool Matches(std::FILE* fp, const char* text)
{
    for (; *text; text++) {
        const int c = std::getc(fp);
        if (c == *text) continue;
        std::ungetc(c, fp);
        return false;
    }
    return true;
}

void SkipBlanks(std::FILE* fp)
{
    int c;
    do c = std::getc(fp);
    while (c != EOF && std::strchr(" \t\n\v\f\r", c) && c != 0);
    std::ungetc(c, fp);
}

// A decimal number, held to the int range. Whether there was one.
bool ReadNumber(std::FILE* fp, std::int64_t& number)
{
    SkipBlanks(fp);
    const bool negative = Matches(fp, "-");
    if (!negative) Matches(fp, "+");
    std::int64_t value = 0;
    bool digits = false;
    int c;
    for (; (c = std::getc(fp)) >= '0' && c <= '9'; digits = true)
        value = std::min<std::int64_t>(10 * value + (c - '0'), std::int64_t{INT32_MAX} + 1);
    std::ungetc(c, fp);
    if (digits) number = negative ? -value : value;
    return digits;
}

} // namespace

void MatByte::load_from_image_file(const char* fname)
{
    std::FILE* const fp = std::fopen(fname, "rb");
    if (fp == nullptr) error(1, "load_from_image_file: file not existing");
    const auto fail = [fp](const char* message) {
        std::fclose(fp);
        error(1, message);
    };

    const char* const suffix = std::strrchr(fname, '.');
    if (suffix == nullptr) fail("load_from_image_file: file name doesn't contain a suffix");
    if (std::strcmp(suffix, ".IMG") != 0 && std::strcmp(suffix, ".img") != 0)
        fail("load_from_image_file: file format not recognized");

    // A first line of another form leaves the sizes at 0 from where it differs.
    std::int64_t width = 0, height = 0;
    if (Matches(fp, "image") && ReadNumber(fp, width) && Matches(fp, "*") && ReadNumber(fp, height) &&
        Matches(fp, "*8"))
        SkipBlanks(fp);

    char line[1025];
    do {
        if (std::fgets(line, sizeof line, fp) == nullptr)
            fail("load_from_image_file: file doesn't contain \"data\"");
    } while (std::strncmp(line, "data", 4) != 0);

    const char* const tooSmall = "load_from_image_file: file too small";
    if (width < 0 || height < 0 || width > INT32_MAX || height > INT32_MAX || width * height > INT32_MAX)
        fail(tooSmall);
    Resize(static_cast<int>(width), static_cast<int>(height));
    for (int y = 0; y < dim2 && dim1 > 0; y++) {
        for (int x = 0; x < dim1; x++) {
            const int byte = std::getc(fp);
            if (byte == EOF) fail(tooSmall);
            (*this)(x, y) = static_cast<UBYTE>(byte);
        }
    }
    std::fclose(fp);
}
