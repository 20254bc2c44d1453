// From pairs of frames to the centre that a wheel turns about.
//
// Frames are first looked at coarsely: what changes in them, by which angle each follows the one before, and
// about which centre. Pairs that lie further and further apart, started from there, sharpen the centre, and
// the widest are fitted once more at full resolution, the leaning of the axis included.
#include <diagnosis/Rotation.h>

#include <diagnosis/Changes.h>
#include <diagnosis/PairFit.h>
#include <diagnosis/Scaled.h>

#include <Kavrix/inner/KXclones.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <functional>
#include <numbers>
#include <optional>

namespace telvane {

namespace {

using std::numbers::pi;
constexpr double widestAngle = 0.5; ///< radians between the frames of a pair
constexpr double quantum = 0.29;    ///< deviation that rounding to whole grey levels has
constexpr int pairsOfGap = 3;

double MedianOf(std::vector<double> values)
{
    if (values.empty()) return 0;
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    if (values.size() % 2 != 0) return *middle;
    return (*middle + *std::max_element(values.begin(), middle)) / 2;
}

Eigen::Vector2d MedianOf(const std::vector<Eigen::Vector2d>& places)
{
    std::vector<double> x, y;
    for (const auto& p : places) {
        x.push_back(p.x());
        y.push_back(p.y());
    }
    return {MedianOf(x), MedianOf(y)};
}

/// By which the deviation of noise shrinks in `Scale`.
double Smoothing(int step) { return step == 1 ? 0.375 : step == 2 ? 0.273 : 0.137; }

/// Two frames, by their number, and what was fitted to them.
struct Pair {
    int first = 0, second = 0;
    PairFit fit;
    Eigen::Vector2d centre = Eigen::Vector2d::Zero();                     ///< in the frame
    Eigen::Vector2d variance = Eigen::Vector2d::Zero(), noise = variance; ///< in all, and of noise alone
    bool agrees = false;
};

class Search {
public:
    Search(const CubByte& sequence, const std::vector<int>& frameTimes, const RotationStart& given,
           const std::vector<Region>& masks)
        : frames(sequence), times(frameTimes), start(given), count(sequence.dim3)
    {
        origin = {start.centre.x, start.centre.y};
        farthest = std::max(0.35 * start.outerR, 50.0);
        sight.pivot = origin;
        sight.masks = masks;
        step = start.outerR >= 140 ? 4 : start.outerR >= 70 ? 2 : 1;
        sight.radius = 1.45 * start.outerR + std::min(40.0, start.outerR / 2);
    }

    RotationFit Run();

private:
    bool Prepare();
    void FindActive();
    bool Active(double x, double y) const;
    Points Edges(const Scaled& first) const;
    Points Everywhere(const Scaled& first) const;
    void MakePolar();
    double PolarAngle(int one, int other) const;
    void Follow();
    void Centre();
    std::vector<Pair> OfGap(int gap) const;
    void Fit(Pair& pair, const Scaled& first, const Scaled& second, const PairModel& model) const;
    void Locate(Pair& pair, bool any) const;
    PairModel Model(int resolution) const;
    Eigen::Vector2d Agree(std::vector<Pair>& pairs) const;
    void FindReach(const Pair& pair);
    Eigen::Matrix<double, 6, 6> ExpectedBend(bool any) const;
    Place Gradients(int frame) const;

    const CubByte& frames;
    const std::vector<int>& times;
    const RotationStart& start;
    int count;
    Eigen::Vector2d origin;
    double farthest; ///< from there, where the centre may be, pixels
    int step;
    Sight sight;
    Region box{0, 0, 0, 0};
    double noise = quantum;
    std::vector<Scaled> coarse;
    std::vector<double> light;         ///< by which each coarse frame is brighter than the first
    std::vector<unsigned char> active; ///< of each pixel of a coarse frame: it changes during the run

    static constexpr int directions = 1024, rings = 24;
    std::vector<std::vector<float>> polar; ///< of each frame, rings of directions about the start
    std::vector<unsigned char> polarActive;

    std::vector<Pair> steps;             ///< from each frame to the next
    std::vector<double> angles;          ///< of each frame against the first
    std::vector<Eigen::Vector2d> pushed; ///< by which each frame is shifted against the first
    std::vector<bool> disturbed;         ///< the step does not turn about the centre: something jumped
    double perTime = 0;                  ///< angle per unit of time
    double beside = 0; ///< distance of the middle of the wheel's outline from the pivot, pixels
};

bool Search::Prepare()
{
    const int reach = static_cast<int>(std::ceil(sight.radius)) + 4 * step;
    const int left = std::max(0, static_cast<int>(std::floor(start.centre.x)) - reach);
    const int top = std::max(0, static_cast<int>(std::floor(start.centre.y)) - reach);
    const int right = std::min(frames.dim1, static_cast<int>(std::ceil(start.centre.x)) + reach);
    const int bottom = std::min(frames.dim2, static_cast<int>(std::ceil(start.centre.y)) + reach);
    box = {left, top, right - left, bottom - top};
    if (box.width < 16 * step || box.height < 16 * step) return false;

    std::vector<double> noises;
    for (const int k : {0, (count - 1) / 2, count - 2})
        if (const double n = NoiseBetween(frames, k, k + 1, box); n > 0) noises.push_back(n);
    noise = std::max(quantum, MedianOf(noises));
    for (int k = 0; k < count; k++) coarse.push_back(Scale(frames, k, box, step));
    FindActive();
    return true;
}

void Search::FindActive()
{
    const int w = coarse[0].grey.dim1, h = coarse[0].grey.dim2;
    const auto size = static_cast<std::size_t>(w) * static_cast<std::size_t>(h);
    std::vector<float> sum(size), squares(size);
    double first = 0;
    for (int k = 0; k < count; k++) {
        const float* grey = coarse[static_cast<std::size_t>(k)].grey.p_f_data;
        double mean = 0;
        for (std::size_t i = 0; i < size; i++) mean += static_cast<double>(grey[i]);
        if (k == 0) first = mean;
        light.push_back(first > 0 && mean > 0 ? mean / first : 1);
        const auto scale = static_cast<float>(1 / light.back());
        const float* base = coarse[0].grey.p_f_data;
        for (std::size_t i = 0; i < size; i++) {
            const float d = grey[i] * scale - base[i];
            sum[i] += d;
            squares[i] += d * d;
        }
    }
    const auto n = static_cast<float>(count);
    for (std::size_t i = 0; i < size; i++) squares[i] = (squares[i] - sum[i] * sum[i] / n) / (n - 1);

    const double deviation = noise * Smoothing(step);
    const double bound = std::max(0.25, deviation * deviation * (1 + 6 / std::sqrt(count - 1.0)));
    active.assign(size, 0);
    for (int y = 1; y < h - 1; y++) {
        for (int x = 1; x < w - 1; x++) {
            const auto at =
                static_cast<std::size_t>(y) * static_cast<std::size_t>(w) + static_cast<std::size_t>(x);
            float around = 0;
            for (const std::size_t row :
                 {at - static_cast<std::size_t>(w), at, at + static_cast<std::size_t>(w)})
                around += squares[row - 1] + squares[row] + squares[row + 1];
            active[at] = static_cast<double>(around) > 9 * bound;
        }
    }
}

bool Search::Active(double x, double y) const
{
    const int column = static_cast<int>(std::lround((x - box.left) / step));
    const int row = static_cast<int>(std::lround((y - box.top) / step));
    const MatFloat& grey = coarse[0].grey;
    if (column < 0 || row < 0 || column >= grey.dim1 || row >= grey.dim2) return false;
    return active[static_cast<std::size_t>(row) * static_cast<std::size_t>(grey.dim1) +
                  static_cast<std::size_t>(column)] != 0;
}

/// Where the frame has edges among what changes.
Points Search::Edges(const Scaled& first) const
{
    const int scale = first.step, rows = first.grey.step2, coarseWidth = coarse[0].grey.dim1;
    const double deviation = noise * Smoothing(scale), r = sight.radius;
    const auto least =
        static_cast<float>(std::max(4 * deviation * deviation, 0.5)); // of twice the slope, squared
    const int block = std::max(static_cast<int>(start.outerR / 8 / scale), 8);
    const auto within = [&](double v, int from, int size) {
        return std::clamp(static_cast<int>(std::ceil((v - from) / scale)), 1, size - 2);
    };
    const int left = within(sight.pivot.x() - r, first.left, first.grey.dim1);
    const int top = within(sight.pivot.y() - r, first.top, first.grey.dim2);
    const int right = within(sight.pivot.x() + r, first.left, first.grey.dim1);
    const int bottom = within(sight.pivot.y() + r, first.top, first.grey.dim2);

    Points points;
    const auto add = [&](int x, int y) {
        const int at = y * rows + x;
        const float* p = first.grey.p_f_data + at;
        const float sx = p[1] - p[-1], sy = p[rows] - p[-rows];
        if (sx * sx + sy * sy < 4 * least) return;
        const int nearest = (y * scale + step / 2) / step * coarseWidth + (x * scale + step / 2) / step;
        if (active[static_cast<std::size_t>(nearest)] == 0) return;
        const auto px = static_cast<float>(first.left + scale * x),
                   py = static_cast<float>(first.top + scale * y);
        const double dx = static_cast<double>(px) - sight.pivot.x(),
                     dy = static_cast<double>(py) - sight.pivot.y();
        if (dx * dx + dy * dy > r * r || sight.Masked(px, py)) return;
        points.x.push_back(static_cast<float>(dx));
        points.y.push_back(static_cast<float>(dy));
        points.grey.push_back(*p);
        points.slopeX.push_back(sx / static_cast<float>(2 * scale));
        points.slopeY.push_back(sy / static_cast<float>(2 * scale));
        points.at.push_back(at);
    };
    for (int y0 = top; y0 < bottom; y0 += block) {
        for (int x0 = left; x0 < right; x0 += block) {
            const int before = points.Count();
            for (int y = y0; y < std::min(y0 + block, bottom); y++)
                for (int x = x0; x < std::min(x0 + block, right); x++) add(x, y);
            if (points.Count() > before) points.ends.push_back(points.Count());
        }
    }
    points.Thin(scale == 1 ? 45000 : 9000);
    return points;
}

/// The whole disc, but for the border that interpolation needs.
Points Search::Everywhere(const Scaled& first) const
{
    Points points;
    const double r = sight.radius;
    const int cell = std::max(8, static_cast<int>(r / (4 * first.step)));
    const int w = first.grey.dim1, h = first.grey.dim2;
    for (int y0 = 2; y0 < h - 3; y0 += cell) {
        for (int x0 = 2; x0 < w - 3; x0 += cell) {
            for (int y = y0; y < std::min(y0 + cell, h - 3); y++) {
                for (int x = x0; x < std::min(x0 + cell, w - 3); x++) {
                    const int px = first.left + first.step * x, py = first.top + first.step * y;
                    const double dx = px - sight.pivot.x(), dy = py - sight.pivot.y();
                    if (dx * dx + dy * dy > r * r) continue;
                    if (sight.Masked(static_cast<float>(px), static_cast<float>(py))) continue;
                    points.x.push_back(static_cast<float>(dx));
                    points.y.push_back(static_cast<float>(dy));
                    points.grey.push_back(first.grey(x, y));
                }
            }
            if (points.Count() > (points.ends.empty() ? 0 : points.ends.back()))
                points.ends.push_back(points.Count());
        }
    }
    return points;
}

void Search::MakePolar()
{
    const double inner = 0.3 * start.outerR, outer = 1.4 * start.outerR;
    polarActive.assign(std::size_t{rings} * directions, 0);
    polar.assign(coarse.size(), std::vector<float>(polarActive.size()));
    for (int d = 0; d < directions; d++) {
        const double c = std::cos(2 * pi * d / directions), s = std::sin(2 * pi * d / directions);
        for (int ring = 0; ring < rings; ring++) {
            const double r = inner + (outer - inner) * ring / (rings - 1);
            const double x = sight.pivot.x() + r * c, y = sight.pivot.y() + r * s;
            const auto px = static_cast<float>(x), py = static_cast<float>(y);
            const std::size_t at = static_cast<std::size_t>(ring) * directions + static_cast<std::size_t>(d);
            if (!coarse[0].Holds(px, py) || sight.Masked(px, py)) continue;
            polarActive[at] = Active(x, y);
            const MatFloat& grey = coarse[0].grey;
            const double u = (x - box.left) / step, v = (y - box.top) / step;
            const int column = static_cast<int>(u), row = static_cast<int>(v);
            const auto fx = static_cast<float>(u - column), fy = static_cast<float>(v - row);
            for (std::size_t k = 0; k < coarse.size(); k++) {
                const float* p = coarse[k].grey.p_f_data + std::ptrdiff_t{row} * grey.step2 + column;
                const float up = p[0] + fx * (p[1] - p[0]);
                const float down = p[grey.step2] + fx * (p[grey.step2 + 1] - p[grey.step2]);
                polar[k][at] = (up + fy * (down - up)) / static_cast<float>(light[k]);
            }
        }
    }
}

KAVRIX_CLONES float SumOfDifferences(int n, const float* a, const float* weights, const float* b)
{
    float sums[8] = {};
    for (int i = 0; i + 8 <= n; i += 8)
        for (int j = 0; j < 8; j++) {
            const float d = a[i + j] - b[i + j];
            sums[j] += weights[i + j] * (d < 0 ? -d : d);
        }
    return sums[0] + sums[1] + sums[2] + sums[3] + sums[4] + sums[5] + sums[6] + sums[7];
}

/// The smallest angle by which one frame has to be turned about the start so that it looks much like the
/// other, of those up to 18 degrees.
double Search::PolarAngle(int one, int other) const
{
    const int range = directions / 20;
    std::vector<double> cost(static_cast<std::size_t>(2 * range + 1));
    std::vector<float> weights(directions), twice(std::size_t{2} * directions);
    for (int ring = 0; ring < rings; ring++) {
        const std::size_t row = static_cast<std::size_t>(ring) * directions;
        for (std::size_t d = 0; d < directions; d++) weights[d] = polarActive[row + d];
        const float* a = polar[static_cast<std::size_t>(one)].data() + row;
        const float* b = polar[static_cast<std::size_t>(other)].data() + row;
        std::copy(b, b + directions, twice.begin());
        std::copy(b, b + directions, twice.begin() + directions);
        for (int s = -range; s <= range; s++)
            cost[static_cast<std::size_t>(std::ptrdiff_t{s} + range)] += static_cast<double>(
                SumOfDifferences(directions, a, weights.data(), twice.data() + (s < 0 ? s + directions : s)));
    }
    const double best = *std::min_element(cost.begin(), cost.end()), usual = MedianOf(cost);
    for (int s = 0; s <= range; s++) {
        for (const int shift : {s, -s}) {
            const auto at = static_cast<std::size_t>(std::ptrdiff_t{shift} + range);
            if (cost[at] > usual - 0.7 * (usual - best)) continue;
            if ((at > 0 && cost[at - 1] < cost[at]) || (at + 1 < cost.size() && cost[at + 1] < cost[at]))
                continue;
            return 2 * pi * shift / directions;
        }
    }
    return 0;
}

PairModel Search::Model(int resolution) const
{
    PairModel model;
    model.leastScale = noise * Smoothing(resolution) * std::numbers::sqrt2;
    model.reach = std::min(start.outerR, sight.radius);
    if (resolution == 1 && step > 1) {
        model.rounds = 6;
        model.enough = 0.002;
    } else {
        model.rounds = 9;
        model.enough = 0.02;
    }
    return model;
}

void Search::Fit(Pair& pair, const Scaled& first, const Scaled& second, const PairModel& model) const
{
    pair.fit = FitPair(Edges(first), second, sight, pair.fit.motion, model);
    Locate(pair, model.bent);
}

/// Where the pair says that the centre is.
void Search::Locate(Pair& pair, bool any) const
{
    if (!pair.fit.solved || pair.fit.motion.angle == 0) return;
    const Eigen::Matrix2d inverse = pair.fit.motion.UndoTurn();
    const PairFit::Shift& found = any ? pair.fit.any : pair.fit.usual;
    pair.centre = sight.pivot + inverse * found.shift;
    pair.variance = (inverse * found.covariance * inverse.transpose()).diagonal();
    pair.noise = (inverse * found.noise * inverse.transpose()).diagonal();
    if (pushed.empty() || pushed[static_cast<std::size_t>(pair.first)].isZero()) return;
    pair.centre -= pushed[static_cast<std::size_t>(pair.first)];
    pair.variance.array() += 0.06 * 0.06;
}

/// By which angle each frame follows the one before.
void Search::Follow()
{
    MakePolar();
    const PairModel model = Model(step);
    int base = 0;
    for (int k = 0; k + 1 < count; k++) {
        const int time = times[static_cast<std::size_t>(k) + 1] - times[static_cast<std::size_t>(k)];
        if (base == 0 || time < base) base = time;
    }
    steps.assign(static_cast<std::size_t>(count - 1), {});
    for (const bool later : {false, true}) {
        std::vector<double> rates;
        for (int k = 0; k + 1 < count; k++) {
            Pair& pair = steps[static_cast<std::size_t>(k)];
            pair.first = k;
            pair.second = k + 1;
            const int time = times[static_cast<std::size_t>(k) + 1] - times[static_cast<std::size_t>(k)];
            if ((time != base) != later) continue;
            pair.fit.motion.angle = later ? perTime * time : PolarAngle(k, k + 1);
            Fit(pair, coarse[static_cast<std::size_t>(k)], coarse[static_cast<std::size_t>(k) + 1], model);
            if (std::abs(pair.fit.motion.angle) > 4 * pair.fit.angleSigma)
                rates.push_back(pair.fit.motion.angle / time);
        }
        if (!later) perTime = MedianOf(rates); // of frames that are not repeated
    }
}

/// The centre about which most steps turn, as the new pivot; and which of them do not.
void Search::Centre()
{
    std::vector<Eigen::Vector2d> centres;
    for (const Pair& pair : steps)
        if (pair.fit.solved && std::abs(pair.fit.motion.angle) > 2 * pair.fit.angleSigma &&
            std::abs(pair.fit.motion.angle) > 0.25 * std::abs(perTime))
            centres.push_back(pair.centre - sight.pivot);
    disturbed.assign(steps.size(), false);
    angles.assign(static_cast<std::size_t>(count), 0);
    pushed.assign(static_cast<std::size_t>(count), Eigen::Vector2d::Zero());
    for (std::size_t k = 0; k < steps.size(); k++) angles[k + 1] = angles[k] + steps[k].fit.motion.angle;
    if (centres.empty()) return;
    Eigen::Vector2d centre = MedianOf(centres);

    // What the shift of each step has beside a rotation about the centre, and the centre from those where
    // that is small.
    const auto turning = [](double angle) {
        Eigen::Matrix2d m;
        m << 1 - std::cos(angle), std::sin(angle), -std::sin(angle), 1 - std::cos(angle);
        return m;
    };
    for (int round = 0; round < 4; round++) {
        std::vector<double> sizes;
        for (const Pair& pair : steps)
            sizes.push_back((pair.fit.motion.shift - turning(pair.fit.motion.angle) * centre).norm());
        const double bound =
            std::max(5 * 1.4826 * MedianOf(sizes), 0.03 + 0.02 * std::abs(perTime) * start.outerR);
        Eigen::Matrix2d normal = Eigen::Matrix2d::Zero();
        Eigen::Vector2d right = Eigen::Vector2d::Zero();
        for (std::size_t k = 0; k < steps.size(); k++) {
            disturbed[k] = !steps[k].fit.solved || sizes[k] > bound;
            if (disturbed[k]) continue;
            const Eigen::Matrix2d m = turning(steps[k].fit.motion.angle);
            normal += m.transpose() * m;
            right += m.transpose() * steps[k].fit.motion.shift;
        }
        if (normal.determinant() < 1e-30) break;
        centre = normal.inverse() * right;
    }
    // A single step that shifts the picture, and turns it as the others do, is a push.
    if (std::count(disturbed.begin(), disturbed.end(), true) == 1) {
        const auto k =
            static_cast<std::size_t>(std::find(disturbed.begin(), disturbed.end(), true) - disturbed.begin());
        const Motion& motion = steps[k].fit.motion;
        const double usual = perTime * (times[k + 1] - times[k]);
        if (steps[k].fit.solved && std::abs(motion.angle - usual) < 0.2 * std::abs(usual))
            std::fill(pushed.begin() + static_cast<std::ptrdiff_t>(k) + 1, pushed.end(),
                      Eigen::Vector2d(motion.shift - turning(motion.angle) * centre));
    }
    // Never far out of sight.
    if (centre.norm() > farthest) centre *= farthest / centre.norm();
    sight.pivot += centre;
}

/// Pairs spread over the run, if possible without a disturbed step between their frames.
std::vector<Pair> Search::OfGap(int gap) const
{
    std::vector<Pair> quiet, all;
    for (int i = 0; i < count; i++) {
        for (int j = i + 1; j < count; j++) {
            if (times[static_cast<std::size_t>(j)] - times[static_cast<std::size_t>(i)] != gap) continue;
            Pair pair;
            pair.first = i;
            pair.second = j;
            pair.fit.motion.angle = angles[static_cast<std::size_t>(j)] - angles[static_cast<std::size_t>(i)];
            bool jumps = false;
            for (int k = i; k < j; k++) jumps = jumps || disturbed[static_cast<std::size_t>(k)];
            all.push_back(pair);
            if (!jumps) quiet.push_back(pair);
        }
    }
    std::vector<Pair>& from = quiet.size() >= 2 || quiet.size() == all.size() ? quiet : all;
    // What lies behind a push is known less well.
    const auto later = [&](const Pair& pair) {
        return !pushed[static_cast<std::size_t>(pair.second)].isZero();
    };
    if (from.size() - static_cast<std::size_t>(std::count_if(from.begin(), from.end(), later)) >= 2)
        std::erase_if(from, later);
    // Repeated frames tell less.
    const auto turn = [](const Pair& pair) { return std::abs(pair.fit.motion.angle); };
    double most = 0;
    for (const Pair& pair : from) most = std::max(most, turn(pair));
    if (std::count_if(from.begin(), from.end(), [&](const Pair& p) { return turn(p) > most / 2; }) >= 2)
        std::erase_if(from, [&](const Pair& p) { return turn(p) <= most / 2; });
    if (from.size() <= pairsOfGap) return from;
    std::vector<Pair> spread;
    for (std::size_t n = 0; n < pairsOfGap; n++)
        spread.push_back(from[n * (from.size() - 1) / (pairsOfGap - 1)]);
    return spread;
}

/// Marks the pairs that turn about the same centre, and gives it.
Eigen::Vector2d Search::Agree(std::vector<Pair>& pairs) const
{
    std::vector<Eigen::Vector2d> centres;
    for (const Pair& pair : pairs)
        if (pair.fit.solved) centres.push_back(pair.centre);
    if (centres.empty()) return sight.pivot;
    Eigen::Vector2d middle = MedianOf(centres);
    Eigen::Vector2d sum = Eigen::Vector2d::Zero();
    int n = 0;
    for (Pair& pair : pairs) {
        pair.agrees = pair.fit.solved;
        for (int axis = 0; axis < 2; axis++)
            if (std::abs(pair.centre(axis) - middle(axis)) > 0.5 + 5 * std::sqrt(pair.variance(axis)))
                pair.agrees = false;
        if (!pair.agrees) continue;
        sum += pair.centre;
        n++;
    }
    return n > 0 ? Eigen::Vector2d(sum / n) : middle;
}

/// How far the wheel reaches: beyond, the motion explains nothing.
void Search::FindReach(const Pair& pair)
{
    const Differences differences =
        Compare(Everywhere(coarse[static_cast<std::size_t>(pair.first)]),
                coarse[static_cast<std::size_t>(pair.second)], sight, pair.fit.motion);
    // The distance within which so much of the gain lies.
    const auto reaches = [](const std::vector<double>& gains, double share) {
        std::vector<double> sums;
        double sum = 0;
        sums.reserve(gains.size());
        for (const double gain : gains) sums.push_back(sum += gain);
        const double most = *std::max_element(sums.begin(), sums.end());
        const auto found =
            std::find_if(sums.begin(), sums.end(), [&](double s) { return s >= share * most; });
        return std::pair(Differences::ringWidth * static_cast<double>(found - sums.begin() + 1), most);
    };
    std::vector<double> all(differences.gain[0].size()), strengths;
    for (const auto& gains : differences.gain) {
        std::transform(all.begin(), all.end(), gains.begin(), all.begin(), std::plus());
        strengths.push_back(reaches(gains, 1).second);
    }

    // Where the wheel's edge is not equally far in all directions, it turns about another place: a + b cos +
    // c sin of the directions where there is much of it, least squares without what is far off.
    const double usual = MedianOf(strengths);
    std::vector<Eigen::Vector3d> rows;
    std::vector<double> distances, weights;
    for (std::size_t i = 0; i < differences.gain.size(); i++) {
        if (strengths[i] < 0.3 * usual) continue;
        const double angle = 2 * pi * ((static_cast<double>(i) + 0.5) / Differences::sectors - 0.5);
        const Eigen::Vector2d edge =
            sight.pivot + sight.radius * Eigen::Vector2d(std::cos(angle), std::sin(angle));
        const double distance = reaches(differences.gain[i], 0.95).first;
        const Eigen::Vector2d end = sight.pivot + (edge - sight.pivot) * ((distance + 8) / sight.radius);
        if (end.x() < 0 || end.y() < 0 || end.x() >= frames.dim1 || end.y() >= frames.dim2) continue;
        rows.emplace_back(1, std::cos(angle), std::sin(angle));
        distances.push_back(distance);
    }
    beside = 0;
    weights.assign(distances.size(), 1);
    for (int round = 0; round < 5 && distances.size() >= 6; round++) {
        Eigen::Matrix3d normal = 1e-9 * Eigen::Matrix3d::Identity();
        Eigen::Vector3d right = Eigen::Vector3d::Zero();
        for (std::size_t i = 0; i < distances.size(); i++) {
            normal += weights[i] * rows[i] * rows[i].transpose();
            right += weights[i] * distances[i] * rows[i];
        }
        const Eigen::Vector3d edge = normal.inverse() * right;
        for (std::size_t i = 0; i < distances.size(); i++)
            weights[i] = 1 / (1 + std::pow((distances[i] - rows[i].dot(edge)) / 8, 2));
        beside = edge.tail<2>().norm();
    }
    sight.radius = std::min(sight.radius, reaches(all, 0.99).first + 4 + step);
}

/// What bends the picture of the wheel, as deviations: an axis that leans a few degrees, a lens, rows exposed
/// one after the other within up to the time of a frame; and a little of anything.
Eigen::Matrix<double, 6, 6> Search::ExpectedBend(bool any) const
{
    const double r = start.outerR;
    Bend leaning;
    leaning << 0.01, 0.01, 0.015 / r, 0.015 / r, 0.004 / (r * r), 0.004 / (r * r);
    Eigen::Matrix<double, 6, 6> usual = leaning.cwiseAbs2().asDiagonal();
    if (!any) return usual;
    // What lies x from the middle of the picture is seen at x (1 + k |x|^2 / d^2), d half the diagonal.
    const double across = sight.pivot.x() - frames.dim1 / 2.0, down = sight.pivot.y() - frames.dim2 / 2.0;
    const double d2 = (frames.dim1 * frames.dim1 + frames.dim2 * frames.dim2) / 4.0;
    Bend lens;
    lens << across * across - down * down, 2 * across * down, 2 * across, 2 * down, across, down;
    lens *= 0.04 / d2;
    Bend rolling;
    rolling << 0, 0, 1, 0, -1, 0;
    rolling *= 0.6 * perTime / frames.dim2;
    return usual + lens * lens.transpose() + rolling * rolling.transpose();
}

/// Roots of the summed squares of the slopes along each axis inside the wheel, without those of the noise.
Place Search::Gradients(int frame) const
{
    double sumX = 0, sumY = 0;
    const double r = sight.radius;
    const int top = std::max(box.top + 1, static_cast<int>(sight.pivot.y() - r));
    const int bottom = std::min(box.top + box.height - 2, static_cast<int>(sight.pivot.y() + r));
    for (int y = top; y <= bottom; y++) {
        const double across = std::sqrt(std::max(0.0, r * r - (y - sight.pivot.y()) * (y - sight.pivot.y())));
        const int left = std::max(box.left + 1, static_cast<int>(sight.pivot.x() - across));
        const int right = std::min(box.left + box.width - 2, static_cast<int>(sight.pivot.x() + across));
        long rowX = 0, rowY = 0, n = 0;
        for (int x = left; x <= right; x++) {
            if (!sight.masks.empty() && sight.Masked(static_cast<float>(x), static_cast<float>(y))) continue;
            const int dx = frames(x + 1, y, frame) - frames(x - 1, y, frame);
            const int dy = frames(x, y + 1, frame) - frames(x, y - 1, frame);
            rowX += long{dx} * dx;
            rowY += long{dy} * dy;
            n++;
        }
        sumX += static_cast<double>(rowX) / 4 - static_cast<double>(n) * noise * noise / 2;
        sumY += static_cast<double>(rowY) / 4 - static_cast<double>(n) * noise * noise / 2;
    }
    return {std::sqrt(std::max(sumX, 1.0)), std::sqrt(std::max(sumY, 1.0))};
}

RotationFit Search::Run()
{
    RotationFit result;
    result.centre = start.centre;
    if (!Prepare()) return result;
    Follow();
    Centre();
    if (perTime == 0) return result;

    // Growing gaps, while they hold.
    std::vector<int> gaps;
    for (int i = 0; i < count; i++)
        for (int j = i + 1; j < count; j++)
            gaps.push_back(times[static_cast<std::size_t>(j)] - times[static_cast<std::size_t>(i)]);
    std::sort(gaps.begin(), gaps.end());
    const auto have = [&](int gap) { return std::count(gaps.begin(), gaps.end(), gap); };
    std::vector<Pair> widest;
    int gap = gaps.front();
    const PairModel model = Model(step);
    for (;;) {
        std::vector<Pair> pairs = OfGap(gap);
        for (Pair& pair : pairs)
            Fit(pair, coarse[static_cast<std::size_t>(pair.first)],
                coarse[static_cast<std::size_t>(pair.second)], model);
        const Eigen::Vector2d centre = Agree(pairs);
        const auto agreeing =
            std::count_if(pairs.begin(), pairs.end(), [](const Pair& p) { return p.agrees; });
        const double away = (centre - sight.pivot).norm();
        if (!widest.empty() &&
            (agreeing * 2 <= static_cast<long>(pairs.size()) || away > 0.05 * start.outerR))
            break;
        std::erase_if(pairs, [](const Pair& p) { return !p.agrees; });
        if (pairs.empty()) break;
        for (Pair& pair : pairs) pair.fit.motion.shift = Eigen::Vector2d::Zero();
        widest = pairs;
        result.gap = gap;
        if ((centre - origin).norm() > farthest) return result;
        sight.pivot = centre;
        const auto next = std::find_if(gaps.begin(), gaps.end(), [&](int g) {
            return g >= 2 * gap && have(g) >= 2 && g * std::abs(perTime) <= widestAngle;
        });
        if (next == gaps.end()) break;
        gap = *next;
    }
    if (widest.empty()) return result;
    FindReach(widest.front());

    // Once more in full.
    PairModel full = Model(1);
    full.bent = true;
    full.bendUsual = ExpectedBend(false);
    full.bendAny = ExpectedBend(true);
    for (Pair& pair : widest)
        Fit(pair, Scale(frames, pair.first, box, 1), Scale(frames, pair.second, box, 1), full);
    // Most pictures are not bent by more than a leaning axis, and the centre is surer without. What else does
    // not fit, as the walls of a thick wheel, is not taken for a bend either.
    Eigen::Vector2d need = Eigen::Vector2d::Zero();
    double misfit = 0;
    for (const Pair& pair : widest) {
        need += pair.fit.need / std::sqrt(static_cast<double>(widest.size()));
        misfit += pair.variance.sum() / pair.noise.sum() / static_cast<double>(widest.size());
    }
    if (!(need.cwiseAbs().maxCoeff() > 4 && misfit < 12))
        for (Pair& pair : widest) Locate(pair, false);
    const Eigen::Vector2d centre = Agree(widest);
    std::erase_if(widest, [](const Pair& p) { return !p.agrees; });
    if (widest.empty()) return result;
    result.pairs = static_cast<int>(widest.size());
    result.centre = {centre.x(), centre.y()};

    const double n = result.pairs;
    Eigen::Vector2d variance = Eigen::Vector2d::Zero(), scatter = Eigen::Vector2d::Zero();
    std::vector<double> rates;
    double angleSigma = 0, still = 0, moved = 0;
    for (const Pair& pair : widest) {
        // Noise differs from pair to pair; what else is not explained may be the same in all.
        const Eigen::Vector2d noisy = pair.variance.cwiseMin(2.5 * pair.noise);
        variance += noisy / (n * n) + (pair.variance - noisy) / n;
        scatter += (pair.centre - centre).cwiseAbs2() / std::max(1.0, (n - 1) * n);
        rates.push_back(pair.fit.motion.angle / result.gap);
        angleSigma = std::max(angleSigma, pair.fit.angleSigma);
        const Differences d = Compare(Everywhere(coarse[static_cast<std::size_t>(pair.first)]),
                                      coarse[static_cast<std::size_t>(pair.second)], sight, pair.fit.motion);
        still += d.still;
        moved += d.moved;
    }
    const double rate = MedianOf(rates), angle = std::abs(rate) * result.gap;
    result.degreesPerFrame = rate * 180 / pi;
    result.push = {pushed.back().x(), pushed.back().y()};
    result.explained = still > 0 ? 1 - moved / still : 0;
    const double floor = 0.003;
    const auto sigma = [&](int axis) {
        return std::sqrt(std::max(variance(axis), (4 * variance(axis) + (n - 1) * scatter(axis)) / (n + 3)) +
                         floor * floor);
    };
    result.sigma = {sigma(0), sigma(1)};
    const Place gradients = Gradients(widest.front().first);
    if (angle > 0) {
        result.limit = {std::numbers::sqrt2 * noise / (angle * gradients.x),
                        std::numbers::sqrt2 * noise / (angle * gradients.y)};
    }
    // A single pair cannot tell a push from a rotation about another place; the wheel's outline can.
    const bool about = result.pairs > 1 || beside < std::max(6.0, 0.07 * sight.radius);
    result.holds = result.explained > 0.4 && angle > 6 * angleSigma && about &&
                   (centre - origin).norm() < farthest && std::max(result.sigma.x, result.sigma.y) < 1.5;
    return result;
}

} // namespace

RotationFit FitRotation(const CubByte& frames, const std::vector<int>& times, const RotationStart& start,
                        const std::vector<Region>& masks)
{
    RotationFit nothing;
    nothing.centre = start.centre;
    if (frames.p_data == nullptr || frames.dim3 < 2 ||
        times.size() != static_cast<std::size_t>(frames.dim3) || !(start.outerR >= 8) ||
        !(start.outerR <= 4 * std::max(frames.dim1, frames.dim2)))
        return nothing;
    if (!(std::abs(start.centre.x) < 1e5) || !(std::abs(start.centre.y) < 1e5)) return nothing;
    return Search(frames, times, start, masks).Run();
}

} // namespace telvane
