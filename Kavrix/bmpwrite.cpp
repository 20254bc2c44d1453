// Writing of 8, 16 and 24-bit BMP files.
#include <Kavrix/bmpwrite.h>

#include <Kavrix/inner/KXarith.h>
#include <Kavrix/inner/NotEnoughMemory.h>
#include <Kavrix/inner/bmpformat.h>
#include <Kavrix/inner/imagefile.h>

#include <bit>
#include <cstring>

using namespace kavrix::inner;

namespace {

bool WriteBytes(std::FILE* fout, const unsigned char* bytes, std::size_t count)
{
    return std::fwrite(bytes, 1, count, fout) == count;
}

bool WriteHeaders(std::FILE* fout, const BmpHeaders& h)
{
    unsigned char bytes[BmpHeaders::size];
    ComposeBmpHeaders(h, bytes);
    return WriteBytes(fout, bytes, sizeof bytes);
}

// Entry i is blue, green, red = i.
bool WriteGreyPalette(std::FILE* fout)
{
    unsigned char palette[256][4] = {};
    for (int i = 0; i < 256; i++) std::memset(palette[i], i, 3);
    return WriteBytes(fout, palette[0], sizeof palette);
}

bool WriteMasks(std::FILE* fout)
{
    unsigned char masks[12];
    PutLittleEndian(masks, std::uint32_t{0xF800});     // red
    PutLittleEndian(masks + 4, std::uint32_t{0x07E0}); // green
    PutLittleEndian(masks + 8, std::uint32_t{0x001F}); // blue
    WriteBytes(fout, masks, sizeof masks);
    return true; // unchecked: a stream that fails here fails at the pixels as well
}

// The whole file: headers, what stands between them and the pixels, and the rows, the bottom one first.
// pack(y, bytes) puts the pixels of row y, bytes of the format each, into a buffer.
template <class Between, class Pack>
int WriteFile(std::FILE* fout, const KX_Base& a, PIX_FMT imgFmt, int betweenBytes, Between between, Pack pack)
{
    if (fout == nullptr) return imageNotOpened;
    const int bpp = BytesPerPixel(imgFmt);
    const std::int64_t pixelBytes = std::int64_t{bpp} * a.dim1;
    const int fill = static_cast<int>(-pixelBytes & 3);

    BmpHeaders h;
    h.width = a.dim1;
    h.height = a.dim2;
    h.bitsPerPixel = static_cast<std::uint16_t>(8 * bpp);
    if (imgFmt == PIX_FMT_Y16) h.compression = BmpHeaders::bitFields;
    if (imgFmt == PIX_FMT_Y8) h.coloursUsed = h.coloursImportant = 256;
    // The padding counts once for each byte of a pixel: with 2 and 3 of them more than is written.
    h.imageSize = static_cast<std::uint32_t>(bpp * (std::int64_t{a.dim2} * (std::int64_t{a.dim1} + fill)));
    h.dataOffset = static_cast<std::uint32_t>(BmpHeaders::size + betweenBytes);
    h.fileSize = h.dataOffset + h.imageSize;
    if (!WriteHeaders(fout, h) || !between(fout)) return imageNotWritten;

    const std::int64_t rowBytes = pixelBytes + fill;
    if (rowBytes > INT32_MAX) NotEnoughMemory();
    VecByte row(static_cast<int>(rowBytes));
    row.Fill(0);
    for (int y = a.dim2 - 1; y >= 0; y--) {
        pack(y, &row(0));
        if (!WriteBytes(fout, &row(0), static_cast<std::size_t>(rowBytes))) return imageNotWritten;
    }
    return imageDone;
}

const auto nothing = [](std::FILE*) { return true; };

} // namespace

int MatByte::WriteBMP(const char* fname) const
{
    return WithFile(fname, "wb", [this](std::FILE* fout) { return WriteBMP(fout); });
}

int MatByte::WriteBMP(std::FILE* fout) const
{
    if (IsEmpty(*this)) return imageEmpty;
    return WriteFile(fout, *this, PIX_FMT_Y8, 1024, WriteGreyPalette, [this](int y, unsigned char* p) {
        if (step1 == 1) std::memcpy(p, &(*this)(0, y), static_cast<std::size_t>(dim1));
        else
            for (int x = 0; x < dim1; x++) p[x] = (*this)(x, y);
    });
}

int CubByte::WriteBMP(const char* fname) const
{
    return WithFile(fname, "wb", [this](std::FILE* fout) { return WriteBMP(fout); });
}

int CubByte::WriteBMP(std::FILE* fout) const
{
    if (IsEmpty(*this) || dim3 != 3) return imageEmpty;
    return WriteFile(fout, *this, PIX_FMT_RGB24, 0, nothing, [this](int y, unsigned char* p) {
        for (int x = 0; x < dim1; x++)
            for (int plane = 2; plane >= 0; plane--) *p++ = (*this)(x, y, plane); // blue, green, red
    });
}

int MatShort::WriteBMP(const char* fname) const
{
    return WithFile(fname, "wb", [this](std::FILE* fout) { return WriteBMP(fout); });
}

int MatShort::WriteBMP(std::FILE* fout) const
{
    if (IsEmpty(*this)) return imageEmpty;
    return WriteFile(fout, *this, PIX_FMT_Y16, 12, WriteMasks, [this](int y, unsigned char* p) {
        if (step1 == 1 && std::endian::native == std::endian::little)
            std::memcpy(p, &(*this)(0, y), sizeof(short) * static_cast<std::size_t>(dim1));
        else
            for (int x = 0; x < dim1; x++) p = PutLittleEndian(p, (*this)(x, y));
    });
}

int MatShort::WriteBMP8bpp(const char* fname, short offset) const
{
    return WithFile(fname, "wb", [=, this](std::FILE* fout) { return WriteBMP8bpp(fout, offset); });
}

int MatShort::WriteBMP8bpp(std::FILE* fout, short offset) const
{
    if (IsEmpty(*this)) return imageEmpty;
    return WriteFile(fout, *this, PIX_FMT_Y8, 1024, WriteGreyPalette, [=, this](int y, unsigned char* p) {
        for (int x = 0; x < dim1; x++) p[x] = static_cast<unsigned char>(((*this)(x, y) + offset) >> 4);
    });
}
