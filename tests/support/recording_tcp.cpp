#include "recording_tcp.h"

#include "platform/tcp.h"

#include <algorithm>
#include <deque>
#include <map>
#include <set>
#include <utility>

const std::string RecordingTcp::kHangUp = "<hang up>";
const std::string RecordingTcp::kPause = "<pause>";

using Packets = std::vector<std::string>;

struct RecordingTcpState
{
    std::map<std::string, Packets> answers;
    std::map<std::string, std::deque<Packets>> once;
    std::deque<std::string> arriving;
    std::string partial;  // of a line that is being sent
    std::vector<std::string> sent;
    std::vector<std::string> connects;
    std::set<int> open;
    int made = 0;
    bool refuse = false;
    bool failSends = false;
    void (*onReceive)(double) = nullptr;
};

static RecordingTcpState s_tcp;

static Packets PacketsFor(const std::string &line)
{
    std::deque<Packets> &once = s_tcp.once[line];
    if (once.empty()) return s_tcp.answers[line];
    Packets packets = once.front();
    once.pop_front();
    return packets;
}

static int Connect(const char *host, int32_t port, double)
{
    s_tcp.connects.push_back(std::string(host) + ":" + std::to_string(port));
    if (s_tcp.refuse) return -1;
    s_tcp.open.insert(++s_tcp.made);
    return s_tcp.made;
}

static int Send(int connection, const void *bytes, size_t count)
{
    if (s_tcp.failSends || s_tcp.open.count(connection) == 0) return -1;
    s_tcp.partial.append(static_cast<const char *>(bytes), count);
    for (size_t end; (end = s_tcp.partial.find('\n')) != std::string::npos;) {
        const std::string line = s_tcp.partial.substr(0, end);
        s_tcp.partial.erase(0, end + 1);
        s_tcp.sent.push_back(line);
        for (const std::string &packet : PacketsFor(line))
            s_tcp.arriving.push_back(packet);
    }
    return 0;
}

static int64_t Receive(int connection, void *bytes, size_t count, double timeoutS)
{
    if (s_tcp.onReceive != nullptr) s_tcp.onReceive(timeoutS);
    if (s_tcp.open.count(connection) == 0) return -1;
    if (s_tcp.arriving.empty()) return 0;
    std::string &packet = s_tcp.arriving.front();
    if (packet == RecordingTcp::kHangUp) return -1;
    if (packet == RecordingTcp::kPause) {
        s_tcp.arriving.pop_front();
        return 0;
    }
    const size_t taken = std::min(count, packet.size());
    std::copy_n(packet.data(), taken, static_cast<char *>(bytes));
    packet.erase(0, taken);
    if (packet.empty()) s_tcp.arriving.pop_front();
    return static_cast<int64_t>(taken);
}

// What is behind a pause has not arrived yet.
static void Discard(int)
{
    const auto arrived =
        std::find_if(s_tcp.arriving.begin(), s_tcp.arriving.end(), [](const std::string &packet) {
            return packet == RecordingTcp::kPause || packet == RecordingTcp::kHangUp;
        });
    s_tcp.arriving.erase(s_tcp.arriving.begin(), arrived);
}

static void Close(int connection)
{
    s_tcp.open.erase(connection);
    s_tcp.arriving.clear();
}

static const ZVK_TcpTable kTable = {Connect, Send, Receive, Discard, Close};

RecordingTcp::RecordingTcp()
{
    s_tcp = {};
    s_tcp.answers["ERR?"] = {"0\n"};
    UseTcp(&kTable);
}

RecordingTcp::~RecordingTcp() { UseTcp(nullptr); }

void RecordingTcp::Answer(const std::string &command, const std::vector<std::string> &packets)
{
    s_tcp.answers[command] = packets;
}

void RecordingTcp::AnswerOnce(const std::string &command, const std::vector<std::string> &packets)
{
    s_tcp.once[command].push_back(packets);
}

void RecordingTcp::Supply(const std::string &bytes) { s_tcp.arriving.push_back(bytes); }

void RecordingTcp::RefuseConnections(bool refuse) { s_tcp.refuse = refuse; }

void RecordingTcp::FailSends(bool fail) { s_tcp.failSends = fail; }

void RecordingTcp::OnReceive(void (*call)(double timeoutS)) { s_tcp.onReceive = call; }

std::vector<std::string> RecordingTcp::Sent() const { return s_tcp.sent; }

std::vector<std::string> RecordingTcp::TakeSent() { return std::exchange(s_tcp.sent, {}); }

std::vector<std::string> RecordingTcp::Connects() const { return s_tcp.connects; }

int RecordingTcp::Open() const { return static_cast<int>(s_tcp.open.size()); }
