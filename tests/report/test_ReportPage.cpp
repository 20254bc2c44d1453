// The text of the page.
#include <tests/support/Html.h>

#include <report/Page.h>

#include <gtest/gtest.h>

#include <string>

namespace {

using namespace telvane;

TEST(Base64, KnownTexts)
{
    const std::pair<const char*, const char*> texts[] = {{"", ""},
                                                         {"f", "Zg=="},
                                                         {"fo", "Zm8="},
                                                         {"foo", "Zm9v"},
                                                         {"foob", "Zm9vYg=="},
                                                         {"fooba", "Zm9vYmE="},
                                                         {"foobar", "Zm9vYmFy"}};
    for (const auto& [bytes, text] : texts) EXPECT_EQ(Base64(bytes), text);
}

TEST(Base64, EveryByteComesBack)
{
    std::string bytes;
    for (int i = 0; i < 256; i++) bytes += static_cast<char>(i);
    for (std::size_t from = 0; from < 4; from++)
        EXPECT_TRUE(html::FromBase64(Base64(bytes.substr(from))) == bytes.substr(from)) << from;
}

TEST(Page, TextsAreEscaped)
{
    const std::string nasty = "<b>&amp;\"'</p><script>x</script>";
    Page page(nasty);
    page.Section(nasty);
    page.Paragraph(nasty);
    page.Verdict("good", nasty);
    page.Figure({"image/png", "bytes", 4, 3}, nasty, nasty);
    int paragraphs = 0, images = 0;
    for (const html::Element& e : html::Reader::Read(page.Html())) {
        EXPECT_NE(e.name, "script");
        EXPECT_NE(e.name, "b");
        if (e.name == "title" || e.name == "h1" || e.name == "h2" || e.name == "p" ||
            e.name == "figcaption") {
            EXPECT_EQ(e.text, nasty) << e.name;
        }
        paragraphs += e.name == "p";
        if (e.name != "img") continue;
        images++;
        EXPECT_EQ(e.attributes.at("alt"), nasty);
        EXPECT_EQ(e.attributes.at("src"), "data:image/png;base64,Ynl0ZXM=");
        EXPECT_EQ(e.attributes.at("width"), "4");
        EXPECT_EQ(e.attributes.at("height"), "3");
    }
    EXPECT_EQ(paragraphs, 2);
    EXPECT_EQ(images, 1);
}

TEST(Page, SuitsPhonesAndBothColourSchemes)
{
    const std::string page = Page("title").Html();
    bool viewport = false, utf8 = false;
    std::string style;
    for (const html::Element& e : html::Reader::Read(page)) {
        const auto has = [&e](const char* name, const char* value) {
            const auto found = e.attributes.find(name);
            return found != e.attributes.end() && found->second == value;
        };
        viewport |= e.name == "meta" && has("name", "viewport") &&
                    has("content", "width=device-width, initial-scale=1");
        utf8 |= e.name == "meta" && has("charset", "utf-8");
        if (e.name == "style") style = e.text;
    }
    EXPECT_TRUE(viewport);
    EXPECT_TRUE(utf8);
    for (const char* rule : {"max-width: 100%", "color-scheme: light dark", "@media print"})
        EXPECT_NE(style.find(rule), style.npos) << rule;
}

TEST(HtmlReader, RefusesWhatIsNotWellFormed)
{
    const std::string head = "<!DOCTYPE html>\n";
    EXPECT_EQ(html::Reader::Read(head + "<a b=\"&lt;\">x<c/>y</a>\n").size(), 2u);
    for (const char* bad : {"<a>", "<a></b>", "<a b=c></a>", "<a>&nbsp;</a>", "<a/><b/>", "<a>1 < 2</a>",
                            "<a", "<a b=\"1\" b=\"2\"/>", "text", "<a b=\"<\"/>"})
        EXPECT_THROW(html::Reader::Read(head + bad), std::runtime_error) << bad;
    EXPECT_THROW(html::Reader::Read("<a/>"), std::runtime_error);
}

} // namespace
