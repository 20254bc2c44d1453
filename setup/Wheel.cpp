// Options in three forms: JSON of the page, TOML, and words. Names, limits and values are those of
// telvane-run's table.
#include <setup/Wheel.h>

#include <Telvane/Frames.h>

#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <cmath>
#include <string_view>
#include <tuple>
#include <utility>
#include <vector>

namespace telvane {

namespace {

using Json = nlohmann::ordered_json;

/// In the order in which files and command lines have them.
constexpr std::array<std::string_view, 14> pageOptions = {
    "inner",  "outer",  "teeth", "sense", "region", "centre-in-region", "method",
    "offset", "angles", "count", "p1",    "p2",     "background",       "mask"};

bool OnPage(std::string_view name)
{
    return std::find(pageOptions.begin(), pageOptions.end(), name) != pageOptions.end();
}

/// The options that are set, those of the page first, with their values as JSON: numbers, texts and lists of
/// them read the same in TOML.
std::vector<std::pair<std::string, Json>> Given(const Wheel& wheel, bool all)
{
    Request run = wheel.run;
    if (run.centreInRegion) std::tie(run.arguments.centreX, run.arguments.centreY) = *run.centreInRegion;
    std::vector<std::pair<std::string, Json>> given;
    const auto add = [&](const RunOption& option) {
        if (run.given.count(option.name) == 0) return;
        // What is given as its default may be nothing, as no teeth are: no file can hold that.
        if (Json value = ToJson(option, run); !value.is_null()) given.emplace_back(option.name, value);
    };
    for (const std::string_view name : pageOptions) add(*OptionNamed(name));
    for (const RunOption& option : OptionTable())
        if (all && option.inFile && !OnPage(option.name)) add(option);
    return given;
}

/// A value in TOML: as in JSON, but that DEL is a control character there, too.
std::string TomlValue(const Json& value)
{
    std::string text;
    for (const char c : Dumped(value)) {
        if (c == '\x7F') text += "\\u007F";
        else text += c;
    }
    return text;
}

} // namespace

Circles Wheel::Seen() const
{
    if (!centre) return {};
    return {*centre, double(run.arguments.innerR), double(run.arguments.outerR), run.arguments.teeth};
}

Json WheelJson(const Wheel& wheel)
{
    Json json;
    json["centre"] = wheel.centre ? Json::array({wheel.centre->x, wheel.centre->y}) : Json();
    for (const std::string_view name : pageOptions) json[std::string(name)] = nullptr;
    for (const auto& [name, value] : Given(wheel, false)) json[name] = value;
    return json;
}

std::string ReadWheel(const Json& json, Wheel& wheel)
{
    if (!json.is_object()) return "the wheel is no JSON object";
    Wheel read;
    for (const RunOption& option : OptionTable()) {
        if (OnPage(option.name) || wheel.run.given.count(option.name) == 0) continue;
        if (const auto value = option.get(wheel.run)) option.store(read.run, *value);
        read.run.given[option.name] = option.name;
    }
    for (const auto& [name, value] : json.items()) {
        if (value.is_null()) continue;
        if (name == "centre") {
            const bool two =
                value.is_array() && value.size() == 2 && value[0].is_number() && value[1].is_number();
            const Place place = two ? Place{value[0].get<double>(), value[1].get<double>()} : Place();
            const double far = 10000; // pixels, as in the table
            if (!two || !(std::abs(place.x) <= far && std::abs(place.y) <= far))
                return "centre: " + Dumped(value) + " is not X,Y in pixels";
            read.centre = place;
            continue;
        }
        const RunOption* const option = OptionNamed(name);
        if (!OnPage(name) || !option) return "there is no option " + Dumped(name);
        Value given;
        if (const std::string problem = ReadJson(*option, value, given); !problem.empty())
            return std::string(name).append(": ").append(problem);
        option->store(read.run, given);
        read.run.given[name] = name;
    }
    wheel = read;
    return {};
}

std::string CompleteRun(const Wheel& wheel, Request& run)
{
    run = wheel.run;
    run.frames.clear();
    return Complete(run);
}

std::string TomlText(const Wheel& wheel)
{
    std::string text = "# For telvane-run --config. Lengths are pixels, angles degrees.\n";
    for (const auto& [name, value] : Given(wheel, true)) text += name + " = " + TomlValue(value) + "\n";
    return text;
}

std::string RunLine(const Wheel& wheel)
{
    std::string line = "telvane-run";
    for (const auto& [name, value] : Given(wheel, false)) line += OptionWords(*OptionNamed(name), value);
    return line;
}

} // namespace telvane
