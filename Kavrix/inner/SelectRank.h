// Selection of the k-th smallest value in place.
// C. A. R. Hoare, "Algorithm 65: Find", Communications of the ACM 4 (1961), p. 321, with the middle element
// for a pivot; expected time linear in the number of values.
#ifndef KAVRIX_INNER_SELECTRANK_H
#define KAVRIX_INNER_SELECTRANK_H

#include <utility>

namespace kavrix::inner {

/// Partitions a[lo .. hi] around its middle element.
/// \return {j, i}, j < i: a[lo .. j] <= pivot <= a[i .. hi], and what lies between equals the pivot
template <class A> std::pair<int, int> Partition(A& a, int lo, int hi)
{
    const auto pivot = a[lo + (hi - lo) / 2];
    int i = lo, j = hi;
    do {
        while (a[i] < pivot) i++;
        while (pivot < a[j]) j--;
        if (i <= j) std::swap(a[i++], a[j--]);
    } while (i <= j);
    return {j, i};
}

/// The element of rank k (0 the smallest) of a[0 .. n - 1], 0 <= k < n; reorders them.
template <class A> auto SelectRank(A& a, int n, int k)
{
    int lo = 0, hi = n - 1;
    while (lo < hi) {
        const auto [j, i] = Partition(a, lo, hi);
        if (j < k) lo = i;
        if (k < i) hi = j;
    }
    return a[k];
}

} // namespace kavrix::inner

#endif
