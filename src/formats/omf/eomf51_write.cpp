// The writer of Extended OMF-51.
//
// Without a language-level tree the file is an OMF-51 file with longer names. With a tree there is one scope per object
// file and in it one per function and block, each with its variables as typed entries; behind a function's scopes stand
// its code and its line numbers, so that a debugger finds together what belongs together. Public symbols that the tree
// does not describe and the rest of the code close the file.
//
// A typed entry refers to the last typedef record, so types gather in a table beside the pending debug record, and when
// that record is closed the table goes out just in front of it; in front of both goes the source file's name if it
// changed.
#include "formats/omf/eomf51_records.h"

#include <algorithm>

#include "debug/machine.h"

namespace tavrel {
namespace {

constexpr uint32_t type_number_limit = 256; // numbers end below it

struct eomf_writer_t {
    omf_writer_t records;
    eomf_types_t types;
    std::string source_name = {};
    const file_t* source_file = nullptr;      // stays until a module names another
    const file_t* last_source_file = nullptr; // of the last Source file name record
};

// The lines of a function: positions [first, behind) of its file's array.
struct line_range_t {
    const file_t* file;
    size_t first, behind;
};

void write_source_name(eomf_writer_t& writer) {
    if (writer.source_file == nullptr || writer.source_file == writer.last_source_file) {
        return;
    }
    std::vector<uint8_t> body = {0, 0, 0};
    omf_put_name(body, str_upper(writer.source_name));
    write_record(writer.records.out, EOMF_SOURCE_NAME, body);
    writer.last_source_file = writer.source_file;
}

void flush_types(eomf_writer_t& writer) {
    if (!writer.types.type_buffer.empty()) {
        write_source_name(writer);
        write_record(writer.records.out, EOMF_TYPEDEF, writer.types.type_buffer);
    }
    writer.types.type_buffer.clear();
    writer.types.next_type = eomf_first_item;
    type_map_clear(writer.types.written_types);
}

// ---- variables

// Encodes the type of a variable that is about to get an entry. If the pending record cannot take the entry, or the
// table ran out of numbers, both go out first, so that the types of a record always travel with it.
uint8_t encode_entry_type(eomf_writer_t& writer, omf_definition_t definition, type_t type) {
    eomf_types_t& types = writer.types;
    const size_t type_position = types.type_buffer.size();
    const uint32_t next_type = types.next_type;
    const uint8_t number = encode_type(types, type);
    if (types.next_type < type_number_limit && !omf_needs_record(writer.records, EOMF_DEBUG_ITEM, definition)) {
        return number;
    }
    types.type_buffer.resize(type_position);
    types.next_type = next_type;
    close_record(writer.records);
    flush_types(writer);
    return encode_type(types, type);
}

void add_typed_entry(eomf_writer_t& writer, omf_definition_t definition, const location_t& location, uint32_t value,
                     const dsym_t& variable) {
    omf_symbol_entry_t entry;
    entry.info = omf_memory_type(writer.records.run.model, location.segment);
    entry.offset = static_cast<uint16_t>(value);
    entry.type = encode_entry_type(writer, definition, variable.variable->type);
    entry.name = drop_underscore(variable.name, true);
    omf_add_symbol(writer.records, EOMF_DEBUG_ITEM, definition, entry);
}

void write_extern(eomf_writer_t& writer, dsym_t& member, const scope_cursor_t& cursor) {
    run_t& run = writer.records.run;
    location_t location;
    if (member.variable->type == nullptr || !resolve_location(run, &member, cursor, location)) {
        return;
    }
    add_typed_entry(writer, OMF_PUBLIC_SYMBOLS, location, location.value, member);
    if (symbol_t* const symbol = find_symbol(run.model, member.name); symbol != nullptr) {
        symbol->flags |= SYM_DESCRIBED;
    }
}

// A local's value is the one that its node keeps: 0 for a register.
void write_local(eomf_writer_t& writer, dsym_t& member, const scope_cursor_t& cursor) {
    location_t location;
    if (member.variable->type != nullptr && resolve_location(writer.records.run, &member, cursor, location)) {
        add_typed_entry(writer, OMF_LOCAL_SYMBOLS, location, member.variable->location.value, member);
    }
}

void write_variables(eomf_writer_t& writer, const dsym_t& scope, const file_t*& file) {
    const auto& members = scope.scope->members;
    for (uint32_t position = 0; position < members.size(); ++position) {
        dsym_t& member = *members[position];
        switch (member.sclass) {
        case SC_EXTERN: write_extern(writer, member, {&scope, position}); break;
        case SC_STATIC:
        case SC_AUTO:
        case SC_PARAM:
        case SC_REG: write_local(writer, member, {&scope, position}); break;
        case SC_FILENAME: file = find_file(writer.records.run.model, member.name); break;
        default: break;
        }
    }
}

// ---- functions

line_range_t find_lines(const file_t& file, const scope_t& scope) {
    const auto& lines = file.lines;
    const auto first = std::lower_bound(lines.begin(), lines.end(), scope.first_line,
                                        [](const line_t* line, uint32_t number) { return line->number < number; });
    const auto behind = std::upper_bound(first, lines.end(), scope.last_line,
                                         [](uint32_t number, const line_t* line) { return number < line->number; });
    return {&file, static_cast<size_t>(first - lines.begin()), static_cast<size_t>(behind - lines.begin())};
}

// The code of the lines: each reaches up to the start of the line behind it in the file's array.
void write_code(eomf_writer_t& writer, const line_range_t& range) {
    const auto& lines = range.file->lines;
    uint32_t low = 0xFFFF;
    uint32_t high = 0;
    for (size_t k = range.first; k < range.behind; ++k) {
        low = std::min(low, lines[k]->start);
        high = std::max(high, lines[k]->start);
        if (k + 1 < lines.size()) {
            high = std::max(high, lines[k + 1]->start);
        }
    }
    if (low < high) {
        write_content(writer.records, low, high);
    }
}

void write_lines(eomf_writer_t& writer, const dsym_t& function, const file_t* file) {
    if (file == nullptr) {
        return;
    }
    const line_range_t range = find_lines(*file, *function.scope);
    write_code(writer, range);
    for (size_t k = range.first; k < range.behind; ++k) {
        omf_add_line(writer.records, *file->lines[k]);
    }
}

void write_scope(eomf_writer_t& writer, const dsym_t& scope);

void write_block(eomf_writer_t& writer, const dsym_t& block) {
    write_scope_def(writer.records, OMF_DO_BLOCK, "");
    write_scope(writer, block);
    write_scope_def(writer.records, OMF_DO_BLOCK_END, "");
}

void write_function(eomf_writer_t& writer, const dsym_t& function, const file_t* file) {
    const text_t name = function.scope->func != nullptr ? function.scope->func->name : text_t("");
    write_scope_def(writer.records, OMF_PROCEDURE_BLOCK, name);
    write_scope_def(writer.records, OMF_DO_BLOCK, "");
    write_scope(writer, function);
    write_lines(writer, function, file);
    write_scope_def(writer.records, OMF_DO_BLOCK_END, "");
    write_scope_def(writer.records, OMF_PROCEDURE_BLOCK_END, name);
}

void write_blocks(eomf_writer_t& writer, const dsym_t& scope, const file_t*& file) {
    for (const dsym_t* const member : scope.scope->members) {
        switch (member->sclass) {
        case SC_BLOCK: write_block(writer, *member); break;
        case SC_FUNC: write_function(writer, *member, file); break;
        case SC_FILENAME: file = find_file(writer.records.run.model, member->name); break;
        default: break;
        }
    }
}

// The members of a scope: first its variables, then the scopes in it. The second walk begins with the file that the
// first ended with.
void write_scope(eomf_writer_t& writer, const dsym_t& scope) {
    const file_t* file = nullptr;
    close_record(writer.records);
    write_variables(writer, scope, file);
    close_record(writer.records);
    write_blocks(writer, scope, file);
}

// ---- the whole file

void write_module(eomf_writer_t& writer, const dsym_t& module) {
    const text_t name = omf_stem(module.name);
    write_scope_def(writer.records, OMF_MODULE_BLOCK, name);
    const std::string source_name = std::string(name) + ".c";
    if (const file_t* const file = find_file(writer.records.run.model, source_name); file != nullptr) {
        writer.source_file = file;
        writer.source_name = source_name;
    }
    write_scope(writer, module);
    write_scope_def(writer.records, OMF_MODULE_BLOCK_END, name);
}

// The public symbols that no variable of the tree stands for.
void write_publics(eomf_writer_t& writer) {
    for (const file_t* const file : writer.records.run.model.files) {
        for (const symbol_t* const symbol : file->symbols) {
            if (is_listed(*symbol)) {
                omf_add_model_symbol(writer.records, OMF_PUBLIC_SYMBOLS, *symbol);
            }
        }
    }
}

void write_tree(eomf_writer_t& writer, text_t name) {
    write_module_header(writer.records, name);
    for (const dsym_t* const member : writer.records.run.global_block->scope->members) {
        if (member->sclass == SC_MODULE) {
            write_module(writer, *member);
        }
    }
    write_publics(writer);
    write_content(writer.records, 0, 0xFFFFFFFF);
    write_module_end(writer.records, name);
}

} // namespace

bool eomf51_write_model(run_t& run, output_t& out, const omf_dialect_t& dialect, text_t name) {
    eomf_writer_t writer{
        {run, out, dialect,          name},
        {run,   type_map_new(run),    {}},
    };
    writer.records.before_close = [&writer](bool pending) {
        write_source_name(writer);
        if (pending) {
            flush_types(writer);
        }
    };
    if (run.global_block != nullptr) {
        write_tree(writer, omf_stem(name));
    } else {
        write_plain(writer.records);
    }
    return true;
}

} // namespace tavrel
