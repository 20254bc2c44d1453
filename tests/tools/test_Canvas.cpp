// Pictures in colour and in grey, and their PNG files.
#include <tests/support/Decoded.h>
#include <tests/support/Pictures.h>

#include <tools/Canvas.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <ostream>

namespace telvane {
void PrintTo(const Colour& c, std::ostream* out)
{
    *out << '(' << +c.red << ", " << +c.green << ", " << +c.blue << ')';
}
} // namespace telvane

using namespace telvane;

namespace {

TEST(Canvas, BeginsBlackAndKeepsItsPixels)
{
    for (int i = 0; i < 20; i++) { // memory that is used again is not black
        Canvas white(4, 3);
        for (int at = 0; at < 12; at++) white.Set(at % 4, at / 4, {255, 255, 255});
    }
    Canvas canvas(4, 3);
    EXPECT_EQ(canvas.Width(), 4);
    EXPECT_EQ(canvas.Height(), 3);
    canvas.Set(3, 1, {1, 2, 3});
    for (int y = 0; y < 3; y++)
        for (int x = 0; x < 4; x++)
            EXPECT_EQ(canvas.At(x, y), (x == 3 && y == 1 ? Colour{1, 2, 3} : Colour{})) << x << ", " << y;
}

TEST(Canvas, ThePngFileHoldsThePixels)
{
    pictures::Random random(2);
    Canvas canvas(37, 11);
    for (int y = 0; y < 11; y++)
        for (int x = 0; x < 37; x++) {
            const auto part = [&] { return static_cast<UBYTE>(pictures::Between(random, 0, 255)); };
            canvas.Set(x, y, {part(), part(), part()});
        }
    const decoded::Colours read = decoded::DecodePng(canvas.Png());
    ASSERT_EQ(read.width, 37);
    ASSERT_EQ(read.height, 11);
    for (int y = 0; y < 11; y++)
        for (int x = 0; x < 37; x++) {
            const Colour c = canvas.At(x, y);
            EXPECT_EQ(read.At(x, y), static_cast<unsigned>(c.red << 16 | c.green << 8 | c.blue));
        }
}

TEST(Canvas, TheGreyPngFileHoldsThePixels)
{
    pictures::Random random(1);
    const pictures::Bytes grey = pictures::Noise<std::uint8_t>(random, 13, 7);
    const decoded::Colours read = decoded::DecodePng(GreyPng(pictures::ArrayOf(grey)));
    ASSERT_EQ(read.width, 13);
    ASSERT_EQ(read.height, 7);
    for (int y = 0; y < 7; y++)
        for (int x = 0; x < 13; x++) EXPECT_EQ(read.At(x, y), grey.At(x, y) * 0x10101u) << x << ", " << y;
}

} // namespace
