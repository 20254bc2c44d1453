// One run from its request to its folder.
#ifndef RUN_RUN_H
#define RUN_RUN_H

#include <run/Options.h>

namespace telvane {

/// Exit statuses of telvane-run.
enum RunStatus { goodAnswer = 0, doubtfulAnswer = 1, badArguments = 2, noAnswer = 3, failedRun = 4 };

/// Runs the program, judges its answer, writes the folder and prints what came out.
/// \return a RunStatus
int Run(Request request);

} // namespace telvane

#endif
