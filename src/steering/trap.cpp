// Makes and deletes traps: each one a node of its path's list and a waypoint of the galvo module.

#include "steering/trap.h"

#include "imaging/overlay_switches.h"
#include "platform/clock.h"
#include "quorvex/coordinates.h"
#include "quorvex/errors.h"
#include "quorvex/galvo.h"
#include "steering/check_status.h"
#include "steering/coordinates.h"
#include "steering/galvo_gate.h"
#include "steering/trap_keys.h"

#include <cmath>
#include <cstdlib>
#include <utility>

constexpr double kFirstSpeed = 1.0;       // V/s
constexpr double kSpeedStepPixel = 10.0;  // over which a speed in pixels is measured in volts

ZVK_TrapState g_trap;

std::mutex &TrapTurn()
{
    static std::mutex turn;
    return turn;
}

std::mutex &TrapList()
{
    static std::mutex list;
    return list;
}

bool IsTrapPath(int32_t path) { return path == ZVK_PATH_A || path == ZVK_PATH_B; }

int32_t LookUpTrap(int32_t path, int32_t index, ZVK_TNode **node)
{
    *node = nullptr;
    if (!IsTrapPath(path)) return ZVK_TRAP_BAD_PATH;
    int status = ZVK_SUCCESS;
    ZVK_TNode *found = ZVK_Trap_FindNode(g_trap.head[path], index, &status);
    if (status == ZVK_SUCCESS) *node = found;
    return status;
}

ZVK_TrapLimits LimitsOfPath(int32_t path)
{
    const std::lock_guard list(TrapList());
    return g_trap.limits[path];
}

// A trap's identity is the second of its making. Two traps of one second share it, and a search
// finds the newer one: clients who need distinct traps wait a second.
static int32_t IndexFromClock()
{
    const int64_t seconds = static_cast<int32_t>(Clock().unixSeconds());
    return static_cast<int32_t>(std::llabs(seconds));
}

// Gives the path another list; what it had is freed.
static void ReplaceList(int32_t path, ZVK_TNode *head)
{
    ZVK_TNode *old = nullptr;
    {
        const std::lock_guard list(TrapList());
        old = std::exchange(g_trap.head[path], head);
    }
    FreeTrapList(old);
}

// A key that stands before one that fails counts.
static int32_t ReadLimits(SessionHandle vi, int32_t path)
{
    ZVK_TrapLimits limits = LimitsOfPath(path);
    const int32_t status = ReadKeys(vi, "config.ini", kTrapSections[path], kTrapLimitKeys, &limits);
    const std::lock_guard list(TrapList());
    g_trap.limits[path] = limits;
    return status;
}

// What a new list's first trap depends on. The node isn't in a list yet.
static int32_t BringUp(SessionHandle vi, uint16_t id_query, uint16_t reset_instr, int32_t path,
                       ZVK_TNode &node)
{
    int32_t status = ZVK_Galvo_Init(vi, id_query, reset_instr);
    if (status < 0) return status;
    status = ZVK_Galvo_GetPositionCurrent(vi, path, 0, &node.xPos, &node.yPos);
    if (status < 0) return status;
    return ReadLimits(vi, path);
}

int32_t ZVK_Trap_Init(SessionHandle SessionHandle, uint16_t id_query, uint16_t reset_instr,
                      int32_t Path, const char *Label)
{
    if (!IsTrapPath(Path)) return ZVK_TRAP_BAD_PATH;
    const std::lock_guard turn(TrapTurn());
    ReplaceList(Path, nullptr);

    int32_t status = ZVK_SUCCESS;
    ZVK_TNode *node =
        ZVK_Trap_InsFront(nullptr, IndexFromClock(), 0, kFirstSpeed, Label, 0.0, 0.0, &status);
    if (status != ZVK_SUCCESS) return status;
    status = BringUp(SessionHandle, id_query, reset_instr, Path, *node);
    if (status < 0) {
        FreeTrapNode(node);
        return status;
    }
    ReplaceList(Path, node);
    return status;
}

int32_t ZVK_Trap_Shutdown(SessionHandle SessionHandle)
{
    const std::lock_guard turn(TrapTurn());
    (void)ZVK_Galvo_Shutdown(SessionHandle);  // the lists go whatever it answers
    ReplaceList(ZVK_PATH_A, nullptr);
    ReplaceList(ZVK_PATH_B, nullptr);
    return ZVK_SUCCESS;
}

int32_t ZVK_Trap_GetInitStatus(SessionHandle, int32_t path, int32_t *status, int32_t *index)
{
    if (!IsTrapPath(path)) return ZVK_TRAP_BAD_PATH;
    const std::lock_guard list(TrapList());
    const ZVK_TNode *head = g_trap.head[path];
    if (status) *status = head ? 1 : 0;
    if (index) *index = head ? head->index : 0;
    return ZVK_SUCCESS;
}

// A speed in pixels per second, turned to volts per second by what a few pixels beside the centre
// are in volts.
static int32_t SpeedFromPixels(int32_t path, const ZVK_TrapLimits &limits, double *speed)
{
    double x = limits.offsetX;
    double y = limits.offsetY;
    int32_t status = ZVK_CoordinateSystems_Trafo(0, path, ZVK_TRAFODIR_VOLT_TO_PIXEL, &x, &y);
    if (Ends(status)) return status;
    x += kSpeedStepPixel;
    status = ZVK_CoordinateSystems_Trafo(0, path, ZVK_TRAFODIR_PIXEL_TO_VOLT, &x, &y);
    if (Ends(status)) return status;
    *speed = std::fabs(limits.offsetX - x) / (kSpeedStepPixel / *speed);
    return status;
}

// Volts and volts per second out of what the client gave in a unit. An unknown unit leaves the
// numbers as they are; its status doesn't stop ZVK_Trap_Add.
static int32_t ToVolts(int32_t path, const ZVK_TrapLimits &limits, int32_t unit, double *x,
                       double *y, double *speed)
{
    int32_t status = ZVK_SUCCESS;
    switch (unit) {
    case ZVK_UNIT_VOLT: return ZVK_SUCCESS;
    case ZVK_UNIT_PIXEL:
        status = ZVK_CoordinateSystems_Trafo(0, path, ZVK_TRAFODIR_PIXEL_TO_VOLT, x, y);
        if (Ends(status)) return status;
        return SpeedFromPixels(path, limits, speed);
    case ZVK_UNIT_MICROMETER:
        // The transform has no such direction and refuses it: traps aren't made in this unit.
        return ZVK_CoordinateSystems_Trafo(0, path, ZVK_TRAFODIR_MICROMETER_TO_VOLT, x, y);
    default: return ZVK_COORDINATES_BAD_UNIT;
    }
}

static double Between(double value, double low, double high)
{
    if (!(value >= low)) return low;  // also what is not a number: it must not reach a mirror
    return value > high ? high : value;
}

int32_t ZVK_Trap_Add(SessionHandle SessionHandle, int32_t path, int32_t *index, double speed,
                     const char *name, double x, double y, int32_t unit)
{
    if (!IsTrapPath(path)) return ZVK_TRAP_BAD_PATH;
    const std::lock_guard turn(TrapTurn());
    ZVK_TNode *head = g_trap.head[path];
    if (head == nullptr) return ZVK_TRAP_BAD_INDEX;

    const int32_t wp = CountTraps(head);
    const int32_t identity = IndexFromClock();
    if (index) *index = identity;
    const ZVK_TrapLimits limits = LimitsOfPath(path);
    const int32_t status = ToVolts(path, limits, unit, &x, &y, &speed);
    if (status < 0 && status != ZVK_COORDINATES_BAD_UNIT) return status;
    x = Between(x, limits.minX, limits.maxX);
    y = Between(y, limits.minY, limits.maxY);

    // The node comes first: without one there must be no waypoint either, or the numbers of the two
    // lists would part. Its absence is not reported.
    int made = ZVK_SUCCESS;
    ZVK_TNode *node = ZVK_Trap_InsFront(nullptr, identity, wp, speed, name, x, y, &made);
    if (made != ZVK_SUCCESS) return status;
    (void)RepeatWhile(ZVK_GALVO_BUFFER_IN_USE,
                      [&] { return ZVK_Galvo_AddWaypoint(SessionHandle, path, nullptr, x, y); });

    const std::lock_guard list(TrapList());
    node->next = head;
    head->prev = node;
    g_trap.head[path] = node;
    return status;
}

// The display thread draws no traps while a list and the galvo module's waypoints are out of step.
static void SetOverlay(int32_t on)
{
    SetSdkOverlay(on);
    SetTrapMarkers(on);
}

// Takes a trap out of its list. 0 and the waypoint it had, or ZVK_TRAP_BAD_INDEX.
static int32_t TakeOut(int32_t path, int32_t index, int32_t *wp)
{
    const std::lock_guard list(TrapList());
    ZVK_TNode *node = nullptr;
    int status = LookUpTrap(path, index, &node);
    if (status != ZVK_SUCCESS) return status;
    *wp = node->wp;
    g_trap.head[path] = ZVK_Trap_DelNode(g_trap.head[path], index, &status);
    for (ZVK_TNode *other = g_trap.head[path]; other != nullptr; other = other->next)
        if (other->wp > *wp) --other->wp;
    return status;
}

int32_t ZVK_Trap_Delete(SessionHandle SessionHandle, int32_t path, int32_t index)
{
    const int32_t knownPath = path == ZVK_PATH_A ? ZVK_PATH_A : ZVK_PATH_B;
    const std::lock_guard turn(TrapTurn());
    SetOverlay(0);
    int32_t wp = 0;
    const int32_t status = TakeOut(knownPath, index, &wp);
    if (status != ZVK_SUCCESS) return status;
    (void)RepeatWhile(ZVK_GALVO_BUFFER_IN_USE,
                      [&] { return ZVK_Galvo_RemoveWaypoint(SessionHandle, knownPath, wp); });
    SetOverlay(1);
    return ZVK_SUCCESS;
}

// Frees all traps but the oldest, whose waypoint is 0, and makes that one the head.
static ZVK_TNode &KeepOldest(int32_t path)
{
    const std::lock_guard list(TrapList());
    ZVK_TNode *node = g_trap.head[path];
    while (node->next != nullptr) {
        ZVK_TNode *older = node->next;
        FreeTrapNode(node);
        node = older;
    }
    node->prev = nullptr;
    g_trap.head[path] = node;
    return *node;
}

// Gives the galvo module a list of one waypoint at the path's centre, where the trap is then.
static int32_t CentreOnly(SessionHandle vi, int32_t path, ZVK_TNode &node)
{
    double x = 0.0;
    double y = 0.0;
    double speed = 0.0;
    int32_t moveType = 0;
    {
        const std::lock_guard list(TrapList());
        x = node.xPos;
        y = node.yPos;
        speed = node.speed;
        moveType = node.moveType;
    }
    (void)ZVK_Galvo_GetOffset(vi, path, &x, &y);  // without a centre the trap stays where it was
    const int32_t status = RepeatWhile(ZVK_GALVO_BUFFER_IN_USE, [&] {
        return ZVK_Galvo_BufferConfigure(vi, path, 1, &x, &y, &speed, &moveType);
    });
    const std::lock_guard list(TrapList());
    node.xPos = x;
    node.yPos = y;
    return status;
}

int32_t ZVK_Trap_DeleteAll(SessionHandle SessionHandle, int32_t path)
{
    if (!IsTrapPath(path)) return ZVK_TRAP_BAD_PATH;
    const std::lock_guard turn(TrapTurn());
    if (g_trap.head[path] == nullptr) return ZVK_TRAP_BAD_INDEX;
    SetOverlay(0);

    const GalvoClaim together;  // no other client makes the samples unready in between
    // Without a new waypoint list the galvo module would answer "not ready" for ever.
    if (CentreOnly(SessionHandle, path, KeepOldest(path)) < 0) return ZVK_GALVO_NEW_BUFFER_FAILED;
    const int32_t written =
        RepeatWhile(ZVK_GALVO_NOT_READY, [] { return ZVK_Galvo_WriteBuffer(0); });
    if (written != ZVK_SUCCESS) return ZVK_GALVO_NEW_BUFFER_FAILED;
    SetOverlay(1);
    return ZVK_SUCCESS;
}
