// run.json, as telvane-report reads it.
#include <fuzz/Harness.h>

#include <report/Document.h>
#include <run/Document.h>

#include <nlohmann/json.hpp>

using namespace telvane;
using Json = nlohmann::ordered_json;

void Fuzz(FuzzedDataProvider& input)
{
    const std::string text = input.ConsumeRemainingBytesAsString();
    RunDocument document;
    const std::string problem = ReadRunDocument(text, document);
    const Json json = Json::parse(text, nullptr, false);
    if (!problem.empty()) {
        Require(document.request.given.empty() && !document.outcome.result && document.err.empty(),
                "a document that is refused leaves nothing");
        return;
    }
    // Numbers are those of the document, however wide they are there.
    const auto is = [](const Json& number, int value) {
        return number.is_number_integer() && number.get<double>() == value;
    };
    Require(json.value("schema", "") == "telvane-run/1", "only documents of this version are read");
    const RunOutcome& outcome = document.outcome;
    if (outcome.result) Require(is(json["result"], *outcome.result), "the result is the document's");
    if (const auto& r = outcome.region) {
        const Json& region = json["region"];
        Require(region.size() == 4 && is(region[0], r->left) && is(region[1], r->top) &&
                    is(region[2], r->width) && is(region[3], r->height),
                "the region is the document's");
    }
    Require(outcome.message.find('\n') == std::string::npos, "a message is a line");

    // Written and read again it says the same.
    RunDocument again;
    const std::string told = DocumentText(ToJson(document, Json::object()));
    Require(ReadRunDocument(told, again).empty(), "what is written is read");
    Require(again.request.arguments.CommandLine() == document.request.arguments.CommandLine() &&
                again.outcome.result == outcome.result &&
                again.outcome.region.has_value() == outcome.region.has_value(),
            "and says the same");
}
