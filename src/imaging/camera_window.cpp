// The camera's windows: made and placed by the configuration, found by a client, and their mouse.

#include "imaging/camera.h"
#include "imaging/camera_keys.h"
#include "platform/messages.h"
#include "platform/windows.h"
#include "quorvex/camera.h"

#include <cmath>

const char *const kCameraWindow = "Camera Window";
const char *const kHistogramWindow = "Histogram";
static const char *const kMouseMessage = "ZVK_MOUSE_EVENT";

constexpr uint32_t kSystemMenu = 0x80000;
constexpr uint32_t kOnTop = 0x8;
constexpr uint32_t kChildStyle = 0x08040008;  // on top, in the task bar, without the focus

static int32_t Or(int32_t size, int32_t instead) { return size == 0 ? instead : size; }

static void *FindWithoutMenu(const char *title)
{
    void *window = Windows().find(title);
    const uint32_t style = Windows().style(window, ZVK_WINDOW_STYLE);
    (void)Windows().setStyle(window, ZVK_WINDOW_STYLE, style & ~kSystemMenu);
    return window;
}

// `to` tells where the changed bits of the extended style go: the histogram window writes them to
// its plain style. The difference is meant.
static void PutIntoParent(void *window, const char *parentTitle, uint32_t bits, ZVK_WindowStyle to)
{
    void *parent = Windows().find(parentTitle);
    const uint32_t style = Windows().style(window, ZVK_WINDOW_EXTENDED_STYLE);
    (void)Windows().setStyle(window, to, style | bits);
    (void)Windows().raise(window);
    (void)Windows().setParent(window, parent);
}

static int32_t MakeCameraWindow(SessionHandle vi)
{
    ZVK_WindowKeys keys = {};
    const int32_t status = ReadKeys(vi, "config.ini", kCameraSection, kCameraWindowKeys, &keys);
    if (status < 0) return status;

    (void)Windows().open(kCameraWindow);
    const int32_t width = Or(keys.width, 800);
    const int32_t height = Or(keys.height, 600);
    (void)Windows().resize(kCameraWindow, width, height);
    {
        const std::lock_guard data(CameraData());
        g_camera.displayWidth = g_camera.viewWidth = width;
        g_camera.displayHeight = g_camera.viewHeight = height;
        if (g_camera.simulate != 0) g_camera.viewX = g_camera.viewY = 0;
    }
    (void)Windows().move(kCameraWindow, keys.offsetX, keys.offsetY);
    void *window = FindWithoutMenu(kCameraWindow);
    if (keys.child != 0)
        PutIntoParent(window, keys.parent.text, kChildStyle, ZVK_WINDOW_EXTENDED_STYLE);
    (void)Windows().onMouse(kCameraWindow, ZVK_Camera_MouseCallback, nullptr);
    CameraSet(&ZVK_CameraState::mouseMessage, Messages().registerName(kMouseMessage));
    return ZVK_SUCCESS;
}

static int32_t MakeHistogramWindow(SessionHandle vi)
{
    ZVK_WindowKeys keys = {};
    const int32_t status = ReadKeys(vi, "config.ini", kCameraSection, kHistogramWindowKeys, &keys);
    if (status < 0) return status;

    (void)Windows().open(kHistogramWindow);
    (void)Windows().resize(kHistogramWindow, Or(keys.width, 255), Or(keys.height, 100));
    (void)Windows().move(kHistogramWindow, keys.offsetX, keys.offsetY);
    void *window = FindWithoutMenu(kHistogramWindow);
    if (keys.child != 0) PutIntoParent(window, keys.parent.text, kOnTop, ZVK_WINDOW_STYLE);
    return ZVK_SUCCESS;
}

int ZVK_Camera_InitWindow(SessionHandle SessionHandle)
{
    int32_t status = MakeCameraWindow(SessionHandle);
    if (status < 0) return status;
    ZVK_HistogramKeys keys = {CameraGet(&ZVK_CameraState::histogramSupport)};
    status = ReadKeys(SessionHandle, "config.ini", kCameraSection, kHistogramKeys, &keys);
    CameraSet(&ZVK_CameraState::histogramSupport, keys.support);
    if (status < 0) return status;
    if (keys.support != 1) return ZVK_SUCCESS;
    return MakeHistogramWindow(SessionHandle);
}

void ShowPicture(const char *title, const cv::Mat &picture)
{
    if (picture.empty()) return;
    (void)Windows().show(
        title, {picture.data, picture.cols, picture.rows, static_cast<int64_t>(picture.step[0])});
}

// A window that shows no part of the frame has no pixel to tell: what can't be counted is 0.
static int32_t Truncated(float value)
{
    constexpr float kMost = 2147483520.0F;  // the largest float below 2 to the power of 31
    if (std::isnan(value)) return 0;
    return static_cast<int32_t>(std::fmax(-kMost, std::fmin(value, kMost)));
}

// The frame pixel behind a window pixel, in single precision.
static int32_t FramePixel(int32_t at, int32_t display, int32_t view, int32_t viewed,
                          int32_t binning)
{
    const auto bin = static_cast<float>(binning);
    const float scale = static_cast<float>(display) / (static_cast<float>(viewed) * bin);
    return Truncated(static_cast<float>(at) / scale + static_cast<float>(view) * bin);
}

// Two numbers in one word of the message. Too large a pixel runs into its neighbour's field.
static int64_t Packed(int32_t high, int32_t shift, int32_t low)
{
    const uint32_t word = (static_cast<uint32_t>(high) << shift) | static_cast<uint32_t>(low);
    return static_cast<int32_t>(word);
}

// Flipped pictures are not taken into account: the message tells the pixel of the unflipped one.
void ZVK_Camera_MouseCallback(int event, int x, int y, int flags, void *)
{
    int32_t pixelX = 0;
    int32_t pixelY = 0;
    uint32_t message = 0;
    {
        const std::lock_guard data(CameraData());
        pixelX = FramePixel(x, g_camera.displayWidth, g_camera.viewX, g_camera.viewWidth,
                            g_camera.binning);
        pixelY = FramePixel(y, g_camera.displayHeight, g_camera.viewY, g_camera.viewHeight,
                            g_camera.binning);
        g_camera.pixelX = pixelX;
        g_camera.pixelY = pixelY;
        message = g_camera.mouseMessage;
    }
    // Nobody to listen, or no room: the position can be asked for all the same.
    (void)Messages().post(message, Packed(flags, 4, event), Packed(pixelY, 12, pixelX));
}

int32_t ZVK_Camera_GetWinHandle(SessionHandle SessionHandle, void *HandlePtr)
{
    ZVK_WindowKeys keys = {};
    const int32_t status =
        ReadKeys(SessionHandle, "config.ini", kCameraSection, kCameraHandleKeys, &keys);
    if (status < 0) return status;
    void *window = nullptr;
    if (keys.child == 0) {
        window = Windows().find(kCameraWindow);
    } else {
        window = Windows().findChild(Windows().find(keys.parent.text), kCameraWindow);
    }
    if (HandlePtr) *static_cast<void **>(HandlePtr) = window;
    return ZVK_SUCCESS;
}
