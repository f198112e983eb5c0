// The board's decisions: what a frame does to it, where its motor is, and what it answers.

#include "quorvex-virtual/motor.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <limits>
#include <map>
#include <mutex>
#include <utility>

constexpr size_t kFrameSize = 9;
constexpr uint8_t kModuleAddress = 1;
constexpr uint8_t kHostAddress = 2;
constexpr uint8_t kUserBank = 2;
constexpr size_t kUserVariables = 56;
constexpr int32_t kHighestSpeed = 2047;

enum BoardStatus : uint8_t
{
    kWrongChecksum = 1,
    kNoSuchCommand = 2,
    kWrongType = 3,
    kBadValue = 4,
    kDone = 100
};

enum AxisParameter : uint8_t
{
    kTarget = 0,
    kPosition = 1,
    kSpeed = 3,
    kMaxSpeed = 4,
    kReached = 8
};

struct ParameterRange
{
    int parameter;
    int32_t lowest;
    int32_t highest;
    int32_t atStart;
};

constexpr int32_t kAnyLowest = std::numeric_limits<int32_t>::min();
constexpr int32_t kAnyHighest = std::numeric_limits<int32_t>::max();

static constexpr ParameterRange kRanges[] = {
    {kTarget, kAnyLowest, kAnyHighest, 0},
    {kPosition, kAnyLowest, kAnyHighest, 0},
    {kMaxSpeed, 0, kHighestSpeed, 1000},
    {5, 0, kHighestSpeed, 500},  // highest acceleration
    {6, 0, 255, 128},            // highest current
    {7, 0, 255, 8},              // standby current
    {138, 0, 2, 0},              // ramp mode
    {203, -1, 2048, 2048},       // mixed decay threshold
    {204, 0, 65535, 0},          // freewheeling
};

static const ParameterRange *RangeOf(int parameter)
{
    const auto *const found = std::ranges::find(kRanges, parameter, &ParameterRange::parameter);
    return found == std::end(kRanges) ? nullptr : found;
}

static double WallSeconds()
{
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

static int32_t InRange(double steps)
{
    return static_cast<int32_t>(std::clamp(std::round(steps), static_cast<double>(kAnyLowest),
                                           static_cast<double>(kAnyHighest)));
}

struct VirtualMotor::Inside
{
    explicit Inside(const VirtualMotorSettings &settings)
        : stepsEachUnit(settings.stepsEachUnit), position(settings.position),
          stopAt(settings.stopAt), target(settings.position)
    {
        for (const ParameterRange &range : kRanges)
            parameters[range.parameter] = range.atStart;
        variables[0] = settings.owner;
        last = now();
    }

    const double stepsEachUnit;

    mutable std::mutex guard;  // of all below
    std::function<double()> now = WallSeconds;
    double last = 0.0;   // when the motor was last brought up to date
    double timeS = 0.0;  // since the board was made, or its clock changed

    double position;  // steps
    double stopAt;
    int32_t target;
    int32_t speed = 0;                  // board's unit, signed; 0: stands
    bool toTarget = false;              // a move, which ends at its target; else a rotation
    std::map<int, int32_t> parameters;  // but target and position
    std::array<int32_t, kUserVariables> variables = {};
    std::map<uint8_t, uint8_t> refused;
    std::vector<VirtualMotorEvent> events;

    std::unique_ptr<ServedPort> port;  // last: its thread uses all above

    std::string Answer(std::string_view frame);
    void Turn();
    void MoveTo(int64_t where);
    uint8_t Rotate(int32_t value);
    uint8_t Move(uint8_t type, int32_t value);
    uint8_t SetAxis(uint8_t type, int32_t value);
    std::optional<int32_t> GetAxis(int type) const;
    uint8_t Obey(VirtualMotorEvent &event);
    bool Reached() const { return speed == 0 && InRange(position) == target; }
};

// Brings the motor to where it is by now. Wants the lock, as all below.
void VirtualMotor::Inside::Turn()
{
    const double time = now();
    const double passed = std::max(time - last, 0.0);
    last = time;
    timeS += passed;
    if (speed == 0) return;
    position += speed * stepsEachUnit * passed;
    const bool arrived = speed > 0 ? position >= target : position <= target;
    if (toTarget && arrived) {
        position = target;
        speed = 0;
    }
    if (position <= stopAt && speed <= 0) {
        position = std::max(position, stopAt);
        speed = 0;
    }
    position =
        std::clamp(position, static_cast<double>(kAnyLowest), static_cast<double>(kAnyHighest));
}

void VirtualMotor::Inside::MoveTo(int64_t where)
{
    target = static_cast<int32_t>(where);
    const int32_t fastest = parameters[kMaxSpeed];
    toTarget = true;
    speed = 0;
    if (target > position) speed = fastest;
    if (target < position && position > stopAt) speed = -fastest;
}

uint8_t VirtualMotor::Inside::Rotate(int32_t value)
{
    if (value < -kHighestSpeed || value > kHighestSpeed) return kBadValue;
    toTarget = false;
    speed = value < 0 && position <= stopAt ? 0 : value;
    return kDone;
}

uint8_t VirtualMotor::Inside::Move(uint8_t type, int32_t value)
{
    if (type > 1) return kWrongType;
    const int64_t where = type == 0 ? value : static_cast<int64_t>(InRange(position)) + value;
    if (where < kAnyLowest || where > kAnyHighest) return kBadValue;
    MoveTo(where);
    return kDone;
}

uint8_t VirtualMotor::Inside::SetAxis(uint8_t type, int32_t value)
{
    const ParameterRange *const range = RangeOf(type);
    if (!range) return kWrongType;
    if (value < range->lowest || value > range->highest) return kBadValue;
    if (type == kTarget) {
        MoveTo(value);
    } else if (type == kPosition) {
        stopAt += value - position;  // the counter changes, the motor stays
        position = value;
    } else {
        parameters[type] = value;
    }
    return kDone;
}

std::optional<int32_t> VirtualMotor::Inside::GetAxis(int type) const
{
    if (type == kTarget) return target;
    if (type == kPosition) return InRange(position);
    if (type == kSpeed) return speed;
    if (type == kReached) return Reached() ? 1 : 0;
    const auto found = parameters.find(type);
    if (found == parameters.end()) return std::nullopt;
    return found->second;
}

// Gives the status; a value that was asked for goes into the event.
uint8_t VirtualMotor::Inside::Obey(VirtualMotorEvent &event)
{
    const bool isVariable = event.command == 9 || event.command == 10;
    if (isVariable && (event.motor != kUserBank || event.type >= kUserVariables))
        return event.motor != kUserBank ? kBadValue : kWrongType;
    if (!isVariable && event.motor != 0) return kBadValue;
    switch (event.command) {
    case 1: return Rotate(event.value);
    case 2: return event.value == kAnyLowest ? uint8_t{kBadValue} : Rotate(-event.value);
    case 3:
        toTarget = false;
        speed = 0;
        return kDone;
    case 4: return Move(event.type, event.value);
    case 5: return SetAxis(event.type, event.value);
    case 6: {
        const std::optional<int32_t> value = GetAxis(event.type);
        if (value) event.value = *value;
        return value ? kDone : kWrongType;
    }
    case 9: variables[event.type] = event.value; return kDone;
    case 10: event.value = variables[event.type]; return kDone;
    default: return kNoSuchCommand;
    }
}

static uint8_t Sum(std::string_view bytes)
{
    unsigned sum = 0;
    for (const char c : bytes)
        sum += static_cast<uint8_t>(c);
    return static_cast<uint8_t>(sum);
}

std::string VirtualMotor::Inside::Answer(std::string_view frame)
{
    const auto byte = [frame](size_t i) { return static_cast<uint8_t>(frame[i]); };
    if (frame.size() != kFrameSize || byte(0) != kModuleAddress) return "";
    VirtualMotorEvent event;
    event.command = byte(1);
    event.type = byte(2);
    event.motor = byte(3);
    uint32_t bits = 0;
    for (size_t i = 4; i < kFrameSize - 1; ++i)
        bits = bits << 8 | byte(i);
    event.value = static_cast<int32_t>(bits);

    const std::lock_guard lock(guard);
    Turn();
    const auto refusal = refused.find(event.command);
    if (Sum(frame.substr(0, kFrameSize - 1)) != byte(kFrameSize - 1)) {
        event.status = kWrongChecksum;
    } else if (refusal != refused.end()) {
        event.status = refusal->second;
    } else {
        event.status = Obey(event);
    }
    event.timeS = timeS;
    event.position = InRange(position);
    events.push_back(event);

    const auto value = static_cast<uint32_t>(event.value);
    std::string reply;
    for (const uint32_t part :
         {uint32_t{kHostAddress}, uint32_t{kModuleAddress}, uint32_t{event.status},
          uint32_t{event.command}, value >> 24, value >> 16, value >> 8, value})
        reply += static_cast<char>(part & 0xFF);
    return WithChecksum(reply);
}

VirtualMotor::VirtualMotor(const VirtualMotorSettings &settings)
    : m_inside(std::make_unique<Inside>(settings))
{
    Inside &inside = *m_inside;
    inside.port = std::make_unique<ServedPort>(
        FixedFrame(kFrameSize), [&inside](std::string_view frame) { return inside.Answer(frame); });
}

VirtualMotor::~VirtualMotor() { m_inside->port.reset(); }

std::string VirtualMotor::Offer(int port) const
{
    return "TRINAMIC Virtual Stepper Device (COM" + std::to_string(port) +
           ")=" + m_inside->port->Path();
}

ServedPort &VirtualMotor::Port() { return *m_inside->port; }

void VirtualMotor::SetClock(const std::function<double()> &seconds)
{
    const std::lock_guard lock(m_inside->guard);
    m_inside->Turn();
    m_inside->now = seconds ? seconds : WallSeconds;
    m_inside->last = m_inside->now();
    m_inside->timeS = 0.0;
}

VirtualMotorState VirtualMotor::State() const
{
    const std::lock_guard lock(m_inside->guard);
    m_inside->Turn();
    VirtualMotorState state;
    state.position = InRange(m_inside->position);
    state.target = m_inside->target;
    state.speed = m_inside->speed;
    state.atStop = m_inside->position <= m_inside->stopAt;
    state.reached = m_inside->Reached();
    return state;
}

std::optional<int32_t> VirtualMotor::AxisParameter(int parameter) const
{
    const std::lock_guard lock(m_inside->guard);
    m_inside->Turn();
    return m_inside->GetAxis(parameter);
}

void VirtualMotor::SetOwner(int32_t owner)
{
    const std::lock_guard lock(m_inside->guard);
    m_inside->variables[0] = owner;
}

void VirtualMotor::Refuse(uint8_t command, uint8_t status)
{
    const std::lock_guard lock(m_inside->guard);
    m_inside->refused.erase(command);
    if (status != kDone) m_inside->refused[command] = status;
}

std::vector<VirtualMotorEvent> VirtualMotor::Events() const
{
    const std::lock_guard lock(m_inside->guard);
    return m_inside->events;
}

std::vector<VirtualMotorEvent> VirtualMotor::TakeEvents()
{
    const std::lock_guard lock(m_inside->guard);
    return std::exchange(m_inside->events, {});
}

std::string WithChecksum(std::string eightBytes)
{
    const auto sum = static_cast<char>(Sum(eightBytes));
    return std::move(eightBytes) + sum;
}

std::string WithWrongChecksum(std::string reply)
{
    if (!reply.empty()) reply.back() = static_cast<char>(reply.back() + 1);
    return reply;
}
