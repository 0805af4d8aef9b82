// The rows of the two Holtek files: DBG, the symbols and lines that go with an image, and TSK, the image itself. Their
// layouts are told in docs/formats/htk.md and docs/formats/tsk.md, the numbers of DBG in holtek_layout.h.
#pragma once

#include "model/format.h"

namespace tavrel {

// ---- DBG: written and printed; reading checks the records and adds nothing to the model

// True if the first record reads well and is a debug header. No message.
bool dbg_probe(run_t& run, input_t& in);
// Raises 1040 and 1041 for a damaged record, which ends the read with true; 1042 for an unknown type, with false.
bool dbg_read(run_t& run, input_t& in, text_t name);
// Later writers of the run find SYM_DESCRIBED on the symbols that the tree also knows, files of the tree's marks added
// to the model, out_index of files and of lines, the locations of variables resolved. Always true.
bool dbg_write(run_t& run, output_t& out, text_t name);
// Raises 1040 and 1041 for a damaged record, which ends the print. Always true.
bool dbg_dump(run_t& run, input_t& in);

extern const format_t htk_format;

// ---- TSK: read into blocks of the model; writing leaves the file empty. No messages

bool tsk_probe(run_t& run, input_t& in);
bool tsk_read(run_t& run, input_t& in, text_t name);
bool tsk_write(run_t& run, output_t& out, text_t name);
bool tsk_dump(run_t& run, input_t& in);

extern const format_t tsk_format;

} // namespace tavrel
