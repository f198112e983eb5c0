#ifndef QUORVEX_IMAGING_CAMERA_KEYS_H
#define QUORVEX_IMAGING_CAMERA_KEYS_H

// The keys of section CAMERA, in tables as they are read together.

#include "files/key_table.h"

extern const char *const kCameraSection;

struct ZVK_CameraKeys
{
    int32_t installed;
    int32_t simulate;
    int32_t backend;
    int32_t colorMode;
};

struct ZVK_ExposureKeys
{
    float exposureTime;
};

struct ZVK_CoolingKeys
{
    int32_t start;
};

struct ZVK_CoolerKeys
{
    int32_t setPoint;
};

struct ZVK_SensorKeys
{
    int32_t width;
    int32_t height;
};

struct ZVK_WindowKeys
{
    int32_t width;
    int32_t height;
    int32_t offsetX;
    int32_t offsetY;
    int32_t child;
    ZVK_KeyText parent;
};

struct ZVK_HistogramKeys
{
    int32_t support;
};

extern const ZVK_KeyTable kCameraKeys;
extern const ZVK_KeyTable kExposureKeys;
extern const ZVK_KeyTable kCoolingKeys;  // no key that must be there
extern const ZVK_KeyTable kCoolerKeys;
extern const ZVK_KeyTable kSensorKeys;
extern const ZVK_KeyTable kCameraWindowKeys;     // ZVK_WindowKeys
extern const ZVK_KeyTable kCameraHandleKeys;     // ZVK_WindowKeys: the parent's title, then CCW
extern const ZVK_KeyTable kHistogramKeys;        // ZVK_HistogramKeys
extern const ZVK_KeyTable kHistogramWindowKeys;  // ZVK_WindowKeys

#endif
