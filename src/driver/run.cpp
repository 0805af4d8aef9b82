// The story of a run: options, inputs, finalisation, outputs, status.
#include "driver/run.h"

#include "common/getargs.h"
#include "debug/type.h"
#include "driver/finalise.h"
#include "driver/formats.h"
#include "driver/options.h"

namespace tavrel {
namespace {

constexpr size_t derived_name_limit = 127;

// The output that a writer works on: it goes to disk when the writer is done, or when the run ends inside it.
struct open_output_t {
    output_t buffer;
    sink_t file;
    std::string name;
};

struct driver_t {
    run_t run;
    options_t options;
    open_output_t output;

    explicit driver_t(const host_t& host) : run(host) {}
};

// ---- start

std::vector<std::string> args_from_input(run_t& run) {
    return getargs(run.messages, run.host.read_input_line, run.host.input_is_terminal, "tavrel> ");
}

// Lines of a text that lies in memory.
struct text_lines_t {
    input_t in;

    bool operator()(std::string& line) {
        text_t view;
        const bool there = read_line(in, view);
        line = view;
        return there;
    }
};

std::vector<std::string> args_from_file(run_t& run, const std::string& name) {
    text_lines_t lines;
    if (const int error = run.host.read_file(name, lines.in.bytes); error != 0) {
        run.messages.system_error = error;
        alert(run, 141, "command", name);
        return args_from_input(run);
    }
    return getargs(run.messages, lines, false, "tavrel> ");
}

std::vector<std::string> gather_args(run_t& run, const std::vector<std::string>& args) {
    if (args.empty()) {
        return args_from_input(run);
    }
    if (args.size() == 1 && args[0].substr(0, 1) == "@") {
        return args_from_file(run, args[0].substr(1));
    }
    return args;
}

void check_options(run_t& run, const options_t& options) {
    if (!options.inputs.empty()) {
        set_context(run.messages, options.inputs.front());
    }
    if (options.outputs.empty() && !run.dump_mode && !run.identify_only) {
        alert(run, 613);
        end_run(run);
    }
    if (options.inputs.empty()) {
        alert(run, 614);
        end_run(run);
    }
}

// ---- inputs

const format_t& detect_format(run_t& run, input_t& in) {
    for (const format_t* const row : format_table()) {
        rewind(in);
        if (row->probe(run, in)) {
            progress(run, "Confirmed as %s", row->name);
            return *row;
        }
        progress(run, "Not %s", row->name);
    }
    alert(run, 605);
    end_run(run);
}

const format_t& choose_format(run_t& run, const options_t& options, input_t& in) {
    if (options.input_format == 0) {
        return detect_format(run, in);
    }
    const format_t& row = *format_table()[options.input_format - 1];
    progress(run, "Defaulting to %s", row.name);
    return row;
}

void dump_input(run_t& run, const format_t& row, input_t& in) {
    if (!row.dump(run, in)) {
        alert(run, 634, in.name);
    }
    put_text(run.out, "\n");
    flush(run.out);
}

void read_input(run_t& run, const format_t& row, input_t& in) {
    progress(run, "Reading '%s' as %s", in.name, row.name);
    row.read(run, in, in.name);
    flush(run.out);
}

// True if the input counts as handled.
bool take_input(run_t& run, const options_t& options, const std::string& name) {
    input_t in;
    in.name = name;
    if (const int error = run.host.read_file(name, in.bytes); error != 0) {
        run.messages.system_error = error;
        alert(run, 141, "input", name);
        return false;
    }
    progress(run, "Checking '%s' file type ...", name);
    const format_t& row = choose_format(run, options, in);
    rewind(in);
    if (run.dump_mode) {
        dump_input(run, row, in);
    } else if (!run.identify_only) {
        read_input(run, row, in);
    }
    return true;
}

void take_inputs(run_t& run, const options_t& options) {
    uint32_t count = 0;
    for (const std::string& name : options.inputs) {
        count += take_input(run, options, name) ? 1 : 0;
    }
    progress(run, "Read %d input files", count);
}

// ---- outputs

std::string with_extension(const std::string& name, const format_t& row) {
    return format_text("%s.%s", name, row.ext).substr(0, derived_name_limit);
}

// The name of an output: its own, or the stem of the output before it (of the first input at first) with the format's
// extension.
std::string output_name(const output_request_t& request, const format_t& row, const std::string& last_output) {
    std::string name = request.has_name ? request.name : last_output;
    if (!request.has_name) {
        if (const size_t dot = name.rfind('.'); dot != std::string::npos) {
            return with_extension(name.substr(0, dot), row);
        }
    }
    size_t separator = name.rfind('/');
    if (separator == std::string::npos) {
        separator = name.rfind('\\');
    }
    const size_t base = separator == std::string::npos ? 0 : separator + 1;
    return name.find('.', base) == std::string::npos ? with_extension(name, row) : name;
}

// Tells that a file ended in front of byte `at`.
void report_loss(run_t& run, const output_t& buffer, uint64_t at, const std::string& name) {
    for (const output_t::piece_t& piece : buffer.pieces) {
        if (piece.from <= at && at < piece.to) {
            if (piece.part.empty()) {
                alert(run, piece.message, name);
            } else {
                alert(run, piece.message, piece.part, name);
            }
            return;
        }
    }
    alert(run, 413, name);
}

// Takes the open output to disk and closes it; what did not fit is reported.
void deliver(driver_t& driver) {
    const std::string& bytes = driver.output.buffer.bytes;
    const sink_t file = std::move(driver.output.file);
    driver.output.file = {};
    if (!file || bytes.empty()) {
        return;
    }
    if (const size_t taken = file(bytes); taken < bytes.size()) {
        report_loss(driver.run, driver.output.buffer, taken, driver.output.name);
    }
}

void write_output(driver_t& driver, const format_t& row, const std::string& name) {
    run_t& run = driver.run;
    int error = 0;
    driver.output = {};
    driver.output.name = name;
    driver.output.file = run.host.create_file(name, error);
    if (!driver.output.file) {
        run.messages.system_error = error;
        alert(run, 378, "output", name);
        end_run(run);
    }
    progress(run, "Writing '%s' as %s", name, row.name);
    row.write(run, driver.output.buffer, name);
    flush(run.out);
    deliver(driver);
}

void write_outputs(driver_t& driver) {
    std::string last_output = driver.options.inputs.front();
    for (const output_request_t& request : driver.options.outputs) {
        const format_t& row = *format_table()[request.format - 1];
        last_output = output_name(request, row, last_output);
        write_output(driver, row, last_output);
    }
    if (driver.options.outputs.size() > 1) {
        progress(driver.run, "Wrote %d output files", driver.options.outputs.size());
    }
}

// ---- the whole run

int run_all(driver_t& driver, const std::vector<std::string>& args) {
    run_t& run = driver.run;
    driver.options = parse_options(run, gather_args(run, args));
    check_options(run, driver.options);
    take_inputs(run, driver.options);
    if (run.verbose != 0) {
        dump_tree(run);
    }
    if (run.identify_only) {
        return 0;
    }
    finalise(run);
    write_outputs(driver);
    return exit_status(run.messages);
}

// What the writer had made when a message ended the run inside it.
void deliver_rest(driver_t& driver) {
    try {
        deliver(driver);
    } catch (const end_of_run_t&) {
        return; // the run is at its end
    }
}

// Standard output to its end; what it could not take is an error of its own.
int close_output(run_t& run, int status) {
    flush(run.out);
    if (!run.out.failed) {
        return status;
    }
    try {
        alert(run, 413, "standard output");
    } catch (const end_of_run_t& end) {
        return end.status;
    }
    return status != 0 ? status : exit_status(run.messages);
}

} // namespace

int tavrel_run(const std::vector<std::string>& args, const host_t& host) {
    driver_t driver(host);
    int status = 0;
    try {
        status = run_all(driver, args);
    } catch (const end_of_run_t& end) {
        status = end.status;
        deliver_rest(driver);
    }
    return close_output(driver.run, status);
}

} // namespace tavrel
