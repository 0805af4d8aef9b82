// The records that Extended OMF-51 adds, and the operations of the row that stand in files of their own.
#pragma once

#include "debug/type.h"
#include "formats/omf/omf_records.h"

namespace tavrel {

enum eomf_record_type_t : uint8_t {
    EOMF_TYPEDEF = 0x20,
    EOMF_DEBUG_ITEM = 0x22,
    EOMF_SOURCE_NAME = 0x24,
    EOMF_INFO = 0x70,
};

// Type numbers below eomf_first_item are standard types, those from there on the items of the last typedef record.
enum eomf_type_t : uint8_t {
    EOMF_TYPELESS = 0,
    EOMF_SIGNED_CHAR = 2,
    EOMF_UNSIGNED_CHAR = 3,
    EOMF_SIGNED_INT = 4,
    EOMF_UNSIGNED_INT = 5,
    EOMF_SIGNED_LONG = 6,
    EOMF_UNSIGNED_LONG = 7,
    EOMF_VOID = 11,
    EOMF_FLOAT_BIG_ENDIAN = 12,
};
constexpr uint32_t eomf_first_item = 0x20;

enum eomf_item_t : uint8_t { // first byte of an item of a typedef record
    EOMF_MEMBERS = 0x20,
    EOMF_ARRAY = 0x22,
    EOMF_FUNCTION = 0x23,
    EOMF_TAG = 0x24,
    EOMF_STRUCT = 0x25,
    EOMF_BIT_FIELD = 0x26,
    EOMF_POINTER = 0x28,
};

// ---- dumping (eomf51_dump.cpp)

void eomf51_print_type(printer_t& out, uint8_t type); // of a symbol entry
void eomf51_dump_source_name(printer_t& out, const omf_dialect_t& dialect, const omf_record_t& record);
void eomf51_dump_info(printer_t& out, const omf_dialect_t& dialect, const omf_record_t& record);
void eomf51_dump_typedef(printer_t& out, const omf_dialect_t& dialect, const omf_record_t& record);

// ---- the type table (eomf51_types.cpp)

constexpr size_t eomf_type_buffer_size = 32768;

// The items of the next typedef record, and the numbers of the types that they stand for.
struct eomf_types_t {
    run_t& run;
    type_map_t written_types;         // from a type position to its number
    std::vector<uint8_t> type_buffer; // its size is the next free byte; ends at eomf_type_buffer_size
    uint32_t next_type = eomf_first_item;
};

// The number of a type; may append items to the buffer. Raises 622 (name or type text) for an item that does not fit,
// which is left out and referred to as typeless. Null is typeless, too.
uint8_t encode_type(eomf_types_t& types, type_t position);

// ---- writing (eomf51_write.cpp)

bool eomf51_write_model(run_t& run, output_t& out, const omf_dialect_t& dialect, text_t name);

} // namespace tavrel
