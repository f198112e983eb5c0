// Trajectories: a polyline in volts becomes the node list of a waypoint, and is read back.

#include "platform/memory.h"
#include "steering/galvo.h"
#include "steering/galvo_gate.h"
#include "steering/galvo_nodes.h"

#include <cmath>
#include <limits>

// 1.3 GB, or 11 minutes of a sine at 50,000 samples a second: longer ones would starve the machine.
constexpr int64_t kMostNodes = int64_t{1} << 25;

// Room for the head and all segments' nodes, zeroed; null when memory ran out. A sine at a speed of
// 0 would need a node for each of endless samples: no room for that.
static ZVK_GalvoNode *AllocateList(const ZVK_SegmentPace &pace, int32_t steps, const double *x,
                                   const double *y, int32_t waveForm, int64_t &count)
{
    count = 1;
    for (int32_t i = steps - 1; i >= 1; --i) {
        const ZVK_SegmentPlan plan = PlanSegment(pace, x[i - 1], y[i - 1], x[i], y[i]);
        const int64_t nodes = NodesOfSegment(plan, waveForm);
        if (nodes == std::numeric_limits<int32_t>::max()) return nullptr;
        count += nodes;
        if (count > kMostNodes) return nullptr;
    }
    return AllocateArray<ZVK_GalvoNode>(count);
}

// Fills the list from its tail, clamping every point but the first in the caller's arrays. A
// segment keeps the shape it had before its end was clamped: it is shifted as a whole.
static int32_t FillList(ZVK_GalvoNode *list, int64_t count, const ZVK_SegmentPace &pace,
                        const ZVK_GalvoState &limits, int32_t steps, double *x, double *y,
                        int32_t waveForm, double *resultingSpeed)
{
    int32_t warning = ZVK_SUCCESS;
    int64_t end = count;
    for (int32_t i = steps - 1; i >= 1; --i) {
        const ZVK_SegmentPlan plan = PlanSegment(pace, x[i - 1], y[i - 1], x[i], y[i]);
        if (plan.warning != 0) warning = plan.warning;
        if (resultingSpeed) *resultingSpeed = plan.resultingSpeed;
        if (ClampToLimits(limits, x[i], y[i])) warning = ZVK_GALVO_CLAMPED;
        const int64_t nodes = NodesOfSegment(plan, waveForm);
        if (nodes > end - 1) continue;  // arrays that overlap: clamping one point moved another
        end -= nodes;
        if (nodes > 0) FillSegment(list + end, plan, waveForm, x[i], y[i]);
    }
    double headX = x[0];  // unclamped, but never without a value
    double headY = y[0];
    if (!std::isfinite(headX) || !std::isfinite(headY)) (void)ClampToLimits(limits, headX, headY);
    list[0].x = headX;
    list[0].y = headY;
    if (count > 1) list[0].dwell = list[1].dwell;
    LinkNodes(list, count);
    return warning;
}

// The limits of a path alone, as they stand now.
static ZVK_GalvoState LimitsOf(const ZVK_GalvoState &row)
{
    const std::lock_guard data(GalvoData());
    ZVK_GalvoState limits;
    limits.xMin = row.xMin;
    limits.xMax = row.xMax;
    limits.yMin = row.yMin;
    limits.yMax = row.yMax;
    return limits;
}

static ZVK_SegmentPace PaceOf(const ZVK_GalvoState &row, int32_t wp)
{
    const std::lock_guard data(GalvoData());
    return {g_galvoDaq.clockRate, row.speeds[wp], g_galvoDaq.maxStep, row.NumOfWP};
}

int32_t ZVK_Galvo_SetTrajectory(SessionHandle, int32_t path, int32_t wp, int32_t steps,
                                double *posX, double *posY, double *ResultingSpeed,
                                int32_t WaveForm)
{
    const GalvoClaim claim;
    if (!IsPath(path)) return ZVK_GALVO_BAD_PATH;
    if (steps < 2 || !posX || !posY) return ZVK_GALVO_TOO_FEW_POINTS;
    ZVK_GalvoState &row = g_galvo[path];
    if (row.initialized == 0) return ZVK_GALVO_NOT_CONFIGURED;
    if (!BeginRebuild()) return ZVK_GALVO_BUFFER_IN_USE;
    // Tested only now: the refused call leaves dataReady at 0, and writes are refused until a later
    // call sets it.
    if (!HasWaypoint(row, wp)) return ZVK_GALVO_OUT_OF_RANGE;

    const ZVK_GalvoState limits = LimitsOf(row);
    const ZVK_SegmentPace pace = PaceOf(row, wp);
    const double targetX = posX[steps - 1];
    const double targetY = posY[steps - 1];
    int64_t count = 0;
    ZVK_GalvoNode *list = AllocateList(pace, steps, posX, posY, WaveForm, count);
    int32_t warning = ZVK_GALVO_NO_MEMORY;
    if (list)
        warning = FillList(list, count, pace, limits, steps, posX, posY, WaveForm, ResultingSpeed);

    ZVK_GalvoNode *old = nullptr;
    {
        const std::lock_guard data(GalvoData());
        row.targetX[wp] = targetX;
        row.targetY[wp] = targetY;
        if (list == nullptr) return ZVK_GALVO_NO_MEMORY;  // the old list stays; dataReady stays 0
        old = row.lists[wp];
        row.lists[wp] = row.trajectory[wp] = list;
        row.direction[wp] = 1;
    }
    StoreFlag(g_galvoDaq.dataReady, 1);
    Release(old);
    return warning;
}

int32_t ZVK_Galvo_GetTrajectory(SessionHandle, int32_t Path, int32_t Wp, int32_t *NumTrajPoints,
                                double **X, double **Y)
{
    const GalvoClaim claim;  // no list is replaced while its nodes are copied
    if (!IsPath(Path)) return ZVK_GALVO_BAD_PATH;
    ZVK_GalvoState &row = g_galvo[Path];
    if (!HasWaypoint(row, Wp) || !X || !Y) return ZVK_GALVO_OUT_OF_RANGE;

    ZVK_GalvoNode *const head = row.lists[Wp];
    int64_t count = 1;
    for (const ZVK_GalvoNode *node = head; !IsTail(*node); node = node->next)
        ++count;

    {
        const std::lock_guard data(GalvoData());
        row.trajectory[Wp] = head;
    }
    *X = AllocateArray<double>(count);
    *Y = AllocateArray<double>(count);
    if (*X == nullptr || *Y == nullptr) {
        Release(*X);
        Release(*Y);
        return ZVK_GALVO_NO_MEMORY;
    }
    for (int64_t i = 0; i < count; ++i) {
        (*X)[i] = head[i].x;
        (*Y)[i] = head[i].y;
    }
    // The waypoint's own pointer did the walk: a list that runs once jumps to its end.
    const std::lock_guard data(GalvoData());
    row.trajectory[Wp] = head + (count - 1);
    if (NumTrajPoints) *NumTrajPoints = static_cast<int32_t>(count);
    return ZVK_SUCCESS;
}
