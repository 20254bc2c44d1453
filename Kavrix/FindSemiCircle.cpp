// Sliding ring pattern over a motion picture.
//
// The search is a branch and bound: A. H. Land and A. G. Doig, "An Automatic Method of Solving Discrete
// Programming Problems", Econometrica 28 (1960), pp. 497-520; for places in a picture C. H. Lampert,
// M. B. Blaschko and T. Hofmann, "Beyond Sliding Windows: Object Localization by Efficient Subwindow Search",
// CVPR 2008. The places are cut into small blocks; one bound holds for all sums of a block, and only blocks
// whose bound reaches the best sum found so far are looked at place by place.
#include <Kavrix/FindSemiCircle.h>

#include <Kavrix/inner/PatternSums.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>

using namespace kavrix::inner;

MatInt SumPattern(const MatShort& simg, const MatByte& pattern)
{
    MatInt output(simg.dim1 - pattern.dim1 + 1, simg.dim2 - pattern.dim2 + 1);
    if (output.dim1 < 1 || output.dim2 < 1) return output;
    MatInt before(simg.dim1 + 1, simg.dim2);
    for (int y = 0; y < simg.dim2; y++) SumAlongRow(simg, y, before);
    const Runs runs = FlippedRuns(pattern);
    for (int y = 0; y < output.dim2; y++) SumsUnder(runs, before, 0, y, output.dim1, &output(0, y));
    return output;
}

namespace {

// The place of the largest sum under a pattern that is not larger than the picture; of equal ones the lowest
// row, then the lowest column.
class Search {
public:
    struct Place {
        int sum, x, y;
    };

    Search(const MatShort& image, const Runs& cells)
        : picture(image), pattern(cells), width(image.dim1 - cells.width + 1),
          height(image.dim2 - cells.height + 1), before(image.dim1 + 1, image.dim2), sums(width)
    {
    }

    Place Find()
    {
        const MatInt bounds = SumBounds(picture, pattern);
        if (bounds.p_data == nullptr) {
            TryPlaces(0, 0, width, height);
            return best;
        }
        // No sum is negative: where no other is better, the first place has it with a sum of 0.
        best = {0, 0, 0};

        // The block with the highest bound sets the mark for the others.
        const int y = Argmax(Max(bounds)), x = Argmax(bounds(RNG::All(), y));
        if (IsPromising(bounds, x, y)) TryBlocks(x, y, 1);

        // What is left, counted in places: a row of them costs as much as some 64 further ones. Where that is
        // more than all places, as in a picture that is much the same everywhere, all at once are quicker.
        std::int64_t cost = 0;
        EachPromising(bounds,
                      [&cost](int, int, int n) { cost += tileSide * (std::int64_t{tileSide} * n + 64); });
        if (cost < std::int64_t{width} * height)
            EachPromising(bounds, [this](int first, int row, int n) { TryBlocks(first, row, n); });
        else TryPlaces(0, 0, width, height);
        return best;
    }

private:
    bool IsBetter(Place p) const
    {
        if (p.sum != best.sum) return p.sum > best.sum;
        return p.y != best.y ? p.y < best.y : p.x < best.x;
    }

    // Whether a block may hold a better place than the best so far. Its first place with its bound is at
    // least as good as any place in it.
    bool IsPromising(const MatInt& bounds, int x, int y) const
    {
        return IsBetter({bounds(x, y), tileSide * x, tileSide * y});
    }

    // Calls found(x, y, n) for all such blocks, n side by side at a time. What found() finds counts for the
    // blocks that follow.
    template <class F> void EachPromising(const MatInt& bounds, F found) const
    {
        for (int y = 0; y < bounds.dim2; y++)
            EachRun(
                bounds.dim1, [&](int x) { return IsPromising(bounds, x, y); },
                [&](int first, int last) { found(first, y, last - first + 1); });
    }

    // The exact sums in n blocks side by side, as far as their places exist.
    void TryBlocks(int x, int y, int n)
    {
        const int left = tileSide * x, top = tileSide * y;
        TryPlaces(left, top, std::min(tileSide * n, width - left), std::min(tileSide, height - top));
    }

    // The exact sums of w x h places.
    void TryPlaces(int left, int top, int w, int h)
    {
        PrepareRows(top, top + h - 1 + pattern.height);
        for (int y = top; y < top + h; y++) {
            SumsUnder(pattern, before, left, y, w, &sums(0));
            for (int i = 0; i < w; i++)
                if (IsBetter({sums(i), left + i, y})) best = {sums(i), left + i, y};
        }
    }

    // Running sums are made for the rows of the picture that are asked for, and for those between them.
    void PrepareRows(int from, int end)
    {
        if (firstRow == endRow) firstRow = endRow = from;
        while (firstRow > from) SumAlongRow(picture, --firstRow, before);
        while (endRow < end) SumAlongRow(picture, endRow++, before);
    }

    const MatShort& picture;
    const Runs& pattern;
    const int width, height; // places
    MatInt before;           // running sums of rows firstRow .. endRow - 1
    int firstRow = 0, endRow = 0;
    VecInt sums; // of places side by side
    Place best{INT32_MIN, 0, 0};
};

} // namespace

int FindSemiCircle(const MatShort& mag_sh, float r1, float r2, float& f_cx, float& f_cy)
{
    const int rr = FloatToInt(std::rint(r2));
    if (!(r2 == r2) || rr < 0 || std::int64_t{2} * rr + 1 > std::min(mag_sh.dim1, mag_sh.dim2)) {
        f_cx = f_cy = -std::numeric_limits<float>::infinity();
        return 0;
    }
    const Runs ring = RingRuns(rr, r1, r2);
    const auto place = Search(mag_sh, ring).Find();
    f_cx = static_cast<float>(place.x + rr);
    f_cy = static_cast<float>(place.y + rr);
    return 0;
}
