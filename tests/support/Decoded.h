// Picture files read back by the libraries' own decoders.
#pragma once

#include <tests/reference/Files.h>

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include <jpeglib.h>
#include <png.h>

namespace decoded {

using FileBytes = reference::Bytes;

/// What libjpeg finds in a file.
struct Decoded {
    int width = 0, height = 0, components = 0;
    bool progressive = true;
    J_COLOR_SPACE space = JCS_UNKNOWN;
    std::vector<FileBytes> rows;   ///< from the top, components interleaved
    std::vector<int> quantisation; ///< of luminance
};

inline Decoded Decode(const FileBytes& bytes)
{
    Decoded d;
    jpeg_decompress_struct cinfo;
    jpeg_error_mgr errors;
    cinfo.err = jpeg_std_error(&errors);
    errors.error_exit = [](j_common_ptr info) { // a test that cannot go on
        info->err->output_message(info);
        std::abort();
    };
    jpeg_create_decompress(&cinfo);
    jpeg_mem_src(&cinfo, bytes.data(), bytes.size());
    jpeg_read_header(&cinfo, TRUE);
    d.space = cinfo.jpeg_color_space;
    jpeg_start_decompress(&cinfo);
    d.width = static_cast<int>(cinfo.output_width);
    d.height = static_cast<int>(cinfo.output_height);
    d.components = cinfo.output_components;
    d.progressive = cinfo.progressive_mode;
    for (int i = 0; i < DCTSIZE2; i++) d.quantisation.push_back(cinfo.quant_tbl_ptrs[0]->quantval[i]);
    while (cinfo.output_scanline < cinfo.output_height) {
        FileBytes row(static_cast<std::size_t>(d.width) * static_cast<std::size_t>(d.components));
        JSAMPROW samples = row.data();
        jpeg_read_scanlines(&cinfo, &samples, 1);
        d.rows.push_back(row);
    }
    EXPECT_EQ(errors.num_warnings, 0);
    jpeg_finish_decompress(&cinfo);
    jpeg_destroy_decompress(&cinfo);
    return d;
}

/// A colour picture; empty where libpng refused the file.
struct Colours {
    int width = 0, height = 0;
    FileBytes samples; ///< red, green, blue, from the top left

    /// Red, green and blue of a pixel as 0xRRGGBB.
    unsigned At(int x, int y) const
    {
        const std::uint8_t* const p = &samples.at(3 * (static_cast<std::size_t>(y) * width + x));
        return static_cast<unsigned>(p[0]) << 16 | static_cast<unsigned>(p[1]) << 8 | p[2];
    }
};

inline Colours DecodePng(const std::string& bytes)
{
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    if (!png_image_begin_read_from_memory(&image, bytes.data(), bytes.size())) return {};
    image.format = PNG_FORMAT_RGB;
    Colours colours;
    colours.width = static_cast<int>(image.width);
    colours.height = static_cast<int>(image.height);
    colours.samples.resize(PNG_IMAGE_SIZE(image));
    if (!png_image_finish_read(&image, nullptr, colours.samples.data(), 0, nullptr)) return {};
    return colours;
}

} // namespace decoded
