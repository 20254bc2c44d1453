// Optical flow in 16-bit fixed point, its normalisation, and the votes for the centre of rotation.
//
// The flow follows B. K. P. Horn and B. G. Schunck, "Determining Optical Flow", Artificial Intelligence 17
// (1981), pp. 185-203: derivatives on the 2 x 2 x 2 cube of neighbouring pixels in two frames, and relaxation
//
//     u = ua - Ex (Ex ua + Ey va + Et) / Den,    v = va - Ey (Ex ua + Ey va + Et) / Den
//
// from the averages ua, va of the neighbours. It departs from the paper in its scale: frames carry 16 times
// the grey value, Den = alpha^2 + (Ex/8)^2 + (Ey/8)^2, so that u is 64 times the motion in pixels after the
// first sweep, and everything is kept in integers. Later sweeps apply the same formula to these values.
#include <Kavrix/OptFlow.h>

#include <Kavrix/KXarith.h>
#include <Kavrix/KXelementwise.h>

#include <algorithm>
#include <cmath>

namespace {

// ---------------------------------------------------------------------------------- flow

// 16 times the grey values: smoothed inside, as they are along the border.
void PrepareFrame(const MatByte& frame, MatShort& prepared)
{
    const int right = frame.dim1 - 1, bottom = frame.dim2 - 1;
    const auto copyTimes16 = [](const VecShort& to, const VecByte& from) {
        Elementwise<short, UBYTE>(to, from, [](short& p, UBYTE q) { p = static_cast<short>(16 * q); });
    };
    copyTimes16(prepared(RNG::All(), 0), frame(RNG::All(), 0));
    copyTimes16(prepared(RNG::All(), bottom), frame(RNG::All(), bottom));
    copyTimes16(prepared(0, RNG::All()), frame(0, RNG::All()));
    copyTimes16(prepared(right, RNG::All()), frame(right, RNG::All()));
    MatShort inside = prepared(RNG(1, right - 1), RNG(1, bottom - 1));
    inside.Smooth(frame);
}

// e = rule(the four corners of each cell in P, the older frame; the four in N, the newer one) / 4.
// The corners come in the order (x, y), (x+1, y), (x, y+1), (x+1, y+1). No sum leaves 16 bits.
template <class F> void Derivative(MatShort& e, const MatShort& P, const MatShort& N, F rule)
{
    const auto corner = [&e](const MatShort& m, int dx, int dy) {
        return ViewOf<short>(m(RNG(dx, e.dim1 - 1 + dx), RNG(dy, e.dim2 - 1 + dy)));
    };
    ElementwiseOver(
        ShapeOf(e),
        [rule](short& p, int p00, int p10, int p01, int p11, int n00, int n10, int n01, int n11) {
            p = static_cast<short>(rule(p00, p10, p01, p11, n00, n10, n01, n11) >> 2);
        },
        ViewOf<short>(e), corner(P, 0, 0), corner(P, 1, 0), corner(P, 0, 1), corner(P, 1, 1), corner(N, 0, 0),
        corner(N, 1, 0), corner(N, 0, 1), corner(N, 1, 1));
}

// Den += (E / 8)^2, 16 bits on purpose: the square of a shifted derivative past 181 wraps, and so does the
// sum, and the flow relies on it.
void AddSquare(MatShort& Den, const MatShort& E)
{
    Elementwise<short, short>(Den, E, [](short& den, short e) {
        const short scaled = ShiftRight(e, 3);
        den = WrapAdd(den, WrapMul(scaled, scaled));
    });
}

// a / b, truncated, for a b that is neither 0 nor -1. The quotient of two 32-bit integers that is not whole
// lies at least 1/|b| >= 2^-31 |a/b| away from the next whole number, far more than a double rounds: cutting
// the double quotient gives the integer quotient, and compilers have vector instructions for it.
int QuotientByDouble(int a, short b) { return static_cast<int>(static_cast<double>(a) / b); }

// One row of a relaxation sweep: u and v from the averages ua and va. Den wraps, and still is never 0 nor -1:
// it is 25 plus two squares, modulo 65536. For 0 the two squares would have to be 3 modulo 4, and squares are
// 0 or 1 there; for -1 they would have to be 6 modulo 8, and squares are 0, 1 or 4 there.
void RelaxRow(int n, const short* ua, const short* va, const short* Ex, const short* Ey, const short* Et,
              const short* Den, short* u, short* v)
{
    for (int x = 0; x < n; x++) {
        const int num = WrapAdd(WrapAdd<int>(ua[x] * Ex[x], va[x] * Ey[x]), int{Et[x]});
        u[x] = static_cast<short>(ua[x] - QuotientByDouble(WrapMul<int>(num, Ex[x]), Den[x]));
        v[x] = static_cast<short>(va[x] - QuotientByDouble(WrapMul<int>(num, Ey[x]), Den[x]));
    }
}

} // namespace

int OpticalFlow12Alt(CubByte& ori, MatInt& u_sum, MatInt& v_sum, int nrIters)
{
    if (TestQ()) return 1;
    const int wid = ori.dim1, hgh = ori.dim2, len = ori.dim3;
    const auto fits = [=](const MatInt& sum) { return sum.dim1 == wid + 1 && sum.dim2 == hgh + 1; };
    if (!fits(u_sum) || !fits(v_sum)) return -1;

    MatShort prepared[2] = {{wid, hgh}, {wid, hgh}}; // frame t in prepared[t % 2]
    MatShort Ex(wid - 1, hgh - 1), Ey(wid - 1, hgh - 1), Et(wid - 1, hgh - 1), Den(wid - 1, hgh - 1);
    MatShort u_ave(wid - 1, hgh - 1), v_ave(wid - 1, hgh - 1);
    MatShort u(wid + 1, hgh + 1), v(wid + 1, hgh + 1);

    if (len > 0) PrepareFrame(ori(RNG::All(), RNG::All(), 0), prepared[0]);
    if (TestQ()) return 1;

    for (int t = 0; t < len - 1; t++) {
        const MatShort &P = prepared[t % 2], &N = prepared[(t + 1) % 2];
        PrepareFrame(ori(RNG::All(), RNG::All(), t + 1), prepared[(t + 1) % 2]);
        if (TestQ()) return 1;

        // Derivatives.
        Derivative(Ex, P, N, [](int p00, int p10, int p01, int p11, int n00, int n10, int n01, int n11) {
            return p10 + p11 + n10 + n11 - p00 - p01 - n00 - n01;
        });
        if (TestQ()) return 1;
        Derivative(Ey, P, N, [](int p00, int p10, int p01, int p11, int n00, int n10, int n01, int n11) {
            return p11 + p01 + n11 + n01 - p10 - p00 - n10 - n00;
        });
        if (TestQ()) return 1;
        Derivative(Et, P, N, [](int p00, int p10, int p01, int p11, int n00, int n10, int n01, int n11) {
            return n10 + n11 + n00 + n01 - p10 - p11 - p00 - p01;
        });
        if (TestQ()) return 1;

        // Denominator.
        const short alpha2 = 25;
        Den.Fill(alpha2);
        AddSquare(Den, Ex);
        if (TestQ()) return 1;
        AddSquare(Den, Ey);
        if (TestQ()) return 1;

        // Relaxation from zero flow. All cells of a sweep are updated from the averages of the sweep before.
        u.Fill(0);
        v.Fill(0);
        for (int iter = 1; iter <= nrIters; iter++) {
            u_ave.LapAve(u);
            v_ave.LapAve(v);
            for (int y = 0; y <= hgh - 2; y++) {
                RelaxRow(wid - 1, &u_ave(0, y), &v_ave(0, y), &Ex(0, y), &Ey(0, y), &Et(0, y), &Den(0, y),
                         &u(1, y + 1), &v(1, y + 1));
                if (y % 100 == 0 && TestQ()) return 1;
            }

            // The frame is uneven on purpose: u gets its top and bottom rows, v its left and right columns.
            // The left and right columns of u and the top and bottom rows of v stay 0 and enter the next
            // averages, and the sums, as zeros.
            const RNG inner(1, wid - 1);
            u(inner, 0) = u(inner, 1);
            u(inner, hgh) = u(inner, hgh - 1);
            v(0, RNG::All()) = v(1, RNG::All());
            v(wid, RNG::All()) = v(wid - 1, RNG::All());
            if (TestQ()) return 1;
        }
        u_sum += u;
        v_sum += v;
    }
    return TestQ() ? 1 : 0;
}

// ---------------------------------------------------------------------------------- normalisation

void OF_Norm(const MatInt& u_sum, const MatInt& v_sum, MatShort& u_sum_sh, MatShort& v_sum_sh,
             MatShort& mag_sh)
{
    Trace trace("OF_Norm");
    u_sum_sh.Resize(u_sum.dim1, u_sum.dim2);
    v_sum_sh.Resize(v_sum.dim1, v_sum.dim2);
    const Datablock* const before = mag_sh.pblock;
    const bool kept = before && before->len == v_sum.dim1 * v_sum.dim2;
    mag_sh.Resize(v_sum.dim1, v_sum.dim2);

    int maxv = 0;
    if (u_sum.dim1 > 0 && u_sum.dim2 > 0) {
        maxv =
            std::max({Max(Max(u_sum)), Max(Max(v_sum)), WrapAbs(Min(Min(u_sum))), WrapAbs(Min(Min(v_sum)))});
    }
    if (maxv == 0) {
        u_sum_sh.Fill(0);
        v_sum_sh.Fill(0);
        if (!kept) mag_sh.Fill(0); // storage that was there keeps its content
        return;
    }

    // The products keep their upper 12 bits: the components lie within -2048..2047, their squares in 24 bits.
    const int factor = 2000000000 / maxv;
    ElementwiseOver(
        ShapeOf(u_sum),
        [factor](short& us, short& vs, short& mag, int u, int v) {
            us = static_cast<short>(WrapMul(factor, u) >> 20);
            vs = static_cast<short>(WrapMul(factor, v) >> 20);
            mag = static_cast<short>(std::sqrt(static_cast<double>(WrapAdd<int>(us * us, vs * vs))));
        },
        ViewOf<short>(u_sum_sh), ViewOf<short>(v_sum_sh), ViewOf<short>(mag_sh), ViewOf<int>(u_sum),
        ViewOf<int>(v_sum));
}

// ---------------------------------------------------------------------------------- histograms

void CumHistogram(const MatShort& img, VecInt& chist)
{
    if (chist.dim1 < 1) return;
    const int last = chist.dim1 - 1;
    chist.Fill(0);
    Elementwise<short>(img, [&chist, last](short p) { chist(std::clamp(p + 2048, 0, last))++; });
    for (int k = 1; k <= last; k++) chist(k) = WrapAdd(chist(k), chist(k - 1));
}

short PercThreshold(const VecInt& chist, float fraction)
{
    if (chist.dim1 < 1) return 0;
    const int last = chist.dim1 - 1;
    const int nr = FloatToInt(std::rint(static_cast<float>(chist(last)) * fraction));
    int k;
    if (fraction > 0.5f) {
        for (k = last; k > 0 && chist(k) > nr; k--) {
        }
    } else {
        for (k = 0; k < last && chist(k) < nr; k++) {
        }
    }
    return static_cast<short>(k);
}

// ---------------------------------------------------------------------------------- votes

namespace {

// The votes of one run: the accumulator picture, and the sums for the weighted centroid.
class Votes {
public:
    Votes(int w, int h) : hough(w, h), wid(static_cast<float>(w)), hgh(static_cast<float>(h))
    {
        hough.Fill(0);
    }

    // A vote of weight n for the point (xn / n, yn / n), if it lies in the picture. The coordinates come
    // multiplied by n, so that most pixels need no division.
    void Cast(float xn, float yn, float n)
    {
        if (!(0 <= xn && xn < wid * n && 0 <= yn && yn < hgh * n)) return;
        const int ix = static_cast<short>(FloatToInt(xn / n)), iy = static_cast<short>(FloatToInt(yn / n));
        // A quotient that rounds up to the width or height has no cell; it counts in the centroid.
        if (0 <= ix && ix < hough.dim1 && 0 <= iy && iy < hough.dim2)
            hough(ix, iy) = WrapAdd(hough(ix, iy), FloatToInt(std::rint(n * 100)));
        sum += n;
        mx += xn;
        my += yn;
    }

    // The centroid, and the accumulator scaled so that its largest cell is 2000.
    void Finish(MatShort& hough_sh, float& cx, float& cy)
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

private:
    MatInt hough;
    float wid, hgh;
    float sum = 0, mx = 0, my = 0; // one sum of weights for both coordinates
};

float Length(short u, short v)
{
    const float uf = u, vf = v;
    return std::sqrt(uf * uf + vf * vf);
}

// What both forms of the vote share. voteOf(votes, x, y, u, v, n) casts the votes of one strong pixel.
// The pixels vote column by column, x outermost: the float sums depend on that order. The strong pixels are
// found row by row, as they lie in memory, and sorted into their columns.
template <class F>
int Vote(const MatShort& u_sum, const MatShort& v_sum, MatShort& hough_sh, float& cx, float& cy, F voteOf)
{
    if (TestQ()) return 1;
    const int wid = u_sum.dim1, hgh = u_sum.dim2;
    hough_sh.Resize(wid, hgh);

    // Of the first component alone, not of the magnitude.
    VecInt chist(4096);
    CumHistogram(u_sum, chist);
    const double pixels = static_cast<double>(wid) * hgh;
    const float thld =
        static_cast<float>(PercThreshold(chist, static_cast<float>(1.0 - 250.0 / pixels)) - 2048);
    if (TestQ()) return 1;

    VecInt end(wid); // first the number of strong pixels of each column, then where its list ends
    end.Fill(0);
    const auto eachStrong = [&](auto visit) {
        for (int y = 0; y < hgh; y++)
            for (int x = 0; x < wid; x++)
                if (Length(u_sum(x, y), v_sum(x, y)) >= thld) visit(x, y);
    };
    eachStrong([&end](int x, int) { end(x)++; });
    int total = 0;
    for (int x = 0; x < wid; x++) {
        total += end(x);
        end(x) = total - end(x);
    }
    VecInt rows(total);
    eachStrong([&](int x, int y) { rows(end(x)++) = y; });

    Votes votes(wid, hgh);
    for (int x = 0, i = 0; x < wid; x++) {
        for (; i < end(x); i++) {
            const int y = rows(i);
            const short u = u_sum(x, y), v = v_sum(x, y);
            voteOf(votes, static_cast<float>(x), static_cast<float>(y), u, v, Length(u, v));
        }
        if (x % 100 == 0 && TestQ()) return 1;
    }
    votes.Finish(hough_sh, cx, cy);
    return TestQ() ? 1 : 0;
}

} // namespace

int OpticalFlowPostprocAlt(const MatShort& u_sum, const MatShort& v_sum, int /*len*/, float r1, float r2,
                           float r3f, float ang_speed, MatShort& hough_sh, float& cx, float& cy)
{
    const short r3 = static_cast<short>(FloatToInt(std::rint(r3f)));
    const float R3 = r3;
    const float r = (r1 + r2) / 2;
    return Vote(u_sum, v_sum, hough_sh, cx, cy,
                [=](Votes& votes, float x, float y, float u, float v, float n) {
                    if (ang_speed > 0) votes.Cast(x * n + (r * v + R3 * u), y * n - (r * u - R3 * v), n);
                    if (ang_speed < 0) votes.Cast(x * n - (r * v - R3 * u), y * n + (r * u + R3 * v), n);
                    if (r3 == 0) return;
                    if (ang_speed > 0) votes.Cast(x * n + (r * v - R3 * u), y * n - (r * u + R3 * v), n);
                    // R3 * v in the x of this point, where the others have R3 * u: it is computed like that.
                    if (ang_speed < 0) votes.Cast(x * n - (r * v + R3 * v), y * n + (r * u - R3 * v), n);
                });
}

int OpticalFlowPostprocA2(const MatShort& u_sum, const MatShort& v_sum, int /*len*/, float r1, float r2,
                          float ang_speed, MatShort& hough_sh, float& cx, float& cy)
{
    const std::int64_t first = FloatToInt(r1), last = FloatToInt(r2);
    return Vote(u_sum, v_sum, hough_sh, cx, cy,
                [=](Votes& votes, float x, float y, float u, float v, float n) {
                    float x1 = x * n, y1 = y * n, x2 = x1, y2 = y1;
                    for (std::int64_t radius = first; radius <= last; radius++) {
                        const float r = static_cast<float>(radius);
                        x1 += r * v;
                        y1 -= r * u;
                        x2 -= r * v;
                        y2 += r * u;
                        if (ang_speed > 0) votes.Cast(x1, y1, n);
                        if (ang_speed < 0) votes.Cast(x2, y2, n);
                    }
                });
}
