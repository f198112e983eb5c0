// How a trap moves, and the trajectory that it can run: stored here, given to the galvo module at
// the start of a run.

#include "platform/memory.h"
#include "quorvex/errors.h"
#include "quorvex/galvo.h"
#include "steering/check_status.h"
#include "steering/trap.h"

#include <algorithm>
#include <cmath>
#include <utility>

static int32_t StartMoving(int32_t path, ZVK_TNode &node, int32_t moveType)
{
    const int32_t status = ZVK_Galvo_SetMoveType(0, path, node.wp, moveType);
    if (Ends(status)) return status;
    const std::lock_guard list(TrapList());
    node.moveType = moveType;
    if (node.trajExists != 0) node.trajRunning = 1;
    return status;
}

// The node stands even if the waypoint does not take it.
static int32_t StopMoving(int32_t path, ZVK_TNode &node)
{
    {
        const std::lock_guard list(TrapList());
        node.moveType = ZVK_MOVE_STAND;
    }
    const int32_t status = ZVK_Galvo_SetMoveType(0, path, node.wp, ZVK_MOVE_STAND);
    if (Ends(status)) return status;
    const std::lock_guard list(TrapList());
    node.trajRunning = 0;
    return status;
}

int32_t ZVK_Trap_SetMoveType(SessionHandle, int32_t Path, int32_t Index, int32_t MoveType)
{
    const std::lock_guard turn(TrapTurn());
    ZVK_TNode *node = nullptr;
    const int32_t found = LookUpTrap(Path, Index, &node);
    if (found != ZVK_SUCCESS) return found;
    switch (MoveType) {
    case ZVK_MOVE_ONCE:
    case ZVK_MOVE_BACK_AND_FORTH: return StartMoving(Path, *node, MoveType);
    case ZVK_MOVE_STAND: return StopMoving(Path, *node);
    default: return ZVK_GALVO_BAD_MOVE_MODE;
    }
}

int32_t ZVK_Trap_GetMoveType(SessionHandle, int32_t Path, int32_t Index, int32_t *MoveType,
                             int32_t *TrajRunning)
{
    const std::lock_guard turn(TrapTurn());
    ZVK_TNode *node = nullptr;
    const int32_t found = LookUpTrap(Path, Index, &node);
    if (found != ZVK_SUCCESS) return found;

    int32_t moveType = 0;
    const int32_t status = ZVK_Galvo_GetMoveType(0, Path, node->wp, &moveType);
    if (Ends(status)) return status;
    const std::lock_guard list(TrapList());
    node->moveType = moveType;
    // A waypoint falls to this mode by itself when its run has ended.
    if (node->moveType == ZVK_MOVE_STAND) node->trajRunning = 0;
    if (MoveType) *MoveType = node->moveType;
    if (TrajRunning) *TrajRunning = node->trajRunning;
    return status;
}

// Two tables of one length on their way into a node or out to a client; freed unless they got
// there.
struct PointTables
{
    double *x = nullptr;
    double *y = nullptr;

    PointTables() = default;
    PointTables(const PointTables &) = delete;
    PointTables &operator=(const PointTables &) = delete;
    ~PointTables()
    {
        Release(x);
        Release(y);
    }

    // False when memory ran out.
    bool copy(int32_t count, const double *fromX, const double *fromY)
    {
        x = AllocateArray<double>(count);
        y = x ? AllocateArray<double>(count) : nullptr;
        if (y == nullptr) return false;
        std::copy_n(fromX, count, x);
        std::copy_n(fromY, count, y);
        return true;
    }
};

int32_t ZVK_Trap_SetTrajectory(SessionHandle, int32_t Path, int32_t Index, int32_t NumWp,
                               const double *X, const double *Y, double *Speed)
{
    const std::lock_guard turn(TrapTurn());
    ZVK_TNode *node = nullptr;
    const int32_t found = LookUpTrap(Path, Index, &node);
    if (found != ZVK_SUCCESS) return found;
    if (NumWp > 0 && (!X || !Y)) return ZVK_TRAP_NO_TRAJECTORY;
    PointTables points;
    if (!points.copy(NumWp, X, Y)) return ZVK_TRAP_NO_MEMORY;

    const std::lock_guard list(TrapList());
    std::swap(node->trajX, points.x);
    std::swap(node->trajY, points.y);
    if (Speed) *Speed = node->speed;
    node->trajPoints = NumWp;
    node->trajExists = 1;
    node->trajRunning = 0;
    return ZVK_SUCCESS;
}

// Runs a second of a wave that leads over the first two points and back. 0 for other shapes, and
// for a trajectory that has no two points.
static double RunFrequency(const ZVK_TNode &node)
{
    const bool isWave = node.waveForm == ZVK_WAVEFORM_LINEAR || node.waveForm == ZVK_WAVEFORM_SINE;
    if (!isWave || node.trajPoints < 2) return 0.0;
    const double dx = node.trajX[1] - node.trajX[0];
    const double dy = node.trajY[1] - node.trajY[0];
    return node.speed / (2.0 * std::sqrt(dx * dx + dy * dy));
}

int32_t ZVK_Trap_TrajectoryRun(SessionHandle SessionHandle, int32_t Path, int32_t Index, int32_t,
                               int32_t MoveType, int32_t WaveForm, double *Frequency)
{
    const std::lock_guard turn(TrapTurn());
    ZVK_TNode *node = nullptr;
    const int32_t found = LookUpTrap(Path, Index, &node);
    if (found != ZVK_SUCCESS) return found;
    if (node->trajExists == 0) return ZVK_TRAP_NO_TRAJECTORY;
    {
        const std::lock_guard list(TrapList());
        node->waveForm = WaveForm;
    }
    // The tables are read and written in turn only; points outside the mirrors' limits come back at
    // them.
    double resultingSpeed = 0.0;
    (void)RepeatWhile(ZVK_GALVO_BUFFER_IN_USE, [&] {
        return ZVK_Galvo_SetTrajectory(SessionHandle, Path, node->wp, node->trajPoints, node->trajX,
                                       node->trajY, &resultingSpeed, WaveForm);
    });
    (void)ZVK_Galvo_SetMoveType(SessionHandle, Path, node->wp,
                                MoveType);  // any value reaches the node

    const std::lock_guard list(TrapList());
    node->moveType = MoveType;
    if (Frequency) *Frequency = RunFrequency(*node);
    return ZVK_SUCCESS;
}

int32_t ZVK_Trap_TrajectoryExists(SessionHandle, int32_t Path, int32_t Index, int32_t *TrajExists)
{
    const std::lock_guard list(TrapList());
    ZVK_TNode *node = nullptr;
    const int32_t found = LookUpTrap(Path, Index, &node);
    if (found != ZVK_SUCCESS) return found;
    if (TrajExists) *TrajExists = node->trajExists;
    return ZVK_SUCCESS;
}

int32_t ZVK_Trap_GetTrajectory(SessionHandle, int32_t Path, int32_t Index, int32_t *NumTrajPoints,
                               double **X, double **Y)
{
    const std::lock_guard turn(TrapTurn());
    ZVK_TNode *node = nullptr;
    const int32_t found = LookUpTrap(Path, Index, &node);
    if (found != ZVK_SUCCESS) return found;
    if (node->trajExists == 0 || !X || !Y) return ZVK_TRAP_NO_TRAJECTORY;
    PointTables points;
    if (!points.copy(node->trajPoints, node->trajX, node->trajY)) return ZVK_TRAP_NO_MEMORY;
    if (NumTrajPoints) *NumTrajPoints = node->trajPoints;
    *X = std::exchange(points.x, nullptr);
    *Y = std::exchange(points.y, nullptr);
    return ZVK_SUCCESS;
}
