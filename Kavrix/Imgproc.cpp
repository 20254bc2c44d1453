// 3 x 3 neighbourhood filters and box filters.
//
// Each 3 x 3 filter is one pass over shifted views of its source: view S(dx, dy) holds the neighbour dx - 1
// to the right and dy - 1 below. All sums are kept in 16 bits and wrap; the order of additions inside one sum
// does not matter for that, the place of each shift and division does, and it is where the rounding happens.
//
// The binomial kernel 1 2 1 / 2 4 2 / 1 2 1 has the sum 16: the byte filter leaves it at that and so keeps
// four more bits for the derivatives of the flow, the short filter divides by 2 and then by 8.
#include <Kavrix/Imgproc.h>

#include <Kavrix/Convert_Bs.h>
#include <Kavrix/inner/KXarith.h>
#include <Kavrix/inner/KXclones.h>
#include <Kavrix/inner/KXelementwise.h>
#include <Kavrix/inner/NeighbourAverage.h>

using namespace kavrix::inner;

namespace {

short Cut16(int sum) { return static_cast<short>(sum); }

// out(x, y) = rule(the nine neighbours of m(x + 1, y + 1), row by row), over the shape of out, which is first
// given the size of the inside of m where it has no storage.
template <class T, class M, class F> void Filter3x3(MatShort& out, const M& m, F rule)
{
    const auto S = [&m](int dx, int dy) { return m(RNG(dx, m.dim1 - 3 + dx), RNG(dy, m.dim2 - 3 + dy)); };
    const M centre = S(1, 1);
    if (out.pblock == nullptr) out.Resize(centre.dim1, centre.dim2);
    const auto V = [&S](int dx, int dy) { return ViewOf<T>(S(dx, dy)); }; // m keeps the storage alive
    ElementwiseOver(
        ShapeOf(out),
        [rule](short& p, T nw, T n, T ne, T w, T c, T e, T sw, T s, T se) {
            p = rule(nw, n, ne, w, c, e, sw, s, se);
        },
        ViewOf<short>(out), V(0, 0), V(1, 0), V(2, 0), V(0, 1), V(1, 1), V(2, 1), V(0, 2), V(1, 2), V(2, 2));
}

} // namespace

KAVRIX_CLONES void MatShort::Smooth(const MatByte& m)
{
    Filter3x3<UBYTE>(*this, m, [](int nw, int n, int ne, int w, int c, int e, int sw, int s, int se) {
        return Cut16(4 * c + 2 * (w + e + n + s) + nw + ne + sw + se);
    });
}

KAVRIX_CLONES void MatShort::Smooth(const MatShort& m)
{
    Filter3x3<short>(*this, m, [](int nw, int n, int ne, int w, int c, int e, int sw, int s, int se) {
        const short diagonal = Cut16(4 * c + nw + ne + sw + se);
        return Cut16(Cut16((diagonal >> 1) + w + e + n + s) >> 3);
    });
}

KAVRIX_CLONES void MatShort::LapAve(const MatShort& m)
{
    Filter3x3<short>(*this, m, [](int nw, int n, int ne, int w, int, int e, int sw, int s, int se) {
        return NeighbourAverage(nw, n, ne, w, e, sw, s, se);
    });
}

void MatShort::Laplace(const MatShort& m)
{
    Filter3x3<short>(*this, m, [](int nw, int n, int ne, int w, int c, int e, int sw, int s, int se) {
        return Cut16(NeighbourAverage(nw, n, ne, w, e, sw, s, se) + 2048 - c);
    });
}

void MatShort::SobelX(const MatShort& m)
{
    Filter3x3<short>(*this, m, [](int nw, int, int ne, int w, int, int e, int sw, int, int se) {
        return Cut16(ne + 2 * e + se - nw - 2 * w - sw + 2048);
    });
}

void MatShort::SobelY(const MatShort& m)
{
    Filter3x3<short>(*this, m, [](int nw, int n, int ne, int, int, int, int sw, int s, int se) {
        return Cut16(sw + 2 * s + se - nw - 2 * n - ne + 2048);
    });
}

// ---------------------------------------------------------------------------------- box filters

// Sums of neighbouring pairs, again and again, give binomial weights without a multiplication. A sum runs in
// place with x (or y) ascending: every pixel takes the value that its neighbour had before the pass.
namespace {

// Each pixel of the w x h region plus its right (lower) neighbour; the last column (row) stays.
template <class M> void AddRightNeighbour(const M& img, int w, int h)
{
    img(RNG(0, w - 2), RNG(0, h - 1)) += img(RNG(1, w - 1), RNG(0, h - 1));
}

template <class M> void AddLowerNeighbour(const M& img, int w, int h)
{
    img(RNG(0, w - 1), RNG(0, h - 2)) += img(RNG(0, w - 1), RNG(1, h - 1));
}

// T is the element type, in which the divisor wraps as the sums do.
template <class T, class M> M FastFilterInPlace(const M& img, int nr_passes)
{
    if (nr_passes < 0) error(1, "RNG: Invalid range selection");
    T divisor = 1;
    int w = img.dim1, h = img.dim2;
    for (int k = 0; k < nr_passes; k++) {
        AddRightNeighbour(img, w--, h);
        AddLowerNeighbour(img, w, h--);
        divisor = WrapMul<T>(divisor, 4);
    }
    M region = img(RNG(0, w - 1), RNG(0, h - 1));
    region /= divisor;
    return region;
}

} // namespace

MatByte MatByte::FastFilter(int nr_passes) { return FastFilterInPlace<UBYTE>(*this, nr_passes); }

MatShort MatShort::FastFilter(int nr_passes) { return FastFilterInPlace<short>(*this, nr_passes); }

MatShort FastFilter(MatByte uimg, int v_passes, int h_passes)
{
    MatShort img;
    Convert(uimg, img);
    short divisor = 1;
    int m = img.dim1, n = img.dim2; // the region that holds results
    std::int64_t sumsX = v_passes, sumsY = h_passes;

    if (sumsX < 0) {
        img(RNG(0, m - 2), RNG(0, n - 1)) -= img(RNG(1, m - 1), RNG(0, n - 1));
        sumsX = -sumsX - 1;
        m--;
        divisor = WrapSub<short>(0, divisor); // the difference above is left minus right
    }
    if (sumsY < 0) {
        img(RNG(0, m - 1), RNG(0, n - 2)) -= img(RNG(0, m - 1), RNG(1, n - 1));
        sumsY = -sumsY - 1;
        n--;
        divisor = WrapSub<short>(0, divisor);
    }
    for (std::int64_t k = 0; k < sumsX; k++) {
        AddRightNeighbour(img, m--, n);
        divisor = WrapMul<short>(divisor, 2);
    }
    const auto region = [&] { return img(RNG(0, m - 1), RNG(0, n - 1)); };
    if (sumsX + sumsY > 7) { // more would not fit 16 bits
        region() /= divisor;
        divisor = 1;
    }
    for (std::int64_t k = 0; k < sumsY; k++) {
        AddLowerNeighbour(img, m, n--);
        divisor = WrapMul<short>(divisor, 2);
    }
    region() /= divisor;
    return region();
}
