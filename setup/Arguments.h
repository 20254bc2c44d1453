// The command line of telvane-setup.
#ifndef SETUP_ARGUMENTS_H
#define SETUP_ARGUMENTS_H

#include <setup/Server.h>
#include <setup/Wheel.h>

#include <chrono>
#include <ratio>
#include <string>

namespace telvane {

using Minutes = std::chrono::duration<double, std::ratio<60>>;

/// What the page is served for.
struct SetupRequest {
    Listening listening;
    std::string config; ///< the file that Keep writes; empty: none
    Wheel wheel;        ///< of that file, its centre in the picture's middle
    Minutes idle{60};   ///< it ends after so long without a viewer
};

/// Reads the command line and the file that it names. Answers --help, --version and what cannot be read by
/// itself, the latter in one line with status 2, and then does not return.
SetupRequest ReadSetupRequest(int argc, char** argv);

} // namespace telvane

#endif
