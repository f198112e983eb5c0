#ifndef QUORVEX_PLATFORM_SERIAL_H
#define QUORVEX_PLATFORM_SERIAL_H

// Serial ports by number, 1 to 255. A write waits until its bytes are out, so that a flush behind
// it loses nothing.

#include <cstddef>
#include <cstdint>
#include <type_traits>

// - open: 8 data bits, no parity, one stop bit, no flow control, a time-out of 5 s; what came in
//   before is dropped; opening an open port closes it first.
// - isOpen: 1 or 0.
// - setTimeout: seconds of silence after which a read ends; 0 waits for ever.
// - write: gives the bytes that are out, fewer than told when the device took none for a whole
//   time-out.
// - read: up to `count` bytes; ends early when nothing arrives for a whole time-out. Gives the
//   bytes stored; no terminator is added.
// - readLine: the same, but ends behind the termination byte, which is neither stored nor counted;
//   a carriage return right behind a line feed goes with it.
// Negative results are failures: the port isn't open, or its device is gone.
#define ZVK_SERIAL_CALLS(X)                                                                        \
    X(open, int(int port, int baudRate))                                                           \
    X(isOpen, int(int port))                                                                       \
    X(setTimeout, int(int port, double seconds))                                                   \
    X(write, int(int port, const void *bytes, size_t count))                                       \
    X(read, int(int port, void *bytes, size_t count))                                              \
    X(readLine, int(int port, void *bytes, size_t count, int terminator))                          \
    X(flushInput, int(int port))                                                                   \
    X(flushOutput, int(int port))                                                                  \
    X(close, int(int port))

struct ZVK_SerialTable
{
#define X(call, type) std::add_pointer_t<type> call;
    ZVK_SERIAL_CALLS(X)
#undef X
};

const ZVK_SerialTable &Serial();               // the table in use, every entry set
void UseSerial(const ZVK_SerialTable *table);  // null: back to the real ports

#endif
