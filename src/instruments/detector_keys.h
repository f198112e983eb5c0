#ifndef QUORVEX_INSTRUMENTS_DETECTOR_KEYS_H
#define QUORVEX_INSTRUMENTS_DETECTOR_KEYS_H

// The keys of the detector module, in the order in which they are read.

#include "files/key_table.h"

// Section "FORCE", as far as the detectors read it.
struct ZVK_DetectorKeys
{
    int32_t mi;
    int32_t simulate;
    ZVK_KeyText names[2];
};

extern const char *const kDetectorSection;
extern const ZVK_KeyTable kDetectorKeys;

#endif
