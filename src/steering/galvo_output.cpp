// The output: one continuous task over the four mirrors, or in simulation a timer. How it is
// started, fed by clients and stopped; galvo_events.cpp has what runs at each block.

#include "files/key_table.h"
#include "platform/clock.h"
#include "platform/daqmx.h"
#include "platform/memory.h"
#include "platform/threads.h"
#include "quorvex/confile.h"
#include "steering/galvo.h"
#include "steering/galvo_gate.h"
#include "steering/galvo_keys.h"

#include <algorithm>
#include <limits>
#include <new>
#include <string>

constexpr double kMinVolts = -10.0;  // the card's output range
constexpr double kMaxVolts = 10.0;
constexpr double kWriteTimeoutS = 10.0;
constexpr double kSettleS = 1.0;  // after the task has been cleared
constexpr double kSimulatedTickS = 0.5;
constexpr double kMaxStepVolts = 0.0008;
constexpr uint32_t kUsbRequestBytes = 0x1833;
constexpr int32_t kErrorTextSize = 4096;
constexpr int32_t kMostSamplesPerChan = std::numeric_limits<int32_t>::max() / 4;

ZVK_GalvoDaq g_galvoDaq;

void FreeSamples()
{
    Release(g_galvoDaq.buffer);
    g_galvoDaq.eventBlock = nullptr;
    g_galvoDaq.callerBlock = nullptr;
    g_galvoDaq.bufferSamples = 0;
}

// 4 N samples of 0 V, with `copies` more blocks of that size behind them. Data lock held.
static bool AllocateSamples(int copies)
{
    FreeSamples();
    const int32_t n = g_galvoDaq.samplesPerChan;
    if (n < 0 || n > kMostSamplesPerChan) return false;
    const int64_t samples = 4 * static_cast<int64_t>(n);
    double *buffer = AllocateArray<double>(samples * (1 + copies));
    if (buffer == nullptr) return false;
    g_galvoDaq.buffer = buffer;
    g_galvoDaq.bufferSamples = samples;
    if (copies > 0) {
        g_galvoDaq.eventBlock = buffer + samples;
        g_galvoDaq.callerBlock = buffer + 2 * samples;
    }
    return true;
}

void ClearLeftOverTask()
{
    void *task = LoadTask();
    if (task == nullptr) return;
    (void)Daq().clearTask(task);  // a task that is kept would keep its device reserved
    StoreTask(nullptr);
}

// The driver's own words go to the log; the status tells only that the card failed.
static int32_t LogDaqFailure()
{
    std::string text(kErrorTextSize, '\0');
    (void)Daq().getExtendedErrorInfo(text.data(), kErrorTextSize);
    (void)ZVK_ConFile_WriteLog(0, "log.ini", text.c_str());
    return ZVK_GALVO_DAQ_FAILED;
}

static int32_t StartSimulated(int32_t autoUpdate)
{
    if (autoUpdate != 0) {
        // One timer only: a second one would double the pace and could not be stopped.
        const int32_t former = LoadFlag(g_galvoDaq.simTimerId);
        if (former != -1) (void)Threads().discardTimer(former);
        const int id =
            Threads().startTimer(kSimulatedTickS, ZVK_Galvo_SimEveryNSamplesEvent, nullptr);
        StoreFlag(g_galvoDaq.simTimerId, id > 0 ? id : -1);
    }
    const std::lock_guard data(GalvoData());
    if (!AllocateSamples(0)) return ZVK_GALVO_NO_MEMORY;
    StoreFlag(g_galvoDaq.daqInitialized, 1);
    return ZVK_SUCCESS;
}

void DiscardSimulatedTimer()
{
    const int32_t id = LoadFlag(g_galvoDaq.simTimerId);
    if (id == -1) return;
    (void)Threads().discardTimer(id);
    StoreFlag(g_galvoDaq.simTimerId, -1);
}

// Task, channels and clock: what fails here is logged.
static bool MakeTask(const std::string &channels, const std::string &clockSource)
{
    void *task = nullptr;
    if (Daq().createTask("", &task) < 0) return false;
    StoreTask(task);
    if (Daq().createAOVoltageChan(task, channels.c_str(), "", kMinVolts, kMaxVolts, ZVK_DAQ_VOLTS,
                                  "") < 0)
        return false;
    return Daq().cfgSampClkTiming(task, clockSource.c_str(), g_galvoDaq.clockRate, ZVK_DAQ_RISING,
                                  ZVK_DAQ_CONTINUOUS,
                                  static_cast<uint64_t>(g_galvoDaq.samplesPerChan)) >= 0;
}

// How blocks travel to the card: what fails here is answered with the driver's own code.
static int32_t ConfigureStream(const std::string &channels)
{
    void *task = LoadTask();
    int32_t code = Daq().setChanAttribute(task, channels.c_str(), ZVK_DAQ_AO_TRANSFER_CONDITION,
                                          ZVK_DAQ_ON_BOARD_MEMORY_EMPTY);
    if (code < 0) return code;
    code = Daq().setChanAttribute(task, channels.c_str(), ZVK_DAQ_AO_USB_REQUEST_SIZE,
                                  kUsbRequestBytes);
    if (code < 0) return code;
    code = Daq().setWriteAttribute(task, ZVK_DAQ_WRITE_REGENERATION, ZVK_DAQ_NO_REGENERATION);
    if (code < 0) return code;
    if (g_galvoDaq.autoUpdate == 1) {
        (void)Daq().registerEveryNSamplesEvent(task, ZVK_DAQ_TRANSFERRED,
                                               static_cast<uint32_t>(g_galvoDaq.everyNSamples), 0,
                                               ZVK_Galvo_OnEveryNSamplesEvent, nullptr);
    }
    return Daq().cfgOutputBuffer(task, static_cast<uint32_t>(g_galvoDaq.samplesPerChan));
}

// A block of 0 V, and where each mirror's samples start in it.
static int32_t PrepareSamples()
{
    const std::lock_guard data(GalvoData());
    if (!AllocateSamples(2)) return ZVK_GALVO_NO_MEMORY;
    for (int32_t path = 0; path < kPathCount; ++path) {
        ZVK_GalvoState &row = g_galvo[path];
        if (row.initialized == 0) continue;
        row.xSampleOffset = 2 * path * g_galvoDaq.samplesPerChan;
        row.ySampleOffset = row.xSampleOffset + g_galvoDaq.samplesPerChan;
    }
    return ZVK_SUCCESS;
}

static int32_t StartHardware(const std::string &device)
{
    if ((g_galvoDaq.backend & 1) == 0) return ZVK_GALVO_NOT_CONFIGURED;
    DiscardSimulatedTimer();  // of a session that was simulated before
    ClearLeftOverTask();

    const std::string channels = device + "/ao0:3";
    const std::string clockSource = g_galvoDaq.trigger != 0 ? device + "/pfi1" : "";
    if (!MakeTask(channels, clockSource)) return LogDaqFailure();
    const int32_t code = ConfigureStream(channels);
    if (code < 0) return code;
    const int32_t status = PrepareSamples();
    if (status < 0) return status;

    const int32_t written =
        Daq().writeAnalogF64(LoadTask(), g_galvoDaq.samplesPerChan, 0, kWriteTimeoutS,
                             ZVK_DAQ_BY_CHANNEL, g_galvoDaq.buffer, nullptr, nullptr);
    if (written < 0) return written;
    if (Daq().startTask(LoadTask()) < 0) return LogDaqFailure();
    StoreFlag(g_galvoDaq.dataReady, 1);
    StoreFlag(g_galvoDaq.daqRunning, 1);
    StoreFlag(g_galvoDaq.daqInitialized, 1);
    return ZVK_SUCCESS;
}

// Reads the section's keys; those that stand before one that fails are kept.
static int32_t ReadSettings(SessionHandle vi, std::string &device)
{
    ZVK_OutputKeys keys = {g_galvoDaq.backend,
                           g_galvoDaq.clockRate,
                           g_galvoDaq.samplesPerChan,
                           g_galvoDaq.everyNSamples,
                           g_galvoDaq.trigger,
                           g_galvoDaq.simulate,
                           {}};
    const int32_t status = ReadKeys(vi, "config.ini", kOutputSection, kOutputKeys, &keys);

    const std::lock_guard data(GalvoData());
    g_galvoDaq.backend = keys.backend;
    g_galvoDaq.clockRate = keys.clockRate;
    g_galvoDaq.samplesPerChan = keys.samplesPerChan;
    g_galvoDaq.everyNSamples = keys.everyNSamples;
    g_galvoDaq.trigger = keys.trigger;
    StoreFlag(g_galvoDaq.simulate, keys.simulate);
    device = keys.device.text;
    return status;
}

static int32_t StartOutput(SessionHandle vi, int32_t autoUpdate)
{
    std::string device;
    const int32_t status = ReadSettings(vi, device);
    if (status < 0) return status;
    g_galvoDaq.autoUpdate = autoUpdate;
    g_galvoDaq.maxStep = kMaxStepVolts;
    if (g_galvoDaq.simulate != 0) {
        const int32_t started = StartSimulated(autoUpdate);
        if (started < 0) DiscardSimulatedTimer();
        return started;
    }
    return StartHardware(device);
}

int32_t ZVK_Galvo_DaqInit(SessionHandle SessionHandle, int32_t autoUpdate)
{
    const GalvoClaim claim;
    if (LoadFlag(g_galvoDaq.daqInitialized) != 0) return ZVK_GALVO_DAQ_ALREADY_INITIALIZED;
    try {
        return StartOutput(SessionHandle, autoUpdate);
    } catch (const std::bad_alloc &) {
        return ZVK_GALVO_NO_MEMORY;
    }
}

void SendSamples(double timeoutS)
{
    if (LoadFlag(g_galvoDaq.simulate) != 0) return;
    int32_t samplesPerChan = 0;
    {
        // A copy, since an update may run while the card waits for room.
        const std::lock_guard data(GalvoData());
        if (g_galvoDaq.callerBlock == nullptr) return;
        std::copy_n(g_galvoDaq.buffer, g_galvoDaq.bufferSamples, g_galvoDaq.callerBlock);
        samplesPerChan = static_cast<int32_t>(g_galvoDaq.bufferSamples / 4);
    }
    (void)Daq().writeAnalogF64(LoadTask(), samplesPerChan, 0, timeoutS, ZVK_DAQ_BY_CHANNEL,
                               g_galvoDaq.callerBlock, nullptr, nullptr);
}

int32_t ZVK_Galvo_WriteBuffer(SessionHandle)
{
    const GalvoClaim claim;
    if (LoadFlag(g_galvoDaq.daqInitialized) == 0) return ZVK_GALVO_NOT_CONFIGURED;
    if (LoadFlag(g_galvoDaq.dataReady) != 1 || LoadFlag(g_galvoDaq.updating) == 1)
        return ZVK_GALVO_NOT_READY;
    SendSamples(kWriteTimeoutS);
    StoreFlag(g_galvoDaq.writeStatus, 1);
    return ZVK_SUCCESS;
}

static void StopHardware()
{
    if (LoadTask() != nullptr) {
        GalvoStopScope stop;
        StoreFlag(g_galvoDaq.daqRunning, 0);
        (void)Daq().stopTask(LoadTask());
        (void)Daq().clearTask(LoadTask());
        Clock().delay(kSettleS);
        StoreTask(nullptr);
        stop.WaitForEvents();  // a callback may still be inside with its block
    }
    const std::lock_guard data(GalvoData());
    FreeSamples();
}

int32_t ZVK_Galvo_DaqStop(SessionHandle)
{
    const GalvoClaim claim;
    if (LoadFlag(g_galvoDaq.daqInitialized) == 0) return ZVK_SUCCESS;
    if (LoadFlag(g_galvoDaq.simulate) == 0) {
        StopHardware();
    } else {
        DiscardSimulatedTimer();
    }
    StoreFlag(g_galvoDaq.daqInitialized, 0);
    return ZVK_SUCCESS;
}

int32_t ZVK_Galvo_DaqClkUpdate(SessionHandle, int32_t onOff)
{
    const GalvoClaim claim;
    if (LoadFlag(g_galvoDaq.daqInitialized) == 0) return ZVK_GALVO_NOT_CONFIGURED;
    {
        GalvoStopScope stop;
        // Simulated too, where there is no task: the driver refuses, and nobody minds.
        (void)Daq().stopTask(LoadTask());
        (void)Daq().clearTask(LoadTask());
        StoreTask(nullptr);
        StoreFlag(g_galvoDaq.daqInitialized, 0);
        stop.WaitForEvents();
    }
    (void)ZVK_Galvo_DaqInit(0, onOff);  // its result is not passed on
    return ZVK_SUCCESS;
}

int32_t ZVK_Galvo_GetBufferParameters(SessionHandle, int32_t *clockRate, int32_t *buffSize)
{
    const std::lock_guard data(GalvoData());
    if (clockRate) *clockRate = g_galvoDaq.clockRate;
    if (buffSize) *buffSize = static_cast<int32_t>(4LL * g_galvoDaq.samplesPerChan);
    return ZVK_SUCCESS;
}

int32_t ZVK_Galvo_GetBufferWriteStatus(SessionHandle, int32_t *writeStatus)
{
    if (writeStatus) *writeStatus = LoadFlag(g_galvoDaq.writeStatus);
    return ZVK_SUCCESS;
}
