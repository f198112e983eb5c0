// Measures the stage's real rate of oscillation and derives the sample rate of the runs: a power of
// two of samples in a period, so that the oscillation falls on one bin of the spectrum.

#include "force/forcecal_trigger.h"

#include "force/force.h"
#include "force/forcecal.h"
#include "platform/clock.h"
#include "platform/memory.h"
#include "quorvex/stage.h"

#include <cmath>
#include <limits>

constexpr double kPulseVolts = 2.6;
constexpr int32_t kMostPulses = 1000;
constexpr double kDeadZone = 300000.0;  // samples times hertz
constexpr double kSettleS = 0.1;
constexpr double kTimeoutS = 10.0;
constexpr double kFastest = -1.0;
constexpr int32_t kShakenAxis = 0;

int32_t TruncateToLong(double value)
{
    constexpr double kLimit = 2147483648.0;
    if (!(value > -kLimit - 1.0 && value < kLimit)) return std::numeric_limits<int32_t>::min();
    return static_cast<int32_t>(value);
}

static double PowerOfTwoBelow(double value)
{
    return std::pow(2.0, std::floor(std::log(value) / std::log(2.0)));
}

ZVK_Pulses FindPulses(const double *samples, int32_t count, int32_t deadZone)
{
    ZVK_Pulses pulses = {0, 0, 0};
    if (count < 1) return pulses;
    const auto isPulse = [=](int64_t i) {
        return samples[i] > kPulseVolts && samples[i + 1] > kPulseVolts &&
               samples[i + 2] > kPulseVolts;
    };
    // A pulse that the start of the block cuts off has no place.
    int64_t i = samples[0] > kPulseVolts ? deadZone : 0;
    if (i < 0) return pulses;
    for (; i < count - 2 && pulses.count < kMostPulses; ++i) {
        if (!isPulse(i)) continue;
        if (pulses.count == 0) pulses.first = static_cast<int32_t>(i);
        pulses.last = static_cast<int32_t>(i);
        ++pulses.count;
        i += deadZone > 0 ? deadZone : 0;
    }
    return pulses;
}

ZVK_RunRate RateFromPulses(const ZVK_Pulses &pulses, double maxRate)
{
    const int32_t period = (pulses.last - pulses.first) / (pulses.count - 1);
    const double measured = 1.0 / (period / maxRate);
    const int32_t cycle = TruncateToLong(PowerOfTwoBelow(maxRate / measured / 3.0));
    return {cycle * measured, cycle, std::floor(measured)};
}

ZVK_RunRate RateFromSettings(int32_t frequency, double maxRate)
{
    const double rate = PowerOfTwoBelow(maxRate / 3.0);
    return {rate, TruncateToLong(PowerOfTwoBelow(rate / frequency)),
            static_cast<double>(frequency)};
}

// Half a second, or four periods of a slow oscillation.
static int32_t SamplesToWatch(double maxRate)
{
    if (g_forceCal.Frequency >= 8) return TruncateToLong(maxRate / 2.0);
    return TruncateToLong(maxRate * 4 / g_forceCal.Frequency);
}

int32_t ZVK_ForceCal_TriggerCalibration(SessionHandle SessionHandle, double *SampleRate,
                                        int32_t *CycleLength, double *Frequency)
{
    double maxRate = 0.0;
    (void)ZVK_Force_GetMaxSampleRateSingleChannel(SessionHandle, &maxRate);
    const int32_t count = SamplesToWatch(maxRate);
    const int32_t deadZone = TruncateToLong(kDeadZone / g_forceCal.Frequency);

    // Whether the stage moves shows in the pulses: its statuses are not looked at.
    const bool oscillate = g_forceCal.Oscillate != 0;
    if (oscillate)
        (void)ZVK_Stage_StartOscillation(SessionHandle, kShakenAxis, g_forceCal.Amplitude,
                                         g_forceCal.Frequency);
    Clock().delay(kSettleS);
    double *block = nullptr;
    const int32_t status = ZVK_Force_Acquire(SessionHandle, kFastest, count, kTimeoutS, &block,
                                             ZVK_FORCE_CHANNEL_REFERENCE, nullptr);
    if (oscillate) (void)ZVK_Stage_StopOscillation(SessionHandle, kShakenAxis);
    if (status < 0) {
        Release(block);
        return status;
    }

    const ZVK_Pulses pulses = FindPulses(block, count, deadZone);
    Release(block);
    const bool enough = pulses.count > 2;
    const ZVK_RunRate rate =
        enough ? RateFromPulses(pulses, maxRate) : RateFromSettings(g_forceCal.Frequency, maxRate);
    g_forceCal.SampleRate = rate.sampleRate;
    g_forceCal.CycleLength = rate.cycleLength;
    if (SampleRate != nullptr) *SampleRate = rate.sampleRate;
    if (CycleLength != nullptr) *CycleLength = rate.cycleLength;
    if (Frequency != nullptr) *Frequency = rate.frequency;
    return enough ? status : static_cast<int32_t>(ZVK_FORCECAL_TOO_FEW_PULSES);
}
