// Lines, circles, arrows and names as SVG over a picture, each line on a dark casing, so that it shows on
// light and on dark ground.
#ifndef MARKS_DRAWING_H
#define MARKS_DRAWING_H

#include <diagnosis/Place.h>
#include <marks/Labels.h>

#include <string>
#include <vector>

namespace telvane {

/// How a mark is drawn: by more than its colour. The colours are those of M. Okabe and K. Ito, "Color
/// Universal Design" (2008), which people with any kind of colour vision tell apart.
struct Ink {
    const char* colour;
    const char* dashes; ///< as in stroke-dasharray; empty: a full line
    double width;       ///< of the line, pixels of the screen
};

/// A picture of the page, or elsewhere.
struct MarkedPicture {
    int width = 0, height = 0; ///< pixels
    std::string href;          ///< a data URI or a file's name; empty: there is nothing below the marks
    std::string title;         ///< what it is
    std::string description;   ///< what it shows, for those who do not see it
    int enlarged = 1;          ///< above 1, its pixels are squares of this many pixels of the page
};

/// Coordinates are those of the picture's pixels: (x, y) is the middle of a pixel.
class Drawing {
public:
    explicit Drawing(const MarkedPicture& picture);

    /// What is drawn next belongs to this mark. \param name  its class, words of letters and dashes
    /// \param data  further attributes, as they stand in the file
    void Begin(const std::string& name, const Ink& ink, const std::string& data = "");
    /// `key`: nobody's name may lie over it.
    void Line(Place from, Place to, bool key = false);
    /// A head as large as an arrow's, from `from` on.
    void Arrow(Place from, Place to);
    void Circle(Place centre, double radius);
    void Ellipse(Place centre, Place radii);
    void Rectangle(double left, double top, double right, double bottom);
    void Path(const std::vector<Place>& places, bool closed);
    void ArrowHead(Place tip, double degrees);
    /// A filled circle.
    void Dot(Place centre, double radius);
    /// Nobody's name may lie here.
    void KeepClear(Place place);
    void End();

    /// Puts a name beside one of these places, when all marks are drawn. `its` is the mark's number.
    /// \return false where none of them lies in the picture
    bool Name(const std::string& words, int its, const Ink& ink, const std::string& name,
              const std::vector<LabelAnchor>& anchors);

    bool InPicture(Place place) const { return labels.InPicture(place); }
    /// The number of the mark that was begun last.
    int Mark() const { return mark; }
    /// Height of the letters on a narrow screen, in pixels of the picture.
    double Letters() const { return letters; }
    double HeadLength() const { return 0.6 * letters; }

    /// \param below        further elements, under the picture
    /// \param belowHeight  and how much room they take, in pixels of the picture
    std::string Svg(const std::string& below = "", double belowHeight = 0) const;

private:
    MarkedPicture picture;
    double letters;
    Labels labels;
    int mark = 0;
    std::string opening, closing; // of the mark that is being drawn
    std::string shapes, marks, names;
};

/// " x=\"1.5\"", with what a picture needs of digits.
std::string Attribute(const char* name, double value);

} // namespace telvane

#endif
