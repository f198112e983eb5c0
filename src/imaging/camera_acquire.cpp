// The acquisition loop: frames at a paced rate, each handed to the display loop when that has
// finished with the last one.

#include "imaging/camera.h"
#include "imaging/recording.h"
#include "platform/clock.h"

#include <exception>

constexpr double kFrameS = 0.02;  // the simulated camera's pace
constexpr int32_t kRateFrames = 20;

static bool BeginAcquire()
{
    {
        const std::lock_guard data(CameraData());
        if (g_camera.stopAcquire != 0) return false;
        g_camera.runAcquire = 1;
        g_camera.acquireRunning = 1;
        g_camera.frameConsumed = 1;
        g_camera.frameReady = 0;
        g_camera.frameRateSum = 0.0;
    }
    CameraChanged();
    return true;
}

static void EndAcquire()
{
    CameraSet(&ZVK_CameraState::acquireRunning, uint8_t{0});
    CameraChanged();
}

// The source: the simulated camera has a frame whenever its time has come, any other one never.
static void WaitForFrame()
{
    if (CameraGet(&ZVK_CameraState::simulate) != 0) {
        Clock().delay(kFrameS);
        CameraSet(&ZVK_CameraState::frameReady, uint8_t{1});
        return;
    }
    std::unique_lock data(CameraData());
    CameraCondition().wait(data, [] {
        return g_camera.runAcquire == 0 || g_camera.frameReady != 0 ||
               g_camera.buffersRebuilding != 0;
    });
}

// Counts the frame and measures the rate, with what the clock said on taking it. Lock CameraData.
static void CountFrame(double now)
{
    g_camera.frameCount = static_cast<int32_t>(static_cast<uint32_t>(g_camera.frameCount) + 1U);
    g_camera.previousFrameTime = g_camera.currentFrameTime;
    g_camera.currentFrameTime = now;
    const double sinceLast = now - g_camera.previousFrameTime;
    if (sinceLast > 0.0) g_camera.frameRateSum += 1.0 / sinceLast;
    if (g_camera.frameCount % kRateFrames != 0) return;
    g_camera.framesPerSecond = g_camera.frameRateSum / kRateFrames;
    g_camera.frameRateSum = 0.0;
}

// Takes the frame that waits, if there is one. While the images are being exchanged the loop rests
// here, and the frame is dropped.
static bool TakeFrame()
{
    const double now = Clock().timer();
    std::unique_lock data(CameraData());
    if (g_camera.buffersRebuilding != 0) {
        CameraCondition().wait(
            data, [] { return g_camera.runAcquire == 0 || g_camera.buffersRebuilding == 0; });
        return false;
    }
    if (g_camera.frameReady == 0) return false;
    CountFrame(now);
    return true;
}

// Copies the frame for the display loop. When that is still busy it misses this one.
static void HandOver()
{
    if (CameraGet(&ZVK_CameraState::frameConsumed) == 0) return;
    if (!g_camera.acquiredImage.empty()) g_camera.acquiredImage.copyTo(g_camera.workImage);
    CameraSet(&ZVK_CameraState::frameConsumed, uint8_t{0});
    CameraChanged();
}

static void WorkOnFrame()
{
    const std::lock_guard frame(CameraFrame());
    HandOver();
    {
        const std::lock_guard data(CameraData());
        g_camera.recordElapsed = g_camera.currentFrameTime - g_camera.recordStartTime;
    }
    RecordFrame();
}

bool AcquirePass()
{
    if (CameraGet(&ZVK_CameraState::runAcquire) == 0) return false;
    WaitForFrame();
    if (!TakeFrame()) return true;
    try {
        WorkOnFrame();
    } catch (const std::exception &) {  // cv::Exception or std::bad_alloc: the frame is lost
    }
    CameraSet(&ZVK_CameraState::frameReady, uint8_t{0});
    return true;
}

int ZVK_Camera_AcquireLoop(void *)
{
    if (!BeginAcquire()) return 0;
    while (AcquirePass()) {
    }
    EndAcquire();
    return 0;
}
