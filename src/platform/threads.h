#ifndef QUORVEX_PLATFORM_THREADS_H
#define QUORVEX_PLATFORM_THREADS_H

// Pool functions and repeating timers. All timers share one thread: a tick that is late is caught
// up, not lost.

#include <cstdint>
#include <type_traits>

enum ZVK_TimerEvent
{
    ZVK_EVENT_TIMER_TICK = 15,
    ZVK_EVENT_DISCARD = 16  // the last call, when the timer is discarded
};

// reserved is 0; eventData1 and eventData2 are 0.
typedef int (*ZVK_TimerCallback)(int reserved, int timerId, int event, void *callbackData,
                                 int eventData1, int eventData2);
typedef int (*ZVK_PoolFunction)(void *functionData);

// - startTimer: ticks every intervalS seconds for ever, the first one after one interval. An id
//   above 0, or a negative code.
// - discardTimer: ends the timer and sends the discard event, from the calling thread; when it
//   returns no callback is running, unless it was called from that callback. 0, or a negative code
//   for an unknown id.
// - schedule: runs the function once on a pool thread; writes an id above 0. 0, or a negative code.
// - release: forgets the id of a pool function; neither stops nor waits for it.
// - wait: returns when the function has ended, with 0, or a negative code for an unknown id and for
//   that of the function that calls it.
// - waitAtMost: as wait, but gives 1 when so many seconds have passed and it still runs.
#define ZVK_THREAD_CALLS(X)                                                                        \
    X(startTimer, int(double intervalS, ZVK_TimerCallback callback, void *data))                   \
    X(discardTimer, int(int timerId))                                                              \
    X(schedule, int(ZVK_PoolFunction function, void *data, int *functionId))                       \
    X(wait, int(int functionId))                                                                   \
    X(waitAtMost, int(int functionId, double seconds))                                             \
    X(release, int(int functionId))

struct ZVK_ThreadTable
{
#define X(call, type) std::add_pointer_t<type> call;
    ZVK_THREAD_CALLS(X)
#undef X
};

const ZVK_ThreadTable &Threads();               // the table in use, every entry set
void UseThreads(const ZVK_ThreadTable *table);  // null: back to the real threads

#endif
