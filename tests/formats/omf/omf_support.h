// Records of the 8051 object formats, put together and taken apart without the program's own code.
#pragma once

#include <algorithm>
#include <stdexcept>
#include <string>
#include <vector>

#include "support/run.h"

namespace tavrel::testing {

// One record around a body: type, length, body, checksum.
inline std::string record(int type, const std::string& body) {
    const size_t length = body.size() + 1;
    std::string result = {static_cast<char>(type), static_cast<char>(length), static_cast<char>(length >> 8)};
    result += body;
    char sum = 0;
    for (const char c : result) {
        sum = static_cast<char>(sum + c);
    }
    result.push_back(static_cast<char>(-sum));
    return result;
}

struct record_view_t {
    int type;
    std::string body;
};

inline std::vector<record_view_t> records_of(const std::string& file) {
    std::vector<record_view_t> result;
    for (size_t at = 0; at < file.size();) {
        const auto byte = [&](size_t k) { return static_cast<unsigned char>(file.at(at + k)); };
        const size_t length = byte(1) + 256u * byte(2);
        result.push_back({byte(0), file.substr(at + 3, length - 1)});
        if (file.size() - at < 3 + length ||
            record(result.back().type, result.back().body) != file.substr(at, 3 + length)) {
            throw std::runtime_error("no sound record");
        }
        at += 3 + length;
    }
    return result;
}

// The bodies of the records of one type.
inline std::vector<std::string> bodies_of(const std::string& file, int type) {
    std::vector<std::string> result;
    for (const record_view_t& view : records_of(file)) {
        if (view.type == type) {
            result.push_back(view.body);
        }
    }
    return result;
}

// All records, one a line as type and body, for comparisons that a person can read.
inline std::string listed(const std::string& file) {
    std::string result;
    for (const record_view_t& view : records_of(file)) {
        std::string body = hex(view.body);
        std::replace(body.begin(), body.end(), '\n', ' ');
        result += hex(std::string(1, static_cast<char>(view.type))) + ": " + body + "\n";
    }
    return result;
}

// Descriptions of the messages that these formats raise, to be given by --edf=m.
inline const std::string message_texts = "1040 0 sum of %d is %d\n"
                                         "1041 0 ends inside a record\n"
                                         "1042 E unknown %s %d\n"
                                         "622 0 full: %s\n";

// What `-d` prints of a file under a key.
inline std::string dumped(const std::string& key, const std::string& file, std::vector<std::string> options = {}) {
    options.insert(options.end(), {"--edf=m", "-d", "-i" + key, "in"});
    files_t files;
    files["in"] = file;
    files["m"] = message_texts;
    return run_program(options, files,
                       {
                           {"TZ", "UTC"}
    })
        .out;
}

} // namespace tavrel::testing
