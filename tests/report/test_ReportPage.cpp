// The text of the page.
#include <tests/support/Html.h>

#include <report/Page.h>
#include <tools/Markup.h>

#include <gtest/gtest.h>

#include <map>
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

TEST(Page, TextsOfAnyBytesAreShownAsText)
{
    const std::string nasty = "<b>&amp;\"'</p><script>x</script>\x1B[2J\xFF";
    const std::string shown = "<b>&amp;\"'</p><script>x</script>\\x1B[2J\\xFF";
    Page page(nasty);
    page.Verdict(nasty, nasty, nasty, nasty);
    page.Section(nasty);
    page.Paragraph(nasty);
    page.Note("good", nasty);
    page.List({nasty, nasty});
    page.Facts({{nasty, nasty}});
    page.Table({{nasty, nasty}, {nasty, nasty}});
    page.Command(nasty);
    page.Figure({"image/png", "bytes", 4, 3}, nasty, nasty);
    std::map<std::string, int> elements;
    for (const html::Element& e : html::Reader::Read(page.Html())) {
        elements[e.name]++;
        for (const char* name : {"title", "h1", "h2", "p", "li", "dt", "dd", "th", "td", "pre", "figcaption"})
            if (e.name == name) {
                EXPECT_EQ(e.text, shown) << e.name;
            }
        if (e.name != "img") continue;
        EXPECT_EQ(e.attributes.at("alt"), shown);
        EXPECT_EQ(e.attributes.at("src"), "data:image/png;base64,Ynl0ZXM=");
        EXPECT_EQ(e.attributes.at("width"), "4");
        EXPECT_EQ(e.attributes.at("height"), "3");
    }
    EXPECT_EQ(elements["script"] + elements["b"], 0);
    EXPECT_EQ(elements["p"], 4);
    EXPECT_EQ(elements["li"], 2);
    EXPECT_EQ(elements["th"], 3);
    EXPECT_EQ(elements["td"], 1);
    for (const char* once : {"h1", "h2", "dt", "dd", "pre", "img"}) EXPECT_EQ(elements[once], 1) << once;
    EXPECT_EQ(page.Figures(), 1);
}

TEST(Page, ATablesHeadsSayWhatTheyAreOver)
{
    Page page("title");
    page.Table({{"", "measured"}, {"Teeth", "40"}});
    std::map<std::string, std::string> scopes;
    for (const html::Element& e : html::Reader::Read(page.Html()))
        if (e.name == "th") scopes[e.text] = e.attributes.at("scope");
    EXPECT_EQ(scopes,
              (std::map<std::string, std::string>{{"", "col"}, {"measured", "col"}, {"Teeth", "row"}}));
}

TEST(Page, DrawingsStandAsTheyAre)
{
    Page page("title");
    page.Drawing("<svg id=\"drawn\"/>", "<ul id=\"legend\"/>");
    std::size_t found = 0;
    for (const html::Element& e : html::Reader::Read(page.Html()))
        found += e.attributes.count("id") &&
                 (e.attributes.at("id") == "drawn" || e.attributes.at("id") == "legend");
    EXPECT_EQ(found, 2u);
    EXPECT_EQ(page.Figures(), 1);
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
