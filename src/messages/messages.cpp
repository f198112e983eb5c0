// The exported calls.

#include "quorvex/messages.h"

#include "messages/hub.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstring>
#include <new>
#include <string_view>
#include <system_error>

constexpr uint32_t kFirstId = 0xC000;
constexpr uint32_t kIds = 0x4000;

constexpr double kLongestWaitS = 1e8;

using Lock = std::unique_lock<std::mutex>;

// FNV-1a, 32 bits (Fowler, Noll and Vo).
static uint32_t HashOfName(std::string_view name)
{
    uint32_t hash = 2166136261u;
    for (const char c : name) {
        hash ^= static_cast<unsigned char>(c);
        hash *= 16777619u;
    }
    return hash;
}

static std::shared_ptr<Listener> FindListener(Hub &hub, int32_t number)
{
    const auto found = hub.listeners.find(number);
    return found == hub.listeners.end() ? nullptr : found->second;
}

static int32_t NextListenerNumber(Hub &hub)
{
    do {
        hub.lastListener = hub.lastListener == INT32_MAX ? 1 : hub.lastListener + 1;
    } while (hub.listeners.contains(hub.lastListener));
    return hub.lastListener;
}

static void CallbackLoop(Hub &hub, const std::shared_ptr<Listener> &listener) noexcept
{
    Lock lock(hub.guard);
    listener->thread = std::this_thread::get_id();
    for (;;) {
        listener->changed.wait(lock, [&] { return listener->ended || !listener->waiting.empty(); });
        if (listener->ended) return;
        const Numbers numbers = listener->waiting.front();
        listener->waiting.pop_front();
        listener->calling = true;
        lock.unlock();
        listener->callback(listener->id, numbers.first, numbers.second, listener->callbackData);
        lock.lock();
        listener->calling = false;
        listener->changed.notify_all();
    }
}

// May throw std::bad_alloc, or std::system_error when there is no thread to be had.
static int32_t AddListener(Hub &hub, const std::shared_ptr<Listener> &listener)
{
    const int32_t number = NextListenerNumber(hub);
    hub.listeners[number] = listener;
    if (!listener->callback) return number;
    try {
        std::thread([&hub, listener] { CallbackLoop(hub, listener); }).detach();
    } catch (...) {
        hub.listeners.erase(number);
        throw;
    }
    return number;
}

uint32_t ZVK_Messages_Register(const char *name)
{
    Hub *hub = TheHub();
    if (!hub || !name || !*name) return 0;
    const uint32_t hash = HashOfName(name);
    const uint32_t id = kFirstId + hash % kIds;
    try {
        const Lock lock(hub->guard);
        const auto found = hub->names.find(id);
        if (found != hub->names.end()) return found->second.name == name ? id : 0;
        hub->names.emplace(id, MessageName{name, hash});
        return id;
    } catch (const std::bad_alloc &) {
        return 0;
    }
}

int32_t ZVK_Messages_Post(uint32_t id, int64_t first, int64_t second)
{
    Hub *hub = TheHub();
    if (!hub) return ZVK_MESSAGES_NO_ROOM;
    MessageRecord record = {kMessageMagic, id, 0, 0, 0, first, second};
    Inbox own;
    char folder[kInboxPathSize];
    int outbox = -1;
    try {
        const Lock lock(hub->guard);
        const auto found = hub->names.find(id);
        if (found == hub->names.end()) return ZVK_MESSAGES_UNKNOWN_ID;
        record.hash = found->second.hash;
        record.poster = hub->mark;
        const bool reachesOthers = FindFolder(*hub);
        if (reachesOthers && hub->outbox < 0) hub->outbox = OpenOutbox();
        Deliver(*hub, record);
        if (!reachesOthers || hub->outbox < 0) return ZVK_MESSAGES_ONLY_THIS_PROCESS;
        own = hub->inbox;
        outbox = hub->outbox;
        std::memcpy(folder, hub->folder, sizeof folder);
    } catch (const std::bad_alloc &) {
        return ZVK_MESSAGES_NO_ROOM;
    }
    // Without the lock: it may take a moment.
    if (SendToOthers(outbox, folder, own.path, record)) return ZVK_MESSAGES_OK;
    const Lock lock(hub->guard);
    hub->folder[0] = '\0';  // taken away; the next call finds or makes it anew
    return ZVK_MESSAGES_ONLY_THIS_PROCESS;
}

int32_t ZVK_Messages_Listen(uint32_t id, ZVK_MessageCallback callback, void *callbackData,
                            int32_t *listener)
{
    if (!listener) return ZVK_MESSAGES_BAD_ARGUMENT;
    *listener = 0;
    Hub *hub = TheHub();
    if (!hub) return ZVK_MESSAGES_NO_ROOM;
    const Lock lock(hub->guard);
    const auto found = hub->names.find(id);
    if (found == hub->names.end()) return ZVK_MESSAGES_UNKNOWN_ID;
    try {
        const auto added = std::make_shared<Listener>();
        added->id = id;
        added->hash = found->second.hash;
        added->callback = callback;
        added->callbackData = callbackData;
        const bool hearsOthers = OpenHubInbox(*hub);
        *listener = AddListener(*hub, added);
        return hearsOthers ? ZVK_MESSAGES_OK : ZVK_MESSAGES_ONLY_THIS_PROCESS;
    } catch (const std::exception &) {  // memory or threads
        CloseUnusedInbox(*hub);
        return ZVK_MESSAGES_NO_ROOM;
    }
}

// True once there is a message or the listener has ended.
static bool WaitForMessage(Listener &listener, Lock &lock, double timeoutS)
{
    const auto done = [&] { return listener.ended || !listener.waiting.empty(); };
    if (timeoutS < 0.0) {
        listener.changed.wait(lock, done);
        return true;
    }
    const std::chrono::duration<double> timeout(std::min(timeoutS, kLongestWaitS));
    return listener.changed.wait_for(lock, timeout, done);
}

int32_t ZVK_Messages_Wait(int32_t listener, double timeoutS, int64_t *first, int64_t *second)
{
    if (std::isnan(timeoutS)) return ZVK_MESSAGES_BAD_ARGUMENT;
    Hub *hub = TheHub();
    if (!hub) return ZVK_MESSAGES_UNKNOWN_LISTENER;
    Lock lock(hub->guard);
    const std::shared_ptr<Listener> found = FindListener(*hub, listener);
    if (!found) return ZVK_MESSAGES_UNKNOWN_LISTENER;
    if (found->callback) return ZVK_MESSAGES_BAD_ARGUMENT;
    if (!WaitForMessage(*found, lock, timeoutS)) return ZVK_MESSAGES_TIMED_OUT;
    if (found->ended) return ZVK_MESSAGES_UNKNOWN_LISTENER;
    const Numbers numbers = found->waiting.front();
    found->waiting.pop_front();
    if (first) *first = numbers.first;
    if (second) *second = numbers.second;
    return ZVK_MESSAGES_OK;
}

int32_t ZVK_Messages_Unlisten(int32_t listener)
{
    Hub *hub = TheHub();
    if (!hub) return ZVK_MESSAGES_UNKNOWN_LISTENER;
    Lock lock(hub->guard);
    const std::shared_ptr<Listener> found = FindListener(*hub, listener);
    if (!found) return ZVK_MESSAGES_UNKNOWN_LISTENER;
    hub->listeners.erase(listener);
    found->ended = true;
    found->waiting.clear();
    found->changed.notify_all();
    CloseUnusedInbox(*hub);
    if (found->thread == std::this_thread::get_id()) return ZVK_MESSAGES_OK;
    found->changed.wait(lock, [&] { return !found->calling; });
    return ZVK_MESSAGES_OK;
}
