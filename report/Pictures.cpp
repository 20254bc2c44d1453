// BMP files of frames and of 16-bit pictures, and JPEG files.
#include <report/Pictures.h>

#include <Kavrix/inner/JpegErrors.h>
#include <Kavrix/inner/NotEnoughMemory.h>
#include <Kavrix/inner/bmpformat.h>
#include <tools/Files.h>

#include <csetjmp>
#include <cstdint>
#include <cstdio>

#include <jpeglib.h>

#include <jerror.h>

using namespace kavrix::inner;

namespace telvane {

namespace {

const unsigned char* Bytes(const std::string& file)
{
    return reinterpret_cast<const unsigned char*>(file.data());
}

/// The headers of both kinds of BMP files. Their pixels must lie inside the file.
std::string ReadHeaders(const std::string& file, BmpHeaders& h)
{
    const unsigned char* const p = Bytes(file);
    if (file.size() < 2 || GetLittleEndian<std::uint16_t>(p) != BmpHeaders::bmpType) return "not a BMP file";
    if (file.size() < BmpHeaders::size) return "cut short within its header";
    h = ParseBmpHeaders(p);
    if (h.headerSize != BmpHeaders::infoHeaderSize) return "a BMP file with another kind of header";
    if (h.width < 1 || h.height < 1) return "a BMP file without width or height, or stored top row first";
    return {};
}

std::string OtherSize(int width, int height, int wantedWidth, int wantedHeight)
{
    const auto text = [](int w, int h) { return std::to_string(w) + " x " + std::to_string(h); };
    return "of " + text(width, height) + " pixels, not " + text(wantedWidth, wantedHeight);
}

std::uint64_t RowBytes(const BmpHeaders& h)
{
    return (std::uint64_t{h.bitsPerPixel} / 8 * static_cast<std::uint64_t>(h.width) + 3) & ~3ull;
}

/// Whether all rows lie inside the file.
std::string CheckLength(const std::string& file, const BmpHeaders& h, std::uint64_t rowBytes)
{
    if (h.dataOffset + rowBytes * static_cast<std::uint64_t>(h.height) <= file.size()) return {};
    return "cut short: " + std::to_string(h.width) + " x " + std::to_string(h.height) + " pixels need " +
           std::to_string(h.dataOffset + rowBytes * static_cast<std::uint64_t>(h.height)) +
           " bytes, there are " + std::to_string(file.size());
}

std::string OtherKind(const BmpHeaders& h)
{
    return "a BMP file of " + std::to_string(h.bitsPerPixel) + " bits per pixel, compression " +
           std::to_string(h.compression);
}

/// Damage that libjpeg gets over with a warning, such as a missing end, is damage.
void TakeSeriously(j_common_ptr info, int level)
{
    if (level < 0) LeaveJpeg(info);
}

} // namespace

std::string ReadShortPicture(const std::string& file, int width, int height, MatShort& picture)
{
    const int masks = 12; // bytes between the headers and the pixels
    BmpHeaders h;
    if (std::string problem = ReadHeaders(file, h); !problem.empty()) return problem;
    if (h.bitsPerPixel != 16 || h.compression != BmpHeaders::bitFields) return OtherKind(h);
    if (h.dataOffset < BmpHeaders::size + masks) return "a BMP file whose pixels begin within its header";
    if (h.width != width || h.height != height) return OtherSize(h.width, h.height, width, height);
    const std::uint64_t rowBytes = RowBytes(h);
    if (std::string problem = CheckLength(file, h, rowBytes); !problem.empty()) return problem;

    picture.Resize(h.width, h.height);
    const unsigned char* row = Bytes(file) + h.dataOffset;
    for (int y = h.height - 1; y >= 0; y--, row += rowBytes)
        for (int x = 0; x < h.width; x++)
            picture(x, y) = GetLittleEndian<short>(row + std::size_t{2} * static_cast<std::size_t>(x));
    return {};
}

std::string ReadFrame(const std::string& file, int width, int height, MatByte& frame)
{
    BmpHeaders h;
    if (std::string problem = ReadHeaders(file, h); !problem.empty()) return problem;
    if (h.bitsPerPixel != 8 || h.compression != BmpHeaders::uncompressed) return OtherKind(h);
    if (h.width != width || h.height != height) return OtherSize(h.width, h.height, width, height);
    // What follows a row is the file's affair; its pixels alone must be there.
    if (std::string problem = CheckLength(file, h, static_cast<std::uint64_t>(h.width)); !problem.empty())
        return problem;
    std::FILE* const stream = fmemopen(const_cast<char*>(file.data()), file.size(), "rb");
    if (stream == nullptr) NotEnoughMemory();
    const bool loaded = frame.ReadBMP(stream) == 0;
    std::fclose(stream);
    return loaded ? "" : "a BMP file that does not load";
}

std::string ReadJpegFrame(const std::string& file, int width, int height, MatByte& frame)
{
    if (file.size() < 3 || file.compare(0, 3, "\xFF\xD8\xFF") != 0) return "not a JPEG file";

    // Nothing with a destructor lives between here and the jump back.
    jpeg_decompress_struct info;
    JpegErrors errors;
    info.err = jpeg_std_error(&errors.manager);
    errors.manager.error_exit = LeaveJpeg;
    errors.manager.emit_message = TakeSeriously;
    volatile int seenWidth = width, seenHeight = height; // written between the two returns of setjmp
    volatile bool whole = false;
    if (setjmp(errors.back) == 0) { // NOLINT(cert-err52-cpp): libjpeg's own way out of an error
        jpeg_create_decompress(&info);
        jpeg_mem_src(&info, Bytes(file), file.size());
        jpeg_read_header(&info, TRUE);
        seenWidth = static_cast<int>(info.image_width);
        seenHeight = static_cast<int>(info.image_height);
        if (seenWidth == width && seenHeight == height) {
            info.out_color_space = JCS_GRAYSCALE;
            jpeg_start_decompress(&info);
            frame.Resize(width, height);
            while (info.output_scanline < info.output_height) {
                JSAMPROW row = &frame(0, static_cast<int>(info.output_scanline));
                jpeg_read_scanlines(&info, &row, 1);
            }
            jpeg_finish_decompress(&info);
            whole = true;
        }
    }
    const bool withoutMemory = errors.manager.msg_code == JERR_OUT_OF_MEMORY;
    jpeg_destroy_decompress(&info);
    if (seenWidth != width || seenHeight != height) return OtherSize(seenWidth, seenHeight, width, height);
    if (whole) return {};
    if (withoutMemory) NotEnoughMemory();
    return "a JPEG file that is damaged or cut short";
}

std::string GreyJpeg(const MatByte& picture)
{
    return BytesOf([&picture](std::FILE* stream) { return picture.WriteJPG(stream, 85); });
}

} // namespace telvane
