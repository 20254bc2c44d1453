// The marks on a previewed frame: the scene's own geometry, as the lens shows it.
#include <simulator/Preview.h>

#include <marks/Marks.h>
#include <simulator/Motion.h>
#include <simulator/View.h>
#include <tools/Canvas.h>
#include <tools/Markup.h>

#include <vector>

namespace telvane {

namespace {

Place PlaceOf(const WheelPlace& place) { return {place.x, place.y}; }

Region RegionOf(const Box& box) { return {box.left, box.top, box.width, box.height}; }

/// A circle around the ring's centre, as it is seen.
std::vector<Place> Seen(const View& view, const Vector& ring, double radius)
{
    std::vector<Place> places;
    for (int degrees = 0; degrees < 360; degrees += 2) {
        const Vector at = Towards(degrees, radius);
        places.push_back(PlaceOf(view.Seen(ring.x + at.x, ring.y + at.y)));
    }
    return places;
}

Marks MarksOf(const WheelScene& scene, int frame, const Geometry& geometry)
{
    const View view(scene);
    const double turned = AngleOf(scene, frame);
    const Vector ring = RingCentre(scene, turned);
    const Place axis = PlaceOf(view.Seen(0, 0)), ringSeen = PlaceOf(view.Seen(ring.x, ring.y));

    Marks marks;
    marks.asArguments = true;
    marks.scale = true;
    marks.angles = AngleMarks{0, 360};
    marks.cross = axis;
    marks.region = RegionOf(geometry.region);
    marks.centreInRegion = CentreInRegion{geometry.cx, geometry.cy};
    marks.given = RingMark{ringSeen, geometry.innerR * 1.0, geometry.outerR * 1.0, {}, {}};
    if (scene.tilt > 0 || scene.lens != 0) {
        marks.given->innerSeen = Seen(view, ring, scene.innerR);
        marks.given->outerSeen = Seen(view, ring, scene.outerR);
    }
    if (scene.eccentricity > 0) marks.ringCentre = ringSeen;
    marks.still = geometry.sense == 0;
    marks.sense = geometry.sense > 0 ? Sense::clockwise : Sense::counterClockwise;
    if (geometry.mask.width > 0) marks.masks = {RegionOf(geometry.mask)};
    for (int i = 0; i < scene.teeth; i++) {
        const Vector at = Towards(turned + 360.0 * i / scene.teeth, (scene.innerR + scene.outerR) / 2);
        marks.teeth.push_back(PlaceOf(view.Seen(ring.x + at.x, ring.y + at.y)));
    }
    return marks;
}

} // namespace

std::string Preview(const WheelScene& scene, int frame, const Geometry& geometry)
{
    MatByte grey(scene.width, scene.height);
    RenderWheel(scene, frame, &grey(0, 0));
    MarkedPicture picture;
    picture.width = scene.width;
    picture.height = scene.height;
    picture.href = "data:image/png;base64," + Base64(GreyPng(grey));
    picture.title = "The arguments of Telvane, drawn over a frame";
    picture.description =
        "A toothed wheel with its centre, both radii, every tooth, the output region with its "
        "measures, the sense of rotation and the directions of angles marked and named.";
    return MarksSvg(MarksOf(scene, frame, geometry), picture, true);
}

} // namespace telvane
