#ifndef QUORVEX_MESSAGES_HUB_H
#define QUORVEX_MESSAGES_HUB_H

// What one process knows of messages: names, listeners and its inbox.

#include "messages/link.h"
#include "quorvex/messages.h"

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

struct MessageName
{
    std::string name;
    uint32_t hash = 0;
};

struct Numbers
{
    int64_t first = 0;
    int64_t second = 0;
};

// Guarded by the hub's mutex, all of it.
struct Listener
{
    uint32_t id = 0;
    uint32_t hash = 0;
    ZVK_MessageCallback callback = nullptr;  // null: ZVK_Messages_Wait fetches
    void *callbackData = nullptr;
    std::deque<Numbers> waiting;
    bool ended = false;
    bool calling = false;             // the callback runs now
    std::thread::id thread;           // on which it runs
    std::condition_variable changed;  // waiting, ended or calling
};

struct Hub
{
    std::mutex guard;  // of all below
    std::map<uint32_t, MessageName> names;
    std::map<int32_t, std::shared_ptr<Listener>> listeners;
    int32_t lastListener = 0;
    char folder[kInboxPathSize] = "";  // empty until found
    Inbox inbox;                       // open while there are listeners
    int outbox = -1;
    uint64_t mark = 0;          // this process, as posters are told apart
    bool leaving = false;       // the process is ending
    Hub *beforeFork = nullptr;  // the parent's, whose threads don't exist here
};

// The hub of this process: made on first use, never destroyed, and made anew in a forked child.
// Null when memory ran out.
Hub *TheHub() noexcept;

// These want the hub's mutex locked.
void Deliver(Hub &hub, const MessageRecord &record) noexcept;
bool FindFolder(
    Hub &hub);  // unless it is known; false when there is none; may throw std::bad_alloc
bool OpenHubInbox(Hub &hub);  // true when it is open; may throw std::bad_alloc
void CloseUnusedInbox(Hub &hub) noexcept;

#endif
