// A loaded ELF file: views of the input's bytes, nothing copied. Records stay in file order and are decoded field by
// field; a field beyond the end of a record that is shorter than its layout reads as 0.
#pragma once

#include <cstdint>
#include <span>

#include "formats/elf/elf_layout.h"
#include "model/run.h"

namespace tavrel {

using bytes_t = std::span<const uint8_t>;

// A table of records of one size, as the header describes it. The size may be any, 0 too.
struct elf_table_t {
    bytes_t bytes;
    uint32_t entry_size = 0;
    uint32_t count = 0;

    bytes_t operator[](uint32_t index) const { return bytes.subspan(size_t(index) * entry_size, entry_size); }
};

struct elf_image_t {
    bytes_t header;       // ELF_HEADER_SIZE bytes
    elf_table_t sections; // section headers
    elf_table_t phdrs;    // program headers
    text_t strtab;        // contents of the last section named .strtab; none if there is no such section
    text_t shstrtab;      // contents of the section that e_shstrndx names; none if there are no sections
    const input_t* file = nullptr;
    int big_endian = 0;
    bool invalid = false; // not to be dumped
};

// Fills `image` from the input, which must outlive it; sets run.big_endian. On the first failure sets `invalid` and
// returns: 1037 for a part that is not all there, a message without number for a bad index of the name table, nothing
// for what is no 32-bit ELF file.
void elf_load(run_t& run, const input_t& in, elf_image_t& image);

// Fields of a record, in the order of the image.
uint32_t elf_field8(bytes_t record, uint32_t offset);
uint32_t elf_field16(const elf_image_t& image, bytes_t record, uint32_t offset);
uint32_t elf_field32(const elf_image_t& image, bytes_t record, uint32_t offset);

// The bytes [offset, offset + size) of the file, as many of them as there are.
bytes_t elf_contents(const elf_image_t& image, uint32_t offset, uint64_t size);

// The text at `offset` of a string table, which ends at a NUL or with the table; "(unknown)" if there is no such table
// or the offset is not inside it.
text_t elf_text(text_t table, uint32_t offset);

// The name of a section, or "(unknown)". Cut at elf_name_limit characters, which no name that means anything reaches:
// a name can be as long as the file, and every section may have it.
constexpr size_t elf_name_limit = 64;
text_t elf_section_name(const elf_image_t& image, bytes_t section);

} // namespace tavrel
