// Masks, background, detection and the marks that show its result.
#include <Telvane/Telvane.h>

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
        const VecInt oroi = oroiArr[k];
        const Int l = std::max<Int>(Int{oroi(0)} - iroi(0), 0);
        if (l >= seq.dim1) continue;
        const Int t = std::max<Int>(Int{oroi(1)} - iroi(1), 0);
        if (t >= seq.dim2) continue;
        // Held to the region's far edge in FULL-FRAME pixels, also where the region does not start at 0.
        const Int r = std::min<Int>(Int{iroi(0)} + iroi(2) - 1, Int{oroi(0)} + oroi(2) - 1 - iroi(0));
        if (r < 0) continue;
        const Int b = std::min<Int>(Int{iroi(1)} + iroi(3) - 1, Int{oroi(1)} + oroi(3) - 1 - iroi(1));
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

// ---------------------------------------------------------------------------------- marks

namespace {

// Marks the result on a picture. Every mark toggles the top bit of a pixel, so that it shows on dark and on
// light ground; where two marks meet the pixel shows its old value again, which is kept: the frame's inner
// corners, the middle of the cross and the circles' 45-degree points show it.
class Overlay {
public:
    Overlay(MatByte& detected, const VecInt& iroi, const VecInt& oroi, const VecFloat& params)
        : picture(detected), l(Int{oroi(0)} - iroi(0)), t(Int{oroi(1)} - iroi(1)), r(oroi(2) + l - 1),
          b(oroi(3) + t - 1), cx(Rounded(static_cast<float>(l) + params(2))),
          cy(Rounded(static_cast<float>(t) + params(3)))
    {
    }

    // Three pixels thick, along the inside of the region's edges.
    void Frame()
    {
        for (const Int y : {t, t + 1, t + 2, b - 2, b - 1, b}) ToggleRow(l, r, y);
        for (const Int x : {l, l + 1, l + 2, r - 2, r - 1, r}) ToggleColumn(x, t + 1, b - 1);
    }

    // Three pixels thick, arms of 10 pixels, cut at the region's edges.
    void CentreCross()
    {
        for (const Int y : {cy, cy - 1, cy + 1}) ToggleRow(std::max(cx - 10, l), std::min(cx + 10, r), y);
        for (const Int x : {cx, cx - 1, cx + 1}) ToggleColumn(x, std::max(cy - 10, t), std::min(cy + 10, b));
    }

    // By eight-fold symmetry; nothing on or outside the region's edges on the far side of each point.
    void Circle(float R)
    {
        const double divsqrt2 = std::floor(static_cast<double>(R) / std::sqrt(2.0));
        if (!(divsqrt2 < std::max(picture.dim1, picture.dim2))) return; // wholly outside the picture
        const Int kmax = static_cast<Int>(divsqrt2);
        for (Int k = 0; k <= kmax; k++) {
            const double square = static_cast<double>(R * R) - static_cast<double>(k * k);
            const Int m = Rounded(std::sqrt(square));
            if (cx + k < r && cy + m < b) Toggle(cx + k, cy + m);
            if (cx + k < r && t < cy - m) Toggle(cx + k, cy - m);
            if (cx + m < r && cy + k < b) Toggle(cx + m, cy + k);
            if (l < cx - m && cy + k < b) Toggle(cx - m, cy + k);
            if (k == 0) continue;
            if (l < cx - k && cy + m < b) Toggle(cx - k, cy + m);
            if (l < cx - k && t < cy - m) Toggle(cx - k, cy - m);
            if (cx + m < r && t < cy - k) Toggle(cx + m, cy - k);
            if (l < cx - m && t < cy - k) Toggle(cx - m, cy - k);
        }
    }

    // From the centre at an angle in degrees, clockwise from +x, one pixel a step along the major axis, up to
    // the region's edge.
    void RadialLine(float angle)
    {
        const float arad = angle * 3.1415927f / 180.0f;
        float c1 = std::cos(arad), c2 = std::sin(arad);
        const float m = std::fabs(c1) > std::fabs(c2) ? std::fabs(c1) : std::fabs(c2);
        c1 /= m;
        c2 /= m;
        const Int kmax = std::max({r - cx, cx - l, b - cy, cy - t});
        for (Int k = 1; k < kmax; k++) {
            const Int x = Rounded(static_cast<float>(k) * c1) + cx,
                      y = Rounded(static_cast<float>(k) * c2) + cy;
            if (x <= l || x >= r || y <= t || y >= b) break;
            Toggle(x, y);
        }
    }

    // A diagonal arrow in the region's top left corner; only regions of 12 x 12 and more have room for it. A
    // speed that is not a number gives it no head.
    void SenseArrow(float angSpd)
    {
        if (r - l + 1 < 12 || b - t + 1 < 12) return;
        for (int i = 0; i < 7; i++) Toggle(l + 2 + i, t + 8 - i);
        if (angSpd > 0) {
            for (int i = 5; i <= 7; i++) Toggle(l + i, t + 2);
            for (int i = 3; i <= 5; i++) Toggle(l + 8, t + i);
        } else if (angSpd < 0) {
            for (int i = 5; i <= 7; i++) Toggle(l + 2, t + i);
            for (int i = 3; i <= 5; i++) Toggle(l + i, t + 8);
        }
    }

private:
    using Int = std::int64_t; // no sum of coordinates and radii overflows

    template <class F> static Int Rounded(F value) { return FloatToInt(std::rint(value)); }

    // Marks outside the picture are left out singly.
    void Toggle(Int x, Int y)
    {
        if (0 <= x && x < picture.dim1 && 0 <= y && y < picture.dim2)
            picture(static_cast<int>(x), static_cast<int>(y)) ^= 128;
    }

    void ToggleRow(Int from, Int to, Int y)
    {
        for (Int x = from; x <= to; x++) Toggle(x, y);
    }

    void ToggleColumn(Int x, Int from, Int to)
    {
        for (Int y = from; y <= to; y++) Toggle(x, y);
    }

    MatByte& picture;
    const Int l, t, r, b; // the output region in the picture, inclusive
    const Int cx, cy;     // the centre
};

void MarkResult(MatByte& detected, const VecInt& iroi, const VecInt& oroi, const VecFloat& params)
{
    Overlay overlay(detected, iroi, oroi, params);
    overlay.Frame();
    overlay.CentreCross();
    overlay.Circle(params(6));
    overlay.Circle(params(7));
    if (std::fabs(params(9) - params(10)) <= 350) {
        overlay.RadialLine(params(9));
        overlay.RadialLine(params(10));
    }
    if (params(12) != 0) overlay.SenseArrow(params(12));
}

// ---------------------------------------------------------------------------------- detection

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
    if (params.dim1 != 14) return Fail(-1, "Error 1: Invalid argument <params>");
    // A sequence without frames has no size either.
    if (iroi(2) != seq.dim1 || iroi(3) != seq.dim2 || seq.dim3 < 1)
        return Fail(-1, "Error 1: Invalid input, mismatch between <seq> size and <iroi>");
    const float cx = params(2), cy = params(3), wid = params(4), hgh = params(5);
    const float innerR = params(6), outerR = params(7), R3 = params(8), angSpd = params(12);
    // cy may equal hgh, cx may not equal wid: uneven, and kept so.
    if (!(cx < wid) || cy > hgh || innerR < 0 || !(innerR < outerR))
        return Fail(-1, "Error 1: Invalid argument <params>");
    if (FloatToInt(std::rint(params(1))) != 0)
        return Fail(-1, "Error 1: Invalid argument <params>, wmType != 0 not supported");

    detected = seq(RNG::All(), RNG::All(), 0); // a copy: the marks do not reach the sequence
    oroi.Resize(5);
    oroi(0) = oroi(1) = 0;
    oroi(2) = FloatToInt(std::rint(wid));
    oroi(3) = FloatToInt(std::rint(hgh));
    oroi(4) = 1;

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
    NormaliseAngles(params(9), params(10));

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
    oroi(0) = WrapAdd(iroi(0), left);
    oroi(1) = WrapAdd(iroi(1), top);

    // Background.
    const float bkgCorr = params(13);
    if (bkgCorr < 0) {
        CubByte tmpSeq = seq(Span(left, std::int64_t{left} + oroi(2) - 1),
                             Span(top, std::int64_t{top} + oroi(3) - 1), RNG::All());
        MatByte background;
        const std::int64_t percentile = -std::int64_t{FloatToInt(std::rint(bkgCorr))};
        GetBackground(tmpSeq, background, HeldToInt(percentile));
        Convert(background, bgShort);
        bgShort *= short{16};
    }

    MarkResult(detected, iroi, oroi, params);
    return 0;
}
