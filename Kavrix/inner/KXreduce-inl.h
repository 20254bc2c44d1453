// Reductions, constant arrays and square roots, for the units that give each element type its overloads.
#ifndef KAVRIX_INNER_KXREDUCE_INL_H
#define KAVRIX_INNER_KXREDUCE_INL_H

#include <Kavrix/KXint.h>
#include <Kavrix/inner/KXarith.h>
#include <Kavrix/inner/KXelementwise.h>

#include <algorithm>
#include <cmath>
#include <functional>

namespace kavrix::inner {

/// The best element of v, the first of equals: `better` is a strict order.
template <class T, class Better> T BestValue(const Vec<T>& v, Better better)
{
    T best = v(0);
    Elementwise<T>(v, [&best, better](T& p) { best = better(p, best) ? p : best; });
    return best;
}

/// The index of the best element of v, the first of equals.
template <class T, class Better> int BestIndex(const Vec<T>& v, Better better)
{
    T best = v(0);
    int position = 0;
    for (int i = 1; i < v.dim1; i++) {
        if (!better(v(i), best)) continue;
        best = v(i);
        position = i;
    }
    return position;
}

/// A vector of R with one entry for each row of m: entry y = of(row y).
template <class R, class T, class F> R OfRows(const Mat<T>& m, F of)
{
    R r(m.dim2);
    for (int y = 0; y < m.dim2; y++) r(y) = of(m(RNG::All(), y));
    return r;
}

template <class T> T SumOf(const Vec<T>& v)
{
    T sum = 0;
    Elementwise<T>(v, [&sum](T& p) { sum = WrapAdd(sum, p); });
    return sum;
}

template <class T> T DotOf(const Vec<T>& a, const Vec<T>& b)
{
    T sum = 0;
    Elementwise<T, T>(a, b, [&sum](T& p, T q) { sum = WrapAdd(sum, WrapMul(p, q)); });
    return sum;
}

template <class A, class T> A Constant(A a, T value)
{
    a.Fill(value);
    return a;
}

template <class T> typename Family<T>::Vec DiagonalOf(const Mat<T>& m)
{
    typename Family<T>::Vec r(std::min(m.dim1, m.dim2));
    for (int i = 0; i < r.dim1; i++) r(i) = m(i, i);
    return r;
}

template <class T> typename Family<T>::Mat DiagonalMatrix(const Vec<T>& v)
{
    typename Family<T>::Mat r(v.dim1, v.dim1);
    r.Fill(0);
    for (int i = 0; i < v.dim1; i++) r(i, i) = v(i);
    return r;
}

/// Entry x = sum over y of m(x, y) * v(y).
template <class T> typename Family<T>::Vec Product(const Mat<T>& m, const Vec<T>& v)
{
    typename Family<T>::Vec r(m.dim1);
    r.Fill(0);
    for (int y = 0; y < m.dim2; y++)
        for (int x = 0; x < m.dim1; x++) r(x) = WrapAdd(r(x), WrapMul(m(x, y), v(y)));
    return r;
}

/// Integers through double, where the root is exact enough for the rounding to be that of the true root.
template <class V, class T> V& SquareRoot(V& v, T)
{
    Elementwise<T>(v, [](T& p) {
        if constexpr (std::is_floating_point_v<T>) p = std::sqrt(p);
        else p = static_cast<T>(FloatToInt(std::rint(std::sqrt(static_cast<double>(p)))));
    });
    return v;
}

} // namespace kavrix::inner

#endif
