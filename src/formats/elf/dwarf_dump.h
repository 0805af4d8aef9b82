// The DWARF 2 printer: what its files share. Each debug section has a dump operation; dwarf_dump finds the sections by
// name and runs the operations in a fixed order.
//
// Inside an item (a DIE, an opcode, an instruction) a read beyond the end of the section gives 0 and moves on, so that
// decoders read straight down; the loops around them end with the section.
#pragma once

#include <cstdint>
#include <cstring>
#include <string>

#include "common/vector.h"
#include "formats/elf/dwarf_names.h"
#include "formats/elf/elf_budget.h"
#include "formats/elf/elf_load.h"

namespace tavrel {

// ---- reading

// A place in a section, in bytes from its start. It may lie beyond the end.
struct section_reader_t {
    const uint8_t* data = nullptr;
    uint64_t size = 0;
    uint64_t at = 0;
    int big_endian = 0;

    section_reader_t(bytes_t section, int order) : data(section.data()), size(section.size()), big_endian(order) {}

    bool at_end() const { return at >= size; }

    uint8_t u8() {
        const uint64_t from = at++;
        return from < size ? data[from] : uint8_t(0);
    }
    uint16_t u16() {
        const uint8_t* const p = field(2);
        return p == nullptr ? uint16_t(0) : read16(p, big_endian);
    }
    uint32_t u32() {
        const uint8_t* const p = field(4);
        return p == nullptr ? 0 : read32(p, big_endian);
    }
    uint64_t u64() {
        const uint8_t* const p = field(8);
        return p == nullptr ? 0 : read64(p, big_endian);
    }
    uint64_t uleb128() {
        if (at < size && data[at] < 0x80) {
            return data[at++];
        }
        bool negative = false;
        unsigned bits = 0;
        return leb128(bits, negative);
    }
    // Sign-extended from bit 6 of the last byte.
    int64_t sleb128() {
        bool negative = false;
        unsigned bits = 0;
        const uint64_t value = leb128(bits, negative);
        return static_cast<int64_t>(negative && bits < 64 ? value | ~uint64_t(0) << bits : value);
    }
    // 1, 2, 4 or 8 bytes; another width is stepped over and gives 0.
    uint64_t number(uint64_t width) {
        switch (width) {
        case 1: return u8();
        case 2: return u16();
        case 4: return u32();
        case 8: return u64();
        default: skip(width); return 0;
        }
    }
    // Up to a NUL, which is stepped over, or the end of the section.
    text_t text() {
        if (at >= size) {
            ++at;
            return "";
        }
        const char* const start = reinterpret_cast<const char*>(data) + at;
        const auto* const nul = static_cast<const char*>(std::memchr(start, 0, size - at));
        const size_t length = nul == nullptr ? size - at : static_cast<size_t>(nul - start);
        at += length + 1;
        return {start, length};
    }
    void skip(uint64_t count) {
        constexpr uint64_t far = uint64_t(1) << 62; // beyond every section, and far from wrapping
        at = at >= far || count > far - at ? far : at + count;
    }

private:
    const uint8_t* field(uint64_t width) {
        const uint64_t from = at;
        at += width;
        return at <= size ? data + from : nullptr;
    }
    uint64_t leb128(unsigned& bits, bool& negative) {
        uint64_t value = 0;
        uint8_t byte = 0;
        do {
            byte = u8();
            if (bits < 64) {
                value |= uint64_t(byte & 0x7F) << bits;
                bits += 7;
            }
        } while ((byte & 0x80) != 0);
        negative = (byte & 0x40) != 0;
        return value;
    }
};

// ---- the dump

enum dwarf_section_number_t : uint8_t {
    DEBUG_STR,
    DEBUG_ABBREV,
    DEBUG_INFO,
    DEBUG_LINE,
    DEBUG_FRAME,
    DEBUG_PUBNAMES,
    DEBUG_PUBTYPES,
    DEBUG_ARANGES,
    DEBUG_MACINFO,
    DEBUG_LOC,
    DEBUG_RANGES,
    DEBUG_SECTION_COUNT,
};

struct dwarf_section_t {
    bool present = false; // the file has a section of that name
    bool loaded = false;  // and its bytes could be read
    uint32_t offset = 0;  // in the file
    uint32_t size = 0;
    bytes_t bytes;
};

struct dwarf_dump_t {
    run_t& run;
    const elf_image_t& image;
    elf_budget_t& budget;
    uint32_t& address_size; // bytes; as the last unit or set of ranges gave it, which may be any number
    dwarf_section_t sections[DEBUG_SECTION_COUNT] = {};
    vector_t<uint32_t> line_references = {}; // offsets in .debug_line, in order of arrival, then ascending
    uint32_t date_of = 0;                    // the time whose date text is kept:
    std::string date = {};                   // most files have the same, 0

    section_reader_t reader(bytes_t section) const { return {section, image.big_endian}; }
};

// Prints all debug sections of a loaded image. Raises 157, 632, 640 to 667, and a warning without number for each
// section header without a name.
void dwarf_dump(run_t& run, const elf_image_t& image, elf_budget_t& budget);

// The dump operations; each takes the section's bytes.
void dump_debug_info(dwarf_dump_t& dump, bytes_t section);     // 658 to 662; fills line_references
void dump_debug_line(dwarf_dump_t& dump, bytes_t section);     // 640 to 649; wants line_references, sorts them
void dump_debug_frame(dwarf_dump_t& dump, bytes_t section);    // 632, 650 to 657
void dump_debug_pubnames(dwarf_dump_t& dump, bytes_t section); // 663
void dump_debug_aranges(dwarf_dump_t& dump, bytes_t section);  // 664
void dump_debug_macinfo(dwarf_dump_t& dump, bytes_t section);
void dump_debug_loc(dwarf_dump_t& dump, bytes_t section); // 632, 665

// An address of address_size bytes. Raises 632 with any size but 1, 2, 4, 8, for which it gives 0.
uint64_t read_address(dwarf_dump_t& dump, section_reader_t& reader);

// ---- printing: what the busiest lines need, faster than a format text

// To be called now and then by whoever appends to out.text.
inline void flush_some(printer_t& out) {
    if (out.text.size() > 65536) {
        flush(out);
    }
}

// At least `digits` upper-case hexadecimal digits.
void put_hex(std::string& out, uint64_t value, unsigned digits);
// Decimal, filled with blanks behind it up to `width` characters.
void put_decimal(std::string& out, uint64_t value, size_t width = 0);
void put_signed(std::string& out, int64_t value, size_t width = 0);
// "%5.5lu".
void put_count(std::string& out, uint32_t value);
// Text, filled with blanks behind it.
void put_column(std::string& out, text_t text, size_t width);

} // namespace tavrel
