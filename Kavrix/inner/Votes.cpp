// The votes for the centre of rotation.
#include <Kavrix/inner/Votes.h>

#include <Kavrix/inner/KXarith.h>
#include <Kavrix/inner/KXclones.h>
#include <Kavrix/inner/KXelementwise.h>

#include <algorithm>
#include <cstdint>

namespace kavrix::inner {

namespace {

std::uint32_t Square(short u, short v)
{
    return static_cast<std::uint32_t>(u * u) + static_cast<std::uint32_t>(v * v);
}

// The square from which on Length(u, v) >= threshold, for a whole threshold: compared in integers, since the
// square is exact as a float up to 2^24, and thresholds, at most 2047, have smaller ones.
std::uint32_t LeastSquare(float threshold)
{
    return threshold > 0 ? static_cast<std::uint32_t>(threshold * threshold) : 0;
}

// strong(x, y) = 1 where the square is at least `enough`, else 0; count(x) = how many in column x.
KAVRIX_CLONES void FindStrong(const MatShort& u, const MatShort& v, std::uint32_t enough, MatByte& strong,
                              VecInt& count)
{
    ElementwiseOver(
        ShapeOf(strong), [enough](UBYTE& p, short pu, short pv) { p = Square(pu, pv) >= enough; },
        ViewOf<UBYTE>(strong), ViewOf<short>(u), ViewOf<short>(v));
    count.Fill(0);
    Strided<int> everyRow = ViewOf<int>(count);
    everyRow.step2 = 0;
    ElementwiseOver(
        ShapeOf(strong), [](int& n, UBYTE p) { n += p; }, everyRow, ViewOf<UBYTE>(strong));
}

} // namespace

// The strong pixels are found row by row, as they lie in memory, and sorted into their columns.
StrongPixels::StrongPixels(const MatShort& u, const MatShort& v, float threshold) : end(u.dim1)
{
    const int wid = u.dim1, hgh = u.dim2;
    MatByte strong(wid, hgh);
    VecInt count(wid);
    FindStrong(u, v, LeastSquare(threshold), strong, count);

    // The column's list is empty at first and ends where it begins.
    int total = 0;
    for (int x = 0; x < wid; x++) {
        end(x) = total;
        total += count(x);
    }
    rows.Resize(total);
    for (int y = 0; y < hgh; y++) {
        const UBYTE *const row = &strong(0, y), *const rowEnd = row + wid;
        for (const UBYTE* p = row; (p = std::find(p, rowEnd, 1)) != rowEnd; p++)
            rows(end(static_cast<int>(p - row))++) = y;
    }
}

Votes::Votes(int w, int h) : hough(w, h), wid(static_cast<float>(w)), hgh(static_cast<float>(h))
{
    hough.Fill(0);
}

void Votes::Cast(float xn, float yn, float n)
{
    if (!(0 <= xn && xn < wid * n && 0 <= yn && yn < hgh * n)) return;
    const int ix = static_cast<short>(FloatToInt(xn / n)), iy = static_cast<short>(FloatToInt(yn / n));
    if (0 <= ix && ix < hough.dim1 && 0 <= iy && iy < hough.dim2)
        hough(ix, iy) = WrapAdd(hough(ix, iy), FloatToInt(std::rint(n * 100)));
    sum += n;
    mx += xn;
    my += yn;
}

void Votes::Finish(MatShort& hough_sh, float& cx, float& cy)
{
    cx = mx / sum + 0.5f;
    cy = my / sum + 0.5f;
    const int maxv = hough.dim1 > 0 && hough.dim2 > 0 ? Max(Max(hough)) : 0;
    if (maxv != 0) {
        hough *= 2000000000 / maxv;
        hough /= 1000000;
    }
    KX_Base::Convert_is(hough, hough_sh);
}

} // namespace kavrix::inner
