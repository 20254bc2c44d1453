// Masks, background and detection.
#include <Telvane/Telvane.h>

#include <Telvane/Overlay.h>
#include <Telvane/Param.h>
#include <Telvane/Region.h>

#include <Kavrix/Convert_Bs.h>
#include <Kavrix/FindSemiCircle.h>
#include <Kavrix/OptFlow.h>
#include <Kavrix/inner/KXarith.h>
#include <Kavrix/inner/KXclones.h>
#include <Kavrix/inner/KXelementwise.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <iostream>
#include <limits>

using namespace kavrix::inner;
using telvane::Param, telvane::Region, telvane::RegionOf, telvane::Store;

// ---------------------------------------------------------------------------------- masks

namespace {

int HeldToInt(std::int64_t value)
{
    return static_cast<int>(std::clamp<std::int64_t>(value, INT32_MIN, INT32_MAX));
}

RNG Span(std::int64_t from, std::int64_t to) { return RNG(HeldToInt(from), HeldToInt(to)); }

} // namespace

int Mask(CubByte seq, VecInt iroi, VecInt* oroiArr, int oroiCount)
{
    using Int = std::int64_t; // the rectangles come from a command line: no sum of theirs may overflow
    for (int k = 0; k < oroiCount; k++) {
        const Region in = RegionOf(iroi), out = RegionOf(oroiArr[k]);
        const Int l = std::max<Int>(Int{out.left} - in.left, 0);
        if (l >= seq.dim1) continue;
        const Int t = std::max<Int>(Int{out.top} - in.top, 0);
        if (t >= seq.dim2) continue;
        // Held to the region's far edge in FULL-FRAME pixels, also where the region does not start at 0.
        const Int r = std::min<Int>(Int{in.left} + in.width - 1, Int{out.left} + out.width - 1 - in.left);
        if (r < 0) continue;
        const Int b = std::min<Int>(Int{in.top} + in.height - 1, Int{out.top} + out.height - 1 - in.top);
        if (b < 0) continue;

        const Int d = std::min<Int>(2 * (r - l + 1) / 7, 2 * (b - t + 1) / 7); // the corners' cut
        const Int rc = r - d, lc = l + d, bc = b - d, tc = t + d;
        const auto blank = [&seq](RNG rx, RNG ry) { seq(rx, ry, RNG::All()).Fill(0); };
        blank(Span(l, r), Span(tc, bc));
        if (d < 1) continue;
        blank(Span(lc, rc), Span(t, tc - 1));
        blank(Span(lc, rc), Span(bc + 1, b));
        // The corners, in columns of their own: from the cut's diagonal inwards. Column 0 keeps its pixels.
        for (Int i = 1; i < d; i++) {
            blank(Span(l + i, l + i), Span(t + d - i, tc - 1));
            blank(Span(r - i, r - i), Span(t + d - i, tc - 1));
            blank(Span(r - i, r - i), Span(bc + 1, b - d + i));
            blank(Span(l + i, l + i), Span(bc + 1, b - d + i));
        }
    }
    return 0;
}

// ---------------------------------------------------------------------------------- background

namespace {

// For every pixel the smallest value that more than k frames do not exceed, which is the value of rank k. It
// is found bit by bit from the top, for a row of pixels at a time: a bit is set where no more than k frames
// lie below the value that it begins. Every step is the same for all pixels, so that rows are done in
// vectors, which selecting pixel by pixel does not allow.
template <class T> inline void RankOfEachPixel(const KX_Base& seq, const KX_Base& background, int k)
{
    const Shape row{seq.dim1, 1, 1};
    VecInt value(seq.dim1), below(seq.dim1);
    for (int y = 0; y < seq.dim2; y++) {
        value.Fill(std::numeric_limits<T>::lowest());
        for (int bit = 1 << (8 * sizeof(T) - 1); bit > 0; bit /= 2) {
            below.Fill(0);
            for (int z = 0; z < seq.dim3; z++) {
                ElementwiseOver(
                    row, [bit](int& n, int v, T pixel) { n += pixel < v + bit; }, ViewOf<int>(below),
                    ViewOf<int>(value), ViewOf<T>(seq).Row(y, z));
            }
            Elementwise<int, int>(value, below, [bit, k](int& v, int n) { v += n <= k ? bit : 0; });
        }
        ElementwiseOver(
            row, [](T& p, int v) { p = static_cast<T>(v); }, ViewOf<T>(background).Row(y),
            ViewOf<int>(value));
    }
}

KAVRIX_CLONES void RankOfEachByte(const CubByte& seq, const MatByte& background, int k)
{
    RankOfEachPixel<UBYTE>(seq, background, k);
}

KAVRIX_CLONES void RankOfEachShort(const CubShort& seq, const MatShort& background, int k)
{
    RankOfEachPixel<short>(seq, background, k);
}

int RankOf(int percentile, int seqLen)
{
    return static_cast<int>(std::clamp<std::int64_t>(std::int64_t{seqLen} * percentile / 100, 0, seqLen - 1));
}

} // namespace

void GetBackground(CubByte& seq, MatByte& background, int percentile)
{
    background.Resize(seq.dim1, seq.dim2);
    if (seq.dim3 < 1) background.Fill(0);
    else RankOfEachByte(seq, background, RankOf(percentile, seq.dim3));
}

void GetBackground(CubShort& seq, MatShort& background, int percentile)
{
    Trace trace("GetBackground");
    background.Resize(seq.dim1, seq.dim2);
    if (seq.dim3 < 1) background.Fill(0);
    else RankOfEachShort(seq, background, RankOf(percentile, seq.dim3));
}

// ---------------------------------------------------------------------------------- detection

namespace {

int Fail(int code, const char* message)
{
    std::cerr << message << std::endl;
    return code;
}

// The lines of a motion function's result: 1 aborted, below 0 failed. 0 when it went well.
int FailureOf(int retv, const char* aborted, const char* failed)
{
    if (retv == 1) return Fail(-2, aborted);
    if (retv < 0) return Fail(-3, failed);
    return 0;
}

// One flow for each run of frames that entries of 1 in `periods` join; no pair spans any other entry.
int FlowOfRuns(const CubByte& seq, const VecInt& periods, MatInt& u_sum, MatInt& v_sum, int nrIters)
{
    const int hardStop = std::min(periods.dim1, seq.dim3 - 1);
    int start = 0;
    do {
        int stop = start;
        while (stop < hardStop && periods(stop) == 1) stop++;
        if (start < stop) {
            CubByte sq = seq(RNG::All(), RNG::All(), RNG(start, stop));
            const int retv = OpticalFlow12Alt(sq, u_sum, v_sum, nrIters);
            if (retv == 1 || retv < 0) return retv;
        }
        start = stop + 1;
    } while (start < hardStop);
    return 0;
}

// The highest vote after smoothing: first row, then column, in coordinates of the smoothed inside.
void FindPeak(MatShort& hough, float& f_cx, float& f_cy)
{
    MatShort tmp;
    tmp.Smooth(hough);
    const short tdim1 = static_cast<short>(tmp.dim1), tdim2 = static_cast<short>(tmp.dim2);
    MatShort inside = hough(RNG(1, tdim1), RNG(1, tdim2)); // the border of hough keeps its values
    inside = tmp;
    for (int pass = 2; pass <= 5; pass++) {
        tmp.Smooth(hough);
        inside = tmp;
    }
    const int amy = Argmax(Max(inside));
    f_cy = static_cast<float>(amy);
    f_cx = static_cast<float>(Argmax(inside(RNG::All(), amy)));
}

void NormaliseAngles(float& ang1, float& ang2)
{
    if (ang1 < 0) ang1 += 360;
    if (ang2 < 0) ang2 += 360;
    if (ang1 >= 360) ang1 -= 360;
    if (ang2 >= 360) ang2 -= 360;
    if (ang2 <= ang1) ang2 += 360;
}

} // namespace

int Detect(int roiNr, CubByte seq, bool use_periods, VecInt periods, VecInt iroi, VecFloat params,
           VecInt& oroi, MatByte& detected, MatShort& hough, MatShort& u_sum_sh, MatShort& v_sum_sh,
           MatShort& mag_sh, MatShort& bgShort)
{
    // Arguments.
    if (roiNr < 1 || roiNr > 4) return Fail(-1, "Error 1: Invalid argument <roiNr>");
    if (iroi.dim1 != 5) return Fail(-1, "Error 1: Invalid argument <iroi>");
    if (oroi.dim1 != 5) return Fail(-1, "Error 1: Invalid argument <oroi>");
    if (params.dim1 != Param::length) return Fail(-1, "Error 1: Invalid argument <params>");
    // A sequence without frames has no size either.
    if (RegionOf(iroi).width != seq.dim1 || RegionOf(iroi).height != seq.dim2 || seq.dim3 < 1)
        return Fail(-1, "Error 1: Invalid input, mismatch between <seq> size and <iroi>");
    const float cx = params(Param::cx), cy = params(Param::cy);
    const float wid = params(Param::wid), hgh = params(Param::hgh);
    const float innerR = params(Param::innerR), outerR = params(Param::outerR);
    const float R3 = params(Param::R3), angSpd = params(Param::angSpd);
    // cy may equal hgh, cx may not equal wid: uneven, so that every command line keeps its answer.
    if (!(cx < wid) || cy > hgh || innerR < 0 || !(innerR < outerR))
        return Fail(-1, "Error 1: Invalid argument <params>");
    if (FloatToInt(std::rint(params(Param::wmType))) != 0)
        return Fail(-1, "Error 1: Invalid argument <params>, wmType != 0 not supported");

    detected = seq(RNG::All(), RNG::All(), 0); // a copy: the marks do not reach the sequence
    oroi.Resize(5);
    Store({0, 0, FloatToInt(std::rint(wid)), FloatToInt(std::rint(hgh))}, oroi);

    // Flow.
    const int nrIters = 2;
    {
        MatInt u_sum(seq.dim1 + 1, seq.dim2 + 1), v_sum(seq.dim1 + 1, seq.dim2 + 1);
        u_sum.Fill(0);
        v_sum.Fill(0);
        if (use_periods) {
            if (const int code = FailureOf(FlowOfRuns(seq, periods, u_sum, v_sum, nrIters),
                                           "Error 2: Calculation aborted in OpticalFlow12Alt()",
                                           "Error 3: Calculation failed in OpticalFlow12Alt()"))
                return code;
        } else {
            if (const int code = FailureOf(OpticalFlow12Alt(seq, u_sum, v_sum, nrIters),
                                           "Error 2: Calculation aborted", "Error 3: Calculation failed"))
                return code;
        }
        OF_Norm(u_sum, v_sum, u_sum_sh, v_sum_sh, mag_sh);
    }
    NormaliseAngles(params(Param::ang1), params(Param::ang2));

    // Centre.
    float f_cx = 0, f_cy = 0;
    if (R3 >= 0) {
        if (const int code = FailureOf(OpticalFlowPostprocAlt(u_sum_sh, v_sum_sh, seq.dim3 - 1, innerR,
                                                              outerR, R3, angSpd, hough, f_cx, f_cy),
                                       "Error 2: Calculation aborted", "Error 3: Calculation failed"))
            return code;
        FindPeak(hough, f_cx, f_cy);
    } else {
        FindSemiCircle(mag_sh, innerR, outerR, f_cx, f_cy);
    }

    // Output region. It must end at least one pixel inside; what is not a number does not pass either.
    const bool inRange = std::rint(f_cx - cx) >= 0 && std::rint(f_cy - cy) >= 0 &&
                         std::rint(f_cx - cx + wid) < static_cast<float>(seq.dim1) &&
                         std::rint(f_cy - cy + hgh) < static_cast<float>(seq.dim2);
    if (!inRange) {
        std::cerr << "Error 4: Calculated <oroi> is out of range, f_cx = " << f_cx << ", f_cy = " << f_cy
                  << std::endl;
        return -4;
    }
    const int left = FloatToInt(std::rint(f_cx - cx)), top = FloatToInt(std::rint(f_cy - cy));
    const Region in = RegionOf(iroi), size = RegionOf(oroi);
    Store({WrapAdd(in.left, left), WrapAdd(in.top, top), size.width, size.height}, oroi);

    // Background.
    const float bkgCorr = params(Param::bkgCorr);
    if (bkgCorr < 0) {
        CubByte tmpSeq = seq(Span(left, std::int64_t{left} + size.width - 1),
                             Span(top, std::int64_t{top} + size.height - 1), RNG::All());
        MatByte background;
        const std::int64_t percentile = -std::int64_t{FloatToInt(std::rint(bkgCorr))};
        GetBackground(tmpSeq, background, HeldToInt(percentile));
        Convert(background, bgShort);
        bgShort *= short{16};
    }

    telvane::MarkResult(detected, RegionOf(iroi), RegionOf(oroi), params);
    return 0;
}
