// Starts and ends the two loops, and stops them when the process ends.

#include "imaging/camera.h"
#include "platform/threads.h"

#include <chrono>
#include <cstdlib>
#include <mutex>

// How long the process's end waits for a loop that is stuck in a call of the window system.
constexpr auto kLongestExit = std::chrono::seconds(2);

void StartLoops()
{
    {
        const std::lock_guard data(CameraData());
        g_camera.stopAcquire = 0;
        g_camera.stopDisplay = 0;
        g_camera.frameConsumed = 1;  // nothing to show before the first frame
    }
    void *session = &g_camera.loopSession;
    if (Threads().schedule(ZVK_Camera_AcquireLoop, session, &g_camera.acquireThreadId) < 0)
        g_camera.acquireThreadId = 0;
    if (Threads().schedule(ZVK_Camera_DisplayLoop, session, &g_camera.displayThreadId) < 0)
        g_camera.displayThreadId = 0;
}

static void AskToEnd()
{
    {
        const std::lock_guard data(CameraData());
        g_camera.stopAcquire = 1;
        g_camera.stopDisplay = 1;
        g_camera.runAcquire = 0;
        g_camera.runDisplay = 0;
    }
    CameraChanged();
}

static void Await(int32_t &threadId)
{
    if (threadId == 0) return;
    (void)Threads().wait(threadId);
    (void)Threads().release(threadId);
    threadId = 0;
}

void EndAcquireLoop()
{
    {
        const std::lock_guard data(CameraData());
        g_camera.stopAcquire = 1;
        g_camera.runAcquire = 0;
    }
    CameraChanged();
    Await(g_camera.acquireThreadId);
}

void EndLoops()
{
    AskToEnd();
    Await(g_camera.acquireThreadId);
    Await(g_camera.displayThreadId);
}

// What the drawing library keeps for its threads is destroyed at the process's end: no loop may be
// inside it then.
static void EndBeforeExit()
{
    AskToEnd();
    std::unique_lock data(CameraData());
    (void)CameraCondition().wait_for(data, kLongestExit, [] {
        return g_camera.acquireRunning == 0 && g_camera.displayRunning == 0;
    });
}

void EndLoopsBeforeExit()
{
    // Handlers run in the reverse order of their registration, so that this one, which comes after
    // the library's own, runs before them.
    static std::once_flag once;
    std::call_once(once, [] { (void)std::atexit(EndBeforeExit); });
}
