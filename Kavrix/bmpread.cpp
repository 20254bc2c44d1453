// Reading of 8, 16 and 24-bit BMP files.
#include <Kavrix/bmpread.h>

#include <Kavrix/inner/bmpformat.h>
#include <Kavrix/inner/imagefile.h>

#include <algorithm>

using namespace kavrix::inner;

namespace {

bool ReadBytes(std::FILE* fin, unsigned char* to, std::size_t count)
{
    return std::fread(to, 1, count, fin) == count;
}

// Both headers; false for a short read, and for what is no BMP with a 40-byte INFOHEADER and a size.
bool ReadHeaders(std::FILE* fin, BmpHeaders& h)
{
    unsigned char bytes[BmpHeaders::size];
    if (!ReadBytes(fin, bytes, BmpHeaders::fileHeaderSize)) return false;
    if (GetLittleEndian<std::uint16_t>(bytes) != BmpHeaders::bmpType) return false;
    if (!ReadBytes(fin, bytes + BmpHeaders::fileHeaderSize, BmpHeaders::infoHeaderSize)) return false;
    h = ParseBmpHeaders(bytes);
    return h.headerSize == BmpHeaders::infoHeaderSize && h.width != 0 && h.height != 0;
}

// Moves forward from here. Distances are formed modulo 2^32 and go forward only: offsets inside the headers
// and image sizes smaller than the pixels lead beyond the end, which shows in the next read. A stream that
// cannot be moved there, as a pipe cannot, is read up to there.
void Skip(std::FILE* fin, std::uint32_t distance)
{
    if (distance == 0 || fseeko(fin, static_cast<off_t>(distance), SEEK_CUR) == 0) return;
    unsigned char passed[4096];
    while (distance > 0) {
        const std::size_t wanted = std::min<std::size_t>(distance, sizeof passed);
        if (!ReadBytes(fin, passed, wanted)) return;
        distance -= static_cast<std::uint32_t>(wanted);
    }
}

// Stored bytes of a row beyond `pixelBytes`, modulo 2^32 like all the sizes of the file.
std::uint32_t RowPadding(const BmpHeaders& h, std::uint32_t imageSize, std::uint32_t pixelBytes)
{
    return imageSize / static_cast<std::uint32_t>(h.height) - pixelBytes;
}

// Reads the rows of a file, bottom one first: count values of `width` bytes each into a buffer, of which
// store(y, values, how many were read) takes what came. `afterRow` then says whether to go on.
template <class Store, class After>
int ReadRows(std::FILE* fin, int count, int rows, int width, Store store, After afterRow)
{
    if (rows < 1) return imageDone;
    if (count < 1) return imageNotAccepted; // a row of negative width cannot be read
    MatByte buffer(width, count);
    for (int y = rows - 1; y >= 0; y--) {
        const std::size_t wanted = static_cast<std::size_t>(count) * static_cast<std::size_t>(width);
        const std::size_t got = std::fread(&buffer(0, 0), 1, wanted, fin);
        store(y, &buffer(0, 0), static_cast<int>(got / static_cast<std::size_t>(width)));
        if (got != wanted || !afterRow()) return imageNotAccepted;
    }
    return imageDone;
}

} // namespace

int MatByte::ReadBMP(const char* fname)
{
    return WithFile(fname, "rb", [this](std::FILE* fin) { return ReadBMP(fin); });
}

int MatByte::ReadBMP(std::FILE* fin)
{
    if (fin == nullptr) return imageNotOpened;
    BmpHeaders h;
    if (!ReadHeaders(fin, h) || h.compression != BmpHeaders::uncompressed || h.bitsPerPixel != 8)
        return imageNotAccepted;

    // The red components of the palette, 0 for entries that the file does not give.
    UBYTE red[256] = {};
    const std::uint32_t colours = h.coloursUsed != 0 ? h.coloursUsed : 256;
    if (colours > 256) return imageNotAccepted;
    for (std::uint32_t i = 0; i < colours; i++) {
        unsigned char entry[4]; // blue, green, red, reserved
        if (!ReadBytes(fin, entry, sizeof entry)) return imageNotAccepted;
        red[i] = entry[2];
    }

    Resize(h.width, h.height);
    Skip(fin, h.dataOffset - 4 * colours - BmpHeaders::size);

    // Without an image size the rows are taken to have no padding.
    const auto width = static_cast<std::uint32_t>(h.width);
    const std::uint32_t imageSize =
        h.imageSize != 0 ? h.imageSize : width * static_cast<std::uint32_t>(h.height);
    const std::uint32_t padding = RowPadding(h, imageSize, width);
    const int rows = std::max(h.height, 0);
    for (int y = rows - 1; y >= 0 && step1 == 1; y--) { // rows of a view with gaps are not read
        if (h.width < 0 || !ReadBytes(fin, &(*this)(0, y), width)) return imageNotAccepted;
        Skip(fin, padding);
    }

    // The last pixel of each row keeps its palette index: the palette is applied to width - 1 of them.
    // Grey files, where entry i is grey value i, do not show it, and need no second pass.
    bool changesValues = false;
    for (int i = 0; i < 256; i++) changesValues |= red[i] != i;
    for (int y = 0; y < rows && changesValues; y++)
        for (int x = 0; x < h.width - 1; x++) (*this)(x, y) = red[(*this)(x, y)];
    return imageDone;
}

int CubByte::ReadBMP(const char* fname)
{
    return WithFile(fname, "rb", [this](std::FILE* fin) { return ReadBMP(fin); });
}

int CubByte::ReadBMP(std::FILE* fin)
{
    if (fin == nullptr) return imageNotOpened;
    BmpHeaders h;
    if (!ReadHeaders(fin, h) || h.compression != BmpHeaders::uncompressed) return imageNotAccepted;
    if (h.bitsPerPixel != 8 && h.bitsPerPixel != 24 && h.bitsPerPixel != 32) return imageNotAccepted;
    if (h.bitsPerPixel != 24) return imageOtherDepth;

    // The padding is formed with the width that the cube has BEFORE it is resized: it is the true one only
    // for a cube that is empty on entry; with any other it comes out negative.
    std::uint32_t padding = 0;
    if (h.imageSize != 0)
        padding = RowPadding(h, h.imageSize, 3 * static_cast<std::uint32_t>(dim1)) -
                  3 * static_cast<std::uint32_t>(h.width);
    const int skip = static_cast<std::int32_t>(padding);
    if (skip > 3) return imageNotAccepted;

    Resize(h.width, h.height, 3);
    Skip(fin, h.dataOffset - BmpHeaders::size);
    return ReadRows(
        fin, h.width, h.height, 3,
        [this](int y, const unsigned char* bgr, int count) {
            for (int x = 0; x < count; x++, bgr += 3) {
                (*this)(x, y, 2) = bgr[0];
                (*this)(x, y, 1) = bgr[1];
                (*this)(x, y, 0) = bgr[2];
            }
        },
        [fin, skip] {
            // The padding is read as one item of `skip` bytes. An item of no bytes is no item: rows without
            // padding end the reading after the first of them.
            unsigned char pad[3];
            return skip > 0 && std::fread(pad, static_cast<std::size_t>(skip), 1, fin) == 1;
        });
}

int MatShort::ReadBMP(const char* fname)
{
    return WithFile(fname, "rb", [this](std::FILE* fin) { return ReadBMP(fin); });
}

int MatShort::ReadBMP(std::FILE* fin)
{
    if (fin == nullptr) return imageNotOpened;
    BmpHeaders h;
    if (!ReadHeaders(fin, h) || h.compression != BmpHeaders::bitFields || h.bitsPerPixel != 16 ||
        h.imageSize == 0)
        return imageNotAccepted;

    Resize(h.width, h.height);
    unsigned char masks[12]; // red, green, blue; any will do, and the pixels follow at once
    if (!ReadBytes(fin, masks, sizeof masks)) return imageNotAccepted;

    const std::uint32_t padding = RowPadding(h, h.imageSize, 2 * static_cast<std::uint32_t>(h.width));
    return ReadRows(
        fin, h.width, h.height, 2,
        [this](int y, const unsigned char* bytes, int count) {
            for (int x = 0; x < count; x++, bytes += 2) (*this)(x, y) = GetLittleEndian<short>(bytes);
        },
        [fin, padding] {
            Skip(fin, padding);
            return true;
        });
}
