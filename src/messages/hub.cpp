// The hub's life: made on first use, renewed in a forked child, cleared away when the process ends;
// and the thread that empties its inbox.

#include "messages/hub.h"

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <new>
#include <system_error>

constexpr size_t kMostWaiting = 10000;

static std::atomic<Hub *> s_hub{nullptr};

static void LockBeforeFork()
{
    if (Hub *hub = s_hub.load()) hub->guard.lock();
}

static void UnlockInParent()
{
    if (Hub *hub = s_hub.load()) hub->guard.unlock();
}

// The child has none of the parent's threads, so the old hub is left as it is, but for its sockets
// and for a callback that may have forked: its thread ends when it comes back.
static void StartAnewInChild()
{
    Hub *old = s_hub.load();
    if (!old) return;
    CloseSocket(old->inbox.socket);
    CloseSocket(old->outbox);
    old->inbox = {};
    old->outbox = -1;
    for (auto &row : old->listeners)
        row.second->ended = true;

    Hub *fresh = new (std::nothrow) Hub;
    if (fresh) {
        fresh->names.swap(old->names);
        std::memcpy(fresh->folder, old->folder, sizeof fresh->folder);
        fresh->mark = NewProcessMark();
        fresh->beforeFork = old;
    }
    s_hub.store(fresh);
    old->guard.unlock();
}

// Runs while other threads may still post or listen.
static void ClearAwayAtExit()
{
    Hub *hub = s_hub.load();
    if (!hub) return;
    const std::lock_guard lock(hub->guard);
    hub->leaving = true;
    if (hub->inbox.socket >= 0) EndInbox(hub->inbox);
    hub->inbox = {};
}

// Once a process, whichever hub it is.
static bool WatchForksAndExit()
{
    return CallAroundForks({LockBeforeFork, UnlockInParent, StartAnewInChild}) &&
           std::atexit(ClearAwayAtExit) == 0;
}

Hub *TheHub() noexcept
{
    static const bool watched = WatchForksAndExit();
    (void)watched;  // without it only a fork or the end of the process is less tidy
    Hub *hub = s_hub.load();
    if (hub) return hub;
    Hub *fresh = new (std::nothrow) Hub;
    if (!fresh) return nullptr;
    fresh->mark = NewProcessMark();
    if (s_hub.compare_exchange_strong(hub, fresh)) return fresh;
    delete fresh;  // another thread was first
    return hub;
}

void Deliver(Hub &hub, const MessageRecord &record) noexcept
{
    for (auto &row : hub.listeners) {
        Listener &listener = *row.second;
        if (listener.id != record.id || listener.hash != record.hash) continue;
        if (listener.waiting.size() >= kMostWaiting) continue;
        try {
            listener.waiting.push_back({record.first, record.second});
        } catch (const std::bad_alloc &) {
            continue;  // dropped, as when the queue is full
        }
        listener.changed.notify_one();
    }
}

bool FindFolder(Hub &hub)
{
    if (hub.folder[0] != '\0') return true;
    const std::string folder = MeetingFolder();
    if (folder.empty() || folder.size() >= sizeof hub.folder) return false;
    std::memcpy(hub.folder, folder.c_str(), folder.size() + 1);
    return true;
}

// A thread for each inbox, which it closes when the inbox has ended. Own posts went to the
// listeners straight away.
static void EmptyInbox(Hub &hub, int socket) noexcept
{
    for (;;) {
        MessageRecord record;
        const Received received = ReceiveRecord(socket, record);
        const std::lock_guard lock(hub.guard);
        if (received == RECEIVED_RECORD && record.poster != hub.mark) Deliver(hub, record);
        const bool ended = hub.inbox.socket != socket;
        if (!ended && received != RECEIVED_ERROR) continue;
        if (!ended) {
            EndInbox(hub.inbox);
            hub.inbox = {};
        }
        CloseSocket(socket);
        return;
    }
}

// The folder may have been taken away since it was found; then it is made again.
static bool OpenInboxSomewhere(Hub &hub, Inbox &inbox)
{
    if (FindFolder(hub) && OpenInbox(hub.folder, inbox)) return true;
    hub.folder[0] = '\0';
    return FindFolder(hub) && OpenInbox(hub.folder, inbox);
}

bool OpenHubInbox(Hub &hub)
{
    if (hub.inbox.socket >= 0) return true;
    Inbox inbox;
    if (hub.leaving || !OpenInboxSomewhere(hub, inbox)) return false;
    try {
        std::thread([&hub, socket = inbox.socket] { EmptyInbox(hub, socket); }).detach();
    } catch (const std::exception &) {  // no thread or no memory for one
        EndInbox(inbox);
        CloseSocket(inbox.socket);
        return false;
    }
    hub.inbox = inbox;
    return true;
}

void CloseUnusedInbox(Hub &hub) noexcept
{
    if (!hub.listeners.empty() || hub.inbox.socket < 0) return;
    EndInbox(hub.inbox);
    hub.inbox = {};
}
