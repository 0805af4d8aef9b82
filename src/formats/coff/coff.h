// The row of plain COFF, for the debuggers of eleven processors. Its layout is told in docs/formats/coff.md, its
// numbers and processor rows in coff_layout.h.
//
// coff_write raises 599 (no code spaces; goes on), 600 (no processor) and 601 (an unknown one; both give false).
#pragma once

#include "model/format.h"

namespace tavrel {

bool coff_probe(run_t& run, input_t& in);
bool coff_read(run_t& run, input_t& in, text_t name);
bool coff_write(run_t& run, output_t& out, text_t name);
bool coff_dump(run_t& run, input_t& in);

extern const format_t coff_format;

} // namespace tavrel
