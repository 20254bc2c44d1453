// The keys of run.json, in both directions.
#include <run/Document.h>

#include <tools/Files.h>

#include <nlohmann/json.hpp>

#include <cmath>
#include <cstdint>
#include <filesystem>

namespace telvane {

using Json = nlohmann::ordered_json;

namespace {

const std::string family = "telvane-run/", version = family + "1";

Json OrNull(const std::string& text) { return text.empty() ? Json() : Json(text); }

template <class T> Json OrNull(const std::optional<T>& value) { return value ? Json(*value) : Json(); }

Json Arguments(const Request& request)
{
    Json json;
    for (const RunOption& option : OptionTable()) json[option.name] = ToJson(option, request);
    return json;
}

/// Seconds, to the millisecond.
double Rounded(double seconds) { return std::round(seconds * 1000) / 1000; }

/// A whole number within 32 bits, or nothing.
std::optional<int> Number(const Json& json)
{
    if (!json.is_number_integer()) return {};
    const bool within = json.is_number_unsigned()
                            ? json.get<std::uint64_t>() <= INT32_MAX
                            : json.get<std::int64_t>() >= INT32_MIN && json.get<std::int64_t>() <= INT32_MAX;
    if (!within) return {};
    return json.get<int>();
}

/// A document that is JSON and says that it is one of a run; its version, or nothing.
std::string VersionOf(const Json& json)
{
    if (!json.is_object()) return {};
    const auto schema = json.find("schema");
    return schema != json.end() && schema->is_string() ? schema->get<std::string>() : "";
}

std::string ReadArguments(const Json& json, Request& request)
{
    for (const RunOption& option : OptionTable()) {
        const auto entry = json.find(option.name);
        if (entry == json.end() || entry->is_null()) continue;
        Value value;
        if (const std::string problem = ReadJson(option, *entry, value); !problem.empty())
            return option.name + (": " + problem);
        request.given[option.name] = option.name;
        option.store(request, value);
    }
    return Complete(request);
}

} // namespace

Json ToJson(const RunDocument& d, const Json& judgement)
{
    Json json;
    json["schema"] = version;
    json["source"] = d.source;
    json["started"] = d.started;
    json["folder"] = OrNull(d.folder);
    json["arguments"] = Arguments(d.request);
    json["command"] = OrNull(d.command);
    json["stdout"] = d.out;
    json["stderr"] = d.err;
    json["exit_status"] = OrNull(d.exitStatus);
    json["failure"] = OrNull(d.outcome.failure);
    json["result"] = OrNull(d.outcome.result);
    json["region"] = json["centre"] = Json();
    if (const auto& r = d.outcome.region) {
        const RunArguments& a = d.request.arguments;
        json["region"] = {r->left, r->top, r->width, r->height};
        json["centre"] = {r->left + a.centreX, r->top + a.centreY};
    }
    json.update(judgement);
    json["timings"] = {{"frames", Rounded(d.timings.frames)},
                       {"program", Rounded(d.timings.program)},
                       {"report", Rounded(d.timings.report)},
                       {"total", Rounded(d.timings.total)}};
    json["versions"] = {{"telvane-run", TELVANE_VERSION}};
    return json;
}

Json ParseRunDocument(const std::string& text)
{
    return ParseJson(text, 32); // it has some five levels
}

std::string ReadRunDocument(const std::string& text, RunDocument& document)
{
    const Json json = ParseRunDocument(text);
    if (json.is_discarded()) return "not a JSON document";
    const std::string found = VersionOf(json);
    if (found.empty()) return "not the document of a run";
    if (found != version) return "its schema is '" + found + "', not '" + version + "'";
    const auto at = [&json](const char* key) {
        const auto entry = json.find(key);
        return entry == json.end() ? Json() : *entry;
    };

    RunDocument read;
    if (const std::string problem = ReadArguments(at("arguments"), read.request); !problem.empty())
        return "its arguments: " + problem;
    if (const Json failure = at("failure"); failure.is_string())
        read.outcome.failure = failure.get<std::string>();
    if (const Json err = at("stderr"); err.is_string()) read.err = err.get<std::string>();
    read.outcome.result = Number(at("result"));
    const Json region = at("region");
    if (region.is_array() && region.size() == 4) {
        const auto left = Number(region[0]), top = Number(region[1]), width = Number(region[2]),
                   height = Number(region[3]);
        if (left && top && width && height) read.outcome.region = Region{*left, *top, *width, *height};
    }
    if (!read.outcome.region && !region.is_null()) return "its region is none";
    if (read.outcome.result.value_or(0) != 0) read.outcome.message = LastLineOf(read.err);
    document = read;
    return {};
}

std::string LastLineOf(std::string_view text)
{
    while (!text.empty() && (text.back() == '\n' || text.back() == '\r')) text.remove_suffix(1);
    return std::string(text.substr(text.rfind('\n') + 1));
}

bool HoldsRun(const std::string& folder)
{
    std::string text;
    if (!ReadWhole((std::filesystem::path(folder) / runDocumentName).string(), text).empty()) return false;
    return VersionOf(ParseRunDocument(text)).rfind(family, 0) == 0;
}

} // namespace telvane
