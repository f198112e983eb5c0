// What the outputs were given and what they put out, and the tasks as they stand.

#include "clock.h"
#include "codes.h"
#include "names.h"
#include "run.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <new>

// Null: nothing was ever written there, or the text names no output.
static const OutputTrack *FindTrack(const Card &card, const char *channel)
{
    if (!channel) return nullptr;
    const auto place = card.outputs.find(TerminalKey(channel));
    return place == card.outputs.end() ? nullptr : &place->second;
}

// Runs a control on an output's track, settled to now.
template <class Result, class Work>
static Result WithTrack(const char *channel, Result nothing, Work work)
{
    Card &card = TheCard();
    const Guard guard(card.guard);
    try {
        SettleAll(card);
        const OutputTrack *track = FindTrack(card, channel);
        return track ? work(card, *track) : nothing;
    } catch (const std::bad_alloc &) {
        return nothing;
    }
}

static bool IsKept(const Card &card, const OutputTrack &track, uint64_t sample)
{
    if (sample >= track.written || sample < track.ringBase || card.trackLength == 0) return false;
    return track.written - sample <= card.trackLength;
}

static double Kept(const Card &card, const OutputTrack &track, uint64_t sample)
{
    return track.ring[(sample - track.ringBase) % card.trackLength];
}

uint64_t ZVC_CountWritten(const char *channel)
{
    return WithTrack(channel, uint64_t{0},
                     [](const Card &, const OutputTrack &track) { return track.written; });
}

uint64_t ZVC_CountPlayed(const char *channel)
{
    return WithTrack(channel, uint64_t{0},
                     [](const Card &, const OutputTrack &track) { return track.played; });
}

double ZVC_GetVolts(const char *channel)
{
    return WithTrack(channel, 0.0,
                     [](const Card &, const OutputTrack &track) { return track.volts; });
}

uint64_t ZVC_CopyWritten(const char *channel, uint64_t first, uint64_t count, double *volts)
{
    if (!volts) return 0;
    return WithTrack(channel, uint64_t{0}, [&](const Card &card, const OutputTrack &track) {
        if (!IsKept(card, track, first)) return uint64_t{0};
        const uint64_t copied = std::min(count, track.written - first);
        for (uint64_t i = 0; i < copied; ++i)
            volts[i] = Kept(card, track, first + i);
        return copied;
    });
}

int32_t ZVC_SetTrackLength(uint64_t samples)
{
    Card &card = TheCard();
    const Guard guard(card.guard);
    card.trackLength = samples;
    for (auto &[key, track] : card.outputs) {
        track.ring = {};
        track.ringBase = track.written;
    }
    return ZVC_OK;
}

static size_t ChannelIndex(const Task &task, const std::string &key)
{
    const auto place = std::find_if(task.channels.begin(), task.channels.end(),
                                    [&](const Channel &channel) { return channel.key == key; });
    return static_cast<size_t>(place - task.channels.begin());
}

// The value once so many samples of the present run have played, as far as it has come.
static double VoltsBehind(const Card &card, const Task &task, size_t channel, uint64_t samples)
{
    const OutputTrack &track = *task.channels[channel].track;
    const uint64_t count = std::min(samples, task.moved);
    if (count == 0) return track.voltsBefore;
    if (count == task.moved) return track.volts;
    if (Regenerates(task))
        return task.buffer[channel * task.bufferSize + (count - 1) % task.filled];
    const uint64_t sample = track.written - task.written + count - 1;
    return IsKept(card, track, sample) ? Kept(card, track, sample) : track.volts;
}

namespace {

// Values of an output at moments that mostly follow one another: its clock is looked at only when
// one of its samples has begun or ended in between.
class VoltsInTime
{
public:
    VoltsInTime(const Card &card, const Task &task, size_t channel)
        : m_card(card), m_task(task), m_channel(channel)
    {
    }

    double At(CardTime time)
    {
        if (time < m_from || time >= m_to) Find(time);
        return m_volts;
    }

private:
    void Find(CardTime time)
    {
        const uint64_t count = CountAt(m_task, time);
        m_from = count == 0 ? 0 : TimeOfCount(m_task, count);
        m_to = TimeOfCount(m_task, count + 1);
        m_volts = VoltsBehind(m_card, m_task, m_channel, count);
    }

    const Card &m_card;
    const Task &m_task;
    size_t m_channel;
    CardTime m_from = 0;
    CardTime m_to = 0;
    double m_volts = 0.0;
};

}  // namespace

int32_t ZVC_CopyVoltsAt(const char *channel, double firstS, double stepS, uint32_t count,
                        double *volts)
{
    if (!channel || !volts || !std::isfinite(firstS) || !std::isfinite(stepS))
        return ZVC_BAD_ARGUMENT;
    std::fill_n(volts, count, 0.0);
    return WithTrack(channel, int32_t{ZVC_OK}, [&](const Card &card, const OutputTrack &track) {
        std::fill_n(volts, count, track.volts);
        const Task *task = FindRunning(card, channel);
        if (!task || !task->channels.front().track) return int32_t{ZVC_OK};
        const size_t index = ChannelIndex(*task, TerminalKey(channel));
        VoltsInTime output(card, *task, index);
        for (uint32_t i = 0; i < count; ++i) {
            // One nanosecond on: a moment that is told in seconds may fall short of its sample.
            volts[i] = output.At(FromSeconds(firstS + i * stepS) + 1);
        }
        return int32_t{ZVC_OK};
    });
}

int32_t ZVC_CountTasks(void)
{
    Card &card = TheCard();
    const Guard guard(card.guard);
    return static_cast<int32_t>(card.tasks.size());
}

template <size_t Size>
static void PutText(char (&out)[Size], const std::string &text)
{
    const size_t taken = std::min(text.size(), Size - 1);
    std::memcpy(out, text.data(), taken);
    out[taken] = '\0';
}

static void TellClock(const Task &task, ZVC_TaskInfo &info)
{
    info.timed = 1;
    info.rate = task.rate;
    info.clockEdge = task.edge;
    info.mode = task.mode;
    info.samples = task.samples;
    info.bufferSize = task.bufferSize;
    PutText(info.clockSource, task.clockSource);
}

static void TellChannels(const Task &task, ZVC_TaskInfo &info)
{
    std::string list;
    for (const Channel &channel : task.channels)
        list += (list.empty() ? "" : ",") + channel.physical;
    PutText(info.channels, list);
    info.channelCount = static_cast<int32_t>(task.channels.size());
    if (task.channels.empty()) return;
    const Channel &first = task.channels.front();
    info.minVolts = first.min;
    info.maxVolts = first.max;
    info.terminals = first.terminals;
    info.transferCondition = first.transferCondition;
    info.usbRequestSize = first.usbRequestSize;
}

static ZVC_TaskInfo Describe(const Task &task)
{
    ZVC_TaskInfo info = {};
    info.handle = task.handle;
    info.number = task.number;
    info.kind = static_cast<int32_t>(task.kind);
    info.state = static_cast<int32_t>(task.state);
    info.failure = task.failure;
    PutText(info.name, task.name);
    TellChannels(task, info);
    if (task.timed) TellClock(task, info);
    PutText(info.triggerSource, task.triggerSource);
    info.triggerEdge = task.triggerEdge;
    if (task.kind == TaskKind::output) {
        info.regeneration = task.regeneration;
        info.relativeTo = task.relativeTo;
    }
    info.eventType = task.event.type;
    info.eventInterval = task.event.interval;
    info.written = task.written;
    info.moved = task.moved;
    info.taken = task.taken;
    info.inCallback = task.inCallback ? 1 : 0;
    return info;
}

int32_t ZVC_GetTask(int32_t index, ZVC_TaskInfo *info)
{
    if (!info) return ZVC_BAD_ARGUMENT;
    Card &card = TheCard();
    const Guard guard(card.guard);
    if (index < 0 || static_cast<size_t>(index) >= card.tasks.size()) return ZVC_NOT_THERE;
    try {
        SettleAll(card);
        auto place = card.tasks.begin();  // in the order of their handles, that is of creation
        std::advance(place, index);
        *info = Describe(*place->second);
        return ZVC_OK;
    } catch (const std::bad_alloc &) {
        return ZVC_OUT_OF_MEMORY;
    }
}
