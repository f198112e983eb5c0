// The acquisition and the display loop, one pass at a time on the test's thread.

#include "camera_fixture.h"

#include "quorvex/errors.h"

using Sizes = std::vector<int32_t>;

class CameraLoops : public CameraTest
{
protected:
    void SetUp() override
    {
        CameraTest::SetUp();
        BringUp();
        BeginLoops();
    }

    static void Paint(const cv::Scalar &color)
    {
        const std::lock_guard frame(CameraFrame());
        g_camera.acquiredImage.setTo(color);
    }

    static std::vector<int> PixelOf(const cv::Mat &image, int x, int y)
    {
        const auto pixel = image.at<cv::Vec3b>(y, x);
        return {pixel[0], pixel[1], pixel[2]};
    }
};

using Pixel = std::vector<int>;

TEST_F(CameraLoops, EachFrameWaits20MillisecondsAndIsCounted)
{
    const size_t before = clock.Delays().size();
    for (int i = 1; i <= 3; ++i) {
        EXPECT_TRUE(Acquire());
        EXPECT_EQ(Get(&ZVK_CameraState::frameCount), i);
    }
    const std::vector<double> delays = clock.Delays();
    EXPECT_EQ(std::vector<double>(delays.begin() + static_cast<long>(before), delays.end()),
              (std::vector<double>{0.02, 0.02, 0.02}));
    EXPECT_EQ(Get(&ZVK_CameraState::frameReady), 0);
}

TEST_F(CameraLoops, TheRateIs0UntilTheTwentiethFrameAndThenTheMeanOfTwenty)
{
    for (int i = 1; i < 20; ++i) {
        ASSERT_TRUE(Acquire());
        ASSERT_EQ(Get(&ZVK_CameraState::framesPerSecond), 0.0) << i;
    }
    const double first = 1.0 / (0.4 + 0.02);  // from 0 s, behind the two exchanges of Init
    ASSERT_TRUE(Acquire());
    EXPECT_NEAR(Get(&ZVK_CameraState::framesPerSecond), (first + 19 * 50.0) / 20, 1e-6);
    for (int i = 1; i < 20; ++i)
        ASSERT_TRUE(Acquire());
    EXPECT_NEAR(Get(&ZVK_CameraState::framesPerSecond), (first + 19 * 50.0) / 20, 1e-6) << "kept";
    ASSERT_TRUE(Acquire());
    EXPECT_NEAR(Get(&ZVK_CameraState::framesPerSecond), 50.0, 1e-6);
}

TEST_F(CameraLoops, ASlowerPassMakesASlowerRate)
{
    for (int i = 1; i <= 40; ++i) {
        clock.Advance(0.03);
        ASSERT_TRUE(Acquire());
    }
    EXPECT_NEAR(Get(&ZVK_CameraState::framesPerSecond), 20.0, 1e-6);
    EXPECT_NEAR(Get(&ZVK_CameraState::currentFrameTime) - Get(&ZVK_CameraState::previousFrameTime),
                0.05, 1e-9);
}

TEST_F(CameraLoops, TheRecordedTimeIsThatOfTheFrame)
{
    CameraSet(&ZVK_CameraState::recordStartTime, 0.1);
    ASSERT_TRUE(Acquire());
    EXPECT_NEAR(Get(&ZVK_CameraState::recordElapsed), 0.4 + 0.02 - 0.1, 1e-9);
}

TEST_F(CameraLoops, AFrameIsHandedOverOnlyWhenTheLastOneIsConsumed)
{
    Paint({10, 20, 30, 0});
    ASSERT_TRUE(Acquire());
    EXPECT_EQ(Get(&ZVK_CameraState::frameConsumed), 0);
    EXPECT_EQ(PixelOf(g_camera.workImage, 5, 5), (Pixel{10, 20, 30}));

    Paint({40, 50, 60, 0});
    ASSERT_TRUE(Acquire());
    EXPECT_EQ(Get(&ZVK_CameraState::frameCount), 2) << "counted";
    EXPECT_EQ(PixelOf(g_camera.workImage, 5, 5), (Pixel{10, 20, 30})) << "and dropped";

    ASSERT_TRUE(Display());
    EXPECT_EQ(Get(&ZVK_CameraState::frameConsumed), 1);
    ASSERT_TRUE(Acquire());
    EXPECT_EQ(PixelOf(g_camera.workImage, 5, 5), (Pixel{40, 50, 60}));
}

TEST_F(CameraLoops, TheWindowShowsTheFrameInItsOwnSize)
{
    Paint({10, 20, 30, 0});
    ASSERT_TRUE(Acquire());
    ASSERT_TRUE(Display());
    const auto pictures = windows.Pictures();
    ASSERT_EQ(pictures.size(), 1U);
    EXPECT_EQ(pictures[0].title, "Camera Window");
    EXPECT_EQ(pictures[0].width, 800);
    EXPECT_EQ(pictures[0].height, 600);
    EXPECT_EQ(pictures[0].pixel[0], 10);
    EXPECT_EQ(pictures[0].pixel[2], 30);
    EXPECT_EQ(PixelOf(g_camera.displayImage, 799, 599), (Pixel{10, 20, 30}));
}

TEST_F(CameraLoops, TheViewIsScaledToTheWindow)
{
    Paint({0, 0, 0, 0});
    g_camera.acquiredImage(cv::Rect(128, 128, 128, 128)).setTo(cv::Scalar(200, 0, 0));
    ASSERT_EQ(ZVK_Camera_SetZoom(0, 256, 256, 2.0), ZVK_SUCCESS);
    ASSERT_TRUE(Acquire());
    ASSERT_TRUE(Display());
    EXPECT_EQ(PixelOf(g_camera.displayImage, 0, 0), (Pixel{200, 0, 0}));
    EXPECT_EQ(PixelOf(g_camera.displayImage, 799, 599), (Pixel{200, 0, 0}));
    ASSERT_EQ(ZVK_Camera_SetZoom(0, 0, 0, 2.0), ZVK_SUCCESS);
    ASSERT_TRUE(Acquire());
    ASSERT_TRUE(Display());
    EXPECT_EQ(PixelOf(g_camera.displayImage, 400, 300), (Pixel{0, 0, 0}));
}

TEST_F(CameraLoops, AViewWithoutPixelsKeepsTheLastPicture)
{
    Paint({10, 20, 30, 0});
    ASSERT_TRUE(Acquire());
    ASSERT_TRUE(Display());
    Paint({90, 90, 90, 0});
    ASSERT_EQ(ZVK_Camera_SetZoom(0, 100, 100, 1e9), ZVK_SUCCESS);
    ASSERT_TRUE(Acquire());
    ASSERT_TRUE(Display());
    EXPECT_EQ(PixelOf(g_camera.displayImage, 400, 300), (Pixel{10, 20, 30}));
    EXPECT_EQ(windows.Pictures().size(), 2U);
}

TEST_F(CameraLoops, AViewLargerThanTheFrameIsTheWholeFrame)
{
    Paint({10, 20, 30, 0});
    CameraSet(&ZVK_CameraState::viewWidth, 800);
    CameraSet(&ZVK_CameraState::viewHeight, 600);
    ASSERT_TRUE(Acquire());
    ASSERT_TRUE(Display());
    EXPECT_EQ(PixelOf(g_camera.displayImage, 799, 599), (Pixel{10, 20, 30}));
}

TEST_F(CameraLoops, TheUserOverlayIsAddedAndSaturatesWhileItIsOn)
{
    Paint({200, 20, 30, 0});
    g_camera.userOverlayImage.setTo(cv::Scalar(100, 1, 0));
    ASSERT_TRUE(Acquire());
    ASSERT_TRUE(Display());
    EXPECT_EQ(PixelOf(g_camera.displayImage, 7, 7), (Pixel{200, 20, 30}));
    ASSERT_EQ(ZVK_Camera_SetUserOverlay(0, 5), ZVK_SUCCESS);
    ASSERT_TRUE(Acquire());
    ASSERT_TRUE(Display());
    EXPECT_EQ(PixelOf(g_camera.displayImage, 7, 7), (Pixel{255, 21, 30}));
    ASSERT_EQ(ZVK_Camera_SetUserOverlay(0, 0), ZVK_SUCCESS);
    ASSERT_TRUE(Acquire());
    ASSERT_TRUE(Display());
    EXPECT_EQ(PixelOf(g_camera.displayImage, 7, 7), (Pixel{200, 20, 30}));
}

TEST_F(CameraLoops, AWindowThatRefusesAPictureEndsNothing)
{
    windows.FailAt(1);
    ASSERT_TRUE(Acquire());
    ASSERT_TRUE(Display());
    EXPECT_TRUE(windows.Failed());
    ASSERT_TRUE(Acquire());
    ASSERT_TRUE(Display());
    EXPECT_EQ(windows.Pictures().size(), 1U);
}

TEST_F(CameraLoops, ImagesKeepTheirPlaceFromFrameToFrame)
{
    ASSERT_TRUE(Acquire());
    ASSERT_TRUE(Display());
    const void *work = g_camera.workImage.data;
    const void *adjusted = g_camera.adjustedImage.data;
    const void *scaled = g_camera.scaledImage.data;
    const void *display = g_camera.displayImage.data;
    ASSERT_EQ(ZVK_Camera_SetZoom(0, 10, 10, 3.0), ZVK_SUCCESS);
    ASSERT_TRUE(Acquire());
    ASSERT_TRUE(Display());
    EXPECT_EQ(g_camera.workImage.data, work);
    EXPECT_EQ(g_camera.adjustedImage.data, adjusted);
    EXPECT_EQ(g_camera.scaledImage.data, scaled);
    EXPECT_EQ(g_camera.displayImage.data, display);
    EXPECT_EQ(static_cast<const void *>(g_camera.displayHeader.imageData), display);
}

TEST_F(CameraLoops, PassesEndWhenTheirLoopIsToldTo)
{
    CameraSet(&ZVK_CameraState::runDisplay, uint8_t{0});
    EXPECT_FALSE(Display());
    CameraSet(&ZVK_CameraState::runAcquire, uint8_t{0});
    const size_t delays = clock.Delays().size();
    EXPECT_FALSE(Acquire());
    EXPECT_EQ(clock.Delays().size(), delays);
    EXPECT_EQ(Get(&ZVK_CameraState::frameCount), 0);
}

TEST_F(CameraLoops, TheAcquisitionLoopSetsItsFlagsRunsAndClearsThem)
{
    g_camera.runAcquire = g_camera.acquireRunning = g_camera.frameConsumed = 0;
    g_camera.frameReady = 1;
    std::vector<int> seen;
    clock.OnWait([&] {
        seen = {Get(&ZVK_CameraState::runAcquire), Get(&ZVK_CameraState::acquireRunning),
                Get(&ZVK_CameraState::frameConsumed), Get(&ZVK_CameraState::frameReady)};
        CameraSet(&ZVK_CameraState::runAcquire, uint8_t{0});
    });
    SessionHandle session = 5;
    EXPECT_EQ(ZVK_Camera_AcquireLoop(&session), 0);
    EXPECT_EQ(seen, (std::vector<int>{1, 1, 1, 0}));
    EXPECT_EQ(Get(&ZVK_CameraState::acquireRunning), 0);
    EXPECT_EQ(Get(&ZVK_CameraState::frameCount), 1) << "the pass in which it is told is finished";
}

TEST_F(CameraLoops, TheDisplayLoopSetsItsFlagsRunsAndClearsThem)
{
    g_camera.runDisplay = g_camera.displayRunning = 0;
    g_camera.frameConsumed = 0;
    std::vector<int> seen;
    windows.OnShow([&] {
        seen = {Get(&ZVK_CameraState::runDisplay), Get(&ZVK_CameraState::displayRunning)};
        CameraSet(&ZVK_CameraState::runDisplay, uint8_t{0});
    });
    SessionHandle session = 5;
    EXPECT_EQ(ZVK_Camera_DisplayLoop(&session), 0);
    EXPECT_EQ(seen, (std::vector<int>{1, 1}));
    EXPECT_EQ(Get(&ZVK_CameraState::displayRunning), 0);
    EXPECT_EQ(Get(&ZVK_CameraState::frameConsumed), 1);
}

TEST_F(CameraLoops, FramesThatComeWhileImagesAreExchangedAreNotCounted)
{
    ASSERT_TRUE(Acquire());
    ASSERT_TRUE(Display());
    int passes = 0;
    clock.OnWait([&] {
        if (Get(&ZVK_CameraState::buffersRebuilding) == 0 || passes > 0) return;
        ++passes;
        // A pass waits here until the exchange is over; a loop that is told to end does not.
        CameraSet(&ZVK_CameraState::runAcquire, uint8_t{0});
        CameraSet(&ZVK_CameraState::frameReady, uint8_t{1});
        EXPECT_FALSE(AcquirePass());
        CameraSet(&ZVK_CameraState::runAcquire, uint8_t{1});
        EXPECT_EQ(Get(&ZVK_CameraState::frameCount), 1);
    });
    int32_t number = 0;
    ASSERT_EQ(ZVK_Camera_SetROI(0, 2, 1, &number, &number), ZVK_SUCCESS);
    EXPECT_EQ(passes, 1);
    EXPECT_EQ(AcquiredSize(), (Sizes{128, 128}));
    ASSERT_TRUE(Acquire());
    ASSERT_TRUE(Display());
    EXPECT_EQ(g_camera.workImage.cols, 128);
    EXPECT_EQ(windows.Pictures().back().width, 800);
}

TEST_F(CameraLoops, AFrameThatWaitsDuringAnExchangeIsShownFromTheNewImages)
{
    Paint({10, 20, 30, 0});
    ASSERT_TRUE(Acquire());  // handed over, not yet shown
    int32_t number = 0;
    ASSERT_EQ(ZVK_Camera_SetROI(0, 2, 1, &number, &number), ZVK_SUCCESS);
    ASSERT_TRUE(Display());
    EXPECT_EQ(PixelOf(g_camera.displayImage, 400, 300), (Pixel{0, 0, 0})) << "black, not garbage";
}

TEST_F(CameraLoops, TheFrameNumberWrapsInsteadOfOverflowing)
{
    CameraSet(&ZVK_CameraState::frameCount, INT32_MAX);
    ASSERT_TRUE(Acquire());
    EXPECT_EQ(Get(&ZVK_CameraState::frameCount), INT32_MIN);
}
