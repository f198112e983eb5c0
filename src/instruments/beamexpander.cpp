// The beam expanders' start and end, and what a client can ask about them.

#include "instruments/beamexpander.h"

#include "instruments/beamexpander_keys.h"
#include "quorvex/confile.h"

ZVK_BeamExpanderState g_beamExpander[kExpanderPaths];

int32_t ZVK_BeamExpander_Init(SessionHandle vi, uint16_t, uint16_t, int32_t Path)
{
    if (!IsExpanderPath(Path)) return ZVK_BEAMEXPANDER_BAD_PATH;
    ZVK_BeamExpanderState &row = g_beamExpander[Path];
    if (row.initialized != 0) return ZVK_BEAMEXPANDER_ALREADY_INITIALIZED;
    const int32_t status = ReadKeys(vi, "config.ini", kExpanderSections[Path], kExpanderKeys, &row);
    if (status < 0) return status;
    row.maxSpeed = 0;  // what an earlier start with a board has left
    if (row.mi == 0) return ZVK_SUCCESS;
    if (row.simulate != 0) {
        row.initialized = 1;
        row.position = row.initPos;
        return ZVK_SUCCESS;
    }
    if (DrivesBoard(row)) return FindBoard(vi, Path);
    return ZVK_BEAMEXPANDER_NOT_FOUND;
}

struct BoardSetting
{
    ZVK_AxisParameter parameter;
    int32_t value;
};

// The order counts.
static constexpr BoardSetting kSettings[] = {
    {kMaximumCurrent, 80}, {kFreewheeling, 0}, {kMixedDecayThreshold, 2048}, {kMaximumSpeed, 100},
    {kMaximumSpeed, 80},   {kRampMode, 0},     {kMaximumAcceleration, 100},  {kStandbyCurrent, 0},
};

int ZVK_BeamExpander_SetDefaultValues(int32_t Path)
{
    if (!IsExpanderPath(Path)) return ZVK_BEAMEXPANDER_BAD_PATH;
    ZVK_BeamExpanderState &row = g_beamExpander[Path];
    if (row.initialized == 0) return ZVK_BEAMEXPANDER_NOT_FOUND;
    if (row.simulate != 0) return ZVK_SUCCESS;
    for (const BoardSetting &setting : kSettings) {
        TellMotor(Path, kSetAxis, setting.parameter, setting.value);
        if (setting.parameter == kMaximumSpeed) row.speed = setting.value;
    }
    return ZVK_SUCCESS;
}

int32_t ZVK_BeamExpander_GetInitStatus(SessionHandle, int32_t axis, int32_t *status)
{
    if (!IsExpanderPath(axis)) return ZVK_BEAMEXPANDER_BAD_PATH;
    const ZVK_BeamExpanderState &row = g_beamExpander[axis];
    if (!status) return ZVK_SUCCESS;
    // A key may hold any number, the largest one too.
    const uint32_t up = 1U + static_cast<uint32_t>(row.simulate);
    *status = row.initialized == 1 ? static_cast<int32_t>(up) : 0;
    return ZVK_SUCCESS;
}

int32_t ZVK_BeamExpander_GetLimits(SessionHandle, int32_t path, int32_t *cwLimit, int32_t *ccwLimit)
{
    if (!IsExpanderPath(path)) return ZVK_BEAMEXPANDER_BAD_PATH;
    const ZVK_BeamExpanderState &row = g_beamExpander[path];
    if (row.initialized == 0) return ZVK_BEAMEXPANDER_NOT_FOUND;
    if (cwLimit) *cwLimit = row.cwLimit;
    if (ccwLimit) *ccwLimit = row.ccwLimit;
    return ZVK_SUCCESS;
}

int32_t ZVK_BeamExpander_GetPosition(SessionHandle, int32_t path, int32_t *pos)
{
    if (!IsExpanderPath(path)) return ZVK_BEAMEXPANDER_BAD_PATH;
    const ZVK_BeamExpanderState &row = g_beamExpander[path];
    if (row.simulate == 0 && row.initialized == 0) return ZVK_BEAMEXPANDER_NOT_FOUND;
    if (pos) *pos = row.position;
    return ZVK_SUCCESS;
}

int32_t ZVK_BeamExpander_GetSpeed(SessionHandle, int32_t Path, int32_t *Speed)
{
    if (!IsExpanderPath(Path)) return ZVK_BEAMEXPANDER_BAD_PATH;
    const ZVK_BeamExpanderState &row = g_beamExpander[Path];
    if (row.initialized == 0) return ZVK_BEAMEXPANDER_NOT_FOUND;
    if (Speed) *Speed = row.speed;
    return ZVK_SUCCESS;
}

void KeepPosition(int32_t path)
{
    (void)ZVK_ConFile_Write(0, "config.ini", kExpanderSections[path], "INITPOS",
                            &g_beamExpander[path].position, ZVK_CONFILE_LONG);
}

int32_t ZVK_BeamExpander_Shutdown(SessionHandle)
{
    for (int32_t path = 0; path < kExpanderPaths; ++path) {
        ZVK_BeamExpanderState &row = g_beamExpander[path];
        if (row.simulate != 0) {
            row.initialized = 0;
            continue;
        }
        if (row.mi == 0 || row.initialized == 0 || !DrivesBoard(row)) continue;
        CloseBoard(path);
        row.initialized = 0;
        KeepPosition(path);
    }
    return ZVK_SUCCESS;
}
