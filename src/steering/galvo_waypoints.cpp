// The waypoint list of each path: brought up with one waypoint at the centre, grown and shrunk one
// at a time, jumped and moved.

#include "files/key_table.h"
#include "platform/clock.h"
#include "platform/memory.h"
#include "steering/galvo.h"
#include "steering/galvo_gate.h"
#include "steering/galvo_keys.h"
#include "steering/galvo_nodes.h"

#include <algorithm>
#include <cmath>

constexpr double kWaypointWriteTimeoutS = 5.0;
constexpr double kFirstSpeed = 1.0;  // V/s

ZVK_GalvoState g_galvo[kPathCount];

bool IsPath(int32_t path) { return path == ZVK_PATH_A || path == ZVK_PATH_B; }

bool HasWaypoint(const ZVK_GalvoState &row, int32_t wp) { return wp >= 0 && wp < row.NumOfWP; }

// What is not a number goes to the minimum: it must not reach a mirror. The minimum comes first,
// also where it lies above the maximum: limits are not checked against each other.
static bool ClampVolts(double &value, double min, double max)
{
    bool clamped = false;
    if (value < min || std::isnan(value)) {
        value = std::isnan(min) ? 0.0 : min;
        clamped = true;
    }
    if (value > max) {
        value = max;
        clamped = true;
    }
    return clamped;
}

bool ClampToLimits(const ZVK_GalvoState &row, double &x, double &y)
{
    const bool clampedX = ClampVolts(x, row.xMin, row.xMax);
    const bool clampedY = ClampVolts(y, row.yMin, row.yMax);
    return clampedX || clampedY;
}

void FreeWaypoints(ZVK_GalvoState &row)
{
    for (int32_t wp = 0; wp < row.NumOfWP; ++wp)
        Release(row.lists[wp]);
    row.NumOfWP = 0;
    Release(row.moveMode);
    Release(row.direction);
    Release(row.trajectory);
    Release(row.lists);
    Release(row.posX);
    Release(row.posY);
    Release(row.targetX);
    Release(row.targetY);
    Release(row.speeds);
}

// -- up and down --

static int32_t ConfigureCentre(SessionHandle vi, int32_t path)
{
    double x = 0.0;
    double y = 0.0;
    {
        const std::lock_guard data(GalvoData());
        x = g_galvo[path].xoff;
        y = g_galvo[path].yoff;
    }
    const double speed = kFirstSpeed;
    const int32_t mode = ZVK_MOVE_STAND;
    int32_t status = ZVK_Galvo_BufferConfigure(vi, path, 1, &x, &y, &speed, &mode);
    while (status == ZVK_GALVO_BUFFER_IN_USE) {
        Clock().breathe();
        status = ZVK_Galvo_BufferConfigure(vi, path, 1, &x, &y, &speed, &mode);
    }
    return status;
}

static int32_t WriteBufferWhenReady()
{
    int32_t status = ZVK_Galvo_WriteBuffer(0);
    while (status == ZVK_GALVO_NOT_READY) {
        Clock().breathe();
        status = ZVK_Galvo_WriteBuffer(0);
    }
    return status;
}

static int32_t ReadLimits(SessionHandle vi, int32_t path)
{
    ZVK_GalvoState &row = g_galvo[path];
    ZVK_GalvoLimitKeys keys = {row.xoff, row.yoff, row.xMax, row.xMin, row.yMax, row.yMin};
    const int32_t status = ReadKeys(vi, "config.ini", kGalvoSections[path], kGalvoLimitKeys, &keys);

    const std::lock_guard data(GalvoData());
    row.xoff = keys.xoff;
    row.yoff = keys.yoff;
    row.xMax = keys.xMax;
    row.xMin = keys.xMin;
    row.yMax = keys.yMax;
    row.yMin = keys.yMin;
    return status;
}

int32_t ZVK_Galvo_Init(SessionHandle SessionHandle, uint16_t, uint16_t)
{
    const GalvoClaim claim;
    for (const ZVK_GalvoState &row : g_galvo) {
        if (row.initialized != 0) return ZVK_SUCCESS;
    }
    for (int32_t path = 0; path < kPathCount; ++path) {
        const int32_t status = ReadLimits(SessionHandle, path);
        if (status < 0) return status;
    }
    for (int32_t path = 0; path < kPathCount; ++path) {
        const int32_t status = ConfigureCentre(SessionHandle, path);
        if (status < 0) return status;
    }
    for (ZVK_GalvoState &row : g_galvo)
        StoreFlag(row.initialized, 1);

    const int32_t started = ZVK_Galvo_DaqInit(SessionHandle, 1);
    if (started < 0) return started;
    // The block is all 0 V: the mirrors reach the centre with the first rebuild of slots, not here.
    if (WriteBufferWhenReady() != ZVK_SUCCESS) return ZVK_GALVO_NEW_BUFFER_FAILED;
    return started;
}

int32_t ZVK_Galvo_GetInitStatus(SessionHandle, int32_t path, int32_t *status)
{
    if (!IsPath(path)) return ZVK_GALVO_BAD_PATH;
    if (status) *status = LoadFlag(g_galvo[path].initialized);
    return ZVK_SUCCESS;
}

int32_t ZVK_Galvo_Shutdown(SessionHandle SessionHandle)
{
    const GalvoClaim claim;
    StoreFlag(g_galvoDaq.dataReady, 0);
    (void)ZVK_Galvo_DaqStop(SessionHandle);
    // What a start that failed has left: DaqStop looks only after an output that is up.
    DiscardSimulatedTimer();
    StoreFlag(g_galvoDaq.daqRunning, 0);
    WaitForUpdate();
    {
        GalvoStopScope stop;
        ClearLeftOverTask();
        stop.WaitForEvents();
    }
    const std::lock_guard data(GalvoData());
    FreeSamples();
    for (ZVK_GalvoState &row : g_galvo) {
        FreeWaypoints(row);
        // Simulation leaves the offsets alone and needs them at 0.
        row.xSampleOffset = 0;
        row.ySampleOffset = 0;
        StoreFlag(row.initialized, 0);
    }
    return ZVK_SUCCESS;
}

// -- adding and removing --

// A copy of the array with room for `count` values, without entry `omitted` (-1: none).
template <class T>
static T *CopyArray(const T *from, int32_t fromCount, int32_t count, int32_t omitted)
{
    T *to = AllocateArray<T>(count);
    if (to == nullptr) return nullptr;
    int32_t at = 0;
    for (int32_t i = 0; i < fromCount && at < count; ++i) {
        if (i != omitted) to[at++] = from[i];
    }
    return to;
}

// Arrays for `count` waypoints with the row's values but those of `omitted`. The lists are shared
// with the old arrays. Null arrays in it: memory ran out.
static ZVK_GalvoState CopyWaypoints(const ZVK_GalvoState &row, int32_t count, int32_t omitted)
{
    ZVK_GalvoState copy;
    copy.NumOfWP = count;
    copy.trajectory = CopyArray(row.trajectory, row.NumOfWP, count, omitted);
    copy.lists = CopyArray(row.lists, row.NumOfWP, count, omitted);
    copy.posX = CopyArray(row.posX, row.NumOfWP, count, omitted);
    copy.posY = CopyArray(row.posY, row.NumOfWP, count, omitted);
    copy.targetX = CopyArray(row.targetX, row.NumOfWP, count, omitted);
    copy.targetY = CopyArray(row.targetY, row.NumOfWP, count, omitted);
    copy.direction = CopyArray(row.direction, row.NumOfWP, count, omitted);
    copy.speeds = CopyArray(row.speeds, row.NumOfWP, count, omitted);
    copy.moveMode = CopyArray(row.moveMode, row.NumOfWP, count, omitted);
    return copy;
}

static bool IsWhole(const ZVK_GalvoState &row)
{
    return row.trajectory && row.lists && row.posX && row.posY && row.targetX && row.targetY &&
           row.direction && row.speeds && row.moveMode;
}

// Frees the arrays of a row, but not the node lists.
static void FreeArrays(ZVK_GalvoState &row)
{
    row.NumOfWP = 0;
    FreeWaypoints(row);
}

// Puts the new arrays in the row's place and rebuilds all slots.
static void Publish(ZVK_GalvoState &row, const ZVK_GalvoState &grown)
{
    ZVK_GalvoState old = row;
    row.NumOfWP = grown.NumOfWP;
    row.moveMode = grown.moveMode;
    row.direction = grown.direction;
    row.trajectory = grown.trajectory;
    row.lists = grown.lists;
    row.posX = grown.posX;
    row.posY = grown.posY;
    row.targetX = grown.targetX;
    row.targetY = grown.targetY;
    row.speeds = grown.speeds;
    FreeArrays(old);
    FillSlots(row, 0, row.NumOfWP);
}

static void HandOver()
{
    SendSamples(kWaypointWriteTimeoutS);
    StoreFlag(g_galvoDaq.dataReady, 1);
    StoreFlag(g_galvoDaq.writeStatus, 1);
}

static int32_t Append(ZVK_GalvoState &row, double x, double y)
{
    const std::lock_guard data(GalvoData());
    const int32_t wp = row.NumOfWP;
    ZVK_GalvoNode *node = NewSingleNode(x, y);
    if (node == nullptr) return ZVK_GALVO_NO_MEMORY;
    ZVK_GalvoState grown = CopyWaypoints(row, wp + 1, -1);
    if (!IsWhole(grown)) {
        Release(node);
        FreeArrays(grown);
        return ZVK_GALVO_NO_MEMORY;
    }
    grown.trajectory[wp] = grown.lists[wp] = node;
    grown.posX[wp] = grown.targetX[wp] = x;
    grown.posY[wp] = grown.targetY[wp] = y;
    grown.direction[wp] = 1;
    grown.speeds[wp] = kFirstSpeed;
    grown.moveMode[wp] = ZVK_MOVE_STAND;
    Publish(row, grown);
    return ZVK_SUCCESS;
}

int32_t ZVK_Galvo_AddWaypoint(SessionHandle, int32_t Path, int32_t *Wp, double X, double Y)
{
    const GalvoClaim claim;
    if (!IsPath(Path)) return ZVK_GALVO_BAD_PATH;
    if (!BeginRebuild()) return ZVK_GALVO_BUFFER_IN_USE;

    if (!std::isfinite(X) || !std::isfinite(Y)) (void)ClampToLimits(g_galvo[Path], X, Y);
    const int32_t status = Append(g_galvo[Path], X, Y);
    if (status < 0) return status;        // dataReady stays 0 until a later call succeeds
    if (Wp) *Wp = g_galvo[Path].NumOfWP;  // the count: the new waypoint's index is one less
    HandOver();
    return ZVK_SUCCESS;
}

static int32_t Remove(ZVK_GalvoState &row, int32_t wp)
{
    const std::lock_guard data(GalvoData());
    // One past the end is admitted and takes the last waypoint.
    const int32_t gone = std::min(wp, row.NumOfWP - 1);
    ZVK_GalvoState shrunk = CopyWaypoints(row, row.NumOfWP - 1, gone);
    if (!IsWhole(shrunk)) {
        FreeArrays(shrunk);
        return ZVK_GALVO_NO_MEMORY;
    }
    Release(row.lists[gone]);
    Publish(row, shrunk);
    return ZVK_SUCCESS;
}

int32_t ZVK_Galvo_RemoveWaypoint(SessionHandle, int32_t Path, int32_t Wp)
{
    const GalvoClaim claim;
    if (!IsPath(Path)) return ZVK_GALVO_BAD_PATH;
    ZVK_GalvoState &row = g_galvo[Path];
    if (Wp < 0 || Wp > row.NumOfWP) return ZVK_GALVO_OUT_OF_RANGE;
    if (row.NumOfWP <= 1) return ZVK_GALVO_NO_WAYPOINT;
    if (!BeginRebuild()) return ZVK_GALVO_BUFFER_IN_USE;

    const int32_t status = Remove(row, Wp);
    if (status < 0) return status;  // dataReady stays 0 until a later call succeeds
    HandOver();
    return ZVK_SUCCESS;
}

// -- positions --

int32_t ZVK_Galvo_SetPosition(SessionHandle, int32_t path, int32_t wp, double posX, double posY)
{
    const GalvoClaim claim;
    if (!IsPath(path)) return ZVK_GALVO_BAD_PATH;
    ZVK_GalvoState &row = g_galvo[path];
    if (row.initialized == 0) return ZVK_GALVO_NOT_CONFIGURED;
    if (!HasWaypoint(row, wp)) return ZVK_GALVO_OUT_OF_RANGE;
    if (!BeginRebuild()) return ZVK_GALVO_BUFFER_IN_USE;

    int32_t warning = ZVK_SUCCESS;
    {
        // Neither the trajectory nor the move mode changes: a waypoint that runs goes on running.
        const std::lock_guard data(GalvoData());
        if (ClampToLimits(row, posX, posY)) warning = ZVK_GALVO_CLAMPED;
        row.posX[wp] = row.targetX[wp] = posX;
        row.posY[wp] = row.targetY[wp] = posY;
        FillSlots(row, wp, wp + 1);
    }
    StoreFlag(g_galvoDaq.dataReady, 1);
    StoreFlag(g_galvoDaq.writeStatus, 1);
    HandOver();
    return warning;
}

// Sets every waypoint down with a list of its own place alone; clamped values go back to the
// caller.
static int32_t PlaceAll(ZVK_GalvoState &row, double *x, double *y)
{
    const std::lock_guard data(GalvoData());
    int32_t warning = ZVK_SUCCESS;
    for (int32_t wp = 0; wp < row.NumOfWP; ++wp) {
        if (ClampToLimits(row, x[wp], y[wp])) warning = ZVK_GALVO_CLAMPED;
        ZVK_GalvoNode *node = NewSingleNode(x[wp], y[wp]);
        if (node == nullptr) return ZVK_GALVO_NO_MEMORY;
        row.posX[wp] = row.targetX[wp] = x[wp];
        row.posY[wp] = row.targetY[wp] = y[wp];
        Release(row.lists[wp]);
        row.trajectory[wp] = row.lists[wp] = node;
    }
    if (g_galvoDaq.simulate == 0) FillSlots(row, 0, row.NumOfWP);
    return warning;
}

int32_t ZVK_Galvo_SetPositionAll(SessionHandle, int32_t path, int32_t numberOfPos,
                                 double *posArrayX, double *posArrayY)
{
    const GalvoClaim claim;
    if (!IsPath(path)) return ZVK_GALVO_BAD_PATH;
    ZVK_GalvoState &row = g_galvo[path];
    if (numberOfPos != row.NumOfWP || !posArrayX || !posArrayY) return ZVK_GALVO_OUT_OF_RANGE;
    if (row.initialized == 0) return ZVK_GALVO_NOT_CONFIGURED;
    if (!BeginRebuild()) return ZVK_GALVO_BUFFER_IN_USE;

    const int32_t status = PlaceAll(row, posArrayX, posArrayY);
    if (status < 0) return status;
    if (g_galvoDaq.simulate != 0) return status;  // dataReady stays 0, by design
    StoreFlag(g_galvoDaq.dataReady, 1);
    StoreFlag(g_galvoDaq.writeStatus, 0);
    if (WriteBufferWhenReady() != ZVK_SUCCESS) return ZVK_GALVO_NEW_BUFFER_FAILED;
    return status;
}

int32_t ZVK_Galvo_SetPositionTarget(SessionHandle, int32_t path, int32_t wp, double xPos,
                                    double yPos)
{
    const GalvoClaim claim;
    if (!IsPath(path)) return ZVK_GALVO_BAD_PATH;
    ZVK_GalvoState &row = g_galvo[path];
    if (row.initialized == 0) return ZVK_GALVO_NOT_CONFIGURED;
    if (!HasWaypoint(row, wp)) return ZVK_GALVO_OUT_OF_RANGE;

    // What building the line answers is dropped on purpose, 611 and 614 too: the caller gets 0.
    double x[2] = {0.0, xPos};
    double y[2] = {0.0, yPos};
    double resultingSpeed = 0.0;
    (void)ZVK_Galvo_GetPositionCurrent(0, path, wp, &x[0], &y[0]);
    while (ZVK_Galvo_SetTrajectory(0, path, wp, 2, x, y, &resultingSpeed, ZVK_WAVEFORM_LINEAR) ==
           ZVK_GALVO_BUFFER_IN_USE)
        Clock().breathe();
    return ZVK_Galvo_SetMoveType(0, path, wp, ZVK_MOVE_ONCE);
}
