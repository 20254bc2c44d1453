// UTF-8, RFC 3629.
#include <tools/Text.h>

#include <cstddef>
#include <cstdint>

namespace telvane {

namespace {

/// A character and how many bytes it takes; 0 bytes where there is no whole character.
struct Character {
    std::uint32_t code = 0;
    std::size_t bytes = 0;
};

/// \param text  not empty
Character First(std::string_view text)
{
    const auto byte = [text](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    const unsigned lead = byte(0);
    if (lead < 0x80) return {lead, 1};
    const std::size_t bytes = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
    if (lead < 0xC2 || lead > 0xF4 || text.size() < bytes) return {};
    std::uint32_t code = lead & (0x7Fu >> bytes);
    for (std::size_t i = 1; i < bytes; i++) {
        if ((byte(i) & 0xC0u) != 0x80) return {};
        code = code << 6 | (byte(i) & 0x3Fu);
    }
    const std::uint32_t least[] = {0, 0, 0x80, 0x800, 0x10000};
    const bool surrogate = code >= 0xD800 && code <= 0xDFFF;
    if (code < least[bytes] || surrogate || code > 0x10FFFF) return {};
    return {code, bytes};
}

bool Shows(std::uint32_t code)
{
    const bool control = code < 0x20 || (code >= 0x7F && code < 0xA0);
    const bool separator = code == 0x2028 || code == 0x2029;
    const bool turns = code == 0x61C || code == 0x200E || code == 0x200F ||
                       (code >= 0x202A && code <= 0x202E) || (code >= 0x2066 && code <= 0x2069);
    const bool none = (code & 0xFFFE) == 0xFFFE || code == 0xFEFF;
    return !control && !separator && !turns && !none;
}

} // namespace

std::string Printable(std::string_view text)
{
    const char digits[] = "0123456789ABCDEF";
    std::string shown;
    while (!text.empty()) {
        const Character c = First(text);
        const std::size_t bytes = c.bytes > 0 ? c.bytes : 1;
        if (c.bytes > 0 && Shows(c.code)) {
            shown += text.substr(0, bytes);
        } else {
            for (const char byte : text.substr(0, bytes)) {
                const unsigned value = static_cast<unsigned char>(byte);
                shown += {'\\', 'x', digits[value >> 4], digits[value & 15]};
            }
        }
        text.remove_prefix(bytes);
    }
    return shown;
}

} // namespace telvane
