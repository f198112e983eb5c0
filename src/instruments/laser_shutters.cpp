// The two shutters and the interlock, on lines of port 0 of the main DAQ card.

#include "instruments/daq_tasks.h"
#include "instruments/laser.h"
#include "platform/clock.h"
#include "platform/daqmx.h"

constexpr double kPulseS = 0.1;
constexpr uint32_t kKeptBehindPulse = 0xF0;  // all but the pulse lines
constexpr int kFlagTries = 5;
constexpr double kInputTimeoutS = 2.0;
constexpr double kClosedVolts = 2.0;

// Pulse lines of port 0.
constexpr uint32_t kOpenB = 1U << 0;
constexpr uint32_t kCloseB = 1U << 1;
constexpr uint32_t kCloseA = 1U << 2;
constexpr uint32_t kOpenA = 1U << 3;

std::mutex &LaserLines()
{
    static constinit std::mutex s_lines;
    return s_lines;
}

static bool ReadWord(uint32_t &word)
{
    return Daq().readDigitalScalarU32(g_laser.shutterTask, kLineTimeoutS, &word, nullptr) >= 0;
}

static bool WriteWord(uint32_t word)
{
    return Daq().writeDigitalScalarU32(g_laser.shutterTask, 0, kLineTimeoutS, word, nullptr) >= 0;
}

// Every path but the two takes the line that it would take to open path B.
static uint32_t PulseBit(int32_t path, bool open)
{
    if (path == ZVK_PATH_A) return open ? kOpenA : kCloseA;
    if (path == ZVK_PATH_B) return open ? kOpenB : kCloseB;
    return kOpenB;
}

int32_t ZVK_Laser_SetShutter(SessionHandle, int32_t path, uint16_t State)
{
    if (path >= g_laser.trapPaths) return ZVK_LASER_BAD_PATH;
    if (g_laser.daqSimulated != 0) return ZVK_SUCCESS;
    const std::lock_guard lock(LaserLines());
    uint32_t word = 0;
    if (!ReadWord(word)) return ZVK_LASER_NO_REPLY;
    const bool pulsed = WriteWord(word | PulseBit(path, State != 0));
    if (pulsed) Clock().delay(kPulseS);
    // Also behind a refused pulse, which may have come through: no line stays up.
    const bool cleared = WriteWord(word & kKeptBehindPulse);
    return pulsed && cleared ? ZVK_SUCCESS : ZVK_LASER_NO_REPLY;
}

// The command is taken back before the line falls, and given after the line stands.
static int32_t SwitchSerial(SessionHandle vi, bool enable)
{
    const std::lock_guard lock(LaserLines());
    FlushLaser();
    uint32_t word = 0;
    if (!ReadWord(word)) return LogDaqFailure(vi, ZVK_LASER_NO_REPLY);
    if (!enable) {
        (void)AskLaser("CDO 0\r\n");
        (void)WriteWord(word & ~kInterlockBit);
        return ZVK_SUCCESS;
    }
    if (!WriteWord(word | kInterlockBit)) return LogDaqFailure(vi, ZVK_LASER_NO_REPLY);
    (void)AskLaser("CDO 1\r\n");
    return ZVK_SUCCESS;
}

static int32_t SwitchLine(SessionHandle vi, bool enable)
{
    const std::lock_guard lock(LaserLines());
    uint32_t word = 0;
    if (!ReadWord(word)) return LogDaqFailure(vi, ZVK_LASER_NO_REPLY);
    const bool written = WriteWord(enable ? word | kInterlockBit : word & ~kInterlockBit);
    if (enable && !written) return LogDaqFailure(vi, ZVK_LASER_NO_REPLY);
    return ZVK_SUCCESS;
}

int32_t ZVK_Laser_Interlock(SessionHandle SessionHandle, uint16_t InterlockStatus)
{
    const bool enable = InterlockStatus != 0;
    if (g_laser.simulate != 0) {
        StoreShared<uint8_t>(g_laser.simulatedInterlock, enable ? 1 : 0);
        return ZVK_SUCCESS;
    }
    if (!LaserIsUp()) return ZVK_LASER_NOT_FOUND;
    if ((g_laser.backend & ZVK_LASER_SERIAL) != 0) return SwitchSerial(SessionHandle, enable);
    if ((g_laser.backend & ZVK_LASER_DAQ) != 0) return SwitchLine(SessionHandle, enable);
    return ZVK_LASER_NOT_FOUND;
}

struct ErrorFlag
{
    int position;  // in the status reply
    int32_t status;
};

// In the order in which they are tested. The flag at position 1 tells nothing here.
constexpr ErrorFlag kErrorFlags[] = {
    {2, ZVK_LASER_DEVICE_ERROR_5},
    {3, ZVK_LASER_DEVICE_ERROR_4},
    {4, ZVK_LASER_DEVICE_ERROR_3},
    {5, ZVK_LASER_DEVICE_ERROR_2},
};

static void Give(int32_t *out, int32_t value)
{
    if (out) *out = value;
}

static int32_t TellFlags(const LaserReply &reply, int32_t *status)
{
    if (reply.bytes[0] == '0') {
        Give(status, ZVK_LASER_INTERLOCK_OPEN);
        return ZVK_SUCCESS;
    }
    for (const ErrorFlag &flag : kErrorFlags)
        if (reply.bytes[flag.position] == '0') return flag.status;
    Give(status, 1);
    return ZVK_SUCCESS;
}

static int32_t AskFlags(int32_t *status)
{
    FlushLaser();
    for (int i = 0; i < kFlagTries; ++i) {
        const LaserReply reply = AskLaser("STA\r\n");
        if (reply.count >= kReplySize) return TellFlags(reply, status);
    }
    return ZVK_LASER_NO_REPLY;
}

static int32_t ReadInput(SessionHandle vi, int32_t *status)
{
    double volts[8] = {};
    int32_t read = 0;
    if (Daq().readAnalogF64(g_laser.interlockInputTask, 1, kInputTimeoutS, ZVK_DAQ_BY_CHANNEL,
                            volts, 8, &read, nullptr) < 0)
        return LogDaqFailure(vi, ZVK_LASER_NO_REPLY);
    Give(status, volts[0] >= kClosedVolts ? 1 : ZVK_LASER_INTERLOCK_OPEN);
    return ZVK_SUCCESS;
}

int32_t ZVK_Laser_GetInterlockStatus(SessionHandle vi, int32_t *status)
{
    if (g_laser.simulate != 0) {
        Give(status, LoadShared(g_laser.simulatedInterlock));
        return ZVK_SUCCESS;
    }
    if (!LaserIsUp()) return ZVK_LASER_NOT_FOUND;
    if ((g_laser.backend & ZVK_LASER_SERIAL) != 0) return AskFlags(status);
    if ((g_laser.backend & ZVK_LASER_DAQ) != 0) return ReadInput(vi, status);
    return ZVK_LASER_NOT_FOUND;
}
