// Markers and lines, for pictures of any element type.
#ifndef KAVRIX_INNER_KXDRAW_INL_H
#define KAVRIX_INNER_KXDRAW_INL_H

#include <Kavrix/KXarray.h>

#include <cstdint>
#include <cstdlib>

namespace kavrix::inner {

/// Sets m(x, y) where it lies in the picture.
template <class T> void SetInside(const Mat<T>& m, int x, int y, T color)
{
    if (m.p_data && 0 <= x && x < m.dim1 && 0 <= y && y < m.dim2) m(x, y) = color;
}

/// The marker `style` at (x, y): '+', 'x' and 'o' wholly or not at all, 3 pixels to each side; else one
/// pixel.
template <class T> void Marker(const Mat<T>& m, int x, int y, T color, char style)
{
    if (style != '+' && style != 'x' && style != 'o') {
        SetInside(m, x, y, color);
        return;
    }
    if (!m.p_data || x < 3 || x > m.dim1 - 4 || y < 3 || y > m.dim2 - 4) return;
    if (style == 'o') {
        static const signed char ring[16][2] = {{3, 0},  {3, 1},  {2, 2},  {1, 3},   {0, 3},   {-1, 3},
                                                {-2, 2}, {-3, 1}, {-3, 0}, {-3, -1}, {-2, -2}, {-1, -3},
                                                {0, -3}, {1, -3}, {2, -2}, {3, -1}};
        for (const auto& offset : ring) m(x + offset[0], y + offset[1]) = color;
        return;
    }
    for (int i = -3; i <= 3; i++) {
        m(x + i, style == '+' ? y : y + i) = color;
        m(style == '+' ? x : x - i, y + i) = color;
    }
}

/// The line from (x1, y1) to (x2, y2): one pixel a step along the longer axis. The shorter one follows when
/// that comes nearer to the ideal line; on a tie it stays.
template <class T> void Line(const Mat<T>& m, int x1, int y1, int x2, int y2, T color)
{
    const int dx = x2 - x1, dy = y2 - y1;
    const bool steep = std::abs(dx) < std::abs(dy);
    // Along the longer axis (major) and the shorter one (minor); on a diagonal the longer one is x.
    const int length = steep ? dy : dx, rise = steep ? dx : dy;
    const int majorStep = length >= 1 ? 1 : -1, minorStep = rise >= 1 ? 1 : -1;
    int major = 0, minor = 0; // from (x1, y1)
    const auto plot = [&] {
        SetInside(m, x1 + (steep ? minor : major), y1 + (steep ? major : minor), color);
    };
    plot();
    while (major != length || minor != rise) {
        major += majorStep;
        // Distances to the ideal line, times the length.
        const std::int64_t ideal = std::int64_t{major} * rise;
        const std::int64_t moved = std::int64_t{length} * (minor + minorStep),
                           kept = std::int64_t{length} * minor;
        if (std::abs(ideal - moved) < std::abs(ideal - kept)) minor += minorStep;
        plot();
    }
}

} // namespace kavrix::inner

#endif
