#ifndef QUORVEX_INSTRUMENTS_BEAMEXPANDER_KEYS_H
#define QUORVEX_INSTRUMENTS_BEAMEXPANDER_KEYS_H

// The beam expanders' keys of config.ini, in the order in which they are read.

#include "files/key_table.h"

extern const char *const kExpanderSections[2];
extern const ZVK_KeyTable kExpanderKeys;  // fields of ZVK_BeamExpanderState

#endif
