// Where scratches, dirt and the backdrop's texture lie.
#include <simulator/Surface.h>

#include <algorithm>
#include <cmath>

namespace telvane {

namespace {

// Each kind has numbers of its own, so that more of one moves none of another.
const std::uint64_t scratchKeys = 0x5C5A7C4E5ull << 20, dirtKeys = 0xD197Dull << 20,
                    latticeKeys = 0x7E87ull << 20;

/// The `part`-th number, 0..1, of the i-th thing of a kind.
double Number(std::uint64_t kind, int i, int part)
{
    return Uniform(kind + static_cast<std::uint64_t>(i) * 8 * keyStep +
                   static_cast<std::uint64_t>(part) * keyStep);
}

} // namespace

Surface::Surface(const WheelScene& scene) : extent(scene.outerR + 1), perCell(side / (2 * extent))
{
    if (scene.scratches == 0 && scene.dirt == 0) return;
    cells.resize(std::size_t{side} * side);
    const double outer = scene.outerR;
    for (int i = 0; i < scene.scratches; i++) {
        // Evenly over the disc.
        const double r = outer * std::sqrt(Number(scratchKeys, i, 0)), turns = Number(scratchKeys, i, 1);
        const double direction = Number(scratchKeys, i, 2);
        scratches.push_back({r * Cosine(turns), r * Sine(turns), Cosine(direction), Sine(direction),
                             outer * (0.03 + 0.15 * Number(scratchKeys, i, 3)),
                             0.4 + 0.6 * Number(scratchKeys, i, 4)});
        const Scratch& s = scratches.back();
        const double margin = halfWidth + edgeWidth;
        Enter(s.x, s.y, s.half * std::fabs(s.alongX) + margin, s.half * std::fabs(s.alongY) + margin,
              [i](Cell& cell) { cell.scratches.push_back(i); });
    }
    for (int i = 0; i < scene.dirt; i++) {
        const double r = outer * std::sqrt(Number(dirtKeys, i, 0)), turns = Number(dirtKeys, i, 1);
        const double size = Number(dirtKeys, i, 2);
        spots.push_back({r * Cosine(turns), r * Sine(turns), outer * (0.015 + 0.06 * size * size),
                         0.2 + 0.5 * Number(dirtKeys, i, 3)});
        const Spot& s = spots.back();
        Enter(s.x, s.y, s.radius, s.radius, [i](Cell& cell) { cell.spots.push_back(i); });
    }
}

template <class Put> void Surface::Enter(double x, double y, double reachX, double reachY, Put put)
{
    const auto cell = [&](double place) {
        return static_cast<int>(std::min<double>(std::max<double>((place + extent) * perCell, 0), side - 1));
    };
    for (int row = cell(y - reachY); row <= cell(y + reachY); row++)
        for (int column = cell(x - reachX); column <= cell(x + reachX); column++)
            put(cells[static_cast<std::size_t>(row) * side + static_cast<std::size_t>(column)]);
}

Texture::Texture(double strength) : coarse(strength * 2 / 3), fine(strength / 3)
{
    if (!(strength > 0)) return;
    lattice.resize(std::size_t{side} * side);
    for (int i = 0; i < side * side; i++)
        lattice[static_cast<std::size_t>(i)] = 2 * Number(latticeKeys, i, 0) - 1;
}

} // namespace telvane
