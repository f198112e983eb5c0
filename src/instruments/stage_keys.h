#ifndef QUORVEX_INSTRUMENTS_STAGE_KEYS_H
#define QUORVEX_INSTRUMENTS_STAGE_KEYS_H

// The keys of the stage.

#include "files/key_table.h"

struct ZVK_StageKeys
{
    int32_t mi = 0;
    int32_t simulate = 0;
    int32_t backend = 0;
    double scale = 0.0;
    int32_t clockRate = 0;
    int32_t everyNSamples = 0;
    int32_t samplesPerChan = 0;
    double speed = 0.0;
    double stepSize = 0.0;
    double range = 0.0;
    int32_t trigger = 0;
    ZVK_KeyText ip = {};
    int32_t portNum = 0;
    int32_t numberOfAxes = 0;
    ZVK_KeyText device = {};
};

extern const char *const kStageSection;
extern const ZVK_KeyTable kStageModeKeys;        // MI and SIMULATE, read first
extern const ZVK_KeyTable kStageBackendKeys;     // BACKEND
extern const ZVK_KeyTable kStageOutputKeys;      // of the outputs, simulated ones too
extern const ZVK_KeyTable kStageTriggerKeys;     // TRIGGER
extern const ZVK_KeyTable kStageControllerKeys;  // of the controller

extern const char *const kStageCardSection;
extern const ZVK_KeyTable kStageCardKeys;

#endif
