// Positions read back, speeds, move modes, limits and centre of a path. Nothing here touches
// samples.

#include "files/key_table.h"
#include "quorvex/confile.h"
#include "steering/galvo.h"
#include "steering/galvo_gate.h"
#include "steering/galvo_keys.h"

int32_t ZVK_Galvo_GetPositionCurrent(SessionHandle, int32_t path, int32_t wp, double *posX,
                                     double *posY)
{
    if (!IsPath(path)) return ZVK_GALVO_BAD_PATH;
    const std::lock_guard data(GalvoData());
    const ZVK_GalvoState &row = g_galvo[path];
    if (!HasWaypoint(row, wp)) return ZVK_GALVO_OUT_OF_RANGE;
    if (posX) *posX = row.posX[wp];
    if (posY) *posY = row.posY[wp];
    return ZVK_SUCCESS;
}

int32_t ZVK_Galvo_GetPositionTarget(SessionHandle, int32_t Path, int32_t Wp, double *PosX,
                                    double *PosY)
{
    if (!IsPath(Path)) return ZVK_GALVO_BAD_PATH;
    const std::lock_guard data(GalvoData());
    const ZVK_GalvoState &row = g_galvo[Path];
    if (!HasWaypoint(row, Wp)) return ZVK_GALVO_OUT_OF_RANGE;
    if (PosX) *PosX = row.targetX[Wp];
    if (PosY) *PosY = row.targetY[Wp];
    return ZVK_SUCCESS;
}

int32_t ZVK_Galvo_SetSpeed(SessionHandle, int32_t path, int32_t wp, double speed)
{
    if (!IsPath(path)) return ZVK_GALVO_BAD_PATH;
    const std::lock_guard data(GalvoData());
    ZVK_GalvoState &row = g_galvo[path];
    if (row.NumOfWP > 0 && !HasWaypoint(row, wp)) return ZVK_GALVO_OUT_OF_RANGE;
    if (LoadFlag(row.initialized) == 0) return ZVK_SUCCESS;  // stores nothing, and doesn't tell
    if (!HasWaypoint(row, wp)) return ZVK_GALVO_OUT_OF_RANGE;
    row.speeds[wp] = speed;
    return ZVK_SUCCESS;
}

int32_t ZVK_Galvo_SetMoveType(SessionHandle, int32_t path, int32_t wp, int32_t mode)
{
    if (!IsPath(path)) return ZVK_GALVO_BAD_PATH;
    if (mode < ZVK_MOVE_ONCE || mode > ZVK_MOVE_STAND) return ZVK_GALVO_BAD_MOVE_MODE;
    const std::lock_guard data(GalvoData());
    ZVK_GalvoState &row = g_galvo[path];
    if (!HasWaypoint(row, wp)) return ZVK_GALVO_OUT_OF_RANGE;
    row.moveMode[wp] = mode;
    return ZVK_SUCCESS;
}

int32_t ZVK_Galvo_GetMoveType(SessionHandle, int32_t Path, int32_t Waypoint, int32_t *MoveType)
{
    if (!IsPath(Path)) return ZVK_GALVO_BAD_PATH;
    const std::lock_guard data(GalvoData());
    const ZVK_GalvoState &row = g_galvo[Path];
    if (!HasWaypoint(row, Waypoint)) return ZVK_GALVO_OUT_OF_RANGE;
    if (MoveType) *MoveType = row.moveMode[Waypoint];
    return ZVK_SUCCESS;
}

int32_t ZVK_Galvo_SetLimits(SessionHandle, int32_t path, double xMin, double xMax, double yMin,
                            double yMax)
{
    if (!IsPath(path)) return ZVK_GALVO_BAD_PATH;
    const std::lock_guard data(GalvoData());
    ZVK_GalvoState &row = g_galvo[path];
    if (LoadFlag(row.initialized) == 0) return ZVK_GALVO_NOT_CONFIGURED;
    row.xMin = xMin;
    row.xMax = xMax;
    row.yMin = yMin;
    row.yMax = yMax;
    return ZVK_SUCCESS;
}

int32_t ZVK_Galvo_GetLimits(SessionHandle, int32_t path, double *xMin, double *xMax, double *yMin,
                            double *yMax)
{
    if (!IsPath(path)) return ZVK_GALVO_BAD_PATH;
    const std::lock_guard data(GalvoData());
    ZVK_GalvoState &row = g_galvo[path];
    if (LoadFlag(row.initialized) == 0) return ZVK_GALVO_NOT_CONFIGURED;
    if (xMin) *xMin = row.xMin;
    if (xMax) *xMax = row.xMax;
    if (yMin) *yMin = row.yMin;
    if (yMax) *yMax = row.yMax;
    return ZVK_SUCCESS;
}

int32_t ZVK_Galvo_SetOffset(SessionHandle, int32_t path, double xoff, double yoff)
{
    if (!IsPath(path)) return ZVK_GALVO_BAD_PATH;
    const std::lock_guard data(GalvoData());
    ZVK_GalvoState &row = g_galvo[path];
    const bool clamped = ClampToLimits(row, xoff, yoff);
    row.xoff = xoff;
    row.yoff = yoff;
    return clamped ? ZVK_GALVO_CLAMPED : ZVK_SUCCESS;
}

int32_t ZVK_Galvo_GetOffset(SessionHandle, int32_t Path, double *Xoff, double *Yoff)
{
    if (!IsPath(Path)) return ZVK_GALVO_BAD_PATH;
    const std::lock_guard data(GalvoData());
    ZVK_GalvoState &row = g_galvo[Path];
    if (LoadFlag(row.initialized) == 0) return ZVK_GALVO_NOT_CONFIGURED;
    if (Xoff) *Xoff = row.xoff;
    if (Yoff) *Yoff = row.yoff;
    return ZVK_SUCCESS;
}

int32_t ZVK_Galvo_SaveOffset(SessionHandle SessionHandle, int32_t Path, double Xoff, double Yoff)
{
    if (!IsPath(Path)) return ZVK_GALVO_BAD_PATH;
    if (LoadFlag(g_galvo[Path].initialized) == 0) return ZVK_GALVO_NOT_CONFIGURED;
    const char *section = kGalvoSections[Path];
    int32_t status = ZVK_ConFile_Write(SessionHandle, "config.ini", section, "OFFSETX", &Xoff,
                                       ZVK_CONFILE_DOUBLE);
    if (status < 0) return status;
    if (status > 0) (void)ZVK_error_CaptureWarning(0, status);
    status = ZVK_ConFile_Write(SessionHandle, "config.ini", section, "OFFSETY", &Yoff,
                               ZVK_CONFILE_DOUBLE);
    if (status < 0) return status;
    if (status > 0) (void)ZVK_error_CaptureWarning(0, status);
    return ZVK_SUCCESS;
}

int32_t ZVK_Galvo_LoadOffset(SessionHandle SessionHandle, int32_t Path, double *Xoff, double *Yoff)
{
    if (!IsPath(Path)) return ZVK_GALVO_BAD_PATH;
    if (LoadFlag(g_galvo[Path].initialized) == 0) return ZVK_GALVO_NOT_CONFIGURED;
    const char *section = kGalvoSections[Path];
    int32_t status =
        ZVK_ConFile_Read(SessionHandle, "config.ini", section, "OFFSETX", Xoff, ZVK_CONFILE_DOUBLE);
    if (status < 0) return status;
    if (status > 0) (void)ZVK_error_CaptureWarning(0, status);
    status =
        ZVK_ConFile_Read(SessionHandle, "config.ini", section, "OFFSETY", Yoff, ZVK_CONFILE_DOUBLE);
    if (status < 0) return status;
    if (status > 0) (void)ZVK_error_CaptureWarning(0, status);
    return ZVK_SUCCESS;
}
