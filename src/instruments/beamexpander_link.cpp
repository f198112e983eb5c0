// The link to the motor boards: command and reply frames of nine bytes, and the search for the
// port of each path's board.

#include "instruments/beamexpander.h"
#include "instruments/locate_port.h"
#include "platform/serial.h"
#include "quorvex/confile.h"
#include "steering/check_status.h"

#include <cstdio>
#include <numeric>

constexpr int kFrameSize = 9;
constexpr int kBaudRate = 9600;
constexpr double kTimeoutS = 10.0;
constexpr int kMostPorts = 2;
constexpr int32_t kHighestSpeed = 2047;
constexpr unsigned char kModuleAddress = 1;
constexpr unsigned char kMotor = 0;
constexpr unsigned char kUserVariables = 2;  // bank of global parameters, kept in the EEPROM

using Frame = unsigned char[kFrameSize];

// The board's sum over all bytes before the last one.
static unsigned char Checksum(const Frame &frame)
{
    return static_cast<unsigned char>(std::accumulate(frame, frame + kFrameSize - 1, 0U));
}

static void Flush(int port)
{
    (void)Serial().flushInput(port);
    (void)Serial().flushOutput(port);
}

int m_BeamExpander_SendTMCLCmd(int comHandle, unsigned char Address, unsigned char Command,
                               unsigned char Type, unsigned char Motor, int32_t Value)
{
    const auto bits = static_cast<uint32_t>(Value);
    Frame frame = {Address,
                   Command,
                   Type,
                   Motor,
                   static_cast<unsigned char>(bits >> 24),
                   static_cast<unsigned char>(bits >> 16),
                   static_cast<unsigned char>(bits >> 8),
                   static_cast<unsigned char>(bits),
                   0};
    frame[kFrameSize - 1] = Checksum(frame);
    Flush(comHandle);
    (void)Serial().write(comHandle, frame, kFrameSize);
    return 0;
}

int m_BeamExpander_GetTMCLResult(int comHandle, unsigned char *Address, unsigned char *Status,
                                 int32_t *Value)
{
    Frame frame = {};
    if (Serial().read(comHandle, frame, kFrameSize) < kFrameSize) return ZVK_BEAMEXPANDER_NO_REPLY;
    if (Checksum(frame) != frame[kFrameSize - 1]) return ZVK_BEAMEXPANDER_BAD_CHECKSUM;
    uint32_t bits = 0;
    for (int i = 4; i < kFrameSize - 1; ++i)
        bits = bits << 8 | frame[i];
    *Address = frame[0];
    *Status = frame[2];
    *Value = static_cast<int32_t>(bits);
    Flush(comHandle);
    return 0;
}

static int32_t ReadReply(int port, int32_t &value)
{
    unsigned char address = 0;
    unsigned char boardStatus = 0;  // a refusal goes unnoticed, as the clients are told
    return m_BeamExpander_GetTMCLResult(port, &address, &boardStatus, &value);
}

void CommandMotor(int32_t path, ZVK_BoardCommand command, uint8_t type, int32_t value)
{
    (void)m_BeamExpander_SendTMCLCmd(g_beamExpander[path].comHandle, kModuleAddress, command, type,
                                     kMotor, value);
}

int32_t ReadMotorReply(int32_t path, int32_t &value)
{
    return ReadReply(g_beamExpander[path].comHandle, value);
}

void TellMotor(int32_t path, ZVK_BoardCommand command, uint8_t type, int32_t value)
{
    CommandMotor(path, command, type, value);
    int32_t echoed = 0;
    (void)ReadMotorReply(path, echoed);
}

static void LogFailedOpen(SessionHandle vi, int port, int code)
{
    char text[100];
    (void)std::snprintf(text, sizeof text, "%s%d%s%d", "COM Port ", port,
                        " failed to open.\nError Code: ", code);
    (void)ZVK_ConFile_WriteLog(vi, "log.ini", text);
}

// User variable 0 of a board: the number of its path plus one.
static int32_t ReadOwner(int port, int32_t &owner)
{
    (void)m_BeamExpander_SendTMCLCmd(port, kModuleAddress, kGetGlobal, 0, kUserVariables, 0);
    return ReadReply(port, owner);
}

static bool IsOwner(int32_t owner) { return owner == ZVK_PATH_A + 1 || owner == ZVK_PATH_B + 1; }

static void KeepBoard(int32_t path, int port)
{
    ZVK_BeamExpanderState &row = g_beamExpander[path];
    row.comHandle = port;
    row.initialized = 1;
    (void)ZVK_BeamExpander_SetDefaultValues(path);
    row.position = row.initPos;
}

int32_t FindBoard(SessionHandle vi, int32_t path)
{
    char kind[] = "TRINAMIC";
    int ports[kMostPorts] = {};
    const int count = ZVK_LocateComPort(kind, ports, kMostPorts);
    for (int i = 0; i < count; ++i) {
        const int port = ports[i];
        const bool wasOpen = Serial().isOpen(port) != 0;
        const int code = Serial().open(port, kBaudRate);
        if (code != 0) {
            LogFailedOpen(vi, port, code);
            return ZVK_BEAMEXPANDER_PORT_FAILED;
        }
        (void)Serial().setTimeout(port, kTimeoutS);
        g_beamExpander[path].maxSpeed = kHighestSpeed;

        int32_t owner = 0;
        const int32_t status = ReadOwner(port, owner);
        if (Ends(status)) return status;
        if (owner == path + 1) {
            KeepBoard(path, port);
            return ZVK_SUCCESS;
        }
        if (!IsOwner(owner)) return ZVK_BEAMEXPANDER_BAD_EEPROM_VALUE;
        // The other path's board, which keeps a port that it was using.
        if (!wasOpen) (void)Serial().close(port);
    }
    return ZVK_BEAMEXPANDER_NOT_FOUND;
}

void CloseBoard(int32_t path) { (void)Serial().close(g_beamExpander[path].comHandle); }
