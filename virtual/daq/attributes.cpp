// Attributes by number. One that the card doesn't know answers kAttributeNotSupported, one that
// doesn't fit the task kAttributeOutOfPlace.

#include "calls.h"
#include "names.h"
#include "output.h"
#include "timing.h"

#include <algorithm>
#include <cstdarg>

// The channels of a list by the client's names or their physical ones; "" means all.
static int32_t FindChannels(Task &task, const char *list, std::vector<Channel *> &found)
{
    if (!list || !*list) {
        for (Channel &channel : task.channels)
            found.push_back(&channel);
        return 0;
    }
    const auto find = [&](const std::string &name) {
        return std::find_if(task.channels.begin(), task.channels.end(),
                            [&](const Channel &channel) {
                                return channel.key == TerminalKey(name.c_str()) ||
                                       LowerCase(channel.name) == LowerCase(name);
                            });
    };
    std::vector<std::string> names;
    for (const std::string &part : SplitList(list)) {
        std::vector<PhysicalChannel> physical;
        const bool isRange = find(part) == task.channels.end() &&
                             (ParseChannels(part.c_str(), ChannelKind::analogOutput, physical) ||
                              ParseChannels(part.c_str(), ChannelKind::analogInput, physical));
        if (!isRange) names.push_back(part);
        for (const PhysicalChannel &channel : physical)
            names.push_back(channel.key);
    }
    for (const std::string &name : names) {
        const auto place = find(name);
        if (place == task.channels.end()) return Refuse(kNotInTask, "Channel: " + name + ".");
        found.push_back(&*place);
    }
    return 0;
}

static int32_t CheckOutput(const Task &task)
{
    if (task.kind != TaskKind::output) return kAttributeOutOfPlace;
    return task.state == TaskState::idle ? 0 : kTaskRunning;
}

static int32_t SetTransferCondition(Task &task, const char *channels, int32_t condition)
{
    int32_t result = CheckOutput(task);
    if (result < 0) return result;
    if (condition != kMemoryEmpty && condition != kMemoryHalfEmpty && condition != kMemoryNotFull)
        return Refuse(kBadValue, "Transfer condition.");
    std::vector<Channel *> found;
    result = FindChannels(task, channels, found);
    if (result < 0) return result;
    for (Channel *channel : found)
        channel->transferCondition = condition;
    return 0;
}

static int32_t SetUsbRequestSize(Task &task, const char *channels, uint32_t bytes)
{
    int32_t result = CheckOutput(task);
    if (result < 0) return result;
    if (!TheCard().usb) return Refuse(kAttributeOutOfPlace, "The card is not on USB.");
    if (bytes == 0) return Refuse(kBadValue, "Size of a USB request.");
    std::vector<Channel *> found;
    result = FindChannels(task, channels, found);
    if (result < 0) return result;
    for (Channel *channel : found)
        channel->usbRequestSize = bytes;
    return 0;
}

int32_t DAQmxSetChanAttribute(ZVC_Task taskHandle, const char *channel, int32_t attribute, ...)
{
    va_list list;
    va_start(list, attribute);
    const int32_t value = va_arg(list, int32_t);  // both known ones have 32 bits
    va_end(list);
    return RunCall(kCallSetChanAttribute, taskHandle, {channel, AsHex(attribute), value},
                   [&](Guard &, Task &task) -> int32_t {
                       switch (attribute) {
                       case kAttributeTransferCondition:
                           return SetTransferCondition(task, channel, value);
                       case kAttributeUsbRequestSize:
                           return SetUsbRequestSize(task, channel, static_cast<uint32_t>(value));
                       default: return kAttributeNotSupported;
                       }
                   });
}

static int32_t SetRegeneration(Task &task, int32_t mode)
{
    if (task.kind != TaskKind::output) return kAttributeOutOfPlace;
    if (mode != kRegeneration && mode != kNoRegeneration)
        return Refuse(kBadValue, "Regeneration mode.");
    if (task.state != TaskState::idle) return kRegenerationWhileRunning;
    if (task.regeneration != mode) EmptyBuffer(task);
    task.regeneration = mode;
    return 0;
}

static int32_t SetRelativeTo(Task &task, int32_t where)
{
    if (task.kind != TaskKind::output) return kAttributeOutOfPlace;
    if (where != kFromFirstSample && where != kFromCurrentPosition)
        return Refuse(kBadValue, "Position of a write.");
    task.relativeTo = where;
    return 0;
}

int32_t DAQmxSetWriteAttribute(ZVC_Task taskHandle, int32_t attribute, ...)
{
    va_list list;
    va_start(list, attribute);
    const int32_t value = va_arg(list, int32_t);
    va_end(list);
    return RunCall(kCallSetWriteAttribute, taskHandle, {AsHex(attribute), value},
                   [&](Guard &, Task &task) -> int32_t {
                       switch (attribute) {
                       case kAttributeRegeneration: return SetRegeneration(task, value);
                       case kAttributeRelativeTo: return SetRelativeTo(task, value);
                       default: return kAttributeNotSupported;
                       }
                   });
}

int32_t DAQmxSetTrigAttribute(ZVC_Task taskHandle, int32_t attribute, ...)
{
    va_list list;
    va_start(list, attribute);
    const int32_t value = va_arg(list, int32_t);
    va_end(list);
    return RunCall(kCallSetTrigAttribute, taskHandle, {AsHex(attribute), value},
                   [&](Guard &, Task &task) -> int32_t {
                       if (attribute != kAttributeStartTrigger) return kAttributeNotSupported;
                       if (task.state != TaskState::idle) return kTaskRunning;
                       if (value != kNoTrigger)  // an edge is set together with its terminal
                           return Refuse(kBadValue, "Type of the start trigger.");
                       task.triggerSource.clear();
                       task.triggerEdge = 0;
                       return 0;
                   });
}

static int32_t CheckTimed(const Task &task, int32_t attribute)
{
    if (attribute != kAttributeSampleRate) return kAttributeNotSupported;
    return task.timed ? 0 : kAttributeOutOfPlace;
}

int32_t DAQmxSetTimingAttribute(ZVC_Task taskHandle, int32_t attribute, ...)
{
    double value = 0.0;
    va_list list;
    va_start(list, attribute);
    if (attribute == kAttributeSampleRate) value = va_arg(list, double);
    va_end(list);
    return RunCall(kCallSetTimingAttribute, taskHandle, {AsHex(attribute), value},
                   [&](Guard &, Task &task) {
                       int32_t result = CheckTimed(task, attribute);
                       if (result < 0) return result;
                       if (task.state != TaskState::idle) return static_cast<int32_t>(kTaskRunning);
                       result = CheckRate(TheCard(), task, value);
                       if (result == 0) task.rate = RealRate(TheCard(), value);
                       return result;
                   });
}

int32_t DAQmxGetTimingAttribute(ZVC_Task taskHandle, int32_t attribute, void *value, ...)
{
    return RunCall(kCallGetTimingAttribute, taskHandle, {AsHex(attribute)},
                   [&](Guard &, Task &task) {
                       const int32_t result = CheckTimed(task, attribute);
                       if (result < 0) return result;
                       if (!value) return Refuse(kNullPointer, "value is null.");
                       *static_cast<double *>(value) = task.rate;
                       return result;
                   });
}
