#include "controller.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <iterator>
#include <utility>

constexpr uint32_t kServoCycleTime = 0x0E000200;
constexpr double kOnTargetWithin = 1e-9;
constexpr double kFirstPlaces[] = {0.3, 0.4, 0.5};  // of the travel

struct StageController::Row
{
    const char *mnemonic;
    Handler handler;
};

const StageController::Row StageController::kRows[] = {
    {"CSV?", &StageController::CommandSet},
    {"SAI?", &StageController::AxisNames},
    {"ERR?", &StageController::Error},
    {"ONL", &StageController::Online},
    {"SVO", &StageController::Servo},
    {"VCO", &StageController::VelocityControl},
    {"DCO", &StageController::DriftCompensation},
    {"VEL", &StageController::Velocity},
    {"PLM?", &StageController::Upper},
    {"NLM?", &StageController::Lower},
    {"MOV", &StageController::Move},
    {"MVR", &StageController::MoveBy},
    {"MOV?", &StageController::Target},
    {"POS?", &StageController::Place},
    {"ONT?", &StageController::Arrived},
    {"DFH", &StageController::Home},
    {"STP", &StageController::Stop},
    {"WCL", &StageController::ClearWave},
    {"SPA?", &StageController::Parameter},
    {"WMS?", &StageController::WaveRoom},
    {"WTR", &StageController::WaveRate},
    {"WAV", &StageController::Wave},
    {"CTO", &StageController::Trigger},
    {"TWS", &StageController::TriggerPoint},
    {"WGO", &StageController::Generator},
};

static std::string NumberText(double value)
{
    char text[64];
    const auto end =
        std::to_chars(text, text + sizeof text, value, std::chars_format::scientific, 9);
    return {text, end.ptr};
}

static std::string FlagText(double value) { return value != 0.0 ? "1" : "0"; }

StageController::StageController(const VirtualStageSettings &settings) : m_settings(settings)
{
    m_axes.resize(static_cast<size_t>(std::clamp(settings.axes, 1, 16)));
    for (size_t i = 0; i < m_axes.size(); ++i) {
        const double share = kFirstPlaces[i % std::size(kFirstPlaces)];
        m_axes[i].online = !settings.startsOffline;
        m_axes[i].from = m_axes[i].to = settings.lower + share * (settings.upper - settings.lower);
    }
}

void StageController::Refuse(const std::string &mnemonic, int nth, int32_t code)
{
    m_refused = mnemonic;
    m_refusedNth = nth;
    m_refusal = code;
}

// The question for the error is never refused: it is how a refusal is told.
bool StageController::IsRefused(const std::string &mnemonic)
{
    if (m_refusal == 0 || mnemonic == "ERR?") return false;
    if (!m_refused.empty() && mnemonic != m_refused) return false;
    if (m_refused.empty() && m_refusedNth == 0) return false;
    if (m_refusedNth == 0) return true;
    if (--m_refusedNth > 0) return false;
    m_refusal = 0;
    return true;
}

std::string StageController::Answer(const std::string &command, double nowS)
{
    Words words;
    size_t at = 0;
    while ((at = command.find_first_not_of(" \r", at)) != std::string::npos) {
        const size_t end = std::min(command.find_first_of(" \r", at), command.size());
        words.push_back(command.substr(at, end - at));
        at = end;
    }
    if (words.empty()) return {};
    const int32_t refusal = m_refusal;
    if (IsRefused(words[0])) return Fail(refusal);
    const Row *row = std::find_if(std::begin(kRows), std::end(kRows),
                                  [&](const Row &r) { return words[0] == r.mnemonic; });
    if (row == std::end(kRows)) return Fail(kUnknownCommand);
    return (this->*row->handler)(words, nowS);
}

std::string StageController::Fail(int32_t code)
{
    m_error = code;
    return {};
}

bool StageController::FindAxis(const std::string &name, size_t &axis) const
{
    for (axis = 0; axis < m_axes.size(); ++axis) {
        if (name == std::to_string(axis + 1)) return true;
    }
    return false;
}

// "MNE axis value axis value": all are read before one of them acts.
bool StageController::ReadPairs(const Words &words, std::vector<size_t> &axes,
                                std::vector<double> &values)
{
    if (words.size() < 3 || words.size() % 2 == 0) {
        m_error = kWrongCount;
        return false;
    }
    for (size_t i = 1; i + 1 < words.size(); i += 2) {
        size_t axis = 0;
        double value = 0.0;
        if (!FindAxis(words[i], axis)) {
            m_error = kBadAxis;
            return false;
        }
        if (!ReadStageNumber(words[i + 1], value)) {
            m_error = 1;
            return false;
        }
        axes.push_back(axis);
        values.push_back(value);
    }
    return true;
}

// "axis=value" lines, each but the last with a blank behind it. Without names all axes tell.
std::string StageController::Tell(const Words &words,
                                  double (StageController::*value)(size_t, double) const,
                                  double nowS, std::string (*text)(double))
{
    std::vector<size_t> axes;
    for (size_t i = 1; i < words.size(); ++i) {
        size_t axis = 0;
        if (!FindAxis(words[i], axis)) return Fail(kBadAxis);
        axes.push_back(axis);
    }
    if (axes.empty()) {
        for (size_t axis = 0; axis < m_axes.size(); ++axis)
            axes.push_back(axis);
    }
    std::string answer;
    for (size_t i = 0; i < axes.size(); ++i) {
        if (i > 0) answer += " \n";
        answer += std::to_string(axes[i] + 1) + "=" + text((this->*value)(axes[i], nowS));
    }
    return answer + "\n";
}

double StageController::Physical(size_t index, double timeS) const
{
    const StageAxis &axis = m_axes[index];
    if (axis.oscillates) return WavePlace(axis, m_settings.servoCycleS, timeS);
    const double distance = std::fabs(axis.to - axis.from);
    const double gone = std::max(timeS - axis.startS, 0.0) * axis.velocity;
    if (!axis.velocityControl || gone >= distance) return axis.to;
    return axis.to > axis.from ? axis.from + gone : axis.from - gone;
}

double StageController::PlaceOf(size_t axis, double nowS) const
{
    return Physical(axis, nowS) - m_axes[axis].origin;
}

double StageController::ArrivedOf(size_t axis, double nowS) const
{
    if (m_axes[axis].oscillates) return 0.0;
    return std::fabs(Physical(axis, nowS) - m_axes[axis].to) < kOnTargetWithin ? 1.0 : 0.0;
}

double StageController::PositionAt(int axis, double timeS) const
{
    const auto index = static_cast<size_t>(axis);
    return axis >= 0 && index < m_axes.size() ? PlaceOf(index, timeS) : 0.0;
}

VirtualStageAxis StageController::State(int index, double nowS) const
{
    VirtualStageAxis told;
    const auto axis = static_cast<size_t>(index);
    if (index < 0 || axis >= m_axes.size()) return told;
    const StageAxis &row = m_axes[axis];
    told.position = PlaceOf(axis, nowS);
    told.target = TargetOf(axis, nowS);
    told.velocity = row.velocity;
    told.online = row.online;
    told.servo = row.servo;
    told.velocityControl = row.velocityControl;
    told.driftCompensation = row.driftCompensation;
    told.onTarget = ArrivedOf(axis, nowS) != 0.0;
    told.oscillates = row.oscillates;
    told.amplitude = row.oscillates ? row.waveAmplitude / 2.0 : 0.0;
    told.hertz = row.oscillates ? 1.0 / PeriodS(row, m_settings.servoCycleS) : 0.0;
    told.upper = UpperOf(axis, nowS);
    told.lower = LowerOf(axis, nowS);
    told.triggersOutput = row.triggersOutput;
    return told;
}

void StageController::GoTo(size_t axis, double place, double nowS)
{
    StageAxis &row = m_axes[axis];
    row.from = Physical(axis, nowS);
    row.to = place;
    row.startS = nowS;
}

std::string StageController::CommandSet(const Words &, double) { return "2.0\n"; }

std::string StageController::AxisNames(const Words &, double)
{
    std::string answer;
    for (size_t axis = 0; axis < m_axes.size(); ++axis) {
        if (axis > 0) answer += " \n";
        answer += std::to_string(axis + 1);
    }
    return answer + "\n";
}

std::string StageController::Error(const Words &, double)
{
    return std::to_string(std::exchange(m_error, 0)) + "\n";
}

std::string StageController::Switch(const Words &words, bool StageAxis::*which)
{
    std::vector<size_t> axes;
    std::vector<double> values;
    if (!ReadPairs(words, axes, values)) return {};
    for (const double value : values) {
        if (value != 0.0 && value != 1.0) return Fail(kOutOfRange);
    }
    for (size_t i = 0; i < axes.size(); ++i)
        m_axes[axes[i]].*which = values[i] != 0.0;
    return {};
}

std::string StageController::Online(const Words &words, double)
{
    return Switch(words, &StageAxis::online);
}

std::string StageController::Servo(const Words &words, double)
{
    return Switch(words, &StageAxis::servo);
}

// An axis that has jumped stays where it is.
std::string StageController::VelocityControl(const Words &words, double nowS)
{
    for (size_t axis = 0; axis < m_axes.size(); ++axis) {
        if (!m_axes[axis].oscillates) GoTo(axis, m_axes[axis].to, nowS);
    }
    return Switch(words, &StageAxis::velocityControl);
}

std::string StageController::DriftCompensation(const Words &words, double)
{
    return Switch(words, &StageAxis::driftCompensation);
}

// What an axis has travelled already stays travelled.
std::string StageController::Velocity(const Words &words, double nowS)
{
    std::vector<size_t> axes;
    std::vector<double> values;
    if (!ReadPairs(words, axes, values)) return {};
    for (const double value : values) {
        if (value <= 0.0 || value > m_settings.mostVelocity) return Fail(kBadVelocity);
    }
    for (size_t i = 0; i < axes.size(); ++i) {
        StageAxis &row = m_axes[axes[i]];
        if (!row.oscillates) GoTo(axes[i], row.to, nowS);
        row.velocity = values[i];
    }
    return {};
}

// All axes start together, and none does when one target is bad.
std::string StageController::Move(const Words &words, double nowS)
{
    std::vector<size_t> axes;
    std::vector<double> values;
    if (!ReadPairs(words, axes, values)) return {};
    for (size_t i = 0; i < axes.size(); ++i) {
        const StageAxis &row = m_axes[axes[i]];
        if (!row.online || !row.servo) return Fail(kServoOff);
        if (row.oscillates) return Fail(kWaveRuns);
        const double place = values[i] + row.origin;
        if (place < m_settings.lower || place > m_settings.upper) return Fail(kOutsideLimits);
    }
    for (size_t i = 0; i < axes.size(); ++i)
        GoTo(axes[i], values[i] + m_axes[axes[i]].origin, nowS);
    return {};
}

std::string StageController::MoveBy(const Words &words, double nowS)
{
    std::vector<size_t> axes;
    std::vector<double> values;
    if (!ReadPairs(words, axes, values)) return {};
    Words absolute = {"MOV"};
    for (size_t i = 0; i < axes.size(); ++i) {
        absolute.push_back(std::to_string(axes[i] + 1));
        absolute.push_back(NumberText(TargetOf(axes[i], nowS) + values[i]));
    }
    return Move(absolute, nowS);
}

std::string StageController::Home(const Words &words, double nowS)
{
    std::vector<size_t> axes;
    for (size_t i = 1; i < words.size(); ++i) {
        size_t axis = 0;
        if (!FindAxis(words[i], axis)) return Fail(kBadAxis);
        axes.push_back(axis);
    }
    for (const size_t axis : axes)
        m_axes[axis].origin = Physical(axis, nowS);
    return {};
}

std::string StageController::Stop(const Words &, double nowS)
{
    for (size_t axis = 0; axis < m_axes.size(); ++axis)
        EndWave(axis, nowS);
    return Fail(kStopped);
}

std::string StageController::Upper(const Words &words, double nowS)
{
    return Tell(words, &StageController::UpperOf, nowS, NumberText);
}

std::string StageController::Lower(const Words &words, double nowS)
{
    return Tell(words, &StageController::LowerOf, nowS, NumberText);
}

std::string StageController::Target(const Words &words, double nowS)
{
    return Tell(words, &StageController::TargetOf, nowS, NumberText);
}

std::string StageController::Place(const Words &words, double nowS)
{
    return Tell(words, &StageController::PlaceOf, nowS, NumberText);
}

std::string StageController::Arrived(const Words &words, double nowS)
{
    return Tell(words, &StageController::ArrivedOf, nowS, FlagText);
}

std::string StageController::Parameter(const Words &words, double)
{
    size_t axis = 0;
    if (words.size() != 3) return Fail(kWrongCount);
    if (!FindAxis(words[1], axis)) return Fail(kBadAxis);
    uint32_t number = 0;
    const bool isHex = words[2].starts_with("0x");
    const char *first = words[2].data() + (isHex ? 2 : 0);
    (void)std::from_chars(first, words[2].data() + words[2].size(), number, isHex ? 16 : 10);
    if (number != kServoCycleTime) return Fail(kNoSuchParameter);
    return words[1] + " " + words[2] + "=" + NumberText(m_settings.servoCycleS) + "\n";
}
