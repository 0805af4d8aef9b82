#!/bin/bash
# binutils for the H8/300 as the judge of the plain COFF dump: an object that its assembler writes must show the same
# sections, symbols, auxiliary records and lines in our dump as in that of its objdump.
set -u
tavrel=${TAVREL:?}
tools=h8300-hitachi-coff
for tool in $tools-as $tools-objdump python3; do
    if ! command -v $tool >/dev/null; then
        echo "skipped: $tool is not installed"
        exit 77
    fi
done
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work" || exit 1

# Symbol definitions as a compiler writes them: a struct, a function with two lines, an array of structs.
define() {
    local name=$1
    shift
    printf '\t.def\t%s\n' "$name"
    printf '\t.%s\n' "$@"
    printf '\t.endef\n'
}
{
    printf '\t.file "h8_source.c"\n'
    define _pair "scl 10" "type 8" "size 6"
    define _first "val 2" "scl 8" "type 4"
    define .eos "val 6" "scl 102" "tag _pair" "size 6"
    printf '\t.section .text\n\t.global _main\n'
    define _main "val _main" "scl 2" "type 36"
    printf '_main:\n'
    define .bf "val ." "scl 101" "line 3"
    printf '\t.ln 1\n\tmov.w r0,r1\n\t.ln 2\n\trts\n'
    define .ef "val ." "scl 101" "line 5"
    printf '\t.data\n_longer_than_eight:\n\t.word 5\n\t.bss\n_buffer:\t.space 18\n'
    define _array "val _buffer" "scl 3" "tag _pair" "dim 3" "size 18" "type 56"
} > h8.s
$tools-as h8.s -o h8.o || exit 1

cat > compare.py <<'END'
import re
import subprocess
import sys

def run(*command):
    return subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL).stdout.decode()

def integers(fields):
    return tuple(int(field) for field in fields)

judge, ours = run(sys.argv[1], "-h", "-t", "h8.o"), run(sys.argv[2], "-d", "-v", "-v", "h8.o")
classes = {"2": "external symbol", "3": "static", "8": "member of structure", "10": "structure tag",
           "101": ".bf or .ef", "102": "end of structure", "103": "file name"}

expected = [("section", name, int(size, 16), int(at, 16), int(offset, 16)) for name, size, at, offset in
            re.findall(r"^ +\d+ (\S+) +(\w{8})  (\w+)  \w+  (\w+) ", judge, re.M)]
for index, section, kind, sclass, aux, value, name in re.findall(
        r"^\[ *(\d+)\]\(sec +(-?\d+)\)\(fl 0x00\)\(ty +(\w+)\)\(scl +(\d+)\) \(nx (\d+)\) 0x(\w+) (\S+)", judge, re.M):
    shown_value = None if sclass in ("10", "102", "103") else int(value, 16)
    expected.append(("symbol", *integers((index, section, aux)), classes[sclass], name, shown_value))
expected += [("line", int(number), int(at, 16)) for number, at in re.findall(r"^ +(\d+) : 0x(\w+)$", judge, re.M)]
expected += [("tag", *sizes) for sizes in re.findall(r"AUX lnno 0 size 0x(\w+) tagndx (\d+)", judge)]

found = [("section", name, int(size, 16), int(at, 16), int(offset, 16)) for name, at, offset, size in
         re.findall(r"^Section \d+: (\S+): @(\w+) scnptr 0x(\w+) .* size 0x(\w+) lines", ours, re.M)]
for index, section, sclass, aux, name, value in re.findall(
        r"^ *(\d+): \((-?\d+)\)\t *(\S.*) (\d+) \d+\[\d+\]\t([^\s:]+)(?: = (\w+))?", ours, re.M):
    found.append(("symbol", *integers((index, section, aux)), sclass, name, int(value, 16) if value else None))
found += [("line", int(number), int(at, 16)) for number, at in re.findall(r"^(\d+):\t(\w+)$", ours, re.M)]
found += [("tag", f"{int(size):x}", tag) for tag, size in re.findall(r": tag (\d+), size (\d+), index", ours)]
found += [("tag", f"{int(size):x}", tag) for size, tag in re.findall(r" (\d+)\[\d+\]\t.* array .* struct \[(\d+)\]", ours)]
for fact in expected:
    if fact not in found:
        print("missing:", fact)
for fact in found:
    if fact not in expected:
        print("not expected:", fact)
same = sorted(map(str, expected)) == sorted(map(str, found))
print(len(expected), "facts", "agree" if same else "DIFFER")
kinds = {fact[0] for fact in expected}
sys.exit(0 if same and kinds == {"section", "symbol", "line", "tag"} else 1)
END
python3 compare.py $tools-objdump "$tavrel"
