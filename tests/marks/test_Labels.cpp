// Where names stand beside what they name: asserted by their boxes.
#include <marks/Labels.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <string>
#include <tuple>
#include <vector>

using namespace telvane;

namespace {

const double letters = 20; // "word" is 48 x 24

/// A picture of 1000 x 800.
Labels Picture() { return Labels({-0.5, -0.5}, 1000, 800, letters); }

const Place middle{500, 400};

/// How far a box lies from a place.
double Gap(const LabelBox& box, const Place& place)
{
    return std::hypot(std::max({box.left - place.x, place.x - box.right, 0.0}),
                      std::max({box.top - place.y, place.y - box.bottom, 0.0}));
}

/// Beside the middle of the picture.
void ExpectBeside(const LabelBox& box)
{
    EXPECT_NEAR(box.right - box.left, 48, 1e-9);
    EXPECT_NEAR(box.bottom - box.top, 24, 1e-9);
    EXPECT_NEAR(Gap(box, middle), 7, 1e-6);
}

PlacedLabel Placed(Labels& labels, const std::vector<LabelAnchor>& anchors, const std::string& words = "word",
                   int mark = 1)
{
    const auto placed = labels.Add(words, mark, anchors);
    EXPECT_TRUE(placed);
    return placed.value_or(PlacedLabel());
}

PlacedLabel Alone(double degrees)
{
    Labels labels = Picture();
    return Placed(labels, {{middle, degrees}});
}

} // namespace

TEST(Labels, StandSevenPixelsBesideTheirPlace)
{
    for (double degrees = -180; degrees <= 360; degrees += 45) ExpectBeside(Alone(degrees).box);
}

TEST(Labels, OfPlacesThatAreEquallyGoodTheFirstIsTaken)
{
    for (int step = 0; step < 8; step++) {
        const LabelBox box = Alone(45 * step).box;
        const int x = box.left > middle.x ? 1 : box.right < middle.x ? -1 : 0;
        const int y = box.top > middle.y ? 1 : box.bottom < middle.y ? -1 : 0;
        const int sideX[] = {1, 1, 0, -1, -1, -1, 0, 1}, sideY[] = {0, 1, 1, 1, 0, -1, -1, -1};
        EXPECT_EQ(x, sideX[step]) << step;
        EXPECT_EQ(y, sideY[step]) << step;
    }
}

TEST(Labels, AllSidesOfTheFirstPlaceComeBeforeTheNext)
{
    for (const int last : {-135, -90, 0, 135, 180}) {
        // Round the first place all is taken, but for one side.
        Labels labels = Picture();
        const double angle = last * 3.14159265358979 / 180;
        labels.AddLine({500 - 9 * std::cos(angle), 400 - 9 * std::sin(angle)},
                       {500 - 60 * std::cos(angle), 400 - 60 * std::sin(angle)}, 7);
        const LabelBox box = Placed(labels, {{middle, last + 180.0}, {{800, 400}, 0}}).box;
        ExpectBeside(box);
    }
}

TEST(Labels, TheLastBitsOfWhatIsDrawnMoveNoName)
{
    // Names among marks that touch each other, end at the picture's edge, and mirror each other.
    const auto placed = [](const std::function<double(double)>& bent) {
        const auto at = [&](double x, double y) { return Place{bent(x), bent(y)}; };
        Labels labels = Picture();
        labels.AddLine(at(500, 400), at(526, 400), 1);
        labels.AddLine(at(0, 426), at(999.5, 426), 2);
        labels.AddCircle(at(500, 400), bent(100), 3);
        labels.AddCircle(at(700, 400), bent(100), 4);
        std::vector<PlacedLabel> all;
        for (const auto& [x, y] : {std::pair{500.0, 400.0}, {600.0, 400.0}, {-0.5, -0.5}, {999.5, 426.0}})
            for (double degrees = 0; degrees < 360; degrees += 45)
                all.push_back(Placed(labels, {{at(x, y), degrees}, {at(500, 300), degrees + 90}}));
        return all;
    };
    const std::vector<PlacedLabel> exact = placed([](double number) { return number; });
    for (const int seed : {1, 2, 3, 4, 5, 6, 7, 8}) {
        int state = seed;
        const std::vector<PlacedLabel> bent = placed([&](double number) {
            state = (state * 421 + 1663) % 7875;
            return number + (state - 3900) * 1e-14;
        });
        for (std::size_t i = 0; i < exact.size(); i++) {
            EXPECT_NEAR(bent[i].box.left, exact[i].box.left, 1e-6) << i;
            EXPECT_NEAR(bent[i].box.top, exact[i].box.top, 1e-6) << i;
            EXPECT_STREQ(bent[i].align, exact[i].align) << i;
            EXPECT_EQ(bent[i].leader.has_value(), exact[i].leader.has_value()) << i;
        }
    }
}

TEST(Labels, BeginOrEndAtTheirPlace)
{
    for (double degrees = 0; degrees < 360; degrees += 15) {
        const PlacedLabel placed = Alone(degrees);
        const std::string align = placed.align;
        const LabelBox& box = placed.box;
        EXPECT_EQ(align, box.left > middle.x ? "start" : box.right < middle.x ? "end" : "middle");
        EXPECT_EQ(placed.text.x, align == "start" ? box.left
                                 : align == "end" ? box.right
                                                  : (box.left + box.right) / 2);
        EXPECT_NEAR(placed.text.y, (box.top + box.bottom) / 2, 1e-9);
        EXPECT_FALSE(placed.leader) << "it is near enough";
    }
}

TEST(Labels, LieOverNoOtherName)
{
    Labels labels = Picture();
    const LabelBox first = Placed(labels, {{middle, 0}}).box;
    const LabelBox second = Placed(labels, {{middle, 0}}).box;
    EXPECT_TRUE(second.top > first.bottom || second.bottom < first.top || second.left > first.right ||
                second.right < first.left);
}

TEST(Labels, KeepClearOfLinesWhereThereIsAnotherPlace)
{
    Labels labels = Picture();
    labels.AddLine({520, 0}, {520, 800}, 7);
    const LabelBox box = Placed(labels, {{middle, 0}}).box;
    EXPECT_LT(box.right, 520);
    Labels round = Picture();
    round.AddCircle({400, 400}, 120, 7); // through 520, 400
    const LabelBox within = Placed(round, {{middle, 0}}).box;
    EXPECT_LT(std::hypot(within.right - 400, std::max(within.bottom - 400, 400 - within.top)), 120);
    // Not of a circle that lies wholly inside or outside of the name.
    Labels far = Picture();
    far.AddCircle({531, 400}, 200, 7);
    far.AddCircle({531, 400}, 500, 1);
    ExpectBeside(Placed(far, {{middle, 0}}).box);
}

TEST(Labels, ALineThatPassesBesideTheNameDoesNotMatter)
{
    // 2.4 pixels around the name are kept clear.
    const LabelBox box = Alone(0).box;
    const double l = box.left - 2.4, t = box.top - 2.4, r = box.right + 2.4, b = box.bottom + 2.4;
    const double x = (l + r) / 2, y = (t + b) / 2, little = 0.1;
    for (const auto& [from, to, matters] :
         {std::tuple{Place{r + little, 0}, Place{r + little, 800}, false},
          {Place{r - little, 0}, Place{r - little, 800}, true},
          {Place{x, 0}, Place{x, t - little}, false},
          {Place{x, 0}, Place{x, t + little}, true},
          {Place{x, b + little}, Place{x, 800}, false},
          {Place{x, b - little}, Place{x, 800}, true},
          {Place{r + little, y}, Place{900, y}, false},
          {Place{r - little, y}, Place{900, y}, true},
          {Place{r - 10, t - 10 - little}, Place{r + 10 + little, t + 10}, false},
          {Place{r - 10, t - 10 + little}, Place{r + 10 - little, t + 10}, true}}) {
        Labels labels = Picture();
        labels.AddLine(from, to, 7);
        const LabelBox placed = Placed(labels, {{middle, 0}}).box;
        EXPECT_EQ(placed.left != box.left || placed.top != box.top, matters)
            << from.x << ' ' << from.y << ' ' << to.x << ' ' << to.y;
    }
}

TEST(Labels, RatherLieOverAnotherMarkThanOverTheirOwn)
{
    // Lines everywhere, of the own mark but for one band below.
    for (const bool key : {false, true}) {
        Labels labels = Picture();
        for (int y = 0; y <= 800; y += 10)
            labels.AddLine({0, y * 1.0}, {1000, y * 1.0},
                           y >= 410 && y <= 440 ? 2
                           : key                ? 3
                                                : 1,
                           key && !(y >= 410 && y <= 440));
        const LabelBox box = Placed(labels, {{middle, -90}}).box;
        EXPECT_GT(box.top, 400) << "over the other mark, which is no key";
        EXPECT_LT(box.bottom, 450);
    }
    // Circles likewise: the own one is passed by, at the price of another's line.
    Labels labels = Picture();
    labels.AddCircle({500, 400}, 30, 1);
    labels.AddLine({400, 420}, {600, 420}, 2);
    const LabelBox box = Placed(labels, {{{530, 400}, 180}, {{500, 430}, -90}}).box;
    EXPECT_TRUE(std::hypot(std::max({box.left - 500, 500 - box.right, 0.0}),
                           std::max({box.top - 400, 400 - box.bottom, 0.0})) > 30 ||
                std::hypot(std::max(box.right - 500, 500 - box.left),
                           std::max(box.bottom - 400, 400 - box.top)) < 30);
}

TEST(Labels, StayInThePicture)
{
    for (const Place& corner : {Place{0, 0}, Place{999, 0}, Place{0, 799}, Place{999, 799}, Place{500, 0}})
        for (double degrees = 0; degrees < 360; degrees += 45) {
            Labels labels = Picture();
            const LabelBox box = Placed(labels, {{corner, degrees}}).box;
            // With a little room to the edge: 0.15 of the letters.
            EXPECT_TRUE(box.left >= 2.5 && box.top >= 2.5 && box.right <= 996.5 && box.bottom <= 796.5)
                << corner.x << ' ' << corner.y << ' ' << degrees;
        }
}

TEST(Labels, WhatLiesOutsideThePictureIsNotNamed)
{
    Labels labels = Picture();
    EXPECT_FALSE(labels.Add("word", 1, {}));
    for (const Place& outside : {Place{-0.6, 400}, Place{999.6, 400}, Place{500, -0.6}, Place{500, 799.6}}) {
        EXPECT_FALSE(labels.InPicture(outside));
        EXPECT_FALSE(labels.Add("word", 1, {{outside, 0}}));
        ExpectBeside(Placed(labels, {{outside, 0}, {middle, 0}}).box);
        labels = Picture();
    }
    for (const Place& inside : {Place{-0.5, 400}, Place{999.5, 400}, Place{500, -0.5}, Place{500, 799.5}})
        EXPECT_TRUE(labels.InPicture(inside));
    EXPECT_FALSE(labels.Add(std::string(84, 'w'), 1, {{middle, 0}})) << "wider than the picture";
    EXPECT_TRUE(labels.Add(std::string(82, 'w'), 1, {{middle, 0}}));
}

TEST(Labels, ALineLeadsToANameThatStandsFurtherAway)
{
    // All round the place is taken, up to 60 pixels.
    Labels labels = Picture();
    for (int y = 345; y <= 455; y += 5) labels.AddLine({430, y * 1.0}, {570, y * 1.0}, 1);
    const PlacedLabel placed = Placed(labels, {{middle, 0}});
    EXPECT_GT(placed.box.left, 570);
    EXPECT_STREQ(placed.align, "start");
    ASSERT_TRUE(placed.leader);
    EXPECT_EQ(placed.leader->x, placed.text.x) << "to where the words begin";
    EXPECT_NEAR(placed.leader->y, 400, 12);
    EXPECT_EQ(placed.anchor.x, 500);
    EXPECT_EQ(placed.anchor.y, 400);
    const PlacedLabel left = [] {
        Labels all = Picture();
        for (int y = 345; y <= 455; y += 5) all.AddLine({430, y * 1.0}, {570, y * 1.0}, 1);
        return Placed(all, {{middle, 180}});
    }();
    ASSERT_TRUE(left.leader);
    EXPECT_STREQ(left.align, "end");
    EXPECT_LT(left.box.right, 430);
    EXPECT_EQ(left.leader->x, left.box.right);
    // A gap of one letter needs none.
    for (const auto& [reach, leads] : {std::pair{6, false}, {22, true}}) {
        Labels near = Picture();
        for (int y = -reach; y <= reach; y += 2)
            near.AddLine({500.0 - reach, 400.0 + y}, {500.0 + reach, 400.0 + y}, 1);
        EXPECT_EQ(Placed(near, {{middle, 0}}).leader.has_value(), leads) << reach;
    }
}

TEST(Labels, NoNameLiesOverTheLineThatLeadsToAnother)
{
    Labels labels = Picture();
    for (int y = 345; y <= 455; y += 5) labels.AddLine({430, y * 1.0}, {550, y * 1.0}, 1);
    const PlacedLabel first = Placed(labels, {{middle, 0}});
    ASSERT_TRUE(first.leader);
    const double x = (550 + first.leader->x) / 2; // on the line, beyond what is taken
    const LabelBox second = Placed(labels, {{{x, 400}, 90}}, "word", 2).box;
    EXPECT_FALSE(second.left < x && x < second.right && second.top < 400 && 400 < second.bottom);
    const LabelBox third = Placed(labels, {{{x, 380}, 90}}, "word", 3).box;
    const double slope = (first.leader->y - 400) / (first.leader->x - 500);
    for (double at = third.left; at <= third.right; at++) {
        const double y = 400 + slope * (at - 500);
        EXPECT_FALSE(at < first.leader->x && third.top < y && y < third.bottom);
    }
}

TEST(Labels, WhereNothingIsFreeNearAFreePlaceIsFoundAnywhere)
{
    // Key lines over all but the lower right.
    Labels labels = Picture();
    for (int y = 0; y <= 700; y += 10) labels.AddLine({0, y * 1.0}, {1000, y * 1.0}, 3, true);
    for (int y = 710; y <= 800; y += 10) labels.AddLine({0, y * 1.0}, {800, y * 1.0}, 3, true);
    const PlacedLabel placed = Placed(labels, {{{100, 100}, 0}});
    EXPECT_GT(placed.box.top, 700);
    EXPECT_GT(placed.box.left, 800);
    EXPECT_TRUE(placed.leader);
    EXPECT_STREQ(placed.align, "start");
}

TEST(Labels, TheLineThatLeadsToANameCrossesNoOtherName)
{
    // Free are a band to the right, in which another name lies first, and one to the left, further away.
    Labels labels = Picture();
    for (int y = 0; y <= 800; y += 10) {
        const bool band = y > 375 && y < 425;
        labels.AddLine({band ? 300.0 : 0, y * 1.0}, {band ? 570.0 : 1000, y * 1.0}, 3, true);
    }
    const LabelBox other = Placed(labels, {{{560, 400}, 0}}, "ww", 9).box;
    ASSERT_GT(other.left, 570);
    const PlacedLabel placed = Placed(labels, {{middle, 0}});
    EXPECT_LT(placed.box.right, 300);
    ASSERT_TRUE(placed.leader);
    EXPECT_EQ(placed.leader->x, placed.box.right) << "the side towards the place";
}

TEST(Labels, NoNameLiesOverALongLineThatLeadsToAnother)
{
    Labels labels = Picture();
    for (int y = 0; y <= 800; y += 10) labels.AddLine({0, y * 1.0}, {y < 710 ? 1000.0 : 800, y * 1.0}, 3);
    const PlacedLabel first = Placed(labels, {{{100, 100}, 0}}, "word", 3);
    ASSERT_TRUE(first.leader);
    const double dx = first.leader->x - 100, dy = first.leader->y - 100;
    for (const double share : {0.3, 0.5, 0.7}) {
        const Place on = {100 + share * dx, 100 + share * dy};
        const double along = std::atan2(dy, dx) * 180 / 3.14159265358979;
        const LabelBox box = Placed(labels, {{on, along}}, "word", 9).box;
        for (double at = 0; at <= 1; at += 0.001) {
            const double x = 100 + at * dx, y = 100 + at * dy;
            EXPECT_FALSE(x > box.left && x < box.right && y > box.top && y < box.bottom) << share;
        }
    }
}

TEST(Labels, AreAsWideAsTheirBytes)
{
    EXPECT_DOUBLE_EQ(Picture().WidthOf(4), 48);
    EXPECT_DOUBLE_EQ(Picture().WidthOf(0), 0);
}
