#ifndef QUORVEX_COORDINATES_H
#define QUORVEX_COORDINATES_H

#include "quorvex/types.h"

ZVK_EXTERN_C_BEGIN

ZVK_API int32_t ZVK_CoordinateSystems_Init(SessionHandle SessionHandle, uint16_t IDQuery, uint16_t ResetInstrument);
ZVK_API int32_t ZVK_CoordinateSystems_Shutdown(SessionHandle SessionHandle);
ZVK_API int32_t ZVK_CoordinateSystems_Convert(SessionHandle SessionHandle, int32_t path, double *x, double *y, int32_t trafo_dir);
ZVK_API int32_t ZVK_CoordinateSystems_GetCalRange(SessionHandle SessionHandle, int32_t path, double *xCalMin, double *xCalMax, double *yCalMin, double *yCalMax, int32_t unit);
ZVK_API int32_t ZVK_CoordinateSystems_GetCameraScale(SessionHandle SessionHandle, double *ScaleX, double *ScaleY);
ZVK_API int32_t ZVK_CoordinateSystems_CalibrateCamera(SessionHandle SessionHandle, int32_t Path, double scaleX, double scaleY);
ZVK_API int32_t ZVK_CoordinateSystems_GetTrafoCoeffs(SessionHandle SessionHandle, int32_t Path, int32_t *CoeffNum, double **dataX, double **dataY, double **dataXI, double **dataYI);
ZVK_API int32_t ZVK_CoordinateSystems_SetTrafoCoeff(SessionHandle SessionHandle, int32_t Path, int32_t CoeffNum, const double *DataX, const double *DataY, const double *DataXI, const double *DataYI, const double *Limits);
ZVK_API int32_t ZVK_CoordinateSystems_PolyFit(SessionHandle SessionHandle, int32_t n, int32_t order, int32_t algorithm, double **xy, double **vw, double *coeffX, double *coeffY);

ZVK_EXTERN_C_END

#endif
