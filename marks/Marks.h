// Arguments and findings of a run drawn over a frame, and named.
#ifndef MARKS_MARKS_H
#define MARKS_MARKS_H

#include <Telvane/Region.h>
#include <diagnosis/Place.h>
#include <marks/Drawing.h>

#include <optional>
#include <string>
#include <vector>

namespace telvane {

/// Both circles of a ring of teeth.
struct RingMark {
    Place centre;
    double inner = 0, outer = 0; ///< radii, pixels
    /// How they are seen where tilt and lens make other lines of them: closed lines of evenly turned places,
    /// from +x clockwise. Empty: circles.
    std::vector<Place> innerSeen, outerSeen;
};

/// Where the centre lies in the output region, pixels from its left and its top edge.
struct CentreInRegion {
    int x = 0, y = 0;
};

/// The centre of the rotation, and its standard deviation on each axis.
struct RotationMark {
    Place centre, sigma;
};

/// Degrees clockwise from +x.
struct AngleMarks {
    double start = 0, end = 360;
};

/// What is to be marked; nothing of what is empty. Numbers are finite.
struct Marks {
    std::optional<Region> region;                 ///< the output region
    std::optional<CentreInRegion> centreInRegion; ///< with measures; needs the region
    std::optional<Place> cross;                   ///< the centre that was found
    std::optional<RingMark> given;                ///< the radii that the run was given
    std::optional<RingMark> measured;             ///< the ring in which the motion lies
    std::optional<Sense> sense; ///< beside the measured ring, or else the given one; needs one
    bool still = false;         ///< nothing turns: the legend says so in place of a sense
    std::optional<RotationMark> rotation;
    std::vector<Region> masks;        ///< drawn as the program blanks them, with cut corners
    std::optional<AngleMarks> angles; ///< rays, in the given ring, or else the measured one; need one
    bool scale = false;               ///< where 0, 90, 180 and 270 degrees lie, round the same ring
    std::vector<Place> teeth;         ///< the middle of each
    std::optional<Place> ringCentre;  ///< where it lies apart from the cross

    bool asArguments = false; ///< marks are named as the arguments of the command line are
};

/// An element <svg> that is well-formed as XML, of a page or by itself. Each mark is a group of its class:
/// region, found-centre, given-circles, measured-ring, sense (data-sense "cw" or "ccw"), rotation-centre,
/// mask, angles, scale, teeth, ring-centre, measures; each name a text with data-of the same.
/// \param legend  below the picture stands what the names mean
std::string MarksSvg(const Marks& marks, const MarkedPicture& picture, bool legend = false);

/// The same legend as a list of HTML, class "marks-legend", with a piece of each line.
std::string MarksLegend(const Marks& marks, const MarkedPicture& picture);

} // namespace telvane

#endif
