// The command line of telvane-run.
#ifndef RUN_ARGUMENTS_H
#define RUN_ARGUMENTS_H

#include <run/Options.h>

namespace telvane {

/// Reads the command line and the file that it names. Answers --help, --version and what cannot be read by
/// itself, the latter in one line with status 2, and then does not return.
Request ReadRequest(int argc, char** argv);

} // namespace telvane

#endif
