#ifndef QUORVEX_PLATFORM_THREAD_BACKENDS_H
#define QUORVEX_PLATFORM_THREAD_BACKENDS_H

// The pool and the timer thread behind the table of threads.h. Both are made on first use and never
// destroyed: the process may end at any moment with their threads running.

#include "platform/threads.h"

#include <new>

// Room for a record that is made on first use and never destroyed. It takes no memory from the
// heap.
template <class Record>
class NeverDestroyed
{
public:
    NeverDestroyed() { ::new (static_cast<void *>(m_room)) Record; }
    Record &Get() { return *std::launder(reinterpret_cast<Record *>(m_room)); }

private:
    alignas(Record) unsigned char m_room[sizeof(Record)];
};

int PoolSchedule(ZVK_PoolFunction function, void *data, int *functionId);
int PoolWait(int functionId);
int PoolWaitAtMost(int functionId, double seconds);
int PoolRelease(int functionId);

int TimerStart(double intervalS, ZVK_TimerCallback callback, void *data);
int TimerDiscard(int timerId);

#endif
