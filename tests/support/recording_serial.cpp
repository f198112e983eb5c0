#include "recording_serial.h"

#include "platform/ports.h"
#include "platform/serial.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <map>
#include <mutex>
#include <set>

struct SerialRecord
{
    std::mutex guard;  // of all below
    std::vector<std::string> names;
    std::vector<std::string> calls;
    std::set<int> open;
    std::map<int, std::string> input;
    std::map<std::pair<int, std::string>, std::string> answers;
    std::string failEntry;     // empty: any entry
    int64_t untilFailure = 0;  // 0: none
    bool failed = false;
};

static SerialRecord s_record;

using Lock = std::lock_guard<std::mutex>;

static std::string Quoted(const std::string &bytes)
{
    constexpr const char *kDigits = "0123456789ABCDEF";
    std::string text = "\"";
    for (const char c : bytes) {
        const auto byte = static_cast<unsigned char>(c);
        if (c == '\r') {
            text += "\\r";
        } else if (c == '\n') {
            text += "\\n";
        } else if (c >= ' ' && c <= '~' && c != '\\') {
            text += c;
        } else {
            text += std::string("\\x") + kDigits[byte / 16] + kDigits[byte % 16];
        }
    }
    return text + "\"";
}

static std::string Text(double value)
{
    char digits[32];
    return {digits, std::to_chars(digits, digits + sizeof digits, value).ptr};
}

// Keeps the call and tells whether it works. Wants the lock.
static bool Keep(const char *entry, int port, const std::string &more = "")
{
    s_record.calls.push_back(std::string(entry) + "(" + std::to_string(port) + more + ")");
    if (s_record.untilFailure > 0 && (s_record.failEntry.empty() || s_record.failEntry == entry) &&
        --s_record.untilFailure == 0)
    {
        s_record.failed = true;
        return false;
    }
    return std::strcmp(entry, "open") == 0 || s_record.open.contains(port);
}

static int Open(int port, int baudRate)
{
    const Lock lock(s_record.guard);
    if (!Keep("open", port, ", " + std::to_string(baudRate))) return -1;
    s_record.open.insert(port);
    s_record.input[port].clear();
    return 0;
}

static int IsOpen(int port)
{
    const Lock lock(s_record.guard);
    return Keep("isOpen", port) ? 1 : 0;
}

static int SetTimeout(int port, double seconds)
{
    const Lock lock(s_record.guard);
    return Keep("setTimeout", port, ", " + Text(seconds)) ? 0 : -1;
}

static int Write(int port, const void *bytes, size_t count)
{
    const Lock lock(s_record.guard);
    const std::string written(static_cast<const char *>(bytes), count);
    if (!Keep("write", port, ", " + Quoted(written))) return -1;
    const auto answer = s_record.answers.find({port, written});
    if (answer != s_record.answers.end()) s_record.input[port] += answer->second;
    return static_cast<int>(count);
}

// `terminator` is -1 for none. Wants the lock.
static int Take(int port, char *out, size_t count, int terminator)
{
    std::string &input = s_record.input[port];
    size_t taken = 0;
    size_t stored = 0;
    while (taken < input.size() && stored < count) {
        const char byte = input[taken++];
        if (static_cast<unsigned char>(byte) == terminator) break;
        out[stored++] = byte;
    }
    input.erase(0, taken);
    s_record.calls.back() += " = " + Quoted(std::string(out, stored));
    return static_cast<int>(stored);
}

static int Read(int port, void *bytes, size_t count)
{
    const Lock lock(s_record.guard);
    if (!Keep("read", port, ", " + std::to_string(count))) return -1;
    return Take(port, static_cast<char *>(bytes), count, -1);
}

static int ReadLine(int port, void *bytes, size_t count, int terminator)
{
    const Lock lock(s_record.guard);
    if (!Keep("readLine", port, ", " + std::to_string(count) + ", " + std::to_string(terminator)))
        return -1;
    return Take(port, static_cast<char *>(bytes), count, terminator);
}

static int FlushInput(int port)
{
    const Lock lock(s_record.guard);
    if (!Keep("flushInput", port)) return -1;
    s_record.input[port].clear();
    return 0;
}

static int FlushOutput(int port)
{
    const Lock lock(s_record.guard);
    return Keep("flushOutput", port) ? 0 : -1;
}

static int Close(int port)
{
    const Lock lock(s_record.guard);
    const bool works = Keep("close", port);
    s_record.open.erase(port);
    return works ? 0 : -1;
}

static constexpr ZVK_SerialTable kTable = {
    .open = Open,
    .isOpen = IsOpen,
    .setTimeout = SetTimeout,
    .write = Write,
    .read = Read,
    .readLine = ReadLine,
    .flushInput = FlushInput,
    .flushOutput = FlushOutput,
    .close = Close,
};

static bool ListToldPorts(std::vector<ZVK_PortEntry> &ports)
{
    const Lock lock(s_record.guard);
    for (const std::string &name : s_record.names)
        ports.push_back({name, ""});
    return true;
}

RecordingSerial::RecordingSerial()
{
    const Lock lock(s_record.guard);
    s_record.names.clear();
    s_record.calls.clear();
    s_record.open.clear();
    s_record.input.clear();
    s_record.answers.clear();
    s_record.untilFailure = 0;
    s_record.failed = false;
    UseSerial(&kTable);
    UsePorts(ListToldPorts);
}

RecordingSerial::~RecordingSerial()
{
    UseSerial(nullptr);
    UsePorts(nullptr);
}

void RecordingSerial::OfferPorts(const std::vector<std::string> &friendlyNames)
{
    const Lock lock(s_record.guard);
    s_record.names = friendlyNames;
}

std::vector<std::string> RecordingSerial::Calls() const
{
    const Lock lock(s_record.guard);
    return s_record.calls;
}

std::vector<std::string> RecordingSerial::Wire() const
{
    std::vector<std::string> calls = Calls();
    std::erase_if(calls, [](const std::string &call) {
        return call.starts_with("isOpen") || call.starts_with("setTimeout") ||
               call.starts_with("flush");
    });
    return calls;
}

void RecordingSerial::ForgetCalls()
{
    const Lock lock(s_record.guard);
    s_record.calls.clear();
}

void RecordingSerial::Answer(int port, const std::string &written, const std::string &reply)
{
    const Lock lock(s_record.guard);
    s_record.answers[{port, written}] = reply;
}

void RecordingSerial::ForgetAnswers()
{
    const Lock lock(s_record.guard);
    s_record.answers.clear();
}

void RecordingSerial::Supply(int port, const std::string &bytes)
{
    const Lock lock(s_record.guard);
    s_record.input[port] += bytes;
}

void RecordingSerial::FailAt(int64_t nth) { FailCall("", nth); }

void RecordingSerial::FailCall(const std::string &entry, int64_t nth)
{
    const Lock lock(s_record.guard);
    s_record.failEntry = entry;
    s_record.untilFailure = std::max<int64_t>(nth, 0);
    s_record.failed = false;
}

bool RecordingSerial::Failed() const
{
    const Lock lock(s_record.guard);
    return s_record.failed;
}

int RecordingSerial::OpenPorts() const
{
    const Lock lock(s_record.guard);
    return static_cast<int>(s_record.open.size());
}
