// The sample block: how waypoints share its time, and how a moving waypoint advances through it.

#include "platform/memory.h"
#include "steering/galvo.h"
#include "steering/galvo_gate.h"
#include "steering/galvo_nodes.h"

#include <algorithm>
#include <cstring>

// Where a waypoint's samples lie in the X and Y blocks of its path.
struct Slot
{
    double *x;
    double *y;
    int32_t length;
};

// True when the path's X and Y blocks lie inside the samples: they don't before the output has been
// brought up, nor after its start failed at a new block size.
static bool HasSamples(const ZVK_GalvoState &row)
{
    const int64_t last = std::max(row.xSampleOffset, row.ySampleOffset);
    return g_galvoDaq.buffer != nullptr && g_galvoDaq.samplesPerChan > 0 &&
           last + g_galvoDaq.samplesPerChan <= g_galvoDaq.bufferSamples;
}

// Room for no samples when there are none, or more waypoints than samples.
static Slot SlotOf(const ZVK_GalvoState &row, int32_t wp)
{
    if (row.NumOfWP < 1 || !HasSamples(row)) return {nullptr, nullptr, 0};
    const int32_t length = g_galvoDaq.samplesPerChan / row.NumOfWP;
    const int64_t start = static_cast<int64_t>(wp) * length;
    return {g_galvoDaq.buffer + row.xSampleOffset + start,
            g_galvoDaq.buffer + row.ySampleOffset + start, length};
}

// In simulation X and Y share their samples: Y comes last in each sample and stays.
static void Fill(Slot &slot, int32_t count, double x, double y)
{
    // Runs are short, a dwell of samples: one plain loop beats two calls.
    for (int32_t s = 0; s < count; ++s) {
        slot.x[s] = x;
        slot.y[s] = y;
    }
    slot.x += count;
    slot.y += count;
    slot.length -= count;
}

void FillSlots(const ZVK_GalvoState &row, int32_t first, int32_t end)
{
    for (int32_t wp = first; wp < end; ++wp) {
        Slot slot = SlotOf(row, wp);
        Fill(slot, slot.length, row.posX[wp], row.posY[wp]);
    }
}

static void Rest(ZVK_GalvoState &row, int32_t wp, const ZVK_GalvoNode &node)
{
    row.posX[wp] = node.x;
    row.posY[wp] = node.y;
}

// Mode 1: a sample is written, then its node counted. True when the run has ended, which ends the
// update of the whole block too: what stands behind this waypoint waits for the next one.
static bool RunOnce(ZVK_GalvoState &row, int32_t wp)
{
    const Slot whole = SlotOf(row, wp);
    Slot slot = whole;
    ZVK_GalvoNode *node = row.trajectory[wp];
    while (slot.length > 0) {
        const int64_t left = std::max<int64_t>(1, static_cast<int64_t>(node->dwell) - node->count);
        const int32_t count = static_cast<int32_t>(std::min<int64_t>(left, slot.length));
        Fill(slot, count, node->x, node->y);
        if (count < left) {
            node->count += count;
            break;
        }
        node->count = 0;
        if (IsTail(*node)) {
            slot = whole;
            Fill(slot, slot.length, node->x, node->y);
            Rest(row, wp, *node);
            row.moveMode[wp] = ZVK_MOVE_STAND;
            row.trajectory[wp] = row.lists[wp];  // so that the list can run again
            return true;
        }
        node = node->next;
    }
    row.trajectory[wp] = node;
    Rest(row, wp, *node);
    return false;
}

// Mode 2: a sample is counted, its node left when it is full, and then written.
static void RunBackAndForth(ZVK_GalvoState &row, int32_t wp)
{
    Slot slot = SlotOf(row, wp);
    ZVK_GalvoNode *node = row.trajectory[wp];
    while (slot.length > 0) {
        const int64_t stays =
            std::max<int64_t>(0, static_cast<int64_t>(node->dwell) - 1 - node->count);
        const int32_t count = static_cast<int32_t>(std::min<int64_t>(stays, slot.length));
        Fill(slot, count, node->x, node->y);
        node->count += count;
        if (slot.length == 0) break;

        node->count = 0;
        if (IsTail(*node)) row.direction[wp] = -1;
        if (IsHead(*node)) row.direction[wp] = 1;
        node = row.direction[wp] == 1 ? node->next : node->prev;
        Fill(slot, 1, node->x, node->y);
    }
    row.trajectory[wp] = node;
    Rest(row, wp, *node);
}

// True when a run has ended in this path.
static bool AdvancePath(ZVK_GalvoState &row)
{
    for (int32_t wp = 0; wp < row.NumOfWP; ++wp) {
        const int32_t mode = row.moveMode[wp];
        if (mode == ZVK_MOVE_ONCE && RunOnce(row, wp)) return true;
        if (mode == ZVK_MOVE_BACK_AND_FORTH) RunBackAndForth(row, wp);
    }
    return false;
}

int ZVK_Galvo_UpdateBuffer(void)
{
    if (!BeginUpdate()) return ZVK_GALVO_NOT_READY;
    {
        const std::lock_guard data(GalvoData());
        for (ZVK_GalvoState &row : g_galvo) {
            if (AdvancePath(row)) break;
        }
    }
    SetUpdating(0);
    return ZVK_SUCCESS;
}

// The seven arrays and the lists of `count` waypoints, empty. False when memory ran out; what had
// been made is in the row then.
static bool AllocateWaypoints(ZVK_GalvoState &row, int32_t count)
{
    row.NumOfWP = 0;
    return (row.trajectory = AllocateArray<ZVK_GalvoNode *>(count)) != nullptr &&
           (row.lists = AllocateArray<ZVK_GalvoNode *>(count)) != nullptr &&
           (row.direction = AllocateArray<int32_t>(count)) != nullptr &&
           (row.posX = AllocateArray<double>(count)) != nullptr &&
           (row.posY = AllocateArray<double>(count)) != nullptr &&
           (row.targetX = AllocateArray<double>(count)) != nullptr &&
           (row.targetY = AllocateArray<double>(count)) != nullptr &&
           (row.speeds = AllocateArray<double>(count)) != nullptr &&
           (row.moveMode = AllocateArray<int32_t>(count)) != nullptr;
}

// Replaces the path's waypoints. Data lock held.
static int32_t ReplaceWaypoints(ZVK_GalvoState &row, int32_t count, double *x, double *y,
                                const double *speeds, const int32_t *moveMode)
{
    FreeWaypoints(row);
    if (!AllocateWaypoints(row, count)) {
        FreeWaypoints(row);
        return ZVK_GALVO_NO_MEMORY;
    }
    int32_t warning = ZVK_SUCCESS;
    for (int32_t i = 0; i < count; ++i) {
        if (ClampToLimits(row, x[i], y[i])) warning = ZVK_GALVO_CLAMPED;
        row.lists[i] = NewSingleNode(x[i], y[i]);
        row.NumOfWP = i + 1;  // so that a failure frees what stands
        if (row.lists[i] == nullptr) {
            FreeWaypoints(row);
            return ZVK_GALVO_NO_MEMORY;
        }
        row.trajectory[i] = row.lists[i];
        row.direction[i] = 1;
        row.speeds[i] = speeds[i];
        row.posX[i] = row.targetX[i] = x[i];
        row.posY[i] = row.targetY[i] = y[i];
        row.moveMode[i] = moveMode[i];
    }
    return warning;
}

int32_t ZVK_Galvo_BufferConfigure(SessionHandle, int32_t path, int32_t NumOfWP, double *xpos,
                                  double *ypos, const double *speeds, const int32_t *moveMode)
{
    const GalvoClaim claim;
    if (!IsPath(path)) return ZVK_GALVO_BAD_PATH;
    if (NumOfWP < 1 || !xpos || !ypos || !speeds || !moveMode) return ZVK_GALVO_NO_WAYPOINT;
    if (!BeginRebuild()) return ZVK_GALVO_BUFFER_IN_USE;

    StoreFlag(g_galvoDaq.writeStatus, 0);
    const std::lock_guard data(GalvoData());
    ZVK_GalvoState &row = g_galvo[path];
    const int32_t status = ReplaceWaypoints(row, NumOfWP, xpos, ypos, speeds, moveMode);
    if (status < 0) return status;  // dataReady stays 0: the path has no usable list

    FillSlots(row, 0, row.NumOfWP);
    StoreFlag(g_galvoDaq.dataReady, 1);
    return status;
}

int32_t ZVK_Galvo_SetBuffer(SessionHandle, const double *buffer, int32_t bufferSize)
{
    const GalvoClaim claim;
    if (LoadFlag(g_galvoDaq.daqInitialized) == 0) return ZVK_GALVO_NOT_CONFIGURED;
    if (bufferSize > 4 * static_cast<int64_t>(g_galvoDaq.samplesPerChan))
        return ZVK_GALVO_OUT_OF_RANGE;

    {
        const std::lock_guard data(GalvoData());
        const int64_t count = std::min<int64_t>(bufferSize, g_galvoDaq.bufferSamples);
        if (count > 0 && buffer) std::copy_n(buffer, count, g_galvoDaq.buffer);
    }
    StoreFlag(g_galvoDaq.writeStatus, 0);
    StoreFlag(g_galvoDaq.dataReady, 1);
    return ZVK_SUCCESS;
}

int32_t ZVK_Galvo_GetBuffer(SessionHandle, double *buffer, int32_t bufferSize)
{
    const std::lock_guard data(GalvoData());
    if (bufferSize < 4 * static_cast<int64_t>(g_galvoDaq.samplesPerChan))
        return ZVK_GALVO_OUT_OF_RANGE;
    if (bufferSize <= 0) return ZVK_SUCCESS;
    if (g_galvoDaq.buffer == nullptr || buffer == nullptr) return ZVK_GALVO_NOT_CONFIGURED;

    // A larger size is taken, but there are only 4 N samples to give.
    std::copy_n(g_galvoDaq.buffer, std::min<int64_t>(bufferSize, g_galvoDaq.bufferSamples), buffer);
    return ZVK_SUCCESS;
}
