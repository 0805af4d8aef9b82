// What the writers of the COFF family share: the string table, names, symbol records, type words and structure tags,
// the layout of sections, the section of a place, the lines of a function, and the headers. What differs between
// Microchip COFF and plain COFF is coff_rules_t; ICOFF, which describes no types, takes the headers alone.
#pragma once

#include <array>
#include <span>
#include <unordered_map>
#include <vector>

#include "debug/type.h"
#include "formats/coff/coff_family_layout.h"

namespace tavrel {

// ---- headers

struct coff_out_header_t {
    uint32_t magic = 0; // most significant byte first
    uint32_t section_count = 0;
    uint32_t symptr = 0;
    uint32_t nsyms = 0;
    uint32_t opthdr = 0;
    uint32_t flags = 0;
};

using coff_name_t = std::array<uint8_t, coff_name_size>;

struct coff_out_section_t {
    coff_name_t name = {};
    uint32_t paddr = 0;
    uint32_t vaddr = 0;
    uint32_t size = 0;
    uint32_t scnptr = 0;
    uint32_t lnnoptr = 0;
    uint32_t nlnno = 0; // cut to 16 bits in the file
    uint32_t flags = 0;
};

// At the start of the file, in the order of `out`; `f_timdat` is the present time.
void put_file_header(run_t& run, output_t& out, const coff_out_header_t& header);
void put_section_header(output_t& out, const coff_out_section_t& section); // at the position
coff_name_t cut_name(text_t name);                                         // the first eight characters

// ---- the writers of Microchip and plain COFF

// Where the two differ.
struct coff_rules_t {
    coff_shape_t shape;
    uint32_t magic;
    uint32_t optional_size;              // bytes of the optional header
    uint32_t absolute_sections;          // sections in front of the data sections
    uint32_t gap;                        // bytes left free behind the section headers, a segment
    bool long_section_names;             // section names may go to the string table
    int32_t tag_scnum;                   // section number of tags and members
    int32_t eos_scnum;                   // of the end of a structure
    std::array<uint8_t, 5> signed_codes; // base type by size in bytes
    std::array<uint8_t, 5> unsigned_codes;
    uint8_t small_enum_code;             // base type of a signed enum of one byte
    std::span<const uint8_t> base_sizes; // by base type
    uint32_t pointer_size;
    uint32_t rom_unit; // bytes of a program address
    uint32_t ram_unit; // bytes of a data address
};

struct coff_out_symbol_t {
    coff_name_t name = {};
    uint32_t value = 0;
    int32_t scnum = 0; // the low 16 bits are written
    uint32_t type = 0;
    uint32_t sclass = 0;
    uint32_t numaux = 0;
};

// An auxiliary record of a tag, member, variable, block or function; `x_endndx` is set once known (set_record32).
struct coff_out_aux_t {
    uint32_t tagndx = 0;
    uint32_t lnno = 0;
    uint32_t size = 0;
    std::array<uint16_t, coff_dimensions> dimen = {};
};

struct coff_typed_t {
    uint32_t word = 0;
    bool has_aux = false;
    coff_out_aux_t aux;
};

// The string table: each text once, in order of arrival. Offsets count from the start of the table, its size included.
struct coff_strings_t {
    text_arena_t texts;
    std::vector<text_t> in_order;
    std::unordered_map<text_t, uint32_t> offsets;
    uint32_t size = coff_string_start;
};

// What is known of a struct node's tag.
struct coff_tag_t {
    bool known = false;
    uint32_t index = 0;      // symbol index, if known
    uint32_t missing_at = 0; // tags that there were when it was not among them
};

// One run of a writer. Symbol indices count records, auxiliary ones included.
struct coff_writer_t {
    // `unnamed` is the running number of generated names, kept by the run.
    coff_writer_t(run_t& of_run, output_t& to, text_t output_name, const coff_rules_t& with_rules, uint32_t& unnamed);

    run_t& run;
    output_t& out;
    text_t name; // of the output
    coff_rules_t rules;
    uint32_t& coff_unnamed;

    std::vector<uint8_t> coff_symbols; // the records as they stand in the file
    coff_strings_t coff_strings;
    std::vector<dsym_t*> coff_functions; // SC_FUNC nodes in order of the walk

    type_map_t coff_tags;                                            // struct position to symbol index of its tag
    uint32_t tag_count = 0;                                          // entries of coff_tags
    std::unordered_map<const dsym_t*, coff_tag_t> node_tags;         // what coff_tags says, by struct node
    std::unordered_map<dsym_t*, std::vector<uint32_t>> coff_pending; // records that wait for a struct's tag index
    std::unordered_map<type_t, coff_typed_t> type_words;             // of some positions of long types, without tags

    std::unordered_map<text_t, const file_t*> files; // by exact name
    std::vector<coff_out_section_t> sections;
    uint32_t first_text = 0;          // position of the first block's section
    std::vector<uint32_t> code_count; // code segments among the first n segments
    std::vector<uint8_t> code_space;  // by segment index: its name is that of a code space
    block_finder_t blocks;
    segment_finder_t segments;
    uint32_t position = 0; // in the file, where the next part goes

    uint64_t line_room = 0; // lines that may still be attached or written
    bool lines_lost = false;
};

// The offset of a text in the string table; a new one is appended.
uint32_t add_coff_string(coff_writer_t& writer, text_t text);
// Stores a name in a record: up to eight characters in place, a longer one in the string table. None gives ".u%d".
void set_coff_name(coff_writer_t& writer, uint8_t* field, text_t name);

uint32_t symbol_count(const coff_writer_t& writer);
// Both give the record's symbol index.
uint32_t add_coff_symbol(coff_writer_t& writer, const coff_out_symbol_t& symbol);
uint32_t add_coff_aux(coff_writer_t& writer, const coff_out_aux_t& aux);
uint8_t* record_at(coff_writer_t& writer, uint32_t index);
void set_record32(coff_writer_t& writer, uint32_t index, uint32_t at, uint32_t value);
// A symbol with a name of its own and without a type: `.bb` and its like.
coff_out_symbol_t coff_mark(coff_writer_t& writer, text_t name, uint32_t sclass, uint32_t value, int32_t scnum);
// A mark and an auxiliary record that holds a line; gives the index of the symbol.
uint32_t add_line_mark(coff_writer_t& writer, const coff_out_symbol_t& mark, uint32_t line);

// The type word and auxiliary record of a variable, with all tags that they need emitted before.
coff_typed_t coff_type_of(coff_writer_t& writer, type_t type);

// A symbol and, if it has one, its auxiliary record; gives the index of the symbol, whose `numaux` is set here.
uint32_t add_typed(coff_writer_t& writer, coff_out_symbol_t symbol, const coff_typed_t& typed);

// ---- what the walks of both have in common

std::vector<dsym_t*> tree_modules(const run_t& run);                // those that brought a tree, in order
std::vector<const symbol_t*> listed_symbols(const run_t& run);      // by file, those that no tree describes
void mark_described(run_t& run, text_t name);                       // the linker's symbol of that name, if there is one
std::string source_path(const run_t& run, text_t name);             // as debuggers on Windows look for it
const file_t* named_file(const coff_writer_t& writer, text_t name); // of exactly that name, or null

// True if the segment of that index is a code space.
bool is_code_space(const coff_writer_t& writer, uint32_t index);
// The headers of all sections, and the data of the blocks in the file.
void write_sections(coff_writer_t& writer);
// The number of the section that holds a place.
uint32_t section_of(const coff_writer_t& writer, const location_t& location);

// Gives each function the lines of its source between its first and its last, in code spaces and outside the ranges of
// these linker classes. Raises 413 when the lines of all functions are out of proportion to those of the model.
void attach_lines(coff_writer_t& writer, std::span<const text_t> excluded_classes);
// The functions that have lines, by number of the section that holds them, in order of the walk.
std::unordered_map<uint32_t, std::vector<dsym_t*>> functions_by_section(const coff_writer_t& writer);
// The place of a function, an empty one if it has no variable.
location_t function_location(const dsym_t& function);
// Takes `count` line records from the room that there is; false, and once a message 413, if there is none.
bool take_line_room(coff_writer_t& writer, uint64_t count);

// Symbols, strings and headers, from the running position on.
void close_coff(coff_writer_t& writer, uint32_t f_flags);

} // namespace tavrel
