// The row of ICOFF, the Introl variant of COFF. Its layout is told in docs/formats/icoff.md, its numbers in
// icoff_layout.h.
//
// icoff_write raises 626 when a name is missing from its own string table, and always gives true.
#pragma once

#include "model/format.h"

namespace tavrel {

bool icoff_probe(run_t& run, input_t& in);
bool icoff_read(run_t& run, input_t& in, text_t name);
bool icoff_write(run_t& run, output_t& out, text_t name);
bool icoff_dump(run_t& run, input_t& in);

extern const format_t icoff_format;

} // namespace tavrel
