// Picture files written and read byte after byte.
#include <tests/reference/Files.h>

#include <tests/reference/Numbers.h>

#include <algorithm>

namespace reference {

namespace {

void Put8(Bytes& out, std::int64_t v) { out.push_back(Low8(v)); }

void Put16(Bytes& out, std::int64_t v)
{
    Put8(out, v);
    Put8(out, v >> 8);
}

void Put32(Bytes& out, std::int64_t v)
{
    Put16(out, v);
    Put16(out, v >> 16);
}

struct Layout {
    int bpp;        // bytes per pixel
    int dataOffset; // headers and what follows them
    int compression;
    int colours;
};

int FillOf(int bpp, int width) { return -(bpp * width) & 3; }

// Both headers. The image size counts the padding once per byte of a pixel, more than the rows really take.
void PutHeaders(Bytes& out, const Layout& layout, int width, int height)
{
    const std::int64_t fill = FillOf(layout.bpp, width);
    const std::int64_t img_size = layout.bpp * (height * (width + fill));
    Put8(out, 'B');
    Put8(out, 'M');
    Put32(out, layout.dataOffset + img_size);
    Put16(out, 0);
    Put16(out, 0);
    Put32(out, layout.dataOffset);

    Put32(out, 40);
    Put32(out, width);
    Put32(out, height);
    Put16(out, 1);
    Put16(out, 8 * layout.bpp);
    Put32(out, layout.compression);
    Put32(out, img_size);
    Put32(out, 0);
    Put32(out, 0);
    Put32(out, layout.colours);
    Put32(out, layout.colours);
}

void PutGreyPalette(Bytes& out)
{
    for (int i = 0; i < 256; ++i) {
        Put8(out, i);
        Put8(out, i);
        Put8(out, i);
        Put8(out, 0);
    }
}

void PutFill(Bytes& out, int fill)
{
    for (int i = 0; i < fill; ++i) Put8(out, 0);
}

std::uint32_t Get32(const Bytes& file, std::size_t at)
{
    return static_cast<std::uint32_t>(file[at]) | static_cast<std::uint32_t>(file[at + 1]) << 8 |
           static_cast<std::uint32_t>(file[at + 2]) << 16 | static_cast<std::uint32_t>(file[at + 3]) << 24;
}

std::uint32_t Get16(const Bytes& file, std::size_t at)
{
    return static_cast<std::uint32_t>(file[at]) | static_cast<std::uint32_t>(file[at + 1]) << 8;
}

} // namespace

Bytes BmpByte(const Picture<std::uint8_t>& m)
{
    Bytes out;
    if (m.Empty()) return out;
    PutHeaders(out, {1, 1078, 0, 256}, m.w, m.h);
    PutGreyPalette(out);
    for (int y = m.h - 1; y >= 0; --y) {
        for (int x = 0; x < m.w; ++x) Put8(out, m.At(x, y));
        PutFill(out, FillOf(1, m.w));
    }
    return out;
}

Bytes BmpColour(const std::array<Picture<std::uint8_t>, 3>& planes)
{
    Bytes out;
    const int w = planes[0].w, h = planes[0].h;
    if (planes[0].Empty()) return out;
    PutHeaders(out, {3, 54, 0, 0}, w, h);
    for (int y = h - 1; y >= 0; --y) {
        for (int x = 0; x < w; ++x) {
            Put8(out, planes[2].At(x, y));
            Put8(out, planes[1].At(x, y));
            Put8(out, planes[0].At(x, y));
        }
        PutFill(out, FillOf(3, w));
    }
    return out;
}

Bytes BmpShort(const Picture<std::int16_t>& m)
{
    Bytes out;
    if (m.Empty()) return out;
    PutHeaders(out, {2, 66, 3, 0}, m.w, m.h);
    Put32(out, 0xF800);
    Put32(out, 0x07E0);
    Put32(out, 0x001F);
    for (int y = m.h - 1; y >= 0; --y) {
        for (int x = 0; x < m.w; ++x) Put16(out, m.At(x, y));
        PutFill(out, FillOf(2, m.w));
    }
    return out;
}

Bytes BmpShort8bpp(const Picture<std::int16_t>& m, std::int16_t offset)
{
    Bytes out;
    if (m.Empty()) return out;
    PutHeaders(out, {1, 1078, 0, 256}, m.w, m.h);
    PutGreyPalette(out);
    for (int y = m.h - 1; y >= 0; --y) {
        for (int x = 0; x < m.w; ++x) Put8(out, (m.At(x, y) + offset) >> 4);
        PutFill(out, FillOf(1, m.w));
    }
    return out;
}

BmpFile ReadBmpByte(const Bytes& file)
{
    BmpFile bmp;
    const auto refuse = [&bmp] {
        bmp.result = 4;
        return bmp;
    };

    // Headers.
    if (file.size() < 14 || Get16(file, 0) != 0x4D42) return refuse();
    const std::uint32_t dataOffset = Get32(file, 10);
    if (file.size() < 54 || Get32(file, 14) != 40) return refuse();
    const std::int32_t width = Low32(Get32(file, 18));
    const std::int32_t height = Low32(Get32(file, 22));
    if (Get32(file, 30) != 0 || width == 0 || height == 0 || Get16(file, 28) != 8) return refuse();
    std::uint32_t imageSize = Get32(file, 34);
    std::uint32_t colours = Get32(file, 46);

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
    if (imageSize == 0) imageSize = static_cast<std::uint32_t>(Mul32(width, height));
    const std::uint32_t skip =
        imageSize / static_cast<std::uint32_t>(height) - static_cast<std::uint32_t>(width);

    // Rows, the bottom one first.
    const std::int64_t size = static_cast<std::int64_t>(file.size());
    for (int y = height - 1; y >= 0; --y) {
        if (width < 0) return refuse();
        for (int x = 0; x < width; ++x) {
            if (position >= size) return refuse();
            bmp.picture.At(x, y) = file[static_cast<std::size_t>(position)];
            ++position;
        }
        position += skip;
    }

    // The palette leaves the last pixel of each row alone.
    for (int y = 0; y < bmp.picture.h; ++y)
        for (int x = 0; x < bmp.picture.w - 1; ++x) bmp.picture.At(x, y) = red[bmp.picture.At(x, y)];
    return bmp;
}

namespace {

struct Headers {
    bool accepted = false; // a BMP of 40 more header bytes, with a size
    std::int32_t width = 0, height = 0;
    std::uint32_t dataOffset = 0, bits = 0, compression = 0, imageSize = 0;
};

Headers HeadersOf(const Bytes& file)
{
    Headers h;
    if (file.size() < 54 || Get16(file, 0) != 0x4D42 || Get32(file, 14) != 40) return h;
    h.dataOffset = Get32(file, 10);
    h.width = Low32(Get32(file, 18));
    h.height = Low32(Get32(file, 22));
    h.bits = Get16(file, 28);
    h.compression = Get32(file, 30);
    h.imageSize = Get32(file, 34);
    h.accepted = h.width != 0 && h.height != 0;
    return h;
}

// Stored bytes of a row beyond the pixels, modulo 2^32.
std::uint32_t PaddingOf(const Headers& h, std::int64_t pixelBytes)
{
    return h.imageSize / static_cast<std::uint32_t>(h.height) - static_cast<std::uint32_t>(pixelBytes);
}

} // namespace

BmpColourFile ReadBmpColour(const Bytes& file, int oldWidth)
{
    BmpColourFile bmp;
    bmp.result = 4;
    const Headers h = HeadersOf(file);
    if (!h.accepted || h.compression != 0 || (h.bits != 8 && h.bits != 24 && h.bits != 32)) return bmp;
    if (h.bits != 24) {
        bmp.result = 2;
        return bmp;
    }
    // The padding counts with the width that the cube had before.
    const std::int32_t skip =
        h.imageSize == 0 ? 0 : Low32(PaddingOf(h, 3 * std::int64_t{oldWidth} + 3 * std::int64_t{h.width}));
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
                bmp.planes[plane].At(x, y) = file[static_cast<std::size_t>(position) + 2 - plane];
            position += 3;
        }
        // Padding of no bytes cannot be read as one item: the reading ends after the first row.
        if (skip < 1 || position + skip > size) return bmp;
        position += skip;
    }
    bmp.result = 0;
    return bmp;
}

BmpShortFile ReadBmpShort(const Bytes& file)
{
    BmpShortFile bmp;
    bmp.result = 4;
    const Headers h = HeadersOf(file);
    if (!h.accepted || h.compression != 3 || h.bits != 16 || h.imageSize == 0) return bmp;
    bmp.width = h.width;
    bmp.height = h.height;
    if (h.width > 0 && h.height > 0) bmp.picture = Picture<std::int16_t>(h.width, h.height);

    // The pixels follow the three masks, whatever the header says.
    const std::int64_t size = static_cast<std::int64_t>(file.size());
    std::int64_t position = 66;
    if (size < position) return bmp;
    const std::uint32_t skip = PaddingOf(h, 2 * std::int64_t{h.width});
    for (int y = h.height - 1; y >= 0; --y) {
        if (h.width < 0) return bmp;
        for (int x = 0; x < h.width; ++x) {
            if (position + 2 > size) return bmp;
            bmp.picture.At(x, y) = Low16(Get16(file, static_cast<std::size_t>(position)));
            position += 2;
        }
        position += skip;
    }
    bmp.result = 0;
    return bmp;
}

} // namespace reference
