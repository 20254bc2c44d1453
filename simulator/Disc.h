// The striped disc at one time.
#ifndef SIMULATOR_DISC_H
#define SIMULATOR_DISC_H

#include <simulator/Exact.h>
#include <simulator/Face.h>
#include <simulator/Wheel.h>

#include <cmath>

namespace telvane {

class Disc {
public:
    /// \param time     in camera frames
    Disc(const WheelDisc& d, double time)
        : radius(d.radius), reach(d.radius + edgeWidth), period(2 * d.stripe)
    {
        const double step = time - std::floor(time / (2 * d.travel)) * (2 * d.travel);
        const double way = step < d.travel ? step : 2 * d.travel - step;
        middleX = d.x + d.dx * way;
        middleY = d.y + d.dy * way;
        const double speed = std::sqrt(d.dx * d.dx + d.dy * d.dy);
        if (speed > 0) {
            alongX = d.dx / speed;
            alongY = d.dy / speed;
        }
    }

    /// Draws over the grey level v of the place (x, y).
    double Over(double v, double x, double y) const
    {
        const double dx = x - middleX, dy = y - middleY, r2 = dx * dx + dy * dy;
        if (!(r2 < reach * reach)) return v;
        const double fromDark = std::fabs(Fraction((dx * alongX + dy * alongY) / period) - 0.5);
        const double face = Mix(backdropGrey, lightStripe, Coverage((fromDark - 0.25) * period));
        return Mix(v, face, Coverage(radius - std::sqrt(r2)));
    }

private:
    static constexpr double lightStripe = 206;

    double radius, reach, period;
    double middleX = 0, middleY = 0;
    double alongX = 1, alongY = 0; // unit vector across the stripes
};

} // namespace telvane

#endif
