// Pictures for tests: random and extreme ones, and the way between plain pictures and the library's arrays.
#pragma once

#include <Kavrix/Kavrix.h>

#include <tests/reference/Picture.h>

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <iterator>
#include <limits>
#include <ostream>
#include <random>
#include <string>
#include <vector>

namespace pictures {

using reference::Picture;
using reference::Sequence;

using Bytes = Picture<std::uint8_t>;
using Shorts = Picture<std::int16_t>;
using Ints = Picture<std::int32_t>;

/// The standard names no distribution's results, so that numbers are cut from the generator's own.
using Random = std::mt19937;

inline int Between(Random& random, std::int64_t low, std::int64_t high)
{
    return static_cast<int>(low +
                            static_cast<std::int64_t>(random() % static_cast<std::uint64_t>(high - low + 1)));
}

// ---------------------------------------------------------------------------------- pictures

template <class T> Picture<T> Noise(Random& random, int w, int h,
                                    std::int64_t low = std::numeric_limits<T>::min(),
                                    std::int64_t high = std::numeric_limits<T>::max())
{
    Picture<T> picture(w, h);
    for (T& value : picture.a) value = static_cast<T>(Between(random, low, high));
    return picture;
}

/// Every pixel is one of two values: the hardest contrast there is.
template <class T> Picture<T> Salt(Random& random, int w, int h, T a, T b)
{
    Picture<T> picture(w, h);
    for (T& value : picture.a) value = random() & 1024 ? a : b;
    return picture;
}

template <class T> Picture<T> Checkerboard(int w, int h, T a, T b, int cell = 1)
{
    Picture<T> picture(w, h);
    for (int y = 0; y < h; y++)
        for (int x = 0; x < w; x++) picture.At(x, y) = (x / cell + y / cell) % 2 == 0 ? a : b;
    return picture;
}

template <class T> Picture<T> OneRow(int w, int h, int row, T value, T background = 0)
{
    Picture<T> picture(w, h, background);
    for (int x = 0; x < w; x++) picture.At(x, row) = value;
    return picture;
}

template <class T> Picture<T> OneColumn(int w, int h, int column, T value, T background = 0)
{
    Picture<T> picture(w, h, background);
    for (int y = 0; y < h; y++) picture.At(column, y) = value;
    return picture;
}

inline Sequence SequenceOf(const std::vector<Bytes>& frames)
{
    Sequence seq(frames.at(0).w, frames.at(0).h, static_cast<int>(frames.size()));
    for (int t = 0; t < seq.n; t++) seq.SetFrame(t, frames[static_cast<std::size_t>(t)]);
    return seq;
}

inline Sequence NoiseSequence(Random& random, int w, int h, int n)
{
    Sequence seq(w, h, n);
    for (std::uint8_t& value : seq.a) value = static_cast<std::uint8_t>(Between(random, 0, 255));
    return seq;
}

// ---------------------------------------------------------------------------------- library arrays

template <class T> using MatOf = typename kavrix::Family<T>::Mat;

/// An array without storage gives an empty picture.
template <class T> Picture<T> PictureOf(const kavrix::Mat<T>& m)
{
    if (m.p_data == nullptr) return {};
    Picture<T> picture(m.dim1 > 0 ? m.dim1 : 0, m.dim2 > 0 ? m.dim2 : 0);
    for (int y = 0; y < picture.h; y++)
        for (int x = 0; x < picture.w; x++) picture.At(x, y) = m(x, y);
    return picture;
}

/// A dense array of its own with these pixels.
template <class T> MatOf<T> ArrayOf(const Picture<T>& picture)
{
    MatOf<T> m(picture.w, picture.h);
    m.ImportData(picture.a.data());
    return m;
}

inline CubByte ArrayOf(const Sequence& seq)
{
    CubByte c(seq.w, seq.h, seq.n);
    c.ImportData(seq.a.data());
    return c;
}

/// How a view lies in its storage: distance and direction of neighbours along x and y, and whether the two
/// directions are swapped.
struct Layout {
    int stepX, stepY;
    bool swapped = false;
};

inline std::ostream& operator<<(std::ostream& out, const Layout& layout)
{
    return out << "steps " << layout.stepX << ", " << layout.stepY << (layout.swapped ? " swapped" : "");
}

/// A part of a larger storage, with gaps, reversed, and turned round.
inline const std::vector<Layout> viewLayouts = {{1, 1},   {2, 1},  {1, 3},  {-1, 1},      {1, -1},
                                                {-1, -1}, {-3, 2}, {2, -2}, {1, 1, true}, {-2, 1, true}};

/// `n` indices, `step` apart, with two unused ones at each end of the storage.
inline RNG Spread(int n, int step)
{
    const int far = 2 + (n - 1) * std::abs(step);
    return step > 0 ? RNG(2, far, step) : RNG(far, 2, step);
}

inline int SpreadSize(int n, int step) { return 2 + (n - 1) * std::abs(step) + 3; }

/// A view and the storage that it lies in. What lies around the view must stay as it is.
template <class T> class Laid {
public:
    /// The view holds `picture`.
    Laid(const Picture<T>& picture, const Layout& layout, Random& random)
        : Laid(picture.w, picture.h, layout, random)
    {
        for (int y = 0; y < picture.h; y++)
            for (int x = 0; x < picture.w; x++) view(x, y) = picture.At(x, y);
    }
    /// The view holds noise.
    Laid(int w, int h, const Layout& layout, Random& random)
        : storage(ArrayOf(layout.swapped
                              ? Noise<T>(random, SpreadSize(h, layout.stepY), SpreadSize(w, layout.stepX))
                              : Noise<T>(random, SpreadSize(w, layout.stepX), SpreadSize(h, layout.stepY)))),
          view(layout.swapped ? Turned(storage, w, h, layout)
                              : storage(Spread(w, layout.stepX), Spread(h, layout.stepY))),
          before(PictureOf<T>(storage))
    {
    }

    /// Whether the storage outside the view is what it was at first.
    bool SurroundingsUntouched() const
    {
        MatOf<T> first = ArrayOf(before);
        const std::ptrdiff_t offset = Data(view) - Data(storage);
        for (int y = 0; y < view.dim2; y++) // the view's pixels as they are now
            for (int x = 0; x < view.dim1; x++) {
                const std::ptrdiff_t place = x * std::ptrdiff_t{view.step1} + y * std::ptrdiff_t{view.step2};
                Data(first)[offset + place] = Data(view)[place];
            }
        return PictureOf<T>(first) == PictureOf<T>(storage);
    }

    MatOf<T> storage;
    MatOf<T> view;

private:
    static T* Data(const KX_Base& a) { return static_cast<T*>(a.p_data); }

    static MatOf<T> Turned(const MatOf<T>& storage, int w, int h, const Layout& layout)
    {
        MatOf<T> m = storage(Spread(h, layout.stepY), Spread(w, layout.stepX));
        m.Trans();
        return m;
    }

    Picture<T> before;
};

/// A sequence as a part of a larger cube: every stepX-th column, and so on; negative steps run backwards.
class LaidSequence {
public:
    LaidSequence(const Sequence& seq, int stepX, int stepY, int stepZ, Random& random)
        : storage(ArrayOf(NoiseSequence(random, SpreadSize(seq.w, stepX), SpreadSize(seq.h, stepY),
                                        SpreadSize(seq.n, stepZ)))),
          view(storage(Spread(seq.w, stepX), Spread(seq.h, stepY), Spread(seq.n, stepZ)))
    {
        for (int t = 0; t < seq.n; t++)
            for (int y = 0; y < seq.h; y++)
                for (int x = 0; x < seq.w; x++) view(x, y, t) = seq.At(x, y, t);
    }

    CubByte storage;
    CubByte view;
};

inline Sequence SequenceOf(const CubByte& c)
{
    Sequence seq(c.dim1, c.dim2, c.dim3);
    for (int t = 0; t < seq.n; t++)
        for (int y = 0; y < seq.h; y++)
            for (int x = 0; x < seq.w; x++) seq.At(x, y, t) = c(x, y, t);
    return seq;
}

// ---------------------------------------------------------------------------------- comparisons

/// Names the first pixel that differs.
template <class T> testing::AssertionResult Same(const Picture<T>& got, const Picture<T>& wanted)
{
    if (got.w != wanted.w || got.h != wanted.h)
        return testing::AssertionFailure()
               << got.w << " x " << got.h << " instead of " << wanted.w << " x " << wanted.h;
    int differing = 0;
    testing::AssertionResult result = testing::AssertionFailure();
    for (int y = 0; y < got.h; y++) {
        for (int x = 0; x < got.w; x++) {
            if (got.At(x, y) == wanted.At(x, y)) continue;
            if (differing++ == 0)
                result << "(" << x << ", " << y << ") is " << +got.At(x, y) << " instead of "
                       << +wanted.At(x, y);
        }
    }
    if (differing == 0) return testing::AssertionSuccess();
    return result << "; " << differing << " of " << got.w << " x " << got.h << " pixels differ";
}

template <class T> testing::AssertionResult Same(const kavrix::Mat<T>& got, const Picture<T>& wanted)
{
    return Same(PictureOf<T>(got), wanted);
}

/// How many files this process has open.
inline std::ptrdiff_t OpenFiles()
{
    return std::distance(std::filesystem::directory_iterator("/proc/self/fd"),
                         std::filesystem::directory_iterator());
}

} // namespace pictures
