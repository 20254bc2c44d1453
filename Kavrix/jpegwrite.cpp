// Writing of grey and colour JPEG files.
#include <Kavrix/jpegwrite.h>

#include <Kavrix/HaltHook.h>
#include <Kavrix/inner/JpegErrors.h>
#include <Kavrix/inner/imagefile.h>

#include <algorithm>
#include <csetjmp>
#include <cstring>

#include <jpeglib.h>

using namespace kavrix::inner;

namespace {

// One picture of a's width and height. rowOf(y) gives the samples of row y.
template <class RowOf> int Compress(std::FILE* outfile, const KX_Base& a, int components, J_COLOR_SPACE space,
                                    int quality, RowOf rowOf)
{
    if (outfile == nullptr) return imageNotOpened;
    // libjpeg's standard error manager ends the process at its first error, so nothing arrives here; only an
    // error manager that throws, linked in its place, would. A program with a halt hook is not ended.
    try {
        jpeg_compress_struct cinfo;
        JpegErrors errors;
        cinfo.err = jpeg_std_error(&errors.manager);
        if (kavrix::HasHaltHook()) {
            errors.manager.error_exit = LeaveJpeg;
            if (setjmp(errors.back) != 0) { // NOLINT(cert-err52-cpp): libjpeg's own way out of an error
                jpeg_destroy_compress(&cinfo);
                std::fflush(outfile);
                return imageNotWritten;
            }
        }
        jpeg_create_compress(&cinfo);
        jpeg_stdio_dest(&cinfo, outfile);
        cinfo.image_width = static_cast<JDIMENSION>(a.dim1);
        cinfo.image_height = static_cast<JDIMENSION>(a.dim2);
        cinfo.input_components = components;
        cinfo.in_color_space = space;
        jpeg_set_defaults(&cinfo);
        jpeg_set_quality(&cinfo, quality, TRUE);
        jpeg_start_compress(&cinfo, TRUE);
        while (a.step1 == 1 && cinfo.next_scanline < cinfo.image_height) {
            JSAMPROW row = rowOf(static_cast<int>(cinfo.next_scanline));
            jpeg_write_scanlines(&cinfo, &row, 1);
        }
        jpeg_finish_compress(&cinfo);
        jpeg_destroy_compress(&cinfo);
    } catch (...) {
        std::fflush(outfile);
        return imageNotWritten;
    }
    std::fflush(outfile);
    return imageDone;
}

} // namespace

int MatByte::WriteJPG(const char* fname, int quality) const
{
    return WithFile(fname, "wb", [=, this](std::FILE* outfile) { return WriteJPG(outfile, quality); });
}

int MatByte::WriteJPG(std::FILE* outfile, int quality) const
{
    if (IsEmpty(*this)) return imageEmpty;
    return Compress(outfile, *this, 1, JCS_GRAYSCALE, quality, [this](int y) { return &(*this)(0, y); });
}

int CubByte::WriteJPG(const char* fname, int quality) const
{
    return WithFile(fname, "wb", [=, this](std::FILE* outfile) { return WriteJPG(outfile, quality); });
}

int CubByte::WriteJPG(std::FILE* outfile, int quality) const
{
    if (IsEmpty(*this) || dim3 != 3) return imageEmpty;
    const std::int64_t samples = std::int64_t{3} * dim1;
    // A row too long for the format ends in libjpeg before any of its samples are asked for.
    VecByte padded(static_cast<int>(std::min<std::int64_t>(samples, 3 * JPEG_MAX_DIMENSION)));
    return Compress(outfile, *this, 3, JCS_RGB, quality, [this, samples, &padded](int y) {
        // The row of plane 0 and what follows it in the storage. Behind the end of the storage, where a view
        // with its planes in reverse order can get, the samples are 0.
        UBYTE* const row = &(*this)(0, y, 0);
        const UBYTE* const end =
            static_cast<const UBYTE*>(pblock->ptr) + std::int64_t{pblock->len} * pblock->itemsize;
        const std::int64_t there = end - row;
        if (there >= samples) return row;
        padded.Fill(0);
        std::memcpy(&padded(0), row, static_cast<std::size_t>(std::max<std::int64_t>(there, 0)));
        return &padded(0);
    });
}
