// Whole overlays, pixel by pixel, against the same shapes drawn bare: places, sizes, colours, line
// types and the order in which one covers another.

#include "imaging/overlay.h"
#include "quorvex/camera.h"
#include "quorvex/coordinates.h"
#include "quorvex/errors.h"
#include "quorvex/imageproc.h"
#include "quorvex/trap.h"
#include "steering_fixture.h"

#include <opencv2/imgproc.hpp>

#include <cmath>
#include <string>
#include <vector>

constexpr int kWidth = 800;
constexpr int kHeight = 600;
constexpr int kFont = cv::FONT_HERSHEY_SIMPLEX;
static const cv::Scalar kRed(0, 0, 255, 255);
static const cv::Scalar kMagenta(255, 0, 255, 255);
static const cv::Scalar kBlue(255, 0, 0, 255);
static const cv::Scalar kWhite(255, 255, 255, 0);

namespace {

struct View
{
    int32_t x;
    int32_t y;
    int32_t width;
    int32_t height;
    int32_t binning;
};

}  // namespace

class OverlayPictures : public SteeringTest
{
protected:
    void SetUp() override
    {
        SteeringTest::SetUp();
        g_camera = {};
        ZVK_Camera_InitFonts(0);
        g_camera.installed = g_camera.simulate = g_camera.initialised = 1;
        g_camera.displayWidth = kWidth;
        g_camera.displayHeight = kHeight;
        static_cast<cv::Mat &>(g_camera.displayImage) = Empty();
        static_cast<cv::Mat &>(g_camera.userOverlayImage) = Empty();
        PointHeaderAt(g_camera.userOverlayHeader, g_camera.userOverlayImage);
        ASSERT_EQ(ZVK_ImageProc_Init(0, 0, 0), ZVK_SUCCESS);
    }
    void TearDown() override
    {
        FreeOverlayLists();
        g_overlay = {};
        g_camera = {};
        SteeringTest::TearDown();
    }

    static cv::Mat Empty() { return cv::Mat::zeros(kHeight, kWidth, CV_8UC3); }

    static void Use(const View &view)
    {
        g_camera.viewX = view.x;
        g_camera.viewY = view.y;
        g_camera.viewWidth = view.width;
        g_camera.viewHeight = view.height;
        g_camera.binning = view.binning;
    }

    static cv::Mat Drawn()
    {
        const std::lock_guard picture(CameraPicture());
        g_camera.displayImage.setTo(cv::Scalar::all(0));
        ZVK_Camera_DrawOverlay(0);
        return g_camera.displayImage.clone();
    }
};

// -- a client's objects --

namespace {

// Single precision, whose product may round up to the next whole pixel.
struct Map
{
    View view;

    cv::Point operator()(int x, int y) const
    {
        const float sx = static_cast<float>(kWidth) / static_cast<float>(view.width);
        const float sy = static_cast<float>(kHeight) / static_cast<float>(view.height);
        const volatile float column = static_cast<float>(x - view.x) * sx;
        const volatile float row = static_cast<float>(y - view.y) * sy;
        return {static_cast<int>(column), static_cast<int>(row)};
    }
};

}  // namespace

static void DrawBareLine(cv::Mat &picture, cv::Point from, cv::Point to, const cv::Scalar &color,
                         int thickness)
{
    cv::line(picture, from, to, color, thickness, cv::LINE_AA, 0);
}

static void DrawBareLabel(cv::Mat &picture, const std::string &label, cv::Point at,
                          const cv::Scalar &color)
{
    int baseline = 0;
    const cv::Size size = cv::getTextSize(label, kFont, 0.4, 1, &baseline);
    cv::rectangle(picture, {at.x - 2, at.y + 1 + baseline},
                  {at.x + size.width + 2, at.y - size.height - 1 - baseline}, cv::Scalar(), -1,
                  cv::LINE_8, 0);
    cv::putText(picture, label, at, kFont, 0.4, color, 1, cv::LINE_AA);
}

static void DrawBareMarker(cv::Mat &picture, cv::Point center, int size, const std::string &label,
                           cv::Point at, const cv::Scalar &color, int thickness)
{
    DrawBareLine(picture, center, center + cv::Point(size, 0), color, thickness);
    DrawBareLabel(picture, label, at, color);
    for (const cv::Point arm : {cv::Point(0, size), {-size, 0}, {0, -size}})
        DrawBareLine(picture, center, center + arm, color, thickness);
}

TEST_F(OverlayPictures, LinesThenMarkersThenRectanglesEachNewestFirst)
{
    for (const View &view : {View{64, 32, 96, 84, 1}, {0, 0, 256, 256, 1}, {-7, 90, 293, 61, 2}}) {
        SCOPED_TRACE(view.width);
        Use(view);
        ASSERT_EQ(ZVK_ImageProc_ClearOverlay(0), ZVK_SUCCESS);
        // All of them cross each other and each other's labels.
        ASSERT_EQ(ZVK_ImageProc_AddLine(0, nullptr, 70, 150, 80, 82, "first", 3, 0), 0);
        ASSERT_EQ(ZVK_ImageProc_AddLine(0, nullptr, 112, 112, 95, 40, "second", 5, 1), 0);
        ASSERT_EQ(ZVK_ImageProc_AddMarker(0, nullptr, 112, 74, 60, "third", 7, 0), 0);
        ASSERT_EQ(ZVK_ImageProc_AddMarker(0, nullptr, 95, 90, 200, "fourth", 2, 1), 0);
        ASSERT_EQ(ZVK_ImageProc_AddRectangle(0, nullptr, 80, 100, 140, 50, 4, "fifth", 0), 0);
        ASSERT_EQ(ZVK_ImageProc_AddRectangle(0, nullptr, 90, 60, 100, 99, 1, "", 1), 0);
        ASSERT_EQ(ZVK_ImageProc_UpdateOverlay(0), ZVK_SUCCESS);

        const Map map = {view};
        cv::Mat bare = Empty();
        DrawBareLine(bare, map(112, 95), map(112, 40), kMagenta, 5);
        DrawBareLabel(bare, "second", map(132, 75), kMagenta);
        DrawBareLine(bare, map(70, 80), map(150, 82), kRed, 3);
        DrawBareLabel(bare, "first", map(90, 60), kRed);
        DrawBareMarker(bare, map(95, 90), 200, "fourth", map(75, 110), kMagenta, 2);
        DrawBareMarker(bare, map(112, 74), 60, "third", map(92, 94), kRed, 7);
        DrawBareLine(bare, map(90, 60), map(100, 99), kMagenta, 1);
        DrawBareLabel(bare, "", map(110, 40), kMagenta);
        DrawBareLine(bare, map(80, 100), map(140, 50), kRed, 4);
        DrawBareLabel(bare, "fifth", map(100, 80), kRed);
        EXPECT_EQ(cv::norm(bare, g_camera.userOverlayImage, cv::NORM_L1), 0.0);
    }
}

TEST_F(OverlayPictures, ALabelLiesOverTheFirstArmOfItsMarkerAndUnderTheOthers)
{
    // At this view 20 frame pixels are 20 columns and rows, so that arms cross the label.
    const View view = {0, 0, kWidth, kHeight, 1};
    for (const int size : {0, 15, 40}) {
        Use(view);
        ASSERT_EQ(ZVK_ImageProc_ClearOverlay(0), ZVK_SUCCESS);
        ASSERT_EQ(ZVK_ImageProc_AddMarker(0, nullptr, 400, 300, size, "A long label", 31, 0), 0);
        ASSERT_EQ(ZVK_ImageProc_UpdateOverlay(0), ZVK_SUCCESS);
        cv::Mat bare = Empty();
        DrawBareMarker(bare, {400, 300}, size, "A long label", {380, 320}, kRed, 31);
        EXPECT_EQ(cv::norm(bare, g_camera.userOverlayImage, cv::NORM_L1), 0.0) << size;
    }
}

TEST_F(OverlayPictures, AThickLineIsDrawnAlsoAbove255)
{
    Use({0, 0, kWidth, kHeight, 1});
    ASSERT_EQ(ZVK_ImageProc_AddLine(0, nullptr, 0, 800, 300, 300, "", 301, 0), 0);
    ASSERT_EQ(ZVK_ImageProc_AddLine(0, nullptr, 0, 800, 700, 700, "", 301, 0), 0);  // beyond
    ASSERT_EQ(ZVK_ImageProc_UpdateOverlay(0), ZVK_SUCCESS);
    EXPECT_EQ(g_camera.userOverlayImage.at<cv::Vec3b>(160, 400), cv::Vec3b(0, 0, 255));
    EXPECT_EQ(g_camera.userOverlayImage.at<cv::Vec3b>(590, 400), cv::Vec3b(0, 0, 255));
}

TEST_F(OverlayPictures, LengthsInMicrometersGoByTheScaleOfEachAxis)
{
    bringUp();
    g_trafo[0].scaleX = 2.0;  // pixels a micrometre
    g_trafo[0].scaleY = 8.0;
    int32_t index = 0;
    ASSERT_EQ(ZVK_ImageProc_AddLine(0, &index, 10, 16, 50, 82, "", 1, 0), ZVK_SUCCESS);
    double length = 0.0;
    ASSERT_EQ(ZVK_ImageProc_LineLength(0, index, &length, ZVK_UNIT_MICROMETER), ZVK_SUCCESS);
    EXPECT_DOUBLE_EQ(length, 5.0);
}

// -- what the library draws --

namespace {

struct Traps
{
    std::vector<double> x;
    std::vector<double> y;
    std::vector<std::string> labels;
};

}  // namespace

static Traps TrapsOf(int32_t path)
{
    int32_t count = 0;
    EXPECT_EQ(ZVK_Trap_GetNumberOfTraps(0, path, &count), ZVK_SUCCESS);
    const auto size = static_cast<size_t>(count);
    Traps traps = {std::vector<double>(size), std::vector<double>(size), {}};
    std::vector<std::string> room(size, std::string(257, '\0'));
    std::vector<char *> labels;
    for (std::string &text : room)
        labels.push_back(text.data());
    EXPECT_GE(ZVK_Trap_GetArray(0, path, traps.x.data(), traps.y.data(), nullptr, labels.data(),
                                ZVK_UNIT_PIXEL),
              0);
    for (const char *label : labels)
        traps.labels.push_back(std::string(label).substr(0, 8));
    return traps;
}

static cv::Mat DrawBare(const View &view, const std::string &rate)
{
    cv::Mat bare = cv::Mat::zeros(kHeight, kWidth, CV_8UC3);
    int baseline = 0;
    const cv::Size size = cv::getTextSize(rate, kFont, 0.4, 1, &baseline);
    cv::rectangle(bare, {5, 574 + baseline + 3},
                  {10 + size.width + 10, 574 - size.height - 6 - baseline}, cv::Scalar(), -1,
                  cv::LINE_4);
    cv::putText(bare, rate, {10, 574}, kFont, 0.4, kWhite, 1, cv::LINE_AA);

    const auto bin = static_cast<float>(view.binning);
    const float sx = static_cast<float>(kWidth) / (static_cast<float>(view.width) * bin);
    const float sy = static_cast<float>(kHeight) / (static_cast<float>(view.height) * bin);
    const auto column = [&](double x) { return double{sx} * (x - view.x * view.binning); };
    const auto row = [&](double y) { return double{sy} * (y - view.y * view.binning); };
    const auto place = [](double value) { return static_cast<int>(value); };
    for (const int32_t path : {0, 1}) {
        const Traps traps = TrapsOf(path);
        for (size_t i = 0; i < traps.x.size(); ++i) {
            const double x = column(traps.x[i]);
            const double y = row(traps.y[i]);
            cv::circle(bare, {place(x), place(y)}, 10, kWhite, 1, cv::LINE_AA);
            cv::putText(bare, traps.labels[i], {place(x + 18.0), place(y)}, kFont, 0.5, kWhite, 1,
                        cv::LINE_AA);
        }
    }
    for (const int32_t path : {0, 1}) {
        double xMin = 0.0;
        double xMax = 0.0;
        double yMin = 0.0;
        double yMax = 0.0;
        EXPECT_EQ(
            ZVK_CoordinateSystems_GetCalRange(0, path, &xMin, &xMax, &yMin, &yMax, ZVK_UNIT_PIXEL),
            ZVK_SUCCESS);
        cv::rectangle(bare, {place(column(xMin)), place(row(yMin))},
                      {place(column(xMax)), place(row(yMax))}, path == 0 ? kRed : kBlue, 1,
                      cv::LINE_AA);
    }
    return bare;
}

TEST_F(OverlayPictures, TheRateThenTheTrapsOfBothPathsThenTheFields)
{
    bringUp();
    (void)addTrap(0, 3.0, -0.3, "edge of B and more");
    (void)addTrap(0, -3.5, -1.0, "edge of A");
    (void)addTrap(1, 1.0, 1.0, "B");
    (void)addTrap(1, -2.0, 0.5, "ninechars");
    g_camera.trapMarkersOn = g_camera.frameRateOn = 1;
    g_camera.calFieldOn[0] = g_camera.calFieldOn[1] = 1;
    g_camera.framesPerSecond = 49.6;
    g_camera.frameCount = 20;
    const std::vector<View> views = {
        {0, 0, 1000, 800, 1},
        {260, -100, 400, 300, 2},   // a trap on the plate of the rate, one on a field's edge
        {276, 150, 293, 77, 2},     // a trap just left of the window
        {464, 300, 96, 84, 1},      // one whose column single precision would round up
        {549, 374, 31, 29, 1},      // few frame pixels
        {-100, -100, 700, 600, 3},  // all of it small
    };
    for (const View &view : views) {
        SCOPED_TRACE(view.width);
        Use(view);
        EXPECT_EQ(cv::norm(DrawBare(view, "50 fps"), Drawn(), cv::NORM_L1), 0.0);
    }
}

TEST_F(OverlayPictures, WithTheRateSwitchedOffItsTextIsNotRenewed)
{
    Use({0, 0, 256, 256, 1});
    g_camera.framesPerSecond = 49.6;
    g_camera.frameCount = 20;
    (void)Drawn();
    EXPECT_STREQ(g_camera.fpsText, "");
}
