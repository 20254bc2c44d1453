// run.json: what was asked for, what was run, what came out. docs/run.schema.json describes it.
#ifndef RUN_DOCUMENT_H
#define RUN_DOCUMENT_H

#include <diagnosis/Diagnosis.h>
#include <run/Options.h>

#include <nlohmann/json_fwd.hpp>

#include <optional>
#include <string>
#include <string_view>

namespace telvane {

inline constexpr char runDocumentName[] = "run.json";

/// What is nothing or empty is not known.
struct RunDocument {
    Request request;
    std::string started; ///< UTC, "2026-11-21T23:09:04Z"
    std::string folder;  ///< of the run; empty: none was made
    std::string source;  ///< of the frames: "camera", "simulated" or "files"
    std::string command; ///< one line for a shell
    std::string out, err;
    std::optional<int> exitStatus; ///< none where the program was ended or not started
    RunOutcome outcome;

    struct {
        double frames = 0, program = 0, report = 0, total = 0; ///< seconds
    } timings;
};

/// The whole document.
/// \param judgement  what JudgementJson gives
nlohmann::ordered_json ToJson(const RunDocument& document, const nlohmann::ordered_json& judgement);

/// The text of a run.json; discarded where it is no JSON or nested deeper than any of them.
nlohmann::ordered_json ParseRunDocument(const std::string& text);

/// Reads the arguments and the outcome back from the text of a run.json.
/// \return nothing, or what is wrong
std::string ReadRunDocument(const std::string& text, RunDocument& document);

/// The last line that is not empty.
std::string LastLineOf(std::string_view text);

/// Whether there is a run.json of any version in a folder.
bool HoldsRun(const std::string& folder);

} // namespace telvane

#endif
