// Frames that are lost or repeated, the wheel's angle.
#include <simulator/Motion.h>

#include <algorithm>
#include <cmath>

namespace telvane {

namespace {

bool Holds(const std::vector<int>& frames, std::int64_t frame)
{
    return std::find(frames.begin(), frames.end(), frame) != frames.end();
}

} // namespace

std::int64_t ShownFrame(const WheelScene& scene, int frame)
{
    if (scene.lost.empty() && scene.repeated.empty()) return frame;
    std::vector<int> lost = scene.lost;
    std::sort(lost.begin(), lost.end());
    lost.erase(std::unique(lost.begin(), lost.end()), lost.end());
    for (std::int64_t number = frame;; number--) {
        std::int64_t shown = number;
        for (const int gone : lost) shown += gone <= shown;
        // In the place of a repeated frame stands what was delivered before it.
        if (number == 0 || !Holds(scene.repeated, shown)) return shown;
    }
}

double AngleAt(const WheelScene& scene, double time)
{
    double angle = scene.startAngle + scene.degreesPerFrame * time;
    if (scene.ramp != 0) angle += scene.ramp * time * time / 2;
    for (const WheelJerk& jerk : scene.jerks)
        if (time > jerk.frame - 0.5) angle += jerk.degrees; // halfway from the frame before
    return angle;
}

Vector RingCentre(const WheelScene& scene, double angle)
{
    if (!(scene.eccentricity > 0)) return {};
    return Towards(scene.eccentricDirection + angle - scene.startAngle, scene.eccentricity);
}

int Instants(const WheelScene& scene, double time)
{
    if (!(scene.exposure > 0)) return 1;
    const double half = scene.exposure / 2;
    const double turned = std::fabs(AngleAt(scene, time + half) - AngleAt(scene, time - half));
    const double discMoves = scene.disc.radius > 0 ? std::fabs(scene.disc.dx) + std::fabs(scene.disc.dy) : 0;
    const double moved = std::max<double>(turned * (pi / 180) * (scene.outerR + scene.eccentricity),
                                          discMoves * scene.exposure);
    // Edges are spread over 2.5 pixels; steps of one pixel leave no ripples.
    return moved < mostInstants - 2 ? 2 + static_cast<int>(moved) : mostInstants;
}

} // namespace telvane
