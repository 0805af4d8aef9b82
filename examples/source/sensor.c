/* From sensor counts to levels. */
#include "gauge.h"

/* Counts at which a level is too low or too high, a row a channel. */
static const unsigned short limits[CHANNELS][2] = {{100, 3900}, {64, 4000}};

static unsigned short convert(byte_t number) {
    adc_select = number;
    delay(8);
    return adc_data & 0x0FFF;
}

static word_t mean(const struct sample *history) {
    unsigned long sum = 0;
    byte_t i;

    for (i = 0; i < HISTORY; i++) {
        sum += history[i].raw + history[i].drift;
    }
    return (word_t)(sum / HISTORY);
}

enum alarm measure(struct channel *channel, byte_t number) {
    struct sample *sample = &channel->history[channel->head];
    word_t counts;

    sample->tries = 0;
    do {
        sample->raw = convert(number);
        sample->tries++;
    } while (sample->raw == 0x0FFF && sample->tries < 3);

    channel->head = (channel->head + 1) & (HISTORY - 1);
    if (channel->head == 0) {
        channel->state.ready = 1;
    }

    counts = mean(channel->history);
    channel->state.overrange = counts > limits[number][1];
    {
        const byte_t *slope = channel->slope;
        unsigned long level = (unsigned long)counts * slope[0];

        channel->level.whole = level / slope[1];
    }
    if (channel->state.overrange) {
        return ALARM_HIGH;
    }
    return counts < limits[number][0] ? ALARM_LOW : ALARM_NONE;
}
