#ifndef QUORVEX_STEERING_TRAP_KEYS_H
#define QUORVEX_STEERING_TRAP_KEYS_H

// The keys of the trap module, in the order in which they are read.

#include "files/key_table.h"

extern const char *const kTrapSections[2];  // one for each beam path
extern const ZVK_KeyTable kTrapLimitKeys;   // into a ZVK_TrapLimits

#endif
