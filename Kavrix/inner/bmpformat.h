// What the BMP reader and writer share: the two headers of the file format, all numbers little-endian.
#ifndef KAVRIX_INNER_BMPFORMAT_H
#define KAVRIX_INNER_BMPFORMAT_H

#include <cstdint>

namespace kavrix::inner {

/// BMPHEADER, 14 bytes, and INFOHEADER, 40 bytes.
struct BmpHeaders {
    std::uint16_t type = bmpType; ///< "BM"
    std::uint32_t fileSize = 0;   ///< bytes
    std::uint16_t reserved[2] = {};
    std::uint32_t dataOffset = 0; ///< of the first pixel byte
    std::uint32_t headerSize = infoHeaderSize;
    std::int32_t width = 0;  ///< pixels per row
    std::int32_t height = 0; ///< rows, the bottom one stored first
    std::uint16_t planes = 1;
    std::uint16_t bitsPerPixel = 0;       ///< 8, 16, 24 or 32
    std::uint32_t compression = 0;        ///< `uncompressed` or `bitFields`
    std::uint32_t imageSize = 0;          ///< bytes of the pixels with their padding; 0: not given
    std::uint32_t pixelsPerMetre[2] = {}; ///< across and down
    std::uint32_t coloursUsed = 0;        ///< palette entries; 0 means 256 for 8 bits
    std::uint32_t coloursImportant = 0;

    static constexpr std::uint16_t bmpType = 0x4D42;
    static constexpr std::uint32_t uncompressed = 0, bitFields = 3;
    static constexpr int fileHeaderSize = 14, infoHeaderSize = 40, size = fileHeaderSize + infoHeaderSize;
};

/// Calls f(field) for every field in the order of the file.
template <class Headers, class F> void EachField(Headers& h, F f)
{
    f(h.type);
    f(h.fileSize);
    f(h.reserved[0]);
    f(h.reserved[1]);
    f(h.dataOffset);
    f(h.headerSize);
    f(h.width);
    f(h.height);
    f(h.planes);
    f(h.bitsPerPixel);
    f(h.compression);
    f(h.imageSize);
    f(h.pixelsPerMetre[0]);
    f(h.pixelsPerMetre[1]);
    f(h.coloursUsed);
    f(h.coloursImportant);
}

/// A number of 1 to 4 bytes, least significant first.
template <class T> T GetLittleEndian(const unsigned char* bytes)
{
    std::uint32_t value = 0;
    for (unsigned i = 0; i < sizeof(T); i++) value |= std::uint32_t{bytes[i]} << (8 * i);
    return static_cast<T>(value);
}

/// Puts a number at `bytes` and returns the place behind it.
template <class T> unsigned char* PutLittleEndian(unsigned char* bytes, T number)
{
    const auto value = static_cast<std::uint32_t>(number);
    for (unsigned i = 0; i < sizeof(T); i++) *bytes++ = static_cast<unsigned char>(value >> (8 * i));
    return bytes;
}

/// The headers that the first BmpHeaders::size bytes of a file hold, whatever they say.
inline BmpHeaders ParseBmpHeaders(const unsigned char* bytes)
{
    BmpHeaders h;
    const unsigned char* next = bytes;
    EachField(h, [&next]<class T>(T& field) {
        field = GetLittleEndian<T>(next);
        next += sizeof field;
    });
    return h;
}

/// Puts the headers into the first BmpHeaders::size bytes of a file.
inline void ComposeBmpHeaders(const BmpHeaders& h, unsigned char* bytes)
{
    unsigned char* next = bytes;
    EachField(h, [&next](auto field) { next = PutLittleEndian(next, field); });
}

} // namespace kavrix::inner

#endif
