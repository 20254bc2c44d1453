// Bodies of the class templates of KXarray.h, for the family units that instantiate them.
#ifndef KAVRIX_INNER_KXARRAY_INL_H
#define KAVRIX_INNER_KXARRAY_INL_H

#include <Kavrix/KXarray.h>
#include <Kavrix/inner/KXarith.h>
#include <Kavrix/inner/KXelementwise.h>
#include <Kavrix/inner/Resize.h>

namespace kavrix::inner {

// ---------------------------------------------------------------------------------- rules of the operators

/// a = f(a) over all of a; gives a back as its element class.
template <class T, class F> typename Family<T>::Elem& InPlace(Elem<T>& a, F f)
{
    Elementwise<T>(a, [f](T& p) { p = f(p); });
    return static_cast<typename Family<T>::Elem&>(a);
}

/// a = f(a, b) over the shape of a; B is the element type of b.
template <class B, class T, class F> typename Family<T>::Elem& InPlace(Elem<T>& a, const KX_Base& b, F f)
{
    Elementwise<T, B>(a, b, [f](T& p, B q) { p = f(p, q); });
    return static_cast<typename Family<T>::Elem&>(a);
}

/// A new dense array of the shape of a that holds f(a).
template <class T, class F> typename Family<T>::Elem Computed(const Elem<T>& a, F f)
{
    typename Family<T>::Elem r(a.dim1, a.dim2, a.dim3);
    Elementwise<T, T>(r, a, [f](T& p, T q) { p = f(q); });
    return r;
}

/// A new dense array of the shape of a that holds f(a, b).
template <class T, class F> typename Family<T>::Elem Computed(const Elem<T>& a, const Elem<T>& b, F f)
{
    typename Family<T>::Elem r(a.dim1, a.dim2, a.dim3);
    ElementwiseOver(
        ShapeOf(a), [f](T& p, T q, T s) { p = f(q, s); }, ViewOf<T>(r), ViewOf<T>(a), ViewOf<T>(b));
    return r;
}

} // namespace kavrix::inner

namespace kavrix {

using namespace inner;

// ---------------------------------------------------------------------------------- Elem

template <class T> Elem<T>::Elem()
{
    dim2 = dim3 = 1;
    step1 = 1;
}

template <class T> Elem<T>::Elem(int d1, int d2, int d3) { Allocate(sizeof(T), d1, d2, d3); }

template <class T> void Elem<T>::Resize(int d1, int d2, int d3) { ResizeTo<T>(*this, d1, d2, d3); }

template <class T> void Elem<T>::Resize(const Self& other) { Resize(other.dim1, other.dim2, other.dim3); }

template <class T> Elem<T>& Elem<T>::operator=(const Elem& b)
{
    if (pblock == nullptr) Resize(b.dim1, b.dim2, b.dim3);
    Elementwise<T, T>(*this, b, [](T& p, T q) { p = q; });
    return *this;
}

template <class T> void Elem<T>::Fill(T value)
{
    Elementwise<T>(*this, [value](T& p) { p = value; });
}

template <class T> void Elem<T>::ImportData(const T* src)
{
    Elementwise<T>(*this, [&src](T& p) { p = *src++; });
}

template <class T> auto Elem<T>::operator+=(const Self& b) -> Self&
{
    return InPlace<T>(*this, b, [](T p, T q) { return WrapAdd(p, q); });
}

template <class T> auto Elem<T>::operator-=(const Self& b) -> Self&
{
    return InPlace<T>(*this, b, [](T p, T q) { return WrapSub(p, q); });
}

template <class T> auto Elem<T>::operator/=(const Self& b) -> Self&
{
    return InPlace<T>(*this, b, [](T p, T q) { return Quotient(p, q); });
}

template <class T> auto Elem<T>::ElementMul(const Self& b) -> Self&
{
    return InPlace<T>(*this, b, [](T p, T q) { return WrapMul(p, q); });
}

template <class T> auto Elem<T>::operator+=(T s) -> Self&
{
    return InPlace(*this, [s](T p) { return WrapAdd(p, s); });
}

template <class T> auto Elem<T>::operator*=(T s) -> Self&
{
    return InPlace(*this, [s](T p) { return WrapMul(p, s); });
}

template <class T> auto Elem<T>::operator/=(T s) -> Self& { return InPlace(*this, QuotientBy(s)); }

template <class T> auto Elem<T>::operator+(const Self& b) const -> Self
{
    return Computed(*this, b, [](T p, T q) { return WrapAdd(p, q); });
}

template <class T> auto Elem<T>::operator-(const Self& b) const -> Self
{
    return Computed(*this, b, [](T p, T q) { return WrapSub(p, q); });
}

template <class T> auto Elem<T>::operator/(const Self& b) const -> Self
{
    return Computed(*this, b, [](T p, T q) { return Quotient(p, q); });
}

template <class T> auto Elem<T>::operator+(T s) const -> Self
{
    return Computed(*this, [s](T p) { return WrapAdd(p, s); });
}

template <class T> auto Elem<T>::operator*(T s) const -> Self
{
    return Computed(*this, [s](T p) { return WrapMul(p, s); });
}

template <class T> auto Elem<T>::operator/(T s) const -> Self { return Computed(*this, QuotientBy(s)); }

template <class T> auto Elem<T>::operator~() const -> Self
{
    return Computed(*this, [](T p) { return Inverted(p); });
}

// ---------------------------------------------------------------------------------- IntElem

template <class T> auto IntElem<T>::operator*=(float f) -> Self&
{
    return InPlace(*this, [f](T p) { return ElementCast<T>(static_cast<float>(p) * f); });
}

template <class T> auto IntElem<T>::operator/=(float f) -> Self&
{
    return InPlace(*this, [f](T p) { return ElementCast<T>(static_cast<float>(p) / f); });
}

template <class T> auto IntElem<T>::operator>>=(int n) -> Self&
{
    return InPlace(*this, [n](T p) { return ShiftRight(p, n); });
}

template <class T> auto IntElem<T>::operator<<=(int n) -> Self&
{
    return InPlace(*this, [n](T p) { return ShiftLeft(p, n); });
}

template <class T> auto IntElem<T>::operator*(float f) const -> Self
{
    return Computed(*this, [f](T p) { return ElementCast<T>(static_cast<float>(p) * f); });
}

template <class T> auto IntElem<T>::operator/(float f) const -> Self
{
    return Computed(*this, [f](T p) { return ElementCast<T>(static_cast<float>(p) / f); });
}

template <class T> auto IntElem<T>::operator>>(int n) const -> Self
{
    return Computed(*this, [n](T p) { return ShiftRight(p, n); });
}

template <class T> auto IntElem<T>::operator<<(int n) const -> Self
{
    return Computed(*this, [n](T p) { return ShiftLeft(p, n); });
}

// ---------------------------------------------------------------------------------- Vec

template <class T> Vec<T>::Vec(int n) : Element(n, 1, 1) {}

template <class T> Vec<T>::Vec(const ::RNG& r) : Element(r.Size(), 1, 1) {}

template <class T> Vec<T>::Vec(const typename Family<T>::Source& a)
{
    this->Share(a);
    this->dim2 = this->dim3 = 1;
}

template <class T> Vec<T>::Vec(const typename Family<T>::Vec* v, ::RNG r)
{
    this->Cut(*v, sizeof(T), r, 0, 0);
}

template <class T> Vec<T>::Vec(const typename Family<T>::Mat* m, ::RNG r, int y)
{
    this->Cut(*m, sizeof(T), r, y, 0);
}

template <class T> Vec<T>::Vec(const typename Family<T>::Mat* m, int x, ::RNG r)
{
    this->Cut(*m, sizeof(T), x, r, 0);
}

template <class T> typename Family<T>::Vec Vec<T>::operator()(::RNG r) const
{
    return {static_cast<const typename Family<T>::Vec*>(this), r};
}

// ---------------------------------------------------------------------------------- Mat

template <class T> Mat<T>::Mat(int w, int h) : Element(w, h, 1) {}

template <class T> Mat<T>::Mat(const AOI& a) : Element(a.rng1.Size(), a.rng2.Size(), 1) {}

template <class T> Mat<T>::Mat(const typename Family<T>::Source& a)
{
    this->Share(a);
    this->dim3 = 1;
}

template <class T> Mat<T>::Mat(const typename Family<T>::Mat* m, ::RNG rx, ::RNG ry)
{
    this->Cut(*m, sizeof(T), rx, ry, 0);
}

template <class T> typename Family<T>::Mat Mat<T>::operator()(::RNG rx, ::RNG ry) const
{
    return {static_cast<const typename Family<T>::Mat*>(this), rx, ry};
}

template <class T> typename Family<T>::Vec Mat<T>::operator()(::RNG rx, int y) const
{
    return {static_cast<const typename Family<T>::Mat*>(this), rx, y};
}

template <class T> typename Family<T>::Vec Mat<T>::operator()(int x, ::RNG ry) const
{
    return {static_cast<const typename Family<T>::Mat*>(this), x, ry};
}

template <class T> typename Family<T>::Mat Mat<T>::operator()(const AOI& a) const
{
    return (*this)(a.rng1, a.rng2);
}

// ---------------------------------------------------------------------------------- Cub

template <class T> Cub<T>::Cub(const VOI& v) : Element(v.rng1.Size(), v.rng2.Size(), v.rng3.Size()) {}

template <class T> Cub<T>::Cub(const typename Family<T>::Source& a) { this->Share(a); }

template <class T> Cub<T>::Cub(const typename Family<T>::Mat& m)
{
    this->Share(m);
    this->dim3 = 1;
}

template <class T> Cub<T>::Cub(const typename Family<T>::Cub* c, ::RNG rx, ::RNG ry, ::RNG rz)
{
    this->Cut(*c, sizeof(T), rx, ry, rz);
}

template <class T> typename Family<T>::Mat Cub<T>::operator()(::RNG rx, ::RNG ry, int z) const
{
    return {static_cast<const typename Family<T>::Cub*>(this), rx, ry, z};
}

template <class T> typename Family<T>::Mat Cub<T>::operator()(::RNG rx, int y, ::RNG rz) const
{
    return {static_cast<const typename Family<T>::Cub*>(this), rx, y, rz};
}

template <class T> typename Family<T>::Mat Cub<T>::operator()(int x, ::RNG ry, ::RNG rz) const
{
    return {static_cast<const typename Family<T>::Cub*>(this), x, ry, rz};
}

template <class T> typename Family<T>::Vec Cub<T>::operator()(::RNG rx, int y, int z) const
{
    return {static_cast<const typename Family<T>::Cub*>(this), rx, y, z};
}

template <class T> typename Family<T>::Vec Cub<T>::operator()(int x, ::RNG ry, int z) const
{
    return {static_cast<const typename Family<T>::Cub*>(this), x, ry, z};
}

template <class T> typename Family<T>::Vec Cub<T>::operator()(int x, int y, ::RNG rz) const
{
    return {static_cast<const typename Family<T>::Cub*>(this), x, y, rz};
}

template <class T> typename Family<T>::Cub Cub<T>::operator()(::RNG rx, ::RNG ry, ::RNG rz) const
{
    return {static_cast<const typename Family<T>::Cub*>(this), rx, ry, rz};
}

template <class T> typename Family<T>::Cub Cub<T>::operator()(const VOI& v) const
{
    return (*this)(v.rng1, v.rng2, v.rng3);
}

} // namespace kavrix

#endif
