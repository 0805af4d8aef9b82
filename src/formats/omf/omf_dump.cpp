// The readable print of both 8051 object formats: each record on a line that begins with its place, name and length,
// the entries of a Debug Item on lines of their own. A record whose fields run over its end gets the line "Bad length"
// in place of what is cut off.
#include "formats/omf/omf_dump.h"

#include <algorithm>
#include <iterator>

namespace tavrel {
namespace {

constexpr size_t content_shown = 12; // bytes of a Content record that stand on its line

constexpr const char* block_types[] = {
    "Module block", "Do block", "Procedure block", "Module block end", "Do block end", "Procedure block end",
};

constexpr const char* definition_types[] = {"Local symbols", "Public symbols", "Segment symbols", "Line numbers"};

constexpr const char* memory_types[] = {"CODE", "XDATA", "DATA", "IDATA", "BIT", "NUMBER", "???6", "???7"};

// "Name: '", the name, and the byte that stands `gap` bytes behind it.
void dump_named_byte(printer_t& out, const omf_record_t& record, size_t gap, const char* format) {
    cursor_t body = record.body;
    const text_t name = omf_counted_name(body);
    body.skip(gap);
    const uint8_t byte = body.u8();
    if (body.short_read) {
        omf_print_bad_length(out);
        return;
    }
    put_text(out, "Name: '");
    put_text(out, name);
    print(out, format, byte);
}

void dump_symbol(printer_t& out, const omf_dialect_t& dialect, uint8_t definition, const omf_symbol_entry_t& entry) {
    const bool is_segment = definition == OMF_SEGMENT_SYMBOLS;
    print(out, "\t\tSEG %d, ", entry.segment_id);
    if (!is_segment) {
        put_text(out, (entry.info & OMF_INDIRECT) != 0 ? "IND " : "");
        put_text(out, (entry.info & OMF_VARIABLE) != 0 ? "VAR " : "FUNC ");
    }
    if ((entry.info & OMF_BANK_VALID) != 0) {
        print(out, "BANK %d ", (entry.info & OMF_BANK) >> 3);
    }
    print(out, "%s ", memory_types[entry.info & OMF_MEMORY_TYPE]);
    if (!is_segment && dialect.print_type != nullptr) {
        dialect.print_type(out, entry.type);
    }
    print(out, "offset 0x%4.4X: ", entry.offset);
    put_text(out, entry.name);
    put_text(out, "\n");
}

void dump_symbols(printer_t& out, const omf_dialect_t& dialect, uint8_t definition, cursor_t body) {
    omf_symbol_entry_t entry;
    while (!body.at_end()) {
        if (!omf_symbol_entry(body, entry)) {
            omf_print_bad_length(out);
            return;
        }
        dump_symbol(out, dialect, definition, entry);
    }
}

void dump_lines(printer_t& out, cursor_t body) {
    while (!body.at_end()) {
        const uint32_t segment_id = body.u8();
        const uint32_t offset = body.u16();
        const uint32_t number = body.u16();
        if (body.short_read) {
            omf_print_bad_length(out);
            return;
        }
        print(out, "\t\tSEG %d, offset 0x%4.4X, line %d\n", segment_id, offset, number);
    }
}

void dump_unknown(run_t& run, const omf_record_t& record) {
    put_text(run.out, "\n");
    if (run.verbose == 1) {
        dump_bytes(run.out, 0, 16, record.body.bytes, "\t%04lX:", true);
    }
}

void dump_record(run_t& run, const omf_dialect_t& dialect, const omf_record_t& record) {
    const omf_row_t* const row = omf_find_row(dialect, record.type);
    const std::string name = row == nullptr ? format_text("Unknown(0x%X)", record.type) : row->name;
    print(run.out, "@%4.4lX %16.16s, len %3d: ", record.position, name, record.length);
    if (row == nullptr) {
        dump_unknown(run, record);
    } else if (row->dump == nullptr) {
        put_text(run.out, "\n");
    } else {
        row->dump(run.out, dialect, record);
    }
}

} // namespace

void omf_print_bad_length(printer_t& out) { put_text(out, "Bad length\n"); }

void omf_dump_module_header(printer_t& out, const omf_dialect_t&, const omf_record_t& record) {
    dump_named_byte(out, record, 0, "'; TRN ID = 0x%2.2X\n");
}

void omf_dump_module_end(printer_t& out, const omf_dialect_t&, const omf_record_t& record) {
    dump_named_byte(out, record, 2, "'; REG MSK = 0x%2.2X\n");
}

void omf_dump_content(printer_t& out, const omf_dialect_t&, const omf_record_t& record) {
    cursor_t body = record.body;
    const uint8_t segment_id = body.u8();
    const uint16_t offset = body.u16();
    if (body.short_read) {
        omf_print_bad_length(out);
        return;
    }
    print(out, "Seg id %d, offset = 0x%4.4X, %d bytes; ", segment_id, offset, body.left());
    for (const uint8_t byte : body.take(std::min(body.left(), content_shown))) {
        print(out, "%2.2X ", byte);
    }
    put_text(out, "\n");
}

void omf_dump_scope_def(printer_t& out, const omf_dialect_t&, const omf_record_t& record) {
    cursor_t body = record.body;
    const uint8_t kind = body.u8();
    const text_t name = omf_counted_name(body);
    if (body.short_read) {
        omf_print_bad_length(out);
        return;
    }
    print(out, "%s; Name = '", kind < std::size(block_types) ? block_types[kind] : "UNKNOWN");
    put_text(out, name);
    put_text(out, "'\n");
}

void omf_dump_debug_item(printer_t& out, const omf_dialect_t& dialect, const omf_record_t& record) {
    cursor_t body = record.body;
    const uint8_t definition = body.u8();
    if (body.short_read) {
        omf_print_bad_length(out);
        return;
    }
    print(out, "%s\n", definition < std::size(definition_types) ? definition_types[definition] : "Unknown type");
    if (definition < OMF_LINE_NUMBERS) {
        dump_symbols(out, dialect, definition, body);
    } else if (definition == OMF_LINE_NUMBERS) {
        dump_lines(out, body);
    }
}

bool omf_dump(run_t& run, input_t& in, const omf_dialect_t& dialect) {
    put_text(run.out, dialect.heading);
    omf_record_t record;
    while (read_record(run, in, true, record)) {
        dump_record(run, dialect, record);
    }
    return true;
}

} // namespace tavrel
