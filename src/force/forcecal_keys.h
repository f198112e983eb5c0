#ifndef QUORVEX_FORCE_FORCECAL_KEYS_H
#define QUORVEX_FORCE_FORCECAL_KEYS_H

// The keys of section FORCECAL.

#include "files/key_table.h"
#include "force/forcecal.h"

struct ZVK_ForceCalKeys
{
    int32_t installed = 0;
    int32_t simulate = 0;
    int32_t swapAxes = 0;
    int32_t averages = 0;
    double calLength = 0.0;
    double amplitude = 0.0;
    int32_t frequency = 0;
    int32_t oscillate = 0;
    int32_t bins = 0;
    int32_t subtractMean = 0;
    int32_t subtractDrift = 0;
    double fitStart = 0.0;
    double fitStop = 0.0;
    double display = 0.0;
    int32_t medium = 0;
    double viscosity = 0.0;
    double temperature = 0.0;
    double diameter = 0.0;
    double lsLength = 0.0;
    int32_t lsSteps = 0;
    int32_t lsAverages = 0;
    int32_t maxFft = kDefaultMaxFft;
    ZVK_KeyText startupValues = {};
};

extern const char *const kForceCalSection;
extern const ZVK_KeyTable kForceCalModeKeys;     // MI and SIMULATE, read first
extern const ZVK_KeyTable kForceCalSettingKeys;  // down to MAX_FFT
extern const ZVK_KeyTable kForceCalStartupKeys;  // STARTUP_VALUES, read once there is room

#endif
