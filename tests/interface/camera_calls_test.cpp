// The camera as a client of the shared library sees it, with no display: start, view, the mouse's
// message and the end of the process while frames run.

#include "close_modules.h"
#include "other_process.h"
#include "scratch_folder.h"
#include "two_paths.h"

#include <quorvex/quorvex.h>

#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <string>
#include <thread>
#include <utility>

class CameraCalls : public ::testing::Test
{
protected:
    void SetUp() override
    {
        folder.Write("config.ini", TwoPathsConfig());
        folder.Write("default.odf", TwoPathsObjective());
        folder.Write("default.cal", TwoPathsCalibration());
    }
    void TearDown() override { CloseModules(); }

    // Another value for a key of the camera.
    void Set(const std::string &key, const std::string &value) const
    {
        std::string text = folder.Read("config.ini");
        size_t at = text.find("[CAMERA]");
        at = text.find("\n" + key + " = ", at) + key.size() + 4;
        text.replace(at, text.find('\n', at) - at, value);
        folder.Write("config.ini", text);
    }

    ScratchFolder folder;
    ScopedVariable headless{"ZVK_HEADLESS", "1"};
};

TEST_F(CameraCalls, BeforeInitEveryGateIsShutAndSwitchesWork)
{
    int32_t number = 4711;
    float seconds = 0.5F;
    double zoom = 0.5;
    char name[256] = "kept";
    EXPECT_EQ(ZVK_Camera_SetROI(0, 1, 1, &number, &number), ZVK_CAMERA_NOT_INITIALIZED);
    EXPECT_EQ(ZVK_Camera_GetNativeResolution(0, &number, &number, &number, &number),
              ZVK_CAMERA_NOT_INITIALIZED);
    EXPECT_EQ(ZVK_Camera_GetModelName(0, name), ZVK_CAMERA_NOT_INITIALIZED);
    EXPECT_EQ(ZVK_Camera_SetExposureTime(0, 1.0F, &seconds), ZVK_CAMERA_NOT_INITIALIZED);
    EXPECT_EQ(ZVK_Camera_StartVideo(0), ZVK_CAMERA_NOT_INITIALIZED);
    EXPECT_EQ(ZVK_Camera_StopVideo(0), ZVK_CAMERA_NOT_INITIALIZED);
    EXPECT_EQ(ZVK_Camera_SnapShot(0), ZVK_CAMERA_NOT_INITIALIZED);
    EXPECT_EQ(ZVK_Camera_GetZoom(0, &number, &number, &zoom), ZVK_CAMERA_NOT_INITIALIZED);
    EXPECT_EQ(ZVK_Camera_SetZoom(0, 1, 1, 2.0), ZVK_CAMERA_NOT_INITIALIZED);
    EXPECT_EQ(ZVK_Camera_Shutdown(0), ZVK_CAMERA_NOT_INITIALIZED);
    EXPECT_EQ(number, 4711);
    EXPECT_EQ(seconds, 0.5F);
    EXPECT_EQ(zoom, 0.5);
    EXPECT_STREQ(name, "kept");
    EXPECT_EQ(ZVK_Camera_SetUserOverlay(0, 1), 0);
    EXPECT_EQ(ZVK_Camera_SetUserOverlay(0, 0), 0);
    EXPECT_EQ(ZVK_Camera_SetCalField(0, 2, 1), ZVK_CAMERA_BAD_PATH);
    void *window = name;
    EXPECT_EQ(ZVK_Camera_GetWinHandle(0, &window), 0);
    EXPECT_EQ(window, nullptr);
}

TEST_F(CameraCalls, ASimulatedCameraComesUpZoomsAndGoesDown)
{
    ASSERT_EQ(ZVK_Camera_Init(7, 1, 1), 0);
    EXPECT_EQ(ZVK_Camera_Init(7, 1, 1), ZVK_CAMERA_ALREADY_INITIALIZED);
    int32_t x = 0;
    int32_t y = 0;
    double zoom = 0.0;
    EXPECT_EQ(ZVK_Camera_GetZoom(0, &x, &y, &zoom), 0);
    EXPECT_EQ(x, 400) << "1600 columns give frames of 800";
    EXPECT_EQ(y, 300);
    EXPECT_EQ(zoom, 1.0);
    EXPECT_EQ(ZVK_Camera_SetZoom(0, 0, 600, 2.0), 0);
    EXPECT_EQ(ZVK_Camera_GetZoom(0, &x, &y, &zoom), 0);
    EXPECT_EQ(x, 200);
    EXPECT_EQ(y, 450);
    EXPECT_EQ(ZVK_Camera_SetZoom(0, 801, 0, 2.0), ZVK_CAMERA_BAD_ZOOM_CENTER);
    int32_t resolution = 0;
    int32_t binning = 0;
    EXPECT_EQ(ZVK_Camera_SetROI(0, 2, 0, &resolution, &binning), 0);
    EXPECT_EQ(resolution, 1);
    EXPECT_EQ(binning, -1);
    EXPECT_EQ(ZVK_Camera_Shutdown(0), 0);
    EXPECT_EQ(ZVK_Camera_Shutdown(0), ZVK_CAMERA_NOT_INITIALIZED);
    EXPECT_EQ(ZVK_Camera_Init(0, 0, 0), 0) << "with the window of the first one still there";
}

TEST_F(CameraCalls, WithoutACameraAndWithoutSimulationInitSucceedsAndNothingElse)
{
    Set("MI", "0");
    EXPECT_EQ(ZVK_Camera_Init(0, 0, 0), 0);
    EXPECT_EQ(ZVK_Camera_StartVideo(0), ZVK_CAMERA_NOT_INITIALIZED);
    Set("MI", "1");
    Set("SIMULATE", "0");
    EXPECT_EQ(ZVK_Camera_Init(0, 0, 0), 0);
    EXPECT_EQ(ZVK_Camera_Shutdown(0), ZVK_CAMERA_NOT_INITIALIZED);
    Set("SIMULATE", "2");
    Set("BACKEND", "64");
    EXPECT_EQ(ZVK_Camera_Init(0, 0, 0), ZVK_CAMERA_NO_SUPPORT);
    Set("BACKEND", "72");
    EXPECT_EQ(ZVK_Camera_Init(0, 0, 0), 0);
    EXPECT_EQ(ZVK_Camera_Shutdown(0), 0);
}

struct GatedCall
{
    const char *name;
    int32_t (*call)();
};

// What needs a camera that is up, or a simulated one; the hollow settings have the same gate.
static const GatedCall kGatedCalls[] = {
    {"SetROI", [] { return ZVK_Camera_SetROI(0, 1, 1, nullptr, nullptr); }},
    {"GetNativeResolution",
     [] { return ZVK_Camera_GetNativeResolution(0, nullptr, nullptr, nullptr, nullptr); }},
    {"GetModelName", [] { return ZVK_Camera_GetModelName(0, nullptr); }},
    {"SetExposureTime", [] { return ZVK_Camera_SetExposureTime(0, 1.0F, nullptr); }},
    {"StartVideo", [] { return ZVK_Camera_StartVideo(0); }},
    {"StopVideo", [] { return ZVK_Camera_StopVideo(0); }},
    {"SnapShot", [] { return ZVK_Camera_SnapShot(0); }},
    {"GetZoom", [] { return ZVK_Camera_GetZoom(0, nullptr, nullptr, nullptr); }},
    {"SetZoom", [] { return ZVK_Camera_SetZoom(0, 1, 1, 2.0); }},
    {"SetAutoContrast", [] { return ZVK_Camera_SetAutoContrast(0, 1); }},
    {"GetContrastLimits", [] { return ZVK_Camera_GetContrastLimits(0, nullptr, nullptr); }},
    {"SetComputeHistogram", [] { return ZVK_Camera_SetComputeHistogram(0, 1); }},
    {"ComputeHistogram", [] { return ZVK_Camera_ComputeHistogram(0); }},
    {"EnableLiveAsBackgroundImage", [] { return ZVK_Camera_EnableLiveAsBackgroundImage(0, 1); }},
    {"SetCurrentLiveAsBackgroundImage",
     [] { return ZVK_Camera_SetCurrentLiveAsBackgroundImage(0); }},
    {"SetOverlayAlpha", [] { return ZVK_Camera_SetOverlayAlpha(0, 5.0); }},
    {"AdjustFlOverlayRGB", [] { return ZVK_Camera_AdjustFlOverlayRGB(0, 1.0, 1.0, 1.0); }},
    {"SaveImage", [] { return ZVK_Camera_SaveImage(0, nullptr, 0); }},
    {"SaveVideo", [] { return ZVK_Camera_SaveVideo(0, 1, nullptr, 0); }},
    {"SaveVideoDCIMG", [] { return ZVK_Camera_SaveVideoDCIMG(0, 1); }},
    {"GetBackend", [] { return ZVK_Camera_GetBackend(0, nullptr); }},
    {"GetDispImageSize", [] { return ZVK_Camera_GetDispImageSize(0, nullptr, nullptr); }},
    {"GetAcquiredImageSize", [] { return ZVK_Camera_GetAcquiredImageSize(0, nullptr, nullptr); }},
    {"GetADCs", [] { return ZVK_Camera_GetADCs(0, nullptr, nullptr); }},
    {"SetTemperature", [] { return ZVK_Camera_SetTemperature(0, -10); }},
    {"SetGain", [] { return ZVK_Camera_SetGain(0, 1); }},
    {"Shutdown", [] { return ZVK_Camera_Shutdown(0); }},
};

TEST_F(CameraCalls, EveryGateIsShutWithoutACameraAndWithoutSimulation)
{
    const std::pair<const char *, const char *> kinds[] = {{"MI", "SIMULATE"}, {"SIMULATE", "MI"}};
    for (const auto &[off, on] : kinds) {
        SCOPED_TRACE(off);
        Set(off, "0");
        Set(on, "1");
        ASSERT_EQ(ZVK_Camera_Init(0, 0, 0), 0);
        for (const GatedCall &gated : kGatedCalls)
            EXPECT_EQ(gated.call(), ZVK_CAMERA_NOT_INITIALIZED) << gated.name;
        void *handle = &folder;
        EXPECT_EQ(ZVK_Camera_GetDisplayHandle(0, &handle), 0);
        EXPECT_EQ(handle, nullptr);
        EXPECT_EQ(ZVK_Camera_SetContrastLimits(0, 0.0, 255.0), 0) << "no gate";
        EXPECT_EQ(ZVK_Camera_FlipImage(0, 1), 0);
        EXPECT_EQ(ZVK_Camera_FlipImage(0, 0), 0);
    }
}

TEST_F(CameraCalls, ACameraThatIsGoneFromTheConfigurationShutsTheGatesOfTheLastOne)
{
    ASSERT_EQ(ZVK_Camera_Init(0, 0, 0), 0);
    ASSERT_EQ(ZVK_Camera_Shutdown(0), 0);
    EXPECT_EQ(ZVK_Camera_GetModelName(0, nullptr), 0) << "the simulation's gate";
    Set("MI", "0");
    ASSERT_EQ(ZVK_Camera_Init(0, 0, 0), 0);
    for (const GatedCall &gated : kGatedCalls)
        EXPECT_EQ(gated.call(), ZVK_CAMERA_NOT_INITIALIZED) << gated.name;
}

// No server answers, or none is named: the picture is made all the same.
TEST_F(CameraCalls, WithoutAScreenNothingFails)
{
    const ScopedVariable wish("ZVK_HEADLESS", nullptr);
    Set("SIMULATE", "2");
    Set("HISTOSUPPORT", "0");
    for (const char *const name : {static_cast<const char *>(nullptr), "", ":4999", "nonsense"}) {
        const ScopedVariable display("DISPLAY", name);
        ASSERT_EQ(ZVK_Camera_Init(0, 0, 0), 0);
        EXPECT_EQ(ZVK_Camera_SetZoom(0, 10, 10, 2.0), 0);
        EXPECT_EQ(ZVK_Camera_SetROI(0, 2, 1, nullptr, nullptr), 0);
        void *window = &folder;
        EXPECT_EQ(ZVK_Camera_GetWinHandle(0, &window), 0);
        EXPECT_EQ(window, nullptr);
        void *picture = nullptr;
        EXPECT_EQ(ZVK_Camera_GetDisplayHandle(0, &picture), 0);
        EXPECT_NE(picture, nullptr);
        std::string path = folder.Path("a.png");
        EXPECT_EQ(ZVK_Camera_SaveImage(0, path.data(), 1), 0);
        EXPECT_TRUE(folder.Holds("a.png"));
        folder.Remove("a.png");
        EXPECT_EQ(ZVK_Camera_Shutdown(0), 0);
    }
}

TEST_F(CameraCalls, TwoClientsWorkOnARunningCamera)
{
    ASSERT_EQ(ZVK_Camera_Init(0, 0, 0), 0);
    std::atomic<bool> stop{false};
    std::thread other([&] {
        for (int32_t i = 0; !stop; ++i) {
            EXPECT_EQ(ZVK_Camera_SetZoom(0, i % 200, i % 200, 1.0 + i % 3), 0);
            EXPECT_EQ(ZVK_Camera_SetUserOverlay(0, static_cast<uint16_t>(i % 2)), 0);
        }
    });
    EXPECT_EQ(ZVK_Camera_SetROI(0, 1, 0, nullptr, nullptr), 0);
    EXPECT_EQ(ZVK_Camera_SetROI(0, 2, 0, nullptr, nullptr), 0);
    stop = true;
    other.join();
}

// The process ends with the loops running, in one of the ways in which a process ends.
static void EndWhileFramesRun(bool shutDown)
{
    ScratchFolder folder;
    folder.Write("config.ini", TwoPathsConfig());
    folder.Write("default.odf", TwoPathsObjective());
    folder.Write("default.cal", TwoPathsCalibration());
    ASSERT_EQ(ZVK_init("", 0, 0, 0), 0);
    ASSERT_EQ(ZVK_Camera_SetROI(0, 1, 0, nullptr, nullptr), 0);  // 0.2 s of time for frames
    ASSERT_EQ(ZVK_Camera_SetUserOverlay(0, 1), 0);
    ASSERT_EQ(ZVK_Camera_SetROI(0, 1, 1, nullptr, nullptr), 0);
    if (shutDown) {
        ASSERT_EQ(ZVK_Camera_Shutdown(0), 0);
    }
    std::exit(0);
}

TEST(DISABLED_CameraRole, EndsWithBothLoops) { EndWhileFramesRun(false); }

TEST(DISABLED_CameraRole, EndsWithTheDisplayLoopAlone) { EndWhileFramesRun(true); }

TEST_F(CameraCalls, AProcessMayEndWhileFramesRun)
{
    for (int i = 0; i < 5; ++i) {
        OtherProcess both("DISABLED_CameraRole.EndsWithBothLoops");
        OtherProcess one("DISABLED_CameraRole.EndsWithTheDisplayLoopAlone");
        EXPECT_EQ(both.Wait(), 0);
        EXPECT_EQ(one.Wait(), 0);
    }
}
