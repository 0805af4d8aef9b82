// The debug sections of an ELF file: the tree of scopes, types and variables as DWARF 2.
#pragma once

#include <string>
#include <vector>

#include "model/run.h"

namespace tavrel {

struct debug_section_t {
    const char* name;
    std::string bytes;
};

// Appends .debug_abbrev, .debug_info and .debug_line, in the order of run.big_endian; nothing where there is no tree.
// Resolves the places of all variables on its way. Raises 632 for a pointer size that no address can have, 157 for a
// unit that is given up, and messages without number for what has no place or no type.
void dwarf_write(run_t& run, std::vector<debug_section_t>& sections);

} // namespace tavrel
