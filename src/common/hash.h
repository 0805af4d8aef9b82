// A table from keys to values in which the first value of a key stays.
//
// Seen from outside it is a chained table with a fixed number of buckets: hash_each and hash_keys go bucket by bucket
// and along each chain in order of arrival, and that order is part of the behaviour of whoever walks a table. Inside,
// the index grows with the table, so that a lookup costs the same at a million entries as at ten.
#pragma once

#include <cassert>
#include <cstdint>
#include <functional>
#include <vector>

#include "common/print.h"
#include "common/vector.h"

namespace tavrel {

// The defaults for keys that are numbers: the identity and the plain comparison. Other tables bring an Ops of their
// own: `hash` gives the bucket number before the modulo, `spread` a hash that tells keys well apart (equal keys, equal
// spread), `differs` is false for equal keys.
struct word_ops_t {
    static uint32_t hash(uint32_t key) { return key; }
    static uint64_t spread(uint32_t key) { return key * 0x9E3779B97F4A7C15u; }
    static bool differs(uint32_t a, uint32_t b) { return a != b; }
};

// The same for keys that are texts, which the table does not own.
struct text_ops_t {
    static uint32_t hash(text_t key) { // h = 2 * h + c over the unsigned characters
        uint32_t h = 0;
        for (const char c : key) {
            h = 2 * h + static_cast<uint8_t>(c);
        }
        return h;
    }
    static uint64_t spread(text_t key) { return std::hash<text_t>()(key); }
    static bool differs(text_t a, text_t b) { return a != b; }
};

template <class K, class V, class Ops = word_ops_t>
struct hash_t {
    struct entry_t {
        K key;
        V value;
    };
    uint32_t size;                // buckets seen from outside, not 0
    std::vector<entry_t> entries; // in order of arrival
    std::vector<uint32_t> slots;  // open addressing over `entries`, position + 1, 0 for free; a power of two long

    explicit hash_t(uint32_t buckets) : size(buckets) { assert(size != 0); }
    uint32_t count() const { return static_cast<uint32_t>(entries.size()); }
};

namespace hash_detail {

template <class K, class V, class Ops>
size_t slot_of(const hash_t<K, V, Ops>& table, const K& key) {
    const size_t mask = table.slots.size() - 1;
    const uint64_t spread = Ops::spread(key);
    size_t slot = static_cast<size_t>(spread ^ spread >> 32) & mask;
    while (table.slots[slot] != 0 && Ops::differs(key, table.entries[table.slots[slot] - 1].key)) {
        slot = (slot + 1) & mask;
    }
    return slot;
}

template <class K, class V, class Ops>
void grow(hash_t<K, V, Ops>& table) {
    const size_t slots = table.slots.empty() ? 16 : table.slots.size() * 2;
    table.slots.assign(slots, 0);
    for (size_t k = 0; k < table.entries.size(); ++k) {
        const uint64_t spread = Ops::spread(table.entries[k].key);
        size_t slot = static_cast<size_t>(spread ^ spread >> 32) & (slots - 1);
        while (table.slots[slot] != 0) {
            slot = (slot + 1) & (slots - 1);
        }
        table.slots[slot] = static_cast<uint32_t>(k + 1);
    }
}

} // namespace hash_detail

// The value of a key, or null.
template <class K, class V, class Ops>
V* hash_find(hash_t<K, V, Ops>& table, const K& key) {
    if (table.slots.empty()) {
        return nullptr;
    }
    const uint32_t entry = table.slots[hash_detail::slot_of(table, key)];
    return entry == 0 ? nullptr : &table.entries[entry - 1].value;
}

template <class K, class V, class Ops>
const V* hash_find(const hash_t<K, V, Ops>& table, const K& key) {
    return hash_find(const_cast<hash_t<K, V, Ops>&>(table), key);
}

// True if the key was new; else nothing changes.
template <class K, class V, class Ops>
bool hash_insert(hash_t<K, V, Ops>& table, K key, V value) {
    if ((table.entries.size() + 1) * 2 > table.slots.size()) {
        hash_detail::grow(table);
    }
    const size_t slot = hash_detail::slot_of(table, key);
    if (table.slots[slot] != 0) {
        return false;
    }
    table.entries.push_back({key, value});
    table.slots[slot] = table.count();
    return true;
}

template <class K, class V, class Ops>
void hash_clear(hash_t<K, V, Ops>& table) {
    table.entries.clear();
    table.slots.clear();
}

// Calls `operation(key, value)` for each entry, bucket by bucket and along each chain; ends at the first result that
// is not 0 and gives it.
template <class K, class V, class Ops, class F>
int hash_each(const hash_t<K, V, Ops>& table, F operation) {
    std::vector<uint32_t> first(table.size + 1, 0);
    for (const auto& entry : table.entries) {
        ++first[Ops::hash(entry.key) % table.size + 1];
    }
    for (uint32_t bucket = 1; bucket <= table.size; ++bucket) {
        first[bucket] += first[bucket - 1];
    }
    std::vector<uint32_t> order(table.entries.size());
    for (uint32_t k = 0; k < table.count(); ++k) {
        order[first[Ops::hash(table.entries[k].key) % table.size]++] = k;
    }
    for (const uint32_t k : order) {
        if (const int result = operation(table.entries[k].key, table.entries[k].value); result != 0) {
            return result;
        }
    }
    return 0;
}

template <class K, class V, class Ops>
vector_t<K> hash_keys(const hash_t<K, V, Ops>& table) {
    vector_t<K> keys;
    hash_each(table, [&](const K& key, const V&) {
        vector_add(keys, key);
        return 0;
    });
    return keys;
}

} // namespace tavrel
