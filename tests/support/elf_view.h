// A small reader of ELF files and DWARF 2, made from the published layouts alone: what the writers leave, as text that
// a test can spell out. Everything is checked on the way: what cannot be read says so in the text.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace tavrel::testing {

struct section_view_t {
    std::string name;
    uint32_t type = 0, flags = 0, addr = 0, offset = 0, size = 0, link = 0, info = 0, align = 0, entsize = 0;
};

struct elf_view_t {
    std::string file;
    bool big_endian = false;
    std::vector<section_view_t> sections;

    uint64_t number(uint64_t at, unsigned size) const {
        uint64_t value = 0;
        for (unsigned k = 0; k < size; ++k) {
            const uint64_t byte = at + k < file.size() ? static_cast<unsigned char>(file[at + k]) : 0xEE;
            value |= byte << 8 * (big_endian ? size - 1 - k : k);
        }
        return value;
    }
    uint32_t word(uint64_t at) const { return static_cast<uint32_t>(number(at, 4)); }
    uint32_t half(uint64_t at) const { return static_cast<uint32_t>(number(at, 2)); }
    std::string text(uint64_t at) const { return at < file.size() ? std::string(file.c_str() + at) : "?"; }
    const section_view_t* find(const std::string& name) const {
        for (const section_view_t& section : sections) {
            if (section.name == name) {
                return &section;
            }
        }
        return nullptr;
    }
    std::string bytes(const std::string& name) const {
        const section_view_t* const section = find(name);
        return section == nullptr ? "no section" : file.substr(section->offset, section->size);
    }
};

elf_view_t view_elf(const std::string& file);

// A line a section: name, type, flags, address, offset, size, all numbers in hex.
std::string sections_text(const elf_view_t& elf);
// A line a program header: type, offset, address, bytes in the file, bytes in memory.
std::string programs_text(const elf_view_t& elf);
// A line a symbol, the null symbol left out: name, value, st_info, st_other, st_shndx.
std::string symbols_text(const elf_view_t& elf);

// A line a DIE, two blanks a level: its number within the unit, tag, attributes in their order. A reference is # and
// the number of the DIE that it leads to; a sibling that leads elsewhere than behind the children says so. Numbers are
// decimal, addresses hex, locations hex bytes.
std::string dies_text(const elf_view_t& elf);

// A line an opcode of each line program, behind a line with the tables.
std::string lines_text(const elf_view_t& elf);

// The output of a run with these files; `args` name the inputs and -p and -n, -oelf is added.
elf_view_t run_elf(std::vector<std::string> args, const std::map<std::string, std::string>& files,
                   std::string* messages = nullptr);

} // namespace tavrel::testing
