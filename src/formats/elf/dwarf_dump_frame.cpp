// .debug_frame: how to find the caller's frame and registers at each address. A common entry (CIE) holds what many
// functions share, a frame entry (FDE) describes one function and points at its CIE. Both hold instructions for a table
// of register rules; offsets and address steps in them are in units that the CIE gives ("alignments").
#include "formats/elf/dwarf_dump.h"

namespace tavrel {
namespace {

constexpr uint32_t cie_id = 0xFFFFFFFF;
constexpr uint32_t cie_length_min = 7;
constexpr uint32_t fde_length_min = 9;

enum cfa_opcode_t : uint8_t {
    DW_CFA_nop = 0x00,
    DW_CFA_set_loc = 0x01,
    DW_CFA_advance_loc1 = 0x02,
    DW_CFA_advance_loc2 = 0x03,
    DW_CFA_advance_loc4 = 0x04,
    DW_CFA_offset_extended = 0x05,
    DW_CFA_restore_extended = 0x06,
    DW_CFA_undefined = 0x07,
    DW_CFA_same_value = 0x08,
    DW_CFA_register = 0x09,
    DW_CFA_remember_state = 0x0A,
    DW_CFA_restore_state = 0x0B,
    DW_CFA_def_cfa = 0x0C,
    DW_CFA_def_cfa_register = 0x0D,
    DW_CFA_def_cfa_offset = 0x0E,
    DW_CFA_advance_loc = 0x40, // from here on the low six bits are the first operand
    DW_CFA_offset = 0x80,
    DW_CFA_restore = 0xC0,
};

struct frame_entry_t {
    uint64_t end = 0; // behind its last byte, in the section
    uint32_t length = 0;
    uint64_t code_align = 0;
    int64_t data_align = 0;
    bool has_location = false; // an FDE
    uint64_t location = 0;
};

void print_advance(dwarf_dump_t& dump, frame_entry_t& entry, uint64_t steps) {
    const uint64_t delta = steps * entry.code_align;
    print(dump.run.out, "(%llu)", delta);
    if (entry.has_location) {
        entry.location += delta;
        print(dump.run.out, ", loc -> 0x%08llX", entry.location);
    }
}

void print_offset(dwarf_dump_t& dump, const frame_entry_t& entry, uint64_t reg, uint64_t offset) {
    print(dump.run.out, "(r%llu, %lld)", reg, offset * static_cast<uint64_t>(entry.data_align));
}

struct instruction_t {
    uint8_t opcode = DW_CFA_nop;
    uint64_t first = 0;
    uint64_t second = 0;
};

// Reads an instruction whole, so that a message about it (632, 650) comes before its line.
instruction_t read_instruction(dwarf_dump_t& dump, section_reader_t& reader) {
    const uint8_t byte = reader.u8();
    const auto high = static_cast<uint8_t>(byte & 0xC0);
    const auto low = static_cast<uint8_t>(byte & 0x3F);
    instruction_t it = {high != 0 ? high : low, low, 0};
    switch (it.opcode) {
    case DW_CFA_nop:
    case DW_CFA_remember_state:
    case DW_CFA_restore_state:
    case DW_CFA_advance_loc:
    case DW_CFA_restore: break;
    case DW_CFA_offset: it.second = reader.uleb128(); break;
    case DW_CFA_set_loc: it.first = read_address(dump, reader); break;
    case DW_CFA_advance_loc1: it.first = reader.u8(); break;
    case DW_CFA_advance_loc2: it.first = reader.u16(); break;
    case DW_CFA_advance_loc4: it.first = reader.u32(); break;
    case DW_CFA_restore_extended:
    case DW_CFA_undefined:
    case DW_CFA_same_value:
    case DW_CFA_def_cfa_register:
    case DW_CFA_def_cfa_offset: it.first = reader.uleb128(); break;
    case DW_CFA_offset_extended:
    case DW_CFA_register:
    case DW_CFA_def_cfa:
        it.first = reader.uleb128();
        it.second = reader.uleb128();
        break;
    default: alert(dump.run, 650, byte);
    }
    return it;
}

void print_operands(dwarf_dump_t& dump, frame_entry_t& entry, const instruction_t& it) {
    printer_t& out = dump.run.out;
    switch (it.opcode) {
    case DW_CFA_advance_loc:
    case DW_CFA_advance_loc1:
    case DW_CFA_advance_loc2:
    case DW_CFA_advance_loc4: print_advance(dump, entry, it.first); return;
    case DW_CFA_set_loc: print(out, "(0x%08llX)", it.first); return;
    case DW_CFA_offset:
    case DW_CFA_offset_extended: print_offset(dump, entry, it.first, it.second); return;
    case DW_CFA_restore:
    case DW_CFA_restore_extended:
    case DW_CFA_undefined:
    case DW_CFA_same_value:
    case DW_CFA_def_cfa_register: print(out, "(r%llu)", it.first); return;
    case DW_CFA_register: print(out, "(r%llu, r%llu)", it.first, it.second); return;
    case DW_CFA_def_cfa: print(out, "(r%llu, %lld)", it.first, it.second); return;
    case DW_CFA_def_cfa_offset: print(out, "(%lld)", it.first); return;
    default: return;
    }
}

// Prints the instructions up to the end of the entry; raises `overrun` if they, or what stands in front of them, run
// past it.
void print_instructions(dwarf_dump_t& dump, section_reader_t& reader, frame_entry_t& entry, uint32_t overrun) {
    while (reader.at < entry.end && !is_spent(dump.budget)) {
        const instruction_t it = read_instruction(dump, reader);
        put_text(dump.run.out, "        ");
        put_text(dump.run.out, dw_name(dw_cfa_names, it.opcode, true));
        print_operands(dump, entry, it);
        put_text(dump.run.out, "\n");
    }
    if (reader.at > entry.end) {
        alert(dump.run, overrun, entry.length);
    }
}

void take_alignments(section_reader_t& reader, frame_entry_t& entry) {
    entry.code_align = reader.uleb128();
    entry.data_align = reader.sleb128();
}

void dump_cie(dwarf_dump_t& dump, section_reader_t reader, frame_entry_t& entry) {
    if (entry.length < cie_length_min) {
        alert(dump.run, 651, entry.length);
        return;
    }
    const uint8_t version = reader.u8();
    const text_t augmentation = reader.text();
    print(dump.run.out, "size=%lu ver=%u\nAugmentation: ", entry.length, version);
    if (!augmentation.empty()) {
        print(dump.run.out, "\"%s\" (unknown)\n", augmentation);
        return;
    }
    take_alignments(reader, entry);
    const uint8_t return_column = reader.u8();
    print(dump.run.out, "None\ncode align=%llu, data align=%lld, return col=%d\n", entry.code_align, entry.data_align,
          return_column);
    print_instructions(dump, reader, entry, 652);
}

// Takes the alignments of the CIE at `offset`, which stand behind its version and its augmentation; false if it is
// none.
bool follow_cie_pointer(dwarf_dump_t& dump, section_reader_t reader, uint32_t offset, frame_entry_t& entry) {
    if (offset >= reader.size) {
        alert(dump.run, 654, offset);
        return false;
    }
    reader.at = uint64_t(offset) + 4;
    if (reader.u32() != cie_id) {
        alert(dump.run, 655, cie_id);
        return false;
    }
    reader.u8();
    dump.budget.scanned += reader.text().size();
    take_alignments(reader, entry);
    return true;
}

void dump_fde(dwarf_dump_t& dump, section_reader_t reader, frame_entry_t& entry, uint32_t cie_pointer) {
    if (entry.length < fde_length_min) {
        alert(dump.run, 653, entry.length);
        return;
    }
    print(dump.run.out, "size=%lu CIE_pointer=0x%08lX", entry.length, cie_pointer);
    entry.location = read_address(dump, reader);
    entry.has_location = true;
    const uint64_t range = read_address(dump, reader);
    print(dump.run.out, " location range=0x%08llX..0x%08llX\n", entry.location, entry.location + range);
    if (follow_cie_pointer(dump, reader, cie_pointer, entry)) {
        print_instructions(dump, reader, entry, 656);
    }
}

} // namespace

void dump_debug_frame(dwarf_dump_t& dump, bytes_t section) {
    section_reader_t reader = dump.reader(section);
    while (!reader.at_end() && !is_spent(dump.budget)) {
        const uint64_t start = reader.at;
        frame_entry_t entry;
        entry.length = reader.u32();
        entry.end = start + 4 + entry.length;
        if (entry.end > section.size()) {
            alert(dump.run, 657, entry.length);
            return;
        }
        const uint32_t id = reader.u32();
        print(dump.run.out, "\n%s @ 0x%08lX\n", id == cie_id ? "Common Information Entry" : "Frame Description Entry",
              start);
        if (id == cie_id) {
            dump_cie(dump, reader, entry);
        } else {
            dump_fde(dump, reader, entry, id);
        }
        reader.at = entry.end;
    }
}

} // namespace tavrel
