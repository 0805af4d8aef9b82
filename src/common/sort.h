// The one sort of the program: an in-place quicksort with an explicit stack whose every exchange is fixed, so that
// elements that compare equal always end in the same order, on every host. The order of equal elements is visible in
// every output that is sorted; do not replace this by another sort.
#pragma once

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

namespace tavrel {

namespace sort_detail {

struct range_t {
    ptrdiff_t lo, hi;
};

// One partition step of [lo, hi] around the middle element: afterwards [lo, j] and [i, hi] are left to sort.
// `budget` falls by the number of comparisons.
template <class T, class Compare>
void partition(T* base, range_t range, Compare& compare, ptrdiff_t& i, ptrdiff_t& j, int64_t& budget) {
    const T pivot = base[range.lo + (range.hi - range.lo) / 2];
    i = range.lo;
    j = range.hi;
    while (i <= j) {
        while (compare(base[i], pivot) < 0) {
            ++i;
        }
        while (compare(pivot, base[j]) < 0) {
            --j;
        }
        if (j < i) {
            break;
        }
        std::swap(base[i], base[j]);
        ++i;
        --j;
    }
    budget -= range.hi - range.lo + 2;
}

// Above this length a range with equal elements that the quicksort cannot split in reasonable time is left in stable
// order instead: no input may hold the program for minutes.
constexpr ptrdiff_t patience = 65536;

// Sorts [lo, hi] by other means if the result is the same, that is if no two elements compare equal. A quicksort with
// the middle as pivot needs quadratic time on some arrangements (two ascending runs that interleave, for one), and
// then this is the way out.
template <class T, class Compare>
bool sort_distinct(T* base, range_t range, Compare& compare) {
    std::vector<T> copy(base + range.lo, base + range.hi + 1);
    std::stable_sort(copy.begin(), copy.end(), [&](const T& a, const T& b) { return compare(a, b) < 0; });
    if (range.hi - range.lo < patience) {
        for (size_t k = 1; k < copy.size(); ++k) {
            if (compare(copy[k - 1], copy[k]) == 0) {
                return false;
            }
        }
    }
    std::copy(copy.begin(), copy.end(), base + range.lo);
    return true;
}

} // namespace sort_detail

// Sorts `count` elements in place. `compare(a, b)` returns a negative number, zero or a positive number and must be a
// consistent order.
template <class T, class Compare>
void sort_array(T* base, size_t count, Compare compare) {
    if (count < 2) {
        return;
    }
    using sort_detail::range_t;
    int64_t budget = static_cast<int64_t>(count) * (8 * std::bit_width(count) + 8);
    std::vector<range_t> stack{
        {0, static_cast<ptrdiff_t>(count) - 1}
    };
    while (!stack.empty()) {
        range_t range = stack.back();
        stack.pop_back();
        while (range.lo < range.hi) {
            if (budget < 0 && range.hi - range.lo > 32) {
                if (sort_detail::sort_distinct(base, range, compare)) {
                    break;
                }
                budget = static_cast<int64_t>(range.hi - range.lo) * (range.hi - range.lo) / 2;
            }
            ptrdiff_t i = 0;
            ptrdiff_t j = 0;
            sort_detail::partition(base, range, compare, i, j, budget);
            if (j - range.lo < range.hi - i) {
                if (i < range.hi) {
                    stack.push_back({i, range.hi});
                }
                range.hi = j;
            } else {
                if (range.lo < j) {
                    stack.push_back({range.lo, j});
                }
                range.lo = i;
            }
        }
    }
}

} // namespace tavrel
