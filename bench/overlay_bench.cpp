// The overlay of a display pass with 100 traps, against the same circles and texts drawn bare, and
// a pass with 40 traps and both fields against one without overlay.

#include "ratio.h"

#include "imaging/camera.h"
#include "imaging/overlay.h"
#include "platform/clock.h"
#include "platform/windows.h"
#include "quorvex/quorvex.h"
#include "two_paths.h"

#include <opencv2/imgproc.hpp>

#include <cstdlib>
#include <filesystem>
#include <string>

constexpr int kWidth = 800;
constexpr int kHeight = 600;

namespace {

// A session of two paths in simulation with that many traps on path A, the camera's images without
// its loops, and the overlay switched on.
class Scene
{
public:
    explicit Scene(int traps)
    {
        namespace fs = std::filesystem;
        m_base = (fs::temp_directory_path() / "quorvex-overlay-bench").string();
        fs::create_directories(m_base);
        setenv("ZVK_COMMON_APPDATA", m_base.c_str(), 1);
        m_up = WriteTwoPathsFolder(m_base) && ZVK_Trap_Init(0, 0, 0, ZVK_PATH_A, "A_1") == 0 &&
               ZVK_Trap_Init(0, 0, 0, ZVK_PATH_B, "B_1") == 0 &&
               ZVK_CoordinateSystems_Init(0, 0, 0) == 0;
        for (int i = 1; i < traps && m_up; ++i) {
            const std::string name = "Trap " + std::to_string(i);
            int32_t index = 0;
            m_up = ZVK_Trap_Add(0, ZVK_PATH_A, &index, 1.0, name.c_str(), -3.9 + 0.03 * i,
                                -2.5 + 0.025 * i, ZVK_UNIT_VOLT) >= 0;
        }
        PrepareImages();
    }

    ~Scene()
    {
        UseWindows(nullptr);
        g_camera = {};
        (void)ZVK_Trap_Shutdown(0);
        (void)ZVK_CoordinateSystems_Shutdown(0);
        std::filesystem::remove_all(m_base);
    }

    Scene(const Scene &) = delete;
    Scene &operator=(const Scene &) = delete;

    bool IsUp() const { return m_up; }

private:
    static void PrepareImages()
    {
        static ZVK_ClockTable atOnce = Clock();
        atOnce.delay = [](double) {};
        UseWindows(&HeadlessWindows());
        UseClock(&atOnce);
        g_camera = {};
        ZVK_Camera_InitFonts(0);
        g_camera.acquiredWidth = kWidth;
        g_camera.acquiredHeight = kHeight;
        g_camera.displayWidth = kWidth;
        g_camera.displayHeight = kHeight;
        g_camera.binning = 1;
        (void)RebuildImages();
        UseClock(nullptr);
        g_camera.runDisplay = 1;
        g_camera.simulate = 1;
        g_camera.trapMarkersOn = 1;
    }

    std::string m_base;
    bool m_up = false;
};

}  // namespace

static void DrawOverlayAgainstBare(benchmark::State &state)
{
    const auto traps = static_cast<int>(state.range(0));
    const Scene scene(traps);
    if (!scene.IsUp()) {
        state.SkipWithError("no scene");
        return;
    }
    cv::Mat bare(kHeight, kWidth, CV_8UC3, cv::Scalar::all(0));
    ZVK_Camera_DrawOverlay(0);  // makes the room that it keeps
    // The same places and texts, known beforehand.
    std::vector<cv::Point> centers;
    std::vector<std::string> texts;
    for (size_t i = 0; i < static_cast<size_t>(traps); ++i) {
        centers.emplace_back(static_cast<int>(113 + 3 * i), static_cast<int>(152 + 5 * i / 2));
        texts.push_back("Trap " + std::to_string(i));
    }
    MeasureRatio(
        state, [] { ZVK_Camera_DrawOverlay(0); },
        [&] {
            for (size_t i = 0; i < centers.size(); ++i) {
                cv::circle(bare, centers[i], 10, cv::Scalar::all(255), 1, cv::LINE_AA);
                cv::putText(bare, texts[i], {centers[i].x + 18, centers[i].y}, 0, 0.5,
                            cv::Scalar::all(255), 1, cv::LINE_AA);
            }
        });
}
BENCHMARK(DrawOverlayAgainstBare)->ArgName("traps")->Arg(10)->Arg(40)->Arg(100)->UseManualTime();

// A whole display pass with traps, fields and the frame rate, against one without.
static void PassWithOverlayAgainstWithout(benchmark::State &state)
{
    const Scene scene(static_cast<int>(state.range(0)));
    if (!scene.IsUp()) {
        state.SkipWithError("no scene");
        return;
    }
    g_camera.frameRateOn = 1;
    g_camera.calFieldOn[0] = g_camera.calFieldOn[1] = 1;
    const auto pass = [](uint8_t overlay) {
        g_camera.sdkOverlayOn = overlay;
        g_camera.frameConsumed = 0;
        (void)DisplayPass();
    };
    MeasureRatio(
        state, [&] { pass(1); }, [&] { pass(0); });
}
BENCHMARK(PassWithOverlayAgainstWithout)->ArgName("traps")->Arg(40)->UseManualTime();
