// Digital output lines. A read finds what stands at the lines, driven or held from outside.

#include "calls.h"
#include "clock.h"
#include "names.h"
#include "tasks.h"

#include <new>

constexpr size_t kWordsKept = 65536;

static uint32_t LevelsOf(const Port &port)
{
    return (port.driven & ~port.heldMask) | (port.heldLevels & port.heldMask);
}

static int32_t CheckScalar(const Task &task, int32_t wrongCount)
{
    if (task.channels.empty()) return kNoChannels;
    if (task.kind != TaskKind::lines) return Refuse(kBadValue, "The task has no lines.");
    return task.channels.size() == 1 ? 0 : wrongCount;
}

static void Drive(Card &card, Port &port, uint32_t lines, uint32_t value)
{
    port.words.push_back({NowAt(card), (port.driven & ~lines) | (value & lines)});
    port.driven = port.words.back().word;
    ++port.wordsWritten;
    if (port.words.size() > kWordsKept) port.words.pop_front();
}

int32_t DAQmxReadDigitalScalarU32(ZVC_Task taskHandle, double timeout, uint32_t *value,
                                  uint32_t *reserved)
{
    (void)reserved;
    return RunCall(kCallReadDigitalScalarU32, taskHandle, {timeout}, [&](Guard &, Task &task) {
        if (!value) return Refuse(kNullPointer, "value is null.");
        const int32_t result = CheckScalar(task, kReadChannelCount);
        if (result < 0) return result;
        const Channel &channel = task.channels.front();
        *value = LevelsOf(*channel.port) & channel.lines;
        return result;
    });
}

int32_t DAQmxWriteDigitalScalarU32(ZVC_Task taskHandle, uint32_t autoStart, double timeout,
                                   uint32_t value, uint32_t *reserved)
{
    (void)reserved;
    return RunCall(kCallWriteDigitalScalarU32, taskHandle, {autoStart, timeout, value},
                   [&](Guard &, Task &task) -> int32_t {
                       Card &card = TheCard();
                       int32_t result = CheckScalar(task, kWriteChannelCount);
                       if (result < 0) return result;
                       if (task.state == TaskState::idle) {
                           if (!autoStart) return kNeedsAutoStart;
                           result = Start(card, FindTask(card, taskHandle));
                           if (result < 0) return result;
                       }
                       const Channel &channel = task.channels.front();
                       Drive(card, *channel.port, channel.lines, value);
                       return 0;
                   });
}

// A port by name, with or without lines; null: the text names none.
static Port *FindPort(Card &card, const char *name)
{
    std::vector<PhysicalChannel> lines;
    if (!name || !ParseChannels(name, ChannelKind::line, lines)) return nullptr;
    return &card.ports[lines.front().portKey];
}

uint32_t ZVC_GetLines(const char *port)
{
    Card &card = TheCard();
    const Guard guard(card.guard);
    try {
        const Port *found = FindPort(card, port);
        return found ? LevelsOf(*found) : 0;
    } catch (const std::bad_alloc &) {
        return 0;
    }
}

int32_t ZVC_HoldLines(const char *port, uint32_t mask, uint32_t levels)
{
    Card &card = TheCard();
    const Guard guard(card.guard);
    try {
        Port *found = FindPort(card, port);
        if (!found) return ZVC_BAD_ARGUMENT;
        found->heldMask = mask;
        found->heldLevels = levels & mask;
        return ZVC_OK;
    } catch (const std::bad_alloc &) {
        return ZVC_OUT_OF_MEMORY;
    }
}

uint64_t ZVC_CountLineWords(const char *port)
{
    Card &card = TheCard();
    const Guard guard(card.guard);
    try {
        const Port *found = FindPort(card, port);
        return found ? found->wordsWritten : 0;
    } catch (const std::bad_alloc &) {
        return 0;
    }
}

int32_t ZVC_GetLineWord(const char *port, uint64_t index, double *timeS, uint32_t *word)
{
    Card &card = TheCard();
    const Guard guard(card.guard);
    try {
        const Port *found = FindPort(card, port);
        if (!found) return ZVC_BAD_ARGUMENT;
        const uint64_t oldest = found->wordsWritten - found->words.size();
        if (index < oldest || index >= found->wordsWritten) return ZVC_NOT_THERE;
        const LineWord &entry = found->words[index - oldest];
        if (timeS) *timeS = ToSeconds(entry.time);
        if (word) *word = entry.word;
        return ZVC_OK;
    } catch (const std::bad_alloc &) {
        return ZVC_OUT_OF_MEMORY;
    }
}
