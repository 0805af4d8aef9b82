// Writes the model as a Holtek DBG file: a header, the names of the source files, the symbols of the tree, those that
// only the linker knows, the lines, and the scopes with their variables. Files, symbols, lines and scopes are numbered
// from 1 as they are written, and later records refer to them by these numbers.
//
// A record grows in a buffer until an entry of another kind, file or section comes or the buffer runs full; then it is
// closed with its checksum, and the next one begins with its own head.
#include <algorithm>
#include <string>
#include <unordered_map>
#include <vector>

#include "debug/machine.h"
#include "debug/tree.h"
#include "formats/vendor/holtek.h"
#include "formats/vendor/holtek_layout.h"

namespace tavrel {
namespace {

struct dbg_writer_t {
    run_t& run;
    output_t& out;
    uint32_t capacity;       // of the buffer, in bytes
    const segment_t* ram;    // the segment that makes a variable data
    std::string buffer{};    // payload of the open record
    uint32_t open_type = 0;  // 0: none is open
    uint32_t file_count = 0; // the last number given
    uint32_t symbol_count = 0;
    uint32_t scope_count = 0;
    uint32_t line_count = 0;
    uint32_t last_file = 0; // of the last record of symbols or lines
    uint32_t last_section = 0;
    const file_t* current_file = nullptr; // of the place in the tree; stays as an inner scope left it
    std::unordered_map<const dsym_t*, uint32_t> symbol_numbers{}; // of the variables written
    std::unordered_map<type_t, type_t> elements{};                // of arrays met so far
};

// ---- records

void close_record(dbg_writer_t& writer) {
    if (writer.open_type == 0) {
        return;
    }
    const auto length = static_cast<uint32_t>(writer.buffer.size() + 1);
    uint32_t sum = writer.open_type + (length & 0xFF) + (length >> 8);
    for (const char c : writer.buffer) {
        sum += static_cast<uint8_t>(c);
    }
    put8(writer.out, writer.open_type);
    put16(writer.out, length);
    put_text(writer.out, writer.buffer);
    put8(writer.out, 0 - sum);
    writer.buffer.clear();
    writer.open_type = 0;
}

// True if a fresh record was opened, which then needs its head; false if the open one goes on.
bool dbg_record(dbg_writer_t& writer, dbg_type_t type) {
    const uint32_t limit = std::min(writer.capacity - dbg_entry_room, dbg_payload_max - dbg_name_max - 4);
    if (writer.open_type == type && writer.buffer.size() <= limit) {
        return false;
    }
    close_record(writer);
    writer.open_type = type;
    return true;
}

void add8(dbg_writer_t& writer, uint32_t value) { writer.buffer.push_back(static_cast<char>(value)); }

void add16(dbg_writer_t& writer, uint32_t value) {
    add8(writer, value);
    add8(writer, value >> 8);
}

void add_compact(dbg_writer_t& writer, uint32_t value) {
    if (value > 0x7F) {
        add8(writer, value >> 8 | 0x80);
    }
    add8(writer, value);
}

void add_counted(dbg_writer_t& writer, text_t text) {
    text = text.substr(0, dbg_name_max);
    add8(writer, static_cast<uint32_t>(text.size()));
    writer.buffer.append(text);
}

// Goes on in a record of symbols or lines of that file and section, or begins one.
void place_record(dbg_writer_t& writer, dbg_type_t type, uint32_t file, uint32_t section) {
    if (file != writer.last_file || section != writer.last_section) {
        close_record(writer);
    }
    if (dbg_record(writer, type)) {
        add_compact(writer, file);
        add8(writer, section);
        writer.last_file = file;
        writer.last_section = section;
    }
}

// ---- file names

void add_file_name(dbg_writer_t& writer, file_t& file) {
    dbg_record(writer, DBG_FILES);
    add_counted(writer, file.name);
    file.out_index = ++writer.file_count;
}

void write_model_files(dbg_writer_t& writer) {
    for (file_t* const file : writer.run.model.files) {
        const bool is_source =
            str_istr(file->name, ".sym") == text_t::npos && str_istr(file->name, ".obj") == text_t::npos;
        if (is_source && (file->symbol_count != 0 || file->line_count != 0)) {
            add_file_name(writer, *file);
        }
    }
}

void write_scope_files(dbg_writer_t& writer, const dsym_t* node) {
    for (const dsym_t* const member : node->scope->members) {
        if (member->sclass == SC_BLOCK || member->sclass == SC_FUNC) {
            write_scope_files(writer, member);
        } else if (member->sclass == SC_FILENAME) {
            add_file(writer.run.model, member->name);
            file_t* const file = find_file(writer.run.model, member->name);
            if (file != nullptr && file->out_index == 0) {
                add_file_name(writer, *file);
            }
        }
    }
}

// ---- symbols

void enter_file(dbg_writer_t& writer, const scope_t& scope) {
    if (!is_none(scope.file)) {
        writer.current_file = find_file(writer.run.model, scope.file);
    }
}

// F, digits, underscore, letter: a static variable of a function; gives its plain name.
text_t plain_name(text_t name) {
    if (name.empty() || name[0] != 'F') {
        return name;
    }
    size_t at = 1;
    while (at < name.size() && name[at] >= '0' && name[at] <= '9') {
        ++at;
    }
    const auto is_letter = [](char c) { return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z'); };
    return at + 1 < name.size() && name[at] == '_' && is_letter(name[at + 1]) ? name.substr(at + 1) : name;
}

// What arrays are made of. Arrays of arrays may lie thousands deep and belong to thousands of variables, so each array
// is walked past once.
type_t element_of(dbg_writer_t& writer, type_t type) {
    std::vector<type_t> passed;
    while (type->kind == TP_ARRAY && type->inner != nullptr) {
        if (const auto known = writer.elements.find(type); known != writer.elements.end()) {
            type = known->second;
            break;
        }
        passed.push_back(type);
        type = type->inner;
    }
    for (const type_t array : passed) {
        writer.elements[array] = type;
    }
    return type;
}

dbg_symbol_type_t symbol_type(dbg_writer_t& writer, type_t type) {
    if (is_bit_type(type)) {
        return DBG_BIT;
    }
    if (is_function_type(type)) {
        return DBG_FAR_LABEL;
    }
    type = element_of(writer, type);
    const bool is_float = type->kind == TP_BASE && type->value == ENC_FLOAT;
    switch (type_size(writer.run, type)) {
    case 2: return DBG_WORD;
    case 3: return is_float ? DBG_FLOAT24 : DBG_WORD;
    case 4: return is_float ? DBG_FLOAT32 : DBG_DWORD;
    default: return DBG_BYTE;
    }
}

void add_symbol_entry(dbg_writer_t& writer, text_t name, uint32_t value, dbg_symbol_type_t type) {
    if (!name.empty()) {
        add_counted(writer, name);
        add16(writer, value);
        add8(writer, type);
    }
}

void write_variable(dbg_writer_t& writer, dsym_t* node, const scope_cursor_t& cursor) {
    const type_t type = node->variable->type;
    if (type == nullptr) {
        return;
    }
    const bool is_function = is_function_type(type);
    const text_t name = drop_underscore(node->name, !is_function);
    location_t location;
    if (resolve_location(writer.run, node, cursor, location)) {
        const uint32_t file = writer.current_file != nullptr ? writer.current_file->out_index : 0;
        const bool in_ram = !is_function && writer.ram != nullptr && writer.ram->space == location.segment;
        place_record(writer, DBG_SYMBOLS, file, in_ram ? DBG_DATA : DBG_CODE);
        add_symbol_entry(writer, plain_name(name), location.value, symbol_type(writer, type));
        writer.symbol_numbers[node] = ++writer.symbol_count;
    }
    if (symbol_t* const symbol = find_symbol(writer.run.model, node->name); symbol != nullptr) {
        symbol->flags |= SYM_DESCRIBED;
    }
}

void dbg_symbols(dbg_writer_t& writer, const dsym_t* node) {
    enter_file(writer, *node->scope);
    for (uint32_t k = 0; k < node->scope->members.size(); ++k) {
        dsym_t* const member = node->scope->members[k];
        switch (member->sclass) {
        case SC_EXTERN:
        case SC_STATIC:
        case SC_AUTO:
        case SC_PARAM:
        case SC_REG: write_variable(writer, member, {node, k}); break;
        case SC_BLOCK:
        case SC_FUNC: dbg_symbols(writer, member); break;
        case SC_FILENAME: writer.current_file = find_file(writer.run.model, member->name); break;
        default: break;
        }
    }
}

void write_linker_symbols(dbg_writer_t& writer) {
    close_record(writer);
    for (const file_t* const file : writer.run.model.files) {
        for (const symbol_t* const symbol : file->symbols) {
            if (is_listed(*symbol)) {
                place_record(writer, DBG_SYMBOLS, file->out_index, DBG_CODE);
                add_symbol_entry(writer, symbol->name, symbol->value, DBG_FAR_LABEL);
            }
        }
    }
}

// ---- lines

void write_lines(dbg_writer_t& writer) {
    close_record(writer);
    const uint32_t capacity = std::min(writer.capacity, dbg_payload_max);
    for (const file_t* const file : writer.run.model.files) {
        if (file->line_count == 0) {
            continue;
        }
        place_record(writer, DBG_LINES, file->out_index, DBG_CODE);
        for (line_t* const line : file->lines) {
            if (writer.buffer.size() + 4 > capacity) {
                place_record(writer, DBG_LINES, file->out_index, DBG_CODE);
            }
            add16(writer, line->number);
            add16(writer, line->start);
            line->out_index = ++writer.line_count;
        }
    }
}

// ---- scopes

// The number of the entry for a source line of the current file: its first, else that of the next line that has one,
// else the last; 0 if there is none.
uint32_t line_index(const dbg_writer_t& writer, uint32_t number) {
    if (writer.current_file == nullptr || writer.current_file->lines.empty()) {
        return 0;
    }
    const auto& lines = writer.current_file->lines;
    const auto entry = std::lower_bound(lines.begin(), lines.end(), number,
                                        [](const line_t* line, uint32_t wanted) { return line->number < wanted; });
    return entry == lines.end() ? lines.back()->out_index : (*entry)->out_index;
}

// A scope record about to go on or to begin; the scope takes its number with its first record.
struct dbg_scope_t {
    const scope_t& scope;
    uint32_t parent;
    uint32_t block = 0;
};

void scope_record(dbg_writer_t& writer, dbg_scope_t& scope, bool is_last) {
    if (!dbg_record(writer, DBG_SCOPE)) {
        return;
    }
    if (scope.block == 0) {
        scope.block = ++writer.scope_count;
    }
    add16(writer, scope.block);
    add16(writer, scope.parent);
    if (is_last && scope.block == 1) { // the first of all, with nothing in it, spans nothing
        add_compact(writer, 1);
        add_compact(writer, 1);
        return;
    }
    const uint32_t first = line_index(writer, scope.scope.first_line);
    const uint32_t last = line_index(writer, scope.scope.last_line);
    add_compact(writer, std::max(first, 1U));
    add_compact(writer, last > 1 ? last - 1 : 1);
}

void add_scope_variable(dbg_writer_t& writer, dbg_scope_t& scope, const dsym_t* node) {
    const auto number = writer.symbol_numbers.find(node);
    if (number != writer.symbol_numbers.end()) {
        scope_record(writer, scope, false);
        add_compact(writer, number->second);
        add_compact(writer, number->second);
    }
}

// Behind a change of file the scope goes on in a record of its own; only below the outermost scope.
void change_scope_file(dbg_writer_t& writer, const dbg_scope_t& scope, text_t name) {
    if (scope.block > 1) {
        const file_t* const file = find_file(writer.run.model, name);
        if (file != writer.current_file) {
            close_record(writer);
        }
        writer.current_file = file;
    }
}

void dbg_scopes(dbg_writer_t& writer, uint32_t parent, const dsym_t* node) {
    dbg_scope_t scope{*node->scope, parent};
    bool wanted = writer.scope_count == 0;
    enter_file(writer, scope.scope);
    for (const dsym_t* const member : scope.scope.members) {
        switch (member->sclass) {
        case SC_EXTERN:
        case SC_STATIC:
            if (!is_function_type(member->variable->type)) {
                add_scope_variable(writer, scope, member);
            }
            break;
        case SC_AUTO:
        case SC_PARAM:
        case SC_REG: add_scope_variable(writer, scope, member); break;
        case SC_BLOCK:
        case SC_FUNC: wanted = true; break;
        case SC_FILENAME: change_scope_file(writer, scope, member->name); break;
        default: break;
        }
    }
    if (wanted) {
        scope_record(writer, scope, true);
    }
    close_record(writer);
    for (const dsym_t* const member : scope.scope.members) {
        if (member->sclass == SC_BLOCK || member->sclass == SC_FUNC) {
            dbg_scopes(writer, scope.block, member);
        }
    }
}

// Calls `operation(writer, module)` for each module of the tree, if there is one.
template <class F>
void each_module(dbg_writer_t& writer, F operation) {
    if (writer.run.global_block == nullptr) {
        return;
    }
    for (const dsym_t* const member : writer.run.global_block->scope->members) {
        if (member->sclass == SC_MODULE) {
            operation(writer, member);
        }
    }
}

void write_header(dbg_writer_t& writer) {
    constexpr uint8_t marker[] = {DBG_MARKER, 0x55, 0x55, 0x00};
    dbg_record(writer, DBG_HEADER);
    add_counted(writer, text_t("\0", 1));
    close_record(writer);
    put_bytes(writer.out, marker, sizeof marker);
}

} // namespace

bool dbg_write(run_t& run, output_t& out, text_t) {
    run.formats.dbg_capacity = std::max(run.formats.dbg_capacity, dbg_first_capacity);
    out.big_endian = 0;
    dbg_writer_t writer{run, out, run.formats.dbg_capacity, find_segment(run.model, "RAM")};
    write_header(writer);
    write_model_files(writer);
    each_module(writer, write_scope_files);
    each_module(writer, dbg_symbols);
    write_linker_symbols(writer);
    write_lines(writer);
    writer.current_file = nullptr;
    each_module(writer, [](dbg_writer_t& w, const dsym_t* module) { dbg_scopes(w, 1, module); });
    close_record(writer);
    dbg_record(writer, DBG_END);
    close_record(writer);
    return true;
}

} // namespace tavrel
