#ifndef QUORVEX_STEERING_TRAP_H
#define QUORVEX_STEERING_TRAP_H

// The trap module's records and inner calls. Clients see quorvex/trap.h.
//
// Two locks keep threads apart. The turn is held by a client's call that makes, deletes or steers
// traps, from its first line to its last, also while it waits for the galvo module: clients take
// turns. The list lock is held only while nodes or limits are touched, so that the display thread's
// reading calls, which take it alone, never wait for the mirrors. The lists are linked anew only
// under both: either of them is enough to walk a list. The turn is taken first. One reading call
// takes it too: ZVK_Trap_GetArray in volts, which stores what it reads.

#include "quorvex/trap.h"
#include "quorvex/types.h"

#include <cstdint>
#include <mutex>

constexpr size_t kTrapLabelRoom = 257;  // 256 characters and the terminator

// One trap, a heap block of its own. Its tables and its label belong to it.
struct ZVK_TNode
{
    int32_t index = 0;        // its identity: what clients hold
    int32_t wp = 0;           // its waypoint in the galvo module
    int32_t trajExists = 0;   // 1 once a trajectory has been stored
    int32_t trajRunning = 0;  // 1 while a trajectory is meant to run
    int32_t trajPoints = 0;
    int32_t waveForm = 0;     // of the last ZVK_Trap_TrajectoryRun
    double *trajX = nullptr;  // trajPoints values, V
    double *trajY = nullptr;
    int32_t active = 0;     // kept for the client, no effect on the mirrors
    int32_t moveType = 0;   // ZVK_MOVE_STAND at creation
    double speed = 0.0;     // V/s
    char *label = nullptr;  // kTrapLabelRoom bytes
    double xPos = 0.0;      // set position, V
    double yPos = 0.0;
    double pixelX = 0.0;  // set position, camera pixels; 0 until the first ZVK_Trap_SetPosition
    double pixelY = 0.0;
    ZVK_TNode *next = nullptr;  // older trap; null at the last
    ZVK_TNode *prev = nullptr;  // newer trap; null at the head
};

// The mirrors' limits and centre as ZVK_Trap_Init found them, V. Later changes in the galvo module
// do not come here.
struct ZVK_TrapLimits
{
    double minX = 0.0;
    double maxX = 0.0;
    double minY = 0.0;
    double maxY = 0.0;
    double offsetX = 0.0;
    double offsetY = 0.0;
};

// One list and one row of limits for each beam path. A list runs from the newest trap to the
// oldest, and its waypoints fall from n - 1 to 0.
struct ZVK_TrapState
{
    ZVK_TNode *head[2] = {nullptr, nullptr};  // null until ZVK_Trap_Init has succeeded
    ZVK_TrapLimits limits[2];
};

extern ZVK_TrapState g_trap;

std::mutex &TrapTurn();
std::mutex &TrapList();

// -- lists (trap_list.cpp); they work on the list they are given and take no lock --

// The trap of that index, the newest if there are several, with *retVal 0; else `start` and
// ZVK_TRAP_BAD_INDEX.
ZVK_TNode *ZVK_Trap_FindNode(ZVK_TNode *start, int index, int *retVal);

// Frees the trap of that index with all that it owns; gives the new head. *retVal is 0, or
// ZVK_TRAP_BAD_INDEX with the list as it was.
ZVK_TNode *ZVK_Trap_DelNode(ZVK_TNode *start, int index, int *retVal);

// A new trap in front of `start`; gives the new head. A null label is an empty one. *retVal is 0,
// or ZVK_TRAP_NO_MEMORY with `start` given back.
ZVK_TNode *ZVK_Trap_InsFront(ZVK_TNode *start, int index, int wp, double speed, const char *label,
                             double xPos, double yPos, int *retVal);

// A bare node before `before`, or alone when that is null; gives the new node. *retVal is 0, or
// ZVK_TRAP_NO_MEMORY with `before` given back.
ZVK_TNode *ZVK_Trap_InsBefore(ZVK_TNode *before, int posX, int posY, int index, int *retVal);

void FreeTrapNode(ZVK_TNode *node);
void FreeTrapList(ZVK_TNode *head);
int32_t CountTraps(const ZVK_TNode *head);
void CopyTrapLabel(char *label, const char *text);  // room for kTrapLabelRoom bytes

// -- look-up; the turn or the list lock is held --

bool IsTrapPath(int32_t path);

// How every call begins that works on one trap: 0 and the node, else ZVK_TRAP_BAD_PATH or
// ZVK_TRAP_BAD_INDEX and null.
int32_t LookUpTrap(int32_t path, int32_t index, ZVK_TNode **node);

ZVK_TrapLimits LimitsOfPath(int32_t path);  // a copy; takes the list lock

// -- readers --

// The waypoint of a trap. 0, ZVK_TRAP_BAD_PATH or ZVK_TRAP_BAD_INDEX.
int32_t ZVK_Trap_GetWayPointInfo(SessionHandle SessionHandle, int32_t path, int32_t index,
                                 int32_t *waypoint);

// ZVK_Trap_GetArray with room for `room` traps: of a longer list the newest. *count gets how many
// were written. A list can grow between the count and the array, so a thread of the library's own
// that must not overrun its tables reads here.
int32_t ReadTrapArray(int32_t path, int32_t room, int32_t *count, double *x, double *y,
                      double *speedValues, char **label, int32_t unit);

#endif
