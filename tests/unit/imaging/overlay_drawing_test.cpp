// What is drawn over the picture: the user overlay on request, and traps, fields and the frame rate
// in each pass. The pictures are also written into the build's folder, to be looked at.

#include "imaging/overlay.h"
#include "imaging/recording.h"
#include "quorvex/camera.h"
#include "quorvex/errors.h"
#include "quorvex/imageproc.h"
#include "steering_fixture.h"

#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>

#include <climits>
#include <cstdlib>
#include <filesystem>
#include <limits>

static const cv::Scalar kRed(0, 0, 255);
static const cv::Scalar kMagenta(255, 0, 255);
static const cv::Scalar kBlue(255, 0, 0);

class OverlayDrawing : public SteeringTest
{
protected:
    void SetUp() override
    {
        SteeringTest::SetUp();
        g_camera = {};
        ZVK_Camera_InitFonts(0);
        g_camera.installed = g_camera.simulate = g_camera.initialised = 1;
        g_camera.binning = 1;
        View(0, 0, 256, 256);
        Window(800, 600);
        ASSERT_EQ(ZVK_ImageProc_Init(0, 0, 0), ZVK_SUCCESS);
    }
    void TearDown() override
    {
        FreeOverlayLists();
        g_overlay = {};
        g_camera = {};
        SteeringTest::TearDown();
    }

    static void View(int32_t x, int32_t y, int32_t width, int32_t height)
    {
        g_camera.viewX = x;
        g_camera.viewY = y;
        g_camera.viewWidth = width;
        g_camera.viewHeight = height;
    }

    // A frame of 1000 by 800 in a window of its size.
    static void OneToOne()
    {
        View(0, 0, 1000, 800);
        Window(1000, 800);
    }

    static void Window(int width, int height)
    {
        g_camera.displayWidth = width;
        g_camera.displayHeight = height;
        static_cast<cv::Mat &>(g_camera.displayImage) = cv::Mat::zeros(height, width, CV_8UC3);
        static_cast<cv::Mat &>(g_camera.userOverlayImage) = cv::Mat::zeros(height, width, CV_8UC3);
        PointHeaderAt(g_camera.userOverlayHeader, g_camera.userOverlayImage);
    }

    static const cv::Mat &User() { return g_camera.userOverlayImage; }
    static const cv::Mat &Picture() { return g_camera.displayImage; }

    // What was drawn, as the pass of the display loop draws it.
    static void Draw()
    {
        const std::lock_guard picture(CameraPicture());
        g_camera.displayImage.setTo(cv::Scalar::all(0));
        ZVK_Camera_DrawOverlay(0);
    }

    static void Update() { ASSERT_EQ(ZVK_ImageProc_UpdateOverlay(0), ZVK_SUCCESS); }

    static void Keep(const cv::Mat &picture, const std::string &name)
    {
        const char *build = std::getenv("ZVK_TEST_BINARY_DIR");
        if (build == nullptr) return;
        const std::filesystem::path folder = std::filesystem::path(build) / "pictures";
        std::filesystem::create_directories(folder);
        (void)cv::imwrite((folder / name).string(), picture);
    }
};

// Pixels of about that colour in a part of a picture.
static int CountColor(const cv::Mat &picture, const cv::Scalar &color, const cv::Rect &part)
{
    cv::Mat mask;
    const cv::Scalar near = cv::Scalar::all(40);
    cv::inRange(picture(part), color - near, color + near, mask);
    return cv::countNonZero(mask);
}

static bool IsColor(const cv::Mat &picture, const cv::Scalar &color, int x, int y)
{
    return CountColor(picture, color, {x, y, 1, 1}) == 1;
}

static int CountDrawn(const cv::Mat &picture) { return cv::countNonZero(picture.reshape(1)); }

// -- the user overlay --

TEST_F(OverlayDrawing, WithNoObjectAnUpdateOnlyBlackens)
{
    g_camera.userOverlayImage.setTo(cv::Scalar::all(9));
    Update();
    EXPECT_EQ(CountDrawn(User()), 0);
    EXPECT_EQ(g_overlay.overlayImage, &g_camera.userOverlayHeader);
}

TEST_F(OverlayDrawing, ObjectsAreDrawnOnRequestAlone)
{
    ASSERT_EQ(ZVK_ImageProc_AddLine(0, nullptr, 10, 200, 10, 200, "", 1, 0), ZVK_SUCCESS);
    EXPECT_EQ(CountDrawn(User()), 0);
    Update();
    const cv::Mat drawn = User().clone();
    EXPECT_GT(CountDrawn(drawn), 100);
    View(64, 64, 128, 128);
    ASSERT_EQ(ZVK_ImageProc_AddLine(0, nullptr, 1, 2, 3, 4, "", 1, 0), ZVK_SUCCESS);
    EXPECT_EQ(cv::norm(drawn, User()), 0.0) << "a change of view or objects draws nothing";
}

TEST_F(OverlayDrawing, AtZoom2ALineFromTheCentreBeginsInTheWindowsCorner)
{
    View(0, 0, 128, 128);
    ASSERT_EQ(ZVK_ImageProc_AddLine(0, nullptr, 64, 96, 64, 64, "", 1, 0), ZVK_SUCCESS);
    Update();
    EXPECT_GT(User().at<cv::Vec3b>(300, 400)[2], 100) << "an end is paler than the line";
    EXPECT_TRUE(IsColor(User(), kRed, 402, 300));
    EXPECT_TRUE(IsColor(User(), kRed, 598, 300));
    EXPECT_FALSE(IsColor(User(), kRed, 396, 300));
    EXPECT_FALSE(IsColor(User(), kRed, 604, 300));
}

TEST_F(OverlayDrawing, TheViewIsTakenAway)
{
    View(64, 32, 64, 64);
    ASSERT_EQ(ZVK_ImageProc_AddLine(0, nullptr, 65, 100, 33, 33, "", 3, 2), ZVK_SUCCESS);
    Update();
    EXPECT_TRUE(IsColor(User(), kMagenta, 13, 9)) << "12.5 and 9.375, cut off";
    EXPECT_TRUE(IsColor(User(), kMagenta, 440, 9));
    EXPECT_TRUE(IsColor(User(), kMagenta, 100, 10)) << "three rows thick";
    EXPECT_TRUE(IsColor(User(), kMagenta, 100, 8));
}

TEST_F(OverlayDrawing, ALabelStandsOnAPlateRightOfItsLineAndAbove)
{
    // From (100, 100) the label begins at frame pixel (120, 80): window (375, 187).
    ASSERT_EQ(ZVK_ImageProc_AddLine(0, nullptr, 0, 256, 70, 70, "", 60, 0), ZVK_SUCCESS);
    ASSERT_EQ(ZVK_ImageProc_AddLine(0, nullptr, 100, 140, 100, 100, "Line", 1, 1), ZVK_SUCCESS);
    Update();
    Keep(User(), "overlay-label.png");
    // The older line, drawn later, lies over the plate of the newer one: the order is newest first.
    EXPECT_EQ(CountColor(User(), kMagenta, {375, 178, 30, 10}), 0);
    ASSERT_EQ(ZVK_ImageProc_ClearOverlay(0), ZVK_SUCCESS);
    ASSERT_EQ(ZVK_ImageProc_AddLine(0, nullptr, 100, 140, 100, 100, "Line", 1, 1), ZVK_SUCCESS);
    ASSERT_EQ(ZVK_ImageProc_AddLine(0, nullptr, 0, 256, 70, 70, "", 60, 0), ZVK_SUCCESS);
    Update();
    EXPECT_GT(CountColor(User(), kMagenta, {375, 178, 30, 10}), 10);
    int baseline = 0;
    const cv::Size size = cv::getTextSize("Line", 0, 0.4, 1, &baseline);
    EXPECT_TRUE(IsColor(User(), {}, 373, 187 + 1 + baseline));
    EXPECT_TRUE(IsColor(User(), {}, 375 + size.width + 2, 187 - size.height - 1 - baseline));
    EXPECT_TRUE(IsColor(User(), kRed, 375 + size.width + 4, 187 - size.height));
    EXPECT_TRUE(IsColor(User(), kRed, 371, 187));
}

TEST_F(OverlayDrawing, AMarkerIsAPlusSignOfItsSizeWhateverTheZoom)
{
    for (const int32_t viewed : {256, 128}) {
        View(0, 0, viewed, viewed);
        ASSERT_EQ(ZVK_ImageProc_ClearOverlay(0), ZVK_SUCCESS);
        ASSERT_EQ(ZVK_ImageProc_AddMarker(0, nullptr, 64, 64, 30, "", 1, 0), ZVK_SUCCESS);
        Update();
        Keep(User(), "overlay-marker.png");
        const int x = 64 * 800 / viewed;
        const int y = 64 * 600 / viewed;
        for (const cv::Point end : {cv::Point(x + 28, y), {x - 28, y}, {x, y + 28}, {x, y - 28}})
            EXPECT_TRUE(IsColor(User(), kRed, end.x, end.y)) << end;
        for (const cv::Point end : {cv::Point(x + 33, y), {x - 33, y}, {x, y + 33}, {x, y - 33}})
            EXPECT_FALSE(IsColor(User(), kRed, end.x, end.y)) << end;
    }
}

TEST_F(OverlayDrawing, AMarkersLabelStandsLeftAndBelow)
{
    ASSERT_EQ(ZVK_ImageProc_AddMarker(0, nullptr, 100, 100, 10, "Mark", 1, 3), ZVK_SUCCESS);
    Update();
    EXPECT_GT(CountColor(User(), kMagenta, {250, 271, 40, 12}), 10) << "at (80, 120)";
}

TEST_F(OverlayDrawing, ARectangleIsItsDiagonalAndALabel)
{
    OneToOne();
    ASSERT_EQ(ZVK_ImageProc_AddRectangle(0, nullptr, 100, 100, 500, 300, 1, "Box", 0), ZVK_SUCCESS);
    Update();
    Keep(User(), "overlay-rectangle.png");
    EXPECT_TRUE(IsColor(User(), kRed, 102, 101));
    EXPECT_TRUE(IsColor(User(), kRed, 300, 200));
    EXPECT_TRUE(IsColor(User(), kRed, 498, 299));
    EXPECT_EQ(CountColor(User(), kRed, {502, 302, 200, 200}), 0);
    EXPECT_EQ(CountColor(User(), kRed, {300, 100, 201, 2}), 0) << "no upper side";
    EXPECT_EQ(CountColor(User(), kRed, {100, 150, 2, 151}), 0) << "no left side";
    EXPECT_GT(CountColor(User(), kRed, {120, 70, 30, 11}), 5) << "the label";
}

TEST_F(OverlayDrawing, ClearBlackensAtOnce)
{
    ASSERT_EQ(ZVK_ImageProc_AddLine(0, nullptr, 10, 200, 10, 200, "x", 5, 0), ZVK_SUCCESS);
    Update();
    ASSERT_GT(CountDrawn(User()), 0);
    ASSERT_EQ(ZVK_ImageProc_ClearOverlay(0), ZVK_SUCCESS);
    EXPECT_EQ(CountDrawn(User()), 0);
}

TEST_F(OverlayDrawing, WithoutACameraTheOverlayIsBlackenedAndNothingDrawn)
{
    ASSERT_EQ(ZVK_ImageProc_AddLine(0, nullptr, 10, 200, 10, 200, "x", 5, 0), ZVK_SUCCESS);
    g_camera.userOverlayImage.setTo(cv::Scalar::all(9));
    g_camera.initialised = 0;
    EXPECT_EQ(ZVK_ImageProc_UpdateOverlay(0), ZVK_CAMERA_NOT_INITIALIZED);
    EXPECT_EQ(CountDrawn(User()), 0);
    g_camera = {};
    EXPECT_EQ(ZVK_ImageProc_UpdateOverlay(0), ZVK_CAMERA_NOT_INITIALIZED) << "without a picture";
    EXPECT_EQ(ZVK_ImageProc_ClearOverlay(0), ZVK_SUCCESS);
    EXPECT_EQ(g_overlay.overlayImage, nullptr);
}

TEST_F(OverlayDrawing, AnyNumberIsDrawnOrLeftOut)
{
    const int32_t values[] = {INT_MIN, INT_MIN + 1, -1, 0, 1, 128, INT_MAX - 1, INT_MAX};
    const std::string label(300, 'W');
    int32_t turn = 0;
    for (const int32_t a : values)
        for (const int32_t b : values) {
            const int32_t thickness = values[++turn % 8];
            ASSERT_EQ(ZVK_ImageProc_AddLine(0, nullptr, a, b, b, a, label.c_str(), thickness, 0),
                      0);
            ASSERT_EQ(ZVK_ImageProc_AddMarker(0, nullptr, a, b, a, "\xff\x80\n%s", thickness, 1),
                      0);
            ASSERT_EQ(ZVK_ImageProc_AddRectangle(0, nullptr, a, a, b, b, 32767, "", 1), 0);
        }
    for (const int32_t viewed : {256, 1, 0, -5}) {
        View(viewed, viewed, viewed, viewed);
        Update();
    }
}

TEST_F(OverlayDrawing, ALineFromFarOutsideKeepsItsSlopeAndItsTime)
{
    OneToOne();
    // Through (500, 400) with a slope of 1.
    ASSERT_EQ(ZVK_ImageProc_AddLine(0, nullptr, 500 - 10000000, 500 + 10000000, 400 - 10000000,
                                    400 + 10000000, "", 7, 0),
              ZVK_SUCCESS);
    Update();
    for (const int at : {-300, -100, 0, 100, 300})
        EXPECT_TRUE(IsColor(User(), kRed, 500 + at, 400 + at)) << at;
    EXPECT_FALSE(IsColor(User(), kRed, 500, 300));
}

TEST_F(OverlayDrawing, AThicknessOf0IsThinAndOneThatCannotBeDrawnIsLeftOut)
{
    OneToOne();
    ASSERT_EQ(ZVK_ImageProc_AddLine(0, nullptr, 10, 900, 100, 100, "", 0, 0), ZVK_SUCCESS);
    ASSERT_EQ(ZVK_ImageProc_AddLine(0, nullptr, 10, 900, 200, 200, "", -2, 0), ZVK_SUCCESS);
    ASSERT_EQ(ZVK_ImageProc_AddLine(0, nullptr, 10, 900, 300, 300, "", 32768, 0), ZVK_SUCCESS);
    Update();
    EXPECT_TRUE(IsColor(User(), kRed, 500, 100));
    EXPECT_FALSE(IsColor(User(), kRed, 500, 200));
    EXPECT_FALSE(IsColor(User(), kRed, 500, 300));
}

// -- what the library draws --

TEST_F(OverlayDrawing, WithAllSwitchedOffNothingIsDrawn)
{
    bringUp();
    Draw();
    EXPECT_EQ(CountDrawn(Picture()), 0);
}

TEST_F(OverlayDrawing, TheRateStandsOnABlackPlateInTheLowerCorner)
{
    g_camera.frameRateOn = 1;
    g_camera.framesPerSecond = 49.73;
    g_camera.frameCount = 39;
    Draw();
    EXPECT_STREQ(g_camera.fpsText, "") << "made at every twentieth frame";
    g_camera.frameCount = 40;
    g_camera.displayImage.setTo(cv::Scalar::all(90));
    ZVK_Camera_DrawOverlay(0);
    Keep(Picture(), "overlay-rate.png");
    EXPECT_STREQ(g_camera.fpsText, "50 fps");
    int baseline = 0;
    const cv::Size size = cv::getTextSize("50 fps", 0, 0.4, 1, &baseline);
    EXPECT_GT(CountColor(Picture(), cv::Scalar::all(255), {10, 574 - size.height, size.width, 12}),
              20);
    EXPECT_TRUE(IsColor(Picture(), {}, 5, 574 + baseline + 3)) << "a corner of the plate";
    EXPECT_TRUE(IsColor(Picture(), {}, 20 + size.width, 568 - size.height - baseline));
    EXPECT_TRUE(IsColor(Picture(), cv::Scalar::all(90), 4, 574));
    EXPECT_TRUE(IsColor(Picture(), cv::Scalar::all(90), 22 + size.width, 574));
    g_camera.frameCount = 41;
    g_camera.framesPerSecond = 10.0;
    Draw();
    EXPECT_STREQ(g_camera.fpsText, "50 fps") << "kept until the next twentieth frame";
}

TEST_F(OverlayDrawing, ATextOfTheRateThatIsTooLongIsCut)
{
    g_camera.frameRateOn = 1;
    for (const double rate : {1e308, -1e308, std::numeric_limits<double>::infinity(),
                              std::numeric_limits<double>::quiet_NaN()})
    {
        g_camera.framesPerSecond = rate;
        g_camera.frameCount = 0;
        Draw();
        EXPECT_LT(std::string(g_camera.fpsText).size(), 256U);
    }
}

TEST_F(OverlayDrawing, EachTrapHasACircleAndTheFirst8CharactersOfItsLabel)
{
    OneToOne();
    bringUp();                                         // traps at (550, 375) and (560, 320)
    (void)addTrap(0, -3.0, 1.0, "12345678 and more");  // (200, 500)
    g_camera.trapMarkersOn = 1;
    Draw();
    Keep(Picture(), "overlay-traps.png");
    const cv::Mat drawn = Picture().clone();
    for (const cv::Point center : {cv::Point(200, 500), {550, 375}, {560, 320}}) {
        for (const cv::Point side : {cv::Point(10, 0), {-10, 0}, {0, 10}, {0, -10}}) {
            const cv::Point at = center + side;
            EXPECT_GT(drawn.at<cv::Vec3b>(at)[0], 100) << center << side;
        }
        EXPECT_EQ(drawn.at<cv::Vec3b>(center)[0], 0) << center;
    }
    cv::Mat expected = cv::Mat::zeros(800, 1000, CV_8UC3);
    cv::putText(expected, "12345678", {218, 500}, 0, 0.5, cv::Scalar::all(255), 1, cv::LINE_AA);
    const cv::Rect label(212, 480, 200, 30);
    EXPECT_EQ(cv::norm(drawn(label), expected(label)), 0.0);
}

TEST_F(OverlayDrawing, LabelsOfEachLengthAreSafe)
{
    OneToOne();
    bringUp();
    for (const size_t length :
         {size_t{0}, size_t{7}, size_t{8}, size_t{9}, size_t{255}, size_t{256}})
        (void)addTrap(0, 1.0, 1.0, std::string(length, 'y').c_str());
    g_camera.trapMarkersOn = 1;
    Draw();
    cv::Mat expected = cv::Mat::zeros(800, 1000, CV_8UC3);
    for (int i = 0; i < 4; ++i)
        cv::putText(expected, "yyyyyyyy", {618, 500}, 0, 0.5, cv::Scalar::all(255), 1, cv::LINE_AA);
    const cv::Rect behind(618 + cv::getTextSize("yyyyyyyy", 0, 0.5, 1, nullptr).width + 2, 480, 200,
                          30);
    EXPECT_EQ(CountDrawn(Picture()(behind).clone()), 0) << "never more than 8 characters";
    EXPECT_EQ(g_camera.markers.labels.size(), 7U);
}

TEST_F(OverlayDrawing, TheViewScalesAndMovesTraps)
{
    bringUp();
    View(500, 325, 100, 100);
    Window(500, 400);
    g_camera.trapMarkersOn = 1;
    Draw();
    // (550 - 500) * 5, (375 - 325) * 4
    EXPECT_GT(Picture().at<cv::Vec3b>(200, 260)[0], 100);
    EXPECT_GT(Picture().at<cv::Vec3b>(210, 250)[0], 100);
    EXPECT_EQ(Picture().at<cv::Vec3b>(200, 250)[0], 0);
    View(5000, 5000, 100, 100);
    Draw();
    EXPECT_EQ(CountDrawn(Picture()), 0) << "far outside";
    for (const int32_t viewed : {1, 0, -5}) {
        View(0, 0, viewed, viewed);
        Draw();
    }
}

TEST_F(OverlayDrawing, WithoutTrapsOrCoordinatesTheRestIsDrawn)
{
    g_camera.trapMarkersOn = 1;
    g_camera.calFieldOn[0] = 1;
    g_camera.frameRateOn = 1;
    Draw();
    bringUpTraps();  // no coordinates: no place can be told
    Draw();
    EXPECT_GT(CountDrawn(Picture()), 0);
}

TEST_F(OverlayDrawing, WhileTheTablesAreBeingLoadedTrapsAreLeftOut)
{
    OneToOne();
    bringUp();
    g_camera.trapMarkersOn = 1;
    std::atomic_ref(g_trafo[0].busy).store(1);
    std::atomic_ref(g_trafo[1].busy).store(1);
    Draw();
    EXPECT_EQ(CountDrawn(Picture()), 0);
    std::atomic_ref(g_trafo[0].busy).store(0);
    std::atomic_ref(g_trafo[1].busy).store(0);
    Draw();
    EXPECT_GT(CountDrawn(Picture()), 0);
}

TEST_F(OverlayDrawing, FieldsAreRedAndBlueEachByItsSwitch)
{
    OneToOne();
    bringUp();
    ASSERT_EQ(ZVK_Camera_SetCalField(0, 0, 1), ZVK_SUCCESS);
    Draw();
    EXPECT_TRUE(IsColor(Picture(), kRed, 150, 400));
    EXPECT_TRUE(IsColor(Picture(), kRed, 850, 400));
    EXPECT_TRUE(IsColor(Picture(), kRed, 300, 120));
    EXPECT_TRUE(IsColor(Picture(), kRed, 300, 680));
    EXPECT_FALSE(IsColor(Picture(), kBlue, 400, 300));
    EXPECT_EQ(ZVK_Camera_SetCalField(0, 2, 1), ZVK_CAMERA_BAD_PATH);
    ASSERT_EQ(ZVK_Camera_SetCalField(0, 0, 0), ZVK_SUCCESS);
    ASSERT_EQ(ZVK_Camera_SetCalField(0, 1, 1), ZVK_SUCCESS);
    Draw();
    EXPECT_TRUE(IsColor(Picture(), kBlue, 400, 300));
    EXPECT_TRUE(IsColor(Picture(), kBlue, 800, 300));
    EXPECT_TRUE(IsColor(Picture(), kBlue, 600, 160));
    EXPECT_TRUE(IsColor(Picture(), kBlue, 600, 440));
    EXPECT_FALSE(IsColor(Picture(), kRed, 150, 400));
}

TEST_F(OverlayDrawing, AllTogetherIsGoodToLookAt)
{
    OneToOne();
    bringUp();
    int number = 0;
    for (const double x : {-3.0, -1.0, 1.0, 3.0})
        for (const double y : {-2.0, 2.0})
            (void)addTrap(0, x, y, ("A_" + std::to_string(++number)).c_str());
    g_camera.trapMarkersOn = g_camera.frameRateOn = 1;
    g_camera.calFieldOn[0] = g_camera.calFieldOn[1] = 1;
    g_camera.framesPerSecond = 49.7;
    Draw();
    ASSERT_EQ(ZVK_ImageProc_AddLine(0, nullptr, 100, 400, 600, 700, "Channel wall", 2, 0), 0);
    ASSERT_EQ(ZVK_ImageProc_AddMarker(0, nullptr, 700, 500, 25, "Bead", 2, 1), 0);
    ASSERT_EQ(ZVK_ImageProc_AddRectangle(0, nullptr, 600, 600, 750, 650, 1, "Box", 1), 0);
    Update();
    const cv::Mat both = Picture() + User();
    Keep(both, "overlay-all.png");
    EXPECT_GT(CountDrawn(both), 5000);
    EXPECT_GT(CountColor(both, kMagenta, {670, 470, 60, 60}), 50);
}
