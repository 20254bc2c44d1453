// Numbers and places in words.
#include <diagnosis/Words.h>

#include <gtest/gtest.h>

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
}

TEST(Words, PlacesAreNamedByThirdsOfThePicture)
{
    EXPECT_EQ(WhereText({100, 100}, 1280, 960), "at the upper left");
    EXPECT_EQ(WhereText({640, 100}, 1280, 960), "at the top");
    EXPECT_EQ(WhereText({1200, 500}, 1280, 960), "at the right");
    EXPECT_EQ(WhereText({640, 480}, 1280, 960), "in the middle");
    EXPECT_EQ(WhereText({1200, 900}, 1280, 960), "at the lower right");
}

TEST(Words, AShareThatIsNotNothingIsNotCalledZero)
{
    EXPECT_EQ(ShareText(0), "0 %");
    EXPECT_EQ(ShareText(0.002), "less than 1 %");
    EXPECT_EQ(ShareText(0.374), "37 %");
}

TEST(Words, ListsEndWithAndOrAreCutShort)
{
    EXPECT_EQ(ListText({4}), "4");
    EXPECT_EQ(ListText({1, 3, 5}), "1, 3 and 5");
    EXPECT_EQ(ListText({1, 2, 3, 4, 5, 6, 7, 8}), "1, 2, 3, 4, 5, 6, ...");
}
