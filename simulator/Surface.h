// What lies on surfaces: scratches and dirt on the wheel's face, texture on the backdrop. Their places are
// drawn from fixed numbers, the same in every scene.
#ifndef SIMULATOR_SURFACE_H
#define SIMULATOR_SURFACE_H

#include <simulator/Exact.h>
#include <simulator/Wheel.h>

#include <algorithm>
#include <cmath>
#include <vector>

namespace telvane {

/// How the face of the wheel differs at one place.
struct Marks {
    double scratch = 0; ///< 0..1: how much of it is bare, bright metal
    double dirt = 0;    ///< 0..1: share of the light that is lost
};

class Surface {
public:
    explicit Surface(const WheelScene& scene);

    bool Clean() const { return scratches.empty() && spots.empty(); }

    /// \param x, y     on the wheel, from the ring's centre, turned back by the wheel's angle
    Marks At(double x, double y) const
    {
        Marks marks;
        const Cell* cell = CellAt(x, y);
        if (!cell) return marks;
        for (const int i : cell->scratches) Add(scratches[static_cast<std::size_t>(i)], x, y, marks);
        for (const int i : cell->spots) Add(spots[static_cast<std::size_t>(i)], x, y, marks);
        return marks;
    }

private:
    struct Scratch {
        double x, y;           // middle
        double alongX, alongY; // unit vector
        double half;           // of its length
        double bright;
    };
    struct Spot {
        double x, y, radius, dark;
    };
    struct Cell {
        std::vector<int> scratches, spots;
    };
    static constexpr int side = 32; // cells along one side of the square around the wheel

    static void Add(const Scratch& s, double x, double y, Marks& marks)
    {
        const double dx = x - s.x, dy = y - s.y;
        const double along = std::fabs(dx * s.alongX + dy * s.alongY);
        const double across = std::fabs(dy * s.alongX - dx * s.alongY);
        const double inside = std::min<double>(s.half - along, halfWidth - across);
        marks.scratch = std::max<double>(marks.scratch, s.bright * Coverage(inside));
    }
    static void Add(const Spot& s, double x, double y, Marks& marks)
    {
        const double dx = x - s.x, dy = y - s.y, part = (dx * dx + dy * dy) / (s.radius * s.radius);
        if (part < 1) marks.dirt = std::max<double>(marks.dirt, s.dark * (1 - part) * (1 - part));
    }
    const Cell* CellAt(double x, double y) const
    {
        const double column = (x + extent) * perCell, row = (y + extent) * perCell;
        if (!(column >= 0 && column < side && row >= 0 && row < side)) return nullptr;
        return &cells[static_cast<std::size_t>(row) * side + static_cast<std::size_t>(column)];
    }
    /// Puts a mark into every cell that a box touches.
    template <class Put> void Enter(double x, double y, double reachX, double reachY, Put put);

    static constexpr double halfWidth = 1; // of a scratch, pixels
    double extent;                         // half the side of the square
    double perCell;                        // cells per pixel
    std::vector<Scratch> scratches;
    std::vector<Spot> spots;
    std::vector<Cell> cells;
};

/// Grey levels by which the backdrop differs from its own: smooth noise on two lattices.
class Texture {
public:
    explicit Texture(double strength);

    bool Smooth() const { return lattice.empty(); }

    double At(double x, double y) const
    {
        return coarse * Noise(x / 48, y / 48) + fine * Noise(x / 12, y / 12);
    }

private:
    static constexpr int side = 128; // values; then the lattice repeats

    double Noise(double x, double y) const
    {
        const double column = std::floor(x), row = std::floor(y);
        const double u = Smoothed(x - column), v = Smoothed(y - row);
        const int left = static_cast<int>(column) & (side - 1), top = static_cast<int>(row) & (side - 1);
        const int right = (left + 1) & (side - 1), bottom = (top + 1) & (side - 1);
        return Mix(Mix(Value(left, top), Value(right, top), u),
                   Mix(Value(left, bottom), Value(right, bottom), u), v);
    }
    static double Smoothed(double t) { return t * t * (3 - 2 * t); }
    double Value(int x, int y) const
    {
        return lattice[static_cast<std::size_t>(y) * side + static_cast<std::size_t>(x)];
    }

    double coarse, fine;
    std::vector<double> lattice; // -1..1
};

} // namespace telvane

#endif
