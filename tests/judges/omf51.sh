#!/bin/bash
# SDCC as the judge of OMF-51: from the absolute object file that its linker writes we read the image of its hex file,
# and the public symbols and line numbers of its debug file. Both rows read it, and read what we write from it.
set -u
tavrel=${TAVREL:?}
for tool in sdcc srec_cmp; do
    if ! command -v $tool >/dev/null; then
        echo "skipped: $tool is not installed"
        exit 77
    fi
done
. tests/judges/compare.inc
part=pump
cd "$work" || exit 1

cat > pump.c <<'END_OF_C'
#include <8051.h>
struct level { unsigned int now; signed char trend; };
__xdata struct level levels[40];
__idata unsigned char seen;
__bit busy;
static unsigned long total;
const __code unsigned char curve[700] = { 1, 2, 3, 5, 8, 13, 21 };
extern unsigned int scale(unsigned int raw);

static void note(unsigned char channel, unsigned int raw) {
    levels[channel].trend = raw > levels[channel].now ? 1 : -1;
    levels[channel].now = scale(raw);
    total += raw;
}

void main(void) {
    unsigned char channel;
    for (;;) {
        busy = 1;
        for (channel = 0; channel < 40; ++channel) {
            note(channel, curve[channel] * 3u);
            ++seen;
        }
        busy = 0;
        P1 = seen;
    }
}
END_OF_C
cat > scale.c <<'END_OF_C'
unsigned int factor = 300;

unsigned int scale(unsigned int raw) {
    if (raw > 1000) {
        return raw / factor;
    }
    return raw * factor;
}
END_OF_C
if ! { sdcc -mmcs51 --debug -c scale.c && sdcc -mmcs51 --debug -c pump.c && sdcc -mmcs51 --debug pump.rel scale.rel; } \
    >log 2>&1 || [ ! -s pump.omf ]; then
    cat log
    echo "skipped: this SDCC writes no OMF-51"
    exit 77
fi

fail() {
    echo "$*"
    failed=1
}
same_image() { # FILE of ours: the image of SDCC's own hex file
    srec_cmp "$1" -intel pump.ihx -intel 2>>log || fail "$1 differs from pump.ihx"
}

[ "$("$tavrel" -c pump.omf 2>&1 | grep -c 'Confirmed as Extended OMF-51')" = 1 ] || fail "pump.omf is not recognised"
for key in omf51 eomf51; do
    "$tavrel" -i$key pump.omf -oihex $key.hex -oomf51 again.omf -oeomf51 again.abs || fail "-i$key: status $?"
    same_image $key.hex
    for again in again.omf again.abs; do
        "$tavrel" $again -oihex again.hex || fail "$again: status $?"
        same_image again.hex
    done
done

# The debug file: L:G$NAME$0_0$0:ADDRESS for a global symbol, L:C$FILE$LINE$0_0$0:ADDRESS for a line.
"$tavrel" -iomf51 -d pump.omf >dump || fail "-d: status $?"
awk '/@/ { public = /Public symbols/ } public && /\t\tSEG/ { print $NF, substr($(NF - 1), 3, 4) }' dump | sort -u >ours
sed -n 's/^L:G\$\([^$]*\)\$.*:\([0-9A-F]*\)$/\1 0000\2/p' pump.cdb | sed 's/ .*\(....\)$/ \1/' | sort -u >theirs
[ -s ours ] || fail "no public symbols"
compare "public symbols"
awk '/\t\tSEG.*line/ { print $NF, substr($4, 3, 4) }' dump | sort -u >ours
sed -n 's/^L:C\$[^$]*\$\([0-9]*\)\$.*:\([0-9A-F]*\)$/\1 0000\2/p' pump.cdb | sed 's/ .*\(....\)$/ \1/' | sort -u >all
comm -12 ours all >theirs # SDCC knows more places of a line
[ -s ours ] || fail "no lines"
compare "lines"
grep -q "Module END, len  10: Name: 'pump'" dump || fail "the dump has no end"
exit $failed
