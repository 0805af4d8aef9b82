#!/bin/bash
# Lets readelf, llvm-dwarfdump and gdb read the ELF files that tavrel writes.
#
# usage: elf.sh [CORPUS]          TAVREL is the program, TAVREL_CORPUS the corpus where no argument names it
#
# The examples are judged always. A corpus adds programs of some size: CORPUS/FAMILY/ with lib.sym, lib.hex, lib.args and
# *.sdb, beside it CORPUS/FAMILY.elf, the compiler's own file of the same program; for arm and mips gdb must then say the
# same of both, but for the kinds of differences that gdb_compare.py lists.
#
# Complaints that the format as it is cannot do without stand in expected_complaints. Any other one is a failure.
# Status 77: nothing could be judged.
set -u
judges=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
tavrel=${TAVREL:-tavrel}
corpus=${1:-${TAVREL_CORPUS:-}}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
failed=0

have() { command -v "$1" >/dev/null; }
dwarfdump=$(compgen -c llvm-dwarfdump | sort -V | tail -1)
if ! have "$tavrel" || { ! have readelf && [ -z "$dwarfdump" ]; }; then
    echo "elf: tavrel, readelf or llvm-dwarfdump is missing"
    exit 77
fi

# One regular expression a line, of what is left when numbers are taken out.
expected_complaints() {
    cat <<'KINDS'
last sequence in debug line table at offset N is not terminated
local symbol N found at index >= .symtab's sh_info value of N
note with invalid namesz and/or descsz found at offset N
type: N, namesize: N, descsize: N, alignment: N
the PHDR segment is not covered by a LOAD segment
KINDS
}
# Where a pointer has one byte, an address has one, too, which the tools do not know.
expected_of_one_byte() {
    cat <<'KINDS'
DWARF unit at offset N has unsupported address size: N
Invalid pointer size \(N\) in compunit header, using N instead
DIE at offset N refers to abbreviation number N which does not exist
The address size is unsupported
Units\[N\] - start offset: N
Corrupt attribute
KINDS
}

# Complaints of both tools about a file, numbers replaced by N, each once.
complaints() { # FILE
    {
        have readelf && readelf -a -w "$1" 2>&1 >/dev/null
        [ -n "$dwarfdump" ] && "$dwarfdump" --verify "$1" 2>&1 | grep -Ei 'warning:|error:|note:'
    } | sed -E 's/0x[0-9A-Fa-f]+/N/g; s/[0-9]+/N/g' | sort -u
}

judge() { # FAMILY FILE LABEL
    local left
    left=$(complaints "$2" | grep -Ev -f <(expected_complaints; case $1 in pic | holtek) expected_of_one_byte ;; esac))
    if [ -n "$left" ]; then
        echo "elf: $3: not expected:"
        echo "$left"
        failed=1
    fi
}

write() { # FAMILY DIRECTORY STEM OPTION...; leaves $work/out.elf
    local family=$1 directory=$2 stem=$3
    shift 3
    # shellcheck disable=SC2046 # the options are words
    (cd "$directory" && "$tavrel" $(cat "$stem.args") "$@" "$stem.sym" "$stem.hex" -oelf "$work/out.elf" >/dev/null \
        2>"$work/messages")
    [ -s "$work/out.elf" ] || { echo "elf: $family: nothing written"; cat "$work/messages"; failed=1; }
}

count=0
for family in arm mips dspic pic18 8051 pic holtek; do
    directory=$judges/../../examples/$family
    for order in -v -b; do
        write $family "$directory" gauge $order
        judge $family "$work/out.elf" "examples/$family $order"
        count=$((count + 1))
    done
    if [ -f "$corpus/$family/lib.sym" ]; then
        write $family "$corpus/$family" lib
        judge $family "$work/out.elf" "$family"
        count=$((count + 1))
        case $family in arm | mips)
            if have gdb-multiarch && have python3 && [ -f "$corpus/$family.elf" ]; then
                echo "== $family, what gdb says"
                python3 "$judges/gdb_compare.py" "$corpus/$family.elf" "$work/out.elf" || failed=1
            fi
            ;;
        esac
    fi
done
[ -n "$corpus" ] || echo "elf: no corpus: only the examples were judged"
echo "elf: $count files judged"
exit $failed
