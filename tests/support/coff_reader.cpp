#include "support/coff_reader.h"

#include <algorithm>
#include <set>
#include <sstream>

namespace tavrel::testing {
namespace {

constexpr uint32_t section_size = 40;

enum : uint32_t { // storage classes
    tag_class = 10,
    block_class = 100,
    function_class = 101,
    eos_class = 102,
    file_class = 103,
    eof_class = 107,
};

struct reader_t {
    const std::string& bytes;
    coff_kind_of_file_t kind;
    read_coff_t file;
    std::set<uint32_t> string_starts;

    uint32_t symbol_size() const { return kind.microchip ? 20 : 18; }
    uint64_t strings_at() const { return file.symptr + uint64_t(symbol_size()) * file.nsyms; }

    void fault(const std::string& text) { file.faults.push_back(text); }
    void require(bool holds, const std::string& text) {
        if (!holds) {
            fault(text);
        }
    }
    uint32_t number(uint64_t at, uint32_t width) {
        if (at + width > bytes.size()) {
            fault("a field lies beyond the end");
            return 0;
        }
        uint32_t value = 0;
        for (uint32_t k = 0; k < width; ++k) {
            const uint64_t from = kind.big_endian ? at + k : at + width - 1 - k;
            value = value << 8 | static_cast<uint8_t>(bytes[from]);
        }
        return value;
    }
    std::string string(uint32_t offset) {
        require(string_starts.count(offset) != 0, "a name's offset is not the start of a string");
        const char* const text = bytes.c_str() + std::min<uint64_t>(strings_at() + offset, bytes.size());
        return text;
    }
    std::string name(uint64_t at) {
        if (number(at, 4) == 0) {
            return string(number(at + 4, 4));
        }
        std::string text = bytes.substr(at, 8);
        return text.substr(0, text.find('\0'));
    }
};

void read_strings(reader_t& reader) {
    const uint64_t at = reader.strings_at();
    const uint32_t size = reader.number(at, 4);
    reader.require(at + size == reader.bytes.size(), "the string table does not end the file");
    for (uint64_t k = 4; k < size && at + k < reader.bytes.size();) {
        reader.string_starts.insert(static_cast<uint32_t>(k));
        const size_t end = reader.bytes.find('\0', at + k);
        reader.require(end != std::string::npos, "a string has no end");
        k = end - at + 1;
    }
}

read_line_t read_line(reader_t& reader, uint64_t at) {
    read_line_t line;
    if (reader.kind.microchip) {
        line.source = reader.number(at, 4);
        line.number = reader.number(at + 4, 2);
        line.address = reader.number(at + 6, 4);
        reader.require(reader.number(at + 10, 2) == 0, "l_flags");
        line.function = reader.number(at + 12, 4);
    } else {
        line.address = reader.number(at, 4);
        line.number = reader.number(at + 4, reader.kind.line_size - 4);
    }
    return line;
}

void read_section(reader_t& reader, uint64_t at) {
    read_section_t section;
    section.name = reader.kind.microchip ? reader.name(at) : std::string(reader.bytes.substr(at, 8).c_str());
    section.paddr = reader.number(at + 8, 4);
    section.vaddr = reader.number(at + 12, 4);
    section.size = reader.number(at + 16, 4);
    section.scnptr = reader.number(at + 20, 4);
    section.lnnoptr = reader.number(at + 28, 4);
    section.nlnno = reader.number(at + 34, 2);
    section.flags = reader.number(at + 36, 4);
    reader.require(reader.number(at + 24, 4) == 0 && reader.number(at + 32, 2) == 0, "relocations");
    if ((section.flags & 0x20) != 0) {
        section.data = reader.bytes.substr(section.scnptr, section.size);
        reader.require(section.data.size() == section.size, "a section's data lies beyond the end");
    }
    for (uint32_t k = 0; k < section.nlnno; ++k) {
        section.lines.push_back(read_line(reader, section.lnnoptr + uint64_t(reader.kind.line_size) * k));
    }
    reader.file.sections.push_back(section);
}

void read_aux(reader_t& reader, uint64_t at, read_symbol_t& symbol) {
    if (symbol.sclass == file_class) {
        symbol.file_name = reader.kind.microchip ? reader.string(reader.number(at, 4)) : reader.name(at);
        return;
    }
    symbol.tagndx = reader.number(at, 4);
    symbol.lnno = reader.number(at + 4, 2);
    symbol.size = reader.number(at + 6, 2);
    for (uint32_t k = 0; k < 4; ++k) {
        symbol.dimen[k] = reader.number(at + 8 + 2 * k, 2);
    }
    symbol.endndx = reader.number(at + 12, 4);
}

void read_symbols(reader_t& reader) {
    const uint32_t size = reader.symbol_size();
    for (uint32_t index = 0; index < reader.file.nsyms;) {
        const uint64_t at = reader.file.symptr + uint64_t(size) * index;
        read_symbol_t symbol;
        symbol.index = index;
        symbol.name = reader.name(at);
        symbol.value = reader.number(at + 8, 4);
        symbol.scnum = static_cast<int16_t>(reader.number(at + 12, 2));
        symbol.type = reader.number(at + 14, reader.kind.microchip ? 4 : 2);
        symbol.sclass = reader.number(at + size - 2, 1);
        symbol.numaux = reader.number(at + size - 1, 1);
        if (symbol.numaux != 0) {
            read_aux(reader, at + size, symbol);
        }
        index += 1 + symbol.numaux;
        reader.require(symbol.numaux <= 1, "more than one auxiliary record");
        reader.file.symbols.push_back(symbol);
    }
}

void read_headers(reader_t& reader) {
    read_coff_t& file = reader.file;
    file.magic = static_cast<uint8_t>(reader.bytes[0]) << 8 | static_cast<uint8_t>(reader.bytes[1]);
    const uint32_t sections = reader.number(2, 2);
    file.symptr = reader.number(8, 4);
    file.nsyms = reader.number(12, 4);
    file.opthdr = reader.number(16, 2);
    file.flags = reader.number(18, 2);
    if (reader.kind.microchip) {
        reader.require(file.opthdr == 18 && reader.number(20, 2) == 5000 && reader.number(22, 4) == 97101,
                       "the optional header");
        file.proc_type = reader.number(26, 4);
        file.rom_width = reader.number(30, 4);
        file.ram_width = reader.number(34, 4);
    }
    read_strings(reader);
    for (uint32_t k = 0; k < sections; ++k) {
        read_section(reader, 20 + file.opthdr + uint64_t(section_size) * k);
    }
}

// ---- do all references agree?

void check_layout(reader_t& reader) {
    uint64_t at = 0;
    for (const read_section_t& section : reader.file.sections) {
        if ((section.flags & 0x20) != 0) {
            reader.require(at == 0 || at == section.scnptr, "section data do not follow each other");
            at = uint64_t(section.scnptr) + section.size;
        }
    }
    for (const read_section_t& section : reader.file.sections) {
        if (section.nlnno != 0) {
            reader.require(at == section.lnnoptr, "line records do not follow each other");
            at += uint64_t(reader.kind.line_size) * section.nlnno;
        }
    }
    reader.require(at == 0 || at == reader.file.symptr, "the symbols do not follow the lines");
}

void check_tags(reader_t& reader) {
    const uint32_t base_mask = reader.kind.microchip ? 0x1F : 0xF;
    for (const read_symbol_t& symbol : reader.file.symbols) {
        const auto is_tag = [&](uint32_t index) {
            const read_symbol_t* const tag = reader.file.at(index);
            return tag != nullptr && tag->sclass == tag_class;
        };
        if ((symbol.type & base_mask) == 8) {
            reader.require(symbol.numaux == 1 && is_tag(symbol.tagndx), symbol.name + " has no tag");
        }
        if (symbol.sclass == tag_class) {
            const read_symbol_t* const end = reader.file.at(symbol.endndx - 1);
            reader.require(end != nullptr && end->sclass == eos_class && end->tagndx == symbol.index &&
                               end->size == symbol.size,
                           symbol.name + " has no end");
        }
    }
}

// `.bf` with `.ef`, `.bb` with `.eb`, each inside the other.
void check_nesting(reader_t& reader) {
    std::vector<const read_symbol_t*> open;
    for (const read_symbol_t& symbol : reader.file.symbols) {
        if (symbol.sclass != block_class && symbol.sclass != function_class) {
            continue;
        }
        if (symbol.name == ".bb" || symbol.name == ".bf") {
            open.push_back(&symbol);
            continue;
        }
        const bool matches = !open.empty() && open.back()->sclass == symbol.sclass;
        reader.require(matches, "a block that nothing opened");
        if (matches && reader.kind.microchip) {
            reader.require(open.back()->endndx == symbol.index + 1, "x_endndx of " + open.back()->name);
        }
        if (!open.empty()) {
            open.pop_back();
        }
    }
    reader.require(open.empty(), "a block that nothing closes");
}

void check_files(reader_t& reader) {
    bool open = false;
    for (const read_symbol_t& symbol : reader.file.symbols) {
        if (symbol.sclass == file_class) {
            reader.require(!open || !reader.kind.microchip, ".file in a .file");
            open = true;
        } else if (symbol.sclass == eof_class) {
            reader.require(open, ".eof without .file");
            open = false;
        }
    }
    reader.require(!open || !reader.kind.microchip, ".file without .eof");
}

void check_sections(reader_t& reader) {
    const auto count = static_cast<int32_t>(reader.file.sections.size());
    for (const read_symbol_t& symbol : reader.file.symbols) {
        reader.require(symbol.scnum >= -2 && symbol.scnum <= count, symbol.name + " is in no section");
    }
}

void check_lines(reader_t& reader) {
    const uint32_t function_bit = reader.kind.microchip ? 0x40 : 0x20;
    const uint32_t derivation = reader.kind.microchip ? 0xE0 : 0x30;
    const auto is_function = [&](uint32_t index) {
        const read_symbol_t* const symbol = reader.file.at(index);
        return symbol != nullptr && (symbol->type & derivation) == function_bit;
    };
    for (const read_section_t& section : reader.file.sections) {
        for (const read_line_t& line : section.lines) {
            if (reader.kind.microchip) {
                const read_symbol_t* const source = reader.file.at(line.source);
                reader.require(source != nullptr && source->sclass == file_class, "l_srcndx is no file");
                reader.require(line.function == 0 || is_function(line.function), "l_fcnndx is no function");
            } else if (line.number == 0) {
                reader.require(is_function(line.address), "a run of lines is in no function");
            }
        }
    }
}

// Each `.bf` leads to the next, each `.bb` to the next of its level or to what closes the level.
void check_chains(reader_t& reader) {
    const read_symbol_t* last = nullptr;
    for (const read_symbol_t& symbol : reader.file.symbols) {
        if (symbol.name == ".bf") {
            reader.require(last == nullptr || last->endndx == symbol.index, ".bf does not lead to the next");
            last = &symbol;
        } else if (symbol.name == ".bb") {
            const read_symbol_t* const next = reader.file.at(symbol.endndx);
            reader.require(next != nullptr && next->index > symbol.index &&
                               (next->sclass == block_class || next->name == ".ef"),
                           ".bb leads nowhere");
        }
    }
}

} // namespace

const read_symbol_t* read_coff_t::at(uint32_t index) const {
    const auto found = std::lower_bound(symbols.begin(), symbols.end(), index,
                                        [](const read_symbol_t& symbol, uint32_t key) { return symbol.index < key; });
    return found != symbols.end() && found->index == index ? &*found : nullptr;
}

const read_symbol_t* read_coff_t::find(std::string_view name, uint32_t sclass) const {
    const auto found = std::find_if(symbols.begin(), symbols.end(), [&](const read_symbol_t& symbol) {
        return symbol.name == name && (sclass == UINT32_MAX || symbol.sclass == sclass);
    });
    return found == symbols.end() ? nullptr : &*found;
}

const read_section_t* read_coff_t::section(std::string_view name) const {
    const auto found = std::find_if(sections.begin(), sections.end(),
                                    [&](const read_section_t& section) { return section.name == name; });
    return found == sections.end() ? nullptr : &*found;
}

read_coff_t read_coff(const std::string& bytes, const coff_kind_of_file_t& kind) {
    reader_t reader{bytes, kind, {}, {}};
    if (bytes.size() < 20) {
        reader.fault("no header");
        return reader.file;
    }
    read_headers(reader);
    read_symbols(reader);
    check_layout(reader);
    check_tags(reader);
    check_nesting(reader);
    check_files(reader);
    check_sections(reader);
    check_lines(reader);
    if (!kind.microchip) {
        check_chains(reader);
    }
    return reader.file;
}

std::string symbol_list(const read_coff_t& file) {
    std::ostringstream text;
    for (const read_symbol_t& symbol : file.symbols) {
        text << symbol.index << ' ' << symbol.name << ' ' << symbol.sclass << ' ' << symbol.numaux << '\n';
    }
    return text.str();
}

} // namespace tavrel::testing
