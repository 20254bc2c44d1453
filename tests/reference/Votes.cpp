// The votes, pixel after pixel.
#include <tests/reference/Votes.h>

#include <tests/reference/Numbers.h>

#include <algorithm>
#include <cmath>

namespace reference {

std::vector<std::int32_t> CumHistogram(const Picture<std::int16_t>& img, int bins)
{
    std::vector<std::int32_t> chist(static_cast<std::size_t>(bins), 0);
    for (int y = 0; y < img.h; ++y) {
        for (int x = 0; x < img.w; ++x) {
            int bin = img.At(x, y) + 2048;
            if (bin < 0) bin = 0;
            if (bin >= bins) bin = bins - 1;
            chist[static_cast<std::size_t>(bin)] += 1;
        }
    }
    for (std::size_t k = 1; k < chist.size(); ++k) chist[k] = Add32(chist[k], chist[k - 1]);
    return chist;
}

std::int16_t PercThreshold(const std::vector<std::int32_t>& chist, float fraction)
{
    const int last = static_cast<int>(chist.size()) - 1;
    const float total = static_cast<float>(chist[static_cast<std::size_t>(last)]);
    const std::int32_t nr = ToInt(std::rint(total * fraction));
    int k;
    if (fraction > 0.5f) {
        k = last;
        while (chist[static_cast<std::size_t>(k)] > nr && k > 0) --k;
    } else {
        k = 0;
        while (chist[static_cast<std::size_t>(k)] < nr && k < last) ++k;
    }
    return Low16(k);
}

namespace {

// The value above which about 250 pixels of the first flow component lie.
float ThresholdOf(const Picture<std::int16_t>& uSum)
{
    const double pixels = static_cast<double>(uSum.w) * static_cast<double>(uSum.h);
    const float fraction = static_cast<float>(1.0 - 250.0 / pixels);
    const int bin = PercThreshold(CumHistogram(uSum), fraction);
    return static_cast<float>(bin - 2048);
}

struct Ballot {
    Picture<std::int32_t> hough;
    float sx = 0, sy = 0, mx = 0, my = 0;
};

// One vote for the point (tmpx, tmpy), which comes multiplied by n.
void Vote(Ballot& b, float tmpx, float tmpy, float n)
{
    const float right = static_cast<float>(b.hough.w) * n;
    const float bottom = static_cast<float>(b.hough.h) * n;
    if (!(0 <= tmpx && tmpx < right && 0 <= tmpy && tmpy < bottom)) return;
    const std::int16_t ix = Low16(ToInt(tmpx / n));
    const std::int16_t iy = Low16(ToInt(tmpy / n));
    // The quotient can round up to the width or height: such a vote has no cell, but it counts in the
    // centroid.
    if (b.hough.Inside(ix, iy)) {
        const float weight = n * 100.0f;
        b.hough.At(ix, iy) = Add32(b.hough.At(ix, iy), ToInt(std::rint(weight)));
    }
    b.sx = b.sx + n;
    b.sy = b.sy + n;
    b.mx = b.mx + tmpx;
    b.my = b.my + tmpy;
}

void Count(Ballot& b, Picture<std::int16_t>& houghSh, float& cx, float& cy)
{
    const float meanx = b.mx / b.sx;
    const float meany = b.my / b.sy;
    cx = meanx + 0.5f;
    cy = meany + 0.5f;
    const std::int32_t maxv = *std::max_element(b.hough.a.begin(), b.hough.a.end());
    if (maxv != 0) {
        const std::int32_t factor = Div32(2000000000, maxv);
        for (std::int32_t& cell : b.hough.a) cell = Mul32(cell, factor);
        for (std::int32_t& cell : b.hough.a) cell = Div32(cell, 1000000);
    }
    for (int y = 0; y < houghSh.h; ++y)
        for (int x = 0; x < houghSh.w; ++x) houghSh.At(x, y) = Low16(b.hough.At(x, y));
}

float LengthOf(float u, float v)
{
    const float uu = u * u;
    const float vv = v * v;
    const float square = uu + vv;
    return std::sqrt(square);
}

} // namespace

int OpticalFlowPostprocAlt(const Picture<std::int16_t>& uSum, const Picture<std::int16_t>& vSum, int /*len*/,
                           float r1, float r2, float r3f, float angSpeed, Picture<std::int16_t>& houghSh,
                           float& cx, float& cy, const TestQ& testq)
{
    if (StopAsked(testq)) return 1;
    const std::int16_t r3 = Low16(ToInt(std::rint(r3f)));
    const int wid = uSum.w, hgh = uSum.h;
    Ballot ballot{Picture<std::int32_t>(wid, hgh)};
    houghSh = Picture<std::int16_t>(wid, hgh);
    const float thld = ThresholdOf(uSum);
    if (StopAsked(testq)) return 1;

    const float rsum = r1 + r2;
    const float r = rsum / 2;
    const float R3 = r3;
    for (int x = 0; x < wid; ++x) {
        for (int y = 0; y < hgh; ++y) {
            const float u = uSum.At(x, y);
            const float v = vSum.At(x, y);
            const float n = LengthOf(u, v);
            if (!(n >= thld)) continue;
            const float xn = static_cast<float>(x) * n;
            const float yn = static_cast<float>(y) * n;
            const float ru = r * u, rv = r * v, R3u = R3 * u, R3v = R3 * v;
            const float tmp1x = xn + (rv + R3u);
            const float tmp1y = yn - (ru - R3v);
            const float tmp2x = xn - (rv - R3u);
            const float tmp2y = yn + (ru + R3v);
            const float tmp3x = xn + (rv - R3u);
            const float tmp3y = yn - (ru + R3v);
            const float tmp4x = xn - (rv + R3v); // R3v, where the others would suggest R3u
            const float tmp4y = yn + (ru - R3v);
            if (angSpeed > 0) Vote(ballot, tmp1x, tmp1y, n);
            if (angSpeed < 0) Vote(ballot, tmp2x, tmp2y, n);
            if (r3 != 0) {
                if (angSpeed > 0) Vote(ballot, tmp3x, tmp3y, n);
                if (angSpeed < 0) Vote(ballot, tmp4x, tmp4y, n);
            }
        }
        if (x % 100 == 0 && StopAsked(testq)) return 1;
    }
    Count(ballot, houghSh, cx, cy);
    return StopAsked(testq) ? 1 : 0;
}

int OpticalFlowPostprocA2(const Picture<std::int16_t>& uSum, const Picture<std::int16_t>& vSum, int /*len*/,
                          float r1, float r2, float angSpeed, Picture<std::int16_t>& houghSh, float& cx,
                          float& cy, const TestQ& testq)
{
    if (StopAsked(testq)) return 1;
    const int wid = uSum.w, hgh = uSum.h;
    Ballot ballot{Picture<std::int32_t>(wid, hgh)};
    houghSh = Picture<std::int16_t>(wid, hgh);
    const float thld = ThresholdOf(uSum);
    if (StopAsked(testq)) return 1;

    const std::int64_t first = ToInt(r1), last = ToInt(r2);
    for (int x = 0; x < wid; ++x) {
        for (int y = 0; y < hgh; ++y) {
            const float u = uSum.At(x, y);
            const float v = vSum.At(x, y);
            const float n = LengthOf(u, v);
            if (!(n >= thld)) continue;
            float tmp1x = static_cast<float>(x) * n;
            float tmp1y = static_cast<float>(y) * n;
            float tmp2x = tmp1x;
            float tmp2y = tmp1y;
            for (std::int64_t r = first; r <= last; ++r) {
                const float rv = static_cast<float>(r) * v;
                const float ru = static_cast<float>(r) * u;
                tmp1x = tmp1x + rv;
                tmp1y = tmp1y - ru;
                tmp2x = tmp2x - rv;
                tmp2y = tmp2y + ru;
                if (angSpeed > 0) Vote(ballot, tmp1x, tmp1y, n);
                if (angSpeed < 0) Vote(ballot, tmp2x, tmp2y, n);
            }
        }
        if (x % 100 == 0 && StopAsked(testq)) return 1;
    }
    Count(ballot, houghSh, cx, cy);
    return StopAsked(testq) ? 1 : 0;
}

} // namespace reference
