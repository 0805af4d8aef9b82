// The ELF part of the dump: header, string tables, sections with their symbols, program headers; the debug sections
// follow in dwarf_dump. The more -v, the more is told: from the second on file offsets and the like, from the third on
// the number behind each text and the first bytes of each section.
#include <algorithm>

#include "formats/elf/dwarf_dump.h"
#include "formats/elf/elf.h"
#include "formats/elf/elf_budget.h"
#include "formats/elf/elf_load.h"

namespace tavrel {
namespace {

using elf_row_t = elf_machine_t; // number, text

constexpr elf_row_t class_names[] = {
    {0, "Invalid class" },
    {1, "32-bit objects"},
    {2, "64-bit objects"},
};

constexpr elf_row_t data_names[] = {
    {0, "Invalid data encoding"        },
    {1, "2's complement, little endian"},
    {2, "2's complement, big endian"   },
};

constexpr elf_row_t osabi_names[] = {
    {0,   "UNIX System V Revision 4"},
    {1,   "HP-UX"                   },
    {2,   "NetBSD"                  },
    {3,   "Linux"                   },
    {4,   "Hurd"                    },
    {6,   "Solaris"                 },
    {7,   "AIX"                     },
    {8,   "IRIX"                    },
    {9,   "FreeBSD"                 },
    {10,  "TRU64 UNIX"              },
    {11,  "Novell Modesto"          },
    {12,  "OpenBSD"                 },
    {97,  "ARM"                     },
    {255, "Standalone (embedded)"   },
};

constexpr elf_row_t file_type_names[] = {
    {0, "ET_NONE"},
    {2, "ET_EXEC"},
    {1, "ET_REL" },
    {3, "ET_DYN" },
    {4, "ET_CORE"},
};

constexpr elf_row_t program_type_names[] = {
    {0, "Unused"                     },
    {1, "Loadable program segment"   },
    {2, "Dynamic linking information"},
    {3, "Program interpreter"        },
    {4, "Auxiliary information"      },
    {5, "Reserved"                   },
    {6, "Program header table"       },
};

constexpr elf_row_t section_type_names[] = {
    {0,          "Unused"                       },
    {1,          "Program data"                 },
    {2,          "Symbol table"                 },
    {3,          "String table"                 },
    {4,          "Reloc entries with addends"   },
    {5,          "Symbol hash table"            },
    {6,          "Dynamic linking information"  },
    {7,          "Notes"                        },
    {8,          "Prog space without data (bss)"},
    {9,          "Reloc entries, no addends"    },
    {10,         "Reserved"                     },
    {11,         "Dynamic linker symbol table"  },
    {0x60000000, "Start OS-specific"            },
    {0x6FFFFFFB, "Sun-specific low bound. "     },
    {0x6FFFFFFD, "Version definition section. " },
    {0x6FFFFFFE, "Version needs section. "      },
    {0x6FFFFFFF, "Version symbol table. "       },
    {0x6FFFFFFF, "Sun-specific high bound. "    },
    {0x6FFFFFFF, "End OS-specific type"         },
    {0x70000000, "Start of processor-specific"  },
    {0x7FFFFFFF, "End of processor-specific"    },
    {0x80000000, "Start of application-specific"},
    {0x8FFFFFFF, "End of application-specific"  },
};

constexpr elf_row_t symbol_type_names[] = {
    {0, "unspecified"              },
    {1, "data object"              },
    {2, "code object"              },
    {3, "associated with a section"},
    {4, "file name"                },
};

constexpr elf_row_t symbol_binding_names[] = {
    {0, "Local symbol" },
    {1, "Global symbol"},
    {2, "Weak symbol"  },
};

struct elf_dump_t {
    run_t& run;
    const elf_image_t& image;
    elf_budget_t& budget;

    uint32_t field(bytes_t record, uint32_t offset) const { return elf_field32(image, record, offset); }
};

// The text of a number, with the number behind it where much is to be told.
std::string translate(const elf_dump_t& dump, std::span<const elf_row_t> rows, uint32_t number) {
    const auto row = std::find_if(rows.begin(), rows.end(), [&](const elf_row_t& r) { return r.number == number; });
    if (row == rows.end()) {
        return format_text("0x%X", number);
    }
    return dump.run.verbose > 2 ? format_text("%s (0x%X)", row->text, number) : std::string(row->text);
}

// ---- header

void dump_table_line(const elf_dump_t& dump, const char* format, uint32_t count, uint32_t entry_size, uint32_t offset) {
    print(dump.run.out, format, count, entry_size);
    if (dump.run.verbose > 1) {
        print(dump.run.out, " (@ 0x%lX)", offset);
    }
    put_text(dump.run.out, "\n");
}

void dump_header(const elf_dump_t& dump) {
    printer_t& out = dump.run.out;
    const bytes_t header = dump.image.header;
    const auto half = [&](uint32_t offset) { return elf_field16(dump.image, header, offset); };
    print(out, "ELF header:\n\tClass:   \t%s\n", translate(dump, class_names, header[EI_CLASS]));
    print(out, "\tData:   \t%s\n", translate(dump, data_names, header[EI_DATA]));
    print(out, "\tVersion:\t0x%X\n", header[EI_VERSION]);
    print(out, "\tOS ABI:\t\t%s\n", translate(dump, osabi_names, header[EI_OSABI]));
    print(out, "\tType:   \t%s\n", translate(dump, file_type_names, half(E_TYPE)));
    print(out, "\tMachine:\t%s\n", translate(dump, elf_machines, half(E_MACHINE)));
    dump_table_line(dump, "\tProg hdrs:\t%d [0x%X]", half(E_PHNUM), half(E_PHENTSIZE), dump.field(header, E_PHOFF));
    dump_table_line(dump, "\tSec hdrs:\t%d [0x%X]", half(E_SHNUM), half(E_SHENTSIZE), dump.field(header, E_SHOFF));
    print(out, "\tStrtab:\t\t0x%X\n", half(E_SHSTRNDX));
    print(out, "\tStart addr:\t0x%lX\n\n", dump.field(header, E_ENTRY));
}

// ---- sections

void dump_strings(const elf_dump_t& dump, text_t table) {
    for (size_t at = 0; at < table.size();) {
        const text_t text = elf_text(table, static_cast<uint32_t>(at));
        print(dump.run.out, "%08lX: %s\n", at, text);
        at += text.size() + 1;
    }
}

// Up to 16 bytes of a section or segment on a line of their own, where much is to be told.
void dump_first_bytes(const elf_dump_t& dump, uint32_t offset, uint32_t size) {
    if (dump.run.verbose <= 2) {
        return;
    }
    print(dump.run.out, "\n\t%4lX: ", offset);
    for (const uint8_t byte : elf_contents(dump.image, offset, std::min(size, 16u))) {
        print(dump.run.out, " %2.2X", byte);
    }
}

void dump_symbol(const elf_dump_t& dump, bytes_t symbol) {
    print(dump.run.out, "\t%-20s  0x%08lX  %-5ld", elf_text(dump.image.strtab, dump.field(symbol, ST_NAME)),
          dump.field(symbol, ST_VALUE), dump.field(symbol, ST_SIZE));
    const uint32_t info = symbol[ST_INFO];
    const std::string kind = format_text("%s/%s", translate(dump, symbol_binding_names, info >> 4),
                                         translate(dump, symbol_type_names, info & 15));
    print(dump.run.out, "  %-26s  0x%02X  0x%04X\n", kind, symbol[ST_OTHER], elf_field16(dump.image, symbol, ST_SHNDX));
}

void dump_symbols(elf_dump_t& dump, bytes_t section) {
    const uint32_t entry_size = dump.field(section, SH_ENTSIZE);
    print(dump.run.out, "Section header entry size: 0x%X\nSymbol Table\n", entry_size);
    if (entry_size == 0) {
        return;
    }
    const uint32_t size = dump.field(section, SH_SIZE);
    const bytes_t table = elf_contents(dump.image, dump.field(section, SH_OFFSET), size);
    const uint32_t count = size / entry_size;
    for (uint64_t k = 0; k < count && k * entry_size + ELF_SYMBOL_SIZE <= table.size(); ++k) {
        if (is_spent(dump.budget)) {
            alert(dump.run, 666, elf_section_name(dump.image, section), "symbol table");
            dump.budget.told = true;
            return;
        }
        dump_symbol(dump, table.subspan(k * entry_size, ELF_SYMBOL_SIZE));
    }
}

void dump_section(elf_dump_t& dump, uint32_t number) {
    printer_t& out = dump.run.out;
    const bytes_t section = dump.image.sections[number];
    const uint32_t type = dump.field(section, SH_TYPE);
    const uint32_t flags = dump.field(section, SH_FLAGS);
    const uint32_t size = dump.field(section, SH_SIZE);
    print(out, "%4.4X  %-20.20s %-30.30s", number, elf_section_name(dump.image, section),
          translate(dump, section_type_names, type));
    print(out, " %08lX %08lX %08lX", dump.field(section, SH_ADDR), size, dump.field(section, SH_LINK));
    if (dump.run.verbose > 1) {
        print(out, " %08lX %08lX %08lX", dump.field(section, SH_OFFSET), dump.field(section, SH_INFO),
              dump.field(section, SH_ADDRALIGN));
    }
    put_text(out, (flags & SHF_WRITE) != 0 ? " WRITE" : "");
    put_text(out, (flags & SHF_ALLOC) != 0 ? " ALLOC" : "");
    put_text(out, (flags & SHF_EXECINSTR) != 0 ? " EXECINSTR" : "");
    if (size != 0 && (flags & SHF_ALLOC) != 0 && type != SHT_NOBITS) {
        dump_first_bytes(dump, dump.field(section, SH_OFFSET), size);
    }
    put_text(out, "\n");
    if (dump.run.verbose != 0 && type == SHT_SYMTAB && !is_spent(dump.budget)) {
        dump_symbols(dump, section);
    }
}

void dump_sections(elf_dump_t& dump) {
    printer_t& out = dump.run.out;
    put_text(out, "\nString table:\n\n");
    dump_strings(dump, dump.image.strtab);
    if (dump.run.verbose > 2) {
        dump_strings(dump, dump.image.shstrtab);
    }
    put_text(out,
             "\nSections:\n\nNo.   Name                 Type                           Address  Size     Link     ");
    put_text(out, dump.run.verbose > 1 ? "Offset   Info     Align    " : "");
    put_text(out, "Flags\n");
    for (uint32_t k = 0; k < dump.image.sections.count; ++k) {
        dump_section(dump, k);
    }
}

// ---- program headers

void dump_program(const elf_dump_t& dump, uint32_t number) {
    printer_t& out = dump.run.out;
    const bytes_t header = dump.image.phdrs[number];
    const uint32_t flags = dump.field(header, P_FLAGS);
    const uint32_t size = dump.field(header, P_FILESZ);
    print(out, "%4.4X  %-36.36s", number, translate(dump, program_type_names, dump.field(header, P_TYPE)));
    print(out, " %08lX %08lX %08lX %08lX ", dump.field(header, P_VADDR), dump.field(header, P_PADDR), size,
          dump.field(header, P_MEMSZ));
    print(out, "%c%c%c", (flags & PF_R) != 0 ? 'r' : '-', (flags & PF_W) != 0 ? 'w' : '-',
          (flags & PF_X) != 0 ? 'x' : '-');
    if (dump.run.verbose > 1) {
        print(out, " %08lX", dump.field(header, P_ALIGN));
    }
    if (size != 0) {
        dump_first_bytes(dump, dump.field(header, P_OFFSET), size);
    }
    put_text(out, "\n");
}

void dump_programs(const elf_dump_t& dump) {
    put_text(dump.run.out, "\nProgram Headers:\n\nNo.   Type                                 Virtual  Physical "
                           "Filesize Memsize  Flg ");
    put_text(dump.run.out, dump.run.verbose > 1 ? "Align    \n" : "\n");
    for (uint32_t k = 0; k < dump.image.phdrs.count; ++k) {
        dump_program(dump, k);
    }
}

} // namespace

bool elf_dump(run_t& run, input_t& in) {
    elf_image_t image;
    elf_load(run, in, image);
    if (image.invalid) {
        return false;
    }
    elf_budget_t budget = elf_budget(run.out, in.bytes.size());
    elf_dump_t dump = {run, image, budget};
    dump_header(dump);
    if (image.sections.count != 0) {
        dump_sections(dump);
    }
    dump_programs(dump);
    if (image.sections.count != 0) {
        dwarf_dump(run, image, budget);
    }
    return true;
}

} // namespace tavrel
