#ifndef QUORVEX_PLATFORM_MESSAGES_H
#define QUORVEX_PLATFORM_MESSAGES_H

// Registered messages to all who listen, in this process and in others of the user, by the small
// library of quorvex/messages.h. A test puts a table of its own here to see what is posted.

#include <cstdint>
#include <type_traits>

// registerName gives the id of a message's name, 0 when there is none to be had. post gives 0 or a
// positive number when the message went out, a negative one when nothing was sent.
#define ZVK_MESSAGE_CALLS(X)                                                                       \
    X(registerName, uint32_t(const char *name))                                                    \
    X(post, int32_t(uint32_t id, int64_t first, int64_t second))

struct ZVK_MessageTable
{
#define X(call, type) std::add_pointer_t<type> call;
    ZVK_MESSAGE_CALLS(X)
#undef X
};

const ZVK_MessageTable &Messages();               // the table in use, every entry set
void UseMessages(const ZVK_MessageTable *table);  // null: back to the small library

#endif
