// Numbers of command lines, files and pictures.
#include <tools/Numbers.h>

#include <gtest/gtest.h>

#include <string>

using namespace telvane;

namespace {

TEST(ReadNumber, TakesAWholeNumberWithOneSignAtMost)
{
    for (const auto& [text, value] : {std::pair{"0", 0},
                                      {"7", 7},
                                      {"+5", 5},
                                      {"-5", -5},
                                      {"010", 10},
                                      {"-0", 0},
                                      {"2147483647", 2147483647},
                                      {"-2147483648", -2147483647 - 1}}) {
        int number = 99;
        EXPECT_TRUE(ReadNumber(std::string_view(text), number)) << text;
        EXPECT_EQ(number, value) << text;
    }
    for (const char* text : {"", "+", "-", "+-5", "-+5", "++5", "--5", " 5", "5 ", "5.0", "1e1", "0x5", "x",
                             "2147483648", "-2147483649"}) {
        int number = 99;
        EXPECT_FALSE(ReadNumber(std::string_view(text), number)) << text;
    }
}

TEST(ReadNumber, TakesARealNumberWithAPoint)
{
    for (const auto& [text, value] :
         {std::pair{"0.4", 0.4}, {"-.5", -0.5}, {"+.5", 0.5}, {"1e3", 1000.0}, {"5", 5.0}}) {
        double number = 99;
        EXPECT_TRUE(ReadNumber(std::string_view(text), number)) << text;
        EXPECT_EQ(number, value) << text;
    }
    for (const char* text : {"", "+", "+-5", "-+.5", "0,4", "0.4x", " 1", "1e999"}) {
        double number = 99;
        EXPECT_FALSE(ReadNumber(std::string_view(text), number)) << text;
    }
}

TEST(NumberText, IsPlainBetweenATenThousandthAndABillion)
{
    for (const auto& [value, text] : {std::pair{0.0, "0"},
                                      {652.4, "652.4"},
                                      {-0.1, "-0.1"},
                                      {0.0001, "0.0001"},
                                      {0.0005, "0.0005"},
                                      {0.00001, "1e-05"},
                                      {999999999.5, "999999999.5"},
                                      {1e9, "1e+09"},
                                      {-3e12, "-3e+12"},
                                      {123456.0, "123456"}})
        EXPECT_EQ(NumberText(value), text);
}

TEST(RoundedText, RoundsToTheNearestAndKnowsNoNegativeZero)
{
    EXPECT_EQ(RoundedText(1.25, 1), "1.2") << "halves go to the even digit";
    EXPECT_EQ(RoundedText(1.26, 1), "1.3");
    EXPECT_EQ(RoundedText(-1.26, 1), "-1.3");
    EXPECT_EQ(RoundedText(2.0, 3), "2");
    EXPECT_EQ(RoundedText(12.6, 0), "13");
    EXPECT_EQ(RoundedText(-0.04, 1), "0");
    EXPECT_EQ(RoundedText(-0.0, 2), "0");
}

} // namespace
