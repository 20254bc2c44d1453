// The inner loops of the flow: one step of the method for a row of cells.
#ifndef KAVRIX_INNER_FLOWROWS_H
#define KAVRIX_INNER_FLOWROWS_H

#include <Kavrix/inner/FlowQuotient.h>
#include <Kavrix/inner/KXelementwise.h>

namespace kavrix::inner {

// n is the number of cells, and no two rows of a call overlap.

/// Derivatives, and what is kept of the denominator, from two rows of the older frame, P, and of the newer
/// one, N; those have n + 1 pixels.
void DerivativeRow(int n, const short* __restrict P0, const short* __restrict P1, const short* __restrict N0,
                   const short* __restrict N1, short* __restrict Ex, short* __restrict Ey,
                   short* __restrict Et, FlowQuotient::Divisor* __restrict divisor);

/// The neighbour averages from three rows of flow, which begin one column left of the cells.
void AverageRow(int n, const short* __restrict above, const short* __restrict middle,
                const short* __restrict below, short* __restrict average);

/// The first sweep, from zero flow.
void FirstSweepRow(int n, const short* __restrict Ex, const short* __restrict Ey, const short* __restrict Et,
                   const FlowQuotient::Divisor* __restrict divisor, short* __restrict u, short* __restrict v);

/// A later sweep, from the averages ua and va.
void SweepRow(int n, const short* __restrict ua, const short* __restrict va, const short* __restrict Ex,
              const short* __restrict Ey, const short* __restrict Et,
              const FlowQuotient::Divisor* __restrict divisor, short* __restrict u, short* __restrict v);

/// Adds a row of u and of v, of n values, to rows of the sums.
void AddFlowRow(int n, const short* u, const short* v, Strided<int> u_sum, Strided<int> v_sum);

} // namespace kavrix::inner

#endif
