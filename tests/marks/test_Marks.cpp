// What is drawn over a frame, by place and meaning.
#include <tests/support/Svg.h>

#include <marks/Marks.h>

#include <gtest/gtest.h>

#include <string>
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

} // namespace
