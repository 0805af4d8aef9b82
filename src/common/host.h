// What a run asks of its surroundings: files, the standard streams, environment and time, as a record of operations.
// The program hands in the operating system's (system_host); tests, fuzzers and benchmarks hand in one that lives in
// memory, and so drive the whole program without touching a disk.
#pragma once

#include <cstdint>
#include <ctime>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>

#include "common/stream.h"

namespace tavrel {

struct host_t {
    // Reads a whole file into `bytes`. Gives 0, or the system's error number. A directory cannot be read.
    std::function<int(const std::string& path, std::string& bytes)> read_file;
    // Opens a file for writing and empties it; the sink takes its bytes and closes it when it goes. Empty on failure,
    // with the system's error number in `error`.
    std::function<sink_t(const std::string& path, int& error)> create_file;
    // The same, without emptying, each write going to the end of the file at once.
    std::function<sink_t(const std::string& path, int& error)> append_file;
    // The next line of standard input with its newline; false at the end.
    std::function<bool(std::string& line)> read_input_line;
    bool input_is_terminal = false;
    sink_t out; // standard output
    sink_t err; // standard error
    std::function<std::optional<std::string>(const char* name)> environment;
    std::function<int64_t()> present_time; // seconds since 1970
    std::string program_path;              // of the running program, links resolved
};

host_t system_host();

// The same in memory. Files that are not there give the error 2 (no such file).
struct memory_files_t {
    std::map<std::string, std::string> files;
    std::map<std::string, std::string> variables; // the environment
    std::string input;                            // standard input
    std::string out, err;
    int64_t time = 0;
};

host_t memory_host(memory_files_t& files);

// The present time as the outputs store it: SOURCE_DATE_EPOCH if that is set to a number, else the host's clock.
int64_t now(const host_t& host);

// The same as calendar date and time: in UTC when SOURCE_DATE_EPOCH is set, else local time.
std::tm now_calendar(const host_t& host);

// "Thu Jan  1 00:00:00 1970\n" for unsigned seconds since 1970, in local time.
std::string date_text(uint32_t seconds);

// The system's description of an error number.
std::string error_text(int error);

} // namespace tavrel
