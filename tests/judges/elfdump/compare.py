"""Compares tavrel's dump of ELF files with those of readelf and llvm-dwarfdump, entry by entry.

usage: compare.py TAVREL LLVM-DWARFDUMP FILE...

Each aspect of a file (sections, symbols, abbreviations, DIEs, ...) is brought into one neutral list from either side,
and the lists must be equal. Status 1 if any differs.
"""

import os
import re
import subprocess
import sys


def output_of(*command):
    environment = dict(os.environ, TZ="UTC", LC_ALL="C")
    done = subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, env=environment, check=False)
    return done.stdout.decode("latin-1")


def number(text):
    return int(text, 16) if text.lower().startswith(("0x", "-0x")) else int(text)


# ---- tavrel


class Dump:
    """tavrel's dump, cut into its parts by their headings."""

    headings = {
        "str": "String table (.debug_str):",
        "abbrev": "Abbreviation table (.debug_abbrev):",
        "info": "Debug contributions (.debug_info):",
        "line": "Line number information (.debug_line):",
        "frame": "Call frame information (.debug_frame):",
        "pubnames": "Name lookup table (.debug_pubnames):",
        "pubtypes": "Name lookup table (.debug_pubtypes):",
        "aranges": "Address range table (.debug_aranges):",
        "macinfo": "Macro information (.debug_macinfo):",
        "loc": "Location lists (.debug_loc):",
        "ranges": "Address ranges (.debug_ranges):",
    }

    def __init__(self, tavrel, path):
        text = output_of(tavrel, "-d", "-v", "-v", "-v", "-v", "-ielf", path)
        self.elf, _, dwarf = text.partition("\n\nDWARF:\n")
        self.parts = {}
        part = []
        for line in dwarf.split("\n"):
            key = next((k for k, heading in self.headings.items() if line == heading), None)
            if key or re.match(r"No .* \(from \.debug_\w+\)$", line):
                part = self.parts.setdefault(key or line, [])
            else:
                part.append(line)

    def part(self, key):
        return self.parts.get(key, [])


def our_sections(dump):
    rows = []
    row = r"^([0-9A-F]{4})  (.{20}) .{30}((?: [0-9A-F]{8}){6})((?: [A-Z]+)*)$"
    text = dump.elf.partition("\nSections:\n")[2].partition("\nProgram Headers:\n")[0]
    for match in re.finditer(row, text, re.M):
        address, size, link, offset, info, align = (int(x, 16) for x in match[3].split())
        flags = "".join(c for c, word in (("W", "WRITE"), ("A", "ALLOC"), ("X", "EXECINSTR")) if word in match[4].split())
        rows.append((int(match[1], 16), match[2].strip(), address, offset, size, flags, link, info, align))
    return rows


def their_sections(path):
    rows = []
    row = r"^  \[ *(\d+)\] (.*?) +(\S+) +([0-9a-f]{8}) ([0-9a-f]{6}) ([0-9a-f]{6}) [0-9a-f]{2} +(\w*?) +(\d+) +(\d+) +(\d+)$"
    for match in re.finditer(row, output_of("readelf", "-SW", path), re.M):
        name = match[2].strip()[:20]
        flags = "".join(c for c in "WAX" if c in match[7])
        rows.append((int(match[1]), name, int(match[4], 16), int(match[5], 16), int(match[6], 16), flags,
                     int(match[8]), int(match[9]), int(match[10])))
    return rows


def our_symbols(dump):
    row = r"^\t(.{20,}?)  0x([0-9A-F]{8})  (-?\d+) *  \w+ symbol \(0x\w+\)/.*?  0x\w\w  0x([0-9A-F]{4})$"
    return [(m[1].strip(), int(m[2], 16), int(m[3]), int(m[4], 16)) for m in re.finditer(row, dump.elf, re.M)]


def their_symbols(path, sections):
    rows = []
    special = {"UND": 0, "ABS": 0xFFF1, "COM": 0xFFF2}
    row = r"^ +\d+: ([0-9a-f]{8}) +(\d+|0x[0-9a-f]+) (\w+) +\w+ +\w+ +(?:\[.*?\] )?(\w+)(?: (.*))?$"
    for match in re.finditer(row, output_of("readelf", "-sW", path), re.M):
        index = special[match[4]] if match[4] in special else int(match[4])
        name = (match[5] or "").strip()
        if match[3] == "SECTION" and sections[index][1].startswith(name):
            name = ""  # readelf shows the section's
        rows.append((name, int(match[1], 16), number(match[2]), index))
    return rows


def our_programs(dump):
    text = dump.elf.partition("\nProgram Headers:\n")[2]
    row = r"^[0-9A-F]{4}  .{36}((?: [0-9A-F]{8}){4}) ([r-][w-][x-]) ([0-9A-F]{8})$"
    return [([int(x, 16) for x in m[1].split()], m[2], int(m[3], 16)) for m in re.finditer(row, text, re.M)]


def their_programs(path):
    rows = []
    row = r"^  \S+ +0x[0-9a-f]{6} (0x[0-9a-f]{8}) (0x[0-9a-f]{8}) (0x[0-9a-f]+) (0x[0-9a-f]+) (.)(.)(.) (0x[0-9a-f]+|0)$"
    for match in re.finditer(row, output_of("readelf", "-lW", path), re.M):
        flags = "".join(d if match[k] != " " else "-" for k, d in ((5, "r"), (6, "w"), (7, "x")))
        rows.append(([int(match[k], 16) for k in (1, 2, 3, 4)], flags, int(match[8], 16)))
    return rows


# ---- strings, abbreviations


def our_strings(dump):
    rows = (re.match(r'0x([0-9A-F]{8}): "(.*)"$', line) for line in dump.part("str"))
    return [(int(m[1], 16), m[2]) for m in rows if m and m[2]]


def their_strings(path):
    text = output_of("readelf", "-p", ".debug_str", path)
    return [(int(m[1], 16), m[2]) for m in re.finditer(r"^  \[ *([0-9a-f]+)\]  (.*)$", text, re.M)]


# Later standards' names for what DWARF 2 called otherwise, and what DWARF 2 does not know.
renamed = {
    "DW_AT_bit_stride": "DW_AT_stride_size",
    "DW_TAG_template_type_parameter": "DW_TAG_template_type_param",
    "DW_TAG_template_value_parameter": "DW_TAG_template_value_param",
}
unknown = re.compile(r"DW_(TAG|AT|FORM)_(GNU|MIPS|APPLE)\w*$|DW_AT_(explicit|object_pointer|pure|elemental|recursive|"
                     r"linkage_name|defaulted|deleted|export_symbols|alignment|noreturn|data_bit_offset|rvalue_reference|"
                     r"reference|main_subprogram|signature|ranges|entry_pc|call_\w+)$|DW_TAG_rvalue_reference_type$|"
                     r"DW_TAG_(namespace|imported_module|unspecified_type|imported_unit|call_site\w*)$")


def plain_name(name):
    return "??" if name.startswith("??") or unknown.match(name) else renamed.get(name, name)


def our_abbreviations(dump):
    rows = []
    for line in dump.part("abbrev"):
        head = re.match(r"(\d{5,})\((.)\): (.*)$", line)
        pair = re.match(r" {10}(.{30}) (.*)$", line)
        if head:
            rows.append((int(head[1]), head[2] == "Y", plain_name(head[3])))
        elif pair:
            rows.append((plain_name(pair[1].strip()), plain_name(pair[2])))
    return rows


def their_abbreviations(path):
    rows = []
    for line in output_of("readelf", "--debug-dump=abbrev", path).split("\n"):
        head = re.match(r" +(\d+) +(DW_TAG_\w+) +\[(has|no) children\]$", line)
        pair = re.match(r" +(DW_AT_\w+|DW_AT value: \d+) +(DW_FORM_\w+|DW_FORM value: \d+)$", line)
        if head:
            rows.append((int(head[1]), head[3] == "has", plain_name(head[2])))
        elif pair and pair[1] != "DW_AT value: 0":
            rows.append((plain_name(pair[1]), plain_name(pair[2])))
    return rows


# ---- DIEs


def words(name, prefix):
    name = plain_name(name)
    return name[len(prefix):].replace("_", " ") if name.startswith(prefix) else name


def our_dies(dump):
    """(offset in section, offset in unit, depth, tag, code), then (attribute, form, value) for each attribute."""
    rows = []
    for line in dump.part("info"):
        die = re.match(r"( *)\+(.*) \((\d+)\) @ 0x([0-9A-F]+) \(0x([0-9A-F]+)\)$", line)
        attribute = re.match(r" +(.*?)\[([a-z0-9 ]+)\] = (.*)$", line)
        if die:
            rows.append((int(die[5], 16), int(die[4], 16), len(die[1]) // 2, plain_name(die[2]), int(die[3])))
        elif attribute:
            rows.append((plain_name(attribute[1]), attribute[2], attribute[3]))
    return rows


def our_values(dump):
    """The values as readelf tells them: numbers, texts, truths, lengths, places in the section."""
    rows = []
    start = 0
    for row in our_dies(dump):
        if len(row) == 5:
            start = row[0] - row[1]
            rows.append(row[0])
            continue
        form, value = row[1], row[2]
        named = re.match(r"[A-Za-z].* \((.*)\)$", value)
        if named and form in ("data1", "data2", "data4", "sdata", "udata"):
            value = named[1]
        if value.startswith('"'):
            rows.append((row[0], value[1:-1]))
        elif value in ("true", "false"):
            rows.append((row[0], int(value == "true")))
        elif form.startswith("ref") and form != "ref addr":
            rows.append((row[0], number(value) + start))
        else:
            rows.append((row[0], number(value)))
    return rows


def their_values(path):
    rows = []
    for line in output_of("readelf", "--debug-dump=info", path).split("\n"):
        die = re.match(r" <\w+><(\w+)>: Abbrev Number: [1-9]\d* ", line)
        attribute = re.match(r"    <\w+> +(DW_AT_\w+) *: (.*)$", line)
        if die:
            rows.append(int(die[1], 16))
        if not attribute:
            continue
        value = attribute[2]
        block = re.match(r"(\d+) byte block:", value)
        indirect = re.match(r"\(indirect string, offset: \w+\): (.*)$", value)
        reference = re.match(r"<0x(\w+)>", value)
        name = words(attribute[1], "DW_AT_")
        if block:
            rows.append((name, int(block[1])))
        elif indirect:
            rows.append((name, indirect[1]))
        elif reference:
            rows.append((name, int(reference[1], 16)))
        elif name in ("name", "producer", "comp dir", "linkage name") or (name == "??" and value.startswith("_Z")):
            rows.append((name, value))
        else:
            rows.append((name, number(value.split()[0].rstrip(","))))
    return rows


def same_values(ours, theirs):
    """readelf shows numbers of data forms with or without sign, whatever their width."""
    def close(a, b):
        if a == b:
            return True
        if isinstance(a, int) or isinstance(b, int) or a[0] != b[0] or isinstance(a[1], str) or isinstance(b[1], str):
            return False
        return any((a[1] - b[1]) % (1 << width) == 0 for width in (8, 16, 32, 64))
    return len(ours) == len(theirs) and all(close(a, b) for a, b in zip(ours, theirs))


def die_shapes(dump):
    """What llvm-dwarfdump tells better: depth, tag, forms, and the names of values."""
    rows = []
    for row in our_dies(dump):
        if len(row) == 5:
            rows.append((row[0], row[2], row[3], row[4]))
            continue
        named = re.match(r"([A-Za-z][\w ]*) \(\S+\)$", row[2])
        rows.append((row[0], row[1], named[1] if named else ""))
    return rows


value_sets = "LANG|ATE|ACCESS|VIS|VIRTUALITY|ID|CC|INL|ORD|DSC"


def their_die_shapes(llvm, path):
    rows = []
    for line in output_of(llvm, "--debug-info", "-v", path).split("\n"):
        die = re.match(r"0x(\w{8}):( +)(DW_TAG_\w+) \[(\d+)\]", line)
        attribute = re.match(r" +(DW_AT_\w+) \[DW_FORM_(\w+)\]\t\((.*?)\)?$", line)
        if die:
            rows.append((int(die[1], 16), (len(die[2]) - 1) // 2, words(die[3], "DW_TAG_"), int(die[4])))
        elif attribute:
            name = words(attribute[1], "DW_AT_")
            value = re.match(rf"DW_(?:{value_sets})_(?!Mips_)(\w+)$", attribute[3])
            rows.append((name, attribute[2].replace("_", " "), value[1].replace("_", " ") if value else ""))
    return rows


# ---- line programs


def our_opcodes(dump):
    rows = []
    min_length = 1
    for line in dump.part("line"):
        head = re.match(r"min_len=(\d+) ", line)
        if head:
            min_length = int(head[1])
        match = re.match(r"\d{5,}:  (SPECIAL\(line=(-?\d+), addr=(\d+)\)|DW_(\w+) *(?:: (.*))?|\?\?.*)$", line)
        if not match:
            continue
        name, operand = match[4], match[5]
        if match[2] is not None:
            rows.append(("special", int(match[2]), int(match[3])))
        elif name == "LNS_advance_pc":
            rows.append((name, number(operand) * min_length))
        elif name in ("LNS_advance_line", "LNS_set_file", "LNS_set_column", "LNS_fixed_advance_pc", "LNE_set_address"):
            rows.append((name, number(operand)))
        else:
            rows.append((name or "unknown",))
    return rows


opcode_texts = (
    (r"Special opcode \d+: advance Address by (\d+) to \S+ and Line by (-?\d+) ",
     lambda m: ("special", int(m[2]), int(m[1]))),
    (r"Copy", lambda m: ("LNS_copy",)),
    (r"Advance PC by constant ", lambda m: ("LNS_const_add_pc",)),
    (r"Advance PC by fixed size amount (\d+)", lambda m: ("LNS_fixed_advance_pc", int(m[1]))),
    (r"Advance PC by (\d+)", lambda m: ("LNS_advance_pc", int(m[1]))),
    (r"Advance Line by (-?\d+)", lambda m: ("LNS_advance_line", int(m[1]))),
    (r"Set File Name to entry (\d+)", lambda m: ("LNS_set_file", int(m[1]))),
    (r"Set column to (\d+)", lambda m: ("LNS_set_column", int(m[1]))),
    (r"Set is_stmt to", lambda m: ("LNS_negate_stmt",)),
    (r"Set basic block", lambda m: ("LNS_set_basic_block",)),
    (r"Extended opcode 1: ", lambda m: ("LNE_end_sequence",)),
    (r"Extended opcode 2: set Address to (\w+)", lambda m: ("LNE_set_address", int(m[1], 16))),
    (r"", lambda m: ("unknown",)),
)


def their_opcodes(path):
    rows = []
    for line in output_of("readelf", "--debug-dump=rawline", path).split("\n"):
        place = re.match(r"  \[0x\w+\]  (.*)$", line)
        if place:
            texts = ((re.match(pattern, place[1]), row) for pattern, row in opcode_texts)
            rows.append(next(row(match) for match, row in texts if match))
    return rows


def our_tables(dump):
    """Directories and files of each program."""
    rows = []
    for line in dump.part("line"):
        entry = re.match(r' +(\d+)\.  "(.*)"$', line)
        place = re.match(r" +dir: +(\d+), time: .* \(0x(\w+)\), (\d+) bytes?$", line)
        if line == "Includes:":
            rows.append("program")
        elif entry:
            rows.append((int(entry[1]), entry[2]))
        elif place:
            rows[-1] += (int(place[1]), int(place[2], 16), int(place[3]))
    return rows


def their_tables(llvm, path):
    rows = []
    for line in output_of(llvm, "--debug-line", path).split("\n"):
        directory = re.match(r'include_directories\[ *(\d+)\] = "(.*)"$', line)
        entry = re.match(r"file_names\[ *(\d+)\]:$", line)
        field = re.match(r" +(name|dir_index|mod_time|length): (.*)$", line)
        if line == "Line table prologue:":
            rows.append("program")
        elif directory:
            rows.append((int(directory[1]), directory[2]))
        elif entry:
            rows.append((int(entry[1]),))
        elif field and field[1] == "name":
            rows[-1] += (field[2][1:-1],)
        elif field:
            rows[-1] += (number(field[2]),)
    return rows


def our_matrix(dump):
    rows = []
    row = r"\d{5,}:  (\w{16})  (\d+) +(-?\d+) +(-?\d+) +(true|false) +(true|false) *$"
    for line in dump.part("line"):
        match = re.match(row, line)
        if match:
            rows.append((int(match[1], 16), int(match[3]), int(match[4]), int(match[2]), match[5] == "true",
                         match[6] == "true"))
    return rows


def their_matrix(llvm, path):
    rows = []
    for line in output_of(llvm, "--debug-line", path).split("\n"):
        match = re.match(r"0x(\w{16}) +(\d+) +(\d+) +(\d+) +\d+ +\d+ (.*)$", line)
        if match:
            rows.append((int(match[1], 16), int(match[2]), int(match[3]), int(match[4]), "is_stmt" in match[5],
                         "basic_block" in match[5]))
    return rows


def is_ended(dump):
    """Rows behind the last end of sequence are shown by llvm-dwarfdump alone."""
    opcodes = our_opcodes(dump)
    return bool(opcodes) and opcodes[-1] == ("LNE_end_sequence",)


# ---- frames


def our_frames(dump):
    rows = []
    entry = 0
    for line in dump.part("frame"):
        head = re.match(r"(Common Information|Frame Description) Entry @ 0x(\w{8})$", line)
        location = re.match(r"size=(\d+) CIE_pointer=0x(\w{8}) location range=0x(\w+)\.\.0x(\w+)$", line)
        common = re.match(r"code align=(\d+), data align=(-?\d+), return col=(\d+)$", line)
        instruction = re.match(r" {8}(DW_CFA_\w+)(?:\((.*?)\))?(?:, loc -> 0x(\w+))?$", line)
        if head:
            entry = int(head[2], 16)
        elif location:
            rows.append((entry, int(location[1]), int(location[2], 16), int(location[3], 16), int(location[4], 16)))
        elif common:
            rows.append((entry, int(common[1]), int(common[2]), int(common[3])))
        elif instruction:
            operands = tuple(int(x) for x in re.findall(r"-?\d+", instruction[2] or ""))
            rows.append((instruction[1],) + operands + ((int(instruction[3], 16),) if instruction[3] else ()))
    return rows


def their_frames(path):
    rows = []
    for line in output_of("readelf", "--debug-dump=frames", path).split("\n"):
        cie = re.match(r"(\w{8}) \w{8} ffffffff CIE", line)
        fde = re.match(r"(\w{8}) (\w{8}) (\w{8}) FDE cie=\w+ pc=(\w+)\.\.(\w+)$", line)
        field = re.match(r"  (?:Code alignment factor|Data alignment factor|Return address column): (.*)$", line)
        instruction = re.match(r"  (DW_CFA_\w+)(?:: (.*))?$", line)
        if cie:
            rows.append((int(cie[1], 16),))
        elif fde:
            rows.append((int(fde[1], 16), int(fde[2], 16)) + tuple(int(fde[k], 16) for k in (3, 4, 5)))
        elif field:
            rows[-1] += (int(field[1]),)
        elif instruction:
            text = re.sub(r"\(.*?\)", "", instruction[2] or "")
            advance = re.match(r"(\d+) to (\w+)", text)
            if advance:
                rows.append((instruction[1], int(advance[1]), int(advance[2], 16)))
            else:
                operands = re.findall(r"(?:r|at cfa|ofs |^)([+-]?\d+)", text)
                rows.append((instruction[1],) + tuple(int(x) for x in operands))
    return rows


# ---- names, ranges, macros, places


def our_pubnames(dump):
    rows = []
    for line in dump.part("pubnames"):
        head = re.match(r"size=(\d+), ver=(\d+), offs=0x(\w+), debug size=(\d+)$", line)
        name = re.match(r'  0x(\w{8}): "(.*)"$', line)
        if head:
            rows.append((int(head[1]), int(head[2]), int(head[3], 16), int(head[4])))
        elif name:
            rows.append((int(name[1], 16), name[2]))
    return rows


def their_pubnames(path):
    rows = []
    for line in output_of("readelf", "--debug-dump=pubnames", path).partition(".debug_pubtypes")[0].split("\n"):
        field = re.match(r"  (Length|Version|Offset into .*|Size of area .*): +(\w+)$", line)
        name = re.match(r"    ([0-9a-f]+) +\t(.*)$", line)
        if field and field[1] == "Length":
            rows.append((int(field[2]),))
        elif field:
            rows[-1] += (number(field[2]),)
        elif name:
            rows.append((int(name[1], 16), name[2]))
    return rows


def our_aranges(dump):
    rows = []
    for line in dump.part("aranges"):
        head = re.match(r"size=(\d+), ver=(\d+), offs=0x(\w+) addrsize=(\d+), segsize=(\d+)", line)
        entry = re.match(r"  0x(\w+)\.\.0x(\w+)$", line)
        if head:
            rows.append((int(head[1]), int(head[2]), int(head[3], 16), int(head[4]), int(head[5])))
        elif entry:
            rows.append((int(entry[1], 16), int(entry[2], 16)))
    return rows


def their_aranges(path):
    rows = []
    for line in output_of("readelf", "--debug-dump=aranges", path).split("\n"):
        field = re.match(r"  (Length|Version|Offset into .*|Pointer Size|Segment Size): +(\w+)$", line)
        entry = re.match(r"    ([0-9a-f]{2,}) ([0-9a-f]{2,})$", line)
        if field and field[1] == "Length":
            rows.append((int(field[2]),))
        elif field:
            rows[-1] += (number(field[2]),)
        elif entry and (int(entry[1], 16) or int(entry[2], 16)):
            rows.append((int(entry[1], 16), int(entry[1], 16) + int(entry[2], 16)))
    return rows


def our_macros(dump):
    rows = []
    for line in dump.part("macinfo"):
        macro = re.match(r'  (DW_MACINFO_\w+)(?:\((\d+), (?:"(.*)"|(\d+))\))?$', line)
        if macro:
            rows.append((macro[1], macro[2], macro[3] if macro[3] is not None else macro[4]))
    return rows


def their_macros(path):
    rows = []
    for line in output_of("readelf", "--debug-dump=macro", path).split("\n"):
        macro = re.match(r" (DW_MACINFO_\w+)(?: - lineno ?: (\d+) (?:macro :|filenum ?:) ?(.*))?$", line)
        if macro:
            rows.append((macro[1], macro[2], macro[3]))
    return rows


def our_lists(dump):
    """Places of the lists and their ranges."""
    rows = []
    for line in dump.part("loc"):
        head = re.match(r"Set \d+ @ 0x(\w+)$", line)
        entry = re.match(r"range=0x(\w+)\.\.0x(\w+) size=\d+$", line)
        if head:
            rows.append(int(head[1], 16))
        elif entry:
            rows.append((int(entry[1], 16), int(entry[2], 16)))
    return rows


def their_lists(llvm, path):
    rows = []
    for line in output_of(llvm, "--debug-loc", path).split("\n"):
        head = re.match(r"0x(\w{8}): *$", line)
        entry = re.match(r" +\(0x(\w+), +0x(\w+)\): ", line)
        if head:
            rows.append(int(head[1], 16))
        elif entry:
            rows.append((int(entry[1], 16), int(entry[2], 16)))
    return rows


def our_expressions(dump):
    rows = []
    for line in dump.part("loc"):
        operation = re.match(r"  (DW_OP_\w+)(?:\((.*)\))?$", line)
        if line.startswith("range="):
            rows.append(())
        elif operation:
            rows[-1] += (operation[1],) + tuple(number(x) for x in (operation[2] or "").split(", ") if x)
    return rows


def their_expressions(path):
    rows = []
    for line in output_of("readelf", "--debug-dump=loc", path).split("\n"):
        entry = re.match(r" +\w{8} \w{8} \w{8} \((.*?)\)(?: \(start == end\))?$", line)
        if not entry:
            continue
        row = ()
        for operation in entry[1].split("; "):
            operation = re.sub(r" \(\w+\)", "", operation)  # a register's name
            name, *operands = re.split(r"[ :]+", operation)
            row += (name,) + tuple(int(x, 16 if name == "DW_OP_addr" else 10) for x in operands)
        rows.append(row)
    return rows


# ---- the judgement


def first_difference(ours, theirs):
    for k, (a, b) in enumerate(zip(ours, theirs)):
        if a != b:
            return f"entry {k}: {a!r} against {b!r}"
    return f"{len(ours)} entries against {len(theirs)}; " + repr((ours + theirs)[min(len(ours), len(theirs))])


def judge(tavrel, llvm, path):
    dump = Dump(tavrel, path)
    sections = their_sections(path)
    pairs = [
        ("sections", our_sections(dump), sections),
        ("symbols", our_symbols(dump), their_symbols(path, sections)),
        ("programs", our_programs(dump), their_programs(path)),
        ("strings", our_strings(dump), their_strings(path)),
        ("abbreviations", our_abbreviations(dump), their_abbreviations(path)),
        ("dies", die_shapes(dump), their_die_shapes(llvm, path)),
        ("values", our_values(dump), their_values(path)),
        ("opcodes", our_opcodes(dump), their_opcodes(path)),
        ("tables", our_tables(dump), their_tables(llvm, path)),
        ("frames", our_frames(dump), their_frames(path)),
        ("pubnames", our_pubnames(dump), their_pubnames(path)),
        ("aranges", our_aranges(dump), their_aranges(path)),
        ("macros", our_macros(dump), their_macros(path)),
        ("lists", our_lists(dump), their_lists(llvm, path)),
        ("expressions", our_expressions(dump), their_expressions(path)),
    ]
    if is_ended(dump):
        pairs.append(("matrix", our_matrix(dump), their_matrix(llvm, path)))
    faults = 0
    counts = []
    for name, ours, theirs in pairs:
        if ours != theirs and not (name == "values" and same_values(ours, theirs)):
            print(f"{os.path.basename(path)}: {name} differ: {first_difference(ours, theirs)}")
            faults += 1
        counts.append(f"{len(ours)} {name}")
    print(f"{os.path.basename(path)}: {', '.join(counts)}")
    return faults


def main():
    tavrel, llvm, *paths = sys.argv[1:]
    faults = sum(judge(tavrel, llvm, path) for path in paths)
    print(f"{len(paths)} files, {faults} differences")
    sys.exit(1 if faults else 0)


main()
