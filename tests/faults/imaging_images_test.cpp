// Allocations, heap blocks, file calls and the writers under image adjustment, recording, overlay
// and attributes fail in turn: the told status comes, the loops go on, and nothing is lost. A frame
// asks for no memory but what the drawing library asks for.

#include "camera_fixture.h"
#include "failing_files.h"
#include "failing_memory.h"
#include "failing_new.h"
#include "imaging/adjust.h"
#include "imaging/overlay.h"
#include "imaging/recording.h"
#include "platform/clock.h"
#include "platform/media.h"
#include "platform/windows.h"
#include "quorvex/errors.h"
#include "quorvex/imageproc.h"

#include <opencv2/imgproc.hpp>

#include <cstring>

// The drawing library and the writer of one format lose their own block when the record behind it
// cannot be had. Other programs of these tests look for leaks of pictures.
extern "C" __attribute__((visibility("default"))) const char *__lsan_default_suppressions();
extern "C" const char *__lsan_default_suppressions()
{
    return "leak:cv::fastMalloc\nleak:TIFFClientOpenExt\n";
}

// Stand-ins that need no memory of their own: what fails is ours or the drawing library's.
static double s_now;
static int s_shown;
static int s_open;
static int s_written;

static ZVK_ClockTable QuietClock()
{
    ZVK_ClockTable table = Clock();
    table.timer = [] { return s_now += 0.001; };
    table.delay = [](double seconds) { s_now += seconds; };
    table.breathe = [] {};
    return table;
}

static ZVK_WindowTable QuietWindows()
{
    ZVK_WindowTable table = HeadlessWindows();
    table.show = [](const char *, const ZVK_Picture &) { return (++s_shown, 0); };
    return table;
}

static ZVK_MediaTable QuietMedia()
{
    ZVK_MediaTable table = Media();
    table.openVideo = [](const char *, double, int32_t, int32_t, bool) -> void * {
        return (++s_open, &s_open);
    };
    table.writeFrame = [](void *, const ZVK_Picture &) { return (++s_written, 0); };
    table.closeVideo = [](void *) { return (--s_open, 0); };
    return table;
}

class ImageFaults : public CameraTest
{
protected:
    void SetUp() override
    {
        CameraTest::SetUp();
        BringUp({.colorMode = "7", .histogram = "1"});
        BeginLoops();
        s_clock = QuietClock();
        s_windows = QuietWindows();
        s_media = QuietMedia();
        UseClock(&s_clock);
        UseWindows(&s_windows);
        UseMedia(&s_media);
        ASSERT_EQ(ZVK_ImageProc_Init(0, 0, 0), ZVK_SUCCESS);
    }
    void TearDown() override
    {
        CloseVideo();
        UseMedia(nullptr);
        FreeOverlayLists();
        g_overlay = {};
        CameraTest::TearDown();
    }

    // Everything that a pass can do, but the overlays.
    static void SwitchAllOn()
    {
        ASSERT_EQ(ZVK_Camera_SetComputeHistogram(0, 1), ZVK_SUCCESS);
        ASSERT_EQ(ZVK_Camera_SetAutoContrast(0, 1), ZVK_SUCCESS);
        ASSERT_EQ(ZVK_Camera_EnableLiveAsBackgroundImage(0, 1), ZVK_SUCCESS);
        ASSERT_EQ(ZVK_Camera_SetContrastLimits(0, 1, 2), ZVK_SUCCESS);
        ASSERT_EQ(ZVK_Camera_FlipImage(0, 3), ZVK_SUCCESS);
        ASSERT_EQ(ZVK_Camera_SetUserOverlay(0, 1), ZVK_SUCCESS);
        ASSERT_EQ(ZVK_Camera_SetSDKOverlay(0, 1), ZVK_SUCCESS);
        ASSERT_EQ(ZVK_Camera_SetFrameRate(0, 1), ZVK_SUCCESS);
        ASSERT_EQ(ZVK_Camera_SetTrapMarkers(0, 1), ZVK_SUCCESS);
        ASSERT_EQ(ZVK_Camera_SetCalField(0, 0, 1), ZVK_SUCCESS);
    }

    static void StartRecording(bool overlay)
    {
        char path[] = "a.avi";
        CameraSet(&ZVK_CameraState::recordWithOverlay, static_cast<uint8_t>(overlay));
        ASSERT_EQ(ZVK_Camera_SaveVideo(0, 1, path, overlay ? 1 : 0), ZVK_SUCCESS);
    }

    ScopedVariable home{"HOME", folder.Path().c_str()};
    ScopedVariable desktop{"XDG_CONFIG_HOME", folder.Path().c_str()};

private:
    static inline ZVK_ClockTable s_clock;
    static inline ZVK_WindowTable s_windows;
    static inline ZVK_MediaTable s_media;
};

TEST_F(ImageFaults, APassWithEverythingOnMeetsEachAllocationThatFails)
{
    SwitchAllOn();
    StartRecording(true);
    bool goesOn = false;
    const int allocations = FailEachAllocation(
        [&] {
            g_camera.contrastChanged = 1;
            g_camera.frameConsumed = 0;
            goesOn = Display();
        },
        [&](bool) {
            EXPECT_TRUE(goesOn);
            EXPECT_EQ(Get(&ZVK_CameraState::frameConsumed), 1) << "the next frame is taken";
        });
    EXPECT_GT(allocations, 3);
    const int shown = s_shown;
    const int written = s_written;
    g_camera.frameConsumed = 0;
    EXPECT_TRUE(Display());
    EXPECT_EQ(s_shown, shown + 2) << "histogram and picture";
    EXPECT_EQ(s_written, written + 1);
}

TEST_F(ImageFaults, ARecordedFrameMeetsEachAllocationThatFails)
{
    StartRecording(false);
    bool goesOn = false;
    (void)FailEachAllocation([&] { goesOn = Acquire(); },
                             [&](bool) {
                                 EXPECT_TRUE(goesOn);
                                 EXPECT_EQ(Get(&ZVK_CameraState::frameReady), 0);
                             });
    const int written = s_written;
    EXPECT_TRUE(Acquire());
    EXPECT_EQ(s_written, written + 1);
}

TEST_F(ImageFaults, AFrameAsksForNoBlockOfTheHeapAndDrawingForNoMoreThanTheLibrary)
{
    SwitchAllOn();
    StartRecording(false);
    ASSERT_TRUE(Acquire());
    ASSERT_TRUE(Display());  // makes what is kept: histograms, the flipped picture, texts
    FailingMemory memory;
    for (int i = 0; i < 3; ++i) {
        ASSERT_TRUE(Acquire());
        ASSERT_TRUE(Display());
    }
    EXPECT_EQ(memory.Allocations(), 0);

    // A stamped frame, against its text drawn bare.
    cv::Mat bare(256, 256, CV_8UC3);
    const std::string text = g_camera.stampText;
    const int drawn = FailEachAllocation(
        [&] {
            try {
                cv::putText(bare, text, {128, 230}, 0, 0.4, cv::Scalar::all(255), 1, cv::LINE_AA);
            } catch (const std::exception &) {
            }
        },
        [](bool) {});
    const int recorded = FailEachAllocation([] { (void)Acquire(); }, [](bool) {});
    EXPECT_EQ(recorded, drawn);
}

TEST_F(ImageFaults, ClientsCallsMeetEachAllocationThatFails)
{
    struct Row
    {
        const char *name;
        int32_t (*call)();
        int32_t status;  // when an allocation fails that matters; others may succeed
    };
    const Row rows[] = {
        {"histogram", [] { return ZVK_Camera_ComputeHistogram(0); }, ZVK_CAMERA_NO_MEMORY},
        {"background", [] { return ZVK_Camera_SetCurrentLiveAsBackgroundImage(0); }, ZVK_SUCCESS},
        {"recolor", [] { return ZVK_Camera_AdjustFlOverlayRGB(0, 1, 1, 1); }, ZVK_CAMERA_NO_MEMORY},
        {"overlay", [] { return ZVK_ImageProc_UpdateOverlay(0); }, ZVK_IMAGEPROC_NO_MEMORY},
    };
    ASSERT_EQ(ZVK_ImageProc_AddLine(0, nullptr, 1, 100, 1, 100, "A label of many letters", 3, 0),
              0);
    ASSERT_EQ(ZVK_ImageProc_AddMarker(0, nullptr, 50, 50, 9, "Another one, long too", 1, 0), 0);
    for (const Row &row : rows) {
        int32_t status = 0;
        (void)FailEachAllocation([&] { status = row.call(); },
                                 [&](bool failed) {
                                     const bool told =
                                         status == ZVK_SUCCESS || (failed && status == row.status);
                                     EXPECT_TRUE(told) << row.name << ": " << status;
                                 });
        EXPECT_EQ(row.call(), ZVK_SUCCESS) << row.name;
    }
}

TEST_F(ImageFaults, APictureMeetsEachAllocationThatFails)
{
    const std::string path = folder.Path("a.tif");
    char name[4096] = {};
    int32_t status = 0;
    // What the library of formats makes once, on its first use, is its own affair.
    std::strcpy(name, path.c_str());
    ASSERT_EQ(ZVK_Camera_SaveImage(0, name, 1), ZVK_SUCCESS);
    folder.Remove("a.tif");
    const int files = folder.CountFiles();
    const int allocations = FailEachAllocation(
        [&] {
            std::strcpy(name, path.c_str());
            status = ZVK_Camera_SaveImage(0, name, 1);
        },
        [&](bool failed) {
            EXPECT_TRUE(status == ZVK_SUCCESS ||
                        (failed && status == ZVK_CAMERA_IMAGE_WRITE_FAILED))
                << status;
            EXPECT_EQ(folder.CountFiles(), files + (status == ZVK_SUCCESS ? 1 : 0));
            folder.Remove("a.tif");
        });
    EXPECT_GT(allocations, 2);
}

TEST_F(ImageFaults, NamesThatCannotBeMadeGiveAStatusAndStartNothing)
{
    char name[4096] = {};
    int32_t status = 0;
    (void)FailEachAllocation(
        [&] {
            name[0] = '\0';
            status = ZVK_Camera_SaveVideo(0, 1, name, 0);
        },
        [&](bool failed) {
            EXPECT_TRUE(status == ZVK_SUCCESS || (failed && status == ZVK_CAMERA_NO_MEMORY));
            EXPECT_EQ(Get(&ZVK_CameraState::recording), status == ZVK_SUCCESS ? 1 : 0);
            EXPECT_EQ(name[0] != '\0', status == ZVK_SUCCESS);
            (void)ZVK_Camera_SaveVideo(0, 0, name, 0);
        });
    EXPECT_EQ(s_open, 0);
    name[0] = '\0';
    ASSERT_EQ(ZVK_Camera_SaveImage(0, name, 0), ZVK_SUCCESS);
    (void)FailEachAllocation(
        [&] {
            name[0] = '\0';
            status = ZVK_Camera_SaveImage(0, name, 0);
        },
        [&](bool failed) {
            EXPECT_TRUE(status == ZVK_SUCCESS ||
                        (failed && status == ZVK_CAMERA_IMAGE_WRITE_FAILED));
        });
}

TEST_F(ImageFaults, TheOpeningOfARealVideoMeetsEachAllocationThatFails)
{
    UseMedia(nullptr);
    const std::string path = folder.Path("a.avi");
    void *first = Media().openVideo(path.c_str(), 50.0, 64, 48, true);
    EXPECT_EQ(Media().closeVideo(first), 0);
    for (int nth = 1; nth <= 3; ++nth) {  // ours come first; the writer's own are its affair
        void *video = nullptr;
        {
            const FailingNew allocations(nth);
            video = Media().openVideo(path.c_str(), 50.0, 64, 48, true);
        }
        if (video != nullptr) {
            EXPECT_EQ(Media().closeVideo(video), 0);
        }
    }
    void *video = Media().openVideo(path.c_str(), 50.0, 64, 48, true);
    ASSERT_NE(video, nullptr);
    EXPECT_EQ(Media().closeVideo(video), 0);
}

TEST_F(ImageFaults, TheMakersEmptyFileMeetsEachFileCallThatFails)
{
    ASSERT_EQ(ZVK_Camera_SaveVideoDCIMG(0, 1), ZVK_SUCCESS);
    std::string path = folder.Path("a.dcimg");
    for (int nth = 1;; ++nth) {
        FailingFiles files;
        files.FailAt(nth);
        EXPECT_EQ(ZVK_Camera_SaveVideo(0, 1, path.data(), 0), ZVK_SUCCESS);
        EXPECT_EQ(files.OpenFiles(), 0);
        EXPECT_EQ(ZVK_Camera_SaveVideo(0, 0, path.data(), 0), ZVK_SUCCESS);
        if (!files.Failed()) break;
    }
}
