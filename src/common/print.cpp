#include "common/print.h"

#include <algorithm>

namespace tavrel {
namespace {

constexpr int width_limit = 8191;

struct conversion_t {
    bool left = false, zero = false, plus = false, blank = false, alternate = false;
    int width = 0;
    int precision = -1;
    int bits = 32;
    char letter = 0;
};

// Reads the arguments in order; one too few is seen by the caller as null.
struct arg_reader_t {
    std::span<const print_arg_t> args;
    size_t next = 0;

    const print_arg_t* take() { return next < args.size() ? &args[next++] : nullptr; }
};

int read_count(text_t format, size_t& at) {
    int value = 0;
    while (at < format.size() && format[at] >= '0' && format[at] <= '9') {
        value = std::min(value * 10 + (format[at] - '0'), width_limit);
        ++at;
    }
    return value;
}

int star_count(arg_reader_t& reader) {
    const print_arg_t* arg = reader.take();
    if (arg == nullptr || arg->is_text) {
        return 0;
    }
    const auto value = static_cast<int32_t>(static_cast<uint32_t>(arg->number));
    return std::clamp<int32_t>(value, -width_limit, width_limit);
}

void read_flags(text_t format, size_t& at, conversion_t& spec) {
    for (; at < format.size(); ++at) {
        switch (format[at]) {
        case '-': spec.left = true; break;
        case '0': spec.zero = true; break;
        case '+': spec.plus = true; break;
        case ' ': spec.blank = true; break;
        case '#': spec.alternate = true; break;
        default: return;
        }
    }
}

void read_length(text_t format, size_t& at, conversion_t& spec) {
    for (; at < format.size(); ++at) {
        switch (format[at]) {
        case 'h': spec.bits = spec.bits == 16 ? 8 : 16; break;
        case 'l': spec.bits = at > 0 && format[at - 1] == 'l' ? 64 : 32; break;
        case 'j':
        case 'q': spec.bits = 64; break;
        case 'z':
        case 't':
        case 'L': break;
        default: return;
        }
    }
}

conversion_t read_conversion(text_t format, size_t& at, arg_reader_t& reader) {
    conversion_t spec;
    read_flags(format, at, spec);
    if (at < format.size() && format[at] == '*') {
        ++at;
        spec.width = star_count(reader);
        if (spec.width < 0) {
            spec.left = true;
            spec.width = -spec.width;
        }
    } else {
        spec.width = read_count(format, at);
    }
    if (at < format.size() && format[at] == '.') {
        ++at;
        if (at < format.size() && format[at] == '*') {
            ++at;
            spec.precision = star_count(reader);
        } else {
            spec.precision = read_count(format, at);
        }
    }
    read_length(format, at, spec);
    if (at < format.size()) {
        spec.letter = format[at++];
    }
    return spec;
}

void put_padded(std::string& out, text_t text, const conversion_t& spec) {
    const size_t fill =
        static_cast<size_t>(spec.width) > text.size() ? static_cast<size_t>(spec.width) - text.size() : 0;
    if (!spec.left) {
        out.append(fill, ' ');
    }
    out.append(text);
    if (spec.left) {
        out.append(fill, ' ');
    }
}

void put_text(std::string& out, text_t text, const conversion_t& spec) {
    if (spec.precision >= 0 && text.size() > static_cast<size_t>(spec.precision)) {
        text = text.substr(0, static_cast<size_t>(spec.precision));
    }
    put_padded(out, text, spec);
}

// Writes the digits of a number in front of `end`, none for 0; gives the first. Most numbers have 32 bits, where a
// division costs a fraction of one of 64.
char* put_decimal(char* end, uint64_t value) {
    for (; value > UINT32_MAX; value /= 10) {
        *--end = static_cast<char>('0' + value % 10);
    }
    for (auto rest = static_cast<uint32_t>(value); rest != 0; rest /= 10) {
        *--end = static_cast<char>('0' + rest % 10);
    }
    return end;
}

void put_number(std::string& out, uint64_t value, const conversion_t& spec) {
    if (spec.bits < 64) {
        value &= (uint64_t(1) << spec.bits) - 1;
    }
    const bool is_signed = spec.letter == 'd' || spec.letter == 'i';
    text_t sign;
    if (is_signed) {
        if ((value >> (spec.bits - 1) & 1) != 0) {
            value = (spec.bits < 64 ? uint64_t(1) << spec.bits : 0) - value;
            sign = "-";
        } else if (spec.plus) {
            sign = "+";
        } else if (spec.blank) {
            sign = " ";
        }
    }
    const unsigned base = spec.letter == 'x' || spec.letter == 'X' ? 16 : spec.letter == 'o' ? 8 : 10;
    const char* digits = spec.letter == 'X' ? "0123456789ABCDEF" : "0123456789abcdef";
    char buffer[24];
    char* first = buffer + sizeof buffer;
    const char* const last = first;
    if (base == 10) {
        first = put_decimal(first, value);
    } else {
        const unsigned shift = base == 16 ? 4 : 3;
        for (uint64_t rest = value; rest != 0; rest >>= shift) {
            *--first = digits[rest & (base - 1)];
        }
    }
    if (value == 0 && spec.precision != 0) {
        *--first = '0';
    }
    if (spec.alternate && base == 16 && value != 0) {
        sign = spec.letter == 'X' ? "0X" : "0x";
    }
    auto count = static_cast<size_t>(last - first);
    size_t zeros = 0;
    if (spec.precision >= 0) {
        zeros = static_cast<size_t>(spec.precision) > count ? static_cast<size_t>(spec.precision) - count : 0;
    } else if (spec.zero && !spec.left && static_cast<size_t>(spec.width) > count + sign.size()) {
        zeros = static_cast<size_t>(spec.width) - count - sign.size();
    }
    if (spec.alternate && base == 8 && zeros == 0 && (count == 0 || *first != '0')) {
        zeros = 1;
    }
    const size_t length = sign.size() + zeros + count;
    const size_t fill = static_cast<size_t>(spec.width) > length ? static_cast<size_t>(spec.width) - length : 0;
    if (!spec.left) {
        out.append(fill, ' ');
    }
    out.append(sign).append(zeros, '0').append(first, count);
    if (spec.left) {
        out.append(fill, ' ');
    }
}

void put_conversion(std::string& out, conversion_t spec, arg_reader_t& reader) {
    const print_arg_t* arg = nullptr;
    switch (spec.letter) {
    case 'd':
    case 'i':
    case 'u':
    case 'x':
    case 'X':
    case 'o':
        arg = reader.take();
        if (arg != nullptr && arg->is_text) {
            put_text(out, arg->text, spec);
        } else if (arg != nullptr) {
            put_number(out, arg->number, spec);
        }
        return;
    case 'c':
        arg = reader.take();
        if (arg != nullptr && arg->is_text) {
            put_text(out, arg->text, spec);
        } else if (arg != nullptr) {
            const char letter = static_cast<char>(arg->number);
            put_padded(out, {&letter, 1}, spec);
        }
        return;
    case 'n': reader.take(); return;
    case 's':
    case 'p':
    case 'e':
    case 'E':
    case 'f':
    case 'F':
    case 'g':
    case 'G':
    case 'a':
    case 'A':
        arg = reader.take();
        if (arg != nullptr && arg->is_text) {
            put_text(out, arg->text, spec);
        } else if (arg != nullptr) {
            spec.letter = 'd';
            spec.precision = -1;
            put_number(out, arg->number, spec);
        }
        return;
    case '%': out.push_back('%'); return;
    case 0: return;
    default:
        out.push_back('%');
        out.push_back(spec.letter);
        return;
    }
}

} // namespace

void print_list(std::string& out, text_t format, std::span<const print_arg_t> args, size_t limit) {
    arg_reader_t reader{args};
    const size_t end = limit < out.max_size() - out.size() ? out.size() + limit : out.max_size();
    size_t at = 0;
    while (at < format.size() && out.size() < end) {
        const size_t percent = std::min(format.find('%', at), format.size());
        out.append(format.substr(at, percent - at));
        at = percent + 1;
        if (percent < format.size()) {
            put_conversion(out, read_conversion(format, at, reader), reader);
        }
    }
    if (out.size() > end) {
        out.resize(end);
    }
}

} // namespace tavrel
