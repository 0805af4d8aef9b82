/* The main loop, the channels and the event log. */
#include "gauge.h"

static void level_changed(struct channel *channel, enum alarm alarm);

struct channel channels[CHANNELS] = {
    {"FUEL", {{0, 0, 0}}, 0, {0}, {0}, {3, 2}, 1.5f, level_changed},
    {"H2O", {{0, 0, 0}}, 0, {0}, {0}, {3, 4}, 2.25f, level_changed},
};

volatile byte_t flags;

#ifdef BIT_VARIABLES
/* One name for each bit of flags; a bit's address is that of its byte times 8, plus its number. */
volatile bit flag_alarm @ (unsigned)&flags * 8 + 0;
volatile bit flag_lamp @ (unsigned)&flags * 8 + 1;
volatile bit flag_beep @ (unsigned)&flags * 8 + 4;
#endif

static struct event events[EVENTS];
static struct event *newest;
unsigned long ticks;

void log_event(enum event_kind kind, unsigned long value) {
    static byte_t place;
    struct event *event = &events[place];

    event->kind = kind;
    event->value.whole = value;
    event->next = newest;
    newest = event;
    if (++place == EVENTS) {
        place = 0;
    }
}

static void level_changed(struct channel *channel, enum alarm alarm) {
    if (alarm == ALARM_NONE) {
        flags &= ~(FLAG_ALARM | FLAG_LAMP);
        return;
    }
    flags |= FLAG_ALARM | FLAG_LAMP;
    if (alarm == ALARM_HIGH) {
        flags |= FLAG_BEEP;
    }
    log_event(EVENT_ALARM, channel->level.whole);
}

int main(void) {
    byte_t turn;

    for (turn = 0; turn < CHANNELS; turn++) {
        union reading start;

        start.real = channels[turn].version;
        log_event(EVENT_POWER, start.whole);
    }
    turn = 0;
    for (;;) {
        struct channel *channel = &channels[turn];
        enum alarm alarm = measure(channel, turn);

        if (channel->state.ready) {
            byte_t unit = channel->state.unit;

            if (flags & FLAG_ALARM) {
                const char *text = channel->name;

                show_text(text);
            } else {
                show_level(&channel->level, (enum unit)unit);
            }
        }
        channel->changed(channel, alarm);
        scan_keys();
        delay(500);
        ticks++;
        turn = turn ? 0 : 1;
    }
}
