// One pair of frames: the rotation that takes the one into the other, by least squares on grey values.
#ifndef DIAGNOSIS_PAIRFIT_H
#define DIAGNOSIS_PAIRFIT_H

#include <diagnosis/Scaled.h>

#include <Eigen/Dense>

#include <array>
#include <vector>

namespace telvane {

/// By how much a picture of the wheel is bent: a place at u from the pivot is seen at u + h(u),
/// h(u) = S u + u (q . u) + s |u|^2, S symmetric without a trace. S11, S12, q and s. To the second order,
/// this is how a leaning axis (S, q), a lens with the wheel beside its middle (all), and rows that are
/// exposed one after the other (q, s) show.
using Bend = Eigen::Matrix<double, 6, 1>;

/// Takes a place at u from the pivot to R u + shift + (h(R u) - R h(u)), R the rotation by `angle`, radians
/// and pixels of the frame.
struct Motion {
    double angle = 0;
    Eigen::Vector2d shift = Eigen::Vector2d::Zero();
    Bend bend = Bend::Zero();

    /// What stays in its place, from the pivot, where that is not far; the angle must not be 0.
    Eigen::Vector2d Fixed() const { return UndoTurn() * shift; }
    /// (1 - R)^-1
    Eigen::Matrix2d UndoTurn() const;
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
    std::vector<int> at;   ///< index of the pixel
    std::vector<int> ends; ///< of the blocks: the number of the first point behind each
    int Count() const { return static_cast<int>(x.size()); }
    /// Keeps at most so many: every second of those with the steepest slopes.
    void Thin(int most);
};

/// How the frames of a pair are compared.
struct PairModel {
    bool bent = false; ///< the bend is fitted too
    /// Covariances of what is expected of the bend: of most pictures, and of any.
    Eigen::Matrix<double, 6, 6> bendUsual = Eigen::Matrix<double, 6, 6>::Identity(), bendAny = bendUsual;
    double leastScale = 0.1; ///< below which residuals are not told apart from noise, grey levels
    double reach = 1;        ///< radius by which angles become pixels
    int rounds = 8;
    double enough = 0.003; ///< pixels by which nothing moves any more
};

struct PairFit {
    bool solved = false;
    Motion motion; ///< with any bend
    double angleSigma = 0;
    /// A shift, and its covariance by the scatter of the residuals and by the noise alone.
    struct Shift {
        Eigen::Vector2d shift = Eigen::Vector2d::Zero();
        Eigen::Matrix2d covariance = Eigen::Matrix2d::Zero(), noise = Eigen::Matrix2d::Zero();
    };
    Shift any, usual;
    /// Of the bend's last two coefficients, in deviations: by which `any` is needed.
    Eigen::Vector2d need = Eigen::Vector2d::Zero();
    double scale = 0; ///< of the residuals, grey levels
    double kept = 0;  ///< share of the weight that robust weights leave
};

/// Gauss-Newton with Tukey's weights. The light of each block, a gain and an offset, is fitted and
/// eliminated in every round; slopes are the means of both frames'. Deviations come from the scatter of
/// what the blocks add to the gradient, which is right for residuals of any kind within blocks. Points that
/// move far on the model, and yet look the same in the same place, are left out.
PairFit FitPair(const Points& points, const Scaled& second, const Sight& sight, const Motion& start,
                const PairModel& model);

/// Sums of the squares that light alone leaves of the difference of two frames, and that the motion leaves.
struct Differences {
    static constexpr int sectors = 12, ringWidth = 4; ///< pixels

    double still = 0, moved = 0;
    /// Still less moved, by direction from the pivot and by distance.
    std::array<std::vector<double>, sectors> gain;
};
Differences Compare(const Points& points, const Scaled& second, const Sight& sight, const Motion& motion);

} // namespace telvane

#endif
