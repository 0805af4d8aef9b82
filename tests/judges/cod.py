"""Prints COD files with tavrel and with gpvc and compares the two prints, number by number.

Beside X.cod may stand X.model, what `tavrel -v -v` told when it wrote the file: then gpvc's memory map is compared with
the model's data blocks, and its long symbols with the model's symbols.

gpvc is built on a table of type names that differs for the codes 2 to 15 and ends at 127, so types count in between
only. It leaves out file marks, shows no empty lines of code, halves addresses where a word of code has two bytes, and
reads 84 of the 85 line records of a block.
"""

import re
import subprocess
import sys


def run(*command):
    return subprocess.run(command, capture_output=True, text=True, errors="replace").stdout


def hexes(*texts):
    return tuple(int(text, 16) for text in texts)


def type_name(name):
    return name if re.match(r"(func|pfun|const|addr|c_void|c_struct)", name) else ""


def section(text, start, end):
    found = re.search(start + r"\n(.*?)(?=" + end + r"|\Z)", text, re.S | re.M)
    return found.group(1) if found else ""


# ---- tavrel


def our_symbols(text):
    return [
        (name, int(value, 16), type_name(kind))
        for name, kind, value in re.findall(r"^\t(\S+) +\((\w+)\) +([0-9A-F]{4})$", text, re.M)
    ]


def our_scopes(text):
    parts = re.split(r"^Block: 0x(\w+)-0x(\w+)\n", text, flags=re.M)
    return [(*hexes(parts[k], parts[k + 1]), our_symbols(parts[k + 2])) for k in range(1, len(parts), 3)]


def ours(tavrel, path):
    text = run(tavrel, "-d", "-v", "-icod", path)
    fields = {}
    for name in ("Symtab", "Namtab", "Lsttab", "Memmap", "Locals", "Lsymtab"):
        fields[name] = tuple(int(n) for n in re.search(name + r":?\s(\d+)/(\d+)", text).groups())
    fields["Compiler"] = re.search(r"Compiler: (.*)", text).group(1)
    fields["Processor"] = re.search(r"Processor (.*)", text).group(1)
    code = {}
    for address, row in re.findall(r"^([0-9A-F]{4}):((?: [0-9A-F]{2}){16}) ", text, re.M):
        row = row.split()
        words = [int(row[k + 1] + row[k], 16) for k in range(0, 16, 2)]
        if any(words):
            code[int(address, 16)] = words
    lines = []
    for block in section(text, "^Line numbers:", "$^").split("Line number block")[1:]:
        lines += re.findall(r"^\t *(\d+) ([0-9A-F]{2}) ([0-9A-F]{4}) (.*)$", block, re.M)[:84]
    return {
        "directory": fields,
        "pages": [(int(a, 16), int(b)) for a, b in re.findall(r"^Code: ([0-9A-F]+)h at block (\d+)", text, re.M)],
        "code": code,
        "symbols": our_symbols(section(text, "^Symbols:", "^Locals:")),
        "scopes": our_scopes(section(text, "^Locals:", "^Files:")),
        "files": re.findall(r"^\t(\S+) *$", section(text, "^Files:", "^Line numbers:"), re.M),
        "lines": [
            (int(number), *hexes(smod, address), name[:32])
            for number, smod, address, name in lines
            if smod != "FF" and (number, smod, address) != ("0", "00", "0000")
        ],
    }


# ---- gpvc


def their_symbols(text):
    return [
        (name, int(value, 16) & 0xFFFF, type_name(kind))
        for name, value, kind in re.findall(r"^(\S+) = ([0-9a-f]+), type = (\S*) *$", text, re.M)
    ]


def their_scopes(text, unit):
    parts = re.split(r"^Local symbols between ([0-9a-f]+) and ([0-9a-f]+):  ", text, flags=re.M)
    result = []
    for k in range(1, len(parts), 3):
        start, end = hexes(parts[k], parts[k + 1])
        result.append((start * unit, end * unit + (unit - 1) * 2, their_symbols(parts[k + 2])))
    return result


def theirs(path):
    directory, rom, symbols, listing = (run("gpvc", option, path) for option in ("-d", "-r", "-s", "-l"))
    titles = {
        "Symtab": "Short symbol table",
        "Namtab": "File name table",
        "Lsttab": "Source info table",
        "Memmap": "Rom table",
        "Locals": "Local scope table",
        "Lsymtab": "Long symbol table",
    }
    fields = {
        name: hexes(*re.search(title + r" start block: +(\w+) +end block: +(\w+)", directory).groups())
        for name, title in titles.items()
    }
    fields["Compiler"] = re.search(r"- Compiler: +(.*)", directory).group(1)
    fields["Processor"] = re.search(r"- Processor: +(.*)", directory).group(1)
    rows = [(int(a, 16), [int(w, 16) for w in r.split()]) for a, r in re.findall(r"^([0-9a-f]{6}):  (.*)$", rom, re.M)]
    unit = 2 if any(address % 16 == 8 for address, _ in rows) else 1
    pages = [(int(a, 16), int(n)) for a, n in re.findall(r"^([0-9a-f]+)-[0-9a-f]+: (\d+)$", directory, re.M)]
    lines = re.findall(r"^ *\d+ +(\d+)  ([0-9A-F]{6}) +([0-9A-F]+) \S+  (.*?) *$", listing, re.M)
    return {
        "unit": unit,
        "directory": fields,
        "pages": pages,
        "code": {address * unit: words for address, words in rows},
        "map": [hexes(a, b) for a, b in re.findall(r"^using ROM (\w+) to (\w+)", rom, re.M)],
        "symbols": their_symbols(section(symbols, "^Symbol Table Information:", "^Long")),
        "long symbols": their_symbols(section(symbols, "^Long Symbol Table Information:", "^Local|^No")),
        "scopes": their_scopes(section(symbols, "^Local Symbol Scoping Information:", "$^"), unit),
        "files": section(directory, "^Source File Information:\n-*", "^$").split(),
        "lines": [
            (int(number), *hexes(smod, address), name[:32]) for number, address, smod, name in lines
        ],
    }


# ---- what the model held


def model_of(path):
    with open(path) as file:
        text = file.read()
    blocks = section(text, r"^Data blocks:[^\n]*", "^$")
    return {
        "map": [hexes(*pair) for pair in re.findall(r"^\t(\w+)-(\w+)", blocks, re.M)],
        "symbols": {
            (name, int(value, 16) & 0xFFFF)
            for value, name in re.findall(r"^\t\S* +([0-9A-F]+) +(\S+)$", text, re.M)
        },
    }


def first_difference(a, b):
    """The first elements of two lists that differ, None where one list has ended."""
    for k in range(max(len(a), len(b))):
        pair = (a[k] if k < len(a) else None, b[k] if k < len(b) else None)
        if pair[0] != pair[1]:
            return pair
    return None


def differences(path, tavrel):
    mine, other = ours(tavrel, path), theirs(path)
    for key, value in mine.items():
        if value != other[key]:
            yield key, *(first_difference(value, other[key]) if isinstance(value, list) else (value, other[key]))
    try:
        model = model_of(path.removesuffix(".cod") + ".model")
    except FileNotFoundError:
        return
    unit = other["unit"]
    told = [((first & 0xFFFF) // unit, (last & 0xFFFF) // unit) for first, last in model["map"]]
    if told != other["map"]:
        yield "memory map", told, other["map"]
    # Bits have addresses of their own; locals of some families have names of their own.
    strangers = {(n, v) for n, v, _ in other["long symbols"] if "_flag_" not in n} - model["symbols"]
    if strangers or not other["long symbols"]:
        yield "long symbols", "(of the model)", strangers


def main():
    failures = 0
    for path in sys.argv[2:]:
        count = 0
        for key, mine, other in differences(path, sys.argv[1]):
            print(f"{path}: {key}: tavrel {mine}\n    gpvc {other}")
            count += 1
        print(f"{path}: {'agrees' if count == 0 else f'{count} differences'}")
        failures += count
    return 1 if failures else 0


sys.exit(main())
