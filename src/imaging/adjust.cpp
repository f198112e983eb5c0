// Contrast, background and flip: the arithmetic on a frame, and what clients set of it.

#include "imaging/adjust.h"

#include "imaging/camera.h"
#include "imaging/color_mode.h"
#include "quorvex/camera.h"

#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <cstddef>
#include <utility>

constexpr double kBrightest = 255.0;
constexpr int32_t kLeastFlip = -1;
constexpr int32_t kMostFlip = 4;
constexpr int32_t kTransposed = 3;  // this one and above
constexpr double kMost12Bit = 4095.0;
constexpr double kMost14Bit = 16383.0;
constexpr double kMost16Bit = 65535.0;

void ZVK_Camera_AdjustBrightnessContrast(const cv::Mat &input, cv::Mat &output, double lowCount,
                                         double highCount)
{
    if (input.empty()) return;
    const double factor = kBrightest / (highCount - lowCount);
    cv::add(input, cv::Scalar(-lowCount, -lowCount, -lowCount, 0.0), g_camera.contrastScratchImage);
    cv::convertScaleAbs(g_camera.contrastScratchImage, output, factor, 0.0);
}

void SplitPlanes(const cv::Mat &image)
{
    ZVK_CameraImage *planes = g_camera.planeImage;
    cv::Mat pixels[3] = {planes[0], planes[1], planes[2]};  // the same ones, as OpenCV takes them
    cv::split(image, pixels);
}

namespace {

struct Limits
{
    double low = 0.0;
    double high = 0.0;
};

}  // namespace

static Limits LimitsOf(const cv::Mat &plane)
{
    Limits limits;
    cv::minMaxLoc(plane, &limits.low, &limits.high);
    return limits;
}

static Limits LimitsOfPlanes()
{
    Limits all = LimitsOf(g_camera.planeImage[0]);
    for (size_t i = 1; i < 3; ++i) {
        const Limits limits = LimitsOf(g_camera.planeImage[i]);
        all.low = std::min(all.low, limits.low);
        all.high = std::max(all.high, limits.high);
    }
    return all;
}

static void KeepLimits(const Limits &limits)
{
    const std::lock_guard data(CameraData());
    g_camera.contrastLow = limits.low;
    g_camera.contrastHigh = limits.high;
}

// A camera that is both grey and colour takes the limits of its colours.
void TakeContrastLimits()
{
    if (g_camera.workImage.empty()) return;
    const int32_t colorMode = CameraGet(&ZVK_CameraState::colorMode);
    if ((colorMode & kMonochrome) != 0) {
        cv::cvtColor(g_camera.workImage, g_camera.rawImage, cv::COLOR_BGR2GRAY);
        KeepLimits(LimitsOf(g_camera.rawImage));
    }
    if ((colorMode & kColor) != 0) {
        SplitPlanes(g_camera.workImage);
        KeepLimits(LimitsOfPlanes());
    }
}

void BlendBackground()
{
    if (g_camera.workImage.empty() || g_camera.backgroundImage.empty()) return;
    const double alpha = CameraGet(&ZVK_CameraState::overlayAlpha);
    cv::addWeighted(g_camera.workImage, alpha, g_camera.backgroundImage, 1.0 - alpha, 0.0,
                    g_camera.blendImage);
    g_camera.blendImage.copyTo(g_camera.workImage);
}

void StretchContrast()
{
    Limits limits;
    {
        const std::lock_guard data(CameraData());
        limits = {g_camera.contrastLow, g_camera.contrastHigh};
    }
    ZVK_Camera_AdjustBrightnessContrast(g_camera.workImage, g_camera.adjustedImage, limits.low,
                                        limits.high);
}

// A transposed picture is pressed back into the window's shape.
void FlipPicture()
{
    if (g_camera.scaledImage.empty()) return;
    int32_t flip = CameraGet(&ZVK_CameraState::flip);
    if (flip == 0) return;
    if (flip >= kTransposed) {
        cv::transpose(g_camera.scaledImage, g_camera.flipImage);
        cv::resize(g_camera.flipImage, g_camera.scaledImage, g_camera.scaledImage.size(), 0.0, 0.0,
                   cv::INTER_AREA);
        flip -= 2;
    }
    cv::flip(g_camera.scaledImage, g_camera.scaledImage, flip - 1);
}

// -- what clients set --

int32_t ZVK_Camera_SetAutoContrast(SessionHandle, uint16_t AutoContrast)
{
    if (!CameraInitialised()) return ZVK_CAMERA_NOT_INITIALIZED;
    CameraSet(&ZVK_CameraState::autoContrast, static_cast<uint8_t>(AutoContrast != 0));
    return ZVK_SUCCESS;
}

int32_t ZVK_Camera_GetContrastLimits(SessionHandle, double *lowerLimit, double *upperLimit)
{
    if (!CameraInitialised()) return ZVK_CAMERA_NOT_INITIALIZED;
    const std::lock_guard data(CameraData());
    if (lowerLimit) *lowerLimit = g_camera.contrastLow;
    if (upperLimit) *upperLimit = g_camera.contrastHigh;
    return ZVK_SUCCESS;
}

int32_t ZVK_Camera_SetContrastLimits(SessionHandle, double lowerLimit, double upperLimit)
{
    const bool ordered = upperLimit > lowerLimit;
    const std::lock_guard data(CameraData());
    g_camera.contrastLow = ordered ? lowerLimit : upperLimit;
    g_camera.contrastHigh = ordered ? upperLimit : lowerLimit;
    g_camera.contrastChanged = 1;
    return ZVK_SUCCESS;
}

int32_t ZVK_Camera_EnableLiveAsBackgroundImage(SessionHandle, uint16_t EnableOverlay)
{
    if (!CameraInitialised()) return ZVK_CAMERA_NOT_INITIALIZED;
    CameraSet(&ZVK_CameraState::backgroundOn, static_cast<uint8_t>(EnableOverlay != 0));
    return ZVK_SUCCESS;
}

int32_t ZVK_Camera_SetCurrentLiveAsBackgroundImage(SessionHandle)
{
    if (!CameraInitialised()) return ZVK_CAMERA_NOT_INITIALIZED;
    const std::scoped_lock images(CameraPicture(), CameraFrame());
    if (g_camera.acquiredImage.size() == g_camera.backgroundImage.size())  // else there are none
        g_camera.acquiredImage.copyTo(g_camera.backgroundImage);
    return ZVK_SUCCESS;
}

int32_t ZVK_Camera_SetOverlayAlpha(SessionHandle, double Alpha)
{
    if (!CameraInitialised()) return ZVK_CAMERA_NOT_INITIALIZED;
    const bool outside = Alpha < 0.0 || Alpha > 1.0;
    const double inside = Alpha < 0.0 ? 0.0 : 1.0;
    CameraSet(&ZVK_CameraState::overlayAlpha, outside ? inside : Alpha);
    return outside ? ZVK_CAMERA_BAD_ALPHA : ZVK_SUCCESS;
}

// The largest count of the deepest image that the mode tells. Modes of 8 bits leave it alone.
static void RaiseContrast()
{
    static constexpr std::pair<int32_t, double> kDepths[] = {
        {k12Bit, kMost12Bit}, {k14Bit, kMost14Bit}, {k16Bit, kMost16Bit}};
    const std::lock_guard data(CameraData());
    for (const auto &[bit, most] : kDepths)
        if ((g_camera.colorMode & bit) != 0) g_camera.contrastHigh = most;
}

// The weighted sum of the planes becomes the first plane; the second weight of the sum so far is
// R + G as it stands.
static void RecolorBackground(double R, double G, double B)
{
    const std::lock_guard picture(CameraPicture());
    if (g_camera.backgroundImage.empty()) return;
    ZVK_CameraImage *planes = g_camera.planeImage;
    SplitPlanes(g_camera.backgroundImage);
    cv::addWeighted(planes[0], R, planes[1], G, 0.0, planes[0]);
    cv::addWeighted(planes[0], R + G, planes[2], B, 0.0, planes[0]);
    cv::insertChannel(planes[0], g_camera.backgroundImage, 0);
}

int32_t ZVK_Camera_AdjustFlOverlayRGB(SessionHandle, double R, double G, double B)
{
    if (!CameraInitialised()) return ZVK_CAMERA_NOT_INITIALIZED;
    CameraSet(&ZVK_CameraState::backgroundOn, uint8_t{0});
    RaiseContrast();
    int32_t status = ZVK_SUCCESS;
    try {
        RecolorBackground(R, G, B);
    } catch (const std::exception &) {  // cv::Exception or std::bad_alloc
        status = ZVK_CAMERA_NO_MEMORY;
    }
    CameraSet(&ZVK_CameraState::backgroundOn, uint8_t{1});
    return status;
}

int32_t ZVK_Camera_FlipImage(SessionHandle, int32_t Flip)
{
    if (Flip < kLeastFlip || Flip > kMostFlip) return ZVK_CAMERA_BAD_PARAMETER;
    CameraSet(&ZVK_CameraState::flip, Flip);
    return ZVK_SUCCESS;
}
