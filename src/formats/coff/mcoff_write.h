// What the two halves of the Microchip COFF writer hand each other: mcoff_write.cpp makes the file, mcoff_symbols.cpp
// its symbol table.
#pragma once

#include "formats/coff/coff_family_write.h"
#include "formats/coff/mcoff_layout.h"

namespace tavrel {

// A bit variable, by its bit address. Its node's name collects the further names of the same bit.
struct bit_var_t {
    dsym_t* node = nullptr;
    char* first = nullptr; // of the name once it was joined, in the run's memory
    size_t room = 0;       // bytes free in front of that
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
