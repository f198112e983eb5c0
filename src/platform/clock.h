#ifndef QUORVEX_PLATFORM_CLOCK_H
#define QUORVEX_PLATFORM_CLOCK_H

// Time: a monotonic timer, the local date and time, waiting. A test puts a clock of its own here
// that moves only when told.

#include <cstdint>
#include <type_traits>

struct ZVK_LocalTime
{
    int hours;
    int minutes;
    int seconds;
    int month;  // 1 to 12
    int day;    // 1 to 31
    int year;   // in full
};

// timer gives seconds since its first call; unixSeconds the calendar time; delay waits; breathe is
// the short wait between two attempts of a retry loop, which lets the other thread finish.
#define ZVK_CLOCK_CALLS(X)                                                                         \
    X(timer, double())                                                                             \
    X(unixSeconds, int64_t())                                                                      \
    X(localTime, ZVK_LocalTime())                                                                  \
    X(delay, void(double seconds))                                                                 \
    X(breathe, void())

struct ZVK_ClockTable
{
#define X(call, type) std::add_pointer_t<type> call;
    ZVK_CLOCK_CALLS(X)
#undef X
};

const ZVK_ClockTable &Clock();               // the table in use, every entry set
void UseClock(const ZVK_ClockTable *table);  // null: back to the real clock

#endif
