#!/bin/bash
# gputils as the judge of the Microchip COFF dump: objects and linked files that gpasm and gplink write must show the
# same sections, symbols, types and lines in our dump as in that of gpvo.
set -u
tavrel=${TAVREL:?}
for tool in gpasm gplink gpvo python3; do
    if ! command -v $tool >/dev/null; then
        echo "skipped: $tool is not installed"
        exit 77
    fi
done
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work" || exit 1

cat > mid.asm <<'END'
 list p=16f877
 #include p16f877.inc
 udata
counter res 1
buffer_with_a_long_name res 12
 code
start
 movlw 0x10
 movwf counter
label_longer_than_eight
 decfsz counter,f
 goto label_longer_than_eight
 goto start
 global start, label_longer_than_eight, counter
 end
END
cat > high.asm <<'END'
 list p=18f452
 #include p18f452.inc
 udata_acs
bank_value res 3
a_section_with_a_long_name udata 0x200
a_variable res 5
RST code 0
 goto start
 code
start
 movlw 0x10
 movwf bank_value
 goto start
 idata
table db 1,2,3
 global start
 end
END
cat > low.asm <<'END'
 list p=12f509
 code
begin
 movlw 1
 nop
 global begin
 end
END
# Debug directives: types, and lines of a source in another language.
cat > debug.asm <<'END'
 list p=16f877
 radix dec
 .file "c_source.c"
 .def _counter, debug, class=2, type=2, value=3
 .def _fn, debug, class=2, type=68, value=3
 .def _ptr, debug, class=3, type=36, value=5
 .def _arr, debug, class=3, type=99, value=5, size=12
 .dim _arr, 1, 3
 .def _both, debug, class=3, type=44, value=7
 code
_start
 .line 6
 nop
 .line 7
 nop
 .line 65000
 nop
 .eof
 global _start
 end
END

# Both dumps in one form: counts, sections with their lines, symbols that programs see, source files.
cat > compare.py <<'END'
import re
import subprocess
import sys

def number(text):
    return int(text, 16) if text.startswith("0x") else int(text)

def run(*command):
    return subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL).stdout.decode()

def from_gpvo(path):
    text = run("gpvo", path)
    derived = {"DT_NON": "", "DT_FCN": "function returning ", "DT_PTR": "pointer to ", "DT_ARY": "array of "}
    facts = [("counts", *(int(n) for n in re.findall(r"^Number of (?:Sections|Symbols) +(\d+)$", text, re.M)))]
    for part in text.split("Symbol Table\nIdx")[0].split("Section Header\n")[1:]:
        header = dict(re.findall(r"^(\S.*?)  +(\S+)$", part, re.M))
        lines = part.partition("Line Number Table")[2]
        facts.append(("section", header["Name"], *(number(header[key]) for key in (
            "Physical address", "Size of Section", "Number of Relocations", "Number of Line Numbers", "Flags"))))
        facts += [("line", int(n), number(at)) for n, at in re.findall(r"^(\d+) +(\S+) +\S", lines, re.M)]
    for index, name, value, base, form, aux in re.findall(
            r"^(\d{4}) (\S+) +\S+ +(\S+) +T_(\S+) +(DT_\S+) +C_(?:EXT|STAT) +(\d+)", text, re.M):
        facts.append(("symbol", int(index) - 1, name, number(value), derived[form] + base.lower(), int(aux)))
    return facts + [("file", name) for name in re.findall(r"^ +file = (\S+)$", text, re.M)]

def from_tavrel(path):
    text = run(sys.argv[1], "-d", "-v", "-v", path)
    facts = [("counts", *(int(n) for n in re.findall(r"^\t(?:Sections|Nsyms):\t+(\d+)$", text, re.M)))]
    runs = dict(re.findall(r"^Section (\d+) line numbers.*\n((?:\d+:.*\n)*)", text, re.M))
    for index, name, address, size, lines, relocs, flags in re.findall(
            r"^Section (\d+): (\S+): @(\S+) .* size (\S+) lines (\d+) relocs (\d+) flags (\S+)", text, re.M):
        facts.append(("section", name, int(address, 16), number(size), int(relocs), int(lines), number(flags)))
        facts += [("line", int(n), number(at)) for n, at in re.findall(
            r"^(\d+):.*paddr: (0x\w+)", runs.get(index, ""), re.M)]
    for index, aux, name, value, kind in re.findall(
            r"^ *(\d+):\t *(?:external symbol|static) (\d+) .*\t(\S+) = (\w+): \S+ (.*)$", text, re.M):
        facts.append(("symbol", int(index), name, int(value, 16), re.sub(r"\[.*\] ", "", kind), int(aux)))
    return facts + [("file", name) for name in re.findall(r"^ *\d+:\t *file name .*\t(\S+) \[", text, re.M)]

expected, found = from_gpvo(sys.argv[2]), from_tavrel(sys.argv[2])
for fact in expected:
    if fact not in found:
        print("missing:", fact)
for fact in found:
    if fact not in expected:
        print("not expected:", fact)
print(sys.argv[2] + ":", len(expected), "facts", "agree" if expected == found else "DIFFER")
kinds = {fact[0] for fact in expected}
sys.exit(0 if expected == found and kinds == {"counts", "section", "line", "symbol", "file"} else 1)
END

status=0
check() {
    python3 compare.py "$tavrel" "$1" || status=1
}
gpasm -q -w 2 -g -c debug.asm -o debug.o || exit 1
check debug.o
for name in mid high low; do
    gpasm -q -w 2 -c $name.asm -o $name.o || exit 1
    check $name.o
    gplink -q -c -o $name.hex $name.o || exit 1
    check $name.cof
done
exit $status
