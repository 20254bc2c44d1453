// TOML by toml++, its values by the table of options.
#include <run/ConfigFile.h>

#include <tools/Files.h>

#define TOML_EXCEPTIONS 0
#define TOML_HEADER_ONLY 1
#include <nlohmann/json.hpp>
#include <toml++/toml.h>

#include <algorithm>
#include <cstdint>
#include <sstream>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

namespace telvane {

namespace {

std::string At(const std::string& file, const toml::source_region& source)
{
    return file + ':' + std::to_string(source.begin.line) + ':' + std::to_string(source.begin.column);
}

/// Numbers, texts and lists of them; of what no option takes, how it reads.
nlohmann::ordered_json AsJson(const toml::node& node)
{
    if (const auto number = node.value_exact<std::int64_t>()) return *number;
    if (const auto real = node.value_exact<double>()) return *real;
    if (const auto truth = node.value_exact<bool>()) return *truth;
    if (const auto text = node.value_exact<std::string>()) return *text;
    if (const toml::array* const array = node.as_array()) {
        auto list = nlohmann::ordered_json::array();
        for (const toml::node& entry : *array) list.push_back(AsJson(entry));
        return list;
    }
    return nullptr; // dates, times and tables
}

const RunOption* OptionNamed(std::string_view name)
{
    for (const RunOption& option : OptionTable())
        if (option.inFile && name == option.name) return &option;
    return nullptr;
}

} // namespace

std::string ReadConfig(const std::string& file, Request& request)
{
    std::string text;
    if (const std::string problem = ReadWhole(file, text); !problem.empty()) return file + ": " + problem;
    return ReadConfigText(file, text, request);
}

std::string ReadConfigText(const std::string& file, const std::string& text, Request& request)
{
    const toml::parse_result parsed = toml::parse(std::string_view(text), std::string_view(file));
    if (!parsed) {
        const toml::parse_error& error = parsed.error();
        return At(file, error.source()) + ": " + std::string(error.description());
    }

    // In the order of the file, so that the first thing that is wrong is the one that is told.
    struct Entry {
        const toml::key* key;
        const toml::node* node;
    };
    std::vector<Entry> entries;
    for (const auto& [key, node] : parsed.table()) entries.push_back({&key, &node});
    std::sort(entries.begin(), entries.end(), [](const Entry& a, const Entry& b) {
        const auto place = [](const Entry& e) {
            return std::tuple(e.key->source().begin.line, e.key->source().begin.column);
        };
        return place(a) < place(b);
    });

    for (const auto& [key, node] : entries) {
        const std::string name(key->str());
        const RunOption* const option = OptionNamed(name);
        if (option == nullptr) return At(file, key->source()) + ": there is no option '" + name + "'";
        const std::string where = At(file, node->source()) + ": " + name;
        Value value;
        if (node->is_date() || node->is_time() || node->is_date_time() || node->is_table())
            return where + ": a table, a date or a time is not " + option->Allowed();
        if (const std::string problem = ReadJson(*option, AsJson(*node), value); !problem.empty())
            return std::string(where).append(": ").append(problem);
        if (!request.given.emplace(name, where).second) continue;
        option->store(request, value);
    }
    return {};
}

} // namespace telvane
