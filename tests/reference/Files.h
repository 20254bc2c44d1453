// The bytes of the picture files.
#pragma once

#include <tests/reference/Picture.h>

#include <array>
#include <vector>

namespace reference {

using Bytes = std::vector<std::uint8_t>;

// The file that each writer makes. An empty picture gives an empty file.
Bytes BmpByte(const Picture<std::uint8_t>& m);
Bytes BmpColour(const std::array<Picture<std::uint8_t>, 3>& planes); ///< red, green, blue, of one size
Bytes BmpShort(const Picture<std::int16_t>& m);
Bytes BmpShort8bpp(const Picture<std::int16_t>& m, std::int16_t offset);

struct BmpFile {
    int result = 0;                ///< 0 or 4, as the reader returns it
    int width = 0, height = 0;     ///< as the headers give them, 0 when refused before the resize
    Picture<std::uint8_t> picture; ///< what was read, zeros behind a short read; empty for a size below 1
};

/// Reads an 8-bit file of at most a few megapixels into an array that was empty.
BmpFile ReadBmpByte(const Bytes& file);

struct BmpColourFile {
    int result = 0; ///< 0, 2 or 4
    int width = 0, height = 0;
    std::array<Picture<std::uint8_t>, 3> planes; ///< red, green, blue
};

/// Reads a 24-bit file into a cube that was oldWidth columns wide.
BmpColourFile ReadBmpColour(const Bytes& file, int oldWidth = 0);

struct BmpShortFile {
    int result = 0; ///< 0 or 4
    int width = 0, height = 0;
    Picture<std::int16_t> picture;
};

/// Reads a 16-bit file.
BmpShortFile ReadBmpShort(const Bytes& file);

} // namespace reference
