#include "shapes.h"

volatile int error_count;
static struct shape pool[4];
static const unsigned char table[3][5] = {{1, 2, 3, 4, 5}, {6, 7, 8, 9, 10}, {11, 12, 13, 14, 15}};

static inline int clamp(int value, int low, int high) {
    return value < low ? low : value > high ? high : value;
}

static long by_kind(const struct shape *shape, enum kind kind) {
    switch (kind) {
    case KIND_ROUND: return shape->size.area * 3;
    case KIND_SQUARE: return AREA((long)shape->corners[0].x, shape->corners[1].y);
    default: error_count++; return clamp(shape->corners[2].x, -5, SIDES);
    }
}

long total(const struct shape *first, measure_t measure) {
    long sum = 0;
    for (const struct shape *shape = first; shape; shape = shape->next) {
        if (shape->filled) {
            long one = measure(shape, KIND_ROUND);
            sum += one;
        } else {
            unsigned char pick = table[sum & 1][shape->colour & 3];
            sum -= pick;
        }
    }
    return sum;
}

int main(void) {
    for (int k = 0; k < 3; k++) {
        pool[k].next = &pool[k + 1];
        pool[k].colour = k * 3;
        pool[k].filled = k & 1;
    }
    return (int)total(pool, by_kind) + parse("12", 10);
}
