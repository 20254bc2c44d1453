// run.json, as telvane-report reads it.
#include <fuzz/PlainOptions.h>

#include <fuzz/Harness.h>

#include <report/Document.h>
#include <run/Document.h>

#include <nlohmann/json.hpp>

using namespace telvane;
using Json = nlohmann::ordered_json;

namespace {

/// Whether a document is one of a run, and all that is read of it is what it should be.
bool IsRun(const Json& json)
{
    if (!json.is_object() || !json.contains("schema") || json["schema"] != "telvane-run/1") return false;
    const Json arguments = json.contains("arguments") ? json["arguments"] : Json();
    for (const RunOption& option : OptionTable()) {
        const auto value = arguments.find(option.name);
        if (value != arguments.end() && !value->is_null() && !plain_options::Takes(option.name, *value))
            return false;
    }
    const Json region = json.contains("region") ? json["region"] : Json();
    const auto is32 = [](const Json& number) { return plain_options::IsWhole(number, INT32_MIN, INT32_MAX); };
    return plain_options::MakeARun(arguments) &&
           (region.is_null() ||
            (region.is_array() && region.size() == 4 && std::all_of(region.begin(), region.end(), is32)));
}

/// The last line of a text that is more than its end.
std::string LastLine(std::string text)
{
    text.erase(text.find_last_not_of("\r\n") + 1);
    return text.substr(text.find_last_of('\n') + 1);
}

} // namespace

void Fuzz(FuzzedDataProvider& input)
{
    const std::string text = input.ConsumeRemainingBytesAsString();
    RunDocument document;
    const std::string problem = ReadRunDocument(text, document);
    const Json json = Json::parse(text, nullptr, false);
    const bool isJson = !json.is_discarded() && plain_options::IsPlain(text, 32);
    Require(isJson != (problem == "not a JSON document"), "JSON of up to 32 levels is read");
    Require(problem.empty() == (isJson && IsRun(json)), "just the documents of runs are read");
    if (!problem.empty()) {
        Require(document.request.given.empty() && !document.outcome.result && document.err.empty(),
                "a document that is refused leaves nothing");
        return;
    }
    // Numbers are those of the document, however wide they are there.
    const auto is = [](const Json& number, int value) {
        return number.is_number_integer() && number.get<double>() == value;
    };
    const RunOutcome& outcome = document.outcome;
    if (outcome.result) Require(is(json["result"], *outcome.result), "the result is the document's");
    if (const auto& r = outcome.region) {
        const Json& region = json["region"];
        Require(region.size() == 4 && is(region[0], r->left) && is(region[1], r->top) &&
                    is(region[2], r->width) && is(region[3], r->height),
                "the region is the document's");
    }
    Require(outcome.message == (outcome.result.value_or(0) != 0 ? LastLine(document.err) : ""),
            "the message is the last line of a run without an answer");

    // Written and read again it says the same.
    RunDocument again;
    const std::string told = DocumentText(ToJson(document, Json::object()));
    Require(ReadRunDocument(told, again).empty(), "what is written is read");
    Require(again.request.arguments.CommandLine() == document.request.arguments.CommandLine() &&
                again.outcome.result == outcome.result &&
                again.outcome.region.has_value() == outcome.region.has_value(),
            "and says the same");
}
