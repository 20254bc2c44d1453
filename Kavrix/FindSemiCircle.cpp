// Sliding ring pattern over a motion picture.
#include <Kavrix/FindSemiCircle.h>

#include <Kavrix/inner/KXarith.h>
#include <Kavrix/inner/KXclones.h>
#include <Kavrix/inner/KXelementwise.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>

using namespace kavrix::inner;

namespace {

// Set cells of the flipped pattern that lie side by side: columns first .. last of row `row`.
// They are kept as the three rows of a matrix, one column each.
class Runs {
public:
    explicit Runs(const MatByte& pattern) : runs(Each(pattern, [](int, int, int, int) {}), 3)
    {
        Each(pattern, [this](int i, int row, int first, int last) {
            runs(i, 0) = row;
            runs(i, 1) = first;
            runs(i, 2) = last;
        });
    }

    int Count() const { return runs.dim1; }
    int Row(int i) const { return runs(i, 0); }
    int First(int i) const { return runs(i, 1); }
    int Last(int i) const { return runs(i, 2); }

private:
    // Calls found(number, row, first, last) for each run and returns how many there are.
    template <class F> static int Each(const MatByte& pattern, F found)
    {
        const int width = pattern.dim1, height = pattern.dim2;
        int count = 0;
        for (int l = 0; l < height; l++) {
            const auto isSet = [&](int k) { return pattern(width - 1 - k, height - 1 - l) != 0; };
            for (int k = 0; k < width; k++) {
                if (!isSet(k)) continue;
                const int first = k;
                while (k + 1 < width && isSet(k + 1)) k++;
                found(count++, l, first, k);
            }
        }
        return count;
    }

    MatInt runs;
};

// sums(x) += picture(x), for n entries at a distance of `step`.
KAVRIX_CLONES void AddCells(int n, int* sums, short* picture, int step)
{
    ElementwiseOver(
        {n, 1, 1}, [](int& p, short q) { p = WrapAdd<int>(p, q); }, Strided<int>{sums, 1, 0, 0},
        Strided<short>{picture, step, 0, 0});
}

// sums(x) += to(x) - from(x), for n entries that do not overlap.
KAVRIX_CLONES void AddDifference(int n, int* __restrict sums, const int* __restrict to,
                                 const int* __restrict from)
{
    for (int x = 0; x < n; x++) sums[x] = WrapAdd(sums[x], WrapSub(to[x], from[x]));
}

// The same for two runs at once.
KAVRIX_CLONES void AddDifferences(int n, int* __restrict sums, const int* __restrict to1,
                                  const int* __restrict from1, const int* __restrict to2,
                                  const int* __restrict from2)
{
    for (int x = 0; x < n; x++)
        sums[x] = WrapAdd(sums[x], WrapAdd(WrapSub(to1[x], from1[x]), WrapSub(to2[x], from2[x])));
}

} // namespace

// A row of the picture under a run of set cells is the difference of two running sums: the cost does not
// depend on how wide the ring is. Runs of one cell take the picture itself.
MatInt SumPattern(const MatShort& simg, const MatByte& pattern)
{
    MatInt output(simg.dim1 - pattern.dim1 + 1, simg.dim2 - pattern.dim2 + 1);
    output.Fill(0);
    if (output.dim1 < 1 || output.dim2 < 1) return output;

    // before(x, y) = sum of simg(0 .. x - 1, y).
    MatInt before(simg.dim1 + 1, simg.dim2);
    for (int y = 0; y < simg.dim2; y++) {
        int sum = 0;
        before(0, y) = 0;
        for (int x = 0; x < simg.dim1; x++) {
            sum = WrapAdd<int>(sum, simg(x, y));
            before(x + 1, y) = sum;
        }
    }

    const Runs runs(pattern);
    const auto to = [&](int i, int n) { return &before(runs.Last(i) + 1, n + runs.Row(i)); };
    const auto from = [&](int i, int n) { return &before(runs.First(i), n + runs.Row(i)); };
    const auto isWide = [&runs](int i) { return i < runs.Count() && runs.First(i) < runs.Last(i); };
    for (int n = 0; n < output.dim2; n++) {
        int* const sums = &output(0, n);
        for (int i = 0; i < runs.Count(); i++) {
            if (isWide(i) && isWide(i + 1)) { // two in one pass over the sums
                AddDifferences(output.dim1, sums, to(i, n), from(i, n), to(i + 1, n), from(i + 1, n));
                i++;
            } else if (isWide(i)) {
                AddDifference(output.dim1, sums, to(i, n), from(i, n));
            } else {
                AddCells(output.dim1, sums, &simg(runs.First(i), n + runs.Row(i)), simg.step1);
            }
        }
    }
    return output;
}

int FindSemiCircle(const MatShort& mag_sh, float r1, float r2, float& f_cx, float& f_cy)
{
    const int rr = FloatToInt(std::rint(r2));
    if (!(r2 == r2) || rr < 0 || std::int64_t{2} * rr + 1 > std::min(mag_sh.dim1, mag_sh.dim2)) {
        f_cx = f_cy = -std::numeric_limits<float>::infinity();
        return 0;
    }

    // The ring: one octant and its mirror images.
    MatByte pattern(2 * rr + 1, 2 * rr + 1);
    for (int i = 0; i <= rr; i++) {
        for (int j = 0; j <= i; j++) {
            const float radius2 = static_cast<float>(std::int64_t{i} * i + std::int64_t{j} * j);
            const UBYTE val = r1 * r1 <= radius2 && radius2 <= r2 * r2 ? 255 : 0;
            pattern(rr - i, rr - j) = pattern(rr + i, rr - j) = val;
            pattern(rr + i, rr + j) = pattern(rr - i, rr + j) = val;
            pattern(rr - j, rr - i) = pattern(rr + j, rr - i) = val;
            pattern(rr + j, rr + i) = pattern(rr - j, rr + i) = val;
        }
    }

    const MatInt result = SumPattern(mag_sh, pattern);
    const int amy = Argmax(Max(result));
    f_cx = static_cast<float>(Argmax(result(RNG::All(), amy)) + rr);
    f_cy = static_cast<float>(amy + rr);
    return 0;
}
