#ifndef QUORVEX_VIRTUAL_LASER_H
#define QUORVEX_VIRTUAL_LASER_H

// A laser made of software, on a pseudo-terminal: it answers byte for byte as the real one, and
// tells what it was sent and whether it shines. Its interlock can be tied to a line of the virtual
// DAQ card.
//
//     VirtualLaser laser;
//     laser.SetInterlockSource([] { return (ZVC_GetLines("Dev1/port0") & 16) != 0; });
//     setenv("ZVK_SERIAL_PORTS", laser.Offer(7).c_str(), 1);
//     ...
//     laser.State().emits;
//
// Switched on it echoes what it is sent, keeps power constant at 0 W and does not emit. Commands
// are lines that end in CR LF, and so are replies:
//
//     CLT 0, CLT 1        echo off, on; no reply
//     ?                   ?
//     COM 0, COM 1        OK        current, power kept constant
//     APC 1.5, ACC 1.5    OK        power in W, current in A; beyond the maximum ERR
//     APC ?, ACC ?        1.50      what was set, in four characters
//     CDO 0, CDO 1        OK        output off, on
//     STA                 111111    0 at byte 0: interlock open; at byte 1: output off; at bytes 2
//                                   to 5: errors 5 to 2
//     anything else       ERR
//
// It emits while the output is on and the interlock closed. All calls from any thread.

#include "quorvex-virtual/served_port.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

struct VirtualLaserLimits
{
    double maxPower = 5.0;    // W
    double maxCurrent = 6.5;  // A
};

struct VirtualLaserState
{
    bool echo = true;
    bool constantCurrent = false;
    double power = 0.0;    // W, as set
    double current = 0.0;  // A, as set
    bool outputOn = false;
    bool interlockClosed = true;
    bool emits = false;
    std::vector<int> errors;  // of 2 to 5, those that are raised
};

// A command, and how the laser stood behind it.
struct VirtualLaserEvent
{
    double timeS = 0.0;   // since the laser was made
    std::string command;  // without its line end
    bool interlockClosed = false;
    bool emits = false;
};

class VirtualLaser
{
public:
    // Throws std::runtime_error when there is no pseudo-terminal to be had.
    explicit VirtualLaser(const VirtualLaserLimits &limits = {});
    ~VirtualLaser();
    VirtualLaser(const VirtualLaser &) = delete;
    VirtualLaser &operator=(const VirtualLaser &) = delete;

    // The entry of ZVK_SERIAL_PORTS by which the library finds it under that number:
    // "Virtual USB Serial Port (COM7)=/dev/pts/3".
    std::string Offer(int port) const;

    // Path, Plug, HangUp, Misbehave and the log of what went over the wire.
    ServedPort &Port();

    VirtualLaserState State() const;

    // Closed at the start. A source is asked at each command and each State, on that thread, and
    // takes the place of what was set; null: back to that.
    void SetInterlock(bool closed);
    void SetInterlockSource(const std::function<bool()> &source);

    // Raises or lowers an error, 2 to 5; others are ignored.
    void SetError(int error, bool raised);

    // Answers STA with this text from now on, whatever the state; "": as the state is.
    void ForceFlags(const std::string &flags);

    // Off and on again: the state of the start. Interlock and errors stay.
    void PowerCycle();

    // Each command so far.
    std::vector<VirtualLaserEvent> Events() const;
    std::vector<VirtualLaserEvent> TakeEvents();  // and forgets them

    // Waits until the newest command is this one: a program that found something else to read need
    // not have waited for the laser. False when it doesn't come in time.
    bool AwaitCommand(const std::string &command, double wallSeconds) const;

private:
    struct Inside;
    std::unique_ptr<Inside> m_inside;
};

// Events as text, a line each: "  0.013 s  CDO 1         interlock closed, EMITS".
std::string VirtualLaserReport(const std::vector<VirtualLaserEvent> &events);

#endif
