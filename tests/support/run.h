// Whole runs in memory, for tests, fuzzers and benchmarks.
#pragma once

#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "common/host.h"

namespace tavrel::testing {

using files_t = std::map<std::string, std::string>;

struct result_t {
    int status = 0;
    std::string out, err;
    files_t files; // inputs and outputs
};

// Runs the program with these arguments on these files, with SOURCE_DATE_EPOCH=0 unless `variables` say otherwise.
result_t run_program(const std::vector<std::string>& args, const files_t& files = {}, const files_t& variables = {});

// Bytes from annotated hex: pairs of digits, blanks between them at will; ';' begins a comment to the end of the line;
// text in double quotes stands for its characters.
std::string bytes(std::string_view text);

// Hex of the bytes, sixteen a line, for readable comparisons.
std::string hex(std::string_view bytes);

// A file of the source tree (examples/..., dat/...).
std::string source_file(const std::string& path);

} // namespace tavrel::testing
