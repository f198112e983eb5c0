// One display pass against the resize and the copies in it done bare, and what a session that
// nobody calls costs while frames run.

#include "ratio.h"

#include "imaging/camera.h"
#include "platform/clock.h"
#include "platform/windows.h"
#include "quorvex/quorvex.h"
#include "two_paths.h"

#include <opencv2/imgproc.hpp>

#include <chrono>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <string>
#include <thread>

constexpr int kWindowWidth = 800;
constexpr int kWindowHeight = 600;

// The images of a camera whose frames have that size, with no loop running.
static void PrepareImages(int32_t frameWidth, int32_t frameHeight)
{
    static ZVK_ClockTable atOnce = Clock();
    atOnce.delay = [](double) {};
    UseWindows(&HeadlessWindows());
    UseClock(&atOnce);
    g_camera = {};
    g_camera.acquiredWidth = frameWidth;
    g_camera.acquiredHeight = frameHeight;
    g_camera.displayWidth = kWindowWidth;
    g_camera.displayHeight = kWindowHeight;
    g_camera.binning = 1;
    (void)RebuildImages();
    UseClock(nullptr);
    g_camera.runDisplay = 1;
    cv::randu(g_camera.workImage, 0, 255);
}

static void DisplayPassAgainstBare(benchmark::State &state)
{
    PrepareImages(static_cast<int32_t>(state.range(0)), static_cast<int32_t>(state.range(1)));
    const cv::Mat frame = g_camera.workImage.clone();
    cv::Mat adjusted(frame.size(), CV_8UC3);
    cv::Mat scaled(kWindowHeight, kWindowWidth, CV_8UC3);
    cv::Mat display(kWindowHeight, kWindowWidth, CV_8UC3);
    MeasureRatio(
        state,
        [] {
            g_camera.frameConsumed = 0;
            (void)DisplayPass();
        },
        [&] {
            frame.copyTo(adjusted);
            cv::resize(adjusted, scaled, scaled.size(), 0.0, 0.0, cv::INTER_AREA);
            scaled.copyTo(display);
        });
    UseWindows(nullptr);
    g_camera = {};
}
BENCHMARK(DisplayPassAgainstBare)
    ->ArgNames({"width", "height"})
    ->Args({256, 256})
    ->Args({800, 600})
    ->Args({1600, 1200})
    ->UseManualTime();

static double ProcessSeconds() { return static_cast<double>(std::clock()) / CLOCKS_PER_SEC; }

// Traps beside the one that each path has, spread over the field, and everything that the library
// draws.
static bool ShowTraps(int traps)
{
    bool added = true;
    for (int i = 2; i < traps; ++i) {
        const std::string name = "Trap " + std::to_string(i);
        int32_t index = 0;
        added = ZVK_Trap_Add(0, i % 2, &index, 1.0, name.c_str(), -2.0 + 0.1 * i, -1.5 + 0.07 * i,
                             ZVK_UNIT_VOLT) >= 0 &&
                added;
    }
    return added && ZVK_Camera_SetSDKOverlay(0, 1) == 0 && ZVK_Camera_SetTrapMarkers(0, 1) == 0 &&
           ZVK_Camera_SetFrameRate(0, 1) == 0 && ZVK_Camera_SetCalField(0, 0, 1) == 0 &&
           ZVK_Camera_SetCalField(0, 1, 1) == 0 && ZVK_Camera_SetUserOverlay(0, 1) == 0;
}

// The calibration, which has nothing to do here, comes up once in a process: the second session
// ends there with all that it needs.
static bool BringUp()
{
    const int32_t status = ZVK_init("", 0, 0, 0);
    return status >= 0 || status == ZVK_FORCECAL_ALREADY_INITIALIZED;
}

// A session of two paths that nobody calls, at the simulated camera's own pace. With traps: and
// with its overlays shown.
static void SessionAtRest(benchmark::State &state)
{
    namespace fs = std::filesystem;
    const auto traps = static_cast<int>(state.range(0));
    const fs::path base = fs::temp_directory_path() / "quorvex-camera-bench";
    fs::create_directories(base);
    setenv("ZVK_COMMON_APPDATA", base.c_str(), 1);
    setenv("ZVK_HEADLESS", "1", 1);
    if (!WriteTwoPathsFolder(base.string()) || !BringUp() || (traps > 0 && !ShowTraps(traps))) {
        state.SkipWithError("no session");
        return;
    }
    for (auto _ : state) {
        const int32_t frames = CameraGet(&ZVK_CameraState::frameCount);
        const double busy = ProcessSeconds();
        const double seconds =
            SecondsOf([] { std::this_thread::sleep_for(std::chrono::seconds(5)); });
        state.SetIterationTime(seconds);
        state.counters["frames_a_second"] =
            (CameraGet(&ZVK_CameraState::frameCount) - frames) / seconds;
        state.counters["percent_of_a_core"] = 100.0 * (ProcessSeconds() - busy) / seconds;
    }
    (void)ZVK_close(0);
    fs::remove_all(base);
}
BENCHMARK(SessionAtRest)->ArgName("traps")->Arg(0)->Arg(40)->Iterations(1)->UseManualTime();
