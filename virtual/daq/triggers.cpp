// Start triggers.

#include "triggers.h"

#include "clock.h"
#include "codes.h"
#include "names.h"
#include "run.h"

#include <new>

// The first of the moments first, first + period and so on that is not before `time`.
static CardTime NextOf(CardTime first, CardTime period, CardTime time)
{
    if (time <= first) return first;
    const CardTime passed = (time - first + period - 1) / period;
    return first + passed * period;
}

CardTime NextEdge(const Card &card, const Task &task)
{
    const std::string key = TerminalKey(task.triggerSource.c_str());
    for (const auto &[terminal, signal] : card.triggers) {
        if (!SameTerminal(terminal, key)) continue;
        const CardTime offset = task.triggerEdge == kFalling ? signal.period / 2 : 0;
        return NextOf(signal.first + offset, signal.period, NowAt(card));
    }
    return kNever;
}

int32_t ZVC_FireTrigger(const char *terminal)
{
    Card &card = TheCard();
    const Guard guard(card.guard);
    const std::string key = terminal ? TerminalKey(terminal) : "";
    SettleAll(card);
    int32_t started = 0;
    for (auto &[handle, task] : card.tasks) {
        if (task->state != TaskState::armed) continue;
        if (terminal && !SameTerminal(TerminalKey(task->triggerSource.c_str()), key)) continue;
        task->start = NowAt(card);
        ++started;
    }
    TellChange(card);
    return started;
}

int32_t ZVC_SetTriggerPeriod(const char *terminal, double firstS, double periodS)
{
    if (!terminal || !IsTerminal(terminal)) return ZVC_BAD_ARGUMENT;
    Card &card = TheCard();
    const Guard guard(card.guard);
    try {
        const TriggerSignal signal = {FromSeconds(firstS), FromSeconds(periodS)};
        if (signal.period <= 0 || signal.period == kNever || signal.first == kNever) {
            card.triggers.erase(TerminalKey(terminal));
        } else {
            card.triggers[TerminalKey(terminal)] = signal;
        }
    } catch (const std::bad_alloc &) {
        return ZVC_OUT_OF_MEMORY;
    }
    SettleAll(card);
    for (auto &[handle, task] : card.tasks)
        if (task->state == TaskState::armed) task->start = NextEdge(card, *task);
    TellChange(card);
    return ZVC_OK;
}
