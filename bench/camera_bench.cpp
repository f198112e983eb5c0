// One display pass against the resize and the copies in it done bare, and what an idle session
// costs while frames run.

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

// A session of two paths that nobody calls, at the simulated camera's own pace.
static void IdleSession(benchmark::State &state)
{
    namespace fs = std::filesystem;
    const fs::path base = fs::temp_directory_path() / "quorvex-camera-bench";
    fs::create_directories(base);
    setenv("ZVK_COMMON_APPDATA", base.c_str(), 1);
    setenv("ZVK_HEADLESS", "1", 1);
    if (!WriteTwoPathsFolder(base.string()) || ZVK_init("", 0, 0, 0) < 0) {
        state.SkipWithError("no session");
        return;
    }
    for (auto _ : state) {
        const int32_t frames = CameraGet(&ZVK_CameraState::frameCount);
        const double busy = ProcessSeconds();
        const double seconds =
            SecondsOf([] { std::this_thread::sleep_for(std::chrono::seconds(3)); });
        state.SetIterationTime(seconds);
        state.counters["frames_a_second"] =
            (CameraGet(&ZVK_CameraState::frameCount) - frames) / seconds;
        state.counters["percent_of_a_core"] = 100.0 * (ProcessSeconds() - busy) / seconds;
    }
    (void)ZVK_close(0);
    fs::remove_all(base);
}
BENCHMARK(IdleSession)->Iterations(1)->UseManualTime();
