/// \file
/// Arrays of signed 16-bit elements: prepared frames, derivatives, flow, motion and vote pictures.
#ifndef KAVRIX_KXSHORT_H
#define KAVRIX_KXSHORT_H

#include <Kavrix/KXint.h>
#include <Kavrix/KXubyte.h>

/// Shorts in up to three dimensions: what VecShort, MatShort and CubShort have in common, and what their
/// operators give. Sums, differences and products wrap: 32767 + 1 is -32768.
class KAVRIX_EXPORT KX_Short : public kavrix::IntElem<short> {
public:
    using IntElem::IntElem;
    using IntElem::operator+=;

    KX_Short& operator+=(const KX_Byte& b); ///< adds bytes, widened by zeros, in place; returns this array
};

extern template class kavrix::Elem<short>;
extern template class kavrix::IntElem<short>;

/// A vector of shorts; see Vec.
class KAVRIX_EXPORT VecShort : public kavrix::Vec<short> {
public:
    using Vec::Vec;

    /// Each element to its square root, rounded to nearest (ties to even); a negative one gives 0.
    /// Returns this vector.
    VecShort& sqrt();

    /// The element of rank p * dim1 / 100, 16 bits of it, held to the first and the last; 0 is the smallest.
    /// Reorders the elements: hand in a copy of the values to keep their order. Not for empty vectors.
    /// C. A. R. Hoare, "Algorithm 65: Find", Communications of the ACM 4 (1961), p. 321.
    short percentile(int p);
    short median(); ///< percentile(50): of an even number of elements the upper of the two in the middle
    /// Ascending, in place.
    /// C. A. R. Hoare, "Quicksort", The Computer Journal 5 (1962), pp. 10-16.
    void sort();
    void sort(short lo, short hi); ///< the same for the indices lo to hi only
};

/// A matrix of shorts: a picture of dim1 columns and dim2 rows; see Mat.
class KAVRIX_EXPORT MatShort : public kavrix::Mat<short> {
public:
    using Mat::Mat;

    MatShort& Trans(); ///< columns and rows swapped without moving an element; returns this matrix

    /// Element-wise comparisons of this matrix's dim1 x dim2 elements, into a new matrix: 255 where they
    /// hold, 0 elsewhere.
    /// @{
    MatByte operator==(const MatShort& b) const;
    MatByte operator!=(const MatShort& b) const;
    MatByte operator>(const MatShort& b) const;
    MatByte operator<(const MatShort& b) const;
    MatByte operator>=(const MatShort& b) const;
    MatByte operator<=(const MatShort& b) const;
    /// @}
    MatByte operator&&(const MatShort& b) const; ///< 255 where both are not 0, 0 elsewhere; a new matrix
    MatByte operator||(const MatShort& b) const; ///< 255 where either is not 0, 0 elsewhere; a new matrix
    MatByte operator!() const;                   ///< 255 where the element is 0, 0 elsewhere; a new matrix

    /// 3 x 3 filters: this matrix becomes the filtered inside of the W x H picture `m`, (W-2) x (H-2), so
    /// that (x, y) here belongs to (x+1, y+1) there. This matrix is empty or has just that shape; it must not
    /// share storage with `m`. A picture below 3 x 3 stops with "RNG: Invalid range selection".
    /// @{
    void Smooth(const MatByte& m);   ///< binomial, not normalised: 16 times the grey value, 0 to 4080
    void Smooth(const MatShort& m);  ///< binomial, normalised; for values up to 4080
    void LapAve(const MatShort& m);  ///< average of the neighbours: edges 1/6, corners 1/12 each
    void Laplace(const MatShort& m); ///< LapAve - centre + 2048
    void SobelX(const MatShort& m);  ///< right column - left column, weighted 1 2 1, + 2048
    void SobelY(const MatShort& m);  ///< lower row - upper row, weighted 1 2 1, + 2048
    /// @}

    /// As MatByte::FastFilter, with 16-bit sums and divisor: from eight passes on the divisor is 0.
    MatShort FastFilter(int nr_passes);

    void DrawCross(short x, short y, short color, char style);          ///< as MatByte::DrawCross
    void DrawLine(short x1, short y1, short x2, short y2, short color); ///< as MatByte::DrawLine

    void Attach_to_raw_image(short* data, int w, int h); ///< as MatByte::Attach_to_raw_image, with shorts
    void Detach_from_raw_image();                        ///< as MatByte::Detach_from_raw_image

    /// Reads a 16-bit bit-field BMP and takes its size; see bmpread.h for the results. What WriteBMP writes
    /// reads back only at even widths.
    /// @{
    int ReadBMP(const char* fname);
    int ReadBMP(std::FILE* fin);
    /// @}
    /// Writes the elements as they are as a 16-bit BMP; see bmpwrite.h for the results.
    /// @{
    int WriteBMP(const char* fname) const;
    int WriteBMP(std::FILE* fout) const;
    /// @}
    /// Writes (element + offset) >> 4, its low 8 bits, as an 8-bit grey BMP; see bmpwrite.h for the results.
    /// @{
    int WriteBMP8bpp(const char* fname, short offset) const;
    int WriteBMP8bpp(std::FILE* fout, short offset) const;
    /// @}
};

/// A cube of shorts: dim3 frames; see Cub.
class KAVRIX_EXPORT CubShort : public kavrix::Cub<short> {
public:
    using Cub::Cub;
};

extern template class kavrix::Vec<short>;
extern template class kavrix::Mat<short>;
extern template class kavrix::Cub<short>;

static_assert(sizeof(MatShort) == sizeof(KX_Base));

// Reductions of vectors. None is for empty vectors, except Sum and Dot, which give 0.
KAVRIX_EXPORT short Max(const VecShort& v);  ///< largest element
KAVRIX_EXPORT short Min(const VecShort& v);  ///< smallest element
KAVRIX_EXPORT int Argmax(const VecShort& v); ///< index of the first maximum
KAVRIX_EXPORT int Argmin(const VecShort& v); ///< index of the first minimum
KAVRIX_EXPORT short Sum(const VecShort& v);  ///< sum, modulo 2^16
/// Sum of a(i) * b(i) over a's length, modulo 2^16.
KAVRIX_EXPORT short Dot(const VecShort& a, const VecShort& b);
KAVRIX_EXPORT VecInt Size(const VecShort& v);   ///< one element: dim1
KAVRIX_EXPORT VecShort All(short value, int n); ///< new vector: n times the value

// Reductions of matrices: entry y belongs to row y.
KAVRIX_EXPORT VecShort Max(const MatShort& m);         ///< largest element of each row
KAVRIX_EXPORT VecShort Min(const MatShort& m);         ///< smallest element of each row
KAVRIX_EXPORT VecInt Argmax(const MatShort& m);        ///< column of the row's first maximum
KAVRIX_EXPORT VecInt Argmin(const MatShort& m);        ///< column of the row's first minimum
KAVRIX_EXPORT VecShort Sum(const MatShort& m);         ///< sum of each row, modulo 2^16
KAVRIX_EXPORT VecInt Size(const MatShort& m);          ///< two elements: dim1, dim2
KAVRIX_EXPORT MatShort All(short value, int w, int h); ///< new matrix: w x h times the value
KAVRIX_EXPORT VecShort Diag(const MatShort& m);        ///< new vector: m(i, i), min(dim1, dim2) of them
KAVRIX_EXPORT MatShort Diag(const VecShort& v);        ///< new square matrix: v on the diagonal, 0 elsewhere
/// Entry x: sum over y of m(x, y) * v(y), wrapped.
KAVRIX_EXPORT VecShort operator*(const MatShort& m, const VecShort& v);
KAVRIX_EXPORT MatShort Abs(const MatShort& m); ///< new matrix of the absolute values; -32768 stays

#endif
