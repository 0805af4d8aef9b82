// A processor family as a constant row: how wide its types are, what its qualifier letters mean, how its registers are
// called, and where a function keeps its frame. One row is selected per run, by the processor's name (-p) or by the
// words in the first SDB header.
#pragma once

#include "debug/tree.h"

namespace tavrel {

struct register_t {
    const char* name; // row 0 of a table has an empty name
    uint8_t size;     // bytes
};

struct base_type_t {
    const char* name;
    uint32_t size; // bytes
    uint32_t encoding;
};

struct qualifier_t {
    const char* name;
    char letter;
    uint32_t flag;
};

struct machine_t {
    const char* name; // for people
    std::span<const register_t> registers;
    std::span<const char* const> keys; // words of SDB headers; the position is the bit in machine_options
    bool (*accepts)(const run_t& run, text_t processor_name);
    std::span<const base_type_t> base_types;
    // The place of a variable; false if it has none. Values are in the machine's own address units.
    bool (*locate)(run_t& run, dsym_t* node, const scope_cursor_t& cursor, location_t& location);
    uint32_t (*sizeof_type)(type_t position); // bytes
    std::span<const qualifier_t> qualifiers;
    uint32_t code_step; // smallest step between two code addresses; 0 on the 8051
    uint32_t code_unit; // size of an instruction in address units; 0 on the 8051
};

// All rows; the order decides ties.
extern const machine_t machine_pic, machine_pic18, machine_dspic, machine_mips, machine_8051, machine_arm,
    machine_holtek;
extern const machine_t* const machines[7];

// Selects the machine from the processor's name or the words, once a run; true if there is one. Raises 668 when no row
// fits and 669 when several do.
bool set_machine(run_t& run, text_t header_words);
// Notes one header word; false if the machine does not know it.
bool set_machine_option(run_t& run, text_t word);
uint32_t find_register(const run_t& run, text_t name); // row number, 0 if not found
text_t register_name(const run_t& run, uint32_t row);  // empty for 0 and beyond the table

// The place of a variable, and the size of a type in bytes; both need a machine. The caller initialises `location`:
// some results set the value only.
bool resolve_location(run_t& run, dsym_t* node, const scope_cursor_t& cursor, location_t& location);
uint32_t type_size(const run_t& run, type_t position);

} // namespace tavrel
