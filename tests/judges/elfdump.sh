#!/bin/bash
# Programs for arm, avr, mips (both orders) and i386, compiled with DWARF 2, and the ELF files that tavrel writes itself:
# what tavrel prints of them must say the same as what readelf and llvm-dwarfdump print, entry by entry.
set -u
: "${TAVREL:?names the program}"
here=tests/judges/elfdump
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

for tool in python3 readelf; do
    command -v $tool >/dev/null || { echo "$tool is not installed"; exit 77; }
done
llvm=$(command -v llvm-dwarfdump-14 || command -v llvm-dwarfdump)
[ -n "$llvm" ] || { echo "llvm-dwarfdump is not installed"; exit 77; }

debug="-gdwarf-2 -gstrict-dwarf -g3 -gpubnames -fno-asynchronous-unwind-tables -ffreestanding"
built=()

# compile NAME COMPILER OPTION... SOURCE...: a program without a library; missing compilers are passed over
compile() {
    local name=$1 compiler=$2
    shift 2
    command -v "$compiler" >/dev/null || { echo "$compiler is not installed: passed over"; return; }
    if "$compiler" $debug "$@" -nostdlib -nostartfiles -Wl,-emain -o "$work/$name.elf" 2>"$work/log"; then
        built+=("$work/$name.elf")
    else
        echo "$compiler cannot build $name: passed over"
        sed 1q "$work/log"
    fi
}

for level in -O0 -O2; do
    sources="$level $here/first.c $here/second.c"
    compile arm$level arm-none-eabi-gcc -mcpu=arm7tdmi $sources
    compile thumb$level arm-none-eabi-gcc -mcpu=cortex-m3 -mthumb $sources
    compile avr$level avr-gcc -mmcu=atmega328p $sources -lgcc
    compile mips$level mips-linux-gnu-gcc -static -fno-pic -mno-abicalls $sources
    compile mipsel$level mipsel-linux-gnu-gcc -static -fno-pic -mno-abicalls $sources
    compile i386$level gcc -m32 -mpreferred-stack-boundary=2 -static -fno-pic $sources
    compile classes$level g++ -m32 -mpreferred-stack-boundary=2 -static -fno-pic -fno-exceptions -fno-rtti $level $here/classes.cpp
done
[ ${#built[@]} -gt 0 ] || { echo "no compiler is installed"; exit 77; }

for family in arm mips dspic; do
    (
        cd examples/$family 2>/dev/null || exit
        "$TAVREL" $(cat gauge.args) gauge.sym gauge.hex -oelf "$work/own-$family.elf"
    ) && built+=("$work/own-$family.elf")
done

python3 $here/compare.py "$TAVREL" "$llvm" "${built[@]}"
