// What the camera tells of itself: the simulated camera's fixed numbers, and the module's sizes and
// handles.

#include "imaging/camera.h"
#include "platform/memory.h"
#include "quorvex/camera.h"

#include <cstring>
#include <iterator>

// The simulated camera.
constexpr float kShortestExposureS = 1e-5F;
constexpr float kLongestExposureS = 10.0F;
constexpr int32_t kColdest = -100;  // degrees Celsius
constexpr int32_t kWarmest = 42;
constexpr int32_t kTemperature = 20;
constexpr int32_t kCoolerStatus = 0;
constexpr int32_t kBits = 16;  // the frames have 8
constexpr int32_t kConverterBits[] = {14, 16};
constexpr float kHorizontalSpeeds[] = {10.0F, 1.0F};
constexpr float kPreampGains[] = {1.0F, 2.3F};
constexpr float kVerticalSpeeds[] = {1.0F, 0.7F};
constexpr int32_t kRecommendedSpeed = 0;
constexpr int32_t kMultiplyingGain = 42;
constexpr int32_t kLeastMultiplyingGain = 1;
constexpr int32_t kMostMultiplyingGain = 4096;
constexpr int32_t kLeastGain = 10;
constexpr int32_t kMostGain = 1000;
constexpr int32_t kCurrentGain = 50;
constexpr int64_t kGain = 42;
static const char *const kSupportValue = "Edge";
static const char *const kTriggerModes[] = {"Free Running", "External Trigger"};
constexpr size_t kTriggerModeRoom = 30;  // bytes from one name to the next
constexpr int32_t kSimulatedBackend = -1;

template <class Value>
static void Tell(Value *out, Value value)
{
    if (out) *out = value;
}

static void TellText(char *out, const char *text)
{
    if (out) std::strcpy(out, text);
}

// A table that the caller frees, and its length. Nothing is told when there is no room for it.
template <class Value, size_t count>
static int32_t TellTable(const Value (&values)[count], int32_t *length, Value **table)
{
    if (table) {
        auto *copy = AllocateArray<Value>(count);
        if (copy == nullptr) return ZVK_CAMERA_NO_MEMORY;
        std::memcpy(copy, values, sizeof values);
        *table = copy;
    }
    Tell(length, static_cast<int32_t>(count));
    return ZVK_SUCCESS;
}

// -- of a simulated camera --

int32_t ZVK_Camera_GetExposureTimeLimits(SessionHandle, float *MinimumExposureTime,
                                         float *MaximumExposureTime)
{
    if (!CameraSimulated()) return ZVK_CAMERA_NOT_INITIALIZED;
    Tell(MinimumExposureTime, kShortestExposureS);
    Tell(MaximumExposureTime, kLongestExposureS);
    return ZVK_SUCCESS;
}

int32_t ZVK_Camera_GetCoolerRange(SessionHandle, int32_t *minimumTemperature,
                                  int32_t *maximumTemperature)
{
    if (!CameraSimulated()) return ZVK_CAMERA_NOT_INITIALIZED;
    CameraSet(&ZVK_CameraState::coolerMinimum, kColdest);
    CameraSet(&ZVK_CameraState::coolerMaximum, kWarmest);
    Tell(minimumTemperature, kColdest);
    Tell(maximumTemperature, kWarmest);
    return ZVK_SUCCESS;
}

int32_t ZVK_Camera_GetTemperatureSetPoint(SessionHandle, int32_t *temperature)
{
    if (!CameraSimulated()) return ZVK_CAMERA_NOT_INITIALIZED;
    Tell(temperature, CameraGet(&ZVK_CameraState::coolerSetPoint));
    return ZVK_SUCCESS;
}

int32_t ZVK_Camera_SetTemperature(SessionHandle, int32_t temperature)
{
    if (!CameraSimulated()) return ZVK_CAMERA_NOT_INITIALIZED;
    CameraSet(&ZVK_CameraState::coolerSetPoint, temperature);
    return ZVK_SUCCESS;
}

int32_t ZVK_Camera_SetCoolerState(SessionHandle, int32_t CoolerState)
{
    if (!CameraSimulated()) return ZVK_CAMERA_NOT_INITIALIZED;
    CameraSet(&ZVK_CameraState::coolerOn, static_cast<uint8_t>(CoolerState != 0));
    return ZVK_SUCCESS;
}

int32_t ZVK_Camera_GetTemperature(SessionHandle, int32_t *temperature, int32_t *coolerStatus)
{
    if (!CameraSimulated()) return ZVK_CAMERA_NOT_INITIALIZED;
    Tell(temperature, kTemperature);
    Tell(coolerStatus, kCoolerStatus);
    return ZVK_SUCCESS;
}

int32_t ZVK_Camera_GetADCs(SessionHandle, int32_t *NumberOfADCs, int32_t **BitDepths)
{
    if (!CameraSimulated()) return ZVK_CAMERA_NOT_INITIALIZED;
    return TellTable(kConverterBits, NumberOfADCs, BitDepths);
}

int32_t ZVK_Camera_GetBitPerChannel(SessionHandle, int32_t *Bits)
{
    if (!CameraSimulated()) return ZVK_CAMERA_NOT_INITIALIZED;
    Tell(Bits, kBits);
    return ZVK_SUCCESS;
}

int32_t ZVK_Camera_GetHSSpeedsAndor(SessionHandle, int32_t, int32_t, int32_t *NumberOfShiftSpeeds,
                                    float **Speeds)
{
    if (!CameraSimulated()) return ZVK_CAMERA_NOT_INITIALIZED;
    return TellTable(kHorizontalSpeeds, NumberOfShiftSpeeds, Speeds);
}

int32_t ZVK_Camera_GetPreampGainsAndor(SessionHandle, int32_t *NumberOfGainLevels,
                                       float **GainLevels)
{
    if (!CameraSimulated()) return ZVK_CAMERA_NOT_INITIALIZED;
    return TellTable(kPreampGains, NumberOfGainLevels, GainLevels);
}

int32_t ZVK_Camera_GetVSSpeedsAndor(SessionHandle, int32_t *NumberOfSpeeds, float **Speeds,
                                    int32_t *RecommendedSpeed)
{
    if (!CameraSimulated()) return ZVK_CAMERA_NOT_INITIALIZED;
    const int32_t status = TellTable(kVerticalSpeeds, NumberOfSpeeds, Speeds);
    if (status < 0) return status;
    Tell(RecommendedSpeed, kRecommendedSpeed);
    return ZVK_SUCCESS;
}

int32_t ZVK_Camera_GetSupportValuesDCAM(SessionHandle, int32_t *NumberOfModes, int32_t **,
                                        char **NamesOfModes, int32_t)
{
    if (!CameraSimulated()) return ZVK_CAMERA_NOT_INITIALIZED;
    Tell(NumberOfModes, 1);
    if (NamesOfModes) TellText(*NamesOfModes, kSupportValue);
    return ZVK_SUCCESS;
}

int32_t ZVK_Camera_GetTriggerModes(SessionHandle, int32_t *NumberOfTriggerModes, int32_t **,
                                   char **NamesOfTriggerModes)
{
    if (!CameraSimulated()) return ZVK_CAMERA_NOT_INITIALIZED;
    Tell(NumberOfTriggerModes, static_cast<int32_t>(std::size(kTriggerModes)));
    if (!NamesOfTriggerModes || !*NamesOfTriggerModes) return ZVK_SUCCESS;
    for (size_t i = 0; i < std::size(kTriggerModes); ++i)
        TellText(*NamesOfTriggerModes + i * kTriggerModeRoom, kTriggerModes[i]);
    return ZVK_SUCCESS;
}

int32_t ZVK_Camera_GetEMGainAndor(SessionHandle, int32_t *Gain)
{
    if (!CameraSimulated()) return ZVK_CAMERA_NOT_INITIALIZED;
    Tell(Gain, kMultiplyingGain);
    return ZVK_SUCCESS;
}

int32_t ZVK_Camera_GetEMGainRangeAndor(SessionHandle, int32_t *MinimumGain, int32_t *MaximumGain)
{
    if (!CameraSimulated()) return ZVK_CAMERA_NOT_INITIALIZED;
    Tell(MinimumGain, kLeastMultiplyingGain);
    Tell(MaximumGain, kMostMultiplyingGain);
    return ZVK_SUCCESS;
}

int32_t ZVK_Camera_GetGainRange(SessionHandle, int32_t *MinimumGain, int32_t *MaximumGain,
                                int32_t *CurrentGain)
{
    if (!CameraSimulated()) return ZVK_CAMERA_NOT_INITIALIZED;
    Tell(MinimumGain, kLeastGain);
    Tell(MaximumGain, kMostGain);
    Tell(CurrentGain, kCurrentGain);
    return ZVK_SUCCESS;
}

int32_t ZVK_Camera_GetGain(SessionHandle, int64_t *Gain)
{
    if (!CameraSimulated()) return ZVK_CAMERA_NOT_INITIALIZED;
    Tell(Gain, kGain);
    return ZVK_SUCCESS;
}

// -- of a camera that is up --

int32_t ZVK_Camera_GetBackend(SessionHandle, int32_t *Backend)
{
    Tell(Backend, 0);
    if (!CameraInitialised()) return ZVK_CAMERA_NOT_INITIALIZED;
    const std::lock_guard data(CameraData());
    Tell(Backend, g_camera.simulate != 0 ? kSimulatedBackend : g_camera.backend);
    return ZVK_SUCCESS;
}

int32_t ZVK_Camera_GetCoolerState(SessionHandle, uint16_t *CoolerState)
{
    if (!CameraInitialised()) return ZVK_CAMERA_NOT_INITIALIZED;
    Tell(CoolerState, static_cast<uint16_t>(CameraGet(&ZVK_CameraState::coolerOn)));
    return ZVK_SUCCESS;
}

int32_t ZVK_Camera_GetAcquisitionResolution(SessionHandle SessionHandle,
                                            int32_t *HorizontalResolution,
                                            int32_t *VerticalResolution)
{
    int32_t width = 0;
    int32_t height = 0;
    const int32_t status = ZVK_Camera_GetAcquiredImageSize(SessionHandle, &width, &height);
    if (status < 0) return status;
    Tell(HorizontalResolution, width);
    Tell(VerticalResolution, height);
    return width == 0 || height == 0 ? ZVK_CAMERA_NOT_CONFIGURED : ZVK_SUCCESS;
}

int32_t ZVK_Camera_GetAcquiredImageSize(SessionHandle, int32_t *width, int32_t *height)
{
    if (!CameraInitialised()) return ZVK_CAMERA_NOT_INITIALIZED;
    const std::lock_guard data(CameraData());
    Tell(width, g_camera.acquiredWidth);
    Tell(height, g_camera.acquiredHeight);
    return ZVK_SUCCESS;
}

int32_t ZVK_Camera_GetAcquisitionMode(SessionHandle, int32_t *Mode)
{
    if (!CameraInitialised()) return ZVK_CAMERA_NOT_INITIALIZED;
    Tell(Mode, CameraGet(&ZVK_CameraState::acquisitionMode));
    return ZVK_SUCCESS;
}

int32_t ZVK_Camera_GetDispImageSize(SessionHandle, int32_t *width, int32_t *height)
{
    if (!CameraInitialised()) return ZVK_CAMERA_NOT_INITIALIZED;
    const std::lock_guard data(CameraData());
    Tell(width, g_camera.displayWidth);
    Tell(height, g_camera.displayHeight);
    return ZVK_SUCCESS;
}

int32_t ZVK_Camera_GetKandeloClientNum(SessionHandle, int32_t *)
{
    return CameraInitialised() ? ZVK_CAMERA_SERVER_EXCEPTION : ZVK_CAMERA_NOT_INITIALIZED;
}

// -- at any time --

int32_t ZVK_Camera_GetROI(SessionHandle, int32_t *x, int32_t *y, int32_t *width, int32_t *height)
{
    const std::lock_guard data(CameraData());
    Tell(x, g_camera.viewX);
    Tell(y, g_camera.viewY);
    Tell(width, g_camera.viewWidth);
    Tell(height, g_camera.viewHeight);
    return ZVK_SUCCESS;
}

int32_t ZVK_Camera_GetPixelPosition(SessionHandle, int32_t *X, int32_t *Y)
{
    const std::lock_guard data(CameraData());
    Tell(X, g_camera.pixelX);
    Tell(Y, g_camera.pixelY);
    return ZVK_SUCCESS;
}

// The header of a picture, or null where there is no picture.
static void TellPicture(void **out, IplImage &header)
{
    const std::lock_guard picture(CameraPicture());
    Tell(out, header.imageData == nullptr ? nullptr : static_cast<void *>(&header));
}

int32_t ZVK_Camera_GetUserOverlay(SessionHandle, void **UserOverlay)
{
    TellPicture(UserOverlay, g_camera.userOverlayHeader);
    return ZVK_SUCCESS;
}

int32_t ZVK_Camera_GetDisplayHandle(SessionHandle, void **DisplayHandle)
{
    TellPicture(DisplayHandle, g_camera.displayHeader);
    return ZVK_SUCCESS;
}
