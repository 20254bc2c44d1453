// A run with what was found out about it: what the page and the document show.
#ifndef REPORT_JUDGED_H
#define REPORT_JUDGED_H

#include <report/Problems.h>
#include <report/RunFiles.h>

#include <diagnosis/Diagnosis.h>

#include <optional>
#include <string>
#include <vector>

namespace telvane {

struct Judged {
    RunFiles files;
    std::optional<RunArguments> arguments; ///< of the run; their count is that of the frames judged
    RunOutcome outcome;
    bool computed = false; ///< the outcome is not the program's own but was computed from the frames
    MatShort u, v;         ///< the flow that is shown
    bool flowMade = false; ///< it was made from the frames
    Diagnosis diagnosis;
    std::string toTry; ///< the command line with what is proposed; empty: Telvane's own
};

/// Whether anything is known of what the program said.
bool Known(const RunOutcome& outcome);

/// \param outcome       what the program said; without any of it, it is computed where frames and arguments
/// are there \param lost     see RunSeen::lost
Judged Judge(const RunFiles& files, const std::optional<RunArguments>& arguments, const RunOutcome& outcome,
             const std::vector<int>& lost, bool framesNeeded);

} // namespace telvane

#endif
