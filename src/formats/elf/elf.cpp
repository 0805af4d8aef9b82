// The row of ELF in the table of formats. ELF is an output format here: as an input it is identified and printed, and
// the run goes on with what the other inputs gave.
#include "formats/elf/elf.h"

namespace tavrel {

bool elf_read(run_t&, input_t&, text_t) { return false; }

const format_t elf_format = {elf_probe, elf_read, elf_write, elf_dump, "ELF/DWARF", "elf", "elf", true};

} // namespace tavrel
