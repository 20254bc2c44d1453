// Markers and lines in byte and short pictures, pixel by pixel.
#include <tests/support/Pictures.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <climits>
#include <cstdint>
#include <cstdlib>
#include <utility>
#include <vector>

namespace {

using namespace pictures;

using Points = std::vector<std::pair<int, int>>;

template <class T> void Set(Picture<T>& picture, int x, int y, T color)
{
    if (picture.Inside(x, y)) picture.At(x, y) = color;
}

// ---------------------------------------------------------------------------------- what must be drawn

const Points plusCells = {{0, 0},  {1, 0},  {2, 0},  {3, 0}, {-1, 0}, {-2, 0}, {-3, 0},
                          {0, -1}, {0, -2}, {0, -3}, {0, 1}, {0, 2},  {0, 3}};
const Points crossCells = {{0, 0},   {1, 1},   {2, 2},   {3, 3},  {-1, 1}, {-2, 2}, {-3, 3},
                           {-1, -1}, {-2, -2}, {-3, -3}, {1, -1}, {2, -2}, {3, -3}};
const Points ringCells = {{3, 0},  {3, 1},   {2, 2},   {1, 3},   {0, 3},  {-1, 3}, {-2, 2}, {-3, 1},
                          {-3, 0}, {-3, -1}, {-2, -2}, {-1, -3}, {0, -3}, {1, -3}, {2, -2}, {3, -1}};

template <class T> void PlainMarker(Picture<T>& picture, int x, int y, T color, char style)
{
    if (style != '+' && style != 'x' && style != 'o') {
        Set(picture, x, y, color);
        return;
    }
    if (x < 3 || y < 3 || x > picture.w - 4 || y > picture.h - 4) return;
    for (const auto& [dx, dy] : style == '+' ? plusCells : style == 'x' ? crossCells : ringCells)
        picture.At(x + dx, y + dy) = color;
}

std::int32_t Wrapped(std::uint32_t v) { return static_cast<std::int32_t>(v); }

/// Products and differences in 32 bits; they wrap where coordinates are far apart.
std::int64_t Distance(int a, int b, int c, int d)
{
    const std::uint32_t product1 = static_cast<std::uint32_t>(a) * static_cast<std::uint32_t>(b);
    const std::uint32_t product2 = static_cast<std::uint32_t>(c) * static_cast<std::uint32_t>(d);
    return std::abs(std::int64_t{Wrapped(product1 - product2)});
}

/// The line as a walk: one step along the longer axis, and the other one where that comes strictly nearer.
Points WalkedLine(int x1, int y1, int x2, int y2)
{
    const int dx = x2 - x1, dy = y2 - y1;
    const int sx = dx >= 1 ? 1 : -1, sy = dy >= 1 ? 1 : -1;
    int x = x1, y = y1;
    Points points = {{x, y}};
    if (std::abs(dx) < std::abs(dy)) {
        while (x != x2 || y != y2) {
            y += sy;
            const bool nearer = Distance(y - y1, dx, dy, x + sx - x1) < Distance(y - y1, dx, dy, x - x1);
            if (nearer) x += sx;
            points.push_back({x, y});
        }
    } else {
        while (x != x2 || y != y2) {
            x += sx;
            const bool nearer = Distance(x - x1, dy, dx, y + sy - y1) < Distance(x - x1, dy, dx, y - y1);
            if (nearer) y += sy;
            points.push_back({x, y});
        }
    }
    return points;
}

/// The same line in closed form: after k steps of the longer axis the other one has gone k * rise / length,
/// rounded, halves down towards the start.
Points RoundedLine(int x1, int y1, int x2, int y2)
{
    const bool steep = std::abs(x2 - x1) < std::abs(y2 - y1);
    const std::int64_t length = steep ? std::abs(y2 - y1) : std::abs(x2 - x1);
    const std::int64_t rise = steep ? std::abs(x2 - x1) : std::abs(y2 - y1);
    const int sx = x2 < x1 ? -1 : 1, sy = y2 < y1 ? -1 : 1;
    Points points = {{x1, y1}};
    for (std::int64_t k = 1; k <= length; k++) {
        const int along = static_cast<int>(k);
        const int across = static_cast<int>((2 * k * rise + length - 1) / (2 * length));
        points.push_back(steep ? std::pair{x1 + sx * across, y1 + sy * along}
                               : std::pair{x1 + sx * along, y1 + sy * across});
    }
    return points;
}

// ---------------------------------------------------------------------------------- both element types

template <class T> class Drawing : public testing::Test {
public:
    static constexpr T color = static_cast<T>(sizeof(T) == 1 ? 201 : -20001);

    static Picture<T> Dots(int w, int h, const Points& points)
    {
        Picture<T> picture(w, h);
        for (const auto& [x, y] : points) Set(picture, x, y, color);
        return picture;
    }

    static Picture<T> Drawn(int w, int h, int x1, int y1, int x2, int y2)
    {
        MatOf<T> m = ArrayOf(Picture<T>(w, h));
        m.DrawLine(static_cast<short>(x1), static_cast<short>(y1), static_cast<short>(x2),
                   static_cast<short>(y2), color);
        return PictureOf<T>(m);
    }

    static Picture<T> Marked(int w, int h, int x, int y, char style)
    {
        MatOf<T> m = ArrayOf(Picture<T>(w, h));
        m.DrawCross(static_cast<short>(x), static_cast<short>(y), color, style);
        return PictureOf<T>(m);
    }
};

using Elements = testing::Types<std::uint8_t, short>;
TYPED_TEST_SUITE(Drawing, Elements);

// ---- markers

TYPED_TEST(Drawing, APlusHasThirteenPixels)
{
    ASSERT_EQ(plusCells.size(), 13u);
    Points cells;
    for (const auto& [dx, dy] : plusCells) cells.push_back({4 + dx, 5 + dy});
    EXPECT_TRUE(Same(this->Marked(9, 10, 4, 5, '+'), this->Dots(9, 10, cells)));
}

TYPED_TEST(Drawing, ASlantedCrossHasThirteenPixels)
{
    ASSERT_EQ(crossCells.size(), 13u);
    Points cells;
    for (const auto& [dx, dy] : crossCells) cells.push_back({5 + dx, 4 + dy});
    EXPECT_TRUE(Same(this->Marked(10, 9, 5, 4, 'x'), this->Dots(10, 9, cells)));
}

TYPED_TEST(Drawing, ARingHasSixteenPixelsAndNoCentre)
{
    ASSERT_EQ(ringCells.size(), 16u);
    Points cells;
    for (const auto& [dx, dy] : ringCells) cells.push_back({4 + dx, 4 + dy});
    const auto marked = this->Marked(9, 9, 4, 4, 'o');
    EXPECT_TRUE(Same(marked, this->Dots(9, 9, cells)));
    EXPECT_EQ(marked.At(4, 4), 0);
}

TYPED_TEST(Drawing, AMarkerTooNearToTheEdgeIsLeftOutWhole)
{
    EXPECT_TRUE(Same(this->Marked(20, 20, 2, 10, '+'), this->Dots(20, 20, {})));
    EXPECT_TRUE(Same(this->Marked(20, 20, 2, 10, '.'), this->Dots(20, 20, {{2, 10}})));
}

TYPED_TEST(Drawing, MarkersAtEveryPlaceOfEveryBorder)
{
    Random random(21);
    for (const auto& [w, h] :
         {std::pair{7, 7}, {6, 7}, {7, 6}, {8, 7}, {7, 8}, {11, 9}, {1, 1}, {2, 12}, {12, 3}}) {
        const Picture<TypeParam> before = Noise<TypeParam>(random, w, h);
        for (const char style : {'+', 'x', 'o', '.'}) {
            for (int y = -5; y <= h + 4; y++) {
                for (int x = -5; x <= w + 4; x++) {
                    Picture<TypeParam> wanted = before;
                    PlainMarker(wanted, x, y, this->color, style);
                    MatOf<TypeParam> m = ArrayOf(before);
                    m.DrawCross(static_cast<short>(x), static_cast<short>(y), this->color, style);
                    ASSERT_TRUE(Same(m, wanted))
                        << style << " at " << x << ", " << y << " of " << w << " x " << h;
                }
            }
        }
    }
}

TYPED_TEST(Drawing, EveryOtherStyleIsOnePixel)
{
    for (int code = CHAR_MIN; code <= CHAR_MAX; code++) {
        const char style = static_cast<char>(code);
        const bool large = style == '+' || style == 'x' || style == 'o';
        if (!large) {
            EXPECT_TRUE(Same(this->Marked(9, 9, 4, 4, style), this->Dots(9, 9, {{4, 4}}))) << code;
            EXPECT_TRUE(Same(this->Marked(9, 9, 0, 8, style), this->Dots(9, 9, {{0, 8}}))) << code;
            EXPECT_TRUE(Same(this->Marked(9, 9, 9, 8, style), this->Dots(9, 9, {}))) << code;
        } else {
            EXPECT_TRUE(Same(this->Marked(9, 9, 0, 8, style), this->Dots(9, 9, {}))) << code;
        }
    }
}

TYPED_TEST(Drawing, MarkersFarOutsideDrawNothing)
{
    for (const char style : {'+', 'x', 'o', '.'})
        for (const int x : {-32768, -1, 4, 32767})
            for (const int y : {-32768, -1, 32767})
                EXPECT_TRUE(Same(this->Marked(9, 9, x, y, style), this->Dots(9, 9, {}))) << x << ' ' << y;
}

TYPED_TEST(Drawing, MarkersReachTheLastCoordinate)
{
    MatOf<TypeParam> m(32771, 7); // the marker at 32767 is the last that fits
    m.Fill(0);
    m.DrawCross(32767, 3, this->color, 'o');
    EXPECT_EQ(m(32770, 3), this->color);
    EXPECT_EQ(m(32764, 3), this->color);
    EXPECT_EQ(m(32767, 3), 0);
    MatOf<TypeParam> narrow = m(RNG(0, 32769), RNG::All());
    narrow.Fill(0);
    narrow.DrawCross(32767, 3, this->color, 'o');
    EXPECT_EQ(m(32764, 3), 0);
}

TYPED_TEST(Drawing, MarkersWriteOnlyIntoTheirView)
{
    Random random(22);
    for (const Layout& layout : viewLayouts) {
        for (const char style : {'+', 'x', 'o', '.'}) {
            for (const auto& [x, y] : {std::pair{3, 3}, {6, 4}, {5, 7}, {2, 5}, {9, 10}, {0, 0}}) {
                Picture<TypeParam> wanted = Noise<TypeParam>(random, 10, 11);
                Laid<TypeParam> laid(wanted, layout, random);
                PlainMarker(wanted, x, y, this->color, style);
                laid.view.DrawCross(static_cast<short>(x), static_cast<short>(y), this->color, style);
                ASSERT_TRUE(Same(laid.view, wanted)) << layout << ", " << style;
                ASSERT_TRUE(laid.SurroundingsUntouched()) << layout << ", " << style;
            }
        }
    }
}

// ---- lines

TYPED_TEST(Drawing, OnATieTheMinorCoordinateStays)
{
    const auto down = this->Dots(6, 4, {{0, 0}, {1, 0}, {2, 1}, {3, 1}, {4, 2}});
    EXPECT_TRUE(Same(this->Drawn(6, 4, 0, 0, 4, 2), down));
    // From the other end the same ties stay at the other row.
    const auto up = this->Dots(6, 4, {{4, 2}, {3, 2}, {2, 1}, {1, 1}, {0, 0}});
    EXPECT_TRUE(Same(this->Drawn(6, 4, 4, 2, 0, 0), up));
    // And along y.
    const auto steep = this->Dots(4, 6, {{0, 0}, {0, 1}, {1, 2}, {1, 3}, {2, 4}});
    EXPECT_TRUE(Same(this->Drawn(4, 6, 0, 0, 2, 4), steep));
}

TYPED_TEST(Drawing, ALineWithoutLengthIsOnePixel)
{
    EXPECT_TRUE(Same(this->Drawn(5, 5, 0, 0, 0, 0), this->Dots(5, 5, {{0, 0}})));
    EXPECT_TRUE(Same(this->Drawn(5, 5, 4, 3, 4, 3), this->Dots(5, 5, {{4, 3}})));
    EXPECT_TRUE(Same(this->Drawn(5, 5, 5, 3, 5, 3), this->Dots(5, 5, {})));
    EXPECT_TRUE(Same(this->Drawn(5, 5, -32768, -32768, -32768, -32768), this->Dots(5, 5, {})));
}

TYPED_TEST(Drawing, PixelsOutsideAreLeftOutAndTheWalkGoesOn)
{
    EXPECT_TRUE(Same(this->Drawn(8, 3, -5, 0, 5, 0),
                     this->Dots(8, 3, {{0, 0}, {1, 0}, {2, 0}, {3, 0}, {4, 0}, {5, 0}})));
    EXPECT_TRUE(Same(this->Drawn(3, 3, -2, -2, 8, 8), this->Dots(3, 3, {{0, 0}, {1, 1}, {2, 2}})));
    EXPECT_TRUE(Same(this->Drawn(4, 4, -3, 4, 4, -3), this->Dots(4, 4, {{0, 1}, {1, 0}})));
}

TYPED_TEST(Drawing, DiagonalsGoInAllFourDirections)
{
    for (const auto& [x2, y2] : {std::pair{6, 6}, {0, 0}, {6, 0}, {0, 6}}) {
        Points points;
        for (int k = 0; k <= 3; k++) points.push_back({3 + (x2 > 3 ? k : -k), 3 + (y2 > 3 ? k : -k)});
        EXPECT_TRUE(Same(this->Drawn(7, 7, 3, 3, x2, y2), this->Dots(7, 7, points))) << x2 << ' ' << y2;
    }
}

TYPED_TEST(Drawing, EveryLineOfASmallSquareIsTheWalkedOne)
{
    const int w = 7, h = 6;
    MatOf<TypeParam> m(w, h);
    for (int y1 = -3; y1 <= h + 2; y1++) {
        for (int x1 = -3; x1 <= w + 2; x1++) {
            for (int y2 = -3; y2 <= h + 2; y2++) {
                for (int x2 = -3; x2 <= w + 2; x2++) {
                    const Points walked = WalkedLine(x1, y1, x2, y2);
                    ASSERT_EQ(walked, RoundedLine(x1, y1, x2, y2));
                    m.Fill(0);
                    m.DrawLine(static_cast<short>(x1), static_cast<short>(y1), static_cast<short>(x2),
                               static_cast<short>(y2), this->color);
                    ASSERT_EQ(PictureOf<TypeParam>(m), this->Dots(w, h, walked))
                        << x1 << ", " << y1 << " to " << x2 << ", " << y2;
                }
            }
        }
    }
}

TYPED_TEST(Drawing, RandomLinesOfAnyCoordinatesAreTheWalkedOnes)
{
    Random random(23);
    const int w = 120, h = 90;
    for (int n = 0; n < 150; n++) {
        int x1 = Between(random, -32768, 32767), y1 = Between(random, -32768, 32767);
        int x2 = Between(random, -32768, 32767), y2 = Between(random, -32768, 32767);
        if (n % 5 != 0) { // the other end across the picture
            x2 = std::clamp(2 * Between(random, 0, w - 1) - x1, -32768, 32767);
            y2 = std::clamp(2 * Between(random, 0, h - 1) - y1, -32768, 32767);
        }
        if (n % 7 == 0) x2 = x1 = Between(random, 0, w - 1);
        if (n % 11 == 0) y2 = y1 = Between(random, 0, h - 1);
        const Points walked = WalkedLine(x1, y1, x2, y2);
        ASSERT_EQ(walked, RoundedLine(x1, y1, x2, y2)) << x1 << ", " << y1 << " to " << x2 << ", " << y2;
        ASSERT_TRUE(Same(this->Drawn(w, h, x1, y1, x2, y2), this->Dots(w, h, walked)))
            << x1 << ", " << y1 << " to " << x2 << ", " << y2;
    }
}

TYPED_TEST(Drawing, LinesOfWholeLengthAreTheWalkedOnes)
{
    Random random(24);
    const int w = 32768, h = 24;
    const int ends[][4] = {{0, 0, 32767, 23},     {32767, 0, 0, 23},       {-32768, -32, 32767, 40},
                           {32767, 5, -32768, 6}, {-32768, 11, 32767, 12}, {-32768, -32768, 32767, 32767}};
    for (const auto& [x1, y1, x2, y2] : ends) {
        ASSERT_TRUE(Same(this->Drawn(w, h, x1, y1, x2, y2), this->Dots(w, h, RoundedLine(x1, y1, x2, y2))));
        ASSERT_TRUE(Same(this->Drawn(h, w, y1, x1, y2, x2), this->Dots(h, w, RoundedLine(y1, x1, y2, x2))));
    }
}

TYPED_TEST(Drawing, TheLongestLinesDoNotOverflow)
{
    const int low = -32768, high = 32767;
    for (const auto& [x1, y1, x2, y2] : std::vector<std::array<int, 4>>{{low, low, high, high},
                                                                        {high, high, low, low},
                                                                        {low, high, high, low + 1},
                                                                        {high, low, low, high},
                                                                        {low, low, high, high - 1},
                                                                        {low, low, high - 1, high}}) {
        const Points walked = WalkedLine(x1, y1, x2, y2);
        ASSERT_EQ(walked.size(),
                  static_cast<std::size_t>(std::max(std::abs(x2 - x1), std::abs(y2 - y1))) + 1);
        ASSERT_EQ(walked, RoundedLine(x1, y1, x2, y2));
        EXPECT_TRUE(Same(this->Drawn(50, 50, x1, y1, x2, y2), this->Dots(50, 50, walked)));
    }
}

TYPED_TEST(Drawing, LinesWriteOnlyIntoTheirView)
{
    Random random(25);
    for (const Layout& layout : viewLayouts) {
        for (int n = 0; n < 40; n++) {
            Picture<TypeParam> wanted = Noise<TypeParam>(random, 12, 9);
            Laid<TypeParam> laid(wanted, layout, random);
            const int x1 = Between(random, -6, 17), y1 = Between(random, -6, 14);
            const int x2 = Between(random, -6, 17), y2 = Between(random, -6, 14);
            for (const auto& [x, y] : WalkedLine(x1, y1, x2, y2)) Set(wanted, x, y, this->color);
            laid.view.DrawLine(static_cast<short>(x1), static_cast<short>(y1), static_cast<short>(x2),
                               static_cast<short>(y2), this->color);
            ASSERT_TRUE(Same(laid.view, wanted)) << layout;
            ASSERT_TRUE(laid.SurroundingsUntouched()) << layout;
        }
    }
}

TYPED_TEST(Drawing, DrawsIntoAFrameOfASequence)
{
    using Cub = typename kavrix::Family<TypeParam>::Cub;
    Cub seq(10, 8, 3);
    seq.Fill(0);
    MatOf<TypeParam> frame = seq(RNG::All(), RNG::All(), 1);
    frame.DrawLine(0, 0, 9, 7, this->color);
    frame.DrawCross(5, 4, this->color, '+');
    Picture<TypeParam> wanted = this->Dots(10, 8, WalkedLine(0, 0, 9, 7));
    PlainMarker(wanted, 5, 4, this->color, '+');
    EXPECT_TRUE(Same(MatOf<TypeParam>(seq(RNG::All(), RNG::All(), 1)), wanted));
    EXPECT_TRUE(Same(MatOf<TypeParam>(seq(RNG::All(), RNG::All(), 0)), this->Dots(10, 8, {})));
    EXPECT_TRUE(Same(MatOf<TypeParam>(seq(RNG::All(), RNG::All(), 2)), this->Dots(10, 8, {})));
}

TYPED_TEST(Drawing, AnyColourIsWrittenAsItIs)
{
    for (const TypeParam value : {std::numeric_limits<TypeParam>::min(),
                                  std::numeric_limits<TypeParam>::max(), TypeParam{0}, TypeParam{1}}) {
        MatOf<TypeParam> m(3, 1);
        m.Fill(7);
        m.DrawLine(0, 0, 1, 0, value);
        m.DrawCross(2, 0, value, '.');
        for (int x = 0; x < 3; x++) EXPECT_EQ(m(x, 0), value);
    }
}

TYPED_TEST(Drawing, AnEmptyPictureStaysEmpty)
{
    MatOf<TypeParam> m;
    m.DrawLine(-5, -5, 5, 5, this->color);
    for (const char style : {'+', 'x', 'o', '.'}) m.DrawCross(0, 0, this->color, style);
    EXPECT_EQ(m.pblock, nullptr);
    EXPECT_EQ(m.dim1, 0);
}

} // namespace
