// A table from names to records that carry their name; the first record of a name stays. Made for millions of names:
// one flat array, a lookup touches one record.
#pragma once

#include <cstdint>
#include <functional>
#include <vector>

#include "common/print.h"

namespace tavrel {

// T has a field `name` (text_t). Records are not owned and must not move.
template <class T>
struct name_index_t {
    struct slot_t {
        uint32_t hash;
        T* record; // null: free
    };
    std::vector<slot_t> slots; // open addressing, a power of two long, at most half full
    size_t count = 0;
};

namespace name_index_detail {

inline uint32_t hash_of(text_t name) {
    const size_t hash = std::hash<text_t>()(name);
    return static_cast<uint32_t>(hash ^ hash >> 32);
}

template <class T>
void grow(name_index_t<T>& index) {
    std::vector<typename name_index_t<T>::slot_t> old(index.slots.empty() ? 64 : index.slots.size() * 2);
    old.swap(index.slots);
    const size_t mask = index.slots.size() - 1;
    for (const auto& slot : old) {
        if (slot.record != nullptr) {
            size_t at = slot.hash & mask;
            while (index.slots[at].record != nullptr) {
                at = (at + 1) & mask;
            }
            index.slots[at] = slot;
        }
    }
}

} // namespace name_index_detail

// True if the name was new; else nothing changes.
template <class T>
bool index_add(name_index_t<T>& index, T* record) {
    if (2 * index.count >= index.slots.size()) {
        name_index_detail::grow(index);
    }
    const uint32_t hash = name_index_detail::hash_of(record->name);
    const size_t mask = index.slots.size() - 1;
    size_t at = hash & mask;
    for (; index.slots[at].record != nullptr; at = (at + 1) & mask) {
        if (index.slots[at].hash == hash && index.slots[at].record->name == record->name) {
            return false;
        }
    }
    index.slots[at] = {hash, record};
    ++index.count;
    return true;
}

// The record of that name, or null.
template <class T>
T* index_find(const name_index_t<T>& index, text_t name) {
    if (index.slots.empty()) {
        return nullptr;
    }
    const uint32_t hash = name_index_detail::hash_of(name);
    const size_t mask = index.slots.size() - 1;
    for (size_t at = hash & mask; index.slots[at].record != nullptr; at = (at + 1) & mask) {
        if (index.slots[at].hash == hash && index.slots[at].record->name == name) {
            return index.slots[at].record;
        }
    }
    return nullptr;
}

} // namespace tavrel
