#ifndef QUORVEX_VIRTUAL_MOTOR_H
#define QUORVEX_VIRTUAL_MOTOR_H

// A motor board made of software, on a pseudo-terminal: it takes frames of nine bytes and answers
// as the real one does, while its motor takes its time, up to a stop switch at its lower end.
//
//     VirtualMotor a({.owner = 1});
//     VirtualMotor b({.owner = 2});
//     setenv("ZVK_SERIAL_PORTS", (a.Offer(8) + ";" + b.Offer(9)).c_str(), 1);
//     ...
//     a.State().position;
//
// Commands, by number: 1 and 2 rotate up and down at a speed, 3 stop, 4 move to a position (type 0)
// or by steps from where the motor is (type 1), 5 and 6 set and get an axis parameter, 9 and 10 set
// and get a user variable (bank 2, 0 to 55). Axis parameters: 0 target, 1 position, 3 speed (get
// only), 4 highest speed, 5 highest acceleration, 6 highest current, 7 standby current, 8 position
// reached (get only), 138 ramp mode, 203 mixed decay threshold, 204 freewheeling.
//
// Statuses: 100 done, 1 wrong checksum, 2 no such command, 3 wrong type, 4 bad value or no such
// motor. A frame for another module than 1 is not answered.
//
// The motor goes at its speed from one moment to the next, without a ramp. A run into the stop
// switch ends there. All calls from any thread.

#include "quorvex-virtual/served_port.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

struct VirtualMotorSettings
{
    int32_t owner = 1;             // user variable 0: the number of the board's path plus one
    int32_t position = 0;          // of the counter at the start, in steps
    int32_t stopAt = -1000000000;  // where the stop switch is, by the counter at the start
    double stepsEachUnit = 16.0;   // steps per second for each unit of speed
};

struct VirtualMotorState
{
    int32_t position = 0;  // steps
    int32_t target = 0;
    int32_t speed = 0;  // in the board's unit, negative downwards; 0: stands
    bool atStop = false;
    bool reached = false;  // stands at its target
};

// A command, and how the board stood behind it.
struct VirtualMotorEvent
{
    double timeS = 0.0;  // by the board's clock, since it was made or the clock changed
    uint8_t command = 0;
    uint8_t type = 0;
    uint8_t motor = 0;
    int32_t value = 0;
    uint8_t status = 0;    // answered
    int32_t position = 0;  // steps
};

class VirtualMotor
{
public:
    // Throws std::runtime_error when there is no pseudo-terminal to be had.
    explicit VirtualMotor(const VirtualMotorSettings &settings = {});
    ~VirtualMotor();
    VirtualMotor(const VirtualMotor &) = delete;
    VirtualMotor &operator=(const VirtualMotor &) = delete;

    // The entry of ZVK_SERIAL_PORTS by which the library finds it under that number:
    // "TRINAMIC Virtual Stepper Device (COM8)=/dev/pts/3".
    std::string Offer(int port) const;

    // Path, Plug, HangUp, Misbehave and the log of what went over the wire.
    ServedPort &Port();

    // Seconds from any start, never falling; null: real time. Asked on the threads of the board and
    // of State. The motor stays where it is when the clock is changed, and events count from 0 s
    // again.
    void SetClock(const std::function<double()> &seconds);

    VirtualMotorState State() const;
    std::optional<int32_t> AxisParameter(int parameter) const;  // as command 6 gives it
    void SetOwner(int32_t owner);

    // Answers a command with this status from now on, without doing it; 100: does it again.
    void Refuse(uint8_t command, uint8_t status);

    // Each command so far.
    std::vector<VirtualMotorEvent> Events() const;
    std::vector<VirtualMotorEvent> TakeEvents();  // and forgets them

private:
    struct Inside;
    std::unique_ptr<Inside> m_inside;
};

// Events as text, a line each: "  0.013 s  move by 250  at 100".
std::string VirtualMotorReport(const std::vector<VirtualMotorEvent> &events);

// Nine bytes from the first eight: for garbled replies that are to be taken, and for frames.
std::string WithChecksum(std::string eightBytes);
// A reply whose checksum is off by one, for PortMisbehaviour::garble.
std::string WithWrongChecksum(std::string reply);

#endif
