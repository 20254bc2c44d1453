// Colour and grey pictures of numbers, as PNG files.
#ifndef TOOLS_CANVAS_H
#define TOOLS_CANVAS_H

#include <Kavrix/KXubyte.h>

#include <string>

namespace telvane {

/// Red, green and blue, 0 to 255 each.
struct Colour {
    UBYTE red = 0, green = 0, blue = 0;
    bool operator==(const Colour&) const = default;
};

/// A picture in colour; x grows to the right, y downward. Copies share their pixels as arrays do.
class Canvas {
public:
    Canvas(int width, int height);

    int Width() const { return samples.dim1 / 3; }
    int Height() const { return samples.dim2; }
    /// A pixel inside the picture.
    Colour At(int x, int y) const;
    void Set(int x, int y, Colour colour);

    /// The picture as a PNG file. Without memory for it, the fail-stop.
    std::string Png() const;

private:
    MatByte samples; // red, green and blue side by side
};

/// A grey picture as a PNG file. Without memory for it, the fail-stop.
std::string GreyPng(const MatByte& grey);

} // namespace telvane

#endif
