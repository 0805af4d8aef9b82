// Memory that lives as long as a run: texts and image bytes are copied here once and never freed one by one.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <span>
#include <vector>

#include "common/print.h"

namespace tavrel {

// Bytes in chunks. What is added in a row without a break usually lies in a row in memory, too; holders of adjacent
// pieces may use that.
struct byte_arena_t {
    std::vector<std::unique_ptr<uint8_t[]>> chunks;
    uint8_t* next = nullptr;
    size_t room = 0;

    // Room for `size` bytes, not initialised.
    uint8_t* take(size_t size) {
        if (size > room) {
            const size_t chunk = size > chunk_size / 4 ? size : chunk_size;
            chunks.push_back(std::make_unique_for_overwrite<uint8_t[]>(chunk));
            if (chunk == size) {
                return chunks.back().get(); // the open chunk stays open
            }
            next = chunks.back().get();
            room = chunk;
        }
        uint8_t* result = next;
        next += size;
        room -= size;
        return result;
    }

    uint8_t* add(const void* bytes, size_t size) {
        uint8_t* result = take(size);
        if (size != 0) {
            std::memcpy(result, bytes, size);
        }
        return result;
    }

    static constexpr size_t chunk_size = 65536;
};

// Texts, each followed by a NUL that its view does not count. A text that is none stays none.
struct text_arena_t {
    byte_arena_t bytes;

    text_t add(text_t text) {
        if (is_none(text)) {
            return text;
        }
        auto* copy = bytes.take(text.size() + 1);
        if (!text.empty()) {
            std::memcpy(copy, text.data(), text.size());
        }
        copy[text.size()] = 0;
        return {reinterpret_cast<const char*>(copy), text.size()};
    }
};

} // namespace tavrel
