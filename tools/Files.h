// Files of the tools, read and written as a whole.
#ifndef TOOLS_FILES_H
#define TOOLS_FILES_H

#include <cstdio>
#include <functional>
#include <string>

namespace telvane {

/// \return nothing, or why the file could not be read: "not there", or in the system's words. Files of more
///         than 64 MB are none that the tools could use.
std::string ReadWhole(const std::string& name, std::string& bytes);

/// Writes the whole file or leaves the one that is there as it is: into a temporary file beside it, which
/// then takes its name. Signals that would end the program wait until that is done; what a writer that was
/// killed all the same has left is removed by the next one for that name.
/// Of a symbolic link, that is done where it leads. A pipe or a character device is written into; what is
/// neither, and no regular file, is refused.
/// \return nothing, or why it could not be written, in the system's words
std::string WriteWhole(const std::string& name, const std::string& bytes);

/// The bytes that a writer of the library puts into a stream. Where there is no memory for them, the
/// fail-stop.
/// \param write  returns 0 when all is done
std::string BytesOf(const std::function<int(std::FILE*)>& write);

/// Whether both names lead to one file that is there.
bool SameFile(const std::string& a, const std::string& b);

} // namespace telvane

#endif
