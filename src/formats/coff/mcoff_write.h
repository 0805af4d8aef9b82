// What the two halves of the Microchip COFF writer hand each other: mcoff_write.cpp makes the file, mcoff_symbols.cpp
// its symbol table.
#pragma once

#include "formats/coff/coff_family_write.h"
#include "formats/coff/mcoff_layout.h"

namespace tavrel {

// A bit variable, by its bit address. A further name of the same bit goes in front of those there were.
struct bit_var_t {
    dsym_t* node = nullptr;
    std::vector<text_t> newer; // names that came after the node's own, which joins them once it is needed
    size_t length = 0;         // of the whole name
};

struct mcoff_writer_t {
    coff_writer_t coff;
    uint32_t rom_width;         // bits of a program word
    text_t coff_open_file = {}; // whose `.file` entry is open, or none
    hash_t<uint32_t, bit_var_t> bit_vars = hash_t<uint32_t, bit_var_t>(13);
};

// Fills the symbol and string tables from the tree and the linker's symbols.
void build_symbol_table(mcoff_writer_t& writer);
// A `.file` entry; the file of that name takes its index.
void coff_file_entry(mcoff_writer_t& writer, text_t name);
void coff_end_of_file(mcoff_writer_t& writer); // `.eof`

} // namespace tavrel
