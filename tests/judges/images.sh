#!/bin/bash
# srec_cat and objcopy read the images that tavrel writes (Intel HEX, S-records, TI-TXT), and tavrel those that they
# write: all must hold the same bytes at the same addresses.
#
# usage: images.sh      TAVREL=program
set -euo pipefail
cd "$(dirname "$0")/../.."
tavrel=${TAVREL:-build/bin/tavrel}
for tool in srec_cat objcopy; do
    command -v $tool >/dev/null || { echo "images: $tool is not installed"; exit 77; }
done
tmp=$(mktemp -d)
trap 'rm -rf "$tmp"' EXIT

# FILE FORMAT: the image as sorted S-records of one shape, data only.
image() { srec_cat "$1" "-$2" -o - -motorola -obs=16 -address-length=4 -disable=header -disable=data-count -disable=execution-start-address; }

agree() { # WHAT FILE FORMAT: holds the image of $tmp/a.hex
    image "$2" "$3" >"$tmp/other"
    cmp "$tmp/image" "$tmp/other" || { echo "$1: differs"; exit 1; }
}

for hex in examples/*/gauge.hex; do
    cp "$hex" "$tmp/a.hex"
    image "$tmp/a.hex" intel >"$tmp/image"
    "$tavrel" "$tmp/a.hex" -os19 "$tmp/a.s19" -oihex "$tmp/b.hex" -otitxt "$tmp/a.txt"
    agree "$hex to S-records" "$tmp/a.s19" motorola
    agree "$hex to Intel HEX" "$tmp/b.hex" intel
    agree "$hex to TI-TXT" "$tmp/a.txt" ti-txt
    srec_cat "$tmp/a.hex" -intel -o "$tmp/c.s19" -motorola
    srec_cat "$tmp/a.hex" -intel -o "$tmp/c.hex" -intel
    for back in c.s19 c.hex; do
        "$tavrel" "$tmp/$back" -oihex "$tmp/d.hex"
        agree "$hex by srec_cat ($back)" "$tmp/d.hex" intel
    done
    objcopy -I ihex -O srec "$tmp/a.hex" "$tmp/e.s19"
    "$tavrel" "$tmp/e.s19" -oihex "$tmp/d.hex"
    agree "$hex by objcopy" "$tmp/d.hex" intel
    echo "$hex: agrees"
done
