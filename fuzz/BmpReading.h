// What the targets of the three BMP readers share: one file, read into an array of any state.
#pragma once

#include <fuzz/Harness.h>

#include <Kavrix/Kavrix.h>

#include <algorithm>
#include <cstdio>
#include <cstring>

/// What a plain reader makes of a file; `planes` are empty where there is no picture.
template <class T> struct PlainFile {
    int result, width, height;
    std::vector<std::vector<T>> planes; ///< row after row
};

/// An array class with its reader, and the plain reader of the same files.
template <class T, class A> struct BmpReader {
    using Element = T;
    using Array = A;
    int planes;
    const char* sharedMessage;
    PlainFile<T> (*plain)(const FileBytes& file, int oldWidth);
    A (*make)(int w, int h);                ///< new storage
    A (*cut)(const A& image, RNG x, RNG y); ///< all planes of a rectangle
    const T& (*at)(const A& a, int x, int y, int z);
};

namespace bmp_reading {

inline int Field(const FileBytes& file, std::size_t at)
{
    std::int32_t value = 0;
    if (file.size() >= at + 4) std::memcpy(&value, &file[at], sizeof value);
    return value;
}

template <class R> Ending Read(const R&, typename R::Array& receiver, bool byName, int& result)
{
    return RunToItsEnd([&] {
        if (byName) {
            result = receiver.ReadBMP("picture.bmp");
        } else {
            std::FILE* const stream = std::fopen("picture.bmp", "rb");
            result = receiver.ReadBMP(stream);
            std::fclose(stream);
        }
    });
}

template <class R> void RequireSamePixels(const R& reader, const typename R::Array& array,
                                          const PlainFile<typename R::Element>& plain)
{
    using T = typename R::Element;
    bool same = true;
    for (std::size_t z = 0; z < plain.planes.size(); z++) {
        for (int y = 0; y < plain.height; y++) {
            const auto width = static_cast<std::size_t>(plain.width);
            const T* const row = &reader.at(array, 0, y, static_cast<int>(z)); // without gaps
            same = same && std::memcmp(row, &plain.planes[z][static_cast<std::size_t>(y) * width],
                                       width * sizeof(T)) == 0;
        }
    }
    Require(same, "pixels are those of the plain reader");
}

} // namespace bmp_reading

/// The last bytes of the input say what is read into; the rest is the file, so that any file is an input.
template <class R> void FuzzBmpReader(FuzzedDataProvider& input, const R& reader)
{
    using namespace bmp_reading;
    using T = typename R::Element;
    enum Receiver { empty, owner, view, viewWithGaps, sharedOfOtherSize, receivers };
    const int receiver = input.ConsumeIntegral<std::uint8_t>() % receivers;
    const bool byName = input.ConsumeBool();
    const int oldWidth = input.ConsumeIntegralInRange(1, 9), oldHeight = input.ConsumeIntegralInRange(1, 9);
    const FileBytes& file = files["picture.bmp"] = input.ConsumeRemainingBytes<std::uint8_t>();
    storage.limit = OneIn(64) ? std::size_t{1} << 20 : std::size_t{1} << 14;
    storage.fill = 0; // what is not read then shows as 0, as the plain readers leave it

    // The plain readers have no limit of their own; a picture that gets no storage is not handed to them.
    const std::int64_t width = Field(file, 18), height = Field(file, 22);
    const std::int64_t plane = width * height;
    const std::int64_t limit = static_cast<std::int64_t>((storage.limit - sizeof(Datablock)) / sizeof(T));
    const bool tooLarge = plane > limit / reader.planes;
    const bool negative = plane < 0;
    int result = -1;

    if (receiver == view || receiver == viewWithGaps) {
        // A part of a larger image that has the size of the file.
        const int step = receiver == view ? 1 : 2;
        if (width < 1 || width > 40 || height < 1 || height > 40) return;
        const int w = static_cast<int>(width), h = static_cast<int>(height);
        typename R::Array image = reader.make(step * w + 2, h + 2);
        image.Fill(77);
        const RNG columns = step == 1 ? RNG(1, w) : RNG(1, step * (w - 1) + 1, step);
        typename R::Array part = reader.cut(image, columns, RNG(1, h));
        const Ending ending = Read(reader, part, byName, result);
        Require(ending.returned, "a view of the file's size is read into");
        if (result == 0 && receiver == view)
            RequireSamePixels(reader, part, reader.plain(file, part.pblock ? w : 0));
        part.Fill(77);
        const T* const values = static_cast<const T*>(image.pblock->ptr);
        Require(std::all_of(values, values + image.pblock->len, [](T value) { return value == 77; }),
                "only the view is written");
        return;
    }

    typename R::Array array;
    if (receiver != empty) {
        typename R::Array sized = reader.make(oldWidth, oldHeight);
        sized.Fill(0);
        if (receiver == owner) {
            const Ending ending = Read(reader, sized, byName, result);
            const bool sameShape = width == oldWidth && height == oldHeight;
            if (ending.halted) {
                Require(!sameShape && (tooLarge || negative) && ending.HaltedWith(notEnoughMemory),
                        "halts only where there is no memory");
                return;
            }
            Require(ending.returned, "returns");
            if (tooLarge || negative) return; // refused before the size was looked at
            const PlainFile<T> plain = reader.plain(file, oldWidth);
            Require(result == plain.result, "the result is that of the plain reader");
            RequireSamePixels(reader, sized, plain);
            return;
        }
        const typename R::Array other = sized; // shares it
        const Ending ending = Read(reader, sized, byName, result);
        Require(ending.returned || ending.HaltedWith(reader.sharedMessage), "a shared array keeps its size");
        Require(sized.dim1 == oldWidth && sized.dim2 == oldHeight, "a shared array keeps its size");
        Require(ending.returned || width != oldWidth || height != oldHeight,
                "a shared array of the file's size is read into");
        return;
    }

    const Ending ending = Read(reader, array, byName, result);
    if (ending.halted) {
        Require(width > 0 && tooLarge && ending.HaltedWith(notEnoughMemory),
                "halts only where there is no memory");
        return;
    }
    Require(ending.returned, "returns");
    Require(ending.out.empty() && ending.err.empty(), "readers print nothing");
    if (tooLarge && width > 0) return; // refused before the size was looked at
    const PlainFile<T> plain = reader.plain(file, 0);
    Require(result == plain.result, "the result is that of the plain reader");
    if (plain.width == 0) {
        Require(array.pblock == nullptr, "a refused file does not resize");
        return;
    }
    Require(array.dim1 == plain.width && array.dim2 == plain.height, "the size is the file's");
    RequireSamePixels(reader, array, plain);
}
