// ELF with DWARF 2: the image, symbols and debug information in the one form that any debugger reads. An output
// format; an input is identified and dumped, and gives nothing to the model. The file's layout: docs/formats/elf.md.
#pragma once

#include "model/format.h"

namespace tavrel {

extern const format_t elf_format;

// True for a 32-bit ELF header of version 1 at the start of the input; sets run.big_endian. With `verbose` above 1 it
// says on standard error what is wrong with another. Raises nothing.
bool elf_probe(run_t& run, input_t& in);
// Takes nothing from the file; always false.
bool elf_read(run_t& run, input_t& in, text_t name);
// Writes an executable ELF32 image in the order of run.big_endian. Raises what dwarf_write raises; 621 is noted on the
// output for the ranges of the debug sections. False if no extension row serves the machine.
bool elf_write(run_t& run, output_t& out, text_t name);
// Prints headers, sections, symbols and debug sections on run.out. False for a damaged file.
bool elf_dump(run_t& run, input_t& in);

} // namespace tavrel
