#ifndef QUORVEX_INSTRUMENTS_LASER_KEYS_H
#define QUORVEX_INSTRUMENTS_LASER_KEYS_H

// The laser's keys of config.ini. SIMULATE and DAQNAME of MAINDAQ are read beside them, one by one.

#include "files/key_table.h"

struct ZVK_LaserKeys
{
    int32_t installed;
    int32_t simulate;
    int32_t backend;
    int32_t trapPaths;
    float maxCurrent;
    float maxPower;
    float minPower;
    float alignPower;
    ZVK_KeyText mode;
};

extern const char *const kLaserSection;
extern const ZVK_KeyTable kLaserKeys;       // in the order in which they are read
extern const ZVK_KeyTable kLaserInputKeys;  // of a laser with levels, into a ZVK_KeyText

#endif
