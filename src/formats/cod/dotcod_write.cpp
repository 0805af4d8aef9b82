// Writes the model as a COD file: memory map, code pages, lines, file names, short symbols, long symbols, local
// variables, one table after the other in one pass from block 1 upwards; the directory is filled on the way and written
// last, over block 0.
//
// The format is older than what it describes here: image, lines and short symbols know 16-bit addresses, and names of
// 12 characters. Whatever does not fit is cut, and the long symbols carry full names and values beside it. The line
// table walks the source line by line, lines without code too, and gives a line one record for each address of its
// code.
#include <algorithm>
#include <array>
#include <cstring>
#include <vector>

#include "debug/machine.h"
#include "debug/tree.h"
#include "formats/cod/dotcod.h"
#include "formats/cod/dotcod_layout.h"

namespace tavrel {
namespace {

// No 16-bit address space holds a longer line.
constexpr uint32_t line_length_max = 65536;
// Lines may lead far beyond what the directory can name, but not without end.
constexpr uint32_t line_block_end = 8 * (cod_block_max + 1);

constexpr size_t long_name_max = 255;
constexpr size_t function_name_max = 126; // in front of a local variable written as a global

constexpr text_t compiler_text = "NORVANE";
constexpr text_t notice_text = "Copyright (C) 2010 Norvane Software";

// A scope with local variables.
struct cod_scope_t {
    uint32_t start = 0; // code addresses
    uint32_t end = 0;
    std::vector<const dsym_t*> vars;
};

// A line or a symbol on its way to the line table.
struct cod_item_t {
    const line_t* line; // null for a symbol
    uint32_t addr;
    uint32_t length; // addresses from here to the next line
    uint32_t file;   // of a line, as is the number: at hand for the sort
    uint32_t number;
};

struct cod_writer_t {
    run_t& run;
    output_t& out;
    text_t name;                                     // of the output
    std::array<uint8_t, cod_block_size> directory{}; // cod_directory
    std::array<uint8_t, cod_block_size> buffer{};    // the block being filled
    uint32_t used = 0;                               // bytes of it in use
    uint32_t block = 1;                              // number of the next block written
    std::vector<text_t> source_names;                // file name table, in order of first use
    std::vector<const symbol_t*> labels;             // linker-level symbols
    std::vector<const dsym_t*> globals;              // resolved externals
    std::vector<cod_scope_t> scopes;
};

// ---- blocks and fields

void write_block(cod_writer_t& writer) {
    put_bytes(writer.out, writer.buffer.data(), cod_block_size);
    ++writer.block;
    writer.buffer.fill(0);
    writer.used = 0;
}

void finish_block(cod_writer_t& writer) {
    if (writer.used != 0) {
        write_block(writer);
    }
}

// Room for one record, zeros; records of one size fill `per_block` places of a block.
uint8_t* next_record(cod_writer_t& writer, uint32_t size, uint32_t per_block) {
    if (writer.used == size * per_block) {
        write_block(writer);
    }
    uint8_t* const record = writer.buffer.data() + writer.used;
    writer.used += size;
    return record;
}

void put_field(cod_writer_t& writer, uint32_t at, uint32_t value) { write16(writer.directory.data() + at, value, 0); }

// A counted string in a zeroed field of `width` bytes, its length byte included.
void put_counted(uint8_t* field, text_t text, uint32_t width) {
    text = text.substr(0, width - 1);
    field[0] = static_cast<uint8_t>(text.size());
    std::copy(text.begin(), text.end(), field + 1);
}

// Ends a table that began at block `first`: an empty one leaves its fields at 0.
void close_table(cod_writer_t& writer, uint32_t first, uint32_t first_field, uint32_t last_field) {
    finish_block(writer);
    if (writer.block != first) {
        put_field(writer, first_field, first);
        put_field(writer, last_field, writer.block - 1);
    }
}

text_t output_name(const cod_writer_t& writer, text_t name) {
    return drop_underscore(name, writer.run.strip_underscore);
}

// ---- directory, memory map, code pages

// DDMonYY, the day blank-padded.
std::string date_field(const std::tm& time) {
    constexpr const char* months[12] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                        "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
    const int year = ((time.tm_year + 1900) % 100 + 100) % 100;
    return format_text("%2d%s%02d", time.tm_mday, months[time.tm_mon], year);
}

void start_directory(cod_writer_t& writer) {
    uint8_t* const directory = writer.directory.data();
    const std::tm time = now_calendar(writer.run.host);
    put_counted(directory + cod_at::source, writer.name, cod_source_width);
    put_counted(directory + cod_at::date, date_field(time), cod_date_width);
    put_field(writer, cod_at::time, static_cast<uint32_t>(time.tm_hour * 100 + time.tm_min));
    put_counted(directory + cod_at::compiler, compiler_text, cod_compiler_width);
    put_counted(directory + cod_at::notice, notice_text, cod_notice_width);
    put_counted(directory + cod_at::processor, writer.run.processor_name, cod_processor_width);
    put_field(writer, cod_at::cod_type_field, 1);
}

void write_memory_map(cod_writer_t& writer) {
    const uint32_t first = writer.block;
    for (const block_t* const block : writer.run.model.blocks) {
        uint8_t* const entry = next_record(writer, cod_map_entry_size, cod_map_entries);
        write16(entry + cod_at::map_first, block->addr, 0);
        write16(entry + cod_at::map_last, block->addr + block->size - 1, 0);
    }
    close_table(writer, first, cod_at::memmap_first, cod_at::memmap_last);
}

// Pages beyond the code index are written too, though nothing names them.
void write_page(cod_writer_t& writer, uint32_t page) {
    if (page < cod_code_pages) {
        put_field(writer, cod_at::code_index + 2 * page, writer.block);
    }
    write_block(writer);
}

void write_code(cod_writer_t& writer) {
    constexpr uint32_t no_page = 0xFFFFFFFF;
    uint32_t open_page = no_page;
    for (const block_t* const block : writer.run.model.blocks) {
        for (uint32_t done = 0; done < block->size;) {
            const uint32_t addr = block->addr + done;
            const uint32_t page = addr / cod_block_size;
            const uint32_t at = addr % cod_block_size;
            const uint32_t piece = std::min(block->size - done, cod_block_size - at);
            if (open_page != no_page && open_page != page) {
                write_page(writer, open_page);
            }
            open_page = page;
            std::memcpy(writer.buffer.data() + at, block->data + done, piece);
            done += piece;
        }
    }
    if (open_page != no_page) {
        write_page(writer, open_page);
    }
}

// ---- line table

template <class T>
int order(T a, T b) {
    return a < b ? -1 : a > b ? 1 : 0;
}

// By address; at one address lines come before symbols, and lines go by number.
constexpr auto compare_addresses = [](const cod_item_t& a, const cod_item_t& b) {
    if (a.addr != b.addr) {
        return order(a.addr, b.addr);
    }
    if (a.line == nullptr || b.line == nullptr) {
        return order(a.line == nullptr, b.line == nullptr);
    }
    return order(a.number, b.number);
};

// Symbols first, all alike; then lines by file and number.
constexpr auto compare_lines = [](const cod_item_t& a, const cod_item_t& b) {
    if (a.line == nullptr || b.line == nullptr) {
        return order(a.line != nullptr, b.line != nullptr);
    }
    return a.file != b.file ? order(a.file, b.file) : order(a.number, b.number);
};

// Lines with the addresses from each to the next line, in the order of the table. A symbol behind a line cuts it to one
// address.
std::vector<cod_item_t> make_items(const model_t& model) {
    std::vector<cod_item_t> items;
    for (const file_t* const file : model.files) {
        for (const line_t* const line : file->lines) {
            items.push_back({line, line->start, 0, line->file, line->number});
        }
        for (const symbol_t* const symbol : file->symbols) {
            items.push_back({nullptr, symbol->value, 0, 0, 0});
        }
    }
    sort_array(items.data(), items.size(), compare_addresses);
    for (size_t k = 1; k < items.size(); ++k) {
        items[k - 1].length = items[k].line != nullptr ? items[k].addr - items[k - 1].addr : 0;
    }
    sort_array(items.data(), items.size(), compare_lines);
    return items;
}

void put_line(cod_writer_t& writer, uint8_t smod, uint32_t number, uint32_t addr) {
    uint8_t* const record = next_record(writer, cod_line_size, cod_lines_per_block);
    record[cod_at::line_file] = static_cast<uint8_t>(writer.source_names.size() - 1);
    record[cod_at::line_smod] = smod;
    write16(record + cod_at::line_number, number, 0);
    write16(record + cod_at::line_addr, addr, 0);
    if (writer.used == cod_line_size * cod_lines_per_block) {
        write_block(writer); // at once: put_gap looks at the block that the next record goes to
    }
}

// The lines between two that have entries. A gap that leads beyond the last block that can be named ends there.
void put_gap(cod_writer_t& writer, uint32_t from, uint32_t to) {
    for (uint32_t number = from; number < to; ++number) {
        if (writer.block > cod_block_max) {
            alert(writer.run, 413, writer.name);
            return;
        }
        put_line(writer, COD_SMOD_GAP, number, 0);
    }
}

void put_line_code(cod_writer_t& writer, const cod_item_t& item) {
    if (item.length > line_length_max) {
        alert(writer.run, 413, writer.name);
    }
    const uint32_t length = std::min(item.length, line_length_max);
    put_line(writer, COD_SMOD_CODE, item.number, item.addr);
    for (uint32_t k = 1; k < length; ++k) {
        put_line(writer, COD_SMOD_FURTHER, item.number, item.addr + k);
    }
}

void write_lines(cod_writer_t& writer) {
    const uint32_t first = writer.block;
    const uint32_t code_segment = find_segment_index(writer.run.model, "CODE");
    uint32_t current_file = 0;
    uint32_t last_number = 0;
    for (const cod_item_t& item : make_items(writer.run.model)) {
        if (item.line == nullptr) {
            continue;
        }
        if (writer.block > line_block_end) {
            alert(writer.run, 413, writer.name);
            break;
        }
        // Items are sorted by file, so each file begins once.
        if (item.file != current_file) {
            current_file = item.file;
            last_number = 0;
            writer.source_names.push_back(writer.run.model.files[current_file - 1]->name);
            put_line(writer, COD_SMOD_FILE, 0, 0);
        }
        if (item.number > last_number) {
            put_gap(writer, last_number + 1, item.number);
        }
        last_number = item.number;
        if (code_segment != 0 && item.line->segment == code_segment) {
            put_line_code(writer, item);
        }
    }
    close_table(writer, first, cod_at::lsttab_first, cod_at::lsttab_last);
}

void write_file_names(cod_writer_t& writer) {
    const uint32_t first = writer.block;
    for (const text_t name : writer.source_names) {
        uint8_t* const record = next_record(writer, cod_file_size, cod_files_per_block);
        put_counted(record, name, cod_file_size - 1);
    }
    close_table(writer, first, cod_at::namtab_first, cod_at::namtab_last);
}

// ---- what the tree and the linker know

// A code address for a source line: of its own entry, or from the neighbours of the place where it would stand.
uint32_t line_address(const file_t& file, uint32_t number) {
    const auto next = std::upper_bound(file.lines.begin(), file.lines.end(), number,
                                       [](uint32_t wanted, const line_t* line) { return wanted < line->number; });
    if (next == file.lines.begin()) {
        return 0;
    }
    const line_t& entry = **(next - 1);
    if (entry.number == number) {
        return entry.start;
    }
    return next != file.lines.end() ? (*next)->start - 1 : entry.start + 1;
}

// What is said of one member of a scope; a variable without a type is passed over.
void collect_variable(cod_writer_t& writer, dsym_t* node, const scope_cursor_t& cursor, cod_scope_t& scope) {
    location_t location;
    if (node->variable->type == nullptr || !resolve_location(writer.run, node, cursor, location)) {
        return;
    }
    if (node->sclass != SC_EXTERN) {
        scope.vars.push_back(node);
        return;
    }
    writer.globals.push_back(node);
    if (symbol_t* const symbol = find_symbol(writer.run.model, node->name); symbol != nullptr) {
        symbol->flags |= SYM_DESCRIBED;
    }
}

bool is_kept(const cod_writer_t& writer, const cod_scope_t& scope, bool of_function) {
    if (scope.vars.empty() || scope.start == 0) {
        return false;
    }
    return !writer.run.fake_locals || (of_function && scope.vars.size() > 1);
}

// A scope comes before the scopes within it.
void collect_scope(cod_writer_t& writer, const dsym_t* node) {
    const scope_t& members = *node->scope;
    cod_scope_t scope;
    if (const file_t* const file = find_file(writer.run.model, members.file); file != nullptr) {
        scope.start = line_address(*file, members.first_line);
        scope.end = line_address(*file, members.last_line);
    }
    const bool of_function = node->sclass == SC_FUNC && members.func != nullptr;
    if (of_function) {
        scope.vars.push_back(members.func);
    }
    for (uint32_t k = 0; k < members.members.size(); ++k) {
        dsym_t* const member = members.members[k];
        switch (member->sclass) {
        case SC_EXTERN:
        case SC_STATIC:
        case SC_AUTO:
        case SC_PARAM:
        case SC_REG: collect_variable(writer, member, {node, k}, scope); break;
        default: break;
        }
    }
    if (is_kept(writer, scope, of_function)) {
        writer.scopes.push_back(std::move(scope));
    }
    for (const dsym_t* const member : members.members) {
        if (member->sclass == SC_MODULE || member->sclass == SC_BLOCK || member->sclass == SC_FUNC) {
            collect_scope(writer, member);
        }
    }
}

void collect_scopes(cod_writer_t& writer) {
    if (writer.run.global_block == nullptr) {
        return;
    }
    for (const dsym_t* const member : writer.run.global_block->scope->members) {
        if (member->sclass == SC_MODULE) {
            collect_scope(writer, member);
        }
    }
}

void collect_labels(cod_writer_t& writer) {
    for (const file_t* const file : writer.run.model.files) {
        for (const symbol_t* const symbol : file->symbols) {
            const bool taken = (symbol->flags & SYM_LOCAL) == 0 || writer.run.strip_underscore;
            if (taken && (symbol->flags & SYM_DESCRIBED) == 0) {
                writer.labels.push_back(symbol);
            }
        }
    }
}

// ---- type codes and values

type_t skip_one_qualifier(type_t type) { return type != nullptr && type->kind == TP_QUAL ? type->inner : type; }

cod_type_t integer_type(uint32_t size, cod_type_t one, cod_type_t two, cod_type_t four) {
    switch (size) {
    case 1: return one;
    case 2: return two;
    case 4: return four;
    default: return COD_A_REG;
    }
}

cod_type_t base_type(const tpart_t& base) {
    switch (base.value) {
    case ENC_VOID: return COD_C_VOID;
    case ENC_SIGNED: return integer_type(base.size, COD_C_BYTE, COD_C_INT, COD_SINT32);
    case ENC_UNSIGNED: return integer_type(base.size, COD_C_UBYTE, COD_C_UINT, COD_UINT32);
    case ENC_FLOAT: return base.size == 3 ? COD_FLOAT24 : base.size == 4 ? COD_FLOAT32 : COD_FLOAT;
    case ENC_BIT: return COD_BIT_0;
    default: return COD_A_REG;
    }
}

// Only the part just inside counts: the codes that tell arrays apart belong to bases.
cod_type_t array_type(type_t inside) {
    inside = skip_one_qualifier(inside);
    switch (inside != nullptr && inside->kind == TP_BASE ? base_type(*inside) : COD_A_REG) {
    case COD_C_INT: return COD_WORD_ARRAY;
    case COD_C_UBYTE: return COD_U_BYTE_ARRAY;
    case COD_C_UINT: return COD_U_WORD_ARRAY;
    default: return COD_BYTE_ARRAY;
    }
}

cod_type_t pointer_type(type_t inside) {
    inside = skip_one_qualifier(inside);
    return inside != nullptr && inside->kind == TP_FUNC ? COD_PFUN_VOID_NONE : COD_C_POINTER;
}

// The symbol type code of a type; faked locals have but one code for all that are no functions or pointers.
cod_type_t cod_type(type_t type, bool fake_locals) {
    type = skip_one_qualifier(type);
    if (type == nullptr) {
        return COD_A_REG;
    }
    switch (type->kind) {
    case TP_FUNC: return COD_FUNC_VOID_NONE;
    case TP_PTR: return pointer_type(type->inner);
    case TP_BASE: return fake_locals ? COD_UNKNOWN : base_type(*type);
    case TP_ENUM: return fake_locals ? COD_UNKNOWN : COD_A_REG;
    case TP_STRUCT: return fake_locals ? COD_UNKNOWN : COD_C_STRUCT;
    case TP_ARRAY: return fake_locals ? COD_UNKNOWN : array_type(type->inner);
    default: return COD_A_REG;
    }
}

struct cod_value_t {
    uint8_t type;
    uint32_t value;
};

// A bit lies in the byte value / 8 and has a code of its own for each place within it.
cod_value_t variable_value(const cod_writer_t& writer, const dsym_t& node) {
    const uint32_t value = node.variable->location.value;
    const type_t type = skip_one_qualifier(node.variable->type);
    if (!writer.run.fake_locals && type != nullptr && type->kind == TP_BASE && type->value == ENC_BIT) {
        return {static_cast<uint8_t>(COD_BIT_0 + (value & 7)), value / 8};
    }
    return {cod_type(node.variable->type, writer.run.fake_locals), value};
}

cod_value_t label_value(const cod_writer_t& writer, const symbol_t& symbol) {
    if (symbol.segment == 0) {
        return {COD_UNKNOWN, symbol.value};
    }
    const bool in_code = symbol.segment <= writer.run.model.segments.count() &&
                         is_code_space_name(writer.run, segment_name(writer.run.model, symbol.segment));
    return {static_cast<uint8_t>(in_code ? COD_FUNC_VOID_NONE : COD_C_BYTE), symbol.value};
}

// ---- symbol tables

void put_short(cod_writer_t& writer, text_t name, cod_value_t value) {
    uint8_t* const record = next_record(writer, cod_symbol_size, cod_symbols_per_block);
    put_counted(record + cod_at::symbol_name, output_name(writer, name), cod_symbol_name_width);
    record[cod_at::symbol_type] = value.type;
    write16(record + cod_at::symbol_value, value.value, 0);
}

// Packed behind the record before; a record that would cross the end of the block starts the next one.
void put_long(cod_writer_t& writer, text_t name, cod_value_t value) {
    name = name.substr(0, long_name_max);
    const auto length = static_cast<uint32_t>(name.size());
    if (writer.used + cod_long_head + length > cod_block_size) {
        write_block(writer);
    }
    uint8_t* p = writer.buffer.data() + writer.used;
    *p++ = static_cast<uint8_t>(length);
    p = std::copy(name.begin(), name.end(), p);
    p = write16(p, value.type, 0);
    write32(p, value.value, 1);
    writer.run.big_endian = 1; // the value's own order, and nothing sets it back
    writer.used += cod_long_head + length;
}

void write_short_symbols(cod_writer_t& writer) {
    const uint32_t first = writer.block;
    for (const dsym_t* const node : writer.globals) {
        put_short(writer, node->name, variable_value(writer, *node));
    }
    for (const symbol_t* const symbol : writer.labels) {
        put_short(writer, symbol->name, label_value(writer, *symbol));
    }
    close_table(writer, first, cod_at::symtab_first, cod_at::symtab_last);
}

// The variables of a function as globals named function.variable.
void put_fake_locals(cod_writer_t& writer, const cod_scope_t& scope) {
    std::string name(output_name(writer, scope.vars[0]->name).substr(0, function_name_max));
    name += '.';
    const size_t prefix = name.size();
    for (size_t k = 1; k < scope.vars.size(); ++k) {
        name.resize(prefix);
        name += output_name(writer, scope.vars[k]->name);
        put_long(writer, name, variable_value(writer, *scope.vars[k]));
    }
}

void write_long_symbols(cod_writer_t& writer) {
    const uint32_t first = writer.block;
    for (const dsym_t* const node : writer.globals) {
        put_long(writer, output_name(writer, node->name), variable_value(writer, *node));
    }
    if (writer.run.fake_locals) {
        for (const cod_scope_t& scope : writer.scopes) {
            put_fake_locals(writer, scope);
        }
    }
    for (const symbol_t* const symbol : writer.labels) {
        put_long(writer, output_name(writer, symbol->name), label_value(writer, *symbol));
    }
    close_table(writer, first, cod_at::lsymtab_first, cod_at::lsymtab_last);
}

void write_locals(cod_writer_t& writer) {
    const uint32_t first = writer.block;
    for (const cod_scope_t& scope : writer.scopes) {
        uint8_t* const record = next_record(writer, cod_symbol_size, cod_symbols_per_block);
        put_counted(record, cod_scope_name, cod_symbol_name_width);
        write16(record + cod_at::scope_start, scope.start * 2, 0);
        write16(record + cod_at::scope_end, scope.end * 2, 0);
        for (const dsym_t* const node : scope.vars) {
            put_short(writer, node->name, variable_value(writer, *node));
        }
    }
    close_table(writer, first, cod_at::locals_first, cod_at::locals_last);
}

} // namespace

bool cod_write(run_t& run, output_t& out, text_t name) {
    if (run.code_spaces.empty()) {
        run.code_spaces = {"CODE", "ENTRY"};
    }
    cod_writer_t writer{run, out, name, {}, {}, 0, 1, {}, {}, {}, {}};
    start_directory(writer);
    seek(out, cod_block_size);
    write_memory_map(writer);
    write_code(writer);
    write_lines(writer);
    collect_scopes(writer);
    collect_labels(writer);
    write_file_names(writer);
    write_short_symbols(writer);
    write_long_symbols(writer);
    if (!run.fake_locals) {
        write_locals(writer);
    }
    seek(out, 0);
    put_bytes(out, writer.directory.data(), cod_block_size);
    return true;
}

} // namespace tavrel
