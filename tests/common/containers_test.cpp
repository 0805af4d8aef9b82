#include <numeric>
#include <string>

#include <gtest/gtest.h>

#include "common/hash.h"
#include "common/sort.h"
#include "common/vector.h"

namespace tavrel {
namespace {

TEST(vector, grows_from_its_first_capacity_by_doubling) {
    vector_t<int*> list(25);
    EXPECT_EQ(list.capacity(), 0u);
    int element = 0;
    for (int k = 0; k < 25; ++k) {
        vector_add(list, &element);
        EXPECT_EQ(list.capacity(), 25u);
    }
    EXPECT_EQ(vector_add(list, &element), 25u);
    EXPECT_EQ(list.capacity(), 50u);
    EXPECT_EQ(vector_at(list, 26), nullptr);
}

TEST(vector, the_cursor_stays_on_its_element) {
    int e[4] = {};
    vector_t<int*> list;
    vector_set(list, &e[3], 3);
    EXPECT_EQ(list.count(), 4u);
    EXPECT_EQ(vector_at(list, 0), nullptr);
    for (uint32_t k = 0; k < 3; ++k) {
        vector_set(list, &e[k], k);
    }
    EXPECT_EQ(vector_first(list), &e[0]);
    EXPECT_EQ(vector_current(list), &e[1]);
    EXPECT_TRUE(vector_remove_at(list, 0));
    EXPECT_EQ(vector_next(list), &e[1]);
    EXPECT_TRUE(vector_remove_at(list, 1));
    EXPECT_EQ(vector_next(list), &e[3]);
    EXPECT_EQ(vector_next(list), nullptr);
    EXPECT_FALSE(vector_remove_at(list, 2));
    vector_clear(list);
    EXPECT_EQ(list.cursor, 2u);
}

TEST(hash, the_first_value_stays_and_walks_go_by_bucket) {
    hash_t<uint32_t, int> table(123);
    EXPECT_TRUE(hash_insert(table, 128u, 1)); // bucket 5
    EXPECT_TRUE(hash_insert(table, 5u, 2));   // the same
    EXPECT_TRUE(hash_insert(table, 4u, 3));
    EXPECT_FALSE(hash_insert(table, 5u, 7));
    EXPECT_EQ(table.count(), 3u);
    EXPECT_EQ(*hash_find(table, 5u), 2);
    EXPECT_EQ(hash_find(table, 6u), nullptr);
    EXPECT_EQ(hash_keys(table).items, (std::vector<uint32_t>{4, 128, 5}));
    int calls = 0;
    EXPECT_EQ(hash_each(table, [&](uint32_t, int) { return ++calls == 2 ? 7 : 0; }), 7);
    EXPECT_EQ(calls, 2);
    hash_clear(table);
    EXPECT_EQ(hash_find(table, 5u), nullptr);
}

int by_first(const std::string& a, const std::string& b) { return a[0] < b[0] ? -1 : a[0] > b[0] ? 1 : 0; }

std::vector<std::string> sorted(std::vector<std::string> list) {
    sort_array(list.data(), list.size(), by_first);
    return list;
}

// Worked by hand. Four equal elements: the outer pair changes places, then the inner one; then the halves (2,3) and
// (0,1) each exchange theirs.
TEST(sort, the_order_of_equal_elements_is_fixed) {
    using list_t = std::vector<std::string>;
    EXPECT_EQ(sorted({"1a", "1b"}), (list_t{"1b", "1a"}));
    EXPECT_EQ(sorted({"1a", "1b", "1c"}), (list_t{"1c", "1b", "1a"}));
    EXPECT_EQ(sorted({"1a", "1b", "1c", "1d"}), (list_t{"1c", "1d", "1a", "1b"}));
    // Pivot 2a: 3a and 1c change places, then 2a and 1d; [1c 1b 1d | 2a 3a]; the three equal ones are turned around.
    EXPECT_EQ(sorted({"3a", "1b", "2a", "1d", "1c"}), (list_t{"1d", "1b", "1c", "2a", "3a"}));
    EXPECT_EQ(sorted({"2a", "1a", "1b"}), (list_t{"1b", "1a", "2a"}));
}

// Two ascending runs that interleave, and the same with every element twice: the quicksort alone would need minutes.
TEST(sort, no_arrangement_holds_it_up) {
    constexpr uint32_t n = 400000;
    for (const uint32_t copies : {1u, 2u}) {
        std::vector<uint32_t> list(n);
        for (uint32_t k = 0; k < n; ++k) {
            list[k] = (k < n / 2 ? 2 * k + 1 : 2 * (k - n / 2)) / copies;
        }
        sort_array(list.data(), list.size(), [](uint32_t a, uint32_t b) { return a < b ? -1 : a > b ? 1 : 0; });
        EXPECT_TRUE(std::is_sorted(list.begin(), list.end()));
    }
}

} // namespace
} // namespace tavrel
