/// \file
/// Arrays of 32-bit floats: parameters.
#ifndef KAVRIX_KXFLOAT_H
#define KAVRIX_KXFLOAT_H

#include <Kavrix/KXint.h>

/// Floats in up to three dimensions: what VecFloat, MatFloat and CubFloat have in common, and what their
/// operators give.
class KAVRIX_EXPORT KX_Float : public kavrix::Elem<float> {
public:
    using Elem::Elem;
};

extern template class kavrix::Elem<float>;

/// A vector of floats; see Vec.
class KAVRIX_EXPORT VecFloat : public kavrix::Vec<float> {
public:
    using Vec::Vec;

    VecFloat& sqrt(); ///< each element to its square root, of negative ones not a number; returns this vector
};

/// A matrix of floats, dim1 columns by dim2 rows; see Mat.
class KAVRIX_EXPORT MatFloat : public kavrix::Mat<float> {
public:
    using Mat::Mat;
};

/// A cube of floats: dim3 frames; see Cub.
class KAVRIX_EXPORT CubFloat : public kavrix::Cub<float> {
public:
    using Cub::Cub;
};

extern template class kavrix::Vec<float>;
extern template class kavrix::Mat<float>;
extern template class kavrix::Cub<float>;

static_assert(sizeof(MatFloat) == sizeof(KX_Base));

// Reductions of vectors. None is for empty vectors, except Sum and Dot, which give 0.
KAVRIX_EXPORT float Max(const VecFloat& v);  ///< largest element
KAVRIX_EXPORT float Min(const VecFloat& v);  ///< smallest element
KAVRIX_EXPORT int Argmax(const VecFloat& v); ///< index of the first maximum
KAVRIX_EXPORT int Argmin(const VecFloat& v); ///< index of the first minimum
KAVRIX_EXPORT float Sum(const VecFloat& v);  ///< sum in single precision, in index order
/// Sum of a(i) * b(i) over a's length, likewise.
KAVRIX_EXPORT float Dot(const VecFloat& a, const VecFloat& b);
KAVRIX_EXPORT VecInt Size(const VecFloat& v);   ///< one element: dim1
KAVRIX_EXPORT VecFloat All(float value, int n); ///< new vector: n times the value

#endif
