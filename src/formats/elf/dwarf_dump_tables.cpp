// The tables beside the tree: global names (.debug_pubnames) and address ranges (.debug_aranges) of each unit, for
// finding a unit without reading it; macro definitions (.debug_macinfo); and the places of variables that move
// (.debug_loc), as address ranges with an expression each. All are rows of sets, each set ended by zeros.
#include "formats/elf/dwarf_dump.h"
#include "formats/elf/dwarf_layout.h"

namespace tavrel {
namespace {

constexpr uint32_t pubnames_length_min = 20;
constexpr uint32_t aranges_length_min = 10;

void print_set_heading(dwarf_dump_t& dump, int number, uint64_t offset) {
    print(dump.run.out, "\nSet %d @ 0x%08lX\n", number, offset);
}

// ---- .debug_aranges

// The first tuple stands at a multiple of its own size, at least one byte behind the header.
void align_to_tuple(section_reader_t& reader, uint64_t tuple_size) {
    if (tuple_size != 0) {
        reader.skip(tuple_size - reader.at % tuple_size);
    }
}

void dump_ranges(dwarf_dump_t& dump, section_reader_t& reader) {
    while (!is_spent(dump.budget)) {
        const uint64_t start = reader.number(dump.address_size);
        const uint64_t length = reader.number(dump.address_size);
        if (start == 0 && length == 0) {
            return;
        }
        print(dump.run.out, "  0x%08llX..0x%08llX\n", start, start + length);
    }
}

// ---- .debug_macinfo

enum macinfo_type_t : uint8_t {
    DW_MACINFO_define = 0x01,
    DW_MACINFO_undef = 0x02,
    DW_MACINFO_start_file = 0x03,
    DW_MACINFO_end_file = 0x04,
    DW_MACINFO_vendor_ext = 0xFF,
};

void print_macro(dwarf_dump_t& dump, section_reader_t& reader, uint8_t type) {
    print(dump.run.out, "  %s", dw_name(dw_macinfo_names, type, true));
    uint64_t first = 0;
    switch (type) {
    case DW_MACINFO_define:
    case DW_MACINFO_undef:
    case DW_MACINFO_vendor_ext:
        first = reader.uleb128();
        print(dump.run.out, "(%lld, \"%s\")", first, reader.text());
        break;
    case DW_MACINFO_start_file:
        first = reader.uleb128();
        print(dump.run.out, "(%lld, %lld)", first, reader.uleb128());
        break;
    default: break;
    }
    put_text(dump.run.out, "\n");
}

// ---- .debug_loc

enum operand_t : uint8_t {
    OPERAND_NONE,
    OPERAND_ADDRESS,
    OPERAND_U1,
    OPERAND_S1,
    OPERAND_U2,
    OPERAND_S2,
    OPERAND_U4,
    OPERAND_S4,
    OPERAND_8,
    OPERAND_ULEB,
    OPERAND_SLEB,
    OPERAND_ULEB_SLEB,
};

struct operand_row_t {
    uint8_t first, last; // operations
    operand_t operand;
};

constexpr operand_row_t operand_rows[] = {
    {0x03, 0x03, OPERAND_ADDRESS  }, // addr
    {0x08, 0x08, OPERAND_U1       }, // const1u
    {0x09, 0x09, OPERAND_S1       }, // const1s
    {0x0A, 0x0A, OPERAND_U2       }, // const2u
    {0x0B, 0x0B, OPERAND_S2       }, // const2s
    {0x0C, 0x0C, OPERAND_U4       }, // const4u
    {0x0D, 0x0D, OPERAND_S4       }, // const4s
    {0x0E, 0x0F, OPERAND_8        }, // const8u, const8s
    {0x10, 0x10, OPERAND_ULEB     }, // constu
    {0x11, 0x11, OPERAND_SLEB     }, // consts
    {0x15, 0x15, OPERAND_U1       }, // pick
    {0x23, 0x23, OPERAND_ULEB     }, // plus_uconst
    {0x28, 0x28, OPERAND_S2       }, // bra
    {0x2F, 0x2F, OPERAND_S2       }, // skip
    {0x70, 0x8F, OPERAND_SLEB     }, // breg0 to breg31
    {0x90, 0x90, OPERAND_ULEB     }, // regx
    {0x91, 0x91, OPERAND_SLEB     }, // fbreg
    {0x92, 0x92, OPERAND_ULEB_SLEB}, // bregx
    {0x93, 0x93, OPERAND_ULEB     }, // piece
    {0x94, 0x95, OPERAND_U1       }, // deref_size, xderef_size
};

operand_t operand_of(uint8_t operation) {
    for (const operand_row_t& row : operand_rows) {
        if (operation >= row.first && operation <= row.last) {
            return row.operand;
        }
    }
    return OPERAND_NONE;
}

void print_operand(dwarf_dump_t& dump, section_reader_t& reader, operand_t operand) {
    printer_t& out = dump.run.out;
    uint64_t first = 0;
    switch (operand) {
    case OPERAND_NONE: return;
    case OPERAND_ADDRESS: print(out, "(0x%08llX)", read_address(dump, reader)); return;
    case OPERAND_U1: print(out, "(%u)", reader.u8()); return;
    case OPERAND_S1: print(out, "(%d)", static_cast<int8_t>(reader.u8())); return;
    case OPERAND_U2: print(out, "(%u)", reader.u16()); return;
    case OPERAND_S2: print(out, "(%d)", static_cast<int16_t>(reader.u16())); return;
    case OPERAND_U4: print(out, "(%lu)", reader.u32()); return;
    case OPERAND_S4: print(out, "(%ld)", reader.u32()); return;
    case OPERAND_8: print(out, "(0x%08llX)", reader.u64()); return;
    case OPERAND_ULEB: print(out, "(%llu)", reader.uleb128()); return;
    case OPERAND_SLEB: print(out, "(%lld)", reader.sleb128()); return;
    case OPERAND_ULEB_SLEB:
        first = reader.uleb128();
        print(out, "(%llu, %lld)", first, reader.sleb128());
        return;
    }
}

// Prints an expression that ends at `end`, and goes there; false if the section ends before it.
bool dump_expression(dwarf_dump_t& dump, section_reader_t& reader, uint16_t size) {
    const uint64_t end = reader.at + size;
    if (end > reader.size) {
        alert(dump.run, 665, size);
        return false;
    }
    while (reader.at < end && !is_spent(dump.budget)) {
        const uint8_t operation = reader.u8();
        print(dump.run.out, "  %s", dw_name(dw_op_names, operation, true));
        print_operand(dump, reader, operand_of(operation));
        put_text(dump.run.out, "\n");
    }
    if (reader.at > end) {
        alert(dump.run, 665, size);
    }
    reader.at = end;
    return true;
}

// Prints a list up to its two zeros; false if it cannot be followed so far.
bool dump_location_list(dwarf_dump_t& dump, section_reader_t& reader) {
    while (!is_spent(dump.budget)) {
        const uint64_t start = read_address(dump, reader);
        const uint64_t end = read_address(dump, reader);
        if (start == 0 && end == 0) {
            return true;
        }
        const uint16_t size = reader.u16();
        print(dump.run.out, "range=0x%08lX..0x%08lX size=%u\n", start, end, size);
        if (!dump_expression(dump, reader, size)) {
            return false;
        }
    }
    return false;
}

} // namespace

void dump_debug_pubnames(dwarf_dump_t& dump, bytes_t section) {
    section_reader_t reader = dump.reader(section);
    for (int number = 1; !reader.at_end(); ++number) {
        print_set_heading(dump, number, reader.at);
        const uint32_t length = reader.u32();
        if (length < pubnames_length_min) {
            alert(dump.run, 663, length);
            return;
        }
        const uint16_t version = reader.u16();
        const uint32_t unit = reader.u32();
        const uint32_t unit_size = reader.u32();
        print(dump.run.out, "size=%lu, ver=%u, offs=0x%08lX, debug size=%lu\n", length, version, unit, unit_size);
        while (const uint32_t offset = reader.u32()) {
            print(dump.run.out, "  0x%08lX: \"%s\"\n", offset, reader.text());
        }
    }
}

void dump_debug_aranges(dwarf_dump_t& dump, bytes_t section) {
    section_reader_t reader = dump.reader(section);
    for (int number = 1; !reader.at_end(); ++number) {
        print_set_heading(dump, number, reader.at);
        const uint32_t length = reader.u32();
        if (length < aranges_length_min) {
            alert(dump.run, 664, length);
            return;
        }
        const uint16_t version = reader.u16();
        const uint32_t unit = reader.u32();
        dump.address_size = reader.u8();
        const uint8_t segment_size = reader.u8();
        print(dump.run.out, "size=%lu, ver=%u, offs=0x%08lX addrsize=%u, segsize=%u%s\n", length, version, unit,
              dump.address_size, segment_size, segment_size == 0 ? " (flat)" : "");
        align_to_tuple(reader, 2 * uint64_t(dump.address_size));
        dump_ranges(dump, reader);
    }
}

void dump_debug_macinfo(dwarf_dump_t& dump, bytes_t section) {
    section_reader_t reader = dump.reader(section);
    int number = 1;
    print_set_heading(dump, number, 0);
    while (!reader.at_end()) {
        if (const uint8_t type = reader.u8(); type != 0) {
            print_macro(dump, reader, type);
        } else {
            print_set_heading(dump, ++number, reader.at);
        }
    }
}

void dump_debug_loc(dwarf_dump_t& dump, bytes_t section) {
    section_reader_t reader = dump.reader(section);
    for (int number = 1; !reader.at_end(); ++number) {
        print_set_heading(dump, number, reader.at);
        // With addresses of no bytes a list never moves on.
        if (!dump_location_list(dump, reader) || dump.address_size == 0) {
            return;
        }
    }
}

} // namespace tavrel
