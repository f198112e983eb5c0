#ifndef QUORVEX_INSTRUMENTS_LASER_H
#define QUORVEX_INSTRUMENTS_LASER_H

// The laser's state and what its files share: laser.cpp brings it up, laser_power.cpp sets and
// reads it, laser_shutters.cpp has the lines of the card, laser_serial.cpp the port.

#include "platform/shared_field.h"
#include "quorvex/errors.h"
#include "quorvex/laser.h"

#include <atomic>
#include <cstdint>
#include <mutex>

struct ZVK_LaserState
{
    int32_t installed = 0;       // key MI; 0: there is no laser
    int32_t simulate = 0;        // key SIMULATE; not 0: set and get calls keep values only
    int32_t initialised = 0;     // 1 from Init to Shutdown
    int32_t backend = 0;         // key BACKEND, ZVK_LASER_SERIAL and ZVK_LASER_DAQ as bits
    int32_t mode = 0;            // ZVK_LASER_CONSTANT_POWER...; atomic
    double driveSetpoint = 0.0;  // last value set, power or current alike; atomic
    double maxCurrent = 0.0;     // the keys of these names
    double maxPower = 0.0;
    double minPower = 0.0;
    double alignPower = 0.0;
    uint8_t simulatedInterlock = 0;      // 1: closed; atomic
    int32_t comPort = 0;                 // the laser's serial port, 0 before the first was found
    int32_t trapPaths = 0;               // low 16 bits of the key TRAPPATHS
    char interlockChannel[256] = "";     // analog input, "/card/name"
    void *shutterTask = nullptr;         // lines of port 0; owned, null when absent
    void *powerTask = nullptr;           // lines of port 1, levels only; likewise
    void *interlockInputTask = nullptr;  // levels only; likewise
    int32_t daqSimulated = 1;            // 0 once the card is in use
};
extern ZVK_LaserState g_laser;

inline bool LaserIsUp() { return g_laser.installed != 0 && g_laser.initialised != 0; }

// The card's lines: a word is read, changed and written back under this lock, and a pulse is held
// through, or it would put the interlock bit back that another thread has cleared meanwhile. Taken
// before the serial port's lock.
std::mutex &LaserLines();

constexpr double kLineTimeoutS = 10.0;
constexpr uint32_t kInterlockBit = 1U << 4;  // of port 0, a level

// A reply as far as it counts.
constexpr int kReplySize = 6;
struct LaserReply
{
    char bytes[kReplySize];
    int count;  // 0 when nothing came
};

// Sends a command, which ends in CR LF, and reads its reply, all in one piece. Neither a write that
// fails nor a missing reply is told.
LaserReply AskLaser(const char *command);
// The same, with all that waits in both queues thrown away before.
LaserReply AskLaserAfresh(const char *command);
void FlushLaser();
void CloseLaser();

// Looks for the laser on the ports of its kind. Its number, or 0 for none; ports that didn't answer
// stay open, and those that can't be opened are logged.
int FindLaser(SessionHandle vi);

// Writes "APC 1.500000\r\n" from "APC " and 1.5, in any locale.
constexpr size_t kCommandSize = 80;
void WriteValueCommand(char (&command)[kCommandSize], const char *name, double value);
// The number at the front of a reply. False when there is none.
bool ReadReplyNumber(const LaserReply &reply, double &value);

#endif
