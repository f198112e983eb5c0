// Tasks: made, started, stopped, cleared.

#include "tasks.h"
#include "calls.h"
#include "clock.h"
#include "events.h"
#include "input.h"
#include "output.h"
#include "resources.h"
#include "run.h"

static bool NameInUse(const Card &card, const std::string &name)
{
    for (const auto &[handle, task] : card.tasks)
        if (task->name == name) return true;
    return false;
}

static std::string GeneratedName(const Card &card)
{
    return "_unnamedTask<" + std::to_string(card.lastNumber - 1) + ">";
}

// Handles are numbers, never given twice: a dead one can't come to life again.
static ZVC_Task NextHandle(Card &card)
{
    card.lastHandle += 16;
    return reinterpret_cast<ZVC_Task>(card.lastHandle);
}

static int32_t CreateTask(Card &card, const char *name, ZVC_Task *handle,
                          std::shared_ptr<Task> &made)
{
    if (!handle) return Refuse(kNullPointer, "taskHandle is null.");
    *handle = nullptr;
    const std::string wanted = name ? name : "";
    if (NameInUse(card, wanted)) return Refuse(kDuplicateTask, "Name: " + wanted + ".");
    auto task = std::make_shared<Task>();
    ++card.lastNumber;
    task->number = card.lastNumber;
    task->name = wanted.empty() ? GeneratedName(card) : wanted;
    task->handle = NextHandle(card);
    task->regeneration = kRegeneration;
    task->relativeTo = kFromCurrentPosition;
    card.tasks[task->handle] = task;
    *handle = task->handle;
    made = task;
    return 0;
}

int32_t DAQmxCreateTask(const char *taskName, ZVC_Task *taskHandle)
{
    Card &card = TheCard();
    const Guard guard(card.guard);
    try {
        BeginCall();
        std::shared_ptr<Task> task;
        const int32_t fault = TakeFault(card, kCallCreateTask);
        int32_t result = fault;
        if (fault >= 0) {
            const int32_t worked = CreateTask(card, taskName, taskHandle, task);
            if (fault == 0 || worked < 0) result = worked;
        }
        EndCall(card, kCallCreateTask, task.get(), {taskName}, result);
        return result;
    } catch (const std::bad_alloc &) {
        return EndWithoutMemory(card, kCallCreateTask);
    }
}

static int32_t CheckStart(const Task &task)
{
    if (IsStarted(task) || task.state == TaskState::failed)
        return Refuse(kTaskRunning, "It is started already.");
    if (task.channels.empty()) return kNoChannels;
    if (task.kind != TaskKind::output || !task.timed) return 0;
    if (task.filled == 0) return kOutputBufferEmpty;
    if (task.event.callback && task.bufferSize % task.event.interval != 0)
        return Refuse(kIntervalNoDivisor, "Interval: " + std::to_string(task.event.interval) +
                                              ", buffer: " + std::to_string(task.bufferSize) +
                                              " samples.");
    return 0;
}

int32_t Start(Card &card, const std::shared_ptr<Task> &task)
{
    int32_t result = CheckStart(*task);
    if (result == 0) result = Reserve(card, *task);
    if (result < 0) return result;
    if (task->kind == TaskKind::input) task->bufferSize = InputBufferSize(*task);
    result = StartEventThread(card, task);
    if (result < 0) {
        Release(card, *task);
        return result;
    }
    StartRun(card, *task);
    Settle(card, *task);
    return 0;
}

int32_t Stop(Card &card, Task &task)
{
    if (task.state == TaskState::idle) return 0;
    Settle(card, task);
    const bool cutShort =
        task.timed && task.mode == kFinite && IsStarted(task) && task.moved < task.samples;
    EndRun(task);
    // A buffer that was written keeps its device until the task is cleared.
    if (task.kind != TaskKind::output || !task.timed) Release(card, task);
    return cutShort ? kStoppedBeforeDone : 0;
}

void Clear(Card &card, Task &task)
{
    (void)Stop(card, task);  // that samples are left is no matter here
    Release(card, task);
    task.cleared = true;
    task.event.callback = nullptr;
    card.tasks.erase(task.handle);
}

int32_t DAQmxStartTask(ZVC_Task taskHandle)
{
    return RunCall(kCallStartTask, taskHandle, {}, [&](Guard &, Task &) {
        Card &card = TheCard();
        return Start(card, FindTask(card, taskHandle));
    });
}

int32_t DAQmxStopTask(ZVC_Task taskHandle)
{
    return RunCall(kCallStopTask, taskHandle, {},
                   [](Guard &, Task &task) { return Stop(TheCard(), task); });
}

int32_t DAQmxClearTask(ZVC_Task taskHandle)
{
    return RunCall(kCallClearTask, taskHandle, {}, [](Guard &, Task &task) {
        Clear(TheCard(), task);
        return 0;
    });
}
