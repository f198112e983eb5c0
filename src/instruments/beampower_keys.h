#ifndef QUORVEX_INSTRUMENTS_BEAMPOWER_KEYS_H
#define QUORVEX_INSTRUMENTS_BEAMPOWER_KEYS_H

// The keys of the beam power module, in the order in which they are read.

#include "files/key_table.h"

// Section "SUBDAQ", as far as beam power reads it.
struct ZVK_BeamPowerDaqKeys
{
    ZVK_KeyText device;
    int32_t backend;
};

extern const char *const kBeamPowerSections[2];
extern const char *const kBeamPowerDaqSection;
extern const ZVK_KeyTable kBeamPowerKeys;  // fields of ZVK_BeamPowerState
extern const ZVK_KeyTable kBeamPowerDaqKeys;

#endif
