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
#include <Kavrix/inner/RowWiseFlow.h>
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
