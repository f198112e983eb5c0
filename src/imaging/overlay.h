#ifndef QUORVEX_IMAGING_OVERLAY_H
#define QUORVEX_IMAGING_OVERLAY_H

// The two layers over the camera picture. Clients' objects are kept in three lists and drawn into
// the user overlay when a client asks; traps, fields and the frame rate are drawn into each picture
// that is shown. Clients see quorvex/imageproc.h.
//
// OverlayLists() guards the record below; locks of the camera are taken under it, never above it.

#include "imaging/camera.h"

#include <cstdint>
#include <mutex>

constexpr size_t kOverlayLabelRoom = 256;  // 255 characters and the terminator

// One object, a heap block of its own with its label. Positions are frame pixels.
struct istruct
{
    struct CvScalar color;  // blue, green, red, alpha
    int index;              // from 1, within its list
    int thickness;          // of its lines, display pixels
    char *label;            // kOverlayLabelRoom bytes
    int xstart;             // of a marker: its centre
    int ystart;
    int xend;              // of a marker: its half width, display pixels
    int yend;              // of a marker: 0
    struct istruct *next;  // older object; null at the last
    struct istruct *prev;  // newer object; null at the head
};

struct ZVK_OverlayState
{
    int32_t initialised = 0;      // 1 from the first Init on: Shutdown leaves it
    istruct *lineList = nullptr;  // newest first; the lists own their nodes
    istruct *markerList = nullptr;
    istruct *rectangleList = nullptr;
    IplImage *overlayImage = nullptr;  // what ZVK_Camera_GetUserOverlay gave last; not owned
    ZVK_CameraFont overlayFont;
};

extern ZVK_OverlayState g_overlay;
std::mutex &OverlayLists();

// A new object in front of `start`; gives the new head. A null label is an empty one. *retVal is 0,
// or ZVK_IMAGEPROC_NO_MEMORY with `start` given back.
struct istruct *ZVK_ImageProc_InsFront(struct istruct *start, int index, int xstart, int ystart,
                                       int xend, int yend, int thickness, const char *label,
                                       struct CvScalar color, int *retVal);

// Frees all objects and leaves the lists empty. Lock OverlayLists.
void FreeOverlayLists();

// Draws the frame rate, the traps and the calibrated fields into displayImage, as far as each is
// switched on. Lock CameraPicture.
void ZVK_Camera_DrawOverlay(SessionHandle SessionHandle);

// -- drawing, safe for any number --

// A whole pixel: cut off towards 0. Far beyond any picture all places are one; what is not a number
// is 0.
int PixelOf(double value);

// A line, clipped before it is drawn: the drawing library goes through every row of a thick line,
// also through those far outside. Thickness 0 is drawn as 1; one that can't be drawn draws nothing.
void DrawLine(cv::Mat &picture, cv::Point from, cv::Point to, const cv::Scalar &color,
              int thickness);

void DrawText(cv::Mat &picture, const std::string &text, const cv::Point &at,
              const ZVK_CameraFont &font, const cv::Scalar &color);

#endif
