/* A tank level gauge: two sensors, a four-digit display, three keys, a lamp and a beeper. */
#ifndef GAUGE_H
#define GAUGE_H

#define CHANNELS 2
#define HISTORY 4
#define DIGITS 4
#define EVENTS 6

/* Compilers for small parts know variables of one bit; others take a byte. */
#ifdef BIT_VARIABLES
typedef bit flag_t;
#else
typedef unsigned char flag_t;
#endif

typedef unsigned char byte_t;
typedef unsigned int word_t;

enum unit { UNIT_MM, UNIT_INCH, UNIT_PERCENT, UNIT_COUNT };

enum alarm { ALARM_LOW = -1, ALARM_NONE, ALARM_HIGH };

enum event_kind { EVENT_NONE, EVENT_POWER = 10, EVENT_ALARM, EVENT_KEY = 20 };

/* What a sensor said, in its own counts. */
struct sample {
    word_t raw;
    signed char drift;
    byte_t tries;
};

/* A measured value as a number, in halves for the display, in bytes for the link. */
union reading {
    unsigned long whole;
    float real;
    struct {
        unsigned short low, high;
    } half;
    byte_t byte[4];
};

struct state {
    word_t ready : 1;
    word_t overrange : 1;
    word_t unit : 3;
    word_t : 3;
    word_t fault : 7;
};

struct channel;
typedef void (*changed_t)(struct channel *channel, enum alarm alarm);

struct channel {
    const char *name;
    struct sample history[HISTORY];
    byte_t head;
    struct state state;
    union reading level;
    byte_t slope[2]; /* level = counts * slope[0] / slope[1] */
    float version;   /* of the sensor, for the log */
    changed_t changed;
};

struct event {
    struct event *next;
    enum event_kind kind;
    union reading value;
};

typedef void (*command_t)(byte_t argument);

struct menu_entry {
    char text[DIGITS];
    command_t run;
    byte_t argument;
};

/* gauge.c */
extern struct channel channels[CHANNELS];
extern volatile byte_t flags;
#define FLAG_ALARM 0x01
#define FLAG_LAMP 0x02
#define FLAG_BEEP 0x10
void log_event(enum event_kind kind, unsigned long value);

/* sensor.c */
enum alarm measure(struct channel *channel, byte_t number);

/* display.c */
void show_level(const union reading *level, enum unit unit);
void show_text(const char *text);

/* keys.c */
void scan_keys(void);

/* start.as: the ports, and a wait of so many turns */
extern volatile byte_t adc_select, digit_port, segment_port, key_port;
extern volatile unsigned short adc_data;
void delay(word_t turns);

#endif
