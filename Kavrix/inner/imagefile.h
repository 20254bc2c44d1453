// What the picture writers and readers share: opening and closing a file around its stream function, and what
// counts as an empty picture.
#ifndef KAVRIX_INNER_WITHFILE_H
#define KAVRIX_INNER_WITHFILE_H

#include <Kavrix/KXcommon.h>

#include <cstdio>

namespace kavrix::inner {

/// Opens the file, hands its stream to f and closes it.
/// \return 1 when the file does not open; 5 when f gave 0 but what it wrote could not be flushed; else what f
///         gave
template <class F> int WithFile(const char* fname, const char* mode, F f)
{
    std::FILE* const fp = std::fopen(fname, mode);
    if (fp == nullptr) return 1;
    // Few system calls for pictures of megabytes. The buffer is given: without one the C library keeps its
    // own size.
    char buffer[65536];
    std::setvbuf(fp, buffer, _IOFBF, sizeof buffer);
    const int result = f(fp);
    const bool closed = std::fclose(fp) == 0;
    return result == 0 && !closed ? 5 : result;
}

/// Whether there is nothing to write: no storage, or no columns or rows.
inline bool IsEmpty(const KX_Base& a)
{
    return a.pblock == nullptr || a.p_data == nullptr || a.dim1 < 1 || a.dim2 < 1;
}

} // namespace kavrix::inner

#endif
