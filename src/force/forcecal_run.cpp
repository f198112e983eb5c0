// One run: recorded from a path's detector with or without the stage oscillating, then analysed.

#include "force/force.h"
#include "force/forcecal.h"
#include "force/forcecal_trigger.h"
#include "platform/clock.h"
#include "platform/memory.h"
#include "quorvex/stage.h"
#include "steering/check_status.h"

#include <limits>

constexpr double kSettleS = 0.1;
constexpr double kForEver = -1.0;

// Whole periods, cut off, times the samples of each, times the segments. A run that 32 bits can't
// count has no samples.
static int32_t CountRunSamples()
{
    const int64_t cycles = TruncateToLong(g_forceCal.Frequency * g_forceCal.CalLength);
    int64_t count = 0;
    if (__builtin_mul_overflow(cycles * g_forceCal.CycleLength, int64_t{g_forceCal.Averages},
                               &count))
        return 0;
    const bool fits = count >= std::numeric_limits<int32_t>::min() &&
                      count <= std::numeric_limits<int32_t>::max();
    return fits ? static_cast<int32_t>(count) : 0;
}

static int32_t StageAxis(int32_t axis)
{
    if (g_forceCal.SwapAxes == 0 || axis == 0) return axis;
    return 3 - axis;
}

// What fails here is not reported; samples that are missing are 0.
static void RecordSeries(SessionHandle vi, ZVK_ForceCalDataContainer &data, int32_t path,
                         int32_t axis)
{
    const int32_t count = CountRunSamples();
    double *block = nullptr;
    (void)ZVK_Force_Acquire(vi, g_forceCal.SampleRate, count, kForEver, &block,
                            path == ZVK_PATH_A ? ZVK_FORCE_CHANNELS_A : ZVK_FORCE_CHANNELS_B,
                            nullptr);
    (void)ZVK_Force_Chunky2Planar(vi, block, count, kSignals, &block);
    (void)ZVK_Force_Slice3(vi, block, count, &data.TD[0], &data.TD[1], &data.TD[2]);
    Release(block);
    const bool complete = data.TD[0] != nullptr && data.TD[1] != nullptr && data.TD[2] != nullptr;
    data.Averages = g_forceCal.Averages;
    data.SampleRate = g_forceCal.SampleRate;
    data.NumberOfSamples = complete ? count : 0;
    data.OscAxis = axis;
    if (!complete) return;
    ZVK_ForceCal_RemoveZeros(data.TD[2], count);
    ZVK_ForceCal_NormalizeData(data.TD[0], data.TD[2], count);
    ZVK_ForceCal_NormalizeData(data.TD[1], data.TD[2], count);
    data.TDValid = 1;
}

int32_t ZVK_ForceCal_AcquireData(SessionHandle SessionHandle, int32_t Path, int32_t Axis)
{
    if (Path < 0 || Path > 1) return ZVK_FORCECAL_BAD_PATH;
    if (Axis < 0 || Axis > kNoOscillation) return ZVK_FORCECAL_BAD_AXIS;
    ZVK_ForceCalDataContainer &data = g_forceCal.Data[Path][Axis];
    data.OscFrequency = Axis == kNoOscillation ? -1.0 : g_forceCal.Frequency;
    data.OscAmplitude = Axis == kNoOscillation ? 0.0 : g_forceCal.Amplitude;
    ZVK_ForceCal_ClearDataContainer(SessionHandle, &data);

    const bool oscillate = Axis != kNoOscillation && g_forceCal.Oscillate != 0;
    const int32_t stageAxis = StageAxis(Axis);
    int32_t status = ZVK_SUCCESS;
    if (oscillate) {
        status =
            ZVK_Stage_StartOscillation(0, stageAxis, g_forceCal.Amplitude, g_forceCal.Frequency);
        if (Ends(status)) return status;
    }
    Clock().delay(kSettleS);
    RecordSeries(SessionHandle, data, Path, Axis);

    (void)ZVK_ForceCal_CreateTDAxis(&data);
    (void)ZVK_ForceCal_CorrectTD(&data);
    const int32_t spectrum = ZVK_ForceCal_ComputeFD(&data);
    if (spectrum != ZVK_SUCCESS) return spectrum;  // the stage is left oscillating
    (void)ZVK_ForceCal_CreateFDFit(&data);
    (void)ZVK_ForceCal_Create1DBinning(&data);
    (void)ZVK_ForceCal_CreatePotFit(&data);
    (void)ZVK_ForceCal_Create2DBinning(&data);

    if (oscillate) {
        status = ZVK_Stage_StopOscillation(0, stageAxis);
        (void)Ends(status);
    }
    return status;
}
