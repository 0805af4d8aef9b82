#include "shapes.h"

#undef SIDES
#define SIDES 8

static int digit(char c) {
    if (c >= '0' && c <= '9')
        return c - '0';
    return -1;
}

/* Far from the rest, so that lines and addresses move by more than one opcode can say. */





















int parse(const char *text, int base) {
    int value = 0;
    static int calls;
    calls++;
    while (*text) {
        int d = digit(*text++);
        if (d < 0 || d >= base) {
            error_count += SIDES;
            break;
        }
        value = value * base + d;
    }
    return value;
}
