#include "common/stream.h"

#include <algorithm>
#include <cstring>

namespace tavrel {

uint8_t* write16(uint8_t* p, uint32_t value, int big_endian) {
    p[big_endian != 0 ? 1 : 0] = static_cast<uint8_t>(value);
    p[big_endian != 0 ? 0 : 1] = static_cast<uint8_t>(value >> 8);
    return p + 2;
}

uint8_t* write32(uint8_t* p, uint32_t value, int big_endian) {
    write16(p + (big_endian != 0 ? 2 : 0), value, big_endian);
    write16(p + (big_endian != 0 ? 0 : 2), value >> 16, big_endian);
    return p + 4;
}

uint8_t* write64(uint8_t* p, uint64_t value, int big_endian) {
    write32(p + (big_endian != 0 ? 4 : 0), static_cast<uint32_t>(value), big_endian);
    write32(p + (big_endian != 0 ? 0 : 4), static_cast<uint32_t>(value >> 32), big_endian);
    return p + 8;
}

// ---- cursor_t

void cursor_t::seek(uint64_t to) {
    if (to > bytes.size()) {
        short_read = true;
        to = bytes.size();
    }
    position = static_cast<size_t>(to);
}

std::span<const uint8_t> cursor_t::take(uint64_t size) {
    if (size > left()) {
        short_read = true;
        size = left();
    }
    const auto result = bytes.subspan(position, static_cast<size_t>(size));
    position += static_cast<size_t>(size);
    return result;
}

uint8_t cursor_t::u8() {
    if (at_end()) {
        short_read = true;
        return 0;
    }
    return bytes[position++];
}

namespace {

// A field of a few bytes, those that are missing taken as zeros.
template <size_t N>
std::span<const uint8_t> field(cursor_t& from, uint8_t (&buffer)[N]) {
    const auto there = from.take(N);
    if (there.size() == N) {
        return there;
    }
    std::memset(buffer, 0, N);
    std::copy(there.begin(), there.end(), buffer);
    return buffer;
}

} // namespace

uint16_t cursor_t::u16() {
    uint8_t buffer[2];
    return read16(field(*this, buffer).data(), big_endian);
}

uint32_t cursor_t::u24() {
    uint8_t buffer[3];
    const auto p = field(*this, buffer);
    return big_endian != 0 ? uint32_t(p[0]) << 16 | uint32_t(p[1]) << 8 | p[2]
                           : uint32_t(p[2]) << 16 | uint32_t(p[1]) << 8 | p[0];
}

uint32_t cursor_t::u32() {
    uint8_t buffer[4];
    return read32(field(*this, buffer).data(), big_endian);
}

uint64_t cursor_t::u64() {
    uint8_t buffer[8];
    return read64(field(*this, buffer).data(), big_endian);
}

uint64_t cursor_t::uleb128() {
    uint64_t result = 0;
    for (unsigned shift = 0;; shift += 7) {
        if (at_end()) {
            short_read = true;
            return result;
        }
        const uint8_t byte = bytes[position++];
        if (shift < 64) {
            result |= uint64_t(byte & 0x7F) << shift;
        }
        if ((byte & 0x80) == 0) {
            return result;
        }
    }
}

int64_t cursor_t::sleb128() {
    uint64_t result = 0;
    for (unsigned shift = 0;;) {
        if (at_end()) {
            short_read = true;
            return static_cast<int64_t>(result);
        }
        const uint8_t byte = bytes[position++];
        if (shift < 64) {
            result |= uint64_t(byte & 0x7F) << shift;
            shift += 7;
        }
        if ((byte & 0x80) == 0) {
            if (shift < 64 && (byte & 0x40) != 0) {
                result |= ~uint64_t(0) << shift;
            }
            return static_cast<int64_t>(result);
        }
    }
}

text_t cursor_t::string() {
    const auto rest = bytes.subspan(position);
    const auto nul = std::find(rest.begin(), rest.end(), 0);
    const auto size = static_cast<size_t>(nul - rest.begin());
    position += size;
    if (nul == rest.end()) {
        short_read = true;
    } else {
        ++position;
    }
    return {reinterpret_cast<const char*>(rest.data()), size};
}

// ---- input_t

bool read_line(input_t& in, text_t& line, size_t limit) {
    if (in.position >= in.bytes.size()) {
        line = {};
        return false;
    }
    const size_t left = std::min(in.bytes.size() - in.position, limit);
    const char* const start = in.bytes.data() + in.position;
    const void* const newline = std::memchr(start, '\n', left);
    const size_t size = newline == nullptr ? left : static_cast<size_t>(static_cast<const char*>(newline) - start) + 1;
    line = {start, size};
    in.position += size;
    return true;
}

std::span<const uint8_t> read_bytes(input_t& in, uint64_t size) {
    if (in.position > in.bytes.size() || size > in.bytes.size() - in.position) {
        return {};
    }
    const auto result = in.data().subspan(in.position, static_cast<size_t>(size));
    in.position += static_cast<size_t>(size);
    return result;
}

cursor_t cursor_of(const input_t& in, int big_endian) {
    cursor_t cursor(in.data(), big_endian);
    cursor.position = std::min(in.position, in.bytes.size());
    return cursor;
}

// ---- output_t

void seek(output_t& out, size_t position) { out.position = position; }

void put_bytes(output_t& out, const void* bytes, size_t size) {
    if (size == 0) {
        return;
    }
    if (out.position == out.bytes.size()) {
        out.bytes.append(static_cast<const char*>(bytes), size);
    } else {
        if (out.bytes.size() < out.position + size) {
            out.bytes.resize(out.position + size);
        }
        std::memcpy(out.bytes.data() + out.position, bytes, size);
    }
    out.position += size;
}

void put8(output_t& out, uint32_t value) {
    const auto byte = static_cast<uint8_t>(value);
    put_bytes(out, &byte, 1);
}

void put16(output_t& out, uint32_t value) {
    uint8_t buffer[2];
    write16(buffer, value, out.big_endian);
    put_bytes(out, buffer, 2);
}

void put32(output_t& out, uint32_t value) {
    uint8_t buffer[4];
    write32(buffer, value, out.big_endian);
    put_bytes(out, buffer, 4);
}

void put64(output_t& out, uint64_t value) {
    uint8_t buffer[8];
    write64(buffer, value, out.big_endian);
    put_bytes(out, buffer, 8);
}

void put_zeros(output_t& out, size_t count) {
    if (count == 0) {
        return;
    }
    if (out.bytes.size() < out.position + count) {
        out.bytes.resize(out.position + count);
    }
    std::memset(out.bytes.data() + out.position, 0, count);
    out.position += count;
}

void output_note(output_t& out, uint64_t from, uint64_t to, uint32_t message, text_t part) {
    out.pieces.push_back({from, to, message, std::string(part)});
}

// ---- printer_t

void flush(printer_t& out) {
    if (!out.text.empty() && out.sink && !out.failed) {
        out.failed = out.sink(out.text) < out.text.size();
    }
    out.flushed += out.text.size();
    out.text.clear();
}

} // namespace tavrel
