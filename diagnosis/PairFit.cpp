// Gauss-Newton on two frames, light eliminated block by block.
#include <diagnosis/PairFit.h>

#include <algorithm>
#include <cmath>

namespace telvane {

namespace {

// Columns of the table that a round works on: what the residual changes by with each unknown, all in grey
// levels per pixel at the reach, then the light, then the residual itself.
constexpr int unknowns = 7, gainColumn = 7, offsetColumn = 8, residualColumn = 9, columns = 10;
using Table = Eigen::Matrix<float, Eigen::Dynamic, columns>;
using Gram = Eigen::Matrix<double, columns, columns>;
using Normal = Eigen::Matrix<double, unknowns, unknowns>;
using Unknowns = Eigen::Matrix<double, unknowns, 1>;

// A leaning of the axis is of this size where it is one: a cosine of 0.98, and 3 % between near and far.
constexpr double shapeExpected = 0.01, slantExpected = 0.015;
constexpr double gainExpected = 0.3;

struct Turn {
    explicit Turn(const Motion& m)
        : c(static_cast<float>(std::cos(m.angle))), s(static_cast<float>(std::sin(m.angle))),
          tx(static_cast<float>(m.shift.x())), ty(static_cast<float>(m.shift.y())),
          a(static_cast<float>(m.shape.x())), b(static_cast<float>(m.shape.y())),
          qx(static_cast<float>(m.slant.x())), qy(static_cast<float>(m.slant.y()))
    {
    }
    float c, s, tx, ty, a, b, qx, qy;

    struct Moved {
        float turnedX, turnedY, x, y;
    };
    Moved operator()(float x, float y) const
    {
        const float u = c * x - s * y, v = s * x + c * y;
        const float near = qx * x + qy * y, far = qx * u + qy * v;
        const float hx = a * x + b * y + x * near, hy = b * x - a * y + y * near;
        const float gx = a * u + b * v + u * far, gy = b * u - a * v + v * far;
        return {u, v, u + tx + gx - (c * hx - s * hy), v + ty + gy - (s * hx + c * hy)};
    }
};

struct Round {
    Table table;
    std::vector<float> weights;

    void Fill(const Points& points, const Scaled& second, const Sight& sight, const Motion& motion,
              const PairModel& model);
};

void Round::Fill(const Points& points, const Scaled& second, const Sight& sight, const Motion& motion,
                 const PairModel& model)
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
            table(i, 0) = (gy * to.turnedX - gx * to.turnedY) * unit;
            table(i, 1) = gx;
            table(i, 2) = gy;
            if (model.leaning) {
                const float u = to.turnedX, v = to.turnedY, c = turn.c, s = turn.s;
                table(i, 3) = (gx * (u - (c * x + s * y)) + gy * (-v - (s * x - c * y))) * unit;
                table(i, 4) = (gx * (v - (c * y - s * x)) + gy * (u - (s * y + c * x))) * unit;
                table(i, 5) = (gx * u + gy * v) * (u - x) * unit * unit;
                table(i, 6) = (gx * u + gy * v) * (v - y) * unit * unit;
            }
            table(i, gainColumn) = points.grey[k] - mean;
            table(i, offsetColumn) = 1;
            table(i, residualColumn) = sample.grey - points.grey[k];
        }
        begin = end;
    }
}

Gram GramOf(const Table& table, const std::vector<float>& weights, int begin, int end)
{
    Eigen::Matrix<float, columns, columns> gram;
    const auto part = table.middleRows(begin, end - begin);
    const Eigen::Map<const Eigen::VectorXf> w(weights.data() + begin, end - begin);
    gram.noalias() = part.transpose() * (w.cwiseMax(0).asDiagonal() * part);
    return gram.cast<double>();
}

// What the light takes of the other columns: L^-1 M, L the light's part of the Gram matrix.
Eigen::Matrix<double, 2, columns> Light(const Gram& gram, double noise2)
{
    Eigen::Matrix2d light = gram.block<2, 2>(gainColumn, gainColumn);
    light(0, 0) += noise2 / (gainExpected * gainExpected) + 1e-6;
    light(1, 1) += 1e-6;
    return light.inverse() * gram.middleRows<2>(gainColumn);
}

double Median(std::vector<float>& values)
{
    if (values.empty()) return 0;
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return static_cast<double>(*middle);
}

} // namespace

Eigen::Vector2d Motion::Take(const Eigen::Vector2d& u) const
{
    const Turn::Moved to = Turn(*this)(static_cast<float>(u.x()), static_cast<float>(u.y()));
    return {static_cast<double>(to.x), static_cast<double>(to.y)};
}

Eigen::Vector2d Motion::Fixed() const
{
    // (1 - R)^-1 = (1 + cot(angle / 2) J) / 2; the leaning is small near the pivot.
    const double half = 0.5 / std::tan(angle / 2);
    Eigen::Matrix2d inverse;
    inverse << 0.5, -half, half, 0.5;
    return inverse * shift;
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

PairFit FitPair(const Points& points, const Scaled& second, const Sight& sight, const Motion& start,
                const PairModel& model)
{
    PairFit fit;
    fit.motion = start;
    const int size = model.leaning ? unknowns : 3;
    if (points.Count() < 10 * size) return fit;

    Round round;
    round.table.resize(points.Count(), columns);
    if (!model.leaning) round.table.middleCols<4>(3).setZero();
    round.weights.assign(static_cast<std::size_t>(points.Count()), 1);
    std::vector<Eigen::Matrix<double, 2, columns>> lights(points.ends.size());
    std::vector<Unknowns> pulls(points.ends.size());
    std::vector<float> residuals(static_cast<std::size_t>(points.Count())), sorted;
    fit.scale = 0;
    for (int count = 0; count < model.rounds; count++) {
        round.Fill(points, second, sight, fit.motion, model);

        // Normal equations of what the light leaves, in units of the residuals' scale.
        Normal normal = Normal::Zero();
        Unknowns pull = Unknowns::Zero();
        const double noise2 = std::max(fit.scale, model.leastScale) * std::max(fit.scale, model.leastScale);
        int begin = 0;
        for (std::size_t b = 0; b < points.ends.size(); b++) {
            const Gram gram = GramOf(round.table, round.weights, begin, points.ends[b]);
            lights[b] = Light(gram, noise2);
            const Gram rest = gram - gram.middleCols<2>(gainColumn) * lights[b];
            normal += rest.topLeftCorner<unknowns, unknowns>();
            pulls[b] = rest.col(residualColumn).head<unknowns>();
            pull += pulls[b];
            begin = points.ends[b];
        }
        const Normal data = normal;
        if (model.leaning) {
            const double shape = noise2 / std::pow(shapeExpected * model.reach, 2);
            const double slant = noise2 / std::pow(slantExpected * model.reach, 2);
            normal.diagonal().segment<2>(3).array() += shape;
            normal.diagonal().segment<2>(5).array() += slant;
            pull.segment<2>(3) += shape * model.reach * fit.motion.shape;
            pull.segment<2>(5) += slant * model.reach * model.reach * fit.motion.slant;
        }
        const auto system = normal.topLeftCorner(size, size);
        const Eigen::LDLT<Eigen::MatrixXd> solver(system);
        if (solver.info() != Eigen::Success || !(solver.vectorD().minCoeff() > 0)) return fit;
        Unknowns step = Unknowns::Zero();
        step.head(size) = -solver.solve(pull.head(size));
        if (!step.allFinite()) return fit;
        // No further than linear slopes can be trusted.
        const double longest = step.cwiseAbs().maxCoeff(), most = 4.0 * second.step;
        if (longest > most) step *= most / longest;

        // The residuals that are left, and from them the weights of the next round.
        sorted.clear();
        const Eigen::Matrix<float, columns, 1> along = [&] {
            Eigen::Matrix<float, columns, 1> v = Eigen::Matrix<float, columns, 1>::Zero();
            v.head<unknowns>() = step.cast<float>();
            v(residualColumn) = 1;
            return v;
        }();
        begin = 0;
        for (std::size_t b = 0; b < points.ends.size(); b++) {
            Eigen::Matrix<float, columns, 1> all = along;
            all.segment<2>(gainColumn) = -(lights[b] * along.cast<double>()).cast<float>();
            const int n = points.ends[b] - begin;
            Eigen::Map<Eigen::VectorXf>(residuals.data() + begin, n).noalias() =
                round.table.middleRows(begin, n) * all;
            begin = points.ends[b];
        }
        for (std::size_t i = 0; i < residuals.size(); i += 3)
            if (round.weights[i] >= 0) sorted.push_back(std::abs(residuals[i]));
        fit.scale = std::max(1.4826 * Median(sorted), model.leastScale);
        const auto bound = static_cast<float>(1 / (4.685 * fit.scale));
        double sum = 0, all = 0;
        for (std::size_t i = 0; i < residuals.size(); i++) {
            if (round.weights[i] < 0) continue;
            const float r = residuals[i] * bound, rest = 1 - r * r;
            round.weights[i] = rest > 0 ? rest * rest : 0;
            sum += static_cast<double>(round.weights[i]);
            all += 1;
        }
        fit.kept = all > 0 ? sum / all : 0;

        fit.motion.angle += step(0) / model.reach;
        fit.motion.shift += step.segment<2>(1);
        fit.motion.shape += step.segment<2>(3) / model.reach;
        fit.motion.slant += step.segment<2>(5) / (model.reach * model.reach);

        if (count + 1 == model.rounds || (count >= 2 && longest < model.enough)) {
            Eigen::MatrixXd scatter = Eigen::MatrixXd::Zero(size, size);
            for (const Unknowns& p : pulls) scatter += p.head(size) * p.head(size).transpose();
            const Eigen::MatrixXd inverse = solver.solve(Eigen::MatrixXd::Identity(size, size));
            // What is expected of the leaning counts as one more observation of it.
            scatter += noise2 * (system - data.topLeftCorner(size, size));
            const Eigen::MatrixXd covariance = inverse * scatter * inverse;
            fit.shiftCovariance = covariance.block<2, 2>(1, 1);
            fit.angleSigma = std::sqrt(covariance(0, 0)) / model.reach;
            fit.solved = true;
            break;
        }
    }
    return fit;
}

Differences Compare(const Points& points, const Scaled& second, const Sight& sight, const Motion& motion)
{
    Differences differences;
    differences.gain.assign(static_cast<std::size_t>(sight.radius / 4) + 2, 0.0);
    const Turn turn(motion);
    const auto pivotX = static_cast<float>(sight.pivot.x()), pivotY = static_cast<float>(sight.pivot.y());
    // Of each block: what both frames hold, the second in its place and moved.
    struct Point {
        double first, still, moved, distance;
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
                            static_cast<double>(second.At(px, py).grey), std::hypot(double{x}, double{y})});
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
            const auto ring = static_cast<std::size_t>(p.distance / 4);
            if (ring < differences.gain.size()) differences.gain[ring] += s * s - m * m;
        }
    }
    return differences;
}

} // namespace telvane
