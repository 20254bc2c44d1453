// libjpeg's way out of an error for whoever must go on.
#ifndef KAVRIX_INNER_JPEGERRORS_H
#define KAVRIX_INNER_JPEGERRORS_H

#include <csetjmp>
#include <cstddef>
#include <cstdio>

#include <jpeglib.h>

namespace kavrix::inner {

/// With LeaveJpeg as its error_exit, libjpeg leaves an operation at its first error and comes back to `back`.
struct JpegErrors {
    jpeg_error_mgr manager; ///< the first member: libjpeg knows this one
    std::jmp_buf back;
};

[[noreturn]] inline void LeaveJpeg(j_common_ptr info)
{
    std::longjmp(reinterpret_cast<JpegErrors*>(info->err)->back, 1);
}

} // namespace kavrix::inner

#endif
