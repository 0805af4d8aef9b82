#!/bin/bash
# gpvc, another reader of COD files, and gpasm, another writer, against what tavrel writes and prints.
set -euo pipefail
cd "$(dirname "$0")/../.."
for tool in gpvc gpasm python3; do
    command -v "$tool" >/dev/null || { echo "no $tool"; exit 77; }
done
tavrel=$(realpath "${TAVREL:?the program to judge}")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# What tavrel writes: the examples of all families.
for family in pic pic18 dspic mips 8051 arm holtek; do
    cp -r "examples/$family" "$work"
    (
        cd "$work/$family"
        "$tavrel" -v -v $(cat gauge.args) gauge.sym gauge.hex -ocod "$work/$family.cod" >/dev/null 2>"$work/$family.model"
    )
done

# What gpasm writes.
cat >"$work/gpasm.asm" <<'END'
        list p=16f877
        include "p16f877.inc"
        org 0
start   goto main
        org 0x1F0
main    movlw 5
a_long_name_of_a_label
        movwf 0x20
loop    decfsz 0x20,f
        goto loop
        org 0x2FE
        retlw 1
        retlw 2
        retlw 3
        end
END
(cd "$work" && gpasm -q gpasm.asm)

python3 tests/judges/cod.py "$tavrel" "$work"/*.cod
