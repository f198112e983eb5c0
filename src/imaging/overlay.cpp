// Clients' lines, markers and rectangles: the lists that the user overlay is drawn from.

#include "imaging/overlay.h"

#include "platform/memory.h"
#include "quorvex/coordinates.h"
#include "quorvex/imageproc.h"

#include <opencv2/imgproc.hpp>

#include <cmath>
#include <cstring>

constexpr double kFontScale = 0.4;
constexpr int32_t kKept = -1;  // an argument of ZVK_ImageProc_UpdateLine that changes nothing
constexpr double kFullBlue = 255.0;

ZVK_OverlayState g_overlay;

std::mutex &OverlayLists()
{
    static std::mutex lists;
    return lists;
}

static void CopyLabel(char *label, const char *text)
{
    const size_t length = text ? strnlen(text, kOverlayLabelRoom - 1) : 0;
    if (length > 0) std::memcpy(label, text, length);
    label[length] = '\0';
}

istruct *ZVK_ImageProc_InsFront(istruct *start, int index, int xstart, int ystart, int xend,
                                int yend, int thickness, const char *label, CvScalar color,
                                int *retVal)
{
    *retVal = ZVK_IMAGEPROC_NO_MEMORY;
    auto *node = AllocateArray<istruct>(1);
    if (node == nullptr) return start;
    auto *room = AllocateArray<char>(kOverlayLabelRoom);
    if (room == nullptr) {
        Release(node);
        return start;
    }
    CopyLabel(room, label);
    *node = {color, index, thickness, room, xstart, ystart, xend, yend, start, nullptr};
    if (start != nullptr) start->prev = node;
    *retVal = ZVK_SUCCESS;
    return node;
}

static void FreeList(istruct *&head)
{
    while (head != nullptr) {
        istruct *node = head;
        head = node->next;
        Release(node->label);
        Release(node);
    }
}

void FreeOverlayLists()
{
    FreeList(g_overlay.lineList);
    FreeList(g_overlay.markerList);
    FreeList(g_overlay.rectangleList);
}

// The four codes are one colour; every other code is red.
static bool IsMagenta(int32_t color) { return color >= 1 && color <= 4; }

static CvScalar ColorOfCode(int32_t color)
{
    return {{IsMagenta(color) ? kFullBlue : 0.0, 0.0, 255.0, 255.0}};
}

namespace {

struct Shape
{
    int32_t xstart;
    int32_t ystart;
    int32_t xend;
    int32_t yend;
    int32_t thickness;
    int32_t color;
};

}  // namespace

// The number that the object would have had is told also when there was no room for it.
static int32_t Add(istruct *ZVK_OverlayState::*list, int32_t *index, const Shape &shape,
                   const char *label)
{
    const std::lock_guard lists(OverlayLists());
    if (g_overlay.initialised == 0) return ZVK_IMAGEPROC_NOT_INITIALIZED;
    istruct *&head = g_overlay.*list;
    int number = 1;
    for (const istruct *node = head; node != nullptr; node = node->next)
        ++number;
    int status = ZVK_SUCCESS;
    head = ZVK_ImageProc_InsFront(head, number, shape.xstart, shape.ystart, shape.xend, shape.yend,
                                  shape.thickness, label, ColorOfCode(shape.color), &status);
    if (index) *index = number;
    return status;
}

int32_t ZVK_ImageProc_Init(SessionHandle, uint16_t, uint16_t)
{
    const std::lock_guard lists(OverlayLists());
    if (g_overlay.initialised == 1) return ZVK_IMAGEPROC_ALREADY_INITIALIZED;
    g_overlay.overlayFont = {cv::FONT_HERSHEY_SIMPLEX, kFontScale, 1, cv::LINE_AA};
    g_overlay.initialised = 1;
    return ZVK_SUCCESS;
}

int32_t ZVK_ImageProc_AddLine(SessionHandle, int32_t *index, int32_t xstart, int32_t xstop,
                              int32_t ystart, int32_t ystop, const char *label, int32_t thickness,
                              int32_t color)
{
    return Add(&ZVK_OverlayState::lineList, index, {xstart, ystart, xstop, ystop, thickness, color},
               label);
}

int32_t ZVK_ImageProc_AddMarker(SessionHandle, int32_t *Index, int32_t XPos, int32_t YPos,
                                int32_t Size, const char *Label, int32_t Thickness, int32_t Color)
{
    return Add(&ZVK_OverlayState::markerList, Index, {XPos, YPos, Size, 0, Thickness, Color},
               Label);
}

int32_t ZVK_ImageProc_AddRectangle(SessionHandle, int32_t *Index, int32_t XStart, int32_t YStart,
                                   int32_t XStop, int32_t YStop, int32_t Thickness,
                                   const char *Label, int32_t Color)
{
    return Add(&ZVK_OverlayState::rectangleList, Index,
               {XStart, YStart, XStop, YStop, Thickness, Color}, Label);
}

static istruct *FindLine(int32_t index)
{
    istruct *node = g_overlay.lineList;
    while (node != nullptr && node->index != index)
        node = node->next;
    return node;
}

int32_t ZVK_ImageProc_UpdateLine(SessionHandle, int32_t index, int32_t xstart, int32_t xstop,
                                 int32_t ystart, int32_t ystop, const char *label,
                                 int32_t thickness, int32_t color)
{
    const std::lock_guard lists(OverlayLists());
    if (g_overlay.initialised == 0) return ZVK_IMAGEPROC_NOT_INITIALIZED;
    istruct *line = FindLine(index);
    if (line == nullptr) return ZVK_IMAGEPROC_BAD_INDEX;
    if (xstart != kKept) line->xstart = xstart;
    if (xstop != kKept) line->xend = xstop;
    if (ystart != kKept) line->ystart = ystart;
    if (ystop != kKept) line->yend = ystop;
    if (thickness != kKept) line->thickness = thickness;
    if (label != nullptr) CopyLabel(line->label, label);
    if (IsMagenta(color)) line->color.val[0] = kFullBlue;
    return ZVK_SUCCESS;
}

// 32-bit whole numbers, which wrap.
static int32_t Difference(int32_t end, int32_t start)
{
    return static_cast<int32_t>(static_cast<uint32_t>(end) - static_cast<uint32_t>(start));
}

static double LengthInPixels(int32_t dx, int32_t dy)
{
    const auto square = [](int32_t side) {
        return static_cast<uint32_t>(side) * static_cast<uint32_t>(side);
    };
    return std::sqrt(static_cast<int32_t>(square(dx) + square(dy)));
}

static double LengthInMicrometers(int32_t dx, int32_t dy)
{
    double scaleX = 0.0;
    double scaleY = 0.0;
    (void)ZVK_CoordinateSystems_GetCameraScale(0, &scaleX, &scaleY);
    const double x = dx / scaleX;
    const double y = dy / scaleY;
    return std::sqrt(x * x + y * y);
}

int32_t ZVK_ImageProc_LineLength(SessionHandle, int32_t LineIndex, double *Length, int32_t Unit)
{
    int32_t dx = 0;
    int32_t dy = 0;
    {
        const std::lock_guard lists(OverlayLists());
        if (g_overlay.initialised == 0) return ZVK_IMAGEPROC_NOT_INITIALIZED;
        const istruct *line = FindLine(LineIndex);
        if (line == nullptr) return ZVK_IMAGEPROC_BAD_INDEX;
        dx = Difference(line->xend, line->xstart);
        dy = Difference(line->yend, line->ystart);
    }
    if (Unit != ZVK_UNIT_PIXEL && Unit != ZVK_UNIT_MICROMETER) return ZVK_COORDINATES_BAD_UNIT;
    const double length =
        Unit == ZVK_UNIT_PIXEL ? LengthInPixels(dx, dy) : LengthInMicrometers(dx, dy);
    if (Length) *Length = length;
    return ZVK_SUCCESS;
}

// The module stays up, so that a later start tells that it is; the lists are empty from here on.
int32_t ZVK_ImageProc_Shutdown(SessionHandle)
{
    const std::lock_guard lists(OverlayLists());
    if (g_overlay.initialised == 0) return ZVK_IMAGEPROC_NOT_INITIALIZED;
    FreeOverlayLists();
    return ZVK_SUCCESS;
}
