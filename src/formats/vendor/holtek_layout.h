// How a Holtek DBG file lies: records of a type byte, a length (16 bits, little-endian: the bytes behind it), a payload
// and a checksum byte that makes the sum of all bytes of the record 0 modulo 256. Behind the first record stands a
// marker: 0xCB where a type is expected says that three further bytes are skipped.
//
// A compact number is one byte up to 0x7F, else two: high byte with bit 7 set, then low byte.
#pragma once

#include <cstdint>

namespace tavrel {

enum dbg_type_t : uint8_t {
    DBG_HEADER = 0x4A,  // count byte, that many bytes of text
    DBG_FILES = 0x70,   // repeated: length byte, characters
    DBG_LINES = 0x74,   // compact file number, section byte; repeated: line (2), address (2)
    DBG_SYMBOLS = 0x78, // compact file number, section byte; repeated: length byte, characters, value (2), type (1)
    DBG_SCOPE = 0xC2,   // block (2), parent (2), compact first and last line; repeated: two compact symbol numbers
    DBG_END = 0xCA,     // nothing
    DBG_MARKER = 0xCB,  // no record: the three bytes behind it mean nothing
};

constexpr uint32_t dbg_marker_rest = 3; // bytes behind the marker byte

enum dbg_section_t : uint8_t {
    DBG_DATA = 0,
    DBG_CODE = 1, // any value but 0
};

// Type byte of a symbol.
enum dbg_symbol_type_t : uint8_t {
    DBG_NEAR_LABEL = 0,
    DBG_FAR_LABEL = 1,
    DBG_BIT = 2,
    DBG_NIBBLE = 3,
    DBG_BYTE = 4,
    DBG_WORD = 5,
    DBG_DWORD = 6,
    DBG_FLOAT24 = 0x1C,
    DBG_FLOAT32 = 0x1D,
};

constexpr const char* dbg_symbol_types[] = {"near label", "far label", "bit", "nibble", "byte", "word", "dword"};

// The buffer that records pass through has a capacity that belongs to the run: it begins with the first record and
// grows when a longer one is met while reading.
constexpr uint32_t dbg_first_capacity = 1024;
constexpr uint32_t dbg_capacity_step = 1024; // beyond a record that did not fit
constexpr uint32_t dbg_entry_room = 257;     // a record with less room left is closed before the next entry
constexpr uint32_t dbg_payload_max = 0xFFFE; // with the checksum, what the length field can tell
constexpr uint32_t dbg_name_max = 255;

} // namespace tavrel
