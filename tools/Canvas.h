// A colour picture that lines, circles and words are drawn on with soft edges, and its PNG file.
#ifndef TOOLS_CANVAS_H
#define TOOLS_CANVAS_H

#include <Kavrix/KXubyte.h>

#include <string>
#include <string_view>

/// Red, green and blue, 0 to 255 each.
struct Colour {
    UBYTE red = 0, green = 0, blue = 0;
    bool operator==(const Colour&) const = default;
};

/// Pixel (x, y) has its middle at exactly (x, y); x grows to the right, y downward. What is drawn may reach
/// beyond the picture: the pixels outside are left out. Copies share their pixels as arrays do.
class Canvas {
public:
    Canvas(int width, int height, Colour ground = {});
    explicit Canvas(const MatByte& grey);

    int width() const { return samples.dim1 / 3; }
    int height() const { return samples.dim2; }
    /// A pixel inside the picture.
    Colour at(int x, int y) const;
    void set(int x, int y, Colour colour);
    /// Lays a colour over a pixel, which may lie outside; `cover` 0 leaves it, 1 replaces it.
    void blend(int x, int y, Colour colour, double cover);

    void line(double x1, double y1, double x2, double y2, Colour colour, double thickness);
    /// A line with a head at its end.
    void arrow(double x1, double y1, double x2, double y2, Colour colour, double thickness);
    void circle(double x, double y, double radius, Colour colour, double thickness);
    /// Part of a circle, from one angle to a larger one; degrees clockwise from +x.
    void arc(double x, double y, double radius, double from, double to, Colour colour, double thickness);
    void disc(double x, double y, double radius, Colour colour);
    /// The outline of a rectangle through these corner pixels.
    void box(double left, double top, double right, double bottom, Colour colour, double thickness);
    /// Mixes a colour into all pixels of a rectangle, its edges included.
    void shade(int left, int top, int right, int bottom, Colour colour, double cover);

    /// Printable ASCII; letters are 5 x 7 squares of `scale` pixels, the top left one at (x, y).
    void text(int x, int y, std::string_view words, Colour colour, int scale);
    /// Words on a darkened ground, with (x, y) in their middle, moved where needed to lie inside the picture.
    void label(double x, double y, std::string_view words, Colour colour, int scale);

    /// The picture as a PNG file; empty when there is not enough memory for it.
    std::string png() const;

private:
    template <class Distance>
    void stroke(double left, double top, double right, double bottom, Colour colour, Distance distance);

    MatByte samples; // red, green and blue side by side
};

/// A grey picture as a PNG file; empty when there is not enough memory for it.
std::string GreyPng(const MatByte& grey);

/// Pixels from the first to the last letter's edge.
int TextWidth(std::string_view words, int scale);

#endif
