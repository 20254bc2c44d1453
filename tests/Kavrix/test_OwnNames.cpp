// A program that has functions of its own under the names of the library's inner ones, linked with the
// library as a debug build makes it, where none of them is inlined: each keeps its own.
#include <tests/compile/OwnNames.h>

#include <Kavrix/Kavrix.h>

#include <gtest/gtest.h>

#include <cstdio>

namespace {

TEST(OwnNames, AreTheProgramsOwn)
{
    EXPECT_EQ(Quotient(7, 0), 42);
    EXPECT_EQ(WrapAdd<short>(1, 1), 42);
    EXPECT_EQ(ShapeOf(MatShort(2, 2)), Shape::round);
}

template <class M> void ExpectTheLibrarysArithmetic()
{
    using T = std::remove_reference_t<decltype(M()(0, 0))>;
    M seven(1, 1), zero(1, 1);
    seven.Fill(7);
    zero.Fill(0);
    const auto value = [](const M& m) { return static_cast<int>(m(0, 0)); };
    EXPECT_EQ(value(seven / zero), 0);
    EXPECT_EQ(value(seven / T(0)), 0);
    EXPECT_EQ(value(seven / T(2)), 3);
    EXPECT_EQ(value(seven + seven), 14);
    EXPECT_EQ(value(seven - zero), 7);
    EXPECT_EQ(value(seven * T(3)), 21);
    EXPECT_EQ(value(seven * 1.5f), 10);
    EXPECT_EQ(value(seven << 2), 28);
    EXPECT_EQ(value(seven >> 1), 3);
    EXPECT_EQ(value(M(~seven)), static_cast<T>(~7));
}

TEST(OwnNames, DoNotReplaceTheLibrarysArithmetic)
{
    ExpectTheLibrarysArithmetic<MatByte>();
    ExpectTheLibrarysArithmetic<MatShort>();
    ExpectTheLibrarysArithmetic<MatInt>();
}

TEST(OwnNames, DoNotReplaceTheLibrarysConversionsAndReductions)
{
    VecShort shorts;
    Convert(VecFloat(-2.5f, 70000.0f), shorts);
    EXPECT_EQ(shorts(0), -2);
    EXPECT_EQ(shorts(1), 4464);
    VecShort values(5, 1, 4, 3, 2);
    EXPECT_EQ(Sum(values), 15);
    EXPECT_EQ(Max(values), 5);
    EXPECT_EQ(Argmin(values), 1);
    EXPECT_EQ(values.median(), 3);
    values.sort();
    EXPECT_EQ(values(0), 1);
    EXPECT_EQ(Abs(MatShort(All(short(-7), 1, 1)))(0, 0), 7);
    EXPECT_EQ(MatByte(MatShort(All(short(7), 1, 1)) == MatShort(All(short(7), 1, 1)))(0, 0), 255);
}

TEST(OwnNames, DoNotReplaceTheLibrarysFiles)
{
    MatByte picture(3, 2), back;
    picture.Fill(200);
    const char* const file = "own_names.bmp";
    EXPECT_EQ(picture.WriteBMP(file), 0);
    EXPECT_EQ(back.ReadBMP(file), 0);
    EXPECT_EQ(back.dim1, 3);
    EXPECT_EQ(back(2, 1), 200);
    std::remove(file);
}

} // namespace
