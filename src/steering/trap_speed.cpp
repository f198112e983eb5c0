// How fast a trap moves, in volts, pixels or lengths per second.

#include "quorvex/errors.h"
#include "quorvex/galvo.h"
#include "steering/check_status.h"
#include "steering/coordinates.h"
#include "steering/trap.h"

#include <cmath>

constexpr double kStepVolts = 0.1;  // over which a speed in lengths is measured in volts

static int32_t SendSpeed(int32_t path, const ZVK_TNode &node, double speed)
{
    const int32_t status = ZVK_Galvo_SetSpeed(0, path, node.wp, speed);
    (void)Ends(status);
    return status;
}

static void KeepSpeed(ZVK_TNode &node, double speed)
{
    const std::lock_guard list(TrapList());
    node.speed = speed;
}

static double SpeedOf(const ZVK_TNode &node)
{
    const std::lock_guard list(TrapList());
    return node.speed;
}

// How far a step of 0.1 V in Y beside the path's centre takes a trap in the object plane.
static int32_t LengthOfStep(int32_t path, double *length)
{
    double xA = 0.0;
    double yA = 0.0;
    int32_t status = ZVK_Galvo_GetOffset(0, path, &xA, &yA);
    if (Ends(status)) return status;
    double xB = xA;
    double yB = yA + kStepVolts;
    status = ZVK_CoordinateSystems_Convert(0, path, &xA, &yA, ZVK_TRAFODIR_VOLT_TO_MICROMETER);
    if (Ends(status)) return status;
    status = ZVK_CoordinateSystems_Convert(0, path, &xB, &yB, ZVK_TRAFODIR_VOLT_TO_MICROMETER);
    if (Ends(status)) return status;
    *length = std::sqrt((xB - xA) * (xB - xA) + (yB - yA) * (yB - yA));
    return status;
}

static int32_t SetInMicrometers(int32_t path, ZVK_TNode &node, double speed)
{
    double length = 0.0;
    const int32_t status = LengthOfStep(path, &length);
    if (status < 0) return status;
    const double volts = kStepVolts / (length / speed);
    KeepSpeed(node, volts);
    return SendSpeed(path, node, volts);
}

// The node keeps its speed in this unit; only the waypoint gets the new one. Keep it so.
static int32_t SetInPixels(int32_t path, const ZVK_TNode &node, double speed)
{
    const ZVK_TrapLimits limits = LimitsOfPath(path);
    double x = limits.offsetX;
    double y = limits.offsetY;
    int32_t status = ZVK_CoordinateSystems_Trafo(0, path, ZVK_TRAFODIR_VOLT_TO_PIXEL, &x, &y);
    if (Ends(status)) return status;
    x += speed;
    status = ZVK_CoordinateSystems_Trafo(0, path, ZVK_TRAFODIR_PIXEL_TO_VOLT, &x, &y);
    if (Ends(status)) return status;
    return SendSpeed(path, node, std::fabs(limits.offsetX - x));
}

int32_t ZVK_Trap_SetSpeed(SessionHandle, int32_t path, int32_t index, double speed, int32_t unit)
{
    const std::lock_guard turn(TrapTurn());
    ZVK_TNode *node = nullptr;
    const int32_t found = LookUpTrap(path, index, &node);
    if (found != ZVK_SUCCESS) return found;
    switch (unit) {
    case ZVK_UNIT_VOLT: KeepSpeed(*node, speed); return SendSpeed(path, *node, speed);
    case ZVK_UNIT_PIXEL: return SetInPixels(path, *node, speed);
    case ZVK_UNIT_MICROMETER: return SetInMicrometers(path, *node, speed);
    default: return ZVK_COORDINATES_BAD_UNIT;
    }
}

static int32_t SpeedInMicrometers(int32_t path, const ZVK_TNode &node, double *speed)
{
    double range[4] = {};
    int32_t status = ZVK_CoordinateSystems_GetCalRange(0, path, &range[0], &range[1], &range[2],
                                                       &range[3], ZVK_UNIT_MICROMETER);
    if (Ends(status)) return status;  // its numbers don't matter, but it must be there
    double length = 0.0;
    status = LengthOfStep(path, &length);
    if (status < 0) return status;
    if (speed) *speed = SpeedOf(node) / kStepVolts * length;
    return status;
}

int32_t ZVK_Trap_GetSpeed(SessionHandle, int32_t path, int32_t index, double *speed, int32_t Unit)
{
    const std::lock_guard turn(TrapTurn());
    ZVK_TNode *node = nullptr;
    const int32_t found = LookUpTrap(path, index, &node);
    if (found != ZVK_SUCCESS) return found;
    switch (Unit) {
    case ZVK_UNIT_VOLT:
        if (speed) *speed = SpeedOf(*node);
        return ZVK_SUCCESS;
    case ZVK_UNIT_MICROMETER: return SpeedInMicrometers(path, *node, speed);
    default: return ZVK_TRAP_BAD_SPEED_UNIT;  // this call's own answer, also for pixels
    }
}
