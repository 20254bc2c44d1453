// 3 x 3 neighbourhood filters.
//
// Each filter is one pass over shifted views of its source: view S(dx, dy) holds the neighbour dx - 1 to the
// right and dy - 1 below. All sums are kept in 16 bits and wrap; the order of additions inside one sum does
// not matter for that, the place of each shift and division does, and it is where the rounding happens.
//
// The binomial kernel 1 2 1 / 2 4 2 / 1 2 1 has the sum 16: the byte filter leaves it at that and so keeps
// four more bits for the derivatives of the flow, the short filter divides by 2 and then by 8. The weights of
// LapAve, 1/6 for edge and 1/12 for corner neighbours, are those of B. K. P. Horn and B. G. Schunck,
// "Determining Optical Flow", Artificial Intelligence 17 (1981), pp. 185-203.
#include <Kavrix/KXarith.h>
#include <Kavrix/KXelementwise.h>
#include <Kavrix/KXshort.h>

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

short NeighbourAverage(int nw, int n, int ne, int w, int e, int sw, int s, int se)
{
    const short corners = Cut16(nw + ne + sw + se);
    const short sum = Cut16((corners >> 1) + w + e + n + s);
    return Cut16(sum / 6);
}

} // namespace

void MatShort::Smooth(const MatByte& m)
{
    Filter3x3<UBYTE>(*this, m, [](int nw, int n, int ne, int w, int c, int e, int sw, int s, int se) {
        return Cut16(4 * c + 2 * (w + e + n + s) + nw + ne + sw + se);
    });
}

void MatShort::Smooth(const MatShort& m)
{
    Filter3x3<short>(*this, m, [](int nw, int n, int ne, int w, int c, int e, int sw, int s, int se) {
        const short diagonal = Cut16(4 * c + nw + ne + sw + se);
        return Cut16(Cut16((diagonal >> 1) + w + e + n + s) >> 3);
    });
}

void MatShort::LapAve(const MatShort& m)
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
