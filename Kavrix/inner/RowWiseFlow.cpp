// The order in which the rows of the flow are computed.
#include <Kavrix/inner/RowWiseFlow.h>

#include <Kavrix/inner/FlowRows.h>
#include <Kavrix/inner/KXelementwise.h>

#include <algorithm>

namespace kavrix::inner {

namespace {

int DerivativesKept(int hgh, int nrIters) { return std::min(nrIters, hgh - 2) + 1; }

// No more than these are under way at a time, and one more.
int SweepsKept(int hgh, int nrIters) { return std::min(nrIters, hgh); }

} // namespace

RowWiseFlow::RowWiseFlow(int wid, int hgh, int nrIters)
    : cells(wid - 1), rows(hgh - 1), sweeps(nrIters), Ex(cells, DerivativesKept(hgh, nrIters)),
      Ey(cells, DerivativesKept(hgh, nrIters)), Et(cells, DerivativesKept(hgh, nrIters)),
      divisor(cells, DerivativesKept(hgh, nrIters)), u(wid + 1, 4, SweepsKept(hgh, nrIters)),
      v(wid + 1, 4, SweepsKept(hgh, nrIters)), u_ave(cells), v_ave(cells)
{
}

void RowWiseFlow::AddPair(const MatShort& P, const MatShort& N, MatInt& u_sum, MatInt& v_sum)
{
    const RowRing<short> older(P), newer(N);
    for (Int step = 0; step < rows + sweeps; step++) {
        if (step < rows) Derive(older, newer, step);
        const Int first = std::max(step - rows + 1, Int{1}), last = std::min(step, sweeps);
        for (Int k = first; k <= last; k++) Sweep(k, step - k);
        if (last < sweeps) continue;
        const int y = static_cast<int>(step - sweeps);
        if (y == 0) AddTo(u_sum, v_sum, 0);
        AddTo(u_sum, v_sum, y + 1);
        if (y == rows - 1) AddTo(u_sum, v_sum, y + 2);
    }
}

void RowWiseFlow::Derive(const RowRing<short>& P, const RowRing<short>& N, Int y)
{
    DerivativeRow(cells, P(y), P(y + 1), N(y), N(y + 1), Ex(y), Ey(y), Et(y), divisor(y));
}

void RowWiseFlow::Sweep(Int k, Int y)
{
    const Int j = y + 1;
    short *const uRow = u(j, k), *const vRow = v(j, k);
    if (k == 1) {
        FirstSweepRow(cells, Ex(y), Ey(y), Et(y), divisor(y), uRow + 1, vRow + 1);
    } else {
        AverageRow(cells, u(j - 1, k - 1), u(j, k - 1), u(j + 1, k - 1), &u_ave(0));
        AverageRow(cells, v(j - 1, k - 1), v(j, k - 1), v(j + 1, k - 1), &v_ave(0));
        SweepRow(cells, &u_ave(0), &v_ave(0), Ex(y), Ey(y), Et(y), divisor(y), uRow + 1, vRow + 1);
    }

    // The frame is uneven on purpose: u gets its top and bottom rows, v its left and right columns. The left
    // and right columns of u and the top and bottom rows of v are 0 and enter the next averages, and the
    // sums, as zeros.
    uRow[0] = uRow[cells + 1] = 0;
    vRow[0] = vRow[1];
    vRow[cells + 1] = vRow[cells];
    if (y == 0) FrameRow(k, 0, uRow);
    if (y == rows - 1) FrameRow(k, rows + 1, uRow);
}

void RowWiseFlow::FrameRow(Int k, Int j, const short* uNeighbour)
{
    std::copy_n(uNeighbour, cells + 2, u(j, k));
    std::fill_n(v(j, k), cells + 2, short{0});
}

void RowWiseFlow::AddTo(MatInt& u_sum, MatInt& v_sum, int j)
{
    AddFlowRow(cells + 2, u(j, sweeps), v(j, sweeps), ViewOf<int>(u_sum).Row(j), ViewOf<int>(v_sum).Row(j));
}

} // namespace kavrix::inner
