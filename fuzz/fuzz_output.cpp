// What the program says, as telvane-run reads it: a size of the region in two bytes each, the way in which
// the program ended and a status in a byte each, and from there on what it printed.
#include <fuzz/Harness.h>

#include <run/Document.h>
#include <run/Failure.h>
#include <run/Output.h>

#include <cstdio>

using namespace telvane;

namespace {

/// The lines that a run ends with which finds this.
std::string Lines(int result, const Region& r)
{
    std::string text = "RESULT=" + std::to_string(result) + "\n";
    if (result == 0)
        text += "OROI=[" + std::to_string(r.left) + "," + std::to_string(r.top) + "," +
                std::to_string(r.width) + "," + std::to_string(r.height) + ",1]\n";
    return text;
}

/// How many lines begin so.
int Count(const std::string& text, const std::string& word)
{
    int count = text.starts_with(word);
    for (std::size_t at = 0; (at = text.find("\n" + word, at)) != text.npos; at++) count++;
    return count;
}

/// The lines that the text must end with to be read, or nothing where there are none: from the only RESULT=
/// on, the numbers are taken as they come and written as the program writes them.
std::string ExpectedEnd(const std::string& text, int width, int height, int& result, Region& region)
{
    if (Count(text, "RESULT=") != 1) return {};
    const std::size_t begin = text.starts_with("RESULT=") ? 0 : text.find("\nRESULT=") + 1;
    region = {};
    const int found = std::sscanf(text.c_str() + begin, "RESULT=%d\nOROI=[%9d,%9d,%9d,%9d,1]", &result,
                                  &region.left, &region.top, &region.width, &region.height);
    if (found < 1 || result < -4 || result > 0) return {};
    if (Count(text, "OROI=[") != (result == 0 ? 1 : 0)) return {};
    const bool fits = region.width == width && region.height == height && region.left >= 0 &&
                      region.top >= 0 && region.left + width < 1280 && region.top + height < 960;
    if (result == 0 && (found < 5 || !fits)) return {};
    return Lines(result, region);
}

} // namespace

void Fuzz(FuzzedDataProvider& input)
{
    RunArguments arguments;
    const std::string bytes = input.ConsumeRemainingBytesAsString();
    if (bytes.size() < 6) return;
    const auto byte = [&bytes](std::size_t i) { return int{static_cast<unsigned char>(bytes[i])}; };
    arguments.width = byte(0) + 256 * byte(1);
    arguments.height = byte(2) + 256 * byte(3);
    const std::string text = bytes.substr(6);

    Output output;
    const std::string problem = ReadOutput(text, arguments, output);
    int result = 0;
    Region region{};
    // A zero byte ends what sscanf sees, and stands in no line that is read.
    const std::string end = ExpectedEnd(text, arguments.width, arguments.height, result, region);
    const std::size_t begin = text.starts_with("RESULT=") ? 0 : text.find("\nRESULT=") + 1;
    const bool expected = !end.empty() && text.substr(begin) == end;
    Require(problem.empty() == expected, "the output is read where it ends as the program ends it");
    if (expected) {
        Require(output.result == result && output.region.has_value() == (result == 0), "as it says");
        if (output.region)
            Require(output.region->left == region.left && output.region->top == region.top, "as it says");
    } else {
        Require(output.result == 0 && !output.region, "output that is refused leaves nothing");
    }

    // The same as standard error of a run that went wrong.
    Ended ended;
    ended.ending = static_cast<telvane::Ending>(byte(4) % 6);
    ended.code = byte(5);
    ended.err.Add(text);
    const std::string failure = FailureOf(ended, (byte(4) & 64) != 0);
    Require(failure.empty() == (ended.ending == telvane::Ending::exited && ended.code == 0),
            "a failure is told, and nothing else");
    Require(failure.find('\n') == failure.npos, "in one line");
    Require(LastLineOf(ended.err.Text()).find('\n') == text.npos, "the last line is one");
}
