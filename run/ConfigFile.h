// The options of a run in a file.
#ifndef RUN_CONFIGFILE_H
#define RUN_CONFIGFILE_H

#include <run/Options.h>

#include <string>

namespace telvane {

/// Reads options from a TOML file (version 1.0) into the request: keys are the options' names without dashes,
/// numbers are integers, several numbers an array, masks an array of such. What is given already stays.
/// \return nothing, or what is wrong, with file, line and column where there is one
std::string ReadConfig(const std::string& file, Request& request);

/// The same of a file's text. \param file  its name, for messages
std::string ReadConfigText(const std::string& file, const std::string& text, Request& request);

} // namespace telvane

#endif
