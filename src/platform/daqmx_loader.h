#ifndef QUORVEX_PLATFORM_DAQMX_LOADER_H
#define QUORVEX_PLATFORM_DAQMX_LOADER_H

// Opens the card vendor's library and looks up its calls.

#include "platform/daqmx.h"

#include <cstddef>

// Fills all entries of the table, or none. On failure `reason` tells in one sentence which library
// is missing, or which call it lacks, and names the variable that can name another. A library once
// opened stays open.
bool LoadDaq(const char *library, ZVK_DaqTable &table, char *reason, size_t reasonSize) noexcept;

// What is in use without a library: every entry answers ZVK_DAQ_ABSENT, and the extended error text
// is `reason`, which must stay.
ZVK_DaqTable AbsentDaq(const char *reason) noexcept;

#endif
