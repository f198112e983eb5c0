// Where a trap is meant to be, and the calls that take it there.

#include "quorvex/errors.h"
#include "quorvex/galvo.h"
#include "steering/check_status.h"
#include "steering/coordinates.h"
#include "steering/trap.h"

#include <limits>
#include <utility>

constexpr double kAny = std::numeric_limits<double>::infinity();

struct Range
{
    double xMin;
    double xMax;
    double yMin;
    double yMax;
};

// Pulls a position into a range; true when it had to.
static bool PullInto(const Range &range, double *x, double *y)
{
    bool pulled = false;
    const auto pull = [&](double *value, double limit) {
        *value = limit;
        pulled = true;
    };
    if (*x > range.xMax) pull(x, range.xMax);
    if (*x < range.xMin) pull(x, range.xMin);
    if (*y > range.yMax) pull(y, range.yMax);
    if (*y < range.yMin) pull(y, range.yMin);
    return pulled;
}

static Range MirrorRange(int32_t path)
{
    const ZVK_TrapLimits limits = LimitsOfPath(path);
    return {limits.minX, limits.maxX, limits.minY, limits.maxY};
}

static void StoreSetPosition(ZVK_TNode &node, double x, double y, double pixelX, double pixelY)
{
    const std::lock_guard list(TrapList());
    node.xPos = x;
    node.yPos = y;
    node.pixelX = pixelX;
    node.pixelY = pixelY;
}

// Volts. Y below its limit is pulled in without a warning; keep it so.
static int32_t SetInVolts(int32_t path, ZVK_TNode &node, double *X, double *Y)
{
    Range mirrors = MirrorRange(path);
    const double yMin = std::exchange(mirrors.yMin, -kAny);
    const int32_t status = PullInto(mirrors, X, Y) ? ZVK_COORDINATES_CLAMPED : ZVK_SUCCESS;
    if (*Y < yMin) *Y = yMin;
    (void)Ends(status);

    double pixelX = *X;
    double pixelY = *Y;
    // Without calibration data the volts stand in for the pixels.
    (void)ZVK_CoordinateSystems_Trafo(0, path, ZVK_TRAFODIR_VOLT_TO_PIXEL, &pixelX, &pixelY);
    StoreSetPosition(node, *X, *Y, pixelX, pixelY);
    return status;
}

static int32_t SetInPixels(int32_t path, ZVK_TNode &node, double *X, double *Y,
                           int32_t LimitEnforce)
{
    if (LimitEnforce != 0) {
        Range field = {};
        const int32_t known = ZVK_CoordinateSystems_GetCalRange(
            0, path, &field.xMin, &field.xMax, &field.yMin, &field.yMax, ZVK_UNIT_PIXEL);
        if (Ends(known)) return known;
        // Captured only: the transform's status takes its place.
        if (PullInto(field, X, Y)) (void)Ends(ZVK_COORDINATES_OUT_OF_RANGE);
    }
    double pixelX = *X;
    double pixelY = *Y;
    int32_t status = ZVK_CoordinateSystems_Trafo(0, path, ZVK_TRAFODIR_PIXEL_TO_VOLT, X, Y);
    if (Ends(status)) return status;
    if (PullInto(MirrorRange(path), X, Y)) {
        status = ZVK_COORDINATES_CLAMPED;
        (void)Ends(status);
        pixelX = *X;
        pixelY = *Y;
        (void)ZVK_CoordinateSystems_Trafo(0, path, ZVK_TRAFODIR_VOLT_TO_PIXEL, &pixelX, &pixelY);
    }
    StoreSetPosition(node, *X, *Y, pixelX, pixelY);
    return status;
}

static int32_t SetInMicrometers(int32_t path, ZVK_TNode &node, double *X, double *Y,
                                int32_t LimitEnforce)
{
    int32_t status = ZVK_SUCCESS;
    if (LimitEnforce != 0) {
        Range field = {-kAny, kAny, -kAny, kAny};  // what stays when there is no range to be had
        (void)ZVK_CoordinateSystems_GetCalRange(0, path, &field.xMin, &field.xMax, &field.yMin,
                                                &field.yMax, ZVK_UNIT_MICROMETER);
        if (PullInto(field, X, Y)) status = ZVK_COORDINATES_OUT_OF_RANGE;
        (void)Ends(status);
    }
    double x = *X;
    double y = *Y;
    (void)ZVK_CoordinateSystems_Convert(0, path, &x, &y, ZVK_TRAFODIR_MICROMETER_TO_VOLT);
    if (PullInto(MirrorRange(path), &x, &y)) {
        status = ZVK_COORDINATES_CLAMPED;
        (void)Ends(status);
    }
    *X = x;
    *Y = y;
    (void)ZVK_CoordinateSystems_Convert(0, path, &x, &y, ZVK_TRAFODIR_VOLT_TO_PIXEL);
    StoreSetPosition(node, *X, *Y, x, y);
    return status;
}

int32_t ZVK_Trap_SetPosition(SessionHandle, int32_t path, int32_t index, double *X, double *Y,
                             int32_t Unit, int32_t LimitEnforce)
{
    const std::lock_guard turn(TrapTurn());
    ZVK_TNode *node = nullptr;
    const int32_t found = LookUpTrap(path, index, &node);
    if (found != ZVK_SUCCESS) return found;
    switch (Unit) {
    case ZVK_UNIT_VOLT: return SetInVolts(path, *node, X, Y);
    case ZVK_UNIT_PIXEL: return SetInPixels(path, *node, X, Y, LimitEnforce);
    case ZVK_UNIT_MICROMETER: return SetInMicrometers(path, *node, X, Y, LimitEnforce);
    default: return ZVK_COORDINATES_BAD_UNIT;
    }
}

struct Target
{
    int32_t wp;
    double x;  // V
    double y;
};

static Target TargetOf(const ZVK_TNode &node)
{
    const std::lock_guard list(TrapList());
    return {node.wp, node.xPos, node.yPos};
}

int32_t ZVK_Trap_MoveToSetPosition(SessionHandle, int32_t path, int32_t index)
{
    const std::lock_guard turn(TrapTurn());
    ZVK_TNode *node = nullptr;
    const int32_t found = LookUpTrap(path, index, &node);
    if (found != ZVK_SUCCESS) return found;
    const Target to = TargetOf(*node);
    (void)RepeatWhile(ZVK_GALVO_BUFFER_IN_USE,  // a refusal is not reported
                      [&] { return ZVK_Galvo_SetPositionTarget(0, path, to.wp, to.x, to.y); });
    return ZVK_SUCCESS;
}

int32_t ZVK_Trap_GotoSetPosition(SessionHandle, int32_t path, int32_t index)
{
    const std::lock_guard turn(TrapTurn());
    ZVK_TNode *node = nullptr;
    const int32_t found = LookUpTrap(path, index, &node);
    if (found != ZVK_SUCCESS) return found;
    const Target to = TargetOf(*node);
    (void)RepeatWhile(ZVK_GALVO_BUFFER_IN_USE,  // a refusal is not reported
                      [&] { return ZVK_Galvo_SetPosition(0, path, to.wp, to.x, to.y); });
    return ZVK_SUCCESS;
}

// Where the mirrors hold a trap now, in volts.
static int32_t ReadMirrors(int32_t path, int32_t index, double *x, double *y)
{
    const std::lock_guard turn(TrapTurn());
    ZVK_TNode *node = nullptr;
    const int32_t found = LookUpTrap(path, index, &node);
    if (found != ZVK_SUCCESS) return found;
    const int32_t status = ZVK_Galvo_GetPositionCurrent(0, path, node->wp, x, y);
    (void)Ends(status);
    return status;
}

// From volts, in place.
static int32_t ToUnit(int32_t path, int32_t unit, double *x, double *y)
{
    int32_t status = ZVK_SUCCESS;
    switch (unit) {
    case ZVK_UNIT_VOLT: return ZVK_SUCCESS;
    case ZVK_UNIT_PIXEL:
        status = ZVK_CoordinateSystems_Trafo(0, path, ZVK_TRAFODIR_VOLT_TO_PIXEL, x, y);
        break;
    case ZVK_UNIT_MICROMETER:
        status = ZVK_CoordinateSystems_Convert(0, path, x, y, ZVK_TRAFODIR_VOLT_TO_MICROMETER);
        break;
    default: return ZVK_COORDINATES_BAD_UNIT;
    }
    (void)Ends(status);
    return status;
}

int32_t ZVK_Trap_GetPosition(SessionHandle, int32_t path, int32_t index, double *x, double *y,
                             int32_t unit)
{
    double xNow = 0.0;
    double yNow = 0.0;
    int32_t status = ReadMirrors(path, index, &xNow, &yNow);
    if (status < 0) return status;
    // Out of turn: tables that are being loaded may keep the call here, and nobody else.
    if (unit == ZVK_UNIT_PIXEL)
        status = RepeatWhile(ZVK_COORDINATES_BUSY,
                             [&] { return ToUnit(path, ZVK_UNIT_PIXEL, &xNow, &yNow); });
    else
        status = ToUnit(path, unit, &xNow, &yNow);
    if (status < 0) return status;
    if (x) *x = xNow;
    if (y) *y = yNow;
    return status;
}

int32_t ZVK_Trap_GetPositionTarget(SessionHandle, int32_t Path, int32_t Index, double *X, double *Y,
                                   int32_t Unit)
{
    const std::lock_guard list(TrapList());
    ZVK_TNode *node = nullptr;
    const int32_t found = LookUpTrap(Path, Index, &node);
    if (found != ZVK_SUCCESS) return found;

    double x = node->pixelX;
    double y = node->pixelY;
    switch (Unit) {
    case ZVK_UNIT_PIXEL:
        if (X) *X = x;
        if (Y) *Y = y;
        return ZVK_SUCCESS;
    case ZVK_UNIT_VOLT:
        // The caller's values go into the node, not the other way round; keep it so.
        if (X) node->xPos = *X;
        if (Y) node->yPos = *Y;
        return ZVK_SUCCESS;
    case ZVK_UNIT_MICROMETER:
        // The transform has no such direction and refuses it.
        return ZVK_CoordinateSystems_Trafo(0, Path, ZVK_TRAFODIR_PIXEL_TO_MICROMETER, &x, &y);
    default: return ZVK_COORDINATES_BAD_UNIT;
    }
}

int32_t ZVK_Trap_GetCenterPosition(SessionHandle, int32_t Path, int32_t Index, double *X, double *Y,
                                   int32_t unit)
{
    {
        const std::lock_guard list(TrapList());
        ZVK_TNode *node = nullptr;
        const int32_t found = LookUpTrap(Path, Index, &node);
        if (found != ZVK_SUCCESS) return found;
    }
    const int32_t status = ZVK_Galvo_GetOffset(0, Path, X, Y);
    if (Ends(status)) return status;
    return ToUnit(Path, unit, X, Y);
}
