/// \file
/// The class templates behind the typed arrays. People name the classes of KXubyte.h, KXshort.h, KXint.h and
/// KXfloat.h; what these have in common stands here once. The bodies are in KXarray-inl.h and are compiled by
/// the family units only.
///
/// From what people write down to what every array is, each made of the next:
///
///     MatShort              a picture of shorts: its filters, comparisons and files    (KXshort.h)
///     kavrix::Mat<short>    two dimensions: constructors, elements, views
///     KX_Short              any dimensions: what only shorts have                      (KXshort.h)
///     kavrix::IntElem, Elem<short>    shifts and scaling; fill, assignment, arithmetic, resizing
///     KX_Base               the descriptor: storage, sizes, strides                    (KXcommon.h)
///
/// Copying shares, assigning copies values: see KXcommon.h.
#ifndef KAVRIX_KXARRAY_H
#define KAVRIX_KXARRAY_H

#include <Kavrix/KXcast.h>
#include <Kavrix/KXcommon.h>

#include <concepts>
#include <cstddef>
#include <type_traits>

class KX_Byte;
class VecByte;
class MatByte;
class CubByte;
class KX_Short;
class VecShort;
class MatShort;
class CubShort;
class KX_Int;
class VecInt;
class MatInt;
class KX_Float;
class VecFloat;
class MatFloat;
class CubFloat;

namespace kavrix {

/// The concrete classes of an element type; `Source` is what a shaped array of it can be made from by
/// sharing. Byte arrays take any array as a source and read its elements at byte positions: that compiles,
/// and means something only for byte arrays.
template <class T> struct Family;

/// The classes of bytes.
template <> struct Family<UBYTE> {
    /// Element class, vector, matrix, cube, and what they can be made from by sharing.
    /// @{
    using Elem = KX_Byte;
    using Vec = VecByte;
    using Mat = MatByte;
    using Cub = CubByte;
    using Source = KX_Base;
    /// @}
};

/// The classes of shorts.
template <> struct Family<short> {
    /// Element class, vector, matrix, cube, and what they can be made from by sharing.
    /// @{
    using Elem = KX_Short;
    using Vec = VecShort;
    using Mat = MatShort;
    using Cub = CubShort;
    using Source = KX_Short;
    /// @}
};

/// The classes of ints.
template <> struct Family<int> {
    /// Element class, vector, matrix, cube, and what they can be made from by sharing.
    /// @{
    using Elem = KX_Int;
    using Vec = VecInt;
    using Mat = MatInt;
    using Cub = void; // there is no cube of ints
    using Source = KX_Int;
    /// @}
};

/// The classes of floats.
template <> struct Family<float> {
    /// Element class, vector, matrix, cube, and what they can be made from by sharing.
    /// @{
    using Elem = KX_Float;
    using Vec = VecFloat;
    using Mat = MatFloat;
    using Cub = CubFloat;
    using Source = KX_Float;
    /// @}
};

/// The cube class of T (or something derived of it), for the views that are cut from cubes.
template <class C, class T>
concept CubeOf = !std::is_void_v<typename Family<T>::Cub> && std::derived_from<C, typename Family<T>::Cub>;

/// A value that a vector can be made of: a number, or one of an unscoped enumeration.
template <class A>
concept ElementValue = (std::is_arithmetic_v<A> || std::is_enum_v<A>)&&std::convertible_to<A, int>;

/// How many values the constructors of vectors take: 2 to 10; for ints 2 to 12, and 16.
template <class T> constexpr bool IsValueCount(std::size_t n)
{
    return std::is_same_v<T, int> ? (n >= 2 && n <= 12) || n == 16 : n >= 2 && n <= 10;
}

/// Elements of type T in up to three dimensions.
///
/// Every operator walks the shape of its left operand and reads the right one at the same (x, y, z); shapes
/// are not compared, and a right operand that is smaller is read beyond its end. Compound operators write in
/// place, so that every view of the storage sees it; binary operators give a new dense array. Integers wrap
/// to their width, they never saturate. In place, an operand without storage changes nothing.
///
/// The classes KX_Byte, KX_Short, KX_Int and KX_Float are made of it; an array of one of them has sizes and
/// elements, but neither element access nor views. The shaped classes Vec, Mat and Cub share what it holds:
/// `MatShort d = a + b;`.
template <class T> class KAVRIX_EXPORT Elem : public KX_Base {
public:
    using Self = typename Family<T>::Elem; ///< KX_Short where T is short

    Elem(); ///< empty: dim1 0, dim2 and dim3 1, no storage
    /// New dense storage, not cleared. Stops with "Datablock::create: Not enough memory" when there are too
    /// many elements or a negative number of them.
    Elem(int d1, int d2, int d3);
    Elem(const Elem& b) = default; ///< shares
    /// Copies the values of `b` over this array's shape, and so into every array that shares the storage. An
    /// array without storage first gets `b`'s sizes; otherwise sizes are not compared, and a smaller `b` is
    /// read beyond its end.
    Elem& operator=(const Elem& b);

    /// Gives dense, uncleared storage of that shape, missing sizes 1. Nothing happens when the shape is
    /// already that; storage that is shared halts the program. See KX_Base::Resize_short.
    void Resize(int d1) { Resize(d1, 1, 1); }
    void Resize(int d1, int d2) { Resize(d1, d2, 1); } ///< the same, d1 x d2
    void Resize(int d1, int d2, int d3);               ///< the same, d1 x d2 x d3
    void Resize(const Self& other);                    ///< the same, to the sizes of `other`

    void Fill(T value); ///< writes `value` into every element of the view, and into no other of the storage
    /// Copies dim1 * dim2 * dim3 consecutive values from `src` into the view, x fastest, then y, then z.
    void ImportData(const T* src);

    /// Adds, subtracts, divides by, multiplies by the elements of `b`, or by one value, in place; returns
    /// this array. Results of integers wrap to their width. Quotients of integers are truncated towards zero;
    /// by zero they are 0, and the lowest value divided by -1 stays as it is.
    Self& operator+=(const Self& b);
    Self& operator-=(const Self& b); ///< subtracts; see above
    Self& operator/=(const Self& b); ///< divides; see above
    Self& ElementMul(const Self& b); ///< multiplies; see above
    Self& operator+=(T s);           ///< adds one value; see above
    Self& operator*=(T s);           ///< multiplies by one value; see above
    Self& operator/=(T s);           ///< divides by one value; see above

    /// Sum, difference, quotient and product with the elements of `b`, or with one value, as a new dense
    /// array of this one's shape, by the rules of the operators that work in place.
    Self operator+(const Self& b) const;
    Self operator-(const Self& b) const; ///< differences; see above
    Self operator/(const Self& b) const; ///< quotients; see above
    Self operator+(T s) const;           ///< sums with one value; see above
    Self operator*(T s) const;           ///< products with one value; see above
    Self operator/(T s) const;           ///< quotients by one value; see above
    Self operator~() const;              ///< every bit inverted, of floats too; a new dense array
};

/// What only integers have: shifts, and scaling by a float.
template <class T> class KAVRIX_EXPORT IntElem : public Elem<T> {
public:
    using Self = typename Family<T>::Elem; ///< KX_Short where T is short
    using Elem<T>::Elem;
    using Elem<T>::operator*=;
    using Elem<T>::operator/=;
    using Elem<T>::operator*;
    using Elem<T>::operator/;

    /// Each element times (divided by) f in single precision, cut towards zero to 32 bits (held to their
    /// range; to the unsigned range for bytes, so that negative results give 0), low bits kept: a byte 200
    /// times 1.5f gives 44. In place; returns this array.
    Self& operator*=(float f);
    Self& operator/=(float f); ///< divided by f; see above
    /// Shifts every element by n bits in place; returns this array. Right shifts round towards minus
    /// infinity, left shifts keep the low bits. Counts of 32 and more, and negative ones, give 0 (-1 for a
    /// negative value shifted right).
    Self& operator>>=(int n);
    Self& operator<<=(int n); ///< to the left; see above

    Self operator*(float f) const; ///< the same as a new dense array
    Self operator/(float f) const; ///< the same as a new dense array
    Self operator>>(int n) const;  ///< the same as a new dense array
    Self operator<<(int n) const;  ///< the same as a new dense array
};

/// A vector: dim1 elements; dim2 and dim3 are 1. Its operators are those of Elem and IntElem. A number does
/// not turn into one by itself: `m * short(2)` scales a matrix, and is no product of it with a vector.
/// Sub-views share the elements of their source. Their bounds are not tested: a range beyond the source gives
/// a view beyond it.
template <class T> class KAVRIX_EXPORT Vec : public Family<T>::Elem {
    using Element = typename Family<T>::Elem;

public:
    Vec() = default;                          ///< empty, without storage
    explicit Vec(int n);                      ///< n new elements, not cleared
    Vec(const ::RNG& r);                      ///< r.Size() new elements; the position is not kept
    Vec(const Vec& b) = default;              ///< shares
    Vec& operator=(const Vec& b) = default;   ///< copies values; see Elem
    Vec(const typename Family<T>::Source& a); ///< shares the first row of `a`

    Vec(const typename Family<T>::Vec* v, ::RNG r);        ///< part of a vector, shared
    Vec(const typename Family<T>::Mat* m, ::RNG r, int y); ///< part of row y, shared
    Vec(const typename Family<T>::Mat* m, int x, ::RNG r); ///< part of column x, shared
    /// Part of a line along x of a cube, in row y of frame z, shared.
    template <CubeOf<T> C> Vec(const C* c, ::RNG r, int y, int z) { this->Cut(*c, sizeof(T), r, y, z); }
    /// Part of a line along y of a cube, in column x of frame z, shared.
    template <CubeOf<T> C> Vec(const C* c, int x, ::RNG r, int z) { this->Cut(*c, sizeof(T), x, r, z); }
    /// Part of a line along z of a cube, at column x and row y, shared.
    template <CubeOf<T> C> Vec(const C* c, int x, int y, ::RNG r) { this->Cut(*c, sizeof(T), x, y, r); }

    /// A new vector of these values in order: 2 to 10 of them, for ints 2 to 12 or 16. Other types become T
    /// as Convert makes it: floats are cut towards zero, and low bits are kept.
    template <ElementValue... A>
    requires(IsValueCount<T>(sizeof...(A))) Vec(A... a)
    {
        this->Allocate(sizeof(T), int{sizeof...(A)}, 1, 1);
        const T values[] = {inner::ElementCast<T>(a)...};
        this->ImportData(values);
    }

    /// Element i, 0 to dim1 - 1; unchecked. The elements of a const vector can be written as well: constness
    /// is that of the descriptor.
    T& operator()(int i) const { return static_cast<T*>(this->p_data)[std::ptrdiff_t{i} * this->step1]; }
    T& operator[](int i) const { return (*this)(i); }  ///< the same
    typename Family<T>::Vec operator()(::RNG r) const; ///< the elements of a range, shared
};

/// A matrix, or image: dim1 columns by dim2 rows; dim3 is 1. Its operators are those of Elem and IntElem.
/// Sub-views share the elements of their source: writing into `img(rx, ry)` writes into `img`. Their bounds
/// are not tested: a range beyond the source gives a view beyond it.
template <class T> class KAVRIX_EXPORT Mat : public Family<T>::Elem {
    using Element = typename Family<T>::Elem;

public:
    Mat() = default;                          ///< empty, without storage
    Mat(int w, int h);                        ///< w x h new elements, not cleared
    Mat(const AOI& a);                        ///< new, of the area's size; the position is not kept
    Mat(const Mat& b) = default;              ///< shares
    Mat& operator=(const Mat& b) = default;   ///< copies values; see Elem
    Mat(const typename Family<T>::Source& a); ///< shares the first plane of `a`: MatShort c = a + b;

    Mat(const typename Family<T>::Mat* m, ::RNG rx, ::RNG ry); ///< a rectangle, shared
    /// Part of frame z of a cube, shared.
    template <CubeOf<T> C> Mat(const C* c, ::RNG rx, ::RNG ry, int z) { this->Cut(*c, sizeof(T), rx, ry, z); }
    /// Part of the x-z plane of a cube at row y, shared.
    template <CubeOf<T> C> Mat(const C* c, ::RNG rx, int y, ::RNG rz) { this->Cut(*c, sizeof(T), rx, y, rz); }
    /// Part of the y-z plane of a cube at column x, shared.
    template <CubeOf<T> C> Mat(const C* c, int x, ::RNG ry, ::RNG rz) { this->Cut(*c, sizeof(T), x, ry, rz); }

    /// Element in column x, row y; unchecked. Of a const matrix it can be written as well.
    T& operator()(int x, int y) const
    {
        return static_cast<T*>(
            this->p_data)[std::ptrdiff_t{x} * this->step1 + std::ptrdiff_t{y} * this->step2];
    }
    typename Family<T>::Mat operator()(::RNG rx, ::RNG ry) const; ///< a rectangle, shared
    typename Family<T>::Vec operator()(::RNG rx, int y) const;    ///< part of row y, shared
    typename Family<T>::Vec operator()(int x, ::RNG ry) const;    ///< part of column x, shared
    typename Family<T>::Mat operator()(const AOI& a) const;       ///< a rectangle, shared
};

/// A cube, or sequence: dim3 frames of dim1 columns by dim2 rows. Its operators are those of Elem and
/// IntElem. Sub-views share the elements of their source: `seq(RNG::All(), RNG::All(), z)` is frame z itself.
/// Their bounds are not tested: a range beyond the source gives a view beyond it.
template <class T> class KAVRIX_EXPORT Cub : public Family<T>::Elem {
    using Element = typename Family<T>::Elem;

public:
    Cub() = default; ///< empty, without storage
    using Family<T>::Elem::Elem;
    Cub(const VOI& v);                        ///< new, of the volume's size; the position is not kept
    Cub(const Cub& b) = default;              ///< shares
    Cub& operator=(const Cub& b) = default;   ///< copies values; see Elem
    Cub(const typename Family<T>::Source& a); ///< shares all of `a`
    Cub(const typename Family<T>::Mat& m);    ///< shares a matrix as a cube of one frame

    Cub(const typename Family<T>::Cub* c, ::RNG rx, ::RNG ry, ::RNG rz); ///< a sub-cube, shared

    /// Element in column x, row y, frame z; unchecked. Of a const cube it can be written as well.
    T& operator()(int x, int y, int z) const
    {
        return static_cast<T*>(
            this->p_data)[std::ptrdiff_t{x} * this->step1 + std::ptrdiff_t{y} * this->step2 +
                          std::ptrdiff_t{z} * this->step3];
    }
    typename Family<T>::Mat operator()(::RNG rx, ::RNG ry, int z) const; ///< of frame z, shared
    typename Family<T>::Mat operator()(::RNG rx, int y,
                                       ::RNG rz) const; ///< of the x-z plane at row y, shared
    typename Family<T>::Mat operator()(int x, ::RNG ry,
                                       ::RNG rz) const; ///< of the y-z plane at column x, shared
    typename Family<T>::Vec operator()(::RNG rx, int y, int z) const;       ///< along x, shared
    typename Family<T>::Vec operator()(int x, ::RNG ry, int z) const;       ///< along y, shared
    typename Family<T>::Vec operator()(int x, int y, ::RNG rz) const;       ///< along z, shared
    typename Family<T>::Cub operator()(::RNG rx, ::RNG ry, ::RNG rz) const; ///< a sub-cube, shared
    typename Family<T>::Cub operator()(const VOI& v) const;                 ///< a sub-cube, shared
};

} // namespace kavrix

#endif
