// The image of an ELF file, from the model: a section for each segment that lies in a space, with the segment's bytes,
// then strings, symbols, debug sections, and the tables of section headers and program headers at the end. Nothing in
// it is ever relocated, so nothing is aligned. docs/formats/elf.md shows the file.
#include <algorithm>
#include <array>

#include "debug/tree.h"
#include "formats/elf/dwarf_write.h"
#include "formats/elf/elf.h"
#include "formats/elf/elf_layout.h"

namespace tavrel {
namespace {

struct section_header_t {
    uint32_t name = 0, type = 0, flags = 0, addr = 0, offset = 0, size = 0, link = 0, entsize = 0;
};

struct program_header_t {
    uint32_t type = 0, offset = 0, addr = 0, filesz = 0, memsz = 0;
};

struct elf_ext_t;

// The symbols that stand in a file and in a segment, for look-ups by address.
struct symbol_index_t {
    std::vector<const symbol_t*> symbols; // in the order of files
    std::vector<uint32_t> by_value;       // positions in `symbols`, by value, then by position
};

struct elf_writer_t {
    run_t& run;
    output_t& out;
    text_t name; // of the output file
    const elf_ext_t& ext;
    std::array<uint8_t, ELF_HEADER_SIZE> header{};
    std::string strtab{'\0'}, shstrtab{'\0'}, symtab{};
    std::vector<section_header_t> sections{1}; // the first is all zeros
    std::vector<program_header_t> phdrs{1};    // the first is that of the table itself
    dsym_finder_t nodes{};                     // of the tree, by name
    symbol_index_t index{};
    uint64_t symbol_room = 0; // bytes that symbols and their names may still take
    uint64_t file_limit = 0;  // bytes that the file may have
};

// ---- what depends on the processor

struct elf_ext_t {
    bool (*match)(uint32_t machine);
    void (*finish_header)(elf_writer_t& writer);
    uint32_t (*section_flags)(const run_t& run, const segment_t& space, uint32_t written);
    uint8_t (*symbol_other)(const symbol_t& symbol);
    int8_t (*address_unit)(const run_t& run, const segment_t& space); // model addresses to one of a section
    uint32_t debug_section_type;
};

constexpr uint32_t code_flags = SHF_ALLOC | SHF_EXECINSTR;
constexpr uint32_t data_flags = SHF_WRITE | SHF_ALLOC;
constexpr uint32_t dspic_flags = 5; // e_flags; the byte is set whatever the byte order

constexpr uint8_t STO_MIPS16 = 0xF0;

bool is_mips(uint32_t machine) { return machine == EM_MIPS; }
bool is_dspic(uint32_t machine) { return machine == EM_DSPIC30F; }
bool is_any(uint32_t) { return true; }

void finish_nothing(elf_writer_t&) {}
void finish_dspic(elf_writer_t& writer) { writer.header[E_FLAGS] |= dspic_flags; }

uint32_t flags_by_bytes(const run_t&, const segment_t&, uint32_t written) {
    return written != 0 ? code_flags : data_flags;
}
uint32_t flags_by_space(const run_t& run, const segment_t& space, uint32_t) {
    return is_code_space_name(run, space.name) ? code_flags : data_flags;
}

uint8_t other_by_class(const symbol_t& symbol) {
    return symbol.link_class != nullptr && symbol.link_class->init == 1 ? STO_MIPS16 : 0;
}
uint8_t other_none(const symbol_t&) { return 0; }

int8_t unit_one(const run_t&, const segment_t&) { return 1; }
int8_t unit_by_space(const run_t& run, const segment_t& space) { return is_code_space_name(run, space.name) ? 2 : 1; }

// clang-format off
constexpr elf_ext_t elf_extensions[] = {
    /* mips    */ {is_mips,  finish_nothing, flags_by_bytes, other_by_class, unit_one,      SHT_MIPS_DWARF},
    /* dspic   */ {is_dspic, finish_dspic,   flags_by_space, other_none,     unit_by_space, SHT_NOTE},
    /* generic */ {is_any,   finish_nothing, flags_by_bytes, other_none,     unit_one,      SHT_NOTE},
};
// clang-format on

const elf_ext_t* choose_extension(uint32_t machine) {
    for (const elf_ext_t& ext : elf_extensions) {
        if (ext.match(machine)) {
            return &ext;
        }
    }
    return nullptr;
}

constexpr size_t machine_arg_limit = 128; // words of -p, behind the first, that may name the machine

const elf_machine_t* find_machine(text_t word) {
    for (const elf_machine_t& row : elf_machines) {
        if (row.text.find(word) != text_t::npos) {
            return &row;
        }
    }
    return nullptr;
}

uint32_t choose_machine(const run_t& run) {
    const elf_machine_t* row = find_machine(run.processor_name);
    for (size_t k = 0; row == nullptr && k < run.processor_args.size() && k < machine_arg_limit; ++k) {
        row = find_machine(run.processor_args[k]);
    }
    return row == nullptr ? EM_NONE : row->number;
}

// ---- records

// The offset at which the text starts. A text that comes again stands there again.
uint32_t elf_string(std::string& table, text_t text) {
    const auto offset = static_cast<uint32_t>(table.size());
    table.append(text.substr(0, text.find('\0'))).push_back('\0');
    return offset;
}

// Gives the new section's index.
uint32_t add_section(elf_writer_t& writer, const section_header_t& section) {
    writer.sections.push_back(section);
    return static_cast<uint32_t>(writer.sections.size() - 1);
}

void put_section(output_t& out, const section_header_t& section) {
    put32(out, section.name);
    put32(out, section.type);
    put32(out, section.flags);
    put32(out, section.addr);
    put32(out, section.offset);
    put32(out, section.size);
    put32(out, section.link);
    put32(out, 0); // sh_info
    put32(out, 0); // sh_addralign
    put32(out, section.entsize);
}

void put_program(output_t& out, const program_header_t& program) {
    put32(out, program.type);
    put32(out, program.offset);
    put32(out, program.addr); // p_vaddr
    put32(out, program.addr); // p_paddr
    put32(out, program.filesz);
    put32(out, program.memsz);
    put32(out, 0); // p_flags
    put32(out, 0); // p_align
}

void fill_header(elf_writer_t& writer, uint32_t machine) {
    uint8_t* const p = writer.header.data();
    const int order = writer.run.big_endian;
    std::copy(ELF_MAGIC, ELF_MAGIC + 4, p);
    p[EI_CLASS] = ELFCLASS32;
    p[EI_DATA] = order == 1 ? ELFDATA2MSB : ELFDATA2LSB;
    p[EI_VERSION] = EV_CURRENT;
    p[EI_OSABI] = ELFOSABI_STANDALONE;
    write16(p + E_TYPE, ET_EXEC, order);
    write16(p + E_MACHINE, machine, order);
    write32(p + E_VERSION, EV_CURRENT, order);
    write32(p + E_ENTRY, writer.run.entry_point, order);
    write16(p + E_EHSIZE, ELF_HEADER_SIZE, order);
    write16(p + E_PHENTSIZE, ELF_PROGRAM_SIZE, order);
    write16(p + E_SHENTSIZE, ELF_SECTION_SIZE, order);
}

// ---- symbols

// A segment's symbols are sought by address, so ranges that overlap take a symbol more than once. A model with very
// many of these must not fill the memory: what goes beyond this is lost, with a message.
constexpr uint64_t symbol_room_base = 0x4000000;
constexpr uint64_t symbol_room_factor = 16;

uint64_t symbol_bytes(const symbol_t& symbol) { return ELF_SYMBOL_SIZE + symbol.name.size() + 1; }

void make_symbol_index(elf_writer_t& writer) {
    symbol_index_t& index = writer.index;
    writer.symbol_room = symbol_room_base;
    for (const file_t* const file : writer.run.model.files) {
        for (const symbol_t* const symbol : file->symbols) {
            writer.symbol_room += symbol_room_factor * symbol_bytes(*symbol);
            if (symbol->segment != 0) {
                index.by_value.push_back(static_cast<uint32_t>(index.symbols.size()));
                index.symbols.push_back(symbol);
            }
        }
    }
    std::sort(index.by_value.begin(), index.by_value.end(), [&](uint32_t a, uint32_t b) {
        const uint32_t value_a = index.symbols[a]->value;
        const uint32_t value_b = index.symbols[b]->value;
        return value_a != value_b ? value_a < value_b : a < b;
    });
}

// Those that belong to no segment.
std::vector<const symbol_t*> collect_symbols(const elf_writer_t& writer) {
    std::vector<const symbol_t*> symbols;
    for (const file_t* const file : writer.run.model.files) {
        std::copy_if(file->symbols.begin(), file->symbols.end(), std::back_inserter(symbols),
                     [](const symbol_t* symbol) { return symbol->segment == 0; });
    }
    return symbols;
}

// Those whose value lies in the segment, whatever segment they say themselves.
std::vector<const symbol_t*> collect_symbols(const elf_writer_t& writer, const segment_t& segment) {
    const symbol_index_t& index = writer.index;
    const auto below = [&](uint32_t position, uint32_t value) { return index.symbols[position]->value < value; };
    const uint32_t end = segment.addr + segment.size;
    if (end <= segment.addr) { // nothing lies in an empty segment, nor in one that wraps
        return {};
    }
    const auto from = std::lower_bound(index.by_value.begin(), index.by_value.end(), segment.addr, below);
    const auto to = std::lower_bound(from, index.by_value.end(), end, below);
    std::vector<uint32_t> positions(from, to);
    std::sort(positions.begin(), positions.end());
    std::vector<const symbol_t*> symbols;
    symbols.reserve(positions.size());
    for (const uint32_t position : positions) {
        symbols.push_back(index.symbols[position]);
    }
    return symbols;
}

// What a symbol is, by what the tree knows under its name.
uint8_t symbol_type(const elf_writer_t& writer, const symbol_t& symbol) {
    const auto found = writer.nodes.find(symbol.name);
    if (found == writer.nodes.end()) {
        return STT_NOTYPE;
    }
    const dsym_t& node = *found->second;
    switch (node.sclass) {
    case SC_EXTERN:
    case SC_GLOBAL:
    case SC_STATIC: return is_function_type(node.variable->type) ? STT_FUNC : STT_OBJECT;
    case SC_AUTO:
    case SC_PARAM: return STT_OBJECT;
    case SC_MODULE:
    case SC_NOSDB: return STT_SECTION;
    case SC_FUNC: return STT_FUNC;
    case SC_FILENAME: return STT_FILE;
    default: return STT_NOTYPE;
    }
}

void add_elf_symbol(elf_writer_t& writer, uint32_t section_index, const symbol_t& symbol) {
    const int order = writer.run.big_endian;
    const uint8_t binding = (symbol.flags & SYM_LOCAL) != 0 ? STB_LOCAL : STB_GLOBAL;
    uint8_t record[ELF_SYMBOL_SIZE] = {};
    write32(record + ST_NAME, elf_string(writer.strtab, symbol.name), order);
    write32(record + ST_VALUE, symbol.value, order);
    record[ST_INFO] = static_cast<uint8_t>(binding << 4 | symbol_type(writer, symbol));
    record[ST_OTHER] = writer.ext.symbol_other(symbol);
    write16(record + ST_SHNDX, section_index == 0 ? SHN_ABS : section_index, order);
    writer.symtab.append(reinterpret_cast<const char*>(record), ELF_SYMBOL_SIZE);
}

void add_elf_symbols(elf_writer_t& writer, uint32_t section_index, const std::vector<const symbol_t*>& symbols) {
    if (writer.symtab.empty()) {
        writer.symtab.resize(ELF_SYMBOL_SIZE);
    }
    for (const symbol_t* const symbol : symbols) {
        if (symbol_bytes(*symbol) > writer.symbol_room) {
            if (writer.symbol_room != 0) {
                alert(writer.run, 413, writer.name);
                writer.symbol_room = 0;
            }
            return;
        }
        writer.symbol_room -= symbol_bytes(*symbol);
        add_elf_symbol(writer, section_index, *symbol);
    }
}

// ---- sections of the image

// Blocks lie in the file as far apart as in memory. No file gets more than this of zeros for it.
constexpr uint64_t hole_limit = 0x10000000;

using block_lists_t = std::vector<std::vector<const block_t*>>;

// The blocks of each segment, by its index.
block_lists_t blocks_by_segment(const model_t& model) {
    block_lists_t lists(model.segments.count() + 1);
    for (const block_t* const block : model.blocks) {
        if (block->segment < lists.size()) {
            lists[block->segment].push_back(block);
        }
    }
    return lists;
}

// Writes a segment's blocks from `offset` on. Gives the number of bytes from the segment's start to the end of the last
// block; false if a block lies too far away.
bool put_blocks(elf_writer_t& writer, const segment_t& segment, const std::vector<const block_t*>& blocks,
                uint32_t offset, uint32_t& written) {
    uint32_t end = segment.load;
    for (const block_t* const block : blocks) {
        const uint32_t at = offset + block->addr - segment.load;
        if (uint64_t(at) + block->size > writer.file_limit) {
            return false;
        }
        seek(writer.out, at);
        put_bytes(writer.out, block->data, block->size);
        end = std::max(end, block->addr + block->size);
    }
    written = end - segment.load;
    return uint64_t(offset) + written <= writer.file_limit;
}

bool put_segment(elf_writer_t& writer, const segment_t& segment, const segment_t& space,
                 const std::vector<const block_t*>& blocks, uint32_t& offset) {
    const uint32_t addr = segment.addr / static_cast<uint32_t>(writer.ext.address_unit(writer.run, space));
    uint32_t written = 0;
    if (!put_blocks(writer, segment, blocks, offset, written)) {
        return false;
    }
    if (segment.size != 0) {
        writer.phdrs.push_back({PT_LOAD, offset, addr, written, segment.size});
    }
    section_header_t section;
    section.name = elf_string(writer.shstrtab, segment.name);
    section.type = written != 0 ? SHT_PROGBITS : SHT_NOBITS;
    section.flags = writer.ext.section_flags(writer.run, space, written);
    section.addr = addr;
    section.offset = offset;
    section.size = segment.size;
    const uint32_t section_index = add_section(writer, section);
    add_elf_symbols(writer, section_index, collect_symbols(writer, segment));
    offset += written;
    return true;
}

// A section for each segment in a space, the spaces themselves left out. Leaves the position behind the last one.
bool put_segments(elf_writer_t& writer) {
    const model_t& model = writer.run.model;
    const block_lists_t blocks = blocks_by_segment(model);
    uint32_t offset = ELF_HEADER_SIZE;
    for (uint32_t k = 0; k < model.segments.count(); ++k) {
        const segment_t& segment = *model.segments[k];
        const segment_t* const space = space_segment(model, segment);
        if (space == nullptr || space == &segment) {
            continue;
        }
        if (!put_segment(writer, segment, *space, blocks[k + 1], offset)) {
            return false;
        }
    }
    seek(writer.out, offset);
    return true;
}

// ---- the rest of the file

// A section that is neither code nor data: its bytes go to the present position.
section_header_t put_plain_section(elf_writer_t& writer, text_t name, uint32_t type, const std::string& bytes) {
    section_header_t section;
    section.name = elf_string(writer.shstrtab, name); // which may be `bytes`: the table holds its own name, too
    section.type = type;
    section.offset = static_cast<uint32_t>(writer.out.position);
    section.size = static_cast<uint32_t>(bytes.size());
    put_text(writer.out, bytes);
    return section;
}

void put_symbols(elf_writer_t& writer) {
    const uint32_t strtab = add_section(writer, put_plain_section(writer, ".strtab", SHT_STRTAB, writer.strtab));
    section_header_t section = put_plain_section(writer, ".symtab", SHT_SYMTAB, writer.symtab);
    section.entsize = ELF_SYMBOL_SIZE;
    section.link = strtab;
    add_section(writer, section);
}

void put_debug_sections(elf_writer_t& writer) {
    std::vector<debug_section_t> records;
    dwarf_write(writer.run, records);
    for (const debug_section_t& record : records) {
        const size_t from = writer.out.position;
        add_section(writer, put_plain_section(writer, record.name, writer.ext.debug_section_type, record.bytes));
        output_note(writer.out, from, writer.out.position, 621, record.name);
    }
}

void put_section_names(elf_writer_t& writer) {
    const section_header_t section = put_plain_section(writer, ".shstrtab", SHT_STRTAB, writer.shstrtab);
    write16(writer.header.data() + E_SHSTRNDX, add_section(writer, section), writer.run.big_endian);
}

void put_header_tables(elf_writer_t& writer) {
    uint8_t* const header = writer.header.data();
    const int order = writer.run.big_endian;
    write32(header + E_SHOFF, static_cast<uint32_t>(writer.out.position), order);
    write16(header + E_SHNUM, static_cast<uint32_t>(writer.sections.size()), order);
    for (const section_header_t& section : writer.sections) {
        put_section(writer.out, section);
    }
    const auto table = static_cast<uint32_t>(writer.out.position);
    const auto count = static_cast<uint32_t>(writer.phdrs.size());
    write32(header + E_PHOFF, table, order);
    write16(header + E_PHNUM, count, order);
    writer.phdrs[0] = {PT_PHDR, table, 0, ELF_PROGRAM_SIZE * count, ELF_PROGRAM_SIZE * count};
    for (const program_header_t& program : writer.phdrs) {
        put_program(writer.out, program);
    }
}

uint64_t image_bytes(const model_t& model) {
    uint64_t bytes = 0;
    for (const block_t* const block : model.blocks) {
        bytes += block->size;
    }
    return bytes;
}

} // namespace

bool elf_write(run_t& run, output_t& out, text_t name) {
    const uint32_t machine = choose_machine(run);
    const elf_ext_t* const ext = choose_extension(machine);
    if (ext == nullptr) {
        alert_text(run, "C", "ELF: Could not find valid extension");
        return false;
    }
    out.big_endian = run.big_endian;
    elf_writer_t writer{run, out, name, *ext};
    writer.nodes = make_dsym_finder(run);
    writer.file_limit = image_bytes(run.model) + hole_limit;
    make_symbol_index(writer);
    fill_header(writer, machine);
    seek(out, ELF_HEADER_SIZE);
    add_elf_symbols(writer, 0, collect_symbols(writer));
    if (!put_segments(writer)) {
        alert(run, 413, name);
        return false;
    }
    ext->finish_header(writer);
    put_symbols(writer);
    put_debug_sections(writer);
    put_section_names(writer);
    put_header_tables(writer);
    seek(out, 0);
    put_bytes(out, writer.header.data(), writer.header.size());
    return true;
}

} // namespace tavrel
