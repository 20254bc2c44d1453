// What the program says on standard output, read strictly.
#ifndef RUN_OUTPUT_H
#define RUN_OUTPUT_H

#include <diagnosis/RunArguments.h>

#include <optional>
#include <string>

namespace telvane {

struct Output {
    int result = 0;               ///< 0, or -1 to -4
    std::optional<Region> region; ///< where the result is 0
};

/// Reads the lines at the end of everything that a run printed: RESULT= and, with result 0, OROI=[...] with
/// the region that was asked for, inside the frame. Nothing else may look like them. \return nothing, or what
/// is wrong
std::string ReadOutput(const std::string& text, const RunArguments& arguments, Output& output);

} // namespace telvane

#endif
