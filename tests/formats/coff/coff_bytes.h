// Bytes of COFF files for tests: fields in either byte order, and a way to run the program on them with messages whose
// arguments can be seen.
#pragma once

#include <cstdlib>
#include <ctime>
#include <string>
#include <vector>

#include "support/run.h"

namespace tavrel::testing {

inline std::string number(uint32_t value, unsigned width, bool big_endian) {
    std::string result;
    for (unsigned k = 0; k < width; ++k) {
        const unsigned shift = 8 * (big_endian ? width - 1 - k : k);
        result.push_back(static_cast<char>(value >> shift & 0xFF));
    }
    return result;
}
inline std::string le16(uint32_t value) { return number(value, 2, false); }
inline std::string le32(uint32_t value) { return number(value, 4, false); }
inline std::string be16(uint32_t value) { return number(value, 2, true); }
inline std::string be32(uint32_t value) { return number(value, 4, true); }

// The text in a field of fixed width, padded with NULs.
inline std::string field(std::string text, size_t width = 8) {
    text.resize(width);
    return text;
}

// The text against the right edge of a field, cut to it.
inline std::string right(const std::string& text, size_t width = 24) {
    return text.size() < width ? std::string(width - text.size(), ' ') + text : text.substr(0, width);
}

inline void patch(std::string& file, size_t at, const std::string& bytes) { file.replace(at, bytes.size(), bytes); }

// Errors that print their number and arguments.
constexpr const char* coff_messages = "599 e 599\n600 e 600\n605 f 605\n625 1 625\n633 1 633 %d\n634 e 634 %s\n"
                                      "638 1 638 %ld\n639 1 639\n1036 e 1036 %s %u\n1037 e 1037 %s\n1038 e 1038\n"
                                      "1039 e 1039\n1043 1 1043\n1289 -1 1289\n";

// Runs the program on `in.cof`, in UTC; `err` keeps what follows the numbers of messages, a line each.
inline result_t run_coff(std::vector<std::string> args, const std::string& file) {
    setenv("TZ", "UTC0", 1);
    tzset();
    args.insert(args.begin(), {"--edf=msgs", "--emax=100000", "in.cof"});
    return run_program(args, {
                                 {"in.cof", file         },
                                 {"msgs",   coff_messages}
    });
}

// The messages of a run, without its progress lines, as one text with "; " between them.
inline std::string messages_of(const result_t& result) {
    std::string found;
    for (size_t at = 0; at < result.err.size();) {
        const size_t end = std::min(result.err.find('\n', at), result.err.size());
        const std::string line = result.err.substr(at, end - at);
        if (const size_t number_end = line.find(") "); line.rfind("in.cof: (", 0) == 0) {
            std::string text = line.substr(number_end + 2);
            if (const size_t warning = text.find(" (warning)"); warning != std::string::npos) {
                text.resize(warning);
            }
            found += (found.empty() ? "" : "; ") + text;
        }
        at = end + 1;
    }
    return found;
}

// The lines of a text that begin with `start`.
inline std::string lines_with(const std::string& text, const std::string& start) {
    std::string found;
    for (size_t at = 0; at < text.size();) {
        const size_t end = std::min(text.find('\n', at), text.size());
        if (text.compare(at, start.size(), start) == 0) {
            found += text.substr(at, end - at) + "\n";
        }
        at = end + 1;
    }
    return found;
}

// Every damaged copy of a file: each byte set to a few values, and the file cut in front of it. Calls `check` for each.
template <class F>
void for_each_damage(const std::string& file, F check) {
    for (size_t at = 0; at < file.size(); ++at) {
        check(file.substr(0, at), "cut at " + std::to_string(at));
        for (const int change : {0x00, 0x01, 0x7F, 0x80, 0xFF}) {
            std::string copy = file;
            copy[at] = static_cast<char>(change == 0x01 ? copy[at] + 1 : change);
            check(copy, "byte " + std::to_string(at) + " changed by " + std::to_string(change));
        }
    }
}

// Reads and prints every damaged copy: it must end, say nothing unheard of, and print no more than the file explains.
void expect_sane_damage(const std::string& key, const std::string& file);

} // namespace tavrel::testing
