/// \file
/// Arrays of signed 32-bit elements: sums of flow, histograms, votes, regions.
#ifndef KAVRIX_KXINT_H
#define KAVRIX_KXINT_H

#include <Kavrix/KXarray.h>

/// Ints in up to three dimensions: what VecInt and MatInt have in common, and what their operators give.
/// Sums, differences and products wrap.
class KAVRIX_EXPORT KX_Int : public kavrix::IntElem<int> {
public:
    using IntElem::IntElem;
    using IntElem::operator+=;
    using IntElem::operator-=;

    KX_Int& operator+=(const KX_Short& b); ///< adds shorts, widened with their sign, in place
    KX_Int& operator-=(const KX_Short& b); ///< subtracts shorts, widened with their sign, in place
};

extern template class kavrix::Elem<int>;
extern template class kavrix::IntElem<int>;

/// A vector of ints; see Vec.
class KAVRIX_EXPORT VecInt : public kavrix::Vec<int> {
public:
    using Vec::Vec;

    /// Each element to its square root, rounded to nearest (ties to even); a negative one gives 0.
    /// Returns this vector.
    VecInt& sqrt();
};

/// A matrix of ints, dim1 columns by dim2 rows; see Mat.
class KAVRIX_EXPORT MatInt : public kavrix::Mat<int> {
public:
    using Mat::Mat;

    MatInt& Trans(); ///< columns and rows swapped without moving an element; returns this matrix
};

extern template class kavrix::Vec<int>;
extern template class kavrix::Mat<int>;

static_assert(sizeof(MatInt) == sizeof(KX_Base));

// Reductions of vectors. None is for empty vectors, except Sum and Dot, which give 0.
KAVRIX_EXPORT int Max(const VecInt& v);                  ///< largest element
KAVRIX_EXPORT int Min(const VecInt& v);                  ///< smallest element
KAVRIX_EXPORT int Argmax(const VecInt& v);               ///< index of the first maximum
KAVRIX_EXPORT int Argmin(const VecInt& v);               ///< index of the first minimum
KAVRIX_EXPORT int Sum(const VecInt& v);                  ///< sum, modulo 2^32
KAVRIX_EXPORT int Dot(const VecInt& a, const VecInt& b); ///< sum of a(i) * b(i) over a's length, modulo 2^32
KAVRIX_EXPORT VecInt Size(const VecInt& v);              ///< one element: dim1
KAVRIX_EXPORT VecInt All(int value, int n);              ///< new vector: n times the value

// Reductions of matrices: entry y belongs to row y.
KAVRIX_EXPORT VecInt Max(const MatInt& m);         ///< largest element of each row
KAVRIX_EXPORT VecInt Min(const MatInt& m);         ///< smallest element of each row
KAVRIX_EXPORT VecInt Argmax(const MatInt& m);      ///< column of the row's first maximum
KAVRIX_EXPORT VecInt Argmin(const MatInt& m);      ///< column of the row's first minimum
KAVRIX_EXPORT VecInt Sum(const MatInt& m);         ///< sum of each row, modulo 2^32
KAVRIX_EXPORT VecInt Size(const MatInt& m);        ///< two elements: dim1, dim2
KAVRIX_EXPORT MatInt All(int value, int w, int h); ///< new matrix: w x h times the value
KAVRIX_EXPORT VecInt Diag(const MatInt& m);        ///< new vector: m(i, i), min(dim1, dim2) of them
KAVRIX_EXPORT MatInt Diag(const VecInt& v);        ///< new square matrix: v on the diagonal, 0 elsewhere
/// Entry x: sum over y of m(x, y) * v(y), wrapped.
KAVRIX_EXPORT VecInt operator*(const MatInt& m, const VecInt& v);

#endif
