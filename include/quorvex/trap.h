#ifndef QUORVEX_TRAP_H
#define QUORVEX_TRAP_H

#include "quorvex/types.h"

ZVK_EXTERN_C_BEGIN

ZVK_API int32_t ZVK_Trap_Init(SessionHandle SessionHandle, uint16_t id_query, uint16_t reset_instr, int32_t Path, const char *Label);
ZVK_API int32_t ZVK_Trap_Shutdown(SessionHandle SessionHandle);
ZVK_API int32_t ZVK_Trap_GetInitStatus(SessionHandle SessionHandle, int32_t path, int32_t *status, int32_t *index);
ZVK_API int32_t ZVK_Trap_Add(SessionHandle SessionHandle, int32_t path, int32_t *index, double speed, const char *name, double x, double y, int32_t unit);
ZVK_API int32_t ZVK_Trap_Delete(SessionHandle SessionHandle, int32_t path, int32_t index);
ZVK_API int32_t ZVK_Trap_DeleteAll(SessionHandle SessionHandle, int32_t path);
ZVK_API int32_t ZVK_Trap_GetNumberOfTraps(SessionHandle SessionHandle, int32_t path, int32_t *num);
ZVK_API int32_t ZVK_Trap_GetIndexList(SessionHandle SessionHandle, int32_t path, int32_t *indexList);
ZVK_API int32_t ZVK_Trap_GetArray(SessionHandle SessionHandle, int32_t path, double *x, double *y, double *speedValues, char **label, int32_t unit);
ZVK_API int32_t ZVK_Trap_GetStatus(SessionHandle SessionHandle, int32_t path, int32_t index, int32_t *status);
ZVK_API int32_t ZVK_Trap_SetActive(SessionHandle SessionHandle, int32_t path, int32_t index, int32_t active, int32_t exclusive);
ZVK_API int32_t ZVK_Trap_SetName(SessionHandle SessionHandle, int32_t path, int32_t index, const char *name);
ZVK_API int32_t ZVK_Trap_GetHardwareLimits(SessionHandle SessionHandle, int32_t path, double *Range);
ZVK_API int32_t ZVK_Trap_SetPosition(SessionHandle SessionHandle, int32_t path, int32_t index, double *X, double *Y, int32_t Unit, int32_t LimitEnforce);
ZVK_API int32_t ZVK_Trap_MoveToSetPosition(SessionHandle SessionHandle, int32_t path, int32_t index);
ZVK_API int32_t ZVK_Trap_GotoSetPosition(SessionHandle SessionHandle, int32_t path, int32_t index);
ZVK_API int32_t ZVK_Trap_SetSpeed(SessionHandle SessionHandle, int32_t path, int32_t index, double speed, int32_t unit);
ZVK_API int32_t ZVK_Trap_GetSpeed(SessionHandle SessionHandle, int32_t path, int32_t index, double *speed, int32_t Unit);
ZVK_API int32_t ZVK_Trap_GetPosition(SessionHandle SessionHandle, int32_t path, int32_t index, double *x, double *y, int32_t unit);
ZVK_API int32_t ZVK_Trap_GetPositionTarget(SessionHandle SessionHandle, int32_t Path, int32_t Index, double *X, double *Y, int32_t Unit);
ZVK_API int32_t ZVK_Trap_GetCenterPosition(SessionHandle SessionHandle, int32_t Path, int32_t Index, double *X, double *Y, int32_t unit);
ZVK_API int32_t ZVK_Trap_SetMoveType(SessionHandle SessionHandle, int32_t Path, int32_t Index, int32_t MoveType);
ZVK_API int32_t ZVK_Trap_GetMoveType(SessionHandle SessionHandle, int32_t Path, int32_t Index, int32_t *MoveType, int32_t *TrajRunning);
ZVK_API int32_t ZVK_Trap_SetTrajectory(SessionHandle SessionHandle, int32_t Path, int32_t Index, int32_t NumWp, const double *X, const double *Y, double *Speed);
ZVK_API int32_t ZVK_Trap_TrajectoryRun(SessionHandle SessionHandle, int32_t Path, int32_t Index, int32_t Run, int32_t MoveType, int32_t WaveForm, double *Frequency);
ZVK_API int32_t ZVK_Trap_TrajectoryExists(SessionHandle SessionHandle, int32_t Path, int32_t Index, int32_t *TrajExists);
ZVK_API int32_t ZVK_Trap_GetTrajectory(SessionHandle SessionHandle, int32_t Path, int32_t Index, int32_t *NumTrajPoints, double **X, double **Y);

ZVK_EXTERN_C_END

#endif
