// The peak of the votes, the next best one, and the heat map.
#include <tests/support/Pictures.h>

#include <tests/support/Decoded.h>
#include <tests/support/Svg.h>

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

namespace telvane {
void PrintTo(const Colour& c, std::ostream* out)
{
    *out << '(' << +c.red << ", " << +c.green << ", " << +c.blue << ')';
}
} // namespace telvane

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

TEST(MostVotes, LeavesOutTheUnsmoothedBorder)
{
    Shorts votes(5, 4);
    votes.At(2, 1) = 700;
    EXPECT_EQ(MostVotes(ArrayOf(votes)), 700);
    for (const auto& [x, y] : {std::pair{0, 2}, {4, 1}, {3, 0}, {1, 3}}) votes.At(x, y) = 2000;
    EXPECT_EQ(MostVotes(ArrayOf(votes)), 700);
    EXPECT_EQ(VotePicture(ArrayOf(votes)).At(2, 1), HeatColour(1));
    votes.At(1, 2) = 701;
    EXPECT_EQ(MostVotes(ArrayOf(votes)), 701);
    for (const auto& [w, h] : {std::pair{2, 5}, {5, 2}}) EXPECT_EQ(MostVotes(ArrayOf(Shorts(w, h, 9))), 0);
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

/// The picture that a drawing lies over.
decoded::Colours Below(const svg::Document& drawn)
{
    const std::string type = "data:image/png;base64,";
    for (const svg::Shape& shape : drawn.All())
        if (shape.name == "image" && shape.Text("href").rfind(type, 0) == 0)
            return decoded::DecodePng(html::FromBase64(shape.Text("href").substr(type.size())));
    return {};
}

unsigned Hex(Colour c) { return static_cast<unsigned>(c.red << 16 | c.green << 8 | c.blue); }

TEST(VoteDrawing, RingsAndNamesTheSummitsOverThePlainVotes)
{
    Shorts votes(401, 301);
    votes.At(100, 100) = 900;
    votes.At(300, 200) = 225;
    votes.At(20, 280) = 100;
    const MatShort m = ArrayOf(votes);
    const svg::Document drawn(VoteDrawing(m, FindSummits(m, 30)));
    const decoded::Colours below = Below(drawn);
    ASSERT_EQ(below.width, 401);
    ASSERT_EQ(below.height, 301);
    for (int y = 0; y < 301; y++)
        for (int x = 0; x < 401; x++) ASSERT_EQ(below.At(x, y), Hex(HeatColour(votes.At(x, y) / 900.0)));
    const auto peak = drawn.Shapes("peak", "circle"), next = drawn.Shapes("next-best", "circle");
    ASSERT_EQ(peak.size(), 1u);
    ASSERT_EQ(next.size(), 1u);
    EXPECT_EQ(svg::Distance(peak[0].Middle(), {100, 100}), 0);
    EXPECT_EQ(svg::Distance(next[0].Middle(), {300, 200}), 0);
    const auto peakName = drawn.Labels("peak"), nextName = drawn.Labels("next-best");
    ASSERT_EQ(peakName.size(), 1u);
    ASSERT_EQ(nextName.size(), 1u);
    EXPECT_EQ(peakName[0].text, "peak");
    EXPECT_EQ(nextName[0].text, "next best");
    EXPECT_EQ(peakName[0].Text("fill"), "#56B4E9");
    EXPECT_NE(nextName[0].Text("fill"), "#56B4E9") << "each has its own colour";
    EXPECT_LT(svg::Distance({peakName[0].Number("x"), peakName[0].Number("y")}, {100, 100}), 40);
    EXPECT_LT(svg::Distance({nextName[0].Number("x"), nextName[0].Number("y")}, {300, 200}), 40);
}

TEST(VoteDrawing, NamesDoNotHideWhatTheyName)
{
    const int w = 701, h = 501;
    for (const auto& [x, y] :
         {std::pair{1, 1}, {w - 2, 1}, {1, h - 2}, {w - 2, h - 2}, {90, 250}, {600, 250}, {350, 5}})
        for (const auto& [nextX, nextY] : {std::pair{350, 300}, {100, 100}, {620, 400}}) {
            Shorts votes(w, h);
            votes.At(x, y) = 900;
            votes.At(nextX, nextY) = 400;
            const MatShort m = ArrayOf(votes);
            const svg::Document drawn(VoteDrawing(m, FindSummits(m, 30)));
            const double size = drawn.All().front().Number("font-size");
            const auto labels = drawn.Labels();
            ASSERT_EQ(labels.size(), 2u) << x << ' ' << y;
            for (const svg::Shape& label : labels) {
                const svg::Room room = svg::RoomOf(label, size);
                EXPECT_TRUE(room.left >= -0.5 && room.right <= w - 0.5 && room.top >= -0.5 &&
                            room.bottom <= h - 0.5)
                    << x << ' ' << y << label.text;
                EXPECT_FALSE(room.Holds({x * 1.0, y * 1.0})) << x << ' ' << y << label.text;
                EXPECT_FALSE(room.Holds({nextX * 1.0, nextY * 1.0})) << x << ' ' << y << label.text;
            }
            EXPECT_FALSE(svg::RoomOf(labels[0], size).Overlaps(svg::RoomOf(labels[1], size)))
                << x << ' ' << y;
        }
}

TEST(VoteDrawing, WithoutVotesThereIsNothingToRing)
{
    const MatShort none = ArrayOf(Shorts(50, 40));
    const svg::Document drawn(VoteDrawing(none, FindSummits(none, 30)));
    EXPECT_TRUE(drawn.Shapes("peak").empty());
    EXPECT_TRUE(drawn.Shapes("next-best").empty());
    EXPECT_TRUE(drawn.Labels().empty());
}

TEST(PeakDrawing, LeavesThePeakOpenInTheMiddleOfItsCross)
{
    Shorts votes(30, 20);
    AddHill(votes, 3, 9, 700, 90);
    const svg::Document drawn(PeakDrawing(ArrayOf(votes), {3, 9, 700}, 20));
    const decoded::Colours below = Below(drawn);
    ASSERT_EQ(below.width, 41);
    ASSERT_EQ(below.height, 41);
    EXPECT_EQ(below.At(20, 20), Hex(HeatColour(1)));
    EXPECT_EQ(below.At(22, 21), Hex(HeatColour(votes.At(5, 10) / 700.0)));
    EXPECT_GT(drawn.All().front().Number("width"), 200) << "enlarged";
    const auto lines = drawn.Shapes("peak", "line");
    ASSERT_EQ(lines.size(), 4u);
    svg::Point sum;
    for (const svg::Shape& line : lines) {
        const auto ends = line.Places();
        EXPECT_TRUE(ends[0].x == 20 ? ends[1].x == 20 : ends[0].y == 20 && ends[1].y == 20);
        for (const svg::Point& end : ends) {
            EXPECT_GE(svg::Distance(end, {20, 20}), 3);
            EXPECT_LE(svg::Distance(end, {20, 20}), 10);
            sum = {sum.x + end.x, sum.y + end.y};
        }
    }
    EXPECT_EQ(svg::Distance(sum, {8 * 20, 8 * 20}), 0) << "in all four directions";
}

TEST(HeatScale, NamesTheVotesOfItsColours)
{
    const svg::Document drawn(HeatScale(3600));
    std::vector<std::pair<std::string, double>> marks;
    for (const svg::Shape& shape : drawn.All())
        if (shape.name == "text") marks.emplace_back(shape.text, shape.Number("x"));
    // By the square root of the share, along 360 pixels.
    const std::vector<std::pair<std::string, double>> wanted = {
        {"0", 0}, {"36", 36}, {"360", 113.84}, {"900", 180}, {"1800", 254.56}, {"3600", 360}};
    EXPECT_EQ(marks, wanted);
    for (const svg::Shape& shape : drawn.All()) // within the strip
        if (shape.name == "text") {
            EXPECT_EQ(shape.Text("text-anchor"), shape.text == "0"      ? "start"
                                                 : shape.text == "3600" ? "end"
                                                                        : "middle");
        }
    std::vector<std::string> ticks, below;
    for (const svg::Shape& shape : drawn.All())
        if (shape.name == "path") ticks.push_back(shape.Text("d"));
    for (const char* x : {"0", "36", "113.84", "180", "254.56", "360"})
        below.push_back(std::string("M") + x + " 20v4"); // of the strip, which is 20 pixels high
    EXPECT_EQ(ticks, below);
    const decoded::Colours strip = Below(drawn);
    ASSERT_EQ(strip.width, 360);
    for (int x = 0; x < 360; x++) EXPECT_EQ(strip.At(x, 10), Hex(HeatColour(x * x / (359.0 * 359)))) << x;
}

} // namespace
