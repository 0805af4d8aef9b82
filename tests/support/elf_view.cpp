#include "support/elf_view.h"

#include "common/print.h"
#include "support/run.h"

namespace tavrel::testing {
namespace {

// ---- DWARF numbers by name

const std::map<uint64_t, const char*> tags = {
    {0x01, "array"          },
    {0x04, "enumeration"    },
    {0x05, "parameter"      },
    {0x0D, "member"         },
    {0x0F, "pointer"        },
    {0x11, "unit"           },
    {0x13, "struct"         },
    {0x15, "subroutine_type"},
    {0x16, "typedef"        },
    {0x17, "union"          },
    {0x21, "subrange"       },
    {0x24, "base"           },
    {0x26, "const"          },
    {0x28, "enumerator"     },
    {0x2E, "subprogram"     },
    {0x34, "variable"       },
    {0x35, "volatile"       },
};

const std::map<uint64_t, const char*> attributes = {
    {0x01, "sibling"   },
    {0x02, "location"  },
    {0x03, "name"      },
    {0x0B, "size"      },
    {0x0C, "bit_offset"},
    {0x0D, "bits"      },
    {0x10, "stmt_list" },
    {0x11, "low_pc"    },
    {0x12, "high_pc"   },
    {0x13, "language"  },
    {0x1C, "value"     },
    {0x25, "producer"  },
    {0x2F, "upper"     },
    {0x38, "at"        },
    {0x3A, "file"      },
    {0x3B, "line"      },
    {0x3E, "encoding"  },
    {0x3F, "external"  },
    {0x40, "frame_base"},
    {0x49, "type"      },
};

std::string name_of(const std::map<uint64_t, const char*>& names, uint64_t number) {
    const auto found = names.find(number);
    return found == names.end() ? format_text("?%llX", number) : found->second;
}

// ---- reading

struct reader_t {
    const elf_view_t& elf;
    uint64_t at, end;

    uint64_t number(unsigned size) {
        at += size;
        return elf.number(at - size, size);
    }
    uint64_t uleb() {
        uint64_t value = 0;
        for (unsigned shift = 0; at < end; shift += 7) {
            const uint64_t byte = number(1);
            value |= shift < 64 ? (byte & 0x7F) << shift : 0;
            if (byte < 0x80) {
                break;
            }
        }
        return value;
    }
    int64_t sleb() {
        uint64_t value = 0;
        for (unsigned shift = 0; at < end;) {
            const uint64_t byte = number(1);
            value |= (byte & 0x7F) << shift;
            shift += 7;
            if (byte < 0x80) {
                if ((byte & 0x40) != 0 && shift < 64) {
                    value |= ~uint64_t(0) << shift;
                }
                break;
            }
        }
        return static_cast<int64_t>(value);
    }
    std::string text() {
        const std::string value = elf.text(at);
        at += value.size() + 1;
        return value;
    }
};

reader_t reader_of(const elf_view_t& elf, const std::string& name) {
    const section_view_t* const section = elf.find(name);
    return section == nullptr ? reader_t{elf, 0, 0}
                              : reader_t{elf, section->offset, uint64_t(section->offset) + section->size};
}

struct abbreviation_t {
    uint64_t tag = 0;
    bool children = false;
    std::vector<std::pair<uint64_t, uint64_t>> attributes;
};

std::map<uint64_t, abbreviation_t> read_abbreviations(const elf_view_t& elf) {
    std::map<uint64_t, abbreviation_t> table;
    reader_t in = reader_of(elf, ".debug_abbrev");
    while (const uint64_t code = in.uleb()) {
        abbreviation_t& row = table[code];
        row.tag = in.uleb();
        row.children = in.number(1) != 0;
        for (;;) {
            const uint64_t attribute = in.uleb();
            const uint64_t form = in.uleb();
            if (attribute == 0 && form == 0) {
                break;
            }
            row.attributes.emplace_back(attribute, form);
        }
    }
    return table;
}

// ---- DIEs

struct die_view_t {
    int depth;
    std::string text;                                         // with \1 in place of each reference
    std::vector<std::pair<std::string, uint64_t>> references; // attribute and unit offset
    uint64_t behind = 0;                                      // unit offset behind the children
    bool open = false;
};

struct unit_view_t {
    uint64_t start;
    unsigned address_size;
    std::vector<die_view_t> dies;
    std::map<uint64_t, size_t> numbers; // by unit offset, from 1
};

std::string read_value(reader_t& in, const unit_view_t& unit, uint64_t form) {
    switch (form) {
    case 0x01: return format_text("%llX", in.number(unit.address_size));
    case 0x05: return format_text("%llu", in.number(2));
    case 0x06: return format_text("%ld", in.number(4));
    case 0x08: return in.text();
    case 0x0A: {
        std::string value;
        for (uint64_t left = in.number(1); left > 0; --left) {
            value += format_text("%02X", in.number(1));
        }
        return value;
    }
    case 0x0B:
    case 0x0C: return format_text("%llu", in.number(1));
    case 0x0F: return format_text("%llu", in.uleb());
    default: return format_text("form?%llX", form);
    }
}

die_view_t read_die(reader_t& in, const unit_view_t& unit, const abbreviation_t& shape, int depth) {
    die_view_t die{depth, name_of(tags, shape.tag), {}};
    die.open = shape.children;
    for (const auto& [attribute, form] : shape.attributes) {
        const std::string name = name_of(attributes, attribute);
        if (form == 0x13) {
            die.references.emplace_back(name, in.number(4));
            die.text += name == "sibling" ? "" : " " + name + "=\1";
        } else {
            die.text += " " + name + "=" + read_value(in, unit, form);
        }
    }
    return die;
}

void read_unit(reader_t& in, const std::map<uint64_t, abbreviation_t>& table, unit_view_t& unit) {
    std::vector<size_t> open;
    while (in.at < in.end) {
        const uint64_t offset = in.at - unit.start;
        const uint64_t code = in.uleb();
        if (code == 0) {
            if (open.empty()) {
                break;
            }
            unit.dies[open.back()].behind = in.at - unit.start;
            open.pop_back();
            continue;
        }
        const auto shape = table.find(code);
        if (shape == table.end()) {
            unit.dies.push_back({0, format_text("no abbreviation %llu", code), {}});
            break;
        }
        unit.dies.push_back(read_die(in, unit, shape->second, static_cast<int>(open.size())));
        unit.numbers[offset] = unit.dies.size();
        if (shape->second.children) {
            open.push_back(unit.dies.size() - 1);
        }
    }
}

std::string die_line(const unit_view_t& unit, size_t k) {
    const die_view_t& die = unit.dies[k];
    std::string text = die.text;
    for (const auto& [attribute, offset] : die.references) {
        const auto found = unit.numbers.find(offset);
        if (attribute == "sibling") {
            text += offset == die.behind ? "" : format_text(" wrong sibling %llX", offset);
        } else {
            const std::string target = found == unit.numbers.end() ? format_text("?%llX", offset)
                                                                   : format_text("#%llu", uint64_t(found->second));
            text.replace(text.find('\1'), 1, target);
        }
    }
    return format_text("%*s%llu %s\n", 2 * die.depth, "", uint64_t(k + 1), text);
}

// ---- line programs

std::string opcode_text(reader_t& in, unsigned address_size) {
    const uint64_t opcode = in.number(1);
    switch (opcode) {
    case 0: {
        const uint64_t size = in.uleb();
        const uint64_t kind = in.number(1);
        if (kind == 2 && size == address_size + 1) {
            return format_text("set_address %llX", in.number(address_size));
        }
        return kind == 1 && size == 1 ? "end_sequence" : format_text("extended? %llu %llu", kind, size);
    }
    case 1: return "copy";
    case 2: return format_text("advance_pc %lld", in.uleb());
    case 3: return format_text("advance_line %lld", in.sleb());
    case 4: return format_text("set_file %llu", in.uleb());
    case 8: return "const_add_pc";
    default: return opcode < 10 ? format_text("opcode? %llu", opcode) : format_text("special %llu", opcode);
    }
}

std::string line_tables(reader_t& in) {
    std::string text = "dirs";
    for (std::string dir = in.text(); !dir.empty(); dir = in.text()) {
        text += " " + dir;
    }
    text += ", files";
    for (std::string name = in.text(); !name.empty(); name = in.text()) {
        text += " " + name + format_text(":%llu", in.uleb());
        text += in.uleb() + in.uleb() == 0 ? "" : "?";
    }
    return text + "\n";
}

} // namespace

// ---- what the tests see

elf_view_t view_elf(const std::string& file) {
    elf_view_t elf;
    elf.file = file;
    elf.big_endian = file.size() > 5 && file[5] == 2;
    const uint32_t count = elf.half(48);
    const uint32_t names = elf.word(elf.word(32) + 40 * elf.half(50) + 16);
    for (uint32_t k = 0; k < count && file.size() > 52; ++k) {
        const uint64_t at = elf.word(32) + uint64_t(40) * k;
        section_view_t section;
        section.name = elf.text(uint64_t(names) + elf.word(at));
        uint32_t* const fields[] = {&section.type, &section.flags, &section.addr,  &section.offset, &section.size,
                                    &section.link, &section.info,  &section.align, &section.entsize};
        for (uint32_t n = 0; n < 9; ++n) {
            *fields[n] = elf.word(at + 4 + uint64_t(4) * n);
        }
        elf.sections.push_back(section);
    }
    return elf;
}

std::string sections_text(const elf_view_t& elf) {
    std::string text;
    for (const section_view_t& section : elf.sections) {
        text += format_text("%s %X %X %X %X %X", section.name, section.type, section.flags, section.addr,
                            section.offset, section.size);
        if ((section.link | section.info | section.align | section.entsize) != 0) {
            text += format_text(" link %X info %X align %X each %X", section.link, section.info, section.align,
                                section.entsize);
        }
        text += "\n";
    }
    return text;
}

std::string programs_text(const elf_view_t& elf) {
    std::string text;
    for (uint32_t k = 0; k < elf.half(44); ++k) {
        const uint64_t at = elf.word(28) + uint64_t(32) * k;
        const bool plain = elf.word(at + 8) == elf.word(at + 12) && elf.word(at + 24) == 0 && elf.word(at + 28) == 0;
        text += format_text("%X %X %X %X %X%s\n", elf.word(at), elf.word(at + 4), elf.word(at + 8), elf.word(at + 16),
                            elf.word(at + 20), plain ? "" : " ?");
    }
    return text;
}

std::string symbols_text(const elf_view_t& elf) {
    std::string text;
    const section_view_t* const symbols = elf.find(".symtab");
    const section_view_t* const names = elf.find(".strtab");
    for (uint64_t at = symbols->offset + 16; at < uint64_t(symbols->offset) + symbols->size; at += 16) {
        text += format_text("%s %X %02X %02X %X%s\n", elf.text(uint64_t(names->offset) + elf.word(at)),
                            elf.word(at + 4), elf.number(at + 12, 1), elf.number(at + 13, 1), elf.half(at + 14),
                            elf.word(at + 8) == 0 ? "" : " sized");
    }
    return text;
}

std::string dies_text(const elf_view_t& elf) {
    const auto table = read_abbreviations(elf);
    reader_t in = reader_of(elf, ".debug_info");
    const uint64_t end = in.end;
    std::string text;
    while (in.at < end) {
        unit_view_t unit;
        unit.start = in.at;
        in.end = end;
        in.end = in.number(4) + in.at;
        if (in.end > end || in.number(2) != 2 || in.number(4) != 0) {
            return text + "bad unit header\n";
        }
        unit.address_size = static_cast<unsigned>(in.number(1));
        read_unit(in, table, unit);
        for (size_t k = 0; k < unit.dies.size(); ++k) {
            text += die_line(unit, k);
        }
        text += in.at == in.end ? "" : format_text("unit ends at %llX\n", in.at - unit.start);
        in.at = in.end;
    }
    return text;
}

std::string lines_text(const elf_view_t& elf) {
    reader_t in = reader_of(elf, ".debug_line");
    const unsigned address_size = elf.find(".debug_info") == nullptr
                                      ? 4
                                      : static_cast<unsigned>(elf.number(elf.find(".debug_info")->offset + 10, 1));
    const uint64_t end = in.end;
    std::string text;
    while (in.at < end) {
        in.end = end;
        const uint64_t length = in.number(4);
        in.end = in.at + length;
        const uint64_t version = in.number(2);
        const uint64_t header = in.number(4);
        const uint64_t program = in.at + header;
        const std::string fixed = elf.file.substr(in.at, 14);
        in.at += 14;
        if (in.end > end || version != 2 || fixed != std::string("\1\1\xFB\x0F\x0A\0\1\1\1\1\0\0\0\0", 14)) {
            return text + "bad header\n";
        }
        text += line_tables(in);
        text += in.at == program ? "" : "bad header length\n";
        while (in.at < in.end) {
            text += opcode_text(in, address_size) + "\n";
        }
    }
    return text;
}

elf_view_t run_elf(std::vector<std::string> args, const files_t& files, std::string* messages) {
    args.insert(args.end(), {"-oelf", "out.elf"});
    const result_t result = run_program(args, files);
    if (messages != nullptr) {
        *messages = result.err;
    }
    const auto file = result.files.find("out.elf");
    return view_elf(file == result.files.end() ? "" : file->second);
}

} // namespace tavrel::testing
