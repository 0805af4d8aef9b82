// The program model: the one in-memory picture that all formats share. Every reader adds to it, every writer takes
// from it, and nothing is ever removed: several inputs of one run accumulate in the same tables.
//
// It holds linker-level facts only. All numbers have 32 bits, wrap there and compare unsigned. Addresses and sizes of
// segments and blocks are in bytes. File and segment references in records are 1-based indices into `files` and
// `segments`, 0 meaning none. Names and image bytes are copies owned by the model.
#pragma once

#include <cstdint>
#include <deque>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "common/alloc.h"
#include "common/hash.h"
#include "common/name_index.h"
#include "common/print.h"
#include "common/vector.h"

namespace tavrel {

struct symbol_t;
struct line_t;

// One source file or module.
struct file_t {
    text_t name;                    // as stored, after -e stripping; key in `file_names`
    std::vector<symbol_t*> symbols; // filled by finalisation, in order of arrival
    uint32_t symbol_count = 0;      // symbols whose `file` is this file, kept by add_symbol
    std::vector<line_t*> lines;     // filled by finalisation, sorted by number, start, end
    uint32_t line_count = 0;        // line entries whose `file` is this file, kept by add_line
    uint32_t index = 0;             // 1-based
    uint32_t out_index = 0;         // scratch: number that a writer gives the file in its own output
};

// One linker class: an address range of its own name.
struct class_t {
    uint32_t low = 0;
    uint32_t high = 0; // inclusive
    uint32_t base = 0;
    uint32_t init = 0;
    text_t name;
};

enum symbol_flags_t : uint32_t {
    SYM_ABS = 1,       // absolute: no segment
    SYM_LOCAL = 2,     // local to its file; writers leave it out of global lists
    SYM_LABEL = 4,     // no variable (OMF-51)
    SYM_DESCRIBED = 8, // the tree also describes it; set by writers during their own pass, and left so
};

struct symbol_t {
    uint32_t file = 0;
    uint32_t value = 0;                  // address or absolute value
    const class_t* link_class = nullptr; // class whose range holds `value` (native symbol file only)
    uint32_t segment = 0;
    uint32_t flags = 0;
    text_t name;
};

// True for a symbol that writers put in their linker-level list.
inline bool is_listed(const symbol_t& symbol) { return (symbol.flags & (SYM_LOCAL | SYM_DESCRIBED)) == 0; }

struct line_t {
    uint32_t file = 0;
    uint32_t start = 0; // first address of the line's code
    uint32_t end = 0;   // last address, inclusive; set by finalisation
    uint32_t segment = 0;
    uint32_t flags = 0;
    uint32_t number = 0;
    uint32_t out_index = 0; // scratch: sequence number in the Holtek DBG output
};

struct segment_t {
    uint32_t space = 0; // address space: what it holds is settled by the reader, see space_segment
    uint32_t addr = 0;  // run address
    uint32_t load = 0;  // load address, by which blocks are placed
    uint32_t size = 0;  // bytes, 0 while unknown
    text_t name;
};

// One run of image bytes.
struct block_t {
    uint32_t addr = 0; // of the first byte, as a load address
    uint32_t size = 0;
    const uint8_t* data = nullptr; // `size` bytes
    uint32_t segment = 0;
};

// A place in a named or numbered memory.
struct location_t {
    uint32_t value = 0;
    uint32_t segment = 0;
};

struct model_t {
    vector_t<file_t*> files{25};
    vector_t<symbol_t*> symbols{100}; // in order of arrival until a writer sorts it
    vector_t<class_t*> classes{30};
    vector_t<segment_t*> segments{25};
    vector_t<block_t*> blocks{100};
    vector_t<line_t*> lines{100}; // in order of arrival until a writer sorts it

    // First-wins lookups.
    name_index_t<symbol_t> symbol_names;
    hash_t<uint32_t, symbol_t*> symbol_values{123};      // names beginning with F excepted
    std::unordered_map<std::string, file_t*> file_names; // by lower-case name
    std::unordered_map<std::string_view, segment_t*> segment_names;
    std::unordered_map<std::string_view, uint32_t> segment_indices; // 1-based, by name
    std::unordered_map<std::string_view, class_t*> class_names;

    bool strip_extensions = false; // -e: file names are stored and sought without their extension

    // Storage: records never move and live as long as the model.
    std::deque<file_t> file_pool;
    std::deque<symbol_t> symbol_pool;
    std::deque<class_t> class_pool;
    std::deque<segment_t> segment_pool;
    std::deque<block_t> block_pool;
    std::deque<line_t> line_pool;
    text_arena_t texts;
    byte_arena_t bytes;

    // For find_file_symbol: the file's symbols by name, made at the first request after finalisation.
    std::unordered_map<const file_t*, std::unordered_map<std::string_view, symbol_t*>> file_symbols;
};

// ---- adding

// The file index of the new or existing file of that name; upper and lower case are one.
uint32_t add_file(model_t& model, text_t name);
// The other operations give a 0-based position. Every text and the bytes are copied.
uint32_t add_symbol(model_t& model, text_t name, uint32_t value, uint32_t segment, uint32_t file, uint32_t flags);
uint32_t add_line(model_t& model, uint32_t number, uint32_t address, uint32_t segment, uint32_t file, uint32_t flags);
uint32_t add_segment(model_t& model, text_t name, uint32_t addr, uint32_t size, uint32_t load, uint32_t space);
class_t* add_class(model_t& model, text_t name, uint32_t low, uint32_t high, uint32_t base, uint32_t init);
uint32_t add_block(model_t& model, uint32_t addr, uint32_t size, const void* bytes, uint32_t segment);

// ---- finding: the first of that name, or null

symbol_t* find_symbol(const model_t& model, text_t name);
// The first symbol added with that value and a name not beginning with F.
symbol_t* find_symbol_at(const model_t& model, uint32_t value);
// The place of find_symbol's result; false leaves `location` untouched.
bool find_symbol_location(const model_t& model, text_t name, location_t& location);
file_t* find_file(const model_t& model, text_t name); // none gives null
// The first symbol of that name in the file's `symbols`; after finalisation only.
symbol_t* find_file_symbol(model_t& model, text_t file_name, text_t symbol_name);
class_t* find_class(const model_t& model, text_t name);
segment_t* find_segment(const model_t& model, text_t name);
// The 1-based index of the first segment of that name, 0 if there is none.
uint32_t find_segment_index(const model_t& model, text_t name);
// The index of the first segment of the location's space (its `segment`) that holds the byte address value * unit;
// the location's own `segment` if none does. For many look-ups use segment_finder_t.
uint32_t find_segment_at(const model_t& model, const location_t& location, uint32_t unit);
// The segment that names the space of a segment: the one whose index is its `space`, or null.
segment_t* space_segment(const model_t& model, const segment_t& segment);
// The name of the segment of that index, an empty text for 0 and beyond the table.
text_t segment_name(const model_t& model, uint32_t index);

// find_segment_at for many look-ups over a table that does not change meanwhile: the first matching segment in table
// order, in logarithmic time. Made once by a writer.
struct segment_finder_t {
    struct piece_t {
        uint32_t from;  // first address of the piece
        uint32_t index; // 1-based index of the first segment that covers it, 0 for none
    };
    std::unordered_map<uint32_t, std::vector<piece_t>> spaces; // pieces by ascending address
};
segment_finder_t make_segment_finder(const model_t& model);
uint32_t find_segment_at(const segment_finder_t& finder, const location_t& location, uint32_t unit);

// The first block in table order that holds a byte address, likewise in logarithmic time. Made once by a writer.
struct block_finder_t {
    std::vector<segment_finder_t::piece_t> pieces;
};
block_finder_t make_block_finder(const model_t& model);
// 1-based position in `blocks`, 0 if no block holds the address.
uint32_t find_block_at(const block_finder_t& finder, uint32_t address);

// ---- small helpers

// The hash of both models: a leading underscore is skipped if more follows; then from the last character to the first
// h = c + 4 * h, with c signed.
uint32_t name_hash(text_t name);
// Position of the first occurrence, case ignored, or npos; none gives npos.
size_t str_istr(text_t text, text_t part);
bool str_iequal(text_t a, text_t b);
std::string str_upper(text_t text);
std::string str_lower(text_t text);
// Without one leading underscore, if `strip` is set and there is one.
text_t drop_underscore(text_t name, bool strip);

// Numbers in hex text. A digit that is none gives 0xFFFF for hex_digit and hex_byte; hex_word is
// hex_byte(first two) * 256 + hex_byte(last two) without a test. Behind the end of the text no digit stands.
uint32_t hex_digit(text_t text, size_t at);
uint32_t hex_byte(text_t text, size_t at);
uint32_t hex_word(text_t text, size_t at);
// Appends the low 8 bits as two digits, in upper case.
void put_hex_byte(std::string& out, uint32_t byte);

} // namespace tavrel
