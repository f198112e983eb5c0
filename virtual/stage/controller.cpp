#include "controller.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <iterator>
#include <numbers>

constexpr int32_t kUnknownCommand = 2;
constexpr int32_t kServoOff = 5;
constexpr int32_t kOutsideLimits = 7;
constexpr int32_t kBadVelocity = 8;
constexpr int32_t kStopped = 10;
constexpr int32_t kBadAxis = 15;
constexpr int32_t kOutOfRange = 17;
constexpr int32_t kWrongCount = 24;
constexpr int32_t kNoSuchParameter = 54;
constexpr int32_t kWaveTooLong = 67;
constexpr int32_t kWaveRuns = 73;
constexpr uint32_t kServoCycleTime = 0x0E000200;
constexpr double kOnTargetWithin = 1e-9;
constexpr double kFirstPlaces[] = {0.3, 0.4, 0.5};  // of the travel

struct StageController::Row
{
    const char *mnemonic;
    Handler handler;
};

const StageController::Row StageController::kRows[] = {
    {"CSV?", &StageController::CommandSet}, {"SAI?", &StageController::AxisNames},
    {"ERR?", &StageController::Error},      {"ONL", &StageController::Accept},
    {"SVO", &StageController::Servo},       {"VCO", &StageController::Accept},
    {"DCO", &StageController::Accept},      {"VEL", &StageController::Velocity},
    {"PLM?", &StageController::Upper},      {"NLM?", &StageController::Lower},
    {"MOV", &StageController::Move},        {"MVR", &StageController::MoveBy},
    {"MOV?", &StageController::Target},     {"POS?", &StageController::Place},
    {"ONT?", &StageController::Arrived},    {"DFH", &StageController::Home},
    {"STP", &StageController::Stop},        {"WCL", &StageController::ClearWave},
    {"SPA?", &StageController::Parameter},  {"WMS?", &StageController::WaveRoom},
    {"WTR", &StageController::WaveRate},    {"WAV", &StageController::Wave},
    {"CTO", &StageController::Trigger},     {"WGO", &StageController::Generator},
};

static bool ReadNumber(const std::string &text, double &value)
{
    const auto result = std::from_chars(text.data(), text.data() + text.size(), value);
    return result.ec == std::errc() && result.ptr == text.data() + text.size() &&
           std::isfinite(value);
}

static std::string NumberText(double value)
{
    char text[64];
    const auto end =
        std::to_chars(text, text + sizeof text, value, std::chars_format::scientific, 9);
    return {text, end.ptr};
}

StageController::StageController(const VirtualStageSettings &settings) : m_settings(settings)
{
    m_axes.resize(static_cast<size_t>(std::clamp(settings.axes, 1, 16)));
    for (size_t i = 0; i < m_axes.size(); ++i) {
        const double share = kFirstPlaces[i % std::size(kFirstPlaces)];
        m_axes[i].from = m_axes[i].to = settings.lower + share * (settings.upper - settings.lower);
    }
}

void StageController::Refuse(const std::string &mnemonic, int32_t code)
{
    m_refused = mnemonic;
    m_refusal = code;
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
    if (words[0] == m_refused && m_refusal != 0) return Fail(m_refusal);
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
        if (!ReadNumber(words[i + 1], value)) {
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
                                  double nowS)
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
        answer += std::to_string(axes[i] + 1) + "=" + NumberText((this->*value)(axes[i], nowS));
    }
    return answer + "\n";
}

double StageController::PeriodS(const StageAxis &axis) const
{
    return m_settings.servoCycleS * axis.waveRate * axis.wavePoints;
}

double StageController::Physical(size_t index, double timeS) const
{
    const StageAxis &axis = m_axes[index];
    if (axis.oscillates) {
        const double turns = (timeS - axis.waveStartS) / PeriodS(axis);
        return axis.waveOffset +
               axis.waveAmplitude / 2.0 * (1.0 - std::cos(2.0 * std::numbers::pi * turns));
    }
    const double distance = std::fabs(axis.to - axis.from);
    const double gone = std::max(timeS - axis.startS, 0.0) * axis.velocity;
    if (gone >= distance) return axis.to;
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
    told.servo = row.servo;
    told.onTarget = ArrivedOf(axis, nowS) != 0.0;
    told.oscillates = row.oscillates;
    told.amplitude = row.oscillates ? row.waveAmplitude / 2.0 : 0.0;
    told.hertz = row.oscillates ? 1.0 / PeriodS(row) : 0.0;
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
    const std::string answer = std::to_string(m_error) + "\n";
    m_error = 0;
    return answer;
}

// What changes nothing that is told: online mode, velocity control, drift compensation.
std::string StageController::Accept(const Words &words, double)
{
    std::vector<size_t> axes;
    std::vector<double> values;
    (void)ReadPairs(words, axes, values);
    return {};
}

std::string StageController::Servo(const Words &words, double)
{
    std::vector<size_t> axes;
    std::vector<double> values;
    if (!ReadPairs(words, axes, values)) return {};
    for (size_t i = 0; i < axes.size(); ++i)
        m_axes[axes[i]].servo = values[i] != 0.0;
    return {};
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
        if (!row.servo) return Fail(kServoOff);
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
    for (size_t axis = 0; axis < m_axes.size(); ++axis) {
        const double place = Physical(axis, nowS);
        m_axes[axis].oscillates = false;
        m_axes[axis].from = m_axes[axis].to = place;
    }
    return Fail(kStopped);
}

std::string StageController::Upper(const Words &words, double nowS)
{
    return Tell(words, &StageController::UpperOf, nowS);
}

std::string StageController::Lower(const Words &words, double nowS)
{
    return Tell(words, &StageController::LowerOf, nowS);
}

std::string StageController::Target(const Words &words, double nowS)
{
    return Tell(words, &StageController::TargetOf, nowS);
}

std::string StageController::Place(const Words &words, double nowS)
{
    return Tell(words, &StageController::PlaceOf, nowS);
}

std::string StageController::Arrived(const Words &words, double nowS)
{
    return Tell(words, &StageController::ArrivedOf, nowS);
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

bool StageController::AxisByNumber(const Words &words, size_t &axis)
{
    if (words.size() >= 2 && FindAxis(words[1], axis)) return true;
    m_error = words.size() < 2 ? kWrongCount : kOutOfRange;
    return false;
}

std::string StageController::WaveRoom(const Words &words, double)
{
    size_t table = 0;
    if (!AxisByNumber(words, table)) return {};
    return words[1] + "=" + std::to_string(m_settings.wavePoints) + "\n";
}

std::string StageController::ClearWave(const Words &words, double)
{
    size_t table = 0;
    if (AxisByNumber(words, table)) m_axes[table].wavePoints = 0;
    return {};
}

std::string StageController::WaveRate(const Words &words, double)
{
    size_t generator = 0;
    double rate = 0.0;
    if (words.size() != 4) return Fail(kWrongCount);
    if (!AxisByNumber(words, generator)) return {};
    if (!ReadNumber(words[2], rate) || rate < 1.0 || rate > 1e6) return Fail(kOutOfRange);
    m_axes[generator].waveRate = static_cast<int32_t>(rate);
    return {};
}

// WAV table X SIN_P segment amplitude offset points first centre
std::string StageController::Wave(const Words &words, double)
{
    size_t table = 0;
    if (words.size() != 10 || words[2] != "X" || words[3] != "SIN_P") return Fail(kWrongCount);
    if (!AxisByNumber(words, table)) return {};
    double numbers[6];
    for (size_t i = 0; i < 6; ++i) {
        if (!ReadNumber(words[4 + i], numbers[i])) return Fail(1);
    }
    const double points = numbers[3];
    if (points < 2.0) return Fail(kOutOfRange);
    if (points > m_settings.wavePoints) return Fail(kWaveTooLong);
    StageAxis &axis = m_axes[table];
    const double lowest = numbers[2] + axis.origin;
    if (lowest < m_settings.lower || lowest + numbers[1] > m_settings.upper)
        return Fail(kOutsideLimits);
    axis.wavePoints = static_cast<int32_t>(points);
    axis.waveAmplitude = numbers[1];
    axis.waveOffset = lowest;
    return {};
}

std::string StageController::Trigger(const Words &words, double)
{
    size_t line = 0;
    double parameter = 0.0;
    double value = 0.0;
    if (words.size() != 4) return Fail(kWrongCount);
    if (!AxisByNumber(words, line)) return {};
    if (!ReadNumber(words[2], parameter) || !ReadNumber(words[3], value)) return Fail(1);
    m_axes[line].triggersOutput = parameter == 3.0 && value == 4.0;
    return {};
}

std::string StageController::Generator(const Words &words, double nowS)
{
    size_t generator = 0;
    double mode = 0.0;
    if (words.size() != 3) return Fail(kWrongCount);
    if (!AxisByNumber(words, generator)) return {};
    if (!ReadNumber(words[2], mode)) return Fail(1);
    StageAxis &axis = m_axes[generator];
    const bool start = (static_cast<int32_t>(mode) & 1) != 0;
    if (start && axis.wavePoints == 0) return Fail(kOutOfRange);
    if (!start && axis.oscillates) {
        axis.from = axis.to = Physical(generator, nowS);
        axis.startS = nowS;
    }
    axis.oscillates = start;
    if (start) axis.waveStartS = nowS;
    return {};
}
