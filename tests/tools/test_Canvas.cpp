// The picture that the tools draw on, its letters and its PNG file.
#include <tests/support/Decoded.h>
#include <tests/support/Pictures.h>

#include <tools/Canvas.h>
#include <tools/Font.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <ostream>
#include <set>
#include <string>

void PrintTo(const Colour& c, std::ostream* out)
{
    *out << '(' << +c.red << ", " << +c.green << ", " << +c.blue << ')';
}

namespace {

const Colour ground{10, 20, 30}, ink{250, 130, 60};

/// Pixels that are not the ground, as a picture of 1 and 0.
pictures::Bytes Drawn(const Canvas& canvas)
{
    pictures::Bytes drawn(canvas.width(), canvas.height());
    for (int y = 0; y < drawn.h; y++)
        for (int x = 0; x < drawn.w; x++) drawn.At(x, y) = canvas.at(x, y) == ground ? 0 : 1;
    return drawn;
}

bool Untouched(const Canvas& canvas)
{
    const pictures::Bytes drawn = Drawn(canvas);
    return std::count(drawn.a.begin(), drawn.a.end(), 0) == static_cast<std::ptrdiff_t>(drawn.a.size());
}

TEST(Canvas, AGreyPictureKeepsItsPixels)
{
    pictures::Random random(1);
    const pictures::Bytes grey = pictures::Noise<std::uint8_t>(random, 13, 7);
    const Canvas canvas(pictures::ArrayOf(grey));
    ASSERT_EQ(canvas.width(), 13);
    ASSERT_EQ(canvas.height(), 7);
    for (int y = 0; y < 7; y++)
        for (int x = 0; x < 13; x++) {
            const std::uint8_t v = grey.At(x, y);
            EXPECT_EQ(canvas.at(x, y), (Colour{v, v, v}));
        }
}

TEST(Canvas, CoverMixesTheColours)
{
    Canvas canvas(3, 1, {100, 0, 200});
    canvas.blend(0, 0, {200, 255, 0}, 0.5);
    canvas.blend(1, 0, {200, 255, 0}, 1);
    canvas.blend(2, 0, {200, 255, 0}, 0);
    EXPECT_EQ(canvas.at(0, 0), (Colour{150, 128, 100}));
    EXPECT_EQ(canvas.at(1, 0), (Colour{200, 255, 0}));
    EXPECT_EQ(canvas.at(2, 0), (Colour{100, 0, 200}));
}

TEST(Canvas, AThinLineCoversThePixelsItRunsThrough)
{
    Canvas canvas(9, 5, ground);
    canvas.line(2, 2, 6, 2, ink, 1);
    for (int x = 2; x <= 6; x++) EXPECT_EQ(canvas.at(x, 2), ink) << x;
    for (int x = 0; x < 9; x++)
        for (int y : {0, 1, 3, 4}) EXPECT_EQ(canvas.at(x, y), ground) << x << ' ' << y;
    EXPECT_EQ(canvas.at(0, 2), ground);
    EXPECT_EQ(canvas.at(8, 2), ground);
}

TEST(Canvas, ACircleLiesAtItsRadius)
{
    const double x0 = 40.3, y0 = 35.8, radius = 25;
    Canvas canvas(80, 70, ground);
    canvas.circle(x0, y0, radius, ink, 3);
    for (int y = 0; y < 70; y++)
        for (int x = 0; x < 80; x++) {
            const double off = std::abs(std::hypot(x - x0, y - y0) - radius);
            if (off < 1 || off > 2) {
                EXPECT_EQ(canvas.at(x, y), off < 1 ? ink : ground) << x << ' ' << y;
            }
        }
}

TEST(Canvas, AnArcRunsClockwiseFromItsFirstAngle)
{
    Canvas canvas(61, 61, ground);
    canvas.arc(30, 30, 20, 30, 60, ink, 3); // below and to the right
    for (const auto& [degrees, there] :
         {std::pair{45, true}, {10, false}, {80, false}, {225, false}, {-45, false}}) {
        const double angle = degrees * 3.14159265358979 / 180;
        const int x = static_cast<int>(std::lround(30 + 20 * std::cos(angle)));
        const int y = static_cast<int>(std::lround(30 + 20 * std::sin(angle)));
        EXPECT_EQ(canvas.at(x, y) != ground, there) << degrees;
    }
    canvas.arc(30, 30, 20, 350, 370, ink, 3); // across 0
    EXPECT_EQ(canvas.at(50, 30), ink);
    EXPECT_EQ(canvas.at(10, 30), ground);
}

TEST(Canvas, TheHeadOfAnArrowIsAtItsEnd)
{
    Canvas canvas(60, 21, ground);
    canvas.arrow(5, 10, 50, 10, ink, 1);
    const pictures::Bytes drawn = Drawn(canvas);
    const auto inColumns = [&](int from, int to) {
        int count = 0;
        for (int y = 0; y < drawn.h; y++)
            for (int x = from; x <= to; x++) count += drawn.At(x, y);
        return count;
    };
    EXPECT_EQ(inColumns(10, 20), 11);
    EXPECT_GT(inColumns(45, 50), 11);
}

TEST(Canvas, WhatLiesOutsideIsLeftOut)
{
    const double far = 1e9;
    Canvas canvas(20, 10, ground);
    canvas.line(-far, -far, -5, 30, ink, 2);
    canvas.line(25, 5, far, 5, ink, 2);
    canvas.circle(10, 5, 100000, ink, 3);
    canvas.circle(-50, -50, 10, ink, 3);
    canvas.arc(500, 5, 20, 0, 90, ink, 3);
    canvas.disc(10, 40, 20, ink);
    canvas.box(-30, -20, 60, 50, ink, 3);
    canvas.shade(20, 0, 40, 9, ink, 1);
    canvas.text(-100, 2, "ABC", ink, 2);
    canvas.text(22, -3, "ABC", ink, 2);
    canvas.blend(-1, 0, ink, 1);
    canvas.blend(0, 10, ink, 1);
    EXPECT_TRUE(Untouched(canvas));
    canvas.line(-far, 5, far, 5, ink, 1); // crosses it
    EXPECT_EQ(canvas.at(0, 5), ink);
    EXPECT_EQ(canvas.at(19, 5), ink);
    EXPECT_EQ(canvas.at(10, 3), ground);
}

TEST(Canvas, LettersAreScaledSquares)
{
    Canvas small(12, 12, ground), large(36, 36, ground);
    small.text(1, 1, "g", ink, 1);
    large.text(3, 3, "g", ink, 3);
    ASSERT_FALSE(Untouched(small));
    for (int y = 0; y < 36; y++)
        for (int x = 0; x < 36; x++) EXPECT_EQ(large.at(x, y), small.at(x / 3, y / 3)) << x << ' ' << y;
}

TEST(Canvas, TextIsAsWideAsItSays)
{
    Canvas canvas(100, 20, ground);
    canvas.text(3, 2, "HEH", ink, 2); // letters that fill their squares from edge to edge
    const pictures::Bytes drawn = Drawn(canvas);
    int first = drawn.w, last = -1;
    for (int y = 0; y < drawn.h; y++)
        for (int x = 0; x < drawn.w; x++)
            if (drawn.At(x, y)) {
                first = std::min(first, x);
                last = std::max(last, x);
            }
    EXPECT_EQ(first, 3);
    EXPECT_EQ(last - first + 1, TextWidth("HEH", 2));
    EXPECT_EQ(TextWidth("", 2), 0);
}

TEST(Canvas, LabelsMoveInsideThePicture)
{
    for (const auto& [x, y] : {std::pair{-1e9, -1e9}, {1e9, 1e9}, {0., 40.}, {199., 40.}, {100., -3.}}) {
        Canvas canvas(200, 80, ground);
        canvas.label(x, y, "inside", ink, 2);
        int letters = 0;
        for (int py = 0; py < 80; py++)
            for (int px = 0; px < 200; px++) letters += canvas.at(px, py) == ink;
        Canvas middle(200, 80, ground);
        middle.label(100, 40, "inside", ink, 2);
        int wanted = 0;
        for (int py = 0; py < 80; py++)
            for (int px = 0; px < 200; px++) wanted += middle.at(px, py) == ink;
        EXPECT_GT(wanted, 0);
        EXPECT_EQ(letters, wanted) << x << ' ' << y;
    }
}

TEST(Canvas, ThePngFileHoldsThePixels)
{
    pictures::Random random(2);
    Canvas canvas(37, 11);
    for (int y = 0; y < 11; y++)
        for (int x = 0; x < 37; x++) {
            const auto part = [&] { return static_cast<UBYTE>(pictures::Between(random, 0, 255)); };
            canvas.set(x, y, {part(), part(), part()});
        }
    const decoded::Colours read = decoded::DecodePng(canvas.png());
    ASSERT_EQ(read.width, 37);
    ASSERT_EQ(read.height, 11);
    for (int y = 0; y < 11; y++)
        for (int x = 0; x < 37; x++) {
            const Colour c = canvas.at(x, y);
            EXPECT_EQ(read.At(x, y), static_cast<unsigned>(c.red << 16 | c.green << 8 | c.blue));
        }
}

TEST(Font, EveryGlyphIsDifferentAndOfWholeRows)
{
    std::set<std::string> seen;
    for (char c = ' '; c <= '~'; c++) {
        const std::string rows = font::Glyph(c);
        EXPECT_TRUE(seen.insert(rows).second) << c;
        EXPECT_EQ(rows.find_first_not_of("01 "), rows.npos) << c;
        EXPECT_LE(rows.size(), static_cast<std::size_t>(6 * (font::height + font::depth) - 1)) << c;
        for (std::size_t i = 0; i < rows.size(); i++) EXPECT_EQ(rows[i] == ' ', i % 6 == 5) << c;
        EXPECT_TRUE(rows.empty() || rows.size() % 6 == 5) << c;
        EXPECT_EQ(rows.find('1') == rows.npos, c == ' ') << c;
    }
}

TEST(Font, OtherCharactersShowAQuestionMark)
{
    for (int c : {0, 9, 10, 31, 127, 128, 200, 255})
        EXPECT_STREQ(font::Glyph(static_cast<char>(c)), font::Glyph('?')) << c;
}

} // namespace
