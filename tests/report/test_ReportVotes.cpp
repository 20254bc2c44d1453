// The peak of the votes, the next best one, and the heat map.
#include <tests/support/Pictures.h>

#include <report/Votes.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <ostream>
#include <vector>

namespace telvane {

bool operator==(const Summit& a, const Summit& b) { return a.x == b.x && a.y == b.y && a.votes == b.votes; }

void PrintTo(const Summit& s, std::ostream* out) { *out << s.votes << " at (" << s.x << ", " << s.y << ')'; }

} // namespace telvane

void PrintTo(const Colour& c, std::ostream* out)
{
    *out << '(' << +c.red << ", " << +c.green << ", " << +c.blue << ')';
}

namespace {

using namespace pictures;
using namespace telvane;

/// By the definition, place after place.
Summits PlainSummits(const Shorts& m, int apart)
{
    const auto distance = [](int x1, int y1, int x2, int y2) {
        return std::max(std::abs(x1 - x2), std::abs(y1 - y2));
    };
    std::vector<Summit> all; // in reading order
    for (int y = 1; y < m.h - 1; y++)
        for (int x = 1; x < m.w - 1; x++) {
            bool exceeded = m.At(x, y) < 1;
            for (int v = 1; v < m.h - 1; v++)
                for (int u = 1; u < m.w - 1; u++)
                    exceeded = exceeded || (distance(x, y, u, v) <= apart && m.At(u, v) > m.At(x, y));
            if (!exceeded) all.push_back({x, y, m.At(x, y)});
        }
    Summits s;
    for (const Summit& place : all)
        if (place.votes > s.peak.votes) s.peak = place;
    for (const Summit& place : all)
        if (place.votes > s.next.votes && distance(place.x, place.y, s.peak.x, s.peak.y) > apart)
            s.next = place;
    return s;
}

/// A round hill whose votes fall by `slope` for each pixel.
void AddHill(Shorts& m, int x0, int y0, int votes, int slope)
{
    for (int y = 0; y < m.h; y++)
        for (int x = 0; x < m.w; x++) {
            const auto v =
                static_cast<std::int16_t>(votes - slope * static_cast<int>(std::hypot(x - x0, y - y0)));
            m.At(x, y) = std::max(m.At(x, y), v);
        }
}

TEST(Summits, AHillHasItsPeakAndNoNextBest)
{
    Shorts votes(101, 81);
    AddHill(votes, 60, 30, 1000, 20);
    const Summits s = FindSummits(ArrayOf(votes), 30);
    EXPECT_EQ(s.peak, (Summit{60, 30, 1000}));
    EXPECT_EQ(s.next.votes, 0) << "its slopes reach further than 30 pixels and are no summit";
}

TEST(Summits, TheLowerOfTwoHillsIsNextBest)
{
    Shorts votes(201, 81);
    AddHill(votes, 40, 30, 600, 20);
    AddHill(votes, 150, 50, 900, 20);
    const Summits s = FindSummits(ArrayOf(votes), 30);
    EXPECT_EQ(s.peak, (Summit{150, 50, 900}));
    EXPECT_EQ(s.next, (Summit{40, 30, 600}));
}

TEST(Summits, AnotherTipOfTheSameHillIsNotNextBest)
{
    Shorts votes(201, 81);
    votes.At(100, 40) = 900;
    votes.At(130, 40) = 800; // 30 columns away
    votes.At(40, 40) = 100;
    EXPECT_EQ(FindSummits(ArrayOf(votes), 30).next, (Summit{40, 40, 100}));
    EXPECT_EQ(FindSummits(ArrayOf(votes), 29).next, (Summit{130, 40, 800}));
}

TEST(Summits, TheUppermostAndThenTheLeftmostOfEqualPlacesIsThePeak)
{
    Shorts votes(100, 100);
    for (const auto& [x, y] : {std::pair{70, 20}, {90, 20}, {10, 60}}) votes.At(x, y) = 500;
    const Summits s = FindSummits(ArrayOf(votes), 30);
    EXPECT_EQ(s.peak, (Summit{70, 20, 500}));
    EXPECT_EQ(s.next, (Summit{10, 60, 500})) << "a place as good as the peak, further away";
}

TEST(Summits, TheOutermostPixelsDoNotCount)
{
    Shorts votes(60, 50);
    for (const auto& [x, y] : {std::pair{0, 10}, {59, 20}, {30, 0}, {20, 49}}) votes.At(x, y) = 2000;
    votes.At(1, 1) = 7;
    votes.At(58, 48) = 6;
    const Summits s = FindSummits(ArrayOf(votes), 10);
    EXPECT_EQ(s.peak, (Summit{1, 1, 7}));
    EXPECT_EQ(s.next, (Summit{58, 48, 6}));
}

TEST(Summits, WithoutVotesThereIsNone)
{
    for (const auto& [w, h] : {std::pair{1, 1}, {2, 9}, {9, 2}, {3, 3}, {40, 30}}) {
        const Summits s = FindSummits(ArrayOf(Shorts(w, h)), 5);
        EXPECT_EQ(s.peak.votes, 0);
        EXPECT_EQ(s.next.votes, 0);
    }
    EXPECT_EQ(FindSummits(ArrayOf(Shorts(9, 9, -5)), 5).peak.votes, 0);
}

TEST(Summits, AreThoseOfTheDefinition)
{
    Random random(7);
    for (int round = 0; round < 120; round++) {
        const int w = Between(random, 3, 24), h = Between(random, 3, 24);
        const int most = round % 3 == 0 ? 3 : round % 3 == 1 ? 50 : 2000; // plateaus and none
        const Shorts votes = Noise<std::int16_t>(random, w, h, round % 5 == 0 ? -3 : 0, most);
        for (int apart : {1, 2, 5, 30, 1000}) {
            const Summits found = FindSummits(ArrayOf(votes), apart), plain = PlainSummits(votes, apart);
            ASSERT_EQ(found.peak, plain.peak) << w << " x " << h << ", apart " << apart;
            ASSERT_EQ(found.next, plain.next) << w << " x " << h << ", apart " << apart;
        }
    }
}

TEST(HeatColour, RunsFromBlackOverRedAndYellowToWhite)
{
    EXPECT_EQ(HeatColour(0), (Colour{0, 0, 0}));
    EXPECT_EQ(HeatColour(1.0 / 36), (Colour{128, 0, 0}));
    EXPECT_EQ(HeatColour(1.0 / 9), (Colour{255, 0, 0}));
    EXPECT_EQ(HeatColour(1.0 / 4), (Colour{255, 128, 0}));
    EXPECT_EQ(HeatColour(4.0 / 9), (Colour{255, 255, 0}));
    EXPECT_EQ(HeatColour(1), (Colour{255, 255, 255}));
    EXPECT_EQ(HeatColour(-1), HeatColour(0));
    EXPECT_EQ(HeatColour(2), HeatColour(1));
}

TEST(VotePicture, ShowsTheVotesAndRingsTheSummits)
{
    Shorts votes(401, 301);
    votes.At(100, 100) = 900;
    votes.At(300, 200) = 225;
    votes.At(20, 280) = 100;
    const MatShort m = ArrayOf(votes);
    const Canvas canvas = VotePicture(m, FindSummits(m, 30));
    ASSERT_EQ(canvas.width(), 401);
    ASSERT_EQ(canvas.height(), 301);
    EXPECT_EQ(canvas.at(100, 100), HeatColour(1));
    EXPECT_EQ(canvas.at(300, 200), HeatColour(0.25));
    EXPECT_EQ(canvas.at(20, 280), HeatColour(1.0 / 9));
    EXPECT_EQ(canvas.at(200, 20), (Colour{0, 0, 0}));
    const Colour peak = canvas.at(100, 68), next = canvas.at(300, 232);
    EXPECT_NE(peak, next);
    for (const Colour& ring : {peak, next}) EXPECT_NE(ring, (Colour{0, 0, 0}));
    EXPECT_EQ(canvas.at(68, 100), peak);
    EXPECT_EQ(canvas.at(332, 200), next);
}

TEST(VotePicture, NamesDoNotHideWhatTheyName)
{
    const int w = 701, h = 501;
    for (const auto& [x, y] :
         {std::pair{1, 1}, {w - 2, 1}, {1, h - 2}, {w - 2, h - 2}, {90, 250}, {600, 250}, {350, 5}})
        for (const auto& [nextX, nextY] : {std::pair{350, 300}, {100, 100}, {620, 400}}) {
            Shorts votes(w, h);
            votes.At(x, y) = 900;
            votes.At(nextX, nextY) = 400;
            const MatShort m = ArrayOf(votes);
            const Canvas canvas = VotePicture(m, FindSummits(m, 30));
            EXPECT_EQ(canvas.at(x, y), HeatColour(1)) << x << ' ' << y;
            EXPECT_EQ(canvas.at(nextX, nextY), HeatColour(4.0 / 9)) << x << ' ' << y;
        }
}

TEST(PeakPicture, EnlargesWhatLiesAroundThePeak)
{
    Shorts votes(30, 20);
    AddHill(votes, 3, 9, 700, 90);
    const Canvas canvas = PeakPicture(ArrayOf(votes), {3, 9, 700}, 8, 5);
    ASSERT_EQ(canvas.width(), 85);
    ASSERT_EQ(canvas.height(), 85);
    for (const auto& [dx, dy] : {std::pair{0, 0}, {2, 2}, {-3, 1}, {-1, -2}})
        for (int within : {0, 4})
            EXPECT_EQ(canvas.at((8 + dx) * 5 + within, (8 + dy) * 5 + within),
                      HeatColour(votes.At(3 + dx, 9 + dy) / 700.0))
                << dx << ' ' << dy;
    // Columns before the first one have no votes at all.
    EXPECT_EQ(canvas.at(2, 2), (Colour{70, 70, 70}));
}

TEST(HeatLegend, HasTheColoursInOrder)
{
    const Canvas canvas = HeatLegend(1000);
    EXPECT_EQ(canvas.at(0, 5), HeatColour(0));
    EXPECT_EQ(canvas.at(canvas.width() - 1, 5), HeatColour(1));
    for (int x = 1; x < canvas.width(); x++) {
        const Colour a = canvas.at(x - 1, 5), b = canvas.at(x, 5);
        EXPECT_GE(b.red + b.green + b.blue, a.red + a.green + a.blue) << x;
    }
}

} // namespace
