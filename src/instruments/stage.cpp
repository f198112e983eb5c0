// The stage: how it comes up on its back-ends, and its end.

#include "instruments/stage.h"

#include "files/key_table.h"
#include "instruments/daq_tasks.h"
#include "instruments/stage_keys.h"
#include "platform/stagelink.h"
#include "quorvex/confile.h"

#include <algorithm>
#include <cstring>
#include <limits>

constexpr double kSimulatedLimit = 500.0;

ZVK_StageState g_stage;
void *g_stageInputs[kStageOutputs];

// Never destroyed: a calibration's thread may still be at it when the process ends.
std::recursive_mutex &StageLock()
{
    static auto *const mutex = new std::recursive_mutex;
    return *mutex;
}

void KeepPosition(int32_t axis, double position)
{
    if (IsStageAxis(axis)) g_stage.position[axis] = position;
}

void KeepOscillating(int32_t axis, bool oscillating)
{
    if (IsStageAxis(axis)) g_stage.oscillating[axis] = oscillating ? 1 : 0;
}

bool ClampToLimits(int32_t axis, double &position)
{
    if (!IsStageAxis(axis)) return false;
    const double before = position;
    if (!(position <= g_stage.maxPosition[axis])) position = g_stage.maxPosition[axis];
    if (position < g_stage.minPosition[axis]) position = g_stage.minPosition[axis];
    return !(position == before);
}

int32_t TruncateStageCount(double value)
{
    constexpr double kLimit = 2147483648.0;
    if (!(value > -kLimit - 1.0 && value < kLimit)) return std::numeric_limits<int32_t>::min();
    return static_cast<int32_t>(value);
}

// There are no fall-back values, and a warning counts as missing too.
static bool ReadStageKeys(SessionHandle vi, const ZVK_KeyTable &table, ZVK_StageKeys &keys)
{
    for (size_t i = 0; i < table.count; ++i) {
        const ZVK_KeyRow &row = table.rows[i];
        void *field = reinterpret_cast<char *>(&keys) + row.offset;
        if (ZVK_ConFile_Read(vi, "config.ini", kStageSection, row.key, field, row.type) != 0)
            return false;
    }
    return true;
}

static void StoreOutputKeys(const ZVK_StageKeys &keys)
{
    g_stage.scale = keys.scale;
    g_stage.clockRate = keys.clockRate;
    g_stage.everyNSamples = keys.everyNSamples;
    g_stage.samplesPerChan = keys.samplesPerChan;
    for (int axis = 0; axis < kStageOutputs; ++axis) {
        g_stage.speed[axis] = keys.speed;
        g_stage.stepSize[axis] = keys.stepSize;
        g_stage.minPosition[axis] = -keys.range / 2;
        g_stage.maxPosition[axis] = keys.range / 2;
        g_stage.oscillating[axis] = 0;
        g_stage.position[axis] = 0.0;
        g_stage.centre[axis] = keys.range / 2;
    }
}

static int32_t SimulateOutputs()
{
    g_stage.numberOfAxes = kStageAxes;
    for (int axis = 0; axis < kStageAxes; ++axis) {
        g_stage.position[axis] = 0.0;
        g_stage.maxPosition[axis] = kSimulatedLimit;
        g_stage.minPosition[axis] = -kSimulatedLimit;
    }
    g_stage.initialized = 1;
    return ZVK_SUCCESS;
}

static int32_t InitOutputs(SessionHandle vi, ZVK_StageKeys &keys)
{
    g_stage.numberOfAxes = kStageOutputs;
    if (!ReadStageKeys(vi, kStageOutputKeys, keys)) return ZVK_STAGE_BAD_CONFIGURATION;
    StoreOutputKeys(keys);
    if (g_stage.simulate != 0) return SimulateOutputs();
    if (!ReadStageKeys(vi, kStageTriggerKeys, keys)) return ZVK_STAGE_BAD_CONFIGURATION;
    g_stage.trigger = keys.trigger;
    return InitStageDaq(vi);
}

static int32_t InitController(SessionHandle vi, ZVK_StageKeys &keys)
{
    if (!ReadStageKeys(vi, kStageControllerKeys, keys)) return ZVK_STAGE_BAD_CONFIGURATION;
    std::memcpy(g_stage.ip, keys.ip.text, sizeof g_stage.ip);
    g_stage.portNum = keys.portNum;
    g_stage.numberOfAxes = keys.numberOfAxes;
    return InitStageController(vi);
}

int32_t ZVK_Stage_Init(SessionHandle SessionHandle, uint16_t, uint16_t)
{
    const std::lock_guard lock(StageLock());
    if (g_stage.initialized != 0) return ZVK_STAGE_ALREADY_INITIALIZED;
    ZVK_StageKeys keys;
    if (!ReadStageKeys(SessionHandle, kStageModeKeys, keys)) return ZVK_STAGE_BAD_CONFIGURATION;
    g_stage.mi = keys.mi;
    g_stage.simulate = keys.simulate;
    if (g_stage.mi == 0) return ZVK_STAGE_NOT_INSTALLED;
    if (!ReadStageKeys(SessionHandle, kStageBackendKeys, keys)) return ZVK_STAGE_BAD_CONFIGURATION;
    g_stage.backend = keys.backend;

    if (UsesDaq()) {
        const int32_t status = InitOutputs(SessionHandle, keys);
        if (status < 0) return status;
        if (g_stage.simulate != 0) return ZVK_SUCCESS;
    }
    // The outputs alone end in this warning, with the stage up.
    if (!UsesController()) return ZVK_STAGE_NOT_FOUND;
    if (g_stage.simulate != 0) {
        g_stage.initialized = 1;
        return ZVK_SUCCESS;
    }
    return InitController(SessionHandle, keys);
}

int32_t ZVK_Stage_GetInitStatus(SessionHandle, int32_t *status)
{
    const std::lock_guard lock(StageLock());
    int32_t told = g_stage.simulate != 0 ? 2 : 1;
    int32_t result = ZVK_SUCCESS;
    if (g_stage.initialized == 0) {
        told = g_stage.mi == 0 ? -1 : 0;
        result = g_stage.mi == 0 ? static_cast<int32_t>(ZVK_STAGE_NOT_INSTALLED)
                                 : static_cast<int32_t>(ZVK_STAGE_INIT_FAILED);
    }
    if (status != nullptr) *status = told;
    return result;
}

int32_t ZVK_Stage_Reset(SessionHandle SessionHandle)
{
    const std::lock_guard lock(StageLock());
    if (g_stage.initialized != 0) (void)ZVK_Stage_Shutdown(SessionHandle);
    // A stage on outputs alone comes up with a warning, and so fails here.
    return ZVK_Stage_Init(SessionHandle, 0, 0) == ZVK_SUCCESS
               ? static_cast<int32_t>(ZVK_SUCCESS)
               : static_cast<int32_t>(ZVK_STAGE_INIT_FAILED);
}

int32_t ZVK_Stage_SelfTest(SessionHandle, uint16_t *SelfTestSuccessful)
{
    if (SelfTestSuccessful != nullptr) *SelfTestSuccessful = 1;
    return ZVK_SUCCESS;
}

int32_t ZVK_Stage_Shutdown(SessionHandle)
{
    const std::lock_guard lock(StageLock());
    if (g_stage.simulate != 0) {
        g_stage.initialized = 0;
        return ZVK_SUCCESS;
    }
    if (g_stage.initialized == 0) return ZVK_SUCCESS;
    if (UsesController()) {  // outputs beside it stay as they are
        g_stage.initialized = 0;
        (void)StageLink().stop(g_stage.piId);
        StageLink().close(g_stage.piId);
        g_stage.piId = -1;
        return ZVK_SUCCESS;
    }
    if (!UsesDaq()) return ZVK_STAGE_NOT_FOUND;
    ShutDownStageDaq();
    g_stage.initialized = 0;
    return ZVK_SUCCESS;
}
