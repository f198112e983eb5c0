// The controller's wave tables, generators and trigger outputs. Table, generator, output and axis
// of one number belong together.

#include "controller.h"

#include <charconv>
#include <cmath>
#include <numbers>
#include <utility>

constexpr double kMostMode = 65535.0;  // bits of WGO

bool ReadStageNumber(const std::string &text, double &value)
{
    const auto result = std::from_chars(text.data(), text.data() + text.size(), value);
    return result.ec == std::errc() && result.ptr == text.data() + text.size() &&
           std::isfinite(value);
}

double PeriodS(const StageAxis &axis, double cycleS)
{
    return cycleS * axis.waveRate * axis.wavePoints;
}

double WavePlace(const StageAxis &axis, double cycleS, double timeS)
{
    const double turns = (timeS - axis.waveStartS) / PeriodS(axis, cycleS);
    const double point = (turns - std::floor(turns)) * axis.wavePoints - axis.curveFirst;
    if (point < 0.0 || point > axis.curvePoints) return axis.waveOffset;
    const double rest = axis.curvePoints - axis.curveCentre;
    const double share = point <= axis.curveCentre ? point / axis.curveCentre
                                                   : 1.0 + (point - axis.curveCentre) / rest;
    return axis.waveOffset + axis.waveAmplitude / 2.0 * (1.0 - std::cos(std::numbers::pi * share));
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
    if (!AxisByNumber(words, table)) return {};
    if (m_axes[table].oscillates) return Fail(kWaveRuns);
    m_axes[table].wavePoints = 0;
    return {};
}

std::string StageController::WaveRate(const Words &words, double)
{
    size_t generator = 0;
    double rate = 0.0;
    if (words.size() != 4) return Fail(kWrongCount);
    if (!AxisByNumber(words, generator)) return {};
    if (!ReadStageNumber(words[2], rate) || rate < 1.0 || rate > 1e6) return Fail(kOutOfRange);
    if (m_axes[generator].oscillates) return Fail(kWaveRuns);
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
        if (!ReadStageNumber(words[4 + i], numbers[i])) return Fail(1);
    }
    const double segment = numbers[0];
    const double points = numbers[3];
    const double first = numbers[4];
    const double centre = numbers[5];
    if (points < 2.0 || first < 0.0 || first + points > segment + 1.0) return Fail(kOutOfRange);
    if (centre < 1.0 || centre > points - 1.0) return Fail(kOutOfRange);
    if (segment > m_settings.wavePoints) return Fail(kWaveTooLong);
    StageAxis &axis = m_axes[table];
    if (axis.oscillates) return Fail(kWaveRuns);
    const double lowest = numbers[2] + axis.origin;
    if (lowest < m_settings.lower || lowest + numbers[1] > m_settings.upper)
        return Fail(kOutsideLimits);
    axis.wavePoints = static_cast<int32_t>(segment);
    axis.curveFirst = static_cast<int32_t>(first);
    axis.curvePoints = static_cast<int32_t>(points);
    axis.curveCentre = static_cast<int32_t>(centre);
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
    if (!ReadStageNumber(words[2], parameter) || !ReadStageNumber(words[3], value)) return Fail(1);
    m_axes[line].triggersOutput = parameter == 3.0 && value == 4.0;
    return {};
}

// TWS line point switch
std::string StageController::TriggerPoint(const Words &words, double)
{
    size_t line = 0;
    double point = 0.0;
    double on = 0.0;
    if (words.size() != 4) return Fail(kWrongCount);
    if (!AxisByNumber(words, line)) return {};
    if (!ReadStageNumber(words[2], point) || !ReadStageNumber(words[3], on)) return Fail(1);
    if (point < 0.0 || point > m_settings.wavePoints) return Fail(kOutOfRange);
    std::set<int32_t> &points = m_axes[line].triggerPoints;
    if (on != 0.0)
        points.insert(static_cast<int32_t>(point));
    else
        points.erase(static_cast<int32_t>(point));
    return {};
}

void StageController::Announce(size_t index, double nowS)
{
    const StageAxis &axis = m_axes[index];
    if (!axis.triggersOutput) return;
    const double cycleS = m_settings.servoCycleS;
    VirtualStageTrigger trigger;
    trigger.line = static_cast<int>(index);
    trigger.running = axis.oscillates;
    trigger.startS = nowS;
    trigger.periodS = PeriodS(axis, cycleS);
    for (const int32_t point : axis.triggerPoints)
        trigger.pulsesS.push_back(point * axis.waveRate * cycleS);
    if (trigger.pulsesS.empty()) trigger.pulsesS.push_back(0.0);
    trigger.position = [axis, cycleS](double timeS) {
        return WavePlace(axis, cycleS, timeS) - axis.origin;
    };
    m_triggers.push_back(std::move(trigger));
}

std::vector<VirtualStageTrigger> StageController::TakeTriggers()
{
    return std::exchange(m_triggers, {});
}

// The axis stays where it is.
void StageController::EndWave(size_t index, double nowS)
{
    StageAxis &axis = m_axes[index];
    const bool oscillated = axis.oscillates;
    axis.from = axis.to = Physical(index, nowS);
    axis.startS = nowS;
    axis.oscillates = false;
    if (oscillated) Announce(index, nowS);
}

// Bit 0 starts the generator at once. What the other bits ask for is not done here.
std::string StageController::Generator(const Words &words, double nowS)
{
    size_t generator = 0;
    double mode = 0.0;
    if (words.size() != 3) return Fail(kWrongCount);
    if (!AxisByNumber(words, generator)) return {};
    if (!ReadStageNumber(words[2], mode) || mode < 0.0 || mode > kMostMode)
        return Fail(kOutOfRange);
    StageAxis &axis = m_axes[generator];
    if ((static_cast<int32_t>(mode) & 1) == 0) {
        if (axis.oscillates) EndWave(generator, nowS);
        return {};
    }
    if (axis.wavePoints == 0) return Fail(kOutOfRange);
    if (!axis.online) return Fail(kServoOff);
    axis.oscillates = true;
    axis.waveStartS = nowS;
    Announce(generator, nowS);
    return {};
}
