// Pixels, and libpng's simple way to write them.
#include <tools/Canvas.h>

#include <Kavrix/inner/NotEnoughMemory.h>

#include <png.h>

namespace telvane {

namespace {

/// Rows of samples as a PNG file.
std::string PngOf(const MatByte& samples, int width, png_uint_32 format)
{
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    image.width = static_cast<png_uint_32>(width);
    image.height = static_cast<png_uint_32>(samples.dim2);
    image.format = format;
    png_alloc_size_t size = PNG_IMAGE_PNG_SIZE_MAX(image);
    std::string bytes(size, '\0');
    if (png_image_write_to_memory(&image, bytes.data(), &size, 0, &samples(0, 0), samples.step2, nullptr) ==
        0)
        kavrix::inner::NotEnoughMemory(); // nothing else can go wrong
    bytes.resize(size);
    return bytes;
}

} // namespace

Canvas::Canvas(int width, int height) : samples(3 * width, height) { samples.Fill(0); }

Colour Canvas::At(int x, int y) const
{
    return {samples(3 * x, y), samples(3 * x + 1, y), samples(3 * x + 2, y)};
}

void Canvas::Set(int x, int y, Colour colour)
{
    samples(3 * x, y) = colour.red;
    samples(3 * x + 1, y) = colour.green;
    samples(3 * x + 2, y) = colour.blue;
}

std::string Canvas::Png() const { return PngOf(samples, Width(), PNG_FORMAT_RGB); }

std::string GreyPng(const MatByte& grey) { return PngOf(grey, grey.dim1, PNG_FORMAT_GRAY); }

} // namespace telvane
