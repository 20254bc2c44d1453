// Element-wise comparisons of matrices.
#ifndef KAVRIX_INNER_KXCOMPARE_INL_H
#define KAVRIX_INNER_KXCOMPARE_INL_H

#include <Kavrix/KXubyte.h>
#include <Kavrix/inner/KXelementwise.h>

namespace kavrix::inner {

/// A new matrix of a's dim1 x dim2: `yes` where holds(a(x, y), b(x, y)), 0 elsewhere.
template <class T, class F> MatByte Compared(UBYTE yes, const KX_Base& a, const KX_Base& b, F holds)
{
    MatByte r(a.dim1, a.dim2);
    ElementwiseOver(
        ShapeOf(r), [=](UBYTE& p, T q, T s) { p = holds(q, s) ? yes : 0; }, ViewOf<UBYTE>(r), ViewOf<T>(a),
        ViewOf<T>(b));
    return r;
}

/// Not the first operand, whatever the second is.
struct FirstIsZero {
    template <class T> constexpr bool operator()(T p, T) const { return p == 0; }
};

} // namespace kavrix::inner

#endif
