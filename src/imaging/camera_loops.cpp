// Starts and ends the two loops, and stops them when the process ends.

#include "imaging/camera.h"
#include "platform/threads.h"

#include <opencv2/imgproc.hpp>

#include <chrono>
#include <cstdlib>
#include <exception>
#include <mutex>

// How long the process's end waits for a loop that is stuck in a call of the window system.
constexpr auto kLongestExit = std::chrono::seconds(2);
static const cv::Size kTrialFrame(512, 384);
static const cv::Size kTrialPicture(800, 600);

static bool s_ending = false;  // the process is; lock CameraData

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
// inside it then, and none may begin afterwards.
static void EndBeforeExit()
{
    {
        const std::lock_guard data(CameraData());
        s_ending = true;
    }
    AskToEnd();
    std::unique_lock data(CameraData());
    (void)CameraCondition().wait_for(data, kLongestExit, [] {
        return g_camera.acquireRunning == 0 && g_camera.displayRunning == 0;
    });
}

void EndLoopsBeforeExit()
{
    static std::once_flag once;
    std::call_once(once, [] { (void)std::atexit(EndBeforeExit); });
}

// Has the drawing library make its threads and tables, in pictures that are large enough for it to
// want them, so that a process which ends during its first frame finds them made.
static void WakeDrawing()
{
    cv::Mat frame(kTrialFrame, CV_8UC3, cv::Scalar::all(0));
    cv::Mat scaled(kTrialPicture, CV_8UC3);
    cv::resize(frame, scaled, scaled.size(), 0.0, 0.0, cv::INTER_AREA);
    cv::flip(scaled, scaled, 0);
    cv::addWeighted(scaled, 1.0, scaled, 1.0, 0.0, scaled);
    cv::convertScaleAbs(scaled, scaled, 1.0, 0.0);
    cv::cvtColor(frame, frame, cv::COLOR_BGR2GRAY);
    cv::circle(scaled, {9, 9}, 5, cv::Scalar::all(0), 1, cv::LINE_AA);
    cv::putText(scaled, "0", {9, 9}, cv::FONT_HERSHEY_SIMPLEX, 1.0, cv::Scalar::all(0));
}

// Handlers run in the reverse order of their registration: ours, which comes after the library's
// own, runs before them.
static void PrepareExit()
{
    static bool done = false;  // lock CameraTurn
    if (done) return;
    try {
        WakeDrawing();
        done = std::atexit(EndBeforeExit) == 0;
    } catch (const std::exception &) {  // cv::Exception or std::bad_alloc: at the next start
    }
}

void StartLoops()
{
    PrepareExit();
    {
        const std::lock_guard data(CameraData());
        if (s_ending) return;
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
