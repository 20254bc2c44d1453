// Arrays of every element type in every layout that a view can have, each beside a plain copy of its storage,
// so that a test sees what was written and that nothing else was.
#pragma once

#include <Kavrix/Kavrix.h>

#include <tests/reference/Numbers.h>

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <random>
#include <type_traits>
#include <vector>

using AllElements = ::testing::Types<UBYTE, short, int, float>;
using IntegerElements = ::testing::Types<UBYTE, short, int>;
using CubeElements = ::testing::Types<UBYTE, short, float>; // there is no cube of ints

template <class T> using ElemOf = typename kavrix::Family<T>::Elem;
template <class T> using VecOf = typename kavrix::Family<T>::Vec;
template <class T> using MatOf = typename kavrix::Family<T>::Mat;
template <class T> using CubOf = typename kavrix::Family<T>::Cub;

/// Equal bit for bit; one "not a number" is as good as another.
template <class T> bool Same(T a, T b)
{
    if constexpr (std::is_floating_point_v<T>) {
        if (std::isnan(a) || std::isnan(b)) return std::isnan(a) && std::isnan(b);
        return std::bit_cast<std::uint32_t>(a) == std::bit_cast<std::uint32_t>(b);
    } else {
        return a == b;
    }
}

/// The low bits of v, as many as T has.
template <class T> T Low(std::int64_t v)
{
    if constexpr (sizeof(T) == 1) return reference::Low8(v);
    else if constexpr (sizeof(T) == 2) return reference::Low16(v);
    else return reference::Low32(v);
}

/// Numbers that are the same in every run: values of the whole range, the ends of it more often.
class Random {
public:
    explicit Random(unsigned seed) : bits(seed) {}

    std::uint32_t Bits() { return static_cast<std::uint32_t>(bits()); }
    int Below(int n) { return static_cast<int>(Bits() % static_cast<std::uint32_t>(n)); }

    template <class T> T Value()
    {
        using L = std::numeric_limits<T>;
        if constexpr (std::is_floating_point_v<T>) {
            const T special[] = {0,
                                 -0.0f,
                                 1,
                                 -1,
                                 L::max(),
                                 L::lowest(),
                                 L::min(),
                                 L::denorm_min(),
                                 L::infinity(),
                                 -L::infinity(),
                                 L::quiet_NaN(),
                                 0.5f};
            if (Below(6) == 0) return special[Below(12)];
            return std::ldexp(static_cast<T>(static_cast<int>(Bits())), Below(40) - 40);
        } else {
            const T special[] = {0, 1, static_cast<T>(-1), L::max(), L::min(), static_cast<T>(L::max() - 1)};
            if (Below(4) == 0) return special[Below(6)];
            return Low<T>(static_cast<std::int32_t>(Bits()));
        }
    }

private:
    std::mt19937 bits;
};

/// Where in its image a view of so many elements lies: untouched columns and rows around it, and the steps of
/// its ranges. Negative steps run from the far end to the near one.
struct Layout {
    const char* name;
    int marginX, marginY, stepX, stepY;
};

inline constexpr Layout layouts[] = {
    {"dense", 0, 0, 1, 1},
    {"rectangle", 2, 1, 1, 1},
    {"every second column", 1, 0, 2, 1},
    {"every third column of every second row", 0, 1, 3, 2},
    {"columns backwards", 1, 0, -1, 1},
    {"rows backwards", 0, 1, 1, -1},
    {"both backwards by steps", 1, 1, -2, -3},
};
inline constexpr int layoutCount = static_cast<int>(std::size(layouts));

/// n indices with a step, the first of them `margin` from the edge.
inline RNG Indices(int n, int margin, int step)
{
    const int last = margin + (n - 1) * std::abs(step);
    if (step == 1) return RNG(margin, last);
    return step > 0 ? RNG(margin, last, step) : RNG(last, margin, step);
}

/// A view of w x h elements in an image of random values.
template <class T> class Sample {
public:
    Sample(Layout layout, int w, int h, Random& random)
        : rx(Indices(w, layout.marginX, layout.stepX)), ry(Indices(h, layout.marginY, layout.stepY)),
          width(2 * layout.marginX + (w - 1) * std::abs(layout.stepX) + 1),
          height(2 * layout.marginY + (h - 1) * std::abs(layout.stepY) + 1), image(width, height),
          view(&image, rx, ry)
    {
        for (int i = 0; i < width * height; i++) Data()[i] = random.Value<T>();
    }

    /// Position of element (x, y) of the view in the storage.
    std::size_t At(int x, int y) const
    {
        return static_cast<std::size_t>(rx.from + x * rx.step) +
               static_cast<std::size_t>(ry.from + y * ry.step) * static_cast<std::size_t>(width);
    }
    std::vector<T> Storage() const { return std::vector<T>(Data(), Data() + width * height); }

private:
    RNG rx, ry;
    int width, height;
    T* Data() const { return static_cast<T*>(image.p_data); }

public:
    MatOf<T> image, view;
};

/// Whether two arrays of numbers are the same; says where they first differ.
template <class T>
::testing::AssertionResult Equal(const std::vector<T>& expected, const std::vector<T>& actual)
{
    if (expected.size() != actual.size())
        return ::testing::AssertionFailure()
               << expected.size() << " elements expected, " << actual.size() << " there";
    for (std::size_t i = 0; i < expected.size(); i++) {
        if (Same(expected[i], actual[i])) continue;
        return ::testing::AssertionFailure()
               << "at " << i << ": expected " << +expected[i] << ", got " << +actual[i];
    }
    return ::testing::AssertionSuccess();
}

/// The elements of any array in the order x, y, z, read by its pointer, strides and sizes alone.
template <class T> std::vector<T> Values(const KX_Base& a)
{
    std::vector<T> values;
    const T* const data = static_cast<const T*>(a.p_data);
    for (int z = 0; z < a.dim3; z++)
        for (int y = 0; y < a.dim2; y++)
            for (int x = 0; x < a.dim1; x++)
                values.push_back(data[std::ptrdiff_t{x} * a.step1 + std::ptrdiff_t{y} * a.step2 +
                                      std::ptrdiff_t{z} * a.step3]);
    return values;
}

/// Storage of the block, from its first element.
template <class T> T* BlockOf(const KX_Base& a) { return static_cast<T*>(a.pblock->ptr); }

/// 0, 1, 2, ... in storage order into all of the block.
template <class T> void Number(const KX_Base& a)
{
    for (int i = 0; i < a.pblock->len; i++) BlockOf<T>(a)[i] = static_cast<T>(i);
}
