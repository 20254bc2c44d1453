// Text and bytes inside documents of HTML and SVG.
#ifndef TOOLS_MARKUP_H
#define TOOLS_MARKUP_H

#include <string>
#include <string_view>

namespace telvane {

/// Text as HTML and XML show it, in elements and in quoted attributes.
std::string Escaped(std::string_view text);

/// RFC 4648, with padding and without line breaks.
std::string Base64(std::string_view bytes);

} // namespace telvane

#endif
