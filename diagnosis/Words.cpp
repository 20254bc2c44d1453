// Texts for people, the same in every locale.
#include <diagnosis/Words.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstddef>

namespace telvane {

std::string NumberText(double number, int decimals)
{
    if (std::abs(number) < 0.5 * std::pow(10.0, -decimals)) number = 0;
    char text[400];
    const auto end = std::to_chars(text, text + sizeof text, number, std::chars_format::fixed, decimals).ptr;
    return {text, end};
}

std::string DirectionText(const Place& way)
{
    std::string text;
    const auto add = [&text](double part, const char* more, const char* less) {
        if (std::abs(part) < 0.05) return;
        if (!text.empty()) text += " and ";
        text += NumberText(std::abs(part), 1) + " px " + (part > 0 ? more : less);
    };
    add(way.x, "to the right", "to the left");
    add(way.y, "down", "up");
    return text.empty() ? "0.0 px" : text;
}

std::string PlaceText(const Place& place)
{
    return '(' + NumberText(place.x, 1) + ", " + NumberText(place.y, 1) + ')';
}

std::string WhereText(const Place& place, int width, int height)
{
    const char* row = place.y < height / 3.0 ? "upper" : place.y > height * 2 / 3.0 ? "lower" : "";
    const char* column = place.x < width / 3.0 ? "left" : place.x > width * 2 / 3.0 ? "right" : "";
    if (*row && *column) return std::string("at the ") + row + ' ' + column;
    if (*row) return *row == 'u' ? "at the top" : "at the bottom";
    if (*column) return std::string("at the ") + column;
    return "in the middle";
}

const char* SenseText(Sense sense) { return sense == Sense::clockwise ? "clockwise" : "counter-clockwise"; }

std::string ShareText(double share)
{
    return share > 0 && share < 0.01 ? "less than 1 %" : NumberText(100 * share, 0) + " %";
}

std::string ListText(const std::vector<int>& numbers)
{
    const std::size_t most = 6, shown = std::min(numbers.size(), most);
    std::string text;
    for (std::size_t i = 0; i < shown; i++) {
        if (i > 0) text += i + 1 == numbers.size() ? " and " : ", ";
        text += std::to_string(numbers[i]);
    }
    return numbers.size() > most ? text + ", ..." : text;
}

} // namespace telvane
