#ifndef QUORVEX_MESSAGES_LINK_H
#define QUORVEX_MESSAGES_LINK_H

// The way between processes: an inbox for each process that listens, in a folder that all processes
// of the user know. Defined by the platform folder (linux/).

#include <cstddef>
#include <cstdint>
#include <string>

// One message as it travels; both ends run on one machine.
struct MessageRecord
{
    uint32_t magic;
    uint32_t id;
    uint32_t hash;      // of the name, in whole: tells names apart that share an id
    uint32_t reserved;  // 0
    uint64_t poster;    // a number of the posting process that no other has
    int64_t first;
    int64_t second;
};

constexpr uint32_t kMessageMagic = 0x5A564B31;
constexpr size_t kInboxPathSize = 108;  // what an address holds, terminator included

struct Inbox
{
    int socket = -1;                 // -1: there is none
    char path[kInboxPathSize] = "";  // of its entry in the folder
};

enum Received
{
    RECEIVED_RECORD,
    RECEIVED_NOTHING,  // the inbox has ended, or an empty message came
    RECEIVED_ERROR     // nothing will ever come
};

// The folder of the user's own, made if need be; empty when there is none that is safe. It is safe
// when it belongs to this user and nobody else may enter it. May throw std::bad_alloc.
std::string MeetingFolder();

// Opens an inbox in the folder. False when that can't be done.
bool OpenInbox(const char *folder, Inbox &inbox) noexcept;

// Takes the inbox's entry away and lets the thread that receives see its end.
void EndInbox(const Inbox &inbox) noexcept;

// Waits for the next record of an inbox; anything else that comes is passed over.
Received ReceiveRecord(int socket, MessageRecord &record) noexcept;

// A socket to send from, -1 when there is none to be had.
int OpenOutbox() noexcept;

void CloseSocket(int socket) noexcept;

// Sends to every inbox in the folder but the one at ownPath, and takes away those that are dead.
// False when there is no such folder.
bool SendToOthers(int outbox, const char *folder, const char *ownPath,
                  const MessageRecord &record) noexcept;

// A number for this process that no other has, now or later.
uint64_t NewProcessMark() noexcept;

struct ForkCalls
{
    void (*before)();
    void (*inParent)();
    void (*inChild)();
};

bool CallAroundForks(const ForkCalls &calls) noexcept;

#endif
