#include "recording_daq.h"

#include <algorithm>
#include <charconv>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <map>
#include <mutex>

constexpr int32_t kInvalidTask = -200088;
constexpr int32_t kSamplesNotYetAvailable = -200284;

struct ToldTask
{
    int number = 0;
    int channels = 0;
    ZVK_DaqEveryNSamples callback = nullptr;
    int32_t eventType = 0;
    uint32_t nSamples = 0;
    void *data = nullptr;
    double rate = 0.0;
};

struct DaqRecord
{
    std::mutex guard;  // of all below; never held while a callback runs
    std::vector<std::string> calls;
    std::map<int, ToldTask> tasks;  // those that are open
    int lastTask = 0;
    int misuses = 0;
    std::vector<std::vector<double>> blocks;

    std::string failEntry;     // empty: any entry
    int64_t untilFailure = 0;  // 0: none
    int32_t failCode = kToldDaqFailure;
    bool failed = false;
    std::string errorText;

    double maxRate = 1e6;
    std::vector<double> samples;
    size_t nextSample = 0;
    uint32_t lines = 0;
};

static DaqRecord s_record;

using Lock = std::lock_guard<std::mutex>;

// A task's handle is its number; no memory stands behind it.
static ZVK_DaqTask HandleOf(int number)
{
    return reinterpret_cast<ZVK_DaqTask>(static_cast<intptr_t>(number));
}

static int NumberOf(ZVK_DaqTask task) { return static_cast<int>(reinterpret_cast<intptr_t>(task)); }

static std::string Text(ZVK_DaqTask task)
{
    return task ? "t" + std::to_string(NumberOf(task)) : "null";
}

static std::string Text(const char *text)
{
    if (!text) return "null";
    return "\"" + std::string(text) + "\"";
}

static std::string Text(double value)
{
    char digits[32];
    const auto end = std::to_chars(digits, digits + sizeof digits, value).ptr;
    return {digits, end};
}

static std::string Text(int32_t value) { return std::to_string(value); }

static std::string Text(uint32_t value) { return std::to_string(value); }

static std::string Text(uint64_t value) { return std::to_string(value); }

static std::string Attribute(int32_t attribute)
{
    char digits[16];
    (void)std::snprintf(digits, sizeof digits, "0x%X", static_cast<unsigned>(attribute));
    return digits;
}

// For arguments that are texts already.
static std::string Text(const std::string &text) { return text; }

template <class... Arguments>
static std::string Describe(const char *entry, const Arguments &...arguments)
{
    std::string text = std::string(entry) + "(";
    const char *separator = "";
    ((text += separator + Text(arguments), separator = ", "), ...);
    return text + ")";
}

static int32_t ToldResult(const char *entry)
{
    if (s_record.untilFailure == 0) return 0;
    if (!s_record.failEntry.empty() && s_record.failEntry != entry) return 0;
    if (--s_record.untilFailure > 0) return 0;
    s_record.failed = true;
    return s_record.failCode;
}

// Keeps the call and gives the told result; with a task, which must be open. Wants the lock.
template <class... Arguments>
static int32_t Keep(const char *entry, ZVK_DaqTask task, const Arguments &...arguments)
{
    s_record.calls.push_back(Describe(entry, task, arguments...));
    if (!s_record.tasks.contains(NumberOf(task))) {
        ++s_record.misuses;
        return kInvalidTask;
    }
    return ToldResult(entry);
}

static int32_t CreateTask(const char *name, ZVK_DaqTask *task)
{
    const Lock lock(s_record.guard);
    const ZVK_DaqTask handle = HandleOf(s_record.lastTask + 1);
    s_record.calls.push_back(Describe("createTask", handle, name));
    const int32_t result = ToldResult("createTask");
    if (result < 0) return result;
    ++s_record.lastTask;
    s_record.tasks[s_record.lastTask].number = s_record.lastTask;
    *task = handle;
    return result;
}

static int32_t StartTask(ZVK_DaqTask task)
{
    const Lock lock(s_record.guard);
    return Keep("startTask", task);
}

static int32_t StopTask(ZVK_DaqTask task)
{
    const Lock lock(s_record.guard);
    return Keep("stopTask", task);
}

static int32_t ClearTask(ZVK_DaqTask task)
{
    const Lock lock(s_record.guard);
    const int32_t result = Keep("clearTask", task);
    s_record.tasks.erase(NumberOf(task));
    return result;
}

// "Dev1/ao0:3, Dev2/ao1" are five.
static int CountChannels(const char *channels)
{
    int count = 0;
    for (const char *part = channels; part;) {
        const char *end = std::strchr(part, ',');
        const std::string name = end ? std::string(part, end) : std::string(part);
        const size_t colon = name.find(':');
        const size_t digits =
            name.find_last_not_of("0123456789", colon == std::string::npos ? colon : colon - 1);
        int first = 0;
        int last = 0;
        if (colon != std::string::npos) {
            first = std::atoi(name.c_str() + digits + 1);
            last = std::atoi(name.c_str() + colon + 1);
        }
        count += std::abs(last - first) + 1;
        part = end ? end + 1 : nullptr;
    }
    return count;
}

static int32_t CreateAIVoltageChan(ZVK_DaqTask task, const char *channels, const char *name,
                                   int32_t terminals, double min, double max, int32_t units,
                                   const char *scale)
{
    const Lock lock(s_record.guard);
    const int32_t result =
        Keep("createAIVoltageChan", task, channels, name, terminals, min, max, units, scale);
    if (result >= 0) s_record.tasks[NumberOf(task)].channels += CountChannels(channels);
    return result;
}

static int32_t CreateAOVoltageChan(ZVK_DaqTask task, const char *channels, const char *name,
                                   double min, double max, int32_t units, const char *scale)
{
    const Lock lock(s_record.guard);
    const int32_t result =
        Keep("createAOVoltageChan", task, channels, name, min, max, units, scale);
    if (result >= 0) s_record.tasks[NumberOf(task)].channels += CountChannels(channels);
    return result;
}

static int32_t CreateDOChan(ZVK_DaqTask task, const char *lines, const char *name, int32_t grouping)
{
    const Lock lock(s_record.guard);
    return Keep("createDOChan", task, lines, name, grouping);
}

static int32_t CfgSampClkTiming(ZVK_DaqTask task, const char *source, double rate, int32_t edge,
                                int32_t mode, uint64_t samples)
{
    const Lock lock(s_record.guard);
    const int32_t result = Keep("cfgSampClkTiming", task, source, rate, edge, mode, samples);
    if (result >= 0) s_record.tasks[NumberOf(task)].rate = rate;
    return result;
}

static int32_t CfgDigEdgeStartTrig(ZVK_DaqTask task, const char *source, int32_t edge)
{
    const Lock lock(s_record.guard);
    return Keep("cfgDigEdgeStartTrig", task, source, edge);
}

static int32_t CfgOutputBuffer(ZVK_DaqTask task, uint32_t samples)
{
    const Lock lock(s_record.guard);
    return Keep("cfgOutputBuffer", task, samples);
}

static int32_t GetSampClkMaxRate(ZVK_DaqTask task, double *rate)
{
    const Lock lock(s_record.guard);
    const int32_t result = Keep("getSampClkMaxRate", task);
    if (result >= 0) *rate = s_record.maxRate;
    return result;
}

static double NextSample()
{
    if (s_record.samples.empty()) return 0.0;
    return s_record.samples[s_record.nextSample++ % s_record.samples.size()];
}

static int32_t ReadAnalogF64(ZVK_DaqTask task, int32_t samples, double timeoutS, uint32_t layout,
                             double *out, uint32_t outSize, int32_t *read, uint32_t *)
{
    const Lock lock(s_record.guard);
    const int32_t result = Keep("readAnalogF64", task, samples, timeoutS, layout, outSize);
    // A read that ran out of time gives what there was, which is half of it here.
    const int32_t got = result >= 0 ? samples : result == kSamplesNotYetAvailable ? samples / 2 : 0;
    const int64_t wanted = int64_t{got} * std::max(s_record.tasks.contains(NumberOf(task))
                                                       ? s_record.tasks[NumberOf(task)].channels
                                                       : 1,
                                                   1);
    for (int64_t i = 0; i < std::min<int64_t>(wanted, outSize); ++i)
        out[i] = NextSample();
    if (read) *read = got;
    return result;
}

static int32_t WriteAnalogF64(ZVK_DaqTask task, int32_t samples, uint32_t autoStart,
                              double timeoutS, uint32_t layout, const double *in, int32_t *written,
                              uint32_t *)
{
    const Lock lock(s_record.guard);
    const int32_t result = Keep("writeAnalogF64", task, samples, autoStart, timeoutS, layout);
    if (written) *written = result >= 0 ? samples : 0;
    if (result < 0) return result;
    const int64_t values = int64_t{samples} * std::max(s_record.tasks[NumberOf(task)].channels, 1);
    s_record.blocks.emplace_back(in, in + values);
    return result;
}

static int32_t WriteAnalogScalarF64(ZVK_DaqTask task, uint32_t autoStart, double timeoutS,
                                    double volts, uint32_t *)
{
    const Lock lock(s_record.guard);
    const int32_t result = Keep("writeAnalogScalarF64", task, autoStart, timeoutS, volts);
    if (result >= 0) s_record.blocks.push_back({volts});
    return result;
}

static int32_t ReadDigitalScalarU32(ZVK_DaqTask task, double timeoutS, uint32_t *value, uint32_t *)
{
    const Lock lock(s_record.guard);
    const int32_t result = Keep("readDigitalScalarU32", task, timeoutS);
    if (result >= 0) *value = s_record.lines;
    return result;
}

static int32_t WriteDigitalScalarU32(ZVK_DaqTask task, uint32_t autoStart, double timeoutS,
                                     uint32_t value, uint32_t *)
{
    const Lock lock(s_record.guard);
    return Keep("writeDigitalScalarU32", task, autoStart, timeoutS, value);
}

static int32_t RegisterEveryNSamplesEvent(ZVK_DaqTask task, int32_t eventType, uint32_t nSamples,
                                          uint32_t options, ZVK_DaqEveryNSamples callback,
                                          void *data)
{
    const Lock lock(s_record.guard);
    const std::string what = callback ? "callback" : "null";
    const int32_t result =
        Keep("registerEveryNSamplesEvent", task, eventType, nSamples, options, what);
    if (result < 0) return result;
    ToldTask &row = s_record.tasks[NumberOf(task)];
    row.callback = callback;
    row.eventType = eventType;
    row.nSamples = nSamples;
    row.data = data;
    return result;
}

static int32_t GetExtendedErrorInfo(char *text, uint32_t size)
{
    const Lock lock(s_record.guard);
    if (text && size > 0) (void)std::snprintf(text, size, "%s", s_record.errorText.c_str());
    return 0;
}

// The argument behind an attribute, as text.
static std::string AttributeValue(int32_t attribute, va_list &arguments)
{
    if (attribute == ZVK_DAQ_SAMPLE_CLOCK_RATE) return Text(va_arg(arguments, double));
    return Text(va_arg(arguments, int32_t));
}

static int32_t SetChanAttribute(ZVK_DaqTask task, const char *channels, int32_t attribute, ...)
{
    va_list arguments;
    va_start(arguments, attribute);
    const std::string value = AttributeValue(attribute, arguments);
    va_end(arguments);
    const Lock lock(s_record.guard);
    return Keep("setChanAttribute", task, channels, Attribute(attribute), value);
}

static int32_t SetWriteAttribute(ZVK_DaqTask task, int32_t attribute, ...)
{
    va_list arguments;
    va_start(arguments, attribute);
    const std::string value = AttributeValue(attribute, arguments);
    va_end(arguments);
    const Lock lock(s_record.guard);
    return Keep("setWriteAttribute", task, Attribute(attribute), value);
}

static int32_t SetTrigAttribute(ZVK_DaqTask task, int32_t attribute, ...)
{
    va_list arguments;
    va_start(arguments, attribute);
    const std::string value = AttributeValue(attribute, arguments);
    va_end(arguments);
    const Lock lock(s_record.guard);
    return Keep("setTrigAttribute", task, Attribute(attribute), value);
}

static int32_t SetTimingAttribute(ZVK_DaqTask task, int32_t attribute, ...)
{
    va_list arguments;
    va_start(arguments, attribute);
    double rate = 0.0;
    std::string value;
    if (attribute == ZVK_DAQ_SAMPLE_CLOCK_RATE) {
        rate = va_arg(arguments, double);
        value = Text(rate);
    } else {
        value = Text(va_arg(arguments, int32_t));
    }
    va_end(arguments);
    const Lock lock(s_record.guard);
    const int32_t result = Keep("setTimingAttribute", task, Attribute(attribute), value);
    if (result >= 0 && attribute == ZVK_DAQ_SAMPLE_CLOCK_RATE)
        s_record.tasks[NumberOf(task)].rate = rate;
    return result;
}

static int32_t GetTimingAttribute(ZVK_DaqTask task, int32_t attribute, void *value, ...)
{
    const Lock lock(s_record.guard);
    const int32_t result = Keep("getTimingAttribute", task, Attribute(attribute));
    if (result >= 0 && attribute == ZVK_DAQ_SAMPLE_CLOCK_RATE)
        *static_cast<double *>(value) = s_record.tasks[NumberOf(task)].rate;
    return result;
}

static constexpr ZVK_DaqTable kTable = {
    .createTask = CreateTask,
    .startTask = StartTask,
    .stopTask = StopTask,
    .clearTask = ClearTask,
    .createAIVoltageChan = CreateAIVoltageChan,
    .createAOVoltageChan = CreateAOVoltageChan,
    .createDOChan = CreateDOChan,
    .cfgSampClkTiming = CfgSampClkTiming,
    .cfgDigEdgeStartTrig = CfgDigEdgeStartTrig,
    .cfgOutputBuffer = CfgOutputBuffer,
    .getSampClkMaxRate = GetSampClkMaxRate,
    .readAnalogF64 = ReadAnalogF64,
    .writeAnalogF64 = WriteAnalogF64,
    .writeAnalogScalarF64 = WriteAnalogScalarF64,
    .readDigitalScalarU32 = ReadDigitalScalarU32,
    .writeDigitalScalarU32 = WriteDigitalScalarU32,
    .registerEveryNSamplesEvent = RegisterEveryNSamplesEvent,
    .getExtendedErrorInfo = GetExtendedErrorInfo,
    .setChanAttribute = SetChanAttribute,
    .setWriteAttribute = SetWriteAttribute,
    .setTrigAttribute = SetTrigAttribute,
    .setTimingAttribute = SetTimingAttribute,
    .getTimingAttribute = GetTimingAttribute,
};

RecordingDaq::RecordingDaq()
{
    const Lock lock(s_record.guard);
    s_record.calls.clear();
    s_record.tasks.clear();
    s_record.lastTask = s_record.misuses = 0;
    s_record.blocks.clear();
    s_record.failEntry.clear();
    s_record.untilFailure = 0;
    s_record.failed = false;
    s_record.errorText = "told failure";
    s_record.maxRate = 1e6;
    s_record.samples.clear();
    s_record.nextSample = 0;
    s_record.lines = 0;
    UseDaq(&kTable);
}

RecordingDaq::~RecordingDaq() { UseDaq(nullptr); }

std::vector<std::string> RecordingDaq::Calls() const
{
    const Lock lock(s_record.guard);
    return s_record.calls;
}

void RecordingDaq::ForgetCalls()
{
    const Lock lock(s_record.guard);
    s_record.calls.clear();
}

void RecordingDaq::FailAt(int64_t nth, int32_t code) { FailCall("", nth, code); }

void RecordingDaq::FailCall(const std::string &entry, int64_t nth, int32_t code)
{
    const Lock lock(s_record.guard);
    s_record.failEntry = entry;
    s_record.untilFailure = std::max<int64_t>(nth, 0);
    s_record.failCode = code;
    s_record.failed = false;
}

bool RecordingDaq::Failed() const
{
    const Lock lock(s_record.guard);
    return s_record.failed;
}

void RecordingDaq::SetErrorText(const std::string &text)
{
    const Lock lock(s_record.guard);
    s_record.errorText = text;
}

int RecordingDaq::OpenTasks() const
{
    const Lock lock(s_record.guard);
    return static_cast<int>(s_record.tasks.size());
}

int RecordingDaq::Misuses() const
{
    const Lock lock(s_record.guard);
    return s_record.misuses;
}

std::vector<std::vector<double>> RecordingDaq::Blocks() const
{
    const Lock lock(s_record.guard);
    return s_record.blocks;
}

static bool FindEvent(ToldTask &task)
{
    const Lock lock(s_record.guard);
    for (auto row = s_record.tasks.rbegin(); row != s_record.tasks.rend(); ++row) {
        if (!row->second.callback) continue;
        task = row->second;
        return true;
    }
    return false;
}

int32_t RecordingDaq::FireEvent()
{
    ToldTask task;
    if (!FindEvent(task)) return 0;
    return task.callback(HandleOf(task.number), task.eventType, task.nSamples, task.data);
}

bool RecordingDaq::HasEvent() const
{
    ToldTask task;
    return FindEvent(task);
}

void RecordingDaq::SetMaxRate(double hertz)
{
    const Lock lock(s_record.guard);
    s_record.maxRate = hertz;
}

void RecordingDaq::SupplySamples(const std::vector<double> &next)
{
    const Lock lock(s_record.guard);
    s_record.samples = next;
    s_record.nextSample = 0;
}

void RecordingDaq::SupplyLines(uint32_t lines)
{
    const Lock lock(s_record.guard);
    s_record.lines = lines;
}
