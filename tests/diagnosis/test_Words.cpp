// Numbers and places in words.
#include <diagnosis/Words.h>

#include <gtest/gtest.h>

#include <tuple>

using namespace telvane;

TEST(Words, NumbersHaveAPointAndNoNegativeZero)
{
    EXPECT_EQ(NumberText(12.345, 1), "12.3");
    EXPECT_EQ(NumberText(-0.04, 1), "0.0");
    EXPECT_EQ(NumberText(-0.06, 1), "-0.1");
    EXPECT_EQ(NumberText(7, 0), "7");
}

TEST(Words, DirectionsNameRightLeftDownAndUp)
{
    EXPECT_EQ(DirectionText({6.1, -2}), "6.1 px to the right and 2.0 px up");
    EXPECT_EQ(DirectionText({-0.5, 3.04}), "0.5 px to the left and 3.0 px down");
}

TEST(Words, APartOfADirectionThatDoesNotShowIsLeftOut)
{
    EXPECT_EQ(DirectionText({0.01, 4}), "4.0 px down");
    EXPECT_EQ(DirectionText({0, 0}), "0.0 px");
    EXPECT_EQ(DirectionText({0.049, -0.051}), "0.1 px up");
}

TEST(Words, PlacesAreNamedByThirdsOfThePicture)
{
    EXPECT_EQ(WhereText({100, 100}, 1280, 960), "at the upper left");
    EXPECT_EQ(WhereText({640, 100}, 1280, 960), "at the top");
    EXPECT_EQ(WhereText({1200, 500}, 1280, 960), "at the right");
    EXPECT_EQ(WhereText({640, 480}, 1280, 960), "in the middle");
    EXPECT_EQ(WhereText({1200, 900}, 1280, 960), "at the lower right");
    EXPECT_EQ(WhereText({100, 900}, 1280, 960), "at the lower left");
    EXPECT_EQ(WhereText({1200, 100}, 1280, 960), "at the upper right");
    EXPECT_EQ(WhereText({640, 900}, 1280, 960), "at the bottom");
    for (const auto& [x, y, where] : {std::tuple{426, 480, "at the left"},
                                      {427, 480, "in the middle"},
                                      {853, 480, "in the middle"},
                                      {854, 480, "at the right"},
                                      {640, 319, "at the top"},
                                      {640, 320, "in the middle"},
                                      {640, 640, "in the middle"},
                                      {640, 641, "at the bottom"}})
        EXPECT_EQ(WhereText({x * 1.0, y * 1.0}, 1280, 960), where) << x << ' ' << y;
}

TEST(Words, TheSensesHaveTheirNames)
{
    EXPECT_STREQ(SenseText(Sense::clockwise), "clockwise");
    EXPECT_STREQ(SenseText(Sense::counterClockwise), "counter-clockwise");
    EXPECT_STREQ(Name(Sense::clockwise), "cw");
    EXPECT_STREQ(Name(Sense::counterClockwise), "ccw");
    EXPECT_EQ(PlaceText({652.44, -0.04}), "(652.4, 0.0)");
}

TEST(Words, AShareThatIsNotNothingIsNotCalledZero)
{
    EXPECT_EQ(ShareText(0), "0 %");
    EXPECT_EQ(ShareText(0.002), "less than 1 %");
    EXPECT_EQ(ShareText(0.0099), "less than 1 %");
    EXPECT_EQ(ShareText(0.01), "1 %");
    EXPECT_EQ(ShareText(0.374), "37 %");
}

TEST(Words, ListsEndWithAndOrAreCutShort)
{
    EXPECT_EQ(ListText({4}), "4");
    EXPECT_EQ(ListText({1, 3, 5}), "1, 3 and 5");
    EXPECT_EQ(ListText({2, 7}), "2 and 7");
    EXPECT_EQ(ListText({1, 2, 3, 4, 5, 6}), "1, 2, 3, 4, 5 and 6");
    EXPECT_EQ(ListText({1, 2, 3, 4, 5, 6, 7}), "1, 2, 3, 4, 5, 6, ...");
    EXPECT_EQ(ListText({1, 2, 3, 4, 5, 6, 7, 8}), "1, 2, 3, 4, 5, 6, ...");
}
