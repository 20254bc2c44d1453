// The value at a share of a list, the smallest at 0 and the largest at 1.
#ifndef DIAGNOSIS_QUANTILE_H
#define DIAGNOSIS_QUANTILE_H

#include <algorithm>
#include <cstddef>
#include <vector>

namespace telvane {

/// \param values  reordered by it when moved in; of none the result is 0
template <class T> T Quantile(std::vector<T> values, double share)
{
    if (values.empty()) return T{};
    const auto last = static_cast<double>(values.size() - 1);
    const auto place = values.begin() + static_cast<std::ptrdiff_t>(share * last);
    std::nth_element(values.begin(), place, values.end());
    return *place;
}

} // namespace telvane

#endif
