// Places in vectors, which are counted without a sign.
#ifndef DIAGNOSIS_INDEX_H
#define DIAGNOSIS_INDEX_H

#include <cstddef>

namespace telvane {

/// \param i  0 or more
constexpr std::size_t Index(int i) { return static_cast<std::size_t>(i); }

} // namespace telvane

#endif
