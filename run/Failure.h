// Why a run of the program is none.
#ifndef RUN_FAILURE_H
#define RUN_FAILURE_H

#include <diagnosis/RunArguments.h>
#include <run/Process.h>

#include <string>

namespace telvane {

/// In one phrase, from how the program ended; empty where it ended well.
/// \param files  its frames came from files that had been found good
std::string FailureOf(const Ended& ended, bool files);

/// A file of a run that was written and is not whole, as on a full disk: which one and why; empty where there
/// is none. Files that are not there at all are not looked for.
std::string DamagedFile(const RunArguments& arguments, const std::string& folder);

/// The system's words for an error.
std::string SystemWords(int error);

} // namespace telvane

#endif
