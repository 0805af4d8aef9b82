"""Compares what gdb says of two ELF files of the same program: the compiler's own and the one that tavrel wrote.

usage: gdb_compare.py COMPILERS.elf OURS.elf

For every function: `info scope`, `info line`, `ptype`; for every variable: `ptype`, `print &x`. Names are taken from the
compiler's file. Answers that differ are compared again with what is known to differ left out, one kind at a time, so
that each difference is counted under the kinds that explain it. What no kind explains is printed, and gives status 1.

The script runs twice: on its own, and inside gdb (started by itself) to ask the questions.
"""

import collections
import json
import os
import re
import subprocess
import sys

# ---- inside gdb ------------------------------------------------------------------------------------------------------


def ask(question):
    try:
        return gdb.execute(question, to_string=True)
    except gdb.error as error:
        return f"error: {error}"


def scalar(t):
    """Kind and size; a plain char is a signed or an unsigned one."""
    return [{gdb.TYPE_CODE_FLT: "float", gdb.TYPE_CODE_BOOL: "bool"}.get(t.code, "int"), t.sizeof, str(t)]


def describe(t, depth=0):
    """A type as a tree of lists, structures by their fields down to the second level."""
    code = t.code
    if code == gdb.TYPE_CODE_TYPEDEF:
        return ["typedef", t.name, describe(t.target(), depth)]
    if t != t.unqualified():
        return ["const" if "const" in str(t).split() else "volatile", describe(t.unqualified(), depth)]
    if code == gdb.TYPE_CODE_PTR:
        return ["pointer", t.sizeof, describe(t.target(), depth + 1)]
    if code == gdb.TYPE_CODE_ARRAY:
        return ["array", t.range()[1] + 1, describe(t.target(), depth)]
    if code == gdb.TYPE_CODE_FUNC:
        return ["function", describe(t.target(), depth), [describe(f.type, depth + 1) for f in t.fields()]]
    if code in (gdb.TYPE_CODE_STRUCT, gdb.TYPE_CODE_UNION):
        fields = [] if depth > 2 else t.fields()
        rows = [[f.name or "", f.bitpos, f.bitsize, describe(f.type, depth + 1)] for f in fields]
        return ["struct" if code == gdb.TYPE_CODE_STRUCT else "union", t.tag, t.sizeof, rows]
    if code == gdb.TYPE_CODE_ENUM:
        return ["enum", t.tag, t.sizeof, [[f.name, f.enumval] for f in t.fields()]]
    return [str(t)] if code == gdb.TYPE_CODE_VOID else scalar(t)


def type_of(name):
    try:
        return describe(gdb.parse_and_eval(name).type)
    except (gdb.error, TypeError, RuntimeError) as error:
        return f"error: {error}"


def whole_scope(name):
    """`info scope` at the function and at each of its rows, and so of all blocks inside."""
    answer = ask(f"info scope {name}")
    try:
        symbol = gdb.lookup_global_symbol(name) or gdb.lookup_static_symbol(name)
        block = gdb.block_for_pc(int(symbol.value().address))
        if gdb.find_pc_line(block.start).line == 0:
            return answer  # gdb 13 falls over the line table of a source without lines
        places = sorted({row.pc for row in symbol.symtab.linetable() if block.start <= row.pc < block.end})
    except (gdb.error, AttributeError, RuntimeError):
        places = []
    return answer + "".join(ask(f"info scope *{place}") for place in places)


def inside_gdb(names):
    for question in ("set pagination off", "set width 0", "set language c"):
        gdb.execute(question)
    answers = {}
    for name in names["functions"]:
        answers[f"info scope {name}"] = whole_scope(name)
        answers[f"info line {name}"] = ask(f"info line {name}")
        answers[f"ptype {name}"] = [ask(f"ptype {name}"), type_of(name)]
    for name in names["variables"]:
        answers[f"ptype {name}"] = [ask(f"ptype {name}"), type_of(name)]
        answers[f"print &{name}"] = ask(f"print &{name}")
    with open(names["result"], "w", encoding="utf-8") as file:
        json.dump(answers, file)


# ---- outside: the questions ------------------------------------------------------------------------------------------


def symbol_names(elf, kind):
    table = subprocess.run(["readelf", "-sW", elf], capture_output=True, text=True, check=True).stdout
    rows = (line.split() for line in table.splitlines())
    return sorted({row[7] for row in rows if len(row) == 8 and row[3] == kind and row[6] != "UND"})


def answers_of(elf, names):
    """The answers in a file of their own, since gdb talks on its standard output."""
    result = os.path.join(names["work"], os.path.basename(elf) + ".json")
    question = os.path.join(names["work"], "names.json")
    with open(question, "w", encoding="utf-8") as file:
        json.dump({**names, "result": result}, file)
    environment = {**os.environ, "GDB_COMPARE_NAMES": question, "LC_ALL": "C"}
    subprocess.run(["gdb-multiarch", "-nx", "-batch", "-x", os.path.abspath(__file__), elf], env=environment, check=True,
                   stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    with open(result, encoding="utf-8") as file:
        return json.load(file)


# ---- outside: what may differ ----------------------------------------------------------------------------------------

MASK = 0xFFFFFFFF

TYPE_KINDS = [
    "typedef names: a variable's type is told as what the typedef stands for",
    "const: no DIE where the machine's flag is not DWARF's",
    "plain char: told as the signed or unsigned char that it is",
    "enumerators: negative values read as unsigned ones",
    "bit-fields: the position counts from the first bit, whatever the width",
    "parameters of function types are not told",
    "names of integer types: told by their size, as the type string has them",
    "names of floating types: likewise",
    "boolean: an unsigned char in the type string",
    "enumerations: the size is the one that the type string has",
    "integers of 8 bytes: arrays of bytes in the type string",
    "prototypes: a function without parameters is not told from one with any",
]
(TYPEDEF, CONST, CHAR, ENUM, BITS, PARAMETERS, INTEGER, FLOAT, BOOLEAN, ENUM_SIZE, LONG_LONG,
 PROTOTYPE) = TYPE_KINDS


def simplify(t, kinds):
    """The type with everything left out that the kinds explain."""
    if not isinstance(t, list) or not t:
        return t
    head = t[0]
    if head == "typedef":
        inner = simplify(t[2], kinds)
        return inner if TYPEDEF in kinds else [head, t[1], inner]
    if head == "const" and CONST in kinds:
        return simplify(t[1], kinds)
    if head in ("struct", "union"):
        rows = [[name, None if bits and BITS in kinds else position, bits, simplify(field, kinds)]
                for name, position, bits, field in t[3]]
        return [head, t[1], t[2], rows]
    if head == "enum":
        values = [[name, value & MASK if ENUM in kinds else value] for name, value in t[3]]
        return [head, t[1], None if ENUM_SIZE in kinds else t[2], values]
    if head == "function" and PARAMETERS in kinds:
        return [head, simplify(t[1], kinds)]
    if head == "float":
        return [head, t[1], None if FLOAT in kinds else t[2]]
    if head == "bool" and BOOLEAN in kinds:
        return simplify(["int", t[1], "unsigned char"], kinds)
    if head == "int" and t[1] == 8 and LONG_LONG in kinds:
        return ["array", 8, simplify(["int", 1, "unsigned char"], kinds)]
    if head == "int":
        name = t[2]
        if CHAR in kinds and t[1] == 1:
            name = "char"
        elif INTEGER in kinds:
            name = "unsigned" if "unsigned" in name else "signed"
        return [head, t[1], name]
    return [simplify(part, kinds) for part in t]


def type_answer(answer, kinds, _):
    text, tree = answer
    return simplify(tree, kinds), PROTOTYPE not in kinds and "(void)" in text


def explain(same, kinds):
    """The kinds without which the two are not the same; None if they all do not help."""
    if not same(set(kinds)):
        return None
    needed = set(kinds)
    for kind in kinds:
        if same(needed - {kind}):
            needed.discard(kind)
    return needed


SCOPE_KINDS = [
    "frame base: register 29, and a frame offset reads as a 32-bit number",
    "types: those that a function is the first to use stand among its symbols",
    "blocks: what is inside a block stands with the function itself",
    "labels: not told",
    "statics of functions: the SDB file gives them an underscore",
    "registers: numbered as the machine's own table numbers them",
    "variables that bear the name of a base type: type strings behind them mean the variable",
]
(FRAME, LOCAL_TYPES, BLOCKS, LABELS, STATICS, REGISTERS, HIDING) = SCOPE_KINDS

# The registers of 32-bit MIPS as tavrel's table has them and as DWARF numbers them.
MIPS_TABLE = "zero at v0 v1 a0 a1 a2 a3 t0 t1 t2 t3 t4 t5 t6 t7 t8 t9 s0 s1 s2 s3 s4 s5 s6 s7 k0 k1 gp sp s8 ra".split()
MIPS_DWARF = "zero at v0 v1 a0 a1 a2 a3 t0 t1 t2 t3 t4 t5 t6 t7 s0 s1 s2 s3 s4 s5 s6 s7 t8 t9 k0 k1 gp sp s8 ra".split()


def renumber(line):
    """What a register of ours is called in the program, for MIPS; those of ARM are numbered alike."""
    match = re.search(r"a variable in \$(\w+)", line)
    if not match or match[1] not in MIPS_DWARF:
        return line
    return line.replace(match[1], MIPS_TABLE[MIPS_DWARF.index(match[1])], 1)


def scope_symbols(text, kinds, is_ours):
    """Name, place and length of each symbol of `info scope`."""
    text = re.sub(r"\n +\d+: (DW_OP_\S+( -?\d+)?)\n", r" \1", text)
    hides = re.search(r"^Symbol _?(u?[cislx]|[fdb]) ", text, re.M)
    rows = []
    for line in re.findall(r"^Symbol (.*)", text, re.M):
        if FRAME in kinds:
            line = re.sub(r"a variable at frame base reg \S+ offset 0\+(\d+)", r"at frame \1", line)
            line = re.sub(r"a (?:variable with )?complex DWARF expression: DW_OP_fbreg (-?\d+)\s*",
                          lambda m: f"at frame {int(m[1]) & MASK}", line)
        if REGISTERS in kinds and is_ours:
            line = renumber(line)
        if STATICS in kinds and is_ours:
            line = re.sub(r"^_(\S+ is in static storage)", r"\1", line)
        if LABELS in kinds and " is a label at " in line:
            continue
        if LOCAL_TYPES in kinds and re.search(r"is a typedef\.$|is optimized out", line):
            continue
        if hides and HIDING in kinds:
            line = re.sub(r", length \d+\.$", "", line)
        rows.append(line)
    return sorted(set(rows)) if BLOCKS in kinds else rows


LINE_KINDS = [
    "file names: as the SDB file has them",
    "end of the program: no end of sequence behind a unit's last row",
    "headers: the symbol file has no lines of theirs",
]
(FILE_NAME, OPEN_END, HEADERS) = LINE_KINDS


def line_answer(text, kinds, _):
    if HEADERS in kinds and (text.startswith("No line number") or re.match(r'Line \d+ of "[^"]*\.h"', text)):
        return "no lines"
    if FILE_NAME in kinds:
        text = re.sub(r'"(?:[^"]*/)?([^"/]*)"', r'"\1"', text)
    if OPEN_END in kinds:
        text = re.sub(r" and ends at .*", "", text)
    return text


ADDRESS_KINDS = [
    "type in front of the address: see ptype",
    "symbol behind the address: the size of symbols is not told",
    "text behind the address: the type is one of characters",
]
(ADDRESS_TYPE, ADDRESS_SYMBOL, ADDRESS_TEXT) = ADDRESS_KINDS


def address_answer(text, kinds, _):
    match = re.match(r"\$\d+ = \((.*)\) (0x[0-9a-f]+)( <\S+>)?( .*)?", text, re.S)
    if not match:
        return text
    rows = zip((ADDRESS_TYPE, None, ADDRESS_SYMBOL, ADDRESS_TEXT), match.groups())
    return [(part or "").strip() for kind, part in rows if kind not in kinds]


QUESTIONS = {
    "info scope": (scope_symbols, SCOPE_KINDS),
    "info line": (line_answer, LINE_KINDS),
    "ptype": (type_answer, TYPE_KINDS),
    "print": (address_answer, ADDRESS_KINDS),
}


def compare(question, theirs, ours):
    """The kinds that explain the difference, none of them if there is none; None if they all do not help."""
    if theirs == ours:
        return set()
    reader, kinds = next(row for start, row in QUESTIONS.items() if question.startswith(start))
    return explain(lambda some: reader(theirs, some, False) == reader(ours, some, True), kinds)


def outside(theirs_elf, ours_elf):
    import tempfile

    with tempfile.TemporaryDirectory() as work:
        names = {"work": work, "functions": symbol_names(theirs_elf, "FUNC"),
                 "variables": symbol_names(theirs_elf, "OBJECT")}
        theirs = answers_of(theirs_elf, names)
        ours = answers_of(ours_elf, names)
    counts = collections.Counter()
    unexplained = 0
    for question, answer in theirs.items():
        kinds = compare(question, answer, ours[question])
        if kinds is not None:
            counts.update(kinds or ["the same"])
        else:
            unexplained += 1
            print(f"--- {question}\ncompiler: {answer}\nours:     {ours[question]}")
    for kind, count in counts.most_common():
        print(f"{count:6} {kind}")
    print(f"{unexplained:6} not explained, of {len(theirs)} questions")
    return 1 if unexplained else 0


if "GDB_COMPARE_NAMES" in os.environ:
    import gdb

    with open(os.environ["GDB_COMPARE_NAMES"], encoding="utf-8") as names_file:
        inside_gdb(json.load(names_file))
else:
    if len(sys.argv) != 3:
        sys.exit(__doc__)
    sys.exit(outside(sys.argv[1], sys.argv[2]))
