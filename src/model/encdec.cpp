#include "model/encdec.h"

namespace tavrel {

uint32_t uleb128_write(std::string& out, uint64_t value) {
    uint32_t more = 0;
    for (; value > 0x7F; value >>= 7, ++more) {
        out.push_back(static_cast<char>(value | 0x80));
    }
    out.push_back(static_cast<char>(value));
    return more;
}

uint32_t sleb128_write(std::string& out, int64_t value) {
    uint32_t more = 0;
    for (; value < -64 || value > 63; value >>= 7, ++more) {
        out.push_back(static_cast<char>(value | 0x80));
    }
    out.push_back(static_cast<char>(value & 0x7F));
    return more;
}

} // namespace tavrel
