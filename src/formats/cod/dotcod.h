// The row of COD, the debug file that simulators and debuggers of small PIC parts load. Its layout is told in
// docs/formats/cod.md, its numbers in dotcod_layout.h.
//
// The program writes, recognises and prints it, but does not read it into the model: cod_read takes nothing and raises
// nothing.
#pragma once

#include "model/format.h"

namespace tavrel {

// True if the first block looks like a directory: its date has the form DDMonYY.
bool cod_probe(run_t& run, input_t& in);
bool cod_read(run_t& run, input_t& in, text_t name);

// Writes the model; `name` is the output's and goes into the directory. Raises 413 with it when lines had to be left
// out (cod_line_length_max, cod_block_max). Later writers of the run find "CODE" and "ENTRY" in `code_spaces` if that
// was empty, SYM_DESCRIBED on the symbols of resolved externals, and the locations of variables resolved. Always true.
bool cod_write(run_t& run, output_t& out, text_t name);

// Prints the directory, symbols, locals, files and lines. Raises 1037 (ends the run), 618, 619, 620.
bool cod_dump(run_t& run, input_t& in);

extern const format_t cod_format;

} // namespace tavrel
