/// \file
/// The common ground of the library: the fail-stop and its trace stack, pixel formats, index ranges, and the
/// array base that every vector, matrix and cube is built on.
///
/// The rule of the house: COPYING an array SHARES its elements, ASSIGNING COPIES their VALUES.
///
///     MatShort a = b;        // a second view: writing a(0, 0) changes b(0, 0)
///     a = b;                 // the values of b go into the storage that a has
///     img(rx, ry) = b;       // the values of b go into that rectangle of img
///
/// Passing by value, returning and cutting sub-views copy a descriptor, so they share as well.
#ifndef KAVRIX_KXCOMMON_H
#define KAVRIX_KXCOMMON_H

#include <Kavrix/Datablock.h>
#include <Kavrix/KXexport.h>

#include <cstdint>
#include <cstdio>

static_assert(sizeof(short) == 2 && sizeof(int) == 4 && sizeof(float) == 4, "element widths are fixed");

/// The element of pictures, 0 to 255.
using UBYTE = unsigned char;

// ---------------------------------------------------------------------------------- diagnostics

/// Stops the program for good: composes the error line, writes it to standard error with a newline, and
/// sleeps for ever. There is nothing to catch and no way back: a machine must not go on with wrong numbers.
/// The line reads "01/01 00:00:00.000 > -999 Err1 in 0:OF_Norm: RNG: Invalid range selection": a fixed time
/// stamp, the code, the three innermost traced routines with their depth, the message.
/// \param errorCode  shown in the line; the library's own is 1
/// \param message    shown in the line; see kavrix::ComposeErrorLine for those that are too long
[[noreturn]] KAVRIX_EXPORT void error(int errorCode, const char* message);

namespace kavrix {

/// Length of the buffer that holds an error line, its terminating 0 included.
inline constexpr int errorLineSize = 180;

/// Composes the line of `error` without stopping.
/// A message too long for the line is replaced by "[message too long]"; where even the trace names are too
/// long the buffer keeps its filling of 0xFF bytes.
/// \return whether `line` holds a text that ends with 0
KAVRIX_EXPORT bool ComposeErrorLine(char (&line)[errorLineSize], int errorCode, const char* message);

} // namespace kavrix

/// Stops the program for good, silently, after a failed assertion. The two arguments tell where it stands,
/// for a debugger.
[[noreturn]] KAVRIX_EXPORT void gassert(unsigned line, const char* file);

/// Marks the routine that is running, for the error line: a local object at the top of the routine.
/// The names are kept as pointers: use string literals.
class KAVRIX_EXPORT Trace {
public:
    explicit Trace(const char* name); ///< pushes the name; ignored when 100 names are there
    ~Trace();                         ///< pops one name, also when its constructor was ignored
    Trace(const Trace&) = delete;
    Trace& operator=(const Trace&) = delete;

    static int getLevel() { return level; }                ///< number of names on the stack
    static const char* getMsg(int i) { return msgarr[i]; } ///< name number i, 0 the outermost; unchecked

    static constexpr int maxLevel = 100; ///< room on the stack
    static int level;                    ///< number of names on the stack
    static const char* msgarr[maxLevel]; ///< the names, the outermost first
};

/// What a pixel is made of.
enum PIX_FMT {
    PIX_FMT_NONE = 0,  ///< no format
    PIX_FMT_Y8 = 1,    ///< grey, 8 bits
    PIX_FMT_Y16 = 2,   ///< grey, 16 bits
    PIX_FMT_FLOAT = 3, ///< grey, a 32-bit float
    PIX_FMT_RGB24 = 4, ///< red, green, blue, 8 bits each
    PIX_FMT_BGR24 = 5, ///< blue, green, red, 8 bits each
    PIX_FMT_HSV24 = 6, ///< hue, saturation, value, 8 bits each
    PIX_FMT_BAYER = 7, ///< one colour behind each pixel's filter, 16 bits
    PIX_FMT_Y32 = 8    ///< grey, 32 bits
};

/// Bytes of one pixel of a `PIX_FMT`: 1 to 4; -1 for `PIX_FMT_NONE` and for numbers that are no format.
KAVRIX_EXPORT int BytesPerPixel(int format);

// ---------------------------------------------------------------------------------- index ranges

/// An inclusive range of indices from, from + step, ... up to `to`.
/// A `to` of `RNG::toEnd` stands for the last index of the dimension that the range selects from:
/// `RNG(0, 2147483647)` is the whole dimension.
class KAVRIX_EXPORT RNG {
public:
    static constexpr int toEnd = 2147483647; ///< as a `to`: the last index, whichever that is

    /// First index; last one, included if the steps meet it, or `toEnd`; distance from one index to the next.
    /// @{
    int from, to, step;
    /// @}

    /// Step 1. Stops with "RNG: Invalid range selection" unless 0 <= from <= to.
    RNG(int from, int to);
    /// A range that steps, downwards when `step` is negative. Stops with "RNG: Invalid range selection" when
    /// `step` is 0, an end is negative, or `to` lies on the wrong side of `from`.
    RNG(int from, int to, int step);
    RNG(const RNG&) = default;            ///< the same indices
    RNG& operator=(const RNG&) = default; ///< the same indices

    /// The whole of a dimension.
    static RNG All() { return RNG(0, toEnd); }

    /// |to - from| / |step| + 1, the number of indices. Not for a range whose `to` is `toEnd`.
    int Size() const;
    /// Whether every index of this range, as an interval, lies within `outer`.
    bool inside(const RNG& outer) const;
    /// A range from text: "a" (one index), "a:b", "a:b:step" or ":" (everything), decimal, blanks allowed
    /// around the numbers; "a:" and "a::step" run to the end.
    /// Stops with "RNG: Invalid range selection" on anything else.
    static RNG GetRng(const char* text);
};

/// An area of interest: columns `rng1`, rows `rng2`.
class KAVRIX_EXPORT AOI {
public:
    /// Columns and rows.
    /// @{
    ::RNG rng1, rng2;
    /// @}

    /// Columns fromX .. toX, rows fromY .. toY, ends included.
    /// Stops with "RNG: Invalid range selection" as RNG(from, to) does.
    AOI(int fromX, int toX, int fromY, int toY) : rng1(fromX, toX), rng2(fromY, toY) {}
    AOI(const ::RNG& x, const ::RNG& y) : rng1(x), rng2(y) {} ///< of two ranges
    AOI(const AOI&) = default;                                ///< the same area
    AOI& operator=(const AOI&) = default;                     ///< the same area

    bool inside(const AOI& outer) const; ///< whether it is RNG::inside in both directions
};

/// A volume of interest: columns `rng1`, rows `rng2`, frames `rng3`.
class KAVRIX_EXPORT VOI {
public:
    /// Columns, rows and frames.
    /// @{
    ::RNG rng1, rng2, rng3;
    /// @}

    /// Columns fromX .. toX, rows fromY .. toY, frames fromZ .. toZ, ends included.
    /// Stops with "RNG: Invalid range selection" as RNG(from, to) does.
    VOI(int fromX, int toX, int fromY, int toY, int fromZ, int toZ)
        : rng1(fromX, toX), rng2(fromY, toY), rng3(fromZ, toZ)
    {
    }
    VOI(const ::RNG& x, const ::RNG& y, const ::RNG& z) : rng1(x), rng2(y), rng3(z) {} ///< of three ranges
    VOI(const VOI&) = default;                                                         ///< the same volume
    VOI& operator=(const VOI&) = default;                                              ///< the same volume

    bool inside(const VOI& outer) const; ///< whether it is RNG::inside in all three directions
};

// ---------------------------------------------------------------------------------- the array base

/// The descriptor that every array is: a data pointer, the block it points into, sizes and strides.
/// Dimension 1 is x (column), 2 is y (row), 3 is z (frame); element (x, y, z) lies
/// x * step1 + y * step2 + z * step3 elements behind the data pointer. A fresh array is dense, x fastest;
/// a view may have any strides, negative ones too. Bounds and shapes are never tested: they are the caller's.
class KAVRIX_EXPORT KX_Base {
public:
    union { // one address, read by the element type
        /// Where element (0, 0, 0) lies, as a pointer to any, byte, short, int and float elements; null
        /// without storage.
        /// @{
        void* p_data;
        UBYTE* p_B_data;
        short* p_s_data;
        int* p_i_data;
        float* p_f_data;
        /// @}
    };
    Datablock* pblock; ///< the block this view lives in, or null
    /// Strides: elements from one column, row and frame to the next.
    /// @{
    int step1, step2, step3;
    /// @}
    /// Sizes: columns, rows and frames.
    /// @{
    int dim1, dim2, dim3;
    /// @}
    char poolObjType; ///< object type for dumps
    char myName[13];  ///< name for dumps

    KX_Base();                 ///< all zero: no storage, no size
    KX_Base(const KX_Base& b); ///< a second view of the same elements
    ~KX_Base();                ///< the last array of a block frees it

    /// Copies values over this view's shape, in the element width of `src`'s block.
    /// Without storage it is first given `src`'s shape and width. Shapes are not compared: a smaller `src` is
    /// read beyond its end. Every array that shares the storage sees the new values.
    KX_Base& operator=(const KX_Base& src);

    /// Gives dense, uncleared storage of d1 x d2 x d3 elements of 1, 2, 4, 4 bytes.
    /// Nothing happens when the shape is already that. Otherwise the storage must not be shared, else:
    /// "Resize_ubyte: Object cannot be resized, data are referenced by another object" (and so on).
    /// Storage of the right number of elements is kept and reshaped, its contents unchanged.
    /// A shape with a size below 1 gives an array without storage where there was none.
    /// @{
    void Resize_ubyte(int d1, int d2, int d3);
    void Resize_short(int d1, int d2, int d3);
    void Resize_int(int d1, int d2, int d3);
    void Resize_float(int d1, int d2, int d3);
    /// @}

    /// Conversions between element types, source first, over the source's shape; B byte, s short, i int,
    /// f float. A destination without storage gets the source's shape; one that has storage is not checked.
    /// Widening keeps the value; narrowing keeps the low bits (256 becomes 0, 40000 becomes -25536 as a
    /// short); a float is cut towards zero, held to the 32-bit range (to 0 .. 2^32 - 1 for bytes, not a
    /// number gives 0), and then its low bits are kept.
    /// The elements' types are those of the name, whatever the blocks hold: use the overloads of Convert,
    /// which know the types.
    /// @{
    static void Convert_Bs(const KX_Base& src, KX_Base& dst);
    static void Convert_sB(const KX_Base& src, KX_Base& dst);
    static void Convert_Bi(const KX_Base& src, KX_Base& dst);
    static void Convert_iB(const KX_Base& src, KX_Base& dst);
    static void Convert_Bf(const KX_Base& src, KX_Base& dst);
    static void Convert_fB(const KX_Base& src, KX_Base& dst);
    static void Convert_si(const KX_Base& src, KX_Base& dst);
    static void Convert_is(const KX_Base& src, KX_Base& dst);
    static void Convert_sf(const KX_Base& src, KX_Base& dst);
    static void Convert_fs(const KX_Base& src, KX_Base& dst);
    static void Convert_if(const KX_Base& src, KX_Base& dst);
    static void Convert_fi(const KX_Base& src, KX_Base& dst);
    /// @}

    /// Dumps the array to a stream, for inspection outside the program; all numbers little-endian: "idc_",
    /// `poolObjType`, `myName`, the low 16 bits of each size, then the elements, x fastest, in the width of
    /// the block's elements. Writes are not checked.
    /// \return 0 written (only the header when a size is below 1); 1 there is no storage behind the sizes, or
    ///         no stream
    int Write(std::FILE* fp) const;

protected:
    /// What a sub-view takes of one dimension: a range, or a fixed index that contributes no dimension.
    class Pick {
    public:
        Pick(const ::RNG& r) : range(r), fixed(false) {}                   ///< a range
        Pick(int index) : range(0, 0), fixed(true) { range.from = index; } ///< an index
        ::RNG range;                                                       ///< the index is its `from`
        bool fixed;                                                        ///< whether it is an index
    };

    /// Makes this array, which has no block yet, a view of all of `b`: same elements, strides, sizes, name.
    void Share(const KX_Base& b);
    /// Makes this array, which has no block yet, the sub-view of `b`, whose elements have `width` bytes.
    /// A range that runs to the end is held to `b`'s size first; nothing else is tested.
    void Cut(const KX_Base& b, int width, Pick x, Pick y, Pick z);
    /// Makes this array a w x h view of the caller's memory, elements of `width` bytes; it must have no
    /// block, else "Error: Already attached to data".
    void Attach(void* data, int width, int w, int h);
    /// Drops the block and becomes an array of 0 columns and 0 rows.
    void Detach();
    /// Swaps dim1 with dim2 and step1 with step2.
    void SwapColumnsAndRows();
    /// Makes this array, which has no block yet, a new dense one.
    void Allocate(int width, int d1, int d2, int d3);

private:
    void ResizeBlock(int width, int d1, int d2, int d3, const char* sharedMessage);
    void ShareBlock(const KX_Base& b);     // the storage, and where its first element lies
    void LieDense(int d1, int d2, int d3); // over the block that it has, or none
};

#endif
