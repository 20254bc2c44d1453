// Escapes and base64.
#include <tools/Markup.h>

#include <cstddef>
#include <cstdint>

namespace telvane {

std::string Escaped(std::string_view text)
{
    std::string html;
    for (const char c : text) {
        switch (c) {
        case '&': html += "&amp;"; break;
        case '<': html += "&lt;"; break;
        case '>': html += "&gt;"; break;
        case '"': html += "&quot;"; break;
        case '\'': html += "&#39;"; break;
        default: html += c;
        }
    }
    return html;
}

std::string Base64(std::string_view bytes)
{
    const char letters[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string text;
    text.reserve((bytes.size() + 2) / 3 * 4);
    for (std::size_t i = 0; i < bytes.size(); i += 3) {
        // Three bytes are four letters of 6 bits; letters of bytes that are not there become '='.
        const std::size_t there = bytes.size() - i < 3 ? bytes.size() - i : 3;
        std::uint32_t bits = 0;
        for (std::size_t k = 0; k < 3; k++)
            bits = bits << 8 | (k < there ? static_cast<unsigned char>(bytes[i + k]) : 0u);
        for (std::size_t k = 0; k < 4; k++) text += k <= there ? letters[bits >> (18 - 6 * k) & 63] : '=';
    }
    return text;
}

} // namespace telvane
