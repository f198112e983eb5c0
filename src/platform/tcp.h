#ifndef QUORVEX_PLATFORM_TCP_H
#define QUORVEX_PLATFORM_TCP_H

// Byte streams over TCP, one table entry a call, so that a test can play the other side.

#include <cstddef>
#include <cstdint>
#include <type_traits>

// - connect: gives a connection of 0 or more, negative when there is none within the time-out.
//   Small messages go out at once, and what came in before the first call is dropped.
// - send: gives 0 once all bytes are handed over, negative when the connection is gone.
// - receive: gives 1 or more bytes, 0 when none came within the time-out, negative when the
//   connection is gone.
// - discard: drops what has come in and was not received.
#define ZVK_TCP_CALLS(X)                                                                           \
    X(connect, int(const char *host, int32_t port, double timeoutS))                               \
    X(send, int(int connection, const void *bytes, size_t count))                                  \
    X(receive, int64_t(int connection, void *bytes, size_t count, double timeoutS))                \
    X(discard, void(int connection))                                                               \
    X(close, void(int connection))

struct ZVK_TcpTable
{
#define X(call, type) std::add_pointer_t<type> call;
    ZVK_TCP_CALLS(X)
#undef X
};

const ZVK_TcpTable &Tcp();               // the table in use, every entry set
void UseTcp(const ZVK_TcpTable *table);  // null: back to the network

#endif
