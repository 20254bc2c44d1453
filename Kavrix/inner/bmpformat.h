// What the BMP reader and writer share: the two headers of the file format, all numbers little-endian.
#ifndef KAVRIX_INNER_BMPFORMAT_H
#define KAVRIX_INNER_BMPFORMAT_H

#include <cstdint>

namespace kavrix::inner {

/// BMPHEADER, 14 bytes, and INFOHEADER, 40 bytes.
struct BmpHeaders {
    std::uint16_t type = bmpType;  ///< "BM"
    std::uint32_t fileSize = 0;    ///< bytes
    std::uint32_t dataOffset = 0;  ///< of the first pixel byte
    std::uint32_t headerSize = 40; ///< of INFOHEADER
    std::int32_t width = 0;        ///< pixels per row
    std::int32_t height = 0;       ///< rows, the bottom one stored first
    std::uint16_t planes = 1;
    std::uint16_t bitsPerPixel = 0; ///< 8, 16, 24 or 32
    std::uint32_t compression = 0;  ///< `uncompressed` or `bitFields`
    std::uint32_t imageSize = 0;    ///< bytes of the pixels with their padding; 0: not given
    std::uint32_t coloursUsed = 0;  ///< palette entries; 0 means 256 for 8 bits
    std::uint32_t coloursImportant = 0;

    static constexpr std::uint16_t bmpType = 0x4D42;
    static constexpr std::uint32_t uncompressed = 0, bitFields = 3;
    static constexpr int fileHeaderSize = 14, size = 54;
};

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

} // namespace kavrix::inner

#endif
