#include "Files.h"

#include "Numbers.h"

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
    const std::int32_t dataOffset = low32(get32(file, 10));
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

    // Seeks are from the current position; one that would leave the file at its front fails and moves
    // nothing.
    std::int64_t position = 54 + 4 * std::int64_t{colours};
    const auto seek = [&position](std::int64_t by) {
        if (position + by >= 0) position += by;
    };
    seek(std::int64_t{dataOffset} - 4 * std::int64_t{colours} - 54);
    if (imageSize == 0) imageSize = static_cast<std::uint32_t>(mul32(width, height));
    const std::int32_t skip = low32(std::int64_t{imageSize / static_cast<std::uint32_t>(height)} - width);

    // Rows, the bottom one first.
    const std::int64_t size = static_cast<std::int64_t>(file.size());
    for (int y = height - 1; y >= 0; --y) {
        if (width < 0) return refuse();
        for (int x = 0; x < width; ++x) {
            if (position >= size) return refuse();
            bmp.picture.at(x, y) = file[static_cast<std::size_t>(position)];
            ++position;
        }
        if (skip != 0) seek(skip);
    }

    // The palette leaves the last pixel of each row alone.
    for (int y = 0; y < bmp.picture.h; ++y)
        for (int x = 0; x < bmp.picture.w - 1; ++x) bmp.picture.at(x, y) = red[bmp.picture.at(x, y)];
    return bmp;
}

} // namespace reference
