// The controller's port: one connection at a time, on a thread of its own.

#include "quorvex-virtual/stage.h"

#include "controller.h"

#include <algorithm>
#include <arpa/inet.h>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <cmath>
#include <condition_variable>
#include <cstdio>
#include <mutex>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <stdexcept>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>
#include <utility>

struct VirtualStage::Inside
{
    explicit Inside(const VirtualStageSettings &settings)
        : clock(settings.clock), onTrigger(settings.onTrigger), controller(settings)
    {
    }

    std::function<double()> clock;
    std::function<void(const VirtualStageTrigger &)> onTrigger;
    std::chrono::steady_clock::time_point made = std::chrono::steady_clock::now();

    mutable std::mutex mutex;  // what follows
    StageController controller;
    VirtualStageFault fault;
    std::vector<VirtualStageLine> lines;
    std::string partial;  // of a command
    std::string held;     // answers that have not gone out

    int listener = -1;
    int wake = -1;
    int port = 0;
    std::atomic<int> client = -1;
    std::atomic<int> connections = 0;
    std::atomic<bool> ending = false;
    std::atomic<bool> hangUp = false;
    std::atomic<bool> refuse = false;
    std::thread thread;

    std::mutex refusalMutex;
    std::condition_variable refusalChanged;
    bool refusalKept = false;  // as told by `refuse`

    double Now() const
    {
        if (clock) return clock();
        return std::chrono::duration<double>(std::chrono::steady_clock::now() - made).count();
    }

    std::string Ask(const std::string &command);
    void Listen(int wanted);
    bool Bind(int wanted);
    void CloseListener();
    void KeepRefusal(bool refused);
    void Rest(double seconds);
    void Run();
    void Accept();
    void Serve();
    void Send(const std::string &answer);
    void DropClient();
};

std::string VirtualStage::Inside::Ask(const std::string &command)
{
    const double now = Now();
    std::unique_lock lock(mutex);
    std::string answer = controller.Answer(command, now);
    if (fault.silent) answer.clear();
    if (fault.garbled && !answer.empty()) answer = "\x15~#?!\n";
    lines.push_back({now, command, answer});
    const std::vector<VirtualStageTrigger> triggers = controller.TakeTriggers();
    lock.unlock();
    if (!onTrigger) return answer;
    for (const VirtualStageTrigger &trigger : triggers)
        onTrigger(trigger);
    return answer;
}

bool VirtualStage::Inside::Bind(int wanted)
{
    listener = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    const int on = 1;
    (void)setsockopt(listener, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(static_cast<uint16_t>(wanted));
    socklen_t size = sizeof address;
    const bool good = listener >= 0 &&
                      bind(listener, reinterpret_cast<sockaddr *>(&address), size) == 0 &&
                      listen(listener, 4) == 0 &&
                      getsockname(listener, reinterpret_cast<sockaddr *>(&address), &size) == 0;
    if (good) port = ntohs(address.sin_port);
    if (!good) CloseListener();
    return good;
}

void VirtualStage::Inside::CloseListener()
{
    if (listener >= 0) (void)close(listener);
    listener = -1;
}

void VirtualStage::Inside::Listen(int wanted)
{
    wake = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    if (wake >= 0 && Bind(wanted)) return;
    if (wake >= 0) (void)close(wake);
    throw std::runtime_error("the virtual stage found no free port");
}

void VirtualStage::Inside::DropClient()
{
    const int handle = client.exchange(-1);
    if (handle >= 0) (void)close(handle);
    partial.clear();
    held.clear();
}

void VirtualStage::Inside::Accept()
{
    const int handle = accept4(listener, nullptr, nullptr, SOCK_CLOEXEC);
    if (handle < 0) return;
    DropClient();  // the newest one is served
    const int on = 1;
    (void)setsockopt(handle, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    client = handle;
    ++connections;
}

// Until the time is over or something is wanted of this thread.
void VirtualStage::Inside::Rest(double seconds)
{
    pollfd entry = {wake, POLLIN, 0};
    (void)poll(&entry, 1, static_cast<int>(std::lround(seconds * 1000.0)));
}

void VirtualStage::Inside::Send(const std::string &answer)
{
    if (answer.empty()) return;
    VirtualStageFault now;
    held += answer;
    {
        const std::lock_guard lock(mutex);
        now = fault;
        if (fault.heldAnswers > 0) --fault.heldAnswers;
    }
    if (now.heldAnswers > 0) return;
    if (now.slowS > 0.0) Rest(now.slowS);
    std::string bytes = std::exchange(held, {});
    const bool cut = now.closeBehindBytes >= 0;
    if (cut)
        bytes.resize(std::min<size_t>(bytes.size(), static_cast<size_t>(now.closeBehindBytes)));
    const size_t packet = now.byteByByte ? 1 : bytes.size();
    for (size_t at = 0; at < bytes.size(); at += packet)
        (void)send(client, bytes.data() + at, std::min(packet, bytes.size() - at), MSG_NOSIGNAL);
    if (cut) DropClient();
}

void VirtualStage::Inside::Serve()
{
    char bytes[1024];
    const ssize_t got = recv(client, bytes, sizeof bytes, MSG_DONTWAIT);
    if (got < 0 && (errno == EAGAIN || errno == EINTR)) return;
    if (got <= 0) {
        DropClient();
        return;
    }
    partial.append(bytes, static_cast<size_t>(got));
    for (size_t end; client >= 0 && (end = partial.find('\n')) != std::string::npos;) {
        const std::string command = partial.substr(0, end);
        partial.erase(0, end + 1);
        Send(Ask(command));
    }
}

// At a port without a listener the kernel refuses by itself.
void VirtualStage::Inside::KeepRefusal(bool refused)
{
    const std::lock_guard lock(refusalMutex);
    if (refused && listener >= 0) CloseListener();
    if (!refused && listener < 0) (void)Bind(port);
    refusalKept = refused;
    refusalChanged.notify_all();
}

void VirtualStage::Inside::Run()
{
    while (!ending) {
        pollfd entries[3] = {{wake, POLLIN, 0}, {listener, POLLIN, 0}, {client, POLLIN, 0}};
        const nfds_t count = client >= 0 ? 3 : 2;
        if (poll(entries, count, -1) < 0) continue;
        if (entries[0].revents != 0) {
            uint64_t value = 0;
            (void)!read(wake, &value, sizeof value);
        }
        if (hangUp.exchange(false)) DropClient();
        if (count == 3 && entries[2].revents != 0 && client >= 0) Serve();
        if (entries[1].revents != 0) Accept();
        KeepRefusal(refuse);
    }
    DropClient();
}

static void Wake(int event)
{
    const uint64_t one = 1;
    (void)!write(event, &one, sizeof one);
}

VirtualStage::VirtualStage(const VirtualStageSettings &settings)
    : m_inside(std::make_unique<Inside>(settings))
{
    m_inside->Listen(settings.port);
    m_inside->thread = std::thread([inside = m_inside.get()] { inside->Run(); });
}

VirtualStage::~VirtualStage()
{
    m_inside->ending = true;
    Wake(m_inside->wake);
    m_inside->thread.join();
    m_inside->CloseListener();
    (void)close(m_inside->wake);
}

int VirtualStage::Port() const { return m_inside->port; }

int VirtualStage::Connections() const { return m_inside->connections; }

bool VirtualStage::IsConnected() const { return m_inside->client >= 0; }

void VirtualStage::HangUp()
{
    m_inside->hangUp = true;
    Wake(m_inside->wake);
}

void VirtualStage::RefuseConnections(bool refuse)
{
    m_inside->refuse = refuse;
    Wake(m_inside->wake);
    std::unique_lock lock(m_inside->refusalMutex);
    m_inside->refusalChanged.wait(lock, [=, this] { return m_inside->refusalKept == refuse; });
}

VirtualStageAxis VirtualStage::State(int axis) const
{
    const double now = m_inside->Now();
    const std::lock_guard lock(m_inside->mutex);
    return m_inside->controller.State(axis, now);
}

double VirtualStage::PositionAt(int axis, double timeS) const
{
    const std::lock_guard lock(m_inside->mutex);
    return m_inside->controller.PositionAt(axis, timeS);
}

double VirtualStage::Now() const { return m_inside->Now(); }

void VirtualStage::Misbehave(const VirtualStageFault &fault)
{
    const std::lock_guard lock(m_inside->mutex);
    m_inside->fault = fault;
    m_inside->controller.Refuse(fault.refuse, fault.refuseNth, fault.refuseCode);
}

std::vector<VirtualStageLine> VirtualStage::Lines() const
{
    const std::lock_guard lock(m_inside->mutex);
    return m_inside->lines;
}

std::vector<std::string> VirtualStage::Commands() const
{
    std::vector<std::string> commands;
    for (const VirtualStageLine &line : Lines())
        commands.push_back(line.command);
    return commands;
}

std::vector<VirtualStageLine> VirtualStage::TakeLines()
{
    const std::lock_guard lock(m_inside->mutex);
    return std::exchange(m_inside->lines, {});
}

std::string VirtualStage::Ask(const std::string &command) { return m_inside->Ask(command); }

std::string VirtualStageReport(const std::vector<VirtualStageLine> &lines)
{
    std::string report;
    for (const VirtualStageLine &line : lines) {
        // Behind each setting stands the question for its error, which is left out when there is
        // none.
        if (line.command == "ERR?" && line.answer == "0\n") continue;
        std::string answer;
        for (const char c : line.answer) {
            if (c != '\n') answer += c;
        }
        char text[256];
        (void)std::snprintf(text, sizeof text, "%9.3f s  %-28s %s\n", line.timeS,
                            line.command.c_str(), answer.c_str());
        report += text;
    }
    return report;
}
