#ifndef QUORVEX_FORCE_FORCE_KEYS_H
#define QUORVEX_FORCE_FORCE_KEYS_H

// The keys of section FORCE.

#include "files/key_table.h"

struct ZVK_ForceKeys
{
    int32_t installed = 0;
    int32_t simulate = 0;
    ZVK_KeyText device = {};
    ZVK_KeyText channelsA = {};
    ZVK_KeyText channelsB = {};
    ZVK_KeyText channelT = {};
    ZVK_KeyText triggerExternal = {};
    ZVK_KeyText triggerInternal = {};
    int32_t triggerInput = 0;
    int32_t triggerEdge = 0;
};

extern const char *const kForceSection;
extern const ZVK_KeyTable kForceModeKeys;  // MI and SIMULATE, read first
extern const ZVK_KeyTable kForceCardKeys;  // the others, read only for a card

#endif
