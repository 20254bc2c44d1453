// The wheel itself: its outline, windows, spokes, hub and side walls, as coverages of a pixel from the
// distance to each edge.
#ifndef SIMULATOR_FACE_H
#define SIMULATOR_FACE_H

#include <simulator/Exact.h>
#include <simulator/View.h>
#include <simulator/Wheel.h>

#include <algorithm>
#include <cmath>

namespace telvane {

// Grey levels before light and noise. The windows between the spokes show little contrast, so that most of
// the motion lies on the teeth.
inline constexpr double backdropGrey = 52;
inline constexpr double metalGrey = 196;
inline constexpr double windowGrey = 150;
inline constexpr double hubGrey = 118;
inline constexpr double wallGrey = 104;

/// The wheel at one instant.
struct Pose {
    double toothPhase = 0, spokePhase = 0; ///< how far it has turned, as fractions of a tooth and of a spoke
    Vector ring;                           ///< the ring's centre, from the axis
    double cosine = 1, sine = 0;           ///< of the angle that it has turned by

    Vector FromRing(const Sight& sight) const { return {sight.x - ring.x, sight.y - ring.y}; }
};

/// Of the wheel's front at one place.
struct Greys {
    double metal = metalGrey, hub = hubGrey;
};

/// Where a pixel lies on the face as seen from the ring's centre, and how many pixels of the picture a pixel
/// of the face is wide along the radius and across it.
struct Polar {
    double r = 0, turns = 0;
    double radial = 1, across = 1;
};

/// \param x, y     from the ring's centre
inline Polar PolarOf(const Sight& sight, double x, double y)
{
    Polar p;
    p.r = std::sqrt(x * x + y * y);
    p.turns = Turns(x, y);
    if (!(p.r > 0)) return p;
    // The distance to an edge is what the face shows, divided by its slope over the picture.
    const double ux = x / p.r, uy = y / p.r;
    const double gx = ux * sight.xx + uy * sight.yx, gy = ux * sight.xy + uy * sight.yy;
    const double tx = ux * sight.yx - uy * sight.xx, ty = ux * sight.yy - uy * sight.xy;
    p.radial = 1 / std::sqrt(gx * gx + gy * gy);
    p.across = 1 / std::sqrt(tx * tx + ty * ty);
    return p;
}

inline Polar PolarOn(const Sight& sight, const Pose& pose)
{
    const Vector at = pose.FromRing(sight);
    return PolarOf(sight, at.x, at.y);
}

/// How many pixels of the picture a pixel lies within the bounds of each part of the wheel; negative:
/// outside.
struct Insides {
    double root;  ///< of the circle of the tooth roots
    double tip;   ///< of the circle of the tooth tips
    double tooth; ///< between the flanks of the nearest tooth
    double band;  ///< between the circles that bound the windows
    double spoke; ///< between the flanks of the nearest spoke
    double hub;

    double Outline() const { return std::max<double>(root, std::min<double>(tip, tooth)); }
    double Window() const { return std::min<double>(Coverage(band), 1 - Coverage(spoke)); }

    /// No edge lies as near as these distances, in pixels.
    bool Far(double fromOutline, double fromWindow, double fromHub) const
    {
        return std::fabs(Outline()) > fromOutline && std::fabs(std::min<double>(band, -spoke)) > fromWindow &&
               std::fabs(hub) > fromHub;
    }
};

class Face {
public:
    explicit Face(const WheelScene& scene)
        : innerR(scene.innerR), outerR(scene.outerR), hubR(scene.hubR), teeth(scene.teeth),
          spokes(scene.spokes),
          // The windows reach from close to the hub to the rim that carries the teeth.
          windowsFrom(scene.hubR + (scene.innerR - scene.hubR) * 0.1),
          windowsTo(scene.innerR - (scene.innerR - scene.hubR) * 0.2), thickness(scene.thickness),
          depthStep(DepthStep())
    {
    }

    Insides At(const Polar& p, const Pose& pose) const
    {
        Insides in{p.radial * (innerR - p.r),
                   p.radial * (outerR - p.r),
                   p.across * Bar(p, teeth, pose.toothPhase, toothShare),
                   none,
                   none,
                   none};
        if (spokes > 0) {
            in.band = p.radial * std::min<double>(windowsTo - p.r, p.r - windowsFrom);
            in.spoke = p.across * Bar(p, spokes, pose.spokePhase, spokeShare);
        }
        if (hubR > 0) in.hub = p.radial * (hubR - p.r);
        return in;
    }

    /// Neither a turn of the wheel by `turned` pixels nor a shift of the sight by `shifted` changes what is
    /// seen.
    bool Same(const Insides& in, double turned, double shifted) const
    {
        // Along the radius, a distance measured along the arc changes by the arc's angle.
        const double still = edgeWidth / 2 + turned;
        return in.Far(still + shifted * (1 + pi / teeth),
                      still + shifted * (1 + pi / std::max<double>(spokes, 1)), still + shifted);
    }

    /// The wheel's front over what lies behind it.
    static double Front(double behind, const Insides& in, const Greys& greys = {})
    {
        return Mix(behind, Mix(Mix(greys.metal, windowGrey, in.Window()), greys.hub, Coverage(in.hub)),
                   Coverage(in.Outline()));
    }

    /// What side walls that are seen past the front add to the grey level.
    /// \param front    where the sight meets the front face
    double Walls(const Insides& front, const Sight& sight, const Pose& pose, double backdrop) const
    {
        const Vector at = pose.FromRing(sight);
        const double slideX = sight.slideX * thickness, slideY = sight.slideY * thickness;
        const double outline = front.Outline(), window = front.Window();
        double solid = outline, open = window;
        // Sections of the solid at several depths, from the back, which shows most of a wall, to the front.
        // Between two of them the distances to the edges change evenly.
        const double shift = std::sqrt(slideX * slideX + slideY * slideY);
        const int steps = shift < mostSteps * depthStep ? 1 + static_cast<int>(shift / depthStep) : mostSteps;
        Insides last{};
        for (int i = steps; i >= 0 && (solid < edgeWidth / 2 || open > 0); i--) {
            const double part = static_cast<double>(i) / steps;
            const Insides in =
                i > 0 ? At(PolarOf(sight, at.x + slideX * part, at.y + slideY * part), pose) : front;
            solid = std::max<double>(solid, in.Outline());
            if (i < steps) solid = std::max<double>(solid, Corner(last, in));
            open = std::min<double>(open, in.Window());
            last = in;
        }
        return (wallGrey - backdrop) * (Coverage(solid) - Coverage(outline)) +
               (wallGrey - windowGrey) * (window - open);
    }

private:
    static constexpr double none = -1e9;
    static constexpr double toothShare = 0.5, spokeShare = 0.35; // of the circle
    static constexpr int mostSteps = 64;

    /// How far within the nearest of `parts` radial bars, which fill `share` of the circle, measured along
    /// the arc. The flanks run straight to the centre: the picture moves at right angles to them.
    static double Bar(const Polar& p, int parts, double phase, double share)
    {
        const double fromMiddle = std::fabs(Fraction(p.turns * parts - phase + 0.5) - 0.5);
        return (share / 2 - fromMiddle) / parts * (2 * pi) * p.r;
    }

    /// The most that the lesser of the distances to tip and flank reaches between two sections: where they
    /// are equal.
    static double Corner(const Insides& a, const Insides& b)
    {
        const double atA = a.tooth - a.tip, atB = b.tooth - b.tip;
        if (!((atA < 0 && atB > 0) || (atA > 0 && atB < 0))) return none;
        return Mix(a.tip, b.tip, atA / (atA - atB));
    }

    /// Sections lie close enough together for the narrowest of the bars not to slip between them.
    double DepthStep() const
    {
        double narrowest = toothShare / teeth * (2 * pi) * innerR;
        if (spokes > 0) narrowest = std::min<double>(narrowest, spokeShare / spokes * (2 * pi) * windowsFrom);
        return std::max<double>(0.5, std::min<double>(3, narrowest / 2));
    }

    double innerR, outerR, hubR;
    int teeth, spokes;
    double windowsFrom, windowsTo;
    double thickness;
    double depthStep; // pixels
};

} // namespace telvane

#endif
