// Buffered acquisition: a thread fills a ring of buffers, a client grabs them.
//
// The ring's lock guards the nodes and the step from one to the next. It is held for one copy at
// most, never while the card is read or a message goes out. The calls' lock keeps a start and a
// stop apart; the thread never takes it.

#include "force/force.h"
#include "platform/daqmx.h"
#include "platform/memory.h"
#include "platform/messages.h"
#include "platform/threads.h"

#include <algorithm>
#include <mutex>

constexpr int32_t kSamplesNotYetAvailable = -200284;  // the driver's: a read timed out
constexpr double kReadTimeoutS = 10.0;
constexpr int kMostFruitlessReads = 10;  // of a card that is gone
constexpr double kStopAgainS = 0.05;
constexpr int kUpperPart = 22;  // bits of the lower part of a message's number

// Neither needs to be made or destroyed: the thread may still run when the process ends.
static std::mutex &RingLock()
{
    static constinit std::mutex s_ring;
    return s_ring;
}

static std::mutex &CallsLock()
{
    static constinit std::mutex s_calls;
    return s_calls;
}

static int64_t Pack(int32_t upper, int64_t lower)
{
    return (static_cast<int64_t>(upper) << kUpperPart) | (lower & ((1 << kUpperPart) - 1));
}

// -- the ring --

static void FreeNodes(ZVK_ForceBuffer *ring)
{
    if (ring == nullptr) return;
    ZVK_ForceBuffer *node = ring->Next;
    ring->Next = nullptr;  // opened, so that the walk ends with the ring's own node
    while (node != nullptr) {
        ZVK_ForceBuffer *next = node->Next;
        Release(node->Data);
        Release(node);
        node = next;
    }
}

void FreeRing()
{
    const std::lock_guard lock(RingLock());
    FreeNodes(g_force.Ring);
    g_force.Ring = nullptr;
}

static ZVK_ForceBuffer *MakeNode(int32_t number, int64_t samples)
{
    auto *node = AllocateArray<ZVK_ForceBuffer>(1);
    if (node == nullptr) return nullptr;
    *node = {number, 1, AllocateArray<double>(samples), nullptr};
    if (node->Data == nullptr) Release(node);
    return node;
}

// From the last number down, each put at the head. Null when memory runs out.
static ZVK_ForceBuffer *MakeRing(int32_t buffers, int64_t samples)
{
    ZVK_ForceBuffer *last = MakeNode(buffers, samples);
    if (last == nullptr) return nullptr;
    last->Next = last;
    ZVK_ForceBuffer *head = last;
    for (int32_t number = buffers - 1; number >= 1; --number) {
        ZVK_ForceBuffer *node = MakeNode(number, samples);
        if (node == nullptr) {
            FreeNodes(last);
            return nullptr;
        }
        node->Next = head;
        head = node;
        last->Next = head;
    }
    return head;
}

// -- the thread --

namespace {

// What the thread's loop carries from read to read.
struct Reading
{
    double *scratch = nullptr;  // one read of all channels
    int32_t count = 0;          // samples a channel in the buffer that is being filled
    int32_t status = ZVK_SUCCESS;
    int fruitless = 0;
};

enum class Piece
{
    stored,
    timedOut,
    refused  // again and again: the card is gone
};

}  // namespace

static Piece ReadPiece(Reading &reading)
{
    const int32_t channels = g_force.BufferedChannels;
    int32_t read = 0;
    const int32_t code = Daq().readAnalogF64(
        LoadShared(g_force.TaskHandle), kForceSamplesPerRead, kReadTimeoutS, ZVK_DAQ_BY_SCAN,
        reading.scratch, static_cast<uint32_t>(kForceSamplesPerRead * channels), &read, nullptr);
    const int32_t room = g_force.BufferedSamples - reading.count;
    const int32_t fits = std::clamp(read, 0, std::min(kForceSamplesPerRead, room));
    if (fits > 0) {
        const std::lock_guard lock(RingLock());
        std::copy_n(reading.scratch, static_cast<int64_t>(fits) * channels,
                    g_force.Ring->Data + static_cast<int64_t>(reading.count) * channels);
        reading.count += fits;
    }
    if (code == kSamplesNotYetAvailable) {
        reading.status = ZVK_FORCE_NO_TRIGGER;
        return Piece::timedOut;
    }
    reading.fruitless = fits > 0 ? 0 : reading.fruitless + 1;
    return reading.fruitless < kMostFruitlessReads ? Piece::stored : Piece::refused;
}

static bool NextBufferIsFree()
{
    const std::lock_guard lock(RingLock());
    return g_force.Ring != nullptr && g_force.Ring->Free != 0;
}

// The buffer is marked before the message goes out, so that a client that reacts at once finds it,
// and the ring moves on behind it.
static void HandOver(Reading &reading)
{
    int32_t number = 0;
    {
        const std::lock_guard lock(RingLock());
        g_force.Ring->Free = 0;
        number = g_force.Ring->BufferNumber;
    }
    const int32_t channels = g_force.BufferedChannels;
    (void)Messages().post(
        g_force.BufferMessage,
        Pack(g_force.BufferedChannelMask, static_cast<int64_t>(reading.count) * channels),
        Pack(number, channels));
    const std::lock_guard lock(RingLock());
    g_force.Ring = g_force.Ring->Next;
    reading.count = 0;
}

// False when the thread has to end by itself.
static bool FillOneBuffer(Reading &reading)
{
    if (!NextBufferIsFree()) return false;
    while (reading.count < g_force.BufferedSamples) {
        if (LoadShared(g_force.KeepRunning) == 0) return true;
        const Piece piece = ReadPiece(reading);
        if (piece == Piece::timedOut) break;
        if (piece == Piece::refused) return false;
    }
    HandOver(reading);
    return true;
}

static void FillBuffers(Reading &reading)
{
    while (LoadShared(g_force.KeepRunning) != 0) {
        if (FillOneBuffer(reading)) continue;
        StoreShared(g_force.ReadStatus, 0);
        StoreShared(g_force.KeepRunning, 0);
    }
}

int ZVK_Force_AcquireBufferedLoop(void *)
{
    Reading reading;
    reading.scratch = AllocateArray<double>(static_cast<int64_t>(kForceSamplesPerRead) *
                                            g_force.BufferedChannels);
    if (reading.scratch == nullptr) {
        StoreShared(g_force.ThreadOwed, 0);
        return ZVK_FORCE_NO_MEMORY;
    }
    g_force.BufferMessage = Messages().registerName(ZVK_FORCE_BUFFER_MESSAGE);
    StoreShared(g_force.ReadStatus, 1);
    StoreShared(g_force.ThreadAlive, 1);
    StoreShared(g_force.KeepRunning, 1);
    StoreShared(g_force.Busy, 1);
    // A stop that came before this thread did: its request would be lost in the line above.
    if (LoadShared(g_force.StopWanted) != 0) StoreShared(g_force.KeepRunning, 0);
    if (LoadShared(g_force.KeepRunning) != 0) (void)Daq().startTask(LoadShared(g_force.TaskHandle));
    FillBuffers(reading);
    Release(reading.scratch);
    StoreShared(g_force.ThreadAlive, 0);
    StoreShared(g_force.ThreadOwed, 0);
    return reading.status;
}

// The task is stopped before the wait, so that a read that waits for samples comes back at once,
// and again while the thread is still there: a read that it began just behind the stop has started
// the task anew.
static void StopTaskAndThread()
{
    StoreShared(g_force.StopWanted, 1);
    StoreShared(g_force.KeepRunning, 0);
    void *task = LoadShared(g_force.TaskHandle);
    if (task != nullptr) (void)Daq().stopTask(task);
    if (g_force.PoolFunctionId == -1) return;
    while (Threads().waitAtMost(g_force.PoolFunctionId, kStopAgainS) > 0) {
        if (task != nullptr) (void)Daq().stopTask(task);
    }
    (void)Threads().release(g_force.PoolFunctionId);
    g_force.PoolFunctionId = -1;
}

// False when there was no task.
static bool ClearTask()
{
    void *task = LoadShared(g_force.TaskHandle);
    if (task == nullptr) return false;
    (void)Daq().clearTask(task);
    StoreShared<void *>(g_force.TaskHandle, nullptr);
    return true;
}

void EndTaskAndThread()
{
    const std::lock_guard calls(CallsLock());
    StopTaskAndThread();
    (void)ClearTask();
}

// -- the calls --

static int32_t CheckBuffers(int32_t buffers, int32_t samples, int32_t mask)
{
    if (samples < 1) return ZVK_FORCE_BAD_SAMPLE_COUNT;
    if (samples < g_force.SamplesPerRead) return ZVK_FORCE_TOO_FEW_SAMPLES;
    if (buffers < 2) return ZVK_FORCE_BAD_SAMPLE_COUNT;
    if (mask < 1 || mask > 7) return ZVK_FORCE_BAD_CHANNELS;
    return ZVK_SUCCESS;
}

static bool PrepareRing(int32_t buffers, int32_t samples, int32_t mask)
{
    FreeRing();
    const int32_t channels = CountForceChannels(mask);
    ZVK_ForceBuffer *ring = MakeRing(buffers, static_cast<int64_t>(samples) * channels);
    const std::lock_guard lock(RingLock());
    g_force.BufferedSamples = samples;
    g_force.BufferedChannelMask = mask;
    g_force.BufferedChannels = channels;
    g_force.BufferCount = buffers;
    g_force.Ring = ring;
    return ring != nullptr;
}

static int32_t MakeContinuousTask(double sampleRate)
{
    void *task = nullptr;
    int32_t code = Daq().createTask("ForceTask", &task);
    if (code < 0) return code;
    StoreShared(g_force.TaskHandle, task);
    code = Daq().createAIVoltageChan(task, g_force.ChannelList, "", ZVK_DAQ_DIFFERENTIAL, -10.0,
                                     10.0, ZVK_DAQ_VOLTS, nullptr);
    if (code < 0) return code;
    code = Daq().getSampClkMaxRate(task, &g_force.MaxSampleRate);
    if (code < 0) return code;
    if (!SettleSampleRate(sampleRate)) return ZVK_FORCE_BAD_SAMPLE_RATE;
    return Daq().cfgSampClkTiming(task, "", sampleRate, ZVK_DAQ_RISING, ZVK_DAQ_CONTINUOUS,
                                  static_cast<uint64_t>(g_force.BufferedSamples));
}

static int32_t StartThread()
{
    StoreShared(g_force.StopWanted, 0);
    StoreShared(g_force.ThreadOwed, 1);
    const int32_t code =
        Threads().schedule(ZVK_Force_AcquireBufferedLoop, nullptr, &g_force.PoolFunctionId);
    if (code == 0) return ZVK_SUCCESS;
    StoreShared(g_force.ThreadOwed, 0);
    g_force.PoolFunctionId = -1;
    return code;
}

int32_t ZVK_Force_AcquireBuffered(SessionHandle, double SampleRate, int32_t NumberOfBuffers,
                                  int32_t NumberOfSamples, double, int32_t Channels,
                                  int32_t *NumberOfChannels)
{
    const std::lock_guard calls(CallsLock());
    if (NumberOfChannels != nullptr) *NumberOfChannels = 0;
    if (LoadShared(g_force.Busy) != 0 || LoadShared(g_force.ThreadOwed) != 0) return ZVK_FORCE_BUSY;
    if (g_force.Initialised == 0) return ZVK_FORCE_NOT_INITIALIZED;
    const int32_t check = CheckBuffers(NumberOfBuffers, NumberOfSamples, Channels);
    if (check < 0) return check;

    BuildChannelList(Channels);
    if (!PrepareRing(NumberOfBuffers, NumberOfSamples, Channels)) return ZVK_FORCE_NO_MEMORY;
    if (g_force.Simulate != 0) return ZVK_SUCCESS;

    StopTaskAndThread();  // one that ended before it began leaves its id and the task
    (void)ClearTask();
    int32_t status = MakeContinuousTask(SampleRate);
    if (status == ZVK_SUCCESS) status = StartThread();
    if (status == ZVK_SUCCESS) {
        if (NumberOfChannels != nullptr) *NumberOfChannels = CountForceChannels(Channels);
        return ZVK_SUCCESS;
    }
    // The ring stays; a handle that is dead would name another task one day.
    (void)ClearTask();
    StoreShared(g_force.Busy, 0);
    return status;
}

// The node of that number; the search starts behind the node that will be filled next.
static ZVK_ForceBuffer *FindBuffer(int32_t number)
{
    if (g_force.Ring == nullptr) return nullptr;
    ZVK_ForceBuffer *node = g_force.Ring->Next;
    for (int32_t step = 0; step <= g_force.BufferCount; ++step) {
        if (node->BufferNumber == number) return node;
        node = node->Next;
    }
    return nullptr;
}

int32_t ZVK_Force_GrabBuffer(SessionHandle, int32_t BufferNumber, double **Data,
                             int32_t *ReadStatus)
{
    const std::lock_guard lock(RingLock());
    if (ReadStatus != nullptr) *ReadStatus = LoadShared(g_force.ReadStatus);
    if (LoadShared(g_force.ThreadAlive) == 0) {
        if (Data != nullptr) *Data = nullptr;
        return ZVK_SUCCESS;
    }
    ZVK_ForceBuffer *node = FindBuffer(BufferNumber);
    if (node == nullptr) return ZVK_FORCE_BAD_BUFFER;
    if (Data == nullptr || *Data == nullptr) return ZVK_FORCE_BAD_BUFFER;
    std::copy_n(node->Data,
                static_cast<int64_t>(g_force.BufferedSamples) * g_force.BufferedChannels, *Data);
    node->Free = 1;
    return ZVK_SUCCESS;
}

int32_t ZVK_Force_StopAcquireBuffered(SessionHandle)
{
    const std::lock_guard calls(CallsLock());
    if (g_force.Initialised == 0) return ZVK_FORCE_NOT_INITIALIZED;
    if (g_force.Simulate != 0) {
        StoreShared(g_force.KeepRunning, 0);
        g_force.Initialised = 0;
        return ZVK_SUCCESS;
    }
    StopTaskAndThread();
    if (ClearTask()) StoreShared(g_force.Busy, 0);
    FreeRing();
    return ZVK_SUCCESS;
}
