// Overlay, pictures, videos and attributes as a client of the shared library sees them, with no
// display.

#include "close_modules.h"
#include "other_process.h"
#include "scratch_folder.h"
#include "start_session.h"
#include "two_paths.h"

#include <quorvex/quorvex.h>

#include <opencv2/core/types_c.h>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/videoio.hpp>

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <functional>
#include <string>
#include <thread>

constexpr size_t kFrameBytes = 800U * 600U * 3U;

// Asks over and over until the fact holds; false when it doesn't within half a minute.
static bool Soon(const std::function<bool()> &fact)
{
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (!fact()) {
        if (std::chrono::steady_clock::now() > end) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return true;
}

// Frames are raw, and go to the file one by one.
static void AwaitFrames(const std::string &video, size_t frames, size_t bytesEach)
{
    EXPECT_TRUE(Soon([&] {
        std::error_code none;
        const auto bytes = std::filesystem::file_size(video, none);
        return !none && bytes >= frames * bytesEach;
    })) << video;
}

class ImageCalls : public ::testing::Test
{
protected:
    void SetUp() override
    {
        folder.Write("config.ini", TwoPathsConfig());
        folder.Write("default.odf", TwoPathsObjective());
        folder.Write("default.cal", TwoPathsCalibration());
        ASSERT_GE(StartSession(), 0);
    }
    void TearDown() override { CloseModules(); }

    // The window as it is saved, once it shows what is asked for; empty when it never does.
    cv::Mat Window(const std::string &name, const std::function<bool(const cv::Mat &)> &shows) const
    {
        std::string path = folder.Path(name);
        cv::Mat picture;
        const bool shown = Soon([&] {
            EXPECT_EQ(ZVK_Camera_SaveImage(0, path.data(), 1), 0);
            picture = cv::imread(path);
            return shows(picture);
        });
        return shown ? picture : cv::Mat();
    }

    static size_t CountFrames(const std::string &path)
    {
        cv::VideoCapture video(path);
        cv::Mat frame;
        size_t count = 0;
        while (video.read(frame))
            ++count;
        return count;
    }

    ScratchFolder folder;
    ScopedVariable headless{"ZVK_HEADLESS", "1"};
    ScopedVariable home{"HOME", folder.Path().c_str()};
    ScopedVariable desktop{"XDG_CONFIG_HOME", folder.Path().c_str()};
};

TEST_F(ImageCalls, TheSessionBringsTheOverlayUpAndKeepsItUp)
{
    int32_t index = 0;
    EXPECT_EQ(ZVK_ImageProc_AddLine(0, &index, 1, 2, 3, 4, "x", 1, 0), 0);
    EXPECT_EQ(index, 1);
    EXPECT_EQ(ZVK_ImageProc_Init(0, 0, 0), ZVK_IMAGEPROC_ALREADY_INITIALIZED);
    EXPECT_EQ(ZVK_close(0), 0);
    EXPECT_GE(StartSession(), 0) << "an overlay that is up is a warning";
    EXPECT_EQ(ZVK_ImageProc_AddLine(0, &index, 1, 2, 3, 4, "x", 1, 0), 0);
    EXPECT_EQ(index, 1) << "the close took the objects";
}

TEST_F(ImageCalls, ASavedWindowShowsTrapsFieldsAndTheClientsObjects)
{
    ASSERT_EQ(ZVK_Camera_SetSDKOverlay(0, 1), 0);
    ASSERT_EQ(ZVK_Camera_SetTrapMarkers(0, 1), 0);
    ASSERT_EQ(ZVK_Camera_SetCalField(0, 0, 1), 0);
    ASSERT_EQ(ZVK_Camera_SetUserOverlay(0, 1), 0);
    ASSERT_EQ(ZVK_ImageProc_AddMarker(0, nullptr, 300, 300, 40, "Bead", 3, 1), 0);
    ASSERT_EQ(ZVK_ImageProc_UpdateOverlay(0), 0);
    const cv::Mat picture = Window("window.png", [](const cv::Mat &shown) {
        return shown.size() == cv::Size(800, 600) &&
               shown.at<cv::Vec3b>(300, 320) == cv::Vec3b(255, 0, 255) &&
               shown.at<cv::Vec3b>(375, 560)[0] > 100;
    });
    ASSERT_EQ(picture.size(), cv::Size(800, 600)) << "the marker is shown";
    EXPECT_GT(picture.at<cv::Vec3b>(500, 150)[2], 200) << "the field of path A";
    EXPECT_GT(picture.at<cv::Vec3b>(375, 560)[0], 100) << "the circle of its first trap";
}

TEST_F(ImageCalls, TheHandlesArePicturesOfOpenCv)
{
    void *handle = nullptr;
    ASSERT_EQ(ZVK_Camera_GetUserOverlay(0, &handle), 0);
    ASSERT_NE(handle, nullptr);
    auto *overlay = static_cast<IplImage *>(handle);
    EXPECT_EQ(overlay->nSize, static_cast<int>(sizeof(IplImage)));
    EXPECT_EQ(overlay->width, 800);
    std::memset(overlay->imageData, 77, static_cast<size_t>(overlay->imageSize));
    ASSERT_EQ(ZVK_Camera_SetUserOverlay(0, 1), 0);
    EXPECT_FALSE(Window("window.bmp", [](const cv::Mat &shown) {
                     return !shown.empty() && shown.at<cv::Vec3b>(5, 5) == cv::Vec3b(77, 77, 77);
                 }).empty());
}

TEST_F(ImageCalls, AVideoStartedAtOnceIsPlayableAndANewOneFollows)
{
    char path[4096] = "";
    ASSERT_EQ(ZVK_Camera_SaveVideo(0, 1, path, 0), 0);
    AwaitFrames(path, 4, kFrameBytes);
    ASSERT_EQ(ZVK_Camera_SaveVideo(0, 0, path, 0), 0);
    EXPECT_TRUE(std::string(path).starts_with(folder.Path("Videos"))) << path;
    EXPECT_GE(CountFrames(path), 3U);
    std::string second = folder.Path("second.avi");
    ASSERT_EQ(ZVK_Camera_SaveVideo(0, 1, second.data(), 0), 0);
    AwaitFrames(second, 4, kFrameBytes);
    ASSERT_EQ(ZVK_Camera_SaveVideo(0, 0, second.data(), 0), 0);
    EXPECT_GE(CountFrames(second), 3U);
}

TEST_F(ImageCalls, AFormatThatNobodyWritesIsRefused)
{
    std::string path = folder.Path("picture.xyz");
    EXPECT_EQ(ZVK_Camera_SaveImage(0, path.data(), 0), ZVK_CAMERA_IMAGE_WRITE_FAILED);
    EXPECT_FALSE(folder.Holds("picture.xyz"));
}

TEST_F(ImageCalls, TablesAreFreedByTheClient)
{
    int32_t count = 0;
    int32_t *bits = nullptr;
    float *speeds = nullptr;
    ASSERT_EQ(ZVK_Camera_GetADCs(0, &count, &bits), 0);
    ASSERT_EQ(ZVK_Camera_GetHSSpeedsAndor(0, 0, 0, &count, &speeds), 0);
    EXPECT_EQ(bits[1], 16);
    EXPECT_EQ(speeds[0], 10.0F);
    free(bits);
    free(speeds);
}

TEST_F(ImageCalls, ClientsCallEverythingWhileFramesRun)
{
    std::atomic<bool> stop{false};
    std::thread drawing([&] {
        for (int32_t i = 0; !stop; ++i) {
            int32_t index = 0;
            EXPECT_EQ(
                ZVK_ImageProc_AddLine(0, &index, i % 300, 200, i % 200, 100, "line", 2, i % 6), 0);
            EXPECT_EQ(ZVK_ImageProc_UpdateLine(0, index, -1, 7, -1, -1, "moved", -1, 0), 0);
            EXPECT_EQ(ZVK_ImageProc_UpdateOverlay(0), 0);
            if (i % 10 == 9) {
                EXPECT_EQ(ZVK_ImageProc_ClearOverlay(0), 0);
            }
        }
    });
    std::thread adjusting([&] {
        for (int32_t i = 0; !stop; ++i) {
            EXPECT_EQ(ZVK_Camera_SetContrastLimits(0, i % 100, 200.0), 0);
            EXPECT_EQ(ZVK_Camera_FlipImage(0, i % 6 - 1), 0);
            EXPECT_EQ(ZVK_Camera_SetAutoContrast(0, static_cast<uint16_t>(i % 2)), 0);
            EXPECT_EQ(ZVK_Camera_SetCurrentLiveAsBackgroundImage(0), 0);
            EXPECT_EQ(ZVK_Camera_AdjustFlOverlayRGB(0, 0.3, 0.3, 0.3), 0);
            EXPECT_EQ(ZVK_Camera_ComputeHistogram(0), 0);
            EXPECT_EQ(ZVK_Camera_SetOverlayAlpha(0, 0.5), 0);
            EXPECT_EQ(ZVK_Camera_SetTrapMarkers(0, 1), 0);
            EXPECT_EQ(ZVK_Camera_SetSDKOverlay(0, 1), 0);
        }
    });
    std::string path = folder.Path("live.avi");
    for (const int32_t resolution : {1, 2}) {
        EXPECT_EQ(ZVK_Camera_SaveVideo(0, 1, path.data(), 0), 0);
        EXPECT_EQ(ZVK_Camera_SetROI(0, resolution, 0, nullptr, nullptr), 0);
        AwaitFrames(path, 2, 20000);
        std::string picture = folder.Path("live.tif");
        EXPECT_EQ(ZVK_Camera_SaveImage(0, picture.data(), 1), 0);
        EXPECT_EQ(ZVK_Camera_SaveVideo(0, 0, path.data(), 0), 0);
        EXPECT_GE(CountFrames(path), 1U);
    }
    stop = true;
    drawing.join();
    adjusting.join();
}

// -- a process that ends while it records --

TEST(DISABLED_ImageRole, EndsWhileItRecords)
{
    std::string path = std::string(std::getenv("ZVK_COMMON_APPDATA")) + "/ZVK640/ended.avi";
    ASSERT_GE(StartSession(), 0);
    ASSERT_EQ(ZVK_Camera_SaveVideo(0, 1, path.data(), 0), 0);
    AwaitFrames(path, 4, kFrameBytes);
    std::exit(0);
}

TEST_F(ImageCalls, AProcessThatEndsWhileItRecordsLeavesAWholeFile)
{
    OtherProcess other("DISABLED_ImageRole.EndsWhileItRecords");
    EXPECT_EQ(other.Wait(), 0);
    EXPECT_GE(CountFrames(folder.Path("ended.avi")), 3U);
}
