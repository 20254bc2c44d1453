// Names in a picture: where they stand, so that they lie inside it and hide neither each other nor what is
// drawn.
#ifndef MARKS_LABELS_H
#define MARKS_LABELS_H

#include <diagnosis/Place.h>

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace telvane {

/// Upright, its edges included.
struct LabelBox {
    double left = 0, top = 0, right = 0, bottom = 0;
};

/// A place that a name may stand beside, and the side of it that suits best.
struct LabelAnchor {
    Place at;
    double degrees = 0; ///< clockwise from +x
};

/// Where a name stands.
struct PlacedLabel {
    LabelBox box;
    Place text;                  ///< its start, middle or end on the box's middle line, as `align` says
    const char* align = "start"; ///< "start", "middle" or "end"
    std::optional<Place> leader; ///< on the box's edge: a line from `anchor` leads here
    Place anchor;
};

/// Places names one after the other, each at the best of a fixed list of places: in the picture, over no
/// other name, near what it names without hiding it, over few other lines.
class Labels {
public:
    /// \param width, height  of the picture, which begins at `corner`
    /// \param letterHeight   in the picture's units
    Labels(Place corner, double width, double height, double letterHeight);

    /// What is drawn, and should stay clear of names. `mark` tells one mark from the next: a name lies rather
    /// over another mark than over its own, and the same goes for the lines that are a `key`.
    void AddLine(Place from, Place to, int mark, bool key = false);
    void AddCircle(Place centre, double radius, int mark);

    bool InPicture(Place place) const;

    /// The best anchor comes first; those outside the picture do not count. \return nothing where none is
    /// left, or no room
    std::optional<PlacedLabel> Add(const std::string& words, int mark,
                                   const std::vector<LabelAnchor>& anchors);

    /// As much as words of these many bytes take at most in a plain typeface.
    double WidthOf(std::size_t bytes) const { return static_cast<double>(bytes) * letterWidth * letters; }

private:
    static constexpr double letterWidth = 0.6; // in heights of the letters: few typefaces are wider

    struct Line {
        Place from, to;
        int mark;
        bool key;
    };
    struct Ring {
        Place centre;
        double radius;
        int mark;
    };
    // What makes a place worse, in heights of the letters that the name might stand further away instead.
    static constexpr double overLine = 0.6, acrossLine = 0.3, acrossName = 20, itsOwn = 1000;

    /// Whether a name lies inside the picture, and over no other name.
    bool Fits(const LabelBox& box) const;
    /// Of a name over lines, and of the line that leads to a name across lines and names.
    double CostOf(const LabelBox& box, int mark) const;
    double CostOf(Place from, Place to) const;
    /// `side`: above 0 the words begin at the anchor's side, below 0 they end there.
    PlacedLabel At(const LabelBox& box, Place anchor, double side) const;

    LabelBox picture;
    double letters;
    std::vector<Line> lines;
    std::vector<Ring> rings;
    std::vector<LabelBox> names;
};

} // namespace telvane

#endif
