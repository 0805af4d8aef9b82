// What the readers and the dumps of the COFF family share: Microchip COFF, plain COFF and ICOFF.
//
// A file of the family is a file header, an optional header, section headers, and what these point at: raw data, line
// records, symbols, and a string table behind the symbols. The three formats go the same way through it; where they
// part is written down in a coff_kind_t, one for each format (mcoff.cpp, coff.cpp, icoff.cpp). ICOFF brings a symbol
// record of its own and shares the rest.
//
// Every offset, size and count is the file's own word and is held against the bytes that are there. A read that falls
// short raises 1037 with the part's name. Parts may lie over each other, and a small file could so unfold to gigabytes;
// hence an allowance: section data, line records and long names together may cover the file a few times, and what goes
// beyond counts as a read that falls short.
#pragma once

#include <optional>
#include <span>
#include <vector>

#include "formats/coff/coff_family_layout.h"
#include "model/format.h"

namespace tavrel {

// How one format (for plain COFF: one processor row) reads and prints. Sizes and offsets are in bytes.
struct coff_kind_t {
    // Sections.
    uint32_t unit = 1;              // of the words in which section addresses count
    bool names_in_strings = false;  // a section's name may stand in the string table
    uint32_t first_section = 0;     // number of the first section in the dump's headings
    uint32_t section_flag_bits = 0; // of s_flags that the dump knows
    // Line records.
    uint32_t line_size = 0; // 0: none can be read
    uint32_t line_number_at = 0;
    uint32_t line_number_size = 2; // 2 or 4
    uint32_t line_address_at = 0;
    // Symbols.
    coff_shape_t shape = {};
    std::span<const uint8_t> base_sizes = {}; // by base type
    uint32_t pointer_size = 0;
    bool mcoff_classes = false;   // also knows the classes that are Microchip's own
    uint32_t file_name_size = 0;  // most characters of a name in a file's auxiliary record; 0: it holds an offset
    const char* symbol_head = ""; // the front of a symbol's line: its index and section number
    const char* file_detail = ""; // of a file with an auxiliary record: its name and x_incline
    const char* bare_file = "";   // of a file without one: its symbol's name
};

coff_kind_t mcoff_kind(uint32_t rom_bytes);
coff_kind_t coff_kind(const run_t& run); // of the row in use

// One record, whole: its fields by their offsets.
struct coff_record_t {
    std::span<const uint8_t> bytes;
    int big_endian = 0;

    bool is_there() const { return !bytes.empty(); }
    uint32_t u8(uint32_t at) const { return bytes[at]; }
    uint32_t u16(uint32_t at) const { return read16(bytes.subspan(at, 2).data(), big_endian); }
    uint32_t u32(uint32_t at) const { return read32(bytes.subspan(at, 4).data(), big_endian); }
};

struct coff_section_t {
    text_t name;    // not owned: in the input
    uint32_t paddr; // words
    uint32_t size;
    uint32_t scnptr, relptr, lnnoptr; // file offsets
    uint32_t nreloc, nlnno;           // counts, 16 bits
    uint32_t flags;
};

struct coff_symbol_t {
    text_t name; // not owned: in the input
    uint32_t value;
    int32_t scnum;
    uint32_t type;
    uint32_t sclass;
    uint32_t numaux;
    coff_record_t aux; // the first auxiliary record, not there if `numaux` is 0
};

struct coff_line_t {
    uint32_t number;  // 0: the record opens a run of lines
    uint32_t address; // as it stands; a symbol index where `number` is 0
    coff_record_t record;
};

// One file on its way through a reader or a dump.
struct coff_file_t {
    coff_file_t(run_t& whole, const input_t& in, const coff_kind_t& format);

    run_t& run;
    coff_kind_t kind;
    std::span<const uint8_t> bytes; // the whole file
    int big_endian;                 // its order: the run's when the file was opened
    int64_t allowance;              // bytes that may still be covered; below 0 it is used up

    // File header.
    uint32_t magic = 0; // most significant byte first
    uint32_t section_count = 0;
    uint32_t date = 0;
    uint32_t symbols_at = 0; // f_symptr
    uint32_t symbol_count = 0;
    uint32_t optional_size = 0;
    uint32_t flags = 0;

    std::vector<coff_section_t> sections;
    std::span<const uint8_t> strings;   // the table, with its size field where it has one
    std::vector<uint32_t> file_symbols; // indices of `.file` records, ascending, at most 8192
};

constexpr size_t coff_file_symbol_limit = 8192;

// ---- steps of a read; each raises its messages and gives false when the read must end

bool coff_short_read(coff_file_t& file, const char* part); // raises 1037, gives false

// `size` bytes at `offset`, or nothing if they are not all there.
std::optional<std::span<const uint8_t>> coff_bytes(const coff_file_t& file, uint64_t offset, uint64_t size);
// The record of that size at `offset`, not there if the file ends before its end.
coff_record_t coff_record(const coff_file_t& file, uint64_t offset, uint32_t size);

bool coff_read_header(coff_file_t& file);
// The string table with a size field in front of it; also raises 1038 for a size below 4.
bool coff_read_strings(coff_file_t& file);
uint64_t coff_strings_at(const coff_file_t& file); // file offset, behind the symbols
// The headers that are whole go to `sections`, also when the others are missing.
bool coff_read_sections(coff_file_t& file);
// coff_read_sections, and a segment for each of them.
bool coff_add_segments(coff_file_t& file);
// The data of sections that have some, in blocks of at most 16384 bytes.
bool coff_add_blocks(coff_file_t& file);
// The symbols of Microchip and plain COFF; raises 633 for an unknown class.
bool coff_add_symbols(coff_file_t& file);
bool coff_add_lines(coff_file_t& file);
// Adds a source file whose record has that symbol index, gives its file index.
uint32_t coff_add_file(coff_file_t& file, text_t name, uint32_t symbol_index);

// ---- names

// The string at an offset of the string table, empty beyond it; one without a NUL ends with the table.
text_t coff_string(coff_file_t& file, uint32_t offset);
// The name in a field: in place, up to `size` characters, or by an offset in the string table behind four zero bytes.
text_t coff_name(coff_file_t& file, const coff_record_t& record, uint32_t size);
// The field's own characters, up to its first NUL.
text_t coff_fixed_name(const coff_record_t& record, uint32_t size);
// The name itself, which is about to be used: a long one is taken from the allowance.
text_t coff_spend_name(coff_file_t& file, text_t name);
// The name of section `number`, counted from 1, or "(abs)".
text_t coff_section_name(coff_file_t& file, int32_t number);

// ---- records

// The symbol at an index; false if it or one of its auxiliary records is cut off.
bool coff_take_symbol(coff_file_t& file, uint64_t index, coff_symbol_t& symbol);
// A section's line record at a position; raises 1037 and gives false if it is cut off.
bool coff_take_line(coff_file_t& file, const coff_section_t& section, uint32_t position, coff_line_t& line);

// ---- steps of a dump

// The flag texts behind the file header's line, and the two newlines behind them.
void coff_dump_flags(coff_file_t& file);
// The first lines of an optional header, up to its magic and the maker's mark behind those that are the maker's own.
void coff_dump_optional_magic(coff_file_t& file, const char* title, uint32_t magic);
// The strings of the table from offset `first` on, with their offsets.
void coff_dump_strings(coff_file_t& file, uint32_t first);
// All behind the optional header, as far as -v asks for it: sections, string table, symbols and line records, of which
// `print_line` prints those with a line number. Raises 1037 to 1039 and gives false for each.
bool coff_dump_body(coff_file_t& file, void (*print_line)(printer_t& out, const coff_line_t& line));

// ---- rows of processors, told apart by their magic

// f_magic, if the file holds a whole header.
std::optional<uint32_t> coff_magic(const input_t& in);
// What a probe asks of the counts of the header, which must be whole.
bool coff_is_plausible(const run_t& run, const input_t& in);

// The first row of the file's magic.
template <class Row, size_t N>
std::optional<uint32_t> coff_find_row(const Row (&rows)[N], const input_t& in) {
    const std::optional<uint32_t> magic = coff_magic(in);
    for (uint32_t k = 0; magic && k < N; ++k) {
        if (rows[k].magic == *magic) {
            return k;
        }
    }
    return std::nullopt;
}

// A probe by rows: the order is set by the magic alone, the row only for a plausible file.
template <class Row, size_t N>
bool coff_probe_rows(run_t& run, const input_t& in, const Row (&rows)[N], uint32_t& row_in_use) {
    const std::optional<uint32_t> row = coff_find_row(rows, in);
    if (!row) {
        return false;
    }
    run.big_endian = rows[*row].big_endian;
    if (!coff_is_plausible(run, in)) {
        return false;
    }
    row_in_use = *row;
    return true;
}

// What a reader or a dump does where no probe has been: a magic of no row leaves row and order as they are.
template <class Row, size_t N>
void coff_choose_row(run_t& run, const input_t& in, const Row (&rows)[N], uint32_t& row_in_use) {
    if (const std::optional<uint32_t> row = coff_find_row(rows, in)) {
        row_in_use = *row;
        run.big_endian = rows[*row].big_endian;
    }
}

} // namespace tavrel
