// A task's run: sample clock, transfers, underrun and overrun.

#include "run.h"

#include "clock.h"
#include "codes.h"
#include "names.h"
#include "triggers.h"

#include <algorithm>
#include <cmath>

bool IsStarted(const Task &task)
{
    return task.state == TaskState::armed || task.state == TaskState::running;
}

bool Regenerates(const Task &task) { return task.regeneration != kNoRegeneration; }

uint64_t ShareOfMemory(const Card &card, const Task &task)
{
    return card.onBoardSamples / std::max<uint64_t>(task.channels.size(), 1);
}

static CardTime Duration(const Task &task, uint64_t count)
{
    return static_cast<CardTime>(std::ceil(static_cast<long double>(count) * 1e9L /
                                           static_cast<long double>(task.clockRate)));
}

CardTime TimeOfCount(const Task &task, uint64_t count)
{
    if (task.start >= kNever) return kNever;
    if (count == 0) return task.start;
    if (!(task.clockRate > 0.0)) return kNever;
    return task.start + Duration(task, count);
}

uint64_t CountAt(const Task &task, CardTime time)
{
    if (!(task.clockRate > 0.0) || time <= task.start) return 0;
    const CardTime elapsed = time - task.start;
    uint64_t count = static_cast<uint64_t>(static_cast<long double>(elapsed) *
                                           static_cast<long double>(task.clockRate) / 1e9L);
    while (Duration(task, count + 1) <= elapsed)
        ++count;
    while (count > 0 && Duration(task, count) > elapsed)
        --count;
    return count;
}

// Lets the clock have stood still, so that `count` samples are done now.
static void HoldClock(const Card &card, Task &task, uint64_t count)
{
    task.start = NowAt(card) - (count == 0 ? 0 : Duration(task, count));
}

static uint64_t Limited(const Task &task, uint64_t count)
{
    return task.mode == kFinite ? std::min(count, task.samples) : count;
}

static void Fail(Task &task, int32_t code)
{
    task.state = TaskState::failed;
    task.failure = code;
}

static void PlayTo(Task &task, uint64_t count)
{
    if (count <= task.moved) return;
    const uint64_t slots = Regenerates(task) ? task.filled : task.bufferSize;
    const uint64_t slot = (count - 1) % std::max<uint64_t>(slots, 1);
    for (size_t i = 0; i < task.channels.size(); ++i) {
        OutputTrack &track = *task.channels[i].track;
        track.played += count - task.moved;
        track.volts = task.buffer[i * task.bufferSize + slot];
    }
    task.moved = count;
}

// Without regeneration: plays what was written, and ends when nothing is left.
static void SettleStream(Card &card, Task &task)
{
    const uint64_t there = Limited(task, task.written);
    if (card.pace == ZVC_PACE_FAST && task.clockRate > 0.0) {
        MoveTo(card, TimeOfCount(task, there));
        if (CountAt(task, NowAt(card)) > there) HoldClock(card, task, there);
    }
    const uint64_t due = Limited(task, CountAt(task, NowAt(card)));
    PlayTo(task, std::min(due, there));
    if (due > there + ShareOfMemory(card, task)) Fail(task, kOutputUnderrun);
}

static void SettleOutput(Card &card, Task &task)
{
    if (Regenerates(task)) {
        PlayTo(task, Limited(task, CountAt(task, NowAt(card))));
    } else {
        SettleStream(card, task);
    }
}

static void SettleInput(Card &card, Task &task)
{
    task.moved = Limited(task, CountAt(task, NowAt(card)));
    if (task.mode == kFinite) return;  // its buffer takes all of it
    if (task.moved - task.taken <= task.bufferSize) return;
    if (card.pace == ZVC_PACE_FAST) {
        HoldClock(card, task, task.taken + task.bufferSize);
        task.moved = task.taken + task.bufferSize;
    } else {
        Fail(task, kInputOverrun);
    }
}

static void CountEvents(Task &task)
{
    if (!task.event.callback) return;
    const uint64_t passed = task.moved / task.event.interval;
    task.eventsPending += passed - task.eventsCounted;
    task.eventsCounted = passed;
}

void Settle(Card &card, Task &task)
{
    if (task.state == TaskState::armed && task.start <= NowAt(card))
        task.state = TaskState::running;
    if (task.state != TaskState::running || !task.timed) return;
    if (task.kind == TaskKind::output) SettleOutput(card, task);
    if (task.kind == TaskKind::input) SettleInput(card, task);
    CountEvents(task);
}

void SettleAll(Card &card)
{
    for (auto &[handle, task] : card.tasks)
        Settle(card, *task);
}

static double ClockRate(const Card &card, const Task &task)
{
    const std::string key = TerminalKey(task.clockSource.c_str());
    for (const auto &[terminal, hertz] : card.externalClocks)
        if (SameTerminal(terminal, key)) return hertz;
    return task.rate;
}

void StartRun(Card &card, Task &task)
{
    task.moved = 0;
    task.taken = 0;
    task.eventsCounted = 0;
    task.eventsPending = 0;
    task.failure = 0;
    task.clockRate = ClockRate(card, task);
    for (Channel &channel : task.channels)
        if (channel.track) channel.track->voltsBefore = channel.track->volts;
    const bool waits = task.timed && !task.triggerSource.empty();
    task.state = waits ? TaskState::armed : TaskState::running;
    task.start = waits ? NextEdge(card, task) : NowAt(card);
}

void EndRun(Task &task)
{
    ++task.stops;
    task.state = TaskState::idle;
    task.failure = 0;
    task.eventsPending = 0;  // a stop discards them
    task.written = 0;
    if (!Regenerates(task)) task.filled = 0;  // what was not played is gone
}

const Task *FindRunning(const Card &card, const char *channel)
{
    const std::string key = TerminalKey(channel);
    for (const auto &[handle, task] : card.tasks) {
        if (!task->timed || !IsStarted(*task)) continue;
        for (const Channel &own : task->channels)
            if (own.key == key) return task.get();
    }
    return nullptr;
}
