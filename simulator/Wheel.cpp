// Drawing of the wheel: geometry, shutter, lens, light and sensor, in this order.
//
// Every pixel is drawn at its middle, from distances to edges, which are spread over some pixels. What has no
// closed form, an exposure and side walls, is drawn at several instants and depths where an edge is near.

#include <simulator/Wheel.h>

#include <simulator/Disc.h>
#include <simulator/Exact.h>
#include <simulator/Face.h>
#include <simulator/Light.h>
#include <simulator/Motion.h>
#include <simulator/Sensor.h>
#include <simulator/Surface.h>
#include <simulator/View.h>

#include <algorithm>
#include <array>
#include <cmath>

namespace telvane {

namespace {

/// How far a turn by `degrees` goes into a pattern of `parts` equal parts, as a fraction of one part.
double Phase(double degrees, int parts) { return Fraction(degrees * parts / 360); }

Pose PoseAt(const WheelScene& scene, double angle)
{
    return {Phase(angle, scene.teeth), Phase(angle, scene.spokes), RingCentre(scene, angle),
            Cosine(angle / 360), Sine(angle / 360)};
}

/// The wheel stands straight before a perfect camera: the pixel itself is the place on its face.
bool StraightOn(const WheelScene& s, std::int64_t frame)
{
    const bool thick = s.thickness > 0 && s.distance > 0;
    const bool pushed = frame >= s.push.frame && (s.push.dx != 0 || s.push.dy != 0);
    return !(s.tilt > 0) && !thick && !(s.eccentricity > 0) && s.lens == 0 && !(s.exposure > 0) &&
           !(s.rolling > 0) && !pushed && s.scratches == 0 && s.dirt == 0 && !(s.texture > 0);
}

class StraightDrawing {
public:
    StraightDrawing(const WheelScene& scene, double time)
        : s(scene), face(scene), pose(PoseAt(scene, AngleAt(scene, time))), disc(scene.disc, time),
          reach(scene.outerR + edgeWidth)
    {
    }

    void StartRow(int row) { y = row; }

    double At(int x) const
    {
        const double dx = x - s.centreX, dy = y - s.centreY, r2 = dx * dx + dy * dy;
        double v = backdropGrey;
        if (r2 < reach * reach) {
            Polar polar;
            polar.r = std::sqrt(r2);
            polar.turns = Turns(dx, dy);
            v = Face::Front(v, face.At(polar, pose));
        }
        return s.disc.radius > 0 ? disc.Over(v, x, y) : v;
    }

    double LightX(int x) const { return x; }
    double LightY() const { return y; }

private:
    const WheelScene& s;
    const Face face;
    const Pose pose;
    const Disc disc;
    const double reach;
    int y = 0;
};

class FullDrawing {
public:
    FullDrawing(const WheelScene& scene, std::int64_t frame)
        : s(scene), time(static_cast<double>(frame)), view(scene), face(scene), surface(scene),
          texture(scene.texture)
    {
        if (frame >= s.push.frame) push = {s.push.dx, s.push.dy};
    }

    void StartRow(int row)
    {
        y = row;
        // The last row is exposed by this share of the frame time later than the first.
        if (row > 0 && !(s.rolling > 0)) return;
        const double middle = time + (row > 0 ? s.rolling * row / (s.height - 1) : 0);
        count = Instants(s, middle);
        discs.clear();
        for (int i = 0; i < count; i++) {
            const double at = count > 1 ? middle + s.exposure * ((i + 0.5) / count - 0.5) : middle;
            poses[static_cast<std::size_t>(i)] = PoseAt(s, AngleAt(s, at));
            if (s.disc.radius > 0) discs.emplace_back(s.disc, at);
        }
        const double half = s.exposure / 2;
        turned = std::fabs(AngleAt(s, middle + half) - AngleAt(s, middle - half)) * (pi / 180);
    }

    double At(int x) const
    {
        const Sight sight = view.At(LightX(x), LightY());
        double v = backdropGrey;
        if (!texture.Smooth()) v += texture.At(sight.sceneX, sight.sceneY);
        if (sight.meets) v = Wheel(v, sight);
        if (!discs.empty()) {
            double sum = 0;
            for (const Disc& disc : discs) sum += disc.Over(v, sight.sceneX, sight.sceneY);
            v = sum / count;
        }
        return v;
    }

    double LightX(int x) const { return x - push.x; }
    double LightY() const { return y - push.y; }

private:
    /// The wheel before the grey level of the backdrop, on average over the exposure.
    double Wheel(double backdrop, const Sight& sight) const
    {
        // The sight passes the wheel from front to back; where it comes nearest to the axis it must come near
        // enough.
        const double slideX = sight.slideX * s.thickness, slideY = sight.slideY * s.thickness;
        const double square = slideX * slideX + slideY * slideY, slide = std::sqrt(square);
        const double back = -(sight.x * slideX + sight.y * slideY);
        const double part = back > 0 ? (back < square ? back / square : 1) : 0;
        const double nearX = sight.x + part * slideX, nearY = sight.y + part * slideY;
        const double pixel =
            std::fabs(sight.xx) + std::fabs(sight.xy) + std::fabs(sight.yx) + std::fabs(sight.yy);
        const double reach = s.outerR + s.eccentricity + edgeWidth * pixel;
        if (!(nearX * nearX + nearY * nearY < reach * reach)) return backdrop;

        Polar polar = PolarOn(sight, poses[0]);
        const Insides first = face.At(polar, poses[0]);
        // Far from every edge only what lies on the face changes within the exposure, and no wall is seen.
        const double moved = turned * (polar.r + 2 * s.eccentricity) * polar.across;
        if (face.Same(first, moved, slide * std::max<double>(polar.radial, polar.across)))
            return Face::Front(backdrop, first, GreysOn(sight));

        double sum = 0;
        for (int i = 0; i < count; i++) {
            const Pose& pose = poses[static_cast<std::size_t>(i)];
            if (i > 0 && s.eccentricity > 0) polar = PolarOn(sight, pose);
            const Insides in = i > 0 ? face.At(polar, pose) : first;
            sum += Face::Front(backdrop, in, GreysOn(sight, pose));
            const double shift = slide * std::max<double>(polar.radial, polar.across);
            if (slide > 0 && !face.Same(in, 0, shift)) sum += face.Walls(in, sight, pose, backdrop);
        }
        return sum / count;
    }

    /// The face's grey levels with what lies on it.
    Greys GreysOn(const Sight& sight, const Pose& pose) const
    {
        Greys greys;
        if (surface.Clean()) return greys;
        const Vector at = pose.FromRing(sight);
        const Marks marks =
            surface.At(at.x * pose.cosine + at.y * pose.sine, at.y * pose.cosine - at.x * pose.sine);
        greys.metal = Mix(greys.metal, scratchGrey, marks.scratch) * (1 - marks.dirt);
        greys.hub = Mix(greys.hub, scratchGrey, marks.scratch) * (1 - marks.dirt);
        return greys;
    }

    /// The same on average over the exposure.
    Greys GreysOn(const Sight& sight) const
    {
        if (surface.Clean()) return {};
        Greys sum{0, 0};
        for (int i = 0; i < count; i++) {
            const Greys greys = GreysOn(sight, poses[static_cast<std::size_t>(i)]);
            sum.metal += greys.metal;
            sum.hub += greys.hub;
        }
        return {sum.metal / count, sum.hub / count};
    }

    static constexpr double scratchGrey = 240;

    const WheelScene& s;
    const double time;
    const View view;
    const Face face;
    const Surface surface;
    const Texture texture;
    Vector push;
    std::array<Pose, mostInstants> poses;
    std::vector<Disc> discs;
    double turned = 0; // within the exposure, as an angle in radians
    int count = 1;     // of instants
    int y = 0;
};

/// Draws, lights and reads every pixel of a frame.
template <class Drawing>
void DrawFrame(const WheelScene& s, std::int64_t frame, Drawing drawing, unsigned char* grey)
{
    const Light light(s, static_cast<double>(frame));
    const Sensor sensor(s, frame);
    unsigned char* pixel = grey;
    for (int y = 0; y < s.height; y++) {
        drawing.StartRow(y);
        const double ofRow = sensor.OfRow(y);
        for (int x = 0; x < s.width; x++)
            *pixel++ = sensor.Read(light.On(drawing.At(x), drawing.LightX(x), drawing.LightY()), x, y, ofRow);
    }
    sensor.Heat(grey, s.width, s.height);
}

} // namespace

void RenderWheel(const WheelScene& scene, int number, unsigned char* grey)
{
    const std::int64_t frame = ShownFrame(scene, number);
    if (StraightOn(scene, frame))
        DrawFrame(scene, frame, StraightDrawing(scene, static_cast<double>(frame)), grey);
    else DrawFrame(scene, frame, FullDrawing(scene, frame), grey);
}

WheelTruth TruthOf(const WheelScene& scene, int number)
{
    const View view(scene);
    const Vector ring = RingCentre(scene, AngleOf(scene, number));
    return {view.Seen(0, 0), view.Seen(ring.x, ring.y), view.EllipseCentre(ring.x, ring.y, scene.outerR)};
}

WheelPlace SeenAt(const WheelScene& scene, double x, double y) { return View(scene).Seen(x, y); }

double AngleOf(const WheelScene& scene, int number)
{
    return AngleAt(scene, static_cast<double>(ShownFrame(scene, number)));
}

} // namespace telvane
