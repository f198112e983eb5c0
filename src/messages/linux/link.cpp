// The way between processes by Unix datagram sockets, which keep the bounds of each message.

#include "messages/link.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <dirent.h>
#include <memory>
#include <pthread.h>
#include <sys/random.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

static_assert(sizeof(sockaddr_un::sun_path) == kInboxPathSize);

// The room that busy inboxes get in one post, all of them together: 5 tries of 0.2 ms.
constexpr int kTriesWhenFull = 5;
constexpr timespec kPauseWhenFull = {0, 200'000};

constexpr int kSerialsTried = 1000;

struct CloseFolder
{
    void operator()(DIR *folder) const { (void)closedir(folder); }
};

static bool MakeAddress(const char *folder, const char *name, sockaddr_un &address)
{
    address = {};
    address.sun_family = AF_UNIX;
    const int length =
        std::snprintf(address.sun_path, sizeof address.sun_path, "%s/%s", folder, name);
    return length > 0 && static_cast<size_t>(length) < sizeof address.sun_path;
}

static const sockaddr *Generic(const sockaddr_un &address)
{
    return reinterpret_cast<const sockaddr *>(&address);
}

// A name in use is left alone: it may be that of a process in another container with our number.
static bool BindToFreeName(int number, const char *folder, sockaddr_un &address)
{
    for (int serial = 1; serial <= kSerialsTried; ++serial) {
        char name[32];
        (void)std::snprintf(name, sizeof name, "%d-%d", static_cast<int>(getpid()), serial);
        if (!MakeAddress(folder, name, address)) return false;
        if (bind(number, Generic(address), sizeof address) == 0) return true;
        if (errno != EADDRINUSE) return false;
    }
    return false;
}

bool OpenInbox(const char *folder, Inbox &inbox) noexcept
{
    const int number = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (number < 0) return false;
    sockaddr_un address;
    if (!BindToFreeName(number, folder, address)) {
        (void)close(number);
        return false;
    }
    inbox.socket = number;
    std::memcpy(inbox.path, address.sun_path, sizeof inbox.path);
    return true;
}

void EndInbox(const Inbox &inbox) noexcept
{
    (void)unlink(inbox.path);
    (void)shutdown(inbox.socket, SHUT_RDWR);
}

Received ReceiveRecord(int socket, MessageRecord &record) noexcept
{
    for (;;) {
        const ssize_t got = recv(socket, &record, sizeof record, MSG_TRUNC);
        if (got == static_cast<ssize_t>(sizeof record) && record.magic == kMessageMagic)
            return RECEIVED_RECORD;
        if (got == 0) return RECEIVED_NOTHING;
        if (got < 0 && errno != EINTR) return RECEIVED_ERROR;
    }
}

int OpenOutbox() noexcept { return socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0); }

void CloseSocket(int socket) noexcept
{
    if (socket >= 0) (void)close(socket);
}

// An inbox's name is a process number, a minus sign and a serial number.
static bool IsInboxName(const char *name)
{
    constexpr const char *kDigits = "0123456789";
    const size_t process = std::strspn(name, kDigits);
    if (process == 0 || name[process] != '-') return false;
    const char *serial = name + process + 1;
    const size_t digits = std::strspn(serial, kDigits);
    return digits > 0 && serial[digits] == '\0';
}

static void SendToOne(int outbox, const sockaddr_un &address, const MessageRecord &record,
                      int &triesLeft)
{
    for (;;) {
        const ssize_t sent = sendto(outbox, &record, sizeof record, MSG_NOSIGNAL | MSG_DONTWAIT,
                                    Generic(address), sizeof address);
        if (sent >= 0) return;
        if (errno == EINTR) continue;
        if (errno == ECONNREFUSED)
            (void)unlink(address.sun_path);             // its process died without a word
        if (errno != EAGAIN || triesLeft == 0) return;  // dropped
        --triesLeft;
        (void)nanosleep(&kPauseWhenFull, nullptr);
    }
}

bool SendToOthers(int outbox, const char *folder, const char *ownPath,
                  const MessageRecord &record) noexcept
{
    const std::unique_ptr<DIR, CloseFolder> entries(opendir(folder));
    if (!entries) return false;
    int triesLeft = kTriesWhenFull;
    while (const dirent *entry = readdir(entries.get())) {
        sockaddr_un address;
        if (!IsInboxName(entry->d_name) || !MakeAddress(folder, entry->d_name, address)) continue;
        if (std::strcmp(address.sun_path, ownPath) == 0) continue;
        SendToOne(outbox, address, record, triesLeft);
    }
    return true;
}

uint64_t NewProcessMark() noexcept
{
    uint64_t mark = 0;
    if (getrandom(&mark, sizeof mark, GRND_NONBLOCK) == static_cast<ssize_t>(sizeof mark))
        return mark;
    timespec now{};
    (void)clock_gettime(CLOCK_MONOTONIC, &now);
    return (static_cast<uint64_t>(getpid()) << 40) ^ (static_cast<uint64_t>(now.tv_sec) << 20) ^
           static_cast<uint64_t>(now.tv_nsec);
}

bool CallAroundForks(const ForkCalls &calls) noexcept
{
    return pthread_atfork(calls.before, calls.inParent, calls.inChild) == 0;
}
