// The ICOFF writer. It knows no types and no scopes: segments with their bytes, line records by section, symbols by
// file, and a sorted string table.
#include <algorithm>

#include "formats/coff/coff_family_write.h"
#include "formats/coff/icoff.h"
#include "formats/coff/icoff_layout.h"

namespace tavrel {
namespace {

// A section's room in the file follows from the segment's size and the blocks' addresses, not from the bytes there are.
// More than so many bytes beyond a multiple of these are not made out of nothing.
constexpr uint64_t room_at_least = uint64_t(1) << 28;
constexpr uint64_t room_a_byte = 4;

// A line that a section holds, and the file whose line it is.
struct section_line_t {
    const file_t* file;
    const line_t* line;
};

struct icoff_writer_t {
    run_t& run;
    output_t& out;
    std::vector<coff_out_section_t> sections;
    uint64_t position = 0; // in the file, where the next part goes
    uint64_t data_end = 0; // behind the last byte of any block
    std::unordered_map<text_t, uint32_t> names;
    std::vector<text_t> sorted_names;
};

// Elements by segment index, 1-based; those of no segment in the table are left out.
template <class T>
std::vector<std::vector<T>> by_segment(const model_t& model) {
    return std::vector<std::vector<T>>(model.segments.count() + 1);
}

// ---- sections

uint32_t section_flags(const segment_t& segment, bool has_data) {
    if (!has_data) {
        return 0x4000 | STYP_BSS;
    }
    return 0x4000 | (str_istr(segment.name, "text") != text_t::npos ? STYP_TEXT : STYP_DATA);
}

void lay_out_section(icoff_writer_t& writer, const segment_t& segment, const std::vector<const block_t*>& blocks) {
    coff_out_section_t section;
    section.name = cut_name(segment.name);
    section.paddr = section.vaddr = segment.addr;
    section.size = segment.size;
    section.scnptr = static_cast<uint32_t>(writer.position);
    const uint64_t start = writer.position;
    for (const block_t* const block : blocks) {
        writer.position += block->size;
        if (block->addr >= segment.addr) {
            writer.data_end = std::max(writer.data_end, start + (block->addr - segment.addr) + block->size);
        }
    }
    const bool has_data = writer.position != start;
    if (has_data) {
        writer.position = std::max(writer.position, start + segment.size);
    }
    section.flags = section_flags(segment, has_data);
    writer.sections.push_back(section);
}

// A block stands where its address says, seen from the run address of its segment; below that it has no place.
void write_block(icoff_writer_t& writer, const coff_out_section_t& section, const block_t& block) {
    if (block.addr >= section.paddr) {
        seek(writer.out, size_t(section.scnptr) + (block.addr - section.paddr));
        put_bytes(writer.out, block.data, block.size);
    }
}

// False, behind message 413, if the file would be out of proportion to the image.
bool write_sections(icoff_writer_t& writer, text_t name) {
    const model_t& model = writer.run.model;
    auto blocks = by_segment<const block_t*>(model);
    uint64_t image = 0;
    for (const block_t* const block : model.blocks) {
        image += block->size;
        if (block->segment < blocks.size()) {
            blocks[block->segment].push_back(block);
        }
    }
    writer.position = coff_file_header_size + uint64_t(coff_section_header_size) * model.segments.count();
    for (uint32_t k = 0; k < model.segments.count(); ++k) {
        lay_out_section(writer, *model.segments[k], blocks[k + 1]);
    }
    const uint64_t room = std::min(room_at_least + room_a_byte * image, uint64_t(UINT32_MAX));
    if (std::max(writer.position, writer.data_end) > room) {
        alert(writer.run, 413, name);
        return false;
    }
    for (uint32_t k = 0; k < model.segments.count(); ++k) {
        for (const block_t* const block : blocks[k + 1]) {
            write_block(writer, writer.sections[k], *block);
        }
    }
    return true;
}

// ---- lines

// Each file with symbols has a record in front of them.
void number_files(icoff_writer_t& writer) {
    uint32_t index = 0;
    for (file_t* const file : writer.run.model.files) {
        if (file->symbol_count != 0) {
            file->out_index = index;
            index += file->symbol_count + 1;
        }
    }
}

void put_line(output_t& out, uint32_t address, uint32_t number) {
    put32(out, address);
    put16(out, number & 0xFFFF);
}

uint32_t write_section_lines(output_t& out, const std::vector<section_line_t>& lines) {
    uint32_t count = 0;
    const file_t* last = nullptr;
    for (const section_line_t& entry : lines) {
        if (entry.file != last) {
            put_line(out, entry.file->symbol_count == 0 ? 0 : entry.file->out_index, 0);
            ++count;
            last = entry.file;
        }
        put_line(out, entry.line->start, entry.line->number);
        ++count;
    }
    return count;
}

void write_lines(icoff_writer_t& writer) {
    const model_t& model = writer.run.model;
    auto lines = by_segment<section_line_t>(model);
    for (const file_t* const file : model.files) {
        for (const line_t* const line : file->lines) {
            if (line->segment < lines.size()) {
                lines[line->segment].push_back({file, line});
            }
        }
    }
    seek(writer.out, writer.position);
    for (uint32_t k = 0; k < writer.sections.size(); ++k) {
        coff_out_section_t& section = writer.sections[k];
        section.lnnoptr = static_cast<uint32_t>(writer.position);
        section.nlnno = write_section_lines(writer.out, lines[k + 1]);
        writer.position += uint64_t(icoff_line_size) * section.nlnno;
    }
}

// ---- symbols and strings

void collect_names(icoff_writer_t& writer) {
    std::vector<text_t>& names = writer.sorted_names;
    for (const file_t* const file : writer.run.model.files) {
        names.push_back(file->name);
        for (const symbol_t* const symbol : file->symbols) {
            names.push_back(symbol->name);
        }
    }
    std::sort(names.begin(), names.end()); // text_t compares unsigned bytes
    names.erase(std::unique(names.begin(), names.end()), names.end());
    uint32_t offset = 1; // behind the zero byte
    for (const text_t name : names) {
        writer.names.emplace(name, offset);
        offset += static_cast<uint32_t>(name.size()) + 1;
    }
}

void put_symbol(icoff_writer_t& writer, text_t name, uint32_t value, uint32_t section, uint32_t iclass, uint32_t type) {
    const auto known = writer.names.find(name);
    if (known == writer.names.end()) {
        alert(writer.run, 626);
    }
    put32(writer.out, known == writer.names.end() ? 0 : known->second);
    put32(writer.out, value);
    put32(writer.out, 0);
    put32(writer.out, section);
    put8(writer.out, iclass);
    put8(writer.out, type);
}

// Gives the number of records.
uint32_t write_symbols(icoff_writer_t& writer) {
    uint32_t count = 0;
    for (const file_t* const file : writer.run.model.files) {
        if (file->symbols.empty()) {
            continue;
        }
        put_symbol(writer, file->name, 0, 0, I_FILE, 0);
        for (const symbol_t* const symbol : file->symbols) {
            put_symbol(writer, symbol->name, symbol->value,
                       (symbol->flags & SYM_ABS) != 0 ? uint32_t(N_ABS) : symbol->segment,
                       (symbol->flags & SYM_LOCAL) != 0 ? I_LOCAL : I_GLOBAL,
                       (symbol->flags & SYM_LABEL) != 0 ? icoff_type_label : 0);
        }
        count += static_cast<uint32_t>(file->symbols.size()) + 1;
    }
    return count;
}

void write_strings(icoff_writer_t& writer) {
    put8(writer.out, 0);
    for (const text_t name : writer.sorted_names) {
        put_text(writer.out, name);
        put8(writer.out, 0);
    }
}

void write_headers(icoff_writer_t& writer, uint32_t symbols) {
    const icoff_row_t& row = icoff_rows[writer.run.formats.icoff_row];
    coff_out_header_t header;
    header.magic = row.magic;
    header.section_count = static_cast<uint32_t>(writer.sections.size());
    header.symptr = static_cast<uint32_t>(writer.position);
    header.nsyms = symbols;
    header.flags = row.flags | F_RELFLG | F_EXEC | F_NEWSYMS;
    put_file_header(writer.run, writer.out, header);
    for (const coff_out_section_t& section : writer.sections) {
        put_section_header(writer.out, section);
    }
}

} // namespace

bool icoff_write(run_t& run, output_t& out, text_t name) {
    if (run.formats.icoff_row == 0) {
        run.formats.icoff_row = 1;
        run.big_endian = icoff_rows[1].big_endian;
    }
    out.big_endian = run.big_endian;
    icoff_writer_t writer{run, out, {}, 0, 0, {}, {}};
    if (!write_sections(writer, name)) {
        return true;
    }
    number_files(writer);
    write_lines(writer);
    collect_names(writer);
    const uint32_t symbols = write_symbols(writer);
    write_strings(writer);
    write_headers(writer, symbols);
    return true;
}

} // namespace tavrel
