// The histogram: when it is counted, its bins, its picture and its window.

#include "camera_fixture.h"
#include "imaging/adjust.h"

#include "quorvex/errors.h"

class ImageHistogram : public CameraTest
{
protected:
    void Start(const CameraConfig &config = {.colorMode = "6", .histogram = "1"})
    {
        BringUp(config);
        BeginLoops();
    }

    static void Show(const cv::Mat &frame)
    {
        {
            const std::lock_guard lock(CameraFrame());
            frame.copyTo(g_camera.acquiredImage);
        }
        ASSERT_TRUE(Acquire());
        ASSERT_TRUE(Display());
    }

    // Grey values: the left half of the first, a quarter of the second, a quarter of the third.
    static cv::Mat ThreeGreys(int first, int second, int third)
    {
        cv::Mat frame(256, 256, CV_8UC3, cv::Scalar::all(first));
        frame(cv::Rect(128, 0, 64, 256)).setTo(cv::Scalar::all(second));
        frame(cv::Rect(192, 0, 64, 256)).setTo(cv::Scalar::all(third));
        return frame;
    }

    static float Bin(size_t histogram, int bin)
    {
        return g_camera.histograms[histogram].at<float>(bin);
    }

    size_t HistogramsShown() const
    {
        size_t count = 0;
        for (const RecordingWindows::Shown &shown : windows.Pictures())
            if (shown.title == "Histogram") ++count;
        return count;
    }

    static int Drawn(int x, int y) { return g_camera.histogramImage.at<cv::Vec3b>(y, x)[0]; }
};

TEST_F(ImageHistogram, WithoutSupportItGivesAWarningAndNoWindow)
{
    for (const char *support : {"0", "2", "-1"}) {
        SCOPED_TRACE(support);
        Start({.histogram = support});
        EXPECT_EQ(ZVK_Camera_SetComputeHistogram(0, 1), ZVK_CAMERA_NO_HISTOGRAM);
        EXPECT_EQ(Get(&ZVK_CameraState::computeHistogram), 0);
        EXPECT_EQ(windows.OpenTitles(), (Calls{"Camera Window"}));
        EXPECT_EQ(ZVK_Camera_Shutdown(0), ZVK_SUCCESS);
    }
}

TEST_F(ImageHistogram, ItIsCountedAndShownInEachPassWhileItIsSwitchedOn)
{
    Start();
    Show(ThreeGreys(10, 100, 200));
    EXPECT_EQ(HistogramsShown(), 0U);
    ASSERT_EQ(ZVK_Camera_SetComputeHistogram(0, 256), ZVK_SUCCESS);
    Show(ThreeGreys(10, 100, 200));
    Show(ThreeGreys(10, 100, 200));
    EXPECT_EQ(HistogramsShown(), 2U);
    EXPECT_EQ(windows.Pictures().back().title, "Camera Window") << "the histogram comes first";
    ASSERT_EQ(ZVK_Camera_SetComputeHistogram(0, 0), ZVK_SUCCESS);
    Show(ThreeGreys(10, 100, 200));
    EXPECT_EQ(HistogramsShown(), 2U);
}

TEST_F(ImageHistogram, GreyValuesAreCountedAnewEachTime)
{
    Start();
    for (int i = 0; i < 2; ++i) {
        Show(ThreeGreys(10, 100, 200));
        ASSERT_EQ(ZVK_Camera_ComputeHistogram(0), ZVK_SUCCESS);
        EXPECT_EQ(Bin(0, 10), 128 * 256);
        EXPECT_EQ(Bin(0, 100), 64 * 256);
        EXPECT_EQ(Bin(0, 200), 64 * 256);
        EXPECT_EQ(Bin(0, 11), 0);
    }
    Show(ThreeGreys(11, 11, 11));
    ASSERT_EQ(ZVK_Camera_ComputeHistogram(0), ZVK_SUCCESS);
    EXPECT_EQ(Bin(0, 10), 0);
    EXPECT_EQ(Bin(0, 11), 256 * 256);
}

TEST_F(ImageHistogram, ThePictureHasABarOfTheHeightOfEachBin)
{
    Start();
    Show(ThreeGreys(10, 100, 200));
    ASSERT_EQ(ZVK_Camera_ComputeHistogram(0), ZVK_SUCCESS);
    EXPECT_EQ(Drawn(10, 3), 0) << "the peak reaches the top";
    EXPECT_EQ(Drawn(10, 97), 0);
    EXPECT_EQ(Drawn(100, 55), 0) << "half as high";
    EXPECT_EQ(Drawn(100, 40), 200);
    EXPECT_EQ(Drawn(150, 97), 200) << "nothing there";
    EXPECT_EQ(Drawn(255, 50), 200);
    EXPECT_EQ(g_camera.histogramImage.size(), cv::Size(256, 100));
}

TEST_F(ImageHistogram, AHistogramWithoutACountShowsNothing)
{
    Start();  // of 8 bits: the brightest value is in no bin
    Show(ThreeGreys(255, 255, 255));
    ASSERT_EQ(ZVK_Camera_ComputeHistogram(0), ZVK_SUCCESS);
    EXPECT_EQ(cv::countNonZero(g_camera.histograms[0]), 0);
    EXPECT_EQ(Drawn(128, 50), 200);
    EXPECT_EQ(Drawn(0, 0), 200);
}

TEST_F(ImageHistogram, InColorThePlanesAreCountedAndNothingIsShown)
{
    Start({.colorMode = "5", .histogram = "1"});
    Show(cv::Mat(256, 256, CV_8UC3, cv::Scalar(10, 20, 30)));
    const cv::Mat before = g_camera.histogramImage.clone();
    ASSERT_EQ(ZVK_Camera_ComputeHistogram(0), ZVK_SUCCESS);
    EXPECT_EQ(Bin(1, 10), 256 * 256);
    EXPECT_EQ(Bin(2, 20), 256 * 256);
    EXPECT_EQ(Bin(3, 30), 256 * 256);
    EXPECT_EQ(cv::countNonZero(g_camera.histograms[0]), 0);
    EXPECT_EQ(HistogramsShown(), 0U);
    EXPECT_EQ(cv::norm(before, g_camera.histogramImage), 0.0);
}

TEST_F(ImageHistogram, BothKindsAreCountedInAModeOfBoth)
{
    Start({.colorMode = "7", .histogram = "1"});
    Show(cv::Mat(256, 256, CV_8UC3, cv::Scalar(10, 10, 10)));
    ASSERT_EQ(ZVK_Camera_ComputeHistogram(0), ZVK_SUCCESS);
    for (size_t i = 0; i < 4; ++i)
        EXPECT_EQ(Bin(i, 10), 256 * 256) << i;
    EXPECT_EQ(HistogramsShown(), 1U);
}

TEST_F(ImageHistogram, AModeOfNeitherCountsNothing)
{
    Start({.colorMode = "4", .histogram = "1"});
    Show(ThreeGreys(1, 2, 3));
    ASSERT_EQ(ZVK_Camera_ComputeHistogram(0), ZVK_SUCCESS);
    EXPECT_EQ(Get(&ZVK_CameraState::histogramsCreated), 1);
    for (const cv::Mat &histogram : g_camera.histograms)
        EXPECT_EQ(cv::countNonZero(histogram), 0);
}

TEST_F(ImageHistogram, TheSmallestDepthOfTheModeSetsTheBins)
{
    struct Row
    {
        const char *colorMode;
        float end;
        int binOf128;
    };
    const std::vector<Row> rows = {
        {"2", 65535.0F, 0}, {"34", 65535.0F, 0}, {"18", 16383.0F, 2}, {"50", 16383.0F, 2},
        {"10", 4095.0F, 8}, {"58", 4095.0F, 8},  {"6", 255.0F, 128},  {"62", 255.0F, 128},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.colorMode);
        g_camera = {};
        Start({.colorMode = row.colorMode, .histogram = "1"});
        Show(ThreeGreys(128, 128, 128));
        ASSERT_EQ(ZVK_Camera_ComputeHistogram(0), ZVK_SUCCESS);
        EXPECT_EQ(g_camera.histogramEnd, row.end);
        EXPECT_EQ(Bin(0, row.binOf128), 256 * 256);
    }
}

TEST_F(ImageHistogram, TheBinsStayAsTheyWereMadeFirst)
{
    Start();
    ASSERT_EQ(ZVK_Camera_ComputeHistogram(0), ZVK_SUCCESS);
    ASSERT_EQ(ZVK_Camera_Shutdown(0), ZVK_SUCCESS);
    EXPECT_EQ(Get(&ZVK_CameraState::histogramsCreated), 1) << "the end releases none";
    Start({.colorMode = "34", .histogram = "1"});
    ASSERT_EQ(ZVK_Camera_ComputeHistogram(0), ZVK_SUCCESS);
    EXPECT_EQ(g_camera.histogramEnd, 255.0F);
}

TEST_F(ImageHistogram, AWindowThatFailsDoesNotStopThePasses)
{
    Start();
    ASSERT_EQ(ZVK_Camera_SetComputeHistogram(0, 1), ZVK_SUCCESS);
    windows.FailAt(1);  // the histogram's picture
    Show(ThreeGreys(10, 100, 200));
    EXPECT_TRUE(windows.Failed());
    EXPECT_EQ(windows.Pictures().back().title, "Camera Window");
    EXPECT_EQ(ZVK_Camera_ComputeHistogram(0), ZVK_SUCCESS);
}

TEST_F(ImageHistogram, TheFrameIsCountedAndNotWhatABackgroundMakesOfIt)
{
    Start({.colorMode = "7", .histogram = "1"});
    Show(ThreeGreys(200, 200, 200));
    ASSERT_EQ(ZVK_Camera_SetCurrentLiveAsBackgroundImage(0), ZVK_SUCCESS);
    ASSERT_EQ(ZVK_Camera_EnableLiveAsBackgroundImage(0, 1), ZVK_SUCCESS);
    ASSERT_EQ(ZVK_Camera_SetOverlayAlpha(0, 0.0), ZVK_SUCCESS);
    ASSERT_EQ(ZVK_Camera_SetComputeHistogram(0, 1), ZVK_SUCCESS);
    Show(ThreeGreys(30, 30, 30));
    for (size_t i = 0; i < 4; ++i)
        EXPECT_EQ(Bin(i, 30), 256 * 256) << i;
    ASSERT_EQ(ZVK_Camera_ComputeHistogram(0), ZVK_SUCCESS);
    for (size_t i = 0; i < 4; ++i)
        EXPECT_EQ(Bin(i, 30), 256 * 256) << "by a client: " << i;
}
