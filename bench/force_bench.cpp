// The buffered acquisition's loop on the virtual card at fast pace, against one copy of its
// samples. What the card itself takes to make them is measured by a table of our own in front of
// it, and is no part of the loop's cost. Once with the registered message of each buffer, and once
// without, since a message costs the same for a buffer of any size.

#include "ratio.h"

#include "force/force.h"
#include "platform/daqmx.h"
#include "platform/messages.h"
#include "platform/threads.h"

#include <cstdlib>
#include <cstring>
#include <quorvex-virtual/daq.h>
#include <quorvex-virtual/daqmx_calls.h>

constexpr int32_t kBuffers = 8;
constexpr int32_t kChannelMask = ZVK_FORCE_CHANNELS_A;
constexpr int32_t kChannels = 3;

static double s_cardS = 0.0;

static int32_t TimedRead(ZVC_Task task, int32_t samples, double timeoutS, uint32_t layout,
                         double *out, uint32_t room, int32_t *read, uint32_t *reserved)
{
    int32_t result = 0;
    s_cardS += SecondsOf([&] {
        result = DAQmxReadAnalogF64(task, samples, timeoutS, layout, out, room, read, reserved);
    });
    return result;
}

static int32_t TimedStart(ZVC_Task task)
{
    int32_t result = 0;
    s_cardS += SecondsOf([&] { result = DAQmxStartTask(task); });
    return result;
}

static const ZVK_DaqTable &TimedCard()
{
    static ZVK_DaqTable table = {
#define X(call, vendorName, ...) .call = vendorName,
        ZVK_DAQ_CALLS(X)
#undef X
    };
    table.startTask = TimedStart;
    table.readAnalogF64 = TimedRead;
    return table;
}

static constexpr ZVK_MessageTable kNoMessages = {
    .registerName = [](const char *) -> uint32_t { return 1; },
    .post = [](uint32_t, int64_t, int64_t) -> int32_t { return 0; }};

// The loop runs on this thread, when told.
static const ZVK_ThreadTable kNoThreads = {
    .startTimer = [](double, ZVK_TimerCallback, void *) { return -1; },
    .discardTimer = [](int) { return -1; },
    .schedule =
        [](ZVK_PoolFunction, void *, int *id) {
            *id = 1;
            return 0;
        },
    .wait = [](int) { return 0; },
    .waitAtMost = [](int, double) { return 0; },
    .release = [](int) { return 0; }};

// The module up on the card, with a continuous task and a ring that is ready to be filled.
static void Start(int32_t samples)
{
    ZVC_Reset();
    (void)ZVC_SetPace(ZVC_PACE_FAST);
    UseDaq(&TimedCard());
    UseThreads(&kNoThreads);
    g_force.Installed = 1;
    g_force.Initialised = 1;
    std::strcpy(g_force.ChannelsA, "/Dev2/ai0:2");
    int32_t channels = 0;
    if (ZVK_Force_AcquireBuffered(0, -1.0, kBuffers, samples, 1.0, kChannelMask, &channels) != 0)
        std::abort();
}

// Up to the overrun: each buffer is filled once.
static double SecondsOfTheLoop()
{
    s_cardS = 0.0;
    const double all = SecondsOf([] { (void)ZVK_Force_AcquireBufferedLoop(nullptr); });
    return all - s_cardS;
}

// The same samples, read by read, into the same buffers.
static double SecondsOfTheCopies(const std::vector<double> &piece, int32_t samples)
{
    return SecondsOf([&] {
        ZVK_ForceBuffer *node = g_force.Ring;
        for (int buffer = 0; buffer < kBuffers; ++buffer, node = node->Next) {
            for (int32_t done = 0; done < samples; done += kForceSamplesPerRead)
                std::memcpy(node->Data + static_cast<int64_t>(done) * kChannels, piece.data(),
                            piece.size() * sizeof(double));
            benchmark::DoNotOptimize(node->Data);
            benchmark::ClobberMemory();
        }
    });
}

static void BufferedLoop(benchmark::State &state)
{
    UseMessages(state.range(1) != 0 ? nullptr : &kNoMessages);
    const auto samples = static_cast<int32_t>(state.range(0));
    const std::vector<double> piece(static_cast<size_t>(kForceSamplesPerRead) * kChannels, 1.0);
    std::vector<double> loops;
    std::vector<double> copies;
    for (auto _ : state) {
        Start(samples);
        copies.push_back(SecondsOfTheCopies(piece, samples));
        loops.push_back(SecondsOfTheLoop());
        state.SetIterationTime(loops.back());
        (void)ZVK_Force_StopAcquireBuffered(0);
    }
    state.counters["ratio"] = Median(loops) / Median(copies);
    state.counters["work_us"] = Median(loops) * 1e6;
    state.counters["bare_us"] = Median(copies) * 1e6;
}
BENCHMARK(BufferedLoop)
    ->ArgNames({"samples", "messages"})
    ->ArgsProduct({{10000, 100000}, {0, 1}})
    ->UseManualTime()
    ->Iterations(200);
