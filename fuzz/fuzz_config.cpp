// The file of options of telvane-run.
#include <fuzz/PlainOptions.h>

#include <fuzz/Harness.h>

#include <run/ConfigFile.h>
#include <setup/Wheel.h>

#include <tests/reference/CommandLine.h>

#include <algorithm>
#include <sstream>

using namespace telvane;
using Json = nlohmann::ordered_json;

namespace {

/// What the table says of every option, held against what came of it.
void RequireLimits(const Request& request)
{
    for (const RunOption& option : OptionTable()) {
        if (request.given.count(option.name) == 0) continue;
        Require(option.inFile, "options that a file cannot hold are not taken from one");
        const auto value = option.get(request);
        if (!value) continue;
        Require(value->entries.size() <= option.most, "an option is given as often as it may be");
        for (const auto& entry : value->entries) {
            Require(entry.size() == option.numbers.size(), "an option has all of its numbers");
            for (std::size_t i = 0; i < entry.size(); i++)
                Require(entry[i] >= option.numbers[i].lowest && entry[i] <= option.numbers[i].highest,
                        "numbers are within the option's limits");
        }
        Require(value->text.find('\0') == value->text.npos, "names end where the system ends them");
        if (!option.choices.empty())
            Require(std::count(option.choices.begin(), option.choices.end(), value->text) == 1,
                    "words are of the option's choice");
    }
}

/// The options of a file of nothing but lines like "region = [560, 540]", whose values are JSON as well;
/// discarded where it is another.
Json PlainFile(const std::string& text)
{
    Json options = Json::object();
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        if (line.empty()) continue;
        const std::size_t sign = line.find(" = ");
        const std::string name = line.substr(0, sign);
        if (sign == line.npos || name.empty() || options.contains(name) ||
            name.find_first_not_of("abcdefghijklmnopqrstuvwxyz0123456789-") != name.npos ||
            line.find_first_not_of("abcdefghijklmnopqrstuvwxyz0123456789-., []\"/=") != line.npos)
            return Json(Json::value_t::discarded);
        const Json value = Json::parse(line.substr(sign + 3), nullptr, false);
        if (value.is_discarded()) return value;
        options[name] = value;
    }
    return options;
}

/// What the program would be started with, as the program reads it.
void RequireThatItIsTaken(const Request& request)
{
    const RunArguments& a = request.arguments;
    const reference::CommandLine line = reference::ParseCommandLine(a.Words());
    Require(!line.usage && line.imagesCount == a.count && line.masks.size() == a.masks.size(),
            "the program takes the command line");
    const auto is = [&line](std::size_t i, int value) { return line.params[i] == static_cast<float>(value); };
    Require(is(4, a.width) && is(5, a.height) && is(2, a.centreX) && is(3, a.centreY) && is(6, a.innerR) &&
                is(7, a.outerR),
            "as it was meant");
    Require(a.innerR < a.outerR && a.centreX < a.width && a.centreY <= a.height,
            "the program does not refuse what is complete");
}

} // namespace

void Fuzz(FuzzedDataProvider& input)
{
    const std::string text = input.ConsumeRemainingBytesAsString();
    Wheel wheel;
    const std::string problem = ReadConfigText("wheel.toml", text, wheel.run);
    const Json plain = PlainFile(text);
    if (!plain.is_discarded()) {
        const auto items = plain.items();
        const bool good = std::all_of(items.begin(), items.end(), [](const auto& item) {
            return item.key() != "config" && plain_options::Takes(item.key(), item.value());
        });
        Require(good == problem.empty(), "a file is read where its options may be what it says");
    }
    if (!problem.empty()) {
        Require(problem.starts_with("wheel.toml:"), "a problem says where it is");
        const int line = std::atoi(problem.c_str() + 11);
        Require(line >= 1 && line <= 1 + std::count(text.begin(), text.end(), '\n'),
                "a problem lies in the file");
        return;
    }
    RequireLimits(wheel.run);
    Wheel again;
    const std::string told = TomlText(wheel);
    Require(ReadConfigText("told.toml", told, again.run).empty() && TomlText(again) == told,
            "a file that is made of the options reads the same");

    Request complete = wheel.run;
    const bool isComplete = Complete(complete).empty();
    if (isComplete) RequireThatItIsTaken(complete);
    if (!plain.is_discarded())
        Require(isComplete == plain_options::MakeARun(plain), "options that belong together make a run");
}
