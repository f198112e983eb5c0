// Lines and texts that survive whatever numbers a client gives.

#include "imaging/overlay.h"

#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <cmath>

constexpr int kFar = 1 << 30;  // room for sums of two
constexpr int kThickest = 32767;
constexpr int kMargin = 40000;  // a line beyond it shows nothing of its thickness

int PixelOf(double value)
{
    if (std::isnan(value)) return 0;
    return static_cast<int>(std::clamp(value, double{-kFar}, double{kFar}));
}

void DrawLine(cv::Mat &picture, cv::Point from, cv::Point to, const cv::Scalar &color,
              int thickness)
{
    if (thickness < 0 || thickness > kThickest) return;
    const cv::Rect near(-kMargin, -kMargin, picture.cols + 2 * kMargin, picture.rows + 2 * kMargin);
    if (!cv::clipLine(near, from, to)) return;
    cv::line(picture, from, to, color, std::max(thickness, 1), cv::LINE_AA, 0);
}

void DrawText(cv::Mat &picture, const std::string &text, const cv::Point &at,
              const ZVK_CameraFont &font, const cv::Scalar &color)
{
    cv::putText(picture, text, at, font.face, font.scale, color, font.thickness, font.lineType);
}
