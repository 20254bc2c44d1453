// The inner loops of the flow. The method and its scale stand in OptFlow.cpp.
#include <Kavrix/inner/FlowRows.h>

#include <Kavrix/inner/KXarith.h>
#include <Kavrix/inner/KXclones.h>
#include <Kavrix/inner/NeighbourAverage.h>

namespace kavrix::inner {

// No sum of derivatives leaves 16 bits. Den has 16 bits on purpose: the square of a shifted derivative past
// 181 wraps, and so does the sum, and the flow relies on it.
KAVRIX_CLONES void DerivativeRow(int n, const short* __restrict P0, const short* __restrict P1,
                                 const short* __restrict N0, const short* __restrict N1, short* __restrict Ex,
                                 short* __restrict Ey, short* __restrict Et,
                                 FlowQuotient::Divisor* __restrict divisor)
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
        divisor[x] = FlowQuotient::DivisorOf(WrapAdd(alpha2, WrapAdd(WrapMul(ex, ex), WrapMul(ey, ey))));
    }
}

KAVRIX_CLONES void AverageRow(int n, const short* __restrict above, const short* __restrict middle,
                              const short* __restrict below, short* __restrict average)
{
    for (int x = 0; x < n; x++)
        average[x] = NeighbourAverage(above[x], above[x + 1], above[x + 2], middle[x], middle[x + 2],
                                      below[x], below[x + 1], below[x + 2]);
}

KAVRIX_CLONES void FirstSweepRow(int n, const short* __restrict Ex, const short* __restrict Ey,
                                 const short* __restrict Et, const FlowQuotient::Divisor* __restrict divisor,
                                 short* __restrict u, short* __restrict v)
{
    for (int x = 0; x < n; x++) {
        u[x] = static_cast<short>(-FlowQuotient::Small(Et[x] * Ex[x], divisor[x]));
        v[x] = static_cast<short>(-FlowQuotient::Small(Et[x] * Ey[x], divisor[x]));
    }
}

KAVRIX_CLONES void SweepRow(int n, const short* __restrict ua, const short* __restrict va,
                            const short* __restrict Ex, const short* __restrict Ey,
                            const short* __restrict Et, const FlowQuotient::Divisor* __restrict divisor,
                            short* __restrict u, short* __restrict v)
{
    for (int x = 0; x < n; x++) {
        const int num = WrapAdd(WrapAdd<int>(ua[x] * Ex[x], va[x] * Ey[x]), int{Et[x]});
        const auto step = [num, d = divisor[x]](short E) {
            return FlowQuotient::Any(WrapMul<int>(num, E), d);
        };
        u[x] = static_cast<short>(WrapSub<int>(ua[x], step(Ex[x])));
        v[x] = static_cast<short>(WrapSub<int>(va[x], step(Ey[x])));
    }
}

// cppcheck-suppress passedByValue // into registers, as everywhere
KAVRIX_CLONES void AddFlowRow(int n, const short* u, const short* v, Strided<int> u_sum, Strided<int> v_sum)
{
    ElementwiseOver(
        {n, 1, 1},
        [](int& us, int& vs, short p, short q) {
            us = WrapAdd<int>(us, p);
            vs = WrapAdd<int>(vs, q);
        },
        u_sum, v_sum, Strided<const short>{u, 1, 0, 0}, Strided<const short>{v, 1, 0, 0});
}

} // namespace kavrix::inner
