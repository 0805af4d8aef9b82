// A run is a value: one record with the options, the model, the tree, the machine and the message state, handed by
// reference to whatever works on it. There is no other state that outlives a call.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "common/alert.h"
#include "common/host.h"
#include "common/stream.h"
#include "model/model.h"

namespace tavrel {

struct dsym_t;    // debug/tree.h
struct tree_t;    // debug/tree.h
struct machine_t; // debug/machine.h

// What a format keeps from one file of the run to the next.
struct format_state_t {
    // Microchip COFF: the widths of the last optional header read.
    uint32_t mcoff_rom_width = 0, mcoff_ram_width = 0, mcoff_proc_type = 0;
    uint32_t mcoff_unnamed = 0; // running numbers of generated names, never reset
    uint32_t coff_unnamed = 0;
    uint32_t coff_row = 0;           // processor row of plain COFF, 0 until an input chose one
    uint32_t icoff_row = 0;          // likewise of ICOFF
    uint32_t dbg_capacity = 0;       // payload bytes of the Holtek DBG record buffer, 0 until first used
    uint32_t dwarf_address_size = 0; // of the last unit or set of ranges that a dump has seen
};

struct run_t {
    explicit run_t(const host_t& surroundings) : host(surroundings) {
        messages.host = &host;
        messages.sink = host.err;
        out.sink = host.out;
    }
    run_t(const run_t&) = delete;
    run_t& operator=(const run_t&) = delete;

    const host_t& host;
    messages_t messages;
    printer_t out; // standard output

    // Options, as the command line set them; readers and writers may change some.
    uint8_t verbose = 0;           // above 0 summaries, above 1 a line a record
    int big_endian = 0;            // the current order: each format sets it for its file and nothing restores it
    bool identify_only = false;    // -c
    bool dump_mode = false;        // -d
    bool fake_locals = false;      // -f: COD writes local variables as globals
    bool fake_blocks = false;      // -k: a redefined variable opens an inner block of the tree
    bool strip_underscore = false; // -m
    std::string processor_name;    // at most 127 characters
    std::vector<std::string> processor_args;
    std::vector<std::string> code_spaces; // at most 64 names of spaces that hold code
    uint32_t entry_point = 0;
    bool has_path_from = false, has_path_to = false;
    std::string path_from, path_to;

    model_t model;

    // The language-level tree. Null until the first SDB file, or object without one, chose a machine.
    dsym_t* global_block = nullptr;
    const machine_t* machine = nullptr;
    std::shared_ptr<tree_t> tree; // made at the first need, owns all nodes

    format_state_t formats;
};

// ---- messages

template <class... A>
void alert(run_t& run, uint32_t number, const A&... args) {
    const print_arg_t list[sizeof...(A) + 1] = {print_arg_t(args)...};
    alert_list(run.messages, number, {list, sizeof...(A)});
}

template <class... A>
bool alert_text(run_t& run, text_t severity, text_t format, const A&... args) {
    const print_arg_t list[sizeof...(A) + 1] = {print_arg_t(args)...};
    return alert_text_list(run.messages, severity, format, {list, sizeof...(A)});
}

// Ends the run with status 1: for the caller of a message that must not come back.
[[noreturn]] void end_run(run_t& run);

// Text on standard error.
template <class... A>
void error_print(run_t& run, text_t format, const A&... args) {
    error_print_text(run.messages, format_text(format, args...));
}

// The -v line: "==> ", the text and a newline on standard error, behind a flush of standard output.
void progress_text(run_t& run, const std::string& text);
template <class... A>
void progress(run_t& run, text_t format, const A&... args) {
    if (run.verbose != 0) {
        progress_text(run, format_text(format, args...));
    }
}

// ---- helpers of many formats

// The hex dump: each line begins with the address by `address_format` (from `address`, which wraps at 32 bits), then up
// to `per_line` bytes by " %02X"; with `with_text` a column of the printable characters behind them.
void dump_bytes(printer_t& out, uint32_t address, uint32_t per_line, std::span<const uint8_t> bytes,
                text_t address_format, bool with_text);

// The path with the first occurrence of `path_from` replaced by `path_to`, if both are set.
std::string apply_pathspec(const run_t& run, text_t path);

// True if `code_spaces` holds the name.
bool is_code_space_name(const run_t& run, text_t name);

} // namespace tavrel
