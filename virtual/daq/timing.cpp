// Sample clock, start trigger and output buffer of a task.

#include "timing.h"
#include "calls.h"
#include "clock.h"
#include "names.h"
#include "output.h"
#include "run.h"

#include <algorithm>
#include <cmath>

constexpr double kMaxOutputRate = 1e6;  // Hz, for each channel

double MaxRate(const Card &card, const Task &task)
{
    if (task.kind != TaskKind::input) return kMaxOutputRate;
    const size_t channels = task.channels.size();
    return channels == 1 ? card.maxRateSingle : card.maxRate / static_cast<double>(channels);
}

double RealRate(const Card &card, double wanted)
{
    if (!(card.timebase > 0.0)) return wanted;
    return card.timebase / std::max(std::round(card.timebase / wanted), 1.0);
}

int32_t CheckRate(const Card &card, const Task &task, double rate)
{
    if (!(rate > 0.0) || !std::isfinite(rate)) return Refuse(kBadValue, "Sample rate.");
    if (rate > MaxRate(card, task))
        return Refuse(kBadValue, "The sample rate is above " +
                                     std::to_string(std::llround(MaxRate(card, task))) +
                                     " samples per second.");
    return 0;
}

static int32_t CheckEdge(int32_t edge)
{
    return edge == kRising || edge == kFalling ? 0 : Refuse(kBadValue, "Edge.");
}

static int32_t CheckTerminal(const char *terminal)
{
    return IsTerminal(terminal) ? 0
                                : Refuse(kBadTerminal, std::string("Terminal: ") + terminal + ".");
}

static int32_t CheckTiming(const Card &card, const Task &task, const char *source, double rate,
                           int32_t edge, int32_t mode)
{
    if (task.state != TaskState::idle) return kTaskRunning;
    if (task.channels.empty()) return kNoChannels;
    if (task.kind == TaskKind::lines) return Refuse(kBadValue, "Lines have no sample clock.");
    if (source && *source) {
        const int32_t result = CheckTerminal(source);
        if (result < 0) return result;
    }
    const int32_t result = CheckRate(card, task, rate);
    if (result < 0) return result;
    if (CheckEdge(edge) < 0) return kBadValue;
    return mode == kFinite || mode == kContinuous ? 0 : Refuse(kBadValue, "Sample mode.");
}

int32_t DAQmxCfgSampClkTiming(ZVC_Task taskHandle, const char *source, double rate,
                              int32_t activeEdge, int32_t sampleMode, uint64_t sampsPerChan)
{
    const Arguments arguments = {source, rate, activeEdge, sampleMode, sampsPerChan};
    return RunCall(kCallCfgSampClkTiming, taskHandle, arguments, [&](Guard &, Task &task) {
        Card &card = TheCard();
        const int32_t result = CheckTiming(card, task, source, rate, activeEdge, sampleMode);
        if (result < 0) return result;
        if (sampsPerChan == 0 && sampleMode == kFinite)
            return Refuse(kBadValue, "No samples to acquire or generate.");
        const bool modeChanged = task.timed && task.mode != sampleMode;
        task.timed = true;
        task.clockSource = source ? source : "";
        task.rate = RealRate(card, rate);
        task.edge = activeEdge;
        task.mode = sampleMode;
        task.samples = sampsPerChan;
        if (modeChanged || WantedBufferSize(task) != task.bufferSize) EmptyBuffer(task);
        return 0;
    });
}

int32_t DAQmxCfgDigEdgeStartTrig(ZVC_Task taskHandle, const char *triggerSource,
                                 int32_t triggerEdge)
{
    return RunCall(kCallCfgDigEdgeStartTrig, taskHandle, {triggerSource, triggerEdge},
                   [&](Guard &, Task &task) -> int32_t {
                       if (task.state != TaskState::idle) return kTaskRunning;
                       if (!triggerSource) return Refuse(kNullPointer, "triggerSource is null.");
                       int32_t result = CheckTerminal(triggerSource);
                       if (result == 0) result = CheckEdge(triggerEdge);
                       if (result < 0) return result;
                       task.triggerSource = triggerSource;
                       task.triggerEdge = triggerEdge;
                       return 0;
                   });
}

int32_t DAQmxCfgOutputBuffer(ZVC_Task taskHandle, uint32_t numSampsPerChan)
{
    return RunCall(kCallCfgOutputBuffer, taskHandle, {numSampsPerChan},
                   [&](Guard &, Task &task) -> int32_t {
                       if (task.state != TaskState::idle) return kTaskRunning;
                       if (task.kind != TaskKind::output)
                           return Refuse(kBadValue, "The task has no outputs.");
                       if (numSampsPerChan == 0) return Refuse(kBadValue, "A buffer of nothing.");
                       task.chosenSize = numSampsPerChan;
                       if (numSampsPerChan != task.bufferSize) EmptyBuffer(task);
                       return 0;
                   });
}

int32_t DAQmxGetSampClkMaxRate(ZVC_Task taskHandle, double *data)
{
    return RunCall(kCallGetSampClkMaxRate, taskHandle, {}, [&](Guard &, Task &task) -> int32_t {
        if (!data) return Refuse(kNullPointer, "data is null.");
        if (task.channels.empty()) return kNoChannels;
        if (task.kind == TaskKind::lines) return Refuse(kBadValue, "Lines have no sample clock.");
        *data = MaxRate(TheCard(), task);
        return 0;
    });
}
