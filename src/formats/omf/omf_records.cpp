// The frame of the records, the table of those that both 8051 object formats have, and the reader of both.
#include "formats/omf/omf_records.h"

#include "formats/omf/omf_dump.h"

namespace tavrel {
namespace {

constexpr uint32_t line_entry_flags = 2; // what readers of line lists store; nothing tests it

constexpr const char* memory_segments[omf_segment_types] = {"CODE", "XDATA", "DATA", "IDATA", "BIT"};

uint8_t sum_of(std::span<const uint8_t> bytes) {
    uint8_t sum = 0;
    for (const uint8_t byte : bytes) {
        sum = static_cast<uint8_t>(sum + byte);
    }
    return sum;
}

// ---- what the reader takes from each record

void read_content(omf_reader_t& reader, const omf_record_t& record) {
    cursor_t body = record.body;
    body.skip(1); // segment id
    const uint32_t offset = body.u16();
    if (!body.short_read) {
        const auto bytes = body.take(body.left());
        add_block(reader.run.model, offset, static_cast<uint32_t>(bytes.size()), bytes.data(), 0);
    }
}

void read_scope_def(omf_reader_t& reader, const omf_record_t& record) {
    cursor_t body = record.body;
    const uint8_t kind = body.u8();
    if (body.short_read) {
        return;
    }
    if (kind == OMF_MODULE_BLOCK_END) {
        reader.file = 0;
    } else if (kind == OMF_MODULE_BLOCK) {
        const text_t name = omf_counted_name(body);
        if (!body.short_read) {
            reader.file = add_file(reader.run.model, name);
        }
    }
}

void read_symbol(omf_reader_t& reader, const omf_symbol_entry_t& entry, uint32_t flags) {
    const uint32_t memory = entry.info & OMF_MEMORY_TYPE;
    const uint32_t segment = memory < omf_segment_types ? reader.segments[memory] : 0;
    if ((entry.info & OMF_VARIABLE) == 0) {
        flags |= SYM_LABEL;
    }
    add_symbol(reader.run.model, entry.name, entry.offset, segment, reader.file, flags);
}

void read_segment(omf_reader_t& reader, const omf_symbol_entry_t& entry) {
    model_t& model = reader.run.model;
    if (find_segment(model, entry.name) == nullptr) {
        add_segment(model, entry.name, entry.offset, 0, entry.offset, entry.segment_id);
    }
}

void read_lines(omf_reader_t& reader, cursor_t body) {
    while (!body.at_end()) {
        const uint32_t segment_id = body.u8();
        const uint32_t offset = body.u16();
        const uint32_t number = body.u16();
        if (body.short_read) {
            return;
        }
        add_line(reader.run.model, number, offset, segment_id, reader.file, line_entry_flags);
    }
}

void read_symbols(omf_reader_t& reader, cursor_t body, uint8_t definition) {
    omf_symbol_entry_t entry;
    while (!body.at_end() && omf_symbol_entry(body, entry)) {
        switch (definition) {
        case OMF_LOCAL_SYMBOLS: read_symbol(reader, entry, SYM_LOCAL); break;
        case OMF_PUBLIC_SYMBOLS: read_symbol(reader, entry, 0); break;
        default: read_segment(reader, entry); break;
        }
    }
}

// ---- the record table

constexpr omf_row_t common_rows[] = {
    {OMF_MODULE_HEADER,  "Module header",  omf_dump_module_header, nullptr            },
    {OMF_MODULE_END,     "Module END",     omf_dump_module_end,    nullptr            },
    {OMF_CONTENT,        "Content",        omf_dump_content,       read_content       },
    {OMF_FIXUP,          "Fixup",          nullptr,                nullptr            },
    {OMF_SEGMENT_DEF,    "Segment Def",    nullptr,                nullptr            },
    {OMF_SCOPE_DEF,      "Scope Def",      omf_dump_scope_def,     read_scope_def     },
    {OMF_DEBUG_ITEM,     "Debug Item",     omf_dump_debug_item,    omf_read_debug_item},
    {OMF_PUBLIC_DEF,     "Public Def",     nullptr,                nullptr            },
    {OMF_EXTERNAL_DEF,   "External Def",   nullptr,                nullptr            },
    {OMF_LIB_MODLOCS,    "LIB Modlocs",    nullptr,                nullptr            },
    {OMF_LIB_MODNAME,    "LIB Modname",    nullptr,                nullptr            },
    {OMF_LIB_DICTIONARY, "LIB Dictionary", nullptr,                nullptr            },
    {OMF_LIB_HEADER,     "LIB Header",     nullptr,                nullptr            },
};

const omf_row_t* find_row(std::span<const omf_row_t> rows, uint8_t type) {
    for (const omf_row_t& row : rows) {
        if (row.type == type) {
            return &row;
        }
    }
    return nullptr;
}

omf_reader_t make_reader(run_t& run) {
    omf_reader_t reader{run, {}};
    for (uint32_t memory = 0; memory < omf_segment_types; ++memory) {
        const text_t name = memory_segments[memory];
        if (find_segment(run.model, name) == nullptr) {
            add_segment(run.model, name, 0, 0, 0, memory);
        }
        reader.segments[memory] = find_segment_index(run.model, name);
    }
    return reader;
}

} // namespace

bool read_record(run_t& run, input_t& in, bool report, omf_record_t& record) {
    const size_t start = in.position;
    cursor_t header = cursor_of(in, 0);
    if (header.at_end()) {
        return false;
    }
    record.position = static_cast<uint32_t>(start);
    record.type = header.u8();
    record.length = header.u16();
    const auto rest = header.take(record.length);
    in.position = header.position;
    if (header.short_read) {
        if (report) {
            alert(run, 1041);
        }
        return false;
    }
    const uint8_t sum = sum_of(in.data().subspan(start, header.position - start));
    if (sum != 0) {
        if (report) {
            alert(run, 1040, record.type, sum);
        }
        return false;
    }
    record.body = cursor_t(rest.first(rest.empty() ? 0 : rest.size() - 1), 0);
    if (report && run.verbose > 1) {
        dump_bytes(run.out, 0, 16, record.body.bytes, "%04lX:", true);
    }
    return true;
}

text_t omf_name(cursor_t& body, size_t size) {
    const auto name = body.take(size);
    return {reinterpret_cast<const char*>(name.data()), name.size()};
}

text_t omf_counted_name(cursor_t& body) {
    const uint8_t size = body.u8();
    return omf_name(body, size);
}

bool omf_symbol_entry(cursor_t& body, omf_symbol_entry_t& entry) {
    entry.segment_id = body.u8();
    entry.info = body.u8();
    entry.offset = body.u16();
    entry.type = body.u8();
    entry.name = omf_counted_name(body);
    return !body.short_read;
}

const omf_row_t* omf_find_row(const omf_dialect_t& dialect, uint8_t type) {
    const omf_row_t* const row = find_row(common_rows, type);
    return row != nullptr ? row : find_row(dialect.extra_rows, type);
}

void omf_read_debug_item(omf_reader_t& reader, const omf_record_t& record) {
    cursor_t body = record.body;
    const uint8_t definition = body.u8();
    if (definition < OMF_LINE_NUMBERS) {
        read_symbols(reader, body, definition);
    } else if (definition == OMF_LINE_NUMBERS) {
        read_lines(reader, body);
    }
}

bool omf_read(run_t& run, input_t& in, const omf_dialect_t& dialect) {
    omf_reader_t reader = make_reader(run);
    omf_record_t record;
    while (read_record(run, in, true, record)) {
        const omf_row_t* const row = omf_find_row(dialect, record.type);
        if (row == nullptr) {
            alert(run, 1042, dialect.message_name, record.type);
            return false;
        }
        if (row->read != nullptr) {
            row->read(reader, record);
        }
    }
    return true;
}

} // namespace tavrel
