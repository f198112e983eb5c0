// Serial ports by termios, which opens real ports and pseudo-terminals alike. Calls on one port
// come one after the other; different ports don't wait for each other.

#include "platform/backends.h"
#include "platform/ports.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <fcntl.h>
#include <mutex>
#include <poll.h>
#include <sys/file.h>
#include <termios.h>
#include <type_traits>
#include <unistd.h>

constexpr int kFailure = -1;
constexpr int kLastPort = 255;
constexpr double kFirstTimeoutS = 5.0;
constexpr double kLongestTimeoutS = 86400.0;
constexpr int kLineFeed = 10;
constexpr char kCarriageReturn = 13;

struct PortRow
{
    std::mutex guard;                  // of all below, held through each call
    int file = -1;                     // -1: closed
    double timeoutS = kFirstTimeoutS;  // 0: wait for ever
    bool unsentBytes = false;          // a write ended before its bytes were out
    bool dropCarriageReturn = false;   // a line ended in LF; a CR right behind belongs to it
};

struct BaudRate
{
    int rate;
    speed_t code;
};

constexpr BaudRate kBaudRates[] = {
    {300, B300},       {600, B600},       {1200, B1200},     {2400, B2400},   {4800, B4800},
    {9600, B9600},     {19200, B19200},   {38400, B38400},   {57600, B57600}, {115200, B115200},
    {230400, B230400}, {460800, B460800}, {921600, B921600},
};

// Not destroyed at exit, when another thread may be in a read.
static_assert(std::is_trivially_destructible_v<PortRow>);
static constinit PortRow s_rows[kLastPort];

static PortRow &Row(int port) { return s_rows[port - 1]; }

static bool IsPortNumber(int port) { return port >= 1 && port <= kLastPort; }

static bool SpeedCode(int baudRate, speed_t &code)
{
    for (const BaudRate &row : kBaudRates) {
        if (row.rate != baudRate) continue;
        code = row.code;
        return true;
    }
    return false;
}

static void CloseRow(PortRow &row)
{
    if (row.file < 0) return;
    (void)close(row.file);
    row.file = -1;
    row.unsentBytes = false;
    row.dropCarriageReturn = false;
}

// Raw bytes, 8 data bits, no parity, one stop bit, no flow control, modem lines ignored; what came
// in before is dropped.
static bool Configure(int file, speed_t speed)
{
    termios settings;
    if (tcgetattr(file, &settings) != 0) return false;
    cfmakeraw(&settings);
    settings.c_cflag &= ~static_cast<tcflag_t>(CSTOPB | PARENB | CRTSCTS | CSIZE);
    settings.c_cflag |= CS8 | CLOCAL | CREAD;
    settings.c_iflag &= ~static_cast<tcflag_t>(IXON | IXOFF | IXANY);
    settings.c_cc[VMIN] = 1;  // an empty port answers EAGAIN, and only a dead one 0 bytes
    settings.c_cc[VTIME] = 0;
    if (cfsetispeed(&settings, speed) != 0 || cfsetospeed(&settings, speed) != 0) return false;
    if (tcsetattr(file, TCSANOW, &settings) != 0) return false;
    return tcflush(file, TCIOFLUSH) == 0;
}

// The lock keeps a second program from talking into the same device.
static int OpenDevice(const std::string &device, speed_t speed)
{
    if (device.empty()) return -1;
    const int file = open(device.c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
    if (file < 0) return -1;
    if (flock(file, LOCK_EX | LOCK_NB) == 0 && Configure(file, speed)) return file;
    (void)close(file);
    return -1;
}

static int SerialOpen(int port, int baudRate)
{
    speed_t speed = B0;
    if (!IsPortNumber(port) || !SpeedCode(baudRate, speed)) return kFailure;
    PortRow &row = Row(port);
    const std::lock_guard lock(row.guard);
    CloseRow(row);
    row.file = OpenDevice(DeviceOfPort(port), speed);
    row.timeoutS = kFirstTimeoutS;
    return row.file < 0 ? kFailure : 0;
}

static int SerialIsOpen(int port)
{
    if (!IsPortNumber(port)) return 0;
    PortRow &row = Row(port);
    const std::lock_guard lock(row.guard);
    return row.file >= 0 ? 1 : 0;
}

static int SerialSetTimeout(int port, double seconds)
{
    if (!IsPortNumber(port) || !(seconds >= 0.0)) return kFailure;
    PortRow &row = Row(port);
    const std::lock_guard lock(row.guard);
    if (row.file < 0) return kFailure;
    row.timeoutS = std::min(seconds, kLongestTimeoutS);
    return 0;
}

// Waits until the port is ready for `event` or broken, which the next read or write then tells.
// False when a whole time-out went by. A signal doesn't lengthen the wait.
static bool WaitFor(const PortRow &row, short event)
{
    using Clock = std::chrono::steady_clock;
    const auto end = Clock::now() + std::chrono::duration_cast<Clock::duration>(
                                        std::chrono::duration<double>(row.timeoutS));
    for (;;) {
        int waitMs = -1;
        if (row.timeoutS > 0.0) {
            const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now());
            waitMs = static_cast<int>(std::max<int64_t>(left.count(), 0));
        }
        pollfd entry = {row.file, event, 0};
        const int ready = poll(&entry, 1, waitMs);
        if (ready > 0) return true;
        if (ready == 0 || errno != EINTR) return false;
    }
}

// Bytes out, 0 when none could be sent within the time-out, -1 when the port is broken.
static ssize_t SendSome(const PortRow &row, const char *bytes, size_t count)
{
    for (;;) {
        const ssize_t done = write(row.file, bytes, count);
        if (done > 0) return done;
        if (done == 0) return 0;
        if (errno == EINTR) continue;
        if (errno != EAGAIN) return -1;
        if (!WaitFor(row, POLLOUT)) return 0;
    }
}

static bool Drain(int file)
{
    int result = tcdrain(file);
    while (result != 0 && errno == EINTR)
        result = tcdrain(file);
    return result == 0;
}

static int SerialWrite(int port, const void *bytes, size_t count)
{
    if (!IsPortNumber(port) || (!bytes && count > 0) || count > INT32_MAX) return kFailure;
    PortRow &row = Row(port);
    const std::lock_guard lock(row.guard);
    if (row.file < 0) return kFailure;
    size_t sent = 0;
    while (sent < count) {
        const ssize_t done = SendSome(row, static_cast<const char *>(bytes) + sent, count - sent);
        if (done < 0) return kFailure;
        if (done == 0) break;
        sent += static_cast<size_t>(done);
    }
    row.unsentBytes = sent < count;
    if (row.unsentBytes) return static_cast<int>(sent);
    return Drain(row.file) ? static_cast<int>(sent) : kFailure;
}

// 1 with a byte, 0 when a whole time-out went by in silence, -1 when the port is broken.
static int ReceiveByte(PortRow &row, char &byte)
{
    for (;;) {
        const ssize_t got = read(row.file, &byte, 1);
        if (got < 0 && errno == EINTR) continue;
        if (got == 0 || (got < 0 && errno != EAGAIN)) return -1;
        if (got < 0) {
            if (!WaitFor(row, POLLIN)) return 0;
            continue;
        }
        const bool drop = row.dropCarriageReturn && byte == kCarriageReturn;
        row.dropCarriageReturn = false;
        if (!drop) return 1;
    }
}

// `terminator` is -1 for none.
static int ReadBytes(int port, void *bytes, size_t count, int terminator)
{
    if (!IsPortNumber(port) || (!bytes && count > 0) || count > INT32_MAX) return kFailure;
    PortRow &row = Row(port);
    const std::lock_guard lock(row.guard);
    if (row.file < 0) return kFailure;
    char *out = static_cast<char *>(bytes);
    size_t stored = 0;
    while (stored < count) {
        char byte = 0;
        const int got = ReceiveByte(row, byte);
        if (got < 0 && stored == 0) return kFailure;
        if (got <= 0) break;
        if (terminator == static_cast<unsigned char>(byte)) {
            row.dropCarriageReturn = terminator == kLineFeed;
            break;
        }
        out[stored++] = byte;
    }
    return static_cast<int>(stored);
}

static int SerialRead(int port, void *bytes, size_t count)
{
    return ReadBytes(port, bytes, count, -1);
}

static int SerialReadLine(int port, void *bytes, size_t count, int terminator)
{
    if (terminator < 0 || terminator > 255) return kFailure;
    return ReadBytes(port, bytes, count, terminator);
}

static int SerialFlushInput(int port)
{
    if (!IsPortNumber(port)) return kFailure;
    PortRow &row = Row(port);
    const std::lock_guard lock(row.guard);
    if (row.file < 0) return kFailure;
    row.dropCarriageReturn = false;
    return tcflush(row.file, TCIFLUSH) == 0 ? 0 : kFailure;
}

// A write that ended well has nothing left in the queue. The flush is then left out, since on a
// pseudo-terminal it would throw away what the other side has not read yet.
static int SerialFlushOutput(int port)
{
    if (!IsPortNumber(port)) return kFailure;
    PortRow &row = Row(port);
    const std::lock_guard lock(row.guard);
    if (row.file < 0) return kFailure;
    if (!row.unsentBytes) return 0;
    row.unsentBytes = false;
    return tcflush(row.file, TCOFLUSH) == 0 ? 0 : kFailure;
}

static int SerialClose(int port)
{
    if (!IsPortNumber(port)) return kFailure;
    PortRow &row = Row(port);
    const std::lock_guard lock(row.guard);
    if (row.file < 0) return kFailure;
    CloseRow(row);
    return 0;
}

const ZVK_SerialTable &SystemSerial()
{
    static constexpr ZVK_SerialTable kTable = {
        .open = SerialOpen,
        .isOpen = SerialIsOpen,
        .setTimeout = SerialSetTimeout,
        .write = SerialWrite,
        .read = SerialRead,
        .readLine = SerialReadLine,
        .flushInput = SerialFlushInput,
        .flushOutput = SerialFlushOutput,
        .close = SerialClose,
    };
    return kTable;
}
