// The common ground of the COFF writers: headers, names, records, sections, and which lines belong to a function.
#include "formats/coff/coff_family_write.h"

#include <algorithm>
#include <cstring>

namespace tavrel {
namespace {

// What line records may amount to, a line of the model and in all. Far more than any program needs, but functions that
// all claim the same lines, or lines that span many addresses, could ask for records without end.
constexpr uint64_t records_a_line = 32;
constexpr uint64_t records_at_least = uint64_t(1) << 22;

uint32_t low16(uint32_t value) { return value & 0xFFFF; }

} // namespace

// ---- headers

void put_file_header(run_t& run, output_t& out, const coff_out_header_t& header) {
    seek(out, 0);
    put8(out, header.magic >> 8);
    put8(out, header.magic & 0xFF);
    put16(out, low16(header.section_count));
    put32(out, static_cast<uint32_t>(now(run.host)));
    put32(out, header.symptr);
    put32(out, header.nsyms);
    put16(out, header.opthdr);
    put16(out, header.flags);
}

void put_section_header(output_t& out, const coff_out_section_t& section) {
    put_bytes(out, section.name.data(), section.name.size());
    put32(out, section.paddr);
    put32(out, section.vaddr);
    put32(out, section.size);
    put32(out, section.scnptr);
    put32(out, 0); // s_relptr
    put32(out, section.lnnoptr);
    put16(out, 0); // s_nreloc
    put16(out, low16(section.nlnno));
    put32(out, section.flags);
}

coff_name_t cut_name(text_t name) {
    coff_name_t field = {};
    std::copy_n(name.begin(), std::min(name.size(), field.size()), field.begin());
    return field;
}

// ---- names and records

coff_writer_t::coff_writer_t(run_t& of_run, output_t& to, text_t output_name, const coff_rules_t& with_rules,
                             uint32_t& unnamed)
    : run(of_run), out(to), name(output_name), rules(with_rules), coff_unnamed(unnamed), coff_tags(type_map_new(run)),
      blocks(make_block_finder(run.model)), segments(make_segment_finder(run.model)),
      line_room(records_at_least + records_a_line * run.model.lines.count()) {
    for (const file_t* const file : run.model.files) {
        files.emplace(file->name, file);
    }
    code_space.push_back(0);
    code_count.push_back(0);
    for (const segment_t* const segment : run.model.segments) {
        code_space.push_back(is_code_space_name(run, segment->name) ? 1 : 0);
    }
    for (const segment_t* const segment : run.model.segments) {
        code_count.push_back(code_count.back() + (is_code_space(*this, segment->space) ? 1 : 0));
    }
}

uint32_t add_coff_string(coff_writer_t& writer, text_t text) {
    coff_strings_t& strings = writer.coff_strings;
    if (const auto known = strings.offsets.find(text); known != strings.offsets.end()) {
        return known->second;
    }
    const text_t copy = strings.texts.add(text);
    strings.in_order.push_back(copy);
    const uint32_t offset = strings.size;
    strings.offsets.emplace(copy, offset);
    strings.size += static_cast<uint32_t>(copy.size()) + 1;
    return offset;
}

void set_coff_name(coff_writer_t& writer, uint8_t* field, text_t name) {
    std::string made;
    if (is_none(name)) {
        made = format_text(".u%d", writer.coff_unnamed++);
        name = made;
    }
    if (name.size() <= coff_name_size) {
        const coff_name_t whole = cut_name(name);
        std::memcpy(field, whole.data(), whole.size());
    } else {
        std::memset(field, 0, coff_name_size / 2);
        write32(field + coff_name_size / 2, add_coff_string(writer, name), writer.out.big_endian);
    }
}

uint32_t symbol_count(const coff_writer_t& writer) {
    return static_cast<uint32_t>(writer.coff_symbols.size() / writer.rules.shape.symbol_size);
}

uint8_t* record_at(coff_writer_t& writer, uint32_t index) {
    return writer.coff_symbols.data() + size_t(index) * writer.rules.shape.symbol_size;
}

void set_record32(coff_writer_t& writer, uint32_t index, uint32_t at, uint32_t value) {
    write32(record_at(writer, index) + at, value, writer.out.big_endian);
}

namespace {

// A record of zeros.
uint32_t add_record(coff_writer_t& writer) {
    const uint32_t index = symbol_count(writer);
    writer.coff_symbols.resize(writer.coff_symbols.size() + writer.rules.shape.symbol_size);
    return index;
}

} // namespace

uint32_t add_coff_symbol(coff_writer_t& writer, const coff_out_symbol_t& symbol) {
    const coff_shape_t& shape = writer.rules.shape;
    const int order = writer.out.big_endian;
    const uint32_t index = add_record(writer);
    uint8_t* const record = record_at(writer, index);
    std::memcpy(record + coff_at::n_name, symbol.name.data(), symbol.name.size());
    write32(record + coff_at::n_value, symbol.value, order);
    write16(record + coff_at::n_scnum, static_cast<uint32_t>(symbol.scnum), order);
    if (shape.type_size == 4) {
        write32(record + coff_at::n_type, symbol.type, order);
    } else {
        write16(record + coff_at::n_type, symbol.type, order);
    }
    record[shape.n_sclass] = static_cast<uint8_t>(symbol.sclass);
    record[shape.n_numaux] = static_cast<uint8_t>(symbol.numaux);
    return index;
}

uint32_t add_coff_aux(coff_writer_t& writer, const coff_out_aux_t& aux) {
    const int order = writer.out.big_endian;
    const uint32_t index = add_record(writer);
    uint8_t* const record = record_at(writer, index);
    write32(record + coff_at::x_tagndx, aux.tagndx, order);
    write16(record + coff_at::x_lnno, aux.lnno, order);
    write16(record + coff_at::x_size, aux.size, order);
    for (uint32_t k = 0; k < coff_dimensions; ++k) {
        write16(record + coff_at::x_dimen + 2 * k, aux.dimen[k], order);
    }
    return index;
}

coff_out_symbol_t coff_mark(coff_writer_t& writer, text_t name, uint32_t sclass, uint32_t value, int32_t scnum) {
    coff_out_symbol_t mark;
    set_coff_name(writer, mark.name.data(), name);
    mark.value = value;
    mark.scnum = scnum;
    mark.sclass = sclass;
    return mark;
}

uint32_t add_line_mark(coff_writer_t& writer, const coff_out_symbol_t& mark, uint32_t line) {
    coff_out_symbol_t symbol = mark;
    symbol.numaux = 1;
    const uint32_t index = add_coff_symbol(writer, symbol);
    coff_out_aux_t aux;
    aux.lnno = line;
    add_coff_aux(writer, aux);
    return index;
}

uint32_t add_typed(coff_writer_t& writer, coff_out_symbol_t symbol, const coff_typed_t& typed) {
    symbol.numaux = typed.has_aux ? 1 : 0;
    const uint32_t index = add_coff_symbol(writer, symbol);
    if (typed.has_aux) {
        add_coff_aux(writer, typed.aux);
    }
    return index;
}

// ---- what the walks of both have in common

std::vector<dsym_t*> tree_modules(const run_t& run) {
    std::vector<dsym_t*> modules;
    if (run.global_block != nullptr) {
        for (dsym_t* const node : run.global_block->scope->members) {
            if (node->sclass == SC_MODULE) {
                modules.push_back(node);
            }
        }
    }
    return modules;
}

std::vector<const symbol_t*> listed_symbols(const run_t& run) {
    std::vector<const symbol_t*> symbols;
    for (const file_t* const file : run.model.files) {
        std::copy_if(file->symbols.begin(), file->symbols.end(), std::back_inserter(symbols),
                     [](const symbol_t* symbol) { return is_listed(*symbol); });
    }
    return symbols;
}

void mark_described(run_t& run, text_t name) {
    if (symbol_t* const symbol = find_symbol(run.model, name); symbol != nullptr) {
        symbol->flags |= SYM_DESCRIBED;
    }
}

std::string source_path(const run_t& run, text_t name) {
    std::string path = apply_pathspec(run, name);
    std::replace(path.begin(), path.end(), '/', '\\');
    return path;
}

const file_t* named_file(const coff_writer_t& writer, text_t name) {
    const auto file = is_none(name) ? writer.files.end() : writer.files.find(name);
    return file == writer.files.end() ? nullptr : file->second;
}

// ---- sections

bool is_code_space(const coff_writer_t& writer, uint32_t index) {
    return index < writer.code_space.size() && writer.code_space[index] != 0;
}

namespace {

void set_section_name(coff_writer_t& writer, coff_out_section_t& section, text_t name) {
    if (writer.rules.long_section_names) {
        set_coff_name(writer, section.name.data(), name);
    } else {
        section.name = cut_name(name);
    }
}

// A section named like the segment, with the number of segments of that name before it behind the name if there are
// any.
coff_out_section_t data_section(coff_writer_t& writer, const segment_t& segment, uint32_t namesakes) {
    coff_out_section_t section;
    const std::string name = namesakes == 0 ? std::string(segment.name) : format_text("%s.%d", segment.name, namesakes);
    set_section_name(writer, section, name);
    section.paddr = segment.addr / writer.rules.ram_unit;
    section.size = segment.size;
    section.flags = STYP_BSS;
    return section;
}

void add_data_sections(coff_writer_t& writer) {
    std::unordered_map<text_t, uint32_t> namesakes;
    for (const segment_t* const segment : writer.run.model.segments) {
        const uint32_t before = namesakes[segment->name]++;
        if (!is_code_space(writer, segment->space)) {
            writer.sections.push_back(data_section(writer, *segment, before));
        }
    }
}

void write_text_section(coff_writer_t& writer, const block_t& block, uint32_t number) {
    coff_out_section_t section;
    set_section_name(writer, section, format_text("_text%d", number));
    section.paddr = block.addr / writer.rules.rom_unit;
    section.size = block.size;
    section.scnptr = writer.position;
    section.flags = STYP_TEXT;
    writer.sections.push_back(section);
    put_bytes(writer.out, block.data, block.size);
    writer.position += block.size;
}

uint32_t headers_at(const coff_writer_t& writer) { return coff_file_header_size + writer.rules.optional_size; }

} // namespace

void write_sections(coff_writer_t& writer) {
    const model_t& model = writer.run.model;
    for (uint32_t k = 0; k < writer.rules.absolute_sections; ++k) {
        coff_out_section_t absolute;
        absolute.name = cut_name("ABS");
        absolute.flags = STYP_ABS;
        writer.sections.push_back(absolute);
    }
    add_data_sections(writer);
    writer.first_text = static_cast<uint32_t>(writer.sections.size());
    writer.position = headers_at(writer) + coff_section_header_size * (writer.first_text + model.blocks.count()) +
                      writer.rules.gap * model.segments.count();
    seek(writer.out, writer.position);
    for (uint32_t k = 0; k < model.blocks.count(); ++k) {
        write_text_section(writer, *model.blocks[k], k);
    }
}

uint32_t section_of(const coff_writer_t& writer, const location_t& location) {
    const coff_rules_t& rules = writer.rules;
    if (is_code_space(writer, location.segment)) {
        const uint32_t block = find_block_at(writer.blocks, location.value * rules.rom_unit);
        return block == 0 ? location.segment + rules.absolute_sections : writer.first_text + block;
    }
    const uint32_t segment = find_segment_at(writer.segments, location, rules.ram_unit);
    const size_t in_table = std::min<size_t>(segment, writer.code_count.size() - 1);
    return segment - writer.code_count[in_table] + rules.absolute_sections;
}

// ---- lines

bool take_line_room(coff_writer_t& writer, uint64_t count) {
    if (count <= writer.line_room) {
        writer.line_room -= count;
        return true;
    }
    writer.line_room = 0;
    if (!writer.lines_lost) {
        writer.lines_lost = true;
        alert(writer.run, 413, writer.name);
    }
    return false;
}

namespace {

struct class_range_t {
    uint32_t low, high; // both in it
};

std::vector<class_range_t> ranges_of(const model_t& model, std::span<const text_t> classes) {
    std::vector<class_range_t> ranges;
    for (const text_t name : classes) {
        if (const class_t* const found = find_class(model, name); found != nullptr) {
            ranges.push_back({found->low, found->high});
        }
    }
    return ranges;
}

// The lines of one file that may join a function, by number.
std::vector<line_t*> joining_lines(const coff_writer_t& writer, const file_t& file,
                                   const std::vector<class_range_t>& excluded) {
    std::vector<line_t*> lines;
    for (line_t* const line : file.lines) {
        const bool outside = std::none_of(excluded.begin(), excluded.end(), [&](const class_range_t& range) {
            return range.low <= line->start && line->start <= range.high;
        });
        if (is_code_space(writer, line->segment) && outside) {
            lines.push_back(line);
        }
    }
    return lines;
}

void join_lines(coff_writer_t& writer, scope_t& scope, const std::vector<line_t*>& lines) {
    const auto first = std::lower_bound(lines.begin(), lines.end(), scope.first_line,
                                        [](const line_t* line, uint32_t number) { return line->number < number; });
    for (auto at = first; at != lines.end() && (*at)->number <= scope.last_line; ++at) {
        if (!take_line_room(writer, 1)) {
            return;
        }
        vector_add(scope.writer_list, *at);
    }
}

} // namespace

void attach_lines(coff_writer_t& writer, std::span<const text_t> excluded_classes) {
    const std::vector<class_range_t> excluded = ranges_of(writer.run.model, excluded_classes);
    std::unordered_map<const file_t*, std::vector<line_t*>> joining;
    for (dsym_t* const node : writer.coff_functions) {
        scope_t& scope = *node->scope;
        if (scope.first_line == 0) {
            continue;
        }
        if (scope.last_line == 0) {
            scope.last_line = scope.first_line;
        }
        const file_t* const file = named_file(writer, scope.file);
        if (file == nullptr) {
            continue;
        }
        const auto [lines, fresh] = joining.try_emplace(file);
        if (fresh) {
            lines->second = joining_lines(writer, *file, excluded);
        }
        join_lines(writer, scope, lines->second);
    }
}

location_t function_location(const dsym_t& function) {
    const dsym_t* const variable = function.scope->func;
    return variable == nullptr ? location_t() : variable->variable->location;
}

std::unordered_map<uint32_t, std::vector<dsym_t*>> functions_by_section(const coff_writer_t& writer) {
    std::unordered_map<uint32_t, std::vector<dsym_t*>> functions;
    for (dsym_t* const node : writer.coff_functions) {
        if (!node->scope->writer_list.empty()) {
            functions[section_of(writer, function_location(*node))].push_back(node);
        }
    }
    return functions;
}

// ---- closing

namespace {

void put_strings(coff_writer_t& writer) {
    put32(writer.out, writer.coff_strings.size);
    for (const text_t text : writer.coff_strings.in_order) {
        put_bytes(writer.out, text.data(), text.size() + 1);
    }
}

} // namespace

void close_coff(coff_writer_t& writer, uint32_t f_flags) {
    output_t& out = writer.out;
    seek(out, writer.position);
    put_bytes(out, writer.coff_symbols.data(), writer.coff_symbols.size());
    put_strings(writer);
    coff_out_header_t header;
    header.magic = writer.rules.magic;
    header.section_count = static_cast<uint32_t>(writer.sections.size());
    header.symptr = writer.position;
    header.nsyms = symbol_count(writer);
    header.opthdr = writer.rules.optional_size;
    header.flags = f_flags;
    put_file_header(writer.run, out, header);
    seek(out, headers_at(writer));
    for (const coff_out_section_t& section : writer.sections) {
        put_section_header(out, section);
    }
}

} // namespace tavrel
