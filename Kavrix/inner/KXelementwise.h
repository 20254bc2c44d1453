// The one loop under every operator, fill, assignment, conversion and filter.
#ifndef KAVRIX_INNER_KXELEMENTWISE_H
#define KAVRIX_INNER_KXELEMENTWISE_H

#include <Kavrix/KXcommon.h>

#include <cstddef>

namespace kavrix::inner {

/// Sizes in the three dimensions.
struct Shape {
    int dim1, dim2, dim3;
};

inline Shape ShapeOf(const KX_Base& a) { return {a.dim1, a.dim2, a.dim3}; }

/// The elements of an array as the loop below sees them: typed, with strides.
template <class T> struct Strided {
    T* data;
    std::ptrdiff_t step1, step2, step3;

    /// Row y of plane z, one row high.
    Strided Row(int y, int z = 0) const { return {data + (y * step2 + z * step3), step1, 0, 0}; }
};

template <class T> Strided<T> ViewOf(const KX_Base& a)
{
    return {static_cast<T*>(a.p_data), a.step1, a.step2, a.step3};
}

/// Calls f(a(x, y, z), b(x, y, z), ...) for all views at every (x, y, z) of `shape`, z outermost, x
/// innermost, each ascending. The callable takes by reference what it writes.
///
/// Nothing promises that the views are apart: an image may be added to itself one column further on, and then
/// the order of x is what gives the right sums. The inner loop for dense rows stands by itself because
/// compilers turn it into vector code. A view without storage leaves everything untouched.
template <class F, class... T> inline void ElementwiseOver(Shape shape, F f, Strided<T>... views)
{
    const bool missing = (... || !views.data);
    if (missing) return;
    const bool dense = (... && (views.step1 == 1));
    const int width = shape.dim1;
    for (int z = 0; z < shape.dim3; z++) {
        for (int y = 0; y < shape.dim2; y++) {
            if (dense) {
                [width, &f](T*... row) {
                    for (int x = 0; x < width; x++) f(row[x]...);
                }(views.Row(y, z).data...);
            } else {
                for (int x = 0; x < width; x++) f(views.Row(y, z).data[x * views.step1]...);
            }
        }
    }
}

/// Over the shape of `a`: f(T& a).
template <class T, class F> inline void Elementwise(const KX_Base& a, F f)
{
    ElementwiseOver(ShapeOf(a), f, ViewOf<T>(a));
}

/// Over the shape of `a`: f(A& a, B b).
template <class A, class B, class F> inline void Elementwise(const KX_Base& a, const KX_Base& b, F f)
{
    ElementwiseOver(ShapeOf(a), f, ViewOf<A>(a), ViewOf<B>(b));
}

} // namespace kavrix::inner

#endif
