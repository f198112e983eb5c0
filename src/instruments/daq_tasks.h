#ifndef QUORVEX_INSTRUMENTS_DAQ_TASKS_H
#define QUORVEX_INSTRUMENTS_DAQ_TASKS_H

#include "quorvex/types.h"

// Writes the driver's own words on this thread's last failure to the log, and gives `status`.
int32_t LogDaqFailure(SessionHandle vi, int32_t status);

// Ends a task, if there is one, and forgets it. What the driver says to that is not told.
void StopAndClearTask(void *&task);
// The same for one that an earlier start has left: it may never have been started.
void ClearStaleTask(void *&task);

#endif
