// The steps of a display pass in their order, each seen by what it leaves for those behind it.

#include "camera_fixture.h"
#include "imaging/adjust.h"
#include "imaging/recording.h"
#include "platform/clock.h"
#include "platform/media.h"
#include "quorvex/errors.h"

#include <opencv2/imgproc.hpp>

static std::vector<cv::Mat> s_written;

class DisplaySteps : public CameraTest
{
protected:
    void TearDown() override
    {
        CloseVideo();
        UseMedia(nullptr);
        s_written.clear();
        CameraTest::TearDown();
    }

    void Start(const CameraConfig &config = {})
    {
        BringUp(config);
        BeginLoops();
    }

    // A writer that keeps each frame it is given.
    void KeepVideo()
    {
        s_media = Media();
        s_media.openVideo = [](const char *, double, int32_t, int32_t, bool) -> void * {
            return &s_written;
        };
        s_media.writeFrame = [](void *, const ZVK_Picture &picture) {
            s_written.push_back(cv::Mat(picture.height, picture.width, CV_8UC3,
                                        const_cast<uint8_t *>(picture.pixels),
                                        static_cast<size_t>(picture.step))
                                    .clone());
            return 0;
        };
        s_media.closeVideo = [](void *) { return 0; };
        UseMedia(&s_media);
    }

    static void Record(bool overlay)
    {
        char path[] = "a.avi";
        CameraSet(&ZVK_CameraState::recordWithOverlay, static_cast<uint8_t>(overlay));
        ASSERT_EQ(ZVK_Camera_SaveVideo(0, 1, path, overlay ? 1 : 0), ZVK_SUCCESS);
    }

    static void Paint(const cv::Scalar &color, const cv::Rect &part = {0, 0, 256, 256})
    {
        const std::lock_guard frame(CameraFrame());
        g_camera.acquiredImage(part).setTo(color);
    }

    static void Pass()
    {
        ASSERT_TRUE(Acquire());
        ASSERT_TRUE(Display());
    }

    static int Level(const cv::Mat &image, int x, int y) { return image.at<cv::Vec3b>(y, x)[1]; }

private:
    static inline ZVK_MediaTable s_media;
};

TEST_F(DisplaySteps, TheHistogramIsThatOfTheFrameBeforeItsBackground)
{
    Start({.colorMode = "6", .histogram = "1"});
    Paint(cv::Scalar::all(200));
    ASSERT_EQ(ZVK_Camera_SetCurrentLiveAsBackgroundImage(0), ZVK_SUCCESS);
    Paint(cv::Scalar::all(100));
    ASSERT_EQ(ZVK_Camera_SetOverlayAlpha(0, 0.5), ZVK_SUCCESS);
    ASSERT_EQ(ZVK_Camera_EnableLiveAsBackgroundImage(0, 1), ZVK_SUCCESS);
    ASSERT_EQ(ZVK_Camera_SetComputeHistogram(0, 1), ZVK_SUCCESS);
    Pass();
    EXPECT_EQ(g_camera.histograms[0].at<float>(100), 256.0F * 256.0F);
    EXPECT_EQ(g_camera.histograms[0].at<float>(150), 0.0F);
    EXPECT_EQ(Level(g_camera.displayImage, 400, 300), 150);
}

TEST_F(DisplaySteps, TheViewIsCutOutOfTheBlendedFrame)
{
    Start();
    Paint(cv::Scalar::all(200), {0, 0, 128, 256});
    ASSERT_EQ(ZVK_Camera_SetCurrentLiveAsBackgroundImage(0), ZVK_SUCCESS);
    Paint(cv::Scalar::all(0));
    ASSERT_EQ(ZVK_Camera_SetOverlayAlpha(0, 0.0), ZVK_SUCCESS);
    ASSERT_EQ(ZVK_Camera_EnableLiveAsBackgroundImage(0, 1), ZVK_SUCCESS);
    ASSERT_EQ(ZVK_Camera_SetZoom(0, 0, 0, 2.0), ZVK_SUCCESS);
    Pass();
    EXPECT_EQ(Level(g_camera.displayImage, 790, 300), 200) << "the left half fills the window";
    ASSERT_EQ(ZVK_Camera_SetZoom(0, 0, 0, 1.0), ZVK_SUCCESS);
    Pass();
    EXPECT_EQ(Level(g_camera.displayImage, 790, 300), 0);
}

TEST_F(DisplaySteps, AFlipTurnsTheFrameAndNeitherOverlay)
{
    Start();
    Paint(cv::Scalar::all(0));
    Paint(cv::Scalar::all(100), {0, 0, 256, 64});
    g_camera.userOverlayImage.setTo(cv::Scalar::all(0));
    g_camera.userOverlayImage(cv::Rect(300, 20, 50, 50)).setTo(cv::Scalar(0, 50, 0));
    g_camera.frameRateOn = 1;
    g_camera.framesPerSecond = 50.0;
    g_camera.frameCount = 19;
    ASSERT_EQ(ZVK_Camera_SetUserOverlay(0, 1), ZVK_SUCCESS);
    ASSERT_EQ(ZVK_Camera_SetSDKOverlay(0, 1), ZVK_SUCCESS);
    ASSERT_EQ(ZVK_Camera_FlipImage(0, 1), ZVK_SUCCESS);
    Pass();
    EXPECT_EQ(Level(g_camera.displayImage, 700, 590), 100) << "the upper quarter is below";
    EXPECT_EQ(Level(g_camera.displayImage, 700, 10), 0);
    EXPECT_EQ(Level(g_camera.displayImage, 320, 40), 50) << "the client's overlay";
    EXPECT_EQ(Level(g_camera.displayImage, 6, 570), 0) << "the plate of the frame rate";
}

TEST_F(DisplaySteps, TheLibrarysOverlayIsDrawnOverTheClients)
{
    Start();
    Paint(cv::Scalar::all(100));
    g_camera.userOverlayImage.setTo(cv::Scalar::all(100));
    g_camera.frameRateOn = 1;
    g_camera.framesPerSecond = 50.0;
    g_camera.frameCount = 19;
    ASSERT_EQ(ZVK_Camera_SetUserOverlay(0, 1), ZVK_SUCCESS);
    ASSERT_EQ(ZVK_Camera_SetSDKOverlay(0, 1), ZVK_SUCCESS);
    Pass();
    EXPECT_EQ(Level(g_camera.displayImage, 6, 570), 0) << "a black plate";
    EXPECT_EQ(Level(g_camera.displayImage, 400, 300), 200);
}

TEST_F(DisplaySteps, ThePictureIsShownThenWrittenAndTheFrameConsumedBehindBoth)
{
    Start();
    KeepVideo();
    Record(true);
    Paint(cv::Scalar::all(80));
    size_t writtenWhenShown = 99;
    int consumedWhenShown = 99;
    windows.OnShow([&] {
        writtenWhenShown = s_written.size();
        consumedWhenShown = Get(&ZVK_CameraState::frameConsumed);
    });
    Pass();
    EXPECT_EQ(writtenWhenShown, 0U);
    EXPECT_EQ(consumedWhenShown, 0);
    EXPECT_EQ(Get(&ZVK_CameraState::frameConsumed), 1);
    ASSERT_EQ(s_written.size(), 1U);
    EXPECT_EQ(cv::norm(s_written[0], g_camera.displayImage, cv::NORM_INF), 0.0)
        << "what the window shows";
}

TEST_F(DisplaySteps, AVideoOfThePictureHasEachOverlayAndOneOfFramesHasNone)
{
    Start();
    KeepVideo();
    g_camera.userOverlayImage.setTo(cv::Scalar::all(0));
    g_camera.userOverlayImage(cv::Rect(300, 20, 50, 50)).setTo(cv::Scalar(0, 50, 0));
    g_camera.frameRateOn = 1;
    ASSERT_EQ(ZVK_Camera_SetUserOverlay(0, 1), ZVK_SUCCESS);
    ASSERT_EQ(ZVK_Camera_SetSDKOverlay(0, 1), ZVK_SUCCESS);
    Paint(cv::Scalar::all(100));
    Record(true);
    Pass();
    ASSERT_EQ(s_written.size(), 1U);
    EXPECT_EQ(Level(s_written[0], 320, 40), 150);
    EXPECT_EQ(Level(s_written[0], 6, 570), 0);

    Record(false);
    Pass();
    ASSERT_EQ(s_written.size(), 2U);
    EXPECT_EQ(s_written[1].size(), cv::Size(256, 256));
    EXPECT_EQ(Level(s_written[1], 100, 10), 100);
}

TEST_F(DisplaySteps, ARecordedFrameIsNeitherBlendedNorZoomedNorFlippedNorStretched)
{
    Start();
    KeepVideo();
    Paint(cv::Scalar::all(200));
    ASSERT_EQ(ZVK_Camera_SetCurrentLiveAsBackgroundImage(0), ZVK_SUCCESS);
    Paint(cv::Scalar::all(40));
    Paint(cv::Scalar::all(90), {0, 0, 256, 32});
    ASSERT_EQ(ZVK_Camera_SetOverlayAlpha(0, 0.5), ZVK_SUCCESS);
    ASSERT_EQ(ZVK_Camera_EnableLiveAsBackgroundImage(0, 1), ZVK_SUCCESS);
    ASSERT_EQ(ZVK_Camera_SetZoom(0, 128, 128, 2.0), ZVK_SUCCESS);
    ASSERT_EQ(ZVK_Camera_FlipImage(0, 1), ZVK_SUCCESS);
    ASSERT_EQ(ZVK_Camera_SetContrastLimits(0, 0.0, 100.0), ZVK_SUCCESS);
    Record(false);
    Pass();
    Pass();
    ASSERT_EQ(s_written.size(), 2U);
    for (const cv::Mat &frame : s_written) {
        EXPECT_EQ(Level(frame, 10, 10), 90);
        EXPECT_EQ(Level(frame, 10, 100), 40);
    }
}

// -- the clock behind the rate --

static double s_now;
static double s_first;

TEST_F(DisplaySteps, AFirstFrameThatComesWithTheClocksFirstReadingHasNoEndlessRate)
{
    s_now = 7.0;
    s_first = -1.0;
    static ZVK_ClockTable table = Clock();
    table.timer = [] {
        if (s_first < 0.0) s_first = s_now;
        s_now += 1e-7;
        return s_now - s_first;
    };
    table.delay = [](double seconds) { s_now += seconds; };
    UseClock(&table);
    Start();
    for (int i = 0; i < 20; ++i)
        ASSERT_TRUE(Acquire());
    EXPECT_GT(Get(&ZVK_CameraState::framesPerSecond), 40.0);
    EXPECT_LT(Get(&ZVK_CameraState::framesPerSecond), 50.1);
}
