// The picture writers, with views of any layout and disks with room for all of the file, or for a part.
#include <fuzz/Views.h>

#include <tests/reference/Files.h>
#include <tests/reference/Jpeg.h>

#include <array>
#include <cstdio>

namespace {

const char* const name = "written";

template <class T> reference::Picture<T> PictureOf(const Block<T>& block, const Place& place, int z)
{
    reference::Picture<T> picture(place.sizes[0], place.sizes[1]);
    for (int y = 0; y < picture.h; y++)
        for (int x = 0; x < picture.w; x++) picture.At(x, y) = block.Data()[place.At(x, y, z)];
    return picture;
}

bool BeginsWith(const FileBytes& whole, const FileBytes& part)
{
    return part.size() <= whole.size() && std::equal(part.begin(), part.end(), whole.begin());
}

// Hands on a stream without a buffer: whether a write fails is known at once, and not when it is closed.
template <class Write> void IntoStream(Write write)
{
    std::FILE* const stream = std::fopen(name, "wb");
    std::setvbuf(stream, nullptr, _IONBF, 0);
    write(stream);
    std::fclose(stream);
}

// The writers that answer with a result: 5 where the disk is full, and part of the file. By name and into a
// stream.
template <class Write> void RequireFileOrResult(const FileBytes& expected, Write write)
{
    for (const bool byName : {true, false}) {
        int result = -1;
        const Ending ending = RunToItsEnd([&] {
            if (byName) result = write(name);
            else IntoStream([&](std::FILE* stream) { result = write(stream); });
        });
        Require(ending.returned && ending.err.empty(), "a writer returns its result");
        const bool fits = expected.size() <= disk.space;
        Require(result == (fits ? 0 : 5), "the result tells whether the file was written");
        Require(fits ? files[name] == expected : BeginsWith(expected, files[name]),
                "the file is the plain one");
    }
}

// The writers that halt where the disk is full.
template <class Write> void RequireFileOrHalt(const FileBytes& expected, const char* message, Write write)
{
    const Ending ending = RunToItsEnd([&] { write(); });
    const bool fits = expected.size() <= disk.space;
    if (fits) Require(ending.returned, "the file is written");
    else Require(ending.HaltedWith(message), "a full disk halts");
    Require(fits ? files[name] == expected : BeginsWith(expected, files[name]), "the file is the plain one");
}

// A JPEG that cannot be written ends the process.
template <class Write> void RequireJpegOrExit(bool dense, const FileBytes& expected, Write write)
{
    int result = -1;
    const Ending ending = RunToItsEnd([&] { result = write(); });
    if (dense && expected.size() <= disk.space) {
        Require(ending.returned && result == 0, "the picture is written");
        Require(expected.empty() || files[name] == expected, "the file is the plain one");
    } else {
        Require(ending.exited && ending.status == 1 && !ending.err.empty(), "libjpeg ends the process");
    }
}

void AppendBigEndian(FileBytes& file, std::uint32_t value, int bytes)
{
    while (bytes-- > 0) file.push_back(static_cast<std::uint8_t>(value >> (8 * bytes)));
}

FileBytes PlainTiff(const reference::Picture<std::uint8_t>& picture)
{
    const auto w = static_cast<std::uint32_t>(picture.w), h = static_cast<std::uint32_t>(picture.h);
    const std::uint32_t end = 154 + w * h, resolutions = end + end % 2;
    FileBytes file = {'M', 'M', 0, 42, 0, 0, 0, 8, 0, 12};
    const std::uint32_t entries[12][3] = {{256, 4, w},
                                          {257, 4, h},
                                          {258, 3, 8},
                                          {259, 3, 1},
                                          {262, 3, 1},
                                          {273, 4, 154},
                                          {277, 3, 1},
                                          {278, 4, h},
                                          {279, 4, w * h},
                                          {282, 5, resolutions},
                                          {283, 5, resolutions + 8},
                                          {296, 3, 1}};
    for (const auto& [tag, type, value] : entries) {
        AppendBigEndian(file, tag, 2);
        AppendBigEndian(file, type, 2);
        AppendBigEndian(file, 1, 4);
        AppendBigEndian(file, type == 3 ? value << 16 : value, 4);
    }
    file.insert(file.end(), picture.a.begin(), picture.a.end());
    if (end % 2 != 0) file.push_back(0);
    for (const std::uint32_t number : {1u, 72u, 1u, 72u}) AppendBigEndian(file, number, 4);
    return file;
}

void FuzzBytes(FuzzedDataProvider& input, int which)
{
    const int sizes[3] = {input.ConsumeIntegralInRange(1, 12), input.ConsumeIntegralInRange(1, 8), 1};
    const int number =
        input.ConsumeBool() ? input.ConsumeIntegralInRange(-1, 101) : input.ConsumeIntegral<int>();
    const FileBytes header(input.ConsumeIntegralInRange<std::size_t>(0, 20), 'h');
    const Block<UBYTE> block(input, sizes);
    Place place;
    const MatByte view = block.View(input, sizes, place);
    const reference::Picture<std::uint8_t> picture = PictureOf(block, place, 0);
    if (which == 0) {
        RequireFileOrResult(reference::BmpByte(picture), [&](auto to) { return view.WriteBMP(to); });
    } else if (which == 1) {
        const int quality = number < 1 ? 1 : number > 100 ? 100 : number; // as libjpeg holds it
        RequireJpegOrExit(view.step1 == 1, reference::JpegGrey(picture, quality),
                          [&] { return view.WriteJPG(name, number); });
    } else if (which == 2) {
        RequireFileOrHalt(PlainTiff(picture), "Cannot save data into a TIFF file",
                          [&] { view.WriteTIFF(name); });
    } else {
        const int nskip = number % 40;
        if (!header.empty()) files["header.tif"] = header;
        FileBytes expected;
        for (int i = 0; i < nskip; i++) {
            const auto at = static_cast<std::size_t>(i);
            expected.push_back(at < header.size() ? header[at] : 0xFF);
        }
        for (int x = 0; x < picture.w; x++)
            for (int y = 0; y < picture.h; y++) expected.push_back(picture.At(x, y));
        if (nskip > 0 && header.empty()) {
            const Ending ending = RunToItsEnd([&] { view.WriteRAW(name, nskip); });
            Require(ending.HaltedWith("WriteRAW: Cannot read header file"),
                    "a header that is not there halts");
            return;
        }
        const char* const failed = "WriteRAW: Write into a file failed";
        RequireFileOrHalt(expected, failed, [&] { view.WriteRAW(name, nskip); });
        RequireFileOrHalt(expected, failed,
                          [&] { IntoStream([&](std::FILE* stream) { view.WriteRAW(stream, nskip); }); });
    }
}

void FuzzShorts(FuzzedDataProvider& input, int which)
{
    const int sizes[3] = {input.ConsumeIntegralInRange(1, 12), input.ConsumeIntegralInRange(1, 8), 1};
    const auto offset = input.ConsumeIntegral<short>();
    const Block<short> block(input, sizes);
    Place place;
    const MatShort view = block.View(input, sizes, place);
    const reference::Picture<std::int16_t> picture = PictureOf(block, place, 0);
    if (which == 0) {
        RequireFileOrResult(reference::BmpShort(picture), [&](auto to) { return view.WriteBMP(to); });
    } else {
        RequireFileOrResult(reference::BmpShort8bpp(picture, offset),
                            [&](auto to) { return view.WriteBMP8bpp(to, offset); });
    }
}

void FuzzCubes(FuzzedDataProvider& input, int which)
{
    const int planes = input.ConsumeIntegralInRange(0, 7) == 0 ? input.ConsumeIntegralInRange(1, 2) : 3;
    const int sizes[3] = {input.ConsumeIntegralInRange(1, 12), input.ConsumeIntegralInRange(1, 8), planes};
    const Block<UBYTE> block(input, sizes);
    Place place;
    const CubByte view = block.View(input, sizes, place);
    if (planes != 3) {
        int result = -1;
        const Ending ending =
            RunToItsEnd([&] { result = which == 0 ? view.WriteBMP(name) : view.WriteJPG(name, 85); });
        Require(ending.returned && result == 3 && files[name].empty(), "other than three planes are refused");
    } else if (which == 0) {
        const std::array<reference::Picture<std::uint8_t>, 3> picture = {
            PictureOf(block, place, 0), PictureOf(block, place, 1), PictureOf(block, place, 2)};
        RequireFileOrResult(reference::BmpColour(picture), [&](auto to) { return view.WriteBMP(to); });
    } else {
        disk.space = SIZE_MAX; // what the file should hold is not known here
        RequireJpegOrExit(view.step1 == 1, {}, [&] { return view.WriteJPG(name, 85); });
    }
}

} // namespace

void Fuzz(FuzzedDataProvider& input)
{
    if (input.ConsumeBool()) disk.space = input.ConsumeIntegralInRange<std::size_t>(0, 2000);
    const int which = input.ConsumeIntegralInRange(0, 7);
    if (which < 4) FuzzBytes(input, which);
    else if (which < 6) FuzzShorts(input, which - 4);
    else FuzzCubes(input, which - 6);
}
