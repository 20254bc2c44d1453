// Where in a run's frames the camera's losses lie.
#ifndef RUN_MISSINGFRAMES_H
#define RUN_MISSINGFRAMES_H

#include <diagnosis/RunArguments.h>

#include <string_view>
#include <vector>

namespace telvane {

/// The grab of the camera that each frame of a run comes from, counted from 1.
std::vector<int> GrabsOf(const RunArguments& arguments);

/// RunSeen::lost, from what the program wrote on standard error.
/// \param err  as Capture keeps it. Where it left something out, frames are taken to be lost everywhere
std::vector<int> MissingFrames(std::string_view err, const RunArguments& arguments);

} // namespace telvane

#endif
