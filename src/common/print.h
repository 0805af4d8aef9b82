// Formatted text with printf's conversions and numbers of exact width.
//
// The program's texts are written for a host whose `long` has 32 bits. That is decided here, once: `%d`, `%u`, `%x`,
// `%X`, `%o`, `%c` with or without `l` take the low 32 bits of their argument, `h` takes 16, `hh` takes 8, and `ll`
// takes all 64. Signed conversions read those bits as two's complement, so that "%ld" of 0xFFFFFFFF prints -1.
//
// The arguments keep their types on the way (a list, not `va_list`), so that a format text that comes from a user's
// file can never touch memory that is not an argument: a conversion that does not fit its argument prints the argument
// in its own way, one without an argument prints nothing, `%n` stores nothing, widths and precisions end at 8191.
#pragma once

#include <concepts>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>

namespace tavrel {

// A text is a view of bytes that somebody else owns, most often a text_arena_t. A text without an address (`text_t{}`)
// is "none", which some records tell apart from the empty text.
using text_t = std::string_view;

inline bool is_none(text_t text) { return text.data() == nullptr; }

// One argument: a number (kept in 64 bits, sign-extended from its own type) or a text (not owned).
struct print_arg_t {
    bool is_text = false;
    uint64_t number = 0;
    text_t text;

    print_arg_t() = default;
    template <class T>
    requires(std::integral<T> || std::is_enum_v<T>) print_arg_t(T value)
        : number(static_cast<uint64_t>(static_cast<int64_t>(value))) {}
    print_arg_t(text_t value) : is_text(true), text(value) {}
    print_arg_t(const std::string& value) : is_text(true), text(value) {}
    print_arg_t(const char* value) : is_text(true), text(value == nullptr ? text_t() : text_t(value)) {}
};

// Appends the formatted text to `out`, cut at `limit` characters.
void print_list(std::string& out, text_t format, std::span<const print_arg_t> args, size_t limit = SIZE_MAX);

template <class... A>
void print(std::string& out, text_t format, const A&... args) {
    const print_arg_t list[sizeof...(A) + 1] = {print_arg_t(args)...};
    print_list(out, format, {list, sizeof...(A)});
}

// The formatted text as a string of its own.
template <class... A>
std::string format_text(text_t format, const A&... args) {
    std::string out;
    print(out, format, args...);
    return out;
}

} // namespace tavrel
