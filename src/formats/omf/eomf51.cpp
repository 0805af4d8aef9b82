// Extended OMF-51: OMF-51 with what Keil's 8051 tools add, so that a debugger knows types: Debug Items whose entries
// carry a type number, a table of the types that those numbers mean in front of them, the source file's name, and a
// record about the build. It is what 8051 debuggers load as an absolute object file.
//
// A plain OMF-51 file is a sound file of this format, too, so this row takes every file that begins with a Module
// header. The reader takes what it takes from OMF-51 and leaves the types alone. The writer is in eomf51_write.cpp, the
// type table in eomf51_types.cpp, the print in eomf51_dump.cpp.
#include "formats/omf/eomf51.h"

#include "formats/omf/eomf51_records.h"

namespace tavrel {
namespace {

constexpr size_t name_limit = 255;

constexpr omf_row_t extra_rows[] = {
    {EOMF_DEBUG_ITEM,  "Keil Debug Item",  omf_dump_debug_item,     omf_read_debug_item},
    {EOMF_TYPEDEF,     "Keil typedef",     eomf51_dump_typedef,     nullptr            },
    {EOMF_INFO,        "Keil info",        eomf51_dump_info,        nullptr            },
    {EOMF_SOURCE_NAME, "Source file name", eomf51_dump_source_name, nullptr            },
};

std::string symbol_name(text_t name) { return std::string(drop_underscore(name, true)); }

constexpr omf_dialect_t dialect = {
    "Extended OMF-51 file dump:\n\n", "eomf51", extra_rows, eomf51_print_type, name_limit, symbol_name,
};

bool eomf51_probe(run_t& run, input_t& in) {
    omf_record_t record;
    while (read_record(run, in, false, record)) {
        if (record.type != EOMF_INFO) {
            return record.type == OMF_MODULE_HEADER;
        }
    }
    return false;
}

bool eomf51_read(run_t& run, input_t& in, text_t) { return omf_read(run, in, dialect); }

bool eomf51_write(run_t& run, output_t& out, text_t name) { return eomf51_write_model(run, out, dialect, name); }

bool eomf51_dump(run_t& run, input_t& in) { return omf_dump(run, in, dialect); }

} // namespace

const format_t eomf51_format = {
    eomf51_probe, eomf51_read, eomf51_write, eomf51_dump, "Extended OMF-51", "eomf51", "abs", true,
};

} // namespace tavrel
