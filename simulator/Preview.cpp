// The marks on a previewed frame.
#include <simulator/Preview.h>

#include <simulator/Motion.h>
#include <simulator/View.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <numbers>
#include <string>
#include <utility>
#include <vector>

namespace telvane {

namespace {

// Each subject has a colour of its own, on dark and on light ground.
const Colour centreColour{255, 80, 80}, innerColour{255, 215, 0}, outerColour{90, 200, 255};
const Colour regionColour{90, 255, 120}, toothColour{255, 150, 40}, senseColour{255, 130, 255};
const Colour angleColour{235, 235, 235}, maskColour{190, 160, 255};

const double thin = 2, thick = 3; // pixels
const int letters = 2;            // pixels for a square of a letter

std::string Named(const char* name, int value) { return std::string(name) + " " + std::to_string(value); }

std::string Rounded(double v)
{
    char text[40];
    std::snprintf(text, sizeof text, "%.1f", v);
    return text;
}

/// Draws on one frame; the steps stand in the order in which they may cover each other.
class Marks {
public:
    Marks(Canvas onto, const WheelScene& drawn, int number, const Geometry& told)
        : canvas(std::move(onto)), scene(drawn), geometry(told), view(drawn), axis(view.Seen(0, 0)),
          x(axis.x), y(axis.y), turned(AngleOf(drawn, number)), ring(RingCentre(drawn, turned))
    {
    }

    void Mask()
    {
        const Box& m = geometry.mask;
        if (m.width < 1) return;
        // Telvane cuts the corners off, by 2/7 of the shorter side.
        const int l = m.left, t = m.top, r = l + m.width - 1, b = t + m.height - 1;
        const int cut = 2 * std::min(m.width, m.height) / 7;
        const int corners[][2] = {{l + cut, t}, {r - cut, t}, {r, t + cut}, {r, b - cut},
                                  {r - cut, b}, {l + cut, b}, {l, b - cut}, {l, t + cut}};
        for (int i = 0; i < 8; i++) {
            const int* const from = corners[i];
            const int* const to = corners[(i + 1) % 8];
            canvas.line(from[0], from[1], to[0], to[1], maskColour, thick);
        }
        canvas.label((l + r) / 2.0, b + 20, "-m (blanked)", maskColour, letters);
    }

    void Ring()
    {
        Circle(scene.innerR, geometry.innerR, innerColour);
        Circle(scene.outerR, geometry.outerR, outerColour);
        Radius(-65, geometry.innerR, Named("<innerR>", geometry.innerR), innerColour, -46);
        Radius(35, geometry.outerR, Named("<outerR>", geometry.outerR), outerColour, 24);
    }

    void Teeth()
    {
        const double middle = (scene.innerR + scene.outerR) / 2;
        // Dots that would run into each other are left out.
        const double apart = 2 * std::numbers::pi * middle / scene.teeth;
        if (apart < 6) return;
        for (int i = 0; i < scene.teeth; i++) {
            const WheelPlace at = OnRing(turned + 360.0 * i / scene.teeth, middle);
            canvas.disc(at.x, at.y, std::min(apart / 6, 5.0), toothColour);
        }
    }

    void Region()
    {
        const Box& r = geometry.region;
        const double right = r.left + r.width - 1, bottom = r.top + r.height - 1;
        const double cx = r.left + geometry.cx, cy = r.top + geometry.cy;
        canvas.box(r.left, r.top, right, bottom, regionColour, thick);
        Measure(r.left, bottom + 14, right, bottom + 14);
        canvas.label((r.left + right) / 2, bottom + 30, Named("<wid>", r.width), regionColour, letters);
        Measure(right + 14, r.top, right + 14, bottom);
        canvas.label(right + 14, (cy + bottom) / 2, Named("<hgh>", r.height), regionColour, letters);
        canvas.arrow(r.left, cy, cx - 8, cy, regionColour, thin);
        canvas.label((r.left + cx) / 2, cy - 16, Named("<cx>", geometry.cx), regionColour, letters);
        canvas.arrow(cx, r.top, cx, cy - 8, regionColour, thin);
        canvas.label(cx + 62, (r.top + cy) / 2, Named("<cy>", geometry.cy), regionColour, letters);
    }

    void Centre()
    {
        canvas.line(x - 12, y, x + 12, y, centreColour, thick);
        canvas.line(x, y - 12, x, y + 12, centreColour, thick);
        canvas.label(x + 70, y + 24, "wheel's centre", centreColour, letters);
    }

    /// Where 0, 90, 180 and 270 degrees lie.
    void Angles()
    {
        for (int angle = 0; angle < 360; angle += 90) {
            const auto [ax, ay] = At(angle, geometry.outerR + 6);
            const auto [bx, by] = At(angle, geometry.outerR + 26);
            const auto [tx, ty] = At(angle, geometry.outerR + 48);
            canvas.line(ax, ay, bx, by, angleColour, thin);
            canvas.label(tx, ty, std::to_string(angle), angleColour, letters);
        }
    }

    void Sense()
    {
        if (geometry.sense == 0) return;
        const double radius = geometry.outerR + 20, from = 195, to = 240;
        canvas.arc(x, y, radius, from, to, senseColour, thick);
        // The head, along the tangent at the end that the wheel turns to.
        const double end = geometry.sense > 0 ? to : from;
        const auto [ax, ay] = At(end - geometry.sense * 4, radius);
        const auto [bx, by] = At(end, radius);
        canvas.arrow(ax, ay, bx, by, senseColour, thick);
        const auto [tx, ty] = At(217, radius + 90);
        canvas.label(tx, ty, "<angSpd> " + std::string(geometry.sense > 0 ? "1" : "-1"), senseColour,
                     letters);
    }

    /// What stands in the picture, in words, in the corner where the wheel leaves most room.
    void Legend()
    {
        const Box& r = geometry.region;
        std::vector<std::pair<Colour, std::string>> lines = {
            {centreColour, "wheel's centre " + Rounded(x) + ", " + Rounded(y)},
            {innerColour, Named("<innerR>", geometry.innerR) + ": tooth roots"},
            {outerColour, Named("<outerR>", geometry.outerR) + ": tooth tips"},
            {toothColour, Named("<teethCnt>", scene.teeth) + ": a dot each"},
            {regionColour, "output region <wid> x <hgh>"},
            {regionColour, "with the centre at <cx>, <cy>"},
            {regionColour, "OROI=[" + std::to_string(r.left) + "," + std::to_string(r.top) + "," +
                               std::to_string(r.width) + "," + std::to_string(r.height) + ",1]"},
            {senseColour, geometry.sense > 0   ? "<angSpd> 1: clockwise"
                          : geometry.sense < 0 ? "<angSpd> -1: counter-clockwise"
                                               : "<angSpd> 0: at rest"},
            {angleColour, "<ang1>, <ang2>: degrees"}};
        if (geometry.mask.width > 0) lines.emplace_back(maskColour, "-m: blanked rectangle");

        int widest = 0;
        for (const auto& line : lines) widest = std::max(widest, TextWidth(line.second, letters));
        const int lineHeight = 11 * letters, margin = 12, pad = 10;
        const int w = widest + 2 * pad, h = static_cast<int>(lines.size()) * lineHeight + 2 * pad;
        const int left = x > canvas.width() / 2.0 ? margin : canvas.width() - margin - w;
        const int top = y > canvas.height() / 2.0 ? margin : canvas.height() - margin - h;
        canvas.shade(left, top, left + w - 1, top + h - 1, {}, 0.75);
        int lineY = top + pad;
        for (const auto& [colour, words] : lines) {
            canvas.text(left + pad, lineY, words, colour, letters);
            lineY += lineHeight;
        }
    }

    const Canvas& Done() const { return canvas; }

private:
    /// The point at an angle, in degrees clockwise from +x, and a distance from the centre.
    std::pair<double, double> At(double degrees, double distance) const
    {
        const double angle = degrees * std::numbers::pi / 180;
        return {x + distance * std::cos(angle), y + distance * std::sin(angle)};
    }

    /// Where a point is seen that lies at an angle and a distance from the ring's centre.
    WheelPlace OnRing(double degrees, double distance) const
    {
        const Vector at = Towards(degrees, distance);
        return view.Seen(ring.x + at.x, ring.y + at.y);
    }

    /// A circle around the ring's centre: with the radius that Telvane is told, where tilt, lens and
    /// eccentricity leave it one, or else as it is seen.
    void Circle(double radius, double told, Colour colour)
    {
        if (!(scene.tilt > 0) && scene.lens == 0 && !(scene.eccentricity > 0)) {
            canvas.circle(x, y, told, colour, thin);
            return;
        }
        for (int degrees = 0; degrees < 360; degrees += 2) {
            const WheelPlace from = OnRing(degrees, radius), to = OnRing(degrees + 2, radius);
            canvas.line(from.x, from.y, to.x, to.y, colour, thin);
        }
    }

    /// An arrow from the centre to a circle, with its name `beyond` pixels past its head.
    void Radius(double degrees, double radius, const std::string& words, Colour colour, double beyond)
    {
        const auto [fromX, fromY] = At(degrees, 14);
        const auto [toX, toY] = At(degrees, radius);
        canvas.arrow(fromX, fromY, toX, toY, colour, thin);
        const auto [textX, textY] = At(degrees, radius + beyond);
        const double aside = beyond > 0 ? TextWidth(words, letters) / 2.0 : 0;
        canvas.label(textX + aside, textY, words, colour, letters);
    }

    /// A line with a head at both ends.
    void Measure(double x1, double y1, double x2, double y2)
    {
        canvas.arrow(x1, y1, x2, y2, regionColour, thin);
        canvas.arrow(x2, y2, x1, y1, regionColour, thin);
    }

    Canvas canvas;
    const WheelScene& scene;
    const Geometry& geometry;
    const View view;
    const WheelPlace axis;
    const double x, y;   // where the axis is seen: the wheel's centre
    const double turned; // the wheel's angle
    const Vector ring;   // its centre, on the face
};

} // namespace

Canvas Preview(const WheelScene& scene, int frame, const Geometry& geometry)
{
    MatByte grey(scene.width, scene.height);
    RenderWheel(scene, frame, &grey(0, 0));
    Marks marks(Canvas(grey), scene, frame, geometry);
    marks.Mask();
    marks.Ring();
    marks.Teeth();
    marks.Region();
    marks.Centre();
    marks.Angles();
    marks.Sense();
    marks.Legend();
    return marks.Done();
}

} // namespace telvane
