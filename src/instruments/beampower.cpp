// Beam power: one adjuster a path, up, set, read and down.

#include "instruments/beampower.h"

#include "files/key_table.h"
#include "instruments/beampower_keys.h"

#include <cmath>

constexpr double kMaxRelative = 1.0;
constexpr double kMaxSetVal = 1.01;      // above 1.0 the value goes out as volts
constexpr double kFullOutput = 10.0;     // V; the one value above that is taken
constexpr double kFullMargin = 0.00001;  // how far from it a value may be

ZVK_BeamPowerState g_beamPower[kBeamPowerPaths];

static bool IsPath(int32_t path) { return path == ZVK_PATH_A || path == ZVK_PATH_B; }

static bool DrivesDaq(const ZVK_BeamPowerState &row) { return (row.backend & 1) != 0; }

static int32_t InitHardware(SessionHandle vi, int32_t path)
{
    if (!DrivesDaq(g_beamPower[path])) return ZVK_BEAMPOWER_NOT_FOUND;
    int32_t status = ZVK_BeamPower_DaqInit(vi, path);
    if (status < 0) return status;
    status = LoadBeamPowerTable(vi, path);
    if (status < 0) return status;
    g_beamPower[path].initialized = 1;
    (void)ZVK_BeamPower_SetPower(vi, path, 0.0);  // a card that refuses it shows at the next set
    return ZVK_SUCCESS;
}

int32_t ZVK_BeamPower_Init(SessionHandle SessionHandle, uint16_t, uint16_t, int32_t Path)
{
    if (!IsPath(Path)) return ZVK_BEAMPOWER_BAD_PATH;
    ZVK_BeamPowerState &row = g_beamPower[Path];
    // The beam expander's warnings here and for a missing adjuster; clients know them so.
    if (row.initialized != 0) return ZVK_BEAMEXPANDER_ALREADY_INITIALIZED;
    const int32_t status =
        ReadKeys(SessionHandle, "config.ini", kBeamPowerSections[Path], kBeamPowerKeys, &row);
    if (status < 0) return status;
    if (row.mi == 0) return ZVK_BEAMEXPANDER_NOT_FOUND;
    if (row.simulate == 0) return InitHardware(SessionHandle, Path);
    row.initialized = 1;
    row.setVal = 0.0;
    return ZVK_SUCCESS;
}

// Not a number is out of range too.
static bool IsInRange(double setVal)
{
    if (setVal >= 0.0 && setVal <= kMaxSetVal) return true;
    return std::fabs(setVal - kFullOutput) < kFullMargin;
}

static double VoltsForPower(const ZVK_BeamPowerState &row, double power)
{
    if (row.hasCalibration == 0) return static_cast<double>(row.scale) * power;
    return InterpolateVolts(row.calibration, row.numPoints, power);
}

int32_t ZVK_BeamPower_SetPower(SessionHandle, int32_t path, double setVal)
{
    if (!IsPath(path)) return ZVK_BEAMPOWER_BAD_PATH;
    ZVK_BeamPowerState &row = g_beamPower[path];
    if (row.simulate != 0) {
        row.setVal = setVal;
        return ZVK_SUCCESS;
    }
    if (!IsInRange(setVal)) {
        (void)ZVK_error_CaptureWarning(0, ZVK_BEAMPOWER_OUT_OF_RANGE);
        return ZVK_BEAMPOWER_OUT_OF_RANGE;
    }
    if (row.mi == 0) return ZVK_BEAMPOWER_NOT_FOUND;
    if (row.initialized == 0) return ZVK_BEAMPOWER_NOT_FOUND;
    if (!DrivesDaq(row)) return ZVK_BEAMPOWER_NOT_FOUND;

    if (setVal > kMaxRelative) return WriteBeamPowerVolts(path, setVal);
    const int32_t status = WriteBeamPowerVolts(path, VoltsForPower(row, setVal));
    if (status == ZVK_SUCCESS) row.setVal = setVal;
    return status;
}

int32_t ZVK_BeamPower_GetPower(SessionHandle, int32_t path, double *setVal)
{
    if (!IsPath(path)) return ZVK_BEAMPOWER_BAD_PATH;
    if (g_beamPower[path].initialized == 0) return ZVK_BEAMPOWER_NOT_FOUND;
    if (setVal) *setVal = g_beamPower[path].setVal;
    return ZVK_SUCCESS;
}

int32_t ZVK_BeamPower_GetInitStatus(SessionHandle, int32_t axis, int32_t *status)
{
    if (!IsPath(axis)) return ZVK_BEAMPOWER_BAD_PATH;
    ZVK_BeamPowerState &row = g_beamPower[axis];
    if (row.initialized == 0) return ZVK_SUCCESS;
    row.initialized = row.simulate != 0 ? 2 : 1;
    if (status) *status = row.initialized;
    return ZVK_SUCCESS;
}

static int32_t ShutDownPath(SessionHandle vi, int32_t path)
{
    ZVK_BeamPowerState &row = g_beamPower[path];
    if (row.simulate == 0) {
        if (row.mi == 0) return ZVK_BEAMPOWER_NOT_FOUND;
        if (row.initialized == 0) return ZVK_BEAMPOWER_NOT_FOUND;
        if (row.backend == 1 && g_beamPowerDaq[path].task != nullptr) {
            (void)ZVK_BeamPower_SetPower(vi, path, 0.0);  // the task ends whether it worked or not
            ClearBeamPowerTask(path);
        }
    }
    row.initialized = 0;
    return ZVK_SUCCESS;
}

int32_t ZVK_BeamPower_Shutdown(SessionHandle SessionHandle)
{
    for (int32_t path = 0; path < kBeamPowerPaths; ++path) {
        const int32_t status = ShutDownPath(SessionHandle, path);
        if (status != ZVK_SUCCESS) return status;  // a path without an adjuster ends it early
    }
    for (ZVK_BeamPowerState &row : g_beamPower)
        FreeBeamPowerTable(row);
    return ZVK_SUCCESS;
}
