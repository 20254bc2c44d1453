// Sums of a picture under a pattern of cells, and upper bounds for them.
#ifndef KAVRIX_INNER_PATTERNSUMS_H
#define KAVRIX_INNER_PATTERNSUMS_H

#include <Kavrix/KXint.h>
#include <Kavrix/KXshort.h>
#include <Kavrix/KXubyte.h>
#include <Kavrix/inner/KXarith.h>
#include <Kavrix/inner/KXclones.h>
#include <Kavrix/inner/KXelementwise.h>

#include <algorithm>
#include <cstdint>

namespace kavrix::inner {

// ---------------------------------------------------------------------------------- runs of cells

/// The set cells of a pattern, those that lie side by side in one: columns First(i) .. Last(i) of row Row(i).
/// There is an even number of runs; the last one may be empty.
class Runs {
public:
    /// \param w, h  the pattern's size
    /// \param each  each(found) calls found(row, first, last) for every run; it is called twice
    template <class Each> Runs(int w, int h, Each each) : width(w), height(h)
    {
        int count = 0;
        each([&count](int, int, int) { count++; });
        runs.Resize(count + count % 2, 3);
        int i = 0;
        const auto add = [this, &i](int row, int first, int last) {
            runs(i, 0) = row;
            runs(i, 1) = first;
            runs(i, 2) = last;
            i++;
        };
        each(add);
        if (i < runs.dim1) add(0, 0, -1);
    }

    int Count() const { return runs.dim1; }
    int Row(int i) const { return runs(i, 0); }
    int First(int i) const { return runs(i, 1); }
    int Last(int i) const { return runs(i, 2); }

    const int width, height;

private:
    MatInt runs; // three rows
};

/// Calls found(first, last) for every run of the columns x, 0 <= x < width, for which isSet(x) holds.
template <class IsSet, class Found> void EachRun(int width, IsSet isSet, Found found)
{
    for (int x = 0; x < width; x++) {
        if (!isSet(x)) continue;
        const int first = x;
        while (x + 1 < width && isSet(x + 1)) x++;
        found(first, x);
    }
}

/// The cells of `pattern` that are not 0, flipped both ways.
inline Runs FlippedRuns(const MatByte& pattern)
{
    const int width = pattern.dim1, height = pattern.dim2;
    return Runs(width, height, [&](auto found) {
        for (int y = 0; y < height; y++)
            EachRun(
                width, [&](int x) { return pattern(width - 1 - x, height - 1 - y) != 0; },
                [&](int first, int last) { found(y, first, last); });
    });
}

/// The ring r1 <= radius <= r2 around the middle of 2 * rr + 1 rows and columns, squares compared as floats.
/// Along a row the radius grows with the distance from the middle: at most two runs.
inline Runs RingRuns(int rr, float r1, float r2)
{
    return Runs(2 * rr + 1, 2 * rr + 1, [=](auto found) {
        int end = 0, hole = 0; // columns 0 .. end - 1 lie within r2, columns 0 .. hole - 1 within r1
        for (int y = -rr; y <= rr; y++) {
            const auto square = [y](int x) {
                return static_cast<float>(std::int64_t{x} * x + std::int64_t{y} * y);
            };
            const auto isInside = [&](int x) { return square(x) <= r2 * r2; };
            const auto isInHole = [&](int x) { return !(r1 * r1 <= square(x)); };
            // From one row to the next they change by little.
            while (end <= rr && isInside(end)) end++;
            while (end > 0 && !isInside(end - 1)) end--;
            while (hole <= rr && isInHole(hole)) hole++;
            while (hole > 0 && !isInHole(hole - 1)) hole--;
            if (hole >= end) continue;
            if (hole > 0) found(rr + y, rr - end + 1, rr - hole);
            found(rr + y, hole > 0 ? rr + hole : rr - end + 1, rr + end - 1);
        }
    });
}

// ---------------------------------------------------------------------------------- sums

/// sums(x) += to1(x) - from1(x) + to2(x) - from2(x), for n entries that do not overlap. Never inlined: GCC
/// would join rounds of the loop around it, and then makes no vectors of this one.
KAVRIX_CLONES [[gnu::noinline]] static void
AddDifferences(int n, int* __restrict sums, const int* __restrict to1, const int* __restrict from1,
               const int* __restrict to2, const int* __restrict from2)
{
    for (int x = 0; x < n; x++)
        sums[x] = WrapAdd(sums[x], WrapAdd(WrapSub(to1[x], from1[x]), WrapSub(to2[x], from2[x])));
}

/// The sums under a pattern at n places side by side, (x, y) the first of them, modulo 2^32.
/// What lies under a run is the difference of two running sums, however long the run is.
/// \param before  before(x, y) is the sum of the picture's row y left of column x
inline void SumsUnder(const Runs& runs, const MatInt& before, int x, int y, int n, int* sums)
{
    std::fill_n(sums, n, 0);
    for (int i = 0; i < runs.Count(); i += 2) { // two in one pass over the sums
        const int *const row1 = &before(x, y + runs.Row(i)), *const row2 = &before(x, y + runs.Row(i + 1));
        AddDifferences(n, sums, row1 + runs.Last(i) + 1, row1 + runs.First(i), row2 + runs.Last(i + 1) + 1,
                       row2 + runs.First(i + 1));
    }
}

/// Fills row y of the running sums of `picture`.
inline void SumAlongRow(const MatShort& picture, int y, const MatInt& before)
{
    int sum = before(0, y) = 0;
    ElementwiseOver(
        {picture.dim1, 1, 1}, [&sum](int& to, short value) { to = sum = WrapAdd<int>(sum, value); },
        Strided<int>{&before(1, y), 1, 0, 0}, ViewOf<short>(picture).Row(y));
}

// ---------------------------------------------------------------------------------- bounds

/// Pixels along the side of a tile of the picture, and places along the side of a block of places. Small ones
/// give sharp bounds, large ones few bounds: with 6 a search is a little quicker where the picture shows the
/// ring plainly, and takes up to twice as long where it does not.
inline constexpr int tileSide = 4;

/// The tiles that a pattern touches from the places of a block, as a pattern of tiles.
///
/// Block (X, Y) is the places (tileSide X + a, tileSide Y + b), 0 <= a, b < tileSide. From there the
/// pattern's column k lies on the picture's column tileSide X + a + k, which is column X + (a + k) / tileSide
/// of the tiles, quotients cut to whole numbers. While a goes from 0 to tileSide - 1, this goes from X + k /
/// tileSide to X + (k + tileSide - 1) / tileSide: it stays, or steps to the neighbour. Rows are alike. So a
/// cell touches up to four tiles, the same from every block, counted from (X, Y).
inline Runs TouchedTiles(const Runs& pattern)
{
    const auto firstTile = [](int cell) { return cell / tileSide; };
    const auto lastTile = [](int cell) { return (cell + tileSide - 1) / tileSide; };
    MatByte touched(lastTile(pattern.width - 1) + 1, lastTile(pattern.height - 1) + 1);
    touched.Fill(0);
    for (int i = 0; i < pattern.Count(); i++) {
        if (pattern.Last(i) < pattern.First(i)) continue;
        for (int y = firstTile(pattern.Row(i)); y <= lastTile(pattern.Row(i)); y++)
            for (int x = firstTile(pattern.First(i)); x <= lastTile(pattern.Last(i)); x++) touched(x, y) = 1;
    }
    return Runs(touched.dim1, touched.dim2, [&touched](auto found) {
        for (int y = 0; y < touched.dim2; y++)
            EachRun(
                touched.dim1, [&](int x) { return touched(x, y) != 0; },
                [&](int first, int last) { found(y, first, last); });
    });
}

/// sums(x) += row(x), n entries, and the range of the values.
KAVRIX_CLONES static void AddRow(int n, int* sums, Strided<short> row, short& lowest, short& highest)
{
    short low = lowest, high = highest;
    ElementwiseOver(
        {n, 1, 1},
        [&low, &high](int& sum, short value) {
            sum += value;
            low = std::min(low, value);
            high = std::max(high, value);
        },
        Strided<int>{sums, 1, 0, 0}, row);
    lowest = low;
    highest = high;
}

/// Upper bounds for the sums under a pattern: entry (X, Y) is at least the sum at each of the
/// tileSide x tileSide places from (tileSide X, tileSide Y) on.
///
/// It is the sum of all tiles that the pattern touches from the places of the block. Whatever pixels lie
/// under the pattern at one of these places, all of them lie in those tiles; the tiles' other pixels cannot
/// make the sum smaller, since none is negative.
/// \param picture  at least as large as the pattern
/// \return without storage where there are no bounds: a pixel is negative, or a bound might exceed 31 bits
inline MatInt SumBounds(const MatShort& picture, const Runs& pattern)
{
    const Runs touched = TouchedTiles(pattern);
    const auto blocks = [](int size, int patternSize) { return (size - patternSize) / tileSide + 1; };
    MatInt bounds(blocks(picture.dim1, pattern.width), blocks(picture.dim2, pattern.height));

    // Running sums along the rows of tiles, modulo 2^32. What lies beyond the picture's edges counts as 0.
    const int columns = bounds.dim1 - 1 + touched.width, rows = bounds.dim2 - 1 + touched.height;
    MatInt before(columns + 1, rows);
    VecInt columnSums(tileSide * columns);
    short lowest = 0, highest = 0;
    std::int64_t total = 0;
    for (int y = 0; y < rows; y++) {
        columnSums.Fill(0);
        for (int i = tileSide * y; i < std::min(tileSide * (y + 1), picture.dim2); i++)
            AddRow(picture.dim1, &columnSums(0), ViewOf<short>(picture).Row(i), lowest, highest);
        const std::int64_t above = total;
        const int* column = &columnSums(0);
        before(0, y) = 0;
        for (int x = 0; x < columns; x++) {
            for (int i = 0; i < tileSide; i++) total += *column++;
            before(x + 1, y) = static_cast<int>(total - above);
        }
    }

    // No bound exceeds the sum of the whole picture, nor the highest value in every pixel of the tiles. Where
    // one of these has 31 bits, so has every bound, every sum under the pattern and every difference of
    // running sums that a bound is made of: they come out right also where the running sums wrap.
    std::int64_t touchedPixels = 0;
    for (int i = 0; i < touched.Count(); i++)
        touchedPixels += std::int64_t{tileSide} * tileSide * (touched.Last(i) - touched.First(i) + 1);
    if (lowest < 0 || std::min(total, touchedPixels * highest) > INT32_MAX) return {};
    for (int y = 0; y < bounds.dim2; y++) SumsUnder(touched, before, 0, y, bounds.dim1, &bounds(0, y));
    return bounds;
}

} // namespace kavrix::inner

#endif
