#include "driver/formats.h"

#include "formats/coff/mcoff.h"
#include "formats/plain/intelhex.h"
#include "formats/plain/mothex.h"
#include "formats/plain/norvane.h"
#include "formats/plain/pe.h"
#include "formats/plain/titxt.h"

namespace tavrel {
namespace {

// Rows that are not built: they cannot be recognised, and using one is refused by the driver.
constexpr format_t eomf51_row = {nullptr, nullptr, nullptr, nullptr, "Extended OMF-51", "eomf51", "abs", true};
constexpr format_t omf51_row = {nullptr, nullptr, nullptr, nullptr, "OMF-51", "omf51", "omf", true};
constexpr format_t cod_row = {nullptr, nullptr, nullptr, nullptr, ".COD", "cod", "cod", true};
constexpr format_t coff_row = {nullptr, nullptr, nullptr, nullptr, "COFF", "coff", "cof", true};
constexpr format_t icoff_row = {nullptr, nullptr, nullptr, nullptr, "ICOFF", "icoff", "cof", true};
constexpr format_t elf_row = {nullptr, nullptr, nullptr, nullptr, "ELF/DWARF", "elf", "elf", true};
constexpr format_t ubrof_row = {nullptr, nullptr, nullptr, nullptr, "UBROF", "ubrof", "d43", true};
constexpr format_t htk_row = {nullptr, nullptr, nullptr, nullptr, "Holtek DBG", "htk", "dbg", true};
constexpr format_t tsk_row = {nullptr, nullptr, nullptr, nullptr, "Holtek TSK", "tsk", "tsk", true};

constexpr const format_t* rows[] = {
    &norvane_format, &pe_format, &eomf51_row, &omf51_row, &ihex_format, &s19_format, &cod_row,      &mcoff_format,
    &coff_row,       &icoff_row, &elf_row,    &ubrof_row, &htk_row,     &tsk_row,    &titxt_format,
};

} // namespace

std::span<const format_t* const> format_table() { return rows; }

} // namespace tavrel
