// The detection, step after step.
#include <tests/reference/Detection.h>

#include <tests/reference/Filters.h>
#include <tests/reference/Numbers.h>
#include <tests/reference/Votes.h>

#include <algorithm>
#include <cmath>
#include <sstream>

namespace reference {

namespace {

void Blank(Sequence& seq, std::int64_t x0, std::int64_t x1, std::int64_t y0, std::int64_t y1)
{
    NeedRange(x0, x1);
    NeedRange(y0, y1);
    for (int t = 0; t < seq.n; ++t)
        for (std::int64_t y = y0; y <= y1; ++y)
            for (std::int64_t x = x0; x <= x1; ++x) seq.At(static_cast<int>(x), static_cast<int>(y), t) = 0;
}

} // namespace

int Mask(Sequence& seq, const Region& iroi, const std::vector<Region>& rectangles)
{
    for (const Region& oroi : rectangles) {
        std::int64_t l = std::int64_t{oroi[0]} - iroi[0];
        if (l < 0) l = 0;
        if (!(l < seq.w)) continue;
        std::int64_t t = std::int64_t{oroi[1]} - iroi[1];
        if (t < 0) t = 0;
        if (!(t < seq.h)) continue;
        const std::int64_t r =
            std::min(std::int64_t{iroi[0]} + iroi[2] - 1, std::int64_t{oroi[0]} + oroi[2] - 1 - iroi[0]);
        if (r < 0) continue;
        const std::int64_t b =
            std::min(std::int64_t{iroi[1]} + iroi[3] - 1, std::int64_t{oroi[1]} + oroi[3] - 1 - iroi[1]);
        if (b < 0) continue;

        const std::int64_t dlr = (2 * (r - l + 1)) / 7;
        const std::int64_t dtb = (2 * (b - t + 1)) / 7;
        const std::int64_t d = std::min(dlr, dtb);
        const std::int64_t rc = r - d, lc = l + d, bc = b - d, tc = t + d;
        Blank(seq, l, r, tc, bc);
        if (d < 1) continue;
        Blank(seq, lc, rc, t, tc - 1);
        Blank(seq, lc, rc, bc + 1, b);
        for (std::int64_t i = 1; i <= d - 1; ++i) {
            for (std::int64_t j = d - i; j <= d - 1; ++j) {
                Blank(seq, l + i, l + i, t + j, t + j);
                Blank(seq, r - i, r - i, t + j, t + j);
                Blank(seq, r - i, r - i, b - j, b - j);
                Blank(seq, l + i, l + i, b - j, b - j);
            }
        }
    }
    return 0;
}

int RankOf(int frames, std::int64_t percentile)
{
    const std::int64_t k = frames * percentile / 100;
    return static_cast<int>(std::clamp(k, std::int64_t{0}, std::int64_t{frames} - 1));
}

Picture<std::uint8_t> Background(const Sequence& seq, std::int64_t percentile)
{
    Picture<std::uint8_t> out(seq.w, seq.h);
    const int k = RankOf(seq.n, percentile);
    for (int row = 0; row < seq.h; ++row) {
        for (int col = 0; col < seq.w; ++col) {
            std::vector<std::uint8_t> values;
            for (int t = 0; t < seq.n; ++t) values.push_back(seq.At(col, row, t));
            std::sort(values.begin(), values.end());
            out.At(col, row) = values[static_cast<std::size_t>(k)];
        }
    }
    return out;
}

Picture<std::int16_t> Background(const std::vector<Picture<std::int16_t>>& seq, std::int64_t percentile)
{
    Picture<std::int16_t> out(seq.front().w, seq.front().h);
    const int k = RankOf(static_cast<int>(seq.size()), percentile);
    for (int row = 0; row < out.h; ++row) {
        for (int col = 0; col < out.w; ++col) {
            std::vector<std::int16_t> values;
            for (const Picture<std::int16_t>& frame : seq) values.push_back(frame.At(col, row));
            std::sort(values.begin(), values.end());
            out.At(col, row) = values[static_cast<std::size_t>(k)];
        }
    }
    return out;
}

void Overlay(Picture<std::uint8_t>& detected, const Region& oroi, const Region& iroi,
             const std::vector<float>& params)
{
    // 64 bits, since an extreme geometry puts corners near the ends of 32.
    using Int = std::int64_t;
    const auto toggle = [&](Int x, Int y) {
        if (detected.Inside(x, y)) {
            std::uint8_t& pixel = detected.At(static_cast<int>(x), static_cast<int>(y));
            pixel = pixel ^ 128;
        }
    };

    const Int l = Int{oroi[0]} - iroi[0];
    const Int t = Int{oroi[1]} - iroi[1];
    const Int r = Int{oroi[2]} + l - 1;
    const Int b = Int{oroi[3]} + t - 1;
    const Int cx = ToInt(std::rint(static_cast<float>(l) + params[2]));
    const Int cy = ToInt(std::rint(static_cast<float>(t) + params[3]));

    // Frame.
    for (const Int y : {t, t + 1, t + 2, b - 2, b - 1, b})
        for (Int x = l; x <= r; ++x) toggle(x, y);
    for (const Int x : {l, l + 1, l + 2, r - 2, r - 1, r})
        for (Int y = t + 1; y <= b - 1; ++y) toggle(x, y);

    // Cross.
    for (const Int y : {cy, cy - 1, cy + 1})
        for (Int x = std::max(cx - 10, l); x <= std::min(cx + 10, r); ++x) toggle(x, y);
    for (const Int x : {cx, cx - 1, cx + 1})
        for (Int y = std::max(cy - 10, t); y <= std::min(cy + 10, b); ++y) toggle(x, y);

    // Circles.
    for (const float R : {params[6], params[7]}) {
        const double octant = static_cast<double>(R) / std::sqrt(2.0);
        if (octant >= std::max(detected.w, detected.h)) continue;
        const Int r_divsqrt2 = ToInt(std::floor(octant));
        const float RR = R * R;
        for (Int k = 0; k <= r_divsqrt2; ++k) {
            const Int m = ToInt(std::rint(std::sqrt(static_cast<double>(RR) - static_cast<double>(k * k))));
            if (cx + k < r && cy + m < b) toggle(cx + k, cy + m);
            if (cx + k < r && t < cy - m) toggle(cx + k, cy - m);
            if (cx + m < r && cy + k < b) toggle(cx + m, cy + k);
            if (l < cx - m && cy + k < b) toggle(cx - m, cy + k);
            if (k != 0) {
                if (l < cx - k && cy + m < b) toggle(cx - k, cy + m);
                if (l < cx - k && t < cy - m) toggle(cx - k, cy - m);
                if (cx + m < r && t < cy - k) toggle(cx + m, cy - k);
                if (l < cx - m && t < cy - k) toggle(cx - m, cy - k);
            }
        }
    }

    // Radial lines.
    const float ang1 = params[9], ang2 = params[10];
    if (std::fabs(ang1 - ang2) <= 350) {
        const Int kmax = std::max({r - cx, cx - l, b - cy, cy - t});
        for (const float angle : {ang1, ang2}) {
            const float turned = angle * 3.1415927f;
            const float arad = turned / 180.0f;
            float c1 = std::cos(arad);
            float c2 = std::sin(arad);
            const float m = std::fabs(c1) > std::fabs(c2) ? std::fabs(c1) : std::fabs(c2);
            c1 = c1 / m;
            c2 = c2 / m;
            for (Int k = 1; k <= kmax - 1; ++k) {
                const Int x = ToInt(std::rint(static_cast<float>(k) * c1)) + cx;
                const Int y = ToInt(std::rint(static_cast<float>(k) * c2)) + cy;
                if (x <= l || x >= r || y <= t || y >= b) break;
                toggle(x, y);
            }
        }
    }

    // Sense arrow.
    const float angSpd = params[12];
    if (angSpd != 0 && oroi[2] >= 12 && oroi[3] >= 12) {
        for (Int i = 0; i <= 6; ++i) toggle(l + 2 + i, t + 8 - i);
        if (angSpd > 0) {
            toggle(l + 5, t + 2);
            toggle(l + 6, t + 2);
            toggle(l + 7, t + 2);
            toggle(l + 8, t + 3);
            toggle(l + 8, t + 4);
            toggle(l + 8, t + 5);
        }
        if (angSpd < 0) {
            toggle(l + 2, t + 5);
            toggle(l + 2, t + 6);
            toggle(l + 2, t + 7);
            toggle(l + 3, t + 8);
            toggle(l + 4, t + 8);
            toggle(l + 5, t + 8);
        }
    }
}

Detection Detect(int roiNr, const Sequence& seq, bool usePeriods, const std::vector<std::int32_t>& periods,
                 const std::vector<std::int32_t>& iroi, const std::vector<float>& params,
                 const std::vector<std::int32_t>& oroi, const TestQ& testq, PatternSum sum)
{
    Detection d;
    d.oroi = oroi;
    d.params = params;
    const auto fail = [&d](int code, const std::string& line) {
        d.result = code;
        d.err = line + "\n";
        return d;
    };

    // Checks.
    if (roiNr < 1 || roiNr > 4) return fail(-1, "Error 1: Invalid argument <roiNr>");
    if (iroi.size() != 5) return fail(-1, "Error 1: Invalid argument <iroi>");
    if (oroi.size() != 5) return fail(-1, "Error 1: Invalid argument <oroi>");
    if (params.size() != 14) return fail(-1, "Error 1: Invalid argument <params>");
    if (iroi[2] != seq.w || iroi[3] != seq.h)
        return fail(-1, "Error 1: Invalid input, mismatch between <seq> size and <iroi>");
    const float cx = params[2], cy = params[3], wid = params[4], hgh = params[5];
    const float innerR = params[6], outerR = params[7], R3 = params[8];
    const float angSpd = params[12], bkgCorr = params[13];
    if (!(cx < wid) || cy > hgh || innerR < 0 || !(innerR < outerR))
        return fail(-1, "Error 1: Invalid argument <params>");
    if (ToInt(std::rint(params[1])) != 0)
        return fail(-1, "Error 1: Invalid argument <params>, wmType != 0 not supported");

    d.detected = seq.Frame(0);
    d.oroi = {0, 0, ToInt(std::rint(wid)), ToInt(std::rint(hgh)), 1};

    // Flow, of all frames or of each run of frames that lie one camera frame apart.
    Picture<std::int32_t> u_sum(seq.w + 1, seq.h + 1), v_sum(seq.w + 1, seq.h + 1);
    if (!usePeriods) {
        const int retv = OpticalFlow12Alt(seq, u_sum, v_sum, 2, testq);
        if (retv == 1) return fail(-2, "Error 2: Calculation aborted");
        if (retv < 0) return fail(-3, "Error 3: Calculation failed");
    } else {
        const int hardStop = std::min(static_cast<int>(periods.size()), seq.n - 1);
        int start = 0;
        do {
            int stop = start;
            while (stop < hardStop && periods[static_cast<std::size_t>(stop)] == 1) ++stop;
            if (start < stop) {
                const int retv = OpticalFlow12Alt(seq.Frames(start, stop), u_sum, v_sum, 2, testq);
                if (retv == 1) return fail(-2, "Error 2: Calculation aborted in OpticalFlow12Alt()");
                if (retv < 0) return fail(-3, "Error 3: Calculation failed in OpticalFlow12Alt()");
            }
            start = stop + 1;
        } while (start < hardStop);
    }

    OfNorm(u_sum, v_sum, d.uSumSh, d.vSumSh, d.magSh);

    // Angles.
    float& ang1 = d.params[9];
    float& ang2 = d.params[10];
    if (ang1 < 0) ang1 = ang1 + 360;
    if (ang2 < 0) ang2 = ang2 + 360;
    if (ang1 >= 360) ang1 = ang1 - 360;
    if (ang2 >= 360) ang2 = ang2 - 360;
    if (ang2 <= ang1) ang2 = ang2 + 360;

    // Centre.
    if (R3 >= 0) {
        const int retv = OpticalFlowPostprocAlt(d.uSumSh, d.vSumSh, seq.n - 1, innerR, outerR, R3, angSpd,
                                                d.hough, d.f_cx, d.f_cy, testq);
        if (retv == 1) return fail(-2, "Error 2: Calculation aborted");
        if (retv < 0) return fail(-3, "Error 3: Calculation failed");
        int tdim1 = 0, tdim2 = 0;
        for (int pass = 0; pass < 5; ++pass) {
            const Picture<std::int16_t> tmp = SmoothShort(d.hough);
            tdim1 = tmp.w;
            tdim2 = tmp.h;
            for (int y = 1; y <= tdim2; ++y)
                for (int x = 1; x <= tdim1; ++x) d.hough.At(x, y) = tmp.At(x - 1, y - 1);
        }
        // Row and column count from the interior, one less than in the vote picture.
        int amy = 0;
        std::int16_t best = 0;
        for (int y = 0; y < tdim2; ++y) {
            std::int16_t rowMax = d.hough.At(1, y + 1);
            for (int x = 1; x < tdim1; ++x)
                if (d.hough.At(x + 1, y + 1) > rowMax) rowMax = d.hough.At(x + 1, y + 1);
            if (y == 0 || rowMax > best) {
                best = rowMax;
                amy = y;
            }
        }
        int amx = 0;
        for (int x = 1; x < tdim1; ++x)
            if (d.hough.At(x + 1, amy + 1) > d.hough.At(amx + 1, amy + 1)) amx = x;
        d.f_cy = static_cast<float>(amy);
        d.f_cx = static_cast<float>(amx);
    } else {
        FindSemiCircle(d.magSh, innerR, outerR, d.f_cx, d.f_cy, sum);
    }

    // Region. Each test is put so that not a number fails it.
    const float fleft = d.f_cx - cx, ftop = d.f_cy - cy;
    const float fright = fleft + wid, fbottom = ftop + hgh;
    const bool fits = std::rint(fleft) >= 0 && std::rint(ftop) >= 0 &&
                      std::rint(fright) < static_cast<float>(seq.w) &&
                      std::rint(fbottom) < static_cast<float>(seq.h);
    if (!fits) {
        std::ostringstream line;
        line << "Error 4: Calculated <oroi> is out of range, f_cx = " << d.f_cx << ", f_cy = " << d.f_cy;
        return fail(-4, line.str());
    }
    const int left = ToInt(std::rint(fleft)), top = ToInt(std::rint(ftop));
    d.oroi[0] = Add32(iroi[0], left);
    d.oroi[1] = Add32(iroi[1], top);

    // Background.
    if (bkgCorr < 0) {
        NeedRange(left, std::int64_t{left} + d.oroi[2] - 1);
        NeedRange(top, std::int64_t{top} + d.oroi[3] - 1);
        Sequence tmpSeq(d.oroi[2], d.oroi[3], seq.n);
        for (int f = 0; f < seq.n; ++f)
            for (int y = 0; y < tmpSeq.h; ++y)
                for (int x = 0; x < tmpSeq.w; ++x) tmpSeq.At(x, y, f) = seq.At(left + x, top + y, f);
        const std::int64_t percentile = std::abs(std::int64_t{ToInt(std::rint(bkgCorr))});
        const Picture<std::uint8_t> bg = Background(tmpSeq, percentile);
        d.bgShort = Picture<std::int16_t>(bg.w, bg.h);
        for (int y = 0; y < bg.h; ++y)
            for (int x = 0; x < bg.w; ++x) d.bgShort.At(x, y) = Mul16(bg.At(x, y), 16);
    }

    Overlay(d.detected, {d.oroi[0], d.oroi[1], d.oroi[2], d.oroi[3], d.oroi[4]},
            {iroi[0], iroi[1], iroi[2], iroi[3], iroi[4]}, d.params);
    return d;
}

} // namespace reference
