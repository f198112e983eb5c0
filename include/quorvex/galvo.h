#ifndef QUORVEX_GALVO_H
#define QUORVEX_GALVO_H

#include "quorvex/types.h"

ZVK_EXTERN_C_BEGIN

ZVK_API int32_t ZVK_Galvo_Init(SessionHandle SessionHandle, uint16_t IDQuery, uint16_t ResetInstrument);
ZVK_API int32_t ZVK_Galvo_GetInitStatus(SessionHandle vi, int32_t path, int32_t *status);
ZVK_API int32_t ZVK_Galvo_AddWaypoint(SessionHandle Vi, int32_t Path, int32_t *Wp, double X, double Y);
ZVK_API int32_t ZVK_Galvo_RemoveWaypoint(SessionHandle Vi, int32_t Path, int32_t Wp);
ZVK_API int32_t ZVK_Galvo_SetPosition(SessionHandle SessionHandle, int32_t path, int32_t wp, double posX, double posY);
ZVK_API int32_t ZVK_Galvo_SetPositionAll(SessionHandle SessionHandle, int32_t path, int32_t numberOfPos, double *posArrayX, double *posArrayY);
ZVK_API int32_t ZVK_Galvo_SetPositionTarget(SessionHandle SessionHandle, int32_t path, int32_t wp, double xPos, double yPos);
ZVK_API int32_t ZVK_Galvo_GetPositionCurrent(SessionHandle SessionHandle, int32_t path, int32_t wp, double *posX, double *posY);
ZVK_API int32_t ZVK_Galvo_GetPositionTarget(SessionHandle SessionHandle, int32_t Path, int32_t Wp, double *PosX, double *PosY);
ZVK_API int32_t ZVK_Galvo_SetSpeed(SessionHandle vi, int32_t path, int32_t wp, double speed);
ZVK_API int32_t ZVK_Galvo_SetMoveType(SessionHandle vi, int32_t path, int32_t wp, int32_t mode);
ZVK_API int32_t ZVK_Galvo_GetMoveType(SessionHandle Vi, int32_t Path, int32_t Waypoint, int32_t *MoveType);
ZVK_API int32_t ZVK_Galvo_SetLimits(SessionHandle SessionHandle, int32_t path, double xMin, double xMax, double yMin, double yMax);
ZVK_API int32_t ZVK_Galvo_GetLimits(SessionHandle SessionHandle, int32_t path, double *xMin, double *xMax, double *yMin, double *yMax);
ZVK_API int32_t ZVK_Galvo_SetOffset(SessionHandle SessionHandle, int32_t path, double xoff, double yoff);
ZVK_API int32_t ZVK_Galvo_GetOffset(SessionHandle SessionHandle, int32_t Path, double *Xoff, double *Yoff);
ZVK_API int32_t ZVK_Galvo_SaveOffset(SessionHandle SessionHandle, int32_t Path, double Xoff, double Yoff);
ZVK_API int32_t ZVK_Galvo_LoadOffset(SessionHandle SessionHandle, int32_t Path, double *Xoff, double *Yoff);
ZVK_API int32_t ZVK_Galvo_Shutdown(SessionHandle SessionHandle);
ZVK_API int32_t ZVK_Galvo_BufferConfigure(SessionHandle SessionHandle, int32_t path, int32_t NumOfWP, double *xpos, double *ypos, const double *speeds, const int32_t *moveMode);
ZVK_API int32_t ZVK_Galvo_GetBuffer(SessionHandle SessionHandle, double *buffer, int32_t bufferSize);
ZVK_API int32_t ZVK_Galvo_DaqInit(SessionHandle SessionHandle, int32_t autoUpdate);
ZVK_API int32_t ZVK_Galvo_WriteBuffer(SessionHandle SessionHandle);
ZVK_API int32_t ZVK_Galvo_DaqStop(SessionHandle Vi);
ZVK_API int32_t ZVK_Galvo_DaqClkUpdate(SessionHandle SessionHandle, int32_t onOff);
ZVK_API int32_t ZVK_Galvo_GetBufferParameters(SessionHandle SessionHandle, int32_t *clockRate, int32_t *buffSize);
ZVK_API int32_t ZVK_Galvo_GetBufferWriteStatus(SessionHandle SessionHandle, int32_t *writeStatus);
ZVK_API int32_t ZVK_Galvo_SetTrajectory(SessionHandle vi, int32_t path, int32_t wp, int32_t steps, double *posX, double *posY, double *ResultingSpeed, int32_t WaveForm);
ZVK_API int32_t ZVK_Galvo_GetTrajectory(SessionHandle Vi, int32_t Path, int32_t Wp, int32_t *NumTrajPoints, double **X, double **Y);

ZVK_EXTERN_C_END

#endif
