#include <tests/reference/Files.h>

#include <tests/reference/Numbers.h>

#include <algorithm>

namespace reference {

namespace {

void put8(Bytes& out, std::int64_t v) { out.push_back(low8(v)); }

void put16(Bytes& out, std::int64_t v)
{
    put8(out, v);
    put8(out, v >> 8);
}

void put32(Bytes& out, std::int64_t v)
{
    put16(out, v);
    put16(out, v >> 16);
}

struct Layout {
    int bpp;        // bytes per pixel
    int dataOffset; // headers and what follows them
    int compression;
    int colours;
};

int fillOf(int bpp, int width) { return -(bpp * width) & 3; }

// Both headers. The image size counts the padding once per byte of a pixel, more than the rows really take.
void putHeaders(Bytes& out, const Layout& layout, int width, int height)
{
    const std::int64_t fill = fillOf(layout.bpp, width);
    const std::int64_t img_size = layout.bpp * (height * (width + fill));
    put8(out, 'B');
    put8(out, 'M');
    put32(out, layout.dataOffset + img_size);
    put16(out, 0);
    put16(out, 0);
    put32(out, layout.dataOffset);

    put32(out, 40);
    put32(out, width);
    put32(out, height);
    put16(out, 1);
    put16(out, 8 * layout.bpp);
    put32(out, layout.compression);
    put32(out, img_size);
    put32(out, 0);
    put32(out, 0);
    put32(out, layout.colours);
    put32(out, layout.colours);
}

void putGreyPalette(Bytes& out)
{
    for (int i = 0; i < 256; ++i) {
        put8(out, i);
        put8(out, i);
        put8(out, i);
        put8(out, 0);
    }
}

void putFill(Bytes& out, int fill)
{
    for (int i = 0; i < fill; ++i) put8(out, 0);
}

std::uint32_t get32(const Bytes& file, std::size_t at)
{
    return static_cast<std::uint32_t>(file[at]) | static_cast<std::uint32_t>(file[at + 1]) << 8 |
           static_cast<std::uint32_t>(file[at + 2]) << 16 | static_cast<std::uint32_t>(file[at + 3]) << 24;
}

std::uint32_t get16(const Bytes& file, std::size_t at)
{
    return static_cast<std::uint32_t>(file[at]) | static_cast<std::uint32_t>(file[at + 1]) << 8;
}

} // namespace

Bytes bmpByte(const Picture<std::uint8_t>& m)
{
    Bytes out;
    if (m.empty()) return out;
    putHeaders(out, {1, 1078, 0, 256}, m.w, m.h);
    putGreyPalette(out);
    for (int y = m.h - 1; y >= 0; --y) {
        for (int x = 0; x < m.w; ++x) put8(out, m.at(x, y));
        putFill(out, fillOf(1, m.w));
    }
    return out;
}

Bytes bmpColour(const std::array<Picture<std::uint8_t>, 3>& planes)
{
    Bytes out;
    const int w = planes[0].w, h = planes[0].h;
    if (planes[0].empty()) return out;
    putHeaders(out, {3, 54, 0, 0}, w, h);
    for (int y = h - 1; y >= 0; --y) {
        for (int x = 0; x < w; ++x) {
            put8(out, planes[2].at(x, y));
            put8(out, planes[1].at(x, y));
            put8(out, planes[0].at(x, y));
        }
        putFill(out, fillOf(3, w));
    }
    return out;
}

Bytes bmpShort(const Picture<std::int16_t>& m)
{
    Bytes out;
    if (m.empty()) return out;
    putHeaders(out, {2, 66, 3, 0}, m.w, m.h);
    put32(out, 0xF800);
    put32(out, 0x07E0);
    put32(out, 0x001F);
    for (int y = m.h - 1; y >= 0; --y) {
        for (int x = 0; x < m.w; ++x) put16(out, m.at(x, y));
        putFill(out, fillOf(2, m.w));
    }
    return out;
}

Bytes bmpShort8bpp(const Picture<std::int16_t>& m, std::int16_t offset)
{
    Bytes out;
    if (m.empty()) return out;
    putHeaders(out, {1, 1078, 0, 256}, m.w, m.h);
    putGreyPalette(out);
    for (int y = m.h - 1; y >= 0; --y) {
        for (int x = 0; x < m.w; ++x) put8(out, (m.at(x, y) + offset) >> 4);
        putFill(out, fillOf(1, m.w));
    }
    return out;
}

BmpFile readBmpByte(const Bytes& file)
{
    BmpFile bmp;
    const auto refuse = [&bmp] {
        bmp.result = 4;
        return bmp;
    };

    // Headers.
    if (file.size() < 14 || get16(file, 0) != 0x4D42) return refuse();
    const std::uint32_t dataOffset = get32(file, 10);
    if (file.size() < 54 || get32(file, 14) != 40) return refuse();
    const std::int32_t width = low32(get32(file, 18));
    const std::int32_t height = low32(get32(file, 22));
    if (get32(file, 30) != 0 || width == 0 || height == 0 || get16(file, 28) != 8) return refuse();
    std::uint32_t imageSize = get32(file, 34);
    std::uint32_t colours = get32(file, 46);

    // Palette; entries that the file does not give are 0.
    if (colours == 0) colours = 256;
    if (colours > 256 || file.size() < 54 + 4 * std::size_t{colours}) return refuse();
    std::array<std::uint8_t, 256> red{};
    for (std::size_t i = 0; i < colours; ++i) red[i] = file[54 + 4 * i + 2];

    bmp.width = width;
    bmp.height = height;
    if (width > 0 && height > 0) bmp.picture = Picture<std::uint8_t>(width, height);

    // Seeks go forward from the current position, by a distance modulo 2^32.
    std::int64_t position = 54 + 4 * std::int64_t{colours};
    position += static_cast<std::uint32_t>(dataOffset - 4 * colours - 54);
    if (imageSize == 0) imageSize = static_cast<std::uint32_t>(mul32(width, height));
    const std::uint32_t skip =
        imageSize / static_cast<std::uint32_t>(height) - static_cast<std::uint32_t>(width);

    // Rows, the bottom one first.
    const std::int64_t size = static_cast<std::int64_t>(file.size());
    for (int y = height - 1; y >= 0; --y) {
        if (width < 0) return refuse();
        for (int x = 0; x < width; ++x) {
            if (position >= size) return refuse();
            bmp.picture.at(x, y) = file[static_cast<std::size_t>(position)];
            ++position;
        }
        position += skip;
    }

    // The palette leaves the last pixel of each row alone.
    for (int y = 0; y < bmp.picture.h; ++y)
        for (int x = 0; x < bmp.picture.w - 1; ++x) bmp.picture.at(x, y) = red[bmp.picture.at(x, y)];
    return bmp;
}

namespace {

struct Headers {
    bool accepted = false; // a BMP of 40 more header bytes, with a size
    std::int32_t width = 0, height = 0;
    std::uint32_t dataOffset = 0, bits = 0, compression = 0, imageSize = 0;
};

Headers headersOf(const Bytes& file)
{
    Headers h;
    if (file.size() < 54 || get16(file, 0) != 0x4D42 || get32(file, 14) != 40) return h;
    h.dataOffset = get32(file, 10);
    h.width = low32(get32(file, 18));
    h.height = low32(get32(file, 22));
    h.bits = get16(file, 28);
    h.compression = get32(file, 30);
    h.imageSize = get32(file, 34);
    h.accepted = h.width != 0 && h.height != 0;
    return h;
}

// Stored bytes of a row beyond the pixels, modulo 2^32.
std::uint32_t paddingOf(const Headers& h, std::int64_t pixelBytes)
{
    return h.imageSize / static_cast<std::uint32_t>(h.height) - static_cast<std::uint32_t>(pixelBytes);
}

} // namespace

BmpColourFile readBmpColour(const Bytes& file, int oldWidth)
{
    BmpColourFile bmp;
    bmp.result = 4;
    const Headers h = headersOf(file);
    if (!h.accepted || h.compression != 0 || (h.bits != 8 && h.bits != 24 && h.bits != 32)) return bmp;
    if (h.bits != 24) {
        bmp.result = 2;
        return bmp;
    }
    // The padding counts with the width that the cube had before.
    const std::int32_t skip =
        h.imageSize == 0 ? 0 : low32(paddingOf(h, 3 * std::int64_t{oldWidth} + 3 * std::int64_t{h.width}));
    if (skip > 3) return bmp;

    bmp.width = h.width;
    bmp.height = h.height;
    if (h.width > 0 && h.height > 0) bmp.planes.fill(Picture<std::uint8_t>(h.width, h.height));
    const std::int64_t size = static_cast<std::int64_t>(file.size());
    std::int64_t position = std::int64_t{54} + static_cast<std::uint32_t>(h.dataOffset - 54);
    for (int y = h.height - 1; y >= 0; --y) {
        if (h.width < 0) return bmp;
        for (int x = 0; x < h.width; ++x) {
            if (position + 3 > size) return bmp;
            for (std::size_t plane = 0; plane < 3; ++plane)
                bmp.planes[plane].at(x, y) = file[static_cast<std::size_t>(position) + 2 - plane];
            position += 3;
        }
        // Padding of no bytes cannot be read as one item: the reading ends after the first row.
        if (skip < 1 || position + skip > size) return bmp;
        position += skip;
    }
    bmp.result = 0;
    return bmp;
}

BmpShortFile readBmpShort(const Bytes& file)
{
    BmpShortFile bmp;
    bmp.result = 4;
    const Headers h = headersOf(file);
    if (!h.accepted || h.compression != 3 || h.bits != 16 || h.imageSize == 0) return bmp;
    bmp.width = h.width;
    bmp.height = h.height;
    if (h.width > 0 && h.height > 0) bmp.picture = Picture<std::int16_t>(h.width, h.height);

    // The pixels follow the three masks, whatever the header says.
    const std::int64_t size = static_cast<std::int64_t>(file.size());
    std::int64_t position = 66;
    if (size < position) return bmp;
    const std::uint32_t skip = paddingOf(h, 2 * std::int64_t{h.width});
    for (int y = h.height - 1; y >= 0; --y) {
        if (h.width < 0) return bmp;
        for (int x = 0; x < h.width; ++x) {
            if (position + 2 > size) return bmp;
            bmp.picture.at(x, y) = low16(get16(file, static_cast<std::size_t>(position)));
            position += 2;
        }
        position += skip;
    }
    bmp.result = 0;
    return bmp;
}

} // namespace reference
