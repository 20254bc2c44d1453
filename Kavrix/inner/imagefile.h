// What the BMP and JPEG functions share: their results, opening and closing a file around its stream
// function, and what counts as an empty picture.
#ifndef KAVRIX_INNER_IMAGEFILE_H
#define KAVRIX_INNER_IMAGEFILE_H

#include <Kavrix/KXcommon.h>

#include <cstddef>
#include <cstdio>
#include <memory>
#include <new>

namespace kavrix::inner {

/// What reading or writing an image file comes to.
enum ImageFileResult {
    imageDone = 0,
    imageNotOpened = 1,   ///< the file does not open, or there is no stream
    imageOtherDepth = 2,  ///< an image of another depth
    imageEmpty = 3,       ///< there is nothing to write
    imageNotAccepted = 4, ///< not a file that the class takes, or too short
    imageNotWritten = 5   ///< a write failed
};

/// Opens the file, hands its stream to f and closes it.
/// \return what f gave, but imageNotWritten where that was imageDone and the file could not be closed:
///         what was written has not reached it
template <class F> int WithFile(const char* fname, const char* mode, F f)
{
    std::FILE* const fp = std::fopen(fname, mode);
    if (fp == nullptr) return imageNotOpened;
    // Few system calls for pictures of megabytes. The buffer is given: without one the C library keeps its
    // own size, and so it does where there is no memory for ours.
    const std::size_t size = 1 << 18;
    const std::unique_ptr<char[]> buffer(new (std::nothrow) char[size]);
    if (buffer) std::setvbuf(fp, buffer.get(), _IOFBF, size);
    const int result = f(fp);
    const bool closed = std::fclose(fp) == 0;
    return result == imageDone && !closed ? imageNotWritten : result;
}

/// Whether there is nothing to write: no storage, or no columns or rows.
inline bool IsEmpty(const KX_Base& a)
{
    return a.pblock == nullptr || a.p_data == nullptr || a.dim1 < 1 || a.dim2 < 1;
}

} // namespace kavrix::inner

#endif
