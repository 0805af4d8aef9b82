#include "common/scan.h"

#include <algorithm>

namespace tavrel {
namespace {

constexpr uint32_t no_digit = 36;

uint32_t digit_at(text_t text, size_t at) {
    const char c = at < text.size() ? text[at] : '\0';
    if (c >= '0' && c <= '9') {
        return static_cast<uint32_t>(c - '0');
    }
    const char folded = static_cast<char>(c | 0x20);
    return folded >= 'a' && folded <= 'f' ? static_cast<uint32_t>(folded - 'a' + 10) : no_digit;
}

} // namespace

bool scan_number(text_t text, uint32_t base, uint32_t& value) {
    size_t at = 0;
    while (at < text.size() && is_space(text[at])) {
        ++at;
    }
    const bool negative = at < text.size() && text[at] == '-';
    if (at < text.size() && (text[at] == '-' || text[at] == '+')) {
        ++at;
    }
    if (base == 16 && at + 1 < text.size() && text[at] == '0' && (text[at + 1] | 0x20) == 'x') {
        at += 2; // nothing but this makes no number
    }
    const size_t first = at;
    uint64_t result = 0;
    for (uint32_t digit = 0; (digit = digit_at(text, at)) < base; ++at) {
        result = std::min<uint64_t>(result * base + digit, uint64_t(1) << 32);
    }
    if (at == first) {
        return false;
    }
    const auto held = static_cast<uint32_t>(std::min<uint64_t>(result, UINT32_MAX));
    value = negative && result <= UINT32_MAX ? 0 - held : held;
    return true;
}

} // namespace tavrel
