// Numbers as the tools' command lines and files hold them.
#ifndef TOOLS_NUMBERS_H
#define TOOLS_NUMBERS_H

#include <charconv>
#include <string_view>
#include <system_error>

namespace telvane {

/// Reads the whole of `text` as one number, whatever the locale.
template <class T> bool ReadNumber(std::string_view text, T& number)
{
    if (text.size() > 1 && text[0] == '+' && text[1] != '-') text.remove_prefix(1);
    const char* end = text.data() + text.size();
    const auto [stop, failure] = std::from_chars(text.data(), end, number);
    return failure == std::errc() && stop == end;
}

} // namespace telvane

#endif
