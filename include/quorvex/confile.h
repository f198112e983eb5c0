#ifndef QUORVEX_CONFILE_H
#define QUORVEX_CONFILE_H

#include "quorvex/types.h"

ZVK_EXTERN_C_BEGIN

ZVK_API int32_t ZVK_ConFile_Read(SessionHandle vi, const char *Filename, const char *section, const char *tag, void *data, int16_t type);
ZVK_API int32_t ZVK_ConFile_Write(SessionHandle vi, const char *Filename, const char *section, const char *tag, const void *data, int16_t type);
ZVK_API int32_t ZVK_ConFile_WriteLog(SessionHandle vi, const char *Filename, const char *msg);
ZVK_API int32_t ZVK_ConFile_Extract(SessionHandle vi, char *source, const char *tofind);
ZVK_API int32_t ZVK_ConFile_WriteObjective(SessionHandle vi, const char *Filename, char *Section, int32_t coeffnum, const double *dataX, const double *dataY, const double *dataIX, const double *dataIY, const double *field);
ZVK_API int32_t ZVK_ConFile_ReadObjective(SessionHandle vi, const char *Filename, const char *section, int32_t coeffnum, double *dataAX, double *dataAY, double *dataIAX, double *dataIAY, double *field);
ZVK_API int32_t ZVK_ConFile_WriteForceCalibration(SessionHandle vi, const char *Filename, int32_t TrapPath, int32_t NumberOfCalibrationTypesBeta, int32_t NumberOfCalibrationTypesK, const double *Beta, const double *K);
ZVK_API int32_t ZVK_ConFile_ReadForceCalibration(SessionHandle Vi, const char *Filename, int32_t TrapPath, int32_t *NumberOfCalibrationTypesBeta, int32_t *NumberOfCalibrationTypesK, double **Beta, double **K);

ZVK_EXTERN_C_END

#endif
