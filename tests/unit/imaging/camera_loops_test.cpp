// The acquisition and the display loop, one pass at a time on the test's thread.

#include "camera_fixture.h"

#include "quorvex/errors.h"

#include <thread>

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

TEST_F(CameraLoops, APictureSmallerThanItsFrameHasTheMeanOfEachArea)
{
    ASSERT_EQ(ZVK_Camera_Shutdown(0), ZVK_SUCCESS);
    BringUp({.width = "64", .height = "64"});
    BeginLoops();
    Paint({0, 0, 0, 0});
    for (int x = 0; x < 256; x += 4)
        g_camera.acquiredImage.col(x).setTo(cv::Scalar(200, 100, 40));
    ASSERT_TRUE(Acquire());
    ASSERT_TRUE(Display());
    EXPECT_EQ(PixelOf(g_camera.displayImage, 30, 30), (Pixel{50, 25, 10}));
}

TEST_F(CameraLoops, FramesAreStretchedOnlyWithoutSimulationAndForSomeMakesOrAutomatically)
{
    struct Row
    {
        int32_t simulate, backend;
        uint8_t automatic;
        Pixel shown;
    };
    const Pixel plain = {10, 20, 30};
    const Pixel stretched = {17, 34, 51};  // 255 to 150
    const Pixel automatic = {0, 128, 255};
    const Row rows[] = {
        {0, 2, 0, plain},      {0, 8, 0, stretched},  {0, 32, 0, stretched},
        {0, 64, 0, stretched}, {0, 72, 0, stretched}, {0, 23, 0, plain},
        {0, 2, 1, automatic},  {1, 104, 0, plain},    {1, 104, 1, plain},
    };
    for (const Row &row : rows) {
        Paint({10, 20, 30, 0});
        CameraSet(&ZVK_CameraState::simulate, 1);
        ASSERT_TRUE(Acquire());
        CameraSet(&ZVK_CameraState::simulate, row.simulate);
        CameraSet(&ZVK_CameraState::backend, row.backend);
        CameraSet(&ZVK_CameraState::autoContrast, row.automatic);
        CameraSet(&ZVK_CameraState::contrastLow, 0.0);
        CameraSet(&ZVK_CameraState::contrastHigh, 150.0);
        ASSERT_TRUE(Display());
        EXPECT_EQ(PixelOf(g_camera.displayImage, 400, 300), row.shown)
            << row.simulate << " " << row.backend << " " << int{row.automatic};
    }
}

TEST_F(CameraLoops, GraphicsOfTheLibraryAreDrawnOnlyWhileTheirSwitchIsOn)
{
    ASSERT_EQ(ZVK_Camera_SetFrameRate(0, 1), ZVK_SUCCESS);
    for (const int on : {0, 1, 0}) {
        ASSERT_EQ(ZVK_Camera_SetSDKOverlay(0, static_cast<uint16_t>(on)), ZVK_SUCCESS);
        for (int i = 0; i < 20; ++i) {
            ASSERT_TRUE(Acquire());
            ASSERT_TRUE(Display());
        }
        EXPECT_EQ(cv::countNonZero(g_camera.displayImage.reshape(1)) > 0, on != 0);
    }
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

TEST_F(CameraLoops, EachStartOfTheLoopMeasuresItsRateAnew)
{
    for (int i = 0; i < 15; ++i)
        ASSERT_TRUE(Acquire());
    int frames = 0;
    clock.OnWait([&] {
        if (++frames == 5) CameraSet(&ZVK_CameraState::runAcquire, uint8_t{0});
    });
    EXPECT_EQ(ZVK_Camera_AcquireLoop(nullptr), 0);
    EXPECT_EQ(Get(&ZVK_CameraState::frameCount), 20);
    EXPECT_NEAR(Get(&ZVK_CameraState::framesPerSecond), 5 * 50.0 / 20, 1e-6);
}

TEST_F(CameraLoops, FramesAtTheSameMomentAddNothingToTheRate)
{
    ASSERT_TRUE(Acquire());
    for (int i = 1; i < 20; ++i) {
        clock.Advance(-0.02);
        ASSERT_TRUE(Acquire());
    }
    EXPECT_NEAR(Get(&ZVK_CameraState::framesPerSecond), 1.0 / 0.42 / 20, 1e-6);
}

TEST_F(CameraLoops, ALoopWithoutSimulationThatIsToldToEndCountsNoFrame)
{
    CameraSet(&ZVK_CameraState::simulate, 0);
    std::thread client([] {
        for (int i = 0; i < 1000; ++i)
            std::this_thread::yield();  // the loop comes to wait for a frame
        CameraSet(&ZVK_CameraState::runAcquire, uint8_t{0});
        CameraChanged();
    });
    while (Acquire()) {
    }
    client.join();
    EXPECT_EQ(Get(&ZVK_CameraState::frameCount), 0);
    EXPECT_EQ(clock.Delays().size(), 2U) << "those of the start";
}

TEST_F(CameraLoops, AfterAnExchangeFramesOfTheNewSizeFillTheSameWindow)
{
    ASSERT_TRUE(Acquire());
    ASSERT_TRUE(Display());
    int32_t number = 0;
    ASSERT_EQ(ZVK_Camera_SetROI(0, 2, 1, &number, &number), ZVK_SUCCESS);
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
