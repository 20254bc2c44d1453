// The marks, each with its ink, its names, and its line of the legend.
#include <marks/Marks.h>

#include <tools/Markup.h>
#include <tools/Numbers.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <numbers>

namespace telvane {

namespace {

// The answer, what was given and what was measured have a colour each, and lines of their own.
const Ink regionInk{"#F0E442", "", 2}, givenInk{"#56B4E9", "7 4", 2}, measuredInk{"#E69F00", "", 2};
const Ink senseInk{"#CC79A7", "", 3}, rotationInk{"#D55E00", "", 2.5}, maskInk{"#FFFFFF", "2 4", 2};
const Ink angleInk{"#009E73", "12 3 2 3", 2}, toothInk{"#E69F00", "", 1}, measureInk{"#F0E442", "", 1};

double Radians(double degrees) { return degrees * std::numbers::pi / 180; }

Place Towards(Place from, double degrees, double distance)
{
    return {from.x + distance * std::cos(Radians(degrees)), from.y + distance * std::sin(Radians(degrees))};
}

std::string Degrees(double degrees) { return RoundedText(degrees, 1) + "\xC2\xB0"; }

/// Where a line of a ring is seen in a direction from the ring's centre, `factor` times as far away.
Place OnRing(const RingMark& ring, bool outer, double degrees, double factor = 1)
{
    const std::vector<Place>& seen = outer ? ring.outerSeen : ring.innerSeen;
    if (seen.empty()) return Towards(ring.centre, degrees, factor * (outer ? ring.outer : ring.inner));
    const double turns = degrees / 360, at = (turns - std::floor(turns)) * static_cast<double>(seen.size());
    const auto before = static_cast<std::size_t>(at);
    const Place &a = seen[before % seen.size()], &b = seen[(before + 1) % seen.size()];
    const double share = at - std::floor(at);
    const Place place = {a.x + (b.x - a.x) * share, a.y + (b.y - a.y) * share};
    return {ring.centre.x + (place.x - ring.centre.x) * factor,
            ring.centre.y + (place.y - ring.centre.y) * factor};
}

/// Half the axes of the ellipse that stands for the centre of the rotation: twice the deviation, or so much
/// more that it stays visible. \return whether it is drawn larger than it is
bool RotationRadii(const RotationMark& rotation, const MarkedPicture& picture, Place& radii)
{
    const double least = picture.width / 160.0; // 2 pixels on a phone
    const double x = 2 * rotation.sigma.x, y = 2 * rotation.sigma.y;
    const double visible = std::max(1.0, least / std::max({x, y, 1e-6}));
    radii = {std::max(x * visible, least / 4), std::max(y * visible, least / 4)};
    return radii.x > x || radii.y > y;
}

/// Directions all round, from the best to its opposite, to both sides in turn.
const int directions = 24;
double Fan(double best, int i)
{
    const int steps = (i + 1) / 2;
    return best + 360.0 / directions * (i % 2 ? -steps : steps);
}

/// Names may stand all round a ring, best in this direction, on its far side.
std::vector<LabelAnchor> Around(const RingMark& ring, bool outer, double best)
{
    std::vector<LabelAnchor> anchors;
    for (int i = 0; i < directions; i++) {
        const double degrees = Fan(best, i);
        anchors.push_back({OnRing(ring, outer, degrees), outer ? degrees : degrees + 180});
    }
    return anchors;
}

struct LegendLine {
    const Ink* ink;
    bool line; ///< or else a dot
    std::string words;
};

class Scene {
public:
    Scene(const Marks& m, const MarkedPicture& p) : marks(m), picture(p), drawing(p) {}

    void Draw()
    {
        Masks();
        Rings();
        Teeth();
        Angles();
        OutputRegion();
        Measures();
        Turn();
        Centres();
        // The names of points first: those of rings have most places to choose from.
        for (auto name = names.rbegin(); name != names.rend(); ++name)
            drawing.Name(name->words, name->mark, *name->ink, name->of, name->anchors);
    }

    std::string Svg(bool withLegend) const
    {
        if (!withLegend) return drawing.Svg();
        // Two columns where the words leave room.
        const double letters = 0.83 * drawing.Letters(), lineHeight = 1.5 * letters, swatch = 1.4 * letters;
        std::size_t longest = 0;
        for (const LegendLine& line : legend) longest = std::max(longest, line.words.size());
        const bool two = 2 * (0.55 * letters * static_cast<double>(longest) + swatch) < picture.width;
        const std::size_t rows = two ? (legend.size() + 1) / 2 : legend.size();
        const double height = lineHeight * (static_cast<double>(rows) + 0.5);
        std::string below = "<g class=\"legend\" font-size=\"0.83em\" transform=\"translate(0 " +
                            std::to_string(picture.height) + ")\"><rect" + Attribute("width", picture.width) +
                            Attribute("height", height) + " fill=\"#111\"/>\n";
        for (std::size_t i = 0; i < legend.size(); i++) {
            const double x = i < rows ? 0 : picture.width / 2.0;
            const double y = lineHeight * (static_cast<double>(i % rows) + 0.75);
            below += "<g transform=\"translate(" + RoundedText(x + 0.3 * letters, 1) + " " +
                     RoundedText(y, 1) + ")\">" + Swatch(legend[i], letters) + "<text fill=\"#fff\"" +
                     Attribute("x", swatch) + " dy=\"0.35em\">" + Escaped(legend[i].words) + "</text></g>\n";
        }
        return drawing.Svg(below + "</g>\n", height);
    }

    std::string List() const
    {
        std::string list = "<ul class=\"marks-legend\">\n";
        for (const LegendLine& line : legend)
            list +=
                "<li><svg xmlns=\"http://www.w3.org/2000/svg\" width=\"24\" height=\"16\" viewBox=\"0 -8 24 "
                "16\" "
                "aria-hidden=\"true\"><rect y=\"-8\" width=\"24\" height=\"16\" rx=\"2\" fill=\"#222\"/>" +
                Swatch(line, 24) + "</svg> " + Escaped(line.words) + "</li>\n";
        return list + "</ul>\n";
    }

private:
    struct Waiting {
        std::string words;
        int mark;
        const Ink* ink;
        std::string of;
        std::vector<LabelAnchor> anchors;
    };

    /// Names are placed when everything is drawn.
    void Name(const std::string& words, const Ink& ink, const std::string& of,
              std::vector<LabelAnchor> anchors)
    {
        names.push_back({words, drawing.Mark(), &ink, of, std::move(anchors)});
    }

    void Explain(const Ink& ink, const std::string& words, bool line = true)
    {
        legend.push_back({&ink, line, words});
    }

    /// In the language of the arguments, or in plain words.
    std::string Say(const std::string& asArgument, const std::string& plain) const
    {
        return marks.asArguments ? asArgument : plain;
    }

    static std::string Swatch(const LegendLine& line, double width)
    {
        const std::string colour = std::string(" stroke=\"") + line.ink->colour + "\"";
        if (!line.line)
            return "<circle" + Attribute("cx", width / 2) + Attribute("r", width / 6) + " fill=\"" +
                   line.ink->colour + "\"/>";
        std::string text = "<path" + colour + Attribute("stroke-width", line.ink->width);
        if (*line.ink->dashes) text += " stroke-dasharray=\"" + std::string(line.ink->dashes) + "\"";
        return text + " vector-effect=\"non-scaling-stroke\" d=\"M0 0H" + RoundedText(width, 1) + "\"/>";
    }

    const RingMark* Ring() const
    {
        return marks.measured ? &*marks.measured : marks.given ? &*marks.given : nullptr;
    }

    void Masks()
    {
        for (const Region& m : marks.masks) {
            // Held to the picture first, then the corners cut, as the program does.
            using Int = long long;
            const Int l = std::max<Int>(m.left, 0), t = std::max<Int>(m.top, 0);
            const Int r = std::min<Int>(Int{m.left} + m.width, picture.width);
            const Int b = std::min<Int>(Int{m.top} + m.height, picture.height);
            if (l >= r || t >= b) continue;
            const auto cut = static_cast<double>(std::min(2 * (r - l) / 7, 2 * (b - t) / 7));
            const double left = static_cast<double>(l) - 0.5, right = static_cast<double>(r) - 0.5;
            const double top = static_cast<double>(t) - 0.5, bottom = static_cast<double>(b) - 0.5;
            drawing.Begin("mask", maskInk);
            drawing.Path({{left + cut, top},
                          {right - cut, top},
                          {right, top + cut},
                          {right, bottom - cut},
                          {right - cut, bottom},
                          {left + cut, bottom},
                          {left, bottom - cut},
                          {left, top + cut}},
                         true);
            drawing.End();
            const double x = (left + right) / 2, y = (top + bottom) / 2;
            Name(Say("-m", "blanked"), maskInk, "mask",
                 {{{x, bottom}, 90}, {{x, top}, -90}, {{right, y}, 0}, {{left, y}, 180}});
            Explain(maskInk, Say("-m " + std::to_string(m.left) + " " + std::to_string(m.top) + " " +
                                     std::to_string(m.width) + " " + std::to_string(m.height) + " blanked",
                                 "blanked " + std::to_string(m.width) + " x " + std::to_string(m.height)));
        }
    }

    void Circles(const RingMark& ring)
    {
        if (ring.innerSeen.empty()) drawing.Circle(ring.centre, ring.inner);
        else drawing.Path(ring.innerSeen, true);
        if (ring.outerSeen.empty()) drawing.Circle(ring.centre, ring.outer);
        else drawing.Path(ring.outerSeen, true);
    }

    void Rings()
    {
        if (marks.given) {
            const RingMark& ring = *marks.given;
            drawing.Begin("given-circles", givenInk);
            Circles(ring);
            const std::string inner = RoundedText(ring.inner, 1), outer = RoundedText(ring.outer, 1);
            if (marks.asArguments) {
                Radius(ring, false, -65, "<innerR> " + inner);
                Radius(ring, true, 35, "<outerR> " + outer);
                drawing.End();
                Explain(givenInk, "<innerR> " + inner + " tooth roots");
                Explain(givenInk, "<outerR> " + outer + " tooth tips");
            } else {
                drawing.End();
                Name("given radii", givenInk, "given-circles", Around(ring, true, 45));
                Explain(givenInk, "given radii " + inner + " and " + outer);
            }
        }
        if (marks.measured) {
            const RingMark& ring = *marks.measured;
            drawing.Begin("measured-ring", measuredInk);
            Circles(ring);
            drawing.End();
            Name("measured ring", measuredInk, "measured-ring", Around(ring, true, 135));
            Explain(measuredInk, "measured ring, radii " + RoundedText(ring.inner, 1) + " and " +
                                     RoundedText(ring.outer, 1));
        }
    }

    /// An arrow from the centre to a circle, with its name at the head: in the first direction in which the
    /// head is seen.
    void Radius(const RingMark& ring, bool outer, double best, const std::string& words)
    {
        for (int i = 0; i < directions; i++) {
            const double degrees = Fan(best, i);
            const Place head = OnRing(ring, outer, degrees);
            if (!drawing.InPicture(head)) continue;
            drawing.Arrow(ring.centre, head);
            Name(words, givenInk, "given-circles", {{head, degrees}, {head, degrees + 180}});
            return;
        }
    }

    void Teeth()
    {
        if (marks.teeth.empty()) return;
        // Dots that would run into each other are left out.
        const Place &a = marks.teeth.front(), &b = marks.teeth[marks.teeth.size() > 1 ? 1 : 0];
        const double apart = marks.teeth.size() > 1 ? std::hypot(a.x - b.x, a.y - b.y) : picture.width;
        if (apart >= 6) {
            drawing.Begin("teeth", toothInk);
            for (const Place& tooth : marks.teeth) drawing.Dot(tooth, std::min(apart / 6, 5.0));
            drawing.End();
        }
        const std::string count = std::to_string(marks.teeth.size());
        Explain(toothInk, Say("<teethCnt> " + count, count + " teeth"), false);
    }

    void Angles()
    {
        const RingMark* const ring = marks.given ? &*marks.given : Ring();
        if (ring == nullptr) return;
        if (marks.angles) {
            const double start = marks.angles->start, end = marks.angles->end;
            drawing.Begin("angles", angleInk);
            const std::string first = Say("<ang1> ", "start ") + Degrees(start);
            const std::string second = Say("<ang2> ", "end ") + Degrees(end);
            // A whole turn begins where it ends: one name for both, whose numbers the legend has.
            const bool whole = std::abs(std::remainder(end - start, 360)) < 1e-6;
            const std::string both = Say("<ang1>, <ang2>", "start, end");
            for (const auto& [angle, words] :
                 {std::pair{start, whole ? both : first}, std::pair{end, second}}) {
                if (whole && words != both) break;
                const Place head = OnRing(*ring, true, angle, 1.15);
                drawing.Line(ring->centre, head);
                std::vector<LabelAnchor> anchors = {{head, angle}};
                for (const double share : {0.6, 0.45, 0.75, 0.9})
                    for (const double side : {90.0, -90.0})
                        anchors.push_back({OnRing(*ring, true, angle, share), angle + side});
                Name(words, angleInk, "angles", anchors);
            }
            drawing.End();
            Explain(angleInk, first + ", " + second);
        }
        const double letters = drawing.Letters();
        if (marks.scale && ring->outer > 0) {
            drawing.Begin("scale", angleInk);
            for (int angle = 0; angle < 360; angle += 90) {
                const Place from = OnRing(*ring, true, angle, 1 + 0.15 * letters / ring->outer);
                const Place to = OnRing(*ring, true, angle, 1 + 0.6 * letters / ring->outer);
                drawing.Line(from, to, true);
                Name(Degrees(angle), angleInk, "scale", {{to, static_cast<double>(angle)}});
            }
            drawing.End();
        }
    }

    void OutputRegion()
    {
        if (!marks.region) return;
        const Region& r = *marks.region;
        // Round its pixels, which reach half a pixel beyond their middles.
        const double left = r.left - 0.5, top = r.top - 0.5;
        const double right = left + r.width, bottom = top + r.height;
        drawing.Begin("region", regionInk);
        drawing.Rectangle(left, top, right, bottom);
        drawing.End();
        const double x = (left + right) / 2, y = (top + bottom) / 2;
        if (!marks.asArguments)
            Name("output region", regionInk, "region",
                 {{{x, bottom}, 90}, {{x, top}, -90}, {{right, y}, 0}, {{left, y}, 180}});
        const std::string size = std::to_string(r.width) + " x " + std::to_string(r.height);
        const std::string place = std::to_string(r.left) + ", " + std::to_string(r.top);
        Explain(regionInk, Say("<wid> x <hgh> " + size, "output region " + size + " at " + place));
        if (marks.asArguments)
            Explain(regionInk, "OROI=[" + std::to_string(r.left) + "," + std::to_string(r.top) + "," +
                                   std::to_string(r.width) + "," + std::to_string(r.height) + ",1]");
    }

    void Measures()
    {
        if (!marks.region || !marks.centreInRegion) return;
        const Region& r = *marks.region;
        const double left = r.left - 0.5, top = r.top - 0.5, aside = 0.35 * drawing.Letters();
        const double right = left + r.width, bottom = top + r.height;
        const double x = r.left + marks.centreInRegion->x, y = r.top + marks.centreInRegion->y;
        // Outside of the region, or where the picture ends there, inside.
        const double below = bottom + aside < picture.height - 1 ? bottom + aside : bottom - aside;
        const double beside = right + aside < picture.width - 1 ? right + aside : right - aside;
        const double gap = 0.25 * drawing.Letters(); // to the centre itself
        const auto measure = [&](const std::string& name, int value, Place from, Place to, bool both,
                                 double side) {
            drawing.Begin("measures", measureInk, " data-name=\"" + Escaped(name) + "\"");
            drawing.Arrow(from, to);
            const double degrees = std::atan2(to.y - from.y, to.x - from.x) * 180 / std::numbers::pi;
            if (both) drawing.ArrowHead(from, degrees + 180);
            drawing.End();
            std::vector<LabelAnchor> anchors;
            for (const double share : {0.5, 0.3, 0.7})
                anchors.push_back(
                    {{from.x + (to.x - from.x) * share, from.y + (to.y - from.y) * share}, side});
            Name(name + " " + std::to_string(value), measureInk, "measures", anchors);
        };
        measure("<wid>", r.width, {left, below}, {right, below}, true, 90);
        measure("<hgh>", r.height, {beside, top}, {beside, bottom}, true, 0);
        measure("<cx>", marks.centreInRegion->x, {left, y}, {x - gap, y}, false, -90);
        measure("<cy>", marks.centreInRegion->y, {x, top}, {x, y - gap}, false, 0);
        Explain(measureInk, "<cx> " + std::to_string(marks.centreInRegion->x) + ", <cy> " +
                                std::to_string(marks.centreInRegion->y) + " centre");
    }

    /// An arc with a head, along the ring outside of it, where that is seen; or else within.
    void Turn()
    {
        if (marks.still) Explain(senseInk, Say("<angSpd> 0 at rest", "at rest"));
        if (marks.still || !marks.sense) return;
        const bool clockwise = *marks.sense == Sense::clockwise;
        const std::string words = clockwise ? "clockwise" : "counter-clockwise";
        Explain(senseInk, Say(clockwise ? "<angSpd> 1 " : "<angSpd> -1 ", "turns ") + words);
        const RingMark* const ring = Ring();
        if (ring == nullptr || !(ring->outer > 0)) return;
        const double aside = 0.5 * drawing.Letters();
        for (const double factor : {1 + aside / ring->outer, 1 - 1.2 * aside / ring->outer, 0.7, 0.4}) {
            if (factor < 0.2) continue;
            const double span = std::clamp(5 * drawing.Letters() / (ring->outer * factor) * 57.3, 5.0, 120.0);
            for (int i = 0; i < directions; i++) {
                const double middle = Fan(220, i);
                std::vector<Place> arc;
                const int steps = 24;
                for (int k = 0; k <= steps; k++) {
                    const double turn = span * (static_cast<double>(k) / steps - 0.5);
                    arc.push_back(OnRing(*ring, true, middle + (clockwise ? turn : -turn), factor));
                }
                if (!std::all_of(arc.begin(), arc.end(), [&](Place p) { return drawing.InPicture(p); }))
                    continue;
                drawing.Begin("sense", senseInk, std::string(" data-sense=\"") + Name(*marks.sense) + "\"");
                // The head points along the end of the arc, which stops within it.
                const Place tip = arc.back(), before = arc[static_cast<std::size_t>(steps) - 4];
                arc.resize(static_cast<std::size_t>(steps) - 1);
                drawing.Path(arc, false);
                drawing.ArrowHead(tip,
                                  std::atan2(tip.y - before.y, tip.x - before.x) * 180 / std::numbers::pi);
                drawing.End();
                Name(Say(clockwise ? "<angSpd> 1" : "<angSpd> -1", words), senseInk, "sense",
                     {{arc[arc.size() / 2], middle}, {arc[arc.size() / 2], middle + 180}});
                return;
            }
        }
    }

    void Centres()
    {
        const double arm = 0.35 * drawing.Letters();
        if (marks.rotation) {
            const RotationMark& rotation = *marks.rotation;
            Place radii;
            const bool larger = RotationRadii(rotation, picture, radii);
            drawing.Begin("rotation-centre", rotationInk,
                          Attribute("data-sigma-x", rotation.sigma.x) +
                              Attribute("data-sigma-y", rotation.sigma.y));
            drawing.Ellipse(rotation.centre, radii);
            drawing.End();
            Name("rotation", rotationInk, "rotation-centre", Beside(rotation.centre, radii, 150));
            std::string words = "centre of the rotation " + Deviating(rotation.centre.x, rotation.sigma.x) +
                                ", " + Deviating(rotation.centre.y, rotation.sigma.y);
            if (larger) words += " (drawn larger)";
            Explain(rotationInk, words);
        }
        if (marks.ringCentre) {
            const Place& c = *marks.ringCentre;
            drawing.Begin("ring-centre", givenInk);
            drawing.Circle(c, 0.6 * arm);
            drawing.End();
            Name("ring's centre", givenInk, "ring-centre", Beside(c, {0.6 * arm, 0.6 * arm}, 200));
            Explain(givenInk, "ring's centre " + RoundedText(c.x, 1) + ", " + RoundedText(c.y, 1));
        }
        if (marks.cross) {
            const Place& c = *marks.cross;
            drawing.Begin("found-centre", regionInk);
            drawing.Line({c.x - arm, c.y}, {c.x + arm, c.y}, true);
            drawing.Line({c.x, c.y - arm}, {c.x, c.y + arm}, true);
            drawing.End();
            Name(Say("centre", "centre found"), regionInk, "found-centre", Beside(c, {arm, arm}, 45));
            Explain(regionInk, Say("wheel's centre ", "centre found ") + RoundedText(c.x, 1) + ", " +
                                   RoundedText(c.y, 1));
        }
    }

    static std::string Deviating(double value, double sigma)
    {
        return RoundedText(value, 2) + " \xC2\xB1 " + RoundedText(sigma, sigma < 0.095 ? 3 : 2);
    }

    static std::vector<LabelAnchor> Beside(Place centre, Place radii, double best)
    {
        std::vector<LabelAnchor> anchors;
        for (const double turn : {0.0, 90.0, -90.0, 180.0}) {
            const double angle = Radians(best + turn);
            anchors.push_back(
                {{centre.x + radii.x * std::cos(angle), centre.y + radii.y * std::sin(angle)}, best + turn});
        }
        return anchors;
    }

    static const char* Name(Sense sense) { return telvane::Name(sense); }

    const Marks& marks;
    const MarkedPicture& picture;
    Drawing drawing;
    std::vector<Waiting> names;
    std::vector<LegendLine> legend;
};

} // namespace

std::string MarksSvg(const Marks& marks, const MarkedPicture& picture, bool legend)
{
    Scene scene(marks, picture);
    scene.Draw();
    return scene.Svg(legend);
}

std::string MarksLegend(const Marks& marks, const MarkedPicture& picture)
{
    Scene scene(marks, picture);
    scene.Draw();
    return scene.List();
}

} // namespace telvane
