#include "driver/formats.h"

#include "formats/cod/dotcod.h"
#include "formats/coff/coff.h"
#include "formats/coff/icoff.h"
#include "formats/coff/mcoff.h"
#include "formats/elf/elf.h"
#include "formats/omf/eomf51.h"
#include "formats/omf/omf51.h"
#include "formats/plain/intelhex.h"
#include "formats/plain/mothex.h"
#include "formats/plain/norvane.h"
#include "formats/plain/pe.h"
#include "formats/plain/titxt.h"
#include "formats/vendor/holtek.h"
#include "formats/vendor/ubrof.h"

namespace tavrel {
namespace {

constexpr const format_t* rows[] = {
    &norvane_format, &pe_format,    &eomf51_format, &omf51_format, &ihex_format,
    &s19_format,     &cod_format,   &mcoff_format,  &coff_format,  &icoff_format,
    &elf_format,     &ubrof_format, &htk_format,    &tsk_format,   &titxt_format,
};

} // namespace

std::span<const format_t* const> format_table() { return rows; }

} // namespace tavrel
