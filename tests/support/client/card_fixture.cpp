#include "card_fixture.h"

#include <chrono>
#include <cmath>

ZVC_Task MakeStream(const StreamSettings &settings)
{
    ZVC_Task task = nullptr;
    EXPECT_EQ(DAQmxCreateTask("", &task), 0);
    EXPECT_EQ(DAQmxCreateAOVoltageChan(task, settings.channels, "", -10.0, 10.0, kVolts, ""), 0);
    EXPECT_EQ(
        DAQmxCfgSampClkTiming(task, "", settings.rate, kRising, kContinuous, settings.samples), 0);
    if (!settings.regenerates) {
        EXPECT_EQ(DAQmxSetWriteAttribute(task, kAttributeRegeneration, kNoRegeneration), 0);
    }
    return task;
}

ZVC_Task StartStream(const StreamSettings &settings)
{
    ZVC_Task task = MakeStream(settings);
    EXPECT_EQ(WriteSteps(task, static_cast<int32_t>(settings.samples)), 0);
    EXPECT_EQ(DAQmxStartTask(task), 0);
    return task;
}

ZVC_Task MakeInput(const char *channels, uint64_t samples, double rate, int32_t mode)
{
    ZVC_Task task = nullptr;
    EXPECT_EQ(DAQmxCreateTask("", &task), 0);
    EXPECT_EQ(
        DAQmxCreateAIVoltageChan(task, channels, "", kDifferential, -10.0, 10.0, kVolts, nullptr),
        0);
    if (samples > 0) {
        EXPECT_EQ(DAQmxCfgSampClkTiming(task, "", rate, kRising, mode, samples), 0);
    }
    return task;
}

ZVC_Task MakeLines(const char *lines)
{
    ZVC_Task task = nullptr;
    EXPECT_EQ(DAQmxCreateTask("", &task), 0);
    EXPECT_EQ(DAQmxCreateDOChan(task, lines, "", kForAllLines), 0);
    EXPECT_EQ(DAQmxStartTask(task), 0);
    return task;
}

std::vector<double> ReadSamples(ZVC_Task task, int32_t count, int32_t expectedResult,
                                double timeoutS, int32_t layout)
{
    const auto channels = static_cast<size_t>(InfoOf(task).channelCount);
    std::vector<double> volts(static_cast<size_t>(count) * channels, -99.0);
    int32_t read = -1;
    EXPECT_EQ(DAQmxReadAnalogF64(task, count, timeoutS, static_cast<uint32_t>(layout), volts.data(),
                                 static_cast<uint32_t>(volts.size()), &read, nullptr),
              expectedResult);
    volts.resize(static_cast<size_t>(read) * channels);
    return volts;
}

void Gate::Open()
{
    const std::lock_guard<std::mutex> lock(m_guard);
    m_open = true;
    m_changed.notify_all();
}

void Gate::Pass()
{
    std::unique_lock<std::mutex> lock(m_guard);
    m_changed.wait(lock, [this] { return m_open; });
}

bool Gate::PassWithin(double wallSeconds)
{
    std::unique_lock<std::mutex> lock(m_guard);
    return m_changed.wait_for(lock, std::chrono::duration<double>(wallSeconds),
                              [this] { return m_open; });
}

int32_t WriteSteps(ZVC_Task task, int32_t count, int32_t from, double timeoutS)
{
    const int32_t channels = InfoOf(task).channelCount;
    std::vector<double> samples;
    for (int32_t channel = 0; channel < channels; ++channel)
        for (int32_t i = 0; i < count; ++i)
            samples.push_back((from + i + 1000 * channel) * 1e-3);
    return DAQmxWriteAnalogF64(task, count, 0, timeoutS, 0, samples.data(), nullptr, nullptr);
}

std::vector<int> WrittenMillivolts(const char *channel)
{
    std::vector<double> volts(ZVC_CountWritten(channel));
    volts.resize(ZVC_CopyWritten(channel, 0, volts.size(), volts.data()));
    std::vector<int> millivolts;
    millivolts.reserve(volts.size());
    for (const double value : volts)
        millivolts.push_back(static_cast<int>(std::lround(value * 1000.0)));
    return millivolts;
}

std::string LastFailure()
{
    char text[4096] = "";
    (void)DAQmxGetExtendedErrorInfo(text, sizeof text);
    return text;
}

std::string LogLine(int64_t index)
{
    char text[1024] = "";
    const uint64_t place =
        index < 0 ? ZVC_CountLog() + static_cast<uint64_t>(index) : static_cast<uint64_t>(index);
    (void)ZVC_GetLog(place, text, sizeof text);
    return text;
}

std::vector<std::string> WholeLog()
{
    std::vector<std::string> lines;
    for (uint64_t i = 0; i < ZVC_CountLog(); ++i)
        lines.push_back(LogLine(static_cast<int64_t>(i)));
    return lines;
}

ZVC_TaskInfo InfoOf(ZVC_Task task)
{
    ZVC_TaskInfo info = {};
    for (int32_t i = 0; i < ZVC_CountTasks(); ++i)
        if (ZVC_GetTask(i, &info) == ZVC_OK && info.handle == task) return info;
    return {};
}
