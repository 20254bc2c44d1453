// Arrays of 32-bit floats: parameters.
#ifndef KAVRIX_KXFLOAT_H
#define KAVRIX_KXFLOAT_H

#include <Kavrix/KXint.h>

class KX_Float : public Elem<float> {
public:
    using Elem::Elem;
};

extern template class Elem<float>;

class VecFloat : public Vec<float> {
public:
    using Vec::Vec;

    VecFloat& sqrt(); ///< each element to its square root; returns this vector
};

class MatFloat : public Mat<float> {
public:
    using Mat::Mat;
};

class CubFloat : public Cub<float> {
public:
    using Cub::Cub;
};

extern template class Vec<float>;
extern template class Mat<float>;
extern template class Cub<float>;

static_assert(sizeof(MatFloat) == sizeof(KX_Base));

// Reductions of vectors. None is for empty vectors, except Sum and Dot, which give 0.
float Max(const VecFloat& v);
float Min(const VecFloat& v);
int Argmax(const VecFloat& v);                   ///< index of the first maximum
int Argmin(const VecFloat& v);                   ///< index of the first minimum
float Sum(const VecFloat& v);                    ///< in single precision, in index order
float Dot(const VecFloat& a, const VecFloat& b); ///< likewise, over a's length
VecInt Size(const VecFloat& v);                  ///< one element: dim1
VecFloat All(float value, int n);                ///< n times the value

#endif
