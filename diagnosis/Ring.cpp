// First roughly, from where the picture changes; then the number of teeth, from the harmonics of the grey
// values around the ring; then the radii, from how strong the harmonic of the teeth is at each radius.
#include <diagnosis/Ring.h>

#include <diagnosis/Dice.h>
#include <diagnosis/Index.h>
#include <diagnosis/Quantile.h>

#include <Eigen/Dense>

#include <cmath>
#include <complex>
#include <numbers>

namespace telvane {

namespace {

using Complex = std::complex<double>;
const double turn = 2 * std::numbers::pi;

/// Grey values between pixels.
class Sampler {
public:
    explicit Sampler(const CubByte& f) : frames(f) {}

    bool Holds(double x, double y) const
    {
        return x >= 0 && y >= 0 && x < frames.dim1 - 1 && y < frames.dim2 - 1;
    }
    double At(double x, double y, int t) const
    {
        const int left = static_cast<int>(x), top = static_cast<int>(y);
        const double a = x - left, b = y - top;
        const double upper = frames(left, top, t) * (1 - a) + frames(left + 1, top, t) * a;
        const double lower = frames(left, top + 1, t) * (1 - a) + frames(left + 1, top + 1, t) * a;
        return upper * (1 - b) + lower * b;
    }

private:
    const CubByte& frames;
};

/// Cosines and sines of `count` directions.
std::vector<Complex> Directions(int count)
{
    std::vector<Complex> directions;
    directions.reserve(Index(count));
    for (int i = 0; i < count; i++) directions.push_back(std::polar(1.0, turn * i / count));
    return directions;
}

/// Takes off the mean of the seen neighbourhood, a fifth of the circle wide.
void TakeOffSlowChanges(std::vector<double>& values, const std::vector<char>& seen)
{
    const int n = static_cast<int>(values.size()), half = n / 10;
    double sum = 0, number = 0;
    const auto enter = [&](int i, int sign) {
        const std::size_t at = Index((i % n + n) % n);
        if (!seen[at]) return;
        sum += sign * values[at];
        number += sign;
    };
    for (int i = -half; i < half; i++) enter(i, 1);
    std::vector<double> result(values.size());
    for (int i = 0; i < n; i++) {
        enter(i + half, 1);
        if (seen[Index(i)]) result[Index(i)] = values[Index(i)] - sum / number;
        enter(i - half, -1);
    }
    values = result;
}

/// The part of a profile that has `teeth` waves around the circle.
Complex Harmonic(const std::vector<double>& values, const std::vector<Complex>& directions, int teeth)
{
    Complex sum = 0;
    const std::size_t n = values.size();
    for (std::size_t i = 0, at = 0; i < n; i++, at = (at + Index(teeth)) % n)
        sum += values[i] * std::conj(directions[at]);
    return sum;
}

/// The number of teeth, where it stands out.
std::optional<int> CountTeeth(const PolarProfile& profile, const std::vector<double>& power)
{
    const int most = static_cast<int>(power.size()) - 1;
    int best = 0;
    for (int i = 0; i <= most; i++)
        if (power[Index(i)] > power[Index(best)]) best = i;
    const int leak = static_cast<int>(std::ceil(1.5 / std::max(profile.share, 0.1)));
    // Narrow teeth have strong overtones: the lowest one counts.
    for (const int part : {2, 3})
        if (best % part == 0 && power[Index(best / part)] > 0.08 * power[Index(best)] &&
            best / part > 2 * leak) {
            best /= part;
            break;
        }
    if (!(power[Index(best)] > 0)) return {};
    double other = 0;
    for (int i = 0; i <= most; i++) {
        const int nearest = best * static_cast<int>(std::lround(double(i) / best));
        if (std::abs(i - nearest) > 2 * leak) other = std::max(other, power[Index(i)]);
    }
    if (other > 0.35 * power[Index(best)]) return {};
    return best;
}

/// The harmonic of the teeth at one radius, in sectors, as root mean square over some frames.
std::vector<double> SectorStrengths(const CubByte& frames, const Place& centre, double radius, int teeth,
                                    const std::vector<Complex>& directions, int sectors,
                                    const std::vector<Region>& masks, const std::vector<int>& numbers)
{
    const Sampler sampler(frames);
    const int n = static_cast<int>(directions.size());
    std::vector<double> strengths(Index(sectors), 0);
    for (int k = 0; k < sectors; k++) {
        const int from = k * n / sectors, to = (k + 1) * n / sectors;
        bool seen = true;
        for (int i = from; i < to && seen; i += std::max(1, (to - from) / 8)) {
            const double x = centre.x + radius * directions[Index(i)].real(),
                         y = centre.y + radius * directions[Index(i)].imag();
            seen = sampler.Holds(x, y) && !Masked(masks, x, y, 2);
        }
        if (!seen) {
            strengths[Index(k)] = -1;
            continue;
        }
        double power = 0;
        for (const int t : numbers) {
            Complex sum = 0, waves = 0;
            double grey = 0;
            for (int i = from; i < to; i++) {
                const double x = centre.x + radius * directions[Index(i)].real(),
                             y = centre.y + radius * directions[Index(i)].imag();
                const Complex wave = std::conj(directions[Index(i) * Index(teeth) % Index(n)]);
                const double v = sampler.Holds(x, y) ? sampler.At(x, y, t) : 0;
                sum += v * wave;
                waves += wave;
                grey += v;
            }
            power += std::norm(sum - grey / (to - from) * waves);
        }
        strengths[Index(k)] = std::sqrt(power) / (to - from);
    }
    return strengths;
}

/// A circle about another place, from distances in known directions.
struct Rim {
    double radius = 0;
    Place offset;
    double oval = 0;
};

/// By least squares, without those that lie far off.
std::optional<Rim> FitRim(const std::vector<double>& radii, const std::vector<Complex>& middles)
{
    std::vector<double> known;
    for (const double r : radii)
        if (r > 0) known.push_back(r);
    if (known.size() < 4) return {};
    const double median = Quantile(known, 0.5);
    std::vector<double> apart;
    apart.reserve(known.size());
    for (const double r : known) apart.push_back(std::abs(r - median));
    const double most = std::max(3 * Quantile(apart, 0.5), 3.0);
    Eigen::Matrix3d square = Eigen::Matrix3d::Zero();
    Eigen::Vector3d side = Eigen::Vector3d::Zero();
    std::size_t used = 0;
    for (std::size_t k = 0; k < radii.size(); k++) {
        if (!(radii[k] > 0) || std::abs(radii[k] - median) > most) continue;
        const Eigen::Vector3d row(1, middles[k].real(), middles[k].imag());
        square += row * row.transpose();
        side += row * radii[k];
        used++;
    }
    if (used < 4 || 2 * used < known.size()) return {};
    const Eigen::Vector3d circle = square.ldlt().solve(side);
    Rim rim{circle.x(), {circle.y(), circle.z()}, 0};
    Complex twice = 0;
    for (std::size_t k = 0; k < radii.size(); k++) {
        if (!(radii[k] > 0) || std::abs(radii[k] - median) > most) continue;
        const double rest = radii[k] - circle.dot(Eigen::Vector3d(1, middles[k].real(), middles[k].imag()));
        twice += rest * middles[k] * middles[k];
    }
    rim.oval = 2 * std::abs(twice) / static_cast<double>(used);
    return rim;
}

/// The inner and the outer circle of the teeth, where the harmonic of the teeth falls to half of what it is
/// in the middle of the ring.
struct Rims {
    std::optional<Rim> roots, tips;
};

/// \param numbers  the frames that count, together
Rims FindRims(const CubByte& frames, const Place& centre, int teeth, const Ring& rough,
              const std::vector<Region>& masks, const std::vector<int>& numbers, bool tipsOnly)
{
    const int sectors = std::clamp(2 * teeth / 3, 4, 24), n = std::max(2048, 4 * teeth * 6);
    const std::vector<Complex> directions = Directions(n);
    std::vector<Complex> middles;
    middles.reserve(Index(sectors));
    for (int k = 0; k < sectors; k++) middles.push_back(std::polar(1.0, turn * (k + 0.5) / sectors));
    const double width = rough.outer - rough.inner, reach = std::max(width, 12.0);
    const int quarter = static_cast<int>(width / 4);
    const int middleR = static_cast<int>((rough.inner + rough.outer) / 2);
    const int from =
        tipsOnly ? middleR - quarter : static_cast<int>(std::max(rough.inner - 1.5 * reach, 3.0));
    const int to = static_cast<int>(rough.outer + (tipsOnly ? 0.3 : 0.6) * reach) + 8;
    std::vector<std::vector<double>> strengths; // by radius
    for (int r = from; r <= to; r++)
        strengths.push_back(SectorStrengths(frames, centre, r, teeth, directions, sectors, masks, numbers));
    const int middle = middleR - from;

    std::vector<double> inner(Index(sectors), 0), outer(Index(sectors), 0);
    for (int k = 0; k < sectors; k++) {
        const auto at = [&](int i) { return strengths[Index(i)][Index(k)]; };
        std::vector<double> plateau;
        for (int i = middle - quarter; i <= middle + quarter; i++)
            if (i >= 0 && i <= to - from && at(i) >= 0) plateau.push_back(at(i));
        if (plateau.empty()) continue;
        const double least = 0.4 * Quantile(plateau, 0.5);
        for (int step : {-1, 1}) {
            for (int i = middle; i + step >= 0 && i + step <= to - from; i += step) {
                if (at(i) < 0 || at(i + step) < 0) break; // out of the picture
                if (!(at(i) >= least && at(i + step) < least)) continue;
                const double r = from + i + step * (at(i) - least) / (at(i) - at(i + step));
                (step < 0 ? inner : outer)[Index(k)] = r;
                break;
            }
        }
    }
    return {tipsOnly ? std::nullopt : FitRim(inner, middles), FitRim(outer, middles)};
}

/// The place furthest from a middle that changes, of each sector, but for what is weak or single.
std::vector<Place> OutlineOf(const Changes& changes, const Place& middle, const std::vector<Region>& masks)
{
    std::vector<double> strong;
    for (std::size_t i = 0; i < changes.mean.size(); i++)
        if (const double excess = changes.Excess(i); excess > 0) strong.push_back(excess);
    const double least = 0.1 * Quantile(strong, 0.8);
    const auto changesAt = [&](double x, double y) {
        const int column = static_cast<int>(x / Changes::cell), row = static_cast<int>(y / Changes::cell);
        return column >= 0 && row >= 0 && column < changes.width && row < changes.height &&
               changes.Excess(changes.At(column, row)) > least && !Masked(masks, x, y, 2);
    };
    std::vector<Place> outline;
    const int sectors = 48, rays = 15 * sectors, most = Changes::cell * (changes.width + changes.height);
    const std::vector<Complex> ways = Directions(rays);
    for (int first = 0; first < rays; first += rays / sectors) {
        int furthest = 0, along = first;
        for (int i = first; i < first + rays / sectors; i++) {
            int run = 0;
            for (int r = most; r > furthest; r -= Changes::cell) {
                const double x = middle.x + r * ways[Index(i)].real(),
                             y = middle.y + r * ways[Index(i)].imag();
                run = x >= 0 && y >= 0 && changesAt(x, y) ? run + 1 : 0;
                if (run == 2) furthest = r + Changes::cell, along = i;
            }
        }
        if (furthest > 0)
            outline.push_back({middle.x + furthest * ways[Index(along)].real(),
                               middle.y + furthest * ways[Index(along)].imag()});
    }
    return outline;
}

/// A circle, and how many places lie on it.
struct Circle {
    Place middle;
    double radius = 0;
    int on = 0;
};

Circle CircleThrough(const Place& a, const Place& b, const Place& c)
{
    Eigen::Matrix2d sides;
    sides << b.x - a.x, b.y - a.y, c.x - a.x, c.y - a.y;
    if (!(std::abs(sides.determinant()) > 1)) return {};
    const Eigen::Vector2d way = sides.inverse() * (0.5 * sides.cwiseAbs2().rowwise().sum());
    return {{a.x + way.x(), a.y + way.y()}, way.norm(), 0};
}

} // namespace

std::optional<Place> OutlineMiddle(const Changes& changes, const std::vector<Region>& masks)
{
    const std::vector<Place> outline = OutlineOf(changes, MiddleOf(changes, masks), masks);
    const std::size_t least = 8;
    if (outline.size() < least) return {};
    Dice dice;
    Circle best;
    const int samples = 1500;
    for (int i = 0; i < samples; i++) {
        const auto any = [&] { return outline[dice.Below(outline.size())]; };
        const Place a = any(), b = any(), c = any();
        Circle circle = CircleThrough(a, b, c);
        if (circle.radius < 16 || circle.radius > Changes::cell * changes.width) continue;
        const double near = 3; // pixels
        for (const Place& place : outline)
            circle.on += std::abs(Distance(place, circle.middle) - circle.radius) < near;
        if (circle.on > best.on) best = circle;
    }
    if (best.on < static_cast<int>(std::max(least, outline.size() / 3))) return {};
    return best.middle;
}

std::vector<double> RadialProfile(const Changes& changes, const Place& centre,
                                  const std::vector<Region>& masks)
{
    const int sectors = 24, bins = 600;
    std::vector<double> sums(Index(sectors * bins), 0);
    std::vector<int> counts(Index(sectors * bins), 0);
    for (int y = 0; y < changes.height; y++)
        for (int x = 0; x < changes.width; x++) {
            const Place at = changes.Middle(x, y);
            const double dx = at.x - centre.x, dy = at.y - centre.y;
            const int bin = static_cast<int>(std::sqrt(dx * dx + dy * dy) / profileStep);
            if (bin >= bins || (!masks.empty() && Masked(masks, at.x, at.y, 2))) continue;
            const double turns = std::atan2(dy, dx) / turn + 0.5;
            const int sector = std::min(static_cast<int>(turns * sectors), sectors - 1);
            sums[Index(bin * sectors + sector)] += changes.Excess(changes.At(x, y));
            counts[Index(bin * sectors + sector)]++;
        }
    std::vector<double> profile(Index(bins), 0);
    for (int bin = 0; bin < bins; bin++) {
        std::vector<double> means;
        for (int i = bin * sectors; i < (bin + 1) * sectors; i++)
            if (counts[Index(i)] > 0) means.push_back(sums[Index(i)] / counts[Index(i)]);
        if (static_cast<int>(means.size()) >= sectors / 3) profile[Index(bin)] = Quantile(means, 0.5);
    }
    return profile;
}

std::optional<Ring> RoughRing(const std::vector<double>& profile)
{
    const int last = static_cast<int>(profile.size()) - 1;
    const auto at = [&](int i) { return i < 0 || i > last ? 0 : profile[Index(i)]; };
    double strongest = 0;
    for (int i = 4; i <= last; i++) strongest = std::max(strongest, at(i));
    if (!(strongest > 0)) return {};
    const double least = 0.3 * strongest;
    int outer = last;
    while (outer > 4 && !(at(outer) >= least && at(outer - 1) >= least)) outer--;
    if (outer <= 4) return {};
    int inner = outer;
    while (inner > 1 && (at(inner - 1) >= least || at(inner - 2) >= least)) inner--;
    return Ring{double(inner) * profileStep, double(outer + 1) * profileStep};
}

PolarProfile PolarProfileOf(const CubByte& frames, const Place& centre, const Ring& ring,
                            const std::vector<Region>& masks)
{
    PolarProfile profile;
    const int circles = 6;
    profile.count = ring.outer > 300 ? 4096 : 2048;
    const std::vector<Complex> directions = Directions(profile.count);
    const Sampler sampler(frames);
    profile.seen.assign(Index(profile.count), 1);
    profile.frames.assign(Index(frames.dim3), std::vector<double>(Index(profile.count), 0));
    const double width = ring.outer - ring.inner;
    for (int c = 0; c < circles; c++) {
        const double r = ring.inner + width * (0.25 + 0.5 * c / (circles - 1));
        for (int i = 0; i < profile.count; i++) {
            const double x = centre.x + r * directions[Index(i)].real(),
                         y = centre.y + r * directions[Index(i)].imag();
            if (!sampler.Holds(x, y) || Masked(masks, x, y, 2)) {
                profile.seen[Index(i)] = 0;
                continue;
            }
            for (int t = 0; t < frames.dim3; t++)
                profile.frames[Index(t)][Index(i)] += sampler.At(x, y, t) / circles;
        }
    }
    double seen = 0;
    for (const char s : profile.seen) seen += s;
    profile.share = seen / profile.count;
    for (std::vector<double>& values : profile.frames) TakeOffSlowChanges(values, profile.seen);
    return profile;
}

std::vector<double> TeethPower(const PolarProfile& profile, double radius)
{
    // A tooth and its gap are at least four pixels wide, or nothing of them is seen.
    const int most = std::min(profile.count / 6, static_cast<int>(turn * radius / 4));
    std::vector<double> power(Index(std::max(most, 0)) + 1, 0);
    const std::vector<Complex> directions = Directions(profile.count);
    const std::size_t step = 1 + profile.frames.size() / 4;
    for (std::size_t t = 0; t < profile.frames.size(); t += step)
        for (int i = 3; i <= most; i++)
            power[Index(i)] += std::norm(Harmonic(profile.frames[t], directions, i));
    return power;
}

RingFound FindRing(const CubByte& frames, const std::vector<int>& times, const Changes& changes,
                   const Place& centre, const std::vector<Region>& masks)
{
    RingFound found;
    const std::optional<Ring> rough = RoughRing(RadialProfile(changes, centre, masks));
    if (!rough) return found;
    const PolarProfile profile = PolarProfileOf(frames, centre, *rough, masks);
    found.seen = profile.share;
    if (profile.share < 0.3) return found;
    const std::vector<double> power = TeethPower(profile, rough->outer);
    const std::optional<int> teeth = CountTeeth(profile, power);
    if (!teeth) return found;
    found.teeth = teeth;

    const std::vector<Complex> directions = Directions(profile.count);
    std::vector<Complex> parts;
    for (const std::vector<double>& values : profile.frames)
        parts.push_back(Harmonic(values, directions, *teeth));
    std::vector<Complex> pairs;
    Complex moved = 0;
    double all = 0, waves = 0, squares = 0;
    for (std::size_t t = 0; t < parts.size(); t++) {
        waves += std::norm(parts[t]);
        for (const double grey : profile.frames[t]) squares += grey * grey;
    }
    if (squares > 0) found.clear = 2 * waves / (squares * profile.share * profile.count);
    for (std::size_t t = 0; t + 1 < parts.size(); t++) {
        if (times[t + 1] - times[t] != 1) continue;
        const Complex pair = std::conj(parts[t]) * parts[t + 1];
        pairs.push_back(pair);
        moved += pair;
        all += std::abs(pair);
    }
    if (all > 0) {
        found.step = -std::arg(moved) / turn;
        found.steady = std::abs(moved) / all;
        for (const Complex& pair : pairs)
            found.uneven = std::max(found.uneven, std::abs(std::arg(pair * std::conj(moved))) / turn);
    }
    const Rims rims = FindRims(frames, centre, *teeth, *rough, masks, {0, frames.dim3 / 2}, false);
    if (!rims.tips || !rims.roots || !(rims.roots->radius < rims.tips->radius)) return found;
    found.ring = Ring{rims.roots->radius, rims.tips->radius};
    found.middle = {centre.x + rims.tips->offset.x, centre.y + rims.tips->offset.y};
    found.oval = rims.tips->oval;
    return found;
}

std::vector<std::optional<Place>> RingPlaces(const CubByte& frames, const Place& centre, const Ring& ring,
                                             int teeth, const std::vector<Region>& masks)
{
    std::vector<std::optional<Place>> places;
    for (int t = 0; t < frames.dim3; t++) {
        const std::optional<Rim> tips = FindRims(frames, centre, teeth, ring, masks, {t}, true).tips;
        places.emplace_back();
        if (tips) places.back() = Place{centre.x + tips->offset.x, centre.y + tips->offset.y};
    }
    return places;
}

} // namespace telvane
