// The output of each path: a task over one channel of the second card, written one value at a time.

#include "files/key_table.h"
#include "instruments/beampower.h"
#include "instruments/beampower_keys.h"
#include "quorvex/confile.h"

#include <new>
#include <string>

constexpr double kMinVolts = -10.0;  // the card's output range
constexpr double kMaxVolts = 10.0;
constexpr double kWriteTimeoutS = 10.0;
constexpr uint32_t kAutoStart = 1;
constexpr uint32_t kErrorTextSize = 4096;
static const char *const kChannels[kBeamPowerPaths] = {"/ao0", "/ao1"};

ZVK_BeamPowerDaq g_beamPowerDaq[kBeamPowerPaths];

// The driver's own words go to the log; the status tells only what was tried.
static int32_t LogDaqFailure(int32_t status)
{
    char text[kErrorTextSize + 1] = "";
    (void)Daq().getExtendedErrorInfo(text, kErrorTextSize);
    (void)ZVK_ConFile_WriteLog(0, "log.ini", text);
    return status;
}

void ClearBeamPowerTask(int32_t path)
{
    ZVK_BeamPowerDaq &daq = g_beamPowerDaq[path];
    if (daq.task != nullptr) (void)Daq().clearTask(daq.task);
    daq.task = nullptr;
    daq.daqInitialized = 0;
}

static bool MakeTask(ZVK_DaqTask &task, const char *channel)
{
    if (Daq().createTask("", &task) < 0) return false;
    if (Daq().createAOVoltageChan(task, channel, "", kMinVolts, kMaxVolts, ZVK_DAQ_VOLTS, "") < 0)
        return false;
    return Daq().startTask(task) >= 0;
}

static int32_t StartOutput(SessionHandle vi, int32_t path)
{
    ZVK_BeamPowerDaq &daq = g_beamPowerDaq[path];
    ZVK_BeamPowerDaqKeys keys = {{}, daq.backend};
    const int32_t status =
        ReadKeys(vi, "config.ini", kBeamPowerDaqSection, kBeamPowerDaqKeys, &keys);
    if (status < 0) return status;
    daq.backend = keys.backend;
    if ((daq.backend & 1) == 0) return ZVK_SUCCESS;

    const std::string channel = std::string(keys.device.text) + kChannels[path];
    if (!MakeTask(daq.task, channel.c_str())) {
        (void)LogDaqFailure(ZVK_BEAMPOWER_DAQ_FAILED);
        ClearBeamPowerTask(path);  // after the text: a task that is kept would hold the channel
        return ZVK_BEAMPOWER_DAQ_FAILED;
    }
    daq.daqInitialized = 1;
    return ZVK_SUCCESS;
}

int32_t ZVK_BeamPower_DaqInit(SessionHandle SessionHandle, int32_t Path)
{
    if (g_beamPowerDaq[Path].daqInitialized == 1) return ZVK_SUCCESS;
    try {
        return StartOutput(SessionHandle, Path);
    } catch (const std::bad_alloc &) {
        return ZVK_ERROR_NO_MEMORY;
    }
}

int32_t WriteBeamPowerVolts(int32_t path, double volts)
{
    // Without a task, which SUBDAQ can ask for, the driver refuses the null handle.
    const int32_t code = Daq().writeAnalogScalarF64(g_beamPowerDaq[path].task, kAutoStart,
                                                    kWriteTimeoutS, volts, nullptr);
    return code < 0 ? LogDaqFailure(ZVK_BEAMPOWER_WRITE_FAILED) : ZVK_SUCCESS;
}
