#ifndef QUORVEX_VIRTUAL_SERVED_PORT_H
#define QUORVEX_VIRTUAL_SERVED_PORT_H

// A serial device made of software, on a pseudo-terminal: a thread of its own takes what a program
// sends, cuts it into frames, asks the device for its reply and sends it. What went over the wire
// is kept, and the port can be told to misbehave.
//
//     ServedPort port(LineFrame, [&](std::string_view line) { return laser.Answer(line); });
//     setenv("ZVK_SERIAL_PORTS", ("USB Serial Port (COM7)=" + port.Path()).c_str(), 1);
//
// All calls may be made from any thread but the port's own, which runs the device's function.

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

// How many bytes at the front of what came in make a frame; 0: not all of it is there yet.
using PortFraming = std::function<size_t(std::string_view pending)>;

// Up to a line feed, which belongs to the frame.
size_t LineFrame(std::string_view pending);
// Always `bytes` bytes: `FixedFrame(9)` for motor boards.
PortFraming FixedFrame(size_t bytes);

// What the device answers to a frame; "" for no answer. Called on the port's thread.
using PortDevice = std::function<std::string(std::string_view frame)>;

// What goes wrong with replies. The device has done what the frame told all the same.
struct PortMisbehaviour
{
    uint64_t goodReplies = 0;          // so many come as they should before it begins,
    uint64_t badReplies = UINT64_MAX;  // and so many are hit by it
    bool silent = false;               // no reply
    double delayS = 0.0;               // before the reply
    double byteDelayS = 0.0;           // before each of its bytes
    std::function<std::string(std::string reply)> garble = {};  // what is sent in its place
    std::optional<size_t> hangUpAfter = {};  // bytes of it; then the device is gone
};

struct PortEvent
{
    double timeS = 0.0;     // since the port was made
    bool received = false;  // true: a frame that the program sent; false: bytes sent to the program
    std::string bytes;
};

class ServedPort
{
public:
    // Throws std::runtime_error when there is no pseudo-terminal to be had.
    ServedPort(PortFraming framing, PortDevice device);
    ~ServedPort();
    ServedPort(const ServedPort &) = delete;
    ServedPort &operator=(const ServedPort &) = delete;

    // The device file that a program opens; empty while it is unplugged.
    std::string Path() const;

    // Pulls the plug: the program's reads and writes fail from now on. Harmless when it is out.
    void HangUp();
    // Puts it in again, as a new pseudo-terminal with a Path of its own. Harmless when it is in.
    // False when there is none to be had.
    bool Plug();

    // From the next reply on, in place of what was told before; {} is good behaviour.
    void Misbehave(const PortMisbehaviour &told);

    // Sends bytes that nobody asked for.
    void Send(const std::string &bytes);

    // What went over the wire so far. A reply is in the log before its first byte is out; one that
    // was not sent is not.
    std::vector<PortEvent> Log() const;
    void ForgetLog();
    // Only the frames that came in, one behind the other.
    std::vector<std::string> Frames() const;
    // Waits until the log has that many frames. False when they don't come in time.
    bool AwaitFrames(size_t count, double wallSeconds) const;

private:
    struct Inside;
    std::unique_ptr<Inside> m_inside;
};

// The log as text, a line an event, with line ends written as \r and \n and other bytes that can't
// be shown as \x01: "> CLT 0\r\n" for what came from the program, "< ..." for what went to it.
std::string PortLogText(const std::vector<PortEvent> &log);
// The same with all bytes in hexadecimal: "> 01 06 01 00 00 00 00 00 08".
std::string PortLogHex(const std::vector<PortEvent> &log);

#endif
