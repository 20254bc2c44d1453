// Flow as colours.
#include <report/Flow.h>

#include <tools/Markup.h>

#include <algorithm>
#include <cmath>
#include <numbers>

namespace telvane {

namespace {

double Degrees(double x, double y) { return std::atan2(y, x) * 180 / std::numbers::pi; }

UBYTE Part(double share) { return static_cast<UBYTE>(std::lround(255 * std::clamp(share, 0.0, 1.0))); }

/// Full up to 60 degrees from `middle`, none from 120 degrees on.
double Channel(double degrees, double middle)
{
    const double apart = std::abs(std::remainder(degrees - middle, 360));
    return std::clamp(2 - apart / 60, 0.0, 1.0);
}

} // namespace

Colour FlowColour(double degrees, double strength)
{
    const double bright = std::sqrt(std::clamp(strength, 0.0, 1.0));
    return {Part(bright * Channel(degrees, 0)), Part(bright * Channel(degrees, 120)),
            Part(bright * Channel(degrees, 240))};
}

double StrongestFlow(const MatShort& u, const MatShort& v)
{
    double strongest = 0;
    for (int y = 0; y < u.dim2; y++)
        for (int x = 0; x < u.dim1; x++) strongest = std::max(strongest, std::hypot(u(x, y), v(x, y)));
    return strongest;
}

Canvas FlowPicture(const MatShort& u, const MatShort& v)
{
    const double strongest = std::max(StrongestFlow(u, v), 1.0);
    Canvas canvas(u.dim1, u.dim2);
    for (int y = 0; y < u.dim2; y++)
        for (int x = 0; x < u.dim1; x++)
            canvas.Set(x, y,
                       FlowColour(Degrees(-u(x, y), -v(x, y)), std::hypot(u(x, y), v(x, y)) / strongest));
    return canvas;
}

MatByte StrengthPicture(const MatShort& u, const MatShort& v)
{
    const double strongest = std::max(StrongestFlow(u, v), 1.0);
    MatByte grey(u.dim1, u.dim2);
    for (int y = 0; y < u.dim2; y++)
        for (int x = 0; x < u.dim1; x++) grey(x, y) = Part(std::hypot(u(x, y), v(x, y)) / strongest);
    return grey;
}

std::string FlowWheel()
{
    const int radius = 90, side = 2 * radius;
    Canvas canvas(side, side);
    for (int y = 0; y < side; y++)
        for (int x = 0; x < side; x++) {
            const double dx = x + 0.5 - radius, dy = y + 0.5 - radius; // of the pixel's middle
            canvas.Set(x, y, FlowColour(Degrees(dx, dy), std::hypot(dx, dy) / radius));
        }
    const std::string png = canvas.Png();
    // The words stand outside; the corners of the picture are cut off.
    const std::string words = "<text fill=\"currentColor\" ";
    return "<svg xmlns=\"http://www.w3.org/2000/svg\" role=\"img\" viewBox=\"0 0 300 230\" width=\"300\" "
           "height=\"230\" font-family=\"sans-serif\" font-size=\"14\" "
           "style=\"max-width:100%;height:auto\">\n"
           "<title>Wheel of colours</title>\n<desc>Red to the right, yellow to green down, cyan to the left, "
           "blue to violet up.</desc>\n<image x=\"60\" y=\"25\" width=\"180\" height=\"180\" "
           "style=\"clip-path:circle(50%)\" href=\"data:image/png;base64," +
           Base64(png) + "\"/>\n" + words + "text-anchor=\"middle\" x=\"150\" y=\"17\">up</text>\n" + words +
           "text-anchor=\"middle\" x=\"150\" y=\"222\">down</text>\n" + words +
           "text-anchor=\"end\" x=\"52\" y=\"120\">left</text>\n" + words +
           "x=\"248\" y=\"120\">right</text>\n</svg>\n";
}

} // namespace telvane
