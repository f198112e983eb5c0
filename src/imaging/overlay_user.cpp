// Draws clients' objects into the user overlay.

#include "imaging/overlay.h"
#include "quorvex/camera.h"
#include "quorvex/imageproc.h"
#include "steering/check_status.h"

#include <opencv2/imgproc.hpp>

#include <cmath>
#include <exception>

constexpr int kLabelOffset = 20;  // frame pixels
static const cv::Scalar kPlate(0, 0, 0, 0);

namespace {

// From frame pixels to those of the overlay, in single precision.
struct OverlayMap
{
    int32_t viewX;
    int32_t viewY;
    float scaleX;
    float scaleY;

    cv::Point operator()(int64_t x, int64_t y) const
    {
        return {PixelOf(static_cast<float>(x - viewX) * scaleX),
                PixelOf(static_cast<float>(y - viewY) * scaleY)};
    }
};

}  // namespace

static cv::Scalar ColorOf(const istruct &node)
{
    return {node.color.val[0], node.color.val[1], node.color.val[2], node.color.val[3]};
}

// The text on a plate of its own, so that it can be read on any picture.
static void DrawLabel(cv::Mat &overlay, const istruct &node, const cv::Point &at)
{
    const ZVK_CameraFont &font = g_overlay.overlayFont;
    const std::string label = node.label;
    int baseline = 0;
    const cv::Size size = cv::getTextSize(label, font.face, font.scale, font.thickness, &baseline);
    cv::rectangle(overlay, {at.x - 2, at.y + 1 + baseline},
                  {at.x + size.width + 2, at.y - size.height - 1 - baseline}, kPlate, cv::FILLED,
                  cv::LINE_8, 0);
    DrawText(overlay, label, at, font, ColorOf(node));
}

// Of a rectangle too: it is drawn as its diagonal.
static void DrawStroke(cv::Mat &overlay, const istruct &node, const OverlayMap &map)
{
    DrawLine(overlay, map(node.xstart, node.ystart), map(node.xend, node.yend), ColorOf(node),
             node.thickness);
    DrawLabel(overlay, node,
              map(int64_t{node.xstart} + kLabelOffset, int64_t{node.ystart} - kLabelOffset));
}

// A plus sign whose size is that of the overlay, whatever the zoom. Its label lies over the first
// arm and under the others.
static void DrawMarker(cv::Mat &overlay, const istruct &node, const OverlayMap &map)
{
    const cv::Point center = map(node.xstart, node.ystart);
    const auto arm = [&](double x, double y) {
        DrawLine(overlay, center, {PixelOf(center.x + x), PixelOf(center.y + y)}, ColorOf(node),
                 node.thickness);
    };
    const double size = node.xend;
    arm(size, 0.0);
    DrawLabel(overlay, node,
              map(int64_t{node.xstart} - kLabelOffset, int64_t{node.ystart} + kLabelOffset));
    arm(0.0, size);
    arm(-size, 0.0);
    arm(0.0, -size);
}

using DrawNode = void (*)(cv::Mat &, const istruct &, const OverlayMap &);

static void DrawList(cv::Mat &overlay, const istruct *head, const OverlayMap &map, DrawNode draw)
{
    for (const istruct *node = head; node != nullptr; node = node->next)
        draw(overlay, *node, map);
}

static void DrawLists(cv::Mat &overlay, const OverlayMap &map)
{
    DrawList(overlay, g_overlay.lineList, map, DrawStroke);
    DrawList(overlay, g_overlay.markerList, map, DrawMarker);
    DrawList(overlay, g_overlay.rectangleList, map, DrawStroke);
}

static int32_t TakeOverlay()
{
    void *overlay = nullptr;
    const int32_t status = ZVK_Camera_GetUserOverlay(0, &overlay);
    g_overlay.overlayImage = static_cast<IplImage *>(overlay);
    return status;
}

// Without a picture there is nothing to blacken. Lock CameraPicture.
static void Blacken()
{
    if (!g_camera.userOverlayImage.empty()) g_camera.userOverlayImage.setTo(cv::Scalar::all(0));
}

// Without a picture the lists are not drawn. Locks OverlayLists and CameraPicture.
static int32_t Redraw()
{
    Blacken();
    int32_t viewX = 0;
    int32_t viewY = 0;
    int32_t viewWidth = 0;
    int32_t viewHeight = 0;
    int32_t status = ZVK_Camera_GetROI(0, &viewX, &viewY, &viewWidth, &viewHeight);
    if (Ends(status)) return status;
    int32_t width = 0;
    int32_t height = 0;
    status = ZVK_Camera_GetDispImageSize(0, &width, &height);
    if (Ends(status)) return status;
    const OverlayMap map = {viewX, viewY, static_cast<float>(width) / static_cast<float>(viewWidth),
                            static_cast<float>(height) / static_cast<float>(viewHeight)};
    if (!g_camera.userOverlayImage.empty()) DrawLists(g_camera.userOverlayImage, map);
    return status;
}

int32_t ZVK_ImageProc_UpdateOverlay(SessionHandle)
{
    const std::lock_guard lists(OverlayLists());
    if (g_overlay.initialised == 0) return ZVK_IMAGEPROC_NOT_INITIALIZED;
    const int32_t status = TakeOverlay();
    if (Ends(status)) return status;
    const std::lock_guard picture(CameraPicture());
    try {
        return Redraw();
    } catch (const std::exception &) {  // cv::Exception or std::bad_alloc: drawn in part
        return ZVK_IMAGEPROC_NO_MEMORY;
    }
}

int32_t ZVK_ImageProc_ClearOverlay(SessionHandle)
{
    const std::lock_guard lists(OverlayLists());
    if (g_overlay.initialised == 0) return ZVK_IMAGEPROC_NOT_INITIALIZED;
    (void)TakeOverlay();  // never fails
    try {
        const std::lock_guard picture(CameraPicture());
        Blacken();
    } catch (const std::exception &) {  // it stays as it was; the objects go all the same
    }
    FreeOverlayLists();
    return ZVK_SUCCESS;
}
