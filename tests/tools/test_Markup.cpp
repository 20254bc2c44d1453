// What becomes part of a page: text and bytes.
#include <tools/Markup.h>

#include <tests/support/Html.h>

#include <gtest/gtest.h>

#include <string>

using namespace telvane;

namespace {

TEST(Markup, WhatMeansSomethingInAPageIsWrittenAsText)
{
    EXPECT_EQ(Escaped("<a href=\"x\" id='y'>&amp;</a>"),
              "&lt;a href=&quot;x&quot; id=&#39;y&#39;&gt;&amp;amp;&lt;/a&gt;");
    EXPECT_EQ(Escaped("plain, \xC3\xBC"), "plain, \xC3\xBC");
    EXPECT_EQ(Escaped(""), "");
}

TEST(Markup, Base64IsThatOfEverybody)
{
    for (const auto& [bytes, text] : {std::pair{"", ""},
                                      {"f", "Zg=="},
                                      {"fo", "Zm8="},
                                      {"foo", "Zm9v"},
                                      {"foob", "Zm9vYg=="},
                                      {"fooba", "Zm9vYmE="},
                                      {"foobar", "Zm9vYmFy"},
                                      {"\xFB\xEF\xBE\xFF", "++++/w=="}})
        EXPECT_EQ(Base64(bytes), text);
    std::string all;
    for (int i = 0; i < 256; i++) all += static_cast<char>(i);
    EXPECT_EQ(html::FromBase64(Base64(all)), all);
}

} // namespace
