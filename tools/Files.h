// Files of the tools, read and written as a whole.
#ifndef TOOLS_FILES_H
#define TOOLS_FILES_H

#include <string>

namespace telvane {

/// \return nothing, or why the file could not be read: "not there", or in the system's words. Files of more
///         than 64 MB are none that the tools could use.
std::string ReadWhole(const std::string& name, std::string& bytes);

/// Writes the whole file or leaves the one that is there as it is: into a temporary file beside it, which
/// then takes its name.
/// \return nothing, or why it could not be written, in the system's words
std::string WriteWhole(const std::string& name, const std::string& bytes);

} // namespace telvane

#endif
