// A reader of COFF files for tests: it takes a file apart from the published layout, knows nothing of the program's own
// writers and readers, and can tell whether all indices, pointers and counts of a file agree.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace tavrel::testing {

// The kinds of files: Microchip COFF, and plain COFF by the order and the size of its line records.
struct coff_kind_of_file_t {
    bool microchip;
    bool big_endian;
    uint32_t line_size;
};

constexpr coff_kind_of_file_t microchip_coff = {true, false, 16};
constexpr coff_kind_of_file_t pic30_coff = {false, false, 8};
constexpr coff_kind_of_file_t h8300_coff = {false, true, 8};
constexpr coff_kind_of_file_t m68k_coff = {false, true, 6};

struct read_line_t {
    uint32_t source = 0; // symbol index of the file
    uint32_t number = 0;
    uint32_t address = 0;
    uint32_t function = 0; // symbol index
};

struct read_section_t {
    std::string name;
    uint32_t paddr, vaddr, size, scnptr, lnnoptr, nlnno, flags;
    std::string data;
    std::vector<read_line_t> lines;
};

struct read_symbol_t {
    uint32_t index = 0;
    std::string name;
    uint32_t value = 0;
    int32_t scnum = 0;
    uint32_t type = 0;
    uint32_t sclass = 0;
    uint32_t numaux = 0;
    // Of the first auxiliary record.
    uint32_t tagndx = 0, lnno = 0, size = 0, endndx = 0;
    uint32_t dimen[4] = {};
    std::string file_name; // of class 103
};

struct read_coff_t {
    uint32_t magic = 0, flags = 0, opthdr = 0, nsyms = 0, symptr = 0;
    uint32_t proc_type = 0, rom_width = 0, ram_width = 0; // Microchip COFF
    std::vector<read_section_t> sections;
    std::vector<read_symbol_t> symbols;
    std::vector<std::string> faults; // what does not agree

    const read_symbol_t* at(uint32_t index) const;                                        // by symbol index
    const read_symbol_t* find(std::string_view name, uint32_t sclass = UINT32_MAX) const; // the first, or null
    const read_section_t* section(std::string_view name) const;
};

read_coff_t read_coff(const std::string& bytes, const coff_kind_of_file_t& kind);

// One line a symbol: "index name class aux".
std::string symbol_list(const read_coff_t& file);

} // namespace tavrel::testing
