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

#include <Kavrix/inner/KXarith.h>
#include <Kavrix/inner/KXclones.h>
#include <Kavrix/inner/KXelementwise.h>
#include <Kavrix/inner/Resize.h>
#include <Kavrix/inner/NeighbourAverage.h>
#include <Kavrix/inner/Votes.h>

#include <algorithm>
#include <cmath>

using namespace kavrix::inner;

namespace {

// ---------------------------------------------------------------------------------- flow

// 16 times the grey values: smoothed inside, as they are along the border.
KAVRIX_CLONES void PrepareFrame(const MatByte& frame, MatShort& prepared)
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

// The functions on rows below are the inner loops of the flow. Their rows never overlap.

// Derivatives and denominator of n cells, from two rows of the older frame, P, and of the newer one, N.
// No sum of derivatives leaves 16 bits. Den has 16 bits on purpose: the square of a shifted derivative past
// 181 wraps, and so does the sum, and the flow relies on it.
KAVRIX_CLONES void DerivativeRow(int n, const short* __restrict P0, const short* __restrict P1,
                                 const short* __restrict N0, const short* __restrict N1, short* __restrict Ex,
                                 short* __restrict Ey, short* __restrict Et, short* __restrict Den)
{
    const short alpha2 = 25;
    for (int x = 0; x < n; x++) {
        // Both frames together, at the four corners; then the change from one to the other.
        const short s00 = WrapAdd(P0[x], N0[x]), s10 = WrapAdd(P0[x + 1], N0[x + 1]);
        const short s01 = WrapAdd(P1[x], N1[x]), s11 = WrapAdd(P1[x + 1], N1[x + 1]);
        const short t0 = WrapAdd(WrapSub(N0[x], P0[x]), WrapSub(N0[x + 1], P0[x + 1]));
        const short t1 = WrapAdd(WrapSub(N1[x], P1[x]), WrapSub(N1[x + 1], P1[x + 1]));
        const short down = WrapSub(s11, s00), across = WrapSub(s10, s01);
        Ex[x] = static_cast<short>(WrapAdd(down, across) >> 2);
        Ey[x] = static_cast<short>(WrapSub(down, across) >> 2);
        Et[x] = static_cast<short>(WrapAdd(t0, t1) >> 2);
        const short ex = static_cast<short>(Ex[x] >> 3), ey = static_cast<short>(Ey[x] >> 3);
        Den[x] = WrapAdd(alpha2, WrapAdd(WrapMul(ex, ex), WrapMul(ey, ey)));
    }
}

// The neighbour averages of n cells from three rows of flow, which begin one column left of the cells.
KAVRIX_CLONES void AverageRow(int n, const short* __restrict above, const short* __restrict middle,
                              const short* __restrict below, short* __restrict average)
{
    for (int x = 0; x < n; x++)
        average[x] = NeighbourAverage(above[x], above[x + 1], above[x + 2], middle[x], middle[x + 2],
                                      below[x], below[x + 1], below[x + 2]);
}

// One row of the first sweep, from zero flow: u = -(Et Ex) / Den, truncated.
// The products stay below 4080^2 < 2^24, so that they are exact as floats; and a float quotient, cut, is the
// integer quotient: one that is not whole falls short of the next whole number k by at least 1/|Den|, and the
// rounding, at most k 2^-24, reaches that only for products of 2^24 - 1 and more.
KAVRIX_CLONES void FirstSweepRow(int n, const short* __restrict Ex, const short* __restrict Ey,
                                 const short* __restrict Et, const short* __restrict Den, short* __restrict u,
                                 short* __restrict v)
{
    for (int x = 0; x < n; x++) {
        const float den = Den[x];
        u[x] = static_cast<short>(-static_cast<int>(static_cast<float>(Et[x] * Ex[x]) / den));
        v[x] = static_cast<short>(-static_cast<int>(static_cast<float>(Et[x] * Ey[x]) / den));
    }
}

// One row of a later sweep, from the averages ua and va.
// Both quotients come from one reciprocal in double, a little too large: q = a (1 + 2^-40) / Den with an
// error below |q| 2^-50. A whole quotient is thus never missed from below. Any other falls short of the next
// whole number by at least 1/|Den| >= |q| 2^-31, which the excess of |q| 2^-40 does not reach.
//
// Den wraps, and still is never 0 nor -1 (where the lowest number would have no quotient): it is 25 plus two
// squares, modulo 65536. For 0 the squares would have to be 3 modulo 4 together, and squares are 0 or 1
// there; for -1 they would have to be 6 modulo 8, and squares are 0, 1 or 4 there.
KAVRIX_CLONES void SweepRow(int n, const short* __restrict ua, const short* __restrict va,
                            const short* __restrict Ex, const short* __restrict Ey,
                            const short* __restrict Et, const short* __restrict Den, short* __restrict u,
                            short* __restrict v)
{
    const double slightlyMoreThanOne = 1.0 + 0x1p-40;
    for (int x = 0; x < n; x++) {
        const int num = WrapAdd(WrapAdd<int>(ua[x] * Ex[x], va[x] * Ey[x]), int{Et[x]});
        const double reciprocal = slightlyMoreThanOne / Den[x];
        u[x] =
            static_cast<short>(WrapSub<int>(ua[x], static_cast<int>(WrapMul<int>(num, Ex[x]) * reciprocal)));
        v[x] =
            static_cast<short>(WrapSub<int>(va[x], static_cast<int>(WrapMul<int>(num, Ey[x]) * reciprocal)));
    }
}

// The checkpoints of a pair of frames. They are asked before the pair is computed, since a pair goes into the
// sums row by row: an abort never leaves part of one there.
bool PairIsCancelled(int hgh, int nrIters)
{
    const auto cancelled = [](int times) {
        for (int i = 0; i < times; i++)
            if (TestQ()) return true;
        return false;
    };
    const int stepsBefore = 6;                 // the frame, three derivatives, two halves of the denominator
    const int rowsOfASweep = (hgh + 98) / 100; // one for every 100 rows of hgh - 1 or part of them
    if (cancelled(stepsBefore)) return true;
    for (int iter = 1; iter <= nrIters; iter++)
        if (cancelled(rowsOfASweep + 1)) return true;
    return false;
}

// The flow of one pair of frames after another, in rows that stay in the processor's nearest cache.
//
// Sweep k needs the rows y - 1, y, y + 1 of sweep k - 1. So the sweeps follow each other at a distance of one
// row, each a step behind the one before, with the derivatives in front:
//
//     step s:   derivatives of row s | sweep 1, row s - 1 | sweep 2, row s - 2 | ... | added to the sums
//
// Of every sweep only the last 4 rows of flow are kept, of the derivatives one row for each sweep and one
// more.
class RowWiseFlow {
public:
    RowWiseFlow(int wid, int hgh, int nrIters)
        : rows(hgh - 1), cells(wid - 1), sweeps(nrIters), kept(std::min(nrIters, rows - 1) + 1),
          active(std::min(nrIters, rows + 1)), Ex(cells, kept), Ey(cells, kept), Et(cells, kept),
          Den(cells, kept), u_ave(cells), v_ave(cells), u(wid + 1, 4, active), v(wid + 1, 4, active)
    {
    }

    // Adds the flow from the prepared frame P to N.
    void AddPair(const MatShort& P, const MatShort& N, MatInt& u_sum, MatInt& v_sum)
    {
        for (std::int64_t step = 0; step < std::int64_t{rows} + sweeps; step++) {
            if (step < rows) Derive(P, N, static_cast<int>(step));
            const int first = static_cast<int>(std::max<std::int64_t>(step - rows + 1, 1));
            const int last = static_cast<int>(std::min<std::int64_t>(step, sweeps));
            for (int k = first; k <= last; k++) {
                const int y = static_cast<int>(step - k);
                Sweep(k, y);
                if (k < sweeps) continue;
                if (y == 0) AddRow(0, u_sum, v_sum);
                AddRow(y + 1, u_sum, v_sum);
                if (y == rows - 1) AddRow(rows + 1, u_sum, v_sum);
            }
        }
    }

private:
    // Flow row j (cell row j - 1) of sweep k; 0 and rows + 1 are the frame.
    short* U(int k, int j) const { return &u(0, j % 4, k % active); }
    short* V(int k, int j) const { return &v(0, j % 4, k % active); }

    void Derive(const MatShort& P, const MatShort& N, int y)
    {
        const int i = y % kept;
        DerivativeRow(cells, &P(0, y), &P(0, y + 1), &N(0, y), &N(0, y + 1), &Ex(0, i), &Ey(0, i), &Et(0, i),
                      &Den(0, i));
    }

    void Sweep(int k, int y)
    {
        const int i = y % kept, j = y + 1;
        short *const uRow = U(k, j), *const vRow = V(k, j);
        if (k == 1) {
            FirstSweepRow(cells, &Ex(0, i), &Ey(0, i), &Et(0, i), &Den(0, i), uRow + 1, vRow + 1);
        } else {
            AverageRow(cells, U(k - 1, j - 1), U(k - 1, j), U(k - 1, j + 1), &u_ave(0));
            AverageRow(cells, V(k - 1, j - 1), V(k - 1, j), V(k - 1, j + 1), &v_ave(0));
            SweepRow(cells, &u_ave(0), &v_ave(0), &Ex(0, i), &Ey(0, i), &Et(0, i), &Den(0, i), uRow + 1,
                     vRow + 1);
        }

        // The frame is uneven on purpose: u gets its top and bottom rows, v its left and right columns. The
        // left and right columns of u and the top and bottom rows of v are 0 and enter the next averages, and
        // the sums, as zeros.
        uRow[0] = uRow[cells + 1] = 0;
        vRow[0] = vRow[1];
        vRow[cells + 1] = vRow[cells];
        if (y == 0) FrameRow(k, 0, uRow);
        if (y == rows - 1) FrameRow(k, rows + 1, uRow);
    }

    void FrameRow(int k, int j, const short* uNeighbour)
    {
        std::copy_n(uNeighbour, cells + 2, U(k, j));
        std::fill_n(V(k, j), cells + 2, short{0});
    }

    void AddRow(int j, MatInt& u_sum, MatInt& v_sum)
    {
        const auto add = [width = cells + 2](const MatInt& sum, int y, short* row) {
            ElementwiseOver(
                {width, 1, 1}, [](int& p, short q) { p = WrapAdd<int>(p, q); }, ViewOf<int>(sum).Row(y),
                Strided<short>{row, 1, 0, 0});
        };
        add(u_sum, j, U(sweeps, j));
        add(v_sum, j, V(sweeps, j));
    }

    const int rows, cells; // of derivatives
    const int sweeps;
    const int kept;   // rows of derivatives
    const int active; // sweeps that are under way at a time, and one more
    MatShort Ex, Ey, Et, Den;
    VecShort u_ave, v_ave;
    CubShort u, v; // (wid + 1) x 4 rows x sweeps
};

} // namespace

int OpticalFlow12Alt(CubByte& ori, MatInt& u_sum, MatInt& v_sum, int nrIters)
{
    if (TestQ()) return 1;
    const int wid = ori.dim1, hgh = ori.dim2, len = ori.dim3;
    const auto fits = [=](const MatInt& sum) { return sum.dim1 == wid + 1 && sum.dim2 == hgh + 1; };
    if (!fits(u_sum) || !fits(v_sum)) return -1;

    MatShort prepared[2] = {{wid, hgh}, {wid, hgh}}; // frame t in prepared[t % 2]
    RowWiseFlow flow(wid, hgh, std::max(nrIters, 1));
    if (len > 0) PrepareFrame(ori(RNG::All(), RNG::All(), 0), prepared[0]);
    if (TestQ()) return 1;

    for (int t = 0; t < len - 1; t++) {
        if (PairIsCancelled(hgh, nrIters)) return 1;
        PrepareFrame(ori(RNG::All(), RNG::All(), t + 1), prepared[(t + 1) % 2]);
        if (nrIters >= 1) flow.AddPair(prepared[t % 2], prepared[(t + 1) % 2], u_sum, v_sum);
    }
    return TestQ() ? 1 : 0;
}

// ---------------------------------------------------------------------------------- normalisation

namespace {

// Scaled components and their magnitude. The products keep their upper 12 bits: the components lie within
// -2048..2047 and the sum of their squares stays below 2^24, where the square root in single precision, cut,
// is that in double precision, cut: the root of a number that is no square lies further below the next whole
// number than single precision rounds.
KAVRIX_CLONES void ScaleFlow(const MatInt& u_sum, const MatInt& v_sum, int factor, MatShort& u_sum_sh,
                             MatShort& v_sum_sh, MatShort& mag_sh)
{
    ElementwiseOver(
        ShapeOf(u_sum),
        [factor](short& us, short& vs, short& mag, int u, int v) {
            us = static_cast<short>(WrapMul(factor, u) >> 20);
            vs = static_cast<short>(WrapMul(factor, v) >> 20);
            mag = static_cast<short>(static_cast<int>(std::sqrt(static_cast<float>(us * us + vs * vs))));
        },
        ViewOf<short>(u_sum_sh), ViewOf<short>(v_sum_sh), ViewOf<short>(mag_sh), ViewOf<int>(u_sum),
        ViewOf<int>(v_sum));
}

} // namespace

void OF_Norm(const MatInt& u_sum, const MatInt& v_sum, MatShort& u_sum_sh, MatShort& v_sum_sh,
             MatShort& mag_sh)
{
    Trace trace("OF_Norm");
    u_sum_sh.Resize(u_sum.dim1, u_sum.dim2);
    v_sum_sh.Resize(v_sum.dim1, v_sum.dim2);
    const bool kept = ResizeTo<short>(mag_sh, v_sum.dim1, v_sum.dim2);

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

    ScaleFlow(u_sum, v_sum, 2000000000 / maxv, u_sum_sh, v_sum_sh, mag_sh);
}

// ---------------------------------------------------------------------------------- histograms

void CumHistogram(const MatShort& img, VecInt& chist)
{
    if (chist.dim1 < 1) return;
    const int last = chist.dim1 - 1;
    // Neighbours are counted in different tables: they are often equal, and one counter's increments would
    // wait for each other.
    MatInt tables(chist.dim1, 4);
    tables.Fill(0);
    Elementwise<short>(img, [counts = &tables(0, 0), length = chist.dim1, i = 0u](short p) mutable {
        counts[static_cast<int>(i++ % 4) * length + std::clamp(p + 2048, 0, length - 1)]++;
    });
    chist.Fill(0);
    for (int i = 0; i < 4; i++) chist += tables(RNG::All(), i);
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

// What both forms of the vote share. voteOf(votes, x, y, u, v, n) casts the votes of one strong pixel.
// The pixels vote column by column, x outermost: the float sums depend on that order.
template <class F>
int Vote(const MatShort& u_sum, const MatShort& v_sum, MatShort& hough_sh, float& cx, float& cy, F voteOf)
{
    if (TestQ()) return 1;
    const int wid = u_sum.dim1, hgh = u_sum.dim2;
    if (!ResizeTo<short>(hough_sh, wid, hgh)) hough_sh.Fill(0); // a cancelled vote leaves it like that

    // Of the first component alone, not of the magnitude.
    VecInt chist(4096);
    CumHistogram(u_sum, chist);
    const double pixels = static_cast<double>(wid) * hgh;
    const float thld =
        static_cast<float>(PercThreshold(chist, static_cast<float>(1.0 - 250.0 / pixels)) - 2048);
    if (TestQ()) return 1;

    const StrongPixels strong(u_sum, v_sum, thld);
    Votes votes(wid, hgh);
    for (int x = 0, i = 0; x < wid; x++) {
        for (; i < strong.End(x); i++) {
            const int y = strong.Row(i);
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
