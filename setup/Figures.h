// What a person aims a camera by: figures of one picture, and of two that follow each other.
#ifndef SETUP_FIGURES_H
#define SETUP_FIGURES_H

#include <Kavrix/KXubyte.h>
#include <diagnosis/Place.h>

#include <optional>

namespace telvane {

/// Where the wheel is said to be; radii of 0: nobody has said so yet. Pixels.
struct Circles {
    Place centre;
    double inner = 0, outer = 0;
    int teeth = 0; ///< 0: not known

    bool Set() const { return inner > 0 && outer > inner; }
};

/// How sharp a picture is: the root mean square of the differences between pixels that lie two apart, along x
/// and along y, in grey levels; inside the outer circle once it is set, everywhere before. Only its
/// comparison with other pictures of the same scene tells something. J. F. Brenner and others, "An automated
/// microscope for cytologic research", Journal of Histochemistry and Cytochemistry 24 (1976), pp. 100-111,
/// along both axes.
double Sharpness(const MatByte& picture, const Circles& circles);

/// The shares of all pixels, 0..1.
struct Exposure {
    double clipped = 0; ///< of the highest value
    double dark = 0;    ///< so dark that little but noise is left, below 16
};
Exposure ExposureOf(const MatByte& picture);

struct TeethSpeed {
    double pixels = 0;     ///< a frame, half way between the circles; clockwise is positive
    bool nearHalf = false; ///< of a tooth: it may as well be the other way round, and `pixels` says nothing
};

/// How far the teeth move from one picture to the next: where the second one's ring fits the first one's best
/// when it is turned by up to half a tooth. \return nothing where no ring of teeth is seen, or none that
/// looks alike in both
std::optional<TeethSpeed> SpeedOf(const MatByte& first, const MatByte& second, const Circles& circles);

} // namespace telvane

#endif
