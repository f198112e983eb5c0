// Channels of a task.

#include "calls.h"
#include "names.h"
#include "run.h"

#include <algorithm>
#include <cmath>

static int32_t CheckAddition(const Task &task, TaskKind kind)
{
    if (task.state != TaskState::idle) return kTaskRunning;
    if (task.kind != TaskKind::empty && task.kind != kind)
        return Refuse(kBadValue, "A task has channels of one kind only.");
    return 0;
}

static bool DeviceExists(const Card &card, const std::string &device)
{
    if (card.devices.empty()) return true;
    return std::find(card.devices.begin(), card.devices.end(), LowerCase(device)) !=
           card.devices.end();
}

static int32_t FindPhysical(const Card &card, const char *list, ChannelKind kind,
                            std::vector<PhysicalChannel> &found)
{
    if (!list) return Refuse(kNullPointer, "The channel list is null.");
    if (!ParseChannels(list, kind, found))
        return Refuse(kBadChannel, std::string("Physical channels: \"") + list + "\".");
    for (const PhysicalChannel &channel : found)
        if (!DeviceExists(card, channel.device))
            return Refuse(kNoSuchDevice, "Device: " + channel.device + ".");
    return 0;
}

static bool IsInTask(const std::vector<Channel> &channels, const PhysicalChannel &wanted)
{
    return std::any_of(channels.begin(), channels.end(), [&](const Channel &channel) {
        const bool sameLine = !wanted.portKey.empty() && channel.portKey == wanted.portKey &&
                              (channel.lines >> wanted.line & 1U) != 0;
        return sameLine || channel.key == wanted.key;
    });
}

// The client's name for the nth of several channels: its own in a list of names, the only name with
// a number behind it, or the physical one.
static std::string NameFor(const char *names, size_t index, size_t count,
                           const std::string &physical)
{
    if (!names || !*names) return physical;
    const std::vector<std::string> list = SplitList(names);
    if (list.size() == count) return list[index];
    return list[0] + std::to_string(index);
}

static Channel MakeChannel(const PhysicalChannel &physical, const std::string &name)
{
    Channel channel;
    channel.physical = physical.text;
    channel.key = physical.key;
    channel.device = physical.device;
    channel.name = name;
    return channel;
}

static int32_t CheckRange(double min, double max, int32_t units, const char *scale)
{
    if (units != kVolts) return Refuse(kBadValue, "Units: " + std::to_string(units) + ".");
    if (scale && *scale) return Refuse(kBadValue, std::string("Custom scale: ") + scale + ".");
    if (!std::isfinite(min) || !std::isfinite(max) || !(min < max))
        return Refuse(kBadValue, "The minimum is not below the maximum.");
    return 0;
}

static bool IsTerminalConfig(int32_t terminals)
{
    return terminals == kDefaultTerminals || terminals == kDifferential ||
           terminals == kSingleEnded || terminals == kNonReferenced ||
           terminals == kPseudoDifferential;
}

struct AnalogWish
{
    TaskKind kind;
    const char *channels;
    const char *name;
    int32_t terminals;
    double min;
    double max;
};

static int32_t AddAnalog(Card &card, Task &task, const AnalogWish &wish)
{
    int32_t result = CheckAddition(task, wish.kind);
    if (result < 0) return result;
    const bool isInput = wish.kind == TaskKind::input;
    std::vector<PhysicalChannel> found;
    result = FindPhysical(card, wish.channels,
                          isInput ? ChannelKind::analogInput : ChannelKind::analogOutput, found);
    if (result < 0) return result;

    std::vector<Channel> channels = task.channels;
    for (const PhysicalChannel &physical : found) {
        if (IsInTask(channels, physical)) return Refuse(kChannelTwice, physical.text + ".");
        const size_t index = channels.size() - task.channels.size();
        channels.push_back(
            MakeChannel(physical, NameFor(wish.name, index, found.size(), physical.text)));
        channels.back().min = wish.min;
        channels.back().max = wish.max;
        channels.back().terminals = wish.terminals;
        if (!isInput) channels.back().track = &card.outputs[physical.key];
    }
    task.channels = std::move(channels);
    task.kind = wish.kind;
    task.buffer.clear();  // it was made for fewer channels
    task.bufferSize = 0;
    task.filled = 0;
    task.written = 0;
    return 0;
}

int32_t DAQmxCreateAIVoltageChan(ZVC_Task taskHandle, const char *physicalChannel,
                                 const char *nameToAssignToChannel, int32_t terminalConfig,
                                 double minVal, double maxVal, int32_t units,
                                 const char *customScaleName)
{
    const Arguments arguments = {
        physicalChannel, nameToAssignToChannel, terminalConfig, minVal, maxVal,
        units,           customScaleName};
    return RunCall(kCallCreateAIVoltageChan, taskHandle, arguments, [&](Guard &, Task &task) {
        const int32_t result = CheckRange(minVal, maxVal, units, customScaleName);
        if (result < 0) return result;
        if (!IsTerminalConfig(terminalConfig)) return Refuse(kBadValue, "Terminal configuration.");
        return AddAnalog(TheCard(), task,
                         {TaskKind::input, physicalChannel, nameToAssignToChannel, terminalConfig,
                          minVal, maxVal});
    });
}

int32_t DAQmxCreateAOVoltageChan(ZVC_Task taskHandle, const char *physicalChannel,
                                 const char *nameToAssignToChannel, double minVal, double maxVal,
                                 int32_t units, const char *customScaleName)
{
    const Arguments arguments = {physicalChannel, nameToAssignToChannel, minVal, maxVal,
                                 units,           customScaleName};
    return RunCall(kCallCreateAOVoltageChan, taskHandle, arguments, [&](Guard &, Task &task) {
        const int32_t result = CheckRange(minVal, maxVal, units, customScaleName);
        if (result < 0) return result;
        return AddAnalog(
            TheCard(), task,
            {TaskKind::output, physicalChannel, nameToAssignToChannel, 0, minVal, maxVal});
    });
}

// All lines of one port as one channel.
static void AddLineToChannel(Card &card, std::vector<Channel> &channels,
                             const PhysicalChannel &physical, const std::string &name, bool asNew)
{
    if (asNew) {
        channels.push_back(MakeChannel(physical, name));
        channels.back().portKey = physical.portKey;
        channels.back().port = &card.ports[physical.portKey];
    }
    channels.back().lines |= 1U << physical.line;
}

static int32_t AddLines(Card &card, Task &task, const char *lines, const char *name, bool together)
{
    int32_t result = CheckAddition(task, TaskKind::lines);
    if (result < 0) return result;
    std::vector<PhysicalChannel> found;
    result = FindPhysical(card, lines, ChannelKind::line, found);
    if (result < 0) return result;

    std::vector<Channel> channels = task.channels;
    std::string lastPort;
    for (const PhysicalChannel &physical : found) {
        if (IsInTask(channels, physical)) return Refuse(kChannelTwice, physical.text + ".");
        const size_t index = channels.size() - task.channels.size();
        const bool asNew = !together || physical.portKey != lastPort;
        AddLineToChannel(card, channels, physical,
                         NameFor(name, index, together ? 1 : found.size(), physical.text), asNew);
        if (together && asNew) channels.back().physical = lines;
        lastPort = physical.portKey;
    }
    task.channels = std::move(channels);
    task.kind = TaskKind::lines;
    return 0;
}

int32_t DAQmxCreateDOChan(ZVC_Task taskHandle, const char *lines, const char *nameToAssignToLines,
                          int32_t lineGrouping)
{
    return RunCall(kCallCreateDOChan, taskHandle, {lines, nameToAssignToLines, lineGrouping},
                   [&](Guard &, Task &task) {
                       if (lineGrouping != kOneChannelPerLine &&
                           lineGrouping != kOneChannelForAllLines)
                           return Refuse(kBadValue, "Line grouping.");
                       return AddLines(TheCard(), task, lines, nameToAssignToLines,
                                       lineGrouping == kOneChannelForAllLines);
                   });
}
