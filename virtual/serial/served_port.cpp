// A pseudo-terminal that is served by a thread.

#include "quorvex-virtual/served_port.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <fcntl.h>
#include <mutex>
#include <poll.h>
#include <stdexcept>
#include <sys/eventfd.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <thread>
#include <unistd.h>

using WallClock = std::chrono::steady_clock;

constexpr size_t kMostPending = 4096;  // bytes without a frame among them; more are dropped
constexpr int kSendPatienceMs = 2000;  // for a program that does not read
constexpr int kReadOutPatienceMs = 500;

// What the program's side and the device's side of one plugged-in port need.
struct Terminal
{
    int device = -1;   // the device's side
    int program = -1;  // held open, so that the terminal outlives a program that closes it
    std::string path;

    bool Open();
    void Close();
};

bool Terminal::Open()
{
    device = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC | O_NONBLOCK);
    char name[64] = "";
    if (device < 0 || grantpt(device) != 0 || unlockpt(device) != 0 ||
        ptsname_r(device, name, sizeof name) != 0)
    {
        Close();
        return false;
    }
    path = name;
    program = open(name, O_RDWR | O_NOCTTY | O_CLOEXEC | O_NONBLOCK);
    termios settings;
    if (program < 0 || tcgetattr(program, &settings) != 0) {
        Close();
        return false;
    }
    cfmakeraw(&settings);  // or the terminal itself would echo before a program sets it up
    if (tcsetattr(program, TCSANOW, &settings) == 0) return true;
    Close();
    return false;
}

void Terminal::Close()
{
    if (program >= 0) (void)close(program);
    if (device >= 0) (void)close(device);
    program = device = -1;
    path.clear();
}

struct ServedPort::Inside
{
    const PortFraming framing;
    const PortDevice device;
    const WallClock::time_point start = WallClock::now();

    std::mutex plugGuard;  // held through HangUp and Plug, which come one after the other
    std::thread thread;
    int wake = -1;  // an event that ends a wait of the thread

    mutable std::mutex guard;  // of all below
    mutable std::condition_variable changed;
    Terminal terminal;
    bool ending = false;
    PortMisbehaviour told;
    uint64_t replies = 0;  // since it was told
    std::vector<PortEvent> log;
    std::string unasked;  // to be sent

    Inside(PortFraming theFraming, PortDevice theDevice)
        : framing(std::move(theFraming)), device(std::move(theDevice)),
          wake(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))
    {
    }
    ~Inside()
    {
        if (wake >= 0) (void)close(wake);
    }

    bool PlugIn();
    void PullOut();
    void Wake() const;
    void Serve(int file);
    bool ServeFrames(int file, std::string &pending);
    bool Reply(int file, const std::string &right);
    bool Transmit(int file, const std::string &bytes, double byteDelayS);
    bool Pause(double seconds);
    bool IsEnding() const;
    void AwaitReadOut();
    void Note(bool received, const std::string &bytes);
};

void ServedPort::Inside::Wake() const
{
    const uint64_t one = 1;
    (void)!write(wake, &one, sizeof one);
}

void ServedPort::Inside::Note(bool received, const std::string &bytes)
{
    const std::lock_guard lock(guard);
    const double timeS = std::chrono::duration<double>(WallClock::now() - start).count();
    log.push_back({timeS, received, bytes});
    changed.notify_all();
}

bool ServedPort::Inside::IsEnding() const
{
    const std::lock_guard lock(guard);
    return ending;
}

// False when the plug is pulled meanwhile.
bool ServedPort::Inside::Pause(double seconds)
{
    std::unique_lock lock(guard);
    return !changed.wait_for(lock, std::chrono::duration<double>(seconds), [&] { return ending; });
}

// A terminal forgets what was not read when its other side closes, a wire does not: lets the
// program read it first.
void ServedPort::Inside::AwaitReadOut()
{
    int emptySince = 0;
    for (int waited = 0; waited < kReadOutPatienceMs && emptySince < 5; ++waited) {
        int left = 0;
        if (ioctl(terminal.program, FIONREAD, &left) != 0) return;
        emptySince = left == 0 ? emptySince + 1 : 0;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
}

// False when the plug is pulled, or nobody reads.
bool ServedPort::Inside::Transmit(int file, const std::string &bytes, double byteDelayS)
{
    size_t sent = 0;
    while (sent < bytes.size()) {
        if (byteDelayS > 0.0 && !Pause(byteDelayS)) return false;
        const size_t step = byteDelayS > 0.0 ? 1 : bytes.size() - sent;
        const ssize_t done = write(file, bytes.data() + sent, step);
        if (done > 0) {
            sent += static_cast<size_t>(done);
            continue;
        }
        if (done < 0 && errno != EAGAIN && errno != EINTR) return false;
        pollfd entries[2] = {{file, POLLOUT, 0}, {wake, POLLIN, 0}};
        if (poll(entries, 2, kSendPatienceMs) <= 0 || IsEnding()) return false;
    }
    return true;
}

// Sends what the device answered, or what misbehaviour makes of it. False: the device is gone.
bool ServedPort::Inside::Reply(int file, const std::string &right)
{
    if (right.empty()) return true;
    PortMisbehaviour bad;
    {
        const std::lock_guard lock(guard);
        const uint64_t nth = replies++;
        if (nth >= told.goodReplies && nth - told.goodReplies < told.badReplies) bad = told;
    }
    if (bad.silent) return true;
    if (bad.delayS > 0.0 && !Pause(bad.delayS)) return false;
    std::string bytes = bad.garble ? bad.garble(right) : right;
    if (bad.hangUpAfter) bytes.resize(std::min(bytes.size(), *bad.hangUpAfter));
    if (!bytes.empty()) {
        Note(false, bytes);
        (void)Transmit(file, bytes, bad.byteDelayS);  // a reply that nobody reads is lost
    }
    if (!bad.hangUpAfter) return !IsEnding();
    AwaitReadOut();
    return false;
}

bool ServedPort::Inside::ServeFrames(int file, std::string &pending)
{
    for (;;) {
        const size_t length = std::min(framing(pending), pending.size());
        if (length == 0) break;
        const std::string frame = pending.substr(0, length);
        pending.erase(0, length);
        Note(true, frame);
        if (!Reply(file, device(frame))) return false;
    }
    if (pending.size() > kMostPending) pending.clear();
    return true;
}

// The port's thread, from Plug to HangUp, or until misbehaviour ends it.
void ServedPort::Inside::Serve(int file)
{
    std::string pending;
    for (;;) {
        pollfd entries[2] = {{file, POLLIN, 0}, {wake, POLLIN, 0}};
        if (poll(entries, 2, -1) < 0 && errno != EINTR) break;
        uint64_t count = 0;
        (void)!read(wake, &count, sizeof count);
        std::string toSend;
        {
            const std::lock_guard lock(guard);
            if (ending) break;
            toSend.swap(unasked);
        }
        if (!toSend.empty()) {
            Note(false, toSend);
            (void)Transmit(file, toSend, 0.0);
        }
        char bytes[512];
        const ssize_t got = read(file, bytes, sizeof bytes);
        if (got < 0 && errno != EAGAIN && errno != EINTR) break;
        if (got > 0) pending.append(bytes, static_cast<size_t>(got));
        if (!ServeFrames(file, pending)) break;
    }
    const std::lock_guard lock(guard);
    terminal.Close();
    changed.notify_all();
}

// Wants plugGuard.
bool ServedPort::Inside::PlugIn()
{
    {
        const std::lock_guard lock(guard);
        if (!terminal.path.empty()) return true;
    }
    if (thread.joinable()) thread.join();  // of a port that hung up by itself
    const std::lock_guard lock(guard);
    if (wake < 0 || !terminal.Open()) return false;
    ending = false;
    unasked.clear();
    thread = std::thread([this, file = terminal.device] { Serve(file); });
    return true;
}

// Wants plugGuard.
void ServedPort::Inside::PullOut()
{
    {
        const std::lock_guard lock(guard);
        ending = true;
        changed.notify_all();
    }
    Wake();
    if (thread.joinable()) thread.join();
}

ServedPort::ServedPort(PortFraming framing, PortDevice device)
    : m_inside(std::make_unique<Inside>(std::move(framing), std::move(device)))
{
    if (!m_inside->PlugIn()) throw std::runtime_error("no pseudo-terminal to be had");
}

ServedPort::~ServedPort() { HangUp(); }

std::string ServedPort::Path() const
{
    const std::lock_guard lock(m_inside->guard);
    return m_inside->terminal.path;
}

void ServedPort::HangUp()
{
    const std::lock_guard plug(m_inside->plugGuard);
    m_inside->PullOut();
}

bool ServedPort::Plug()
{
    const std::lock_guard plug(m_inside->plugGuard);
    return m_inside->PlugIn();
}

void ServedPort::Misbehave(const PortMisbehaviour &told)
{
    const std::lock_guard lock(m_inside->guard);
    m_inside->told = told;
    m_inside->replies = 0;
}

void ServedPort::Send(const std::string &bytes)
{
    {
        const std::lock_guard lock(m_inside->guard);
        m_inside->unasked += bytes;
    }
    m_inside->Wake();
}

std::vector<PortEvent> ServedPort::Log() const
{
    const std::lock_guard lock(m_inside->guard);
    return m_inside->log;
}

void ServedPort::ForgetLog()
{
    const std::lock_guard lock(m_inside->guard);
    m_inside->log.clear();
}

static std::vector<std::string> FramesOf(const std::vector<PortEvent> &log)
{
    std::vector<std::string> frames;
    for (const PortEvent &event : log)
        if (event.received) frames.push_back(event.bytes);
    return frames;
}

std::vector<std::string> ServedPort::Frames() const { return FramesOf(Log()); }

bool ServedPort::AwaitFrames(size_t count, double wallSeconds) const
{
    std::unique_lock lock(m_inside->guard);
    return m_inside->changed.wait_for(lock, std::chrono::duration<double>(wallSeconds), [&] {
        return static_cast<size_t>(std::ranges::count_if(
                   m_inside->log, [](const PortEvent &event) { return event.received; })) >= count;
    });
}
