#include "stage_view.h"

#include "quorvex-virtual/daq.h"

#include <algorithm>
#include <cmath>
#include <cstring>

constexpr double kMetresPerMicrometre = 1e-6;

void TieClocks(StageView &view)
{
    if (view.stage) view.aheadS = view.stage->Now() - ZVC_Now();
}

static bool OutputPlaces(const StageView &view, int axis, const Moments &moments,
                         std::vector<double> &metres)
{
    std::fill(metres.begin(), metres.end(), 0.0);
    if (axis > 1) return false;
    const std::string &channel = view.wiring.channels[static_cast<size_t>(axis)];
    if (ZVC_CopyVoltsAt(channel.c_str(), moments.firstS, moments.stepS,
                        static_cast<uint32_t>(metres.size()), metres.data()) != ZVC_OK)
        return false;
    for (double &place : metres)
        place *= kMetresPerMicrometre / view.wiring.voltsPerMicrometre;
    return true;
}

bool StagePlaces(const StageView &view, StageTriggers &triggers, int axis, const Moments &moments,
                 std::vector<double> &metres)
{
    if (view.outputs) return OutputPlaces(view, axis, moments, metres);
    if (!view.stage) {
        std::fill(metres.begin(), metres.end(), 0.0);
        return false;
    }
    const double firstS = moments.firstS + view.aheadS;
    const VirtualStageAxis state = view.stage->State(axis);
    if (!state.oscillates && state.onTarget) {
        std::fill(metres.begin(), metres.end(), state.position * kMetresPerMicrometre);
        return false;
    }
    VirtualStageTrigger wave;
    if (state.oscillates) {
        const std::lock_guard lock(triggers.mutex);
        wave = triggers.lines[static_cast<size_t>(axis)];
    }
    for (size_t i = 0; i < metres.size(); ++i) {
        const double timeS = firstS + moments.stepS * static_cast<double>(i);
        const double place = wave.running && wave.position ? wave.position(timeS)
                                                           : view.stage->PositionAt(axis, timeS);
        metres[i] = place * kMetresPerMicrometre;
    }
    return true;
}

static void PulsesOfStage(const StageView &view, StageTriggers &triggers, const Moments &moments,
                          std::vector<double> &volts)
{
    const std::lock_guard lock(triggers.mutex);
    for (const VirtualStageTrigger &wave : triggers.lines) {
        if (!wave.running || wave.periodS <= 0.0) continue;
        const double firstS = moments.firstS + view.aheadS - wave.startS;
        for (size_t i = 0; i < volts.size(); ++i) {
            const double timeS = firstS + moments.stepS * static_cast<double>(i);
            if (timeS < 0.0) continue;
            const double phaseS = std::fmod(timeS, wave.periodS);
            for (const double pulseS : wave.pulsesS) {
                if (phaseS >= pulseS && phaseS < pulseS + kPulseS) volts[i] = kPulseVolts;
            }
        }
    }
}

// The block that an output plays over and over, as long as it moves: its middle, in volts.
static bool OscillatesAbout(const std::string &channel, double &middle)
{
    for (int32_t i = 0; i < ZVC_CountTasks(); ++i) {
        ZVC_TaskInfo task{};
        if (ZVC_GetTask(i, &task) != ZVC_OK || task.state != ZVC_RUNNING || !task.timed) continue;
        std::string channels = task.channels;
        std::string wanted = channel;
        for (std::string *text : {&channels, &wanted})
            std::transform(text->begin(), text->end(), text->begin(),
                           [](char c) { return c >= 'A' && c <= 'Z' ? char(c - 'A' + 'a') : c; });
        if (("," + channels + ",").find("," + wanted + ",") == std::string::npos) continue;
        std::vector<double> block(task.bufferSize);
        const uint64_t written = ZVC_CountWritten(channel.c_str());
        if (block.empty() || written < block.size()) return false;
        if (ZVC_CopyWritten(channel.c_str(), written - block.size(), block.size(), block.data()) !=
            block.size())
            return false;
        const auto [least, most] = std::minmax_element(block.begin(), block.end());
        middle = (*least + *most) / 2.0;
        return *most > *least;
    }
    return false;
}

// A pulse begins where the output rises through the middle of its block.
static void PulsesOfOutputs(const StageView &view, const Moments &moments,
                            std::vector<double> &volts)
{
    if (moments.stepS <= 0.0) return;
    const size_t before = static_cast<size_t>(std::ceil(kPulseS / moments.stepS));
    std::vector<double> wave(before + volts.size() + 1);
    for (const std::string &channel : view.wiring.channels) {
        double middle = 0.0;
        if (!OscillatesAbout(channel, middle)) continue;
        if (ZVC_CopyVoltsAt(
                channel.c_str(), moments.firstS - moments.stepS * static_cast<double>(before + 1),
                moments.stepS, static_cast<uint32_t>(wave.size()), wave.data()) != ZVC_OK)
            continue;
        // The sine's zero is not always the same number.
        const double above = middle + 1e-9;
        size_t sinceRise = before + 1;
        for (size_t i = 1; i < wave.size(); ++i) {
            sinceRise = wave[i] > above && wave[i - 1] <= above ? 0 : sinceRise + 1;
            if (i > before && sinceRise < before) volts[i - before - 1] = kPulseVolts;
        }
    }
}

void ReferenceVolts(const StageView &view, StageTriggers &triggers, const Moments &moments,
                    std::vector<double> &volts)
{
    std::fill(volts.begin(), volts.end(), 0.0);
    if (view.stage) PulsesOfStage(view, triggers, moments, volts);
    if (view.outputs) PulsesOfOutputs(view, moments, volts);
}
