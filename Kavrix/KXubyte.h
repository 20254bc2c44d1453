/// \file
/// Arrays of unsigned 8-bit elements: grey pictures, frame sequences, colour cubes of three planes.
#ifndef KAVRIX_KXUBYTE_H
#define KAVRIX_KXUBYTE_H

#include <Kavrix/KXarray.h>

#include <cstdio>

/// Bytes in up to three dimensions: what VecByte, MatByte and CubByte have in common, and what their
/// operators give. Sums, differences and products are kept modulo 256.
class KAVRIX_EXPORT KX_Byte : public kavrix::IntElem<UBYTE> {
public:
    using IntElem::IntElem;
    using IntElem::operator+=;
    using IntElem::operator-=;

    KX_Byte& operator-=(UBYTE s); ///< subtracts one value, modulo 256, in place; returns this array

    /// And, or, exclusive or, bit by bit, in place; returns this array.
    /// @{
    KX_Byte& operator&=(const KX_Byte& b);
    KX_Byte& operator|=(const KX_Byte& b);
    KX_Byte& operator^=(const KX_Byte& b);
    KX_Byte& operator&=(UBYTE s);
    KX_Byte& operator|=(UBYTE s);
    KX_Byte& operator^=(UBYTE s);
    /// @}
    /// And, or, exclusive or, bit by bit, as a new dense array.
    /// @{
    KX_Byte operator&(const KX_Byte& b) const;
    KX_Byte operator|(const KX_Byte& b) const;
    KX_Byte operator^(const KX_Byte& b) const;
    KX_Byte operator&(UBYTE s) const;
    KX_Byte operator|(UBYTE s) const;
    KX_Byte operator^(UBYTE s) const;
    /// @}

    /// The strict comparisons give a new array of 255 where they hold and 0 elsewhere.
    KX_Byte operator>(const KX_Byte& b) const;
    KX_Byte operator<(const KX_Byte& b) const; ///< 255 where this element is the smaller, 0 elsewhere; new
    KX_Byte operator>(UBYTE s) const;          ///< 255 where the element is larger than s, 0 elsewhere; new
    KX_Byte operator<(UBYTE s) const;          ///< 255 where the element is smaller than s, 0 elsewhere; new
    /// `>=` and `<=` are compound operators like `&=`: they write the answer, 255 where it holds and 0
    /// elsewhere, over THIS array and return it.
    KX_Byte& operator>=(const KX_Byte& b);
    KX_Byte& operator<=(const KX_Byte& b); ///< 255 where it is not the larger one, else 0; over THIS array
    KX_Byte& operator>=(UBYTE s);          ///< 255 where the element is at least s, else 0; over THIS array
    KX_Byte& operator<=(UBYTE s);          ///< 255 where the element is at most s, else 0; over THIS array
};

extern template class kavrix::Elem<UBYTE>;
extern template class kavrix::IntElem<UBYTE>;

/// A vector of bytes; see Vec.
class KAVRIX_EXPORT VecByte : public kavrix::Vec<UBYTE> {
public:
    using Vec::Vec;
};

/// A matrix of bytes: a grey picture of dim1 columns and dim2 rows; see Mat.
class KAVRIX_EXPORT MatByte : public kavrix::Mat<UBYTE> {
public:
    using Mat::Mat;

    /// Swaps columns and rows of this view by swapping sizes and strides; no element moves, and other views
    /// of the storage stay as they are. Returns this matrix.
    MatByte& Trans();

    /// Element-wise comparisons of this matrix's dim1 x dim2 elements, into a new matrix.
    /// `==` and `!=` compare the bytes and give 1 or 0.
    /// @{
    MatByte operator==(const MatByte& b) const;
    MatByte operator!=(const MatByte& b) const;
    /// @}
    /// The ordering (255 or 0) and logical (1 or 0) operators read both matrices as the short ones do: signed
    /// 16-bit values, in this machine's byte order, at 16-bit positions, byte address data + 2 * (x * step1 +
    /// y * step2). That is their settled behaviour. A position that leaves the storage block reads as 0; of
    /// an attached buffer no end is known: it must hold twice the bytes of the picture. The result is a new
    /// matrix of this one's dim1 x dim2.
    /// @{
    MatByte operator>(const MatByte& b) const;
    MatByte operator<(const MatByte& b) const;
    MatByte operator>=(const MatByte& b) const;
    MatByte operator<=(const MatByte& b) const;
    MatByte operator&&(const MatByte& b) const;
    MatByte operator||(const MatByte& b) const;
    MatByte operator!() const;
    /// @}

    /// With a scalar as for any byte array: bytes are compared. `>` and `<` give a new array, `>=` and `<=`
    /// write over THIS matrix.
    /// @{
    KX_Byte operator>(UBYTE s) const { return KX_Byte::operator>(s); }
    KX_Byte operator<(UBYTE s) const { return KX_Byte::operator<(s); }
    KX_Byte& operator>=(UBYTE s) { return KX_Byte::operator>=(s); }
    KX_Byte& operator<=(UBYTE s) { return KX_Byte::operator<=(s); }
    /// @}

    /// Makes this matrix, which must have no storage ("Error: Already attached to data"), a w x h view of the
    /// caller's bytes, row after row. The buffer stays the caller's and must outlive all views. An attached
    /// matrix must not be resized: it would drop the buffer for storage of its own.
    void Attach_to_raw_image(unsigned char* data, int w, int h);
    void Detach_from_raw_image(); ///< back to an empty matrix; the buffer is left alone

    /// Binomial smoothing in place by nr_passes sums of neighbours along x and y each; the result is the
    /// returned view, (W - nr_passes) x (H - nr_passes) anchored at (0, 0); outside of it partial sums stay.
    /// Sums and the divisor 4^nr_passes have 8 bits and wrap: for one to three passes over dark pictures.
    /// From four passes on the divisor is 0 and so is the result. A negative count and one that leaves no
    /// pixel stop with "RNG: Invalid range selection".
    MatByte FastFilter(int nr_passes);

    /// Sets the pixels of a marker around column x, row y: '+' and 'x' crosses of 13 pixels, 'o' a ring of
    /// 16, drawn only where 3 pixels lie free on every side; any other style the single pixel.
    void DrawCross(short x, short y, UBYTE color, char style);
    /// Sets the pixels of a digital line, both ends included; those outside the picture are left out.
    void DrawLine(short x1, short y1, short x2, short y2, UBYTE color);

    /// Reads an uncompressed 8-bit BMP and takes its size; see bmpread.h for the results. A shared matrix of
    /// another size halts the program; one of the same size is written, and all that share it see it.
    /// @{
    int ReadBMP(const char* fname);
    int ReadBMP(std::FILE* fin);
    /// @}
    /// Writes an 8-bit grey BMP; see bmpwrite.h for the results.
    /// @{
    int WriteBMP(const char* fname) const;
    int WriteBMP(std::FILE* fout) const;
    /// @}
    /// Writes a grey baseline JPEG of quality 1 to 100; see jpegwrite.h for the results and for views that
    /// cannot be written.
    /// @{
    int WriteJPG(const char* fname, int quality) const;
    int WriteJPG(std::FILE* outfile, int quality) const;
    /// @}

    /// Becomes ncols x nrows and reads plain bytes, row after row, behind `nskip` bytes that are passed over.
    /// Any failure stops the program; see rawfiles.h.
    /// @{
    void ReadRAW(const char* fname, int nskip, int ncols, int nrows);
    void ReadRAW(std::FILE* fp, int nskip, int ncols, int nrows);
    /// @}
    /// Writes plain bytes, COLUMN after column, behind `nskip` bytes of the file "header.tif". Any failure
    /// stops the program; see rawfiles.h.
    /// @{
    void WriteRAW(const char* fname, int nskip) const;
    void WriteRAW(std::FILE* fp, int nskip) const;
    /// @}
    /// Writes a minimal uncompressed TIFF. Any failure stops the program; see rawfiles.h.
    /// @{
    void WriteTIFF(const char* fname) const;
    void WriteTIFF(std::FILE* fout) const;
    /// @}
    /// Reads a file named .IMG or .img and takes its size. Any failure stops the program; see rawfiles.h.
    void load_from_image_file(const char* fname);
};

/// A cube of bytes: a sequence of grey frames, or a colour picture of three planes red, green, blue; see Cub.
class KAVRIX_EXPORT CubByte : public kavrix::Cub<UBYTE> {
public:
    using Cub::Cub;

    /// 1 where the elements are equal (differ), 0 elsewhere, in a new cube of this one's shape.
    /// @{
    CubByte operator==(const CubByte& b) const;
    CubByte operator!=(const CubByte& b) const;
    /// @}

    /// Reads a 24-bit BMP into three planes red, green, blue and takes its size; see bmpread.h for the
    /// results. Only files whose rows are padded (widths that are no multiple of 4) load, and only into an
    /// empty cube.
    /// @{
    int ReadBMP(const char* fname);
    int ReadBMP(std::FILE* fin);
    /// @}
    /// Writes three planes red, green, blue as a 24-bit BMP, which ReadBMP does not read back; see bmpwrite.h
    /// for the results.
    /// @{
    int WriteBMP(const char* fname) const;
    int WriteBMP(std::FILE* fout) const;
    /// @}
    /// Writes a colour JPEG of width x height from the samples of plane 0 onwards, of quality 1 to 100; see
    /// jpegwrite.h for the results.
    /// @{
    int WriteJPG(const char* fname, int quality) const;
    int WriteJPG(std::FILE* outfile, int quality) const;
    /// @}
};

extern template class kavrix::Vec<UBYTE>;
extern template class kavrix::Mat<UBYTE>;
extern template class kavrix::Cub<UBYTE>;

static_assert(sizeof(MatByte) == sizeof(KX_Base) && sizeof(CubByte) == sizeof(KX_Base));

/// Sum of a(i) * b(i) over a's length, modulo 256.
KAVRIX_EXPORT UBYTE Dot(const VecByte& a, const VecByte& b);

#endif
