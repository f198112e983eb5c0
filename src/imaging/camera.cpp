// The camera module comes up and goes down; its record and locks.

#include "imaging/camera.h"

#include "imaging/camera_keys.h"
#include "imaging/recording.h"
#include "platform/clock.h"
#include "platform/windows.h"
#include "quorvex/camera.h"

#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <iterator>
#include <new>

constexpr double kTrapFontScale = 0.5;
constexpr double kTextFontScale = 0.4;

namespace {

struct Locks
{
    std::recursive_mutex turn;
    std::mutex picture;
    std::mutex frame;
    std::mutex writer;
    std::mutex data;
    std::condition_variable changed;  // with data
};

}  // namespace

// The record and the locks are never destroyed: the loops use them while the process ends. Both
// have their room from the load on, so that no call can fail for them.
template <class Record>
static Record &NeverDestroyed()
{
    alignas(Record) static unsigned char room[sizeof(Record)];
    static Record &record = *::new (static_cast<void *>(room)) Record;
    return record;
}

ZVK_CameraState &g_camera = NeverDestroyed<ZVK_CameraState>();

static Locks &TheLocks() { return NeverDestroyed<Locks>(); }

std::recursive_mutex &CameraTurn() { return TheLocks().turn; }

std::mutex &CameraPicture() { return TheLocks().picture; }

std::mutex &CameraFrame() { return TheLocks().frame; }

std::mutex &CameraWriter() { return TheLocks().writer; }

std::mutex &CameraData() { return TheLocks().data; }

std::condition_variable &CameraCondition() { return TheLocks().changed; }

void CameraChanged() { CameraCondition().notify_all(); }

bool CameraSimulated()
{
    const std::lock_guard data(CameraData());
    return g_camera.installed != 0 && g_camera.simulate != 0;
}

bool CameraInitialised()
{
    const std::lock_guard data(CameraData());
    return g_camera.installed != 0 && g_camera.initialised == 1;
}

int ZVK_Camera_CheckCompile(void)
{
    const int32_t backend = CameraGet(&ZVK_CameraState::backend);
    return backend == 1 || backend == 8 || backend == 64 ? -1 : 0;
}

void ZVK_Camera_LogAndorError(SessionHandle, int) {}

void ZVK_Camera_InitFonts(SessionHandle)
{
    const auto font = [](double scale) {
        return ZVK_CameraFont{cv::FONT_HERSHEY_SIMPLEX, scale, 1, cv::LINE_AA};
    };
    const std::lock_guard data(CameraData());
    g_camera.trapFont = font(kTrapFontScale);
    g_camera.textFont = font(kTextFontScale);
    g_camera.spareFont = font(kTextFontScale);
}

// What the camera is. Keys that stand before one that fails count.
static int32_t ReadCamera(SessionHandle vi)
{
    ZVK_CameraKeys keys = {
        CameraGet(&ZVK_CameraState::installed), CameraGet(&ZVK_CameraState::simulate),
        CameraGet(&ZVK_CameraState::backend), CameraGet(&ZVK_CameraState::colorMode)};
    const int32_t status = ReadKeys(vi, "config.ini", kCameraSection, kCameraKeys, &keys);
    const std::lock_guard data(CameraData());
    g_camera.installed = keys.installed;
    g_camera.simulate = keys.simulate;
    g_camera.backend = keys.backend;
    g_camera.colorMode = keys.colorMode;
    return status;
}

static int32_t ReadExposure(SessionHandle vi)
{
    ZVK_ExposureKeys keys = {CameraGet(&ZVK_CameraState::exposureTime)};
    const int32_t status = ReadKeys(vi, "config.ini", kCameraSection, kExposureKeys, &keys);
    CameraSet(&ZVK_CameraState::exposureTime, keys.exposureTime);
    return status;
}

// A section without the key has a cooler that is off.
static void ReadCooling(SessionHandle vi)
{
    ZVK_CoolingKeys keys = {};
    const int32_t status = ReadKeys(vi, "config.ini", kCameraSection, kCoolingKeys, &keys);
    const uint8_t on = status >= 0 && keys.start != 0 ? 1 : 0;
    CameraSet(&ZVK_CameraState::coolerOn, on);
}

static int32_t ReadCooler(SessionHandle vi)
{
    ZVK_CoolerKeys keys = {CameraGet(&ZVK_CameraState::coolerSetPoint)};
    const int32_t status = ReadKeys(vi, "config.ini", kCameraSection, kCoolerKeys, &keys);
    CameraSet(&ZVK_CameraState::coolerSetPoint, keys.setPoint);
    return status;
}

// The sensor's size as it is configured, also for the frames. The width of a sensor whose height
// can't be read counts.
static void TakeNativeResolution(SessionHandle vi)
{
    int32_t width = CameraGet(&ZVK_CameraState::nativeWidth);
    int32_t height = CameraGet(&ZVK_CameraState::nativeHeight);
    (void)ZVK_Camera_GetNativeResolution(vi, &width, &height, nullptr, nullptr);
    const std::lock_guard data(CameraData());
    g_camera.nativeWidth = g_camera.acquiredWidth = width;
    g_camera.nativeHeight = g_camera.acquiredHeight = height;
}

// The steps that a camera of any kind goes through; none of them ends the start. Without simulation
// they all answer that there is no camera.
static void BringUpCamera(SessionHandle vi)
{
    char name[sizeof g_camera.modelName] = {};
    if (ZVK_Camera_GetModelName(vi, name) == ZVK_SUCCESS) {
        const std::lock_guard data(CameraData());
        std::copy(std::begin(name), std::end(name), g_camera.modelName);
    }
    TakeNativeResolution(vi);
    int32_t resolution = 0;
    int32_t binning = 0;
    (void)ZVK_Camera_SetROI(vi, 1, 1, &resolution, &binning);
    float exposureTime = 0.0F;
    (void)ZVK_Camera_SetExposureTime(vi, CameraGet(&ZVK_CameraState::exposureTime), &exposureTime);
}

static int32_t BringUp(SessionHandle vi)
{
    int32_t status = ReadCamera(vi);
    if (status < 0) return status;
    if (ZVK_Camera_CheckCompile() != 0) return ZVK_CAMERA_NO_SUPPORT;
    status = ReadExposure(vi);
    if (status < 0) return status;
    ReadCooling(vi);
    status = ReadCooler(vi);
    if (status < 0) return status;

    CameraSet(&ZVK_CameraState::zoom, 1.0);
    CameraSet(&ZVK_CameraState::overlayAlpha, 1.0);
    CameraSet(&ZVK_CameraState::binning, 1);
    (void)ZVK_Camera_InitWindow(vi);  // a session without a window is one all the same
    ZVK_Camera_InitFonts(vi);
    if (CameraGet(&ZVK_CameraState::installed) == 0) return ZVK_SUCCESS;

    EndLoops();  // of an earlier start: one pair at a time
    // The timer may count from here on. The first frame's rate is counted from 0 s, and comes out
    // beyond all measure when that is the frame's own moment.
    (void)Clock().timer();
    const bool simulated = CameraGet(&ZVK_CameraState::simulate) != 0;
    if (simulated) CameraSet(&ZVK_CameraState::initialised, 1);
    BringUpCamera(vi);
    if (simulated) ZVK_Camera_InitFrameBuffers(vi);
    g_camera.threadPool = simulated ? 0 : 1;
    CameraSet(&ZVK_CameraState::loopSession, vi);
    StartLoops();
    return ZVK_SUCCESS;
}

int32_t ZVK_Camera_Init(SessionHandle SessionHandle, uint16_t, uint16_t)
{
    const std::lock_guard turn(CameraTurn());
    if (CameraGet(&ZVK_CameraState::initialised) == 1) return ZVK_CAMERA_ALREADY_INITIALIZED;
    return BringUp(SessionHandle);
}

// Frames end; all else stays, and the display loop rests until a later start or the process's end.
static void EndFrames()
{
    {
        const std::lock_guard data(CameraData());
        g_camera.stopAcquire = 1;
        g_camera.runAcquire = 0;
        g_camera.initialised = 0;
    }
    CameraChanged();
}

static void EndAll(SessionHandle vi)
{
    EndAcquireLoop();
    (void)ZVK_Camera_SaveVideo(vi, 0, nullptr, 0);
    EndLoops();
    CloseVideo();  // one that a stop leaves open
    ZVK_Camera_ReleaseFrameBuffers(vi);
    (void)Windows().close(kCameraWindow);
    (void)Windows().close(kHistogramWindow);
    g_camera.threadPool = 0;
    CameraSet(&ZVK_CameraState::initialised, 0);
}

int32_t ZVK_Camera_Shutdown(SessionHandle SessionHandle)
{
    const std::lock_guard turn(CameraTurn());
    if (CameraGet(&ZVK_CameraState::initialised) == 0) return ZVK_CAMERA_NOT_INITIALIZED;
    if (CameraGet(&ZVK_CameraState::simulate) == 1) {
        EndFrames();
    } else {
        EndAll(SessionHandle);
    }
    return ZVK_SUCCESS;
}
