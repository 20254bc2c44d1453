// Sums of a picture under a pattern of cells.
#ifndef KAVRIX_INNER_PATTERNSUMS_H
#define KAVRIX_INNER_PATTERNSUMS_H

#include <Kavrix/KXint.h>
#include <Kavrix/KXshort.h>
#include <Kavrix/KXubyte.h>
#include <Kavrix/inner/KXarith.h>
#include <Kavrix/inner/KXclones.h>
#include <Kavrix/inner/KXelementwise.h>

#include <algorithm>

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

/// Row y of `picture` alone.
inline Strided<short> RowOf(const MatShort& picture, int y)
{
    return {ViewOf<short>(picture).Row(y, 0), picture.step1, 0, 0};
}

/// Fills row y of the running sums of `picture`.
inline void SumAlongRow(const MatShort& picture, int y, const MatInt& before)
{
    int sum = before(0, y) = 0;
    ElementwiseOver(
        {picture.dim1, 1, 1}, [&sum](int& to, short value) { to = sum = WrapAdd<int>(sum, value); },
        Strided<int>{&before(1, y), 1, 0, 0}, RowOf(picture, y));
}

} // namespace kavrix::inner

#endif
