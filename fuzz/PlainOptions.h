// What the options of telvane-run may be, told once more and without their table: limits that are changed
// there show here.
#pragma once

#include <nlohmann/json.hpp>

#include <algorithm>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace plain_options {

using Json = nlohmann::ordered_json;

/// Whether a JSON text has no byte 0, and nothing of it lies in more than `most` lists and objects.
inline bool IsPlain(const std::string& text, int most)
{
    int level = 0;
    bool quoted = false, deep = false;
    for (std::size_t i = 0; i < text.size(); i++) {
        const char c = text[i];
        if (quoted) {
            if (c == '\\') i++;
            else if (c == '"') quoted = false;
        } else if (c == ']' || c == '}') {
            level--;
        } else if (c == '\0') {
            return false;
        } else if (c != ' ' && c != '\t' && c != '\r' && c != '\n') {
            deep = deep || level > most;
            quoted = c == '"';
            if (c == '[' || c == '{') level++;
        }
    }
    return !deep;
}

inline bool IsWhole(const Json& number, double lowest, double highest)
{
    return number.is_number_integer() && number.get<double>() >= lowest && number.get<double>() <= highest;
}

/// Whether the option has a value like this.
inline bool Takes(const std::string& name, const Json& value)
{
    static const std::map<std::string, std::set<std::string>> words = {
        {"sense", {"cw", "ccw"}}, {"save", {"bmp", "jpg"}}, {"method", {"ring", "votes"}}};
    static const std::set<std::string> names = {"frames", "out", "telvane", "config"};
    static const std::map<std::string, std::vector<std::pair<int, int>>> numbers = {
        {"inner", {{0, 10000}}},
        {"outer", {{1, 10000}}},
        {"teeth", {{0, 1000}}},
        {"region", {{1, 1280}, {1, 960}}},
        {"centre-in-region", {{0, 1279}, {0, 960}}},
        {"angles", {{-360, 719}, {-360, 719}}},
        {"background", {{0, 99}}},
        {"count", {{2, 50}}},
        {"p1", {{1, 50}}},
        {"p2", {{1, 50}}},
        {"mask", {{-10000, 10000}, {-10000, 10000}, {1, 10000}, {1, 10000}}},
        {"offset", {{0, 10000}}},
        {"keep", {{1, 100000}}},
        {"timeout", {{1, 86400}}}};
    if (value.is_string()) {
        const auto text = value.get<std::string>();
        if (const auto choice = words.find(name); choice != words.end())
            return choice->second.count(text) > 0;
        return names.count(name) > 0 && !text.empty() && text.find('\0') == text.npos;
    }
    const auto option = numbers.find(name);
    if (option == numbers.end()) return false;
    const auto& limits = option->second;
    const auto within = [&limits](const Json& list) {
        if (!list.is_array() || list.size() != limits.size()) return false;
        for (std::size_t i = 0; i < limits.size(); i++)
            if (!IsWhole(list[i], limits[i].first, limits[i].second)) return false;
        return true;
    };
    if (name == "mask")
        return value.is_array() && value.size() <= 3 && std::all_of(value.begin(), value.end(), within);
    return limits.size() == 1 ? within(Json::array({value})) : within(value);
}

/// Whether options that are taken each for itself make a run.
inline bool MakeARun(const Json& options)
{
    const auto given = [&options](const char* name) {
        return options.contains(name) && !options[name].is_null();
    };
    const auto or1 = [&](const char* name) { return given(name) ? options[name].get<int>() : 1; };
    if (!given("inner") || !given("outer") || !given("region")) return false;
    const int w = options["region"][0].get<int>(), h = options["region"][1].get<int>();
    const bool middle = !given("centre-in-region");
    const int x = middle ? w / 2 : options["centre-in-region"][0].get<int>();
    const int y = middle ? h / 2 : options["centre-in-region"][1].get<int>();
    const bool votes = given("method") && options["method"] == "votes";
    return options["outer"].get<int>() > options["inner"].get<int>() && x < w && y <= h &&
           (or1("p1") == or1("p2") || or1("p1") == 1 || or1("p2") == 1) &&
           (votes ? given("sense") : !given("offset"));
}

} // namespace plain_options
