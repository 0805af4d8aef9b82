// The row of UBROF, the object format of an 8051 toolchain. Its layout is told in docs/formats/ubrof.md.
//
// The program recognises and prints it. ubrof_read adds nothing to the model and ubrof_write leaves its file empty,
// both without a message.
#pragma once

#include "model/format.h"

namespace tavrel {

// True for 0xA5 and a valid timestamp. Raises 1044 for a file that ends within the timestamp.
bool ubrof_probe(run_t& run, input_t& in);
bool ubrof_read(run_t& run, input_t& in, text_t name);
bool ubrof_write(run_t& run, output_t& out, text_t name);
// Prints the records and checks the CRCs. Raises 1044 to 1052, each with the input's name; any of them ends the print
// with false, but a file without a single byte is printed (as nothing) with true behind 1044.
bool ubrof_dump(run_t& run, input_t& in);

extern const format_t ubrof_format;

} // namespace tavrel
