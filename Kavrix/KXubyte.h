// Arrays of unsigned 8-bit elements: grey pictures, frame sequences, colour cubes of three planes.
#ifndef KAVRIX_KXUBYTE_H
#define KAVRIX_KXUBYTE_H

#include <Kavrix/KXarray.h>

#include <cstdio>

class KX_Byte : public IntElem<UBYTE> {
public:
    using IntElem::IntElem, IntElem::operator+=, IntElem::operator-=;

    KX_Byte& operator-=(UBYTE s);

    /// Bit by bit, in place.
    KX_Byte& operator&=(const KX_Byte& b);
    KX_Byte& operator|=(const KX_Byte& b);
    KX_Byte& operator^=(const KX_Byte& b);
    KX_Byte& operator&=(UBYTE s);
    KX_Byte& operator|=(UBYTE s);
    KX_Byte& operator^=(UBYTE s);
    KX_Byte operator&(const KX_Byte& b) const;
    KX_Byte operator|(const KX_Byte& b) const;
    KX_Byte operator^(const KX_Byte& b) const;
    KX_Byte operator&(UBYTE s) const;
    KX_Byte operator|(UBYTE s) const;
    KX_Byte operator^(UBYTE s) const;

    /// Comparisons, 255 where they hold and 0 elsewhere. The strict ones give a new array. `>=` and `<=` are
    /// compound operators like `&=`: they write the answer over THIS array and return it.
    KX_Byte operator>(const KX_Byte& b) const;
    KX_Byte operator<(const KX_Byte& b) const;
    KX_Byte operator>(UBYTE s) const;
    KX_Byte operator<(UBYTE s) const;
    KX_Byte& operator>=(const KX_Byte& b);
    KX_Byte& operator<=(const KX_Byte& b);
    KX_Byte& operator>=(UBYTE s);
    KX_Byte& operator<=(UBYTE s);
};

extern template class Elem<UBYTE>;
extern template class IntElem<UBYTE>;

class VecByte : public Vec<UBYTE> {
public:
    using Vec::Vec;
};

class MatByte : public Mat<UBYTE> {
public:
    using Mat::Mat;
    using KX_Byte::operator>, KX_Byte::operator<, KX_Byte::operator>=, KX_Byte::operator<=;

    /// Swaps columns and rows by swapping sizes and strides; no element moves. Returns this matrix.
    MatByte& Trans();

    /// Element-wise comparisons of this matrix's dim1 x dim2 elements, into a new matrix.
    /// `==` and `!=` compare the bytes and give 1 or 0.
    MatByte operator==(const MatByte& b) const;
    MatByte operator!=(const MatByte& b) const;
    /// The ordering (255 or 0) and logical (1 or 0) operators read both matrices as the short ones do: signed
    /// 16-bit values, in this machine's byte order, at 16-bit positions, byte address data + 2 * (x * step1 +
    /// y * step2). That is their settled behaviour. A position that leaves the storage block reads as 0.
    MatByte operator>(const MatByte& b) const;
    MatByte operator<(const MatByte& b) const;
    MatByte operator>=(const MatByte& b) const;
    MatByte operator<=(const MatByte& b) const;
    MatByte operator&&(const MatByte& b) const;
    MatByte operator||(const MatByte& b) const;
    MatByte operator!() const;

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

    /// Reads an uncompressed 8-bit BMP; see bmpread.h.
    int ReadBMP(const char* fname);
    int ReadBMP(std::FILE* fin);
    /// Writes an 8-bit grey BMP; see bmpwrite.h.
    int WriteBMP(const char* fname) const;
    int WriteBMP(std::FILE* fout) const;
    /// Writes a grey baseline JPEG; see jpegwrite.h.
    int WriteJPG(const char* fname, int quality) const;
    int WriteJPG(std::FILE* outfile, int quality) const;

    /// Plain bytes, a minimal TIFF and the IMG form; see rawfiles.h. All of them stop at any failure.
    void ReadRAW(const char* fname, int nskip, int ncols, int nrows);
    void ReadRAW(std::FILE* fp, int nskip, int ncols, int nrows);
    void WriteRAW(const char* fname, int nskip) const;
    void WriteRAW(std::FILE* fp, int nskip) const;
    void WriteTIFF(const char* fname) const;
    void WriteTIFF(std::FILE* fout) const;
    void load_from_image_file(const char* fname);
};

class CubByte : public Cub<UBYTE> {
public:
    using Cub::Cub;

    /// 1 where the elements are equal (differ), 0 elsewhere, in a new cube.
    CubByte operator==(const CubByte& b) const;
    CubByte operator!=(const CubByte& b) const;

    /// Reads a 24-bit BMP into three planes red, green, blue; see bmpread.h.
    int ReadBMP(const char* fname);
    int ReadBMP(std::FILE* fin);
    /// Writes three planes red, green, blue as a 24-bit BMP; see bmpwrite.h.
    int WriteBMP(const char* fname) const;
    int WriteBMP(std::FILE* fout) const;
    /// Writes a colour JPEG of width x height from the samples of plane 0 onwards; see jpegwrite.h.
    int WriteJPG(const char* fname, int quality) const;
    int WriteJPG(std::FILE* outfile, int quality) const;
};

extern template class Vec<UBYTE>;
extern template class Mat<UBYTE>;
extern template class Cub<UBYTE>;

static_assert(sizeof(MatByte) == sizeof(KX_Base) && sizeof(CubByte) == sizeof(KX_Base));

/// Sum of a(i) * b(i) over a's length, modulo 256.
UBYTE Dot(const VecByte& a, const VecByte& b);

#endif
