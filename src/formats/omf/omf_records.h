// The records of the 8051 object formats, and all that OMF-51 and its extended form do alike with them.
//
// A file is a sequence of records up to its end; docs/formats/omf51.md tells them field by field. Each record is a type
// byte, the number L of bytes that follow in two bytes, L - 1 bytes of body, and a checksum that brings the sum of all
// bytes to 0 modulo 256. Numbers are little-endian whatever `big_endian` says. Names carry their length in front and no
// NUL behind.
//
// The two formats differ in a handful of things, which stand in an omf_dialect_t.
#pragma once

#include <functional>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "model/format.h"

namespace tavrel {

enum omf_record_type_t : uint8_t {
    OMF_MODULE_HEADER = 0x02,
    OMF_MODULE_END = 0x04,
    OMF_CONTENT = 0x06,
    OMF_FIXUP = 0x08,
    OMF_SEGMENT_DEF = 0x0E,
    OMF_SCOPE_DEF = 0x10,
    OMF_DEBUG_ITEM = 0x12,
    OMF_PUBLIC_DEF = 0x16,
    OMF_EXTERNAL_DEF = 0x18,
    OMF_LIB_MODLOCS = 0x26,
    OMF_LIB_MODNAME = 0x28,
    OMF_LIB_DICTIONARY = 0x2A,
    OMF_LIB_HEADER = 0x2C,
};

enum omf_block_t : uint8_t { // block types of a Scope Def
    OMF_MODULE_BLOCK = 0,
    OMF_DO_BLOCK = 1,
    OMF_PROCEDURE_BLOCK = 2,
    OMF_MODULE_BLOCK_END = 3,
    OMF_DO_BLOCK_END = 4,
    OMF_PROCEDURE_BLOCK_END = 5,
};

enum omf_definition_t : uint8_t { // definition types of a Debug Item
    OMF_LOCAL_SYMBOLS = 0,
    OMF_PUBLIC_SYMBOLS = 1,
    OMF_SEGMENT_SYMBOLS = 2,
    OMF_LINE_NUMBERS = 3,
};

enum omf_info_t : uint8_t { // the info byte of a symbol entry
    OMF_MEMORY_TYPE = 0x07,
    OMF_BANK = 0x18,
    OMF_BANK_VALID = 0x20,
    OMF_VARIABLE = 0x40, // clear: code label
    OMF_INDIRECT = 0x80,
};

// Memory types 0 to 4 are CODE, XDATA, DATA, IDATA and BIT: names of segments, too.
constexpr uint32_t omf_segment_types = 5;
constexpr uint8_t omf_no_memory = 5; // a number, no place

// One record as it lies in the file.
struct omf_record_t {
    uint32_t position = 0; // of the type byte in the file
    uint8_t type = 0;
    uint32_t length = 0; // L
    cursor_t body;       // lies in the input; empty where L is 0
};

// An entry of the definition types 0, 1 and 2.
struct omf_symbol_entry_t {
    uint8_t segment_id = 0;
    uint8_t info = 0;
    uint16_t offset = 0;
    uint8_t type = 0; // type number in the extended form, else 0
    text_t name;      // not owned; at most 255 characters count
};

struct omf_dialect_t;
struct omf_reader_t;

// One row of the record table. A null operation: the record is skipped by the reader, or has no text in the dump.
struct omf_row_t {
    uint8_t type;
    const char* name;
    void (*dump)(printer_t& out, const omf_dialect_t& dialect, const omf_record_t& record);
    void (*read)(omf_reader_t& reader, const omf_record_t& record);
};

// What tells the two formats apart.
struct omf_dialect_t {
    const char* heading;                              // of the dump
    const char* message_name;                         // in message 1042
    std::span<const omf_row_t> extra_rows;            // behind the thirteen that both have
    void (*print_type)(printer_t& out, uint8_t type); // of a symbol entry, null where it has none
    size_t name_limit;                                // characters of a module's name in an output
    std::string (*symbol_name)(text_t name);          // as an output's entries spell it
};

// ---- reading

// The next record from the position of `in` on. False at the end of the file, and at damage: with `report` that raises
// 1041 for a file that ends inside the record and 1040 (type, sum) for a wrong checksum. With `report` and -v twice the
// body is dumped on standard output.
bool read_record(run_t& run, input_t& in, bool report, omf_record_t& record);

// A name of `size` characters; what is there, and a short read, if there are fewer.
text_t omf_name(cursor_t& body, size_t size);
text_t omf_counted_name(cursor_t& body); // its length is the byte in front

// The next entry of a Debug Item; false if it runs over the end of the body.
bool omf_symbol_entry(cursor_t& body, omf_symbol_entry_t& entry);

// What a read keeps from one record to the next.
struct omf_reader_t {
    run_t& run;
    uint32_t segments[omf_segment_types]; // segment indices of the memory types
    uint32_t file = 0;                    // current file index
};

// The read operation of both rows: symbols, lines, segments and code bytes. Raises 1040, 1041, and 1042 (format, type)
// for a record of unknown type, which ends the reading.
bool omf_read(run_t& run, input_t& in, const omf_dialect_t& dialect);
// The read operation of every kind of Debug Item.
void omf_read_debug_item(omf_reader_t& reader, const omf_record_t& record);

// ---- dumping

// The dump operation of both rows. Raises 1040 and 1041.
bool omf_dump(run_t& run, input_t& in, const omf_dialect_t& dialect);
// The dump operation of every kind of Debug Item.
void omf_dump_debug_item(printer_t& out, const omf_dialect_t& dialect, const omf_record_t& record);
void omf_print_bad_length(printer_t& out); // the line for an entry that runs over the end of its record

// The row of a record type, null if there is none.
const omf_row_t* omf_find_row(const omf_dialect_t& dialect, uint8_t type);

// ---- writing

// Finds the blocks that overlap a range of addresses in time that grows with their number.
struct omf_block_index_t {
    std::vector<uint32_t> positions; // in `blocks`, by ascending address
    std::vector<uint32_t> ends;      // binary tree over `positions` of the highest end below each node
    size_t leaves = 0;               // of the tree, a power of two
};

// One file in the making. Debug entries gather in a pending record, which is closed when an entry of another kind, or
// any other record, is due.
struct omf_writer_t {
    run_t& run;
    output_t& out;
    const omf_dialect_t& dialect;
    text_t output; // name of the file, for messages
    // Called when a record is closed, and told whether one is pending: what has to stand in front of it goes out here.
    std::function<void(bool pending)> before_close = {};
    std::vector<uint8_t> record_buffer = {}; // body of the pending record
    uint8_t pending_type = 0;                // its type, 0 for none
    uint32_t low = 0, high = 0;              // code addresses that count as written: [low, high)
    std::optional<omf_block_index_t> block_index = {};
    std::optional<uint64_t> content_left = {}; // image bytes that may still be written, again and again counted
};

// Bodies are put together in vectors: numbers low byte first, names with their length in front, cut at 255.
void omf_put8(std::vector<uint8_t>& body, uint32_t value);
void omf_put16(std::vector<uint8_t>& body, uint32_t value);
void omf_put_name(std::vector<uint8_t>& body, text_t name);

// At most 65534 bytes of body.
void write_record(output_t& out, uint8_t type, std::span<const uint8_t> body);
void close_record(omf_writer_t& writer);
void write_module_header(omf_writer_t& writer, text_t name);
void write_module_end(omf_writer_t& writer, text_t name);                  // closes the pending record
void write_scope_def(omf_writer_t& writer, omf_block_t kind, text_t name); // closes the pending record

// True if an entry of that kind cannot go into the pending record.
bool omf_needs_record(const omf_writer_t& writer, uint8_t type, omf_definition_t definition);
void omf_add_symbol(omf_writer_t& writer, uint8_t type, omf_definition_t definition, const omf_symbol_entry_t& entry);
void omf_add_line(omf_writer_t& writer, const line_t& line);
// The entry of a symbol of the model in a plain Debug Item.
void omf_add_model_symbol(omf_writer_t& writer, omf_definition_t definition, const symbol_t& symbol);

// The memory type whose name begins like that of the segment (index, 0 for none).
uint8_t omf_memory_type(const model_t& model, uint32_t segment);

// Brings the image bytes of [from, to) out, as far as they do not count as written yet. What is written again and again
// ends, behind message 413, when it is out of all proportion to the image.
void write_content(omf_writer_t& writer, uint32_t from, uint32_t to);

// The whole model as one module, file by file; nothing if there are no files.
void write_plain(omf_writer_t& writer);

// The part in front of the last dot.
text_t omf_stem(text_t name);

} // namespace tavrel
