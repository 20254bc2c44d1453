// The motion in colours.
#include <tests/support/Pictures.h>

#include <tests/support/Decoded.h>
#include <tests/support/Svg.h>

#include <report/Flow.h>

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <numbers>
#include <ostream>

namespace telvane {
void PrintTo(const Colour& c, std::ostream* out)
{
    *out << '(' << +c.red << ", " << +c.green << ", " << +c.blue << ')';
}
} // namespace telvane

namespace {

using namespace pictures;
using namespace telvane;

/// Hue, full saturation and value as colours are usually computed: by sixths of the circle.
Colour PlainHsv(double degrees, double value)
{
    double hue = std::fmod(degrees, 360.0) / 60;
    if (hue < 0) hue += 6;
    const int sixth = static_cast<int>(hue) % 6;
    const double rising = value * (hue - std::floor(hue)), falling = value - rising;
    double rgb[3] = {};
    switch (sixth) {
    case 0: rgb[0] = value, rgb[1] = rising; break;
    case 1: rgb[0] = falling, rgb[1] = value; break;
    case 2: rgb[1] = value, rgb[2] = rising; break;
    case 3: rgb[1] = falling, rgb[2] = value; break;
    case 4: rgb[0] = rising, rgb[2] = value; break;
    default: rgb[0] = value, rgb[2] = falling;
    }
    const auto part = [](double v) { return static_cast<UBYTE>(v * 255 + 0.5); };
    return {part(rgb[0]), part(rgb[1]), part(rgb[2])};
}

bool Near(const Colour& a, const Colour& b)
{
    return std::abs(a.red - b.red) <= 1 && std::abs(a.green - b.green) <= 1 && std::abs(a.blue - b.blue) <= 1;
}

/// The picture of one vector, as strong as the strongest.
Colour ColourOf(int u, int v)
{
    const auto one = [](int value) { return ArrayOf(Shorts(1, 1, static_cast<std::int16_t>(value))); };
    return FlowPicture(one(u), one(v)).At(0, 0);
}

TEST(FlowColour, FollowsThePlainFormula)
{
    for (int degrees = -720; degrees <= 720; degrees++)
        for (double strength : {0.0, 0.04, 0.25, 0.7, 1.0}) {
            const Colour c = FlowColour(degrees, strength);
            EXPECT_TRUE(Near(c, PlainHsv(degrees, std::sqrt(strength))))
                << degrees << ' ' << strength << ' ' << testing::PrintToString(c);
        }
    EXPECT_EQ(FlowColour(50, 7), FlowColour(50, 1));
}

TEST(FlowPicture, ColoursShowWhereThePictureMovesTo)
{
    // The vectors as delivered point against the motion.
    EXPECT_EQ(ColourOf(-900, 0), (Colour{255, 0, 0})) << "to the right";
    EXPECT_EQ(ColourOf(900, 0), (Colour{0, 255, 255})) << "to the left";
    EXPECT_TRUE(Near(ColourOf(0, -900), {128, 255, 0})) << "down";
    EXPECT_TRUE(Near(ColourOf(0, 900), {128, 0, 255})) << "up";
}

TEST(FlowPicture, BrightnessIsTheStrength)
{
    Shorts u(5, 1), v(5, 1);
    const int strengths[] = {0, 100, 225, 400, 900};
    for (int x = 0; x < 5; x++) u.At(x, 0) = static_cast<std::int16_t>(-strengths[x]);
    const Canvas canvas = FlowPicture(ArrayOf(u), ArrayOf(v));
    const int bright[] = {0, 85, 128, 170, 255};
    for (int x = 0; x < 5; x++) EXPECT_EQ(canvas.At(x, 0).red, bright[x]) << x;
    const Bytes strength = PictureOf<UBYTE>(StrengthPicture(ArrayOf(u), ArrayOf(v)));
    const int linear[] = {0, 28, 64, 113, 255};
    for (int x = 0; x < 5; x++) EXPECT_EQ(strength.At(x, 0), linear[x]) << x;
    // Of both directions together.
    u.At(0, 0) = 300;
    v.At(0, 0) = -400;
    EXPECT_EQ(PictureOf<UBYTE>(StrengthPicture(ArrayOf(u), ArrayOf(v))).At(0, 0), 142);
}

TEST(FlowPicture, NoMotionIsBlack)
{
    const MatShort none = ArrayOf(Shorts(6, 4));
    EXPECT_EQ(StrongestFlow(none, none), 0);
    const Canvas canvas = FlowPicture(none, none);
    for (int x = 0; x < 6; x++) EXPECT_EQ(canvas.At(x, 3), (Colour{0, 0, 0}));
    EXPECT_TRUE(Same(StrengthPicture(none, none), Bytes(6, 4)));
}

TEST(FlowPicture, TheEndsOfTheRangeAreShown)
{
    EXPECT_EQ(ColourOf(-32768, 0), (Colour{255, 0, 0}));
    EXPECT_EQ(ColourOf(32767, 0), (Colour{0, 255, 255}));
    EXPECT_NEAR(StrongestFlow(ArrayOf(Shorts(1, 1, -32768)), ArrayOf(Shorts(1, 1, -32768))), 46340.95, 0.01);
}

TEST(FlowPicture, AClockwiseWheelIsRedOnTop)
{
    const int size = 81, middle = 40;
    Shorts u(size, size), v(size, size);
    for (int y = 0; y < size; y++)
        for (int x = 0; x < size; x++) { // clockwise motion is (-dy, dx); the vectors point against it
            u.At(x, y) = static_cast<std::int16_t>(10 * (y - middle));
            v.At(x, y) = static_cast<std::int16_t>(-10 * (x - middle));
        }
    const Canvas canvas = FlowPicture(ArrayOf(u), ArrayOf(v));
    const auto hue = [&](int x, int y) { return canvas.At(x, y); };
    EXPECT_TRUE(hue(middle, 0).red > 200 && hue(middle, 0).green < 5 && hue(middle, 0).blue < 5);
    EXPECT_TRUE(hue(size - 1, middle).green > 200 && hue(size - 1, middle).blue == 0);
    EXPECT_TRUE(hue(middle, size - 1).red < 5 && hue(middle, size - 1).green > 200);
    EXPECT_TRUE(hue(0, middle).blue > 200 && hue(0, middle).green == 0);
}

TEST(FlowWheel, ShowsTheColoursWithTheirDirectionsInWords)
{
    const svg::Document drawn(FlowWheel());
    svg::Point middle;
    double radius = 0;
    decoded::Colours below;
    std::map<std::string, svg::Point> words;
    for (const svg::Shape& shape : drawn.All()) {
        if (shape.name == "text") words[shape.text] = {shape.Number("x"), shape.Number("y")};
        if (shape.name != "image") continue;
        radius = shape.Number("width") / 2;
        middle = {shape.Number("x") + radius, shape.Number("y") + radius};
        EXPECT_EQ(shape.Number("height"), 2 * radius);
        const std::string& href = shape.Text("href");
        below = decoded::DecodePng(html::FromBase64(href.substr(href.find(',') + 1)));
    }
    ASSERT_EQ(below.width, 2 * radius);
    ASSERT_EQ(below.height, 2 * radius);
    for (int y = 0; y < below.height; y++)
        for (int x = 0; x < below.width; x++) {
            const double dx = x + 0.5 - radius, dy = y + 0.5 - radius;
            const Colour wanted = PlainHsv(std::atan2(dy, dx) * 180 / std::numbers::pi,
                                           std::sqrt(std::min(std::hypot(dx, dy) / radius, 1.0)));
            const unsigned c = below.At(x, y);
            const Colour shown = {static_cast<UBYTE>(c >> 16), static_cast<UBYTE>(c >> 8 & 255),
                                  static_cast<UBYTE>(c & 255)};
            ASSERT_TRUE(Near(shown, wanted)) << x << ", " << y;
        }
    ASSERT_EQ(words.size(), 4u);
    EXPECT_LT(words.at("up").y, middle.y - radius);
    EXPECT_GT(words.at("down").y, middle.y + radius);
    EXPECT_LT(words.at("left").x, middle.x - radius);
    EXPECT_GT(words.at("right").x, middle.x + radius);
    for (const svg::Shape& shape : drawn.All()) // away from the wheel
        if (shape.name == "text" && (shape.text == "left" || shape.text == "right")) {
            EXPECT_EQ(shape.Has("text-anchor") ? shape.Text("text-anchor") : "start",
                      shape.text == "left" ? "end" : "start");
        }
}

} // namespace
