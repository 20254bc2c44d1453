// Ranges from text, and what is cut by them.
#include <fuzz/Harness.h>

#include <Kavrix/Kavrix.h>

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <optional>

namespace {

// A sign and digits between blanks, as long as the number fits; false where there is anything else.
bool Number(const std::string& part, std::optional<std::int64_t>& number)
{
    const std::size_t first = part.find_first_not_of(' ');
    if (first == std::string::npos) return true;
    const std::string word = part.substr(first, part.find_last_not_of(' ') + 1 - first);
    const std::size_t sign = word[0] == '-' || word[0] == '+' ? 1 : 0;
    const std::string digits = word.substr(sign);
    if (digits.empty() || digits.find_first_not_of("0123456789") != std::string::npos) return false;
    std::int64_t value = 0;
    for (const char c : digits) {
        value = 10 * value + (c - '0');
        if (value > std::int64_t{INT_MAX} + 1) return false;
    }
    number = word[0] == '-' ? -value : value;
    return *number <= INT_MAX;
}

struct Range {
    std::int64_t from, to, step;
};

// "a", "a:b", "a:b:step" with the first and the last index left out where they are the ends.
std::optional<Range> Parse(const std::string& text)
{
    std::vector<std::string> parts(1);
    for (const char c : text) {
        if (c == ':') parts.emplace_back();
        else parts.back() += c;
    }
    std::vector<std::optional<std::int64_t>> numbers(parts.size());
    for (std::size_t i = 0; i < parts.size(); i++)
        if (!Number(parts[i], numbers[i])) return {};
    if (parts.size() > 3 || (parts.size() == 1 && !numbers[0]) || (parts.size() == 3 && !numbers[2]))
        return {};

    Range range{numbers[0].value_or(0), 0, 1};
    range.to = parts.size() == 1 ? range.from : numbers[1].value_or(INT_MAX);
    if (parts.size() == 3) range.step = *numbers[2];
    if (range.from < 0 || range.to < 0 || range.step == 0) return {};
    if (range.step > 0 ? range.to < range.from : range.to > range.from) return {};
    return range;
}

void RequireThatItCuts(const RNG& range)
{
    const int length = 40;
    VecInt vector(length);
    for (int i = 0; i < length; i++) vector(i) = i;
    const bool toEnd = range.to == RNG::toEnd;
    if (range.from >= length || (!toEnd && range.to >= length) || (toEnd && range.step < 0)) return;

    const VecInt part = vector(range);
    if (!toEnd) Require(part.dim1 == range.Size(), "a view has as many elements as its range");
    int index = range.from;
    for (int i = 0; i < part.dim1; i++, index += range.step)
        Require(part(i) == index, "a view holds the elements of its range");
    Require(range.step > 0 ? index > (toEnd ? length - 1 : range.to) : index < range.to,
            "a view ends with its range");
}

} // namespace

void Fuzz(FuzzedDataProvider& input)
{
    std::string text = input.ConsumeRemainingBytesAsString();
    text.resize(std::min(text.find('\0'), text.size())); // where a C string ends
    const std::optional<Range> expected = Parse(text);
    std::optional<RNG> range;
    const Ending ending = RunToItsEnd([&] { range = RNG::GetRng(text.c_str()); });
    if (!expected) {
        Require(ending.HaltedWith(invalidRange), "text that is no range halts");
        return;
    }
    Require(ending.returned, "a range is read");
    Require(range->from == expected->from && range->to == expected->to && range->step == expected->step,
            "a range is what its text says");
    Require(range->Size() ==
                    static_cast<int>(std::llabs(expected->to - expected->from) / std::llabs(expected->step) +
                                     1) ||
                range->to == RNG::toEnd,
            "the size is the number of indices");
    Require(range->inside(*range), "a range lies inside itself");
    RequireThatItCuts(*range);
}
