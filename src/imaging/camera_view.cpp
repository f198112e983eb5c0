// What clients set while frames run: the view, live frames, the overlay switches; and what the
// simulated camera tells of itself when it comes up.

#include "imaging/camera.h"
#include "imaging/camera_keys.h"
#include "imaging/overlay_switches.h"
#include "quorvex/camera.h"

#include <cstdlib>
#include <cstring>

static const char *const kModelName = "Simulated Camera";
constexpr int32_t kSensorInstead = 512;  // columns and rows, when none are configured

// One side, from its row of the keys.
static int32_t ReadSide(SessionHandle vi, size_t row, int32_t ZVK_SensorKeys::*side, int32_t *out)
{
    const ZVK_KeyTable key = {kSensorKeys.module, kSensorKeys.sections, kSensorKeys.rows + row, 1};
    ZVK_SensorKeys keys = {};
    const int32_t status = ReadKeys(vi, "config.ini", kCameraSection, key, &keys);
    if (status >= 0) *out = keys.*side;
    return status;
}

int32_t ZVK_Camera_GetNativeResolution(SessionHandle SessionHandle, int32_t *horizontalResolution,
                                       int32_t *verticalResolution, int32_t *, int32_t *)
{
    if (!CameraSimulated()) return ZVK_CAMERA_NOT_INITIALIZED;
    int32_t nowhere[2] = {};
    int32_t &width = horizontalResolution ? *horizontalResolution : nowhere[0];
    int32_t &height = verticalResolution ? *verticalResolution : nowhere[1];
    int32_t status = ReadSide(SessionHandle, 0, &ZVK_SensorKeys::width, &width);
    if (status < 0) return status;
    status = ReadSide(SessionHandle, 1, &ZVK_SensorKeys::height, &height);
    if (status < 0) return status;
    if (width == 0) width = height = kSensorInstead;

    const std::lock_guard data(CameraData());
    g_camera.nativeWidth = width;
    g_camera.nativeHeight = height;
    return ZVK_SUCCESS;
}

int32_t ZVK_Camera_GetModelName(SessionHandle, char *modelName)
{
    if (!CameraSimulated()) return ZVK_CAMERA_NOT_INITIALIZED;
    if (modelName) std::strcpy(modelName, kModelName);
    return ZVK_SUCCESS;
}

int32_t ZVK_Camera_SetExposureTime(SessionHandle, float timeInS, float *actualTimeInS)
{
    if (!CameraSimulated()) return ZVK_CAMERA_NOT_INITIALIZED;
    if (actualTimeInS) *actualTimeInS = timeInS;
    return ZVK_SUCCESS;
}

// -- switches: at any time, with no camera too --

static uint8_t Flag(int32_t on) { return on != 0 ? 1 : 0; }

void SetSdkOverlay(int32_t on) { CameraSet(&ZVK_CameraState::sdkOverlayOn, Flag(on)); }

void SetTrapMarkers(int32_t on) { CameraSet(&ZVK_CameraState::trapMarkersOn, Flag(on)); }

int32_t SdkOverlay() { return CameraGet(&ZVK_CameraState::sdkOverlayOn); }

int32_t TrapMarkers() { return CameraGet(&ZVK_CameraState::trapMarkersOn); }

int32_t ZVK_Camera_SetUserOverlay(SessionHandle, uint16_t EnableOverlay)
{
    CameraSet(&ZVK_CameraState::userOverlayOn, Flag(EnableOverlay));
    return ZVK_SUCCESS;
}

int32_t ZVK_Camera_SetSDKOverlay(SessionHandle, uint16_t EnableOverlay)
{
    SetSdkOverlay(EnableOverlay);
    return ZVK_SUCCESS;
}

int32_t ZVK_Camera_SetTrapMarkers(SessionHandle, uint16_t EnableMarkers)
{
    SetTrapMarkers(EnableMarkers);
    return ZVK_SUCCESS;
}

int32_t ZVK_Camera_SetFrameRate(SessionHandle, uint16_t EnableFrameRate)
{
    CameraSet(&ZVK_CameraState::frameRateOn, Flag(EnableFrameRate));
    return ZVK_SUCCESS;
}

int32_t ZVK_Camera_SetCalField(SessionHandle, int32_t TrapPath, uint16_t EnableCalFields)
{
    if (TrapPath != ZVK_PATH_A && TrapPath != ZVK_PATH_B) return ZVK_CAMERA_BAD_PATH;
    const std::lock_guard data(CameraData());
    g_camera.calFieldOn[TrapPath] = Flag(EnableCalFields);
    return ZVK_SUCCESS;
}

// -- live frames: wishes that the simulated stream, which always runs, has no use for --

int32_t ZVK_Camera_StartVideo(SessionHandle)
{
    if (!CameraInitialised()) return ZVK_CAMERA_NOT_INITIALIZED;
    CameraSet(&ZVK_CameraState::liveRequested, uint8_t{1});
    return ZVK_SUCCESS;
}

int32_t ZVK_Camera_StopVideo(SessionHandle)
{
    if (!CameraInitialised()) return ZVK_CAMERA_NOT_INITIALIZED;
    const std::lock_guard data(CameraData());
    g_camera.liveRequested = 0;
    g_camera.acquisitionMode = 0;
    return ZVK_SUCCESS;
}

int32_t ZVK_Camera_SnapShot(SessionHandle)
{
    if (!CameraInitialised()) return ZVK_CAMERA_NOT_INITIALIZED;
    const std::lock_guard data(CameraData());
    g_camera.liveRequested = 0;
    g_camera.snapRequested = 1;
    return ZVK_SUCCESS;
}

// -- view --

int32_t ZVK_Camera_GetZoom(SessionHandle, int32_t *XCenter, int32_t *YCenter, double *Zoom)
{
    if (!CameraInitialised()) return ZVK_CAMERA_NOT_INITIALIZED;
    const std::lock_guard data(CameraData());
    if (XCenter) *XCenter = g_camera.viewWidth / 2 + g_camera.viewX;
    if (YCenter) *YCenter = g_camera.viewHeight / 2 + g_camera.viewY;
    if (Zoom) *Zoom = g_camera.zoom;
    return ZVK_SUCCESS;
}

// Lock CameraData.
static void ViewWholeFrame()
{
    g_camera.viewX = 0;
    g_camera.viewY = 0;
    g_camera.viewWidth = g_camera.acquiredWidth;
    g_camera.viewHeight = g_camera.acquiredHeight;
    g_camera.zoom = 1.0;
}

// Where a length about a centre begins, pushed back into the frame. A frame without pixels has a
// view without pixels.
static int32_t BeginOfView(int32_t center, int32_t length, int32_t frame)
{
    const int64_t begin = int64_t{center} - length / 2;
    if (begin + length + 1 > frame && begin >= 0) return frame - length;
    return begin < 0 ? 0 : static_cast<int32_t>(begin);
}

static bool IsOutside(int32_t center, int32_t frame) { return std::llabs(center) > frame; }

int32_t ZVK_Camera_SetZoom(SessionHandle, int32_t X, int32_t Y, double Zoom)
{
    if (!CameraInitialised()) return ZVK_CAMERA_NOT_INITIALIZED;
    {
        const std::lock_guard data(CameraData());
        if (!(Zoom > 1.0)) {  // also what is not a number
            ViewWholeFrame();
            return ZVK_SUCCESS;
        }
        const int32_t cx = X / g_camera.binning;
        const int32_t cy = Y / g_camera.binning;
        const auto width = static_cast<int32_t>(g_camera.acquiredWidth / Zoom);
        const auto height = static_cast<int32_t>(g_camera.acquiredHeight / Zoom);
        if (IsOutside(cx, g_camera.acquiredWidth)) return ZVK_CAMERA_BAD_ZOOM_CENTER;
        if (IsOutside(cy, g_camera.acquiredHeight)) return ZVK_CAMERA_BAD_ZOOM_CENTER;
        g_camera.viewX = BeginOfView(cx, width, g_camera.acquiredWidth);
        g_camera.viewY = BeginOfView(cy, height, g_camera.acquiredHeight);
        g_camera.viewWidth = width;
        g_camera.viewHeight = height;
        g_camera.zoom = Zoom;
        g_camera.zoomCenter = {width / 2 + g_camera.viewX, height / 2 + g_camera.viewY};
        g_camera.frameReady = 1;
    }
    CameraChanged();
    return ZVK_SUCCESS;
}
