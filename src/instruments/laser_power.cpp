// Power, current and mode of the laser.

#include "instruments/daq_tasks.h"
#include "instruments/laser.h"
#include "platform/daqmx.h"

constexpr int kPowerTries = 5;
constexpr uint32_t kLevelBits = 3U << 2;  // of port 1

static bool IsSerial() { return (g_laser.backend & ZVK_LASER_SERIAL) != 0; }

static bool HasLevels() { return (g_laser.backend & ZVK_LASER_DAQ) != 0; }

// Bounds included; what is not a number is outside.
static bool IsWithin(double value, double low, double high)
{
    return value >= low && value <= high;
}

// Mode 2 fits power and current alike.
static bool RefusesPower() { return LoadShared(g_laser.mode) == ZVK_LASER_CONSTANT_CURRENT; }

static bool RefusesCurrent() { return LoadShared(g_laser.mode) == ZVK_LASER_CONSTANT_POWER; }

static void SendValue(const char *name, double value)
{
    char command[kCommandSize];
    WriteValueCommand(command, name, value);
    (void)AskLaserAfresh(command);
}

struct LevelDrive
{
    uint32_t bits;  // of port 1
    double power;
};

static LevelDrive DecideLevel(double driveValue)
{
    switch (static_cast<int>(driveValue)) {
    case 1: return {0, g_laser.minPower};
    case 2: return {1U << 2, g_laser.alignPower};
    default: return {1U << 3, g_laser.maxPower};
    }
}

static int32_t SetLevel(SessionHandle vi, double driveValue)
{
    if (!IsWithin(driveValue, 1.0, 3.0)) return ZVK_LASER_BAD_DRIVE_VALUE;
    const LevelDrive drive = DecideLevel(driveValue);
    const std::lock_guard lock(LaserLines());
    uint32_t word = 0;
    if (Daq().readDigitalScalarU32(g_laser.powerTask, kLineTimeoutS, &word, nullptr) < 0)
        return LogDaqFailure(vi, ZVK_LASER_NO_REPLY);
    word = (word & ~kLevelBits) | drive.bits;
    if (Daq().writeDigitalScalarU32(g_laser.powerTask, 0, kLineTimeoutS, word, nullptr) < 0)
        return LogDaqFailure(vi, ZVK_LASER_NO_REPLY);
    StoreShared(g_laser.driveSetpoint, drive.power);
    return ZVK_SUCCESS;
}

int32_t ZVK_Laser_SetPower(SessionHandle SessionHandle, double DriveValue)
{
    if (RefusesPower()) return ZVK_LASER_WRONG_MODE;
    if (g_laser.simulate != 0) {
        if (!IsWithin(DriveValue, 0.0, g_laser.maxPower)) return ZVK_LASER_BAD_CURRENT;
        StoreShared(g_laser.driveSetpoint, DriveValue);
        return ZVK_SUCCESS;
    }
    if (!LaserIsUp()) return ZVK_SUCCESS;  // unlike its sister call
    if (IsSerial()) {
        if (!IsWithin(DriveValue, 0.0, g_laser.maxPower)) return ZVK_LASER_BAD_CURRENT;
        SendValue("APC ", DriveValue);
        StoreShared(g_laser.driveSetpoint, DriveValue);
        return ZVK_SUCCESS;
    }
    if (HasLevels()) return SetLevel(SessionHandle, DriveValue);
    return ZVK_LASER_NOT_FOUND;
}

int32_t ZVK_Laser_SetCurrent(SessionHandle, double DriveValue)
{
    if (RefusesCurrent()) return ZVK_LASER_WRONG_MODE;
    if (!IsWithin(DriveValue, 0.0, g_laser.maxCurrent)) return ZVK_LASER_BAD_CURRENT;
    if (g_laser.simulate != 0) {
        StoreShared(g_laser.driveSetpoint, DriveValue);
        return ZVK_SUCCESS;
    }
    if (!LaserIsUp()) return ZVK_LASER_NOT_FOUND;
    if (IsSerial()) {
        SendValue("ACC ", DriveValue);  // the setpoint is kept for power alone
        return ZVK_SUCCESS;
    }
    if (HasLevels()) return ZVK_LASER_BAD_POWER_SETTING;
    return ZVK_LASER_NOT_FOUND;
}

// One question. False for a bad reply; the very maximum is one, too.
static bool AskValue(const char *command, double maximum, double *out)
{
    double value = 0.0;
    if (!ReadReplyNumber(AskLaser(command), value)) return false;
    if (!(value >= 0.0 && value < maximum)) return false;
    if (out) *out = value;
    return true;
}

static int32_t AskPower(double *power)
{
    for (int i = 0; i < kPowerTries; ++i)
        if (AskValue("APC ?\r\n", g_laser.maxPower, power)) return ZVK_SUCCESS;
    return ZVK_LASER_NO_REPLY;
}

int32_t ZVK_Laser_GetPower(SessionHandle, double *PowerSetting)
{
    const bool simulated = g_laser.simulate != 0;
    if ((simulated || LaserIsUp()) && RefusesPower()) return ZVK_LASER_WRONG_MODE;
    if (!simulated && LaserIsUp() && IsSerial()) return AskPower(PowerSetting);
    if (!simulated && !HasLevels()) return ZVK_LASER_NOT_FOUND;
    if (PowerSetting) *PowerSetting = LoadShared(g_laser.driveSetpoint);
    return ZVK_SUCCESS;
}

int32_t ZVK_Laser_GetCurrent(SessionHandle, double *DriveCurrent)
{
    if (g_laser.simulate != 0) {
        if (RefusesCurrent()) return ZVK_LASER_WRONG_MODE;
        if (DriveCurrent) *DriveCurrent = LoadShared(g_laser.driveSetpoint);
        return ZVK_SUCCESS;
    }
    if (!LaserIsUp()) return ZVK_LASER_NOT_FOUND;
    if (RefusesCurrent()) return ZVK_LASER_WRONG_MODE;
    if (IsSerial()) {
        const bool good = AskValue("ACC ?\r\n", g_laser.maxCurrent, DriveCurrent);
        return good ? ZVK_SUCCESS : ZVK_LASER_NO_REPLY;
    }
    return HasLevels() ? ZVK_LASER_WRONG_MODE : ZVK_LASER_NOT_FOUND;
}

// The mode by which the calls above go stays that of LASERMODE, but for one without a meaning.
static int32_t SetSerialMode(int32_t mode)
{
    if (mode == ZVK_LASER_NO_MODE) {
        StoreShared(g_laser.mode, mode);
        return ZVK_SUCCESS;
    }
    (void)AskLaser(mode == ZVK_LASER_CONSTANT_CURRENT ? "COM 0\r\n" : "COM 1\r\n");
    return ZVK_SUCCESS;
}

int32_t ZVK_Laser_SetMode(SessionHandle, int32_t mode)
{
    if (mode < ZVK_LASER_CONSTANT_POWER || mode > ZVK_LASER_NO_MODE) return ZVK_LASER_BAD_MODE;
    if (g_laser.simulate != 0) {
        StoreShared(g_laser.mode, mode);
        return ZVK_SUCCESS;
    }
    if (!LaserIsUp()) return ZVK_LASER_NOT_FOUND;
    if (IsSerial()) return SetSerialMode(mode);
    if (!HasLevels()) return ZVK_LASER_NOT_FOUND;
    return mode == ZVK_LASER_CONSTANT_CURRENT ? ZVK_LASER_WRONG_MODE : ZVK_SUCCESS;
}
