// A line is right when the program would have written the same bytes for what was read from it.
#include <run/Output.h>

#include <Telvane/Frames.h>
#include <tools/Numbers.h>

#include <cstddef>
#include <string_view>
#include <vector>

namespace telvane {

namespace {

const std::string_view resultWord = "RESULT=", regionWord = "OROI=[";

bool Begins(std::string_view line, std::string_view word) { return line.substr(0, word.size()) == word; }

std::string Quoted(std::string_view line) { return std::string("'").append(line).append("'"); }

std::vector<std::string_view> Lines(std::string_view text)
{
    std::vector<std::string_view> lines;
    while (!text.empty()) {
        const std::size_t end = text.find('\n');
        lines.push_back(text.substr(0, end));
        if (end == text.npos) break;
        text.remove_prefix(end + 1);
    }
    return lines;
}

std::string RegionLine(const Region& r)
{
    std::string line(regionWord);
    for (const int number : {r.left, r.top, r.width, r.height}) line += std::to_string(number) + ",";
    return line + "1]";
}

bool ReadRegion(std::string_view line, Region& region)
{
    if (!Begins(line, regionWord)) return false;
    std::string_view rest = line.substr(regionWord.size());
    for (int* number : {&region.left, &region.top, &region.width, &region.height}) {
        const std::size_t comma = rest.find(',');
        if (comma == rest.npos || !ReadNumber(rest.substr(0, comma), *number)) return false;
        rest.remove_prefix(comma + 1);
    }
    return line == RegionLine(region);
}

} // namespace

std::string ReadOutput(const std::string& text, const RunArguments& arguments, Output& output)
{
    const std::vector<std::string_view> lines = Lines(text);
    std::size_t results = 0, regions = 0, at = 0;
    for (std::size_t i = 0; i < lines.size(); i++) {
        if (Begins(lines[i], resultWord)) at = i;
        results += Begins(lines[i], resultWord);
        regions += Begins(lines[i], regionWord);
    }
    if (results == 0) return "its output ends without RESULT=";
    if (results > 1) return "its output has more than one RESULT=";

    Output read;
    const std::string_view number = lines[at].substr(resultWord.size());
    if (!ReadNumber(number, read.result) || number != std::to_string(read.result) || read.result < -4 ||
        read.result > 0)
        return Quoted(lines[at]) + " is no result";
    const std::size_t follow = read.result == 0 ? 1 : 0;
    if (regions != follow || lines.size() != at + 1 + follow || text.back() != '\n')
        return "its output does not end with " + std::string(follow == 1 ? "one OROI=[...]" : "RESULT=");
    if (read.result == 0) {
        Region region{};
        if (!ReadRegion(lines.back(), region)) return Quoted(lines.back()) + " is no region";
        // A region ends at least a pixel inside the frame. In this order no sum can overflow.
        if (region.width != arguments.width || region.height != arguments.height || region.left < 0 ||
            region.top < 0 || region.left >= frameWidth - region.width ||
            region.top >= frameHeight - region.height)
            return Quoted(lines.back()) + " is not the region that was asked for";
        read.region = region;
    }
    output = read;
    return {};
}

} // namespace telvane
