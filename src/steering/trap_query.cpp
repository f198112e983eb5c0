// Tells what traps there are and where, and keeps the fields that only clients look at.

#include "quorvex/errors.h"
#include "quorvex/galvo.h"
#include "steering/check_status.h"
#include "steering/coordinates.h"
#include "steering/trap.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

int32_t ZVK_Trap_GetNumberOfTraps(SessionHandle, int32_t path, int32_t *num)
{
    if (!IsTrapPath(path)) return ZVK_TRAP_BAD_PATH;
    const std::lock_guard list(TrapList());
    const int32_t count = CountTraps(g_trap.head[path]);
    if (num) *num = count;
    return count == 0 ? ZVK_TRAP_BAD_INDEX : ZVK_SUCCESS;
}

int32_t ZVK_Trap_GetIndexList(SessionHandle, int32_t path, int32_t *indexList)
{
    if (!IsTrapPath(path)) return ZVK_TRAP_BAD_PATH;
    const std::lock_guard list(TrapList());
    const ZVK_TNode *node = g_trap.head[path];
    if (node == nullptr) return ZVK_TRAP_BAD_INDEX;
    for (; node != nullptr; node = node->next)
        *indexList++ = node->index;
    return ZVK_SUCCESS;
}

// Cut towards zero. Adding 0 makes a plain zero of -0; what is infinite or not a number stays so.
static double WholePixel(double value) { return std::trunc(value) + 0.0; }

// Where the mirrors hold a trap now, in a unit that has been checked. In volts the node takes it
// over as its set position.
static int32_t ReadPlace(int32_t path, ZVK_TNode &node, int32_t unit, double *x, double *y)
{
    double xNow = 0.0;
    double yNow = 0.0;
    int32_t status = ZVK_Galvo_GetPositionCurrent(0, path, node.wp, &xNow, &yNow);
    if (Ends(status)) return status;
    if (unit == ZVK_UNIT_PIXEL) {
        status = ZVK_CoordinateSystems_Trafo(0, path, ZVK_TRAFODIR_VOLT_TO_PIXEL, &xNow, &yNow);
        if (Ends(status)) return status;
        *x = WholePixel(xNow);
        *y = WholePixel(yNow);
        return status;
    }
    *x = node.xPos = xNow;
    *y = node.yPos = yNow;
    return status;
}

int32_t ReadTrapArray(int32_t path, int32_t room, int32_t *count, double *x, double *y,
                      double *speedValues, char **label, int32_t unit)
{
    *count = 0;
    if (!IsTrapPath(path)) return ZVK_TRAP_BAD_PATH;
    // In volts it stores set positions: not while waypoints and list are out of step.
    std::unique_lock turn(TrapTurn(), std::defer_lock);
    if (unit == ZVK_UNIT_VOLT) turn.lock();
    const std::lock_guard list(TrapList());
    ZVK_TNode *node = g_trap.head[path];
    if (node == nullptr) return ZVK_TRAP_BAD_INDEX;
    if (unit != ZVK_UNIT_VOLT && unit != ZVK_UNIT_PIXEL) return ZVK_COORDINATES_BAD_UNIT;

    int32_t status = ZVK_SUCCESS;
    for (int32_t i = 0; node != nullptr && i < room; ++i, node = node->next) {
        status = ReadPlace(path, *node, unit, &x[i], &y[i]);
        if (status < 0) return status;
        if (speedValues != nullptr) speedValues[i] = node->speed;
        if (label != nullptr) CopyTrapLabel(label[i], node->label);
        *count = i + 1;
    }
    return status;
}

int32_t ZVK_Trap_GetArray(SessionHandle, int32_t path, double *x, double *y, double *speedValues,
                          char **label, int32_t unit)
{
    constexpr int32_t kAll = std::numeric_limits<int32_t>::max();
    int32_t count = 0;
    return ReadTrapArray(path, kAll, &count, x, y, speedValues, label, unit);
}

int32_t ZVK_Trap_GetStatus(SessionHandle, int32_t path, int32_t index, int32_t *status)
{
    const std::lock_guard list(TrapList());
    ZVK_TNode *node = nullptr;
    const int32_t found = LookUpTrap(path, index, &node);
    if (found != ZVK_SUCCESS) return found;
    if (status) *status = node->active;
    return ZVK_SUCCESS;
}

int32_t ZVK_Trap_SetActive(SessionHandle, int32_t path, int32_t index, int32_t active,
                           int32_t exclusive)
{
    const std::lock_guard list(TrapList());
    ZVK_TNode *node = nullptr;
    const int32_t knownPath = path == ZVK_PATH_A ? ZVK_PATH_A : ZVK_PATH_B;
    const int32_t found = LookUpTrap(knownPath, index, &node);
    if (found != ZVK_SUCCESS) return found;
    if (exclusive == 1) {
        for (ZVK_TNode *head : g_trap.head)
            for (ZVK_TNode *other = head; other != nullptr; other = other->next)
                other->active = 0;
    }
    node->active = active;
    return ZVK_SUCCESS;
}

int32_t ZVK_Trap_SetName(SessionHandle, int32_t path, int32_t index, const char *name)
{
    const std::lock_guard list(TrapList());
    ZVK_TNode *node = nullptr;
    const int32_t found = LookUpTrap(path, index, &node);
    if (found != ZVK_SUCCESS) return found;
    CopyTrapLabel(node->label, name);
    return ZVK_SUCCESS;
}

int32_t ZVK_Trap_GetWayPointInfo(SessionHandle, int32_t path, int32_t index, int32_t *waypoint)
{
    const std::lock_guard list(TrapList());
    ZVK_TNode *node = nullptr;
    const int32_t found = LookUpTrap(path, index, &node);
    if (found != ZVK_SUCCESS) return found;
    *waypoint = node->wp;
    return ZVK_SUCCESS;
}

int32_t ZVK_Trap_GetHardwareLimits(SessionHandle, int32_t path, double *Range)
{
    if (!IsTrapPath(path)) return ZVK_TRAP_BAD_PATH;
    const std::lock_guard list(TrapList());
    if (g_trap.head[path] == nullptr) return ZVK_TRAP_NOT_INITIALIZED;
    const ZVK_TrapLimits &limits = g_trap.limits[path];
    Range[0] = limits.minX;
    Range[1] = limits.maxX;
    Range[2] = limits.minY;
    Range[3] = limits.maxY;
    return ZVK_SUCCESS;
}
