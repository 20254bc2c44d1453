// Drawing by distance: a pixel is covered by as much as its middle lies within the edge of what is drawn.
#include <tools/Canvas.h>
#include <tools/Font.h>

#include <algorithm>
#include <cmath>
#include <numbers>

#include <png.h>

namespace {

const int padding = 2; // of a label's ground around its words, in squares of its letters

UBYTE Mix(UBYTE below, UBYTE above, double cover)
{
    return static_cast<UBYTE>(std::lround(below + (above - below) * cover));
}

/// Distance of (x, y) from the line between two points.
double FromSegment(double x, double y, double x1, double y1, double x2, double y2)
{
    const double dx = x2 - x1, dy = y2 - y1, length2 = dx * dx + dy * dy;
    const double along = length2 > 0 ? std::clamp(((x - x1) * dx + (y - y1) * dy) / length2, 0.0, 1.0) : 0;
    return std::hypot(x - (x1 + along * dx), y - (y1 + along * dy));
}

/// Rows of samples as a PNG file.
std::string Png(const MatByte& samples, int width, png_uint_32 format)
{
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    image.width = static_cast<png_uint_32>(width);
    image.height = static_cast<png_uint_32>(samples.dim2);
    image.format = format;
    png_alloc_size_t size = PNG_IMAGE_PNG_SIZE_MAX(image);
    std::string bytes(size, '\0');
    const bool done = png_image_write_to_memory(&image, bytes.data(), &size, 0, &samples(0, 0), samples.step2,
                                                nullptr) != 0;
    bytes.resize(done ? size : 0);
    return bytes;
}

} // namespace

Canvas::Canvas(int width, int height, Colour ground) : samples(3 * width, height)
{
    for (int y = 0; y < height; y++)
        for (int x = 0; x < width; x++) set(x, y, ground);
}

Canvas::Canvas(const MatByte& grey) : samples(3 * grey.dim1, grey.dim2)
{
    for (int y = 0; y < grey.dim2; y++)
        for (int x = 0; x < grey.dim1; x++) set(x, y, {grey(x, y), grey(x, y), grey(x, y)});
}

Colour Canvas::at(int x, int y) const
{
    return {samples(3 * x, y), samples(3 * x + 1, y), samples(3 * x + 2, y)};
}

void Canvas::set(int x, int y, Colour colour)
{
    samples(3 * x, y) = colour.red;
    samples(3 * x + 1, y) = colour.green;
    samples(3 * x + 2, y) = colour.blue;
}

void Canvas::blend(int x, int y, Colour colour, double cover)
{
    if (!(cover > 0) || x < 0 || x >= width() || y < 0 || y >= height()) return;
    const double part = std::min(cover, 1.0);
    const Colour below = at(x, y);
    set(x, y,
        {Mix(below.red, colour.red, part), Mix(below.green, colour.green, part),
         Mix(below.blue, colour.blue, part)});
}

/// Colours what lies inside: distance(x, y) is that from the edge, negative within. The rectangle holds all
/// of it; only its part inside the picture is looked at.
template <class Distance>
void Canvas::stroke(double left, double top, double right, double bottom, Colour colour, Distance distance)
{
    const auto held = [](double v, int size) { return static_cast<int>(std::clamp(v, -1.0, size + 0.0)); };
    const int x1 = std::max(held(std::floor(left) - 1, width()), 0);
    const int x2 = std::min(held(std::ceil(right) + 1, width()), width() - 1);
    const int y1 = std::max(held(std::floor(top) - 1, height()), 0);
    const int y2 = std::min(held(std::ceil(bottom) + 1, height()), height() - 1);
    for (int y = y1; y <= y2; y++)
        for (int x = x1; x <= x2; x++) blend(x, y, colour, 0.5 - distance(x, y));
}

void Canvas::line(double x1, double y1, double x2, double y2, Colour colour, double thickness)
{
    const double half = thickness / 2;
    stroke(std::min(x1, x2) - half, std::min(y1, y2) - half, std::max(x1, x2) + half, std::max(y1, y2) + half,
           colour, [=](double x, double y) { return FromSegment(x, y, x1, y1, x2, y2) - half; });
}

void Canvas::arrow(double x1, double y1, double x2, double y2, Colour colour, double thickness)
{
    const double dx = x2 - x1, dy = y2 - y1, length = std::hypot(dx, dy);
    line(x1, y1, x2, y2, colour, thickness);
    if (!(length > 0)) return;
    const double back = std::min(5 * thickness, length), along = back / length, across = 0.5 * along;
    line(x2, y2, x2 - along * dx + across * dy, y2 - along * dy - across * dx, colour, thickness);
    line(x2, y2, x2 - along * dx - across * dy, y2 - along * dy + across * dx, colour, thickness);
}

void Canvas::circle(double x, double y, double radius, Colour colour, double thickness)
{
    const double half = thickness / 2, reach = radius + half;
    stroke(x - reach, y - reach, x + reach, y + reach, colour,
           [=](double px, double py) { return std::abs(std::hypot(px - x, py - y) - radius) - half; });
}

void Canvas::arc(double x, double y, double radius, double from, double to, Colour colour, double thickness)
{
    const double half = thickness / 2, reach = radius + half;
    stroke(x - reach, y - reach, x + reach, y + reach, colour, [=](double px, double py) {
        const double angle = std::atan2(py - y, px - x) * 180 / std::numbers::pi;
        const double behind = angle - from - 360 * std::floor((angle - from) / 360);
        return behind > to - from ? 1 : std::abs(std::hypot(px - x, py - y) - radius) - half;
    });
}

void Canvas::disc(double x, double y, double radius, Colour colour)
{
    stroke(x - radius, y - radius, x + radius, y + radius, colour,
           [=](double px, double py) { return std::hypot(px - x, py - y) - radius; });
}

void Canvas::box(double left, double top, double right, double bottom, Colour colour, double thickness)
{
    line(left, top, right, top, colour, thickness);
    line(left, bottom, right, bottom, colour, thickness);
    line(left, top, left, bottom, colour, thickness);
    line(right, top, right, bottom, colour, thickness);
}

void Canvas::shade(int left, int top, int right, int bottom, Colour colour, double cover)
{
    for (int y = top; y <= bottom; y++)
        for (int x = left; x <= right; x++) blend(x, y, colour, cover);
}

void Canvas::text(int x, int y, std::string_view words, Colour colour, int scale)
{
    for (const char c : words) {
        const char* const glyph = font::Glyph(c);
        for (int row = 0; row < (font::height + font::depth) * scale; row++)
            for (int column = 0; column < font::width * scale; column++)
                if (font::HasInk(glyph, column / scale, row / scale)) blend(x + column, y + row, colour, 1);
        x += font::step * scale;
    }
}

void Canvas::label(double x, double y, std::string_view words, Colour colour, int scale)
{
    // Places far outside come down to the picture's edges before they become integers.
    const int pad = padding * scale;
    const int w = TextWidth(words, scale) + 2 * pad;
    const int h = (font::height + font::depth) * scale + 2 * pad;
    const auto place = [](double middle, int size, int room) {
        return static_cast<int>(std::max(std::min(middle - size / 2.0, room - size + 0.0), 0.0));
    };
    const int left = place(x, w, width()), top = place(y, h, height());
    shade(left, top, left + w - 1, top + h - 1, {}, 0.65);
    text(left + pad, top + pad, words, colour, scale);
}

std::string Canvas::png() const { return Png(samples, width(), PNG_FORMAT_RGB); }

std::string GreyPng(const MatByte& grey) { return Png(grey, grey.dim1, PNG_FORMAT_GRAY); }

int TextWidth(std::string_view words, int scale)
{
    const int letters = static_cast<int>(words.size());
    return letters < 1 ? 0 : (letters * font::step - (font::step - font::width)) * scale;
}
