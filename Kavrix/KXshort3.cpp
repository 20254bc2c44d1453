// Reductions and ordering of short arrays and drawing into short pictures.
#include <Kavrix/KXshort.h>

#include <Kavrix/inner/KXdraw-inl.h>
#include <Kavrix/inner/KXreduce-inl.h>
#include <Kavrix/inner/SelectRank.h>

using namespace kavrix::inner;

short Max(const VecShort& v) { return BestValue(v, std::greater<short>()); }
short Min(const VecShort& v) { return BestValue(v, std::less<short>()); }
int Argmax(const VecShort& v) { return BestIndex(v, std::greater<short>()); }
int Argmin(const VecShort& v) { return BestIndex(v, std::less<short>()); }
short Sum(const VecShort& v) { return SumOf(v); }
short Dot(const VecShort& a, const VecShort& b) { return DotOf(a, b); }
VecInt Size(const VecShort& v) { return All(v.dim1, 1); }
VecShort All(short value, int n) { return Constant(VecShort(n), value); }

VecShort Max(const MatShort& m)
{
    return OfRows<VecShort>(m, [](const VecShort& row) { return Max(row); });
}
VecShort Min(const MatShort& m)
{
    return OfRows<VecShort>(m, [](const VecShort& row) { return Min(row); });
}
VecInt Argmax(const MatShort& m)
{
    return OfRows<VecInt>(m, [](const VecShort& row) { return Argmax(row); });
}
VecInt Argmin(const MatShort& m)
{
    return OfRows<VecInt>(m, [](const VecShort& row) { return Argmin(row); });
}
VecShort Sum(const MatShort& m)
{
    return OfRows<VecShort>(m, [](const VecShort& row) { return Sum(row); });
}
VecInt Size(const MatShort& m) { return VecInt(m.dim1, m.dim2); }
MatShort All(short value, int w, int h) { return Constant(MatShort(w, h), value); }
VecShort Diag(const MatShort& m) { return DiagonalOf(m); }
MatShort Diag(const VecShort& v) { return DiagonalMatrix(v); }
VecShort operator*(const MatShort& m, const VecShort& v) { return Product(m, v); }

VecShort& VecShort::sqrt() { return SquareRoot(*this, short{}); }

MatShort Abs(const MatShort& m)
{
    MatShort r(m.dim1, m.dim2);
    Elementwise<short, short>(r, m, [](short& p, short q) { p = WrapAbs(q); });
    return r;
}

// ---------------------------------------------------------------------------------- ordering

short VecShort::percentile(int p)
{
    if (dim1 < 1) return 0;
    const int rank = static_cast<short>(std::int64_t{p} * dim1 / 100); // 16 bits on purpose
    return SelectRank(*this, dim1, std::clamp(rank, 0, dim1 - 1));
}

short VecShort::median() { return percentile(50); }

namespace {

// The shorter part first by itself, the longer one in the loop: no input makes the recursion deep.
void SortRange(VecShort& v, int lo, int hi)
{
    while (lo < hi) {
        const auto [j, i] = Partition(v, lo, hi);
        if (j - lo < hi - i) {
            SortRange(v, lo, j);
            lo = i;
        } else {
            SortRange(v, i, hi);
            hi = j;
        }
    }
}

} // namespace

void VecShort::sort() { SortRange(*this, 0, dim1 - 1); }

void VecShort::sort(short lo, short hi) { SortRange(*this, lo, hi); }

// ---------------------------------------------------------------------------------- drawing

void MatShort::DrawCross(short x, short y, short color, char style) { Marker(*this, x, y, color, style); }

void MatShort::DrawLine(short x1, short y1, short x2, short y2, short color)
{
    Line(*this, x1, y1, x2, y2, color);
}
