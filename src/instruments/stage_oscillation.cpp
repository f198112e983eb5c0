// The oscillation of an axis, by which the force calibration shakes the sample.

#include "instruments/stage.h"

int32_t ZVK_Stage_StartOscillation(SessionHandle SessionHandle, int32_t axis, double amplitude,
                                   int32_t frequency)
{
    const std::lock_guard lock(StageLock());
    if (g_stage.simulate != 0) {
        KeepOscillating(axis, true);
        return ZVK_SUCCESS;
    }
    if (g_stage.initialized == 0) return ZVK_STAGE_NOT_FOUND;
    if (IsOscillating(axis)) (void)ZVK_Stage_StopOscillation(SessionHandle, axis);
    if (UsesDaq()) return StartOnOutputs(axis, amplitude, frequency);  // first and alone
    if (UsesController()) return StartOnController(axis, amplitude, frequency);
    return ZVK_STAGE_NOT_FOUND;
}

int32_t ZVK_Stage_StopOscillation(SessionHandle SessionHandle, int32_t axis)
{
    const std::lock_guard lock(StageLock());
    if (g_stage.simulate != 0) {
        KeepOscillating(axis, false);
        return ZVK_SUCCESS;
    }
    if (g_stage.initialized == 0) return ZVK_STAGE_NOT_FOUND;
    if (UsesDaq() && g_stage.task != nullptr) {
        const int32_t status = StopOnOutputs(SessionHandle, axis);
        if (status < 0) return status;
    }
    if (UsesController()) {
        if (!StopOnController(axis)) {
            ZVK_Stage_PIError(SessionHandle);
            return ZVK_STAGE_MOVE_FAILED;
        }
        KeepOscillating(axis, false);
        if (IsStageAxis(axis))
            (void)ZVK_Stage_MoveAbsolute(SessionHandle, axis, g_stage.position[axis]);
    }
    return ZVK_SUCCESS;
}

int32_t ZVK_Stage_DaqSetStepSize(SessionHandle, int32_t Axis, double StepSize)
{
    const std::lock_guard lock(StageLock());
    if (g_stage.simulate != 0) return ZVK_SUCCESS;
    if (g_stage.initialized == 0) return ZVK_STAGE_NOT_FOUND;
    if (Axis >= 0 && Axis < kStageOutputs) g_stage.stepSize[Axis] = StepSize;
    return ZVK_SUCCESS;
}
