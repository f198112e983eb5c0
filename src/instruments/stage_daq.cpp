// The stage on two outputs of the second card: one block for both, played over and over. A move
// replaces the block, an oscillation plays one period of a sine.

#include "files/key_table.h"
#include "instruments/daq_tasks.h"
#include "instruments/stage.h"
#include "instruments/stage_keys.h"
#include "platform/clock.h"
#include "platform/daqmx.h"
#include "platform/memory.h"
#include "steering/check_status.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

constexpr double kMinVolts = 0.0;
constexpr double kMaxVolts = 10.0;
constexpr double kFirstWriteTimeoutS = 10.0;
constexpr double kWriteTimeoutS = 1.0;
constexpr double kReadTimeoutS = 1.0;
constexpr double kSettleS = 1.0;
constexpr int32_t kDefaultTerminals = -1;
constexpr double kRadiansInDegree = 0.017453292519943295;
constexpr int32_t kMostSamples = 1 << 28;

static void ReleaseBuffer()
{
    Release(g_stage.buffer);
    g_stage.bufferSamples = 0;
}

static bool MakeBuffer(int32_t samples)
{
    ReleaseBuffer();
    if (samples < 0 || samples > kMostSamples) return false;
    g_stage.buffer = AllocateArray<double>(2 * static_cast<int64_t>(samples));
    if (g_stage.buffer == nullptr) return false;
    g_stage.bufferSamples = samples;
    return true;
}

static double VoltsAt(int output, double position)
{
    return (position + g_stage.centre[output]) * g_stage.scale;
}

bool FillOutput(int output, double position)
{
    const int32_t samples = g_stage.samplesPerChan;
    if (samples < 0) return false;  // the length that a failed oscillation has left
    // An oscillation that failed half-way has changed the length of the block, and with it the
    // place of the second output: the other one must not play what is left there.
    if (g_stage.buffer == nullptr || g_stage.bufferSamples != samples) {
        if (!MakeBuffer(samples)) return false;
        for (int other = 0; other < kStageOutputs; ++other)
            std::fill_n(g_stage.buffer + static_cast<int64_t>(other) * samples, samples,
                        VoltsAt(other, g_stage.position[other]));
    }
    std::fill_n(g_stage.buffer + static_cast<int64_t>(output) * samples, samples,
                VoltsAt(output, position));
    return true;
}

bool FillBothOutputs(double first, double second)
{
    return FillOutput(0, first) && FillOutput(1, second);
}

int32_t WriteOutputs(double timeoutS)
{
    return Daq().writeAnalogF64(g_stage.task, g_stage.samplesPerChan, 0, timeoutS,
                                ZVK_DAQ_BY_CHANNEL, g_stage.buffer, nullptr, nullptr);
}

void StopOutputs()
{
    if (g_stage.daqRunning == 0) return;
    (void)Daq().stopTask(g_stage.task);
    g_stage.daqRunning = 0;
}

void StartOutputs()
{
    (void)Daq().startTask(g_stage.task);
    g_stage.daqRunning = 1;
}

static int32_t ReadDevice(SessionHandle vi, char (&device)[257])
{
    ZVK_StageKeys keys;
    const int32_t status = ReadKeys(vi, "config.ini", kStageCardSection, kStageCardKeys, &keys);
    std::copy_n(keys.device.text, sizeof device, device);
    return status;
}

static int32_t ConfigureOutputs(SessionHandle vi, const char *device)
{
    char channels[300];
    (void)std::snprintf(channels, sizeof channels, "%s/ao0:1", device);
    if (g_stage.trigger == 0) {
        g_stage.clockSource[0] = '\0';
    } else {
        (void)std::snprintf(g_stage.clockSource, sizeof g_stage.clockSource, "%s/pfi0", device);
    }
    if (Daq().createAOVoltageChan(g_stage.task, channels, "", kMinVolts, kMaxVolts, ZVK_DAQ_VOLTS,
                                  "") < 0)
        return LogDaqFailure(vi, ZVK_STAGE_DAQ_FAILED);
    if (Daq().cfgSampClkTiming(g_stage.task, g_stage.clockSource, g_stage.clockRate, ZVK_DAQ_RISING,
                               ZVK_DAQ_CONTINUOUS,
                               static_cast<uint64_t>(g_stage.samplesPerChan)) < 0)
        return LogDaqFailure(vi, ZVK_STAGE_DAQ_FAILED);
    const int32_t code =
        Daq().cfgOutputBuffer(g_stage.task, static_cast<uint32_t>(g_stage.samplesPerChan));
    if (code < 0) return code;
    return std::min(Daq().setWriteAttribute(g_stage.task, ZVK_DAQ_WRITE_RELATIVE_TO,
                                            static_cast<int32_t>(ZVK_DAQ_FROM_FIRST_SAMPLE)),
                    0);
}

// The results are not looked at: a position that can't be read back shows at its call.
static void MakeInputs(const char *device)
{
    for (void *&task : g_stageInputs) {
        ClearStaleTask(task);
        (void)Daq().createTask("", &task);
    }
    for (int output = 0; output < kStageOutputs; ++output) {
        char channel[300];
        (void)std::snprintf(channel, sizeof channel, "%s/_ao%d_vs_aognd", device, output);
        (void)Daq().createAIVoltageChan(g_stageInputs[output], channel, "", kDefaultTerminals,
                                        kMinVolts, kMaxVolts, ZVK_DAQ_VOLTS, nullptr);
    }
}

int32_t InitStageDaq(SessionHandle vi)
{
    ClearStaleTask(g_stage.task);
    if (Daq().createTask("", &g_stage.task) < 0) return LogDaqFailure(vi, ZVK_STAGE_DAQ_FAILED);
    char device[257] = "";
    int32_t status = ReadDevice(vi, device);
    if (status < 0) return status;
    status = ConfigureOutputs(vi, device);
    if (status < 0) return status;

    ReleaseBuffer();
    if (!FillBothOutputs(0.0, 0.0)) return ZVK_STAGE_NO_MEMORY;
    const int32_t written = WriteOutputs(kFirstWriteTimeoutS);
    if (written < 0) return written;
    if (Daq().startTask(g_stage.task) < 0) return LogDaqFailure(vi, ZVK_STAGE_DAQ_FAILED);
    g_stage.daqRunning = 1;
    g_stage.initialized = 1;
    MakeInputs(device);
    (void)ZVK_Stage_Center(vi);
    return ZVK_SUCCESS;
}

void ShutDownStageDaq()
{
    if (g_stage.task != nullptr) {
        StopAndClearTask(g_stage.task);
        Clock().delay(kSettleS);
    }
    g_stage.daqRunning = 0;
    for (void *&task : g_stageInputs)
        StopAndClearTask(task);
    ReleaseBuffer();
}

int32_t ReadOutputPosition(int32_t axis, double &position)
{
    void *task = g_stageInputs[axis];
    double volts[kStageOutputs] = {};
    int32_t read = 0;
    (void)Daq().startTask(task);
    const int32_t code = Daq().readAnalogF64(task, 1, kReadTimeoutS, ZVK_DAQ_BY_CHANNEL, volts,
                                             kStageOutputs, &read, nullptr);
    if (code >= 0) {
        g_stage.position[axis] = volts[0] / g_stage.scale - g_stage.centre[axis];
        position = g_stage.position[axis];
    }
    (void)Daq().stopTask(task);
    return code;
}

// -- oscillation --

static bool FitsOutput(int32_t axis, double amplitude)
{
    if (!IsStageAxis(axis)) return false;
    const double position = g_stage.position[axis];
    if (position + amplitude > g_stage.maxPosition[axis]) return false;
    if (position - amplitude < g_stage.minPosition[axis]) return false;
    if (axis >= kStageOutputs) return false;  // there is no third output
    return VoltsAt(axis, position + amplitude) <= kMaxVolts &&
           VoltsAt(axis, position - amplitude) >= kMinVolts;
}

// The rate that the card really gives; where it can't be read back, the one that was wanted.
static double SettleRate(double wanted)
{
    double rate = wanted;
    (void)Daq().setTimingAttribute(g_stage.task, ZVK_DAQ_SAMPLE_CLOCK_RATE, wanted);
    (void)Daq().getTimingAttribute(g_stage.task, ZVK_DAQ_SAMPLE_CLOCK_RATE, &rate);
    return rate;
}

// One period on the axis's output, the other one steady.
static void FillPeriod(int32_t axis, double amplitude)
{
    const int32_t samples = g_stage.samplesPerChan;
    double *shaken = g_stage.buffer + (axis == 0 ? 0 : static_cast<int64_t>(samples));
    for (int32_t i = 0; i < samples; ++i) {
        const double degrees = i * 360.0 / samples;
        const double wave = amplitude * std::sin(degrees * kRadiansInDegree);
        shaken[i] = (wave + g_stage.position[axis] + g_stage.centre[axis]) * g_stage.scale;
    }
}

int32_t StartOnOutputs(int32_t axis, double amplitude, int32_t frequency)
{
    if (!FitsOutput(axis, amplitude)) return ZVK_STAGE_BAD_AMPLITUDE;
    g_stage.amplitude = amplitude;
    g_stage.frequency = frequency;
    // The steady block takes this length over, and keeps it until the next start.
    g_stage.samplesPerChan = TruncateStageCount(amplitude * 4.0 / g_stage.stepSize[axis]);
    const int32_t samples = g_stage.samplesPerChan;
    StopOutputs();
    int32_t code = Daq().cfgOutputBuffer(g_stage.task, static_cast<uint32_t>(samples));
    if (code < 0) return code;
    if (!MakeBuffer(samples)) return ZVK_STAGE_NO_MEMORY;
    // Steady at once: what ends here by a refusal leaves no volts that a later move would play.
    (void)FillBothOutputs(g_stage.position[0], g_stage.position[1]);

    const double rate = SettleRate(static_cast<double>(frequency) * samples);
    code = Daq().cfgSampClkTiming(g_stage.task, "", rate, ZVK_DAQ_RISING, ZVK_DAQ_CONTINUOUS,
                                  static_cast<uint64_t>(samples));
    if (code < 0) return code;
    FillPeriod(axis, amplitude);
    code = WriteOutputs(kWriteTimeoutS);
    if (code < 0) {
        (void)FillBothOutputs(g_stage.position[0], g_stage.position[1]);
        return code;
    }
    StartOutputs();
    KeepOscillating(axis, true);
    return ZVK_SUCCESS;
}

int32_t StopOnOutputs(SessionHandle vi, int32_t axis)
{
    StopOutputs();
    KeepOscillating(axis, false);
    double position = 0.0;
    (void)ZVK_Stage_GetPosition(vi, axis, &position);  // for what it keeps
    if (Daq().cfgSampClkTiming(g_stage.task, g_stage.clockSource, g_stage.clockRate, ZVK_DAQ_RISING,
                               ZVK_DAQ_CONTINUOUS,
                               static_cast<uint64_t>(g_stage.samplesPerChan)) < 0)
        return LogDaqFailure(vi, ZVK_STAGE_DAQ_FAILED);
    int32_t code = Daq().setWriteAttribute(g_stage.task, ZVK_DAQ_WRITE_REGENERATION,
                                           static_cast<int32_t>(ZVK_DAQ_REGENERATION));
    if (code < 0) return code;
    code = Daq().cfgOutputBuffer(g_stage.task, static_cast<uint32_t>(g_stage.samplesPerChan));
    if (code < 0) return code;
    if (!FillBothOutputs(g_stage.position[0], g_stage.position[1])) return ZVK_STAGE_NO_MEMORY;
    code = WriteOutputs(kWriteTimeoutS);
    if (code < 0) return code;
    StartOutputs();
    return ZVK_SUCCESS;
}

// Neither of these two is registered with a task.
int32_t ZVK_Stage_OnEveryNSamplesEvent(void *, int32_t, uint32_t, void *) { return ZVK_SUCCESS; }

int32_t ZVK_Stage_DaqDoneCallback(void *taskHandle, int32_t status, void *)
{
    if (status == 0) {
        (void)Daq().stopTask(g_stage.task);
        return ZVK_SUCCESS;
    }
    char text[2048] = "";
    (void)Daq().getExtendedErrorInfo(text, sizeof text);  // asked for, and told nowhere
    (void)Daq().clearTask(taskHandle);
    g_stage.task = nullptr;
    return status;
}
