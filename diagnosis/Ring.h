// The ring of teeth about the centre of the rotation: its radii, how many teeth, how far they move.
#ifndef DIAGNOSIS_RING_H
#define DIAGNOSIS_RING_H

#include <Kavrix/KXubyte.h>
#include <Telvane/Region.h>
#include <diagnosis/Changes.h>
#include <diagnosis/Diagnosis.h>
#include <diagnosis/Place.h>

#include <optional>
#include <vector>

namespace telvane {

/// How strongly the picture changes at each distance from a centre: of 24 sectors the median, so that what
/// moves on one side only does not count.
/// \return the variance above noise for each `profileStep` pixels of radius; 0 where less than a third of the
///         circle is seen
std::vector<double> RadialProfile(const Changes& changes, const Place& centre,
                                  const std::vector<Region>& masks);
inline constexpr int profileStep = 2;

/// The middle of the circle that what changes ends at on most sides, whatever else moves on the others.
std::optional<Place> OutlineMiddle(const Changes& changes, const std::vector<Region>& masks);

/// The outermost ring that changes.
std::optional<Ring> RoughRing(const std::vector<double>& profile);

/// The grey values along the circles in the middle of a ring.
struct PolarProfile {
    int count = 0;                           ///< of directions, from +x on clockwise
    std::vector<std::vector<double>> frames; ///< the mean over the circles, with the slow changes taken off
    std::vector<char> seen;                  ///< the direction is in the picture and in no mask
    double share = 0;                        ///< of the directions that are seen
};
PolarProfile PolarProfileOf(const CubByte& frames, const Place& centre, const Ring& ring,
                            const std::vector<Region>& masks);

/// The power of each number of teeth in a polar profile, summed over some of its frames; from 0 on.
std::vector<double> TeethPower(const PolarProfile& profile, double radius);

struct RingFound {
    std::optional<Ring> ring;
    std::optional<int> teeth;
    double clear = 0;  ///< 0..1: what part of the grey values around the ring are waves of that number
    double step = 0;   ///< by which the teeth go on between compared frames, in teeth: -0.5..0.5, clockwise
                       ///< positive; more cannot be told from less
    double steady = 0; ///< 0..1: how far the steps of all pairs agree
    double uneven = 0; ///< by which the step that differs most does so, in teeth
    Place middle;      ///< of the ring's outer circle, pixels of the frame
    double oval = 0;   ///< pixels by which the outer circle is longer or shorter than a circle
    double seen = 0;   ///< the share of the ring that lies in the picture and in no mask
};

/// \param times  see RunArguments::Times
RingFound FindRing(const CubByte& frames, const std::vector<int>& times, const Changes& changes,
                   const Place& centre, const std::vector<Region>& masks);

/// Where the middle of the ring's outer circle lies in each frame.
std::vector<std::optional<Place>> RingPlaces(const CubByte& frames, const Place& centre, const Ring& ring,
                                             int teeth, const std::vector<Region>& masks);

} // namespace telvane

#endif
