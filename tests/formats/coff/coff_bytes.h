// Bytes of COFF files for tests: fields in either byte order, and a way to run the program on them with messages whose
// arguments can be seen.
#pragma once

#include <cstdlib>
#include <ctime>
#include <string>
#include <vector>

#include "common/print.h"
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

// What finalisation lists of the model with -v -v.
inline std::string model_of(const result_t& result) {
    const size_t from = result.err.find("\nFiles: ");
    const size_t to = result.err.find("==> Writing");
    return from == std::string::npos ? "" : result.err.substr(from, to - from);
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

} // namespace tavrel::testing
