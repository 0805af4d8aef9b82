// One row of the format table: a file format as a record of four operations and four fields.
#pragma once

#include "common/stream.h"
#include "model/run.h"

namespace tavrel {

struct format_t {
    // True if the input holds this format; called at position 0. May set `big_endian`.
    bool (*probe)(run_t& run, input_t& in);
    // Reads the whole input, from position 0, into the model. The result is not looked at.
    bool (*read)(run_t& run, input_t& in, text_t name);
    // Writes the whole model. The driver takes the output to disk. The result is not looked at.
    bool (*write)(run_t& run, output_t& out, text_t name);
    // Prints the input, from position 0, on run.out. False means that the file is damaged.
    bool (*dump)(run_t& run, input_t& in);
    const char* name;
    const char* key; // for -i and -o
    const char* ext; // default extension of an output, without the dot
    bool binary;     // false: text mode
};

} // namespace tavrel
