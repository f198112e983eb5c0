// The settings of hardware cameras, by their names. The simulated camera takes them all and keeps
// none.

#include "imaging/camera.h"
#include "quorvex/camera.h"

static int32_t AnswerSimulated()
{
    return CameraSimulated() ? ZVK_SUCCESS : ZVK_CAMERA_NOT_INITIALIZED;
}

int32_t ZVK_Camera_SetADC(SessionHandle, int32_t) { return AnswerSimulated(); }

int32_t ZVK_Camera_SetFrameTransferMode(SessionHandle, uint16_t) { return AnswerSimulated(); }

int32_t ZVK_Camera_SetBaseLineClamping(SessionHandle, uint16_t) { return AnswerSimulated(); }

int32_t ZVK_Camera_SetShutterAndor(SessionHandle, int32_t, int32_t, int32_t)
{
    return AnswerSimulated();
}

int32_t ZVK_Camera_SetHSSpeedAndor(SessionHandle, int32_t, int32_t, int32_t)
{
    return AnswerSimulated();
}

int32_t ZVK_Camera_SetPreampGainAndor(SessionHandle, int32_t) { return AnswerSimulated(); }

int32_t ZVK_Camera_SetGainMode(SessionHandle, int32_t) { return AnswerSimulated(); }

int32_t ZVK_Camera_SetEMGainAndor(SessionHandle, int32_t) { return AnswerSimulated(); }

int32_t ZVK_Camera_SetVSSpeedAndor(SessionHandle, int32_t) { return AnswerSimulated(); }

int32_t ZVK_Camera_SetTriggerOutMode(SessionHandle, int32_t) { return AnswerSimulated(); }

int32_t ZVK_Camera_SetTriggerOutPolarity(SessionHandle, int32_t) { return AnswerSimulated(); }

int32_t ZVK_Camera_SetTriggerOutTimeParameters(SessionHandle, float, float)
{
    return AnswerSimulated();
}

int32_t ZVK_Camera_SetTriggerOutActive(SessionHandle, uint16_t) { return AnswerSimulated(); }

int32_t ZVK_Camera_SetTriggerMode(SessionHandle, int32_t) { return AnswerSimulated(); }

int32_t ZVK_Camera_SetAcquisitionMode(SessionHandle, int32_t) { return AnswerSimulated(); }

int32_t ZVK_Camera_AutoWhiteBalance(SessionHandle) { return AnswerSimulated(); }

int32_t ZVK_Camera_SetGain(SessionHandle, int64_t) { return AnswerSimulated(); }

int32_t ZVK_Camera_SetReadSpeed(SessionHandle, int32_t) { return AnswerSimulated(); }

int32_t ZVK_Camera_SetAutoGain(SessionHandle, uint16_t) { return AnswerSimulated(); }

int32_t ZVK_Camera_WaitForCamera(SessionHandle) { return AnswerSimulated(); }

// -- two getters without a value --

int32_t ZVK_Camera_GetExposureTime(SessionHandle, float *) { return AnswerSimulated(); }

int32_t ZVK_Camera_GetShutterSpeedAndor(SessionHandle, int32_t *, int32_t *)
{
    return AnswerSimulated();
}
