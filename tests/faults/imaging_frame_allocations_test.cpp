// The frame path asks for no memory but what the drawing library asks for by itself: a session of
// weeks takes what it needs at its start.

#include "camera_fixture.h"
#include "failing_memory.h"
#include "failing_new.h"
#include "platform/clock.h"
#include "platform/windows.h"
#include "quorvex/quorvex.h"
#include "two_paths.h"

class FrameAllocations : public CameraTest
{
protected:
    void Start(const CameraConfig &config = {})
    {
        folder.Write("config.ini", config.Text());
        BringUp(config);
        BeginLoops();
        // These keep no list of what they were asked for, unlike those of the fixture.
        UseWindows(&HeadlessWindows());
        s_clock = Clock();
        s_clock.delay = [](double) {};
        UseClock(&s_clock);
    }

    void TearDown() override
    {
        (void)ZVK_Trap_Shutdown(0);
        (void)ZVK_CoordinateSystems_Shutdown(0);
        (void)ZVK_ImageProc_Shutdown(0);
        CameraTest::TearDown();
    }

    // Two paths with a few traps each, and everything that is drawn of them.
    void ShowTraps()
    {
        folder.Write("config.ini", TwoPathsConfig());
        folder.Write("default.odf", TwoPathsObjective());
        for (const int32_t path : {0, 1})
            ASSERT_GE(ZVK_Trap_Init(0, 0, 0, path, path == 0 ? "A_1" : "B_1"), 0);
        ASSERT_EQ(ZVK_CoordinateSystems_Init(0, 0, 0), 0);
        for (int i = 0; i < 6; ++i) {
            const std::string name = "a name that is long " + std::to_string(i);
            int32_t index = 0;
            ASSERT_GE(ZVK_Trap_Add(0, i % 2, &index, 1.0, name.c_str(), -2.0 + 0.5 * i, -1.0,
                                   ZVK_UNIT_VOLT),
                      0);
        }
        ASSERT_EQ(ZVK_Camera_SetSDKOverlay(0, 1), 0);
        ASSERT_EQ(ZVK_Camera_SetTrapMarkers(0, 1), 0);
        ASSERT_EQ(ZVK_Camera_SetFrameRate(0, 1), 0);
        for (const int32_t path : {0, 1})
            ASSERT_EQ(ZVK_Camera_SetCalField(0, path, 1), 0);
    }

    // What so many frames ask for, once the first ones have passed.
    static int64_t OfFrames(int frames)
    {
        for (int warm = 0; warm < 25; ++warm) {  // past a measuring of the rate
            EXPECT_TRUE(Acquire());
            EXPECT_TRUE(Display());
        }
        const FailingMemory memory;
        const AllocationsBut counted("libopencv");
        for (int frame = 0; frame < frames; ++frame) {
            (void)Acquire();
            (void)Display();
        }
        return counted.Count() + memory.Allocations();
    }

private:
    static inline ZVK_ClockTable s_clock;
};

TEST_F(FrameAllocations, TheCountSeesOurOwn)
{
    const AllocationsBut counted("libopencv");
    const std::vector<int> own(100);
    EXPECT_EQ(counted.Count(), 1);
}

TEST_F(FrameAllocations, PlainFramesAskForNothing)
{
    Start();
    EXPECT_EQ(OfFrames(50), 0);
}

TEST_F(FrameAllocations, FramesWithOverlaysZoomAndContrastAskForNothing)
{
    CameraConfig config;
    config.histogram = "1";
    Start(config);
    ASSERT_EQ(ZVK_ImageProc_Init(0, 0, 0), 0);
    ASSERT_EQ(ZVK_ImageProc_AddLine(0, nullptr, 10, 20, 200, 220, "a line's label", 1, 0), 0);
    ASSERT_EQ(ZVK_ImageProc_AddMarker(0, nullptr, 100, 100, 40, "bead", 3, 1), 0);
    ASSERT_EQ(ZVK_ImageProc_UpdateOverlay(0), 0);
    ASSERT_EQ(ZVK_Camera_SetUserOverlay(0, 1), 0);
    ShowTraps();
    ASSERT_TRUE(Acquire());
    ASSERT_TRUE(Display());
    const double drawn = cv::sum(g_camera.displayImage)[2];
    EXPECT_GT(drawn, 1e5) << "white circles and labels, red fields";
    ASSERT_EQ(ZVK_Camera_SetZoom(0, 256, 256, 2.0), 0);
    EXPECT_EQ(OfFrames(50), 0);
}
