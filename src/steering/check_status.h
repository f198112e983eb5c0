#ifndef QUORVEX_STEERING_CHECK_STATUS_H
#define QUORVEX_STEERING_CHECK_STATUS_H

// What stands behind an inner call: the look at its status, and the wait for another thread.

#include "platform/clock.h"
#include "quorvex/errors.h"

#include <cstdint>

// True when the status ends the outer call: it is an error. A warning is captured, and work goes
// on.
inline bool Ends(int32_t status)
{
    if (status > 0) (void)ZVK_error_CaptureWarning(0, status);
    return status < 0;
}

// Repeats a call for as long as it gives that answer, without a limit in time, and gives its last
// one.
template <class Call>
int32_t RepeatWhile(int32_t answer, Call call)
{
    int32_t status = call();
    while (status == answer) {
        Clock().breathe();
        status = call();
    }
    return status;
}

#endif
