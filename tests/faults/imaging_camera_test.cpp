// Allocations and files under the camera fail in turn: the told status comes, nothing is lost that
// the next start needs, and both loops go on.

#include "camera_fixture.h"
#include "failing_files.h"
#include "failing_memory.h"
#include "failing_new.h"
#include "platform/clock.h"
#include "platform/messages.h"
#include "platform/threads.h"
#include "platform/windows.h"
#include "quorvex/errors.h"

// Stand-ins that need no memory of their own: what fails is the camera's.
static double s_now;
static int s_shown;
static int s_lastId;

static ZVK_ClockTable QuietClock()
{
    ZVK_ClockTable table = Clock();
    table.timer = [] { return s_now += 0.001; };
    table.delay = [](double seconds) { s_now += seconds; };
    table.breathe = [] {};
    return table;
}

static ZVK_ThreadTable QuietThreads()
{
    ZVK_ThreadTable table = Threads();
    table.schedule = [](ZVK_PoolFunction, void *, int *id) {
        *id = ++s_lastId;
        return 0;
    };
    table.wait = [](int) { return 0; };
    table.release = [](int) { return 0; };
    return table;
}

static ZVK_WindowTable QuietWindows()
{
    ZVK_WindowTable table = HeadlessWindows();
    table.show = [](const char *, const ZVK_Picture &) { return (++s_shown, 0); };
    return table;
}

class CameraFaults : public CameraTest
{
protected:
    void SetUp() override
    {
        CameraTest::SetUp();
        s_clock = QuietClock();
        s_threads = QuietThreads();
        s_windows = QuietWindows();
        UseClock(&s_clock);
        UseThreads(&s_threads);
        UseWindows(&s_windows);
        UseMessages(&s_messages);
    }

    static void ExpectThatItWorks()
    {
        (void)ZVK_Camera_Shutdown(0);
        ASSERT_EQ(ZVK_Camera_Init(0, 0, 0), ZVK_SUCCESS);
        BeginLoops();
        const int shown = s_shown;
        EXPECT_TRUE(Acquire());
        EXPECT_TRUE(Display());
        EXPECT_EQ(s_shown, shown + 1);
    }

private:
    static inline ZVK_ClockTable s_clock;
    static inline ZVK_ThreadTable s_threads;
    static inline ZVK_WindowTable s_windows;
    static constexpr ZVK_MessageTable s_messages = {
        .registerName = [](const char *) { return uint32_t{0xC001}; },
        .post = [](uint32_t, int64_t, int64_t) { return int32_t{0}; }};
};

TEST_F(CameraFaults, InitMeetsEachAllocationThatFails)
{
    Write({.histogram = "1"});
    int32_t status = 0;
    int allocations = 0;
    allocations = FailEachAllocation([&] { status = ZVK_Camera_Init(0, 0, 0); },
                                     [&](bool failed) {
                                         EXPECT_LE(status, 0) << "never a warning";
                                         EXPECT_TRUE(failed || status == ZVK_SUCCESS);
                                         ExpectThatItWorks();
                                         (void)ZVK_Camera_Shutdown(0);
                                     });
    EXPECT_GT(allocations, 10);
}

TEST_F(CameraFaults, ARegionMeetsEachImageThatFindsNoRoom)
{
    BringUp();
    for (int nth = 1;; ++nth) {
        ZVK_Camera_ReleaseFrameBuffers(0);
        FailingMemory memory;
        memory.FailAt(nth);
        const int32_t status = ZVK_Camera_SetROI(0, 1, 0, nullptr, nullptr);
        const bool failed = memory.Failed();
        memory.FailAt(0);
        EXPECT_EQ(status, failed ? ZVK_CAMERA_NO_MEMORY : ZVK_SUCCESS);
        EXPECT_EQ(g_camera.acquiredImage.empty(), failed);
        EXPECT_EQ(g_camera.displayHeader.imageData == nullptr, failed);
        EXPECT_EQ(Get(&ZVK_CameraState::buffersRebuilding), 0);
        if (failed) {
            EXPECT_EQ(memory.Live(), 0) << "no image is left half made";
            continue;
        }
        EXPECT_GT(nth, 14) << "each image of the set";
        g_camera = {};  // while the blocks are counted
        EXPECT_EQ(memory.Live(), 0);
        break;
    }
    ExpectThatItWorks();
}

TEST_F(CameraFaults, APassMeetsEachAllocationThatFails)
{
    BringUp();
    BeginLoops();
    bool goesOn = false;
    FailEachAllocation([&] { goesOn = Acquire(); }, [&](bool) { EXPECT_TRUE(goesOn); });
    CameraSet(&ZVK_CameraState::frameConsumed, uint8_t{0});
    (void)FailEachAllocation([&] { goesOn = Display(); },
                             [&](bool) {
                                 EXPECT_TRUE(goesOn);
                                 EXPECT_EQ(Get(&ZVK_CameraState::frameConsumed), 1)
                                     << "the next frame is taken";
                                 CameraSet(&ZVK_CameraState::frameConsumed, uint8_t{0});
                             });
}

TEST_F(CameraFaults, InitMeetsEachBlockOfTheHeapThatFails)
{
    Write({});
    for (int nth = 1;; ++nth) {
        ASSERT_LT(nth, 500);
        FailingMemory memory;
        memory.FailAt(nth);
        const int32_t status = ZVK_Camera_Init(0, 0, 0);
        const bool failed = memory.Failed();
        memory.FailAt(0);
        EXPECT_LE(status, 0);
        ExpectThatItWorks();
        (void)ZVK_Camera_Shutdown(0);
        g_camera = {};
        EXPECT_EQ(memory.Live(), 0) << nth;
        if (!failed) break;
    }
}

TEST_F(CameraFaults, InitMeetsEachFileCallThatFails)
{
    Write({});
    for (int nth = 1;; ++nth) {
        ASSERT_LT(nth, 500);
        bool failed = false;
        {
            FailingFiles files;
            files.FailAt(nth);
            EXPECT_LE(ZVK_Camera_Init(0, 0, 0), 0);
            failed = files.Failed();
        }
        ExpectThatItWorks();
        (void)ZVK_Camera_Shutdown(0);
        if (!failed) break;
    }
}
