// Candidates in a fixed order: the nearest first, all marks kept clear as long as that can be had.
#include <marks/Labels.h>

#include <algorithm>
#include <cmath>
#include <numbers>

namespace telvane {

namespace {

// Places come from sines and roots, whose last bits differ from machine to machine. What differs by less is
// the same, and the first place of those that are equally good is taken, on all of them.
constexpr double slack = 1e-6;

LabelBox Grown(const LabelBox& box, double by)
{
    return {box.left - by, box.top - by, box.right + by, box.bottom + by};
}

bool Overlap(const LabelBox& a, const LabelBox& b)
{
    return a.left < b.right - slack && b.left < a.right - slack && a.top < b.bottom - slack &&
           b.top < a.bottom - slack;
}

bool Inside(const LabelBox& box, const LabelBox& room)
{
    return box.left >= room.left - slack && box.top >= room.top - slack && box.right <= room.right + slack &&
           box.bottom <= room.bottom + slack;
}

/// Whether a line has a point inside: it is clipped at the four edges.
bool Meets(const LabelBox& exactly, Place from, Place to)
{
    const LabelBox box = Grown(exactly, slack);
    const double dx = to.x - from.x, dy = to.y - from.y;
    const double ways[][2] = {{-dx, from.x - box.left},
                              {dx, box.right - from.x},
                              {-dy, from.y - box.top},
                              {dy, box.bottom - from.y}};
    double first = 0, last = 1;
    for (const auto& [out, room] : ways) {
        if (out < 0) first = std::max(first, room / out);
        else if (out > 0) last = std::min(last, room / out);
        else if (room < 0) return false;
    }
    return first <= last;
}

/// Whether a circle's line runs through.
bool Meets(const LabelBox& box, Place centre, double radius)
{
    const double nearX = std::clamp(centre.x, box.left, box.right) - centre.x;
    const double nearY = std::clamp(centre.y, box.top, box.bottom) - centre.y;
    const double farX = std::max(centre.x - box.left, box.right - centre.x);
    const double farY = std::max(centre.y - box.top, box.bottom - centre.y);
    return std::hypot(nearX, nearY) <= radius + slack && radius <= std::hypot(farX, farY) + slack;
}

/// The sense in which the corners of a triangle follow each other: 1, -1, or 0 where they lie on a line.
int Side(Place a, Place b, Place c)
{
    const double twiceTheArea = (b.x - a.x) * (c.y - a.y) - (b.y - a.y) * (c.x - a.x);
    return twiceTheArea > slack ? 1 : twiceTheArea < -slack ? -1 : 0;
}

bool Cross(Place a, Place b, Place c, Place d)
{
    return Side(a, b, c) * Side(a, b, d) < 0 && Side(c, d, a) * Side(c, d, b) < 0;
}

Place Nearest(const LabelBox& box, Place to)
{
    return {std::clamp(to.x, box.left, box.right), std::clamp(to.y, box.top, box.bottom)};
}

double Middle(double from, double to) { return (from + to) / 2; }

} // namespace

Labels::Labels(Place corner, double width, double height, double letterHeight)
    : picture{corner.x, corner.y, corner.x + width, corner.y + height}, letters(letterHeight)
{
}

void Labels::AddLine(Place from, Place to, int mark, bool key) { lines.push_back({from, to, mark, key}); }

void Labels::AddCircle(Place centre, double radius, int mark) { rings.push_back({centre, radius, mark}); }

bool Labels::InPicture(Place place) const { return Inside({place.x, place.y, place.x, place.y}, picture); }

bool Labels::Fits(const LabelBox& box) const
{
    const LabelBox room = Grown(picture, -0.15 * letters), wide = Grown(box, 0.12 * letters);
    return Inside(box, room) && std::none_of(names.begin(), names.end(),
                                             [&](const LabelBox& name) { return Overlap(name, wide); });
}

double Labels::CostOf(const LabelBox& box, int mark) const
{
    const LabelBox wide = Grown(box, 0.12 * letters);
    double cost = 0;
    for (const Line& l : lines)
        if (Meets(wide, l.from, l.to)) cost += l.key || l.mark == mark ? itsOwn : overLine;
    for (const Ring& r : rings)
        if (Meets(wide, r.centre, r.radius)) cost += r.mark == mark ? itsOwn : overLine;
    return cost;
}

double Labels::CostOf(Place from, Place to) const
{
    double cost = 0;
    for (const LabelBox& name : names)
        if (Meets(name, from, to)) cost += acrossName;
    const Place middle = {Middle(from.x, to.x), Middle(from.y, to.y)};
    const LabelBox around = Grown({middle.x, middle.y, middle.x, middle.y}, 0.1 * letters);
    for (const Line& l : lines)
        if (Cross(from, to, l.from, l.to) || Meets(around, l.from, l.to))
            cost += acrossLine; // or runs along it
    return cost;
}

PlacedLabel Labels::At(const LabelBox& box, Place anchor, double side) const
{
    PlacedLabel placed;
    placed.box = box;
    placed.anchor = anchor;
    placed.align = side > 0 ? "start" : side < 0 ? "end" : "middle";
    const double middle = Middle(box.left, box.right);
    placed.text = {side > 0 ? box.left : side < 0 ? box.right : middle, Middle(box.top, box.bottom)};
    const Place edge = Nearest(box, anchor);
    // Smaller letters keep to the side where the words begin or end.
    if (std::hypot(edge.x - anchor.x, edge.y - anchor.y) > letters + slack)
        placed.leader = Place{placed.text.x, edge.y};
    return placed;
}

std::optional<PlacedLabel> Labels::Add(const std::string& words, int mark,
                                       const std::vector<LabelAnchor>& anchors)
{
    const double halfWidth = WidthOf(words.size()) / 2, halfHeight = 0.6 * letters;
    const auto around = [&](Place middle) {
        return LabelBox{middle.x - halfWidth, middle.y - halfHeight, middle.x + halfWidth,
                        middle.y + halfHeight};
    };
    std::vector<LabelAnchor> seen;
    std::copy_if(anchors.begin(), anchors.end(), std::back_inserter(seen),
                 [&](const LabelAnchor& anchor) { return InPicture(anchor.at); });
    if (seen.empty()) return std::nullopt;

    // Near, over as few lines as can be; of those that cost the same, beside the first of the places.
    std::optional<PlacedLabel> best;
    double least = 0;
    const auto weigh = [&](const LabelBox& box, Place anchor, double side) {
        const PlacedLabel label = At(box, anchor, side);
        const Place edge = label.leader.value_or(Nearest(box, anchor));
        double cost = std::hypot(edge.x - anchor.x, edge.y - anchor.y) / letters;
        if ((best && cost >= least - slack) || !Fits(box)) return;
        cost += CostOf(box, mark) + (label.leader ? CostOf(anchor, edge) : 0);
        if (best && cost >= least - slack) return;
        best = label;
        least = cost;
    };
    for (const double away : {0.35, 0.7, 1.2, 2.0, 3.0, 4.5, 6.5}) {
        for (const LabelAnchor& anchor : seen) {
            for (const double turn : {0.0, 45.0, -45.0, 90.0, -90.0, 135.0, -135.0, 180.0}) {
                const double angle = (anchor.degrees + turn) * std::numbers::pi / 180;
                const double dx = std::cos(angle), dy = std::sin(angle);
                // Beside, above or below, or with a corner towards the anchor.
                const double sideX = std::abs(dx) < 0.35 ? 0 : dx > 0 ? 1 : -1;
                const double sideY = std::abs(dy) < 0.35 ? 0 : dy > 0 ? 1 : -1;
                weigh(around({anchor.at.x + dx * away * letters + sideX * halfWidth,
                              anchor.at.y + dy * away * letters + sideY * halfHeight}),
                      anchor.at, sideX);
            }
        }
    }
    if (!best || least >= acrossName) { // anywhere
        const Place from = seen.front().at;
        const int columns = static_cast<int>((picture.right - picture.left) / letters);
        const int rows = static_cast<int>((picture.bottom - picture.top) / halfHeight);
        for (int row = 1; row < rows; row++)
            for (int column = 0; column < columns; column++) {
                const double x = picture.left + halfWidth + column * letters;
                weigh(around({x, picture.top + row * halfHeight}), from, x > from.x + slack ? 1 : -1);
            }
    }
    if (!best) return std::nullopt;
    if (best->leader) lines.push_back({best->anchor, *best->leader, -1, true});
    names.push_back(best->box);
    return best;
}

} // namespace telvane
