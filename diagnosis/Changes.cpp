// Means and variances over time, with the changes of the light and the noise told apart from motion.
#include <diagnosis/Changes.h>

#include <diagnosis/Quantile.h>

#include <cmath>
#include <cstdlib>
#include <numbers>

namespace telvane {

namespace {

const int block = 16; // cells along each side of the blocks that light and noise are measured in

/// Sums of 2 x 2 pixels as means, frame after frame.
void Reduce(const CubByte& frames, Changes& changes)
{
    float* to = changes.frames.data();
    for (int t = 0; t < changes.count; t++)
        for (int y = 0; y < changes.height; y++) {
            const UBYTE* upper = &frames(0, 2 * y, t);
            const UBYTE* lower = &frames(0, 2 * y + 1, t);
            const std::ptrdiff_t step = frames.step1;
            for (int x = 0; x < changes.width; x++, upper += 2 * step, lower += 2 * step)
                *to++ = static_cast<float>(upper[0] + upper[step] + lower[0] + lower[step]) / 4;
        }
}

/// The mean of each block of a picture of cells.
std::vector<double> BlockMeans(const Changes& changes, const float* picture)
{
    std::vector<double> means;
    for (int y = 0; y + block <= changes.height; y += block)
        for (int x = 0; x + block <= changes.width; x += block) {
            float sum = 0;
            for (int j = 0; j < block; j++)
                for (int i = 0; i < block; i++) sum += picture[changes.At(x + i, y + j)];
            means.push_back(double(sum) / (block * block));
        }
    return means;
}

/// The light of each frame: the median over the blocks of how much brighter they are than on the whole. What
/// moves is the smaller part of a picture.
void MeasureLight(Changes& changes)
{
    std::vector<std::vector<double>> blocks;
    blocks.reserve(static_cast<std::size_t>(changes.count));
    for (int t = 0; t < changes.count; t++) blocks.push_back(BlockMeans(changes, changes.Frame(t)));
    changes.light.assign(blocks.size(), 1);
    const std::size_t n = blocks.empty() ? 0 : blocks[0].size();
    std::vector<double> mean(n);
    for (const std::vector<double>& frame : blocks)
        for (std::size_t i = 0; i < n; i++) mean[i] += frame[i] / changes.count;
    for (std::size_t t = 0; t < blocks.size(); t++) {
        std::vector<double> ratios;
        for (std::size_t i = 0; i < n; i++)
            if (mean[i] > 4) ratios.push_back(blocks[t][i] / mean[i]);
        if (!ratios.empty()) changes.light[t] = std::max(Quantile(ratios, 0.5), 0.01);
    }
}

} // namespace

double Changes::NoiseVariance(double grey) const
{
    const double cellNoise = noise * noise / (cell * cell);
    return 3 * cellNoise * std::max(1.0, grey / std::max(darkestNoise, 1.0)) + 0.3;
}

Place MiddleOf(const Changes& changes, const std::vector<Region>& masks)
{
    std::vector<double> columns, rows;
    for (int y = 0; y < changes.height; y++)
        for (int x = 0; x < changes.width; x++) {
            if (!(changes.Excess(changes.At(x, y)) > 0)) continue;
            const Place at = changes.Middle(x, y);
            if (Masked(masks, at.x, at.y)) continue;
            columns.push_back(at.x);
            rows.push_back(at.y);
        }
    return {Quantile(columns, 0.5), Quantile(rows, 0.5)};
}

Changes ChangesOf(const CubByte& frames)
{
    Changes changes;
    changes.width = frames.dim1 / Changes::cell;
    changes.height = frames.dim2 / Changes::cell;
    changes.count = frames.dim3;
    const std::size_t cells =
        static_cast<std::size_t>(changes.width) * static_cast<std::size_t>(changes.height);
    changes.frames.resize(cells * static_cast<std::size_t>(changes.count));
    changes.mean.assign(cells, 0);
    changes.variance.assign(cells, 0);
    Reduce(frames, changes);
    MeasureLight(changes);

    // Squares are summed about the first frame: about 0 they would lose the digits that matter.
    const float* first = changes.Frame(0);
    const float firstLight = static_cast<float>(1 / changes.light[0]);
    for (int t = 0; t < changes.count; t++) {
        const float* grey = changes.Frame(t);
        const float light = static_cast<float>(1 / changes.light[static_cast<std::size_t>(t)]);
        for (std::size_t i = 0; i < cells; i++) {
            const float difference = grey[i] * light - first[i] * firstLight;
            changes.mean[i] += difference;
            changes.variance[i] += difference * difference;
        }
    }
    const float n = static_cast<float>(changes.count);
    for (std::size_t i = 0; i < cells; i++) {
        const float shift = changes.mean[i] / n;
        changes.mean[i] = first[i] * firstLight + shift;
        changes.variance[i] = n > 1 ? std::max(0.0F, (changes.variance[i] - n * shift * shift) / (n - 1)) : 0;
    }

    // Of the quiet blocks: a quarter of the picture does not move even where the wheel fills it.
    const std::vector<double> variances = BlockMeans(changes, changes.variance.data());
    const std::vector<double> greys = BlockMeans(changes, changes.mean.data());
    if (!variances.empty()) {
        const double quiet = Quantile(variances, 0.25);
        std::vector<double> quietGreys;
        for (std::size_t i = 0; i < variances.size(); i++)
            if (variances[i] <= quiet) quietGreys.push_back(greys[i]);
        changes.noise = std::sqrt(quiet) * Changes::cell;
        changes.darkestNoise = Quantile(quietGreys, 0.5);
    }
    return changes;
}

double NoiseBetween(const CubByte& frames, int one, int other, const Region& box)
{
    std::vector<int> found;
    for (int y = box.top + 1; y < box.top + box.height - 1; y += 3) {
        for (int x = box.left + 1; x < box.left + box.width - 1; x += 3) {
            const auto d = [&](int dx, int dy) {
                return int{frames(x + dx, y + dy, other)} - int{frames(x + dx, y + dy, one)};
            };
            found.push_back(std::abs(d(-1, -1) + d(1, -1) + d(-1, 1) + d(1, 1) -
                                     2 * (d(0, -1) + d(0, 1) + d(-1, 0) + d(1, 0)) + 4 * d(0, 0)));
        }
    }
    if (found.empty()) return 0;
    const auto middle = found.begin() + static_cast<std::ptrdiff_t>(found.size() / 2);
    std::nth_element(found.begin(), middle, found.end());
    return *middle / (0.6745 * 6 * std::numbers::sqrt2);
}

} // namespace telvane
