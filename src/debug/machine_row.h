// What the rows of the machine table share: the frame of `locate` and of `sizeof_type`, with what a row does
// differently as parameters. For the files in src/machines only.
#pragma once

#include "debug/machine.h"

namespace tavrel {

// How wide a pointer is: `special` bytes if the part just inside is a qualifier with one of `flags`, else `plain`.
struct pointer_rule_t {
    uint32_t flags;
    uint32_t special;
    uint32_t plain;
};

// The size of a type in bytes: 0 for functions, for qualifiers and where the parts run out.
uint32_t sizeof_parts(type_t position, const pointer_rule_t& pointers);

// The three things that rows place in their own way. Each gives false if the variable has no place.
struct locate_rules_t {
    // A static with a label: puts its place into the variable.
    bool (*place_static)(run_t& run, dsym_t* node, const scope_cursor_t& cursor);
    // An auto or parameter of a function (its scope): puts its place into the variable.
    bool (*place_local)(run_t& run, dsym_t* node, const dsym_t& function);
    // A register's row: sets the value, where told the segment. Null where registers have no place.
    bool (*place_register)(const run_t& run, uint32_t row, location_t& location);
};

bool locate_variable(run_t& run, dsym_t* node, const scope_cursor_t& cursor, location_t& location,
                     const locate_rules_t& rules);

// The function around a cursor, a node of class SC_FUNC reached through plain blocks, or null.
const dsym_t* enclosing_function(const scope_cursor_t& cursor);

// place_static of most rows: by the label.
bool place_by_label(run_t& run, dsym_t* node, const scope_cursor_t& cursor);
// For place_local: `place` behind the symbol that the prefix of the class and the function's name form.
bool place_by_symbol(run_t& run, dsym_t* node, const dsym_t& function, text_t auto_prefix, text_t param_prefix);
// place_local of machines with a stack: `place` behind the base that the function's block gives for the class.
bool place_by_offset(run_t& run, dsym_t* node, const dsym_t& function);

} // namespace tavrel
