// A strict reader of pages: every element is closed, every attribute quoted, every character escaped.
#pragma once

#include <cctype>
#include <cstddef>
#include <cstdint>
#include <map>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace html {

struct Element {
    std::string name;
    std::map<std::string, std::string> attributes;
    std::string text; ///< of the element and those in it, unescaped
    std::size_t depth = 0;
};

class Reader {
public:
    /// All elements in the order in which they begin. Throws std::runtime_error that says what is not
    /// well-formed.
    static std::vector<Element> Read(const std::string& page) { return Reader(page).Elements(); }

private:
    explicit Reader(const std::string& p) : page(p) {}

    [[noreturn]] void Fail(const std::string& what) const
    {
        throw std::runtime_error(what + " near byte " + std::to_string(at) + ": " + page.substr(at, 40));
    }

    bool Take(std::string_view word)
    {
        if (page.compare(at, word.size(), word) != 0) return false;
        at += word.size();
        return true;
    }

    std::string Name()
    {
        const std::size_t begin = at;
        while (at < page.size() && (std::isalnum(static_cast<unsigned char>(page[at])) || page[at] == '-'))
            at++;
        if (at == begin) Fail("no name");
        return page.substr(begin, at - begin);
    }

    /// Up to one of the characters `end`.
    std::string Text(std::string_view end)
    {
        std::string text;
        while (at < page.size() && end.find(page[at]) == end.npos) {
            if (page[at] == '&') {
                static const std::pair<const char*, char> entities[] = {
                    {"&amp;", '&'}, {"&lt;", '<'}, {"&gt;", '>'}, {"&quot;", '"'}, {"&#39;", '\''}};
                bool known = false;
                for (const auto& [entity, c] : entities)
                    if (!known && Take(entity)) {
                        text += c;
                        known = true;
                    }
                if (!known) Fail("an entity that is none");
            } else {
                if (page[at] == '<') Fail("a bare <");
                text += page[at++];
            }
        }
        return text;
    }

    std::vector<Element> Elements()
    {
        if (!Take("<!DOCTYPE html>\n")) Fail("no document type");
        std::vector<Element> all;
        std::vector<std::size_t> open;
        while (at < page.size()) {
            if (page[at] != '<') {
                const std::string text = Text("<");
                if (open.empty() && text.find_first_not_of(" \n") != text.npos) Fail("text outside");
                for (std::size_t i : open) all[i].text += text;
                continue;
            }
            if (Take("</")) {
                const std::string name = Name();
                if (open.empty() || all[open.back()].name != name || !Take(">"))
                    Fail("closes nothing: " + name);
                open.pop_back();
                continue;
            }
            at++;
            Element element;
            element.name = Name();
            element.depth = open.size();
            if (open.empty() && !all.empty()) Fail("a second root");
            while (Take(" ")) {
                const std::string name = Name();
                if (!Take("=\"")) Fail("an attribute without quotes");
                if (!element.attributes.emplace(name, Text("\"")).second) Fail("an attribute twice");
                at++;
            }
            const bool closed = Take("/>");
            if (!closed && !Take(">")) Fail("a tag without end");
            all.push_back(element);
            if (!closed) open.push_back(all.size() - 1);
        }
        if (!open.empty()) Fail("never closed: " + all[open.back()].name);
        return all;
    }

    const std::string& page;
    std::size_t at = 0;
};

/// The bytes that base64 text stands for. Throws where it is none.
inline std::string FromBase64(std::string_view text)
{
    const std::string_view letters = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string bytes;
    std::uint32_t bits = 0;
    int count = 0;
    if (text.size() % 4 != 0) throw std::runtime_error("base64 of a length that is no multiple of 4");
    const std::size_t end = text.find_last_not_of('=') + 1;
    if (text.size() - end > 2) throw std::runtime_error("too much base64 padding");
    for (const char c : text.substr(0, end)) {
        const std::size_t value = letters.find(c);
        if (value == letters.npos) throw std::runtime_error("a letter that is not base64");
        bits = bits << 6 | static_cast<std::uint32_t>(value);
        count += 6;
        if (count < 8) continue;
        count -= 8;
        bytes += static_cast<char>(bits >> count & 255);
    }
    return bytes;
}

} // namespace html
