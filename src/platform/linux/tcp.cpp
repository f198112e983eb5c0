// TCP by sockets. They never block: every wait is a poll with its own end.

#include "platform/tcp.h"
#include "platform/backends.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <fcntl.h>
#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

using SteadyClock = std::chrono::steady_clock;

constexpr double kSendTimeoutS = 5.0;
constexpr double kLongestWaitS = 3600.0;

static SteadyClock::time_point DeadlineIn(double seconds)
{
    const double wait = std::clamp(seconds, 0.0, kLongestWaitS);
    return SteadyClock::now() +
           std::chrono::duration_cast<SteadyClock::duration>(std::chrono::duration<double>(wait));
}

// True when the socket is ready before the deadline.
static bool Await(int socket, short events, SteadyClock::time_point deadline)
{
    for (;;) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
            deadline - SteadyClock::now() + std::chrono::microseconds(999));
        pollfd entry = {socket, events, 0};
        const int ready = poll(&entry, 1, static_cast<int>(std::max<int64_t>(left.count(), 0)));
        if (ready > 0) return true;
        if (ready == 0 || errno != EINTR) return false;
    }
}

static int ConnectTo(const addrinfo &address, SteadyClock::time_point deadline)
{
    const int handle = socket(address.ai_family, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    if (handle < 0) return -1;
    const int on = 1;
    (void)setsockopt(handle, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    int error = connect(handle, address.ai_addr, address.ai_addrlen) == 0 ? 0 : errno;
    if (error == EINPROGRESS && Await(handle, POLLOUT, deadline)) {
        socklen_t size = sizeof error;
        if (getsockopt(handle, SOL_SOCKET, SO_ERROR, &error, &size) != 0) error = errno;
    }
    if (error == 0) return handle;
    (void)close(handle);
    return -1;
}

static int Connect(const char *host, int32_t port, double timeoutS)
{
    if (host == nullptr || port < 1 || port > 65535) return -1;
    char service[16];
    (void)std::snprintf(service, sizeof service, "%d", port);
    addrinfo hints = {};
    hints.ai_socktype = SOCK_STREAM;
    hints.ai_flags = AI_NUMERICSERV;
    addrinfo *addresses = nullptr;
    if (getaddrinfo(host, service, &hints, &addresses) != 0) return -1;
    const auto deadline = DeadlineIn(timeoutS);
    int handle = -1;
    for (const addrinfo *each = addresses; each != nullptr && handle < 0; each = each->ai_next)
        handle = ConnectTo(*each, deadline);
    freeaddrinfo(addresses);
    return handle;
}

static int Send(int connection, const void *bytes, size_t count)
{
    const auto deadline = DeadlineIn(kSendTimeoutS);
    const char *next = static_cast<const char *>(bytes);
    while (count > 0) {
        const ssize_t sent = send(connection, next, count, MSG_NOSIGNAL);
        if (sent > 0) {
            next += sent;
            count -= static_cast<size_t>(sent);
            continue;
        }
        if (sent < 0 && errno == EINTR) continue;
        if (sent < 0 && errno != EAGAIN) return -1;
        if (!Await(connection, POLLOUT, deadline)) return -1;
    }
    return 0;
}

static int64_t Receive(int connection, void *bytes, size_t count, double timeoutS)
{
    const auto deadline = DeadlineIn(timeoutS);
    for (;;) {
        if (!Await(connection, POLLIN, deadline)) return 0;
        const ssize_t got = recv(connection, bytes, count, 0);
        if (got > 0) return got;
        if (got == 0) return -1;
        if (errno != EAGAIN && errno != EINTR) return -1;
    }
}

static void Discard(int connection)
{
    char dropped[256];
    while (recv(connection, dropped, sizeof dropped, 0) > 0) {
    }
}

static void Close(int connection) { (void)close(connection); }

const ZVK_TcpTable &SystemTcp()
{
    static constexpr ZVK_TcpTable kTable = {Connect, Send, Receive, Discard, Close};
    return kTable;
}
