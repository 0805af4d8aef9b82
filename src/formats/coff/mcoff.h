// The row of Microchip COFF, the debug file that the simulators and debuggers of PIC parts load. Its layout is told in
// docs/formats/mcoff.md, its numbers in mcoff_layout.h.
//
// mcoff_write raises 599 (no code spaces; goes on) and 600 (no processor, or one that cannot be used; gives false). It
// changes the model as later writers of the run can see: SYM_DESCRIBED on symbols, out_index of files, the locations of
// entry labels, last_line and writer_list of functions, names of bit variables; it leaves the order little-endian.
#pragma once

#include "model/format.h"

namespace tavrel {

bool mcoff_probe(run_t& run, input_t& in);
bool mcoff_read(run_t& run, input_t& in, text_t name);
bool mcoff_write(run_t& run, output_t& out, text_t name);
bool mcoff_dump(run_t& run, input_t& in);

extern const format_t mcoff_format;

} // namespace tavrel
