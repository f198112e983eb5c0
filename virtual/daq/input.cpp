// Reading analog inputs.

#include "input.h"

#include "calls.h"
#include "clock.h"
#include "run.h"
#include "sources.h"
#include "tasks.h"
#include "turn.h"

#include <algorithm>
#include <limits>

constexpr uint64_t kPieceSize = 4096;  // samples of one channel asked for at once

// The card makes the buffer of a continuous input no smaller than the rate calls for.
static uint64_t SmallestBuffer(double rate)
{
    if (rate <= 100.0) return 1000;
    if (rate <= 10000.0) return 10000;
    return rate <= 1000000.0 ? 100000 : 1000000;
}

uint32_t InputBufferSize(const Task &task)
{
    if (!task.timed) return 0;
    const uint64_t size =
        task.mode == kContinuous ? std::max(task.samples, SmallestBuffer(task.rate)) : task.samples;
    return static_cast<uint32_t>(std::min<uint64_t>(size, std::numeric_limits<uint32_t>::max()));
}

struct ReadWish
{
    bool all = false;    // what there is
    uint64_t count = 0;  // samples a channel
    double timeoutS = 0.0;
    bool byScan = false;
    double *samples = nullptr;
    uint64_t room = 0;  // doubles
};

static CardTime SamplesDue(const Wait &wait)
{
    const Task &task = *wait.task;
    if (task.cleared || task.stops != wait.stops || task.state == TaskState::failed) return 0;
    if (task.moved >= wait.count) return 0;
    if (!IsStarted(task)) return kNever;
    return TimeOfCount(task, wait.count);
}

// What a read waits for, counted in samples of the run; a finite run has no more than its own.
static uint64_t WantedCount(const Task &task, const ReadWish &wish)
{
    if (wish.all) return task.mode == kFinite ? task.samples : task.moved;
    const uint64_t wanted = task.taken + wish.count;
    return task.mode == kFinite ? std::min(wanted, task.samples) : wanted;
}

static int32_t WaitForSamples(Guard &guard, Card &card, Task &task, const ReadWish &wish,
                              Wait &wait)
{
    wait.due = SamplesDue;
    while (true) {
        Settle(card, task);
        if (task.cleared || task.stops != wait.stops) return kTaskAborted;
        if (task.state == TaskState::failed) return task.failure;
        wait.count = WantedCount(task, wish);
        if (task.moved >= wait.count) return 0;
        if (IsLate(card, wait)) return kSamplesNotYetThere;
        Pause(guard, wait);
    }
}

struct Delivery
{
    uint64_t first = 0;   // of the run
    uint64_t count = 0;   // samples a channel
    double startS = 0.0;  // of the first one
    double rate = 0.0;    // Hz, 0: on demand
};

static void AskSource(const Source &source, const std::string &channel, const Delivery &delivery,
                      uint64_t done, uint64_t count, double *volts)
{
    const double passedS = delivery.rate > 0.0 ? static_cast<double>(done) / delivery.rate : 0.0;
    const ZVC_Block block = {channel.c_str(), delivery.first + done, static_cast<uint32_t>(count),
                             delivery.rate, delivery.startS + passedS};
    FillBlock(source, block, volts);
}

// Asks each channel's source, outside the guard, piece by piece. All that may fail comes before.
static void Deliver(Guard &guard, Card &card, const Task &task, const ReadWish &wish,
                    const Delivery &delivery)
{
    std::vector<std::string> keys;
    for (const Channel &channel : task.channels)
        keys.push_back(channel.key);
    std::vector<double> piece(wish.byScan ? std::min(delivery.count, kPieceSize) : 0);
    const SourcesInUse sources(card, keys);

    guard.unlock();
    for (uint64_t done = 0; done < delivery.count; done += kPieceSize) {
        const uint64_t count = std::min(delivery.count - done, kPieceSize);
        for (size_t i = 0; i < keys.size(); ++i) {
            double *direct = wish.samples + i * delivery.count + done;
            AskSource(sources[i], keys[i], delivery, done, count,
                      wish.byScan ? piece.data() : direct);
            if (!wish.byScan) continue;
            for (uint64_t k = 0; k < count; ++k)
                wish.samples[(done + k) * keys.size() + i] = piece[k];
        }
    }
    guard.lock();
}

static int32_t CheckRoom(const Task &task, const ReadWish &wish, uint64_t count)
{
    if (count <= wish.room / task.channels.size()) return 0;
    return Refuse(kArrayTooSmall, std::to_string(count * task.channels.size()) +
                                      " samples, room for " + std::to_string(wish.room) + ".");
}

static int32_t ReadBuffered(Guard &guard, Card &card, Task &task, const ReadWish &wish,
                            uint64_t &done)
{
    Wait wait;
    wait.task = &task;
    wait.isCall = true;
    wait.stops = task.stops;
    wait.deadline = DeadlineAfter(card, wish.timeoutS);
    int32_t result = TakeTurn(guard, task, wait);
    if (result < 0) return result == kTurnTooLate ? kSamplesNotYetThere : result;
    const Turn turn(task);
    if (task.state == TaskState::idle) result = Start(card, FindTask(card, task.handle));
    if (result < 0) return result;

    result = WaitForSamples(guard, card, task, wish, wait);
    if (result < 0 && result != kSamplesNotYetThere) return result;
    const uint64_t there = task.moved - task.taken;
    const uint64_t count = wish.all ? there : std::min(wish.count, there);
    const int32_t fits = CheckRoom(task, wish, count);
    if (fits < 0) return fits;

    const Delivery delivery = {task.taken, count, ToSeconds(TimeOfCount(task, task.taken + 1)),
                               task.clockRate};
    task.taken += count;
    TellChange(card);
    Deliver(guard, card, task, wish, delivery);
    done = count;
    if (result == 0 && !wish.all && count < wish.count) return kReadPastEnd;
    return result;
}

// Without a sample clock: the values of now. The task runs for that long only, unless it is
// started.
static int32_t ReadOnDemand(Guard &guard, Card &card, Task &task, const ReadWish &wish,
                            uint64_t &done)
{
    const uint64_t count = wish.all ? 1 : wish.count;
    int32_t result = CheckRoom(task, wish, count);
    if (result < 0) return result;
    const bool wasIdle = task.state == TaskState::idle;
    if (wasIdle) result = Start(card, FindTask(card, task.handle));
    if (result < 0) return result;
    const Delivery delivery = {task.taken, count, ToSeconds(NowAt(card)), 0.0};
    task.taken += count;
    const uint64_t stops = task.stops;
    Deliver(guard, card, task, wish, delivery);
    done = count;
    if (wasIdle && task.stops == stops && !task.cleared) (void)Stop(card, task);  // has no warning
    return 0;
}

static int32_t Read(Guard &guard, Task &task, const ReadWish &wish, uint64_t &done)
{
    if (task.channels.empty()) return kNoChannels;
    if (task.kind != TaskKind::input) return Refuse(kBadValue, "The task has no analog inputs.");
    if (!wish.samples) return Refuse(kNullPointer, "readArray is null.");
    Card &card = TheCard();
    if (!task.timed) return ReadOnDemand(guard, card, task, wish, done);
    const int32_t fits = wish.all ? 0 : CheckRoom(task, wish, wish.count);
    return fits < 0 ? fits : ReadBuffered(guard, card, task, wish, done);
}

int32_t DAQmxReadAnalogF64(ZVC_Task taskHandle, int32_t numSampsPerChan, double timeout,
                           uint32_t fillMode, double *readArray, uint32_t arraySizeInSamps,
                           int32_t *sampsPerChanRead, uint32_t *reserved)
{
    (void)reserved;
    if (sampsPerChanRead) *sampsPerChanRead = 0;
    const Arguments arguments = {numSampsPerChan, timeout, fillMode, arraySizeInSamps};
    return RunCall(kCallReadAnalogF64, taskHandle, arguments, [&](Guard &guard, Task &task) {
        if (numSampsPerChan < -1) return Refuse(kBadValue, "A negative number of samples.");
        if (fillMode != kByChannel && fillMode != kByScan) return Refuse(kBadValue, "Fill mode.");
        ReadWish wish;
        wish.all = numSampsPerChan == -1;
        wish.count = wish.all ? 0 : static_cast<uint64_t>(numSampsPerChan);
        wish.timeoutS = timeout;
        wish.byScan = fillMode == kByScan;
        wish.samples = readArray;
        wish.room = arraySizeInSamps;
        uint64_t done = 0;
        const int32_t result = Read(guard, task, wish, done);
        if (sampsPerChanRead) *sampsPerChanRead = static_cast<int32_t>(done);
        NoteSamples(done);
        return result;
    });
}
