#ifndef QUORVEX_VIRTUAL_DAQ_ERRORS_H
#define QUORVEX_VIRTUAL_DAQ_ERRORS_H

// The texts of results, and what each thread can ask of its last failure.

#include "codes.h"

// The text of a code without a full stop; one for unknown codes too.
const char *CodeText(int32_t code) noexcept;

// Keeps the extended text of this thread's last failure: call, task and device by name.
void KeepFailure(int32_t code, const char *call, const char *task, const char *device,
                 const char *detail) noexcept;

#endif
