// The optical flow, matrix after matrix.
#include <tests/reference/Flow.h>

#include <tests/reference/Filters.h>
#include <tests/reference/Numbers.h>

#include <algorithm>
#include <cmath>

namespace reference {

bool StopAsked(const TestQ& testq) { return testq && testq() != 0; }

Picture<std::int16_t> PrepareFrame(const Picture<std::uint8_t>& frame)
{
    const int wid = frame.w, hgh = frame.h;
    const Picture<std::int16_t> smooth = SmoothByte(frame);
    Picture<std::int16_t> out(wid, hgh);
    for (int x = 0; x < wid; ++x) out.At(x, 0) = Mul16(frame.At(x, 0), 16);
    for (int x = 0; x < wid; ++x) out.At(x, hgh - 1) = Mul16(frame.At(x, hgh - 1), 16);
    for (int y = 0; y < hgh; ++y) out.At(0, y) = Mul16(frame.At(0, y), 16);
    for (int y = 0; y < hgh; ++y) out.At(wid - 1, y) = Mul16(frame.At(wid - 1, y), 16);
    for (int y = 1; y <= hgh - 2; ++y)
        for (int x = 1; x <= wid - 2; ++x) out.At(x, y) = smooth.At(x - 1, y - 1);
    return out;
}

Picture<std::int16_t> DerivativeX(const Picture<std::int16_t>& P, const Picture<std::int16_t>& N)
{
    Picture<std::int16_t> Ex(P.w - 1, P.h - 1);
    for (int y = 0; y < Ex.h; ++y) {
        for (int x = 0; x < Ex.w; ++x) {
            std::int16_t s = P.At(x + 1, y);
            s = Add16(s, P.At(x + 1, y + 1));
            s = Add16(s, N.At(x + 1, y));
            s = Add16(s, N.At(x + 1, y + 1));
            s = Sub16(s, P.At(x, y));
            s = Sub16(s, P.At(x, y + 1));
            s = Sub16(s, N.At(x, y));
            s = Sub16(s, N.At(x, y + 1));
            Ex.At(x, y) = Shr16(s, 2);
        }
    }
    return Ex;
}

Picture<std::int16_t> DerivativeY(const Picture<std::int16_t>& P, const Picture<std::int16_t>& N)
{
    Picture<std::int16_t> Ey(P.w - 1, P.h - 1);
    for (int y = 0; y < Ey.h; ++y) {
        for (int x = 0; x < Ey.w; ++x) {
            std::int16_t s = P.At(x + 1, y + 1);
            s = Add16(s, P.At(x, y + 1));
            s = Add16(s, N.At(x + 1, y + 1));
            s = Add16(s, N.At(x, y + 1));
            s = Sub16(s, P.At(x + 1, y));
            s = Sub16(s, P.At(x, y));
            s = Sub16(s, N.At(x + 1, y));
            s = Sub16(s, N.At(x, y));
            Ey.At(x, y) = Shr16(s, 2);
        }
    }
    return Ey;
}

Picture<std::int16_t> DerivativeT(const Picture<std::int16_t>& P, const Picture<std::int16_t>& N)
{
    Picture<std::int16_t> Et(P.w - 1, P.h - 1);
    for (int y = 0; y < Et.h; ++y) {
        for (int x = 0; x < Et.w; ++x) {
            std::int16_t s = N.At(x + 1, y);
            s = Add16(s, N.At(x + 1, y + 1));
            s = Add16(s, N.At(x, y));
            s = Add16(s, N.At(x, y + 1));
            s = Sub16(s, P.At(x + 1, y));
            s = Sub16(s, P.At(x + 1, y + 1));
            s = Sub16(s, P.At(x, y));
            s = Sub16(s, P.At(x, y + 1));
            Et.At(x, y) = Shr16(s, 2);
        }
    }
    return Et;
}

void AddSquare(Picture<std::int16_t>& Den, const Picture<std::int16_t>& E)
{
    for (int y = 0; y < Den.h; ++y) {
        for (int x = 0; x < Den.w; ++x) {
            std::int16_t e2 = E.At(x, y);
            e2 = Shr16(e2, 3);
            e2 = Mul16(e2, e2);
            Den.At(x, y) = Add16(Den.At(x, y), e2);
        }
    }
}

FlowOfPair PairFlow(const Picture<std::int16_t>& P, const Picture<std::int16_t>& N, int nrIters,
                    const TestQ& testq)
{
    const int wid = P.w, hgh = P.h;
    const std::int16_t alpha2 = 25;
    FlowOfPair flow{Picture<std::int16_t>(wid + 1, hgh + 1), Picture<std::int16_t>(wid + 1, hgh + 1), true};
    Picture<std::int16_t>& u = flow.u;
    Picture<std::int16_t>& v = flow.v;

    const Picture<std::int16_t> Ex = DerivativeX(P, N);
    if (StopAsked(testq)) return flow;
    const Picture<std::int16_t> Ey = DerivativeY(P, N);
    if (StopAsked(testq)) return flow;
    const Picture<std::int16_t> Et = DerivativeT(P, N);
    if (StopAsked(testq)) return flow;

    Picture<std::int16_t> Den(wid - 1, hgh - 1, alpha2);
    AddSquare(Den, Ex);
    if (StopAsked(testq)) return flow;
    AddSquare(Den, Ey);
    if (StopAsked(testq)) return flow;

    for (int iter = 1; iter <= nrIters; ++iter) {
        const Picture<std::int16_t> u_ave = LapAve(u);
        const Picture<std::int16_t> v_ave = LapAve(v);
        for (int y = 0; y <= hgh - 2; ++y) {
            for (int x = 0; x <= wid - 2; ++x) {
                const std::int32_t ua = u_ave.At(x, y), va = v_ave.At(x, y);
                const std::int32_t ex = Ex.At(x, y), ey = Ey.At(x, y), et = Et.At(x, y), den = Den.At(x, y);
                const std::int32_t num = Add32(Add32(Mul32(ua, ex), Mul32(va, ey)), et);
                u.At(x + 1, y + 1) = Low16(Sub32(ua, Div32(Mul32(num, ex), den)));
                v.At(x + 1, y + 1) = Low16(Sub32(va, Div32(Mul32(num, ey), den)));
            }
            if (y % 100 == 0 && StopAsked(testq)) return flow;
        }
        // The uneven frame: u gets its top and bottom rows, v its left and right columns, the rest stays 0.
        for (int x = 1; x <= wid - 1; ++x) u.At(x, 0) = u.At(x, 1);
        for (int x = 1; x <= wid - 1; ++x) u.At(x, hgh) = u.At(x, hgh - 1);
        for (int y = 0; y <= hgh; ++y) v.At(0, y) = v.At(1, y);
        for (int y = 0; y <= hgh; ++y) v.At(wid, y) = v.At(wid - 1, y);
        if (StopAsked(testq)) return flow;
    }
    flow.stopped = false;
    return flow;
}

int OpticalFlow12Alt(const Sequence& seq, Picture<std::int32_t>& uSum, Picture<std::int32_t>& vSum,
                     int nrIters, const TestQ& testq)
{
    if (StopAsked(testq)) return 1;
    if (uSum.w != seq.w + 1 || uSum.h != seq.h + 1 || vSum.w != seq.w + 1 || vSum.h != seq.h + 1) return -1;

    Picture<std::int16_t> newer = PrepareFrame(seq.Frame(0));
    if (StopAsked(testq)) return 1;
    for (int t = 0; t <= seq.n - 2; ++t) {
        const Picture<std::int16_t> older = newer;
        newer = PrepareFrame(seq.Frame(t + 1));
        if (StopAsked(testq)) return 1;
        const FlowOfPair flow = PairFlow(older, newer, nrIters, testq);
        if (flow.stopped) return 1;
        for (int y = 0; y < uSum.h; ++y) {
            for (int x = 0; x < uSum.w; ++x) {
                uSum.At(x, y) = Add32(uSum.At(x, y), flow.u.At(x, y));
                vSum.At(x, y) = Add32(vSum.At(x, y), flow.v.At(x, y));
            }
        }
    }
    return StopAsked(testq) ? 1 : 0;
}

namespace {

void Resize(Picture<std::int16_t>& picture, int w, int h)
{
    const Picture<std::int16_t> fresh(w, h);
    if (picture.a.size() != fresh.a.size()) picture.a = fresh.a;
    picture.w = w;
    picture.h = h;
}

// The larger of x and -x; the lowest number is its own opposite.
std::int32_t Absolute(std::int32_t x) { return std::max(x, Sub32(0, x)); }

} // namespace

void OfNorm(const Picture<std::int32_t>& uSum, const Picture<std::int32_t>& vSum,
            Picture<std::int16_t>& uSumSh, Picture<std::int16_t>& vSumSh, Picture<std::int16_t>& magSh)
{
    Resize(uSumSh, uSum.w, uSum.h);
    Resize(vSumSh, vSum.w, vSum.h);
    Resize(magSh, vSum.w, vSum.h);

    std::int32_t maxv = *std::max_element(uSum.a.begin(), uSum.a.end());
    std::int32_t temp = *std::max_element(vSum.a.begin(), vSum.a.end());
    if (temp > maxv) maxv = temp;
    temp = Absolute(*std::min_element(uSum.a.begin(), uSum.a.end()));
    if (temp > maxv) maxv = temp;
    temp = Absolute(*std::min_element(vSum.a.begin(), vSum.a.end()));
    if (temp > maxv) maxv = temp;

    if (maxv == 0) {
        std::fill(uSumSh.a.begin(), uSumSh.a.end(), std::int16_t{0});
        std::fill(vSumSh.a.begin(), vSumSh.a.end(), std::int16_t{0});
        return;
    }
    const std::int32_t factor = Div32(2000000000, maxv);
    for (int j = 0; j < uSum.h; ++j) {
        for (int i = 0; i < uSum.w; ++i) {
            const std::int16_t u = Low16(Mul32(factor, uSum.At(i, j)) >> 20);
            const std::int16_t v = Low16(Mul32(factor, vSum.At(i, j)) >> 20);
            uSumSh.At(i, j) = u;
            vSumSh.At(i, j) = v;
            const double square = Add32(Mul32(u, u), Mul32(v, v));
            magSh.At(i, j) = Low16(ToInt(std::sqrt(square)));
        }
    }
}

} // namespace reference
