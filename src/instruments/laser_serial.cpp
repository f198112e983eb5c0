// The serial laser's wire: lines of text out, replies of which six bytes count.

#include "instruments/laser.h"
#include "instruments/locate_port.h"
#include "platform/serial.h"
#include "quorvex/confile.h"

#include <charconv>
#include <cstdio>
#include <cstring>

constexpr int kBaudRate = 9600;
constexpr double kTimeoutS = 2.0;
constexpr int kLineFeed = 10;
constexpr int kMostPorts = 4;
constexpr int kDecimals = 6;

// One command and its reply at a time. Taken last.
static std::mutex &Wire()
{
    static constinit std::mutex s_wire;
    return s_wire;
}

static void Send(int port, const char *command)
{
    (void)Serial().write(port, command, std::strlen(command));
}

static LaserReply ReadReply(int port)
{
    LaserReply reply = {};
    const int count = Serial().readLine(port, reply.bytes, kReplySize, kLineFeed);
    reply.count = count > 0 ? count : 0;
    return reply;
}

static void Flush(int port)
{
    (void)Serial().flushInput(port);
    (void)Serial().flushOutput(port);
}

LaserReply AskLaser(const char *command)
{
    const std::lock_guard lock(Wire());
    Send(g_laser.comPort, command);
    return ReadReply(g_laser.comPort);
}

LaserReply AskLaserAfresh(const char *command)
{
    const std::lock_guard lock(Wire());
    Flush(g_laser.comPort);
    Send(g_laser.comPort, command);
    return ReadReply(g_laser.comPort);
}

void FlushLaser()
{
    const std::lock_guard lock(Wire());
    Flush(g_laser.comPort);
}

void CloseLaser() { (void)Serial().close(g_laser.comPort); }

static void LogFailedOpen(SessionHandle vi, int code)
{
    char text[100];
    // The number is that of the port in use before, not of the one that was tried.
    (void)std::snprintf(text, sizeof text, "%s%d%s%d", "COM Port ", g_laser.comPort,
                        " failed to open.\nError Code: ", code);
    (void)ZVK_ConFile_WriteLog(vi, "log.ini", text);
}

// A laser answers "?" with a line that begins so. The echo goes off first, or its own command would
// come back from any device.
static bool AnswersAsLaser(int port)
{
    (void)Serial().setTimeout(port, kTimeoutS);
    Flush(port);
    Send(port, "CLT 0\r\n");
    Flush(port);
    Send(port, "?\r\n");
    const LaserReply reply = ReadReply(port);
    return reply.count > 0 && reply.bytes[0] == '?';
}

int FindLaser(SessionHandle vi)
{
    char kind[] = "USB SERIAL PORT";
    int ports[kMostPorts] = {};
    const int count = ZVK_LocateComPort(kind, ports, kMostPorts);
    for (int i = 0; i < count; ++i) {
        const int code = Serial().open(ports[i], kBaudRate);
        if (code < 0) {
            LogFailedOpen(vi, code);
            continue;
        }
        if (AnswersAsLaser(ports[i])) return ports[i];
    }
    return 0;
}

void WriteValueCommand(char (&command)[kCommandSize], const char *name, double value)
{
    // A name of 4 characters, at most 39 digits of a key's largest value, point and decimals, CR,
    // LF and the end: this fits.
    const size_t length = std::strlen(name);
    std::memcpy(command, name, length);
    char *const last = command + kCommandSize - 3;
    const auto [end, error] =
        std::to_chars(command + length, last, value, std::chars_format::fixed, kDecimals);
    std::memcpy(error == std::errc{} ? end : command + length, "\r\n", 3);
}

bool ReadReplyNumber(const LaserReply &reply, double &value)
{
    const char *first = reply.bytes;
    const char *const last = reply.bytes + reply.count;
    while (first != last && std::strchr(" \t\n\v\f\r", *first) && *first != '\0')
        ++first;
    if (last - first > 1 && first[0] == '+' && first[1] != '-') ++first;
    return std::from_chars(first, last, value).ec == std::errc{};
}
