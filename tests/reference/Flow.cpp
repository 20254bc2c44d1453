#include <tests/reference/Flow.h>

#include <tests/reference/Filters.h>
#include <tests/reference/Numbers.h>

#include <algorithm>
#include <cmath>

namespace reference {

bool stopAsked(const TestQ& testq) { return testq && testq() != 0; }

Picture<std::int16_t> prepareFrame(const Picture<std::uint8_t>& frame)
{
    const int wid = frame.w, hgh = frame.h;
    const Picture<std::int16_t> smooth = smoothByte(frame);
    Picture<std::int16_t> out(wid, hgh);
    for (int x = 0; x < wid; ++x) out.at(x, 0) = mul16(frame.at(x, 0), 16);
    for (int x = 0; x < wid; ++x) out.at(x, hgh - 1) = mul16(frame.at(x, hgh - 1), 16);
    for (int y = 0; y < hgh; ++y) out.at(0, y) = mul16(frame.at(0, y), 16);
    for (int y = 0; y < hgh; ++y) out.at(wid - 1, y) = mul16(frame.at(wid - 1, y), 16);
    for (int y = 1; y <= hgh - 2; ++y)
        for (int x = 1; x <= wid - 2; ++x) out.at(x, y) = smooth.at(x - 1, y - 1);
    return out;
}

Picture<std::int16_t> derivativeX(const Picture<std::int16_t>& P, const Picture<std::int16_t>& N)
{
    Picture<std::int16_t> Ex(P.w - 1, P.h - 1);
    for (int y = 0; y < Ex.h; ++y) {
        for (int x = 0; x < Ex.w; ++x) {
            std::int16_t s = P.at(x + 1, y);
            s = add16(s, P.at(x + 1, y + 1));
            s = add16(s, N.at(x + 1, y));
            s = add16(s, N.at(x + 1, y + 1));
            s = sub16(s, P.at(x, y));
            s = sub16(s, P.at(x, y + 1));
            s = sub16(s, N.at(x, y));
            s = sub16(s, N.at(x, y + 1));
            Ex.at(x, y) = shr16(s, 2);
        }
    }
    return Ex;
}

Picture<std::int16_t> derivativeY(const Picture<std::int16_t>& P, const Picture<std::int16_t>& N)
{
    Picture<std::int16_t> Ey(P.w - 1, P.h - 1);
    for (int y = 0; y < Ey.h; ++y) {
        for (int x = 0; x < Ey.w; ++x) {
            std::int16_t s = P.at(x + 1, y + 1);
            s = add16(s, P.at(x, y + 1));
            s = add16(s, N.at(x + 1, y + 1));
            s = add16(s, N.at(x, y + 1));
            s = sub16(s, P.at(x + 1, y));
            s = sub16(s, P.at(x, y));
            s = sub16(s, N.at(x + 1, y));
            s = sub16(s, N.at(x, y));
            Ey.at(x, y) = shr16(s, 2);
        }
    }
    return Ey;
}

Picture<std::int16_t> derivativeT(const Picture<std::int16_t>& P, const Picture<std::int16_t>& N)
{
    Picture<std::int16_t> Et(P.w - 1, P.h - 1);
    for (int y = 0; y < Et.h; ++y) {
        for (int x = 0; x < Et.w; ++x) {
            std::int16_t s = N.at(x + 1, y);
            s = add16(s, N.at(x + 1, y + 1));
            s = add16(s, N.at(x, y));
            s = add16(s, N.at(x, y + 1));
            s = sub16(s, P.at(x + 1, y));
            s = sub16(s, P.at(x + 1, y + 1));
            s = sub16(s, P.at(x, y));
            s = sub16(s, P.at(x, y + 1));
            Et.at(x, y) = shr16(s, 2);
        }
    }
    return Et;
}

void addSquare(Picture<std::int16_t>& Den, const Picture<std::int16_t>& E)
{
    for (int y = 0; y < Den.h; ++y) {
        for (int x = 0; x < Den.w; ++x) {
            std::int16_t e2 = E.at(x, y);
            e2 = shr16(e2, 3);
            e2 = mul16(e2, e2);
            Den.at(x, y) = add16(Den.at(x, y), e2);
        }
    }
}

PairFlow pairFlow(const Picture<std::int16_t>& P, const Picture<std::int16_t>& N, int nrIters,
                  const TestQ& testq)
{
    const int wid = P.w, hgh = P.h;
    const std::int16_t alpha2 = 25;
    PairFlow flow{Picture<std::int16_t>(wid + 1, hgh + 1), Picture<std::int16_t>(wid + 1, hgh + 1), true};
    Picture<std::int16_t>& u = flow.u;
    Picture<std::int16_t>& v = flow.v;

    const Picture<std::int16_t> Ex = derivativeX(P, N);
    if (stopAsked(testq)) return flow;
    const Picture<std::int16_t> Ey = derivativeY(P, N);
    if (stopAsked(testq)) return flow;
    const Picture<std::int16_t> Et = derivativeT(P, N);
    if (stopAsked(testq)) return flow;

    Picture<std::int16_t> Den(wid - 1, hgh - 1, alpha2);
    addSquare(Den, Ex);
    if (stopAsked(testq)) return flow;
    addSquare(Den, Ey);
    if (stopAsked(testq)) return flow;

    for (int iter = 1; iter <= nrIters; ++iter) {
        const Picture<std::int16_t> u_ave = lapAve(u);
        const Picture<std::int16_t> v_ave = lapAve(v);
        for (int y = 0; y <= hgh - 2; ++y) {
            for (int x = 0; x <= wid - 2; ++x) {
                const std::int32_t ua = u_ave.at(x, y), va = v_ave.at(x, y);
                const std::int32_t ex = Ex.at(x, y), ey = Ey.at(x, y), et = Et.at(x, y), den = Den.at(x, y);
                const std::int32_t num = add32(add32(mul32(ua, ex), mul32(va, ey)), et);
                u.at(x + 1, y + 1) = low16(sub32(ua, div32(mul32(num, ex), den)));
                v.at(x + 1, y + 1) = low16(sub32(va, div32(mul32(num, ey), den)));
            }
            if (y % 100 == 0 && stopAsked(testq)) return flow;
        }
        // The uneven frame: u gets its top and bottom rows, v its left and right columns, the rest stays 0.
        for (int x = 1; x <= wid - 1; ++x) u.at(x, 0) = u.at(x, 1);
        for (int x = 1; x <= wid - 1; ++x) u.at(x, hgh) = u.at(x, hgh - 1);
        for (int y = 0; y <= hgh; ++y) v.at(0, y) = v.at(1, y);
        for (int y = 0; y <= hgh; ++y) v.at(wid, y) = v.at(wid - 1, y);
        if (stopAsked(testq)) return flow;
    }
    flow.stopped = false;
    return flow;
}

int opticalFlow12Alt(const Sequence& seq, Picture<std::int32_t>& uSum, Picture<std::int32_t>& vSum,
                     int nrIters, const TestQ& testq)
{
    if (stopAsked(testq)) return 1;
    if (uSum.w != seq.w + 1 || uSum.h != seq.h + 1 || vSum.w != seq.w + 1 || vSum.h != seq.h + 1) return -1;

    Picture<std::int16_t> newer = prepareFrame(seq.frame(0));
    if (stopAsked(testq)) return 1;
    for (int t = 0; t <= seq.n - 2; ++t) {
        const Picture<std::int16_t> older = newer;
        newer = prepareFrame(seq.frame(t + 1));
        if (stopAsked(testq)) return 1;
        const PairFlow flow = pairFlow(older, newer, nrIters, testq);
        if (flow.stopped) return 1;
        for (int y = 0; y < uSum.h; ++y) {
            for (int x = 0; x < uSum.w; ++x) {
                uSum.at(x, y) = add32(uSum.at(x, y), flow.u.at(x, y));
                vSum.at(x, y) = add32(vSum.at(x, y), flow.v.at(x, y));
            }
        }
    }
    return stopAsked(testq) ? 1 : 0;
}

namespace {

void resize(Picture<std::int16_t>& picture, int w, int h)
{
    const Picture<std::int16_t> fresh(w, h);
    if (picture.a.size() != fresh.a.size()) picture.a = fresh.a;
    picture.w = w;
    picture.h = h;
}

// The larger of x and -x; the lowest number is its own opposite.
std::int32_t absolute(std::int32_t x) { return std::max(x, sub32(0, x)); }

} // namespace

void ofNorm(const Picture<std::int32_t>& uSum, const Picture<std::int32_t>& vSum,
            Picture<std::int16_t>& uSumSh, Picture<std::int16_t>& vSumSh, Picture<std::int16_t>& magSh)
{
    resize(uSumSh, uSum.w, uSum.h);
    resize(vSumSh, vSum.w, vSum.h);
    resize(magSh, vSum.w, vSum.h);

    std::int32_t maxv = *std::max_element(uSum.a.begin(), uSum.a.end());
    std::int32_t temp = *std::max_element(vSum.a.begin(), vSum.a.end());
    if (temp > maxv) maxv = temp;
    temp = absolute(*std::min_element(uSum.a.begin(), uSum.a.end()));
    if (temp > maxv) maxv = temp;
    temp = absolute(*std::min_element(vSum.a.begin(), vSum.a.end()));
    if (temp > maxv) maxv = temp;

    if (maxv == 0) {
        std::fill(uSumSh.a.begin(), uSumSh.a.end(), std::int16_t{0});
        std::fill(vSumSh.a.begin(), vSumSh.a.end(), std::int16_t{0});
        return;
    }
    const std::int32_t factor = div32(2000000000, maxv);
    for (int j = 0; j < uSum.h; ++j) {
        for (int i = 0; i < uSum.w; ++i) {
            const std::int16_t u = low16(mul32(factor, uSum.at(i, j)) >> 20);
            const std::int16_t v = low16(mul32(factor, vSum.at(i, j)) >> 20);
            uSumSh.at(i, j) = u;
            vSumSh.at(i, j) = v;
            const double square = add32(mul32(u, u), mul32(v, v));
            magSh.at(i, j) = low16(toInt(std::sqrt(square)));
        }
    }
}

} // namespace reference
