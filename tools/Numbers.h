// Numbers as the tools' command lines, files and pictures hold them, whatever the locale.
#ifndef TOOLS_NUMBERS_H
#define TOOLS_NUMBERS_H

#include <charconv>
#include <cmath>
#include <string>
#include <string_view>
#include <system_error>

namespace telvane {

/// Reads the whole of `text` as one number.
template <class T> bool ReadNumber(std::string_view text, T& number)
{
    if (text.size() > 1 && text[0] == '+' && text[1] != '-') text.remove_prefix(1);
    const char* end = text.data() + text.size();
    const auto [stop, failure] = std::from_chars(text.data(), end, number);
    return failure == std::errc() && stop == end;
}

/// The shortest text that reads back as v, with a point in every locale.
inline std::string NumberText(double v)
{
    char buffer[40]; // the longest takes 24 characters
    const double size = std::fabs(v);
    const bool plain = size < 1e9 && (size >= 1e-4 || !(size > 0));
    const auto end = plain ? std::to_chars(buffer, buffer + sizeof buffer, v, std::chars_format::fixed).ptr
                           : std::to_chars(buffer, buffer + sizeof buffer, v).ptr;
    return std::string(buffer, end);
}

/// The same of v rounded to this many digits behind the point; never "-0".
inline std::string RoundedText(double v, int digits)
{
    double unit = 1;
    for (int i = 0; i < digits; i++) unit *= 10;
    return NumberText(std::rint(v * unit) / unit + 0.0);
}

} // namespace telvane

#endif
