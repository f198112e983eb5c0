// Counts, faults, log and texts of the vendor calls.

#include "calls.h"

#include "clock.h"
#include "errors.h"

#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <cstring>

constexpr long kLargestLogFile = 64L * 1024 * 1024;  // bytes, then it begins anew beside ".1"

static const char *const kCallNames[] = {
#define X(name) "DAQmx" #name,
    ZVC_CALLS(X)
#undef X
};

// What the call that this thread is in has to add to its line and its text.
static thread_local char t_sentence[512];
static thread_local int64_t t_samples = -1;  // -1: nothing to tell

const char *CallName(Call call) { return kCallNames[call]; }

int CallByName(const char *name)
{
    for (int call = 0; call < kCalls; ++call)
        if (std::strcmp(kCallNames[call], name) == 0) return call;
    return -1;
}

Argument AsHex(int32_t value)
{
    Argument argument(value);
    argument.kind = Argument::Kind::hex;
    return argument;
}

int32_t Refuse(int32_t code, const std::string &sentence)
{
    (void)std::snprintf(t_sentence, sizeof t_sentence, "%s", sentence.c_str());  // cut if need be
    return code;
}

void NoteSamples(uint64_t samples) { t_samples = static_cast<int64_t>(samples); }

void BeginCall()
{
    t_sentence[0] = '\0';
    t_samples = -1;
}

static bool IsDue(const Card &card, const Fault &fault, Call call)
{
    return fault.call < 0 ? card.allCalls == fault.at
                          : fault.call == call && card.callCounts[call] == fault.at;
}

int32_t TakeFault(Card &card, Call call)
{
    ++card.callCounts[call];
    ++card.allCalls;
    for (size_t i = 0; i < card.faults.size(); ++i) {
        if (!IsDue(card, card.faults[i], call)) continue;
        const int32_t code = card.faults[i].code;
        card.faults.erase(card.faults.begin() + static_cast<ptrdiff_t>(i));
        return code;
    }
    return 0;
}

std::shared_ptr<Task> FindTask(const Card &card, ZVC_Task handle)
{
    const auto place = card.tasks.find(handle);
    return place == card.tasks.end() ? nullptr : place->second;
}

static void AppendNumber(std::string &line, auto value, auto... base)
{
    char digits[32];
    const auto end = std::to_chars(digits, digits + sizeof digits, value, base...).ptr;
    line.append(digits, end);
}

static void AppendArgument(std::string &line, const Argument &argument)
{
    switch (argument.kind) {
    case Argument::Kind::whole: AppendNumber(line, argument.whole); break;
    case Argument::Kind::hex:
        line += "0x";
        AppendNumber(line, argument.whole, 16);
        break;
    case Argument::Kind::real: AppendNumber(line, argument.real); break;
    case Argument::Kind::text:
        if (argument.text) {
            line += '"';
            line += argument.text;
            line += '"';
        } else {
            line += "null";
        }
        break;
    }
}

static void AppendTask(std::string &line, const Task *task)
{
    if (!task) {
        line += "no task";
        return;
    }
    line += 't';
    AppendNumber(line, task->number);
}

static std::string MakeLine(Call call, const Task *task, const Arguments &arguments, int32_t result)
{
    std::string line = CallName(call);
    line += '(';
    if (call != kCallCreateTask) AppendTask(line, task);
    bool first = call == kCallCreateTask;
    for (const Argument &argument : arguments) {
        if (!first) line += ", ";
        first = false;
        AppendArgument(line, argument);
    }
    if (call == kCallCreateTask) {
        line += ", ";
        AppendTask(line, task);
    }
    line += ") = ";
    AppendNumber(line, result);
    if (t_samples >= 0) {
        line += ", ";
        AppendNumber(line, t_samples);
        line += " samples";
    }
    return line;
}

// The file that the environment names, open from the first line on; null: none.
struct LogFile
{
    const char *path = nullptr;
    std::FILE *file = nullptr;
    long size = 0;
    bool looked = false;
};

static LogFile s_logFile;  // under the card's guard

static void OpenLogFile(LogFile &log)
{
    log.looked = true;
    log.path = std::getenv("ZVK_VIRTUAL_DAQ_LOG");
    if (!log.path || !*log.path) return;
    log.file = std::fopen(log.path, "ae");
    if (!log.file) return;
    (void)std::fseek(log.file, 0, SEEK_END);
    log.size = std::ftell(log.file);
}

static void TurnLogFile(LogFile &log)
{
    if (log.size < kLargestLogFile) return;
    (void)std::fclose(log.file);
    const std::string older = std::string(log.path) + ".1";
    (void)std::rename(log.path, older.c_str());  // what was there before goes
    OpenLogFile(log);
}

static void AppendToFile(const Card &card, const std::string &line)
{
    if (!s_logFile.looked) OpenLogFile(s_logFile);
    if (!s_logFile.file) return;
    const auto nanoseconds = static_cast<int64_t>(NowAt(card));
    const int written = std::fprintf(
        s_logFile.file, "%10lld.%06lld s  %s\n", static_cast<long long>(nanoseconds / 1000000000),
        static_cast<long long>(nanoseconds % 1000000000 / 1000), line.c_str());
    (void)std::fflush(s_logFile.file);
    s_logFile.size += written > 0 ? written : 0;
    TurnLogFile(s_logFile);
}

static void Log(Card &card, std::string line)
{
    AppendToFile(card, line);
    ++card.logLines;
    card.log.push_back(std::move(line));
    while (card.log.size() > card.logLength)
        card.log.pop_front();
}

void EndCall(Card &card, Call call, const Task *task, const Arguments &arguments, int32_t result)
{
    if (result < 0) {
        const bool hasDevice = task && !task->channels.empty();
        KeepFailure(result, CallName(call), task ? task->name.c_str() : "",
                    hasDevice ? task->channels.front().device.c_str() : "", t_sentence);
    }
    try {
        Log(card, MakeLine(call, task, arguments, result));
    } catch (const std::bad_alloc &) {  // the line is lost, the call is not
    }
    TellChange(card);
}

int32_t EndWithoutMemory(Card &card, Call call)
{
    KeepFailure(kOutOfMemory, CallName(call), "", "", t_sentence);
    TellChange(card);
    return kOutOfMemory;
}

int32_t ZVC_FailCall(const char *call, uint64_t nth, int32_t code)
{
    if (!call) return ZVC_BAD_ARGUMENT;
    const bool any = std::strcmp(call, "*") == 0;
    const int index = any ? -1 : CallByName(call);
    if (index < 0 && !any) return ZVC_BAD_ARGUMENT;
    Card &card = TheCard();
    const Guard guard(card.guard);
    if (nth == 0) {
        std::erase_if(card.faults, [&](const Fault &fault) { return fault.call == index; });
        return ZVC_OK;
    }
    try {
        const uint64_t used = any ? card.allCalls : card.callCounts[index];
        card.faults.push_back({index, used + nth, code});
        return ZVC_OK;
    } catch (const std::bad_alloc &) {
        return ZVC_OUT_OF_MEMORY;
    }
}

int32_t ZVC_CountFaults(void)
{
    Card &card = TheCard();
    const Guard guard(card.guard);
    return static_cast<int32_t>(card.faults.size());
}

uint64_t ZVC_CountCalls(const char *call)
{
    Card &card = TheCard();
    const Guard guard(card.guard);
    if (call && std::strcmp(call, "*") == 0) return card.allCalls;
    const int index = call ? CallByName(call) : -1;
    return index < 0 ? 0 : card.callCounts[index];
}

uint64_t ZVC_CountLog(void)
{
    Card &card = TheCard();
    const Guard guard(card.guard);
    return card.logLines;
}

int32_t ZVC_GetLog(uint64_t index, char *text, size_t size)
{
    if (!text || size == 0) return ZVC_BAD_ARGUMENT;
    Card &card = TheCard();
    const Guard guard(card.guard);
    const uint64_t oldest = card.logLines - card.log.size();
    if (index < oldest || index >= card.logLines) return ZVC_NOT_THERE;
    const std::string &line = card.log[index - oldest];
    const size_t taken = std::min(line.size(), size - 1);
    std::memcpy(text, line.data(), taken);
    text[taken] = '\0';
    return ZVC_OK;
}

int32_t ZVC_SetLogLength(uint64_t lines)
{
    Card &card = TheCard();
    const Guard guard(card.guard);
    card.logLength = lines;
    while (card.log.size() > lines)
        card.log.pop_front();
    return ZVC_OK;
}
