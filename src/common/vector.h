// The one growable list of the program. It carries its own iteration cursor, so that a list is walked without a
// separate iterator: vector_rewind, then vector_has_next and vector_next in turn, or vector_first followed by
// vector_next. A vector never owns what its elements point to.
#pragma once

#include <cstdint>
#include <vector>

#include "common/sort.h"

namespace tavrel {

template <class T>
struct vector_t {
    std::vector<T> items;
    uint32_t growth = 10; // capacity of the first allocation, in elements
    uint32_t cursor = 0;  // position of the next element to be delivered

    vector_t() = default;
    explicit vector_t(uint32_t first_capacity) : growth(first_capacity) {}

    uint32_t count() const { return static_cast<uint32_t>(items.size()); }
    uint32_t capacity() const { return static_cast<uint32_t>(items.capacity()); }
    auto begin() const { return items.begin(); }
    auto end() const { return items.end(); }
    auto begin() { return items.begin(); }
    auto end() { return items.end(); }
    const T& operator[](size_t position) const { return items[position]; }
    T& operator[](size_t position) { return items[position]; }
    bool empty() const { return items.empty(); }
};

// Appends; gives the 0-based position. The capacity goes from 0 to `growth`, then doubles.
template <class T>
uint32_t vector_add(vector_t<T>& vector, T element) {
    if (vector.items.size() == vector.items.capacity()) {
        vector.items.reserve(vector.items.empty() ? vector.growth : vector.items.size() * 2);
    }
    vector.items.push_back(element);
    return vector.count() - 1;
}

// Stores at `position`; null elements fill the way up to it.
template <class T>
void vector_set(vector_t<T>& vector, T element, uint32_t position) {
    while (vector.count() <= position) {
        vector_add(vector, T());
    }
    vector.items[position] = element;
}

// The element, or null at and behind the end: callers lean on this at the end of a list.
template <class T>
T vector_at(const vector_t<T>& vector, uint32_t position) {
    return position < vector.count() ? vector.items[position] : T();
}

// Removes one element; the cursor stays on the element that it stood on. False at and behind the end.
template <class T>
bool vector_remove_at(vector_t<T>& vector, uint32_t position) {
    if (position >= vector.count()) {
        return false;
    }
    vector.items.erase(vector.items.begin() + position);
    if (position < vector.cursor) {
        --vector.cursor;
    }
    return true;
}

// Empties the list; the cursor is not touched.
template <class T>
void vector_clear(vector_t<T>& vector) {
    vector.items.clear();
}

// `compare` takes two elements.
template <class T, class Compare>
void vector_sort(vector_t<T>& vector, Compare compare) {
    sort_array(vector.items.data(), vector.items.size(), compare);
}

template <class T>
void vector_rewind(vector_t<T>& vector) {
    vector.cursor = 0;
}

template <class T>
bool vector_has_next(const vector_t<T>& vector) {
    return vector.cursor < vector.count();
}

// The element at the cursor, and one step on; null and no movement at the end.
template <class T>
T vector_next(vector_t<T>& vector) {
    return vector_has_next(vector) ? vector.items[vector.cursor++] : T();
}

template <class T>
T vector_first(vector_t<T>& vector) {
    vector.cursor = 0;
    return vector_next(vector);
}

// The element at the cursor without moving: after vector_first a look-ahead at the second element.
template <class T>
T vector_current(const vector_t<T>& vector) {
    return vector_at(vector, vector.cursor);
}

} // namespace tavrel
