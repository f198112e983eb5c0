// The laser's decisions: what a line does to it, and what it answers.

#include "quorvex-virtual/laser.h"

#include <algorithm>
#include <charconv>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <utility>

constexpr const char *kGood = "OK";
constexpr const char *kBad = "ERR";
constexpr int kLowestError = 2;
constexpr int kHighestError = 5;
constexpr int kFlagOfError5 = 2;
constexpr size_t kFigures = 4;  // of a value read back, with its point

struct VirtualLaser::Inside
{
    explicit Inside(const VirtualLaserLimits &theLimits) : limits(theLimits) {}

    const VirtualLaserLimits limits;
    const std::chrono::steady_clock::time_point start = std::chrono::steady_clock::now();

    mutable std::mutex guard;  // of all below
    mutable std::condition_variable heard;
    std::string newest;  // command
    VirtualLaserState state;
    std::function<bool()> interlockSource;
    std::string forcedFlags;
    std::vector<VirtualLaserEvent> events;

    std::unique_ptr<ServedPort> port;  // last: its thread uses all above

    VirtualLaserState Now() const;
    std::string Answer(std::string_view frame);
    std::string Obey(const std::string &command, bool interlockClosed);
    std::string Flags(bool interlockClosed) const;
    std::string SetOrGive(const std::string &value, double &field, double maximum);
};

// The source is asked without the lock: it may belong to a device that waits for another one.
VirtualLaserState VirtualLaser::Inside::Now() const
{
    VirtualLaserState now;
    std::function<bool()> source;
    {
        const std::lock_guard lock(guard);
        now = state;
        source = interlockSource;
    }
    if (source) now.interlockClosed = source();
    now.emits = now.outputOn && now.interlockClosed;
    return now;
}

std::string VirtualLaser::Inside::Flags(bool interlockClosed) const
{
    if (!forcedFlags.empty()) return forcedFlags;
    std::string flags = "111111";
    if (!interlockClosed) flags[0] = '0';
    if (!state.outputOn) flags[1] = '0';
    for (const int error : state.errors)
        flags[static_cast<size_t>(kFlagOfError5 + kHighestError - error)] = '0';
    return flags;
}

// Four characters: "1.50", "12.5", "125".
static std::string Shown(double value)
{
    char text[64];
    const auto end =
        std::to_chars(text, text + sizeof text, value, std::chars_format::fixed, 3).ptr;
    std::string shown(text, std::min<size_t>(kFigures, static_cast<size_t>(end - text)));
    if (shown.back() == '.') shown.pop_back();
    return shown;
}

std::string VirtualLaser::Inside::SetOrGive(const std::string &value, double &field, double maximum)
{
    if (value == "?") return Shown(field);
    double wanted = 0.0;
    const char *const last = value.data() + value.size();
    const auto [end, error] = std::from_chars(value.data(), last, wanted);
    if (error != std::errc{} || end != last) return kBad;
    if (!(wanted >= 0.0 && wanted <= maximum)) return kBad;
    field = wanted;
    return kGood;
}

static const char *Switch(bool &field, const std::string &value)
{
    if (value != "0" && value != "1") return kBad;
    field = value == "1";
    return kGood;
}

// The reply without its line end. Wants the lock.
std::string VirtualLaser::Inside::Obey(const std::string &command, bool interlockClosed)
{
    if (command == "?") return "?";
    if (command == "STA") return Flags(interlockClosed);
    const std::string name = command.substr(0, 4);
    const std::string value = command.size() > 4 ? command.substr(4) : "";
    if (name == "APC ") return SetOrGive(value, state.power, limits.maxPower);
    if (name == "ACC ") return SetOrGive(value, state.current, limits.maxCurrent);
    if (name == "CDO ") return Switch(state.outputOn, value);
    if (name != "COM ") return kBad;
    bool constantPower = !state.constantCurrent;
    const char *reply = Switch(constantPower, value);
    state.constantCurrent = !constantPower;
    return reply;
}

std::string VirtualLaser::Inside::Answer(std::string_view frame)
{
    std::string command(frame);
    while (!command.empty() && (command.back() == '\n' || command.back() == '\r'))
        command.pop_back();
    const bool closed = Now().interlockClosed;

    const std::lock_guard lock(guard);
    std::string reply;
    if (command == "CLT 0" || command == "CLT 1") {
        state.echo = command == "CLT 1";  // neither echoed nor answered
    } else {
        if (state.echo) reply = frame;
        reply += Obey(command, closed) + "\r\n";
    }
    const double timeS =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    events.push_back({timeS, command, closed, state.outputOn && closed});
    newest = command;
    heard.notify_all();
    return reply;
}

VirtualLaser::VirtualLaser(const VirtualLaserLimits &limits)
    : m_inside(std::make_unique<Inside>(limits))
{
    Inside &inside = *m_inside;
    inside.port = std::make_unique<ServedPort>(
        LineFrame, [&inside](std::string_view frame) { return inside.Answer(frame); });
}

VirtualLaser::~VirtualLaser() { m_inside->port.reset(); }

std::string VirtualLaser::Offer(int port) const
{
    return "Virtual USB Serial Port (COM" + std::to_string(port) + ")=" + m_inside->port->Path();
}

ServedPort &VirtualLaser::Port() { return *m_inside->port; }

VirtualLaserState VirtualLaser::State() const { return m_inside->Now(); }

void VirtualLaser::SetInterlock(bool closed)
{
    const std::lock_guard lock(m_inside->guard);
    m_inside->state.interlockClosed = closed;
}

void VirtualLaser::SetInterlockSource(const std::function<bool()> &source)
{
    const std::lock_guard lock(m_inside->guard);
    m_inside->interlockSource = source;
}

void VirtualLaser::SetError(int error, bool raised)
{
    if (error < kLowestError || error > kHighestError) return;
    const std::lock_guard lock(m_inside->guard);
    std::vector<int> &errors = m_inside->state.errors;
    std::erase(errors, error);
    if (raised) errors.push_back(error);
    std::ranges::sort(errors);
}

void VirtualLaser::ForceFlags(const std::string &flags)
{
    const std::lock_guard lock(m_inside->guard);
    m_inside->forcedFlags = flags;
}

void VirtualLaser::PowerCycle()
{
    const std::lock_guard lock(m_inside->guard);
    VirtualLaserState fresh;
    fresh.interlockClosed = m_inside->state.interlockClosed;
    fresh.errors = m_inside->state.errors;
    m_inside->state = fresh;
}

std::vector<VirtualLaserEvent> VirtualLaser::Events() const
{
    const std::lock_guard lock(m_inside->guard);
    return m_inside->events;
}

std::vector<VirtualLaserEvent> VirtualLaser::TakeEvents()
{
    const std::lock_guard lock(m_inside->guard);
    return std::exchange(m_inside->events, {});
}

bool VirtualLaser::AwaitCommand(const std::string &command, double wallSeconds) const
{
    std::unique_lock lock(m_inside->guard);
    return m_inside->heard.wait_for(lock, std::chrono::duration<double>(wallSeconds),
                                    [&] { return m_inside->newest == command; });
}

static std::string Milliseconds(double seconds)
{
    char text[64];
    const auto end =
        std::to_chars(text, text + sizeof text, seconds, std::chars_format::fixed, 3).ptr;
    const std::string number(text, end);
    return std::string(number.size() < 8 ? 8 - number.size() : 0, ' ') + number;
}

std::string VirtualLaserReport(const std::vector<VirtualLaserEvent> &events)
{
    constexpr size_t kCommandWidth = 14;
    std::string text;
    for (const VirtualLaserEvent &event : events) {
        std::string command = event.command;
        command.resize(std::max(kCommandWidth, command.size()), ' ');
        text += Milliseconds(event.timeS) + " s  " + command +
                (event.interlockClosed ? " interlock closed" : " interlock open") +
                (event.emits ? ", EMITS\n" : ", dark\n");
    }
    return text;
}
