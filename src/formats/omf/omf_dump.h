// The readable print of the records that both 8051 object formats have: one operation a record type.
#pragma once

#include "formats/omf/omf_records.h"

namespace tavrel {

void omf_dump_module_header(printer_t& out, const omf_dialect_t& dialect, const omf_record_t& record);
void omf_dump_module_end(printer_t& out, const omf_dialect_t& dialect, const omf_record_t& record);
void omf_dump_content(printer_t& out, const omf_dialect_t& dialect, const omf_record_t& record);
void omf_dump_scope_def(printer_t& out, const omf_dialect_t& dialect, const omf_record_t& record);

} // namespace tavrel
