// Lines, circles and arrows on a picture.
#include <Telvane/Overlay.h>

#include <Telvane/Param.h>

#include <Kavrix/inner/KXarith.h>

#include <algorithm>
#include <cmath>
#include <cstdint>

using namespace kavrix::inner;

namespace telvane {

namespace {

class Overlay {
public:
    Overlay(MatByte& detected, const Region& input, const Region& output, const VecFloat& params)
        : picture(detected), l(Int{output.left} - input.left), t(Int{output.top} - input.top),
          r(output.width + l - 1), b(output.height + t - 1),
          cx(Rounded(static_cast<float>(l) + params(Param::cx))),
          cy(Rounded(static_cast<float>(t) + params(Param::cy)))
    {
    }

    // Three pixels thick, along the inside of the region's edges.
    void Frame()
    {
        for (const Int y : {t, t + 1, t + 2, b - 2, b - 1, b}) ToggleRow(l, r, y);
        for (const Int x : {l, l + 1, l + 2, r - 2, r - 1, r}) ToggleColumn(x, t + 1, b - 1);
    }

    // Three pixels thick, arms of 10 pixels, cut at the region's edges.
    void CentreCross()
    {
        for (const Int y : {cy, cy - 1, cy + 1}) ToggleRow(std::max(cx - 10, l), std::min(cx + 10, r), y);
        for (const Int x : {cx, cx - 1, cx + 1}) ToggleColumn(x, std::max(cy - 10, t), std::min(cy + 10, b));
    }

    // By eight-fold symmetry; nothing on or outside the region's edges on the far side of each point.
    void Circle(float R)
    {
        const double divsqrt2 = std::floor(static_cast<double>(R) / std::sqrt(2.0));
        if (!(divsqrt2 < std::max(picture.dim1, picture.dim2))) return; // wholly outside the picture
        const Int kmax = static_cast<Int>(divsqrt2);
        for (Int k = 0; k <= kmax; k++) {
            const double square = static_cast<double>(R * R) - static_cast<double>(k * k);
            const Int m = Rounded(std::sqrt(square));
            if (cx + k < r && cy + m < b) Toggle(cx + k, cy + m);
            if (cx + k < r && t < cy - m) Toggle(cx + k, cy - m);
            if (cx + m < r && cy + k < b) Toggle(cx + m, cy + k);
            if (l < cx - m && cy + k < b) Toggle(cx - m, cy + k);
            if (k == 0) continue;
            if (l < cx - k && cy + m < b) Toggle(cx - k, cy + m);
            if (l < cx - k && t < cy - m) Toggle(cx - k, cy - m);
            if (cx + m < r && t < cy - k) Toggle(cx + m, cy - k);
            if (l < cx - m && t < cy - k) Toggle(cx - m, cy - k);
        }
    }

    // From the centre at an angle in degrees, clockwise from +x, one pixel a step along the major axis, up to
    // the region's edge.
    void RadialLine(float angle)
    {
        const float arad = angle * 3.1415927f / 180.0f;
        float c1 = std::cos(arad), c2 = std::sin(arad);
        const float m = std::fabs(c1) > std::fabs(c2) ? std::fabs(c1) : std::fabs(c2);
        c1 /= m;
        c2 /= m;
        const Int kmax = std::max({r - cx, cx - l, b - cy, cy - t});
        for (Int k = 1; k < kmax; k++) {
            const Int x = Rounded(static_cast<float>(k) * c1) + cx,
                      y = Rounded(static_cast<float>(k) * c2) + cy;
            if (x <= l || x >= r || y <= t || y >= b) break;
            Toggle(x, y);
        }
    }

    // A diagonal arrow in the region's top left corner; only regions of 12 x 12 and more have room for it. A
    // speed that is not a number gives it no head.
    void SenseArrow(float angSpd)
    {
        if (r - l + 1 < 12 || b - t + 1 < 12) return;
        for (int i = 0; i < 7; i++) Toggle(l + 2 + i, t + 8 - i);
        if (angSpd > 0) {
            for (int i = 5; i <= 7; i++) Toggle(l + i, t + 2);
            for (int i = 3; i <= 5; i++) Toggle(l + 8, t + i);
        } else if (angSpd < 0) {
            for (int i = 5; i <= 7; i++) Toggle(l + 2, t + i);
            for (int i = 3; i <= 5; i++) Toggle(l + i, t + 8);
        }
    }

private:
    using Int = std::int64_t; // no sum of coordinates and radii overflows

    template <class F> static Int Rounded(F value) { return FloatToInt(std::rint(value)); }

    // Marks outside the picture are left out singly.
    void Toggle(Int x, Int y)
    {
        if (0 <= x && x < picture.dim1 && 0 <= y && y < picture.dim2)
            picture(static_cast<int>(x), static_cast<int>(y)) ^= 128;
    }

    void ToggleRow(Int from, Int to, Int y)
    {
        for (Int x = from; x <= to; x++) Toggle(x, y);
    }

    void ToggleColumn(Int x, Int from, Int to)
    {
        for (Int y = from; y <= to; y++) Toggle(x, y);
    }

    MatByte& picture;
    const Int l, t, r, b; // the output region in the picture, inclusive
    const Int cx, cy;     // the centre
};

} // namespace

void MarkResult(MatByte& detected, const Region& input, const Region& output, const VecFloat& params)
{
    Overlay overlay(detected, input, output, params);
    overlay.Frame();
    overlay.CentreCross();
    overlay.Circle(params(Param::innerR));
    overlay.Circle(params(Param::outerR));
    if (std::fabs(params(Param::ang1) - params(Param::ang2)) <= 350) {
        overlay.RadialLine(params(Param::ang1));
        overlay.RadialLine(params(Param::ang2));
    }
    if (params(Param::angSpd) != 0) overlay.SenseArrow(params(Param::angSpd));
}

} // namespace telvane
