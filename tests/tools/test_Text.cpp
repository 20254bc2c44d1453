// Text of names that may hold any bytes.
#include <tools/Text.h>

#include <gtest/gtest.h>

#include <string>

using namespace telvane;

namespace {

TEST(Printable, PlainTextAndEveryWritingStay)
{
    for (const char* text : {"", "img1.bmp", "a b~!", "\xC3\xBC\xC3\x9F", "\xE2\x86\x92\xEF\xBD\xA1",
                             "\xF0\x9F\x94\xA7\xF4\x8F\xBF\xBD", "\xC2\xA0", "\xED\x9F\xBF\xEE\x80\x80"})
        EXPECT_EQ(Printable(text), text);
}

TEST(Printable, ControlCharactersAreWrittenAsBytes)
{
    EXPECT_EQ(Printable(std::string("a\0b\n\r\t\x1B[31m\x7F", 12)), "a\\x00b\\x0A\\x0D\\x09\\x1B[31m\\x7F");
    for (const char* turning : {"\xD8\x9C", "\xE2\x80\x8E", "\xE2\x80\x8F", "\xE2\x80\xAA", "\xE2\x80\xAE",
                                "\xE2\x81\xA6", "\xE2\x81\xA9"})
        EXPECT_EQ(Printable(turning).substr(0, 2), "\\x") << "what turns the writing round";
    for (const char* neighbour : {"\xE2\x80\x8D", "\xE2\x80\x90", "\xE2\x80\xAF", "\xE2\x81\xAA"})
        EXPECT_EQ(Printable(neighbour), neighbour);
    for (const char* none : {"\xE2\x80\xA8", "\xE2\x80\xA9", "\xEF\xBF\xBE", "\xEF\xBF\xBF",
                             "\xF0\x9F\xBF\xBE", "\xF4\x8F\xBF\xBF"})
        EXPECT_EQ(Printable(none).substr(0, 2), "\\x") << "ends of lines, and no characters";
    EXPECT_EQ(Printable("\x1F \xC2\x80\xC2\x9F"), "\\x1F \\xC2\\x80\\xC2\\x9F");
    EXPECT_EQ(Printable("\xE2\x80\xA8\xE2\x80\xAE"
                        "b\xE2\x81\xA6\xEF\xBB\xBF\xEF\xBF\xBF"),
              "\\xE2\\x80\\xA8\\xE2\\x80\\xAE"
              "b\\xE2\\x81\\xA6\\xEF\\xBB\\xBF\\xEF\\xBF\\xBF");
}

TEST(Printable, WhatIsNoUtf8IsWrittenAsBytes)
{
    const std::pair<const char*, const char*> texts[] = {
        {"\xFFz", "\\xFFz"},
        {"\x80", "\\x80"},
        {"\xC0\xAF", "\\xC0\\xAF"}, // longer than needed
        {"\xE0\x9F\xBF", "\\xE0\\x9F\\xBF"},
        {"\xF0\x8F\xBF\xBF", "\\xF0\\x8F\\xBF\\xBF"},
        {"\xED\xA0\x80", "\\xED\\xA0\\x80"}, // half of a pair
        {"\xED\xBF\xBF", "\\xED\\xBF\\xBF"},
        {"\xF4\x90\x80\x80", "\\xF4\\x90\\x80\\x80"}, // beyond the last character
        {"\xF5\x80\x80\x80", "\\xF5\\x80\\x80\\x80"},
        {"\xF9\x80\x80\x80", "\\xF9\\x80\\x80\\x80"},
        {"\xC3", "\\xC3"}, // cut short
        {"\xE2\x86", "\\xE2\\x86"},
        {"\xC3(", "\\xC3("},
        {"\xE2\x86\xC3\xBC", "\\xE2\\x86\xC3\xBC"},
    };
    for (const auto& [bytes, shown] : texts) EXPECT_EQ(Printable(bytes), shown);
}

} // namespace
