// The histogram of the frame in hand, and its window.

#include "imaging/adjust.h"
#include "imaging/camera.h"
#include "imaging/color_mode.h"
#include "quorvex/camera.h"

#include <opencv2/imgproc.hpp>

#include <cstddef>
#include <exception>
#include <utility>

constexpr int kBins = 256;
constexpr int kBaseLine = 99;  // the lowest row of the histogram's picture
constexpr float kEndOf16Bit = 65535.0F;
static const cv::Scalar kPaper(200, 200, 200, 0);
static const cv::Scalar kInk(0, 0, 0, 0);

// The smallest depth that the mode tells counts. The end itself is in no bin. Both stay as they
// were found first, whatever the mode becomes.
static void MakeHistograms()
{
    if (CameraGet(&ZVK_CameraState::histogramsCreated) != 0) return;
    static constexpr std::pair<int32_t, float> kEnds[] = {
        {k16Bit, kEndOf16Bit}, {k14Bit, 16383.0F}, {k12Bit, 4095.0F}, {k8Bit, 255.0F}};
    const int32_t colorMode = CameraGet(&ZVK_CameraState::colorMode);
    g_camera.histogramEnd = kEndOf16Bit;
    for (const auto &[bit, end] : kEnds)
        if ((colorMode & bit) != 0) g_camera.histogramEnd = end;
    for (cv::Mat &histogram : g_camera.histograms)
        histogram = cv::Mat::zeros(kBins, 1, CV_32F);
    CameraSet(&ZVK_CameraState::histogramsCreated, uint8_t{1});
}

static void Count(const cv::Mat &plane, cv::Mat &histogram)
{
    const int channel = 0;
    const float range[] = {0.0F, g_camera.histogramEnd};
    const float *ranges[] = {range};
    cv::calcHist(&plane, 1, &channel, cv::noArray(), histogram, 1, &kBins, ranges);
}

// One upright strip a bin, from the base line to the heights of this bin and the next one.
static void DrawHistogram(const cv::Mat &histogram, double peak, cv::Mat &picture)
{
    const auto height = [&](int bin) {
        return static_cast<int>((1.0 - histogram.at<float>(bin) / peak) * kBaseLine);
    };
    picture.setTo(kPaper);
    for (int i = 0; i < kBins - 1; ++i) {
        const cv::Point left(i, kBaseLine);
        const cv::Point right(i + 1, kBaseLine);
        const bool some = peak > 0.0;
        const cv::Point upRight = some ? cv::Point(i + 1, height(i + 1)) : right;
        const cv::Point upLeft = some ? cv::Point(i, height(i)) : right;
        const cv::Point points[] = {left, right, upRight, upLeft, left};
        cv::fillConvexPoly(picture, points, 5, kInk, cv::LINE_AA, 0);
    }
}

// Both kinds are counted from the frame itself: behind a pass the one in hand holds the background.
static void CountGrey()
{
    {
        const std::lock_guard frame(CameraFrame());
        cv::cvtColor(g_camera.acquiredImage, g_camera.rawImage, cv::COLOR_BGR2GRAY);
    }
    Count(g_camera.rawImage, g_camera.histograms[0]);
    double peak = 0.0;
    cv::minMaxLoc(g_camera.histograms[0], nullptr, &peak);
    DrawHistogram(g_camera.histograms[0], peak, g_camera.histogramImage);
    ShowPicture(kHistogramWindow, g_camera.histogramImage);
}

// In colour the window stays as it was.
static void CountPlanes()
{
    {
        const std::lock_guard frame(CameraFrame());
        SplitPlanes(g_camera.acquiredImage);
    }
    for (size_t i = 0; i < 3; ++i)
        Count(g_camera.planeImage[i], g_camera.histograms[i + 1]);
}

int32_t ComputeHistogramOfFrame()
{
    if (!CameraInitialised()) return ZVK_CAMERA_NOT_INITIALIZED;
    try {
        MakeHistograms();
        if (g_camera.workImage.empty()) return ZVK_SUCCESS;  // no frames
        const int32_t colorMode = CameraGet(&ZVK_CameraState::colorMode);
        if ((colorMode & kMonochrome) != 0) CountGrey();
        if ((colorMode & kColor) != 0) CountPlanes();
    } catch (const std::exception &) {  // cv::Exception or std::bad_alloc
        return ZVK_CAMERA_NO_MEMORY;
    }
    return ZVK_SUCCESS;
}

int32_t ZVK_Camera_ComputeHistogram(SessionHandle)
{
    const std::lock_guard picture(CameraPicture());
    return ComputeHistogramOfFrame();
}

int32_t ZVK_Camera_SetComputeHistogram(SessionHandle, uint16_t ComputeHistogram)
{
    if (!CameraInitialised()) return ZVK_CAMERA_NOT_INITIALIZED;
    const std::lock_guard data(CameraData());
    if (g_camera.histogramSupport != 1) return ZVK_CAMERA_NO_HISTOGRAM;
    g_camera.computeHistogram = static_cast<uint8_t>(ComputeHistogram != 0);
    return ZVK_SUCCESS;
}
