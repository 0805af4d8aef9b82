// Small programs for the tests of the COFF writers: a symbol file, the SDB files of the objects "m.obj" and "n.obj",
// and an image.
#pragma once

#include <gtest/gtest.h>

#include "support/coff_reader.h"
#include "support/run.h"

namespace tavrel::testing {

inline std::string hex_image(const std::string& data) { // one Intel HEX record at address 0
    std::string record{static_cast<char>(data.size()), 0, 0, 0};
    record += data;
    uint8_t sum = 0;
    for (const char c : record) {
        sum = static_cast<uint8_t>(sum + static_cast<uint8_t>(c));
    }
    record += static_cast<char>(0 - sum);
    std::string digits = hex(record);
    std::erase_if(digits, [](char c) { return c == ' ' || c == '\n'; });
    return ":" + digits + "\n:00000001FF\n";
}

// 64 bytes of code at 0, data at 0x20.
const std::string code_and_ram = "%segments\ntext 0 3F CODE\nram 20 7F RAM\n";

struct program_t {
    std::string sym, sdb, second_sdb;
    std::string image = std::string(64, '\0');
};

// Runs `arguments`, in which "t.sym" and "t.hex" may stand, with -nCODE.
inline result_t convert(const program_t& program, std::vector<std::string> arguments, const std::string& time = "0") {
    arguments.insert(arguments.begin(), "-nCODE");
    files_t files;
    files["t.sym"] = program.sym;
    files["m.sdb"] = program.sdb;
    files["n.sdb"] = program.second_sdb;
    files["t.hex"] = hex_image(program.image);
    files_t variables;
    variables["SOURCE_DATE_EPOCH"] = time;
    return run_program(arguments, files, variables);
}

// The program as a COFF file, which must hold together.
inline read_coff_t written(const result_t& result, const std::string& name, const coff_kind_of_file_t& kind) {
    EXPECT_EQ(result.err, "");
    const read_coff_t file = read_coff(result.files.at(name), kind);
    EXPECT_EQ(file.faults, std::vector<std::string>());
    return file;
}

// The program in examples/ of one family.
inline files_t example(const std::string& folder) {
    files_t files;
    for (const char* const name : {"gauge.sym", "gauge.hex", "gauge.sdb", "sensor.sdb", "display.sdb", "keys.sdb"}) {
        files[name] = source_file("examples/" + folder + "/" + name);
    }
    return files;
}

} // namespace tavrel::testing
