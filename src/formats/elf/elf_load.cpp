// ELF, the Executable and Linking Format: the object and image files of most compilers, read by debuggers, simulators
// and loaders. Here is what the probe and the dump need of one: the checks of its header, and the tables that the
// header leads to. The header says its own byte order and, oddly, the sizes of its records, so any size must be taken.
#include "formats/elf/elf_load.h"

#include <algorithm>

#include "formats/elf/elf.h"

namespace tavrel {
namespace {

enum header_fault_t { FAULT_NONE, FAULT_SHORT, FAULT_MAGIC, FAULT_CLASS, FAULT_DATA, FAULT_VERSION };

// Checks what every ELF file begins with; sets the byte order as soon as it is known.
header_fault_t check_header(run_t& run, bytes_t header) {
    if (header.size() < ELF_HEADER_SIZE) {
        return FAULT_SHORT;
    }
    if (!std::equal(header.begin(), header.begin() + 4, ELF_MAGIC)) {
        return FAULT_MAGIC;
    }
    if (header[EI_CLASS] != ELFCLASS32) {
        return FAULT_CLASS;
    }
    if (header[EI_DATA] != ELFDATA2LSB && header[EI_DATA] != ELFDATA2MSB) {
        return FAULT_DATA;
    }
    run.big_endian = header[EI_DATA] == ELFDATA2MSB ? 1 : 0;
    return header[EI_VERSION] == EV_CURRENT ? FAULT_NONE : FAULT_VERSION;
}

void tell_fault(run_t& run, header_fault_t fault, bytes_t header) {
    switch (fault) {
    case FAULT_NONE: return;
    case FAULT_SHORT: error_print(run, "ELF header too short\n"); return;
    case FAULT_MAGIC: error_print(run, "Magic number not ELF\n"); return;
    case FAULT_CLASS: error_print(run, "Not 32 bit ELF\n"); return;
    case FAULT_DATA: error_print(run, "Not big or little-endian ELF (%d)\n", header[EI_DATA]); return;
    case FAULT_VERSION: error_print(run, "Unsupported ELF Version %d\n", header[EI_VERSION]); return;
    }
}

bytes_t header_of(const input_t& in) { return in.data().first(std::min<size_t>(in.bytes.size(), ELF_HEADER_SIZE)); }

// A table that the header describes; raises 1037 with `what` and marks the image if it is not all there.
elf_table_t load_table(run_t& run, elf_image_t& image, uint32_t offset, uint32_t count, uint32_t entry_size,
                       const char* what) {
    const uint64_t size = uint64_t(count) * entry_size;
    const bytes_t bytes = elf_contents(image, offset, size);
    if (bytes.size() < size) {
        alert(run, 1037, what);
        image.invalid = true;
        return {};
    }
    return {bytes, entry_size, count};
}

text_t load_strings(const elf_image_t& image, bytes_t section) {
    const bytes_t bytes =
        elf_contents(image, elf_field32(image, section, SH_OFFSET), elf_field32(image, section, SH_SIZE));
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

void load_sections(run_t& run, elf_image_t& image) {
    const uint32_t count = elf_field16(image, image.header, E_SHNUM);
    if (count == 0) {
        return;
    }
    image.sections = load_table(run, image, elf_field32(image, image.header, E_SHOFF), count,
                                elf_field16(image, image.header, E_SHENTSIZE), "ELF section headers");
    if (image.invalid) {
        return;
    }
    const uint32_t names = elf_field16(image, image.header, E_SHSTRNDX);
    if (names >= count) {
        alert_text(run, "E", "Bad ELF string table index\n", count);
        image.invalid = true;
        return;
    }
    image.shstrtab = load_strings(image, image.sections[names]);
    for (uint32_t k = 0; k < count; ++k) {
        const bytes_t section = image.sections[k];
        if (elf_section_name(image, section) == ".strtab") {
            image.strtab = load_strings(image, section);
        }
    }
}

void load_programs(run_t& run, elf_image_t& image) {
    const uint32_t count = elf_field16(image, image.header, E_PHNUM);
    if (count != 0) {
        image.phdrs = load_table(run, image, elf_field32(image, image.header, E_PHOFF), count,
                                 elf_field16(image, image.header, E_PHENTSIZE), "ELF program headers");
    }
}

} // namespace

uint32_t elf_field8(bytes_t record, uint32_t offset) { return offset < record.size() ? record[offset] : 0; }

uint32_t elf_field16(const elf_image_t& image, bytes_t record, uint32_t offset) {
    return offset + 2 <= record.size() ? read16(record.data() + offset, image.big_endian) : 0;
}

uint32_t elf_field32(const elf_image_t& image, bytes_t record, uint32_t offset) {
    return offset + 4 <= record.size() ? read32(record.data() + offset, image.big_endian) : 0;
}

bytes_t elf_contents(const elf_image_t& image, uint32_t offset, uint64_t size) {
    const bytes_t file = image.file->data();
    const size_t start = std::min<size_t>(offset, file.size());
    return file.subspan(start, static_cast<size_t>(std::min<uint64_t>(size, file.size() - start)));
}

text_t elf_text(text_t table, uint32_t offset) {
    if (offset >= table.size()) {
        return "(unknown)";
    }
    const text_t rest = table.substr(offset);
    return rest.substr(0, rest.find('\0'));
}

text_t elf_section_name(const elf_image_t& image, bytes_t section) {
    const uint32_t offset = elf_field32(image, section, SH_NAME);
    return elf_text(image.shstrtab.substr(0, offset + elf_name_limit), offset);
}

bool elf_probe(run_t& run, input_t& in) {
    const header_fault_t fault = check_header(run, header_of(in));
    if (run.verbose > 1) {
        tell_fault(run, fault, header_of(in));
    }
    return fault == FAULT_NONE;
}

void elf_load(run_t& run, const input_t& in, elf_image_t& image) {
    image = {};
    image.file = &in;
    image.header = header_of(in);
    const header_fault_t fault = check_header(run, image.header);
    if (fault == FAULT_SHORT) {
        alert(run, 1037, "ELF header");
    }
    image.big_endian = run.big_endian;
    image.invalid = fault != FAULT_NONE;
    if (!image.invalid) {
        load_sections(run, image);
    }
    if (!image.invalid) {
        load_programs(run, image);
    }
}

} // namespace tavrel
