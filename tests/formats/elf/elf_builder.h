// Small ELF32 files for tests, and what the program prints of them.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "common/stream.h"
#include "support/run.h"

namespace tavrel::testing {

struct elf_part_t {
    std::string name;
    std::string bytes;
    uint32_t type = 1, flags = 0, addr = 0, link = 0, info = 0, align = 0, entsize = 0;
};

// A file of one null section, `parts`, and the table of section names; contents lie one after the other from offset 52
// on, the section headers behind them.
inline std::string elf_file(const std::vector<elf_part_t>& parts, bool big_endian = false) {
    output_t out;
    out.big_endian = big_endian ? 1 : 0;
    std::string names(1, '\0');
    std::vector<elf_part_t> all = parts;
    all.insert(all.begin(), elf_part_t{"", "", 0});
    all.push_back({".shstrtab", "", 3});
    std::vector<uint32_t> name_at;
    for (const auto& part : all) {
        name_at.push_back(part.name.empty() ? 0 : static_cast<uint32_t>(names.size()));
        names += part.name.empty() ? "" : part.name + '\0';
    }
    all.back().bytes = names;
    put_text(out, bytes(big_endian ? "7F \"ELF\" 01 02 01 FF" : "7F \"ELF\" 01 01 01 FF"));
    put_zeros(out, 8);
    put16(out, 2);
    put16(out, 40);
    put32(out, 1);
    put32(out, 0x1234);
    put32(out, 0);
    size_t end = 52;
    for (const auto& part : all) {
        end += part.bytes.size();
    }
    put32(out, static_cast<uint32_t>(end));
    put32(out, 0);
    for (const size_t half : {size_t(52), size_t(32), size_t(0), size_t(40), all.size(), all.size() - 1}) {
        put16(out, static_cast<uint32_t>(half));
    }
    for (const auto& part : all) {
        put_text(out, part.bytes);
    }
    uint32_t at = 52;
    for (size_t k = 0; k < all.size(); ++k) {
        const elf_part_t& part = all[k];
        const auto size = static_cast<uint32_t>(part.bytes.size());
        for (const uint32_t field : {name_at[k], part.type, part.flags, part.addr, k == 0 ? 0 : at, size, part.link,
                                     part.info, part.align, part.entsize}) {
            put32(out, field);
        }
        at += size;
    }
    return out.bytes;
}

// Every message that the dump raises, as a warning whose text shows its arguments.
inline const char* const dump_messages = "157 1 memory %lu\n632 1 size %lu\n640 1 at %lu\n641 1 length %lu\n"
                                         "642 1 length %lu\n643 1 length %lu\n644 1 length %lu\n645 1 base %lu\n"
                                         "646 1 length %lu\n647 1 %lu not %lu\n648 1 offset %lu\n649 1 sum %lu\n"
                                         "650 1 byte %lu\n651 1 length %lu\n652 1 length %lu\n653 1 length %lu\n"
                                         "654 1 pointer %lu\n655 1 id %lX\n656 1 length %lu\n657 1 length %lu\n"
                                         "658 1 code %lu\n659 1 length %lu\n660 1 size %lu\n661 1 size %lu\n"
                                         "662 1 at %lu\n663 1 length %lu\n664 1 length %lu\n665 1 size %lu\n"
                                         "666 1 %s, %s\n667 1 none\n1037 1 %s\n634 1 damaged %s\n";

struct dump_t {
    std::string out;      // standard output
    std::string messages; // a line each, without context and severity: "(644) length 3"
};

// `option` may be "-v" and the like. Several files are dumped one after the other.
inline dump_t dump_files(const std::vector<std::string>& files, const std::vector<std::string>& options = {}) {
    std::vector<std::string> args = {"-d", "-ielf", "--edf=messages"};
    args.insert(args.end(), options.begin(), options.end());
    files_t inputs = {
        {"messages", dump_messages}
    };
    for (size_t k = 0; k < files.size(); ++k) {
        const std::string name = std::string(1, static_cast<char>('a' + k)) + ".elf";
        inputs[name] = files[k];
        args.push_back(name);
    }
    const result_t result = run_program(args, inputs);
    dump_t dump = {result.out, ""};
    const std::string context = "a.elf: ", warning = " (warning)";
    for (size_t at = 0, end = 0; (end = result.err.find('\n', at)) != std::string::npos; at = end + 1) {
        std::string line = result.err.substr(at, end - at);
        if (line.compare(0, context.size(), context) == 0) {
            line = line.substr(context.size());
            const size_t tail = line.rfind(warning);
            dump.messages += line.substr(0, tail) + "\n";
        }
    }
    return dump;
}

// What stands between the heading of a debug section, "Location lists (.debug_loc):", and the next section's heading.
inline std::string section_text(const dump_t& dump, const std::string& heading) {
    const size_t start = dump.out.find("\n\n" + heading + "\n");
    if (start == std::string::npos) {
        return "no " + heading + " in\n" + dump.out;
    }
    const size_t from = start + heading.size() + 3;
    for (size_t at = from; (at = dump.out.find('\n', at)) != std::string::npos; ++at) {
        const std::string line = dump.out.substr(at + 1, dump.out.find('\n', at + 1) - at - 1);
        const std::string next = dump.out.substr(at + 2, dump.out.find('\n', at + 2) - at - 2);
        const bool heads =
            next.find(" (from .debug_") != std::string::npos || next.find(" (.debug_") != std::string::npos;
        if (line == "No references to line number information" || (line.empty() && heads)) {
            return dump.out.substr(from, at - from);
        }
    }
    return dump.out.substr(from);
}

// The smallest debug information that leads to a line program at offset 0: one unit, one DIE, addresses of four bytes.
inline const elf_part_t small_abbrev = {".debug_abbrev", bytes("01 11 00 10 06 00 00 00")};
inline const elf_part_t small_info = {".debug_info", bytes("0C000000 0200 00000000 04 01 00000000")};

// The dump of that with one more section.
inline dump_t dump_section(const std::string& name, const std::string& hex) {
    return dump_files({
        elf_file({small_abbrev, small_info, {name, bytes(hex)}}
        )
    });
}

} // namespace tavrel::testing
