// The threads table in use.

#include "platform/threads.h"

#include "platform/backends.h"
#include "platform/thread_backends.h"

static constinit TableSwitch<ZVK_ThreadTable> s_threads;

static const ZVK_ThreadTable &RealThreads()
{
    static constexpr ZVK_ThreadTable kTable = {
        .startTimer = TimerStart,
        .discardTimer = TimerDiscard,
        .schedule = PoolSchedule,
        .wait = PoolWait,
        .waitAtMost = PoolWaitAtMost,
        .release = PoolRelease,
    };
    return kTable;
}

const ZVK_ThreadTable &Threads() { return s_threads.InUse(RealThreads); }

void UseThreads(const ZVK_ThreadTable *table) { s_threads.Use(table); }
