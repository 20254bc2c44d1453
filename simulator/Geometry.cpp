// The region around the true centre, the radii as they are seen, the rectangle that hides the disc.
#include <simulator/Geometry.h>

#include <simulator/View.h>
#include <tools/Numbers.h>

#include <algorithm>
#include <cmath>

namespace telvane {

namespace {

/// One axis of the output region: `before` pixels lie in front of the centre and `size` in all. The region is
/// cut so that it stays inside the picture with pixels to spare even if detection errs by a few.
void PlaceRegion(double centre, int pictureSize, int half, int& before, int& size)
{
    const int spare = 10, middle = static_cast<int>(std::floor(centre));
    const int room = pictureSize - 1 - spare - middle;
    before = middle - spare < half ? middle - spare : half;
    size = before + (room < half ? room : half);
}

/// The rectangle to blank so that nothing of the disc is seen. Telvane cuts its corners off by 2/7 of the
/// shorter side: just right for a disc that moves along one axis, while a slanting path needs room all round.
/// \return false if it does not fit into the picture
bool DiscMask(const WheelScene& scene, Box& mask)
{
    const WheelDisc& d = scene.disc;
    const double pathX = d.dx * d.travel, pathY = d.dy * d.travel;
    const double slant = std::fmin(std::fabs(pathX), std::fabs(pathY));
    const double margin = d.radius + 4 + 0.2 * slant;
    double left = std::fmin(d.x, d.x + pathX) - margin, right = std::fmax(d.x, d.x + pathX) + margin;
    double top = std::fmin(d.y, d.y + pathY) - margin, bottom = std::fmax(d.y, d.y + pathY) + margin;
    // The lens carries it outward or inward, most at a corner, and a push carries it away.
    const View view(scene);
    const WheelPlace corners[] = {view.ThroughLens(left, top), view.ThroughLens(right, top),
                                  view.ThroughLens(left, bottom), view.ThroughLens(right, bottom)};
    for (const WheelPlace& corner : corners) {
        left = std::fmin(left, corner.x);
        right = std::fmax(right, corner.x);
        top = std::fmin(top, corner.y);
        bottom = std::fmax(bottom, corner.y);
    }
    left = std::floor(left + std::fmin(scene.push.dx, 0));
    right = std::ceil(right + std::fmax(scene.push.dx, 0));
    top = std::floor(top + std::fmin(scene.push.dy, 0));
    bottom = std::ceil(bottom + std::fmax(scene.push.dy, 0));
    if (left < 0 || top < 0 || right > scene.width - 1 || bottom > scene.height - 1) return false;
    mask = {static_cast<int>(left), static_cast<int>(top), static_cast<int>(right - left) + 1,
            static_cast<int>(bottom - top) + 1};
    return true;
}

/// The mean distance from the true centre at which a circle around the axis is seen.
double SeenRadius(const WheelScene& scene, double radius)
{
    if (!(scene.tilt > 0) && scene.lens == 0) return radius;
    const View view(scene);
    const WheelPlace centre = view.Seen(0, 0);
    const int points = 360;
    double sum = 0;
    for (int i = 0; i < points; i++) {
        const Vector at = Towards(i, radius);
        const WheelPlace seen = view.Seen(at.x, at.y);
        const double dx = seen.x - centre.x, dy = seen.y - centre.y;
        sum += std::sqrt(dx * dx + dy * dy);
    }
    return sum / points;
}

} // namespace

std::string Measure(const WheelScene& scene, Geometry& geometry)
{
    const WheelPlace centre = TruthOf(scene, 0).axis;
    const double border = 30;
    if (!(centre.x >= border && centre.x <= scene.width - 1 - border && centre.y >= border &&
          centre.y <= scene.height - 1 - border))
        return "--centre must lie at least 30 pixels within the picture of 1280 x 960, not at " +
               NumberText(centre.x) + "," + NumberText(centre.y);
    geometry.mask = {};
    if (scene.disc.radius > 0 && !DiscMask(scene, geometry.mask))
        return "--disc must keep within the picture all the way, with some room to the edges";

    // Telvane takes whole numbers; of the speed only the sign counts, and there too clockwise is positive:
    // the second sweep of the flow turns its vectors round, and the votes go to the side that fits this.
    const double most = 2000000000;
    geometry.innerR = static_cast<int>(std::fmin(std::rint(SeenRadius(scene, scene.innerR)), most));
    geometry.outerR = static_cast<int>(
        std::fmin(std::fmax(std::rint(SeenRadius(scene, scene.outerR)), geometry.innerR + 1.0), most + 1));
    geometry.sense = scene.degreesPerFrame > 0 ? 1 : scene.degreesPerFrame < 0 ? -1 : 0;
    Box& region = geometry.region;
    PlaceRegion(centre.x, scene.width, 150, geometry.cx, region.width);
    PlaceRegion(centre.y, scene.height, 130, geometry.cy, region.height);
    region.left = static_cast<int>(std::rint(centre.x - geometry.cx));
    region.top = static_cast<int>(std::rint(centre.y - geometry.cy));

    const int outerR = geometry.outerR;
    geometry.ringInside = centre.x - outerR >= 2 && centre.x + outerR <= scene.width - 3 &&
                          centre.y - outerR >= 2 && centre.y + outerR <= scene.height - 3;
    return "";
}

} // namespace telvane
