// How the wheel stands before the camera: tilt, perspective, thickness, eccentricity and the lens, against
// projections that are written out here.

#include <tests/simulator/Drawn.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <string>

namespace {

struct Point {
    double x, y;
};

/// A place on the wheel, `depth` behind its front face, turned about the axis across the tilt, seen from the
/// distance and bent by the lens.
Point Projected(const WheelScene& s, double x, double y, double depth = 0)
{
    const double direction = s.tiltDirection / 360 * circle, angle = s.tilt / 360 * circle;
    // Rodrigues' formula, about the axis k in the picture; k x (direction) points away from the camera.
    const double kx = std::sin(direction), ky = -std::cos(direction);
    const double along = (kx * x + ky * y) * (1 - std::cos(angle));
    const double c = std::cos(angle), sine = std::sin(angle);
    double px = x * c + ky * depth * sine + kx * along;
    double py = y * c - kx * depth * sine + ky * along;
    const double pz = depth * c + (kx * y - ky * x) * sine;
    px += s.centreX - 640;
    py += s.centreY - 480;
    if (s.distance > 0) {
        px *= s.distance / (s.distance + pz);
        py *= s.distance / (s.distance + pz);
    }
    const double bend = 1 + s.lens * (px * px + py * py) / (800 * 800);
    return {640 + px * bend, 480 + py * bend};
}

/// A place on the front or behind it, at an angle in degrees and a distance from the ring's centre in camera
/// frame 0.
Point OnRing(const WheelScene& s, double degrees, double r, double depth = 0)
{
    const double off = s.eccentricDirection / 360 * circle, angle = degrees / 360 * circle;
    return Projected(s, s.eccentricity * std::cos(off) + r * std::cos(angle),
                     s.eccentricity * std::sin(off) + r * std::sin(angle), depth);
}

/// Flanks, tips, roots and the hub's edge lie where they are projected to, within a tenth of a pixel.
void ExpectEdges(const WheelScene& s, const std::string& what)
{
    const Bytes grey = Draw(s, 0);
    double worst = 0;
    const auto look = [&](double degrees, double r, double one, double other) {
        const Point p = OnRing(s, degrees, r);
        worst = std::max(worst, std::abs(EdgeError(s, grey, p.x, p.y, one, other)));
    };
    // Tooth i reaches from 9 i - 2.25 to 9 i + 2.25 degrees. With walls, a flank may not stand against the
    // backdrop.
    for (int tooth = 0; tooth < 40; tooth++) {
        if (!(s.thickness > 0)) {
            look(9 * tooth - 2.25, 238, metalLevel, backdropLevel);
            look(9 * tooth + 2.25, 228, metalLevel, backdropLevel);
            look(9 * tooth, 250, metalLevel, backdropLevel);
            look(9 * tooth + 4.5, 216, metalLevel, backdropLevel);
        }
        look(9 * tooth, 60, metalLevel, hubLevel);
    }
    EXPECT_LT(worst, 0.1) << what;
}

TEST(View, EdgesLieWhereTheyAreProjectedTo)
{
    WheelScene s = Plain();
    ExpectEdges(s, "straight on");
    s.tilt = 25;
    s.tiltDirection = 30;
    ExpectEdges(s, "tilt alone");
    s.distance = 1500;
    ExpectEdges(s, "tilt seen from near");
    s.tiltDirection = -120;
    s.centreX = 500;
    s.centreY = 560;
    ExpectEdges(s, "tilt to the other side, off the middle");
    s.lens = 0.1;
    ExpectEdges(s, "tilt and lens");
    s.eccentricity = 12;
    s.eccentricDirection = 200;
    ExpectEdges(s, "tilt, lens and eccentricity");
    s.thickness = 30;
    ExpectEdges(s, "thickness as well");
}

TEST(View, EdgesLieWhereTheLensShowsThem)
{
    WheelScene s = Plain();
    s.centreX = 390;
    for (double k1 : {-0.1, 0.02, 0.1, 0.5}) {
        s.lens = k1;
        s.centreX = k1 > 0.3 ? 600 : 390;
        ExpectEdges(s, std::to_string(k1));
    }
}

TEST(View, TiltMovesItsDirectionAway)
{
    WheelScene s = Plain();
    s.tilt = 20;
    s.tiltDirection = 0;
    s.distance = 1000;
    // The right side is further away and looks smaller.
    const double right = Projected(s, 250, 0).x - s.centreX, left = s.centreX - Projected(s, -250, 0).x;
    ASSERT_LT(right + 20, left);
    const Bytes grey = Draw(s, 0);
    EXPECT_NEAR(EdgeError(s, grey, s.centreX + right, s.centreY, metalLevel, backdropLevel), 0, 0.1);
    EXPECT_NEAR(EdgeError(s, grey, s.centreX - left, s.centreY, metalLevel, backdropLevel), 0, 0.1);
}

TEST(View, WallsReachToTheBackFace)
{
    WheelScene s = Plain();
    s.tilt = 15;
    s.tiltDirection = 70;
    s.distance = 1200;
    s.thickness = 45;
    const Bytes grey = Draw(s, 0);
    int seen = 0;
    for (int tooth = 0; tooth < 40; tooth++)
        for (double side : {-2.25, 2.25}) {
            const double degrees = 9 * tooth + side, angle = degrees / 360 * circle, r = 236;
            const Point front = OnRing(s, degrees, r), back = OnRing(s, degrees, r, s.thickness);
            // How far the back flank stands out beside the front one.
            const Point further = OnRing(s, degrees, r + 10);
            const double ux = (further.x - front.x), uy = (further.y - front.y), length = std::hypot(ux, uy);
            const double across = ((back.y - front.y) * ux - (back.x - front.x) * uy) / length;
            const double out = side > 0 ? across : -across;
            const double along = ((back.x - front.x) * ux + (back.y - front.y) * uy) / length;
            if (out < 5 || out > 11 || std::abs(along) > 8) continue;
            seen++;
            EXPECT_NEAR(EdgeError(s, grey, back.x, back.y, wallLevel, backdropLevel), 0, 0.15) << degrees;
            EXPECT_NEAR(EdgeError(s, grey, front.x, front.y, metalLevel, wallLevel), 0, 0.15) << degrees;
            const Point middle = {(front.x + back.x) / 2, (front.y + back.y) / 2};
            EXPECT_NEAR(Between(s, grey, middle.x, middle.y), wallLevel, 1) << angle;
        }
    EXPECT_GT(seen, 6);
}

TEST(View, ThicknessShowsNothingStraightOn)
{
    WheelScene s;
    const Bytes flat = Draw(s, 0);
    s.thickness = 100;
    EXPECT_TRUE(Draw(s, 0) == flat);
    s.distance = 1000;
    EXPECT_FALSE(Draw(s, 0) == flat) << "in perspective, walls show beside the middle";
    s.thickness = 0;
    EXPECT_TRUE(Draw(s, 0) == flat) << "the distance changes nothing in the plane of the front face";
}

TEST(View, BothWaysOfDrawingAgree)
{
    WheelScene s = Plain();
    s.disc = {130, 140, 50, 5, -3, 20, 16};
    const Bytes straight = Draw(s, 3);
    s.lens = 1e-12;
    const Bytes full = Draw(s, 3);
    for (std::size_t i = 0; i < full.size(); i++) ASSERT_LE(std::abs(full[i] - straight[i]), 1) << i;
}

TEST(View, RingTurnsAboutTheAxis)
{
    WheelScene s = Plain();
    s.spokes = 0;
    s.hubR = 0;
    s.eccentricity = 5;
    s.eccentricDirection = 90;
    s.degreesPerFrame = 30;
    for (int frame : {0, 1, 3, 7}) {
        const Bytes grey = Draw(s, frame);
        double sum = 0, sumX = 0, sumY = 0;
        for (int y = 0; y < s.height; y++)
            for (int x = 0; x < s.width; x++) {
                const double v = grey[std::size_t(y) * s.width + x] - backdropLevel;
                sum += v;
                sumX += v * x;
                sumY += v * y;
            }
        const double angle = (90 + 30 * frame) / 360.0 * circle;
        EXPECT_NEAR(sumX / sum, s.centreX + 5 * std::cos(angle), 0.02) << frame;
        EXPECT_NEAR(sumY / sum, s.centreY + 5 * std::sin(angle), 0.02) << frame;
        const telvane::WheelTruth truth = TruthOf(s, frame);
        EXPECT_NEAR(truth.ring.x, s.centreX + 5 * std::cos(angle), 1e-9);
        EXPECT_NEAR(truth.ring.y, s.centreY + 5 * std::sin(angle), 1e-9);
        EXPECT_EQ(truth.axis.x, s.centreX);
        EXPECT_EQ(truth.axis.y, s.centreY);
    }
}

TEST(View, TruthIsAsTheLensShowsIt)
{
    WheelScene s;
    s.centreX = 240;
    s.centreY = 730;
    s.lens = 0.1;
    s.tilt = 10;
    s.distance = 3000;
    s.push = {0, 5, 5}; // it says what holds before a push
    const double bend = 1 + 0.1 * (400.0 * 400 + 250 * 250) / (800 * 800);
    EXPECT_NEAR(TruthOf(s, 0).axis.x, 640 - 400 * bend, 1e-9);
    EXPECT_NEAR(TruthOf(s, 0).axis.y, 480 + 250 * bend, 1e-9);
}

TEST(View, EllipseCentreIsTheMiddleOfTheProjectedCircle)
{
    WheelScene s;
    s.tilt = 30;
    s.tiltDirection = 25;
    s.distance = 1100;
    s.eccentricity = 7;
    s.eccentricDirection = -60;
    double left = 1e9, right = -1e9, top = 1e9, bottom = -1e9;
    for (int i = 0; i < 360000; i++) {
        const Point p = OnRing(s, i / 1000.0, s.outerR);
        left = std::min(left, p.x);
        right = std::max(right, p.x);
        top = std::min(top, p.y);
        bottom = std::max(bottom, p.y);
    }
    const telvane::WheelTruth truth = TruthOf(s, 0);
    EXPECT_NEAR(truth.ellipse.x, (left + right) / 2, 1e-6);
    EXPECT_NEAR(truth.ellipse.y, (top + bottom) / 2, 1e-6);
    const Point ring = OnRing(s, 0, 0);
    EXPECT_NEAR(truth.ring.x, ring.x, 1e-9);
    EXPECT_NEAR(truth.ring.y, ring.y, 1e-9);
    EXPECT_GT(std::hypot(ring.x - truth.ellipse.x, ring.y - truth.ellipse.y), 10);
    const telvane::WheelPlace seen = SeenAt(s, 100, -50);
    const Point projected = Projected(s, 100, -50);
    EXPECT_NEAR(seen.x, projected.x, 1e-9);
    EXPECT_NEAR(seen.y, projected.y, 1e-9);
}

} // namespace
