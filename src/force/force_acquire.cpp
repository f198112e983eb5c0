// Finite acquisition: one block of samples, read in pieces of 1000 a channel.

#include "force/force.h"
#include "platform/daqmx.h"
#include "platform/memory.h"
#include "steering/check_status.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstring>

constexpr int32_t kSamplesNotYetAvailable = -200284;  // the driver's: a read timed out
constexpr double kFastest = -1.0;
constexpr double kFastestWithin = 0.0001;
constexpr double kForEver = -1.0;
// A card that is gone refuses every read at once and for ever.
constexpr int kMostFruitlessReads = 10;

int32_t CountForceChannels(int32_t mask)
{
    static const int32_t kCounts[8] = {0, 3, 3, 6, 1, 4, 4, 7};
    return mask < 1 || mask > 7 ? 0 : kCounts[mask];
}

void BuildChannelList(int32_t mask)
{
    const char *const parts[3] = {g_force.ChannelsA, g_force.ChannelsB, g_force.ChannelT};
    char *end = g_force.ChannelList;  // three parts of at most 256 characters fit
    for (int bit = 0; bit < 3; ++bit) {
        if ((mask & (1 << bit)) == 0) continue;
        if (end != g_force.ChannelList) *end++ = ',';
        end = std::copy_n(parts[bit], std::strlen(parts[bit]), end);
    }
    *end = '\0';
}

bool SettleSampleRate(double &sampleRate)
{
    if (std::fabs(sampleRate - kFastest) < kFastestWithin) sampleRate = g_force.MaxSampleRate;
    return sampleRate >= 0.0 && sampleRate <= g_force.MaxSampleRate;
}

void EndForceTask()
{
    void *task = LoadShared(g_force.TaskHandle);
    if (task == nullptr) return;
    (void)Daq().stopTask(task);
    (void)Daq().clearTask(task);
    StoreShared<void *>(g_force.TaskHandle, nullptr);
}

// The results are not looked at: a card that refuses shows by its fastest rate, or by its reads.
static void MakeFiniteTask()
{
    EndForceTask();  // a buffered thread that found no memory leaves one that owns the card
    void *task = nullptr;
    (void)Daq().createTask("ForceTask", &task);
    StoreShared(g_force.TaskHandle, task);
    (void)Daq().createAIVoltageChan(task, g_force.ChannelList, "", ZVK_DAQ_DIFFERENTIAL, -10.0,
                                    10.0, ZVK_DAQ_VOLTS, nullptr);
    (void)Daq().getSampClkMaxRate(task, &g_force.MaxSampleRate);
}

// Fills the block; the driver starts the task with the first read. 0, or ZVK_FORCE_NO_TRIGGER.
static int32_t ReadBlock(double *block, int32_t samples, int32_t channels, double timeoutS,
                         double *scratch)
{
    void *task = LoadShared(g_force.TaskHandle);
    const auto scratchSize = static_cast<uint32_t>(g_force.SamplesPerRead * channels);
    int32_t count = 0;
    int fruitless = 0;
    while (count < samples) {
        int32_t read = 0;
        const int32_t code =
            Daq().readAnalogF64(task, g_force.SamplesPerRead, timeoutS, ZVK_DAQ_BY_SCAN, scratch,
                                scratchSize, &read, nullptr);
        if (code == kSamplesNotYetAvailable) return ZVK_FORCE_NO_TRIGGER;
        fruitless = read > 0 ? 0 : fruitless + 1;
        if (fruitless >= kMostFruitlessReads) return ZVK_FORCE_NO_TRIGGER;
        const int32_t fits = std::clamp(read, 0, std::min(g_force.SamplesPerRead, samples - count));
        std::copy_n(scratch, static_cast<int64_t>(fits) * channels,
                    block + static_cast<int64_t>(count) * channels);
        count += fits;
    }
    return ZVK_SUCCESS;
}

// From the rate on. What returns early here leaves the task open and the module busy.
static int32_t AcquireOnCard(SessionHandle vi, double sampleRate, int32_t samples, double timeoutS,
                             double *block, int32_t channels, int32_t *numberOfChannels)
{
    MakeFiniteTask();
    if (!SettleSampleRate(sampleRate)) return ZVK_FORCE_BAD_SAMPLE_RATE;
    (void)Daq().cfgSampClkTiming(LoadShared(g_force.TaskHandle), "", sampleRate, ZVK_DAQ_RISING,
                                 ZVK_DAQ_FINITE, static_cast<uint64_t>(samples));
    const int32_t trigger =
        ZVK_Force_ConfigureTrigger(vi, g_force.TriggerType, g_force.TriggerEdge);
    if (Ends(trigger)) return trigger;

    double *scratch =
        AllocateArray<double>(static_cast<int64_t>(g_force.SamplesPerRead) * channels);
    const int32_t status = scratch == nullptr
                               ? static_cast<int32_t>(ZVK_FORCE_NO_MEMORY)
                               : ReadBlock(block, samples, channels, timeoutS, scratch);
    Release(scratch);
    EndForceTask();
    StoreShared(g_force.Busy, 0);
    if (numberOfChannels != nullptr) *numberOfChannels = channels;
    return status;
}

int32_t ZVK_Force_Acquire(SessionHandle SessionHandle, double SampleRate, int32_t NumberOfSamples,
                          double TimeOut, double **Data, int32_t Channels,
                          int32_t *NumberOfChannels)
{
    if (LoadShared(g_force.ThreadOwed) != 0) return ZVK_FORCE_BUSY;
    if (std::atomic_ref(g_force.Busy).exchange(1) != 0) return ZVK_FORCE_BUSY;
    // These two leave the module busy.
    if (g_force.Initialised == 0) return ZVK_FORCE_NOT_INITIALIZED;
    if (NumberOfSamples < g_force.SamplesPerRead) return ZVK_FORCE_TOO_FEW_SAMPLES;
    const double timeoutS = TimeOut < 0.0 ? kForEver : TimeOut;
    if (NumberOfSamples < 1) {
        StoreShared(g_force.Busy, 0);
        return ZVK_FORCE_BAD_SAMPLE_COUNT;
    }
    if (Channels < 1 || Channels > 7) {
        StoreShared(g_force.Busy, 0);
        return ZVK_FORCE_BAD_CHANNELS;
    }

    BuildChannelList(Channels);
    const int32_t channels = CountForceChannels(Channels);
    double *block = nullptr;
    if (Data != nullptr) {
        Release(*Data);
        block = AllocateArray<double>(static_cast<int64_t>(NumberOfSamples) * channels);
        *Data = block;
    }
    if (block == nullptr) {
        StoreShared(g_force.Busy, 0);
        return ZVK_FORCE_NO_MEMORY;
    }
    if (g_force.Simulate != 0) return ZVK_SUCCESS;

    return AcquireOnCard(SessionHandle, SampleRate, NumberOfSamples, timeoutS, block, channels,
                         NumberOfChannels);
}
