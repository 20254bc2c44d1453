// Writes the seeds of the file readers: make_seeds <folder>. What they are is in their names. The BMP files
// are the shapes that readers of that format are known to get wrong, small, and each with one thing odd.
#include <tests/reference/Files.h>
#include <tests/reference/Jpeg.h>

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

namespace {

using Bytes = std::vector<std::uint8_t>;

std::filesystem::path folder;

void Save(const std::string& name, const Bytes& bytes)
{
    const std::filesystem::path path = folder / name;
    std::filesystem::create_directories(path.parent_path());
    std::ofstream file(path, std::ios::binary);
    file.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    if (!file.flush()) std::perror(path.c_str());
}

Bytes Of(const std::string& text) { return Bytes(text.begin(), text.end()); }

void Append(Bytes& to, const Bytes& more) { to.insert(to.end(), more.begin(), more.end()); }

// The target takes its choices from the end of an input: into an empty array or another receiver, from a
// stream.
void SaveBmp(const std::string& name, Bytes bytes, std::uint8_t receiver = 0)
{
    Append(bytes, {0, 0, 0, receiver});
    Save("bmp/" + name, bytes);
}

// ---------------------------------------------------------------------------------- BMP files

struct Bmp {
    std::string magic = "BM";
    std::int64_t fileSize = -1, dataOffset = -1, imageSize = -1; // -1: the true one
    std::uint32_t headerSize = 40;
    std::int32_t width = 5, height = 3;
    std::uint32_t planes = 1, bits = 8, compression = 0;
    std::int64_t coloursUsed = -1; // -1: as many as there are
    int colours = 4;
    Bytes extra = {};  // between the headers and the palette
    Bytes pixels = {}; // rows of noise where it is empty

    int Stride() const
    {
        const std::int64_t bitsOfRow = std::int64_t{width < 0 ? -width : width} * bits;
        return static_cast<int>((bitsOfRow + 31) / 32 * 4);
    }

    Bytes File() const
    {
        Bytes rows = pixels;
        const bool fits = width > -100 && width < 100 && height > -100 && height < 100;
        const int count = fits ? Stride() * (height < 0 ? -height : height) : 0;
        for (int i = 0; pixels.empty() && i < count; i++)
            rows.push_back(static_cast<std::uint8_t>(i * 37 % 251));

        Bytes palette;
        for (int i = 0; i < colours; i++)
            for (const int c : {255 - i, i, 2 * i, 0}) palette.push_back(static_cast<std::uint8_t>(c));
        const auto offset = static_cast<std::int64_t>(14 + headerSize + extra.size() + palette.size());

        Bytes file = Of(magic);
        const auto put = [&file](std::int64_t value, int bytes) {
            for (int i = 0; i < bytes; i++) file.push_back(static_cast<std::uint8_t>(value >> (8 * i)));
        };
        put(fileSize < 0 ? offset + static_cast<std::int64_t>(rows.size()) : fileSize, 4);
        put(0, 4);
        put(dataOffset < 0 ? offset : dataOffset, 4);
        put(headerSize, 4);
        if (headerSize == 12) { // the oldest header has sizes of 16 bits
            put(width, 2);
            put(height, 2);
            put(planes, 2);
            put(bits, 2);
        } else {
            put(width, 4);
            put(height, 4);
            put(planes, 2);
            put(bits, 2);
            put(compression, 4);
            put(imageSize < 0 ? static_cast<std::int64_t>(rows.size()) : imageSize, 4);
            put(2835, 4);
            put(2835, 4);
            put(coloursUsed < 0 ? colours : coloursUsed, 4);
            put(0, 4);
            for (std::uint32_t i = 40; i < headerSize; i++) put(0, 1);
        }
        Append(file, extra);
        Append(file, palette);
        Append(file, rows);
        return file;
    }
};

const Bytes masks565 = {0, 0xF8, 0, 0, 0xE0, 7, 0, 0, 0x1F, 0, 0, 0};

Bmp Colour(int width, int height)
{
    Bmp bmp;
    bmp.bits = 24;
    bmp.colours = 0;
    bmp.width = width;
    bmp.height = height;
    return bmp;
}

Bmp Sixteen(int width, int height)
{
    Bmp bmp = Colour(width, height);
    bmp.bits = 16;
    bmp.compression = 3;
    bmp.extra = masks565;
    return bmp;
}

// The same file with one thing changed.
template <class F> void Vary(const std::string& name, Bmp bmp, F change)
{
    change(bmp);
    SaveBmp(name, bmp.File());
}

void WriteBmps()
{
    const Bmp grey, colour = Colour(5, 3), sixteen = Sixteen(6, 3);
    const struct {
        std::string name;
        Bmp bmp;
    } kinds[] = {{"8bit", grey}, {"24bit", colour}, {"16bit", sixteen}};

    for (const auto& [name, bmp] : kinds) {
        for (const int width : {1, 2, 3, 4, 7}) {
            Vary(name + "-width" + std::to_string(width), bmp, [width](Bmp& b) { b.width = width; });
        }
        Vary(name + "-topdown", bmp, [](Bmp& b) { b.height = -3; });
        Vary(name + "-width-negative", bmp, [](Bmp& b) { b.width = -5; });
        Vary(name + "-both-negative", bmp, [](Bmp& b) { b.width = -5, b.height = -3; });
        Vary(name + "-width0", bmp, [](Bmp& b) { b.width = 0; });
        Vary(name + "-height0", bmp, [](Bmp& b) { b.height = 0; });
        Vary(name + "-huge", bmp, [](Bmp& b) { b.width = b.height = 0x7FFFFFFF; });
        Vary(name + "-wide", bmp, [](Bmp& b) { b.width = 1 << 24, b.height = 1; });
        Vary(name + "-high", bmp, [](Bmp& b) { b.width = 1, b.height = 1 << 24; });
        Vary(name + "-product-wraps", bmp, [](Bmp& b) { b.width = b.height = 1 << 16; });
        Vary(name + "-lowest", bmp, [](Bmp& b) { b.width = b.height = INT32_MIN; });
        Vary(name + "-image-size0", bmp, [](Bmp& b) { b.imageSize = 0; });
        Vary(name + "-image-size-small", bmp, [](Bmp& b) { b.imageSize = 7; });
        Vary(name + "-image-size-large", bmp, [](Bmp& b) { b.imageSize = 0xFFFFFFFF; });
        Vary(name + "-offset0", bmp, [](Bmp& b) { b.dataOffset = 0; });
        Vary(name + "-offset-in-headers", bmp, [](Bmp& b) { b.dataOffset = 30; });
        Vary(name + "-offset-huge", bmp, [](Bmp& b) { b.dataOffset = 0x7FFFFFFF; });
        Vary(name + "-offset-lowest", bmp, [](Bmp& b) { b.dataOffset = 0x80000000; });
        Vary(name + "-file-size-wrong", bmp, [](Bmp& b) { b.fileSize = 1; });
        Vary(name + "-planes0", bmp, [](Bmp& b) { b.planes = 0; });
        const Bytes whole = bmp.File();
        const char* const receivers[] = {"owner", "view", "view-with-gaps", "shared"};
        for (std::uint8_t i = 0; i < 4; i++)
            SaveBmp(name + "-into-" + receivers[i], whole, static_cast<std::uint8_t>(i + 1));
        for (const std::size_t length : {std::size_t{1}, std::size_t{14}, std::size_t{40}, std::size_t{54},
                                         std::size_t{60}, whole.size() - 9, whole.size() - 1})
            SaveBmp(name + "-cut" + std::to_string(length),
                    Bytes(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(length)));
    }

    for (const std::uint32_t bits : {0u, 1u, 2u, 4u, 15u, 16u, 32u, 64u, 65535u}) {
        Vary("bits" + std::to_string(bits), grey, [bits](Bmp& b) {
            b.bits = bits;
            if (bits > 64) b.pixels = {1, 2, 3};
        });
    }
    Vary("8bit-rle8", grey, [](Bmp& b) {
        b.compression = 1;
        b.pixels = {5, 1, 0, 0, 0, 5, 1, 2, 3, 2, 1, 0, 0, 0, 2, 2, 3, 1, 0, 2, 1, 0, 0, 1};
    });
    Vary("4bit-rle4", grey, [](Bmp& b) {
        b.bits = 4;
        b.compression = 2;
        b.pixels = {5, 0x12, 0, 0, 0, 5, 0x12, 0x31, 0x20, 0, 0, 0, 5, 0x33, 0, 1};
    });
    for (const std::uint32_t compression : {3u, 4u, 5u, 6u, 0xFFFFFFFFu})
        Vary("8bit-compression" + std::to_string(compression), grey,
             [compression](Bmp& b) { b.compression = compression; });
    for (const std::int64_t colours : {0, 1, 5, 256, 257, 300})
        Vary("8bit-says-colours" + std::to_string(colours), grey,
             [colours](Bmp& b) { b.coloursUsed = colours; });
    Vary("8bit-says-colours-highest", grey, [](Bmp& b) { b.coloursUsed = 0xFFFFFFFF; });
    Vary("8bit-colours256", grey, [](Bmp& b) { b.colours = 256; });
    Vary("8bit-colours0-is-256", grey, [](Bmp& b) { b.colours = 256, b.coloursUsed = 0; });
    for (const int colours : {255, 257})
        Vary("8bit-colours" + std::to_string(colours), grey, [colours](Bmp& b) { b.colours = colours; });
    Vary("8bit-colours300", grey, [](Bmp& b) { b.colours = 300; });
    Vary("8bit-gap-before-pixels", grey, [](Bmp& b) { b.pixels = Bytes(44, 7), b.dataOffset = 90; });
    Vary("24bit-padding4", colour, [](Bmp& b) { b.imageSize = 57; });
    Vary("24bit-palette", colour, [](Bmp& b) { b.colours = 4; });
    Vary("32bit", colour, [](Bmp& b) { b.bits = 32; });
    Vary("32bit-fields", sixteen, [](Bmp& b) { b.bits = 32; });
    Vary("16bit-555", sixteen, [](Bmp& b) { b.compression = 0, b.extra.clear(); });
    Vary("16bit-topdown-without-masks", sixteen,
         [](Bmp& b) { b.height = -3, b.extra.clear(), b.pixels = {1}; });
    Vary("16bit-masks-of-nothing", sixteen, [](Bmp& b) { b.extra = Bytes(12, 0); });
    for (const std::uint32_t size : {0u, 12u, 16u, 39u, 41u, 52u, 56u, 64u, 108u, 124u})
        Vary("header" + std::to_string(size), grey, [size](Bmp& b) { b.headerSize = size; });
    for (const std::string magic : {"BA", "CI", "MB"})
        Vary("magic-" + magic, grey, [&magic](Bmp& b) { b.magic = magic; });
    SaveBmp("empty", {});

    // Files that the library itself writes.
    const reference::Picture<std::uint8_t> picture(6, 2, 9);
    SaveBmp("own-8bit", reference::BmpByte(picture));
    SaveBmp("own-24bit", reference::BmpColour({picture, picture, picture}));
    SaveBmp("own-16bit", reference::BmpShort(reference::Picture<std::int16_t>(6, 2, -9)));
    SaveBmp("own-16bit-odd", reference::BmpShort(reference::Picture<std::int16_t>(5, 2, -9)));
}

// ---------------------------------------------------------------------------------- pictures of a run

// The target takes the kind and the size of the picture from the end of an input.
enum Kind { frame, numbers, jpeg };
void SavePicture(const std::string& name, Kind kind, Bytes bytes, int width, int height)
{
    for (const int choice : {height - 1, width - 1, int{kind}})
        bytes.push_back(static_cast<std::uint8_t>(choice));
    Save("pictures/" + name, bytes);
}

void WritePictures()
{
    const Bmp grey, sixteen = Sixteen(6, 3);
    const struct {
        std::string name;
        Kind kind;
        Bmp bmp;
    } kinds[] = {{"frame", frame, grey}, {"numbers", numbers, sixteen}};
    for (const auto& one : kinds) {
        const Bmp& bmp = one.bmp;
        const int w = bmp.width, h = bmp.height;
        const auto save = [&one](const std::string& what, const Bytes& bytes, int width, int height) {
            SavePicture(one.name + "-" + what, one.kind, bytes, width, height);
        };
        const auto vary = [&](const std::string& what, auto change) {
            Bmp other = bmp;
            change(other);
            save(what, other.File(), w, h);
        };
        const Bytes whole = bmp.File();
        save("whole", whole, w, h);
        save("wider", whole, w - 1, h);
        save("narrower", whole, w + 1, h);
        save("higher", whole, w, h - 1);
        save("lower", whole, w, h + 1);
        for (const std::size_t length : {0, 1, 2, 53, 54})
            save("cut" + std::to_string(length),
                 Bytes(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(length)), w, h);
        for (const std::ptrdiff_t missing : {1, 3, 4}) // from none of the last row's pixels on
            save("short" + std::to_string(missing), Bytes(whole.begin(), whole.end() - missing), w, h);
        for (const std::uint32_t size : {12u, 39u, 41u})
            vary("header" + std::to_string(size), [size](Bmp& b) { b.headerSize = size; });
        vary("magic", [](Bmp& b) { b.magic = "BN"; });
        vary("topdown", [](Bmp& b) { b.height = -3; });
        vary("width-negative", [](Bmp& b) { b.width = -b.width; });
        vary("width0", [](Bmp& b) { b.width = 0; });
        vary("height0", [](Bmp& b) { b.height = 0; });
        vary("other-depth", [](Bmp& b) { b.bits = b.bits == 8 ? 16 : 8; });
        for (const std::uint32_t compression : {0u, 1u, 2u, 3u, 4u})
            vary("compression" + std::to_string(compression),
                 [compression](Bmp& b) { b.compression = compression; });
        for (const std::int64_t offset : {0, 53, 54, 65, 66, 67})
            vary("offset" + std::to_string(offset), [offset](Bmp& b) { b.dataOffset = offset; });
        vary("offset-huge", [](Bmp& b) { b.dataOffset = 0xFFFFFFFF; });
        vary("colours257", [](Bmp& b) { b.colours = 257; });
    }
    SavePicture("numbers-odd", numbers, Sixteen(5, 3).File(), 5, 3);
    SavePicture("numbers-own", numbers, reference::BmpShort(reference::Picture<std::int16_t>(5, 2, -9)), 5,
                2);

    reference::Picture<std::uint8_t> picture(17, 9);
    for (std::size_t i = 0; i < picture.a.size(); i++) picture.a[i] = static_cast<std::uint8_t>(i * 7);
    const Bytes whole = reference::JpegGrey(picture, 85);
    SavePicture("jpeg-whole", jpeg, whole, 17, 9);
    SavePicture("jpeg-wider", jpeg, whole, 16, 9);
    SavePicture("jpeg-lower", jpeg, whole, 17, 10);
    for (const std::size_t length : {std::size_t{2}, std::size_t{3}, whole.size() / 2, whole.size() - 2})
        SavePicture("jpeg-cut" + std::to_string(length), jpeg,
                    Bytes(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(length)), 17, 9);
    Bytes huge = whole; // the frame's header says 65500 x 65500
    for (std::size_t i = 0; i + 9 < huge.size(); i++)
        if (huge[i] == 0xFF && huge[i + 1] == 0xC0)
            for (const std::size_t at : {i + 5, i + 7}) huge[at] = 0xFF, huge[at + 1] = 0xDC;
    SavePicture("jpeg-huge", jpeg, huge, 17, 9);
    Bytes behind = whole;
    Append(behind, {1, 2, 3});
    SavePicture("jpeg-bytes-behind", jpeg, behind, 17, 9);
}

// ---------------------------------------------------------------------------------- other files

void WriteImgs()
{
    const struct {
        std::string name, text;
    } seeds[] = {
        {"whole", "image 4*2*8\r\nsize is above\r\ndata\r\nABCDEFGH"},
        {"newlines-only", "image 4*2*8\ndata\nABCDEFGH"},
        {"first-pixels-blank", "image 4*2*8\r\ndata\r\n\r\n  \t\n!!"},
        {"one-byte-short", "image 4*2*8\r\ndata\r\nABCDEFG"},
        {"no-data", "image 4*2*8\r\nABCDEFGH"},
        {"no-first-line", "data\r\nABCDEFGH"},
        {"other-depth", "image 4*2*16\r\ndata\r\nABCDEFGH"},
        {"no-depth", "image 4*2* data\r\nABCDEFGH"},
        {"dat", "image 4*2*8\r\ndat\r\nABCDEFGH"},
        {"zero-behind-first-line", "image 4*2*8\r\n" + std::string(1, '\0') + "data\r\nABCDEFGH"},
        {"product-beyond-32-bits", "image 65536*32768*8\r\ndata\r\nABCDEFGH"},
        {"height-beyond-32-bits", "image 0*4294967300*8\r\ndata\r\n"},
        {"width-only", "image 4*x\r\ndata\r\nABCDEFGH"},
        {"signs-and-blanks", "image  +4* 2*8\r\ndata\r\nABCDEFGH"},
        {"negative", "image -4*2*8\r\ndata\r\nABCDEFGH"},
        {"both-negative", "image -4*-2*8\r\ndata\r\nABCDEFGH"},
        {"zero", "image 0*2000000000*8\r\ndata\r\n"},
        {"huge", "image 2147483647*2147483647*8\r\ndata\r\n"},
        {"beyond-32-bits", "image 4294967300*2*8\r\ndata\r\nABCDEFGH"},
        {"long-line", "image 4*2*8\r\n" + std::string(1100, 'x') + "data\r\ndata\r\nABCDEFGH"},
        {"long-line-to-data", "image 4*2*8\r\n" + std::string(1024, 'x') + "data\r\nABCDEFGH"},
        {"empty", ""},
    };
    for (const auto& [name, text] : seeds) {
        Bytes bytes = Of(text);
        bytes.push_back(31); // under its usual name
        Save("img/" + name, bytes);
    }
}

} // namespace

int main(int argc, char* argv[])
{
    if (argc != 2) {
        std::fprintf(stderr, "make_seeds <folder>\n");
        return 1;
    }
    folder = argv[1];
    WriteBmps();
    WritePictures();
    WriteImgs();
    return 0;
}
