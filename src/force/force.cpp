// The force module: how it comes up, its trigger, and its end.

#include "force/force.h"

#include "files/key_table.h"
#include "force/force_keys.h"
#include "platform/daqmx.h"
#include "quorvex/confile.h"
#include "steering/check_status.h"

#include <algorithm>
#include <cstring>
#include <string>

constexpr size_t kChannelTextLimit = 256;

ZVK_ForceState g_force;

// "/card/channels", cut off at 256 characters.
static void PutChannels(char *field, const char *device, const char *channels) noexcept
{
    char text[2 * sizeof(ZVK_KeyText) + 2];
    char *end = text;
    *end++ = '/';
    end = std::copy_n(device, std::strlen(device), end);
    *end++ = '/';
    end = std::copy_n(channels, std::strlen(channels), end);
    const size_t length = std::min(static_cast<size_t>(end - text), kChannelTextLimit);
    *std::copy_n(text, length, field) = '\0';
}

static void PutAllChannels(const ZVK_ForceKeys &keys)
{
    const struct
    {
        char *field;
        const ZVK_KeyText &channels;
    } rows[] = {
        {g_force.ChannelsA, keys.channelsA},
        {g_force.ChannelsB, keys.channelsB},
        {g_force.ChannelT, keys.channelT},
        {g_force.TriggerChannelExternal, keys.triggerExternal},
        {g_force.TriggerChannelInternal, keys.triggerInternal},
    };
    for (const auto &row : rows)
        PutChannels(row.field, keys.device.text, row.channels.text);
}

// The fastest rate of the reference channel, by a task that is made for this alone. Gives the
// result of the last call that was made.
static int32_t AskForSingleChannelRate()
{
    void *task = nullptr;
    int32_t code = Daq().createTask("ForceTask", &task);
    if (code < 0) return code;
    StoreShared(g_force.TaskHandle, task);
    code = Daq().createAIVoltageChan(task, g_force.ChannelT, "", ZVK_DAQ_DIFFERENTIAL, -10.0, 10.0,
                                     ZVK_DAQ_VOLTS, nullptr);
    if (code < 0) return code;
    code = Daq().getSampClkMaxRate(task, &g_force.MaxSampleRateSingleChannel);
    if (code < 0) return code;
    StoreShared<void *>(g_force.TaskHandle, nullptr);
    return Daq().clearTask(task);  // the handle is dead, whatever the answer
}

static int32_t BringUpCard(SessionHandle vi)
{
    ZVK_ForceKeys keys;
    const int32_t status = ReadKeys(vi, "config.ini", kForceSection, kForceCardKeys, &keys);
    g_force.TriggerType = keys.triggerInput;
    if (status < 0) return status;
    if (keys.triggerEdge != 0 && keys.triggerEdge != 1) return ZVK_FORCE_BAD_TRIGGER_EDGE;
    g_force.TriggerEdge = keys.triggerEdge == 0 ? ZVK_DAQ_RISING : ZVK_DAQ_FALLING;
    PutAllChannels(keys);

    if (AskForSingleChannelRate() == 0) {
        g_force.Initialised = 1;
        return ZVK_SUCCESS;
    }
    void *task = LoadShared(g_force.TaskHandle);
    if (task != nullptr) (void)Daq().clearTask(task);
    StoreShared<void *>(g_force.TaskHandle, nullptr);
    StoreShared(g_force.Busy, 0);
    return ZVK_FORCE_DAQ_FAILED;
}

int32_t ZVK_Force_Init(SessionHandle SessionHandle, uint16_t, uint16_t)
{
    if (g_force.Initialised != 0) return ZVK_FORCE_ALREADY_INITIALIZED;
    ZVK_ForceKeys keys;
    const int32_t status =
        ReadKeys(SessionHandle, "config.ini", kForceSection, kForceModeKeys, &keys);
    g_force.Installed = keys.installed;
    g_force.Simulate = keys.simulate;
    if (status < 0) return status;
    if (g_force.Installed == 0 || g_force.Simulate != 0) {
        g_force.Initialised = 1;
        return ZVK_SUCCESS;
    }
    return BringUpCard(SessionHandle);
}

int32_t ZVK_Force_GetInitStatus(SessionHandle, int32_t *Status)
{
    if (Status == nullptr) return ZVK_SUCCESS;
    *Status = 1;
    if (g_force.Simulate != 0) *Status = 2;
    if (g_force.Installed == 0) *Status = -1;
    if (g_force.Initialised == 0) *Status = 0;
    return ZVK_SUCCESS;
}

// The terminal comes without the card's name, as the key has it.
static int32_t ApplyDigitalTrigger(SessionHandle vi, const char *key, int32_t edge)
{
    ZVK_KeyText terminal = {};
    const int32_t status =
        ZVK_ConFile_Read(vi, "config.ini", kForceSection, key, terminal.text, ZVK_CONFILE_STRING);
    if (Ends(status)) return status;
    void *task = LoadShared(g_force.TaskHandle);
    if (task != nullptr) (void)Daq().cfgDigEdgeStartTrig(task, terminal.text, edge);
    return ZVK_SUCCESS;
}

int32_t ZVK_Force_ConfigureTrigger(SessionHandle SessionHandle, int32_t TriggerType,
                                   int32_t TriggerEdge)
{
    if (g_force.Simulate != 0) return ZVK_SUCCESS;
    if (g_force.Initialised == 0) return ZVK_FORCE_NOT_INITIALIZED;
    if (TriggerEdge != ZVK_DAQ_RISING && TriggerEdge != ZVK_DAQ_FALLING)
        return ZVK_FORCE_BAD_TRIGGER_EDGE;
    g_force.TriggerType = TriggerType;
    g_force.TriggerEdge = TriggerEdge;
    switch (TriggerType) {
    case ZVK_FORCE_TRIGGER_EXTERNAL:
        return ApplyDigitalTrigger(SessionHandle, "DAQCHANNELSTDE", TriggerEdge);
    case ZVK_FORCE_TRIGGER_INTERNAL:
        return ApplyDigitalTrigger(SessionHandle, "DAQCHANNELSTDI", TriggerEdge);
    case ZVK_FORCE_TRIGGER_NONE: {
        void *task = LoadShared(g_force.TaskHandle);
        if (task != nullptr)
            (void)Daq().setTrigAttribute(task, ZVK_DAQ_START_TRIGGER_TYPE,
                                         static_cast<int32_t>(ZVK_DAQ_NO_TRIGGER));
        return ZVK_SUCCESS;
    }
    default: return ZVK_FORCE_BAD_TRIGGER_TYPE;
    }
}

int32_t ZVK_Force_GetMaxSampleRateSingleChannel(SessionHandle, double *MaxSampleRate)
{
    if (MaxSampleRate) *MaxSampleRate = g_force.MaxSampleRateSingleChannel;
    return ZVK_SUCCESS;
}

int32_t ZVK_Force_Shutdown(SessionHandle)
{
    if (g_force.Initialised == 0 || g_force.Installed == 0 || g_force.Simulate != 0)
        return ZVK_SUCCESS;
    if (LoadShared(g_force.TaskHandle) == nullptr) return ZVK_SUCCESS;
    EndTaskAndThread();  // a thread would go on reading from a task that is gone
    return ZVK_SUCCESS;
}
