// Writing to analog outputs: the buffer with its positions, waiting for room, single values.

#include "output.h"

#include "calls.h"
#include "clock.h"
#include "run.h"
#include "tasks.h"
#include "turn.h"

#include <algorithm>
#include <cmath>

constexpr uint64_t kLargestBuffer = 1ULL << 27;  // samples over all channels, 1 GiB
constexpr double kConverterSteps = 65536.0;

uint64_t WantedBufferSize(const Task &task)
{
    return task.chosenSize > 0 ? task.chosenSize : task.samples;
}

void EmptyBuffer(Task &task)
{
    task.buffer = {};
    task.bufferSize = 0;
    task.filled = 0;
    task.written = 0;
}

static void MakeBuffer(Task &task, uint64_t firstWrite)
{
    if (task.bufferSize > 0) return;
    const uint64_t wanted = WantedBufferSize(task);
    const uint64_t size = wanted > 0 ? wanted : firstWrite;
    if (size > kLargestBuffer / task.channels.size()) throw std::bad_alloc();
    task.buffer.assign(size * task.channels.size(), 0.0);
    task.bufferSize = static_cast<uint32_t>(size);
}

void AppendToTrack(const Card &card, OutputTrack &track, const double *samples, size_t stride,
                   uint64_t count)
{
    const uint64_t length = card.trackLength;
    const uint64_t skipped = count > length ? count - length : 0;  // would be overwritten at once
    for (uint64_t i = skipped; i < count; ++i) {
        const uint64_t place = (track.written + i - track.ringBase) % length;
        if (place >= track.ring.size()) track.ring.resize(place + 1);
        track.ring[place] = samples[i * stride];
    }
    track.written += count;
}

struct WriteWish
{
    uint64_t count;  // samples a channel
    bool autoStart;
    double timeoutS;
    bool byScan;
    const double *samples;
};

static const double *SampleOf(const WriteWish &wish, const Task &task, size_t channel,
                              uint64_t index)
{
    return wish.samples +
           (wish.byScan ? index * task.channels.size() + channel : channel * wish.count + index);
}

// A converter takes what rounds to its range.
static bool FitsRange(double volts, const Channel &channel)
{
    const double step = (channel.max - channel.min) / kConverterSteps;
    return volts >= channel.min - step && volts <= channel.max + step;  // false for not-a-number
}

static int32_t CheckVolts(const Task &task, const WriteWish &wish)
{
    for (size_t channel = 0; channel < task.channels.size(); ++channel)
        for (uint64_t i = 0; i < wish.count; ++i)
            if (!FitsRange(*SampleOf(wish, task, channel, i), task.channels[channel]))
                return Refuse(kVoltsOutOfRange, "Channel: " + task.channels[channel].physical +
                                                    ", sample " + std::to_string(i) + ".");
    return 0;
}

// Where the next sample goes, counted in samples of the run.
static void PlacePosition(Task &task)
{
    const bool fromFirst = task.relativeTo == kFromFirstSample;
    if (!IsStarted(task)) {
        if (fromFirst) task.written = 0;
    } else if (Regenerates(task) && fromFirst) {
        task.written = task.moved - task.moved % task.bufferSize;
    }
}

// A regenerating output goes round without us: the position falls back by whole rounds at most.
static void FollowRounds(Task &task)
{
    if (!Regenerates(task) || !IsStarted(task) || task.moved <= task.written) return;
    task.written += (task.moved - task.written) / task.bufferSize * task.bufferSize;
}

static uint64_t Room(const Task &task)
{
    const uint64_t ahead = task.written > task.moved ? task.written - task.moved : 0;
    return task.bufferSize > ahead ? task.bufferSize - ahead : 0;
}

static void CopyIn(const Card &card, Task &task, const WriteWish &wish, uint64_t from,
                   uint64_t count)
{
    const size_t stride = wish.byScan ? task.channels.size() : 1;
    const uint64_t firstSlot = task.written % task.bufferSize;
    for (size_t channel = 0; channel < task.channels.size(); ++channel) {
        const double *in = SampleOf(wish, task, channel, from);
        double *slots = task.buffer.data() + channel * task.bufferSize;
        AppendToTrack(card, *task.channels[channel].track, in, stride, count);
        uint64_t slot = firstSlot;
        for (uint64_t i = 0; i < count; ++i) {
            slots[slot] = in[i * stride];
            if (++slot == task.bufferSize) slot = 0;
        }
    }
    task.written += count;
    const uint64_t reached = std::min<uint64_t>(firstSlot + count, task.bufferSize);
    task.filled = std::max(task.filled, static_cast<uint32_t>(reached));
}

static CardTime RoomDue(const Wait &wait)
{
    const Task &task = *wait.task;
    if (task.cleared || task.stops != wait.stops || task.state == TaskState::failed) return 0;
    if (task.bufferSize == 0 || Room(task) >= wait.count) return 0;
    if (!IsStarted(task)) return kNever;  // unless somebody starts it
    return TimeOfCount(task, task.written + wait.count - task.bufferSize);
}

static int32_t WaitForRoom(Guard &guard, Task &task, Wait &wait, uint64_t remaining)
{
    if (IsLate(TheCard(), wait)) return kNoRoomYet;
    // In halves, so that the buffer never has to run empty for a block of its own size.
    wait.count = std::min<uint64_t>(remaining, (task.bufferSize + 1) / 2);
    wait.due = RoomDue;
    Pause(guard, wait);
    return 0;
}

static int32_t CopyAll(Guard &guard, Card &card, Task &task, const WriteWish &wish, Wait &wait,
                       uint64_t &done)
{
    MakeBuffer(task, wish.count);
    PlacePosition(task);
    while (true) {
        Settle(card, task);
        if (task.cleared || task.stops != wait.stops) return kTaskAborted;
        if (task.state == TaskState::failed) return task.failure;
        FollowRounds(task);
        const uint64_t piece = std::min(Room(task), wish.count - done);
        CopyIn(card, task, wish, done, piece);
        done += piece;
        if (piece > 0) TellChange(card);
        if (done == wish.count) return 0;
        int32_t result = 0;
        if (wish.autoStart && task.state == TaskState::idle)
            result = Start(card, FindTask(card, task.handle));  // else there would never be room
        else
            result = WaitForRoom(guard, task, wait, wish.count - done);
        if (result < 0) return result;
    }
}

static int32_t WriteBuffered(Guard &guard, Card &card, Task &task, const WriteWish &wish,
                             uint64_t &done)
{
    Wait wait;
    wait.task = &task;
    wait.isCall = true;
    wait.stops = task.stops;
    wait.deadline = DeadlineAfter(card, wish.timeoutS);
    int32_t result = TakeTurn(guard, task, wait);
    if (result < 0) return result == kTurnTooLate ? kNoRoomYet : result;
    const Turn turn(task);
    result = CopyAll(guard, card, task, wish, wait, done);
    if (result == 0 && wish.autoStart && task.state == TaskState::idle)
        result = Start(card, FindTask(card, task.handle));
    return result;
}

// Without a sample clock: each sample stands until the next one.
static int32_t WriteOnDemand(Card &card, Task &task, const WriteWish &wish, uint64_t &done)
{
    if (task.state == TaskState::idle) {
        if (!wish.autoStart) return kNeedsAutoStart;
        const int32_t result = Start(card, FindTask(card, task.handle));
        if (result < 0) return result;
    }
    const size_t stride = wish.byScan ? task.channels.size() : 1;
    for (size_t channel = 0; channel < task.channels.size() && wish.count > 0; ++channel) {
        OutputTrack &track = *task.channels[channel].track;
        AppendToTrack(card, track, SampleOf(wish, task, channel, 0), stride, wish.count);
        track.played += wish.count;
        track.volts = *SampleOf(wish, task, channel, wish.count - 1);
    }
    done = wish.count;
    return 0;
}

static int32_t Write(Guard &guard, Task &task, const WriteWish &wish, uint64_t &done)
{
    if (task.channels.empty()) return kNoChannels;
    if (task.kind != TaskKind::output) return Refuse(kBadValue, "The task has no analog outputs.");
    if (!wish.samples && wish.count > 0) return Refuse(kNullPointer, "writeArray is null.");
    Card &card = TheCard();
    Settle(card, task);
    if (task.state == TaskState::failed) return task.failure;
    const int32_t result = CheckVolts(task, wish);
    if (result < 0) return result;
    return task.timed ? WriteBuffered(guard, card, task, wish, done)
                      : WriteOnDemand(card, task, wish, done);
}

int32_t DAQmxWriteAnalogF64(ZVC_Task taskHandle, int32_t numSampsPerChan, uint32_t autoStart,
                            double timeout, uint32_t dataLayout, const double *writeArray,
                            int32_t *sampsPerChanWritten, uint32_t *reserved)
{
    (void)reserved;
    if (sampsPerChanWritten) *sampsPerChanWritten = 0;
    const Arguments arguments = {numSampsPerChan, autoStart, timeout, dataLayout};
    return RunCall(kCallWriteAnalogF64, taskHandle, arguments, [&](Guard &guard, Task &task) {
        if (numSampsPerChan < 0) return Refuse(kBadValue, "A negative number of samples.");
        if (dataLayout != kByChannel && dataLayout != kByScan)
            return Refuse(kBadValue, "Data layout.");
        const WriteWish wish = {static_cast<uint64_t>(numSampsPerChan), autoStart != 0, timeout,
                                dataLayout == kByScan, writeArray};
        uint64_t done = 0;
        const int32_t result = Write(guard, task, wish, done);
        if (sampsPerChanWritten) *sampsPerChanWritten = static_cast<int32_t>(done);
        NoteSamples(done);
        return result;
    });
}

int32_t DAQmxWriteAnalogScalarF64(ZVC_Task taskHandle, uint32_t autoStart, double timeout,
                                  double value, uint32_t *reserved)
{
    (void)reserved;
    return RunCall(kCallWriteAnalogScalarF64, taskHandle, {autoStart, timeout, value},
                   [&](Guard &guard, Task &task) {
                       if (task.channels.size() > 1)
                           return static_cast<int32_t>(kWriteChannelCount);
                       const WriteWish wish = {1, autoStart != 0, timeout, true, &value};
                       uint64_t done = 0;
                       return Write(guard, task, wish, done);
                   });
}
