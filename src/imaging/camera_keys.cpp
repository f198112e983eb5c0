#include "imaging/camera_keys.h"

#include <cstddef>

const char *const kCameraSection = "CAMERA";

static const ZVK_KeyRow kCameraRows[] = {
    {"MI", ZVK_CONFILE_LONG, offsetof(ZVK_CameraKeys, installed), "", "0: there is no camera"},
    {"SIMULATE", ZVK_CONFILE_LONG, offsetof(ZVK_CameraKeys, simulate), "",
     "not 0: the simulated camera"},
    {"BACKEND", ZVK_CONFILE_LONG, offsetof(ZVK_CameraKeys, backend), "",
     "the make of camera; 1, 8 and 64 are refused"},
    {"COLORMODE", ZVK_CONFILE_LONG, offsetof(ZVK_CameraKeys, colorMode), "",
     "1 colour, 2 monochrome, 4, 8, 16, 32 for 8, 12, 14, 16 bits"},
};

static const ZVK_KeyRow kExposureRows[] = {
    {"EXPOSURETIME", ZVK_CONFILE_FLOAT, offsetof(ZVK_ExposureKeys, exposureTime), "s",
     "exposure time"},
};

static const ZVK_KeyRow kCoolingRows[] = {
    {"STARTCOOLING", ZVK_CONFILE_LONG, offsetof(ZVK_CoolingKeys, start), "",
     "not 0: the cooler is on; may be missing"},
};

static const ZVK_KeyRow kCoolerRows[] = {
    {"COOLERTEMP", ZVK_CONFILE_LONG, offsetof(ZVK_CoolerKeys, setPoint), "°C",
     "set point of the cooler"},
};

static const ZVK_KeyRow kSensorRows[] = {
    {"NATIVERESOLUTION_X", ZVK_CONFILE_LONG, offsetof(ZVK_SensorKeys, width), "pixels",
     "columns of the sensor; 0: 512 columns and 512 rows"},
    {"NATIVERESOLUTION_Y", ZVK_CONFILE_LONG, offsetof(ZVK_SensorKeys, height), "pixels",
     "rows of the sensor"},
};

static const ZVK_KeyRow kCameraWindowRows[] = {
    {"CWSIZE_X", ZVK_CONFILE_LONG, offsetof(ZVK_WindowKeys, width), "pixels",
     "width of the camera window; 0: 800"},
    {"CWSIZE_Y", ZVK_CONFILE_LONG, offsetof(ZVK_WindowKeys, height), "pixels",
     "height of the camera window; 0: 600"},
    {"CWOFFSET_X", ZVK_CONFILE_LONG, offsetof(ZVK_WindowKeys, offsetX), "pixels",
     "where the window is"},
    {"CWOFFSET_Y", ZVK_CONFILE_LONG, offsetof(ZVK_WindowKeys, offsetY), "pixels",
     "where the window is"},
    {"CCW", ZVK_CONFILE_LONG, offsetof(ZVK_WindowKeys, child), "",
     "not 0: the window is put into its parent"},
    {"PARENTNAME", ZVK_CONFILE_STRING, offsetof(ZVK_WindowKeys, parent), "",
     "title of the parent; must not be empty"},
};

static const ZVK_KeyRow kCameraHandleRows[] = {
    {"PARENTNAME", ZVK_CONFILE_STRING, offsetof(ZVK_WindowKeys, parent), "", "title of the parent"},
    {"CCW", ZVK_CONFILE_LONG, offsetof(ZVK_WindowKeys, child), "",
     "not 0: the window is looked for in its parent"},
};

static const ZVK_KeyRow kHistogramRows[] = {
    {"HISTOSUPPORT", ZVK_CONFILE_LONG, offsetof(ZVK_HistogramKeys, support), "",
     "exactly 1: there is a histogram window"},
};

static const ZVK_KeyRow kHistogramWindowRows[] = {
    {"HWSIZE_X", ZVK_CONFILE_LONG, offsetof(ZVK_WindowKeys, width), "pixels",
     "width of the histogram window; 0: 255"},
    {"HWSIZE_Y", ZVK_CONFILE_LONG, offsetof(ZVK_WindowKeys, height), "pixels",
     "height of the histogram window; 0: 100"},
    {"HWOFFSET_X", ZVK_CONFILE_LONG, offsetof(ZVK_WindowKeys, offsetX), "pixels",
     "where the window is"},
    {"HWOFFSET_Y", ZVK_CONFILE_LONG, offsetof(ZVK_WindowKeys, offsetY), "pixels",
     "where the window is"},
    {"HCW", ZVK_CONFILE_LONG, offsetof(ZVK_WindowKeys, child), "",
     "not 0: the window is put into its parent"},
    {"HPARENTNAME", ZVK_CONFILE_STRING, offsetof(ZVK_WindowKeys, parent), "",
     "title of the parent; must not be empty"},
};

template <size_t count>
static constexpr ZVK_KeyTable Table(const ZVK_KeyRow (&rows)[count])
{
    return {"Camera", "CAMERA", rows, count};
}

const ZVK_KeyTable kCameraKeys = Table(kCameraRows);
const ZVK_KeyTable kExposureKeys = Table(kExposureRows);
const ZVK_KeyTable kCoolingKeys = Table(kCoolingRows);
const ZVK_KeyTable kCoolerKeys = Table(kCoolerRows);
const ZVK_KeyTable kSensorKeys = Table(kSensorRows);
const ZVK_KeyTable kCameraWindowKeys = Table(kCameraWindowRows);
const ZVK_KeyTable kCameraHandleKeys = Table(kCameraHandleRows);
const ZVK_KeyTable kHistogramKeys = Table(kHistogramRows);
const ZVK_KeyTable kHistogramWindowKeys = Table(kHistogramWindowRows);
