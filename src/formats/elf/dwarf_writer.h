// What the parts of the DWARF writer share: the state of one write, and debugging information entries (DIEs) in the
// making. Units and scopes are in dwarf_write.cpp, shapes and bytes of DIEs in dwarf_dies.cpp, types in
// dwarf_types.cpp, the line programs in dwarf_line_write.cpp.
#pragma once

#include <deque>
#include <string>
#include <unordered_map>
#include <vector>

#include "debug/tree.h"
#include "model/run.h"

namespace tavrel {

// ---- DIEs

// The shape of a DIE: its tag, its attributes and whether children follow. See die_shapes.
enum shape_t : uint8_t {
    SHAPE_UNIT_PARENT,
    SHAPE_UNIT_LEAF,
    SHAPE_FUNCTION_PARENT,
    SHAPE_FUNCTION_LEAF,
    SHAPE_VOID_FUNCTION_PARENT,
    SHAPE_VOID_FUNCTION_LEAF,
    SHAPE_SUBROUTINE,
    SHAPE_VOID_SUBROUTINE,
    SHAPE_BASE,
    SHAPE_CONST,
    SHAPE_VOLATILE,
    SHAPE_POINTER,
    SHAPE_VOID_POINTER,
    SHAPE_ARRAY,
    SHAPE_SUBRANGE,
    SHAPE_STRUCT,
    SHAPE_ANONYMOUS_STRUCT,
    SHAPE_UNION,
    SHAPE_ANONYMOUS_UNION,
    SHAPE_MEMBER,
    SHAPE_BIT_MEMBER,
    SHAPE_UNION_MEMBER,
    SHAPE_UNION_BIT_MEMBER,
    SHAPE_TYPEDEF,
    SHAPE_LOCAL_VARIABLE,
    SHAPE_EXTERNAL_VARIABLE,
    SHAPE_PARAMETER,
    SHAPE_ENUM,
    SHAPE_ANONYMOUS_ENUM,
    SHAPE_ENUMERATOR,
    SHAPE_COUNT,
};

// A piece of .debug_info before it lands there: one DIE, with its children where these belong to it.
struct die_t {
    struct forward_t {
        uint32_t at;    // position in `bytes` of a ref4 to a structure under construction
        uint32_t owner; // that structure, as an index of `constructions`
    };
    std::string bytes;
    std::vector<forward_t> forwards;
};
constexpr uint32_t die_limit = 2048; // bytes that land of a piece

// ---- types

constexpr uint32_t no_type = 0xFFFFFFFF;            // in place of an index of `types`: void or a failure
constexpr uint32_t under_construction = 0xFFFFFFFF; // an `offset`

// What is known of a type in the unit at work.
struct type_entry_t {
    type_t part = nullptr; // the position that the entry was made for
    uint32_t offset = 0;   // of the type's DIE from the unit's header, 0 while it has none
    uint32_t owner = 0;    // index of `constructions` while `offset` is under_construction
    bool failed = false;   // came to nothing at some time
};

// A structure whose members' types are still on their way into the section.
struct construction_t {
    uint32_t entry;                // in `types`
    const struct_t* node;          // the fields
    size_t field = 0;              // the one whose type is sought
    die_t die;                     // the structure and the members so far
    std::vector<uint32_t> places;  // offsets in .debug_info of ref4s that wait for the structure
    std::vector<uint32_t> entries; // of `types`, whose offset waits for it
};

// A type that waits for the DIE of another one, which it refers to.
struct pending_type_t {
    type_t part;
    uint32_t entry; // in `types`
};

// ---- files

struct dwarf_file_t {
    text_t name;             // base name
    uint32_t dir = 0;        // position in `dirs`, 0 for none
    uint32_t model_file = 0; // index of the model's file of that name, 0 if there is none
};

// The file and directory tables of a unit. Entry 0 of `files` is the module itself, entry 0 of `dirs` is empty; the
// position in a table is the number that DIEs and line program use.
struct unit_files_t {
    std::vector<dwarf_file_t> files;
    std::vector<text_t> dirs;
    std::unordered_map<text_t, uint32_t> file_numbers; // by base name
    std::unordered_map<text_t, uint32_t> dir_numbers;
};

// ---- lines

// All line records in address order, and for each file of the model the positions of its own.
struct line_index_t {
    vector_t<line_t*> lines;
    std::unordered_map<uint32_t, std::vector<uint32_t>> positions;
};

// ---- the writer

struct dwarf_writer_t {
    explicit dwarf_writer_t(run_t& of) : run(of), big_endian(of.big_endian) {}

    run_t& run;
    const int big_endian;
    std::deque<tpart_t> enum_parts; // types of enumerations that stand in a scope
    uint32_t address_size = 0;      // bytes
    std::string abbrev, info, line;
    uint8_t abbrev_code = 0; // the last one given out
    uint8_t abbrev_of_shape[SHAPE_COUNT] = {};
    line_index_t line_index;

    // Of the unit at work.
    uint32_t unit_start = 0; // of the unit's header in .debug_info; a ref4 counts from there
    uint32_t low_pc = 0, high_pc = 0;
    uint32_t frame_base = 0; // of the function at work
    uint32_t current_file = 0;
    unit_files_t files;

    // Of its types. The machine's base types come first and stay from unit to unit, without their offsets.
    std::vector<type_entry_t> types;
    size_t global_count = 0;
    std::unordered_map<std::string, uint32_t> global_types, unit_types; // indices by key
    std::vector<pending_type_t> pending;                                // innermost last
    std::vector<construction_t> constructions;                          // innermost last
    // Types that came to nothing, with the value of `revivals` at that time: as long as that has not changed they
    // come to nothing again, and need not be walked once more.
    std::unordered_map<type_t, uint32_t> failures;
    uint32_t revivals = 0; // how often the entry of a failed type got a DIE after all
};

// ---- dwarf_dies.cpp

// Begins a DIE of that shape: appends its code, behind putting the shape into .debug_abbrev if this is the first one.
void die_begin(dwarf_writer_t& writer, die_t& die, shape_t shape);
void die_put8(die_t& die, uint32_t value);
void die_put16(const dwarf_writer_t& writer, die_t& die, uint32_t value);
void die_put32(const dwarf_writer_t& writer, die_t& die, uint32_t value);
// A text as the file can hold it: up to a NUL.
inline text_t c_text(text_t text) { return text.substr(0, text.find('\0')); }
void die_put_text(die_t& die, text_t text);                                 // and its NUL; none is the empty text
void die_put_type(const dwarf_writer_t& writer, die_t& die, uint32_t type); // ref4 to that entry of `types`
// Ends the children that belong to the DIE itself and sets its first attribute, the sibling, to what lies behind them.
void die_close_children(const dwarf_writer_t& writer, die_t& die);
// An address in address_size bytes; nothing if that is not 1, 2, 4 or 8.
void put_address(const dwarf_writer_t& writer, std::string& out, uint64_t value);
// Overwrites 32 bits of a section.
void patch32(const dwarf_writer_t& writer, std::string& section, size_t place, uint32_t value);

// Gives the shape its abbreviation if it has none yet.
void want_shape(dwarf_writer_t& writer, shape_t shape);
// Lets the DIE land at the end of .debug_info; gives the place. What passes die_limit is lost with an error message.
uint32_t die_land(dwarf_writer_t& writer, const die_t& die);
// The end of a list of children.
inline void dwarf_end_children(dwarf_writer_t& writer) { writer.info.push_back('\0'); }

// ---- dwarf_types.cpp

// Forgets the types of the unit before.
void begin_unit_types(dwarf_writer_t& writer);
// An entry of that key, cut at 63 characters, which stays from unit to unit.
void add_global_type(dwarf_writer_t& writer, text_t key, type_t part);
// Finds or writes the DIE of a type; gives an index of `types`, or no_type.
uint32_t dwarf_type(dwarf_writer_t& writer, type_t part);

// ---- dwarf_line_write.cpp

line_index_t make_line_index(const run_t& run);
// Appends the unit's line program to .debug_line; rows widen the unit's low_pc and high_pc.
void dwarf_line_program(dwarf_writer_t& writer);

} // namespace tavrel
