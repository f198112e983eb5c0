// Both loops on their own threads, with clients beside them. The test clock's delays return at
// once, so that frames come as fast as they can.

#include "camera_fixture.h"

#include "other_process.h"
#include "quorvex/errors.h"

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <malloc.h>
#include <sys/resource.h>
#include <thread>
#include <unistd.h>

using Sizes = std::vector<int32_t>;

class CameraThreads : public CameraTest
{
protected:
    void SetUp() override
    {
        CameraTest::SetUp();
        threads.reset();  // the real pool
        clock.OnWait([] { std::this_thread::yield(); });
    }

    // Returns when the loops have made it true.
    template <class Fact>
    static void WaitUntil(Fact fact)
    {
        std::unique_lock data(CameraData());
        CameraCondition().wait(data, fact);
    }

    static void WaitForFrames(int32_t more)
    {
        const int32_t from = Get(&ZVK_CameraState::frameCount);
        WaitUntil([=] { return g_camera.frameCount >= from + more; });
    }

    static int32_t Init() { return ZVK_Camera_Init(0, 0, 0); }
    static int32_t Shutdown() { return ZVK_Camera_Shutdown(0); }

    static size_t CountThreads()
    {
        size_t count = 0;
        for (const auto &task : std::filesystem::directory_iterator("/proc/self/task"))
            count += task.exists() ? 1 : 0;
        return count;
    }
};

TEST_F(CameraThreads, FramesRunFromInitToShutdown)
{
    BringUp();
    WaitForFrames(50);
    while (windows.Pictures().empty())  // the display may miss frames, but never all of them
        std::this_thread::yield();
    EXPECT_EQ(Get(&ZVK_CameraState::runAcquire), 1);
    EXPECT_EQ(Get(&ZVK_CameraState::displayRunning), 1);
    EXPECT_EQ(Shutdown(), ZVK_SUCCESS);
    WaitUntil([] { return g_camera.acquireRunning == 0; });
    EXPECT_EQ(Get(&ZVK_CameraState::displayRunning), 1) << "it rests";
    const int32_t frames = Get(&ZVK_CameraState::frameCount);
    WaitUntil([] { return g_camera.frameConsumed == 1; });
    EXPECT_EQ(Get(&ZVK_CameraState::frameCount), frames);
}

TEST_F(CameraThreads, FullShutdownAwaitsBothLoops)
{
    BringUp({.simulate = "2"});
    WaitForFrames(5);
    EXPECT_EQ(Shutdown(), ZVK_SUCCESS);
    EXPECT_EQ(Get(&ZVK_CameraState::acquireRunning), 0);
    EXPECT_EQ(Get(&ZVK_CameraState::displayRunning), 0);
    const size_t pictures = windows.Pictures().size();
    EXPECT_EQ(windows.OpenTitles(), Calls{});
    EXPECT_EQ(windows.Pictures().size(), pictures);
}

TEST_F(CameraThreads, LoopsOfACameraThatIsNotSimulatedWaitAndEndAtTheNextInit)
{
    Write({.simulate = "0"});
    EXPECT_EQ(Init(), ZVK_SUCCESS);
    WaitUntil([] { return g_camera.acquireRunning == 1 && g_camera.displayRunning == 1; });
    EXPECT_EQ(Shutdown(), ZVK_CAMERA_NOT_INITIALIZED);
    EXPECT_EQ(Get(&ZVK_CameraState::acquireRunning), 1) << "nobody stops it but the next start";
    EXPECT_EQ(Get(&ZVK_CameraState::frameCount), 0);
    EXPECT_TRUE(clock.Delays().empty()) << "it waits for a frame and not for time";
    EXPECT_EQ(clock.Breaths(), 0);
    BringUp();
    WaitForFrames(3);
}

TEST_F(CameraThreads, NoMoreThan50FramesComeInASecond)
{
    UseClock(nullptr);  // the real one
    using Time = std::chrono::steady_clock;
    BringUp();
    constexpr int32_t kFrames = 20;
    WaitForFrames(1);
    const Time::time_point before = Time::now();
    WaitForFrames(kFrames);
    const std::chrono::duration<double> passed = Time::now() - before;
    EXPECT_GT(passed.count(), (kFrames - 1) * 0.02);
    EXPECT_GT(Get(&ZVK_CameraState::framesPerSecond), 0.0);
    EXPECT_LT(Get(&ZVK_CameraState::framesPerSecond), 500.0) << "the first frame counts as one";
}

// Time that the process's threads have worked.
static double SecondsOfWork()
{
    rusage usage = {};
    (void)getrusage(RUSAGE_SELF, &usage);
    const auto seconds = [](const timeval &time) {
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) * 1e-6;
    };
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

TEST_F(CameraThreads, LoopsWithNothingToDoTakeNoTimeOfTheProcessor)
{
    for (const char *const simulate : {"0", "1"}) {
        Write({.simulate = simulate});
        ASSERT_EQ(Init(), ZVK_SUCCESS);
        WaitUntil([] { return g_camera.acquireRunning == 1 && g_camera.displayRunning == 1; });
        (void)Shutdown();  // with 1 the display loop is left, with 0 both are
        if (simulate[0] == '1') WaitUntil([] { return g_camera.acquireRunning == 0; });
        WaitUntil([] { return g_camera.frameConsumed == 1; });
        const double before = SecondsOfWork();
        std::unique_lock data(CameraData());
        EXPECT_FALSE(CameraCondition().wait_for(data, std::chrono::milliseconds(400),
                                                [] { return g_camera.displayRunning == 0; }));
        EXPECT_LT(SecondsOfWork() - before, 0.05) << simulate;
    }
}

TEST_F(CameraThreads, ABusyDisplayMissesFramesAndNoneIsQueued)
{
    std::atomic<bool> held{false};
    std::atomic<int32_t> frames{0};
    windows.OnShow([&] {
        if (held.exchange(true)) return;
        const int32_t from = Get(&ZVK_CameraState::frameCount);
        while (frames < 10) {  // acquisition goes on
            frames = Get(&ZVK_CameraState::frameCount) - from;
            std::this_thread::yield();
        }
    });
    BringUp();
    WaitUntil([&] { return frames >= 10; });
    EXPECT_LE(windows.Pictures().size(),
              static_cast<size_t>(Get(&ZVK_CameraState::frameCount)) - 9);
}

TEST_F(CameraThreads, ImagesAreExchangedWhileFramesRun)
{
    BringUp();
    for (int i = 0; i < 20; ++i) {
        WaitForFrames(1);
        EXPECT_EQ(ZVK_Camera_SetROI(0, 1 + i % 4, i % 3, nullptr, nullptr), ZVK_SUCCESS);
    }
    WaitForFrames(3);
    EXPECT_EQ(Shutdown(), ZVK_SUCCESS);
}

TEST_F(CameraThreads, TwoClientsCallEverythingWhileFramesRun)
{
    BringUp({.simulate = "2"});
    std::atomic<bool> stop{false};
    std::thread one([&] {
        for (int32_t i = 0; !stop; ++i) {
            int32_t number = 0;
            double zoom = 0.0;
            char name[256];
            void *handle = nullptr;
            (void)ZVK_Camera_SetZoom(0, i % 300, i % 200, 1.0 + i % 5);
            (void)ZVK_Camera_GetZoom(0, &number, &number, &zoom);
            (void)ZVK_Camera_SetUserOverlay(0, static_cast<uint16_t>(i % 2));
            (void)ZVK_Camera_SetFrameRate(0, static_cast<uint16_t>(i % 2));
            (void)ZVK_Camera_SetCalField(0, i % 3, 1);
            (void)ZVK_Camera_GetModelName(0, name);
            (void)ZVK_Camera_GetWinHandle(0, &handle);
            (void)ZVK_Camera_GetNativeResolution(0, &number, &number, nullptr, nullptr);
            (void)windows.Mouse("Camera Window", 1, i % 800, i % 600, 1);
        }
    });
    std::thread two([&] {
        for (int32_t i = 0; !stop; ++i) {
            float seconds = 0.0F;
            (void)ZVK_Camera_SetROI(0, 1 + i % 3, i % 2, nullptr, nullptr);
            (void)ZVK_Camera_StartVideo(0);
            (void)ZVK_Camera_SnapShot(0);
            (void)ZVK_Camera_StopVideo(0);
            (void)ZVK_Camera_SetSDKOverlay(0, static_cast<uint16_t>(i % 2));
            (void)ZVK_Camera_SetTrapMarkers(0, static_cast<uint16_t>(i % 2));
            (void)ZVK_Camera_SetExposureTime(0, 0.1F, &seconds);
            if (i % 10 == 9) {
                (void)Shutdown();
                (void)Init();
            }
        }
    });
    for (int i = 0; i < 5; ++i)
        WaitForFrames(20);
    stop = true;
    one.join();
    two.join();
    EXPECT_EQ(Shutdown(), ZVK_SUCCESS);
}

// Memory of the process: pages it holds, and bytes of the heap in use (0 where the heap isn't the
// C library's own, as under a sanitizer).
struct MemoryUse
{
    size_t pages = 0;
    size_t heap = 0;
};

static MemoryUse MemoryInUse()
{
    MemoryUse memory;
    size_t total = 0;
    std::ifstream("/proc/self/statm") >> total >> memory.pages;
    const auto heap = mallinfo2();
    memory.heap = heap.uordblks + heap.hblkhd;
    return memory;
}

TEST_F(CameraThreads, AHundredRoundsKeepThreadsAndMemoryFlat)
{
    const char *const kinds[] = {"1", "2", "0", "1", "2"};  // the last one frees the images
    size_t threadsAtFirst = 0;
    MemoryUse atFirst;
    for (int round = 0; round < 100; ++round) {
        const char *const kind = kinds[round % 5];
        Write({.simulate = kind, .histogram = "1"});
        ASSERT_EQ(Init(), ZVK_SUCCESS);
        if (kind[0] != '0') WaitForFrames(1);
        (void)Shutdown();
        windows.ForgetCalls();
        if (round == 19) {
            threadsAtFirst = CountThreads();
            atFirst = MemoryInUse();
        }
    }
    const MemoryUse atLast = MemoryInUse();
    EXPECT_LE(CountThreads(), threadsAtFirst);
    // What the stand-ins remember grows by some bytes a round; one image is 196,608 bytes or more.
    EXPECT_LT(atLast.heap, atFirst.heap + 150000);
    // A set of images that leaked each round would be 100,000 pages; sanitizers keep freed ones.
    EXPECT_LT(atLast.pages, atFirst.pages + 80000);
}

// -- the process's end --

// Handlers run in the reverse order of their registration. The role's first one runs behind the
// camera's, its second one before.
static std::atomic<bool> s_exiting{false};

static void CheckThatLoopsHaveEnded()
{
    if (CameraGet(&ZVK_CameraState::displayRunning) != 0) _exit(3);
    if (CameraGet(&ZVK_CameraState::acquireRunning) != 0) _exit(4);
    (void)ZVK_Camera_Shutdown(0);
    if (ZVK_Camera_Init(0, 0, 0) != ZVK_SUCCESS) _exit(5);
    if (g_camera.acquireThreadId != 0 || g_camera.displayThreadId != 0) _exit(6);
}

class CameraThreadsRole : public CameraThreads
{
};

TEST_F(CameraThreadsRole, DISABLED_ExitsInItsFirstPicture)
{
    std::atomic<bool> inside{false};
    windows.OnShow([&] {
        inside = true;
        while (!s_exiting)
            std::this_thread::yield();
    });
    ASSERT_EQ(std::atexit(CheckThatLoopsHaveEnded), 0);
    BringUp();
    ASSERT_EQ(std::atexit([] { s_exiting = true; }), 0);
    while (!inside)
        std::this_thread::yield();
    std::exit(0);
}

TEST(CameraThreadsEnd, AProcessThatEndsInItsFirstPictureAwaitsBothLoopsAndStartsNoMore)
{
    OtherProcess other("CameraThreadsRole.DISABLED_ExitsInItsFirstPicture");
    EXPECT_EQ(other.Wait(), 0);
}
