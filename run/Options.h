// What telvane-run can be asked for: one table of names, units, limits and defaults, for its command line,
// for its file and for the arguments in run.json.
#ifndef RUN_OPTIONS_H
#define RUN_OPTIONS_H

#include <diagnosis/RunArguments.h>

#include <nlohmann/json_fwd.hpp>

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace telvane {

/// A run as it is asked for.
struct Request {
    RunArguments arguments; ///< for the program; complete after Complete
    Method method = Method::ring;
    int offset = 0;
    std::optional<std::pair<int, int>> centreInRegion; ///< none: the region's middle
    std::string frames;                                ///< folder of recorded frames; empty: from the camera
    std::string out = "runs";                          ///< folder for the folders of runs
    std::string telvane;                      ///< the program; empty: the one that belongs to this one
    std::string config;                       ///< file with options; empty: none
    int timeout = 60;                         ///< seconds, beside the grabs
    int keep = 10;                            ///< folders of runs
    bool json = false, dryRun = false;        ///< on the command line only
    std::map<std::string, std::string> given; ///< options by name: where each one stands, for messages
};

/// A whole number as an option takes it.
struct WholeNumber {
    const char* name; ///< "W"
    const char* unit; ///< "pixels"; may be empty
    int lowest, highest;
    bool open = false; ///< `highest` is only there to keep the number sane
};

/// What an option is given. One that is given once has one entry.
struct Value {
    std::vector<std::vector<int>> entries; ///< of an option that takes numbers
    std::string text;                      ///< of all others
};

struct RunOption {
    const char* group; ///< heading in the help
    const char* name;  ///< "inner": with two dashes on the command line, bare in the file
    const char* words; ///< "W,H"
    const char* meaning;
    const char* absent;                          ///< what the help says of the default
    std::vector<WholeNumber> numbers;            ///< none: a word
    std::vector<const char*> choices;            ///< the words to choose from; none: any
    std::optional<Value> (*get)(const Request&); ///< none: not known
    void (*store)(Request&, const Value&);
    std::size_t most = 1; ///< how many times it may be given
    bool inFile = true;   ///< the file may hold it too

    /// "--inner"
    std::string Dashed() const { return std::string("--") + name; }
    /// What may be given: "a whole number from 1 to 50", "W,H: whole numbers, W from ..., H from ...", "ring
    /// or votes"
    std::string Allowed() const;
    /// Meaning, unit, limits and default, for the help.
    std::string Help() const;
};

const std::vector<RunOption>& OptionTable();

/// Without dashes; null where there is none of this name.
const RunOption* OptionNamed(std::string_view name);

/// Reads what stands behind an option on the command line, the words of each time that it is given.
/// \return nothing, or what is wrong: "'3OO' is not a whole number of 0 or more"
std::string ReadWords(const RunOption& option, const std::vector<std::string>& words, Value& value);

/// Reads a number, a list of numbers, a list of such lists or a text, as files hold them.
std::string ReadJson(const RunOption& option, const nlohmann::ordered_json& json, Value& value);

/// The same the other way round; null where nothing is known.
nlohmann::ordered_json ToJson(const RunOption& option, const Request& request);

/// An option as a shell takes it, " --region 560,560"; where it may come several times, each of them.
std::string OptionWords(const RunOption& option, const nlohmann::ordered_json& value);

/// The command line of telvane-run for a run like this one with other arguments: what differs from the
/// defaults, without what only says how it runs.
std::string RunLine(const Request& request, const RunArguments& arguments);

/// Sees to what depends on several options: what must be given, what goes together, what follows.
/// \return nothing, or what is wrong and where: "--offset: ..."
std::string Complete(Request& request);

/// A text as JSON; discarded where it is none, and where it is nested deeper than `deepest` levels: whoever
/// prints such a document follows it as deep.
nlohmann::ordered_json ParseJson(const std::string& text, int deepest);

/// Without line breaks, and whatever the bytes: what is no UTF-8 is replaced.
std::string Dumped(const nlohmann::ordered_json& json);

} // namespace telvane

#endif
