// Shapes as text. All of them stand twice, first as the casing.
#include <marks/Drawing.h>

#include <tools/Markup.h>
#include <tools/Numbers.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <numbers>
#include <utility>

namespace telvane {

namespace {

// A picture of 1280 pixels is 330 wide on a phone: letters of 44 are then 11 high. Where there is more room,
// they are smaller, within the place that they have; the rule is the same for every drawing of a page.
const double narrowLetters = 29; // of a picture's width
const char wideScreen[] = "@media (min-width:700px){.marked .labels,.marked .legend{font-size:0.55em}}";
const int digits = 2; // behind the point: a picture is enlarged now and then

std::string Pair(Place place) { return RoundedText(place.x, digits) + " " + RoundedText(place.y, digits); }

/// Lines keep their thickness on the screen, whatever the size of the picture.
const char sharp[] = " vector-effect=\"non-scaling-stroke\"/>";

} // namespace

std::string Attribute(const char* name, double value)
{
    return std::string(" ") + name + "=\"" + RoundedText(value, digits) + "\"";
}

Drawing::Drawing(const MarkedPicture& p)
    : picture(p), letters(p.width / narrowLetters), labels({-0.5, -0.5}, p.width, p.height, letters)
{
}

void Drawing::Begin(const std::string& name, const Ink& ink, const std::string& data)
{
    mark++;
    shapes.clear();
    std::string line = "<g color=\"" + std::string(ink.colour) + "\"" + Attribute("stroke-width", ink.width);
    if (*ink.dashes) line += " stroke-dasharray=\"" + std::string(ink.dashes) + "\"";
    opening = "<g class=\"" + name + "\"" + data + ">\n<g class=\"casing\" color=\"#000\" opacity=\"0.6\"" +
              Attribute("stroke-width", ink.width + 2) + ">";
    closing = "</g>\n" + line + ">";
}

void Drawing::Line(Place from, Place to, bool key)
{
    labels.AddLine(from, to, mark, key);
    shapes += "<line" + Attribute("x1", from.x) + Attribute("y1", from.y) + Attribute("x2", to.x) +
              Attribute("y2", to.y) + sharp;
}

void Drawing::Arrow(Place from, Place to)
{
    const double dx = to.x - from.x, dy = to.y - from.y, length = std::hypot(dx, dy);
    // The line ends within the head, whose tip it would blunt.
    const double shaft = length > 0 ? std::max(0.0, 1 - 0.8 * HeadLength() / length) : 0;
    Line(from, {from.x + dx * shaft, from.y + dy * shaft});
    ArrowHead(to, std::atan2(dy, dx) * 180 / std::numbers::pi);
}

void Drawing::ArrowHead(Place tip, double degrees)
{
    const double angle = degrees * std::numbers::pi / 180, length = HeadLength(), half = 0.38 * length;
    const double dx = std::cos(angle), dy = std::sin(angle);
    const Place back = {tip.x - length * dx, tip.y - length * dy};
    const Place left = {back.x + half * dy, back.y - half * dx};
    const Place right = {back.x - half * dy, back.y + half * dx};
    labels.AddLine(left, right, mark, true);
    labels.AddLine(tip, back, mark, true);
    shapes += "<path class=\"head\" fill=\"currentColor\" stroke-dasharray=\"none\" d=\"M" + Pair(tip) + "L" +
              Pair(left) + "L" + Pair(right) + "Z\"" + sharp;
}

void Drawing::Circle(Place centre, double radius)
{
    labels.AddCircle(centre, radius, mark);
    shapes +=
        "<circle" + Attribute("cx", centre.x) + Attribute("cy", centre.y) + Attribute("r", radius) + sharp;
}

void Drawing::Ellipse(Place centre, Place radii)
{
    labels.AddLine({centre.x - radii.x, centre.y}, {centre.x + radii.x, centre.y}, mark, true);
    labels.AddLine({centre.x, centre.y - radii.y}, {centre.x, centre.y + radii.y}, mark, true);
    shapes += "<ellipse" + Attribute("cx", centre.x) + Attribute("cy", centre.y) + Attribute("rx", radii.x) +
              Attribute("ry", radii.y) + sharp;
}

void Drawing::Rectangle(double left, double top, double right, double bottom)
{
    const Place corners[] = {{left, top}, {right, top}, {right, bottom}, {left, bottom}};
    for (std::size_t i = 0; i < 4; i++) labels.AddLine(corners[i], corners[(i + 1) % 4], mark);
    shapes += "<rect" + Attribute("x", left) + Attribute("y", top) + Attribute("width", right - left) +
              Attribute("height", bottom - top) + sharp;
}

void Drawing::Path(const std::vector<Place>& places, bool closed)
{
    if (places.empty()) return;
    std::string d;
    for (std::size_t i = 0; i < places.size(); i++) {
        d += i == 0 ? 'M' : 'L';
        d += Pair(places[i]);
        if (i > 0) labels.AddLine(places[i - 1], places[i], mark);
    }
    if (closed) labels.AddLine(places.back(), places.front(), mark);
    shapes += "<path d=\"" + d + (closed ? "Z\"" : "\"") + sharp;
}

void Drawing::Dot(Place centre, double radius)
{
    labels.AddLine({centre.x - radius, centre.y}, {centre.x + radius, centre.y}, mark);
    shapes += "<circle fill=\"currentColor\"" + Attribute("cx", centre.x) + Attribute("cy", centre.y) +
              Attribute("r", radius) + sharp;
}

void Drawing::KeepClear(Place place) { labels.AddLine(place, place, mark, true); }

void Drawing::End() { marks += opening + shapes + closing + shapes + "</g>\n</g>\n"; }

bool Drawing::Name(const std::string& words, int its, const Ink& ink, const std::string& name,
                   const std::vector<LabelAnchor>& anchors)
{
    const auto placed = labels.Add(words, its, anchors);
    if (!placed) return false;
    if (placed->leader)
        for (const auto& [colour, width] : {std::pair{"#000", "3"}, std::pair{ink.colour, "1"}})
            names += std::string("<path class=\"leader\" stroke=\"") + colour + "\" stroke-width=\"" + width +
                     "\" d=\"M" + Pair(placed->anchor) + "L" + Pair(*placed->leader) + "\"" + sharp + "\n";
    names += "<text class=\"label\" data-of=\"" + name + "\" fill=\"" + ink.colour + "\" text-anchor=\"" +
             placed->align + "\"" + Attribute("x", placed->text.x) + Attribute("y", placed->text.y) +
             " dy=\"0.35em\">" + Escaped(words) + "</text>\n";
    return true;
}

std::string Drawing::Svg(const std::string& below, double belowHeight) const
{
    const std::string width = std::to_string(picture.width), height = std::to_string(picture.height);
    const std::string whole = RoundedText(picture.height + belowHeight, digits);
    const double shown = picture.enlarged;
    std::string svg =
        "<svg xmlns=\"http://www.w3.org/2000/svg\" class=\"marked\" role=\"img\" viewBox=\"0 0 " + width +
        " " + whole + "\"" + Attribute("width", shown * picture.width) +
        Attribute("height", shown * (picture.height + belowHeight)) + " font-family=\"sans-serif\"" +
        Attribute("font-size", letters) + " style=\"max-width:100%;height:auto\">\n<title>" +
        Escaped(picture.title) + "</title>\n<desc>" + Escaped(picture.description) + "</desc>\n<style>" +
        wideScreen + "</style>\n";
    if (!picture.href.empty())
        svg += "<image width=\"" + width + "\" height=\"" + height +
               (picture.enlarged > 1 ? "\" style=\"image-rendering:pixelated" : "") + "\" href=\"" +
               Escaped(picture.href) + "\"/>\n";
    // The pixel at the top left reaches from 0 to 1, and its middle is the place (0, 0).
    svg += "<g transform=\"translate(0.5 0.5)\" fill=\"none\" stroke=\"currentColor\" "
           "stroke-linejoin=\"round\">\n" +
           marks +
           "</g>\n<g class=\"labels\" transform=\"translate(0.5 0.5)\" stroke=\"#000\" "
           "stroke-width=\"0.2em\" stroke-linejoin=\"round\" paint-order=\"stroke\">\n" +
           names + "</g>\n" + below + "</svg>\n";
    return svg;
}

} // namespace telvane
