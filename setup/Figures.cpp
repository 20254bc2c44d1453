// Figures for aiming. They are looked at a few times a second, so that plain loops do.
#include <setup/Figures.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <numbers>
#include <vector>

namespace telvane {

namespace {

/// The ring of teeth as lines along the angle, in steps of about a pixel: their differences from the mean of
/// a window around, so that light which changes slowly along the ring counts little. What lies outside the
/// picture is 0.
class Unrolled {
public:
    static constexpr int lines = 7;

    Unrolled(const MatByte& picture, const Circles& circles)
    {
        const double middle = (circles.inner + circles.outer) / 2;
        const auto n = static_cast<std::size_t>(std::ceil(2 * std::numbers::pi * middle));
        std::vector<double> grey(n);
        std::vector<bool> seen(n);
        for (std::size_t line = 0; line < lines; line++) {
            const double share = 0.15 + 0.7 * static_cast<double>(line) / (lines - 1);
            const double radius = circles.inner + share * (circles.outer - circles.inner);
            for (std::size_t i = 0; i < n; i++) {
                const double angle = 2 * std::numbers::pi * static_cast<double>(i) / static_cast<double>(n);
                seen[i] = Grey(picture, circles.centre.x + radius * std::cos(angle),
                               circles.centre.y + radius * std::sin(angle), grey[i]);
            }
            values[line] = WithoutMean(grey, seen);
        }
    }

    std::size_t Length() const { return values[0].size(); }

    /// How well `other` fits when it is turned back by `lag` steps, -1..1.
    double Correlation(const Unrolled& other, int lag) const
    {
        const auto n = static_cast<std::ptrdiff_t>(Length());
        double both = 0, own = 0, others = 0;
        for (std::size_t line = 0; line < lines; line++)
            for (std::ptrdiff_t i = 0; i < n; i++) {
                const double a = values[line][static_cast<std::size_t>(i)];
                const double b = other.values[line][static_cast<std::size_t>(((i + lag) % n + n) % n)];
                if (a == 0 || b == 0) continue;
                both += a * b, own += a * a, others += b * b;
            }
        return own > 0 && others > 0 ? both / std::sqrt(own * others) : 0;
    }

    /// The root mean square of what is seen, grey levels.
    double Contrast() const
    {
        double sum = 0, count = 0;
        for (const auto& line : values)
            for (const double v : line)
                if (v != 0) sum += v * v, count++;
        return count > 0 ? std::sqrt(sum / count) : 0;
    }

private:
    /// Between the four pixels around.
    static bool Grey(const MatByte& picture, double x, double y, double& grey)
    {
        if (!(x >= 0 && y >= 0 && x < picture.dim1 - 1 && y < picture.dim2 - 1)) return false;
        const int left = static_cast<int>(x), top = static_cast<int>(y);
        const double p = x - left, q = y - top;
        grey = (1 - q) * ((1 - p) * picture(left, top) + p * picture(left + 1, top)) +
               q * ((1 - p) * picture(left, top + 1) + p * picture(left + 1, top + 1));
        return true;
    }

    static std::vector<double> WithoutMean(const std::vector<double>& grey, const std::vector<bool>& seen)
    {
        const auto n = static_cast<std::ptrdiff_t>(grey.size()), half = n / 16;
        std::vector<double> rest(grey.size(), 0);
        double sum = 0, count = 0;
        const auto at = [n](std::ptrdiff_t i) { return static_cast<std::size_t>((i % n + n) % n); };
        const auto add = [&](std::ptrdiff_t i, double sign) {
            if (seen[at(i)]) sum += sign * grey[at(i)], count += sign;
        };
        for (std::ptrdiff_t i = -half; i < half; i++) add(i, 1);
        for (std::ptrdiff_t i = 0; i < n; i++) {
            add(i + half, 1);
            if (seen[at(i)] && count > 0.5) rest[at(i)] = grey[at(i)] - sum / count;
            add(i - half, -1);
        }
        return rest;
    }

    std::array<std::vector<double>, lines> values;
};

/// Steps from tooth to tooth, by the next place where the ring looks like itself; 0 where there is none.
double PitchOf(const Unrolled& ring)
{
    const int longest = static_cast<int>(ring.Length() / 4);
    std::vector<double> alike(static_cast<std::size_t>(longest) + 1);
    for (int lag = 0; lag <= longest; lag++)
        alike[static_cast<std::size_t>(lag)] = ring.Correlation(ring, lag);
    // Past the first place where it is its own opposite.
    const auto below = std::find_if(alike.begin(), alike.end(), [](double c) { return c < 0; });
    if (below == alike.end()) return 0;
    const auto next = std::find_if(below, alike.end(), [](double c) { return c > 0.3; });
    if (next == alike.end()) return 0;
    const auto end = std::find_if(next, alike.end(), [](double c) { return c < 0.3; });
    return static_cast<double>(std::max_element(next, end) - alike.begin());
}

} // namespace

double Sharpness(const MatByte& picture, const Circles& circles)
{
    double left = 0, top = 0, right = picture.dim1, bottom = picture.dim2;
    if (circles.Set()) {
        left = std::max(left, circles.centre.x - circles.outer),
        right = std::min(right, circles.centre.x + circles.outer);
        top = std::max(top, circles.centre.y - circles.outer),
        bottom = std::min(bottom, circles.centre.y + circles.outer);
    }
    std::int64_t sum = 0, count = 0;
    for (int y = static_cast<int>(top); y + 2 < bottom; y++)
        for (int x = static_cast<int>(left); x + 2 < right; x++) {
            const int across = picture(x + 2, y) - picture(x, y), down = picture(x, y + 2) - picture(x, y);
            sum += across * across + down * down;
            count++;
        }
    return count > 0 ? std::sqrt(static_cast<double>(sum) / static_cast<double>(count)) : 0;
}

Exposure ExposureOf(const MatByte& picture)
{
    std::int64_t clipped = 0, dark = 0;
    for (int y = 0; y < picture.dim2; y++)
        for (int x = 0; x < picture.dim1; x++) {
            clipped += picture(x, y) == 255;
            dark += picture(x, y) < 16;
        }
    const double all = std::max(1.0, static_cast<double>(picture.dim1) * picture.dim2);
    return {static_cast<double>(clipped) / all, static_cast<double>(dark) / all};
}

std::optional<TeethSpeed> SpeedOf(const MatByte& first, const MatByte& second, const Circles& circles)
{
    if (!circles.Set() || circles.outer > 4.0 * first.dim1) return {};
    const Unrolled before(first, circles), after(second, circles);
    const double faint = 4; // grey levels: less is noise on an even ground
    if (before.Contrast() < faint || after.Contrast() < faint) return {};
    const auto n = static_cast<double>(before.Length());
    const double pitch = circles.teeth > 0 ? n / circles.teeth : PitchOf(before);
    if (pitch < 4) return {};

    const int reach = static_cast<int>(std::ceil(pitch / 2));
    double best = -1;
    int at = 0;
    for (int lag = -reach; lag <= reach; lag++)
        if (const double alike = before.Correlation(after, lag); alike > best) best = alike, at = lag;
    if (best < 0.5) return {};
    // The peak of the parabola through it and its neighbours.
    const double left = before.Correlation(after, at - 1), right = before.Correlation(after, at + 1);
    const double bend = left - 2 * best + right;
    const double steps = at + (bend < 0 ? std::clamp(0.5 * (left - right) / bend, -0.5, 0.5) : 0);
    const double stepLength = std::numbers::pi * (circles.inner + circles.outer) / n;
    return TeethSpeed{steps * stepLength, std::abs(steps) > 0.4 * pitch};
}

} // namespace telvane
