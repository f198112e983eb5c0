// The laser's start and end, and what a client can ask about it.

#include "instruments/laser.h"

#include "instruments/daq_tasks.h"
#include "instruments/laser_keys.h"
#include "platform/daqmx.h"
#include "quorvex/confile.h"
#include "steering/check_status.h"

#include <cstdio>
#include <cstring>

constexpr double kInputVolts = 10.0;  // the interlock input's range, both ways
constexpr double kMaximumLevel = 3.0;
constexpr size_t kChannelSize = 320;  // a key's text and a fixed end

ZVK_LaserState g_laser;

static int32_t ReadCardName(SessionHandle vi, ZVK_KeyText &name)
{
    return ZVK_ConFile_Read(vi, "config.ini", "MAINDAQ", "DAQNAME", &name, ZVK_CONFILE_STRING);
}

// Keys that stand before one that fails are kept.
static int32_t ReadLaserKeys(SessionHandle vi)
{
    ZVK_LaserKeys keys = {g_laser.installed,
                          g_laser.simulate,
                          g_laser.backend,
                          g_laser.trapPaths,
                          static_cast<float>(g_laser.maxCurrent),
                          static_cast<float>(g_laser.maxPower),
                          static_cast<float>(g_laser.minPower),
                          static_cast<float>(g_laser.alignPower),
                          {}};
    const int32_t status = ReadKeys(vi, "config.ini", kLaserSection, kLaserKeys, &keys);
    g_laser.installed = keys.installed;
    g_laser.simulate = keys.simulate;
    g_laser.backend = keys.backend;
    g_laser.trapPaths = static_cast<int32_t>(static_cast<uint32_t>(keys.trapPaths) & 0xFFFF);
    g_laser.maxCurrent = static_cast<double>(keys.maxCurrent);
    g_laser.maxPower = static_cast<double>(keys.maxPower);
    g_laser.minPower = static_cast<double>(keys.minPower);
    g_laser.alignPower = static_cast<double>(keys.alignPower);
    if (status < 0) return status;

    const bool constantCurrent = std::strcmp(keys.mode.text, "CC") == 0;
    StoreShared(g_laser.mode, constantCurrent ? static_cast<int32_t>(ZVK_LASER_CONSTANT_CURRENT)
                                              : static_cast<int32_t>(ZVK_LASER_CONSTANT_POWER));
    return status;
}

// A running task over the eight lines of a port. What an earlier start has left goes before, since
// it would keep the port reserved.
static bool MakeLineTask(void *&task, const char *card, const char *lines)
{
    ClearStaleTask(task);
    char channel[kChannelSize];
    (void)std::snprintf(channel, sizeof channel, "%s%s", card, lines);
    if (Daq().createTask("", &task) < 0) return false;
    if (Daq().createDOChan(task, channel, "", ZVK_DAQ_ONE_CHANNEL_FOR_ALL_LINES) < 0) return false;
    return Daq().startTask(task) >= 0;
}

static void CloseBothShutters(SessionHandle vi)
{
    (void)ZVK_Laser_SetShutter(vi, ZVK_PATH_A, 0);
    (void)ZVK_Laser_SetShutter(vi, ZVK_PATH_B, 0);
}

// Takes the card into use and closes the shutters, whatever the laser itself is.
static int32_t StartShutters(SessionHandle vi)
{
    g_laser.daqSimulated = 0;
    ZVK_KeyText card = {};
    const int32_t status = ReadCardName(vi, card);
    if (Ends(status)) return status;
    if (!MakeLineTask(g_laser.shutterTask, card.text, "/port0/line0:7"))
        return LogDaqFailure(vi, ZVK_LASER_DAQ_FAILED);
    CloseBothShutters(vi);  // an instrument with one path refuses the second
    return ZVK_SUCCESS;
}

// Tells the laser its mode and sets the drive to its maximum.
static int32_t StartSerialDrive(SessionHandle vi)
{
    if (g_laser.mode == ZVK_LASER_CONSTANT_CURRENT) {
        (void)AskLaser("COM 0\r\n");
        return ZVK_Laser_SetCurrent(vi, g_laser.maxCurrent);
    }
    (void)AskLaser("COM 1\r\n");
    return ZVK_Laser_SetPower(vi, g_laser.maxPower);
}

static int32_t StartSerial(SessionHandle vi)
{
    if (g_laser.daqSimulated != 0) return ZVK_LASER_NO_DAQ;  // the shutters need the card
    const int port = FindLaser(vi);
    if (port == 0) {
        (void)ZVK_ConFile_WriteLog(vi, "log.ini",
                                   "Could not establish serial communication with Laser.");
        return ZVK_LASER_INIT_FAILED;
    }
    g_laser.comPort = port;
    g_laser.initialised = 1;
    (void)ZVK_Laser_Interlock(vi, 0);
    CloseBothShutters(vi);
    const int32_t status = StartSerialDrive(vi);
    return Ends(status) ? status : ZVK_SUCCESS;
}

static int32_t ReadInputChannel(SessionHandle vi)
{
    ZVK_KeyText card = {};
    ZVK_KeyText input = {};
    int32_t status = ReadCardName(vi, card);
    if (Ends(status)) return status;
    status = ReadKeys(vi, "config.ini", kLaserSection, kLaserInputKeys, &input);
    if (status < 0) return status;
    // Two long names don't fit; the driver then refuses the one that is cut off.
    char channel[sizeof card.text + sizeof input.text + 2];
    (void)std::snprintf(channel, sizeof channel, "/%s/%s", card.text, input.text);
    channel[sizeof g_laser.interlockChannel - 1] = '\0';
    std::strcpy(g_laser.interlockChannel, channel);
    return ZVK_SUCCESS;
}

static bool MakeInputTask()
{
    void *&task = g_laser.interlockInputTask;
    if (Daq().createTask("", &task) < 0) return false;
    // A channel that is refused shows when the task is started.
    (void)Daq().createAIVoltageChan(task, g_laser.interlockChannel, "", ZVK_DAQ_SINGLE_ENDED,
                                    -kInputVolts, kInputVolts, ZVK_DAQ_VOLTS, nullptr);
    if (Daq().startTask(task) < 0) return false;
    (void)Daq().stopTask(task);  // each read starts it again
    return true;
}

static int32_t StartLevels(SessionHandle vi)
{
    if (g_laser.daqSimulated != 0) return ZVK_LASER_NO_DAQ;
    if (g_laser.mode == ZVK_LASER_CONSTANT_CURRENT) return ZVK_LASER_WRONG_MODE;
    ZVK_KeyText card = {};
    int32_t status = ReadCardName(vi, card);
    if (Ends(status)) return status;
    if (!MakeLineTask(g_laser.powerTask, card.text, "/port1/line0:7"))
        return LogDaqFailure(vi, ZVK_LASER_DAQ_FAILED);
    status = ReadInputChannel(vi);
    if (status < 0) return status;
    if (!MakeInputTask()) return LogDaqFailure(vi, ZVK_LASER_DAQ_FAILED);

    g_laser.initialised = 1;
    (void)ZVK_Laser_Interlock(vi, 0);
    (void)ZVK_Laser_SetPower(vi, kMaximumLevel);
    CloseBothShutters(vi);
    return ZVK_SUCCESS;
}

int32_t ZVK_Laser_Init(SessionHandle SessionHandle, uint16_t, uint16_t)
{
    int32_t cardMissing = 1;
    int32_t status = ZVK_ConFile_Read(SessionHandle, "config.ini", "MAINDAQ", "SIMULATE",
                                      &cardMissing, ZVK_CONFILE_LONG);
    if (Ends(status)) return status;
    if (g_laser.initialised == 1) return ZVK_LASER_ALREADY_INITIALIZED;
    status = ReadLaserKeys(SessionHandle);
    if (status < 0) return status;
    ClearStaleTask(g_laser.interlockInputTask);
    StoreShared(g_laser.driveSetpoint, 0.0);
    StoreShared<uint8_t>(g_laser.simulatedInterlock, 0);

    g_laser.daqSimulated = 1;
    if (cardMissing == 0) {
        status = StartShutters(SessionHandle);
        if (status < 0) return status;
    }
    if (g_laser.installed == 0) {
        g_laser.initialised = 0;
        return ZVK_LASER_NOT_FOUND;
    }
    if (g_laser.simulate == 1) {
        g_laser.initialised = 1;
        return ZVK_SUCCESS;
    }
    if ((g_laser.backend & ZVK_LASER_SERIAL) != 0) return StartSerial(SessionHandle);
    if ((g_laser.backend & ZVK_LASER_DAQ) != 0) return StartLevels(SessionHandle);
    return ZVK_SUCCESS;
}

// A value that is there while the laser is up.
template <class Value>
static int32_t GiveWhenUp(const Value &value, Value *out)
{
    if (g_laser.initialised != 1) return ZVK_LASER_NOT_FOUND;
    if (out) *out = value;
    return ZVK_SUCCESS;
}

int32_t ZVK_Laser_GetMode(SessionHandle, int32_t *mode)
{
    return GiveWhenUp(LoadShared(g_laser.mode), mode);
}

int32_t ZVK_Laser_GetMaxCurrent(SessionHandle, double *MaxCurrent)
{
    return GiveWhenUp(g_laser.maxCurrent, MaxCurrent);
}

int32_t ZVK_Laser_GetMaxPower(SessionHandle, double *MaxPower)
{
    return GiveWhenUp(g_laser.maxPower, MaxPower);
}

int32_t ZVK_Laser_GetMinPower(SessionHandle, double *MinPower)
{
    return GiveWhenUp(g_laser.minPower, MinPower);
}

int32_t ZVK_Laser_GetAlignPower(SessionHandle, double *AlignPower)
{
    return GiveWhenUp(g_laser.alignPower, AlignPower);
}

int32_t ZVK_Laser_GetBackend(SessionHandle, int32_t *Backend)
{
    if (Backend) *Backend = -1;
    return GiveWhenUp(g_laser.backend, Backend);
}

int32_t ZVK_Laser_GetInitStatus(SessionHandle, int32_t *status)
{
    if (!status) return ZVK_SUCCESS;
    *status = g_laser.initialised == 0 ? 0 : g_laser.initialised + g_laser.simulate;
    return ZVK_SUCCESS;
}

int32_t ZVK_Laser_Shutdown(SessionHandle SessionHandle)
{
    const bool simulated = g_laser.simulate != 0;
    if (!simulated && !LaserIsUp()) return ZVK_LASER_NOT_FOUND;
    const bool serial = !simulated && (g_laser.backend & ZVK_LASER_SERIAL) != 0;
    const bool levels = !simulated && !serial && (g_laser.backend & ZVK_LASER_DAQ) != 0;
    if (!simulated && !serial && !levels) return ZVK_LASER_NOT_FOUND;

    if (!simulated) (void)ZVK_Laser_Interlock(SessionHandle, 0);
    CloseBothShutters(SessionHandle);
    g_laser.initialised = 0;
    StopAndClearTask(g_laser.shutterTask);
    if (serial) CloseLaser();
    if (levels) {
        StopAndClearTask(g_laser.powerTask);
        StopAndClearTask(g_laser.interlockInputTask);
    }
    return ZVK_SUCCESS;
}
