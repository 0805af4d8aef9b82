#!/bin/bash
# gputils' gpvo reads Microchip COFF files that tavrel wrote: it must see the sections and symbols that tavrel's own
# dump shows, and every source line of the symbol file at its address.
#
# gpvo complains about the maker's number in the optional header and about virtual addresses, and reads on.
set -euo pipefail
if ! command -v gpvo > /dev/null; then
    echo "gpvo is not installed (apt-get install gputils)"
    exit 77
fi
. tests/judges/compare.inc

for part in pic:-p16F877,A877,PIC14 pic18:-p18F452,452,PIC18; do
    folder=examples/${part%%:*}
    (cd "$folder" && "$TAVREL" "${part#*:}" -nCODE gauge.sym gauge.hex -omcoff "$work/a.cof")
    "$TAVREL" -d -v -v "$work/a.cof" > "$work/dump" 2> "$work/messages"
    gpvo -f -s -t "$work/a.cof" > "$work/gpvo" 2> /dev/null || true

    # name, address, size, lines
    sed -nE 's/^Section [0-9]+: (.*): @([0-9A-F]+) .* size 0x([0-9A-F]+) lines ([0-9]+) .*/\1 \2 \3 \4/p' "$work/dump" |
        while read -r name address size lines; do
            echo "$name $((16#$address)) $((16#$size)) $lines"
        done > "$work/ours"
    awk '/^Section Header/ { in_section = 1 }
         !in_section { next }
         /^Name/ { name = $2 } /^Physical address/ { address = $3 } /^Size of Section/ { size = $4 }
         /^Number of Line Numbers/ { print name, address, size, $5; in_section = 0 }' "$work/gpvo" |
        while read -r name address size lines; do
            echo "$name $((address)) $size $lines"
        done > "$work/theirs"
    compare sections

    # indices of the symbols that are no auxiliary records; gpvo counts from 1
    sed -nE '/^Symbol table/,/^Section/s/^ *([0-9]+):\t.*/\1/p' "$work/dump" > "$work/ours"
    sed -nE '/^Symbol Table/,$s/^([0-9]{4,}) .*/\1/p' "$work/gpvo" |
        while read -r index; do echo $((10#$index - 1)); done > "$work/theirs"
    compare symbols

    # every line of a source at its first address; an assembler source has none at address 0
    awk '/^%locals/ { local = 1 } !local { next }
         /\.(c|as)$/ { file = $1 }
         /^[0-9]+ [0-9A-F]+ 0 CODE/ && file != "" && !(file ~ /as$/ && $2 == "0") { print file, $1, $2 }' "$folder/gauge.sym" |
        while read -r file line address; do
            echo "$file $line $((16#$address))"
        done | sort -u > "$work/ours"
    awk '/^Line Number Table/ { in_table = 1; next } /^$/ { in_table = 0 }
         in_table && $2 ~ /^0x/ { print $3, $1, $2 }' "$work/gpvo" |
        while read -r file line address; do
            echo "$file $line $((address))"
        done | sort -u | comm -12 - "$work/ours" > "$work/theirs"
    compare lines
done
exit $failed
