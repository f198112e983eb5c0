// The attribute family: gates, fixed numbers, and what is left alone.

#include "camera_fixture.h"
#include "failing_memory.h"

#include "quorvex/errors.h"

#include <cstdlib>
#include <functional>

class CameraAttributes : public CameraTest
{
};

namespace {

struct GatedCall
{
    const char *name;
    std::function<int32_t()> call;
};

}  // namespace

// Calls that set something a simulated camera doesn't keep, and the two hollow getters.
static std::vector<GatedCall> HollowCalls()
{
    return {
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
        {"SetGain", [] { return ZVK_Camera_SetGain(0, 100000); }},
        {"SetReadSpeed", [] { return ZVK_Camera_SetReadSpeed(0, 1); }},
        {"SetAutoGain", [] { return ZVK_Camera_SetAutoGain(0, 1); }},
        {"WaitForCamera", [] { return ZVK_Camera_WaitForCamera(0); }},
        {"GetExposureTime", [] { return ZVK_Camera_GetExposureTime(0, nullptr); }},
        {"GetShutterSpeedAndor",
         [] { return ZVK_Camera_GetShutterSpeedAndor(0, nullptr, nullptr); }},
    };
}

// Everything else whose gate is the simulation.
static std::vector<GatedCall> SimulatedCalls()
{
    return {
        {"GetModelName", [] { return ZVK_Camera_GetModelName(0, nullptr); }},
        {"SetExposureTime", [] { return ZVK_Camera_SetExposureTime(0, 1.0F, nullptr); }},
        {"GetExposureTimeLimits",
         [] { return ZVK_Camera_GetExposureTimeLimits(0, nullptr, nullptr); }},
        {"GetCoolerRange", [] { return ZVK_Camera_GetCoolerRange(0, nullptr, nullptr); }},
        {"GetTemperatureSetPoint", [] { return ZVK_Camera_GetTemperatureSetPoint(0, nullptr); }},
        {"SetTemperature", [] { return ZVK_Camera_SetTemperature(0, -5000); }},
        {"SetCoolerState", [] { return ZVK_Camera_SetCoolerState(0, 7); }},
        {"GetTemperature", [] { return ZVK_Camera_GetTemperature(0, nullptr, nullptr); }},
        {"GetADCs", [] { return ZVK_Camera_GetADCs(0, nullptr, nullptr); }},
        {"GetBitPerChannel", [] { return ZVK_Camera_GetBitPerChannel(0, nullptr); }},
        {"GetHSSpeedsAndor", [] { return ZVK_Camera_GetHSSpeedsAndor(0, 0, 0, nullptr, nullptr); }},
        {"GetPreampGainsAndor", [] { return ZVK_Camera_GetPreampGainsAndor(0, nullptr, nullptr); }},
        {"GetVSSpeedsAndor",
         [] { return ZVK_Camera_GetVSSpeedsAndor(0, nullptr, nullptr, nullptr); }},
        {"GetSupportValuesDCAM",
         [] { return ZVK_Camera_GetSupportValuesDCAM(0, nullptr, nullptr, nullptr, 0); }},
        {"GetTriggerModes",
         [] { return ZVK_Camera_GetTriggerModes(0, nullptr, nullptr, nullptr); }},
        {"GetEMGainAndor", [] { return ZVK_Camera_GetEMGainAndor(0, nullptr); }},
        {"GetEMGainRangeAndor", [] { return ZVK_Camera_GetEMGainRangeAndor(0, nullptr, nullptr); }},
        {"GetGainRange", [] { return ZVK_Camera_GetGainRange(0, nullptr, nullptr, nullptr); }},
        {"GetGain", [] { return ZVK_Camera_GetGain(0, nullptr); }},
    };
}

// What needs a camera that is up.
static std::vector<GatedCall> InitialisedCalls()
{
    return {
        {"GetBackend", [] { return ZVK_Camera_GetBackend(0, nullptr); }},
        {"GetCoolerState", [] { return ZVK_Camera_GetCoolerState(0, nullptr); }},
        {"GetAcquisitionResolution",
         [] { return ZVK_Camera_GetAcquisitionResolution(0, nullptr, nullptr); }},
        {"GetAcquiredImageSize",
         [] { return ZVK_Camera_GetAcquiredImageSize(0, nullptr, nullptr); }},
        {"GetAcquisitionMode", [] { return ZVK_Camera_GetAcquisitionMode(0, nullptr); }},
        {"GetDispImageSize", [] { return ZVK_Camera_GetDispImageSize(0, nullptr, nullptr); }},
    };
}

static void ExpectAll(const std::vector<GatedCall> &calls, int32_t status)
{
    for (const GatedCall &row : calls)
        EXPECT_EQ(row.call(), status) << row.name;
}

TEST_F(CameraAttributes, EveryGateIsShutBeforeInitAndWithoutACamera)
{
    for (const char *what : {"before Init", "without a camera", "without simulation"}) {
        SCOPED_TRACE(what);
        ExpectAll(HollowCalls(), ZVK_CAMERA_NOT_INITIALIZED);
        ExpectAll(SimulatedCalls(), ZVK_CAMERA_NOT_INITIALIZED);
        ExpectAll(InitialisedCalls(), ZVK_CAMERA_NOT_INITIALIZED);
        EXPECT_EQ(ZVK_Camera_GetKandeloClientNum(0, nullptr), ZVK_CAMERA_NOT_INITIALIZED);
        BringUp(what == std::string("before Init") ? CameraConfig{.installed = "0"}
                                                   : CameraConfig{.simulate = "0"});
    }
}

TEST_F(CameraAttributes, ASimulatedCameraTakesEverySettingAndEveryNullOutput)
{
    BringUp();
    ExpectAll(HollowCalls(), ZVK_SUCCESS);
    ExpectAll(SimulatedCalls(), ZVK_SUCCESS);
    ExpectAll(InitialisedCalls(), ZVK_SUCCESS);
    EXPECT_EQ(Get(&ZVK_CameraState::acquisitionMode), 0) << "the mode that was set isn't kept";
}

TEST_F(CameraAttributes, SimulationOpensItsGateBehindTheCamerasEndAndTheOtherStaysShut)
{
    BringUp();
    ASSERT_EQ(ZVK_Camera_Shutdown(0), ZVK_SUCCESS);
    ExpectAll(HollowCalls(), ZVK_SUCCESS);
    ExpectAll(SimulatedCalls(), ZVK_SUCCESS);
    ExpectAll(InitialisedCalls(), ZVK_CAMERA_NOT_INITIALIZED);
}

TEST_F(CameraAttributes, HollowGettersLeaveTheirOutputsAlone)
{
    BringUp();
    float seconds = 0.5F;
    int32_t open = 3;
    int32_t close = 4;
    int32_t client = 5;
    EXPECT_EQ(ZVK_Camera_GetExposureTime(0, &seconds), ZVK_SUCCESS);
    EXPECT_EQ(ZVK_Camera_GetShutterSpeedAndor(0, &open, &close), ZVK_SUCCESS);
    EXPECT_EQ(ZVK_Camera_GetKandeloClientNum(0, &client), ZVK_CAMERA_SERVER_EXCEPTION);
    EXPECT_EQ(seconds, 0.5F);
    EXPECT_EQ(open, 3);
    EXPECT_EQ(close, 4);
    EXPECT_EQ(client, 5);
}

TEST_F(CameraAttributes, AnExposureAboveItsLimitIsEchoedAndNotKept)
{
    BringUp();
    float shortest = 0.0F;
    float longest = 0.0F;
    float actual = 0.0F;
    EXPECT_EQ(ZVK_Camera_GetExposureTimeLimits(0, &shortest, &longest), ZVK_SUCCESS);
    EXPECT_EQ(shortest, 1e-5F);
    EXPECT_EQ(longest, 10.0F);
    EXPECT_EQ(ZVK_Camera_SetExposureTime(0, 100.0F, &actual), ZVK_SUCCESS);
    EXPECT_EQ(actual, 100.0F);
    EXPECT_EQ(Get(&ZVK_CameraState::exposureTime), 0.025F) << "that of the configuration";
}

TEST_F(CameraAttributes, TheCoolerKeepsItsSettings)
{
    BringUp();
    int32_t least = 0;
    int32_t most = 0;
    int32_t point = 0;
    uint16_t on = 9;
    EXPECT_EQ(ZVK_Camera_GetTemperatureSetPoint(0, &point), ZVK_SUCCESS);
    EXPECT_EQ(point, -17) << "of the configuration";
    EXPECT_EQ(ZVK_Camera_GetCoolerRange(0, &least, &most), ZVK_SUCCESS);
    EXPECT_EQ(least, -100);
    EXPECT_EQ(most, 42);
    EXPECT_EQ(Get(&ZVK_CameraState::coolerMinimum), -100);
    EXPECT_EQ(Get(&ZVK_CameraState::coolerMaximum), 42);
    EXPECT_EQ(ZVK_Camera_SetTemperature(0, 1000), ZVK_SUCCESS) << "above the range";
    EXPECT_EQ(ZVK_Camera_GetTemperatureSetPoint(0, &point), ZVK_SUCCESS);
    EXPECT_EQ(point, 1000);
    EXPECT_EQ(ZVK_Camera_GetCoolerState(0, &on), ZVK_SUCCESS);
    EXPECT_EQ(on, 1) << "of the configuration";
    EXPECT_EQ(ZVK_Camera_SetCoolerState(0, 0), ZVK_SUCCESS);
    EXPECT_EQ(ZVK_Camera_GetCoolerState(0, &on), ZVK_SUCCESS);
    EXPECT_EQ(on, 0);
    EXPECT_EQ(ZVK_Camera_SetCoolerState(0, -256), ZVK_SUCCESS);
    EXPECT_EQ(ZVK_Camera_GetCoolerState(0, &on), ZVK_SUCCESS);
    EXPECT_EQ(on, 1);
    int32_t status = 9;
    EXPECT_EQ(ZVK_Camera_GetTemperature(0, &point, &status), ZVK_SUCCESS);
    EXPECT_EQ(point, 20);
    EXPECT_EQ(status, 0);
}

TEST_F(CameraAttributes, GainsAndBitsAreFixedNumbers)
{
    BringUp();
    int32_t least = 0;
    int32_t most = 0;
    int32_t number = 0;
    int64_t gain = 0;
    EXPECT_EQ(ZVK_Camera_GetBitPerChannel(0, &number), ZVK_SUCCESS);
    EXPECT_EQ(number, 16);
    EXPECT_EQ(ZVK_Camera_GetEMGainAndor(0, &number), ZVK_SUCCESS);
    EXPECT_EQ(number, 42);
    EXPECT_EQ(ZVK_Camera_GetEMGainRangeAndor(0, &least, &most), ZVK_SUCCESS);
    EXPECT_EQ(least, 1);
    EXPECT_EQ(most, 4096);
    EXPECT_EQ(ZVK_Camera_GetGainRange(0, &least, &most, &number), ZVK_SUCCESS);
    EXPECT_EQ(least, 10);
    EXPECT_EQ(most, 1000);
    EXPECT_EQ(number, 50);
    EXPECT_EQ(ZVK_Camera_GetGain(0, &gain), ZVK_SUCCESS);
    EXPECT_EQ(gain, 42);
}

TEST_F(CameraAttributes, TablesAreBlocksThatFreeTakes)
{
    BringUp();
    int32_t count[4] = {};
    int32_t *bits = nullptr;
    float *horizontal = nullptr;
    float *gains = nullptr;
    float *vertical = nullptr;
    int32_t recommended = 7;
    EXPECT_EQ(ZVK_Camera_GetADCs(0, &count[0], &bits), ZVK_SUCCESS);
    EXPECT_EQ(ZVK_Camera_GetHSSpeedsAndor(0, 5, 6, &count[1], &horizontal), ZVK_SUCCESS);
    EXPECT_EQ(ZVK_Camera_GetPreampGainsAndor(0, &count[2], &gains), ZVK_SUCCESS);
    EXPECT_EQ(ZVK_Camera_GetVSSpeedsAndor(0, &count[3], &vertical, &recommended), ZVK_SUCCESS);
    EXPECT_EQ(std::vector<int32_t>(count, count + 4), (std::vector<int32_t>{2, 2, 2, 2}));
    EXPECT_EQ(std::vector<int32_t>(bits, bits + 2), (std::vector<int32_t>{14, 16}));
    EXPECT_EQ(std::vector<float>(horizontal, horizontal + 2), (std::vector<float>{10.0F, 1.0F}));
    EXPECT_EQ(std::vector<float>(gains, gains + 2), (std::vector<float>{1.0F, 2.3F}));
    EXPECT_EQ(std::vector<float>(vertical, vertical + 2), (std::vector<float>{1.0F, 0.7F}));
    EXPECT_EQ(recommended, 0);
    free(bits);
    free(horizontal);
    free(gains);
    free(vertical);
}

TEST_F(CameraAttributes, ATableWithoutRoomLeavesAllOutputsAlone)
{
    BringUp();
    FailingMemory memory;
    int32_t count = 7;
    int32_t recommended = 8;
    float none = 0.0F;
    float *table = &none;
    int32_t number = 0;
    int32_t *bits = &number;
    memory.FailAt(1);
    EXPECT_EQ(ZVK_Camera_GetADCs(0, &count, &bits), ZVK_CAMERA_NO_MEMORY);
    memory.FailAt(1);
    EXPECT_EQ(ZVK_Camera_GetHSSpeedsAndor(0, 0, 0, &count, &table), ZVK_CAMERA_NO_MEMORY);
    memory.FailAt(1);
    EXPECT_EQ(ZVK_Camera_GetPreampGainsAndor(0, &count, &table), ZVK_CAMERA_NO_MEMORY);
    memory.FailAt(1);
    EXPECT_EQ(ZVK_Camera_GetVSSpeedsAndor(0, &count, &table, &recommended), ZVK_CAMERA_NO_MEMORY);
    EXPECT_EQ(count, 7);
    EXPECT_EQ(recommended, 8);
    EXPECT_EQ(bits, &number);
    EXPECT_EQ(table, &none);
}

TEST_F(CameraAttributes, NamesGoIntoTheCallersText)
{
    BringUp();
    std::string room(64, '#');
    char *names = room.data();
    int32_t count = 0;
    int32_t index = 5;
    int32_t *indices = &index;
    EXPECT_EQ(ZVK_Camera_GetSupportValuesDCAM(0, &count, &indices, &names, 3), ZVK_SUCCESS);
    EXPECT_EQ(count, 1);
    EXPECT_STREQ(names, "Edge");
    EXPECT_EQ(ZVK_Camera_GetTriggerModes(0, &count, &indices, &names), ZVK_SUCCESS);
    EXPECT_EQ(count, 2);
    EXPECT_STREQ(names, "Free Running");
    EXPECT_STREQ(names + 30, "External Trigger");
    EXPECT_EQ(room.substr(60), "####") << "two names of 30 bytes, and no more";
    EXPECT_EQ(indices, &index);
    EXPECT_EQ(index, 5);
    names = nullptr;
    EXPECT_EQ(ZVK_Camera_GetTriggerModes(0, &count, nullptr, &names), ZVK_SUCCESS);
    EXPECT_EQ(ZVK_Camera_GetSupportValuesDCAM(0, &count, nullptr, &names, 3), ZVK_SUCCESS);
}

TEST_F(CameraAttributes, TheBackendIs0WhenItCannotBeTold)
{
    int32_t backend = 7;
    EXPECT_EQ(ZVK_Camera_GetBackend(0, &backend), ZVK_CAMERA_NOT_INITIALIZED);
    EXPECT_EQ(backend, 0);
    BringUp({.simulate = "0"});
    backend = 7;
    EXPECT_EQ(ZVK_Camera_GetBackend(0, &backend), ZVK_CAMERA_NOT_INITIALIZED);
    EXPECT_EQ(backend, 0);
    BringUp();
    EXPECT_EQ(ZVK_Camera_GetBackend(0, &backend), ZVK_SUCCESS);
    EXPECT_EQ(backend, -1);
}

TEST_F(CameraAttributes, SizesAreThoseOfTheFrameAndOfTheWindow)
{
    BringUp({.width = "0", .height = "0", .nativeX = "0"});
    int32_t width = 0;
    int32_t height = 0;
    EXPECT_EQ(ZVK_Camera_GetAcquisitionResolution(0, &width, &height), ZVK_SUCCESS);
    EXPECT_EQ(width, 256);
    EXPECT_EQ(height, 256);
    EXPECT_EQ(ZVK_Camera_GetDispImageSize(0, &width, &height), ZVK_SUCCESS);
    EXPECT_EQ(width, 800);
    EXPECT_EQ(height, 600);
    ASSERT_EQ(ZVK_Camera_SetROI(0, 9, 3, nullptr, nullptr), ZVK_SUCCESS);  // no pixel is left
    EXPECT_EQ(ZVK_Camera_GetAcquiredImageSize(0, &width, &height), ZVK_SUCCESS);
    EXPECT_EQ(width, 0);
    EXPECT_EQ(height, 0);
    EXPECT_EQ(ZVK_Camera_GetAcquisitionResolution(0, &width, &height), ZVK_CAMERA_NOT_CONFIGURED);
}

TEST_F(CameraAttributes, ViewMouseAndHandlesHaveNoGate)
{
    int32_t at[4] = {1, 2, 3, 4};
    void *picture = at;
    EXPECT_EQ(ZVK_Camera_GetROI(0, &at[0], &at[1], &at[2], &at[3]), ZVK_SUCCESS);
    EXPECT_EQ(std::vector<int32_t>(at, at + 4), (std::vector<int32_t>{0, 0, 0, 0}));
    EXPECT_EQ(ZVK_Camera_GetPixelPosition(0, &at[0], &at[1]), ZVK_SUCCESS);
    EXPECT_EQ(ZVK_Camera_GetUserOverlay(0, &picture), ZVK_SUCCESS);
    EXPECT_EQ(picture, nullptr);
    picture = at;
    EXPECT_EQ(ZVK_Camera_GetDisplayHandle(0, &picture), ZVK_SUCCESS);
    EXPECT_EQ(picture, nullptr);

    BringUp();
    ASSERT_EQ(ZVK_Camera_SetZoom(0, 256, 256, 2.0), ZVK_SUCCESS);
    EXPECT_EQ(ZVK_Camera_GetROI(0, &at[0], &at[1], &at[2], &at[3]), ZVK_SUCCESS);
    EXPECT_EQ(std::vector<int32_t>(at, at + 4), (std::vector<int32_t>{128, 128, 128, 128}));
    ASSERT_TRUE(windows.Mouse("Camera Window", 0, 400, 300, 0));
    EXPECT_EQ(ZVK_Camera_GetPixelPosition(0, &at[0], &at[1]), ZVK_SUCCESS);
    EXPECT_EQ(at[0], 192);
    EXPECT_EQ(at[1], 192);
    EXPECT_EQ(ZVK_Camera_GetROI(0, nullptr, nullptr, nullptr, nullptr), ZVK_SUCCESS);
    EXPECT_EQ(ZVK_Camera_GetUserOverlay(0, nullptr), ZVK_SUCCESS);
}

TEST_F(CameraAttributes, HandlesShowThePicturesUntilAFullEnd)
{
    BringUp({.simulate = "2"});
    void *overlay = nullptr;
    void *display = nullptr;
    ASSERT_EQ(ZVK_Camera_GetUserOverlay(0, &overlay), ZVK_SUCCESS);
    ASSERT_EQ(ZVK_Camera_GetDisplayHandle(0, &display), ZVK_SUCCESS);
    ASSERT_NE(overlay, nullptr);
    ASSERT_NE(display, nullptr);
    EXPECT_NE(overlay, display);
    const auto *header = static_cast<IplImage *>(display);
    EXPECT_EQ(header->width, 800);
    EXPECT_EQ(header->height, 600);
    EXPECT_EQ(header->nChannels, 3);
    EXPECT_EQ(header->depth, IPL_DEPTH_8U);
    EXPECT_EQ(header->imageData, reinterpret_cast<char *>(g_camera.displayImage.data));
    EXPECT_EQ(static_cast<IplImage *>(overlay)->imageData,
              reinterpret_cast<char *>(g_camera.userOverlayImage.data));
    ASSERT_EQ(ZVK_Camera_Shutdown(0), ZVK_SUCCESS);
    EXPECT_EQ(header->imageData, nullptr);
    EXPECT_EQ(ZVK_Camera_GetDisplayHandle(0, &display), ZVK_SUCCESS);
    EXPECT_EQ(ZVK_Camera_GetUserOverlay(0, &overlay), ZVK_SUCCESS);
    EXPECT_EQ(display, nullptr);
    EXPECT_EQ(overlay, nullptr);
}

TEST_F(CameraAttributes, OneSideOf0IsEnoughForNoResolution)
{
    for (const auto &[x, y] : {std::pair("1", "512"), std::pair("512", "1")}) {
        g_camera = {};
        BringUp({.nativeX = x, .nativeY = y});
        int32_t width = 7;
        int32_t height = 7;
        EXPECT_EQ(ZVK_Camera_GetAcquiredImageSize(0, &width, &height), ZVK_SUCCESS);
        EXPECT_EQ(width + height, 256) << x;
        EXPECT_EQ(ZVK_Camera_GetAcquisitionResolution(0, &width, &height),
                  ZVK_CAMERA_NOT_CONFIGURED);
        EXPECT_EQ(width + height, 256) << x;
    }
}

TEST_F(CameraAttributes, NameModeAndBothCoordinatesOfTheMouseAreTold)
{
    BringUp();
    char name[256] = {};
    EXPECT_EQ(ZVK_Camera_GetModelName(0, name), ZVK_SUCCESS);
    EXPECT_STREQ(name, "Simulated Camera");
    EXPECT_STREQ(g_camera.modelName, "Simulated Camera");
    CameraSet(&ZVK_CameraState::acquisitionMode, int32_t{3});
    int32_t mode = 0;
    EXPECT_EQ(ZVK_Camera_GetAcquisitionMode(0, &mode), ZVK_SUCCESS);
    EXPECT_EQ(mode, 3);
    int32_t x = 0;
    int32_t y = 0;
    ASSERT_TRUE(windows.Mouse("Camera Window", 0, 400, 150, 0));
    EXPECT_EQ(ZVK_Camera_GetPixelPosition(0, &x, &y), ZVK_SUCCESS);
    EXPECT_EQ(x, 128);
    EXPECT_EQ(y, 64);
}
