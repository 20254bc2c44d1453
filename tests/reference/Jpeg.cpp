// Compression by plain calls of libjpeg.
#include <tests/reference/Jpeg.h>

#include <cstdio>
#include <cstdlib>

#include <jpeglib.h>

namespace reference {

Bytes JpegGrey(const Picture<std::uint8_t>& m, int quality)
{
    if (m.Empty()) return {};
    jpeg_compress_struct cinfo;
    jpeg_error_mgr jerr;
    cinfo.err = jpeg_std_error(&jerr);
    jpeg_create_compress(&cinfo);
    unsigned char* buffer = nullptr;
    unsigned long size = 0;
    jpeg_mem_dest(&cinfo, &buffer, &size);
    cinfo.image_width = static_cast<JDIMENSION>(m.w);
    cinfo.image_height = static_cast<JDIMENSION>(m.h);
    cinfo.input_components = 1;
    cinfo.in_color_space = JCS_GRAYSCALE;
    jpeg_set_defaults(&cinfo);
    jpeg_set_quality(&cinfo, quality, TRUE);
    jpeg_start_compress(&cinfo, TRUE);
    for (int y = 0; y < m.h; ++y) {
        Bytes row;
        for (int x = 0; x < m.w; ++x) row.push_back(m.At(x, y));
        JSAMPROW line = row.data();
        jpeg_write_scanlines(&cinfo, &line, 1);
    }
    jpeg_finish_compress(&cinfo);
    jpeg_destroy_compress(&cinfo);
    const Bytes out(buffer, buffer + size);
    std::free(buffer);
    return out;
}

} // namespace reference
