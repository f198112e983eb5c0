// The controller's command language over a byte stream: ASCII commands that end in a line feed. A
// setting is followed by the question for the error, since the controller says nothing to it; the
// lines of a reply but the last end in a blank.

#include "platform/stagelink.h"

#include "platform/backends.h"
#include "platform/clock.h"
#include "platform/stagelink_text.h"
#include "platform/tcp.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <mutex>
#include <new>
#include <string>
#include <utility>
#include <vector>

constexpr double kConnectTimeoutS = 5.0;
constexpr double kReplyTimeoutS = 5.0;
constexpr double kErrorTimeoutS = 2.0;
constexpr size_t kLongestReply = 1 << 16;
constexpr int32_t kMostConnections = 16;

namespace {

struct Connection
{
    int handle = -1;  // of the stream; negative: free, or lost
    bool inUse = false;
    int32_t lastError = 0;  // told once
};

}  // namespace

static Connection s_connections[kMostConnections];
static int32_t s_connectError = 0;  // of a connection that never was

// Never destroyed: another thread may be in a call when the process ends. One controller answers
// one question at a time, so that one lock does for all.
static std::mutex &Lock()
{
    static auto *const mutex = new std::mutex;
    return *mutex;
}

static Connection *Find(int32_t id)
{
    if (id < 0 || id >= kMostConnections || !s_connections[id].inUse) return nullptr;
    return &s_connections[id];
}

// What is lost stays lost until it is closed: later calls fail at once.
static int32_t Lose(Connection &connection, int32_t error)
{
    if (connection.handle >= 0) Tcp().close(connection.handle);
    connection.handle = -1;
    connection.lastError = error;
    return 0;
}

static bool Send(Connection &connection, const std::string &command)
{
    if (connection.handle < 0) {
        connection.lastError = ZVK_LINK_LOST;
        return false;
    }
    // A reply that came too late for its question must not answer this one.
    Tcp().discard(connection.handle);
    const std::string line = command + "\n";
    if (Tcp().send(connection.handle, line.data(), line.size()) == 0) return true;
    (void)Lose(connection, ZVK_LINK_SEND_FAILED);
    return false;
}

enum class Answer
{
    complete,
    timedOut,
    lost
};

// One reply, or several that came together. The time-out is that of the whole: a controller that
// dribbles bytes holds nobody up for longer.
static Answer Receive(Connection &connection, double timeoutS, std::string &reply)
{
    const double endS = Clock().timer() + timeoutS;
    reply.clear();
    char bytes[1024];
    while (!IsCompleteReply(reply)) {
        const double leftS = endS - Clock().timer();
        if (leftS <= 0.0) return Answer::timedOut;
        const int64_t got = Tcp().receive(connection.handle, bytes, sizeof bytes, leftS);
        if (got == 0) return Answer::timedOut;
        if (got < 0 || reply.size() > kLongestReply) {
            (void)Lose(connection, ZVK_LINK_LOST);
            return Answer::lost;
        }
        reply.append(bytes, static_cast<size_t>(got));
    }
    return Answer::complete;
}

// The controller's own error, which it forgets by telling. One that does not even tell this is
// lost. Behind a question that timed out, the answer to that may still come first: it is passed
// over, so that it is neither taken for the error nor for the answer to a later question.
static int32_t AskError(Connection &connection, bool answerIsOwed)
{
    if (!Send(connection, "ERR?")) return connection.lastError;
    const double endS = Clock().timer() + kErrorTimeoutS;
    std::string reply;
    int32_t code = 0;
    do {
        const Answer answer = Receive(connection, endS - Clock().timer(), reply);
        if (answer == Answer::lost) return connection.lastError;
        if (answer == Answer::timedOut) {
            (void)Lose(connection, ZVK_LINK_TIMED_OUT);
            return ZVK_LINK_TIMED_OUT;
        }
        if (ReadErrorCode(reply, &code)) return code;
    } while (answerIsOwed);
    return ZVK_LINK_BAD_REPLY;
}

static int32_t Set(int32_t id, const std::string &command)
{
    Connection *connection = Find(id);
    if (connection == nullptr) return 0;
    if (!Send(*connection, command)) return 0;
    const int32_t error = AskError(*connection, false);
    if (error == 0) return 1;
    connection->lastError = error;
    return 0;
}

// A question that the controller does not understand gets no answer; its error tells why.
static bool Query(int32_t id, const std::string &command, std::string &reply)
{
    Connection *connection = Find(id);
    if (connection == nullptr || !Send(*connection, command)) return false;
    const Answer answer = Receive(*connection, kReplyTimeoutS, reply);
    if (answer == Answer::complete) return true;
    if (answer == Answer::lost) return false;
    const int32_t error = AskError(*connection, true);
    connection->lastError = error != 0 ? error : static_cast<int32_t>(ZVK_LINK_TIMED_OUT);
    return false;
}

static int32_t Refuse(int32_t id, int32_t error)
{
    if (Connection *connection = Find(id)) connection->lastError = error;
    return 0;
}

// What is none has no place in a command.
static bool IsNumber(double value) { return std::isfinite(value); }

template <class Value>
static int32_t SetAxes(int32_t id, const char *mnemonic, const char *axes, const Value *values)
{
    const std::vector<std::string> names = AxisNames(axes);
    if (names.empty()) return Refuse(id, ZVK_LINK_BAD_AXIS);
    if (!std::all_of(values, values + names.size(), IsNumber))
        return Refuse(id, ZVK_LINK_BAD_ARGUMENT);
    std::string command = mnemonic;
    for (size_t i = 0; i < names.size(); ++i)
        command += " " + names[i] + " " + NumberText(values[i]);
    return Set(id, command);
}

template <class Value>
static int32_t QueryAxisValues(int32_t id, const char *mnemonic, const char *axes, Value *values)
{
    const std::vector<std::string> names = AxisNames(axes);
    if (names.empty()) return Refuse(id, ZVK_LINK_BAD_AXIS);
    std::string command = mnemonic;
    for (const std::string &name : names)
        command += " " + name;
    std::string reply;
    if (!Query(id, command, reply)) return 0;
    return ReadItems(reply, names, values) ? 1 : Refuse(id, ZVK_LINK_BAD_REPLY);
}

// Every entry of the table: under the lock, and without an exception that leaves it.
template <class Call>
static int32_t Guarded(int32_t id, Call call)
{
    const std::lock_guard lock(Lock());
    try {
        return call();
    } catch (const std::bad_alloc &) {
        return Refuse(id, ZVK_LINK_NO_MEMORY);
    }
}

static int32_t Connect(const char *host, int32_t port)
{
    return Guarded(-1, [=]() -> int32_t {
        auto *const free = std::find_if(std::begin(s_connections), std::end(s_connections),
                                        [](const Connection &c) { return !c.inUse; });
        s_connectError = ZVK_LINK_NOT_CONNECTED;
        if (free == std::end(s_connections)) return -1;
        const int handle = Tcp().connect(host, port, kConnectTimeoutS);
        if (handle < 0) return -1;
        *free = {handle, true, 0};
        s_connectError = 0;
        return static_cast<int32_t>(free - s_connections);
    });
}

static void Close(int32_t id)
{
    const std::lock_guard lock(Lock());
    Connection *connection = Find(id);
    if (connection == nullptr) return;
    if (connection->handle >= 0) Tcp().close(connection->handle);
    *connection = {};
}

static int32_t GetError(int32_t id)
{
    const std::lock_guard lock(Lock());
    Connection *connection = Find(id);
    if (connection == nullptr)
        return s_connectError != 0 ? std::exchange(s_connectError, 0)
                                   : static_cast<int32_t>(ZVK_LINK_BAD_ID);
    return std::exchange(connection->lastError, 0);
}

static int32_t TranslateError(int32_t code, char *text, size_t size)
{
    if (text == nullptr || size == 0) return 0;
    const char *words = LinkErrorText(code);
    const size_t length = std::min(std::strlen(words), size - 1);
    *std::copy_n(words, length, text) = '\0';
    return 1;
}

static int32_t QueryCommandSet(int32_t id, double *version)
{
    return Guarded(id, [=]() -> int32_t {
        std::string reply;
        if (!Query(id, "CSV?", reply)) return 0;
        return ReadNumber(reply, version) ? 1 : Refuse(id, ZVK_LINK_BAD_REPLY);
    });
}

static int32_t QueryAxes(int32_t id, char *axes, size_t size)
{
    return Guarded(id, [=]() -> int32_t {
        std::string reply;
        if (size == 0 || !Query(id, "SAI?", reply)) return 0;
        const size_t length = std::min(reply.size(), size - 1);
        *std::copy_n(reply.data(), length, axes) = '\0';
        return 1;
    });
}

static int32_t SetOnline(int32_t id, const int32_t *channels, const int32_t *values, int32_t n)
{
    return Guarded(id, [=]() -> int32_t {
        std::string command = "ONL";
        for (int32_t i = 0; i < n; ++i)
            command += " " + NumberText(channels[i]) + " " + NumberText(values[i]);
        return Set(id, command);
    });
}

#define SETTING(entry, mnemonic, Value)                                                            \
    static int32_t entry(int32_t id, const char *axes, const Value *values)                        \
    {                                                                                              \
        return Guarded(id, [=] { return SetAxes(id, mnemonic, axes, values); });                   \
    }
#define QUESTION(entry, mnemonic, Value)                                                           \
    static int32_t entry(int32_t id, const char *axes, Value *values)                              \
    {                                                                                              \
        return Guarded(id, [=] { return QueryAxisValues(id, mnemonic, axes, values); });           \
    }

SETTING(SetServo, "SVO", int32_t)
SETTING(SetVelocityControl, "VCO", int32_t)
SETTING(SetDriftCompensation, "DCO", int32_t)
SETTING(SetVelocity, "VEL", double)
QUESTION(QueryUpperLimit, "PLM?", double)
QUESTION(QueryLowerLimit, "NLM?", double)
SETTING(Move, "MOV", double)
SETTING(MoveRelative, "MVR", double)
QUESTION(QueryTarget, "MOV?", double)
QUESTION(QueryPosition, "POS?", double)
QUESTION(QueryOnTarget, "ONT?", int32_t)

static int32_t DefineHome(int32_t id, const char *axes)
{
    return Guarded(id, [=]() -> int32_t {
        std::string command = "DFH";
        for (const std::string &name : AxisNames(axes))
            command += " " + name;
        return Set(id, command);
    });
}

// The stop is an error of its own to the controller, which would else be laid to the next command.
static int32_t Stop(int32_t id)
{
    return Guarded(id, [=]() -> int32_t {
        Connection *connection = Find(id);
        if (connection == nullptr || !Send(*connection, "STP")) return 0;
        const int32_t error = AskError(*connection, false);
        if (error == 0 || error == ZVK_LINK_STOPPED) return 1;
        return Refuse(id, error);
    });
}

static int32_t ClearWave(int32_t id, int32_t table)
{
    return Guarded(id, [=] { return Set(id, "WCL " + NumberText(table)); });
}

static int32_t QueryParameter(int32_t id, const char *axis, uint32_t parameter, double *value)
{
    return Guarded(id, [=]() -> int32_t {
        const std::vector<std::string> names = AxisNames(axis);
        if (names.empty()) return Refuse(id, ZVK_LINK_BAD_AXIS);
        std::string reply;
        if (!Query(id, "SPA? " + names[0] + " " + HexText(parameter), reply)) return 0;
        return ReadNumber(BehindEquals(reply), value) ? 1 : Refuse(id, ZVK_LINK_BAD_REPLY);
    });
}

static int32_t QueryWavePoints(int32_t id, int32_t table, int32_t *points)
{
    return Guarded(id, [=]() -> int32_t {
        std::string reply;
        if (!Query(id, "WMS? " + NumberText(table), reply)) return 0;
        return ReadWhole(BehindEquals(reply), points) ? 1 : Refuse(id, ZVK_LINK_BAD_REPLY);
    });
}

static int32_t SetWaveRate(int32_t id, int32_t generator, int32_t rate, int32_t interpolation)
{
    return Guarded(id, [=] {
        return Set(id, "WTR " + NumberText(generator) + " " + NumberText(rate) + " " +
                           NumberText(interpolation));
    });
}

// The command's order is not the call's.
static int32_t WaveSine(int32_t id, int32_t table, int32_t first, int32_t count, int32_t mode,
                        int32_t centre, double amplitude, double offset, int32_t segment)
{
    return Guarded(id, [=]() -> int32_t {
        static const char *const kModes[] = {"X", "+", "&"};
        if (mode < 0 || mode > 2) return Refuse(id, ZVK_LINK_BAD_ARGUMENT);
        if (!IsNumber(amplitude) || !IsNumber(offset)) return Refuse(id, ZVK_LINK_BAD_ARGUMENT);
        return Set(id, "WAV " + NumberText(table) + " " + kModes[mode] + " SIN_P " +
                           NumberText(segment) + " " + NumberText(amplitude) + " " +
                           NumberText(offset) + " " + NumberText(count) + " " + NumberText(first) +
                           " " + NumberText(centre));
    });
}

static int32_t SetTriggerOutput(int32_t id, int32_t line, int32_t parameter, double value)
{
    return Guarded(id, [=]() -> int32_t {
        if (!IsNumber(value)) return Refuse(id, ZVK_LINK_BAD_ARGUMENT);
        return Set(id, "CTO " + NumberText(line) + " " + NumberText(parameter) + " " +
                           NumberText(value));
    });
}

static int32_t StartGenerator(int32_t id, int32_t generator, int32_t mode)
{
    return Guarded(
        id, [=] { return Set(id, "WGO " + NumberText(generator) + " " + NumberText(mode)); });
}

static const ZVK_StageLinkTable &NetworkLink()
{
    static constexpr ZVK_StageLinkTable kTable = {Connect,
                                                  Close,
                                                  GetError,
                                                  TranslateError,
                                                  QueryCommandSet,
                                                  QueryAxes,
                                                  SetOnline,
                                                  SetServo,
                                                  SetVelocityControl,
                                                  SetDriftCompensation,
                                                  SetVelocity,
                                                  QueryUpperLimit,
                                                  QueryLowerLimit,
                                                  Move,
                                                  MoveRelative,
                                                  QueryTarget,
                                                  QueryPosition,
                                                  QueryOnTarget,
                                                  DefineHome,
                                                  Stop,
                                                  ClearWave,
                                                  QueryParameter,
                                                  QueryWavePoints,
                                                  SetWaveRate,
                                                  WaveSine,
                                                  SetTriggerOutput,
                                                  StartGenerator};
    return kTable;
}

static constinit TableSwitch<ZVK_StageLinkTable> s_link;

const ZVK_StageLinkTable &StageLink() { return s_link.InUse(NetworkLink); }

void UseStageLink(const ZVK_StageLinkTable *table) { s_link.Use(table); }
