// Text that comes from outside: names of files and folders may hold any bytes.
#ifndef TOOLS_TEXT_H
#define TOOLS_TEXT_H

#include <string>
#include <string_view>

namespace telvane {

/// Valid UTF-8 without control characters, for pages and terminals: every byte of what is none, or would
/// turn the direction of writing, is written as \xHH.
std::string Printable(std::string_view text);

} // namespace telvane

#endif
