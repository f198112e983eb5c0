#ifndef QUORVEX_FORCE_FORCECAL_TRIGGER_H
#define QUORVEX_FORCE_FORCECAL_TRIGGER_H

// What ZVK_ForceCal_TriggerCalibration decides: numbers in, numbers out.

#include <cstdint>

struct ZVK_Pulses
{
    int32_t count;  // at most 1000
    int32_t first;  // where they start, in samples
    int32_t last;
};

// A pulse is three samples in a row above 2.6 V. Behind each, `deadZone` samples are passed over.
ZVK_Pulses FindPulses(const double *samples, int32_t count, int32_t deadZone);

struct ZVK_RunRate
{
    double sampleRate;    // hertz
    int32_t cycleLength;  // samples in a period
    double frequency;     // hertz, as told to the client
};

// From three pulses or more, seen at `maxRate` hertz.
ZVK_RunRate RateFromPulses(const ZVK_Pulses &pulses, double maxRate);
// Without pulses.
ZVK_RunRate RateFromSettings(int32_t frequency, double maxRate);

// Cuts off; the smallest number for what has no place in 32 bits, which no acquisition takes.
int32_t TruncateToLong(double value);

#endif
