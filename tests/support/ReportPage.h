// A page of telvane-report read back: what it says, and what it shows.
#pragma once

#include <tests/support/Decoded.h>
#include <tests/support/Html.h>
#include <tests/support/Svg.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <stdexcept>
#include <string>
#include <vector>

namespace report_page {

struct Image {
    std::string type, bytes, alternative;
    int width = 0, height = 0;
};

/// What a page shows. Every picture is inside it and decodes to the size that it is given.
struct Shown {
    std::vector<Image> images;
    std::vector<std::string> headings, captions, notes, commands;
    std::map<std::string, std::string> facts;
    std::string verdict, kind;        ///< the first heading, and the kind of its box
    std::string evidence, cure;       ///< what stands in it
    std::map<std::string, int> marks; ///< classes of the groups of the drawing
    int drawings = 0;
    std::string text; ///< of the whole body
    std::string page; ///< the file

    explicit Shown(const std::string& p) : page(p)
    {
        std::string fact;
        for (const html::Element& e : html::Reader::Read(page)) {
            const auto attribute = [&e](const char* name) {
                const auto found = e.attributes.find(name);
                return found == e.attributes.end() ? std::string() : found->second;
            };
            EXPECT_NE(e.name, "script");
            EXPECT_NE(e.name, "link");
            if (e.name == "div" && attribute("class").rfind("verdict ", 0) == 0) {
                kind = attribute("class").substr(8);
            }
            if (e.name == "h1") {
                EXPECT_TRUE(verdict.empty() && text.find(e.text) <= 3) << "the page begins with it";
                verdict = e.text;
            }
            if (e.name == "p" && attribute("class") == "evidence") evidence = e.text;
            if (e.name == "p" && attribute("class") == "cure") cure = e.text;
            if (e.name == "h2") headings.push_back(e.text);
            if (e.name == "body") text = e.text;
            if (e.name == "figcaption") captions.push_back(e.text);
            if (e.name == "pre") commands.push_back(e.text);
            for (const char* its : {"good", "fair", "bad"})
                if (e.name == "p" && attribute("class") == its) notes.push_back(e.text);
            if (e.name == "dt") fact = e.text;
            if (e.name == "dd") facts[fact] = e.text;
            if (e.name == "g") marks[attribute("class")]++;
            if (e.name == "svg" && attribute("class") == "marked") drawings++;
            if (e.name == "image") Add(attribute("href"), "drawing", attribute("width"), attribute("height"));
            if (e.name == "img")
                Add(attribute("src"), attribute("alt"), attribute("width"), attribute("height"));
        }
        EXPECT_EQ(page.find("url("), page.npos);
        EXPECT_EQ(page.find("@import"), page.npos);
    }

    bool Says(const std::string& words) const { return text.find(words) != text.npos; }
    bool Has(const std::string& heading) const
    {
        return std::count(headings.begin(), headings.end(), heading) == 1;
    }

    /// What is drawn over the frame.
    svg::Document Drawing() const
    {
        const std::size_t begin = page.find("<svg xmlns=\"http://www.w3.org/2000/svg\" class=\"marked\"");
        if (begin == page.npos) throw std::runtime_error("nothing is drawn");
        return svg::Document(page.substr(begin, page.find("</svg>", begin) + 6 - begin));
    }

private:
    void Add(const std::string& source, const std::string& alternative, const std::string& width,
             const std::string& height)
    {
        Image image;
        const std::size_t comma = source.find(";base64,");
        ASSERT_TRUE(source.rfind("data:image/", 0) == 0 && comma != source.npos) << source.substr(0, 40);
        image.type = source.substr(11, comma - 11);
        image.bytes = html::FromBase64(source.substr(comma + 8));
        image.alternative = alternative;
        EXPECT_NE(image.alternative, "");
        if (image.type == "jpeg") {
            const decoded::Decoded d =
                decoded::Decode(reference::Bytes(image.bytes.begin(), image.bytes.end()));
            image.width = d.width;
            image.height = d.height;
        } else {
            EXPECT_EQ(image.type, "png");
            const decoded::Colours c = decoded::DecodePng(image.bytes);
            image.width = c.width;
            image.height = c.height;
        }
        EXPECT_GT(image.width, 0);
        EXPECT_EQ(std::to_string(image.width), width);
        EXPECT_EQ(std::to_string(image.height), height);
        images.push_back(image);
    }
};

} // namespace report_page
