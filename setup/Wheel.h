// What the page sets up: the options of a run, and where the wheel lies in the picture.
#ifndef SETUP_WHEEL_H
#define SETUP_WHEEL_H

#include <run/Options.h>
#include <setup/Figures.h>

#include <nlohmann/json_fwd.hpp>

#include <optional>
#include <string>

namespace telvane {

struct Wheel {
    Request run;                 ///< with what the file held beside the options of the page
    std::optional<Place> centre; ///< in the picture; no option, for finding it is what runs are for

    Circles Seen() const;
};

/// The options of the page by their names, and `centre`; null where one is not given.
nlohmann::ordered_json WheelJson(const Wheel& wheel);

/// Replaces the options of the page and the centre.
/// \return nothing, or what is wrong; the wheel stays as it was then
std::string ReadWheel(const nlohmann::ordered_json& json, Wheel& wheel);

/// The run with all that follows from its options.
/// \return nothing, or what is missing or does not go together
std::string CompleteRun(const Wheel& wheel, Request& run);

/// A file for --config. What the wheel's file held beside the options of the page stays in it.
std::string TomlText(const Wheel& wheel);

/// The command line of telvane-run with these options.
std::string RunLine(const Wheel& wheel);

} // namespace telvane

#endif
