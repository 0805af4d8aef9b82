// Byte encodings: numbers of fixed width are in common/stream.h (read16 ... write64, cursor_t, put16 ...); here is the
// writing of LEB128 numbers, seven bits a byte, low group first, the top bit set on every byte but the last.
#pragma once

#include <cstdint>
#include <string>

namespace tavrel {

// Appends the number; gives the number of bytes written less one.
uint32_t uleb128_write(std::string& out, uint64_t value);
uint32_t sleb128_write(std::string& out, int64_t value);

} // namespace tavrel
