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

void read_flags(text_t format, size_t& at, conversion_t& how) {
    for (; at < format.size(); ++at) {
        switch (format[at]) {
        case '-': how.left = true; break;
        case '0': how.zero = true; break;
        case '+': how.plus = true; break;
        case ' ': how.blank = true; break;
        case '#': how.alternate = true; break;
        default: return;
        }
    }
}

void read_length(text_t format, size_t& at, conversion_t& how) {
    for (; at < format.size(); ++at) {
        switch (format[at]) {
        case 'h': how.bits = how.bits == 16 ? 8 : 16; break;
        case 'l': how.bits = at > 0 && format[at - 1] == 'l' ? 64 : 32; break;
        case 'j':
        case 'q': how.bits = 64; break;
        case 'z':
        case 't':
        case 'L': break;
        default: return;
        }
    }
}

conversion_t read_conversion(text_t format, size_t& at, arg_reader_t& reader) {
    conversion_t how;
    read_flags(format, at, how);
    if (at < format.size() && format[at] == '*') {
        ++at;
        how.width = star_count(reader);
        if (how.width < 0) {
            how.left = true;
            how.width = -how.width;
        }
    } else {
        how.width = read_count(format, at);
    }
    if (at < format.size() && format[at] == '.') {
        ++at;
        if (at < format.size() && format[at] == '*') {
            ++at;
            how.precision = star_count(reader);
        } else {
            how.precision = read_count(format, at);
        }
    }
    read_length(format, at, how);
    if (at < format.size()) {
        how.letter = format[at++];
    }
    return how;
}

void put_fill(std::string& out, size_t count, char c) {
    if (count != 0) {
        out.append(count, c);
    }
}

size_t room(int width, size_t used) {
    const auto wanted = static_cast<size_t>(width);
    return wanted > used ? wanted - used : 0;
}

void put_padded(std::string& out, text_t text, const conversion_t& how) {
    const size_t fill = room(how.width, text.size());
    put_fill(out, how.left ? 0 : fill, ' ');
    out.append(text);
    put_fill(out, how.left ? fill : 0, ' ');
}

void put_text(std::string& out, text_t text, const conversion_t& how) {
    if (how.precision >= 0 && text.size() > static_cast<size_t>(how.precision)) {
        text = text.substr(0, static_cast<size_t>(how.precision));
    }
    put_padded(out, text, how);
}

// Writes the digits in front of `last`; gives the first one. Of 0 there is none. A base known to the compiler makes the
// divisions cheap.
template <unsigned base>
char* put_digits(char* last, uint64_t value, const char* digits) {
    for (; value > UINT32_MAX; value /= base) {
        *--last = digits[value % base];
    }
    for (auto rest = static_cast<uint32_t>(value); rest != 0; rest /= base) {
        *--last = digits[rest % base];
    }
    return last;
}

char* put_digits(char* last, uint64_t value, char letter) {
    switch (letter) {
    case 'X': return put_digits<16>(last, value, "0123456789ABCDEF");
    case 'x': return put_digits<16>(last, value, "0123456789abcdef");
    case 'o': return put_digits<8>(last, value, "01234567");
    default: return put_digits<10>(last, value, "0123456789");
    }
}

// Takes the sign off a number of `how.bits` bits.
text_t take_sign(uint64_t& value, const conversion_t& how) {
    if ((value >> (how.bits - 1) & 1) != 0) {
        value = (how.bits < 64 ? uint64_t(1) << how.bits : 0) - value;
        return "-";
    }
    return how.plus ? "+" : how.blank ? " " : "";
}

void put_number(std::string& out, uint64_t value, const conversion_t& how) {
    if (how.bits < 64) {
        value &= (uint64_t(1) << how.bits) - 1;
    }
    text_t sign;
    if (how.letter == 'd' || how.letter == 'i') {
        sign = take_sign(value, how);
    } else if (how.alternate && value != 0) {
        sign = how.letter == 'X' ? "0X" : how.letter == 'x' ? "0x" : "";
    }
    char buffer[24];
    char* const last = buffer + sizeof buffer;
    char* first = put_digits(last, value, how.letter);
    if (value == 0 && how.precision != 0) {
        *--first = '0';
    }
    const auto count = static_cast<size_t>(last - first);
    size_t zeros = 0;
    if (how.precision >= 0) {
        zeros = room(how.precision, count);
    } else if (how.zero && !how.left) {
        zeros = room(how.width, count + sign.size());
    }
    if (how.alternate && how.letter == 'o' && zeros == 0 && (count == 0 || *first != '0')) {
        zeros = 1;
    }
    const size_t fill = room(how.width, sign.size() + zeros + count);
    put_fill(out, how.left ? 0 : fill, ' ');
    out.append(sign);
    put_fill(out, zeros, '0');
    out.append(first, count);
    put_fill(out, how.left ? fill : 0, ' ');
}

void put_conversion(std::string& out, conversion_t how, arg_reader_t& reader) {
    const print_arg_t* arg = nullptr;
    switch (how.letter) {
    case 'd':
    case 'i':
    case 'u':
    case 'x':
    case 'X':
    case 'o':
        arg = reader.take();
        if (arg != nullptr && arg->is_text) {
            put_text(out, arg->text, how);
        } else if (arg != nullptr) {
            put_number(out, arg->number, how);
        }
        return;
    case 'c':
        arg = reader.take();
        if (arg != nullptr && arg->is_text) {
            put_text(out, arg->text, how);
        } else if (arg != nullptr) {
            const char letter = static_cast<char>(arg->number);
            put_padded(out, {&letter, 1}, how);
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
            put_text(out, arg->text, how);
        } else if (arg != nullptr) {
            how.letter = 'd';
            how.precision = -1;
            put_number(out, arg->number, how);
        }
        return;
    case '%': out.push_back('%'); return;
    case 0: return;
    default:
        out.push_back('%');
        out.push_back(how.letter);
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
