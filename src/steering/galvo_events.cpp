// What runs at each block: the card's output event on the driver's thread, and in simulation the
// tick of a timer.

#include "platform/daqmx.h"
#include "platform/threads.h"
#include "steering/galvo.h"
#include "steering/galvo_gate.h"

#include <algorithm>

constexpr double kWriteTimeoutS = 10.0;

// Sends a copy of the samples, so that a client may rebuild them while the card takes the block.
static int32_t WriteNextBlock()
{
    const double *block = nullptr;
    int32_t samplesPerChan = 0;
    {
        const std::lock_guard data(GalvoData());
        if (g_galvoDaq.eventBlock == nullptr) return 0;
        std::copy_n(g_galvoDaq.buffer, g_galvoDaq.bufferSamples, g_galvoDaq.eventBlock);
        block = g_galvoDaq.eventBlock;
        samplesPerChan = static_cast<int32_t>(g_galvoDaq.bufferSamples / 4);
    }
    return Daq().writeAnalogF64(LoadTask(), samplesPerChan, 0, kWriteTimeoutS, ZVK_DAQ_BY_CHANNEL,
                                block, nullptr, nullptr);
}

// The card refused a block: the task is built anew. Its samples start at 0 V again and stay there
// until the next rebuild of slots; the waypoints are as they were.
static void Recover()
{
    const GalvoRecoveryClaim claim;
    if (!claim.Held() || LoadFlag(g_galvoDaq.daqRunning) == 0) return;
    (void)Daq().stopTask(LoadTask());
    (void)Daq().clearTask(LoadTask());
    StoreFlag(g_galvoDaq.writeStatus, 0);
    StoreTask(nullptr);
    {
        const std::lock_guard data(GalvoData());
        FreeSamples();
    }
    StoreFlag(g_galvoDaq.daqInitialized, 0);
    (void)ZVK_Galvo_DaqInit(0, 1);
}

int32_t ZVK_Galvo_OnEveryNSamplesEvent(void *, int32_t, uint32_t, void *)
{
    const GalvoEventScope inside;
    if (LoadTask() == nullptr) return 0;
    int32_t written = 0;
    (void)ZVK_Galvo_UpdateBuffer();  // a skipped block is no matter: the old samples go out
    if (LoadFlag(g_galvoDaq.daqRunning) == 1) written = WriteNextBlock();
    StoreFlag(g_galvoDaq.writeStatus, 1);
    if (written < 0 && LoadFlag(g_galvoDaq.daqRunning) != 0) Recover();
    return 0;
}

int ZVK_Galvo_SimEveryNSamplesEvent(int, int, int event, void *, int, int)
{
    if (event == ZVK_EVENT_DISCARD) StoreFlag(g_galvoDaq.simTimerId, -1);
    if (event != ZVK_EVENT_TIMER_TICK) return 0;
    SetUpdating(1);
    (void)ZVK_Galvo_UpdateBuffer();
    SetUpdating(0);
    StoreFlag(g_galvoDaq.writeStatus, 1);
    return 0;
}
