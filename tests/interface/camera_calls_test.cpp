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
#include <filesystem>
#include <iterator>
#include <malloc.h>
#include <string>
#include <thread>
#include <utility>
#include <vector>

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
    {"SetADC", [] { return ZVK_Camera_SetADC(0, 1); }},
    {"SetFrameTransferMode", [] { return ZVK_Camera_SetFrameTransferMode(0, 1); }},
    {"SetBaseLineClamping", [] { return ZVK_Camera_SetBaseLineClamping(0, 1); }},
    {"SetShutterAndor", [] { return ZVK_Camera_SetShutterAndor(0, 1, 2, 3); }},
    {"SetHSSpeedAndor", [] { return ZVK_Camera_SetHSSpeedAndor(0, 1, 2, 3); }},
    {"SetPreampGainAndor", [] { return ZVK_Camera_SetPreampGainAndor(0, 1); }},
    {"SetGainMode", [] { return ZVK_Camera_SetGainMode(0, 1); }},
    {"SetEMGainAndor", [] { return ZVK_Camera_SetEMGainAndor(0, 1); }},
    {"SetVSSpeedAndor", [] { return ZVK_Camera_SetVSSpeedAndor(0, 1); }},
    {"SetTriggerOutMode", [] { return ZVK_Camera_SetTriggerOutMode(0, 1); }},
    {"SetTriggerOutPolarity", [] { return ZVK_Camera_SetTriggerOutPolarity(0, 1); }},
    {"SetTriggerOutTimeParameters",
     [] { return ZVK_Camera_SetTriggerOutTimeParameters(0, 1.0F, 2.0F); }},
    {"SetTriggerOutActive", [] { return ZVK_Camera_SetTriggerOutActive(0, 1); }},
    {"SetTriggerMode", [] { return ZVK_Camera_SetTriggerMode(0, 99); }},
    {"SetAcquisitionMode", [] { return ZVK_Camera_SetAcquisitionMode(0, 5); }},
    {"AutoWhiteBalance", [] { return ZVK_Camera_AutoWhiteBalance(0); }},
    {"SetReadSpeed", [] { return ZVK_Camera_SetReadSpeed(0, 1); }},
    {"SetAutoGain", [] { return ZVK_Camera_SetAutoGain(0, 1); }},
    {"WaitForCamera", [] { return ZVK_Camera_WaitForCamera(0); }},
    {"GetExposureTime", [] { return ZVK_Camera_GetExposureTime(0, nullptr); }},
    {"GetShutterSpeedAndor", [] { return ZVK_Camera_GetShutterSpeedAndor(0, nullptr, nullptr); }},
    {"GetExposureTimeLimits", [] { return ZVK_Camera_GetExposureTimeLimits(0, nullptr, nullptr); }},
    {"GetCoolerRange", [] { return ZVK_Camera_GetCoolerRange(0, nullptr, nullptr); }},
    {"GetTemperatureSetPoint", [] { return ZVK_Camera_GetTemperatureSetPoint(0, nullptr); }},
    {"SetCoolerState", [] { return ZVK_Camera_SetCoolerState(0, 7); }},
    {"GetTemperature", [] { return ZVK_Camera_GetTemperature(0, nullptr, nullptr); }},
    {"GetBitPerChannel", [] { return ZVK_Camera_GetBitPerChannel(0, nullptr); }},
    {"GetHSSpeedsAndor", [] { return ZVK_Camera_GetHSSpeedsAndor(0, 0, 0, nullptr, nullptr); }},
    {"GetPreampGainsAndor", [] { return ZVK_Camera_GetPreampGainsAndor(0, nullptr, nullptr); }},
    {"GetVSSpeedsAndor", [] { return ZVK_Camera_GetVSSpeedsAndor(0, nullptr, nullptr, nullptr); }},
    {"GetSupportValuesDCAM",
     [] { return ZVK_Camera_GetSupportValuesDCAM(0, nullptr, nullptr, nullptr, 0); }},
    {"GetTriggerModes", [] { return ZVK_Camera_GetTriggerModes(0, nullptr, nullptr, nullptr); }},
    {"GetEMGainAndor", [] { return ZVK_Camera_GetEMGainAndor(0, nullptr); }},
    {"GetEMGainRangeAndor", [] { return ZVK_Camera_GetEMGainRangeAndor(0, nullptr, nullptr); }},
    {"GetGainRange", [] { return ZVK_Camera_GetGainRange(0, nullptr, nullptr, nullptr); }},
    {"GetGain", [] { return ZVK_Camera_GetGain(0, nullptr); }},
    {"GetCoolerState", [] { return ZVK_Camera_GetCoolerState(0, nullptr); }},
    {"GetAcquisitionResolution",
     [] { return ZVK_Camera_GetAcquisitionResolution(0, nullptr, nullptr); }},
    {"GetAcquisitionMode", [] { return ZVK_Camera_GetAcquisitionMode(0, nullptr); }},
    {"GetKandeloClientNum", [] { return ZVK_Camera_GetKandeloClientNum(0, nullptr); }},
    {"Shutdown", [] { return ZVK_Camera_Shutdown(0); }},
};

// What works at any time.
static const GatedCall kOpenCalls[] = {
    {"GetWinHandle", [] { return ZVK_Camera_GetWinHandle(0, nullptr); }},
    {"SetUserOverlay", [] { return ZVK_Camera_SetUserOverlay(0, 1); }},
    {"SetSDKOverlay", [] { return ZVK_Camera_SetSDKOverlay(0, 1); }},
    {"SetTrapMarkers", [] { return ZVK_Camera_SetTrapMarkers(0, 1); }},
    {"SetFrameRate", [] { return ZVK_Camera_SetFrameRate(0, 1); }},
    {"SetCalField", [] { return ZVK_Camera_SetCalField(0, 1, 1); }},
    {"SetContrastLimits", [] { return ZVK_Camera_SetContrastLimits(0, 10.0, 200.0); }},
    {"FlipImage", [] { return ZVK_Camera_FlipImage(0, 3); }},
    {"GetROI", [] { return ZVK_Camera_GetROI(0, nullptr, nullptr, nullptr, nullptr); }},
    {"GetPixelPosition", [] { return ZVK_Camera_GetPixelPosition(0, nullptr, nullptr); }},
    {"GetUserOverlay", [] { return ZVK_Camera_GetUserOverlay(0, nullptr); }},
    {"GetDisplayHandle", [] { return ZVK_Camera_GetDisplayHandle(0, nullptr); }},
    {"UpdateOverlay", [] { return ZVK_ImageProc_UpdateOverlay(0); }},
    {"ClearOverlay", [] { return ZVK_ImageProc_ClearOverlay(0); }},
    {"Init", [] { return ZVK_Camera_Init(0, 0, 0); }},
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

// Each goes through all calls, start and end among them, the one forwards and the other backwards.
// What they answer depends on the other one; that they come back, and what works then, does not.
TEST_F(CameraCalls, TwoClientsCallEverythingStartAndEndToo)
{
    const ScopedVariable home("HOME", folder.Path().c_str());  // pictures and videos
    const ScopedVariable desktop("XDG_CONFIG_HOME", folder.Path().c_str());
    Set("SIMULATE", "2");
    ASSERT_EQ(ZVK_Camera_Init(0, 0, 0), 0);
    std::vector<GatedCall> calls(std::begin(kOpenCalls), std::end(kOpenCalls));
    calls.insert(calls.end(), std::begin(kGatedCalls), std::end(kGatedCalls));
    std::thread other([&] {
        for (int round = 0; round < 2; ++round)
            for (auto call = calls.rbegin(); call != calls.rend(); ++call)
                (void)call->call();
    });
    for (int round = 0; round < 2; ++round)
        for (const GatedCall &call : calls)
            (void)call.call();
    other.join();
    EXPECT_GE(ZVK_Camera_Init(0, 0, 0), 0);
    EXPECT_EQ(ZVK_Camera_SetZoom(0, 10, 10, 2.0), 0);
    EXPECT_EQ(ZVK_Camera_Shutdown(0), 0);
    for (const GatedCall &call : kOpenCalls)
        if (std::string(call.name) != "Init") (void)call.call();
    EXPECT_EQ(ZVK_Camera_SetUserOverlay(0, 0), 0);
    EXPECT_EQ(ZVK_Camera_SetSDKOverlay(0, 0), 0);
    EXPECT_EQ(ZVK_Camera_FlipImage(0, 0), 0);
}

static size_t CountThreads()
{
    size_t count = 0;
    for (const auto &task : std::filesystem::directory_iterator("/proc/self/task"))
        count += task.exists() ? 1 : 0;
    return count;
}

// Bytes of the heap in use; 0 under a sanitizer, which has a heap of its own.
static size_t HeapInUse()
{
    const auto heap = mallinfo2();
    return heap.uordblks + heap.hblkhd;
}

TEST_F(CameraCalls, RoundsOfEachKindOfCameraKeepThreadsAndMemoryFlat)
{
    size_t threads = 0;
    size_t bytes = 0;
    for (int round = 0; round < 14; ++round) {
        for (const char *const simulate : {"0", "1", "2"}) {  // the last one frees the images
            Set("SIMULATE", simulate);
            ASSERT_EQ(ZVK_Camera_Init(0, 0, 0), 0);
            (void)ZVK_Camera_Shutdown(0);
        }
        if (round == 4) {
            threads = CountThreads();
            bytes = HeapInUse();
        }
    }
    EXPECT_LE(CountThreads(), threads);
    EXPECT_LT(HeapInUse(), bytes + 16 * 1024) << "less than a kilobyte a round";
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
