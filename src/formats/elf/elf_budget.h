// What a dump may spend. A damaged or hostile file can ask for output without end: a thousand symbols that share a name
// of a megabyte, a tree of entries that is as deep as the file is long. No compiler writes such a file, so a dump ends
// when it has done many times more than any sound file of that size explains.
#pragma once

#include <cstdint>

#include "common/stream.h"

namespace tavrel {

struct elf_budget_t {
    const printer_t* out = nullptr;
    uint64_t limit = 0;   // of bytes printed and looked at again
    uint64_t scanned = 0; // bytes looked at again
    bool told = false;    // message 666 was raised for it
};

inline uint64_t elf_spent(const printer_t& out) { return out.flushed + out.text.size(); }

inline elf_budget_t elf_budget(const printer_t& out, size_t file_size) {
    constexpr uint64_t base = 256u << 20;
    constexpr uint64_t per_byte = 256;
    return {&out, elf_spent(out) + base + per_byte * file_size, 0, false};
}

inline bool is_spent(const elf_budget_t& budget) { return elf_spent(*budget.out) + budget.scanned > budget.limit; }

} // namespace tavrel
