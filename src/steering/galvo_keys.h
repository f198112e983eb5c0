#ifndef QUORVEX_STEERING_GALVO_KEYS_H
#define QUORVEX_STEERING_GALVO_KEYS_H

// The keys of the galvo module, in the order in which they are read.

#include "files/key_table.h"

// Sections "GALVO 0" and "GALVO 1".
struct ZVK_GalvoLimitKeys
{
    double xoff;
    double yoff;
    double xMax;
    double xMin;
    double yMax;
    double yMin;
};

// Section "MAINDAQ", as far as the output reads it.
struct ZVK_OutputKeys
{
    int32_t backend;
    int32_t clockRate;
    int32_t samplesPerChan;
    int32_t everyNSamples;
    int32_t trigger;
    int32_t simulate;
    ZVK_KeyText device;
};

extern const char *const kGalvoSections[2];
extern const char *const kOutputSection;
extern const ZVK_KeyTable kGalvoLimitKeys;
extern const ZVK_KeyTable kOutputKeys;

#endif
