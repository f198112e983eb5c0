// Moves of the stage, its position and its speed. Where both back-ends are there, each call has its
// own way of choosing between them.

#include "instruments/stage.h"
#include "platform/stagelink.h"

#include <algorithm>

constexpr double kFastest = 1500.0;
constexpr double kFastestSimulated = 1000.0;
constexpr double kSlowestOnController = 0.1;
constexpr double kSlowestOnOutputs = 0.05;
constexpr double kCentreTimeoutS = 1.0;
constexpr double kMoveTimeoutS = 10.0;
constexpr double kBackFromLimit = 0.1;

static int32_t CentreController(SessionHandle vi)
{
    for (int32_t axis = 0; axis < kStageAxes; ++axis) {  // always three
        if (IsOscillating(axis)) continue;
        const double middle =
            (g_stage.maxPosition[axis] - g_stage.minPosition[axis]) / 2 + g_stage.minPosition[axis];
        if (!MoveOnController(axis, middle)) {
            ZVK_Stage_PIError(vi);
            return ZVK_STAGE_MOVE_FAILED;
        }
        g_stage.position[axis] = middle;
    }
    return ZVK_SUCCESS;
}

static int32_t CentreOutputs()
{
    if (!FillBothOutputs(0.0, 0.0)) return ZVK_STAGE_NO_MEMORY;
    const int32_t code = WriteOutputs(kCentreTimeoutS);
    if (code < 0) return code;
    for (int axis = 0; axis < kStageOutputs; ++axis) {
        g_stage.position[axis] = 0.0;
        g_stage.oscillating[axis] = 0;
    }
    return code;
}

int32_t ZVK_Stage_Center(SessionHandle Vi)
{
    const std::lock_guard lock(StageLock());
    if (g_stage.simulate != 0) return ZVK_SUCCESS;
    if (g_stage.initialized == 0) return ZVK_STAGE_NOT_FOUND;
    if (UsesController()) {
        const int32_t status = CentreController(Vi);
        if (status < 0) return status;
    }
    return UsesDaq() ? CentreOutputs() : static_cast<int32_t>(ZVK_SUCCESS);
}

// A shaken output is stopped, moved and shaken on.
static int32_t MoveShakenOutput(SessionHandle vi, int32_t axis, double position)
{
    const double amplitude = g_stage.amplitude;
    if (position - amplitude < g_stage.minPosition[axis]) return ZVK_STAGE_OSCILLATION_RANGE;
    if (position + amplitude > g_stage.maxPosition[axis]) return ZVK_STAGE_OSCILLATION_RANGE;
    (void)ZVK_Stage_StopOscillation(vi, axis);
    g_stage.position[axis] = position;
    if (ZVK_Stage_StartOscillation(0, axis, amplitude, g_stage.frequency) != ZVK_SUCCESS)
        return ZVK_STAGE_OUT_OF_RANGE;
    g_stage.position[axis] = position;
    return ZVK_SUCCESS;
}

static void MoveSteadyOutput(int32_t axis, double position)
{
    if (!FillOutput(axis, position)) return;  // as a failed write is: not reported
    StopOutputs();
    if (WriteOutputs(kMoveTimeoutS) >= 0) g_stage.position[axis] = position;
    StartOutputs();
}

static int32_t MoveController(SessionHandle vi, int32_t axis, double position)
{
    if (IsOscillating(axis)) return ZVK_STAGE_OSCILLATING;
    if (axis > 2 || (axis == 2 && g_stage.numberOfAxes < 3)) return ZVK_STAGE_BAD_AXIS;
    const bool clamped = ClampToLimits(axis, position);
    if (!MoveOnController(axis, position)) {
        ZVK_Stage_PIError(vi);
        return ZVK_STAGE_MOVE_FAILED;
    }
    g_stage.position[axis] = position;
    return clamped ? static_cast<int32_t>(ZVK_STAGE_OUT_OF_RANGE) : ZVK_SUCCESS;
}

int32_t ZVK_Stage_MoveAbsolute(SessionHandle SessionHandle, int32_t axis, double position)
{
    const std::lock_guard lock(StageLock());
    if (g_stage.simulate != 0) {
        KeepPosition(axis, position);  // without a look at the limits
        return ZVK_SUCCESS;
    }
    if (g_stage.initialized == 0) return ZVK_STAGE_NOT_FOUND;
    if (axis < 0 || axis > g_stage.numberOfAxes) return ZVK_STAGE_BAD_AXIS;
    if (UsesDaq() && axis < kStageOutputs) {
        const bool clamped = ClampToLimits(axis, position);
        if (IsOscillating(axis)) return MoveShakenOutput(SessionHandle, axis, position);
        MoveSteadyOutput(axis, position);
        if (clamped) return ZVK_STAGE_OUT_OF_RANGE;
    }
    if (UsesController()) return MoveController(SessionHandle, axis, position);
    // There is no third output to move.
    return axis < kStageOutputs ? static_cast<int32_t>(ZVK_SUCCESS)
                                : static_cast<int32_t>(ZVK_STAGE_BAD_AXIS);
}

// A relative move that leads out of the range ends a little inside of it. The position that is kept
// above the upper limit lies 0.2 above the place commanded: keep it so.
static int32_t MoveBackInside(SessionHandle vi, int32_t axis, bool below)
{
    const double limit = below ? g_stage.minPosition[axis] : g_stage.maxPosition[axis];
    const double place = below ? limit + kBackFromLimit : limit - kBackFromLimit;
    const int32_t status = ZVK_Stage_MoveAbsolute(vi, axis, place);
    if (status != ZVK_SUCCESS) return status;
    g_stage.position[axis] = limit + kBackFromLimit;
    return ZVK_STAGE_OUT_OF_RANGE;
}

static int32_t MoveOutputBy(SessionHandle vi, int32_t axis, double target)
{
    const int32_t status = ZVK_Stage_MoveAbsolute(vi, axis, target);
    if (status == ZVK_SUCCESS) return ZVK_SUCCESS;
    double position = 0.0;
    if (ZVK_Stage_GetPosition(vi, axis, &position) == ZVK_SUCCESS) KeepPosition(axis, position);
    return status;
}

static int32_t MoveControllerBy(SessionHandle vi, int32_t axis, double stepSize)
{
    if (StageLink().moveRelative(g_stage.piId, kStageAxisNames[axis], &stepSize) == 0) {
        ZVK_Stage_PIError(vi);
        return ZVK_STAGE_MOVE_FAILED;
    }
    if (StageLink().queryTarget(g_stage.piId, kStageAxisNames[axis], &g_stage.position[axis]) == 0)
        ZVK_Stage_PIError(vi);
    return ZVK_SUCCESS;
}

int32_t ZVK_Stage_MoveRelative(SessionHandle SessionHandle, int32_t axis, double stepSize)
{
    const std::lock_guard lock(StageLock());
    const bool exists = IsStageAxis(axis);
    if (g_stage.simulate != 0) {
        if (exists) g_stage.position[axis] += stepSize;
        return ZVK_SUCCESS;
    }
    if (g_stage.initialized == 0) return ZVK_STAGE_NOT_FOUND;
    if (IsOscillating(axis)) return ZVK_STAGE_OSCILLATING;
    if (!UsesDaq() && !UsesController()) return ZVK_STAGE_NOT_FOUND;
    if (!exists) return ZVK_STAGE_BAD_AXIS;
    if (!UsesDaq() && ControllerAxis(axis) == nullptr) return ZVK_STAGE_BAD_AXIS;
    const double target = g_stage.position[axis] + stepSize;
    if (target < g_stage.minPosition[axis]) return MoveBackInside(SessionHandle, axis, true);
    if (target > g_stage.maxPosition[axis]) return MoveBackInside(SessionHandle, axis, false);
    return UsesDaq() ? MoveOutputBy(SessionHandle, axis, target)
                     : MoveControllerBy(SessionHandle, axis, stepSize);
}

int32_t ZVK_Stage_GetPosition(SessionHandle SessionHandle, int32_t axis, double *position)
{
    const std::lock_guard lock(StageLock());
    if (g_stage.simulate != 0) {
        if (position != nullptr && IsStageAxis(axis)) *position = g_stage.position[axis];
        return ZVK_SUCCESS;
    }
    if (g_stage.initialized == 0) return ZVK_STAGE_NOT_FOUND;
    if (!UsesDaq() && !UsesController()) return ZVK_STAGE_NOT_FOUND;
    double read = 0.0;
    if (UsesDaq()) {  // before the controller, where both are there
        if (axis < 0 || axis >= kStageOutputs) return ZVK_STAGE_BAD_AXIS;
        const int32_t code = ReadOutputPosition(axis, read);
        if (code >= 0 && position != nullptr) *position = read;
        return code;
    }
    const char *name = ControllerAxis(axis);
    if (name == nullptr) return ZVK_STAGE_BAD_AXIS;
    if (StageLink().queryPosition(g_stage.piId, name, &read) == 0) {
        ZVK_Stage_PIError(SessionHandle);
        return ZVK_STAGE_NO_POSITION;
    }
    if (position != nullptr) *position = read;
    return ZVK_SUCCESS;
}

static void KeepSpeed(int32_t axis, double speed, double *newVelocity)
{
    if (IsStageAxis(axis)) g_stage.speed[axis] = speed;
    if (newVelocity != nullptr) *newVelocity = speed;
}

int32_t ZVK_Stage_SetSpeed(SessionHandle SessionHandle, int32_t axis, double RequestedVelocity,
                           double *NewVelocity)
{
    const std::lock_guard lock(StageLock());
    if (g_stage.simulate != 0) {
        KeepSpeed(axis, RequestedVelocity, NewVelocity);
        return ZVK_SUCCESS;
    }
    if (g_stage.initialized == 0) return ZVK_STAGE_NOT_FOUND;
    if (UsesController()) {
        const double speed = std::clamp(RequestedVelocity, kSlowestOnController, kFastest);
        const char *name = ControllerAxis(axis);
        if (name == nullptr) return ZVK_STAGE_BAD_AXIS;
        if (StageLink().setVelocity(g_stage.piId, name, &speed) == 0) {
            ZVK_Stage_PIError(SessionHandle);
            return ZVK_STAGE_BAD_VELOCITY;
        }
        KeepSpeed(axis, speed, NewVelocity);
        return ZVK_SUCCESS;
    }
    if (!UsesDaq()) return ZVK_STAGE_BAD_VELOCITY;
    KeepSpeed(axis, std::clamp(RequestedVelocity, kSlowestOnOutputs, kFastest), NewVelocity);
    return ZVK_SUCCESS;
}

int32_t ZVK_Stage_GetMaxSpeed(SessionHandle, double *Speed)
{
    const std::lock_guard lock(StageLock());
    const bool simulated = g_stage.simulate != 0;
    if (!simulated && (g_stage.initialized == 0 || !UsesController())) return ZVK_STAGE_NOT_FOUND;
    if (Speed != nullptr) std::fill_n(Speed, kStageAxes, simulated ? kFastestSimulated : kFastest);
    return ZVK_SUCCESS;
}

int32_t ZVK_Stage_GetMinMaxPosition(SessionHandle, int32_t Axis, double *Min, double *Max)
{
    const std::lock_guard lock(StageLock());
    if (g_stage.initialized == 0) return ZVK_STAGE_NOT_FOUND;
    if (Axis < 0 || Axis > kStageAxes) return ZVK_STAGE_BAD_AXIS;
    const bool exists = IsStageAxis(Axis);  // one more passes, and has no limits
    if (Min != nullptr) *Min = exists ? g_stage.minPosition[Axis] : 0.0;
    if (Max != nullptr) *Max = exists ? g_stage.maxPosition[Axis] : 0.0;
    return ZVK_SUCCESS;
}

int32_t ZVK_Stage_CheckMoveStatus(SessionHandle, uint16_t *MoveStatus)
{
    const std::lock_guard lock(StageLock());
    if (g_stage.initialized == 0) return ZVK_STAGE_NOT_FOUND;
    if (g_stage.simulate != 0) {
        if (MoveStatus != nullptr) *MoveStatus = 1;
        return ZVK_SUCCESS;
    }
    if (!UsesController()) return ZVK_SUCCESS;
    uint16_t onTarget = 0;
    if (!AskOnTarget(onTarget)) onTarget = 0;  // an unknown state is no arrival
    if (MoveStatus != nullptr) *MoveStatus = onTarget;
    return ZVK_SUCCESS;
}
