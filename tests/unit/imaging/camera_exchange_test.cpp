// The images are exchanged: what waits meanwhile, what is dropped, and what the new set holds.

#include "camera_fixture.h"

#include "quorvex/errors.h"

#include <atomic>
#include <thread>

using Sizes = std::vector<int32_t>;

class CameraExchange : public CameraTest
{
protected:
    static int32_t SetRegion(int32_t resolution, int32_t binning)
    {
        return ZVK_Camera_SetROI(0, resolution, binning, nullptr, nullptr);
    }

    static int CountLit(const cv::Mat &image) { return cv::countNonZero(image.reshape(1)); }
};

TEST_F(CameraExchange, TheImagesAreReplacedBehindTheWaitAndTheViewBehindThem)
{
    BringUp();
    ASSERT_EQ(ZVK_Camera_SetZoom(0, 100, 100, 4.0), ZVK_SUCCESS);
    std::vector<Sizes> seen;
    clock.OnWait([&] {
        seen.push_back({g_camera.acquiredImage.cols, AcquiredSize()[0], View()[2],
                        Get(&ZVK_CameraState::buffersRebuilding)});
    });
    ASSERT_EQ(SetRegion(3, 0), ZVK_SUCCESS);
    EXPECT_EQ(seen, (std::vector<Sizes>{{256, 128, 64, 1}}));
    EXPECT_EQ(g_camera.acquiredImage.cols, 128);
    EXPECT_EQ(View(), (Sizes{0, 0, 128, 128}));
    EXPECT_EQ(Get(&ZVK_CameraState::buffersRebuilding), 0);
}

TEST_F(CameraExchange, TheViewIsTheWholeFrameAndTheMagnificationStays)
{
    BringUp();
    ASSERT_EQ(ZVK_Camera_SetZoom(0, 200, 150, 4.0), ZVK_SUCCESS);
    ASSERT_EQ(SetRegion(1, 1), ZVK_SUCCESS);
    EXPECT_EQ(View(), (Sizes{0, 0, 256, 256}));
    EXPECT_EQ(Get(&ZVK_CameraState::zoom), 4.0);
    EXPECT_EQ(g_camera.zoomCenter.x, 200);
}

TEST_F(CameraExchange, TheFrameIsBlackAgainAlsoWhenItsSizeStays)
{
    BringUp();
    g_camera.acquiredImage.setTo(cv::Scalar::all(9));
    g_camera.userOverlayImage.setTo(cv::Scalar::all(9));
    ASSERT_EQ(SetRegion(1, 1), ZVK_SUCCESS);
    EXPECT_EQ(CountLit(g_camera.acquiredImage), 0);
    EXPECT_EQ(CountLit(g_camera.userOverlayImage), 800 * 600 * 3) << "a client's, and it stays";
}

TEST_F(CameraExchange, EachImageHasItsSizeAndItsChannels)
{
    BringUp({.width = "640", .height = "480", .nativeX = "1024", .nativeY = "768"});
    struct Row
    {
        const cv::Mat &image;
        cv::Size size;
        int type;
    };
    const cv::Size frame(512, 384);
    const cv::Size display(640, 480);
    const Row rows[] = {
        {g_camera.acquiredImage, frame, CV_8UC3},
        {g_camera.workImage, frame, CV_8UC3},
        {g_camera.adjustedImage, frame, CV_8UC3},
        {g_camera.backgroundImage, frame, CV_8UC3},
        {g_camera.scaledImage, display, CV_8UC3},
        {g_camera.displayImage, display, CV_8UC3},
        {g_camera.userOverlayImage, display, CV_8UC3},
        {g_camera.histogramImage, {256, 100}, CV_8UC3},
    };
    for (const Row &row : rows) {
        const auto nth = &row - rows;
        EXPECT_EQ(row.image.size(), row.size) << nth;
        EXPECT_EQ(row.image.type(), row.type) << nth;
    }
}

TEST_F(CameraExchange, ReleasedImagesAreAllGoneAndAReleaseOfNoneDoesNoHarm)
{
    BringUp();
    for (int i = 0; i < 2; ++i) {
        ZVK_Camera_ReleaseFrameBuffers(0);
        const cv::Mat *const images[] = {
            &g_camera.acquiredImage,   &g_camera.workImage,        &g_camera.adjustedImage,
            &g_camera.backgroundImage, &g_camera.blendImage,       &g_camera.contrastScratchImage,
            &g_camera.rawImage,        &g_camera.planeImage[0],    &g_camera.planeImage[1],
            &g_camera.planeImage[2],   &g_camera.scaledImage,      &g_camera.displayImage,
            &g_camera.flipImage,       &g_camera.userOverlayImage, &g_camera.histogramImage};
        for (const cv::Mat *image : images)
            EXPECT_TRUE(image->empty());
        EXPECT_EQ(g_camera.displayHeader.imageData, nullptr);
        EXPECT_EQ(g_camera.userOverlayHeader.imageData, nullptr);
    }
}

// Frames come as fast as they can, and each exchange leaves them time to.
TEST_F(CameraExchange, AFrameThatComesMeanwhileIsDroppedAndNoneIsCounted)
{
    threads.reset();  // the real pool
    const std::thread::id client = std::this_thread::get_id();
    std::atomic<int32_t> came{0};
    clock.OnWait([&] {
        if (std::this_thread::get_id() != client) {
            ++came;
            std::this_thread::yield();
            return;
        }
        const int32_t counted = Get(&ZVK_CameraState::frameCount);
        for (int i = 0; i < 2000; ++i)
            std::this_thread::yield();
        EXPECT_EQ(Get(&ZVK_CameraState::frameCount), counted);
    });
    constexpr int32_t kExchanges = 20;
    BringUp();
    for (int i = 0; i < kExchanges; ++i) {
        std::unique_lock data(CameraData());
        const int32_t from = g_camera.frameCount;
        CameraCondition().wait(data, [&] { return g_camera.frameCount > from; });
        data.unlock();
        ASSERT_EQ(SetRegion(1 + i % 3, 0), ZVK_SUCCESS);
    }
    {
        const std::lock_guard turn(CameraTurn());
        EndLoops();
    }
    const int32_t dropped = came - Get(&ZVK_CameraState::frameCount);
    EXPECT_GT(dropped, 0) << "a frame that the loop rested with isn't taken afterwards";
    EXPECT_LE(dropped, kExchanges);
}
