#!/bin/bash
# The old binutils port for the H8/300 (package binutils-h8300-hms) reads plain COFF that tavrel wrote: it must see the
# sections and symbols that tavrel's own dump shows, and the lines of the symbol file.
#
# It complains about storage class 5 (external definition), which it does not know, and reads on.
set -euo pipefail
judge=h8300-hitachi-coff-objdump
if ! command -v $judge > /dev/null; then
    echo "$judge is not installed (apt-get install binutils-h8300-hms)"
    exit 77
fi
. tests/judges/compare.inc

for part in pic:-p16F877,H8/300 pic18:-p18F452,H8/300 dspic:-p30F6014,H8/300; do
    folder=examples/${part%%:*}
    (cd "$folder" && "$TAVREL" "${part#*:}" -nCODE gauge.sym gauge.hex -ocoff "$work/a.cof")
    "$TAVREL" -d -v -v -icoff "$work/a.cof" > "$work/dump" 2> "$work/messages"
    $judge -h -t "$work/a.cof" > "$work/theirs.all" 2> /dev/null

    # name, address, size
    sed -nE 's/^Section [0-9]+: (.*): @([0-9A-F]+) .* size 0x([0-9A-F]+) .*/\1 \2 \3/p' "$work/dump" |
        while read -r name address size; do
            echo "$name $((16#$address)) $((16#$size))"
        done > "$work/ours"
    awk '/^SYMBOL TABLE/ { exit } /^ +[0-9]+ / { print $2, $5, $3 }' "$work/theirs.all" |
        while read -r name address size; do
            echo "$name $((16#$address)) $((16#$size))"
        done > "$work/theirs"
    compare sections

    # indices of the symbols that are no auxiliary records
    sed -nE '/^Symbol table/,/^Section/s/^ *([0-9]+): \(.*/\1/p' "$work/dump" > "$work/ours"
    sed -nE 's/^\[ *([0-9]+)\]\(sec.*/\1/p' "$work/theirs.all" > "$work/theirs"
    compare symbols

    # every line of a C source at its address
    awk '/^%locals/ { local = 1 } !local { next }
         /\.(c|as|obj)$/ { in_c = /\.c$/ }
         /^[0-9]+ [0-9A-F]+ 0 CODE/ && in_c { print $1, $2 }' "$folder/gauge.sym" |
        while read -r line address; do
            echo "$line $((16#$address))"
        done | sort -u > "$work/ours"
    sed -nE 's/^ *([0-9]+) : (0x[0-9a-f]+)$/\1 \2/p' "$work/theirs.all" |
        while read -r line address; do
            echo "$line $((address))"
        done | sort -u > "$work/theirs"
    compare lines
done
exit $failed
