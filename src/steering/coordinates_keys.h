#ifndef QUORVEX_STEERING_COORDINATES_KEYS_H
#define QUORVEX_STEERING_COORDINATES_KEYS_H

// The keys of the coordinate module in config.ini, in the order in which they are read.

#include "files/key_table.h"

// Section "OBJ".
struct ZVK_ObjectiveKeys
{
    ZVK_KeyText load;
};

// Section "SCALE".
struct ZVK_ScaleKeys
{
    double factorX;
    double factorY;
};

extern const ZVK_KeyTable kObjectiveKeys;
extern const ZVK_KeyTable kScaleKeys;

#endif
