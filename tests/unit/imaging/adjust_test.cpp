// Contrast, background, flip: what a display pass makes of a frame, and what clients set.

#include "camera_fixture.h"
#include "imaging/adjust.h"
#include "imaging/color_mode.h"

#include "quorvex/errors.h"

#include <opencv2/imgproc.hpp>

#include <cmath>
#include <limits>

class ImageAdjust : public CameraTest
{
protected:
    void Start(const CameraConfig &config = {})
    {
        BringUp(config);
        BeginLoops();
    }

    // A frame of that content, shown.
    static void Show(const cv::Mat &frame)
    {
        {
            const std::lock_guard lock(CameraFrame());
            frame.copyTo(g_camera.acquiredImage);
        }
        ASSERT_TRUE(Acquire());
        ASSERT_TRUE(Display());
    }

    static cv::Mat Frame(const cv::Scalar &color) { return {256, 256, CV_8UC3, color}; }

    static std::vector<int> At(const cv::Mat &image, int x, int y)
    {
        const auto pixel = image.at<cv::Vec3b>(y, x);
        return {pixel[0], pixel[1], pixel[2]};
    }

    static std::vector<int> Shown(int x, int y) { return At(g_camera.displayImage, x, y); }

    static std::vector<double> Limits()
    {
        double low = -1.0;
        double high = -1.0;
        EXPECT_EQ(ZVK_Camera_GetContrastLimits(0, &low, &high), ZVK_SUCCESS);
        return {low, high};
    }
};

using Pixel = std::vector<int>;
using Counts = std::vector<double>;

TEST_F(ImageAdjust, GatedCallsGiveNotInitializedAndSetNothing)
{
    double low = 3.0;
    EXPECT_EQ(ZVK_Camera_SetAutoContrast(0, 1), ZVK_CAMERA_NOT_INITIALIZED);
    EXPECT_EQ(ZVK_Camera_GetContrastLimits(0, &low, &low), ZVK_CAMERA_NOT_INITIALIZED);
    EXPECT_EQ(ZVK_Camera_SetComputeHistogram(0, 1), ZVK_CAMERA_NOT_INITIALIZED)
        << "before the look at HISTOSUPPORT";
    EXPECT_EQ(ZVK_Camera_ComputeHistogram(0), ZVK_CAMERA_NOT_INITIALIZED);
    EXPECT_EQ(ZVK_Camera_EnableLiveAsBackgroundImage(0, 1), ZVK_CAMERA_NOT_INITIALIZED);
    EXPECT_EQ(ZVK_Camera_SetCurrentLiveAsBackgroundImage(0), ZVK_CAMERA_NOT_INITIALIZED);
    EXPECT_EQ(ZVK_Camera_SetOverlayAlpha(0, 1.5), ZVK_CAMERA_NOT_INITIALIZED)
        << "before the look at the range";
    EXPECT_EQ(ZVK_Camera_AdjustFlOverlayRGB(0, 1.0, 1.0, 1.0), ZVK_CAMERA_NOT_INITIALIZED);
    EXPECT_EQ(low, 3.0);
    EXPECT_EQ(g_camera.autoContrast, 0);
    EXPECT_EQ(g_camera.computeHistogram, 0);
    EXPECT_EQ(g_camera.backgroundOn, 0);
    EXPECT_EQ(g_camera.overlayAlpha, 0.0);
    EXPECT_EQ(g_camera.histogramsCreated, 0);
}

TEST_F(ImageAdjust, AfterInitNothingIsSwitchedOn)
{
    Start();
    EXPECT_EQ(Limits(), (Counts{0.0, 0.0}));
    EXPECT_EQ(Get(&ZVK_CameraState::overlayAlpha), 1.0);
    EXPECT_EQ(Get(&ZVK_CameraState::flip), 0);
    EXPECT_EQ(Get(&ZVK_CameraState::autoContrast), 0);
    EXPECT_EQ(Get(&ZVK_CameraState::backgroundOn), 0);
    EXPECT_EQ(Get(&ZVK_CameraState::computeHistogram), 0);
}

TEST_F(ImageAdjust, SwitchesKeepWhetherTheirArgumentIs0)
{
    Start();
    EXPECT_EQ(ZVK_Camera_SetAutoContrast(0, 256), ZVK_SUCCESS);
    EXPECT_EQ(ZVK_Camera_EnableLiveAsBackgroundImage(0, 256), ZVK_SUCCESS);
    EXPECT_EQ(Get(&ZVK_CameraState::autoContrast), 1);
    EXPECT_EQ(Get(&ZVK_CameraState::backgroundOn), 1);
    EXPECT_EQ(ZVK_Camera_SetAutoContrast(0, 0), ZVK_SUCCESS);
    EXPECT_EQ(ZVK_Camera_EnableLiveAsBackgroundImage(0, 0), ZVK_SUCCESS);
    EXPECT_EQ(Get(&ZVK_CameraState::autoContrast), 0);
    EXPECT_EQ(Get(&ZVK_CameraState::backgroundOn), 0);
}

TEST_F(ImageAdjust, LimitsAreStoredInOrderAndNeedNoCamera)
{
    EXPECT_EQ(ZVK_Camera_SetContrastLimits(0, 10.0, 5.0), ZVK_SUCCESS);
    EXPECT_EQ(g_camera.contrastLow, 5.0);
    EXPECT_EQ(g_camera.contrastHigh, 10.0);
    EXPECT_EQ(g_camera.contrastChanged, 1);
    EXPECT_EQ(ZVK_Camera_SetContrastLimits(0, -3.0, 70000.5), ZVK_SUCCESS);
    EXPECT_EQ(g_camera.contrastLow, -3.0);
    EXPECT_EQ(g_camera.contrastHigh, 70000.5);
}

TEST_F(ImageAdjust, AStretchMapsTheLimitsTo0And255AndCutsOff)
{
    Start();
    cv::Mat input(1, 5, CV_8UC3);
    const int values[] = {10, 50, 101, 149, 200};
    for (int i = 0; i < 5; ++i)
        input.at<cv::Vec3b>(0, i) = cv::Vec3b::all(static_cast<uint8_t>(values[i]));
    cv::Mat output;
    ZVK_Camera_AdjustBrightnessContrast(input, output, 50.0, 150.0);
    const int expected[] = {0, 0, 130, 252, 255};  // 51 * 2.55 is 130.05, 99 * 2.55 is 252.45
    for (int i = 0; i < 5; ++i)
        EXPECT_EQ(At(output, i, 0), (Pixel(3, expected[i]))) << i;
    EXPECT_EQ(output.type(), CV_8UC3);
}

TEST_F(ImageAdjust, ADeepImageBecomesOneOf8Bits)
{
    Start();
    const cv::Mat input(2, 2, CV_16UC1, cv::Scalar(30000));
    cv::Mat output;
    ZVK_Camera_AdjustBrightnessContrast(input, output, 0.0, 60000.0);
    EXPECT_EQ(output.type(), CV_8UC1);
    EXPECT_NEAR(output.at<uint8_t>(0, 0), 128, 1);
    g_camera.contrastScratchImage.Drop();
}

TEST_F(ImageAdjust, NewLimitsAreShownInOnePassWhichIsNotFlipped)
{
    Start();
    cv::Mat frame = Frame({100, 100, 100});
    frame(cv::Rect(0, 0, 256, 128)).setTo(cv::Scalar(150, 150, 150));  // the upper half
    ASSERT_EQ(ZVK_Camera_FlipImage(0, 1), ZVK_SUCCESS);
    Show(frame);
    EXPECT_EQ(Shown(400, 10), (Pixel{100, 100, 100})) << "upside down";
    ASSERT_EQ(ZVK_Camera_SetContrastLimits(0, 100.0, 150.0), ZVK_SUCCESS);
    Show(frame);
    EXPECT_EQ(Shown(400, 10), (Pixel{255, 255, 255})) << "stretched, upright";
    EXPECT_EQ(Shown(400, 590), (Pixel{0, 0, 0}));
    EXPECT_EQ(Get(&ZVK_CameraState::contrastChanged), 0);
    Show(frame);
    EXPECT_EQ(Shown(400, 10), (Pixel{100, 100, 100})) << "as it was before";
}

TEST_F(ImageAdjust, NewLimitsKeepTheView)
{
    Start();
    cv::Mat frame = Frame({100, 100, 100});
    frame(cv::Rect(128, 128, 128, 128)).setTo(cv::Scalar(150, 150, 150));
    ASSERT_EQ(ZVK_Camera_SetZoom(0, 256, 256, 2.0), ZVK_SUCCESS);
    ASSERT_EQ(ZVK_Camera_SetContrastLimits(0, 100.0, 150.0), ZVK_SUCCESS);
    Show(frame);
    EXPECT_EQ(Shown(10, 10), (Pixel{255, 255, 255}));
    EXPECT_EQ(Shown(790, 590), (Pixel{255, 255, 255}));
}

TEST_F(ImageAdjust, LimitsWithoutADifferenceOrWithoutANumberEndNothing)
{
    Start();
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const double infinite = std::numeric_limits<double>::infinity();
    const std::vector<Counts> pairs = {
        {7.0, 7.0}, {0.0, 0.0}, {nan, 5.0}, {nan, nan}, {-infinite, infinite}, {1e300, -1e300}};
    for (const Counts &limits : pairs) {
        ASSERT_EQ(ZVK_Camera_SetContrastLimits(0, limits[0], limits[1]), ZVK_SUCCESS);
        const size_t shown = windows.Pictures().size();
        Show(Frame({7, 8, 9}));
        EXPECT_EQ(windows.Pictures().size(), shown + 1);
    }
    Show(Frame({7, 8, 9}));
    EXPECT_EQ(Shown(400, 300), (Pixel{7, 8, 9}));
}

TEST_F(ImageAdjust, AutomaticLimitsComeFromEachFrameByTheColorMode)
{
    // Frames of two colours: planes from 0 to 250, grey values 64.1 and 133.5.
    struct Row
    {
        const char *colorMode;
        Counts limits;
    };
    const std::vector<Row> rows = {
        {"0", {0.0, 0.0}}, {"1", {0.0, 250.0}}, {"2", {64.0, 133.0}}, {"3", {0.0, 250.0}},
        {"4", {0.0, 0.0}}, {"60", {0.0, 0.0}},  {"63", {0.0, 250.0}},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.colorMode);
        g_camera = {};
        Start({.colorMode = row.colorMode});
        ASSERT_EQ(ZVK_Camera_SetAutoContrast(0, 1), ZVK_SUCCESS);
        cv::Mat frame = Frame({200, 50, 40});
        frame(cv::Rect(0, 0, 3, 3)).setTo(cv::Scalar(0, 100, 250));
        Show(frame);
        const Counts limits = Limits();
        EXPECT_NEAR(limits[0], row.limits[0], 1.0);
        EXPECT_NEAR(limits[1], row.limits[1], 1.0);
        EXPECT_EQ(Shown(700, 500), (Pixel{200, 50, 40})) << "the simulated frame isn't stretched";
    }
}

TEST_F(ImageAdjust, LimitsAreTakenOfAllPlanes)
{
    Start({.colorMode = "1"});
    ASSERT_EQ(ZVK_Camera_SetAutoContrast(0, 1), ZVK_SUCCESS);
    for (int brightest = 0; brightest < 3; ++brightest) {
        cv::Scalar color(100, 100, 100);
        color[brightest] = 200;
        color[(brightest + 1) % 3] = 50;
        Show(Frame(color));
        EXPECT_EQ(Limits(), (Counts{50.0, 200.0})) << brightest;
    }
}

TEST_F(ImageAdjust, LimitsAreThoseOfTheFrameInHandAndNotOfALaterOne)
{
    for (const char *colorMode : {"1", "2"}) {
        SCOPED_TRACE(colorMode);
        g_camera = {};
        Start({.colorMode = colorMode});
        ASSERT_EQ(ZVK_Camera_SetAutoContrast(0, 1), ZVK_SUCCESS);
        {
            const std::lock_guard lock(CameraFrame());
            g_camera.acquiredImage.setTo(cv::Scalar::all(30));
        }
        ASSERT_TRUE(Acquire());
        {
            const std::lock_guard lock(CameraFrame());
            g_camera.acquiredImage.setTo(cv::Scalar::all(90));
        }
        ASSERT_TRUE(Display());
        EXPECT_EQ(Limits(), (Counts{30.0, 30.0}));
    }
}

// Every mode and every size of window, with everything on that works on frames.
TEST_F(ImageAdjust, TheSimulatedCamerasImagesSufficeForEachModeAndEachSize)
{
    struct Size
    {
        const char *width;
        const char *height;
    };
    const std::vector<Size> sizes = {{"31", "7"}, {"256", "256"}, {"1", "1"}, {"1500", "2"}};
    for (int mode = 0; mode < 64; ++mode) {
        const Size &size = sizes[static_cast<size_t>(mode) % sizes.size()];
        SCOPED_TRACE(mode);
        g_camera = {};
        Start({.colorMode = std::to_string(mode),
               .width = size.width,
               .height = size.height,
               .histogram = "1"});
        ASSERT_EQ(ZVK_Camera_SetAutoContrast(0, 1), ZVK_SUCCESS);
        ASSERT_EQ(ZVK_Camera_SetComputeHistogram(0, 1), ZVK_SUCCESS);
        ASSERT_EQ(ZVK_Camera_EnableLiveAsBackgroundImage(0, 1), ZVK_SUCCESS);
        ASSERT_EQ(ZVK_Camera_SetCurrentLiveAsBackgroundImage(0), ZVK_SUCCESS);
        ASSERT_EQ(ZVK_Camera_SetOverlayAlpha(0, 0.5), ZVK_SUCCESS);
        for (const double zoom : {1.0, 3.0}) {
            const size_t shown = windows.Pictures().size();
            ASSERT_EQ(ZVK_Camera_SetZoom(0, 10, 200, zoom), ZVK_SUCCESS);
            ASSERT_EQ(ZVK_Camera_SetContrastLimits(0, 10.0, 90.0), ZVK_SUCCESS);
            ASSERT_EQ(ZVK_Camera_AdjustFlOverlayRGB(0, 0.1, 0.2, 0.3), ZVK_SUCCESS);
            ASSERT_EQ(ZVK_Camera_ComputeHistogram(0), ZVK_SUCCESS);
            Show(Frame({40, 50, 60}));
            EXPECT_GT(windows.Pictures().size(), shown);
            EXPECT_EQ(windows.Pictures().back().title, "Camera Window");
        }
        ASSERT_EQ(ZVK_Camera_Shutdown(0), ZVK_SUCCESS);
    }
}

TEST_F(ImageAdjust, AnAlphaThatIsNoNumberIsStoredAndEndsNothing)
{
    Start();
    EXPECT_EQ(ZVK_Camera_SetOverlayAlpha(0, std::numeric_limits<double>::quiet_NaN()), ZVK_SUCCESS);
    EXPECT_TRUE(std::isnan(Get(&ZVK_CameraState::overlayAlpha)));
    ASSERT_EQ(ZVK_Camera_EnableLiveAsBackgroundImage(0, 1), ZVK_SUCCESS);
    Show(Frame({1, 2, 3}));
    ASSERT_EQ(ZVK_Camera_SetOverlayAlpha(0, 1.0), ZVK_SUCCESS);
    Show(Frame({1, 2, 3}));
    EXPECT_EQ(Shown(400, 300), (Pixel{1, 2, 3}));
}

TEST_F(ImageAdjust, BehindTheCamerasEndARecoloringSetsNothing)
{
    Start({.colorMode = "9"});
    ASSERT_EQ(ZVK_Camera_SetContrastLimits(0, 1.0, 77.0), ZVK_SUCCESS);
    ASSERT_EQ(ZVK_Camera_Shutdown(0), ZVK_SUCCESS);
    EXPECT_EQ(ZVK_Camera_AdjustFlOverlayRGB(0, 1.0, 1.0, 1.0), ZVK_CAMERA_NOT_INITIALIZED);
    EXPECT_EQ(ZVK_Camera_SetCurrentLiveAsBackgroundImage(0), ZVK_CAMERA_NOT_INITIALIZED);
    EXPECT_EQ(Get(&ZVK_CameraState::contrastHigh), 77.0);
    EXPECT_EQ(Get(&ZVK_CameraState::backgroundOn), 0);
}

TEST_F(ImageAdjust, AlphaOutOfRangeIsClampedWithAWarning)
{
    Start();
    EXPECT_EQ(ZVK_Camera_SetOverlayAlpha(0, 1.5), ZVK_CAMERA_BAD_ALPHA);
    EXPECT_EQ(Get(&ZVK_CameraState::overlayAlpha), 1.0);
    EXPECT_EQ(ZVK_Camera_SetOverlayAlpha(0, 0.25), ZVK_SUCCESS);
    EXPECT_EQ(Get(&ZVK_CameraState::overlayAlpha), 0.25);
    EXPECT_EQ(ZVK_Camera_SetOverlayAlpha(0, -0.001), ZVK_CAMERA_BAD_ALPHA);
    EXPECT_EQ(Get(&ZVK_CameraState::overlayAlpha), 0.0);
    EXPECT_EQ(ZVK_Camera_SetOverlayAlpha(0, 1.0), ZVK_SUCCESS);
    EXPECT_EQ(ZVK_Camera_SetOverlayAlpha(0, 0.0), ZVK_SUCCESS);
}

TEST_F(ImageAdjust, TheBackgroundIsBlendedAtEachSizeOfTheWindow)
{
    for (const char *width : {"800", "256", "31"}) {
        SCOPED_TRACE(width);
        g_camera = {};
        Start({.width = width, .height = "256"});
        Show(Frame({100, 0, 40}));
        ASSERT_EQ(ZVK_Camera_SetCurrentLiveAsBackgroundImage(0), ZVK_SUCCESS);
        ASSERT_EQ(ZVK_Camera_EnableLiveAsBackgroundImage(0, 1), ZVK_SUCCESS);
        Show(Frame({0, 200, 80}));
        EXPECT_EQ(Shown(15, 100), (Pixel{0, 200, 80})) << "1.0: the frame alone";
        ASSERT_EQ(ZVK_Camera_SetOverlayAlpha(0, 0.5), ZVK_SUCCESS);
        Show(Frame({0, 200, 80}));
        EXPECT_EQ(Shown(15, 100), (Pixel{50, 100, 60}));
        ASSERT_EQ(ZVK_Camera_SetOverlayAlpha(0, 0.0), ZVK_SUCCESS);
        Show(Frame({0, 200, 80}));
        EXPECT_EQ(Shown(15, 100), (Pixel{100, 0, 40})) << "0.0: the background alone";
        ASSERT_EQ(ZVK_Camera_EnableLiveAsBackgroundImage(0, 0), ZVK_SUCCESS);
        Show(Frame({0, 200, 80}));
        EXPECT_EQ(Shown(15, 100), (Pixel{0, 200, 80}));
    }
}

TEST_F(ImageAdjust, LimitsAreTakenBeforeTheBlend)
{
    Start();
    Show(Frame({200, 200, 200}));
    ASSERT_EQ(ZVK_Camera_SetCurrentLiveAsBackgroundImage(0), ZVK_SUCCESS);
    ASSERT_EQ(ZVK_Camera_EnableLiveAsBackgroundImage(0, 1), ZVK_SUCCESS);
    ASSERT_EQ(ZVK_Camera_SetOverlayAlpha(0, 0.0), ZVK_SUCCESS);
    ASSERT_EQ(ZVK_Camera_SetAutoContrast(0, 1), ZVK_SUCCESS);
    Show(Frame({10, 11, 12}));
    EXPECT_EQ(Limits(), (Counts{10.0, 12.0})) << "of the frame, not of what is shown";
    EXPECT_EQ(Shown(400, 300), (Pixel{200, 200, 200}));
}

TEST_F(ImageAdjust, RecoloringSumsThePlanesIntoTheFirst)
{
    Start();
    {
        const std::lock_guard picture(CameraPicture());
        g_camera.backgroundImage.setTo(cv::Scalar(10, 20, 30));
    }
    ASSERT_EQ(ZVK_Camera_AdjustFlOverlayRGB(0, 2.0, 1.0, 0.5), ZVK_SUCCESS);
    // 2 * 10 + 1 * 20 is 40; (2 + 1) * 40 + 0.5 * 30 is 135
    EXPECT_EQ(At(g_camera.backgroundImage, 5, 5), (Pixel{135, 20, 30}));
    EXPECT_EQ(Get(&ZVK_CameraState::backgroundOn), 1) << "also when it was off";
    EXPECT_EQ(g_camera.backgroundImage.type(), CV_8UC3);
    ASSERT_EQ(ZVK_Camera_AdjustFlOverlayRGB(0, 100.0, 0.0, -1e6), ZVK_SUCCESS);
    EXPECT_EQ(At(g_camera.backgroundImage, 5, 5), (Pixel{0, 20, 30})) << "cut off";
}

TEST_F(ImageAdjust, RecoloringSetsTheUpperLimitByTheLastDepthOfTheMode)
{
    const std::vector<std::pair<const char *, double>> rows = {
        {"1", 77.0}, {"5", 77.0}, {"9", 4095.0}, {"25", 16383.0}, {"57", 65535.0}, {"33", 65535.0}};
    for (const auto &[colorMode, high] : rows) {
        SCOPED_TRACE(colorMode);
        g_camera = {};
        Start({.colorMode = colorMode});
        ASSERT_EQ(ZVK_Camera_SetContrastLimits(0, 1.0, 77.0), ZVK_SUCCESS);
        ASSERT_EQ(ZVK_Camera_AdjustFlOverlayRGB(0, 1.0, 1.0, 1.0), ZVK_SUCCESS);
        EXPECT_EQ(Limits(), (Counts{1.0, high}));
        EXPECT_EQ(g_camera.backgroundImage.depth(), CV_8U) << "the depth that it really has";
        Show(Frame({1, 2, 3}));
    }
}

TEST_F(ImageAdjust, WithoutAFrameNothingIsBlendedOrRecolored)
{
    Start();
    ASSERT_EQ(ZVK_Camera_SetROI(0, 9, 3, nullptr, nullptr), ZVK_SUCCESS);  // no pixel is left
    EXPECT_EQ(ZVK_Camera_SetCurrentLiveAsBackgroundImage(0), ZVK_SUCCESS);
    EXPECT_EQ(ZVK_Camera_AdjustFlOverlayRGB(0, 1.0, 1.0, 1.0), ZVK_SUCCESS);
    EXPECT_EQ(ZVK_Camera_ComputeHistogram(0), ZVK_SUCCESS);
    EXPECT_EQ(Get(&ZVK_CameraState::backgroundOn), 1);
    EXPECT_TRUE(Acquire());
    EXPECT_TRUE(Display());
}

TEST_F(ImageAdjust, FlipTakesMinus1To4AndNeedsNoCamera)
{
    for (int32_t flip = -1; flip <= 4; ++flip) {
        EXPECT_EQ(ZVK_Camera_FlipImage(0, flip), ZVK_SUCCESS);
        EXPECT_EQ(g_camera.flip, flip);
    }
    EXPECT_EQ(ZVK_Camera_FlipImage(0, 5), ZVK_CAMERA_BAD_PARAMETER);
    EXPECT_EQ(ZVK_Camera_FlipImage(0, -2), ZVK_CAMERA_BAD_PARAMETER);
    EXPECT_EQ(g_camera.flip, 4);
}

TEST_F(ImageAdjust, EachFlipTurnsThePictureAsItIsTold)
{
    // The corners of the frame: 1 2 above, 3 4 below; where each flip shows them.
    struct Row
    {
        int32_t flip;
        std::vector<int> corners;  // upper left, upper right, lower left, lower right
    };
    const std::vector<Row> rows = {
        {-1, {4, 3, 2, 1}}, {0, {1, 2, 3, 4}}, {1, {3, 4, 1, 2}},
        {2, {2, 1, 4, 3}},  {3, {2, 4, 1, 3}}, {4, {3, 1, 4, 2}},
    };
    Start();
    cv::Mat frame = Frame({});
    int number = 0;
    for (const cv::Point corner : {cv::Point(0, 0), {128, 0}, {0, 128}, {128, 128}})
        frame(cv::Rect(corner, cv::Size(128, 128))).setTo(cv::Scalar::all(++number));
    for (const Row &row : rows) {
        SCOPED_TRACE(row.flip);
        ASSERT_EQ(ZVK_Camera_FlipImage(0, row.flip), ZVK_SUCCESS);
        Show(frame);
        EXPECT_EQ((std::vector<int>{Shown(5, 5)[0], Shown(795, 5)[0], Shown(5, 595)[0],
                                    Shown(795, 595)[0]}),
                  row.corners);
        EXPECT_EQ(g_camera.displayImage.size(), cv::Size(800, 600));
    }
}

TEST_F(ImageAdjust, ATransposedPictureIsPressedIntoTheWindowByAreas)
{
    Start({.width = "90", .height = "37"});
    cv::Mat frame(256, 256, CV_8UC3);
    cv::RNG(7).fill(frame, cv::RNG::UNIFORM, 0, 256);
    for (const int32_t flip : {3, 4}) {
        ASSERT_EQ(ZVK_Camera_FlipImage(0, flip), ZVK_SUCCESS);
        Show(frame);
        cv::Mat scaled;
        cv::Mat expected;
        cv::resize(frame, scaled, {90, 37}, 0.0, 0.0, cv::INTER_AREA);
        cv::transpose(scaled, scaled);
        cv::resize(scaled, expected, {90, 37}, 0.0, 0.0, cv::INTER_AREA);
        cv::flip(expected, expected, flip - 3);
        EXPECT_EQ(cv::norm(expected, g_camera.displayImage, cv::NORM_L1), 0.0) << flip;
    }
}
