// The display loop: each frame that is handed over becomes what the camera window shows.

#include "imaging/adjust.h"
#include "imaging/camera.h"
#include "imaging/overlay.h"
#include "imaging/recording.h"

#include <opencv2/imgproc.hpp>

#include <exception>

static bool BeginDisplay()
{
    {
        const std::lock_guard data(CameraData());
        if (g_camera.stopDisplay != 0) return false;
        g_camera.runDisplay = 1;
        g_camera.displayRunning = 1;
    }
    CameraChanged();
    return true;
}

static void EndDisplay()
{
    CameraSet(&ZVK_CameraState::displayRunning, uint8_t{0});
    CameraChanged();
}

static bool WaitForHandOver()
{
    std::unique_lock data(CameraData());
    CameraCondition().wait(data,
                           [] { return g_camera.runDisplay == 0 || g_camera.frameConsumed == 0; });
    return g_camera.runDisplay != 0;
}

// The part of the frame that is shown.
static cv::Mat Viewed(const cv::Mat &frame)
{
    cv::Rect view;
    {
        const std::lock_guard data(CameraData());
        view = {g_camera.viewX, g_camera.viewY, g_camera.viewWidth, g_camera.viewHeight};
    }
    view &= cv::Rect({0, 0}, frame.size());
    return frame(view);
}

// Scales what is viewed to the window. Where there is nothing to view the last picture stays.
static void ScaleView()
{
    const cv::Mat viewed = Viewed(g_camera.adjustedImage);
    if (viewed.empty()) return;
    cv::resize(viewed, g_camera.scaledImage, g_camera.scaledImage.size(), 0.0, 0.0, cv::INTER_AREA);
}

static void AddOverlay()
{
    if (CameraGet(&ZVK_CameraState::userOverlayOn) == 0) {
        g_camera.scaledImage.copyTo(g_camera.displayImage);
        return;
    }
    cv::addWeighted(g_camera.scaledImage, 1.0, g_camera.userOverlayImage, 1.0, 0.0,
                    g_camera.displayImage);
}

// Only a hardware camera's frames are stretched each time.
static void AdjustFrame()
{
    constexpr int32_t kStretched = 8 | 32 | 64;  // bits of the backend
    bool stretch = false;
    {
        const std::lock_guard data(CameraData());
        stretch = g_camera.simulate == 0 &&
                  (g_camera.autoContrast != 0 || (g_camera.backend & kStretched) != 0);
    }
    if (stretch) {
        StretchContrast();
    } else {
        g_camera.workImage.copyTo(g_camera.adjustedImage);
    }
}

// New limits are shown at once. This stands behind the flip: the picture in which they change is
// unflipped.
static void ShowNewLimits()
{
    {
        const std::lock_guard data(CameraData());
        if (g_camera.contrastChanged == 0) return;
        g_camera.contrastChanged = 0;  // a change from here on is shown in the next pass
    }
    StretchContrast();
    ScaleView();
}

// The steps between a frame and the window, in their order.
static void MakePicture()
{
    const auto isOn = [](uint8_t ZVK_CameraState::*flag) { return CameraGet(flag) != 0; };
    if (isOn(&ZVK_CameraState::computeHistogram)) (void)ComputeHistogramOfFrame();
    if (isOn(&ZVK_CameraState::autoContrast)) TakeContrastLimits();
    if (isOn(&ZVK_CameraState::backgroundOn)) BlendBackground();
    AdjustFrame();
    ScaleView();
    FlipPicture();
    ShowNewLimits();
    AddOverlay();
    if (isOn(&ZVK_CameraState::sdkOverlayOn))
        ZVK_Camera_DrawOverlay(CameraGet(&ZVK_CameraState::loopSession));
}

static void WorkOnFrame()
{
    const std::lock_guard picture(CameraPicture());
    if (g_camera.workImage.empty() || g_camera.scaledImage.empty()) return;
    MakePicture();
    ShowPicture(kCameraWindow, g_camera.displayImage);
    RecordPicture();
}

bool DisplayPass()
{
    if (!WaitForHandOver()) return false;
    try {
        WorkOnFrame();
        EndLoopsBeforeExit();
    } catch (const std::exception &) {  // cv::Exception or std::bad_alloc: the frame isn't shown
    }
    CameraSet(&ZVK_CameraState::frameConsumed, uint8_t{1});
    CameraChanged();
    return true;
}

int ZVK_Camera_DisplayLoop(void *)
{
    if (!BeginDisplay()) return 0;
    while (DisplayPass()) {
    }
    EndDisplay();
    return 0;
}
