#ifndef QUORVEX_INSTRUMENTS_BEAMEXPANDER_H
#define QUORVEX_INSTRUMENTS_BEAMEXPANDER_H

// The beam expanders' state and what its files share: beamexpander.cpp brings them up and answers
// what needs no board, beamexpander_motion.cpp moves them, beamexpander_link.cpp has the frames and
// the search for the boards.

#include "quorvex/beamexpander.h"
#include "quorvex/errors.h"

#include <cstdint>

constexpr int32_t kExpanderPaths = 2;

struct ZVK_BeamExpanderState
{
    int32_t backend = 0;      // key BACKEND; only 1 drives a board
    int32_t mi = 0;           // key MI; 0: the path has no beam expander
    int32_t simulate = 0;     // key SIMULATE; not 0: positions are only kept
    int32_t initialized = 0;  // 1 from Init to Shutdown
    int32_t comHandle = 0;    // the board's port number
    int32_t initPos = 0;      // key INITPOS as read at Init
    int32_t position = 0;     // steps
    int32_t cwLimit = 0;      // key CWLIMIT, largest position
    int32_t ccwLimit = 0;     // key CCWLIMIT, smallest position
    int32_t maxSpeed = 0;     // 2047 with a board, else 0
    int32_t speed = 0;        // in the board's unit
    int32_t iniSec = 0;       // key INISEC, s of the run into the stop
};
extern ZVK_BeamExpanderState g_beamExpander[kExpanderPaths];

inline bool IsExpanderPath(int32_t path) { return path == ZVK_PATH_A || path == ZVK_PATH_B; }

inline bool DrivesBoard(const ZVK_BeamExpanderState &row) { return row.backend == 1; }

// Sends one command of nine bytes after emptying both queues. Always 0: a write that fails shows
// as a missing reply.
int m_BeamExpander_SendTMCLCmd(int comHandle, unsigned char Address, unsigned char Command,
                               unsigned char Type, unsigned char Motor, int32_t Value);
// Reads a reply of nine bytes. 0, ZVK_BEAMEXPANDER_NO_REPLY or ZVK_BEAMEXPANDER_BAD_CHECKSUM; the
// outputs are left alone on failure.
int m_BeamExpander_GetTMCLResult(int comHandle, unsigned char *Address, unsigned char *Status,
                                 int32_t *Value);

// What the boards are told, by number.
enum ZVK_BoardCommand : uint8_t
{
    kRotateLeft = 2,
    kStopMotor = 3,
    kMoveTo = 4,
    kSetAxis = 5,
    kGetAxis = 6,
    kGetGlobal = 10
};

// Types of kSetAxis and kGetAxis.
enum ZVK_AxisParameter : uint8_t
{
    kActualPosition = 1,
    kMaximumSpeed = 4,
    kMaximumAcceleration = 5,
    kMaximumCurrent = 6,
    kStandbyCurrent = 7,
    kPositionReached = 8,
    kRampMode = 138,
    kMixedDecayThreshold = 203,
    kFreewheeling = 204
};

constexpr uint8_t kRelative = 1;  // type of kMoveTo

// Sends a command to a path's motor, without reading what the board answers.
void CommandMotor(int32_t path, ZVK_BoardCommand command, uint8_t type, int32_t value);
// Reads the answer; `value` is left alone on failure.
int32_t ReadMotorReply(int32_t path, int32_t &value);
// Both, when neither the answer nor its absence counts.
void TellMotor(int32_t path, ZVK_BoardCommand command, uint8_t type, int32_t value);

// Finds the path's board, keeps its port and brings the path up. 0, or a status of
// ZVK_BeamExpander_Init.
int32_t FindBoard(SessionHandle vi, int32_t path);
void CloseBoard(int32_t path);

// Sets the board's currents, speed, ramp and acceleration. ZVK_BEAMEXPANDER_BAD_PATH, then
// ZVK_BEAMEXPANDER_NOT_FOUND on a path that is down; else 0, whatever the board answers.
int ZVK_BeamExpander_SetDefaultValues(int32_t Path);
// Moves to the position that INITPOS had at the start. ZVK_BEAMEXPANDER_BAD_PATH, a status of
// ZVK_BeamExpander_SetPosition, or 0.
int m_BeamExpander_GotoInitPos(int path);

// Writes the position to INITPOS. A file that refuses it changes nothing for the caller.
void KeepPosition(int32_t path);

#endif
