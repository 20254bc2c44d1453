// Projection of the wheel's face and its inverse, and the lens.
#include <simulator/View.h>

#include <algorithm>

namespace telvane {

Lens::Lens(double bend, double halfDiagonal) : k1(bend), perSquare(1 / (halfDiagonal * halfDiagonal)), start{}
{
    // Newton's method, each value from the one before.
    double f = 1;
    for (int i = 0; i < steps + 2; i++) {
        const double a = k1 * (furthest / steps * i);
        for (int n = 0; n < 8; n++) {
            const double slope = 1 + 3 * a * f * f;
            if (slope > 0.05) f -= (f * (1 + a * f * f) - 1) / slope;
        }
        start[static_cast<std::size_t>(i)] = f;
    }
}

double Lens::Factor(double s) const
{
    const double at = std::min<double>(s, furthest) * (steps / furthest), below = std::floor(at);
    const auto i = static_cast<std::size_t>(below);
    double f = start[i] + (start[i + 1] - start[i]) * (at - below);
    // One more step of Newton's method takes what interpolation leaves, some 1e-6, below 1e-11.
    const double a = k1 * std::min<double>(s, furthest), slope = 1 + 3 * a * f * f;
    if (slope > 0.05) f -= (f * (1 + a * f * f) - 1) / slope;
    return f;
}

Vector Lens::Seen(Vector place) const
{
    const double factor = 1 + k1 * ((place.x * place.x + place.y * place.y) * perSquare);
    return {place.x * factor, place.y * factor};
}

Lens::Origin Lens::Of(double x, double y) const
{
    const double s = (x * x + y * y) * perSquare, f = Factor(s);
    const double cube = k1 * f * f * f, slope = 1 + 3 * k1 * s * f * f;
    const double change = slope > 0.05 ? -2 * perSquare * cube / slope : 0; // 2 df/ds / half diagonal^2
    return {x * f, y * f, f + x * x * change, x * y * change, x * y * change, f + y * y * change};
}

View::View(const WheelScene& scene)
    : middleX(scene.width / 2.0), middleY(scene.height / 2.0), centreX(scene.centreX - middleX),
      centreY(scene.centreY - middleY), perDistance(scene.distance > 0 ? 1 / scene.distance : 0),
      lens(scene.lens, std::sqrt(middleX * middleX + middleY * middleY))
{
    const Vector to = Towards(scene.tiltDirection, 1);
    const double c = Cosine(scene.tilt / 360), s = Sine(scene.tilt / 360);
    // The direction of the tilt becomes (c to, s), the one across stays (-to.y, to.x, 0).
    alongX = {c * to.x * to.x + to.y * to.y, (c - 1) * to.x * to.y, s * to.x};
    alongY = {(c - 1) * to.x * to.y, c * to.y * to.y + to.x * to.x, s * to.y};
    away = {-s * to.x, -s * to.y, c};
}

Sight View::At(double column, double row) const
{
    double x = column - middleX, y = row - middleY;
    Lens::Origin o{x, y, 1, 0, 0, 1};
    if (lens.Bends()) {
        o = lens.Of(x, y);
        x = o.x;
        y = o.y;
    }
    Sight sight;
    sight.sceneX = x + middleX;
    sight.sceneY = y + middleY;

    // From the wheel's centre, the sight runs through (x - centreX, y - centreY, 0) along `ray`.
    const Direction ray{x * perDistance, y * perDistance, 1}, base{x - centreX, y - centreY, 0};
    const double facing = Product(ray, away);
    if (!(facing > 0.02)) return sight;
    const double reach =
        -Product(base, away) / facing;            // to the front face, as far as it goes away from the camera
    const double scale = 1 + reach * perDistance; // by which the face lies further away than the centre
    if (!(scale > 0.02)) return sight;

    sight.meets = true;
    sight.x = Product(base, alongX) + reach * Product(ray, alongX);
    sight.y = Product(base, alongY) + reach * Product(ray, alongY);
    sight.slideX = Product(ray, alongX) / facing;
    sight.slideY = Product(ray, alongY) / facing;
    const double xx = scale * (alongX.x - away.x * sight.slideX),
                 xy = scale * (alongX.y - away.y * sight.slideX);
    const double yx = scale * (alongY.x - away.x * sight.slideY),
                 yy = scale * (alongY.y - away.y * sight.slideY);
    sight.xx = xx * o.xx + xy * o.yx;
    sight.xy = xx * o.xy + xy * o.yy;
    sight.yx = yx * o.xx + yy * o.yx;
    sight.yy = yx * o.xy + yy * o.yy;
    return sight;
}

WheelPlace View::Seen(double x, double y) const
{
    const double scale = 1 + perDistance * (x * alongX.z + y * alongY.z);
    return ThroughLens(middleX + (centreX + x * alongX.x + y * alongY.x) / scale,
                       middleY + (centreY + x * alongX.y + y * alongY.y) / scale);
}

WheelPlace View::ThroughLens(double x, double y) const
{
    if (!lens.Bends()) return {x, y};
    const Vector seen = lens.Seen({x - middleX, y - middleY});
    return {middleX + seen.x, middleY + seen.y};
}

WheelPlace View::EllipseCentre(double a, double b, double radius) const
{
    // The pole of the line at infinity: with the projection H as a matrix and the circle's dual conic C, H C
    // H^T.
    const double h0 = perDistance * alongX.z, h1 = perDistance * alongY.z, q = radius * radius;
    const double x = (a * a - q) * h0 + a * b * h1 + a;
    const double y = a * b * h0 + (b * b - q) * h1 + b;
    const double w = a * h0 + b * h1 + 1;
    const double depth = h0 * x + h1 * y + w;
    return ThroughLens(middleX + (alongX.x * x + alongY.x * y + centreX * w) / depth,
                       middleY + (alongX.y * x + alongY.y * y + centreY * w) / depth);
}

} // namespace telvane
