/* A display of four digits with seven segments each, one digit lit at a time. */
#include "gauge.h"

static const byte_t segments[10] = {0x3F, 0x06, 0x5B, 0x4F, 0x66, 0x6D, 0x7D, 0x07, 0x7F, 0x6F};

/* What the display holds: a row for what is shown, a row for what comes next. */
static byte_t planes[2][DIGITS];
byte_t plane;

static void light(byte_t digit, byte_t pattern) {
    digit_port = 1 << digit;
    segment_port = pattern;
    delay(2);
}

static void flip(void) {
    byte_t digit;

    plane ^= 1;
    for (digit = 0; digit < DIGITS; digit++) {
        light(digit, planes[plane][digit]);
    }
}

void show_level(const union reading *level, enum unit unit) {
    word_t rest = level->half.low;
    signed char digit;

    switch (unit) {
    case UNIT_INCH: rest = rest * 5 / 127; break;
    case UNIT_PERCENT: rest /= 60; break;
    default: break;
    }
    for (digit = DIGITS - 1; digit >= 0; digit--) {
        byte_t value = rest % 10;

        planes[plane ^ 1][digit] = segments[value];
        rest /= 10;
        if (rest == 0) {
            byte_t left = digit;

            while (left > 0) {
                planes[plane ^ 1][--left] = 0;
            }
            break;
        }
    }
    flip();
}

void show_text(const char *text) {
    byte_t digit = 0;

    while (digit < DIGITS && *text) {
        planes[plane ^ 1][digit++] = *text++ & 0x7F;
    }
    flip();
}
