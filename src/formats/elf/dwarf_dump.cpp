// DWARF is the debug information of ELF files: sections whose names begin with ".debug_". The tree of entries (DIEs) in
// .debug_info describes the program; how an entry lies there is told by an abbreviation in .debug_abbrev, its long
// strings are in .debug_str, its line numbers are programs for a small machine in .debug_line. The other sections stand
// beside the tree: frames for unwinding, tables of names and address ranges, macros, places that change over time.
//
// Here: finding and loading the sections, their order, and the two that are plain lists.
#include "formats/elf/dwarf_dump.h"

#include <algorithm>
#include <charconv>
#include <new>

namespace tavrel {
namespace {

void dump_debug_str(dwarf_dump_t& dump, bytes_t section) {
    std::string& out = dump.run.out.text;
    section_reader_t reader = dump.reader(section);
    while (!reader.at_end()) {
        out += "0x";
        put_hex(out, reader.at, 8);
        out += ": \"";
        out += reader.text();
        out += "\"\n";
        flush_some(dump.run.out);
    }
}

char children_letter(uint8_t children) { return children == 0 ? 'N' : children == 1 ? 'Y' : '?'; }

void dump_abbreviation(dwarf_dump_t& dump, section_reader_t& reader, uint64_t offset, uint64_t code) {
    const uint64_t tag = reader.uleb128();
    const char children = children_letter(reader.u8());
    print(dump.run.out, "\n@ 0x%08lX\n%5.5lu(%c): %s\n", offset, code, children,
          dw_name(dw_tag_names, static_cast<uint32_t>(tag), true));
    for (;;) {
        const uint64_t attribute = reader.uleb128();
        const uint64_t form = reader.uleb128();
        if (attribute == 0 && form == 0) {
            return;
        }
        print(dump.run.out, "          %-30s %s\n", dw_name(dw_at_names, static_cast<uint32_t>(attribute), true),
              dw_name(dw_form_names, static_cast<uint32_t>(form), true));
    }
}

void dump_debug_abbrev(dwarf_dump_t& dump, bytes_t section) {
    section_reader_t reader = dump.reader(section);
    while (!reader.at_end()) {
        const uint64_t offset = reader.at;
        if (const uint64_t code = reader.uleb128(); code != 0) {
            dump_abbreviation(dump, reader, offset, code);
        }
    }
}

void dump_nothing(dwarf_dump_t&, bytes_t) {}

struct dwarf_row_t {
    void (*dump)(dwarf_dump_t& dump, bytes_t section);
    text_t name;
    text_t description;
};

// In the order of dwarf_section_number_t.
constexpr dwarf_row_t dwarf_sections[DEBUG_SECTION_COUNT] = {
    {dump_debug_str,      ".debug_str",      "string table"           },
    {dump_debug_abbrev,   ".debug_abbrev",   "abbreviation table"     },
    {dump_debug_info,     ".debug_info",     "debug contributions"    },
    {dump_debug_line,     ".debug_line",     "line number information"},
    {dump_debug_frame,    ".debug_frame",    "call frame information" },
    {dump_debug_pubnames, ".debug_pubnames", "name lookup table"      },
    {dump_nothing,        ".debug_pubtypes", "name lookup table"      },
    {dump_debug_aranges,  ".debug_aranges",  "address range table"    },
    {dump_debug_macinfo,  ".debug_macinfo",  "macro information"      },
    {dump_debug_loc,      ".debug_loc",      "location lists"         },
    {dump_nothing,        ".debug_ranges",   "address ranges"         },
};

// ---- finding and loading

void find_sections(dwarf_dump_t& dump) {
    const elf_image_t& image = dump.image;
    for (uint32_t k = 0; k < image.sections.count; ++k) {
        const bytes_t section = image.sections[k];
        if (elf_field32(image, section, SH_NAME) >= image.shstrtab.size()) {
            alert_text(dump.run, "W", "Invalid ELF section header. Skipping.");
            continue;
        }
        const text_t name = elf_section_name(image, section);
        for (size_t row = 0; row < DEBUG_SECTION_COUNT; ++row) {
            if (name == dwarf_sections[row].name) {
                dump.sections[row] = {
                    true, false, elf_field32(image, section, SH_OFFSET), elf_field32(image, section, SH_SIZE), {}};
            }
        }
    }
}

void load_section(dwarf_dump_t& dump, dwarf_section_number_t number) {
    dwarf_section_t& section = dump.sections[number];
    if (!section.present) {
        return;
    }
    const bytes_t bytes = elf_contents(dump.image, section.offset, section.size);
    if (bytes.size() < section.size) {
        alert(dump.run, 666, dwarf_sections[number].name, dwarf_sections[number].description);
        return;
    }
    section.bytes = bytes;
    section.loaded = true;
}

// ---- printing sections

void dump_contents(dwarf_dump_t& dump, const dwarf_row_t& row, const dwarf_section_t& section) {
    try {
        row.dump(dump, section.bytes);
    } catch (const std::bad_alloc&) {
        alert(dump.run, 157, section.size);
    }
    if (is_spent(dump.budget) && !dump.budget.told) {
        dump.budget.told = true;
        alert(dump.run, 666, row.name, row.description);
    }
}

void print_section(dwarf_dump_t& dump, dwarf_section_number_t number) {
    if (is_spent(dump.budget)) {
        return;
    }
    const dwarf_row_t& row = dwarf_sections[number];
    put_text(dump.run.out, "\n\n");
    if (!dump.sections[number].loaded) {
        print(dump.run.out, "No %s (from %s)\n", row.description, row.name);
        return;
    }
    print(dump.run.out, "%c%s (%s):\n", row.description[0] - 'a' + 'A', row.description.substr(1), row.name);
    dump_contents(dump, row, dump.sections[number]);
}

void load_and_print(dwarf_dump_t& dump, dwarf_section_number_t number) {
    load_section(dump, number);
    print_section(dump, number);
}

void print_line_section(dwarf_dump_t& dump) {
    if (dump.line_references.empty()) {
        put_text(dump.run.out, "\nNo references to line number information\n");
    } else {
        load_and_print(dump, DEBUG_LINE);
    }
}

} // namespace

void dwarf_dump(run_t& run, const elf_image_t& image, elf_budget_t& budget) {
    dwarf_dump_t dump = {run, image, budget, run.formats.dwarf_address_size};
    find_sections(dump);
    if (!dump.sections[DEBUG_INFO].present) {
        put_text(run.out, "\n\nNo DWARF found\n");
        return;
    }
    put_text(run.out, "\n\nDWARF:\n");
    if (!dump.sections[DEBUG_ABBREV].present) {
        alert(run, 667);
        return;
    }
    load_section(dump, DEBUG_STR);
    if (run.verbose != 0) {
        print_section(dump, DEBUG_STR);
    }
    load_and_print(dump, DEBUG_ABBREV);
    load_and_print(dump, DEBUG_INFO);
    print_line_section(dump);
    for (int number = DEBUG_FRAME; number < DEBUG_SECTION_COUNT; ++number) {
        load_and_print(dump, static_cast<dwarf_section_number_t>(number));
    }
}

uint64_t read_address(dwarf_dump_t& dump, section_reader_t& reader) {
    switch (dump.address_size) {
    case 1:
    case 2:
    case 4:
    case 8: break;
    default: alert(dump.run, 632, dump.address_size);
    }
    return reader.number(dump.address_size);
}

// ---- fast printing

void put_hex(std::string& out, uint64_t value, unsigned digits) {
    constexpr char letters[] = "0123456789ABCDEF";
    char buffer[16];
    char* const end = buffer + sizeof buffer;
    char* first = end;
    while (value != 0 || end - first < static_cast<ptrdiff_t>(digits)) {
        *--first = letters[value & 15];
        value >>= 4;
    }
    out.append(first, static_cast<size_t>(end - first));
}

namespace {

void put_filled(std::string& out, const char* text, size_t length, size_t width) {
    out.append(text, length);
    if (length < width) {
        out.append(width - length, ' ');
    }
}

template <class T>
void put_number(std::string& out, T value, size_t width) {
    char buffer[24];
    const auto end = std::to_chars(buffer, buffer + sizeof buffer, value).ptr;
    put_filled(out, buffer, static_cast<size_t>(end - buffer), width);
}

} // namespace

void put_decimal(std::string& out, uint64_t value, size_t width) { put_number(out, value, width); }
void put_signed(std::string& out, int64_t value, size_t width) { put_number(out, value, width); }
void put_column(std::string& out, text_t text, size_t width) { put_filled(out, text.data(), text.size(), width); }

void put_count(std::string& out, uint32_t value) {
    char buffer[16];
    const auto end = std::to_chars(buffer, buffer + sizeof buffer, value).ptr;
    const auto length = static_cast<size_t>(end - buffer);
    if (length < 5) {
        out.append(5 - length, '0');
    }
    out.append(buffer, length);
}

} // namespace tavrel
