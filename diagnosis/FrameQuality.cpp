// Counts of grey values, and differences from frame to frame where the picture changes.
#include <diagnosis/FrameQuality.h>

#include <diagnosis/Quantile.h>

#include <array>
#include <cmath>
#include <cstring>

namespace telvane {

namespace {

bool SameBytes(const CubByte& frames, int a, int b)
{
    for (int y = 0; y < frames.dim2; y++) {
        const UBYTE *rowA = &frames(0, y, a), *rowB = &frames(0, y, b);
        if (frames.step1 == 1) {
            if (std::memcmp(rowA, rowB, static_cast<std::size_t>(frames.dim1)) != 0) return false;
            continue;
        }
        for (int x = 0; x < frames.dim1; x++)
            if (frames(x, y, a) != frames(x, y, b)) return false;
    }
    return true;
}

void CountGreys(const CubByte& frames, FrameQuality& quality)
{
    const std::size_t brightest = 254, black = 4;
    std::array<double, 256> counts{};
    double all = 0;
    const int step = std::max(1, frames.dim3 / 3);
    for (int t = 0; t < frames.dim3; t += step)
        for (int y = 0; y < frames.dim2; y += 2)
            for (int x = 0; x < frames.dim1; x += 2) {
                counts[frames(x, y, t)]++;
                all++;
            }
    for (std::size_t grey = 0; grey < counts.size(); grey++) {
        if (grey >= brightest) quality.clipped += counts[grey] / all;
        if (grey <= black) quality.dark += counts[grey] / all;
    }
}

/// Where the picture changes, the mean squared difference of neighbouring frames, less that of noise.
std::vector<double> ChangesOfPairs(const Changes& changes, const std::vector<std::size_t>& moving)
{
    std::vector<double> pairs;
    for (int t = 0; t + 1 < changes.count; t++) {
        const float *a = changes.Frame(t), *b = changes.Frame(t + 1);
        const std::size_t at = static_cast<std::size_t>(t);
        const double lightA = 1 / changes.light[at], lightB = 1 / changes.light[at + 1];
        double sum = 0;
        for (const std::size_t i : moving) {
            const double difference = b[i] * lightB - a[i] * lightA;
            sum += difference * difference;
        }
        pairs.push_back(sum / static_cast<double>(moving.size()));
    }
    return pairs;
}

/// The share of the blocks of 4 x 4 cells that change more than noise does. A single cell of few frames may
/// do so by chance.
double MovingShare(const Changes& changes)
{
    const int side = 4;
    int moving = 0, all = 0;
    for (int top = 0; top + side <= changes.height; top += side)
        for (int left = 0; left + side <= changes.width; left += side) {
            double variance = 0, grey = 0;
            for (int y = top; y < top + side; y++)
                for (int x = left; x < left + side; x++) {
                    variance += changes.variance[changes.At(x, y)] / (side * side);
                    grey += changes.mean[changes.At(x, y)] / (side * side);
                }
            all++;
            moving += variance > changes.NoiseVariance(grey);
        }
    return all > 0 ? double(moving) / all : 0;
}

} // namespace

double BrightnessOf(const Changes& changes, const Place& centre, double innerR, double outerR)
{
    std::vector<double> greys;
    for (int y = 0; y < changes.height; y++)
        for (int x = 0; x < changes.width; x++) {
            const Place at = changes.Middle(x, y);
            const double r = std::hypot(at.x - centre.x, at.y - centre.y);
            if (r < innerR || r > outerR) continue;
            const std::size_t place = changes.At(x, y);
            greys.push_back(changes.mean[place] + std::sqrt(double(changes.variance[place])));
        }
    return Quantile(greys, 0.9);
}

std::vector<Push> PushesOf(const std::vector<std::optional<Place>>& places)
{
    std::vector<Push> steps;
    std::vector<double> alongX, alongY;
    for (std::size_t t = 0; t + 1 < places.size(); t++) {
        if (!places[t] || !places[t + 1]) continue;
        const Place step{places[t + 1]->x - places[t]->x, places[t + 1]->y - places[t]->y};
        steps.push_back({static_cast<int>(t) + 1, step});
        alongX.push_back(step.x);
        alongY.push_back(step.y);
    }
    const Place drift{Quantile(alongX, 0.5), Quantile(alongY, 0.5)};
    std::vector<double> lengths;
    for (Push& push : steps) {
        if (steps.size() > 2) push.by = {push.by.x - drift.x, push.by.y - drift.y};
        lengths.push_back(std::hypot(push.by.x, push.by.y));
    }
    const double usual = Quantile(lengths, 0.5), least = 0.5; // pixels
    std::vector<Push> pushes;
    for (std::size_t i = 0; i < steps.size(); i++)
        if (lengths[i] > std::max(least, steps.size() > 2 ? 6 * usual : 0)) pushes.push_back(steps[i]);
    return pushes;
}

FrameQuality QualityOf(const CubByte& frames, const Changes& changes)
{
    FrameQuality quality;
    CountGreys(frames, quality);
    quality.noise = changes.noise;
    std::vector<std::size_t> moving;
    for (std::size_t i = 0; i < changes.mean.size(); i++)
        if (changes.Excess(i) > 0) moving.push_back(i);
    quality.moving = MovingShare(changes);
    std::vector<double> greys;
    greys.reserve(moving.size());
    for (const std::size_t i : moving)
        greys.push_back(changes.mean[i] + std::sqrt(double(changes.variance[i])));
    quality.bright = Quantile(greys, 0.9);

    for (std::size_t t = 0; t + 1 < changes.light.size(); t++)
        quality.flicker = std::max(quality.flicker, std::abs(changes.light[t + 1] / changes.light[t] - 1));

    std::vector<int> equal;
    for (int t = 0; t + 1 < frames.dim3; t++)
        if (SameBytes(frames, t, t + 1)) equal.push_back(t + 1);
    quality.allEqual = frames.dim3 > 1 && static_cast<int>(equal.size()) == frames.dim3 - 1;
    if (quality.allEqual) return quality;
    quality.repeated = equal;
    if (moving.size() < 50 || frames.dim3 < 3) return quality;

    // Only noise apart, while the others differ by far more.
    const std::vector<double> pairs = ChangesOfPairs(changes, moving);
    const double cellNoise = changes.noise * changes.noise / (Changes::cell * Changes::cell);
    const double usual = Quantile(pairs, 0.7);
    for (std::size_t t = 0; t < pairs.size(); t++) {
        const int frame = static_cast<int>(t) + 1;
        const double noise = 2 * cellNoise * 4 + 0.5; // bright places are noisier than dark ones
        if (pairs[t] < noise && pairs[t] < 0.1 * usual && usual > 4 * noise &&
            std::find(equal.begin(), equal.end(), frame) == equal.end())
            quality.repeated.push_back(frame);
    }
    std::sort(quality.repeated.begin(), quality.repeated.end());
    return quality;
}

} // namespace telvane
