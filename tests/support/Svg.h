// Drawings read back: what stands in which group, and where.
#pragma once

#include <tests/support/Html.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace svg {

struct Point {
    double x = 0, y = 0;
};

inline double Distance(Point a, Point b) { return std::hypot(a.x - b.x, a.y - b.y); }

struct Shape : html::Element {
    std::vector<std::string> groups;  ///< the classes of the groups that it stands in, the outermost first
    std::vector<std::size_t> parents; ///< the elements that it stands in

    bool Has(const std::string& attribute) const { return attributes.count(attribute) != 0; }
    const std::string& Text(const std::string& attribute) const { return attributes.at(attribute); }
    double Number(const std::string& attribute) const
    {
        const std::string& words = attributes.at(attribute);
        char* end = nullptr;
        const double number = std::strtod(words.c_str(), &end);
        if (words.empty() || *end != 0) throw std::runtime_error(attribute + " is no number: " + words);
        return number;
    }
    bool In(const std::string& group) const
    {
        return std::find(groups.begin(), groups.end(), group) != groups.end();
    }
    /// The places of a path, a line or a rectangle.
    std::vector<Point> Places() const
    {
        if (name == "line") return {{Number("x1"), Number("y1")}, {Number("x2"), Number("y2")}};
        if (name == "rect") {
            const double l = Number("x"), t = Number("y"), r = l + Number("width"), b = t + Number("height");
            return {{l, t}, {r, t}, {r, b}, {l, b}};
        }
        std::string d = Text("d");
        for (char& c : d)
            if (c == 'M' || c == 'L' || c == 'Z') c = ' ';
        std::istringstream numbers(d);
        std::vector<Point> places;
        for (Point p; numbers >> p.x >> p.y;) places.push_back(p);
        if (!numbers.eof()) throw std::runtime_error("a path of other things: " + d);
        return places;
    }
    Point Middle() const { return {Number("cx"), Number("cy")}; }
};

struct Room {
    double left, top, right, bottom;

    bool Holds(Point p) const { return p.x > left && p.x < right && p.y > top && p.y < bottom; }
    bool Overlaps(const Room& b) const
    {
        return left < b.right && b.left < right && top < b.bottom && b.top < bottom;
    }
};

/// The room that a name takes with letters of a size: few typefaces are wider than 0.6 of it on average.
inline Room RoomOf(const Shape& label, double size)
{
    std::size_t letters = 0;
    for (const char c : label.text) letters += (static_cast<unsigned char>(c) & 0xC0) != 0x80;
    const double width = 0.6 * size * static_cast<double>(letters), x = label.Number("x");
    const std::string& anchor = label.Text("text-anchor");
    const double left = anchor == "start" ? x : anchor == "end" ? x - width : x - width / 2;
    return {left, label.Number("y") - 0.5 * size, left + width, label.Number("y") + 0.5 * size};
}

/// A document that begins with <svg>. Throws where it is not well-formed.
class Document {
public:
    explicit Document(const std::string& text)
    {
        std::vector<std::size_t> open;
        for (const html::Element& element : html::Reader::Read("<!DOCTYPE html>\n" + text)) {
            open.resize(element.depth);
            Shape shape;
            static_cast<html::Element&>(shape) = element;
            shape.parents = open;
            for (const std::size_t parent : open)
                if (const auto& its = all[parent].attributes; its.count("class"))
                    shape.groups.push_back(its.at("class"));
            open.push_back(all.size());
            all.push_back(shape);
        }
    }

    const std::vector<Shape>& All() const { return all; }

    /// The groups of a class.
    std::vector<Shape> Groups(const std::string& name) const
    {
        return Which(
            [&](const Shape& s) { return s.name == "g" && s.Has("class") && s.Text("class") == name; });
    }

    /// The shapes of a mark, without their casing. `kind` is an element's name or, for heads, "head".
    std::vector<Shape> Shapes(const std::string& group, const std::string& kind = "") const
    {
        return Which([&](const Shape& s) {
            const bool head = s.Has("class") && s.Text("class") == "head";
            const std::string its = head ? "head" : s.name;
            return s.In(group) && !s.In("casing") && s.name != "g" && (kind.empty() || its == kind);
        });
    }
    std::vector<Shape> Casing(const std::string& group) const
    {
        return Which([&](const Shape& s) { return s.In(group) && s.In("casing") && s.name != "g"; });
    }

    /// The names of marks of a kind, or of all.
    std::vector<Shape> Labels(const std::string& of = "") const
    {
        return Which([&](const Shape& s) {
            return s.name == "text" && s.In("labels") && (of.empty() || s.Text("data-of") == of);
        });
    }

    std::vector<std::string> Legend() const
    {
        std::vector<std::string> lines;
        for (const Shape& s : all)
            if ((s.name == "text" && s.In("legend")) || s.name == "li") lines.push_back(s.text);
        return lines;
    }

private:
    template <class Condition> std::vector<Shape> Which(Condition condition) const
    {
        std::vector<Shape> found;
        std::copy_if(all.begin(), all.end(), std::back_inserter(found), condition);
        return found;
    }

    std::vector<Shape> all;
};

} // namespace svg
