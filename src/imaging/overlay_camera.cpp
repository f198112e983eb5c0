// What the library itself draws over each picture that is shown: the frame rate, the traps and the
// calibrated fields.

#include "imaging/frame_text.h"
#include "imaging/overlay.h"
#include "imaging/recording.h"
#include "quorvex/coordinates.h"
#include "quorvex/trap.h"
#include "steering/trap.h"

#include <opencv2/imgproc.hpp>

#include <cstddef>
#include <cstring>

constexpr int kRateLeft = 10;
constexpr int kRateFromBottom = 26;
constexpr int kCircleRadius = 10;
constexpr double kLabelRight = 18.0;
constexpr size_t kLabelShown = 8;  // characters
constexpr int kBeyond = 1000;      // a trap that far outside shows neither circle nor label
static const cv::Scalar kWhite(255, 255, 255, 0);
static const cv::Scalar kOpaqueWhite(255, 255, 255, 255);
static const cv::Scalar kBlack(0, 0, 0, 0);
static const cv::Scalar kFieldColor[2] = {{0, 0, 255, 255}, {255, 0, 0, 255}};

namespace {

// From frame pixels to those of the picture that is shown.
struct ViewScale
{
    float x = 0.0F;
    float y = 0.0F;
    double left = 0.0;
    double top = 0.0;

    double Column(double frameX) const { return double{x} * (frameX - left); }
    double Row(double frameY) const { return double{y} * (frameY - top); }
};

// The record's fields that a pass draws by.
struct Orders
{
    ViewScale scale;
    bool rate = false;
    bool traps = false;
    bool field[2] = {};
    ZVK_CameraFont trapFont;
    ZVK_CameraFont textFont;
    char rateText[kFrameTextRoom] = {};
};

}  // namespace

// Lock CameraData.
static ViewScale ScaleOfView()
{
    const auto bin = static_cast<float>(g_camera.binning);
    const auto scale = [bin](int32_t display, int32_t viewed) {
        return static_cast<float>(display) / (static_cast<float>(viewed) * bin);
    };
    return {scale(g_camera.displayWidth, g_camera.viewWidth),
            scale(g_camera.displayHeight, g_camera.viewHeight),
            static_cast<double>(g_camera.viewX) * g_camera.binning,
            static_cast<double>(g_camera.viewY) * g_camera.binning};
}

static Orders TakeOrders()
{
    Orders orders;
    const std::lock_guard data(CameraData());
    orders.scale = ScaleOfView();
    orders.rate = g_camera.frameRateOn != 0;
    orders.traps = g_camera.trapMarkersOn != 0;
    orders.field[0] = g_camera.calFieldOn[0] != 0;
    orders.field[1] = g_camera.calFieldOn[1] != 0;
    orders.trapFont = g_camera.trapFont;
    orders.textFont = g_camera.textFont;
    if (orders.rate) RenewRateText();
    std::memcpy(orders.rateText, g_camera.fpsText, sizeof orders.rateText);
    return orders;
}

static void DrawRate(cv::Mat &picture, const Orders &orders)
{
    const ZVK_CameraFont &font = orders.textFont;
    const std::string text = orders.rateText;
    int baseline = 0;
    const cv::Size size = cv::getTextSize(text, font.face, font.scale, font.thickness, &baseline);
    const cv::Point origin(kRateLeft, picture.rows - kRateFromBottom);
    cv::rectangle(picture, {origin.x - 5, origin.y + baseline + 3},
                  {origin.x + size.width + 10, origin.y - size.height - 6 - baseline}, kBlack,
                  cv::FILLED, cv::LINE_4);
    DrawText(picture, text, origin, font, kWhite);
}

// Room for that many traps. It grows when there are more traps than ever, and is kept.
static void MakeRoom(ZVK_CameraMarkers &markers, size_t count)
{
    if (markers.labels.size() >= count) return;
    markers.labels.clear();  // of the old text, which moves
    markers.x.resize(count);
    markers.y.resize(count);
    markers.text.resize(count * kTrapLabelRoom);
    markers.labels.resize(count);
    for (size_t i = 0; i < count; ++i)
        markers.labels[i] = markers.text.data() + i * kTrapLabelRoom;
}

static void DrawTrap(cv::Mat &picture, const Orders &orders, double x, double y, const char *label)
{
    const double column = orders.scale.Column(x);
    const double row = orders.scale.Row(y);
    const cv::Point center(PixelOf(column), PixelOf(row));
    if (!cv::Rect(-kBeyond, -kBeyond, picture.cols + 2 * kBeyond, picture.rows + 2 * kBeyond)
             .contains(center))
        return;
    cv::circle(picture, center, kCircleRadius, kWhite, 1, cv::LINE_AA);
    const std::string text(label, strnlen(label, kLabelShown));
    DrawText(picture, text, {PixelOf(column + kLabelRight), center.y}, orders.trapFont,
             kOpaqueWhite);
}

// Traps whose place could be read are drawn, whatever became of the others.
static void DrawTraps(cv::Mat &picture, const Orders &orders, int32_t path)
{
    int32_t count = 0;
    (void)ZVK_Trap_GetNumberOfTraps(0, path, &count);
    if (count <= 0) return;
    ZVK_CameraMarkers &markers = g_camera.markers;
    MakeRoom(markers, static_cast<size_t>(count));
    const int32_t status = ReadTrapArray(path, count, &count, markers.x.data(), markers.y.data(),
                                         nullptr, markers.labels.data(), ZVK_UNIT_PIXEL);
    if (status == ZVK_COORDINATES_BUSY) return;  // drawn again in the next pass
    for (size_t i = 0; i < static_cast<size_t>(count); ++i)
        DrawTrap(picture, orders, markers.x[i], markers.y[i], markers.labels[i]);
}

// A path that has not been loaded has a field without extent, at the frame's corner.
static void DrawField(cv::Mat &picture, const Orders &orders, int32_t path)
{
    double xMin = 0.0;
    double xMax = 0.0;
    double yMin = 0.0;
    double yMax = 0.0;
    (void)ZVK_CoordinateSystems_GetCalRange(0, path, &xMin, &xMax, &yMin, &yMax, ZVK_UNIT_PIXEL);
    const ViewScale &scale = orders.scale;
    cv::rectangle(picture, {PixelOf(scale.Column(xMin)), PixelOf(scale.Row(yMin))},
                  {PixelOf(scale.Column(xMax)), PixelOf(scale.Row(yMax))}, kFieldColor[path], 1,
                  cv::LINE_AA);
}

void ZVK_Camera_DrawOverlay(SessionHandle)
{
    cv::Mat &picture = g_camera.displayImage;
    if (picture.empty()) return;
    const Orders orders = TakeOrders();
    if (orders.rate) DrawRate(picture, orders);
    for (const int32_t path : {ZVK_PATH_A, ZVK_PATH_B})
        if (orders.traps) DrawTraps(picture, orders, path);
    for (const int32_t path : {ZVK_PATH_A, ZVK_PATH_B})
        if (orders.field[path]) DrawField(picture, orders, path);
}
