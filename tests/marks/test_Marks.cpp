// What is drawn over a frame, by place and meaning.
#include <tests/support/Svg.h>

#include <marks/Marks.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace {

using namespace telvane;

MarkedPicture Frame()
{
    MarkedPicture picture;
    picture.width = 1280;
    picture.height = 960;
    picture.href = "img1.png";
    picture.title = "A frame";
    picture.description = "What was found";
    return picture;
}

svg::Document Drawn(const Marks& marks, bool legend = false)
{
    return svg::Document(MarksSvg(marks, Frame(), legend));
}

TEST(Marks, TheRegionEnclosesItsPixels)
{
    Marks marks;
    marks.region = Region{502, 342, 300, 260};
    const auto shapes = Drawn(marks).Shapes("region");
    ASSERT_EQ(shapes.size(), 1u);
    EXPECT_EQ(shapes[0].name, "rect");
    EXPECT_EQ(shapes[0].Number("x"), 501.5);
    EXPECT_EQ(shapes[0].Number("y"), 341.5);
    EXPECT_EQ(shapes[0].Number("width"), 300);
    EXPECT_EQ(shapes[0].Number("height"), 260);
}

TEST(Marks, AMiddleOfAPixelLiesHalfAPixelFromItsCorner)
{
    Marks marks;
    marks.cross = Place{0, 0};
    const svg::Document drawn = Drawn(marks);
    const svg::Shape& root = drawn.All().front();
    EXPECT_EQ(root.Text("viewBox"), "0 0 1280 960");
    for (const svg::Shape& shape : drawn.All())
        if (shape.name == "image") {
            EXPECT_FALSE(shape.Has("x") || shape.Has("y"));
            EXPECT_EQ(shape.Number("width"), 1280);
            EXPECT_EQ(shape.Number("height"), 960);
        }
    for (const svg::Shape& line : drawn.Shapes("found-centre")) {
        int moved = 0;
        for (const std::size_t parent : line.parents)
            if (drawn.All()[parent].Has("transform")) {
                EXPECT_EQ(drawn.All()[parent].Text("transform"), "translate(0.5 0.5)");
                moved++;
            }
        EXPECT_EQ(moved, 1);
        EXPECT_EQ(line.Number("x1"), -line.Number("x2"));
        EXPECT_EQ(line.Number("y1"), -line.Number("y2"));
    }
}

TEST(Marks, TheCrossLiesOnTheCentreFound)
{
    Marks marks;
    marks.cross = Place{652.4, 471.7};
    const auto lines = Drawn(marks).Shapes("found-centre", "line");
    ASSERT_EQ(lines.size(), 2u);
    for (const svg::Shape& line : lines) {
        EXPECT_NEAR(line.Number("x1") + line.Number("x2"), 2 * 652.4, 0.02);
        EXPECT_NEAR(line.Number("y1") + line.Number("y2"), 2 * 471.7, 0.02);
    }
    EXPECT_LT(lines[0].Number("x1"), lines[0].Number("x2"));
    EXPECT_EQ(lines[0].Number("y1"), lines[0].Number("y2"));
    EXPECT_EQ(lines[1].Number("x1"), lines[1].Number("x2"));
    EXPECT_LT(lines[1].Number("y1"), lines[1].Number("y2"));
}

RingMark Ring(double x, double y, double inner, double outer) { return {{x, y}, inner, outer, {}, {}}; }

TEST(Marks, BothRingsHaveTheirOwnCentreAndRadii)
{
    Marks marks;
    marks.given = Ring(600, 400, 150, 190);
    marks.measured = Ring(652.4, 471.7, 216.3, 250.1);
    const svg::Document drawn = Drawn(marks);
    const auto given = drawn.Shapes("given-circles", "circle");
    const auto measured = drawn.Shapes("measured-ring", "circle");
    ASSERT_EQ(given.size(), 2u);
    ASSERT_EQ(measured.size(), 2u);
    for (int i : {0, 1}) {
        EXPECT_EQ(given[i].Number("cx"), 600);
        EXPECT_EQ(given[i].Number("cy"), 400);
        EXPECT_EQ(measured[i].Number("cx"), 652.4);
        EXPECT_EQ(measured[i].Number("cy"), 471.7);
    }
    EXPECT_EQ(given[0].Number("r"), 150);
    EXPECT_EQ(given[1].Number("r"), 190);
    EXPECT_EQ(measured[0].Number("r"), 216.3);
    EXPECT_EQ(measured[1].Number("r"), 250.1);
}

TEST(Marks, ARingThatIsSeenSlantingIsDrawnAsItIsSeen)
{
    Marks marks;
    marks.given = Ring(600, 400, 150, 200);
    for (int i = 0; i < 180; i++) {
        const double angle = i * 3.14159265358979 / 90;
        marks.given->innerSeen.push_back({600 + 120 * std::cos(angle), 400 + 150 * std::sin(angle)});
        marks.given->outerSeen.push_back({600 + 160 * std::cos(angle), 400 + 200 * std::sin(angle)});
    }
    const svg::Document drawn = Drawn(marks);
    EXPECT_TRUE(drawn.Shapes("given-circles", "circle").empty());
    const auto lines = drawn.Shapes("given-circles", "path");
    ASSERT_EQ(lines.size(), 2u);
    for (int i : {0, 1}) {
        const auto places = lines[i].Places();
        ASSERT_EQ(places.size(), 180u);
        EXPECT_EQ(lines[i].Text("d").back(), 'Z');
        EXPECT_LT(svg::Distance(places[0], {i == 0 ? 720.0 : 760.0, 400}), 0.01);
        EXPECT_LT(svg::Distance(places[45], {600, i == 0 ? 550.0 : 600.0}), 0.01);
    }
}

/// The sense in which places turn about a centre: above 0 clockwise.
double Turned(svg::Point about, svg::Point from, svg::Point to)
{
    return (from.x - about.x) * (to.y - about.y) - (from.y - about.y) * (to.x - about.x);
}

TEST(Marks, TheArrowOfTheSenseTurnsWithTheWheel)
{
    for (const Sense sense : {Sense::clockwise, Sense::counterClockwise}) {
        for (const double radius : {20.0, 100.0, 250.0, 460.0, 600.0, 1000.0}) {
            for (const double x : {20.0, 640.0, 1260.0}) {
                for (const double y : {20.0, 480.0, 940.0}) {
                    Marks marks;
                    marks.measured = Ring(x, y, 0.8 * radius, radius);
                    marks.sense = sense;
                    const svg::Document drawn = Drawn(marks);
                    const auto groups = drawn.Groups("sense");
                    ASSERT_EQ(groups.size(), 1u) << radius << " at " << x << ", " << y;
                    EXPECT_EQ(groups[0].Text("data-sense"), sense == Sense::clockwise ? "cw" : "ccw");
                    const auto arc = drawn.Shapes("sense", "path"), head = drawn.Shapes("sense", "head");
                    ASSERT_EQ(arc.size(), 1u);
                    ASSERT_EQ(head.size(), 1u);
                    // The tip lies beyond the arc's end, which follows its beginning.
                    const auto places = arc[0].Places();
                    const auto triangle = head[0].Places();
                    ASSERT_EQ(triangle.size(), 3u);
                    const double sign = sense == Sense::clockwise ? 1 : -1;
                    EXPECT_GT(sign * Turned({x, y}, places.front(), places.back()), 0);
                    EXPECT_GT(sign * Turned({x, y}, places.back(), triangle[0]), 0);
                    EXPECT_GT(sign * Turned({x, y}, triangle[1], triangle[0]), 0);
                    EXPECT_GT(sign * Turned({x, y}, triangle[2], triangle[0]), 0);
                    for (const svg::Point& p : places) {
                        EXPECT_TRUE(p.x >= 0 && p.x < 1280 && p.y >= 0 && p.y < 960) << p.x << ", " << p.y;
                        EXPECT_NEAR(svg::Distance(p, {x, y}), svg::Distance(places[0], {x, y}), 0.05);
                    }
                }
            }
        }
    }
}

TEST(Marks, TheSenseIsShownAtTheMeasuredRing)
{
    Marks marks;
    marks.given = Ring(300, 300, 100, 120);
    marks.measured = Ring(900, 600, 200, 240);
    marks.sense = Sense::clockwise;
    const double fromMeasured =
        svg::Distance(Drawn(marks).Shapes("sense", "path")[0].Places()[3], {900, 600});
    EXPECT_GT(fromMeasured, 240);
    EXPECT_LT(fromMeasured, 280);
    marks.measured.reset();
    const double fromGiven = svg::Distance(Drawn(marks).Shapes("sense", "path")[0].Places()[3], {300, 300});
    EXPECT_GT(fromGiven, 120);
    EXPECT_LT(fromGiven, 160);
    marks.given.reset();
    EXPECT_TRUE(Drawn(marks).Groups("sense").empty()) << "nothing to show it at";
}

TEST(Marks, TheRotationIsAnEllipseOfTwiceItsDeviation)
{
    Marks marks;
    marks.rotation = RotationMark{{652.41, 471.69}, {12, 30}};
    svg::Document drawn = Drawn(marks, true);
    auto ellipse = drawn.Shapes("rotation-centre", "ellipse");
    ASSERT_EQ(ellipse.size(), 1u);
    EXPECT_EQ(ellipse[0].Number("cx"), 652.41);
    EXPECT_EQ(ellipse[0].Number("cy"), 471.69);
    EXPECT_EQ(ellipse[0].Number("rx"), 24);
    EXPECT_EQ(ellipse[0].Number("ry"), 60);
    EXPECT_EQ(drawn.Groups("rotation-centre")[0].Number("data-sigma-x"), 12);
    EXPECT_EQ(drawn.Groups("rotation-centre")[0].Number("data-sigma-y"), 30);
    EXPECT_EQ(drawn.Legend(),
              std::vector<std::string>{"centre of the rotation 652.41 \xC2\xB1 12, 471.69 \xC2\xB1 30"});

    // One that would not be seen is drawn larger, in the same shape, and the legend says so.
    marks.rotation->sigma = {0.04, 0.02};
    drawn = Drawn(marks, true);
    ellipse = drawn.Shapes("rotation-centre", "ellipse");
    EXPECT_EQ(ellipse[0].Number("rx"), 8);
    EXPECT_EQ(ellipse[0].Number("ry"), 4);
    EXPECT_EQ(drawn.Legend(), std::vector<std::string>{"centre of the rotation 652.41 \xC2\xB1 0.04, 471.69 "
                                                       "\xC2\xB1 0.02 (drawn larger)"});
    // Neither axis vanishes, and that is said too.
    marks.rotation->sigma = {10, 0.1};
    drawn = Drawn(marks, true);
    ellipse = drawn.Shapes("rotation-centre", "ellipse");
    EXPECT_EQ(ellipse[0].Number("rx"), 20);
    EXPECT_EQ(ellipse[0].Number("ry"), 2);
    EXPECT_NE(drawn.Legend()[0].find("(drawn larger)"), std::string::npos);
    marks.rotation->sigma = {0, 0};
    ellipse = Drawn(marks).Shapes("rotation-centre", "ellipse");
    EXPECT_EQ(ellipse[0].Number("rx"), 2);
    EXPECT_EQ(ellipse[0].Number("ry"), 2);
}

TEST(Marks, MasksHaveTheCornersThatTheProgramCuts)
{
    Marks marks;
    marks.masks = {Region{100, 200, 70, 140}, Region{-35, 900, 70, 140}, Region{1280, 0, 10, 10},
                   Region{600, 100, 140, 70}};
    const svg::Document drawn = Drawn(marks);
    EXPECT_EQ(drawn.Groups("mask").size(), 3u) << "the third of them lies outside";
    const auto masks = drawn.Shapes("mask", "path");
    ASSERT_EQ(masks.size(), 3u);
    // 2/7 of 70 is 20; pixels 100 to 169 and 200 to 339 reach from 99.5 to 169.5 and from 199.5 to 339.5.
    const std::vector<svg::Point> corners = {{119.5, 199.5}, {149.5, 199.5}, {169.5, 219.5}, {169.5, 319.5},
                                             {149.5, 339.5}, {119.5, 339.5}, {99.5, 319.5},  {99.5, 219.5}};
    const auto places = masks[0].Places();
    ASSERT_EQ(places.size(), 8u);
    for (std::size_t i = 0; i < 8; i++) EXPECT_EQ(svg::Distance(places[i], corners[i]), 0) << i;
    // Held to the picture before the corners are cut: pixels 0 to 34 and 900 to 959, cut by 10.
    const auto held = masks[1].Places();
    EXPECT_EQ(svg::Distance(held[0], {9.5, 899.5}), 0);
    EXPECT_EQ(svg::Distance(held[2], {34.5, 909.5}), 0);
    EXPECT_EQ(svg::Distance(held[4], {24.5, 959.5}), 0);
    EXPECT_EQ(svg::Distance(held[6], {-0.5, 949.5}), 0);
    EXPECT_EQ(svg::Distance(masks[2].Places()[0], {619.5, 99.5}), 0) << "by the shorter side";
}

TEST(Marks, RaysPointInTheDirectionsOfTheAngles)
{
    Marks marks;
    marks.given = Ring(640, 480, 100, 200);
    marks.angles = AngleMarks{30, 270};
    const svg::Document drawn = Drawn(marks);
    const auto rays = drawn.Shapes("angles", "line");
    ASSERT_EQ(rays.size(), 2u);
    for (const svg::Shape& ray : rays) EXPECT_EQ(svg::Distance(ray.Places()[0], {640, 480}), 0);
    const svg::Point first = rays[0].Places()[1], second = rays[1].Places()[1];
    EXPECT_LT(svg::Distance(first, {640 + 230 * std::cos(30 * 3.14159265358979 / 180), 480 + 115}), 0.01);
    EXPECT_LT(svg::Distance(second, {640, 250}), 0.01);
    const auto names = drawn.Labels("angles");
    ASSERT_EQ(names.size(), 2u);
    for (const svg::Shape& name : names) {
        const svg::Point at = {name.Number("x"), name.Number("y")};
        const bool isFirst = svg::Distance(at, first) < svg::Distance(at, second);
        EXPECT_EQ(name.text, isFirst ? "start 30\xC2\xB0" : "end 270\xC2\xB0");
    }
}

TEST(Marks, TheScaleNamesTheDirections)
{
    Marks marks;
    marks.given = Ring(640, 480, 100, 200);
    marks.scale = true;
    const svg::Document drawn = Drawn(marks);
    EXPECT_EQ(drawn.Shapes("scale", "line").size(), 4u);
    const auto names = drawn.Labels("scale");
    ASSERT_EQ(names.size(), 4u);
    for (const svg::Shape& name : names) {
        const double dx = name.Number("x") - 640, dy = name.Number("y") - 480;
        const std::string place = std::abs(dx) > std::abs(dy) ? (dx > 0 ? "0" : "180")
                                  : dy > 0                    ? "90"
                                                              : "270";
        EXPECT_EQ(name.text, place + "\xC2\xB0");
        EXPECT_GT(std::hypot(dx, dy), 200);
        EXPECT_LT(std::hypot(dx, dy), 300);
    }
}

/// The names of arguments and their numbers, each beside the arrow that stands for it.
TEST(Marks, MeasuresReachFromEdgeToCentre)
{
    Marks marks;
    marks.asArguments = true;
    marks.region = Region{400, 300, 320, 280};
    marks.centreInRegion = CentreInRegion{150, 130};
    const svg::Document drawn = Drawn(marks);
    const auto groups = drawn.Groups("measures");
    ASSERT_EQ(groups.size(), 4u);
    const auto lines = drawn.Shapes("measures", "line"), heads = drawn.Shapes("measures", "head");
    ASSERT_EQ(lines.size(), 4u);
    ASSERT_EQ(heads.size(), 6u);
    const auto at = [&](std::size_t i) { return heads[i].Places()[0]; };
    // <wid> below the region, <hgh> to its right, a head at each end.
    EXPECT_EQ(groups[0].Text("data-name"), "<wid>");
    EXPECT_EQ(at(0).x, 719.5);
    EXPECT_EQ(at(1).x, 399.5);
    EXPECT_GT(at(0).y, 579.5);
    EXPECT_LT(at(0).y, 610);
    EXPECT_EQ(groups[1].Text("data-name"), "<hgh>");
    EXPECT_EQ(at(2).y, 579.5);
    EXPECT_EQ(at(3).y, 299.5);
    EXPECT_GT(at(2).x, 719.5);
    EXPECT_LT(at(2).x, 750);
    // Heads point outward.
    EXPECT_LT(heads[0].Places()[1].x, at(0).x);
    EXPECT_GT(heads[1].Places()[1].x, at(1).x);
    EXPECT_LT(heads[2].Places()[1].y, at(2).y);
    EXPECT_GT(heads[3].Places()[1].y, at(3).y);
    // <cx> from the left edge and <cy> from the top, up to the centre.
    EXPECT_EQ(groups[2].Text("data-name"), "<cx>");
    EXPECT_EQ(svg::Distance(lines[2].Places()[0], {399.5, 430}), 0);
    EXPECT_EQ(at(4).y, 430);
    EXPECT_NEAR(at(4).x, 550, 15);
    EXPECT_LT(heads[4].Places()[1].x, at(4).x);
    EXPECT_EQ(groups[3].Text("data-name"), "<cy>");
    EXPECT_EQ(svg::Distance(lines[3].Places()[0], {550, 299.5}), 0);
    EXPECT_EQ(at(5).x, 550);
    EXPECT_NEAR(at(5).y, 430, 15);
    EXPECT_LT(heads[5].Places()[1].y, at(5).y);
    std::vector<std::string> names;
    for (const svg::Shape& name : drawn.Labels("measures")) names.push_back(name.text);
    std::sort(names.begin(), names.end());
    EXPECT_EQ(names, (std::vector<std::string>{"<cx> 150", "<cy> 130", "<hgh> 280", "<wid> 320"}));
}

TEST(Marks, MeasuresStayInThePictureWhereTheRegionEndsAtItsEdge)
{
    Marks marks;
    marks.region = Region{1000, 700, 279, 259};
    marks.centreInRegion = CentreInRegion{100, 100};
    const svg::Document drawn = Drawn(marks);
    const auto heads = drawn.Shapes("measures", "head");
    EXPECT_LT(heads[0].Places()[0].y, 958.5);
    EXPECT_LT(heads[2].Places()[0].x, 1278.5);
}

TEST(Marks, ArgumentsOfTheRadiiHaveAnArrowFromTheCentre)
{
    for (const double x : {100.0, 640.0, 1250.0}) {
        Marks marks;
        marks.asArguments = true;
        marks.given = Ring(x, 400, 216, 250);
        const svg::Document drawn = Drawn(marks);
        const auto heads = drawn.Shapes("given-circles", "head"),
                   lines = drawn.Shapes("given-circles", "line");
        ASSERT_EQ(heads.size(), 2u);
        ASSERT_EQ(lines.size(), 2u);
        const auto names = drawn.Labels("given-circles");
        ASSERT_EQ(names.size(), 2u);
        EXPECT_EQ(std::min(names[0].text, names[1].text), "<innerR> 216");
        EXPECT_EQ(std::max(names[0].text, names[1].text), "<outerR> 250");
        for (std::size_t i : {0u, 1u}) {
            const svg::Point tip = heads[i].Places()[0];
            EXPECT_NEAR(svg::Distance(tip, {x, 400}), i == 0 ? 216 : 250, 0.02);
            EXPECT_TRUE(tip.x >= 0 && tip.x <= 1279 && tip.y >= 0 && tip.y <= 959);
            EXPECT_EQ(svg::Distance(lines[i].Places()[0], {x, 400}), 0);
            // Its name is nearer than the other one's.
            const std::string its = i == 0 ? "<innerR> 216" : "<outerR> 250";
            for (const svg::Shape& name : names)
                if (name.text == its) {
                    const svg::Point at = {name.Number("x"), name.Number("y")};
                    EXPECT_LT(svg::Distance(at, tip), svg::Distance(at, heads[1 - i].Places()[0])) << its;
                }
        }
    }
}

TEST(Marks, TeethAreDotsUnlessTheyRunTogether)
{
    Marks marks;
    marks.asArguments = true;
    marks.teeth = {{100, 100}, {130, 100}, {160, 100}};
    svg::Document drawn = Drawn(marks, true);
    const auto dots = drawn.Shapes("teeth", "circle");
    ASSERT_EQ(dots.size(), 3u);
    for (std::size_t i = 0; i < 3; i++) {
        EXPECT_EQ(svg::Distance(dots[i].Middle(), {marks.teeth[i].x, marks.teeth[i].y}), 0);
        EXPECT_EQ(dots[i].Number("r"), 5);
    }
    EXPECT_EQ(drawn.Legend(), std::vector<std::string>{"<teethCnt> 3"});
    marks.teeth = {{100, 100}, {106, 100}};
    EXPECT_EQ(Drawn(marks).Shapes("teeth", "circle").size(), 2u);
    EXPECT_EQ(Drawn(marks).Shapes("teeth", "circle")[1].Number("r"), 1);
    marks.teeth = {{100, 100}, {105.9, 100}};
    drawn = Drawn(marks, true);
    EXPECT_TRUE(drawn.Groups("teeth").empty());
    EXPECT_EQ(drawn.Legend(), std::vector<std::string>{"<teethCnt> 2"});
}

Marks Everything()
{
    Marks marks;
    marks.region = Region{372, 191, 560, 540};
    marks.cross = Place{652.4, 471.7};
    marks.given = Ring(652, 471, 200, 240);
    marks.measured = Ring(652.41, 471.69, 215.6, 250.2);
    marks.sense = Sense::counterClockwise;
    marks.rotation = RotationMark{{652.41, 471.69}, {5, 1.5}};
    marks.masks = {Region{30, 40, 200, 160}};
    marks.angles = AngleMarks{200, 340};
    marks.ringCentre = Place{656, 480};
    return marks;
}

TEST(Marks, TheLegendSaysWhatIsDrawnInNumbers)
{
    Marks marks = Everything();
    const std::vector<std::string> plain = {"blanked 200 x 160",
                                            "given radii 200 and 240",
                                            "measured ring, radii 215.6 and 250.2",
                                            "start 200\xC2\xB0, end 340\xC2\xB0",
                                            "output region 560 x 540 at 372, 191",
                                            "turns counter-clockwise",
                                            "centre of the rotation 652.41 \xC2\xB1 5, 471.69 \xC2\xB1 1.5",
                                            "ring's centre 656, 480",
                                            "centre found 652.4, 471.7"};
    EXPECT_EQ(Drawn(marks, true).Legend(), plain);
    // As a list of HTML the same, each line with a piece of its mark's line.
    const svg::Document list(MarksLegend(marks, Frame()));
    std::vector<std::string> items;
    for (const std::string& words : list.Legend()) items.push_back(words.substr(1));
    EXPECT_EQ(items, plain);
    for (const svg::Shape& shape : list.All())
        if (shape.name == "svg") {
            EXPECT_EQ(shape.Text("aria-hidden"), "true");
        }

    marks = {};
    marks.asArguments = true;
    marks.region = Region{502, 342, 300, 260};
    marks.centreInRegion = CentreInRegion{150, 130};
    marks.given = Ring(652.4, 471.7, 216, 250);
    marks.cross = Place{652.4, 471.7};
    marks.masks = {Region{50, 60, 201, 221}};
    marks.sense = Sense::clockwise;
    marks.angles = AngleMarks{0, 360};
    EXPECT_EQ(Drawn(marks, true).Legend(),
              (std::vector<std::string>{"-m 50 60 201 221 blanked", "<innerR> 216 tooth roots",
                                        "<outerR> 250 tooth tips", "<ang1> 0\xC2\xB0, <ang2> 360\xC2\xB0",
                                        "<wid> x <hgh> 300 x 260", "OROI=[502,342,300,260,1]",
                                        "<cx> 150, <cy> 130 centre", "<angSpd> 1 clockwise",
                                        "wheel's centre 652.4, 471.7"}));
    marks.sense = Sense::counterClockwise;
    EXPECT_EQ(Drawn(marks, true).Legend()[7], "<angSpd> -1 counter-clockwise");
    marks.still = true;
    EXPECT_EQ(Drawn(marks, true).Legend()[7], "<angSpd> 0 at rest");
    EXPECT_TRUE(Drawn(marks, true).Groups("sense").empty());
}

TEST(Marks, TheLegendStandsBelowThePicture)
{
    const svg::Document drawn = Drawn(Everything(), true);
    double beginning = 0, width = 0, height = 0;
    std::istringstream(drawn.All().front().Text("viewBox")) >> beginning >> beginning >> width >> height;
    EXPECT_EQ(width, 1280);
    const auto legend = drawn.Groups("legend");
    ASSERT_EQ(legend.size(), 1u);
    EXPECT_EQ(legend[0].Text("transform"), "translate(0 960)");
    double lowest = 960;
    for (const svg::Shape& shape : drawn.All())
        if (shape.name == "g" && shape.In("legend")) {
            double x = -1, y = -1;
            std::sscanf(shape.Text("transform").c_str(), "translate(%lf %lf)", &x, &y);
            EXPECT_GE(x, 0);
            lowest = std::max(lowest, 960 + y);
        }
    EXPECT_GT(lowest, 1100);
    EXPECT_GT(height, lowest + 20);
}

TEST(Marks, WhatIsNotKnownIsNotDrawn)
{
    const svg::Document drawn = Drawn(Marks(), true);
    EXPECT_TRUE(drawn.Labels().empty());
    EXPECT_TRUE(drawn.Legend().empty());
    for (const svg::Shape& shape : drawn.All())
        for (const char* name : {"line", "circle", "ellipse", "path"}) EXPECT_NE(shape.name, name);
    // Nor does what needs something else to be drawn at.
    Marks marks;
    marks.scale = true;
    marks.angles = AngleMarks{};
    marks.centreInRegion = CentreInRegion{1, 2};
    const svg::Document alone = Drawn(marks);
    for (const char* name : {"scale", "angles", "measures"}) EXPECT_TRUE(alone.Groups(name).empty()) << name;
}

TEST(Marks, EveryLineHasADarkCasingAndKeepsItsThickness)
{
    const svg::Document drawn = Drawn(Everything());
    for (const char* group : {"region", "found-centre", "given-circles", "measured-ring", "sense",
                              "rotation-centre", "mask", "angles", "ring-centre"}) {
        const auto shapes = drawn.Shapes(group), casing = drawn.Casing(group);
        ASSERT_FALSE(shapes.empty()) << group;
        ASSERT_EQ(shapes.size(), casing.size()) << group;
        for (std::size_t i = 0; i < shapes.size(); i++) {
            EXPECT_EQ(shapes[i].attributes, casing[i].attributes) << group;
            EXPECT_EQ(shapes[i].Text("vector-effect"), "non-scaling-stroke") << group;
            const svg::Shape& inner = drawn.All()[shapes[i].parents.back()];
            const svg::Shape& outer = drawn.All()[casing[i].parents.back()];
            EXPECT_GT(outer.Number("stroke-width"), inner.Number("stroke-width")) << group;
            EXPECT_EQ(outer.Text("color"), "#000") << group;
        }
    }
}

TEST(Marks, MarksOfDifferentMeaningDifferByMoreThanTheirColour)
{
    const svg::Document drawn = Drawn(Everything());
    const auto dashes = [&](const char* group) {
        const svg::Shape shape = drawn.Shapes(group).at(0);
        const svg::Shape& line = drawn.All()[shape.parents.back()];
        return line.Has("stroke-dasharray") ? line.Text("stroke-dasharray") : "";
    };
    // What has the same shape is told apart by its dashes.
    EXPECT_NE(dashes("given-circles"), dashes("measured-ring"));
    EXPECT_NE(dashes("mask"), dashes("region"));
}

TEST(Marks, TextsAreEscaped)
{
    MarkedPicture picture = Frame();
    picture.title = "<b> & \"more\"";
    picture.description = "it's <i>";
    picture.href = "a&b\".png";
    const svg::Document drawn(MarksSvg(Everything(), picture));
    bool title = false, description = false, image = false;
    for (const svg::Shape& shape : drawn.All()) {
        if (shape.name == "title") title = shape.text == picture.title;
        if (shape.name == "desc") description = shape.text == picture.description;
        if (shape.name == "image") image = shape.Text("href") == picture.href;
    }
    EXPECT_TRUE(title && description && image);
    EXPECT_EQ(drawn.All().front().Text("role"), "img");
    EXPECT_EQ(drawn.All().front().Text("xmlns"), "http://www.w3.org/2000/svg");
}

void ExpectClearNames(const svg::Document& drawn, const std::string& of)
{
    const double size = drawn.All().front().Number("font-size");
    const auto labels = drawn.Labels();
    for (std::size_t i = 0; i < labels.size(); i++) {
        const svg::Room a = svg::RoomOf(labels[i], size);
        EXPECT_TRUE(a.left > -0.5 && a.top > -0.5 && a.right < 1279.5 && a.bottom < 959.5)
            << labels[i].text << of;
        for (std::size_t k = i + 1; k < labels.size(); k++) {
            const svg::Room b = svg::RoomOf(labels[k], size);
            EXPECT_FALSE(a.Overlaps(b)) << labels[i].text << " and " << labels[k].text << of;
        }
        for (const svg::Shape& line : drawn.Shapes(labels[i].Text("data-of"), "path")) {
            std::vector<svg::Point> places = line.Places();
            if (line.Text("d").back() == 'Z') places.push_back(places.front());
            for (std::size_t k = 1; k < places.size(); k++)
                for (const double share : {0.0, 0.2, 0.4, 0.6, 0.8, 1.0})
                    EXPECT_FALSE(a.Holds({places[k - 1].x + share * (places[k].x - places[k - 1].x),
                                          places[k - 1].y + share * (places[k].y - places[k - 1].y)}))
                        << labels[i].text << " lies on its line" << of;
        }
        for (const svg::Shape& circle : drawn.Shapes(labels[i].Text("data-of"), "circle")) {
            const svg::Point c = circle.Middle();
            const double nearest =
                std::hypot(std::clamp(c.x, a.left, a.right) - c.x, std::clamp(c.y, a.top, a.bottom) - c.y);
            const double furthest =
                std::hypot(std::max(c.x - a.left, a.right - c.x), std::max(c.y - a.top, a.bottom - c.y));
            const double radius = circle.Number("r");
            EXPECT_FALSE(nearest < radius && radius < furthest)
                << labels[i].text << " lies on its line" << of;
        }
        // No name hides what it names, nor any arrow's head or centre.
        for (const char* key : {"head", "found-centre", "rotation-centre"}) {
            for (const svg::Shape& shape : drawn.All()) {
                const bool head = shape.Has("class") && shape.Text("class") == key;
                if (shape.name == "g" || shape.name == "text" || !(head || shape.In(key))) continue;
                const auto places =
                    shape.name == "ellipse" ? std::vector<svg::Point>{shape.Middle()} : shape.Places();
                for (const svg::Point& p : places)
                    EXPECT_FALSE(a.Holds(p)) << labels[i].text << " hides " << key << of;
            }
        }
    }
}

TEST(Marks, NamesKeepClearOnWheelsOfEverySizeAndPlace)
{
    for (const double outer : {30.0, 60.0, 130.0, 250.0, 330.0, 460.0, 700.0}) {
        for (const double x : {40.0, 300.0, 640.0, 1000.0, 1240.0}) {
            for (const double y : {40.0, 250.0, 480.0, 920.0}) {
                Marks marks;
                marks.asArguments = true;
                marks.scale = true;
                marks.angles = AngleMarks{0, 360};
                marks.cross = Place{x, y};
                marks.given = Ring(x, y, 0.85 * outer, outer);
                marks.sense = Sense::clockwise;
                const int left = static_cast<int>(std::max(x - 150, 0.0)),
                          top = static_cast<int>(std::max(y - 130, 0.0));
                marks.region = Region{left, top, std::min(300, 1280 - left), std::min(260, 960 - top)};
                marks.centreInRegion = CentreInRegion{static_cast<int>(x) - left, static_cast<int>(y) - top};
                const std::string of = "; a wheel of " + std::to_string(outer) + " at " + std::to_string(x) +
                                       ", " + std::to_string(y);
                svg::Document drawn = Drawn(marks);
                ExpectClearNames(drawn, of);
                EXPECT_EQ(drawn.Labels("found-centre").size(), 1u) << of;
                EXPECT_EQ(drawn.Labels("measures").size(), 4u) << of;
                EXPECT_EQ(drawn.Labels("sense").size(), 1u) << of;

                marks = Everything();
                marks.cross = Place{x + 5, y - 3};
                marks.given = Ring(x + 5, y - 3, 0.7 * outer, 0.8 * outer);
                marks.measured = Ring(x, y, 0.85 * outer, outer);
                marks.rotation->centre = {x, y};
                marks.ringCentre.reset();
                drawn = Drawn(marks);
                ExpectClearNames(drawn, of);
                EXPECT_EQ(drawn.Labels("rotation-centre").size(), 1u) << of;
                EXPECT_EQ(drawn.Labels("found-centre").size(), 1u) << of;
                EXPECT_EQ(drawn.Labels("region").size(), 1u) << of;
            }
        }
    }
}

/// Where a line from a mark to its name begins and ends.
std::vector<std::pair<svg::Point, svg::Point>> Leaders(const svg::Document& drawn)
{
    std::vector<std::pair<svg::Point, svg::Point>> leaders;
    for (const svg::Shape& shape : drawn.All())
        if (shape.Has("class") && shape.Text("class") == "leader")
            leaders.emplace_back(shape.Places().at(0), shape.Places().at(1));
    return leaders;
}

TEST(Marks, ALineLeadsFromAMarkToANameThatStandsFurtherAway)
{
    Marks marks;
    marks.asArguments = true;
    marks.scale = true;
    marks.angles = AngleMarks{0, 360};
    marks.cross = Place{652.4, 471.7};
    marks.given = Ring(652.4, 471.7, 216, 250);
    marks.sense = Sense::clockwise;
    marks.region = Region{502, 342, 300, 260};
    marks.centreInRegion = CentreInRegion{150, 130};
    const svg::Document drawn = Drawn(marks);
    const double size = drawn.All().front().Number("font-size");
    const auto leaders = Leaders(drawn);
    ASSERT_FALSE(leaders.empty());
    for (const auto& [from, to] : leaders) {
        EXPECT_GT(svg::Distance(from, to), 0.9 * size);
        int its = 0;
        for (const svg::Shape& label : drawn.Labels()) {
            const bool ends =
                std::abs(label.Number("x") - to.x) < 0.02 && std::abs(label.Number("y") - to.y) < 0.61 * size;
            its += ends;
            if (ends) { // on a dark casing in the colour of the name
                std::vector<std::string> strokes;
                for (const svg::Shape& line : drawn.All())
                    if (line.Has("class") && line.Text("class") == "leader" &&
                        svg::Distance(line.Places()[1], to) == 0)
                        strokes.push_back(line.Text("stroke"));
                EXPECT_EQ(strokes, (std::vector<std::string>{"#000", label.Text("fill")}));
            }
            EXPECT_FALSE(svg::RoomOf(label, size).Holds(from)) << label.text;
            if (!ends || label.Text("data-of") != "measures") continue;
            // It begins on the arrow that the name belongs to.
            const std::string name = label.text.substr(0, label.text.find(' '));
            for (const svg::Shape& line : drawn.Shapes("measures", "line")) {
                const svg::Shape& group = drawn.All()[line.parents[line.parents.size() - 2]];
                if (group.Text("data-name") != name) continue;
                const auto ends2 = line.Places();
                EXPECT_NEAR(svg::Distance(ends2[0], from) + svg::Distance(from, ends2[1]),
                            svg::Distance(ends2[0], ends2[1]), 30)
                    << label.text;
            }
        }
        EXPECT_EQ(its, 1) << "at " << to.x << ", " << to.y;
    }
}

TEST(Marks, TheNameOfARingStandsAtItsOuterCircle)
{
    for (const bool given : {true, false}) {
        Marks marks;
        (given ? marks.given : marks.measured) = Ring(640, 480, 150, 330);
        const svg::Document drawn = Drawn(marks);
        const auto labels = drawn.Labels(given ? "given-circles" : "measured-ring");
        ASSERT_EQ(labels.size(), 1u);
        EXPECT_EQ(labels[0].text, given ? "given radii" : "measured ring");
        const svg::Room a = svg::RoomOf(labels[0], drawn.All().front().Number("font-size"));
        const double nearest =
            std::hypot(std::clamp(640.0, a.left, a.right) - 640, std::clamp(480.0, a.top, a.bottom) - 480);
        const double furthest =
            std::hypot(std::max(640 - a.left, a.right - 640), std::max(480 - a.top, a.bottom - 480));
        EXPECT_TRUE(std::abs(nearest - 330) < 30 || std::abs(furthest - 330) < 30)
            << nearest << " to " << furthest;
    }
}

TEST(Marks, TheNameOfTheSenseIsThatOfTheArrow)
{
    for (const bool arguments : {true, false})
        for (const Sense sense : {Sense::clockwise, Sense::counterClockwise}) {
            Marks marks;
            marks.asArguments = arguments;
            marks.given = Ring(640, 480, 150, 200);
            marks.sense = sense;
            const auto labels = Drawn(marks).Labels("sense");
            ASSERT_EQ(labels.size(), 1u);
            const bool clockwise = sense == Sense::clockwise;
            EXPECT_EQ(labels[0].text, arguments   ? clockwise ? "<angSpd> 1" : "<angSpd> -1"
                                      : clockwise ? "clockwise"
                                                  : "counter-clockwise");
        }
}

TEST(Marks, ArrowsHaveHeadsOfSixTenthsOfALetter)
{
    Marks marks;
    marks.asArguments = true;
    marks.given = Ring(640, 480, 200, 250);
    const svg::Document drawn = Drawn(marks);
    const double size = drawn.All().front().Number("font-size");
    const auto heads = drawn.Shapes("given-circles", "head"), lines = drawn.Shapes("given-circles", "line");
    ASSERT_EQ(heads.size(), lines.size());
    for (std::size_t i = 0; i < heads.size(); i++) {
        const auto places = heads[i].Places();
        // The line ends within the head, whose tip it would blunt.
        EXPECT_NEAR(svg::Distance(lines[i].Places()[1], places[0]), 0.8 * 0.6 * size, 0.05);
        EXPECT_LT(svg::Distance(lines[i].Places()[1], {640, 480}), svg::Distance(places[0], {640, 480}));
        const svg::Point back = {(places[1].x + places[2].x) / 2, (places[1].y + places[2].y) / 2};
        EXPECT_NEAR(svg::Distance(places[0], back), 0.6 * size, 0.05);
        EXPECT_NEAR(svg::Distance(places[1], places[2]), 0.76 * 0.6 * size, 0.05);
    }
}

TEST(Marks, EveryMarkHasItsColourInTheDrawingTheNameAndTheLegend)
{
    const svg::Document drawn = Drawn(Everything(), true);
    for (const auto& [group, colour] : {std::pair{"region", "#F0E442"},
                                        {"found-centre", "#F0E442"},
                                        {"given-circles", "#56B4E9"},
                                        {"ring-centre", "#56B4E9"},
                                        {"measured-ring", "#E69F00"},
                                        {"sense", "#CC79A7"},
                                        {"rotation-centre", "#D55E00"},
                                        {"mask", "#FFFFFF"},
                                        {"angles", "#009E73"}}) {
        const svg::Shape shape = drawn.Shapes(group).at(0);
        EXPECT_EQ(drawn.All()[shape.parents.back()].Text("color"), colour) << group;
        for (const svg::Shape& name : drawn.Labels(group)) EXPECT_EQ(name.Text("fill"), colour) << group;
    }
    // A piece of the mark's line before its words: colour, dashes and thickness.
    std::vector<std::string> swatches;
    for (const svg::Shape& shape : drawn.All())
        if (shape.name == "path" && shape.In("legend"))
            swatches.push_back(shape.Text("stroke") + " " +
                               (shape.Has("stroke-dasharray") ? shape.Text("stroke-dasharray") : "-") + " " +
                               shape.Text("stroke-width"));
    EXPECT_EQ(swatches, (std::vector<std::string>{"#FFFFFF 2 4 2", "#56B4E9 7 4 2", "#E69F00 - 2",
                                                  "#009E73 12 3 2 3 2", "#F0E442 - 2", "#CC79A7 - 3",
                                                  "#D55E00 - 2.5", "#56B4E9 7 4 2", "#F0E442 - 2"}));
}

/// Where each line of the legend begins.
std::vector<svg::Point> LegendPlaces(const svg::Document& drawn)
{
    std::vector<svg::Point> places;
    for (const svg::Shape& shape : drawn.All())
        if (shape.name == "g" && shape.In("legend")) {
            places.emplace_back();
            std::sscanf(shape.Text("transform").c_str(), "translate(%lf %lf)", &places.back().x,
                        &places.back().y);
        }
    return places;
}

TEST(Marks, TheLegendHasTwoColumnsWhereItsWordsLeaveRoom)
{
    Marks marks;
    marks.cross = Place{600, 400};
    marks.sense = Sense::clockwise;
    marks.masks = {Region{0, 0, 70, 70}};
    svg::Document drawn = Drawn(marks, true);
    std::vector<svg::Point> places = LegendPlaces(drawn);
    ASSERT_EQ(places.size(), 3u);
    EXPECT_LT(places[0].x, 640);
    EXPECT_EQ(places[1].x, places[0].x);
    EXPECT_GT(places[1].y, places[0].y);
    EXPECT_EQ(places[2].x, places[0].x + 640);
    EXPECT_EQ(places[2].y, places[0].y);
    // Words that reach further than the middle take a line each.
    marks.rotation = RotationMark{{652.41, 471.69}, {0.04, 0.02}};
    drawn = Drawn(marks, true);
    places = LegendPlaces(drawn);
    ASSERT_EQ(places.size(), 4u);
    for (std::size_t i = 1; i < 4; i++) {
        EXPECT_EQ(places[i].x, places[0].x);
        EXPECT_GT(places[i].y, places[i - 1].y);
    }
    // Nobody's words run into the other column.
    for (const Marks& some : {marks, Everything()}) {
        const svg::Document all = Drawn(some, true);
        const double letters = 0.83 * all.All().front().Number("font-size");
        const auto begins = LegendPlaces(all);
        const auto words = all.Legend();
        for (std::size_t i = 0; i < words.size(); i++) {
            bool beside = false;
            for (const svg::Point& p : begins) beside = beside || (p.y == begins[i].y && p.x > begins[i].x);
            if (beside) {
                EXPECT_LT(begins[i].x + 1.4 * letters + 0.5 * letters * words[i].size(), 640 + 0.3 * letters)
                    << words[i];
            }
        }
    }
}

TEST(Marks, TheDrawingIsAsHighAsPictureAndLegend)
{
    for (const bool legend : {false, true}) {
        const svg::Document drawn = Drawn(Everything(), legend);
        double x = 0, y = 0, width = 0, height = 0;
        std::istringstream(drawn.All().front().Text("viewBox")) >> x >> y >> width >> height;
        EXPECT_EQ(drawn.All().front().Number("width"), width);
        EXPECT_NEAR(drawn.All().front().Number("height"), height, 0.01);
        EXPECT_EQ(height > 960, legend);
    }
}

TEST(Marks, DeviationsHaveAsManyDigitsAsTheyGiveReasonFor)
{
    for (const auto& [sigma, words] : {std::pair{0.0949, "10 \xC2\xB1 0.095, 20"},
                                       {0.0951, "10 \xC2\xB1 0.1, 20"},
                                       {0.1234, "10 \xC2\xB1 0.12, 20"}}) {
        Marks marks;
        marks.rotation = RotationMark{{10, 20}, {sigma, 1}};
        EXPECT_NE(Drawn(marks, true).Legend().at(0).find(words), std::string::npos) << sigma;
    }
}

TEST(Marks, TheRadiiOfARingThatIsSeenSlantingReachItsLines)
{
    Marks marks;
    marks.asArguments = true;
    marks.given = Ring(600, 400, 150, 200);
    for (int i = 0; i < 180; i++) {
        const double angle = i * 3.14159265358979 / 90;
        marks.given->innerSeen.push_back({600 + 120 * std::cos(angle), 400 + 150 * std::sin(angle)});
        marks.given->outerSeen.push_back({600 + 160 * std::cos(angle), 400 + 200 * std::sin(angle)});
    }
    marks.angles = AngleMarks{-90, 450};
    const svg::Document drawn = Drawn(marks);
    const auto heads = drawn.Shapes("given-circles", "head");
    ASSERT_EQ(heads.size(), 2u);
    const auto expect = [](svg::Point tip, double rx, double ry, double degrees) {
        const double angle = degrees * 3.14159265358979 / 180;
        EXPECT_LT(svg::Distance(tip, {600 + rx * std::cos(angle), 400 + ry * std::sin(angle)}), 0.1);
    };
    expect(heads[0].Places()[0], 120, 150, -65);
    expect(heads[1].Places()[0], 160, 200, 35);
    const auto rays = drawn.Shapes("angles", "line");
    ASSERT_EQ(rays.size(), 2u);
    EXPECT_LT(svg::Distance(rays[0].Places()[1], {600, 400 - 230}), 0.1);
    EXPECT_LT(svg::Distance(rays[1].Places()[1], {600, 400 + 230}), 0.1);
}

TEST(Marks, LettersAreLargeEnoughForAPhoneAndSmallerOnlyWhereThereIsRoom)
{
    const std::string text = MarksSvg(Everything(), Frame());
    const svg::Document drawn(text);
    const double narrow = drawn.All().front().Number("font-size");
    EXPECT_GE(narrow * 328 / 1280, 11) << "on a screen of 360 pixels";
    // In parts of the narrow size: drawings of several sizes may stand on a page, whose rules hold for all.
    const std::string rule = "@media (min-width:700px){.marked .labels,.marked .legend{font-size:";
    const std::size_t at = text.find(rule);
    ASSERT_NE(at, text.npos);
    char* unit = nullptr;
    const double share = std::strtod(text.c_str() + at + rule.size(), &unit);
    EXPECT_EQ(std::string(unit, 4), "em}}");
    EXPECT_LT(share, 0.9);
    EXPECT_GE(share * narrow * 668 / 1280, 11);
}

TEST(Marks, AnEnlargedPictureKeepsItsPixels)
{
    MarkedPicture picture = Frame();
    picture.width = 81;
    picture.height = 61;
    picture.enlarged = 6;
    Marks marks;
    marks.cross = Place{40, 30};
    const svg::Document drawn(MarksSvg(marks, picture));
    const svg::Shape& root = drawn.All().front();
    EXPECT_EQ(root.Text("viewBox"), "0 0 81 61");
    EXPECT_EQ(root.Number("width"), 486);
    EXPECT_EQ(root.Number("height"), 366);
    const auto image = std::find_if(drawn.All().begin(), drawn.All().end(),
                                    [](const svg::Shape& shape) { return shape.name == "image"; });
    ASSERT_NE(image, drawn.All().end());
    EXPECT_EQ(image->Number("width"), 81);
    EXPECT_EQ(image->Text("style"), "image-rendering:pixelated");
}

TEST(Marks, WhatLiesOutsideThePictureHasNoName)
{
    Marks marks;
    marks.cross = Place{-300, 200};
    marks.given = Ring(-300, 200, 50, 80);
    marks.sense = Sense::clockwise;
    EXPECT_TRUE(Drawn(marks).Labels().empty());
    EXPECT_EQ(Drawn(marks, true).Legend().size(), 3u);
}

TEST(Marks, AnySizeOfPictureIsMarked)
{
    for (const auto& [width, height] : {std::pair{1, 1}, {64, 48}, {4096, 1}, {1, 4096}, {4096, 4096}}) {
        MarkedPicture picture = Frame();
        picture.width = width;
        picture.height = height;
        Marks marks = Everything();
        marks.masks.push_back({-2000000000, -2000000000, 2147483647, 2147483647});
        marks.given = Ring(width / 2.0, height / 2.0, 0, 2e9);
        EXPECT_NO_THROW(svg::Document(MarksSvg(marks, picture, true))) << width << " x " << height;
    }
}

} // namespace
