#ifndef QUORVEX_IMAGING_ADJUST_H
#define QUORVEX_IMAGING_ADJUST_H

// What the display pass does to a frame between its hand-over and the window: contrast, histogram,
// background, flip. All calls here: lock CameraPicture. An image that is missing is passed over.

#include <opencv2/core.hpp>

#include <cstdint>

// Maps lowCount to 0 and highCount to 255, with what is outside cut off. Equal counts divide by 0,
// and give a picture without meaning.
void ZVK_Camera_AdjustBrightnessContrast(const cv::Mat &input, cv::Mat &output, double lowCount,
                                         double highCount);

void SplitPlanes(const cv::Mat &image);  // into planeImage

void TakeContrastLimits();  // from the frame in hand
void BlendBackground();     // into the frame in hand
void StretchContrast();     // of the frame in hand, into adjustedImage
void FlipPicture();         // scaledImage

// ZVK_Camera_ComputeHistogram inside a display pass.
int32_t ComputeHistogramOfFrame();

#endif
