/* Three keys: unit, drift, reset. Each has a row in the menu that names the command it runs. */
#include "gauge.h"

typedef struct menu_entry menu_t;

static void set_unit(byte_t argument) {
    struct channel *channel = &channels[argument];

    channel->state.unit = (channel->state.unit + 1) % UNIT_COUNT;
}

static void set_drift(byte_t argument) {
    byte_t i;

    for (i = 0; i < HISTORY; i++) {
        channels[argument].history[i].drift++;
    }
}

static void reset_all(byte_t argument) {
    flags = argument;
    log_event(EVENT_POWER, argument);
}

const menu_t menu[] = {
    {"Unit", set_unit, 0},
    {"Drft", set_drift, 1},
    {"Rst", reset_all, 0},
};

command_t last_command;

void scan_keys(void) {
    static flag_t was_down;
    static byte_t held;
    byte_t down = key_port & 7;

    if (down == 0) {
        was_down = 0;
        held = 0;
        return;
    }
    if (!was_down || ++held > 50) {
        byte_t key;

        for (key = 0; key < sizeof menu / sizeof menu[0]; key++) {
            if (down & 1 << key) {
                const menu_t *entry = &menu[key];

                last_command = entry->run;
                show_text(entry->text);
                last_command(entry->argument);
                log_event(EVENT_KEY, key);
            }
        }
        was_down = 1;
    }
}
