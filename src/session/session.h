#ifndef QUORVEX_SESSION_SESSION_H
#define QUORVEX_SESSION_SESSION_H

// The session's inner calls: the order of modules as rows, and the captured warnings.

#include "quorvex/types.h"

#include <cstddef>

struct ZVK_InitRow
{
    int32_t (*init)(SessionHandle vi, uint16_t idQuery, uint16_t resetInstr);
};

struct ZVK_ShutdownRow
{
    int32_t (*shutdown)(SessionHandle vi);
};

// Runs the rows until the first negative status, which is the result; positive ones are dropped.
// Nothing that came up goes down again.
int32_t RunInits(const ZVK_InitRow *rows, size_t count, SessionHandle vi, uint16_t idQuery,
                 uint16_t resetInstr);
int32_t RunShutdowns(const ZVK_ShutdownRow *rows, size_t count, SessionHandle vi);

struct ZVK_WarningList
{
    int32_t *codes = nullptr;  // oldest first; null when empty
    int32_t count = 0;
};
extern ZVK_WarningList g_warnings;  // guarded by a mutex of warnings.cpp

void FreeWarnings();  // the list is empty behind it, and usable in a later session

#endif
