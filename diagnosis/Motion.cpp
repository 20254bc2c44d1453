// The centre by random samples, then by weighted least squares with robust weights.
#include <diagnosis/Motion.h>

#include <Kavrix/KXint.h>
#include <Kavrix/OptFlow.h>
#include <diagnosis/Changes.h>
#include <diagnosis/Dice.h>
#include <diagnosis/Quantile.h>

#include <Eigen/Dense>

#include <array>
#include <cmath>
#include <numbers>

namespace telvane {

namespace {

const int sectors = 12;

/// Which part of the circle a direction lies in.
int SectorOf(double dx, double dy)
{
    const double turns = std::atan2(dy, dx) / (2 * std::numbers::pi) + 0.5;
    return std::clamp(static_cast<int>(turns * sectors), 0, sectors - 1);
}

/// How a cell's motion lies to the radius from a centre.
struct Turning {
    double along = 0;  ///< cosine of the angle to the tangent; positive: clockwise
    double radial = 0; ///< sine of it
    double radius = 0;
};

Turning TurningOf(const MotionCell& cell, const Place& centre)
{
    const double dx = cell.at.x - centre.x, dy = cell.at.y - centre.y, r = std::hypot(dx, dy);
    if (!(r > 0)) return {};
    const double length = r * cell.strength;
    return {(dx * cell.y - dy * cell.x) / length, (dx * cell.x + dy * cell.y) / length, r};
}

/// Tukey's weight of a residual: 0 from `scale` on. A. E. Beaton and J. W. Tukey, "The Fitting of Power
/// Series", Technometrics 16 (1974), pp. 147-185.
double Biweight(double residual, double scale)
{
    const double part = residual / scale, rest = 1 - part * part;
    return rest > 0 ? rest * rest : 0;
}

/// How well motion goes round a centre in one sense, on how many sides of it.
double Score(const std::vector<MotionCell>& cells, std::size_t step, const Place& centre, double sign)
{
    std::array<double, sectors> sums{};
    for (std::size_t i = 0; i < cells.size(); i += step) {
        const MotionCell& cell = cells[i];
        const Turning turning = TurningOf(cell, centre);
        const double weight = std::sqrt(cell.strength) * Biweight(turning.radial, 0.4);
        sums[static_cast<std::size_t>(SectorOf(cell.at.x - centre.x, cell.at.y - centre.y))] +=
            turning.along * sign > 0 ? weight : -weight;
    }
    double score = 0;
    for (const double sum : sums) score += std::sqrt(std::max(0.0, sum));
    return score;
}

/// Where the lines across the motions of two cells cross. \return whether they do, not too obliquely
bool Crossing(const MotionCell& a, const MotionCell& b, Place& crossing)
{
    Eigen::Matrix2d lines;
    lines << a.x / a.strength, a.y / a.strength, b.x / b.strength, b.y / b.strength;
    if (std::abs(lines.determinant()) < 0.1) return false;
    const Eigen::Vector2d offsets(lines.row(0).dot(Eigen::Vector2d(a.at.x, a.at.y)),
                                  lines.row(1).dot(Eigen::Vector2d(b.at.x, b.at.y)));
    const Eigen::Vector2d place = lines.inverse() * offsets;
    crossing = {place.x(), place.y()};
    return true;
}

/// Where nearly all of the places lie, with some room around.
Region BoxOf(const std::vector<double>& columns, const std::vector<double>& rows)
{
    const double few = 0.04, room = 12;
    const double left = std::floor(Quantile(columns, few) - room),
                 top = std::floor(Quantile(rows, few) - room);
    return {static_cast<int>(left), static_cast<int>(top),
            static_cast<int>(Quantile(columns, 1 - few) + room - left) + 1,
            static_cast<int>(Quantile(rows, 1 - few) + room - top) + 1};
}

} // namespace

void FlowOf(const CubByte& frames, const std::vector<int>& times, MatShort& u, MatShort& v)
{
    const int sweeps = 2; // as in the program
    MatInt uSum(frames.dim1 + 1, frames.dim2 + 1), vSum(frames.dim1 + 1, frames.dim2 + 1);
    uSum.Fill(0);
    vSum.Fill(0);
    const auto joined = [&times](int i) {
        const std::size_t at = static_cast<std::size_t>(i);
        return at + 1 < times.size() && times[at + 1] - times[at] == 1;
    };
    for (int start = 0; start + 1 < frames.dim3; start++) {
        int stop = start;
        while (stop + 1 < frames.dim3 && joined(stop)) stop++;
        if (stop == start) continue;
        CubByte run = frames(RNG::All(), RNG::All(), RNG(start, stop));
        OpticalFlow12Alt(run, uSum, vSum, sweeps);
        start = stop;
    }
    MatShort strength;
    OF_Norm(uSum, vSum, u, v, strength);
}

std::vector<MotionCell> MotionCells(const MatShort& u, const MatShort& v, const std::vector<Region>& masks)
{
    const int side = 8;
    std::vector<MotionCell> all;
    std::vector<double> strengths;
    for (int top = 0; top + side <= u.dim2; top += side)
        for (int left = 0; left + side <= u.dim1; left += side) {
            int sumX = 0, sumY = 0;
            double weights = 0, atX = 0, atY = 0;
            for (int y = top; y < top + side; y++)
                for (int x = left; x < left + side; x++) {
                    const int a = u(x, y), b = v(x, y), weight = std::abs(a) + std::abs(b);
                    sumX -= a;
                    sumY -= b;
                    weights += weight;
                    atX += double(weight) * x;
                    atY += double(weight) * y;
                }
            MotionCell cell;
            cell.x = sumX;
            cell.y = sumY;
            cell.strength = std::hypot(cell.x, cell.y);
            // Vector (i, j) lies half a pixel before pixel (i, j).
            if (weights > 0) cell.at = {atX / weights - 0.5, atY / weights - 0.5};
            const double near = 3; // as far as the flow reaches from a mask's edge
            if (cell.strength > 0 && Masked(masks, cell.at.x, cell.at.y, near)) continue;
            strengths.push_back(cell.strength);
            if (cell.strength > 0) all.push_back(cell);
        }
    // Most of a picture stands still: there the flow is noise.
    const double noise = Quantile(strengths, 0.5), strongest = Quantile(strengths, 0.995);
    const double least = std::max(4 * noise, 0.1 * strongest);
    std::vector<MotionCell> strong;
    for (const MotionCell& cell : all)
        if (cell.strength > least) strong.push_back(cell);
    return strong;
}

MotionSummary Summarise(const std::vector<MotionCell>& cells)
{
    MotionSummary summary;
    if (cells.size() < 12) return summary;
    const std::size_t step = 1 + cells.size() / 600;
    const int samples = 500;
    double best = 0, sign = 1;
    Dice dice;
    double left = cells[0].at.x, right = left, top = cells[0].at.y, bottom = top;
    for (const MotionCell& cell : cells) {
        left = std::min(left, cell.at.x);
        right = std::max(right, cell.at.x);
        top = std::min(top, cell.at.y);
        bottom = std::max(bottom, cell.at.y);
    }
    // A wheel of which half is seen has its centre within the motion, or little outside of it.
    const double beyond = 0.25 * std::max(right - left, bottom - top);
    for (int i = 0; i < samples; i++) {
        const MotionCell& a = cells[dice.Below(cells.size())];
        const MotionCell& b = cells[dice.Below(cells.size())];
        Place place;
        if (!Crossing(a, b, place)) continue;
        if (place.x < left - beyond || place.x > right + beyond || place.y < top - beyond ||
            place.y > bottom + beyond)
            continue;
        const double way = TurningOf(a, place).along;
        if (way * TurningOf(b, place).along <= 0) continue; // they go round it in different senses
        const double score = Score(cells, step, place, way);
        if (score <= best) continue;
        best = score;
        summary.centre = place;
        sign = way > 0 ? 1 : -1;
    }
    if (best <= 0) return summary;

    for (int i = 0; i < 20; i++) {
        const double scale = i < 5 ? 0.4 : 0.25;
        Eigen::Matrix2d square = Eigen::Matrix2d::Zero();
        Eigen::Vector2d side = Eigen::Vector2d::Zero();
        for (const MotionCell& cell : cells) {
            const Turning turning = TurningOf(cell, summary.centre);
            if (turning.along * sign <= 0) continue;
            const Eigen::Vector2d across(cell.x / cell.strength, cell.y / cell.strength);
            const double weight = cell.strength * Biweight(turning.radial, scale) /
                                  std::max(turning.radius * turning.radius, 100.0);
            square += weight * across * across.transpose();
            side += weight * across * across.dot(Eigen::Vector2d(cell.at.x, cell.at.y));
        }
        if (!(square.determinant() > 1e-4 * square.trace() * square.trace())) return summary;
        const Eigen::Vector2d place = square.ldlt().solve(side);
        summary.centre = {place.x(), place.y()};
    }
    const MotionSummary whole = SummariseAbout(cells, summary.centre, {0, 1e9});
    if (whole.sense != (sign > 0 ? Sense::clockwise : Sense::counterClockwise)) return summary;
    return whole;
}

MotionSummary SummariseAbout(const std::vector<MotionCell>& cells, const Place& centre, const Ring& ring)
{
    MotionSummary summary;
    summary.centre = centre;
    double all = 0, clockwise = 0, counterClockwise = 0;
    for (const MotionCell& cell : cells) {
        const Turning turning = TurningOf(cell, centre);
        if (turning.radius < ring.inner || turning.radius > ring.outer) continue;
        all += cell.strength;
        if (std::abs(turning.radial) > 0.5) continue; // more than 30 degrees off the tangent
        (turning.along > 0 ? clockwise : counterClockwise) += cell.strength;
    }
    summary.sense = clockwise >= counterClockwise ? Sense::clockwise : Sense::counterClockwise;
    summary.agrees = all > 0 ? std::max(clockwise, counterClockwise) / all : 0;
    summary.turns = summary.agrees > 0.5;
    return summary;
}

MotionElsewhere Elsewhere(const std::vector<MotionCell>& cells, const Place& centre, const Ring& ring,
                          Sense sense)
{
    MotionElsewhere elsewhere;
    double all = 0, other = 0;
    std::vector<double> columns, rows;
    const double sign = sense == Sense::clockwise ? 1 : -1, margin = 8; // a cell's width
    for (const MotionCell& cell : cells) {
        const Turning turning = TurningOf(cell, centre);
        all += cell.strength;
        const bool against = turning.along * sign < 0.5;
        if (turning.radius <= ring.outer + margin && !against) continue;
        other += cell.strength;
        elsewhere.where.x += cell.strength * cell.at.x;
        elsewhere.where.y += cell.strength * cell.at.y;
        columns.push_back(cell.at.x);
        rows.push_back(cell.at.y);
    }
    if (!(other > 0)) return elsewhere;
    elsewhere.share = other / all;
    elsewhere.where = {elsewhere.where.x / other, elsewhere.where.y / other};
    elsewhere.box = BoxOf(columns, rows);
    return elsewhere;
}

StraightMotion Straight(const std::vector<MotionCell>& cells)
{
    double all = 0, sumX = 0, sumY = 0;
    Place where;
    std::vector<double> columns, rows;
    for (const MotionCell& cell : cells) {
        all += cell.strength;
        sumX += cell.x;
        sumY += cell.y;
        where.x += cell.strength * cell.at.x;
        where.y += cell.strength * cell.at.y;
        columns.push_back(cell.at.x);
        rows.push_back(cell.at.y);
    }
    if (!(all > 0)) return {};
    return {std::hypot(sumX, sumY) / all, {where.x / all, where.y / all}, BoxOf(columns, rows), {sumX, sumY}};
}

std::vector<MotionCell> Otherwise(const std::vector<MotionCell>& cells, const StraightMotion& straight)
{
    std::vector<MotionCell> others;
    const double length = std::hypot(straight.way.x, straight.way.y);
    for (const MotionCell& cell : cells)
        if (cell.x * straight.way.x + cell.y * straight.way.y <
            std::numbers::sqrt3 / 2 * length * cell.strength)
            others.push_back(cell);
    return others;
}

} // namespace telvane
