// What the flow says about the motion: about which place it turns, in which sense, and what of it does not.
#ifndef DIAGNOSIS_MOTION_H
#define DIAGNOSIS_MOTION_H

#include <Kavrix/KXshort.h>
#include <Kavrix/KXubyte.h>
#include <Telvane/Region.h>
#include <diagnosis/Diagnosis.h>
#include <diagnosis/Place.h>

#include <vector>

namespace telvane {

/// The mean motion of a part of the picture.
struct MotionCell {
    Place at;            ///< pixels of the frame, weighted by the strength
    double x = 0, y = 0; ///< where it moves to; of no known unit
    double strength = 0; ///< its length
};

/// Makes the pictures of the flow of a run from its frames, as the program does.
/// \param times   N of them, see RunArguments::Times: neighbours that lie one apart are compared
void FlowOf(const CubByte& frames, const std::vector<int>& times, MatShort& u, MatShort& v);

/// The motion of cells of 8 x 8 vectors wherever it is stronger than noise, the masks left out.
/// \param u, v  the flow pictures of OF_Norm, whose vectors point against the motion
std::vector<MotionCell> MotionCells(const MatShort& u, const MatShort& v, const std::vector<Region>& masks);

struct MotionSummary {
    bool turns = false; ///< the motion goes round a place; or else the rest means nothing
    Place centre;       ///< that it turns about, to some pixels
    Sense sense = Sense::clockwise;
    double agrees = 0; ///< the share of the motion that goes round the centre in that sense
};

/// The centre by weighted least squares of "motion is perpendicular to the radius", with Tukey's weights,
/// started from the best of many crossings of two such lines (M. A. Fischler and R. C. Bolles, "Random Sample
/// Consensus", Communications of the ACM 24 (1981), pp. 381-395), where motion on all sides counts more than
/// strong motion on one.
MotionSummary Summarise(const std::vector<MotionCell>& cells);

/// The sense in which the motion goes round a known centre, and the share that agrees.
/// \param ring  the motion that counts
MotionSummary SummariseAbout(const std::vector<MotionCell>& cells, const Place& centre, const Ring& ring);

/// Motion that is not the wheel's.
struct MotionElsewhere {
    double share = 0;       ///< of all motion
    Place where;            ///< the middle of it
    Region box{0, 0, 0, 0}; ///< where nearly all of it lies, with some room
};

/// What moves outside of the ring's outer circle, or inside of it against the turning.
MotionElsewhere Elsewhere(const std::vector<MotionCell>& cells, const Place& centre, const Ring& ring,
                          Sense sense);

struct StraightMotion {
    double share = 0; ///< of the motion that is left when all of it is added up: 1 where all goes one way
    Place where;      ///< the middle of the motion
    Region box{0, 0, 0, 0}; ///< where nearly all of it lies, with some room
    Place way{};            ///< that it goes, of any length
};
StraightMotion Straight(const std::vector<MotionCell>& cells);

/// What goes another way, by 30 degrees or more.
std::vector<MotionCell> Otherwise(const std::vector<MotionCell>& cells, const StraightMotion& straight);

} // namespace telvane

#endif
