// OMF-51: the object module format of Intel's 8051 tools, read by emulators and simulators. A file is a sequence of
// typed records with a checksum each: a Module header, for every source file a scope with its symbols and lines as
// Debug Items, the image as Content records of 16-bit addresses, and a Module END. It knows places and names, no types.
//
// Names are in upper case and end at 40 characters. All that this format does it has in common with its extended form.
#include "formats/omf/omf51.h"

#include "formats/omf/omf_records.h"

namespace tavrel {
namespace {

constexpr size_t name_limit = 40;

std::string symbol_name(text_t name) { return str_upper(name.substr(0, name_limit)); }

constexpr omf_dialect_t dialect = {"OMF-51 file dump:\n\n", "OMF51", {}, nullptr, name_limit, symbol_name};

bool omf51_probe(run_t& run, input_t& in) {
    omf_record_t record;
    return read_record(run, in, false, record) && record.type == OMF_MODULE_HEADER;
}

bool omf51_read(run_t& run, input_t& in, text_t) { return omf_read(run, in, dialect); }

bool omf51_write(run_t& run, output_t& out, text_t name) {
    omf_writer_t writer{run, out, dialect, name};
    write_plain(writer);
    return true;
}

bool omf51_dump(run_t& run, input_t& in) { return omf_dump(run, in, dialect); }

} // namespace

const format_t omf51_format = {omf51_probe, omf51_read, omf51_write, omf51_dump, "OMF-51", "omf51", "omf", true};

} // namespace tavrel
