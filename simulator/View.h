// How the wheel stands before the camera, and what the lens makes of it: from pixels to the wheel's front
// face and back. Coordinates on the face are pixels from the axis, x and y as in the picture when the wheel
// is not tilted.
#ifndef SIMULATOR_VIEW_H
#define SIMULATOR_VIEW_H

#include <simulator/Exact.h>
#include <simulator/Wheel.h>

#include <array>

namespace telvane {

/// Radial distortion: what lies at x from the principal point is seen at x (1 + k1 r^2), r = |x| / half
/// diagonal.
class Lens {
public:
    Lens(double bend, double halfDiagonal); ///< `bend` is k1

    bool Bends() const { return k1 != 0; }

    /// From the true place to the place seen, both from the principal point.
    Vector Seen(Vector place) const;

    /// What is seen at one pixel: its true place and how it moves per pixel.
    struct Origin {
        double x, y;
        double xx, xy, yx, yy; ///< d x / d column, d x / d row, d y / d column, d y / d row
    };
    Origin Of(double x, double y) const;

private:
    /// f with f (1 + k1 s f^2) = 1: the true distance as a part of the distance seen, whose square is s.
    double Factor(double s) const;

    static constexpr int steps = 256;
    static constexpr double furthest = 2; // of s; further out the factor remains
    double k1, perSquare;                 // 1 / half diagonal^2
    std::array<double, steps + 2> start;  // of the factor, at equal steps of s
};

/// What one pixel looks at.
struct Sight {
    bool meets = false;    ///< the plane of the front face, from its front
    double x = 0, y = 0;   ///< on the front face
    double xx = 1, xy = 0; ///< d x / d column, d x / d row
    double yx = 0, yy = 1;
    double slideX = 0,
           slideY = 0; ///< by which the sight moves on for each pixel of depth behind the front face
    double sceneX = 0, sceneY = 0; ///< in the picture that a perfect lens would give, pixels
};

class View {
public:
    explicit View(const WheelScene& scene);

    /// What a pixel of the unpushed picture looks at.
    Sight At(double column, double row) const;

    /// Where a point of the front face is seen.
    WheelPlace Seen(double x, double y) const;

    /// Where a place of the picture that a perfect lens would give is seen.
    WheelPlace ThroughLens(double x, double y) const;

    /// The centre of the ellipse that a circle around (a, b) on the front face is before the lens bends it,
    /// and where that is seen.
    WheelPlace EllipseCentre(double a, double b, double radius) const;

private:
    struct Direction {
        double x, y, z;
    };
    static double Product(const Direction& a, const Direction& b)
    {
        return a.x * b.x + a.y * b.y + a.z * b.z;
    }

    double middleX, middleY; // principal point
    double centreX, centreY; // of the wheel, from the principal point
    double perDistance;      // 1 / distance, 0 for an infinite one
    Direction alongX{}, alongY{},
        away{}; // of the face and of its axis; x right, y down, z away from the camera
    Lens lens;
};

} // namespace telvane

#endif
