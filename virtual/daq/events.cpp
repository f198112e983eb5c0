// Every-N-samples events and the threads that deliver them.

#include "events.h"

#include "calls.h"
#include "clock.h"
#include "run.h"

#include <system_error>
#include <thread>

static CardTime EventDue(const Wait &wait)
{
    const Task &task = *wait.task;
    if (task.cleared || task.eventsPending > 0) return 0;
    if (!IsStarted(task) || !task.event.callback) return kNever;
    const uint64_t count = (task.eventsCounted + 1) * task.event.interval;
    if (task.mode == kFinite && count > task.samples) return kNever;
    const bool stream = task.kind == TaskKind::output && !Regenerates(task);
    if (stream && count > task.written) return kNever;
    return TimeOfCount(task, count);
}

static void Deliver(Guard &guard, Card &card, Task &task)
{
    --task.eventsPending;
    task.inCallback = true;
    const EveryNSamples event = task.event;
    guard.unlock();
    (void)event.callback(task.handle, event.type, event.interval, event.data);
    guard.lock();
    task.inCallback = false;
    card.rested.notify_all();
}

static void RunEventThread(const std::shared_ptr<Task> &task)
{
    t_onEventThread = true;
    Card &card = TheCard();
    Guard guard(card.guard);
    while (!task->cleared) {
        Settle(card, *task);
        if (task->eventsPending > 0 && task->event.callback && !card.closing) {
            Deliver(guard, card, *task);
            continue;
        }
        Wait rest;
        rest.task = task.get();
        rest.due = card.closing ? nullptr : EventDue;
        Pause(guard, rest);
    }
    --card.eventThreads;
    card.rested.notify_all();
}

int32_t StartEventThread(Card &card, const std::shared_ptr<Task> &task)
{
    if (!task->event.callback || task->hasThread) return 0;
    try {
        std::thread(RunEventThread, task).detach();
    } catch (const std::system_error &) {
        return kOutOfMemory;
    }
    ++card.eventThreads;  // it can't have got further than the guard, which we hold
    task->hasThread = true;
    return 0;
}

static int32_t CheckEvent(const Task &task, int32_t type, uint32_t interval, uint32_t options)
{
    if (task.channels.empty()) return kNoChannels;
    if (type != (task.kind == TaskKind::output ? kTransferred : kAcquired)) return kEventWrongType;
    if (interval == 0) return kIntervalZero;
    if (!task.timed) return kEventNeedsBuffer;
    if (options != 0) return kNoSynchronousEvents;
    if (task.event.callback) return kEventTwice;
    if (task.state != TaskState::idle) return kEventWhileRunning;
    return 0;
}

int32_t DAQmxRegisterEveryNSamplesEvent(ZVC_Task taskHandle, int32_t eventType, uint32_t nSamples,
                                        uint32_t options, ZVC_EveryNSamples callback,
                                        void *callbackData)
{
    const Arguments arguments = {eventType, nSamples, options, callback ? "callback" : nullptr};
    return RunCall(kCallRegisterEveryNSamplesEvent, taskHandle, arguments,
                   [&](Guard &, Task &task) -> int32_t {
                       if (!callback) {
                           if (task.state != TaskState::idle) return kEventWhileRunning;
                           task.event = {};
                           return 0;
                       }
                       const int32_t result = CheckEvent(task, eventType, nSamples, options);
                       if (result == 0) task.event = {eventType, nSamples, callback, callbackData};
                       return result;
                   });
}
