// One pair of frames: the rotation that takes the one into the other, by least squares on grey values.
#ifndef DIAGNOSIS_PAIRFIT_H
#define DIAGNOSIS_PAIRFIT_H

#include <diagnosis/Scaled.h>

#include <Eigen/Dense>

#include <vector>

namespace telvane {

/// Takes a place at u from the pivot to R u + shift + (h(R u) - R h(u)), R the rotation by `angle`: a flat
/// wheel whose axis leans, seen by a lens, turns so. h(u) = S u + u (slant . u), S symmetric without a trace:
/// `shape` holds S11 and S12. In radians and pixels of the frame.
struct Motion {
    double angle = 0;
    Eigen::Vector2d shift = Eigen::Vector2d::Zero();
    Eigen::Vector2d shape = Eigen::Vector2d::Zero();
    Eigen::Vector2d slant = Eigen::Vector2d::Zero(); ///< per pixel

    Eigen::Vector2d Take(const Eigen::Vector2d& u) const;
    /// What stays in its place, from the pivot; the angle must not be 0.
    Eigen::Vector2d Fixed() const;
};

/// Where the wheel is looked at.
struct Sight {
    Eigen::Vector2d pivot; ///< in the frame
    double radius = 0;     ///< about the pivot, pixels
    std::vector<Region> masks;
    int margin = 0; ///< that masks are grown by, pixels

    bool Masked(float x, float y) const;
};

/// Places of one frame, from the pivot, in blocks that have their own light each.
struct Points {
    std::vector<float> x, y, grey, slopeX, slopeY;
    std::vector<int> ends; ///< of the blocks: the number of the first point behind each
    int Count() const { return static_cast<int>(x.size()); }
};

/// How the frames of a pair are compared.
struct PairModel {
    bool leaning = false;    ///< `shape` and `slant` are fitted too
    double leastScale = 0.1; ///< below which residuals are not told apart from noise, grey levels
    double reach = 1;        ///< pixels: radius by which angles become lengths
    int rounds = 8;
    double enough = 0.003; ///< pixels by which nothing moves any more
};

struct PairFit {
    bool solved = false;
    Motion motion;
    double angleSigma = 0;
    Eigen::Matrix2d shiftCovariance = Eigen::Matrix2d::Zero();
    double scale = 0; ///< of the residuals, grey levels
    double kept = 0;  ///< share of the weight that robust weights leave
};

/// Gauss-Newton with Tukey's weights. The light of each block, a gain and an offset, is fitted and
/// eliminated in every round; slopes are the means of both frames'. Deviations come from the scatter of
/// what the blocks add to the gradient, which is right for residuals of any kind within blocks.
PairFit FitPair(const Points& points, const Scaled& second, const Sight& sight, const Motion& start,
                const PairModel& model);

/// Sums of the squares that light alone leaves of the difference of two frames, and that the motion leaves.
struct Differences {
    double still = 0, moved = 0;
    std::vector<double> gain; ///< still less moved by distance from the pivot, one entry each 4 pixels
};
Differences Compare(const Points& points, const Scaled& second, const Sight& sight, const Motion& motion);

} // namespace telvane

#endif
