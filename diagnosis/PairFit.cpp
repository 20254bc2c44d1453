// Gauss-Newton on two frames, light eliminated block by block.
#include <diagnosis/PairFit.h>

#include <algorithm>
#include <cmath>
#include <numbers>

namespace telvane {

namespace {

using std::numbers::pi;
constexpr double gainExpected = 0.3;

struct Turn {
    explicit Turn(const Motion& m)
        : c(static_cast<float>(std::cos(m.angle))), s(static_cast<float>(std::sin(m.angle))),
          tx(static_cast<float>(m.shift.x())), ty(static_cast<float>(m.shift.y())), bend(m.bend.cast<float>())
    {
    }
    float c, s, tx, ty;
    Eigen::Matrix<float, 6, 1> bend;

    struct Moved {
        float turnedX, turnedY, x, y;
    };
    Moved operator()(float x, float y) const
    {
        const float u = c * x - s * y, v = s * x + c * y, r2 = x * x + y * y;
        const float near = bend[2] * x + bend[3] * y, far = bend[2] * u + bend[3] * v;
        const float hx = bend[0] * x + bend[1] * y + x * near + bend[4] * r2;
        const float hy = bend[1] * x - bend[0] * y + y * near + bend[5] * r2;
        const float gx = bend[0] * u + bend[1] * v + u * far + bend[4] * r2;
        const float gy = bend[1] * u - bend[0] * v + v * far + bend[5] * r2;
        return {u, v, u + tx + gx - (c * hx - s * hy), v + ty + gy - (s * hx + c * hy)};
    }
};

// A round of Gauss-Newton. Columns of its table: what the residual changes by with each unknown, in grey
// levels per pixel at the reach, then the light, then the residual itself.
template <int bends> class Rounds {
public:
    static constexpr int unknowns = 3 + bends, gainColumn = unknowns, offsetColumn = unknowns + 1,
                         residualColumn = unknowns + 2, columns = unknowns + 3;

    Rounds(const Points& from, const Scaled& to, const Sight& where, const PairModel& how)
        : points(from), second(to), sight(where), model(how), table(from.Count(), columns),
          weights(static_cast<std::size_t>(from.Count()), 1), residuals(weights.size()),
          movesBy(weights.size()), lights(from.ends.size()), pulls(from.ends.size())
    {
    }
    PairFit Run(const Motion& start);

private:
    using Gram = Eigen::Matrix<double, columns, columns>;
    using Normal = Eigen::Matrix<double, unknowns, unknowns>;
    using Unknowns = Eigen::Matrix<double, unknowns, 1>;
    using Lights = Eigen::Matrix<double, 2, columns>;

    void Fill(const Motion& motion);
    Gram GramOf(int begin, int end) const;
    double Weigh(const Unknowns& step, double& kept);

    const Points& points;
    const Scaled& second;
    const Sight& sight;
    const PairModel& model;
    Eigen::Matrix<float, Eigen::Dynamic, columns> table;
    std::vector<float> weights;            ///< below 0: outside of the second frame
    std::vector<float> residuals, movesBy; ///< grey levels: by which points change on their way
    std::vector<Lights> lights;
    std::vector<Unknowns> pulls; ///< of each block: what it adds to the gradient
};

template <int bends> void Rounds<bends>::Fill(const Motion& motion)
{
    const Turn turn(motion);
    const auto pivotX = static_cast<float>(sight.pivot.x()), pivotY = static_cast<float>(sight.pivot.y());
    const auto unit = static_cast<float>(1 / model.reach);
    int begin = 0;
    for (const int end : points.ends) {
        float mean = 0;
        for (int i = begin; i < end; i++) mean += points.grey[static_cast<std::size_t>(i)];
        mean /= static_cast<float>(std::max(end - begin, 1));
        for (int i = begin; i < end; i++) {
            const auto k = static_cast<std::size_t>(i);
            const float x = points.x[k], y = points.y[k];
            const Turn::Moved to = turn(x, y);
            const float px = pivotX + to.x, py = pivotY + to.y;
            if (!second.Holds(px, py) || sight.Masked(px, py)) {
                table.row(i).setZero();
                weights[k] = -1; // for good
                continue;
            }
            const Scaled::Sample sample = second.At(px, py);
            const float gx = 0.5F * (sample.slopeX + turn.c * points.slopeX[k] - turn.s * points.slopeY[k]);
            const float gy = 0.5F * (sample.slopeY + turn.s * points.slopeX[k] + turn.c * points.slopeY[k]);
            const float u = to.turnedX, v = to.turnedY;
            table(i, 0) = (gy * u - gx * v) * unit;
            table(i, 1) = gx;
            table(i, 2) = gy;
            if constexpr (bends > 0) {
                // h(R u) - R h(u) of each coefficient, along the slope.
                const float c = turn.c, s = turn.s, along = (gx * u + gy * v) * unit * unit;
                const float r2 = (x * x + y * y) * unit * unit;
                table(i, 3) = (gx * (u - (c * x + s * y)) + gy * (-v - (s * x - c * y))) * unit;
                table(i, 4) = (gx * (v - (c * y - s * x)) + gy * (u - (s * y + c * x))) * unit;
                table(i, 5) = along * (u - x);
                table(i, 6) = along * (v - y);
                table(i, 7) = r2 * (gx * (1 - c) - gy * s);
                table(i, 8) = r2 * (gx * s + gy * (1 - c));
            }
            movesBy[k] = std::abs(gx * (to.x - x) + gy * (to.y - y));
            table(i, gainColumn) = points.grey[k] - mean;
            table(i, offsetColumn) = 1;
            table(i, residualColumn) = sample.grey - points.grey[k];
        }
        begin = end;
    }
}

template <int bends> auto Rounds<bends>::GramOf(int begin, int end) const -> Gram
{
    Eigen::Matrix<float, columns, columns> gram;
    const auto part = table.middleRows(begin, end - begin);
    const Eigen::Map<const Eigen::VectorXf> w(weights.data() + begin, end - begin);
    gram.noalias() = part.transpose() * (w.cwiseMax(0).asDiagonal() * part);
    return gram.template cast<double>();
}

double Median(std::vector<float>& values)
{
    if (values.empty()) return 0;
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return static_cast<double>(*middle);
}

/// The weights of the next round, from the residuals that are left after a step.
/// \return their scale
template <int bends> double Rounds<bends>::Weigh(const Unknowns& step, double& kept)
{
    Eigen::Matrix<float, columns, 1> along = Eigen::Matrix<float, columns, 1>::Zero();
    along.template head<unknowns>() = step.template cast<float>();
    along(residualColumn) = 1;
    std::vector<float> still(residuals.size());
    int begin = 0;
    for (std::size_t b = 0; b < points.ends.size(); b++) {
        const Eigen::Vector2f light = (lights[b] * along.template cast<double>()).template cast<float>();
        along.template segment<2>(gainColumn) = -light;
        const int n = points.ends[b] - begin;
        Eigen::Map<Eigen::VectorXf>(residuals.data() + begin, n).noalias() =
            table.middleRows(begin, n) * along;
        along.template segment<2>(gainColumn).setZero();
        // In the same place, under the same light.
        for (int i = begin; i < points.ends[b]; i++) {
            const auto k = static_cast<std::size_t>(i);
            still[k] = second.grey.p_f_data[points.at[k]] - points.grey[k] - light(0) * table(i, gainColumn) -
                       light(1);
        }
        begin = points.ends[b];
    }
    std::vector<float> sizes;
    for (std::size_t i = 0; i < residuals.size(); i += 3)
        if (weights[i] >= 0) sizes.push_back(std::abs(residuals[i]));
    const double scale = std::max(1.4826 * Median(sizes), model.leastScale);
    const auto bound = static_cast<float>(1 / (4.685 * scale));
    const auto same = static_cast<float>(2.5 * scale), far = static_cast<float>(5 * scale);
    double sum = 0, all = 0;
    for (std::size_t i = 0; i < residuals.size(); i++) {
        if (weights[i] < 0) continue;
        const float r = residuals[i] * bound, rest = 1 - r * r;
        const float moves = movesBy[i];
        weights[i] = rest > 0 && !(std::abs(still[i]) < same && moves > far) ? rest * rest : 0;
        sum += static_cast<double>(weights[i]);
        all += 1;
    }
    kept = all > 0 ? sum / all : 0;
    return scale;
}

template <int bends> PairFit Rounds<bends>::Run(const Motion& start)
{
    PairFit fit;
    fit.motion = start;
    if (points.Count() < 20 * unknowns) return fit;
    Bend reaches;
    reaches << model.reach, model.reach, Eigen::Vector4d::Constant(model.reach * model.reach);
    Normal expected = Normal::Zero(), usual = Normal::Zero(); // inverse covariances
    if constexpr (bends > 0) {
        const auto inverse = [&](const Eigen::Matrix<double, 6, 6>& covariance) {
            const Eigen::Matrix<double, 6, 6> inPixels =
                reaches.asDiagonal() * covariance * reaches.asDiagonal();
            return Eigen::Matrix<double, 6, 6>(inPixels.inverse());
        };
        expected.template bottomRightCorner<bends, bends>() = inverse(model.bendAny);
        usual.template bottomRightCorner<bends, bends>() = inverse(model.bendUsual);
    }

    for (int count = 0; count <= model.rounds; count++) {
        Fill(fit.motion);

        // Normal equations of what the light leaves.
        Normal normal = Normal::Zero();
        Unknowns pull = Unknowns::Zero();
        const double noise = std::max(fit.scale, model.leastScale);
        int begin = 0;
        for (std::size_t b = 0; b < points.ends.size(); b++) {
            const Gram gram = GramOf(begin, points.ends[b]);
            Eigen::Matrix2d light = gram.template block<2, 2>(gainColumn, gainColumn);
            light(0, 0) += noise * noise / (gainExpected * gainExpected) + 1e-6;
            light(1, 1) += 1e-6;
            lights[b] = light.inverse() * gram.template middleRows<2>(gainColumn);
            const Gram rest = gram - gram.template middleCols<2>(gainColumn) * lights[b];
            normal += rest.template topLeftCorner<unknowns, unknowns>();
            pulls[b] = rest.col(residualColumn).template head<unknowns>();
            pull += pulls[b];
            begin = points.ends[b];
        }
        // The first round only finds out what to look at.
        if (count == 0) {
            fit.scale = Weigh(Unknowns::Zero(), fit.kept);
            continue;
        }
        Unknowns bend = Unknowns::Zero();
        if constexpr (bends > 0) bend.template tail<bends>() = reaches.cwiseProduct(fit.motion.bend);
        const Normal data = normal;
        const Unknowns dataPull = pull;
        normal += noise * noise * expected;
        pull += noise * noise * expected * bend;
        const Eigen::LDLT<Normal> solver(normal);
        if (solver.info() != Eigen::Success || !(solver.vectorD().minCoeff() > 0)) return fit;
        Unknowns step = -solver.solve(pull);
        if (!step.allFinite()) return fit;
        // No further than slopes can be trusted.
        const double longest = step.cwiseAbs().maxCoeff(), most = 4.0 * second.step;
        if (longest > most) step *= most / longest;
        fit.scale = Weigh(step, fit.kept);
        fit.motion.angle += step(0) / model.reach;
        fit.motion.shift += step.template segment<2>(1);
        if constexpr (bends > 0) fit.motion.bend += step.template tail<bends>().cwiseQuotient(reaches);

        if (count < model.rounds && (count < 2 || longest > model.enough)) continue;
        // What is expected of the bend counts as one more observation of it.
        Normal scatter = Normal::Zero();
        for (const Unknowns& p : pulls) scatter += p * p.transpose();
        const auto shiftOf = [&](const Normal& prior, const Unknowns& from, const Unknowns& by) {
            const Normal inverse = (data + noise * noise * prior).inverse();
            const Normal covariance = inverse * (scatter + std::pow(noise, 4) * prior) * inverse;
            const Normal least = model.leastScale * model.leastScale * inverse;
            fit.angleSigma = std::sqrt(covariance(0, 0)) / model.reach;
            if constexpr (bends > 0)
                for (const int i : {0, 1})
                    fit.need(i) = (from(unknowns - 2 + i) + by(unknowns - 2 + i)) /
                                  std::sqrt(covariance(unknowns - 2 + i, unknowns - 2 + i));
            return typename PairFit::Shift{from.template segment<2>(1) + by.template segment<2>(1),
                                           covariance.template block<2, 2>(1, 1),
                                           least.template block<2, 2>(1, 1)};
        };
        Unknowns before = bend;
        before(0) = 0;
        before.template segment<2>(1) = fit.motion.shift - step.template segment<2>(1);
        const Eigen::LDLT<Normal> usually(data + noise * noise * usual);
        fit.usual = shiftOf(usual, before, -usually.solve(dataPull + noise * noise * usual * bend));
        fit.any = shiftOf(expected, before, step);
        fit.solved = true;
        break;
    }
    return fit;
}

} // namespace

Eigen::Matrix2d Motion::UndoTurn() const
{
    // (1 + cot(angle / 2) J) / 2
    const double half = 0.5 / std::tan(angle / 2);
    Eigen::Matrix2d inverse;
    inverse << 0.5, -half, half, 0.5;
    return inverse;
}

bool Sight::Masked(float x, float y) const
{
    return std::any_of(masks.begin(), masks.end(), [&](const Region& mask) {
        return x > static_cast<float>(mask.left - margin) &&
               x < static_cast<float>(mask.left + mask.width + margin - 1) &&
               y > static_cast<float>(mask.top - margin) &&
               y < static_cast<float>(mask.top + mask.height + margin - 1);
    });
}

void Points::Thin(int most)
{
    if (Count() <= most) return;
    std::vector<float> steep;
    for (std::size_t i = 0; i < x.size(); i++) steep.push_back(slopeX[i] * slopeX[i] + slopeY[i] * slopeY[i]);
    float bound = 0;
    if (Count() > 2 * most) {
        std::vector<float> sorted = steep;
        const auto last = sorted.end() - std::ptrdiff_t{2} * most;
        std::nth_element(sorted.begin(), last, sorted.end());
        bound = *last;
    }
    std::size_t kept = 0, seen = 0, from = 0;
    std::vector<int> newEnds;
    for (const int end : ends) {
        const std::size_t before = kept;
        for (; from < static_cast<std::size_t>(end); from++) {
            if (steep[from] < bound || seen++ % 2 != 0 || kept == static_cast<std::size_t>(most)) continue;
            for (auto* values : {&x, &y, &grey, &slopeX, &slopeY}) (*values)[kept] = (*values)[from];
            at[kept++] = at[from];
        }
        if (kept > before) newEnds.push_back(static_cast<int>(kept));
    }
    for (auto* values : {&x, &y, &grey, &slopeX, &slopeY}) values->resize(kept);
    at.resize(kept);
    ends = newEnds;
}

PairFit FitPair(const Points& points, const Scaled& second, const Sight& sight, const Motion& start,
                const PairModel& model)
{
    return model.bent ? Rounds<6>(points, second, sight, model).Run(start)
                      : Rounds<0>(points, second, sight, model).Run(start);
}

Differences Compare(const Points& points, const Scaled& second, const Sight& sight, const Motion& motion)
{
    Differences differences;
    for (auto& rings : differences.gain)
        rings.assign(static_cast<std::size_t>(sight.radius / Differences::ringWidth) + 2, 0.0);
    const Turn turn(motion);
    const auto pivotX = static_cast<float>(sight.pivot.x()), pivotY = static_cast<float>(sight.pivot.y());
    // Of each block: what both frames hold, the second in its place and moved.
    struct Point {
        double first, still, moved;
        float x, y;
    };
    std::vector<Point> seen;
    int begin = 0;
    for (const int end : points.ends) {
        seen.clear();
        for (int i = begin; i < end; i++) {
            const auto k = static_cast<std::size_t>(i);
            const float x = points.x[k], y = points.y[k];
            const Turn::Moved to = turn(x, y);
            const float px = pivotX + to.x, py = pivotY + to.y;
            if (!second.Holds(px, py) || sight.Masked(px, py)) continue;
            seen.push_back({static_cast<double>(points.grey[k]),
                            static_cast<double>(second.At(pivotX + x, pivotY + y).grey),
                            static_cast<double>(second.At(px, py).grey), x, y});
        }
        begin = end;
        if (seen.size() < 8) continue;
        const auto n = static_cast<double>(seen.size());
        double first = 0, still = 0, moved = 0, ff = 1e-6, fs = 0, fm = 0;
        for (const Point& p : seen) first += p.first / n, still += p.still / n, moved += p.moved / n;
        for (const Point& p : seen) {
            ff += (p.first - first) * (p.first - first);
            fs += (p.first - first) * (p.still - still);
            fm += (p.first - first) * (p.moved - moved);
        }
        // A gain beyond a half is no light.
        const double gainStill = std::clamp(fs / ff, 0.5, 1.5), gainMoved = std::clamp(fm / ff, 0.5, 1.5);
        for (const Point& p : seen) {
            const double s = p.still - still - gainStill * (p.first - first);
            const double m = p.moved - moved - gainMoved * (p.first - first);
            differences.still += s * s;
            differences.moved += m * m;
            const double turns =
                std::atan2(static_cast<double>(p.y), static_cast<double>(p.x)) / (2 * pi) + 0.5;
            auto& rings = differences.gain[static_cast<std::size_t>(turns * Differences::sectors) %
                                           static_cast<std::size_t>(Differences::sectors)];
            const auto ring =
                static_cast<std::size_t>(std::sqrt(p.x * p.x + p.y * p.y) / Differences::ringWidth);
            if (ring < rings.size()) rings[ring] += s * s - m * m;
        }
    }
    return differences;
}

} // namespace telvane
