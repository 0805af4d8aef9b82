// The streams of a run. Inputs lie whole in memory, outputs grow in memory and go to disk in one piece; what is read
// from bytes goes through a cursor that never passes their end.
#pragma once

#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "common/print.h"

namespace tavrel {

// Takes bytes towards a file or a stream; gives the number of bytes taken, less than asked for when no more fit.
using sink_t = std::function<size_t(std::string_view)>;

// ---- numbers in byte buffers

inline uint16_t read16(const uint8_t* p, int big_endian) {
    return big_endian != 0 ? static_cast<uint16_t>(p[0] << 8 | p[1]) : static_cast<uint16_t>(p[1] << 8 | p[0]);
}
inline uint32_t read32(const uint8_t* p, int big_endian) {
    return big_endian != 0 ? uint32_t(p[0]) << 24 | uint32_t(p[1]) << 16 | uint32_t(p[2]) << 8 | p[3]
                           : uint32_t(p[3]) << 24 | uint32_t(p[2]) << 16 | uint32_t(p[1]) << 8 | p[0];
}
inline uint64_t read64(const uint8_t* p, int big_endian) {
    return big_endian != 0 ? uint64_t(read32(p, 1)) << 32 | read32(p + 4, 1)
                           : uint64_t(read32(p + 4, 0)) << 32 | read32(p, 0);
}
// The writers give the address behind what they wrote, so that writes chain.
uint8_t* write16(uint8_t* p, uint32_t value, int big_endian);
uint8_t* write32(uint8_t* p, uint32_t value, int big_endian);
uint8_t* write64(uint8_t* p, uint64_t value, int big_endian);

// ---- reading

// Reads fields from a span of bytes in one byte order. A read that passes the end sets `short_read`, gives zeros for
// what is missing and leaves the position at the end; so a decoder reads straight down and looks at the flag once.
struct cursor_t {
    std::span<const uint8_t> bytes;
    size_t position = 0;
    int big_endian = 0;
    bool short_read = false;

    cursor_t() = default;
    cursor_t(std::span<const uint8_t> from, int order) : bytes(from), big_endian(order) {}

    size_t left() const { return bytes.size() - position; }
    bool at_end() const { return position >= bytes.size(); }
    void seek(uint64_t to); // beyond the end: to the end, and a short read
    void skip(uint64_t size) { seek(position + size < position ? ~uint64_t(0) : position + size); }

    uint8_t u8();
    uint16_t u16();
    uint32_t u24();
    uint32_t u32();
    uint64_t u64();
    uint64_t uleb128(); // seven bits a byte, low group first; bits beyond 64 are dropped
    int64_t sleb128();
    std::span<const uint8_t> take(uint64_t size); // what is there, if less is left
    text_t string();                              // up to a NUL (stepped over) or the end (then a short read)
};

// One input file, whole in memory, with a position. Text mode is the same view on this host.
struct input_t {
    std::string name;  // as the command line spelled it
    std::string bytes; // the file
    size_t position = 0;

    std::span<const uint8_t> data() const { return {reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size()}; }
};

inline void rewind(input_t& in) { in.position = 0; }

// The next line with its newline, cut at `limit` characters as fgets with a buffer of limit + 1 cuts it: the rest of a
// longer line is the next line. False at the end of the file.
bool read_line(input_t& in, text_t& line, size_t limit = SIZE_MAX);

// `size` bytes from the position on, which moves behind them; an empty span and no movement if they are not all there.
std::span<const uint8_t> read_bytes(input_t& in, uint64_t size);

// A cursor on the whole input, at its position.
cursor_t cursor_of(const input_t& in, int big_endian);

// ---- writing

// One output in the making: a buffer that grows at the position; a seek past the end fills with zeros once something
// is written there. It goes to disk when the writer is done.
struct output_t {
    // A piece of the file whose loss has a message of its own (see output_note).
    struct piece_t {
        uint64_t from, to;
        uint32_t message;
        std::string part; // first argument of the message, in front of the file's name; empty for none
    };
    std::string bytes;
    size_t position = 0;
    int big_endian = 0; // order of put16, put32, put64
    std::vector<piece_t> pieces;
};

void seek(output_t& out, size_t position);
void put_bytes(output_t& out, const void* bytes, size_t size);
inline void put_text(output_t& out, text_t text) { put_bytes(out, text.data(), text.size()); }
void put8(output_t& out, uint32_t value);
void put16(output_t& out, uint32_t value);
void put32(output_t& out, uint32_t value);
void put64(output_t& out, uint64_t value);
void put_zeros(output_t& out, size_t count);

// Says which message tells that the file ended inside [from, to); 413 tells it elsewhere. The message's arguments are
// `part`, if it is given, and the file's name.
void output_note(output_t& out, uint64_t from, uint64_t to, uint32_t message, text_t part = {});

// Formatted text at the position.
template <class... A>
void print(output_t& out, text_t format, const A&... args) {
    if (out.position == out.bytes.size()) {
        print(out.bytes, format, args...);
        out.position = out.bytes.size();
    } else {
        put_text(out, format_text(format, args...));
    }
}

// Standard output: text on its way, handed to the sink when asked for or when much has gathered.
struct printer_t {
    std::string text;
    sink_t sink;
    bool failed = false;  // something did not fit; reported once by the driver
    uint64_t flushed = 0; // bytes handed on so far
};

void flush(printer_t& out);

template <class... A>
void print(printer_t& out, text_t format, const A&... args) {
    print(out.text, format, args...);
    if (out.text.size() > 65536) {
        flush(out);
    }
}

inline void put_text(printer_t& out, text_t text) {
    out.text.append(text);
    if (out.text.size() > 65536) {
        flush(out);
    }
}

} // namespace tavrel
