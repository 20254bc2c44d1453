// Shifts of blocks by Gauss-Newton, and the shift that most of them share, by Tukey's weights.
#include <diagnosis/Steady.h>

#include <diagnosis/Index.h>
#include <diagnosis/Quantile.h>

#include <Eigen/Dense>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <numbers>
#include <optional>

namespace telvane {

namespace {

constexpr int side = 16;      ///< cells along a block
constexpr int ninths = 9;     ///< parts of the picture
constexpr double sure = 0.1;  ///< deviation, in cells, of a block that tells anything
constexpr double alike = 0.1; ///< cells by which blocks differ though nothing moves: light and rounding

/// What a block of still things says about a shift.
struct Block {
    int left, top; ///< in cells
    int ninth;
    Eigen::Matrix2d square;    ///< of the slopes of the first frame
    std::vector<float> slopes; ///< x and y of each cell, less their mean; 0 where there is no edge
};

class Still {
public:
    Still(const Changes& c, double pixelNoise, const std::vector<Region>& masks, const Place& wheel,
          double radius)
        : changes(c), first(Smooth(0))
    {
        // Of the mean of four pixels, smoothed.
        const double noise = 0.375 * std::max(pixelNoise, 0.3) / Changes::cell;
        for (int top = 2; top + side + 2 < changes.height; top += side)
            for (int left = 2; left + side + 2 < changes.width; left += side)
                if (Free(left, top, masks, wheel, radius)) Add(left, top, noise);
    }

    /// Of a frame against the first one, in cells, from a first guess on.
    std::optional<Eigen::Vector2d> Shift(int frame, const Eigen::Vector2d& guess) const
    {
        const std::vector<float> now = Smooth(frame);
        Eigen::Vector2d shift = guess;
        const int rounds = 8;
        for (int round = 0; round < rounds; round++) {
            const std::optional<Eigen::Vector2d> step = Step(now, shift);
            if (!step) return {};
            shift += *step;
            if (step->norm() < 0.003) return shift;
        }
        return {};
    }
    bool Enough() const
    {
        std::array<int, ninths> counts{};
        for (const Block& block : blocks) counts[Index(block.ninth)]++;
        return AllOver(counts);
    }

private:
    /// A frame under the mean light, smoothed so that places between cells can be told.
    std::vector<float> Smooth(int frame) const
    {
        const float* grey = changes.Frame(frame);
        const std::ptrdiff_t row = changes.width;
        const auto light = static_cast<float>(1 / (16 * changes.light[Index(frame)]));
        std::vector<float> smooth(changes.mean.size());
        for (int y = 1; y + 1 < changes.height; y++)
            for (int x = 1; x + 1 < changes.width; x++) {
                const float* p = grey + changes.At(x, y);
                const auto down = [=](std::ptrdiff_t at) { return p[at - row] + 2 * p[at] + p[at + row]; };
                smooth[changes.At(x, y)] = (down(-1) + 2 * down(0) + down(1)) * light;
            }
        return smooth;
    }

    /// More parts of the picture than a straight belt crosses.
    static bool AllOver(const std::array<int, ninths>& counts)
    {
        return std::count_if(counts.begin(), counts.end(), [](int n) { return n >= 2; }) >= 6;
    }

    bool Free(int left, int top, const std::vector<Region>& masks, const Place& wheel, double radius) const
    {
        const int last = side - 1;
        for (const int x : {left, left + last / 2, left + last})
            for (const int y : {top, top + last / 2, top + last}) {
                const Place at = changes.Middle(x, y);
                if (Distance(at, wheel) < radius || Masked(masks, at.x, at.y, 4)) return false;
            }
        return true;
    }

    float Slope(int x, int y, bool down) const
    {
        const float* grey = first.data() + changes.At(x, y);
        const std::ptrdiff_t step = down ? changes.width : 1;
        return (grey[step] - grey[-step]) / 2;
    }

    void Add(int left, int top, double noise)
    {
        Block block{left, top, 3 * (3 * top / changes.height) + 3 * left / changes.width,
                    Eigen::Matrix2d::Zero(), std::vector<float>(std::size_t{2} * side * side)};
        const auto least = static_cast<float>(16 * noise * noise); // slopes of noise seem to shift nothing
        double sumX = 0, sumY = 0;
        int n = 0;
        for (int y = 0; y < side; y++)
            for (int x = 0; x < side; x++) {
                const float sx = Slope(left + x, top + y, false), sy = Slope(left + x, top + y, true);
                if (sx * sx + sy * sy < least) continue;
                block.slopes[Index(2 * (y * side + x))] = sx;
                block.slopes[Index(2 * (y * side + x) + 1)] = sy;
                sumX += static_cast<double>(sx);
                sumY += static_cast<double>(sy);
                n++;
            }
        if (n < side) return;
        for (std::size_t i = 0; i < block.slopes.size(); i += 2) {
            if (block.slopes[i] == 0 && block.slopes[i + 1] == 0) continue;
            block.slopes[i] -= static_cast<float>(sumX / n);
            block.slopes[i + 1] -= static_cast<float>(sumY / n);
            const Eigen::Vector2d slope(static_cast<double>(block.slopes[i]),
                                        static_cast<double>(block.slopes[i + 1]));
            block.square += slope * slope.transpose();
        }
        const double least2 = block.square.selfadjointView<Eigen::Lower>().eigenvalues()(0);
        if (least2 > 0 && std::numbers::sqrt2 * noise < sure * std::sqrt(least2)) blocks.push_back(block);
    }

    /// What the block says is still missing at a shift; nothing where that leads out of the picture.
    std::optional<Eigen::Vector2d> Missing(const Block& block, const std::vector<float>& now,
                                           const Eigen::Vector2d& shift) const
    {
        const double fromX = block.left + shift.x(), fromY = block.top + shift.y();
        const int left = static_cast<int>(std::floor(fromX)), top = static_cast<int>(std::floor(fromY));
        if (left < 1 || top < 1 || left + side + 1 >= changes.width || top + side + 1 >= changes.height)
            return {};
        const auto a = static_cast<float>(fromX - left), b = static_cast<float>(fromY - top);
        Eigen::Vector2d pull = Eigen::Vector2d::Zero();
        for (int y = 0; y < side; y++) {
            const float* upper = now.data() + changes.At(left, top + y);
            const float* lower = upper + changes.width;
            const float* then = first.data() + changes.At(block.left, block.top + y);
            const float* slope = block.slopes.data() + Index(2 * y * side);
            float sumX = 0, sumY = 0;
            for (int x = 0; x < side; x++) {
                const float up = upper[x] + a * (upper[x + 1] - upper[x]);
                const float down = lower[x] + a * (lower[x + 1] - lower[x]);
                const float rest = up + b * (down - up) - then[x];
                sumX += rest * slope[0];
                sumY += rest * slope[1];
                slope += 2;
            }
            pull += Eigen::Vector2d(static_cast<double>(sumX), static_cast<double>(sumY));
        }
        return Eigen::Vector2d(-block.square.inverse() * pull);
    }

    /// What most of the blocks say is still missing.
    std::optional<Eigen::Vector2d> Step(const std::vector<float>& now, const Eigen::Vector2d& shift) const
    {
        std::vector<Eigen::Vector2d> told;
        std::vector<int> parts;
        std::vector<double> xs, ys;
        for (const Block& block : blocks) {
            const std::optional<Eigen::Vector2d> missing = Missing(block, now, shift);
            if (!missing) continue;
            told.push_back(*missing);
            parts.push_back(block.ninth);
            xs.push_back(missing->x());
            ys.push_back(missing->y());
        }
        Eigen::Vector2d step(Quantile(xs, 0.5), Quantile(ys, 0.5));
        // Far off, slopes lead there by and by only.
        const double reach = 3 * alike + 0.5 * std::min(step.norm(), 2.0);
        std::array<int, ninths> counts{};
        std::size_t agree = 0;
        Eigen::Vector2d sum = Eigen::Vector2d::Zero();
        double weights = 0;
        for (std::size_t i = 0; i < told.size(); i++) {
            const double part = (told[i] - step).norm() / reach;
            if (part >= 1) continue;
            const double weight = (1 - part * part) * (1 - part * part);
            sum += weight * told[i];
            weights += weight;
            counts[Index(parts[i])]++;
            agree++;
        }
        if (4 * agree < 3 * told.size() || !AllOver(counts)) return {};
        step = sum / weights;
        const double most = 2;
        return step.norm() > most ? Eigen::Vector2d(step * (most / step.norm())) : step;
    }

    const Changes& changes;
    std::vector<float> first; ///< the first frame
    std::vector<Block> blocks;
};

} // namespace

std::vector<Place> ShiftsOf(const Changes& changes, double noise, const std::vector<Region>& masks,
                            const Place& wheel, double radius)
{
    const Still still(changes, noise, masks, wheel, radius);
    std::vector<Place> shifts{{0, 0}};
    if (!still.Enough()) return {};
    Eigen::Vector2d last = Eigen::Vector2d::Zero();
    for (int t = 1; t < changes.count; t++) {
        const std::optional<Eigen::Vector2d> shift = still.Shift(t, last);
        if (!shift) return {};
        last = *shift;
        shifts.push_back({last.x() * Changes::cell, last.y() * Changes::cell});
    }
    return shifts;
}

CubByte Steadied(const CubByte& frames, const std::vector<Place>& shifts)
{
    const int w = frames.dim1, h = frames.dim2;
    CubByte steady(w, h, frames.dim3);
    // Cubic convolution, see Scaled::At.
    const auto weights = [](double part) {
        const auto s = static_cast<float>(part);
        const float a0 = s * (-0.5F + s * (1 - 0.5F * s)), a1 = 1 + s * s * (-2.5F + 1.5F * s);
        const float a3 = s * s * (-0.5F + 0.5F * s);
        return std::array<float, 4>{a0, a1, 1 - a0 - a1 - a3, a3};
    };
    std::vector<float> row(Index(w)), across(Index(w + 3));
    for (int t = 0; t < frames.dim3; t++) {
        const Place& shift = shifts[Index(t)];
        const int left = static_cast<int>(std::floor(shift.x)), top = static_cast<int>(std::floor(shift.y));
        const auto cx = weights(shift.x - left), cy = weights(shift.y - top);
        for (int y = 0; y < h; y++) {
            for (int x = 0; x < w + 3; x++) {
                const int column = std::clamp(x + left - 1, 0, w - 1);
                float sum = 0;
                for (int j = 0; j < 4; j++)
                    sum += cy[Index(j)] * float(frames(column, std::clamp(y + top - 1 + j, 0, h - 1), t));
                across[Index(x)] = sum;
            }
            for (int x = 0; x < w; x++) {
                const float* p = across.data() + x;
                const float grey = cx[0] * p[0] + cx[1] * p[1] + cx[2] * p[2] + cx[3] * p[3];
                steady(x, y, t) = static_cast<UBYTE>(std::clamp(grey + 0.5F, 0.0F, 255.0F));
            }
        }
    }
    return steady;
}

} // namespace telvane
