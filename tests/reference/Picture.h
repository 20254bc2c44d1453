// Pictures and frame sequences as plain vectors: x runs fastest, then y, then the frame.
#pragma once

#include <cassert>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace reference {

template <class T> struct Picture {
    int w = 0, h = 0;
    std::vector<T> a;

    Picture() = default;
    Picture(int width, int height, T value = T{})
        : w(width), h(height), a(static_cast<std::size_t>(width) * static_cast<std::size_t>(height), value)
    {
        assert(width >= 0 && height >= 0);
    }

    T& At(int x, int y) { return a[Index(x, y)]; }
    const T& At(int x, int y) const { return a[Index(x, y)]; }
    bool Inside(std::int64_t x, std::int64_t y) const { return 0 <= x && x < w && 0 <= y && y < h; }
    bool Empty() const { return w < 1 || h < 1; }
    bool operator==(const Picture&) const = default;

private:
    std::size_t Index(int x, int y) const
    {
        assert(Inside(x, y));
        return static_cast<std::size_t>(y) * static_cast<std::size_t>(w) + static_cast<std::size_t>(x);
    }
};

struct Sequence {
    int w = 0, h = 0, n = 0;
    std::vector<std::uint8_t> a;

    Sequence() = default;
    Sequence(int width, int height, int frames, std::uint8_t value = 0)
        : w(width), h(height), n(frames),
          a(static_cast<std::size_t>(width) * static_cast<std::size_t>(height) *
                static_cast<std::size_t>(frames),
            value)
    {
        assert(width >= 0 && height >= 0 && frames >= 0);
    }

    std::uint8_t& At(int x, int y, int t) { return a[Index(x, y, t)]; }
    const std::uint8_t& At(int x, int y, int t) const { return a[Index(x, y, t)]; }
    bool operator==(const Sequence&) const = default;

    Picture<std::uint8_t> Frame(int t) const
    {
        Picture<std::uint8_t> picture(w, h);
        for (int y = 0; y < h; ++y)
            for (int x = 0; x < w; ++x) picture.At(x, y) = At(x, y, t);
        return picture;
    }

    void SetFrame(int t, const Picture<std::uint8_t>& picture)
    {
        assert(picture.w == w && picture.h == h);
        for (int y = 0; y < h; ++y)
            for (int x = 0; x < w; ++x) At(x, y, t) = picture.At(x, y);
    }

    /// Frames first .. last, both included, as a sequence of their own.
    Sequence Frames(int first, int last) const
    {
        Sequence part(w, h, last - first + 1);
        for (int t = first; t <= last; ++t) part.SetFrame(t - first, Frame(t));
        return part;
    }

private:
    std::size_t Index(int x, int y, int t) const
    {
        assert(0 <= x && x < w && 0 <= y && y < h && 0 <= t && t < n);
        return (static_cast<std::size_t>(t) * static_cast<std::size_t>(h) + static_cast<std::size_t>(y)) *
                   static_cast<std::size_t>(w) +
               static_cast<std::size_t>(x);
    }
};

} // namespace reference
