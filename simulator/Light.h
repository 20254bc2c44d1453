// The light on the picture: its fall from one corner to the other, the lens's vignetting, a highlight and a
// shadow that stay while the wheel turns, flicker and exposure.
#ifndef SIMULATOR_LIGHT_H
#define SIMULATOR_LIGHT_H

#include <simulator/Exact.h>
#include <simulator/Face.h>
#include <simulator/Wheel.h>

namespace telvane {

class Light {
public:
    /// \param time     of the frame, in camera frames
    Light(const WheelScene& s, double time)
        : width(s.width), height(s.height), uneven(s.uneven), vignette(s.vignette), highlight(s.highlight),
          shadow(s.shadow), level(s.gain)
    {
        if (s.flicker > 0) level *= 1 + s.flicker * Sine(time / s.flickerPeriod);
        simple =
            !(vignette > 0) && !(highlight.radius > 0) && !(shadow.radius > 0) && !(level < 1 || level > 1);
    }

    /// The grey level v of a thing seen at (x, y), in this light.
    double On(double v, double x, double y) const
    {
        const double lightX = x / width, lightY = y / height;
        v *= 1 - uneven * (lightX * lightX + lightY * lightY) / 2;
        if (simple) return v;
        const double fromX = x - width / 2, fromY = y - height / 2;
        v *= 1 - vignette * ((fromX * fromX + fromY * fromY) / ((width * width + height * height) / 4));
        v *= 1 + highlight.strength / metalGrey * Profile(highlight, x, y);
        v *= 1 - shadow.strength * Profile(shadow, x, y);
        return v * level;
    }

private:
    /// 1 in the middle of a spot, falling smoothly to 0 at its edge.
    static double Profile(const WheelSpot& spot, double x, double y)
    {
        if (!(spot.radius > 0)) return 0;
        const double dx = x - spot.x, dy = y - spot.y,
                     part = (dx * dx + dy * dy) / (spot.radius * spot.radius);
        return part < 1 ? (1 - part) * (1 - part) : 0;
    }

    double width, height;
    double uneven, vignette;
    WheelSpot highlight, shadow;
    double level; // of all light
    bool simple;  // nothing but the fall from corner to corner
};

} // namespace telvane

#endif
